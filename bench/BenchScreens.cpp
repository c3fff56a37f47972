// SPDX-License-Identifier: GPL-3.0-or-later
// What the client's screens cost: from the login's answer to the painted list of patients, from the largest reply of
// markers to the painted table, the drawing of a signal while it is recorded, and scrolling the records of a patient.
// Needs a display and the address of the local server to itself: run it under xvfb-run while no server runs.

#include "analysis/ViewAnalysis.h"
#include "app/MainWindow.h"
#include "app/init.h"
#include "model/Patient.h"
#include "model/Record.h"
#include "net/DialogLogin.h"
#include "net/LoadingWindow.h"
#include "patients/ViewPatient.h"
#include "patients/ViewPatients.h"
#include "signal/ProgressBar.h"
#include "tests/support/LoopbackServer.h"

#include <QApplication>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPushButton>
#include <QScrollBar>
#include <QTabWidget>
#include <QTableView>
#include <QTimer>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int patientCount = 20;
constexpr int markerCount = 10000;
constexpr int analysedCount = 12;
constexpr int recordCount = 5000;
constexpr int signalSize = 66150;
/// What Qt's plugin hands over at a time, about 46 ms.
constexpr int bufferSize = 1024;

double milliseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values.at(values.size() / 2);
}

QByteArray toBytes(const QJsonObject& object)
{
    return QJsonDocument(object).toJson();
}

/// Processes events until the condition holds.
void waitFor(const std::function<bool()>& condition)
{
    const auto start = Clock::now();
    while (!condition()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 1000);
        if (Clock::now() - start > std::chrono::minutes(1)) {
            qFatal("Nothing was painted");
        }
    }
}

/// Notes when a table with rows in it was first painted.
class TableWatcher : public QObject
{
public:
    bool eventFilter(QObject* object, QEvent* event) override
    {
        if (event->type() != QEvent::Paint) {
            return false;
        }
        auto* const viewport = qobject_cast<QWidget*>(object);
        auto* const table = viewport == nullptr ? nullptr : qobject_cast<QTableView*>(viewport->parentWidget());
        if (table == nullptr || viewport != table->viewport() || table->model() == nullptr ||
            table->model()->rowCount() == 0) {
            return false;
        }
        // The paint is delivered after this filter; what is queued behind it runs when it is done.
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (!isPainted()) {
                    paintedAt = Clock::now();
                }
            },
            Qt::QueuedConnection);
        return false;
    }

    bool isPainted() const { return paintedAt != Clock::time_point(); }

    Clock::time_point paintedAt;
};

QJsonObject patientJson(int number)
{
    return {{QStringLiteral("id"), QStringLiteral("p%1").arg(number)},
            {QStringLiteral("name"), QStringLiteral("Patient Number %1").arg(number)},
            {QStringLiteral("birthDate"), QStringLiteral("1980-01-02T00:00:00")},
            {QStringLiteral("age"), 44},
            {QStringLiteral("gender"), number % 2 == 0 ? QStringLiteral("MALE") : QStringLiteral("FEMALE")},
            {QStringLiteral("phone"), QStringLiteral("+44 1632 960%1").arg(number)},
            {QStringLiteral("notes"), QStringLiteral("Prefers appointments in the morning.")},
            {QStringLiteral("lastRecordAt"), QStringLiteral("2024-05-06T07:08:09")}};
}

QByteArray pageOfPatients()
{
    QJsonArray data;
    for (int number = 0; number < patientCount; ++number) {
        data.append(patientJson(number));
    }
    return toBytes({{QStringLiteral("pages"), 250}, {QStringLiteral("data"), data}});
}

QByteArray manyRecords()
{
    QJsonArray records;
    for (int number = 0; number < recordCount; ++number) {
        records.append(QJsonObject{
            {QStringLiteral("id"), QStringLiteral("r%1").arg(number)},
            {QStringLiteral("patientId"), QStringLiteral("p1")},
            {QStringLiteral("doctorName"), QStringLiteral("Dr. Number %1").arg(number % 7)},
            {QStringLiteral("recordedAt"), QStringLiteral("2024-%1-%2T07:08:09")
                                               .arg(number % 12 + 1, 2, 10, QLatin1Char('0'))
                                               .arg(number % 28 + 1, 2, 10, QLatin1Char('0'))},
            {QStringLiteral("editable"), number % 3 == 0},
            {QStringLiteral("questionnaire"), number % 2 == 0},
        });
    }
    return QJsonDocument(records).toJson();
}

