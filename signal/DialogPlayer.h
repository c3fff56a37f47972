// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAudio>
#include <QAudioDeviceInfo>
#include <QBuffer>
#include <QByteArray>
#include <QDialog>
#include <QString>
#include <QTimer>

#include <memory>

class QAudioOutput;

namespace Ui {
class DialogPlayer;
}

/// Plays a signal through the sensor, or through the default output if there is no sensor. Playing begins with the
/// construction; closing the window while it runs or is paused only hides it.
class DialogPlayer : public QDialog
{
    Q_OBJECT

signals:
    /// True when the signal played to its end, false when it was stopped by hand. An output that fails says nothing.
    void onFinish(bool finished);

public:
    /// Takes a copy of `bytes`: raw samples without a header. `name` is the patient's name.
    DialogPlayer(QWidget* parent, const QByteArray& bytes, const QString& name);
    ~DialogPlayer() override;

    /// Idle if there is no output.
    QAudio::State state() const;
    /// Time left as "hh:mm:ss", as of the last tick of half a second.
    QString left() const;
    QString getPatientName() const;
    /// Time played so far, as the label shows it.
    QString position() const;
    /// Length of the signal, as the label shows it.
    QString total() const;

    /// Keeps the machine awake, on Windows only.
    void busy();
    /// Lets the machine sleep again, on Windows only.
    void idle();
    /// Hands `flags` to the system's SetThreadExecutionState(), if there is such a function.
    void changeWindowsState(int flags);

public slots:
    void onPlayPause();
    void onStop();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void tick();
    void stateChanged(QAudio::State state);
    /// False if the sound server dropped the output: Qt's plugin for PulseAudio aborts the process on a pause then.
    bool isAlive() const;

    std::unique_ptr<Ui::DialogPlayer> ui;
    QAudioOutput* output = nullptr;
    QBuffer buffer;
    QTimer timer;
    QString name;
    /// Seconds of playback left.
    int secondsLeft = 0;
    bool windows = false;
    /// What the output plays on.
    QAudioDeviceInfo device;
};
