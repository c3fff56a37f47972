// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/HttpServer.h"
#include "server/RequestHandler.h"
#include "server/TlsContext.h"
#include "tests/server/ApiClient.h"
#include "tests/server/ServerProcess.h"
#include "tests/server/TestWave.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <csignal>
#include <memory>
#include <thread>
#include <vector>

using namespace server;

namespace {

class Echo : public RequestHandler
{
public:
    Reply handle(const Request& request) override
    {
        ++handled;
        Reply reply;
        reply.body = request.path == "/large" ? QByteArray(largeBytes, 'x') : request.path + '|' + request.body;
        return reply;
    }

    Reply refuse(int status, const QByteArray&) override
    {
        Reply reply;
        reply.status = status;
        return reply;
    }

    static constexpr int largeBytes = 32 * 1024 * 1024;
    std::atomic<int> handled{0};
};

/// A server with settings of its own, which ends with it.
class Running
{
public:
    Running(RequestHandler& handler, const HttpSettings& settings)
        : m_server(handler, settings)
    {
        QString error;
        if (!m_server.bind(QStringLiteral("127.0.0.1"), 0, error))
            qFatal("%s", qPrintable(error));
        m_thread = std::thread([this] { m_server.run(); });
    }
    ~Running()
    {
        m_server.stop();
        m_thread.join();
    }

    quint16 port() const { return quint16(m_server.port()); }

private:
    HttpServer m_server;
    std::thread m_thread;
};

/// Clients of this class trust the root of these tests, for the time that it lasts.
class Trust
{
public:
    explicit Trust(const QString& root)
        : m_before(QSslConfiguration::defaultConfiguration())
    {
        QSslConfiguration trusting = m_before;
        trusting.setCaCertificates(QSslCertificate::fromPath(root));
        QSslConfiguration::setDefaultConfiguration(trusting);
    }
    ~Trust() { QSslConfiguration::setDefaultConfiguration(m_before); }
    Trust(const Trust&) = delete;
    Trust& operator=(const Trust&) = delete;

private:
    QSslConfiguration m_before;
};

/// Everything that comes until the server closes.
QByteArray all(QTcpSocket& socket)
{
    QByteArray received;
    while (socket.state() != QAbstractSocket::UnconnectedState && socket.waitForReadyRead(60000))
        received += socket.readAll();
    return received + socket.readAll();
}

const QByteArray closing = "Connection: close\r\n\r\n";

} // namespace

/// The server behind TLS: who is let in, what its files may be, and that nobody can hold it up.
class TestServerTls : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void servesTheClient();
    void isNotTrustedByOthers();
    void showsTheChain();
    void refusesBodiesUnread();
    void keepsTheConnection();
    void takesVersionsAndCiphers_data();
    void takesVersionsAndCiphers();
    void plainHttpIsNotAnswered();
    void answersBesideStalledHandshakes();
    void cutsStalledHandshakesOff();
    void cutsSlowClientsOff();
    void cutsReadersOff();
    void survivesBrokenConnections();

    void refusesFiles_data();
    void refusesFiles();
    void warnsOfAnExpiredCertificate();
    void readsTheFilesAgain();
    void listensBeyondLoopback();
    void refusesToListenInTheClear();

private:
    QString file(const QByteArray& name) const { return m_folder.filePath(QString::fromLatin1(name)); }
    bool write(const char* name, const QByteArray& content) const;
    QByteArray content(const char* name) const;
    /// Runs openssl in the folder of the files.
    bool openssl(const QString& arguments) const;
    QStringList tlsOptions(const QByteArray& certificate, const QByteArray& key) const;
    HttpSettings settings() const;
    std::unique_ptr<QSslSocket> connected(quint16 port) const;
    QByteArray asked(quint16 port, const QByteArray& path) const;

    QTemporaryDir m_folder;
};

bool TestServerTls::write(const char* name, const QByteArray& text) const
{
    QFile written(file(name));
    return written.open(QIODevice::WriteOnly) && written.write(text) == text.size();
}

QByteArray TestServerTls::content(const char* name) const
{
    QFile read(file(name));
    return read.open(QIODevice::ReadOnly) ? read.readAll() : QByteArray();
}

bool TestServerTls::openssl(const QString& arguments) const
{
    QProcess process;
    process.setWorkingDirectory(m_folder.path());
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral("openssl"), arguments.split(QLatin1Char(' ')));
    if (process.waitForFinished() && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return true;
    qWarning("openssl %s: %s", qPrintable(arguments), process.readAll().constData());
    return false;
}

