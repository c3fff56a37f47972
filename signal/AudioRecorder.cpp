// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/AudioRecorder.h"

#include "app/Constants.h"
#include "signal/ProgressBar.h"
#include "signal/Utils.h"
#include "ui_AudioRecorder.h"

#include <QAudioEncoderSettings>
#include <QAudioProbe>
#include <QAudioRecorder>
#include <QFile>
#include <QUrl>

namespace {

/// Three seconds of the program's one audio format.
constexpr int signalSize = 66150;
constexpr int iconSide = 32;

} // namespace

AudioRecorder::AudioRecorder(QWidget* parent, bool remote)
    : QDialog(parent)
    , ui(std::make_unique<Ui::AudioRecorder>())
{
    ui->setupUi(this);
    targetSize = signalSize;

    recorder = new QAudioRecorder(this);
    probe = new QAudioProbe;
    probe->setSource(recorder);
    connect(probe, SIGNAL(audioBufferProbed(QAudioBuffer)), this, SLOT(processBuffer(QAudioBuffer)));

    buffer.setBuffer(&samples);
    progressBar = new ProgressBar(&samples, this);
    progressBar->bufferLengthChanged(targetSize);
    ui->progressBarContainer->addWidget(progressBar);

    if (remote) {
        ui->labelIconRemote->setPixmap(getIcon(QStringLiteral(":/images/connected-device.png")));
        ui->comboBoxTarget->addItem(tr("Text.record"), QStringLiteral("RECORD"));
        ui->comboBoxTarget->addItem(tr("Text.autospectrum"), QStringLiteral("AUTOSPECTRUM"));
        ui->comboBoxTarget->setCurrentIndex(0);
        ui->groupRemote->show();
        connect(ui->buttonSendCommand, SIGNAL(clicked()), this, SLOT(onSendCommand()));
    } else {
        ui->groupRemote->hide();
        resize(width(), 250);
    }

    onRerecord();

    connect(ui->buttonStartRecord, SIGNAL(clicked()), this, SLOT(onStartRecord()));
    connect(ui->buttonCancel, SIGNAL(clicked()), this, SLOT(onCancel()));
    connect(ui->buttonCancelRecord, SIGNAL(clicked()), this, SLOT(onCancel()));
    connect(ui->buttonRerecord, SIGNAL(clicked()), this, SLOT(onRerecord()));
    connect(ui->buttonSaveRecord, SIGNAL(clicked()), this, SLOT(onSaveRecord()));
}

AudioRecorder::~AudioRecorder()
{
    // The probe lets go of the recorder's service, so it has to end first.
    delete probe;
    delete recorder;
}

QPixmap AudioRecorder::getIcon(QString path)
{
    // An icon takes the double of the picture by itself where the screen is dense.
    QPixmap pixmap = QIcon(path).pixmap(QPixmap(path).size());
    const qreal density = pixmap.devicePixelRatio();
    const QSize size = QSize(iconSide, iconSide) * density;
    pixmap = pixmap.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    pixmap.setDevicePixelRatio(density);
    return pixmap;
}

void AudioRecorder::deleteTemporaryFile()
{
    const QString path = recorder->outputLocation().path(QUrl::FullyDecoded);
    // QFile logs a warning about an empty name.
    if (!path.isEmpty()) {
        QFile::remove(path);
    }
}

void AudioRecorder::processBuffer(QAudioBuffer audio)
{
    samples.append(static_cast<const char*>(audio.constData()), audio.byteCount());
    progressBar->recordPositionChanged(samples.size());
    if (samples.size() < targetSize) {
        return;
    }

    recorder->stop();
    buffer.close();
    samples.resize(targetSize);
    ui->groupRecordStart->hide();
    ui->groupRecordConfirm->show();
    ui->buttonSaveRecord->setDefault(true);
    ui->buttonSaveRecord->setFocus();
    ui->labelMessage->setText(tr("Dialog.signalRecordConfirm"));
    ui->labelIcon->setPixmap(getIcon(QStringLiteral(":/images/record-done.png")));
    recorder->stop();
    deleteTemporaryFile();
}

void AudioRecorder::onStartRecord()
{
    ui->buttonStartRecord->setEnabled(false);
    ui->labelMessage->setText(tr("Dialog.signalRecordInProgress"));
    samples.clear();
    buffer.open(QIODevice::WriteOnly);

    const QStringList inputs = recorder->audioInputs();
    QString chosen = recorder->defaultAudioInput();
    qreal volume = 0.5;
    bool found = false;
    for (int i = 0; i < inputs.size() && !found; ++i) {
        const QString description = recorder->audioInputDescription(inputs.at(i));
        for (const QString& name : Constants::DEVICES) {
            if (!description.contains(name)) {
                continue;
            }
            chosen = inputs.at(i);
            if (name == Constants::DEVICE_OLD) {
                volume = 0.5;
            } else if (name.contains(Constants::DEVICE_USB)) {
                volume = 0.9;
            }
            found = true;
            break;
        }
    }

    QAudioEncoderSettings settings;
    settings.setCodec(QStringLiteral("audio/pcm"));
    settings.setSampleRate(22050);
    settings.setBitRate(0);
    settings.setChannelCount(1);
    settings.setQuality(QMultimedia::LowQuality);
    settings.setEncodingMode(QMultimedia::ConstantQualityEncoding);

    recorder->setVolume(volume);
    recorder->setAudioInput(chosen);
    recorder->setEncodingSettings(settings, QVideoEncoderSettings(), QStringLiteral("audio/x-wav"));
    recorder->record();
}

void AudioRecorder::onCancel()
{
    recorder->stop();
    deleteTemporaryFile();
    reject();
}

void AudioRecorder::onRerecord()
{
    samples.clear();
    progressBar->bufferLengthChanged(targetSize);
    ui->groupRecordStart->show();
    ui->groupRecordConfirm->hide();
    ui->labelMessage->setText(tr("Dialog.signalRecord"));
    ui->labelIcon->setPixmap(getIcon(QStringLiteral(":/images/record-sensor.png")));
    ui->buttonStartRecord->setEnabled(true);
    ui->buttonStartRecord->setDefault(true);
    ui->buttonStartRecord->setFocus();
}

void AudioRecorder::onSaveRecord()
{
    const QString deviceId = Utils::getDeviceId();
    QByteArray wav = Utils::wavHeader(samples.size());
    wav.append(samples);
    emit onSave(wav, deviceId);
    reject();
}

void AudioRecorder::onSendCommand()
{
    emit onCommand(ui->comboBoxTarget->currentData(Qt::UserRole).toString());
    reject();
}

#include "moc_AudioRecorder.cpp"
