// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/AnalysisModel.h"
#include "analysis/AnalysisProxyModel.h"
#include "tests/support/MessageGuard.h"

#include <QAbstractItemModelTester>
#include <QColor>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTest>

#include <algorithm>
#include <memory>
#include <random>

namespace {

/// Makes indexes that the model itself would not hand out. The tester refuses a root that is enabled, which this model
/// has on purpose, so the root is the one thing that is hidden from it.
class Model : public AnalysisModel
{
public:
    Model()
        : AnalysisModel(nullptr)
    {
    }
    QModelIndex at(int row, int column) const { return createIndex(row, column); }
    Qt::ItemFlags flags(const QModelIndex& index) const override
    {
        return index.isValid() ? AnalysisModel::flags(index) : Qt::NoItemFlags;
    }
    Qt::ItemFlags rootFlags() const { return AnalysisModel::flags(QModelIndex()); }
};

const QByteArray twoByTwo = QByteArrayLiteral(R"({
    "columns": ["2024-05-06T07:08:09Z", "2023-12-31T23:59:58+03:00"],
    "rows": [
        {"id": "m1", "title": "Beta", "values": [50, -3]},
        {"id": "m2", "title": "alpha", "values": [7, 140]}
    ]
})");

QVariantList shown(const QAbstractItemModel& model)
{
    QVariantList all;
    for (int row = 0; row < model.rowCount(); ++row) {
        for (int column = 0; column < model.columnCount(); ++column) {
            all.append(model.index(row, column).data());
        }
    }
    return all;
}

} // namespace

class TestAnalysisModel : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void startsEmpty();
    void showsCells_data();
    void showsCells();
    void hasHeaders_data();
    void hasHeaders();
    void hasFlags();
    void staysInsideTheTable();
    void resetsOnce();
    void columnsWithoutRows();
    void rowsWithoutColumns();
    void sameIdShowsTheFirst();
    void readsDates_data();
    void readsDates();
    void readsValues_data();
    void readsValues();
    void unequalLengths();
    void readsOddReplies_data();
    void readsOddReplies();
    void replacesTheTable();
    void sortsAsTheBaseClassDoes_data();
    void sortsAsTheBaseClassDoes();
    void sortsTitlesThatBeginAlike();
    void proxySortsOtherModels();

private:
    std::unique_ptr<MessageGuard> guard;
};

void TestAnalysisModel::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
}

void TestAnalysisModel::cleanup()
{
    guard->verify();
}

void TestAnalysisModel::startsEmpty()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.columnCount(), 0);
    for (int role : {Qt::DisplayRole, Qt::UserRole, Qt::BackgroundRole, Qt::TextAlignmentRole}) {
        QVERIFY(!model.data(model.at(0, 0), role).isValid());
        QVERIFY(!model.data(model.at(0, 1), role).isValid());
    }
    QCOMPARE(model.headerData(0, Qt::Horizontal), QVariant(QStringLiteral("Text.marker")));
    QVERIFY(!model.headerData(1, Qt::Horizontal).isValid());
}

void TestAnalysisModel::showsCells_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<QVariant>("text");
    QTest::addColumn<int>("alignment");
    QTest::newRow("first title") << 0 << 0 << QVariant(QStringLiteral("Beta")) << 129;
    QTest::newRow("second title") << 1 << 0 << QVariant(QStringLiteral("alpha")) << 129;
    QTest::newRow("first marker, first record") << 0 << 1 << QVariant(50) << 132;
    QTest::newRow("first marker, second record") << 0 << 2 << QVariant(-3) << 132;
    QTest::newRow("second marker, first record") << 1 << 1 << QVariant(7) << 132;
    QTest::newRow("second marker, second record") << 1 << 2 << QVariant(140) << 132;
}

void TestAnalysisModel::showsCells()
{
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(QVariant, text);
    QFETCH(int, alignment);
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
    QCOMPARE(index.data(Qt::BackgroundRole).value<QColor>(), QColor(Qt::white));
    for (int role : {Qt::DecorationRole, Qt::EditRole, Qt::ToolTipRole, Qt::ForegroundRole, Qt::FontRole,
                     Qt::CheckStateRole, Qt::SizeHintRole, Qt::InitialSortOrderRole}) {
        QVERIFY2(!index.data(role).isValid(), qPrintable(QString::number(role)));
    }
}

