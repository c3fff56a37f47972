// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/SymptomsTable.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <cmath>
#include <limits>

namespace {

QJsonObject object(const QByteArray& text)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        qFatal("The test's own JSON is broken: %s", text.constData());
    }
    return document.object();
}

/// Two dates, the later one first by key, and three symptoms: rows 2 to 4, of which row 4 is custom.
const QByteArray usual = QByteArrayLiteral(R"({
    "dates": {"a": "2024-05-07T07:08:09Z", "b": "2024-05-06T07:08:09Z"},
    "rows": [
        {"id": 11, "symptom": "Cough", "custom": false, "intensities": {"a": 3, "b": 1}},
        {"id": 12, "symptom": "Ache", "intensities": {"a": 0, "z": 2}},
        {"id": -1, "symptom": "Mine", "custom": true, "intensities": {"a": 0.5, "b": 2}}
    ]})");

/// As translation keys, since no translation is loaded.
QVariant key(const char* name)
{
    return QString::fromLatin1(name);
}

} // namespace

class TestSymptomsTable : public QObject
{
    Q_OBJECT

private slots:
    void isEmptyAtFirst();
    void countsColumnsAndRows();
    void countsSymptomsWithoutDates();
    void countsDatesWithoutSymptoms();

    void hasHeaders_data();
    void hasHeaders();
    void hasCells_data();
    void hasCells();
    void hasNoCellsOutside_data();
    void hasNoCellsOutside();
    void calculatesHeadRows_data();
    void calculatesHeadRows();

    void saysWhatIsEdited_data();
    void saysWhatIsEdited();
    void setsCells_data();
    void setsCells();
    void setsACellWithoutAValue();
    void setsFractionsAndNegatives();

    void saysWhatIsDeletable_data();
    void saysWhatIsDeletable();
    void appends();
    void appendsWithoutColumns();
    void removesCustomOnly_data();
    void removesCustomOnly();
    void removesTheLastSymptom();

    void readsMissingKeys();
    void replacesWhatItHeld();
    void sortsByDate();
    void sortsAcrossZones();
    void sortsInvalidDates();
    void sortsManyDates();
    void keepsValuesWithoutAColumn();
    void readsBrokenReplies_data();
    void readsBrokenReplies();
    void readsBrokenRows_data();
    void readsBrokenRows();
    void readsBrokenDates_data();
    void readsBrokenDates();
    void readsIntensities_data();
    void readsIntensities();
    void sumsHugeNumbers();
    void readsManyRows();

    void writesExactly();
    void writesMissingValuesAsZero();
    void writesDoublesOfFloats();
    void writesWithoutSymptoms();
    void joinsEqualKeys_data();
    void joinsEqualKeys();
    void readsBackWhatItWrote();
};

void TestSymptomsTable::isEmptyAtFirst()
{
    SymptomsTable table;
    QCOMPARE(table.columnCount(), 0);
    QCOMPARE(table.rowCount(), 0);
    QCOMPARE(table.toJson(), QByteArray("{\n}\n"));
    for (int column = -1; column <= 1; ++column) {
        for (int row = -1; row <= 2; ++row) {
            QVERIFY(!table.cellValue(column, row).isValid());
            QVERIFY(!table.setCellValue(column, row, 1));
        }
        QCOMPARE(table.calcComplaintsNumber(column), 0.0F);
        QCOMPARE(table.calcSeverity(column), 0.0F);
    }
    QVERIFY(!table.cellIsEdit(1, 2));
    QVERIFY(!table.rowIsDeletable(2));
    table.removeSymptom(2);
    QCOMPARE(table.rowCount(), 0);
    QCOMPARE(table.horizontalHeaderValue(0), QStringLiteral("Text.symptom"));
    QCOMPARE(table.horizontalHeaderValue(1), QString());
}

void TestSymptomsTable::countsColumnsAndRows()
{
    SymptomsTable table;
    table.fromJSON(object(usual));
    QCOMPARE(table.columnCount(), 3);
    QCOMPARE(table.rowCount(), 5);
}

void TestSymptomsTable::countsSymptomsWithoutDates()
{
    SymptomsTable table;
    table.fromJSON(object(R"({"rows": [{"id": 1, "symptom": "Cough", "intensities": {"a": 3}}]})"));
    QCOMPARE(table.columnCount(), 0);
    QCOMPARE(table.rowCount(), 3);
    QVERIFY(!table.cellValue(0, 2).isValid());
    QVERIFY(!table.cellValue(1, 2).isValid());
    QVERIFY(!table.cellIsEdit(1, 2));
    QVERIFY(!table.setCellValue(1, 2, 1));
    QCOMPARE(table.calcSeverity(1), 0.0F);
    QCOMPARE(object(table.toJson()), QJsonObject());
}

