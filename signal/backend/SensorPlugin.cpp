// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/backend/SensorPlugin.h"

#include "app/Constants.h"
#include "signal/backend/SensorDeviceInfo.h"
#include "signal/backend/SensorInput.h"
#include "signal/backend/SensorOutput.h"

#include <QAudioDeviceInfo>

namespace {

thread_local bool asking = false;

/// All devices but those of this plugin.
QList<QAudioDeviceInfo> otherDevices(QAudio::Mode mode)
{
    // Qt asks every plugin, this one among them.
    if (asking) {
        return {};
    }
    asking = true;
    const QList<QAudioDeviceInfo> devices = QAudioDeviceInfo::availableDevices(mode);
    asking = false;
    return devices;
}

bool isSensor(const QString& name)
{
    for (const QString& sensor : Constants::DEVICES) {
        if (name.contains(sensor)) {
            return true;
        }
    }
    return false;
}

/// Null if the device's own name serves already or if it is no sensor.
QString readableName(const QAudioDeviceInfo& device)
{
    const QString name = device.deviceName();
    if (name.endsWith(QLatin1String(".monitor")) || isSensor(name)) {
        return {};
    }
    QString readable = name;
    readable.replace(QLatin1Char('_'), QLatin1Char(' '));
    return isSensor(readable) ? readable : QString();
}

/// The device that stands behind a readable name; null if it is gone.
QAudioDeviceInfo deviceBehind(const QByteArray& readable, QAudio::Mode mode)
{
    const QList<QAudioDeviceInfo> devices = otherDevices(mode);
    for (const QAudioDeviceInfo& device : devices) {
        const QString name = readableName(device);
        if (!name.isNull() && name.toUtf8() == readable) {
            return device;
        }
    }
    return {};
}

} // namespace

QList<QByteArray> SensorPlugin::availableDevices(QAudio::Mode mode) const
{
    QList<QByteArray> names;
    const QList<QAudioDeviceInfo> devices = otherDevices(mode);
    for (const QAudioDeviceInfo& device : devices) {
        const QString name = readableName(device);
        if (!name.isNull()) {
            names.append(name.toUtf8());
        }
    }
    return names;
}

QAbstractAudioInput* SensorPlugin::createInput(const QByteArray& device)
{
    return new SensorInput(deviceBehind(device, QAudio::AudioInput));
}

QAbstractAudioOutput* SensorPlugin::createOutput(const QByteArray& device)
{
    return new SensorOutput(deviceBehind(device, QAudio::AudioOutput));
}

QAbstractAudioDeviceInfo* SensorPlugin::createDeviceInfo(const QByteArray& device, QAudio::Mode mode)
{
    return new SensorDeviceInfo(QString::fromUtf8(device), deviceBehind(device, mode));
}

#include "moc_SensorPlugin.cpp"