void TestAnalysisModel::hasHeaders_data()
{
    QTest::addColumn<int>("section");
    QTest::addColumn<QVariant>("text");
    QTest::newRow("before") << -1 << QVariant();
    QTest::newRow("marker") << 0 << QVariant(QStringLiteral("Text.marker"));
    QTest::newRow("first record") << 1 << QVariant(QStringLiteral("2024-05-06 07:08:09"));
    QTest::newRow("second record") << 2 << QVariant(QStringLiteral("2023-12-31 23:59:58"));
    QTest::newRow("behind") << 3 << QVariant();
}

void TestAnalysisModel::hasHeaders()
{
    QFETCH(int, section);
    QFETCH(QVariant, text);
    Model model;
    model.fromJson(twoByTwo);
    QCOMPARE(model.headerData(section, Qt::Horizontal, Qt::DisplayRole), text);
    QVERIFY(!model.headerData(section, Qt::Vertical, Qt::DisplayRole).isValid());
    for (int role : {Qt::ToolTipRole, Qt::UserRole, Qt::EditRole, Qt::TextAlignmentRole, Qt::DecorationRole}) {
        QVERIFY(!model.headerData(section, Qt::Horizontal, role).isValid());
    }
}

void TestAnalysisModel::hasFlags()
{
    Model model;
    model.fromJson(twoByTwo);
    QCOMPARE(model.rootFlags(), Qt::ItemFlags(Qt::ItemIsEnabled));
    for (int column = 0; column < 3; ++column) {
        QCOMPARE(model.flags(model.index(0, column)),
                 Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren);
    }
}

void TestAnalysisModel::staysInsideTheTable()
{
    Model model;
    model.fromJson(twoByTwo);
    QVERIFY(!model.data(QModelIndex()).isValid());
    QVERIFY(!model.data(model.at(2, 0)).isValid());
    QVERIFY(!model.data(model.at(2, 1)).isValid());
    QVERIFY(!model.data(model.at(0, 3)).isValid());
    QCOMPARE(model.index(1, 2), model.at(1, 2));
    for (const QPair<int, int>& place : {qMakePair(-1, 0), qMakePair(0, -1), qMakePair(2, 0), qMakePair(0, 3)}) {
        QVERIFY(!model.index(place.first, place.second).isValid());
    }
    // A cell is no table.
    QVERIFY(!model.index(0, 0, model.index(0, 0)).isValid());
    QCOMPARE(model.rowCount(model.index(0, 0)), 0);
    QCOMPARE(model.columnCount(model.index(0, 0)), 0);
}

void TestAnalysisModel::resetsOnce()
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

void TestAnalysisModel::columnsWithoutRows()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    for (const char* reply : {R"({"columns": ["2024-05-06T07:08:09Z", "2024-05-07T07:08:09Z"]})",
                              R"({"columns": ["2024-05-06T07:08:09Z", "2024-05-07T07:08:09Z"], "rows": []})"}) {
        model.fromJson(reply);
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(model.columnCount(), 0);
        QVERIFY(!model.data(model.at(0, 0), Qt::DisplayRole).isValid());
        QVERIFY(!model.data(model.at(0, 0), Qt::UserRole).isValid());
        QVERIFY(!model.data(model.at(0, 1), Qt::DisplayRole).isValid());
    }
}

void TestAnalysisModel::rowsWithoutColumns()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    for (const char* reply : {R"({"rows": [{"id": "m1", "title": "Beta", "values": [50]}, {"id": "m2"}]})",
                              R"({"columns": [], "rows": [{"id": "m1", "title": "Beta", "values": []}, {}]})"}) {
        model.fromJson(reply);
        QCOMPARE(model.rowCount(), 2);
        QCOMPARE(model.columnCount(), 1);
        QCOMPARE(model.index(0, 0).data(), QVariant(QStringLiteral("Beta")));
        QCOMPARE(model.index(1, 0).data(), QVariant(QString()));
        QVERIFY(!model.data(model.at(0, 1)).isValid());
    }
}

