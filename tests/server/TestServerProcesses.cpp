// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/ApiClient.h"
#include "tests/server/ServerProcess.h"
#include "tests/server/TestDatabase.h"
#include "tests/server/TestWave.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QSet>
#include <QSqlQuery>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <csignal>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

QJsonObject patientBody(const QString& name)
{
    return {{QStringLiteral("name"), name},
            {QStringLiteral("birthDate"), QStringLiteral("1970-01-01")},
            {QStringLiteral("gender"), QStringLiteral("FEMALE")}};
}

QJsonObject recipeBody(const QString& patient, const QString& record, const QStringList& markers)
{
    return {{QStringLiteral("patientId"), patient},
            {QStringLiteral("recordId"), record},
            {QStringLiteral("markers"), QJsonArray::fromStringList(markers)}};
}

QString textOf(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1String(key)).toString();
}

QStringList idsOf(const QJsonArray& array)
{
    QStringList ids;
    for (const QJsonValue& element : array)
        ids.append(textOf(element.toObject(), "id"));
    return ids;
}

QStringList patientIds(ApiClient& client)
{
    return idsOf(client.get(QStringLiteral("/patient")).object().value(QStringLiteral("data")).toArray());
}

} // namespace

/// Several servers on one database: nothing that one of them does depends on what another one remembers.
class TestServerProcesses : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void requestsAlternate();
    void sessionsEndEverywhere();
    void startTogether();
    void onePractitionerOfAName();
    void changesAtOnce();
    void deletionAgainstUploads();
    void oneEndsTheOtherServes();
    void behindAProxy();

private:
    /// With a practitioner "anna" and two servers, the clients of which share her session.
    bool startTwo();
    QVariant sql(const QString& statement);
    /// Runs the work on threads of its own, each with a client of one of the servers, in turn.
    void together(int threads, const std::function<void(ApiClient&, int)>& work);

    std::unique_ptr<TestDatabase> m_database;
    std::unique_ptr<ServerProcess> m_first;
    std::unique_ptr<ServerProcess> m_second;
    std::unique_ptr<ApiClient> m_one;
    std::unique_ptr<ApiClient> m_two;
};

void TestServerProcesses::init()
{
    m_database = std::make_unique<TestDatabase>();
}

void TestServerProcesses::cleanup()
{
    m_one.reset();
    m_two.reset();
    for (std::unique_ptr<ServerProcess>* server : {&m_first, &m_second}) {
        if (*server) {
            QCOMPARE((*server)->stop(SIGTERM), 0);
            QCOMPARE((*server)->errors(), QByteArray());
        }
        server->reset();
    }
    m_database.reset();
}

bool TestServerProcesses::startTwo()
{
    m_first = std::make_unique<ServerProcess>();
    m_second = std::make_unique<ServerProcess>();
    if (!ServerProcess::addPractitioner(m_database->location(), QStringLiteral("anna"), QStringLiteral("secret")) ||
        !m_first->start(m_database->location()) || !m_second->start(m_database->location()))
        return false;
    m_one = std::make_unique<ApiClient>(m_first->url());
    m_two = std::make_unique<ApiClient>(m_second->url());
    if (m_one->login(QStringLiteral("anna"), QStringLiteral("secret")).status != 200)
        return false;
    m_two->token = m_one->token;
    return m_database->connect();
}

QVariant TestServerProcesses::sql(const QString& statement)
{
    QSqlQuery query;
    if (!query.exec(statement))
        return QVariant();
    return query.next() ? query.value(0) : QVariant(0);
}

void TestServerProcesses::together(int threads, const std::function<void(ApiClient&, int)>& work)
{
    std::vector<std::thread> running;
    for (int t = 0; t < threads; ++t) {
        running.emplace_back([this, t, &work] {
            ApiClient client((t % 2 == 0 ? m_first : m_second)->url());
            client.token = m_one->token;
            work(client, t);
        });
    }
    for (std::thread& thread : running)
        thread.join();
}

