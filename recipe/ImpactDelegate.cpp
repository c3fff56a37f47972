// SPDX-License-Identifier: GPL-3.0-or-later
#include "recipe/ImpactDelegate.h"

#include "model/picture.h"
#include "recipe/ImpactModel.h"

#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr int upColumn = 1;
constexpr int downColumn = 2;
constexpr int trashColumn = 4;

/// On the screen; a picture of double density has twice as many pixels.
QSize shownSize(const QPixmap& pixmap)
{
    return pixmap.size() / pixmap.devicePixelRatio();
}

} // namespace

ImpactDelegate::ImpactDelegate(QObject* parent)
    : QStyledItemDelegate(parent)
    , trash(picture(QStringLiteral(":/images/trash.png")))
    , up(getIcon(QStringLiteral(":/images/table-arrow-up.png")))
    , down(getIcon(QStringLiteral(":/images/table-arrow-down.png")))
{
}

QPixmap ImpactDelegate::getIcon(const QString& path)
{
    const QPixmap pixmap = picture(path);
    const qreal density = pixmap.devicePixelRatio();
    QPixmap icon = pixmap.scaled(QSize(20, 20) * density, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    icon.setDevicePixelRatio(density);
    return icon;
}

int ImpactDelegate::getIconWidth(int column) const
{
    switch (column) {
    case upColumn:
        return shownSize(up).width();
    case downColumn:
        return shownSize(down).width();
    case trashColumn:
        return shownSize(trash).width();
    default:
        return 0;
    }
}

void ImpactDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyledItemDelegate::paint(painter, option, index);
    const auto draw = [painter, &option](const QPixmap& pixmap) {
        painter->drawPixmap(option.rect.center() - QRect(QPoint(0, 0), shownSize(pixmap)).center(), pixmap);
    };
    if (index.column() == upColumn && index.row() >= 1) {
        draw(up);
    } else if (index.column() == downColumn && index.model() != nullptr &&
               index.row() < index.model()->rowCount() - 1) {
        draw(down);
    } else if (index.column() == trashColumn) {
        draw(trash);
    }
}

bool ImpactDelegate::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                                 const QModelIndex& index)
{
    const bool press = event->type() == QEvent::MouseButtonPress;
    if (!index.isValid() || (!press && event->type() != QEvent::MouseButtonRelease)) {
        return false;
    }
    const int row = index.row();
    const int column = index.column();
    const bool inside = option.rect.contains(static_cast<QMouseEvent*>(event)->localPos().toPoint());
    if (press && inside) {
        pressed = true;
        pressedRow = row;
        pressedColumn = column;
        return false;
    }

    const bool click = inside && pressed && pressedRow == row && pressedColumn == column;
    pressed = false;
    pressedRow = -1;
    pressedColumn = -1;
    auto* const impact = qobject_cast<ImpactModel*>(model);
    if (!click || impact == nullptr) {
        return false;
    }
    if (column == downColumn && row < impact->rowCount() - 1) {
        impact->swapMarkers(row, row + 1);
    } else if (column == upColumn && row >= 1) {
        impact->swapMarkers(row, row - 1);
    } else if (column == trashColumn) {
        impact->removeMarker(index);
    }
    return false;
}

#include "moc_ImpactDelegate.cpp"
