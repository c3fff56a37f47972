// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/HttpServer.h"
#include "server/RequestHandler.h"

#include <QSemaphore>
#include <QTcpSocket>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace server;

namespace {

/// Repeats what it was given, so that a test can see what the server made of the bytes on the wire.
class Echo : public RequestHandler
{
public:
    Reply handle(const Request& request) override
    {
        if (request.path == "/throw")
            throw std::runtime_error("inner secret");
        if (request.path == "/large") {
            Reply large;
            large.body = QByteArray(largeBytes, 'x');
            ++handled;
            return large;
        }
        if (request.path == "/wait") {
            ++handled;
            proceed.acquire();
        }
        if (request.path == "/headers") {
            Reply reply;
            reply.headers = {{"X-One", "1"},
                             {"X-Broken", "a\r\nX-Injected: b"},
                             {"X-Bare", "a\nX-Injected: b"},
                             {"X-Na\r\nX-Injected: me", "b"},
                             {"X-Two", "2"}};
            return reply;
        }
        ++handled;
        if (request.path == "/about") {
            const bool timely = request.arrived >= since && request.arrived <= std::chrono::steady_clock::now();
            Reply reply;
            reply.headers = {{"X-Peer", request.peer}, {"X-Timely", timely ? "yes" : "no"}};
            return reply;
        }
        Reply reply;
        reply.contentType = "text/plain";
        reply.body = request.method + '|' + request.path + '|' + request.query + '|' + request.body + '|' +
                     request.header("quelmar-id") + '|';
        for (const Request::Part& part : request.parts)
            reply.body += part.name + '=' + QByteArray::number(part.content.size()) + ';';
        return reply;
    }

    Reply refuse(int status, const QByteArray& acceptLanguage) override
    {
        Reply reply;
        reply.status = status;
        reply.body = "refused " + QByteArray::number(status) + ' ' + acceptLanguage;
        return reply;
    }

    /// Much more than the system keeps of a reply that nobody reads.
    static constexpr int largeBytes = 32 * 1024 * 1024;

    QSemaphore proceed; ///< what "/wait" waits for
    const std::chrono::steady_clock::time_point since = std::chrono::steady_clock::now();
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

