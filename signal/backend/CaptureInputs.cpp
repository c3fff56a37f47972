// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/backend/CaptureInputs.h"

#include "signal/backend/CaptureSession.h"

#include <QAudioDeviceInfo>

CaptureInputs::CaptureInputs(CaptureSession* captureSession, QObject* parent)
    : QAudioInputSelectorControl(parent)
    , session(captureSession)
{
}

QList<QString> CaptureInputs::availableInputs() const
{
    QStringList names;
    const QList<QAudioDeviceInfo> devices = QAudioDeviceInfo::availableDevices(QAudio::AudioInput);
    for (const QAudioDeviceInfo& device : devices) {
        names.append(device.deviceName());
    }
    names.removeDuplicates();
    // A sound server without any input still shows one, of no name.
    names.removeAll(QString());
    return names;
}

QString CaptureInputs::inputDescription(const QString& name) const
{
    return name;
}

QString CaptureInputs::defaultInput() const
{
    return QAudioDeviceInfo::defaultInputDevice().deviceName();
}

QString CaptureInputs::activeInput() const
{
    return session->input();
}

void CaptureInputs::setActiveInput(const QString& name)
{
    if (name != session->input()) {
        session->setInput(name);
        emit activeInputChanged(name);
    }
}

#include "moc_CaptureInputs.cpp"
