// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/AnalysisDelegate.h"

#include <QPainter>

#include <cmath>

namespace {

/// Length of `value` percent of `whole`, in single precision at every step.
float part(int whole, int value)
{
    const float onePercent = static_cast<float>(whole) / 100.0F;
    return std::trunc(onePercent * static_cast<float>(value));
}

} // namespace

AnalysisDelegate::AnalysisDelegate(QObject* parent)
    : QStyledItemDelegate(parent)
    , gradient(QStringLiteral(":/images/gradient.png"))
{
}

void AnalysisDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyledItemDelegate::paint(painter, option, index);
    if (!index.isValid() || index.column() == 0) {
        return;
    }
    const int value = index.model()->data(index, Qt::DisplayRole).toInt();
    const QRect& rect = option.rect;
    const QPen pen = painter->pen();
    const QBrush brush = painter->brush();

    const QColor ground(0xea, 0xef, 0xf2);
    painter->setBrush(ground);
    painter->setPen(ground);
    painter->drawRect(rect);

    const QRectF target(rect.x(), rect.y(), static_cast<qreal>(part(rect.width(), value)), rect.height());
    const QRectF source(0, 0, static_cast<qreal>(part(gradient.width(), value)), gradient.height());
    // To the painter a width that is not positive means "the whole pixmap", which would spill over the cells beside.
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

#include "moc_AnalysisDelegate.cpp"