    HttpServer& server() { return m_server; }
    int port() const { return m_server.port(); }

private:
    HttpServer m_server;
    std::thread m_thread;
};

/// A client that does nothing by itself: QTcpSocket would read.
class Raw
{
public:
    /// Connects from this address.
    explicit Raw(int port, const char* from = "127.0.0.1")
        : m_socket(::socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        inet_pton(AF_INET, from, &address.sin_addr);
        connected = ::bind(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        address.sin_port = htons(quint16(port));
        inet_pton(AF_INET, "127.0.0.1", &address.sin_addr);
        connected = connected && ::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~Raw() { ::close(m_socket); }
    Raw(const Raw&) = delete;
    Raw& operator=(const Raw&) = delete;

    bool send(const QByteArray& bytes)
    {
        return ::send(m_socket, bytes.constData(), size_t(bytes.size()), MSG_NOSIGNAL) == bytes.size();
    }
    /// Tells that nothing more is sent.
    void finish() { ::shutdown(m_socket, SHUT_WR); }
    /// Neither closed nor answered.
    bool hangs() const
    {
        char byte = 0;
        return ::recv(m_socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    }
    /// Everything up to the server's end of the connection.
    QByteArray all()
    {
        QByteArray received;
        std::vector<char> buffer(256 * 1024);
        for (ssize_t got = 1; got > 0;) {
            got = ::recv(m_socket, buffer.data(), buffer.size(), 0);
            received.append(buffer.data(), int(std::max<ssize_t>(got, 0)));
        }
        return received;
    }
    /// As much as there is, and at least so much unless the connection ends.
    QByteArray some(int bytes)
    {
        QByteArray received;
        char buffer[4096];
        while (received.size() < bytes) {
            const ssize_t got = ::recv(m_socket, buffer, sizeof buffer, 0);
            if (got <= 0)
                break;
            received.append(buffer, int(got));
        }
        return received;
    }

    bool connected = false;

private:
    int m_socket;
};

using Raws = std::vector<std::unique_ptr<Raw>>;

const QByteArray closing = "Connection: close\r\n\r\n";

/// The whole answer on a connection of its own.
QByteArray asked(int port, const QByteArray& path, const char* from = "127.0.0.1")
{
    Raw client(port, from);
    client.send("GET " + path + " HTTP/1.1\r\n" + closing);
    return client.all();
}

} // namespace

/// The wire below the operations: what the server accepts as a request, where it stops reading, and how it ends.
class TestServerHttp : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void passesRequestsOn_data();
    void passesRequestsOn();
    void tellsWhoAndWhen();
    void keepsTheConnection();
    void takesPipelinedRequests();
    void takesSlowRequests();
    void waitsForTheBodyAfterContinue();
    void refusesContinueForALargeBody();
    void takesTheLargestBody();
    void refuses_data();
    void refuses();
    void hangsUpOnAnEndlessAddress();
    void hangsUpOnAnEndlessRequest();
    void stopsWhileARequestIsRead();
    void closesWithBytesUnread();
    void survivesBrokenConnections();
    void headHasNoBody();
    void rangesAndEncodingsChangeNothing();
    void exceptionsAreNotTold();
    void servesMoreClientsThanThreads();
    void stopsBeforeItRuns();

    void answersBesideSlowClients();
    void cutsSlowClientsOff_data();
    void cutsSlowClientsOff();
    void cutsReadersOff();
    void sendsLargeReplies();
    void takesManyPipelinedRequests();
    void answersWhatEndsTooSoon();
    void makesRoomForConnections();
    void waitsForRoom();
    void limitsAnAddress();
    void believesProxies_data();
    void believesProxies();
    void breaksNoHead();
    void answersWhatWasReadBeforeTheStop();
    void keepsToLoopback_data();
    void keepsToLoopback();

private:
    std::unique_ptr<QTcpSocket> connected();
    /// Everything that comes until the server closes.
    QByteArray all(QTcpSocket& socket);
    /// One reply with a Content-Length.
    QByteArray one(QTcpSocket& socket);
    QByteArray exchange(const QByteArray& request);

    std::unique_ptr<Echo> m_echo;
    std::unique_ptr<HttpServer> m_server;
    std::thread m_thread;
    bool m_sound = false;
};

void TestServerHttp::init()
{
    m_echo = std::make_unique<Echo>();
    m_server = std::make_unique<HttpServer>(*m_echo);
    QString error;
    QVERIFY2(m_server->bind(QStringLiteral("127.0.0.1"), 0, error), qPrintable(error));
    QVERIFY(m_server->port() > 0);
    m_thread = std::thread([this] { m_sound = m_server->run(); });
}

void TestServerHttp::cleanup()
{
    m_server->stop();
    m_server->stop();
    m_thread.join();
    QVERIFY(m_sound);
    m_server.reset();
}

std::unique_ptr<QTcpSocket> TestServerHttp::connected()
{
    auto socket = std::make_unique<QTcpSocket>();
    socket->connectToHost(QStringLiteral("127.0.0.1"), quint16(m_server->port()));
    if (!socket->waitForConnected())
        qWarning("no connection");
    return socket;
}

QByteArray TestServerHttp::all(QTcpSocket& socket)
{
    QByteArray received;
    while (socket.state() != QAbstractSocket::UnconnectedState && socket.waitForReadyRead(60000))
        received += socket.readAll();
    return received + socket.readAll();
}

QByteArray TestServerHttp::one(QTcpSocket& socket)
{
    static const QByteArray key = "Content-Length: ";
    QByteArray received;
    int wanted = 0;
    // The head comes byte by byte, to leave what belongs to the next reply.
    while (wanted == 0 || received.size() < wanted) {
        if (socket.bytesAvailable() == 0 && !socket.waitForReadyRead(60000))
            break;
        received += socket.read(wanted == 0 ? 1 : wanted - received.size());
        if (wanted == 0 && received.endsWith("\r\n\r\n")) {
            const int at = received.indexOf(key) + key.size();
            wanted = received.size() + received.mid(at, received.indexOf('\r', at) - at).toInt();
        }
    }
    return received;
}

QByteArray TestServerHttp::exchange(const QByteArray& request)
{
    const auto socket = connected();
    socket->write(request);
    return all(*socket);
}

void TestServerHttp::passesRequestsOn_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("echo");
    const QByteArray close = "Connection: close\r\n";
    QTest::newRow("GET") << "GET /a/b?c=d&e HTTP/1.1\r\n" + close + "\r\n" << QByteArray("GET|/a/b|c=d&e|||");
    QTest::newRow("encoded") << "GET /a%2Fb%20?c=%26 HTTP/1.1\r\n" + close + "\r\n"
                             << QByteArray("GET|/a%2Fb%20|c=%26|||");
    QTest::newRow("long path") << "GET /" + QByteArray(8000, 'a') + " HTTP/1.1\r\n" + close + "\r\n"
                               << "GET|/" + QByteArray(8000, 'a') + "||||";
    QTest::newRow("POST") << "POST /p HTTP/1.1\r\nContent-Length: 3\r\n" + close + "\r\nabc"
                          << QByteArray("POST|/p||abc||");
    QTest::newRow("POST without a body") << "POST /p HTTP/1.1\r\n" + close + "\r\n" << QByteArray("POST|/p||||");
    QTest::newRow("PUT") << "PUT /p HTTP/1.1\r\nContent-Length: 0\r\n" + close + "\r\n" << QByteArray("PUT|/p||||");
    QTest::newRow("form") << "POST /p HTTP/1.1\r\nContent-Type: application/x-www-form-urlencoded\r\n"
                             "Content-Length: 8\r\n" +
                                 close + "\r\na=%26&b="
                          << QByteArray("POST|/p||a=%26&b=||");
    QTest::newRow("DELETE") << "DELETE /d HTTP/1.1\r\nContent-Type: application/json\r\n" + close + "\r\n"
                            << QByteArray("DELETE|/d||||");
    QTest::newRow("DELETE with a body") << "DELETE /d HTTP/1.1\r\nContent-Length: 2\r\n" + close + "\r\nxy"
                                        << QByteArray("DELETE|/d||xy||");
    QTest::newRow("header in any case") << "GET / HTTP/1.1\r\nqUELMAR-id: S 1\r\nQuelmar-ID: two\r\n" + close + "\r\n"
                                        << QByteArray("GET|/|||S 1|");
    QTest::newRow("HTTP/1.0") << QByteArray("GET /old HTTP/1.0\r\n\r\n") << QByteArray("GET|/old||||");
    const QByteArray parts = "--b\r\nContent-Disposition: form-data; name=\"x\"\r\n\r\n12345\r\n--b\r\n"
                             "Content-Disposition: form-data; name=\"y\"; filename=\"f\"\r\n"
                             "Content-Type: application/octet-stream\r\n\r\n\r\n--b--\r\n";
    QTest::newRow("parts") << "POST /u HTTP/1.1\r\nContent-Type: multipart/form-data; boundary=\"b\"\r\n"
                              "Content-Length: " +
                                  QByteArray::number(parts.size()) + "\r\n" + close + "\r\n" + parts
                           << QByteArray("POST|/u||||x=5;y=0;");
}

void TestServerHttp::passesRequestsOn()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, echo);
    const QByteArray reply = exchange(request);
    QVERIFY2(reply.startsWith("HTTP/1.1 200 OK\r\n"), reply.constData());
    QCOMPARE(reply.mid(reply.indexOf("\r\n\r\n") + 4), echo);
    QVERIFY(reply.contains("\r\nContent-Type: text/plain\r\n"));
    QVERIFY(reply.contains("\r\nConnection: close\r\n"));
}

