// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/ServerFixture.h"
#include "tests/server/TestWave.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QMap>
#include <QSet>
#include <QTest>

#include <zip.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

const QByteArray json = "application/json";
const QString path = QStringLiteral("/patient/questionnaire");
const QString headache = QStringLiteral("700101");
const QString dizziness = QStringLiteral("700102");

/// The grid as the client keeps it: single-precision numbers under the ids of the records, custom symptoms written back
/// by their texts and the others by their numbers, and a 0 for every cell without a number.
struct Grid
{
    struct Symptom
    {
        int id = -1;
        QString text;
        bool custom = false;
        QMap<QString, float> values;
    };

    explicit Grid(const QJsonObject& reply)
    {
        const QJsonObject dates = reply.value(QStringLiteral("dates")).toObject();
        columns = dates.keys();
        const QJsonArray rows = reply.value(QStringLiteral("rows")).toArray();
        for (const QJsonValue& value : rows) {
            const QJsonObject row = value.toObject();
            Symptom symptom;
            symptom.id = row.value(QStringLiteral("id")).toInt(-1);
            symptom.text = row.value(QStringLiteral("symptom")).toString();
            symptom.custom = row.value(QStringLiteral("custom")).toBool(false);
            const QJsonObject intensities = row.value(QStringLiteral("intensities")).toObject();
            for (auto entry = intensities.begin(); entry != intensities.end(); ++entry)
                symptom.values.insert(entry.key(), float(entry.value().toDouble(0.0)));
            symptoms.append(symptom);
        }
    }

    Symptom& add(const QString& text)
    {
        Symptom symptom;
        symptom.text = text;
        symptom.custom = true;
        for (const QString& column : qAsConst(columns))
            symptom.values.insert(column, 0);
        symptoms.append(symptom);
        return symptoms.last();
    }

    Symptom& custom(const QString& text)
    {
        for (Symptom& symptom : symptoms) {
            if (symptom.custom && symptom.text == text)
                return symptom;
        }
        return missing(text);
    }

    Symptom& shipped(const QString& id)
    {
        for (Symptom& symptom : symptoms) {
            if (!symptom.custom && QString::number(symptom.id) == id)
                return symptom;
        }
        return missing(id);
    }

    /// What no answer is equal to.
    Symptom& missing(const QString& what)
    {
        qWarning("no symptom %s", qPrintable(what));
        none = Symptom();
        none.id = -5000;
        for (const QString& column : qAsConst(columns))
            none.values.insert(column, -5000);
        return none;
    }

    void remove(const QString& text)
    {
        for (int i = symptoms.size() - 1; i >= 0; --i) {
            if (symptoms.at(i).custom && symptoms.at(i).text == text)
                symptoms.remove(i);
        }
    }

    QStringList customTexts() const
    {
        QStringList texts;
        for (const Symptom& symptom : symptoms) {
            if (symptom.custom)
                texts.append(symptom.text);
        }
        return texts;
    }

    QByteArray toJson() const
    {
        QJsonObject object;
        for (const QString& column : columns) {
            QJsonObject inner;
            for (const Symptom& symptom : symptoms)
                inner.insert(symptom.custom ? symptom.text : QString::number(symptom.id),
                             double(symptom.values.value(column, 0)));
            object.insert(column, inner);
        }
        return QJsonDocument(object).toJson();
    }

    QStringList columns;
    QVector<Symptom> symptoms;
    Symptom none;
};

QJsonObject inner(const QString& key, const QJsonValue& value)
{
    return {{key, value}};
}

/// The shared texts of an Excel file, where all its texts are.
QByteArray textsOfWorkbook(const QByteArray& workbook)
{
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source = zip_source_buffer_create(workbook.constData(), zip_uint64_t(workbook.size()), 0, &error);
    zip_t* archive = source ? zip_open_from_source(source, ZIP_RDONLY, &error) : nullptr;
    zip_file_t* file = archive ? zip_fopen(archive, "xl/sharedStrings.xml", 0) : nullptr;
    QByteArray texts(65536, '\0');
    const zip_int64_t read = file ? zip_fread(file, texts.data(), zip_uint64_t(texts.size())) : 0;
    texts.truncate(int(read));
    if (file)
        zip_fclose(file);
    if (archive)
        zip_close(archive);
    return texts;
}

} // namespace

