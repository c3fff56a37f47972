// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/DialogChangePassword.h"
#include "app/MainWindow.h"
#include "app/init.h"
#include "net/Authentication.h"
#include "net/Controller.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "tests/app/LoggedIn.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QAction>
#include <QApplication>
#include <QBoxLayout>
#include <QFormLayout>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

namespace {

const char* const fieldNames[] = {"oldPasswordField", "newPasswordField", "repeatPasswordField"};

bool isDialog(QWidget* widget)
{
    return qobject_cast<DialogChangePassword*>(widget) != nullptr;
}

QLineEdit* field(const QWidget* dialog, const char* name)
{
    return dialog->findChild<QLineEdit*>(QString::fromLatin1(name));
}

QPushButton* button(const QWidget* dialog, const char* name)
{
    return dialog->findChild<QPushButton*>(QString::fromLatin1(name));
}

void fillIn(const QWidget* dialog, const QString& old = QStringLiteral("secret"),
            const QString& fresh = QStringLiteral("better"), const QString& repeated = QStringLiteral("better"))
{
    field(dialog, "oldPasswordField")->setText(old);
    field(dialog, "newPasswordField")->setText(fresh);
    field(dialog, "repeatPasswordField")->setText(repeated);
}

void confirm(const QWidget* dialog)
{
    QTest::mouseClick(button(dialog, "buttonConfirm"), Qt::LeftButton);
}

} // namespace

/// The dialog by itself and as the window's menu opens it.
class TestDialogChangePassword : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { guard.reset(); }
    void init();
    void cleanup();

    void formIsAsNamed();
    void rowsAreAsNamed_data();
    void rowsAreAsNamed();
    void buttonsAreAsNamed();
    void standsInTheMiddleOnTop();

    void sendsNothingForAnEmptyField_data();
    void sendsNothingForAnEmptyField();
    void sendsTheThreePasswords_data();
    void sendsTheThreePasswords();
    void sendsOnReturn();
    void waitsUnderAnOverlay();

    void showsWhatTheServerSays_data();
    void showsWhatTheServerSays();
    void showsAnEmptyBoxForATransportFailure_data();
    void showsAnEmptyBoxForATransportFailure();
    void changesAfterARefusal();

    void endsWithSuccess_data();
    void endsWithSuccess();
    void saysFalseOnceOnCancel();
    void saysFalseOnceWhenTheWindowIsClosed();
    void leavesWithoutAWordOnEscape();
    void mayBeLeftWhileItAsks_data();
    void mayBeLeftWhileItAsks();
    void mayEndBehindItsBox();
    void mayEndInsideItsReport();

    void menuSaysThatItIsDone();
    void menuSaysNothingOnOtherWays_data();
    void menuSaysNothingOnOtherWays();
    void laterRequestsBearTheNewToken();
    void refusalLeavesTheToken();
    void windowMayEndDuringTheDialog();
    void windowMayEndBehindTheBoxOfSuccess();

private:
    /// Runs the dialog modally, and `action` inside its loop.
    int execWith(const std::function<void()>& action);
    QList<bool> reports() const;

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
    std::unique_ptr<DialogChangePassword> dialog;
    std::unique_ptr<QSignalSpy> listener;
};

void TestDialogChangePassword::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
}

void TestDialogChangePassword::init()
{
    Authentication::getInstance()->init({
        {QStringLiteral("accessToken"), QStringLiteral("first")},
        {QStringLiteral("tokenType"), QStringLiteral("Bearer")},
        {QStringLiteral("language"), QStringLiteral("en")},
        {QStringLiteral("country"), QStringLiteral("US")},
    });
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
    dialog = std::make_unique<DialogChangePassword>(nullptr);
    listener = std::make_unique<QSignalSpy>(dialog.get(), &DialogChangePassword::listener);
}

void TestDialogChangePassword::cleanup()
{
    listener.reset();
    dialog.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(server->pending(), 0);
    server.reset();
    guard->verify();
}

