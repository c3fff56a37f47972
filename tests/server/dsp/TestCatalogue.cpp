// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Catalogue.h"

#include <QRegularExpression>
#include <QSet>
#include <QtTest>

#include <cmath>

using server::Catalogue;

namespace {

const QString en = QStringLiteral("en");
const QString ru = QStringLiteral("ru");

const Catalogue::Marker* marker(const char* id)
{
    return Catalogue::instance().marker(QString::fromLatin1(id));
}

const Catalogue::Storage* storage(const char* id)
{
    return Catalogue::instance().storage(QString::fromLatin1(id));
}

QStringList storageIds(const QVector<Catalogue::CategoryEntry>& categories)
{
    QStringList ids;
    for (const Catalogue::CategoryEntry& category : categories) {
        for (const Catalogue::StorageEntry& entry : category.storages) {
            ids.append(entry.id);
        }
    }
    return ids;
}

bool cyrillic(const QString& text)
{
    return text.contains(QRegularExpression(QStringLiteral("[А-Яа-яЁё]")));
}

double cents(double one, double other)
{
    return 1200 * std::log2(one / other);
}

} // namespace

class TestCatalogue : public QObject
{
    Q_OBJECT

private slots:
    void offersCategoriesInOrder();
    void keepsHumOutOfReceipts();
    void findsByIdWhatItLists();
    void hasUniqueIdsAndTitles();
    void speaksTwoLanguages();
    void playsOnlyWhatTheFormatCanHold();
    void showsNumbersOfFrequenciesWhereThereAreSeveral();
    void holdsTheNotes_data();
    void holdsTheNotes();
    void tunesByEqualTemperament();
    void stacksOvertones();
    void namesNotesInBothLanguages();
    void holdsThirdOctaveBands();
    void holdsOctaveBands();
    void coversBandsWithoutGaps();
    void holdsMainsHarmonics();
    void holdsVowels();
    void isVersioned();
};

void TestCatalogue::offersCategoriesInOrder()
{
    const QVector<Catalogue::CategoryEntry> categories = Catalogue::instance().diagnosticCategories(en);
    QStringList titles;
    for (const Catalogue::CategoryEntry& category : categories) {
        titles.append(category.title);
    }
    QCOMPARE(titles, QStringList({QStringLiteral("Musical notes"), QStringLiteral("Frequency bands"),
                                  QStringLiteral("Vowels"), QStringLiteral("Mains hum")}));
    QCOMPARE(storageIds(categories),
             QStringList(
                 {QStringLiteral("notes"), QStringLiteral("notes-overtones"), QStringLiteral("third-octave-bands"),
                  QStringLiteral("octave-bands"), QStringLiteral("vowels-men"), QStringLiteral("vowels-women"),
                  QStringLiteral("vowels-children"), QStringLiteral("mains-harmonics"), QStringLiteral("mains-sets")}));
    QCOMPARE(storageIds(Catalogue::instance().diagnosticCategories(ru)), storageIds(categories));

    QStringList stored;
    for (const Catalogue::Storage& one : Catalogue::instance().storages()) {
        stored.append(one.id);
    }
    QCOMPARE(stored, storageIds(categories));
}

void TestCatalogue::keepsHumOutOfReceipts()
{
    QStringList expected = storageIds(Catalogue::instance().diagnosticCategories(en));
    expected.removeAll(QStringLiteral("mains-harmonics"));
    expected.removeAll(QStringLiteral("mains-sets"));
    const QVector<Catalogue::CategoryEntry> corrective = Catalogue::instance().correctiveCategories(en);
    QCOMPARE(storageIds(corrective), expected);
    QCOMPARE(storageIds(Catalogue::instance().correctiveCategories(ru)), expected);

    bool withPercent = false;
    bool withNumbers = false;
    for (const Catalogue::CategoryEntry& category : corrective) {
        for (const Catalogue::StorageEntry& entry : category.storages) {
            (entry.frequencies ? withNumbers : withPercent) = true;
        }
    }
    QVERIFY(withPercent);
    QVERIFY(withNumbers);
}