/// The questionnaire over HTTP, read and written as the client's grid does it.
class TestServerQuestionnaire : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void needsASession();
    void asksForEverydaySymptoms();
    void speaksRussian();
    void datesAreThoseOfTheRecords();
    void withoutRecords();

    void isReadAsItWasSaved();
    void savingTwiceChangesNothing();
    void otherRecordsKeepTheirs();
    void aSaveReplacesWhatWasThere();
    void survivesARestart();

    void customSymptomsStay();
    void customSymptomsAreRemoved();
    void customSymptomsAreThoseOfThePatient();
    void twoOfOneTextAreOne();
    void customTexts_data();
    void customTexts();
    void aNumberIsAName();
    void theIdOfAShippedSymptomIsThatSymptom();
    void customSymptomsComeInOrder();

    void recordsShowTheirQuestionnaire();
    void theWorkbookShowsTheQuestionnaire();
    void anEmptyObjectTakesTheQuestionnaireAway();
    void nothingToSave();
    void deletionTakesTheQuestionnaireAlong();

    void intensities_data();
    void intensities();
    void refusesIntensities_data();
    void refusesIntensities();
    void refusesNames_data();
    void refusesNames();
    void refusesTooManySymptoms();
    void refusesTooManyRecords();
    void refusesOtherRecords();
    void storesAllOrNothing();
    void refusesQuestions();
    void refusesBodiesOfTheWrongKind_data();
    void refusesBodiesOfTheWrongKind();
    void practitionersSeeOnlyTheirOwn();
    void manyAtOnce();

private:
    QJsonObject question(const QStringList& records) const;
    Grid grid(const QStringList& records);
    ApiClient::Answer save(const QByteArray& body);
    ApiClient::Answer save(const QJsonObject& body);
    QString savePath() const;
    QString newRecord(const QString& patient);
    bool flag(const QString& record);
    QStringList stored();

    ServerFixture m_server;
    std::unique_ptr<ApiClient> m_client;
    QString m_patient;
    QString m_first;
    QString m_second;
};

void TestServerQuestionnaire::initTestCase()
{
    QVERIFY(qputenv("TZ", "TST-5"));
    QVERIFY(m_server.start());
    m_client = m_server.newClient();
    QVERIFY(m_client);
}

void TestServerQuestionnaire::init()
{
    m_client->language = "en-US";
    m_patient = ServerFixture::newPatient(*m_client);
    m_first = newRecord(m_patient);
    m_second = newRecord(m_patient);
    QVERIFY(!m_second.isEmpty() && m_first != m_second);
}

void TestServerQuestionnaire::cleanup()
{
    QCOMPARE(m_server.process().errors(), QByteArray());
}

void TestServerQuestionnaire::cleanupTestCase()
{
    m_client.reset();
    QVERIFY(m_server.stop());
}

QJsonObject TestServerQuestionnaire::question(const QStringList& records) const
{
    return {{QStringLiteral("patientId"), m_patient}, {QStringLiteral("records"), QJsonArray::fromStringList(records)}};
}

Grid TestServerQuestionnaire::grid(const QStringList& records)
{
    const ApiClient::Answer answer = m_client->post(path, question(records));
    if (answer.status != 200 || answer.contentType != json)
        qWarning("%d: %s", answer.status, answer.body.constData());
    return Grid(answer.object());
}

ApiClient::Answer TestServerQuestionnaire::save(const QByteArray& body)
{
    return m_client->send("PUT", savePath(), body, json);
}

ApiClient::Answer TestServerQuestionnaire::save(const QJsonObject& body)
{
    return m_client->put(savePath(), body);
}

QString TestServerQuestionnaire::savePath() const
{
    return path + QLatin1Char('/') + m_patient;
}

QString TestServerQuestionnaire::newRecord(const QString& patient)
{
    return m_server.newRecord(*m_client, patient, testWave(440));
}

bool TestServerQuestionnaire::flag(const QString& record)
{
    const QJsonArray records = m_client->get(QStringLiteral("/record/") + m_patient).array();
    for (const QJsonValue& value : records) {
        if (value.toObject().value(QStringLiteral("id")).toString() == record)
            return value.toObject().value(QStringLiteral("questionnaire")).toBool();
    }
    qWarning("no record %s", qPrintable(record));
    return false;
}

QStringList TestServerQuestionnaire::stored()
{
    return m_server.rows(QStringLiteral("questionnaires")) + m_server.rows(QStringLiteral("questionnaire_answers"));
}

void TestServerQuestionnaire::needsASession()
{
    ApiClient stranger(m_server.process().url());
    QVERIFY(stranger.post(path, question({m_first})).failed(401));
    QVERIFY(stranger.put(savePath(), {}).failed(401));
}

void TestServerQuestionnaire::asksForEverydaySymptoms()
{
    const ApiClient::Answer answer = m_client->post(path, question({m_first, m_second}));
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.object().keys(), QStringList({QStringLiteral("dates"), QStringLiteral("rows")}));
    const QJsonArray rows = answer.object().value(QStringLiteral("rows")).toArray();
    QVERIFY(rows.size() >= 30);
    QSet<int> ids;
    QSet<QString> texts;
    for (const QJsonValue& value : rows) {
        const QJsonObject row = value.toObject();
        QCOMPARE(row.keys(), QStringList({QStringLiteral("custom"), QStringLiteral("id"), QStringLiteral("intensities"),
                                          QStringLiteral("symptom")}));
        QCOMPARE(row.value(QStringLiteral("custom")), QJsonValue(false));
        QVERIFY(row.value(QStringLiteral("id")).isDouble());
        QVERIFY(row.value(QStringLiteral("id")).toInt(-1) > 0);
        ids.insert(row.value(QStringLiteral("id")).toInt());
        texts.insert(row.value(QStringLiteral("symptom")).toString());
        QCOMPARE(row.value(QStringLiteral("intensities")).toObject(), QJsonObject({{m_first, 0}, {m_second, 0}}));
    }
    QCOMPARE(ids.size(), rows.size());
    QCOMPARE(texts.size(), rows.size());
    QVERIFY(texts.contains(QStringLiteral("Headache")));
    QVERIFY(texts.contains(QStringLiteral("Tiredness")));
    QVERIFY(texts.contains(QStringLiteral("Restless sleep")));
    QVERIFY(!texts.contains(QString()));
}

