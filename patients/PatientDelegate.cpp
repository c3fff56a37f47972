// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/PatientDelegate.h"

#include <QAbstractItemView>
#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr int statusColumn = 1;
constexpr int genderColumn = 4;
constexpr int editColumn = 8;
constexpr int trashColumn = 9;
/// What centres a status icon of 64 by 64 that is drawn in 24 by 24.
constexpr int statusOffset = 20;
constexpr int statusSize = 24;

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

PatientDelegate::PatientDelegate(QObject* parent)
    : QStyledItemDelegate(parent)
    , editIcon(QStringLiteral(":/images/edit.png"))
    , editHoverIcon(QStringLiteral(":/images/edit-hover.png"))
    , trashIcon(QStringLiteral(":/images/trash.png"))
    , trashHoverIcon(QStringLiteral(":/images/trash-hover.png"))
    , iconRect(rectOf(editIcon))
{
}

void PatientDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyledItemDelegate::paint(painter, option, index);

    const bool hovered = index.row() == hoveredRow && index.column() == hoveredColumn;
    switch (index.column()) {
    case statusColumn: {
        const auto pixmap = index.model()->data(index, Qt::DisplayRole).value<QPixmap>();
        const QPoint corner = centred(rectOf(pixmap), option.rect) + QPoint(statusOffset, statusOffset);
        painter->save();
        painter->setRenderHint(QPainter::SmoothPixmapTransform);
        painter->drawPixmap(QRect(corner, QSize(statusSize, statusSize)), pixmap);
        painter->restore();
        break;
    }
    case genderColumn: {
        const auto pixmap = index.model()->data(index, Qt::DisplayRole).value<QPixmap>();
        painter->drawPixmap(centred(rectOf(pixmap), option.rect), pixmap);
        break;
    }
    case editColumn:
        painter->drawPixmap(centred(iconRect, option.rect), hovered ? editHoverIcon : editIcon);
        break;
    case trashColumn:
        painter->drawPixmap(centred(iconRect, option.rect), hovered ? trashHoverIcon : trashIcon);
        break;
    default:
        break;
    }
}

bool PatientDelegate::editorEvent(QEvent* event, QAbstractItemModel*, const QStyleOptionViewItem& option,
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
        if (index.column() == trashColumn) {
            emit removePress(index);
        } else if (index.column() == editColumn) {
            emit editPress(index);
        }
    }
    return false;
}

#include "moc_PatientDelegate.cpp"
