// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/faults/requests.h"

#include "analysis/ViewAnalysis.h"
#include "analysis/ViewComparativeAnalysis.h"
#include "analysis/ViewRecoveryHistory.h"
#include "app/DialogChangePassword.h"
#include "model/Patient.h"
#include "model/PatientManager.h"
#include "net/DialogLogin.h"
#include "patients/DialogManageDevices.h"
#include "patients/FormPatient.h"
#include "patients/PatientModel.h"
#include "patients/ViewPatient.h"
#include "patients/ViewPatients.h"
#include "recipe/ImpactDelegate.h"
#include "recipe/ViewImpact.h"
#include "recipe/ViewReceipt.h"
#include "signal/AudioRecorder.h"
#include "signal/DialogPlayer.h"
#include "signal/Utils.h"
#include "tests/patients/Samples.h"
#include "tests/signal/FakeUsb.h"
#include "tests/support/gzip.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMenu>
#include <QPointer>
#include <QSpinBox>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

#include <QtCharts/QChart>
#include <QtCharts/QChartView>

namespace {

using Waiting = std::function<void()>;

const QByteArray anyObject(R"({"other": 1})");
const QByteArray anyArray(R"([1, "other"])");
const QByteArray done(R"({"done": true})");

QByteArray page(const QJsonArray& patients)
{
    return Samples::toBytes(QJsonObject{{QStringLiteral("pages"), 1}, {QStringLiteral("data"), patients}});
}

/// The reply with two blocks of samples.
QByteArray zippedBlocks()
{
    return gzip(R"(["YWJj", "eHl6"])").toBase64();
}

QByteArray savedFile()
{
    static const QTemporaryDir directory;
    return QFile::encodeName(directory.filePath(QStringLiteral("saved")));
}

/// The next file dialog saves to savedFile(), which is not there yet.
void saveToNewFile(Stage& stage)
{
    const QString name = QFile::decodeName(savedFile());
    QFile::remove(name);
    stage.boxes.setFileName(name);
}

QByteArray fileContent()
{
    QFile file(QFile::decodeName(savedFile()));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
}

QWidget* windowOf(Stage& stage)
{
    return stage.window.get();
}

QWidget* listOf(Stage& stage)
{
    return stage.window->findChild<ViewPatients*>();
}

QWidget* cardOf(Stage& stage)
{
    return stage.window->findChild<ViewPatient*>();
}

template <typename T> QWidget* modal(Stage&)
{
    return qobject_cast<T*>(QApplication::activeModalWidget());
}

void dropList(Stage& stage)
{
    Stage::rejectDialogs();
    stage.window->screenBack();
}

void dropWindow(Stage& stage)
{
    stage.window.reset();
}

/// One box of this text, told by `parent`.
void compareTold(Stage& stage, QWidget* parent, const QString& title, const QString& text)
{
    const QList<BoxRecorder::Box> told = stage.boxes.told();
    QCOMPARE(told.size(), 1);
    QCOMPARE(told.first().icon, QMessageBox::Information);
    QCOMPARE(told.first().title, title);
    QCOMPARE(told.first().text, text);
    QCOMPARE(told.first().parent, parent);
}

void compareSuccess(Stage& stage, QWidget* parent, const char* context, const char* key)
{
    compareTold(stage, parent, QObject::tr("Text.success"), QCoreApplication::translate(context, key));
}

void compareSilent(Stage& stage)
{
    QCOMPARE(stage.boxes.told().size(), 0);
}

/// A player has been opened for the patient; ends it.
void comparePlayer(Stage& stage)
{
    auto* const player = stage.window->findChild<DialogPlayer*>();
    QVERIFY(player != nullptr);
    QVERIFY(player->isVisible());
    QCOMPARE(player->getPatientName(), QStringLiteral("Ada Byron"));
    player->findChild<QPushButton*>(QStringLiteral("buttonStop"))->click();
    QVERIFY(!player->isVisible());
}

template <typename T> void compareGone(Stage& stage)
{
    EVENTUALLY(stage.window->findChild<T*>() == nullptr);
}

/// A click on the button that leads to the card asks whether to save exactly if there is something to save; the answer
/// is no, and the screen goes.
template <typename T> void compareDirty(Stage& stage, bool dirty, const char* back = "buttonBack")
{
    stage.boxes.clear();
    stage.boxes.setAnswer(QMessageBox::No);
    stage.click(back);
    QCOMPARE(stage.boxes.questions(), dirty ? 1 : 0);
    compareGone<T>(stage);
}

void clickAndWait(Stage& stage, const char* button, const Waiting& waiting)
{
    stage.click(button);
    waiting();
}

void fillForm(QWidget* form, const QString& name)
{
    form->findChild<QLineEdit*>(QStringLiteral("nameField"))->setText(name);
    form->findChild<QLineEdit*>(QStringLiteral("birthDateDayField"))->setText(QStringLiteral("17"));
    form->findChild<QLineEdit*>(QStringLiteral("birthDateYearField"))->setText(QStringLiteral("1980"));
    form->findChild<QCheckBox*>(QStringLiteral("agreement"))->setChecked(true);
    form->findChild<QPushButton*>(QStringLiteral("buttonSave"))->click();
}

void compareFormOpen(const QString& name)
{
    auto* const form = qobject_cast<FormPatient*>(QApplication::activeModalWidget());
    QVERIFY(form != nullptr);
    QCOMPARE(form->findChild<QLineEdit*>(QStringLiteral("nameField"))->text(), name);
    QVERIFY(form->findChild<QPushButton*>(QStringLiteral("buttonSave"))->isEnabled());
}

QStringList names(Stage& stage)
{
    return Stage::column(stage.table(), 2);
}

// --- the groups ---

void addShell(QList<Request>& all)
{
    Request request{};
    request.name = "login";
    request.group = "shell";
    request.operation = "login";
    request.source = "net/DialogLogin.cpp";
    request.method = "POST";
    request.target = "/auth/login";
    request.good = R"({"accessToken": "T2", "tokenType": "Bearer", "language": "en", "country": "US"})";
    request.wrong = anyArray;
    request.prepare = [](Stage&) {};
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        Stage::inDialog(
            [&stage] { stage.window = std::make_unique<MainWindow>(); },
            [&waiting](QWidget* dialog) {
                dialog->findChild<QLineEdit*>(QStringLiteral("usernameField"))->setText(QStringLiteral("a"));
                dialog->findChild<QLineEdit*>(QStringLiteral("passwordField"))->setText(QStringLiteral("b"));
                dialog->findChild<QPushButton*>(QStringLiteral("buttonConfirm"))->click();
                waiting();
            });
    };
    request.succeeded = [](Stage& stage, Body) {
        compareSilent(stage);
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        const QWidgetList windows = QApplication::topLevelWidgets();
        const auto found = std::find_if(windows.cbegin(), windows.cend(), [](const QWidget* widget) {
            return qobject_cast<const MainWindow*>(widget) != nullptr;
        });
        QVERIFY(found != windows.cend());
        QVERIFY((*found)->isVisible());
        auto* const list = (*found)->findChild<ViewPatients*>();
        QVERIFY(list != nullptr);
        EVENTUALLY(Stage::column(list->findChild<QTableView*>(), 2) ==
                   QStringList({QStringLiteral("Ada Byron"), QStringLiteral("Bo Wen")}));
    };
    request.covered = modal<DialogLogin>;
    request.bare = true;
    request.deadButton = "buttonConfirm";
    request.drop = [](Stage&) { Stage::rejectDialogs(); };
    request.follow = [](Stage& stage, Body) { stage.expectFirstPage(); };
    request.session = [](Body body) { return QByteArray(body == Body::Good ? "Bearer T2" : " "); };
    request.endsProcess = true;
    all.append(request);

