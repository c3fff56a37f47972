// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MainWindow.h"
#include "app/init.h"
#include "net/DialogLogin.h"
#include "patients/CheckBoxHeader.h"
#include "patients/FormPatient.h"
#include "patients/ViewPatient.h"
#include "patients/ViewPatients.h"
#include "recipe/ReceiptDescriptionPopup.h"
#include "recipe/ViewImpact.h"
#include "recipe/ViewReceipt.h"
#include "signal/AudioRecorder.h"
#include "signal/DialogPlayer.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"
#include "tests/support/SoundServer.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QScreen>
#include <QSpinBox>
#include <QStackedWidget>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTableView>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
#include <QtEndian>

#include <algorithm>
#include <csignal>
#include <memory>
#include <sys/prctl.h>

namespace {

constexpr double toneFrequency = 440.0;
constexpr int passSize = 65709; // 2.98 s
constexpr int headerSize = 44;

/// A child that ends with this process, however that ends.
class BoundProcess : public QProcess
{
protected:
    void setupChildProcess() override { prctl(PR_SET_PDEATHSIG, SIGKILL); }
};

/// Types as a user does; what stands on no key is pasted.
void type(QWidget* field, const QString& text)
{
    field->setFocus();
    const bool onKeys = std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() < 0x80; });
    if (onKeys) {
        QTest::keyClicks(field, text);
    } else {
        QGuiApplication::clipboard()->setText(text);
        QTest::keyClick(field, Qt::Key_V, Qt::ControlModifier);
    }
}

template <typename T> bool isModal(QWidget* widget)
{
    return qobject_cast<T*>(widget) != nullptr;
}

} // namespace

/// A user's whole way through the program: the real window, the real server in a process of its own, a sound server
/// with a virtual sensor. The stations stand in the order of the way; each leaves a picture. After a station that
/// failed the way is blocked, and those behind it are skipped.
class TestTour : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void logIn();
    void list();
    void search();
    void newPatient();
    void card();
    void recordATone();
    void receipt();
    void impact();
    void saveWav();
    void play();
    void leaveWithSaving();
    void savedReceiptIsThere();
    void exportRecords();
    void deleteRecord();
    void deletePatient();
    void closeWindow();

private:
    void picture(const QString& name) const;
    QStackedWidget* stack() const { return qobject_cast<QStackedWidget*>(window->centralWidget()); }
    /// A widget of the screen on top, by its object name.
    template <typename T> T* find(const QString& name) const { return stack()->currentWidget()->findChild<T*>(name); }
    QTableView* table() const { return find<QTableView>(QStringLiteral("tableView")); }
    void press(const QString& button) const { press(find<QPushButton>(button)); }
    static void press(QPushButton* button)
    {
        QVERIFY(button != nullptr);
        QVERIFY2(button->isEnabled(), qPrintable(button->objectName()));
        QTest::mouseClick(button, Qt::LeftButton);
    }
    QString text(int row, int column) const { return table()->model()->index(row, column).data().toString().trimmed(); }
    int rows() const { return table()->model()->rowCount(); }
    void clickCell(int row, int column) const;
    void tick(int row) const;
    int rowOf(const QString& title, int column) const;
    void choose(const QString& box, const QString& item) const;
    bool idle() const { return window->findChild<QWidget*>(QStringLiteral("LoadingWindow")) == nullptr; }
    /// Answers the next question with yes, and leaves a picture of it.
    std::unique_ptr<ModalAnswer> answerYes(const QString& pictureName) const;
    /// Answers the next file dialog with this path, and leaves a picture of it.
    std::unique_ptr<ModalAnswer> answerFileDialog(const QString& path, const QString& pictureName) const;
    void startServer();
    void openReceipt();
    void openImpact();
    QStringList impactOrder() const;

    QString out;
    std::unique_ptr<QTemporaryDir> temporary;
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<SoundServer> sound;
    SoundServer::Sensor sensor;
    BoundProcess server;
    BoundProcess windowManager;
    BoundProcess compositor;
    std::unique_ptr<MainWindow> window;
    QString patientName = QString::fromUtf8("Zoë Tourist");
    QStringList chosen;
    bool blocked = false;
};

