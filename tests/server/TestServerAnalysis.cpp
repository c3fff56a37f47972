// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/BandLevels.h"
#include "server/Catalogue.h"
#include "server/MarkerAnalysis.h"
#include "server/Spectrum.h"

#include "tests/server/ServerFixture.h"
#include "tests/server/TestDatabase.h"
#include "tests/server/TestWave.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QSet>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <random>
#include <thread>
#include <vector>

using server::BandLevels;
using server::Catalogue;
using server::MarkerAnalysis;
using server::Spectrum;

namespace {

const QByteArray json = "application/json";
const QString markers = QStringLiteral("/analysis");
const QString summary = QStringLiteral("/analysis/summary");
const QString comparative = QStringLiteral("/analysis/comparative");

/// A moment by its reading in UTC.
QDateTime utc(const char* text)
{
    return QDateTime::fromString(QString::fromLatin1(text) + QLatin1Char('Z'), Qt::ISODate);
}

QByteArray noiseWave(unsigned seed)
{
    std::mt19937 generator(seed);
    std::normal_distribution<double> noise(0.0, 10.0);
    QByteArray wave = testWaveHeader(66150);
    for (int i = 0; i < 66150; ++i)
        wave.append(char(std::lround(qBound(0.0, 128 + noise(generator), 255.0))));
    return wave;
}

MarkerAnalysis analysisOf(const QByteArray& wave)
{
    return MarkerAnalysis(Spectrum(wave.mid(44)));
}

QStringList texts(const QJsonValue& array)
{
    const QJsonArray list = array.toArray();
    QStringList result;
    for (const QJsonValue& element : list)
        result.append(element.toString());
    return result;
}

QVector<int> numbers(const QJsonValue& array)
{
    const QJsonArray list = array.toArray();
    QVector<int> result;
    for (const QJsonValue& element : list)
        result.append(element.isDouble() ? element.toInt(-1000) : -2000);
    return result;
}

QVector<double> reals(const QJsonValue& array)
{
    const QJsonArray list = array.toArray();
    QVector<double> result;
    for (const QJsonValue& element : list)
        result.append(element.isDouble() ? element.toDouble() : -1e9);
    return result;
}

QStringList titles(const QJsonArray& objects)
{
    QStringList result;
    for (const QJsonValue& object : objects)
        result.append(object.toObject().value(QStringLiteral("title")).toString());
    return result;
}

QVector<int> valuesOf(const QJsonArray& rows, const char* key, const QString& wanted)
{
    for (const QJsonValue& row : rows) {
        if (row.toObject().value(QLatin1String(key)).toString() == wanted)
            return numbers(row.toObject().value(QStringLiteral("values")));
    }
    return {};
}

int highest(const QVector<double>& values)
{
    return int(std::max_element(values.begin(), values.end()) - values.begin());
}

QString noteTitle(const char* id, bool russian = false)
{
    const Catalogue::Marker* marker = Catalogue::instance().marker(QString::fromLatin1(id));
    return russian ? marker->title.russian : marker->title.english;
}

/// The strengths of the categories of a sound, from the levels of its markers alone.
QVector<double> strengthsOf(const QByteArray& wave)
{
    const MarkerAnalysis analysis = analysisOf(wave);
    QVector<double> strengths;
    for (const Catalogue::CategoryEntry& category : Catalogue::instance().diagnosticCategories(QString())) {
        double sum = 0;
        for (const Catalogue::StorageEntry& entry : category.storages) {
            const Catalogue::Storage& storage = *Catalogue::instance().storage(entry.id);
            double power = 0;
            for (const Catalogue::Marker& marker : storage.markers)
                power += std::pow(10, analysis.level(marker) / 10);
            sum += 10 * std::log10(power / storage.markers.size());
        }
        strengths.append(sum / category.storages.size());
    }
    return strengths;
}

} // namespace

/// The operations that analyse records, over HTTP, against what is known of the sounds and against single analyses.
class TestServerAnalysis : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void needsASession_data();
    void needsASession();
    void diagnosticCategories();
    void diagnosticCategoriesOfNobody();

    void severalRecordsGiveWhatSingleOnesGive();
    void everyStorageHasEqualLengths();
    void theFirstRecordDecidesTheOrder();
    void columnsAreInTheOrderOfTheRequest();
    void aSingleRecordHasItsColumn();
    void noStorageIsChosen();

    void summaryFollowsTheFormula();
    void summaryKnowsRecordsThatAreNotTicked();
    void summaryGoesByTheTimeOfTheRecord();
    void summaryOfTheSameSoundIsZero();
    void summaryNamesItsColumns();
    void summaryTakesAnyStorage();

    void comparesThreeSounds();
    void comparisonGoesByTime();
    void comparisonAgreesWithTheSummary();
    void comparesTheQuestionnaires();
    void comparesRecordsOfOneSecond();
    void comparesOneRecord();
    void comparesSilence();
    void comparisonSpeaksRussian();

    void refuses_data();
    void refuses();
    void refusesBodiesOfTheWrongKind_data();
    void refusesBodiesOfTheWrongKind();
    void refusesTooManyRecords();
    void practitionersSeeOnlyTheirOwn();

    void computesOnce();
    void computesAnewForAnotherCatalogue();
    void computesAnewWhatIsBroken_data();
    void computesAnewWhatIsBroken();
    void recipesUseWhatIsKept();
    void deletionTakesTheResultsAlong();
    void keepsItsResultsOverARestart();
    void manyAtOnce();

private:
    QJsonObject body(const QStringList& records, const QString& storage = QStringLiteral("notes")) const;
    QJsonObject ask(const QString& path, const QStringList& records, const QString& storage = QStringLiteral("notes"));
    QString add(const QByteArray& wave, const char* time);
    int keptResults();

    ServerFixture m_server;
    std::unique_ptr<ApiClient> m_client;
    QString m_patient;
};