    request = {};
    request.name = "language";
    request.group = "shell";
    request.operation = "changeLocale";
    request.source = "app/MainWindow.cpp";
    request.method = "PUT";
    request.target = "/auth/locale";
    request.good = done;
    request.wrong = anyArray;
    request.prepare = [](Stage& stage) { stage.toList(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        stage.window->findChild<QMenu*>(QStringLiteral("menuLanguage"))->actions().at(1)->trigger();
        waiting();
    };
    request.succeeded = [](Stage& stage, Body) {
        QCOMPARE(stage.boxes.told().size(), 1);
        QCOMPARE(stage.boxes.told().first().icon, QMessageBox::Information);
        QCOMPARE(stage.boxes.told().first().parent, windowOf(stage));
        QCOMPARE(QLocale().name(), QStringLiteral("ru_RU"));
    };
    request.failed = [](Stage& stage) {
        QCOMPARE(QLocale().name(), QStringLiteral("en_US"));
        const QAction* const chosen = stage.window->findChild<QMenu*>(QStringLiteral("menuLanguage"))->actions().at(1);
        QVERIFY(chosen->isChecked());
        QCOMPARE(stage.window->windowIcon().cacheKey(), chosen->icon().cacheKey());
    };
    request.covered = windowOf;
    request.drop = dropWindow;
    all.append(request);

    request = {};
    request.name = "password";
    request.group = "shell";
    request.operation = "changePassword";
    request.source = "app/DialogChangePassword.cpp";
    request.method = "POST";
    request.target = "/auth/password";
    request.good = R"({"accessToken": "T2"})";
    request.wrong = anyArray;
    request.prepare = [](Stage& stage) { stage.toList(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        Stage::inDialog(
            [&stage] { stage.window->findChild<QAction*>(QStringLiteral("menuPassword"))->trigger(); },
            [&waiting](QWidget* dialog) {
                for (const char* const name : {"oldPasswordField", "newPasswordField", "repeatPasswordField"}) {
                    dialog->findChild<QLineEdit*>(QString::fromLatin1(name))->setText(QStringLiteral("secret"));
                }
                dialog->findChild<QPushButton*>(QStringLiteral("buttonConfirm"))->click();
                waiting();
            });
    };
    request.succeeded = [](Stage& stage, Body) {
        compareSuccess(stage, windowOf(stage), "MainWindow", "Dialog.successChangePassword");
        QVERIFY(QApplication::activeModalWidget() == nullptr);
    };
    request.failed = [](Stage& stage) {
        auto* const dialog = modal<DialogChangePassword>(stage);
        QVERIFY(dialog != nullptr);
        QCOMPARE(dialog->findChild<QLineEdit*>(QStringLiteral("newPasswordField"))->text(), QStringLiteral("secret"));
    };
    request.covered = modal<DialogChangePassword>;
    request.deadButton = "buttonConfirm";
    request.drop = [](Stage&) { Stage::rejectDialogs(); };
    request.session = [](Body body) { return QByteArray(body == Body::Good ? "Bearer T2" : "Bearer "); };
    all.append(request);

    request = {};
    request.name = "updates";
    request.group = "shell";
    request.operation = "updates";
    request.source = "app/MainWindow.cpp";
    request.method = "GET";
    request.target = "/auth/updates/?version=2021.3.0";
    request.good = R"({"update": true})";
    request.wrong = anyArray;
    request.prepare = [](Stage& stage) { stage.toList(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        stage.window->findChild<QAction*>(QStringLiteral("menuUpdates"))->trigger();
        waiting();
    };
    request.succeeded = [](Stage& stage, Body body) {
        compareTold(stage, windowOf(stage), MainWindow::tr("Text.updatesTitle"),
                    body == Body::Good ? MainWindow::tr("Text.updatesAvailable") : MainWindow::tr("Text.upToDate"));
    };
    request.covered = windowOf;
    request.drop = dropWindow;
    all.append(request);
}

/// What the list of patients asks for. Its own screen never leaves the stack in the program, but the stack can be
/// emptied.
void addList(QList<Request>& all)
{
    const auto comparePage = [](Stage& stage, Body body) {
        compareSilent(stage);
        QCOMPARE(names(stage), body == Body::Good ? QStringList({QStringLiteral("Cy Ort"), QStringLiteral("Di Moss")})
                                                  : QStringList());
        QVERIFY(!stage.top()->findChild<QLineEdit*>(QStringLiteral("searchField"))->isReadOnly());
    };
    const auto compareList = [](Stage& stage) {
        compareSilent(stage);
        QVERIFY(!stage.top()->findChild<QLineEdit*>(QStringLiteral("searchField"))->isReadOnly());
    };
    const auto compareUnlocked = [](Stage& stage) {
        QVERIFY(!stage.top()->findChild<QLineEdit*>(QStringLiteral("searchField"))->isReadOnly());
    };
    const QByteArray otherPage = page({Samples::patient(QStringLiteral("p3"), QStringLiteral("Cy Ort")),
                                       Samples::patient(QStringLiteral("p4"), QStringLiteral("Di Moss"))});

    Request request{};
    request.name = "list, first page";
    request.group = "list";
    request.operation = "patientsFilter";
    request.source = "model/PatientManager.cpp";
    request.method = "GET";
    request.target = "/patient/filter?sortby=name&direction=asc&size=20&current=0&searchby=name&needle=";
    request.good = otherPage;
    request.wrong = anyArray;
    request.prepare = [](Stage&) { PatientManager::getInstance()->getModel()->clear(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        stage.expectFirst("POST", "/auth/login",
                          R"({"accessToken": "first", "tokenType": "Bearer", "language": "en", "country": "US"})");
        Stage::inDialog(
            [&stage] { stage.window = std::make_unique<MainWindow>(); },
            [](QWidget* dialog) {
                dialog->findChild<QLineEdit*>(QStringLiteral("usernameField"))->setText(QStringLiteral("ada"));
                dialog->findChild<QLineEdit*>(QStringLiteral("passwordField"))->setText(QStringLiteral("secret"));
                dialog->findChild<QPushButton*>(QStringLiteral("buttonConfirm"))->click();
            });
        waiting();
    };
    request.succeeded = comparePage;
    request.failed = compareUnlocked;
    request.drop = dropList;
    request.outlives = true;
    request.chained = true;
    all.append(request);

    request.chained = false;
    request.name = "list, refresh";
    request.target = "/patient/filter?sortby=&direction=&size=20&current=0&searchby=name&needle=";
    request.prepare = [](Stage& stage) { stage.toList(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) { clickAndWait(stage, "buttonRefresh", waiting); };
    all.append(request);

    request.name = "list, search";
    request.target = "/patient/filter?sortby=&direction=&size=20&current=0&searchby=notes&needle=";
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        stage.top()->findChild<QComboBox*>(QStringLiteral("comboBox"))->setCurrentIndex(1);
        waiting();
    };
    all.append(request);

    request.name = "list, reload";
    request.operation = "patientsList";
    request.target = "/patient";
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        PatientManager::getInstance()->reload(stage.top());
        waiting();
    };
    all.append(request);

    request = {};
    request.name = "create";
    request.group = "list";
    request.operation = "patientCreate";
    request.source = "model/PatientManager.cpp";
    request.method = "POST";
    request.target = "/patient";
    request.good = Samples::toBytes(Samples::patient(QStringLiteral("p3"), QStringLiteral("Cy Ort")));
    request.wrong = anyArray;
    request.prepare = [](Stage& stage) { stage.toList(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        Stage::inDialog([&stage] { stage.click("buttonNewPatient"); },
                        [&waiting](QWidget* form) {
                            fillForm(form, QStringLiteral("Cy Ort"));
                            waiting();
                        });
    };
    request.succeeded = [compareList](Stage& stage, Body body) {
        compareList(stage);
        QCOMPARE(names(stage), QStringList({QStringLiteral("Ada Byron"), QStringLiteral("Bo Wen"),
                                            body == Body::Good ? QStringLiteral("Cy Ort") : QString()}));
        QVERIFY(QApplication::activeModalWidget() == nullptr);
    };
    request.failed = [](Stage&) { compareFormOpen(QStringLiteral("Cy Ort")); };
    request.drop = dropList;
    request.outlives = true;
    all.append(request);

    request.name = "edit in the list";
    request.operation = "patientUpdate";
    request.method = "PUT";
    request.good = Samples::toBytes(Samples::patient(QStringLiteral("p2"), QStringLiteral("Bo Wu")));
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        Stage::inDialog([&stage] { Stage::pressIcon(stage.table(), 1, 8); },
                        [&waiting](QWidget* form) {
                            fillForm(form, QStringLiteral("Bo W."));
                            waiting();
                        });
    };
    request.succeeded = [compareList](Stage& stage, Body body) {
        compareList(stage);
        QCOMPARE(names(stage), QStringList({QStringLiteral("Ada Byron"),
                                            body == Body::Good ? QStringLiteral("Bo Wu") : QStringLiteral("Bo Wen")}));
        QVERIFY(QApplication::activeModalWidget() == nullptr);
    };
    request.failed = [](Stage&) { compareFormOpen(QStringLiteral("Bo W.")); };
    all.append(request);

    request = {};
    request.name = "delete in the list";
    request.group = "list";
    request.operation = "patientDelete";
    request.source = "model/PatientManager.cpp";
    request.method = "DELETE";
    request.target = "/patient/p2";
    request.good = done;
    request.wrong = anyArray;
    request.prepare = [](Stage& stage) { stage.toList(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        Stage::pressIcon(stage.table(), 1, 9);
        waiting();
    };
    request.succeeded = [compareList](Stage& stage, Body) {
        compareList(stage);
        QCOMPARE(names(stage), QStringList({QStringLiteral("Ada Byron")}));
    };
    request.failed = compareUnlocked;
    request.drop = dropList;
    request.outlives = true;
    all.append(request);
}

void addCard(QList<Request>& all)
{
    Request request{};
    request.name = "edit on the card";
    request.group = "card";
    request.operation = "patientUpdate";
    request.source = "model/PatientManager.cpp";
    request.method = "PUT";
    request.target = "/patient";
    request.good = Samples::toBytes(Stage::patient(QStringLiteral("p1"), QStringLiteral("Ada King")));
    request.wrong = anyArray;
    request.prepare = [](Stage& stage) { stage.toCard(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        Stage::inDialog([&stage] { stage.click("buttonEditPatient"); },
                        [&waiting](QWidget* form) {
                            fillForm(form, QStringLiteral("Ada K."));
                            waiting();
                        });
    };
    request.succeeded = [](Stage& stage, Body body) {
        compareSilent(stage);
        const QString name = body == Body::Good ? QStringLiteral("Ada King") : QStringLiteral("Ada Byron");
        QCOMPARE(stage.top()->findChild<QLabel*>(QStringLiteral("labelPatientName"))->text(), name);
        QCOMPARE(Stage::listed(QStringLiteral("p1")).getName(), name);
        QVERIFY(QApplication::activeModalWidget() == nullptr);
    };
    request.failed = [](Stage&) { compareFormOpen(QStringLiteral("Ada K.")); };
    request.outlives = true;
    all.append(request);

    request = {};
    request.name = "delete on the card";
    request.group = "card";
    request.operation = "patientDelete";
    request.source = "model/PatientManager.cpp";
    request.method = "DELETE";
    request.target = "/patient/p1";
    request.good = done;
    request.wrong = anyArray;
    request.prepare = [](Stage& stage) { stage.toCard(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) { clickAndWait(stage, "buttonDeletePatient", waiting); };
    request.succeeded = [](Stage& stage, Body) {
        compareSilent(stage);
        compareGone<ViewPatient>(stage);
        QCOMPARE(names(stage), QStringList({QStringLiteral("Bo Wen")}));
    };
    request.outlives = true;
    all.append(request);

    const auto compareRecords = [](Stage& stage, const QStringList& doctors) {
        compareSilent(stage);
        QStringList shown = Stage::column(stage.table(), 4);
        shown.sort();
        QCOMPARE(shown, doctors);
    };
    const QStringList three{QStringLiteral("Doctor r0"), QStringLiteral("Doctor r1"), QStringLiteral("Doctor r2")};

    request = {};
    request.name = "records";
    request.group = "card";
    request.operation = "getRecords";
    request.source = "patients/ViewPatient.cpp";
    request.method = "GET";
    request.target = "/record/p1";
    request.good = Samples::records(3);
    request.wrong = anyObject;
    request.prepare = [](Stage& stage) { stage.toList(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        stage.openFirst();
        waiting();
    };
    request.succeeded = [compareRecords, three](Stage& stage, Body body) {
        compareRecords(stage, body == Body::Good ? three : QStringList());
    };
    all.append(request);

    request.name = "records, refresh";
    request.good = Samples::records(2);
    request.prepare = [](Stage& stage) {
        stage.toCard();
        stage.check(1);
    };
    request.trigger = [](Stage& stage, const Waiting& waiting) { clickAndWait(stage, "buttonRefresh", waiting); };
    request.succeeded = [compareRecords, three](Stage& stage, Body body) {
        compareRecords(stage, body == Body::Good ? three.mid(0, 2) : QStringList());
        // The new rows are not ticked.
        QVERIFY(!stage.button("buttonReceipt")->isEnabled());
    };
    request.failed = [](Stage& stage) { QVERIFY(stage.button("buttonReceipt")->isEnabled()); };
    all.append(request);

    request = {};
    request.name = "upload";
    request.group = "card";
    request.operation = "uploadRecord";
    request.source = "patients/ViewPatient.cpp";
    request.method = "POST";
    request.target = "/record";
    request.good = Samples::toBytes(Samples::record(QStringLiteral("r3"), QStringLiteral("2021-03-09T10:00:00Z")));
    request.wrong = anyArray;
    request.prepare = [](Stage& stage) { stage.toCard(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        // A recording takes three seconds of sound; its end is what the button of the dialog does.
        Stage::inDialog([&stage] { stage.click("buttonNewRecord"); },
                        [](QWidget* dialog) {
                            auto* const recorder = qobject_cast<AudioRecorder*>(dialog);
                            QByteArray wav = Utils::wavHeader(66150) + QByteArray(66150, '\x80');
                            emit recorder->onSave(wav, QStringLiteral("serial"));
                            recorder->reject();
                        });
        waiting();
    };
    request.succeeded = [compareRecords, three](Stage& stage, Body body) {
        QStringList doctors = three;
        doctors.insert(body == Body::Good ? 3 : 0, body == Body::Good ? QStringLiteral("Doctor r3") : QString());
        compareRecords(stage, doctors);
    };
    request.upload = true;
    all.append(request);

    request = {};
    request.name = "delete a record";
    request.group = "card";
    request.operation = "deleteRecord";
    request.source = "patients/ViewPatient.cpp";
    request.method = "DELETE";
    request.target = "/record/p1/r2";
    request.good = done;
    request.wrong = anyArray;
    request.prepare = [](Stage& stage) { stage.toCard(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        Stage::pressIcon(stage.table(), 0, 6);
        waiting();
    };
    request.succeeded = [compareRecords, three](Stage& stage, Body) { compareRecords(stage, three.mid(0, 2)); };
    all.append(request);

    request = {};
    request.name = "autospectrum";
    request.group = "card";
    request.operation = "recipeAutospectrum";
    request.source = "patients/ViewPatient.cpp";
    request.method = "POST";
    request.target = "/recipe/autospectrum";
    request.good = zippedBlocks();
    request.wrong = anyObject;
    request.prepare = [](Stage& stage) {
        stage.toCard();
        stage.check(1);
    };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        Stage::inDialog(
            [&stage] { stage.click("buttonAutospectrum"); },
            [](QWidget* dialog) { dialog->findChild<QPushButton*>(QStringLiteral("buttonConfirm"))->click(); });
        waiting();
    };
    request.succeeded = [](Stage& stage, Body) {
        compareSilent(stage);
        comparePlayer(stage);
    };
    all.append(request);

    request = {};
    request.name = "export";
    request.group = "card";
    request.operation = "excelExport";
    request.source = "patients/ViewPatient.cpp";
    request.method = "POST";
    request.target = "/export/excel";
    request.good = QByteArray("a workbook").toBase64();
    request.wrong = anyObject;
    request.prepare = [](Stage& stage) { stage.toCard(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        saveToNewFile(stage);
        clickAndWait(stage, "buttonExcelExport", waiting);
    };
    request.succeeded = [](Stage& stage, Body body) {
        compareSilent(stage);
        switch (body) {
        case Body::Good:
            QCOMPARE(fileContent(), QByteArray("a workbook"));
            break;
        case Body::Empty:
            QCOMPARE(fileContent(), QByteArray());
            break;
        case Body::Wrong:
            // Whatever the letters mean as base64.
            QCOMPARE(fileContent(), QByteArray::fromBase64(anyObject));
            break;
        }
    };
    request.failed = [](Stage&) { QCOMPARE(fileContent(), QByteArray("no file")); };
    all.append(request);
}

void addDevice(QList<Request>& all)
{
    const auto state = [](const char* key, int toolTip, bool bound, bool enabled) {
        return [key, toolTip, bound, enabled](Stage& stage, Body) {
            compareSuccess(stage, cardOf(stage), "ViewPatient", key);
            const Patient patient = Stage::listed(QStringLiteral("p1"));
            QCOMPARE(patient.getStatusToolTip(), toolTip);
            QCOMPARE(patient.isHasDevices(), bound);
            QCOMPARE(patient.isEnabled(), enabled);
            QCOMPARE(!stage.top()->findChild<QWidget*>(QStringLiteral("labelConnectedDevice"))->isHidden(), bound);
        };
    };
    const auto unchanged = [](Stage&) {
        const Patient patient = Stage::listed(QStringLiteral("p1"));
        QCOMPARE(patient.getStatusToolTip(), 1);
        QVERIFY(patient.isHasDevices());
        QVERIFY(patient.isEnabled());
    };

    Request request{};
    request.name = "command";
    request.group = "device";
    request.operation = "command";
    request.source = "patients/ViewPatient.cpp";
    request.method = "POST";
    request.target = "/command";
    request.good = done;
    request.wrong = anyArray;
    request.prepare = [](Stage& stage) { stage.toCard(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        Stage::inDialog(
            [&stage] { stage.click("buttonNewRecord"); },
            [](QWidget* dialog) { dialog->findChild<QPushButton*>(QStringLiteral("buttonSendCommand"))->click(); });
        waiting();
    };
    request.succeeded = state("Text.commandSuccess", 2, true, true);
    request.failed = unchanged;
    all.append(request);

    request.name = "delete a command";
    request.operation = "deleteCommand";
    request.method = "DELETE";
    request.target = "/command/p1";
    request.trigger = [](Stage& stage, const Waiting& waiting) { clickAndWait(stage, "buttonDeleteCommand", waiting); };
    request.succeeded = state("Text.deleteCommandSuccess", 1, true, true);
    all.append(request);

    const auto inDevices = [](const char* button, bool staysOpen) {
        return [button, staysOpen](Stage& stage, const Waiting& waiting) {
            Stage::inDialog([&stage] { stage.click("buttonManageDevice"); },
                            [button, staysOpen, &waiting](QWidget* dialog) {
                                dialog->findChild<QPushButton*>(QString::fromLatin1(button))->click();
                                if (staysOpen) {
                                    waiting();
                                }
                            });
            if (!staysOpen) {
                waiting();
            }
        };
    };

    request.name = "bind";
    request.operation = "deviceConnect";
    request.method = "POST";
    request.target = "/patient/device";
    request.trigger = inDevices("buttonConnect", true);
    request.succeeded = state("Text.deviceConnectSuccess", 1, true, true);
    request.covered = cardOf;
    all.append(request);

    request.name = "unbind";
    request.operation = "deviceDisconnect";
    request.method = "DELETE";
    request.target = "/patient/device/p1";
    request.trigger = inDevices("buttonDisconnect", true);
    request.succeeded = state("Text.deviceDisconnectSuccess", 0, false, true);
    all.append(request);

    request.name = "block";
    request.operation = "deviceToggle";
    request.method = "PUT";
    request.target = "/patient/device";
    request.trigger = inDevices("buttonToggle", false);
    request.succeeded = state("Text.deviceStatusChangeSuccess", 1, true, false);
    all.append(request);
}

void addAnalysis(QList<Request>& all)
{
    Request request{};
    request.name = "summary";
    request.group = "analysis";
    request.operation = "analysisSummary";
    request.source = "analysis/ViewAnalysis.cpp";
    request.method = "POST";
    request.target = "/analysis/summary";
    request.good = R"({"columns": ["first"], "rows": [{"title": "Sleep", "values": [7]}]})";
    request.wrong = anyArray;
    request.prepare = [](Stage& stage) {
        stage.toCard();
        stage.check(1);
    };
    request.trigger = [](Stage& stage, const Waiting& waiting) { clickAndWait(stage, "buttonAnalysis", waiting); };
    request.succeeded = [](Stage& stage, Body body) {
        compareSilent(stage);
        QCOMPARE(Stage::column(stage.table("summaryTableView"), 0),
                 body == Body::Good ? QStringList({QStringLiteral("Sleep")}) : QStringList());
    };
    all.append(request);

    request.name = "diagnostic categories";
    request.operation = "diagnosticCategories";
    request.method = "GET";
    request.target = "/category/diagnostic/p1";
    request.good = R"([{"title": "Heart", "storages": [{"id": "s1", "title": "Rhythms"}]}])";
    request.wrong = anyObject;
    request.prepare = [](Stage& stage) { stage.toAnalysis(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        stage.top()->findChild<QTabWidget*>(QStringLiteral("tabWidget"))->setCurrentIndex(1);
        waiting();
    };
    request.succeeded = [](Stage& stage, Body body) {
        compareSilent(stage);
        const int items = body == Body::Good ? 1 : 0;
        QCOMPARE(stage.top()->findChild<QComboBox*>(QStringLiteral("comboBoxCategories"))->count(), items);
        QCOMPARE(stage.top()->findChild<QComboBox*>(QStringLiteral("comboBoxStorages"))->count(), items);
    };
    request.failed = [](Stage& stage) {
        // They are not asked for again: the server would fail the test.
        auto* const tabs = stage.top()->findChild<QTabWidget*>(QStringLiteral("tabWidget"));
        tabs->setCurrentIndex(0);
        tabs->setCurrentIndex(1);
        QVERIFY(stage.top()->findChild<QWidget*>(QStringLiteral("LoadingWindow")) == nullptr);
    };
    all.append(request);

    request = {};
    request.name = "marker analysis";
    request.group = "analysis";
    request.operation = "analysisMarkers";
    request.source = "analysis/ViewAnalysis.cpp";
    request.method = "POST";
    request.target = "/analysis";
    request.good = R"({"columns": ["2021-03-03T10:00:00Z"], "rows": [{"id": "m1", "title": "One", "values": [3]}]})";
    request.wrong = anyArray;
    request.prepare = [](Stage& stage) {
        stage.toAnalysis();
        stage.server.expect("GET", "/category/diagnostic/p1",
                            R"([{"title": "Heart", "storages": [{"id": "s1", "title": "Rhythms"}]}])");
        stage.top()->findChild<QTabWidget*>(QStringLiteral("tabWidget"))->setCurrentIndex(1);
        stage.settle();
    };
    request.trigger = [](Stage& stage, const Waiting& waiting) { clickAndWait(stage, "buttonAnalyse", waiting); };
    request.succeeded = [](Stage& stage, Body body) {
        compareSilent(stage);
        QCOMPARE(Stage::column(stage.table("analysisTableView"), 0),
                 body == Body::Good ? QStringList({QStringLiteral("One")}) : QStringList());
    };
    all.append(request);

    request = {};
    request.name = "comparison";
    request.group = "analysis";
    request.operation = "analysisComparative";
    request.source = "analysis/ViewComparativeAnalysis.cpp";
    request.method = "POST";
    request.target = "/analysis/comparative";
    request.good = R"({"graph1": {"a": [1, 2, 3]}, "graph2": {"b": [1, 2, 3]}, "summary": {"c": [1, 2, 3]},
                       "smooth": {"c": [1, 2, 3]}, "complaints": {"d": [1, 2, 3]}})";
    request.wrong = anyArray;
    request.prepare = [](Stage& stage) {
        stage.toCard();
        stage.check(3);
    };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        clickAndWait(stage, "buttonComparativeAnalysis", waiting);
    };
    request.succeeded = [](Stage& stage, Body body) {
        compareSilent(stage);
        const QList<QtCharts::QChartView*> charts = stage.top()->findChildren<QtCharts::QChartView*>();
        QCOMPARE(charts.size(), 4);
        for (const QtCharts::QChartView* const view : charts) {
            QCOMPARE(view->chart()->series().size(), body == Body::Good ? 1 : 0);
        }
    };
    request.failed = [](Stage& stage) { QVERIFY(stage.top()->findChildren<QtCharts::QChartView*>().isEmpty()); };
    all.append(request);

    request = {};
    request.name = "questionnaire";
    request.group = "analysis";
    request.operation = "questionnaire";
    request.source = "analysis/ViewRecoveryHistory.cpp";
    request.method = "POST";
    request.target = "/patient/questionnaire";
    request.good = R"({"dates": {"r2": "2021-03-03T10:00:00Z"},
                       "rows": [{"id": 1, "symptom": "Cough", "custom": false, "intensities": {"r2": 1}}]})";
    request.wrong = anyArray;
    request.prepare = [](Stage& stage) {
        stage.toCard();
        stage.check(1);
    };
    request.trigger = [](Stage& stage, const Waiting& waiting) {
        clickAndWait(stage, "buttonRecoveryHistory", waiting);
    };
    request.succeeded = [](Stage& stage, Body body) {
        compareSilent(stage);
        QCOMPARE(Stage::column(stage.table(), 0).value(2), body == Body::Good ? QStringLiteral("Cough") : QString());
        QCOMPARE(stage.table()->model()->rowCount(), body == Body::Good ? 3 : 0);
        compareDirty<ViewRecoveryHistory>(stage, false);
    };
    request.failed = [](Stage& stage) { compareDirty<ViewRecoveryHistory>(stage, false); };
    all.append(request);

    const auto changedHistory = [](Stage& stage) {
        stage.toHistory();
        QAbstractItemModel* const model = stage.table()->model();
        model->setData(model->index(2, 1), 3.0F, Qt::DisplayRole);
    };

    request = {};
    request.name = "save the questionnaire";
    request.group = "analysis";
    request.operation = "updateQuestionnaire";
    request.source = "analysis/ViewRecoveryHistory.cpp";
    request.method = "PUT";
    request.target = "/patient/questionnaire/p1";
    request.good = done;
    request.wrong = anyArray;
    request.prepare = changedHistory;
    request.trigger = [](Stage& stage, const Waiting& waiting) { clickAndWait(stage, "buttonSave", waiting); };
    request.succeeded = [](Stage& stage, Body) {
        compareSilent(stage);
        compareDirty<ViewRecoveryHistory>(stage, false);
    };
    request.failed = [](Stage& stage) { compareDirty<ViewRecoveryHistory>(stage, true); };
    all.append(request);

    request.name = "save the questionnaire, to the card";
    request.trigger = [](Stage& stage, const Waiting& waiting) { clickAndWait(stage, "buttonBack", waiting); };
    request.succeeded = [](Stage& stage, Body) {
        compareSilent(stage);
        compareGone<ViewRecoveryHistory>(stage);
        QCOMPARE(stage.top(), cardOf(stage));
    };
    all.append(request);

    request.name = "save the questionnaire, to the list";
    request.trigger = [](Stage& stage, const Waiting& waiting) { clickAndWait(stage, "buttonListPatients", waiting); };
    request.succeeded = [](Stage& stage, Body) {
        compareSilent(stage);
        compareGone<ViewRecoveryHistory>(stage);
        compareGone<ViewPatient>(stage);
        QCOMPARE(stage.top(), listOf(stage));
    };
    all.append(request);
}

void addRecipe(QList<Request>& all)
{
    const auto items = [](Stage& stage, const char* box) {
        return stage.top()->findChild<QComboBox*>(QString::fromLatin1(box))->count();
    };
    const QByteArray markers = R"([{"id": "m1", "title": "One", "amount": 1, "values": [50]}])";
    const QByteArray categories = R"([{"title": "Heart", "storages": [{"id": "s1", "title": "Rhythms"}]}])";
    const QByteArray rows = R"({"rows": [{"id": "m1", "title": "One", "amount": 1, "values": [50]},
                                         {"id": "m3", "title": "Three", "amount": 1, "values": [70]}]})";
    const auto toTicked = [](Stage& stage) {
        stage.toCard();
        stage.check(1);
    };

    Request request{};
    request.name = "saved recipe";
    request.group = "recipe";
    request.operation = "getRecipe";
    request.source = "recipe/ViewReceipt.cpp";
    request.method = "GET";
    request.target = "/recipe/p1/r2";
    request.good = markers;
    request.wrong = anyObject;
    request.prepare = toTicked;
    request.trigger = [](Stage& stage, const Waiting& waiting) { clickAndWait(stage, "buttonReceipt", waiting); };
    request.follow = [categories](Stage& stage, Body) {
        stage.server.expect("GET", "/category/corrective/p1", categories);
    };
    request.succeeded = [items](Stage& stage, Body body) {
        compareSilent(stage);
        EVENTUALLY(items(stage, "comboBoxCategories") == 1);
        QCOMPARE(stage.button("buttonReceipt")->isEnabled(), body == Body::Good);
        QVERIFY(stage.button("buttonAnalyse")->isEnabled());
        compareDirty<ViewReceipt>(stage, false);
    };
    request.failed = [items](Stage& stage) {
        QCOMPARE(items(stage, "comboBoxCategories"), 0);
        QVERIFY(!stage.button("buttonAnalyse")->isEnabled());
        QVERIFY(!stage.button("buttonReceipt")->isEnabled());
    };
    all.append(request);

    request = {};
    request.name = "corrective categories";
    request.group = "recipe";
    request.operation = "correctiveCategories";
    request.source = "recipe/ViewReceipt.cpp";
    request.method = "GET";
    request.target = "/category/corrective/p1";
    request.good = categories;
    request.wrong = anyObject;
    request.prepare = toTicked;
    request.trigger = [markers](Stage& stage, const Waiting& waiting) {
        stage.expectFirst("GET", "/recipe/p1/r2", markers);
        stage.click("buttonReceipt");
        // The second link of a chain: the screen asks once the first reply is there.
        EVENTUALLY(stage.button("buttonReceipt")->isEnabled());
        waiting();
    };
    request.succeeded = [items](Stage& stage, Body body) {
        compareSilent(stage);
        QCOMPARE(items(stage, "comboBoxCategories"), body == Body::Good ? 1 : 0);
        QCOMPARE(items(stage, "comboBoxStorages"), body == Body::Good ? 1 : 0);
        QVERIFY(stage.button("buttonAnalyse")->isEnabled());
    };
    request.failed = [](Stage& stage) {
        QVERIFY(!stage.button("buttonAnalyse")->isEnabled());
        QVERIFY(stage.button("buttonReceipt")->isEnabled());
    };
    request.chained = true;
    all.append(request);

    request = {};
    request.name = "markers to choose from";
    request.group = "recipe";
    request.operation = "analysisMarkers";
    request.source = "recipe/ViewReceipt.cpp";
    request.method = "POST";
    request.target = "/analysis";
    request.good = rows;
    request.wrong = anyArray;
    request.prepare = [](Stage& stage) { stage.toReceipt(); };
    request.trigger = [](Stage& stage, const Waiting& waiting) { clickAndWait(stage, "buttonAnalyse", waiting); };
    request.succeeded = [](Stage& stage, Body body) {
        compareSilent(stage);
        QCOMPARE(Stage::column(stage.table(), 0),
                 body == Body::Good ? QStringList({QStringLiteral("One"), QStringLiteral("Three")}) : QStringList());
        compareDirty<ViewReceipt>(stage, false);
    };
    all.append(request);

    const auto changedReceipt = [rows](Stage& stage) {
        stage.toReceipt();
        stage.server.expect("POST", "/analysis", rows);
        stage.click("buttonAnalyse");
        stage.settle();
        QAbstractItemModel* const model = stage.table()->model();
        model->setData(model->index(1, 0), Qt::Checked, Qt::CheckStateRole);
    };

    request = {};
    request.name = "save the recipe, to the card";
    request.group = "recipe";
    request.operation = "saveRecipe";
    request.source = "recipe/ViewReceipt.cpp";
    request.method = "PUT";
    request.target = "/recipe";
    request.good = done;
    request.wrong = anyArray;
    request.prepare = changedReceipt;
    request.trigger = [](Stage& stage, const Waiting& waiting) { clickAndWait(stage, "buttonBack", waiting); };
    request.succeeded = [](Stage& stage, Body) {
        compareSilent(stage);
        compareGone<ViewReceipt>(stage);
        QCOMPARE(stage.top(), cardOf(stage));
    };
    request.failed = [](Stage& stage) { compareDirty<ViewReceipt>(stage, true); };
    all.append(request);

    request.name = "save the recipe, to the list";
    request.trigger = [](Stage& stage, const Waiting& waiting) { clickAndWait(stage, "buttonListPatients", waiting); };
    request.succeeded = [](Stage& stage, Body) {
        compareSilent(stage);
        compareGone<ViewReceipt>(stage);
        compareGone<ViewPatient>(stage);
        QCOMPARE(stage.top(), listOf(stage));
    };
    all.append(request);

    const auto toTarget = [](int row) {
        return [row](Stage& stage) {
            stage.toImpact();
            // A change of the order, which is asked about on the way out.
            Stage::pressIcon(stage.table(), 0, 2);
            stage.top()->findChild<QComboBox*>(QStringLiteral("comboBoxTarget"))->setCurrentIndex(row);
        };
    };
    const auto clickStart = [](Stage& stage, const Waiting& waiting) {
        saveToNewFile(stage);
        clickAndWait(stage, "buttonStart", waiting);
    };

    request = {};
    request.name = "impact through the sensor";
    request.group = "recipe";
    request.operation = "recipe";
    request.source = "recipe/ViewImpact.cpp";
    request.method = "POST";
    request.target = "/recipe";
    request.good = zippedBlocks();
    request.wrong = anyObject;
    request.prepare = toTarget(0);
    request.trigger = clickStart;
    request.deadButton = "buttonStart";
    request.succeeded = [](Stage& stage, Body) {
        compareSilent(stage);
        QVERIFY(!stage.button("buttonStart")->isEnabled());
        comparePlayer(stage);
        QVERIFY(stage.button("buttonStart")->isEnabled());
        compareDirty<ViewImpact>(stage, false, "buttonPatientCard");
    };
    request.failed = [](Stage& stage) {
        QVERIFY(stage.window->findChild<DialogPlayer*>() == nullptr);
        compareDirty<ViewImpact>(stage, true, "buttonPatientCard");
    };
    all.append(request);

    request.name = "impact to a file";
    request.prepare = toTarget(1);
    request.succeeded = [](Stage& stage, Body body) {
        compareSilent(stage);
        const int repeats = Utils::calculateRepeats(1, 1);
        QCOMPARE(fileContent(), body == Body::Good
                                    ? Utils::wavHeader(6 * repeats) + QByteArray("abc").repeated(repeats) +
                                          QByteArray("xyz").repeated(repeats)
                                    : Utils::wavHeader(0));
        // The button waits for the end of a player.
        QVERIFY(!stage.button("buttonStart")->isEnabled());
        compareDirty<ViewImpact>(stage, false, "buttonPatientCard");
    };
    request.failed = [](Stage& stage) {
        QCOMPARE(fileContent(), QByteArray("no file"));
        compareDirty<ViewImpact>(stage, true, "buttonPatientCard");
    };
    all.append(request);

    request = {};
    request.name = "impact by the device";
    request.group = "recipe";
    request.operation = "saveRecipe";
    request.source = "recipe/ViewImpact.cpp";
    request.method = "PUT";
    request.target = "/recipe";
    request.good = done;
    request.wrong = anyArray;
    request.prepare = toTarget(2);
    request.trigger = clickStart;
    request.deadButton = "buttonStart";
    request.succeeded = [](Stage& stage, Body) {
        compareSuccess(stage, stage.top(), "ViewImpact", "Text.recipeCommandSuccess");
        QVERIFY(stage.button("buttonStart")->isEnabled());
        QCOMPARE(Stage::listed(QStringLiteral("p1")).getStatusToolTip(), 4);
        compareDirty<ViewImpact>(stage, true, "buttonPatientCard");
    };
    request.failed = [](Stage& stage) {
        QCOMPARE(Stage::listed(QStringLiteral("p1")).getStatusToolTip(), 1);
        compareDirty<ViewImpact>(stage, true, "buttonPatientCard");
    };
    all.append(request);

    request.name = "save the order, to the card";
    request.site = 1;
    request.prepare = toTarget(0);
    request.deadButton = nullptr;
    request.trigger = [](Stage& stage, const Waiting& waiting) { clickAndWait(stage, "buttonPatientCard", waiting); };
    request.succeeded = [](Stage& stage, Body) {
        compareSilent(stage);
        compareGone<ViewImpact>(stage);
        compareGone<ViewReceipt>(stage);
        QCOMPARE(stage.top(), cardOf(stage));
    };
    request.failed = [](Stage& stage) { compareDirty<ViewImpact>(stage, true, "buttonPatientCard"); };
    all.append(request);

    request.name = "save the order, to the list";
    request.trigger = [](Stage& stage, const Waiting& waiting) { clickAndWait(stage, "buttonListPatients", waiting); };
    request.succeeded = [](Stage& stage, Body) {
        compareSilent(stage);
        compareGone<ViewImpact>(stage);
        compareGone<ViewPatient>(stage);
        QCOMPARE(stage.top(), listOf(stage));
    };
    all.append(request);
}

} // namespace

const QList<Request>& requests()
{
    static const QList<Request> all = [] {
        QList<Request> list;
        addShell(list);
        addList(list);
        addCard(list);
        addDevice(list);
        addAnalysis(list);
        addRecipe(list);
        return list;
    }();
    return all;
}
