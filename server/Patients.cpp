// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Patients.h"

#include "server/Database.h"
#include "server/PatientStatements.h"
#include "server/Secrets.h"
#include "server/TextKeys.h"

#include <algorithm>
#include <tuple>
#include <vector>

namespace server {

namespace {

using Column = PatientStatements::Column;

Patient patientOf(const Rows& query)
{
    Patient patient;
    patient.id = query.value(Column::Id).toString();
    patient.name = query.value(Column::Name).toString();
    patient.birthDate = QDate::fromString(query.value(Column::BirthDate).toString(), Qt::ISODate);
    patient.gender = query.value(Column::Gender).toString();
    patient.phone = query.value(Column::Phone).toString();
    patient.notes = query.value(Column::Notes).toString();
    patient.lastRecordAt = QDateTime::fromString(query.value(Column::LastRecordAt).toString(), Qt::ISODateWithMs);
    patient.hasDevice = query.value(Column::HasDevice).toBool();
    patient.deviceEnabled = query.value(Column::DeviceEnabled).toBool();
    patient.command = query.value(Column::Command).toString();
    patient.commandComplete = query.value(Column::CommandComplete).toBool();
    return patient;
}

int pagesOf(qint64 total, int size)
{
    return size <= 0 ? 1 : int((total + size - 1) / size);
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

/// What was found, in the order of the list: keys and ids sort as texts just as the engines sort their bytes.
QVector<Patient> ordered(Rows& found, bool descending)
{
    using Row = std::pair<QString, Patient>;
    std::vector<Row> rows;
    do {
        rows.emplace_back(found.value(Column::Key).toString(), patientOf(found));
    } while (found.next());
    std::sort(rows.begin(), rows.end(), [descending](const Row& left, const Row& right) {
        const Row& lower = descending ? right : left;
        const Row& upper = descending ? left : right;
        return std::tie(lower.first, lower.second.id) < std::tie(upper.first, upper.second.id);
    });
    QVector<Patient> patients;
    patients.reserve(int(rows.size()));
    for (Row& row : rows)
        patients.append(std::move(row.second));
    return patients;
}

} // namespace

Patients::Patients(Database& database, const QString& practitionerId)
    : m_database(database)
    , m_practitionerId(practitionerId)
{
}

Rows Patients::run(const Statement& statement)
{
    return m_database.run(statement.text, statement.values);
}

Patients::Page Patients::list(const PatientQuery& query)
{
    const PatientStatements statements(m_database.dialect(), m_practitionerId);
    const QString needle = TextKeys::folded(query.needle);
    PatientQuery shown = query;
    if (!needle.isEmpty()) {
        Page page = rowsOf(statements.search(shown, needle), shown);
        // The client goes back to its first page when a search leaves fewer pages than the one it stands on.
        if (page.pages == 0 && shown.page > 0) {
            shown.page = 0;
            page = rowsOf(statements.search(shown, needle), shown);
        }
        return page;
    }
    if (shown.size <= 0)
        return rowsOf(statements.all(shown), shown);
    qint64 total = 0;
    {
        Rows counted = run(statements.count());
        if (counted.next())
            total = counted.value(0).toLongLong();
    }
    if (total == 0)
        return Page();
    if (shown.page >= pagesOf(total, shown.size))
        shown.page = 0;
    Page page = rowsOf(statements.page(shown, total), shown);
    page.pages = pagesOf(total, shown.size);
    return page;
}

Patients::Page Patients::rowsOf(const Statement& statement, const PatientQuery& query)
{
    Page page;
    Rows found = run(statement);
    if (!found.next())
        return page;
    page.pages = pagesOf(found.value(Column::Total).toLongLong(), query.size);
    page.rows = ordered(found, PatientStatements::descends(query));
    return page;
}

std::optional<Patient> Patients::find(const QString& id)
{
    Rows query = run(PatientStatements(m_database.dialect(), m_practitionerId).find(id));
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
    addAll({added});
    return added;
}

void Patients::addAll(const QVector<Patient>& patients)
{
    if (patients.isEmpty())
        return;
    QStringList rows;
    QVariantList values;
    const QString now = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
    for (const Patient& patient : patients) {
        rows.append(QStringLiteral("(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, '', ?)"));
        values += fieldsOf(patient);
        values << patient.id << m_practitionerId << now;
    }
    m_database.run(QStringLiteral("INSERT INTO patients (name, birth_date, gender, phone, notes, name_folded, "
                                  "notes_folded, name_key, notes_key, id, practitioner_id, last_record_at, created_at) "
                                  "VALUES ") +
                       rows.join(QStringLiteral(", ")),
                   values);
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