void TestTour::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    temporary = std::make_unique<QTemporaryDir>();
    QVERIFY(temporary->isValid());
    out = qEnvironmentVariable("QUELMAR_TOUR_DIR");
    if (out.isEmpty()) {
        out = temporary->filePath(QStringLiteral("tour"));
    }
    QVERIFY(QDir().mkpath(out));
    // The log and whatever else goes into the working directory stay out of the way.
    QVERIFY(QDir::setCurrent(temporary->path()));

    windowManager.start(QStringLiteral("openbox"), QStringList());
    QVERIFY2(windowManager.waitForStarted(), "openbox is needed for maximised windows");
    compositor.start(QStringLiteral("xcompmgr"), QStringList());
    QVERIFY2(compositor.waitForStarted(), "xcompmgr is needed for translucent windows");

    sound = std::make_unique<SoundServer>(SoundServer::PulseAudio);
    QVERIFY2(sound->start(), qPrintable(sound->errorText()));
    QVERIFY2(sound->addSensor(&sensor), qPrintable(sound->errorText()));
    startServer();
}

void TestTour::startServer()
{
    {
        QTcpServer probe;
        QVERIFY2(probe.listen(QHostAddress::LocalHost, LoopbackServer::clientPort()),
                 "Another program holds the address that the client was built for");
    }
    server.start(QCoreApplication::applicationDirPath() + QStringLiteral("/quelmar-server"),
                 {QStringLiteral("--listen"), QStringLiteral("127.0.0.1:%1").arg(LoopbackServer::clientPort()),
                  QStringLiteral("--database"), temporary->filePath(QStringLiteral("tour.sqlite")),
                  QStringLiteral("--demo")});
    QVERIFY(server.waitForStarted());
    QByteArray said;
    QTRY_VERIFY_WITH_TIMEOUT((said += server.readAllStandardOutput()).contains("listening on "), 30000);
}

void TestTour::cleanupTestCase()
{
    window.reset();
    if (server.state() != QProcess::NotRunning) {
        server.terminate();
        QVERIFY(server.waitForFinished());
        QCOMPARE(server.exitStatus(), QProcess::NormalExit);
        QCOMPARE(server.exitCode(), 0);
    }
    sound.reset();
    for (QProcess* process : {&compositor, &windowManager}) {
        process->kill();
        process->waitForFinished();
    }
    guard.reset();
}

void TestTour::init()
{
    if (blocked) {
        QSKIP("An earlier station of the way failed");
    }
}

void TestTour::cleanup()
{
    guard->verify();
    blocked = blocked || QTest::currentTestFailed();
}

void TestTour::picture(const QString& name) const
{
    QTest::qWait(150);
    const QPixmap screen = QGuiApplication::primaryScreen()->grabWindow(0);
    QVERIFY(screen.save(out + QLatin1Char('/') + name + QStringLiteral(".png")));
}

void TestTour::clickCell(int row, int column) const
{
    const QRect cell = table()->visualRect(table()->model()->index(row, column));
    QTest::mouseMove(table()->viewport(), cell.center());
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
}

void TestTour::tick(int row) const
{
    const QModelIndex index = table()->model()->index(row, 0);
    table()->scrollTo(index);
    const QRect cell = table()->visualRect(index);
    QStyleOptionViewItem option;
    option.initFrom(table());
    option.rect = cell;
    option.features = QStyleOptionViewItem::HasCheckIndicator | QStyleOptionViewItem::HasDisplay;
    option.text = index.data().toString();
    const QRect box = table()->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, table());
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, box.center());
}

int TestTour::rowOf(const QString& title, int column) const
{
    for (int row = 0; row < rows(); ++row) {
        if (text(row, column) == title) {
            return row;
        }
    }
    return -1;
}

void TestTour::choose(const QString& box, const QString& item) const
{
    auto* const combo = find<QComboBox>(box);
    const int index = combo->findText(item);
    QVERIFY2(index >= 0, qPrintable(item));
    combo->setFocus();
    while (combo->currentIndex() < index) {
        QTest::keyClick(combo, Qt::Key_Down);
    }
    while (combo->currentIndex() > index) {
        QTest::keyClick(combo, Qt::Key_Up);
    }
    QCOMPARE(combo->currentText(), item);
}

std::unique_ptr<ModalAnswer> TestTour::answerYes(const QString& pictureName) const
{
    return std::make_unique<ModalAnswer>(isModal<QMessageBox>, [this, pictureName](QWidget* widget) {
        picture(pictureName);
        press(qobject_cast<QPushButton*>(qobject_cast<QMessageBox*>(widget)->button(QMessageBox::Yes)));
    });
}

