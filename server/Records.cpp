// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Records.h"

#include "server/Database.h"
#include "server/Patients.h"
#include "server/Secrets.h"

namespace server {

namespace {

QString selection(const QString& columns)
{
    return QStringLiteral("SELECT ") + columns +
           QStringLiteral(" FROM records r JOIN patients p ON p.id = r.patient_id "
                          "JOIN practitioners o ON o.id = p.practitioner_id "
                          "WHERE r.patient_id = ? AND p.practitioner_id = ?");
}

QString columns()
{
    return QStringLiteral("r.id, r.patient_id, o.full_name, o.name, r.recorded_at, r.sensor_id, "
                          "EXISTS (SELECT 1 FROM questionnaires q WHERE q.record_id = r.id)");
}

Record recordOf(const Rows& query)
{
    Record record;
    record.id = query.value(0).toString();
    record.patientId = query.value(1).toString();
    record.doctorName = query.value(2).toString();
    if (record.doctorName.isEmpty())
        record.doctorName = query.value(3).toString();
    record.recordedAt = QDateTime::fromString(query.value(4).toString(), Qt::ISODateWithMs);
    record.sensorId = query.value(5).toString();
    record.questionnaire = query.value(6).toBool();
    return record;
}

} // namespace

Records::Records(Database& database, const QString& practitionerId)
    : m_database(database)
    , m_practitionerId(practitionerId)
{
}

Statement Records::listing(const QString& practitionerId, const QString& patientId)
{
    return {selection(columns()) + QStringLiteral(" ORDER BY r.recorded_at, r.id"), {patientId, practitionerId}};
}

QVector<Record> Records::list(const QString& patientId)
{
    QVector<Record> result;
    const Statement statement = listing(m_practitionerId, patientId);
    Rows query = m_database.run(statement.text, statement.values);
    while (query.next())
        result.append(recordOf(query));
    return result;
}

std::optional<Record> Records::find(const QString& patientId, const QString& id)
{
    Rows query =
        m_database.run(selection(columns()) + QStringLiteral(" AND r.id = ?"), {patientId, m_practitionerId, id});
    if (!query.next())
        return std::nullopt;
    return recordOf(query);
}

std::optional<QByteArray> Records::wave(const QString& patientId, const QString& id)
{
    Rows query = m_database.run(selection(QStringLiteral("r.wave")) + QStringLiteral(" AND r.id = ?"),
                                {patientId, m_practitionerId, id});
    if (!query.next())
        return std::nullopt;
    return query.value(0).toByteArray();
}

std::optional<Record> Records::add(const QString& patientId, const QByteArray& wave, const QString& sensorId,
                                   const QDateTime& recordedAt)
{
    const QString id = Secrets::randomId();
    Database::Transaction transaction(m_database);
    if (!Patients(m_database, m_practitionerId).find(patientId))
        return std::nullopt;
    m_database.run(
        QStringLiteral("INSERT INTO records (id, patient_id, recorded_at, sensor_id, wave) VALUES (?, ?, ?, ?, ?)"),
        {id, patientId, recordedAt.toUTC().toString(Qt::ISODateWithMs), sensorId, wave});
    updateLastRecord(patientId);
    std::optional<Record> added = find(patientId, id);
    transaction.commit();
    return added;
}

bool Records::remove(const QString& patientId, const QString& id)
{
    Database::Transaction transaction(m_database);
    if (!find(patientId, id))
        return false;
    m_database.run(QStringLiteral("DELETE FROM records WHERE id = ?"), {id});
    updateLastRecord(patientId);
    transaction.commit();
    return true;
}

void Records::updateLastRecord(const QString& patientId)
{
    m_database.run(QStringLiteral("UPDATE patients SET last_record_at = COALESCE("
                                  "(SELECT MAX(recorded_at) FROM records WHERE patient_id = ?), '') WHERE id = ?"),
                   {patientId, patientId});
}

} // namespace server
