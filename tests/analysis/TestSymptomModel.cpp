// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/SymptomDelegate.h"
#include "analysis/SymptomModel.h"
#include "model/SymptomsTable.h"
#include "tests/analysis/SymptomFixtures.h"
#include "tests/support/MessageGuard.h"

#include <QAbstractItemModelTester>
#include <QColor>
#include <QComboBox>
#include <QFont>
#include <QItemSelectionModel>
#include <QPersistentModelIndex>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

#include <algorithm>
#include <limits>
#include <memory>

using namespace SymptomFixtures;

namespace {

/// Makes indexes that the model itself would not hand out. The tester refuses a root that is enabled, which this model
/// has on purpose, so the root is the one thing that is hidden from it.
class Model : public SymptomModel
{
public:
    explicit Model(QObject* parent = nullptr)
        : SymptomModel(parent)
    {
    }
    QModelIndex at(int row, int column) const { return createIndex(row, column); }
    Qt::ItemFlags flags(const QModelIndex& index) const override
    {
        return index.isValid() ? SymptomModel::flags(index) : Qt::NoItemFlags;
    }
    Qt::ItemFlags rootFlags() const { return SymptomModel::flags(QModelIndex()); }
};

/// One date and one symptom of this intensity, as JSON.
QJsonObject one(const QByteArray& intensity)
{
    return object(R"({"dates": {"r1": "2024-05-06"}, "rows": [{"id": 1, "symptom": "Cough", "intensities": {)" +
                  (intensity.isEmpty() ? QByteArray() : "\"r1\": " + intensity) + "}}]}");
}

/// Everything that a model tells its views, and onChange.
class Spies
{
public:
    explicit Spies(SymptomModel* model)
        : change(model, &SymptomModel::onChange)
        , data(model, &QAbstractItemModel::dataChanged)
        , reset(model, &QAbstractItemModel::modelReset)
        , inserted(model, &QAbstractItemModel::rowsInserted)
        , removed(model, &QAbstractItemModel::rowsRemoved)
    {
    }
    QList<int> counts() const
    {
        return {change.count(), data.count(), reset.count(), inserted.count(), removed.count()};
    }

    QSignalSpy change;
    QSignalSpy data;
    QSignalSpy reset;
    QSignalSpy inserted;
    QSignalSpy removed;
};

const QList<int> everyRole{
    Qt::DisplayRole,    Qt::DecorationRole, Qt::EditRole,       Qt::ToolTipRole,    Qt::StatusTipRole,
    Qt::WhatsThisRole,  Qt::FontRole,       Qt::BackgroundRole, Qt::ForegroundRole, Qt::TextAlignmentRole,
    Qt::CheckStateRole, Qt::SizeHintRole,   Qt::UserRole,       Qt::UserRole + 1,
};

} // namespace

class TestSymptomModel : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void startsEmpty();
    void ownsItsTable();
    void passesTheTester();
    void showsHeadRows_data();
    void showsHeadRows();
    void showsTitles();
    void showsStrengths_data();
    void showsStrengths();
    void headRowsAreNoStrengths();
    void hasNothingElse_data();
    void hasNothingElse();
    void readsStrengths_data();
    void readsStrengths();
    void setsData_data();
    void setsData();
    void setsWhatItIsGiven_data();
    void setsWhatItIsGiven();
    void hasHeaders();
    void hasFlags_data();
    void hasFlags();
    void judgesIndexes();
    void loadsWithoutAWord();
    void loadsOddReplies_data();
    void loadsOddReplies();
    void appends();
    void appendsTheFirst_data();
    void appendsTheFirst();
    void removes();
    void removesTheLast();
    void doesNotRemove_data();
    void doesNotRemove();
    void keepsPersistentIndexes();
    void writesWithoutAView();
    void writingClosesTheEditor_data();
    void writingClosesTheEditor();

