// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Constants.h"
#include "signal/AudioRecorder.h"
#include "signal/Utils.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/SoundServer.h"

#include <QAudioDeviceInfo>
#include <QAudioProbe>
#include <QAudioRecorder>
#include <QDir>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <QUrl>
#include <QtMath>

#include <memory>

/// Recording for real, from virtual sensors of a private sound server.
class TestRecordingLive : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();
    void noInput();
    void readableNames();
    void ownService();
    void recordsTheTone();
    void olderSensor();
    void firstInputOfTheList();
    void laterVersion();
    void recordAgain();
    void cancelWhileRecording();
    void escapeWhileRecording();
    void deletedWhileRecording();
    void volumeWhileRecording();
    void pause();
    void samplesUnderWayWhenStopped();
    void otherQuality();
    void whatItOffers();
    void stopFromProbe();
    void deletedFromProbe();
    void unknownCodec();
    void unknownInput();
    void fileOnlyWithLocation();
    void inputVanishes();
    void pauseOfVanishedInput_data();
    void pauseOfVanishedInput();
    void serverEnds();

private:
    void plug(SoundServer::Sensor* sensor, const QString& product = QStringLiteral("Quelmar_USB_v1.0"),
              const QString& serial = QStringLiteral("Q0001"));
    QByteArray record();
    QPushButton* button(const QString& name) const { return dialog->findChild<QPushButton*>(name); }
    QAudioRecorder* recorder() const { return dialog->findChild<QAudioRecorder*>(); }
    bool isConfirming() const
    {
        return !dialog->findChild<QGroupBox*>(QStringLiteral("groupRecordConfirm"))->isHidden();
    }

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<SoundServer> server;
    std::unique_ptr<AudioRecorder> dialog;
    QList<SoundServer::Sensor> plugged;
    QTemporaryDir directory;
};

namespace {

constexpr int limit = 60000;
constexpr int signalSize = 66150;

QStringList names(QAudio::Mode mode)
{
    QStringList result;
    const QList<QAudioDeviceInfo> devices = QAudioDeviceInfo::availableDevices(mode);
    for (const QAudioDeviceInfo& device : devices) {
        result.append(device.deviceName());
    }
    return result;
}

QString readable(QString name)
{
    return name.replace(QLatin1Char('_'), QLatin1Char(' '));
}

QAudioEncoderSettings settingsOf(const QString& codec)
{
    QAudioEncoderSettings settings;
    settings.setCodec(codec);
    settings.setSampleRate(22050);
    settings.setChannelCount(1);
    settings.setQuality(QMultimedia::LowQuality);
    return settings;
}

} // namespace

void TestRecordingLive::initTestCase()
{
    QVERIFY(directory.isValid());
    QVERIFY(QDir::setCurrent(directory.path()));
    server = std::make_unique<SoundServer>(SoundServer::kindFromEnvironment());
    QVERIFY2(server->start(), qPrintable(server->errorText()));
    guard = std::make_unique<MessageGuard>();
}

void TestRecordingLive::init()
{
    dialog = std::make_unique<AudioRecorder>(nullptr, false);
    dialog->show();
}

