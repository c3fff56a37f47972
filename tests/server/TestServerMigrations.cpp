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

#include "tests/server/FirstVersion.h"
#include "tests/server/TestDatabase.h"
#include "tests/server/TestWave.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

using namespace server;

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
        for (const QString& statement : firstVersion(bytes))
            QVERIFY2(query.exec(statement), qPrintable(query.lastError().text()));
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