private:
    KeysWithContext translator;
    std::unique_ptr<MessageGuard> guard;
};

void TestSymptomModel::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    QCoreApplication::installTranslator(&translator);
}

void TestSymptomModel::cleanup()
{
    guard->verify();
}

void TestSymptomModel::startsEmpty()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.columnCount(), 0);
    for (const int role : everyRole) {
        QVERIFY(!model.data(model.at(0, 0), role).isValid());
        QVERIFY(!model.data(QModelIndex(), role).isValid());
    }
    QVERIFY(!model.setData(model.at(2, 1), 1, Qt::DisplayRole));
    QCOMPARE(object(model.toJson()), QJsonObject());
}

void TestSymptomModel::ownsItsTable()
{
    Model model;
    QVERIFY(model.getSymptomsTable() != nullptr);
    QCOMPARE(model.getSymptomsTable()->parent(), static_cast<QObject*>(&model));
    model.fromJSON(object(usual));
    QCOMPARE(model.rowCount(), model.getSymptomsTable()->rowCount());
    QCOMPARE(model.columnCount(), model.getSymptomsTable()->columnCount());
    QCOMPARE(model.rowCount(), 6);
    QCOMPARE(model.columnCount(), 3);
    QCOMPARE(model.rowCount(model.index(2, 0)), 0);
    QCOMPARE(model.columnCount(model.index(2, 0)), 0);
}

void TestSymptomModel::passesTheTester()
{
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.appendSymptom(Symptom(-1, QStringLiteral("first"), true));
    model.appendSymptom(Symptom(-1, QStringLiteral("second"), true));
    model.removeSymptom(2);
    model.removeSymptom(2);
    QCOMPARE(model.rowCount(), 0);
    model.fromJSON(object(usual));
    model.appendSymptom(Symptom(-1, QStringLiteral("third"), true));
    QVERIFY(model.setData(model.index(6, 1), 2, Qt::DisplayRole));
    model.removeSymptom(4);
    model.removeSymptom(2);
    model.removeSymptom(5);
    model.removeSymptom(4);
    QCOMPARE(model.rowCount(), 4);
    model.fromJSON(object(R"({"dates": {"r1": "2024-05-06"}})"));
    model.appendSymptom(Symptom(-1, QStringLiteral("only"), true));
    QCOMPARE(model.rowCount(), 3);
    model.removeSymptom(2);
    QCOMPARE(model.rowCount(), 0);
    model.fromJSON(object(R"({"rows": [{"id": 1}]})"));
    QCOMPARE(model.rowCount(), 3);
    QCOMPARE(model.columnCount(), 0);
    model.fromJSON(QJsonObject());
}

void TestSymptomModel::showsHeadRows_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("complaints") << 0 << 0 << QVariant(QStringLiteral("SymptomsTable/Text.complaintsNumber"));
    QTest::newRow("severity") << 1 << 0 << QVariant(QStringLiteral("SymptomsTable/Text.severity"));
    QTest::newRow("complaints of the first") << 0 << 1 << QVariant(2.0F);
    QTest::newRow("complaints of the second") << 0 << 2 << QVariant(3.0F);
    QTest::newRow("severity of the first") << 1 << 1 << QVariant(3.0F);
    QTest::newRow("severity of the second") << 1 << 2 << QVariant(6.0F);
}

void TestSymptomModel::showsHeadRows()
{
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(QVariant, value);
    Model model;
    model.fromJSON(object(usual));
    const QModelIndex index = model.index(row, column);
    QCOMPARE(model.data(index, Qt::DisplayRole), value);
    QCOMPARE(model.data(index, Qt::EditRole), value);
    QFont bold;
    bold.setWeight(75);
    QCOMPARE(model.data(index, Qt::FontRole).value<QFont>(), bold);
    QCOMPARE(model.data(index, Qt::FontRole).value<QFont>().weight(), 75);
    QCOMPARE(model.data(index, Qt::BackgroundRole).value<QColor>(), QColor(224, 251, 246));
    QCOMPARE(model.data(index, Qt::ForegroundRole).value<QColor>(), QColor(23, 132, 103));
}