int TestDialogChangePassword::execWith(const std::function<void()>& action)
{
    QTimer::singleShot(0, dialog.get(), action);
    QTimer::singleShot(8000, dialog.get(), [this] {
        QTest::qFail("The dialog did not end", __FILE__, __LINE__);
        dialog->done(-1);
    });
    return dialog->exec();
}

QList<bool> TestDialogChangePassword::reports() const
{
    QList<bool> all;
    for (const QList<QVariant>& arguments : *listener) {
        all.append(arguments.first().toBool());
    }
    return all;
}

void TestDialogChangePassword::formIsAsNamed()
{
    QCOMPARE(dialog->objectName(), QStringLiteral("DialogChangePassword"));
    QCOMPARE(dialog->windowTitle(), QStringLiteral("Text.changePassword"));
    QVERIFY(dialog->findChild<QFormLayout*>(QStringLiteral("formLayout")) != nullptr);
    for (const char* const name : fieldNames) {
        QVERIFY2(field(dialog.get(), name) != nullptr, name);
        QVERIFY2(field(dialog.get(), name)->text().isEmpty(), name);
        QCOMPARE(field(dialog.get(), name)->echoMode(), QLineEdit::Password);
        QVERIFY2(!field(dialog.get(), name)->testAttribute(Qt::WA_MacShowFocusRect), name);
    }
}

void TestDialogChangePassword::rowsAreAsNamed_data()
{
    QTest::addColumn<QByteArray>("label");
    QTest::addColumn<QString>("key");
    QTest::newRow("oldPasswordField") << QByteArray("labelOldPassword") << QStringLiteral("Text.oldPassword");
    QTest::newRow("newPasswordField") << QByteArray("labelPassword") << QStringLiteral("Text.password");
    QTest::newRow("repeatPasswordField") << QByteArray("labelPasswordRepeat") << QStringLiteral("Text.passwordRepeat");
}

void TestDialogChangePassword::rowsAreAsNamed()
{
    QFETCH(QByteArray, label);
    QFETCH(QString, key);
    auto* const text = dialog->findChild<QLabel*>(QString::fromLatin1(label));
    QVERIFY(text != nullptr);
    QCOMPARE(text->text(), key);
    const auto* const layout = dialog->findChild<QFormLayout*>(QStringLiteral("formLayout"));
    QCOMPARE(layout->labelForField(field(dialog.get(), QTest::currentDataTag())), text);
    dialog->show();
    QVERIFY(field(dialog.get(), QTest::currentDataTag())->width() >= 100);
}

void TestDialogChangePassword::buttonsAreAsNamed()
{
    dialog->show();
    QPushButton* const cancel = button(dialog.get(), "buttonCancel");
    QPushButton* const change = button(dialog.get(), "buttonConfirm");
    QCOMPARE(cancel->text(), QStringLiteral("Text.cancel"));
    QCOMPARE(change->text(), QStringLiteral("Text.confirm"));
    QVERIFY(dialog->findChild<QHBoxLayout*>(QStringLiteral("horizontalLayout"))->indexOf(cancel) >= 0);
    QVERIFY(dialog->findChild<QHBoxLayout*>(QStringLiteral("horizontalLayout_2"))->indexOf(change) >= 0);
    QVERIFY(change->isEnabled());
    const int below = field(dialog.get(), "repeatPasswordField")->geometry().bottom();
    QVERIFY(cancel->geometry().top() > below);
    QCOMPARE(cancel->geometry().top(), change->geometry().top());
    QVERIFY(cancel->geometry().right() < change->geometry().left());
}

