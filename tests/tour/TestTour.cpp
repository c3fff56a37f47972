// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/ViewAnalysis.h"
#include "analysis/ViewComparativeAnalysis.h"
#include "analysis/ViewRecoveryHistory.h"
#include "app/Constants.h"
#include "app/DialogAbout.h"
#include "app/DialogChangePassword.h"
#include "app/MainWindow.h"
#include "app/init.h"
#include "net/DialogLogin.h"
#include "patients/CheckBoxHeader.h"
#include "patients/DialogManageDevices.h"
#include "patients/FormPatient.h"
#include "patients/ViewPatient.h"
#include "patients/ViewPatients.h"
#include "recipe/ReceiptDescriptionPopup.h"
#include "recipe/ViewImpact.h"
#include "recipe/ViewReceipt.h"
#include "signal/AudioRecorder.h"
#include "signal/DialogAutospectrum.h"
#include "signal/DialogPlayer.h"
#include "tests/signal/FakeUsb.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"
#include "tests/support/SoundServer.h"

#include <QAction>
#include <QApplication>
#include <QChart>
#include <QChartView>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSpinBox>
#include <QStackedWidget>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
#include <QXYSeries>
#include <QtEndian>

#include <algorithm>
#include <csignal>
#include <functional>
#include <memory>
#include <random>
#include <sys/prctl.h>

namespace {

constexpr double toneFrequency = 440.0;
constexpr double octaveFrequency = 880.0;
constexpr int noiseSeconds = 60;
constexpr int sampleRate = 22050;
constexpr int dateColumn = 3;
constexpr int simulatedSeconds = 2;
const char* const usbSerial = "Q-TOUR-7";
constexpr int questionnaireColumn = 5;
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

bool hasCyrillic(const QString& text)
{
    return std::any_of(text.cbegin(), text.cend(), [](QChar c) { return c.script() == QChar::Script_Cyrillic; });
}

/// What stands on the labels and buttons that can be seen. The list of languages and names of people are no texts of
/// the program.
QString textsOf(const QWidget* widget)
{
    QString texts;
    const QList<QLabel*> labels = widget->findChildren<QLabel*>();
    for (const QLabel* label : labels) {
        if (label->isVisible() && !label->objectName().contains(QLatin1String("Name"))) {
            texts += label->text();
        }
    }
    const QList<QAbstractButton*> buttons = widget->findChildren<QAbstractButton*>();
    for (const QAbstractButton* button : buttons) {
        texts += button->isVisible() ? button->text() : QString();
    }
    return texts;
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
    void recordMore();
    void analysis();
    void comparison();
    void history();
    void historyLeftUnsaved();
    void historyLeftWithSaving();
    void about();
    void updates();
    void changePassword();
    void bindDevice();
    void remoteRecording();
    void blockAndEnable();
    void unbindDevice();
    void autospectrum();
    void speakRussian();
    void everyScreenInRussian();
    void speakEnglish();
    void deleteRecord();
    void deletePatient();
    void closeWindow();

private:
    /// Of the whole screen; the files are numbered in the order of the way.
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
    void tickAll() const;
    int rowOf(const QString& title, int column) const;
    void choose(const QString& box, const QString& item) const;
    bool idle() const { return window->findChild<QWidget*>(QStringLiteral("LoadingWindow")) == nullptr; }
    /// Answers the next question with yes, and leaves a picture of it.
    std::unique_ptr<ModalAnswer> answerYes(const QString& pictureName) const;
    /// Answers the next file dialog with this path, and leaves a picture of it.
    std::unique_ptr<ModalAnswer> answerFileDialog(const QString& path, const QString& pictureName) const;
    void startServer();
    /// Records what the sensor hears, as the newest row of the card.
    void record(const QString& pictureName);
    /// Of the analysis table, whose first column has the titles.
    QString strongest(const QAbstractItemModel* model, int column, int* value) const;
    /// Null if there is none; players that have ended stay with the window, hidden.
    DialogPlayer* openPlayer() const;
    void openCard();
    void trigger(const QString& action);
    /// Opens the dialog of the remote device, and closes it after use if it is still open.
    void manageDevice(const std::function<void(QWidget*)>& use);
    QImage cardIcon() const;
    /// Goes to the list, loads it anew, and looks at the patient's row.
    void verifyListShows(const QString& icon, const char* toolTip);
    QAction* languageAction(const QString& locale) const;
    /// Through the menu, from one language to another.
    void chooseLanguage(const QString& locale);
    /// Leaves a picture of a dialog in Russian, and closes it.
    void showDialog(const QString& name, bool (*isIt)(QWidget*), const std::function<void()>& open);
    /// Leaves a picture of the screen on top, in Russian.
    void showScreen(const QString& name);
    void openHistory();
    /// Sets the intensity of a symptom through the combo box of its cell.
    void rate(const QString& symptom, int column, int intensity) const;
    QString intensity(const QString& symptom, int column) const { return text(rowOf(symptom, 0), column); }
    void openReceipt();
    void openImpact();
    QStringList impactOrder() const;

    QString out;
    mutable int pictures = 0;
    std::unique_ptr<QTemporaryDir> temporary;
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<SoundServer> sound;
    SoundServer::Sensor sensor;
    BoundProcess server;
    BoundProcess compositor;
    std::unique_ptr<MainWindow> window;
    QString patientName = QString::fromUtf8("Zoë Tourist");
    QString password = QStringLiteral("demo");
    QStringList chosen;
    /// An answer that outlives the dialog it was armed in.
    std::unique_ptr<BoxAnswer> armed;
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
                  QStringLiteral("--demo"), QStringLiteral("--simulate-devices"), QStringLiteral("--simulate-seconds"),
                  QString::number(simulatedSeconds)});
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
    compositor.kill();
    compositor.waitForFinished();
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
    const QString number = QStringLiteral("%1").arg(++pictures, 2, 10, QLatin1Char('0'));
    QVERIFY(screen.save(out + QLatin1Char('/') + number + QLatin1Char('-') + name + QStringLiteral(".png")));
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