void TestServerProcesses::requestsAlternate()
{
    QVERIFY(startTwo());
    const QString patient =
        textOf(m_two->post(QStringLiteral("/patient"), patientBody(QStringLiteral("A"))).object(), "id");
    QVERIFY(!patient.isEmpty());
    QCOMPARE(patientIds(*m_one), QStringList{patient});

    QJsonObject changed = patientBody(QStringLiteral("B"));
    changed.insert(QStringLiteral("id"), patient);
    QCOMPARE(m_one->put(QStringLiteral("/patient"), changed).status, 200);
    const QString filter = ApiClient::filter({}, {}, 20, 0, {}, QStringLiteral("B"));
    QCOMPARE(idsOf(m_two->get(filter).object().value(QStringLiteral("data")).toArray()), QStringList{patient});

    const QString record = textOf(m_two->upload(patient, testWave(440)).object(), "id");
    QVERIFY(!record.isEmpty());
    QCOMPARE(idsOf(m_one->get(QStringLiteral("/record/") + patient).array()), QStringList{record});
    const QJsonObject analysis{{QStringLiteral("patientId"), patient},
                               {QStringLiteral("storageId"), QStringLiteral("notes")},
                               {QStringLiteral("records"), QJsonArray{record}}};
    const ApiClient::Answer rows = m_one->post(QStringLiteral("/analysis"), analysis);
    QCOMPARE(rows.status, 200);
    QCOMPARE(m_two->post(QStringLiteral("/analysis"), analysis).body, rows.body);

    const QString recipe = QStringLiteral("/recipe/%1/%2").arg(patient, record);
    const QStringList markers{QStringLiteral("note-a4"), QStringLiteral("note-c4")};
    QCOMPARE(m_one->put(QStringLiteral("/recipe"), recipeBody(patient, record, markers)).status, 200);
    QCOMPARE(idsOf(m_two->get(recipe).array()), markers);
    QCOMPARE(m_two->post(QStringLiteral("/recipe"), recipeBody(patient, record, markers)).status, 200);
    QCOMPARE(m_one->post(QStringLiteral("/export/excel"), {{QStringLiteral("patientId"), patient}}).status, 200);

    QCOMPARE(m_two->remove(QStringLiteral("/record/%1/%2").arg(patient, record)).status, 200);
    QVERIFY(m_one->get(recipe).failed(404));
    QCOMPARE(m_one->remove(QStringLiteral("/patient/") + patient).status, 200);
    QVERIFY(m_two->get(QStringLiteral("/record/") + patient).failed(404));
    QCOMPARE(patientIds(*m_two), QStringList());
}

void TestServerProcesses::sessionsEndEverywhere()
{
    QVERIFY(startTwo());
    QCOMPARE(m_two->login(QStringLiteral("anna"), QStringLiteral("secret")).status, 200);
    QVERIFY(m_two->token != m_one->token);
    ApiClient crossed(m_first->url());
    crossed.token = m_two->token;
    QCOMPARE(crossed.get(QStringLiteral("/patient")).status, 200);
    sql(QStringLiteral("UPDATE sessions SET expires_at = '2020-01-01T00:00:00.000Z'"));
    for (ApiClient* client : {m_one.get(), m_two.get(), &crossed})
        QVERIFY(client->get(QStringLiteral("/patient")).failed(401));
}

void TestServerProcesses::startTogether()
{
    std::vector<std::unique_ptr<ServerProcess>> servers;
    for (int i = 0; i < 5; ++i) {
        servers.push_back(std::make_unique<ServerProcess>());
        servers.back()->launch(m_database->location(), {QStringLiteral("--demo")});
    }
    for (const auto& server : servers) {
        QVERIFY(server->waitUntilItListens());
        ApiClient client(server->url());
        QCOMPARE(client.login(QStringLiteral("demo"), QStringLiteral("demo")).status, 200);
        QCOMPARE(patientIds(client).size(), 12);
    }
    QVERIFY(m_database->connect());
    QCOMPARE(sql(QStringLiteral("SELECT COUNT(*) FROM practitioners")).toInt(), 1);
    QCOMPARE(sql(QStringLiteral("SELECT COUNT(*) FROM schema_version")),
             sql(QStringLiteral("SELECT MAX(version) FROM schema_version")));
    for (const auto& server : servers) {
        QCOMPARE(server->stop(SIGTERM), 0);
        QCOMPARE(server->errors(), QByteArray());
    }
}