void TestServerQuestionnaire::speaksRussian()
{
    const Grid english = grid({m_first});
    m_client->language = "ru-RU";
    const Grid russian = grid({m_first});
    QCOMPARE(russian.symptoms.size(), english.symptoms.size());
    QSet<QString> texts;
    for (int i = 0; i < english.symptoms.size(); ++i) {
        QCOMPARE(russian.symptoms.at(i).id, english.symptoms.at(i).id);
        QVERIFY(russian.symptoms.at(i).text != english.symptoms.at(i).text);
        QVERIFY(russian.symptoms.at(i).text.at(0).script() == QChar::Script_Cyrillic);
        texts.insert(russian.symptoms.at(i).text);
    }
    QCOMPARE(texts.size(), russian.symptoms.size());
    QVERIFY(texts.contains(QStringLiteral("Головная боль")));
}

void TestServerQuestionnaire::datesAreThoseOfTheRecords()
{
    const QString early = m_server.newRecord(*m_client, m_patient, testWave(440),
                                             QDateTime(QDate(2026, 3, 1), QTime(22, 30, 15), Qt::UTC));
    const QJsonObject dates =
        m_client->post(path, question({m_first, early, early})).object().value(QStringLiteral("dates")).toObject();
    QCOMPARE(dates.size(), 2);
    QCOMPARE(dates.value(early).toString(), QStringLiteral("2026-03-02T03:30:15+05:00"));
    const QDateTime recent = QDateTime::fromString(dates.value(m_first).toString(), Qt::ISODate);
    QVERIFY(recent.isValid());
    QVERIFY(qAbs(recent.secsTo(QDateTime::currentDateTime())) < 3600);
}

void TestServerQuestionnaire::withoutRecords()
{
    const ApiClient::Answer answer = m_client->post(path, question({}));
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.object().value(QStringLiteral("dates")), QJsonValue(QJsonObject()));
    QVERIFY(answer.object().value(QStringLiteral("rows")).toArray().size() >= 30);
}

void TestServerQuestionnaire::isReadAsItWasSaved()
{
    Grid filled = grid({m_first, m_second});
    filled.shipped(headache).values[m_first] = 3;
    filled.shipped(headache).values[m_second] = 1;
    filled.shipped(dizziness).values[m_second] = 2;
    filled.add(QStringLiteral("Боль в локте")).values[m_first] = 2;
    filled.add(QStringLiteral("Never there"));
    const ApiClient::Answer answer = save(filled.toJson());
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.body, QByteArray("{}"));

    Grid read = grid({m_first, m_second});
    QCOMPARE(read.toJson(), filled.toJson());
    QCOMPARE(read.columns, filled.columns);
    QCOMPARE(read.shipped(headache).values.value(m_first), 3.0f);
    QCOMPARE(read.shipped(headache).values.value(m_second), 1.0f);
    QCOMPARE(read.shipped(dizziness).values.value(m_first), 0.0f);
    QCOMPARE(read.custom(QStringLiteral("Боль в локте")).values.value(m_first), 2.0f);
    QCOMPARE(read.customTexts().size(), 2);
    for (const QString& text : read.customTexts())
        QCOMPARE(read.custom(text).id, -1);
    // The language of the reader is nothing to the answers.
    m_client->language = "ru-RU";
    QCOMPARE(grid({m_first, m_second}).toJson(), filled.toJson());
    // One record alone.
    QCOMPARE(grid({m_second}).columns, QStringList{m_second});
    QCOMPARE(grid({m_second}).shipped(headache).values.value(m_second), 1.0f);
}

void TestServerQuestionnaire::savingTwiceChangesNothing()
{
    Grid filled = grid({m_first, m_second});
    filled.shipped(headache).values[m_first] = 3;
    filled.add(QStringLiteral("Own")).values[m_second] = 0.1f;
    QCOMPARE(save(filled.toJson()).status, 200);
    const QStringList once = stored();
    const QByteArray read = m_client->post(path, question({m_first, m_second})).body;
    QCOMPARE(save(filled.toJson()).status, 200);
    QCOMPARE(stored(), once);
    QCOMPARE(save(grid({m_first, m_second}).toJson()).status, 200);
    QCOMPARE(stored(), once);
    QCOMPARE(m_client->post(path, question({m_first, m_second})).body, read);
}

