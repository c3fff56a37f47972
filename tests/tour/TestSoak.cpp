// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/ViewAnalysis.h"
#include "analysis/ViewComparativeAnalysis.h"
#include "analysis/ViewRecoveryHistory.h"
#include "app/DialogAbout.h"
#include "app/MainWindow.h"
#include "app/init.h"
#include "net/DialogLogin.h"
#include "patients/DialogManageDevices.h"
#include "patients/FormPatient.h"
#include "patients/ViewPatient.h"
#include "recipe/ViewImpact.h"
#include "recipe/ViewReceipt.h"
#include "signal/AudioRecorder.h"
#include "signal/DialogAutospectrum.h"
#include "signal/DialogPlayer.h"
#include "tests/signal/FakeUsb.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"
#include "tests/support/SoundServer.h"
#include "tests/tour/LiveObjects.h"

#include <QAction>
#include <QApplication>
#include <QChartView>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QHostAddress>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPixmapCache>
#include <QProcess>
#include <QPushButton>
#include <QScopeGuard>
#include <QStackedWidget>
#include <QStatusBar>
#include <QStyle>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <QTextStream>

#include <algorithm>
#include <csignal>
#include <functional>
#include <malloc.h>
#include <memory>
#include <sys/prctl.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int dateColumn = 3;
constexpr int deleteColumn = 6;
/// What Qt keeps open to one server, at most.
constexpr int keptConnections = 6;
/// A thread pool's threads come when there is something to do, and end after half a minute.
constexpr int pooledThreads = 4;
/// What Qt makes once, at any time, of widgets, objects and so on. One a round is more.
constexpr int lateComers = 5;
/// In bytes of the heap a round of the whole way. Under a style sheet Qt 5.15 keeps what it worked out for some widgets
/// that are gone, in a cache of their addresses: viewports, popups of combo boxes, the fields of spin boxes. That is
/// some 13,000. Each deletion of a patient leaves a connection of a hundred bytes behind, by rule.
constexpr qint64 heapBound = 16384;
/// In bytes a round: as much again for what the allocator and the sound client cannot give back.
constexpr qint64 residentBound = 32768;

/// A child that ends with this process, however that ends.
class BoundProcess : public QProcess
{
protected:
    void setupChildProcess() override { prctl(PR_SET_PDEATHSIG, SIGKILL); }
};

template <typename T> bool isModal(QWidget* widget)
{
    return qobject_cast<T*>(widget) != nullptr;
}

/// What the process holds at the end of a round.
struct Holding
{
    qint64 resident = 0; ///< bytes of memory
    qint64 heap = 0;     ///< bytes that were allocated and not freed
    int handles = 0;     ///< open files, sockets, pipes
    int connections = 0; ///< to the server, those among the handles
    int threads = 0;
    int timers = 0; ///< that run in the main thread
    int objects = 0;
    int widgets = 0;
    QMap<QString, int> classes;

    bool isAsQuietAs(const Holding& other) const
    {
        return handles == other.handles && timers == other.timers && objects == other.objects &&
               widgets == other.widgets;
    }
};

int serverConnections()
{
    QFile file(QStringLiteral("/proc/self/net/tcp"));
    if (!file.open(QIODevice::ReadOnly)) {
        return -1;
    }
    // Remote address, then the state: 01 is an established connection. The server's ends of them have the port on the
    // other side of the line.
    const QByteArray remote =
        "0100007F:" + QByteArray::number(LoopbackServer::clientPort(), 16).rightJustified(4, '0').toUpper();
    int found = 0;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray& line : lines) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.size() > 3 && fields.at(2) == remote && fields.at(3) == "01") {
            ++found;
        }
    }
    return found;
}

Holding holding()
{
    Holding now;
    // Qt keeps pictures of widgets that are gone, up to ten mebibytes, for some time.
    QPixmapCache::clear();
    malloc_trim(0);
    QFile memory(QStringLiteral("/proc/self/statm"));
    if (memory.open(QIODevice::ReadOnly)) {
        now.resident = memory.readAll().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE);
        memory.close();
    }
    // Qt keeps gestures of widgets that are gone until it next has a look at them.
    now.classes = LiveObjects::classes();
    now.objects = LiveObjects::count() - now.classes.take(QStringLiteral("QPanGesture"));
    now.timers = LiveObjects::timers();
    now.widgets = QApplication::allWidgets().size();
    now.connections = serverConnections();
    now.threads = QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
    now.handles =
        QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
    const struct mallinfo2 heap = mallinfo2();
    now.heap = static_cast<qint64>(heap.uordblks) + static_cast<qint64>(heap.hblkhd);
    return now;
}

