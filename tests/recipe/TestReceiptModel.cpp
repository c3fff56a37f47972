// SPDX-License-Identifier: GPL-3.0-or-later
#include "recipe/ReceiptModel.h"
#include "tests/recipe/RecipeFixtures.h"
#include "tests/support/MessageGuard.h"

#include <QAbstractItemModelTester>
#include <QColor>
#include <QJsonValue>
#include <QSignalSpy>
#include <QSortFilterProxyModel>
#include <QTest>

#include <limits>
#include <memory>

using namespace RecipeFixtures;

namespace {

/// Makes indexes that the model itself would not hand out. The tester refuses a root that is enabled, which this model
/// has on purpose, so the root is the one thing that is hidden from it.
class Model : public ReceiptModel
{
public:
    Model()
        : ReceiptModel(nullptr)
    {
    }
    QModelIndex at(int row, int column) const { return createIndex(row, column); }
    Qt::ItemFlags flags(const QModelIndex& index) const override
    {
        return index.isValid() ? ReceiptModel::flags(index) : Qt::NoItemFlags;
    }
    Qt::ItemFlags rootFlags() const { return ReceiptModel::flags(QModelIndex()); }
};

using Selected = QList<QPair<QString, Marker>>;

} // namespace

class TestReceiptModel : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void startsEmpty();
    void showsColumns_data();
    void showsColumns();
    void hasHeaders();
    void hasFlags();
    void togglesOnlyTheCheckMark_data();
    void togglesOnlyTheCheckMark();
    void emitsTheMarkerItself();
    void restoresMarks();
    void dropsMarksOnReload();
    void replacesRows();
    void readsOddReplies_data();
    void readsOddReplies();
    void readsOddMarkers_data();
    void readsOddMarkers();
    void readsManyRows();
    void givesMarkers();
    void removesMarkers_data();
    void removesMarkers();
    void sortsByNumberAndText();

private:
    void fill(Model& model, Selected selected = {})
    {
        model.fromJson(rows({marker(QStringLiteral("m1"), QStringLiteral("Beta"), 50, 9),
                             marker(QStringLiteral("m2"), QStringLiteral("alpha"), 7, 10),
                             marker(QStringLiteral("m3"), QStringLiteral("Gamma"), 100, 2)}),
                       selected);
    }

    std::unique_ptr<MessageGuard> guard;
};

void TestReceiptModel::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
}

void TestReceiptModel::cleanup()
{
    guard->verify();
}

void TestReceiptModel::startsEmpty()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.columnCount(), 0);
    for (int role : {Qt::DisplayRole, Qt::UserRole, Qt::BackgroundRole, Qt::CheckStateRole, Qt::TextAlignmentRole}) {
        QVERIFY(!model.data(model.at(0, 0), role).isValid());
    }
    QVERIFY(!model.setData(model.at(0, 0), Qt::Checked, Qt::CheckStateRole));
}

void TestReceiptModel::showsColumns_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QVariant>("shown");
    QTest::addColumn<int>("alignment");
    QTest::addColumn<QVariant>("check");
    const int left = Qt::AlignLeft | Qt::AlignVCenter;
    const int centre = Qt::AlignHCenter | Qt::AlignVCenter;
    QTest::newRow("title") << 0 << QVariant(QStringLiteral("Beta")) << left << QVariant(Qt::Unchecked);
    QTest::newRow("match") << 1 << QVariant(50) << centre << QVariant();
    QTest::newRow("amount") << 2 << QVariant(9) << centre << QVariant();
    QTest::newRow("notes") << 3 << QVariant() << centre << QVariant();
}

void TestReceiptModel::showsColumns()
{
    QFETCH(int, column);
    QFETCH(QVariant, shown);
    QFETCH(int, alignment);
    QFETCH(QVariant, check);
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    fill(model);
    QCOMPARE(model.rowCount(), 3);
    QCOMPARE(model.columnCount(), 4);
    QCOMPARE(model.rowCount(model.index(0, 0)), 0);
    QCOMPARE(model.columnCount(model.index(0, 0)), 0);

    const QModelIndex index = model.index(0, column);
    for (int role : {Qt::DisplayRole, Qt::UserRole}) {
        QCOMPARE(index.data(role), shown);
        QCOMPARE(index.data(role).type(), shown.type());
    }
    QCOMPARE(index.data(Qt::TextAlignmentRole).toInt(), alignment);
    QCOMPARE(index.data(Qt::BackgroundRole).value<QColor>(), QColor(255, 255, 255, 255));
    QCOMPARE(index.data(Qt::CheckStateRole), check);
    for (int role :
         {Qt::EditRole, Qt::DecorationRole, Qt::ToolTipRole, Qt::ForegroundRole, Qt::FontRole, Qt::SizeHintRole}) {
        QVERIFY(!index.data(role).isValid());
    }
    QVERIFY(!model.data(QModelIndex(), Qt::DisplayRole).isValid());
    QVERIFY(!model.data(model.at(3, column), Qt::DisplayRole).isValid());
}

