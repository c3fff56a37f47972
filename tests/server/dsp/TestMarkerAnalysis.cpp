// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/MarkerAnalysis.h"

#include "tests/server/dsp/Signals.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <limits>

using server::Catalogue;
using server::MarkerAnalysis;
using server::Spectrum;

namespace {

MarkerAnalysis analysis(const Signals& signal)
{
    return MarkerAnalysis(Spectrum(signal.samples()));
}

const Catalogue::Storage& storage(const char* id)
{
    return *Catalogue::instance().storage(QString::fromLatin1(id));
}

const Catalogue::Marker& marker(const char* id)
{
    return *Catalogue::instance().marker(QString::fromLatin1(id));
}

std::vector<MarkerAnalysis::Row> rows(const char* id, const Signals& signal)
{
    return MarkerAnalysis::rows(storage(id), {analysis(signal)});
}

QString top(const char* id, const Signals& signal, size_t place = 0)
{
    return rows(id, signal)[place].marker->id;
}

int valueOf(const std::vector<MarkerAnalysis::Row>& rows, const char* id)
{
    for (const MarkerAnalysis::Row& row : rows) {
        if (row.marker->id == QLatin1String(id)) {
            return row.values.first();
        }
    }
    return -1;
}

Catalogue::Marker custom(const std::vector<double>& frequencies, Catalogue::Match match)
{
    Catalogue::Marker marker;
    marker.frequencies = frequencies;
    marker.match = match;
    return marker;
}

bool close(double actual, double expected, double tolerance)
{
    if (std::abs(actual - expected) <= tolerance) {
        return true;
    }
    qWarning("%.6g is not within %g of %.6g", actual, tolerance, expected);
    return false;
}

double harmonicNumber(int count)
{
    double sum = 0;
    for (int i = 1; i <= count; ++i) {
        sum += 1.0 / i;
    }
    return sum;
}

const char* const storages[] = {"notes",        "notes-overtones", "third-octave-bands", "octave-bands", "vowels-men",
                                "vowels-women", "vowels-children", "mains-harmonics",    "mains-sets"};

} // namespace

class TestMarkerAnalysis : public QObject
{
    Q_OBJECT

private slots:
    void putsEachNoteOnTopOfItsTone_data();
    void putsEachNoteOnTopOfItsTone();
    void tellsNeighboursApart();
    void ignoresTheSkirtOfAStrongTone();
    void findsTwoTones();
    void followsTheFormulaInNoise();
    void takesRoundingForTheLeastNoise();
    void mapsDecibelsToValues();
    void averagesPowersForAny();
    void averagesWeightedDecibelsForAll();
    void reachesAsFarAsTheMarkerSays();
    void staysLowInNoise_data();
    void staysLowInNoise();
    void isZeroInSilence();
    void bearsClipping();
    void bearsAnOffset();
    void findsFaintHum();
    void findsOvertonesRatherThanAFundamentalAlone();
    void findsBands_data();
    void findsBands();
    void findsVowels_data();
    void findsVowels();
    void sortsByLevelThenByCatalogue();
    void ranksManyRecordsByTheFirst();
    void answersWithoutRecords();
    void isZeroForAnInvalidSpectrum();
    void bearsFrequenciesAtTheEdges();
    void isDeterministic();
};

void TestMarkerAnalysis::putsEachNoteOnTopOfItsTone_data()
{
    QTest::addColumn<QString>("id");
    for (const Catalogue::Marker& note : storage("notes").markers) {
        QTest::newRow(note.id.toUtf8().constData()) << note.id;
    }
}

void TestMarkerAnalysis::putsEachNoteOnTopOfItsTone()
{
    QFETCH(QString, id);
    const double frequency = Catalogue::instance().marker(id)->frequencies.front();
    for (const double noise : {0.0, 0.02}) {
        const std::vector<MarkerAnalysis::Row> found = rows("notes", Signals().tone(frequency, 0.7).noise(noise));
        QCOMPARE(found[0].marker->id, id);
        QVERIFY(found[0].values[0] >= 85);
        QVERIFY2(found[1].values[0] <= 45, qPrintable(found[1].marker->id));
        QCOMPARE(int(found.size()), 88);
    }
}