QString row(const QString& title, const Holding& state)
{
    const auto mebibytes = [](qint64 bytes) { return QString::number(static_cast<double>(bytes) / (1 << 20), 'f', 2); };
    return QStringLiteral("| %1 | %2 | %3 | %4 | %5 | %6 | %7 | %8 | %9 |")
        .arg(title, mebibytes(state.resident), mebibytes(state.heap))
        .arg(state.handles)
        .arg(state.connections)
        .arg(state.threads)
        .arg(state.timers)
        .arg(state.objects)
        .arg(state.widgets);
}

/// The classes of which there are more or fewer than before, by how many.
QString difference(const Holding& before, const Holding& after)
{
    QStringList lines;
    QMap<QString, int> classes = after.classes;
    for (auto entry = before.classes.cbegin(); entry != before.classes.cend(); ++entry) {
        classes[entry.key()] -= entry.value();
    }
    for (auto entry = classes.cbegin(); entry != classes.cend(); ++entry) {
        if (entry.value() != 0) {
            lines.append(QStringLiteral("%1 %2").arg(entry.key()).arg(entry.value()));
        }
    }
    return lines.isEmpty() ? QStringLiteral("the same objects") : lines.join(QStringLiteral(", "));
}

} // namespace

/// The way through the program again and again in one process, with the real window, server, sound server and a virtual
/// sensor: what the process holds must level off. The short form walks a few rounds, the long one two hundred;
/// QUELMAR_SOAK_ROUNDS asks for another number, to look for the cause of a leak with.
class TestSoak : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void cleanup();

    void aWindowThatStays();
    void windowsThatComeAndGo();

private:
    using Station = void (TestSoak::*)();

    /// Walks the stations so many rounds, and looks at what the process holds after each.
    void soak(const QString& title, const std::vector<Station>& stations);
    /// What the process holds once nothing is under way.
    Holding settled() const;

    void startServer();
    void logIn();
    void list();
    void newPatient();
    void record();
    void analysis();
    void comparison();
    void history();
    void receipt();
    void impact();
    void playImpact();
    void leaveWithSaving();
    void exportRecords();
    void autospectrum();
    void devices();
    void menus();
    void languages();
    void deletePatient();
    void shortVisit();
    void closeWindow();

    QStackedWidget* stack() const { return qobject_cast<QStackedWidget*>(window->centralWidget()); }
    /// A widget of the screen on top, by its object name.
    template <typename T> T* find(const char* name) const
    {
        return stack()->currentWidget()->findChild<T*>(QString::fromLatin1(name));
    }
    template <typename T> bool isOnTop() const { return qobject_cast<T*>(stack()->currentWidget()) != nullptr; }
    QTableView* table() const { return find<QTableView>("tableView"); }
    int rows() const { return table()->model()->rowCount(); }
    QString text(int row, int column) const { return table()->model()->index(row, column).data().toString().trimmed(); }
    int rowOf(const QString& title, int column) const;
    bool idle() const { return window->findChild<QWidget*>(QStringLiteral("LoadingWindow")) == nullptr; }
    static void press(QPushButton* button)
    {
        QVERIFY(button != nullptr);
        QVERIFY2(button->isEnabled(), qPrintable(button->objectName()));
        QTest::mouseClick(button, Qt::LeftButton);
    }
    void press(const char* button) const { press(find<QPushButton>(button)); }
    void clickCell(int row, int column) const;
    void tick(int row) const;
    void openCard(int row);
    void back(int screens);
    void trigger(const char* action) const;
    /// Opens the dialog of the remote device, and closes it after use.
    void manageDevice(const std::function<void(QWidget*)>& use);
    /// Waits for the player that plays, may hide it and bring it back, and stops it. A player that has ended stays with
    /// the window, hidden, by rule: there must be one, and it is taken away, so that it hides nothing else.
    void usePlayer(bool hideIt);
    void saveFileAs(const QString& path, const char* button) const;

    std::unique_ptr<QTemporaryDir> temporary;
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<SoundServer> sound;
    SoundServer::Sensor sensor;
    BoundProcess server;
    std::unique_ptr<MainWindow> window;
    const QString patientName = QStringLiteral("Soak Walker");
    int rounds = 5;
    int reference = 2;
};