void TestTour::tickAll() const
{
    for (int row = 0; row < rows(); ++row) {
        if (table()->model()->index(row, 0).data(Qt::CheckStateRole).toInt() != Qt::Checked) {
            tick(row);
        }
    }
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
        auto* const secret = dialog->findChild<QLineEdit*>(QStringLiteral("passwordField"));
        auto* const confirm = dialog->findChild<QPushButton*>(QStringLiteral("buttonConfirm"));

        type(name, QStringLiteral("demo"));
        type(secret, QStringLiteral("wrong"));
        picture(QStringLiteral("login"));
        BoxAnswer refused(QMessageBox::Ok);
        QTest::mouseClick(confirm, Qt::LeftButton);
        QTRY_VERIFY(refused.used());
        QVERIFY(!refused.text.isEmpty());
        QTRY_VERIFY(confirm->isEnabled());
        QCOMPARE(secret->text(), QStringLiteral("wrong"));

        secret->clear();
        type(secret, password);
        QTest::keyClick(secret, Qt::Key_Return);
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
    picture(QStringLiteral("patients"));

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
    picture(QStringLiteral("search"));
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
        picture(QStringLiteral("new-patient"));
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

void TestTour::openCard()
{
    const int row = rowOf(patientName, 2);
    QVERIFY(row >= 0);
    table()->scrollTo(table()->model()->index(row, 2));
    const QRect cell = table()->visualRect(table()->model()->index(row, 2));
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
    QTest::mouseDClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
    QCOMPARE(stack()->count(), 2);
    QTRY_VERIFY(idle());
}

void TestTour::card()
{
    openCard();
    QCOMPARE(rows(), 0);
    QVERIFY(find<QLabel>(QStringLiteral("labelPatientName"))->text().contains(patientName));
    QVERIFY(!find<QPushButton>(QStringLiteral("buttonReceipt"))->isEnabled());
    picture(QStringLiteral("card"));
}

void TestTour::record(const QString& pictureName)
{
    const int before = rows();
    ModalAnswer recorder(isModal<AudioRecorder>, [this, pictureName](QWidget* dialog) {
        auto* const confirmBox = dialog->findChild<QWidget*>(QStringLiteral("groupRecordConfirm"));
        press(dialog->findChild<QPushButton*>(QStringLiteral("buttonStartRecord")));
        QTRY_VERIFY_WITH_TIMEOUT(confirmBox->isVisible(), 30000);
        picture(pictureName);
        press(dialog->findChild<QPushButton*>(QStringLiteral("buttonSaveRecord")));
    });
    press(QStringLiteral("buttonNewRecord"));
    sound->stopFeeding();
    QVERIFY(recorder.used());
    QTRY_COMPARE(rows(), before + 1);
    QTRY_VERIFY(idle());
    QVERIFY(!text(0, dateColumn).isEmpty());
}

void TestTour::recordATone()
{
    {
        ModalAnswer cancelled(isModal<AudioRecorder>, [this](QWidget* dialog) {
            picture(QStringLiteral("recorder"));
            QVERIFY(dialog->close());
        });
        press(QStringLiteral("buttonNewRecord"));
        QVERIFY(cancelled.used());
        QCOMPARE(rows(), 0);
    }
    QVERIFY2(sound->feedTone(sensor, toneFrequency), qPrintable(sound->errorText()));
    record(QStringLiteral("recorded"));
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
    picture(QStringLiteral("card-with-record"));
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
    picture(QStringLiteral("receipt"));
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
    picture(QStringLiteral("impact"));

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
    const auto dialog = answerFileDialog(path, QStringLiteral("save-wav"));
    press(QStringLiteral("buttonStart"));
    QTRY_VERIFY(dialog->used());
    QTRY_VERIFY(QFileInfo(path).size() > headerSize);
    QTRY_VERIFY(idle());
    picture(QStringLiteral("impact-saved"));

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

DialogPlayer* TestTour::openPlayer() const
{
    const QList<DialogPlayer*> players = window->findChildren<DialogPlayer*>();
    const auto open = std::find_if(players.cbegin(), players.cend(), [](auto* player) { return player->isVisible(); });
    return open == players.cend() ? nullptr : *open;
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
    DialogPlayer* player = nullptr;
    QTRY_VERIFY((player = openPlayer()) != nullptr);
    QTRY_COMPARE(player->state(), QAudio::ActiveState);
    QVERIFY(!find<QPushButton>(QStringLiteral("buttonStart"))->isEnabled());
    QTest::qWait(3000);
    picture(QStringLiteral("player"));

    // Closing hides it; the button in the status bar brings it back.
    player->close();
    QVERIFY(!player->isVisible());
    QCOMPARE(player->state(), QAudio::ActiveState);
    auto* const button = window->statusBar()->findChild<QPushButton*>();
    QTRY_VERIFY(button->isVisible() && button->text().startsWith(patientName + QStringLiteral(" [00:00:")));
    picture(QStringLiteral("player-hidden"));
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
    const auto yes = answerYes(QStringLiteral("leave-with-saving"));
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
    picture(QStringLiteral("saved-receipt"));
    press(QStringLiteral("buttonPatientCard"));
    QTRY_COMPARE(stack()->count(), 2);
}

void TestTour::exportRecords()
{
    const QString path = out + QStringLiteral("/records.xlsx");
    QFile::remove(path);
    const auto dialog = answerFileDialog(path, QStringLiteral("export"));
    press(QStringLiteral("buttonExcelExport"));
    QTRY_VERIFY(dialog->used());
    QTRY_VERIFY(QFileInfo(path).size() > 1000);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    // A workbook is a ZIP archive.
    QCOMPARE(file.read(4), QByteArray("PK\x03\x04"));
}

void TestTour::recordMore()
{
    QVERIFY2(sound->feedTone(sensor, octaveFrequency), qPrintable(sound->errorText()));
    record(QStringLiteral("recorded-octave"));

    std::mt19937 random(1);
    QByteArray noise(noiseSeconds * sampleRate, 0);
    std::generate(noise.begin(), noise.end(), [&random] { return static_cast<char>(28 + random() % 200); });
    QVERIFY2(sound->feed(sensor, noise), qPrintable(sound->errorText()));
    record(QStringLiteral("recorded-noise"));
    QCOMPARE(rows(), 3);
    QVERIFY(text(0, dateColumn) > text(1, dateColumn) && text(1, dateColumn) > text(2, dateColumn));
    for (int row = 0; row < rows(); ++row) {
        QCOMPARE(text(row, questionnaireColumn), QStringLiteral("No"));
    }
    tickAll();
    picture(QStringLiteral("card-with-three-records"));
}

QString TestTour::strongest(const QAbstractItemModel* model, int column, int* value) const
{
    int best = 0;
    for (int row = 1; row < model->rowCount(); ++row) {
        if (model->index(row, column).data().toInt() > model->index(best, column).data().toInt()) {
            best = row;
        }
    }
    *value = model->index(best, column).data().toInt();
    return model->index(best, 0).data().toString();
}

void TestTour::analysis()
{
    // The records in the order of the card: noise, 880 Hz, 440 Hz.
    const QStringList dates{text(0, dateColumn), text(1, dateColumn), text(2, dateColumn)};
    press(QStringLiteral("buttonAnalysis"));
    QVERIFY(qobject_cast<ViewAnalysis*>(stack()->currentWidget()) != nullptr);
    const auto* const summary = find<QTableView>(QStringLiteral("summaryTableView"))->model();
    QTRY_VERIFY(summary->rowCount() > 0);
    QTRY_VERIFY(idle());
    QCOMPARE(summary->columnCount(), 4);
    // The first record of a patient has nothing to be compared with.
    for (int row = 0; row < summary->rowCount(); ++row) {
        QCOMPARE(summary->index(row, 3).data().toInt(), 0);
    }
    picture(QStringLiteral("analysis-summary"));

    auto* const tabs = find<QTabWidget>(QStringLiteral("tabWidget"))->tabBar();
    QTest::mouseClick(tabs, Qt::LeftButton, Qt::NoModifier, tabs->tabRect(1).center());
    QTRY_VERIFY(find<QComboBox>(QStringLiteral("comboBoxCategories"))->count() > 0);
    QTRY_VERIFY(idle());
    choose(QStringLiteral("comboBoxCategories"), QStringLiteral("Musical notes"));
    choose(QStringLiteral("comboBoxStorages"), QStringLiteral("Notes from A0 to C8"));
    press(QStringLiteral("buttonAnalyse"));
    auto* const view = find<QTableView>(QStringLiteral("analysisTableView"));
    QTRY_VERIFY(view->model()->rowCount() > 0);
    QTRY_VERIFY(idle());
    QCOMPARE(view->model()->columnCount(), 4);
    for (int column = 1; column < 4; ++column) {
        QCOMPARE(view->model()->headerData(column, Qt::Horizontal).toString(), dates.at(column - 1));
    }
    int noiseValue = 0;
    int octaveValue = 0;
    int toneValue = 0;
    strongest(view->model(), 1, &noiseValue);
    QCOMPARE(strongest(view->model(), 2, &octaveValue), QStringLiteral("A5"));
    QCOMPARE(strongest(view->model(), 3, &toneValue), QStringLiteral("A4"));
    QVERIFY(noiseValue < octaveValue);
    QVERIFY(noiseValue < toneValue);

    // By the last record, the strongest on top.
    QHeaderView* const header = view->horizontalHeader();
    const QPoint section(header->sectionViewportPosition(3) + header->sectionSize(3) / 2, header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, section);
    if (header->sortIndicatorOrder() != Qt::DescendingOrder) {
        QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, section);
    }
    QCOMPARE(view->model()->index(0, 0).data().toString(), QStringLiteral("A4"));
    QCOMPARE(view->model()->index(0, 3).data().toInt(), toneValue);
    picture(QStringLiteral("analysis-markers"));
    press(QStringLiteral("buttonBack"));
    QTRY_COMPARE(stack()->count(), 2);
}

void TestTour::comparison()
{
    press(QStringLiteral("buttonComparativeAnalysis"));
    QVERIFY(qobject_cast<ViewComparativeAnalysis*>(stack()->currentWidget()) != nullptr);
    QTRY_COMPARE(stack()->currentWidget()->findChildren<QtCharts::QChartView*>().size(), 4);
    QTRY_VERIFY(idle());
    const auto* const layout = find<QWidget>(QStringLiteral("chartsContainer"))->layout();
    for (int i = 0; i < 4; ++i) {
        const auto* const view = qobject_cast<QtCharts::QChartView*>(layout->itemAt(i)->widget());
        QVERIFY(view != nullptr);
        const QList<QtCharts::QAbstractSeries*> series = view->chart()->series();
        QVERIFY(!series.isEmpty());
        // But for the bands of the first chart, each series has a point for each record.
        const auto* const line = qobject_cast<QtCharts::QXYSeries*>(series.first());
        QVERIFY(line != nullptr);
        if (i == 0) {
            QCOMPARE(series.size(), 3);
            QVERIFY(line->count() > 3);
        } else {
            QCOMPARE(line->count(), 3);
        }
    }
    picture(QStringLiteral("comparison"));
    auto* const bar = find<QScrollArea>(QStringLiteral("scrollArea"))->verticalScrollBar();
    bar->setValue(bar->maximum());
    picture(QStringLiteral("comparison-below"));
    press(QStringLiteral("buttonBack"));
    QTRY_COMPARE(stack()->count(), 2);
}

void TestTour::openHistory()
{
    press(QStringLiteral("buttonRecoveryHistory"));
    QVERIFY(qobject_cast<ViewRecoveryHistory*>(stack()->currentWidget()) != nullptr);
    QTRY_VERIFY(rows() > 2);
    QTRY_VERIFY(idle());
    QCOMPARE(table()->model()->columnCount(), 4);
}

void TestTour::rate(const QString& symptom, int column, int intensity) const
{
    const int row = rowOf(symptom, 0);
    QVERIFY2(row >= 2, qPrintable(symptom));
    const QModelIndex index = table()->model()->index(row, column);
    table()->scrollTo(index);
    const QPoint cell = table()->visualRect(index).center();
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, cell);
    QTest::mouseDClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, cell);
    auto* const editor = table()->viewport()->findChild<QComboBox*>();
    QVERIFY(editor != nullptr);
    while (editor->currentIndex() < intensity) {
        QTest::keyClick(editor, Qt::Key_Down);
    }
    while (editor->currentIndex() > intensity) {
        QTest::keyClick(editor, Qt::Key_Up);
    }
    QCOMPARE(editor->currentIndex(), intensity);
    QTest::keyClick(editor, Qt::Key_Return);
    QTRY_VERIFY(table()->viewport()->findChild<QComboBox*>() == nullptr);
}

