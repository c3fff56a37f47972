// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Analyses.h"

#include "server/Database.h"
#include "server/Records.h"
#include "server/Spectrum.h"
#include "server/WaveFile.h"

namespace server {

namespace {

/// Ids in one statement.
constexpr int asked = 200;
/// Results that are stored at once: each transaction waits for the disk, and what an interrupted request has stored is
/// not computed again.
constexpr int stored = 50;

} // namespace

Analyses::Analyses(Database& database, const QString& practitionerId)
    : m_database(database)
    , m_practitionerId(practitionerId)
{
}

QHash<QString, AnalysisResult> Analyses::results(const QString& patientId, const QStringList& recordIds)
{
    QHash<QString, AnalysisResult> all;
    for (int first = 0; first < recordIds.size(); first += asked)
        findKept(patientId, recordIds.mid(first, asked), all);

    Records records(m_database, m_practitionerId);
    QHash<QString, AnalysisResult> computed;
    for (const QString& id : recordIds) {
        if (all.contains(id))
            continue;
        const std::optional<QByteArray> wave = records.wave(patientId, id);
        if (!wave)
            continue;
        const AnalysisResult result{Spectrum(WaveFile(*wave).samples())};
        all.insert(id, result);
        computed.insert(id, result);
        if (computed.size() >= stored) {
            keep(computed);
            computed.clear();
        }
    }
    if (!computed.isEmpty())
        keep(computed);
    return all;
}

void Analyses::findKept(const QString& patientId, const QStringList& recordIds, QHash<QString, AnalysisResult>& found)
{
    QStringList marks;
    QVariantList values{patientId, m_practitionerId, Catalogue::version()};
    for (const QString& id : recordIds) {
        marks.append(QStringLiteral("?"));
        values.append(id);
    }
    Rows query = m_database.run(QStringLiteral("SELECT a.record_id, a.result FROM analyses a "
                                                    "JOIN records r ON r.id = a.record_id "
                                                    "JOIN patients p ON p.id = r.patient_id "
                                                    "WHERE r.patient_id = ? AND p.practitioner_id = ? "
                                                    "AND a.catalogue_version = ? AND a.record_id IN (%1)")
                                         .arg(marks.join(QStringLiteral(", "))),
                                     values);
    while (query.next()) {
        if (const std::optional<AnalysisResult> result = AnalysisResult::fromBytes(query.value(1).toByteArray()))
            found.insert(query.value(0).toString(), *result);
    }
}

void Analyses::keep(const QHash<QString, AnalysisResult>& results)
{
    Database::Transaction transaction(m_database);
    for (auto result = results.begin(); result != results.end(); ++result) {
        // A record may have been deleted while its result was computed: then there is no row to select.
        m_database.run(QStringLiteral("INSERT INTO analyses (record_id, catalogue_version, result) "
                                      "SELECT id, ?, ? FROM records WHERE id = ? "
                                      "ON CONFLICT (record_id) DO UPDATE SET "
                                      "catalogue_version = excluded.catalogue_version, result = excluded.result"),
                       {Catalogue::version(), result.value().toBytes(), result.key()});
    }
    transaction.commit();
}

} // namespace server