QStringList TestServerTls::tlsOptions(const QByteArray& certificate, const QByteArray& key) const
{
    return {QStringLiteral("--tls-certificate"), file(certificate), QStringLiteral("--tls-key"), file(key)};
}

HttpSettings TestServerTls::settings() const
{
    HttpSettings made;
    QString error;
    made.tls = TlsContext::load(file("chain.pem"), file("server.key"), error);
    if (!made.tls)
        qFatal("%s", qPrintable(error));
    return made;
}

std::unique_ptr<QSslSocket> TestServerTls::connected(quint16 port) const
{
    auto socket = std::make_unique<QSslSocket>();
    QSslConfiguration trusting = socket->sslConfiguration();
    trusting.setCaCertificates(QSslCertificate::fromPath(file("root.pem")));
    socket->setSslConfiguration(trusting);
    socket->connectToHostEncrypted(QStringLiteral("127.0.0.1"), port);
    if (!socket->waitForEncrypted())
        qWarning("no connection: %s", qPrintable(socket->errorString()));
    return socket;
}

QByteArray TestServerTls::asked(quint16 port, const QByteArray& path) const
{
    const auto client = connected(port);
    client->write("GET " + path + " HTTP/1.1\r\n" + closing);
    const QByteArray reply = all(*client);
    return reply.mid(reply.indexOf("\r\n\r\n") + 4);
}

void TestServerTls::initTestCase()
{
    QVERIFY(m_folder.isValid());
    const QString key = QStringLiteral("-newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes ");
    QVERIFY(write("authority.ext", "basicConstraints=critical,CA:TRUE\n"));
    QVERIFY(write("server.ext", "subjectAltName=IP:127.0.0.1\n"));
    QVERIFY(openssl(QStringLiteral("req -x509 ") + key +
                    QStringLiteral("-days 2 -subj /CN=root -keyout root.key -out root.pem")));
    QVERIFY(
        openssl(QStringLiteral("req ") + key + QStringLiteral("-subj /CN=middle -keyout middle.key -out middle.csr")));
    QVERIFY(openssl(QStringLiteral("x509 -req -in middle.csr -CA root.pem -CAkey root.key -CAcreateserial -days 2 "
                                   "-extfile authority.ext -out middle.pem")));
    for (const char* name : {"server", "other"}) {
        QVERIFY(openssl(QStringLiteral("req ") + key +
                        QStringLiteral("-subj /CN=%1 -keyout %1.key -out %1.csr").arg(QLatin1String(name))));
        QVERIFY(openssl(QStringLiteral("x509 -req -in %1.csr -CA middle.pem -CAkey middle.key -CAcreateserial -days 2 "
                                       "-extfile server.ext -out %1.pem")
                            .arg(QLatin1String(name))));
    }
    QVERIFY(openssl(QStringLiteral("x509 -req -in server.csr -CA middle.pem -CAkey middle.key -CAcreateserial "
                                   "-days -1 -extfile server.ext -out expired.pem")));
    QVERIFY(write("chain.pem", content("server.pem") + content("middle.pem")));
    QVERIFY(write("other-chain.pem", content("other.pem") + content("middle.pem")));
    QVERIFY(write("expired-chain.pem", content("expired.pem") + content("middle.pem")));

    QVERIFY(openssl(QStringLiteral("pkey -in server.key -aes256 -passout pass:secret -out encrypted.key")));
    QVERIFY(openssl(QStringLiteral("req -x509 -newkey rsa:1024 -nodes -subj /CN=weak -keyout weak.key -out weak.pem")));
    QVERIFY(openssl(QStringLiteral("x509 -in server.pem -outform DER -out server.der")));
    QVERIFY(write("empty.pem", QByteArray()));
    QVERIFY(write("text.pem", "no certificate\n"));
    QVERIFY(write("cut.pem", content("server.pem").left(content("server.pem").size() / 2)));
    QByteArray damaged = content("middle.pem");
    damaged.replace(damaged.size() / 2, 4, "????");
    QVERIFY(write("damaged.pem", content("server.pem") + damaged));
    QVERIFY(QDir(m_folder.path()).mkdir(QStringLiteral("folder")));
}