void TestDialogChangePassword::standsInTheMiddleOnTop()
{
    QCOMPARE(dialog->size(), QSize(400, 180));
    QCOMPARE(dialog->minimumSize(), QSize(400, 180));
    QCOMPARE(dialog->maximumSize(), QSize(400, 180));
    QVERIFY(dialog->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QVERIFY(dialog->windowFlags().testFlag(Qt::Dialog));
    QVERIFY(dialog->isModal());
    QVERIFY(!dialog->isVisible());
    const QRect screen = QGuiApplication::screens().first()->geometry();
    QCOMPARE(dialog->geometry().center(), screen.center());

    QWidget parent;
    parent.setGeometry(0, 0, 50, 50);
    const DialogChangePassword child(&parent);
    QCOMPARE(child.parentWidget(), &parent);
    QCOMPARE(child.geometry().center(), screen.center());
}

void TestDialogChangePassword::sendsNothingForAnEmptyField_data()
{
    QTest::addColumn<QString>("old");
    QTest::addColumn<QString>("fresh");
    QTest::addColumn<QString>("repeated");
    const QString none;
    const QString some = QStringLiteral("x");
    QTest::newRow("all") << none << none << none;
    QTest::newRow("old") << none << some << some;
    QTest::newRow("new") << some << none << some;
    QTest::newRow("repeated") << some << some << none;
}

void TestDialogChangePassword::sendsNothingForAnEmptyField()
{
    QFETCH(QString, old);
    QFETCH(QString, fresh);
    QFETCH(QString, repeated);
    dialog->show();
    fillIn(dialog.get(), old, fresh, repeated);
    confirm(dialog.get());
    QVERIFY(button(dialog.get(), "buttonConfirm")->isEnabled());
    QVERIFY(dialog->findChild<LoadingWindow*>() == nullptr);
    QTest::qWait(100);
    QVERIFY(server->requests().isEmpty());
    QCOMPARE(server->connections(), 0);
    QVERIFY(dialog->isVisible());
    QCOMPARE(QApplication::activeModalWidget(), dialog.get());
    QVERIFY(listener->isEmpty());
}

void TestDialogChangePassword::sendsTheThreePasswords_data()
{
    QTest::addColumn<QString>("old");
    QTest::addColumn<QString>("fresh");
    QTest::addColumn<QString>("repeated");
    QTest::newRow("plain") << QStringLiteral("secret") << QStringLiteral("better") << QStringLiteral("better");
    // The server judges.
    QTest::newRow("different") << QStringLiteral("secret") << QStringLiteral("one") << QStringLiteral("other");
    QTest::newRow("unchanged") << QStringLiteral("secret") << QStringLiteral("secret") << QStringLiteral("secret");
    QTest::newRow("blanks") << QStringLiteral(" ") << QStringLiteral(" a ") << QStringLiteral("  ");
    QTest::newRow("special") << QStringLiteral("\"\\/&=%") << QStringLiteral("Пароль") << QStringLiteral("\u20ac");
}

void TestDialogChangePassword::sendsTheThreePasswords()
{
    QFETCH(QString, old);
    QFETCH(QString, fresh);
    QFETCH(QString, repeated);
    server->expect("POST", "/auth/password", R"({"accessToken": "second"})");
    dialog->show();
    fillIn(dialog.get(), old, fresh, repeated);
    confirm(dialog.get());
    QTRY_COMPARE(reports(), QList<bool>{true});
    QCOMPARE(server->requests().size(), 1);
    const QJsonObject wanted{
        {QStringLiteral("oldPassword"), old},
        {QStringLiteral("newPassword"), fresh},
        {QStringLiteral("repeatPassword"), repeated},
    };
    QCOMPARE(server->last().body, QJsonDocument(wanted).toJson());
    QCOMPARE(server->last().headers.value("content-type"), QByteArray("application/json"));
    QCOMPARE(server->last().headers.value("authorization"), QByteArray("Bearer first"));
    QCOMPARE(server->last().headers.value("accept-language"), QByteArray("en-US"));
}

void TestDialogChangePassword::sendsOnReturn()
{
    server->expect("POST", "/auth/password", R"({"accessToken": "second"})");
    dialog->show();
    fillIn(dialog.get());
    QTest::keyClick(field(dialog.get(), "repeatPasswordField"), Qt::Key_Return);
    QTRY_COMPARE(reports(), QList<bool>{true});
}

void TestDialogChangePassword::waitsUnderAnOverlay()
{
    LoopbackServer::Answer answer;
    answer.kind = LoopbackServer::Answer::Stall;
    answer.body = R"({"accessToken": "second"})";
    server->expect("POST", "/auth/password", answer);
    dialog->show();
    fillIn(dialog.get());
    confirm(dialog.get());
    QVERIFY(!button(dialog.get(), "buttonConfirm")->isEnabled());
    const auto overlays = [this] { return dialog->findChildren<LoadingWindow*>(); };
    QCOMPARE(overlays().size(), 1);
    QCOMPARE(overlays().first()->parentWidget(), dialog.get());
    QTRY_COMPARE(server->requests().size(), 1);
    // The dead button sends nothing, nor does the key that stands for it, which does not press the other one either.
    confirm(dialog.get());
    QTest::keyClick(dialog->focusWidget(), Qt::Key_Return);
    QTest::keyClick(field(dialog.get(), "repeatPasswordField"), Qt::Key_Return);
    QTest::qWait(100);
    QCOMPARE(server->requests().size(), 1);
    QVERIFY(listener->isEmpty());
    QVERIFY(dialog->isVisible());
    server->release();
    QTRY_COMPARE(reports(), QList<bool>{true});
    QVERIFY(overlays().isEmpty());
}

void TestDialogChangePassword::showsWhatTheServerSays_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("text");
    QTest::newRow("message") << 400 << QByteArray(R"({"message": "The new passwords differ"})")
                             << QStringLiteral("The new passwords differ");
    QTest::newRow("errors") << 400
                            << QByteArray(R"({"errors": [{"newPassword": "too short"}, {"oldPassword": "wrong"}]})")
                            << QStringLiteral("newPassword too short\r\noldPassword wrong\r\n");
    QTest::newRow("session over") << 401 << QByteArray(R"({"message": "Log in again"})")
                                  << QStringLiteral("Log in again");
    QTest::newRow("number") << 400 << QByteArray(R"({"message": 5})") << QString();
    QTest::newRow("HTML") << 500 << QByteArray("<html><body>Oops</body></html>") << QString();
    QTest::newRow("empty") << 503 << QByteArray() << QString();
}