void TestSymptomModel::showsTitles()
{
    Model model;
    model.fromJSON(object(usual));
    const QStringList titles{QStringLiteral("Cough"), QStringLiteral("Ache"), QStringLiteral("Mine"),
                             QStringLiteral("Yours")};
    for (int row = 2; row < model.rowCount(); ++row) {
        const QModelIndex index = model.index(row, 0);
        QCOMPARE(model.data(index, Qt::DisplayRole), QVariant(titles.at(row - 2)));
        QCOMPARE(model.data(index, Qt::EditRole), QVariant(titles.at(row - 2)));
        QVERIFY(!model.data(index, Qt::FontRole).isValid());
        QVERIFY(!model.data(index, Qt::BackgroundRole).isValid());
        QCOMPARE(model.data(index, Qt::ForegroundRole).value<QColor>(), QColor(0x41, 0x41, 0x41));
    }
    // A title that looks like a number is still a title.
    model.fromJSON(object(R"({"dates": {"r1": "2024-05-06"}, "rows": [{"symptom": "2"}]})"));
    QCOMPARE(model.data(model.index(2, 0), Qt::DisplayRole), QVariant(QStringLiteral("2")));
    QVERIFY(!model.data(model.index(2, 0), Qt::BackgroundRole).isValid());
}

void TestSymptomModel::showsStrengths_data()
{
    QTest::addColumn<QByteArray>("intensity");
    QTest::addColumn<QVariant>("shown");
    QTest::addColumn<QVariant>("edited");
    QTest::addColumn<QColor>("background");
    const QVariant none = QStringLiteral("SymptomModel/Complaint.none");
    const QVariant periodic = QStringLiteral("SymptomModel/Complaint.periodic");
    const QVariant moderate = QStringLiteral("SymptomModel/Complaint.moderate");
    const QVariant expressed = QStringLiteral("SymptomModel/Complaint.expressed");
    const QColor yellow(254, 202, 80);
    const QColor red(255, 84, 85);
    const QColor purple(173, 87, 255);
    QTest::newRow("0") << QByteArray("0") << none << QVariant(0.0F) << QColor();
    QTest::newRow("1") << QByteArray("1") << periodic << QVariant(1.0F) << yellow;
    QTest::newRow("2") << QByteArray("2") << moderate << QVariant(2.0F) << red;
    QTest::newRow("3") << QByteArray("3") << expressed << QVariant(3.0F) << purple;
    QTest::newRow("missing") << QByteArray() << none << QVariant() << QColor();
    QTest::newRow("4") << QByteArray("4") << QVariant(4.0F) << QVariant(4.0F) << QColor();
    QTest::newRow("5.25") << QByteArray("5.25") << QVariant(5.25F) << QVariant(5.25F) << QColor();
    // Read as whole numbers, rounded.
    QTest::newRow("0.4") << QByteArray("0.4") << none << QVariant(0.4F) << QColor();
    QTest::newRow("1.4") << QByteArray("1.4") << periodic << QVariant(1.4F) << yellow;
    QTest::newRow("1.6") << QByteArray("1.6") << moderate << QVariant(1.6F) << red;
    QTest::newRow("3.4") << QByteArray("3.4") << expressed << QVariant(3.4F) << purple;
    QTest::newRow("3.6") << QByteArray("3.6") << QVariant(3.6F) << QVariant(3.6F) << QColor();
    QTest::newRow("-0.4") << QByteArray("-0.4") << none << QVariant(-0.4F) << QColor();
    // A negative one shows the number of complaints, which is 0 here.
    QTest::newRow("-1") << QByteArray("-1") << QVariant(0.0F) << QVariant(-1.0F) << QColor();
    QTest::newRow("-3") << QByteArray("-3") << QVariant(0.0F) << QVariant(-3.0F) << QColor();
    // 2 to the power of 32, and 1 more than int holds.
    QTest::newRow("2^32") << QByteArray("4294967296") << QVariant(4294967296.0F) << QVariant(4294967296.0F) << QColor();
    QTest::newRow("2^31") << QByteArray("2147483648") << QVariant(2147483648.0F) << QVariant(2147483648.0F) << QColor();
    QTest::newRow("-2^32") << QByteArray("-4294967296") << QVariant(0.0F) << QVariant(-4294967296.0F) << QColor();
    const float most = std::numeric_limits<float>::max();
    QTest::newRow("1e300") << QByteArray("1e300") << QVariant(most) << QVariant(most) << QColor();
    QTest::newRow("-1e300") << QByteArray("-1e300") << QVariant(0.0F) << QVariant(-most) << QColor();
}

