// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/DialogPlayer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/SoundServer.h"

#include <QAudioDeviceInfo>
#include <QDeadlineTimer>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QVector>
#include <QtMath>

#include <algorithm>
#include <memory>

/// Playing for real, through virtual sensors of a private sound server.
class TestPlayingLive : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();
    void defaultOutputWithoutSensor();
    void arrivesAtTheSensor();
    void arrivesAtTheOlderSensor();
    void sameSensorTwice();
    void times();
    void clockWrapsAtTheDay();
    void pause();
    void stop();
    void stopWhilePaused();
    void closeHides();
    void closeWhilePausedHides();
    void escapeHides();
    void hiddenUntilTheEnd();
    void shortSignal();
    void emptySignal();
    void deletedWhilePlaying();
    void gapInTheSupply();
    void outputVanishes_data();
    void outputVanishes();
    void serverEnds();

private:
    void plug(SoundServer::Sensor* sensor, const QString& product = QStringLiteral("Quelmar_USB_v1.0"),
              const QString& serial = QStringLiteral("Q0001"));
    void open(const QByteArray& bytes);
    bool arrives(const QByteArray& sent, double share);
    QPushButton* button(const QString& name) const { return dialog->findChild<QPushButton*>(name); }
    QImage icon() const { return button(QStringLiteral("buttonPlayPause"))->icon().pixmap(48, 48).toImage(); }
    QProgressBar* bar() const { return dialog->findChild<QProgressBar*>(QStringLiteral("progressBar")); }

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<SoundServer> server;
    std::unique_ptr<DialogPlayer> dialog;
    QList<SoundServer::Sensor> plugged;
};

namespace {

constexpr int limit = 60000;
constexpr int rate = 22050;

QImage picture(const QString& name)
{
    return QIcon(QStringLiteral(":/images/%1.png").arg(name)).pixmap(48, 48).toImage();
}

/// A tone that rises from 200 to 2000 Hz, so that each piece of it is like no other.
QByteArray sweep(double seconds)
{
    QByteArray samples(qRound(seconds * rate), '\0');
    for (int i = 0; i < samples.size(); ++i) {
        const double time = static_cast<double>(i) / rate;
        const double phase = 2.0 * M_PI * (200.0 * time + 900.0 * time * time / seconds);
        samples[i] = static_cast<char>(qRound(127.5 + 90.0 * std::sin(phase)));
    }
    return samples;
}

QStringList outputs()
{
    QStringList names;
    const QList<QAudioDeviceInfo> devices = QAudioDeviceInfo::availableDevices(QAudio::AudioOutput);
    for (const QAudioDeviceInfo& device : devices) {
        names.append(device.deviceName());
    }
    return names;
}

QString readable(QString name)
{
    return name.replace(QLatin1Char('_'), QLatin1Char(' '));
}

} // namespace

void TestPlayingLive::initTestCase()
{
    server = std::make_unique<SoundServer>(SoundServer::kindFromEnvironment());
    QVERIFY2(server->start(), qPrintable(server->errorText()));
    guard = std::make_unique<MessageGuard>();
}

void TestPlayingLive::cleanup()
{
    dialog.reset();
    server->stopCapture();
    for (const SoundServer::Sensor& sensor : qAsConst(plugged)) {
        server->removeSensor(sensor);
    }
    for (const SoundServer::Sensor& sensor : qAsConst(plugged)) {
        QTRY_VERIFY_WITH_TIMEOUT(!outputs().contains(sensor.output), limit);
    }
    plugged.clear();
    guard->verify();
}

void TestPlayingLive::cleanupTestCase()
{
    guard.reset();
    server.reset();
}

void TestPlayingLive::plug(SoundServer::Sensor* sensor, const QString& product, const QString& serial)
{
    QVERIFY2(server->addSensor(sensor, product, serial), qPrintable(server->errorText()));
    plugged.append(*sensor);
    QTRY_VERIFY_WITH_TIMEOUT(outputs().contains(readable(sensor->output)), limit);
}

