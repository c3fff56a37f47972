// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Symptom.h"
#include "model/SymptomsTableColumn.h"

#include <QByteArray>
#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QVariant>
#include <QVector>

/// The questionnaire of a patient as a grid. Each operation takes the column first, then the row. Column 0 holds the
/// labels, each further one belongs to a date; row 0 counts the complaints and row 1 sums the severity, each further
/// one belongs to a symptom. No operation tells anybody of a change.
class SymptomsTable : public QObject
{
    Q_OBJECT

public:
    explicit SymptomsTable(QObject* parent = nullptr);

    /// The dates and the labels' column; 0 without a date.
    int columnCount() const;
    /// The symptoms and the two computed rows; 0 without a symptom.
    int rowCount() const;
    /// The label of column 0, which needs no date; else the date as "yyyy-MM-dd HH:mm:ss", empty where there is none.
    QString horizontalHeaderValue(int column) const;
    /// Invalid outside the table, and where a symptom has no intensity at that date.
    QVariant cellValue(int column, int row) const;
    /// How many symptoms are above 0 at that date; 0 for a column without a date.
    float calcComplaintsNumber(int column) const;
    /// Sum of the intensities at that date; 0 for a column without a date.
    float calcSeverity(int column) const;

    /// Does not ask whether there is a symptom at that row.
    bool cellIsEdit(int column, int row) const;
    /// False, with nothing changed, for a cell that is not to be edited or lies outside the table.
    bool setCellValue(int column, int row, float value);
    bool rowIsDeletable(int row) const;
    /// The new symptom starts with 0 at every date, whatever it held.
    void appendSymptom(const Symptom& symptom);
    /// Leaves the table as it is if the row is not deletable.
    void removeSymptom(int row);

    /// Replaces everything by the server's reply. What is missing there or of the wrong kind reads as nothing, as 0 or
    /// as a symptom without a text.
    void fromJSON(const QJsonObject& json);
    /// The text of an object: the id of each column, to an object of each symptom's key and its intensity there. The
    /// key is the symptom's id or, if it is custom, its text; of equal keys the last one stays.
    QByteArray toJson() const;

private:
    /// Whether the column belongs to a date.
    bool isDated(int column) const;

    QVector<Symptom> symptoms;
    QVector<SymptomsTableColumn> columns;
};
