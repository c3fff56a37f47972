// SPDX-License-Identifier: GPL-3.0-or-later
#include "recipe/ImpactDelegate.h"
#include "recipe/ImpactModel.h"
#include "tests/recipe/RecipeFixtures.h"
#include "tests/support/MessageGuard.h"

#include <QHeaderView>
#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

#include <memory>

using namespace RecipeFixtures;

namespace {

QString order(const ImpactModel& model)
{
    QStringList ids;
    const QList<Marker> all = model.markers();
    for (const Marker& marker : all) {
        ids.append(marker.getId());
    }
    return ids.join(QLatin1Char(' '));
}

/// What the cell looks like; the ground that no one paints is magenta.
template <typename Paint> QImage canvas(const QSize& size, Paint paint)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::magenta);
    QPainter painter(&image);
    paint(&painter);
    return image;
}

const QRect cell(100, 50, 30, 40);

} // namespace

class TestImpactDelegate : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void hasIcons();
    void paints_data();
    void paints();
    void centresIcons_data();
    void centresIcons();
    void clicks_data();
    void clicks();
    void clicksWithAnyButton();
    void hitsWholeCell_data();
    void hitsWholeCell();
    void forgetsThePressOnAMiss_data();
    void forgetsThePressOnAMiss();
    void passesOverOtherEvents();
    void passesOverOtherModels();
    void followsTheMouseInATable();

private:
    bool send(ImpactDelegate& delegate, QEvent::Type type, const QModelIndex& index, const QPointF& position,
              Qt::MouseButton button = Qt::LeftButton)
    {
        QStyleOptionViewItem option;
        option.rect = cell;
        QMouseEvent event(type, position, button, button, Qt::NoModifier);
        return delegate.editorEvent(&event, const_cast<QAbstractItemModel*>(index.model()), option, index);
    }
    void click(ImpactDelegate& delegate, const QModelIndex& index)
    {
        QVERIFY(!send(delegate, QEvent::MouseButtonPress, index, cell.center()));
        QVERIFY(!send(delegate, QEvent::MouseButtonRelease, index, cell.center()));
    }

    std::unique_ptr<MessageGuard> guard;
};

void TestImpactDelegate::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
}

void TestImpactDelegate::cleanup()
{
    guard->verify();
}

void TestImpactDelegate::hasIcons()
{
    const ImpactDelegate delegate(nullptr);
    QCOMPARE(delegate.getIconWidth(1), 20);
    QCOMPARE(delegate.getIconWidth(2), 20);
    QCOMPARE(delegate.getIconWidth(4), QPixmap(QStringLiteral(":/images/trash.png")).width());
    QVERIFY(delegate.getIconWidth(4) > 0);
    for (int column : {-1, 0, 3, 5}) {
        QCOMPARE(delegate.getIconWidth(column), 0);
    }
    QCOMPARE(ImpactDelegate::getIcon(QStringLiteral(":/images/connected-device.png")).size(), QSize(20, 20));
    QCOMPARE(ImpactDelegate::getIcon(QStringLiteral(":/images/gradient.png")).size(), QSize(20, 20));
}

void TestImpactDelegate::paints_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("icon");
    const QString up = QStringLiteral(":/images/table-arrow-up.png");
    const QString down = QStringLiteral(":/images/table-arrow-down.png");
    const QString trash = QStringLiteral(":/images/trash.png");
    QTest::newRow("first, up") << 3 << 0 << 1 << QString();
    QTest::newRow("first, down") << 3 << 0 << 2 << down;
    QTest::newRow("first, trash") << 3 << 0 << 4 << trash;
    QTest::newRow("middle, up") << 3 << 1 << 1 << up;
    QTest::newRow("middle, down") << 3 << 1 << 2 << down;
    QTest::newRow("middle, trash") << 3 << 1 << 4 << trash;
    QTest::newRow("last, up") << 3 << 2 << 1 << up;
    QTest::newRow("last, down") << 3 << 2 << 2 << QString();
    QTest::newRow("last, trash") << 3 << 2 << 4 << trash;
    QTest::newRow("only, up") << 1 << 0 << 1 << QString();
    QTest::newRow("only, down") << 1 << 0 << 2 << QString();
    QTest::newRow("only, trash") << 1 << 0 << 4 << trash;
    QTest::newRow("number") << 3 << 1 << 0 << QString();
    QTest::newRow("title") << 3 << 1 << 3 << QString();
}