void TestPlayingLive::open(const QByteArray& bytes)
{
    dialog = std::make_unique<DialogPlayer>(nullptr, bytes, QStringLiteral("Anna Weiß"));
    dialog->show();
    QVERIFY(QTest::qWaitForWindowExposed(dialog.get()));
}

/// Waits until that share of the signal has come to the output that is captured. A loaded machine may tear some of
/// the pieces, so that not every one is asked for.
bool TestPlayingLive::arrives(const QByteArray& sent, double share)
{
    for (const QDeadlineTimer deadline(limit); !deadline.hasExpired();) {
        QTest::qWait(500);
        if (server->captured().size() > sent.size() && SoundServer::arrivedShare(sent, server->captured()) >= share) {
            return true;
        }
    }
    return false;
}

void TestPlayingLive::defaultOutputWithoutSensor()
{
    const QString name = QStringLiteral("headphones");
    QVERIFY2(server->addOutput(name), qPrintable(server->errorText()));
    QVERIFY2(server->setDefaultOutput(name), qPrintable(server->errorText()));
    QTRY_COMPARE_WITH_TIMEOUT(QAudioDeviceInfo::defaultOutputDevice().deviceName(), name, limit);
    QVERIFY2(server->startCapture(name), qPrintable(server->errorText()));
    const QByteArray sent = sweep(1.5);
    open(sent);
    QVERIFY(arrives(sent, 0.9));
}

void TestPlayingLive::arrivesAtTheSensor()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    QVERIFY2(server->startCapture(sensor.output), qPrintable(server->errorText()));
    const QByteArray sent = sweep(3.0);
    open(sent);
    const QSignalSpy finished(dialog.get(), &DialogPlayer::onFinish);
    QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, limit);
    QCOMPARE(finished.at(0).at(0).toBool(), true);
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->state(), QAudio::IdleState);
    QVERIFY(arrives(sent, 0.9));

    // Full volume: as loud as it was sent. The sweep is found again, so another signal would not do.
    const QByteArray arrived = server->stopCapture();
    QVector<double> loudness;
    for (int i = 0; i + rate / 10 <= arrived.size(); i += rate / 10) {
        const QByteArray piece = arrived.mid(i, rate / 10);
        if (SoundServer::arrivedShare(piece, sent) >= 0.5) {
            loudness.append(SoundServer::loudness(piece));
        }
    }
    QVERIFY(loudness.size() >= 20);
    // The median: a server that starts or a loaded machine may tear a piece.
    std::sort(loudness.begin(), loudness.end());
    const double median = loudness.at(loudness.size() / 2);
    QVERIFY2(qAbs(median - 90.0 / M_SQRT2) <= 3.0, qPrintable(QString::number(median)));
    QVERIFY(SoundServer::arrivedShare(SoundServer::tone(3333.0, 0.5), arrived) < 0.1);
}

void TestPlayingLive::arrivesAtTheOlderSensor()
{
    SoundServer::Sensor sensor;
    plug(&sensor, QStringLiteral("C-Media_USB_Headphone_Set"), QStringLiteral("C0001"));
    QVERIFY2(server->startCapture(sensor.output), qPrintable(server->errorText()));
    const QByteArray sent = sweep(1.5);
    open(sent);
    QVERIFY(arrives(sent, 0.9));
}

void TestPlayingLive::sameSensorTwice()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    for (int i = 0; i < 2; ++i) {
        open(sweep(0.5));
        const QSignalSpy finished(dialog.get(), &DialogPlayer::onFinish);
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, limit);
        QCOMPARE(finished.at(0).at(0).toBool(), true);
    }
}

