// SPDX-License-Identifier: GPL-3.0-or-later
#include "recipe/ReceiptDelegate.h"
#include "recipe/ReceiptDescriptionPopup.h"
#include "recipe/ReceiptModel.h"
#include "tests/recipe/RecipeFixtures.h"
#include "tests/support/MessageGuard.h"

#include <QApplication>
#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QSortFilterProxyModel>
#include <QStandardItemModel>
#include <QTableView>
#include <QTest>

#include <memory>

using namespace RecipeFixtures;

namespace {

const QColor groundColor(0xea, 0xef, 0xf2);

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

ReceiptDescriptionPopup* findPopup()
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget* widget : widgets) {
        if (auto* const popup = qobject_cast<ReceiptDescriptionPopup*>(widget)) {
            return popup;
        }
    }
    return nullptr;
}

/// A table as the screen has it: receipt model, proxy, delegate.
struct Table
{
    explicit Table(int count = 4)
    {
        QJsonArray array;
        for (int i = 1; i <= count; ++i) {
            array.append(marker(QStringLiteral("m%1").arg(i), QStringLiteral("Marker %1").arg(i), 10 * i, i,
                                QStringLiteral("About %1").arg(i)));
        }
        QList<QPair<QString, Marker>> none;
        model.fromJson(rows(array), none);
        proxy.setSourceModel(&model);
        proxy.setSortRole(Qt::UserRole);
        view.setModel(&proxy);
        view.setMouseTracking(true);
        view.setItemDelegateForColumn(1, &delegate);
        view.setItemDelegateForColumn(3, &delegate);
        view.setSortingEnabled(true);
        view.sortByColumn(-1, Qt::AscendingOrder);
        view.resize(600, 300);
        view.move(300, 200);
        view.show();
        view.doItemsLayout();
        delegate.setHeaderHeight(view.horizontalHeader()->height());
        popup = findPopup();
        timer = popup->findChild<QTimer*>();
    }

    QRect rect(int row, int column = 3) const { return view.visualRect(proxy.index(row, column)); }
    /// A move as the view would hand it to the delegate.
    bool move(int row, int column, const QPointF& position, QEvent::Type type = QEvent::MouseMove)
    {
        QStyleOptionViewItem option;
        option.rect = rect(row, column);
        option.widget = &view;
        QMouseEvent event(type, position, Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        return delegate.editorEvent(&event, &proxy, option, proxy.index(row, column));
    }
    bool move(int row) { return move(row, 3, rect(row).center()); }
    /// Leaves no trace of the popup's own timing: a reset shows as a timer that runs at 500 ms.
    void spoilTimer()
    {
        timer->stop();
        timer->setInterval(60000);
    }
    bool timerIsFresh() const { return timer->isActive() && timer->interval() == 500; }

    ReceiptModel model{nullptr};
    QSortFilterProxyModel proxy;
    ReceiptDelegate delegate{nullptr};
    QTableView view;
    ReceiptDescriptionPopup* popup = nullptr;
    QTimer* timer = nullptr;
};

} // namespace

class TestReceiptDelegate : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void knowsItsSizes();
    void paintsPercent_data();
    void paintsPercent();
    void cutsTheGradient_data();
    void cutsTheGradient();
    void keepsThePainter();
    void paintsNothingWithoutAModel();
    void writesThePercentage();
    void centresTheIcon_data();
    void centresTheIcon();
    void leavesOtherColumnsAlone_data();
    void leavesOtherColumnsAlone();
    void popupIsAWindowOfItsOwn();
    void opensBesideTheCell();
    void wholeCellCounts_data();
    void wholeCellCounts();
    void outsideRestartsTheTimer();
    void sameRowOnlyRestartsTheTimer();
    void anotherRowRebuilds();
    void opensAgainOnTheSameRow();
    void passesOverOtherEvents_data();
    void passesOverOtherEvents();
    void needsAProxy();
    void followsTheSortOrder();
    void followsTheFilter();
    void nullDescription();
    void followsTheMouse();

private:
    std::unique_ptr<MessageGuard> guard;
};