void TestRecordingLive::cleanup()
{
    dialog.reset();
    server->stopFeeding();
    for (const SoundServer::Sensor& sensor : qAsConst(plugged)) {
        server->removeSensor(sensor);
    }
    for (const SoundServer::Sensor& sensor : qAsConst(plugged)) {
        QTRY_VERIFY_WITH_TIMEOUT(!names(QAudio::AudioInput).contains(sensor.input), limit);
    }
    plugged.clear();
    // The programs leave no file behind.
    QCOMPARE(QDir(directory.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    guard->verify();
}

void TestRecordingLive::cleanupTestCase()
{
    guard.reset();
    server.reset();
}

void TestRecordingLive::plug(SoundServer::Sensor* sensor, const QString& product, const QString& serial)
{
    QVERIFY2(server->addSensor(sensor, product, serial), qPrintable(server->errorText()));
    plugged.append(*sensor);
    QTRY_VERIFY_WITH_TIMEOUT(names(QAudio::AudioInput).contains(readable(sensor->input)), limit);
}

/// From the start button to the saved file, which is returned.
QByteArray TestRecordingLive::record()
{
    QByteArray wav;
    const QObject whileHere;
    connect(dialog.get(), &AudioRecorder::onSave, &whileHere,
            [&wav](const QByteArray& bytes, const QString&) { wav = bytes; });
    button(QStringLiteral("buttonStartRecord"))->click();
    if (!QTest::qWaitFor([this] { return isConfirming(); }, limit)) {
        return {};
    }
    button(QStringLiteral("buttonSaveRecord"))->click();
    return wav;
}

void TestRecordingLive::noInput()
{
    button(QStringLiteral("buttonStartRecord"))->click();
    QTest::qWait(1000);
    QVERIFY(dialog->isVisible());
    QVERIFY(!button(QStringLiteral("buttonStartRecord"))->isEnabled());
    button(QStringLiteral("buttonCancelRecord"))->click();
    QVERIFY(!dialog->isVisible());

    // It is found as soon as it is there, by the same dialog.
    SoundServer::Sensor sensor;
    plug(&sensor);
    QVERIFY2(server->feedTone(sensor, 440.0), qPrintable(server->errorText()));
    dialog->onRerecord();
    dialog->show();
    QCOMPARE(record().size(), 66194);
}

void TestRecordingLive::readableNames()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    for (const QAudio::Mode mode : {QAudio::AudioInput, QAudio::AudioOutput}) {
        const QString name = mode == QAudio::AudioInput ? sensor.input : sensor.output;
        QTRY_COMPARE_WITH_TIMEOUT(names(mode).count(name), 1, limit);
        QTRY_COMPARE_WITH_TIMEOUT(names(mode).count(readable(name)), 1, limit);
        // Neither a monitor nor any other device is listed twice.
        QCOMPARE(names(mode).filter(Constants::DEVICE_USB), QStringList(readable(name)));

        const QList<QAudioDeviceInfo> devices = QAudioDeviceInfo::availableDevices(mode);
        for (const QAudioDeviceInfo& device : devices) {
            if (device.deviceName() == readable(name)) {
                QVERIFY(!device.isNull());
                QVERIFY(device.isFormatSupported(Utils::audioFormat()));
                QVERIFY(device.supportedCodecs().contains(QStringLiteral("audio/pcm")));
                QVERIFY(device.supportedChannelCounts().contains(1));
                QVERIFY(device.supportedSampleSizes().contains(8));
                QVERIFY(device.preferredFormat().isValid());
            }
        }
    }
}

void TestRecordingLive::ownService()
{
    QVERIFY(qgetenv("QT_MULTIMEDIA_PREFERRED_PLUGINS").startsWith("quelmarcapture"));
    const QAudioRecorder any;
    QVERIFY(any.isAvailable());
    QCOMPARE(any.supportedAudioCodecs(), QStringList(QStringLiteral("audio/pcm")));
    QCOMPARE(any.supportedContainers(), QStringList(QStringLiteral("audio/x-wav")));
    bool continuous = false;
    QVERIFY(any.supportedAudioSampleRates(QAudioEncoderSettings(), &continuous).contains(22050));
    QVERIFY(continuous);
}

void TestRecordingLive::recordsTheTone()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    QVERIFY2(server->feedTone(sensor, 440.0, 100.0), qPrintable(server->errorText()));
    const QByteArray wav = record();
    QCOMPARE(recorder()->audioInput(), readable(sensor.input));
    QCOMPARE(recorder()->volume(), 0.9);
    QCOMPARE(wav.size(), 66194);
    QCOMPARE(wav.left(44), Utils::wavHeader(signalSize));
    const QByteArray samples = wav.mid(44);
    QVERIFY(qAbs(SoundServer::dominantFrequency(samples) - 440.0) <= 1.0);
    // A sine of 100 at 0.9, and nothing but the sine.
    const double loudness = SoundServer::loudness(samples);
    QVERIFY2(qAbs(loudness - 100.0 * 0.9 / M_SQRT2) < 3.0, qPrintable(QString::number(loudness)));
    QCOMPARE(recorder()->state(), QMediaRecorder::StoppedState);
}

