// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Patients.h"

#include "server/Database.h"
#include "server/Secrets.h"
#include "server/TextKeys.h"

namespace server {

namespace {

constexpr QChar escape = QLatin1Char('\\');

QString columns()
{
    return QStringLiteral("p.id, p.name, p.birth_date, p.gender, p.phone, p.notes, p.last_record_at, "
                          "d.patient_id IS NOT NULL, p.device_enabled, c.name, c.complete");
}

QString source()
{
    return QStringLiteral(" FROM patients p LEFT JOIN devices d ON d.patient_id = p.id "
                          "LEFT JOIN commands c ON c.patient_id = p.id");
}

Patient patientOf(const QSqlQuery& query)
{
    Patient patient;
    patient.id = query.value(0).toString();
    patient.name = query.value(1).toString();
    patient.birthDate = QDate::fromString(query.value(2).toString(), Qt::ISODate);
    patient.gender = query.value(3).toString();
    patient.phone = query.value(4).toString();
    patient.notes = query.value(5).toString();
    patient.lastRecordAt = QDateTime::fromString(query.value(6).toString(), Qt::ISODateWithMs);
    patient.hasDevice = query.value(7).toBool();
    patient.deviceEnabled = query.value(8).toBool();
    patient.command = query.value(9).toString();
    patient.commandComplete = query.value(10).toBool();
    return patient;
}

QVariantList fieldsOf(const Patient& patient)
{
    return {patient.name,
            patient.birthDate.toString(Qt::ISODate),
            patient.gender,
            patient.phone,
            patient.notes,
            TextKeys::folded(patient.name),
            TextKeys::folded(patient.notes),
            TextKeys::sortKey(patient.name),
            TextKeys::sortKey(patient.notes)};
}

/// A pattern that finds the text anywhere, with what LIKE takes for wildcards taken literally.
QString containing(const QString& text)
{
    QString pattern = text;
    for (const QChar special : {escape, QChar(QLatin1Char('%')), QChar(QLatin1Char('_'))})
        pattern.replace(special, QString(escape) + special);
    return QLatin1Char('%') + pattern + QLatin1Char('%');
}

/// Every order ends with the id, so that rows which compare equal stand in one order on every page.
QString orderOf(const PatientQuery& query)
{
    QString column;
    bool descending = query.descending;
    switch (query.sort) {
    case PatientQuery::Sort::Name:
        column = QStringLiteral("p.name_key");
        break;
    case PatientQuery::Sort::Age:
        column = QStringLiteral("p.birth_date");
        descending = !descending;
        break;
    case PatientQuery::Sort::Gender:
        column = QStringLiteral("p.gender");
        break;
    case PatientQuery::Sort::Record:
        column = QStringLiteral("p.last_record_at");
        break;
    case PatientQuery::Sort::Notes:
        column = QStringLiteral("p.notes_key");
        break;
    }
    const QString direction = descending ? QStringLiteral("DESC") : QStringLiteral("ASC");
    return QStringLiteral(" ORDER BY %1 %2, p.id %2").arg(column, direction);
}

} // namespace

Patients::Patients(Database& database, const QString& practitionerId)
    : m_database(database)
    , m_practitionerId(practitionerId)
{
}

Patients::Page Patients::list(const PatientQuery& query)
{
    QString condition = QStringLiteral(" WHERE p.practitioner_id = ?");
    QVariantList values{m_practitionerId};
    const QString needle = TextKeys::folded(query.needle);
    if (!needle.isEmpty()) {
        condition += query.field == PatientQuery::Field::Name
                         ? QStringLiteral(" AND p.name_folded LIKE ? ESCAPE '\\'")
                         : QStringLiteral(" AND p.notes_folded LIKE ? ESCAPE '\\'");
        values.append(containing(needle));
    }

    Page page;
    qint64 total = 0;
    {
        QSqlQuery counted = m_database.run(QStringLiteral("SELECT COUNT(*) FROM patients p") + condition, values);
        if (counted.next())
            total = counted.value(0).toLongLong();
    }
    QString statement = QStringLiteral("SELECT ") + columns() + source() + condition + orderOf(query);
    if (query.size > 0) {
        page.pages = int((total + query.size - 1) / query.size);
        statement += QStringLiteral(" LIMIT ? OFFSET ?");
        // The client goes back to its first page when a search leaves fewer pages than the one it stands on.
        const qint64 current = query.page < page.pages ? query.page : 0;
        values << query.size << current * query.size;
    } else {
        page.pages = total > 0 ? 1 : 0;
    }
    QSqlQuery found = m_database.run(statement, values);
    while (found.next())
        page.rows.append(patientOf(found));
    return page;
}

std::optional<Patient> Patients::find(const QString& id)
{
    QSqlQuery query = m_database.run(QStringLiteral("SELECT ") + columns() + source() +
                                         QStringLiteral(" WHERE p.id = ? AND p.practitioner_id = ?"),
                                     {id, m_practitionerId});
    if (!query.next())
        return std::nullopt;
    return patientOf(query);
}

Patient Patients::add(const Patient& patient)
{
    Patient added = patient;
    added.id = Secrets::randomId();
    added.lastRecordAt = QDateTime();
    added.hasDevice = false;
    added.deviceEnabled = true;
    added.command.clear();
    added.commandComplete = false;
    QVariantList values = fieldsOf(added);
    values << added.id << m_practitionerId << QString() << QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
    m_database.run(QStringLiteral("INSERT INTO patients (name, birth_date, gender, phone, notes, name_folded, "
                                  "notes_folded, name_key, notes_key, id, practitioner_id, last_record_at, created_at) "
                                  "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
                   values);
    return added;
}

std::optional<Patient> Patients::update(const Patient& patient)
{
    QVariantList values = fieldsOf(patient);
    values << patient.id << m_practitionerId;
    Database::Transaction transaction(m_database);
    m_database.run(QStringLiteral("UPDATE patients SET name = ?, birth_date = ?, gender = ?, phone = ?, notes = ?, "
                                  "name_folded = ?, notes_folded = ?, name_key = ?, notes_key = ? "
                                  "WHERE id = ? AND practitioner_id = ?"),
                   values);
    std::optional<Patient> updated = find(patient.id);
    transaction.commit();
    return updated;
}

bool Patients::remove(const QString& id)
{
    return m_database
               .run(QStringLiteral("DELETE FROM patients WHERE id = ? AND practitioner_id = ?"), {id, m_practitionerId})
               .numRowsAffected() > 0;
}

} // namespace server