void TestReceiptDelegate::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    QCOMPARE(QPixmap(QStringLiteral(":/images/gradient.png")).size(), QSize(512, 1));
}

void TestReceiptDelegate::cleanup()
{
    guard->verify();
}

void TestReceiptDelegate::knowsItsSizes()
{
    ReceiptDelegate delegate(nullptr);
    QCOMPARE(delegate.getIconWidth(), QPixmap(QStringLiteral(":/images/notes.png")).width());
    QVERIFY(delegate.getIconWidth() > 0);
    QCOMPARE(delegate.getHeaderHeight(), 0);
    delegate.setHeaderHeight(27);
    QCOMPARE(delegate.getHeaderHeight(), 27);
}

void TestReceiptDelegate::paintsPercent_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("bar");
    QTest::newRow("far below 0") << -1000 << 106 << 0;
    QTest::newRow("below 0") << -1 << 106 << 0;
    QTest::newRow("0") << 0 << 106 << 0;
    // 106 / 100 x 50 is 53, but not in single precision; 58 / 100 x 50 is 29 there and 28 in double precision.
    QTest::newRow("50 of 106") << 50 << 106 << 52;
    QTest::newRow("50 of 58") << 50 << 58 << 29;
    QTest::newRow("1 of 100") << 1 << 100 << 1;
    QTest::newRow("1 of 250") << 1 << 250 << 2;
    QTest::newRow("29 of 100") << 29 << 100 << 29;
    QTest::newRow("29 of 250") << 29 << 250 << 72;
    QTest::newRow("99 of 250") << 99 << 250 << 247;
    QTest::newRow("100 of 250") << 100 << 250 << 250;
    QTest::newRow("above 100") << 150 << 250 << 250;
    QTest::newRow("far above 100") << 1000000 << 250 << 250;
}

void TestReceiptDelegate::paintsPercent()
{
    QFETCH(int, value);
    QFETCH(int, width);
    QFETCH(int, bar);
    ReceiptModel model(nullptr);
    QList<QPair<QString, Marker>> none;
    model.fromJson(rows({marker(QStringLiteral("m"), QStringLiteral("m"), value)}), none);
    const ReceiptDelegate delegate(nullptr);

    for (bool selected : {false, true}) {
        QStyleOptionViewItem option;
        option.rect = QRect(10, 5, width, 40);
        if (selected) {
            option.state |= QStyle::State_Selected;
        }
        const QImage painted = canvas(QSize(width + 60, 60),
                                      [&](QPainter* painter) { delegate.paint(painter, option, model.index(0, 1)); });
        const auto tinted = [selected](const QColor& color) {
            if (!selected) {
                return color;
            }
            const auto mix = [](int under, int over) { return (under * (255 - 80) + over * 80) / 255; };
            return QColor(mix(color.red(), 13), mix(color.green(), 180), mix(color.blue(), 150));
        };
        // Above and below the text, the bar ends where it should, and the grey goes on to the cell's end.
        for (int y : {6, 43}) {
            for (int x = 0; x < width; ++x) {
                const QColor found = painted.pixelColor(10 + x, y);
                if (x >= bar) {
                    QVERIFY2(distance(found, tinted(groundColor)) <= 2, qPrintable(QString::number(x)));
                } else {
                    QVERIFY2(distance(found, tinted(groundColor)) > 20, qPrintable(QString::number(x)));
                }
            }
        }
        for (const QPoint& point : {QPoint(8, 20), QPoint(12 + width, 20), QPoint(12, 3), QPoint(12, 47)}) {
            QCOMPARE(painted.pixelColor(point), QColor(Qt::magenta));
        }
        // From top to bottom the bar is one and the same.
        if (bar > 4) {
            QCOMPARE(painted.pixel(12, 6), painted.pixel(12, 43));
            QCOMPARE(painted.pixelColor(12, 20), painted.pixelColor(12, 6));
        }
    }
}