QByteArray manyMarkers()
{
    std::mt19937 generator(1);
    std::uniform_int_distribution<int> percent(0, 100);
    QJsonArray columns;
    for (int column = 0; column < analysedCount; ++column) {
        columns.append(QStringLiteral("2024-05-%1T07:08:09Z").arg(column + 1, 2, 10, QLatin1Char('0')));
    }
    QJsonArray rows;
    for (int row = 0; row < markerCount; ++row) {
        QJsonArray values;
        for (int column = 0; column < analysedCount; ++column) {
            values.append(percent(generator));
        }
        rows.append(QJsonObject{
            {QStringLiteral("id"), QStringLiteral("3f2a6c1e-9d40-4b7e-8a55-%1").arg(row, 12, 10, QLatin1Char('0'))},
            {QStringLiteral("title"), QStringLiteral("Marker %1").arg(row)},
            {QStringLiteral("values"), values},
        });
    }
    return toBytes({{QStringLiteral("columns"), columns}, {QStringLiteral("rows"), rows}});
}

LoopbackServer::Answer always(const QByteArray& body)
{
    LoopbackServer::Answer answer;
    answer.body = body;
    answer.always = true;
    return answer;
}

void typeAndConfirm(QWidget* login)
{
    const QList<QLineEdit*> fields = login->findChildren<QLineEdit*>();
    for (QLineEdit* const field : fields) {
        field->setText(QStringLiteral("demo"));
    }
    login->findChild<QPushButton*>(QStringLiteral("buttonConfirm"))->click();
}

// The server answers at once from memory, so that all that is measured is the client's. Beside it the same page is
// asked for by a bare request, over a connection that stands: what is on top of that is what the aim speaks of.
void loginToList(benchmark::State& state)
{
    LoopbackServer server;
    if (!server.listenForClient()) {
        state.SkipWithError("the address of the local server is in use");
        return;
    }
    server.setFallback(always(pageOfPatients()));
    server.expect("POST", "/auth/login",
                  always(toBytes({{QStringLiteral("accessToken"), QStringLiteral("token")},
                                  {QStringLiteral("tokenType"), QStringLiteral("Bearer")},
                                  {QStringLiteral("language"), QStringLiteral("en")},
                                  {QStringLiteral("country"), QStringLiteral("US")},
                                  {QStringLiteral("expiredAt"), QStringLiteral("2099-01-01T00:00:00")}})));
    std::vector<double> whole;
    std::vector<double> page;
    QNetworkAccessManager manager;
    for (auto _ : state) {
        Clock::time_point answered;
        const auto watchLogin = QObject::connect(&server, &LoopbackServer::requested, [&server, &answered] {
            if (server.last().target == "/auth/login") {
                answered = Clock::now();
            }
        });
        QTimer::singleShot(0, qApp, [] { typeAndConfirm(QApplication::activeModalWidget()); });
        TableWatcher watcher;
        qApp->installEventFilter(&watcher);
        MainWindow window(nullptr);
        window.show();
        waitFor([&watcher] { return watcher.isPainted(); });
        whole.push_back(milliseconds(watcher.paintedAt - answered));
        QObject::disconnect(watchLogin);

        const auto start = Clock::now();
        QNetworkReply* const reply = manager.get(QNetworkRequest(server.url(QStringLiteral("/patient/filter"))));
        waitFor([reply] { return reply->isFinished(); });
        page.push_back(milliseconds(Clock::now() - start));
        delete reply;
        state.SetIterationTime(whole.back() / 1000);
    }
    state.counters["list_ms"] = median(whole);
    state.counters["page_ms"] = median(page);
    state.counters["on_top_ms"] = median(whole) - median(page);
}
BENCHMARK(loginToList)->Iterations(21)->UseManualTime()->Unit(benchmark::kMillisecond);