void TestPlayingLive::times()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    open(sweep(4.9));
    QCOMPARE(dialog->state(), QAudio::ActiveState);
    QCOMPARE(icon(), picture(QStringLiteral("pause")));
    // Until its clock has ticked, which it may have on a busy machine.
    QVERIFY(dialog->position() == QLatin1String("00:00") || dialog->total() == QLatin1String("00:00:04"));
    QTRY_COMPARE_WITH_TIMEOUT(dialog->total(), QStringLiteral("00:00:04"), limit);
    // The seconds are seen one by one, and what is left is the rest of the total.
    QStringList seen;
    const QSignalSpy finished(dialog.get(), &DialogPlayer::onFinish);
    const bool ended = QTest::qWaitFor(
        [&] {
            if (finished.isEmpty() && dialog->total() == QLatin1String("00:00:04")) {
                const int played = dialog->position().rightRef(2).toInt();
                if (bar()->value() != played || dialog->left().rightRef(2).toInt() != 4 - played) {
                    seen.append(QStringLiteral("%1 %2 %3").arg(bar()->value()).arg(dialog->position(), dialog->left()));
                } else if (!seen.contains(dialog->position())) {
                    seen.append(dialog->position());
                }
            }
            return !finished.isEmpty();
        },
        limit);
    QVERIFY(ended);
    const QStringList all{QStringLiteral("00:00:00"), QStringLiteral("00:00:01"), QStringLiteral("00:00:02"),
                          QStringLiteral("00:00:03"), QStringLiteral("00:00:04")};
    for (const QString& time : qAsConst(seen)) {
        QVERIFY2(all.contains(time), qPrintable(time));
    }
    QVERIFY(seen.size() >= 3);

    // The timer goes on after the end.
    QTRY_COMPARE_WITH_TIMEOUT(dialog->total(), QStringLiteral("00:00:00"), limit);
    QCOMPARE(dialog->position(), QStringLiteral("00:00:00"));
    QCOMPARE(dialog->left(), QStringLiteral("00:00:00"));
    QCOMPARE(bar()->value(), 0);
    QCOMPARE(icon(), picture(QStringLiteral("pause")));
}

void TestPlayingLive::clockWrapsAtTheDay()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    open(sweep(30.0));
    // A day and an hour; the samples of it would not fit.
    bar()->setMaximum(25 * 60 * 60);
    QTRY_COMPARE_WITH_TIMEOUT(dialog->total(), QStringLiteral("01:00:00"), limit);
    QVERIFY(dialog->left().startsWith(QLatin1String("00:59:")) || dialog->left() == QLatin1String("01:00:00"));
}

void TestPlayingLive::pause()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    const QByteArray sent = sweep(3.0);
    QVERIFY2(server->startCapture(sensor.output), qPrintable(server->errorText()));
    open(sent);
    const QSignalSpy finished(dialog.get(), &DialogPlayer::onFinish);
    QTRY_COMPARE_WITH_TIMEOUT(bar()->value(), 1, limit);
    // Its name and its tool tip say what it would do; no language is loaded here.
    QCOMPARE(button(QStringLiteral("buttonPlayPause"))->accessibleName(), QStringLiteral("Text.pause"));
    QCOMPARE(button(QStringLiteral("buttonPlayPause"))->toolTip(), QStringLiteral("Text.pause"));
    button(QStringLiteral("buttonPlayPause"))->click();
    QCOMPARE(dialog->state(), QAudio::SuspendedState);
    QCOMPARE(icon(), picture(QStringLiteral("play")));

    // The next ticks show the same.
    QTest::qWait(600);
    const QString position = dialog->position();
    const QString left = dialog->left();
    QTest::qWait(2200);
    QCOMPARE(dialog->state(), QAudio::SuspendedState);
    QCOMPARE(dialog->position(), position);
    QCOMPARE(dialog->left(), left);
    QCOMPARE(dialog->total(), QStringLiteral("00:00:03"));
    QCOMPARE(finished.count(), 0);

    QCOMPARE(button(QStringLiteral("buttonPlayPause"))->accessibleName(), QStringLiteral("Text.play"));
    QCOMPARE(button(QStringLiteral("buttonPlayPause"))->toolTip(), QStringLiteral("Text.play"));
    button(QStringLiteral("buttonPlayPause"))->click();
    QCOMPARE(dialog->state(), QAudio::ActiveState);
    QCOMPARE(icon(), picture(QStringLiteral("pause")));
    QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, limit);
    QCOMPARE(finished.at(0).at(0).toBool(), true);
    // Nothing is lost by the pause.
    QVERIFY(arrives(sent, 0.85));
}

