// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/AnalysisRecord.h"

#include <QTest>

class TestAnalysisRecord : public QObject
{
    Q_OBJECT

private slots:
    void startsEmpty();
    void keepsTheOrder();
    void findsTheFirst();
    void findsWhatCameAfterALookUp();
    void takesListsOfEntries();
    void clears();
    void keepsItsDate();
    void copiesAreApart();
    void findsAmongMany();
};

void TestAnalysisRecord::startsEmpty()
{
    const AnalysisRecord record;
    QCOMPARE(record.count(), 0);
    QVERIFY(!record.date().isValid());
    QCOMPARE(record.value(QStringLiteral("a")), 0);
    QCOMPARE(record.value(QString()), 0);
    QCOMPARE(record.indexOf(QStringLiteral("a")), -1);
}

void TestAnalysisRecord::keepsTheOrder()
{
    AnalysisRecord record;
    record.append(QStringLiteral("b"), 3);
    record.append(QStringLiteral("a"), -4);
    record.append(QStringLiteral("b"), 5);
    record.append(QString(), 6);
    QCOMPARE(record.count(), 4);
    const QStringList ids{QStringLiteral("b"), QStringLiteral("a"), QStringLiteral("b"), QString()};
    const QList<int> values{3, -4, 5, 6};
    for (int i = 0; i < record.count(); ++i) {
        QCOMPARE(record.id(i), ids.at(i));
        QCOMPARE(record.value(i), values.at(i));
    }
}

void TestAnalysisRecord::findsTheFirst()
{
    AnalysisRecord record;
    record.append(QStringLiteral("b"), 3);
    record.append(QStringLiteral("a"), 4);
    record.append(QStringLiteral("b"), 5);
    record.append(QStringLiteral("B"), 6);
    record.append(QString(), 7);
    QCOMPARE(record.value(QStringLiteral("b")), 3);
    QCOMPARE(record.indexOf(QStringLiteral("b")), 0);
    QCOMPARE(record.value(QStringLiteral("a")), 4);
    QCOMPARE(record.value(QStringLiteral("B")), 6);
    QCOMPARE(record.value(QLatin1String("")), 7);
    QCOMPARE(record.value(QStringLiteral("c")), 0);
    QCOMPARE(record.indexOf(QStringLiteral("c")), -1);
}

void TestAnalysisRecord::findsWhatCameAfterALookUp()
{
    AnalysisRecord record;
    record.append(QStringLiteral("a"), 1);
    QCOMPARE(record.value(QStringLiteral("b")), 0);
    record.append(QStringLiteral("b"), 2);
    record.append(QStringLiteral("a"), 3);
    record.append(QStringLiteral("b"), 4);
    QCOMPARE(record.value(QStringLiteral("b")), 2);
    QCOMPARE(record.value(QStringLiteral("a")), 1);
}

void TestAnalysisRecord::takesListsOfEntries()
{
    const QVector<QString> ids{QStringLiteral("b"), QStringLiteral("a"), QStringLiteral("b")};
    AnalysisRecord record;
    record.append(QStringLiteral("c"), 1);
    QCOMPARE(record.value(QStringLiteral("c")), 1);
    record.setEntries(ids, {3, -4, 5});
    QCOMPARE(record.count(), 3);
    QCOMPARE(record.id(1), QStringLiteral("a"));
    QCOMPARE(record.value(2), 5);
    QCOMPARE(record.value(QStringLiteral("b")), 3);
    QCOMPARE(record.value(QStringLiteral("c")), 0);
    record.append(QStringLiteral("d"), 6);
    QCOMPARE(record.value(QStringLiteral("d")), 6);
    QCOMPARE(ids.size(), 3);

    record.setEntries(ids, {7});
    QCOMPARE(record.count(), 1);
    QCOMPARE(record.indexOf(QStringLiteral("a")), -1);
    record.setEntries({QStringLiteral("a")}, {8, 9});
    QCOMPARE(record.count(), 1);
    record.append(QStringLiteral("e"), 10);
    QCOMPARE(record.value(QStringLiteral("e")), 10);
}

void TestAnalysisRecord::clears()
{
    AnalysisRecord record;
    record.append(QStringLiteral("a"), 1);
    record.append(QStringLiteral("b"), 2);
    QCOMPARE(record.value(QStringLiteral("b")), 2);
    record.clear();
    QCOMPARE(record.count(), 0);
    QCOMPARE(record.value(QStringLiteral("b")), 0);
    record.append(QStringLiteral("b"), 9);
    QCOMPARE(record.count(), 1);
    QCOMPARE(record.value(QStringLiteral("b")), 9);
    QCOMPARE(record.indexOf(QStringLiteral("b")), 0);
    QCOMPARE(record.value(QStringLiteral("a")), 0);
}

void TestAnalysisRecord::keepsItsDate()
{
    AnalysisRecord record;
    const QDateTime date(QDate(2024, 5, 6), QTime(7, 8, 9), Qt::UTC);
    record.setDate(date);
    QCOMPARE(record.date(), date);
    record.clear();
    QCOMPARE(record.date(), date);
    record.setDate(QDateTime());
    QVERIFY(!record.date().isValid());
}

void TestAnalysisRecord::copiesAreApart()
{
    AnalysisRecord one;
    one.append(QStringLiteral("a"), 1);
    QCOMPARE(one.value(QStringLiteral("a")), 1);
    AnalysisRecord other = one;
    other.append(QStringLiteral("b"), 2);
    one.append(QStringLiteral("c"), 3);
    QCOMPARE(one.value(QStringLiteral("b")), 0);
    QCOMPARE(one.value(QStringLiteral("c")), 3);
    QCOMPARE(other.value(QStringLiteral("b")), 2);
    QCOMPARE(other.value(QStringLiteral("c")), 0);
    QCOMPARE(other.value(QStringLiteral("a")), 1);
}

void TestAnalysisRecord::findsAmongMany()
{
    constexpr int count = 10000;
    AnalysisRecord record;
    for (int i = 0; i < count; ++i) {
        record.append(QString::number(i % (count / 2)), i + 1);
    }
    for (int i = 0; i < count / 2; ++i) {
        QCOMPARE(record.value(QString::number(i)), i + 1);
    }
    QCOMPARE(record.value(QString::number(count / 2)), 0);
}

QTEST_APPLESS_MAIN(TestAnalysisRecord)

#include "TestAnalysisRecord.moc"
