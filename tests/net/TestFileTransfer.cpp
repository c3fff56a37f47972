// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Patient.h"
#include "model/Record.h"
#include "net/Authentication.h"
#include "net/Controller.h"
#include "net/FileTransfer.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "tests/support/EarlyServer.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"

#include <QEventLoop>
#include <QHttpMultiPart>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <memory>

Q_DECLARE_METATYPE(LoopbackServer::Answer)

namespace {

Patient patient(const QString& id)
{
    return Patient(QJsonObject{{QStringLiteral("id"), id}});
}

QByteArray everyByte(int size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i % 256);
    }
    return bytes;
}

/// What one upload reports.
class Watch
{
public:
    explicit Watch(FileTransfer* transfer)
        : alive(transfer)
        , manager(transfer->findChild<QNetworkAccessManager*>())
    {
        QObject::connect(transfer, &FileTransfer::onSuccess, &context, [this](const QByteArray& bytes) {
            ++successCount;
            body = bytes;
        });
        QObject::connect(transfer, &FileTransfer::onError, &context, [this](const QByteArray& bytes) {
            ++errorCount;
            body = bytes;
        });
    }

    bool isGone() const { return alive.isNull(); }

    QPointer<FileTransfer> alive;
    QPointer<QNetworkAccessManager> manager;
    int successCount = 0;
    int errorCount = 0;
    QByteArray body = QByteArrayLiteral("(none)");

private:
    QObject context;
};

} // namespace

class TestFileTransfer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void sendsTheForm_data();
    void sendsTheForm();
    void sendsNoneOfTheClientsHeaders();
    void waitsWithoutLimit();
    void reportsTheReply_data();
    void reportsTheReply();
    void reportsATransportFailure_data();
    void reportsATransportFailure();
    void noticesAReplyThatIsCutShort_data();
    void noticesAReplyThatIsCutShort();
    void takesALengthWithoutABody();
    void leavesNothingBehind();
    void survivesAReceiverThatWaits();

    void uploadsThroughTheController_data();
    void uploadsThroughTheController();
    void reportsTheControllersFailure_data();
    void reportsTheControllersFailure();
    void survivesTheParentOfTheController_data();
    void survivesTheParentOfTheController();

private:
    Watch send(const QString& path, const QString& id, const QByteArray& content, const QString& deviceId);

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
};

void TestFileTransfer::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    Authentication::getInstance()->init({
        {QStringLiteral("accessToken"), QStringLiteral("T0ken")},
        {QStringLiteral("country"), QStringLiteral("ch")},
        {QStringLiteral("language"), QStringLiteral("DE")},
        {QStringLiteral("tokenType"), QStringLiteral("Bearer")},
    });
}

void TestFileTransfer::init()
{
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
}

void TestFileTransfer::cleanup()
{
    QCOMPARE(server->pending(), 0);
    server.reset();
    guard->verify();
}

Watch TestFileTransfer::send(const QString& path, const QString& id, const QByteArray& content, const QString& deviceId)
{
    // All that the upload is given ends with this scope, as it does with its callers.
    auto* const transfer = new FileTransfer;
    QString url = server->url(path).toString();
    Patient of = patient(id);
    QByteArray bytes = content;
    bytes.detach();
    transfer->send(url, &of, bytes, deviceId);
    bytes.fill('!');
    return Watch(transfer);
}

void TestFileTransfer::sendsTheForm_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("deviceId");
    QTest::addColumn<QByteArray>("header");
    const QString id = QStringLiteral("p-1");
    const QByteArray wav = everyByte(66194);
    QTest::newRow("a recording") << id << wav << QStringLiteral("serial 7") << QByteArray("serial 7");
    QTest::newRow("device beyond ASCII") << id << wav << QStringLiteral("s\u00e9rie") << QByteArray("s\xc3\xa9rie");
    QTest::newRow("empty device") << id << wav << QStringLiteral("") << QByteArray();
    QTest::newRow("null device") << id << wav << QString() << QByteArray();
    QTest::newRow("patient beyond ASCII") << QStringLiteral("\u0416") << wav << id << QByteArray("p-1");
    QTest::newRow("no patient id") << QString() << wav << id << QByteArray("p-1");
    QTest::newRow("empty recording") << id << QByteArray() << id << QByteArray("p-1");
    QTest::newRow("looks like a boundary")
        << id << QByteArray("\r\n--boundary_.oOo._\r\n\r\n--\r\n") << id << QByteArray("p-1");
}

