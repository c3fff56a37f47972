// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/backend/CaptureService.h"

#include "signal/backend/CaptureContainer.h"
#include "signal/backend/CaptureEncoder.h"
#include "signal/backend/CaptureInputs.h"
#include "signal/backend/CaptureProbe.h"
#include "signal/backend/CaptureRecorder.h"
#include "signal/backend/CaptureSession.h"

CaptureService::CaptureService(QObject* parent)
    : QMediaService(parent)
    , session(new CaptureSession(this))
    , recorder(new CaptureRecorder(session, this))
    , encoder(new CaptureEncoder(session, this))
    , container(new CaptureContainer(this))
    , inputs(new CaptureInputs(session, this))
    , probe(new CaptureProbe(session, this))
{
}

QMediaControl* CaptureService::requestControl(const char* name)
{
    if (qstrcmp(name, QMediaRecorderControl_iid) == 0) {
        return recorder;
    }
    if (qstrcmp(name, QAudioEncoderSettingsControl_iid) == 0) {
        return encoder;
    }
    if (qstrcmp(name, QMediaContainerControl_iid) == 0) {
        return container;
    }
    if (qstrcmp(name, QAudioInputSelectorControl_iid) == 0) {
        return inputs;
    }
    if (qstrcmp(name, QMediaAudioProbeControl_iid) == 0) {
        return probe;
    }
    return nullptr;
}

void CaptureService::releaseControl(QMediaControl*) {}

#include "moc_CaptureService.cpp"
