// SPDX-License-Identifier: GPL-3.0-or-later
#include "recipe/ImpactModel.h"
#include "tests/recipe/RecipeFixtures.h"
#include "tests/support/MessageGuard.h"

#include <QAbstractItemModelTester>
#include <QColor>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace RecipeFixtures;

namespace {

/// Makes indexes that the model itself would not hand out.
class Model : public ImpactModel
{
public:
    explicit Model(const QList<Marker>& markers = {})
        : ImpactModel(nullptr)
    {
        setMarkers(markers);
    }
    QModelIndex at(int row, int column) const { return createIndex(row, column); }
    QString order() const
    {
        QStringList ids;
        const QList<Marker> all = markers();
        for (const Marker& marker : all) {
            ids.append(marker.getId());
        }
        return ids.join(QLatin1Char(' '));
    }
};

} // namespace

class TestImpactModel : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void startsEmpty();
    void showsColumns_data();
    void showsColumns();
    void takesMarkersWithoutAReset();
    void leavesTheSameListAlone();
    void movesMarkers_data();
    void movesMarkers();
    void numbersFollowTheOrder();
    void removesMarkers_data();
    void removesMarkers();
    void removesTheOnlyRow();
    void refusesRowsOutside();

private:
    std::unique_ptr<MessageGuard> guard;
};

void TestImpactModel::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
}

void TestImpactModel::cleanup()
{
    guard->verify();
}

void TestImpactModel::startsEmpty()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.columnCount(), 0);
    QVERIFY(!model.data(model.at(0, 0)).isValid());
    QVERIFY(!model.data(model.at(0, 3), Qt::BackgroundRole).isValid());
}

void TestImpactModel::showsColumns_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QVariant>("shown");
    QTest::addColumn<int>("alignment");
    const int left = Qt::AlignLeft | Qt::AlignVCenter;
    const int centre = Qt::AlignHCenter | Qt::AlignVCenter;
    QTest::newRow("number") << 0 << QVariant(2) << centre;
    QTest::newRow("up") << 1 << QVariant() << centre;
    QTest::newRow("down") << 2 << QVariant() << centre;
    QTest::newRow("title") << 3 << QVariant(QStringLiteral("Marker 2")) << left;
    QTest::newRow("trash") << 4 << QVariant() << centre;
}

void TestImpactModel::showsColumns()
{
    QFETCH(int, column);
    QFETCH(QVariant, shown);
    QFETCH(int, alignment);
    Model model(markers(3));
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QCOMPARE(model.rowCount(), 3);
    QCOMPARE(model.columnCount(), 5);
    QCOMPARE(model.rowCount(model.index(0, 0)), 0);
    QCOMPARE(model.columnCount(model.index(0, 0)), 0);

    const QModelIndex index = model.index(1, column);
    QCOMPARE(index.data(), shown);
    QCOMPARE(index.data().type(), shown.type());
    QCOMPARE(index.data(Qt::TextAlignmentRole).toInt(), alignment);
    QCOMPARE(index.data(Qt::BackgroundRole).value<QColor>(), QColor(255, 255, 255, 255));
    for (int role : {Qt::EditRole, Qt::UserRole, Qt::DecorationRole, Qt::ToolTipRole, Qt::CheckStateRole,
                     Qt::ForegroundRole, Qt::FontRole, Qt::SizeHintRole}) {
        QVERIFY(!index.data(role).isValid());
    }
    QVERIFY(!model.data(QModelIndex(), Qt::DisplayRole).isValid());
    QVERIFY(!model.data(model.at(3, column), Qt::DisplayRole).isValid());
    QCOMPARE(model.flags(index), Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren);
    QCOMPARE(model.flags(QModelIndex()), Qt::ItemFlags(Qt::NoItemFlags));
}

void TestImpactModel::takesMarkersWithoutAReset()
{
    Model model;
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    model.setMarkers(markers(2));
    QCOMPARE(model.order(), QStringLiteral("m1 m2"));
    model.setMarkers(markers(3));
    QCOMPARE(model.order(), QStringLiteral("m1 m2 m3"));
    QCOMPARE(resets.count(), 0);
}

void TestImpactModel::leavesTheSameListAlone()
{
    QList<Marker> list = markers(2);
    Model model(list);
    model.setMarkers(list);
    QVERIFY(model.markers().isSharedWith(list));
    // What the caller does to its list afterwards is its own affair.
    list.removeFirst();
    QCOMPARE(model.order(), QStringLiteral("m1 m2"));
}

