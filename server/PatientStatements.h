// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/PatientQuery.h"
#include "server/Statement.h"

#include <QtGlobal>

namespace server {

class Dialect;

/// How the patients of one practitioner are selected. Each row begins with the columns of Column. The rows of a page
/// come in any order: their keys and ids, compared as plain texts, give it.
///
/// A page without a search is read from the nearer end of an index that holds what it is sorted by. So the first and
/// the last pages cost as much as they have rows, and no page more than half of the practitioner's entries. What is
/// wanted beyond the index is read for the rows of the page alone.
class PatientStatements
{
public:
    enum Column
    {
        Key,   ///< what the list is sorted by
        Total, ///< of a search: how many patients are found on all pages
        Id,
        Name,
        BirthDate,
        Gender,
        Phone,
        Notes,
        LastRecordAt,
        HasDevice,
        DeviceEnabled,
        Command,
        CommandComplete,
    };

    PatientStatements(const Dialect& dialect, const QString& practitionerId);

    /// Whether keys fall along the list. Rows of equal keys go by their ids in the same direction.
    static bool descends(const PatientQuery& query);

    Statement find(const QString& id) const;
    /// How many there are.
    Statement count() const;
    /// All of them, for a query without a needle and without pages.
    Statement all(const PatientQuery& query) const;
    /// The page of a query without a needle, where there are `total` patients and the page is among theirs.
    Statement page(const PatientQuery& query, qint64 total) const;
    /// The page of a query with a needle, which is `folded`; all that are found if its size is 0.
    Statement search(const PatientQuery& query, const QString& folded) const;

private:
    const Dialect& m_dialect;
    QString m_practitionerId;
};

} // namespace server
