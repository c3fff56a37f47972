// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QModelIndex>
#include <QPixmap>
#include <QRect>
#include <QStyledItemDelegate>

/// Paints the icons of the patient table and turns presses on the edit and trash icons into signals.
class PatientDelegate : public QStyledItemDelegate
{
    Q_OBJECT

signals:
    void editPress(QModelIndex index);
    void removePress(QModelIndex index);

public:
    explicit PatientDelegate(QObject* parent = nullptr);

    int getIconWidth() const { return iconRect.width(); }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    /// Never takes an event.
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

private:
    QPixmap editIcon;
    QPixmap editHoverIcon;
    QPixmap trashIcon;
    QPixmap trashHoverIcon;
    int hoveredRow = -1;
    int hoveredColumn = -1;
    QRect iconRect;
};
