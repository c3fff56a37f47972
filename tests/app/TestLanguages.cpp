// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Constants.h"
#include "app/MainWindow.h"
#include "app/init.h"
#include "net/Authentication.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "tests/app/LoggedIn.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace {

QImage image(const QIcon& icon)
{
    return icon.pixmap(32, 32).toImage();
}

QImage flag(const char* locale)
{
    return image(QIcon(QStringLiteral(":/flags/%1.png").arg(QString::fromLatin1(locale))));
}

bool isBox(QWidget* widget)
{
    return qobject_cast<QMessageBox*>(widget) != nullptr;
}

QString title(const MainWindow& window)
{
    return window.findChild<QMenu*>(QStringLiteral("menuApplication"))->title();
}

/// What the installed translator gives at this moment; the window follows it one turn of the event loop later.
QString installed()
{
    return QCoreApplication::translate("MainWindow", "Menu.application");
}

/// This program has a folder of its own, so that no test beside it misses a translation that is taken away here.
QString folder()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/languages");
}

QString fileName(const char* locale)
{
    return QStringLiteral("/Translation_%1.qm").arg(QString::fromLatin1(locale));
}

/// The translation as it was built.
QString builtFile(const char* locale)
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/../languages") + fileName(locale);
}

bool putBack(const char* locale)
{
    QFile::remove(folder() + fileName(locale));
    return QFile::copy(builtFile(locale), folder() + fileName(locale));
}

bool takeAway(const char* locale)
{
    return QFile::remove(folder() + fileName(locale));
}

} // namespace

/// The menu of languages, and what a choice does in which order.
class TestLanguages : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { guard.reset(); }
    void init();
    void cleanup();

    void menuIsEmptyBeforeTheLogin();
    void menuListsTheLanguages();
    void menuLooksTheSameInEachLanguage_data();
    void menuLooksTheSameInEachLanguage();
    void languageOfTheSessionIsChecked_data();
    void languageOfTheSessionIsChecked();
    void oneEntryIsChecked();

    void choiceSendsTheLocale_data();
    void choiceSendsTheLocale();
    void choiceGoesStepByStep();
    void choiceAndBack();
    void replyIsNotRead_data();
    void replyIsNotRead();
    void currentLanguageSendsNothing();
    void fallbackLanguageIsTheCurrentOne();
    void noActionDoesNothing();
    void refusalLeavesTheOldTexts_data();
    void refusalLeavesTheOldTexts();
    void faultLeavesTheOldTexts_data();
    void faultLeavesTheOldTexts();
    void refusedLanguageMayBeAskedForAgain();
    void screensThatStandKeepTheirLanguage();
    void acceptLanguageStaysThatOfTheSession();

    void missingFileShowsKeys();
    void brokenFileShowsKeys_data();
    void brokenFileShowsKeys();
    void windowFollowsOneTurnLater();
    void localeThatIsNotSpokenBecomesEnglish_data();
    void localeThatIsNotSpokenBecomesEnglish();
    void sameLocaleLoadsNothing();
    void systemLanguageThatIsNotSpokenChangesNothing();

    void windowMayEndWhileItAsks();
    void windowMayEndBehindTheBox();

private:
    static QList<QAction*> entries(const MainWindow& window)
    {
        return window.findChild<QMenu*>(QStringLiteral("menuLanguage"))->actions();
    }
    static QStringList checkedLocales(const MainWindow& window);
    /// What was logged since the guard was cleared, but for what the offscreen platform has to say of itself.
    QStringList warnings() const;
    /// Chooses a language in the menu, and lets the server agree and the user close the box.
    void change(MainWindow& window, const char* locale);

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
};

void TestLanguages::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    // Else a test below would have no system language that is not spoken.
    QVERIFY(!Constants::LANGUAGES.contains(QLocale::system().name()));
}

void TestLanguages::init()
{
    QVERIFY(QDir().mkpath(folder()));
    for (const char* const locale : {"en_US", "ru_RU", "de_DE", "pl_PL"}) {
        QVERIFY2(putBack(locale), locale);
    }
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
}

