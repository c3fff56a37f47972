// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Database.h"
#include "server/Migrations.h"
#include "tests/server/ApiClient.h"
#include "tests/server/FirstVersion.h"
#include "tests/server/PostgresCluster.h"
#include "tests/server/ServerProcess.h"
#include "tests/server/StoredContent.h"
#include "tests/server/TestDatabase.h"
#include "tests/server/TestWave.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSet>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace server;

namespace {

using Content = QMap<QString, QStringList>;

QString textOf(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1String(key)).toString();
}

QByteArray digest(const QString& path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    return file.open(QIODevice::ReadOnly) && hash.addData(&file) ? hash.result().toHex() : QByteArray();
}

/// A connection to an SQLite file for the time of a test.
class OpenFile
{
public:
    explicit OpenFile(const QString& path)
    {
        QSqlDatabase added = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name());
        added.setDatabaseName(path);
        added.open();
    }
    ~OpenFile() { QSqlDatabase::removeDatabase(name()); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    QSqlDatabase database() const { return QSqlDatabase::database(name()); }
    QVariant sql(const QString& statement) const
    {
        QSqlQuery query(database());
        if (!query.exec(statement)) {
            qWarning("%s", qPrintable(query.lastError().text()));
            return QVariant();
        }
        return query.next() ? query.value(0) : QVariant(0);
    }

private:
    static QString name() { return QStringLiteral("file"); }
};

/// A process of the program that a test can stop in its middle.
class Command
{
public:
    explicit Command(const QStringList& arguments) { m_process.start(QStringLiteral(QUELMAR_SERVER), arguments); }
    ~Command()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    bool isRunning()
    {
        m_process.waitForFinished(1);
        return m_process.state() != QProcess::NotRunning;
    }
    /// Whether SIGTERM no longer ends it by itself.
    bool takesSignals() const
    {
        QFile status(QStringLiteral("/proc/%1/status").arg(m_process.processId()));
        if (!status.open(QIODevice::ReadOnly))
            return false;
        for (const QByteArray& line : status.readAll().split('\n')) {
            if (line.startsWith("SigBlk:"))
                return (line.mid(7).trimmed().toULongLong(nullptr, 16) & (1ULL << (SIGTERM - 1))) != 0;
        }
        return false;
    }
    void signal(int number) { ::kill(pid_t(m_process.processId()), number); }
    int exitCode()
    {
        return m_process.waitForFinished(60000) && m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode()
                                                                                                  : -1;
    }
    QByteArray errors() { return m_process.readAllStandardError(); }

private:
    QProcess m_process;
};

} // namespace

/// The commands backup and restore, alone and beside a server that is running.
class TestServerBackup : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void everyTableHasItsPlace();
    void theFileHoldsAll();
    void goesFromOneEngineToTheOther();
    void aServerStartsOnTheFile();
    void takesAFileThatAServerUses();
    void takesFilesOfAnyName();

    void runningServersGoOn();
    void replacesOnlyWhenTold();
    void takesAnEarlierVersion();
    void refusesFiles_data();
    void refusesFiles();
    void neverStoresAPart();
    void waitsForOthersNotEndlessly();

    void writesNothingInPart_data();
    void writesNothingInPart();
    void noRoomForTheFile();
    void oneBackupOfAName();
    void leftoversGo();
    void refusesADatabaseThatIsNotThere();
    void refusesItself();
    void interruptedBackup();
    void interruptedRestore();
    void engineEndsDuringABackup();
    void commandLine_data();
    void commandLine();

private:
    QString location() const { return m_database->location(); }
    QString path(const QString& name) const { return m_folder->filePath(name); }
    QString file() const { return path(QStringLiteral("practice.backup")); }
    ServerProcess::Outcome command(const QString& database, const QStringList& arguments);
    ServerProcess::Outcome backUp(const QString& file);
    ServerProcess::Outcome restore(const QString& file, const QStringList& options = {});
    /// A practitioner "anna" with something in every table that is kept, entered through a server that still runs.
    bool fill();
    /// Many records, made by the engine.
    bool enlarge(int records);
    Content content(const QSqlDatabase& database = QSqlDatabase::database()) const;
    int count(const QString& table);
    QStringList entries() const;

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<TestDatabase> m_database;
    std::unique_ptr<ServerProcess> m_server;
    std::unique_ptr<ApiClient> m_client;
};

void TestServerBackup::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
    m_database = std::make_unique<TestDatabase>();
    QVERIFY(ServerProcess::addPractitioner(location(), QStringLiteral("anna"), QStringLiteral("secret")));
    QVERIFY(m_database->connect());
}

void TestServerBackup::cleanup()
{
    m_client.reset();
    if (m_server) {
        QCOMPARE(m_server->stop(SIGTERM), 0);
        QCOMPARE(m_server->errors(), QByteArray());
    }
    m_server.reset();
    m_database.reset();
    m_folder.reset();
}

