// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/AnalysisResult.h"

#include <QHash>
#include <QString>
#include <QStringList>

namespace server {

class Database;

/// The results of the analysis of records of one practitioner's patients. A result is computed when it is first asked
/// for, and kept until the record goes or the catalogue gets a new version; one that is kept but cannot be read is
/// computed anew. Usable on any thread, and by several servers on one file: where two compute the same result, the
/// later one stays. Database failures are thrown as DatabaseError.
class Analyses
{
public:
    /// The database has to outlive the analyses.
    Analyses(Database& database, const QString& practitionerId);

    /// The results by the ids of their records. An id without a record of this patient has none.
    QHash<QString, AnalysisResult> results(const QString& patientId, const QStringList& recordIds);

private:
    void findKept(const QString& patientId, const QStringList& recordIds, QHash<QString, AnalysisResult>& found);
    void keep(const QHash<QString, AnalysisResult>& results);

    Database& m_database;
    QString m_practitionerId;
};

} // namespace server
