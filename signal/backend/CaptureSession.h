// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "signal/backend/WavFile.h"

#include <QAudio>
#include <QAudioBuffer>
#include <QAudioDeviceInfo>
#include <QAudioEncoderSettings>
#include <QAudioFormat>
#include <QByteArray>
#include <QMediaRecorder>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>

#include <memory>

class QAudioInput;
class QIODevice;

/// Takes plain PCM from an audio input, for as long as it is told to.
class CaptureSession : public QObject
{
    Q_OBJECT

signals:
    /// Never comes from inside the input's own code, so that the receiver may stop the session or delete it.
    void captured(const QAudioBuffer& buffer);
    void stateChanged(QMediaRecorder::State state);
    void failed(QMediaRecorder::Error error, const QString& text);
    void fileOpened(const QUrl& location);

public:
    explicit CaptureSession(QObject* parent);
    ~CaptureSession() override;

    /// The one codec of the capture, "audio/pcm".
    static QString codec();

    QMediaRecorder::State state() const { return current; }
    /// Milliseconds captured since the start.
    qint64 duration() const;

    /// Taken at the next start. What they leave open is chosen by the input; low quality means 8 unsigned bits.
    const QAudioEncoderSettings& settings() const { return encoderSettings; }
    void setSettings(const QAudioEncoderSettings& settings) { encoderSettings = settings; }
    /// Device name of the input to start with; empty for the system's default.
    const QString& input() const { return inputName; }
    void setInput(const QString& name) { inputName = name; }
    /// The file to write beside the capture; empty for none.
    const QUrl& location() const { return outputLocation; }
    void setLocation(const QUrl& location) { outputLocation = location; }

    /// 0 to 1, at once.
    qreal volume() const { return inputVolume; }
    void setVolume(qreal volume);
    bool isMuted() const { return muted; }
    void setMuted(bool mute);

    /// Starts, or goes on after a pause. Without a usable input the session fails and stays stopped; it stops and
    /// fails also when the input vanishes, within two seconds.
    void record();
    void pause();
    /// What was captured and not yet handed out is dropped. May be called at any time, also when stopped.
    void stop();

private:
    QAudioFormat requestedFormat() const;
    void receive(const QByteArray& bytes);
    void deliver();
    void inputStateChanged(QAudio::State state);
    void watchInput();
    void setState(QMediaRecorder::State state);
    void fail(QMediaRecorder::Error error, const QString& text);
    void applyVolume();

    QAudioEncoderSettings encoderSettings;
    QString inputName;
    QUrl outputLocation;
    qreal inputVolume = 1.0;
    bool muted = false;
    QMediaRecorder::State current = QMediaRecorder::StoppedState;

    /// Where the input writes; it lives as long as the input.
    std::unique_ptr<QIODevice> sink;
    std::unique_ptr<QAudioInput> audioInput;
    QAudioDeviceInfo device;
    QAudioFormat format;
    QTimer watch;
    WavFile file;
    /// Captured and not yet handed out.
    QByteArray pending;
    qint64 delivered = 0;
};