ServerProcess::Outcome TestServerBackup::command(const QString& database, const QStringList& arguments)
{
    return ServerProcess::run(QStringList{QStringLiteral("--database"), database} + arguments);
}

ServerProcess::Outcome TestServerBackup::backUp(const QString& file)
{
    return command(location(), {QStringLiteral("backup"), file});
}

ServerProcess::Outcome TestServerBackup::restore(const QString& file, const QStringList& options)
{
    return command(location(), QStringList{QStringLiteral("restore"), file} + options);
}

bool TestServerBackup::fill()
{
    m_server = std::make_unique<ServerProcess>();
    if (!m_server->start(location()))
        return false;
    m_client = std::make_unique<ApiClient>(m_server->url());
    if (m_client->login(QStringLiteral("anna"), QStringLiteral("secret")).status != 200)
        return false;
    // A text of every kind that an engine may trip over.
    const QStringList texts{QStringLiteral("plain"), QStringLiteral("it's \"quoted\" \\ 100% $1 ? ; -- /*"),
                            QStringLiteral("Ёлкина Вера\nzweite Zeile\tÄß"), QString::fromUtf8("😀 \u00a0 \ufffd"),
                            QString(9000, QLatin1Char('n'))};
    for (int i = 0; i < texts.size(); ++i) {
        const QString patient =
            textOf(m_client
                       ->post(QStringLiteral("/patient"), {{QStringLiteral("name"), texts.at(i).left(200).simplified()},
                                                           {QStringLiteral("birthDate"), QStringLiteral("1980-05-17")},
                                                           {QStringLiteral("gender"), QStringLiteral("FEMALE")},
                                                           {QStringLiteral("notes"), texts.at(i)}})
                       .object(),
                   "id");
        const QString record = textOf(m_client->upload(patient, testWave(300 + 10 * i), "S1").object(), "id");
        const QString second = textOf(m_client->upload(patient, testWave(500 + 10 * i)).object(), "id");
        const QJsonObject own{{QStringLiteral("patientId"), patient},
                              {QStringLiteral("recordId"), record},
                              {QStringLiteral("duration"), 5 + i},
                              {QStringLiteral("markers"), QJsonArray{QStringLiteral("note-a4")}}};
        const QJsonObject answers{
            {record, QJsonObject{{texts.at(i).left(20).simplified(), 0.1 + 0.2}, {QStringLiteral("own"), -1e-300}}},
            {second, QJsonObject{{QStringLiteral("own"), 1000}}}};
        const QJsonObject device{{QStringLiteral("patientId"), patient},
                                 {QStringLiteral("deviceId"), QStringLiteral("D%1").arg(i)}};
        QJsonObject order{{QStringLiteral("patientId"), patient},
                          {QStringLiteral("command"), QStringLiteral("RECORD")}};
        if (i % 2 != 0)
            order.insert(QStringLiteral("recordId"), record);
        const bool done =
            m_client->put(QStringLiteral("/recipe"), own).status == 200 &&
            m_client->put(QStringLiteral("/patient/questionnaire/") + patient, answers).status == 200 &&
            m_client->post(QStringLiteral("/analysis/summary"),
                           {{QStringLiteral("patientId"), patient}, {QStringLiteral("records"), QJsonArray{record}}})
                    .status == 200 &&
            m_client->post(QStringLiteral("/patient/device"), device).status == 200 &&
            m_client->post(QStringLiteral("/command"), order).status == 200;
        if (!done) {
            qWarning("nothing was stored of the text %d", i);
            return false;
        }
    }
    return true;
}

bool TestServerBackup::enlarge(int records)
{
    const QString numbers = TestDatabase::isPostgres()
                                ? QStringLiteral("generate_series(1, %1) AS n(i)").arg(records)
                                : QStringLiteral("(WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
                                                 "WHERE i < %1) SELECT i FROM n) AS n")
                                      .arg(records);
    const QString bytes = TestDatabase::isPostgres() ? QStringLiteral("decode(repeat(lpad(to_hex(i), 8, '0'), 16548), "
                                                                      "'hex')")
                                                     : QStringLiteral("randomblob(66194)");
    QSqlQuery query;
    const bool done =
        query.exec(QStringLiteral("INSERT INTO patients (id, practitioner_id, name, birth_date, gender, phone, notes, "
                                  "name_folded, notes_folded, name_key, notes_key, last_record_at, created_at) "
                                  "SELECT 'many', id, 'Many', '1980-01-01', 'MALE', '', '', 'many', '', '', '', '', '' "
                                  "FROM practitioners")) &&
        query.exec(QStringLiteral("INSERT INTO records (id, patient_id, recorded_at, sensor_id, wave) "
                                  "SELECT 'r' || i, 'many', '2026-01-01T00:00:00.000Z', '', %1 FROM %2")
                       .arg(bytes, numbers));
    if (!done)
        qWarning("%s", qPrintable(query.lastError().text()));
    return done;
}

