// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/app/Stations.h"

#include "analysis/ViewAnalysis.h"
#include "analysis/ViewComparativeAnalysis.h"
#include "analysis/ViewRecoveryHistory.h"
#include "app/DialogAbout.h"
#include "app/DialogChangePassword.h"
#include "app/Dialogs.h"
#include "app/MainWindow.h"
#include "model/Marker.h"
#include "model/Patient.h"
#include "model/Record.h"
#include "net/DialogLogin.h"
#include "patients/DialogManageDevices.h"
#include "patients/FormPatient.h"
#include "patients/RecordModel.h"
#include "patients/ViewPatient.h"
#include "recipe/ViewImpact.h"
#include "recipe/ViewReceipt.h"
#include "signal/AudioRecorder.h"
#include "signal/DialogAutospectrum.h"
#include "signal/DialogPlayer.h"
#include "signal/Utils.h"
#include "tests/app/LoggedIn.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/ModalAnswer.h"

#include <QAudioBuffer>
#include <QComboBox>
#include <QInputDialog>
#include <QJsonObject>
#include <QPointer>
#include <QStackedWidget>
#include <QTabWidget>
#include <QTest>

namespace {

const char* const categories =
    R"([{"title": "First", "storages": [{"id": "s1", "title": "One"}, {"id": "s2", "title": "Two"}]}])";
const char* const markerRows =
    R"({"columns": ["2024-05-06T07:08:09"], "rows": [
        {"id": "m1", "title": "Oak", "amount": 2, "values": [70], "description": "A tree.\n\n\n\n\n\n\n\n\n\nA long one."},
        {"id": "m2", "title": "Ash", "amount": 3, "values": [20], "description": "Another tree."},
        {"id": "m3", "title": "Elm", "amount": 1, "values": [40], "description": null}]})";

Patient patient()
{
    return Patient(QJsonObject{{QStringLiteral("id"), QStringLiteral("p1")},
                               {QStringLiteral("name"), QStringLiteral("Anna Lindqvist")},
                               {QStringLiteral("phone"), QStringLiteral("+46 8 123 456 78")},
                               {QStringLiteral("gender"), QStringLiteral("FEMALE")},
                               {QStringLiteral("birthDate"), QStringLiteral("1980-02-03")},
                               {QStringLiteral("hasDevices"), true},
                               {QStringLiteral("isEnabled"), true}});
}

Record record()
{
    return Record(QJsonObject{{QStringLiteral("id"), QStringLiteral("r1")},
                              {QStringLiteral("patientId"), QStringLiteral("p1")},
                              {QStringLiteral("recordedAt"), QStringLiteral("2024-05-06T07:08:09")}});
}

QList<Marker> markers()
{
    QList<Marker> list;
    for (const char* const title : {"Oak", "Ash", "Elm"}) {
        list.append(Marker(QJsonObject{{QStringLiteral("id"), QString::fromLatin1(title)},
                                       {QStringLiteral("title"), QString::fromLatin1(title)},
                                       {QStringLiteral("amount"), 1}}));
    }
    return list;
}

LoopbackServer::Answer always(const QByteArray& body)
{
    LoopbackServer::Answer answer;
    answer.body = body;
    answer.always = true;
    return answer;
}

} // namespace

Stations::Stations(const QString& locale)
    : replies(new LoopbackServer)
{
    if (!replies->listenForClient()) {
        QTest::qFail("Another program holds the address that the client was built for", __FILE__, __LINE__);
        return;
    }
    replies->setFallback(always("[]"));
    replies->expect("GET", "/patient/filter?sortby=name&direction=asc&size=20&current=0&searchby=name&needle=",
                    always(R"({"pages": 9, "data": [
                        {"id": "p1", "name": "Anna Lindqvist", "gender": "FEMALE", "hasDevices": true},
                        {"id": "p2", "name": "Bo Ek", "gender": "MALE"}]})"));
    replies->expect("GET", "/record/p1",
                    always(R"([{"id": "r1", "patientId": "p1", "recordedAt": "2024-05-06T07:08:09"},
                               {"id": "r2", "patientId": "p1", "recordedAt": "2024-05-07T07:08:09"},
                               {"id": "r3", "patientId": "p1", "recordedAt": "2024-05-08T07:08:09"}])"));
    replies->expect("POST", "/auth/login",
                    R"({"accessToken": "t", "tokenType": "Bearer", "language": ")" + locale.left(2).toLatin1() +
                        R"(", "country": ")" + locale.right(2).toLatin1() + R"(", "expiredAt": "2027-01-01"})");
    ModalAnswer login(isLogin, [](QWidget* dialog) {
        // Nobody is faster; and a dialog that goes before its window is active takes the focus with it.
        QVERIFY(QTest::qWaitForWindowActive(dialog));
        logIn(dialog);
    });
    main = std::make_unique<MainWindow>();
    main->show();
    if (!login.used() || !QTest::qWaitForWindowActive(main.get()) || !idle()) {
        QTest::qFail("The login did not lead to the list", __FILE__, __LINE__);
    }
}

