// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Accounts.h"
#include "server/Database.h"
#include "server/DatabaseError.h"
#include "server/Demo.h"
#include "server/Migrations.h"
#include "server/PatientQuery.h"
#include "server/Patients.h"
#include "server/Recipes.h"
#include "server/Records.h"
#include "server/Rows.h"
#include "server/Secrets.h"
#include "tests/server/TestDatabase.h"

#include <QFile>
#include <QSet>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <thread>
#include <vector>

using namespace server;

/// The store on real files: tables and their versions, accounts, patients, records, recipes, and many threads at once.
class TestServerStorage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void migratesOnce();
    void refusesANewerSchema();
    void refusesWhatIsNoDatabase();
    void refusesTheDatabaseOfAnotherProgram();
    void refusesWhereNothingCanBeWritten_data();
    void refusesWhereNothingCanBeWritten();
    void makesFoldersAndKeepsTheData();
    void connectionsAreDurableAndChecked();
    void transactionsAreAllOrNothing();
    void partsOfATransaction();
    void failedPartsCannotBeCommitted();
    void aStatementRunsWithinItself();
    void aStatementOutlivesItsFailures();
    void statementsOutliveAChangeOfTheTables();

    void hashesPasswords();
    void keepsTokensAsHashesAlone();
    void sessionsEnd();
    void accountsAreUnique();
    void objections_data();
    void objections();

    void ages_data();
    void ages();
    void patientsAreOfOnePractitioner();
    void recordsAreOfOnePractitioner();
    void recordsComeOldestFirst();
    void lastRecordFollowsTheRecords();
    void recipesKeepTheirOrder();
    void deletionTakesEverythingAlong();
    void pagesAreStable();
    void searchTakesWildcardsLiterally();
    void manyThreads();
    void demoIsWholeAndRepeatable();

private:
    std::unique_ptr<Database> open();
    Practitioner practitioner(const QString& name);
    Patient patient(Patients& patients, const QString& name, const QString& notes = QString());
    int count(const QString& table);

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<TestDatabase> m_place;
    std::unique_ptr<Database> m_database;
};

void TestServerStorage::initTestCase()
{
    QVERIFY(Secrets::initialize());
}

void TestServerStorage::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_place = std::make_unique<TestDatabase>();
    m_database = open();
    QVERIFY(m_database);
}

void TestServerStorage::cleanup()
{
    m_database.reset();
    m_place.reset();
    m_folder.reset();
}

std::unique_ptr<Database> TestServerStorage::open()
{
    QString error;
    auto database = Database::open(m_place->location(), error);
    if (!database)
        qWarning("%s", qPrintable(error));
    return database;
}

Practitioner TestServerStorage::practitioner(const QString& name)
{
    Practitioner added;
    added.name = name;
    added.language = QStringLiteral("en");
    added.country = QStringLiteral("US");
    return Accounts(*m_database).add(added, QStringLiteral("secret")).value_or(Practitioner());
}

Patient TestServerStorage::patient(Patients& patients, const QString& name, const QString& notes)
{
    Patient added;
    added.name = name;
    added.birthDate = QDate(1980, 5, 17);
    added.gender = QStringLiteral("MALE");
    added.notes = notes;
    return patients.add(added);
}

int TestServerStorage::count(const QString& table)
{
    Rows query = m_database->run(QStringLiteral("SELECT COUNT(*) FROM ") + table);
    return query.next() ? query.value(0).toInt() : -1;
}

void TestServerStorage::migratesOnce()
{
    QCOMPARE(count(QStringLiteral("schema_version")), Migrations::latest());
    m_database.reset();
    m_database = open();
    QVERIFY(m_database);
    QCOMPARE(count(QStringLiteral("schema_version")), Migrations::latest());
}

void TestServerStorage::refusesANewerSchema()
{
    m_database->run(QStringLiteral("INSERT INTO schema_version (version, applied_at) VALUES (?, ?)"),
                    {Migrations::latest() + 1, QStringLiteral("2100-01-01T00:00:00.000Z")});
    m_database.reset();
    QString error;
    QVERIFY(!Database::open(m_place->location(), error));
    QVERIFY2(error.contains(QString::number(Migrations::latest() + 1)), qPrintable(error));
    QVERIFY2(error.contains(QLatin1String("newer")), qPrintable(error));
}