void TestRecordingLive::olderSensor()
{
    SoundServer::Sensor sensor;
    plug(&sensor, QStringLiteral("C-Media_USB_Headphone_Set"), QStringLiteral("C0001"));
    QVERIFY2(server->feedTone(sensor, 440.0, 100.0), qPrintable(server->errorText()));
    const QByteArray samples = record().mid(44);
    QCOMPARE(recorder()->audioInput(), readable(sensor.input));
    QCOMPARE(recorder()->volume(), 0.5);
    QCOMPARE(samples.size(), signalSize);
    QVERIFY(qAbs(SoundServer::dominantFrequency(samples) - 440.0) <= 1.0);
    const double loudness = SoundServer::loudness(samples);
    QVERIFY2(qAbs(loudness - 100.0 * 0.5 / M_SQRT2) < 3.0, qPrintable(QString::number(loudness)));
}

void TestRecordingLive::firstInputOfTheList()
{
    SoundServer::Sensor older;
    SoundServer::Sensor newer;
    plug(&older, QStringLiteral("C-Media_USB_Headphone_Set"), QStringLiteral("C0001"));
    plug(&newer);
    const QStringList inputs = recorder()->audioInputs();
    const bool olderFirst = inputs.indexOf(readable(older.input)) < inputs.indexOf(readable(newer.input));
    // Else the order of the inputs and the order of the sensors' names could not be told apart.
    QVERIFY(olderFirst);
    button(QStringLiteral("buttonStartRecord"))->click();
    QCOMPARE(recorder()->audioInput(), readable(older.input));
    QCOMPARE(recorder()->volume(), 0.5);
    button(QStringLiteral("buttonCancelRecord"))->click();
}

void TestRecordingLive::laterVersion()
{
    SoundServer::Sensor sensor;
    plug(&sensor, QStringLiteral("Quelmar_USB_v2.3"), QStringLiteral("Q0002"));
    button(QStringLiteral("buttonStartRecord"))->click();
    QCOMPARE(recorder()->audioInput(), readable(sensor.input));
    QCOMPARE(recorder()->volume(), 0.9);
    QCOMPARE(recorder()->state(), QMediaRecorder::RecordingState);
    button(QStringLiteral("buttonCancelRecord"))->click();
    QCOMPARE(recorder()->state(), QMediaRecorder::StoppedState);
}

void TestRecordingLive::recordAgain()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    QVERIFY2(server->feedTone(sensor, 440.0), qPrintable(server->errorText()));
    button(QStringLiteral("buttonStartRecord"))->click();
    QTRY_VERIFY_WITH_TIMEOUT(isConfirming(), limit);
    QVERIFY2(server->feedTone(sensor, 1000.0), qPrintable(server->errorText()));
    button(QStringLiteral("buttonRerecord"))->click();
    QVERIFY(!isConfirming());
    const QByteArray samples = record().mid(44);
    QCOMPARE(samples.size(), signalSize);
    QVERIFY(qAbs(SoundServer::dominantFrequency(samples) - 1000.0) <= 1.0);
}

void TestRecordingLive::cancelWhileRecording()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    QAudioProbe probe;
    QVERIFY(probe.setSource(recorder()));
    const QSignalSpy buffers(&probe, &QAudioProbe::audioBufferProbed);
    button(QStringLiteral("buttonStartRecord"))->click();
    QTRY_VERIFY_WITH_TIMEOUT(buffers.count() > 2, limit);
    button(QStringLiteral("buttonCancelRecord"))->click();
    QVERIFY(!dialog->isVisible());
    QCOMPARE(recorder()->state(), QMediaRecorder::StoppedState);
    const int count = buffers.count();
    QTest::qWait(500);
    QCOMPARE(buffers.count(), count);
}

void TestRecordingLive::escapeWhileRecording()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    button(QStringLiteral("buttonStartRecord"))->click();
    QTRY_VERIFY_WITH_TIMEOUT(recorder()->duration() > 0, limit);
    QTest::keyClick(dialog.get(), Qt::Key_Escape);
    QVERIFY(!dialog->isVisible());
    // Nothing was stopped: the recording comes to its own end.
    QCOMPARE(recorder()->state(), QMediaRecorder::RecordingState);
    QTRY_COMPARE_WITH_TIMEOUT(recorder()->state(), QMediaRecorder::StoppedState, limit);
    QVERIFY(isConfirming());
}

void TestRecordingLive::deletedWhileRecording()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    for (int i = 0; i < 3; ++i) {
        dialog = std::make_unique<AudioRecorder>(nullptr, false);
        dialog->show();
        button(QStringLiteral("buttonStartRecord"))->click();
        QTRY_VERIFY_WITH_TIMEOUT(recorder()->duration() > 0, limit);
        QTest::keyClick(dialog.get(), Qt::Key_Escape);
        dialog.reset();
        QTest::qWait(200);
    }
}