void TestPlayingLive::stop()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    open(sweep(30.0));
    const QSignalSpy finished(dialog.get(), &DialogPlayer::onFinish);
    QTRY_COMPARE_WITH_TIMEOUT(dialog->total(), QStringLiteral("00:00:30"), limit);
    button(QStringLiteral("buttonStop"))->click();
    QCOMPARE(dialog->state(), QAudio::StoppedState);
    QCOMPARE(icon(), picture(QStringLiteral("play")));
    QVERIFY(!dialog->isVisible());
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), false);
    QTRY_COMPARE_WITH_TIMEOUT(dialog->total(), QStringLiteral("00:00:00"), limit);
    QCOMPARE(finished.count(), 1);
}

void TestPlayingLive::stopWhilePaused()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    open(sweep(30.0));
    const QSignalSpy finished(dialog.get(), &DialogPlayer::onFinish);
    QTRY_COMPARE_WITH_TIMEOUT(dialog->total(), QStringLiteral("00:00:30"), limit);
    button(QStringLiteral("buttonPlayPause"))->click();
    QCOMPARE(dialog->state(), QAudio::SuspendedState);
    button(QStringLiteral("buttonStop"))->click();
    QCOMPARE(dialog->state(), QAudio::StoppedState);
    QVERIFY(!dialog->isVisible());
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), false);
}

void TestPlayingLive::closeHides()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    open(sweep(30.0));
    const QSignalSpy finished(dialog.get(), &DialogPlayer::onFinish);
    dialog->close();
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->state(), QAudio::ActiveState);
    // It goes on without its window, and comes back.
    const QString before = dialog->left();
    QTRY_VERIFY_WITH_TIMEOUT(bar()->value() >= 1, limit);
    dialog->show();
    dialog->activateWindow();
    QVERIFY(dialog->isVisible());
    QCOMPARE(dialog->state(), QAudio::ActiveState);
    QVERIFY(dialog->left() != before);
    QCOMPARE(finished.count(), 0);
}

void TestPlayingLive::closeWhilePausedHides()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    open(sweep(30.0));
    button(QStringLiteral("buttonPlayPause"))->click();
    QCOMPARE(dialog->state(), QAudio::SuspendedState);
    dialog->close();
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->state(), QAudio::SuspendedState);
    dialog->show();
    button(QStringLiteral("buttonPlayPause"))->click();
    QCOMPARE(dialog->state(), QAudio::ActiveState);
}

void TestPlayingLive::escapeHides()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    open(sweep(30.0));
    QTest::keyClick(dialog.get(), Qt::Key_Escape);
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->state(), QAudio::ActiveState);
}

void TestPlayingLive::hiddenUntilTheEnd()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    open(sweep(1.5));
    bool visible = true;
    const QSignalSpy finished(dialog.get(), &DialogPlayer::onFinish);
    const QObject whileHere;
    connect(dialog.get(), &DialogPlayer::onFinish, &whileHere, [&] { visible = dialog->isVisible(); });
    dialog->close();
    QVERIFY(!dialog->isVisible());
    QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, limit);
    QCOMPARE(finished.at(0).at(0).toBool(), true);
    QVERIFY(!visible);
}

void TestPlayingLive::shortSignal()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    open(sweep(0.95));
    QCOMPARE(bar()->maximum(), 0);
    QCOMPARE(bar()->minimum(), 0);
    const QSignalSpy finished(dialog.get(), &DialogPlayer::onFinish);
    QTRY_COMPARE_WITH_TIMEOUT(dialog->total(), QStringLiteral("00:00:00"), limit);
    QCOMPARE(dialog->position(), QStringLiteral("00:00:00"));
    QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, limit);
    QCOMPARE(finished.at(0).at(0).toBool(), true);
}

void TestPlayingLive::emptySignal()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    open(QByteArray());
    QTRY_COMPARE_WITH_TIMEOUT(dialog->total(), QStringLiteral("00:00:00"), limit);
    button(QStringLiteral("buttonStop"))->click();
    QVERIFY(!dialog->isVisible());
}

