// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/backend/SensorInput.h"

SensorInput::SensorInput(const QAudioDeviceInfo& deviceBehind)
    : device(deviceBehind)
{
}

void SensorInput::setFormat(const QAudioFormat& format)
{
    input = std::make_unique<QAudioInput>(device, format);
    connect(input.get(), &QAudioInput::stateChanged, this, &SensorInput::stateChanged);
    connect(input.get(), &QAudioInput::notify, this, &SensorInput::notify);
}

void SensorInput::start(QIODevice* target)
{
    if (input != nullptr) {
        input->start(target);
    }
}

QIODevice* SensorInput::start()
{
    return input != nullptr ? input->start() : nullptr;
}

void SensorInput::stop()
{
    if (input != nullptr) {
        input->stop();
    }
}

void SensorInput::reset()
{
    if (input != nullptr) {
        input->reset();
    }
}

void SensorInput::suspend()
{
    if (input != nullptr) {
        input->suspend();
    }
}

void SensorInput::resume()
{
    if (input != nullptr) {
        input->resume();
    }
}

int SensorInput::bytesReady() const
{
    return input != nullptr ? input->bytesReady() : 0;
}

int SensorInput::periodSize() const
{
    return input != nullptr ? input->periodSize() : 0;
}

void SensorInput::setBufferSize(int value)
{
    if (input != nullptr) {
        input->setBufferSize(value);
    }
}

int SensorInput::bufferSize() const
{
    return input != nullptr ? input->bufferSize() : 0;
}

void SensorInput::setNotifyInterval(int milliSeconds)
{
    if (input != nullptr) {
        input->setNotifyInterval(milliSeconds);
    }
}

int SensorInput::notifyInterval() const
{
    return input != nullptr ? input->notifyInterval() : 0;
}

qint64 SensorInput::processedUSecs() const
{
    return input != nullptr ? input->processedUSecs() : 0;
}

qint64 SensorInput::elapsedUSecs() const
{
    return input != nullptr ? input->elapsedUSecs() : 0;
}

QAudio::Error SensorInput::error() const
{
    return input != nullptr ? input->error() : QAudio::OpenError;
}

QAudio::State SensorInput::state() const
{
    return input != nullptr ? input->state() : QAudio::StoppedState;
}

QAudioFormat SensorInput::format() const
{
    return input != nullptr ? input->format() : QAudioFormat();
}

void SensorInput::setVolume(qreal volume)
{
    if (input != nullptr) {
        input->setVolume(volume);
    }
}

qreal SensorInput::volume() const
{
    return input != nullptr ? input->volume() : 1.0;
}

#include "moc_SensorInput.cpp"
