// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/Authentication.h"
#include "net/DialogLogin.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QApplication>
#include <QEvent>
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
#include <utility>

namespace {

/// Looks at something as each message box appears.
class BoxWatch : public QObject
{
public:
    explicit BoxWatch(std::function<void()> newLook)
        : look(std::move(newLook))
    {
        qApp->installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Show && qobject_cast<QMessageBox*>(watched) != nullptr) {
            look();
        }
        return false;
    }

private:
    std::function<void()> look;
};

} // namespace

class TestDialogLogin : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void placesItsWidgets_data();
    void placesItsWidgets();
    void setsUpItsFields();
    void showsItsPictures();
    void standsInTheMiddleOnTop();

    void sendsNothingForAnEmptyField_data();
    void sendsNothingForAnEmptyField();
    void sendsTheForm();
    void sendsOnReturn();
    void waitsWithoutAnOverlay();

    void showsWhatTheServerSays_data();
    void showsWhatTheServerSays();
    void showsAnEmptyBoxForATransportFailure_data();
    void showsAnEmptyBoxForATransportFailure();
    void logsInAfterARefusal();

    void endsWithSuccess_data();
    void endsWithSuccess();
    void endsWhenTheWindowIsClosed();
    void endsWithoutAWordOnEscape();
    void mayBeLeftWhileItAsks_data();
    void mayBeLeftWhileItAsks();
    void mayBeClosedWhileItAsks();

private:
    template <typename Widget> Widget* find(const char* name) const
    {
        return dialog->findChild<Widget*>(QString::fromLatin1(name));
    }
    QPushButton* button() const { return find<QPushButton>("buttonConfirm"); }
    void fillIn(const QString& username = QStringLiteral("anna"), const QString& password = QStringLiteral("secret"));
    void confirm() { QTest::mouseClick(button(), Qt::LeftButton); }
    /// Runs the dialog modally, and `action` inside its loop.
    int execWith(const std::function<void()>& action);
    QList<bool> reports() const;

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
    std::unique_ptr<DialogLogin> dialog;
    std::unique_ptr<QSignalSpy> listener;
};

void TestDialogLogin::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
}

void TestDialogLogin::init()
{
    Authentication::getInstance()->init({});
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
    dialog = std::make_unique<DialogLogin>(nullptr);
    listener = std::make_unique<QSignalSpy>(dialog.get(), &DialogLogin::listener);
}

void TestDialogLogin::cleanup()
{
    listener.reset();
    dialog.reset();
    QCOMPARE(server->pending(), 0);
    server.reset();
    guard->verify();
}

void TestDialogLogin::fillIn(const QString& username, const QString& password)
{
    find<QLineEdit>("usernameField")->setText(username);
    find<QLineEdit>("passwordField")->setText(password);
}

int TestDialogLogin::execWith(const std::function<void()>& action)
{
    QTimer::singleShot(0, dialog.get(), action);
    QTimer::singleShot(8000, dialog.get(), [this] {
        QTest::qFail("The dialog did not end", __FILE__, __LINE__);
        dialog->done(-1);
    });
    return dialog->exec();
}

QList<bool> TestDialogLogin::reports() const
{
    QList<bool> all;
    for (const QList<QVariant>& arguments : *listener) {
        all.append(arguments.first().toBool());
    }
    return all;
}

void TestDialogLogin::placesItsWidgets_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QRect>("place");
    QTest::newRow("user name") << QByteArray("usernameField") << QByteArray("QLineEdit") << QRect(30, 30, 260, 40);
    QTest::newRow("password") << QByteArray("passwordField") << QByteArray("QLineEdit") << QRect(30, 90, 260, 40);
    QTest::newRow("button") << QByteArray("buttonConfirm") << QByteArray("QPushButton") << QRect(30, 150, 300, 40);
    QTest::newRow("user picture") << QByteArray("usernameLabel") << QByteArray("QLabel") << QRect(290, 30, 40, 40);
    QTest::newRow("password picture") << QByteArray("passwordLabel") << QByteArray("QLabel") << QRect(290, 90, 40, 40);
}

