// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/backend/SensorDeviceInfo.h"

SensorDeviceInfo::SensorDeviceInfo(const QString& readableName, const QAudioDeviceInfo& deviceBehind)
    : name(readableName)
    , device(deviceBehind)
{
}

QAudioFormat SensorDeviceInfo::preferredFormat() const
{
    return device.preferredFormat();
}

bool SensorDeviceInfo::isFormatSupported(const QAudioFormat& format) const
{
    return device.isFormatSupported(format);
}

QString SensorDeviceInfo::deviceName() const
{
    return name;
}

QStringList SensorDeviceInfo::supportedCodecs()
{
    return device.supportedCodecs();
}

QList<int> SensorDeviceInfo::supportedSampleRates()
{
    return device.supportedSampleRates();
}

QList<int> SensorDeviceInfo::supportedChannelCounts()
{
    return device.supportedChannelCounts();
}

QList<int> SensorDeviceInfo::supportedSampleSizes()
{
    return device.supportedSampleSizes();
}

QList<QAudioFormat::Endian> SensorDeviceInfo::supportedByteOrders()
{
    return device.supportedByteOrders();
}

QList<QAudioFormat::SampleType> SensorDeviceInfo::supportedSampleTypes()
{
    return device.supportedSampleTypes();
}

#include "moc_SensorDeviceInfo.cpp"
