// SPDX-License-Identifier: GPL-3.0-or-later
// What it costs to read and to sort the largest analysis table, against sorting as many plain numbers.
#include "analysis/AnalysisModel.h"
#include "analysis/AnalysisProxyModel.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <QVariant>
#include <QVector>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <random>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int markerCount = 10000;
constexpr int recordCount = 12;
constexpr int titleColumn = 0;
constexpr int firstRecordColumn = 1;
constexpr int lastRecordColumn = recordCount;

/// Ids are as long as a server's, and titles begin alike, as those of one storage do.
QByteArray reply(int markers)
{
    std::mt19937 generator(1);
    std::uniform_int_distribution<int> percent(0, 100);
    QVector<int> order(markers);
    for (int row = 0; row < markers; ++row) {
        order[row] = row;
    }
    std::shuffle(order.begin(), order.end(), generator);

    QJsonArray columns;
    for (int column = 0; column < recordCount; ++column) {
        columns.append(QStringLiteral("2024-05-%1T07:08:09Z").arg(column + 1, 2, 10, QLatin1Char('0')));
    }
    QJsonArray rows;
    for (int row = 0; row < markers; ++row) {
        QJsonArray values;
        for (int column = 0; column < recordCount; ++column) {
            values.append(percent(generator));
        }
        rows.append(QJsonObject{
            {QStringLiteral("id"), QStringLiteral("3f2a6c1e-9d40-4b7e-8a55-%1").arg(row, 12, 10, QLatin1Char('0'))},
            {QStringLiteral("title"), QStringLiteral("Marker %1").arg(order.at(row))},
            {QStringLiteral("values"), values},
        });
    }
    return QJsonDocument(QJsonObject{{QStringLiteral("columns"), columns}, {QStringLiteral("rows"), rows}}).toJson();
}

QVector<QVariant> column(const QAbstractItemModel& model, int number)
{
    QVector<QVariant> values;
    values.reserve(model.rowCount());
    for (int row = 0; row < model.rowCount(); ++row) {
        values.append(model.index(row, number).data(Qt::UserRole));
    }
    return values;
}

/// The yardstick: the same numbers, each in a variant, by the algorithm that the proxy uses too.
void sortNumbers(QVector<QVariant>& numbers)
{
    std::stable_sort(numbers.begin(), numbers.end(),
                     [](const QVariant& one, const QVariant& other) { return one.toInt() < other.toInt(); });
}

void numbers(benchmark::State& state)
{
    AnalysisModel model(nullptr);
    model.fromJson(reply(markerCount));
    const QVector<QVariant> unsorted = column(model, firstRecordColumn);
    while (state.KeepRunning()) {
        state.PauseTiming();
        QVector<QVariant> copy(unsorted.cbegin(), unsorted.cend());
        state.ResumeTiming();
        sortNumbers(copy);
        benchmark::DoNotOptimize(copy.constData());
    }
}
BENCHMARK(numbers)->Unit(benchmark::kMillisecond);

// The proxy and the yardstick turn about in one run, so that whatever else the machine does weighs on both.
void sortColumn(benchmark::State& state)
{
    const int sorted = int(state.range(0));
    AnalysisModel model(nullptr);
    model.fromJson(reply(markerCount));
    AnalysisProxyModel proxy(nullptr);
    proxy.setSortRole(Qt::UserRole);
    proxy.setSourceModel(&model);
    const QVector<QVariant> unsorted = column(model, sorted == titleColumn ? firstRecordColumn : sorted);

    Clock::duration plain = {};
    Clock::duration whole = {};
    while (state.KeepRunning()) {
        proxy.sort(-1);
        QVector<QVariant> copy(unsorted.cbegin(), unsorted.cend());
        const Clock::time_point start = Clock::now();
        sortNumbers(copy);
        const Clock::time_point between = Clock::now();
        proxy.sort(sorted, Qt::DescendingOrder);
        const Clock::duration last = Clock::now() - between;
        benchmark::DoNotOptimize(copy.constData());
        plain += between - start;
        whole += last;
        state.SetIterationTime(std::chrono::duration<double>(last).count());
    }
    const QVector<QVariant> result = column(proxy, sorted);
    for (int row = 1; row < result.size(); ++row) {
        if (sorted == titleColumn ? result.at(row - 1).toString() < result.at(row).toString()
                                  : result.at(row - 1).toInt() < result.at(row).toInt()) {
            state.SkipWithError("not sorted");
        }
    }
    state.counters["ratio"] = double(whole.count()) / double(plain.count());
}
BENCHMARK(sortColumn)
    ->ArgName("column")
    ->Arg(titleColumn)
    ->Arg(firstRecordColumn)
    ->Arg(lastRecordColumn)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// Beside the parser alone, which nothing can do without: the ratio must not grow with the number of rows.
void readReply(benchmark::State& state)
{
    const QByteArray bytes = reply(int(state.range(0)));
    AnalysisModel model(nullptr);
    Clock::duration parsed = {};
    Clock::duration whole = {};
    while (state.KeepRunning()) {
        const Clock::time_point start = Clock::now();
        benchmark::DoNotOptimize(QJsonDocument::fromJson(bytes).isObject());
        const Clock::time_point between = Clock::now();
        model.fromJson(bytes);
        const Clock::duration last = Clock::now() - between;
        parsed += between - start;
        whole += last;
        state.SetIterationTime(std::chrono::duration<double>(last).count());
    }
    if (model.rowCount() != state.range(0)) {
        state.SkipWithError("not read");
    }
    state.counters["ratio"] = double(whole.count()) / double(parsed.count());
}
BENCHMARK(readReply)
    ->ArgName("rows")
    ->Arg(100)
    ->Arg(1000)
    ->Arg(markerCount)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