void TestServerTls::servesTheClient()
{
    const QString database = file("served.sqlite");
    QVERIFY(ServerProcess::addPractitioner(database, QStringLiteral("anna"), QStringLiteral("secret")));
    ServerProcess process;
    QVERIFY(process.start(database, tlsOptions("chain.pem", "server.key")));
    QVERIFY(process.url().startsWith(QStringLiteral("https://127.0.0.1:")));
    const Trust trust(file("root.pem"));
    ApiClient client(process.url());
    QCOMPARE(client.login(QStringLiteral("anna"), QStringLiteral("secret")).status, 200);
    const QJsonObject patient{{QStringLiteral("name"), QStringLiteral("Kept")},
                              {QStringLiteral("birthDate"), QStringLiteral("1970-01-01")},
                              {QStringLiteral("gender"), QStringLiteral("FEMALE")}};
    const QString id = client.post(QStringLiteral("/patient"), patient).object().value(QStringLiteral("id")).toString();
    for (int i = 1; i <= 3; ++i) {
        QCOMPARE(client.upload(id, testWave(440)).status, 200);
        QCOMPARE(client.get(QStringLiteral("/record/") + id).array().size(), i);
    }
    QVERIFY(client.upload(id, QByteArray(1200 * 1024, 'x')).failed(413));
    QVERIFY(client.get(QStringLiteral("/none")).failed(404));
    QCOMPARE(process.stop(SIGTERM), 0);
    QCOMPARE(process.errors(), QByteArray());
}

void TestServerTls::isNotTrustedByOthers()
{
    Echo echo;
    Running running(echo, settings());
    ApiClient client(QStringLiteral("https://127.0.0.1:%1").arg(running.port()));
    QCOMPARE(client.get(QStringLiteral("/secret")).status, 0);
    QCOMPARE(echo.handled.load(), 0);
    const Trust trust(file("root.pem"));
    QCOMPARE(ApiClient(QStringLiteral("https://127.0.0.1:%1").arg(running.port())).get(QStringLiteral("/a")).status,
             200);
    // The certificate is for the address, not for the name.
    QCOMPARE(ApiClient(QStringLiteral("https://localhost:%1").arg(running.port())).get(QStringLiteral("/a")).status, 0);
}

void TestServerTls::showsTheChain()
{
    Echo echo;
    Running running(echo, settings());
    const auto client = connected(running.port());
    QVERIFY(client->isEncrypted());
    QCOMPARE(client->peerCertificate().subjectInfo(QSslCertificate::CommonName), QStringList{QStringLiteral("server")});
    QVERIFY(client->peerCertificateChain().contains(QSslCertificate::fromPath(file("middle.pem")).value(0)));
}

void TestServerTls::refusesBodiesUnread()
{
    Echo echo;
    Running running(echo, settings());
    for (const char* head :
         {"PUT / HTTP/1.1\r\nContent-Length: 4000000\r\n\r\n", "PUT / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n",
          "GET / HTTP/1.1\r\nContent-Length: 4000000\r\n\r\n"}) {
        const auto client = connected(running.port());
        client->write(head);
        client->write(QByteArray(4000000, 'x'));
        // All of it is taken before the end.
        while (client->bytesToWrite() > 0 || client->encryptedBytesToWrite() > 0)
            QVERIFY2(client->waitForBytesWritten(), head);
        QVERIFY2(all(*client).startsWith("HTTP/1.1 "), head);
    }
    QCOMPARE(echo.handled.load(), 0);
}

void TestServerTls::keepsTheConnection()
{
    Echo echo;
    Running running(echo, settings());
    const auto client = connected(running.port());
    QByteArray expected;
    QByteArray replies;
    for (const int size : {0, 1, 100, 16 * 1024, 100000, HttpServer::maxBodyBytes}) {
        const QByteArray body(size, 'y');
        client->write("POST /p HTTP/1.1\r\nContent-Length: " + QByteArray::number(size) + "\r\n\r\n" + body);
        expected += "/p|" + body;
    }
    client->write("GET /q HTTP/1.1\r\n" + closing);
    expected += "/q|";
    const QByteArray received = all(*client);
    for (int at = 0; (at = received.indexOf("\r\n\r\n", at)) >= 0;) {
        at += 4;
        const int end = received.indexOf("HTTP/1.1 ", at);
        replies += received.mid(at, end < 0 ? -1 : end - at);
    }
    QCOMPARE(replies, expected);
    QCOMPARE(asked(running.port(), "/large"), QByteArray(Echo::largeBytes, 'x'));
}

