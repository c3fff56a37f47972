// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/ApiClient.h"
#include "tests/server/ServerProcess.h"
#include "tests/server/TestDatabase.h"
#include "tests/server/TestWave.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QSqlQuery>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <csignal>
#include <memory>
#include <thread>
#include <vector>

namespace {

/// The least that a patient needs.
QJsonObject newPatient()
{
    return {{QStringLiteral("name"), QStringLiteral("Kept")},
            {QStringLiteral("birthDate"), QStringLiteral("1970-01-01")},
            {QStringLiteral("gender"), QStringLiteral("FEMALE")}};
}

QString textOf(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1String(key)).toString();
}

} // namespace

/// The program as a process: its command line, its start, its end, and what it says when something is wrong.
class TestServerProgram : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void helps();
    void tellsItsVersion();
    void refusesWrongOptions_data();
    void refusesWrongOptions();
    void refusesAPortInUse();
    void refusesAnAddressThatIsNotHere();
    void refusesDatabases_data();
    void refusesDatabases();
    void refusesANewerSchema();
    void usesTheDataFolder();
    void takesTheSchemeOfADatabase();

    void addsPractitioners();
    void addTakesAPasswordFile();
    void addRefuses_data();
    void addRefuses();
    void listsPractitioners();

    void stopsOnASignal_data();
    void stopsOnASignal();
    void stopsAtOnceAfterTheStart();
    void stopsWithOpenConnections();
    void restartKeepsTheData();
    void keepsWhatItAnswered();
    void twoServersOnOneDatabase();
    void demo();
    void demoOfServersThatStartTogether();

private:
    QString database() const { return m_database->location(); }
    QString write(const QString& name, const QByteArray& content);

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<TestDatabase> m_database;
};

void TestServerProgram::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
    m_database = std::make_unique<TestDatabase>();
}

void TestServerProgram::cleanup()
{
    m_database.reset();
    m_folder.reset();
}

QString TestServerProgram::write(const QString& name, const QByteArray& content)
{
    QFile file(m_folder->filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        return QString();
    return file.fileName();
}

void TestServerProgram::helps()
{
    for (const char* option : {"--help", "-h"}) {
        const auto outcome = ServerProcess::run({QString::fromLatin1(option)});
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.errors, QByteArray());
        for (const char* word :
             {"--listen", "--database", "--demo", "practitioner add", "practitioner list", "practitioner passwd",
              "--password-file", "--version", "--session-hours", "--login-attempts", "--login-window",
              "--simulate-devices", "--simulate-seconds", "--log", "--tls-certificate", "--tls-key", "--plain-http",
              "--trusted-proxy", "--replace"})
            QVERIFY2(outcome.output.contains(word), word);
    }
}

void TestServerProgram::tellsItsVersion()
{
    const auto outcome = ServerProcess::run({QStringLiteral("--version")});
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.output, QByteArray("quelmar-server 2021.3.0\n"));
}

void TestServerProgram::refusesWrongOptions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("unknown option") << QStringList{QStringLiteral("--port"), QStringLiteral("1")};
    QTest::newRow("no address") << QStringList{QStringLiteral("--listen"), QStringLiteral("here")};
    QTest::newRow("unknown command") << QStringList{QStringLiteral("serve")};
    const QStringList certificate{QStringLiteral("--tls-certificate"), QStringLiteral("c.pem")};
    const QStringList key{QStringLiteral("--tls-key"), QStringLiteral("k.pem")};
    const QStringList empty{QStringLiteral("--tls-key"), QString()};
    const QStringList plain{QStringLiteral("--plain-http")};
    QTest::newRow("certificate without a key") << certificate;
    QTest::newRow("key without a certificate") << key;
    QTest::newRow("no file for the key") << certificate + empty;
    QTest::newRow("TLS and plain HTTP") << certificate + key + plain;
    QTest::newRow("TLS for a command") << certificate + key +
                                              QStringList{QStringLiteral("practitioner"), QStringLiteral("list")};
    const QString proxy = QStringLiteral("--trusted-proxy");
    QTest::newRow("name of a proxy") << QStringList{proxy, QStringLiteral("localhost")};
    QTest::newRow("half an address") << QStringList{proxy, QStringLiteral("127.0.0")};
    QTest::newRow("no address of a proxy") << QStringList{proxy, QString()};
    QTest::newRow("one proxy of two without an address") << QStringList{proxy, QStringLiteral("127.0.0.1,")};
    QTest::newRow("other engine") << QStringList{QStringLiteral("--database"), QStringLiteral("mysql://x/y")};
}

