// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/SummaryTableModel.h"
#include "tests/support/MessageGuard.h"

#include <QAbstractItemModelTester>
#include <QColor>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QSortFilterProxyModel>
#include <QTest>

#include <limits>
#include <memory>

namespace {

/// Makes indexes that the model itself would not hand out. The tester refuses a root that is enabled, which this model
/// has on purpose, so the root is the one thing that is hidden from it.
class Model : public SummaryTableModel
{
public:
    Model()
        : SummaryTableModel(nullptr)
    {
    }
    QModelIndex at(int row, int column) const { return createIndex(row, column); }
    Qt::ItemFlags flags(const QModelIndex& index) const override
    {
        return index.isValid() ? SummaryTableModel::flags(index) : Qt::NoItemFlags;
    }
    Qt::ItemFlags rootFlags() const { return SummaryTableModel::flags(QModelIndex()); }
};

const QByteArray twoByTwo = QByteArrayLiteral(R"({
    "columns": ["May", "<b>June</b>"],
    "rows": [{"title": "Beta", "values": [12, -11.9]}, {"title": "alpha", "values": [3.7, 0]}]
})");

constexpr int greatest = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

} // namespace

class TestSummaryTableModel : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void startsEmpty();
    void rowKeepsWhatItIsGiven();
    void rowReadsValues_data();
    void rowReadsValues();
    void showsCells_data();
    void showsCells();
    void coloursByValue_data();
    void coloursByValue();
    void hasHeaders_data();
    void hasHeaders();
    void hasFlags();
    void staysInsideTheTable();
    void resetsOnce();
    void columnsWithoutRows();
    void rowsWithoutColumns();
    void unequalLengths();
    void sortsMissingValues();
    void readsOddReplies_data();
    void readsOddReplies();
    void replacesTheTable();
    void readsManyRows();

private:
    std::unique_ptr<MessageGuard> guard;
};

void TestSummaryTableModel::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
}

void TestSummaryTableModel::cleanup()
{
    guard->verify();
}

void TestSummaryTableModel::startsEmpty()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.columnCount(), 1);
    for (int role : {Qt::DisplayRole, Qt::UserRole, Qt::BackgroundRole, Qt::ForegroundRole, Qt::TextAlignmentRole}) {
        QVERIFY(!model.data(model.at(0, 0), role).isValid());
    }
    QCOMPARE(model.headerData(0, Qt::Horizontal), QVariant(QStringLiteral("Text.category")));
    QVERIFY(!model.headerData(1, Qt::Horizontal).isValid());
}

void TestSummaryTableModel::rowKeepsWhatItIsGiven()
{
    SummaryTableModel::Row row;
    QCOMPARE(row.getTitle(), QString());
    QVERIFY(row.getValues().isEmpty());
    row.setTitle(QStringLiteral("Beta"));
    QCOMPARE(row.getTitle(), QStringLiteral("Beta"));
    row.setValues({1, -2.9, 3});
    QCOMPARE(row.getValues(), (QList<int>{1, -2, 3}));
    QCOMPARE(row.getValueAt(0), 1);
    QCOMPARE(row.getValueAt(2), 3);
    row.setValues({4});
    QCOMPARE(row.getValues(), (QList<int>{1, -2, 3, 4}));
}

void TestSummaryTableModel::rowReadsValues_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<int>("read");
    QTest::newRow("integer") << QByteArray("42") << 42;
    QTest::newRow("truncated") << QByteArray("42.99") << 42;
    QTest::newRow("truncated towards 0") << QByteArray("-42.99") << -42;
    QTest::newRow("almost 1") << QByteArray("0.999") << 0;
    QTest::newRow("greatest") << QByteArray("2147483647") << greatest;
    QTest::newRow("greatest with a fraction") << QByteArray("2147483647.5") << greatest;
    QTest::newRow("too great") << QByteArray("1e300") << greatest;
    QTest::newRow("least") << QByteArray("-2147483648") << least;
    QTest::newRow("too little") << QByteArray("-1e300") << least;
    QTest::newRow("text") << QByteArray(R"("42")") << 0;
    QTest::newRow("true") << QByteArray("true") << 0;
    QTest::newRow("null") << QByteArray("null") << 0;
    QTest::newRow("array") << QByteArray("[42]") << 0;
    QTest::newRow("object") << QByteArray("{}") << 0;
}

void TestSummaryTableModel::rowReadsValues()
{
    QFETCH(QByteArray, value);
    QFETCH(int, read);
    SummaryTableModel::Row row;
    row.setValues(QJsonDocument::fromJson("[" + value + ", 7]").array());
    QCOMPARE(row.getValues(), (QList<int>{read, 7}));
}