void TestRecordingLive::volumeWhileRecording()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    QVERIFY2(server->feedTone(sensor, 440.0, 100.0), qPrintable(server->errorText()));
    QAudioRecorder direct;
    QAudioProbe probe;
    QVERIFY(probe.setSource(&direct));
    QByteArray samples;
    connect(&probe, &QAudioProbe::audioBufferProbed, this,
            [&samples](const QAudioBuffer& buffer) { samples.append(buffer.constData<char>(), buffer.byteCount()); });
    direct.setEncodingSettings(settingsOf(QStringLiteral("audio/pcm")));
    direct.setAudioInput(readable(sensor.input));
    direct.record();
    const auto loud = [&samples] { return SoundServer::loudness(samples.right(2205)); };
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(loud() - 100.0 / M_SQRT2) < 3.0, limit);
    direct.setVolume(0.5);
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(loud() - 50.0 / M_SQRT2) < 3.0, limit);
    direct.setMuted(true);
    QVERIFY(direct.isMuted());
    QTRY_VERIFY_WITH_TIMEOUT(loud() < 1.0, limit);
    direct.setMuted(false);
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(loud() - 50.0 / M_SQRT2) < 3.0, limit);
    direct.stop();
}

void TestRecordingLive::pause()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    QAudioRecorder direct;
    QAudioProbe probe;
    QVERIFY(probe.setSource(&direct));
    const QSignalSpy buffers(&probe, &QAudioProbe::audioBufferProbed);
    const QSignalSpy states(&direct, &QAudioRecorder::stateChanged);
    direct.setEncodingSettings(settingsOf(QStringLiteral("audio/pcm")));
    direct.setAudioInput(readable(sensor.input));
    direct.pause();
    QCOMPARE(direct.state(), QMediaRecorder::StoppedState);
    direct.record();
    direct.record();
    QTRY_VERIFY_WITH_TIMEOUT(buffers.count() > 1, limit);
    direct.pause();
    QCOMPARE(direct.state(), QMediaRecorder::PausedState);
    QCOMPARE(direct.status(), QMediaRecorder::PausedStatus);
    QTest::qWait(200);
    const int count = buffers.count();
    QTest::qWait(300);
    QCOMPARE(buffers.count(), count);
    direct.record();
    QTRY_VERIFY_WITH_TIMEOUT(buffers.count() > count, limit);
    direct.stop();
    direct.stop();
    QCOMPARE(direct.state(), QMediaRecorder::StoppedState);
    QCOMPARE(states.count(), 4);
}

void TestRecordingLive::samplesUnderWayWhenStopped()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    QAudioRecorder direct;
    QAudioProbe probe;
    QVERIFY(probe.setSource(&direct));
    const QSignalSpy buffers(&probe, &QAudioProbe::audioBufferProbed);
    direct.setEncodingSettings(settingsOf(QStringLiteral("audio/pcm")));
    direct.setAudioInput(readable(sensor.input));
    direct.record();
    QTRY_VERIFY_WITH_TIMEOUT(buffers.count() > 1, limit);
    // After a sleep the input's timer comes first, then this one, and only then what the input has posted.
    int atStop = -1;
    QTimer::singleShot(400, Qt::PreciseTimer, this, [&] {
        direct.stop();
        atStop = buffers.count();
    });
    QThread::msleep(800);
    QTRY_VERIFY_WITH_TIMEOUT(atStop >= 0, limit);
    QTest::qWait(300);
    QCOMPARE(buffers.count(), atStop);
}

void TestRecordingLive::otherQuality()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    QAudioRecorder direct;
    QAudioProbe probe;
    QVERIFY(probe.setSource(&direct));
    QAudioFormat format;
    connect(&probe, &QAudioProbe::audioBufferProbed, this,
            [&format](const QAudioBuffer& buffer) { format = buffer.format(); });
    QAudioEncoderSettings settings = settingsOf(QStringLiteral("audio/pcm"));
    settings.setQuality(QMultimedia::HighQuality);
    direct.setEncodingSettings(settings);
    direct.setAudioInput(readable(sensor.input));
    direct.record();
    QTRY_VERIFY_WITH_TIMEOUT(format.isValid(), limit);
    direct.stop();
    QCOMPARE(format.sampleSize(), 16);
    QCOMPARE(format.sampleType(), QAudioFormat::SignedInt);
    QCOMPARE(format.sampleRate(), 22050);
}

