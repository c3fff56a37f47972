// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Marker.h"
#include "model/PatientManager.h"
#include "net/Authentication.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "patients/DialogManageDevices.h"
#include "patients/PatientModel.h"
#include "patients/RecordModel.h"
#include "patients/ViewPatient.h"
#include "patients/ViewPatients.h"
#include "recipe/ViewImpact.h"
#include "signal/AudioRecorder.h"
#include "signal/DialogAutospectrum.h"
#include "tests/patients/Samples.h"
#include "tests/signal/FakeUsb.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"
#include "tests/support/gzip.h"

#include <QApplication>
#include <QComboBox>
#include <QHelpEvent>
#include <QLabel>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTableView>
#include <QTest>
#include <QToolTip>

#include <algorithm>
#include <functional>
#include <memory>

using Answer = LoopbackServer::Answer;

namespace {

const QByteArray sensor("Q-2021-000042");

enum Operation
{
    Connect,
    Disconnect,
    Toggle,
    CommandRecord,
    CommandAutospectrum,
    DeleteCommand,
    CommandRecipe,
    CommandSelfRecipe,
};

/// The four fields that the state of a device is read from.
struct Device
{
    bool bound = false;
    bool enabled = false;
    QString command;
    bool complete = false;
};

QJsonObject patientWith(const Device& device)
{
    QJsonObject json = Samples::patient(QStringLiteral("p1"));
    json.insert(QStringLiteral("hasDevices"), device.bound);
    json.insert(QStringLiteral("isEnabled"), device.enabled);
    json.insert(QStringLiteral("command"), device.command);
    json.insert(QStringLiteral("isComplete"), device.complete);
    return json;
}

template <typename T> bool isModal(QWidget* widget)
{
    return qobject_cast<T*>(widget) != nullptr;
}

QPushButton* buttonOf(QWidget* widget, const char* name)
{
    return widget->findChild<QPushButton*>(QString::fromLatin1(name));
}

/// What the server says to a request for an autospectrum.
QByteArray zipped(const QByteArray& json)
{
    return gzip(json).toBase64();
}

} // namespace

Q_DECLARE_METATYPE(Device)