Content TestServerBackup::content(const QSqlDatabase& database) const
{
    return storedContent(database, Migrations::keptTables());
}

int TestServerBackup::count(const QString& table)
{
    QSqlQuery query(QStringLiteral("SELECT COUNT(*) FROM ") + table);
    return query.next() ? query.value(0).toInt() : -1;
}

QStringList TestServerBackup::entries() const
{
    return QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

/// Whoever adds a table has to say whether backups hold it.
void TestServerBackup::everyTableHasItsPlace()
{
    for (const auto engine : {TestDatabase::Engine::OfTheRun, TestDatabase::Engine::Other}) {
        const TestDatabase place(engine);
        QString error;
        const std::unique_ptr<Database> database = Database::open(place.location(), error);
        QVERIFY2(database, qPrintable(error));
        QStringList listed = Migrations::keptTables() + Migrations::loginTables();
        listed.append(QStringLiteral("schema_version"));
        QStringList present = database->tables();
        for (const QString& table : Migrations::derivedTables())
            present.removeAll(table);
        listed.sort();
        present.sort();
        QCOMPARE(present, listed);
        QCOMPARE(QSet<QString>(listed.begin(), listed.end()).size(), listed.size());
    }
    // Each after those that it refers to.
    QVERIFY(backUp(file()).exitCode == 0);
    const OpenFile open(file());
    QStringList before;
    int references = 0;
    for (const QString& table : Migrations::keptTables()) {
        QSqlQuery query(QStringLiteral("PRAGMA foreign_key_list(%1)").arg(table), open.database());
        while (query.next()) {
            QVERIFY2(before.contains(query.value(2).toString()), qPrintable(table));
            ++references;
        }
        before.append(table);
    }
    QVERIFY(references >= 9);
}

void TestServerBackup::theFileHoldsAll()
{
    QVERIFY(fill());
    const auto outcome = backUp(file());
    QCOMPARE(outcome.errors, QByteArray());
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.output, "backed up 1 practitioners, 5 patients and 10 records into " + file().toUtf8() + '\n');
    QCOMPARE(entries(), QStringList{QStringLiteral("practice.backup")});
    QCOMPARE(QFile::permissions(file()) & ~(QFile::ReadUser | QFile::WriteUser), QFile::ReadOwner | QFile::WriteOwner);

    const Content stored = content();
    for (const QString& table : Migrations::keptTables())
        QVERIFY2(!stored.value(table).isEmpty(), qPrintable(table));
    QVERIFY(count(QStringLiteral("sessions")) > 0);
    const OpenFile open(file());
    QCOMPARE(content(open.database()), stored);
    for (const QString& table : Migrations::loginTables())
        QCOMPARE(open.sql(QStringLiteral("SELECT COUNT(*) FROM ") + table), QVariant(0));
    QCOMPARE(open.sql(QStringLiteral("SELECT MAX(version) FROM schema_version")), QVariant(Migrations::latest()));
    // It needs no companions.
    QCOMPARE(open.sql(QStringLiteral("PRAGMA journal_mode")), QVariant(QStringLiteral("delete")));
}

void TestServerBackup::goesFromOneEngineToTheOther()
{
    QVERIFY(fill());
    const Content stored = content();
    QCOMPARE(backUp(file()).exitCode, 0);
    const QString back = path(QStringLiteral("back"));
    {
        TestDatabase other(TestDatabase::Engine::Other);
        const auto outcome = command(other.location(), {QStringLiteral("restore"), file()});
        QCOMPARE(outcome.errors, QByteArray());
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.output, "restored 1 practitioners, 5 patients and 10 records from " + file().toUtf8() +
                                     "; all sessions have ended\n");
        QVERIFY(other.connect(QStringLiteral("other")));
        QCOMPARE(content(QSqlDatabase::database(QStringLiteral("other"))), stored);
        QCOMPARE(command(other.location(), {QStringLiteral("backup"), back}).exitCode, 0);

        ServerProcess server;
        QVERIFY(server.start(other.location()));
        ApiClient client(server.url());
        QCOMPARE(client.login(QStringLiteral("anna"), QStringLiteral("secret")).status, 200);
        QCOMPARE(client.get(QStringLiteral("/patient")).object().value(QStringLiteral("data")).toArray().size(), 5);
        QCOMPARE(server.stop(SIGTERM), 0);
    }
    const TestDatabase again;
    QCOMPARE(command(again.location(), {QStringLiteral("restore"), back}).exitCode, 0);
    QCOMPARE(command(again.location(), {QStringLiteral("backup"), path(QStringLiteral("last"))}).exitCode, 0);
    const OpenFile open(path(QStringLiteral("last")));
    QCOMPARE(content(open.database()), stored);
}

