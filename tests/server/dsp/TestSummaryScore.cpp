// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/SummaryScore.h"

#include <QtTest>

#include <cmath>

using server::SummaryScore;

namespace {

QDateTime at(int second)
{
    return QDateTime(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC).addSecs(second);
}

QVector<int> oneBehindTheOther(const QVector<double>& strengths)
{
    QVector<QDateTime> times;
    for (int i = 0; i < strengths.size(); ++i) {
        times.append(at(i));
    }
    return SummaryScore::scores(times, strengths);
}

bool close(double actual, double expected)
{
    if (std::abs(actual - expected) < 1e-9) {
        return true;
    }
    qWarning("%.12g is not %.12g", actual, expected);
    return false;
}

} // namespace

class TestSummaryScore : public QObject
{
    Q_OBJECT

private slots:
    void strengthIsTheMeanPowerOfAStorage();
    void strengthIsTheMeanLevelOfTheStorages();
    void scores_data();
    void scores();
    void recordsOfOneMomentAreNotBeforeOneAnother();
    void nothingHasNoScores();
};

void TestSummaryScore::strengthIsTheMeanPowerOfAStorage()
{
    QVERIFY(close(SummaryScore::strength({{0, 0, 0}}), 0));
    QVERIFY(close(SummaryScore::strength({{12.5, 12.5}}), 12.5));
    QVERIFY(close(SummaryScore::strength({{20, 0, 0, 0}}), 10 * std::log10(103.0 / 4)));
    // The order of the markers means nothing.
    QCOMPARE(SummaryScore::strength({{30, 10, 20}}), SummaryScore::strength({{20, 30, 10}}));
}

void TestSummaryScore::strengthIsTheMeanLevelOfTheStorages()
{
    QVERIFY(close(SummaryScore::strength({{10, 10}, {30}}), 20));
    // However many markers a storage has, it weighs as much as the other.
    QVERIFY(close(SummaryScore::strength({{10, 10, 10, 10, 10, 10}, {30}, {50}}), 30));
}

void TestSummaryScore::scores_data()
{
    QTest::addColumn<QVector<double>>("strengths");
    QTest::addColumn<QVector<int>>("expected");
    QTest::newRow("one") << QVector<double>{40} << QVector<int>{0};
    QTest::newRow("alike") << QVector<double>{33.3, 33.3, 33.3, 33.3} << QVector<int>{0, 0, 0, 0};
    QTest::newRow("60 dB more") << QVector<double>{5, 65} << QVector<int>{0, 100};
    QTest::newRow("60 dB less") << QVector<double>{65, 5} << QVector<int>{0, -100};
    QTest::newRow("6 dB") << QVector<double>{10, 16} << QVector<int>{0, 10};
    QTest::newRow("never beyond 100") << QVector<double>{0, 90, -90} << QVector<int>{0, 100, -100};
    QTest::newRow("against the mean, not the last") << QVector<double>{10, 40, 25} << QVector<int>{0, 50, 0};
    QTest::newRow("against all before") << QVector<double>{0, 30, 60, 30} << QVector<int>{0, 50, 75, 0};
    QTest::newRow("rounds up") << QVector<double>{0, 0.3} << QVector<int>{0, 1};
    QTest::newRow("rounds down") << QVector<double>{0, 0.29} << QVector<int>{0, 0};
    QTest::newRow("rounds below 0") << QVector<double>{0.3, 0} << QVector<int>{0, -1};
}

void TestSummaryScore::scores()
{
    QFETCH(QVector<double>, strengths);
    QFETCH(QVector<int>, expected);
    QCOMPARE(oneBehindTheOther(strengths), expected);
}

void TestSummaryScore::recordsOfOneMomentAreNotBeforeOneAnother()
{
    QCOMPARE(SummaryScore::scores({at(0), at(0), at(0)}, {10, 40, 60}), QVector<int>({0, 0, 0}));
    QCOMPARE(SummaryScore::scores({at(0), at(1), at(1), at(2)}, {0, 30, 60, 30}), QVector<int>({0, 50, 100, 0}));
}

void TestSummaryScore::nothingHasNoScores()
{
    QCOMPARE(SummaryScore::scores({}, {}), QVector<int>());
}

QTEST_GUILESS_MAIN(TestSummaryScore)

#include "TestSummaryScore.moc"
