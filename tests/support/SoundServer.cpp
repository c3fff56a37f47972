// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/SoundServer.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QTest>
#include <QtMath>

#include <cmath>
#include <csignal>
#include <sys/prctl.h>
#include <utility>

namespace {

constexpr int rate = 22050;
constexpr int startLimit = 60000;
constexpr int commandLimit = 20000;
/// Feeding longer than any test.
constexpr double feedSeconds = 600.0;

/// A process that never outlives the one that started it, not even if that crashes.
class BoundProcess : public QProcess
{
protected:
    void setupChildProcess() override { prctl(PR_SET_PDEATHSIG, SIGKILL); }
};

QStringList sampleOptions()
{
    return {QStringLiteral("--raw"), QStringLiteral("--format=u8"), QStringLiteral("--rate=%1").arg(rate),
            QStringLiteral("--channels=1")};
}

bool write(const QString& path, const QByteArray& text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

} // namespace

SoundServer::Kind SoundServer::kindFromEnvironment()
{
    return qgetenv("QUELMAR_TEST_SOUND") == "pipewire" ? PipeWire : PulseAudio;
}

void SoundServer::hideAll()
{
    qputenv("PULSE_SERVER", "unix:/nonexistent/native");
    qputenv("PULSE_CLIENTCONFIG", "/dev/null");
    qputenv("ALSA_CONFIG_PATH", "/dev/null");
}

SoundServer::SoundServer(Kind serverKind)
    : kind(serverKind)
{
}

SoundServer::~SoundServer()
{
    stop();
}

bool SoundServer::start()
{
    if (!directory.isValid()) {
        return fail(directory.errorString());
    }
    const QDir root(directory.path());
    const QStringList folders{QStringLiteral("run"), QStringLiteral("run/pulse"), QStringLiteral("home")};
    for (const QString& folder : folders) {
        root.mkpath(folder);
        // Both servers refuse a directory that others could write.
        QFile::setPermissions(root.filePath(folder), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    if (!write(root.filePath(QStringLiteral("client.conf")), "autospawn = no\nenable-shm = no\n")) {
        return fail(QStringLiteral("The client configuration cannot be written"));
    }

    const QByteArray run = QFile::encodeName(root.filePath(QStringLiteral("run")));
    const QByteArray home = QFile::encodeName(root.filePath(QStringLiteral("home")));
    setVariable("XDG_RUNTIME_DIR", run);
    setVariable("HOME", home);
    setVariable("XDG_CONFIG_HOME", home + "/config");
    setVariable("XDG_STATE_HOME", home + "/state");
    setVariable("XDG_CACHE_HOME", home + "/cache");
    setVariable("PULSE_RUNTIME_PATH", run + "/pulse");
    setVariable("PULSE_SERVER", "unix:" + run + "/pulse/native");
    setVariable("PULSE_CLIENTCONFIG", QFile::encodeName(root.filePath(QStringLiteral("client.conf"))));
    setVariable("PULSE_SINK", QByteArray());
    setVariable("PULSE_SOURCE", QByteArray());
    setVariable("PIPEWIRE_RUNTIME_DIR", run);
    setVariable("PIPEWIRE_REMOTE", QByteArray());
    // No bus of the machine may reach the private server.
    setVariable("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + run + "/no-system-bus");
    setVariable("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + run + "/bus");

    const bool launched = kind == PulseAudio ? startPulseAudio() : startPipeWire();
    if (!launched || !waitUntilReady()) {
        const QString reason = error;
        stop();
        error = reason;
        return false;
    }
    return true;
}

void SoundServer::stop()
{
    stopFeeding();
    stopCapture();
    while (!daemons.empty()) {
        end(daemons.back().get());
        daemons.pop_back();
    }
    for (auto variable = environment.rbegin(); variable != environment.rend(); ++variable) {
        if (variable->second.isNull()) {
            qunsetenv(variable->first.constData());
        } else {
            qputenv(variable->first.constData(), variable->second);
        }
    }
    environment.clear();
}

bool SoundServer::isRunning() const
{
    if (daemons.empty()) {
        return false;
    }
    for (const auto& daemon : daemons) {
        if (daemon->state() != QProcess::Running) {
            return false;
        }
    }
    return true;
}

bool SoundServer::startPulseAudio()
{
    const QString socket = directory.filePath(QStringLiteral("run/pulse/native"));
    return launch(QStringLiteral("pulseaudio"),
                  {QStringLiteral("-n"), QStringLiteral("--daemonize=no"), QStringLiteral("--use-pid-file=no"),
                   QStringLiteral("--exit-idle-time=-1"), QStringLiteral("--disable-shm=yes"),
                   QStringLiteral("--log-target=stderr"), QStringLiteral("--log-level=warn"),
                   QStringLiteral("--load=module-native-protocol-unix auth-anonymous=1 socket=%1").arg(socket)}) !=
           nullptr;
}

bool SoundServer::startPipeWire()
{
    // A bus that can start no service, and a session manager that leaves the machine's own devices alone.
    const QString bus = directory.filePath(QStringLiteral("bus.conf"));
    const QString path = directory.filePath(QStringLiteral("run/bus"));
    const QByteArray config = "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
                              "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                              "<busconfig><type>session</type><listen>unix:path=" +
                              QFile::encodeName(path) +
                              "</listen><policy context=\"default\"><allow send_destination=\"*\"/>"
                              "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n";
    const QDir home(directory.filePath(QStringLiteral("home/config/wireplumber")));
    home.mkpath(QStringLiteral("main.lua.d"));
    home.mkpath(QStringLiteral("bluetooth.lua.d"));
    if (!write(bus, config) ||
        !write(home.filePath(QStringLiteral("main.lua.d/60-virtual-only.lua")),
               "alsa_monitor.enabled = false\nv4l2_monitor.enabled = false\nlibcamera_monitor.enabled = false\n") ||
        !write(home.filePath(QStringLiteral("bluetooth.lua.d/60-virtual-only.lua")),
               "bluez_monitor.enabled = false\n")) {
        return fail(QStringLiteral("The configuration of the sound server cannot be written"));
    }

    if (launch(QStringLiteral("dbus-daemon"), {QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
                                               QStringLiteral("--config-file=%1").arg(bus)}) == nullptr ||
        !QTest::qWaitFor([&path] { return QFile::exists(path); }, startLimit)) {
        return fail(QStringLiteral("The private bus did not start"));
    }
    if (launch(QStringLiteral("pipewire"), {}) == nullptr) {
        return false;
    }
    const QString core = directory.filePath(QStringLiteral("run/pipewire-0"));
    if (!QTest::qWaitFor([&core] { return QFile::exists(core); }, startLimit)) {
        return fail(QStringLiteral("PipeWire did not start"));
    }
    return launch(QStringLiteral("wireplumber"), {}) != nullptr &&
           launch(QStringLiteral("pipewire-pulse"), {}) != nullptr;
}

bool SoundServer::waitUntilReady()
{
    const QDeadlineTimer deadline(startLimit);
    while (!deadline.hasExpired()) {
        if (!isRunning()) {
            QByteArray log;
            for (const auto& daemon : daemons) {
                log += daemon->readAllStandardError();
            }
            return fail(QStringLiteral("The sound server ended: ") + QString::fromLocal8Bit(log));
        }
        if (pactl({QStringLiteral("info")})) {
            return true;
        }
        QTest::qWait(50);
    }
    return fail(QStringLiteral("The sound server does not answer"));
}

QProcess* SoundServer::launch(const QString& program, const QStringList& arguments)
{
    auto process = std::make_unique<BoundProcess>();
    process->setStandardOutputFile(QProcess::nullDevice());
    process->start(program, arguments);
    if (!process->waitForStarted(startLimit)) {
        fail(QStringLiteral("%1 cannot be started: %2").arg(program, process->errorString()));
        return nullptr;
    }
    daemons.push_back(std::move(process));
    return daemons.back().get();
}

void SoundServer::end(QProcess* process)
{
    process->terminate();
    if (!process->waitForFinished(5000)) {
        process->kill();
        process->waitForFinished(5000);
    }
}

bool SoundServer::pactl(const QStringList& arguments, QByteArray* output)
{
    BoundProcess process;
    process.start(QStringLiteral("pactl"), arguments);
    if (!process.waitForFinished(commandLimit)) {
        process.kill();
        process.waitForFinished(5000);
        return fail(QStringLiteral("pactl does not end: ") + arguments.join(QLatin1Char(' ')));
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        return fail(QStringLiteral("pactl %1: %2")
                        .arg(arguments.join(QLatin1Char(' ')), QString::fromLocal8Bit(process.readAllStandardError())));
    }
    if (output != nullptr) {
        *output = process.readAllStandardOutput();
    }
    return true;
}

bool SoundServer::loadModule(const QStringList& arguments, QList<int>* modules)
{
    QByteArray output;
    if (!pactl(QStringList(QStringLiteral("load-module")) + arguments, &output)) {
        return false;
    }
    bool isNumber = false;
    const int module = output.trimmed().toInt(&isNumber);
    if (!isNumber) {
        return fail(QStringLiteral("The sound server gave no module number"));
    }
    if (modules != nullptr) {
        modules->append(module);
    }
    return true;
}

bool SoundServer::loadSink(const QString& name, QList<int>* modules)
{
    QStringList arguments{QStringLiteral("module-null-sink"), QStringLiteral("sink_name=%1").arg(name),
                          QStringLiteral("channels=1"), QStringLiteral("rate=%1").arg(rate)};
    if (kind == PulseAudio) {
        // Steps of a twentieth of a second, as hardware has them, in place of two seconds.
        arguments.append(QStringLiteral("norewinds=yes"));
    }
    return loadModule(arguments, modules);
}

bool SoundServer::addSensor(Sensor* sensor, const QString& product, const QString& serial)
{
    const QString unit = QStringLiteral("%1_%2").arg(product, serial);
    sensor->input = QStringLiteral("alsa_input.usb-%1-00.mono-fallback").arg(unit);
    sensor->output = QStringLiteral("alsa_output.usb-%1-00.analog-stereo").arg(unit);
    sensor->feed = QStringLiteral("feed_%1").arg(serial);
    sensor->modules.clear();

    const QString shape = QStringLiteral("channels=1");
    if (loadSink(sensor->output, &sensor->modules) && loadSink(sensor->feed, &sensor->modules) &&
        loadModule({QStringLiteral("module-remap-source"), QStringLiteral("source_name=%1").arg(sensor->input),
                    QStringLiteral("master=%1.monitor").arg(sensor->feed), shape},
                   &sensor->modules)) {
        return true;
    }
    const QString reason = error;
    removeSensor(*sensor);
    error = reason;
    return false;
}

void SoundServer::removeSensor(const Sensor& sensor)
{
    for (int i = sensor.modules.size() - 1; i >= 0; --i) {
        pactl({QStringLiteral("unload-module"), QString::number(sensor.modules.at(i))});
    }
}

bool SoundServer::addOutput(const QString& name)
{
    return loadSink(name, nullptr);
}

bool SoundServer::setDefaultOutput(const QString& name)
{
    return pactl({QStringLiteral("set-default-sink"), name});
}

bool SoundServer::setDefaultInput(const QString& name)
{
    return pactl({QStringLiteral("set-default-source"), name});
}

bool SoundServer::feedTone(const Sensor& sensor, double hertz, double amplitude)
{
    if (!startCapture(sensor.feed) || !feed(sensor, tone(hertz, feedSeconds, amplitude))) {
        return false;
    }
    const bool sounds = QTest::qWaitFor(
        [this, amplitude] { return loudness(captured().right(rate / 10)) > amplitude / 2.0; }, startLimit);
    stopCapture();
    return sounds || fail(QStringLiteral("The tone does not arrive at the sensor's input"));
}

bool SoundServer::feed(const Sensor& sensor, const QByteArray& samples)
{
    stopFeeding();
    const QString path = directory.filePath(QStringLiteral("feed%1.raw").arg(++files));
    if (!write(path, samples)) {
        return fail(QStringLiteral("The samples to feed cannot be written"));
    }
    feeder = std::make_unique<BoundProcess>();
    feeder->start(QStringLiteral("pacat"), QStringList(QStringLiteral("--playback")) + sampleOptions() +
                                               QStringList{QStringLiteral("--latency-msec=200"),
                                                           QStringLiteral("--device=%1").arg(sensor.feed), path});
    return feeder->waitForStarted(startLimit) || fail(feeder->errorString());
}

void SoundServer::stopFeeding()
{
    if (feeder != nullptr) {
        // Asked to end, it would first play all that it has handed over.
        feeder->kill();
        feeder->waitForFinished(5000);
        feeder.reset();
    }
}

bool SoundServer::startCapture(const QString& output)
{
    stopCapture();
    listener = std::make_unique<BoundProcess>();
    listener->start(QStringLiteral("pacat"), QStringList(QStringLiteral("--record")) + sampleOptions() +
                                                 QStringList{QStringLiteral("--latency-msec=50"),
                                                             QStringLiteral("--device=%1.monitor").arg(output)});
    return QTest::qWaitFor([this] { return !captured().isEmpty(); }, startLimit) ||
           fail(QStringLiteral("Nothing comes from the output: ") +
                QString::fromLocal8Bit(listener->readAllStandardError()));
}

const QByteArray& SoundServer::captured()
{
    if (listener != nullptr) {
        heard += listener->readAllStandardOutput();
    }
    return heard;
}

QByteArray SoundServer::stopCapture()
{
    if (listener != nullptr) {
        end(listener.get());
        captured();
        listener.reset();
    }
    return std::exchange(heard, QByteArray());
}

double SoundServer::dominantFrequency(const QByteArray& samples)
{
    constexpr double lowest = 50.0;
    constexpr double highest = 5000.0;
    const int count = samples.size();
    if (count == 0) {
        return 0.0;
    }
    double mean = 0.0;
    for (const char sample : samples) {
        mean += static_cast<uchar>(sample);
    }
    mean /= count;

    const auto power = [mean](const QByteArray& part, double hertz) {
        // Goertzel's walk.
        const double factor = 2.0 * std::cos(2.0 * M_PI * hertz / rate);
        double before = 0.0;
        double last = 0.0;
        for (const char sample : part) {
            const double next = static_cast<uchar>(sample) - mean + factor * last - before;
            before = last;
            last = next;
        }
        return before * before + last * last - factor * before * last;
    };
    const auto strongest = [&power](const QByteArray& part, double from, double to, double step) {
        double best = from;
        double bestPower = -1.0;
        for (int i = 0; from + i * step <= to; ++i) {
            const double hertz = from + i * step;
            const double found = power(part, hertz);
            if (found > bestPower) {
                bestPower = found;
                best = hertz;
            }
        }
        return best;
    };
    // A tenth of a second tells tones ten Hz apart; all samples then tell the tone itself.
    const double rough = strongest(samples.mid(count / 2, rate / 10), lowest, highest, 5.0);
    return strongest(samples, rough - 10.0, rough + 10.0, 0.25);
}

double SoundServer::arrivedShare(const QByteArray& sent, const QByteArray& arrived)
{
    constexpr int piece = rate / 20;
    constexpr int stride = 16;
    constexpr double alike = 0.95;
    constexpr double perhapsAlike = 0.8;
    constexpr double silence = 4.0;

    const auto value = [](const QByteArray& samples, int i) { return static_cast<uchar>(samples.at(i)) - 127.5; };
    // Correlation of one piece of each, whatever the volume; 0 where there is silence.
    const auto likeness = [&](int from, int at, int step) {
        double product = 0.0;
        double sentPower = 0.0;
        double arrivedPower = 0.0;
        for (int i = 0; i < piece; i += step) {
            const double a = value(sent, from + i);
            const double b = value(arrived, at + i);
            product += a * b;
            sentPower += a * a;
            arrivedPower += b * b;
        }
        const double least = silence * silence * piece / step;
        return sentPower > least && arrivedPower > least ? product / std::sqrt(sentPower * arrivedPower) : 0.0;
    };

    int pieces = 0;
    int found = 0;
    int at = 0;
    for (int from = 0; from + piece <= sent.size(); from += piece) {
        ++pieces;
        const int last = arrived.size() - piece;
        for (int candidate = at; candidate <= last; ++candidate) {
            // A few samples tell most places apart, and are looked at much faster.
            if (likeness(from, candidate, stride) < perhapsAlike || likeness(from, candidate, 1) < alike) {
                continue;
            }
            // The first likeness is on the way up to the best one.
            while (candidate < last && likeness(from, candidate + 1, 1) > likeness(from, candidate, 1)) {
                ++candidate;
            }
            ++found;
            at = candidate + piece - 2;
            break;
        }
    }
    return pieces == 0 ? 0.0 : static_cast<double>(found) / pieces;
}

double SoundServer::loudness(const QByteArray& samples)
{
    if (samples.isEmpty()) {
        return 0.0;
    }
    double sum = 0.0;
    double squares = 0.0;
    for (const char sample : samples) {
        const double value = static_cast<uchar>(sample);
        sum += value;
        squares += value * value;
    }
    const double mean = sum / samples.size();
    return std::sqrt(qMax(0.0, squares / samples.size() - mean * mean));
}

QByteArray SoundServer::tone(double hertz, double seconds, double amplitude)
{
    QByteArray samples(qRound(seconds * rate), '\0');
    for (int i = 0; i < samples.size(); ++i) {
        samples[i] = static_cast<char>(qRound(127.5 + amplitude * std::sin(2.0 * M_PI * hertz * i / rate)));
    }
    return samples;
}

bool SoundServer::fail(const QString& text)
{
    error = text;
    return false;
}

void SoundServer::setVariable(const char* name, const QByteArray& value)
{
    environment.emplace_back(name, qgetenv(name));
    if (value.isNull()) {
        qunsetenv(name);
    } else {
        qputenv(name, value);
    }
}