void TestLanguages::cleanup()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(server->pending(), 0);
    server.reset();
    guard->verify();
}

QStringList TestLanguages::checkedLocales(const MainWindow& window)
{
    QStringList locales;
    for (const QAction* entry : entries(window)) {
        if (entry->isChecked()) {
            locales.append(entry->data().toString());
        }
    }
    return locales;
}

QStringList TestLanguages::warnings() const
{
    QStringList messages;
    for (const QString& message : guard->messages()) {
        if (!message.startsWith(QLatin1String("This plugin does not support"))) {
            messages.append(message);
        }
    }
    return messages;
}

void TestLanguages::change(MainWindow& window, const char* locale)
{
    server->expect("PUT", "/auth/locale", "");
    BoxAnswer box(QMessageBox::Ok);
    languageEntry(window, QString::fromLatin1(locale))->trigger();
    QTRY_VERIFY(box.used());
    QTRY_COMPARE(QLocale().name(), QString::fromLatin1(locale));
    QTRY_COMPARE(title(window), installed());
}

void TestLanguages::menuIsEmptyBeforeTheLogin()
{
    int before = -1;
    ModalAnswer escape(isLogin, [&before](QWidget* dialog) {
        before = dialog->parentWidget()->findChild<QMenu*>(QStringLiteral("menuLanguage"))->actions().size();
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    const MainWindow window;
    QVERIFY(escape.used());
    QCOMPARE(before, 0);
    QVERIFY(entries(window).isEmpty());
}

void TestLanguages::menuListsTheLanguages()
{
    const auto window = loggedIn(*server);
    const QList<QAction*> all = entries(*window);
    QCOMPARE(all.size(), 2);
    const char* const locales[] = {"en_US", "ru_RU"};
    const char* const names[] = {"English", "Russian"};
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(all.at(i)->text(), QString::fromLatin1(names[i]));
        QCOMPARE(all.at(i)->data().toString(), QString::fromLatin1(locales[i]));
        QVERIFY(all.at(i)->isCheckable());
        QVERIFY(!flag(locales[i]).isNull());
        QCOMPARE(image(all.at(i)->icon()), flag(locales[i]));
        QVERIFY(all.at(i)->actionGroup() != nullptr);
        QCOMPARE(all.at(i)->actionGroup(), all.first()->actionGroup());
    }
    QVERIFY(flag("en_US") != flag("ru_RU"));
    QVERIFY(all.first()->actionGroup()->isExclusive());
    QCOMPARE(all.first()->actionGroup()->parent(), window->findChild<QMenu*>(QStringLiteral("menuLanguage")));
}

void TestLanguages::menuLooksTheSameInEachLanguage_data()
{
    QTest::addColumn<QByteArray>("language");
    QTest::addColumn<QByteArray>("country");
    QTest::newRow("english") << QByteArray("en") << QByteArray("US");
    QTest::newRow("russian") << QByteArray("ru") << QByteArray("RU");
}

void TestLanguages::menuLooksTheSameInEachLanguage()
{
    QFETCH(QByteArray, language);
    QFETCH(QByteArray, country);
    const auto window = loggedIn(*server, language, country);
    QTRY_COMPARE(title(*window), installed());
    // Qt's own names of the languages, in no translation.
    QCOMPARE(entries(*window).at(0)->text(), QStringLiteral("English"));
    QCOMPARE(entries(*window).at(1)->text(), QStringLiteral("Russian"));
}

void TestLanguages::languageOfTheSessionIsChecked_data()
{
    QTest::addColumn<QByteArray>("language");
    QTest::addColumn<QByteArray>("country");
    QTest::addColumn<QStringList>("checked");
    QTest::addColumn<QString>("current");
    const QString english = QStringLiteral("en_US");
    const QString russian = QStringLiteral("ru_RU");
    QTest::newRow("english") << QByteArray("en") << QByteArray("US") << QStringList{english} << english;
    QTest::newRow("russian") << QByteArray("ru") << QByteArray("RU") << QStringList{russian} << russian;
    QTest::newRow("odd case") << QByteArray("RU") << QByteArray("ru") << QStringList{russian} << russian;
    // The texts fall back, the check mark does not.
    QTest::newRow("not offered") << QByteArray("de") << QByteArray("DE") << QStringList() << english;
    QTest::newRow("other country") << QByteArray("en") << QByteArray("GB") << QStringList() << english;
    QTest::newRow("none") << QByteArray() << QByteArray() << QStringList() << english;
}

void TestLanguages::languageOfTheSessionIsChecked()
{
    QFETCH(QByteArray, language);
    QFETCH(QByteArray, country);
    QFETCH(QStringList, checked);
    QFETCH(QString, current);
    const auto window = loggedIn(*server, language, country);
    QCOMPARE(checkedLocales(*window), checked);
    QCOMPARE(QLocale().name(), current);
}

void TestLanguages::oneEntryIsChecked()
{
    const auto window = loggedIn(*server);
    QCOMPARE(checkedLocales(*window), QStringList{QStringLiteral("en_US")});
    change(*window, "ru_RU");
    QCOMPARE(checkedLocales(*window), QStringList{QStringLiteral("ru_RU")});
}

void TestLanguages::choiceSendsTheLocale_data()
{
    QTest::addColumn<QByteArray>("language");
    QTest::addColumn<QByteArray>("country");
    QTest::addColumn<QString>("chosen");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("to russian") << QByteArray("en") << QByteArray("US") << QStringLiteral("ru_RU")
                                << QByteArray("{\n    \"country\": \"RU\",\n    \"locale\": \"ru\"\n}\n");
    QTest::newRow("to english") << QByteArray("ru") << QByteArray("RU") << QStringLiteral("en_US")
                                << QByteArray("{\n    \"country\": \"US\",\n    \"locale\": \"en\"\n}\n");
}

void TestLanguages::choiceSendsTheLocale()
{
    QFETCH(QByteArray, language);
    QFETCH(QByteArray, country);
    QFETCH(QString, chosen);
    QFETCH(QByteArray, body);
    const auto window = loggedIn(*server, language, country);
    server->expect("PUT", "/auth/locale", "");
    BoxAnswer box(QMessageBox::Ok);
    languageEntry(*window, chosen)->trigger();
    QTRY_VERIFY(box.used());
    QCOMPARE(server->requests().size(), 1);
    QCOMPARE(server->last().body, body);
    QCOMPARE(server->last().headers.value("content-type"), QByteArray("application/json"));
    QCOMPARE(server->last().headers.value("authorization"), QByteArray("Bearer first"));
    QTRY_COMPARE(QLocale().name(), chosen);
}

void TestLanguages::choiceGoesStepByStep()
{
    const auto window = loggedIn(*server);
    const QString english = title(*window);
    QCOMPARE(english, installed());
    LoopbackServer::Answer answer;
    answer.kind = LoopbackServer::Answer::Stall;
    server->expect("PUT", "/auth/locale", answer);

    // First the icon: it is there when the request has not even left.
    QVERIFY(image(window->windowIcon()) != flag("ru_RU"));
    languageEntry(*window, QStringLiteral("ru_RU"))->trigger();
    QCOMPARE(image(window->windowIcon()), flag("ru_RU"));
    QVERIFY(server->requests().isEmpty());

    // Then the request, with the window covered and nothing changed.
    auto* const overlay = window->findChild<LoadingWindow*>();
    QVERIFY(overlay != nullptr);
    QCOMPARE(overlay->parentWidget(), window.get());
    QTRY_COMPARE(server->requests().size(), 1);
    QTest::qWait(50);
    QVERIFY(QApplication::activeModalWidget() == nullptr);
    QCOMPARE(title(*window), english);
    QCOMPARE(QLocale().name(), QStringLiteral("en_US"));

    // Then the box, which speaks the old language, as all else does until it is closed.
    const QString boxTitle = QCoreApplication::translate("QObject", "Text.success");
    const QString boxText = QCoreApplication::translate("MainWindow", "Text.changeLocaleSuccess");
    QString shownTitle;
    QString shownText;
    QString titleBehindTheBox;
    QString localeBehindTheBox;
    QString installedBehindTheBox;
    bool coveredBehindTheBox = true;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QWidget* over = nullptr;
    ModalAnswer box(isBox, [&](QWidget* widget) {
        auto* const shown = qobject_cast<QMessageBox*>(widget);
        shownTitle = shown->windowTitle();
        shownText = shown->text();
        icon = shown->icon();
        over = shown->parentWidget();
        QTest::qWait(50);
        titleBehindTheBox = title(*window);
        installedBehindTheBox = installed();
        localeBehindTheBox = QLocale().name();
        coveredBehindTheBox = window->findChild<LoadingWindow*>() != nullptr;
        shown->button(QMessageBox::Ok)->click();
    });
    server->release();
    QTRY_VERIFY(box.used());
    QTRY_COMPARE(QLocale().name(), QStringLiteral("ru_RU"));
    QCOMPARE(shownTitle, boxTitle);
    QCOMPARE(shownText, boxText);
    QCOMPARE(icon, QMessageBox::Information);
    QCOMPARE(over, window.get());
    QCOMPARE(titleBehindTheBox, english);
    QCOMPARE(installedBehindTheBox, english);
    QCOMPARE(localeBehindTheBox, QStringLiteral("en_US"));
    QVERIFY(!coveredBehindTheBox);

    // Last the new language.
    QVERIFY(installed() != english);
    QTRY_COMPARE(title(*window), installed());
    QCOMPARE(image(window->windowIcon()), flag("ru_RU"));
}

void TestLanguages::choiceAndBack()
{
    const auto window = loggedIn(*server);
    const QString english = title(*window);
    change(*window, "ru_RU");
    const QString russian = title(*window);
    QVERIFY(russian != english);
    change(*window, "en_US");
    QCOMPARE(title(*window), english);
    QCOMPARE(image(window->windowIcon()), flag("en_US"));
    change(*window, "ru_RU");
    QCOMPARE(title(*window), russian);
    QCOMPARE(checkedLocales(*window), QStringList{QStringLiteral("ru_RU")});
    QCOMPARE(server->requests().size(), 3);
}

void TestLanguages::replyIsNotRead_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("empty") << 200 << QByteArray();
    QTest::newRow("no content") << 204 << QByteArray();
    QTest::newRow("another language") << 200 << QByteArray(R"({"locale": "en", "country": "US"})");
    QTest::newRow("message") << 200 << QByteArray(R"({"message": "no"})");
    QTest::newRow("HTML") << 200 << QByteArray("<html>");
}

