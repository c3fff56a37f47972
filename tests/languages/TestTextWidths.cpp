// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/ViewAnalysis.h"
#include "analysis/ViewComparativeAnalysis.h"
#include "analysis/ViewRecoveryHistory.h"
#include "app/DialogAbout.h"
#include "app/DialogChangePassword.h"
#include "app/Dialogs.h"
#include "app/MainWindow.h"
#include "app/init.h"
#include "app/switchTranslator.h"
#include "model/Marker.h"
#include "model/Patient.h"
#include "model/Record.h"
#include "net/Authentication.h"
#include "net/DialogLogin.h"
#include "net/LoadingWindow.h"
#include "patients/DialogManageDevices.h"
#include "patients/FormPatient.h"
#include "patients/ViewPatient.h"
#include "patients/ViewPatients.h"
#include "recipe/ViewImpact.h"
#include "recipe/ViewReceipt.h"
#include "signal/AudioRecorder.h"
#include "signal/DialogAutospectrum.h"
#include "signal/DialogPlayer.h"
#include "signal/Utils.h"
#include "tests/languages/ClippedTexts.h"
#include "tests/languages/TranslationSource.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"
#include "tests/support/SoundServer.h"

#include <QApplication>
#include <QAudioBuffer>
#include <QCheckBox>
#include <QComboBox>
#include <QDirIterator>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QStackedWidget>
#include <QStandardItemModel>
#include <QTabWidget>
#include <QTableView>
#include <QTest>
#include <QTranslator>
#include <QVBoxLayout>

#include <functional>
#include <memory>