void TestServerHttp::tellsWhoAndWhen()
{
    const QByteArray reply = exchange("GET /about HTTP/1.1\r\nConnection: close\r\n\r\n");
    QVERIFY2(reply.contains("\r\nX-Peer: 127.0.0.1\r\n"), reply.constData());
    QVERIFY2(reply.contains("\r\nX-Timely: yes\r\n"), reply.constData());
}

void TestServerHttp::keepsTheConnection()
{
    const auto socket = connected();
    for (int i = 0; i < 20; ++i) {
        const QByteArray body(i * 100, 'x');
        socket->write("POST /" + QByteArray::number(i) +
                      " HTTP/1.1\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body);
        const QByteArray reply = one(*socket);
        QVERIFY(reply.endsWith("POST|/" + QByteArray::number(i) + "||" + body + "||"));
        QVERIFY(!reply.contains("Connection: close"));
    }
}

void TestServerHttp::takesPipelinedRequests()
{
    const QByteArray replies = exchange("POST /1 HTTP/1.1\r\nContent-Length: 1\r\n\r\naGET /2 HTTP/1.1\r\n\r\n"
                                        "GET /3 HTTP/1.1\r\nConnection: close\r\n\r\n");
    QCOMPARE(replies.count("HTTP/1.1 200 OK"), 3);
    QVERIFY(replies.contains("POST|/1||a||"));
    QVERIFY(replies.indexOf("GET|/2") < replies.indexOf("GET|/3"));
}

void TestServerHttp::takesSlowRequests()
{
    const auto socket = connected();
    for (const char c : QByteArray("POST /slow HTTP/1.1\r\nContent-Length: 4\r\nConnection: close\r\n\r\nbody")) {
        socket->putChar(c);
        QVERIFY(socket->waitForBytesWritten());
    }
    QVERIFY(all(*socket).endsWith("POST|/slow||body||"));
}

void TestServerHttp::waitsForTheBodyAfterContinue()
{
    const auto socket = connected();
    socket->write("POST /c HTTP/1.1\r\nContent-Length: 4\r\nExpect: 100-continue\r\nConnection: close\r\n\r\n");
    QVERIFY(socket->waitForReadyRead(60000));
    QVERIFY(socket->readAll().startsWith("HTTP/1.1 100 Continue\r\n"));
    socket->write("body");
    QVERIFY(all(*socket).endsWith("POST|/c||body||"));
}

void TestServerHttp::refusesContinueForALargeBody()
{
    const QByteArray reply = exchange("POST /c HTTP/1.1\r\nContent-Length: 99999999\r\nExpect: 100-continue\r\n\r\n");
    QVERIFY2(reply.startsWith("HTTP/1.1 413 "), reply.constData());
    QVERIFY(reply.contains("refused 413"));
}

void TestServerHttp::takesTheLargestBody()
{
    const QByteArray body(HttpServer::maxBodyBytes, 'x');
    const QByteArray reply =
        exchange("POST /l HTTP/1.1\r\nConnection: close\r\nContent-Length: " + QByteArray::number(body.size()) +
                 "\r\n\r\n" + body);
    QVERIFY(reply.startsWith("HTTP/1.1 200 OK"));
    QVERIFY(reply.endsWith("|/l||" + body + "||"));
}

void TestServerHttp::refuses_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<int>("status");
    const QByteArray post = "POST /p HTTP/1.1\r\nAccept-Language: xx\r\n";
    QTest::newRow("one byte too many") << post + "Content-Length: " + QByteArray::number(HttpServer::maxBodyBytes + 1) +
                                              "\r\n\r\n"
                                       << 413;
    QTest::newRow("one byte too many, sent")
        << post + "Content-Length: " + QByteArray::number(HttpServer::maxBodyBytes + 1) + "\r\n\r\n" +
               QByteArray(HttpServer::maxBodyBytes + 1, 'x')
        << 413;
    QTest::newRow("endless") << post + "Content-Length: 999999999999999999\r\n\r\n" + QByteArray(100000, 'x') << 413;
    QTest::newRow("GET with an endless body")
        << QByteArray("GET / HTTP/1.1\r\nContent-Length: 999999999999999999\r\n\r\n") << 413;
    QTest::newRow("chunks") << post + "Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n" << 411;
    QTest::newRow("chunks and a length")
        << post + "Content-Length: 3\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n"
        << 411;
    QTest::newRow("compressed") << post + "Content-Encoding: gzip\r\nContent-Length: 3\r\n\r\nabc" << 415;
    QTest::newRow("length no number") << post + "Content-Length: many\r\n\r\n" << 400;
    QTest::newRow("length below 0") << post + "Content-Length: -1\r\n\r\n" << 400;
    QTest::newRow("length beyond all numbers") << post + "Content-Length: 99999999999999999999999\r\n\r\n" << 400;
    QTest::newRow("two lengths") << post + "Content-Length: 1\r\nContent-Length: 2\r\n\r\nab" << 400;
    QTest::newRow("two authorizations") << QByteArray("GET / HTTP/1.1\r\nAuthorization: Bearer a\r\n"
                                                      "authorization: Bearer a\r\n\r\n")
                                        << 400;
    QTest::newRow("header on two lines") << QByteArray("GET / HTTP/1.1\r\nAuthorization: Bearer\r\n a\r\n\r\n") << 400;
    QTest::newRow("header on two lines, by a tab") << post + "Content-Length:\r\n\t0\r\n\r\n" << 400;
    QTest::newRow("no request line") << QByteArray("hello\r\n\r\n") << 400;
    QTest::newRow("unknown method") << QByteArray("FETCH / HTTP/1.1\r\n\r\n") << 400;
    QTest::newRow("method without a meaning here") << QByteArray("TRACE / HTTP/1.1\r\n\r\n") << 400;
    QTest::newRow("unknown version") << QByteArray("GET / HTTP/9.9\r\n\r\n") << 400;
    QTest::newRow("two queries") << QByteArray("GET /?a?b HTTP/1.1\r\n\r\n") << 400;
    QTest::newRow("long address") << "GET /" + QByteArray(9000, 'a') + " HTTP/1.1\r\n\r\n" << 414;
    QTest::newRow("long header") << "GET / HTTP/1.1\r\nA: " + QByteArray(9000, 'a') + "\r\n\r\n" << 400;
    QTest::newRow("endless headers") << "GET / HTTP/1.1\r\n" + QByteArray("A: b\r\n").repeated(20000) << 400;
    QTest::newRow("large form")
        << post + "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: 9000\r\n\r\n" +
               QByteArray(9000, 'a')
        << 413;
    QTest::newRow("parts without a boundary")
        << post + "Content-Type: multipart/form-data\r\nContent-Length: 3\r\n\r\nabc" << 400;
    QTest::newRow("parts that are none")
        << post + "Content-Type: multipart/form-data; boundary=b\r\nContent-Length: 3\r\n\r\nabc" << 400;
    const QByteArray part = "--b\r\nContent-Disposition: form-data; name=\"x\"\r\n\r\n12345";
    QTest::newRow("part without an end") << post + "Content-Type: multipart/form-data; boundary=b\r\nContent-Length: " +
                                                QByteArray::number(part.size()) + "\r\n\r\n" + part
                                         << 400;
}

