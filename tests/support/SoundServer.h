// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <vector>

/// A private sound server with virtual sensors, for tests of real recording and playing on a machine without sound
/// hardware. It has directories of its own, touches no other sound server and needs no session of a user; its
/// processes end with it, and with the test if that dies.
///
/// Qt's audio plugin connects to one server for the whole life of a process: start the server before the first audio
/// device is asked for, and use one server a process. All samples are in the signal's format: 22050 Hz, mono, 8 bits
/// unsigned.
class SoundServer
{
public:
    enum Kind
    {
        PulseAudio,
        PipeWire,
    };

    /// A virtual USB sensor: an input and an output, named by the server as real hardware is.
    struct Sensor
    {
        /// "alsa_input.usb-<product>_<serial>-00.mono-fallback"
        QString input;
        /// "alsa_output.usb-<product>_<serial>-00.analog-stereo"
        QString output;
        /// The output that the input hears.
        QString feed;
        /// Of the server, in the order of loading.
        QList<int> modules;
    };

    /// The kind that the environment variable QUELMAR_TEST_SOUND names: "pulseaudio" (also if it is not set) or
    /// "pipewire".
    static Kind kindFromEnvironment();

    /// Leaves this process without any sound server and any audio device, whatever the machine has. Before the first
    /// audio device is asked for.
    static void hideAll();

    explicit SoundServer(Kind kind);
    ~SoundServer();
    SoundServer(const SoundServer&) = delete;
    SoundServer& operator=(const SoundServer&) = delete;

    /// Starts the server without any device and points this process's environment at it. False, with the reason in
    /// errorText(), if it does not come up.
    bool start();
    /// Ends every process of the server and restores the environment. Also done by the destructor.
    void stop();
    bool isRunning() const;
    const QString& errorText() const { return error; }

    /// Plugs in a sensor. `product` is spelt as the server does, with underscores. False, with the reason in
    /// errorText(), if the server refuses.
    bool addSensor(Sensor* sensor, const QString& product = QStringLiteral("Quelmar_USB_v1.0"),
                   const QString& serial = QStringLiteral("Q0001"));
    /// Pulls the sensor out, whatever runs on it.
    void removeSensor(const Sensor& sensor);
    /// Plugs in an output only, under exactly this name.
    bool addOutput(const QString& name);
    /// What new streams without a device use.
    bool setDefaultOutput(const QString& name);
    bool setDefaultInput(const QString& name);

    /// Plays a sine of `amplitude` (of 127) into the sensor's input until stopFeeding(), for ten minutes at most.
    /// Returns once it sounds.
    bool feedTone(const Sensor& sensor, double hertz, double amplitude = 100.0);
    /// Plays these samples into the sensor's input, once.
    bool feed(const Sensor& sensor, const QByteArray& samples);
    void stopFeeding();

    /// Begins to keep what the output of that name plays; returns once samples come.
    bool startCapture(const QString& output);
    /// What arrived since the start, silence included.
    const QByteArray& captured();
    /// Ends the capture and gives all of it.
    QByteArray stopCapture();

    /// The strongest frequency in Hz between 50 and 5000, in steps of a quarter.
    static double dominantFrequency(const QByteArray& samples);
    /// Root mean square around the mean.
    static double loudness(const QByteArray& samples);
    /// How much of what was sent is found in what arrived, in the same order: 0 to 1, counted in pieces of a twentieth
    /// of a second. Gaps between the pieces and a delay are no fault, another volume is none either.
    static double arrivedShare(const QByteArray& sent, const QByteArray& arrived);
    /// A sine around 127.5.
    static QByteArray tone(double hertz, double seconds, double amplitude = 100.0);

private:
    bool startPulseAudio();
    bool startPipeWire();
    bool waitUntilReady();
    QProcess* launch(const QString& program, const QStringList& arguments);
    static void end(QProcess* process);
    bool pactl(const QStringList& arguments, QByteArray* output = nullptr);
    bool loadSink(const QString& name, QList<int>* modules);
    bool loadModule(const QStringList& arguments, QList<int>* modules);
    void setVariable(const char* name, const QByteArray& value);
    bool fail(const QString& text);

    Kind kind;
    QString error;
    QTemporaryDir directory;
    /// Variable and its value before; null if it had none.
    std::vector<std::pair<QByteArray, QByteArray>> environment;
    std::vector<std::unique_ptr<QProcess>> daemons;
    std::unique_ptr<QProcess> feeder;
    std::unique_ptr<QProcess> listener;
    QByteArray heard;
    int files = 0;
};
