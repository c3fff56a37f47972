// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/SummaryTableModel.h"

#include "signal/Utils.h"

#include <QColor>
#include <QJsonObject>

#include <limits>

namespace {

QColor ground(int value)
{
    if (value >= 11) {
        return {0xed, 0x41, 0x24};
    }
    if (value < -10) {
        return {0xac, 0xd4, 0x72};
    }
    return {0xfe, 0xfb, 0x52};
}

} // namespace

void SummaryTableModel::Row::setValues(const QJsonArray& array)
{
    values.reserve(values.size() + array.size());
    for (const QJsonValue& element : array) {
        // The conversion of a number that no int can hold is undefined.
        const double value =
            qBound<double>(std::numeric_limits<int>::min(), element.toDouble(0.0), std::numeric_limits<int>::max());
        values.append(static_cast<int>(value));
    }
}

SummaryTableModel::SummaryTableModel(QObject* parent)
    : QAbstractTableModel(parent)
{
}

int SummaryTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : rows.size();
}

int SummaryTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : titles.size() + 1;
}

QVariant SummaryTableModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || titles.isEmpty() || index.row() >= rows.size() || index.column() > titles.size()) {
        return {};
    }
    const Row& row = rows.at(index.row());
    const int place = index.column() - 1;
    switch (role) {
    case Qt::DisplayRole:
    case Qt::UserRole:
        if (index.column() == 0) {
            return row.getTitle();
        }
        return place < row.getValues().size() ? QVariant(row.getValueAt(place)) : QVariant();
    case Qt::TextAlignmentRole:
        return static_cast<int>((index.column() == 0 ? Qt::AlignLeft : Qt::AlignHCenter) | Qt::AlignVCenter);
    case Qt::BackgroundRole:
        if (index.column() == 0) {
            return QColor(Qt::white);
        }
        return place < row.getValues().size() ? QVariant(ground(row.getValueAt(place))) : QVariant();
    case Qt::ForegroundRole:
        return QColor(Qt::black);
    default:
        return {};
    }
}

QVariant SummaryTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || (role != Qt::DisplayRole && role != Qt::ToolTipRole) || section < 0 ||
        section > titles.size()) {
        return {};
    }
    return section == 0 ? tr("Text.category") : titles.at(section - 1);
}

Qt::ItemFlags SummaryTableModel::flags(const QModelIndex& index) const
{
    if (!index.isValid()) {
        return Qt::ItemIsEnabled;
    }
    return QAbstractTableModel::flags(index);
}

void SummaryTableModel::fromJson(const QByteArray& bytes)
{
    beginResetModel();
    rows.clear();
    titles.clear();

    const QJsonObject reply = Utils::bytesToJson(bytes);
    const QJsonArray columns = reply.value(QLatin1String("columns")).toArray();
    titles.reserve(columns.size());
    for (const QJsonValue& column : columns) {
        titles.append(column.toString());
    }
    const QJsonArray categories = reply.value(QLatin1String("rows")).toArray();
    rows.reserve(categories.size());
    for (const QJsonValue& element : categories) {
        const QJsonObject category = element.toObject();
        Row row;
        row.setTitle(category.value(QLatin1String("title")).toString());
        row.setValues(category.value(QLatin1String("values")).toArray());
        rows.append(row);
    }
    endResetModel();
}

#include "moc_SummaryTableModel.cpp"
