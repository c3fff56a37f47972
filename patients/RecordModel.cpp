// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/RecordModel.h"

#include "model/picture.h"

#include <QColor>
#include <QPixmap>

namespace {

enum Column
{
    Check,
    Number,
    Notes,
    RecordedAt,
    DoctorName,
    Questionnaire,
    Trash,
    ColumnCount,
};

} // namespace

RecordModel::RecordModel(QObject* parent)
    : QAbstractTableModel(parent)
{
}

int RecordModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : records.size();
}

int RecordModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant RecordModel::data(const QModelIndex& index, int role) const
{
    if (!indexIsValid(index)) {
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
        return displayData(index.row(), index.column());
    case Qt::CheckStateRole:
        if (index.column() != Check) {
            return {};
        }
        return static_cast<int>(records.at(index.row()).isChecked() ? Qt::Checked : Qt::Unchecked);
    case Qt::BackgroundRole:
        return index.row() % 2 == 0 ? QColor(Qt::white) : QColor(0xF7, 0xF9, 0xFC);
    case Qt::ForegroundRole:
        return QColor(65, 65, 65);
    default:
        return {};
    }
}

QVariant RecordModel::displayData(int row, int column) const
{
    const Record& record = records.at(row);
    switch (column) {
    case Number:
        return records.size() - row;
    case Notes:
        return record.isEditable() ? QPixmap() : picture(QStringLiteral(":/images/notes.png"));
    case RecordedAt:
        return record.getRecordedAt();
    case DoctorName:
        return record.getDoctorName();
    case Questionnaire:
        return record.isQuestionnaire() ? tr("Text.yes") : tr("Text.no");
    default:
        return {};
    }
}

QVariant RecordModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount) {
        return QAbstractTableModel::headerData(section, orientation, role);
    }
    if (role == Qt::TextAlignmentRole) {
        switch (section) {
        case Number:
        case Notes:
            return static_cast<int>(Qt::AlignHCenter | Qt::AlignVCenter);
        case RecordedAt:
        case DoctorName:
        case Questionnaire:
            return static_cast<int>(Qt::AlignLeft);
        default:
            return static_cast<int>(Qt::AlignLeft | Qt::AlignVCenter);
        }
    }
    if (role == Qt::AccessibleTextRole && section == Check) {
        return tr("Text.allRecords");
    }
    if (role != Qt::DisplayRole) {
        return {};
    }
    switch (section) {
    case RecordedAt:
        return tr("Text.recordedAt");
    case DoctorName:
        return tr("Text.doctorName");
    case Questionnaire:
        return tr("Text.questionnaire");
    default:
        return QString();
    }
}

Qt::ItemFlags RecordModel::flags(const QModelIndex& index) const
{
    if (!indexIsValid(index)) {
        return Qt::ItemIsEnabled;
    }
    const Qt::ItemFlags defaults = QAbstractTableModel::flags(index);
    return index.column() == Check ? defaults | Qt::ItemIsUserCheckable | Qt::ItemIsEnabled : defaults;
}

bool RecordModel::setData(const QModelIndex& index, const QVariant&, int role)
{
    if (role != Qt::CheckStateRole || !indexIsValid(index) || index.column() != Check) {
        return false;
    }
    records[index.row()].toggle();
    emit dataChanged(index, index, {Qt::CheckStateRole});
    emit onUpdate();
    return true;
}

Record RecordModel::getRecord(const QModelIndex& index) const
{
    return indexIsValid(index) ? records.at(index.row()) : Record();
}

int RecordModel::getRowByRecord(const Record& record) const
{
    const QString id = record.getId();
    for (int row = 0; row < records.size(); ++row) {
        if (records.at(row).getId() == id) {
            return row;
        }
    }
    return -1;
}

bool RecordModel::indexIsValid(const QModelIndex& index) const
{
    return index.isValid() && index.model() == this && index.row() < records.size() && index.column() < ColumnCount;
}

QList<Record> RecordModel::getAllCheckedRecords() const
{
    QList<Record> checked;
    for (const Record& record : records) {
        if (record.isChecked()) {
            checked.append(record);
        }
    }
    return checked;
}

void RecordModel::append(const Record& record)
{
    insert(records.size(), record);
}

void RecordModel::pushFront(const Record& record)
{
    insert(0, record);
}

void RecordModel::insert(int row, const Record& record)
{
    beginInsertRows(QModelIndex(), row, row);
    records.insert(row, record);
    endInsertRows();
}

void RecordModel::removeAt(int row)
{
    if (row < 0 || row >= records.size()) {
        return;
    }
    beginRemoveRows(QModelIndex(), row, row);
    records.removeAt(row);
    endRemoveRows();
}

void RecordModel::replace(const QModelIndex& index, const Record& record)
{
    if (!indexIsValid(index)) {
        return;
    }
    records[index.row()] = record;
    emit dataChanged(this->index(index.row(), 0), this->index(index.row(), ColumnCount - 1));
}

void RecordModel::clear()
{
    beginResetModel();
    records.clear();
    endResetModel();
}

void RecordModel::toggle(bool state)
{
    for (Record& record : records) {
        record.setChecked(state);
    }
    if (!records.isEmpty()) {
        emit dataChanged(index(0, Check), index(records.size() - 1, Check), {Qt::CheckStateRole});
    }
    emit onUpdate();
}

#include "moc_RecordModel.cpp"