void TestServerStorage::refusesWhatIsNoDatabase()
{
    const QString path = m_folder->filePath(QStringLiteral("text.sqlite"));
    const QByteArray text = QByteArray("This is a letter, and no database at all. ").repeated(100);
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text);
    file.close();
    QString error;
    QVERIFY(!Database::open(path, error));
    QVERIFY2(error.contains(QLatin1String("not a database")), qPrintable(error));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), text);
}

void TestServerStorage::refusesTheDatabaseOfAnotherProgram()
{
    TestDatabase other;
    QVERIFY(other.connect(QStringLiteral("other")));
    QSqlQuery query(QSqlDatabase::database(QStringLiteral("other")));
    QVERIFY(query.exec(QStringLiteral("CREATE TABLE songs (title TEXT)")));
    QString error;
    QVERIFY(!Database::open(other.location(), error));
    QVERIFY2(error.contains(QLatin1String("another program")), qPrintable(error));
}

void TestServerStorage::refusesWhereNothingCanBeWritten_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("folder in a file") << "store.sqlite/below.sqlite";
    QTest::newRow("deep below a file") << "store.sqlite/a/b/c.sqlite";
    QTest::newRow("a folder") << ".";
}

void TestServerStorage::refusesWhereNothingCanBeWritten()
{
    QFETCH(QString, path);
    QFile file(m_folder->filePath(QStringLiteral("store.sqlite")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QString error;
    QVERIFY(!Database::open(m_folder->filePath(path), error));
    QVERIFY(!error.isEmpty());
}

void TestServerStorage::makesFoldersAndKeepsTheData()
{
    const QString path = m_folder->filePath(QStringLiteral("a/b/c.sqlite"));
    QString error;
    m_database = Database::open(path, error);
    QVERIFY2(m_database, qPrintable(error));
    const Practitioner owner = practitioner(QStringLiteral("anna"));
    m_database.reset();
    m_database = Database::open(path, error);
    QVERIFY2(m_database, qPrintable(error));
    QCOMPARE(Accounts(*m_database).find(QStringLiteral("anna"))->id, owner.id);
}

void TestServerStorage::connectionsAreDurableAndChecked()
{
    const QStringList settings = TestDatabase::isPostgres()
                                     ? QStringList{QStringLiteral("SHOW synchronous_commit"), QStringLiteral("on"),
                                                   QStringLiteral("SHOW lock_timeout"), QStringLiteral("15s")}
                                     : QStringList{QStringLiteral("PRAGMA journal_mode"), QStringLiteral("wal"),
                                                   QStringLiteral("PRAGMA foreign_keys"), QStringLiteral("1"),
                                                   QStringLiteral("PRAGMA synchronous"),  QStringLiteral("2")};
    std::thread([this, &settings] {
        for (int i = 0; i < settings.size(); i += 2) {
            Rows query = m_database->run(settings.at(i));
            QVERIFY(query.next());
            QCOMPARE(query.value(0).toString(), settings.at(i + 1));
        }
    }).join();
    QVERIFY_EXCEPTION_THROWN(
        m_database->run(QStringLiteral("INSERT INTO recipes (record_id, duration, saved_at) VALUES ('x', 0, '')")),
        DatabaseError);
}

void TestServerStorage::transactionsAreAllOrNothing()
{
    const Practitioner owner = practitioner(QStringLiteral("anna"));
    Patients patients(*m_database, owner.id);
    {
        Database::Transaction transaction(*m_database);
        patient(patients, QStringLiteral("A"));
    }
    QCOMPARE(count(QStringLiteral("patients")), 0);
    {
        Database::Transaction transaction(*m_database);
        patient(patients, QStringLiteral("A"));
        transaction.commit();
    }
    QCOMPARE(count(QStringLiteral("patients")), 1);
}

void TestServerStorage::partsOfATransaction()
{
    const Practitioner owner = practitioner(QStringLiteral("anna"));
    Patients patients(*m_database, owner.id);
    {
        Database::Transaction whole(*m_database);
        {
            Database::Transaction part(*m_database);
            patient(patients, QStringLiteral("A"));
            part.commit();
        }
        patient(patients, QStringLiteral("B"));
        whole.commit();
    }
    QCOMPARE(count(QStringLiteral("patients")), 2);
    {
        Database::Transaction whole(*m_database);
        {
            Database::Transaction part(*m_database);
            patient(patients, QStringLiteral("C"));
        }
        QVERIFY_EXCEPTION_THROWN(whole.commit(), DatabaseError);
    }
    QCOMPARE(count(QStringLiteral("patients")), 2);
}

void TestServerStorage::failedPartsCannotBeCommitted()
{
    m_database->run(QStringLiteral("CREATE TABLE numbers (n INTEGER PRIMARY KEY)"));
    {
        Database::Transaction transaction(*m_database);
        m_database->run(QStringLiteral("INSERT INTO numbers VALUES (1)"));
        QVERIFY_EXCEPTION_THROWN(m_database->run(QStringLiteral("INSERT INTO numbers VALUES (1)")), DatabaseError);
        QVERIFY_EXCEPTION_THROWN(transaction.commit(), DatabaseError);
    }
    QCOMPARE(count(QStringLiteral("numbers")), 0);
}

void TestServerStorage::aStatementRunsWithinItself()
{
    // Two results of one statement at the same time, each with its own values, and none of them cut short.
    const QString statement = QStringLiteral("SELECT name FROM practitioners WHERE name >= ? ORDER BY name");
    for (const char* name : {"anna", "boris", "clara"})
        practitioner(QString::fromLatin1(name));
    for (int round = 0; round < 3; ++round) {
        QStringList seen;
        Rows outer = m_database->run(statement, {QStringLiteral("anna")});
        while (outer.next()) {
            seen.append(outer.value(0).toString());
            Rows inner = m_database->run(statement, {QStringLiteral("boris")});
            while (inner.next())
                seen.append(inner.value(0).toString());
        }
        QCOMPARE(seen.join(QLatin1Char(' ')), QStringLiteral("anna boris clara boris boris clara clara boris clara"));
    }
    // More texts than any connection keeps.
    for (int i = 0; i < 300; ++i) {
        Rows query = m_database->run(QStringLiteral("SELECT name, %1 FROM practitioners WHERE name = ?").arg(i),
                                     {QStringLiteral("clara")});
        QVERIFY(query.next());
        QCOMPARE(query.value(1).toInt(), i);
    }
    Rows query = m_database->run(statement, {QStringLiteral("clara")});
    QVERIFY(query.next());
    QCOMPARE(query.value(0).toString(), QStringLiteral("clara"));
    QVERIFY(!query.next());
}

void TestServerStorage::aStatementOutlivesItsFailures()
{
    const QString statement = QStringLiteral("INSERT INTO patient_counts (practitioner_id, patients) VALUES (?, ?)");
    const QString first = practitioner(QStringLiteral("anna")).id;
    const QString second = practitioner(QStringLiteral("boris")).id;
    m_database->run(QStringLiteral("DELETE FROM patient_counts"));
    m_database->run(statement, {first, 1});
    for (int i = 0; i < 3; ++i) {
        QVERIFY_EXCEPTION_THROWN(m_database->run(statement, {first, 2}), DatabaseError);
    }
    m_database->run(statement, {second, 3});
    QCOMPARE(count(QStringLiteral("patient_counts")), 2);
}

void TestServerStorage::statementsOutliveAChangeOfTheTables()
{
    const QString statement = QStringLiteral("SELECT p.* FROM practitioners p WHERE p.name = ?");
    practitioner(QStringLiteral("anna"));
    int columns = 0;
    {
        Rows before = m_database->run(statement, {QStringLiteral("anna")});
        QVERIFY(before.next());
        columns = before.record().count();
    }
    // By another server, which is newer.
    const std::unique_ptr<Database> other = open();
    QVERIFY(other);
    other->run(QStringLiteral("CREATE INDEX practitioners_by_country ON practitioners (country)"));
    Rows after = m_database->run(statement, {QStringLiteral("anna")});
    QVERIFY(after.next());
    QCOMPARE(after.record().count(), columns);
}

void TestServerStorage::hashesPasswords()
{
    practitioner(QStringLiteral("anna"));
    practitioner(QStringLiteral("boris"));
    Rows query = m_database->run(QStringLiteral("SELECT password_hash FROM practitioners"));
    QVERIFY(query.next());
    const QString first = query.value(0).toString();
    QVERIFY(query.next());
    QVERIFY(first.startsWith(QLatin1String("$argon2id$")));
    QVERIFY2(first != query.value(0).toString(), "the same password has to be hashed with a salt of its own");

    Accounts accounts(*m_database);
    QVERIFY(accounts.passwordMatches(QStringLiteral("anna"), QStringLiteral("secret")));
    QVERIFY(!accounts.passwordMatches(QStringLiteral("anna"), QStringLiteral("Secret")));
    QVERIFY(!accounts.passwordMatches(QStringLiteral("anna"), QString()));
    QVERIFY(!accounts.passwordMatches(QStringLiteral("nobody"), QStringLiteral("secret")));
    QVERIFY(!accounts.passwordMatches(QStringLiteral("nobody"), QString()));
}

void TestServerStorage::keepsTokensAsHashesAlone()
{
    practitioner(QStringLiteral("anna"));
    Accounts accounts(*m_database);
    QSet<QString> tokens;
    for (int i = 0; i < 3; ++i) {
        const auto session = accounts.login(QStringLiteral("anna"), QStringLiteral("secret"));
        QVERIFY(session);
        QCOMPARE(QByteArray::fromBase64(session->token.toLatin1(), QByteArray::Base64UrlEncoding).size(), 32);
        tokens.insert(session->token);
        QCOMPARE(accounts.authenticate(session->token).practitioner.name, QStringLiteral("anna"));
    }
    QCOMPARE(tokens.size(), 3);
    Rows query = m_database->run(QStringLiteral("SELECT token_hash FROM sessions"));
    int rows = 0;
    while (query.next()) {
        ++rows;
        QVERIFY(!tokens.contains(query.value(0).toString()));
    }
    QCOMPARE(rows, 3);
}

void TestServerStorage::sessionsEnd()
{
    practitioner(QStringLiteral("anna"));
    Accounts accounts(*m_database, 2);
    const auto session = accounts.login(QStringLiteral("anna"), QStringLiteral("secret"));
    QVERIFY(session);
    QVERIFY(qAbs(QDateTime::currentDateTimeUtc().secsTo(session->expiresAt) - 2 * 3600) < 600);
    QCOMPARE(accounts.authenticate(session->token).state, Accounts::TokenState::Valid);
    QCOMPARE(accounts.authenticate(session->token + QLatin1Char('x')).state, Accounts::TokenState::Unknown);
    QCOMPARE(accounts.authenticate(QString()).state, Accounts::TokenState::Unknown);

    m_database->run(QStringLiteral("UPDATE sessions SET expires_at = ?"),
                    {QDateTime::currentDateTimeUtc().addSecs(-1).toString(Qt::ISODateWithMs)});
    QCOMPARE(accounts.authenticate(session->token).state, Accounts::TokenState::Expired);

    m_database->run(QStringLiteral("UPDATE sessions SET expires_at = '2020-01-01T00:00:00.000Z'"));
    QVERIFY(accounts.login(QStringLiteral("anna"), QStringLiteral("secret")));
    QCOMPARE(count(QStringLiteral("sessions")), 1);
}

void TestServerStorage::accountsAreUnique()
{
    const Practitioner first = practitioner(QStringLiteral(" anna "));
    QCOMPARE(first.name, QStringLiteral("anna"));
    Practitioner second = first;
    QVERIFY(!Accounts(*m_database).add(second, QStringLiteral("other")));
    second.name = QStringLiteral(u"a\u0308nna");
    QVERIFY(Accounts(*m_database).add(second, QStringLiteral("other")));
    second.name = QStringLiteral("änna");
    QVERIFY2(!Accounts(*m_database).add(second, QStringLiteral("other")), "the same name in another encoding");
    QVERIFY(Accounts(*m_database).passwordMatches(QStringLiteral("anna"), QStringLiteral("secret")));
    QCOMPARE(Accounts(*m_database).all().size(), 2);
}

void TestServerStorage::objections_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("country");
    QTest::addColumn<bool>("sound");
    const QString code = QStringLiteral("en");
    const QString state = QStringLiteral("US");
    QTest::newRow("sound") << "anna"
                           << "p" << code << state << true;
    QTest::newRow("any script") << QStringLiteral("Анна Ä") << QStringLiteral("п ß") << "ru"
                                << "RU" << true;
    QTest::newRow("longest") << QString(200, QLatin1Char('a')) << QString(200, QLatin1Char('b')) << code << state
                             << true;
    QTest::newRow("no name") << ""
                             << "p" << code << state << false;
    QTest::newRow("blank name") << "  "
                                << "p" << code << state << false;
    QTest::newRow("long name") << QString(201, QLatin1Char('a')) << "p" << code << state << false;
    QTest::newRow("two lines") << "a\nb"
                               << "p" << code << state << false;
    QTest::newRow("no password") << "a"
                                 << "" << code << state << false;
    QTest::newRow("long password") << "a" << QString(201, QLatin1Char('b')) << code << state << false;
    QTest::newRow("language") << "a"
                              << "p"
                              << "EN" << state << false;
    QTest::newRow("long language") << "a"
                                   << "p"
                                   << "eng" << state << false;
    QTest::newRow("country") << "a"
                             << "p" << code << "us" << false;
}

void TestServerStorage::objections()
{
    QFETCH(QString, name);
    QFETCH(QString, password);
    Practitioner added;
    added.name = name;
    QFETCH(QString, language);
    QFETCH(QString, country);
    added.language = language;
    added.country = country;
    QFETCH(bool, sound);
    QCOMPARE(Accounts::objection(added, password).isEmpty(), sound);
}

void TestServerStorage::ages_data()
{
    QTest::addColumn<QDate>("birth");
    QTest::addColumn<QDate>("day");
    QTest::addColumn<int>("age");
    QTest::newRow("day before") << QDate(2000, 6, 15) << QDate(2020, 6, 14) << 19;
    QTest::newRow("birthday") << QDate(2000, 6, 15) << QDate(2020, 6, 15) << 20;
    QTest::newRow("month before") << QDate(2000, 6, 15) << QDate(2020, 5, 30) << 19;
    QTest::newRow("born today") << QDate(2020, 6, 15) << QDate(2020, 6, 15) << 0;
    QTest::newRow("leap day, before") << QDate(2000, 2, 29) << QDate(2021, 2, 28) << 20;
    QTest::newRow("leap day, after") << QDate(2000, 2, 29) << QDate(2021, 3, 1) << 21;
}

void TestServerStorage::ages()
{
    QFETCH(QDate, birth);
    QFETCH(QDate, day);
    Patient born;
    born.birthDate = birth;
    QTEST(born.age(day), "age");
}

void TestServerStorage::patientsAreOfOnePractitioner()
{
    Patients mine(*m_database, practitioner(QStringLiteral("anna")).id);
    Patients others(*m_database, practitioner(QStringLiteral("boris")).id);
    Patient kept = patient(mine, QStringLiteral("Mine"));
    QVERIFY(!kept.id.isEmpty());
    QVERIFY(mine.find(kept.id));
    QVERIFY(!others.find(kept.id));
    QCOMPARE(others.list(PatientQuery()).rows.size(), 0);
    Patient changed = kept;
    changed.name = QStringLiteral("Stolen");
    QVERIFY(!others.update(changed));
    QVERIFY(!others.remove(kept.id));
    QCOMPARE(mine.find(kept.id)->name, QStringLiteral("Mine"));
    QVERIFY(mine.remove(kept.id));
    QVERIFY(!mine.remove(kept.id));
}

void TestServerStorage::recordsAreOfOnePractitioner()
{
    const QString mine = practitioner(QStringLiteral("anna")).id;
    const QString other = practitioner(QStringLiteral("boris")).id;
    Patients patients(*m_database, mine);
    const QString patientId = patient(patients, QStringLiteral("A")).id;
    const QString secondId = patient(patients, QStringLiteral("B")).id;
    const QByteArray wave("\0\1bytes\xFF", 8);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    QVERIFY(!Records(*m_database, other).add(patientId, wave, QString(), now));
    QCOMPARE(count(QStringLiteral("records")), 0);
    const auto record = Records(*m_database, mine).add(patientId, wave, QStringLiteral("S1"), now);
    QVERIFY(record);
    QCOMPARE(record->doctorName, QStringLiteral("anna"));
    QCOMPARE(record->sensorId, QStringLiteral("S1"));
    QCOMPARE(*Records(*m_database, mine).wave(patientId, record->id), wave);
    QVERIFY(!Records(*m_database, mine).find(secondId, record->id));
    QVERIFY(!Records(*m_database, mine).remove(secondId, record->id));
    QVERIFY(!Records(*m_database, other).find(patientId, record->id));
    QVERIFY(!Records(*m_database, other).wave(patientId, record->id));
    QVERIFY(!Records(*m_database, other).remove(patientId, record->id));
    QVERIFY(!Recipes(*m_database, other).save(patientId, record->id, {{QStringLiteral("m")}, 1}));
    QVERIFY(Recipes(*m_database, mine).save(patientId, record->id, {{QStringLiteral("m")}, 1}));
    QVERIFY(Recipes(*m_database, other).load(patientId, record->id).markerIds.isEmpty());
    QVERIFY(Recipes(*m_database, mine).load(secondId, record->id).markerIds.isEmpty());
    QCOMPARE(Recipes(*m_database, mine).load(patientId, record->id).markerIds.size(), 1);
}

void TestServerStorage::recordsComeOldestFirst()
{
    const QString owner = practitioner(QStringLiteral("anna")).id;
    Patients patients(*m_database, owner);
    const QString id = patient(patients, QStringLiteral("A")).id;
    Records records(*m_database, owner);
    const QDateTime start(QDate(2024, 3, 1), QTime(12, 0), Qt::UTC);
    for (const int minute : {30, 10, 20})
        records.add(id, QByteArray("x"), QString::number(minute), start.addSecs(minute * 60));
    QStringList sensors;
    for (const Record& record : records.list(id))
        sensors.append(record.sensorId);
    QCOMPARE(sensors, QStringList({QStringLiteral("10"), QStringLiteral("20"), QStringLiteral("30")}));
}

void TestServerStorage::lastRecordFollowsTheRecords()
{
    const QString owner = practitioner(QStringLiteral("anna")).id;
    Patients patients(*m_database, owner);
    const QString id = patient(patients, QStringLiteral("A")).id;
    QVERIFY(!patients.find(id)->lastRecordAt.isValid());
    Records records(*m_database, owner);
    const QDateTime early(QDate(2024, 3, 1), QTime(12, 0, 1, 5), Qt::UTC);
    const QDateTime late(QDate(2024, 3, 2), QTime(12, 0), Qt::UTC);
    const QString lateId = records.add(id, QByteArray("x"), QString(), late)->id;
    const QString earlyId = records.add(id, QByteArray("x"), QString(), early)->id;
    QCOMPARE(patients.find(id)->lastRecordAt, late);
    QVERIFY(records.remove(id, lateId));
    QCOMPARE(patients.find(id)->lastRecordAt, early);
    QVERIFY(records.remove(id, earlyId));
    QVERIFY(!patients.find(id)->lastRecordAt.isValid());
}

void TestServerStorage::recipesKeepTheirOrder()
{
    const QString owner = practitioner(QStringLiteral("anna")).id;
    Patients patients(*m_database, owner);
    const QString id = patient(patients, QStringLiteral("A")).id;
    const QString record =
        Records(*m_database, owner).add(id, QByteArray("x"), QString(), QDateTime::currentDateTimeUtc())->id;
    Recipes recipes(*m_database, owner);
    QVERIFY(recipes.load(id, record).markerIds.isEmpty());
    QStringList markers;
    for (int i = 0; i < 30; ++i)
        markers.append(QStringLiteral("m%1").arg((i * 7) % 12));
    QVERIFY(recipes.save(id, record, {markers, 42}));
    QCOMPARE(recipes.load(id, record).markerIds, markers);
    QCOMPARE(recipes.load(id, record).duration, 42);
    QVERIFY(recipes.save(id, record, {{QStringLiteral("only")}, 0}));
    QCOMPARE(recipes.load(id, record).markerIds, QStringList{QStringLiteral("only")});
    QVERIFY(recipes.save(id, record, {}));
    QVERIFY(recipes.load(id, record).markerIds.isEmpty());
    QVERIFY(!recipes.save(id, QStringLiteral("none"), {}));
}

void TestServerStorage::deletionTakesEverythingAlong()
{
    const QString owner = practitioner(QStringLiteral("anna")).id;
    Patients patients(*m_database, owner);
    const QString id = patient(patients, QStringLiteral("A")).id;
    Records records(*m_database, owner);
    const QString record = records.add(id, QByteArray("x"), QString(), QDateTime::currentDateTimeUtc())->id;
    QVERIFY(Recipes(*m_database, owner).save(id, record, {{QStringLiteral("a"), QStringLiteral("b")}, 1}));
    QVERIFY(patients.remove(id));
    for (const char* table : {"patients", "records", "recipes", "recipe_markers"})
        QCOMPARE(count(QString::fromLatin1(table)), 0);
}

void TestServerStorage::pagesAreStable()
{
    Patients patients(*m_database, practitioner(QStringLiteral("anna")).id);
    QSet<QString> all;
    for (int i = 0; i < 45; ++i)
        all.insert(patient(patients, QStringLiteral("Same Name")).id);
    for (const auto sort : {PatientQuery::Sort::Name, PatientQuery::Sort::Age, PatientQuery::Sort::Gender,
                            PatientQuery::Sort::Record, PatientQuery::Sort::Notes}) {
        QStringList seen[2];
        for (const bool descending : {false, true}) {
            PatientQuery query;
            query.sort = sort;
            query.descending = descending;
            query.size = 7;
            for (query.page = 0; query.page < 7; ++query.page) {
                const Patients::Page page = patients.list(query);
                QCOMPARE(page.pages, 7);
                for (const Patient& row : page.rows)
                    seen[descending].append(row.id);
            }
            QCOMPARE(seen[descending].size(), 45);
            QCOMPARE(QSet<QString>(seen[descending].begin(), seen[descending].end()), all);
        }
        std::reverse(seen[1].begin(), seen[1].end());
        QCOMPARE(seen[1], seen[0]);
    }
}

void TestServerStorage::searchTakesWildcardsLiterally()
{
    Patients patients(*m_database, practitioner(QStringLiteral("anna")).id);
    for (const char* name : {"100% sure", "100 of 100", "a_b", "axb", "c\\d", "cd", "it's \"quoted\""})
        patient(patients, QString::fromLatin1(name));
    const QVector<QPair<QString, int>> hits{
        {QStringLiteral("%"), 1}, {QStringLiteral("_"), 1},  {QStringLiteral("\\"), 1},  {QStringLiteral("a_b"), 1},
        {QStringLiteral("'"), 1}, {QStringLiteral("\""), 1}, {QStringLiteral("100"), 2}, {QStringLiteral("%%"), 0}};
    for (const auto& hit : hits) {
        PatientQuery query;
        query.needle = hit.first;
        QVERIFY2(patients.list(query).rows.size() == hit.second, qPrintable(hit.first));
    }
}

void TestServerStorage::manyThreads()
{
    const QString owner = practitioner(QStringLiteral("anna")).id;
    constexpr int threads = 8;
    constexpr int each = 10;
    std::atomic<int> failures{0};
    std::vector<std::thread> running;
    running.reserve(threads);
    for (int t = 0; t < threads; ++t) {
        running.emplace_back([&, t] {
            try {
                Patients patients(*m_database, owner);
                Records records(*m_database, owner);
                for (int i = 0; i < each; ++i) {
                    const QString id = patient(patients, QStringLiteral("P%1-%2").arg(t).arg(i)).id;
                    if (!m_database->attempt([&] {
                            return records.add(id, QByteArray(1000, char(t)), QString(),
                                               QDateTime::currentDateTimeUtc());
                        }))
                        ++failures;
                    if (patients.list(PatientQuery()).rows.isEmpty())
                        ++failures;
                }
            } catch (const DatabaseError& error) {
                qWarning("%s", error.what());
                ++failures;
            }
        });
    }
    for (std::thread& thread : running)
        thread.join();
    QCOMPARE(failures.load(), 0);
    QCOMPARE(count(QStringLiteral("patients")), threads * each);
    QCOMPARE(count(QStringLiteral("records")), threads * each);
}

void TestServerStorage::demoIsWholeAndRepeatable()
{
    Accounts accounts(*m_database);
    QVERIFY(Demo::add(*m_database, accounts));
    const int records = count(QStringLiteral("records"));
    QCOMPARE(count(QStringLiteral("patients")), 12);
    QVERIFY(records >= 5);
    QVERIFY(Demo::add(*m_database, accounts));
    QCOMPARE(count(QStringLiteral("practitioners")), 1);
    QCOMPARE(count(QStringLiteral("patients")), 12);
    QCOMPARE(count(QStringLiteral("records")), records);
    QCOMPARE(Demo::recording({440}, 0.1, 5), Demo::recording({440}, 0.1, 5));
    QVERIFY(Demo::recording({440}, 0.1, 5) != Demo::recording({440}, 0.1, 6));
}

QTEST_GUILESS_MAIN(TestServerStorage)

#include "TestServerStorage.moc"
