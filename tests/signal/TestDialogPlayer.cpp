// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/DialogPlayer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/SoundServer.h"

#include <QAudioDeviceInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

#include <memory>

/// The player on a machine without any audio output.
class TestDialogPlayer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void cleanupTestCase() { guard.reset(); }
    void noOutputAtAll();
    void tree();
    void layout();
    void window();
    void textsUntilTheFirstTick();
    void maximum_data();
    void maximum();
    void playPauseDoesNothing();
    void stop();
    void close();
    void escape();
    void emptySignal();
    void deletedAtOnce();
    void noSleepControl();

private:
    void open(const QByteArray& bytes = QByteArray(66150, '\x7f'));
    template <typename T> T* child(const QString& name) const
    {
        T* const found = dialog->findChild<T*>(name);
        if (found == nullptr) {
            QTest::qFail(qPrintable(QStringLiteral("There is no ") + name), __FILE__, __LINE__);
        }
        return found;
    }

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<DialogPlayer> dialog;
};

void TestDialogPlayer::initTestCase()
{
    SoundServer::hideAll();
    guard = std::make_unique<MessageGuard>();
}

void TestDialogPlayer::cleanup()
{
    dialog.reset();
    guard->verify();
}

void TestDialogPlayer::open(const QByteArray& bytes)
{
    dialog = std::make_unique<DialogPlayer>(nullptr, bytes, QStringLiteral("Anna Weiß"));
    dialog->show();
}

void TestDialogPlayer::noOutputAtAll()
{
    // Qt's plugin shows a device of no name even then.
    const QList<QAudioDeviceInfo> devices = QAudioDeviceInfo::availableDevices(QAudio::AudioOutput);
    for (const QAudioDeviceInfo& device : devices) {
        QCOMPARE(device.deviceName(), QString());
    }
    open();
    const QSignalSpy finished(dialog.get(), &DialogPlayer::onFinish);
    QCOMPARE(dialog->state(), QAudio::StoppedState);
    // Nobody is told, and the dialog stays.
    QTRY_COMPARE(dialog->total(), QStringLiteral("00:00:00"));
    QCOMPARE(finished.count(), 0);
    QVERIFY(dialog->isVisible());
    QVERIFY(QApplication::activeModalWidget() == dialog.get());
}

void TestDialogPlayer::tree()
{
    open();
    QCOMPARE(dialog->objectName(), QStringLiteral("DialogPlayer"));
    const auto* const name = child<QLabel>(QStringLiteral("labelPatientName"));
    QCOMPARE(name->text(), QStringLiteral("Anna Weiß"));
    QCOMPARE(name->alignment(), Qt::Alignment(Qt::AlignCenter));
    QCOMPARE(dialog->getPatientName(), QStringLiteral("Anna Weiß"));

    for (const QString& button : {QStringLiteral("buttonPlayPause"), QStringLiteral("buttonStop")}) {
        const auto* const widget = child<QPushButton>(button);
        QCOMPARE(widget->minimumSize(), QSize(50, 50));
        QCOMPARE(widget->maximumSize(), QSize(50, 50));
        QVERIFY(widget->isFlat());
        QCOMPARE(widget->text(), QString());
        QCOMPARE(widget->iconSize(), QSize(48, 48));
    }
    const auto picture = [](const QIcon& icon) { return icon.pixmap(48, 48).toImage(); };
    const QImage play = picture(QIcon(QStringLiteral(":/images/play.png")));
    const QImage stop = picture(QIcon(QStringLiteral(":/images/stop.png")));
    QVERIFY(!play.isNull() && !stop.isNull() && play != stop);
    QCOMPARE(picture(child<QPushButton>(QStringLiteral("buttonPlayPause"))->icon()), play);
    QCOMPARE(picture(child<QPushButton>(QStringLiteral("buttonStop"))->icon()), stop);

    QCOMPARE(child<QLabel>(QStringLiteral("labelTimeCurrent"))->alignment(),
             Qt::Alignment(Qt::AlignRight | Qt::AlignTrailing | Qt::AlignVCenter));
    const auto* const bar = child<QProgressBar>(QStringLiteral("progressBar"));
    QCOMPARE(bar->minimumSize(), QSize(150, 10));
    QCOMPARE(bar->value(), 0);
    QVERIFY(!bar->isTextVisible());
}

