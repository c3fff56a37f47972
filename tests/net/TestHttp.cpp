// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/Http.h"
#include "net/HttpReply.h"
#include "net/NetworkHttpReply.h"
#include "tests/support/EarlyServer.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <memory>

Q_DECLARE_METATYPE(LoopbackServer::Answer)

namespace {

using Headers = QMap<QByteArray, QByteArray>;

/// Writes down what a reply reports, and in which order.
class Watch
{
public:
    explicit Watch(HttpReply* reply)
        : alive(reply)
    {
        QObject::connect(reply, &HttpReply::data, &context, [this](const QByteArray& bytes) {
            events.append(QStringLiteral("data"));
            data = bytes;
        });
        QObject::connect(reply, &HttpReply::error, &context, [this](const QByteArray& bytes) {
            events.append(QStringLiteral("error"));
            error = bytes;
        });
        QObject::connect(reply, &HttpReply::finished, &context, [this](const HttpReply& ended) {
            events.append(QStringLiteral("finished"));
            url = ended.url();
            status = ended.statusCode();
            reason = ended.reasonPhrase();
            headers = ended.headers();
            header = ended.header(QByteArrayLiteral("x-answer"));
            body = ended.body();
        });
    }

    bool isGone() const { return alive.isNull(); }

    QPointer<HttpReply> alive;
    QStringList events;
    QByteArray data = QByteArrayLiteral("(none)");
    QByteArray error = QByteArrayLiteral("(none)");
    QUrl url;
    int status = -1;
    QString reason;
    QList<QNetworkReply::RawHeaderPair> headers;
    QByteArray header;
    QByteArray body = QByteArrayLiteral("(none)");

private:
    QObject context;
};

QStringList dataThenFinished()
{
    return {QStringLiteral("data"), QStringLiteral("finished")};
}

QStringList finishedThenError()
{
    return {QStringLiteral("finished"), QStringLiteral("error")};
}

QStringList timedOut()
{
    return {QStringLiteral("finished"), QStringLiteral("error"), QStringLiteral("finished")};
}

QNetworkReply* transportOf(HttpReply* reply)
{
    return qobject_cast<QNetworkReply*>(reply->parent());
}

/// Lets Qt hand redirects on to the reply, which the managers' own policy never does.
class ManualRedirects
{
public:
    ManualRedirects()
    {
        HttpReply* const reply = Http().get(QUrl(QStringLiteral("data:,")));
        manager = transportOf(reply)->manager();
        policy = manager->redirectPolicy();
        manager->setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
        delete reply->parent();
    }
    ~ManualRedirects() { manager->setRedirectPolicy(policy); }
    ManualRedirects(const ManualRedirects&) = delete;
    ManualRedirects& operator=(const ManualRedirects&) = delete;

private:
    QNetworkAccessManager* manager;
    QNetworkRequest::RedirectPolicy policy;
};

/// Keeps what it is asked to send, and sends it.
class RecordingHttp : public Http
{
public:
    using Http::request;
    HttpReply* request(const HttpRequest& httpRequest) override
    {
        requests.append(httpRequest);
        return Http::request(httpRequest);
    }

    QList<HttpRequest> requests;
};

class BareReply : public HttpReply
{
public:
    QUrl url() const override { return {}; }
    int statusCode() const override { return 0; }
    QByteArray body() const override { return {}; }
};

} // namespace

class TestHttp : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void startsWithTheDefaults();
    void sendsTheDefaultHeadersAlone();
    void hasOneProcessWideObject();
    void replacesAHeader();
    void sendsEachMethod_data();
    void sendsEachMethod();
    void fillsARequest();
    void encodesAForm_data();
    void encodesAForm();
    void choosesTheContentType_data();
    void choosesTheContentType();
    void keepsTheHeadersOfAPost();
    void replacesAllHeadersByThoseOfARequest();
    void asksForARange_data();
    void asksForARange();

    void refusesAnUnknownOperation_data();
    void refusesAnUnknownOperation();
    void warnsOfAnEmptyUrl();

    void reportsByStatus_data();
    void reportsByStatus();
    void showsTheReplyWhenFinished();
    void givesTheDefaultsOfAReply();
    void reportsATransportFailure_data();
    void reportsATransportFailure();
    void noticesAReplyThatIsCutShort_data();
    void noticesAReplyThatIsCutShort();
    void takesALengthWithoutABody();
    void reportsARefusedConnection();
    void outlivesTheSender();
    void goesWithItsTransport();

    void timesOutBeforeTheFirstByte();
    void waitsWithoutLimitAfterTheFirstByte_data();
    void waitsWithoutLimitAfterTheFirstByte();
    void abortsASlowUpload();
    void endsOnceWhenAReceiverWaits();
    void changesTheTimeoutOfNewObjectsOnly();

    void neverFollowsARedirect_data();
    void neverFollowsARedirect();
    void followsAHandedOnRedirect_data();
    void followsAHandedOnRedirect();
    void followsAnyNumberOfHops();
    void doesNotResolveATarget();
    void limitsTheWaitAfterEachHop();

    void usesAManagerOfTheThread();

private:
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
};

void TestHttp::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
}