void TestServerTls::takesVersionsAndCiphers_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QByteArray>("refusal");
    QTest::newRow("TLS 1.0") << QStringLiteral("-tls1 -cipher DEFAULT@SECLEVEL=0") << QByteArray("protocol version");
    QTest::newRow("TLS 1.1") << QStringLiteral("-tls1_1 -cipher DEFAULT@SECLEVEL=0") << QByteArray("protocol version");
    QTest::newRow("TLS 1.2") << QStringLiteral("-tls1_2") << QByteArray();
    QTest::newRow("TLS 1.3") << QStringLiteral("-tls1_3") << QByteArray();
    QTest::newRow("sound cipher") << QStringLiteral("-tls1_2 -cipher ECDHE-ECDSA-AES256-GCM-SHA384") << QByteArray();
    QTest::newRow("older cipher") << QStringLiteral("-tls1_2 -cipher ECDHE-ECDSA-AES256-SHA384")
                                  << QByteArray("handshake failure");
}

void TestServerTls::takesVersionsAndCiphers()
{
    QFETCH(QString, options);
    QFETCH(QByteArray, refusal);
    Echo echo;
    Running running(echo, settings());
    QProcess client;
    client.setProcessChannelMode(QProcess::MergedChannels);
    client.start(QStringLiteral("openssl"),
                 QStringLiteral("s_client -connect 127.0.0.1:%1 -verify_return_error -ign_eof %2")
                         .arg(running.port())
                         .arg(options)
                         .split(QLatin1Char(' ')) +
                     QStringList{QStringLiteral("-CAfile"), file("root.pem")});
    client.write("GET /a HTTP/1.1\r\n" + closing);
    client.closeWriteChannel();
    QVERIFY(client.waitForFinished());
    const QByteArray output = client.readAll();
    QVERIFY2(output.contains("/a|") == refusal.isEmpty(), output.constData());
    QVERIFY2(output.contains(refusal), output.constData());
    QCOMPARE(echo.handled.load(), refusal.isEmpty() ? 1 : 0);
}

void TestServerTls::plainHttpIsNotAnswered()
{
    Echo echo;
    Running running(echo, settings());
    QTcpSocket plain;
    plain.connectToHost(QStringLiteral("127.0.0.1"), running.port());
    QVERIFY(plain.waitForConnected());
    plain.write("GET /a HTTP/1.1\r\n" + closing);
    QVERIFY(!all(plain).contains("200"));
    QCOMPARE(echo.handled.load(), 0);
    QCOMPARE(asked(running.port(), "/b"), QByteArray("/b|"));
}

void TestServerTls::answersBesideStalledHandshakes()
{
    Echo echo;
    HttpSettings patient = settings();
    patient.handshakeTime = std::chrono::minutes(10);
    Running running(echo, patient);
    std::vector<std::unique_ptr<QTcpSocket>> stalled;
    // The beginning of a handshake, and nothing at all.
    const QByteArray hello("\x16\x03\x01\x02\x00\x01", 6);
    for (int i = 0; i < 2 * 3 * HttpServer::threads; ++i) {
        stalled.push_back(std::make_unique<QTcpSocket>());
        stalled.back()->connectToHost(QStringLiteral("127.0.0.1"), running.port());
        QVERIFY(stalled.back()->waitForConnected());
        if (i % 2 == 0) {
            stalled.back()->write(hello);
            QVERIFY(stalled.back()->waitForBytesWritten());
        }
    }
    for (int i = 0; i < 5; ++i)
        QCOMPARE(asked(running.port(), "/a"), QByteArray("/a|"));
    for (const auto& socket : stalled) {
        QVERIFY(!socket->waitForReadyRead(0));
        QCOMPARE(socket->state(), QAbstractSocket::ConnectedState);
    }
}

void TestServerTls::cutsStalledHandshakesOff()
{
    Echo echo;
    HttpSettings hasty = settings();
    hasty.handshakeTime = std::chrono::milliseconds(200);
    Running running(echo, hasty);
    std::vector<std::unique_ptr<QTcpSocket>> stalled;
    for (int i = 0; i < 3 * HttpServer::threads; ++i) {
        stalled.push_back(std::make_unique<QTcpSocket>());
        stalled.back()->connectToHost(QStringLiteral("127.0.0.1"), running.port());
        QVERIFY(stalled.back()->waitForConnected());
        stalled.back()->write(QByteArray("\x16\x03\x01\x02", i % 5));
    }
    for (const auto& socket : stalled) {
        QCOMPARE(all(*socket), QByteArray());
        QCOMPARE(socket->error(), QAbstractSocket::RemoteHostClosedError);
    }
}

