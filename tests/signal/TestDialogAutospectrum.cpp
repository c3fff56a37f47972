// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/DialogAutospectrum.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>

#include <memory>
#include <qpa/qwindowsysteminterface.h>

namespace {

/// Counts the close events of what it watches.
class CloseCounter : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    int closes = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        closes += event->type() == QEvent::Close ? 1 : 0;
        return false;
    }
};

} // namespace

class TestDialogAutospectrum : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { guard = std::make_unique<MessageGuard>(); }
    void cleanupTestCase() { guard.reset(); }

    void init() { open(); }

    void cleanup()
    {
        dialog.reset();
        guard->verify();
    }

    void window()
    {
        QCOMPARE(dialog->objectName(), QStringLiteral("DialogAutospectrum"));
        QCOMPARE(dialog->size(), QSize(400, 300));
        QCOMPARE(dialog->minimumSize(), QSize(400, 300));
        QCOMPARE(dialog->maximumSize(), QSize(400, 300));
        QCOMPARE(dialog->toolTip(), QString());
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Text.autospectrum"));
        QCOMPARE(dialog->locale(), QLocale(QLocale::English, QLocale::UnitedStates));
        QVERIFY(dialog->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        QVERIFY(dialog->windowFlags().testFlag(Qt::Dialog));
        QVERIFY(dialog->isModal());
    }

    void rows()
    {
        auto* const form = qobject_cast<QFormLayout*>(dialog->layout());
        QVERIFY(form != nullptr);
        QCOMPARE(form->objectName(), QStringLiteral("formLayout"));
        QCOMPARE(form->rowCount(), 4);
        for (const int row : {0, 2}) {
            QLayoutItem* const item = form->itemAt(row, QFormLayout::LabelRole);
            QSpacerItem* const spacer = item == nullptr ? nullptr : item->spacerItem();
            if (spacer == nullptr) {
                QFAIL("No spacer stands there");
            }
            QCOMPARE(spacer->sizeHint(), QSize(20, 40));
            QVERIFY(spacer->expandingDirections().testFlag(Qt::Vertical));
            QVERIFY(form->itemAt(row, QFormLayout::FieldRole) == nullptr);
        }
        QCOMPARE(form->itemAt(1, QFormLayout::LabelRole)->widget(),
                 static_cast<QWidget*>(dialog->findChild<QLabel*>(QStringLiteral("labelDuration"))));
        QCOMPARE(form->itemAt(1, QFormLayout::FieldRole)->widget(), static_cast<QWidget*>(duration()));
        QLayout* const left = form->itemAt(3, QFormLayout::LabelRole)->layout();
        QVERIFY(left != nullptr);
        QCOMPARE(left->objectName(), QStringLiteral("horizontalLayout"));
        QCOMPARE(left->count(), 1);
        QCOMPARE(left->itemAt(0)->widget(), static_cast<QWidget*>(button("buttonCancel")));
        QLayout* const right = form->itemAt(3, QFormLayout::FieldRole)->layout();
        QVERIFY(right != nullptr);
        QCOMPARE(right->objectName(), QStringLiteral("horizontalLayout_2"));
        QCOMPARE(right->count(), 2);
        QVERIFY(right->itemAt(0)->spacerItem() != nullptr);
        QCOMPARE(right->itemAt(0)->sizeHint(), QSize(40, 20));
        QVERIFY(right->itemAt(0)->expandingDirections().testFlag(Qt::Horizontal));
        QCOMPARE(right->itemAt(1)->widget(), static_cast<QWidget*>(button("buttonConfirm")));
    }

    void widgets()
    {
        QCOMPARE(dialog->findChild<QLabel*>(QStringLiteral("labelDuration"))->text(), QStringLiteral("Text.duration"));
        QCOMPARE(duration()->suffix(), QStringLiteral("Text.minutes"));
        QCOMPARE(duration()->minimum(), 1);
        QCOMPARE(duration()->maximum(), 99);
        QCOMPARE(duration()->singleStep(), 1);
        QCOMPARE(duration()->value(), 1);
        QCOMPARE(button("buttonCancel")->text(), QStringLiteral("Text.cancel"));
        QVERIFY(!button("buttonCancel")->autoDefault());
        QVERIFY(!button("buttonCancel")->isDefault());
        QCOMPARE(button("buttonConfirm")->text(), QStringLiteral("Text.confirm"));
        QVERIFY(!button("buttonConfirm")->autoDefault());
        QVERIFY(button("buttonConfirm")->isDefault());
        QVERIFY(button("buttonConfirm")->isEnabled());
    }

    void isReachedByStringConnections()
    {
        QVERIFY(dialog->metaObject()->indexOfSignal("listener(int)") >= 0);
        for (const char* const slot : {"onConfirm()", "onCancel()", "closeEvent(QCloseEvent*)"}) {
            QVERIFY2(dialog->metaObject()->indexOfSlot(slot) >= 0, slot);
        }
    }

    void place_data()
    {
        QTest::addColumn<QRect>("screen");
        QTest::addColumn<QPoint>("corner");
        QTest::newRow("only screen") << QRect(0, 0, 1280, 800) << QPoint(440, 250);
        QTest::newRow("another screen to the left") << QRect(1920, 0, 1280, 800) << QPoint(440, 250);
        QTest::newRow("another screen above") << QRect(0, 1080, 1280, 800) << QPoint(440, 250);
        QTest::newRow("odd size") << QRect(0, 0, 1281, 801) << QPoint(440, 250);
        // The division goes towards zero, not down.
        QTest::newRow("smaller than the dialog") << QRect(0, 0, 301, 201) << QPoint(-49, -49);
    }

    void place()
    {
        QFETCH(QRect, screen);
        QFETCH(QPoint, corner);
        dialog.reset();
        QScreen* const first = QGuiApplication::screens().constFirst();
        const QRect before = first->geometry();
        QWindowSystemInterface::handleScreenGeometryChange(first, screen, screen);
        QCoreApplication::processEvents();
        QCOMPARE(first->geometry(), screen);
        {
            const DialogAutospectrum placed(nullptr);
            QCOMPARE(placed.pos(), corner);
        }
        QWindowSystemInterface::handleScreenGeometryChange(first, before, before);
        QCoreApplication::processEvents();
        QCOMPARE(first->geometry(), before);
    }

    void confirmFollowsTheValue()
    {
        for (const int value : {1, 2, 99}) {
            duration()->setValue(value);
            QVERIFY(button("buttonConfirm")->isEnabled());
        }
        // Its own minimum keeps the box above that.
        duration()->setMinimum(-1);
        for (const int value : {0, -1}) {
            duration()->setValue(value);
            QVERIFY(!button("buttonConfirm")->isEnabled());
        }
        duration()->setValue(1);
        QVERIFY(button("buttonConfirm")->isEnabled());
    }

    void confirms_data()
    {
        QTest::addColumn<int>("minutes");
        QTest::newRow("as it opens") << 1;
        QTest::newRow("some") << 42;
        QTest::newRow("most") << 99;
    }

    void confirms()
    {
        QFETCH(int, minutes);
        duration()->setValue(minutes);
        CloseCounter counter;
        dialog->installEventFilter(&counter);
        QSignalSpy listener(dialog.get(), &DialogAutospectrum::listener);
        QSignalSpy rejected(dialog.get(), &QDialog::rejected);
        QSignalSpy accepted(dialog.get(), &QDialog::accepted);
        bool visibleMeanwhile = false;
        const QObject whileHere;
        connect(dialog.get(), &DialogAutospectrum::listener, &whileHere,
                [&] { visibleMeanwhile = dialog->isVisible(); });
        button("buttonConfirm")->click();
        QCOMPARE(listener.count(), 1);
        QCOMPARE(listener.at(0).at(0).toInt(), minutes);
        QVERIFY(visibleMeanwhile);
        QCOMPARE(rejected.count(), 1);
        QCOMPARE(accepted.count(), 0);
        QCOMPARE(counter.closes, 0);
        QVERIFY(!dialog->isVisible());
    }

    void returnConfirms()
    {
        QSignalSpy listener(dialog.get(), &DialogAutospectrum::listener);
        duration()->setFocus();
        duration()->selectAll();
        QTest::keyClicks(duration(), QStringLiteral("25"));
        QTest::keyClick(duration(), Qt::Key_Return);
        QCOMPARE(listener.count(), 1);
        QCOMPARE(listener.at(0).at(0).toInt(), 25);
    }

    void typingStaysWithinTheLimits()
    {
        duration()->setFocus();
        for (const auto& typed : {qMakePair(QStringLiteral("0"), 1), qMakePair(QStringLiteral("100"), 10),
                                  qMakePair(QStringLiteral("-5"), 5), qMakePair(QStringLiteral("x7"), 7)}) {
            duration()->selectAll();
            QTest::keyClicks(duration(), typed.first);
            duration()->interpretText();
            QCOMPARE(duration()->value(), typed.second);
        }
    }

    void cancels()
    {
        duration()->setValue(42);
        CloseCounter counter;
        dialog->installEventFilter(&counter);
        QSignalSpy listener(dialog.get(), &DialogAutospectrum::listener);
        QSignalSpy rejected(dialog.get(), &QDialog::rejected);
        button("buttonCancel")->click();
        QCOMPARE(listener.count(), 1);
        QCOMPARE(listener.at(0).at(0).toInt(), 0);
        QCOMPARE(rejected.count(), 1);
        QCOMPARE(counter.closes, 0);
        QVERIFY(!dialog->isVisible());
    }

    void closes()
    {
        duration()->setValue(42);
        CloseCounter counter;
        dialog->installEventFilter(&counter);
        QSignalSpy listener(dialog.get(), &DialogAutospectrum::listener);
        // Accepted, thus true.
        QVERIFY(dialog->close());
        QCOMPARE(counter.closes, 1);
        QCOMPARE(listener.count(), 1);
        QCOMPARE(listener.at(0).at(0).toInt(), 0);
        QVERIFY(!dialog->isVisible());
    }

    void escapeSaysNothing()
    {
        duration()->setValue(42);
        QSignalSpy listener(dialog.get(), &DialogAutospectrum::listener);
        QSignalSpy rejected(dialog.get(), &QDialog::rejected);
        QTest::keyClick(dialog.get(), Qt::Key_Escape);
        QCOMPARE(rejected.count(), 1);
        QCOMPARE(listener.count(), 0);
        QVERIFY(!dialog->isVisible());
    }

    void endsItsOwnLoop_data()
    {
        QTest::addColumn<QByteArray>("way");
        QTest::newRow("confirm") << QByteArray("buttonConfirm");
        QTest::newRow("cancel") << QByteArray("buttonCancel");
        QTest::newRow("close") << QByteArray("close");
        QTest::newRow("escape") << QByteArray("escape");
    }

    void endsItsOwnLoop()
    {
        QFETCH(QByteArray, way);
        dialog->hide();
        ModalAnswer answer([this](QWidget* widget) { return widget == dialog.get(); },
                           [this, way](QWidget*) {
                               if (way == "close") {
                                   dialog->close();
                               } else if (way == "escape") {
                                   QTest::keyClick(dialog.get(), Qt::Key_Escape);
                               } else {
                                   button(way.constData())->click();
                               }
                           });
        QCOMPARE(dialog->exec(), int(QDialog::Rejected));
        QVERIFY(answer.used());
    }

private:
    void open()
    {
        dialog = std::make_unique<DialogAutospectrum>(nullptr);
        dialog->show();
        QVERIFY(QTest::qWaitForWindowExposed(dialog.get()));
    }

    QSpinBox* duration() const { return dialog->findChild<QSpinBox*>(QStringLiteral("spinBoxDuration")); }
    QPushButton* button(const char* name) const { return dialog->findChild<QPushButton*>(QString::fromLatin1(name)); }

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<DialogAutospectrum> dialog;
};

QTEST_MAIN(TestDialogAutospectrum)
#include "TestDialogAutospectrum.moc"
