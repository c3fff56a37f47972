// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMediaService>

class CaptureContainer;
class CaptureEncoder;
class CaptureInputs;
class CaptureProbe;
class CaptureRecorder;
class CaptureSession;

/// What stands behind one QAudioRecorder: a capture session and the controls through which Qt reaches it.
class CaptureService : public QMediaService
{
    Q_OBJECT

public:
    explicit CaptureService(QObject* parent = nullptr);

    /// The control stays the service's.
    QMediaControl* requestControl(const char* name) override;
    void releaseControl(QMediaControl* control) override;

private:
    CaptureSession* session;
    CaptureRecorder* recorder;
    CaptureEncoder* encoder;
    CaptureContainer* container;
    CaptureInputs* inputs;
    CaptureProbe* probe;
};
