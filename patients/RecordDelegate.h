// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QModelIndex>
#include <QPixmap>
#include <QRect>
#include <QStyledItemDelegate>

/// Paints the icons of the record table and turns presses on the trash icon into a signal.
class RecordDelegate : public QStyledItemDelegate
{
    Q_OBJECT

signals:
    /// The index is one of the model that the view shows, which may be a proxy.
    void removePress(QModelIndex index);

public:
    explicit RecordDelegate(QObject* parent = nullptr);

    int getIconWidth() const { return iconRect.width(); }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    /// Never takes an event.
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

private:
    QPixmap trashIcon;
    QPixmap trashHoverIcon;
    int hoveredRow = -1;
    int hoveredColumn = -1;
    QRect iconRect;
};