void TestServerProcesses::onePractitionerOfAName()
{
    QVERIFY(ServerProcess::addPractitioner(m_database->location(), QStringLiteral("first"), QStringLiteral("x")));
    std::atomic<int> added{0};
    std::vector<std::thread> running;
    for (int t = 0; t < 4; ++t) {
        running.emplace_back([this, &added] {
            if (ServerProcess::addPractitioner(m_database->location(), QStringLiteral("anna"),
                                               QStringLiteral("secret")))
                ++added;
        });
    }
    for (std::thread& thread : running)
        thread.join();
    QCOMPARE(added.load(), 1);
    QVERIFY(m_database->connect());
    QCOMPARE(sql(QStringLiteral("SELECT COUNT(*) FROM practitioners")).toInt(), 2);
}

void TestServerProcesses::changesAtOnce()
{
    QVERIFY(startTwo());
    const QString patient =
        textOf(m_one->post(QStringLiteral("/patient"), patientBody(QStringLiteral("A"))).object(), "id");
    const QString shared = textOf(m_one->upload(patient, testWave(0)).object(), "id");
    constexpr int threads = 6;
    constexpr int each = 8;
    const QStringList pool{QStringLiteral("note-a4"), QStringLiteral("note-c4"), QStringLiteral("note-e4")};
    std::atomic<int> refused{0};
    together(threads, [&](ApiClient& client, int t) {
        const QByteArray wave = testWave(200 + 10 * t);
        // As many of one marker as no other thread saves: a mixture of two recipes would show.
        const QStringList markers = QStringList(QVector<QString>(t + 1, pool.at(t % pool.size())).toList());
        for (int i = 0; i < each; ++i) {
            QJsonObject changed = patientBody(QStringLiteral("T%1-%2").arg(t).arg(i));
            changed.insert(QStringLiteral("id"), patient);
            if (client.upload(patient, wave).status != 200 ||
                client.put(QStringLiteral("/recipe"), recipeBody(patient, shared, markers)).status != 200 ||
                client.put(QStringLiteral("/patient"), changed).status != 200 ||
                client.login(QStringLiteral("anna"), QStringLiteral("secret")).status != 200)
                ++refused;
        }
    });
    QCOMPARE(refused.load(), 0);
    const QStringList records = idsOf(m_two->get(QStringLiteral("/record/") + patient).array());
    QCOMPARE(records.size(), threads * each + 1);
    QCOMPARE(QSet<QString>(records.begin(), records.end()).size(), records.size());
    const QStringList saved = idsOf(m_one->get(QStringLiteral("/recipe/%1/%2").arg(patient, shared)).array());
    QVERIFY(!saved.isEmpty() && saved.size() <= threads);
    QCOMPARE(saved, QStringList(QVector<QString>(saved.size(), pool.at((saved.size() - 1) % pool.size())).toList()));
    QCOMPARE(sql(QStringLiteral("SELECT last_record_at FROM patients")),
             sql(QStringLiteral("SELECT MAX(recorded_at) FROM records")));
}

