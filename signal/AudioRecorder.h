// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAudioBuffer>
#include <QBuffer>
#include <QByteArray>
#include <QDialog>
#include <QPixmap>
#include <QString>

#include <memory>

class ProgressBar;
class QAudioProbe;
class QAudioRecorder;

namespace Ui {
class AudioRecorder;
}

/// Takes one signal of three seconds through the sensor, or sends the patient's remote device a command instead.
class AudioRecorder : public QDialog
{
    Q_OBJECT

signals:
    /// A complete WAV file and the identity of the sensor, empty if it has none. Connect directly: the array is the
    /// dialog's own.
    void onSave(QByteArray& wav, QString deviceId);
    /// "RECORD" or "AUTOSPECTRUM".
    void onCommand(QString command);

public:
    /// With `remote` the dialog also offers the commands to the remote device.
    AudioRecorder(QWidget* parent, bool remote);
    ~AudioRecorder() override;

    /// The image scaled to 32 by 32.
    QPixmap getIcon(QString path);
    /// Removes the file that the recorder wrote beside the signal, if it wrote one.
    void deleteTemporaryFile();

public slots:
    void processBuffer(QAudioBuffer buffer);
    void onStartRecord();
    void onCancel();
    void onRerecord();
    void onSaveRecord();
    void onSendCommand();

private:
    std::unique_ptr<Ui::AudioRecorder> ui;
    QAudioRecorder* recorder;
    QAudioProbe* probe;
    ProgressBar* progressBar;
    /// Sample bytes of one signal.
    int targetSize;
    QByteArray samples;
    QBuffer buffer;
};