void TestSoak::initTestCase()
{
    if (qEnvironmentVariableIntValue("QUELMAR_TEST_LONG") != 0) {
        rounds = 200;
        reference = 10;
    }
    if (qEnvironmentVariableIsSet("QUELMAR_SOAK_ROUNDS")) {
        rounds = qMax(2, qEnvironmentVariableIntValue("QUELMAR_SOAK_ROUNDS"));
        reference = qMin(rounds / 2, 10);
    }
    guard = std::make_unique<MessageGuard>();
    temporary = std::make_unique<QTemporaryDir>();
    QVERIFY(temporary->isValid());
    QVERIFY(QDir::setCurrent(temporary->path()));
    sound = std::make_unique<SoundServer>(SoundServer::PulseAudio);
    QVERIFY2(sound->start(), qPrintable(sound->errorText()));
    QVERIFY2(sound->addSensor(&sensor), qPrintable(sound->errorText()));
    FakeUsb::plug("Q-SOAK-1");
    startServer();
}

void TestSoak::startServer()
{
    {
        QTcpServer probe;
        QVERIFY2(probe.listen(QHostAddress::LocalHost, LoopbackServer::clientPort()),
                 "Another program holds the address that the client was built for");
    }
    server.start(QCoreApplication::applicationDirPath() + QStringLiteral("/quelmar-server"),
                 {QStringLiteral("--listen"), QStringLiteral("127.0.0.1:%1").arg(LoopbackServer::clientPort()),
                  QStringLiteral("--database"), temporary->filePath(QStringLiteral("soak.sqlite")),
                  QStringLiteral("--demo")});
    QVERIFY(server.waitForStarted());
    QByteArray said;
    QTRY_VERIFY_WITH_TIMEOUT((said += server.readAllStandardOutput()).contains("listening on "), 30000);
}

void TestSoak::cleanupTestCase()
{
    window.reset();
    if (server.state() != QProcess::NotRunning) {
        server.terminate();
        QVERIFY(server.waitForFinished());
        QCOMPARE(server.exitCode(), 0);
    }
    sound.reset();
    guard.reset();
}

void TestSoak::cleanup()
{
    window.reset();
    guard->verify();
}

Holding TestSoak::settled() const
{
    Holding before;
    Holding now = holding();
    for (int calm = 0, looks = 0; calm < 2 && looks < 100; ++looks) {
        QTest::qWait(50);
        before = now;
        now = holding();
        calm = now.isAsQuietAs(before) ? calm + 1 : 0;
    }
    return now;
}

void TestSoak::soak(const QString& title, const std::vector<Station>& stations)
{
    QTextStream out(stdout);
    out << title << "\n| after round | resident, MiB | heap, MiB | handles | connections | threads | timers | objects "
        << "| widgets |\n|---|---|---|---|---|---|---|---|---|\n";
    Holding tenth;
    Holding last;
    QElapsedTimer clock;
    clock.start();
    for (int round = 1; round <= rounds; ++round) {
        for (const Station station : stations) {
            (this->*station)();
            if (QTest::currentTestFailed()) {
                qWarning("Round %d", round);
                return;
            }
        }
        // The guard keeps what was said, and is no part of the program.
        guard->verify();
        guard->clear();
        server.readAllStandardOutput();
        server.readAllStandardError();
        last = settled();
        if (round == reference) {
            tenth = last;
        }
        if (round == 1 || round == reference || round % 50 == 0 || round == rounds) {
            out << row(QString::number(round), last) << '\n';
            out.flush();
        }
    }
    const qint64 walked = rounds - reference;
    out << "A round took " << clock.elapsed() / rounds << " ms. From round " << reference << " on each cost "
        << (last.heap - tenth.heap) / walked << " bytes of the heap, " << (last.resident - tenth.resident) / walked
        << " bytes of resident memory; " << difference(tenth, last) << '\n';
    out.flush();

    const int late = qMin(rounds - reference - 1, lateComers);
    const auto levelsOff = [late](const char* what, int before, int after) {
        QVERIFY2(after - before <= late,
                 qPrintable(QStringLiteral("%1: %2, then %3").arg(QString::fromLatin1(what)).arg(before).arg(after)));
    };
    levelsOff("widgets", tenth.widgets, last.widgets);
    levelsOff("timers", tenth.timers, last.timers);
    levelsOff("objects", tenth.objects, last.objects);
    levelsOff("handles", tenth.handles - tenth.connections, last.handles - last.connections);
    QVERIFY2(last.connections <= keptConnections, qPrintable(QString::number(last.connections)));
    QVERIFY2(last.threads <= tenth.threads + pooledThreads, qPrintable(QString::number(last.threads)));
#ifndef __SANITIZE_ADDRESS__
    // The first rounds fill caches; a few of them tell nothing about memory.
    if (walked > 50) {
        QVERIFY(last.heap - tenth.heap <= walked * heapBound);
        QVERIFY(last.resident - tenth.resident <= walked * residentBound);
    }
#endif
}