namespace {

/// What a window on a screen of 1280 by 800 leaves of it for the screens of the program, below its title and its menu
/// bar and above its status bar.
constexpr QSize screenRoom(1280, 720);
constexpr QSize wholeScreen(1280, 800);

Patient patient()
{
    return Patient(QJsonObject{
        {QStringLiteral("id"), QStringLiteral("p1")},
        {QStringLiteral("name"), QStringLiteral("Anna Lindqvist")},
        {QStringLiteral("phone"), QStringLiteral("+46 8 123 456 78")},
        {QStringLiteral("gender"), QStringLiteral("FEMALE")},
        {QStringLiteral("hasDevices"), true},
        {QStringLiteral("isEnabled"), true},
        {QStringLiteral("isComplete"), true},
    });
}

Record record()
{
    return Record(QJsonObject{
        {QStringLiteral("id"), QStringLiteral("r1")},
        {QStringLiteral("patientId"), QStringLiteral("p1")},
        {QStringLiteral("recordedAt"), QStringLiteral("2024-05-06 07:08")},
    });
}

/// As many as a long recipe has, so that the sums have three digits.
QList<Marker> markers()
{
    QList<Marker> list;
    for (int i = 0; i < 20; ++i) {
        list.append(Marker(QJsonObject{{QStringLiteral("id"), QStringLiteral("m%1").arg(i)},
                                       {QStringLiteral("title"), QStringLiteral("Marker %1").arg(i)},
                                       {QStringLiteral("amount"), 10}}));
    }
    return list;
}

template <typename Screen> QWidget* screen()
{
    Patient shown = patient();
    Record taken = record();
    return new Screen(nullptr, &shown, &taken);
}

/// For the screens that take several records.
template <typename Screen> Screen* analysis()
{
    Patient shown = patient();
    QList<Record> taken{record()};
    return new Screen(nullptr, &shown, &taken);
}

QWidget* markerAnalysis()
{
    auto* const view = analysis<ViewAnalysis>();
    view->findChild<QTabWidget*>(QStringLiteral("tabWidget"))->setCurrentIndex(1);
    return view;
}

QWidget* card()
{
    Patient shown = patient();
    return new ViewPatient(nullptr, &shown);
}

/// `target` is the row of the combo box.
QWidget* impact(int target)
{
    Patient shown = patient();
    Record taken = record();
    QList<Marker> list = markers();
    auto* const view = new ViewImpact(nullptr, &shown, &taken, &list, false);
    view->findChild<QComboBox*>(QStringLiteral("comboBoxTarget"))->setCurrentIndex(target);
    return view;
}

QWidget* form(const Patient& value)
{
    auto* const dialog = new FormPatient;
    static Patient edited;
    edited = value;
    dialog->edit(&edited);
    return dialog;
}

/// With the message of this key, or with that of the start.
QWidget* recorder(bool remote, const char* message = nullptr)
{
    auto* const dialog = new AudioRecorder(nullptr, remote);
    if (message != nullptr) {
        dialog->findChild<QLabel*>(QStringLiteral("labelMessage"))
            ->setText(QCoreApplication::translate("AudioRecorder", message));
    }
    return dialog;
}

QWidget* finishedRecorder()
{
    QWidget* const dialog = recorder(false);
    const QAudioBuffer samples(QByteArray(66150, 127), Utils::audioFormat());
    QMetaObject::invokeMethod(dialog, "processBuffer", Q_ARG(QAudioBuffer, samples));
    return dialog;
}

/// With a device that is enabled or blocked, and with the message that none was found.
QWidget* devices(bool enabled, bool message = false)
{
    Patient shown = patient();
    if (shown.isEnabled() != enabled) {
        shown.toggleEnabled();
    }
    auto* const dialog = new DialogManageDevices(nullptr, &shown);
    if (message) {
        dialog->findChild<QLabel*>(QStringLiteral("labelError"))
            ->setText(QCoreApplication::translate("DialogManageDevices", "Text.deviceNotConnected"));
    }
    return dialog;
}

QWidget* waiting()
{
    // The smallest dialog that is ever covered.
    auto* const dialog = new QDialog;
    dialog->resize(400, 180);
    new LoadingWindow(dialog);
    return dialog;
}

QWidget* mainWindow()
{
    const ModalAnswer escape([](QWidget* widget) { return qobject_cast<DialogLogin*>(widget) != nullptr; },
                             [](QWidget* dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
    return new MainWindow(nullptr);
}

/// A window or screen in one of its states. A name begins with that of the class.
struct Form
{
    const char* name;
    std::function<QWidget*()> make;
    /// False for a form that shows pictures and numbers alone.
    bool hasTexts = true;
};

/// Every form of the program stands here, with a line for each state that shows other texts.
const QList<Form>& forms()
{
    static const QList<Form> all{
        {"MainWindow", [] { return mainWindow(); }},
        {"DialogLogin", [] { return new DialogLogin(nullptr); }, false},
        {"DialogAbout", [] { return new DialogAbout(nullptr); }},
        {"DialogChangePassword", [] { return new DialogChangePassword(nullptr); }},
        {"LoadingWindow", [] { return waiting(); }},
        {"FormPatient, new", [] { return form(Patient()); }},
        {"FormPatient, edit", [] { return form(patient()); }},
        {"ViewPatients", [] { return new ViewPatients(nullptr); }},
        {"ViewPatient", [] { return card(); }},
        {"DialogManageDevices, enabled", [] { return devices(true); }},
        {"DialogManageDevices, blocked", [] { return devices(false); }},
        {"DialogManageDevices, no sensor", [] { return devices(true, true); }},
        {"DialogAutospectrum", [] { return new DialogAutospectrum(nullptr); }},
        {"AudioRecorder, start", [] { return recorder(false); }},
        {"AudioRecorder, remote", [] { return recorder(true); }},
        {"AudioRecorder, running", [] { return recorder(false, "Dialog.signalRecordInProgress"); }},
        {"AudioRecorder, finished", [] { return finishedRecorder(); }},
        {"DialogPlayer", [] { return new DialogPlayer(nullptr, QByteArray(66150, 127), patient().getName()); }, false},
        {"ViewAnalysis, summary", [] { return analysis<ViewAnalysis>(); }},
        {"ViewAnalysis, markers", [] { return markerAnalysis(); }},
        {"ViewComparativeAnalysis", [] { return analysis<ViewComparativeAnalysis>(); }},
        {"ViewRecoveryHistory", [] { return analysis<ViewRecoveryHistory>(); }},
        {"ViewReceipt", [] { return screen<ViewReceipt>(); }},
        {"ViewImpact, sensor", [] { return impact(0); }},
        {"ViewImpact, file", [] { return impact(1); }},
        {"ViewImpact, remote", [] { return impact(2); }},
    };
    return all;
}

/// Answers each text of the program with one that fits nowhere.
class EndlessTexts : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char*, const char*, const char*, int) const override
    {
        return QString(400, QLatin1Char('W')) + QStringLiteral(" %1 %2");
    }
};

} // namespace

