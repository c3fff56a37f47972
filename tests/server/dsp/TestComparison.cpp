// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/BandLevels.h"
#include "server/Comparison.h"
#include "server/MarkerAnalysis.h"
#include "server/Spectrum.h"

#include "tests/server/dsp/Signals.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using server::AnalysisResult;
using server::BandLevels;
using server::Catalogue;
using server::Comparison;
using server::MarkerAnalysis;
using server::Spectrum;

namespace {

const QString english = QStringLiteral("en");
const QString russian = QStringLiteral("ru");

QDateTime at(int second)
{
    return QDateTime(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC).addSecs(second);
}

Comparison::Entry entry(const QDateTime& time, const Signals& signal, const QVector<int>& scores = {0},
                        const QVector<double>& answers = {})
{
    return {time, AnalysisResult(Spectrum(signal.samples())), scores, answers};
}

QVector<Comparison::Entry> threeSounds()
{
    return {entry(at(0), Signals().tone(440, 0.5).noise(0.01)), entry(at(60), Signals().tone(880, 0.5).noise(0.01)),
            entry(at(120), Signals().noise(0.1))};
}

/// Records that only differ in their scores.
Comparison ofScores(const QVector<QVector<int>>& scores)
{
    QVector<Comparison::Entry> records;
    for (int i = 0; i < scores.size(); ++i) {
        records.append(entry(at(i), Signals(), scores.at(i)));
    }
    return Comparison(records, english);
}

int highest(const QVector<double>& values)
{
    return int(std::max_element(values.begin(), values.end()) - values.begin());
}

QString title(const char* marker, const QString& language = english)
{
    return Catalogue::instance().marker(QString::fromLatin1(marker))->title.in(language);
}

} // namespace

class TestComparison : public QObject
{
    Q_OBJECT

private slots:
    void seriesOfOneChartAreEquallyLong();
    void bandsOfEachRecord();
    void recordsOfOneSecondAreAllThere();
    void namesSortAsTheRecords();
    void distinctNames_data();
    void distinctNames();
    void followsTheStrongestMarkers();
    void markersAreOfOneFrequency();
    void silenceHasNoMarkers();
    void meansOfTheScores();
    void trend_data();
    void trend();
    void trendHasAColour();
    void complaints();
    void speaksRussian();
    void nothingToCompare();
};

void TestComparison::seriesOfOneChartAreEquallyLong()
{
    const Comparison comparison(threeSounds(), english);
    QCOMPARE(comparison.bands().size(), 3);
    for (const QVector<double>& series : comparison.bands()) {
        QCOMPARE(series.size(), int(BandLevels::count));
    }
    QCOMPARE(comparison.markers().size(), int(Comparison::mostMarkers));
    for (const Comparison::Series& chart : {comparison.markers(), comparison.summary(), comparison.complaints()}) {
        QVERIFY(!chart.isEmpty());
        for (const QVector<double>& series : chart) {
            QCOMPARE(series.size(), 3);
        }
    }
}

void TestComparison::bandsOfEachRecord()
{
    const QVector<Comparison::Entry> records = threeSounds();
    const Comparison comparison(records, english);
    QCOMPARE(comparison.bands().keys(),
             QStringList({QStringLiteral("2026-03-01 12:00:00"), QStringLiteral("2026-03-01 12:01:00"),
                          QStringLiteral("2026-03-01 12:02:00")}));
    const QList<QVector<double>> series = comparison.bands().values();
    QCOMPARE(highest(series.at(0)), 12); // 400 Hz
    QCOMPARE(highest(series.at(1)), 15); // 800 Hz
    QVERIFY(highest(series.at(2)) > 20);
    for (int i = 0; i < 3; ++i) {
        for (int band = 0; band < BandLevels::count; ++band) {
            const double shown = series.at(i).at(band);
            QVERIFY(std::abs(shown - records.at(i).result.bands().at(band)) <= 0.05 + 1e-9);
            QVERIFY(std::abs(shown * 10 - std::round(shown * 10)) < 1e-9);
        }
    }
}

void TestComparison::recordsOfOneSecondAreAllThere()
{
    QVector<Comparison::Entry> records;
    for (const double frequency : {200.0, 400.0, 800.0}) {
        records.append(entry(at(0).addMSecs(records.size()), Signals().tone(frequency, 0.5)));
    }
    const Comparison comparison(records, english);
    const QString name = QStringLiteral("2026-03-01 12:00:00");
    QCOMPARE(comparison.bands().keys(),
             QStringList({name, name + QStringLiteral(" (2)"), name + QStringLiteral(" (3)")}));
    QCOMPARE(highest(comparison.bands().values().at(0)), 9);
    QCOMPARE(highest(comparison.bands().values().at(1)), 12);
    QCOMPARE(highest(comparison.bands().values().at(2)), 15);
}

