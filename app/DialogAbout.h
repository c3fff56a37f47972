// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class DialogAbout;
}

/// Tells the program's name, version and maker, and until when the session's user may use it.
class DialogAbout : public QDialog
{
    Q_OBJECT

public:
    /// Shows the expiry date that the session has at this moment.
    explicit DialogAbout(QWidget* parent);
    ~DialogAbout() override;

public slots:
    void onClose();

private:
    std::unique_ptr<Ui::DialogAbout> ui;
};
