// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMediaRecorderControl>

class CaptureSession;

/// Starts and stops the capture for QMediaRecorder.
class CaptureRecorder : public QMediaRecorderControl
{
    Q_OBJECT

public:
    CaptureRecorder(CaptureSession* session, QObject* parent);

    /// Empty unless one was set; without one no file is written.
    QUrl outputLocation() const override;
    /// False if `location` is neither empty nor a local file.
    bool setOutputLocation(const QUrl& location) override;
    QMediaRecorder::State state() const override;
    QMediaRecorder::Status status() const override;
    /// Milliseconds captured since the start.
    qint64 duration() const override;
    bool isMuted() const override;
    qreal volume() const override;
    /// The settings are taken when a capture starts.
    void applySettings() override;

public slots:
    /// A start that fails reports error() and leaves the state as it is. A stop may come at any time.
    void setState(QMediaRecorder::State state) override;
    void setMuted(bool muted) override;
    void setVolume(qreal volume) override;

private:
    CaptureSession* session;
};
