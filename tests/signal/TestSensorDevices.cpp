// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/Utils.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/SoundServer.h"

#include <QAudioDeviceInfo>
#include <QAudioInput>
#include <QAudioOutput>
#include <QSignalSpy>
#include <QTest>

#include <memory>

/// A sensor under its readable name is an audio device like any other: whatever Qt's audio classes offer reaches the
/// device of the sound server that stands behind it.
class TestSensorDevices : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void cleanup() { guard->verify(); }

    void abilities_data();
    void abilities();
    void inputIsRead();
    void inputSettings();
    void inputIsReset();
    void outputIsWritten();
    void outputSettings();
    void outputIsReset();
    void gone();

private:
    /// Null if there is none of that name.
    static QAudioDeviceInfo device(QAudio::Mode mode, const QString& name);
    QAudioDeviceInfo readable(QAudio::Mode mode) const
    {
        QString name = mode == QAudio::AudioInput ? sensor.input : sensor.output;
        return device(mode, name.replace(QLatin1Char('_'), QLatin1Char(' ')));
    }

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<SoundServer> server;
    SoundServer::Sensor sensor;
};

namespace {

constexpr int limit = 60000;

} // namespace

QAudioDeviceInfo TestSensorDevices::device(QAudio::Mode mode, const QString& name)
{
    const QList<QAudioDeviceInfo> devices = QAudioDeviceInfo::availableDevices(mode);
    for (const QAudioDeviceInfo& candidate : devices) {
        if (candidate.deviceName() == name) {
            return candidate;
        }
    }
    return {};
}

void TestSensorDevices::initTestCase()
{
    server = std::make_unique<SoundServer>(SoundServer::kindFromEnvironment());
    QVERIFY2(server->start(), qPrintable(server->errorText()));
    guard = std::make_unique<MessageGuard>();
    QVERIFY2(server->addSensor(&sensor), qPrintable(server->errorText()));
    QTRY_VERIFY_WITH_TIMEOUT(!readable(QAudio::AudioInput).isNull() && !readable(QAudio::AudioOutput).isNull(), limit);
}

void TestSensorDevices::cleanupTestCase()
{
    guard.reset();
    server.reset();
}

void TestSensorDevices::abilities_data()
{
    QTest::addColumn<QAudio::Mode>("mode");
    QTest::newRow("input") << QAudio::AudioInput;
    QTest::newRow("output") << QAudio::AudioOutput;
}

void TestSensorDevices::abilities()
{
    QFETCH(QAudio::Mode, mode);
    const QAudioDeviceInfo shown = readable(mode);
    const QAudioDeviceInfo behind = device(mode, mode == QAudio::AudioInput ? sensor.input : sensor.output);
    QVERIFY(!behind.isNull());
    QVERIFY(shown.deviceName() != behind.deviceName());
    QVERIFY(!behind.supportedCodecs().isEmpty() && !behind.supportedSampleRates().isEmpty());
    QCOMPARE(shown.supportedCodecs(), behind.supportedCodecs());
    QCOMPARE(shown.supportedSampleRates(), behind.supportedSampleRates());
    QCOMPARE(shown.supportedChannelCounts(), behind.supportedChannelCounts());
    QCOMPARE(shown.supportedSampleSizes(), behind.supportedSampleSizes());
    QCOMPARE(shown.supportedByteOrders(), behind.supportedByteOrders());
    QCOMPARE(shown.supportedSampleTypes(), behind.supportedSampleTypes());
    QCOMPARE(shown.preferredFormat(), behind.preferredFormat());
    QVERIFY(shown.isFormatSupported(Utils::audioFormat()));
}

void TestSensorDevices::inputIsRead()
{
    QVERIFY2(server->feedTone(sensor, 440.0), qPrintable(server->errorText()));
    QAudioInput input(readable(QAudio::AudioInput), Utils::audioFormat());
    QCOMPARE(input.state(), QAudio::StoppedState);
    QIODevice* const source = input.start();
    QVERIFY(source != nullptr);
    QByteArray samples;
    bool told = false;
    QTRY_VERIFY_WITH_TIMEOUT(
        (told = told || input.bytesReady() > 0, samples += source->readAll(), samples.size() > 22050), limit);
    QVERIFY(told);
    QVERIFY(input.periodSize() > 0);
    QVERIFY(input.processedUSecs() > 500000);
    QVERIFY(input.elapsedUSecs() > 500000);
    QCOMPARE(input.error(), QAudio::NoError);
    QVERIFY(qAbs(SoundServer::dominantFrequency(samples.right(11025)) - 440.0) < 2.0);
    input.suspend();
    QCOMPARE(input.state(), QAudio::SuspendedState);
    input.resume();
    QVERIFY(input.state() != QAudio::SuspendedState);
    input.stop();
    QCOMPARE(input.state(), QAudio::StoppedState);
    server->stopFeeding();
}