void TestServerHttp::refuses()
{
    QFETCH(QByteArray, request);
    QFETCH(int, status);
    const auto socket = connected();
    socket->write(request);
    const QByteArray reply = one(*socket);
    QVERIFY2(reply.startsWith("HTTP/1.1 " + QByteArray::number(status) + ' '), reply.left(300).constData());
    QVERIFY2(reply.contains("refused " + QByteArray::number(status)), reply.left(300).constData());
    QCOMPARE(m_echo->handled.load(), 0);
    // Whatever follows cannot be trusted to start a request: another one is only answered on a new connection.
    QVERIFY(exchange("GET /next HTTP/1.1\r\nConnection: close\r\n\r\n").endsWith("GET|/next||||"));
}

void TestServerHttp::hangsUpOnAnEndlessAddress()
{
    QCOMPARE(exchange("GET /" + QByteArray(200000, 'a')), QByteArray());
    QCOMPARE(m_echo->handled.load(), 0);
}

void TestServerHttp::hangsUpOnAnEndlessRequest()
{
    HttpSettings settings;
    settings.requestTime = std::chrono::milliseconds(300);
    HttpServer hasty(*m_echo, settings);
    QString error;
    QVERIFY(hasty.bind(QStringLiteral("127.0.0.1"), 0, error));
    std::thread running([&hasty] { hasty.run(); });
    QTcpSocket slow;
    slow.connectToHost(QStringLiteral("127.0.0.1"), quint16(hasty.port()));
    const bool open = slow.waitForConnected();
    slow.write("POST /p HTTP/1.1\r\nContent-Length: 100000\r\n\r\n");
    bool sending = open;
    for (int i = 0; sending && i < 1000; ++i) {
        slow.write("x");
        sending = !slow.waitForReadyRead(20) && slow.state() == QAbstractSocket::ConnectedState;
    }
    const QByteArray reply = all(slow);
    hasty.stop();
    running.join();
    QVERIFY(open);
    QVERIFY2(!sending, "a request may not take longer because bytes keep coming");
    QVERIFY2(reply.startsWith("HTTP/1.1 400 "), reply.constData());
    QCOMPARE(m_echo->handled.load(), 0);
}