void TestAnalysisModel::sameIdShowsTheFirst()
{
    Model model;
    model.fromJson(R"({
        "columns": ["2024-05-06T07:08:09Z", "2024-05-07T07:08:09Z"],
        "rows": [
            {"id": "x", "title": "one", "values": [1, 2]},
            {"id": "y", "title": "two", "values": [3, 4]},
            {"id": "x", "title": "three", "values": [5, 6]},
            {"title": "four", "values": [7, 8]},
            {"id": "", "title": "five", "values": [9, 10]}
        ]
    })");
    const QVariantList expected{QStringLiteral("one"),   1, 2, QStringLiteral("two"),  3, 4,
                                QStringLiteral("three"), 1, 2, QStringLiteral("four"), 7, 8,
                                QStringLiteral("five"),  7, 8};
    QCOMPARE(shown(model), expected);
}

void TestAnalysisModel::readsDates_data()
{
    QTest::addColumn<QByteArray>("date");
    QTest::addColumn<QString>("header");
    QTest::newRow("UTC") << QByteArray(R"("2024-05-06T07:08:09Z")") << QStringLiteral("2024-05-06 07:08:09");
    QTest::newRow("milliseconds") << QByteArray(R"("2024-05-06T07:08:09.987Z")")
                                  << QStringLiteral("2024-05-06 07:08:09");
    QTest::newRow("offset stays") << QByteArray(R"("2024-05-06T23:08:09+05:30")")
                                  << QStringLiteral("2024-05-06 23:08:09");
    QTest::newRow("local") << QByteArray(R"("2024-05-06T07:08:09")") << QStringLiteral("2024-05-06 07:08:09");
    QTest::newRow("date alone") << QByteArray(R"("2024-05-06")") << QStringLiteral("2024-05-06 00:00:00");
    QTest::newRow("no such day") << QByteArray(R"("2024-02-30T07:08:09Z")") << QString();
    QTest::newRow("words") << QByteArray(R"("yesterday")") << QString();
    QTest::newRow("empty") << QByteArray(R"("")") << QString();
    QTest::newRow("number") << QByteArray("1714979289") << QString();
    QTest::newRow("null") << QByteArray("null") << QString();
    QTest::newRow("object") << QByteArray("{}") << QString();
}

void TestAnalysisModel::readsDates()
{
    QFETCH(QByteArray, date);
    QFETCH(QString, header);
    Model model;
    model.fromJson(R"({"columns": [)" + date + R"(], "rows": [{"id": "m", "title": "t", "values": [5]}]})");
    QCOMPARE(model.columnCount(), 2);
    QCOMPARE(model.headerData(1, Qt::Horizontal), QVariant(header));
    QCOMPARE(model.index(0, 1).data(), QVariant(5));
}

void TestAnalysisModel::readsValues_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<int>("read");
    QTest::newRow("integer") << QByteArray("42") << 42;
    QTest::newRow("negative") << QByteArray("-42") << -42;
    QTest::newRow("with a point") << QByteArray("42.0") << 42;
    QTest::newRow("greatest") << QByteArray("2147483647") << 2147483647;
    QTest::newRow("least") << QByteArray("-2147483648") << -2147483647 - 1;
    QTest::newRow("fraction") << QByteArray("42.5") << 0;
    QTest::newRow("too great") << QByteArray("2147483648") << 0;
    QTest::newRow("huge") << QByteArray("1e300") << 0;
    QTest::newRow("text") << QByteArray(R"("42")") << 0;
    QTest::newRow("true") << QByteArray("true") << 0;
    QTest::newRow("null") << QByteArray("null") << 0;
    QTest::newRow("array") << QByteArray("[42]") << 0;
}

void TestAnalysisModel::readsValues()
{
    QFETCH(QByteArray, value);
    QFETCH(int, read);
    Model model;
    model.fromJson(R"({"columns": ["", ""], "rows": [{"id": "m", "title": "t", "values": [)" + value + ", 7]}]}");
    QCOMPARE(model.index(0, 1).data(), QVariant(read));
    QCOMPARE(model.index(0, 2).data(), QVariant(7));
}

