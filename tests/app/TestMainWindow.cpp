// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/ViewAnalysis.h"
#include "analysis/ViewComparativeAnalysis.h"
#include "analysis/ViewRecoveryHistory.h"
#include "app/MainWindow.h"
#include "app/init.h"
#include "model/PatientManager.h"
#include "net/Authentication.h"
#include "net/DialogLogin.h"
#include "patients/PatientModel.h"
#include "patients/RecordModel.h"
#include "patients/ViewPatient.h"
#include "patients/ViewPatients.h"
#include "recipe/ViewImpact.h"
#include "recipe/ViewReceipt.h"
#include "signal/DialogPlayer.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QAction>
#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTableView>
#include <QTest>

#include <algorithm>
#include <memory>

namespace {

const char* const filterTarget = "/patient/filter?sortby=name&direction=asc&size=20&current=0&searchby=name&needle=";
const char* const onePatient = R"({"pages": 1, "data": [{"id": "p1", "name": "Ada", "gender": "FEMALE"}]})";

bool isLogin(QWidget* widget)
{
    return qobject_cast<DialogLogin*>(widget) != nullptr;
}

/// Types a name and a password into the login dialog and confirms.
void logIn(QWidget* dialog)
{
    dialog->findChild<QLineEdit*>(QStringLiteral("usernameField"))->setText(QStringLiteral("ada"));
    dialog->findChild<QLineEdit*>(QStringLiteral("passwordField"))->setText(QStringLiteral("secret"));
    dialog->findChild<QPushButton*>(QStringLiteral("buttonConfirm"))->click();
}

Patient patient(const QString& id, const QString& name)
{
    return Patient(QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("name"), name}});
}

Record record(const QString& id)
{
    return Record(QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("patientId"), QStringLiteral("p1")}});
}

Marker marker(const QString& id)
{
    return Marker(
        QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("title"), id}, {QStringLiteral("amount"), 1}});
}

} // namespace

/// The window: login, language, the stack of screens, the one player, and the way out.
class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { guard.reset(); }
    void init();
    void cleanup();

    void loginBuildsTheList();
    void formIsAsNamed();
    void languageFollowsTheServer_data();
    void languageFollowsTheServer();
    void escapeLeavesAnEmptyWindow();
    void closingTheLoginEndsTheProcess();
    void choosingOpensTheCard();
    void cardLeadsToWhatRecordsSay_data();
    void cardLeadsToWhatRecordsSay();
    void unsavedHistoryIsAskedFor();
    void backDropsOneScreen();
    void backOnTheListEmptiesTheStack();
    void backOnAnEmptyStackDoesNothing();
    void patientCardDropsTwoScreens();
    void listDropsEveryScreen();
    void removedMarkerReachesTheReceipt();
    void deletingAsksAndReturnsToTheList();
    void refusedDeletionStays();
    void declinedDeletionSendsNothing();
    void playerIsOne();
    void playerButtonBringsItBack();
    void finishedPlayerIsReported();
    void newImpactKnowsOfThePlayer();
    void closingAsks();
    void survivesBeingDestroyed();
    void survivesBeingDestroyedBehindABox();

private:
    /// A window after a login as a user of this language.
    std::unique_ptr<MainWindow> window(const QByteArray& language = "en", const QByteArray& country = "US");
    /// Waits until every expected request has come and its reply has been worked off.
    bool settled(const MainWindow& main) const;
    static QStackedWidget* stackOf(const MainWindow& window)
    {
        return qobject_cast<QStackedWidget*>(window.centralWidget());
    }
    void openCard(MainWindow& window, const QByteArray& records = "[]");
    void openReceipt(MainWindow& window);
    void openImpact(MainWindow& window, const QStringList& markers = {QStringLiteral("m1"), QStringLiteral("m2")});

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
};

void TestMainWindow::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
}

void TestMainWindow::init()
{
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
}

void TestMainWindow::cleanup()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    server.reset();
    guard->verify();
}

std::unique_ptr<MainWindow> TestMainWindow::window(const QByteArray& language, const QByteArray& country)
{
    server->expect("POST", "/auth/login",
                   R"({"accessToken": "t", "tokenType": "Bearer", "language": ")" + language + R"(", "country": ")" +
                       country + R"(", "expiredAt": "2027-01-01"})");
    server->expect("GET", filterTarget, onePatient);
    ModalAnswer login(isLogin, logIn);
    auto result = std::make_unique<MainWindow>(nullptr);
    // The list's model outlives the window of an earlier test: what counts is that this one's request is over.
    const bool loggedIn = login.used() && settled(*result);
    if (!loggedIn) {
        QTest::qFail("The login did not lead to the list", __FILE__, __LINE__);
    }
    return result;
}

