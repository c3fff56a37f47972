// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/IconDelegate.h"

#include <QAbstractItemView>
#include <QMouseEvent>

IconDelegate::IconDelegate(const QPixmap& icon, QObject* parent)
    : QStyledItemDelegate(parent)
    , iconRect(rectOf(icon))
{
}

bool IconDelegate::isHovered(const QModelIndex& index) const
{
    return index.row() == hoveredRow && index.column() == hoveredColumn;
}

QRect IconDelegate::rectOf(const QPixmap& pixmap)
{
    return {QPoint(0, 0), pixmap.size() / pixmap.devicePixelRatio()};
}

QPoint IconDelegate::centred(const QRect& inner, const QRect& cell)
{
    return cell.center() - inner.center();
}

bool IconDelegate::editorEvent(QEvent* event, QAbstractItemModel*, const QStyleOptionViewItem& option,
                               const QModelIndex& index)
{
    if (event->type() != QEvent::MouseMove && event->type() != QEvent::MouseButtonPress) {
        return false;
    }
    const QPoint position = static_cast<QMouseEvent*>(event)->localPos().toPoint();
    const bool inside = QRect(centred(iconRect, option.rect), iconRect.size()).contains(position);
    const int row = inside ? index.row() : -1;
    const int column = inside ? index.column() : -1;
    if (row != hoveredRow || column != hoveredColumn) {
        hoveredRow = row;
        hoveredColumn = column;
        // The view repaints a cell by itself only for an event that was taken.
        if (const auto* view = qobject_cast<const QAbstractItemView*>(option.widget)) {
            view->viewport()->update();
        }
    }
    if (inside && event->type() == QEvent::MouseButtonPress && index.isValid()) {
        iconPressed(index);
    }
    return false;
}

#include "moc_IconDelegate.cpp"