void TestLanguages::replyIsNotRead()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    const auto window = loggedIn(*server);
    server->expect("PUT", "/auth/locale", body, status);
    BoxAnswer box(QMessageBox::Ok);
    languageEntry(*window, QStringLiteral("ru_RU"))->trigger();
    QTRY_VERIFY(box.used());
    QCOMPARE(box.icon, QMessageBox::Information);
    QTRY_COMPARE(QLocale().name(), QStringLiteral("ru_RU"));
}

void TestLanguages::currentLanguageSendsNothing()
{
    const auto window = loggedIn(*server);
    QVERIFY(image(window->windowIcon()) != flag("en_US"));
    languageEntry(*window, QStringLiteral("en_US"))->trigger();
    QCOMPARE(image(window->windowIcon()), flag("en_US"));
    QVERIFY(window->findChild<LoadingWindow*>() == nullptr);
    QTest::qWait(100);
    QVERIFY(server->requests().isEmpty());
    QVERIFY(QApplication::activeModalWidget() == nullptr);
    QCOMPARE(checkedLocales(*window), QStringList{QStringLiteral("en_US")});
    QCOMPARE(QLocale().name(), QStringLiteral("en_US"));
}

void TestLanguages::fallbackLanguageIsTheCurrentOne()
{
    // The user's French is shown in English, so that the English entry has nothing to send.
    const auto window = loggedIn(*server, "fr", "FR");
    QCOMPARE(checkedLocales(*window), QStringList());
    languageEntry(*window, QStringLiteral("en_US"))->trigger();
    QCOMPARE(image(window->windowIcon()), flag("en_US"));
    QTest::qWait(100);
    QVERIFY(server->requests().isEmpty());
    QCOMPARE(checkedLocales(*window), QStringList{QStringLiteral("en_US")});
}

