// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/LoadingWindow.h"
#include "patients/DialogManageDevices.h"
#include "patients/ViewPatient.h"
#include "tests/patients/Samples.h"
#include "tests/signal/EmulatedSensor.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/ModalAnswer.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>

/// Binding with the real USB library on an emulated bus.
class TestDeviceBindingEmulated : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY2(EmulatedSensor::isAvailable(), "Run this program under umockdev-wrapper"); }

    void pluggedWhileTheDialogIsOpen()
    {
        LoopbackServer server;
        QVERIFY(server.listenForClient());
        EmulatedSensor sensor;
        server.expect("GET", "/record/p1", Samples::records(0));
        Patient patient(Samples::patient(QStringLiteral("p1")));
        ViewPatient card(nullptr, &patient);
        QTRY_VERIFY(card.findChild<LoadingWindow*>() == nullptr);
        server.clear();

        ModalAnswer answer([](QWidget* widget) { return qobject_cast<DialogManageDevices*>(widget) != nullptr; },
                           [&](QWidget* dialog) {
                               auto* const button = dialog->findChild<QPushButton*>(QStringLiteral("buttonConnect"));
                               auto* const error = dialog->findChild<QLabel*>(QStringLiteral("labelError"));
                               button->click();
                               QCOMPARE(error->text(), QStringLiteral("Text.deviceNotConnected"));
                               QCOMPARE(server.requests().size(), 0);
                               QVERIFY(sensor.plug("Quelmar USB v1.0", "Q-2021-000042"));
                               QTRY_VERIFY(button->isEnabled());

                               server.expect("POST", "/patient/device", QByteArray());
                               BoxAnswer success(QMessageBox::Ok);
                               button->click();
                               QTRY_VERIFY(success.used());
                               QCOMPARE(success.text, QStringLiteral("Text.deviceConnectSuccess"));
                               QCOMPARE(error->text(), QString());
                               dialog->close();
                           });
        card.findChild<QPushButton*>(QStringLiteral("buttonManageDevice"))->click();
        QVERIFY(answer.used());
        QCOMPARE(server.last().body,
                 QByteArray("{\n    \"deviceId\": \"Q-2021-000042\",\n    \"patientId\": \"p1\"\n}\n"));
        QVERIFY(card.findChild<QLabel*>(QStringLiteral("labelConnectedDevice"))->isVisible());
        QCOMPARE(server.pending(), 0);
    }
};

QTEST_MAIN(TestDeviceBindingEmulated)
#include "TestDeviceBindingEmulated.moc"
