// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/SymptomModel.h"

#include "model/SymptomsTable.h"

#include <QAbstractItemView>
#include <QColor>
#include <QFont>

namespace {

constexpr int headRows = 2;

QVariant backgroundOf(int strength)
{
    switch (strength) {
    case 1:
        return QColor(0xfe, 0xca, 0x50);
    case 2:
        return QColor(0xff, 0x54, 0x55);
    case 3:
        return QColor(0xad, 0x57, 0xff);
    default:
        return {};
    }
}

} // namespace

SymptomModel::SymptomModel(QObject* parent)
    : QAbstractTableModel(parent)
    , table(new SymptomsTable(this))
{
}

int SymptomModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : table->rowCount();
}

int SymptomModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : table->columnCount();
}

bool SymptomModel::indexIsValid(const QModelIndex& index) const
{
    return index.isValid() && index.model() == this && index.row() < table->rowCount() &&
           index.column() < table->columnCount();
}

int SymptomModel::strength(const QVariant& intensity)
{
    // Beyond the range of int the conversion wraps round, and a huge value would come out as a small one.
    constexpr float limit = 1e9F;
    return QVariant(qBound(-limit, intensity.toFloat(), limit)).toInt();
}

QVariant SymptomModel::data(const QModelIndex& index, int role) const
{
    if (!indexIsValid(index)) {
        return {};
    }
    const bool head = index.row() < headRows;
    const bool body = !head && index.column() > 0;
    QVariant value = table->cellValue(index.column(), index.row());

    switch (role) {
    case Qt::DisplayRole:
        if (!body) {
            return value;
        }
        switch (strength(value)) {
        case 0:
            return tr("Complaint.none");
        case 1:
            return tr("Complaint.periodic");
        case 2:
            return tr("Complaint.moderate");
        case 3:
            return tr("Complaint.expressed");
        default:
            return strength(value) < 0 ? table->cellValue(index.column(), 0) : value;
        }
    case Qt::EditRole:
        return value;
    case Qt::FontRole:
        if (head) {
            QFont font;
            font.setWeight(QFont::Bold);
            return font;
        }
        return {};
    case Qt::BackgroundRole:
        if (head) {
            return QColor(0xe0, 0xfb, 0xf6);
        }
        return body ? backgroundOf(strength(value)) : QVariant();
    case Qt::ForegroundRole:
        return head ? QColor(0x17, 0x84, 0x67) : QColor(0x41, 0x41, 0x41);
    default:
        return {};
    }
}

bool SymptomModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!indexIsValid(index) || role != Qt::DisplayRole || index.column() == 0) {
        return false;
    }
    // Whoever listens may change the table.
    const int column = index.column();
    const int row = index.row();
    emit onChange();
    return table->setCellValue(column, row, value.toFloat());
}

QVariant SymptomModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
        return {};
    }
    return table->horizontalHeaderValue(section);
}

Qt::ItemFlags SymptomModel::flags(const QModelIndex& index) const
{
    if (!indexIsValid(index)) {
        return Qt::ItemIsEnabled;
    }
    const Qt::ItemFlags base = QAbstractTableModel::flags(index);
    return table->cellIsEdit(index.column(), index.row()) ? base | Qt::ItemIsEditable : base;
}

void SymptomModel::fromJSON(const QJsonObject& json)
{
    beginResetModel();
    table->fromJSON(json);
    endResetModel();
}

QByteArray SymptomModel::toJson() const
{
    auto* const view = qobject_cast<QAbstractItemView*>(QObject::parent());
    if (view != nullptr) {
        view->setCurrentIndex(QModelIndex());
        view->setEnabled(false);
        view->setEnabled(true);
    }
    return table->toJson();
}

void SymptomModel::appendSymptom(const Symptom& symptom)
{
    // With the first symptom come the two head rows as well, and one inserted row would be untrue.
    if (table->rowCount() == 0) {
        beginResetModel();
        table->appendSymptom(symptom);
        endResetModel();
    } else {
        beginInsertRows(QModelIndex(), table->rowCount(), table->rowCount());
        table->appendSymptom(symptom);
        endInsertRows();
    }
    emit onChange();
}

void SymptomModel::removeSymptom(int row)
{
    if (!table->rowIsDeletable(row)) {
        return;
    }
    // The two head rows go with the last symptom.
    if (table->rowCount() == headRows + 1) {
        beginResetModel();
        table->removeSymptom(row);
        endResetModel();
    } else {
        beginRemoveRows(QModelIndex(), row, row);
        table->removeSymptom(row);
        endRemoveRows();
    }
    emit onChange();
}

#include "moc_SymptomModel.cpp"