int TestSoak::rowOf(const QString& title, int column) const
{
    for (int row = 0; row < rows(); ++row) {
        if (text(row, column) == title) {
            return row;
        }
    }
    return -1;
}

void TestSoak::clickCell(int row, int column) const
{
    const QModelIndex index = table()->model()->index(row, column);
    table()->scrollTo(index);
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, table()->visualRect(index).center());
}

void TestSoak::tick(int row) const
{
    const QModelIndex index = table()->model()->index(row, 0);
    table()->scrollTo(index);
    QStyleOptionViewItem option;
    option.initFrom(table());
    option.rect = table()->visualRect(index);
    option.features = QStyleOptionViewItem::HasCheckIndicator | QStyleOptionViewItem::HasDisplay;
    option.text = index.data().toString();
    const QRect box = table()->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, table());
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, box.center());
}

void TestSoak::openCard(int row)
{
    QVERIFY(row >= 0);
    clickCell(row, 2);
    const QRect cell = table()->visualRect(table()->model()->index(row, 2));
    QTest::mouseDClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
    QTRY_COMPARE(stack()->count(), 2);
    QVERIFY(isOnTop<ViewPatient>());
    QTRY_VERIFY(idle());
}

void TestSoak::back(int screens)
{
    press("buttonBack");
    QTRY_COMPARE(stack()->count(), screens);
}

void TestSoak::trigger(const char* action) const
{
    auto* const wanted = window->findChild<QAction*>(QString::fromLatin1(action));
    QVERIFY2(wanted != nullptr, action);
    QVERIFY2(wanted->isEnabled(), action);
    wanted->trigger();
}

void TestSoak::saveFileAs(const QString& path, const char* button) const
{
    QFile::remove(path);
    ModalAnswer dialog(isModal<QFileDialog>, [path](QWidget* widget) {
        auto* const name = widget->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        name->setText(path);
        QTest::keyClick(name, Qt::Key_Return);
    });
    press(button);
    QTRY_VERIFY(dialog.used());
    QTRY_VERIFY(QFileInfo(path).size() > 1000);
    QTRY_VERIFY(idle());
}

void TestSoak::logIn()
{
    ModalAnswer login(isModal<DialogLogin>, [](QWidget* dialog) {
        // Nobody is faster; and a dialog that goes before its window is active takes the focus with it.
        QVERIFY(QTest::qWaitForWindowActive(dialog));
        QTest::keyClicks(dialog->findChild<QLineEdit*>(QStringLiteral("usernameField")), QStringLiteral("demo"));
        auto* const secret = dialog->findChild<QLineEdit*>(QStringLiteral("passwordField"));
        QTest::keyClicks(secret, QStringLiteral("demo"));
        QTest::keyClick(secret, Qt::Key_Return);
    });
    window = std::make_unique<MainWindow>();
    QVERIFY(login.used());
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    QTRY_COMPARE(stack()->count(), 1);
    QTRY_VERIFY(rows() >= 12);
    QTRY_VERIFY(idle());
}

void TestSoak::list()
{
    const int all = rows();
    auto* const field = find<QLineEdit>("searchField");
    QTest::keyClicks(field, QStringLiteral("no such name"));
    QTRY_COMPARE(rows(), 0);
    QTRY_VERIFY(idle());
    field->clear();
    QTRY_COMPARE(rows(), all);
    QTRY_VERIFY(idle());
    press("buttonRefresh");
    QTRY_VERIFY(idle());
    QCOMPARE(rows(), all);
}