void TestSensorDevices::inputSettings()
{
    QAudioInput input(readable(QAudio::AudioInput), Utils::audioFormat());
    QCOMPARE(input.format(), Utils::audioFormat());
    input.setBufferSize(4000);
    QCOMPARE(input.bufferSize(), 4000);
    input.setNotifyInterval(250);
    QCOMPARE(input.notifyInterval(), 250);
    input.setVolume(0.25);
    QCOMPARE(input.volume(), 0.25);
    const QSignalSpy notes(&input, &QAudioInput::notify);
    QIODevice* const source = input.start();
    QTRY_VERIFY_WITH_TIMEOUT((source->readAll(), notes.count() > 1), limit);
    input.stop();
}

void TestSensorDevices::inputIsReset()
{
    QAudioInput input(readable(QAudio::AudioInput), Utils::audioFormat());
    QIODevice* const source = input.start();
    bool read = false;
    QTRY_VERIFY_WITH_TIMEOUT((read = read || !source->readAll().isEmpty()), limit);
    input.reset();
    QCOMPARE(input.state(), QAudio::StoppedState);
    QCOMPARE(input.bytesReady(), 0);
}

void TestSensorDevices::outputIsWritten()
{
    QVERIFY2(server->startCapture(sensor.output), qPrintable(server->errorText()));
    const QByteArray samples = SoundServer::tone(880.0, 3.0);
    QAudioOutput output(readable(QAudio::AudioOutput), Utils::audioFormat());
    QCOMPARE(output.state(), QAudio::StoppedState);
    QIODevice* const target = output.start();
    QVERIFY(target != nullptr);
    int written = 0;
    QTRY_VERIFY_WITH_TIMEOUT((written += static_cast<int>(target->write(samples.mid(written, output.bytesFree()))),
                              written == samples.size()),
                             limit);
    QVERIFY(output.periodSize() > 0);
    QVERIFY(output.elapsedUSecs() > 0);
    QVERIFY(output.processedUSecs() > 0);
    QCOMPARE(output.error(), QAudio::NoError);
    QTRY_VERIFY_WITH_TIMEOUT(SoundServer::loudness(server->captured().right(11025)) > 50.0, limit);
    QVERIFY(qAbs(SoundServer::dominantFrequency(server->captured().right(11025)) - 880.0) < 2.0);
    output.stop();
    QCOMPARE(output.state(), QAudio::StoppedState);
    server->stopCapture();
}

void TestSensorDevices::outputSettings()
{
    QAudioOutput output(readable(QAudio::AudioOutput), Utils::audioFormat());
    QCOMPARE(output.format(), Utils::audioFormat());
    output.setBufferSize(8000);
    QCOMPARE(output.bufferSize(), 8000);
    output.setNotifyInterval(250);
    QCOMPARE(output.notifyInterval(), 250);
    output.setVolume(0.25);
    QCOMPARE(output.volume(), 0.25);
    output.setCategory(QStringLiteral("production"));
    QCOMPARE(output.category(), QStringLiteral("production"));
}

void TestSensorDevices::outputIsReset()
{
    QAudioOutput output(readable(QAudio::AudioOutput), Utils::audioFormat());
    QIODevice* const target = output.start();
    QVERIFY(target->write(SoundServer::tone(440.0, 0.1)) > 0);
    output.reset();
    QCOMPARE(output.state(), QAudio::StoppedState);
}

/// A device that was listed, and pulled out before it was used.
void TestSensorDevices::gone()
{
    SoundServer::Sensor second;
    QVERIFY2(server->addSensor(&second, QStringLiteral("Quelmar_USB_v2.0"), QStringLiteral("Q0002")),
             qPrintable(server->errorText()));
    const auto find = [&second](QAudio::Mode mode) {
        QString name = mode == QAudio::AudioInput ? second.input : second.output;
        return device(mode, name.replace(QLatin1Char('_'), QLatin1Char(' ')));
    };
    QAudioDeviceInfo listedInput;
    QAudioDeviceInfo listedOutput;
    QTRY_VERIFY_WITH_TIMEOUT(!(listedInput = find(QAudio::AudioInput)).isNull() &&
                                 !(listedOutput = find(QAudio::AudioOutput)).isNull(),
                             limit);
    server->removeSensor(second);
    QTRY_VERIFY_WITH_TIMEOUT(find(QAudio::AudioInput).isNull() && find(QAudio::AudioOutput).isNull(), limit);

    QAudioInput input(listedInput, Utils::audioFormat());
    QVERIFY(input.start() == nullptr);
    QCOMPARE(input.state(), QAudio::StoppedState);
    QCOMPARE(input.error(), QAudio::OpenError);
    QAudioOutput output(listedOutput, Utils::audioFormat());
    QVERIFY(output.start() == nullptr);
    QCOMPARE(output.state(), QAudio::StoppedState);
    QCOMPARE(output.error(), QAudio::OpenError);
}

QTEST_MAIN(TestSensorDevices)

#include "TestSensorDevices.moc"