void TestSymptomsTable::countsDatesWithoutSymptoms()
{
    SymptomsTable table;
    table.fromJSON(object(R"({"dates": {"a": "2024-05-07T07:08:09Z"}, "rows": []})"));
    QCOMPARE(table.columnCount(), 2);
    QCOMPARE(table.rowCount(), 0);
    QVERIFY(!table.cellValue(0, 0).isValid());
    QVERIFY(!table.cellValue(1, 1).isValid());
    QCOMPARE(table.horizontalHeaderValue(1), QStringLiteral("2024-05-07 07:08:09"));
    // The upper row is not looked at here, but the store is safe.
    QVERIFY(table.cellIsEdit(1, 2));
    QVERIFY(!table.setCellValue(1, 2, 1));
    QVERIFY(!table.rowIsDeletable(2));
}

void TestSymptomsTable::hasHeaders_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("header");
    QTest::newRow("labels") << 0 << QStringLiteral("Text.symptom");
    QTest::newRow("older") << 1 << QStringLiteral("2024-05-06 07:08:09");
    QTest::newRow("newer") << 2 << QStringLiteral("2024-05-07 07:08:09");
    QTest::newRow("before") << -1 << QString();
    QTest::newRow("behind") << 3 << QString();
    QTest::newRow("far before") << std::numeric_limits<int>::min() << QString();
    QTest::newRow("far behind") << std::numeric_limits<int>::max() << QString();
}

void TestSymptomsTable::hasHeaders()
{
    QFETCH(int, column);
    QFETCH(QString, header);
    SymptomsTable table;
    table.fromJSON(object(usual));
    QCOMPARE(table.horizontalHeaderValue(column), header);
}

void TestSymptomsTable::hasCells_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("row");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("label of the complaints") << 0 << 0 << key("Text.complaintsNumber");
    QTest::newRow("label of the severity") << 0 << 1 << key("Text.severity");
    QTest::newRow("label of the first symptom") << 0 << 2 << key("Cough");
    QTest::newRow("label of the last symptom") << 0 << 4 << key("Mine");
    QTest::newRow("complaints") << 1 << 0 << QVariant(2.0F);
    QTest::newRow("severity") << 1 << 1 << QVariant(3.0F);
    QTest::newRow("complaints of the last column") << 2 << 0 << QVariant(2.0F);
    QTest::newRow("severity of the last column") << 2 << 1 << QVariant(3.5F);
    QTest::newRow("intensity") << 1 << 2 << QVariant(1.0F);
    QTest::newRow("intensity in the last column") << 2 << 2 << QVariant(3.0F);
    QTest::newRow("intensity of 0") << 2 << 3 << QVariant(0.0F);
    QTest::newRow("missing intensity") << 1 << 3 << QVariant();
    QTest::newRow("last intensity") << 2 << 4 << QVariant(0.5F);
}

void TestSymptomsTable::hasCells()
{
    QFETCH(int, column);
    QFETCH(int, row);
    QFETCH(QVariant, value);
    SymptomsTable table;
    table.fromJSON(object(usual));
    QCOMPARE(table.cellValue(column, row), value);
    QCOMPARE(table.cellValue(column, row).userType(), value.userType());
}

void TestSymptomsTable::hasNoCellsOutside_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("row");
    const int lowest = std::numeric_limits<int>::min();
    const int highest = std::numeric_limits<int>::max();
    QTest::newRow("left") << -1 << 2;
    QTest::newRow("right") << 3 << 2;
    QTest::newRow("above") << 1 << -1;
    QTest::newRow("below") << 1 << 5;
    QTest::newRow("below the labels") << 0 << 5;
    QTest::newRow("right of the head") << 3 << 0;
    QTest::newRow("far left") << lowest << 2;
    QTest::newRow("far right") << highest << 2;
    QTest::newRow("far above") << 1 << lowest;
    QTest::newRow("far below") << 1 << highest;
}

void TestSymptomsTable::hasNoCellsOutside()
{
    QFETCH(int, column);
    QFETCH(int, row);
    SymptomsTable table;
    table.fromJSON(object(usual));
    const QByteArray before = table.toJson();
    QVERIFY(!table.cellValue(column, row).isValid());
    QVERIFY(!table.setCellValue(column, row, 9));
    QCOMPARE(table.toJson(), before);
}

void TestSymptomsTable::calculatesHeadRows_data()
{
    QTest::addColumn<QByteArray>("values");
    QTest::addColumn<float>("complaints");
    QTest::addColumn<float>("severity");
    QTest::newRow("none") << QByteArray("[0, 0, 0]") << 0.0F << 0.0F;
    QTest::newRow("a sum, no mean") << QByteArray("[3, 3, 3]") << 3.0F << 9.0F;
    QTest::newRow("a fraction is a complaint") << QByteArray("[0.25, 0, 0.5]") << 2.0F << 0.75F;
    QTest::newRow("a negative is none") << QByteArray("[-2, 1, 0]") << 1.0F << -1.0F;
    QTest::newRow("missing counts as 0") << QByteArray("[null, 2]") << 1.0F << 2.0F;
}