void markersToTable(benchmark::State& state)
{
    LoopbackServer server;
    if (!server.listenForClient()) {
        state.SkipWithError("the address of the local server is in use");
        return;
    }
    server.setFallback(always("[]"));
    const QByteArray bytes = manyMarkers();
    Patient patient(patientJson(1));
    QList<Record> records;
    ViewAnalysis screen(nullptr, &patient, &records);
    screen.resize(1280, 800);
    screen.show();
    screen.findChild<QTabWidget*>(QStringLiteral("tabWidget"))->setCurrentIndex(1);
    // What the screen asks for by itself is no part of this, nor is the picture that moves over it meanwhile.
    waitFor([&screen] { return screen.findChild<LoadingWindow*>() == nullptr; });
    Clock::duration parsed = {};
    Clock::duration whole = {};
    for (auto _ : state) {
        QCoreApplication::processEvents();
        screen.onAnalyseSuccess("{}");
        QCoreApplication::processEvents();
        const auto start = Clock::now();
        benchmark::DoNotOptimize(QJsonDocument::fromJson(bytes).isObject());
        const auto between = Clock::now();
        TableWatcher watcher;
        qApp->installEventFilter(&watcher);
        screen.onAnalyseSuccess(bytes);
        waitFor([&watcher] { return watcher.isPainted(); });
        parsed += between - start;
        whole += watcher.paintedAt - between;
        state.SetIterationTime(std::chrono::duration<double>(watcher.paintedAt - between).count());
    }
    state.counters["ratio"] = double(whole.count()) / double(parsed.count());
}
BENCHMARK(markersToTable)->UseManualTime()->Unit(benchmark::kMillisecond);

// One iteration is a whole recording. The first paint after a reset also makes what the others use: the repaint of the
// second buffer is taken as the first one's if that is smaller.
void recording(benchmark::State& state)
{
    QByteArray samples;
    ProgressBar bar(&samples, nullptr);
    bar.resize(600, 50);
    bar.show();
    QCoreApplication::processEvents();
    std::vector<double> first;
    std::vector<double> last;
    for (auto _ : state) {
        samples.clear();
        bar.bufferLengthChanged(signalSize);
        std::vector<double> times;
        while (samples.size() + bufferSize < signalSize) {
            for (int i = 0; i < bufferSize; ++i) {
                samples.append(char(127 + int(std::lround(100 * std::sin(samples.size() * 0.125)))));
            }
            const auto start = Clock::now();
            bar.recordPositionChanged(samples.size());
            times.push_back(milliseconds(Clock::now() - start));
        }
        first.push_back(std::min(times.at(0), times.at(1)));
        last.push_back(times.back());
        state.SetIterationTime(times.back() / 1000);
    }
    state.counters["first_ms"] = median(first);
    state.counters["last_ms"] = median(last);
    state.counters["ratio"] = median(last) / median(first);
}
BENCHMARK(recording)->Iterations(51)->UseManualTime()->Unit(benchmark::kMicrosecond);

void scrolling(benchmark::State& state)
{
    LoopbackServer server;
    if (!server.listenForClient()) {
        state.SkipWithError("the address of the local server is in use");
        return;
    }
    server.setFallback(always(manyRecords()));
    Patient patient(patientJson(1));
    ViewPatient screen(nullptr, &patient);
    screen.resize(1280, 800);
    screen.show();
    auto* const table = screen.findChild<QTableView*>();
    waitFor([table] { return table->model()->rowCount() == recordCount; });
    QCoreApplication::processEvents();
    QScrollBar* const bar = table->verticalScrollBar();
    std::vector<double> frames;
    for (auto _ : state) {
        bar->setValue(0);
        QCoreApplication::processEvents();
        while (bar->value() < bar->maximum()) {
            const auto start = Clock::now();
            bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
            table->viewport()->repaint();
            frames.push_back(milliseconds(Clock::now() - start));
        }
        state.SetIterationTime(frames.back() / 1000);
    }
    std::sort(frames.begin(), frames.end());
    state.counters["frames"] = double(frames.size());
    state.counters["median_ms"] = median(frames);
    state.counters["p99_ms"] = frames.at(frames.size() * 99 / 100);
    state.counters["worst_ms"] = frames.back();
    state.counters["worst_of_16.7"] = frames.back() / 16.7;
}
BENCHMARK(scrolling)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    init(app);
    QApplication::setQuitOnLastWindowClosed(false);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