void TestDialogChangePassword::showsWhatTheServerSays()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, text);
    server->expect("POST", "/auth/password", body, status);
    QString title;
    QString shown;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons;
    QWidget* over = nullptr;
    bool enabledUnderTheBox = true;
    bool coveredUnderTheBox = true;
    ModalAnswer answer([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                       [&](QWidget* widget) {
                           auto* const box = qobject_cast<QMessageBox*>(widget);
                           title = box->windowTitle();
                           shown = box->text();
                           icon = box->icon();
                           buttons = box->standardButtons();
                           over = box->parentWidget();
                           enabledUnderTheBox = button(dialog.get(), "buttonConfirm")->isEnabled();
                           coveredUnderTheBox = dialog->findChild<LoadingWindow*>() != nullptr;
                           box->button(QMessageBox::Ok)->click();
                       });
    dialog->show();
    fillIn(dialog.get(), QStringLiteral("old"), QStringLiteral("one"), QStringLiteral("other"));
    confirm(dialog.get());
    QTRY_VERIFY(answer.used());
    QTRY_VERIFY(button(dialog.get(), "buttonConfirm")->isEnabled());
    QVERIFY(!enabledUnderTheBox);
    QVERIFY(!coveredUnderTheBox);
    QCOMPARE(title, QStringLiteral("Text.error"));
    QCOMPARE(shown, text);
    QCOMPARE(icon, QMessageBox::Critical);
    QCOMPARE(buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(over, dialog.get());
    QVERIFY(dialog->isVisible());
    QCOMPARE(field(dialog.get(), "oldPasswordField")->text(), QStringLiteral("old"));
    QCOMPARE(field(dialog.get(), "newPasswordField")->text(), QStringLiteral("one"));
    QCOMPARE(field(dialog.get(), "repeatPasswordField")->text(), QStringLiteral("other"));
    QVERIFY(listener->isEmpty());
    QVERIFY(dialog->findChild<QMessageBox*>() == nullptr);
    QCOMPARE(Authentication::getInstance()->getAuthHeader(), QByteArray("Bearer first"));
}

void TestDialogChangePassword::showsAnEmptyBoxForATransportFailure_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("refused") << -1;
    QTest::newRow("reset") << static_cast<int>(LoopbackServer::Answer::Reset);
    QTest::newRow("reset in the body") << static_cast<int>(LoopbackServer::Answer::ResetInBody);
    QTest::newRow("not HTTP") << static_cast<int>(LoopbackServer::Answer::Raw);
    QTest::newRow("no answer") << static_cast<int>(LoopbackServer::Answer::Stall);
}

