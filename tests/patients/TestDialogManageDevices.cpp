// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Patient.h"
#include "patients/DialogManageDevices.h"
#include "tests/patients/Samples.h"
#include "tests/signal/FakeUsb.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QAbstractButton>
#include <QBoxLayout>
#include <QElapsedTimer>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace {

/// The search for a sensor is allowed again after three seconds; a coarse timer may come a twentieth early.
constexpr int retry = 3000;
constexpr int earliest = retry - retry / 20;

Patient patientWith(bool hasDevices, bool isEnabled, const QString& command = QString())
{
    QJsonObject json = Samples::patient(QStringLiteral("p1"));
    json.insert(QStringLiteral("hasDevices"), hasDevices);
    json.insert(QStringLiteral("isEnabled"), isEnabled);
    json.insert(QStringLiteral("command"), command);
    return Patient(json);
}

} // namespace

class TestDialogManageDevices : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { guard = std::make_unique<MessageGuard>(); }
    void cleanupTestCase() { guard.reset(); }

    void init() { FakeUsb::unplug(); }

    void cleanup()
    {
        dialog.reset();
        guard->verify();
    }

    void widgets()
    {
        open(patientWith(true, true));
        QCOMPARE(dialog->objectName(), QStringLiteral("DialogManageDevices"));
        QCOMPARE(dialog->size(), QSize(400, 300));
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Text.manageDevices"));
        auto* const rows = qobject_cast<QVBoxLayout*>(dialog->layout());
        QVERIFY(rows != nullptr);
        QCOMPARE(rows->objectName(), QStringLiteral("verticalLayout"));
        QCOMPARE(rows->count(), 4);
        QCOMPARE(rows->itemAt(0)->widget(), static_cast<QWidget*>(error()));
        QCOMPARE(error()->alignment(), Qt::Alignment(Qt::AlignCenter));
        QCOMPARE(error()->text(), QString());
        const QList<QPair<QString, QPushButton*>> lines{
            {QStringLiteral("horizontalLayout"), button("buttonToggle")},
            {QStringLiteral("horizontalLayout_3"), button("buttonConnect")},
            {QStringLiteral("horizontalLayout_2"), button("buttonDisconnect")},
        };
        for (int i = 0; i < lines.size(); ++i) {
            auto* const line = qobject_cast<QHBoxLayout*>(rows->itemAt(i + 1)->layout());
            QVERIFY(line != nullptr);
            QCOMPARE(line->objectName(), lines.at(i).first);
            QVERIFY(line->indexOf(lines.at(i).second) >= 0);
        }
        QCOMPARE(button("buttonConnect")->text(), QStringLiteral("Text.connect"));
        QCOMPARE(button("buttonDisconnect")->text(), QStringLiteral("Text.disconnect"));
    }

    void isReachedByStringConnections()
    {
        // The card connects by these texts.
        const QMetaObject& meta = DialogManageDevices::staticMetaObject;
        for (const char* const signal : {"listenerConnect(QString)", "listenerDisconnect()", "listenerToggle()"}) {
            QVERIFY2(meta.indexOfSignal(signal) >= 0, signal);
        }
        for (const char* const slot : {"onConnect()", "onDisconnect()", "onToggle()"}) {
            QVERIFY2(meta.indexOfSlot(slot) >= 0, slot);
        }
    }

    void state_data()
    {
        QTest::addColumn<bool>("hasDevices");
        QTest::addColumn<bool>("isEnabled");
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("toggle");
        const QString disable = QStringLiteral("Text.disableDevice");
        const QString enable = QStringLiteral("Text.enableDevice");
        QTest::newRow("no device") << false << false << QString() << QString();
        QTest::newRow("no device, enabled all the same") << false << true << QString() << QString();
        QTest::newRow("no device, a command left") << false << true << QStringLiteral("RECORD") << QString();
        QTest::newRow("enabled") << true << true << QString() << disable;
        QTest::newRow("enabled, at work") << true << true << QStringLiteral("RECIPE") << disable;
        QTest::newRow("blocked") << true << false << QString() << enable;
        QTest::newRow("blocked, at work") << true << false << QStringLiteral("RECORD") << enable;
    }

    void state()
    {
        QFETCH(bool, hasDevices);
        QFETCH(bool, isEnabled);
        QFETCH(QString, command);
        QFETCH(QString, toggle);
        open(patientWith(hasDevices, isEnabled, command));
        QCOMPARE(button("buttonToggle")->text(), toggle);
        QCOMPARE(button("buttonToggle")->isEnabled(), hasDevices);
        QCOMPARE(button("buttonDisconnect")->isEnabled(), hasDevices);
        QVERIFY(button("buttonConnect")->isEnabled());
    }

    // --- binding ---

    void connectsTheSensor_data()
    {
        QTest::addColumn<bool>("hasDevices");
        QTest::newRow("the first device") << false;
        QTest::newRow("another device") << true;
    }

    void connectsTheSensor()
    {
        QFETCH(bool, hasDevices);
        open(patientWith(hasDevices, true));
        FakeUsb::plug("Q-2021-000042");
        QSignalSpy spy(dialog.get(), &DialogManageDevices::listenerConnect);
        bool enabledMeanwhile = true;
        const QObject whileHere;
        connect(dialog.get(), &DialogManageDevices::listenerConnect, &whileHere,
                [&] { enabledMeanwhile = button("buttonConnect")->isEnabled(); });
        button("buttonConnect")->click();
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0).at(0).toString(), QStringLiteral("Q-2021-000042"));
        QVERIFY(!enabledMeanwhile);
        QCOMPARE(error()->text(), QString());
        // It stays, and the button comes back neither now nor later.
        QTest::qWait(retry + 300);
        QVERIFY(dialog->isVisible());
        QVERIFY(!button("buttonConnect")->isEnabled());
        QCOMPARE(button("buttonToggle")->isEnabled(), hasDevices);
        QCOMPARE(button("buttonDisconnect")->isEnabled(), hasDevices);
        QCOMPARE(spy.count(), 1);
    }

    void noSensor_data()
    {
        QTest::addColumn<bool>("plugged");
        QTest::newRow("no sensor") << false;
        QTest::newRow("a sensor without a serial") << true;
    }

    void noSensor()
    {
        QFETCH(bool, plugged);
        open(patientWith(false, false));
        if (plugged) {
            FakeUsb::plug(QByteArray());
        }
        QSignalSpy spy(dialog.get(), &DialogManageDevices::listenerConnect);
        QElapsedTimer clock;
        clock.start();
        button("buttonConnect")->click();
        QVERIFY(!button("buttonConnect")->isEnabled());
        QCOMPARE(error()->text(), QStringLiteral("Text.deviceNotConnected"));
        QTRY_VERIFY(button("buttonConnect")->isEnabled());
        QVERIFY(clock.elapsed() >= earliest);
        QCOMPARE(spy.count(), 0);
        QVERIFY(dialog->isVisible());
    }

    void findsTheSensorTheSecondTime()
    {
        open(patientWith(false, false));
        QSignalSpy spy(dialog.get(), &DialogManageDevices::listenerConnect);
        button("buttonConnect")->click();
        QTRY_VERIFY(button("buttonConnect")->isEnabled());
        FakeUsb::plug("S1");
        button("buttonConnect")->click();
        QCOMPARE(spy.count(), 1);
        QVERIFY(!button("buttonConnect")->isEnabled());
        QCOMPARE(error()->text(), QString());
    }

    void timerDiesWithTheDialog()
    {
        open(patientWith(false, false));
        button("buttonConnect")->click();
        dialog.reset();
        // A timer of its own would touch a button that is gone.
        QTest::qWait(retry + 300);
    }

    void errorFitsTheDialog()
    {
        open(patientWith(true, true));
        button("buttonConnect")->click();
        error()->setText(QStringLiteral("No device was found. ").repeated(6));
        QTest::qWait(50);
        QCOMPARE(dialog->size(), QSize(400, 300));
        QVERIFY(error()->height() >= error()->heightForWidth(error()->width()));
    }

    // --- unbinding ---

    void disconnects()
    {
        open(patientWith(true, true));
        QSignalSpy spy(dialog.get(), &DialogManageDevices::listenerDisconnect);
        BoxAnswer box(QMessageBox::Yes);
        button("buttonDisconnect")->click();
        QVERIFY(box.used());
        QCOMPARE(box.title, QStringLiteral("Text.titleDisconnect"));
        QCOMPARE(box.text, QStringLiteral("Text.confirmDisconnect"));
        QCOMPARE(box.parent, static_cast<QWidget*>(dialog.get()));
        QCOMPARE(spy.count(), 1);
        // It stays, with the button off.
        QVERIFY(dialog->isVisible());
        QVERIFY(!button("buttonDisconnect")->isEnabled());
        QVERIFY(button("buttonConnect")->isEnabled());
        QVERIFY(button("buttonToggle")->isEnabled());
    }

    void disabledWhileAsking()
    {
        open(patientWith(true, true));
        bool enabledUnderTheBox = true;
        ModalAnswer look([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                         [&](QWidget* box) {
                             enabledUnderTheBox = button("buttonDisconnect")->isEnabled();
                             box->close();
                         });
        button("buttonDisconnect")->click();
        QVERIFY(look.used());
        QVERIFY(!enabledUnderTheBox);
    }

    void keepsTheDevice_data()
    {
        QTest::addColumn<bool>("answered");
        QTest::newRow("no") << true;
        QTest::newRow("box closed") << false;
    }

    void keepsTheDevice()
    {
        QFETCH(bool, answered);
        open(patientWith(true, true));
        QSignalSpy spy(dialog.get(), &DialogManageDevices::listenerDisconnect);
        for (int i = 0; i < 2; ++i) {
            ModalAnswer answer([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                               [answered](QWidget* widget) {
                                   auto* const box = qobject_cast<QMessageBox*>(widget);
                                   if (answered) {
                                       box->button(QMessageBox::No)->click();
                                   } else {
                                       box->close();
                                   }
                               });
            button("buttonDisconnect")->click();
            QVERIFY(answer.used());
            QVERIFY(dialog->isVisible());
            QVERIFY(button("buttonDisconnect")->isEnabled());
        }
        QCOMPARE(spy.count(), 0);
        // Usable in earnest as well.
        BoxAnswer yes(QMessageBox::Yes);
        button("buttonDisconnect")->click();
        QCOMPARE(spy.count(), 1);
    }

    void goesWhileAsking()
    {
        open(patientWith(true, true));
        ModalAnswer answer([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                           [this](QWidget*) { dialog.reset(); });
        button("buttonDisconnect")->click();
        QVERIFY(answer.used());
        QVERIFY(dialog == nullptr);
    }

    // --- blocking ---

    void toggles_data()
    {
        QTest::addColumn<bool>("isEnabled");
        QTest::newRow("blocks") << true;
        QTest::newRow("unblocks") << false;
    }

    void toggles()
    {
        QFETCH(bool, isEnabled);
        const Patient patient = patientWith(true, isEnabled);
        open(patient);
        QSignalSpy spy(dialog.get(), &DialogManageDevices::listenerToggle);
        QSignalSpy finished(dialog.get(), &QDialog::finished);
        bool visibleMeanwhile = false;
        bool enabledMeanwhile = true;
        const QObject whileHere;
        connect(dialog.get(), &DialogManageDevices::listenerToggle, &whileHere, [&] {
            visibleMeanwhile = dialog->isVisible();
            enabledMeanwhile = button("buttonToggle")->isEnabled();
        });
        button("buttonToggle")->click();
        QCOMPARE(spy.count(), 1);
        QVERIFY(visibleMeanwhile);
        QVERIFY(!enabledMeanwhile);
        QVERIFY(!dialog->isVisible());
        QCOMPARE(finished.count(), 1);
    }

    void endsItsOwnLoop()
    {
        open(patientWith(true, true));
        dialog->hide();
        ModalAnswer answer([this](QWidget* widget) { return widget == dialog.get(); },
                           [this](QWidget*) { button("buttonToggle")->click(); });
        dialog->exec();
        QVERIFY(answer.used());
    }

    void leavesWithoutAWord_data()
    {
        QTest::addColumn<bool>("escape");
        QTest::newRow("escape") << true;
        QTest::newRow("close button") << false;
    }

    void leavesWithoutAWord()
    {
        QFETCH(bool, escape);
        open(patientWith(true, true));
        QSignalSpy bound(dialog.get(), &DialogManageDevices::listenerConnect);
        QSignalSpy unbound(dialog.get(), &DialogManageDevices::listenerDisconnect);
        QSignalSpy toggled(dialog.get(), &DialogManageDevices::listenerToggle);
        if (escape) {
            QTest::keyClick(dialog.get(), Qt::Key_Escape);
        } else {
            dialog->close();
        }
        QVERIFY(!dialog->isVisible());
        QCOMPARE(bound.count() + unbound.count() + toggled.count(), 0);
    }

private:
    void open(Patient patient)
    {
        // The patient is gone once the dialog stands.
        dialog = std::make_unique<DialogManageDevices>(nullptr, &patient);
        dialog->show();
        QVERIFY(QTest::qWaitForWindowExposed(dialog.get()));
    }

    QLabel* error() const { return dialog->findChild<QLabel*>(QStringLiteral("labelError")); }
    QPushButton* button(const char* name) const { return dialog->findChild<QPushButton*>(QString::fromLatin1(name)); }

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<DialogManageDevices> dialog;
};

QTEST_MAIN(TestDialogManageDevices)
#include "TestDialogManageDevices.moc"
