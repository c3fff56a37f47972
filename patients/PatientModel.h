// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Patient.h"

#include <QAbstractTableModel>
#include <QList>

/// One page of the server's list of patients, in the server's order.
class PatientModel : public QAbstractTableModel
{
    Q_OBJECT

signals:
    void pageCountChanghed();

public:
    explicit PatientModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    /// A default patient if the index is not in the list.
    Patient getPatient(const QModelIndex& index) const;
    /// A default patient if the list does not hold this id.
    Patient getPatientById(const QString& id) const;
    /// -1 if the list does not hold the patient, or if the patient has no id.
    int getRowByPatient(const Patient& patient) const;
    bool indexIsValid(const QModelIndex& index) const;

    int getTotalPages() const { return totalPages; }
    /// Pages of the whole list on the server.
    void setTotalPages(int pages);
    /// Counted from 1; the running numbers follow from it.
    void setCurrentPage(int page);
    /// Rows of a full page.
    void setPageSize(int size);

    void append(const Patient& patient);
    void removeAt(int row);
    void replace(const QModelIndex& index, const Patient& patient);
    void clear();

private:
    QVariant displayData(int row, int column) const;

    QList<Patient> patients;
    int totalPages = 0;
    int currentPage = 1;
    int pageSize = 0;
};