void TestDialogChangePassword::showsAnEmptyBoxForATransportFailure()
{
    QFETCH(int, kind);
    if (kind < 0) {
        server->stop();
    } else {
        LoopbackServer::Answer answer;
        answer.kind = static_cast<LoopbackServer::Answer::Kind>(kind);
        answer.always = true;
        answer.body = R"({"accessToken": "second"})";
        server->expect("POST", "/auth/password", answer);
    }
    const int before = Http::instance().getReadTimeout();
    Http::instance().setReadTimeout(300);
    BoxAnswer box(QMessageBox::Ok);
    dialog->show();
    fillIn(dialog.get());
    confirm(dialog.get());
    Http::instance().setReadTimeout(before);
    QTRY_VERIFY(box.used());
    QTRY_VERIFY(button(dialog.get(), "buttonConfirm")->isEnabled());
    QCOMPARE(box.title, QStringLiteral("Text.error"));
    QCOMPARE(box.text, QString());
    QVERIFY(listener->isEmpty());
    QVERIFY(dialog->isVisible());
    QCOMPARE(Authentication::getInstance()->getAuthHeader(), QByteArray("Bearer first"));
}

void TestDialogChangePassword::changesAfterARefusal()
{
    server->expect("POST", "/auth/password", R"({"message": "no"})", 400);
    server->expect("POST", "/auth/password", R"({"accessToken": "second"})");
    BoxAnswer box(QMessageBox::Ok);
    const int result = execWith([this, &box] {
        fillIn(dialog.get());
        confirm(dialog.get());
        QTRY_VERIFY(box.used());
        QTRY_VERIFY(button(dialog.get(), "buttonConfirm")->isEnabled());
        QVERIFY(listener->isEmpty());
        confirm(dialog.get());
    });
    QCOMPARE(result, static_cast<int>(QDialog::Rejected));
    QCOMPARE(reports(), QList<bool>{true});
    QCOMPARE(Authentication::getInstance()->getAuthHeader(), QByteArray("Bearer second"));
}

void TestDialogChangePassword::endsWithSuccess_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("auth");
    QTest::newRow("token") << 200 << QByteArray(R"({"accessToken": "second"})") << QByteArray("Bearer second");
    // The rest of the session stays.
    QTest::newRow("more than the token") << 200
                                         << QByteArray(
                                                R"({"accessToken": "second", "tokenType": "Basic", "language": "ru"})")
                                         << QByteArray("Bearer second");
    QTest::newRow("no content") << 204 << QByteArray() << QByteArray("Bearer ");
    QTest::newRow("empty object") << 200 << QByteArray("{}") << QByteArray("Bearer ");
    QTest::newRow("empty") << 200 << QByteArray() << QByteArray("Bearer ");
    QTest::newRow("HTML") << 200 << QByteArray("<html>") << QByteArray("Bearer ");
    QTest::newRow("array") << 200 << QByteArray(R"([{"accessToken": "second"}])") << QByteArray("Bearer ");
    QTest::newRow("number") << 200 << QByteArray(R"({"accessToken": 2})") << QByteArray("Bearer ");
}