void TestSymptomModel::showsStrengths()
{
    QFETCH(QByteArray, intensity);
    QFETCH(QVariant, shown);
    QFETCH(QVariant, edited);
    QFETCH(QColor, background);
    Model model;
    model.fromJSON(one(intensity));
    const QModelIndex index = model.index(2, 1);
    QCOMPARE(model.data(index, Qt::DisplayRole), shown);
    QCOMPARE(model.data(index, Qt::EditRole), edited);
    QCOMPARE(model.data(index, Qt::BackgroundRole).isValid(), background.isValid());
    QCOMPARE(model.data(index, Qt::BackgroundRole).value<QColor>(), background);
    QVERIFY(!model.data(index, Qt::FontRole).isValid());
    QCOMPARE(model.data(index, Qt::ForegroundRole).value<QColor>(), QColor(0x41, 0x41, 0x41));
}

void TestSymptomModel::headRowsAreNoStrengths()
{
    Model model;
    model.fromJSON(one("1"));
    for (int row : {0, 1}) {
        QCOMPARE(model.data(model.index(row, 1), Qt::DisplayRole), QVariant(1.0F));
        QCOMPARE(model.data(model.index(row, 1), Qt::BackgroundRole).value<QColor>(), QColor(224, 251, 246));
    }
    // A negative value in a body cell shows the complaints of its own column.
    model.fromJSON(object(R"({"dates": {"r1": "2024-05-06", "r2": "2024-05-07"}, "rows": [
        {"intensities": {"r1": -1, "r2": 3}}, {"intensities": {"r1": 2}}, {"intensities": {"r1": 2}}]})"));
    QCOMPARE(model.data(model.index(2, 1), Qt::DisplayRole), QVariant(2.0F));
}

void TestSymptomModel::hasNothingElse_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::newRow("head title") << 0 << 0;
    QTest::newRow("head cell") << 1 << 1;
    QTest::newRow("title") << 2 << 0;
    QTest::newRow("cell") << 3 << 2;
}

void TestSymptomModel::hasNothingElse()
{
    QFETCH(int, row);
    QFETCH(int, column);
    Model model;
    model.fromJSON(object(usual));
    for (const int role : everyRole) {
        const bool known = role == Qt::DisplayRole || role == Qt::EditRole || role == Qt::FontRole ||
                           role == Qt::BackgroundRole || role == Qt::ForegroundRole;
        if (!known) {
            QVERIFY2(!model.data(model.index(row, column), role).isValid(), qPrintable(QString::number(role)));
        }
    }
}