Stations::~Stations()
{
    main.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

QStringList Stations::screens()
{
    return {QStringLiteral("ViewPatients"),
            QStringLiteral("ViewPatient"),
            QStringLiteral("ViewAnalysis, summary"),
            QStringLiteral("ViewAnalysis, markers"),
            QStringLiteral("ViewComparativeAnalysis"),
            QStringLiteral("ViewRecoveryHistory"),
            QStringLiteral("ViewReceipt"),
            QStringLiteral("ViewImpact, sensor"),
            QStringLiteral("ViewImpact, remote")};
}

QStringList Stations::dialogs()
{
    return {QStringLiteral("DialogLogin"),
            QStringLiteral("DialogAbout"),
            QStringLiteral("DialogChangePassword"),
            QStringLiteral("FormPatient, new"),
            QStringLiteral("FormPatient, edit"),
            QStringLiteral("DialogManageDevices"),
            QStringLiteral("DialogAutospectrum"),
            QStringLiteral("AudioRecorder, start"),
            QStringLiteral("AudioRecorder, finished"),
            QStringLiteral("AudioRecorder, remote"),
            QStringLiteral("DialogPlayer"),
            QStringLiteral("QMessageBox, question"),
            QStringLiteral("QMessageBox, patient"),
            QStringLiteral("QMessageBox, error"),
            QStringLiteral("QInputDialog, symptom")};
}

QWidget* Stations::screen() const
{
    return qobject_cast<QStackedWidget*>(main->centralWidget())->currentWidget();
}

bool Stations::idle() const
{
    const bool done =
        QTest::qWaitFor([this] { return main->findChild<QWidget*>(QStringLiteral("LoadingWindow")) == nullptr; });
    QTest::qWait(50);
    return done;
}

void Stations::visit(const QString& name, const std::function<void(QWidget*)>& look)
{
    if (screens().contains(name)) {
        openScreen(name);
        // A box of the screen before may have been the active window until just now.
        QVERIFY(QTest::qWaitForWindowActive(main.get()));
        look(main.get());
        main->showPatientsList();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return;
    }
    if (name.startsWith(QLatin1Char('Q'))) {
        runBox(name, look);
        return;
    }
    const QPointer<QWidget> dialog(makeDialog(name));
    dialog->show();
    if (!QTest::qWaitForWindowActive(dialog)) {
        QTest::qFail(qPrintable(name + QStringLiteral(" is not active")), __FILE__, __LINE__);
    }
    QTest::qWait(50);
    look(dialog);
    delete dialog.data();
}

void Stations::openScreen(const QString& name)
{
    Patient shown = patient();
    Record taken = record();
    QList<Record> records{taken};
    main->activateWindow();
    if (!QTest::qWaitForWindowActive(main.get())) {
        QTest::qFail("The main window is not active", __FILE__, __LINE__);
    }
    if (name == QLatin1String("ViewPatient")) {
        main->onChoosePatient(shown);
        idle();
        screen()->findChild<RecordModel*>()->toggle(true);
    } else if (name.startsWith(QLatin1String("ViewAnalysis"))) {
        main->onAnalysis(shown, records);
        idle();
        auto* const view = qobject_cast<ViewAnalysis*>(screen());
        view->onSummarySuccess(R"({"columns": ["Heart", "Lung"], "rows": [{"title": "Oak", "values": [20, -20]},
                                   {"title": "Ash", "values": [1, 30]}]})");
        if (name.endsWith(QLatin1String("markers"))) {
            view->findChild<QTabWidget*>(QStringLiteral("tabWidget"))->setCurrentIndex(1);
            idle();
            view->onLoadSuccess(categories);
            view->onAnalyseSuccess(markerRows);
        }
    } else if (name == QLatin1String("ViewComparativeAnalysis")) {
        main->onComparativeAnalysis(shown, records);
        idle();
        qobject_cast<ViewComparativeAnalysis*>(screen())->onSuccess(
            R"({"graph1": {"one": [1, 2, 3]}, "graph2": {"two": [4, 5]}, "summary": {"three": [100, 50], "trend": [9, 8]},
                "smooth": {"trend": [1, 2, 3]}, "complaints": {"four": [1, 0]}})");
    } else if (name == QLatin1String("ViewRecoveryHistory")) {
        main->onRecoveryHistory(shown, records);
        idle();
        qobject_cast<ViewRecoveryHistory*>(screen())->onLoadSuccess(
            R"({"dates": {"r1": "2021-03-04T05:06:07"}, "rows": [{"id": 1, "symptom": "Cough"},
                {"id": 2, "symptom": "Own", "custom": true}]})");
    } else if (name == QLatin1String("ViewReceipt")) {
        main->onReceipt(shown, taken);
        idle();
        auto* const view = qobject_cast<ViewReceipt*>(screen());
        view->onLoadSuccess(categories);
        view->onAnalyseSuccess(markerRows);
    } else if (name.startsWith(QLatin1String("ViewImpact"))) {
        QList<Marker> list = markers();
        main->onImpact(shown, taken, list, false);
        if (name.endsWith(QLatin1String("remote"))) {
            screen()->findChild<QComboBox*>(QStringLiteral("comboBoxTarget"))->setCurrentIndex(2);
        }
    }
    idle();
}

