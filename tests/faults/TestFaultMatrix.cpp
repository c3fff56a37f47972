// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/Authentication.h"
#include "net/Controller.h"
#include "net/FileTransfer.h"
#include "net/Http.h"
#include "net/HttpReply.h"
#include "net/LoadingWindow.h"
#include "signal/AudioRecorder.h"
#include "tests/faults/Stage.h"
#include "tests/faults/requests.h"
#include "tests/signal/FakeUsb.h"
#include "tests/support/BoxRecorder.h"
#include "tests/support/ClientDoor.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ObjectCensus.h"
#include "tests/support/SoundServer.h"

#include <QApplication>
#include <QDirIterator>
#include <QFile>
#include <QLineEdit>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <memory>

using Answer = LoopbackServer::Answer;

namespace {

enum class Outcome
{
    Success,
    Error,
    /// No word: the program goes on waiting.
    Nothing,
};

/// What becomes of the screen that asks.
enum State
{
    Alive,
    Dropped,
    WindowClosed,
    StateCount,
};

const char* const stateNames[] = {"alive", "screen dropped", "window closed"};

/// One thing that goes wrong, and what it means for a request.
struct Fault
{
    enum Way
    {
        Refused,
        Answered,
        /// Nothing comes, and the time for the first byte ends.
        TimeOut,
        /// The second half of the body comes late.
        Late,
        /// The connection is reset after the first half of the body.
        CutOff,
        /// The connection is reset before the reply begins.
        Reset,
        /// The reply names another address. Qt offers to follow and is never allowed to, until the time ends.
        Moved,
    };
    enum Content
    {
        AsItIs,
        Good,
        /// The good body, and ten megabytes of blanks.
        Huge,
        Wrong,
    };

