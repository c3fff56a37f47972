// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Autospectrum.h"
#include "server/Demo.h"
#include "server/Spectrum.h"
#include "server/WaveFile.h"
#include "tests/server/dsp/Signals.h"

#include <QTest>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <complex>
#include <thread>
#include <vector>

using server::Autospectrum;
using server::Demo;
using server::Spectrum;
using server::WaveFile;

namespace {

constexpr int size = 65709;
const double pi = std::acos(-1.0);

int deviation(const QByteArray& block, int n)
{
    return int(uchar(block.at(n))) - 128;
}

int greatestDeviation(const QByteArray& block)
{
    int greatest = 0;
    for (int n = 0; n < block.size(); ++n) {
        greatest = std::max(greatest, std::abs(deviation(block, n)));
    }
    return greatest;
}

int greatestStep(const QByteArray& block, int from, int to)
{
    int greatest = 0;
    for (int n = from; n < to; ++n) {
        greatest = std::max(greatest, std::abs(deviation(block, n) - deviation(block, n - 1)));
    }
    return greatest;
}

// A frequency that fits a block a whole number of times.
double fitting(int periods)
{
    return periods * 22050.0 / size;
}

// The power of bin k of a transform of the length of a block.
double power(const std::vector<double>& wave, int k)
{
    std::complex<double> sum = 0;
    for (int n = 0; n < size; ++n) {
        // The product is taken modulo the size first, as a large angle would lose its last digits.
        sum += wave[n] * std::polar(1.0, -2 * pi * double(qint64(k) * n % size) / size);
    }
    return std::norm(sum);
}

std::vector<double> waveOf(const QByteArray& block)
{
    std::vector<double> wave(size);
    for (int n = 0; n < size; ++n) {
        wave[n] = deviation(block, n);
    }
    return wave;
}

// The middle of a record under the window, as the block is made from it.
std::vector<double> weighted(const QByteArray& record)
{
    std::vector<double> wave(size);
    double mean = 0;
    for (int n = 0; n < size; ++n) {
        wave[n] = uchar(record.at(220 + n));
        mean += wave[n] / size;
    }
    for (int n = 0; n < size; ++n) {
        wave[n] = (wave[n] - mean) * (0.5 - 0.5 * std::cos(2 * pi * n / size));
    }
    return wave;
}

// How a client repeats one block for this many minutes.
int repeats(int minutes)
{
    return int(std::floor(minutes * 60.0 / 2.98));
}

} // namespace

class TestAutospectrum : public QObject
{
    Q_OBJECT

private slots:
    void lastsAsLongAsWasAskedFor();
    void hasTheAutospectrumOfTheRecord_data();
    void hasTheAutospectrumOfTheRecord();
    void holdsNothingElse();
    void usesTheWholeRangeWithoutClipping_data();
    void usesTheWholeRangeWithoutClipping();
    void keepsTheCrestLow();
    void soundsAllTheTime();
    void repeatsWithoutAClick_data();
    void repeatsWithoutAClick();
    void beginsNearSilence();
    void silenceStaysSilence_data();
    void silenceStaysSilence();
    void twoStepsAreASound();
    void isDeterministic();
    void takesNoOtherLength();
    void runsOnManyThreads();
};

void TestAutospectrum::lastsAsLongAsWasAskedFor()
{
    const QByteArray block = Autospectrum::block(Signals().tone(440, 0.5).samples());
    QCOMPARE(block.size(), 65709);
    QCOMPARE(Autospectrum::block({}).size(), 65709);
    for (const int minutes : {1, 2, 15, 600}) {
        const double seconds = double(repeats(minutes)) * block.size() / 22050.0;
        QVERIFY(seconds <= 60.0 * minutes);
        QVERIFY(seconds > 60.0 * minutes - 2.98);
    }
}

void TestAutospectrum::hasTheAutospectrumOfTheRecord_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::addColumn<QVector<int>>("bins");
    QTest::newRow("tones") << Signals().tone(fitting(1000), 0.5).tone(fitting(3000), 0.25).samples()
                           << QVector<int>{999, 1000, 1001, 2999, 3000, 3001};
    QTest::newRow("tones between two bins")
        << Signals().tone(440.17, 0.4).tone(997.5, 0.3).samples() << QVector<int>{1311, 1312, 2972, 2973};
    QTest::newRow("vowel") << Signals().vowel(120, {730, 1090, 2440}, 0.6).samples()
                           << QVector<int>{357, 358, 715, 2145, 2146, 3219};
    QTest::newRow("quiet tone") << Signals().tone(fitting(500), 0.05).samples() << QVector<int>{499, 500, 501};
}