void TestPlayingLive::deletedWhilePlaying()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    int reports = 0;
    for (const bool paused : {false, true}) {
        open(sweep(30.0));
        const QObject whileHere;
        connect(dialog.get(), &DialogPlayer::onFinish, &whileHere, [&reports] { ++reports; });
        QTRY_COMPARE_WITH_TIMEOUT(dialog->total(), QStringLiteral("00:00:30"), limit);
        if (paused) {
            button(QStringLiteral("buttonPlayPause"))->click();
        }
        dialog.reset();
    }
    QTest::qWait(200);
    QCOMPARE(reports, 0);
}

void TestPlayingLive::gapInTheSupply()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    QVERIFY2(server->startCapture(sensor.output), qPrintable(server->errorText()));
    const QByteArray sent = sweep(6.0);
    open(sent);
    const QSignalSpy finished(dialog.get(), &DialogPlayer::onFinish);
    QTRY_COMPARE_WITH_TIMEOUT(bar()->value(), 1, limit);
    // A busy program hands over no samples for a while; that is no end of the signal.
    QThread::sleep(3);
    QTest::qWait(200);
    QVERIFY(dialog->isVisible());
    QCOMPARE(finished.count(), 0);
    QCOMPARE(dialog->state(), QAudio::ActiveState);
    QCOMPARE(icon(), picture(QStringLiteral("pause")));
    QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, limit);
    QCOMPARE(finished.at(0).at(0).toBool(), true);
    QCOMPARE(dialog->state(), QAudio::IdleState);
    QVERIFY(arrives(sent, 0.85));
}

void TestPlayingLive::outputVanishes_data()
{
    QTest::addColumn<bool>("paused");
    QTest::newRow("while playing") << false;
    QTest::newRow("while paused") << true;
}

void TestPlayingLive::outputVanishes()
{
    QFETCH(bool, paused);
    SoundServer::Sensor sensor;
    plug(&sensor);
    open(sweep(30.0));
    const QSignalSpy finished(dialog.get(), &DialogPlayer::onFinish);
    QTRY_COMPARE_WITH_TIMEOUT(dialog->total(), QStringLiteral("00:00:30"), limit);
    if (paused) {
        button(QStringLiteral("buttonPlayPause"))->click();
        QCOMPARE(dialog->state(), QAudio::SuspendedState);
    }
    server->removeSensor(sensor);
    plugged.clear();
    QTRY_VERIFY_WITH_TIMEOUT(!outputs().contains(readable(sensor.output)), limit);
    QTest::qWait(600);
    // Whatever the sound server made of it, nothing is reported and the dialog obeys.
    QVERIFY(dialog->isVisible());
    QCOMPARE(finished.count(), 0);
    button(QStringLiteral("buttonPlayPause"))->click();
    button(QStringLiteral("buttonPlayPause"))->click();
    QVERIFY(dialog->isVisible());
    button(QStringLiteral("buttonStop"))->click();
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->state(), QAudio::StoppedState);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), false);

    // The next playback finds the sensor again.
    plug(&sensor);
    QVERIFY2(server->startCapture(sensor.output), qPrintable(server->errorText()));
    const QByteArray sent = sweep(1.5);
    open(sent);
    QVERIFY(arrives(sent, 0.9));
}

void TestPlayingLive::serverEnds()
{
    SoundServer::Sensor sensor;
    plug(&sensor);
    open(sweep(30.0));
    QTRY_COMPARE_WITH_TIMEOUT(dialog->total(), QStringLiteral("00:00:30"), limit);
    plugged.clear();
    server->stop();
    QTest::qWait(1500);
    button(QStringLiteral("buttonPlayPause"))->click();
    button(QStringLiteral("buttonStop"))->click();
    QVERIFY(!dialog->isVisible());
    // Another playback without any server.
    open(sweep(1.5));
    QTest::qWait(700);
    button(QStringLiteral("buttonStop"))->click();
    QVERIFY(!dialog->isVisible());
}

QTEST_MAIN(TestPlayingLive)
#include "TestPlayingLive.moc"
