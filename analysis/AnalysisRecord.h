// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QVector>

/// One column of the analysis table: what one analysed record says of each marker, in the order of appending. A plain
/// value; an index is not checked and must be below count().
class AnalysisRecord
{
public:
    QDateTime date() const { return recordedAt; }
    void setDate(const QDateTime& date) { recordedAt = date; }

    void append(const QString& id, int value);
    /// Replaces all entries by these, each id with the value in the same place: the ids of a whole table can be shared
    /// by its records. What one list has beyond the other is left out.
    void setEntries(const QVector<QString>& ids, const QVector<int>& values);
    int value(int index) const { return values.at(index); }
    /// Of the first entry with this id; 0 if there is none.
    int value(const QString& id) const;
    QString id(int index) const { return ids.at(index); }
    /// Place of the first entry with this id; -1 if there is none.
    int indexOf(const QString& id) const;
    int count() const { return values.size(); }
    /// Drops all entries; the date stays.
    void clear();

private:
    /// Marker ids, and in the same places the values.
    QVector<QString> ids;
    QVector<int> values;
    QDateTime recordedAt;
    /// Where each id stands first, as far as the look-ups so far have indexed the entries.
    mutable QHash<QString, int> places;
    mutable int indexed = 0;
};
