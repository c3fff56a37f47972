// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/AnalysisResult.h"
#include "server/BandLevels.h"
#include "server/MarkerAnalysis.h"
#include "server/Spectrum.h"

#include "tests/server/dsp/Signals.h"

#include <QtTest>

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <limits>

using server::AnalysisResult;
using server::BandLevels;
using server::Catalogue;
using server::MarkerAnalysis;
using server::Spectrum;

namespace {

Spectrum sound(unsigned seed = 1)
{
    return Spectrum(Signals().tone(440, 0.4).tone(1234.5, 0.1).noise(0.02, seed).samples());
}

/// The bytes with a check sum that is right.
QByteArray sealed(const QByteArray& bytes)
{
    const QByteArray body = bytes.left(bytes.size() - 4);
    const auto sum = quint32(crc32(0, reinterpret_cast<const Bytef*>(body.constData()), uInt(body.size())));
    QByteArray tail(4, '\0');
    for (int i = 0; i < 4; ++i) {
        tail[i] = char((sum >> (8 * i)) & 0xff);
    }
    return body + tail;
}

} // namespace

/// What is kept of an analysis is what was computed, and nothing else is taken for it.
class TestAnalysisResult : public QObject
{
    Q_OBJECT

private slots:
    void holdsTheLevelOfEveryMarker();
    void ranksAsTheAnalysisDoes();
    void holdsTheBands();
    void comesBackToTheLastBit();
    void refusesWhatIsBroken();
    void refusesWhatIsNoNumber();
    void refusesAnotherMethod();
};

void TestAnalysisResult::holdsTheLevelOfEveryMarker()
{
    const AnalysisResult result(sound());
    const MarkerAnalysis analysis(sound());
    int markers = 0;
    for (const Catalogue::Storage& storage : Catalogue::instance().storages()) {
        const QVector<double> levels = result.levels(storage);
        QCOMPARE(levels.size(), storage.markers.size());
        for (int i = 0; i < levels.size(); ++i) {
            const Catalogue::Marker& marker = storage.markers.at(i);
            QVERIFY(levels.at(i) == analysis.level(marker));
            QVERIFY(result.level(marker) == analysis.level(marker));
            QCOMPARE(MarkerAnalysis::valueOf(levels.at(i)), analysis.value(marker));
            ++markers;
        }
    }
    QVERIFY(markers > 200);
}

void TestAnalysisResult::ranksAsTheAnalysisDoes()
{
    for (const Catalogue::Storage& storage : Catalogue::instance().storages()) {
        const auto expected = MarkerAnalysis::rows(storage, {MarkerAnalysis(sound(2)), MarkerAnalysis(sound(3))});
        const auto actual = MarkerAnalysis::ranked(
            storage, {AnalysisResult(sound(2)).levels(storage), AnalysisResult(sound(3)).levels(storage)});
        QCOMPARE(actual.size(), expected.size());
        for (size_t i = 0; i < expected.size(); ++i) {
            QCOMPARE(actual[i].marker, expected[i].marker);
            QCOMPARE(actual[i].values, expected[i].values);
        }
    }
}

void TestAnalysisResult::holdsTheBands()
{
    QCOMPARE(AnalysisResult(sound()).bands(), BandLevels::of(sound()));
}

void TestAnalysisResult::comesBackToTheLastBit()
{
    for (const Spectrum& spectrum : {sound(), Spectrum(Signals().samples()), Spectrum(QByteArray())}) {
        const AnalysisResult result(spectrum);
        const QByteArray bytes = result.toBytes();
        const std::optional<AnalysisResult> back = AnalysisResult::fromBytes(bytes);
        QVERIFY(back);
        QCOMPARE(back->toBytes(), bytes);
        for (const Catalogue::Storage& storage : Catalogue::instance().storages()) {
            const QVector<double> before = result.levels(storage);
            const QVector<double> after = back->levels(storage);
            QVERIFY(std::equal(after.begin(), after.end(), before.begin(), before.end()));
        }
        QCOMPARE(back->bands().size(), int(BandLevels::count));
        QVERIFY(std::equal(back->bands().begin(), back->bands().end(), result.bands().begin(), result.bands().end()));
    }
}

void TestAnalysisResult::refusesWhatIsBroken()
{
    const QByteArray bytes = AnalysisResult(sound()).toBytes();
    QVERIFY(AnalysisResult::fromBytes(bytes));
    for (int i = 0; i < bytes.size(); ++i) {
        QByteArray broken = bytes;
        broken[i] = char(broken.at(i) ^ (1 << (i % 8)));
        QVERIFY2(!AnalysisResult::fromBytes(broken), qPrintable(QString::number(i)));
    }
    for (const int length : {0, 1, 4, bytes.size() / 2, bytes.size() - 8, bytes.size() - 1}) {
        QVERIFY(!AnalysisResult::fromBytes(bytes.left(length)));
        QVERIFY(length < 8 || !AnalysisResult::fromBytes(sealed(bytes.left(length))));
    }
    QVERIFY(!AnalysisResult::fromBytes(bytes + '\0'));
    QVERIFY(!AnalysisResult::fromBytes(sealed(bytes + QByteArray(8, '\0'))));
    QVERIFY(!AnalysisResult::fromBytes(QByteArray(bytes.size(), '\0')));
}

void TestAnalysisResult::refusesWhatIsNoNumber()
{
    const QByteArray bytes = AnalysisResult(sound()).toBytes();
    QCOMPARE(sealed(bytes), bytes);
    for (const double level : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        QByteArray changed = bytes;
        std::memcpy(changed.data() + 4 + 5 * 8, &level, sizeof(level));
        QVERIFY(!AnalysisResult::fromBytes(sealed(changed)));
    }
}

void TestAnalysisResult::refusesAnotherMethod()
{
    QByteArray bytes = AnalysisResult(sound()).toBytes();
    bytes[0] = char(bytes.at(0) + 1);
    QVERIFY(!AnalysisResult::fromBytes(sealed(bytes)));
}

QTEST_GUILESS_MAIN(TestAnalysisResult)

#include "TestAnalysisResult.moc"