void TestFileTransfer::sendsTheForm()
{
    QFETCH(QString, id);
    QFETCH(QByteArray, content);
    QFETCH(QString, deviceId);
    QFETCH(QByteArray, header);
    server->expect("POST", "/record", "stored");
    Watch watch = send(QStringLiteral("/record"), id, content, deviceId);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.successCount, 1);

    const LoopbackServer::Request& request = server->last();
    QVERIFY2(request.head.contains("\r\nQuelmar-ID: " + header), request.head.constData());
    QCOMPARE(request.headers.value("quelmar-id"), header);
    QCOMPARE(request.headers.value("authorization"), QByteArrayLiteral("Bearer T0ken"));
    QCOMPARE(request.headers.value("accept-language"), QByteArrayLiteral("de-CH"));

    const QByteArray type = request.headers.value("content-type");
    const QByteArray prefix("multipart/form-data; boundary=\"");
    QVERIFY2(type.startsWith(prefix) && type.endsWith('"'), type.constData());
    const QByteArray boundary = type.mid(prefix.size()).chopped(1);
    QVERIFY(!boundary.isEmpty());
    const QByteArray expected = "--" + boundary + "\r\nContent-Disposition: form-data; name=\"patientId\"\r\n\r\n" +
                                id.toUtf8() + "\r\n--" + boundary +
                                "\r\nContent-Disposition: form-data; name=\"record\"; filename=\"record\""
                                "\r\nContent-Type: application/octet-stream\r\n\r\n" +
                                content + "\r\n--" + boundary + "--\r\n";
    QCOMPARE(request.body.size(), expected.size());
    QVERIFY(request.body == expected);
}

void TestFileTransfer::sendsNoneOfTheClientsHeaders()
{
    Http& http = Http::instance();
    http.setRequestHeaders({{"X-Mine", "1"}, {"Accept-Charset", "utf-8"}, {"Content-Type", "text/plain"}});
    server->expect("POST", "/record", "stored");
    Watch watch = send(QStringLiteral("/record"), QStringLiteral("p"), "x", QStringLiteral("d"));
    QTRY_VERIFY(watch.isGone());
    http.setRequestHeaders(Http::getDefaultRequestHeaders());

    // The rest is what Qt itself puts on the wire.
    QList<QByteArray> names = server->last().headers.keys();
    std::sort(names.begin(), names.end());
    const QList<QByteArray> expected{"accept-encoding", "accept-language", "authorization", "connection",
                                     "content-length",  "content-type",    "host",          "mime-version",
                                     "quelmar-id",      "user-agent"};
    QCOMPARE(names, expected);
    QVERIFY(server->last().headers.value("content-type").startsWith("multipart/form-data"));
}

void TestFileTransfer::waitsWithoutLimit()
{
    const Http before = Http::instance();
    Http::setDefaultReadTimeout(100);
    Http::instance().setReadTimeout(100);
    LoopbackServer::Answer answer;
    answer.body = "at last";
    answer.delay = 1000;
    server->expect("POST", "/record", answer);
    Watch watch = send(QStringLiteral("/record"), QStringLiteral("p"), "x", QStringLiteral("d"));
    QTRY_VERIFY(watch.isGone());
    Http::setDefaultReadTimeout(before.getReadTimeout());
    Http::instance() = before;
    QCOMPARE(watch.successCount, 1);
    QCOMPARE(watch.errorCount, 0);
    QCOMPARE(watch.body, QByteArrayLiteral("at last"));
}

void TestFileTransfer::reportsTheReply_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("succeeds");
    for (const int status : {200, 201, 204, 300, 304}) {
        const bool bodiless = status == 204 || status == 304;
        QTest::addRow("%d", status) << status << (bodiless ? QByteArray() : QByteArray("{\"id\": \"r\"}")) << true;
    }
    QTest::newRow("200 empty") << 200 << QByteArray() << true;
    for (const int status : {400, 401, 404, 413, 500, 503}) {
        QTest::addRow("%d", status) << status << QByteArray("{\"message\": \"no\"}") << false;
    }
    QTest::newRow("400 empty") << 400 << QByteArray() << false;
}

void TestFileTransfer::reportsTheReply()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(bool, succeeds);
    server->expect("POST", "/record", body, status);
    Watch watch = send(QStringLiteral("/record"), QStringLiteral("p"), "x", QStringLiteral("d"));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.successCount, succeeds ? 1 : 0);
    QCOMPARE(watch.errorCount, succeeds ? 0 : 1);
    QCOMPARE(watch.body, body);
}

void TestFileTransfer::reportsATransportFailure_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("refused") << -1;
    QTest::newRow("reset before the reply") << static_cast<int>(LoopbackServer::Answer::Reset);
    QTest::newRow("reset in the body") << static_cast<int>(LoopbackServer::Answer::ResetInBody);
    QTest::newRow("not HTTP") << static_cast<int>(LoopbackServer::Answer::Raw);
}

