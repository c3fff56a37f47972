// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Dialogs.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QLayout>
#include <QPointer>
#include <QPushButton>
#include <QTest>

#include <memory>

/// The modal boxes: what they say, what they answer, and that they outlive nothing.
class TestDialogs : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { guard = std::make_unique<MessageGuard>(); }
    void cleanupTestCase() { guard.reset(); }
    void cleanup() { guard->verify(); }

    void error();
    void success();
    void info();
    void confirmAnswers_data();
    void confirmAnswers();
    void closingCountsAsNo();
    void confirmDeletePatient();
    void confirmDeleteRecord();
    void layoutOfAQuestion();
    void survivesItsParent();

private:
    std::unique_ptr<MessageGuard> guard;
};

void TestDialogs::error()
{
    QWidget parent;
    BoxAnswer box(QMessageBox::Ok);
    Dialogs::error(&parent, QStringLiteral("It went wrong"));
    QVERIFY(box.used());
    QCOMPARE(box.title, QStringLiteral("Text.error"));
    QCOMPARE(box.text, QStringLiteral("It went wrong"));
    QCOMPARE(box.icon, QMessageBox::Critical);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(box.parent, &parent);
}

void TestDialogs::success()
{
    BoxAnswer box(QMessageBox::Ok);
    Dialogs::success(nullptr, QStringLiteral("Done"));
    QVERIFY(box.used());
    QCOMPARE(box.title, QStringLiteral("Text.success"));
    QCOMPARE(box.text, QStringLiteral("Done"));
    QCOMPARE(box.icon, QMessageBox::Information);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
}

void TestDialogs::info()
{
    BoxAnswer box(QMessageBox::Ok);
    Dialogs::info(nullptr, QStringLiteral("News"), QStringLiteral("There is some"));
    QVERIFY(box.used());
    QCOMPARE(box.title, QStringLiteral("News"));
    QCOMPARE(box.text, QStringLiteral("There is some"));
    QCOMPARE(box.icon, QMessageBox::Information);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
}

void TestDialogs::confirmAnswers_data()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<bool>("answer");
    QTest::newRow("yes") << int(QMessageBox::Yes) << true;
    QTest::newRow("no") << int(QMessageBox::No) << false;
}

void TestDialogs::confirmAnswers()
{
    QFETCH(int, button);
    QFETCH(bool, answer);
    BoxAnswer box(static_cast<QMessageBox::StandardButton>(button));
    QCOMPARE(Dialogs::confirm(nullptr, QStringLiteral("Title"), QStringLiteral("Question?")), answer);
    QVERIFY(box.used());
    QCOMPARE(box.title, QStringLiteral("Title"));
    QCOMPARE(box.text, QStringLiteral("Question?"));
    QCOMPARE(box.icon, QMessageBox::Question);
}

void TestDialogs::closingCountsAsNo()
{
    ModalAnswer close([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                      [](QWidget* widget) { widget->close(); });
    QVERIFY(!Dialogs::confirm(nullptr, QStringLiteral("Title"), QStringLiteral("Question?")));
    QVERIFY(close.used());
}

void TestDialogs::confirmDeletePatient()
{
    BoxAnswer box(QMessageBox::Yes);
    QVERIFY(Dialogs::confirmDeletePatient(nullptr, QStringLiteral("Ada")));
    QVERIFY(box.used());
    QCOMPARE(box.title, QStringLiteral("Dialog.deletePatient"));
    // Without a translation the key has no place for the name.
    QCOMPARE(box.text, QStringLiteral("Dialog.confirmDeletePatient"));
    QCOMPARE(box.pixmap.toImage(), QPixmap(QStringLiteral(":/images/patient-delete.png")).toImage());
    QVERIFY(!box.pixmap.isNull());
}

void TestDialogs::confirmDeleteRecord()
{
    BoxAnswer box(QMessageBox::No);
    QVERIFY(!Dialogs::confirmDeleteRecord(nullptr, QStringLiteral("2026-01-02 03:04:05")));
    QVERIFY(box.used());
    QCOMPARE(box.title, QStringLiteral("Dialog.deleteRecord"));
    QCOMPARE(box.text, QStringLiteral("Dialog.confirmDeleteRecord"));
    QCOMPARE(box.pixmap.toImage(), QPixmap(QStringLiteral(":/images/record-delete.png")).toImage());
    QVERIFY(!box.pixmap.isNull());
}

void TestDialogs::layoutOfAQuestion()
{
    QMargins margins;
    QString yes;
    QString no;
    bool modal = false;
    Qt::WindowFlags flags;
    bool defaultIsNo = false;
    ModalAnswer look([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                     [&](QWidget* widget) {
                         auto* const box = qobject_cast<QMessageBox*>(widget);
                         margins = box->layout()->contentsMargins();
                         yes = box->button(QMessageBox::Yes)->text();
                         no = box->button(QMessageBox::No)->text();
                         modal = box->isModal();
                         flags = box->windowFlags();
                         defaultIsNo = box->defaultButton() == box->button(QMessageBox::No);
                         box->reject();
                     });
    QVERIFY(!Dialogs::innerConfirm(nullptr, QStringLiteral("T"), QStringLiteral("Q"), QPixmap()));
    QVERIFY(look.used());
    QCOMPARE(margins, QMargins(32, 24, 32, 24));
    QCOMPARE(yes, QStringLiteral("Text.yes"));
    QCOMPARE(no, QStringLiteral("Text.no"));
    QVERIFY(modal);
    QVERIFY(flags.testFlag(Qt::MSWindowsFixedSizeDialogHint));
    QVERIFY(defaultIsNo);
}

void TestDialogs::survivesItsParent()
{
    const QPointer<QWidget> parent(new QWidget);
    ModalAnswer destroy([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                        [parent](QWidget*) { delete parent.data(); });
    QVERIFY(!Dialogs::confirm(parent, QStringLiteral("Title"), QStringLiteral("Question?")));
    QVERIFY(destroy.used());
    QVERIFY(parent.isNull());
}

QTEST_MAIN(TestDialogs)
#include "TestDialogs.moc"
