// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Accounts.h"
#include "server/Analyses.h"
#include "server/Database.h"
#include "server/Migrations.h"
#include "server/Patients.h"
#include "server/Questionnaires.h"
#include "server/Recipes.h"
#include "server/Records.h"
#include "server/Secrets.h"

#include "tests/server/TestDatabase.h"
#include "tests/server/TestWave.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

using namespace server;

namespace {

/// The tables as the first version of the server made them.
const char* const firstVersion[] = {
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

/// A file of the first version becomes one of this version with all that was in it.
class TestServerMigrations : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void bringsTheFirstVersionUpToDate();
};

void TestServerMigrations::initTestCase()
{
    QVERIFY(Secrets::initialize());
}

void TestServerMigrations::bringsTheFirstVersionUpToDate()
{
    TestDatabase place;
    const QString path = place.location();
    {
        QVERIFY(place.connect());
        QSqlQuery query;
        const QString bytes = TestDatabase::isPostgres() ? QStringLiteral("BYTEA") : QStringLiteral("BLOB");
        for (const char* statement : firstVersion)
            QVERIFY2(query.exec(QString::fromLatin1(statement).replace(QStringLiteral("{bytes}"), bytes)),
                     qPrintable(query.lastError().text()));
        query.prepare(QStringLiteral("UPDATE records SET wave = ?"));
        query.addBindValue(testWave(440));
        QVERIFY(query.exec());
    }

    const QString practitioner = QStringLiteral("o");
    const QString patient = QStringLiteral("p");
    const QString record = QStringLiteral("r");
    for (int start = 0; start < 2; ++start) {
        QString error;
        const std::unique_ptr<Database> database = Database::open(path, error);
        QVERIFY2(database, qPrintable(error));
        {
            QSqlQuery versions = database->run(QStringLiteral("SELECT COUNT(*), MAX(version) FROM schema_version"));
            QVERIFY(versions.next());
            QCOMPARE(versions.value(0).toInt(), Migrations::latest());
            QCOMPARE(versions.value(1).toInt(), Migrations::latest());
        }
        QVERIFY(Migrations::latest() >= 2);

        Records records(*database, practitioner);
        QVERIFY(Patients(*database, practitioner).find(patient));
        const QVector<Record> all = records.list(patient);
        QCOMPARE(all.size(), 1);
        QCOMPARE(all.first().id, record);
        QCOMPARE(all.first().sensorId, QStringLiteral("S1"));
        QCOMPARE(all.first().doctorName, QStringLiteral("Dr. Anna"));
        QCOMPARE(all.first().questionnaire, start > 0);
        QCOMPARE(records.wave(patient, record).value_or(QByteArray()), testWave(440));
        QCOMPARE(Recipes(*database, practitioner).load(patient, record).duration, 7);
        QCOMPARE(Recipes(*database, practitioner).load(patient, record).markerIds,
                 QStringList{QStringLiteral("note-a4")});

        // What is new works with what is old.
        QCOMPARE(Analyses(*database, practitioner).results(patient, {record, record, QStringLiteral("none")}).size(),
                 1);
        QuestionnaireAnswers answers;
        answers.custom.insert(QStringLiteral("Own"), 2);
        QCOMPARE(Questionnaires(*database, practitioner).save(patient, {{record, answers}}),
                 Questionnaires::Saved::Done);
        QCOMPARE(Questionnaires(*database, practitioner).load(patient).value(record).custom, answers.custom);
        // And is as much of one practitioner as that.
        QVERIFY(Analyses(*database, QStringLiteral("x")).results(patient, {record}).isEmpty());
        QVERIFY(Questionnaires(*database, QStringLiteral("x")).load(patient).isEmpty());
        QCOMPARE(Questionnaires(*database, QStringLiteral("x")).save(patient, {{record, {}}}),
                 Questionnaires::Saved::NoSuchRecord);
    }
}

QTEST_GUILESS_MAIN(TestServerMigrations)

#include "TestServerMigrations.moc"