void TestSymptomModel::readsStrengths_data()
{
    QTest::addColumn<QVariant>("intensity");
    QTest::addColumn<int>("strength");
    const float infinity = std::numeric_limits<float>::infinity();
    QTest::newRow("none") << QVariant() << 0;
    QTest::newRow("0") << QVariant(0.0F) << 0;
    QTest::newRow("rounded up") << QVariant(2.5F) << 3;
    QTest::newRow("rounded down") << QVariant(2.25F) << 2;
    QTest::newRow("negative") << QVariant(-1.0F) << -1;
    QTest::newRow("large") << QVariant(1e6F) << 1000000;
    QTest::newRow("beyond int") << QVariant(4294967296.0F) << 1000000000;
    QTest::newRow("beyond int, negative") << QVariant(-4294967296.0F) << -1000000000;
    QTest::newRow("infinite") << QVariant(infinity) << 1000000000;
    QTest::newRow("infinite, negative") << QVariant(-infinity) << -1000000000;
}

void TestSymptomModel::readsStrengths()
{
    QFETCH(QVariant, intensity);
    QFETCH(int, strength);
    QCOMPARE(SymptomModel::strength(intensity), strength);
}

void TestSymptomModel::setsData_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("role");
    QTest::addColumn<bool>("set");
    QTest::addColumn<int>("changes");
    const int role = Qt::DisplayRole;
    QTest::newRow("cell") << 2 << 1 << role << true << 1;
    QTest::newRow("last cell") << 5 << 2 << role << true << 1;
    QTest::newRow("cell without a value") << 4 << 2 << role << true << 1;
    QTest::newRow("title") << 2 << 0 << role << false << 0;
    QTest::newRow("head title") << 0 << 0 << role << false << 0;
    // A change is announced, and then refused.
    QTest::newRow("complaints") << 0 << 1 << role << false << 1;
    QTest::newRow("severity") << 1 << 2 << role << false << 1;
    QTest::newRow("edit role") << 2 << 1 << int(Qt::EditRole) << false << 0;
    QTest::newRow("user role") << 2 << 1 << int(Qt::UserRole) << false << 0;
    QTest::newRow("edit role on a head row") << 0 << 1 << int(Qt::EditRole) << false << 0;
    QTest::newRow("below the table") << 6 << 1 << role << false << 0;
    QTest::newRow("right of the table") << 2 << 3 << role << false << 0;
}

void TestSymptomModel::setsData()
{
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(int, role);
    QFETCH(bool, set);
    QFETCH(int, changes);
    Model model;
    model.fromJSON(object(usual));
    const QByteArray before = model.toJson();
    const QVariant old = model.data(model.at(row, column), Qt::EditRole);
    const Spies spies(&model);
    QCOMPARE(model.setData(model.at(row, column), 3.0F, role), set);
    QCOMPARE(spies.counts(), (QList<int>{changes, 0, 0, 0, 0}));
    QCOMPARE(model.data(model.at(row, column), Qt::EditRole), set ? QVariant(3.0F) : old);
    if (!set) {
        QCOMPARE(model.toJson(), before);
    }
    QVERIFY(!model.setData(QModelIndex(), 3.0F, role));
    QCOMPARE(spies.change.count(), changes);
}

void TestSymptomModel::setsWhatItIsGiven_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<float>("stored");
    QTest::newRow("float") << QVariant(2.0F) << 2.0F;
    QTest::newRow("int") << QVariant(3) << 3.0F;
    QTest::newRow("fraction") << QVariant(0.5) << 0.5F;
    QTest::newRow("text of a number") << QVariant(QStringLiteral("1.5")) << 1.5F;
    QTest::newRow("other text") << QVariant(QStringLiteral("Complaint.moderate")) << 0.0F;
    QTest::newRow("nothing") << QVariant() << 0.0F;
}

void TestSymptomModel::setsWhatItIsGiven()
{
    QFETCH(QVariant, value);
    QFETCH(float, stored);
    Model model;
    model.fromJSON(object(usual));
    QVERIFY(model.setData(model.index(3, 1), value, 0));
    QCOMPARE(model.data(model.index(3, 1), Qt::EditRole), QVariant(stored));
}