void TestAutospectrum::hasTheAutospectrumOfTheRecord()
{
    QFETCH(QByteArray, record);
    QFETCH(QVector<int>, bins);
    const std::vector<double> before = weighted(record);
    const std::vector<double> after = waveOf(Autospectrum::block(record));
    // Up to one factor, for all frequencies the same.
    const double factor = power(after, bins.first()) / power(before, bins.first());
    QVERIFY(factor > 0);
    for (const int k : bins) {
        const double ratio = power(after, k) / power(before, k) / factor;
        QVERIFY2(ratio > 0.98 && ratio < 1.02, qPrintable(QStringLiteral("%1: %2").arg(k).arg(ratio)));
    }
}

void TestAutospectrum::holdsNothingElse()
{
    const QByteArray block = Autospectrum::block(Signals().tone(440, 0.5).tone(2000, 0.5).samples());
    // Repeated to the length of a record, there is no joint to be seen in the spectrum.
    const Spectrum spectrum(block + block.left(66150 - size));
    std::vector<double> rest = spectrum.amplitudes();
    const double strongest = *std::max_element(rest.begin(), rest.end());
    for (const int bin : {1320, 6000}) {
        QVERIFY(*std::max_element(rest.begin() + bin - 3, rest.begin() + bin + 4) > 0.5 * strongest);
        std::fill(rest.begin() + bin - 8, rest.begin() + bin + 9, 0.0);
    }
    QVERIFY(*std::max_element(rest.begin(), rest.end()) < 0.01 * strongest);
}

void TestAutospectrum::usesTheWholeRangeWithoutClipping_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::newRow("loud tone") << Signals().tone(440, 0.95).samples();
    QTest::newRow("quiet tone") << Signals().tone(440, 0.03).samples();
    QTest::newRow("low tone") << Signals().tone(27.5, 0.5).samples();
    QTest::newRow("high tone") << Signals().tone(11000, 0.5).samples();
    QTest::newRow("noise") << Signals().noise(0.2).samples();
    QTest::newRow("clipped") << Signals().tone(300, 3).samples();
    QTest::newRow("off centre") << Signals().tone(440, 0.2).offset(0.6).samples();
    QTest::newRow("all at one end, then at the other") << QByteArray(33075, char(0)) + QByteArray(33075, char(255));
}

void TestAutospectrum::usesTheWholeRangeWithoutClipping()
{
    QFETCH(QByteArray, record);
    const QByteArray block = Autospectrum::block(record);
    QCOMPARE(greatestDeviation(block), 127);
    // A sum that does not clip stays only shortly at its greatest height.
    const double share =
        double(std::count_if(block.begin(), block.end(), [](char c) { return std::abs(int(uchar(c)) - 128) == 127; })) /
        size;
    QVERIFY2(share < 0.05, qPrintable(QString::number(share)));
}

void TestAutospectrum::keepsTheCrestLow()
{
    for (const QByteArray& record :
         {Signals().noise(0.2).samples(), Signals().vowel(120, {730, 1090, 2440}, 0.6).samples(),
          Signals().tone(261.63, 0.2).tone(329.63, 0.2).tone(392, 0.2).samples()}) {
        double sum = 0;
        const QByteArray block = Autospectrum::block(record);
        for (int n = 0; n < size; ++n) {
            sum += double(deviation(block, n)) * deviation(block, n) / size;
        }
        const double crest = greatestDeviation(block) / std::sqrt(sum);
        // Noise with phases of its own has about 4.5, an impulse with all phases alike 180.
        QVERIFY2(crest < 3.5, qPrintable(QString::number(crest)));
    }
}

void TestAutospectrum::soundsAllTheTime()
{
    // The window that the record is seen through must not be heard as a swell.
    const QByteArray block = Autospectrum::block(Signals().tone(440, 0.5).samples());
    for (int from = 0; from + 2205 <= size; from += 2205) {
        QVERIFY2(greatestDeviation(block.mid(from, 2205)) > 40, qPrintable(QString::number(from)));
    }
}