void TestLanguages::noActionDoesNothing()
{
    const auto window = loggedIn(*server);
    const QImage before = image(window->windowIcon());
    window->onLanguageChanged(nullptr);
    QCOMPARE(image(window->windowIcon()), before);
    QVERIFY(window->findChild<LoadingWindow*>() == nullptr);
    QTest::qWait(50);
    QVERIFY(server->requests().isEmpty());
}

void TestLanguages::refusalLeavesTheOldTexts_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("message");
    QTest::newRow("message") << 400 << QByteArray(R"({"message": "Not this one"})") << QStringLiteral("Not this one");
    QTest::newRow("errors") << 400 << QByteArray(R"({"errors": [{"locale": "unknown"}]})")
                            << QStringLiteral("locale unknown\r\n");
    QTest::newRow("session over") << 401 << QByteArray(R"({"message": "Log in again"})")
                                  << QStringLiteral("Log in again");
    QTest::newRow("HTML") << 500 << QByteArray("<html></html>") << QString();
    QTest::newRow("empty") << 503 << QByteArray() << QString();
}

void TestLanguages::refusalLeavesTheOldTexts()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, message);
    const auto window = loggedIn(*server);
    const QString english = title(*window);
    server->expect("PUT", "/auth/locale", body, status);
    BoxAnswer box(QMessageBox::Ok);
    languageEntry(*window, QStringLiteral("ru_RU"))->trigger();
    QTRY_VERIFY(box.used());
    QCOMPARE(box.title, QCoreApplication::translate("QObject", "Text.error"));
    QCOMPARE(box.text, message);
    QCOMPARE(box.icon, QMessageBox::Critical);
    QCOMPARE(box.parent, window.get());
    QTest::qWait(50);
    // The texts stay, the check mark and the flag have gone on.
    QCOMPARE(title(*window), english);
    QCOMPARE(installed(), english);
    QCOMPARE(QLocale().name(), QStringLiteral("en_US"));
    QCOMPARE(checkedLocales(*window), QStringList{QStringLiteral("ru_RU")});
    QCOMPARE(image(window->windowIcon()), flag("ru_RU"));
    QVERIFY(window->findChild<LoadingWindow*>() == nullptr);
}