QWidget* Stations::makeDialog(const QString& name)
{
    static Patient shown;
    shown = name.endsWith(QLatin1String("new")) ? Patient() : patient();
    if (name == QLatin1String("DialogLogin")) {
        return new DialogLogin(main.get());
    }
    if (name == QLatin1String("DialogAbout")) {
        return new DialogAbout(main.get());
    }
    if (name == QLatin1String("DialogChangePassword")) {
        return new DialogChangePassword(main.get());
    }
    if (name == QLatin1String("DialogManageDevices")) {
        return new DialogManageDevices(main.get(), &shown);
    }
    if (name == QLatin1String("DialogAutospectrum")) {
        return new DialogAutospectrum(main.get());
    }
    if (name == QLatin1String("DialogPlayer")) {
        return new DialogPlayer(main.get(), QByteArray(66150, 127), shown.getName());
    }
    if (name.startsWith(QLatin1String("FormPatient"))) {
        auto* const form = new FormPatient;
        form->edit(&shown);
        return form;
    }
    auto* const recorder = new AudioRecorder(main.get(), name.endsWith(QLatin1String("remote")));
    if (name.endsWith(QLatin1String("finished"))) {
        const QAudioBuffer samples(QByteArray(66150, 127), Utils::audioFormat());
        QMetaObject::invokeMethod(recorder, "processBuffer", Q_ARG(QAudioBuffer, samples));
    }
    return recorder;
}

void Stations::runBox(const QString& name, const std::function<void(QWidget*)>& look)
{
    ModalAnswer seen([](QWidget* widget) { return widget->isWindow(); },
                     [&look](QWidget* box) {
                         const QPointer<QWidget> alive(box);
                         QVERIFY(QTest::qWaitForWindowActive(box));
                         look(box);
                         if (alive != nullptr) {
                             alive->close();
                         }
                     });
    const QString text = QStringLiteral("Anna Lindqvist");
    if (name.endsWith(QLatin1String("question"))) {
        Dialogs::confirm(main.get(), text, text);
    } else if (name.endsWith(QLatin1String("patient"))) {
        Dialogs::confirmDeletePatient(main.get(), text);
    } else if (name.endsWith(QLatin1String("error"))) {
        Dialogs::error(main.get(), text);
    } else {
        openScreen(QStringLiteral("ViewRecoveryHistory"));
        qobject_cast<ViewRecoveryHistory*>(screen())->onNewSymptom();
        main->showPatientsList();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    if (!seen.used()) {
        QTest::qFail(qPrintable(name + QStringLiteral(" did not come")), __FILE__, __LINE__);
    }
}