void TestSymptomModel::hasHeaders()
{
    Model model;
    model.fromJSON(object(usual));
    QCOMPARE(model.headerData(0, Qt::Horizontal), QVariant(QStringLiteral("SymptomsTable/Text.symptom")));
    QCOMPARE(model.headerData(1, Qt::Horizontal), QVariant(QStringLiteral("2024-05-06 07:08:09")));
    QCOMPARE(model.headerData(2, Qt::Horizontal), QVariant(QStringLiteral("2024-05-07 07:08:09")));
    QCOMPARE(model.headerData(3, Qt::Horizontal).toString(), QString());
    for (int section = -1; section <= 3; ++section) {
        QVERIFY(!model.headerData(section, Qt::Vertical).isValid());
        for (const int role : everyRole) {
            if (role != Qt::DisplayRole) {
                QVERIFY(!model.headerData(section, Qt::Horizontal, role).isValid());
            }
        }
    }
}

void TestSymptomModel::hasFlags_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("flags");
    const int plain = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    QTest::newRow("head title") << 0 << 0 << plain;
    QTest::newRow("complaints") << 0 << 1 << plain;
    QTest::newRow("severity") << 1 << 2 << plain;
    QTest::newRow("title") << 2 << 0 << plain;
    QTest::newRow("cell") << 2 << 1 << (plain | Qt::ItemIsEditable);
    QTest::newRow("last cell") << 5 << 2 << (plain | Qt::ItemIsEditable);
    QTest::newRow("below the table") << 6 << 1 << int(Qt::ItemIsEnabled);
    QTest::newRow("right of the table") << 2 << 3 << int(Qt::ItemIsEnabled);
}

void TestSymptomModel::hasFlags()
{
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(int, flags);
    Model model;
    model.fromJSON(object(usual));
    QCOMPARE(int(model.flags(model.at(row, column))), flags);
    QCOMPARE(int(model.rootFlags()), int(Qt::ItemIsEnabled));
}

void TestSymptomModel::judgesIndexes()
{
    Model model;
    Model other;
    model.fromJSON(object(usual));
    other.fromJSON(object(usual));
    QVERIFY(model.indexIsValid(model.index(0, 0)));
    QVERIFY(model.indexIsValid(model.index(5, 2)));
    QVERIFY(!model.indexIsValid(QModelIndex()));
    QVERIFY(!model.indexIsValid(model.at(6, 0)));
    QVERIFY(!model.indexIsValid(model.at(0, 3)));
    QVERIFY(!model.indexIsValid(other.index(2, 1)));

    // What comes from another model reads as nothing and sets nothing.
    QVERIFY(!model.data(other.index(2, 1)).isValid());
    QVERIFY(!model.setData(other.index(2, 1), 3, Qt::DisplayRole));
    QCOMPARE(model.data(model.index(2, 1), Qt::EditRole), QVariant(0.0F));

    // What was inside once is outside when the rows are gone.
    const QModelIndex last = model.index(5, 2);
    model.removeSymptom(5);
    QVERIFY(!model.indexIsValid(last));
    QVERIFY(!model.data(last).isValid());
}

void TestSymptomModel::loadsWithoutAWord()
{
    Model model;
    const Spies spies(&model);
    model.fromJSON(object(usual));
    QCOMPARE(spies.counts(), (QList<int>{0, 0, 1, 0, 0}));
    model.fromJSON(QJsonObject());
    QCOMPARE(spies.counts(), (QList<int>{0, 0, 2, 0, 0}));
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.columnCount(), 0);
}

void TestSymptomModel::loadsOddReplies_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::newRow("no dates") << QByteArray(R"({"rows": [{"id": 1}, {"id": 2}]})");
    QTest::newRow("no rows") << QByteArray(R"({"dates": {"a": "2024-05-06", "b": "?"}})");
    QTest::newRow("wrong kinds") << QByteArray(R"({"dates": {"a": 7}, "rows": [7, null, "x", [], {"id": "1"}]})");
    QTest::newRow("huge numbers") << QByteArray(
        R"({"dates": {"a": ""}, "rows": [{"id": 1e300, "intensities": {"a": 1e300}}]})");
    QTest::newRow("doubled ids") << QByteArray(R"({"dates": {"a": ""}, "rows": [{"id": 1}, {"id": 1}]})");
}