void TestDialogLogin::placesItsWidgets()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, type);
    QFETCH(QRect, place);
    dialog->show();
    const auto* const widget = find<QWidget>(name.constData());
    QVERIFY(widget != nullptr);
    QCOMPARE(QByteArray(widget->metaObject()->className()), type);
    QCOMPARE(widget->parentWidget(), dialog.get());
    QCOMPARE(widget->geometry(), place);
}

void TestDialogLogin::setsUpItsFields()
{
    for (const char* const name : {"usernameField", "passwordField"}) {
        auto* const field = find<QLineEdit>(name);
        QCOMPARE(field->font().family(), QStringLiteral("MS Shell Dlg 2"));
        QCOMPARE(field->font().pointSize(), 12);
        QCOMPARE(field->maxLength(), 200);
        QVERIFY(!field->testAttribute(Qt::WA_MacShowFocusRect));
        QVERIFY(field->text().isEmpty());
        field->setText(QString(250, QLatin1Char('x')));
        QCOMPARE(field->text().size(), 200);
    }
    QCOMPARE(find<QLineEdit>("usernameField")->echoMode(), QLineEdit::Normal);
    QCOMPARE(find<QLineEdit>("passwordField")->echoMode(), QLineEdit::Password);
    QVERIFY(button()->text().isEmpty());
    QVERIFY(button()->isEnabled());
    QCOMPARE(button()->iconSize(), QSize(20, 20));
    QCOMPARE(button()->cursor().shape(), Qt::ArrowCursor);
}

void TestDialogLogin::showsItsPictures()
{
    const auto image = [](const char* name) {
        return QPixmap(QStringLiteral(":/images/") + QString::fromLatin1(name)).toImage();
    };
    QVERIFY(!image("login.png").isNull());
    QCOMPARE(button()->icon().pixmap(20, 20).toImage(),
             QIcon(QStringLiteral(":/images/login.png")).pixmap(20, 20).toImage());
    QVERIFY(!button()->icon().pixmap(20, 20).isNull());
    const QHash<const char*, const char*> pictures{{"usernameLabel", "login-as-user.png"},
                                                   {"passwordLabel", "login-password.png"}};
    for (auto picture = pictures.cbegin(); picture != pictures.cend(); ++picture) {
        const auto* const label = find<QLabel>(picture.key());
        QVERIFY(!image(picture.value()).isNull());
        QCOMPARE(label->pixmap(Qt::ReturnByValue).toImage(), image(picture.value()));
        QCOMPARE(label->alignment(), Qt::AlignCenter);
    }
}