void TestTour::history()
{
    openHistory();
    const int symptoms = rows();
    const QString first = text(2, 0);
    const QString second = text(3, 0);
    rate(first, 1, 3);
    rate(first, 2, 2);
    rate(first, 3, 1);
    rate(second, 1, 1);

    const QString own = QString::fromUtf8("Écoute «gauche»");
    ModalAnswer named(isModal<QInputDialog>, [this, own](QWidget* dialog) {
        type(dialog->findChild<QLineEdit*>(), own);
        picture(QStringLiteral("new-symptom"));
        QTest::keyClick(dialog->findChild<QLineEdit*>(), Qt::Key_Return);
    });
    press(QStringLiteral("buttonNewSymptom"));
    QVERIFY(named.used());
    QCOMPARE(rows(), symptoms + 1);
    rate(own, 3, 2);
    // How many complaints, and their sum, oldest record first.
    QCOMPARE(text(0, 1).toDouble(), 2.0);
    QCOMPARE(text(1, 1).toDouble(), 4.0);
    QCOMPARE(text(0, 3).toDouble(), 2.0);
    QCOMPARE(text(1, 3).toDouble(), 3.0);
    table()->scrollToTop();
    picture(QStringLiteral("history"));
    press(QStringLiteral("buttonSave"));
    QTRY_VERIFY(idle());
    // Saved as it is: nothing is asked on the way out.
    press(QStringLiteral("buttonBack"));
    QTRY_COMPARE(stack()->count(), 2);

    openHistory();
    QCOMPARE(rows(), symptoms + 1);
    QCOMPARE(intensity(first, 1), QStringLiteral("Pronounced"));
    QCOMPARE(intensity(first, 2), QStringLiteral("Moderate"));
    QCOMPARE(intensity(first, 3), QStringLiteral("Periodic"));
    QCOMPARE(intensity(second, 1), QStringLiteral("Periodic"));
    QCOMPARE(intensity(second, 2), QStringLiteral("None"));
    QCOMPARE(intensity(own, 3), QStringLiteral("Moderate"));
    QCOMPARE(text(0, 1).toDouble(), 2.0);
    QCOMPARE(text(1, 1).toDouble(), 4.0);
    press(QStringLiteral("buttonBack"));
    QTRY_COMPARE(stack()->count(), 2);

    press(QStringLiteral("buttonRefresh"));
    QTRY_VERIFY(idle());
    QTRY_COMPARE(rows(), 3);
    for (int row = 0; row < rows(); ++row) {
        QCOMPARE(text(row, questionnaireColumn), QStringLiteral("Yes"));
    }
}