void TestSummaryTableModel::showsCells_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<QVariant>("text");
    QTest::addColumn<int>("alignment");
    QTest::addColumn<QColor>("ground");
    QTest::newRow("first title") << 0 << 0 << QVariant(QStringLiteral("Beta")) << 129 << QColor(Qt::white);
    QTest::newRow("second title") << 1 << 0 << QVariant(QStringLiteral("alpha")) << 129 << QColor(Qt::white);
    QTest::newRow("first row, first value") << 0 << 1 << QVariant(12) << 132 << QColor(237, 65, 36);
    QTest::newRow("first row, second value") << 0 << 2 << QVariant(-11) << 132 << QColor(172, 212, 114);
    QTest::newRow("second row, first value") << 1 << 1 << QVariant(3) << 132 << QColor(254, 251, 82);
    QTest::newRow("second row, second value") << 1 << 2 << QVariant(0) << 132 << QColor(254, 251, 82);
}

void TestSummaryTableModel::showsCells()
{
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(QVariant, text);
    QFETCH(int, alignment);
    QFETCH(QColor, ground);
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.fromJson(twoByTwo);
    QCOMPARE(model.rowCount(), 2);
    QCOMPARE(model.columnCount(), 3);
    const QModelIndex index = model.index(row, column);
    for (int role : {Qt::DisplayRole, Qt::UserRole}) {
        QCOMPARE(index.data(role), text);
        QCOMPARE(index.data(role).userType(), text.userType());
    }
    QCOMPARE(index.data(Qt::TextAlignmentRole), QVariant(alignment));
    QCOMPARE(index.data(Qt::BackgroundRole).value<QColor>(), ground);
    QCOMPARE(index.data(Qt::ForegroundRole).value<QColor>(), QColor(Qt::black));
    for (int role : {Qt::DecorationRole, Qt::EditRole, Qt::ToolTipRole, Qt::FontRole, Qt::CheckStateRole,
                     Qt::SizeHintRole, Qt::InitialSortOrderRole}) {
        QVERIFY2(!index.data(role).isValid(), qPrintable(QString::number(role)));
    }
}

void TestSummaryTableModel::coloursByValue_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QColor>("ground");
    const QColor red(0xed, 0x41, 0x24);
    const QColor green(0xac, 0xd4, 0x72);
    const QColor yellow(0xfe, 0xfb, 0x52);
    QTest::newRow("-100") << QByteArray("-100") << green;
    QTest::newRow("-11") << QByteArray("-11") << green;
    // Truncated before it is compared.
    QTest::newRow("-10.9") << QByteArray("-10.9") << yellow;
    QTest::newRow("-10") << QByteArray("-10") << yellow;
    QTest::newRow("0") << QByteArray("0") << yellow;
    QTest::newRow("10") << QByteArray("10") << yellow;
    QTest::newRow("10.9") << QByteArray("10.9") << yellow;
    QTest::newRow("11") << QByteArray("11") << red;
    QTest::newRow("100") << QByteArray("100") << red;
    QTest::newRow("huge") << QByteArray("1e300") << red;
    QTest::newRow("hugely negative") << QByteArray("-1e300") << green;
}

void TestSummaryTableModel::coloursByValue()
{
    QFETCH(QByteArray, value);
    QFETCH(QColor, ground);
    Model model;
    model.fromJson(R"({"columns": ["a", "b"], "rows": [{"title": "t", "values": [0, )" + value + "]}]}");
    QCOMPARE(model.index(0, 1).data(Qt::BackgroundRole).value<QColor>(), QColor(254, 251, 82));
    QCOMPARE(model.index(0, 2).data(Qt::BackgroundRole).value<QColor>(), ground);
}

void TestSummaryTableModel::hasHeaders_data()
{
    QTest::addColumn<int>("section");
    QTest::addColumn<QVariant>("text");
    QTest::newRow("before") << -1 << QVariant();
    QTest::newRow("category") << 0 << QVariant(QStringLiteral("Text.category"));
    QTest::newRow("first") << 1 << QVariant(QStringLiteral("May"));
    QTest::newRow("second") << 2 << QVariant(QStringLiteral("<b>June</b>"));
    QTest::newRow("behind") << 3 << QVariant();
}