void TestHttp::init()
{
    server = std::make_unique<LoopbackServer>();
}

void TestHttp::cleanup()
{
    QCOMPARE(server->pending(), 0);
    server.reset();
    guard->verify();
}

void TestHttp::startsWithTheDefaults()
{
    const Headers expected{{"Accept-Charset", "utf-8"}, {"Connection", "Keep-Alive"}};
    QCOMPARE(Http::getDefaultRequestHeaders(), expected);
    const Http http;
    QCOMPARE(http.getRequestHeaders(), expected);
    QCOMPARE(http.getReadTimeout(), 180000);

    const HttpRequest request;
    QVERIFY(request.url.isEmpty());
    QCOMPARE(request.operation, QNetworkAccessManager::GetOperation);
    QVERIFY(request.body.isEmpty());
    QCOMPARE(request.offset, 0U);
    QVERIFY(request.headers.isEmpty());
}

void TestHttp::sendsTheDefaultHeadersAlone()
{
    server->expect("GET", "/x?y=1", "ok");
    Watch watch(Http().get(server->url(QStringLiteral("/x?y=1"))));
    QTRY_VERIFY(watch.isGone());

    // The four others are what Qt itself puts on the wire.
    QList<QByteArray> names;
    const QList<QByteArray> lines = server->last().head.split('\n');
    QCOMPARE(lines.first().trimmed(), QByteArrayLiteral("GET /x?y=1 HTTP/1.1"));
    for (int i = 1; i < lines.size(); ++i) {
        names.append(lines.at(i).left(lines.at(i).indexOf(':')));
    }
    std::sort(names.begin(), names.end());
    const QList<QByteArray> expected{"Accept-Charset", "Accept-Encoding", "Accept-Language", "Connection",
                                     "Host",           "User-Agent"};
    QCOMPARE(names, expected);
    QVERIFY(server->last().head.contains("\r\nAccept-Charset: utf-8"));
    QVERIFY(server->last().head.contains("\r\nConnection: Keep-Alive"));
}

void TestHttp::hasOneProcessWideObject()
{
    QCOMPARE(&Http::instance(), &Http::instance());
    QCOMPARE(Http::instance().getRequestHeaders(), Http::getDefaultRequestHeaders());
    Http copy = Http::instance();
    copy.addRequestHeader("X-Mine", "1");
    QCOMPARE(Http::instance().getRequestHeaders(), Http::getDefaultRequestHeaders());
}

void TestHttp::replacesAHeader()
{
    Http http;
    http.setRequestHeaders({{"A", "1"}, {"B", "2"}});
    http.addRequestHeader("A", "3");
    http.addRequestHeader("C", "4");
    const Headers expected{{"A", "3"}, {"B", "2"}, {"C", "4"}};
    QCOMPARE(http.getRequestHeaders(), expected);

    server->expect("GET", "/", "ok");
    Watch watch(http.get(server->url(QStringLiteral("/"))));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(server->last().headers.value("a"), QByteArrayLiteral("3"));
    QCOMPARE(server->last().headers.value("b"), QByteArrayLiteral("2"));
    QCOMPARE(server->last().headers.value("c"), QByteArrayLiteral("4"));
    QVERIFY(!server->last().headers.contains("accept-charset"));
}

void TestHttp::sendsEachMethod_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("contentType");
    QTest::newRow("GET") << QByteArray("GET") << QByteArray() << QByteArray();
    QTest::newRow("HEAD") << QByteArray("HEAD") << QByteArray() << QByteArray();
    QTest::newRow("DELETE") << QByteArray("DELETE") << QByteArray() << QByteArray();
    QTest::newRow("POST") << QByteArray("POST") << QByteArray("{\"a\": 1}") << QByteArray("application/json");
    QTest::newRow("PUT") << QByteArray("PUT") << QByteArray("\x00\xff\r\n", 4) << QByteArray("application/json");
}

void TestHttp::sendsEachMethod()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, contentType);

    server->expect(method, "/path", "answer");
    const QUrl url = server->url(QStringLiteral("/path"));
    Http http;
    HttpReply* reply = nullptr;
    if (method == "GET") {
        reply = http.get(url);
    } else if (method == "HEAD") {
        reply = http.head(url);
    } else if (method == "DELETE") {
        reply = http.remove(url);
    } else if (method == "POST") {
        reply = http.post(url, body, contentType);
    } else {
        reply = http.put(url, body, contentType);
    }
    Watch watch(reply);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(server->requests().size(), 1);
    QCOMPARE(server->last().method, method);
    QCOMPARE(server->last().body, body);
    QCOMPARE(server->last().headers.value("content-type"), contentType);
    QCOMPARE(server->last().headers.contains("content-type"), !contentType.isEmpty());
    QVERIFY(!server->last().headers.contains("range"));
    QCOMPARE(watch.events, dataThenFinished());
    QCOMPARE(watch.data, method == "HEAD" ? QByteArray() : QByteArray("answer"));
}