void TestServerBackup::aServerStartsOnTheFile()
{
    QVERIFY(fill());
    const QJsonObject patients = m_client->get(QStringLiteral("/patient")).object();
    QCOMPARE(backUp(file()).exitCode, 0);
    ServerProcess server;
    QVERIFY(server.start(QStringLiteral("sqlite:") + file()));
    ApiClient client(server.url());
    client.token = m_client->token;
    QVERIFY(client.get(QStringLiteral("/patient")).failed(401));
    QCOMPARE(client.login(QStringLiteral("anna"), QStringLiteral("secret")).status, 200);
    QCOMPARE(client.get(QStringLiteral("/patient")).object(), patients);
    QCOMPARE(server.stop(SIGTERM), 0);
}

/// What a server has written and not yet put into the file itself counts too.
void TestServerBackup::takesAFileThatAServerUses()
{
    QCOMPARE(backUp(file()).exitCode, 0);
    ServerProcess server;
    QVERIFY(server.start(file()));
    ApiClient client(server.url());
    QCOMPARE(client.login(QStringLiteral("anna"), QStringLiteral("secret")).status, 200);
    QCOMPARE(client
                 .post(QStringLiteral("/patient"), {{QStringLiteral("name"), QStringLiteral("Late")},
                                                    {QStringLiteral("birthDate"), QStringLiteral("1980-05-17")},
                                                    {QStringLiteral("gender"), QStringLiteral("MALE")}})
                 .status,
             200);
    const QByteArray before = digest(file());
    QCOMPARE(restore(file()).exitCode, 0);
    QCOMPARE(digest(file()), before);
    QCOMPARE(count(QStringLiteral("patients")), 1);
    // The server on the file has noticed nothing.
    QCOMPARE(client.get(QStringLiteral("/patient")).object().value(QStringLiteral("data")).toArray().size(), 1);
    server.kill();

    // And if it was killed, what it has left beside the file.
    QVERIFY(QFile::exists(file() + QStringLiteral("-wal")));
    QCOMPARE(restore(file(), {QStringLiteral("--replace")}).exitCode, 0);
    QCOMPARE(digest(file()), before);
    QCOMPARE(count(QStringLiteral("patients")), 1);
}

void TestServerBackup::takesFilesOfAnyName()
{
    for (const char* name : {"with blanks", "100%25 ?mode=memory", "a#b", "file:x", "-dash", "Ёлка", "it's"}) {
        const QString odd = path(QString::fromUtf8(name));
        QCOMPARE(backUp(odd).exitCode, 0);
        QVERIFY2(QFile::exists(odd), name);
        const QByteArray before = digest(odd);
        QCOMPARE(restore(odd).exitCode, 0);
        QCOMPARE(digest(odd), before);
    }
    QCOMPARE(entries().size(), 7);
}

void TestServerBackup::runningServersGoOn()
{
    QVERIFY(fill());
    QCOMPARE(backUp(file()).exitCode, 0);
    const Content stored = content();
    QCOMPARE(m_client
                 ->post(QStringLiteral("/patient"), {{QStringLiteral("name"), QStringLiteral("Late")},
                                                     {QStringLiteral("birthDate"), QStringLiteral("1980-05-17")},
                                                     {QStringLiteral("gender"), QStringLiteral("MALE")}})
                 .status,
             200);
    QVERIFY(ServerProcess::addPractitioner(location(), QStringLiteral("boris"), QStringLiteral("secret")));
    QVERIFY(content() != stored);
    QCOMPARE(restore(file(), {QStringLiteral("--replace")}).exitCode, 0);
    QCOMPARE(content(), stored);

    QVERIFY(m_client->get(QStringLiteral("/patient")).failed(401));
    QVERIFY(m_client->login(QStringLiteral("boris"), QStringLiteral("secret")).failed(401));
    QCOMPARE(m_client->login(QStringLiteral("anna"), QStringLiteral("secret")).status, 200);
    const QJsonArray patients =
        m_client->get(QStringLiteral("/patient")).object().value(QStringLiteral("data")).toArray();
    QCOMPARE(patients.size(), 5);
    QCOMPARE(m_client->upload(textOf(patients.first().toObject(), "id"), testWave(440)).status, 200);
    QCOMPARE(count(QStringLiteral("records")), 11);
}

void TestServerBackup::replacesOnlyWhenTold()
{
    QVERIFY(ServerProcess::addPractitioner(location(), QStringLiteral("boris"), QStringLiteral("secret")));
    QCOMPARE(backUp(file()).exitCode, 0);
    // Practitioners alone are nothing to be lost.
    QCOMPARE(restore(file()).exitCode, 0);
    QVERIFY(fill());
    const Content stored = content();
    const auto outcome = restore(file());
    QCOMPARE(outcome.exitCode, 1);
    QCOMPARE(outcome.output, QByteArray());
    QCOMPARE(outcome.errors, QByteArray("quelmar-server: nothing was restored: the database has 5 patients, which "
                                        "--replace would overwrite\n"));
    QCOMPARE(content(), stored);
    QCOMPARE(m_client->get(QStringLiteral("/patient")).status, 200);
    QCOMPARE(restore(file(), {QStringLiteral("--replace")}).exitCode, 0);
    QCOMPARE(count(QStringLiteral("patients")), 0);
    QCOMPARE(count(QStringLiteral("practitioners")), 2);
}

