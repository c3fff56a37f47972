// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPixmap>
#include <QString>
#include <QStyledItemDelegate>

/// Paints the arrows (columns 1 and 2) and the trash (column 4) of the impact table, and acts on them: a press and a
/// release on the same cell moves or removes the row. Works on an ImpactModel without a proxy.
class ImpactDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit ImpactDelegate(QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    /// Always false: the view goes on with the event.
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

    /// The picture at `path`, 20 by 20 pixels.
    static QPixmap getIcon(const QString& path);
    /// 0 for a column without a picture.
    int getIconWidth(int column) const;

private:
    QPixmap trash;
    QPixmap up;
    QPixmap down;
    bool pressed = false;
    int pressedRow = -1;
    int pressedColumn = -1;
};