void TestServerQuestionnaire::otherRecordsKeepTheirs()
{
    QCOMPARE(save(QJsonObject{{m_first, inner(headache, 1)}, {m_second, inner(headache, 2)}}).status, 200);
    QCOMPARE(save(QJsonObject{{m_first, inner(headache, 3)}}).status, 200);
    Grid read = grid({m_first, m_second});
    QCOMPARE(read.shipped(headache).values.value(m_first), 3.0f);
    QCOMPARE(read.shipped(headache).values.value(m_second), 2.0f);
}

void TestServerQuestionnaire::aSaveReplacesWhatWasThere()
{
    QCOMPARE(save(QJsonObject{{m_first, QJsonObject{{headache, 1}, {QStringLiteral("Own"), 2}}}}).status, 200);
    QCOMPARE(save(QJsonObject{{m_first, inner(dizziness, 3)}}).status, 200);
    Grid read = grid({m_first});
    QCOMPARE(read.shipped(headache).values.value(m_first), 0.0f);
    QCOMPARE(read.shipped(dizziness).values.value(m_first), 3.0f);
    QCOMPARE(read.customTexts(), QStringList());
}

void TestServerQuestionnaire::survivesARestart()
{
    Grid filled = grid({m_first, m_second});
    filled.shipped(headache).values[m_first] = 2;
    filled.add(QStringLiteral("Ёж 🦔")).values[m_second] = 1;
    QCOMPARE(save(filled.toJson()).status, 200);
    QVERIFY(m_server.restart());
    m_client = m_server.sameClient(*m_client);
    QCOMPARE(grid({m_first, m_second}).toJson(), filled.toJson());
    QVERIFY(flag(m_first));
}

void TestServerQuestionnaire::customSymptomsStay()
{
    Grid filled = grid({m_first, m_second});
    filled.add(QStringLiteral("Own"));
    QCOMPARE(save(filled.toJson()).status, 200);
    Grid read = grid({m_first, m_second});
    QCOMPARE(read.customTexts(), QStringList{QStringLiteral("Own")});
    QCOMPARE(read.custom(QStringLiteral("Own")).values.value(m_first), 0.0f);
    // Setting it back to 0 is not removing it.
    read.custom(QStringLiteral("Own")).values[m_first] = 3;
    QCOMPARE(save(read.toJson()).status, 200);
    read.custom(QStringLiteral("Own")).values[m_first] = 0;
    QCOMPARE(save(read.toJson()).status, 200);
    QCOMPARE(grid({m_first, m_second}).customTexts(), QStringList{QStringLiteral("Own")});
}

void TestServerQuestionnaire::customSymptomsAreRemoved()
{
    const QString own = QStringLiteral("Own");
    Grid filled = grid({m_first, m_second});
    filled.add(own).values[m_first] = 2;
    filled.custom(own).values[m_second] = 1;
    QCOMPARE(save(filled.toJson()).status, 200);

    // From one record: the other one still has it.
    Grid one = grid({m_first});
    one.remove(own);
    QCOMPARE(save(one.toJson()).status, 200);
    Grid both = grid({m_first, m_second});
    QCOMPARE(both.custom(own).values.value(m_first), 0.0f);
    QCOMPARE(both.custom(own).values.value(m_second), 1.0f);

    both.remove(own);
    QCOMPARE(save(both.toJson()).status, 200);
    QCOMPARE(grid({m_first, m_second}).customTexts(), QStringList());
}

void TestServerQuestionnaire::customSymptomsAreThoseOfThePatient()
{
    QCOMPARE(save(QJsonObject{{m_first, inner(QStringLiteral("Own"), 3)}}).status, 200);
    // Offered for the other record too, where it was not there.
    Grid other = grid({m_second});
    QCOMPARE(other.customTexts(), QStringList{QStringLiteral("Own")});
    QCOMPARE(other.custom(QStringLiteral("Own")).values.value(m_second), 0.0f);
    QVERIFY(!other.custom(QStringLiteral("Own")).values.contains(m_first));
    // And for no other patient.
    const QString patient = m_patient;
    m_patient = ServerFixture::newPatient(*m_client);
    const QString record = newRecord(m_patient);
    QCOMPARE(grid({record}).customTexts(), QStringList());
    m_patient = patient;
}

void TestServerQuestionnaire::twoOfOneTextAreOne()
{
    Grid filled = grid({m_first});
    filled.add(QStringLiteral("Own")).values[m_first] = 1;
    filled.add(QStringLiteral("Own")).values[m_first] = 2;
    QCOMPARE(save(filled.toJson()).status, 200);
    Grid read = grid({m_first});
    QCOMPARE(read.customTexts(), QStringList{QStringLiteral("Own")});
    QCOMPARE(read.custom(QStringLiteral("Own")).values.value(m_first), 2.0f);
    // The same text at another record is the same symptom.
    QCOMPARE(save(QJsonObject{{m_second, inner(QStringLiteral("Own"), 3)}}).status, 200);
    QCOMPARE(grid({m_first, m_second}).customTexts(), QStringList{QStringLiteral("Own")});
    // Another case is another text.
    filled = grid({m_first});
    filled.add(QStringLiteral("own")).values[m_first] = 3;
    QCOMPARE(save(filled.toJson()).status, 200);
    QCOMPARE(grid({m_first}).customTexts().size(), 2);
    QCOMPARE(grid({m_first}).custom(QStringLiteral("Own")).values.value(m_first), 2.0f);
}

