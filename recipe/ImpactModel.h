// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Marker.h"

#include <QAbstractTableModel>
#include <QList>
#include <QString>

/// The chosen markers in playing order.
class ImpactModel : public QAbstractTableModel
{
    Q_OBJECT

signals:
    void onMarkerRemove(QString id);
    void onChangeOrder();

public:
    explicit ImpactModel(QObject* parent);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    /// 5, or 0 while there is no row.
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

    QList<Marker> markers() const { return list; }
    /// Does not tell the views: call it before one has this model.
    void setMarkers(const QList<Marker>& markers);
    void removeMarker(const QModelIndex& index);
    /// Moves the marker of row `from` to row `to`; rows outside the list change nothing.
    void swapMarkers(int from, int to);

private:
    QList<Marker> list;
};