void TestServerAnalysis::initTestCase()
{
    // Five hours ahead of UTC, without needing a database of time zones.
    QVERIFY(qputenv("TZ", "TST-5"));
    QVERIFY(m_server.start());
    m_client = m_server.newClient();
    QVERIFY(m_client);
}

void TestServerAnalysis::init()
{
    m_client->language = "en-US";
    m_patient = ServerFixture::newPatient(*m_client);
    QVERIFY(!m_patient.isEmpty());
}

void TestServerAnalysis::cleanup()
{
    QCOMPARE(m_server.process().errors(), QByteArray());
}

void TestServerAnalysis::cleanupTestCase()
{
    m_client.reset();
    QVERIFY(m_server.stop());
}

QJsonObject TestServerAnalysis::body(const QStringList& records, const QString& storage) const
{
    return {{QStringLiteral("patientId"), m_patient},
            {QStringLiteral("storageId"), storage},
            {QStringLiteral("records"), QJsonArray::fromStringList(records)}};
}

QJsonObject TestServerAnalysis::ask(const QString& path, const QStringList& records, const QString& storage)
{
    const ApiClient::Answer answer = m_client->post(path, body(records, storage));
    if (answer.status != 200 || answer.contentType != json)
        qWarning("%d: %s", answer.status, answer.body.constData());
    return answer.object();
}

QString TestServerAnalysis::add(const QByteArray& wave, const char* time)
{
    return m_server.newRecord(*m_client, m_patient, wave, utc(time));
}

int TestServerAnalysis::keptResults()
{
    return m_server
        .sql(QStringLiteral("SELECT COUNT(*) FROM analyses a JOIN records r ON r.id = a.record_id "
                            "WHERE r.patient_id = ?"),
             {m_patient})
        .toInt();
}

void TestServerAnalysis::needsASession_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QString>("path");
    QTest::newRow("categories") << QByteArray("GET") << "/category/diagnostic/x";
    QTest::newRow("markers") << QByteArray("POST") << markers;
    QTest::newRow("summary") << QByteArray("POST") << summary;
    QTest::newRow("comparison") << QByteArray("POST") << comparative;
}

void TestServerAnalysis::needsASession()
{
    QFETCH(QByteArray, method);
    QFETCH(QString, path);
    ApiClient stranger(m_server.process().url());
    QVERIFY(stranger.send(method, path, "{}", json).failed(401));
    stranger.token = "x";
    QVERIFY(stranger.send(method, path, "{}", json).failed(401));
}

void TestServerAnalysis::diagnosticCategories()
{
    const QString path = QStringLiteral("/category/diagnostic/") + m_patient;
    const ApiClient::Answer answer = m_client->get(path);
    QCOMPARE(answer.status, 200);
    const QJsonArray all = answer.array();
    QCOMPARE(titles(all), QStringList({QStringLiteral("Musical notes"), QStringLiteral("Frequency bands"),
                                       QStringLiteral("Vowels"), QStringLiteral("Mains hum")}));
    QSet<QString> ids;
    for (const QJsonValue& category : all) {
        QCOMPARE(category.toObject().keys(), QStringList({QStringLiteral("storages"), QStringLiteral("title")}));
        const QJsonArray storages = category.toObject().value(QStringLiteral("storages")).toArray();
        for (const QJsonValue& value : storages) {
            const QJsonObject storage = value.toObject();
            QCOMPARE(storage.keys(),
                     QStringList({QStringLiteral("frequencies"), QStringLiteral("id"), QStringLiteral("title")}));
            QVERIFY(!storage.value(QStringLiteral("title")).toString().isEmpty());
            QVERIFY(storage.value(QStringLiteral("frequencies")).isBool());
            ids.insert(storage.value(QStringLiteral("id")).toString());
        }
    }
    QCOMPARE(ids.size(), Catalogue::instance().storages().size());
    for (const Catalogue::Storage& storage : Catalogue::instance().storages())
        QVERIFY(ids.contains(storage.id));
    // What can be put into a receipt is a part of it.
    const QJsonArray corrective = m_client->get(QStringLiteral("/category/corrective/") + m_patient).array();
    QVERIFY(corrective.size() < all.size());
    for (const QJsonValue& category : corrective)
        QVERIFY(all.contains(category));

    m_client->language = "ru-RU";
    QCOMPARE(titles(m_client->get(path).array()),
             QStringList({QStringLiteral("Музыкальные ноты"), QStringLiteral("Полосы частот"),
                          QStringLiteral("Гласные звуки"), QStringLiteral("Сетевой фон")}));
}

void TestServerAnalysis::diagnosticCategoriesOfNobody()
{
    for (const char* id : {"none", "%ff", "a%20b", "1234567890123456789012"})
        QVERIFY(m_client->get(QStringLiteral("/category/diagnostic/") + QLatin1String(id)).failed(404));
    QVERIFY(m_client->send("POST", QStringLiteral("/category/diagnostic/") + m_patient, "{}", json).failed(405));
}

void TestServerAnalysis::severalRecordsGiveWhatSingleOnesGive()
{
    const QVector<QByteArray> waves{testWave(440), testWave(880), noiseWave(1)};
    QStringList records;
    for (const QByteArray& wave : waves)
        records.append(add(wave, "2026-03-01T10:00:00"));
    for (const Catalogue::Storage& storage : Catalogue::instance().storages()) {
        const QJsonArray together = ask(markers, records, storage.id).value(QStringLiteral("rows")).toArray();
        QCOMPARE(together.size(), storage.markers.size());
        for (int i = 0; i < records.size(); ++i) {
            const QJsonArray single = ask(markers, {records.at(i)}, storage.id).value(QStringLiteral("rows")).toArray();
            const MarkerAnalysis analysis = analysisOf(waves.at(i));
            for (const Catalogue::Marker& marker : storage.markers) {
                const QVector<int> alone = valuesOf(single, "id", marker.id);
                const QVector<int> among = valuesOf(together, "id", marker.id);
                QCOMPARE(alone, QVector<int>{analysis.value(marker)});
                QCOMPARE(among.value(i, -1), alone.first());
            }
        }
    }
    const QJsonArray notes = ask(markers, records).value(QStringLiteral("rows")).toArray();
    QCOMPARE(valuesOf(notes, "id", QStringLiteral("note-a4")).first(), 100);
    QVERIFY(valuesOf(notes, "id", QStringLiteral("note-a4")).at(2) < 30);
    QCOMPARE(valuesOf(notes, "id", QStringLiteral("note-a5")).at(1), 100);
}

