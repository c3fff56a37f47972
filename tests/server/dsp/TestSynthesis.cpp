// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Synthesis.h"

#include "server/Catalogue.h"
#include "server/MarkerAnalysis.h"
#include "server/Spectrum.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <limits>

using server::Catalogue;
using server::MarkerAnalysis;
using server::Spectrum;
using server::Synthesis;

namespace {

int deviation(const QByteArray& block, int n)
{
    return int(uchar(block[n])) - 128;
}

int greatestDeviation(const QByteArray& block, int from = 0, int to = Synthesis::blockSize)
{
    int greatest = 0;
    for (int n = from; n < to; ++n) {
        greatest = std::max(greatest, std::abs(deviation(block, n)));
    }
    return greatest;
}

// A block lasts 20 ms less than a record: silence fills it up.
Spectrum spectrum(const QByteArray& block)
{
    return Spectrum(block + QByteArray(Spectrum::sampleCount - block.size(), char(128)));
}

} // namespace

class TestSynthesis : public QObject
{
    Q_OBJECT

private slots:
    void lastsOnePass();
    void holdsEachFrequencyAndNothingElse_data();
    void holdsEachFrequencyAndNothingElse();
    void isFoundAgainByTheAnalysis();
    void usesTheWholeRangeWithoutClipping_data();
    void usesTheWholeRangeWithoutClipping();
    void keepsTheCrestLow();
    void fadesAtBothEnds();
    void repeatsWithoutAClick();
    void leavesOutWhatCannotBePlayed();
    void isSilentWithoutFrequencies();
    void isDeterministic();
};

void TestSynthesis::lastsOnePass()
{
    QCOMPARE(int(std::lround(2.98 * 22050)), Synthesis::blockSize);
    QCOMPARE(Synthesis::block({440}).size(), 65709);
    QCOMPARE(Synthesis::block({}).size(), 65709);
}

void TestSynthesis::holdsEachFrequencyAndNothingElse_data()
{
    QTest::addColumn<QString>("id");
    for (const Catalogue::Storage& storage : Catalogue::instance().storages()) {
        for (int i = 0; i < storage.markers.size(); i += storage.id.startsWith(QLatin1String("notes")) ? 5 : 1) {
            QTest::newRow(storage.markers.at(i).id.toUtf8().constData()) << storage.markers.at(i).id;
        }
    }
}

void TestSynthesis::holdsEachFrequencyAndNothingElse()
{
    QFETCH(QString, id);
    const std::vector<double>& frequencies = Catalogue::instance().marker(id)->frequencies;
    const Spectrum result = spectrum(Synthesis::block(frequencies));
    std::vector<double> rest = result.amplitudes();
    const double strongest = *std::max_element(rest.begin(), rest.end());
    for (const double frequency : frequencies) {
        const int bin = int(std::lround(frequency / Spectrum::binWidth));
        const double here =
            *std::max_element(result.amplitudes().begin() + bin - 1, result.amplitudes().begin() + bin + 2);
        // Equal but for what the window loses between bins.
        QVERIFY2(here > 0.75 * strongest, qPrintable(QString::number(frequency)));
        const int reach = 5;
        std::fill(rest.begin() + std::max(bin - reach, 0), rest.begin() + bin + reach + 1, 0.0);
    }
    QVERIFY(*std::max_element(rest.begin(), rest.end()) < 0.01 * strongest);
}

void TestSynthesis::isFoundAgainByTheAnalysis()
{
    for (const char* id : {"notes", "notes-overtones", "third-octave-bands", "octave-bands"}) {
        const Catalogue::Storage& storage = *Catalogue::instance().storage(QString::fromLatin1(id));
        for (int i = 0; i < storage.markers.size(); i += 7) {
            const Catalogue::Marker& marker = storage.markers.at(i);
            const MarkerAnalysis analysis(spectrum(Synthesis::block(marker.frequencies)));
            QVERIFY(analysis.value(marker) >= 75);
            // A stack of eight partials holds the whole of one of two that lies two octaves higher.
            if (marker.match == Catalogue::Match::Any) {
                QCOMPARE(MarkerAnalysis::rows(storage, {analysis}).front().marker->id, marker.id);
            }
        }
    }
}