std::unique_ptr<ModalAnswer> TestTour::answerFileDialog(const QString& path, const QString& pictureName) const
{
    return std::make_unique<ModalAnswer>(isModal<QFileDialog>, [this, path, pictureName](QWidget* widget) {
        auto* const name = widget->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        name->setText(path);
        picture(pictureName);
        QTest::keyClick(name, Qt::Key_Return);
    });
}

void TestTour::logIn()
{
    ModalAnswer login(isModal<DialogLogin>, [this](QWidget* dialog) {
        auto* const name = dialog->findChild<QLineEdit*>(QStringLiteral("usernameField"));
        auto* const password = dialog->findChild<QLineEdit*>(QStringLiteral("passwordField"));
        auto* const confirm = dialog->findChild<QPushButton*>(QStringLiteral("buttonConfirm"));

        type(name, QStringLiteral("demo"));
        type(password, QStringLiteral("wrong"));
        picture(QStringLiteral("01-login"));
        BoxAnswer refused(QMessageBox::Ok);
        QTest::mouseClick(confirm, Qt::LeftButton);
        QTRY_VERIFY(refused.used());
        QVERIFY(!refused.text.isEmpty());
        QTRY_VERIFY(confirm->isEnabled());
        QCOMPARE(password->text(), QStringLiteral("wrong"));

        password->clear();
        type(password, QStringLiteral("demo"));
        QTest::keyClick(password, Qt::Key_Return);
    });
    window = std::make_unique<MainWindow>();
    QVERIFY(login.used());
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    QCOMPARE(stack()->count(), 1);
}

void TestTour::list()
{
    QTRY_VERIFY(rows() >= 12);
    QTRY_VERIFY(idle());
    picture(QStringLiteral("02-patients"));

    const QString first = text(0, 2);
    QTest::mouseClick(table()->horizontalHeader()->viewport(), Qt::LeftButton, Qt::NoModifier,
                      QPoint(table()->horizontalHeader()->sectionViewportPosition(2) + 40, 10));
    QTRY_VERIFY(idle());
    QTest::mouseClick(table()->horizontalHeader()->viewport(), Qt::LeftButton, Qt::NoModifier,
                      QPoint(table()->horizontalHeader()->sectionViewportPosition(2) + 40, 10));
    QTRY_VERIFY(idle());
    QVERIFY(text(0, 2) != first || text(rows() - 1, 2) != first);
}

void TestTour::search()
{
    auto* const field = find<QLineEdit>(QStringLiteral("searchField"));
    const int all = rows();
    const QString wanted = QString::fromUtf8("Ёлкина Вера Павловна");
    QVERIFY(rowOf(wanted, 2) >= 0);
    field->setFocus();
    type(field, wanted.toUpper());
    QTRY_VERIFY(rows() < all);
    QTRY_VERIFY(idle());
    QCOMPARE(text(0, 2), wanted);
    picture(QStringLiteral("03-search"));
    field->clear();
    QTRY_COMPARE(rows(), all);
    QTRY_VERIFY(idle());
}

void TestTour::newPatient()
{
    const int before = rows();
    ModalAnswer form(isModal<FormPatient>, [this](QWidget* dialog) {
        auto* const save = dialog->findChild<QPushButton*>(QStringLiteral("buttonSave"));
        QVERIFY(!save->isEnabled());
        QTest::mouseClick(dialog->findChild<QCheckBox*>(QStringLiteral("agreement")), Qt::LeftButton, Qt::NoModifier,
                          QPoint(8, dialog->findChild<QCheckBox*>(QStringLiteral("agreement"))->height() / 2));
        QVERIFY(save->isEnabled());
        {
            BoxAnswer noName(QMessageBox::Ok);
            QTest::mouseClick(save, Qt::LeftButton);
            QVERIFY(noName.used());
        }
        type(dialog->findChild<QLineEdit*>(QStringLiteral("nameField")), patientName);
        {
            BoxAnswer noDate(QMessageBox::Ok);
            QTest::mouseClick(save, Qt::LeftButton);
            QVERIFY(noDate.used());
        }
        type(dialog->findChild<QLineEdit*>(QStringLiteral("birthDateDayField")), QStringLiteral("29"));
        dialog->findChild<QComboBox*>(QStringLiteral("birthDateMonthBox"))->setCurrentIndex(1);
        type(dialog->findChild<QLineEdit*>(QStringLiteral("birthDateYearField")), QStringLiteral("1980"));
        QTest::mouseClick(dialog->findChild<QPushButton*>(QStringLiteral("buttonGenderFemale")), Qt::LeftButton);
        type(dialog->findChild<QLineEdit*>(QStringLiteral("phoneField")), QStringLiteral("+49 30 1234567"));
        type(dialog->findChild<QTextEdit*>(QStringLiteral("notesField")), QStringLiteral("Came by on a tour"));
        picture(QStringLiteral("04-new-patient"));
        // The boxes over the list have not brought the list in front of the form.
        const QPoint inside = save->mapToGlobal(QPoint(8, save->height() / 2));
        const QImage screen = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
        QCOMPARE(screen.pixelColor(inside), QColor(0x0d, 0xb4, 0x96));
        QTest::mouseClick(save, Qt::LeftButton);
    });
    press(QStringLiteral("buttonNewPatient"));
    QVERIFY(form.used());
    QTRY_COMPARE(rows(), before + 1);
    QCOMPARE(text(before, 2), patientName);
    QTRY_VERIFY(QApplication::activeModalWidget() == nullptr);
}