void TestSymptomsTable::calculatesHeadRows()
{
    QFETCH(QByteArray, values);
    QFETCH(float, complaints);
    QFETCH(float, severity);
    SymptomsTable table;
    QJsonArray rows;
    const QJsonArray intensities = QJsonDocument::fromJson(values).array();
    for (const QJsonValue& value : intensities) {
        const QJsonObject stored = value.isNull() ? QJsonObject() : QJsonObject{{QStringLiteral("a"), value}};
        rows.append(QJsonObject{{QStringLiteral("intensities"), stored}});
    }
    table.fromJSON({{QStringLiteral("dates"), QJsonObject{{QStringLiteral("a"), QStringLiteral("2024-05-07")}}},
                    {QStringLiteral("rows"), rows}});
    QCOMPARE(table.calcComplaintsNumber(1), complaints);
    QCOMPARE(table.calcSeverity(1), severity);
    QCOMPARE(table.cellValue(1, 0), QVariant(complaints));
    QCOMPARE(table.cellValue(1, 1), QVariant(severity));
    for (int column : {-1, 0, 2}) {
        QCOMPARE(table.calcComplaintsNumber(column), 0.0F);
        QCOMPARE(table.calcSeverity(column), 0.0F);
    }
}

void TestSymptomsTable::saysWhatIsEdited_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("row");
    QTest::addColumn<bool>("edited");
    QTest::newRow("label") << 0 << 2 << false;
    QTest::newRow("complaints") << 1 << 0 << false;
    QTest::newRow("severity") << 1 << 1 << false;
    QTest::newRow("first") << 1 << 2 << true;
    QTest::newRow("last") << 2 << 4 << true;
    QTest::newRow("right of the table") << 3 << 2 << false;
    QTest::newRow("below the table") << 1 << 5 << true;
    QTest::newRow("far below the table") << 1 << std::numeric_limits<int>::max() << true;
    QTest::newRow("above the table") << 1 << -1 << false;
}

void TestSymptomsTable::saysWhatIsEdited()
{
    QFETCH(int, column);
    QFETCH(int, row);
    QFETCH(bool, edited);
    SymptomsTable table;
    table.fromJSON(object(usual));
    QCOMPARE(table.cellIsEdit(column, row), edited);
}

void TestSymptomsTable::setsCells_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("row");
    QTest::addColumn<bool>("set");
    QTest::newRow("label") << 0 << 2 << false;
    QTest::newRow("complaints") << 1 << 0 << false;
    QTest::newRow("severity") << 2 << 1 << false;
    QTest::newRow("first") << 1 << 2 << true;
    QTest::newRow("last") << 2 << 4 << true;
    QTest::newRow("right of the table") << 3 << 2 << false;
    QTest::newRow("below the table") << 1 << 5 << false;
    QTest::newRow("left of the table") << -1 << 2 << false;
}

void TestSymptomsTable::setsCells()
{
    QFETCH(int, column);
    QFETCH(int, row);
    QFETCH(bool, set);
    SymptomsTable table;
    table.fromJSON(object(usual));
    SymptomsTable untouched;
    untouched.fromJSON(object(usual));
    QCOMPARE(table.setCellValue(column, row, 9), set);
    for (int c = 0; c < table.columnCount(); ++c) {
        for (int r = 2; r < table.rowCount(); ++r) {
            const bool here = set && c == column && r == row;
            QCOMPARE(table.cellValue(c, r), here ? QVariant(9.0F) : untouched.cellValue(c, r));
        }
    }
}

void TestSymptomsTable::setsACellWithoutAValue()
{
    SymptomsTable table;
    table.fromJSON(object(usual));
    QVERIFY(!table.cellValue(1, 3).isValid());
    QVERIFY(table.setCellValue(1, 3, 0));
    QCOMPARE(table.cellValue(1, 3), QVariant(0.0F));
    QVERIFY(table.setCellValue(1, 3, 2));
    QCOMPARE(table.cellValue(1, 3), QVariant(2.0F));
    QCOMPARE(table.calcComplaintsNumber(1), 3.0F);
    QCOMPARE(table.calcSeverity(1), 5.0F);
}

void TestSymptomsTable::setsFractionsAndNegatives()
{
    SymptomsTable table;
    table.fromJSON(object(usual));
    QVERIFY(table.setCellValue(1, 2, 0.25F));
    QCOMPARE(table.cellValue(1, 2), QVariant(0.25F));
    QVERIFY(table.setCellValue(1, 2, -4));
    QCOMPARE(table.cellValue(1, 2), QVariant(-4.0F));
    QCOMPARE(table.calcSeverity(1), -2.0F);
}

void TestSymptomsTable::saysWhatIsDeletable_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<bool>("deletable");
    QTest::newRow("above") << -1 << false;
    QTest::newRow("complaints") << 0 << false;
    QTest::newRow("severity") << 1 << false;
    QTest::newRow("the server's") << 2 << false;
    QTest::newRow("without the flag") << 3 << false;
    QTest::newRow("custom") << 4 << true;
    QTest::newRow("below") << 5 << false;
    QTest::newRow("far below") << std::numeric_limits<int>::max() << false;
    QTest::newRow("far above") << std::numeric_limits<int>::min() << false;
}

void TestSymptomsTable::saysWhatIsDeletable()
{
    QFETCH(int, row);
    QFETCH(bool, deletable);
    SymptomsTable table;
    table.fromJSON(object(usual));
    QCOMPARE(table.rowIsDeletable(row), deletable);
}