void TestServerTls::cutsSlowClientsOff()
{
    Echo echo;
    HttpSettings hasty = settings();
    hasty.requestTime = std::chrono::milliseconds(300);
    hasty.idleTime = std::chrono::milliseconds(300);
    Running running(echo, hasty);
    const auto silent = connected(running.port());
    QCOMPARE(all(*silent), QByteArray());
    const auto half = connected(running.port());
    half->write("PUT / HTTP/1.1\r\nContent-Length: 9\r\n\r\n12345678");
    QVERIFY(all(*half).startsWith("HTTP/1.1 400 "));
    const auto idle = connected(running.port());
    idle->write("GET /a HTTP/1.1\r\n\r\n");
    QVERIFY(all(*idle).endsWith("/a|"));
    QCOMPARE(echo.handled.load(), 1);
}

void TestServerTls::cutsReadersOff()
{
    Echo echo;
    HttpSettings hasty = settings();
    hasty.connections = 1;
    hasty.replyTime = std::chrono::milliseconds(200);
    hasty.replyRate = 1024 * 1024 * 1024;
    Running running(echo, hasty);
    const auto reader = connected(running.port());
    reader->write("GET /large HTTP/1.1\r\n" + closing);
    QVERIFY(reader->waitForBytesWritten());
    QTRY_COMPARE(echo.handled.load(), 1);
    // No event of the reader is handled from here on, and there is room for another one when the reader has gone.
    QCOMPARE(asked(running.port(), "/next"), QByteArray("/next|"));
    QVERIFY(all(*reader).size() < Echo::largeBytes);
}

void TestServerTls::survivesBrokenConnections()
{
    Echo echo;
    Running running(echo, settings());
    for (int i = 0; i < 20; ++i) {
        const auto half = connected(running.port());
        half->write("POST /p HTTP/1.1\r\nContent-Length: 1000\r\n\r\nabc");
        QVERIFY(half->waitForBytesWritten());
        half->abort();
        const auto deaf = connected(running.port());
        deaf->write("GET /large HTTP/1.1\r\n\r\n");
        QVERIFY(deaf->waitForBytesWritten());
        deaf->abort();
        QTcpSocket broken;
        broken.connectToHost(QStringLiteral("127.0.0.1"), running.port());
        QVERIFY(broken.waitForConnected());
        broken.write(QByteArray("\x16\x03\x01\x00\x05\x01\x00\x00\x01\xff", 10));
        QVERIFY(broken.waitForBytesWritten());
        broken.abort();
    }
    QCOMPARE(asked(running.port(), "/a"), QByteArray("/a|"));
}

void TestServerTls::refusesFiles_data()
{
    QTest::addColumn<QByteArray>("certificate");
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QByteArray>("reason");
    const QByteArray chain = "chain.pem";
    const QByteArray key = "server.key";
    QTest::newRow("no certificate") << QByteArray("none.pem") << key << QByteArray("No such file");
    QTest::newRow("no key") << chain << QByteArray("none.key") << QByteArray("No such file");
    QTest::newRow("a folder for a certificate") << QByteArray("folder") << key << QByteArray("cannot read");
    QTest::newRow("a folder for a key") << chain << QByteArray("folder") << QByteArray("cannot read");
    QTest::newRow("empty certificate") << QByteArray("empty.pem") << key << QByteArray("is empty");
    QTest::newRow("empty key") << chain << QByteArray("empty.pem") << QByteArray("is empty");
    QTest::newRow("text for a certificate") << QByteArray("text.pem") << key << QByteArray("no certificate in PEM");
    QTest::newRow("text for a key") << chain << QByteArray("text.pem") << QByteArray("no private key in PEM");
    QTest::newRow("half a certificate") << QByteArray("cut.pem") << key << QByteArray("no certificate in PEM");
    QTest::newRow("DER for a certificate") << QByteArray("server.der") << key << QByteArray("no certificate in PEM");
    QTest::newRow("damaged chain") << QByteArray("damaged.pem") << key << QByteArray("is damaged");
    QTest::newRow("the two for each other") << key << chain << QByteArray("no certificate in PEM");
    QTest::newRow("key of another certificate") << chain << QByteArray("other.key") << QByteArray("does not belong");
    QTest::newRow("encrypted key") << chain << QByteArray("encrypted.key") << QByteArray("is encrypted");
    QTest::newRow("weak key") << QByteArray("weak.pem") << QByteArray("weak.key") << QByteArray("too small");
}

