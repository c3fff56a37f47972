// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/AnalysisRecord.h"

int AnalysisRecord::value(const QString& id) const
{
    const int index = indexOf(id);
    return index < 0 ? 0 : value(index);
}

int AnalysisRecord::indexOf(const QString& id) const
{
    // Most records are only ever read by index, so the ids are hashed when the first look-up comes.
    for (; indexed < values.size(); ++indexed) {
        const QString& next = values.at(indexed).first;
        if (!places.contains(next)) {
            places.insert(next, indexed);
        }
    }
    return places.value(id, -1);
}

void AnalysisRecord::clear()
{
    values.clear();
    places.clear();
    indexed = 0;
}