void TestAutospectrum::repeatsWithoutAClick_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::newRow("tone") << Signals().tone(440, 0.5).samples();
    QTest::newRow("low tone between two bins") << Signals().tone(50.123, 0.5).samples();
    QTest::newRow("chord") << Signals().tone(261.63, 0.2).tone(329.63, 0.2).tone(392, 0.2).samples();
    QTest::newRow("off centre") << Signals().tone(440, 0.2).offset(0.6).samples();
}

void TestAutospectrum::repeatsWithoutAClick()
{
    QFETCH(QByteArray, record);
    const QByteArray block = Autospectrum::block(record);
    const QByteArray twice = block + block;
    const int within = greatestStep(block, 1, size);
    QVERIFY(greatestStep(twice, size - 2, size + 3) <= within);
    // Neither is the slope broken there: the second difference is no greater than elsewhere.
    const auto bend = [&twice](int n) {
        return deviation(twice, n + 1) - 2 * deviation(twice, n) + deviation(twice, n - 1);
    };
    int greatest = 0;
    for (int n = 1; n < size - 1; ++n) {
        greatest = std::max(greatest, std::abs(bend(n)));
    }
    for (int n = size - 2; n < size + 2; ++n) {
        QVERIFY(std::abs(bend(n)) <= greatest);
    }
}

void TestAutospectrum::beginsNearSilence()
{
    for (const QByteArray& record :
         {Signals().tone(440, 0.5).samples(), Signals().noise(0.2).samples(), Signals().tone(60, 0.9).samples()}) {
        const QByteArray block = Autospectrum::block(record);
        QVERIFY(std::abs(deviation(block, 0)) <= 2);
        QVERIFY(std::abs(deviation(block, size - 1)) <= 2);
    }
}

void TestAutospectrum::silenceStaysSilence_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::newRow("128") << QByteArray(66150, char(128));
    QTest::newRow("127") << QByteArray(66150, char(127));
    QTest::newRow("0") << QByteArray(66150, char(0));
    QTest::newRow("255") << QByteArray(66150, char(255));
    QTest::newRow("127 and 128 in turn") << QByteArray("\x7f\x80").repeated(33075);
    QTest::newRow("nearly always 128") << QByteArray(40000, char(128)) + char(127) + QByteArray(26149, char(128));
    QTest::newRow("a sound in what is left out") << QByteArray(200, char(255)) + QByteArray(65950, char(128));
    QTest::newRow("a click where the window is shut")
        << QByteArray(220, char(128)) + char(255) + QByteArray(65929, char(128));
}

void TestAutospectrum::silenceStaysSilence()
{
    QFETCH(QByteArray, record);
    QCOMPARE(record.size(), 66150);
    QCOMPARE(Autospectrum::block(record), QByteArray(size, char(128)));
}

void TestAutospectrum::twoStepsAreASound()
{
    const QByteArray block = Autospectrum::block(QByteArray("\x7e\x7e\x82\x82").repeated(16537) + "\x7e\x7e");
    QCOMPARE(greatestDeviation(block), 127);
}

void TestAutospectrum::isDeterministic()
{
    const QByteArray record = Signals().tone(440, 0.4).noise(0.05).samples();
    QCOMPARE(Autospectrum::block(record), Autospectrum::block(record));
    QVERIFY(Autospectrum::block(record) != Autospectrum::block(Signals().tone(440, 0.4).noise(0.05, 2).samples()));
}

void TestAutospectrum::takesNoOtherLength()
{
    const QByteArray silence(size, char(128));
    const QByteArray record = Signals().tone(440, 0.5).samples();
    QCOMPARE(Autospectrum::block(QByteArray()), silence);
    QCOMPARE(Autospectrum::block(record.left(66149)), silence);
    QCOMPARE(Autospectrum::block(record + 'a'), silence);
    QCOMPARE(Autospectrum::block(WaveFile(QByteArray("RIFF")).samples()), silence);
}

void TestAutospectrum::runsOnManyThreads()
{
    const QByteArray record = WaveFile(Demo::recording({440, 554.37}, 0.02, 7)).samples();
    const QByteArray expected = Autospectrum::block(record);
    const std::vector<double> amplitudes = Spectrum(record).amplitudes();
    std::atomic<int> same{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int k = 0; k < 5; ++k) {
                same += Autospectrum::block(record) == expected && Spectrum(record).amplitudes() == amplitudes;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(same.load(), 40);
}

QTEST_GUILESS_MAIN(TestAutospectrum)
#include "TestAutospectrum.moc"
