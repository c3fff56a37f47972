// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/AudioRecorder.h"
#include "signal/ProgressBar.h"
#include "signal/Utils.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/SoundServer.h"

#include <QAudioRecorder>
#include <QComboBox>
#include <QFile>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <memory>

namespace {

constexpr int signalSize = 66150;

} // namespace

/// The dialog on a machine without any sound: what it shows, what it keeps and how it ends. The samples come from the
/// test.
class TestAudioRecorder : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase() { guard.reset(); }
    void tree();
    void layout();
    void sizeWithoutRemote();
    void sizeWithRemote();
    void remoteGroup();
    void icons();
    void ready();
    void recordingWithoutInput();
    void encoderSettings();
    void confirm();
    void bufferSizes_data();
    void bufferSizes();
    void overshoot();
    void lateBuffer();
    void emptyBuffer();
    void recordAgain();
    void save();
    void cancel_data();
    void cancel();
    void escape_data();
    void escape();
    void command_data();
    void command();
    void deletedInEachState_data();
    void deletedInEachState();
    void temporaryFile_data();
    void temporaryFile();
    void noTemporaryFile();

private:
    enum Phase
    {
        Ready,
        Recording,
        Confirm,
    };
    static void phases();
    void open(bool remote);
    void deliver(const QByteArray& bytes);
    void bring(int phase);
    template <typename T> T* child(const QString& name) const
    {
        T* const found = dialog->findChild<T*>(name);
        if (found == nullptr) {
            QTest::qFail(qPrintable(QStringLiteral("There is no ") + name), __FILE__, __LINE__);
        }
        return found;
    }
    QPushButton* button(const QString& name) const { return child<QPushButton>(name); }
    QString message() const { return child<QLabel>(QStringLiteral("labelMessage"))->text(); }
    QImage icon() const { return child<QLabel>(QStringLiteral("labelIcon"))->pixmap(Qt::ReturnByValue).toImage(); }
    QImage expectedIcon(const QString& path) const { return dialog->getIcon(path).toImage(); }
    bool shown(const QString& name) const { return !child<QWidget>(name)->isHidden(); }
    QByteArray saved();
    QImage drawing() const;

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<AudioRecorder> dialog;
};

void TestAudioRecorder::initTestCase()
{
    SoundServer::hideAll();
    guard = std::make_unique<MessageGuard>();
}

void TestAudioRecorder::init()
{
    open(false);
}

void TestAudioRecorder::cleanup()
{
    dialog.reset();
    guard->verify();
}

void TestAudioRecorder::open(bool remote)
{
    dialog = std::make_unique<AudioRecorder>(nullptr, remote);
    dialog->show();
    QVERIFY(QTest::qWaitForWindowExposed(dialog.get()));
}

void TestAudioRecorder::deliver(const QByteArray& bytes)
{
    dialog->processBuffer(QAudioBuffer(bytes, Utils::audioFormat()));
}

void TestAudioRecorder::phases()
{
    QTest::addColumn<int>("phase");
    QTest::newRow("ready") << static_cast<int>(Ready);
    QTest::newRow("recording") << static_cast<int>(Recording);
    QTest::newRow("confirm") << static_cast<int>(Confirm);
}

void TestAudioRecorder::bring(int phase)
{
    if (phase == Ready) {
        return;
    }
    button(QStringLiteral("buttonStartRecord"))->click();
    deliver(QByteArray(1000, '\x40'));
    if (phase == Confirm) {
        deliver(QByteArray(signalSize, '\x60'));
    }
}

QByteArray TestAudioRecorder::saved()
{
    QByteArray wav;
    const QObject whileHere;
    connect(dialog.get(), &AudioRecorder::onSave, &whileHere,
            [&wav](const QByteArray& bytes, const QString&) { wav = bytes; });
    dialog->onSaveRecord();
    return wav;
}

