// SPDX-License-Identifier: GPL-3.0-or-later
#include "recipe/ReceiptModel.h"

#include "signal/Utils.h"

#include <QColor>
#include <QJsonArray>
#include <QJsonObject>
#include <QSet>

#include <algorithm>

ReceiptModel::ReceiptModel(QObject* parent)
    : QAbstractTableModel(parent)
{
}

int ReceiptModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : markers.size();
}

int ReceiptModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() || markers.isEmpty() ? 0 : 4;
}

QVariant ReceiptModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= markers.size()) {
        return {};
    }
    const Marker& marker = markers.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::UserRole:
        switch (index.column()) {
        case 0:
            return marker.getTitle();
        case 1:
            return marker.getValue();
        case 2:
            return marker.getAmount();
        default:
            return {};
        }
    case Qt::TextAlignmentRole:
        return static_cast<int>((index.column() == 0 ? Qt::AlignLeft : Qt::AlignHCenter) | Qt::AlignVCenter);
    case Qt::BackgroundRole:
        return QColor(Qt::white);
    case Qt::CheckStateRole:
        if (index.column() == 0) {
            return marker.isChecked() ? Qt::Checked : Qt::Unchecked;
        }
        return {};
    default:
        return {};
    }
}

bool ReceiptModel::setData(const QModelIndex& index, const QVariant&, int role)
{
    if (!index.isValid() || index.row() >= markers.size() || index.column() != 0 || role != Qt::CheckStateRole) {
        return false;
    }
    Marker& marker = markers[index.row()];
    marker.toggle();
    emit onSelect(marker);
    return true;
}

QVariant ReceiptModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
        return {};
    }
    switch (section) {
    case 0:
        return tr("Text.marker");
    case 1:
        return tr("Text.matchPercent");
    case 2:
        return tr("Text.amountFrequencies");
    default:
        return {};
    }
}

Qt::ItemFlags ReceiptModel::flags(const QModelIndex& index) const
{
    if (!index.isValid()) {
        return Qt::ItemIsEnabled;
    }
    const Qt::ItemFlags base = QAbstractTableModel::flags(index);
    return index.column() == 0 ? base | Qt::ItemIsUserCheckable | Qt::ItemIsEnabled : base;
}

void ReceiptModel::fromJson(const QByteArray& bytes, QList<QPair<QString, Marker>>& selected)
{
    QSet<QString> chosen;
    for (const QPair<QString, Marker>& pair : qAsConst(selected)) {
        chosen.insert(pair.first);
    }

    beginResetModel();
    markers.clear();
    const QJsonArray rows = Utils::bytesToJson(bytes).value(QLatin1String("rows")).toArray();
    markers.reserve(rows.size());
    for (const QJsonValue& row : rows) {
        Marker marker(row.toObject());
        marker.setChecked(chosen.contains(marker.getId()));
        markers.append(marker);
    }
    endResetModel();
}

Marker ReceiptModel::getMarker(int row) const
{
    return markers.value(row);
}

void ReceiptModel::removeMarker(const QString& id)
{
    beginResetModel();
    const auto found =
        std::find_if(markers.begin(), markers.end(), [&id](const Marker& marker) { return marker.getId() == id; });
    if (found != markers.end()) {
        markers.erase(found);
    }
    endResetModel();
}

#include "moc_ReceiptModel.cpp"