void TestServerBackup::takesAnEarlierVersion()
{
    {
        const OpenFile open(file());
        for (const QString& statement : firstVersion(QStringLiteral("BLOB")))
            QVERIFY(open.sql(statement).isValid());
        QSqlQuery query(open.database());
        query.prepare(QStringLiteral("UPDATE records SET wave = ?"));
        query.addBindValue(testWave(440));
        QVERIFY(query.exec());
    }
    const QByteArray before = digest(file());
    const QStringList temporary = QDir::temp().entryList({QStringLiteral("quelmar-restore-*")});
    const auto outcome = restore(file());
    QCOMPARE(outcome.errors, QByteArray());
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(digest(file()), before);
    QCOMPARE(entries(), QStringList{QStringLiteral("practice.backup")});
    QCOMPARE(QDir::temp().entryList({QStringLiteral("quelmar-restore-*")}), temporary);
    const Content stored = content();
    QCOMPARE(stored.value(QStringLiteral("records")).size(), 1);
    QVERIFY(stored.value(QStringLiteral("records"))
                .first()
                .contains(
                    QString::fromLatin1(QCryptographicHash::hash(testWave(440), QCryptographicHash::Sha256).toHex())));
    QCOMPARE(stored.value(QStringLiteral("recipe_markers")).size(), 1);
    QVERIFY(stored.value(QStringLiteral("patients")).first().contains(QStringLiteral("device_enabled=\"1\"")));

    // A copy that cannot be made.
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), QStringLiteral("/proc/none"));
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(QUELMAR_SERVER), {QStringLiteral("--database"), location(), QStringLiteral("restore"),
                                                   file(), QStringLiteral("--replace")});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 1);
    const QByteArray told = process.readAllStandardError();
    QVERIFY2(told.contains("no copy of it can be made"), told.constData());
    QCOMPARE(content(), stored);
}

void TestServerBackup::refusesFiles_data()
{
    QTest::addColumn<QStringList>("doctoring");
    QTest::addColumn<QByteArray>("told");
    QTest::newRow("missing") << QStringList() << QByteArray("No such file");
    QTest::newRow("folder") << QStringList() << QByteArray("it is a folder");
    QTest::newRow("empty") << QStringList() << QByteArray("it holds nothing");
    QTest::newRow("text") << QStringList() << QByteArray("not a database");
    QTest::newRow("cut") << QStringList() << QByteArray("malformed");
    QTest::newRow("overwritten") << QStringList() << QByteArray("it is damaged: ");
    QTest::newRow("newer") << QStringList{QStringLiteral("INSERT INTO schema_version VALUES (1000, '')")}
                           << QByteArray("a newer program is needed");
    QTest::newRow("of another program") << QStringList{QStringLiteral("DROP TABLE schema_version")}
                                        << QByteArray("belongs to another program");
    QTest::newRow("no versions") << QStringList{QStringLiteral("DELETE FROM schema_version")}
                                 << QByteArray("it holds nothing");
    QTest::newRow("without a row that another needs")
        << QStringList{QStringLiteral("PRAGMA foreign_keys = OFF"), QStringLiteral("DELETE FROM patients")}
        << QByteArray("it is damaged: a row of the table ");
    QTest::newRow("without a table") << QStringList{QStringLiteral("DROP TABLE recipe_markers")}
                                     << QByteArray("the table recipe_markers is missing");
}

