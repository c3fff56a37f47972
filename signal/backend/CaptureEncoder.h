// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAudioEncoderSettingsControl>

class CaptureSession;

/// The sample format of the capture, told by encoder settings of the codec "audio/pcm".
class CaptureEncoder : public QAudioEncoderSettingsControl
{
    Q_OBJECT

public:
    CaptureEncoder(CaptureSession* session, QObject* parent);

    QStringList supportedAudioCodecs() const override;
    QString codecDescription(const QString& codec) const override;
    QList<int> supportedSampleRates(const QAudioEncoderSettings& settings, bool* continuous) const override;
    QAudioEncoderSettings audioSettings() const override;
    void setAudioSettings(const QAudioEncoderSettings& settings) override;

private:
    CaptureSession* session;
};
