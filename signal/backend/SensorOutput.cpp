// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/backend/SensorOutput.h"

SensorOutput::SensorOutput(const QAudioDeviceInfo& deviceBehind)
    : device(deviceBehind)
{
}

void SensorOutput::setFormat(const QAudioFormat& format)
{
    output = std::make_unique<QAudioOutput>(device, format);
    connect(output.get(), &QAudioOutput::stateChanged, this, &SensorOutput::stateChanged);
    connect(output.get(), &QAudioOutput::notify, this, &SensorOutput::notify);
}

void SensorOutput::start(QIODevice* source)
{
    if (output != nullptr) {
        output->start(source);
    }
}

QIODevice* SensorOutput::start()
{
    return output != nullptr ? output->start() : nullptr;
}

void SensorOutput::stop()
{
    if (output != nullptr) {
        output->stop();
    }
}

void SensorOutput::reset()
{
    if (output != nullptr) {
        output->reset();
    }
}

void SensorOutput::suspend()
{
    if (output != nullptr) {
        output->suspend();
    }
}

void SensorOutput::resume()
{
    if (output != nullptr) {
        output->resume();
    }
}

int SensorOutput::bytesFree() const
{
    return output != nullptr ? output->bytesFree() : 0;
}

int SensorOutput::periodSize() const
{
    return output != nullptr ? output->periodSize() : 0;
}

void SensorOutput::setBufferSize(int value)
{
    if (output != nullptr) {
        output->setBufferSize(value);
    }
}

int SensorOutput::bufferSize() const
{
    return output != nullptr ? output->bufferSize() : 0;
}

void SensorOutput::setNotifyInterval(int milliSeconds)
{
    if (output != nullptr) {
        output->setNotifyInterval(milliSeconds);
    }
}

int SensorOutput::notifyInterval() const
{
    return output != nullptr ? output->notifyInterval() : 0;
}

qint64 SensorOutput::processedUSecs() const
{
    return output != nullptr ? output->processedUSecs() : 0;
}

qint64 SensorOutput::elapsedUSecs() const
{
    return output != nullptr ? output->elapsedUSecs() : 0;
}

QAudio::Error SensorOutput::error() const
{
    return output != nullptr ? output->error() : QAudio::OpenError;
}

QAudio::State SensorOutput::state() const
{
    return output != nullptr ? output->state() : QAudio::StoppedState;
}

QAudioFormat SensorOutput::format() const
{
    return output != nullptr ? output->format() : QAudioFormat();
}

void SensorOutput::setVolume(qreal volume)
{
    if (output != nullptr) {
        output->setVolume(volume);
    }
}

qreal SensorOutput::volume() const
{
    return output != nullptr ? output->volume() : 1.0;
}

QString SensorOutput::category() const
{
    return output != nullptr ? output->category() : QString();
}

void SensorOutput::setCategory(const QString& category)
{
    if (output != nullptr) {
        output->setCategory(category);
    }
}

#include "moc_SensorOutput.cpp"