void TestSymptomsTable::appends()
{
    SymptomsTable table;
    table.fromJSON(object(usual));
    Symptom symptom(-1, QStringLiteral("New"), true);
    symptom.setValue(QStringLiteral("a"), 3);
    symptom.setValue(QStringLiteral("z"), 2);
    table.appendSymptom(symptom);
    QCOMPARE(table.rowCount(), 6);
    QCOMPARE(table.columnCount(), 3);
    QCOMPARE(table.cellValue(0, 5), QVariant(QStringLiteral("New")));
    // Overwritten where it had a value, set where it had none.
    QCOMPARE(table.cellValue(1, 5), QVariant(0.0F));
    QCOMPARE(table.cellValue(2, 5), QVariant(0.0F));
    QVERIFY(table.rowIsDeletable(5));
    // The given one keeps its own.
    QCOMPARE(symptom.value(QStringLiteral("a")), QVariant(3.0F));

    table.appendSymptom(Symptom(40, QStringLiteral("Known"), false));
    QVERIFY(!table.rowIsDeletable(6));
}

void TestSymptomsTable::appendsWithoutColumns()
{
    SymptomsTable table;
    table.appendSymptom(Symptom(-1, QStringLiteral("New"), true));
    QCOMPARE(table.rowCount(), 3);
    QCOMPARE(table.columnCount(), 0);
    QVERIFY(table.rowIsDeletable(2));
    QCOMPARE(object(table.toJson()), QJsonObject());
}

void TestSymptomsTable::removesCustomOnly_data()
{
    saysWhatIsDeletable_data();
}

void TestSymptomsTable::removesCustomOnly()
{
    QFETCH(int, row);
    QFETCH(bool, deletable);
    SymptomsTable table;
    table.fromJSON(object(usual));
    table.appendSymptom(Symptom(-1, QStringLiteral("Last"), false));
    const QByteArray before = table.toJson();
    // Below the table, since one row more is there.
    if (row == 5) {
        row = 6;
    }
    table.removeSymptom(row);
    QCOMPARE(table.rowCount(), deletable ? 5 : 6);
    QCOMPARE(table.toJson() == before, !deletable);
    if (deletable) {
        QCOMPARE(table.cellValue(0, row), QVariant(QStringLiteral("Last")));
        QCOMPARE(table.cellValue(0, row - 1), QVariant(QStringLiteral("Ache")));
    }
}

void TestSymptomsTable::removesTheLastSymptom()
{
    SymptomsTable table;
    table.fromJSON(object(R"({"dates": {"a": "2024-05-07"}, "rows": [{"symptom": "Mine", "custom": true}]})"));
    QCOMPARE(table.rowCount(), 3);
    table.removeSymptom(2);
    QCOMPARE(table.rowCount(), 0);
    QCOMPARE(table.columnCount(), 2);
    table.removeSymptom(2);
    QCOMPARE(table.rowCount(), 0);
}

void TestSymptomsTable::readsMissingKeys()
{
    SymptomsTable table;
    table.fromJSON(object(R"({"dates": {"a": "2024-05-07T01:02:03"}, "rows": [{}]})"));
    QCOMPARE(table.rowCount(), 3);
    QCOMPARE(table.cellValue(0, 2), QVariant(QString()));
    QVERIFY(!table.cellValue(1, 2).isValid());
    QVERIFY(!table.rowIsDeletable(2));
    // The key shows that the id is -1.
    QCOMPARE(object(table.toJson()), object(R"({"a": {"-1": 0}})"));
}

void TestSymptomsTable::replacesWhatItHeld()
{
    SymptomsTable table;
    table.fromJSON(object(usual));
    table.fromJSON(object(R"({"dates": {"c": "2020-01-01T00:00:00Z"}, "rows": [{"id": 1, "symptom": "Other"}]})"));
    QCOMPARE(table.columnCount(), 2);
    QCOMPARE(table.rowCount(), 3);
    QCOMPARE(table.cellValue(0, 2), QVariant(QStringLiteral("Other")));
    QCOMPARE(object(table.toJson()), object(R"({"c": {"1": 0}})"));
    table.fromJSON(QJsonObject());
    QCOMPARE(table.columnCount(), 0);
    QCOMPARE(table.rowCount(), 0);
}

void TestSymptomsTable::sortsByDate()
{
    SymptomsTable table;
    table.fromJSON(object(R"({"dates": {"a": "2024-03-01T00:00:00Z", "b": "2023-01-01T00:00:00Z",
        "c": "2024-03-01T00:00:01Z", "d": "1999-12-31T23:59:59Z"}})"));
    const QStringList sorted{QStringLiteral("1999-12-31 23:59:59"), QStringLiteral("2023-01-01 00:00:00"),
                             QStringLiteral("2024-03-01 00:00:00"), QStringLiteral("2024-03-01 00:00:01")};
    for (int i = 0; i < sorted.size(); ++i) {
        QCOMPARE(table.horizontalHeaderValue(i + 1), sorted.at(i));
    }
    // Equal dates stay two columns, in any order.
    table.fromJSON(object(R"({"dates": {"a": "2024-03-01T00:00:00Z", "b": "2024-03-01T00:00:00Z"}})"));
    QCOMPARE(table.columnCount(), 3);
    QCOMPARE(table.horizontalHeaderValue(1), QStringLiteral("2024-03-01 00:00:00"));
    QCOMPARE(table.horizontalHeaderValue(2), QStringLiteral("2024-03-01 00:00:00"));
}