void TestSoak::newPatient()
{
    const int before = rows();
    ModalAnswer form(isModal<FormPatient>, [this](QWidget* dialog) {
        auto* const agreement = dialog->findChild<QCheckBox*>(QStringLiteral("agreement"));
        QTest::mouseClick(agreement, Qt::LeftButton, Qt::NoModifier, QPoint(8, agreement->height() / 2));
        QTest::keyClicks(dialog->findChild<QLineEdit*>(QStringLiteral("nameField")), patientName);
        QTest::keyClicks(dialog->findChild<QLineEdit*>(QStringLiteral("birthDateDayField")), QStringLiteral("29"));
        dialog->findChild<QComboBox*>(QStringLiteral("birthDateMonthBox"))->setCurrentIndex(1);
        QTest::keyClicks(dialog->findChild<QLineEdit*>(QStringLiteral("birthDateYearField")), QStringLiteral("1980"));
        QTest::mouseClick(dialog->findChild<QPushButton*>(QStringLiteral("buttonGenderFemale")), Qt::LeftButton);
        press(dialog->findChild<QPushButton*>(QStringLiteral("buttonSave")));
    });
    press("buttonNewPatient");
    QVERIFY(form.used());
    QTRY_COMPARE(rows(), before + 1);
    QTRY_VERIFY(QApplication::activeModalWidget() == nullptr);
    openCard(rowOf(patientName, 2));
    QCOMPARE(rows(), 0);
}

void TestSoak::record()
{
    QVERIFY2(sound->feed(sensor, SoundServer::tone(440.0, 10.0)), qPrintable(sound->errorText()));
    ModalAnswer recorder(isModal<AudioRecorder>, [](QWidget* dialog) {
        auto* const confirmBox = dialog->findChild<QWidget*>(QStringLiteral("groupRecordConfirm"));
        press(dialog->findChild<QPushButton*>(QStringLiteral("buttonStartRecord")));
        QTRY_VERIFY_WITH_TIMEOUT(confirmBox->isVisible(), 30000);
        press(dialog->findChild<QPushButton*>(QStringLiteral("buttonSaveRecord")));
    });
    press("buttonNewRecord");
    sound->stopFeeding();
    QVERIFY(recorder.used());
    QTRY_COMPARE(rows(), 1);
    QTRY_VERIFY(idle());
    QVERIFY(!text(0, dateColumn).isEmpty());
    tick(0);
    QTRY_VERIFY(find<QPushButton>("buttonReceipt")->isEnabled());
}

void TestSoak::analysis()
{
    press("buttonAnalysis");
    QVERIFY(isOnTop<ViewAnalysis>());
    QTRY_VERIFY(find<QTableView>("summaryTableView")->model()->rowCount() > 0);
    QTRY_VERIFY(idle());
    auto* const tabs = find<QTabWidget>("tabWidget")->tabBar();
    QTest::mouseClick(tabs, Qt::LeftButton, Qt::NoModifier, tabs->tabRect(1).center());
    QTRY_VERIFY(find<QComboBox>("comboBoxCategories")->count() > 0);
    QTRY_VERIFY(idle());
    press("buttonAnalyse");
    QTRY_VERIFY(find<QTableView>("analysisTableView")->model()->rowCount() > 0);
    QTRY_VERIFY(idle());
    back(2);
}

void TestSoak::comparison()
{
    auto* const button = find<QPushButton>("buttonComparativeAnalysis");
    QVERIFY(button != nullptr);
    if (!button->isEnabled()) {
        return;
    }
    press(button);
    QVERIFY(isOnTop<ViewComparativeAnalysis>());
    QTRY_COMPARE(stack()->currentWidget()->findChildren<QtCharts::QChartView*>().size(), 4);
    QTRY_VERIFY(idle());
    back(2);
}