void TestHttp::fillsARequest()
{
    RecordingHttp http;
    const QUrl url = server->url(QStringLiteral("/"));
    QMap<QByteArray, QByteArray> withType = Http::getDefaultRequestHeaders();
    withType.insert("Content-Type", "text/plain");
    for (const char* const method : {"GET", "HEAD", "DELETE", "PUT", "POST", "PUT", "POST"}) {
        server->expect(method, "/", "ok");
    }
    const QList<QPointer<HttpReply>> replies{
        http.get(url),
        http.head(url),
        http.remove(url),
        http.request(url, QNetworkAccessManager::PutOperation, "bytes", 7),
        http.post(url, "one", "text/plain"),
        http.put(url, "two", "text/plain"),
        http.post(url, {{QStringLiteral("k"), QStringLiteral("v")}}),
    };
    QCOMPARE(http.requests.size(), 7);
    const QList<QNetworkAccessManager::Operation> operations{
        QNetworkAccessManager::GetOperation,    QNetworkAccessManager::HeadOperation,
        QNetworkAccessManager::DeleteOperation, QNetworkAccessManager::PutOperation,
        QNetworkAccessManager::PostOperation,   QNetworkAccessManager::PutOperation,
        QNetworkAccessManager::PostOperation};
    const QList<QByteArray> bodies{"", "", "", "bytes", "one", "two", "k=v&"};
    for (int i = 0; i < 7; ++i) {
        QCOMPARE(http.requests.at(i).url, url);
        QCOMPARE(http.requests.at(i).operation, operations.at(i));
        QCOMPARE(http.requests.at(i).body, bodies.at(i));
        QCOMPARE(http.requests.at(i).offset, i == 3 ? 7U : 0U);
    }
    for (int i = 0; i < 4; ++i) {
        QVERIFY(http.requests.at(i).headers.isEmpty());
    }
    QCOMPARE(http.requests.at(4).headers, withType);
    QCOMPARE(http.requests.at(5).headers, withType);
    withType.insert("Content-Type", "application/x-www-form-urlencoded");
    QCOMPARE(http.requests.at(6).headers, withType);
    for (const QPointer<HttpReply>& reply : replies) {
        QTRY_VERIFY(reply.isNull());
    }
}

void TestHttp::encodesAForm_data()
{
    using Form = QMap<QString, QString>;
    QTest::addColumn<Form>("form");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("empty") << Form() << QByteArray();
    QTest::newRow("one entry") << Form{{QStringLiteral("a"), QStringLiteral("b")}} << QByteArray("a=b&");
    QTest::newRow("key order") << Form{{QStringLiteral("username"), QStringLiteral("u")},
                                       {QStringLiteral("password"), QStringLiteral("p")}}
                               << QByteArray("password=p&username=u&");
    QTest::newRow("empty value") << Form{{QStringLiteral("a"), QString()}} << QByteArray("a=&");
    QTest::newRow("reserved") << Form{{QStringLiteral("a b&c"), QStringLiteral("=+/?%#\r\n'")}}
                              << QByteArray("a%20b%26c=%3D%2B%2F%3F%25%23%0D%0A%27&");
    QTest::newRow("unreserved") << Form{{QStringLiteral("k"), QStringLiteral("aZ09-._~")}} << QByteArray("k=aZ09-._~&");
    QTest::newRow("beyond ASCII") << Form{{QStringLiteral("k\u00fc"), QStringLiteral("\u0416\U0001F600")}}
                                  << QByteArray("k%C3%BC=%D0%96%F0%9F%98%80&");
}

void TestHttp::encodesAForm()
{
    using Form = QMap<QString, QString>;
    QFETCH(Form, form);
    QFETCH(QByteArray, body);
    server->expect("POST", "/form", "ok");
    Watch watch(Http().post(server->url(QStringLiteral("/form")), form));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(server->last().body, body);
    QCOMPARE(server->last().headers.value("content-length"), QByteArray::number(body.size()));
    QCOMPARE(server->last().headers.value("content-type"), QByteArrayLiteral("application/x-www-form-urlencoded"));
}

void TestHttp::choosesTheContentType_data()
{
    QTest::addColumn<bool>("put");
    QTest::addColumn<QByteArray>("given");
    QTest::addColumn<QByteArray>("sent");
    const QByteArray form("application/x-www-form-urlencoded");
    for (const bool put : {false, true}) {
        const char* const method = put ? "PUT" : "POST";
        QTest::addRow("%s null", method) << put << QByteArray() << form;
        QTest::addRow("%s empty", method) << put << QByteArray("") << form;
        QTest::addRow("%s given", method)
            << put << QByteArray("text/csv; charset=utf-8") << QByteArray("text/csv; charset=utf-8");
    }
}

void TestHttp::choosesTheContentType()
{
    QFETCH(bool, put);
    QFETCH(QByteArray, given);
    QFETCH(QByteArray, sent);
    server->expect(put ? "PUT" : "POST", "/", "ok");
    Http http;
    const QUrl url = server->url(QStringLiteral("/"));
    Watch watch(put ? http.put(url, "body", given) : http.post(url, "body", given));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(server->last().headers.value("content-type"), sent);
    QCOMPARE(server->last().body, QByteArrayLiteral("body"));
}