void TestSummaryTableModel::hasHeaders()
{
    QFETCH(int, section);
    QFETCH(QVariant, text);
    Model model;
    model.fromJson(twoByTwo);
    for (int role : {Qt::DisplayRole, Qt::ToolTipRole}) {
        QCOMPARE(model.headerData(section, Qt::Horizontal, role), text);
        QVERIFY(!model.headerData(section, Qt::Vertical, role).isValid());
    }
    for (int role : {Qt::UserRole, Qt::EditRole, Qt::TextAlignmentRole, Qt::DecorationRole}) {
        QVERIFY(!model.headerData(section, Qt::Horizontal, role).isValid());
    }
}

void TestSummaryTableModel::hasFlags()
{
    Model model;
    model.fromJson(twoByTwo);
    QCOMPARE(model.rootFlags(), Qt::ItemFlags(Qt::ItemIsEnabled));
    for (int column = 0; column < 3; ++column) {
        QCOMPARE(model.flags(model.index(0, column)),
                 Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren);
    }
}

void TestSummaryTableModel::staysInsideTheTable()
{
    Model model;
    model.fromJson(twoByTwo);
    QVERIFY(!model.data(QModelIndex()).isValid());
    QVERIFY(!model.data(model.at(2, 0)).isValid());
    QVERIFY(!model.data(model.at(2, 1)).isValid());
    QVERIFY(!model.data(model.at(0, 3)).isValid());
    QCOMPARE(model.rowCount(model.index(0, 0)), 0);
    QCOMPARE(model.columnCount(model.index(0, 0)), 0);
}

void TestSummaryTableModel::resetsOnce()
{
    Model model;
    QSignalSpy before(&model, &QAbstractItemModel::modelAboutToBeReset);
    QSignalSpy after(&model, &QAbstractItemModel::modelReset);
    QSignalSpy rows(&model, &QAbstractItemModel::rowsInserted);
    model.fromJson(twoByTwo);
    QCOMPARE(before.count(), 1);
    QCOMPARE(after.count(), 1);
    model.fromJson(QByteArray());
    QCOMPARE(before.count(), 2);
    QCOMPARE(after.count(), 2);
    QCOMPARE(rows.count(), 0);
}

void TestSummaryTableModel::columnsWithoutRows()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    for (const char* reply : {R"({"columns": ["May", "June"]})", R"({"columns": ["May", "June"], "rows": []})"}) {
        model.fromJson(reply);
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(model.columnCount(), 3);
        QCOMPARE(model.headerData(2, Qt::Horizontal), QVariant(QStringLiteral("June")));
        QVERIFY(!model.data(model.at(0, 0)).isValid());
    }
}

void TestSummaryTableModel::rowsWithoutColumns()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    for (const char* reply : {R"({"rows": [{"title": "Beta", "values": [1]}]})",
                              R"({"columns": [], "rows": [{"title": "Beta", "values": []}]})"}) {
        model.fromJson(reply);
        QCOMPARE(model.rowCount(), 1);
        QCOMPARE(model.columnCount(), 1);
        for (int role :
             {Qt::DisplayRole, Qt::UserRole, Qt::TextAlignmentRole, Qt::BackgroundRole, Qt::ForegroundRole}) {
            QVERIFY(!model.index(0, 0).data(role).isValid());
        }
    }
}

void TestSummaryTableModel::unequalLengths()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.fromJson(R"({
        "columns": ["May", "June"],
        "rows": [
            {"title": "short", "values": [20]},
            {"title": "none", "values": []},
            {"title": "missing"},
            {"title": "no array", "values": {"0": 1}},
            {"title": "long", "values": [20, -20, 5]}
        ]
    })");
    const QList<int> lengths{1, 0, 0, 0, 2};
    QCOMPARE(model.rowCount(), lengths.size());
    QCOMPARE(model.columnCount(), 3);
    for (int row = 0; row < lengths.size(); ++row) {
        QVERIFY(model.index(row, 0).data().isValid());
        for (int column = 1; column <= 2; ++column) {
            const QModelIndex index = model.index(row, column);
            const bool there = column <= lengths.at(row);
            for (int role : {Qt::DisplayRole, Qt::UserRole, Qt::BackgroundRole}) {
                QCOMPARE(index.data(role).isValid(), there);
            }
            QCOMPARE(index.data(Qt::TextAlignmentRole), QVariant(132));
            QCOMPARE(index.data(Qt::ForegroundRole).value<QColor>(), QColor(Qt::black));
        }
    }
    QCOMPARE(model.index(0, 1).data(), QVariant(20));
    QCOMPARE(model.index(4, 2).data(), QVariant(-20));
}