void TestTour::historyLeftUnsaved()
{
    tickAll();
    openHistory();
    const QString symptom = text(2, 0);
    QCOMPARE(intensity(symptom, 2), QStringLiteral("Moderate"));
    rate(symptom, 2, 3);
    QCOMPARE(intensity(symptom, 2), QStringLiteral("Pronounced"));
    {
        BoxAnswer no(QMessageBox::No);
        press(QStringLiteral("buttonBack"));
        QVERIFY(no.used());
    }
    QTRY_COMPARE(stack()->count(), 2);

    openHistory();
    QCOMPARE(intensity(symptom, 2), QStringLiteral("Moderate"));
    press(QStringLiteral("buttonBack"));
    QTRY_COMPARE(stack()->count(), 2);
}

void TestTour::historyLeftWithSaving()
{
    openHistory();
    const QString symptom = text(2, 0);
    rate(symptom, 2, 0);
    const auto yes = answerYes(QStringLiteral("leave-history-with-saving"));
    press(QStringLiteral("buttonListPatients"));
    QVERIFY(yes->used());
    QTRY_COMPARE(stack()->count(), 1);

    openCard();
    tickAll();
    openHistory();
    QCOMPARE(intensity(symptom, 1), QStringLiteral("Pronounced"));
    QCOMPARE(intensity(symptom, 2), QStringLiteral("None"));
    press(QStringLiteral("buttonBack"));
    QTRY_COMPARE(stack()->count(), 2);
}

