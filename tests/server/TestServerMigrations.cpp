// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Accounts.h"
#include "server/Analyses.h"
#include "server/Database.h"
#include "server/Devices.h"
#include "server/Migrations.h"
#include "server/Patients.h"
#include "server/Questionnaires.h"
#include "server/Recipes.h"
#include "server/Records.h"
#include "server/Secrets.h"
#include "server/TextKeys.h"

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
    void findsAndCountsThePatientsOfBefore();

private:
    /// As the first version left it. False if a statement fails.
    static bool makeFirstVersion(TestDatabase& place);
};

void TestServerMigrations::initTestCase()
{
    QVERIFY(Secrets::initialize());
}

bool TestServerMigrations::makeFirstVersion(TestDatabase& place)
{
    if (!place.connect())
        return false;
    QSqlQuery query;
    const QString bytes = TestDatabase::isPostgres() ? QStringLiteral("BYTEA") : QStringLiteral("BLOB");
    for (const QString& statement : firstVersion(bytes)) {
        if (!query.exec(statement)) {
            qWarning("%s", qPrintable(query.lastError().text()));
            return false;
        }
    }
    query.prepare(QStringLiteral("UPDATE records SET wave = ?"));
    query.addBindValue(testWave(440));
    return query.exec();
}

void TestServerMigrations::bringsTheFirstVersionUpToDate()
{
    TestDatabase place;
    QVERIFY(makeFirstVersion(place));
    const QString path = place.location();

    const QString practitioner = QStringLiteral("o");
    const QString patient = QStringLiteral("p");
    const QString record = QStringLiteral("r");
    for (int start = 0; start < 2; ++start) {
        QString error;
        const std::unique_ptr<Database> database = Database::open(path, error);
        QVERIFY2(database, qPrintable(error));
        {
            Rows versions = database->run(QStringLiteral("SELECT COUNT(*), MAX(version) FROM schema_version"));
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
        const std::optional<Patient> kept = Patients(*database, practitioner).find(patient);
        QVERIFY(kept && kept->deviceEnabled);
        QCOMPARE(kept->hasDevice, start > 0);
        QCOMPARE(Devices(*database, practitioner).bind(patient, QStringLiteral("Q-1")), Devices::Binding::Bound);
        // And is as much of one practitioner as that.
        QVERIFY(Analyses(*database, QStringLiteral("x")).results(patient, {record}).isEmpty());
        QVERIFY(Questionnaires(*database, QStringLiteral("x")).load(patient).isEmpty());
        QCOMPARE(Questionnaires(*database, QStringLiteral("x")).save(patient, {{record, {}}}),
                 Questionnaires::Saved::NoSuchRecord);
    }
}

void TestServerMigrations::findsAndCountsThePatientsOfBefore()
{
    TestDatabase place;
    QVERIFY(makeFirstVersion(place));
    {
        QSqlQuery query;
        QVERIFY(query.exec(QStringLiteral("INSERT INTO practitioners VALUES ('x', 'boris', '', '', 'en', 'US', '')")));
        for (int i = 0; i < 60; ++i) {
            const QString name = QStringLiteral("Иванов %1").arg(i);
            query.prepare(QStringLiteral("INSERT INTO patients VALUES (?, ?, ?, '1980-05-17', 'MALE', '', ?, ?, ?, ?, "
                                         "'', '', '')"));
            query.addBindValue(QStringLiteral("p%1").arg(i));
            query.addBindValue(i % 3 == 0 ? QStringLiteral("x") : QStringLiteral("o"));
            query.addBindValue(name);
            query.addBindValue(QStringLiteral("Notes %1").arg(i));
            query.addBindValue(TextKeys::folded(name));
            query.addBindValue(QStringLiteral("notes %1").arg(i));
            query.addBindValue(TextKeys::sortKey(name));
            QVERIFY2(query.exec(), qPrintable(query.lastError().text()));
        }
    }
    QString error;
    const std::unique_ptr<Database> database = Database::open(place.location(), error);
    QVERIFY2(database, qPrintable(error));

    Patients first(*database, QStringLiteral("o"));
    Patients second(*database, QStringLiteral("x"));
    const auto pages = [](Patients& patients, const QString& needle, PatientQuery::Field field) {
        PatientQuery query;
        query.size = 1;
        query.needle = needle;
        query.field = field;
        return patients.list(query).pages;
    };
    const auto byName = PatientQuery::Field::Name;
    const auto byNotes = PatientQuery::Field::Notes;
    QCOMPARE(pages(first, QString(), byName), 41);
    QCOMPARE(pages(second, QString(), byName), 20);
    QCOMPARE(pages(first, QStringLiteral("ВАНО"), byName), 40);
    QCOMPARE(pages(second, QStringLiteral("ВАНО"), byName), 20);
    QCOMPARE(pages(first, QStringLiteral("нов 5"), byName), 8);
    QCOMPARE(pages(second, QStringLiteral("нов 5"), byName), 3);
    QCOMPARE(pages(second, QStringLiteral("tes 5"), byNotes), 3);
    QCOMPARE(pages(second, QStringLiteral(" 5"), byNotes), 3);
    QCOMPARE(pages(first, QStringLiteral("BO"), byName), 1);

    // What comes and goes now stands beside what was there.
    QVERIFY(second.remove(QStringLiteral("p51")));
    Patient added;
    added.name = QStringLiteral("Новиков");
    added.birthDate = QDate(1980, 1, 1);
    added.gender = QStringLiteral("MALE");
    second.add(added);
    added.id = QStringLiteral("p54");
    QVERIFY(second.update(added));
    QCOMPARE(pages(second, QString(), byName), 20);
    QCOMPARE(pages(second, QStringLiteral("нов 5"), byName), 1);
    QCOMPARE(pages(second, QStringLiteral("нови"), byName), 2);
    QCOMPARE(pages(first, QStringLiteral("нови"), byName), 0);
}

QTEST_GUILESS_MAIN(TestServerMigrations)

#include "TestServerMigrations.moc"