void TestMarkerAnalysis::tellsNeighboursApart()
{
    const std::vector<MarkerAnalysis::Row> found = rows("notes", Signals().tone(440, 0.8));
    QCOMPARE(valueOf(found, "note-a4"), 100);
    QVERIFY(valueOf(found, "note-gs4") <= 30);
    QVERIFY(valueOf(found, "note-as4") <= 30);
    const std::vector<MarkerAnalysis::Row> noisy = rows("notes", Signals().tone(440, 0.8).noise(0.01));
    QCOMPARE(valueOf(noisy, "note-a4"), 100);
    QVERIFY(valueOf(noisy, "note-gs4") <= 12);
    QVERIFY(valueOf(noisy, "note-as4") <= 12);
}

void TestMarkerAnalysis::ignoresTheSkirtOfAStrongTone()
{
    // 1.5 Hz beside A0 and 10 Hz wide in its skirt lie the neighbours of the lowest note.
    const std::vector<MarkerAnalysis::Row> found = rows("notes", Signals().tone(27.5, 0.95).noise(0.003));
    QCOMPARE(valueOf(found, "note-a0"), 100);
    for (const char* neighbour : {"note-as0", "note-b0", "note-c1", "note-cs1", "note-d1"}) {
        QVERIFY2(valueOf(found, neighbour) <= 15, neighbour);
    }
}

void TestMarkerAnalysis::findsTwoTones()
{
    // C4 and G5, the second 20 dB below the first.
    const Signals signal = Signals().tone(261.63, 0.5).tone(783.99, 0.05).noise(0.01);
    const std::vector<MarkerAnalysis::Row> found = rows("notes", signal);
    QCOMPARE(found[0].marker->id, QStringLiteral("note-c4"));
    QCOMPARE(found[1].marker->id, QStringLiteral("note-g5"));
    QVERIFY(found[1].values[0] > found[2].values[0] + 30);
    const MarkerAnalysis one = analysis(signal);
    // The wider search at the higher note counts for 10 log10(H(m2) / H(m1)) = 0.5 dB more noise.
    QVERIFY(close(one.level(marker("note-c4")) - one.level(marker("note-g5")), 20.5, 1.5));
}

void TestMarkerAnalysis::followsTheFormulaInNoise()
{
    const double amplitude = 0.2;
    const double rms = 0.05;
    // 25 cents around 440 Hz hold the bins 1302 to 1339.
    const double expected = 10 * std::log10(amplitude * amplitude / (harmonicNumber(38) * 6 * rms * rms / 66150));
    const MarkerAnalysis one = analysis(Signals().tone(440, amplitude).noise(rms));
    QVERIFY(close(one.level(marker("note-a4")), expected, 0.7));

    // Ten times the noise, or a tenth of the tone, is 20 dB less.
    const MarkerAnalysis faint = analysis(Signals().tone(440, amplitude / 10).noise(rms));
    QVERIFY(close(one.level(marker("note-a4")) - faint.level(marker("note-a4")), 20, 1.5));
    const MarkerAnalysis quiet = analysis(Signals().tone(440, amplitude).noise(rms / 5));
    QVERIFY(close(quiet.level(marker("note-a4")) - one.level(marker("note-a4")), 14, 1));
}

void TestMarkerAnalysis::takesRoundingForTheLeastNoise()
{
    const double rounding = 6.0 / (128.0 * 128.0 * 12.0) / 66150;
    const double expected = 10 * std::log10(0.9 * 0.9 / (harmonicNumber(38) * rounding));
    QVERIFY(close(analysis(Signals().tone(440, 0.9)).level(marker("note-a4")), expected, 0.1));
}

