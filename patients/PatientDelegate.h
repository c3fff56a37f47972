// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "patients/IconDelegate.h"

#include <QModelIndex>
#include <QPixmap>

/// Paints the icons of the patient table and turns presses on the edit and trash icons into signals.
class PatientDelegate : public IconDelegate
{
    Q_OBJECT

signals:
    void editPress(QModelIndex index);
    void removePress(QModelIndex index);

public:
    explicit PatientDelegate(QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    void iconPressed(const QModelIndex& index) override;

private:
    QPixmap editIcon;
    QPixmap editHoverIcon;
    QPixmap trashIcon;
    QPixmap trashHoverIcon;
};
