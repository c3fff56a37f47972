// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/backend/CaptureRecorder.h"

#include "signal/backend/CaptureSession.h"

namespace {

QMediaRecorder::Status statusOf(QMediaRecorder::State state)
{
    switch (state) {
    case QMediaRecorder::RecordingState:
        return QMediaRecorder::RecordingStatus;
    case QMediaRecorder::PausedState:
        return QMediaRecorder::PausedStatus;
    case QMediaRecorder::StoppedState:
        break;
    }
    return QMediaRecorder::LoadedStatus;
}

} // namespace

CaptureRecorder::CaptureRecorder(CaptureSession* captureSession, QObject* parent)
    : QMediaRecorderControl(parent)
    , session(captureSession)
{
    connect(session, &CaptureSession::stateChanged, this, [this](QMediaRecorder::State state) {
        emit stateChanged(state);
        emit statusChanged(statusOf(state));
    });
    connect(session, &CaptureSession::failed, this,
            [this](QMediaRecorder::Error kind, const QString& text) { emit error(kind, text); });
    connect(session, &CaptureSession::fileOpened, this, &CaptureRecorder::actualLocationChanged);
}

QUrl CaptureRecorder::outputLocation() const
{
    return session->location();
}

bool CaptureRecorder::setOutputLocation(const QUrl& location)
{
    if (!location.isEmpty() && !location.isLocalFile()) {
        return false;
    }
    session->setLocation(location);
    return true;
}

QMediaRecorder::State CaptureRecorder::state() const
{
    return session->state();
}

QMediaRecorder::Status CaptureRecorder::status() const
{
    return statusOf(session->state());
}

qint64 CaptureRecorder::duration() const
{
    return session->duration();
}

bool CaptureRecorder::isMuted() const
{
    return session->isMuted();
}

qreal CaptureRecorder::volume() const
{
    return session->volume();
}

void CaptureRecorder::applySettings() {}

void CaptureRecorder::setState(QMediaRecorder::State state)
{
    switch (state) {
    case QMediaRecorder::RecordingState:
        session->record();
        break;
    case QMediaRecorder::PausedState:
        session->pause();
        break;
    case QMediaRecorder::StoppedState:
        session->stop();
        break;
    }
}

void CaptureRecorder::setMuted(bool muted)
{
    if (muted != session->isMuted()) {
        session->setMuted(muted);
        emit mutedChanged(muted);
    }
}

void CaptureRecorder::setVolume(qreal volume)
{
    if (!qFuzzyCompare(volume, session->volume())) {
        session->setVolume(volume);
        emit volumeChanged(session->volume());
    }
}

#include "moc_CaptureRecorder.cpp"