void TestRecordingLive::whatItOffers()
{
    const QAudioRecorder direct;
    QCOMPARE(direct.supportedAudioCodecs(), QStringList(QStringLiteral("audio/pcm")));
    QCOMPARE(direct.audioCodecDescription(QStringLiteral("audio/pcm")), QStringLiteral("Linear PCM"));
    QCOMPARE(direct.audioCodecDescription(QStringLiteral("audio/vorbis")), QString());
    QCOMPARE(direct.supportedContainers(), QStringList(QStringLiteral("audio/x-wav")));
    QCOMPARE(direct.containerDescription(QStringLiteral("audio/x-wav")), QStringLiteral("WAV file"));
    QCOMPARE(direct.containerDescription(QStringLiteral("video/mp4")), QString());
}

void TestRecordingLive::stopFromProbe()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    QAudioRecorder direct;
    QAudioProbe probe;
    QVERIFY(probe.setSource(&direct));
    int buffers = 0;
    connect(&probe, &QAudioProbe::audioBufferProbed, this, [&](const QAudioBuffer& buffer) {
        ++buffers;
        QCOMPARE(buffer.format(), Utils::audioFormat());
        direct.stop();
        direct.stop();
    });
    direct.setEncodingSettings(settingsOf(QStringLiteral("audio/pcm")));
    direct.setAudioInput(readable(sensor.input));
    for (int i = 1; i <= 5; ++i) {
        direct.record();
        QTRY_COMPARE_WITH_TIMEOUT(buffers, i, limit);
        QCOMPARE(direct.state(), QMediaRecorder::StoppedState);
    }
    QTest::qWait(300);
    QCOMPARE(buffers, 5);
}

void TestRecordingLive::deletedFromProbe()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    auto* direct = new QAudioRecorder;
    QAudioProbe probe;
    QVERIFY(probe.setSource(direct));
    connect(&probe, &QAudioProbe::audioBufferProbed, this, [&direct] {
        delete direct;
        direct = nullptr;
    });
    direct->setEncodingSettings(settingsOf(QStringLiteral("audio/pcm")));
    direct->setAudioInput(readable(sensor.input));
    direct->record();
    QTRY_VERIFY_WITH_TIMEOUT(direct == nullptr, limit);
}

void TestRecordingLive::unknownCodec()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    QAudioRecorder direct;
    const QSignalSpy errors(&direct, QOverload<QMediaRecorder::Error>::of(&QMediaRecorder::error));
    direct.setEncodingSettings(settingsOf(QStringLiteral("audio/vorbis")));
    direct.setAudioInput(readable(sensor.input));
    direct.record();
    QCOMPARE(errors.count(), 1);
    QCOMPARE(direct.error(), QMediaRecorder::FormatError);
    QCOMPARE(direct.state(), QMediaRecorder::StoppedState);
}

void TestRecordingLive::unknownInput()
{
    QAudioRecorder direct;
    const QSignalSpy errors(&direct, QOverload<QMediaRecorder::Error>::of(&QMediaRecorder::error));
    direct.setEncodingSettings(settingsOf(QStringLiteral("audio/pcm")));
    direct.setAudioInput(QStringLiteral("no such input"));
    direct.record();
    QCOMPARE(errors.count(), 1);
    QCOMPARE(direct.error(), QMediaRecorder::ResourceError);
    QCOMPARE(direct.state(), QMediaRecorder::StoppedState);
    direct.stop();
}