bool TestMainWindow::settled(const MainWindow& main) const
{
    return QTest::qWaitFor([this, &main] {
        return server->pending() == 0 && main.findChild<QWidget*>(QStringLiteral("LoadingWindow")) == nullptr;
    });
}

void TestMainWindow::openCard(MainWindow& window, const QByteArray& records)
{
    server->expect("GET", "/record/p1", records);
    Patient chosen = patient(QStringLiteral("p1"), QStringLiteral("Ada"));
    window.onChoosePatient(chosen);
    QVERIFY(settled(window));
}

void TestMainWindow::openReceipt(MainWindow& window)
{
    server->expect("GET", "/recipe/p1/r1", "[]");
    server->expect("GET", "/category/corrective/p1", "[]");
    Patient chosen = patient(QStringLiteral("p1"), QStringLiteral("Ada"));
    Record taken = record(QStringLiteral("r1"));
    window.onReceipt(chosen, taken);
    QVERIFY(settled(window));
}

void TestMainWindow::openImpact(MainWindow& window, const QStringList& markers)
{
    Patient chosen = patient(QStringLiteral("p1"), QStringLiteral("Ada"));
    Record taken = record(QStringLiteral("r1"));
    QList<Marker> list;
    for (const QString& id : markers) {
        list.append(marker(id));
    }
    window.onImpact(chosen, taken, list, false);
}

void TestMainWindow::loginBuildsTheList()
{
    const auto main = window();
    QCOMPARE(stackOf(*main)->count(), 1);
    QVERIFY(qobject_cast<ViewPatients*>(stackOf(*main)->currentWidget()) != nullptr);
    QVERIFY(main->isMaximized());
    QCOMPARE(main->minimumSize(), QSize(300, 300));
    QCOMPARE(server->requests().at(0).body, QByteArray("password=secret&username=ada&"));
    QCOMPARE(server->requests().at(1).headers.value("authorization"), QByteArray("Bearer t"));
    QCOMPARE(server->requests().at(1).headers.value("accept-language"), QByteArray("en-US"));
}

void TestMainWindow::formIsAsNamed()
{
    const auto main = window();
    QCOMPARE(main->objectName(), QStringLiteral("MainWindow"));
    auto* const menu = main->findChild<QMenu*>(QStringLiteral("menuApplication"));
    QVERIFY(menu != nullptr);
    QStringList entries;
    for (const QAction* action : menu->actions()) {
        entries.append(action->isSeparator()       ? QStringLiteral("-")
                       : action->menu() != nullptr ? action->menu()->objectName()
                                                   : action->objectName());
    }
    QCOMPARE(entries, QStringList({QStringLiteral("menuLanguage"), QStringLiteral("-"), QStringLiteral("menuPassword"),
                                   QStringLiteral("menuUpdates"), QStringLiteral("-"), QStringLiteral("menuAbout")}));
    QVERIFY(main->findChild<QMenuBar*>(QStringLiteral("menuBar")) != nullptr);
    QVERIFY(main->findChild<QStatusBar*>(QStringLiteral("statusBar")) != nullptr);
}

void TestMainWindow::languageFollowsTheServer_data()
{
    QTest::addColumn<QByteArray>("language");
    QTest::addColumn<QByteArray>("country");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<bool>("russian");
    QTest::newRow("english") << QByteArray("en") << QByteArray("US") << "en_US" << false;
    QTest::newRow("russian") << QByteArray("ru") << QByteArray("RU") << "ru_RU" << true;
    QTest::newRow("odd case") << QByteArray("RU") << QByteArray("ru") << "ru_RU" << true;
    QTest::newRow("not spoken") << QByteArray("fr") << QByteArray("FR") << "en_US" << false;
    QTest::newRow("none") << QByteArray("") << QByteArray("") << "en_US" << false;
}

void TestMainWindow::languageFollowsTheServer()
{
    QFETCH(QByteArray, language);
    QFETCH(QByteArray, country);
    QFETCH(QString, locale);
    QFETCH(bool, russian);
    const auto main = window(language, country);
    QCOMPARE(QLocale().name(), locale);

    const auto isCyrillic = [](const QString& text) {
        return std::any_of(text.cbegin(), text.cend(), [](QChar c) { return c.script() == QChar::Script_Cyrillic; });
    };
    const auto* const menu = main->findChild<QMenu*>(QStringLiteral("menuApplication"));
    QTRY_COMPARE(isCyrillic(menu->title()), russian);
    QVERIFY(!menu->title().startsWith(QLatin1String("Menu.")));
}

