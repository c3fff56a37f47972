// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractTableModel>
#include <QByteArray>
#include <QJsonArray>
#include <QList>
#include <QString>
#include <QStringList>

/// Categories by row against the columns that the server names, in its order; a cell is a signed score on a
/// traffic-light ground.
class SummaryTableModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    /// One category.
    class Row
    {
    public:
        QString getTitle() const { return title; }
        void setTitle(const QString& value) { title = value; }
        const QList<int>& getValues() const { return values; }
        /// The index is not checked: it must be below the number of values.
        int getValueAt(int index) const { return values.at(index); }
        /// Appends to the values that are there. Numbers lose their fraction and stop at the limits of int; anything
        /// else counts as 0.
        void setValues(const QJsonArray& array);

    private:
        QString title;
        QList<int> values;
    };

    explicit SummaryTableModel(QObject* parent);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    /// The title and one for each column of the server, whether there are rows or not.
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    /// A row with fewer values than there are columns has neither a value nor a background in the cells left over.
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    /// Replaces the table by that of a summary reply; a reply of any other form leaves it empty.
    void fromJson(const QByteArray& bytes);

private:
    QStringList titles;
    QList<Row> rows;
};
