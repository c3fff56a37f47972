// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/backend/CaptureProbe.h"

#include "signal/backend/CaptureSession.h"

CaptureProbe::CaptureProbe(CaptureSession* session, QObject* parent)
    : QMediaAudioProbeControl(parent)
{
    connect(session, &CaptureSession::captured, this, &QMediaAudioProbeControl::audioBufferProbed);
}

#include "moc_CaptureProbe.cpp"