void TestServerAnalysis::everyStorageHasEqualLengths()
{
    const QStringList records{add(testWave(440), "2026-03-01T10:00:00"), add(noiseWave(1), "2026-03-02T10:00:00"),
                              add(testWave(0), "2026-03-03T10:00:00"), add(testWave(3000), "2026-03-04T10:00:00")};
    for (const Catalogue::Storage& storage : Catalogue::instance().storages()) {
        const QJsonObject reply = ask(markers, records, storage.id);
        QCOMPARE(reply.keys(), QStringList({QStringLiteral("columns"), QStringLiteral("rows")}));
        QCOMPARE(reply.value(QStringLiteral("columns")).toArray().size(), records.size());
        QSet<QString> ids;
        const QJsonArray rows = reply.value(QStringLiteral("rows")).toArray();
        for (const QJsonValue& value : rows) {
            const QJsonObject row = value.toObject();
            QCOMPARE(row.keys(),
                     QStringList({QStringLiteral("amount"), QStringLiteral("description"), QStringLiteral("id"),
                                  QStringLiteral("title"), QStringLiteral("values")}));
            QVERIFY(!row.value(QStringLiteral("title")).toString().isEmpty());
            ids.insert(row.value(QStringLiteral("id")).toString());
            const QVector<int> values = numbers(row.value(QStringLiteral("values")));
            QCOMPARE(values.size(), records.size());
            for (const int one : values)
                QVERIFY(one >= 0 && one <= 100);
        }
        QCOMPARE(ids.size(), storage.markers.size());
    }
    QCOMPARE(m_client->post(markers, body(records)).body, m_client->post(markers, body(records)).body);
}

void TestServerAnalysis::theFirstRecordDecidesTheOrder()
{
    const QString low = add(testWave(440), "2026-03-01T10:00:00");
    const QString high = add(testWave(880), "2026-03-02T10:00:00");
    const auto order = [&](const QStringList& records) {
        QStringList ids;
        const QJsonArray rows = ask(markers, records).value(QStringLiteral("rows")).toArray();
        for (const QJsonValue& row : rows)
            ids.append(row.toObject().value(QStringLiteral("id")).toString());
        return ids;
    };
    QCOMPARE(order({low, high}).first(), QStringLiteral("note-a4"));
    QCOMPARE(order({high, low}).first(), QStringLiteral("note-a5"));
    QCOMPARE(order({low, high}), order({low}));
    QCOMPARE(order({high, low}), order({high}));
}

void TestServerAnalysis::columnsAreInTheOrderOfTheRequest()
{
    const QString early = add(testWave(440), "2026-03-01T22:30:15");
    const QString late = add(testWave(880), "2026-03-02T10:00:00");
    const QJsonObject reply = ask(markers, {late, early, late});
    // The wall clock of the server's machine, five hours ahead.
    QCOMPARE(texts(reply.value(QStringLiteral("columns"))),
             QStringList({QStringLiteral("2026-03-02T15:00:00+05:00"), QStringLiteral("2026-03-02T03:30:15+05:00"),
                          QStringLiteral("2026-03-02T15:00:00+05:00")}));
    for (const QString& column : texts(reply.value(QStringLiteral("columns"))))
        QVERIFY(QDateTime::fromString(column, Qt::ISODate).isValid());
    const QJsonArray rows = reply.value(QStringLiteral("rows")).toArray();
    for (const QJsonValue& row : rows) {
        const QVector<int> values = numbers(row.toObject().value(QStringLiteral("values")));
        QCOMPARE(values.at(2), values.at(0));
    }
    QCOMPARE(valuesOf(rows, "id", QStringLiteral("note-a4")).at(1), 100);
    QVERIFY(valuesOf(rows, "id", QStringLiteral("note-a4")).at(0) < 50);
}

void TestServerAnalysis::aSingleRecordHasItsColumn()
{
    const QString record = add(testWave(440), "2026-03-01T10:00:00");
    const QJsonObject reply = ask(markers, {record});
    QCOMPARE(texts(reply.value(QStringLiteral("columns"))), QStringList{QStringLiteral("2026-03-01T15:00:00+05:00")});
    QCOMPARE(reply.value(QStringLiteral("rows")).toArray().size(), 88);
}

void TestServerAnalysis::noStorageIsChosen()
{
    const QString record = add(testWave(440), "2026-03-01T10:00:00");
    const ApiClient::Answer english = m_client->post(markers, body({record, record}, QStringLiteral("")));
    QVERIFY(english.failed(404));
    QCOMPARE(english.message(), QStringLiteral("There is no such collection of markers."));
    m_client->language = "ru";
    const ApiClient::Answer russian = m_client->post(markers, body({record}, QStringLiteral("")));
    QVERIFY(russian.failed(404));
    QCOMPARE(russian.message(), QStringLiteral("Такого набора маркеров нет."));
}