void TestCatalogue::findsByIdWhatItLists()
{
    const Catalogue& catalogue = Catalogue::instance();
    for (const Catalogue::CategoryEntry& category : catalogue.diagnosticCategories(ru)) {
        for (const Catalogue::StorageEntry& entry : category.storages) {
            const Catalogue::Storage* const found = catalogue.storage(entry.id);
            QVERIFY(found);
            QCOMPARE(found->title.russian, entry.title);
            QCOMPARE(found->frequencies, entry.frequencies);
            QVERIFY(!found->markers.isEmpty());
            for (const Catalogue::Marker& one : found->markers) {
                QCOMPARE(catalogue.marker(one.id), &one);
            }
        }
    }
    for (const char* unknown : {"", "Notes", "note", "note-a4 ", "note-A4", "notes' OR 1=1"}) {
        QVERIFY(!marker(unknown));
        QVERIFY(!storage(unknown));
    }
    QVERIFY(!catalogue.marker(QString()));
    QVERIFY(!catalogue.storage(QString()));
}

void TestCatalogue::hasUniqueIdsAndTitles()
{
    QSet<QString> ids;
    QSet<QString> english;
    QSet<QString> russian;
    int markers = 0;
    const QRegularExpression plain(QStringLiteral("^[a-z0-9-]+$"));
    for (const Catalogue::Storage& one : Catalogue::instance().storages()) {
        QVERIFY(plain.match(one.id).hasMatch());
        for (const Catalogue::Marker& entry : one.markers) {
            QVERIFY2(plain.match(entry.id).hasMatch(), qPrintable(entry.id));
            ids.insert(entry.id);
            english.insert(one.id + entry.title.english);
            russian.insert(one.id + entry.title.russian);
            ++markers;
        }
    }
    QCOMPARE(ids.size(), markers);
    QCOMPARE(english.size(), markers);
    QCOMPARE(russian.size(), markers);
    QCOMPARE(markers, 88 + 88 + 26 + 8 + 30 + 20 + 6);
}

void TestCatalogue::speaksTwoLanguages()
{
    const auto check = [](const server::LocalText& text) {
        return !text.english.isEmpty() && !cyrillic(text.english) && cyrillic(text.russian) &&
               !text.english.contains(QLatin1Char('%')) && !text.russian.contains(QLatin1Char('%'));
    };
    for (const Catalogue::Storage& one : Catalogue::instance().storages()) {
        QVERIFY2(check(one.title), qPrintable(one.id));
        for (const Catalogue::Marker& entry : one.markers) {
            QVERIFY2(check(entry.title), qPrintable(entry.id));
            QVERIFY2(check(entry.description), qPrintable(entry.id));
        }
    }
    const Catalogue& catalogue = Catalogue::instance();
    QCOMPARE(catalogue.diagnosticCategories(ru).first().title, QStringLiteral("Музыкальные ноты"));
    QCOMPARE(catalogue.correctiveCategories(QStringLiteral("ru-RU")).first().storages.first().title,
             QStringLiteral("Ноты от A0 до C8"));
    QCOMPARE(catalogue.diagnosticCategories(QStringLiteral("de")).first().title, QStringLiteral("Musical notes"));
    QCOMPARE(catalogue.diagnosticCategories(QString()).first().title, QStringLiteral("Musical notes"));
    QCOMPARE(marker("note-c4")->description.english,
             QStringLiteral("Note of the equal-tempered scale (A4 = 440 Hz): 261.63 Hz."));
    QCOMPARE(marker("note-c4")->description.russian,
             QStringLiteral("Нота равномерно темперированного строя (A4 = 440 Гц): 261,63 Гц."));
    QCOMPARE(marker("third-octave-1000")->description.english,
             QStringLiteral("Third-octave band of IEC 61260-1, from 891.3 Hz to 1122.0 Hz."));
    QCOMPARE(marker("third-octave-31-5")->title.russian, QStringLiteral("31,5 Гц, треть октавы"));
}

void TestCatalogue::playsOnlyWhatTheFormatCanHold()
{
    for (const Catalogue::Storage& one : Catalogue::instance().storages()) {
        for (const Catalogue::Marker& entry : one.markers) {
            QVERIFY(!entry.frequencies.empty());
            QVERIFY(entry.cents > 0 || entry.hertz > 0);
            for (const double frequency : entry.frequencies) {
                QVERIFY2(frequency > 20 && frequency < 11025, qPrintable(entry.id));
            }
        }
    }
}

void TestCatalogue::showsNumbersOfFrequenciesWhereThereAreSeveral()
{
    for (const Catalogue::Storage& one : Catalogue::instance().storages()) {
        if (one.frequencies) {
            for (const Catalogue::Marker& entry : one.markers) {
                QVERIFY2(entry.frequencies.size() > 1, qPrintable(entry.id));
            }
        }
    }
    QVERIFY(!storage("notes")->frequencies);
    QVERIFY(storage("notes-overtones")->frequencies);
}