void TestLanguages::faultLeavesTheOldTexts_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("refused") << -1;
    QTest::newRow("reset") << static_cast<int>(LoopbackServer::Answer::Reset);
    QTest::newRow("reset in the body") << static_cast<int>(LoopbackServer::Answer::ResetInBody);
    QTest::newRow("not HTTP") << static_cast<int>(LoopbackServer::Answer::Raw);
    QTest::newRow("no answer") << static_cast<int>(LoopbackServer::Answer::Stall);
}

void TestLanguages::faultLeavesTheOldTexts()
{
    QFETCH(int, kind);
    const auto window = loggedIn(*server);
    if (kind < 0) {
        server->stop();
    } else {
        LoopbackServer::Answer answer;
        answer.kind = static_cast<LoopbackServer::Answer::Kind>(kind);
        answer.always = true;
        answer.body = "not HTTP at all";
        server->expect("PUT", "/auth/locale", answer);
    }
    const int before = Http::instance().getReadTimeout();
    Http::instance().setReadTimeout(300);
    BoxAnswer box(QMessageBox::Ok);
    languageEntry(*window, QStringLiteral("ru_RU"))->trigger();
    Http::instance().setReadTimeout(before);
    QTRY_VERIFY(box.used());
    QCOMPARE(box.icon, QMessageBox::Critical);
    QCOMPARE(box.text, QString());
    QTest::qWait(50);
    QCOMPARE(QLocale().name(), QStringLiteral("en_US"));
    QCOMPARE(checkedLocales(*window), QStringList{QStringLiteral("ru_RU")});
    QCOMPARE(image(window->windowIcon()), flag("ru_RU"));
}