void TestDialogChangePassword::endsWithSuccess()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, auth);
    server->expect("POST", "/auth/password", body, status);
    // The session stands by the time the owner hears of it, and the dialog is still there.
    QByteArray authAtReport("(none)");
    bool visibleAtReport = false;
    const QObject whileHere;
    connect(dialog.get(), &DialogChangePassword::listener, &whileHere, [&] {
        authAtReport = Authentication::getInstance()->getAuthHeader();
        visibleAtReport = dialog->isVisible();
    });
    const int result = execWith([this] {
        fillIn(dialog.get());
        confirm(dialog.get());
    });
    QCOMPARE(result, static_cast<int>(QDialog::Rejected));
    QVERIFY(!dialog->isVisible());
    QCOMPARE(reports(), QList<bool>{true});
    QCOMPARE(authAtReport, auth);
    QVERIFY(visibleAtReport);
    QCOMPARE(Authentication::getInstance()->getAcceptLanguage(), QByteArray("en-US"));
}

void TestDialogChangePassword::saysFalseOnceOnCancel()
{
    const QSignalSpy rejected(dialog.get(), &QDialog::rejected);
    bool visibleAtReport = false;
    const QObject whileHere;
    connect(dialog.get(), &DialogChangePassword::listener, &whileHere, [&] { visibleAtReport = dialog->isVisible(); });
    const int result = execWith([this] {
        fillIn(dialog.get());
        QTest::mouseClick(button(dialog.get(), "buttonCancel"), Qt::LeftButton);
    });
    QCOMPARE(result, static_cast<int>(QDialog::Rejected));
    QVERIFY(!dialog->isVisible());
    QVERIFY(visibleAtReport);
    QCOMPARE(rejected.size(), 1);
    QCOMPARE(reports(), QList<bool>{false});
    QVERIFY(server->requests().isEmpty());
}

void TestDialogChangePassword::saysFalseOnceWhenTheWindowIsClosed()
{
    const QSignalSpy rejected(dialog.get(), &QDialog::rejected);
    const int result = execWith([this] { dialog->close(); });
    QCOMPARE(result, static_cast<int>(QDialog::Rejected));
    QVERIFY(!dialog->isVisible());
    // It is closed, and not rejected on top of that.
    QCOMPARE(rejected.size(), 0);
    QCOMPARE(reports(), QList<bool>{false});
}

void TestDialogChangePassword::leavesWithoutAWordOnEscape()
{
    const int result = execWith([this] { QTest::keyClick(dialog.get(), Qt::Key_Escape); });
    QCOMPARE(result, static_cast<int>(QDialog::Rejected));
    QVERIFY(!dialog->isVisible());
    QVERIFY(listener->isEmpty());
}

void TestDialogChangePassword::mayBeLeftWhileItAsks_data()
{
    QTest::addColumn<int>("way");
    QTest::addColumn<int>("status");
    QTest::addColumn<QList<bool>>("said");
    const struct
    {
        const char* name;
        QList<bool> said;
    } ways[] = {{"escape", {}}, {"cancel", {false}}, {"window button", {false}}};
    for (int way = 0; way < 3; ++way) {
        QTest::addRow("%s, accepted", ways[way].name) << way << 200 << ways[way].said;
        QTest::addRow("%s, refused", ways[way].name) << way << 400 << ways[way].said;
    }
}

