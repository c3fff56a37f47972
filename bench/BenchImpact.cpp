// SPDX-License-Identifier: GPL-3.0-or-later
// What the way of an impact costs: unpacking the server's reply, assembling ten hours of it for the sensor, and saving
// as much as a WAV file. The memory of a playback is that of a child process (this program with --play) that plays on a
// private sound server. Needs a display, 3 GiB of memory and 2 GiB in the folder for temporary files.

#include "app/MainWindow.h"
#include "app/init.h"
#include "model/Marker.h"
#include "model/Patient.h"
#include "model/Record.h"
#include "net/Controller.h"
#include "recipe/ViewImpact.h"
#include "signal/DialogPlayer.h"
#include "signal/Utils.h"
#include "tests/support/SoundServer.h"
#include "tests/support/gzip.h"

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QProcess>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTimer>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <memory>
#include <unistd.h>
#include <vector>
#include <zlib.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int markerCount = 30;
constexpr int blockSize = 65709; // 2.98 s
constexpr int minutes = 600;
constexpr double mebibyte = 1024.0 * 1024.0;

/// Sums of a few tones, as those of a marker: neither random nor all alike.
QByteArray block(int number)
{
    QByteArray samples(blockSize, '\0');
    for (int i = 0; i < blockSize; ++i) {
        const double time = i / 22050.0;
        double value = 0;
        for (int tone = 1; tone <= 5; ++tone) {
            value += std::sin(6.283185307179586 * (100.0 + 37.0 * number) * tone * time);
        }
        samples[i] = char(127 + int(std::lround(20 * value)));
    }
    return samples;
}

QJsonArray blocks()
{
    QJsonArray array;
    for (int number = 0; number < markerCount; ++number) {
        array.append(QString::fromLatin1(block(number).toBase64()));
    }
    return array;
}

/// In one call, its size known beforehand.
QByteArray unzipAtOnce(const QByteArray& zipped, int size)
{
    QByteArray result(size, Qt::Uninitialized);
    z_stream stream = {};
    inflateInit2(&stream, 15 + 16);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(zipped.constData()));
    stream.avail_in = uInt(zipped.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = uInt(result.size());
    inflate(&stream, Z_FINISH);
    inflateEnd(&stream);
    return result;
}

qint64 decoded(const QByteArray& json)
{
    qint64 bytes = 0;
    const QJsonArray array = Utils::bytesToArray(json);
    for (const QJsonValue& value : array) {
        bytes += QByteArray::fromBase64(value.toString().toUtf8()).size();
    }
    return bytes;
}

void zippedRecipe(benchmark::State& state)
{
    const QByteArray json = QJsonDocument(blocks()).toJson(QJsonDocument::Compact);
    const QByteArray reply = gzip(json).toBase64();
    Clock::duration yardstick = {};
    Clock::duration whole = {};
    for (auto _ : state) {
        const auto start = Clock::now();
        const qint64 plain = decoded(unzipAtOnce(QByteArray::fromBase64(reply), json.size()));
        const auto between = Clock::now();
        const qint64 ours = decoded(Controller::unzip(QByteArray::fromBase64(reply)));
        const auto last = Clock::now() - between;
        if (plain != ours || ours != qint64(markerCount) * blockSize) {
            state.SkipWithError("not unpacked");
        }
        yardstick += between - start;
        whole += last;
        state.SetIterationTime(std::chrono::duration<double>(last).count());
    }
    state.counters["ratio"] = double(whole.count()) / double(yardstick.count());
}
BENCHMARK(zippedRecipe)->UseManualTime()->MinTime(3)->Unit(benchmark::kMillisecond);

// Both write into memory that the system has just given, page by page.
void assembling(benchmark::State& state)
{
    const QJsonArray array = blocks();
    const int repeats = Utils::calculateRepeats(minutes, markerCount);
    Clock::duration yardstick = {};
    Clock::duration whole = {};
    for (auto _ : state) {
        Clock::time_point start = Clock::now();
        const QByteArray signal = Utils::repeatBlocks(array, repeats);
        const auto ours = Clock::now() - start;
        start = Clock::now();
        {
            QByteArray copy(signal.size(), Qt::Uninitialized);
            std::memcpy(copy.data(), signal.constData(), size_t(signal.size()));
            benchmark::DoNotOptimize(copy.constData());
            yardstick += Clock::now() - start;
        }
        whole += ours;
        state.counters["MiB"] = signal.size() / mebibyte;
        state.SetIterationTime(std::chrono::duration<double>(ours).count());
    }
    state.counters["ratio"] = double(whole.count()) / double(yardstick.count());
}
BENCHMARK(assembling)->UseManualTime()->Iterations(7)->Unit(benchmark::kMillisecond);

/// Of this process, in MiB.
double memory(const char* key)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith(key)) {
            return line.mid(int(std::strlen(key))).trimmed().split(' ').first().toDouble() / 1024;
        }
    }
    return 0;
}

std::unique_ptr<ViewImpact> impactScreen(QWidget* parent)
{
    Patient patient(
        QJsonObject{{QStringLiteral("id"), QStringLiteral("p")}, {QStringLiteral("name"), QStringLiteral("N")}});
    Record record(QJsonObject{{QStringLiteral("id"), QStringLiteral("r")}});
    QList<Marker> markers;
    for (int number = 0; number < markerCount; ++number) {
        markers.append(Marker(QJsonObject{{QStringLiteral("id"), QString::number(number)},
                                          {QStringLiteral("title"), QStringLiteral("Marker")},
                                          {QStringLiteral("amount"), 1}}));
    }
    return std::make_unique<ViewImpact>(parent, &patient, &record, &markers, false);
}