void TestTour::card()
{
    const QRect cell = table()->visualRect(table()->model()->index(rows() - 1, 2));
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
    QTest::mouseDClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
    QCOMPARE(stack()->count(), 2);
    QTRY_VERIFY(idle());
    QCOMPARE(rows(), 0);
    QVERIFY(find<QLabel>(QStringLiteral("labelPatientName"))->text().contains(patientName));
    QVERIFY(!find<QPushButton>(QStringLiteral("buttonReceipt"))->isEnabled());
    picture(QStringLiteral("05-card"));
}

void TestTour::recordATone()
{
    QVERIFY2(sound->feedTone(sensor, toneFrequency), qPrintable(sound->errorText()));
    ModalAnswer recorder(isModal<AudioRecorder>, [this](QWidget* dialog) {
        auto* const confirmBox = dialog->findChild<QWidget*>(QStringLiteral("groupRecordConfirm"));
        picture(QStringLiteral("06-recorder"));
        press(dialog->findChild<QPushButton*>(QStringLiteral("buttonStartRecord")));
        QTRY_VERIFY_WITH_TIMEOUT(confirmBox->isVisible(), 30000);
        picture(QStringLiteral("07-recorded"));
        press(dialog->findChild<QPushButton*>(QStringLiteral("buttonSaveRecord")));
    });
    press(QStringLiteral("buttonNewRecord"));
    sound->stopFeeding();
    QVERIFY(recorder.used());
    QTRY_COMPARE(rows(), 1);
    QTRY_VERIFY(idle());
    QVERIFY(!text(0, 3).isEmpty());
}

void TestTour::openReceipt()
{
    press(QStringLiteral("buttonReceipt"));
    QVERIFY(qobject_cast<ViewReceipt*>(stack()->currentWidget()) != nullptr);
    QTRY_VERIFY(find<QComboBox>(QStringLiteral("comboBoxCategories"))->count() > 0);
    QTRY_VERIFY(idle());
}

void TestTour::receipt()
{
    tick(0);
    QTRY_VERIFY(find<QPushButton>(QStringLiteral("buttonReceipt"))->isEnabled());
    picture(QStringLiteral("08-card-with-record"));
    openReceipt();
    QVERIFY(!find<QPushButton>(QStringLiteral("buttonReceipt"))->isEnabled());

    choose(QStringLiteral("comboBoxCategories"), QStringLiteral("Musical notes"));
    choose(QStringLiteral("comboBoxStorages"), QStringLiteral("Notes from A0 to C8"));
    press(QStringLiteral("buttonAnalyse"));
    QTRY_VERIFY(rows() > 0);
    QTRY_VERIFY(idle());
    // The tone that was recorded stands out above all others.
    QCOMPARE(text(0, 0), QStringLiteral("A4"));
    QVERIFY(text(0, 1).toInt() > text(1, 1).toInt());
    chosen = QStringList{text(0, 0), text(1, 0)};
    tick(0);
    tick(1);

    const QModelIndex notes = table()->model()->index(0, 3);
    const QPoint cell = table()->visualRect(notes).center();
    QCursor::setPos(table()->viewport()->mapToGlobal(cell));
    QTest::mouseMove(table()->viewport(), cell);
    ReceiptDescriptionPopup* popup = nullptr;
    QTRY_VERIFY([&popup] {
        const QWidgetList all = QApplication::topLevelWidgets();
        for (QWidget* widget : all) {
            auto* const candidate = qobject_cast<ReceiptDescriptionPopup*>(widget);
            if (candidate != nullptr && candidate->isVisible()) {
                popup = candidate;
            }
        }
        return popup != nullptr;
    }());
    QCOMPARE(popup->title(), QStringLiteral("A4"));
    picture(QStringLiteral("09-receipt"));
    QCursor::setPos(window->mapToGlobal(QPoint(5, 5)));
    QTRY_VERIFY(!popup->isVisible());

    choose(QStringLiteral("comboBoxCategories"), QStringLiteral("Frequency bands"));
    press(QStringLiteral("buttonAnalyse"));
    QTRY_VERIFY(rowOf(QStringLiteral("A4"), 0) < 0);
    QTRY_VERIFY(idle());
    QVERIFY(rows() > 0);
    chosen.append(text(0, 0));
    tick(0);
    QTRY_VERIFY(find<QPushButton>(QStringLiteral("buttonReceipt"))->isEnabled());
}

