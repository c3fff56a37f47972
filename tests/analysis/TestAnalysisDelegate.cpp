// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/AnalysisDelegate.h"
#include "analysis/AnalysisModel.h"
#include "tests/support/MessageGuard.h"

#include <QImage>
#include <QPainter>
#include <QStandardItemModel>
#include <QTest>

#include <limits>
#include <memory>

namespace {

const QColor groundColor(234, 239, 242);

template <typename Paint> QImage canvas(const QSize& size, Paint paint)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::magenta);
    QPainter painter(&image);
    paint(&painter);
    return image;
}

int distance(const QColor& one, const QColor& other)
{
    return qMax(qAbs(one.red() - other.red()),
                qMax(qAbs(one.green() - other.green()), qAbs(one.blue() - other.blue())));
}

/// One marker and one record with this value: the cell is at row 0, column 1.
struct Cell
{
    explicit Cell(int value)
    {
        model.fromJson(R"({"columns": ["a"], "rows": [{"id": "m", "title": "Marker", "values": [)" +
                       QByteArray::number(value) + "]}]}");
    }
    QModelIndex index() const { return model.index(0, 1); }

    AnalysisModel model{nullptr};
    AnalysisDelegate delegate{nullptr};
};

} // namespace

class TestAnalysisDelegate : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void keepsTheHeaderHeight();
    void paintsTheBar_data();
    void paintsTheBar();
    void cutsTheGradient_data();
    void cutsTheGradient();
    void staysInItsCell_data();
    void staysInItsCell();
    void keepsThePainter();
    void writesThePercentage_data();
    void writesThePercentage();
    void leavesTheTitleAlone();
    void paintsOnTopOfTheBaseClass();
    void paintsWithoutANumber();
    void paintsEveryRecord();

private:
    std::unique_ptr<MessageGuard> guard;
};

void TestAnalysisDelegate::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    QCOMPARE(QPixmap(QStringLiteral(":/images/gradient.png")).size(), QSize(512, 1));
}

void TestAnalysisDelegate::cleanup()
{
    guard->verify();
}

void TestAnalysisDelegate::keepsTheHeaderHeight()
{
    AnalysisDelegate delegate(nullptr);
    QCOMPARE(delegate.getHeaderHeight(), 0);
    delegate.setHeaderHeight(27);
    QCOMPARE(delegate.getHeaderHeight(), 27);
}

void TestAnalysisDelegate::paintsTheBar_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("bar");
    QTest::newRow("least") << std::numeric_limits<int>::min() << 106 << 0;
    QTest::newRow("far below 0") << -1000 << 106 << 0;
    QTest::newRow("-50") << -50 << 106 << 0;
    QTest::newRow("below 0") << -1 << 106 << 0;
    QTest::newRow("0") << 0 << 106 << 0;
    QTest::newRow("less than a pixel") << 1 << 99 << 0;
    QTest::newRow("1 of 100") << 1 << 100 << 1;
    QTest::newRow("1 of 250") << 1 << 250 << 2;
    // 106 / 100 x 50 is 53, but not in single precision; 58 / 100 x 50 is 29 there and 28 in double precision.
    QTest::newRow("50 of 106") << 50 << 106 << 52;
    QTest::newRow("50 of 58") << 50 << 58 << 29;
    QTest::newRow("29 of 250") << 29 << 250 << 72;
    QTest::newRow("99 of 250") << 99 << 250 << 247;
    QTest::newRow("100 of 250") << 100 << 250 << 250;
    QTest::newRow("above 100") << 150 << 250 << 250;
    QTest::newRow("far above 100") << 1000000 << 250 << 250;
}

void TestAnalysisDelegate::paintsTheBar()
{
    QFETCH(int, value);
    QFETCH(int, width);
    QFETCH(int, bar);
    const Cell cell(value);
    const QRect rect(10, 5, width, 40);
    for (bool selected : {false, true}) {
        QStyleOptionViewItem option;
        option.rect = rect;
        if (selected) {
            option.state |= QStyle::State_Selected;
        }
        const QImage painted = canvas(QSize(width + 60, 60),
                                      [&](QPainter* painter) { cell.delegate.paint(painter, option, cell.index()); });
        const auto tinted = [selected](const QColor& color) {
            if (!selected) {
                return color;
            }
            const auto mix = [](int under, int over) { return (under * (255 - 80) + over * 80) / 255; };
            return QColor(mix(color.red(), 13), mix(color.green(), 180), mix(color.blue(), 150));
        };
        // Above and below the text, the bar ends where it should, and the ground goes on to the cell's end.
        for (int y : {6, 43}) {
            for (int x = 0; x < width; ++x) {
                const int off = distance(painted.pixelColor(10 + x, y), tinted(groundColor));
                QVERIFY2(x >= bar ? off <= 2 : off > 20, qPrintable(QString::number(x)));
            }
        }
        // The first pixels of the bar are the green end, and the same from top to bottom.
        if (bar > 4) {
            const QColor green = QImage(QStringLiteral(":/images/gradient.png")).pixelColor(0, 0);
            for (int y : {6, 25, 43}) {
                QVERIFY(distance(painted.pixelColor(10, y), tinted(green)) <= 12);
            }
        }
    }
}