void TestHttp::keepsTheHeadersOfAPost()
{
    const QUrl url = server->url(QStringLiteral("/"));
    Http http;
    Headers expected = Http::getDefaultRequestHeaders();

    const auto check = [&](const QByteArray& method, HttpReply* reply) {
        server->expect(method, "/", "ok");
        Watch watch(reply);
        QTRY_VERIFY(watch.isGone());
        QCOMPARE(http.getRequestHeaders(), expected);
        QCOMPARE(server->last().method, method);
        QCOMPARE(server->last().headers.value("content-type"), expected.value("Content-Type"));
        QCOMPARE(server->last().headers.value("accept-charset"), QByteArrayLiteral("utf-8"));
    };

    check("GET", http.get(url));
    check("DELETE", http.remove(url));
    check("HEAD", http.head(url));
    expected.insert("Content-Type", "application/json");
    check("POST", http.post(url, "{}", "application/json"));
    check("GET", http.get(url));
    check("DELETE", http.remove(url));
    check("HEAD", http.head(url));
    expected.insert("Content-Type", "text/plain");
    check("PUT", http.put(url, "x", "text/plain"));
    check("GET", http.get(url));
    expected.insert("Content-Type", "application/x-www-form-urlencoded");
    check("POST", http.post(url, QMap<QString, QString>()));
    check("DELETE", http.remove(url));

    // A copy takes them along, and what the copy sends does not come back.
    Http copy = http;
    server->expect("PUT", "/", "ok");
    Watch watch(copy.put(url, "x", "text/css"));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(copy.getRequestHeaders().value("Content-Type"), QByteArrayLiteral("text/css"));
    QCOMPARE(http.getRequestHeaders(), expected);
}

void TestHttp::replacesAllHeadersByThoseOfARequest()
{
    Http http;
    HttpRequest request;
    request.url = server->url(QStringLiteral("/"));
    request.headers = {{"X-Own", "1"}};
    server->expect("GET", "/", "ok");
    Watch first(http.request(request));
    QTRY_VERIFY(first.isGone());
    QCOMPARE(http.getRequestHeaders(), request.headers);
    QCOMPARE(server->last().headers.value("x-own"), QByteArrayLiteral("1"));
    QVERIFY(!server->last().headers.contains("accept-charset"));

    request.headers.clear();
    server->expect("GET", "/", "ok");
    Watch second(http.request(request));
    QTRY_VERIFY(second.isGone());
    QCOMPARE(server->last().headers.value("x-own"), QByteArrayLiteral("1"));
}

void TestHttp::asksForARange_data()
{
    QTest::addColumn<unsigned int>("offset");
    QTest::addColumn<QByteArray>("range");
    QTest::newRow("whole") << 0U << QByteArray();
    QTest::newRow("from 1") << 1U << QByteArray("bytes=1-");
    QTest::newRow("largest") << 4294967295U << QByteArray("bytes=4294967295-");
}

void TestHttp::asksForARange()
{
    QFETCH(unsigned int, offset);
    QFETCH(QByteArray, range);
    server->expect("GET", "/", "rest", 206);
    Http http;
    Watch watch(http.request(server->url(QStringLiteral("/")), QNetworkAccessManager::GetOperation, {}, offset));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(server->last().headers.contains("range"), offset != 0);
    QCOMPARE(server->last().headers.value("range"), range);
    QVERIFY(!http.getRequestHeaders().contains("Range"));
    QCOMPARE(watch.data, QByteArrayLiteral("rest"));
}

void TestHttp::refusesAnUnknownOperation_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("custom") << static_cast<int>(QNetworkAccessManager::CustomOperation);
    QTest::newRow("none") << static_cast<int>(QNetworkAccessManager::UnknownOperation);
}

void TestHttp::refusesAnUnknownOperation()
{
    QFETCH(int, number);
    const QByteArray warning = "Unknown operation: " + QByteArray::number(number);
    HttpRequest request;
    request.url = server->url(QStringLiteral("/"));
    request.operation = static_cast<QNetworkAccessManager::Operation>(number);
    Http http;
    QTest::ignoreMessage(QtWarningMsg, warning.constData());
    QVERIFY(http.networkReply(request) == nullptr);

    QTest::ignoreMessage(QtWarningMsg, warning.constData());
    HttpReply* const reply = http.request(request);
    QVERIFY(reply != nullptr);
    QCOMPARE(reply->url(), QUrl());
    QCOMPARE(reply->statusCode(), 0);
    // There is nothing that could be given up.
    QSignalSpy ends(reply, &HttpReply::finished);
    QVERIFY(QMetaObject::invokeMethod(reply, "readTimeout"));
    QCOMPARE(ends.size(), 0);
    QCOMPARE(reply->reasonPhrase(), QString());
    QVERIFY(reply->headers().isEmpty());
    QVERIFY(reply->header("x").isEmpty());
    QVERIFY(reply->body().isEmpty());
    Watch watch(reply);
    QTRY_VERIFY(watch.isGone());
    QVERIFY(watch.events.isEmpty());
    QVERIFY(server->requests().isEmpty());
}

void TestHttp::warnsOfAnEmptyUrl()
{
    QTest::ignoreMessage(QtWarningMsg, "Empty URL");
    Watch watch(Http().get(QUrl()));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.events, finishedThenError());
    QCOMPARE(watch.error, QByteArray());
}