void TestAnalysisModel::unequalLengths()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.fromJson(R"({
        "columns": ["2024-05-06T07:08:09Z", "2024-05-07T07:08:09Z"],
        "rows": [
            {"id": "a", "title": "short", "values": [1]},
            {"id": "b", "title": "none", "values": []},
            {"id": "c", "title": "missing"},
            {"id": "d", "title": "no array", "values": {"0": 1}},
            {"id": "e", "title": "long", "values": [2, 3, 4]}
        ]
    })");
    const QVariantList expected{QStringLiteral("short"),   1, 0, QStringLiteral("none"),     0, 0,
                                QStringLiteral("missing"), 0, 0, QStringLiteral("no array"), 0, 0,
                                QStringLiteral("long"),    2, 3};
    QCOMPARE(shown(model), expected);
}

void TestAnalysisModel::readsOddReplies_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("columns");
    QTest::newRow("empty") << QByteArray() << 0 << 0;
    QTest::newRow("page") << QByteArray("<html></html>") << 0 << 0;
    QTest::newRow("array") << QByteArray("[]") << 0 << 0;
    QTest::newRow("null") << QByteArray("null") << 0 << 0;
    QTest::newRow("text") << QByteArray(R"("rows")") << 0 << 0;
    QTest::newRow("empty object") << QByteArray("{}") << 0 << 0;
    QTest::newRow("cut") << twoByTwo.left(twoByTwo.size() / 2) << 0 << 0;
    QTest::newRow("with rubbish behind") << twoByTwo + "}" << 0 << 0;
    QTest::newRow("nulls") << QByteArray(R"({"columns": null, "rows": null})") << 0 << 0;
    QTest::newRow("numbers") << QByteArray(R"({"columns": 3, "rows": 4})") << 0 << 0;
    QTest::newRow("objects") << QByteArray(R"({"columns": {"0": "a"}, "rows": {"0": {}}})") << 0 << 0;
    QTest::newRow("odd rows") << QByteArray(R"({"columns": [7, null], "rows": [7, null, "m", [], {}]})") << 5 << 3;
    QTest::newRow("odd texts") << QByteArray(R"({"columns": [""], "rows": [{"id": 7, "title": []}]})") << 1 << 2;
}

void TestAnalysisModel::readsOddReplies()
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
    for (int row = 0; row < rows; ++row) {
        QCOMPARE(model.index(row, 0).data(), QVariant(QString()));
        for (int column = 1; column < columns; ++column) {
            QCOMPARE(model.index(row, column).data(), QVariant(0));
        }
    }
    model.fromJson(twoByTwo);
    QCOMPARE(model.rowCount(), 2);
    QCOMPARE(model.columnCount(), 3);
}

void TestAnalysisModel::replacesTheTable()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.fromJson(twoByTwo);
    model.fromJson(R"({"columns": ["2024-01-01T00:00:00Z"], "rows": [{"id": "m2", "title": "new", "values": [8]}]})");
    QCOMPARE(shown(model), (QVariantList{QStringLiteral("new"), 8}));
    QCOMPARE(model.headerData(1, Qt::Horizontal), QVariant(QStringLiteral("2024-01-01 00:00:00")));
    QVERIFY(!model.headerData(2, Qt::Horizontal).isValid());
}

void TestAnalysisModel::sortsAsTheBaseClassDoes_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<Qt::SortOrder>("order");
    for (int column = 0; column <= 3; ++column) {
        QTest::addRow("%d ascending", column) << column << Qt::AscendingOrder;
        QTest::addRow("%d descending", column) << column << Qt::DescendingOrder;
    }
}