void TestDialogLogin::standsInTheMiddleOnTop()
{
    QCOMPARE(dialog->objectName(), QStringLiteral("DialogLogin"));
    QCOMPARE(dialog->windowTitle(), QStringLiteral("Title.application"));
    QCOMPARE(dialog->size(), QSize(360, 220));
    QCOMPARE(dialog->minimumSize(), QSize(360, 220));
    QCOMPARE(dialog->maximumSize(), QSize(360, 220));
    QVERIFY(dialog->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QVERIFY(dialog->windowFlags().testFlag(Qt::Dialog));
    QVERIFY(dialog->isModal());
    QVERIFY(!dialog->isVisible());
    const QRect screen = QGuiApplication::screens().first()->geometry();
    QCOMPARE(dialog->geometry().center(), screen.center());
    const QPoint place = dialog->pos();
    dialog->show();
    QCOMPARE(dialog->pos(), place);

    // A parent moves it nowhere else.
    QWidget parent;
    parent.setGeometry(0, 0, 50, 50);
    const DialogLogin child(&parent);
    QCOMPARE(child.parentWidget(), &parent);
    QCOMPARE(child.geometry().center(), screen.center());
}

void TestDialogLogin::sendsNothingForAnEmptyField_data()
{
    QTest::addColumn<QString>("username");
    QTest::addColumn<QString>("password");
    QTest::newRow("both") << QString() << QString();
    QTest::newRow("user name") << QString() << QStringLiteral("secret");
    QTest::newRow("password") << QStringLiteral("anna") << QString();
}

void TestDialogLogin::sendsNothingForAnEmptyField()
{
    QFETCH(QString, username);
    QFETCH(QString, password);
    dialog->show();
    fillIn(username, password);
    confirm();
    QVERIFY(button()->isEnabled());
    QTest::qWait(100);
    QVERIFY(server->requests().isEmpty());
    QCOMPARE(server->connections(), 0);
    QVERIFY(dialog->isVisible());
    QCOMPARE(QApplication::activeModalWidget(), dialog.get());
    QVERIFY(listener->isEmpty());
}

void TestDialogLogin::sendsTheForm()
{
    server->expect("POST", "/auth/login", "{\"accessToken\": \"T\"}");
    dialog->show();
    QTest::keyClicks(find<QLineEdit>("usernameField"), QStringLiteral("anna@x y"));
    QTest::keyClicks(find<QLineEdit>("passwordField"), QStringLiteral(" &="));
    confirm();
    QTRY_COMPARE(reports(), QList<bool>{true});
    QCOMPARE(server->requests().size(), 1);
    QCOMPARE(server->last().body, QByteArrayLiteral("password=%20%26%3D&username=anna%40x%20y&"));
    QCOMPARE(server->last().headers.value("content-type"), QByteArrayLiteral("application/x-www-form-urlencoded"));
    QVERIFY(!server->last().headers.contains("authorization"));
}

void TestDialogLogin::sendsOnReturn()
{
    server->expect("POST", "/auth/login", "{\"accessToken\": \"T\"}");
    dialog->show();
    fillIn();
    QTest::keyClick(find<QLineEdit>("passwordField"), Qt::Key_Return);
    QTRY_COMPARE(reports(), QList<bool>{true});
}

void TestDialogLogin::waitsWithoutAnOverlay()
{
    LoopbackServer::Answer answer;
    answer.kind = LoopbackServer::Answer::Stall;
    server->expect("POST", "/auth/login", answer);
    dialog->show();
    fillIn();
    confirm();
    QVERIFY(!button()->isEnabled());
    QTRY_COMPARE(server->requests().size(), 1);
    QVERIFY(dialog->findChild<LoadingWindow*>() == nullptr);
    // The dead button sends nothing, nor does the key that stands for it.
    confirm();
    QTest::keyClick(find<QLineEdit>("passwordField"), Qt::Key_Return);
    QTest::qWait(100);
    QCOMPARE(server->requests().size(), 1);
    QVERIFY(!button()->isEnabled());
    QVERIFY(dialog->isVisible());
    QVERIFY(listener->isEmpty());
    server->release();
    QTRY_COMPARE(reports(), QList<bool>{true});
}

void TestDialogLogin::showsWhatTheServerSays_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("text");
    QTest::newRow("message") << 401 << QByteArray("{\"message\": \"Wrong name or password\"}")
                             << QStringLiteral("Wrong name or password");
    QTest::newRow("errors") << 400 << QByteArray("{\"errors\": [{\"username\": \"too short\"}, {\"b\": 1, \"a\": 2}]}")
                            << QStringLiteral("username too short\r\na 2\r\n");
    QTest::newRow("both") << 400 << QByteArray("{\"message\": \"m\", \"errors\": [{\"a\": \"b\"}]}")
                          << QStringLiteral("m");
    QTest::newRow("number") << 400 << QByteArray("{\"message\": 5}") << QString();
    QTest::newRow("null") << 400 << QByteArray("{\"message\": null, \"errors\": null}") << QString();
    QTest::newRow("HTML") << 500 << QByteArray("<html><body>Oops</body></html>") << QString();
    QTest::newRow("empty") << 503 << QByteArray() << QString();
}