void TestHttp::reportsByStatus_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<Headers>("headers");
    QTest::addColumn<QStringList>("events");
    const Headers none;
    for (const int status : {200, 201, 203, 206, 299}) {
        QTest::addRow("%d", status) << status << QByteArray("body\0of it", 10) << none << dataThenFinished();
    }
    QTest::newRow("200 empty") << 200 << QByteArray() << none << dataThenFinished();
    QTest::newRow("200 long") << 200 << QByteArray(3000000, 'x') << none << dataThenFinished();
    QTest::newRow("204") << 204 << QByteArray() << none << dataThenFinished();
    for (const int status : {300, 304}) {
        QTest::addRow("%d without target", status)
            << status << QByteArray() << none << QStringList{QStringLiteral("finished")};
    }
    QTest::newRow("300 with body") << 300 << QByteArray("choose") << none << QStringList{QStringLiteral("finished")};
    for (const int status : {400, 401, 403, 404, 409, 418, 422, 500, 501, 503, 599}) {
        QTest::addRow("%d", status) << status << QByteArray("{\"message\": \"no\"}") << none << finishedThenError();
    }
    QTest::newRow("400 empty") << 400 << QByteArray() << none << finishedThenError();
    QTest::newRow("401 with challenge") << 401 << QByteArray("{\"message\": \"who?\"}")
                                        << Headers{{"WWW-Authenticate", "Basic realm=\"quelmar\""}}
                                        << finishedThenError();
}

void TestHttp::reportsByStatus()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(Headers, headers);
    QFETCH(QStringList, events);
    LoopbackServer::Answer answer;
    answer.status = status;
    answer.body = body;
    answer.headers = headers;
    server->expect("GET", "/", answer);
    Watch watch(Http().get(server->url(QStringLiteral("/"))));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.events, events);
    QCOMPARE(watch.status, status);
    const QByteArray none("(none)");
    QCOMPARE(watch.data, events.contains(QStringLiteral("data")) ? body : none);
    QCOMPARE(watch.error, events.contains(QStringLiteral("error")) ? body : none);
}

void TestHttp::showsTheReplyWhenFinished()
{
    LoopbackServer::Answer answer;
    answer.status = 201;
    answer.reason = "Made It";
    answer.body = "body";
    answer.headers = {{"X-Answer", "forty two"}, {"X-Other", "o"}};
    server->expect("GET", "/here", answer);
    const QUrl url = server->url(QStringLiteral("/here"));
    HttpReply* const reply = Http().get(url);
    QCOMPARE(reply->url(), url);
    QCOMPARE(reply->statusCode(), 0);
    Watch watch(reply);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.url, url);
    QCOMPARE(watch.status, 201);
    QCOMPARE(watch.reason, QStringLiteral("Made It"));
    QCOMPARE(watch.header, QByteArrayLiteral("forty two"));
    const QList<QNetworkReply::RawHeaderPair> expected{
        {"X-Answer", "forty two"}, {"X-Other", "o"}, {"Content-Length", "4"}};
    QCOMPARE(watch.headers, expected);
    QCOMPARE(watch.body, QByteArray());
}

void TestHttp::givesTheDefaultsOfAReply()
{
    const BareReply reply;
    QCOMPARE(reply.reasonPhrase(), QString());
    QVERIFY(reply.headers().isEmpty());
    QVERIFY(reply.header("Content-Length").isEmpty());
}

void TestHttp::reportsATransportFailure_data()
{
    QTest::addColumn<LoopbackServer::Answer>("answer");
    QTest::addColumn<QByteArray>("received");
    LoopbackServer::Answer answer;
    answer.always = true;
    answer.body = QByteArray(1000, 'x');
    answer.kind = LoopbackServer::Answer::Reset;
    QTest::newRow("reset before the reply") << answer << QByteArray();
    answer.kind = LoopbackServer::Answer::ResetInBody;
    QTest::newRow("reset in the body") << answer << QByteArray(500, 'x');
    answer.kind = LoopbackServer::Answer::Raw;
    answer.body = "This is no HTTP at all.\r\n\r\n";
    QTest::newRow("not HTTP") << answer << QByteArray();
    answer.body = "HTTP/1.1 200 OK\r\nContent-Length: 20\r\n\r\nhalf";
    QTest::newRow("closed in the body") << answer << QByteArray("half");
}

void TestHttp::reportsATransportFailure()
{
    QFETCH(LoopbackServer::Answer, answer);
    QFETCH(QByteArray, received);
    server->expect("GET", "/", answer);
    Watch watch(Http().get(server->url(QStringLiteral("/"))));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.events, finishedThenError());
    // Whatever part of the body came through is handed on.
    QVERIFY2(received.startsWith(watch.error), watch.error.constData());
}

void TestHttp::noticesAReplyThatIsCutShort_data()
{
    QTest::addColumn<bool>("put");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("succeeds");
    QTest::newRow("POST, nothing") << false << QByteArray() << false;
    QTest::newRow("POST, half of it") << false << QByteArray("half") << false;
    QTest::newRow("POST, whole") << false << QByteArray("the whole of it") << true;
    QTest::newRow("PUT, half of it") << true << QByteArray("half") << false;
}

