// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/backend/CaptureSession.h"

#include <QAudioInput>
#include <QIODevice>

#include <functional>

namespace {

/// Milliseconds. A look at all devices costs some hundredths of a second.
constexpr int watchInterval = 1000;

/// Calls a function with whatever is written to it.
class Sink : public QIODevice
{
public:
    explicit Sink(std::function<void(const QByteArray&)> receiver)
        : receive(std::move(receiver))
    {
        open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }

protected:
    qint64 readData(char*, qint64) override { return -1; } // GCOVR_EXCL_LINE: demanded by the base, and write-only
    qint64 writeData(const char* data, qint64 size) override
    {
        receive(QByteArray(data, static_cast<int>(size)));
        return size;
    }

private:
    std::function<void(const QByteArray&)> receive;
};

QAudioDeviceInfo findInput(const QString& name)
{
    if (name.isEmpty()) {
        return QAudioDeviceInfo::defaultInputDevice();
    }
    const QList<QAudioDeviceInfo> devices = QAudioDeviceInfo::availableDevices(QAudio::AudioInput);
    for (const QAudioDeviceInfo& device : devices) {
        if (device.deviceName() == name) {
            return device;
        }
    }
    return {};
}

} // namespace

CaptureSession::CaptureSession(QObject* parent)
    : QObject(parent)
{
    watch.setInterval(watchInterval);
    connect(&watch, &QTimer::timeout, this, &CaptureSession::watchInput);
}

CaptureSession::~CaptureSession()
{
    blockSignals(true);
    stop();
}

QString CaptureSession::codec()
{
    return QStringLiteral("audio/pcm");
}

qint64 CaptureSession::duration() const
{
    return format.isValid() ? format.durationForBytes(static_cast<qint32>(delivered)) / 1000 : 0;
}

void CaptureSession::setVolume(qreal volume)
{
    inputVolume = qBound(0.0, volume, 1.0);
    applyVolume();
}

void CaptureSession::setMuted(bool mute)
{
    muted = mute;
    applyVolume();
}

void CaptureSession::record()
{
    if (current == QMediaRecorder::RecordingState) {
        return;
    }
    if (current == QMediaRecorder::PausedState) {
        watchInput();
        if (current == QMediaRecorder::PausedState) {
            audioInput->resume();
            setState(QMediaRecorder::RecordingState);
        }
        return;
    }
    if (!encoderSettings.codec().isEmpty() && encoderSettings.codec() != codec()) {
        fail(QMediaRecorder::FormatError, QStringLiteral("Only linear PCM can be captured"));
        return;
    }
    device = findInput(inputName);
    if (device.isNull()) {
        fail(QMediaRecorder::ResourceError, QStringLiteral("There is no such audio input"));
        return;
    }
    format = requestedFormat();
    delivered = 0;
    if (!outputLocation.isEmpty()) {
        if (!file.open(outputLocation.toLocalFile(), format)) {
            fail(QMediaRecorder::ResourceError, QStringLiteral("The file cannot be written"));
            return;
        }
        emit fileOpened(outputLocation);
    }

    sink = std::make_unique<Sink>([this](const QByteArray& bytes) { receive(bytes); });
    audioInput = std::make_unique<QAudioInput>(device, format);
    applyVolume();
    // Queued: the input tells its state from inside its own code, where it must not be deleted.
    connect(audioInput.get(), &QAudioInput::stateChanged, this, &CaptureSession::inputStateChanged,
            Qt::QueuedConnection);
    audioInput->start(sink.get());
    if (audioInput->error() != QAudio::NoError && audioInput->state() == QAudio::StoppedState) {
        stop();
        fail(QMediaRecorder::ResourceError, QStringLiteral("The audio input cannot be opened"));
        return;
    }
    watch.start();
    setState(QMediaRecorder::RecordingState);
}

void CaptureSession::pause()
{
    if (current != QMediaRecorder::RecordingState) {
        return;
    }
    // Qt's plugin for PulseAudio aborts the process if it is to pause a stream that died with its device.
    watchInput();
    if (current == QMediaRecorder::RecordingState) {
        audioInput->suspend();
        setState(QMediaRecorder::PausedState);
    }
}

void CaptureSession::stop()
{
    watch.stop();
    if (audioInput != nullptr) {
        audioInput->disconnect(this);
        audioInput->stop();
        audioInput.reset();
        sink.reset();
    }
    pending.clear();
    file.close();
    setState(QMediaRecorder::StoppedState);
}

QAudioFormat CaptureSession::requestedFormat() const
{
    QAudioFormat result = device.preferredFormat();
    result.setCodec(codec());
    result.setByteOrder(QAudioFormat::LittleEndian);
    if (encoderSettings.sampleRate() > 0) {
        result.setSampleRate(encoderSettings.sampleRate());
    }
    if (encoderSettings.channelCount() > 0) {
        result.setChannelCount(encoderSettings.channelCount());
    }
    if (encoderSettings.quality() <= QMultimedia::LowQuality) {
        result.setSampleSize(8);
        result.setSampleType(QAudioFormat::UnSignedInt);
    } else {
        result.setSampleSize(16);
        result.setSampleType(QAudioFormat::SignedInt);
    }
    return result;
}

void CaptureSession::receive(const QByteArray& bytes)
{
    // Whoever gets the samples may stop the input, which must not happen while the input still writes: they are
    // handed out from the event loop.
    if (pending.isEmpty()) {
        QMetaObject::invokeMethod(this, &CaptureSession::deliver, Qt::QueuedConnection);
    }
    pending.append(bytes);
}

void CaptureSession::deliver()
{
    if (pending.isEmpty()) {
        return;
    }
    QByteArray bytes;
    bytes.swap(pending);
    const QAudioBuffer buffer(bytes, format, format.durationForBytes(static_cast<qint32>(delivered)));
    delivered += bytes.size();
    file.append(bytes);
    emit captured(buffer);
}

void CaptureSession::inputStateChanged(QAudio::State state)
{
    if (state == QAudio::StoppedState && current != QMediaRecorder::StoppedState) {
        stop();
        fail(QMediaRecorder::ResourceError, QStringLiteral("The audio input has ended"));
    }
}

void CaptureSession::watchInput()
{
    // A sound server that loses a device tells the input nothing, or gives it another device without a word.
    if (!QAudioDeviceInfo::availableDevices(QAudio::AudioInput).contains(device)) {
        stop();
        fail(QMediaRecorder::ResourceError, QStringLiteral("The audio input has vanished"));
    }
}

void CaptureSession::setState(QMediaRecorder::State state)
{
    if (state != current) {
        current = state;
        emit stateChanged(state);
    }
}

void CaptureSession::fail(QMediaRecorder::Error error, const QString& text)
{
    emit failed(error, text);
}

void CaptureSession::applyVolume()
{
    if (audioInput != nullptr) {
        audioInput->setVolume(muted ? 0.0 : inputVolume);
    }
}

#include "moc_CaptureSession.cpp"