void TestSymptomsTable::sortsAcrossZones()
{
    SymptomsTable table;
    // The first is the later moment, though its clock shows less.
    table.fromJSON(object(R"({"dates": {"a": "2024-03-01T10:00:00-05:00", "b": "2024-03-01T12:00:00+03:00"}})"));
    QCOMPARE(table.horizontalHeaderValue(1), QStringLiteral("2024-03-01 12:00:00"));
    QCOMPARE(table.horizontalHeaderValue(2), QStringLiteral("2024-03-01 10:00:00"));
}

void TestSymptomsTable::sortsInvalidDates()
{
    SymptomsTable table;
    table.fromJSON(object(R"({"dates": {"a": "2024-03-01T00:00:00Z", "b": "soon", "c": "1950-03-01T00:00:00Z",
        "d": "", "e": "2024-13-45"}, "rows": [{"id": 5, "intensities": {"b": 2}}]})"));
    QCOMPARE(table.columnCount(), 6);
    QStringList headers;
    for (int column = 1; column < table.columnCount(); ++column) {
        headers.append(table.horizontalHeaderValue(column));
    }
    QCOMPARE(headers.count(QString()), 3);
    const int older = headers.indexOf(QStringLiteral("1950-03-01 00:00:00"));
    const int newer = headers.indexOf(QStringLiteral("2024-03-01 00:00:00"));
    QVERIFY(older >= 0);
    QVERIFY(newer > older);
    // The place that QDateTime gives them: beside each other.
    const int first = headers.indexOf(QString());
    QCOMPARE(headers.mid(first, 3), (QStringList{QString(), QString(), QString()}));
    QCOMPARE(QDateTime() < QDateTime::fromString(QStringLiteral("1950-03-01T00:00:00Z"), Qt::ISODate), first < older);
    QCOMPARE(QDateTime() < QDateTime::fromString(QStringLiteral("2024-03-01T00:00:00Z"), Qt::ISODate), first < newer);
    // They are columns like any other.
    QCOMPARE(object(table.toJson()).value(QStringLiteral("b")).toObject().value(QStringLiteral("5")).toDouble(), 2.0);
    for (int column = 1; column < table.columnCount(); ++column) {
        QVERIFY(table.setCellValue(column, 2, 1));
    }
}

void TestSymptomsTable::sortsManyDates()
{
    QJsonObject dates;
    for (int i = 0; i < 1000; ++i) {
        // Every kind of date among each other.
        QString text =
            QDateTime(QDate(2000, 1, 1), QTime(0, 0), Qt::UTC).addSecs(i * 7919 % 1000 * 3600).toString(Qt::ISODate);
        if (i % 5 == 1) {
            text.chop(1);
        } else if (i % 5 == 2) {
            text = QStringLiteral("none");
        } else if (i % 5 == 3) {
            text.replace(QLatin1Char('Z'), QStringLiteral("+05:00"));
        }
        dates.insert(QStringLiteral("c%1").arg(i), text);
    }
    SymptomsTable table;
    table.fromJSON({{QStringLiteral("dates"), dates}});
    QCOMPARE(table.columnCount(), 1001);
    int empty = 0;
    for (int column = 1; column < table.columnCount(); ++column) {
        empty += table.horizontalHeaderValue(column).isEmpty() ? 1 : 0;
    }
    QCOMPARE(empty, 200);
}

void TestSymptomsTable::keepsValuesWithoutAColumn()
{
    SymptomsTable table;
    table.fromJSON(object(usual));
    // "z" is no date: not shown, not counted, not written.
    QVERIFY(!table.cellValue(1, 3).isValid());
    QCOMPARE(table.cellValue(2, 3), QVariant(0.0F));
    QCOMPARE(table.calcSeverity(1) + table.calcSeverity(2), 6.5F);
    QVERIFY(!object(table.toJson()).contains(QStringLiteral("z")));
}

void TestSymptomsTable::readsBrokenReplies_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("rows");
    const QByteArray dates = R"("dates": {"a": "2024-05-07", "b": "2024-05-06"})";
    const QByteArray rows = R"("rows": [{"id": 1}, {"id": 2}])";
    QTest::newRow("no key") << QByteArray("{}") << 0 << 0;
    QTest::newRow("other keys") << QByteArray(R"({"Dates": {"a": "2024-05-07"}, "row": [{}]})") << 0 << 0;
    for (const char* odd : {"null", "true", "7", "\"text\"", "[\"2024-05-07\"]"}) {
        QTest::addRow("dates are %s", odd)
            << QByteArray("{\"dates\": " + QByteArray(odd) + ", " + rows + "}") << 0 << 4;
    }
    for (const char* odd : {"null", "true", "7", "\"text\"", "{\"id\": 1}"}) {
        QTest::addRow("rows are %s", odd) << QByteArray("{\"rows\": " + QByteArray(odd) + ", " + dates + "}") << 3 << 0;
    }
    QTest::newRow("empty date key") << QByteArray(R"({"dates": {"": "2024-05-07"}, "rows": [{}]})") << 2 << 3;
}