void TestTour::about()
{
    ModalAnswer box(isModal<DialogAbout>, [this](QWidget* dialog) {
        QCOMPARE(dialog->findChild<QLabel*>(QStringLiteral("labelVersionNumber"))->text(),
                 QString::fromLatin1(Constants::VERSION));
        QVERIFY(!dialog->findChild<QLabel*>(QStringLiteral("labelExpiredAt"))->text().isEmpty());
        picture(QStringLiteral("about"));
        press(dialog->findChild<QPushButton*>(QStringLiteral("buttonClose")));
    });
    trigger(QStringLiteral("menuAbout"));
    QVERIFY(box.used());
}

void TestTour::updates()
{
    ModalAnswer box(isModal<QMessageBox>, [this](QWidget* widget) {
        picture(QStringLiteral("updates"));
        auto* const shown = qobject_cast<QMessageBox*>(widget);
        QCOMPARE(shown->text(), QCoreApplication::translate("MainWindow", "Text.upToDate"));
        press(qobject_cast<QPushButton*>(shown->button(QMessageBox::Ok)));
    });
    trigger(QStringLiteral("menuUpdates"));
    QTRY_VERIFY(box.used());
    QTRY_VERIFY(idle());
}

void TestTour::changePassword()
{
    const QString changed = QString::fromUtf8("Пароль 2 & more");
    ModalAnswer dialogAnswer(isModal<DialogChangePassword>, [this, changed](QWidget* dialog) {
        auto* const confirm = dialog->findChild<QPushButton*>(QStringLiteral("buttonConfirm"));
        auto* const old = dialog->findChild<QLineEdit*>(QStringLiteral("oldPasswordField"));
        type(old, QStringLiteral("wrong"));
        type(dialog->findChild<QLineEdit*>(QStringLiteral("newPasswordField")), changed);
        type(dialog->findChild<QLineEdit*>(QStringLiteral("repeatPasswordField")), changed);
        picture(QStringLiteral("change-password"));
        {
            BoxAnswer refused(QMessageBox::Ok);
            press(confirm);
            QTRY_VERIFY(refused.used());
            QVERIFY(!refused.text.isEmpty());
        }
        QTRY_VERIFY(confirm->isEnabled());
        old->clear();
        type(old, password);
        armed = std::make_unique<BoxAnswer>(QMessageBox::Ok);
        press(confirm);
    });
    trigger(QStringLiteral("menuPassword"));
    QVERIFY(dialogAnswer.used());
    QTRY_VERIFY(armed->used());
    QCOMPARE(armed->text, QCoreApplication::translate("MainWindow", "Dialog.successChangePassword"));
    armed.reset();
    password = changed;

    // The session goes on with the new token.
    press(QStringLiteral("buttonRefresh"));
    QTRY_VERIFY(idle());
    QCOMPARE(rows(), 3);
}

void TestTour::trigger(const QString& action)
{
    auto* const wanted = window->findChild<QAction*>(action);
    QVERIFY2(wanted != nullptr, qPrintable(action));
    QVERIFY2(wanted->isEnabled(), qPrintable(action));
    wanted->trigger();
}

void TestTour::manageDevice(const std::function<void(QWidget*)>& use)
{
    ModalAnswer dialogAnswer(isModal<DialogManageDevices>, [use](QWidget* dialog) {
        use(dialog);
        dialog->close();
    });
    press(QStringLiteral("buttonManageDevice"));
    QVERIFY(dialogAnswer.used());
    QTRY_VERIFY(idle());
}

QImage TestTour::cardIcon() const
{
    return find<QLabel>(QStringLiteral("labelConnectedDevice"))->pixmap(Qt::ReturnByValue).toImage();
}

void TestTour::verifyListShows(const QString& icon, const char* toolTip)
{
    press(QStringLiteral("buttonListPatients"));
    QTRY_COMPARE(stack()->count(), 1);
    press(QStringLiteral("buttonRefresh"));
    QTRY_VERIFY(idle());
    const QModelIndex status = table()->model()->index(rowOf(patientName, 2), 1);
    QVERIFY(status.isValid());
    QCOMPARE(status.data().value<QPixmap>().toImage(), QPixmap(QStringLiteral(":/images/") + icon).toImage());
    QCOMPARE(status.data(Qt::ToolTipRole).toString(), QCoreApplication::translate("PatientModel", toolTip));
}

