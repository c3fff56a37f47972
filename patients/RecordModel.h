// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Record.h"

#include <QAbstractTableModel>
#include <QList>

/// A patient's records with their check marks. The rows keep the order of insertion; sorting is a proxy's work.
class RecordModel : public QAbstractTableModel
{
    Q_OBJECT

signals:
    /// The user has changed check marks.
    void onUpdate();

public:
    explicit RecordModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    /// Toggles the check mark of the row, whatever the value.
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;

    /// A default record if the index is not in the list.
    Record getRecord(const QModelIndex& index) const;
    /// -1 if the list does not hold the record.
    int getRowByRecord(const Record& record) const;
    bool indexIsValid(const QModelIndex& index) const;
    /// In the order of the list.
    QList<Record> getAllCheckedRecords() const;

    void append(const Record& record);
    void pushFront(const Record& record);
    void removeAt(int row);
    void replace(const QModelIndex& index, const Record& record);
    void clear();
    /// Checks or unchecks every record.
    void toggle(bool state);

private:
    QVariant displayData(int row, int column) const;
    void insert(int row, const Record& record);

    QList<Record> records;
};