void TestSoak::history()
{
    press("buttonRecoveryHistory");
    QVERIFY(isOnTop<ViewRecoveryHistory>());
    QTRY_VERIFY(rows() > 2);
    QTRY_VERIFY(idle());
    const int symptoms = rows();
    const QModelIndex index = table()->model()->index(2, 1);
    clickCell(2, 1);
    QTest::mouseDClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, table()->visualRect(index).center());
    auto* const editor = table()->viewport()->findChild<QComboBox*>();
    QVERIFY(editor != nullptr);
    QTest::keyClick(editor, Qt::Key_Down);
    QTest::keyClick(editor, Qt::Key_Return);
    QTRY_VERIFY(table()->viewport()->findChild<QComboBox*>() == nullptr);

    ModalAnswer named(isModal<QInputDialog>, [](QWidget* dialog) {
        QTest::keyClicks(dialog->findChild<QLineEdit*>(), QStringLiteral("Humming"));
        QTest::keyClick(dialog->findChild<QLineEdit*>(), Qt::Key_Return);
    });
    press("buttonNewSymptom");
    QVERIFY(named.used());
    QCOMPARE(rows(), symptoms + 1);
    press("buttonSave");
    QTRY_VERIFY(idle());
    back(2);
}

void TestSoak::receipt()
{
    press("buttonReceipt");
    QVERIFY(isOnTop<ViewReceipt>());
    QTRY_VERIFY(find<QComboBox>("comboBoxCategories")->count() > 0);
    QTRY_VERIFY(idle());
    press("buttonAnalyse");
    QTRY_VERIFY(rows() > 1);
    QTRY_VERIFY(idle());
    tick(0);
    tick(1);
    QTRY_VERIFY(find<QPushButton>("buttonReceipt")->isEnabled());
}

void TestSoak::impact()
{
    press("buttonReceipt");
    QVERIFY(isOnTop<ViewImpact>());
    QCOMPARE(rows(), 2);
    clickCell(0, 2);
    auto* const target = find<QComboBox>("comboBoxTarget");
    QTest::keyClick(target, Qt::Key_Down);
    QCOMPARE(target->currentIndex(), 1);
    saveFileAs(temporary->filePath(QStringLiteral("impact.wav")), "buttonStart");
    // The button waits for a player after a saved file: a fresh screen starts anew.
    back(3);
}

void TestSoak::usePlayer(bool hideIt)
{
    const auto players = [this] { return window->findChildren<DialogPlayer*>(); };
    QTRY_COMPARE(players().size(), 1);
    DialogPlayer* const player = players().first();
    QTRY_COMPARE(player->state(), QAudio::ActiveState);
    QTRY_VERIFY(player->left() > QStringLiteral("00:00:00"));
    if (hideIt) {
        player->close();
        auto* const button = window->statusBar()->findChild<QPushButton*>();
        QTRY_VERIFY(button != nullptr && button->isVisible() && button->text().startsWith(patientName));
        press(button);
        QVERIFY(player->isVisible());
    }
    press(player->findChild<QPushButton*>(QStringLiteral("buttonStop")));
    QTRY_VERIFY(window->statusBar()->findChild<QPushButton*>() == nullptr);
    QVERIFY(!player->isVisible());
    QCOMPARE(players().size(), 1);
    delete player;
}

void TestSoak::playImpact()
{
    press("buttonReceipt");
    QVERIFY(isOnTop<ViewImpact>());
    press("buttonStart");
    usePlayer(true);
    QTRY_VERIFY(find<QPushButton>("buttonStart")->isEnabled());
}

void TestSoak::leaveWithSaving()
{
    clickCell(0, 2);
    BoxAnswer yes(QMessageBox::Yes);
    press("buttonPatientCard");
    QVERIFY(yes.used());
    QTRY_COMPARE(stack()->count(), 2);
    QVERIFY(isOnTop<ViewPatient>());
    QTRY_VERIFY(idle());
}

void TestSoak::exportRecords()
{
    saveFileAs(temporary->filePath(QStringLiteral("records.xlsx")), "buttonExcelExport");
}

void TestSoak::autospectrum()
{
    ModalAnswer minutes(isModal<DialogAutospectrum>, [](QWidget* dialog) {
        press(dialog->findChild<QPushButton*>(QStringLiteral("buttonConfirm")));
    });
    press("buttonAutospectrum");
    QVERIFY(minutes.used());
    usePlayer(false);
    QTRY_VERIFY(idle());
}

void TestSoak::manageDevice(const std::function<void(QWidget*)>& use)
{
    ModalAnswer dialogAnswer(isModal<DialogManageDevices>, [use](QWidget* dialog) {
        const auto closing = qScopeGuard([dialog] { dialog->close(); });
        use(dialog);
    });
    press("buttonManageDevice");
    QVERIFY(dialogAnswer.used());
    QTRY_VERIFY(idle());
}