void TestServerAnalysis::summaryFollowsTheFormula()
{
    const QVector<QByteArray> waves{noiseWave(1), testWave(440), noiseWave(2), testWave(1000), testWave(50)};
    QStringList records;
    for (int i = 0; i < waves.size(); ++i)
        records.append(add(waves.at(i), qPrintable(QStringLiteral("2026-03-01T10:00:0%1").arg(i))));
    const QJsonObject reply = ask(summary, records);
    QCOMPARE(reply.keys(), QStringList({QStringLiteral("columns"), QStringLiteral("rows")}));
    const QJsonArray rows = reply.value(QStringLiteral("rows")).toArray();

    QVector<QVector<double>> strengths;
    for (const QByteArray& wave : waves)
        strengths.append(strengthsOf(wave));
    const QStringList categories = titles(m_client->get(QStringLiteral("/category/diagnostic/") + m_patient).array());
    QCOMPARE(titles(rows), categories);
    bool moved = false;
    for (int category = 0; category < categories.size(); ++category) {
        QVector<int> expected{0};
        for (int i = 1; i < waves.size(); ++i) {
            double mean = 0;
            for (int earlier = 0; earlier < i; ++earlier)
                mean += strengths.at(earlier).at(category) / i;
            const double score = 100 * (strengths.at(i).at(category) - mean) / 60;
            expected.append(int(std::lround(qBound(-100.0, score, 100.0))));
            moved = moved || std::abs(score) > 20;
        }
        QCOMPARE(numbers(rows.at(category).toObject().value(QStringLiteral("values"))), expected);
        for (const int score : expected)
            QVERIFY(score >= -100 && score <= 100);
    }
    QVERIFY(moved);
    // A tone after noise is music, noise after a tone is less of it, and 50 Hz hums.
    QVERIFY(valuesOf(rows, "title", QStringLiteral("Musical notes")).at(1) > 10);
    QVERIFY(valuesOf(rows, "title", QStringLiteral("Musical notes")).at(2) < -10);
    QVERIFY(valuesOf(rows, "title", QStringLiteral("Mains hum")).at(4) > 10);
}

void TestServerAnalysis::summaryKnowsRecordsThatAreNotTicked()
{
    const QString first = add(noiseWave(1), "2026-03-01T10:00:00");
    const QString second = add(testWave(440), "2026-03-02T10:00:00");
    const QString third = add(testWave(880), "2026-03-03T10:00:00");
    const QJsonArray all = ask(summary, {first, second, third}).value(QStringLiteral("rows")).toArray();
    const QJsonArray alone = ask(summary, {third}).value(QStringLiteral("rows")).toArray();
    const QJsonArray turned = ask(summary, {third, first}).value(QStringLiteral("rows")).toArray();
    QCOMPARE(all.size(), alone.size());
    bool moved = false;
    for (const QString& title : titles(all)) {
        const QVector<int> scores = valuesOf(all, "title", title);
        QCOMPARE(scores.first(), 0);
        QCOMPARE(valuesOf(alone, "title", title), QVector<int>{scores.at(2)});
        QCOMPARE(valuesOf(turned, "title", title), QVector<int>({scores.at(2), 0}));
        moved = moved || scores.at(2) != 0;
    }
    QVERIFY(moved);
    // Records of another patient count for nothing.
    const QString elsewhere = ServerFixture::newPatient(*m_client);
    m_server.newRecord(*m_client, elsewhere, testWave(100), utc("2026-02-01T10:00:00"));
    QCOMPARE(ask(summary, {third}).value(QStringLiteral("rows")).toArray(), alone);
}

void TestServerAnalysis::summaryGoesByTheTimeOfTheRecord()
{
    // Uploaded in the other order.
    const QString late = add(testWave(440), "2026-03-02T10:00:00");
    const QString early = add(noiseWave(1), "2026-03-01T10:00:00");
    const QJsonArray rows = ask(summary, {late, early}).value(QStringLiteral("rows")).toArray();
    QVERIFY(valuesOf(rows, "title", QStringLiteral("Musical notes")).at(0) > 10);
    for (const QString& title : titles(rows))
        QCOMPARE(valuesOf(rows, "title", title).at(1), 0);
    // Deleting what came before makes it the first.
    QCOMPARE(m_client->remove(QStringLiteral("/record/%1/%2").arg(m_patient, early)).status, 200);
    const QJsonArray alone = ask(summary, {late}).value(QStringLiteral("rows")).toArray();
    for (const QString& title : titles(alone))
        QCOMPARE(valuesOf(alone, "title", title), QVector<int>{0});
}

void TestServerAnalysis::summaryOfTheSameSoundIsZero()
{
    QStringList records;
    for (int i = 0; i < 4; ++i)
        records.append(add(testWave(440), qPrintable(QStringLiteral("2026-03-0%1T10:00:00").arg(i + 1))));
    const QJsonArray rows = ask(summary, records).value(QStringLiteral("rows")).toArray();
    QCOMPARE(rows.size(), 4);
    for (const QString& title : titles(rows))
        QCOMPARE(valuesOf(rows, "title", title), QVector<int>({0, 0, 0, 0}));
}

void TestServerAnalysis::summaryNamesItsColumns()
{
    const QString first = add(testWave(440), "2026-03-01T22:30:15");
    const QString second = add(testWave(440), "2026-03-01T22:30:15");
    m_client->language = "ru-RU";
    const QJsonObject reply = ask(summary, {second, first, second});
    QCOMPARE(texts(reply.value(QStringLiteral("columns"))),
             QStringList({QStringLiteral("2026-03-02 03:30:15"), QStringLiteral("2026-03-02 03:30:15"),
                          QStringLiteral("2026-03-02 03:30:15")}));
    const QJsonArray rows = reply.value(QStringLiteral("rows")).toArray();
    QCOMPARE(titles(rows), QStringList({QStringLiteral("Музыкальные ноты"), QStringLiteral("Полосы частот"),
                                        QStringLiteral("Гласные звуки"), QStringLiteral("Сетевой фон")}));
    for (const QString& title : titles(rows))
        QCOMPARE(valuesOf(rows, "title", title).size(), 3);
}