QImage TestAudioRecorder::drawing() const
{
    auto* const bar = dialog->findChild<ProgressBar*>();
    QImage image(bar->size(), QImage::Format_RGB32);
    image.fill(Qt::black);
    bar->render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

void TestAudioRecorder::tree()
{
    QCOMPARE(dialog->objectName(), QStringLiteral("AudioRecorder"));
    QCOMPARE(dialog->windowTitle(), QStringLiteral("Title.signalRecord"));
    QCOMPARE(dialog->locale(), QLocale(QLocale::English, QLocale::UnitedStates));
    QCOMPARE(dialog->minimumSize(), QSize(600, 300));
    QCOMPARE(dialog->maximumSize(), QSize(600, 350));

    struct Text
    {
        const char* name;
        const char* key;
    };
    for (const Text& text : {Text{"buttonCancel", "Text.cancel"}, Text{"buttonRerecord", "Text.reRecord"},
                             Text{"buttonSaveRecord", "Text.saveRecord"}, Text{"buttonCancelRecord", "Text.cancel"},
                             Text{"buttonStartRecord", "Text.startRecord"}, Text{"buttonSendCommand", "Text.send"}}) {
        QCOMPARE(button(QString::fromLatin1(text.name))->text(), QString::fromLatin1(text.key));
    }
    QCOMPARE(child<QLabel>(QStringLiteral("labelMessageRemote"))->text(), QStringLiteral("Text.messageRemote"));
    for (const QString& name : {QStringLiteral("labelIcon"), QStringLiteral("labelIconRemote")}) {
        QCOMPARE(child<QLabel>(name)->minimumSize(), QSize(32, 32));
        QCOMPARE(child<QLabel>(name)->maximumSize(), QSize(32, 32));
    }
    for (const QString& name :
         {QStringLiteral("groupRecordConfirm"), QStringLiteral("groupRecordStart"), QStringLiteral("groupRemote")}) {
        QCOMPARE(child<QGroupBox>(name)->title(), QString());
    }
    const auto* const line = child<QFrame>(QStringLiteral("line"));
    QCOMPARE(line->frameShape(), QFrame::HLine);
    QCOMPARE(line->frameShadow(), QFrame::Sunken);
    QCOMPARE(child<QComboBox>(QStringLiteral("comboBoxTarget"))->minimumSize(), QSize(180, 32));
}

void TestAudioRecorder::layout()
{
    // What lies in a layout, in order: names of widgets and layouts, "<>" for a spacer that expands.
    const auto content = [this](const QString& name) {
        const auto* const box = child<QLayout>(name);
        QStringList names;
        for (int i = 0; box != nullptr && i < box->count(); ++i) {
            QLayoutItem* const item = box->itemAt(i);
            if (item->widget() != nullptr) {
                names.append(item->widget()->objectName().isEmpty()
                                 ? QString::fromLatin1(item->widget()->metaObject()->className())
                                 : item->widget()->objectName());
            } else if (const auto* const inner = dynamic_cast<const QLayout*>(item)) {
                names.append(inner->objectName());
            } else {
                names.append(item->expandingDirections() == Qt::Horizontal ? QStringLiteral("<>") : QString());
            }
        }
        return names.join(QLatin1Char(' '));
    };
    QCOMPARE(content(QStringLiteral("gridLayout")), QStringLiteral("verticalLayout"));
    QCOMPARE(content(QStringLiteral("verticalLayout")),
             QStringLiteral("horizontalLayout groupRecordConfirm groupRecordStart progressBarContainer groupRemote"));
    QCOMPARE(content(QStringLiteral("horizontalLayout")), QStringLiteral("labelIcon labelMessage"));
    QCOMPARE(content(QStringLiteral("horizontalLayout_3")),
             QStringLiteral("<> buttonCancel buttonRerecord buttonSaveRecord"));
    QCOMPARE(content(QStringLiteral("horizontalLayout_2")), QStringLiteral("<> buttonCancelRecord buttonStartRecord"));
    QCOMPARE(content(QStringLiteral("progressBarContainer")), QStringLiteral("ProgressBar"));
    QCOMPARE(content(QStringLiteral("verticalLayoutRemote")),
             QStringLiteral("line horizontalLayout_5 horizontalLayout_6"));
    QCOMPARE(content(QStringLiteral("horizontalLayout_5")), QStringLiteral("labelIconRemote labelMessageRemote"));
    QCOMPARE(content(QStringLiteral("horizontalLayout_6")), QStringLiteral("comboBoxTarget <> buttonSendCommand"));
    QCOMPARE(button(QStringLiteral("buttonSaveRecord"))->parentWidget()->objectName(),
             QStringLiteral("groupRecordConfirm"));
    QCOMPARE(button(QStringLiteral("buttonStartRecord"))->parentWidget()->objectName(),
             QStringLiteral("groupRecordStart"));
    QCOMPARE(button(QStringLiteral("buttonSendCommand"))->parentWidget()->objectName(), QStringLiteral("groupRemote"));
}

void TestAudioRecorder::sizeWithoutRemote()
{
    QCOMPARE(dialog->size(), QSize(600, 300));
}

void TestAudioRecorder::sizeWithRemote()
{
    open(true);
    QCOMPARE(dialog->size(), QSize(600, 333));
}

void TestAudioRecorder::remoteGroup()
{
    QVERIFY(!shown(QStringLiteral("groupRemote")));
    QCOMPARE(child<QComboBox>(QStringLiteral("comboBoxTarget"))->count(), 0);
    // Nothing is connected to the hidden button.
    const QSignalSpy commands(dialog.get(), &AudioRecorder::onCommand);
    button(QStringLiteral("buttonSendCommand"))->click();
    QCOMPARE(commands.count(), 0);
    QVERIFY(dialog->isVisible());

    open(true);
    QVERIFY(shown(QStringLiteral("groupRemote")));
    const auto* const targets = child<QComboBox>(QStringLiteral("comboBoxTarget"));
    QCOMPARE(targets->count(), 2);
    QCOMPARE(targets->currentIndex(), 0);
    QCOMPARE(targets->itemText(0), QStringLiteral("Text.record"));
    QCOMPARE(targets->itemData(0), QVariant(QStringLiteral("RECORD")));
    QCOMPARE(targets->itemText(1), QStringLiteral("Text.autospectrum"));
    QCOMPARE(targets->itemData(1), QVariant(QStringLiteral("AUTOSPECTRUM")));
    QVERIFY(targets->itemIcon(0).isNull());
    QVERIFY(targets->itemIcon(1).isNull());
    QCOMPARE(child<QLabel>(QStringLiteral("labelIconRemote"))->pixmap(Qt::ReturnByValue).toImage(),
             expectedIcon(QStringLiteral(":/images/connected-device.png")));
}

void TestAudioRecorder::icons()
{
    QTemporaryDir directory;
    QImage wide(64, 16, QImage::Format_ARGB32);
    wide.fill(Qt::red);
    const QString path = directory.filePath(QStringLiteral("wide.png"));
    QVERIFY(wide.save(path));
    const QPixmap icon = dialog->getIcon(path);
    QCOMPARE(icon.size(), QSize(32, 32));
    QCOMPARE(icon.toImage().pixelColor(1, 1), QColor(Qt::red));
    QCOMPARE(icon.toImage().pixelColor(30, 30), QColor(Qt::red));

    for (const QString& name :
         {QStringLiteral("record-sensor"), QStringLiteral("record-done"), QStringLiteral("connected-device")}) {
        QCOMPARE(dialog->getIcon(QStringLiteral(":/images/%1.png").arg(name)).size(), QSize(32, 32));
    }
}

void TestAudioRecorder::ready()
{
    QVERIFY(shown(QStringLiteral("groupRecordStart")));
    QVERIFY(!shown(QStringLiteral("groupRecordConfirm")));
    QCOMPARE(message(), QStringLiteral("Dialog.signalRecord"));
    QCOMPARE(icon(), expectedIcon(QStringLiteral(":/images/record-sensor.png")));
    QVERIFY(button(QStringLiteral("buttonStartRecord"))->isEnabled());
    QCOMPARE(dialog->findChildren<ProgressBar*>().size(), 1);
}

void TestAudioRecorder::recordingWithoutInput()
{
    const auto* const recorder = dialog->findChild<QAudioRecorder*>();
    QCOMPARE(recorder->audioInputs(), QStringList());
    button(QStringLiteral("buttonStartRecord"))->click();
    QVERIFY(shown(QStringLiteral("groupRecordStart")));
    QVERIFY(!shown(QStringLiteral("groupRecordConfirm")));
    QCOMPARE(message(), QStringLiteral("Dialog.signalRecordInProgress"));
    QCOMPARE(icon(), expectedIcon(QStringLiteral(":/images/record-sensor.png")));
    QVERIFY(!button(QStringLiteral("buttonStartRecord"))->isEnabled());

    // No message is shown, and cancelling is the way out.
    QTest::qWait(300);
    QVERIFY(dialog->isVisible());
    QVERIFY(QApplication::activeModalWidget() == nullptr);
    QCOMPARE(recorder->state(), QMediaRecorder::StoppedState);
    button(QStringLiteral("buttonCancelRecord"))->click();
    QVERIFY(!dialog->isVisible());
}

void TestAudioRecorder::encoderSettings()
{
    const auto* const recorder = dialog->findChild<QAudioRecorder*>();
    QCOMPARE(recorder->parent(), dialog.get());
    button(QStringLiteral("buttonStartRecord"))->click();
    const QAudioEncoderSettings settings = recorder->audioSettings();
    QCOMPARE(settings.codec(), QStringLiteral("audio/pcm"));
    QCOMPARE(settings.sampleRate(), 22050);
    QCOMPARE(settings.bitRate(), 0);
    QCOMPARE(settings.channelCount(), 1);
    QCOMPARE(settings.quality(), QMultimedia::LowQuality);
    QCOMPARE(settings.encodingMode(), QMultimedia::ConstantQualityEncoding);
    QCOMPARE(recorder->containerFormat(), QStringLiteral("audio/x-wav"));
    // No input matches.
    QCOMPARE(recorder->volume(), 0.5);
    QVERIFY(recorder->outputLocation().isEmpty());
}

void TestAudioRecorder::confirm()
{
    bring(Confirm);
    QVERIFY(!shown(QStringLiteral("groupRecordStart")));
    QVERIFY(shown(QStringLiteral("groupRecordConfirm")));
    QCOMPARE(message(), QStringLiteral("Dialog.signalRecordConfirm"));
    QCOMPARE(icon(), expectedIcon(QStringLiteral(":/images/record-done.png")));
    QVERIFY(!button(QStringLiteral("buttonStartRecord"))->isEnabled());
}

void TestAudioRecorder::bufferSizes_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("a tenth of a second") << 2205;
    QTest::newRow("no divisor of the signal") << 4096;
    QTest::newRow("one less than all") << signalSize - 1;
    QTest::newRow("exactly all") << signalSize;
    QTest::newRow("twice all") << 2 * signalSize;
}