void TestAnalysisDelegate::cutsTheGradient_data()
{
    QTest::addColumn<int>("value");
    for (int value : {1, 20, 50, 80, 99, 100, 200}) {
        QTest::addRow("%d", value) << value;
    }
}

void TestAnalysisDelegate::cutsTheGradient()
{
    QFETCH(int, value);
    const Cell cell(value);
    const QImage gradient(QStringLiteral(":/images/gradient.png"));
    QStyleOptionViewItem option;
    option.rect = QRect(0, 0, 256, 40);
    const QImage painted =
        canvas(QSize(300, 40), [&](QPainter* painter) { cell.delegate.paint(painter, option, cell.index()); });
    // The cell is half as wide as the picture: each place shows the colour at twice its distance, whatever the value.
    const int end = qMin(256, 256 * value / 100);
    for (int x = 0; x < end; ++x) {
        const int most = x < 2 || x >= end - 2 ? 16 : 12;
        QVERIFY2(distance(painted.pixelColor(x, 2), gradient.pixelColor(2 * x, 0)) <= most,
                 qPrintable(QString::number(x)));
    }
}

void TestAnalysisDelegate::staysInItsCell_data()
{
    QTest::addColumn<int>("value");
    for (int value : {-2147483647, -100, -1, 0, 1, 50, 99, 100, 101, 500, 2147483647}) {
        QTest::addRow("%d", value) << value;
    }
}

// Neither a bar below 0 nor one above 100 may paint over the cells beside.
void TestAnalysisDelegate::staysInItsCell()
{
    QFETCH(int, value);
    const Cell cell(value);
    for (bool selected : {false, true}) {
        QStyleOptionViewItem option;
        option.rect = QRect(200, 20, 200, 40);
        if (selected) {
            option.state |= QStyle::State_Selected;
        }
        const QImage painted =
            canvas(QSize(600, 80), [&](QPainter* painter) { cell.delegate.paint(painter, option, cell.index()); });
        // A rectangle's outline lies one pixel outside at the right and below, where the grid of the table is.
        const QRect own = option.rect.adjusted(0, 0, 1, 1);
        for (int y = 0; y < painted.height(); ++y) {
            for (int x = 0; x < painted.width(); ++x) {
                QVERIFY2((painted.pixelColor(x, y) != QColor(Qt::magenta)) == own.contains(x, y),
                         qPrintable(QStringLiteral("%1, %2").arg(x).arg(y)));
            }
        }
    }
}

void TestAnalysisDelegate::keepsThePainter()
{
    const Cell cell(40);
    canvas(QSize(100, 40), [&](QPainter* painter) {
        const QPen pen(QColor(65, 65, 65), 3);
        const QBrush brush(Qt::cyan);
        painter->setPen(pen);
        painter->setBrush(brush);
        QStyleOptionViewItem option;
        option.rect = QRect(0, 0, 100, 40);
        option.state |= QStyle::State_Selected;
        cell.delegate.paint(painter, option, cell.index());
        QCOMPARE(painter->pen(), pen);
        QCOMPARE(painter->brush(), brush);
    });
}

void TestAnalysisDelegate::writesThePercentage_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << 0 << QStringLiteral("0%");
    QTest::newRow("negative") << -7 << QStringLiteral("-7%");
    QTest::newRow("no thousands separator") << -1234567 << QStringLiteral("-1234567%");
}