void TestHttp::noticesAReplyThatIsCutShort()
{
    QFETCH(bool, put);
    QFETCH(QByteArray, body);
    QFETCH(bool, succeeds);
    // Qt takes the end of the connection for the end of a reply that began before the request was sent.
    EarlyServer early("HTTP/1.1 200 Status\r\nContent-Length: 15\r\n\r\n" + body);
    const QByteArray bytes(EarlyServer::largeSize, 'x');
    Http http;
    HttpReply* const reply =
        put ? http.put(early.url(), bytes, "text/plain") : http.post(early.url(), bytes, "text/plain");
    Watch watch(reply);
    const QNetworkReply* const transport = transportOf(reply);
    QTRY_VERIFY(early.hasAnswered());
    early.readOn();
    QTRY_VERIFY_WITH_TIMEOUT(early.received() > EarlyServer::largeSize, 30000);
    if (!succeeds) {
        QTRY_COMPARE(transport->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 200);
        QTRY_COMPARE(transport->bytesAvailable(), qint64(body.size()));
        QCOMPARE(watch.events, QStringList());
        early.resetConnections();
    }
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.events, succeeds ? dataThenFinished() : finishedThenError());
    QCOMPARE(succeeds ? watch.data : watch.error, body);
}

void TestHttp::takesALengthWithoutABody()
{
    LoopbackServer::Answer answer;
    answer.body = "only its length is sent";
    server->expect("HEAD", "/", answer);
    Watch watch(Http().head(server->url(QStringLiteral("/"))));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.events, dataThenFinished());
    QCOMPARE(watch.data, QByteArray());
}

void TestHttp::reportsARefusedConnection()
{
    const QUrl url = server->url(QStringLiteral("/"));
    server->stop();
    Watch watch(Http().get(url));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.events, finishedThenError());
    QCOMPARE(watch.error, QByteArray());
    QCOMPARE(watch.status, 0);
    QCOMPARE(watch.url, url);
}

void TestHttp::outlivesTheSender()
{
    LoopbackServer::Answer answer;
    answer.body = "late";
    answer.delay = 50;
    server->expect("POST", "/", answer);
    HttpReply* reply = nullptr;
    {
        auto http = std::make_unique<Http>();
        reply = http->post(server->url(QStringLiteral("/")), "x", "text/plain");
    }
    Watch watch(reply);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.events, dataThenFinished());
    QCOMPARE(watch.data, QByteArrayLiteral("late"));
}

void TestHttp::goesWithItsTransport()
{
    HttpReply* const reply = Http().get(server->url(QStringLiteral("/")));
    Watch watch(reply);
    QVERIFY(transportOf(reply) != nullptr);
    delete transportOf(reply);
    QVERIFY(watch.isGone());
    QVERIFY(watch.events.isEmpty());
}

void TestHttp::timesOutBeforeTheFirstByte()
{
    LoopbackServer::Answer answer;
    answer.kind = LoopbackServer::Answer::Stall;
    server->expect("GET", "/", answer);
    Http http;
    http.setReadTimeout(200);
    HttpReply* const reply = http.get(server->url(QStringLiteral("/")));
    const QPointer<QNetworkReply> transport(transportOf(reply));
    Watch watch(reply);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.events, timedOut());
    QCOMPARE(watch.error, QByteArray());
    QVERIFY(transport.isNull());
    QCOMPARE(server->requests().size(), 1);
    QTRY_COMPARE(server->connections(), 0);
}

void TestHttp::waitsWithoutLimitAfterTheFirstByte_data()
{
    QTest::addColumn<int>("delay");
    // Qt reports no progress in the first 100 ms of a request.
    QTest::newRow("at once") << 0;
    QTest::newRow("later") << 200;
}

void TestHttp::waitsWithoutLimitAfterTheFirstByte()
{
    QFETCH(int, delay);
    LoopbackServer::Answer answer;
    answer.kind = LoopbackServer::Answer::StallInBody;
    answer.body = "ab";
    answer.delay = delay;
    server->expect("GET", "/", answer);
    Http http;
    http.setReadTimeout(500);
    Watch watch(http.get(server->url(QStringLiteral("/"))));
    QTest::qWait(1500);
    QVERIFY(!watch.isGone());
    QVERIFY(watch.events.isEmpty());
    server->release();
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.events, dataThenFinished());
    QCOMPARE(watch.data, QByteArrayLiteral("ab"));
}

void TestHttp::abortsASlowUpload()
{
    QTcpServer slow;
    QVERIFY(slow.listen(QHostAddress::LocalHost));
    constexpr int size = 64 * 1024 * 1024;
    qint64 arrived = 0;
    bool dropped = false;
    QTimer pace;
    connect(&slow, &QTcpServer::newConnection, &pace, [&] {
        QTcpSocket* const socket = slow.nextPendingConnection();
        socket->setReadBufferSize(65536);
        connect(socket, &QTcpSocket::disconnected, &pace, [&dropped] { dropped = true; });
        connect(&pace, &QTimer::timeout, socket, [&arrived, socket] { arrived += socket->readAll().size(); });
        pace.start(10);
    });
    Http http;
    http.setReadTimeout(500);
    Watch watch(http.post(QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(slow.serverPort())), QByteArray(size, 'x'),
                          "application/octet-stream"));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.events, timedOut());
    QCOMPARE(watch.error, QByteArray());
    QTRY_VERIFY(dropped);
    QVERIFY2(arrived > 65536 && arrived < size, QByteArray::number(arrived).constData());
}