void TestAudioRecorder::bufferSizes()
{
    QFETCH(int, size);
    QByteArray sent;
    button(QStringLiteral("buttonStartRecord"))->click();
    for (int i = 0; sent.size() < signalSize; ++i) {
        QVERIFY(!shown(QStringLiteral("groupRecordConfirm")));
        const QByteArray piece(size, static_cast<char>(i + 1));
        deliver(piece);
        sent += piece;
    }
    QVERIFY(shown(QStringLiteral("groupRecordConfirm")));
    const QByteArray wav = saved();
    QCOMPARE(wav.size(), 66194);
    QCOMPARE(wav.left(44), Utils::wavHeader(signalSize));
    QVERIFY(wav.mid(44) == sent.left(signalSize));
}

void TestAudioRecorder::overshoot()
{
    const QColor recorded(234, 239, 242);
    const QColor line(13, 180, 149);
    button(QStringLiteral("buttonStartRecord"))->click();
    deliver(QByteArray(30000, '\x7f'));
    deliver(QByteArray(30000, '\x7f'));
    deliver(QByteArray(30000, '\x7f'));
    QVERIFY(shown(QStringLiteral("groupRecordConfirm")));

    // The ground stops where the buffer before ended, and the trace goes on to the end.
    const QImage image = drawing();
    const int right = static_cast<int>(60000.0 / signalSize * image.width());
    QCOMPARE(image.pixelColor(right, 2), recorded);
    QCOMPARE(image.pixelColor(right + 1, 2), QColor(Qt::black));
    int last = 0;
    for (int x = 0; x < image.width(); ++x) {
        for (int y = 0; y < image.height(); ++y) {
            last = image.pixelColor(x, y) == line ? x : last;
        }
    }
    QVERIFY2(last >= image.width() - 2, qPrintable(QString::number(last)));
}