void TestServerAnalysis::summaryTakesAnyStorage()
{
    const QString record = add(testWave(440), "2026-03-01T10:00:00");
    const QByteArray expected = m_client->post(summary, body({record}, QStringLiteral(""))).body;
    QVERIFY(expected.contains("Musical notes"));
    for (const QJsonValue& storage : {QJsonValue(QStringLiteral("none")), QJsonValue(5), QJsonValue(QJsonValue::Null),
                                      QJsonValue(QJsonArray()), QJsonValue(QJsonValue::Undefined)}) {
        QJsonObject request = body({record});
        request.insert(QStringLiteral("storageId"), storage);
        QCOMPARE(m_client->post(summary, request).body, expected);
    }
}

void TestServerAnalysis::comparesThreeSounds()
{
    const QStringList records{add(testWave(440), "2026-03-01T10:00:00"), add(testWave(880), "2026-03-02T10:00:00"),
                              add(noiseWave(1), "2026-03-03T10:00:00")};
    const QJsonObject reply = ask(comparative, records);
    QCOMPARE(reply.keys(),
             QStringList({QStringLiteral("complaints"), QStringLiteral("graph1"), QStringLiteral("graph2"),
                          QStringLiteral("smooth"), QStringLiteral("summary")}));

    const QJsonObject bands = reply.value(QStringLiteral("graph1")).toObject();
    QCOMPARE(bands.keys(), QStringList({QStringLiteral("2026-03-01 15:00:00"), QStringLiteral("2026-03-02 15:00:00"),
                                        QStringLiteral("2026-03-03 15:00:00")}));
    const QVector<double> frequencies{440, 880};
    for (int i = 0; i < 2; ++i) {
        const QVector<double> levels = reals(bands.value(bands.keys().at(i)));
        QCOMPARE(levels.size(), int(BandLevels::count));
        const int band = highest(levels);
        QVERIFY(BandLevels::lowerLimit(band) < frequencies.at(i) && BandLevels::upperLimit(band) > frequencies.at(i));
        // An amplitude of 100 of 128 steps.
        QVERIFY(std::abs(levels.at(band) - 20 * std::log10(100.0 / 128)) < 0.2);
    }
    // White noise rises by 1 dB from band to band, as these become wider.
    const QVector<double> noise = reals(bands.value(bands.keys().at(2)));
    QCOMPARE(noise.size(), int(BandLevels::count));
    QVERIFY(std::abs((noise.at(25) - noise.at(15)) - 10) < 1);

    const QJsonObject lines = reply.value(QStringLiteral("graph2")).toObject();
    const QVector<double> low = reals(lines.value(noteTitle("note-a4")));
    const QVector<double> high = reals(lines.value(noteTitle("note-a5")));
    QCOMPARE(low.value(0), 100.0);
    QVERIFY(low.value(1, 100) < 50 && low.value(2, 100) < 30);
    QCOMPARE(high.value(1), 100.0);
    QVERIFY(high.value(0, 100) < 50 && high.value(2, 100) < 30);
    const QJsonArray single = ask(markers, records, QStringLiteral("notes")).value(QStringLiteral("rows")).toArray();
    for (int i = 0; i < 3; ++i)
        QCOMPARE(low.at(i), double(valuesOf(single, "id", QStringLiteral("note-a4")).at(i)));

    for (const char* chart : {"graph2", "summary", "complaints"}) {
        const QJsonObject series = reply.value(QLatin1String(chart)).toObject();
        QVERIFY(!series.isEmpty());
        for (const QString& name : series.keys())
            QCOMPARE(reals(series.value(name)).size(), 3);
    }
    const QJsonObject smooth = reply.value(QStringLiteral("smooth")).toObject();
    QCOMPARE(smooth.keys(), QStringList{QStringLiteral("Trend")});
    QVERIFY(reply.value(QStringLiteral("summary")).toObject().contains(QStringLiteral("Trend")));
    const QVector<int> colour = numbers(smooth.value(QStringLiteral("Trend")));
    QCOMPARE(colour.size(), 3);
    for (const int component : colour)
        QVERIFY(component >= 0 && component <= 255);
    QCOMPARE(m_client->post(comparative, body(records)).body, m_client->post(comparative, body(records)).body);
}

void TestServerAnalysis::comparisonGoesByTime()
{
    const QString late = add(testWave(880), "2026-03-02T10:00:00");
    const QString early = add(testWave(440), "2026-03-01T10:00:00");
    const QJsonObject reply = ask(comparative, {late, early});
    QCOMPARE(reply, ask(comparative, {early, late}));
    const QVector<double> low = reals(reply.value(QStringLiteral("graph2")).toObject().value(noteTitle("note-a4")));
    QCOMPARE(low.value(0), 100.0);
    QVERIFY(low.value(1) < 50);
}

void TestServerAnalysis::comparisonAgreesWithTheSummary()
{
    const QString first = add(noiseWave(1), "2026-03-01T10:00:00");
    const QString second = add(testWave(440), "2026-03-02T10:00:00");
    const QString third = add(testWave(50), "2026-03-03T10:00:00");
    // The first is not ticked, and yet it is what the others are scored against.
    const QJsonObject reply = ask(comparative, {second, third}).value(QStringLiteral("summary")).toObject();
    const QJsonArray rows = ask(summary, {second, third}).value(QStringLiteral("rows")).toArray();
    QVector<double> means{0, 0};
    for (const QString& title : titles(rows)) {
        for (int i = 0; i < 2; ++i)
            means[i] += valuesOf(rows, "title", title).at(i) / double(rows.size());
    }
    QVERIFY(means.first() > 5);
    QCOMPARE(reals(reply.value(QStringLiteral("Mean score"))), means);
    const QVector<double> trend = reals(reply.value(QStringLiteral("Trend")));
    QCOMPARE(trend.size(), 2);
    QVERIFY(std::abs(trend.at(0) - (2 * means.at(0) + means.at(1)) / 3) <= 0.005 + 1e-9);
    QVERIFY(std::abs(trend.at(1) - (2 * means.at(1) + means.at(0)) / 3) <= 0.005 + 1e-9);
    QVERIFY(!first.isEmpty());
}