void TestSynthesis::usesTheWholeRangeWithoutClipping_data()
{
    QTest::addColumn<std::vector<double>>("frequencies");
    QTest::newRow("one") << std::vector<double>{440};
    QTest::newRow("one low") << std::vector<double>{27.5};
    QTest::newRow("one at the limit") << std::vector<double>{11024};
    QTest::newRow("chord") << std::vector<double>{261.63, 329.63, 392};
    QTest::newRow("the same twice") << std::vector<double>{440, 440};
    std::vector<double> many;
    for (int k = 1; k <= 100; ++k) {
        many.push_back(100.0 * k);
    }
    QTest::newRow("a hundred") << many;
}

void TestSynthesis::usesTheWholeRangeWithoutClipping()
{
    QFETCH(std::vector<double>, frequencies);
    const QByteArray block = Synthesis::block(frequencies);
    QCOMPARE(greatestDeviation(block), 114);
    // Nothing clips: the sum has no flat tops beyond what 8 bits make of a slow sine.
    int above = 0;
    for (int n = 0; n < block.size(); ++n) {
        above += std::abs(deviation(block, n)) > 114;
    }
    QCOMPARE(above, 0);
}

void TestSynthesis::keepsTheCrestLow()
{
    const auto crest = [](const QByteArray& block) {
        double power = 0;
        for (int n = 0; n < block.size(); ++n) {
            power += double(deviation(block, n)) * deviation(block, n) / block.size();
        }
        return greatestDeviation(block) / std::sqrt(power);
    };
    QVERIFY(crest(Synthesis::block({440})) < 1.45);
    for (const char* id : {"overtones-a4", "overtones-c4", "mains-50-all"}) {
        const double found =
            crest(Synthesis::block(Catalogue::instance().marker(QString::fromLatin1(id))->frequencies));
        QVERIFY2(found < 2.0, qPrintable(QString::number(found)));
    }
}

void TestSynthesis::fadesAtBothEnds()
{
    for (const std::vector<double>& frequencies :
         {std::vector<double>{440}, std::vector<double>{3000, 3100, 3200}, std::vector<double>{60, 120, 180}}) {
        const QByteArray block = Synthesis::block(frequencies);
        QCOMPARE(int(uchar(block[0])), 128);
        QCOMPARE(int(uchar(block[65708])), 128);
        // A raised cosine of 20 ms has come to 0.6 % after 1 ms, 15 % after 5 ms, half after 10 ms.
        const int ms = 22;
        QVERIFY(greatestDeviation(block, 0, ms) <= 1);
        QVERIFY(greatestDeviation(block, 0, 5 * ms) <= 0.16 * 114);
        QVERIFY(greatestDeviation(block, 0, 10 * ms) <= 0.51 * 114);
        QVERIFY(greatestDeviation(block, 65709 - ms, 65709) <= 1);
        QVERIFY(greatestDeviation(block, 65709 - 5 * ms, 65709) <= 0.16 * 114);
        QVERIFY(greatestDeviation(block, 65709 - 10 * ms, 65709) <= 0.51 * 114);
        QVERIFY(greatestDeviation(block, 441, 65709 - 441) >= 113);
    }
    // A tone stands at full height right after the fade.
    QVERIFY(greatestDeviation(Synthesis::block({440}), 441, 441 + 51) >= 112);
    QVERIFY(greatestDeviation(Synthesis::block({440}), 65709 - 441 - 51, 65709 - 441) >= 112);
}

void TestSynthesis::repeatsWithoutAClick()
{
    const QByteArray twice = Synthesis::block({440}) + Synthesis::block({1000, 2000});
    for (int n = 65709 - 20; n < 65709 + 20; ++n) {
        QVERIFY(std::abs(deviation(twice, n) - deviation(twice, n - 1)) <= 1);
    }
}

void TestSynthesis::leavesOutWhatCannotBePlayed()
{
    const QByteArray expected = Synthesis::block({440, 880});
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    QCOMPARE(Synthesis::block({440, nan, 880, 11025, infinity, -440, 0, -infinity, 1e300}), expected);
}

void TestSynthesis::isSilentWithoutFrequencies()
{
    const QByteArray silence(65709, char(128));
    QCOMPARE(Synthesis::block({}), silence);
    QCOMPARE(Synthesis::block({0}), silence);
    QCOMPARE(Synthesis::block({22050}), silence);
    QCOMPARE(Synthesis::block({std::numeric_limits<double>::quiet_NaN()}), silence);
}

void TestSynthesis::isDeterministic()
{
    QCOMPARE(Synthesis::block({440, 550, 660}), Synthesis::block({440, 550, 660}));
    QVERIFY(Synthesis::block({440}) != Synthesis::block({441}));
}

QTEST_GUILESS_MAIN(TestSynthesis)
#include "TestSynthesis.moc"