void TestReceiptDelegate::cutsTheGradient_data()
{
    QTest::addColumn<int>("value");
    QTest::newRow("20") << 20;
    QTest::newRow("50") << 50;
    QTest::newRow("80") << 80;
    QTest::newRow("100") << 100;
    QTest::newRow("200") << 200;
}

void TestReceiptDelegate::cutsTheGradient()
{
    QFETCH(int, value);
    ReceiptModel model(nullptr);
    QList<QPair<QString, Marker>> none;
    model.fromJson(rows({marker(QStringLiteral("m"), QStringLiteral("m"), value)}), none);
    const ReceiptDelegate delegate(nullptr);
    const QImage gradient(QStringLiteral(":/images/gradient.png"));
    QStyleOptionViewItem option;
    option.rect = QRect(0, 0, 256, 40);
    const QImage painted =
        canvas(QSize(300, 40), [&](QPainter* painter) { delegate.paint(painter, option, model.index(0, 1)); });
    // The cell is half as wide as the picture: each place shows the colour at twice its distance, whatever the value.
    const int end = qMin(256, 256 * value / 100);
    for (int x = 2; x < end - 2; x += 7) {
        QVERIFY2(distance(painted.pixelColor(x, 2), gradient.pixelColor(2 * x, 0)) <= 12,
                 qPrintable(QStringLiteral("%1").arg(x)));
    }
}

void TestReceiptDelegate::keepsThePainter()
{
    ReceiptModel model(nullptr);
    QList<QPair<QString, Marker>> none;
    model.fromJson(rows({marker(QStringLiteral("m"), QStringLiteral("m"), 40)}), none);
    const ReceiptDelegate delegate(nullptr);
    canvas(QSize(100, 40), [&](QPainter* painter) {
        const QPen pen(QColor(65, 65, 65), 3);
        const QBrush brush(Qt::cyan);
        painter->setPen(pen);
        painter->setBrush(brush);
        QStyleOptionViewItem option;
        option.rect = QRect(0, 0, 100, 40);
        option.state |= QStyle::State_Selected;
        delegate.paint(painter, option, model.index(0, 1));
        QCOMPARE(painter->pen(), pen);
        QCOMPARE(painter->brush(), brush);
    });
}

void TestReceiptDelegate::paintsNothingWithoutAModel()
{
    const ReceiptDelegate delegate(nullptr);
    QStandardItemModel empty;
    QStyleOptionViewItem option;
    option.rect = QRect(0, 0, 100, 40);
    // An index without a model has no column either: nothing of the delegate's own is painted.
    const QImage painted =
        canvas(QSize(100, 40), [&](QPainter* painter) { delegate.paint(painter, option, QModelIndex()); });
    QVERIFY(painted.pixelColor(2, 2) != groundColor);
    // A model that has no number there counts as 0.
    empty.setRowCount(1);
    empty.setColumnCount(4);
    const QImage zero =
        canvas(QSize(100, 40), [&](QPainter* painter) { delegate.paint(painter, option, empty.index(0, 1)); });
    QCOMPARE(zero.pixelColor(0, 2), groundColor);
    QCOMPARE(zero.pixelColor(99, 38), groundColor);
}

void TestReceiptDelegate::writesThePercentage()
{
    const ReceiptDelegate delegate(nullptr);
    for (int value : {-7, 0}) {
        ReceiptModel model(nullptr);
        QList<QPair<QString, Marker>> none;
        model.fromJson(rows({marker(QStringLiteral("m"), QStringLiteral("m"), value)}), none);
        QStyleOptionViewItem option;
        option.rect = QRect(0, 0, 120, 40);
        const QPen pen(QColor(65, 65, 65));
        const QImage painted = canvas(QSize(121, 41), [&](QPainter* painter) {
            painter->setPen(pen);
            delegate.paint(painter, option, model.index(0, 1));
        });
        const QImage expected = canvas(QSize(121, 41), [&](QPainter* painter) {
            painter->fillRect(QRect(0, 0, 121, 41), groundColor);
            painter->setPen(pen);
            painter->drawText(option.rect, Qt::AlignCenter, value == 0 ? QStringLiteral("0%") : QStringLiteral("-7%"));
        });
        QCOMPARE(painted, expected);
    }
}

