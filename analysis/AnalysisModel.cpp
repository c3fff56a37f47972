// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/AnalysisModel.h"

#include "signal/Utils.h"

#include <QColor>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <numeric>

AnalysisModel::AnalysisModel(QObject* parent)
    : QAbstractTableModel(parent)
{
}

int AnalysisModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : rows.size();
}

int AnalysisModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() || rows.isEmpty() ? 0 : records.size() + 1;
}

QModelIndex AnalysisModel::index(int row, int column, const QModelIndex& parent) const
{
    if (row < 0 || column < 0 || row >= rows.size() || column > records.size() || parent.isValid()) {
        return {};
    }
    return createIndex(row, column);
}

QVariant AnalysisModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rows.size() || index.column() > records.size()) {
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
    case Qt::UserRole:
        return index.column() == 0 ? QVariant(rows.at(index.row()).second) : value(index.row(), index.column());
    case Qt::TextAlignmentRole:
        return static_cast<int>((index.column() == 0 ? Qt::AlignLeft : Qt::AlignHCenter) | Qt::AlignVCenter);
    case Qt::BackgroundRole:
        return QColor(Qt::white);
    default:
        return {};
    }
}

QVariant AnalysisModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section > records.size()) {
        return {};
    }
    if (section == 0) {
        return tr("Text.marker");
    }
    return records.at(section - 1).date().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

Qt::ItemFlags AnalysisModel::flags(const QModelIndex& index) const
{
    if (!index.isValid()) {
        return Qt::ItemIsEnabled;
    }
    return QAbstractTableModel::flags(index);
}

void AnalysisModel::fromJson(const QByteArray& bytes)
{
    beginResetModel();
    records.clear();
    rows.clear();
    places.clear();

    const QJsonObject reply = Utils::bytesToJson(bytes);
    const QJsonArray columns = reply.value(QLatin1String("columns")).toArray();
    const QJsonArray markers = reply.value(QLatin1String("rows")).toArray();

    QVector<QJsonArray> values;
    values.reserve(markers.size());
    rows.reserve(markers.size());
    for (const QJsonValue& element : markers) {
        const QJsonObject marker = element.toObject();
        rows.append({marker.value(QLatin1String("id")).toString(), marker.value(QLatin1String("title")).toString()});
        values.append(marker.value(QLatin1String("values")).toArray());
    }

    records.reserve(columns.size());
    for (int column = 0; column < columns.size(); ++column) {
        AnalysisRecord record;
        record.setDate(QDateTime::fromString(columns.at(column).toString(), Qt::ISODate));
        for (int row = 0; row < rows.size(); ++row) {
            record.append(rows.at(row).first, values.at(row).at(column).toInt());
        }
        records.append(record);
    }

    if (!records.isEmpty()) {
        // The ids stand in the same order in every record, so one of them answers for all.
        const AnalysisRecord& record = records.constFirst();
        places.reserve(rows.size());
        for (const QPair<QString, QString>& row : qAsConst(rows)) {
            places.append(record.indexOf(row.first));
        }
    }
    rankTitles();
    endResetModel();
}

void AnalysisModel::rankTitles()
{
    QVector<int> order(rows.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(),
              [this](int row, int otherRow) { return rows.at(row).second < rows.at(otherRow).second; });
    ranks.resize(rows.size());
    int rank = 0;
    for (int i = 0; i < order.size(); ++i) {
        if (i > 0 && rows.at(order.at(i - 1)).second != rows.at(order.at(i)).second) {
            ++rank;
        }
        ranks[order.at(i)] = rank;
    }
}

#include "moc_AnalysisModel.cpp"