void TestMarkerAnalysis::mapsDecibelsToValues()
{
    const MarkerAnalysis one = analysis(Signals().tone(440, 0.3).tone(1000, 0.003).tone(5000, 0.02).noise(0.02));
    int between = 0;
    for (const char* id : storages) {
        for (const Catalogue::Marker& entry : storage(id).markers) {
            const double level = one.level(entry);
            QVERIFY(level >= 0);
            QCOMPARE(one.value(entry), int(std::min(std::lround(level / 0.6), 100L)));
            between += one.value(entry) > 0 && one.value(entry) < 100;
        }
    }
    QVERIFY(between > 50);
    QCOMPARE(analysis(Signals().tone(440, 0.9)).value(marker("note-a4")), 100);
}

void TestMarkerAnalysis::averagesPowersForAny()
{
    const MarkerAnalysis one = analysis(Signals().tone(440, 0.3).tone(1000, 0.03).noise(0.02));
    const double first = one.level(custom({440}, Catalogue::Match::Any));
    const double second = one.level(custom({1000}, Catalogue::Match::Any));
    const double third = one.level(custom({3000}, Catalogue::Match::Any));
    QVERIFY(first > 40 && second > 20 && third < 5);
    const double expected =
        10 * std::log10((std::pow(10, first / 10) + std::pow(10, second / 10) + std::pow(10, third / 10)) / 3);
    QVERIFY(close(one.level(custom({440, 1000, 3000}, Catalogue::Match::Any)), expected, 1e-9));
    QVERIFY(close(one.level(custom({3000, 1000, 440}, Catalogue::Match::Any)), expected, 1e-9));
}

void TestMarkerAnalysis::averagesWeightedDecibelsForAll()
{
    const MarkerAnalysis one = analysis(Signals().tone(440, 0.3).tone(1000, 0.03).noise(0.02));
    const double first = one.level(custom({440}, Catalogue::Match::All));
    const double second = one.level(custom({1000}, Catalogue::Match::All));
    const double third = one.level(custom({3000}, Catalogue::Match::All));
    const double weights = 1 + 1.0 / 2 + 1.0 / 3;
    QVERIFY(close(one.level(custom({440, 1000, 3000}, Catalogue::Match::All)),
                  (first + second / 2 + third / 3) / weights, 1e-9));
    QVERIFY(close(one.level(custom({3000, 1000, 440}, Catalogue::Match::All)),
                  (third + second / 2 + first / 3) / weights, 1e-9));
}

void TestMarkerAnalysis::reachesAsFarAsTheMarkerSays()
{
    const auto offBy = [](double cents) {
        return analysis(Signals().tone(440 * std::exp2(cents / 1200), 0.5).noise(0.01)).value(marker("note-a4"));
    };
    QVERIFY(offBy(0) > 80);
    QVERIFY(offBy(20) > 80);
    QVERIFY(offBy(-20) > 80);
    QVERIFY(offBy(35) < 15);
    QVERIFY(offBy(-35) < 15);

    const MarkerAnalysis beside = analysis(Signals().tone(1060, 0.5).noise(0.01));
    Catalogue::Marker narrow = custom({1000}, Catalogue::Match::Any);
    QVERIFY(beside.value(narrow) < 15);
    narrow.hertz = 59;
    QVERIFY(beside.value(narrow) < 15);
    narrow.hertz = 61;
    QVERIFY(beside.value(narrow) > 80);
    narrow.hertz = 0;
    narrow.cents = 1200 * std::log2(1061.0 / 1000.0);
    QVERIFY(beside.value(narrow) > 80);

    // However narrow, the nearest bin and its neighbours are looked at.
    Catalogue::Marker exact = custom({440}, Catalogue::Match::Any);
    exact.cents = 0;
    QVERIFY(analysis(Signals().tone(440.3, 0.5).noise(0.01)).value(exact) > 80);
    QVERIFY(analysis(Signals().tone(441, 0.5).noise(0.01)).value(exact) < 15);
}

void TestMarkerAnalysis::staysLowInNoise_data()
{
    QTest::addColumn<double>("rms");
    QTest::newRow("loud") << 0.2;
    QTest::newRow("middling") << 0.02;
    QTest::newRow("about one step") << 1.0 / 128;
}