void TestServerProgram::refusesWrongOptions()
{
    QFETCH(QStringList, arguments);
    const auto outcome = ServerProcess::run(arguments);
    QCOMPARE(outcome.exitCode, 2);
    QCOMPARE(outcome.output, QByteArray());
    QVERIFY(outcome.errors.startsWith("quelmar-server: "));
    QVERIFY(outcome.errors.contains("--help"));
}

void TestServerProgram::refusesAPortInUse()
{
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress::LocalHost));
    const QString address = QStringLiteral("127.0.0.1:%1").arg(other.serverPort());
    auto outcome = ServerProcess::run({QStringLiteral("--listen"), address, QStringLiteral("--database"), database()});
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY2(outcome.errors.contains("already in use"), outcome.errors.constData());
    QVERIFY(outcome.errors.contains(address.toUtf8()));

    // A second server must not share the port of the first.
    ServerProcess first;
    QVERIFY(first.start(database()));
    outcome = ServerProcess::run({QStringLiteral("--listen"), QStringLiteral("127.0.0.1:%1").arg(first.port()),
                                  QStringLiteral("--database"), database()});
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY2(outcome.errors.contains("already in use"), outcome.errors.constData());
    QCOMPARE(first.stop(SIGTERM), 0);
}

void TestServerProgram::refusesAnAddressThatIsNotHere()
{
    for (const char* address : {"192.0.2.1:0", "no.such.host.invalid:0"}) {
        const auto outcome = ServerProcess::run(
            {QStringLiteral("--listen"), QString::fromLatin1(address), QStringLiteral("--database"), database()});
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY2(outcome.errors.contains("cannot listen on"), outcome.errors.constData());
    }
}

void TestServerProgram::refusesDatabases_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("text") << "text.sqlite";
    QTest::newRow("folder") << ".";
    QTest::newRow("below a file") << "text.sqlite/a.sqlite";
}