void TestReceiptDelegate::centresTheIcon_data()
{
    QTest::addColumn<QRect>("rect");
    QTest::newRow("as the screen has it") << QRect(0, 0, 49, 40);
    QTest::newRow("even") << QRect(0, 0, 50, 40);
    QTest::newRow("odd") << QRect(0, 0, 51, 41);
    QTest::newRow("moved") << QRect(13, 7, 60, 33);
    QTest::newRow("smaller than the icon") << QRect(30, 30, 10, 11);
}

void TestReceiptDelegate::centresTheIcon()
{
    QFETCH(QRect, rect);
    ReceiptModel model(nullptr);
    QList<QPair<QString, Marker>> none;
    model.fromJson(rows({marker(QStringLiteral("m"), QStringLiteral("m"))}), none);
    const ReceiptDelegate delegate(nullptr);
    const QStyledItemDelegate base;
    const QPixmap notes(QStringLiteral(":/images/notes.png"));
    QStyleOptionViewItem option;
    option.rect = rect;
    const QModelIndex index = model.index(0, 3);
    const QImage ground = canvas(QSize(90, 90), [&](QPainter* painter) { base.paint(painter, option, index); });
    const QImage painted = canvas(QSize(90, 90), [&](QPainter* painter) { delegate.paint(painter, option, index); });
    const QImage expected = canvas(QSize(90, 90), [&](QPainter* painter) {
        base.paint(painter, option, index);
        painter->drawPixmap((rect.left() + rect.right()) / 2 - (notes.width() - 1) / 2,
                            (rect.top() + rect.bottom()) / 2 - (notes.height() - 1) / 2, notes);
    });
    QCOMPARE(painted, expected);
    QVERIFY(painted != ground);
}

void TestReceiptDelegate::leavesOtherColumnsAlone_data()
{
    QTest::addColumn<int>("column");
    QTest::newRow("title") << 0;
    QTest::newRow("amount") << 2;
}

void TestReceiptDelegate::leavesOtherColumnsAlone()
{
    QFETCH(int, column);
    ReceiptModel model(nullptr);
    QList<QPair<QString, Marker>> none;
    model.fromJson(rows({marker(QStringLiteral("m"), QStringLiteral("Title"), 40, 12)}), none);
    const ReceiptDelegate delegate(nullptr);
    const QStyledItemDelegate base;
    QStyleOptionViewItem option;
    option.rect = QRect(5, 5, 80, 30);
    const QModelIndex index = model.index(0, column);
    QCOMPARE(canvas(QSize(90, 40), [&](QPainter* painter) { delegate.paint(painter, option, index); }),
             canvas(QSize(90, 40), [&](QPainter* painter) { base.paint(painter, option, index); }));
}

void TestReceiptDelegate::popupIsAWindowOfItsOwn()
{
    QVERIFY(findPopup() == nullptr);
    {
        const ReceiptDelegate delegate(nullptr);
        QVERIFY(findPopup() != nullptr);
        QVERIFY(findPopup()->parent() == nullptr);
        QVERIFY(!findPopup()->isVisible());
    }
    QVERIFY(findPopup() == nullptr);
}

void TestReceiptDelegate::opensBesideTheCell()
{
    Table table;
    QVERIFY(table.delegate.getHeaderHeight() > 0);
    const QRect cell = table.rect(1);
    QVERIFY(!table.move(1));
    QVERIFY(table.popup->isVisible());
    QCOMPARE(table.popup->row(), 1);
    QCOMPARE(table.popup->title(), QStringLiteral("Marker 2"));
    QCOMPARE(table.popup->text(), QStringLiteral("About 2"));
    QVERIFY(table.timerIsFresh());
    // The cell as the screen has it: the viewport begins below the header.
    const QPoint corner = table.view.viewport()->mapToGlobal(cell.topLeft());
    const int frame = table.view.viewport()->y() - table.delegate.getHeaderHeight();
    const QRect expected(corner.x() - table.view.viewport()->x(), corner.y() - frame, cell.width(), cell.height());
    QCOMPARE(table.popup->targetRect(), expected);
    QCOMPARE(table.popup->targetPosition(), QPoint(expected.left(), expected.top() + cell.height() / 2));
}

