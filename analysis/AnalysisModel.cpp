// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/AnalysisModel.h"

#include "signal/Utils.h"

#include <QColor>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

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

    QVector<QString> ids;
    QVector<QVector<int>> values(columns.size(), QVector<int>(markers.size()));
    rows.reserve(markers.size());
    ids.reserve(markers.size());
    for (const QJsonValue& element : markers) {
        const QJsonObject marker = element.toObject();
        const QJsonArray cells = marker.value(QLatin1String("values")).toArray();
        for (int column = 0; column < values.size(); ++column) {
            values[column][rows.size()] = cells.at(column).toInt();
        }
        ids.append(marker.value(QLatin1String("id")).toString());
        rows.append({ids.constLast(), marker.value(QLatin1String("title")).toString()});
    }

    records.reserve(columns.size());
    for (int column = 0; column < columns.size(); ++column) {
        AnalysisRecord record;
        record.setDate(QDateTime::fromString(columns.at(column).toString(), Qt::ISODate));
        record.setEntries(ids, values.at(column));
        records.append(record);
    }

    findPlaces();
    rankTitles();
    endResetModel();
}

void AnalysisModel::findPlaces()
{
    if (records.isEmpty()) {
        return;
    }
    // The ids stand in the same order in every record, so one answer serves for all.
    QHash<QString, int> firsts;
    firsts.reserve(rows.size());
    places.reserve(rows.size());
    for (int row = 0; row < rows.size(); ++row) {
        const int known = firsts.size();
        int& first = firsts[rows.at(row).first];
        if (firsts.size() > known) {
            first = row;
        }
        places.append(first);
    }
}

void AnalysisModel::rankTitles()
{
    struct Title
    {
        /// The four characters after what all titles begin with: they settle most comparisons.
        quint64 key;
        int row;
    };

    const int common = commonLength();
    QVector<Title> order;
    order.reserve(rows.size());
    for (int row = 0; row < rows.size(); ++row) {
        const QString& title = rows.at(row).second;
        quint64 key = 0;
        for (int place = common; place < common + 4; ++place) {
            key = key << 16U | (place < title.size() ? title.at(place).unicode() : 0U);
        }
        order.append({key, row});
    }
    std::sort(order.begin(), order.end(), [this](const Title& one, const Title& other) {
        return one.key != other.key ? one.key < other.key : rows.at(one.row).second < rows.at(other.row).second;
    });
    ranks.resize(rows.size());
    int rank = 0;
    for (int i = 0; i < order.size(); ++i) {
        if (i > 0 && rows.at(order.at(i - 1).row).second != rows.at(order.at(i).row).second) {
            ++rank;
        }
        ranks[order.at(i).row] = rank;
    }
}

int AnalysisModel::commonLength() const
{
    if (rows.isEmpty()) {
        return 0;
    }
    const QString& first = rows.constFirst().second;
    int length = first.size();
    for (const QPair<QString, QString>& row : rows) {
        const auto end = row.second.cbegin() + qMin(length, row.second.size());
        length = static_cast<int>(std::mismatch(row.second.cbegin(), end, first.cbegin()).first - row.second.cbegin());
    }
    return length;
}

#include "moc_AnalysisModel.cpp"