void TestSymptomsTable::readsBrokenReplies()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, columns);
    QFETCH(int, rows);
    SymptomsTable table;
    table.fromJSON(object(usual));
    table.fromJSON(object(reply));
    QCOMPARE(table.columnCount(), columns);
    QCOMPARE(table.rowCount(), rows);
    QCOMPARE(object(table.toJson()).size(), qMax(0, columns - 1));
}

void TestSymptomsTable::readsBrokenRows_data()
{
    QTest::addColumn<QByteArray>("row");
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<QString>("label");
    QTest::addColumn<bool>("custom");
    const auto add = [](const char* name, const char* row, const char* written, const char* label, bool custom) {
        QTest::newRow(name) << QByteArray(row) << QByteArray(written) << QString::fromUtf8(label) << custom;
    };
    add("null", "null", R"({"-1": 0})", "", false);
    add("bool", "true", R"({"-1": 0})", "", false);
    add("number", "7", R"({"-1": 0})", "", false);
    add("text", "\"Cough\"", R"({"-1": 0})", "", false);
    add("array", "[{\"id\": 3}]", R"({"-1": 0})", "", false);
    add("empty", "{}", R"({"-1": 0})", "", false);
    add("id is a text", R"({"id": "3"})", R"({"-1": 0})", "", false);
    add("id is null", R"({"id": null})", R"({"-1": 0})", "", false);
    add("id is a fraction", R"({"id": 3.5})", R"({"-1": 0})", "", false);
    add("id is huge", R"({"id": 1e300})", R"({"-1": 0})", "", false);
    add("id is beyond int", R"({"id": 2147483648})", R"({"-1": 0})", "", false);
    add("id is the largest int", R"({"id": 2147483647})", R"({"2147483647": 0})", "", false);
    add("id is the smallest int", R"({"id": -2147483648})", R"({"-2147483648": 0})", "", false);
    add("symptom is a number", R"({"id": 3, "symptom": 4})", R"({"3": 0})", "", false);
    add("symptom is null", R"({"id": 3, "symptom": null})", R"({"3": 0})", "", false);
    add("symptom of many scripts", R"({"id": 3, "symptom": "Кашель 咳 \u0000\n"})", R"({"3": 0})", nullptr, false);
    add("custom is a text", R"({"id": 3, "symptom": "s", "custom": "true"})", R"({"3": 0})", "s", false);
    add("custom is a number", R"({"id": 3, "symptom": "s", "custom": 1})", R"({"3": 0})", "s", false);
    add("custom is null", R"({"id": 3, "symptom": "s", "custom": null})", R"({"3": 0})", "s", false);
    add("custom without a text", R"({"id": 3, "custom": true})", R"({"": 0})", "", true);
    add("intensities are null", R"({"id": 3, "intensities": null})", R"({"3": 0})", "", false);
    add("intensities are an array", R"({"id": 3, "intensities": [1, 2]})", R"({"3": 0})", "", false);
    add("intensities are a number", R"({"id": 3, "intensities": 2})", R"({"3": 0})", "", false);
    add("intensities are a text", R"({"id": 3, "intensities": "a"})", R"({"3": 0})", "", false);
}

void TestSymptomsTable::readsBrokenRows()
{
    QFETCH(QByteArray, row);
    QFETCH(QByteArray, written);
    QFETCH(QString, label);
    QFETCH(bool, custom);
    SymptomsTable table;
    table.fromJSON(object("{\"dates\": {\"a\": \"2024-05-07\"}, \"rows\": [" + row + "]}"));
    QCOMPARE(table.rowCount(), 3);
    if (label.isNull()) {
        label = QString::fromUtf8("Кашель 咳 ") + QChar(QChar::Null) + QLatin1Char('\n');
    }
    QCOMPARE(table.cellValue(0, 2).toString(), label);
    QCOMPARE(table.rowIsDeletable(2), custom);
    QCOMPARE(object(table.toJson()).value(QStringLiteral("a")).toObject(), object(written));
    QCOMPARE(table.calcSeverity(1), 0.0F);
}

