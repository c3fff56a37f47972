// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/ProgressBar.h"
#include "tests/support/MessageGuard.h"

#include <QImage>
#include <QPainter>
#include <QTest>
#include <QVBoxLayout>

#include <memory>

class TestProgressBar : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { guard = std::make_unique<MessageGuard>(); }
    void cleanup() { guard->verify(); }
    void cleanupTestCase() { guard.reset(); }
    void sizes();
    void nothingAtTheStart();
    void background_data();
    void background();
    void refusedPositions_data();
    void refusedPositions();
    void trace();
    void gaps();
    void lastPointWithoutPartner();
    void bytesAreUnsigned();
    void onlyNewBytesAreMapped();
    void growsWithEachPaint();
    void newRecordingStartsEmpty();
    void reset();
    void slotsRepaintAtOnce();

private:
    std::unique_ptr<MessageGuard> guard;
};

namespace {

const QColor ground(1, 2, 3);
const QColor recorded(234, 239, 242);
const QColor line(13, 180, 149);

/// What the widget paints, on a ground of its own colour.
QImage paint(ProgressBar& bar)
{
    QImage image(bar.size(), QImage::Format_RGB32);
    image.fill(ground);
    bar.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

/// Samples whose trace is a level line at `byte`.
QByteArray level(int count, int byte = 127)
{
    return QByteArray(count, static_cast<char>(byte));
}

/// Columns of the image that hold the trace's colour.
int columnsOfTrace(const QImage& image)
{
    int columns = 0;
    for (int x = 0; x < image.width(); ++x) {
        for (int y = 0; y < image.height(); ++y) {
            if (image.pixelColor(x, y) == line) {
                ++columns;
                break;
            }
        }
    }
    return columns;
}

} // namespace

void TestProgressBar::sizes()
{
    QByteArray bytes;
    QWidget parent;
    const auto* bar = new ProgressBar(&bytes, &parent);
    QCOMPARE(bar->parentWidget(), &parent);
    QCOMPARE(bar->minimumHeight(), 50);
    QCOMPARE(bar->sizePolicy().horizontalPolicy(), QSizePolicy::Preferred);
    QCOMPARE(bar->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
    QCOMPARE(QString::fromLatin1(bar->metaObject()->className()), QStringLiteral("ProgressBar"));
}

void TestProgressBar::nothingAtTheStart()
{
    QByteArray bytes = level(100);
    ProgressBar bar(&bytes, nullptr);
    bar.resize(200, 100);
    QImage empty(bar.size(), QImage::Format_RGB32);
    empty.fill(ground);
    QCOMPARE(paint(bar), empty);
    bar.bufferLengthChanged(100);
    QCOMPARE(paint(bar), empty);
    bar.recordPositionChanged(0);
    QCOMPARE(paint(bar), empty);
}

void TestProgressBar::background_data()
{
    QTest::addColumn<qlonglong>("length");
    QTest::addColumn<qlonglong>("position");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("right");
    // The right edge is a part of the rectangle.
    QTest::newRow("half") << 100LL << 50LL << 200 << 100;
    QTest::newRow("one byte") << 100LL << 1LL << 200 << 2;
    QTest::newRow("cut, not rounded") << 3LL << 2LL << 200 << 133;
    QTest::newRow("one byte of many") << 66150LL << 1LL << 582 << 0;
    QTest::newRow("one below the length") << 66150LL << 66149LL << 582 << 581;
}

void TestProgressBar::background()
{
    QFETCH(qlonglong, length);
    QFETCH(qlonglong, position);
    QFETCH(int, width);
    QFETCH(int, right);
    QByteArray none;
    ProgressBar bar(&none, nullptr);
    bar.resize(width, 60);
    bar.bufferLengthChanged(length);
    bar.recordPositionChanged(position);
    const QImage image = paint(bar);
    for (const int y : {0, 30, 59}) {
        QCOMPARE(image.pixelColor(0, y), recorded);
        QCOMPARE(image.pixelColor(right, y), recorded);
        if (right + 1 < width) {
            QCOMPARE(image.pixelColor(right + 1, y), ground);
        }
    }
}

void TestProgressBar::refusedPositions_data()
{
    QTest::addColumn<qlonglong>("position");
    QTest::newRow("negative") << -1LL;
    QTest::newRow("the length") << 100LL;
    QTest::newRow("beyond") << 101LL;
}

void TestProgressBar::refusedPositions()
{
    QFETCH(qlonglong, position);
    QByteArray none;
    ProgressBar bar(&none, nullptr);
    bar.resize(200, 60);
    bar.bufferLengthChanged(100);
    bar.recordPositionChanged(25);
    const QImage before = paint(bar);
    bar.recordPositionChanged(position);
    QCOMPARE(paint(bar), before);
    QCOMPARE(before.pixelColor(50, 30), recorded);
    QCOMPARE(before.pixelColor(51, 30), ground);
}

void TestProgressBar::trace()
{
    // Ten pixels a byte, and heights that fall on whole pixels: y = 127.5 - (byte - 127) / 255 * 255.
    QByteArray bytes;
    bytes.append(level(2, 127)).append(level(2, 227)).append(level(2, 27));
    ProgressBar bar(&bytes, nullptr);
    bar.resize(600, 255);
    bar.bufferLengthChanged(60);
    bar.recordPositionChanged(59);
    const QImage image = paint(bar);

    // A rounded half may fall on either side.
    const auto hasLine = [&image](int x, int y) {
        return image.pixelColor(x, y) == line || image.pixelColor(x, y + 1) == line;
    };
    QVERIFY(hasLine(5, 127));
    QVERIFY(hasLine(25, 27));
    QVERIFY(hasLine(45, 227));
    QCOMPARE(image.pixelColor(5, 60), recorded);
    QCOMPARE(image.pixelColor(25, 60), recorded);
}

void TestProgressBar::gaps()
{
    QByteArray bytes = level(6);
    ProgressBar bar(&bytes, nullptr);
    bar.resize(600, 254);
    bar.bufferLengthChanged(60);
    bar.recordPositionChanged(59);
    const QImage image = paint(bar);
    const int middle = 127;
    for (const int x : {0, 5, 10, 20, 25, 30, 40, 45, 50}) {
        QVERIFY2(image.pixelColor(x, middle) == line, qPrintable(QString::number(x)));
    }
    for (const int x : {11, 15, 19, 31, 35, 39, 51, 55}) {
        QVERIFY2(image.pixelColor(x, middle) == recorded, qPrintable(QString::number(x)));
    }
}

void TestProgressBar::lastPointWithoutPartner()
{
    QByteArray bytes = level(3);
    ProgressBar bar(&bytes, nullptr);
    bar.resize(600, 254);
    bar.bufferLengthChanged(60);
    bar.recordPositionChanged(59);
    const QImage image = paint(bar);
    QCOMPARE(image.pixelColor(10, 127), line);
    QCOMPARE(image.pixelColor(20, 127), recorded);

    // Its partner comes with the next byte.
    bytes.append(level(1));
    QCOMPARE(paint(bar).pixelColor(25, 127), line);
}

void TestProgressBar::bytesAreUnsigned()
{
    QByteArray bytes;
    bytes.append(level(2, 5)).append(level(2, 250));
    ProgressBar bar(&bytes, nullptr);
    bar.resize(600, 255);
    bar.bufferLengthChanged(60);
    bar.recordPositionChanged(59);
    const QImage image = paint(bar);
    // Low bytes lie low and high ones high: 127.5 + 122 and 127.5 - 123, where a half may fall on either side.
    QVERIFY(image.pixelColor(5, 249) == line || image.pixelColor(5, 250) == line);
    QVERIFY(image.pixelColor(25, 4) == line || image.pixelColor(25, 5) == line);
}

void TestProgressBar::onlyNewBytesAreMapped()
{
    QByteArray bytes = level(2, 127);
    ProgressBar bar(&bytes, nullptr);
    bar.resize(600, 254);
    bar.bufferLengthChanged(60);
    bar.recordPositionChanged(2);
    QCOMPARE(paint(bar).pixelColor(5, 127), line);

    // What was mapped keeps its place, whatever becomes of the bytes and of the widget.
    bytes[0] = '\x10';
    bytes[1] = '\x10';
    bytes.append(level(2, 127));
    bar.resize(300, 100);
    bar.recordPositionChanged(59);
    QImage image(600, 254, QImage::Format_RGB32);
    image.fill(ground);
    bar.resize(600, 254);
    bar.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    QCOMPARE(image.pixelColor(5, 127), line);

    // The later ones are mapped with the geometry of their own first paint.
    bar.resize(300, 100);
    bytes.append(level(2, 127));
    const QImage small = paint(bar);
    QCOMPARE(small.pixelColor(22, 50), line);
    QCOMPARE(small.pixelColor(3, 50), recorded);
}

void TestProgressBar::growsWithEachPaint()
{
    QByteArray bytes;
    ProgressBar bar(&bytes, nullptr);
    bar.resize(600, 60);
    bar.bufferLengthChanged(600);
    int before = 0;
    for (int i = 1; i <= 5; ++i) {
        bytes.append(level(100));
        bar.recordPositionChanged(bytes.size());
        const int now = columnsOfTrace(paint(bar));
        QVERIFY(now > before);
        before = now;
    }
    QCOMPARE(before, 500);
}

void TestProgressBar::newRecordingStartsEmpty()
{
    QByteArray bytes = level(60);
    ProgressBar bar(&bytes, nullptr);
    bar.resize(600, 254);
    bar.bufferLengthChanged(60);
    bar.recordPositionChanged(59);
    QVERIFY(columnsOfTrace(paint(bar)) > 100);

    bytes.clear();
    bar.bufferLengthChanged(60);
    QImage empty(bar.size(), QImage::Format_RGB32);
    empty.fill(ground);
    QCOMPARE(paint(bar), empty);

    // No point of the first recording comes back with the first bytes of the second.
    bytes.append(level(4, 200));
    bar.recordPositionChanged(4);
    const QImage image = paint(bar);
    QCOMPARE(columnsOfTrace(image), 22);
    QCOMPARE(image.pixelColor(5, 127), recorded);
}

void TestProgressBar::reset()
{
    QByteArray bytes = level(60);
    ProgressBar bar(&bytes, nullptr);
    bar.resize(600, 254);
    bar.bufferLengthChanged(60);
    bar.recordPositionChanged(30);
    QVERIFY(columnsOfTrace(paint(bar)) > 100);
    bar.reset();
    QImage empty(bar.size(), QImage::Format_RGB32);
    empty.fill(ground);
    QCOMPARE(paint(bar), empty);
    // The length is 0 too, so that every position is refused.
    bar.recordPositionChanged(0);
    bar.recordPositionChanged(1);
    QCOMPARE(paint(bar), empty);
}

void TestProgressBar::slotsRepaintAtOnce()
{
    /// Counts the paints that reach the widget.
    class Counter : public QObject
    {
    public:
        int paints = 0;

    protected:
        bool eventFilter(QObject* object, QEvent* event) override
        {
            if (event->type() == QEvent::Paint) {
                ++paints;
            }
            return QObject::eventFilter(object, event);
        }
    };
    QByteArray bytes = level(60);
    ProgressBar bar(&bytes, nullptr);
    bar.resize(600, 60);
    bar.show();
    QVERIFY(QTest::qWaitForWindowExposed(&bar));
    Counter counter;
    bar.installEventFilter(&counter);
    bar.bufferLengthChanged(60);
    QCOMPARE(counter.paints, 1);
    bar.recordPositionChanged(10);
    QCOMPARE(counter.paints, 2);
    bar.recordPositionChanged(60);
    QCOMPARE(counter.paints, 2);
}

QTEST_MAIN(TestProgressBar)
#include "TestProgressBar.moc"