void TestImpactDelegate::paints()
{
    QFETCH(int, rows);
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(QString, icon);
    ImpactModel model(nullptr);
    model.setMarkers(markers(rows));
    const ImpactDelegate delegate(nullptr);
    const QStyledItemDelegate base;
    const QModelIndex index = model.index(row, column);
    QStyleOptionViewItem option;
    option.rect = QRect(10, 20, 61, 40);

    const QImage painted = canvas(QSize(100, 100), [&](QPainter* painter) { delegate.paint(painter, option, index); });
    const QImage ground = canvas(QSize(100, 100), [&](QPainter* painter) { base.paint(painter, option, index); });
    const QImage expected = canvas(QSize(100, 100), [&](QPainter* painter) {
        base.paint(painter, option, index);
        if (icon.isEmpty()) {
            return;
        }
        QPixmap pixmap(icon);
        if (column != 4) {
            pixmap = pixmap.scaled(20, 20, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        }
        // (10 + 70) / 2 and (20 + 59) / 2, less half of the icon's own last pixel.
        painter->drawPixmap(40 - (pixmap.width() - 1) / 2, 39 - (pixmap.height() - 1) / 2, pixmap);
    });
    QCOMPARE(painted, expected);
    QCOMPARE(painted != ground, !icon.isEmpty());
}

void TestImpactDelegate::centresIcons_data()
{
    QTest::addColumn<QRect>("rect");
    QTest::addColumn<QPoint>("corner");
    // The arrow is 20 wide: its middle pixel is 9.
    QTest::newRow("even") << QRect(0, 0, 40, 40) << QPoint(10, 10);
    QTest::newRow("odd") << QRect(0, 0, 41, 39) << QPoint(11, 10);
    QTest::newRow("moved") << QRect(3, 7, 40, 41) << QPoint(13, 18);
    QTest::newRow("smaller than the icon") << QRect(30, 30, 10, 10) << QPoint(25, 25);
}

void TestImpactDelegate::centresIcons()
{
    QFETCH(QRect, rect);
    QFETCH(QPoint, corner);
    ImpactModel model(nullptr);
    model.setMarkers(markers(2));
    const ImpactDelegate delegate(nullptr);
    const QStyledItemDelegate base;
    QStyleOptionViewItem option;
    option.rect = rect;
    const QModelIndex index = model.index(1, 1);
    const QImage painted = canvas(QSize(80, 80), [&](QPainter* painter) { delegate.paint(painter, option, index); });
    const QImage expected = canvas(QSize(80, 80), [&](QPainter* painter) {
        base.paint(painter, option, index);
        painter->drawPixmap(corner, ImpactDelegate::getIcon(QStringLiteral(":/images/table-arrow-up.png")));
    });
    QCOMPARE(painted, expected);
}

void TestImpactDelegate::clicks_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("expected");
    const QString same = QStringLiteral("m1 m2 m3");
    QTest::newRow("first, up") << 3 << 0 << 1 << same;
    QTest::newRow("first, down") << 3 << 0 << 2 << QStringLiteral("m2 m1 m3");
    QTest::newRow("first, trash") << 3 << 0 << 4 << QStringLiteral("m2 m3");
    QTest::newRow("middle, up") << 3 << 1 << 1 << QStringLiteral("m2 m1 m3");
    QTest::newRow("middle, down") << 3 << 1 << 2 << QStringLiteral("m1 m3 m2");
    QTest::newRow("middle, trash") << 3 << 1 << 4 << QStringLiteral("m1 m3");
    QTest::newRow("last, up") << 3 << 2 << 1 << QStringLiteral("m1 m3 m2");
    QTest::newRow("last, down") << 3 << 2 << 2 << same;
    QTest::newRow("last, trash") << 3 << 2 << 4 << QStringLiteral("m1 m2");
    QTest::newRow("number") << 3 << 1 << 0 << same;
    QTest::newRow("title") << 3 << 1 << 3 << same;
    QTest::newRow("only, up") << 1 << 0 << 1 << QStringLiteral("m1");
    QTest::newRow("only, down") << 1 << 0 << 2 << QStringLiteral("m1");
    QTest::newRow("only, trash") << 1 << 0 << 4 << QString();
}