void TestServerProgram::refusesDatabases()
{
    QFETCH(QString, path);
    QVERIFY(!write(QStringLiteral("text.sqlite"), QByteArray("no database at all ").repeated(100)).isEmpty());
    const QString file = m_folder->filePath(path);
    for (const QStringList& command : {QStringList{QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0")},
                                       QStringList{QStringLiteral("practitioner"), QStringLiteral("list")}}) {
        const auto outcome = ServerProcess::run(QStringList{QStringLiteral("--database"), file} + command);
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY2(outcome.errors.contains("cannot use the database"), outcome.errors.constData());
        QVERIFY(outcome.errors.contains(file.toUtf8()));
    }
}

void TestServerProgram::refusesANewerSchema()
{
    QVERIFY(ServerProcess::addPractitioner(database(), QStringLiteral("anna"), QStringLiteral("secret")));
    QVERIFY(m_database->connect());
    QVERIFY(QSqlQuery().exec(QStringLiteral("INSERT INTO schema_version VALUES (1000, '2100-01-01')")));
    const auto outcome = ServerProcess::run(
        {QStringLiteral("--database"), database(), QStringLiteral("practitioner"), QStringLiteral("list")});
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY2(outcome.errors.contains("1000") && outcome.errors.contains("newer"), outcome.errors.constData());
}

void TestServerProgram::usesTheDataFolder()
{
    qputenv("XDG_DATA_HOME", m_folder->path().toUtf8());
    const auto outcome = ServerProcess::run({QStringLiteral("practitioner"), QStringLiteral("list")});
    qunsetenv("XDG_DATA_HOME");
    QCOMPARE(outcome.exitCode, 0);
    const QFileInfo file(m_folder->filePath(QStringLiteral("quelmar/quelmar-server.sqlite")));
    QVERIFY(file.exists());
    const QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    QVERIFY2(!(file.permissions() & others), "only the owner may read patients");
}

void TestServerProgram::takesTheSchemeOfADatabase()
{
    const QString path = m_folder->filePath(QStringLiteral("named.sqlite"));
    QVERIFY(ServerProcess::addPractitioner(QStringLiteral("sqlite:") + path, QStringLiteral("anna"),
                                           QStringLiteral("secret")));
    QVERIFY(QFile::exists(path));
}

void TestServerProgram::addsPractitioners()
{
    QVERIFY(ServerProcess::addPractitioner(database(), QStringLiteral("Анна"), QStringLiteral("пароль"),
                                           {QStringLiteral("--language"), QStringLiteral("ru")}));
    ServerProcess server;
    QVERIFY(server.start(database()));
    ApiClient client(server.url());
    const ApiClient::Answer answer = client.login(QStringLiteral("Анна"), QStringLiteral("пароль"));
    QCOMPARE(answer.status, 200);
    QCOMPARE(textOf(answer.object(), "language"), QStringLiteral("ru"));
    QCOMPARE(textOf(answer.object(), "country"), QStringLiteral("RU"));
    // Also while the server runs.
    QVERIFY(ServerProcess::addPractitioner(database(), QStringLiteral("boris"), QStringLiteral("secret")));
    QCOMPARE(client.login(QStringLiteral("boris"), QStringLiteral("secret")).status, 200);
    QCOMPARE(server.stop(SIGTERM), 0);
}

void TestServerProgram::addTakesAPasswordFile()
{
    const QString file = write(QStringLiteral("password"), "blank at the end \nsecond line\n");
    QVERIFY(!file.isEmpty());
    const auto outcome =
        ServerProcess::run({QStringLiteral("--database"), database(), QStringLiteral("practitioner"),
                            QStringLiteral("add"), QStringLiteral("anna"), QStringLiteral("--password-file"), file,
                            QStringLiteral("--country"), QStringLiteral("GB")});
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY(outcome.output.contains("anna"));
    QVERIFY(!outcome.output.contains("blank"));
    ServerProcess server;
    QVERIFY(server.start(database()));
    ApiClient client(server.url());
    const ApiClient::Answer answer = client.login(QStringLiteral("anna"), QStringLiteral("blank at the end "));
    QCOMPARE(answer.status, 200);
    QCOMPARE(textOf(answer.object(), "country"), QStringLiteral("GB"));
    QCOMPARE(server.stop(SIGTERM), 0);
}

void TestServerProgram::addRefuses_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("input");
    QTest::newRow("taken") << QStringList{QStringLiteral("anna")} << QByteArray("secret\n");
    QTest::newRow("no password") << QStringList{QStringLiteral("boris")} << QByteArray();
    QTest::newRow("empty password") << QStringList{QStringLiteral("boris")} << QByteArray("\n");
    QTest::newRow("password that is no text") << QStringList{QStringLiteral("boris")} << QByteArray("\xff\xfe\n");
    QTest::newRow("long password") << QStringList{QStringLiteral("boris")} << QByteArray(201, 'x') + '\n';
    QTest::newRow("empty name") << QStringList{QStringLiteral("")} << QByteArray("secret\n");
    QTest::newRow("long name") << QStringList{QString(201, QLatin1Char('b'))} << QByteArray("secret\n");
    QTest::newRow("name of two lines") << QStringList{QStringLiteral("b\nc")} << QByteArray("secret\n");
    QTest::newRow("language") << QStringList{QStringLiteral("boris"), QStringLiteral("--language"),
                                             QStringLiteral("russian")}
                              << QByteArray("secret\n");
    QTest::newRow("country") << QStringList{QStringLiteral("boris"), QStringLiteral("--country"), QStringLiteral("7")}
                             << QByteArray("secret\n");
    QTest::newRow("no password file") << QStringList{QStringLiteral("boris"), QStringLiteral("--password-file"),
                                                     QStringLiteral("/none/such")}
                                      << QByteArray("secret\n");
}

void TestServerProgram::addRefuses()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, input);
    const QStringList start{QStringLiteral("--database"), database(), QStringLiteral("practitioner")};
    QVERIFY(ServerProcess::addPractitioner(database(), QStringLiteral("anna"), QStringLiteral("secret")));
    const QByteArray before = ServerProcess::run(start + QStringList{QStringLiteral("list")}).output;
    const auto outcome = ServerProcess::run(start + QStringList{QStringLiteral("add")} + arguments, input);
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY(outcome.errors.startsWith("quelmar-server: "));
    QCOMPARE(ServerProcess::run(start + QStringList{QStringLiteral("list")}).output, before);
}