void TestTour::openImpact()
{
    press(QStringLiteral("buttonReceipt"));
    QVERIFY(qobject_cast<ViewImpact*>(stack()->currentWidget()) != nullptr);
}

QStringList TestTour::impactOrder() const
{
    QStringList order;
    for (int row = 0; row < rows(); ++row) {
        order.append(text(row, 3));
    }
    return order;
}

void TestTour::impact()
{
    openImpact();
    QCOMPARE(impactOrder(), chosen);
    picture(QStringLiteral("10-impact"));

    clickCell(0, 2); // down
    chosen.swapItemsAt(0, 1);
    QCOMPARE(impactOrder(), chosen);
    clickCell(2, 4); // away
    chosen.removeAt(2);
    QCOMPARE(impactOrder(), chosen);
}

void TestTour::saveWav()
{
    choose(QStringLiteral("comboBoxTarget"), find<QComboBox>(QStringLiteral("comboBoxTarget"))->itemText(1));
    const QString path = out + QStringLiteral("/impact.wav");
    QFile::remove(path);
    const auto dialog = answerFileDialog(path, QStringLiteral("11-save-wav"));
    press(QStringLiteral("buttonStart"));
    QTRY_VERIFY(dialog->used());
    QTRY_VERIFY(QFileInfo(path).size() > headerSize);
    QTRY_VERIFY(idle());
    picture(QStringLiteral("12-impact-saved"));

    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray wav = file.readAll();
    const QByteArray samples = wav.mid(headerSize);
    // One minute a marker: floor(60 / 2.98) = 20 passes of each of the two.
    QCOMPARE(samples.size(), 2 * 20 * passSize);
    QCOMPARE(wav.left(4), QByteArray("RIFF"));
    QCOMPARE(qFromLittleEndian<quint32>(wav.constData() + 4), quint32(samples.size() + 36));
    QCOMPARE(wav.mid(8, 8), QByteArray("WAVEfmt "));
    QCOMPARE(qFromLittleEndian<quint32>(wav.constData() + 24), quint32(22050));
    QCOMPARE(qFromLittleEndian<quint32>(wav.constData() + 40), quint32(samples.size()));
    // "A4" has been moved to the second place.
    QCOMPARE(chosen.at(1), QStringLiteral("A4"));
    const double found = SoundServer::dominantFrequency(samples.mid(20 * passSize, 2 * 22050));
    QVERIFY2(qAbs(found - toneFrequency) < 1.0, qPrintable(QString::number(found)));
}