void TestTour::bindDevice()
{
    // Nothing is plugged in, then the sensor is.
    manageDevice([this](QWidget* dialog) {
        auto* const connect = dialog->findChild<QPushButton*>(QStringLiteral("buttonConnect"));
        press(connect);
        QVERIFY(!dialog->findChild<QLabel*>(QStringLiteral("labelError"))->text().isEmpty());
        picture(QStringLiteral("no-device"));
        FakeUsb::plug(usbSerial);
        QTRY_VERIFY(connect->isEnabled());
        BoxAnswer bound(QMessageBox::Ok);
        press(connect);
        QTRY_VERIFY(bound.used());
        QCOMPARE(bound.text, QCoreApplication::translate("ViewPatient", "Text.deviceConnectSuccess"));
        QVERIFY(dialog->isVisible() && !connect->isEnabled());
    });
    QVERIFY(find<QLabel>(QStringLiteral("labelConnectedDevice"))->isVisible());
    picture(QStringLiteral("card-with-device"));

    // What was bound is the sensor that is plugged in: no other patient can have it.
    verifyListShows(QStringLiteral("connected-device.png"), "Text.noCommands");
    picture(QStringLiteral("list-with-device"));
    const QString own = patientName;
    patientName = text(rowOf(own, 2) == 0 ? 1 : 0, 2);
    openCard();
    manageDevice([this](QWidget* dialog) {
        BoxAnswer refused(QMessageBox::Ok);
        press(dialog->findChild<QPushButton*>(QStringLiteral("buttonConnect")));
        QTRY_VERIFY(refused.used());
        QVERIFY(!refused.text.isEmpty());
    });
    QVERIFY(!find<QLabel>(QStringLiteral("labelConnectedDevice"))->isVisible());
    press(QStringLiteral("buttonListPatients"));
    QTRY_COMPARE(stack()->count(), 1);
    patientName = own;
    openCard();
}

void TestTour::remoteRecording()
{
    const QImage idleIcon = cardIcon();
    {
        ModalAnswer recorder(isModal<AudioRecorder>, [this](QWidget* dialog) {
            QVERIFY(dialog->findChild<QWidget*>(QStringLiteral("groupRemote"))->isVisible());
            picture(QStringLiteral("remote-recorder"));
            press(dialog->findChild<QPushButton*>(QStringLiteral("buttonSendCommand")));
        });
        armed = std::make_unique<BoxAnswer>(QMessageBox::Ok);
        press(QStringLiteral("buttonNewRecord"));
        QVERIFY(recorder.used());
        QTRY_VERIFY(armed->used());
        QCOMPARE(armed->text, QCoreApplication::translate("ViewPatient", "Text.commandSuccess"));
        armed.reset();
    }
    QVERIFY(cardIcon() != idleIcon);
    picture(QStringLiteral("remote-recording"));

    // The device takes its time; the list knows after a refresh.
    QTest::qWait(1000 * (simulatedSeconds + 1));
    verifyListShows(QStringLiteral("connected-device-record-complete.png"), "Text.recordComplete");
    picture(QStringLiteral("remote-recording-complete"));
    openCard();
    QCOMPARE(rows(), 4);
}

void TestTour::blockAndEnable()
{
    const QImage enabledIcon = cardIcon();
    for (const char* const name : {"block-device", "enable-device"}) {
        armed = std::make_unique<BoxAnswer>(QMessageBox::Ok);
        manageDevice([this, name](QWidget* dialog) {
            picture(QString::fromLatin1(name));
            press(dialog->findChild<QPushButton*>(QStringLiteral("buttonToggle")));
        });
        QTRY_VERIFY(armed->used());
        armed.reset();
        QCOMPARE(cardIcon() == enabledIcon, qstrcmp(name, "enable-device") == 0);
        if (qstrcmp(name, "block-device") == 0) {
            picture(QStringLiteral("device-blocked"));
        }
    }
}

void TestTour::unbindDevice()
{
    manageDevice([this](QWidget* dialog) {
        auto* const disconnect = dialog->findChild<QPushButton*>(QStringLiteral("buttonDisconnect"));
        {
            const auto yes = answerYes(QStringLiteral("unbind-device"));
            press(disconnect);
            QVERIFY(yes->used());
        }
        BoxAnswer unbound(QMessageBox::Ok);
        QTRY_VERIFY(unbound.used());
        QCOMPARE(unbound.text, QCoreApplication::translate("ViewPatient", "Text.deviceDisconnectSuccess"));
    });
    QVERIFY(!find<QLabel>(QStringLiteral("labelConnectedDevice"))->isVisible());
}

void TestTour::autospectrum()
{
    tick(0);
    ModalAnswer minutes(isModal<DialogAutospectrum>, [this](QWidget* dialog) {
        QCOMPARE(dialog->findChild<QSpinBox*>(QStringLiteral("spinBoxDuration"))->value(), 1);
        picture(QStringLiteral("autospectrum"));
        press(dialog->findChild<QPushButton*>(QStringLiteral("buttonConfirm")));
    });
    press(QStringLiteral("buttonAutospectrum"));
    QVERIFY(minutes.used());
    DialogPlayer* player = nullptr;
    QTRY_VERIFY((player = openPlayer()) != nullptr);
    QTRY_COMPARE(player->state(), QAudio::ActiveState);
    // One minute, rounded down to whole passes; told with the first tick.
    QTRY_VERIFY(player->left() >= QStringLiteral("00:00:50") && player->left() <= QStringLiteral("00:01:00"));
    picture(QStringLiteral("autospectrum-player"));

    player->close();
    QVERIFY(!player->isVisible());
    auto* const button = window->statusBar()->findChild<QPushButton*>();
    QTRY_VERIFY(button->isVisible() && button->text().startsWith(patientName + QStringLiteral(" [00:00:")));
    picture(QStringLiteral("autospectrum-hidden"));
    press(button);
    QVERIFY(player->isVisible());

    const QPointer<QPushButton> bringsBack = button;
    press(player->findChild<QPushButton*>(QStringLiteral("buttonStop")));
    QTRY_VERIFY(bringsBack.isNull());
    QVERIFY(!player->isVisible());
}