void TestSummaryTableModel::sortsMissingValues()
{
    Model model;
    QSortFilterProxyModel proxy;
    proxy.setSortRole(Qt::UserRole);
    proxy.setSourceModel(&model);
    proxy.sort(1);
    model.fromJson(R"({"columns": ["May"], "rows": [{"title": "none"}, {"title": "hundred", "values": [100]},
        {"title": "none too"}, {"title": "nine", "values": [9]}, {"title": "below", "values": [-20]}]})");
    QStringList titles;
    for (int row = 0; row < proxy.rowCount(); ++row) {
        titles.append(proxy.index(row, 0).data().toString());
    }
    QCOMPARE(titles, (QStringList{QStringLiteral("below"), QStringLiteral("nine"), QStringLiteral("hundred"),
                                  QStringLiteral("none"), QStringLiteral("none too")}));
}

void TestSummaryTableModel::readsOddReplies_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("columns");
    QTest::newRow("empty") << QByteArray() << 0 << 1;
    QTest::newRow("page") << QByteArray("<html></html>") << 0 << 1;
    QTest::newRow("array") << QByteArray("[]") << 0 << 1;
    QTest::newRow("null") << QByteArray("null") << 0 << 1;
    QTest::newRow("text") << QByteArray(R"("rows")") << 0 << 1;
    QTest::newRow("empty object") << QByteArray("{}") << 0 << 1;
    QTest::newRow("cut") << twoByTwo.left(twoByTwo.size() / 2) << 0 << 1;
    QTest::newRow("with rubbish behind") << twoByTwo + "}" << 0 << 1;
    QTest::newRow("nulls") << QByteArray(R"({"columns": null, "rows": null})") << 0 << 1;
    QTest::newRow("numbers") << QByteArray(R"({"columns": 3, "rows": 4})") << 0 << 1;
    QTest::newRow("objects") << QByteArray(R"({"columns": {"0": "a"}, "rows": {"0": {}}})") << 0 << 1;
    QTest::newRow("odd columns") << QByteArray(R"({"columns": [7, null, {}]})") << 0 << 4;
    QTest::newRow("odd rows") << QByteArray(R"({"columns": [""], "rows": [7, null, "m", [], {}]})") << 5 << 2;
    QTest::newRow("odd texts") << QByteArray(R"({"columns": [""], "rows": [{"title": [], "values": 5}]})") << 1 << 2;
}

void TestSummaryTableModel::readsOddReplies()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, rows);
    QFETCH(int, columns);
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.fromJson(twoByTwo);
    model.fromJson(reply);
    QCOMPARE(model.rowCount(), rows);
    QCOMPARE(model.columnCount(), columns);
    for (int column = 1; column < columns; ++column) {
        QCOMPARE(model.headerData(column, Qt::Horizontal), QVariant(QString()));
    }
    for (int row = 0; row < rows; ++row) {
        QCOMPARE(model.index(row, 0).data(), QVariant(QString()));
        QVERIFY(!model.index(row, 1).data().isValid());
    }
    model.fromJson(twoByTwo);
    QCOMPARE(model.rowCount(), 2);
    QCOMPARE(model.columnCount(), 3);
}

void TestSummaryTableModel::replacesTheTable()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.fromJson(twoByTwo);
    model.fromJson(R"({"columns": ["July"], "rows": [{"title": "new", "values": [8]}]})");
    QCOMPARE(model.rowCount(), 1);
    QCOMPARE(model.columnCount(), 2);
    QCOMPARE(model.index(0, 0).data(), QVariant(QStringLiteral("new")));
    QCOMPARE(model.index(0, 1).data(), QVariant(8));
    QCOMPARE(model.headerData(1, Qt::Horizontal), QVariant(QStringLiteral("July")));
}

void TestSummaryTableModel::readsManyRows()
{
    constexpr int count = 10000;
    QByteArray reply = R"({"columns": ["a", "b"], "rows": [)";
    for (int row = 0; row < count; ++row) {
        const QByteArray number = QByteArray::number(row);
        reply += (row == 0 ? "" : ", ") + QByteArray(R"({"title": ")") + number + R"(", "values": [)" + number + ", -" +
                 number + "]}";
    }
    Model model;
    model.fromJson(reply + "]}");
    QCOMPARE(model.rowCount(), count);
    QCOMPARE(model.index(count - 1, 0).data(), QVariant(QString::number(count - 1)));
    QCOMPARE(model.index(count - 1, 1).data(), QVariant(count - 1));
    QCOMPARE(model.index(count - 1, 2).data(), QVariant(1 - count));
}

QTEST_GUILESS_MAIN(TestSummaryTableModel)

#include "TestSummaryTableModel.moc"