void TestMarkerAnalysis::staysLowInNoise()
{
    QFETCH(double, rms);
    for (unsigned seed = 1; seed <= 5; ++seed) {
        const MarkerAnalysis noise = analysis(Signals().noise(rms, seed));
        for (const char* id : storages) {
            for (const Catalogue::Marker& entry : storage(id).markers) {
                QVERIFY2(noise.value(entry) <= 12, qPrintable(entry.id));
            }
        }
    }
}

void TestMarkerAnalysis::isZeroInSilence()
{
    for (const int level : {0, 127, 128, 255}) {
        const MarkerAnalysis silence(Spectrum(QByteArray(66150, char(level))));
        for (const char* id : storages) {
            const std::vector<MarkerAnalysis::Row> found = MarkerAnalysis::rows(storage(id), {silence});
            for (size_t i = 0; i < found.size(); ++i) {
                QCOMPARE(found[i].values, QVector<int>{0});
                QCOMPARE(silence.level(*found[i].marker), 0.0);
                QCOMPARE(found[i].marker, &storage(id).markers.at(int(i)));
            }
        }
    }
}

void TestMarkerAnalysis::bearsClipping()
{
    const Signals clipped = Signals().tone(440, 4).noise(0.01);
    const std::vector<MarkerAnalysis::Row> found = rows("notes", clipped);
    QCOMPARE(found[0].marker->id, QStringLiteral("note-a4"));
    // Clipping on both sides adds odd multiples: 1320 Hz is E6, 2 cents off, 2200 Hz is C#7, 14 cents off.
    QCOMPARE(found[1].marker->id, QStringLiteral("note-e6"));
    QCOMPARE(found[2].marker->id, QStringLiteral("note-cs7"));
    QVERIFY(valueOf(found, "note-a5") < valueOf(found, "note-e6"));
}

void TestMarkerAnalysis::bearsAnOffset()
{
    const std::vector<MarkerAnalysis::Row> plain = rows("notes", Signals().tone(440, 0.3).tone(55, 0.1));
    const std::vector<MarkerAnalysis::Row> shifted = rows("notes", Signals().tone(440, 0.3).tone(55, 0.1).offset(0.5));
    QCOMPARE(shifted[0].marker->id, QStringLiteral("note-a4"));
    QCOMPARE(shifted[1].marker->id, QStringLiteral("note-a1"));
    QCOMPARE(shifted.size(), plain.size());
    for (const MarkerAnalysis::Row& row : plain) {
        QCOMPARE(valueOf(shifted, row.marker->id.toUtf8().constData()), row.values[0]);
    }
}

void TestMarkerAnalysis::findsFaintHum()
{
    const Signals fifty = Signals().tone(50, 0.02).tone(150, 0.01).noise(0.05);
    const std::vector<MarkerAnalysis::Row> found = rows("mains-harmonics", fifty);
    QCOMPARE(found[0].marker->id, QStringLiteral("mains-50-1"));
    QCOMPARE(found[1].marker->id, QStringLiteral("mains-50-3"));
    QVERIFY(found[0].values[0] > 35);
    QVERIFY(found[2].values[0] < 12);
    QCOMPARE(top("mains-sets", fifty), QStringLiteral("mains-50-odd"));
    QCOMPARE(top("mains-sets", fifty, 1), QStringLiteral("mains-50-all"));
    QCOMPARE(top("mains-sets", Signals().tone(60, 0.02).tone(180, 0.02).noise(0.05)), QStringLiteral("mains-60-odd"));
    // Grids wander by a fifth of a hertz.
    QCOMPARE(top("mains-harmonics", Signals().tone(49.8, 0.02).noise(0.05)), QStringLiteral("mains-50-1"));
}