void TestReceiptModel::hasHeaders()
{
    Model model;
    fill(model);
    QCOMPARE(model.headerData(0, Qt::Horizontal).toString(), QStringLiteral("Text.marker"));
    QCOMPARE(model.headerData(1, Qt::Horizontal).toString(), QStringLiteral("Text.matchPercent"));
    QCOMPARE(model.headerData(2, Qt::Horizontal).toString(), QStringLiteral("Text.amountFrequencies"));
    QVERIFY(!model.headerData(3, Qt::Horizontal).isValid());
    QVERIFY(!model.headerData(4, Qt::Horizontal).isValid());
    QVERIFY(!model.headerData(-1, Qt::Horizontal).isValid());
    QVERIFY(!model.headerData(0, Qt::Vertical).isValid());
    QVERIFY(!model.headerData(0, Qt::Horizontal, Qt::ToolTipRole).isValid());
    QVERIFY(!model.headerData(0, Qt::Horizontal, Qt::UserRole).isValid());
}

void TestReceiptModel::hasFlags()
{
    Model model;
    fill(model);
    QCOMPARE(model.rootFlags(), Qt::ItemFlags(Qt::ItemIsEnabled));
    const Qt::ItemFlags base = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    QCOMPARE(model.flags(model.index(0, 0)), base | Qt::ItemIsUserCheckable);
    for (int column : {1, 2, 3}) {
        QCOMPARE(model.flags(model.index(0, column)), base);
    }
}

void TestReceiptModel::togglesOnlyTheCheckMark_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("role");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("taken");
    QTest::newRow("checked") << 0 << int(Qt::CheckStateRole) << QVariant(Qt::Checked) << true;
    QTest::newRow("unchecked is not looked at") << 0 << int(Qt::CheckStateRole) << QVariant(Qt::Unchecked) << true;
    QTest::newRow("nothing is not looked at") << 0 << int(Qt::CheckStateRole) << QVariant() << true;
    QTest::newRow("other column") << 1 << int(Qt::CheckStateRole) << QVariant(Qt::Checked) << false;
    QTest::newRow("notes column") << 3 << int(Qt::CheckStateRole) << QVariant(Qt::Checked) << false;
    QTest::newRow("other role") << 0 << int(Qt::EditRole) << QVariant(QStringLiteral("text")) << false;
}

void TestReceiptModel::togglesOnlyTheCheckMark()
{
    QFETCH(int, column);
    QFETCH(int, role);
    QFETCH(QVariant, value);
    QFETCH(bool, taken);
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    fill(model);
    const QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
    int selections = 0;
    connect(&model, &ReceiptModel::onSelect, this, [&selections](Marker&) { ++selections; });

    QCOMPARE(model.setData(model.index(1, column), value, role), taken);
    QCOMPARE(model.getMarker(1).isChecked(), taken);
    QCOMPARE(selections, taken ? 1 : 0);
    QCOMPARE(model.setData(model.index(1, column), value, role), taken);
    QVERIFY(!model.getMarker(1).isChecked());
    QCOMPARE(selections, taken ? 2 : 0);
    QCOMPARE(model.index(1, 0).data().toString(), QStringLiteral("alpha"));
    QVERIFY(!model.getMarker(0).isChecked());
    QCOMPARE(changes.count(), 0);
    QVERIFY(!model.setData(QModelIndex(), Qt::Checked, Qt::CheckStateRole));
}

void TestReceiptModel::emitsTheMarkerItself()
{
    Model model;
    fill(model);
    connect(&model, &ReceiptModel::onSelect, this, [](Marker& marker) {
        QCOMPARE(marker.getId(), QStringLiteral("m3"));
        QVERIFY(marker.isChecked());
        marker.setChecked(false);
    });
    QVERIFY(model.setData(model.index(2, 0), Qt::Checked, Qt::CheckStateRole));
    QCOMPARE(model.index(2, 0).data(Qt::CheckStateRole).toInt(), int(Qt::Unchecked));
}

