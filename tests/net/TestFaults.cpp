// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Patient.h"
#include "model/Record.h"
#include "net/Authentication.h"
#include "net/Controller.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"

#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <QWidget>

#include <functional>
#include <memory>

Q_DECLARE_METATYPE(LoopbackServer::Answer)

namespace {

/// One way of the client to ask.
struct Kind
{
    const char* name;
    QByteArray method;
    QByteArray target;
    /// Reports success by onBytes, and else by onSuccess.
    bool bytes;
    bool zipped;
    bool overlay;
    /// Asks without a limit of time and through Qt's own handling of replies.
    bool upload;
    std::function<void(Controller*)> call;
};

Patient patient()
{
    return Patient(QJsonObject{{QStringLiteral("id"), QStringLiteral("p")}});
}

const QList<Kind>& kinds()
{
    static const QList<Kind> all{
        {"login", "POST", "/auth/login", false, false, false, false,
         [](Controller* controller) {
             QMap<QString, QString> form{{QStringLiteral("username"), QStringLiteral("u")}};
             controller->login(form);
         }},
        {"token update", "POST", "/auth/password", false, false, true, false,
         [](Controller* controller) {
             QMap<QString, QString> map;
             controller->changePassword(map);
         }},
        {"get", "GET", "/patient", true, false, true, false,
         [](Controller* controller) { controller->patientsList(); }},
        {"post", "POST", "/patient", true, false, true, false,
         [](Controller* controller) {
             Patient value = patient();
             controller->patientCreate(&value);
         }},
        {"put", "PUT", "/patient/device", false, false, true, false,
         [](Controller* controller) {
             Patient value = patient();
             controller->deviceToggle(&value);
         }},
        {"delete", "DELETE", "/patient/p", false, false, true, false,
         [](Controller* controller) {
             Patient value = patient();
             controller->patientDelete(&value);
         }},
        {"zipped", "POST", "/recipe/autospectrum", true, true, true, false,
         [](Controller* controller) {
             Patient value = patient();
             Record record;
             controller->recipeAutospectrum(&value, &record, QString());
         }},
        {"upload", "POST", "/record", true, false, true, true,
         [](Controller* controller) {
             Patient value = patient();
             QByteArray wav(66194, 'x');
             controller->uploadRecord(&value, wav, QStringLiteral("serial"));
         }},
    };
    return all;
}

enum Outcome
{
    Success,
    Error,
    Neither,
};

/// One thing that goes wrong.
struct Fault
{
    const char* name;
    bool refused;
    LoopbackServer::Answer answer;
    Outcome outcome;
    QString text;
    Outcome uploadOutcome;
};

QList<Fault> faults()
{
    using Answer = LoopbackServer::Answer;
    QList<Fault> all;
    const auto add = [&all](const char* name, const Answer& answer, Outcome outcome, const QString& text = QString()) {
        all.append({name, false, answer, outcome, text, outcome});
    };
    const auto reply = [](int status, const QByteArray& body) {
        Answer answer;
        answer.status = status;
        answer.body = body;
        return answer;
    };
    const auto broken = [](Answer::Kind kind, const QByteArray& body) {
        Answer answer;
        answer.kind = kind;
        answer.body = body;
        answer.always = true;
        return answer;
    };

    all.append({"refused", true, Answer(), Error, QString(), Error});
    add("reset before the reply", broken(Answer::Reset, "{}"), Error);
    add("reset in the body", broken(Answer::ResetInBody, "{\"accessToken\": \"T\"}"), Error);
    add("not HTTP", broken(Answer::Raw, "220 mail.example ready\r\n\r\n"), Error);
    add("closed without a word", broken(Answer::Raw, ""), Error);
    add("body cut off", broken(Answer::Raw, "HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n{\"accessToken\""), Error);
    Answer stall;
    stall.kind = Answer::Stall;
    all.append({"no answer", false, stall, Error, QString(), Neither});

    const QString told = QStringLiteral("It is told");
    add("400 message", reply(400, "{\"message\": \"It is told\"}"), Error, told);
    add("400 errors", reply(400, "{\"errors\": [{\"b\": \"2\", \"a\": \"1\"}, {\"c\": \"3\"}]}"), Error,
        QStringLiteral("a 1\r\nc 3\r\n"));
    add("400 both", reply(400, "{\"errors\": [{\"a\": \"1\"}], \"message\": \"It is told\"}"), Error, told);
    add("400 odd errors", reply(400, "{\"errors\": [1, {}, null, \"x\", {\"a\": 1}]}"), Error,
        QStringLiteral("a 1\r\n"));
    add("400 message as a number", reply(400, "{\"message\": 400}"), Error);
    add("400 nulls", reply(400, "{\"message\": null, \"errors\": null}"), Error);
    add("400 empty", reply(400, ""), Error);
    add("400 wrong kind", reply(400, "[\"message\"]"), Error);
    add("401", reply(401, "{\"message\": \"It is told\"}"), Error, told);
    add("404", reply(404, "{\"message\": \"It is told\"}"), Error, told);
    add("500 HTML", reply(500, "<html><body><h1>Internal Server Error</h1></body></html>"), Error);
    add("501", reply(501, "{\"message\": \"It is told\"}"), Error, told);
    QByteArray many("{\"errors\": [");
    QString manyLines;
    for (int i = 0; i < 10000; ++i) {
        many += i == 0 ? "{\"k\": " : ",{\"k\": ";
        many += QByteArray::number(i) + '}';
        manyLines += QStringLiteral("k %1\r\n").arg(i);
    }
    add("400 with 10,000 errors", reply(400, many + "]}"), Error, manyLines);

    add("200 empty", reply(200, ""), Success);
    add("204", reply(204, ""), Success);
    add("200 not JSON", reply(200, "<html></html>"), Success);
    add("200 array", reply(200, "[{\"accessToken\": \"T\"}]"), Success);
    add("200 text", reply(200, "\"accessToken\""), Success);
    add("200 missing keys", reply(200, "{\"unknown\": 1}"), Success);
    add("200 wrong types", reply(200, "{\"accessToken\": [1], \"tokenType\": {}, \"language\": 7, \"country\": true}"),
        Success);
    add("200 nulls", reply(200, "{\"accessToken\": null, \"tokenType\": null, \"language\": null}"), Success);
    add("200 huge numbers", reply(200, "{\"accessToken\": 1e308, \"expiredAt\": -99999999999999999999}"), Success);
    QByteArray rows("[");
    for (int i = 0; i < 10000; ++i) {
        rows += "{\"id\": \"" + QByteArray::number(i) + "\"},";
    }
    add("200 with 10,000 rows", reply(200, rows + "{}]"), Success);

    all.append({"304", false, reply(304, ""), Neither, QString(), Success});
    Answer moved = reply(302, "");
    moved.headers.insert("Location", "http://127.0.0.1:9/elsewhere");
    all.append({"302 with a target", false, moved, Error, QString(), Success});
    return all;
}

} // namespace