/// Each text of each window in each language has the room that it needs, in the look of the style sheet. The German and
/// Polish texts are held to it too, so that these languages can be offered without another look at every window.
class TestTextWidths : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { guard.reset(); }
    void init();
    void cleanup();

    void everyFormIsListed();
    void textsFit_data();
    void textsFit();
    void textsOfBoxesFit_data();
    void textsOfBoxesFit();

    void tooLongTextsAreFound_data();
    void tooLongTextsAreFound();
    void eachKindOfWidgetIsMeasured_data();
    void eachKindOfWidgetIsMeasured();

private:
    /// Shows the form as the program does, with the replies of its first requests worked off.
    void show(QWidget* widget);
    void speak(const QString& locale);
    static void addLocales();

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
    QTranslator translator;
    std::unique_ptr<QStackedWidget> stack;
    std::unique_ptr<QWidget> shown;
};

void TestTextWidths::initTestCase()
{
    SoundServer::hideAll();
    guard = std::make_unique<MessageGuard>();
    Authentication::getInstance()->init({{QStringLiteral("expiredAt"), QStringLiteral("2027-01-01 12:00:00")}});
}

void TestTextWidths::init()
{
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
    LoopbackServer::Answer nothing;
    nothing.body = "[]";
    server->setFallback(nothing);
}

void TestTextWidths::cleanup()
{
    shown.reset();
    stack.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::removeTranslator(&translator);
    server.reset();
    guard->verify();
}

void TestTextWidths::show(QWidget* widget)
{
    if (qobject_cast<QDialog*>(widget) != nullptr || qobject_cast<QMainWindow*>(widget) != nullptr) {
        shown.reset(widget);
        widget->show();
        QVERIFY(QTest::qWaitForWindowExposed(widget));
    } else {
        stack = std::make_unique<QStackedWidget>();
        stack->addWidget(widget);
        stack->resize(screenRoom);
        stack->show();
        QVERIFY(QTest::qWaitForWindowExposed(stack.get()));
        QTRY_VERIFY(widget->findChild<LoadingWindow*>() == nullptr);
    }
    // What is posted for the layouts, and what that posts again.
    QTest::qWait(20);
}

void TestTextWidths::speak(const QString& locale)
{
    switchTranslator(translator, QStringLiteral("Translation_%1.qm").arg(locale));
    QVERIFY(QCoreApplication::translate("QObject", "Text.error") != QLatin1String("Text.error"));
    QLocale::setDefault(QLocale(locale));
}

void TestTextWidths::addLocales()
{
    QTest::addColumn<QString>("locale");
    for (const QString& locale : TranslationSource::locales()) {
        QTest::newRow(qPrintable(locale)) << locale;
    }
}

void TestTextWidths::everyFormIsListed()
{
    QStringList names;
    for (const Form& form : forms()) {
        names.append(QString::fromLatin1(form.name).section(QLatin1Char(','), 0, 0));
    }
    int found = 0;
    for (const char* const folder : {"app", "net", "patients", "signal", "recipe", "analysis"}) {
        QDirIterator files(QStringLiteral(QUELMAR_SOURCE_DIR "/") + QLatin1String(folder), {QStringLiteral("*.ui")},
                           QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            files.next();
            const QString name = files.fileInfo().completeBaseName();
            QVERIFY2(names.contains(name), qPrintable(name + QLatin1String(" has no line in forms()")));
            ++found;
        }
    }
    QVERIFY(found > 10);
}

