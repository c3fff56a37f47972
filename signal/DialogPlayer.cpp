// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/DialogPlayer.h"

#include "app/Constants.h"
#include "signal/Utils.h"
#include "ui_DialogPlayer.h"

#include <QAudioOutput>
#include <QCloseEvent>
#include <QDateTime>
#include <QIcon>
#include <QLibrary>

namespace {

constexpr int tickInterval = 500;
/// ES_CONTINUOUS, ES_SYSTEM_REQUIRED and ES_AWAYMODE_REQUIRED.
constexpr quint32 stayAwake = 0x80000041U;
/// ES_CONTINUOUS.
constexpr quint32 maySleep = 0x80000000U;

/// A clock's text: it wraps at the day.
QString clockText(int seconds)
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    const QDateTime time = QDateTime::fromTime_t(static_cast<uint>(qMax(0, seconds)));
    QT_WARNING_POP
    return time.toTimeSpec(Qt::UTC).toString(QStringLiteral("hh:mm:ss"));
}

/// The first sensor in the system's list; the default output if there is none.
QAudioDeviceInfo chooseDevice()
{
    const QList<QAudioDeviceInfo> devices = QAudioDeviceInfo::availableDevices(QAudio::AudioOutput);
    for (const QAudioDeviceInfo& device : devices) {
        for (const QString& sensor : Constants::DEVICES) {
            if (device.deviceName().contains(sensor)) {
                return device;
            }
        }
    }
    return QAudioDeviceInfo::defaultOutputDevice();
}

} // namespace

DialogPlayer::DialogPlayer(QWidget* parent, const QByteArray& bytes, const QString& patientName)
    : QDialog(parent)
    , ui(std::make_unique<Ui::DialogPlayer>())
{
    ui->setupUi(this);
    setWindowFlag(Qt::WindowStaysOnTopHint);
    setWindowTitle(tr("Title.player"));
    setModal(true);
    ui->labelPatientName->setText(patientName);

    connect(ui->buttonStop, SIGNAL(clicked()), this, SLOT(onStop()));
    connect(ui->buttonPlayPause, SIGNAL(clicked()), this, SLOT(onPlayPause()));
    connect(&timer, &QTimer::timeout, this, &DialogPlayer::tick);

    windows = Utils::isWindows();
    timer.setInterval(tickInterval);
    timer.start();

    const QAudioFormat format = Utils::audioFormat();
    device = chooseDevice();
    output = new QAudioOutput(device, format);
    connect(output, &QAudioOutput::stateChanged, this, &DialogPlayer::stateChanged);

    if (buffer.isOpen()) {
        buffer.close(); // GCOVR_EXCL_LINE: a new one is not
    }
    buffer.open(QIODevice::ReadWrite);
    buffer.write(bytes);
    buffer.seek(0);

    output->setVolume(1.0);
    output->start(&buffer);

    ui->progressBar->setMaximum(bytes.size() / (format.sampleRate() * format.channelCount() * format.sampleSize() / 8));
    ui->progressBar->setValue(0);
}

DialogPlayer::~DialogPlayer()
{
    // The end of the output is no end of the playback to report.
    output->disconnect(this);
    delete output;
}

QAudio::State DialogPlayer::state() const
{
    return output == nullptr ? QAudio::IdleState : output->state();
}

QString DialogPlayer::left() const
{
    return clockText(secondsLeft);
}

QString DialogPlayer::getPatientName() const
{
    return ui->labelPatientName->text();
}

QString DialogPlayer::position() const
{
    return ui->labelTimeCurrent->text();
}

QString DialogPlayer::total() const
{
    return ui->labelTimeTotal->text();
}

void DialogPlayer::busy()
{
    if (windows) {
        changeWindowsState(static_cast<int>(stayAwake)); // GCOVR_EXCL_LINE: Windows
    }
}

void DialogPlayer::idle()
{
    if (windows) {
        changeWindowsState(static_cast<int>(maySleep)); // GCOVR_EXCL_LINE: Windows
    }
}

void DialogPlayer::changeWindowsState(int flags)
{
    using SetThreadExecutionState = int (*)(int);
    QLibrary library(QStringLiteral("kernel32.dll"));
    // Elsewhere there is no such library: GCOVR_EXCL_START
    if (library.load()) {
        auto* const function = reinterpret_cast<SetThreadExecutionState>(library.resolve("SetThreadExecutionState"));
        function(flags);
        library.unload();
    }
    // GCOVR_EXCL_STOP
}

void DialogPlayer::onPlayPause()
{
    if (output == nullptr) {
        return; // GCOVR_EXCL_LINE: the constructor makes one in any case
    }
    const QAudio::State current = output->state();
    if (current != QAudio::ActiveState && current != QAudio::SuspendedState) {
        return;
    }
    if (!isAlive()) {
        output->stop();
    } else if (current == QAudio::ActiveState) {
        output->suspend();
    } else {
        output->resume();
    }
}

void DialogPlayer::onStop()
{
    if (output != nullptr) {
        output->stop();
        emit onFinish(false);
    }
    close();
}

void DialogPlayer::closeEvent(QCloseEvent* event)
{
    if (output == nullptr || (output->state() != QAudio::ActiveState && output->state() != QAudio::SuspendedState)) {
        event->accept();
        return;
    }
    event->ignore();
    hide();
}

bool DialogPlayer::isAlive() const
{
    // The number of free bytes of a dead stream is an error code. A paused one tells nothing, but does not outlive its
    // device.
    if (output->state() != QAudio::SuspendedState) {
        return output->bytesFree() >= 0;
    }
    return device.isNull() || QAudioDeviceInfo::availableDevices(QAudio::AudioOutput).contains(device);
}

void DialogPlayer::tick()
{
    const QAudio::State current = state();
    if (output != nullptr && current != QAudio::StoppedState && current != QAudio::IdleState &&
        current != QAudio::InterruptedState) {
        const int played = static_cast<int>(output->processedUSecs() / 1000000);
        const int all = ui->progressBar->maximum();
        secondsLeft = all - played;
        ui->progressBar->setValue(played);
        ui->labelTimeCurrent->setText(clockText(played));
        ui->labelTimeTotal->setText(clockText(all));
        if (windows) {
            changeWindowsState(static_cast<int>(stayAwake)); // GCOVR_EXCL_LINE: Windows
        }
        return;
    }
    if (windows) {
        changeWindowsState(static_cast<int>(maySleep)); // GCOVR_EXCL_LINE: Windows
    }
    ui->progressBar->setValue(0);
    ui->labelTimeTotal->setText(clockText(0));
    ui->labelTimeCurrent->setText(clockText(0));
    secondsLeft = 0;
}

void DialogPlayer::stateChanged(QAudio::State state)
{
    const auto offer = [this](const QString& path, const QString& action) {
        ui->buttonPlayPause->setIcon(QIcon(path));
        ui->buttonPlayPause->setAccessibleName(action);
        ui->buttonPlayPause->setToolTip(action);
    };
    switch (state) {
    case QAudio::IdleState:
        // An output that was fed too late is idle for a moment as well, with data left; it goes on by itself.
        if (!buffer.atEnd()) {
            break;
        }
        close();
        emit onFinish(true);
        break;
    case QAudio::ActiveState:
        offer(QStringLiteral(":/images/pause.png"), tr("Text.pause"));
        break;
    default:
        offer(QStringLiteral(":/images/play.png"), tr("Text.play"));
        break;
    }
}

#include "moc_DialogPlayer.cpp"
