// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

/// The dimming overlay that covers a widget while it waits for the server. It follows its parent's size.
class LoadingWindow : public QWidget
{
    Q_OBJECT

public:
    /// Shows itself at once.
    explicit LoadingWindow(QWidget* parent);

    void update();

protected:
    void paintEvent(QPaintEvent* event) override;
};
