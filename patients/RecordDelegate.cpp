// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/RecordDelegate.h"

#include "model/picture.h"

#include <QPainter>

namespace {

constexpr int notesColumn = 2;
constexpr int trashColumn = 6;

} // namespace

RecordDelegate::RecordDelegate(QObject* parent)
    : IconDelegate(picture(QStringLiteral(":/images/trash.png")), parent)
    , trashIcon(picture(QStringLiteral(":/images/trash.png")))
    , trashHoverIcon(picture(QStringLiteral(":/images/trash-hover.png")))
{
}

void RecordDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyledItemDelegate::paint(painter, option, index);

    QPixmap pixmap;
    if (index.column() == notesColumn) {
        pixmap = index.model()->data(index, Qt::DisplayRole).value<QPixmap>();
    } else {
        const bool hovered = isHovered(index);
        pixmap = hovered ? trashHoverIcon : trashIcon;
    }
    painter->drawPixmap(centred(rectOf(pixmap), option.rect), pixmap);
}

void RecordDelegate::iconPressed(const QModelIndex& index)
{
    if (index.column() == trashColumn) {
        emit removePress(index);
    }
}

#include "moc_RecordDelegate.cpp"
