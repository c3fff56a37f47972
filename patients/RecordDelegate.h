// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "patients/IconDelegate.h"

#include <QModelIndex>
#include <QPixmap>

/// Paints the icons of the record table and turns presses on the trash icon into a signal.
class RecordDelegate : public IconDelegate
{
    Q_OBJECT

signals:
    /// The index is one of the model that the view shows, which may be a proxy.
    void removePress(QModelIndex index);

public:
    explicit RecordDelegate(QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    void iconPressed(const QModelIndex& index) override;

private:
    QPixmap trashIcon;
    QPixmap trashHoverIcon;
};