void TestServerHttp::stopsWhileARequestIsRead()
{
    const auto half = connected();
    half->write("POST /p HTTP/1.1\r\nContent-Length: 1000\r\n\r\nabc");
    QVERIFY(half->waitForBytesWritten());
    const auto headless = connected();
    headless->write("GET /p HT");
    QVERIFY(headless->waitForBytesWritten());
    QVERIFY(exchange("GET /next HTTP/1.1\r\nConnection: close\r\n\r\n").endsWith("GET|/next||||"));
    m_server->stop();
    all(*half);
    all(*headless);
    QCOMPARE(m_echo->handled.load(), 1);
}

void TestServerHttp::closesWithBytesUnread()
{
    const QByteArray reply = exchange("GET /a HTTP/1.1\r\nContent-Length: 34\r\n\r\nGET /smuggled HTTP/1.1\r\n\r\n"
                                      "12345678");
    QCOMPARE(reply.count("HTTP/1.1"), 1);
    QVERIFY(reply.contains("Connection: close"));
    QCOMPARE(m_echo->handled.load(), 1);
    const QByteArray refused = exchange("POST /a HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n"
                                        "GET /smuggled HTTP/1.1\r\n\r\n");
    QCOMPARE(refused.count("HTTP/1.1"), 1);
    QCOMPARE(m_echo->handled.load(), 1);
}

void TestServerHttp::survivesBrokenConnections()
{
    for (int i = 0; i < 50; ++i) {
        const auto silent = connected();
        const auto half = connected();
        half->write("POST /p HTTP/1.1\r\nContent-Length: 1000\r\n\r\nabc");
        QVERIFY(half->waitForBytesWritten());
        const auto headless = connected();
        headless->write("GET /p HT");
        QVERIFY(headless->waitForBytesWritten());
        const auto deaf = connected();
        deaf->write("GET /p HTTP/1.1\r\n\r\n");
        QVERIFY(deaf->waitForBytesWritten());
        for (QTcpSocket* socket : {silent.get(), half.get(), headless.get(), deaf.get()})
            socket->abort();
    }
    QVERIFY(exchange("GET /next HTTP/1.1\r\nConnection: close\r\n\r\n").endsWith("GET|/next||||"));
}

void TestServerHttp::headHasNoBody()
{
    const QByteArray reply = exchange("HEAD /h HTTP/1.1\r\nConnection: close\r\n\r\n");
    QVERIFY(reply.startsWith("HTTP/1.1 200 OK"));
    QVERIFY(reply.endsWith("\r\n\r\n"));
    QVERIFY(reply.contains("Content-Length: 11\r\n"));
}

void TestServerHttp::rangesAndEncodingsChangeNothing()
{
    const QByteArray reply = exchange("GET /whole HTTP/1.1\r\nRange: bytes=1-2\r\nAccept-Encoding: gzip, br\r\n"
                                      "Connection: close\r\n\r\n");
    QVERIFY2(reply.startsWith("HTTP/1.1 200 OK"), reply.constData());
    QVERIFY(reply.endsWith("GET|/whole||||"));
    QVERIFY(!reply.contains("Content-Encoding"));
}

void TestServerHttp::exceptionsAreNotTold()
{
    const QByteArray reply = exchange("GET /throw HTTP/1.1\r\nAccept-Language: ru\r\nConnection: close\r\n\r\n");
    QVERIFY(reply.startsWith("HTTP/1.1 500 "));
    QVERIFY(reply.endsWith("refused 500 ru"));
    QVERIFY(!reply.contains("secret"));
}

void TestServerHttp::servesMoreClientsThanThreads()
{
    std::vector<std::unique_ptr<QTcpSocket>> idle;
    for (int i = 0; i < 3 * HttpServer::threads; ++i) {
        idle.push_back(connected());
        idle.back()->write("GET /idle HTTP/1.1\r\n\r\n");
        QVERIFY(one(*idle.back()).endsWith("GET|/idle||||"));
    }
    QCOMPARE(m_echo->handled.load(), 3 * HttpServer::threads);
}

void TestServerHttp::stopsBeforeItRuns()
{
    Echo echo;
    QString error;
    {
        HttpServer never(echo);
        QVERIFY(never.bind(QStringLiteral("127.0.0.1"), 0, error));
    }
    HttpServer early(echo);
    QVERIFY(early.bind(QStringLiteral("127.0.0.1"), 0, error));
    early.stop();
    QVERIFY(early.run());

    // The stop may meet any moment of the start.
    for (int i = 0; i < 50; ++i) {
        HttpServer meeting(echo);
        QVERIFY(meeting.bind(QStringLiteral("127.0.0.1"), 0, error));
        std::thread stopping([&meeting, i] {
            std::this_thread::sleep_for(std::chrono::microseconds(40 * i));
            meeting.stop();
        });
        const bool sound = meeting.run();
        stopping.join();
        QVERIFY(sound);
    }

    HttpServer second(echo);
    QVERIFY(!second.bind(QStringLiteral("127.0.0.1"), m_server->port(), error));
    QVERIFY2(error.contains(QLatin1String("already in use")), qPrintable(error));
}

