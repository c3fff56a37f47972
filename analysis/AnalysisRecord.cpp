// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/AnalysisRecord.h"

void AnalysisRecord::append(const QString& id, int value)
{
    ids.append(id);
    values.append(value);
}

void AnalysisRecord::setEntries(const QVector<QString>& newIds, const QVector<int>& newValues)
{
    clear();
    ids = newIds;
    values = newValues;
    // Only where it is needed: even a resize to the same size would end the sharing.
    if (ids.size() > values.size()) {
        ids.resize(values.size());
    } else if (values.size() > ids.size()) {
        values.resize(ids.size());
    }
}

int AnalysisRecord::value(const QString& id) const
{
    const int index = indexOf(id);
    return index < 0 ? 0 : value(index);
}

int AnalysisRecord::indexOf(const QString& id) const
{
    // Most records are only ever read by index, so the ids are hashed when the first look-up comes.
    for (; indexed < ids.size(); ++indexed) {
        const QString& next = ids.at(indexed);
        if (!places.contains(next)) {
            places.insert(next, indexed);
        }
    }
    return places.value(id, -1);
}

void AnalysisRecord::clear()
{
    ids.clear();
    values.clear();
    places.clear();
    indexed = 0;
}