void TestServerQuestionnaire::customTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << "Own";
    QTest::newRow("cyrillic") << QStringLiteral("Шум в левом ухе");
    QTest::newRow("emoji") << QStringLiteral("🤧 sneezing");
    QTest::newRow("quotes") << "O'Neil \"said\" \\ %1 %s ?";
    QTest::newRow("SQL") << "'); DROP TABLE questionnaires; --";
    QTest::newRow("blanks around") << " Own ";
    QTest::newRow("composed") << QStringLiteral(u"\u00e9");
    QTest::newRow("decomposed") << QStringLiteral(u"e\u0301");
    QTest::newRow("title of a shipped symptom") << "Headache";
    QTest::newRow("longest") << QString(255, QChar(0x0451));
    QTest::newRow("shortest") << "a";
    QTest::newRow("key of the reply") << "intensities";
    QTest::newRow("digits") << "12";
    QTest::newRow("shipped id with a zero") << "0700101";
    QTest::newRow("shipped id with a sign") << "+700101";
    QTest::newRow("shipped id with a blank") << " 700101";
    QTest::newRow("shipped id with a fraction") << "700101.0";
    QTest::newRow("shipped id in other digits") << QStringLiteral("٧٠٠١٠١");
    QTest::newRow("id of no symptom") << "700999";
    QTest::newRow("no id") << "-1";
    QTest::newRow("zero") << "0";
    QTest::newRow("too large a number") << "99999999999999999999";
}

void TestServerQuestionnaire::customTexts()
{
    QFETCH(QString, text);
    Grid filled = grid({m_first});
    filled.shipped(headache).values[m_first] = 1;
    filled.add(text).values[m_first] = 2;
    QCOMPARE(save(filled.toJson()).status, 200);
    Grid read = grid({m_first});
    QCOMPARE(read.customTexts(), QStringList{text});
    QCOMPARE(read.custom(text).values.value(m_first), 2.0f);
    QCOMPARE(read.shipped(headache).values.value(m_first), 1.0f);
    QCOMPARE(read.toJson(), filled.toJson());
    read.remove(text);
    QCOMPARE(save(read.toJson()).status, 200);
    QCOMPARE(grid({m_first}).customTexts(), QStringList());
}

void TestServerQuestionnaire::aNumberIsAName()
{
    // No number that somebody would type is the id of a shipped symptom.
    const Grid empty = grid({m_first});
    for (const Grid::Symptom& symptom : empty.symptoms)
        QVERIFY(symptom.id > 100000);
    QJsonObject answers;
    for (int i = -10; i <= 1000; i += 10)
        answers.insert(QString::number(i), 1);
    QCOMPARE(save(QJsonObject{{m_first, answers}}).status, 200);
    const Grid read = grid({m_first});
    QCOMPARE(read.customTexts().size(), answers.size());
    for (const Grid::Symptom& symptom : read.symptoms)
        QCOMPARE(symptom.values.value(m_first), symptom.custom ? 1.0f : 0.0f);
}

void TestServerQuestionnaire::theIdOfAShippedSymptomIsThatSymptom()
{
    // Nothing on the wire would tell the two apart.
    Grid filled = grid({m_first});
    filled.add(headache).values[m_first] = 2;
    QCOMPARE(save(filled.toJson()).status, 200);
    Grid read = grid({m_first});
    QCOMPARE(read.customTexts(), QStringList());
    QCOMPARE(read.shipped(headache).values.value(m_first), 2.0f);
}

void TestServerQuestionnaire::customSymptomsComeInOrder()
{
    const QStringList sorted{QStringLiteral("1"),     QStringLiteral("Äpfel"), QStringLiteral("apfel saft"),
                             QStringLiteral("Birne"), QStringLiteral("Ёлка"),  QStringLiteral("Жук")};
    QJsonObject answers;
    for (const QString& text : sorted)
        answers.insert(text, 1);
    QCOMPARE(save(QJsonObject{{m_first, answers}}).status, 200);
    const Grid read = grid({m_first});
    QCOMPARE(read.customTexts(), sorted);
    // Behind the shipped ones.
    QVERIFY(read.symptoms.at(read.symptoms.size() - sorted.size()).custom);
    QVERIFY(!read.symptoms.at(read.symptoms.size() - sorted.size() - 1).custom);
}