void TestServerTls::refusesFiles()
{
    QFETCH(QByteArray, certificate);
    QFETCH(QByteArray, key);
    QFETCH(QByteArray, reason);
    const auto outcome = ServerProcess::run(QStringList{QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0"),
                                                        QStringLiteral("--database"), file("refused.sqlite")} +
                                            tlsOptions(certificate, key));
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY2(outcome.errors.contains(reason), outcome.errors.constData());
    QVERIFY(outcome.errors.startsWith("quelmar-server: "));
    QCOMPARE(outcome.errors.count('\n'), 1);
    QVERIFY2(outcome.errors.contains(file(certificate).toUtf8()) || outcome.errors.contains(file(key).toUtf8()),
             outcome.errors.constData());
    QVERIFY(!outcome.output.contains("listening"));
}

void TestServerTls::warnsOfAnExpiredCertificate()
{
    ServerProcess process;
    QVERIFY(process.start(file("expired.sqlite"), tlsOptions("expired-chain.pem", "server.key")));
    const Trust trust(file("root.pem"));
    QCOMPARE(ApiClient(process.url()).get(QStringLiteral("/patient")).status, 0);
    QCOMPARE(process.stop(SIGTERM), 0);
    QCOMPARE(process.errors(),
             "quelmar-server: the certificate " + file("expired-chain.pem").toUtf8() + " has expired\n");
}

void TestServerTls::readsTheFilesAgain()
{
    QVERIFY(write("live.pem", content("chain.pem")));
    QVERIFY(write("live.key", content("server.key")));
    ServerProcess process;
    QVERIFY(process.start(file("reload.sqlite"), tlsOptions("live.pem", "live.key")));
    const auto shown = [&] {
        return connected(process.port())
            ->peerCertificate()
            .subjectInfo(QSslCertificate::CommonName)
            .join(QLatin1Char(','));
    };
    const auto before = connected(process.port());
    QCOMPARE(shown(), QStringLiteral("server"));

    QVERIFY(write("live.pem", content("other-chain.pem")));
    QByteArray errors;
    ::kill(pid_t(process.processId()), SIGHUP);
    QTRY_VERIFY((errors += process.errors()).endsWith("stays in use\n"));
    QVERIFY2(errors.contains("does not belong"), errors.constData());
    QCOMPARE(shown(), QStringLiteral("server"));

    QVERIFY(write("live.key", content("other.key")));
    ::kill(pid_t(process.processId()), SIGHUP);
    QTRY_VERIFY(process.output().contains("was read again"));
    QCOMPARE(shown(), QStringLiteral("other"));
    // A connection of before goes on.
    before->write("GET /patient HTTP/1.1\r\n" + closing);
    QVERIFY(all(*before).startsWith("HTTP/1.1 401 "));
    QCOMPARE(process.stop(SIGTERM), 0);
}

void TestServerTls::listensBeyondLoopback()
{
    const QStringList everywhere{QStringLiteral("--listen"), QStringLiteral("0.0.0.0:0")};
    ServerProcess process;
    QVERIFY(process.start(file("open.sqlite"), everywhere + tlsOptions("chain.pem", "server.key")));
    QVERIFY(process.url().startsWith(QStringLiteral("https://0.0.0.0:")));
    QVERIFY(connected(process.port())->isEncrypted());
    QCOMPARE(process.stop(SIGTERM), 0);
    QVERIFY(process.start(file("open.sqlite"), everywhere + QStringList{QStringLiteral("--plain-http")}));
    QCOMPARE(
        ApiClient(QStringLiteral("http://127.0.0.1:%1").arg(process.port())).get(QStringLiteral("/patient")).status,
        401);
    QCOMPARE(process.stop(SIGTERM), 0);
}

void TestServerTls::refusesToListenInTheClear()
{
    for (const char* address : {"0.0.0.0:0", "[::]:0"}) {
        const auto outcome = ServerProcess::run({QStringLiteral("--listen"), QString::fromLatin1(address),
                                                 QStringLiteral("--database"), file("clear.sqlite")});
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY(outcome.errors.startsWith("quelmar-server: cannot listen on "));
        QCOMPARE(outcome.errors.count('\n'), 1);
        for (const char* way : {"--tls-certificate", "--tls-key", "--plain-http"})
            QVERIFY2(outcome.errors.contains(way), outcome.errors.constData());
        QVERIFY(!outcome.output.contains("listening"));
    }
}

QTEST_GUILESS_MAIN(TestServerTls)

#include "TestServerTls.moc"