void TestAnalysisModel::sortsAsTheBaseClassDoes()
{
    QFETCH(int, column);
    QFETCH(Qt::SortOrder, order);
    // Few different values and titles in either case, so that equal cells show whether the order is stable.
    std::mt19937 generator(1);
    std::uniform_int_distribution<int> value(-20, 120);
    QJsonArray rows;
    for (int row = 0; row < 300; ++row) {
        const QString title = QString(QLatin1Char(char((row % 2 == 0 ? 'a' : 'A') + row * 7 % 13)));
        rows.append(QJsonObject{
            {QStringLiteral("id"), QString::number(row % 250)},
            {QStringLiteral("title"), title},
            {QStringLiteral("values"), QJsonArray{value(generator), value(generator) / 10, value(generator)}},
        });
    }
    const QJsonArray columns{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
    AnalysisModel model(nullptr);
    AnalysisProxyModel proxy(nullptr);
    QSortFilterProxyModel base;
    for (QSortFilterProxyModel* one : {static_cast<QSortFilterProxyModel*>(&proxy), &base}) {
        one->setSortRole(Qt::UserRole);
        one->setSourceModel(&model);
        one->sort(column, order);
    }
    // As on the screen, the rows come when the order is chosen already.
    model.fromJson(
        QJsonDocument(QJsonObject{{QStringLiteral("columns"), columns}, {QStringLiteral("rows"), rows}}).toJson());
    QCOMPARE(proxy.rowCount(), 300);
    int moved = 0;
    for (int row = 0; row < 300; ++row) {
        const int source = proxy.mapToSource(proxy.index(row, 0)).row();
        QCOMPARE(source, base.mapToSource(base.index(row, 0)).row());
        moved += source == row ? 0 : 1;
    }
    QVERIFY(moved > 250);
}

void TestAnalysisModel::sortsTitlesThatBeginAlike()
{
    QStringList titles{QStringLiteral("Marker 10"),       QStringLiteral("Marker 9"),
                       QStringLiteral("Marker 1"),        QStringLiteral("Marker "),
                       QStringLiteral("Marker 12345 b"),  QStringLiteral("Marker 12345 a"),
                       QStringLiteral("Marker 12345"),    QStringLiteral("Marker 1234"),
                       QStringLiteral("Marker \u044f"),   QStringLiteral("Marker \u00e9"),
                       QStringLiteral("Marker 12345 a"),  QStringLiteral("Marker z"),
                       QStringLiteral("Marker 1\u0001"),  QStringLiteral("Marker \u0410\u0411"),
                       QStringLiteral("Marker 12345 aa"), QStringLiteral("Marker Z")};
    titles.append(QStringLiteral("Marker 1") + QChar(0) + QLatin1Char('x'));
    titles.append(QStringLiteral("Marker 1") + QChar(0));
    QJsonArray rows;
    for (const QString& title : qAsConst(titles)) {
        rows.append(
            QJsonObject{{QStringLiteral("id"), QString::number(rows.size())}, {QStringLiteral("title"), title}});
    }
    AnalysisModel model(nullptr);
    AnalysisProxyModel proxy(nullptr);
    proxy.setSortRole(Qt::UserRole);
    proxy.setSourceModel(&model);
    proxy.sort(0);
    for (const bool withShort : {false, true}) {
        if (withShort) {
            titles.append(QStringLiteral("Mar"));
            titles.append(QString());
            rows.append(
                QJsonObject{{QStringLiteral("id"), QStringLiteral("s")}, {QStringLiteral("title"), titles.at(18)}});
            rows.append(QJsonObject{{QStringLiteral("id"), QStringLiteral("t")}});
        }
        model.fromJson(QJsonDocument(QJsonObject{{QStringLiteral("columns"), QJsonArray{QStringLiteral("a")}},
                                                 {QStringLiteral("rows"), rows}})
                           .toJson());
        QStringList sorted;
        for (int row = 0; row < proxy.rowCount(); ++row) {
            sorted.append(proxy.index(row, 0).data().toString());
        }
        QStringList expected = titles;
        std::stable_sort(expected.begin(), expected.end());
        QCOMPARE(sorted, expected);
    }
}

void TestAnalysisModel::proxySortsOtherModels()
{
    QStandardItemModel model(3, 1);
    const QList<int> values{9, 100, 20};
    for (int row = 0; row < 3; ++row) {
        model.setData(model.index(row, 0), values.at(row), Qt::UserRole);
    }
    AnalysisModel analysis(nullptr);
    analysis.fromJson(twoByTwo);
    AnalysisProxyModel proxy(nullptr);
    proxy.setSortRole(Qt::UserRole);
    proxy.setSourceModel(&analysis);
    proxy.sort(0);
    QCOMPARE(proxy.index(0, 0).data(), QVariant(QStringLiteral("Beta")));
    proxy.setSourceModel(&model);
    QCOMPARE(proxy.index(0, 0).data(Qt::UserRole), QVariant(9));
    QCOMPARE(proxy.index(1, 0).data(Qt::UserRole), QVariant(20));
    QCOMPARE(proxy.index(2, 0).data(Qt::UserRole), QVariant(100));
}

QTEST_GUILESS_MAIN(TestAnalysisModel)

#include "TestAnalysisModel.moc"