void TestImpactModel::movesMarkers_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::addColumn<QString>("order");
    QTest::newRow("down") << 0 << 1 << QStringLiteral("m2 m1 m3 m4");
    QTest::newRow("up") << 3 << 2 << QStringLiteral("m1 m2 m4 m3");
    QTest::newRow("far") << 0 << 3 << QStringLiteral("m2 m3 m4 m1");
    QTest::newRow("nowhere") << 2 << 2 << QStringLiteral("m1 m2 m3 m4");
}

void TestImpactModel::movesMarkers()
{
    QFETCH(int, from);
    QFETCH(int, to);
    QFETCH(QString, order);
    Model model(markers(4));
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QSignalSpy about(&model, &QAbstractItemModel::modelAboutToBeReset);
    QSignalSpy done(&model, &QAbstractItemModel::modelReset);
    QSignalSpy changes(&model, &ImpactModel::onChangeOrder);
    QSignalSpy removals(&model, &ImpactModel::onMarkerRemove);
    connect(&model, &ImpactModel::onChangeOrder, this, [&done] { QCOMPARE(done.count(), 1); });
    model.swapMarkers(from, to);
    QCOMPARE(model.order(), order);
    QCOMPARE(about.count(), 1);
    QCOMPARE(done.count(), 1);
    QCOMPARE(changes.count(), 1);
    QCOMPARE(removals.count(), 0);
}

void TestImpactModel::numbersFollowTheOrder()
{
    Model model(markers(3));
    model.swapMarkers(2, 0);
    QCOMPARE(model.index(0, 3).data().toString(), QStringLiteral("Marker 3"));
    for (int row = 0; row < 3; ++row) {
        QCOMPARE(model.index(row, 0).data().toInt(), row + 1);
    }
    model.removeMarker(model.index(0, 0));
    for (int row = 0; row < 2; ++row) {
        QCOMPARE(model.index(row, 0).data().toInt(), row + 1);
    }
}

void TestImpactModel::removesMarkers_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("id");
    QTest::addColumn<QString>("order");
    QTest::newRow("first") << 0 << QStringLiteral("m1") << QStringLiteral("m2 m3");
    QTest::newRow("middle") << 1 << QStringLiteral("m2") << QStringLiteral("m1 m3");
    QTest::newRow("last") << 2 << QStringLiteral("m3") << QStringLiteral("m1 m2");
}

void TestImpactModel::removesMarkers()
{
    QFETCH(int, row);
    QFETCH(QString, id);
    QFETCH(QString, order);
    Model model(markers(3));
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QSignalSpy done(&model, &QAbstractItemModel::modelReset);
    QSignalSpy removals(&model, &ImpactModel::onMarkerRemove);
    QSignalSpy changes(&model, &ImpactModel::onChangeOrder);
    connect(&model, &ImpactModel::onMarkerRemove, this, [&done] { QCOMPARE(done.count(), 1); });
    model.removeMarker(model.index(row, 4));
    QCOMPARE(model.order(), order);
    QCOMPARE(removals.count(), 1);
    QCOMPARE(removals.first().first().toString(), id);
    QCOMPARE(changes.count(), 0);
}

void TestImpactModel::removesTheOnlyRow()
{
    Model model(markers(1));
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QSignalSpy removals(&model, &ImpactModel::onMarkerRemove);
    model.removeMarker(model.index(0, 4));
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.columnCount(), 0);
    QCOMPARE(removals.count(), 1);
    QCOMPARE(removals.first().first().toString(), QStringLiteral("m1"));
}

void TestImpactModel::refusesRowsOutside()
{
    Model model(markers(2));
    QSignalSpy resets(&model, &QAbstractItemModel::modelAboutToBeReset);
    model.removeMarker(QModelIndex());
    model.removeMarker(model.at(2, 4));
    model.swapMarkers(0, 2);
    model.swapMarkers(-1, 0);
    model.swapMarkers(2, 0);
    model.swapMarkers(0, -1);
    QCOMPARE(model.order(), QStringLiteral("m1 m2"));
    QCOMPARE(resets.count(), 0);
}

QTEST_GUILESS_MAIN(TestImpactModel)

#include "TestImpactModel.moc"