void TestCatalogue::holdsTheNotes_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QString>("title");
    QTest::addColumn<double>("frequency");
    QTest::newRow("lowest") << "note-a0"
                            << "A0" << 27.5;
    QTest::newRow("low b") << "note-b0"
                           << "B0" << 30.868;
    QTest::newRow("first c") << "note-c1"
                             << "C1" << 32.703;
    QTest::newRow("e2") << "note-e2"
                        << "E2" << 82.407;
    QTest::newRow("middle c") << "note-c4"
                              << "C4" << 261.626;
    QTest::newRow("g#4") << "note-gs4"
                         << "G#4" << 415.305;
    QTest::newRow("a4") << "note-a4"
                        << "A4" << 440.0;
    QTest::newRow("a#4") << "note-as4"
                         << "A#4" << 466.164;
    QTest::newRow("highest") << "note-c8"
                             << "C8" << 4186.009;
}

void TestCatalogue::holdsTheNotes()
{
    QFETCH(QString, id);
    QFETCH(QString, title);
    QFETCH(double, frequency);
    const Catalogue::Marker* const note = Catalogue::instance().marker(id);
    QVERIFY(note);
    QCOMPARE(note->title.english, title);
    QCOMPARE(int(note->frequencies.size()), 1);
    QVERIFY(std::abs(note->frequencies.front() - frequency) < 0.0005);
}

void TestCatalogue::tunesByEqualTemperament()
{
    const QVector<Catalogue::Marker>& notes = storage("notes")->markers;
    QCOMPARE(notes.size(), 88);
    for (int i = 1; i < notes.size(); ++i) {
        QVERIFY(std::abs(cents(notes[i].frequencies[0], notes[i - 1].frequencies[0]) - 100) < 1e-6);
    }
    QVERIFY(!marker("note-gs0"));
    QVERIFY(!marker("note-cs8"));
}

void TestCatalogue::stacksOvertones()
{
    QCOMPARE(storage("notes-overtones")->markers.size(), 88);
    const Catalogue::Marker* const stack = marker("overtones-a4");
    QCOMPARE(int(stack->frequencies.size()), 8);
    for (int k = 1; k <= 8; ++k) {
        QVERIFY(std::abs(stack->frequencies[size_t(k - 1)] - 440.0 * k) < 1e-9);
    }
    QCOMPARE(int(marker("overtones-c8")->frequencies.size()), 2);
    QCOMPARE(stack->match, Catalogue::Match::All);
}

void TestCatalogue::namesNotesInBothLanguages()
{
    QCOMPARE(marker("note-a4")->title.russian, QStringLiteral("Ля первой октавы (A4)"));
    QCOMPARE(marker("note-c4")->title.russian, QStringLiteral("До первой октавы (C4)"));
    QCOMPARE(marker("note-b3")->title.russian, QStringLiteral("Си малой октавы (B3)"));
    QCOMPARE(marker("note-a0")->title.russian, QStringLiteral("Ля субконтроктавы (A0)"));
    QCOMPARE(marker("note-fs2")->title.russian, QStringLiteral("Фа-диез большой октавы (F#2)"));
    QCOMPARE(marker("note-c8")->title.russian, QStringLiteral("До пятой октавы (C8)"));
    QCOMPARE(marker("overtones-a4")->title.english, QStringLiteral("A4 with overtones"));
    QCOMPARE(marker("overtones-a4")->title.russian, QStringLiteral("Ля первой октавы (A4) с обертонами"));
}

void TestCatalogue::holdsThirdOctaveBands()
{
    const QVector<Catalogue::Marker>& bands = storage("third-octave-bands")->markers;
    QCOMPARE(bands.size(), 26);
    QCOMPARE(bands.first().id, QStringLiteral("third-octave-25"));
    QCOMPARE(bands.last().id, QStringLiteral("third-octave-8000"));
    for (const Catalogue::Marker& band : bands) {
        // The nominal frequency in the title is the exact one, rounded by at most 1.5 per cent.
        const double nominal = band.title.english.section(QLatin1Char(' '), 0, 0).toDouble();
        const double exact = std::sqrt(band.frequencies.front() * band.frequencies.back());
        QVERIFY2(std::abs(exact / nominal - 1) < 0.015, qPrintable(band.title.english));
        const double low = band.frequencies.front() * std::exp2(-band.cents / 1200);
        const double high = band.frequencies.back() * std::exp2(band.cents / 1200);
        QVERIFY(std::abs(high / low - std::pow(10.0, 0.1)) < 1e-6);
    }
}