void TestMarkerAnalysis::findsOvertonesRatherThanAFundamentalAlone()
{
    Signals string;
    for (int k = 1; k <= 8; ++k) {
        string.tone(220.0 * k, 0.3 / k, k * k);
    }
    string.noise(0.01);
    const std::vector<MarkerAnalysis::Row> found = rows("notes-overtones", string);
    QCOMPARE(found[0].marker->id, QStringLiteral("overtones-a3"));
    QCOMPARE(found[0].values[0], analysis(string).value(marker("overtones-a3")));
    QVERIFY(found[0].values[0] > found[1].values[0] + 10);
    // Of a single tone, all stacks that hold it have one partial; the one that begins with it leads.
    QCOMPARE(top("notes-overtones", Signals().tone(440, 0.9).noise(0.01)), QStringLiteral("overtones-a4"));
}

void TestMarkerAnalysis::findsBands_data()
{
    QTest::addColumn<double>("frequency");
    QTest::addColumn<QString>("third");
    QTest::addColumn<QString>("octave");
    QTest::newRow("26 Hz") << 26.0 << "third-octave-25"
                           << "octave-31-5";
    QTest::newRow("440 Hz") << 440.0 << "third-octave-400"
                            << "octave-500";
    QTest::newRow("low in a band") << 900.0 << "third-octave-1000"
                                   << "octave-1000";
    QTest::newRow("high in a band") << 1110.0 << "third-octave-1000"
                                    << "octave-1000";
    QTest::newRow("next band") << 1140.0 << "third-octave-1250"
                               << "octave-1000";
    QTest::newRow("8500 Hz") << 8500.0 << "third-octave-8000"
                             << "";
}

void TestMarkerAnalysis::findsBands()
{
    QFETCH(double, frequency);
    QFETCH(QString, third);
    QFETCH(QString, octave);
    const Signals signal = Signals().tone(frequency, 0.5).noise(0.01);
    const std::vector<MarkerAnalysis::Row> found = rows("third-octave-bands", signal);
    QCOMPARE(found[0].marker->id, third);
    QVERIFY(found[0].values[0] > found[1].values[0] + 30);
    if (!octave.isEmpty()) {
        QCOMPARE(top("octave-bands", signal), octave);
    } else {
        QVERIFY(rows("octave-bands", signal)[0].values[0] < 15);
    }
}

void TestMarkerAnalysis::findsVowels_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QString>("opposite");
    QTest::newRow("heed") << "heed"
                          << "hod";
    QTest::newRow("hid") << "hid"
                         << "hod";
    QTest::newRow("head") << "head"
                          << "whod";
    QTest::newRow("had") << "had"
                         << "heed";
    QTest::newRow("hod") << "hod"
                         << "heed";
    QTest::newRow("hawed") << "hawed"
                           << "heed";
    QTest::newRow("hood") << "hood"
                          << "had";
    QTest::newRow("whod") << "whod"
                          << "had";
    QTest::newRow("hud") << "hud"
                         << "heed";
    QTest::newRow("heard") << "heard"
                           << "heed";
}

void TestMarkerAnalysis::findsVowels()
{
    QFETCH(QString, id);
    QFETCH(QString, opposite);
    const QString own = QStringLiteral("vowel-men-") + id;
    const Signals voice = Signals().vowel(110, Catalogue::instance().marker(own)->frequencies, 0.9).noise(0.003);
    const std::vector<MarkerAnalysis::Row> found = rows("vowels-men", voice);
    // Vowels are neighbours in a continuum: the spoken one is first, or a close second.
    const QStringList best = {found[0].marker->id, found[1].marker->id};
    QVERIFY2(best.contains(own), qPrintable(best.join(QLatin1Char(' '))));
    const int ownValue = valueOf(found, own.toUtf8().constData());
    QVERIFY(ownValue >= found[0].values[0] - 2);
    QVERIFY(ownValue >= valueOf(found, (QStringLiteral("vowel-men-") + opposite).toUtf8().constData()) + 4);
}

