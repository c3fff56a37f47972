// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPixmap>
#include <QStyledItemDelegate>

/// Paints every cell but the title (column 0) as a bar of its percentage, cut out of a gradient from green to red.
class AnalysisDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit AnalysisDelegate(QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    /// Height in pixels of the table's horizontal header; kept for whoever asks, the painting does without it.
    int getHeaderHeight() const { return headerHeight; }
    void setHeaderHeight(int height) { headerHeight = height; }

private:
    QPixmap gradient;
    int headerHeight = 0;
};
