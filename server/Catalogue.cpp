// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Catalogue.h"

#include "server/SignalFormat.h"

#include <QLocale>
#include <QStringList>

#include <algorithm>
#include <cmath>

namespace server {

namespace {

constexpr int catalogueVersion = 1;

// Frequencies are kept a little below half the sample rate, where a sensor's own filter has already set in.
constexpr double highestFrequency = 10500;
static_assert(highestFrequency < SignalFormat::sampleRate / 2.0);

// Tones closer than this cannot be told apart in three seconds.
constexpr double leastSpacing = 2; // Hz

QString number(double value, int decimals, const QLocale& locale)
{
    return locale.toString(value, 'f', decimals);
}

// The same words with the frequency put in as each language writes it.
LocalText withHertz(const LocalText& text, double frequency, int decimals)
{
    QLocale english(QLocale::English, QLocale::UnitedStates);
    QLocale russian(QLocale::Russian, QLocale::Russia);
    english.setNumberOptions(QLocale::OmitGroupSeparator);
    russian.setNumberOptions(QLocale::OmitGroupSeparator);
    return {text.english.arg(number(frequency, decimals, english)),
            text.russian.arg(number(frequency, decimals, russian))};
}

// ---- Notes
// -----------------------------------------------------------------------------------------------------------

constexpr int lowestKey = 1;   // of a piano: A0
constexpr int highestKey = 88; // C8
constexpr int keyOfA4 = 49;
constexpr double frequencyOfA4 = 440;
constexpr int semitones = 12;
constexpr int mostPartials = 8;

struct NoteName
{
    QString id; // "a4", "as4" for A#4
    LocalText title;
};

NoteName noteName(int key)
{
    static const QStringList ids = {QStringLiteral("c"),  QStringLiteral("cs"), QStringLiteral("d"),
                                    QStringLiteral("ds"), QStringLiteral("e"),  QStringLiteral("f"),
                                    QStringLiteral("fs"), QStringLiteral("g"),  QStringLiteral("gs"),
                                    QStringLiteral("a"),  QStringLiteral("as"), QStringLiteral("b")};
    static const QStringList letters = {QStringLiteral("C"),  QStringLiteral("C#"), QStringLiteral("D"),
                                        QStringLiteral("D#"), QStringLiteral("E"),  QStringLiteral("F"),
                                        QStringLiteral("F#"), QStringLiteral("G"),  QStringLiteral("G#"),
                                        QStringLiteral("A"),  QStringLiteral("A#"), QStringLiteral("B")};
    static const QStringList syllables = {
        QStringLiteral("До"),        QStringLiteral("До-диез"), QStringLiteral("Ре"),      QStringLiteral("Ре-диез"),
        QStringLiteral("Ми"),        QStringLiteral("Фа"),      QStringLiteral("Фа-диез"), QStringLiteral("Соль"),
        QStringLiteral("Соль-диез"), QStringLiteral("Ля"),      QStringLiteral("Ля-диез"), QStringLiteral("Си")};
    static const QStringList octaves = {
        QStringLiteral("субконтроктавы"), QStringLiteral("контроктавы"),      QStringLiteral("большой октавы"),
        QStringLiteral("малой октавы"),   QStringLiteral("первой октавы"),    QStringLiteral("второй октавы"),
        QStringLiteral("третьей октавы"), QStringLiteral("четвёртой октавы"), QStringLiteral("пятой октавы")};
    // Key 1 is the A that closes octave 0, which would have begun nine keys earlier.
    const int fromC0 = key + 8;
    const int pitch = fromC0 % semitones;
    const int octave = fromC0 / semitones;
    const QString scientific = letters.at(pitch) + QString::number(octave);
    return {ids.at(pitch) + QString::number(octave),
            {scientific, QStringLiteral("%1 %2 (%3)").arg(syllables.at(pitch), octaves.at(octave), scientific)}};
}

double noteFrequency(int key)
{
    return frequencyOfA4 * std::exp2(double(key - keyOfA4) / semitones);
}

Catalogue::Storage notes()
{
    Catalogue::Storage storage;
    storage.id = QStringLiteral("notes");
    storage.title = {QStringLiteral("Notes from A0 to C8"), QStringLiteral("Ноты от A0 до C8")};
    for (int key = lowestKey; key <= highestKey; ++key) {
        const NoteName name = noteName(key);
        Catalogue::Marker marker;
        marker.id = QStringLiteral("note-") + name.id;
        marker.title = name.title;
        marker.frequencies = {noteFrequency(key)};
        marker.description = withHertz({QStringLiteral("Note of the equal-tempered scale (A4 = 440 Hz): %1 Hz."),
                                        QStringLiteral("Нота равномерно темперированного строя (A4 = 440 Гц): %1 Гц.")},
                                       noteFrequency(key), 2);
        storage.markers.append(marker);
    }
    return storage;
}

Catalogue::Storage notesWithOvertones()
{
    Catalogue::Storage storage;
    storage.id = QStringLiteral("notes-overtones");
    storage.title = {QStringLiteral("Notes with overtones"), QStringLiteral("Ноты с обертонами")};
    storage.frequencies = true;
    for (int key = lowestKey; key <= highestKey; ++key) {
        const NoteName name = noteName(key);
        Catalogue::Marker marker;
        marker.id = QStringLiteral("overtones-") + name.id;
        marker.title = {name.title.english + QStringLiteral(" with overtones"),
                        name.title.russian + QStringLiteral(" с обертонами")};
        marker.match = Catalogue::Match::All;
        for (int partial = 1; partial <= mostPartials; ++partial) {
            const double frequency = partial * noteFrequency(key);
            if (frequency <= highestFrequency) {
                marker.frequencies.push_back(frequency);
            }
        }
        marker.description = withHertz({QStringLiteral("The fundamental, %1 Hz, and its whole multiples."),
                                        QStringLiteral("Основной тон, %1 Гц, и кратные ему частоты.")},
                                       noteFrequency(key), 2);
        storage.markers.append(marker);
    }
    return storage;
}

// ---- Bands
// -----------------------------------------------------------------------------------------------------------

struct Band
{
    QString id;
    int step; // from 1000 Hz, in the bands of its set
    double nominal;
};

// Frequencies at the geometric centres of equal parts of the band, as many as can be told apart, and for each of them a
// search that reaches half-way to the next: together they cover the band without a gap.
void spread(Catalogue::Marker& marker, double low, double high, int most)
{
    int count = most;
    double part = std::pow(high / low, 1.0 / count);
    // The two lowest lie the closest together.
    while (count > 2 && low * std::sqrt(part) * (part - 1) < leastSpacing) {
        --count;
        part = std::pow(high / low, 1.0 / count);
    }
    for (int i = 0; i < count; ++i) {
        marker.frequencies.push_back(low * std::pow(part, i + 0.5));
    }
    marker.cents = 1200.0 * std::log2(part) / 2.0;
}

QVector<Catalogue::Marker> bands(const QVector<Band>& set, int perOctave, int most, const QString& prefix,
                                 const LocalText& title, const LocalText& description)
{
    QVector<Catalogue::Marker> markers;
    // Base ten: an octave is the ratio of 10^(3/10).
    const double octave = std::pow(10.0, 0.3);
    for (const Band& band : set) {
        const double centre = 1000.0 * std::pow(octave, double(band.step) / perOctave);
        const double halfWidth = std::pow(octave, 0.5 / perOctave);
        const int decimals = band.nominal == std::floor(band.nominal) ? 0 : 1;
        Catalogue::Marker marker;
        marker.id = prefix + band.id;
        marker.title = withHertz(title, band.nominal, decimals);
        const LocalText from = withHertz(description, centre / halfWidth, 1);
        marker.description = withHertz(from, centre * halfWidth, 1);
        spread(marker, centre / halfWidth, centre * halfWidth, most);
        markers.append(marker);
    }
    return markers;
}

Catalogue::Storage thirdOctaveBands()
{
    const QVector<double> nominal = {25,  31.5, 40,  50,   63,   80,   100,  125,  160,  200,  250,  315,  400,
                                     500, 630,  800, 1000, 1250, 1600, 2000, 2500, 3150, 4000, 5000, 6300, 8000};
    QVector<Band> set;
    int step = -16;
    for (const double frequency : nominal) {
        const QString id = QString::number(frequency).replace(QLatin1Char('.'), QLatin1Char('-'));
        set.append({id, step++, frequency});
    }
    Catalogue::Storage storage;
    storage.id = QStringLiteral("third-octave-bands");
    storage.title = {QStringLiteral("Third-octave bands"), QStringLiteral("Третьоктавные полосы")};
    storage.markers = bands(set, 3, 8, QStringLiteral("third-octave-"),
                            {QStringLiteral("%1 Hz, third octave"), QStringLiteral("%1 Гц, треть октавы")},
                            {QStringLiteral("Third-octave band of IEC 61260-1, from %1 Hz to %2 Hz."),
                             QStringLiteral("Третьоктавная полоса по IEC 61260-1, от %1 Гц до %2 Гц.")});
    return storage;
}

Catalogue::Storage octaveBands()
{
    const QVector<Band> set = {{QStringLiteral("31-5"), -5, 31.5}, {QStringLiteral("63"), -4, 63},
                               {QStringLiteral("125"), -3, 125},   {QStringLiteral("250"), -2, 250},
                               {QStringLiteral("500"), -1, 500},   {QStringLiteral("1000"), 0, 1000},
                               {QStringLiteral("2000"), 1, 2000},  {QStringLiteral("4000"), 2, 4000}};
    Catalogue::Storage storage;
    storage.id = QStringLiteral("octave-bands");
    storage.title = {QStringLiteral("Octave bands"), QStringLiteral("Октавные полосы")};
    storage.frequencies = true;
    storage.markers =
        bands(set, 1, 12, QStringLiteral("octave-"), {QStringLiteral("%1 Hz, octave"), QStringLiteral("%1 Гц, октава")},
              {QStringLiteral("Octave band of IEC 61260-1, from %1 Hz to %2 Hz."),
               QStringLiteral("Октавная полоса по IEC 61260-1, от %1 Гц до %2 Гц.")});
    return storage;
}

// ---- Mains
// -----------------------------------------------------------------------------------------------------------

constexpr int mainsHarmonics = 10;
constexpr int mainsFrequencies[] = {50, 60};

Catalogue::Storage mainsFrequenciesOneByOne()
{
    Catalogue::Storage storage;
    storage.id = QStringLiteral("mains-harmonics");
    storage.title = {QStringLiteral("Mains hum, single harmonics"), QStringLiteral("Сетевой фон, отдельные гармоники")};
    for (const int mains : mainsFrequencies) {
        for (int harmonic = 1; harmonic <= mainsHarmonics; ++harmonic) {
            const QString frequency = QString::number(mains * harmonic);
            const QString of = QString::number(mains);
            const QString order = QString::number(harmonic);
            Catalogue::Marker marker;
            marker.id = QStringLiteral("mains-%1-%2").arg(of, order);
            marker.title = {QStringLiteral("%1 Hz (mains %2 Hz, harmonic %3)").arg(frequency, of, order),
                            QStringLiteral("%1 Гц (сеть %2 Гц, гармоника %3)").arg(frequency, of, order)};
            marker.description = {
                QStringLiteral("Hum that a power grid of %1 Hz induces in cables and devices.").arg(of),
                QStringLiteral("Фон, который электросеть с частотой %1 Гц наводит в кабелях и приборах.").arg(of)};
            marker.frequencies = {double(mains * harmonic)};
            storage.markers.append(marker);
        }
    }
    return storage;
}

Catalogue::Storage mainsSets()
{
    struct Set
    {
        QString id;
        int first;
        int step;
        LocalText title;
        LocalText description;
    };
    const Set sets[] = {
        {QStringLiteral("all"),
         1,
         1,
         {QStringLiteral("Mains %1 Hz, harmonics 1 to 10"), QStringLiteral("Сеть %1 Гц, гармоники с 1 по 10")},
         {QStringLiteral("The frequency of the power grid and its multiples."),
          QStringLiteral("Частота электросети и кратные ей частоты.")}},
        {QStringLiteral("odd"),
         1,
         2,
         {QStringLiteral("Mains %1 Hz, odd harmonics"), QStringLiteral("Сеть %1 Гц, нечётные гармоники")},
         {QStringLiteral("Odd multiples, as saturated transformers produce them."),
          QStringLiteral("Нечётные гармоники, какие дают трансформаторы в насыщении.")}},
        {QStringLiteral("even"),
         2,
         2,
         {QStringLiteral("Mains %1 Hz, even harmonics"), QStringLiteral("Сеть %1 Гц, чётные гармоники")},
         {QStringLiteral("Even multiples, the ripple that full-wave rectifiers leave."),
          QStringLiteral("Чётные гармоники: пульсации двухполупериодных выпрямителей.")}},
    };
    Catalogue::Storage storage;
    storage.id = QStringLiteral("mains-sets");
    storage.title = {QStringLiteral("Mains hum, sets of harmonics"), QStringLiteral("Сетевой фон, наборы гармоник")};
    storage.frequencies = true;
    for (const int mains : mainsFrequencies) {
        for (const Set& set : sets) {
            Catalogue::Marker marker;
            marker.id = QStringLiteral("mains-%1-%2").arg(QString::number(mains), set.id);
            marker.title = {set.title.english.arg(mains), set.title.russian.arg(mains)};
            marker.description = set.description;
            for (int harmonic = set.first; harmonic <= mainsHarmonics; harmonic += set.step) {
                marker.frequencies.push_back(double(mains * harmonic));
            }
            storage.markers.append(marker);
        }
    }
    return storage;
}

// ---- Vowels
// ----------------------------------------------------------------------------------------------------------

struct Vowel
{
    QString word;
    QString sound; // in the international phonetic alphabet
    std::vector<double> formants;
};

// A voice puts its partials as far apart as its pitch, wherever its formants lie. Half a pitch to either side of a
// formant holds the partial that is nearest to it.
Catalogue::Storage vowels(const QString& speakers, const LocalText& title, double pitch, const QVector<Vowel>& table)
{
    Catalogue::Storage storage;
    storage.id = QStringLiteral("vowels-") + speakers;
    storage.title = title;
    storage.frequencies = true;
    for (const Vowel& vowel : table) {
        Catalogue::Marker marker;
        marker.id = QStringLiteral("vowel-%1-%2").arg(speakers, vowel.word);
        marker.title = {QStringLiteral("[%1] as in \"%2\"").arg(vowel.sound, vowel.word),
                        QStringLiteral("[%1], как в английском «%2»").arg(vowel.sound, vowel.word)};
        QStringList formants;
        for (const double formant : vowel.formants) {
            formants.append(QString::number(formant));
        }
        marker.description = {QStringLiteral("Mean first three formants (Peterson and Barney, 1952): %1 Hz.")
                                  .arg(formants.join(QStringLiteral(", "))),
                              QStringLiteral("Средние значения первых трёх формант (Peterson, Barney, 1952): %1 Гц.")
                                  .arg(formants.join(QStringLiteral(", ")))};
        marker.frequencies = vowel.formants;
        marker.cents = 0;
        marker.hertz = pitch / 2;
        marker.match = Catalogue::Match::All;
        storage.markers.append(marker);
    }
    return storage;
}

QVector<Vowel> vowelTable(const std::vector<std::vector<double>>& formants)
{
    QVector<Vowel> table = {
        {QStringLiteral("heed"), QStringLiteral("i"), {}}, {QStringLiteral("hid"), QStringLiteral("ɪ"), {}},
        {QStringLiteral("head"), QStringLiteral("ɛ"), {}}, {QStringLiteral("had"), QStringLiteral("æ"), {}},
        {QStringLiteral("hod"), QStringLiteral("ɑ"), {}},  {QStringLiteral("hawed"), QStringLiteral("ɔ"), {}},
        {QStringLiteral("hood"), QStringLiteral("ʊ"), {}}, {QStringLiteral("whod"), QStringLiteral("u"), {}},
        {QStringLiteral("hud"), QStringLiteral("ʌ"), {}},  {QStringLiteral("heard"), QStringLiteral("ɝ"), {}},
    };
    for (int i = 0; i < table.size(); ++i) {
        table[i].formants = formants[size_t(i)];
    }
    return table;
}

Catalogue::Storage vowelsOfMen()
{
    return vowels(QStringLiteral("men"), {QStringLiteral("Vowels, men"), QStringLiteral("Гласные, мужские голоса")},
                  132,
                  vowelTable({{270, 2290, 3010},
                              {390, 1990, 2550},
                              {530, 1840, 2480},
                              {660, 1720, 2410},
                              {730, 1090, 2440},
                              {570, 840, 2410},
                              {440, 1020, 2240},
                              {300, 870, 2240},
                              {640, 1190, 2390},
                              {490, 1350, 1690}}));
}

Catalogue::Storage vowelsOfWomen()
{
    return vowels(QStringLiteral("women"), {QStringLiteral("Vowels, women"), QStringLiteral("Гласные, женские голоса")},
                  223,
                  vowelTable({{310, 2790, 3310},
                              {430, 2480, 3070},
                              {610, 2330, 2990},
                              {860, 2050, 2850},
                              {850, 1220, 2810},
                              {590, 920, 2710},
                              {470, 1160, 2680},
                              {370, 950, 2670},
                              {760, 1400, 2780},
                              {500, 1640, 1960}}));
}

Catalogue::Storage vowelsOfChildren()
{
    return vowels(QStringLiteral("children"),
                  {QStringLiteral("Vowels, children"), QStringLiteral("Гласные, детские голоса")}, 264,
                  vowelTable({{370, 3200, 3730},
                              {530, 2730, 3600},
                              {690, 2610, 3570},
                              {1010, 2320, 3320},
                              {1030, 1370, 3170},
                              {680, 1060, 3180},
                              {560, 1410, 3310},
                              {430, 1170, 3260},
                              {850, 1590, 3360},
                              {560, 1820, 2160}}));
}

} // namespace

const Catalogue& Catalogue::instance()
{
    static const Catalogue catalogue;
    return catalogue;
}

int Catalogue::version()
{
    return catalogueVersion;
}

Catalogue::Catalogue()
{
    add({QStringLiteral("Musical notes"), QStringLiteral("Музыкальные ноты")}, true, {notes(), notesWithOvertones()});
    add({QStringLiteral("Frequency bands"), QStringLiteral("Полосы частот")}, true,
        {thirdOctaveBands(), octaveBands()});
    add({QStringLiteral("Vowels"), QStringLiteral("Гласные звуки")}, true,
        {vowelsOfMen(), vowelsOfWomen(), vowelsOfChildren()});
    // Hum is something to find in a record, nothing that anybody would want to have played.
    add({QStringLiteral("Mains hum"), QStringLiteral("Сетевой фон")}, false, {mainsFrequenciesOneByOne(), mainsSets()});

    for (const Storage& storage : qAsConst(m_storages)) {
        m_storageById.insert(storage.id, &storage);
        for (const Marker& marker : storage.markers) {
            m_markerById.insert(marker.id, &marker);
        }
    }
}

QVector<Catalogue::CategoryEntry> Catalogue::diagnosticCategories(const QString& language) const
{
    return categories(language, false);
}

QVector<Catalogue::CategoryEntry> Catalogue::correctiveCategories(const QString& language) const
{
    return categories(language, true);
}

const Catalogue::Storage* Catalogue::storage(const QString& id) const
{
    return m_storageById.value(id, nullptr);
}

const Catalogue::Marker* Catalogue::marker(const QString& id) const
{
    return m_markerById.value(id, nullptr);
}

void Catalogue::add(const LocalText& title, bool corrective, const QVector<Storage>& storages)
{
    Category category;
    category.title = title;
    category.corrective = corrective;
    for (const Storage& storage : storages) {
        category.storageIds.append(storage.id);
    }
    m_categories.append(category);
    m_storages += storages;
}

QVector<Catalogue::CategoryEntry> Catalogue::categories(const QString& language, bool correctiveOnly) const
{
    QVector<CategoryEntry> entries;
    for (const Category& category : m_categories) {
        if (correctiveOnly && !category.corrective) {
            continue;
        }
        CategoryEntry entry;
        entry.title = category.title.in(language);
        for (const QString& id : category.storageIds) {
            const Storage* const known = storage(id);
            entry.storages.append({known->id, known->title.in(language), known->frequencies});
        }
        entries.append(entry);
    }
    return entries;
}

} // namespace server