void TestReceiptModel::restoresMarks()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    Selected selected{{QStringLiteral("m3"), Marker()},
                      {QStringLiteral("m3"), Marker()},
                      {QStringLiteral("elsewhere"), Marker()},
                      {QStringLiteral("m1"), Marker()}};
    fill(model, selected);
    QCOMPARE(model.index(0, 0).data(Qt::CheckStateRole).toInt(), int(Qt::Checked));
    QCOMPARE(model.index(1, 0).data(Qt::CheckStateRole).toInt(), int(Qt::Unchecked));
    QCOMPARE(model.index(2, 0).data(Qt::CheckStateRole).toInt(), int(Qt::Checked));
    QCOMPARE(selected.size(), 4);
}

void TestReceiptModel::dropsMarksOnReload()
{
    Model model;
    fill(model);
    model.setData(model.index(0, 0), Qt::Checked, Qt::CheckStateRole);
    model.setData(model.index(1, 0), Qt::Checked, Qt::CheckStateRole);
    model.setData(model.index(1, 0), Qt::Checked, Qt::CheckStateRole);
    fill(model, {{QStringLiteral("m1"), model.getMarker(0)}});
    QVERIFY(model.getMarker(0).isChecked());
    QVERIFY(!model.getMarker(1).isChecked());
}

void TestReceiptModel::replacesRows()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    fill(model);
    QSignalSpy about(&model, &QAbstractItemModel::modelAboutToBeReset);
    QSignalSpy done(&model, &QAbstractItemModel::modelReset);
    Selected none;
    model.fromJson(rows({marker(QStringLiteral("x"), QStringLiteral("Only"))}), none);
    QCOMPARE(about.count(), 1);
    QCOMPARE(done.count(), 1);
    QCOMPARE(model.rowCount(), 1);
    QCOMPARE(model.getMarker(0).getTitle(), QStringLiteral("Only"));
    model.fromJson(rows({}), none);
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.columnCount(), 0);
}

void TestReceiptModel::readsOddReplies_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("expected");
    QTest::newRow("empty") << QByteArray() << 0;
    QTest::newRow("no JSON") << QByteArrayLiteral("<html>") << 0;
    QTest::newRow("cut off") << QByteArrayLiteral("{\"rows\": [{\"id\": \"m1\"") << 0;
    QTest::newRow("array") << QByteArrayLiteral("[{\"id\": \"m1\"}]") << 0;
    QTest::newRow("text") << QByteArrayLiteral("\"rows\"") << 0;
    QTest::newRow("null") << QByteArrayLiteral("null") << 0;
    QTest::newRow("no rows") << QByteArrayLiteral("{\"data\": [{}]}") << 0;
    QTest::newRow("rows null") << QByteArrayLiteral("{\"rows\": null}") << 0;
    QTest::newRow("rows object") << QByteArrayLiteral("{\"rows\": {\"id\": \"m1\"}}") << 0;
    QTest::newRow("rows number") << QByteArrayLiteral("{\"rows\": 7}") << 0;
    QTest::newRow("elements that are no objects")
        << QByteArrayLiteral("{\"rows\": [null, 7, \"m\", [], {\"id\": \"m1\"}]}") << 5;
}

void TestReceiptModel::readsOddReplies()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, expected);
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    fill(model);
    Selected none;
    model.fromJson(reply, none);
    QCOMPARE(model.rowCount(), expected);
    QCOMPARE(model.columnCount(), expected == 0 ? 0 : 4);
}

void TestReceiptModel::readsOddMarkers_data()
{
    QTest::addColumn<QByteArray>("object");
    QTest::addColumn<QString>("title");
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("amount");
    QTest::newRow("nothing") << QByteArrayLiteral("{}") << QString() << 0 << 0;
    QTest::newRow("nulls") << QByteArrayLiteral(
                                  R"({"id":null,"title":null,"amount":null,"values":null,"description":null})")
                           << QString() << 0 << 0;
    QTest::newRow("wrong types") << QByteArrayLiteral(
                                        R"({"id":7,"title":[],"amount":"9","values":"50","description":{}})")
                                 << QString() << 0 << 0;
    QTest::newRow("no value") << QByteArrayLiteral(R"({"title":"t","amount":3,"values":[]})") << QStringLiteral("t")
                              << 0 << 3;
    QTest::newRow("two values") << QByteArrayLiteral(R"({"title":"t","amount":3,"values":[7,9]})")
                                << QStringLiteral("t") << 7 << 3;
    QTest::newRow("value null") << QByteArrayLiteral(R"({"title":"t","amount":3,"values":[null, 9]})")
                                << QStringLiteral("t") << 0 << 3;
    QTest::newRow("huge") << QByteArrayLiteral(R"({"title":"t","amount":1e300,"values":[99999999999]})")
                          << QStringLiteral("t") << 0 << 0;
    QTest::newRow("largest") << QByteArrayLiteral(R"({"title":"t","amount":-2147483648,"values":[2147483647]})")
                             << QStringLiteral("t") << std::numeric_limits<int>::max()
                             << std::numeric_limits<int>::min();
}

