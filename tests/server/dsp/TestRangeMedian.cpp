// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/RangeMedian.h"

#include <QtTest>

#include <algorithm>
#include <random>

using server::RangeMedian;

namespace {

double sortedMiddle(const std::vector<double>& values, int first, int last)
{
    std::vector<double> part(values.begin() + first, values.begin() + last + 1);
    std::sort(part.begin(), part.end());
    return part[part.size() / 2];
}

std::vector<double> row(size_t size, bool repeated)
{
    std::mt19937 generator(unsigned(size) + (repeated ? 1 : 0));
    std::uniform_real_distribution<double> fine(-1.0, 1.0);
    std::uniform_int_distribution<int> coarse(0, 4);
    std::vector<double> values;
    for (size_t i = 0; i < size; ++i) {
        values.push_back(repeated ? coarse(generator) : fine(generator));
    }
    return values;
}

} // namespace

/// The medians against those of sorted copies.
class TestRangeMedian : public QObject
{
    Q_OBJECT

private slots:
    void everyStretchOfShortRows();
    void anyStretchOfLongRows_data();
    void anyStretchOfLongRows();
    void bearsAnEmptyRow();
};

void TestRangeMedian::everyStretchOfShortRows()
{
    for (int size = 1; size <= 70; ++size) {
        for (const bool repeated : {false, true}) {
            const std::vector<double> values = row(size_t(size), repeated);
            const RangeMedian medians(values);
            for (int first = 0; first < size; ++first) {
                for (int last = first; last < size; ++last) {
                    QCOMPARE(medians.median(first, last), sortedMiddle(values, first, last));
                }
            }
        }
    }
}

void TestRangeMedian::anyStretchOfLongRows_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("bins of a record") << 33076;
    QTest::newRow("power of two") << 32768;
    QTest::newRow("one less") << 32767;
    QTest::newRow("the most") << 65535;
}

void TestRangeMedian::anyStretchOfLongRows()
{
    QFETCH(int, size);
    std::mt19937 generator(3);
    std::uniform_int_distribution<int> place(0, size - 1);
    for (const bool repeated : {false, true}) {
        const std::vector<double> values = row(size_t(size), repeated);
        const RangeMedian medians(values);
        QCOMPARE(medians.median(0, size - 1), sortedMiddle(values, 0, size - 1));
        for (int i = 0; i < 100; ++i) {
            const int one = place(generator);
            const int other = place(generator);
            QCOMPARE(medians.median(std::min(one, other), std::max(one, other)),
                     sortedMiddle(values, std::min(one, other), std::max(one, other)));
        }
    }
}

void TestRangeMedian::bearsAnEmptyRow()
{
    const RangeMedian none{std::vector<double>()};
    const RangeMedian one{std::vector<double>{7.5}};
    QCOMPARE(one.median(0, 0), 7.5);
}

QTEST_GUILESS_MAIN(TestRangeMedian)

#include "TestRangeMedian.moc"