/// The child: the screen takes the reply and hands its signal to a player. Prints its peak memory, the signal's
/// size and the memory before the reply came, in MiB.
int play(QApplication& app)
{
    SoundServer sound(SoundServer::kindFromEnvironment());
    SoundServer::Sensor sensor;
    if (!sound.start() || !sound.addSensor(&sensor)) {
        std::fprintf(stderr, "%s\n", sound.errorText().toUtf8().constData());
        return 1;
    }
    const QByteArray reply = QJsonDocument(blocks()).toJson(QJsonDocument::Compact);
    QWidget window;
    const std::unique_ptr<ViewImpact> screen = impactScreen(&window);
    screen->findChild<QSpinBox*>(QStringLiteral("spinBoxDuration"))->setValue(minutes);
    std::unique_ptr<DialogPlayer> player;
    int size = 0;
    QObject::connect(screen.get(), &ViewImpact::onPlay, [&player, &size](const QByteArray& bytes, const QString& name) {
        size = bytes.size();
        player = std::make_unique<DialogPlayer>(nullptr, bytes, name);
        player->show();
    });
    QCoreApplication::processEvents();
    const double before = memory("VmRSS:");
    screen->onSuccess(reply);
    QTimer::singleShot(5000, &app, &QCoreApplication::quit);
    QApplication::exec();
    if (player == nullptr || player->state() != QAudio::ActiveState) {
        std::fprintf(stderr, "nothing plays\n");
        return 1;
    }
    std::printf("%f %f %f\n", memory("VmHWM:"), size / mebibyte, before);
    return 0;
}

void playback(benchmark::State& state)
{
    for (auto _ : state) {
        QProcess child;
        QElapsedTimer timer;
        timer.start();
        child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--play")});
        child.waitForFinished(120000);
        const QList<QByteArray> answer = child.readAllStandardOutput().trimmed().split(' ');
        if (child.exitCode() != 0 || answer.size() != 3) {
            qFatal("%s", child.readAllStandardError().constData());
        }
        const double signal = answer.at(1).toDouble();
        state.counters["signal_MiB"] = signal;
        state.counters["peak_MiB"] = answer.at(0).toDouble();
        state.counters["before_MiB"] = answer.at(2).toDouble();
        state.counters["growth_of_allowed"] = (answer.at(0).toDouble() - answer.at(2).toDouble()) / (2 * signal + 64);
        state.SetIterationTime(double(timer.elapsed()) / 1000);
    }
}
BENCHMARK(playback)->UseManualTime()->Iterations(1)->Unit(benchmark::kSecond);

/// Answers the file dialog that is about to open, and notes when that is done.
void answerFileDialog(const QString& path, Clock::time_point& answered)
{
    QTimer::singleShot(0, qApp, [path, &answered] {
        auto* const dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr) {
            answerFileDialog(path, answered);
            return;
        }
        dialog->findChild<QLineEdit*>()->setText(path);
        answered = Clock::now();
        QMetaObject::invokeMethod(dialog, "accept");
    });
}

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values.at(values.size() / 2);
}

// Both write the same file, which was not there, in turns, and neither waits for the disk. What one has left to write
// is thrown away with its file before the other begins, and nothing else is left: that is not measured.
void saving(benchmark::State& state)
{
    const QTemporaryDir folder;
    const QString source = folder.filePath(QStringLiteral("source.wav"));
    const QString target = folder.filePath(QStringLiteral("target.wav"));
    const QByteArray reply = QJsonDocument(blocks()).toJson(QJsonDocument::Compact);
    QWidget window;
    const std::unique_ptr<ViewImpact> screen = impactScreen(&window);
    screen->findChild<QComboBox*>(QStringLiteral("comboBoxTarget"))->setCurrentIndex(1);
    // For each marker: thirty times as long is the whole.
    screen->findChild<QSpinBox*>(QStringLiteral("spinBoxDuration"))->setValue(minutes / markerCount);
    const auto save = [&screen, &reply](const QString& path) {
        Clock::time_point start;
        answerFileDialog(path, start);
        screen->onSuccess(reply);
        return std::chrono::duration<double>(Clock::now() - start).count();
    };
    const auto copy = [&source, &target] {
        const auto start = Clock::now();
        QProcess::execute(QStringLiteral("cp"), {QStringLiteral("--reflink=never"), source, target});
        return std::chrono::duration<double>(Clock::now() - start).count();
    };
    const auto clear = [&target] {
        QFile::remove(target);
        sync();
    };
    const double before = memory("VmRSS:");
    save(source);
    clear();
    std::vector<double> saved;
    std::vector<double> copied;
    std::vector<double> ratios;
    for (auto _ : state) {
        if (saved.size() % 2 == 0) {
            saved.push_back(save(target));
            clear();
            copied.push_back(copy());
        } else {
            copied.push_back(copy());
            clear();
            saved.push_back(save(target));
        }
        if (QFileInfo(target).size() != QFileInfo(source).size()) {
            state.SkipWithError("not written");
        }
        clear();
        ratios.push_back(saved.back() / copied.back());
        state.SetIterationTime(saved.back());
    }
    state.counters["MiB"] = double(QFileInfo(source).size()) / mebibyte;
    state.counters["ratio"] = median(saved) / median(copied);
    state.counters["least"] = *std::min_element(ratios.begin(), ratios.end());
    state.counters["most"] = *std::max_element(ratios.begin(), ratios.end());
    state.counters["cp_s"] = median(copied);
    state.counters["extra_MiB"] = memory("VmRSS:") - before;
}
BENCHMARK(saving)->UseManualTime()->Iterations(9)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    if (argc > 1 && QByteArray(argv[1]) == "--play") {
        init(app);
        return play(app);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
