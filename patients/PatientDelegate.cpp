// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/PatientDelegate.h"

#include "model/picture.h"

#include <QPainter>

namespace {

constexpr int statusColumn = 1;
constexpr int genderColumn = 4;
constexpr int editColumn = 8;
constexpr int trashColumn = 9;
/// What centres a status icon of 64 by 64 that is drawn in 24 by 24.
constexpr int statusOffset = 20;
constexpr int statusSize = 24;

} // namespace

PatientDelegate::PatientDelegate(QObject* parent)
    : IconDelegate(picture(QStringLiteral(":/images/edit.png")), parent)
    , editIcon(picture(QStringLiteral(":/images/edit.png")))
    , editHoverIcon(picture(QStringLiteral(":/images/edit-hover.png")))
    , trashIcon(picture(QStringLiteral(":/images/trash.png")))
    , trashHoverIcon(picture(QStringLiteral(":/images/trash-hover.png")))
{
}

void PatientDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyledItemDelegate::paint(painter, option, index);

    const bool hovered = isHovered(index);
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

void PatientDelegate::iconPressed(const QModelIndex& index)
{
    if (index.column() == trashColumn) {
        emit removePress(index);
    } else if (index.column() == editColumn) {
        emit editPress(index);
    }
}

#include "moc_PatientDelegate.cpp"