void TestServerAnalysis::comparesTheQuestionnaires()
{
    const QString first = add(noiseWave(1), "2026-03-01T10:00:00");
    const QString without = add(noiseWave(2), "2026-03-02T10:00:00");
    const QString third = add(noiseWave(3), "2026-03-03T10:00:00");
    const QJsonObject answers{{first, QJsonObject{{QStringLiteral("700101"), 3},
                                                  {QStringLiteral("700102"), 1},
                                                  {QStringLiteral("Own"), 2.5},
                                                  {QStringLiteral("None"), 0}}},
                              {third, QJsonObject{{QStringLiteral("700101"), 1}}}};
    QCOMPARE(m_client->put(QStringLiteral("/patient/questionnaire/") + m_patient, answers).status, 200);
    const QJsonObject chart = ask(comparative, {first, without, third}).value(QStringLiteral("complaints")).toObject();
    QCOMPARE(chart.keys(), QStringList({QStringLiteral("Number of complaints"), QStringLiteral("Severity")}));
    QCOMPARE(reals(chart.value(QStringLiteral("Number of complaints"))), QVector<double>({3, 0, 1}));
    QCOMPARE(reals(chart.value(QStringLiteral("Severity"))), QVector<double>({6.5, 0, 1}));
}

void TestServerAnalysis::comparesRecordsOfOneSecond()
{
    const QString first = add(testWave(440), "2026-03-01T10:00:00");
    const QString second = add(testWave(880), "2026-03-01T10:00:00.500");
    const QJsonObject bands = ask(comparative, {first, second, second}).value(QStringLiteral("graph1")).toObject();
    const QString name = QStringLiteral("2026-03-01 15:00:00");
    QCOMPARE(bands.keys(), QStringList({name, name + QStringLiteral(" (2)"), name + QStringLiteral(" (3)")}));
    QCOMPARE(highest(reals(bands.value(bands.keys().at(0)))), 12);
    QCOMPARE(highest(reals(bands.value(bands.keys().at(1)))), 15);
    QCOMPARE(bands.value(bands.keys().at(2)), bands.value(bands.keys().at(1)));
}

void TestServerAnalysis::comparesOneRecord()
{
    const QJsonObject reply = ask(comparative, {add(testWave(440), "2026-03-01T10:00:00")});
    QCOMPARE(reply.value(QStringLiteral("graph1")).toObject().size(), 1);
    for (const char* chart : {"graph2", "summary", "complaints"}) {
        const QJsonObject series = reply.value(QLatin1String(chart)).toObject();
        QVERIFY(!series.isEmpty());
        for (const QString& name : series.keys())
            QCOMPARE(reals(series.value(name)).size(), 1);
    }
}

void TestServerAnalysis::comparesSilence()
{
    const QJsonObject reply =
        ask(comparative, {add(testWave(0), "2026-03-01T10:00:00"), add(testWave(0), "2026-03-02T10:00:00")});
    QCOMPARE(reply.value(QStringLiteral("graph2")), QJsonValue(QJsonObject()));
    const QJsonObject bands = reply.value(QStringLiteral("graph1")).toObject();
    QCOMPARE(bands.size(), 2);
    for (const double level : reals(bands.begin().value()))
        QVERIFY(level < -50 && level > -100);
    QCOMPARE(reals(reply.value(QStringLiteral("summary")).toObject().value(QStringLiteral("Mean score"))),
             QVector<double>({0, 0}));
}

void TestServerAnalysis::comparisonSpeaksRussian()
{
    m_client->language = "ru-RU";
    const QJsonObject reply =
        ask(comparative, {add(testWave(440), "2026-03-01T10:00:00"), add(testWave(880), "2026-03-02T10:00:00")});
    QVERIFY(reply.value(QStringLiteral("graph2")).toObject().contains(noteTitle("note-a4", true)));
    QCOMPARE(reply.value(QStringLiteral("summary")).toObject().keys(),
             QStringList({QStringLiteral("Средняя оценка"), QStringLiteral("Тренд")}));
    QCOMPARE(reply.value(QStringLiteral("smooth")).toObject().keys(), QStringList{QStringLiteral("Тренд")});
    QCOMPARE(reply.value(QStringLiteral("complaints")).toObject().keys(),
             QStringList({QStringLiteral("Выраженность"), QStringLiteral("Количество жалоб")}));
    QCOMPARE(reply.value(QStringLiteral("graph1")).toObject().keys(),
             QStringList({QStringLiteral("2026-03-01 15:00:00"), QStringLiteral("2026-03-02 15:00:00")}));
}

void TestServerAnalysis::refuses_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("markers") << markers;
    QTest::newRow("summary") << summary;
    QTest::newRow("comparison") << comparative;
}

void TestServerAnalysis::refuses()
{
    QFETCH(QString, path);
    const QString record = add(testWave(440), "2026-03-01T10:00:00");
    const QString other = ServerFixture::newPatient(*m_client);
    const QString theirs = m_server.newRecord(*m_client, other, testWave(440));
    const QJsonValue missing(QJsonValue::Undefined);
    struct Change
    {
        const char* key;
        QJsonValue value;
        int status;
    };
    const std::vector<Change> changes{
        {"patientId", missing, 400},
        {"patientId", 5, 400},
        {"patientId", QJsonArray{m_patient}, 400},
        {"patientId", QJsonValue::Null, 400},
        {"patientId", QStringLiteral(""), 404},
        {"patientId", QStringLiteral("none"), 404},
        {"patientId", other, 404},
        {"patientId", QString(100000, QLatin1Char('a')), 404},
        {"records", missing, 400},
        {"records", record, 400},
        {"records", QJsonObject{{record, record}}, 400},
        {"records", QJsonValue::Null, 400},
        {"records", QJsonArray(), 400},
        {"records", QJsonArray{5}, 400},
        {"records", QJsonArray{record, QJsonValue::Null}, 400},
        {"records", QJsonArray{QJsonArray{record}}, 400},
        {"records", QJsonArray{QStringLiteral("")}, 404},
        {"records", QJsonArray{QStringLiteral("none")}, 404},
        {"records", QJsonArray{record, QStringLiteral("none")}, 404},
        {"records", QJsonArray{record, theirs}, 404},
        {"records", QJsonArray{QStringLiteral("' OR '1'='1")}, 404},
    };
    for (const Change& change : changes) {
        QJsonObject request = body({record});
        request.insert(QLatin1String(change.key), change.value);
        const QByteArray what = change.key + QJsonDocument(request).toJson().left(200);
        const ApiClient::Answer english = m_client->post(path, request);
        QVERIFY2(english.failed(change.status), what.constData());
        m_client->language = "ru-RU";
        const ApiClient::Answer russian = m_client->post(path, request);
        m_client->language = "en-US";
        QVERIFY2(russian.failed(change.status), what.constData());
        QVERIFY2(russian.message() != english.message(), what.constData());
    }
    QCOMPARE(m_client->post(path, body({record})).status, 200);
}