void TestReceiptDelegate::wholeCellCounts_data()
{
    QTest::addColumn<int>("x");
    QTest::addColumn<int>("y");
    QTest::addColumn<double>("shift");
    QTest::addColumn<bool>("inside");
    QTest::newRow("left top") << 0 << 0 << 0.0 << true;
    QTest::newRow("right bottom") << 1 << 1 << 0.0 << true;
    QTest::newRow("rounded in") << 1 << 1 << 0.4 << true;
    QTest::newRow("rounded out") << 1 << 1 << 0.6 << false;
    QTest::newRow("rounded in at the start") << 0 << 0 << -0.4 << true;
    QTest::newRow("rounded out at the start") << 0 << 0 << -0.6 << false;
}

void TestReceiptDelegate::wholeCellCounts()
{
    QFETCH(int, x);
    QFETCH(int, y);
    QFETCH(double, shift);
    QFETCH(bool, inside);
    Table table;
    const QRect cell = table.rect(1);
    const QPointF point((x == 0 ? cell.left() : cell.right()) + shift, (y == 0 ? cell.top() : cell.bottom()) + shift);
    QVERIFY(!table.move(1, 3, point));
    QCOMPARE(table.popup->isVisible(), inside);
}

void TestReceiptDelegate::outsideRestartsTheTimer()
{
    Table table;
    // Nothing to keep alive while it is hidden.
    table.spoilTimer();
    QVERIFY(!table.move(1, 3, QPointF(-5, -5)));
    QVERIFY(!table.popup->isVisible());
    QVERIFY(!table.timer->isActive());

    table.move(1);
    table.spoilTimer();
    QVERIFY(!table.move(1, 3, QPointF(-5, -5)));
    QVERIFY(table.timerIsFresh());
    QVERIFY(table.popup->isVisible());
}

void TestReceiptDelegate::sameRowOnlyRestartsTheTimer()
{
    Table table;
    table.move(1);
    table.popup->setTitle(QStringLiteral("mine"));
    table.popup->move(1, 2);
    table.spoilTimer();
    QVERIFY(!table.move(1, 3, table.rect(1).topLeft()));
    QVERIFY(table.timerIsFresh());
    QCOMPARE(table.popup->title(), QStringLiteral("mine"));
    QCOMPARE(table.popup->pos(), QPoint(1, 2));
}

void TestReceiptDelegate::anotherRowRebuilds()
{
    Table table;
    table.move(1);
    const QRect before = table.popup->targetRect();
    const QPoint place = table.popup->pos();
    QVERIFY(!table.move(2));
    QCOMPARE(table.popup->row(), 2);
    QCOMPARE(table.popup->title(), QStringLiteral("Marker 3"));
    const int step = table.rect(2).top() - table.rect(1).top();
    QCOMPARE(table.popup->targetRect(), before.translated(0, step));
    QCOMPARE(table.popup->pos(), place + QPoint(0, step));
}

void TestReceiptDelegate::opensAgainOnTheSameRow()
{
    Table table;
    table.move(1);
    table.popup->hide();
    table.popup->setTitle(QStringLiteral("mine"));
    table.move(1);
    QVERIFY(table.popup->isVisible());
    QCOMPARE(table.popup->title(), QStringLiteral("Marker 2"));
}

void TestReceiptDelegate::passesOverOtherEvents_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QEvent::Type>("type");
    QTest::newRow("title") << 0 << QEvent::MouseMove;
    QTest::newRow("match") << 1 << QEvent::MouseMove;
    QTest::newRow("amount") << 2 << QEvent::MouseMove;
    QTest::newRow("press") << 3 << QEvent::MouseButtonPress;
    QTest::newRow("release") << 3 << QEvent::MouseButtonRelease;
    QTest::newRow("double click") << 3 << QEvent::MouseButtonDblClick;
}