void TestDialogPlayer::layout()
{
    open();
    const auto content = [this](const QString& name) {
        auto* const box = child<QLayout>(name);
        QStringList names;
        for (int i = 0; box != nullptr && i < box->count(); ++i) {
            QLayoutItem* const item = box->itemAt(i);
            names.append(item->widget() != nullptr ? item->widget()->objectName() : item->layout()->objectName());
        }
        return names.join(QLatin1Char(' '));
    };
    QVERIFY(qobject_cast<QVBoxLayout*>(child<QLayout>(QStringLiteral("verticalLayout"))) != nullptr);
    QVERIFY(qobject_cast<QHBoxLayout*>(child<QLayout>(QStringLiteral("horizontalLayout"))) != nullptr);
    QCOMPARE(dialog->layout()->objectName(), QStringLiteral("verticalLayout"));
    QCOMPARE(content(QStringLiteral("verticalLayout")), QStringLiteral("labelPatientName horizontalLayout"));
    QCOMPARE(content(QStringLiteral("horizontalLayout")),
             QStringLiteral("buttonPlayPause labelTimeCurrent progressBar labelTimeTotal buttonStop"));
}

void TestDialogPlayer::window()
{
    open();
    QCOMPARE(dialog->size(), QSize(600, 120));
    QCOMPARE(dialog->windowTitle(), QStringLiteral("Title.player"));
    QVERIFY(dialog->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QCOMPARE(dialog->windowFlags() & Qt::WindowType_Mask, Qt::WindowFlags(Qt::Dialog));
    QVERIFY(dialog->isModal());
}

void TestDialogPlayer::textsUntilTheFirstTick()
{
    open();
    QCOMPARE(dialog->position(), QStringLiteral("00:00"));
    QCOMPARE(dialog->total(), QStringLiteral("00:00"));
    QCOMPARE(dialog->left(), QStringLiteral("00:00:00"));
    QTRY_COMPARE(dialog->position(), QStringLiteral("00:00:00"));
    QCOMPARE(dialog->total(), QStringLiteral("00:00:00"));
    QCOMPARE(dialog->left(), QStringLiteral("00:00:00"));
}

void TestDialogPlayer::maximum_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("seconds");
    QTest::newRow("nothing") << 0 << 0;
    QTest::newRow("less than a second") << 22049 << 0;
    QTest::newRow("one second") << 22050 << 1;
    QTest::newRow("remainder dropped") << 44099 << 1;
    QTest::newRow("three seconds") << 66150 << 3;
    QTest::newRow("ten minutes") << 600 * 22050 << 600;
}

void TestDialogPlayer::maximum()
{
    QFETCH(int, size);
    open(QByteArray(size, '\x7f'));
    const auto* const bar = child<QProgressBar>(QStringLiteral("progressBar"));
    QTEST(bar->maximum(), "seconds");
    QCOMPARE(bar->minimum(), 0);
}

void TestDialogPlayer::playPauseDoesNothing()
{
    open();
    child<QPushButton>(QStringLiteral("buttonPlayPause"))->click();
    QCOMPARE(dialog->state(), QAudio::StoppedState);
    QVERIFY(dialog->isVisible());
}

void TestDialogPlayer::stop()
{
    open();
    const QSignalSpy finished(dialog.get(), &DialogPlayer::onFinish);
    child<QPushButton>(QStringLiteral("buttonStop"))->click();
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), false);
    QVERIFY(!dialog->isVisible());
}

void TestDialogPlayer::close()
{
    open();
    const QSignalSpy finished(dialog.get(), &DialogPlayer::onFinish);
    QVERIFY(dialog->close());
    QVERIFY(!dialog->isVisible());
    QCOMPARE(finished.count(), 0);
}

void TestDialogPlayer::escape()
{
    open();
    const QSignalSpy finished(dialog.get(), &DialogPlayer::onFinish);
    QTest::keyClick(dialog.get(), Qt::Key_Escape);
    QVERIFY(!dialog->isVisible());
    QCOMPARE(finished.count(), 0);
}

void TestDialogPlayer::emptySignal()
{
    open(QByteArray());
    QTRY_COMPARE(dialog->total(), QStringLiteral("00:00:00"));
    child<QPushButton>(QStringLiteral("buttonStop"))->click();
    QVERIFY(!dialog->isVisible());
}

void TestDialogPlayer::deletedAtOnce()
{
    open();
    dialog.reset();
    auto parent = std::make_unique<QWidget>();
    auto* const owned = new DialogPlayer(parent.get(), QByteArray(66150, '\x7f'), QString());
    const QSignalSpy destroyed(owned, &QObject::destroyed);
    parent.reset();
    QCOMPARE(destroyed.count(), 1);
}

void TestDialogPlayer::noSleepControl()
{
    open();
    guard->clear();
    dialog->busy();
    dialog->idle();
    dialog->changeWindowsState(1);
    QCOMPARE(guard->messages(), QStringList());
}

QTEST_MAIN(TestDialogPlayer)
#include "TestDialogPlayer.moc"