void TestImpactDelegate::clicks()
{
    QFETCH(int, rows);
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(QString, expected);
    ImpactModel model(nullptr);
    model.setMarkers(markers(rows));
    ImpactDelegate delegate(nullptr);
    click(delegate, model.index(row, column));
    QCOMPARE(order(model), expected);
    // The press is spent: a release alone does nothing.
    if (model.rowCount() > row) {
        send(delegate, QEvent::MouseButtonRelease, model.index(row, column), cell.center());
        QCOMPARE(order(model), expected);
    }
}

void TestImpactDelegate::clicksWithAnyButton()
{
    ImpactModel model(nullptr);
    model.setMarkers(markers(4));
    ImpactDelegate delegate(nullptr);
    int left = 4;
    for (Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton}) {
        send(delegate, QEvent::MouseButtonPress, model.index(0, 4), cell.center(), button);
        send(delegate, QEvent::MouseButtonRelease, model.index(0, 4), cell.center(), button);
        QCOMPARE(model.rowCount(), --left);
    }
}

void TestImpactDelegate::hitsWholeCell_data()
{
    QTest::addColumn<QPointF>("point");
    QTest::addColumn<bool>("inside");
    QTest::newRow("left top") << QPointF(100, 50) << true;
    QTest::newRow("right bottom") << QPointF(129, 89) << true;
    QTest::newRow("rounded in") << QPointF(99.6, 49.6) << true;
    QTest::newRow("rounded in at the end") << QPointF(129.4, 89.4) << true;
    QTest::newRow("rounded out") << QPointF(129.6, 60) << false;
    QTest::newRow("left of it") << QPointF(99, 60) << false;
    QTest::newRow("right of it") << QPointF(130, 60) << false;
    QTest::newRow("above") << QPointF(110, 49) << false;
    QTest::newRow("below") << QPointF(110, 90) << false;
}

void TestImpactDelegate::hitsWholeCell()
{
    QFETCH(QPointF, point);
    QFETCH(bool, inside);
    const QString removed = QStringLiteral("m2");
    const QString same = QStringLiteral("m1 m2");
    {
        ImpactModel model(nullptr);
        model.setMarkers(markers(2));
        ImpactDelegate delegate(nullptr);
        send(delegate, QEvent::MouseButtonPress, model.index(0, 4), point);
        send(delegate, QEvent::MouseButtonRelease, model.index(0, 4), cell.center());
        QCOMPARE(order(model), inside ? removed : same);
    }
    {
        ImpactModel model(nullptr);
        model.setMarkers(markers(2));
        ImpactDelegate delegate(nullptr);
        send(delegate, QEvent::MouseButtonPress, model.index(0, 4), cell.center());
        send(delegate, QEvent::MouseButtonRelease, model.index(0, 4), point);
        QCOMPARE(order(model), inside ? removed : same);
    }
}

void TestImpactDelegate::forgetsThePressOnAMiss_data()
{
    QTest::addColumn<QEvent::Type>("type");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<QPoint>("point");
    const QPoint outside(0, 0);
    QTest::newRow("release on another row") << QEvent::MouseButtonRelease << 0 << 4 << cell.center();
    QTest::newRow("release on another column") << QEvent::MouseButtonRelease << 1 << 2 << cell.center();
    QTest::newRow("release outside") << QEvent::MouseButtonRelease << 1 << 4 << outside;
    QTest::newRow("press outside") << QEvent::MouseButtonPress << 1 << 4 << outside;
    QTest::newRow("press elsewhere") << QEvent::MouseButtonPress << 2 << 4 << cell.center();
}