void TestReceiptDelegate::passesOverOtherEvents()
{
    QFETCH(int, column);
    QFETCH(QEvent::Type, type);
    Table table;
    QVERIFY(!table.move(1, column, table.rect(1, column).center(), type));
    QVERIFY(!table.popup->isVisible());

    // The timer of an open popup is left to its own tick.
    table.move(2);
    table.spoilTimer();
    QVERIFY(!table.move(1, column, table.rect(1, column).center(), type));
    QVERIFY(!table.timer->isActive());
    QCOMPARE(table.popup->row(), 2);

    QMouseEvent event(QEvent::MouseMove, QPointF(1, 1), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QStyleOptionViewItem option;
    option.rect = QRect(0, 0, 10, 10);
    option.widget = &table.view;
    QVERIFY(!table.delegate.editorEvent(&event, &table.proxy, option, QModelIndex()));
    QVERIFY(!table.timer->isActive());
}

void TestReceiptDelegate::needsAProxy()
{
    Table table;
    QMouseEvent event(QEvent::MouseMove, QPointF(1, 1), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QStyleOptionViewItem option;
    option.rect = QRect(0, 0, 10, 10);
    option.widget = &table.view;
    QVERIFY(!table.delegate.editorEvent(&event, &table.model, option, table.model.index(0, 3)));
    QVERIFY(!table.delegate.editorEvent(&event, nullptr, option, table.model.index(0, 3)));
    QVERIFY(!table.popup->isVisible());
}

void TestReceiptDelegate::followsTheSortOrder()
{
    Table table;
    table.view.sortByColumn(1, Qt::DescendingOrder);
    QCOMPARE(table.proxy.index(0, 0).data().toString(), QStringLiteral("Marker 4"));
    table.move(0);
    QCOMPARE(table.popup->row(), 0);
    QCOMPARE(table.popup->title(), QStringLiteral("Marker 4"));
    QCOMPARE(table.popup->text(), QStringLiteral("About 4"));
    table.move(3);
    QCOMPARE(table.popup->row(), 3);
    QCOMPARE(table.popup->title(), QStringLiteral("Marker 1"));
}

void TestReceiptDelegate::followsTheFilter()
{
    Table table;
    table.proxy.setFilterFixedString(QStringLiteral("Marker 3"));
    QCOMPARE(table.proxy.rowCount(), 1);
    table.view.doItemsLayout();
    table.move(0);
    QCOMPARE(table.popup->row(), 0);
    QCOMPARE(table.popup->title(), QStringLiteral("Marker 3"));
}

void TestReceiptDelegate::nullDescription()
{
    Table table;
    table.move(0);
    QList<QPair<QString, Marker>> none;
    table.model.fromJson(rows({marker(QStringLiteral("a"), QStringLiteral("<b>A</b>"), 1, 1, QJsonValue::Null),
                               marker(QStringLiteral("b"), QStringLiteral("B"))}),
                         none);
    table.view.doItemsLayout();
    table.popup->hide();
    table.move(0);
    QCOMPARE(table.popup->title(), QStringLiteral("<b>A</b>"));
    QCOMPARE(table.popup->text(), QString());
}

void TestReceiptDelegate::followsTheMouse()
{
    Table table;
    QVERIFY(QTest::qWaitForWindowExposed(&table.view));
    QTest::mouseMove(table.view.viewport(), table.rect(0, 1).center());
    QTest::qWait(1);
    QVERIFY(!table.popup->isVisible());
    QTest::mouseMove(table.view.viewport(), table.rect(2).center());
    QTRY_VERIFY(table.popup->isVisible());
    QCOMPARE(table.popup->title(), QStringLiteral("Marker 3"));
    QVERIFY(table.popup->targetRect().width() > 0);
    QTest::mouseMove(table.view.viewport(), table.rect(0).center());
    QTRY_COMPARE(table.popup->title(), QStringLiteral("Marker 1"));
}

QTEST_MAIN(TestReceiptDelegate)

#include "TestReceiptDelegate.moc"