void TestLanguages::refusedLanguageMayBeAskedForAgain()
{
    const auto window = loggedIn(*server);
    server->expect("PUT", "/auth/locale", R"({"message": "no"})", 400);
    {
        BoxAnswer box(QMessageBox::Ok);
        languageEntry(*window, QStringLiteral("ru_RU"))->trigger();
        QTRY_VERIFY(box.used());
    }
    // Its entry bears the check mark and still is not the current language.
    change(*window, "ru_RU");
    QCOMPARE(server->requests().size(), 2);
}

void TestLanguages::screensThatStandKeepTheirLanguage()
{
    const auto window = loggedIn(*server);
    auto* const list = window->findChild<QLabel*>(QStringLiteral("titleLabel"));
    QVERIFY(list != nullptr);
    const QString english = list->text();
    QCOMPARE(english, QCoreApplication::translate("ViewPatients", "Text.listPatients"));
    change(*window, "ru_RU");
    QCOMPARE(list->text(), english);
    QVERIFY(QCoreApplication::translate("ViewPatients", "Text.listPatients") != english);
}

void TestLanguages::acceptLanguageStaysThatOfTheSession()
{
    const auto window = loggedIn(*server);
    change(*window, "ru_RU");
    QCOMPARE(server->last().headers.value("accept-language"), QByteArray("en-US"));
    server->expect("GET", "/auth/updates/?version=2021.3.0", "{}");
    BoxAnswer box(QMessageBox::Ok);
    menuEntry(*window, "menuUpdates")->trigger();
    QTRY_VERIFY(box.used());
    QCOMPARE(server->last().headers.value("accept-language"), QByteArray("en-US"));
    QCOMPARE(Authentication::getInstance()->getLocale(), QStringLiteral("en_US"));
    // The program itself has changed: what the user reads now is Russian.
    QCOMPARE(box.text, QCoreApplication::translate("MainWindow", "Text.upToDate"));
    QCOMPARE(QLocale().name(), QStringLiteral("ru_RU"));
}

void TestLanguages::missingFileShowsKeys()
{
    const auto window = loggedIn(*server);
    QVERIFY(takeAway("ru_RU"));
    guard->clear();
    change(*window, "ru_RU");
    QCOMPARE(title(*window), QStringLiteral("Menu.application"));
    QCOMPARE(checkedLocales(*window), QStringList{QStringLiteral("ru_RU")});
    QCOMPARE(warnings(), QStringList());
    QVERIFY(QApplication::activeModalWidget() == nullptr);
    // The way back is open.
    change(*window, "en_US");
    QVERIFY(title(*window) != QLatin1String("Menu.application"));
}

void TestLanguages::brokenFileShowsKeys_data()
{
    QTest::addColumn<int>("kept");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("other content") << 0 << QByteArray("no translation");
    QTest::newRow("empty") << 0 << QByteArray();
    QTest::newRow("begins well") << 8 << QByteArray();
}

void TestLanguages::brokenFileShowsKeys()
{
    QFETCH(int, kept);
    QFETCH(QByteArray, content);
    const auto window = loggedIn(*server);
    QFile whole(builtFile("ru_RU"));
    QVERIFY(whole.open(QIODevice::ReadOnly));
    const QByteArray beginning = whole.read(kept);
    QCOMPARE(beginning.size(), kept);
    QFile broken(folder() + fileName("ru_RU"));
    QVERIFY(broken.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(broken.write(beginning + content), qint64(kept + content.size()));
    broken.close();
    guard->clear();
    change(*window, "ru_RU");
    QCOMPARE(title(*window), QStringLiteral("Menu.application"));
    QCOMPARE(warnings(), QStringList());
}

void TestLanguages::windowFollowsOneTurnLater()
{
    const auto window = loggedIn(*server);
    const QString english = title(*window);
    window->loadLanguage(QStringLiteral("ru_RU"));
    QVERIFY(installed() != english);
    QCOMPARE(title(*window), english);
    QTRY_COMPARE(title(*window), installed());
    const char* const keys[] = {"Menu.password", "Menu.updates", "Menu.about"};
    const char* const names[] = {"menuPassword", "menuUpdates", "menuAbout"};
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(menuEntry(*window, names[i])->text(), QCoreApplication::translate("MainWindow", keys[i]));
    }
    QCOMPARE(window->windowTitle(), QCoreApplication::translate("MainWindow", "Title.application"));
    QCOMPARE(window->findChild<QMenu*>(QStringLiteral("menuLanguage"))->title(),
             QCoreApplication::translate("MainWindow", "Menu.language"));
}