void TestServerAnalysis::refusesBodiesOfTheWrongKind_data()
{
    refuses_data();
}

void TestServerAnalysis::refusesBodiesOfTheWrongKind()
{
    QFETCH(QString, path);
    for (const QByteArray& wrong :
         {QByteArray(""), QByteArray("not JSON"), QByteArray("[]"), QByteArray("null"), QByteArray("5"),
          QByteArray("{"), QByteArray("\0\1\2", 3), QByteArray("{\"a\":").repeated(50000), QByteArray("{}")})
        QVERIFY2(m_client->send("POST", path, wrong, json).failed(400), wrong.left(20).constData());
    QVERIFY(m_client->send("POST", path, QByteArray(2 * 1024 * 1024, ' '), json).failed(413));
    QVERIFY(m_client->send("PUT", path, "{}", json).failed(405));
}

void TestServerAnalysis::refusesTooManyRecords()
{
    const QString record = add(testWave(440), "2026-03-01T10:00:00");
    QStringList many;
    for (int i = 0; i < 500; ++i)
        many.append(record);
    QCOMPARE(ask(markers, many).value(QStringLiteral("columns")).toArray().size(), 500);
    QCOMPARE(ask(summary, many).value(QStringLiteral("columns")).toArray().size(), 500);
    QCOMPARE(ask(comparative, many).value(QStringLiteral("graph1")).toObject().size(), 500);
    many.append(record);
    for (const QString& path : {markers, summary, comparative}) {
        const ApiClient::Answer answer = m_client->post(path, body(many));
        QVERIFY(answer.failed(400));
        QVERIFY(answer.message().contains(QStringLiteral("500")));
    }
}

void TestServerAnalysis::practitionersSeeOnlyTheirOwn()
{
    const QString record = add(testWave(440), "2026-03-01T10:00:00");
    const auto other = m_server.newClient();
    QVERIFY(other);
    const QString theirs = ServerFixture::newPatient(*other);
    QVERIFY(other->get(QStringLiteral("/category/diagnostic/") + m_patient).failed(404));
    QCOMPARE(other->get(QStringLiteral("/category/diagnostic/") + theirs).status, 200);
    for (const QString& path : {markers, summary, comparative}) {
        QVERIFY(other->post(path, body({record})).failed(404));
        QJsonObject request = body({record});
        request.insert(QStringLiteral("patientId"), theirs);
        QVERIFY(other->post(path, request).failed(404));
    }
    QCOMPARE(keptResults(), 0);
}

void TestServerAnalysis::computesOnce()
{
    const QString record = add(testWave(440), "2026-03-01T10:00:00");
    const QByteArray before = m_client->post(markers, body({record})).body;
    QCOMPARE(keptResults(), 1);
    // Whatever becomes of the samples now, they are not looked at again.
    m_server.sql(QStringLiteral("UPDATE records SET wave = ? WHERE id = ?"), {testWave(880), record});
    QCOMPARE(m_client->post(markers, body({record})).body, before);
    const QJsonObject bands = ask(comparative, {record}).value(QStringLiteral("graph1")).toObject();
    QCOMPARE(highest(reals(bands.begin().value())), 12);
    QCOMPARE(keptResults(), 1);
    for (const QString& path : {summary, comparative}) {
        const QString another = add(testWave(440), "2026-03-02T10:00:00");
        const int kept = keptResults();
        m_client->post(path, body({another}));
        QCOMPARE(keptResults(), kept + 1);
    }
}

void TestServerAnalysis::computesAnewForAnotherCatalogue()
{
    const QString record = add(testWave(440), "2026-03-01T10:00:00");
    const auto strongest = [&] {
        return ask(markers, {record})
            .value(QStringLiteral("rows"))
            .toArray()
            .first()
            .toObject()
            .value(QStringLiteral("id"))
            .toString();
    };
    QCOMPARE(strongest(), QStringLiteral("note-a4"));
    const QString version = QStringLiteral("SELECT catalogue_version FROM analyses WHERE record_id = ?");
    QCOMPARE(m_server.sql(version, {record}).toInt(), Catalogue::version());
    for (const int other : {Catalogue::version() - 1, Catalogue::version() + 1}) {
        m_server.sql(QStringLiteral("UPDATE records SET wave = ? WHERE id = ?"), {testWave(880), record});
        m_server.sql(QStringLiteral("UPDATE analyses SET catalogue_version = ? WHERE record_id = ?"), {other, record});
        QCOMPARE(strongest(), QStringLiteral("note-a5"));
        QCOMPARE(m_server.sql(version, {record}).toInt(), Catalogue::version());
        m_server.sql(QStringLiteral("UPDATE records SET wave = ? WHERE id = ?"), {testWave(440), record});
        QCOMPARE(strongest(), QStringLiteral("note-a5"));
    }
    QCOMPARE(keptResults(), 1);
}

