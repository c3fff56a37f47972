// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "analysis/AnalysisRecord.h"

#include <QAbstractTableModel>
#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QVector>

/// Markers by row against analysed records by column, in the server's order; a cell is the match in percent.
class AnalysisModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    explicit AnalysisModel(QObject* parent);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    /// The title and one for each record, or 0 while there is no row.
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    /// Rows with the same marker id show the values of the first of them.
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    /// Whether the first row's sort value in this column is below the other's: what comparing their Qt::UserRole says,
    /// without a QVariant for each. Rows and column are not checked.
    bool isLess(int row, int otherRow, int column) const
    {
        return column == 0 ? ranks.at(row) < ranks.at(otherRow) : value(row, column) < value(otherRow, column);
    }

    /// Replaces the table by that of an analysis reply; a reply of any other form leaves it empty. A value that is
    /// missing or no integer reads as 0.
    void fromJson(const QByteArray& bytes);

private:
    void findPlaces();
    /// Compares all titles once, so that no sort has to.
    void rankTitles();
    /// How many characters at their beginning all titles have in common.
    int commonLength() const;
    int value(int row, int column) const { return records.at(column - 1).value(places.at(row)); }

    QVector<AnalysisRecord> records;
    /// Marker id and title of each row.
    QVector<QPair<QString, QString>> rows;
    /// Where each row's values stand in every record: at the first row with the same id. Empty without records.
    QVector<int> places;
    /// Place of each row's title among the different titles.
    QVector<int> ranks;
};
