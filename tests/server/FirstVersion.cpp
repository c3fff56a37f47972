// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/FirstVersion.h"

namespace {

const char* const statements[] = {
    "CREATE TABLE schema_version (version INTEGER NOT NULL PRIMARY KEY, applied_at TEXT NOT NULL)",
    "INSERT INTO schema_version VALUES (1, '2026-01-01T00:00:00.000Z')",
    "CREATE TABLE practitioners (id TEXT NOT NULL PRIMARY KEY, name TEXT NOT NULL UNIQUE, full_name TEXT NOT NULL, "
    "password_hash TEXT NOT NULL, language TEXT NOT NULL, country TEXT NOT NULL, created_at TEXT NOT NULL)",
    "CREATE TABLE sessions (token_hash TEXT NOT NULL PRIMARY KEY, practitioner_id TEXT NOT NULL REFERENCES "
    "practitioners (id) ON DELETE CASCADE, created_at TEXT NOT NULL, expires_at TEXT NOT NULL)",
    "CREATE INDEX sessions_by_expiry ON sessions (expires_at)",
    "CREATE TABLE patients (id TEXT NOT NULL PRIMARY KEY, practitioner_id TEXT NOT NULL REFERENCES practitioners (id) "
    "ON DELETE CASCADE, name TEXT NOT NULL, birth_date TEXT NOT NULL, gender TEXT NOT NULL, phone TEXT NOT NULL, notes "
    "TEXT NOT NULL, name_folded TEXT NOT NULL, notes_folded TEXT NOT NULL, name_key TEXT NOT NULL, notes_key TEXT NOT "
    "NULL, last_record_at TEXT NOT NULL, created_at TEXT NOT NULL)",
    "CREATE INDEX patients_by_name ON patients (practitioner_id, name_key, id)",
    "CREATE INDEX patients_by_birth ON patients (practitioner_id, birth_date, id)",
    "CREATE INDEX patients_by_gender ON patients (practitioner_id, gender, id)",
    "CREATE INDEX patients_by_record ON patients (practitioner_id, last_record_at, id)",
    "CREATE INDEX patients_by_notes ON patients (practitioner_id, notes_key, id)",
    "CREATE TABLE records (id TEXT NOT NULL PRIMARY KEY, patient_id TEXT NOT NULL REFERENCES patients (id) ON DELETE "
    "CASCADE, recorded_at TEXT NOT NULL, sensor_id TEXT NOT NULL, wave {bytes} NOT NULL)",
    "CREATE INDEX records_by_patient ON records (patient_id, recorded_at, id)",
    "CREATE TABLE recipes (record_id TEXT NOT NULL PRIMARY KEY REFERENCES records (id) ON DELETE CASCADE, duration "
    "INTEGER NOT NULL, saved_at TEXT NOT NULL)",
    "CREATE TABLE recipe_markers (record_id TEXT NOT NULL REFERENCES recipes (record_id) ON DELETE CASCADE, position "
    "INTEGER NOT NULL, marker_id TEXT NOT NULL, PRIMARY KEY (record_id, position))",
    "INSERT INTO practitioners VALUES ('o', 'anna', 'Dr. Anna', 'hash', 'en', 'US', '2026-01-01T00:00:00.000Z')",
    "INSERT INTO patients VALUES ('p', 'o', 'Bo', '1980-05-17', 'MALE', '', '', 'bo', '', '00', '', "
    "'2026-01-02T00:00:00.000Z', '2026-01-01T00:00:00.000Z')",
    "INSERT INTO records VALUES ('r', 'p', '2026-01-02T00:00:00.000Z', 'S1', '')",
    "INSERT INTO recipes VALUES ('r', 7, '2026-01-03T00:00:00.000Z')",
    "INSERT INTO recipe_markers VALUES ('r', 0, 'note-a4')",
};

} // namespace

QStringList firstVersion(const QString& bytes)
{
    QStringList all;
    for (const char* statement : statements)
        all.append(QString::fromLatin1(statement).replace(QStringLiteral("{bytes}"), bytes));
    return all;
}
