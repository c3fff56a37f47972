// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Constants.h"
#include "app/MainWindow.h"
#include "app/init.h"
#include "tests/app/LoggedIn.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QProcess>
#include <QTest>

#include <memory>

namespace {

/// Set for the processes in which Qt reads another system's language, once and for all, as it starts.
const char* const insideVariable = "QUELMAR_TEST_SYSTEM_LANGUAGE";

QString title(const MainWindow& window)
{
    return window.findChild<QMenu*>(QStringLiteral("menuApplication"))->title();
}

QString installed()
{
    return QCoreApplication::translate("MainWindow", "Menu.application");
}

/// What stands for these texts in the language that the system's locale should lead to.
QString wantedLocale()
{
    const QString system = QLocale::system().name();
    return system == QLatin1String("ru_RU") ? system : QStringLiteral("en_US");
}

QString wantedTitle()
{
    return wantedLocale() == QLatin1String("ru_RU") ? QStringLiteral("Программа") : QStringLiteral("Program");
}

} // namespace

/// Runs the other class in a process of its own under each system language.
class TestSystemLanguage : public QObject
{
    Q_OBJECT

private slots:
    void follows_data();
    void follows();
};

/// What the program does in the system's language; it is run under several.
class InsideSystemLanguage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { guard.reset(); }
    void init();
    void cleanup();

    void systemIsTheOneAskedFor();
    void startsInIt();
    void loginReplacesIt();
    void comesBackWhenTheSystemChanges();
    void changeInTheMenuGivesWay();

private:
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
};

void TestSystemLanguage::follows_data()
{
    QTest::addColumn<QByteArray>("system");
    QTest::newRow("english") << QByteArray("en_US");
    QTest::newRow("russian") << QByteArray("ru_RU");
    QTest::newRow("other country") << QByteArray("en_GB");
    QTest::newRow("french") << QByteArray("fr_FR");
    QTest::newRow("built, but not offered") << QByteArray("de_DE");
    QTest::newRow("none") << QByteArray("C");
}

void TestSystemLanguage::follows()
{
    QFETCH(QByteArray, system);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(insideVariable), QString::fromLatin1(system));
    environment.insert(QStringLiteral("LC_ALL"), QString::fromLatin1(system + ".UTF-8"));
    environment.remove(QStringLiteral("LANGUAGE"));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationFilePath(), QStringList());
    QVERIFY(process.waitForFinished(60000));
    const QByteArray output = process.readAll();
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QVERIFY2(process.exitCode() == 0, output.constData());
    QVERIFY2(output.contains("7 passed, 0 failed, 0 skipped"), output.constData());
}

void InsideSystemLanguage::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
}

void InsideSystemLanguage::init()
{
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
}

void InsideSystemLanguage::cleanup()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(server->pending(), 0);
    server.reset();
    guard->verify();
}

void InsideSystemLanguage::systemIsTheOneAskedFor()
{
    QCOMPARE(QLocale::system().name(), QString::fromLatin1(qgetenv(insideVariable)));
}

void InsideSystemLanguage::startsInIt()
{
    QString atLogin;
    QString barAtLogin;
    ModalAnswer escape(isLogin, [&](QWidget* dialog) {
        atLogin = QLocale().name();
        barAtLogin = title(*qobject_cast<MainWindow*>(dialog->parentWidget()));
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    const MainWindow window;
    QVERIFY(escape.used());
    QCOMPARE(atLogin, wantedLocale());
    QCOMPARE(barAtLogin, wantedTitle());
}

void InsideSystemLanguage::loginReplacesIt()
{
    const auto english = loggedIn(*server, "en", "US");
    QCOMPARE(QLocale().name(), QStringLiteral("en_US"));
    QTRY_COMPARE(title(*english), QStringLiteral("Program"));
    const auto russian = loggedIn(*server, "ru", "RU");
    QCOMPARE(QLocale().name(), QStringLiteral("ru_RU"));
    QTRY_COMPARE(title(*russian), QStringLiteral("Программа"));
}

void InsideSystemLanguage::comesBackWhenTheSystemChanges()
{
    const bool spoken = Constants::LANGUAGES.contains(QLocale::system().name());
    const bool systemIsRussian = QLocale::system().name() == QLatin1String("ru_RU");
    const auto window = systemIsRussian ? loggedIn(*server, "en", "US") : loggedIn(*server, "ru", "RU");
    QTRY_COMPARE(title(*window), installed());
    const QString before = title(*window);
    const QString localeBefore = QLocale().name();
    QVERIFY(localeBefore != QLocale::system().name());

    QEvent event(QEvent::LocaleChange);
    QApplication::sendEvent(window.get(), &event);
    if (spoken) {
        QCOMPARE(QLocale().name(), QLocale::system().name());
        QTRY_COMPARE(title(*window), wantedTitle());
    } else {
        QCOMPARE(QLocale().name(), localeBefore);
        QTest::qWait(50);
        QCOMPARE(title(*window), before);
    }
    // The server is not told.
    QTest::qWait(50);
    QVERIFY(server->requests().isEmpty());
}

void InsideSystemLanguage::changeInTheMenuGivesWay()
{
    const QString system = QLocale::system().name();
    if (!Constants::LANGUAGES.contains(system)) {
        // Nothing that the menu offers can be the system's.
        const auto window = loggedIn(*server);
        QVERIFY(languageEntry(*window, system) == nullptr);
        return;
    }
    const QString other =
        Constants::LANGUAGES.first() == system ? Constants::LANGUAGES.last() : Constants::LANGUAGES.first();
    const auto window = system == QLatin1String("ru_RU") ? loggedIn(*server, "ru", "RU") : loggedIn(*server);
    server->expect("PUT", "/auth/locale", "");
    BoxAnswer box(QMessageBox::Ok);
    languageEntry(*window, other)->trigger();
    QTRY_VERIFY(box.used());
    QTRY_COMPARE(QLocale().name(), other);
    QCOMPARE(server->requests().size(), 1);

    QEvent event(QEvent::LocaleChange);
    QApplication::sendEvent(window.get(), &event);
    QCOMPARE(QLocale().name(), system);
    QTRY_COMPARE(title(*window), wantedTitle());
    QCOMPARE(server->requests().size(), 1);
    // The menu keeps what was chosen there.
    QVERIFY(languageEntry(*window, other)->isChecked());
}

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    init(app);
    if (qEnvironmentVariableIsSet(insideVariable)) {
        InsideSystemLanguage inside;
        return QTest::qExec(&inside, argc, argv);
    }
    TestSystemLanguage test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestSystemLanguage.moc"