void TestSymptomModel::loadsOddReplies()
{
    QFETCH(QByteArray, reply);
    Model model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.fromJSON(object(reply));
    QTableView view;
    view.setModel(&model);
    QVERIFY(!view.grab().isNull());
    const int rows = model.rowCount();
    model.appendSymptom(Symptom(-1, QStringLiteral("new"), true));
    QCOMPARE(model.rowCount(), rows == 0 ? 3 : rows + 1);
    QVERIFY(!view.grab().isNull());
    model.removeSymptom(model.rowCount() - 1);
    QCOMPARE(model.rowCount(), rows);
}

void TestSymptomModel::appends()
{
    Model model;
    model.fromJSON(object(usual));
    const Spies spies(&model);
    model.appendSymptom(Symptom(-1, QStringLiteral("New"), true));
    QCOMPARE(spies.counts(), (QList<int>{1, 0, 0, 1, 0}));
    QCOMPARE(spies.inserted.first().at(1).toInt(), 6);
    QCOMPARE(spies.inserted.first().at(2).toInt(), 6);
    QCOMPARE(model.rowCount(), 7);
    QCOMPARE(model.data(model.index(6, 0)), QVariant(QStringLiteral("New")));
    QCOMPARE(model.data(model.index(6, 2)), QVariant(QStringLiteral("SymptomModel/Complaint.none")));
}

void TestSymptomModel::appendsTheFirst_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::newRow("nothing") << QByteArray("{}");
    QTest::newRow("dates") << QByteArray(R"({"dates": {"r1": "2024-05-06"}})");
}

void TestSymptomModel::appendsTheFirst()
{
    QFETCH(QByteArray, before);
    Model model;
    model.fromJSON(object(before));
    const int columns = model.columnCount();
    const Spies spies(&model);
    model.appendSymptom(Symptom(-1, QStringLiteral("New"), true));
    // Three rows came at once.
    QCOMPARE(spies.counts(), (QList<int>{1, 0, 1, 0, 0}));
    QCOMPARE(model.rowCount(), 3);
    QCOMPARE(model.columnCount(), columns);
    model.appendSymptom(Symptom(-1, QStringLiteral("Newer"), true));
    QCOMPARE(spies.counts(), (QList<int>{2, 0, 1, 1, 0}));
}

void TestSymptomModel::removes()
{
    Model model;
    model.fromJSON(object(usual));
    const Spies spies(&model);
    model.removeSymptom(4);
    QCOMPARE(spies.counts(), (QList<int>{1, 0, 0, 0, 1}));
    QCOMPARE(spies.removed.first().at(1).toInt(), 4);
    QCOMPARE(spies.removed.first().at(2).toInt(), 4);
    QCOMPARE(model.rowCount(), 5);
    QCOMPARE(model.data(model.index(4, 0)), QVariant(QStringLiteral("Yours")));
}

void TestSymptomModel::removesTheLast()
{
    Model model;
    model.fromJSON(object(R"({"dates": {"r1": "2024-05-06"}, "rows": [{"symptom": "Mine", "custom": true}]})"));
    const Spies spies(&model);
    model.removeSymptom(2);
    // The head rows went with it.
    QCOMPARE(spies.counts(), (QList<int>{1, 0, 1, 0, 0}));
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.columnCount(), 2);
}

void TestSymptomModel::doesNotRemove_data()
{
    QTest::addColumn<int>("row");
    QTest::newRow("complaints") << 0;
    QTest::newRow("severity") << 1;
    QTest::newRow("the server's") << 2;
    QTest::newRow("below") << 6;
    QTest::newRow("above") << -1;
    QTest::newRow("far below") << std::numeric_limits<int>::max();
}

