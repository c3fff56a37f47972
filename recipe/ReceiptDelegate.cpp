// SPDX-License-Identifier: GPL-3.0-or-later
#include "recipe/ReceiptDelegate.h"

#include "model/picture.h"
#include "recipe/ReceiptModel.h"

#include <QMouseEvent>
#include <QPainter>
#include <QSortFilterProxyModel>
#include <QTableView>

#include <cmath>

namespace {

constexpr int percentColumn = 1;
constexpr int notesColumn = 3;

/// Length of `value` percent of `whole`, in single precision at every step.
float part(int whole, int value)
{
    const float onePercent = static_cast<float>(whole) / 100;
    return std::trunc(onePercent * static_cast<float>(value));
}

} // namespace

ReceiptDelegate::ReceiptDelegate(QObject* parent)
    : QStyledItemDelegate(parent)
    , notes(picture(QStringLiteral(":/images/notes.png")))
    , gradient(QStringLiteral(":/images/gradient.png"))
    , popup(nullptr)
{
}

void ReceiptDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyledItemDelegate::paint(painter, option, index);
    if (index.column() == percentColumn) {
        paintPercent(painter, option, index);
    } else if (index.column() == notesColumn) {
        const QRect shown(QPoint(0, 0), notes.size() / notes.devicePixelRatio());
        painter->drawPixmap(option.rect.center() - shown.center(), notes);
    }
}

void ReceiptDelegate::paintPercent(QPainter* painter, const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const
{
    const int value = index.model() == nullptr ? 0 : index.model()->data(index, Qt::DisplayRole).toInt();
    const QRect& rect = option.rect;
    const QPen pen = painter->pen();
    const QBrush brush = painter->brush();

    const QColor ground(0xea, 0xef, 0xf2);
    painter->setBrush(ground);
    painter->setPen(ground);
    painter->drawRect(rect);

    const QRectF target(rect.x(), rect.y(), static_cast<qreal>(part(rect.width(), value)), rect.height());
    const QRectF source(0, 0, static_cast<qreal>(part(gradient.width(), value)), gradient.height());
    // To the painter a negative width means "the whole pixmap", which would spill over the cells beside this one.
    if (target.width() > 0) {
        painter->drawPixmap(target, gradient, source);
    }

    if (option.state.testFlag(QStyle::State_Selected)) {
        painter->setBrush(QColor(13, 180, 150, 80));
        painter->setPen(QColor(13, 180, 150, 0));
        painter->drawRect(rect);
    }

    painter->setPen(pen);
    painter->setBrush(brush);
    painter->drawText(rect, Qt::AlignHCenter | Qt::AlignVCenter, QString::number(value) + QLatin1Char('%'));
}

bool ReceiptDelegate::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                                  const QModelIndex& index)
{
    if (!index.isValid() || event->type() != QEvent::MouseMove || index.column() != notesColumn) {
        return false;
    }
    const QPoint position = static_cast<QMouseEvent*>(event)->localPos().toPoint();
    if (!option.rect.contains(position)) {
        if (popup.isVisible()) {
            popup.resetTimer();
        }
        return false;
    }
    if (popup.row() == index.row() && popup.isVisible()) {
        popup.resetTimer();
        return false;
    }

    if (option.widget != nullptr) {
        open(option.widget, option.rect, model, index);
    }
    return false;
}

bool ReceiptDelegate::open(const QWidget* table, const QRect& rect, const QAbstractItemModel* model,
                           const QModelIndex& index)
{
    const auto* const proxy = qobject_cast<const QSortFilterProxyModel*>(model);
    const auto* const receipt = proxy == nullptr ? nullptr : qobject_cast<ReceiptModel*>(proxy->sourceModel());
    if (receipt == nullptr) {
        return false;
    }
    const QPoint origin = table->mapToGlobal(QPoint(0, 0));
    const QPoint middle = table->mapToGlobal(QPoint(0, rect.height() / 2));
    popup.setRow(index.row());
    popup.setTargetPosition(QPoint(rect.left() + middle.x(), rect.top() + middle.y() + headerHeight));
    popup.setTargetRect(rect.translated(origin.x(), origin.y() + headerHeight));
    const Marker marker = receipt->getMarker(proxy->mapToSource(index).row());
    popup.setTitle(marker.getTitle());
    popup.setText(marker.getDescription());
    popup.show();
    return true;
}

void ReceiptDelegate::showDescription(const QTableView* table, const QModelIndex& index)
{
    if (index.isValid() && open(table, table->visualRect(index), table->model(), index)) {
        popup.stay();
    }
}

void ReceiptDelegate::hideDescription()
{
    popup.letGo();
}

bool ReceiptDelegate::scrollDescription(int pages)
{
    if (!popup.isVisible()) {
        return false;
    }
    popup.scrollPages(pages);
    return true;
}

#include "moc_ReceiptDelegate.cpp"