void TestServerAnalysis::computesAnewWhatIsBroken_data()
{
    QTest::addColumn<QString>("change");
    const auto row = [](const char* name, const char* onSqlite, const char* onPostgres) {
        QTest::newRow(name) << QString::fromLatin1(TestDatabase::isPostgres() ? onPostgres : onSqlite);
    };
    row("empty", "x''", "''");
    row("zeros", "zeroblob(length(result))", "decode(repeat('00', length(result)), 'hex')");
    row("cut", "substr(result, 1, 100)", "substr(result, 1, 100)");
    row("last byte", "CAST(substr(result, 1, length(result) - 1) || x'00' || x'00' AS BLOB)",
        "substr(result, 1, length(result) - 1) || decode('0000', 'hex')");
    row("text", "'result'", "'result'");
    row("number", "5", "'5'");
    row("large", "zeroblob(5000000)", "decode(repeat('00', 5000000), 'hex')");
}

void TestServerAnalysis::computesAnewWhatIsBroken()
{
    QFETCH(QString, change);
    const QString record = add(testWave(440), "2026-03-01T10:00:00");
    const QString healthy = add(testWave(880), "2026-03-02T10:00:00");
    const QByteArray before = m_client->post(comparative, body({record, healthy})).body;
    const QStringList kept = m_server.rows(QStringLiteral("analyses"));
    m_server.sql(QStringLiteral("UPDATE analyses SET result = %1 WHERE record_id = ?").arg(change), {record});
    QVERIFY(m_server.rows(QStringLiteral("analyses")) != kept);
    QCOMPARE(m_client->post(comparative, body({record, healthy})).body, before);
    QCOMPARE(m_server.rows(QStringLiteral("analyses")), kept);
}

void TestServerAnalysis::recipesUseWhatIsKept()
{
    const QString record = add(testWave(440), "2026-03-01T10:00:00");
    const QJsonObject recipe{
        {QStringLiteral("patientId"), m_patient},
        {QStringLiteral("recordId"), record},
        {QStringLiteral("markers"),
         QJsonArray{QStringLiteral("note-a4"), QStringLiteral("note-c4"), QStringLiteral("overtones-a4")}}};
    QCOMPARE(m_client->put(QStringLiteral("/recipe"), recipe).status, 200);
    const QJsonArray saved = m_client->get(QStringLiteral("/recipe/%1/%2").arg(m_patient, record)).array();
    QCOMPARE(keptResults(), 1);
    const MarkerAnalysis analysis = analysisOf(testWave(440));
    QCOMPARE(saved.size(), 3);
    for (const QJsonValue& value : saved) {
        const QJsonObject marker = value.toObject();
        const QString id = marker.value(QStringLiteral("id")).toString();
        QCOMPARE(numbers(marker.value(QStringLiteral("values"))),
                 QVector<int>{analysis.value(*Catalogue::instance().marker(id))});
    }
}

void TestServerAnalysis::deletionTakesTheResultsAlong()
{
    const QString record = add(testWave(440), "2026-03-01T10:00:00");
    const QString other = add(testWave(880), "2026-03-02T10:00:00");
    ask(markers, {record, other});
    QCOMPARE(keptResults(), 2);
    QCOMPARE(m_client->remove(QStringLiteral("/record/%1/%2").arg(m_patient, record)).status, 200);
    const QString count = QStringLiteral("SELECT COUNT(*) FROM analyses WHERE record_id IN ('%1', '%2')");
    QCOMPARE(m_server.sql(count.arg(record, other)).toInt(), 1);
    QVERIFY(m_client->post(markers, body({record, other})).failed(404));
    QCOMPARE(m_client->remove(QStringLiteral("/patient/") + m_patient).status, 200);
    QCOMPARE(m_server.sql(count.arg(record, other)).toInt(), 0);
}

void TestServerAnalysis::keepsItsResultsOverARestart()
{
    const QStringList records{add(testWave(440), "2026-03-01T10:00:00"), add(noiseWave(1), "2026-03-02T10:00:00")};
    QVector<QByteArray> before;
    for (const QString& path : {markers, summary, comparative})
        before.append(m_client->post(path, body(records)).body);
    const QStringList kept = m_server.rows(QStringLiteral("analyses"));
    QVERIFY(m_server.restart());
    m_client = m_server.sameClient(*m_client);
    QVector<QByteArray> after;
    for (const QString& path : {markers, summary, comparative})
        after.append(m_client->post(path, body(records)).body);
    QCOMPARE(after, before);
    QCOMPARE(m_server.rows(QStringLiteral("analyses")), kept);
}

void TestServerAnalysis::manyAtOnce()
{
    QStringList records;
    for (int i = 0; i < 12; ++i)
        records.append(add(noiseWave(unsigned(i)), qPrintable(QStringLiteral("2026-03-%1T10:00:00").arg(i + 10))));
    // Two processes on the one file, and several requests for the same results on each.
    ServerProcess second;
    QVERIFY(second.start(m_server.path()));
    constexpr int threads = 6;
    QVector<QByteArray> bodies(threads);
    std::vector<std::thread> running;
    running.reserve(threads);
    for (int t = 0; t < threads; ++t) {
        const QString url = t % 2 == 0 ? m_server.process().url() : second.url();
        const QJsonObject request = body(records);
        running.emplace_back([&bodies, t, url, request, token = m_client->token] {
            ApiClient client(url);
            client.token = token;
            const ApiClient::Answer answer = client.post(comparative, request);
            if (answer.status == 200)
                bodies[t] = answer.body;
        });
    }
    for (std::thread& thread : running)
        thread.join();
    QCOMPARE(second.errors(), QByteArray());
    second.kill();
    QVERIFY(bodies.first().contains("graph1"));
    for (const QByteArray& one : qAsConst(bodies))
        QCOMPARE(one, bodies.first());
    QCOMPARE(keptResults(), records.size());
}

QTEST_GUILESS_MAIN(TestServerAnalysis)

#include "TestServerAnalysis.moc"