void TestServerProgram::listsPractitioners()
{
    const QStringList list{QStringLiteral("--database"), database(), QStringLiteral("practitioner"),
                           QStringLiteral("list")};
    auto outcome = ServerProcess::run(list);
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.output, QByteArray());
    QVERIFY(ServerProcess::addPractitioner(database(), QStringLiteral("boris"), QStringLiteral("secret")));
    QVERIFY(ServerProcess::addPractitioner(database(), QStringLiteral("anna"), QStringLiteral("secret"),
                                           {QStringLiteral("--language"), QStringLiteral("ru"),
                                            QStringLiteral("--full-name"), QStringLiteral("Др. Анна")}));
    outcome = ServerProcess::run(list);
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(QString::fromUtf8(outcome.output), QStringLiteral("anna\tru_RU\tДр. Анна\nboris\ten_US\t\n"));
}

void TestServerProgram::stopsOnASignal_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << int(SIGTERM);
    QTest::newRow("SIGINT") << int(SIGINT);
}

void TestServerProgram::stopsOnASignal()
{
    QFETCH(int, signal);
    ServerProcess server;
    QVERIFY(server.start(database()));
    ApiClient client(server.url());
    QCOMPARE(client.get(QStringLiteral("/patient")).status, 401);
    QCOMPARE(server.stop(signal), 0);
    QCOMPARE(server.errors(), QByteArray());
    QVERIFY(server.output().endsWith("\nstopped\n"));
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), server.port());
    QVERIFY(!socket.waitForConnected());
    QVERIFY2(!QFile::exists(database() + QStringLiteral("-wal")), "the last connection was not closed");
}

void TestServerProgram::stopsAtOnceAfterTheStart()
{
    for (int i = 0; i < 5; ++i) {
        ServerProcess server;
        QVERIFY(server.start(database()));
        QCOMPARE(server.stop(SIGTERM), 0);
    }
}

void TestServerProgram::stopsWithOpenConnections()
{
    ServerProcess server;
    QVERIFY(server.start(database()));
    QTcpSocket idle;
    idle.connectToHost(QStringLiteral("127.0.0.1"), server.port());
    QVERIFY(idle.waitForConnected());
    QTcpSocket kept;
    kept.connectToHost(QStringLiteral("127.0.0.1"), server.port());
    QVERIFY(kept.waitForConnected());
    kept.write("GET /patient HTTP/1.1\r\nHost: x\r\n\r\n");
    QVERIFY(kept.waitForReadyRead());
    QCOMPARE(server.stop(SIGTERM), 0);
}

void TestServerProgram::restartKeepsTheData()
{
    QVERIFY(ServerProcess::addPractitioner(database(), QStringLiteral("anna"), QStringLiteral("secret")));
    QByteArray token;
    QByteArray patients;
    QByteArray records;
    QByteArray recipe;
    QString recordsPath;
    QString recipePath;
    {
        ServerProcess server;
        QVERIFY(server.start(database()));
        ApiClient client(server.url());
        QCOMPARE(client.login(QStringLiteral("anna"), QStringLiteral("secret")).status, 200);
        token = client.token;
        const QString patient = textOf(client.post(QStringLiteral("/patient"), newPatient()).object(), "id");
        const QString record = textOf(client.upload(patient, testWave(440)).object(), "id");
        QVERIFY(!record.isEmpty());
        QCOMPARE(
            client
                .put(QStringLiteral("/recipe"), {{QStringLiteral("patientId"), patient},
                                                 {QStringLiteral("recordId"), record},
                                                 {QStringLiteral("markers"), QJsonArray{QStringLiteral("note-a4")}}})
                .status,
            200);
        recordsPath = QStringLiteral("/record/") + patient;
        recipePath = QStringLiteral("/recipe/%1/%2").arg(patient, record);
        patients = client.get(QStringLiteral("/patient")).body;
        records = client.get(recordsPath).body;
        recipe = client.get(recipePath).body;
        QCOMPARE(server.stop(SIGTERM), 0);
    }
    ServerProcess server;
    QVERIFY(server.start(database()));
    ApiClient client(server.url());
    client.token = token;
    QCOMPARE(client.get(QStringLiteral("/patient")).body, patients);
    QCOMPARE(client.get(recordsPath).body, records);
    QCOMPARE(client.get(recipePath).body, recipe);
    QVERIFY(recipe.contains("note-a4"));
    QCOMPARE(server.stop(SIGTERM), 0);
}

