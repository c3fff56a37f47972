// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Spectrum.h"

#include "tests/server/dsp/Signals.h"

#include <QtTest>

#include <cmath>
#include <numeric>
#include <thread>

using server::Spectrum;

namespace {

double decibels(double ratio)
{
    return 20.0 * std::log10(ratio);
}

bool close(double actual, double expected, double tolerance)
{
    if (std::abs(actual - expected) <= tolerance) {
        return true;
    }
    qWarning("%.9g is not within %g of %.9g", actual, tolerance, expected);
    return false;
}

} // namespace

class TestSpectrum : public QObject
{
    Q_OBJECT

private slots:
    void hasBinsOfAThirdOfAHertz();
    void readsTheAmplitudeOfATone_data();
    void readsTheAmplitudeOfATone();
    void losesWhatTheWindowLosesBetweenBins();
    void hasTheShapeOfTheHannWindow();
    void removesTheMean();
    void agreesWithTheDirectSum();
    void measuresNoiseByItsBandwidth();
    void isZeroForSilence();
    void refusesOtherLengths();
    void isTheSameOnManyThreads();
};

void TestSpectrum::hasBinsOfAThirdOfAHertz()
{
    const Spectrum spectrum(Signals().tone(440, 0.5).samples());
    QVERIFY(spectrum.isValid());
    QCOMPARE(int(spectrum.amplitudes().size()), 33076);
    QCOMPARE(Spectrum::binWidth, 1.0 / 3.0);
    QVERIFY(close(spectrum.dominantFrequency(), 440, 1e-9));
}

void TestSpectrum::readsTheAmplitudeOfATone_data()
{
    QTest::addColumn<int>("bin");
    QTest::addColumn<double>("amplitude");
    QTest::newRow("440 Hz, nearly full") << 1320 << 0.99;
    QTest::newRow("440 Hz, half") << 1320 << 0.5;
    QTest::newRow("440 Hz, ten steps") << 1320 << 10.0 / 128;
    QTest::newRow("1 Hz") << 3 << 0.5;
    QTest::newRow("11000 Hz") << 33000 << 0.5;
    QTest::newRow("1000 1/3 Hz") << 3001 << 0.25;
}

void TestSpectrum::readsTheAmplitudeOfATone()
{
    QFETCH(int, bin);
    QFETCH(double, amplitude);
    const Spectrum spectrum(Signals().tone(bin / 3.0, amplitude, 0.7).samples());
    // Rounding to 8 bits may shift an amplitude by a small part of a step.
    QVERIFY(close(spectrum.amplitudes()[bin], amplitude, 0.1 / 128));
    QVERIFY(close(spectrum.dominantFrequency(), bin / 3.0, 1e-9));
}

void TestSpectrum::losesWhatTheWindowLosesBetweenBins()
{
    const Spectrum spectrum(Signals().tone(1320.5 / 3.0, 0.9).samples());
    QVERIFY(close(decibels(spectrum.amplitudes()[1320] / 0.9), -1.42, 0.02));
    QVERIFY(close(decibels(spectrum.amplitudes()[1321] / 0.9), -1.42, 0.02));
}

void TestSpectrum::hasTheShapeOfTheHannWindow()
{
    const Spectrum spectrum(Signals().tone(1320 / 3.0, 0.9).samples());
    const std::vector<double>& amplitudes = spectrum.amplitudes();
    // On a bin, the window's transform is 1, 1/2 beside it, and nothing further out.
    QVERIFY(close(amplitudes[1319] / amplitudes[1320], 0.5, 0.001));
    QVERIFY(close(amplitudes[1321] / amplitudes[1320], 0.5, 0.001));
    QVERIFY(amplitudes[1318] < 0.001);
    QVERIFY(amplitudes[1322] < 0.001);

    const Spectrum between(Signals().tone(1320.5 / 3.0, 0.9).samples());
    // sinc(x) / (1 - x^2) at 1.5 and 2.5 bins from the tone, against 0.5 bins.
    const double at05 = 2.0 / 3.14159265 / 0.75;
    QVERIFY(
        close(between.amplitudes()[1322] / between.amplitudes()[1321], (2.0 / (3 * 3.14159265) / 1.25) / at05, 0.001));
    QVERIFY(
        close(between.amplitudes()[1323] / between.amplitudes()[1321], (2.0 / (5 * 3.14159265) / 5.25) / at05, 0.001));
}