void TestSymptomModel::doesNotRemove()
{
    QFETCH(int, row);
    Model model;
    model.fromJSON(object(usual));
    const QByteArray before = model.toJson();
    const Spies spies(&model);
    QSignalSpy about(&model, &QAbstractItemModel::rowsAboutToBeRemoved);
    QSignalSpy resetting(&model, &QAbstractItemModel::modelAboutToBeReset);
    model.removeSymptom(row);
    QCOMPARE(spies.counts(), (QList<int>{0, 0, 0, 0, 0}));
    QCOMPARE(about.count() + resetting.count(), 0);
    QCOMPARE(model.toJson(), before);
}

void TestSymptomModel::keepsPersistentIndexes()
{
    Model model;
    model.fromJSON(object(usual));
    const QPersistentModelIndex before(model.index(3, 1));
    const QPersistentModelIndex gone(model.index(4, 1));
    const QPersistentModelIndex behind(model.index(5, 1));
    model.removeSymptom(4);
    QCOMPARE(before.row(), 3);
    QVERIFY(!gone.isValid());
    QCOMPARE(behind.row(), 4);
    QCOMPARE(behind.sibling(4, 0).data(), QVariant(QStringLiteral("Yours")));
}

void TestSymptomModel::writesWithoutAView()
{
    QObject parent;
    Model model(&parent);
    model.fromJSON(object(usual));
    QCOMPARE(object(model.toJson()), object(R"({"r1": {"11": 0, "12": 2, "Mine": 1, "Yours": 0},
                                                 "r2": {"11": 1, "12": 3, "Mine": 0, "Yours": 2}})"));
    QCOMPARE(model.toJson(), model.getSymptomsTable()->toJson());
}

void TestSymptomModel::writingClosesTheEditor_data()
{
    QTest::addColumn<bool>("current");
    QTest::newRow("of the current cell") << true;
    // Taking the current index away does not reach this one.
    QTest::newRow("of another cell") << false;
}

void TestSymptomModel::writingClosesTheEditor()
{
    QFETCH(bool, current);
    QTableView view;
    auto* const model = new Model(&view);
    SymptomDelegate delegate(nullptr);
    delegate.setModel(model);
    model->fromJSON(object(usual));
    view.setModel(model);
    view.setItemDelegate(&delegate);
    view.show();
    QVERIFY(QTest::qWaitForWindowActive(&view));
    view.edit(model->index(2, 1));
    view.selectionModel()->setCurrentIndex(current ? model->index(2, 1) : QModelIndex(), QItemSelectionModel::NoUpdate);
    auto* const box = view.findChild<QComboBox*>();
    if (box == nullptr) {
        QFAIL("No editor came up");
    }
    QVERIFY(box->hasFocus());
    box->setCurrentIndex(2);
    QSignalSpy moves(view.selectionModel(), &QItemSelectionModel::currentChanged);
    const QJsonObject written = object(model->toJson());
    QCOMPARE(written.value(QStringLiteral("r1")).toObject().value(QStringLiteral("11")).toDouble(), 2.0);
    if (current) {
        // The focus that comes back from the editor may make another cell current after that.
        QVERIFY(std::any_of(moves.cbegin(), moves.cend(),
                            [](const QList<QVariant>& move) { return !move.first().toModelIndex().isValid(); }));
    }
    QVERIFY(view.currentIndex() != model->index(2, 1));
    QVERIFY(view.isEnabled());
    QTRY_VERIFY(view.findChild<QComboBox*>() == nullptr);
    QCOMPARE(model->data(model->index(2, 1), Qt::EditRole), QVariant(2.0F));
}

QTEST_MAIN(TestSymptomModel)

#include "TestSymptomModel.moc"