void TestServerProcesses::deletionAgainstUploads()
{
    QVERIFY(startTwo());
    std::atomic<int> strange{0};
    for (int round = 0; round < 6; ++round) {
        const QString patient =
            textOf(m_one->post(QStringLiteral("/patient"), patientBody(QStringLiteral("A"))).object(), "id");
        together(4, [&](ApiClient& client, int t) {
            for (int i = 0; i < 4; ++i) {
                const int status = t == 0 && i == 2 ? client.remove(QStringLiteral("/patient/") + patient).status
                                                    : client.upload(patient, testWave(300)).status;
                if (status != 200 && status != 404)
                    ++strange;
            }
        });
        QVERIFY(m_two->get(QStringLiteral("/record/") + patient).failed(404));
    }
    QCOMPARE(strange.load(), 0);
    QCOMPARE(sql(QStringLiteral("SELECT COUNT(*) FROM patients")), sql(QStringLiteral("SELECT 0")));
    QCOMPARE(sql(QStringLiteral("SELECT COUNT(*) FROM records")), sql(QStringLiteral("SELECT 0")));
}

void TestServerProcesses::oneEndsTheOtherServes()
{
    QVERIFY(startTwo());
    const QString patient =
        textOf(m_one->post(QStringLiteral("/patient"), patientBody(QStringLiteral("A"))).object(), "id");
    const QString record = textOf(m_one->upload(patient, testWave(440)).object(), "id");
    m_first->kill();
    m_first.reset();
    QCOMPARE(idsOf(m_two->get(QStringLiteral("/record/") + patient).array()), QStringList{record});
    QCOMPARE(m_two->upload(patient, testWave(440)).status, 200);
}

