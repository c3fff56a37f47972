// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/LoadingWindow.h"
#include "tests/support/MessageGuard.h"

#include <QImage>
#include <QLabel>
#include <QMovie>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>

#include <memory>

class TestLoadingWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void coversItsParent();
    void showsItselfAtOnce();
    void appearsWithAHiddenParent();
    void followsAResize();
    void dimsByHalf();
    void tellsThatItWaits();
    void playsTheAnimation();
    void keepsTheMouseFromTheScreen();
    void goesWithItsParent();
    void standsAlone();

private:
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<QWidget> parent;
};

void TestLoadingWindow::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
}

void TestLoadingWindow::init()
{
    parent = std::make_unique<QWidget>();
    parent->resize(320, 240);
}

void TestLoadingWindow::cleanup()
{
    parent.reset();
    guard->verify();
}

void TestLoadingWindow::coversItsParent()
{
    auto* const window = new LoadingWindow(parent.get());
    QCOMPARE(window->parentWidget(), parent.get());
    QCOMPARE(window->objectName(), QStringLiteral("LoadingWindow"));
    QVERIFY(window->testAttribute(Qt::WA_TranslucentBackground));
    QVERIFY(!window->isWindow());
    QCOMPARE(window->geometry(), QRect(0, 0, 320, 240));
}

void TestLoadingWindow::showsItselfAtOnce()
{
    parent->show();
    QVERIFY(QTest::qWaitForWindowExposed(parent.get()));
    auto* const window = new LoadingWindow(parent.get());
    QVERIFY(window->isVisible());
    window->hide();
    window->update();
    QVERIFY(window->isVisible());
}

void TestLoadingWindow::appearsWithAHiddenParent()
{
    auto* const window = new LoadingWindow(parent.get());
    QVERIFY(!window->isVisible());
    QVERIFY(!window->isHidden());
    parent->show();
    QVERIFY(window->isVisible());
}

void TestLoadingWindow::followsAResize()
{
    // A screen within the window, as it is on the stack.
    auto* const screen = new QWidget(parent.get());
    screen->setGeometry(20, 10, 200, 100);
    parent->show();
    QVERIFY(QTest::qWaitForWindowExposed(parent.get()));
    auto* const window = new LoadingWindow(screen);
    QTRY_COMPARE(window->geometry(), QRect(0, 0, 200, 100));
    screen->resize(280, 150);
    QTRY_COMPARE(window->geometry(), QRect(0, 0, 280, 150));
    screen->resize(90, 210);
    QTRY_COMPARE(window->geometry(), QRect(0, 0, 90, 210));

    auto* const outer = new LoadingWindow(parent.get());
    parent->resize(400, 300);
    QTRY_COMPARE(outer->geometry(), QRect(0, 0, 400, 300));
}

void TestLoadingWindow::dimsByHalf()
{
    auto* const window = new LoadingWindow(parent.get());
    QImage image(320, 240, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    window->render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    for (const QPoint& point : {QPoint(0, 0), QPoint(319, 0), QPoint(0, 239), QPoint(319, 239), QPoint(160, 120)}) {
        QCOMPARE(image.pixelColor(point), QColor(0, 0, 0, 128));
    }

    // What lies below shines through.
    image.fill(QColor(200, 100, 50));
    window->render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    const QColor below = image.pixelColor(10, 10);
    QVERIFY(qAbs(below.red() - 100) <= 1);
    QVERIFY(qAbs(below.green() - 50) <= 1);
    QVERIFY(qAbs(below.blue() - 25) <= 1);
    QCOMPARE(below.alpha(), 255);
}

void TestLoadingWindow::tellsThatItWaits()
{
    auto* const window = new LoadingWindow(parent.get());
    auto* const layout = qobject_cast<QVBoxLayout*>(window->layout());
    QVERIFY(layout != nullptr);
    QCOMPARE(layout->spacing(), 16);
    QCOMPARE(layout->count(), 2);
    auto* const text = qobject_cast<QLabel*>(layout->itemAt(0)->widget());
    auto* const animation = qobject_cast<QLabel*>(layout->itemAt(1)->widget());
    QVERIFY(text != nullptr && animation != nullptr);
    QCOMPARE(text->text(), QStringLiteral("Text.requestInProgress"));
    QCOMPARE(text->alignment(), Qt::AlignHCenter | Qt::AlignBottom);
    QCOMPARE(animation->alignment(), Qt::AlignHCenter | Qt::AlignTop);
    QVERIFY(animation->movie() != nullptr);
    QCOMPARE(animation->movie()->fileName(), QStringLiteral(":/images/loading.gif"));
    QVERIFY(animation->text().isEmpty());
}

void TestLoadingWindow::playsTheAnimation()
{
    parent->show();
    auto* const window = new LoadingWindow(parent.get());
    const QMovie* const movie = window->layout()->itemAt(1)->widget()->findChild<QMovie*>();
    QVERIFY(movie != nullptr);
    QVERIFY(movie->isValid());
    QCOMPARE(movie->state(), QMovie::Running);
    QVERIFY(movie->frameCount() > 1);
    QTRY_VERIFY(movie->currentFrameNumber() > 0);
    // A loop has no end.
    QCOMPARE(movie->loopCount(), -1);
}

void TestLoadingWindow::keepsTheMouseFromTheScreen()
{
    QPushButton button(parent.get());
    button.setGeometry(0, 0, 320, 240);
    int clicks = 0;
    connect(&button, &QPushButton::clicked, this, [&clicks] { ++clicks; });
    parent->show();
    QVERIFY(QTest::qWaitForWindowExposed(parent.get()));
    QWindow* const handle = parent->windowHandle();
    QTest::mouseClick(handle, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
    QTRY_COMPARE(clicks, 1);

    auto* const window = new LoadingWindow(parent.get());
    QTest::mouseClick(handle, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
    QTest::mouseClick(handle, Qt::LeftButton, Qt::NoModifier, QPoint(160, 60));
    QTest::mouseClick(handle, Qt::LeftButton, Qt::NoModifier, QPoint(160, 180));
    QCoreApplication::processEvents();
    QCOMPARE(clicks, 1);

    delete window;
    QTest::mouseClick(handle, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
    QTRY_COMPARE(clicks, 2);
}

void TestLoadingWindow::goesWithItsParent()
{
    const QPointer<LoadingWindow> window(new LoadingWindow(parent.get()));
    const QPointer<QMovie> movie(window->findChild<QMovie*>());
    QVERIFY(!movie.isNull());
    parent.reset();
    QVERIFY(window.isNull());
    QVERIFY(movie.isNull());
}

void TestLoadingWindow::standsAlone()
{
    // Nothing to cover: no crash, and a size of its own.
    LoadingWindow window(nullptr);
    QVERIFY(window.isVisible());
    QTest::qWait(50);
    QVERIFY(window.isVisible());
}

QTEST_MAIN(TestLoadingWindow)
#include "TestLoadingWindow.moc"
