// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAudioSystemPlugin>

/// Lists the sensors among the audio devices a second time, under their readable names: sound servers allow no blank
/// in a device name and put underscores. The work is left to the device itself.
class SensorPlugin : public QAudioSystemPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QAudioSystemFactoryInterface_iid FILE "sensor.json")

public:
    /// Readable names. The monitor of an output is no sensor.
    QList<QByteArray> availableDevices(QAudio::Mode mode) const override;
    /// Never null; an input without a device behind it stays stopped. The caller owns it.
    QAbstractAudioInput* createInput(const QByteArray& device) override;
    /// Never null; an output without a device behind it stays stopped. The caller owns it.
    QAbstractAudioOutput* createOutput(const QByteArray& device) override;
    /// Never null. The caller owns it.
    QAbstractAudioDeviceInfo* createDeviceInfo(const QByteArray& device, QAudio::Mode mode) override;
};
