// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAudioDeviceInfo>
#include <QAudioSystemPlugin>

/// What a device can do, under another name.
class SensorDeviceInfo : public QAbstractAudioDeviceInfo
{
    Q_OBJECT

public:
    SensorDeviceInfo(const QString& name, const QAudioDeviceInfo& device);

    QAudioFormat preferredFormat() const override;
    bool isFormatSupported(const QAudioFormat& format) const override;
    QString deviceName() const override;
    QStringList supportedCodecs() override;
    QList<int> supportedSampleRates() override;
    QList<int> supportedChannelCounts() override;
    QList<int> supportedSampleSizes() override;
    QList<QAudioFormat::Endian> supportedByteOrders() override;
    QList<QAudioFormat::SampleType> supportedSampleTypes() override;

private:
    QString name;
    QAudioDeviceInfo device;
};