void TestMainWindow::escapeLeavesAnEmptyWindow()
{
    ModalAnswer escape(isLogin, [](QWidget* dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
    MainWindow main;
    QVERIFY(escape.used());
    QCOMPARE(stackOf(main)->count(), 0);
    QVERIFY(server->requests().isEmpty());

    main.show();
    main.findChild<QAction*>(QStringLiteral("menuAbout"))->trigger();
    main.findChild<QAction*>(QStringLiteral("menuPassword"))->trigger();
    main.findChild<QAction*>(QStringLiteral("menuUpdates"))->trigger();
    QVERIFY(QApplication::activeModalWidget() == nullptr);

    BoxAnswer yes(QMessageBox::Yes);
    QVERIFY(main.close());
    QVERIFY(yes.used());
}

void TestMainWindow::closingTheLoginEndsTheProcess()
{
    QProcess process;
    // What it logs is a matter of this program's output.
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--close-login")});
    QVERIFY(process.waitForFinished(60000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
}

void TestMainWindow::choosingOpensTheCard()
{
    const auto main = window();
    server->expect("GET", "/record/p1", "[]");
    auto* const list = main->findChild<QTableView*>(QStringLiteral("tableView"));
    const QRect cell = list->visualRect(list->model()->index(0, 2));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
    QCOMPARE(stackOf(*main)->count(), 2);
    QVERIFY(qobject_cast<ViewPatient*>(stackOf(*main)->currentWidget()) != nullptr);
    QVERIFY(settled(*main));
}

void TestMainWindow::cardLeadsToWhatRecordsSay_data()
{
    QTest::addColumn<QByteArray>("screen");
    QTest::addColumn<QString>("button");
    QTest::addColumn<QByteArray>("path");
    QTest::newRow("analysis") << QByteArray("ViewAnalysis") << "buttonAnalysis" << QByteArray("/analysis/summary");
    QTest::newRow("comparison") << QByteArray("ViewComparativeAnalysis") << "buttonComparativeAnalysis"
                                << QByteArray("/analysis/comparative");
    QTest::newRow("history") << QByteArray("ViewRecoveryHistory") << "buttonRecoveryHistory"
                             << QByteArray("/patient/questionnaire");
}

void TestMainWindow::cardLeadsToWhatRecordsSay()
{
    QFETCH(QByteArray, screen);
    QFETCH(QString, button);
    QFETCH(QByteArray, path);
    const auto main = window();
    openCard(*main, R"([{"id": "r1", "patientId": "p1"}, {"id": "r2", "patientId": "p1"},
                        {"id": "r3", "patientId": "p1"}])");
    QWidget* const card = stackOf(*main)->currentWidget();
    card->findChild<RecordModel*>()->toggle(true);

    for (const char* const way : {"buttonBack", "buttonListPatients"}) {
        server->expect("POST", path, "{}");
        card->findChild<QPushButton*>(button)->click();
        QCOMPARE(stackOf(*main)->count(), 3);
        const QPointer<QWidget> shown = stackOf(*main)->currentWidget();
        QCOMPARE(QByteArray(shown->metaObject()->className()), screen);
        QVERIFY(settled(*main));
        const QJsonObject sent = QJsonDocument::fromJson(server->requests().constLast().body).object();
        QCOMPARE(sent.value(QStringLiteral("patientId")).toString(), QStringLiteral("p1"));
        QCOMPARE(sent.value(QStringLiteral("records")).toArray().size(), 3);
        // Its label says whose records they are.
        QCOMPARE(shown->findChild<QLabel*>(QStringLiteral("labelPatientName"))->text(), QStringLiteral("(Ada)"));

        shown->findChild<QPushButton*>(QString::fromLatin1(way))->click();
        QTRY_VERIFY(shown.isNull());
        if (qstrcmp(way, "buttonBack") == 0) {
            QCOMPARE(stackOf(*main)->count(), 2);
            QCOMPARE(stackOf(*main)->currentWidget(), card);
        } else {
            QCOMPARE(stackOf(*main)->count(), 1);
            QVERIFY(qobject_cast<ViewPatients*>(stackOf(*main)->currentWidget()) != nullptr);
        }
    }
}

void TestMainWindow::unsavedHistoryIsAskedFor()
{
    const auto main = window();
    openCard(*main);
    server->expect("POST", "/patient/questionnaire",
                   R"({"dates": {"r1": "2021-03-04T05:06:07"}, "rows": [{"id": 1, "symptom": "Cough"}]})");
    Patient chosen = patient(QStringLiteral("p1"), QStringLiteral("Ada"));
    QList<Record> records{record(QStringLiteral("r1"))};
    main->onRecoveryHistory(chosen, records);
    QVERIFY(settled(*main));
    QWidget* const history = stackOf(*main)->currentWidget();
    auto* const table = history->findChild<QTableView*>(QStringLiteral("tableView"));
    table->model()->setData(table->model()->index(2, 1), 2.0F, Qt::DisplayRole);

    // A failed save keeps the screen, a saved one leaves it.
    server->expect("PUT", "/patient/questionnaire/p1", R"({"message": "Not now"})", 500);
    {
        BoxAnswer yes(QMessageBox::Yes);
        history->findChild<QPushButton*>(QStringLiteral("buttonBack"))->click();
        QVERIFY(yes.used());
        BoxAnswer refused(QMessageBox::Ok);
        QTRY_VERIFY(refused.used());
        QCOMPARE(refused.text, QStringLiteral("Not now"));
    }
    QCOMPARE(stackOf(*main)->count(), 3);
    server->expect("PUT", "/patient/questionnaire/p1", "{}");
    BoxAnswer yes(QMessageBox::Yes);
    history->findChild<QPushButton*>(QStringLiteral("buttonListPatients"))->click();
    QVERIFY(yes.used());
    QTRY_COMPARE(stackOf(*main)->count(), 1);
}

void TestMainWindow::backDropsOneScreen()
{
    const auto main = window();
    openCard(*main);
    openReceipt(*main);
    openImpact(*main);
    QCOMPARE(stackOf(*main)->count(), 4);
    const QPointer<QWidget> impact = stackOf(*main)->currentWidget();
    const QPointer<QWidget> receipt = stackOf(*main)->widget(2);
    QVERIFY(QMetaObject::invokeMethod(impact, "onBack"));
    QCOMPARE(stackOf(*main)->count(), 3);
    QCOMPARE(stackOf(*main)->currentWidget(), receipt.data());
    QTRY_VERIFY(impact.isNull());
    QVERIFY(QMetaObject::invokeMethod(receipt, "onBack"));
    QCOMPARE(stackOf(*main)->count(), 2);
    QVERIFY(qobject_cast<ViewPatient*>(stackOf(*main)->currentWidget()) != nullptr);
}

void TestMainWindow::backOnTheListEmptiesTheStack()
{
    const auto main = window();
    const QPointer<QWidget> list = stackOf(*main)->currentWidget();
    main->screenBack();
    QCOMPARE(stackOf(*main)->count(), 0);
    QTRY_VERIFY(list.isNull());
}

void TestMainWindow::backOnAnEmptyStackDoesNothing()
{
    ModalAnswer escape(isLogin, [](QWidget* dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
    MainWindow main;
    main.screenBack();
    QCOMPARE(stackOf(main)->count(), 0);
}

void TestMainWindow::patientCardDropsTwoScreens()
{
    const auto main = window();
    openCard(*main);
    openReceipt(*main);
    openImpact(*main);
    const QPointer<QWidget> impact = stackOf(*main)->widget(3);
    const QPointer<QWidget> receipt = stackOf(*main)->widget(2);
    QVERIFY(QMetaObject::invokeMethod(impact, "onPatientCard"));
    QCOMPARE(stackOf(*main)->count(), 2);
    QVERIFY(qobject_cast<ViewPatient*>(stackOf(*main)->currentWidget()) != nullptr);
    QTRY_VERIFY(impact.isNull() && receipt.isNull());
}

void TestMainWindow::listDropsEveryScreen()
{
    const auto main = window();
    openCard(*main);
    openReceipt(*main);
    openImpact(*main);
    QList<QPointer<QWidget>> dropped;
    for (int i = 1; i < 4; ++i) {
        dropped.append(stackOf(*main)->widget(i));
    }
    const int asked = server->requests().size();
    QVERIFY(QMetaObject::invokeMethod(stackOf(*main)->currentWidget(), "onPatientsList"));
    QCOMPARE(stackOf(*main)->count(), 1);
    QVERIFY(qobject_cast<ViewPatients*>(stackOf(*main)->currentWidget()) != nullptr);
    QTRY_VERIFY(std::all_of(dropped.cbegin(), dropped.cend(), [](const auto& screen) { return screen.isNull(); }));
    // The list is not loaded anew.
    QCOMPARE(server->requests().size(), asked);
}

void TestMainWindow::removedMarkerReachesTheReceipt()
{
    const auto main = window();
    openCard(*main);
    server->expect("GET", "/recipe/p1/r1", R"([{"id": "m1", "title": "M"}])");
    server->expect("GET", "/category/corrective/p1", "[]");
    Patient chosen = patient(QStringLiteral("p1"), QStringLiteral("Ada"));
    Record taken = record(QStringLiteral("r1"));
    main->onReceipt(chosen, taken);
    auto* const receipt = stackOf(*main)->currentWidget();
    auto* const button = receipt->findChild<QPushButton*>(QStringLiteral("buttonReceipt"));
    QTRY_VERIFY(button->isEnabled());
    QVERIFY(settled(*main));

    openImpact(*main, {QStringLiteral("m1"), QStringLiteral("m2")});
    QVERIFY(QMetaObject::invokeMethod(stackOf(*main)->currentWidget(), "onMarkerRemove",
                                      Q_ARG(QString, QStringLiteral("m1"))));
    QVERIFY(!button->isEnabled());
}

void TestMainWindow::deletingAsksAndReturnsToTheList()
{
    const auto main = window();
    openCard(*main);
    server->expect("DELETE", "/patient/p1", "");
    Patient chosen = patient(QStringLiteral("p1"), QStringLiteral("Ada"));
    BoxAnswer yes(QMessageBox::Yes);
    main->patientDelete(stackOf(*main)->currentWidget(), chosen);
    QVERIFY(yes.used());
    QTRY_COMPARE(stackOf(*main)->count(), 1);
    QCOMPARE(PatientManager::getInstance()->getModel()->rowCount(), 0);
}

void TestMainWindow::refusedDeletionStays()
{
    const auto main = window();
    openCard(*main);
    server->expect("DELETE", "/patient/p1", R"({"message": "Not now"})", 400);
    Patient chosen = patient(QStringLiteral("p1"), QStringLiteral("Ada"));
    BoxAnswer yes(QMessageBox::Yes);
    main->patientDelete(stackOf(*main)->currentWidget(), chosen);
    QVERIFY(yes.used());
    BoxAnswer refused(QMessageBox::Ok);
    QTRY_VERIFY(refused.used());
    QCOMPARE(refused.text, QStringLiteral("Not now"));
    QCOMPARE(stackOf(*main)->count(), 2);
    QCOMPARE(PatientManager::getInstance()->getModel()->rowCount(), 1);
}

void TestMainWindow::declinedDeletionSendsNothing()
{
    const auto main = window();
    openCard(*main);
    const int asked = server->requests().size();
    Patient chosen = patient(QStringLiteral("p1"), QStringLiteral("Ada"));
    BoxAnswer no(QMessageBox::No);
    main->patientDelete(stackOf(*main)->currentWidget(), chosen);
    QVERIFY(no.used());
    QTest::qWait(50);
    QCOMPARE(server->requests().size(), asked);
    QCOMPARE(stackOf(*main)->count(), 2);
}

void TestMainWindow::playerIsOne()
{
    const auto main = window();
    QSignalSpy states(main.get(), SIGNAL(onPlayerState(bool)));
    main->onPlayerInit(QByteArray(22050, 127), QStringLiteral("Ada"));
    QCOMPARE(states.count(), 1);
    QCOMPARE(states.last().first().toBool(), true);
    QCOMPARE(main->findChildren<DialogPlayer*>().size(), 1);
    main->onPlayerInit(QByteArray(44100, 127), QStringLiteral("Bob"));
    QCOMPARE(states.count(), 1);
    QCOMPARE(main->findChildren<DialogPlayer*>().size(), 1);
    QCOMPARE(main->findChild<DialogPlayer*>()->getPatientName(), QStringLiteral("Ada"));

    // After its end another may come.
    auto* const player = main->findChild<DialogPlayer*>();
    emit player->onFinish(false);
    QCOMPARE(states.count(), 2);
    QCOMPARE(states.last().first().toBool(), false);
    QVERIFY(main->statusBar()->findChildren<QPushButton*>().isEmpty());
    main->onPlayerInit(QByteArray(22050, 127), QStringLiteral("Bob"));
    QCOMPARE(states.count(), 3);
}

void TestMainWindow::playerButtonBringsItBack()
{
    const auto main = window();
    main->onPlayerInit(QByteArray(22050, 127), QStringLiteral("Ada"));
    auto* const player = main->findChild<DialogPlayer*>();
    auto* const button = main->statusBar()->findChild<QPushButton*>();
    QVERIFY(button != nullptr);
    QVERIFY(button->isFlat());
    QVERIFY(player->isVisible());
    player->hide();
    button->click();
    QVERIFY(player->isVisible());

    // Without a sound device nothing plays: the next tick takes the button away, and its text.
    button->setText(QStringLiteral("anything"));
    QTRY_VERIFY(button->isHidden());
    QVERIFY(button->text().isEmpty());
}

void TestMainWindow::finishedPlayerIsReported()
{
    const auto main = window();
    main->onPlayerInit(QByteArray(22050, 127), QStringLiteral("Ada"));
    auto* const player = main->findChild<DialogPlayer*>();
    player->close();
    QSignalSpy states(main.get(), SIGNAL(onPlayerState(bool)));
    BoxAnswer box(QMessageBox::Ok);
    emit player->onFinish(true);
    QVERIFY(box.used());
    QCOMPARE(box.icon, QMessageBox::Information);
    QCOMPARE(box.parent, stackOf(*main)->currentWidget());
    QCOMPARE(states.count(), 1);
    QCOMPARE(states.last().first().toBool(), false);
    QVERIFY(main->statusBar()->findChildren<QPushButton*>().isEmpty());
}

void TestMainWindow::newImpactKnowsOfThePlayer()
{
    const auto main = window();
    openCard(*main);
    openReceipt(*main);
    openImpact(*main);
    auto* button = stackOf(*main)->currentWidget()->findChild<QPushButton*>(QStringLiteral("buttonStart"));
    QVERIFY(button->isEnabled());
    main->screenBack();

    main->onPlayerInit(QByteArray(22050, 127), QStringLiteral("Ada"));
    openImpact(*main);
    button = stackOf(*main)->currentWidget()->findChild<QPushButton*>(QStringLiteral("buttonStart"));
    QVERIFY(!button->isEnabled());
    emit main->findChild<DialogPlayer*>()->onFinish(false);
    QVERIFY(button->isEnabled());
}

void TestMainWindow::closingAsks()
{
    const auto main = window();
    {
        BoxAnswer no(QMessageBox::No);
        QVERIFY(!main->close());
        QVERIFY(no.used());
        QVERIFY(main->isVisible());
    }
    BoxAnswer yes(QMessageBox::Yes);
    QVERIFY(main->close());
    QVERIFY(yes.used());
    QVERIFY(!main->isVisible());
    // Nothing is told to the server on the way out.
    QCOMPARE(server->requests().size(), 2);
}

void TestMainWindow::survivesBeingDestroyed()
{
    auto main = window();
    LoopbackServer::Answer stall;
    stall.kind = LoopbackServer::Answer::Stall;
    stall.body = "[]";
    server->expect("GET", "/record/p1", stall);
    Patient chosen = patient(QStringLiteral("p1"), QStringLiteral("Ada"));
    main->onChoosePatient(chosen);
    main->onPlayerInit(QByteArray(22050, 127), QStringLiteral("Ada"));
    QTRY_COMPARE(server->pending(), 0);
    main.reset();
    server->release();
    QTest::qWait(200);

    // A list on a new window works as before.
    const auto next = window();
    QCOMPARE(stackOf(*next)->count(), 1);
}

void TestMainWindow::survivesBeingDestroyedBehindABox()
{
    auto main = window();
    main->onPlayerInit(QByteArray(22050, 127), QStringLiteral("Ada"));
    auto* const player = main->findChild<DialogPlayer*>();
    player->close();
    ModalAnswer destroy([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                        [&main](QWidget*) { main.reset(); });
    emit player->onFinish(true);
    QVERIFY(destroy.used());
    QVERIFY(main == nullptr);
}

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    if (QCoreApplication::arguments().contains(QStringLiteral("--close-login"))) {
        const ModalAnswer close(isLogin, [](QWidget* dialog) { dialog->close(); });
        const MainWindow window;
        return 1;
    }
    init(app);
    TestMainWindow test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestMainWindow.moc"
