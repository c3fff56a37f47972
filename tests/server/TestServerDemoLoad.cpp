// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Accounts.h"
#include "server/Database.h"
#include "server/Demo.h"
#include "server/DemoLoad.h"
#include "server/Patients.h"
#include "server/Records.h"
#include "server/Secrets.h"
#include "server/WaveFile.h"

#include "tests/server/ApiClient.h"
#include "tests/server/ServerProcess.h"
#include "tests/server/TestDatabase.h"

#include <QSet>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

#include <csignal>
#include <memory>

using namespace server;

namespace {

/// All that is invented of a patient, in one line.
QString told(const Patient& patient)
{
    return QStringList{patient.id,
                       patient.name,
                       patient.birthDate.toString(Qt::ISODate),
                       patient.gender,
                       patient.phone,
                       patient.notes,
                       patient.lastRecordAt.toString(Qt::ISODateWithMs),
                       patient.hasDevice ? QStringLiteral("device") : QString(),
                       patient.command}
        .join(QLatin1Char('|'));
}

QStringList told(const QVector<Patient>& patients)
{
    QStringList all;
    for (const Patient& patient : patients)
        all.append(told(patient));
    return all;
}

PatientQuery everybody()
{
    PatientQuery query;
    query.size = 0;
    return query;
}

} // namespace

/// The practice of any size that a server can be filled with.
class TestServerDemoLoad : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void sharesPatients_data();
    void sharesPatients();
    void isWholeAndAlwaysTheSame();
    void completesWhatIsMissing();
    void servesWhatItAdded();

private:
    static std::unique_ptr<Database> open(const TestDatabase& place);
    static QVector<Patient> patientsOf(Database& database, int practitioner);
};

void TestServerDemoLoad::initTestCase()
{
    QVERIFY(Secrets::initialize());
}

std::unique_ptr<Database> TestServerDemoLoad::open(const TestDatabase& place)
{
    QString error;
    std::unique_ptr<Database> database = Database::open(place.location(), error);
    if (!database)
        qWarning("%s", qPrintable(error));
    return database;
}

QVector<Patient> TestServerDemoLoad::patientsOf(Database& database, int practitioner)
{
    const Practitioner owner = Accounts(database).find(DemoLoad::name(practitioner)).value_or(Practitioner());
    return Patients(database, owner.id).list(everybody()).rows;
}

void TestServerDemoLoad::sharesPatients_data()
{
    QTest::addColumn<int>("patients");
    QTest::addColumn<int>("practitioners");
    QTest::newRow("one") << 1 << 1;
    QTest::newRow("a few") << 7 << 7;
    QTest::newRow("as many as practitioners") << 200 << 200;
    QTest::newRow("one more") << 201 << 200;
    QTest::newRow("all") << DemoLoad::maxPatients << 200;
}

void TestServerDemoLoad::sharesPatients()
{
    QFETCH(int, patients);
    QTEST(DemoLoad::practitioners(patients), "practitioners");
}