void TestSymptomsTable::readsBrokenDates_data()
{
    QTest::addColumn<QByteArray>("date");
    QTest::addColumn<QString>("header");
    QTest::newRow("null") << QByteArray("null") << QString();
    QTest::newRow("bool") << QByteArray("true") << QString();
    QTest::newRow("number") << QByteArray("1714979289") << QString();
    QTest::newRow("array") << QByteArray("[\"2024-05-07\"]") << QString();
    QTest::newRow("object") << QByteArray("{\"date\": \"2024-05-07\"}") << QString();
    QTest::newRow("empty") << QByteArray("\"\"") << QString();
    QTest::newRow("words") << QByteArray("\"yesterday\"") << QString();
    QTest::newRow("no such day") << QByteArray("\"2023-02-29T00:00:00Z\"") << QString();
    QTest::newRow("no such hour") << QByteArray("\"2023-02-28T25:00:00Z\"") << QString();
    QTest::newRow("cut") << QByteArray("\"2024-05\"") << QString();
    QTest::newRow("day alone") << QByteArray("\"2024-05-07\"") << QStringLiteral("2024-05-07 00:00:00");
    QTest::newRow("own zone") << QByteArray("\"2024-05-07T23:59:58\"") << QStringLiteral("2024-05-07 23:59:58");
    // The clock of the server's zone, as it was given.
    QTest::newRow("other zone") << QByteArray("\"2024-05-07T23:59:58+07:00\"") << QStringLiteral("2024-05-07 23:59:58");
    QTest::newRow("milliseconds") << QByteArray("\"2024-05-07T23:59:58.123Z\"")
                                  << QStringLiteral("2024-05-07 23:59:58");
}

void TestSymptomsTable::readsBrokenDates()
{
    QFETCH(QByteArray, date);
    QFETCH(QString, header);
    SymptomsTable table;
    table.fromJSON(object("{\"dates\": {\"a\": " + date + "}, \"rows\": [{\"id\": 1, \"intensities\": {\"a\": 2}}]}"));
    QCOMPARE(table.columnCount(), 2);
    QCOMPARE(table.horizontalHeaderValue(1), header);
    QCOMPARE(table.cellValue(1, 2), QVariant(2.0F));
    QCOMPARE(object(table.toJson()), object(R"({"a": {"1": 2}})"));
}

void TestSymptomsTable::readsIntensities_data()
{
    QTest::addColumn<QByteArray>("intensity");
    QTest::addColumn<float>("value");
    QTest::newRow("whole") << QByteArray("3") << 3.0F;
    QTest::newRow("fraction") << QByteArray("0.1") << 0.1F;
    QTest::newRow("negative") << QByteArray("-2.5") << -2.5F;
    QTest::newRow("above the scale") << QByteArray("4000000000") << 4e9F;
    QTest::newRow("null") << QByteArray("null") << 0.0F;
    QTest::newRow("text") << QByteArray("\"3\"") << 0.0F;
    QTest::newRow("bool") << QByteArray("true") << 0.0F;
    QTest::newRow("array") << QByteArray("[3]") << 0.0F;
    QTest::newRow("object") << QByteArray("{}") << 0.0F;
    QTest::newRow("tiny") << QByteArray("1e-300") << 0.0F;
    QTest::newRow("more than a float holds") << QByteArray("1e300") << std::numeric_limits<float>::max();
    QTest::newRow("less than a float holds") << QByteArray("-1e300") << std::numeric_limits<float>::lowest();
}

void TestSymptomsTable::readsIntensities()
{
    QFETCH(QByteArray, intensity);
    QFETCH(float, value);
    SymptomsTable table;
    table.fromJSON(object(
        "{\"dates\": {\"a\": \"2024-05-07\"}, \"rows\": [{\"id\": 1, \"intensities\": {\"a\": " + intensity + "}}]}"));
    // A value of a wrong kind is a value of 0, not a missing one.
    QVERIFY(table.cellValue(1, 2).isValid());
    QVERIFY(table.cellValue(1, 2).toFloat() == value);
    QVERIFY(table.calcSeverity(1) == value);
    QCOMPARE(table.calcComplaintsNumber(1), value > 0 ? 1.0F : 0.0F);
    const QJsonValue written = object(table.toJson()).value(QStringLiteral("a")).toObject().value(QStringLiteral("1"));
    QVERIFY(written.isDouble());
    QCOMPARE(written.toDouble(), static_cast<double>(value));
}

void TestSymptomsTable::sumsHugeNumbers()
{
    SymptomsTable table;
    table.fromJSON(object(R"({"dates": {"a": "2024-05-07"}, "rows": [{"intensities": {"a": 1e300}},
        {"intensities": {"a": 1e300}}, {"intensities": {"a": -1e300}}, {"intensities": {"a": -1e300}}]})"));
    QVERIFY(!std::isnan(table.calcSeverity(1)));
    QCOMPARE(table.calcComplaintsNumber(1), 2.0F);
}

void TestSymptomsTable::readsManyRows()
{
    constexpr int count = 10000;
    QJsonArray rows;
    for (int i = 0; i < count; ++i) {
        rows.append(QJsonObject{{QStringLiteral("id"), i},
                                {QStringLiteral("symptom"), QString::number(i)},
                                {QStringLiteral("intensities"), QJsonObject{{QStringLiteral("a"), i % 4}}}});
    }
    SymptomsTable table;
    table.fromJSON({{QStringLiteral("dates"), QJsonObject{{QStringLiteral("a"), QStringLiteral("2024-05-07")}}},
                    {QStringLiteral("rows"), rows}});
    QCOMPARE(table.rowCount(), count + 2);
    QCOMPARE(table.calcComplaintsNumber(1), 7500.0F);
    QCOMPARE(table.calcSeverity(1), 15000.0F);
    QCOMPARE(table.cellValue(0, count + 1), QVariant(QStringLiteral("9999")));
    QCOMPARE(object(table.toJson()).value(QStringLiteral("a")).toObject().size(), count);
}