void TestServerHttp::answersBesideSlowClients()
{
    HttpSettings settings;
    settings.connections = 500;
    settings.connectionsPerAddress = 500;
    Running slowed(*m_echo, settings);
    constexpr int each = 3 * HttpServer::threads;
    Raws slow;
    Raws heads;
    Raws bodies;
    Raws readers;
    const QByteArray head = "GET /slow HTTP/1.1\r\nHost: x\r\n";
    for (int i = 0; i < each; ++i) {
        slow.push_back(std::make_unique<Raw>(slowed.port()));
        heads.push_back(std::make_unique<Raw>(slowed.port()));
        bodies.push_back(std::make_unique<Raw>(slowed.port()));
        QVERIFY(bodies.back()->send("POST /slow HTTP/1.1\r\nContent-Length: 1000\r\n\r\n"));
        readers.push_back(std::make_unique<Raw>(slowed.port()));
        QVERIFY(readers.back()->send("GET /large HTTP/1.1\r\n\r\n"));
    }
    // All of them, although nobody has read any of it.
    QTRY_COMPARE_WITH_TIMEOUT(m_echo->handled.load(), each, 60000);

    for (int i = 0; i < head.size(); ++i) {
        for (const auto& client : heads)
            QVERIFY(client->send(head.mid(i, 1)));
        for (const auto& client : bodies)
            QVERIFY(client->send("x"));
        QVERIFY(asked(slowed.port(), "/next").endsWith("GET|/next||||"));
    }
    for (const Raws* kind : {&slow, &heads, &bodies}) {
        for (const auto& client : *kind)
            QVERIFY(client->connected && client->hangs());
    }
    QCOMPARE(m_echo->handled.load(), each + head.size());
    // They were not forgotten either.
    QVERIFY(slow.back()->send("GET /1 HTTP/1.1\r\n" + closing));
    QVERIFY(slow.back()->all().endsWith("GET|/1||||"));
    QVERIFY(heads.back()->send(closing));
    QVERIFY(heads.back()->all().endsWith("GET|/slow||||"));
    QVERIFY(bodies.back()->send(QByteArray(1000 - head.size(), 'y')));
    bodies.back()->finish();
    QVERIFY(bodies.back()->all().endsWith("y||"));
}

void TestServerHttp::cutsSlowClientsOff_data()
{
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("silent") << QByteArray() << QByteArray();
    QTest::newRow("within the first line") << QByteArray("GET / HT") << QByteArray();
    QTest::newRow("within the head") << QByteArray("GET / HTTP/1.1\r\nHost") << QByteArray("HTTP/1.1 400 ");
    QTest::newRow("within the body") << QByteArray("PUT / HTTP/1.1\r\nContent-Length: 9\r\n\r\n12345678")
                                     << QByteArray("HTTP/1.1 400 ");
    QTest::newRow("after the request to go on")
        << QByteArray("PUT / HTTP/1.1\r\nContent-Length: 9\r\nExpect: 100-continue\r\n\r\n")
        << QByteArray("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 400 ");
    QTest::newRow("after a request") << QByteArray("GET /a HTTP/1.1\r\n\r\n") << QByteArray("HTTP/1.1 200 ");
    QTest::newRow("within the next head") << QByteArray("GET /a HTTP/1.1\r\n\r\nGET") << QByteArray("HTTP/1.1 200 ");
}

void TestServerHttp::cutsSlowClientsOff()
{
    QFETCH(QByteArray, sent);
    QFETCH(QByteArray, answer);
    HttpSettings settings;
    settings.requestTime = std::chrono::milliseconds(200);
    settings.idleTime = std::chrono::milliseconds(200);
    Running hasty(*m_echo, settings);
    Raws clients;
    for (int i = 0; i < 3 * HttpServer::threads; ++i) {
        clients.push_back(std::make_unique<Raw>(hasty.port()));
        QVERIFY(clients.back()->send(sent));
    }
    for (const auto& client : clients) {
        const QByteArray received = client->all();
        QVERIFY2(answer.isEmpty() ? received.isEmpty() : received.startsWith(answer), received.constData());
        QCOMPARE(received.count("HTTP/1.1 "), answer.count("HTTP/1.1 "));
    }
}

void TestServerHttp::cutsReadersOff()
{
    HttpSettings settings;
    settings.connections = 1;
    settings.replyTime = std::chrono::milliseconds(200);
    settings.replyRate = 1024 * 1024 * 1024;
    Running hasty(*m_echo, settings);
    Raw reader(hasty.port());
    QVERIFY(reader.send("GET /large HTTP/1.1\r\n\r\n"));
    QVERIFY(reader.some(1).startsWith("HTTP/1.1 200 OK"));
    // There is room for this one when the other one has gone.
    QVERIFY(asked(hasty.port(), "/next").endsWith("GET|/next||||"));
    QVERIFY(reader.all().size() < Echo::largeBytes);
}

void TestServerHttp::sendsLargeReplies()
{
    const QByteArray reply = asked(m_server->port(), "/large");
    QCOMPARE(reply.mid(reply.indexOf("\r\n\r\n") + 4), QByteArray(Echo::largeBytes, 'x'));
    QVERIFY(reply.contains("\r\nContent-Length: " + QByteArray::number(Echo::largeBytes) + "\r\n"));
}

