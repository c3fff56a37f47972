// SPDX-License-Identifier: GPL-3.0-or-later
#include "recipe/ReceiptDelegate.h"
#include "recipe/ReceiptDescriptionPopup.h"
#include "recipe/ReceiptModel.h"
#include "tests/recipe/RecipeFixtures.h"
#include "tests/support/MessageGuard.h"

#include <QApplication>
#include <QCursor>
#include <QHeaderView>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScreen>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

#include <memory>

using namespace RecipeFixtures;

/// The popup in a real window system with a window manager: where it lands, and what it does to the focus.
class TestReceiptPopupOnScreen : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void pointsAtTheCell();
    void takesNoFocus();
    void staysOnTheWayIntoTheBubble();
    void hidesWhenItLosesActivation();

private:
    QRect cellOnScreen(int row) const
    {
        const QRect rect = table->visualRect(proxy.index(row, 3));
        return {table->viewport()->mapToGlobal(rect.topLeft()), rect.size()};
    }
    void hover(int row)
    {
        // A move of one pixel more: the pointer may already stand on the cell.
        QCursor::setPos(cellOnScreen(row).center() - QPoint(1, 0));
        QTest::qWait(20);
        QCursor::setPos(cellOnScreen(row).center());
    }

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<QWidget> window;
    QLineEdit* field = nullptr;
    QTableView* table = nullptr;
    ReceiptModel model{nullptr};
    QSortFilterProxyModel proxy;
    ReceiptDelegate* delegate = nullptr;
    ReceiptDescriptionPopup* popup = nullptr;
};

void TestReceiptPopupOnScreen::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    QJsonArray array;
    for (int i = 1; i <= 4; ++i) {
        array.append(marker(QStringLiteral("m%1").arg(i), QStringLiteral("Marker %1").arg(i), 10 * i, i,
                            QStringLiteral("About %1").arg(i)));
    }
    QList<QPair<QString, Marker>> none;
    model.fromJson(rows(array), none);
    proxy.setSourceModel(&model);
}

void TestReceiptPopupOnScreen::init()
{
    QCursor::setPos(2, 2);
    window = std::make_unique<QWidget>();
    auto* const layout = new QVBoxLayout(window.get());
    field = new QLineEdit(window.get());
    table = new QTableView(window.get());
    layout->addWidget(field);
    layout->addWidget(table);
    delegate = new ReceiptDelegate(window.get());
    table->setModel(&proxy);
    table->setMouseTracking(true);
    table->setItemDelegateForColumn(3, delegate);
    table->setFrameShape(QFrame::NoFrame);
    table->verticalHeader()->setVisible(false);
    window->setGeometry(560, 200, 600, 400);
    window->show();
    window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window.get()));
    // The window manager may still be moving the window into its frame.
    QTRY_VERIFY(window->geometry().isValid() && window->isActiveWindow());
    field->setFocus();
    QTRY_COMPARE(QApplication::focusWidget(), field);
    delegate->setHeaderHeight(table->horizontalHeader()->height());
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget* widget : widgets) {
        if (auto* const found = qobject_cast<ReceiptDescriptionPopup*>(widget)) {
            popup = found;
        }
    }
    QVERIFY(popup != nullptr);
}

void TestReceiptPopupOnScreen::cleanup()
{
    window.reset();
    guard->verify();
}

void TestReceiptPopupOnScreen::pointsAtTheCell()
{
    for (int row : {0, 2}) {
        hover(row);
        QTRY_VERIFY(popup->isVisible() && popup->row() == row);
        QVERIFY(QTest::qWaitForWindowExposed(popup));
        const QRect cell = cellOnScreen(row);
        QCOMPARE(popup->targetRect(), cell);
        QCOMPARE(popup->targetPosition(), QPoint(cell.left(), cell.top() + cell.height() / 2));
        const QPoint place(cell.left() - 512 + 8, cell.top() + cell.height() / 2 - popup->height() / 2 + 8);
        QTRY_COMPARE(popup->pos(), place);
        // The arrow's tip meets the cell's left edge, and its height the cell's middle.
        const int tip = popup->x() + 8 + (popup->width() - 16) - 2;
        QVERIFY(qAbs(tip - cell.left()) <= 8);
        const int middle = popup->y() + 8 + (popup->height() - 16 - 9) / 2;
        QVERIFY(qAbs(middle - cell.center().y()) <= 8);
    }
}

void TestReceiptPopupOnScreen::takesNoFocus()
{
    hover(1);
    QTRY_VERIFY(popup->isVisible());
    QVERIFY(QTest::qWaitForWindowExposed(popup));
    // Time enough for a window manager to give the focus away.
    QTest::qWait(300);
    QVERIFY(popup->isVisible());
    QVERIFY(window->isActiveWindow());
    QVERIFY(!popup->isActiveWindow());
    QCOMPARE(QApplication::focusWidget(), field);
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("abc"));
    QCOMPARE(field->text(), QStringLiteral("abc"));
}

void TestReceiptPopupOnScreen::staysOnTheWayIntoTheBubble()
{
    hover(1);
    QTRY_VERIFY(popup->isVisible());
    auto* const timer = popup->findChild<QTimer*>();
    int ticks = 0;
    const QObject whileHere;
    connect(timer, &QTimer::timeout, &whileHere, [&ticks] { ++ticks; });
    QCursor::setPos(popup->geometry().center());
    QTRY_VERIFY(ticks >= 2);
    QVERIFY(popup->isVisible());
    QCursor::setPos(2, 2);
    QTRY_VERIFY(!popup->isVisible());
    QVERIFY(!timer->isActive());
}

void TestReceiptPopupOnScreen::hidesWhenItLosesActivation()
{
    hover(1);
    QTRY_VERIFY(popup->isVisible());
    QCursor::setPos(popup->geometry().center());
    // What a click into the text does.
    popup->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(popup));
    QVERIFY(popup->isVisible());
    // The timer has no say in what follows.
    popup->findChild<QTimer*>()->stop();
    window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window.get()));
    QTRY_VERIFY(!popup->isVisible());
}

QTEST_MAIN(TestReceiptPopupOnScreen)

#include "TestReceiptPopupOnScreen.moc"