QAction* TestTour::languageAction(const QString& locale) const
{
    const QList<QAction*> actions = window->findChild<QMenu*>(QStringLiteral("menuLanguage"))->actions();
    for (QAction* action : actions) {
        if (action->data().toString() == locale) {
            return action;
        }
    }
    return nullptr;
}

void TestTour::chooseLanguage(const QString& locale)
{
    auto* const bar = window->menuBar();
    QTest::mouseClick(
        bar, Qt::LeftButton, Qt::NoModifier,
        bar->actionGeometry(window->findChild<QMenu*>(QStringLiteral("menuApplication"))->menuAction()).center());
    auto* const menu = window->findChild<QMenu*>(QStringLiteral("menuApplication"));
    QTRY_VERIFY(menu->isVisible());
    auto* const languages = window->findChild<QMenu*>(QStringLiteral("menuLanguage"));
    QTest::mouseClick(menu, Qt::LeftButton, Qt::NoModifier, menu->actionGeometry(languages->menuAction()).center());
    QTRY_VERIFY(languages->isVisible());
    picture(QStringLiteral("languages-before-") + locale);
    QAction* const action = languageAction(locale);
    QVERIFY(action != nullptr);
    QVERIFY(!action->isChecked());
    BoxAnswer changed(QMessageBox::Ok);
    QTest::mouseClick(languages, Qt::LeftButton, Qt::NoModifier, languages->actionGeometry(action).center());
    QTRY_VERIFY(changed.used());
    QTRY_VERIFY(idle());
    QTRY_COMPARE(QLocale().name(), locale);
    QVERIFY(languageAction(locale)->isChecked());
}

void TestTour::speakRussian()
{
    chooseLanguage(QStringLiteral("ru_RU"));
    // The menu follows at once; a screen that stands keeps its language.
    QCOMPARE(window->findChild<QMenu*>(QStringLiteral("menuApplication"))->title(),
             QCoreApplication::translate("MainWindow", "Menu.application"));
    QVERIFY(hasCyrillic(window->findChild<QMenu*>(QStringLiteral("menuApplication"))->title()));
    QVERIFY(!hasCyrillic(find<QPushButton>(QStringLiteral("buttonReceipt"))->text()));

    // The program itself, on a system that speaks Russian.
    window.reset();
    const QImage empty = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
    BoundProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("ru_RU.UTF-8"));
    program.setProcessEnvironment(environment);
    program.start(QCoreApplication::applicationDirPath() + QStringLiteral("/quelmar"), QStringList());
    QVERIFY(program.waitForStarted());
    const auto screen = [] { return QGuiApplication::primaryScreen()->grabWindow(0).toImage(); };
    const auto answerOf = [](const QStringList& question) {
        QProcess asked;
        asked.start(QStringLiteral("xdotool"), question);
        return asked.waitForFinished() ? QString::fromLatin1(asked.readAllStandardOutput()).trimmed() : QString();
    };
    const auto pressKeys = [](const QStringList& keys) {
        return QProcess::execute(QStringLiteral("xdotool"),
                                 QStringList{QStringLiteral("key"), QStringLiteral("--delay"), QStringLiteral("100")} +
                                     keys);
    };
    // Keys pressed before a window has the focus would be lost.
    const auto activeWindow = [&] {
        const QString pid = answerOf({QStringLiteral("getactivewindow"), QStringLiteral("getwindowpid")});
        return pid.toLongLong() == program.processId() ? answerOf({QStringLiteral("getactivewindow")}) : QString();
    };
    const auto anotherIsActive = [&](const QString& before) {
        const QString now = activeWindow();
        return !now.isEmpty() && now != before;
    };
    QTRY_VERIFY_WITH_TIMEOUT(anotherIsActive(QString()), 30000);
    const QString login = activeWindow();
    QTRY_VERIFY(screen() != empty);
    QTest::qWait(500);
    picture(QStringLiteral("ru-login"));
    // Whoever escapes the login is left with an empty window, which asks before it closes.
    QCOMPARE(pressKeys({QStringLiteral("Escape")}), 0);
    QTRY_VERIFY_WITH_TIMEOUT(anotherIsActive(login), 30000);
    const QString escaped = activeWindow();
    QTest::qWait(500);
    picture(QStringLiteral("ru-escaped"));
    QCOMPARE(pressKeys({QStringLiteral("alt+F4")}), 0);
    QTRY_VERIFY_WITH_TIMEOUT(anotherIsActive(escaped), 30000);
    QTest::qWait(500);
    picture(QStringLiteral("ru-close-question"));
    QCOMPARE(program.state(), QProcess::Running);
    QCOMPARE(pressKeys({QStringLiteral("Tab"), QStringLiteral("space")}), 0);
    QVERIFY(program.waitForFinished());
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);

    // The server keeps the language, and the changed password opens the door.
    ModalAnswer entered(isModal<DialogLogin>, [this](QWidget* dialog) {
        type(dialog->findChild<QLineEdit*>(QStringLiteral("usernameField")), QStringLiteral("demo"));
        auto* const field = dialog->findChild<QLineEdit*>(QStringLiteral("passwordField"));
        type(field, password);
        QTest::keyClick(field, Qt::Key_Return);
    });
    window = std::make_unique<MainWindow>();
    QVERIFY(entered.used());
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    QTRY_VERIFY(rows() >= 12);
    QTRY_VERIFY(idle());
    QVERIFY(languageAction(QStringLiteral("ru_RU"))->isChecked());
}

void TestTour::showDialog(const QString& name, bool (*isIt)(QWidget*), const std::function<void()>& open)
{
    ModalAnswer shown(isIt, [this, name](QWidget* dialog) {
        QVERIFY(hasCyrillic(textsOf(dialog)));
        picture(name);
        dialog->close();
    });
    open();
    QTRY_VERIFY(shown.used());
    QTRY_VERIFY(idle());
}