void TestServerQuestionnaire::recordsShowTheirQuestionnaire()
{
    QVERIFY(!flag(m_first));
    QCOMPARE(save(QJsonObject{{m_first, inner(headache, 1)}}).status, 200);
    QVERIFY(flag(m_first));
    QVERIFY(!flag(m_second));
    // Having had no complaint is an answer.
    QCOMPARE(save(grid({m_second}).toJson()).status, 200);
    QVERIFY(flag(m_second));
    Grid empty = grid({m_second});
    QCOMPARE(empty.shipped(headache).values.value(m_second), 0.0f);
}

void TestServerQuestionnaire::theWorkbookShowsTheQuestionnaire()
{
    const auto texts = [this] {
        const ApiClient::Answer answer =
            m_client->post(QStringLiteral("/export/excel"), {{QStringLiteral("patientId"), m_patient}});
        return textsOfWorkbook(QByteArray::fromBase64(answer.body));
    };
    QVERIFY(texts().contains(">No<"));
    QVERIFY(!texts().contains(">Yes<"));
    QCOMPARE(save(QJsonObject{{m_first, inner(headache, 1)}}).status, 200);
    QVERIFY(texts().contains(">Yes<"));
    QVERIFY(texts().contains(">No<"));
    QCOMPARE(save(QJsonObject{{m_second, inner(headache, 1)}}).status, 200);
    QVERIFY(texts().contains(">Yes<"));
    QVERIFY(!texts().contains(">No<"));
}

void TestServerQuestionnaire::anEmptyObjectTakesTheQuestionnaireAway()
{
    QCOMPARE(save(QJsonObject{{m_first, inner(QStringLiteral("Own"), 1)}, {m_second, inner(headache, 1)}}).status, 200);
    QCOMPARE(save(QJsonObject{{m_first, QJsonObject()}}).status, 200);
    QVERIFY(!flag(m_first));
    QVERIFY(flag(m_second));
    QCOMPARE(grid({m_first}).customTexts(), QStringList());
}

void TestServerQuestionnaire::nothingToSave()
{
    QCOMPARE(save(QJsonObject{{m_first, inner(headache, 1)}}).status, 200);
    const QStringList before = stored();
    const ApiClient::Answer answer = save(QByteArray("{\n}\n"));
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.body, QByteArray("{}"));
    QCOMPARE(stored(), before);
}

void TestServerQuestionnaire::deletionTakesTheQuestionnaireAlong()
{
    QCOMPARE(
        save(QJsonObject{{m_first, inner(QStringLiteral("First"), 1)}, {m_second, inner(QStringLiteral("Second"), 1)}})
            .status,
        200);
    QCOMPARE(m_client->remove(QStringLiteral("/record/%1/%2").arg(m_patient, m_first)).status, 200);
    QCOMPARE(grid({m_second}).customTexts(), QStringList{QStringLiteral("Second")});
    QVERIFY(m_client->post(path, question({m_first})).failed(404));
    QCOMPARE(m_client->remove(QStringLiteral("/patient/") + m_patient).status, 200);
    for (const QString& row : stored()) {
        QVERIFY(!row.contains(m_first));
        QVERIFY(!row.contains(m_second));
    }
}

void TestServerQuestionnaire::intensities_data()
{
    QTest::addColumn<double>("value");
    for (const double value : {0.0, 1.0, 2.0, 3.0, 4.0, 2.5, 0.1, -1.0, 1e-300, 999.999, 1000.0, -1000.0})
        QTest::newRow(QByteArray::number(value).constData()) << value;
}

void TestServerQuestionnaire::intensities()
{
    QFETCH(double, value);
    QCOMPARE(save(QJsonObject{{m_first, QJsonObject{{headache, value}, {QStringLiteral("Own"), value}}}}).status, 200);
    int found = 0;
    const QJsonArray rows = m_client->post(path, question({m_first})).object().value(QStringLiteral("rows")).toArray();
    for (const QJsonValue& row : rows) {
        const QString id = QString::number(row.toObject().value(QStringLiteral("id")).toInt());
        const QJsonValue read = row.toObject().value(QStringLiteral("intensities")).toObject().value(m_first);
        if (id == headache || row.toObject().value(QStringLiteral("custom")).toBool()) {
            QVERIFY(read.toDouble(-5000) == value);
            ++found;
        } else {
            QVERIFY(read.toDouble(-5000) == 0);
        }
    }
    QCOMPARE(found, 2);
}

void TestServerQuestionnaire::refusesIntensities_data()
{
    QTest::addColumn<QByteArray>("value");
    for (const char* value : {"1000.001", "-1000.001", "1e300", "-1e300", "1e999", "\"2\"", "\"\"", "null", "true",
                              "[1]", "{}", "{\"a\":1}"})
        QTest::newRow(value) << QByteArray(value);
}

void TestServerQuestionnaire::refusesIntensities()
{
    QFETCH(QByteArray, value);
    QCOMPARE(save(QJsonObject{{m_first, inner(headache, 1)}}).status, 200);
    const QStringList before = stored();
    for (const char* key : {"700101", "Own"}) {
        const QByteArray body = "{\"" + m_first.toUtf8() + "\":{\"" + key + "\":" + value + "}}";
        QVERIFY2(save(body).failed(400), body.constData());
    }
    QCOMPARE(stored(), before);
}