void TestComparison::namesSortAsTheRecords()
{
    for (const int count : {9, 10, 11, 100, 120}) {
        QStringList names;
        for (int i = 0; i < count; ++i) {
            names.append(QStringLiteral("2026-03-01 12:00:00"));
        }
        names.append(QStringLiteral("2026-03-01 12:00:01"));
        const QStringList made = Comparison::distinct(names);
        QStringList sorted = made;
        sorted.sort();
        QCOMPARE(made, sorted);
        QCOMPARE(made.size(), count + 1);
        QCOMPARE(sorted.removeDuplicates(), 0);
    }
}

void TestComparison::distinctNames_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QStringList>("expected");
    const auto list = [](const char* text) { return QString::fromLatin1(text).split(QLatin1Char(',')); };
    QTest::newRow("none") << QStringList() << QStringList();
    QTest::newRow("different") << list("b,a") << list("b,a");
    QTest::newRow("twice") << list("a,a") << list("a,a (2)");
    QTest::newRow("apart") << list("a,b,a,b,a") << list("a,b,a (2),b (2),a (3)");
    QTest::newRow("taken behind") << list("a,a,a (2)") << list("a,a (3),a (2)");
    QTest::newRow("taken before") << list("a (2),a,a") << list("a (2),a,a (3)");
    QTest::newRow("ten") << list("a,a,a,a,a,a,a,a,a,a")
                         << list("a,a (02),a (03),a (04),a (05),a (06),a (07),a (08),a (09),a (10)");
}

void TestComparison::distinctNames()
{
    QFETCH(QStringList, names);
    QFETCH(QStringList, expected);
    QCOMPARE(Comparison::distinct(names), expected);
}

void TestComparison::followsTheStrongestMarkers()
{
    const QVector<Comparison::Entry> records = threeSounds();
    const Comparison comparison(records, english);
    const QVector<double> low = comparison.markers().value(title("note-a4"));
    const QVector<double> high = comparison.markers().value(title("note-a5"));
    QCOMPARE(low.size(), 3);
    QCOMPARE(high.size(), 3);
    QVERIFY(low.at(0) > 60 && low.at(1) < 30 && low.at(2) < 30);
    QVERIFY(high.at(1) > 60 && high.at(0) < 30 && high.at(2) < 30);
    for (int i = 0; i < 3; ++i) {
        const double level = records.at(i).result.level(*Catalogue::instance().marker(QStringLiteral("note-a4")));
        QCOMPARE(low.at(i), double(MarkerAnalysis::valueOf(level)));
    }

    // Whatever is shown reaches as high, in some record, as whatever is not.
    double least = 100;
    for (const QVector<double>& series : comparison.markers()) {
        least = std::min(least, *std::max_element(series.begin(), series.end()));
    }
    for (const Catalogue::Marker& marker : Catalogue::instance().storage(QStringLiteral("notes"))->markers) {
        for (const Comparison::Entry& record : records) {
            QVERIFY(comparison.markers().contains(marker.title.english) ||
                    MarkerAnalysis::valueOf(record.result.level(marker)) <= least);
        }
    }
}

void TestComparison::markersAreOfOneFrequency()
{
    // A rich sound, in which bands and sets of overtones reach high levels.
    const Comparison comparison({entry(at(0), Signals().vowel(110, {730, 1090, 2440}, 0.8))}, english);
    QSet<QString> single;
    for (const Catalogue::Storage& storage : Catalogue::instance().storages()) {
        for (const Catalogue::Marker& marker : storage.markers) {
            if (marker.frequencies.size() == 1) {
                single.insert(marker.title.english);
            }
        }
    }
    const QStringList shown = comparison.markers().keys();
    QCOMPARE(shown.size(), int(Comparison::mostMarkers));
    for (const QString& name : shown) {
        QVERIFY2(single.contains(name), qPrintable(name));
    }
    const Comparison hum({entry(at(0), Signals().tone(50, 0.5).noise(0.01))}, english);
    QVERIFY(hum.markers().value(title("mains-50-1")).value(0) > 60);
}

void TestComparison::silenceHasNoMarkers()
{
    const Comparison comparison({entry(at(0), Signals()), entry(at(1), Signals())}, english);
    QVERIFY(comparison.markers().isEmpty());
    QCOMPARE(comparison.bands().size(), 2);
    const Comparison once({entry(at(0), Signals()), entry(at(1), Signals().tone(440, 0.5))}, english);
    QCOMPARE(once.markers().value(title("note-a4")).value(0, -1), 0.0);
    QCOMPARE(once.markers().value(title("note-a4")).value(1, -1), 100.0);
}