void TestTour::showScreen(const QString& name)
{
    QTRY_VERIFY(idle());
    QVERIFY(hasCyrillic(textsOf(stack()->currentWidget())));
    picture(name);
}

void TestTour::everyScreenInRussian()
{
    const auto pressed = [this](const QString& button) { return [this, button] { press(button); }; };
    showScreen(QStringLiteral("ru-patients"));
    showDialog(QStringLiteral("ru-new-patient"), isModal<FormPatient>, pressed(QStringLiteral("buttonNewPatient")));
    showDialog(QStringLiteral("ru-about"), isModal<DialogAbout>, [this] { trigger(QStringLiteral("menuAbout")); });
    showDialog(QStringLiteral("ru-change-password"), isModal<DialogChangePassword>,
               [this] { trigger(QStringLiteral("menuPassword")); });
    showDialog(QStringLiteral("ru-updates"), isModal<QMessageBox>, [this] { trigger(QStringLiteral("menuUpdates")); });

    openCard();
    tickAll();
    showScreen(QStringLiteral("ru-card"));
    showDialog(QStringLiteral("ru-recorder"), isModal<AudioRecorder>, pressed(QStringLiteral("buttonNewRecord")));
    showDialog(QStringLiteral("ru-devices"), isModal<DialogManageDevices>,
               pressed(QStringLiteral("buttonManageDevice")));

    press(QStringLiteral("buttonAnalysis"));
    QTRY_VERIFY(find<QTableView>(QStringLiteral("summaryTableView"))->model()->rowCount() > 0);
    showScreen(QStringLiteral("ru-analysis-summary"));
    auto* const tabs = find<QTabWidget>(QStringLiteral("tabWidget"))->tabBar();
    QTest::mouseClick(tabs, Qt::LeftButton, Qt::NoModifier, tabs->tabRect(1).center());
    QTRY_VERIFY(find<QComboBox>(QStringLiteral("comboBoxCategories"))->count() > 0);
    QTRY_VERIFY(idle());
    press(QStringLiteral("buttonAnalyse"));
    QTRY_VERIFY(find<QTableView>(QStringLiteral("analysisTableView"))->model()->rowCount() > 0);
    showScreen(QStringLiteral("ru-analysis-markers"));
    press(QStringLiteral("buttonBack"));
    QTRY_COMPARE(stack()->count(), 2);

    press(QStringLiteral("buttonComparativeAnalysis"));
    QTRY_COMPARE(stack()->currentWidget()->findChildren<QtCharts::QChartView*>().size(), 4);
    showScreen(QStringLiteral("ru-comparison"));
    auto* const bar = find<QScrollArea>(QStringLiteral("scrollArea"))->verticalScrollBar();
    bar->setValue(bar->maximum());
    showScreen(QStringLiteral("ru-comparison-below"));
    press(QStringLiteral("buttonBack"));
    QTRY_COMPARE(stack()->count(), 2);

    press(QStringLiteral("buttonRecoveryHistory"));
    QTRY_VERIFY(rows() > 2);
    showScreen(QStringLiteral("ru-history"));
    showDialog(QStringLiteral("ru-new-symptom"), isModal<QInputDialog>, pressed(QStringLiteral("buttonNewSymptom")));
    press(QStringLiteral("buttonBack"));
    QTRY_COMPARE(stack()->count(), 2);

    // One record: its autospectrum, its recipe, its impact.
    for (int row = 1; row < rows(); ++row) {
        tick(row);
    }
    showDialog(QStringLiteral("ru-autospectrum"), isModal<DialogAutospectrum>,
               pressed(QStringLiteral("buttonAutospectrum")));
    openReceipt();
    press(QStringLiteral("buttonAnalyse"));
    QTRY_VERIFY(rows() > 0);
    tick(0);
    showScreen(QStringLiteral("ru-receipt"));
    openImpact();
    showScreen(QStringLiteral("ru-impact"));
    ModalAnswer question(isModal<QMessageBox>, [this](QWidget* box) {
        picture(QStringLiteral("ru-question"));
        press(qobject_cast<QPushButton*>(qobject_cast<QMessageBox*>(box)->button(QMessageBox::No)));
    });
    press(QStringLiteral("buttonPatientCard"));
    QVERIFY(question.used());
    QTRY_COMPARE(stack()->count(), 2);
}

void TestTour::speakEnglish()
{
    chooseLanguage(QStringLiteral("en_US"));
    press(QStringLiteral("buttonListPatients"));
    QTRY_COMPARE(stack()->count(), 1);
    openCard();
    QVERIFY(!hasCyrillic(textsOf(stack()->currentWidget())));
}

void TestTour::deleteRecord()
{
    int left = rows();
    QCOMPARE(left, 4);
    const auto question = answerYes(QStringLiteral("delete-record"));
    clickCell(0, 6);
    QVERIFY(question->used());
    --left;
    QTRY_COMPARE(rows(), left);
    while (left > 0) {
        BoxAnswer yes(QMessageBox::Yes);
        clickCell(0, 6);
        QVERIFY(yes.used());
        --left;
        QTRY_COMPARE(rows(), left);
    }
    QVERIFY(!find<QPushButton>(QStringLiteral("buttonReceipt"))->isEnabled());
}

void TestTour::deletePatient()
{
    const auto question = answerYes(QStringLiteral("delete-patient"));
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
    const auto yes = answerYes(QStringLiteral("close"));
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