void TestServerBackup::refusesFiles()
{
    QFETCH(QStringList, doctoring);
    QFETCH(QByteArray, told);
    QVERIFY(enlarge(5));
    const Content stored = content();
    QCOMPARE(backUp(file()).exitCode, 0);
    {
        const OpenFile open(file());
        for (const QString& statement : qAsConst(doctoring))
            QVERIFY(open.sql(statement).isValid());
    }
    const QByteArray kind = QTest::currentDataTag();
    QFile doctored(file());
    if (kind == "missing" || kind == "folder") {
        QVERIFY(doctored.remove());
        if (kind == "folder")
            QVERIFY(QDir().mkdir(file()));
    } else if (kind == "empty") {
        QVERIFY(doctored.resize(0));
    } else if (kind == "text") {
        QVERIFY(doctored.open(QIODevice::WriteOnly));
        doctored.write(QByteArray("no database at all ").repeated(1000));
    } else if (kind == "cut") {
        QVERIFY(doctored.resize(doctored.size() / 2));
    } else if (kind == "overwritten") {
        // The second half of the file, but not its beginning.
        QVERIFY(doctored.open(QIODevice::ReadWrite));
        QVERIFY(doctored.seek(doctored.size() / 8192 * 4096));
        doctored.write(QByteArray(int(doctored.size() / 2), '\x5a'));
    }
    doctored.close();
    const QByteArray before = digest(file());

    auto outcome = restore(file(), {QStringLiteral("--replace")});
    QCOMPARE(outcome.exitCode, 1);
    QCOMPARE(outcome.output, QByteArray());
    QVERIFY2(outcome.errors.contains(told), outcome.errors.constData());
    QVERIFY(outcome.errors.startsWith("quelmar-server: "));
    QCOMPARE(outcome.errors.count('\n'), 1);
    QCOMPARE(digest(file()), before);
    QCOMPARE(content(), stored);

    // No file of a new database is made for nothing, unless the fault comes to light there.
    outcome = command(path(QStringLiteral("new.sqlite")), {QStringLiteral("restore"), file()});
    QCOMPARE(outcome.exitCode, 1);
    QCOMPARE(QFile::exists(path(QStringLiteral("new.sqlite"))), kind == "without a table");
}

/// The last row is what the target refuses: all that was stored before it is taken back.
void TestServerBackup::neverStoresAPart()
{
    QVERIFY(fill());
    QCOMPARE(backUp(file()).exitCode, 0);
    {
        const OpenFile open(file());
        for (const char* statement :
             {"DROP TABLE commands",
              "CREATE TABLE commands (id TEXT, patient_id TEXT, name TEXT, record_id TEXT, complete INTEGER, sent_at "
              "TEXT)",
              "INSERT INTO commands (id, patient_id, complete, sent_at) SELECT 'c', patient_id, 0, '' FROM devices"})
            QVERIFY(open.sql(QString::fromLatin1(statement)).isValid());
    }
    const Content stored = content();
    const auto outcome = restore(file(), {QStringLiteral("--replace")});
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY2(outcome.errors.contains("nothing was restored"), outcome.errors.constData());
    QCOMPARE(content(), stored);
    QCOMPARE(m_client->get(QStringLiteral("/patient")).status, 200);
}

void TestServerBackup::waitsForOthersNotEndlessly()
{
    QVERIFY(fill());
    const Content stored = content();
    QCOMPARE(backUp(file()).exitCode, 0);
    QSqlQuery query;
    QVERIFY(query.exec(TestDatabase::isPostgres() ? QStringLiteral("BEGIN") : QStringLiteral("BEGIN IMMEDIATE")));
    QVERIFY(query.exec(QStringLiteral("UPDATE patients SET notes = 'held'")));
    // What is held is not even read.
    QCOMPARE(backUp(path(QStringLiteral("second"))).exitCode, 0);
    const auto outcome = restore(file(), {QStringLiteral("--replace")});
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY2(outcome.errors.contains("lock") && outcome.errors.contains("nothing was restored"),
             outcome.errors.constData());
    QVERIFY(query.exec(QStringLiteral("ROLLBACK")));
    QCOMPARE(content(), stored);
    const OpenFile open(path(QStringLiteral("second")));
    QCOMPARE(content(open.database()), stored);
}

void TestServerBackup::writesNothingInPart_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("told");
    QTest::newRow("there already") << "taken" << QByteArray("there is such a file already");
    QTest::newRow("a link that leads nowhere") << "link" << QByteArray("there is such a file already");
    QTest::newRow("a folder") << "folder" << QByteArray("it is a folder");
    QTest::newRow("in no folder") << "none/file" << QByteArray("No such file or directory");
    QTest::newRow("below a file") << "taken/file" << QByteArray("Not a directory");
    QTest::newRow("in a folder that takes none") << "/proc/file" << QByteArray("/proc/file: ");
    QTest::newRow("a name that is too long") << QString(252, QLatin1Char('n')) << QByteArray("File name too long");
    QTest::newRow("a draft that is none") << "odd" << QByteArray("odd.part");
}

void TestServerBackup::writesNothingInPart()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, told);
    {
        QFile taken(path(QStringLiteral("taken")));
        QVERIFY(taken.open(QIODevice::WriteOnly));
        taken.write("mine");
    }
    QVERIFY(QFile::link(path(QStringLiteral("nowhere")), path(QStringLiteral("link"))));
    QVERIFY(QDir().mkdir(path(QStringLiteral("folder"))));
    QVERIFY(QDir().mkdir(path(QStringLiteral("odd.part"))));
    const QStringList before = entries();
    const QString target = name.startsWith(QLatin1Char('/')) ? name : path(name);
    const auto outcome = backUp(target);
    QCOMPARE(outcome.exitCode, 1);
    QCOMPARE(outcome.output, QByteArray());
    QVERIFY2(outcome.errors.contains(told), outcome.errors.constData());
    QVERIFY(outcome.errors.startsWith("quelmar-server: cannot write the backup " + target.toUtf8()));
    QCOMPARE(outcome.errors.count('\n'), 1);
    QCOMPARE(entries(), before);
    QFile taken(path(QStringLiteral("taken")));
    QVERIFY(taken.open(QIODevice::ReadOnly));
    QCOMPARE(taken.readAll(), QByteArray("mine"));
}