/// Every kind of request meets every fault: it reports once with the text that is told, or not at all where nothing is
/// to be reported, and the screen is usable again.
class TestFaults : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void meets_data();
    void meets();

private:
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
};

void TestFaults::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    Http::instance().setReadTimeout(400);
}

void TestFaults::init()
{
    Authentication::getInstance()->init({
        {QStringLiteral("accessToken"), QStringLiteral("T0ken")},
        {QStringLiteral("tokenType"), QStringLiteral("Bearer")},
    });
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
}

void TestFaults::cleanup()
{
    QCOMPARE(server->pending(), 0);
    server.reset();
    guard->verify();
}

void TestFaults::meets_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<bool>("refused");
    QTest::addColumn<LoopbackServer::Answer>("answer");
    QTest::addColumn<int>("outcome");
    QTest::addColumn<QString>("text");
    const QList<Fault> all = faults();
    for (int i = 0; i < kinds().size(); ++i) {
        for (const Fault& fault : all) {
            QTest::addRow("%s, %s", kinds().at(i).name, fault.name)
                << i << fault.refused << fault.answer
                << static_cast<int>(kinds().at(i).upload ? fault.uploadOutcome : fault.outcome) << fault.text;
        }
    }
}

void TestFaults::meets()
{
    QFETCH(int, kind);
    QFETCH(bool, refused);
    QFETCH(LoopbackServer::Answer, answer);
    QFETCH(int, outcome);
    QFETCH(QString, text);
    const Kind& asked = kinds().at(kind);
    if (refused) {
        server->stop();
    } else {
        server->expect(asked.method, asked.target, answer);
    }

    QWidget screen;
    const QPointer<Controller> controller(new Controller(&screen));
    asked.call(controller);
    const QSignalSpy bytes(controller.data(), &Controller::onBytes);
    const QSignalSpy success(controller.data(), &Controller::onSuccess);
    const QSignalSpy error(controller.data(), &Controller::onError);
    int overlaysAtReport = 0;
    const auto look = [&] { overlaysAtReport += screen.findChildren<LoadingWindow*>().size(); };
    connect(controller.data(), &Controller::onBytes, &screen, look);
    connect(controller.data(), &Controller::onSuccess, &screen, look);
    connect(controller.data(), &Controller::onError, &screen, look);
    const int overlays = asked.overlay ? 1 : 0;
    QCOMPARE(screen.findChildren<LoadingWindow*>().size(), overlays);

    if (outcome == Neither) {
        QTRY_COMPARE(server->requests().size(), 1);
        QTest::qWait(600);
        QVERIFY(!controller.isNull());
        QCOMPARE(screen.findChildren<LoadingWindow*>().size(), overlays);
        QCOMPARE(bytes.size() + success.size() + error.size(), 0);
        if (answer.kind == LoopbackServer::Answer::Stall) {
            server->release();
            QTRY_VERIFY(controller.isNull());
            QCOMPARE(bytes.size(), 1);
        }
        delete controller;
        return;
    }

    QTRY_VERIFY(controller.isNull());
    QCOMPARE(bytes.size() + success.size() + error.size(), 1);
    QCOMPARE(overlaysAtReport, 0);
    QVERIFY(screen.findChild<LoadingWindow*>() == nullptr);
    if (outcome == Error) {
        QCOMPARE(error.size(), 1);
        QCOMPARE(error.first().first().toString(), text);
        // A failure changes nothing in the session.
        QCOMPARE(Authentication::getInstance()->getAuthHeader(), QByteArrayLiteral("Bearer T0ken"));
        return;
    }
    QCOMPARE(bytes.size(), asked.bytes ? 1 : 0);
    if (asked.bytes) {
        // What none of these replies holds is a gzip member.
        QCOMPARE(bytes.first().first().toByteArray(), asked.zipped ? QByteArray() : answer.body);
    }
    if (asked.target == "/auth/login") {
        QCOMPARE(Authentication::getInstance()->getAuthHeader(), QByteArrayLiteral(" "));
    } else if (asked.target == "/auth/password") {
        QCOMPARE(Authentication::getInstance()->getAuthHeader(), QByteArrayLiteral("Bearer "));
    }
}

QTEST_MAIN(TestFaults)
#include "TestFaults.moc"
