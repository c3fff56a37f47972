// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/backend/CaptureEncoder.h"

#include "signal/backend/CaptureSession.h"

CaptureEncoder::CaptureEncoder(CaptureSession* captureSession, QObject* parent)
    : QAudioEncoderSettingsControl(parent)
    , session(captureSession)
{
}

QStringList CaptureEncoder::supportedAudioCodecs() const
{
    return {CaptureSession::codec()};
}

QString CaptureEncoder::codecDescription(const QString& codec) const
{
    return codec == CaptureSession::codec() ? QStringLiteral("Linear PCM") : QString();
}

QList<int> CaptureEncoder::supportedSampleRates(const QAudioEncoderSettings&, bool* continuous) const
{
    // The sound server resamples, so that any rate will do; these are the common ones.
    if (continuous != nullptr) {
        *continuous = true;
    }
    return {8000, 11025, 16000, 22050, 32000, 44100, 48000};
}

QAudioEncoderSettings CaptureEncoder::audioSettings() const
{
    return session->settings();
}

void CaptureEncoder::setAudioSettings(const QAudioEncoderSettings& settings)
{
    session->setSettings(settings);
}

#include "moc_CaptureEncoder.cpp"