void TestCatalogue::holdsOctaveBands()
{
    const QVector<Catalogue::Marker>& bands = storage("octave-bands")->markers;
    QCOMPARE(bands.size(), 8);
    for (const Catalogue::Marker& band : bands) {
        const double nominal = band.title.english.section(QLatin1Char(' '), 0, 0).toDouble();
        const double exact = std::sqrt(band.frequencies.front() * band.frequencies.back());
        QVERIFY2(std::abs(exact / nominal - 1) < 0.015, qPrintable(band.title.english));
        const double low = band.frequencies.front() * std::exp2(-band.cents / 1200);
        const double high = band.frequencies.back() * std::exp2(band.cents / 1200);
        QVERIFY(std::abs(high / low - std::pow(10.0, 0.3)) < 1e-6);
    }
}

void TestCatalogue::coversBandsWithoutGaps()
{
    for (const char* id : {"third-octave-bands", "octave-bands"}) {
        double reached = 0;
        for (const Catalogue::Marker& band : storage(id)->markers) {
            for (const double frequency : band.frequencies) {
                const double low = frequency * std::exp2(-band.cents / 1200);
                QVERIFY(reached == 0 || std::abs(low / reached - 1) < 1e-9);
                reached = frequency * std::exp2(band.cents / 1200);
            }
            for (size_t i = 1; i < band.frequencies.size(); ++i) {
                QVERIFY2(band.frequencies[i] - band.frequencies[i - 1] >= 2, qPrintable(band.id));
            }
        }
    }
}

void TestCatalogue::holdsMainsHarmonics()
{
    QCOMPARE(storage("mains-harmonics")->markers.size(), 20);
    for (int k = 1; k <= 10; ++k) {
        const QString fifty = QStringLiteral("mains-50-%1").arg(k);
        const QString sixty = QStringLiteral("mains-60-%1").arg(k);
        QCOMPARE(Catalogue::instance().marker(fifty)->frequencies, std::vector<double>{50.0 * k});
        QCOMPARE(Catalogue::instance().marker(sixty)->frequencies, std::vector<double>{60.0 * k});
    }
    QCOMPARE(marker("mains-50-odd")->frequencies, std::vector<double>({50, 150, 250, 350, 450}));
    QCOMPARE(marker("mains-60-even")->frequencies, std::vector<double>({120, 240, 360, 480, 600}));
    QCOMPARE(int(marker("mains-60-all")->frequencies.size()), 10);
    QCOMPARE(marker("mains-50-2")->title.english, QStringLiteral("100 Hz (mains 50 Hz, harmonic 2)"));
    QCOMPARE(marker("mains-60-odd")->title.russian, QStringLiteral("Сеть 60 Гц, нечётные гармоники"));
}

void TestCatalogue::holdsVowels()
{
    QCOMPARE(marker("vowel-men-heed")->frequencies, std::vector<double>({270, 2290, 3010}));
    QCOMPARE(marker("vowel-men-heard")->frequencies, std::vector<double>({490, 1350, 1690}));
    QCOMPARE(marker("vowel-women-hod")->frequencies, std::vector<double>({850, 1220, 2810}));
    QCOMPARE(marker("vowel-children-whod")->frequencies, std::vector<double>({430, 1170, 3260}));
    QCOMPARE(marker("vowel-men-had")->title.english, QStringLiteral("[æ] as in \"had\""));
    for (const char* id : {"vowels-men", "vowels-women", "vowels-children"}) {
        QCOMPARE(storage(id)->markers.size(), 10);
        for (const Catalogue::Marker& vowel : storage(id)->markers) {
            QCOMPARE(int(vowel.frequencies.size()), 3);
            QVERIFY(vowel.hertz > 60 && vowel.hertz < 140);
            QVERIFY(std::is_sorted(vowel.frequencies.begin(), vowel.frequencies.end()));
        }
    }
}

void TestCatalogue::isVersioned()
{
    QCOMPARE(Catalogue::version(), 1);
}

QTEST_GUILESS_MAIN(TestCatalogue)
#include "TestCatalogue.moc"
