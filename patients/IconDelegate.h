// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QModelIndex>
#include <QPixmap>
#include <QPoint>
#include <QRect>
#include <QStyledItemDelegate>

/// What the delegates of icon cells share: an icon centred in its cell, the cell whose icon is under the mouse, and the
/// press on an icon. The view needs mouse tracking.
class IconDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    /// The width of the area that takes the mouse, in pixels of the screen's own density.
    int getIconWidth() const { return iconRect.width(); }

    /// Never takes an event.
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

protected:
    /// The size of `icon` is that of the area that takes the mouse, in every column.
    IconDelegate(const QPixmap& icon, QObject* parent);

    /// A mouse button went down on the icon of this valid index.
    virtual void iconPressed(const QModelIndex& index) = 0;

    bool isHovered(const QModelIndex& index) const;
    /// The pixmap's rectangle in the painter's units, whatever the density of the screen.
    static QRect rectOf(const QPixmap& pixmap);
    /// Where the top left corner of `inner` has to lie.
    static QPoint centred(const QRect& inner, const QRect& cell);

    const QRect iconRect;

private:
    int hoveredRow = -1;
    int hoveredColumn = -1;
};
