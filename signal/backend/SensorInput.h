// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAudioDeviceInfo>
#include <QAudioInput>
#include <QAudioSystemPlugin>

#include <memory>

/// Leaves all work to an ordinary input on the device that it was made for. Qt sets the format once, before all else;
/// until then it is stopped.
class SensorInput : public QAbstractAudioInput
{
    Q_OBJECT

public:
    explicit SensorInput(const QAudioDeviceInfo& device);

    void start(QIODevice* target) override;
    QIODevice* start() override;
    void stop() override;
    void reset() override;
    void suspend() override;
    void resume() override;
    int bytesReady() const override;
    int periodSize() const override;
    void setBufferSize(int value) override;
    int bufferSize() const override;
    void setNotifyInterval(int milliSeconds) override;
    int notifyInterval() const override;
    qint64 processedUSecs() const override;
    qint64 elapsedUSecs() const override;
    QAudio::Error error() const override;
    QAudio::State state() const override;
    void setFormat(const QAudioFormat& format) override;
    QAudioFormat format() const override;
    void setVolume(qreal volume) override;
    qreal volume() const override;

private:
    QAudioDeviceInfo device;
    std::unique_ptr<QAudioInput> input;
};