void TestDialogLogin::showsWhatTheServerSays()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, text);
    server->expect("POST", "/auth/login", body, status);
    bool enabledUnderTheBox = true;
    BoxAnswer box(QMessageBox::Ok);
    const BoxWatch watch([&] { enabledUnderTheBox = button()->isEnabled(); });
    dialog->show();
    fillIn();
    confirm();
    QVERIFY(!button()->isEnabled());
    QTRY_VERIFY(box.used());
    QTRY_VERIFY(button()->isEnabled());
    QVERIFY(!enabledUnderTheBox);
    QCOMPARE(box.title, QStringLiteral("Text.error"));
    QCOMPARE(box.text, text);
    QCOMPARE(box.icon, QMessageBox::Critical);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(box.parent, dialog.get());
    QVERIFY(dialog->isVisible());
    QCOMPARE(find<QLineEdit>("usernameField")->text(), QStringLiteral("anna"));
    QCOMPARE(find<QLineEdit>("passwordField")->text(), QStringLiteral("secret"));
    QVERIFY(listener->isEmpty());
    QVERIFY(!Authentication::getInstance()->isAuthenticated());
}

void TestDialogLogin::showsAnEmptyBoxForATransportFailure_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("refused") << -1;
    QTest::newRow("reset") << static_cast<int>(LoopbackServer::Answer::Reset);
    QTest::newRow("reset in the body") << static_cast<int>(LoopbackServer::Answer::ResetInBody);
    QTest::newRow("no answer") << static_cast<int>(LoopbackServer::Answer::Stall);
}

void TestDialogLogin::showsAnEmptyBoxForATransportFailure()
{
    QFETCH(int, kind);
    if (kind < 0) {
        server->stop();
    } else {
        LoopbackServer::Answer answer;
        answer.kind = static_cast<LoopbackServer::Answer::Kind>(kind);
        answer.always = true;
        answer.body = "{\"accessToken\": \"T\"}";
        server->expect("POST", "/auth/login", answer);
    }
    const int before = Http::instance().getReadTimeout();
    Http::instance().setReadTimeout(300);
    BoxAnswer box(QMessageBox::Ok);
    dialog->show();
    fillIn();
    confirm();
    Http::instance().setReadTimeout(before);
    QTRY_VERIFY(box.used());
    QTRY_VERIFY(button()->isEnabled());
    QCOMPARE(box.title, QStringLiteral("Text.error"));
    QCOMPARE(box.text, QString());
    QVERIFY(listener->isEmpty());
    QVERIFY(dialog->isVisible());
}

void TestDialogLogin::logsInAfterARefusal()
{
    server->expect("POST", "/auth/login", "{\"message\": \"no\"}", 401);
    server->expect("POST", "/auth/login", "{\"accessToken\": \"T\", \"tokenType\": \"Bearer\"}");
    BoxAnswer box(QMessageBox::Ok);
    const int result = execWith([this, &box] {
        fillIn();
        confirm();
        QTRY_VERIFY(box.used());
        QTRY_VERIFY(button()->isEnabled());
        QVERIFY(listener->isEmpty());
        confirm();
    });
    QCOMPARE(result, static_cast<int>(QDialog::Rejected));
    QCOMPARE(reports(), QList<bool>{true});
    QCOMPARE(Authentication::getInstance()->getAuthHeader(), QByteArrayLiteral("Bearer T"));
}

