// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMediaAudioProbeControl>

class CaptureSession;

/// Hands each captured buffer to the probes.
class CaptureProbe : public QMediaAudioProbeControl
{
    Q_OBJECT

public:
    CaptureProbe(CaptureSession* session, QObject* parent);
};
