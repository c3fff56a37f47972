// SPDX-License-Identifier: GPL-3.0-or-later
#include "recipe/ReceiptDescriptionPopup.h"
#include "tests/support/MessageGuard.h"

#include <QApplication>
#include <QCursor>
#include <QEvent>
#include <QFrame>
#include <QGraphicsDropShadowEffect>
#include <QImage>
#include <QLabel>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

#include <memory>

namespace {

QLabel* backgroundOf(const QWidget& popup)
{
    const QList<QLabel*> labels = popup.findChildren<QLabel*>();
    for (QLabel* label : labels) {
        if (label->graphicsEffect() != nullptr) {
            return label;
        }
    }
    return nullptr;
}

QTimer* timerOf(const QWidget& popup)
{
    return popup.findChild<QTimer*>();
}

/// What the popup would do half a second later.
void tick(const QWidget& popup)
{
    QVERIFY(timerOf(popup)->isActive());
    QMetaObject::invokeMethod(timerOf(popup), "timeout");
}

void leave(QWidget& popup)
{
    QEvent event(QEvent::Leave);
    QApplication::sendEvent(&popup, &event);
}

} // namespace

class TestReceiptDescriptionPopup : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void hasItsWindow();
    void hasItsWidgets();
    void keepsWhatItIsGiven();
    void drawsTheBubble_data();
    void drawsTheBubble();
    void hasTheBubbleBeforeItShows();
    void placesItself_data();
    void placesItself();
    void showsAgain();
    void polls_data();
    void polls();
    void closesByItself();
    void staysWhileTheCursorIsThere();
    void waitsAfterLeaving();
    void hidesWithoutActivation();
    void scrollsLongTexts();
    void showsTitlesAsTheyAre();

private:
    std::unique_ptr<MessageGuard> guard;
};

void TestReceiptDescriptionPopup::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
}

void TestReceiptDescriptionPopup::init()
{
    QCursor::setPos(1, 1);
    QCOMPARE(QCursor::pos(), QPoint(1, 1));
}

void TestReceiptDescriptionPopup::cleanup()
{
    guard->verify();
}

