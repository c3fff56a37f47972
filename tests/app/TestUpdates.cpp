// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Constants.h"
#include "app/DialogAbout.h"
#include "app/MainWindow.h"
#include "app/init.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "tests/app/LoggedIn.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QTest>

#include <memory>

namespace {

const char* const updatesTarget = "/auth/updates/?version=2021.3.0";

bool isBox(QWidget* widget)
{
    return qobject_cast<QMessageBox*>(widget) != nullptr;
}

QString text(const char* key)
{
    return QCoreApplication::translate("MainWindow", key);
}

} // namespace

/// The two entries of the menu that only tell: whether there is a newer version, and what this one is.
class TestUpdates : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { guard = std::make_unique<MessageGuard>(); }
    void cleanupTestCase() { guard.reset(); }
    void init();
    void cleanup();

    void asksForItsVersion();
    void tellsWhatTheServerKnows_data();
    void tellsWhatTheServerKnows();
    void showsWhatTheServerSays_data();
    void showsWhatTheServerSays();
    void showsAnEmptyBoxForATransportFailure_data();
    void showsAnEmptyBoxForATransportFailure();
    void asksOnlyFromTheMenu();
    void windowMayEndWhileItAsks();
    void windowMayEndBehindTheBox();

    void aboutIsOpenedAndDropped();
    void windowMayEndDuringAbout();

private:
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
};

void TestUpdates::init()
{
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
}

void TestUpdates::cleanup()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(server->pending(), 0);
    server.reset();
    guard->verify();
}

void TestUpdates::asksForItsVersion()
{
    const auto window = loggedIn(*server);
    LoopbackServer::Answer answer;
    answer.kind = LoopbackServer::Answer::Stall;
    answer.body = "{}";
    server->expect("GET", updatesTarget, answer);
    menuEntry(*window, "menuUpdates")->trigger();
    auto* const overlay = window->findChild<LoadingWindow*>();
    QVERIFY(overlay != nullptr);
    QCOMPARE(overlay->parentWidget(), window.get());
    QTRY_COMPARE(server->requests().size(), 1);
    QCOMPARE(server->last().target, QByteArray("/auth/updates/?version=") + Constants::VERSION);
    QCOMPARE(server->last().headers.value("authorization"), QByteArray("Bearer first"));
    QCOMPARE(server->last().body, QByteArray());
    BoxAnswer box(QMessageBox::Ok);
    server->release();
    QTRY_VERIFY(box.used());
    QVERIFY(window->findChild<LoadingWindow*>() == nullptr);
}

void TestUpdates::tellsWhatTheServerKnows_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("update");
    QTest::newRow("true") << 200 << QByteArray(R"({"update": true})") << true;
    QTest::newRow("true among others") << 200 << QByteArray(R"({"a": [], "update": true, "version": "9"})") << true;
    QTest::newRow("false") << 200 << QByteArray(R"({"update": false})") << false;
    QTest::newRow("missing") << 200 << QByteArray("{}") << false;
    QTest::newRow("other case") << 200 << QByteArray(R"({"Update": true})") << false;
    QTest::newRow("null") << 200 << QByteArray(R"({"update": null})") << false;
    QTest::newRow("number") << 200 << QByteArray(R"({"update": 1})") << false;
    QTest::newRow("text") << 200 << QByteArray(R"({"update": "true"})") << false;
    QTest::newRow("object") << 200 << QByteArray(R"({"update": {"update": true}})") << false;
    QTest::newRow("array") << 200 << QByteArray(R"([{"update": true}])") << false;
    QTest::newRow("bare") << 200 << QByteArray("true") << false;
    QTest::newRow("cut off") << 200 << QByteArray(R"({"update": true)") << false;
    QTest::newRow("HTML") << 200 << QByteArray("<html>update: true</html>") << false;
    QTest::newRow("empty") << 200 << QByteArray() << false;
    QTest::newRow("no content") << 204 << QByteArray() << false;
}

void TestUpdates::tellsWhatTheServerKnows()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(bool, update);
    const auto window = loggedIn(*server);
    server->expect("GET", updatesTarget, body, status);
    BoxAnswer box(QMessageBox::Ok);
    menuEntry(*window, "menuUpdates")->trigger();
    QTRY_VERIFY(box.used());
    QCOMPARE(box.title, text("Text.updatesTitle"));
    QCOMPARE(box.text, text(update ? "Text.updatesAvailable" : "Text.upToDate"));
    QVERIFY(text("Text.updatesAvailable") != text("Text.upToDate"));
    QCOMPARE(box.icon, QMessageBox::Information);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(box.parent, window.get());
    QCOMPARE(server->requests().size(), 1);
}

void TestUpdates::showsWhatTheServerSays_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("message");
    QTest::newRow("message") << 400 << QByteArray(R"({"message": "Unknown version"})")
                             << QStringLiteral("Unknown version");
    QTest::newRow("errors") << 400 << QByteArray(R"({"errors": [{"version": "odd"}]})")
                            << QStringLiteral("version odd\r\n");
    QTest::newRow("not there") << 501 << QByteArray(R"({"message": "Not available"})")
                               << QStringLiteral("Not available");
    // What a failure says of updates is not believed.
    QTest::newRow("update") << 500 << QByteArray(R"({"update": true})") << QString();
    QTest::newRow("HTML") << 502 << QByteArray("<html></html>") << QString();
    QTest::newRow("empty") << 503 << QByteArray() << QString();
}