/// The device's state on the card and in the list below it, through every change that the program can make, and the
/// autospectrum.
class TestViewPatientDevices : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        guard = std::make_unique<MessageGuard>();
        Authentication::getInstance()->init({{QStringLiteral("accessToken"), QStringLiteral("token")},
                                             {QStringLiteral("tokenType"), QStringLiteral("Bearer")},
                                             {QStringLiteral("language"), QStringLiteral("en")},
                                             {QStringLiteral("country"), QStringLiteral("us")}});
        manager = PatientManager::getInstance();
    }

    void cleanupTestCase() { guard.reset(); }

    void init()
    {
        server = std::make_unique<LoopbackServer>();
        QVERIFY(server->listenForClient());
        Http::instance().setReadTimeout(2000);
        FakeUsb::plug(sensor);
    }

    void cleanup()
    {
        if (card != nullptr) {
            QTRY_VERIFY(overlay() == nullptr);
        }
        QCOMPARE(server->pending(), 0);
        impact.reset();
        card.reset();
        list.reset();
        server.reset();
        QToolTip::hideText();
        guard->verify();
    }

    // --- the device's state ---

    void status_data()
    {
        QTest::addColumn<Device>("device");
        QTest::addColumn<QString>("icon");
        QTest::addColumn<QString>("tip");
        const auto row = [](const QString& name, const Device& device, const char* icon, const char* tip) {
            QTest::newRow(qPrintable(name)) << device << QString::fromLatin1(icon) << QString::fromLatin1(tip);
        };
        const QString none;
        const QString recordCommand = QStringLiteral("RECORD");
        row(QStringLiteral("no device"), {}, "not-connected-device", "deviceNotConnected");
        row(QStringLiteral("no device, enabled"), {false, true, none, false}, "not-connected-device",
            "deviceNotConnected");
        row(QStringLiteral("no device, a command left"), {false, true, recordCommand, true}, "not-connected-device",
            "deviceNotConnected");
        row(QStringLiteral("blocked"), {true, false, none, false}, "connected-device-blocked", "noCommands");
        row(QStringLiteral("no command"), {true, true, none, false}, "connected-device", "noCommands");
        row(QStringLiteral("no command, complete"), {true, true, none, true}, "connected-device", "noCommands");
        row(QStringLiteral("unknown command"), {true, true, QStringLiteral("DANCE"), false}, "connected-device",
            "noCommands");
        row(QStringLiteral("command in lower case"), {true, true, QStringLiteral("record"), true}, "connected-device",
            "noCommands");
        row(QStringLiteral("command as the impact screen spells it"), {true, true, QStringLiteral("SELFRECIPE"), false},
            "connected-device", "noCommands");
        for (const char* const name : {"RECORD", "SELF_RECORD", "AUTOSPECTRUM"}) {
            const QString command = QString::fromLatin1(name);
            row(command, {true, true, command, false}, "connected-device-record", "recordInProgress");
            row(command + QStringLiteral(", complete"), {true, true, command, true}, "connected-device-record-complete",
                "recordComplete");
            row(command + QStringLiteral(", blocked"), {true, false, command, false}, "connected-device-blocked",
                "recordInProgress");
            row(command + QStringLiteral(", complete, blocked"), {true, false, command, true},
                "connected-device-blocked", "recordComplete");
        }
        for (const char* const name : {"RECIPE", "SELF_RECIPE"}) {
            const QString command = QString::fromLatin1(name);
            row(command, {true, true, command, false}, "connected-device-recipe", "recipeInProgress");
            row(command + QStringLiteral(", complete"), {true, true, command, true}, "connected-device",
                "recipeComplete");
            row(command + QStringLiteral(", blocked"), {true, false, command, false}, "connected-device-blocked",
                "recipeInProgress");
            row(command + QStringLiteral(", complete, blocked"), {true, false, command, true},
                "connected-device-blocked", "recipeComplete");
        }
    }

    void status()
    {
        QFETCH(Device, device);
        QFETCH(QString, icon);
        QFETCH(QString, tip);
        open(device);
        compareState(icon, tip, device.bound);
    }

    void changes_data()
    {
        QTest::addColumn<Device>("before");
        QTest::addColumn<int>("operation");
        QTest::addColumn<QString>("icon");
        QTest::addColumn<QString>("tip");
        QTest::addColumn<bool>("bound");
        const auto row = [](const char* name, const Device& before, Operation operation, const char* icon,
                            const char* tip) {
            QTest::newRow(name) << before << int(operation) << QString::fromLatin1(icon) << QString::fromLatin1(tip)
                                << (operation != Disconnect);
        };
        const QString none;
        const QString record = QStringLiteral("RECORD");
        const QString selfRecord = QStringLiteral("SELF_RECORD");
        const QString autospectrum = QStringLiteral("AUTOSPECTRUM");
        const QString recipe = QStringLiteral("RECIPE");
        const QString selfRecipe = QStringLiteral("SELF_RECIPE");

        // Only the binding changes: what was known of the device before comes back with it.
        row("connect", {false, true, none, false}, Connect, "connected-device", "noCommands");
        row("connect, not enabled", {false, false, none, false}, Connect, "connected-device-blocked", "noCommands");
        row("connect, a record left", {false, true, record, false}, Connect, "connected-device-record",
            "recordInProgress");
        row("connect another device", {true, true, recipe, true}, Connect, "connected-device", "recipeComplete");

        row("disconnect", {true, true, none, false}, Disconnect, "not-connected-device", "deviceNotConnected");
        row("disconnect, blocked", {true, false, none, false}, Disconnect, "not-connected-device",
            "deviceNotConnected");
        row("disconnect, at work", {true, true, record, false}, Disconnect, "not-connected-device",
            "deviceNotConnected");

        row("block", {true, true, none, false}, Toggle, "connected-device-blocked", "noCommands");
        row("block at work", {true, true, recipe, false}, Toggle, "connected-device-blocked", "recipeInProgress");
        row("block, record complete", {true, true, record, true}, Toggle, "connected-device-blocked", "recordComplete");
        row("unblock", {true, false, none, false}, Toggle, "connected-device", "noCommands");
        row("unblock, record at work", {true, false, record, false}, Toggle, "connected-device-record",
            "recordInProgress");
        row("unblock, recipe at work", {true, false, selfRecipe, false}, Toggle, "connected-device-recipe",
            "recipeInProgress");
        row("unblock, recipe complete", {true, false, recipe, true}, Toggle, "connected-device", "recipeComplete");
        row("unblock, record complete", {true, false, autospectrum, true}, Toggle, "connected-device-record-complete",
            "recordComplete");

        row("command", {true, true, none, false}, CommandRecord, "connected-device-record", "recordInProgress");
        row("command after a complete record", {true, true, record, true}, CommandRecord, "connected-device-record",
            "recordInProgress");
        row("command instead of a recipe", {true, true, recipe, false}, CommandRecord, "connected-device-record",
            "recordInProgress");
        row("command, blocked", {true, false, none, false}, CommandRecord, "connected-device-blocked",
            "recordInProgress");
        // An autospectrum shows as a record as well.
        row("autospectrum", {true, true, none, true}, CommandAutospectrum, "connected-device-record",
            "recordInProgress");
        row("autospectrum, blocked", {true, false, recipe, true}, CommandAutospectrum, "connected-device-blocked",
            "recordInProgress");

        row("delete a record", {true, true, record, false}, DeleteCommand, "connected-device", "noCommands");
        row("delete a complete record", {true, true, selfRecord, true}, DeleteCommand, "connected-device",
            "noCommands");
        row("delete an autospectrum", {true, true, autospectrum, false}, DeleteCommand, "connected-device",
            "noCommands");
        row("delete a recipe", {true, true, recipe, false}, DeleteCommand, "connected-device", "noCommands");
        row("delete a complete recipe", {true, true, selfRecipe, true}, DeleteCommand, "connected-device",
            "noCommands");
        row("delete nothing", {true, true, none, false}, DeleteCommand, "connected-device", "noCommands");
        row("delete, blocked", {true, false, record, false}, DeleteCommand, "connected-device-blocked", "noCommands");

        row("recipe", {true, true, none, true}, CommandRecipe, "connected-device-recipe", "recipeInProgress");
        row("recipe after a record", {true, true, record, true}, CommandRecipe, "connected-device-recipe",
            "recipeInProgress");
        row("recipe, blocked", {true, false, none, false}, CommandRecipe, "connected-device-blocked",
            "recipeInProgress");
        row("recipe on its own", {true, true, recipe, true}, CommandSelfRecipe, "connected-device-recipe",
            "recipeInProgress");
    }

    void changes()
    {
        QFETCH(Device, before);
        QFETCH(int, operation);
        QFETCH(QString, icon);
        QFETCH(QString, tip);
        QFETCH(bool, bound);
        open(before);
        perform(static_cast<Operation>(operation));
        if (impact != nullptr) {
            // The card has a copy of its own and stays as it was; the screen above it and the list know.
            QCOMPARE(pictureOf(impact.get()), image(icon));
            compareList(icon, tip);
            return;
        }
        compareState(icon, tip, bound);
        // The other patient of the page is as before.
        QCOMPARE(manager->getModel()->index(0, 1).data(Qt::ToolTipRole).toString(),
                 QStringLiteral("Text.deviceNotConnected"));
        QCOMPARE(manager->getModel()->rowCount(), 2);
    }

    void wholeLifeOfADevice()
    {
        open({false, true, QString(), false});
        compareState(QStringLiteral("not-connected-device"), QStringLiteral("deviceNotConnected"), false);
        perform(Connect);
        compareState(QStringLiteral("connected-device"), QStringLiteral("noCommands"), true);
        perform(CommandRecord);
        compareState(QStringLiteral("connected-device-record"), QStringLiteral("recordInProgress"), true);
        perform(Toggle);
        compareState(QStringLiteral("connected-device-blocked"), QStringLiteral("recordInProgress"), true);
        perform(DeleteCommand);
        compareState(QStringLiteral("connected-device-blocked"), QStringLiteral("noCommands"), true);
        perform(Toggle);
        compareState(QStringLiteral("connected-device"), QStringLiteral("noCommands"), true);
        perform(CommandAutospectrum);
        compareState(QStringLiteral("connected-device-record"), QStringLiteral("recordInProgress"), true);
        perform(Disconnect);
        compareState(QStringLiteral("not-connected-device"), QStringLiteral("deviceNotConnected"), false);
        // What was left of the command is there again.
        perform(Connect);
        compareState(QStringLiteral("connected-device-record"), QStringLiteral("recordInProgress"), true);
    }

    void requests_data()
    {
        QTest::addColumn<int>("operation");
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<QByteArray>("body");
        const auto row = [](const char* name, Operation operation, const char* method, const char* target,
                            const QByteArray& body) {
            QTest::newRow(name) << int(operation) << QByteArray(method) << QByteArray(target) << body;
        };
        row("connect", Connect, "POST", "/patient/device",
            "{\n    \"deviceId\": \"" + sensor + "\",\n    \"patientId\": \"p1\"\n}\n");
        row("disconnect", Disconnect, "DELETE", "/patient/device/p1", QByteArray());
        row("toggle", Toggle, "PUT", "/patient/device", "{\n    \"patientId\": \"p1\"\n}\n");
        row("record", CommandRecord, "POST", "/command",
            "{\n    \"command\": \"RECORD\",\n    \"patientId\": \"p1\"\n}\n");
        row("autospectrum", CommandAutospectrum, "POST", "/command",
            "{\n    \"command\": \"AUTOSPECTRUM\",\n    \"patientId\": \"p1\"\n}\n");
        row("delete command", DeleteCommand, "DELETE", "/command/p1", QByteArray());
        const auto recipe = [](const char* command) {
            return "{\n    \"command\": \"" + QByteArray(command) +
                   "\",\n    \"deviceId\": \"\",\n    \"duration\": 1,\n    \"markers\": [\n        \"m1\"\n    ],\n"
                   "    \"patientId\": \"p1\",\n    \"recordId\": \"r0\"\n}\n";
        };
        row("recipe", CommandRecipe, "PUT", "/recipe", recipe("RECIPE"));
        row("recipe on its own", CommandSelfRecipe, "PUT", "/recipe", recipe("SELFRECIPE"));
    }

    void requests()
    {
        QFETCH(int, operation);
        QFETCH(QByteArray, method);
        QFETCH(QByteArray, target);
        QFETCH(QByteArray, body);
        open({true, true, QString(), false});
        server->clear();
        perform(static_cast<Operation>(operation));
        QCOMPARE(server->requests().size(), 1);
        const LoopbackServer::Request request = server->last();
        QCOMPARE(request.method, method);
        QCOMPARE(request.target, target);
        QCOMPARE(request.body, body);
        QCOMPARE(request.headers.value("authorization"), QByteArray("Bearer token"));
        QCOMPARE(request.headers.value("accept-language"), QByteArray("en-US"));
        if (!body.isEmpty()) {
            QCOMPARE(request.headers.value("content-type"), QByteArray("application/json"));
        }
    }

    void patientOfAnotherPage_data()
    {
        QTest::addColumn<int>("operation");
        for (const Operation operation :
             {Connect, Disconnect, Toggle, CommandRecord, CommandAutospectrum, DeleteCommand, CommandRecipe}) {
            QTest::addRow("operation %d", operation) << int(operation);
        }
    }

    void patientOfAnotherPage()
    {
        QFETCH(int, operation);
        open({true, true, QString(), false});
        const QImage before = cardIcon();
        // The list has gone on to other patients, and then to none.
        for (const int rows : {1, 0}) {
            manager->onSuccess(Samples::list(rows, 1));
            perform(static_cast<Operation>(operation));
            QCOMPARE(manager->getModel()->rowCount(), rows);
            if (rows == 1) {
                QCOMPARE(manager->getModel()->index(0, 1).data(Qt::ToolTipRole).toString(),
                         QStringLiteral("Text.deviceNotConnected"));
                QCOMPARE(manager->getModel()->index(0, 2).data().toString(), QStringLiteral("  Patient 0"));
            }
        }
        if (operation == Disconnect) {
            QVERIFY(!child<QLabel>("labelConnectedDevice")->isVisible());
        }
        if (operation == CommandRecord || operation == CommandAutospectrum) {
            QVERIFY(cardIcon() != before);
        }
    }

    void replies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("empty body") << QByteArray();
        QTest::newRow("not JSON") << QByteArray("<html>");
        QTest::newRow("null") << QByteArray("null");
        QTest::newRow("a message") << QByteArray(R"({"message": "Oh no"})");
        QTest::newRow("large") << QByteArray(1000000, 'x');
    }

    void replies()
    {
        // Only the status counts.
        QFETCH(QByteArray, body);
        open({false, true, QString(), false});
        reply.body = body;
        perform(Connect);
        perform(Toggle);
        compareState(QStringLiteral("connected-device-blocked"), QStringLiteral("noCommands"), true);
        perform(Disconnect);
        compareState(QStringLiteral("not-connected-device"), QStringLiteral("deviceNotConnected"), false);
        reply = Answer();
    }

    void changesComeAfterTheBox()
    {
        open({true, true, QString(), false});
        const QImage before = cardIcon();
        server->expect("PUT", "/patient/device", QByteArray());
        card->onDeviceToggle();
        QImage meanwhile;
        int listedMeanwhile = -1;
        ModalAnswer look(isModal<QMessageBox>, [&](QWidget* box) {
            QVERIFY(overlay() == nullptr);
            meanwhile = cardIcon();
            listedMeanwhile = manager->getModel()->getPatientById(QStringLiteral("p1")).isEnabled() ? 1 : 0;
            box->close();
        });
        QTRY_VERIFY(look.used());
        QCOMPARE(meanwhile, before);
        QCOMPARE(listedMeanwhile, 1);
        compareState(QStringLiteral("connected-device-blocked"), QStringLiteral("noCommands"), true);
    }

    void twoChangesAtOnce()
    {
        // The dialog stays open after a connect, so that the user may go on before the answer is there.
        open({true, true, QString(), false});
        Answer slow;
        slow.delay = 100;
        server->expect("POST", "/patient/device", slow);
        server->expect("DELETE", "/patient/device/p1", slow);
        QStringList texts;
        ModalAnswer answer(isModal<DialogManageDevices>, [&](QWidget* dialog) {
            buttonOf(dialog, "buttonConnect")->click();
            BoxAnswer yes(QMessageBox::Yes);
            buttonOf(dialog, "buttonDisconnect")->click();
            QVERIFY(yes.used());
            // The second box may come above the first one.
            const auto acknowledge = [&texts](QWidget* box) {
                texts.append(qobject_cast<QMessageBox*>(box)->text());
                qobject_cast<QMessageBox*>(box)->button(QMessageBox::Ok)->click();
            };
            const ModalAnswer one(isModal<QMessageBox>, acknowledge);
            const ModalAnswer other(isModal<QMessageBox>, acknowledge);
            QTRY_VERIFY(one.used() && other.used());
            dialog->close();
        });
        child<QPushButton>("buttonManageDevice")->click();
        QVERIFY(answer.used());
        std::sort(texts.begin(), texts.end());
        QCOMPARE(texts, QStringList({QStringLiteral("Text.deviceConnectSuccess"),
                                     QStringLiteral("Text.deviceDisconnectSuccess")}));
    }

    void noSensorSendsNothing()
    {
        open({false, true, QString(), false});
        FakeUsb::unplug();
        server->clear();
        ModalAnswer answer(isModal<DialogManageDevices>, [](QWidget* dialog) {
            buttonOf(dialog, "buttonConnect")->click();
            QVERIFY(!buttonOf(dialog, "buttonConnect")->isEnabled());
            QTRY_VERIFY(buttonOf(dialog, "buttonConnect")->isEnabled());
            dialog->close();
        });
        child<QPushButton>("buttonManageDevice")->click();
        QVERIFY(answer.used());
        QCOMPARE(server->requests().size(), 0);
        compareState(QStringLiteral("not-connected-device"), QStringLiteral("deviceNotConnected"), false);
    }

    void answerOfNoSendsNothing()
    {
        open({true, true, QString(), false});
        server->clear();
        ModalAnswer answer(isModal<DialogManageDevices>, [](QWidget* dialog) {
            BoxAnswer no(QMessageBox::No);
            buttonOf(dialog, "buttonDisconnect")->click();
            QVERIFY(no.used());
            QVERIFY(dialog->isVisible());
            dialog->close();
        });
        child<QPushButton>("buttonManageDevice")->click();
        QVERIFY(answer.used());
        QCOMPARE(server->requests().size(), 0);
        compareState(QStringLiteral("connected-device"), QStringLiteral("noCommands"), true);
    }

    void manageDialogGoesAfterwards()
    {
        open({true, true, QString(), false});
        ModalAnswer answer(isModal<DialogManageDevices>, [this](QWidget* dialog) {
            QCOMPARE(dialog->parentWidget(), static_cast<QWidget*>(card.get()));
            QTest::keyClick(dialog, Qt::Key_Escape);
        });
        card->manageDevice();
        QVERIFY(answer.used());
        QTRY_VERIFY(card->findChild<DialogManageDevices*>() == nullptr);
    }

    void refusedConnectStaysInTheDialog()
    {
        open({false, true, QString(), false});
        server->expect("POST", "/patient/device", R"({"message": "Bound to another patient"})", 409);
        ModalAnswer answer(isModal<DialogManageDevices>, [this](QWidget* dialog) {
            BoxAnswer box(QMessageBox::Ok);
            buttonOf(dialog, "buttonConnect")->click();
            QTRY_VERIFY(box.used());
            QCOMPARE(box.title, QStringLiteral("Text.error"));
            QCOMPARE(box.text, QStringLiteral("Bound to another patient"));
            QCOMPARE(box.parent, static_cast<QWidget*>(card.get()));
            QVERIFY(dialog->isVisible());
            QVERIFY(!buttonOf(dialog, "buttonConnect")->isEnabled());
            dialog->close();
        });
        child<QPushButton>("buttonManageDevice")->click();
        QVERIFY(answer.used());
        compareState(QStringLiteral("not-connected-device"), QStringLiteral("deviceNotConnected"), false);
    }

    void dialogShowsTheNewState()
    {
        open({false, true, QString(), false});
        perform(Connect);
        const auto texts = [this] {
            QString text;
            ModalAnswer answer(isModal<DialogManageDevices>, [&text](QWidget* dialog) {
                text = buttonOf(dialog, "buttonToggle")->text();
                QVERIFY(buttonOf(dialog, "buttonDisconnect")->isEnabled());
                dialog->close();
            });
            card->manageDevice();
            return text;
        };
        QCOMPARE(texts(), QStringLiteral("Text.disableDevice"));
        perform(Toggle);
        QCOMPARE(texts(), QStringLiteral("Text.enableDevice"));
    }

    // --- the autospectrum ---

    void autospectrum_data()
    {
        QTest::addColumn<int>("minutes");
        QTest::addColumn<int>("repeats");
        QTest::addColumn<bool>("plugged");
        QTest::newRow("one minute") << 1 << 20 << true;
        QTest::newRow("three minutes") << 3 << 60 << true;
        QTest::newRow("the most") << 99 << 1993 << true;
        QTest::newRow("no sensor") << 2 << 40 << false;
    }

    void autospectrum()
    {
        QFETCH(int, minutes);
        QFETCH(int, repeats);
        QFETCH(bool, plugged);
        open({});
        if (!plugged) {
            FakeUsb::unplug();
        }
        check({1});
        server->clear();
        const QByteArray first("ab\0\xff", 4);
        const QByteArray second("c");
        server->expect("POST", "/recipe/autospectrum",
                       zipped("[\"" + first.toBase64() + "\", \"" + second.toBase64() + "\"]"));
        QSignalSpy play(card.get(), &ViewPatient::onPlay);
        ModalAnswer answer(isModal<DialogAutospectrum>, [this, minutes](QWidget* dialog) {
            QCOMPARE(dialog->parentWidget(), static_cast<QWidget*>(card.get()));
            dialog->findChild<QSpinBox*>(QStringLiteral("spinBoxDuration"))->setValue(minutes);
            buttonOf(dialog, "buttonConfirm")->click();
        });
        child<QPushButton>("buttonAutospectrum")->click();
        QVERIFY(answer.used());
        QVERIFY(overlay() != nullptr);
        QTRY_COMPARE(play.count(), 1);
        QVERIFY(overlay() == nullptr);
        // Each block fills the whole time, one after the other.
        QCOMPARE(play.at(0).at(0).toByteArray(), first.repeated(repeats) + second.repeated(repeats));
        QCOMPARE(play.at(0).at(1).toString(), QStringLiteral("Anna Berg"));
        QCOMPARE(server->requests().size(), 1);
        QCOMPARE(server->last().body, "{\n    \"deviceId\": \"" + (plugged ? sensor : QByteArray()) +
                                          "\",\n    \"patientId\": \"p1\",\n    \"recordId\": \"r1\"\n}\n");
        QTRY_VERIFY(card->findChild<DialogAutospectrum*>() == nullptr);
    }

    void autospectrumGivenUp_data()
    {
        QTest::addColumn<QByteArray>("way");
        QTest::newRow("cancel") << QByteArray("cancel");
        QTest::newRow("close") << QByteArray("close");
        QTest::newRow("escape") << QByteArray("escape");
    }

    void autospectrumGivenUp()
    {
        QFETCH(QByteArray, way);
        open({});
        check({0});
        server->clear();
        ModalAnswer answer(isModal<DialogAutospectrum>, [&way](QWidget* dialog) {
            dialog->findChild<QSpinBox*>(QStringLiteral("spinBoxDuration"))->setValue(5);
            if (way == "cancel") {
                buttonOf(dialog, "buttonCancel")->click();
            } else if (way == "close") {
                dialog->close();
            } else {
                QTest::keyClick(dialog, Qt::Key_Escape);
            }
        });
        child<QPushButton>("buttonAutospectrum")->click();
        QVERIFY(answer.used());
        QVERIFY(overlay() == nullptr);
        QCOMPARE(server->requests().size(), 0);
        QTRY_VERIFY(card->findChild<DialogAutospectrum*>() == nullptr);
    }

    void autospectrumOfNothing()
    {
        open({});
        check({0});
        server->clear();
        for (const int minutes : {0, -1}) {
            card->onAutospectrum(minutes);
            QVERIFY(overlay() == nullptr);
        }
        // The records are loaded anew under the dialog.
        records()->toggle(false);
        card->onAutospectrum(5);
        QVERIFY(overlay() == nullptr);
        QCOMPARE(server->requests().size(), 0);
    }

    void autospectrumOfTheFirstChecked()
    {
        open({});
        check({0, 2});
        const QString first = records()->getAllCheckedRecords().constFirst().getId();
        server->expect("POST", "/recipe/autospectrum", zipped("[]"));
        QSignalSpy play(card.get(), &ViewPatient::onPlay);
        card->onAutospectrum(1);
        QTRY_COMPARE(play.count(), 1);
        QCOMPARE(QJsonDocument::fromJson(server->last().body).object().value(QLatin1String("recordId")).toString(),
                 first);
    }

    void autospectrumReplies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("blocks");
        QTest::newRow("empty body") << QByteArray() << QByteArray();
        QTest::newRow("no base64") << QByteArray("<html>Oops</html>") << QByteArray();
        QTest::newRow("no gzip") << QByteArray("[\"YQ==\"]").toBase64() << QByteArray();
        QTest::newRow("not even base64 of it") << QByteArray("[\"YQ==\"]") << QByteArray();
        QTest::newRow("gzip cut off") << gzip("[\"YQ==\", \"" + QByteArray(5000, 'Y') + "\"]").left(20).toBase64()
                                      << QByteArray();
        QTest::newRow("no JSON") << zipped("<html>") << QByteArray();
        QTest::newRow("nothing at all") << zipped("") << QByteArray();
        QTest::newRow("an object") << zipped(R"({"blocks": ["YQ=="]})") << QByteArray();
        QTest::newRow("null") << zipped("null") << QByteArray();
        QTest::newRow("empty array") << zipped("[]") << QByteArray();
        QTest::newRow("elements of other kinds")
            << zipped(R"([7, null, {}, ["YQ=="], true, 1e300, "YQ=="])") << QByteArray("a");
        QTest::newRow("empty texts") << zipped(R"(["", "", "Yg=="])") << QByteArray("b");
        QTest::newRow("broken base64") << zipped(R"(["Y!Q=", "Yg"])") << QByteArray("ab");
        QTest::newRow("no base64 in it") << zipped(R"(["\u041f!", "Yw=="])") << QByteArray("c");
    }

    void autospectrumReplies()
    {
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, blocks);
        open({});
        check({0});
        server->expect("POST", "/recipe/autospectrum", body);
        QSignalSpy play(card.get(), &ViewPatient::onPlay);
        card->onAutospectrum(1);
        QTRY_COMPARE(play.count(), 1);
        QByteArray expected;
        for (const char block : qAsConst(blocks)) {
            expected += QByteArray(20, block);
        }
        QCOMPARE(play.at(0).at(0).toByteArray(), expected);
        QVERIFY(QApplication::activeModalWidget() == nullptr);
    }

    void autospectrumOfManyBlocks()
    {
        open({});
        QJsonArray blocks;
        QByteArray expected;
        for (int i = 0; i < 5000; ++i) {
            const QByteArray block = QByteArray::number(i);
            blocks.append(QString::fromLatin1(block.toBase64()));
            expected += block.repeated(20);
        }
        QSignalSpy play(card.get(), &ViewPatient::onPlay);
        card->onAutospectrumSuccess(Samples::toBytes(blocks), 1);
        QCOMPARE(play.count(), 1);
        QCOMPARE(play.at(0).at(0).toByteArray(), expected);
    }

    void autospectrumLargerThanMemory()
    {
        QFile information(QStringLiteral("/proc/meminfo"));
        qint64 available = 0;
        if (information.open(QIODevice::ReadOnly)) {
            for (const QByteArray& line : information.readAll().split('\n')) {
                if (line.startsWith("MemAvailable:")) {
                    available = line.mid(13).replace("kB", "").trimmed().toLongLong();
                }
            }
        }
        if (available < 3 * 1024 * 1024) {
            QSKIP("This test needs 3 GB of free memory");
        }
        open({});
        // 1993 passes would be 2.6 GB, more than any array holds: whole passes as far as it goes, and the order kept.
        QJsonArray blocks;
        for (int i = 0; i < 20; ++i) {
            blocks.append(QString::fromLatin1(QByteArray(66150, char('a' + i)).toBase64()));
        }
        QByteArray played;
        const QObject whileHere;
        connect(card.get(), &ViewPatient::onPlay, &whileHere, [&played](const QByteArray& bytes) { played = bytes; });
        card->onAutospectrumSuccess(Samples::toBytes(blocks), 99);
        constexpr int block = 66150;
        constexpr int passes = (1 << 30) / (20 * block);
        QCOMPARE(played.size(), passes * 20 * block);
        for (int i = 0; i < 20; ++i) {
            QCOMPARE(played.at(i * passes * block), char('a' + i));
            QCOMPARE(played.at((i + 1) * passes * block - 1), char('a' + i));
        }
    }

    // --- what can go wrong ---

    void failures_data() { Samples::addFailures(); }

    void failures()
    {
        QFETCH(QString, text);
        open({true, true, QStringLiteral("RECIPE"), false});
        check({0});
        Http::instance().setReadTimeout(300);
        QSignalSpy play(card.get(), &ViewPatient::onPlay);
        const QList<QPair<QByteArray, QByteArray>> requests{
            {"POST", "/patient/device"},
            {"DELETE", "/patient/device/p1"},
            {"PUT", "/patient/device"},
            {"POST", "/recipe/autospectrum"},
        };
        for (int i = 0; i < requests.size(); ++i) {
            Samples::arrangeFailure(*server, requests.at(i).first, requests.at(i).second);
            start(i);
            BoxAnswer box(QMessageBox::Ok);
            QTRY_VERIFY2(box.used(), requests.at(i).second.constData());
            QCOMPARE(box.title, QStringLiteral("Text.error"));
            QCOMPARE(box.text, text);
            QCOMPARE(box.parent, static_cast<QWidget*>(card.get()));
            QVERIFY(overlay() == nullptr);
            compareState(QStringLiteral("connected-device-recipe"), QStringLiteral("recipeInProgress"), true);
        }
        QCOMPARE(play.count(), 0);
        // The screen goes on.
        Http::instance().setReadTimeout(2000);
        server = std::make_unique<LoopbackServer>();
        QVERIFY(server->listenForClient());
        perform(Toggle);
        compareState(QStringLiteral("connected-device-blocked"), QStringLiteral("recipeInProgress"), true);
    }

    void goneWhileWaiting_data()
    {
        QTest::addColumn<int>("request");
        QTest::addColumn<int>("status");
        for (int request = 0; request < 4; ++request) {
            QTest::addRow("request %d, good", request) << request << 200;
            QTest::addRow("request %d, failed", request) << request << 400;
        }
    }

    void goneWhileWaiting()
    {
        QFETCH(int, request);
        QFETCH(int, status);
        open({true, true, QString(), false});
        check({0});
        server->clear();
        Answer slow;
        slow.delay = 50;
        slow.status = status;
        slow.body = zipped("[\"YQ==\"]");
        server->setFallback(slow);
        start(request);
        QTRY_COMPARE(server->requests().size(), 1);
        card.reset();
        // The reply comes to nobody.
        QTest::qWait(150);
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        compareList(QStringLiteral("connected-device"), QStringLiteral("noCommands"));
    }

    void goneUnderTheBox_data()
    {
        QTest::addColumn<int>("request");
        QTest::newRow("connect") << 0;
        QTest::newRow("disconnect") << 1;
        QTest::newRow("toggle") << 2;
        QTest::newRow("command") << 4;
        QTest::newRow("delete command") << 5;
        QTest::newRow("recipe") << 6;
    }

    void goneUnderTheBox()
    {
        QFETCH(int, request);
        open({true, true, QString(), false});
        server->setFallback(Answer());
        start(request);
        ModalAnswer answer(isModal<QMessageBox>, [this](QWidget*) {
            impact.reset();
            card.reset();
        });
        QTRY_VERIFY(answer.used());
        QTRY_VERIFY(QApplication::activeModalWidget() == nullptr);
        compareList(QStringLiteral("connected-device"), QStringLiteral("noCommands"));
    }

    void goneUnderTheError()
    {
        open({true, true, QString(), false});
        server->expect("PUT", "/patient/device", R"({"message": "No"})", 400);
        card->onDeviceToggle();
        ModalAnswer answer(isModal<QMessageBox>, [this](QWidget*) { card.reset(); });
        QTRY_VERIFY(answer.used());
        QTRY_VERIFY(QApplication::activeModalWidget() == nullptr);
    }

    void goneUnderTheDialog_data()
    {
        QTest::addColumn<int>("way");
        QTest::newRow("device management") << 0;
        QTest::newRow("the question of it") << 1;
        QTest::newRow("the success box above it") << 2;
        QTest::newRow("waiting for the sensor") << 3;
        QTest::newRow("autospectrum") << 4;
    }

    void goneUnderTheDialog()
    {
        QFETCH(int, way);
        open({true, true, QString(), false});
        check({0});
        server->setFallback(Answer());
        if (way == 4) {
            ModalAnswer answer(isModal<DialogAutospectrum>, [this](QWidget*) { card.reset(); });
            card->autospectrum();
            QVERIFY(answer.used());
            QVERIFY(card == nullptr);
            return;
        }
        ModalAnswer answer(isModal<DialogManageDevices>, [this, way](QWidget* dialog) {
            const QPointer<QWidget> open(dialog);
            if (way == 0) {
                card.reset();
            } else if (way == 1) {
                ModalAnswer question(isModal<QMessageBox>, [this](QWidget*) { card.reset(); });
                buttonOf(dialog, "buttonDisconnect")->click();
                QVERIFY(question.used());
            } else if (way == 2) {
                ModalAnswer box(isModal<QMessageBox>, [this](QWidget*) { card.reset(); });
                buttonOf(dialog, "buttonConnect")->click();
                QTRY_VERIFY(box.used());
            } else {
                FakeUsb::unplug();
                buttonOf(dialog, "buttonConnect")->click();
                card.reset();
            }
            QVERIFY(open == nullptr);
        });
        card->manageDevice();
        QVERIFY(answer.used());
        QVERIFY(card == nullptr);
        if (way == 3) {
            // Beyond the moment when the button would come back.
            QTest::qWait(3300);
        }
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        compareList(QStringLiteral("connected-device"), QStringLiteral("noCommands"));
    }