void TestServerHttp::takesManyPipelinedRequests()
{
    QByteArray requests;
    constexpr int count = 3000;
    for (int i = 0; i < count; ++i)
        requests += "POST /" + QByteArray::number(i) + " HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc";
    Raw client(m_server->port());
    std::thread sending([&] { client.send(requests + "GET /last HTTP/1.1\r\n" + closing); });
    const QByteArray replies = client.all();
    sending.join();
    QCOMPARE(replies.count("HTTP/1.1 200 OK"), count + 1);
    int at = 0;
    for (int i = 0; i < count; ++i) {
        at = replies.indexOf("POST|/" + QByteArray::number(i) + "||abc||", at);
        QVERIFY2(at > 0, "an answer is missing, or out of order");
    }
    QVERIFY(replies.endsWith("GET|/last||||"));
}

void TestServerHttp::answersWhatEndsTooSoon()
{
    for (const char* sent : {"PUT / HTTP/1.1\r\nContent-Length: 9\r\n\r\nabc", "GET / HTTP/1.1\r\nHost: x\r\n"}) {
        Raw client(m_server->port());
        QVERIFY(client.send(sent));
        client.finish();
        QVERIFY(client.all().startsWith("HTTP/1.1 400 "));
    }
    QCOMPARE(m_echo->handled.load(), 0);
    Raw whole(m_server->port());
    QVERIFY(whole.send("GET /whole HTTP/1.1\r\n\r\n"));
    whole.finish();
    QVERIFY(whole.all().endsWith("GET|/whole||||"));
}

void TestServerHttp::makesRoomForConnections()
{
    HttpSettings settings;
    settings.connections = 4;
    Running small(*m_echo, settings);
    Raws idle;
    for (int i = 0; i < 4; ++i) {
        idle.push_back(std::make_unique<Raw>(small.port()));
        QVERIFY(idle.back()->send("GET /idle HTTP/1.1\r\n\r\n"));
        QVERIFY(idle.back()->some(1).startsWith("HTTP/1.1 200"));
    }
    // Now the second one has waited longest.
    QVERIFY(idle.front()->send("GET /again HTTP/1.1\r\n\r\n"));
    QVERIFY(idle.front()->some(1).startsWith("HTTP/1.1 200"));
    QVERIFY(asked(small.port(), "/next").endsWith("GET|/next||||"));
    QCOMPARE(idle.at(1)->all(), QByteArray());
    for (const int open : {0, 2, 3})
        QVERIFY(idle.at(size_t(open))->hangs());
}

void TestServerHttp::waitsForRoom()
{
    HttpSettings settings;
    settings.connections = 4;
    Running small(*m_echo, settings);
    Raws busy;
    for (int i = 0; i < 4; ++i) {
        busy.push_back(std::make_unique<Raw>(small.port()));
        QVERIFY(busy.back()->send("GET /wait HTTP/1.1\r\n\r\n"));
    }
    QTRY_COMPARE(m_echo->handled.load(), 4);
    Raw next(small.port());
    QVERIFY(next.connected);
    QVERIFY(next.send("GET /wait HTTP/1.1\r\n" + closing));
    QTest::qWait(100);
    QCOMPARE(m_echo->handled.load(), 4);
    // The first to be answered waits for another request, and makes room therefore.
    m_echo->proceed.release(5);
    QVERIFY(next.all().endsWith("GET|/wait||||"));
    int closed = 0;
    for (const auto& client : busy) {
        QVERIFY(client->some(1).startsWith("HTTP/1.1 200"));
        closed += client->hangs() ? 0 : 1;
    }
    QVERIFY(closed >= 1);
}

void TestServerHttp::limitsAnAddress()
{
    HttpSettings settings;
    settings.connectionsPerAddress = 2;
    Running fair(*m_echo, settings);
    Raw first(fair.port());
    QVERIFY(first.send("GET /idle HTTP/1.1\r\n\r\n"));
    QVERIFY(first.some(1).startsWith("HTTP/1.1 200"));
    Raw second(fair.port());
    QVERIFY(second.send("GET /a"));
    Raw third(fair.port());
    QVERIFY(third.send("GET /b HTTP/1.1\r\nHo"));
    // The idle one of the same address has made room, and then there is none to make any.
    QCOMPARE(first.all(), QByteArray());
    QCOMPARE(asked(fair.port(), "/next"), QByteArray());
    QVERIFY(asked(fair.port(), "/next", "127.0.0.2").endsWith("GET|/next||||"));
    QVERIFY(second.hangs() && third.hangs());
    QVERIFY(third.send("st: x\r\n" + closing));
    QVERIFY(third.all().endsWith("GET|/b||||"));
    QTRY_VERIFY(asked(fair.port(), "/next").endsWith("GET|/next||||"));

    settings.trustedProxies = {"127.0.0.1"};
    Running behind(*m_echo, settings);
    Raws many;
    for (int i = 0; i < 5; ++i) {
        many.push_back(std::make_unique<Raw>(behind.port()));
        QVERIFY(many.back()->send("GET /many HTTP/1.1\r\nHo"));
    }
    QVERIFY(asked(behind.port(), "/next").endsWith("GET|/next||||"));
    for (const auto& client : many)
        QVERIFY(client->hangs());
}

