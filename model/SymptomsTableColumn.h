// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>

/// One dated column of the questionnaire. A plain value.
class SymptomsTableColumn
{
public:
    SymptomsTableColumn() = default;
    SymptomsTableColumn(const QString& id, const QDateTime& recordDate);

    /// The key of the column's intensities.
    QString id() const { return key; }
    void setId(const QString& id) { key = id; }
    /// Invalid if the server's text was no date.
    QDateTime recordDate() const { return date; }
    void setRecordDate(const QDateTime& recordDate) { date = recordDate; }

private:
    QString key;
    QDateTime date;
};