void TestReceiptDescriptionPopup::hasItsWindow()
{
    const ReceiptDescriptionPopup popup(nullptr);
    QCOMPARE(popup.size(), QSize(512, 200));
    QVERIFY(popup.isWindow());
    QCOMPARE(popup.windowType(), Qt::Tool);
    QVERIFY(popup.windowFlags().testFlag(Qt::FramelessWindowHint));
    QVERIFY(popup.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QVERIFY(popup.testAttribute(Qt::WA_TranslucentBackground));
    QVERIFY(popup.testAttribute(Qt::WA_ShowWithoutActivating));
    QCOMPARE(popup.minimumWidth(), 512);
    QCOMPARE(popup.maximumWidth(), 512);
    QCOMPARE(popup.maximumHeight(), 256);
    QVERIFY(!popup.isVisible());
    QVERIFY(!timerOf(popup)->isActive());
    QVERIFY(!timerOf(popup)->isSingleShot());
    // The program does not wait for a bubble to be closed.
    QVERIFY(!popup.testAttribute(Qt::WA_QuitOnClose));
}

void TestReceiptDescriptionPopup::hasItsWidgets()
{
    const ReceiptDescriptionPopup popup(nullptr);
    auto* const layout = qobject_cast<QVBoxLayout*>(popup.layout());
    QVERIFY(layout != nullptr);
    QCOMPARE(layout->contentsMargins(), QMargins(32, 32, 40, 40));
    QCOMPARE(layout->spacing(), 4);
    QCOMPARE(layout->count(), 3);
    QCOMPARE(layout->stretch(2), 1);

    auto* const top = qobject_cast<QHBoxLayout*>(layout->itemAt(0)->layout());
    QVERIFY(top != nullptr);
    QCOMPARE(top->contentsMargins(), QMargins(0, 0, 0, 8));
    QCOMPARE(top->count(), 2);
    QCOMPARE(top->stretch(0), 0);
    QCOMPARE(top->stretch(1), 1);
    auto* const icon = qobject_cast<QLabel*>(top->itemAt(0)->widget());
    QCOMPARE(icon->objectName(), QString());
    QCOMPARE(icon->alignment(), Qt::AlignLeft | Qt::AlignTop);
    QCOMPARE(icon->pixmap(Qt::ReturnByValue).toImage(), QPixmap(QStringLiteral(":/images/notes-popup.png")).toImage());
    QVERIFY(!icon->pixmap(Qt::ReturnByValue).isNull());
    auto* const title = qobject_cast<QLabel*>(top->itemAt(1)->widget());
    QCOMPARE(title->objectName(), QStringLiteral("titleLabel"));
    QCOMPARE(title->alignment(), Qt::AlignLeft | Qt::AlignTop);
    QVERIFY(title->wordWrap());

    auto* const line = qobject_cast<QFrame*>(layout->itemAt(1)->widget());
    QCOMPARE(line->objectName(), QStringLiteral("line"));
    QCOMPARE(line->frameShape(), QFrame::HLine);
    QCOMPARE(line->frameShadow(), QFrame::Sunken);
    auto* const text = qobject_cast<QPlainTextEdit*>(layout->itemAt(2)->widget());
    QCOMPARE(text->objectName(), QStringLiteral("textViewer"));
    QVERIFY(text->isReadOnly());
    QCOMPARE(text->maximumHeight(), 90);

    QLabel* const background = backgroundOf(popup);
    QVERIFY(background != nullptr);
    QCOMPARE(background->objectName(), QString());
    QCOMPARE(layout->indexOf(background), -1);
    QCOMPARE(popup.children().indexOf(background) < popup.children().indexOf(title), true);
    auto* const shadow = qobject_cast<QGraphicsDropShadowEffect*>(background->graphicsEffect());
    QVERIFY(shadow != nullptr);
    QCOMPARE(shadow->blurRadius(), 32.0);
    QCOMPARE(shadow->color(), QColor(0, 0, 0, 30));
    QCOMPARE(shadow->offset(), QPointF(4, 4));
}

void TestReceiptDescriptionPopup::keepsWhatItIsGiven()
{
    ReceiptDescriptionPopup popup(nullptr);
    QCOMPARE(popup.targetPosition(), QPoint(0, 0));
    QVERIFY(popup.targetRect().isNull());
    popup.setRow(7);
    popup.setTargetPosition(QPoint(3, 4));
    popup.setTargetRect(QRect(1, 2, 3, 4));
    popup.setTitle(QStringLiteral("title"));
    popup.setText(QStringLiteral("text"));
    QCOMPARE(popup.row(), 7);
    QCOMPARE(popup.targetPosition(), QPoint(3, 4));
    QCOMPARE(popup.targetRect(), QRect(1, 2, 3, 4));
    QCOMPARE(popup.title(), QStringLiteral("title"));
    QCOMPARE(popup.text(), QStringLiteral("text"));
    QCOMPARE(popup.findChild<QLabel*>(QStringLiteral("titleLabel"))->text(), QStringLiteral("title"));
    popup.resetTimer();
    QVERIFY(timerOf(popup)->isActive());
    QCOMPARE(timerOf(popup)->interval(), 500);
}

void TestReceiptDescriptionPopup::drawsTheBubble_data()
{
    QTest::addColumn<int>("height");
    QTest::newRow("start") << 200;
    QTest::newRow("odd") << 211;
    QTest::newRow("tallest") << 256;
}

void TestReceiptDescriptionPopup::drawsTheBubble()
{
    QFETCH(int, height);
    ReceiptDescriptionPopup popup(nullptr);
    popup.show();
    popup.resize(512, height);
    QTRY_COMPARE(popup.height(), height);
    QLabel* const background = backgroundOf(popup);
    QCOMPARE(background->geometry(), QRect(QPoint(8, 8), QPoint(512 - 9, height - 9)));

    const QImage image = background->pixmap(Qt::ReturnByValue).toImage();
    QCOMPARE(image.size(), QSize(496, height - 16));
    const int w = image.width();
    const int h = image.height();
    const int c = (h - 9) / 2;
    const QColor border(0x7c, 0xa9, 0xde);
    const QColor body(0xf3, 0xff, 0xfd);
    QCOMPARE(image.pixelColor(0, 0).alpha() < 255, true);
    // The pen of width 2 lies on both sides of the rectangle's edge.
    QCOMPARE(image.pixelColor(w / 2, 0), border);
    QCOMPARE(image.pixelColor(w / 2, 1), border);
    QCOMPARE(image.pixelColor(w / 2, 2), body);
    QCOMPARE(image.pixelColor(0, h / 4), border);
    QCOMPARE(image.pixelColor(w / 2, h - 9), border);
    QCOMPARE(image.pixelColor(w / 2, h - 10), border);
    QCOMPARE(image.pixelColor(w / 2, h - 11), body);
    QCOMPARE(image.pixelColor(w / 2, h - 8).alpha(), 0);
    QCOMPARE(image.pixelColor(w - 10, h / 4), border);
    QCOMPARE(image.pixelColor(w - 9, h / 4), border);
    QCOMPARE(image.pixelColor(w - 11, h / 4), body);
    QCOMPARE(image.pixelColor(w - 8, h / 4).alpha(), 0);
    // The arrow: border along its slopes, body inside, and the body's edge open behind it.
    QCOMPARE(image.pixelColor(w - 10, c), body);
    QCOMPARE(image.pixelColor(w - 9, c), body);
    QCOMPARE(image.pixelColor(w - 8, c), body);
    QCOMPARE(image.pixelColor(w - 4, c).alpha() > 0, true);
    QCOMPARE(image.pixelColor(w - 1, c).alpha(), 0);
    QCOMPARE(image.pixelColor(w - 3, c - 4).alpha(), 0);
    QCOMPARE(image.pixelColor(w - 3, c + 4).alpha(), 0);
    QCOMPARE(image.pixelColor(w - 7, c - 12).alpha(), 0);
    QCOMPARE(image.pixelColor(w - 9, c - 7), border);
    QCOMPARE(image.pixelColor(w / 2, c), body);
}

void TestReceiptDescriptionPopup::hasTheBubbleBeforeItShows()
{
    const ReceiptDescriptionPopup popup(nullptr);
    QCOMPARE(backgroundOf(popup)->geometry(), QRect(QPoint(8, 8), QPoint(503, 191)));
    QCOMPARE(backgroundOf(popup)->pixmap(Qt::ReturnByValue).size(), QSize(496, 184));
}

void TestReceiptDescriptionPopup::placesItself_data()
{
    QTest::addColumn<QPoint>("target");
    QTest::newRow("on the screen") << QPoint(700, 300);
    QTest::newRow("at the left") << QPoint(10, 300);
    QTest::newRow("at the top") << QPoint(700, 0);
}

void TestReceiptDescriptionPopup::placesItself()
{
    QFETCH(QPoint, target);
    ReceiptDescriptionPopup popup(nullptr);
    popup.setTargetPosition(target);
    popup.show();
    QVERIFY(popup.isVisible());
    QCOMPARE(popup.pos(), QPoint(target.x() - 512 + 8, target.y() - 200 / 2 + 8));
    QVERIFY(timerOf(popup)->isActive());
    QCOMPARE(timerOf(popup)->interval(), 500);
}

void TestReceiptDescriptionPopup::showsAgain()
{
    ReceiptDescriptionPopup popup(nullptr);
    popup.setTargetPosition(QPoint(700, 300));
    popup.show();
    QVERIFY(QTest::qWaitForWindowExposed(&popup));
    const QPoint first = popup.pos();
    popup.hide();
    popup.show();
    QCOMPARE(popup.pos(), first);
    // While it is shown, it moves and its time starts anew.
    timerOf(popup)->stop();
    popup.setTargetPosition(QPoint(700, 340));
    popup.show();
    QCOMPARE(popup.pos(), first + QPoint(0, 40));
    QVERIFY(timerOf(popup)->isActive());
    // It is a slot.
    popup.hide();
    QVERIFY(QMetaObject::invokeMethod(&popup, "show"));
    QVERIFY(popup.isVisible());
}

void TestReceiptDescriptionPopup::polls_data()
{
    QTest::addColumn<QPoint>("cursor");
    QTest::addColumn<bool>("open");
    // Popup at 100, 100 to 611, 299; its bubble is 8 pixels smaller on every side. Cell at 650, 180, 40 x 30.
    QTest::newRow("middle") << QPoint(300, 200) << true;
    QTest::newRow("bubble's left top") << QPoint(108, 108) << true;
    QTest::newRow("bubble's right bottom") << QPoint(603, 291) << true;
    QTest::newRow("margin at the left") << QPoint(107, 200) << false;
    QTest::newRow("margin at the top") << QPoint(300, 107) << false;
    QTest::newRow("margin at the right") << QPoint(604, 200) << false;
    QTest::newRow("margin at the bottom") << QPoint(300, 292) << false;
    QTest::newRow("between bubble and cell") << QPoint(630, 190) << false;
    QTest::newRow("cell's left top") << QPoint(650, 180) << true;
    QTest::newRow("cell's right bottom") << QPoint(689, 209) << true;
    QTest::newRow("left of the cell") << QPoint(649, 190) << false;
    QTest::newRow("right of the cell") << QPoint(690, 190) << false;
    QTest::newRow("above the cell") << QPoint(660, 179) << false;
    QTest::newRow("below the cell") << QPoint(660, 210) << false;
    QTest::newRow("elsewhere") << QPoint(20, 20) << false;
}

void TestReceiptDescriptionPopup::polls()
{
    QFETCH(QPoint, cursor);
    QFETCH(bool, open);
    ReceiptDescriptionPopup popup(nullptr);
    popup.setTargetRect(QRect(650, 180, 40, 30));
    popup.show();
    popup.setGeometry(100, 100, 512, 200);
    QCOMPARE(popup.geometry(), QRect(100, 100, 512, 200));
    QCursor::setPos(cursor);
    QCOMPARE(QCursor::pos(), cursor);
    tick(popup);
    QCOMPARE(popup.isVisible(), open);
    QCOMPARE(timerOf(popup)->isActive(), open);
}

void TestReceiptDescriptionPopup::closesByItself()
{
    ReceiptDescriptionPopup popup(nullptr);
    popup.setTargetPosition(QPoint(700, 300));
    popup.setTargetRect(QRect(700, 280, 40, 40));
    popup.show();
    QTRY_VERIFY(!popup.isVisible());
    QVERIFY(!timerOf(popup)->isActive());
}

void TestReceiptDescriptionPopup::staysWhileTheCursorIsThere()
{
    ReceiptDescriptionPopup popup(nullptr);
    popup.setTargetPosition(QPoint(700, 300));
    popup.setTargetRect(QRect(700, 280, 40, 40));
    QCursor::setPos(710, 300);
    popup.show();
    int ticks = 0;
    connect(timerOf(popup), &QTimer::timeout, this, [&ticks] { ++ticks; });
    QTRY_COMPARE(ticks, 1);
    QVERIFY(popup.isVisible());
    // From the cell into the bubble.
    QCursor::setPos(popup.geometry().center());
    QTRY_COMPARE(ticks, 2);
    QVERIFY(popup.isVisible());
    QVERIFY(timerOf(popup)->isActive());
    QCursor::setPos(1, 1);
    QTRY_VERIFY(!popup.isVisible());
    QCOMPARE(ticks, 3);
}

void TestReceiptDescriptionPopup::waitsAfterLeaving()
{
    ReceiptDescriptionPopup popup(nullptr);
    popup.show();
    timerOf(popup)->setInterval(60000);
    leave(popup);
    QVERIFY(popup.isVisible());
    QVERIFY(timerOf(popup)->isActive());
    QCOMPARE(timerOf(popup)->interval(), 500);
}

void TestReceiptDescriptionPopup::hidesWithoutActivation()
{
    ReceiptDescriptionPopup popup(nullptr);
    popup.show();
    QVERIFY(!popup.isActiveWindow());
    QEvent other(QEvent::FontChange);
    QApplication::sendEvent(&popup, &other);
    QVERIFY(popup.isVisible());
    QEvent change(QEvent::ActivationChange);
    QApplication::sendEvent(&popup, &change);
    QVERIFY(!popup.isVisible());
    QVERIFY(!timerOf(popup)->isActive());
}

void TestReceiptDescriptionPopup::scrollsLongTexts()
{
    ReceiptDescriptionPopup popup(nullptr);
    auto* const viewer = popup.findChild<QPlainTextEdit*>(QStringLiteral("textViewer"));
    popup.setTitle(QStringLiteral("A title of a few words "));
    popup.setText(QStringLiteral("short"));
    popup.show();
    QVERIFY(QTest::qWaitForWindowExposed(&popup));
    QCOMPARE(viewer->verticalScrollBar()->maximum(), 0);

    popup.setTitle(QStringLiteral("A title of many words ").repeated(30));
    popup.setText(QStringLiteral("A description of many words. ").repeated(2000));
    popup.hide();
    popup.show();
    QTRY_VERIFY(viewer->verticalScrollBar()->maximum() > 0);
    QVERIFY(viewer->height() <= 90);
    QVERIFY(popup.height() <= 256);
    QCOMPARE(popup.width(), 512);
    QVERIFY(popup.rect().contains(viewer->geometry()));
}

void TestReceiptDescriptionPopup::showsTitlesAsTheyAre()
{
    ReceiptDescriptionPopup popup(nullptr);
    popup.setTitle(QStringLiteral("<b>50 < 60</b>"));
    QCOMPARE(popup.findChild<QLabel*>(QStringLiteral("titleLabel"))->textFormat(), Qt::PlainText);
    popup.setText(QStringLiteral("<i>as</i> it is"));
    QCOMPARE(popup.text(), QStringLiteral("<i>as</i> it is"));
}

QTEST_MAIN(TestReceiptDescriptionPopup)

#include "TestReceiptDescriptionPopup.moc"