void TestSymptomsTable::writesExactly()
{
    SymptomsTable table;
    table.fromJSON(object(usual));
    QCOMPARE(table.toJson(), QByteArray("{\n"
                                        "    \"a\": {\n"
                                        "        \"11\": 3,\n"
                                        "        \"12\": 0,\n"
                                        "        \"Mine\": 0.5\n"
                                        "    },\n"
                                        "    \"b\": {\n"
                                        "        \"11\": 1,\n"
                                        "        \"12\": 0,\n"
                                        "        \"Mine\": 2\n"
                                        "    }\n"
                                        "}\n"));
    QVERIFY(table.setCellValue(1, 3, 3));
    QCOMPARE(object(table.toJson()).value(QStringLiteral("b")).toObject(), object(R"({"11": 1, "12": 3, "Mine": 2})"));
}

void TestSymptomsTable::writesMissingValuesAsZero()
{
    SymptomsTable table;
    table.fromJSON(object(R"({"dates": {"a": "2024-05-07"}, "rows": [{"id": 1}]})"));
    const QJsonValue value = object(table.toJson()).value(QStringLiteral("a")).toObject().value(QStringLiteral("1"));
    QVERIFY(value.isDouble());
    QCOMPARE(value.toDouble(9), 0.0);
}

void TestSymptomsTable::writesDoublesOfFloats()
{
    SymptomsTable table;
    table.fromJSON(object(R"({"dates": {"a": "2024-05-07"}, "rows": [{"id": 1, "intensities": {"a": 0.1}}]})"));
    QVERIFY(table.toJson().contains("\"1\": 0.10000000149011612\n"));
}

void TestSymptomsTable::writesWithoutSymptoms()
{
    SymptomsTable table;
    table.fromJSON(object(R"({"dates": {"b": "2024-05-07", "a": "2024-05-08"}})"));
    QCOMPARE(object(table.toJson()), object(R"({"a": {}, "b": {}})"));
}

void TestSymptomsTable::joinsEqualKeys_data()
{
    QTest::addColumn<QByteArray>("rows");
    QTest::addColumn<QByteArray>("written");
    QTest::newRow("custom of one text") << QByteArray(R"({"symptom": "Mine", "custom": true, "intensities": {"a": 1}},
                         {"symptom": "Mine", "custom": true, "intensities": {"a": 2}})")
                                        << QByteArray(R"({"Mine": 2})");
    QTest::newRow("one id twice") << QByteArray(R"({"id": 5, "symptom": "A", "intensities": {"a": 3}},
                                                   {"id": 5, "symptom": "B", "intensities": {"a": 1}})")
                                  << QByteArray(R"({"5": 1})");
    QTest::newRow("texts that differ in case")
        << QByteArray(R"({"symptom": "mine", "custom": true, "intensities": {"a": 1}},
                         {"symptom": "Mine", "custom": true, "intensities": {"a": 2}})")
        << QByteArray(R"({"Mine": 2, "mine": 1})");
    QTest::newRow("a text that is an id") << QByteArray(R"({"id": 5, "symptom": "A", "intensities": {"a": 3}},
                         {"id": 8, "symptom": "5", "custom": true, "intensities": {"a": 1}})")
                                          << QByteArray(R"({"5": 1})");
    // A custom symptom travels by its text even if the server gave it an id.
    QTest::newRow("custom with an id") << QByteArray(R"({"id": 5, "symptom": "M", "custom": true})")
                                       << QByteArray(R"({"M": 0})");
}

void TestSymptomsTable::joinsEqualKeys()
{
    QFETCH(QByteArray, rows);
    QFETCH(QByteArray, written);
    SymptomsTable table;
    table.fromJSON(object("{\"dates\": {\"a\": \"2024-05-07\"}, \"rows\": [" + rows + "]}"));
    QCOMPARE(object(table.toJson()).value(QStringLiteral("a")).toObject(), object(written));
}

void TestSymptomsTable::readsBackWhatItWrote()
{
    SymptomsTable table;
    table.fromJSON(object(usual));
    table.appendSymptom(Symptom(-1, QString::fromUtf8("Ком в \"горле\" \\ 1"), true));
    QVERIFY(table.setCellValue(2, 5, 3));
    table.removeSymptom(4);
    const QJsonObject written = object(table.toJson());
    QCOMPARE(written.keys(), (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    const QString own = QString::fromUtf8("Ком в \"горле\" \\ 1");
    QCOMPARE(written.value(QStringLiteral("a")).toObject().keys(),
             (QStringList{QStringLiteral("11"), QStringLiteral("12"), own}));
    QCOMPARE(written.value(QStringLiteral("a")).toObject().value(own).toDouble(), 3.0);
    QCOMPARE(written.value(QStringLiteral("b")).toObject().value(own).toDouble(-1), 0.0);
}

QTEST_APPLESS_MAIN(TestSymptomsTable)

#include "TestSymptomsTable.moc"