void TestServerDemoLoad::isWholeAndAlwaysTheSame()
{
    constexpr int first = 131;
    constexpr int second = 130;
    QVector<QStringList> before;
    for (int run = 0; run < 2; ++run) {
        TestDatabase place;
        const std::unique_ptr<Database> database = open(place);
        QVERIFY(database);
        Accounts accounts(*database);
        QVector<int> progress;
        QCOMPARE(DemoLoad::add(*database, accounts, first + second, 2, [&](int done) { progress.append(done); }),
                 first + second);
        QCOMPARE(progress, (QVector<int>{1, 2}));
        QCOMPARE(accounts.all().size(), 2);

        QVector<QStringList> all;
        QSet<QString> ids;
        for (int number = 0; number < 2; ++number) {
            const std::optional<Practitioner> owner = accounts.find(DemoLoad::name(number));
            QVERIFY(owner);
            QVERIFY(accounts.passwordMatches(owner->name, Demo::password()));
            const QVector<Patient> patients = patientsOf(*database, number);
            QCOMPARE(patients.size(), number == 0 ? first : second);
            all.append(told(patients));
            int recordings = 0;
            int devices = 0;
            int commands = 0;
            int latin = 0;
            int cyrillic = 0;
            int notes = 0;
            for (const Patient& patient : patients) {
                ids.insert(patient.id);
                QVERIFY(patient.birthDate.isValid() && patient.birthDate < QDate(2020, 1, 1));
                latin += patient.name.contains(QLatin1Char('r')) ? 1 : 0;
                cyrillic += patient.name.contains(QChar(0x0430)) ? 1 : 0;
                notes += patient.notes.isEmpty() ? 0 : 1;
                devices += patient.hasDevice ? 1 : 0;
                commands += patient.command.isEmpty() ? 0 : 1;
                const QVector<Record> records = Records(*database, owner->id).list(patient.id);
                QCOMPARE(records.isEmpty(), !patient.lastRecordAt.isValid());
                if (!records.isEmpty()) {
                    QCOMPARE(records.size(), DemoLoad::recordsOfPatient);
                    QCOMPARE(records.last().recordedAt, patient.lastRecordAt);
                    const QByteArray wave = *Records(*database, owner->id).wave(patient.id, records.first().id);
                    QVERIFY(WaveFile(wave).isValid());
                }
                recordings += records.size();
            }
            QCOMPARE(recordings, DemoLoad::recordsOfPractitioner);
            QCOMPARE(devices, 13);
            QCOMPARE(commands, 7);
            QVERIFY(latin > 30 && cyrillic > 30 && notes > 90 && notes < patients.size());
            // What comes by the hundred is counted and found as what comes one by one.
            PatientQuery query;
            query.size = 50;
            QCOMPARE(Patients(*database, owner->id).list(query).pages, 3);
            query.needle = patients.first().name.mid(1, 6);
            QVERIFY(!Patients(*database, owner->id).list(query).rows.isEmpty());
        }
        QCOMPARE(ids.size(), first + second);
        QVERIFY(all.first() != all.last());
        if (run > 0)
            QCOMPARE(all, before);
        before = all;
    }
}

void TestServerDemoLoad::completesWhatIsMissing()
{
    TestDatabase place;
    const std::unique_ptr<Database> database = open(place);
    QVERIFY(database);
    Accounts accounts(*database);
    const auto ignore = [](int) {};
    QCOMPARE(DemoLoad::add(*database, accounts, 6, 3, ignore), 6);
    QVector<QStringList> before;
    for (int number = 0; number < 3; ++number)
        before.append(told(patientsOf(*database, number)));

    QCOMPARE(DemoLoad::add(*database, accounts, 6, 3, ignore), 0);
    QCOMPARE(told(patientsOf(*database, 0)), before.first());

    database->run(QStringLiteral("DELETE FROM practitioners WHERE name = ?"), {DemoLoad::name(1)});
    QCOMPARE(DemoLoad::add(*database, accounts, 6, 3, ignore), 2);
    for (int number = 0; number < 3; ++number)
        QCOMPARE(told(patientsOf(*database, number)), before.at(number));

    // Whoever bears such a name and is nobody's invention is left alone.
    database->run(QStringLiteral("DELETE FROM practitioners"));
    Practitioner real;
    real.name = DemoLoad::name(0);
    QVERIFY(accounts.add(real, QStringLiteral("secret")));
    QCOMPARE(DemoLoad::add(*database, accounts, 6, 3, ignore), 4);
    QVERIFY(patientsOf(*database, 0).isEmpty());
    QVERIFY(accounts.passwordMatches(real.name, QStringLiteral("secret")));
}

void TestServerDemoLoad::servesWhatItAdded()
{
    TestDatabase place;
    for (int run = 0; run < 2; ++run) {
        ServerProcess server;
        QVERIFY(server.start(place.location(), {QStringLiteral("--demo"), QStringLiteral("3")}));
        const QByteArray line = "demo practitioners: names \"demo1\" to \"demo3\", password \"demo\", " +
                                QByteArray(run == 0 ? "3" : "0") + " patients added\n";
        QVERIFY2(server.output().contains(line), server.output().constData());
        ApiClient client(server.url());
        QCOMPARE(client.login(QStringLiteral("demo3"), QStringLiteral("demo")).status, 200);
        const QJsonObject page = client
                                     .get(ApiClient::filter(QStringLiteral("name"), QStringLiteral("asc"), 20, 0,
                                                            QStringLiteral("name"), QString()))
                                     .object();
        QCOMPARE(page.value(QStringLiteral("data")).toArray().size(), 1);
        QCOMPARE(client.login(QStringLiteral("demo"), QStringLiteral("demo")).status, 401);
        QCOMPARE(server.stop(SIGTERM), 0);
    }
}

QTEST_GUILESS_MAIN(TestServerDemoLoad)

#include "TestServerDemoLoad.moc"
