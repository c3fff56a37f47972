// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Migrations.h"

#include "server/Database.h"
#include "server/DatabaseError.h"
#include "server/Dialect.h"

#include <QDateTime>
#include <QStringList>
#include <QVector>

namespace server {

namespace {

const QString patientTexts = QStringLiteral("{patient texts}");

/// Times are stored as ISO 8601 texts in UTC with milliseconds, dates as ISO 8601 texts: they sort as text. An absent
/// time is an empty text, as the engines disagree on where a null sorts. Columns have the types TEXT, INTEGER, REAL and
/// {bytes}; truth is an INTEGER of 0 or 1. What only one engine has stands in its dialect, and here under a name in
/// braces.
QVector<QStringList> steps()
{
    return {
        {
            QStringLiteral("CREATE TABLE practitioners ("
                           "id TEXT NOT NULL PRIMARY KEY, "
                           "name TEXT NOT NULL UNIQUE, "
                           "full_name TEXT NOT NULL, "
                           "password_hash TEXT NOT NULL, "
                           "language TEXT NOT NULL, "
                           "country TEXT NOT NULL, "
                           "created_at TEXT NOT NULL)"),
            QStringLiteral("CREATE TABLE sessions ("
                           "token_hash TEXT NOT NULL PRIMARY KEY, "
                           "practitioner_id TEXT NOT NULL REFERENCES practitioners (id) ON DELETE CASCADE, "
                           "created_at TEXT NOT NULL, "
                           "expires_at TEXT NOT NULL)"),
            QStringLiteral("CREATE INDEX sessions_by_expiry ON sessions (expires_at)"),
            QStringLiteral("CREATE TABLE patients ("
                           "id TEXT NOT NULL PRIMARY KEY, "
                           "practitioner_id TEXT NOT NULL REFERENCES practitioners (id) ON DELETE CASCADE, "
                           "name TEXT NOT NULL, "
                           "birth_date TEXT NOT NULL, "
                           "gender TEXT NOT NULL, "
                           "phone TEXT NOT NULL, "
                           "notes TEXT NOT NULL, "
                           "name_folded TEXT NOT NULL, "
                           "notes_folded TEXT NOT NULL, "
                           "name_key TEXT NOT NULL, "
                           "notes_key TEXT NOT NULL, "
                           "last_record_at TEXT NOT NULL, "
                           "created_at TEXT NOT NULL)"),
            QStringLiteral("CREATE INDEX patients_by_name ON patients (practitioner_id, name_key, id)"),
            QStringLiteral("CREATE INDEX patients_by_birth ON patients (practitioner_id, birth_date, id)"),
            QStringLiteral("CREATE INDEX patients_by_gender ON patients (practitioner_id, gender, id)"),
            QStringLiteral("CREATE INDEX patients_by_record ON patients (practitioner_id, last_record_at, id)"),
            QStringLiteral("CREATE INDEX patients_by_notes ON patients (practitioner_id, notes_key, id)"),
            QStringLiteral("CREATE TABLE records ("
                           "id TEXT NOT NULL PRIMARY KEY, "
                           "patient_id TEXT NOT NULL REFERENCES patients (id) ON DELETE CASCADE, "
                           "recorded_at TEXT NOT NULL, "
                           "sensor_id TEXT NOT NULL, "
                           "wave {bytes} NOT NULL)"),
            QStringLiteral("CREATE INDEX records_by_patient ON records (patient_id, recorded_at, id)"),
            QStringLiteral("CREATE TABLE recipes ("
                           "record_id TEXT NOT NULL PRIMARY KEY REFERENCES records (id) ON DELETE CASCADE, "
                           "duration INTEGER NOT NULL, "
                           "saved_at TEXT NOT NULL)"),
            QStringLiteral("CREATE TABLE recipe_markers ("
                           "record_id TEXT NOT NULL REFERENCES recipes (record_id) ON DELETE CASCADE, "
                           "position INTEGER NOT NULL, "
                           "marker_id TEXT NOT NULL, "
                           "PRIMARY KEY (record_id, position))"),
        },
        {
            QStringLiteral("CREATE TABLE analyses ("
                           "record_id TEXT NOT NULL PRIMARY KEY REFERENCES records (id) ON DELETE CASCADE, "
                           "catalogue_version INTEGER NOT NULL, "
                           "result {bytes} NOT NULL)"),
            QStringLiteral("CREATE TABLE questionnaires ("
                           "record_id TEXT NOT NULL PRIMARY KEY REFERENCES records (id) ON DELETE CASCADE)"),
            QStringLiteral("CREATE TABLE questionnaire_answers ("
                           "record_id TEXT NOT NULL REFERENCES questionnaires (record_id) ON DELETE CASCADE, "
                           "custom INTEGER NOT NULL, "
                           "symptom TEXT NOT NULL, "
                           "intensity DOUBLE PRECISION NOT NULL, "
                           "PRIMARY KEY (record_id, custom, symptom))"),
        },
        {
            // With the patient, and not with the device: see Devices::toggle().
            QStringLiteral("ALTER TABLE patients ADD COLUMN device_enabled INTEGER NOT NULL DEFAULT 1"),
            QStringLiteral("CREATE TABLE devices ("
                           "patient_id TEXT NOT NULL PRIMARY KEY REFERENCES patients (id) ON DELETE CASCADE, "
                           "device_id TEXT NOT NULL UNIQUE, "
                           "bound_at TEXT NOT NULL)"),
            // The record is null for a command that has none.
            QStringLiteral("CREATE TABLE commands ("
                           "id TEXT NOT NULL PRIMARY KEY, "
                           "patient_id TEXT NOT NULL UNIQUE REFERENCES devices (patient_id) ON DELETE CASCADE, "
                           "name TEXT NOT NULL, "
                           "record_id TEXT REFERENCES records (id) ON DELETE CASCADE, "
                           "complete INTEGER NOT NULL, "
                           "sent_at TEXT NOT NULL)"),
            QStringLiteral("CREATE INDEX commands_by_record ON commands (record_id)"),
            QStringLiteral("CREATE INDEX commands_by_time ON commands (complete, sent_at)"),
        },
        {
            // The subject is a hash: of an account, of an address, or of both.
            QStringLiteral("CREATE TABLE login_attempts ("
                           "kind TEXT NOT NULL, "
                           "subject TEXT NOT NULL, "
                           "failures INTEGER NOT NULL, "
                           "window_ends TEXT NOT NULL, "
                           "PRIMARY KEY (kind, subject))"),
            QStringLiteral("CREATE INDEX login_attempts_by_end ON login_attempts (window_ends)"),
        },
        {
            // How many there are is asked with each page of a list, and counting them would read them all.
            QStringLiteral("CREATE TABLE patient_counts ("
                           "practitioner_id TEXT NOT NULL PRIMARY KEY REFERENCES practitioners (id) ON DELETE CASCADE, "
                           "patients INTEGER NOT NULL)"),
            patientTexts,
        },
    };
}

QStringList statementsOf(const Database& database, const QString& step)
{
    return step == patientTexts ? database.dialect().makePatientTexts() : QStringList(database.migrated(step));
}

} // namespace

int Migrations::latest()
{
    return steps().size();
}

std::optional<int> Migrations::version(Database& database, QString& error)
{
    const QStringList tables = database.tables();
    if (!tables.contains(QStringLiteral("schema_version"))) {
        if (tables.isEmpty())
            return 0;
        error = QStringLiteral("the database belongs to another program");
        return std::nullopt;
    }
    Rows query = database.run(QStringLiteral("SELECT COALESCE(MAX(version), 0) FROM schema_version"));
    const int found = query.next() ? query.value(0).toInt() : 0;
    if (found > latest()) {
        error = QStringLiteral("the database has schema version %1, this program knows %2: a newer program is needed")
                    .arg(found)
                    .arg(latest());
        return std::nullopt;
    }
    return found;
}

QStringList Migrations::keptTables()
{
    return {QStringLiteral("practitioners"),  QStringLiteral("patients"),
            QStringLiteral("records"),        QStringLiteral("recipes"),
            QStringLiteral("recipe_markers"), QStringLiteral("analyses"),
            QStringLiteral("questionnaires"), QStringLiteral("questionnaire_answers"),
            QStringLiteral("devices"),        QStringLiteral("commands")};
}

QStringList Migrations::loginTables()
{
    return {QStringLiteral("sessions"), QStringLiteral("login_attempts")};
}

QStringList Migrations::derivedTables()
{
    return {QStringLiteral("patient_counts"),       QStringLiteral("patient_texts"),
            QStringLiteral("patient_ranges"),       QStringLiteral("patient_search"),
            QStringLiteral("patient_search_data"),  QStringLiteral("patient_search_idx"),
            QStringLiteral("patient_search_config")};
}

bool Migrations::apply(Database& database, QString& error)
{
    const QVector<QStringList> all = steps();
    // Most starts have nothing to do, and need not wait for those who write.
    if (version(database, error) == all.size())
        return true;
    error.clear();
    Database::Transaction transaction(database, Database::Transaction::Purpose::Migrate);
    const std::optional<int> found = version(database, error);
    if (!found)
        return false;
    if (!database.tables().contains(QStringLiteral("schema_version"))) {
        database.run(
            database.migrated(QStringLiteral("CREATE TABLE schema_version (version INTEGER NOT NULL PRIMARY KEY, "
                                             "applied_at TEXT NOT NULL)")));
    }
    for (int step = *found; step < all.size(); ++step) {
        for (const QString& part : all.at(step)) {
            const QStringList statements = statementsOf(database, part);
            for (const QString& statement : statements)
                database.run(statement);
        }
        database.run(QStringLiteral("INSERT INTO schema_version (version, applied_at) VALUES (?, ?)"),
                     {step + 1, QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)});
    }
    transaction.commit();
    return true;
}

} // namespace server