private:
    /// Opens the list with two patients, and the card of the second one, as a double click does.
    void open(const Device& device)
    {
        server->expect(
            "GET", "/patient/filter?sortby=name&direction=asc&size=20&current=0&searchby=name&needle=",
            Samples::toBytes(QJsonObject{
                {QStringLiteral("pages"), 1},
                {QStringLiteral("data"),
                 QJsonArray{Samples::patient(QStringLiteral("p0"), QStringLiteral("Aaron")), patientWith(device)}}}));
        list = std::make_unique<ViewPatients>();
        QTRY_VERIFY(list->findChild<LoadingWindow*>() == nullptr);
        QTRY_COMPARE(manager->getModel()->rowCount(), 2);
        server->expect("GET", "/record/p1", Samples::records(3));
        Patient patient = manager->patientByIndex(manager->getModel()->index(1, 0));
        card = std::make_unique<ViewPatient>(nullptr, &patient);
        QTRY_VERIFY(overlay() == nullptr);
        QCOMPARE(records()->rowCount(), 3);
        QVERIFY(QTest::qWaitForWindowExposed(card.get()));
    }

    void openImpact()
    {
        Patient patient = manager->getModel()->getPatientById(QStringLiteral("p1"));
        if (patient.getId().isEmpty()) {
            patient = Patient(patientWith({true, true, QString(), false}));
        }
        Record record(Samples::record(QStringLiteral("r0"), QString()));
        QList<Marker> markers{Marker(QJsonObject{{QStringLiteral("id"), QStringLiteral("m1")},
                                                 {QStringLiteral("title"), QStringLiteral("One")},
                                                 {QStringLiteral("amount"), 1}})};
        impact = std::make_unique<ViewImpact>(nullptr, &patient, &record, &markers, false);
        impact->show();
        // The third target is the remote device.
        impact->findChild<QComboBox*>(QStringLiteral("comboBoxTarget"))->setCurrentIndex(2);
    }

    /// Begins a request and leaves what follows to the caller.
    void start(int request)
    {
        switch (request) {
        case 0:
            card->onDeviceConnect(QString::fromLatin1(sensor));
            break;
        case 1:
            card->onDeviceDisconnect();
            break;
        case 2:
            card->onDeviceToggle();
            break;
        case 3:
            card->onAutospectrum(1);
            break;
        case 4:
            card->onSendCommand(QStringLiteral("RECORD"));
            break;
        case 5: {
            BoxAnswer question(QMessageBox::Yes);
            card->onDeleteCommand();
            QVERIFY(question.used());
            break;
        }
        default:
            openImpact();
            buttonOf(impact.get(), "buttonStart")->click();
            break;
        }
    }

    /// Does what a user does, with a server that agrees.
    void perform(Operation operation)
    {
        switch (operation) {
        case Connect:
            server->expect("POST", "/patient/device", reply);
            manage([this](QWidget* dialog) {
                buttonOf(dialog, "buttonConnect")->click();
                expectSuccess("deviceConnectSuccess");
                // Only the user closes it now.
                QVERIFY(dialog->isVisible());
                QVERIFY(!buttonOf(dialog, "buttonConnect")->isEnabled());
                dialog->close();
            });
            break;
        case Disconnect:
            server->expect("DELETE", "/patient/device/p1", reply);
            manage([this](QWidget* dialog) {
                BoxAnswer yes(QMessageBox::Yes);
                // Without a device the button is off; the card may have been told so meanwhile.
                buttonOf(dialog, "buttonDisconnect")->setEnabled(true);
                buttonOf(dialog, "buttonDisconnect")->click();
                QVERIFY(yes.used());
                expectSuccess("deviceDisconnectSuccess");
                QVERIFY(dialog->isVisible());
                QVERIFY(!buttonOf(dialog, "buttonDisconnect")->isEnabled());
                dialog->close();
            });
            break;
        case Toggle:
            server->expect("PUT", "/patient/device", reply);
            manage([](QWidget* dialog) {
                buttonOf(dialog, "buttonToggle")->click();
                QVERIFY(!dialog->isVisible());
            });
            expectSuccess("deviceStatusChangeSuccess");
            break;
        case CommandRecord:
        case CommandAutospectrum: {
            server->expect("POST", "/command", reply);
            ModalAnswer answer(isModal<AudioRecorder>, [operation](QWidget* recorder) {
                recorder->findChild<QComboBox*>(QStringLiteral("comboBoxTarget"))
                    ->setCurrentIndex(operation == CommandRecord ? 0 : 1);
                buttonOf(recorder, "buttonSendCommand")->click();
            });
            child<QPushButton>("buttonNewRecord")->click();
            QVERIFY(answer.used());
            expectSuccess("commandSuccess");
            break;
        }
        case DeleteCommand: {
            server->expect("DELETE", "/command/p1", reply);
            BoxAnswer yes(QMessageBox::Yes);
            child<QPushButton>("buttonDeleteCommand")->click();
            QVERIFY(yes.used());
            expectSuccess("deleteCommandSuccess");
            break;
        }
        case CommandRecipe:
        case CommandSelfRecipe:
            server->expect("PUT", "/recipe", reply);
            openImpact();
            impact->findChild<QComboBox*>(QStringLiteral("comboBoxCommand"))
                ->setCurrentIndex(operation == CommandRecipe ? 0 : 1);
            buttonOf(impact.get(), "buttonStart")->click();
            expectSuccess("recipeCommandSuccess");
            break;
        }
    }

    void manage(const std::function<void(QWidget*)>& action)
    {
        ModalAnswer answer(isModal<DialogManageDevices>, action);
        child<QPushButton>("buttonManageDevice")->click();
        QVERIFY(answer.used());
    }

    void expectSuccess(const char* key)
    {
        BoxAnswer box(QMessageBox::Ok);
        QTRY_VERIFY(box.used());
        QCOMPARE(box.title, QStringLiteral("Text.success"));
        QCOMPARE(box.text, QStringLiteral("Text.") + QString::fromLatin1(key));
        QCOMPARE(box.icon, QMessageBox::Information);
    }

    void compareState(const QString& icon, const QString& tip, bool bound)
    {
        auto* const label = child<QLabel>("labelConnectedDevice");
        QCOMPARE(label->isVisible(), bound);
        QCOMPARE(cardIcon(), image(icon));
        // The card's tip says only that there is a device.
        QCOMPARE(toolTipAt(label, label->rect().center()), bound ? QStringLiteral("Text.deviceConnected") : QString());
        QCOMPARE(child<QPushButton>("buttonDeleteCommand")->isVisible(), bound);
        QVERIFY(child<QPushButton>("buttonManageDevice")->isVisible());
        QVERIFY(child<QPushButton>("buttonManageDevice")->isEnabled());
        compareList(icon, tip);
    }

    void compareList(const QString& icon, const QString& tip)
    {
        auto* const table = list->findChild<QTableView*>(QStringLiteral("tableView"));
        const QModelIndex cell = table->model()->index(1, 1);
        QCOMPARE(table->model()->index(1, 2).data().toString(), QStringLiteral("  Anna Berg"));
        QCOMPARE(cell.data().value<QPixmap>().toImage(), image(icon));
        const QRect place = table->visualRect(cell);
        QCOMPARE(toolTipAt(table->viewport(), place.center()), QStringLiteral("Text.") + tip);

        // As it is painted: 24 by 24 in the middle of the cell.
        const QPixmap pixmap(QStringLiteral(":/images/%1.png").arg(icon));
        const QRect spot(place.topLeft() + QPoint((place.width() - 64) / 2 + 20, (place.height() - 64) / 2 + 20),
                         QSize(24, 24));
        QImage expected(24, 24, QImage::Format_RGB32);
        expected.fill(cell.data(Qt::BackgroundRole).value<QColor>());
        QPainter painter(&expected);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawPixmap(expected.rect(), pixmap);
        painter.end();
        QCOMPARE(table->viewport()->grab(spot).toImage().convertToFormat(QImage::Format_RGB32), expected);
    }

    /// What the user reads when the mouse rests there.
    static QString toolTipAt(QWidget* widget, QPoint point)
    {
        if (!widget->isVisible()) {
            return {};
        }
        QToolTip::showText(QPoint(), QString());
        QHelpEvent event(QEvent::ToolTip, point, widget->mapToGlobal(point));
        QApplication::sendEvent(widget, &event);
        return QToolTip::text();
    }

    static QImage image(const QString& name) { return QPixmap(QStringLiteral(":/images/%1.png").arg(name)).toImage(); }
    static QImage pictureOf(QWidget* screen)
    {
        return screen->findChild<QLabel*>(QStringLiteral("labelConnectedDevice"))->pixmap(Qt::ReturnByValue).toImage();
    }
    QImage cardIcon() const { return pictureOf(card.get()); }

    void check(const QList<int>& rows) const
    {
        auto* const table = child<QTableView>("tableView");
        for (const int row : rows) {
            table->model()->setData(table->model()->index(row, 0), Qt::Checked, Qt::CheckStateRole);
        }
    }

    template <typename T> T* child(const char* name) const { return card->findChild<T*>(QString::fromLatin1(name)); }
    RecordModel* records() const { return card->findChild<RecordModel*>(); }
    LoadingWindow* overlay() const { return card->findChild<LoadingWindow*>(); }

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
    std::unique_ptr<ViewPatients> list;
    std::unique_ptr<ViewPatient> card;
    std::unique_ptr<ViewImpact> impact;
    PatientManager* manager = nullptr;
    /// What the server says to each change.
    Answer reply;
};

QTEST_MAIN(TestViewPatientDevices)
#include "TestViewPatientDevices.moc"