void TestRecordingLive::fileOnlyWithLocation()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    QVERIFY2(server->feedTone(sensor, 440.0), qPrintable(server->errorText()));
    QTemporaryDir files;
    const QString path = files.filePath(QStringLiteral("capture.wav"));
    QAudioRecorder direct;
    QAudioProbe probe;
    QVERIFY(probe.setSource(&direct));
    QByteArray samples;
    connect(&probe, &QAudioProbe::audioBufferProbed, this,
            [&samples](const QAudioBuffer& buffer) { samples.append(buffer.constData<char>(), buffer.byteCount()); });
    direct.setEncodingSettings(settingsOf(QStringLiteral("audio/pcm")));
    direct.setAudioInput(readable(sensor.input));
    QVERIFY(!direct.setOutputLocation(QUrl(QStringLiteral("https://example.com/capture.wav"))));
    QVERIFY(direct.setOutputLocation(QUrl::fromLocalFile(path)));
    direct.record();
    QTRY_VERIFY_WITH_TIMEOUT(samples.size() > 11025, limit);
    QCOMPARE(direct.actualLocation(), QUrl::fromLocalFile(path));
    direct.stop();
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll() == Utils::wavHeader(samples.size()) + samples);

    // Where no file can be made, nothing is recorded.
    QVERIFY(direct.setOutputLocation(QUrl::fromLocalFile(files.filePath(QStringLiteral("missing/capture.wav")))));
    direct.record();
    QCOMPARE(direct.error(), QMediaRecorder::ResourceError);
    QCOMPARE(direct.state(), QMediaRecorder::StoppedState);

    // Without a location cleanup() finds no file.
    QVERIFY(direct.setOutputLocation(QUrl()));
    const int before = samples.size();
    direct.record();
    QTRY_VERIFY_WITH_TIMEOUT(samples.size() > before, limit);
    direct.stop();
}

void TestRecordingLive::inputVanishes()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    const QSignalSpy errors(recorder(), QOverload<QMediaRecorder::Error>::of(&QMediaRecorder::error));
    button(QStringLiteral("buttonStartRecord"))->click();
    QTRY_VERIFY_WITH_TIMEOUT(recorder()->duration() > 0, limit);
    server->removeSensor(sensor);
    QTRY_COMPARE_WITH_TIMEOUT(recorder()->state(), QMediaRecorder::StoppedState, limit);
    QCOMPARE(errors.count(), 1);
    // The dialog waits as if nothing had happened, and can be left.
    QVERIFY(dialog->isVisible());
    QVERIFY(!isConfirming());
    button(QStringLiteral("buttonCancelRecord"))->click();
    QVERIFY(!dialog->isVisible());

    // Plugged in again, it works again.
    plugged.clear();
    plug(&sensor);
    QVERIFY2(server->feedTone(sensor, 440.0), qPrintable(server->errorText()));
    dialog = std::make_unique<AudioRecorder>(nullptr, false);
    dialog->show();
    const QByteArray samples = record().mid(44);
    QCOMPARE(samples.size(), signalSize);
    QVERIFY(qAbs(SoundServer::dominantFrequency(samples) - 440.0) <= 1.0);
}

void TestRecordingLive::pauseOfVanishedInput_data()
{
    QTest::addColumn<bool>("paused");
    QTest::newRow("while recording") << false;
    QTest::newRow("while paused") << true;
}

void TestRecordingLive::pauseOfVanishedInput()
{
    QFETCH(bool, paused);
    SoundServer::Sensor sensor;
    plug(&sensor);
    QAudioRecorder direct;
    direct.setEncodingSettings(settingsOf(QStringLiteral("audio/pcm")));
    direct.setAudioInput(readable(sensor.input));
    direct.record();
    QTRY_VERIFY_WITH_TIMEOUT(direct.duration() > 0, limit);
    if (paused) {
        direct.pause();
        QCOMPARE(direct.state(), QMediaRecorder::PausedState);
    }
    server->removeSensor(sensor);
    plugged.clear();
    QTRY_VERIFY_WITH_TIMEOUT(!names(QAudio::AudioInput).contains(readable(sensor.input)), limit);
    // Neither waits for the session's own look at the devices.
    if (paused) {
        direct.record();
    } else {
        direct.pause();
    }
    QCOMPARE(direct.state(), QMediaRecorder::StoppedState);
}

void TestRecordingLive::serverEnds()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    button(QStringLiteral("buttonStartRecord"))->click();
    QTRY_VERIFY_WITH_TIMEOUT(recorder()->duration() > 0, limit);
    plugged.clear();
    server->stop();
    QTRY_COMPARE_WITH_TIMEOUT(recorder()->state(), QMediaRecorder::StoppedState, limit);
    QVERIFY(dialog->isVisible());
    button(QStringLiteral("buttonCancelRecord"))->click();
    QVERIFY(!dialog->isVisible());
    // Another try without any server.
    dialog->onRerecord();
    button(QStringLiteral("buttonStartRecord"))->click();
    QTest::qWait(500);
    button(QStringLiteral("buttonCancelRecord"))->click();
}

QTEST_MAIN(TestRecordingLive)
#include "TestRecordingLive.moc"