void TestServerQuestionnaire::refusesNames_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("blanks") << QByteArray("  ");
    QTest::newRow("other blanks") << QByteArray("\\u00a0\\u2003");
    QTest::newRow("too long") << QByteArray(256, 'a');
    QTest::newRow("very long") << QByteArray(100000, 'a');
    QTest::newRow("line") << QByteArray("a\\nb");
    QTest::newRow("tab") << QByteArray("a\\tb");
    QTest::newRow("zero") << QByteArray("a\\u0000b");
    QTest::newRow("control") << QByteArray("a\\u007fb");
    QTest::newRow("half a character") << QByteArray("a\\ud83db");
}

void TestServerQuestionnaire::refusesNames()
{
    QFETCH(QByteArray, name);
    const QStringList before = stored();
    const QByteArray body = "{\"" + m_first.toUtf8() + "\":{\"" + name + "\":1}}";
    const ApiClient::Answer english = save(body);
    QVERIFY(english.failed(400));
    QVERIFY(english.message().contains(QStringLiteral("255")));
    m_client->language = "ru-RU";
    const ApiClient::Answer russian = save(body);
    QVERIFY(russian.failed(400));
    QVERIFY(russian.message() != english.message());
    QCOMPARE(stored(), before);
}

void TestServerQuestionnaire::refusesTooManySymptoms()
{
    const auto answers = [](int first, int count) {
        QJsonObject object;
        for (int i = first; i < first + count; ++i)
            object.insert(QStringLiteral("Own %1").arg(i), 1);
        return object;
    };
    QVERIFY(save(QJsonObject{{m_first, answers(0, 201)}}).failed(400));
    QVERIFY(save(QJsonObject{{m_first, answers(0, 20000)}}).failed(400));
    QVERIFY(save(QJsonObject{{m_first, answers(0, 101)}, {m_second, answers(101, 100)}}).failed(400));
    QVERIFY(!flag(m_first));

    QCOMPARE(save(QJsonObject{{m_first, answers(0, 200)}}).status, 200);
    const QStringList before = stored();
    const ApiClient::Answer oneMore = save(QJsonObject{{m_second, answers(200, 1)}});
    QVERIFY(oneMore.failed(400));
    QVERIFY(oneMore.message().contains(QStringLiteral("200")));
    QCOMPARE(stored(), before);
    // The same ones elsewhere are no more of them, and the client can always save what it got.
    QCOMPARE(save(QJsonObject{{m_second, answers(150, 50)}}).status, 200);
    QCOMPARE(save(grid({m_first, m_second}).toJson()).status, 200);
    QCOMPARE(grid({m_second}).customTexts().size(), 200);
}

void TestServerQuestionnaire::refusesTooManyRecords()
{
    QStringList many;
    for (int i = 0; i < 501; ++i)
        many.append(m_first);
    const ApiClient::Answer asked = m_client->post(path, question(many));
    QVERIFY(asked.failed(400));
    QVERIFY(asked.message().contains(QStringLiteral("500")));
    many.removeLast();
    QCOMPARE(m_client->post(path, question(many)).status, 200);
    QJsonObject body;
    for (int i = 0; i < 501; ++i)
        body.insert(QStringLiteral("record%1").arg(i), QJsonObject());
    QVERIFY(save(body).failed(400));
}

void TestServerQuestionnaire::refusesOtherRecords()
{
    const QString other = ServerFixture::newPatient(*m_client);
    const QString theirs = newRecord(other);
    const QStringList before = stored();
    for (const QString& id : {QStringLiteral("none"), QStringLiteral(""), QStringLiteral("' OR '1'='1"),
                              QString(1000, QLatin1Char('a')), QStringLiteral("запись"), theirs})
        QVERIFY2(save(QJsonObject{{id, inner(headache, 1)}}).failed(404), qPrintable(id));
    for (const QJsonValue& answers :
         {QJsonValue(5), QJsonValue(QStringLiteral("x")), QJsonValue(QJsonArray{1}), QJsonValue(QJsonValue::Null)})
        QVERIFY(save(QJsonObject{{m_first, answers}}).failed(400));
    for (const QString& patient : {QStringLiteral("none"), other, QStringLiteral("%ff")})
        QVERIFY(m_client->put(path + QLatin1Char('/') + patient, {{m_first, inner(headache, 1)}}).failed(404));
    QVERIFY(m_client->put(path + QStringLiteral("/none"), {}).failed(404));
    QCOMPARE(stored(), before);
}