void TestSoak::devices()
{
    manageDevice([](QWidget* dialog) {
        BoxAnswer bound(QMessageBox::Ok);
        press(dialog->findChild<QPushButton*>(QStringLiteral("buttonConnect")));
        QTRY_VERIFY(bound.used());
    });
    QVERIFY(find<QLabel>("labelConnectedDevice")->isVisible());
    manageDevice([](QWidget* dialog) {
        {
            BoxAnswer yes(QMessageBox::Yes);
            press(dialog->findChild<QPushButton*>(QStringLiteral("buttonDisconnect")));
            QVERIFY(yes.used());
        }
        BoxAnswer unbound(QMessageBox::Ok);
        QTRY_VERIFY(unbound.used());
    });
    QVERIFY(!find<QLabel>("labelConnectedDevice")->isVisible());
}

void TestSoak::menus()
{
    {
        ModalAnswer about(isModal<DialogAbout>, [](QWidget* dialog) {
            press(dialog->findChild<QPushButton*>(QStringLiteral("buttonClose")));
        });
        trigger("menuAbout");
        QVERIFY(about.used());
    }
    BoxAnswer updates(QMessageBox::Ok);
    trigger("menuUpdates");
    QTRY_VERIFY(updates.used());
    QTRY_VERIFY(idle());
}

void TestSoak::languages()
{
    for (const char* const locale : {"ru_RU", "en_US"}) {
        const QList<QAction*> actions = window->findChild<QMenu*>(QStringLiteral("menuLanguage"))->actions();
        const auto wanted = std::find_if(actions.cbegin(), actions.cend(), [locale](QAction* action) {
            return action->data().toString() == QLatin1String(locale);
        });
        QVERIFY(wanted != actions.cend());
        BoxAnswer changed(QMessageBox::Ok);
        (*wanted)->trigger();
        QTRY_VERIFY(changed.used());
        QTRY_VERIFY(idle());
        QTRY_COMPARE(QLocale().name(), QString::fromLatin1(locale));
    }
}

void TestSoak::deletePatient()
{
    {
        BoxAnswer yes(QMessageBox::Yes);
        clickCell(0, deleteColumn);
        QVERIFY(yes.used());
    }
    QTRY_COMPARE(rows(), 0);
    QTRY_VERIFY(idle());
    BoxAnswer yes(QMessageBox::Yes);
    press("buttonDeletePatient");
    QVERIFY(yes.used());
    QTRY_COMPARE(stack()->count(), 1);
    QTRY_VERIFY(rowOf(patientName, 2) < 0);
    QTRY_VERIFY(idle());
}

void TestSoak::shortVisit()
{
    openCard(0);
    press("buttonListPatients");
    QTRY_COMPARE(stack()->count(), 1);
}

void TestSoak::closeWindow()
{
    BoxAnswer yes(QMessageBox::Yes);
    QVERIFY(window->close());
    QVERIFY(yes.used());
    window.reset();
}

void TestSoak::aWindowThatStays()
{
    logIn();
    if (QTest::currentTestFailed()) {
        return;
    }
    soak(QStringLiteral("One window, the whole way"),
         {&TestSoak::list, &TestSoak::newPatient, &TestSoak::record, &TestSoak::analysis, &TestSoak::comparison,
          &TestSoak::history, &TestSoak::receipt, &TestSoak::impact, &TestSoak::playImpact, &TestSoak::leaveWithSaving,
          &TestSoak::exportRecords, &TestSoak::autospectrum, &TestSoak::devices, &TestSoak::menus, &TestSoak::languages,
          &TestSoak::deletePatient});
}

void TestSoak::windowsThatComeAndGo()
{
    soak(QStringLiteral("A window a round, from login to close"),
         {&TestSoak::logIn, &TestSoak::shortVisit, &TestSoak::closeWindow});
}

int main(int argc, char* argv[])
{
    LiveObjects::watch();
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication app(argc, argv);
    init(app);
    // Made whenever a popup first asks for it, with a window for each screen.
    QApplication::desktop();
    QApplication::setQuitOnLastWindowClosed(false);
    TestSoak test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestSoak.moc"