void TestLanguages::localeThatIsNotSpokenBecomesEnglish_data()
{
    QTest::addColumn<QString>("locale");
    QTest::newRow("built, but not offered") << QStringLiteral("de_DE");
    QTest::newRow("polish") << QStringLiteral("pl_PL");
    QTest::newRow("case") << QStringLiteral("RU_ru");
    QTest::newRow("language alone") << QStringLiteral("ru");
    QTest::newRow("C") << QStringLiteral("C");
    QTest::newRow("empty") << QString();
    QTest::newRow("nonsense") << QStringLiteral("../../etc/passwd");
}

void TestLanguages::localeThatIsNotSpokenBecomesEnglish()
{
    QFETCH(QString, locale);
    const auto window = loggedIn(*server);
    const QString english = title(*window);
    window->loadLanguage(QStringLiteral("ru_RU"));
    QVERIFY(installed() != english);
    window->loadLanguage(locale);
    QCOMPARE(QLocale().name(), QStringLiteral("en_US"));
    QCOMPARE(installed(), english);
}

void TestLanguages::sameLocaleLoadsNothing()
{
    const auto window = loggedIn(*server);
    QVERIFY(takeAway("en_US"));
    QLocale::setDefault(QLocale(QStringLiteral("fr_FR")));
    for (const char* const locale : {"en_US", "xx_XX"}) {
        window->loadLanguage(QString::fromLatin1(locale));
        // Loading again would find no file and show keys, and would set the default locale.
        QVERIFY(installed() != QLatin1String("Menu.application"));
        QCOMPARE(QLocale().name(), QStringLiteral("fr_FR"));
    }
}

void TestLanguages::systemLanguageThatIsNotSpokenChangesNothing()
{
    const auto window = loggedIn(*server, "ru", "RU");
    const QString russian = installed();
    QEvent event(QEvent::LocaleChange);
    QApplication::sendEvent(window.get(), &event);
    QCOMPARE(QLocale().name(), QStringLiteral("ru_RU"));
    QCOMPARE(installed(), russian);
    QVERIFY(server->requests().isEmpty());
}

void TestLanguages::windowMayEndWhileItAsks()
{
    auto window = loggedIn(*server);
    LoopbackServer::Answer answer;
    answer.kind = LoopbackServer::Answer::Stall;
    server->expect("PUT", "/auth/locale", answer);
    languageEntry(*window, QStringLiteral("ru_RU"))->trigger();
    QTRY_COMPARE(server->requests().size(), 1);
    window.reset();
    server->release();
    QTest::qWait(200);
    QVERIFY(QApplication::activeModalWidget() == nullptr);
    QCOMPARE(QLocale().name(), QStringLiteral("en_US"));
}

void TestLanguages::windowMayEndBehindTheBox()
{
    auto window = loggedIn(*server);
    server->expect("PUT", "/auth/locale", "");
    ModalAnswer destroy(isBox, [&window](QWidget*) { window.reset(); });
    languageEntry(*window, QStringLiteral("ru_RU"))->trigger();
    QTRY_VERIFY(destroy.used());
    QVERIFY(window == nullptr);
    QTest::qWait(50);
    QCOMPARE(QLocale().name(), QStringLiteral("en_US"));
}

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    init(app);
    TestLanguages test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestLanguages.moc"
