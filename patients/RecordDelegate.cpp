// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/RecordDelegate.h"

#include <QAbstractItemView>
#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr int notesColumn = 2;
constexpr int trashColumn = 6;

/// The pixmap's rectangle in the painter's units, whatever the density of the screen.
QRect rectOf(const QPixmap& pixmap)
{
    return {QPoint(0, 0), pixmap.size() / pixmap.devicePixelRatio()};
}

QPoint centred(const QRect& inner, const QRect& cell)
{
    return cell.center() - inner.center();
}

} // namespace

RecordDelegate::RecordDelegate(QObject* parent)
    : QStyledItemDelegate(parent)
    , trashIcon(QStringLiteral(":/images/trash.png"))
    , trashHoverIcon(QStringLiteral(":/images/trash-hover.png"))
    , iconRect(rectOf(trashIcon))
{
}

void RecordDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyledItemDelegate::paint(painter, option, index);

    QPixmap pixmap;
    if (index.column() == notesColumn) {
        pixmap = index.model()->data(index, Qt::DisplayRole).value<QPixmap>();
    } else {
        const bool hovered = index.row() == hoveredRow && index.column() == hoveredColumn;
        pixmap = hovered ? trashHoverIcon : trashIcon;
    }
    painter->drawPixmap(centred(rectOf(pixmap), option.rect), pixmap);
}

bool RecordDelegate::editorEvent(QEvent* event, QAbstractItemModel*, const QStyleOptionViewItem& option,
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
    if (inside && event->type() == QEvent::MouseButtonPress && index.isValid() && index.column() == trashColumn) {
        emit removePress(index);
    }
    return false;
}

#include "moc_RecordDelegate.cpp"