void TestServerQuestionnaire::storesAllOrNothing()
{
    QCOMPARE(save(QJsonObject{{m_first, inner(headache, 1)}}).status, 200);
    const QStringList before = stored();
    // One id that sorts before the good ones, and one that sorts behind them.
    for (const char* unknown : {"-", "zzzzzzzzzzzzzzzzzzzzzz"}) {
        QVERIFY(save(QJsonObject{{m_first, inner(headache, 2)},
                                 {m_second, inner(headache, 3)},
                                 {QString::fromLatin1(unknown), inner(headache, 1)}})
                    .failed(404));
        QCOMPARE(stored(), before);
    }
    QVERIFY(save(QJsonObject{{m_first, inner(headache, 2)}, {m_second, inner(headache, 5000)}}).failed(400));
    QCOMPARE(stored(), before);
}

void TestServerQuestionnaire::refusesQuestions()
{
    const QString other = ServerFixture::newPatient(*m_client);
    const QString theirs = newRecord(other);
    struct Change
    {
        const char* key;
        QJsonValue value;
        int status;
    };
    const std::vector<Change> changes{
        {"patientId", QJsonValue::Undefined, 400},
        {"patientId", 5, 400},
        {"patientId", QStringLiteral("none"), 404},
        {"patientId", other, 404},
        {"records", QJsonValue::Undefined, 400},
        {"records", m_first, 400},
        {"records", QJsonArray{5}, 400},
        {"records", QJsonArray{QJsonValue::Null}, 400},
        {"records", QJsonArray{QStringLiteral("none")}, 404},
        {"records", QJsonArray{m_first, theirs}, 404},
    };
    for (const Change& change : changes) {
        QJsonObject request = question({m_first});
        request.insert(QLatin1String(change.key), change.value);
        QVERIFY2(m_client->post(path, request).failed(change.status), QJsonDocument(request).toJson().constData());
    }
}

void TestServerQuestionnaire::refusesBodiesOfTheWrongKind_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::newRow("ask") << QByteArray("POST");
    QTest::newRow("save") << QByteArray("PUT");
}

void TestServerQuestionnaire::refusesBodiesOfTheWrongKind()
{
    QFETCH(QByteArray, method);
    const QString to = method == "PUT" ? savePath() : path;
    const QStringList before = stored();
    for (const QByteArray& wrong :
         {QByteArray(""), QByteArray("not JSON"), QByteArray("[]"), QByteArray("null"), QByteArray("5"),
          QByteArray("{"), QByteArray("\0\1\2", 3), QByteArray("{\"a\":").repeated(50000), QByteArray("\xff\xfe{}")})
        QVERIFY2(m_client->send(method, to, wrong, json).failed(400), wrong.left(20).constData());
    QVERIFY(m_client->send(method, to, QByteArray(2 * 1024 * 1024, ' '), json).failed(413));
    QVERIFY(m_client->send("PATCH", to, "{}", json).failed(405));
    QCOMPARE(stored(), before);
}

void TestServerQuestionnaire::practitionersSeeOnlyTheirOwn()
{
    QCOMPARE(save(QJsonObject{{m_first, inner(QStringLiteral("Own"), 1)}}).status, 200);
    const QStringList before = stored();
    const auto other = m_server.newClient();
    QVERIFY(other);
    const QString theirs = ServerFixture::newPatient(*other);
    QVERIFY(other->post(path, question({m_first})).failed(404));
    QJsonObject request = question({m_first});
    request.insert(QStringLiteral("patientId"), theirs);
    QVERIFY(other->post(path, request).failed(404));
    for (const QString& patient : {m_patient, theirs})
        QVERIFY(other->put(path + QLatin1Char('/') + patient, {{m_first, inner(headache, 3)}}).failed(404));
    QCOMPARE(stored(), before);
    const QString record = m_server.newRecord(*other, theirs, testWave(440));
    request.insert(QStringLiteral("records"), QJsonArray{record});
    QCOMPARE(Grid(other->post(path, request).object()).customTexts(), QStringList());
}

void TestServerQuestionnaire::manyAtOnce()
{
    constexpr int threads = 6;
    constexpr int each = 5;
    QStringList records;
    for (int i = 0; i < threads; ++i)
        records.append(newRecord(m_patient));
    std::atomic<int> sound{0};
    std::vector<std::thread> running;
    running.reserve(threads);
    for (int t = 0; t < threads; ++t) {
        running.emplace_back([&, t, url = m_server.process().url(), token = m_client->token, to = savePath()] {
            ApiClient client(url);
            client.token = token;
            for (int i = 1; i <= each; ++i) {
                const QJsonObject answers{{headache, i}, {QStringLiteral("Own %1").arg(t), i}};
                if (client.put(to, {{records.at(t), answers}}).status == 200)
                    ++sound;
            }
        });
    }
    for (std::thread& thread : running)
        thread.join();
    QCOMPARE(sound.load(), threads * each);
    Grid read = grid(records);
    QCOMPARE(read.customTexts().size(), threads);
    for (int t = 0; t < threads; ++t) {
        QCOMPARE(read.shipped(headache).values.value(records.at(t)), float(each));
        QCOMPARE(read.custom(QStringLiteral("Own %1").arg(t)).values.value(records.at(t)), float(each));
    }
}

QTEST_GUILESS_MAIN(TestServerQuestionnaire)

#include "TestServerQuestionnaire.moc"