void TestTextWidths::textsFit_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("locale");
    for (const QString& locale : TranslationSource::locales()) {
        for (int i = 0; i < forms().size(); ++i) {
            QTest::addRow("%s, %s", qPrintable(locale), forms().at(i).name) << i << locale;
        }
    }
}

void TestTextWidths::textsFit()
{
    QFETCH(int, number);
    QFETCH(QString, locale);
    const Form& form = forms().at(number);
    speak(locale);
    QWidget* const widget = form.make();
    show(widget);
    // The main window has brought a translator of its own.
    speak(locale);
    QTest::qWait(20);

    const QSize room = stack != nullptr ? screenRoom : wholeScreen;
    QVERIFY2(widget->window()->width() <= room.width() && widget->window()->height() <= room.height(),
             qPrintable(QStringLiteral("%1 by %2").arg(widget->window()->width()).arg(widget->window()->height())));
    const ClippedTexts texts = findClippedTexts(*widget);
    QVERIFY2(texts.clipped.isEmpty(), qPrintable(texts.clipped.join(QLatin1Char('\n'))));
    QVERIFY(texts.measured > 0 || !form.hasTexts);
}

void TestTextWidths::textsOfBoxesFit_data()
{
    addLocales();
}

void TestTextWidths::textsOfBoxesFit()
{
    QFETCH(QString, locale);
    speak(locale);
    const QString title = QCoreApplication::translate("MainWindow", "Text.closeTitle");
    const QString text = QCoreApplication::translate("MainWindow", "Text.changeLocaleSuccess");
    const std::function<void()> boxes[] = {
        [&] { Dialogs::confirm(nullptr, title, text); },
        [&] { Dialogs::confirmDeletePatient(nullptr, patient().getName()); },
        [&] { Dialogs::confirmDeleteRecord(nullptr, record().getRecordedAt()); },
        [&] { Dialogs::info(nullptr, title, text); },
        [&] { Dialogs::success(nullptr, text); },
        [&] { Dialogs::error(nullptr, text); },
    };
    for (const auto& box : boxes) {
        ClippedTexts texts;
        QSize size;
        ModalAnswer answer([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                           [&](QWidget* widget) {
                               QTest::qWait(20);
                               texts = findClippedTexts(*widget);
                               size = widget->size();
                               widget->close();
                           });
        box();
        QVERIFY(answer.used());
        QVERIFY2(texts.clipped.isEmpty(), qPrintable(texts.clipped.join(QLatin1Char('\n'))));
        QVERIFY(texts.measured >= 2);
        QVERIFY(size.width() <= wholeScreen.width() && size.height() <= wholeScreen.height());
    }
}

void TestTextWidths::tooLongTextsAreFound_data()
{
    QTest::addColumn<int>("number");
    for (int i = 0; i < forms().size(); ++i) {
        if (forms().at(i).hasTexts) {
            QTest::newRow(forms().at(i).name) << i;
        }
    }
}

void TestTextWidths::tooLongTextsAreFound()
{
    QFETCH(int, number);
    EndlessTexts endless;
    QVERIFY(QCoreApplication::installTranslator(&endless));
    QWidget* const widget = forms().at(number).make();
    show(widget);
    QVERIFY(QCoreApplication::removeTranslator(&endless));
    QVERIFY(QCoreApplication::installTranslator(&endless));
    QTest::qWait(20);
    const QSize room = stack != nullptr ? screenRoom : wholeScreen;
    // A window that can grow does so beyond the screen.
    const bool grows = widget->window()->width() > room.width();
    QVERIFY(grows || !findClippedTexts(*widget).clipped.isEmpty());
}

void TestTextWidths::eachKindOfWidgetIsMeasured_data()
{
    QTest::addColumn<int>("kind");
    const char* const kinds[] = {"label",     "wrapped label", "high label", "button", "button with icon",
                                 "check box", "radio button",  "group",      "tabs",   "header",
                                 "combo box", "placeholder",   "spin box"};
    for (int i = 0; i < 13; ++i) {
        QTest::newRow(kinds[i]) << i;
    }
}

void TestTextWidths::eachKindOfWidgetIsMeasured()
{
    QFETCH(int, kind);
    const QString text = QStringLiteral("Needs some room");
    const auto make = [kind, text](QWidget* parent) -> QWidget* {
        switch (kind) {
        case 0:
            return new QLabel(text, parent);
        case 1: {
            auto* const label = new QLabel(text, parent);
            label->setWordWrap(true);
            return label;
        }
        case 2:
            return new QLabel(text + QLatin1Char('\n') + text, parent);
        case 3:
            return new QPushButton(text, parent);
        case 4: {
            auto* const button = new QPushButton(text, parent);
            button->setIcon(QIcon(QStringLiteral(":/images/trash.png")));
            button->setIconSize(QSize(20, 20));
            return button;
        }
        case 5:
            return new QCheckBox(text, parent);
        case 6:
            return new QRadioButton(text, parent);
        case 7:
            return new QGroupBox(text, parent);
        case 8: {
            auto* const tabs = new QTabWidget(parent);
            tabs->addTab(new QWidget, text);
            tabs->addTab(new QWidget, text);
            return tabs;
        }
        case 9: {
            auto* const table = new QTableView(parent);
            auto* const model = new QStandardItemModel(1, 1, table);
            model->setHorizontalHeaderLabels({text});
            table->setModel(model);
            table->verticalHeader()->hide();
            table->horizontalHeader()->setMinimumSectionSize(1);
            table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
            return table;
        }
        case 10: {
            auto* const combo = new QComboBox(parent);
            combo->addItem(QStringLiteral("a"));
            combo->addItem(text);
            return combo;
        }
        case 11: {
            auto* const line = new QLineEdit(parent);
            line->setPlaceholderText(text);
            return line;
        }
        default: {
            auto* const spin = new QSpinBox(parent);
            spin->setMaximum(100);
            spin->setSuffix(text);
            return spin;
        }
        }
    };
    QPushButton plain(text);
    plain.ensurePolished();
    // The icon is what makes the one button too narrow, the second line what makes the one label too low.
    QSize narrow(40, 40);
    if (kind == 1) {
        narrow = QSize(70, 25);
    } else if (kind == 2) {
        narrow = QSize(400, 25);
    } else if (kind == 4) {
        narrow = plain.sizeHint();
    }
    for (const bool wide : {false, true}) {
        QWidget window;
        window.resize(500, 200);
        QWidget* const widget = make(&window);
        widget->setObjectName(QStringLiteral("subject"));
        widget->setGeometry(QRect(QPoint(0, 0), wide ? QSize(450, 150) : narrow));
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const ClippedTexts texts = findClippedTexts(window);
        QVERIFY(texts.measured > 0);
        QVERIFY2(texts.clipped.isEmpty() == wide, qPrintable(texts.clipped.join(QLatin1Char('\n'))));

        if (kind == 4) {
            // The text alone would fit either way.
            qobject_cast<QPushButton*>(widget)->setIcon(QIcon());
            QVERIFY(findClippedTexts(window).clipped.isEmpty());
        }

        // Room enough, but half of it beyond the window's edge.
        if (wide) {
            widget->move(300, 0);
            QVERIFY(!findClippedTexts(window).clipped.isEmpty());
            widget->hide();
            QCOMPARE(findClippedTexts(window).measured, 0);
        }
    }
}

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    init(app);
    TestTextWidths test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestTextWidths.moc"