void TestDialogChangePassword::mayBeLeftWhileItAsks()
{
    QFETCH(int, way);
    QFETCH(int, status);
    QFETCH(QList<bool>, said);
    LoopbackServer::Answer answer;
    answer.status = status;
    answer.body = R"({"accessToken": "second"})";
    answer.delay = 150;
    server->expect("POST", "/auth/password", answer);
    execWith([this, way] {
        fillIn(dialog.get());
        confirm(dialog.get());
        QTRY_COMPARE(server->requests().size(), 1);
        if (way == 0) {
            QTest::keyClick(dialog.get(), Qt::Key_Escape);
        } else if (way == 1) {
            button(dialog.get(), "buttonCancel")->click();
        } else {
            dialog->close();
        }
    });
    QCOMPARE(reports(), said);
    // As its owner does it; the request goes on by itself.
    dialog.release()->deleteLater();
    QTest::qWait(400);
    QCOMPARE(reports(), said);
    QVERIFY(QApplication::activeModalWidget() == nullptr);
    // What the server changed is changed, whether or not anybody still looks.
    QCOMPARE(Authentication::getInstance()->getAuthHeader(),
             status == 200 ? QByteArray("Bearer second") : QByteArray("Bearer first"));
}

void TestDialogChangePassword::mayEndBehindItsBox()
{
    server->expect("POST", "/auth/password", R"({"message": "no"})", 400);
    ModalAnswer answer([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                       [this](QWidget*) { dialog.reset(); });
    dialog->show();
    fillIn(dialog.get());
    confirm(dialog.get());
    QTRY_VERIFY(answer.used());
    QVERIFY(dialog == nullptr);
    QVERIFY(QApplication::activeModalWidget() == nullptr);
    QVERIFY(listener->isEmpty());
}

void TestDialogChangePassword::mayEndInsideItsReport()
{
    server->expect("POST", "/auth/password", R"({"accessToken": "second"})");
    connect(dialog.get(), &DialogChangePassword::listener, this, [this] { dialog.reset(); });
    dialog->show();
    fillIn(dialog.get());
    confirm(dialog.get());
    QTRY_VERIFY(dialog == nullptr);
    QCOMPARE(reports(), QList<bool>{true});
}

void TestDialogChangePassword::menuSaysThatItIsDone()
{
    const auto window = loggedIn(*server);
    server->expect("POST", "/auth/password", R"({"accessToken": "second"})");
    ModalAnswer change(isDialog, [](QWidget* shown) {
        fillIn(shown);
        confirm(shown);
    });
    BoxAnswer box(QMessageBox::Ok);
    menuEntry(*window, "menuPassword")->trigger();
    QVERIFY(change.used());
    QVERIFY(box.used());
    QCOMPARE(box.title, QCoreApplication::translate("QObject", "Text.success"));
    QCOMPARE(box.text, QCoreApplication::translate("MainWindow", "Dialog.successChangePassword"));
    QCOMPARE(box.icon, QMessageBox::Information);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(box.parent, window.get());
    QTRY_VERIFY(window->findChild<DialogChangePassword*>() == nullptr);
}

void TestDialogChangePassword::menuSaysNothingOnOtherWays_data()
{
    QTest::addColumn<int>("way");
    QTest::newRow("cancel") << 0;
    QTest::newRow("window button") << 1;
    QTest::newRow("escape") << 2;
}

void TestDialogChangePassword::menuSaysNothingOnOtherWays()
{
    QFETCH(int, way);
    const auto window = loggedIn(*server);
    QWidget* owner = nullptr;
    ModalAnswer leave(isDialog, [way, &owner](QWidget* shown) {
        owner = shown->parentWidget();
        if (way == 0) {
            button(shown, "buttonCancel")->click();
        } else if (way == 1) {
            shown->close();
        } else {
            QTest::keyClick(shown, Qt::Key_Escape);
        }
    });
    menuEntry(*window, "menuPassword")->trigger();
    QVERIFY(leave.used());
    QCOMPARE(owner, window.get());
    QVERIFY(QApplication::activeModalWidget() == nullptr);
    QTRY_VERIFY(window->findChild<DialogChangePassword*>() == nullptr);
    QVERIFY(server->requests().isEmpty());
}

void TestDialogChangePassword::laterRequestsBearTheNewToken()
{
    const auto window = loggedIn(*server);
    server->expect("POST", "/auth/password", R"({"accessToken": "second"})");
    server->expect("POST", "/auth/password", R"({"accessToken": "third"})");
    for (int i = 0; i < 2; ++i) {
        ModalAnswer change(isDialog, [](QWidget* shown) {
            fillIn(shown);
            confirm(shown);
        });
        BoxAnswer box(QMessageBox::Ok);
        menuEntry(*window, "menuPassword")->trigger();
        QVERIFY(change.used());
        QVERIFY(box.used());
    }
    const QByteArray filter = "/patient/filter?sortby=&direction=&size=20&current=0&searchby=name&needle=";
    server->expect("GET", filter, R"({"pages": 1, "data": []})");
    button(window.get(), "buttonRefresh")->click();
    QVERIFY(settled(*server, *window));
    server->expect("GET", "/auth/updates/?version=2021.3.0", "{}");
    BoxAnswer box(QMessageBox::Ok);
    menuEntry(*window, "menuUpdates")->trigger();
    QTRY_VERIFY(box.used());

    QList<QByteArray> tokens;
    for (const LoopbackServer::Request& request : server->requests()) {
        tokens.append(request.headers.value("authorization"));
    }
    QCOMPARE(tokens, QList<QByteArray>({"Bearer first", "Bearer second", "Bearer third", "Bearer third"}));
}

void TestDialogChangePassword::refusalLeavesTheToken()
{
    const auto window = loggedIn(*server);
    server->expect("POST", "/auth/password", R"({"message": "no", "accessToken": "second"})", 400);
    server->expect("GET", "/auth/updates/?version=2021.3.0", "{}");
    {
        ModalAnswer change(isDialog, [](QWidget* shown) {
            fillIn(shown);
            confirm(shown);
            BoxAnswer box(QMessageBox::Ok);
            QTRY_VERIFY(box.used());
            QCOMPARE(box.text, QStringLiteral("no"));
            QTRY_VERIFY(button(shown, "buttonConfirm")->isEnabled());
            button(shown, "buttonCancel")->click();
        });
        menuEntry(*window, "menuPassword")->trigger();
        QVERIFY(change.used());
    }
    BoxAnswer box(QMessageBox::Ok);
    menuEntry(*window, "menuUpdates")->trigger();
    QTRY_VERIFY(box.used());
    QCOMPARE(server->last().headers.value("authorization"), QByteArray("Bearer first"));
}

void TestDialogChangePassword::windowMayEndDuringTheDialog()
{
    auto window = loggedIn(*server);
    ModalAnswer destroy(isDialog, [&window](QWidget*) { window.reset(); });
    menuEntry(*window, "menuPassword")->trigger();
    QVERIFY(destroy.used());
    QVERIFY(window == nullptr);
    QVERIFY(QApplication::activeModalWidget() == nullptr);
}

void TestDialogChangePassword::windowMayEndBehindTheBoxOfSuccess()
{
    auto window = loggedIn(*server);
    server->expect("POST", "/auth/password", R"({"accessToken": "second"})");
    ModalAnswer change(isDialog, [](QWidget* shown) {
        fillIn(shown);
        confirm(shown);
    });
    ModalAnswer destroy([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                        [&window](QWidget*) { window.reset(); });
    menuEntry(*window, "menuPassword")->trigger();
    QVERIFY(change.used());
    QVERIFY(destroy.used());
    QVERIFY(window == nullptr);
    QVERIFY(QApplication::activeModalWidget() == nullptr);
}

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    init(app);
    TestDialogChangePassword test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestDialogChangePassword.moc"