void TestServerHttp::believesProxies_data()
{
    QTest::addColumn<QByteArray>("proxy");
    QTest::addColumn<QByteArray>("headers");
    QTest::addColumn<QByteArray>("peer");
    const QByteArray told = "X-Forwarded-For: 192.0.2.7\r\n";
    QTest::newRow("nobody trusted") << QByteArray() << told << QByteArray("127.0.0.1");
    QTest::newRow("another one trusted") << QByteArray("127.0.0.2") << told << QByteArray("127.0.0.1");
    const QByteArray proxy = "127.0.0.1";
    QTest::newRow("nothing told") << proxy << QByteArray() << proxy;
    QTest::newRow("one") << proxy << told << QByteArray("192.0.2.7");
    QTest::newRow("the last") << proxy << QByteArray("X-Forwarded-For: 10.0.0.1, 192.0.2.8 ,192.0.2.9 \r\n")
                              << QByteArray("192.0.2.9");
    QTest::newRow("of several headers the last") << proxy << told + "x-forwarded-for: 192.0.2.10\r\n"
                                                 << QByteArray("192.0.2.10");
    QTest::newRow("IPv6") << proxy << QByteArray("X-Forwarded-For: 2001:DB8:0::0:1\r\n") << QByteArray("2001:db8::1");
    QTest::newRow("IPv4 in IPv6") << proxy << QByteArray("X-Forwarded-For: ::FFFF:192.0.2.7\r\n")
                                  << QByteArray("192.0.2.7");
    QTest::newRow("a name") << proxy << QByteArray("X-Forwarded-For: client\r\n") << proxy;
    QTest::newRow("nothing behind a comma") << proxy << QByteArray("X-Forwarded-For: 192.0.2.7,\r\n") << proxy;
    QTest::newRow("with a port") << proxy << QByteArray("X-Forwarded-For: 192.0.2.7:80\r\n") << proxy;
    QTest::newRow("too short") << proxy << QByteArray("X-Forwarded-For: 192.0.2\r\n") << proxy;
}

void TestServerHttp::believesProxies()
{
    QFETCH(QByteArray, proxy);
    QFETCH(QByteArray, headers);
    QFETCH(QByteArray, peer);
    HttpSettings settings;
    if (!proxy.isEmpty())
        settings.trustedProxies = {proxy};
    Running behind(*m_echo, settings);
    Raw client(behind.port());
    QVERIFY(client.send("GET /about HTTP/1.1\r\n" + headers + closing));
    const QByteArray reply = client.all();
    QVERIFY2(reply.contains("\r\nX-Peer: " + peer + "\r\n"), reply.constData());
}

void TestServerHttp::breaksNoHead()
{
    const QByteArray reply = exchange("GET /headers HTTP/1.1\r\n" + closing);
    QVERIFY(reply.startsWith("HTTP/1.1 200 OK\r\n"));
    QVERIFY(reply.contains("\r\nX-One: 1\r\n"));
    QVERIFY(reply.contains("\r\nX-Two: 2\r\n"));
    QVERIFY(!reply.contains("Injected"));
}

void TestServerHttp::answersWhatWasReadBeforeTheStop()
{
    const auto running = std::make_unique<Running>(*m_echo, HttpSettings());
    Raws clients;
    // More than there are threads: some have been read, but are not under way yet.
    constexpr int count = HttpServer::threads + 5;
    for (int i = 0; i < count; ++i) {
        clients.push_back(std::make_unique<Raw>(running->port()));
        QVERIFY(clients.back()->send("GET /wait HTTP/1.1\r\n\r\n"));
    }
    QTRY_COMPARE(m_echo->handled.load(), HttpServer::threads);
    QVERIFY(asked(m_server->port(), "/other").endsWith("GET|/other||||"));
    running->server().stop();
    // The stop has come through when the idle are cut off.
    m_echo->proceed.release(count);
    for (const auto& client : clients) {
        const QByteArray reply = client->all();
        QVERIFY2(reply.endsWith("GET|/wait||||"), reply.constData());
        QVERIFY(reply.contains("\r\nConnection: close\r\n"));
    }
}

void TestServerHttp::keepsToLoopback_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("plain");
    QTest::addColumn<bool>("bound");
    QTest::newRow("127.0.0.1") << QStringLiteral("127.0.0.1") << false << true;
    QTest::newRow("another one") << QStringLiteral("127.8.9.10") << false << true;
    QTest::newRow("localhost") << QStringLiteral("localhost") << false << true;
    QTest::newRow("every address") << QStringLiteral("0.0.0.0") << false << false;
    QTest::newRow("every address, IPv6") << QStringLiteral("::") << false << false;
    QTest::newRow("every address, IPv4 in IPv6") << QStringLiteral("::ffff:0.0.0.0") << false << false;
    QTest::newRow("of a network") << QStringLiteral("192.0.2.1") << false << false;
    QTest::newRow("every address, allowed") << QStringLiteral("0.0.0.0") << true << true;
}

void TestServerHttp::keepsToLoopback()
{
    QFETCH(QString, host);
    QFETCH(bool, plain);
    QFETCH(bool, bound);
    HttpSettings settings;
    settings.plainBeyondLoopback = plain;
    HttpServer server(*m_echo, settings);
    QString error;
    QCOMPARE(server.bind(host, 0, error), bound);
    QVERIFY2(bound == error.isEmpty(), qPrintable(error));
    QVERIFY(bound ||
            (error.contains(QLatin1String("--tls-certificate")) && error.contains(QLatin1String("--plain-http"))));
}

QTEST_GUILESS_MAIN(TestServerHttp)

#include "TestServerHttp.moc"