void TestMarkerAnalysis::sortsByLevelThenByCatalogue()
{
    // Three tones beyond 60 dB: all have 100, and still stand by their strength.
    const Signals signal = Signals().tone(261.63, 0.1).tone(440, 0.5).tone(1046.5, 0.2).noise(0.001);
    const MarkerAnalysis one = analysis(signal);
    const std::vector<MarkerAnalysis::Row> found = rows("notes", signal);
    QCOMPARE(found[0].marker->id, QStringLiteral("note-a4"));
    QCOMPARE(found[1].marker->id, QStringLiteral("note-c6"));
    QCOMPARE(found[2].marker->id, QStringLiteral("note-c4"));
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(found[size_t(i)].values, QVector<int>{100});
    }
    int ties = 0;
    for (size_t i = 1; i < found.size(); ++i) {
        QVERIFY(found[i - 1].values[0] >= found[i].values[0]);
        const double before = one.level(*found[i - 1].marker);
        const double after = one.level(*found[i].marker);
        QVERIFY(before >= after);
        if (before == after) {
            // Rows point into the storage, so that the catalogue's order is that of the addresses.
            QVERIFY(found[i - 1].marker < found[i].marker);
            ++ties;
        }
    }
    QVERIFY(ties > 0);
}

void TestMarkerAnalysis::ranksManyRecordsByTheFirst()
{
    const MarkerAnalysis a4 = analysis(Signals().tone(440, 0.5).noise(0.01));
    const MarkerAnalysis c5 = analysis(Signals().tone(523.25, 0.5).noise(0.01));
    const MarkerAnalysis quiet = analysis(Signals());
    const std::vector<MarkerAnalysis::Row> found = MarkerAnalysis::rows(storage("notes"), {c5, a4, quiet});
    QCOMPARE(found[0].marker->id, QStringLiteral("note-c5"));
    for (const MarkerAnalysis::Row& row : found) {
        QCOMPARE(row.values, QVector<int>({c5.value(*row.marker), a4.value(*row.marker), 0}));
    }
    QVERIFY(found[0].values[1] < 15);
}

void TestMarkerAnalysis::answersWithoutRecords()
{
    const std::vector<MarkerAnalysis::Row> found = MarkerAnalysis::rows(storage("notes"), {});
    QCOMPARE(int(found.size()), 88);
    for (size_t i = 0; i < found.size(); ++i) {
        QCOMPARE(found[i].marker, &storage("notes").markers.at(int(i)));
        QVERIFY(found[i].values.isEmpty());
    }
    QVERIFY(MarkerAnalysis::rows(Catalogue::Storage(), {analysis(Signals())}).empty());
}

void TestMarkerAnalysis::isZeroForAnInvalidSpectrum()
{
    const MarkerAnalysis invalid{Spectrum(QByteArray())};
    QCOMPARE(invalid.value(marker("note-a4")), 0);
    for (const MarkerAnalysis::Row& row : MarkerAnalysis::rows(storage("octave-bands"), {invalid})) {
        QCOMPARE(row.values, QVector<int>{0});
    }
}

void TestMarkerAnalysis::bearsFrequenciesAtTheEdges()
{
    const MarkerAnalysis noise = analysis(Signals().noise(0.1));
    for (const double frequency : {0.0, 0.1, 1.0, 5.0, 11024.0, 11025.0, 12000.0, 1e6}) {
        for (const auto match : {Catalogue::Match::Any, Catalogue::Match::All}) {
            const double level = noise.level(custom({frequency}, match));
            QVERIFY(level >= 0 && level < 15);
        }
    }
    QCOMPARE(noise.level(custom({}, Catalogue::Match::Any)), 0.0);
    QCOMPARE(noise.level(custom({}, Catalogue::Match::All)), 0.0);
    QCOMPARE(analysis(Signals().tone(11020, 0.5).noise(0.01)).value(custom({11020}, Catalogue::Match::Any)) > 80, true);
}

void TestMarkerAnalysis::isDeterministic()
{
    const Signals signal = Signals().tone(440, 0.2).noise(0.05, 9);
    const MarkerAnalysis one = analysis(signal);
    const MarkerAnalysis other = analysis(signal);
    for (const char* id : storages) {
        for (const Catalogue::Marker& entry : storage(id).markers) {
            QCOMPARE(one.level(entry), other.level(entry));
        }
    }
}

QTEST_GUILESS_MAIN(TestMarkerAnalysis)
#include "TestMarkerAnalysis.moc"