void TestServerProcesses::behindAProxy()
{
    QVERIFY(startTwo());
    QTemporaryDir folder;
    const auto file = [&folder](const char* name) { return folder.filePath(QString::fromLatin1(name)); };
    QProcess openssl;
    openssl.start(QStringLiteral("openssl"),
                  {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"), QStringLiteral("ec"),
                   QStringLiteral("-pkeyopt"), QStringLiteral("ec_paramgen_curve:prime256v1"), QStringLiteral("-nodes"),
                   QStringLiteral("-days"), QStringLiteral("2"), QStringLiteral("-subj"), QStringLiteral("/CN=quelmar"),
                   QStringLiteral("-addext"), QStringLiteral("subjectAltName=IP:127.0.0.1"), QStringLiteral("-keyout"),
                   file("key"), QStringLiteral("-out"), file("certificate")});
    QVERIFY(openssl.waitForFinished());
    QVERIFY2(openssl.exitCode() == 0, openssl.readAllStandardError().constData());

    quint16 port = 0;
    {
        QTcpServer free;
        QVERIFY(free.listen(QHostAddress::LocalHost));
        port = free.serverPort();
    }
    QFile shipped(QStringLiteral(QUELMAR_SOURCE_DIR "/packaging/nginx/quelmar.conf"));
    QVERIFY(shipped.open(QIODevice::ReadOnly));
    QByteArray site = shipped.readAll();
    const QVector<QPair<QByteArray, QByteArray>> places{
        {"127.0.0.1:18621", "127.0.0.1:" + QByteArray::number(m_first->port())},
        {"127.0.0.1:18622", "127.0.0.1:" + QByteArray::number(m_second->port())},
        {"listen 443 ssl", "listen 127.0.0.1:" + QByteArray::number(port) + " ssl"},
        {"/etc/ssl/certs/quelmar.pem", file("certificate").toUtf8()},
        {"/etc/ssl/private/quelmar.key", file("key").toUtf8()}};
    for (const auto& place : places) {
        QCOMPARE(site.count(place.first), 1);
        site.replace(place.first, place.second);
    }
    QByteArray frame = "daemon off; pid nginx.pid; error_log stderr warn; events {} http { access_log off;\n";
    // Its workers would give up the rights to this test's folder.
    if (::geteuid() == 0)
        frame.prepend("user root; ");
    for (const char* kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
        frame += QByteArray(kind) + "_temp_path " + kind + "; ";
    QFile configuration(file("nginx.conf"));
    QVERIFY(configuration.open(QIODevice::WriteOnly));
    configuration.write(frame + site + "}\n");
    configuration.close();

    QProcess nginx;
    nginx.setProcessChannelMode(QProcess::MergedChannels);
    nginx.start(QStringLiteral("setpriv"),
                {QStringLiteral("--pdeathsig"), QStringLiteral("TERM"), QStringLiteral("nginx"), QStringLiteral("-p"),
                 folder.path(), QStringLiteral("-c"), file("nginx.conf"), QStringLiteral("-e"),
                 QStringLiteral("stderr")});
    QVERIFY(nginx.waitForStarted());
    const auto accepts = [port] {
        QTcpSocket socket;
        socket.connectToHost(QStringLiteral("127.0.0.1"), port);
        return socket.waitForConnected(1000);
    };
    QTRY_VERIFY_WITH_TIMEOUT(accepts() || nginx.state() == QProcess::NotRunning, 30000);
    QVERIFY2(nginx.state() == QProcess::Running, nginx.readAll().constData());

    const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
    QSslConfiguration trusting = before;
    trusting.setCaCertificates(QSslCertificate::fromPath(file("certificate")));
    QSslConfiguration::setDefaultConfiguration(trusting);
    {
        ApiClient client(QStringLiteral("https://127.0.0.1:%1").arg(port));
        QCOMPARE(client.login(QStringLiteral("anna"), QStringLiteral("secret")).status, 200);
        QStringList patients;
        for (int i = 0; i < 6; ++i) {
            const QString patient = textOf(
                client.post(QStringLiteral("/patient"), patientBody(QStringLiteral("P%1").arg(i))).object(), "id");
            const QString record = textOf(client.upload(patient, testWave(440)).object(), "id");
            QVERIFY(!record.isEmpty());
            QCOMPARE(idsOf(client.get(QStringLiteral("/record/") + patient).array()), QStringList{record});
            const QStringList markers{QStringLiteral("note-a4")};
            QCOMPARE(client.put(QStringLiteral("/recipe"), recipeBody(patient, record, markers)).status, 200);
            QCOMPARE(idsOf(client.get(QStringLiteral("/recipe/%1/%2").arg(patient, record)).array()), markers);
            QCOMPARE(client.post(QStringLiteral("/recipe"), recipeBody(patient, record, markers)).status, 200);
            patients.append(patient);
        }
        QCOMPARE(patientIds(client), patients);
        QCOMPARE(client.remove(QStringLiteral("/patient/") + patients.takeFirst()).status, 200);
        // Failures are the server's own, also those about the size of a request.
        QVERIFY(client.get(QStringLiteral("/none")).failed(404));
        // A probe may come from outside; figures stay inside, whatever their address is made to look like.
        QCOMPARE(client.get(QStringLiteral("/health")).status, 200);
        for (const char* path : {"/metrics", "/metrics?x", "/metrics/", "//metrics", "/%6Detrics", "/x/../metrics"}) {
            const ApiClient::Answer answer = client.get(QString::fromLatin1(path));
            QVERIFY2(answer.status == 404 && !answer.body.contains("quelmar_"), path);
        }
        QCOMPARE(ApiClient(m_first->url()).get(QStringLiteral("/metrics")).status, 200);
        QVERIFY(client.upload(patients.first(), QByteArray(1200 * 1024, 'x')).failed(413));
        QVERIFY(client.get(QStringLiteral("/patient/filter?needle=") + QString(9000, QLatin1Char('a'))).failed(414));

        m_first->kill();
        m_first.reset();
        for (int i = 0; i < 6; ++i)
            QCOMPARE(patientIds(client), patients);
        QCOMPARE(client.upload(patients.first(), testWave(440)).status, 200);
    }
    QSslConfiguration::setDefaultConfiguration(before);
    nginx.terminate();
    QVERIFY(nginx.waitForFinished());
    QCOMPARE(nginx.exitCode(), 0);
}

QTEST_GUILESS_MAIN(TestServerProcesses)

#include "TestServerProcesses.moc"
