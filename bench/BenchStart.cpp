// SPDX-License-Identifier: GPL-3.0-or-later
// From process start to the first painted login dialog, against a dialog of bare Qt with the same number of fields.
// Needs a display: run it under xvfb-run. Both run as processes of their own, taking turns, and the program reports
// the ratio of the medians of time and of peak memory.

#include "app/MainWindow.h"
#include "app/init.h"

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QFile>
#include <QFormLayout>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace {

/// Ends the process as soon as a dialog of this class has been painted.
class PaintWatcher : public QObject
{
public:
    explicit PaintWatcher(const char* className)
        : watched(className)
    {
    }

    bool eventFilter(QObject* object, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && qstrcmp(object->metaObject()->className(), watched) == 0) {
            object->removeEventFilter(this);
            // The paint is delivered after this filter; what is queued behind it runs when it is on the screen.
            QMetaObject::invokeMethod(
                object, [] { std::_Exit(0); }, Qt::QueuedConnection);
        }
        return false;
    }

private:
    const char* const watched;
};

int showLogin(int argc, char** argv)
{
    QApplication app(argc, argv);
    init(app);
    PaintWatcher watcher("DialogLogin");
    app.installEventFilter(&watcher);
    const MainWindow window(nullptr);
    return 1;
}

int showBare(int argc, char** argv)
{
    QApplication app(argc, argv);
    PaintWatcher watcher("QDialog");
    app.installEventFilter(&watcher);
    QDialog dialog;
    auto* layout = new QFormLayout(&dialog);
    layout->addRow(new QLineEdit(&dialog));
    layout->addRow(new QLineEdit(&dialog));
    layout->addRow(new QPushButton(&dialog));
    dialog.exec();
    return 1;
}

struct Run
{
    double seconds;
    double mebibytes;
};

/// Peak resident memory of a running child; 0 once it is gone.
double peakMemory(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith("VmHWM:")) {
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024;
        }
    }
    return 0;
}

Run run(const QString& what)
{
    QProcess process;
    QElapsedTimer timer;
    timer.start();
    process.start(QCoreApplication::applicationFilePath(), {what});
    process.waitForStarted();
    double memory = 0;
    while (!process.waitForFinished(2)) {
        memory = std::max(memory, peakMemory(process.processId()));
    }
    const double seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        qFatal("The dialog was not painted: %s", process.readAllStandardError().constData());
    }
    return {seconds, memory};
}

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values.at(values.size() / 2);
}

void startToLogin(benchmark::State& state)
{
    std::vector<double> loginTime;
    std::vector<double> bareTime;
    std::vector<double> loginMemory;
    std::vector<double> bareMemory;
    for (auto _ : state) {
        const Run bare = run(QStringLiteral("--bare"));
        const Run login = run(QStringLiteral("--login"));
        bareTime.push_back(bare.seconds);
        bareMemory.push_back(bare.mebibytes);
        loginTime.push_back(login.seconds);
        loginMemory.push_back(login.mebibytes);
        state.SetIterationTime(login.seconds);
    }
    state.counters["bare_s"] = median(bareTime);
    state.counters["login_s"] = median(loginTime);
    state.counters["ratio"] = median(loginTime) / median(bareTime);
    state.counters["extra_MiB"] = median(loginMemory) - median(bareMemory);
}

} // namespace

BENCHMARK(startToLogin)->Iterations(21)->UseManualTime()->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    const QByteArray mode = argc > 1 ? QByteArray(argv[1]) : QByteArray();
    if (mode == "--login") {
        return showLogin(argc, argv);
    }
    if (mode == "--bare") {
        return showBare(argc, argv);
    }
    const QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