void TestAudioRecorder::lateBuffer()
{
    button(QStringLiteral("buttonStartRecord"))->click();
    const QByteArray bytes(signalSize, '\x22');
    deliver(bytes);
    deliver(QByteArray(2205, '\x33'));
    deliver(QByteArray(70000, '\x44'));
    QVERIFY(!shown(QStringLiteral("groupRecordStart")));
    QVERIFY(shown(QStringLiteral("groupRecordConfirm")));
    QCOMPARE(message(), QStringLiteral("Dialog.signalRecordConfirm"));
    const QByteArray wav = saved();
    QCOMPARE(wav.size(), 66194);
    QVERIFY(wav.mid(44) == bytes);
}

void TestAudioRecorder::emptyBuffer()
{
    button(QStringLiteral("buttonStartRecord"))->click();
    dialog->processBuffer(QAudioBuffer());
    deliver(QByteArray());
    QCOMPARE(message(), QStringLiteral("Dialog.signalRecordInProgress"));
    deliver(QByteArray(signalSize, '\x22'));
    QCOMPARE(saved().size(), 66194);
}

void TestAudioRecorder::recordAgain()
{
    QImage empty(dialog->findChild<ProgressBar*>()->size(), QImage::Format_RGB32);
    empty.fill(Qt::black);
    bring(Confirm);
    QVERIFY(drawing() != empty);
    button(QStringLiteral("buttonRerecord"))->click();
    ready();
    QCOMPARE(drawing(), empty);

    // Another trace and nothing of the first.
    button(QStringLiteral("buttonStartRecord"))->click();
    QCOMPARE(drawing(), empty);
    deliver(QByteArray(100, '\x7f'));
    const QColor line(13, 180, 149);
    const QImage image = drawing();
    for (int x = 10; x < image.width(); ++x) {
        for (int y = 0; y < image.height(); ++y) {
            QVERIFY(image.pixelColor(x, y) != line);
        }
    }
    const QByteArray rest(signalSize - 100, '\x55');
    deliver(rest);
    QVERIFY(saved().mid(44) == QByteArray(100, '\x7f') + rest);
}

