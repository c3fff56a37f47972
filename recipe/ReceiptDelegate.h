// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "recipe/ReceiptDescriptionPopup.h"

#include <QPixmap>
#include <QStyledItemDelegate>

class QTableView;

/// Paints the match bar (column 1) and the notes icon (column 3) of the receipt table, and opens the description popup
/// while the mouse is over column 3. The table's model is a QSortFilterProxyModel over a ReceiptModel, and the table
/// tracks the mouse.
class ReceiptDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit ReceiptDelegate(QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    /// Always false: the view goes on with the event.
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

    int getIconWidth() const { return qRound(notes.width() / notes.devicePixelRatio()); }
    /// Height in pixels of the table's horizontal header: cells are measured below it, the table's origin lies above.
    int getHeaderHeight() const { return headerHeight; }
    void setHeaderHeight(int height) { headerHeight = height; }

    /// Shows the description of the marker in the index's row, beside its cell, until hideDescription().
    void showDescription(const QTableView* table, const QModelIndex& index);
    /// Only one that showDescription() has shown.
    void hideDescription();
    /// Scrolls a description that is shown by so many of its pages; false if none is shown.
    bool scrollDescription(int pages);

private:
    /// The rectangle is that of the cell, in the viewport; false if the model is none of markers.
    bool open(const QWidget* table, const QRect& rect, const QAbstractItemModel* model, const QModelIndex& index);
    void paintPercent(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;

    QPixmap notes;
    QPixmap gradient;
    int headerHeight = 0;
    ReceiptDescriptionPopup popup;
};