void TestServerBackup::noRoomForTheFile()
{
    QVERIFY(fill());
    // Enough for the tables, but not for the recordings, and then for nothing at all.
    for (const int kilobytes : {400, 0}) {
        QProcess process;
        process.start(QStringLiteral("/bin/sh"),
                      {QStringLiteral("-c"), QStringLiteral("trap '' XFSZ; ulimit -f $1; shift; exec \"$@\""),
                       QStringLiteral("sh"), QString::number(kilobytes * 2), QStringLiteral(QUELMAR_SERVER),
                       QStringLiteral("--database"), location(), QStringLiteral("backup"), file()});
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 1);
        const QByteArray told = process.readAllStandardError();
        // SQLite writes to its own companions before it reads.
        if (kilobytes > 0 || TestDatabase::isPostgres())
            QVERIFY2(told.startsWith("quelmar-server: cannot write the backup " + file().toUtf8()), told.constData());
        QVERIFY2(told.startsWith("quelmar-server: cannot "), told.constData());
        QCOMPARE(told.count('\n'), 1);
        QCOMPARE(entries(), QStringList());
    }
    QCOMPARE(backUp(file()).exitCode, 0);
}

void TestServerBackup::oneBackupOfAName()
{
    const QString draft = file() + QStringLiteral(".part");
    const int held = ::open(QFile::encodeName(draft).constData(), O_RDWR | O_CREAT, 0600);
    QVERIFY(held >= 0);
    QCOMPARE(flock(held, LOCK_EX), 0);
    QCOMPARE(write(held, "other", 5), ssize_t(5));
    const auto outcome = backUp(file());
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY2(outcome.errors.contains("another backup to this file is under way"), outcome.errors.constData());
    QCOMPARE(entries(), QStringList{QStringLiteral("practice.backup.part")});
    QCOMPARE(QFileInfo(draft).size(), 5);
    ::close(held);
}

void TestServerBackup::leftoversGo()
{
    {
        QFile left(file() + QStringLiteral(".part"));
        QVERIFY(left.open(QIODevice::WriteOnly));
        left.write(QByteArray(100000, 'x'));
        QVERIFY(left.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther | QFile::WriteOther));
    }
    QCOMPARE(backUp(file()).exitCode, 0);
    QCOMPARE(entries(), QStringList{QStringLiteral("practice.backup")});
    QCOMPARE(QFile::permissions(file()) & ~(QFile::ReadUser | QFile::WriteUser), QFile::ReadOwner | QFile::WriteOwner);
    const OpenFile open(file());
    QCOMPARE(content(open.database()), content());
}

void TestServerBackup::refusesADatabaseThatIsNotThere()
{
    const QString none = path(QStringLiteral("none.sqlite"));
    const auto outcome = command(none, {QStringLiteral("backup"), file()});
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY2(outcome.errors.contains("there is no such file"), outcome.errors.constData());
    QCOMPARE(entries(), QStringList());
}

void TestServerBackup::refusesItself()
{
    QCOMPARE(backUp(file()).exitCode, 0);
    QVERIFY(QFile::link(file(), path(QStringLiteral("link"))));
    const QByteArray before = digest(file());
    for (const QString& name : {file(), path(QStringLiteral("link"))}) {
        const auto outcome = command(file(), {QStringLiteral("restore"), name, QStringLiteral("--replace")});
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY2(outcome.errors.contains("it is the database itself"), outcome.errors.constData());
    }
    QCOMPARE(digest(file()), before);
}

void TestServerBackup::interruptedBackup()
{
    QVERIFY(enlarge(500));
    const QString draft = file() + QStringLiteral(".part");
    // One may be done before the signal reaches it.
    for (int i = 0; i < 20; ++i) {
        Command backup({QStringLiteral("--database"), location(), QStringLiteral("backup"), file()});
        while (!QFile::exists(draft) && backup.isRunning()) {
        }
        backup.signal(SIGTERM);
        const int code = backup.exitCode();
        QVERIFY(code == 0 || code == 1);
        if (code == 1) {
            QCOMPARE(backup.errors(), "quelmar-server: cannot write the backup " + file().toUtf8() + ": interrupted\n");
            QCOMPARE(entries(), QStringList());
            return;
        }
        QCOMPARE(entries(), QStringList{QStringLiteral("practice.backup")});
        QVERIFY(QFile::remove(file()));
    }
    QFAIL("no backup was interrupted");
}

