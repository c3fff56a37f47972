// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/BandLevels.h"
#include "server/Catalogue.h"
#include "server/Spectrum.h"

#include "tests/server/dsp/Signals.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using server::BandLevels;
using server::Catalogue;
using server::Spectrum;

namespace {

QVector<double> levels(const Signals& signal)
{
    return BandLevels::of(Spectrum(signal.samples()));
}

int highest(const QVector<double>& values)
{
    return int(std::max_element(values.begin(), values.end()) - values.begin());
}

bool close(double actual, double expected, double tolerance)
{
    if (std::abs(actual - expected) <= tolerance) {
        return true;
    }
    qWarning("%.6g is not within %g of %.6g", actual, tolerance, expected);
    return false;
}

/// A level of the noise that rounding to steps of 1/128 leaves between the limits of a band, 0 dB being a full sine.
double roundingLevel(int band)
{
    const double meanSquare = 1.0 / 128 / 128 / 12;
    const double share = (BandLevels::upperLimit(band) - BandLevels::lowerLimit(band)) / 11025;
    return 10 * std::log10(meanSquare * share / 0.5);
}

} // namespace

/// The levels of the bands against what is known of the signals, and the bands against the standard's numbers.
class TestBandLevels : public QObject
{
    Q_OBJECT

private slots:
    void limits_data();
    void limits();
    void fillTheRangeWithoutGaps();
    void areThoseOfTheCatalogue();
    void readASine_data();
    void readASine();
    void tellATone();
    void readNoise();
    void neverFallBelowTheRounding();
    void anInvalidSpectrumIsSilence();
};

void TestBandLevels::limits_data()
{
    QTest::addColumn<int>("band");
    QTest::addColumn<double>("lower");
    QTest::addColumn<double>("upper");
    QTest::newRow("25") << 0 << 22.387 << 28.184;
    QTest::newRow("100") << 6 << 89.125 << 112.202;
    QTest::newRow("400") << 12 << 354.813 << 446.684;
    QTest::newRow("1000") << 16 << 891.251 << 1122.018;
    QTest::newRow("8000") << 25 << 7079.458 << 8912.509;
}

void TestBandLevels::limits()
{
    QFETCH(int, band);
    QFETCH(double, lower);
    QFETCH(double, upper);
    QVERIFY(close(BandLevels::lowerLimit(band), lower, 0.001));
    QVERIFY(close(BandLevels::upperLimit(band), upper, 0.001));
}

void TestBandLevels::fillTheRangeWithoutGaps()
{
    for (int band = 1; band < BandLevels::count; ++band) {
        QCOMPARE(BandLevels::lowerLimit(band), BandLevels::upperLimit(band - 1));
    }
    QVERIFY(BandLevels::upperLimit(BandLevels::count - 1) < 11025);
    QVERIFY(BandLevels::upperLimit(BandLevels::count) > 11025);
}

void TestBandLevels::areThoseOfTheCatalogue()
{
    const Catalogue::Storage& storage = *Catalogue::instance().storage(QStringLiteral("third-octave-bands"));
    QCOMPARE(storage.markers.size(), int(BandLevels::count));
    for (int band = 0; band < BandLevels::count; ++band) {
        const std::vector<double>& inside = storage.markers.at(band).frequencies;
        QVERIFY(inside.front() > BandLevels::lowerLimit(band));
        QVERIFY(inside.back() < BandLevels::upperLimit(band));
    }
}

void TestBandLevels::readASine_data()
{
    QTest::addColumn<int>("band");
    for (int band = 0; band < BandLevels::count; ++band) {
        QTest::addRow("%.1f Hz", std::sqrt(BandLevels::lowerLimit(band) * BandLevels::upperLimit(band))) << band;
    }
}

void TestBandLevels::readASine()
{
    QFETCH(int, band);
    const double centre = std::sqrt(BandLevels::lowerLimit(band) * BandLevels::upperLimit(band));
    for (const double amplitude : {1.0, 0.5, 0.05}) {
        const QVector<double> found = levels(Signals().tone(centre, amplitude * 0.99));
        QCOMPARE(found.size(), int(BandLevels::count));
        QCOMPARE(highest(found), band);
        QVERIFY(close(found.at(band), 20 * std::log10(amplitude * 0.99), 0.1));
        for (int other = 0; other < BandLevels::count; ++other) {
            QVERIFY(other == band || found.at(other) < found.at(band) - 20);
        }
    }
}

void TestBandLevels::tellATone()
{
    QCOMPARE(highest(levels(Signals().tone(440, 0.5).noise(0.02))), 12);
    QCOMPARE(highest(levels(Signals().tone(880, 0.5).noise(0.02))), 15);
    const QVector<double> both = levels(Signals().tone(440, 0.25).tone(880, 0.5));
    QVERIFY(close(both.at(15) - both.at(12), 20 * std::log10(2.0), 0.1));
}

void TestBandLevels::readNoise()
{
    const double rms = 0.1;
    const QVector<double> found = levels(Signals().noise(rms));
    for (int band = 0; band < BandLevels::count; ++band) {
        const double width = BandLevels::upperLimit(band) - BandLevels::lowerLimit(band);
        const double expected = 10 * std::log10(rms * rms * width / 11025 / 0.5);
        // The power of a band of b Hz scatters by 1 / sqrt(3 b), in three seconds; four times that.
        QVERIFY(close(found.at(band), expected, 10 * std::log10(1 + 4 / std::sqrt(3 * width)) + 0.05));
    }
}

void TestBandLevels::neverFallBelowTheRounding()
{
    const QVector<double> silence = levels(Signals());
    const QVector<double> constant = levels(Signals().offset(0.3));
    QCOMPARE(constant, silence);
    for (int band = 0; band < BandLevels::count; ++band) {
        // A band holds whole bins.
        QVERIFY(close(silence.at(band), roundingLevel(band), 0.3));
    }
    QVERIFY(close(silence.first(), -83, 0.5));
    QVERIFY(close(silence.last(), -58, 0.5));
    const QVector<double> tone = levels(Signals().tone(1000, 0.5));
    for (int band = 0; band < BandLevels::count; ++band) {
        QVERIFY(tone.at(band) >= silence.at(band));
    }
}

void TestBandLevels::anInvalidSpectrumIsSilence()
{
    QCOMPARE(BandLevels::of(Spectrum(QByteArray())), levels(Signals()));
}

QTEST_GUILESS_MAIN(TestBandLevels)

#include "TestBandLevels.moc"