void TestTour::play()
{
    // The button waits for a player after a saved file: a fresh screen starts anew.
    press(QStringLiteral("buttonBack"));
    QTRY_COMPARE(stack()->count(), 3);
    openImpact();
    QCOMPARE(rows(), 2);
    const QStringList savedOrder = chosen;
    chosen = impactOrder();

    QVERIFY2(sound->startCapture(sensor.output), qPrintable(sound->errorText()));
    press(QStringLiteral("buttonStart"));
    QTRY_VERIFY(window->findChild<DialogPlayer*>() != nullptr);
    auto* const player = window->findChild<DialogPlayer*>();
    QTRY_COMPARE(player->state(), QAudio::ActiveState);
    QVERIFY(!find<QPushButton>(QStringLiteral("buttonStart"))->isEnabled());
    QTest::qWait(3000);
    picture(QStringLiteral("13-player"));

    // Closing hides it; the button in the status bar brings it back.
    player->close();
    QVERIFY(!player->isVisible());
    QCOMPARE(player->state(), QAudio::ActiveState);
    auto* const button = window->statusBar()->findChild<QPushButton*>();
    QTRY_VERIFY(button->isVisible() && button->text().startsWith(patientName + QStringLiteral(" [00:00:")));
    picture(QStringLiteral("14-player-hidden"));
    press(button);
    QVERIFY(player->isVisible());

    // An armed answer waits ten seconds for its box; the player is a modal widget all the while.
    QTRY_VERIFY_WITH_TIMEOUT(player->left() <= QStringLiteral("00:00:04"), 90000);
    BoxAnswer finished(QMessageBox::Ok);
    QTRY_VERIFY_WITH_TIMEOUT(finished.used(), 20000);
    QVERIFY(!player->isVisible());
    QTRY_VERIFY(find<QPushButton>(QStringLiteral("buttonStart"))->isEnabled());

    // What reached the sensor is what was to be played: the parts of the saved file, once more in the order of the
    // table.
    const QByteArray arrived = sound->stopCapture();
    QFile file(out + QStringLiteral("/impact.wav"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray saved = file.readAll().mid(headerSize);
    QByteArray sent;
    const int passes = static_cast<int>(60.0 / 2.98 / 2);
    for (const QString& title : qAsConst(chosen)) {
        const int part = savedOrder.indexOf(title);
        QVERIFY(part >= 0);
        sent += saved.mid(part * 20 * passSize, passes * passSize);
    }
    const double share = SoundServer::arrivedShare(sent, arrived);
    QVERIFY2(share > 0.95, qPrintable(QString::number(share)));
}

void TestTour::leaveWithSaving()
{
    clickCell(0, 2);
    chosen.swapItemsAt(0, 1);
    QCOMPARE(impactOrder(), chosen);
    const auto yes = answerYes(QStringLiteral("15-leave-with-saving"));
    press(QStringLiteral("buttonPatientCard"));
    QVERIFY(yes->used());
    QTRY_COMPARE(stack()->count(), 2);
    QVERIFY(qobject_cast<ViewPatient*>(stack()->currentWidget()) != nullptr);
}

void TestTour::savedReceiptIsThere()
{
    openReceipt();
    QVERIFY(find<QPushButton>(QStringLiteral("buttonReceipt"))->isEnabled());
    openImpact();
    QCOMPARE(impactOrder(), chosen);
    picture(QStringLiteral("16-saved-receipt"));
    press(QStringLiteral("buttonPatientCard"));
    QTRY_COMPARE(stack()->count(), 2);
}

void TestTour::exportRecords()
{
    const QString path = out + QStringLiteral("/records.xlsx");
    QFile::remove(path);
    const auto dialog = answerFileDialog(path, QStringLiteral("17-export"));
    press(QStringLiteral("buttonExcelExport"));
    QTRY_VERIFY(dialog->used());
    QTRY_VERIFY(QFileInfo(path).size() > 1000);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    // A workbook is a ZIP archive.
    QCOMPARE(file.read(4), QByteArray("PK\x03\x04"));
}

void TestTour::deleteRecord()
{
    const auto question = answerYes(QStringLiteral("18-delete-record"));
    clickCell(0, 6);
    QVERIFY(question->used());
    QTRY_COMPARE(rows(), 0);
    QVERIFY(!find<QPushButton>(QStringLiteral("buttonReceipt"))->isEnabled());
}

void TestTour::deletePatient()
{
    const auto question = answerYes(QStringLiteral("19-delete-patient"));
    press(QStringLiteral("buttonDeletePatient"));
    QVERIFY(question->used());
    QTRY_COMPARE(stack()->count(), 1);
    QTRY_VERIFY(rowOf(patientName, 2) < 0);
    press(QStringLiteral("buttonRefresh"));
    QTRY_VERIFY(idle());
    QCOMPARE(rowOf(patientName, 2), -1);
}

void TestTour::closeWindow()
{
    {
        BoxAnswer no(QMessageBox::No);
        QVERIFY(!window->close());
        QVERIFY(no.used());
    }
    const auto yes = answerYes(QStringLiteral("20-close"));
    QVERIFY(window->close());
    QVERIFY(yes->used());
}

int main(int argc, char* argv[])
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication app(argc, argv);
    init(app);
    QApplication::setQuitOnLastWindowClosed(false);
    TestTour tour;
    return QTest::qExec(&tour, argc, argv);
}

#include "TestTour.moc"