void TestUpdates::showsWhatTheServerSays()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, message);
    const auto window = loggedIn(*server);
    server->expect("GET", updatesTarget, body, status);
    BoxAnswer box(QMessageBox::Ok);
    menuEntry(*window, "menuUpdates")->trigger();
    QTRY_VERIFY(box.used());
    QCOMPARE(box.title, QCoreApplication::translate("QObject", "Text.error"));
    QCOMPARE(box.text, message);
    QCOMPARE(box.icon, QMessageBox::Critical);
    QCOMPARE(box.parent, window.get());
    QVERIFY(window->findChild<LoadingWindow*>() == nullptr);
}

void TestUpdates::showsAnEmptyBoxForATransportFailure_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("refused") << -1;
    QTest::newRow("reset") << static_cast<int>(LoopbackServer::Answer::Reset);
    QTest::newRow("reset in the body") << static_cast<int>(LoopbackServer::Answer::ResetInBody);
    QTest::newRow("not HTTP") << static_cast<int>(LoopbackServer::Answer::Raw);
    QTest::newRow("no answer") << static_cast<int>(LoopbackServer::Answer::Stall);
}

void TestUpdates::showsAnEmptyBoxForATransportFailure()
{
    QFETCH(int, kind);
    const auto window = loggedIn(*server);
    if (kind < 0) {
        server->stop();
    } else {
        LoopbackServer::Answer answer;
        answer.kind = static_cast<LoopbackServer::Answer::Kind>(kind);
        answer.always = true;
        answer.body = R"({"update": true})";
        server->expect("GET", updatesTarget, answer);
    }
    const int before = Http::instance().getReadTimeout();
    Http::instance().setReadTimeout(300);
    BoxAnswer box(QMessageBox::Ok);
    menuEntry(*window, "menuUpdates")->trigger();
    Http::instance().setReadTimeout(before);
    QTRY_VERIFY(box.used());
    QCOMPARE(box.icon, QMessageBox::Critical);
    QCOMPARE(box.text, QString());
    QVERIFY(window->findChild<LoadingWindow*>() == nullptr);
}

void TestUpdates::asksOnlyFromTheMenu()
{
    const auto window = loggedIn(*server);
    QTest::qWait(300);
    QVERIFY(server->requests().isEmpty());
    for (int i = 1; i <= 2; ++i) {
        server->expect("GET", updatesTarget, R"({"update": true})");
        BoxAnswer box(QMessageBox::Ok);
        menuEntry(*window, "menuUpdates")->trigger();
        QTRY_VERIFY(box.used());
        QCOMPARE(server->requests().size(), i);
    }
}

void TestUpdates::windowMayEndWhileItAsks()
{
    auto window = loggedIn(*server);
    LoopbackServer::Answer answer;
    answer.kind = LoopbackServer::Answer::Stall;
    answer.body = R"({"update": true})";
    server->expect("GET", updatesTarget, answer);
    menuEntry(*window, "menuUpdates")->trigger();
    QTRY_COMPARE(server->requests().size(), 1);
    window.reset();
    server->release();
    QTest::qWait(200);
    QVERIFY(QApplication::activeModalWidget() == nullptr);
}

void TestUpdates::windowMayEndBehindTheBox()
{
    auto window = loggedIn(*server);
    server->expect("GET", updatesTarget, R"({"update": true})");
    ModalAnswer destroy(isBox, [&window](QWidget*) { window.reset(); });
    menuEntry(*window, "menuUpdates")->trigger();
    QTRY_VERIFY(destroy.used());
    QVERIFY(window == nullptr);
    QVERIFY(QApplication::activeModalWidget() == nullptr);
}

void TestUpdates::aboutIsOpenedAndDropped()
{
    const auto window = loggedIn(*server);
    QString expiredAt;
    QString title;
    QWidget* owner = nullptr;
    ModalAnswer about([](QWidget* widget) { return qobject_cast<DialogAbout*>(widget) != nullptr; },
                      [&](QWidget* dialog) {
                          expiredAt = dialog->findChild<QLabel*>(QStringLiteral("labelExpiredAt"))->text();
                          title = dialog->windowTitle();
                          owner = dialog->parentWidget();
                          qobject_cast<DialogAbout*>(dialog)->onClose();
                      });
    menuEntry(*window, "menuAbout")->trigger();
    QVERIFY(about.used());
    QCOMPARE(expiredAt, QStringLiteral("2027-01-01"));
    QCOMPARE(title, QCoreApplication::translate("DialogAbout", "Text.about"));
    QCOMPARE(owner, window.get());
    QTRY_VERIFY(window->findChild<DialogAbout*>() == nullptr);
    QVERIFY(server->requests().isEmpty());
}

void TestUpdates::windowMayEndDuringAbout()
{
    auto window = loggedIn(*server);
    ModalAnswer destroy([](QWidget* widget) { return qobject_cast<DialogAbout*>(widget) != nullptr; },
                        [&window](QWidget*) { window.reset(); });
    menuEntry(*window, "menuAbout")->trigger();
    QVERIFY(destroy.used());
    QVERIFY(window == nullptr);
}

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    init(app);
    TestUpdates test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestUpdates.moc"