void TestAudioRecorder::save()
{
    bring(Confirm);
    QString identity(QStringLiteral("none"));
    int saves = 0;
    int visible = 0;
    const QObject whileHere;
    connect(dialog.get(), &AudioRecorder::onSave, &whileHere, [&](const QByteArray& wav, const QString& deviceId) {
        ++saves;
        visible += dialog->isVisible() ? 1 : 0;
        identity = deviceId;
        QCOMPARE(wav.size(), 66194);
    });
    const QSignalSpy finished(dialog.get(), &QDialog::finished);
    button(QStringLiteral("buttonSaveRecord"))->click();
    QCOMPARE(saves, 1);
    QCOMPARE(visible, 1);
    QCOMPARE(identity, Utils::getDeviceId());
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toInt(), static_cast<int>(QDialog::Rejected));
    QVERIFY(!dialog->isVisible());
}

void TestAudioRecorder::cancel_data()
{
    phases();
}

void TestAudioRecorder::cancel()
{
    QFETCH(int, phase);
    bring(phase);
    const QSignalSpy finished(dialog.get(), &QDialog::finished);
    const QSignalSpy saves(dialog.get(), &AudioRecorder::onSave);
    button(phase == Confirm ? QStringLiteral("buttonCancel") : QStringLiteral("buttonCancelRecord"))->click();
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toInt(), static_cast<int>(QDialog::Rejected));
    QCOMPARE(saves.count(), 0);
    QCOMPARE(dialog->findChild<QAudioRecorder*>()->state(), QMediaRecorder::StoppedState);
}