void TestHttp::endsOnceWhenAReceiverWaits()
{
    // No byte of a body stops the read timer here, and the receiver opens a loop of its own, as a message box does.
    server->expect("GET", "/", "", 204);
    Http http;
    http.setReadTimeout(300);
    HttpReply* const reply = http.get(server->url(QStringLiteral("/")));
    Watch watch(reply);
    bool returned = false;
    const QObject whileHere;
    connect(reply, &HttpReply::data, &whileHere, [&returned] {
        QEventLoop box;
        QTimer::singleShot(900, &box, &QEventLoop::quit);
        box.exec();
        returned = true;
    });
    QTRY_VERIFY(returned);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.events, dataThenFinished());
}

void TestHttp::changesTheTimeoutOfNewObjectsOnly()
{
    const Http before;
    const int old = before.getReadTimeout();
    Http::setDefaultReadTimeout(250);
    Http after;
    Http::setDefaultReadTimeout(old);
    QCOMPARE(before.getReadTimeout(), old);
    QCOMPARE(after.getReadTimeout(), 250);
    QCOMPARE(Http().getReadTimeout(), old);

    LoopbackServer::Answer answer;
    answer.kind = LoopbackServer::Answer::Stall;
    server->expect("GET", "/", answer);
    Watch watch(after.get(server->url(QStringLiteral("/"))));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.events, timedOut());
}

void TestHttp::neverFollowsARedirect_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {301, 302, 303, 307, 308}) {
        QTest::addRow("%d", status) << status;
    }
}

void TestHttp::neverFollowsARedirect()
{
    QFETCH(int, status);
    LoopbackServer::Answer answer;
    answer.status = status;
    answer.headers = {{"Location", server->url(QStringLiteral("/target")).toEncoded()}};
    server->expect("GET", "/", answer);
    Http http;
    http.setReadTimeout(400);
    HttpReply* const reply = http.get(server->url(QStringLiteral("/")));
    QCOMPARE(transportOf(reply)->manager()->redirectPolicy(), QNetworkRequest::UserVerifiedRedirectPolicy);
    const QSignalSpy offered(transportOf(reply), &QNetworkReply::redirected);
    const QSignalSpy allowed(transportOf(reply), &QNetworkReply::redirectAllowed);
    Watch watch(reply);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(offered.size(), 1);
    QCOMPARE(allowed.size(), 0);
    QCOMPARE(watch.events, timedOut());
    QCOMPARE(watch.error, QByteArray());
    QCOMPARE(server->requests().size(), 1);
}

void TestHttp::followsAHandedOnRedirect_data()
{
    QTest::addColumn<int>("operation");
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("GET") << static_cast<int>(QNetworkAccessManager::GetOperation) << QByteArray("GET") << QByteArray();
    QTest::newRow("HEAD") << static_cast<int>(QNetworkAccessManager::HeadOperation) << QByteArray("HEAD")
                          << QByteArray();
    QTest::newRow("DELETE") << static_cast<int>(QNetworkAccessManager::DeleteOperation) << QByteArray("DELETE")
                            << QByteArray();
    QTest::newRow("POST") << static_cast<int>(QNetworkAccessManager::PostOperation) << QByteArray("POST")
                          << QByteArray("body");
    QTest::newRow("PUT") << static_cast<int>(QNetworkAccessManager::PutOperation) << QByteArray("PUT")
                         << QByteArray("body");
}

void TestHttp::followsAHandedOnRedirect()
{
    QFETCH(int, operation);
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, body);
    const ManualRedirects manual;
    const QUrl target = server->url(QStringLiteral("/target"));
    LoopbackServer::Answer answer;
    answer.status = 302;
    answer.headers = {{"Location", target.toEncoded()}};
    server->expect(method, "/", answer);
    server->expect(method, "/target", "there");

    HttpRequest request;
    request.url = server->url(QStringLiteral("/"));
    request.operation = static_cast<QNetworkAccessManager::Operation>(operation);
    request.body = body;
    request.offset = 3;
    request.headers = {{"Authorization", "Bearer t"}, {"Content-Type", "text/plain"}};
    HttpReply* reply = nullptr;
    {
        // What the follow-up needs has to outlive the sender.
        auto http = std::make_unique<Http>();
        reply = http->request(request);
    }
    const QPointer<QNetworkReply> first(transportOf(reply));
    Watch watch(reply);
    QTRY_COMPARE(server->requests().size(), 2);
    QTRY_VERIFY(watch.isGone());
    QVERIFY(first.isNull());
    QCOMPARE(watch.events, dataThenFinished());
    QCOMPARE(watch.data, method == "HEAD" ? QByteArray() : QByteArray("there"));
    QCOMPARE(watch.url, target);
    QCOMPARE(watch.status, 200);
    QCOMPARE(server->last().method, method);
    QCOMPARE(server->last().body, body);
    QCOMPARE(server->last().headers.value("range"), QByteArrayLiteral("bytes=3-"));
    QCOMPARE(server->last().headers.value("authorization"), QByteArrayLiteral("Bearer t"));
    QCOMPARE(server->last().headers.value("content-type"), QByteArrayLiteral("text/plain"));
}