    const char* name;
    Way way;
    int status;
    QByteArray body;
    Content content;
    Outcome outcome;
    /// What the box says.
    QString text;
    /// What a success holds.
    Body holds;
    /// The upload has no limit of time, and a redirection is a success to it, with the body of the redirection.
    Outcome uploadOutcome;
    Body uploadHolds;
};

const QList<Fault>& faults()
{
    static const QList<Fault> all = [] {
        QList<Fault> list;
        const auto failure = [&list](const char* name, Fault::Way way, int status = 200,
                                     const QByteArray& body = QByteArray(), const QString& text = QString()) {
            list.append({name, way, status, body,
                         way == Fault::Answered || way == Fault::Moved ? Fault::AsItIs : Fault::Good, Outcome::Error,
                         text, Body::Empty, Outcome::Error, Body::Empty});
        };
        const auto success = [&list](const char* name, int status, Fault::Content content, Body holds,
                                     Fault::Way way = Fault::Answered) {
            list.append({name, way, status, QByteArray(), content, Outcome::Success, QString(), holds, Outcome::Success,
                         holds});
        };
        const QString told = QStringLiteral("It is told");

        failure("refused", Fault::Refused);
        failure("reset before the reply", Fault::Reset);
        failure("reset in the body", Fault::CutOff);
        failure("no answer in time", Fault::TimeOut);
        list.last().uploadOutcome = Outcome::Success;
        list.last().uploadHolds = Body::Good;
        success("stalled after the first byte", 200, Fault::Good, Body::Good, Fault::Late);
        success("204", 204, Fault::AsItIs, Body::Empty);
        for (const int status : {301, 307}) {
            static const QByteArray names[] = {"301 with a target", "307 with a target", "301 without a target",
                                               "307 without a target"};
            const int place = status == 301 ? 0 : 1;
            failure(names[place].constData(), Fault::Moved, status);
            list.last().uploadOutcome = Outcome::Success;
            // Qt takes a redirection that leads nowhere for an error.
            failure(names[place + 2].constData(), Fault::Answered, status);
            list.last().uploadOutcome = Outcome::Success;
        }
        success("304", 304, Fault::AsItIs, Body::Empty);
        list.last().outcome = Outcome::Nothing;
        failure("400 with a message", Fault::Answered, 400, R"({"message": "It is told"})", told);
        failure("400 with errors", Fault::Answered, 400, R"({"errors": [{"b": "2", "a": "1"}, {"c": "3"}]})",
                QStringLiteral("a 1\r\nc 3\r\n"));
        failure("400 with both", Fault::Answered, 400, R"({"errors": [{"a": "1"}], "message": "It is told"})", told);
        failure("401", Fault::Answered, 401, R"({"message": "It is told"})", told);
        failure("500 with HTML", Fault::Answered, 500, "<html><body><h1>Internal Server Error</h1></body></html>");
        success("empty 200", 200, Fault::AsItIs, Body::Empty);
        success("wrong kind of JSON", 200, Fault::Wrong, Body::Wrong);
        success("ten megabytes", 200, Fault::Huge, Body::Good);
        return list;
    }();
    return all;
}

QByteArray bodyOf(const Request& request, const Fault& fault)
{
    switch (fault.content) {
    case Fault::Good:
        return request.good;
    case Fault::Huge:
        return request.good + QByteArray(10 * 1024 * 1024, ' ');
    case Fault::Wrong:
        return request.wrong;
    case Fault::AsItIs:
        break;
    }
    return fault.body;
}

QString sourceText(const QString& path)
{
    QFile file(QStringLiteral(QUELMAR_SOURCE_DIR "/") + path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// A process that is told so is not the test but the program, which a login dialog ends.
const char* const childVariable = "QUELMAR_FAULT_CHILD";

} // namespace

/// Every request of the program meets every fault while its screen stands, has gone, or has gone with the window. The
/// table of requests holds itself to the sources.
class TestFaultMatrix : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void knowsEveryOperation();
    void knowsEveryCall();
    void runsEveryGroup();

    void outcome_data();
    void outcome();
    void closingTheLoginEndsTheProcess();

private:
    static void closeConnections();
    void arm();
    void whileWaiting();
    void letGo();
    void awaitEnd();
    static bool timeIsLimited();
    void compareAlive();
    void compareGone();
    static QMap<QString, int> census();
    static void compareNothingLeft(const QMap<QString, int>& before);
    int arrivals() const;
    Outcome expected() const { return request->upload ? fault->uploadOutcome : fault->outcome; }
    Body holds() const { return request->upload ? fault->uploadHolds : fault->holds; }
    QWidget* covered() { return request->covered ? request->covered(*stage) : stage->top(); }

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
    std::unique_ptr<BoxRecorder> boxes;
    std::unique_ptr<Stage> stage;

    const Request* request = nullptr;
    const Fault* fault = nullptr;
    State state = Alive;
    bool waited = false;
    QByteArray sessionBefore;
    QStringList pictureBefore;
    int overlaysUnderBoxes = 0;
};

void TestFaultMatrix::initTestCase()
{
    SoundServer::hideAll();
    FakeUsb::plug("serial");
    guard = std::make_unique<MessageGuard>();
    QApplication::setEffectEnabled(Qt::UI_AnimateMenu, false);

    // What the program makes once, on first use, is no leak of the case that comes first.
    init();
    stage->toImpact();
    if (!QTest::currentTestFailed()) {
        server->expect("POST", "/recipe", QByteArray());
        stage->click("buttonStart");
        EVENTUALLY(server->pending() == 0 && ObjectCensus::living<LoadingWindow>().isEmpty());
        const AudioRecorder recorder(nullptr, false);
    }
    cleanup();
}

/// Ends the connections that Qt keeps for later.
void TestFaultMatrix::closeConnections()
{
    const QList<QNetworkAccessManager*> managers = ObjectCensus::living<QNetworkAccessManager>();
    for (QNetworkAccessManager* const manager : managers) {
        manager->clearConnectionCache();
    }
}

void TestFaultMatrix::init()
{
    server = std::make_unique<LoopbackServer>();
    boxes = std::make_unique<BoxRecorder>();
    stage = std::make_unique<Stage>(*server, *boxes);
    overlaysUnderBoxes = 0;
    boxes->setVisitor([this](QMessageBox*) { overlaysUnderBoxes += ObjectCensus::living<LoadingWindow>().size(); });
    Authentication::getInstance()->init({});
    closeConnections();
    ClientDoor::leadTo(server->port());
    ClientDoor::open();
}

void TestFaultMatrix::cleanup()
{
    ClientDoor::open();
    qDeleteAll(ObjectCensus::living<Controller>());
    stage.reset();
    boxes.reset();
    server.reset();
    guard->verify();
}

// --- the table ---

void TestFaultMatrix::knowsEveryOperation()
{
    // Everything between the constructor and the four verbs that the operations are made of.
    const QString header = sourceText(QStringLiteral("net/Controller.h"));
    const int begin = header.indexOf(QLatin1String("explicit Controller("));
    const int end = header.indexOf(QLatin1String("static QByteArray unzip"));
    QVERIFY(begin >= 0 && end > begin);
    QSet<QString> declared;
    QRegularExpressionMatchIterator names =
        QRegularExpression(QStringLiteral("\\n    void (\\w+)\\(")).globalMatch(header.mid(begin, end - begin));
    while (names.hasNext()) {
        declared.insert(names.next().captured(1));
    }
    QVERIFY(declared.size() > 25);
    QSet<QString> known{QStringLiteral("post"), QStringLiteral("put"), QStringLiteral("get"), QStringLiteral("del")};
    for (const Request& one : requests()) {
        known.insert(QString::fromLatin1(one.operation));
    }
    QCOMPARE((declared - known).values(), QStringList());
    QCOMPARE((known - declared).values(), QStringList());
}

void TestFaultMatrix::knowsEveryCall()
{
    QMap<QString, int> calls;
    int controllers = 0;
    QStringList senders;
    const QRegularExpression made(QStringLiteral("\\bnew Controller\\("));
    const QRegularExpression sent(
        QStringLiteral("\\bHttp::instance\\(|\\bnew (FileTransfer|Q\\w*Socket|QNetworkAccessManager)\\b"));
    const QRegularExpression called(QStringLiteral("\\bcontroller->(\\w+)\\("));
    for (const char* const folder : {"app", "net", "model", "patients", "signal", "analysis", "recipe"}) {
        QDirIterator files(QStringLiteral(QUELMAR_SOURCE_DIR "/") + QString::fromLatin1(folder),
                           {QStringLiteral("*.cpp"), QStringLiteral("*.h")}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next().mid(int(qstrlen(QUELMAR_SOURCE_DIR)) + 1);
            const QString text = sourceText(path);
            controllers += text.count(made);
            if (text.contains(sent)) {
                senders.append(path);
            }
            QRegularExpressionMatchIterator found = called.globalMatch(text);
            while (found.hasNext()) {
                ++calls[path + QLatin1Char(' ') + found.next().captured(1)];
            }
        }
    }
    QMap<QString, QSet<int>> rows;
    for (const Request& one : requests()) {
        rows[QString::fromLatin1(one.source) + QLatin1Char(' ') + QString::fromLatin1(one.operation)].insert(one.site);
    }
    QMap<QString, int> known;
    for (auto row = rows.cbegin(); row != rows.cend(); ++row) {
        known.insert(row.key(), row.value().size());
    }
    QCOMPARE(calls.keys(), known.keys());
    QCOMPARE(calls.values(), known.values());
    // None is made and then called by another name.
    const QList<int> counts = calls.values();
    QCOMPARE(controllers, std::accumulate(counts.cbegin(), counts.cend(), 0));
    // Nothing is sent past them.
    senders.sort();
    QCOMPARE(senders, QStringList({QStringLiteral("net/Controller.cpp"), QStringLiteral("net/FileTransfer.cpp"),
                                   QStringLiteral("net/Http.cpp")}));
}

void TestFaultMatrix::runsEveryGroup()
{
    const QRegularExpressionMatch line = QRegularExpression(QStringLiteral("set\\(groups ([^)]*)\\)"))
                                             .match(sourceText(QStringLiteral("tests/faults/CMakeLists.txt")));
    QStringList entries = line.captured(1).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    entries.sort();
    QSet<QString> groups;
    QSet<QString> names;
    for (const Request& one : requests()) {
        groups.insert(QString::fromLatin1(one.group));
        names.insert(QString::fromLatin1(one.name));
    }
    QStringList needed = groups.values();
    needed.sort();
    QCOMPARE(entries, needed);
    QCOMPARE(names.size(), requests().size());
}

// --- the matrix ---

void TestFaultMatrix::outcome_data()
{
    QTest::addColumn<int>("requestRow");
    QTest::addColumn<int>("faultRow");
    QTest::addColumn<int>("stateRow");
    const QByteArray group = qgetenv("QUELMAR_FAULT_GROUP");
    for (int i = 0; i < requests().size(); ++i) {
        const Request& one = requests().at(i);
        if (!group.isEmpty() && group != one.group) {
            continue;
        }
        for (int j = 0; j < faults().size(); ++j) {
            for (int k = 0; k < StateCount; ++k) {
                if (k == WindowClosed && one.endsProcess) {
                    continue;
                }
                QTest::addRow("%s: %s, %s", one.name, faults().at(j).name, stateNames[k]) << i << j << k;
            }
        }
    }
}

int TestFaultMatrix::arrivals() const
{
    const QList<LoopbackServer::Request>& all = server->requests();
    return int(std::count_if(all.cbegin(), all.cend(), [this](const LoopbackServer::Request& one) {
        return one.method == request->method && one.target == request->target;
    }));
}

/// Lets the next request meet its fault.
void TestFaultMatrix::arm()
{
    if (fault->way == Fault::Refused) {
        ClientDoor::hold();
        ClientDoor::leadNowhere();
        if (!request->chained) {
            server->dropConnections();
        }
        return;
    }
    Answer answer;
    answer.status = fault->status;
    answer.body = bodyOf(*request, *fault);
    answer.held = true;
    switch (fault->way) {
    case Fault::Reset:
        // Qt asks again, how often is its own affair; the program itself does not.
        answer.kind = Answer::Reset;
        answer.always = true;
        break;
    case Fault::TimeOut:
        answer.kind = Answer::Stall;
        break;
    case Fault::Late:
    case Fault::CutOff:
        answer.kind = Answer::StallInBody;
        break;
    case Fault::Moved:
        // Nobody asks there: the server would fail the test.
        answer.headers.insert("Location", QByteArrayLiteral(QUELMAR_API_URL "/moved"));
        break;
    default:
        break;
    }
    server->expect(request->method, request->target, answer);
}

void TestFaultMatrix::outcome()
{
    QFETCH(int, requestRow);
    QFETCH(int, faultRow);
    QFETCH(int, stateRow);
    request = &requests().at(requestRow);
    fault = &faults().at(faultRow);
    state = static_cast<State>(stateRow);
    waited = false;

    QMetaObject::Connection first;
    // Made before objects are counted.
    const QObject whileHere;
    const QMap<QString, int> objects = census();
    request->prepare(*stage);
    if (QTest::currentTestFailed()) {
        return;
    }
    server->clear();
    boxes->clear();
    if (request->chained) {
        // In front of the one that is looked at comes another one, which shall go well.
        first = connect(server.get(), &LoopbackServer::requested, &whileHere, [this, &first] {
            disconnect(first);
            arm();
        });
    } else {
        arm();
    }

    const auto waiting = [this] {
        waited = true;
        whileWaiting();
        if (QTest::currentTestFailed()) {
            // What stands open would wait for ever.
            Stage::rejectDialogs();
            if (state == WindowClosed) {
                QCoreApplication::quit();
            }
        }
    };
    if (state == WindowClosed) {
        // As main does: the loop ends with the last window, and then the window is destroyed.
        QTimer watch;
        watch.setSingleShot(true);
        connect(&watch, &QTimer::timeout, qApp, [] {
            QTest::qFail("The closed window did not end the program", __FILE__, __LINE__);
            QCoreApplication::exit(1);
        });
        watch.start(60000);
        QTimer::singleShot(0, qApp, [this, &waiting] { request->trigger(*stage, waiting); });
        QCOMPARE(QApplication::exec(), 0);
        stage->window.reset();
    } else {
        request->trigger(*stage, waiting);
    }
    QVERIFY(waited);
    if (QTest::currentTestFailed()) {
        return;
    }
    if (state != Alive) {
        // Drops what was given to deleteLater(), but lets no reply in.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        compareGone();
    }
    if (QTest::currentTestFailed()) {
        return;
    }
    stage->window.reset();
    server->dropConnections();
    closeConnections();
    compareNothingLeft(objects);
    QCOMPARE(server->pending(), 0);
}

/// What lives in this thread, but for what Qt makes when it likes and collects later.
QMap<QString, int> TestFaultMatrix::census()
{
    QMap<QString, int> classes = ObjectCensus::count();
    for (const char* const name : {"QNetworkCookieJar", "QPanGesture", "QThread"}) {
        classes.remove(QString::fromLatin1(name));
    }
    return classes;
}

/// Whatever the case has made is gone.
void TestFaultMatrix::compareNothingLeft(const QMap<QString, int>& before)
{
    QMap<QString, int> now;
    const bool same = eventually([&now, &before] { return (now = census()) == before; });
    if (same) {
        return;
    }
    for (auto one = before.cbegin(); one != before.cend(); ++one) {
        now[one.key()] -= one.value();
    }
    QStringList differences;
    for (auto one = now.cbegin(); one != now.cend(); ++one) {
        if (one.value() != 0) {
            differences.append(QStringLiteral("%1 %2").arg(one.value()).arg(one.key()));
        }
    }
    QVERIFY2(same, qPrintable(differences.join(QStringLiteral(", "))));
}

/// Runs where the program waits for the reply.
void TestFaultMatrix::whileWaiting()
{
    if (fault->way != Fault::Refused) {
        EVENTUALLY(arrivals() == 1);
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    sessionBefore = Authentication::getInstance()->getAuthHeader();
    QCOMPARE(boxes->told().size(), 0);
    boxes->clear();
    QCOMPARE(ObjectCensus::living<Controller>().size(), 1);
    const QList<LoadingWindow*> overlays = ObjectCensus::living<LoadingWindow>();
    QCOMPARE(overlays.size(), request->bare ? 0 : 1);
    QVERIFY(covered() != nullptr);
    if (!request->bare) {
        QCOMPARE(overlays.first()->parentWidget(), covered());
        QVERIFY(!overlays.first()->isHidden());
    }
    if (request->deadButton != nullptr) {
        QVERIFY(!covered()->findChild<QWidget*>(QString::fromLatin1(request->deadButton))->isEnabled());
    }

    switch (state) {
    case Alive:
        pictureBefore = stage->picture();
        letGo();
        if (!QTest::currentTestFailed()) {
            compareAlive();
        }
        Stage::rejectDialogs();
        break;
    case Dropped:
        if (request->drop) {
            request->drop(*stage);
        } else {
            Stage::rejectDialogs();
            stage->dropScreens();
        }
        break;
    default:
        Stage::rejectDialogs();
        QVERIFY(stage->window->close());
        QCOMPARE(boxes->questions(), 1);
        boxes->clear();
        break;
    }
}

bool TestFaultMatrix::timeIsLimited()
{
    QList<QTimer*> timers;
    const QList<HttpReply*> replies = ObjectCensus::living<HttpReply>();
    for (const HttpReply* const reply : replies) {
        timers += reply->findChildren<QTimer*>();
    }
    const QList<FileTransfer*> transfers = ObjectCensus::living<FileTransfer>();
    for (const FileTransfer* const transfer : transfers) {
        timers += transfer->findChildren<QTimer*>();
    }
    return std::any_of(timers.cbegin(), timers.cend(), [](const QTimer* timer) { return timer->isActive(); });
}

/// Lets the fault happen, to its end.
void TestFaultMatrix::letGo()
{
    if (expected() == Outcome::Success && state == Alive && request->follow) {
        request->follow(*stage, holds());
    }
    if (fault->way == Fault::Refused) {
        ClientDoor::open();
        awaitEnd();
        return;
    }
    server->proceed();
    const bool unlimited = request->upload;
    if (fault->way == Fault::Moved && !unlimited) {
        const QList<QNetworkReply*> replies = ObjectCensus::living<QNetworkReply>();
        QCOMPARE(replies.size(), 1);
        EVENTUALLY(replies.first()->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == fault->status);
    }
    if ((fault->way == Fault::TimeOut || fault->way == Fault::Moved) && !unlimited) {
        // The time is three minutes, and it is shortened where it runs.
        const QList<HttpReply*> replies = ObjectCensus::living<HttpReply>();
        QCOMPARE(replies.size(), 1);
        auto* const timer = replies.first()->findChild<QTimer*>();
        QVERIFY(timer->isActive());
        QCOMPARE(timer->interval(), Http::instance().getReadTimeout());
        timer->start(1);
    } else if (fault->way == Fault::Late || fault->way == Fault::CutOff || fault->way == Fault::TimeOut) {
        const QList<QNetworkReply*> replies = ObjectCensus::living<QNetworkReply>();
        QCOMPARE(replies.size(), 1);
        if (fault->way != Fault::TimeOut) {
            EVENTUALLY(replies.first()->bytesAvailable() > 0);
        }
        // From here on nothing limits the time.
        QVERIFY(!timeIsLimited());
        QCOMPARE(boxes->boxes().size(), 0);
        QCOMPARE(ObjectCensus::living<Controller>().size(), 1);
        QCOMPARE(ObjectCensus::living<LoadingWindow>().size(), request->bare || state != Alive ? 0 : 1);
        if (fault->way == Fault::CutOff) {
            server->resetConnections();
        } else {
            server->release();
        }
    }
    awaitEnd();
}

void TestFaultMatrix::awaitEnd()
{
    if (expected() == Outcome::Nothing) {
        EVENTUALLY(ObjectCensus::living<QNetworkReply>().isEmpty());
        // It waits for ever, and nobody but the test ends it.
        const QList<Controller*> forgotten = ObjectCensus::living<Controller>();
        QCOMPARE(forgotten.size(), 1);
        QCOMPARE(ObjectCensus::living<LoadingWindow>().size(), request->bare || state != Alive ? 0 : 1);
        delete forgotten.first();
        return;
    }
    const bool ended = eventually([this] {
        return server->pending() == 0 && ObjectCensus::living<Controller>().isEmpty() &&
               ObjectCensus::living<QNetworkReply>().isEmpty() && ObjectCensus::living<FileTransfer>().isEmpty();
    });
    QVERIFY2(ended, qPrintable(QStringLiteral("%1 requests did not come, %2 controllers, %3 replies wait")
                                   .arg(server->pending())
                                   .arg(ObjectCensus::living<Controller>().size())
                                   .arg(ObjectCensus::living<QNetworkReply>().size())));
    QVERIFY(ObjectCensus::living<HttpReply>().isEmpty());
    QVERIFY(ObjectCensus::living<LoadingWindow>().isEmpty());
}

void TestFaultMatrix::compareAlive()
{
    // The wait is over before anything is told.
    QCOMPARE(overlaysUnderBoxes, 0);
    QByteArray session = sessionBefore;
    switch (expected()) {
    case Outcome::Nothing:
        QCOMPARE(boxes->boxes().size(), 0);
        QCOMPARE(stage->picture().join(QLatin1Char('\n')), pictureBefore.join(QLatin1Char('\n')));
        break;
    case Outcome::Error: {
        QCOMPARE(boxes->boxes().size(), 1);
        const BoxRecorder::Box box = boxes->boxes().first();
        QCOMPARE(box.icon, QMessageBox::Critical);
        QCOMPARE(box.title, QObject::tr("Text.error"));
        QCOMPARE(box.text, fault->text);
        QCOMPARE(box.parent, covered());
        if (request->deadButton != nullptr) {
            const QString name = QString::fromLatin1(request->deadButton) + QLatin1Char(' ');
            for (QString& line : pictureBefore) {
                if (line.startsWith(name)) {
                    line.replace(name + QStringLiteral("disabled"), name + QStringLiteral("enabled"));
                }
            }
        }
        QCOMPARE(stage->picture().join(QLatin1Char('\n')), pictureBefore.join(QLatin1Char('\n')));
        if (request->failed) {
            request->failed(*stage);
        }
        break;
    }
    case Outcome::Success:
        if (request->session) {
            session = request->session(holds());
        }
        request->succeeded(*stage, holds());
        break;
    }
    QCOMPARE(Authentication::getInstance()->getAuthHeader(), session);
}

/// The screen, and perhaps the window, has gone before the reply is let in.
void TestFaultMatrix::compareGone()
{
    QVERIFY(ObjectCensus::living<LoadingWindow>().isEmpty());
    QCOMPARE(ObjectCensus::living<Controller>().size(), 1);
    QVERIFY(boxes->told().isEmpty());
    boxes->clear();
    const QStringList picture = stage->picture();
    letGo();
    if (QTest::currentTestFailed()) {
        return;
    }

    const bool succeeded = expected() == Outcome::Success;
    if (request->outlives && expected() == Outcome::Error) {
        QCOMPARE(boxes->boxes().size(), 1);
        QCOMPARE(boxes->boxes().first().icon, QMessageBox::Critical);
        QCOMPARE(boxes->boxes().first().title, QObject::tr("Text.error"));
        QCOMPARE(boxes->boxes().first().text, fault->text);
        QVERIFY(boxes->boxes().first().parent == nullptr);
    } else {
        QCOMPARE(boxes->boxes().size(), 0);
    }
    if (!(request->outlives && succeeded)) {
        QCOMPARE(stage->picture(), picture);
    }
    QCOMPARE(Authentication::getInstance()->getAuthHeader(),
             succeeded && request->session ? request->session(holds()) : sessionBefore);
}

void TestFaultMatrix::closingTheLoginEndsTheProcess()
{
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(childVariable), QString::number(server->port()));
    child.setProcessEnvironment(environment);
    Answer answer;
    answer.held = true;
    server->expect("POST", "/auth/login", answer);
    child.start(QCoreApplication::applicationFilePath(), QStringList());
    EVENTUALLY(server->pending() == 0);
    // The request is on its way, and the child closes its dialog.
    EVENTUALLY(child.state() == QProcess::NotRunning);
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), 0);
    QCOMPARE(server->requests().size(), 1);
}

/// Logs in, and closes the login dialog as soon as the request is on its way.
static int runChild()
{
    ClientDoor::leadTo(qEnvironmentVariable(childVariable).toUShort());
    QTimer::singleShot(0, qApp, [] {
        QWidget* const dialog = QApplication::activeModalWidget();
        dialog->findChild<QLineEdit*>(QStringLiteral("usernameField"))->setText(QStringLiteral("ada"));
        dialog->findChild<QLineEdit*>(QStringLiteral("passwordField"))->setText(QStringLiteral("secret"));
        dialog->findChild<QPushButton*>(QStringLiteral("buttonConfirm"))->click();
        QTimer::singleShot(300, dialog, [dialog] { dialog->close(); });
    });
    const MainWindow window;
    // Not reached: the dialog has ended the process.
    return 2;
}

int main(int argc, char* argv[])
{
    ObjectCensus::start();
    QApplication application(argc, argv);
    if (qEnvironmentVariableIsSet(childVariable)) {
        return runChild();
    }
    TestFaultMatrix test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "TestFaultMatrix.moc"