void TestAudioRecorder::escape_data()
{
    phases();
}

void TestAudioRecorder::escape()
{
    QFETCH(int, phase);
    bring(phase);
    const QSignalSpy finished(dialog.get(), &QDialog::finished);
    QTest::keyClick(dialog.get(), Qt::Key_Escape);
    QCOMPARE(finished.count(), 1);
    QVERIFY(!dialog->isVisible());
    // Buffers that still come do no harm.
    deliver(QByteArray(signalSize, '\x22'));
}

void TestAudioRecorder::command_data()
{
    QTest::addColumn<int>("phase");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("command");
    const QStringList names{QStringLiteral("ready"), QStringLiteral("recording"), QStringLiteral("confirm")};
    for (int phase = Ready; phase <= Confirm; ++phase) {
        QTest::newRow(qPrintable(names.at(phase) + QStringLiteral(", record")))
            << phase << 0 << QStringLiteral("RECORD");
        QTest::newRow(qPrintable(names.at(phase) + QStringLiteral(", autospectrum")))
            << phase << 1 << QStringLiteral("AUTOSPECTRUM");
    }
}

void TestAudioRecorder::command()
{
    QFETCH(int, phase);
    QFETCH(int, index);
    QFETCH(QString, command);
    open(true);
    bring(phase);
    child<QComboBox>(QStringLiteral("comboBoxTarget"))->setCurrentIndex(index);
    const QSignalSpy commands(dialog.get(), &AudioRecorder::onCommand);
    const QSignalSpy finished(dialog.get(), &QDialog::finished);
    button(QStringLiteral("buttonSendCommand"))->click();
    QCOMPARE(commands.count(), 1);
    QCOMPARE(commands.at(0).at(0).toString(), command);
    QCOMPARE(finished.count(), 1);
    QVERIFY(!dialog->isVisible());
}

void TestAudioRecorder::deletedInEachState_data()
{
    phases();
}

void TestAudioRecorder::deletedInEachState()
{
    QFETCH(int, phase);
    bring(phase);
    dialog.reset();
}

void TestAudioRecorder::temporaryFile_data()
{
    QTest::addColumn<bool>("recorded");
    QTest::newRow("removed when cancelled") << false;
    QTest::newRow("removed when recorded") << true;
}

void TestAudioRecorder::temporaryFile()
{
    QFETCH(bool, recorded);
    QTemporaryDir directory;
    // A blank is decoded in the path.
    const QString path = directory.filePath(QStringLiteral("by product.wav"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QVERIFY(dialog->findChild<QAudioRecorder*>()->setOutputLocation(QUrl::fromLocalFile(path)));
    if (recorded) {
        deliver(QByteArray(signalSize, '\x22'));
    } else {
        dialog->onCancel();
    }
    QVERIFY(!QFile::exists(path));
}

void TestAudioRecorder::noTemporaryFile()
{
    guard->clear();
    dialog->deleteTemporaryFile();
    dialog->onCancel();
    QCOMPARE(guard->messages(), QStringList());
}

QTEST_MAIN(TestAudioRecorder)
#include "TestAudioRecorder.moc"
