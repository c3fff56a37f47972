// SPDX-License-Identifier: GPL-3.0-or-later
#include "recipe/ImpactModel.h"

#include <QColor>

ImpactModel::ImpactModel(QObject* parent)
    : QAbstractTableModel(parent)
{
}

int ImpactModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : list.size();
}

int ImpactModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() || list.isEmpty() ? 0 : 5;
}

QVariant ImpactModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= list.size()) {
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
        switch (index.column()) {
        case 0:
            return index.row() + 1;
        case 3:
            return list.at(index.row()).getTitle();
        default:
            return {};
        }
    case Qt::TextAlignmentRole:
        return static_cast<int>((index.column() == 3 ? Qt::AlignLeft : Qt::AlignHCenter) | Qt::AlignVCenter);
    case Qt::BackgroundRole:
        return QColor(Qt::white);
    default:
        return {};
    }
}

void ImpactModel::setMarkers(const QList<Marker>& markers)
{
    if (list.isSharedWith(markers)) {
        return;
    }
    list = markers;
}

void ImpactModel::removeMarker(const QModelIndex& index)
{
    if (!index.isValid() || index.row() >= list.size()) {
        return;
    }
    const QString id = list.at(index.row()).getId();
    beginResetModel();
    list.removeAt(index.row());
    endResetModel();
    emit onMarkerRemove(id);
}

void ImpactModel::swapMarkers(int from, int to)
{
    if (from < 0 || from >= list.size() || to < 0 || to >= list.size()) {
        return;
    }
    beginResetModel();
    list.move(from, to);
    endResetModel();
    emit onChangeOrder();
}

#include "moc_ImpactModel.cpp"