void TestComparison::meansOfTheScores()
{
    const Comparison comparison = ofScores({{0, 0, 0, 0}, {100, -50, 0, 1}, {-100, -100, -100, -99}});
    QCOMPARE(comparison.summary().keys(), QStringList({QStringLiteral("Mean score"), QStringLiteral("Trend")}));
    QCOMPARE(comparison.summary().value(QStringLiteral("Mean score")), QVector<double>({0, 12.75, -99.75}));
    QCOMPARE(ofScores({{}}).summary().value(QStringLiteral("Mean score")), QVector<double>{0});
    QCOMPARE(ofScores({{1, 0, 0}}).summary().value(QStringLiteral("Mean score")), QVector<double>{0.33});
}

void TestComparison::trend_data()
{
    QTest::addColumn<QVector<double>>("scores");
    QTest::addColumn<QVector<double>>("expected");
    QTest::newRow("one") << QVector<double>{8} << QVector<double>{8};
    QTest::newRow("two") << QVector<double>{0, 9} << QVector<double>{3, 6};
    QTest::newRow("three") << QVector<double>{0, 12, 0} << QVector<double>{4, 6, 4};
    QTest::newRow("level") << QVector<double>{-7, -7, -7, -7} << QVector<double>{-7, -7, -7, -7};
    QTest::newRow("rising") << QVector<double>{0, 30, 60, 90} << QVector<double>{10, 30, 60, 80};
    QTest::newRow("thirds") << QVector<double>{0, 1} << QVector<double>{0.33, 0.67};
}

void TestComparison::trend()
{
    QFETCH(QVector<double>, scores);
    QFETCH(QVector<double>, expected);
    QVector<QVector<int>> each;
    for (const double score : scores) {
        each.append(QVector<int>{int(score)});
    }
    const Comparison comparison = ofScores(each);
    QCOMPARE(comparison.summary().value(QStringLiteral("Mean score")), scores);
    QCOMPARE(comparison.summary().value(QStringLiteral("Trend")), expected);
}

void TestComparison::trendHasAColour()
{
    const Comparison comparison = ofScores({{1}, {2}});
    QCOMPARE(comparison.smooth().keys(), QStringList{QStringLiteral("Trend")});
    QVERIFY(comparison.summary().contains(comparison.smooth().firstKey()));
    QCOMPARE(comparison.smooth().first().size(), 3);
    for (const int component : comparison.smooth().first()) {
        QVERIFY(component >= 0 && component <= 255);
    }
}

void TestComparison::complaints()
{
    const Comparison comparison({entry(at(0), Signals(), {0}, {1, 0, 3, 0.5}), entry(at(1), Signals()),
                                 entry(at(2), Signals(), {0}, {0, 0}), entry(at(3), Signals(), {0}, {2, -1})},
                                english);
    QCOMPARE(comparison.complaints().keys(),
             QStringList({QStringLiteral("Number of complaints"), QStringLiteral("Severity")}));
    QCOMPARE(comparison.complaints().value(QStringLiteral("Number of complaints")), QVector<double>({3, 0, 0, 1}));
    QCOMPARE(comparison.complaints().value(QStringLiteral("Severity")), QVector<double>({4.5, 0, 0, 1}));
}

void TestComparison::speaksRussian()
{
    const Comparison comparison(threeSounds(), russian);
    QVERIFY(comparison.markers().contains(title("note-a4", russian)));
    QVERIFY(title("note-a4", russian) != title("note-a4"));
    QCOMPARE(comparison.summary().keys(), QStringList({QStringLiteral("Средняя оценка"), QStringLiteral("Тренд")}));
    QCOMPARE(comparison.smooth().keys(), QStringList{QStringLiteral("Тренд")});
    QCOMPARE(comparison.complaints().keys(),
             QStringList({QStringLiteral("Выраженность"), QStringLiteral("Количество жалоб")}));
}

void TestComparison::nothingToCompare()
{
    const Comparison comparison({}, english);
    QVERIFY(comparison.bands().isEmpty());
    QVERIFY(comparison.markers().isEmpty());
    QVERIFY(comparison.summary().isEmpty());
    QVERIFY(comparison.smooth().isEmpty());
    QVERIFY(comparison.complaints().isEmpty());
}

QTEST_GUILESS_MAIN(TestComparison)

#include "TestComparison.moc"