void TestDialogLogin::endsWithSuccess_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("auth");
    QTest::newRow("session") << QByteArray("{\"accessToken\": \"T\", \"tokenType\": \"Bearer\", \"language\": \"en\", "
                                           "\"country\": \"US\", \"expiredAt\": \"x\"}")
                             << QByteArray("Bearer T");
    QTest::newRow("empty object") << QByteArray("{}") << QByteArray(" ");
    QTest::newRow("empty") << QByteArray() << QByteArray(" ");
    QTest::newRow("HTML") << QByteArray("<html>") << QByteArray(" ");
    QTest::newRow("array") << QByteArray("[{\"accessToken\": \"T\"}]") << QByteArray(" ");
    QTest::newRow("wrong types") << QByteArray("{\"accessToken\": 1, \"tokenType\": null}") << QByteArray(" ");
}

void TestDialogLogin::endsWithSuccess()
{
    QFETCH(QByteArray, body);
    server->expect("POST", "/auth/login", body);
    // The session stands by the time the owner hears of it, and the dialog is still there.
    QByteArray auth("(none)");
    bool visible = false;
    const QObject whileHere;
    connect(dialog.get(), &DialogLogin::listener, &whileHere, [&] {
        auth = Authentication::getInstance()->getAuthHeader();
        visible = dialog->isVisible();
    });
    const int result = execWith([this] {
        fillIn();
        confirm();
    });
    QCOMPARE(result, static_cast<int>(QDialog::Rejected));
    QVERIFY(!dialog->isVisible());
    QCOMPARE(reports(), QList<bool>{true});
    QTEST(auth, "auth");
    QVERIFY(visible);
}

void TestDialogLogin::endsWhenTheWindowIsClosed()
{
    const QSignalSpy rejected(dialog.get(), &QDialog::rejected);
    const int result = execWith([this] { dialog->close(); });
    QCOMPARE(result, static_cast<int>(QDialog::Rejected));
    QVERIFY(!dialog->isVisible());
    // It is closed, and not rejected on top of that.
    QCOMPARE(rejected.size(), 0);
    QCOMPARE(reports(), QList<bool>{false});
}

void TestDialogLogin::endsWithoutAWordOnEscape()
{
    const int result = execWith([this] { QTest::keyClick(dialog.get(), Qt::Key_Escape); });
    QCOMPARE(result, static_cast<int>(QDialog::Rejected));
    QVERIFY(!dialog->isVisible());
    QVERIFY(listener->isEmpty());
}

void TestDialogLogin::mayBeLeftWhileItAsks_data()
{
    QTest::addColumn<int>("status");
    QTest::newRow("accepted") << 200;
    QTest::newRow("refused") << 401;
}

void TestDialogLogin::mayBeLeftWhileItAsks()
{
    QFETCH(int, status);
    LoopbackServer::Answer answer;
    answer.status = status;
    answer.body = "{\"accessToken\": \"T\"}";
    answer.delay = 150;
    server->expect("POST", "/auth/login", answer);
    execWith([this] {
        fillIn();
        confirm();
        QTRY_COMPARE(server->requests().size(), 1);
        QTest::keyClick(dialog.get(), Qt::Key_Escape);
    });
    QVERIFY(listener->isEmpty());
    // As its owner does it; the controller ends by itself.
    dialog.release()->deleteLater();
    QTest::qWait(400);
    QVERIFY(listener->isEmpty());
    QVERIFY(QApplication::activeModalWidget() == nullptr);
}

void TestDialogLogin::mayBeClosedWhileItAsks()
{
    LoopbackServer::Answer answer;
    answer.kind = LoopbackServer::Answer::Stall;
    server->expect("POST", "/auth/login", answer);
    const int result = execWith([this] {
        fillIn();
        confirm();
        QTRY_COMPARE(server->requests().size(), 1);
        dialog->close();
    });
    QCOMPARE(result, static_cast<int>(QDialog::Rejected));
    QCOMPARE(reports(), QList<bool>{false});
    dialog.reset();
    server->release();
    QTest::qWait(200);
    QCOMPARE(reports(), QList<bool>{false});
}

QTEST_MAIN(TestDialogLogin)
#include "TestDialogLogin.moc"