void TestFileTransfer::reportsATransportFailure()
{
    QFETCH(int, kind);
    const QByteArray body("no HTTP here\r\n\r\n");
    if (kind >= 0) {
        LoopbackServer::Answer answer;
        answer.kind = static_cast<LoopbackServer::Answer::Kind>(kind);
        answer.always = true;
        answer.body = body;
        server->expect("POST", "/record", answer);
    }
    const QString url = server->url(QStringLiteral("/record")).toString();
    if (kind < 0) {
        server->stop();
    }
    auto* const transfer = new FileTransfer;
    Watch watch(transfer);
    QString address = url;
    Patient of = patient(QStringLiteral("p"));
    QByteArray bytes("x");
    transfer->send(address, &of, bytes, QString());
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.successCount, 0);
    QCOMPARE(watch.errorCount, 1);
    if (kind == LoopbackServer::Answer::ResetInBody) {
        QVERIFY(body.startsWith(watch.body));
    } else {
        QCOMPARE(watch.body, QByteArray());
    }
}

void TestFileTransfer::noticesAReplyThatIsCutShort_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("succeeds");
    QTest::newRow("nothing") << QByteArray() << false;
    QTest::newRow("half of it") << QByteArray("{\"id\"") << false;
    QTest::newRow("whole") << QByteArray("{\"id\": \"r\"}") << true;
}

void TestFileTransfer::noticesAReplyThatIsCutShort()
{
    QFETCH(QByteArray, body);
    QFETCH(bool, succeeds);
    // Qt takes the end of the connection for the end of a reply that began before the request was sent.
    EarlyServer early("HTTP/1.1 200 Status\r\nContent-Length: 11\r\n\r\n" + body);
    auto* const transfer = new FileTransfer;
    Watch watch(transfer);
    QString url = early.url().toString();
    Patient of = patient(QStringLiteral("p"));
    QByteArray bytes(EarlyServer::largeSize, 'x');
    transfer->send(url, &of, bytes, QString());
    auto* const reply = transfer->findChild<QNetworkReply*>();
    QTRY_VERIFY(early.hasAnswered());
    early.readOn();
    QTRY_VERIFY_WITH_TIMEOUT(early.received() > EarlyServer::largeSize, 30000);
    if (!succeeds) {
        QTRY_COMPARE(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 200);
        QTRY_COMPARE(reply->bytesAvailable(), qint64(body.size()));
        QCOMPARE(watch.successCount + watch.errorCount, 0);
        early.resetConnections();
    }
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.successCount, succeeds ? 1 : 0);
    QCOMPARE(watch.errorCount, succeeds ? 0 : 1);
    QCOMPARE(watch.body, body);
}

void TestFileTransfer::takesALengthWithoutABody()
{
    // Such a reply tells the length of the body that it would have had otherwise.
    LoopbackServer::Answer answer;
    answer.status = 304;
    answer.headers.insert("Content-Length", "11");
    server->expect("POST", "/record", answer);
    Watch watch = send(QStringLiteral("/record"), QStringLiteral("p"), "x", QStringLiteral("d"));
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.successCount, 1);
    QCOMPARE(watch.errorCount, 0);
    QCOMPARE(watch.body, QByteArray());
}

void TestFileTransfer::leavesNothingBehind()
{
    server->expect("POST", "/record", "stored");
    Watch watch = send(QStringLiteral("/record"), QStringLiteral("p"), "x", QStringLiteral("d"));
    QVERIFY(!watch.manager.isNull());
    QCOMPARE(watch.manager->parent(), watch.alive.data());
    const QPointer<QNetworkReply> reply(watch.alive->findChild<QNetworkReply*>());
    QVERIFY(!reply.isNull());
    const QPointer<QHttpMultiPart> form(reply->findChild<QHttpMultiPart*>());
    QVERIFY(!form.isNull());
    QTRY_VERIFY(watch.isGone());
    QVERIFY(watch.manager.isNull());
    QVERIFY(reply.isNull());
    QVERIFY(form.isNull());
}

void TestFileTransfer::survivesAReceiverThatWaits()
{
    server->expect("POST", "/record", "no", 400);
    Watch watch = send(QStringLiteral("/record"), QStringLiteral("p"), "x", QStringLiteral("d"));
    bool aliveAfterwards = false;
    connect(watch.alive.data(), &FileTransfer::onError, this, [&] {
        QEventLoop box;
        QTimer::singleShot(200, &box, &QEventLoop::quit);
        box.exec();
        aliveAfterwards = !watch.isGone();
    });
    QTRY_VERIFY(watch.isGone());
    QVERIFY(aliveAfterwards);
    QCOMPARE(watch.errorCount, 1);
}