void TestImpactDelegate::forgetsThePressOnAMiss()
{
    QFETCH(QEvent::Type, type);
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(QPoint, point);
    ImpactModel model(nullptr);
    model.setMarkers(markers(3));
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    ImpactDelegate delegate(nullptr);
    QVERIFY(!send(delegate, QEvent::MouseButtonPress, model.index(1, 4), cell.center()));
    QVERIFY(!send(delegate, type, model.index(row, column), point));
    QVERIFY(!send(delegate, QEvent::MouseButtonRelease, model.index(1, 4), cell.center()));
    QCOMPARE(resets.count(), 0);
    QCOMPARE(order(model), QStringLiteral("m1 m2 m3"));
}

void TestImpactDelegate::passesOverOtherEvents()
{
    ImpactModel model(nullptr);
    model.setMarkers(markers(2));
    ImpactDelegate delegate(nullptr);
    const QModelIndex index = model.index(0, 4);
    send(delegate, QEvent::MouseButtonRelease, index, cell.center());
    QCOMPARE(order(model), QStringLiteral("m1 m2"));

    // None of these takes the press back.
    send(delegate, QEvent::MouseButtonPress, index, cell.center());
    QVERIFY(!send(delegate, QEvent::MouseMove, model.index(1, 4), cell.center()));
    QVERIFY(!send(delegate, QEvent::MouseButtonDblClick, index, cell.center()));
    QKeyEvent key(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier);
    QVERIFY(!delegate.editorEvent(&key, &model, QStyleOptionViewItem(), index));
    QVERIFY(!send(delegate, QEvent::MouseButtonPress, QModelIndex(), cell.center()));
    QVERIFY(!send(delegate, QEvent::MouseButtonRelease, QModelIndex(), cell.center()));
    QVERIFY(!send(delegate, QEvent::MouseButtonRelease, index, cell.center()));
    QCOMPARE(order(model), QStringLiteral("m2"));
}

void TestImpactDelegate::passesOverOtherModels()
{
    ImpactModel model(nullptr);
    model.setMarkers(markers(2));
    ImpactDelegate delegate(nullptr);
    QStyleOptionViewItem option;
    option.rect = cell;
    for (QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
        QMouseEvent event(type, cell.center(), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QVERIFY(!delegate.editorEvent(&event, nullptr, option, model.index(0, 4)));
    }
    QCOMPARE(order(model), QStringLiteral("m1 m2"));
}

void TestImpactDelegate::followsTheMouseInATable()
{
    ImpactModel model(nullptr);
    model.setMarkers(markers(5));
    ImpactDelegate delegate(nullptr);
    QTableView table;
    table.setModel(&model);
    for (int column : {1, 2, 4}) {
        table.setItemDelegateForColumn(column, &delegate);
    }
    table.setEditTriggers(QAbstractItemView::NoEditTriggers);
    table.resize(700, 400);
    table.show();
    QVERIFY(QTest::qWaitForWindowExposed(&table));
    const auto at = [&](int row, int column) { return table.visualRect(model.index(row, column)).center(); };

    QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, at(0, 2));
    QCOMPARE(order(model), QStringLiteral("m2 m1 m3 m4 m5"));
    // A second click at once arrives as a double click, and counts all the same.
    const QPoint place = at(3, 4);
    QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, place);
    QTest::mouseDClick(table.viewport(), Qt::LeftButton, {}, place);
    QTest::mouseRelease(table.viewport(), Qt::LeftButton, {}, place);
    QCOMPARE(order(model), QStringLiteral("m2 m1 m3"));
    QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, at(2, 1));
    const QString before = QStringLiteral("m2 m3 m1");
    QCOMPARE(order(model), before);

    QTest::mousePress(table.viewport(), Qt::LeftButton, {}, at(0, 4));
    QTest::mouseMove(table.viewport(), at(1, 4));
    QTest::mouseRelease(table.viewport(), Qt::LeftButton, {}, at(1, 4));
    QCOMPARE(order(model), before);
    QTest::mousePress(table.viewport(), Qt::LeftButton, {}, QPoint(690, 390));
    QTest::mouseRelease(table.viewport(), Qt::LeftButton, {}, at(0, 4));
    QCOMPARE(order(model), before);
    for (int left : {2, 1, 0}) {
        QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, at(0, 4));
        QCOMPARE(model.rowCount(), left);
    }
}

QTEST_MAIN(TestImpactDelegate)

#include "TestImpactDelegate.moc"