// Without a bar the cell is nothing but the ground and the text in the painter's own pen.
void TestAnalysisDelegate::writesThePercentage()
{
    QFETCH(int, value);
    QFETCH(QString, text);
    const Cell cell(value);
    QStyleOptionViewItem option;
    option.rect = QRect(0, 0, 120, 40);
    const QPen pen(QColor(65, 65, 65));
    const QImage painted = canvas(QSize(121, 41), [&](QPainter* painter) {
        painter->setPen(pen);
        cell.delegate.paint(painter, option, cell.index());
    });
    const QImage expected = canvas(QSize(121, 41), [&](QPainter* painter) {
        painter->fillRect(QRect(0, 0, 121, 41), groundColor);
        painter->setPen(pen);
        painter->drawText(option.rect, Qt::AlignCenter, text);
    });
    QCOMPARE(painted, expected);
    QVERIFY(painted !=
            canvas(QSize(121, 41), [](QPainter* painter) { painter->fillRect(QRect(0, 0, 121, 41), groundColor); }));
}

void TestAnalysisDelegate::leavesTheTitleAlone()
{
    const Cell cell(50);
    const QStyledItemDelegate base;
    for (bool selected : {false, true}) {
        QStyleOptionViewItem option;
        option.rect = QRect(0, 0, 120, 40);
        if (selected) {
            option.state |= QStyle::State_Selected;
        }
        const QModelIndex title = cell.model.index(0, 0);
        const QImage painted =
            canvas(QSize(130, 50), [&](QPainter* painter) { cell.delegate.paint(painter, option, title); });
        QCOMPARE(painted, canvas(QSize(130, 50), [&](QPainter* painter) { base.paint(painter, option, title); }));
        QVERIFY(painted.pixelColor(60, 5) != QColor(Qt::magenta));
    }
    // Nothing to paint on either.
    QStyleOptionViewItem option;
    option.rect = QRect(0, 0, 120, 40);
    const QImage nothing =
        canvas(QSize(130, 50), [&](QPainter* painter) { cell.delegate.paint(painter, option, QModelIndex()); });
    QVERIFY(nothing.pixelColor(2, 2) != groundColor);
}

// What the base class paints lies below: its text must not show through.
void TestAnalysisDelegate::paintsOnTopOfTheBaseClass()
{
    QStandardItemModel model(1, 2);
    model.setData(model.index(0, 1), 0);
    QStandardItemModel named(1, 2);
    named.setData(named.index(0, 1), QStringLiteral("no number, but a long text"));
    named.setData(named.index(0, 1), QColor(Qt::red), Qt::BackgroundRole);
    const AnalysisDelegate delegate(nullptr);
    QStyleOptionViewItem option;
    option.rect = QRect(0, 0, 120, 40);
    const auto paint = [&](const QModelIndex& index) {
        return canvas(QSize(121, 41), [&](QPainter* painter) { delegate.paint(painter, option, index); });
    };
    QCOMPARE(paint(named.index(0, 1)), paint(model.index(0, 1)));
}

void TestAnalysisDelegate::paintsWithoutANumber()
{
    const QStandardItemModel empty(1, 2);
    const AnalysisDelegate delegate(nullptr);
    QStyleOptionViewItem option;
    option.rect = QRect(0, 0, 100, 40);
    const QImage painted =
        canvas(QSize(100, 40), [&](QPainter* painter) { delegate.paint(painter, option, empty.index(0, 1)); });
    QCOMPARE(painted.pixelColor(0, 2), groundColor);
    QCOMPARE(painted.pixelColor(99, 38), groundColor);
    // A cell without a width has no bar.
    option.rect = QRect(10, 0, 0, 40);
    const Cell cell(50);
    const QImage narrow =
        canvas(QSize(100, 40), [&](QPainter* painter) { cell.delegate.paint(painter, option, cell.index()); });
    QCOMPARE(narrow.pixelColor(50, 2), QColor(Qt::magenta));
}

void TestAnalysisDelegate::paintsEveryRecord()
{
    AnalysisModel model(nullptr);
    model.fromJson(R"({"columns": ["a", "b", "c"], "rows": [{"id": "m", "title": "t", "values": [20, 40, 60]}]})");
    const AnalysisDelegate delegate(nullptr);
    for (int column = 1; column <= 3; ++column) {
        QStyleOptionViewItem option;
        option.rect = QRect(0, 0, 200, 40);
        const QImage painted =
            canvas(QSize(210, 50), [&](QPainter* painter) { delegate.paint(painter, option, model.index(0, column)); });
        QVERIFY(distance(painted.pixelColor(40 * column - 1, 2), groundColor) > 20);
        QCOMPARE(painted.pixelColor(40 * column, 2), groundColor);
    }
}

QTEST_MAIN(TestAnalysisDelegate)

#include "TestAnalysisDelegate.moc"