void TestFileTransfer::uploadsThroughTheController_data()
{
    QTest::addColumn<bool>("withParent");
    QTest::newRow("with a parent") << true;
    QTest::newRow("without a parent") << false;
}

void TestFileTransfer::uploadsThroughTheController()
{
    QFETCH(bool, withParent);
    QWidget screen;
    LoopbackServer::Answer answer;
    answer.body = "{\"id\": \"r-9\"}";
    answer.delay = 150;
    server->expect("POST", "/record", answer);
    const QPointer<Controller> controller(new Controller(withParent ? &screen : nullptr));
    {
        Patient of = patient(QStringLiteral("p-1"));
        QByteArray bytes = everyByte(66194);
        controller->uploadRecord(&of, bytes, QStringLiteral("serial"));
    }
    const QSignalSpy bytes(controller.data(), &Controller::onBytes);
    const QSignalSpy success(controller.data(), &Controller::onSuccess);
    const QSignalSpy error(controller.data(), &Controller::onError);
    bool overlayAtReport = true;
    connect(controller.data(), &Controller::onBytes, &screen,
            [&] { overlayAtReport = screen.findChild<LoadingWindow*>() != nullptr; });
    QCOMPARE(screen.findChildren<LoadingWindow*>().size(), withParent ? 1 : 0);
    QTRY_VERIFY(controller.isNull());
    QCOMPARE(bytes.size(), 1);
    QCOMPARE(bytes.first().first().toByteArray(), answer.body);
    QCOMPARE(success.size(), 0);
    QCOMPARE(error.size(), 0);
    QVERIFY(!overlayAtReport);
    QVERIFY(screen.findChild<LoadingWindow*>() == nullptr);
    QCOMPARE(server->last().headers.value("quelmar-id"), QByteArrayLiteral("serial"));
    QVERIFY(server->last().body.contains("\r\n\r\np-1\r\n"));
    QVERIFY(server->last().body.contains(everyByte(66194)));
}

void TestFileTransfer::reportsTheControllersFailure_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("message");
    QTest::newRow("message") << 400 << QByteArray("{\"message\": \"Too long\"}") << QStringLiteral("Too long");
    QTest::newRow("errors") << 400 << QByteArray("{\"errors\": [{\"record\": \"is no WAV\"}]}")
                            << QStringLiteral("record is no WAV\r\n");
    QTest::newRow("HTML") << 500 << QByteArray("<html></html>") << QString();
    QTest::newRow("refused") << 0 << QByteArray() << QString();
}

void TestFileTransfer::reportsTheControllersFailure()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, message);
    if (status == 0) {
        server->stop();
    } else {
        server->expect("POST", "/record", body, status);
    }
    QWidget screen;
    const QPointer<Controller> controller(new Controller(&screen));
    Patient of = patient(QStringLiteral("p-1"));
    QByteArray bytes("x");
    controller->uploadRecord(&of, bytes, QString());
    const QSignalSpy reply(controller.data(), &Controller::onBytes);
    const QSignalSpy error(controller.data(), &Controller::onError);
    QVERIFY(screen.findChild<LoadingWindow*>() != nullptr);
    QTRY_VERIFY(controller.isNull());
    QCOMPARE(reply.size(), 0);
    QCOMPARE(error.size(), 1);
    QCOMPARE(error.first().first().toString(), message);
    QVERIFY(screen.findChild<LoadingWindow*>() == nullptr);
}

void TestFileTransfer::survivesTheParentOfTheController_data()
{
    QTest::addColumn<int>("status");
    QTest::newRow("stored") << 200;
    QTest::newRow("refused") << 400;
}

void TestFileTransfer::survivesTheParentOfTheController()
{
    QFETCH(int, status);
    LoopbackServer::Answer answer;
    answer.status = status;
    answer.delay = 50;
    server->expect("POST", "/record", answer);
    auto screen = std::make_unique<QWidget>();
    const QPointer<Controller> controller(new Controller(screen.get()));
    Patient of = patient(QStringLiteral("p-1"));
    QByteArray bytes("x");
    controller->uploadRecord(&of, bytes, QString());
    const QSignalSpy reply(controller.data(), &Controller::onBytes);
    const QSignalSpy error(controller.data(), &Controller::onError);
    screen.reset();
    QTRY_VERIFY(controller.isNull());
    QCOMPARE(reply.size(), status == 200 ? 1 : 0);
    QCOMPARE(error.size(), status == 200 ? 0 : 1);
}

QTEST_MAIN(TestFileTransfer)
#include "TestFileTransfer.moc"