void TestServerProgram::keepsWhatItAnswered()
{
    QVERIFY(ServerProcess::addPractitioner(database(), QStringLiteral("anna"), QStringLiteral("secret")));
    QStringList answered;
    QByteArray token;
    {
        ServerProcess server;
        QVERIFY(server.start(database()));
        ApiClient client(server.url());
        QCOMPARE(client.login(QStringLiteral("anna"), QStringLiteral("secret")).status, 200);
        token = client.token;
        for (int i = 0; i < 5; ++i)
            answered.append(textOf(client.post(QStringLiteral("/patient"), newPatient()).object(), "id"));
        server.kill();
    }
    ServerProcess server;
    QVERIFY(server.start(database()));
    ApiClient client(server.url());
    client.token = token;
    for (const QString& id : answered)
        QCOMPARE(client.get(QStringLiteral("/record/") + id).status, 200);
    QCOMPARE(server.stop(SIGTERM), 0);
}

void TestServerProgram::twoServersOnOneDatabase()
{
    QVERIFY(ServerProcess::addPractitioner(database(), QStringLiteral("anna"), QStringLiteral("secret")));
    ServerProcess first;
    ServerProcess second;
    QVERIFY(first.start(database()));
    QVERIFY(second.start(database()));
    ApiClient one(first.url());
    ApiClient two(second.url());
    QCOMPARE(one.login(QStringLiteral("anna"), QStringLiteral("secret")).status, 200);
    two.token = one.token;
    for (int i = 0; i < 10; ++i) {
        ApiClient& writer = i % 2 == 0 ? one : two;
        ApiClient& reader = i % 2 == 0 ? two : one;
        const QString id = textOf(writer.post(QStringLiteral("/patient"), newPatient()).object(), "id");
        QCOMPARE(reader.get(QStringLiteral("/record/") + id).status, 200);
    }
    QCOMPARE(first.stop(SIGTERM), 0);
    QCOMPARE(second.stop(SIGINT), 0);
}

void TestServerProgram::demo()
{
    QByteArray patients;
    for (int run = 0; run < 2; ++run) {
        ServerProcess server;
        QVERIFY(server.start(database(), {QStringLiteral("--demo")}));
        QVERIFY(server.output().contains("name \"demo\", password \"demo\""));
        ApiClient client(server.url());
        QCOMPARE(client.login(QStringLiteral("demo"), QStringLiteral("demo")).status, 200);
        const ApiClient::Answer all = client.get(QStringLiteral("/patient"));
        if (run == 0)
            patients = all.body;
        QCOMPARE(all.body, patients);
        const QJsonArray rows = all.object().value(QStringLiteral("data")).toArray();
        QCOMPARE(rows.size(), 12);
        int recorded = 0;
        bool latin = false;
        bool cyrillic = false;
        bool umlaut = false;
        for (const QJsonValue& row : rows) {
            const QString name = textOf(row.toObject(), "name");
            latin = latin || name.contains(QLatin1Char('a'));
            cyrillic = cyrillic || name.contains(QChar(0x0430));
            umlaut = umlaut || name.contains(QChar(0xFC));
            const QString id = textOf(row.toObject(), "id");
            const QJsonArray records = client.get(QStringLiteral("/record/") + id).array();
            if (records.isEmpty())
                continue;
            ++recorded;
            const ApiClient::Answer analysis = client.post(
                QStringLiteral("/analysis"),
                {{QStringLiteral("patientId"), id},
                 {QStringLiteral("storageId"), QStringLiteral("notes")},
                 {QStringLiteral("records"), QJsonArray{records.last().toObject().value(QStringLiteral("id"))}}});
            QCOMPARE(analysis.status, 200);
            QVERIFY(!analysis.object().value(QStringLiteral("rows")).toArray().isEmpty());
        }
        QVERIFY(latin && cyrillic && umlaut);
        QVERIFY(recorded >= 5);
        QCOMPARE(server.stop(SIGTERM), 0);
    }
}

void TestServerProgram::demoOfServersThatStartTogether()
{
    for (int round = 0; round < 3; ++round) {
        const TestDatabase fresh;
        const QString path = fresh.location();
        std::atomic<int> started{0};
        std::vector<std::thread> starts;
        for (int i = 0; i < 5; ++i)
            starts.emplace_back([&path, &started] {
                ServerProcess server;
                if (server.start(path, {QStringLiteral("--demo")}))
                    ++started;
            });
        for (std::thread& start : starts)
            start.join();
        QCOMPARE(started.load(), 5);
    }
}

QTEST_GUILESS_MAIN(TestServerProgram)

#include "TestServerProgram.moc"