void TestHttp::followsAnyNumberOfHops()
{
    constexpr int hops = 60;
    const ManualRedirects manual;
    for (int i = 0; i < hops; ++i) {
        LoopbackServer::Answer answer;
        answer.status = 307;
        answer.headers = {{"Location", server->url(QStringLiteral("/%1").arg(i + 1)).toEncoded()}};
        server->expect("GET", '/' + QByteArray::number(i), answer);
    }
    server->expect("GET", '/' + QByteArray::number(hops), "end", 404);
    Watch watch(Http().get(server->url(QStringLiteral("/0"))));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(server->requests().size(), hops + 1);
    QCOMPARE(watch.events, finishedThenError());
    QCOMPARE(watch.error, QByteArrayLiteral("end"));
}

void TestHttp::doesNotResolveATarget()
{
    const ManualRedirects manual;
    LoopbackServer::Answer answer;
    answer.status = 302;
    answer.headers = {{"Location", "/target"}};
    server->expect("GET", "/", answer);
    Watch watch(Http().get(server->url(QStringLiteral("/"))));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.events, finishedThenError());
    QCOMPARE(watch.url, QUrl(QStringLiteral("/target")));
    QCOMPARE(server->requests().size(), 1);
}

void TestHttp::limitsTheWaitAfterEachHop()
{
    const ManualRedirects manual;
    LoopbackServer::Answer hop;
    hop.status = 302;
    hop.body = "moved";
    hop.delay = 400;
    hop.headers = {{"Location", server->url(QStringLiteral("/slow")).toEncoded()}};
    LoopbackServer::Answer slow;
    slow.body = "slow";
    slow.delay = 400;
    server->expect("GET", "/", hop);
    server->expect("GET", "/slow", slow);
    Http http;
    http.setReadTimeout(700);
    Watch watch(http.get(server->url(QStringLiteral("/"))));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.events, dataThenFinished());
    QCOMPARE(watch.data, QByteArrayLiteral("slow"));

    hop.delay = 0;
    server->expect("GET", "/", hop);
    LoopbackServer::Answer never;
    never.kind = LoopbackServer::Answer::Stall;
    server->expect("GET", "/slow", never);
    Watch stalled(http.get(server->url(QStringLiteral("/"))));
    QTRY_VERIFY(stalled.isGone());
    QCOMPARE(stalled.events, timedOut());
}

void TestHttp::usesAManagerOfTheThread()
{
    server->expect("GET", "/", "main");
    server->expect("GET", "/", "main");
    server->expect("GET", "/thread", "thread");
    server->expect("GET", "/thread", "thread");
    const QUrl url = server->url(QStringLiteral("/thread"));

    HttpReply* const here = Http().get(server->url(QStringLiteral("/")));
    HttpReply* const again = Http().get(server->url(QStringLiteral("/")));
    const QNetworkAccessManager* const mine = transportOf(here)->manager();
    QCOMPARE(transportOf(again)->manager(), mine);
    QVERIFY(mine->parent() == nullptr);
    Watch watchHere(here);
    Watch watchAgain(again);

    const QNetworkAccessManager* first = nullptr;
    const QNetworkAccessManager* second = nullptr;
    const QThread* servedIn = nullptr;
    QByteArray data;
    QByteArray secondData;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        QEventLoop loop;
        HttpReply* const reply = Http().get(url);
        first = transportOf(reply)->manager();
        QObject::connect(reply, &HttpReply::data, &loop, [&](const QByteArray& bytes) {
            data = bytes;
            servedIn = QThread::currentThread();
        });
        QObject::connect(reply, &QObject::destroyed, &loop, &QEventLoop::quit);
        loop.exec();

        HttpReply* const next = Http().get(url);
        second = transportOf(next)->manager();
        QObject::connect(next, &HttpReply::data, &loop, [&](const QByteArray& bytes) { secondData = bytes; });
        QObject::connect(next, &QObject::destroyed, &loop, &QEventLoop::quit);
        loop.exec();
    }));
    thread->start();
    QTRY_VERIFY(thread->isFinished());
    QTRY_VERIFY(watchHere.isGone() && watchAgain.isGone());
    QCOMPARE(data, QByteArrayLiteral("thread"));
    QCOMPARE(secondData, QByteArrayLiteral("thread"));
    QCOMPARE(servedIn, thread.get());
    QVERIFY(first != nullptr && first != mine);
    QCOMPARE(second, first);
    QCOMPARE(first->redirectPolicy(), QNetworkRequest::UserVerifiedRedirectPolicy);
}

QTEST_GUILESS_MAIN(TestHttp)
#include "TestHttp.moc"