void TestSpectrum::removesTheMean()
{
    const Spectrum centred(Signals().tone(440, 0.3).samples());
    const Spectrum shifted(Signals().tone(440, 0.3).offset(0.5).samples());
    QVERIFY(centred.amplitudes()[0] < 1e-3);
    for (int k = 0; k < Spectrum::binCount; ++k) {
        QVERIFY(std::abs(centred.amplitudes()[k] - shifted.amplitudes()[k]) < 1e-9);
    }
}

void TestSpectrum::agreesWithTheDirectSum()
{
    const QByteArray samples = Signals().noise(0.2, 7).tone(123.4, 0.3).samples();
    const Spectrum spectrum(samples);
    double mean = 0;
    for (const char sample : samples) {
        mean += double(uchar(sample)) / 66150;
    }
    const double pi = std::acos(-1.0);
    for (const int bin : {0, 1, 2, 369, 370, 371, 10000, 33074, 33075}) {
        double real = 0;
        double imaginary = 0;
        for (int n = 0; n < 66150; ++n) {
            const double window = 0.5 - 0.5 * std::cos(2 * pi * n / 66150);
            const double value = (uchar(samples[n]) - mean) / 128 * window;
            real += value * std::cos(2 * pi * double(qint64(bin) * n % 66150) / 66150);
            imaginary -= value * std::sin(2 * pi * double(qint64(bin) * n % 66150) / 66150);
        }
        const double sides = bin == 0 || bin == 33075 ? 1 : 2;
        const double expected = sides * std::hypot(real, imaginary) / (66150 * 0.5);
        QVERIFY(close(spectrum.amplitudes()[bin], expected, 1e-12));
    }
}

void TestSpectrum::measuresNoiseByItsBandwidth()
{
    const double rms = 0.1;
    const Spectrum spectrum(Signals().noise(rms).samples());
    double power = 0;
    for (const double amplitude : spectrum.amplitudes()) {
        power += amplitude * amplitude / Spectrum::binCount;
    }
    QVERIFY(close(10 * std::log10(power / (6 * rms * rms / 66150)), 0, 0.1));
}

void TestSpectrum::isZeroForSilence()
{
    for (const int level : {0, 127, 128, 255}) {
        const Spectrum spectrum(QByteArray(66150, char(level)));
        QVERIFY(spectrum.isValid());
        for (const double amplitude : spectrum.amplitudes()) {
            QCOMPARE(amplitude, 0.0);
        }
        QCOMPARE(spectrum.dominantFrequency(), 0.0);
    }
}

void TestSpectrum::refusesOtherLengths()
{
    for (const int size : {0, 1, 66149, 66151, 132300}) {
        const Spectrum spectrum(QByteArray(size, '\x42'));
        QVERIFY(!spectrum.isValid());
        QVERIFY(spectrum.amplitudes().empty());
        QCOMPARE(spectrum.dominantFrequency(), 0.0);
    }
}

void TestSpectrum::isTheSameOnManyThreads()
{
    const QByteArray samples = Signals().noise(0.1, 3).tone(1234.5, 0.4).samples();
    std::vector<std::vector<double>> results(8);
    std::vector<std::thread> threads;
    threads.reserve(results.size());
    for (std::vector<double>& result : results) {
        threads.emplace_back([&result, &samples] {
            for (int i = 0; i < 5; ++i) {
                result = Spectrum(samples).amplitudes();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const Spectrum alone(samples);
    for (const std::vector<double>& result : results) {
        QVERIFY(result == alone.amplitudes());
    }
}

QTEST_GUILESS_MAIN(TestSpectrum)
#include "TestSpectrum.moc"