void TestServerBackup::interruptedRestore()
{
    QVERIFY(fill());
    QCOMPARE(backUp(file()).exitCode, 0);
    QCOMPARE(m_client
                 ->post(QStringLiteral("/patient"), {{QStringLiteral("name"), QStringLiteral("Late")},
                                                     {QStringLiteral("birthDate"), QStringLiteral("1980-05-17")},
                                                     {QStringLiteral("gender"), QStringLiteral("MALE")}})
                 .status,
             200);
    const Content stored = content();
    QSqlQuery query;
    QVERIFY(query.exec(TestDatabase::isPostgres() ? QStringLiteral("BEGIN") : QStringLiteral("BEGIN IMMEDIATE")));
    QVERIFY(query.exec(QStringLiteral("DELETE FROM sessions WHERE token_hash = 'none'")));
    // It has to wait, so that the signal comes before its first row.
    Command restoring(
        {QStringLiteral("--database"), location(), QStringLiteral("restore"), file(), QStringLiteral("--replace")});
    QTRY_VERIFY_WITH_TIMEOUT(restoring.takesSignals(), 60000);
    restoring.signal(SIGTERM);
    QVERIFY(query.exec(QStringLiteral("ROLLBACK")));
    QCOMPARE(restoring.exitCode(), 1);
    QCOMPARE(restoring.errors(), QByteArray("quelmar-server: nothing was restored: interrupted\n"));
    QCOMPARE(content(), stored);
    QCOMPARE(m_client->get(QStringLiteral("/patient")).status, 200);
}

void TestServerBackup::engineEndsDuringABackup()
{
    if (!TestDatabase::isPostgres())
        QSKIP("SQLite is no process of its own");
    QVERIFY(enlarge(500));
    const QString draft = file() + QStringLiteral(".part");
    for (int i = 0; i < 20; ++i) {
        Command backup({QStringLiteral("--database"), location(), QStringLiteral("backup"), file()});
        while (QFileInfo(draft).size() < 1000000 && backup.isRunning()) {
        }
        QSqlQuery().exec(QStringLiteral("SELECT pg_terminate_backend(pid) FROM pg_stat_activity "
                                        "WHERE application_name = 'quelmar-server'"));
        const int code = backup.exitCode();
        QVERIFY(code == 0 || code == 1);
        if (code == 1) {
            const QByteArray told = backup.errors();
            // The client library of PostgreSQL may have a line of its own before it.
            QVERIFY2(told.contains("quelmar-server: the database postgresql://"), told.constData());
            QCOMPARE(entries(), QStringList());
            return;
        }
        QVERIFY(QFile::remove(file()));
    }
    QFAIL("no backup was under way");
}

void TestServerBackup::commandLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("told");
    const QString file = QStringLiteral("file");
    QTest::newRow("backup of nothing") << QStringList{QStringLiteral("backup")} << QByteArray("takes one file");
    QTest::newRow("backup to two") << QStringList{QStringLiteral("backup"), file, file} << QByteArray("takes one file");
    QTest::newRow("backup without a name")
        << QStringList{QStringLiteral("backup"), QString()} << QByteArray("takes one file");
    QTest::newRow("restore of nothing") << QStringList{QStringLiteral("restore")} << QByteArray("takes one file");
    QTest::newRow("restore of two") << QStringList{QStringLiteral("restore"), file, file}
                                    << QByteArray("takes one file");
    QTest::newRow("backup that replaces") << QStringList{QStringLiteral("backup"), file, QStringLiteral("--replace")}
                                          << QByteArray("--replace belongs to \"restore\"");
    QTest::newRow("server that replaces")
        << QStringList{QStringLiteral("--replace")} << QByteArray("--replace belongs to \"restore\"");
    QTest::newRow("backup that listens") << QStringList{QStringLiteral("backup"), file, QStringLiteral("--listen"),
                                                        QStringLiteral("127.0.0.1:0")}
                                         << QByteArray("--listen does not belong to a command");
    QTest::newRow("restore with a demo") << QStringList{QStringLiteral("restore"), file, QStringLiteral("--demo")}
                                         << QByteArray("--demo does not belong to a command");
}

void TestServerBackup::commandLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, told);
    const auto outcome = command(location(), arguments);
    QCOMPARE(outcome.exitCode, 2);
    QCOMPARE(outcome.output, QByteArray());
    QVERIFY2(outcome.errors.contains(told), outcome.errors.constData());
    const auto help = ServerProcess::run({QStringLiteral("--help")});
    for (const char* word : {"backup FILE", "restore FILE", "--replace"})
        QVERIFY2(help.output.contains(word), word);
}

QTEST_GUILESS_MAIN(TestServerBackup)

#include "TestServerBackup.moc"
