// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Marker.h"

#include <QAbstractTableModel>
#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QVector>

/// The markers that one analysis returned, in the server's order, with the check marks of the receipt.
class ReceiptModel : public QAbstractTableModel
{
    Q_OBJECT

signals:
    /// The user ticked or unticked a marker. The reference is to the row itself and holds during the emission only.
    void onSelect(Marker& marker);

public:
    explicit ReceiptModel(QObject* parent);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    /// 4, or 0 while there is no row.
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    /// Toggles the check mark of column 0 whatever `value` says; nothing else can be set. Emits onSelect and no
    /// dataChanged.
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    /// Replaces all rows by those of an analysis reply; a reply of any other form leaves the table empty. A marker
    /// whose id is among `selected` (pairs of id and marker) comes up checked.
    void fromJson(const QByteArray& bytes, QList<QPair<QString, Marker>>& selected);
    /// A row outside the table gives a default marker.
    Marker getMarker(int row) const;
    /// Drops the first row with this id. The views are reset even if there is none.
    void removeMarker(const QString& id);

private:
    QVector<Marker> markers;
};
