// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/PatientModel.h"

#include <QColor>

namespace {

enum Column
{
    Number,
    Status,
    Name,
    Age,
    Gender,
    LastRecord,
    Phone,
    Notes,
    Edit,
    Trash,
    ColumnCount,
};

int alignment(int column)
{
    switch (column) {
    case Number:
    case Age:
    case Gender:
    case LastRecord:
        return Qt::AlignHCenter | Qt::AlignVCenter;
    default:
        return Qt::AlignLeft | Qt::AlignVCenter;
    }
}

QString indented(const QString& text)
{
    return QStringLiteral("  ") + text;
}

} // namespace

PatientModel::PatientModel(QObject* parent)
    : QAbstractTableModel(parent)
{
}

int PatientModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : patients.size();
}

int PatientModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant PatientModel::data(const QModelIndex& index, int role) const
{
    if (!indexIsValid(index)) {
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
        return displayData(index.row(), index.column());
    case Qt::ToolTipRole:
        if (index.column() != Status) {
            return QString();
        }
        switch (patients.at(index.row()).getStatusToolTip()) {
        case 0:
            return tr("Text.deviceNotConnected");
        case 2:
            return tr("Text.recordInProgress");
        case 3:
            return tr("Text.recordComplete");
        case 4:
            return tr("Text.recipeInProgress");
        case 5:
            return tr("Text.recipeComplete");
        default:
            return tr("Text.noCommands");
        }
    case Qt::TextAlignmentRole:
        return alignment(index.column());
    case Qt::BackgroundRole:
        return index.row() % 2 == 0 ? QColor(Qt::white) : QColor(0xF7, 0xF9, 0xFC);
    case Qt::ForegroundRole:
        return QColor(65, 65, 65);
    default:
        return {};
    }
}

QVariant PatientModel::displayData(int row, int column) const
{
    const Patient& patient = patients.at(row);
    switch (column) {
    case Number:
        // The server names the number of pages, so that the product may be larger than an int.
        return row + (qlonglong(currentPage) - 1) * pageSize + 1;
    case Status:
        return patient.getStatusIcon();
    case Name:
        return indented(patient.getName());
    case Age:
        return patient.getAge();
    case Gender:
        return patient.getGenderIcon();
    case LastRecord:
        return patient.getLastRecordAt();
    case Phone:
        return indented(patient.getPhone());
    case Notes:
        return indented(patient.getNotes());
    default:
        return {};
    }
}

QVariant PatientModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount) {
        return QAbstractTableModel::headerData(section, orientation, role);
    }
    if (role == Qt::TextAlignmentRole) {
        return alignment(section);
    }
    if (role != Qt::DisplayRole) {
        return {};
    }
    switch (section) {
    case Name:
        return tr("Text.name");
    case Age:
        return tr("Text.age");
    case Gender:
        return tr("Text.gender");
    case LastRecord:
        return tr("Text.lastRecordDate");
    case Phone:
        return tr("Text.phone");
    case Notes:
        return tr("Text.notes");
    default:
        return QString();
    }
}

Qt::ItemFlags PatientModel::flags(const QModelIndex& index) const
{
    return indexIsValid(index) ? QAbstractTableModel::flags(index) : Qt::ItemIsEnabled;
}

Patient PatientModel::getPatient(const QModelIndex& index) const
{
    return indexIsValid(index) ? patients.at(index.row()) : Patient();
}

Patient PatientModel::getPatientById(const QString& id) const
{
    for (const Patient& patient : patients) {
        if (patient.getId() == id) {
            return patient;
        }
    }
    return {};
}

int PatientModel::getRowByPatient(const Patient& patient) const
{
    const QString id = patient.getId();
    if (id.isEmpty()) {
        return -1;
    }
    for (int row = 0; row < patients.size(); ++row) {
        if (patients.at(row).getId() == id) {
            return row;
        }
    }
    return -1;
}

bool PatientModel::indexIsValid(const QModelIndex& index) const
{
    return index.isValid() && index.model() == this && index.row() < patients.size() && index.column() < ColumnCount;
}

void PatientModel::setTotalPages(int pages)
{
    if (totalPages == pages) {
        return;
    }
    totalPages = pages;
    emit pageCountChanghed();
}

void PatientModel::setCurrentPage(int page)
{
    currentPage = page;
}

void PatientModel::setPageSize(int size)
{
    pageSize = size;
}

void PatientModel::append(const Patient& patient)
{
    beginInsertRows(QModelIndex(), patients.size(), patients.size());
    patients.append(patient);
    endInsertRows();
}

void PatientModel::removeAt(int row)
{
    if (row < 0 || row >= patients.size()) {
        return;
    }
    beginRemoveRows(QModelIndex(), row, row);
    patients.removeAt(row);
    endRemoveRows();
}

void PatientModel::replace(const QModelIndex& index, const Patient& patient)
{
    if (!indexIsValid(index)) {
        return;
    }
    patients[index.row()] = patient;
    emit dataChanged(index, index);
}

void PatientModel::clear()
{
    beginResetModel();
    patients.clear();
    endResetModel();
}

#include "moc_PatientModel.cpp"