void TestReceiptModel::readsOddMarkers()
{
    QFETCH(QByteArray, object);
    QFETCH(QString, title);
    QFETCH(int, value);
    QFETCH(int, amount);
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    Selected none;
    model.fromJson("{\"rows\": [" + object + "]}", none);
    QCOMPARE(model.rowCount(), 1);
    QCOMPARE(model.index(0, 0).data().toString(), title);
    QCOMPARE(model.index(0, 1).data(), QVariant(value));
    QCOMPARE(model.index(0, 2).data(), QVariant(amount));
}

void TestReceiptModel::readsManyRows()
{
    constexpr int count = 10000;
    QJsonArray array;
    Selected selected;
    for (int i = 0; i < count; ++i) {
        const QString id = QString::number(i);
        array.append(marker(id, QStringLiteral("Marker ") + id, i % 101, i));
        if (i % 2 == 0) {
            selected.append({id, Marker()});
        }
    }
    Model model;
    model.fromJson(rows(array), selected);
    QCOMPARE(model.rowCount(), count);
    for (int i : {0, 1, 4999, 5000, 9998, 9999}) {
        QCOMPARE(model.getMarker(i).getId(), QString::number(i));
        QCOMPARE(model.getMarker(i).isChecked(), i % 2 == 0);
    }
}

void TestReceiptModel::givesMarkers()
{
    Model model;
    fill(model);
    QCOMPARE(model.getMarker(2).getId(), QStringLiteral("m3"));
    QCOMPARE(model.getMarker(2).getDescription(), QStringLiteral("about"));
    for (int row : {3, 100, -1}) {
        QVERIFY(model.getMarker(row).getId().isNull());
        QVERIFY(model.getMarker(row).getTitle().isNull());
        QVERIFY(!model.getMarker(row).isChecked());
        QCOMPARE(model.getMarker(row).getValue(), 0);
    }
}

void TestReceiptModel::removesMarkers_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QStringList>("left");
    QTest::newRow("first") << QStringLiteral("a")
                           << QStringList{QStringLiteral("b"), QStringLiteral("a"), QStringLiteral("c")};
    QTest::newRow("middle") << QStringLiteral("b")
                            << QStringList{QStringLiteral("a"), QStringLiteral("a"), QStringLiteral("c")};
    QTest::newRow("last") << QStringLiteral("c")
                          << QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("a")};
    QTest::newRow("unknown") << QStringLiteral("d")
                             << QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("a"),
                                            QStringLiteral("c")};
}

void TestReceiptModel::removesMarkers()
{
    QFETCH(QString, id);
    QFETCH(QStringList, left);
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    Selected none;
    QJsonArray array;
    for (const char* one : {"a", "b", "a", "c"}) {
        array.append(marker(QString::fromLatin1(one), QString::fromLatin1(one)));
    }
    model.fromJson(rows(array), none);
    QSignalSpy about(&model, &QAbstractItemModel::modelAboutToBeReset);
    QSignalSpy done(&model, &QAbstractItemModel::modelReset);
    model.removeMarker(id);
    QCOMPARE(about.count(), 1);
    QCOMPARE(done.count(), 1);
    QStringList found;
    for (int row = 0; row < model.rowCount(); ++row) {
        found.append(model.getMarker(row).getId());
    }
    QCOMPARE(found, left);
    QCOMPARE(model.columnCount(), 4);
}

void TestReceiptModel::sortsByNumberAndText()
{
    Model model;
    fill(model);
    QSortFilterProxyModel proxy;
    proxy.setSourceModel(&model);
    proxy.setSortRole(Qt::UserRole);
    const auto order = [&proxy] {
        QStringList titles;
        for (int row = 0; row < proxy.rowCount(); ++row) {
            titles.append(proxy.index(row, 0).data().toString());
        }
        return titles;
    };
    const QString alpha = QStringLiteral("alpha");
    const QString beta = QStringLiteral("Beta");
    const QString gamma = QStringLiteral("Gamma");
    proxy.sort(0);
    QCOMPARE(order(), (QStringList{beta, gamma, alpha}));
    // As text, 100 would stand before 50 and 7.
    proxy.sort(1);
    QCOMPARE(order(), (QStringList{alpha, beta, gamma}));
    proxy.sort(2);
    QCOMPARE(order(), (QStringList{gamma, beta, alpha}));
}

QTEST_GUILESS_MAIN(TestReceiptModel)

#include "TestReceiptModel.moc"
