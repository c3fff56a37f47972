// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/ApiClient.h"
#include "tests/server/ServerProcess.h"
#include "tests/server/TestDatabase.h"
#include "tests/server/TestWave.h"

#include <QDate>
#include <QDateTime>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSet>
#include <QSqlQuery>
#include <QTest>

#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <csignal>
#include <memory>
#include <thread>
#include <vector>

namespace {

const QByteArray json = "application/json";
const QByteArray form = "application/x-www-form-urlencoded";

QJsonObject patientBody(const QString& name, const QString& birthDate = QStringLiteral("1980-05-17"),
                        const QString& gender = QStringLiteral("MALE"), const QString& notes = QString())
{
    return {{QStringLiteral("name"), name},
            {QStringLiteral("birthDate"), birthDate},
            {QStringLiteral("gender"), gender},
            {QStringLiteral("phone"), QStringLiteral("")},
            {QStringLiteral("notes"), notes.isNull() ? QStringLiteral("") : notes}};
}

QStringList keysOf(const QJsonArray& array, const char* key)
{
    QStringList values;
    for (const QJsonValue& element : array)
        values.append(element.toObject().value(QLatin1String(key)).toString());
    return values;
}

QByteArray gunzipped(const QByteArray& data)
{
    z_stream stream = {};
    if (inflateInit2(&stream, 31) != Z_OK)
        return QByteArray();
    QByteArray result(64 * 1024 * 1024, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
    stream.avail_in = uInt(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = uInt(result.size());
    const bool whole = inflate(&stream, Z_FINISH) == Z_STREAM_END && stream.avail_in == 0;
    result.truncate(int(stream.total_out));
    inflateEnd(&stream);
    return whole ? result : QByteArray();
}

/// Which of the two frequencies is the stronger in a block of samples, by correlation.
bool isStronger(const QByteArray& samples, double frequency, double other)
{
    const auto power = [&samples](double of) {
        double real = 0;
        double imaginary = 0;
        for (int i = 0; i < samples.size(); ++i) {
            const double phase = 2 * std::acos(-1.0) * of * i / 22050;
            const double deflection = double(uchar(samples.at(i))) - 128;
            real += deflection * std::cos(phase);
            imaginary += deflection * std::sin(phase);
        }
        return real * real + imaginary * imaginary;
    };
    return power(frequency) > 100 * power(other);
}

} // namespace

/// Every operation of the server over HTTP, as the client calls it: what it answers, what it stores and what it
/// refuses.
class TestServerApi : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void loginAnswersWithASession();
    void loginTakesEveryName();
    void loginRefuses_data();
    void loginRefuses();
    void loginRefusesOtherBodies();
    void unknownNameAndWrongPasswordReadAlike();
    void everyOperationNeedsASession_data();
    void everyOperationNeedsASession();
    void sessionsExpire();
    void tellsWhenTheSessionExpires();
    void tellsTheExpiryInLocalTime();
    void unknownAddresses_data();
    void unknownAddresses();
    void otherMethods();
    void failuresSpeakTheLanguageOfTheRequest();

    void createsAPatient();
    void createIgnoresWhatTheServerOwns();
    void patientFieldsAreChecked_data();
    void patientFieldsAreChecked();
    void allPatientErrorsAtOnce();
    void updatesAPatient();
    void updateRefuses();
    void deletesAPatient();
    void unknownIds_data();
    void unknownIds();
    void listsAllPatients();
    void filterPages();
    void filterRefuses_data();
    void filterRefuses();
    void filterByDefault();
    void sortsNames();
    void sortsByEachKey_data();
    void sortsByEachKey();
    void searches_data();
    void searches();

    void uploadsARecord();
    void uploadKeepsTheSensor();
    void uploadRefuses_data();
    void uploadRefuses();
    void uploadRefusesOtherForms();
    void uploadRefusesTheSensor();
    void listsRecordsOldestFirst();
    void deletesARecord();

    void offersCategories();
    void analysesARecord();
    void analysisRefuses();
    void recipeIsKeptInOrder();
    void recipeRefuses();
    void recipeMakesBlocks();
    void exportsAWorkbook();

    void practitionersSeeOnlyTheirOwn();
    void bodiesOfTheWrongKind_data();
    void bodiesOfTheWrongKind();
    void databaseFailuresAreNotTold();
    void requestsAtOnce();

private:
    /// Adds a practitioner of this test's own, logged in.
    std::unique_ptr<ApiClient> newClient();
    QString newPatient(ApiClient& client, const QString& name = QStringLiteral("Anna"));
    QString newRecord(ApiClient& client, const QString& patientId, double frequency = 440);
    QStringList namesOf(ApiClient& client, const QString& query);
    /// Runs a statement on the server's database behind its back; the first value of the result.
    QVariant sql(const QString& statement);
    QVector<int> storedRows();

    std::unique_ptr<TestDatabase> m_database;
    QString m_path;
    ServerProcess m_server;
    int m_practitioners = 0;
    std::unique_ptr<ApiClient> m_client;
    QByteArray m_token;
    QByteArray m_function;
};

void TestServerApi::initTestCase()
{
    m_database = std::make_unique<TestDatabase>();
    m_path = m_database->location();
    QVERIFY(ServerProcess::addPractitioner(m_path, QStringLiteral("anna"), QStringLiteral("geheim"),
                                           {QStringLiteral("--language"), QStringLiteral("ru"),
                                            QStringLiteral("--full-name"), QStringLiteral("Др. Анна")}));
    QVERIFY(m_server.start(m_path));
    QVERIFY(m_database->connect());
}

void TestServerApi::init()
{
    // A practitioner a function: hashing passwords takes its time. Its further rows find the same empty list.
    const QByteArray function = QTest::currentTestFunction();
    if (m_client && function == m_function) {
        m_client->token = m_token;
        m_client->tokenType = "Bearer";
        m_client->language = "en-US";
        const QJsonArray patients =
            m_client->get(QStringLiteral("/patient")).object().value(QStringLiteral("data")).toArray();
        for (const QString& id : keysOf(patients, "id"))
            QCOMPARE(m_client->remove(QStringLiteral("/patient/") + id).status, 200);
        return;
    }
    m_client = newClient();
    QVERIFY(m_client);
    m_token = m_client->token;
    m_function = function;
}

void TestServerApi::cleanup()
{
    QCOMPARE(m_server.errors(), QByteArray());
}

void TestServerApi::cleanupTestCase()
{
    m_client.reset();
    QCOMPARE(m_server.stop(SIGTERM), 0);
    m_database.reset();
}

std::unique_ptr<ApiClient> TestServerApi::newClient()
{
    const QString name = QStringLiteral("practitioner%1").arg(++m_practitioners);
    if (!ServerProcess::addPractitioner(m_path, name, QStringLiteral("secret")))
        return nullptr;
    auto client = std::make_unique<ApiClient>(m_server.url());
    if (client->login(name, QStringLiteral("secret")).status != 200)
        return nullptr;
    return client;
}

QString TestServerApi::newPatient(ApiClient& client, const QString& name)
{
    return client.post(QStringLiteral("/patient"), patientBody(name)).object().value(QStringLiteral("id")).toString();
}

QString TestServerApi::newRecord(ApiClient& client, const QString& patientId, double frequency)
{
    return client.upload(patientId, testWave(frequency)).object().value(QStringLiteral("id")).toString();
}

QStringList TestServerApi::namesOf(ApiClient& client, const QString& query)
{
    const ApiClient::Answer answer = client.get(query);
    if (answer.status != 200)
        return {QString::number(answer.status)};
    return keysOf(answer.object().value(QStringLiteral("data")).toArray(), "name");
}

QVariant TestServerApi::sql(const QString& statement)
{
    QSqlQuery query;
    if (!query.exec(statement))
        return QVariant();
    return query.next() ? query.value(0) : QVariant(0);
}

QVector<int> TestServerApi::storedRows()
{
    QVector<int> rows;
    for (const char* table : {"patients", "records", "recipes", "recipe_markers"})
        rows.append(sql(QStringLiteral("SELECT COUNT(*) FROM ") + QLatin1String(table)).toInt());
    return rows;
}

void TestServerApi::loginAnswersWithASession()
{
    ApiClient client(m_server.url());
    const ApiClient::Answer answer = client.login(QStringLiteral("anna"), QStringLiteral("geheim"));
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.contentType, json);
    const QJsonObject session = answer.object();
    QCOMPARE(session.keys(),
             QStringList({QStringLiteral("accessToken"), QStringLiteral("country"), QStringLiteral("expiredAt"),
                          QStringLiteral("language"), QStringLiteral("tokenType")}));
    QCOMPARE(session.value(QStringLiteral("language")).toString(), QStringLiteral("ru"));
    QCOMPARE(session.value(QStringLiteral("country")).toString(), QStringLiteral("RU"));
    QCOMPARE(session.value(QStringLiteral("tokenType")).toString(), QStringLiteral("Bearer"));
    QVERIFY(session.value(QStringLiteral("accessToken")).toString().size() >= 43);
    const QDateTime expiry = QDateTime::fromString(session.value(QStringLiteral("expiredAt")).toString(), Qt::ISODate);
    QVERIFY(expiry > QDateTime::currentDateTime());
    QCOMPARE(client.get(QStringLiteral("/patient")).status, 200);
    client.tokenType = "bearer";
    QCOMPARE(client.get(QStringLiteral("/patient")).status, 200);
}

void TestServerApi::loginTakesEveryName()
{
    const QString name = QStringLiteral("Ольга +&=% Süß");
    const QString password = QStringLiteral("пароль &=+%20 \"'");
    QVERIFY(ServerProcess::addPractitioner(m_path, name, password));
    ApiClient client(m_server.url());
    QCOMPARE(client.login(name, password).status, 200);
}

void TestServerApi::loginRefuses_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("password");
    QTest::newRow("wrong password") << "anna"
                                    << "Geheim";
    QTest::newRow("empty password") << "anna"
                                    << "";
    QTest::newRow("unknown name") << "nobody"
                                  << "geheim";
    QTest::newRow("other case") << "Anna"
                                << "geheim";
    QTest::newRow("empty name") << ""
                                << "geheim";
    QTest::newRow("quotes") << "anna' OR '1'='1"
                            << "geheim";
    QTest::newRow("wildcard") << "ann%"
                              << "geheim";
    QTest::newRow("zero character") << QString::fromUtf8("anna\0", 5) << "geheim";
    QTest::newRow("long name") << QString(1000, QLatin1Char('a')) << "geheim";
    QTest::newRow("long password") << "anna" << QString(1000, QLatin1Char('a'));
}

void TestServerApi::loginRefuses()
{
    QFETCH(QString, name);
    QFETCH(QString, password);
    ApiClient client(m_server.url());
    const ApiClient::Answer answer = client.login(name, password);
    QVERIFY(answer.failed(401));
    QVERIFY(client.token.isEmpty());
}

void TestServerApi::loginRefusesOtherBodies()
{
    ApiClient client(m_server.url());
    const QString path = QStringLiteral("/auth/login");
    for (const QByteArray& body : {QByteArray(), QByteArray("&"), QByteArray("username=anna&"),
                                   QByteArray("password=geheim&"), QByteArray("{\"username\":\"anna\"}"),
                                   QByteArray("username=%FF%FF&password=geheim&"), QByteArray("username=%&password=a")})
        QVERIFY(client.send("POST", path, body, form).failed(400));
    QVERIFY(client.send("POST", path, "username=" + QByteArray(20000, 'a') + "&password=a", form).failed(413));
}

void TestServerApi::unknownNameAndWrongPasswordReadAlike()
{
    ApiClient client(m_server.url());
    const ApiClient::Answer wrong = client.login(QStringLiteral("anna"), QStringLiteral("x"));
    const ApiClient::Answer unknown = client.login(QStringLiteral("nobody"), QStringLiteral("x"));
    QCOMPARE(wrong.status, unknown.status);
    QCOMPARE(wrong.body, unknown.body);
}

void TestServerApi::everyOperationNeedsASession_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QString>("path");
    const auto row = [](const char* method, const char* path) {
        QTest::addRow("%s %s", method, path) << QByteArray(method) << QString::fromLatin1(path);
    };
    row("GET", "/patient");
    row("GET", "/patient/filter?sortby=&direction=&size=20&current=0&searchby=name&needle=");
    row("POST", "/patient");
    row("PUT", "/patient");
    row("DELETE", "/patient/x");
    row("GET", "/record/x");
    row("POST", "/record");
    row("DELETE", "/record/x/y");
    row("GET", "/category/corrective/x");
    row("POST", "/analysis");
    row("GET", "/recipe/x/y");
    row("POST", "/recipe");
    row("PUT", "/recipe");
    row("POST", "/export/excel");
    row("POST", "/auth/password");
    row("GET", "/auth/updates/?version=2021.3.0");
}

void TestServerApi::everyOperationNeedsASession()
{
    QFETCH(QByteArray, method);
    QFETCH(QString, path);
    const QByteArray good = m_client->token;
    const QByteArray changed = good.left(10) + (good.at(10) == 'A' ? 'B' : 'A') + good.mid(11);
    for (const QByteArray& token : {QByteArray(), QByteArray("x"), changed, good.left(42), good + 'A',
                                    QByteArray("' OR '1'='1"), QByteArray(4000, 'a')}) {
        m_client->token = token;
        const ApiClient::Answer answer = m_client->send(method, path, "{}", json);
        QVERIFY2(answer.failed(401), token.constData());
    }
    m_client->token = good;
    m_client->tokenType = "Basic";
    QVERIFY(m_client->send(method, path, "{}", json).failed(401));
    m_client->tokenType = "";
    QVERIFY(m_client->send(method, path, "{}", json).failed(401));
}

void TestServerApi::sessionsExpire()
{
    QCOMPARE(m_client->get(QStringLiteral("/patient")).status, 200);
    sql(QStringLiteral("UPDATE sessions SET expires_at = '%1'")
            .arg(QDateTime::currentDateTimeUtc().addSecs(-60).toString(Qt::ISODateWithMs)));
    const ApiClient::Answer expired = m_client->get(QStringLiteral("/patient"));
    QVERIFY(expired.failed(401));
    m_client->token = "none";
    const ApiClient::Answer unknown = m_client->get(QStringLiteral("/patient"));
    QVERIFY(unknown.failed(401));
    QVERIFY(expired.message() != unknown.message());
}

/// The client shows this text as it stands, and compares it with nothing: the server alone holds to it.
void TestServerApi::tellsWhenTheSessionExpires()
{
    const auto told = [](const ApiClient::Answer& answer) {
        return answer.object().value(QStringLiteral("expiredAt")).toString();
    };
    const auto stored = [this] {
        return QDateTime::fromString(sql(QStringLiteral("SELECT MAX(expires_at) FROM sessions WHERE practitioner_id = "
                                                        "(SELECT id FROM practitioners WHERE name = 'anna')"))
                                         .toString(),
                                     Qt::ISODateWithMs);
    };
    sql(QStringLiteral("DELETE FROM sessions"));
    ServerProcess brief;
    QVERIFY(brief.start(m_path, {QStringLiteral("--session-hours"), QStringLiteral("2")}));
    const QVector<QPair<QString, qint64>> servers = {{brief.url(), 2 * 3600}, {m_server.url(), 168 * 3600}};
    for (const auto& server : servers) {
        ApiClient client(server.first);
        const QDateTime before = QDateTime::currentDateTime();
        const QString expiry = told(client.login(QStringLiteral("anna"), QStringLiteral("geheim")));
        const QDateTime after = QDateTime::currentDateTime();
        static const QRegularExpression form(
            QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d(Z|[+-]\\d\\d:\\d\\d)$"));
        QVERIFY2(form.match(expiry).hasMatch(), qPrintable(expiry));
        const QDateTime end = QDateTime::fromString(expiry, Qt::ISODate);
        // It is told without the parts of a second.
        QVERIFY(end > before.addSecs(server.second - 1));
        QVERIFY(end <= after.addSecs(server.second));
        QCOMPARE(end.toSecsSinceEpoch(), stored().toSecsSinceEpoch());
        // Every server of a database holds to it.
        for (const auto& other : servers) {
            ApiClient same(other.first);
            same.token = client.token;
            QCOMPARE(same.get(QStringLiteral("/patient")).status, 200);
        }
    }
    QCOMPARE(brief.stop(SIGTERM), 0);
}

void TestServerApi::tellsTheExpiryInLocalTime()
{
    const QByteArray zone = qgetenv("TZ");
    qputenv("TZ", "NPT-5:45");
    ServerProcess elsewhere;
    const bool started = elsewhere.start(m_path);
    if (zone.isNull())
        qunsetenv("TZ");
    else
        qputenv("TZ", zone);
    QVERIFY(started);
    ApiClient client(elsewhere.url());
    const QString expiry = client.login(QStringLiteral("anna"), QStringLiteral("geheim"))
                               .object()
                               .value(QStringLiteral("expiredAt"))
                               .toString();
    QVERIFY2(expiry.endsWith(QLatin1String("+05:45")), qPrintable(expiry));
    const qint64 left = QDateTime::currentDateTime().secsTo(QDateTime::fromString(expiry, Qt::ISODate));
    QVERIFY(left > 167 * 3600 && left <= 168 * 3600);
    QCOMPARE(elsewhere.stop(SIGTERM), 0);
}

void TestServerApi::unknownAddresses_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("root") << "/";
    QTest::newRow("unknown") << "/patients";
    QTest::newRow("upper case") << "/Patient";
    QTest::newRow("deeper") << "/record/a/b/c";
    QTest::newRow("login below") << "/auth/login/x";
    QTest::newRow("nothing between") << "/recipe//x/y";
    QTest::newRow("up") << "/../patient/x/y";
}

void TestServerApi::unknownAddresses()
{
    QFETCH(QString, path);
    QVERIFY(m_client->get(path).failed(404));
}

void TestServerApi::otherMethods()
{
    QVERIFY(m_client->send("PATCH", QStringLiteral("/patient"), "{}", json).failed(405));
    QVERIFY(m_client->send("OPTIONS", QStringLiteral("/patient"), "", json).failed(405));
    QVERIFY(m_client->get(QStringLiteral("/auth/login")).failed(405));
    QVERIFY(m_client->get(QStringLiteral("/patient/x")).failed(405));
    QCOMPARE(m_client->send("HEAD", QStringLiteral("/patient"), "", json).status, 405);
}

void TestServerApi::failuresSpeakTheLanguageOfTheRequest()
{
    const auto message = [this](const QByteArray& language) {
        m_client->language = language;
        return m_client->get(QStringLiteral("/record/none")).message();
    };
    const QString english = message("en-US");
    const QString russian = message("ru-RU");
    QCOMPARE(english, QStringLiteral("There is no such patient."));
    QCOMPARE(russian, QStringLiteral("Такого пациента нет."));
    QCOMPARE(message("de-DE"), english);
    QCOMPARE(message("de, ru;q=0.7, en;q=0.3"), russian);

    // Without a language that the server speaks, that of the practitioner decides.
    QCOMPARE(m_client->login(QStringLiteral("anna"), QStringLiteral("geheim")).status, 200);
    QCOMPARE(message("de-DE"), russian);
}

void TestServerApi::createsAPatient()
{
    QJsonObject body = patientBody(QStringLiteral("  Jürgen \"Ё\" O'Neil  "), QStringLiteral("1990-02-28"),
                                   QStringLiteral("FEMALE"), QStringLiteral("two\nlines\tand a tab 100% _"));
    body[QStringLiteral("phone")] = QStringLiteral("+49 (30) 555-01");
    const ApiClient::Answer answer = m_client->post(QStringLiteral("/patient"), body);
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.contentType, json);
    const QJsonObject patient = answer.object();
    QCOMPARE(patient.keys(),
             QStringList({QStringLiteral("age"), QStringLiteral("birthDate"), QStringLiteral("command"),
                          QStringLiteral("gender"), QStringLiteral("hasDevices"), QStringLiteral("id"),
                          QStringLiteral("isComplete"), QStringLiteral("isEnabled"), QStringLiteral("lastRecordAt"),
                          QStringLiteral("name"), QStringLiteral("notes"), QStringLiteral("phone")}));
    QVERIFY(!patient.value(QStringLiteral("id")).toString().isEmpty());
    QCOMPARE(patient.value(QStringLiteral("name")).toString(), QStringLiteral("Jürgen \"Ё\" O'Neil"));
    QCOMPARE(patient.value(QStringLiteral("birthDate")).toString(), QStringLiteral("1990-02-28"));
    QCOMPARE(patient.value(QStringLiteral("gender")).toString(), QStringLiteral("FEMALE"));
    QCOMPARE(patient.value(QStringLiteral("phone")).toString(), QStringLiteral("+49 (30) 555-01"));
    QCOMPARE(patient.value(QStringLiteral("notes")).toString(), QStringLiteral("two\nlines\tand a tab 100% _"));
    QCOMPARE(patient.value(QStringLiteral("lastRecordAt")).toString(), QString());
    QCOMPARE(patient.value(QStringLiteral("command")), QJsonValue(QStringLiteral("")));
    for (const char* flag : {"hasDevices", "isComplete"})
        QCOMPARE(patient.value(QLatin1String(flag)), QJsonValue(false));
    QCOMPARE(patient.value(QStringLiteral("isEnabled")), QJsonValue(true));
    const QDate today = QDate::currentDate();
    const bool hadBirthday = today >= QDate(today.year(), 2, 28);
    QCOMPARE(patient.value(QStringLiteral("age")).toInt(-1), today.year() - 1990 - (hadBirthday ? 0 : 1));

    const QJsonArray all = m_client->get(QStringLiteral("/patient")).object().value(QStringLiteral("data")).toArray();
    QCOMPARE(all.size(), 1);
    QCOMPARE(all.first().toObject(), patient);
}

void TestServerApi::createIgnoresWhatTheServerOwns()
{
    const QString first = newPatient(*m_client);
    QJsonObject body = patientBody(QStringLiteral("Second"));
    body[QStringLiteral("id")] = first;
    body[QStringLiteral("age")] = 5;
    body[QStringLiteral("hasDevices")] = true;
    body[QStringLiteral("lastRecordAt")] = QStringLiteral("2020-01-01T00:00:00");
    const QJsonObject patient = m_client->post(QStringLiteral("/patient"), body).object();
    QVERIFY(patient.value(QStringLiteral("id")).toString() != first);
    QVERIFY(patient.value(QStringLiteral("age")).toInt() > 5);
    QCOMPARE(patient.value(QStringLiteral("hasDevices")), QJsonValue(false));
    QCOMPARE(patient.value(QStringLiteral("lastRecordAt")), QJsonValue(QStringLiteral("")));
    QCOMPARE(m_client->get(QStringLiteral("/patient")).object().value(QStringLiteral("data")).toArray().size(), 2);
}

void TestServerApi::patientFieldsAreChecked_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<bool>("sound");

    const auto row = [](const char* name, const char* field, const QJsonValue& value, bool sound) {
        QTest::newRow(name) << QString::fromLatin1(field) << value << sound;
    };
    const auto text = [](int size) { return QString(size, QChar(0x0416)); };
    row("empty name", "name", QStringLiteral(""), false);
    row("blank name", "name", QStringLiteral(" \t "), false);
    row("name missing", "name", QJsonValue(QJsonValue::Undefined), false);
    row("name null", "name", QJsonValue(QJsonValue::Null), false);
    row("name a number", "name", 5, false);
    row("name an array", "name", QJsonArray{QStringLiteral("A")}, false);
    row("longest name", "name", text(255), true);
    row("long name", "name", text(256), false);
    row("name of two lines", "name", QStringLiteral("a\nb"), false);
    row("name with a zero", "name", QString::fromUtf8("a\0b", 3), false);
    row("name of half a character", "name", QString(QChar(0xD83D)), false);
    row("birth date missing", "birthDate", QJsonValue(QJsonValue::Undefined), false);
    row("birth date empty", "birthDate", QStringLiteral(""), false);
    row("birth date a number", "birthDate", 19800517, false);
    row("birth date of a short month", "birthDate", QStringLiteral("1980-02-30"), false);
    row("leap day", "birthDate", QStringLiteral("1980-02-29"), true);
    row("no leap day", "birthDate", QStringLiteral("1981-02-29"), false);
    row("other order", "birthDate", QStringLiteral("17.05.1980"), false);
    row("birth date and more", "birthDate", QStringLiteral("1980-05-17T00:00:00"), false);
    row("far past", "birthDate", QStringLiteral("0001-01-01"), false);
    row("long ago", "birthDate", QStringLiteral("1800-01-01"), true);
    row("today", "birthDate", QDate::currentDate().toString(Qt::ISODate), true);
    row("future", "birthDate", QDate::currentDate().addDays(2).toString(Qt::ISODate), false);
    row("gender missing", "gender", QJsonValue(QJsonValue::Undefined), false);
    row("gender in lower case", "gender", QStringLiteral("male"), false);
    row("gender empty", "gender", QStringLiteral(""), false);
    row("other gender", "gender", QStringLiteral("OTHER"), false);
    row("gender a flag", "gender", true, false);
    row("female", "gender", QStringLiteral("FEMALE"), true);
    row("phone missing", "phone", QJsonValue(QJsonValue::Undefined), true);
    row("phone null", "phone", QJsonValue(QJsonValue::Null), false);
    row("longest phone", "phone", text(100), true);
    row("long phone", "phone", text(101), false);
    row("phone a number", "phone", 12345, false);
    row("notes missing", "notes", QJsonValue(QJsonValue::Undefined), true);
    row("longest notes", "notes", text(10000), true);
    row("long notes", "notes", text(10001), false);
    row("notes an object", "notes", QJsonObject(), false);
    row("notes with a zero", "notes", QString::fromUtf8("a\0b", 3), false);
}

void TestServerApi::patientFieldsAreChecked()
{
    QFETCH(QString, field);
    QFETCH(QJsonValue, value);
    QFETCH(bool, sound);
    const QString id = newPatient(*m_client);
    const QVector<int> before = storedRows();

    QJsonObject body = patientBody(QStringLiteral("Name"));
    if (value.isUndefined())
        body.remove(field);
    else
        body[field] = value;
    const ApiClient::Answer created = m_client->post(QStringLiteral("/patient"), body);
    body[QStringLiteral("id")] = id;
    const ApiClient::Answer updated = m_client->put(QStringLiteral("/patient"), body);
    if (sound) {
        QCOMPARE(created.status, 200);
        QCOMPARE(updated.status, 200);
        return;
    }
    for (const ApiClient::Answer& answer : {created, updated}) {
        QCOMPARE(answer.status, 400);
        const QJsonArray errors = answer.object().value(QStringLiteral("errors")).toArray();
        QCOMPARE(errors.size(), 1);
        QCOMPARE(errors.first().toObject().keys(), QStringList{field});
        QVERIFY(!errors.first().toObject().value(field).toString().isEmpty());
        QVERIFY(!errors.first().toObject().value(field).toString().contains(QLatin1String("%1")));
    }
    QCOMPARE(storedRows(), before);
    QCOMPARE(namesOf(*m_client, QStringLiteral("/patient")), QStringList{QStringLiteral("Anna")});
}

void TestServerApi::allPatientErrorsAtOnce()
{
    const auto errors = [this](const QByteArray& language) {
        m_client->language = language;
        return m_client->post(QStringLiteral("/patient"), QJsonObject())
            .object()
            .value(QStringLiteral("errors"))
            .toArray();
    };
    const QJsonArray english = errors("en-US");
    QCOMPARE(english.size(), 3);
    QCOMPARE(english.at(0).toObject().value(QStringLiteral("name")).toString(), QStringLiteral("must not be empty."));
    QVERIFY(english.at(1).toObject().contains(QStringLiteral("birthDate")));
    QVERIFY(english.at(2).toObject().contains(QStringLiteral("gender")));
    const QJsonArray russian = errors("ru-RU");
    QCOMPARE(russian.at(0).toObject().value(QStringLiteral("name")).toString(), QStringLiteral("— укажите имя."));
}

void TestServerApi::updatesAPatient()
{
    const QString id = newPatient(*m_client);
    QVERIFY(!newRecord(*m_client, id).isEmpty());
    const QString recordedAt = m_client->get(QStringLiteral("/patient"))
                                   .object()
                                   .value(QStringLiteral("data"))
                                   .toArray()
                                   .first()
                                   .toObject()
                                   .value(QStringLiteral("lastRecordAt"))
                                   .toString();
    QVERIFY(!recordedAt.isEmpty());
    QJsonObject body = patientBody(QStringLiteral("Ёжикова"), QStringLiteral("2001-12-31"), QStringLiteral("FEMALE"),
                                   QStringLiteral("neu"));
    body[QStringLiteral("id")] = id;
    const ApiClient::Answer answer = m_client->put(QStringLiteral("/patient"), body);
    QCOMPARE(answer.status, 200);
    const QJsonObject patient = answer.object();
    QCOMPARE(patient.value(QStringLiteral("id")).toString(), id);
    QCOMPARE(patient.value(QStringLiteral("name")).toString(), QStringLiteral("Ёжикова"));
    QCOMPARE(patient.value(QStringLiteral("birthDate")).toString(), QStringLiteral("2001-12-31"));
    QCOMPARE(patient.value(QStringLiteral("gender")).toString(), QStringLiteral("FEMALE"));
    QCOMPARE(patient.value(QStringLiteral("notes")).toString(), QStringLiteral("neu"));
    QCOMPARE(patient.value(QStringLiteral("lastRecordAt")).toString(), recordedAt);
    // The stored keys follow the name.
    QCOMPARE(namesOf(*m_client, ApiClient::filter({}, {}, 20, 0, QStringLiteral("name"), QStringLiteral("ёЖИК"))),
             QStringList{QStringLiteral("Ёжикова")});
    QCOMPARE(namesOf(*m_client, ApiClient::filter({}, {}, 20, 0, QStringLiteral("name"), QStringLiteral("anna"))),
             QStringList());
}

void TestServerApi::updateRefuses()
{
    newPatient(*m_client);
    QJsonObject body = patientBody(QStringLiteral("Other"));
    QVERIFY(m_client->put(QStringLiteral("/patient"), body).failed(400));
    body[QStringLiteral("id")] = 5;
    QVERIFY(m_client->put(QStringLiteral("/patient"), body).failed(400));
    for (const QString& id : {QStringLiteral(""), QStringLiteral("none"), QStringLiteral("' OR 1=1 --"),
                              QStringLiteral("%"), QString(10000, QLatin1Char('a'))}) {
        body[QStringLiteral("id")] = id;
        QVERIFY(m_client->put(QStringLiteral("/patient"), body).failed(404));
    }
    QCOMPARE(namesOf(*m_client, QStringLiteral("/patient")), QStringList{QStringLiteral("Anna")});
}

void TestServerApi::deletesAPatient()
{
    const QVector<int> before = storedRows();
    const QString id = newPatient(*m_client);
    const QString record = newRecord(*m_client, id);
    QVERIFY(!record.isEmpty());
    QCOMPARE(m_client
                 ->put(QStringLiteral("/recipe"), {{QStringLiteral("patientId"), id},
                                                   {QStringLiteral("recordId"), record},
                                                   {QStringLiteral("markers"), QJsonArray{QStringLiteral("note-a4")}}})
                 .status,
             200);
    QVERIFY(storedRows() != before);
    QCOMPARE(m_client->remove(QStringLiteral("/patient/") + id).status, 200);
    QCOMPARE(storedRows(), before);
    QVERIFY(m_client->remove(QStringLiteral("/patient/") + id).failed(404));
    QVERIFY(m_client->get(QStringLiteral("/record/") + id).failed(404));
}

void TestServerApi::unknownIds_data()
{
    QTest::addColumn<QString>("id");
    QTest::newRow("unknown") << "none";
    QTest::newRow("quotes") << "'%20OR%20'1'='1";
    QTest::newRow("double quotes") << "%22";
    QTest::newRow("percent sign") << "%25";
    QTest::newRow("lone percent sign") << "a%zz";
    QTest::newRow("zero") << "a%00b";
    QTest::newRow("encoded slash") << "a%2Fb";
    QTest::newRow("no UTF-8") << "%FF%FE";
    QTest::newRow("cyrillic") << QStringLiteral("пациент");
    QTest::newRow("long") << QString(5000, QLatin1Char('a'));
    QTest::newRow("wildcards") << "%25_";
}

void TestServerApi::unknownIds()
{
    QFETCH(QString, id);
    const QString patient = newPatient(*m_client);
    const QString record = newRecord(*m_client, patient);
    const QVector<int> before = storedRows();
    QVERIFY(m_client->remove(QStringLiteral("/patient/") + id).failed(404));
    QVERIFY(m_client->get(QStringLiteral("/record/") + id).failed(404));
    QVERIFY(m_client->remove(QStringLiteral("/record/%1/%2").arg(id, record)).failed(404));
    QVERIFY(m_client->remove(QStringLiteral("/record/%1/%2").arg(patient, id)).failed(404));
    QVERIFY(m_client->get(QStringLiteral("/category/corrective/") + id).failed(404));
    QVERIFY(m_client->get(QStringLiteral("/recipe/%1/%2").arg(id, record)).failed(404));
    QVERIFY(m_client->get(QStringLiteral("/recipe/%1/%2").arg(patient, id)).failed(404));
    QVERIFY(m_client->upload(id, testWave(440)).failed(404));
    QVERIFY(m_client->post(QStringLiteral("/export/excel"), {{QStringLiteral("patientId"), id}}).failed(404));
    QCOMPARE(storedRows(), before);

    QVERIFY(m_client->remove(QStringLiteral("/patient/") + QString(9000, QLatin1Char('a'))).failed(414));
}

void TestServerApi::listsAllPatients()
{
    const QJsonObject none = m_client->get(QStringLiteral("/patient")).object();
    QCOMPARE(none.value(QStringLiteral("pages")), QJsonValue(0));
    QCOMPARE(none.value(QStringLiteral("data")), QJsonValue(QJsonArray()));
    for (int i = 0; i < 30; ++i)
        QVERIFY(!newPatient(*m_client, QStringLiteral("P%1").arg(i, 2, 10, QLatin1Char('0'))).isEmpty());
    const QJsonObject all = m_client->get(QStringLiteral("/patient")).object();
    QCOMPARE(all.keys(), QStringList({QStringLiteral("data"), QStringLiteral("pages")}));
    QCOMPARE(all.value(QStringLiteral("pages")), QJsonValue(1));
    QCOMPARE(all.value(QStringLiteral("data")).toArray().size(), 30);
    QCOMPARE(namesOf(*m_client, QStringLiteral("/patient")).first(), QStringLiteral("P00"));
}

void TestServerApi::filterPages()
{
    for (int i = 0; i < 41; ++i)
        QVERIFY(!newPatient(*m_client, QStringLiteral("Same")).isEmpty());
    const auto page = [this](int size, int current) {
        return m_client
            ->get(ApiClient::filter(QStringLiteral("name"), QStringLiteral("asc"), size, current,
                                    QStringLiteral("name"), {}))
            .object();
    };
    QSet<QString> seen;
    for (int current = 0; current < 3; ++current) {
        const QJsonObject reply = page(20, current);
        QCOMPARE(reply.value(QStringLiteral("pages")), QJsonValue(3));
        const QJsonArray rows = reply.value(QStringLiteral("data")).toArray();
        QCOMPARE(rows.size(), current < 2 ? 20 : 1);
        for (const QString& id : keysOf(rows, "id"))
            seen.insert(id);
        QCOMPARE(page(20, current), reply);
    }
    QCOMPARE(seen.size(), 41);
    // Beyond the last page stands the first, where the client's page row goes back to.
    QCOMPARE(page(20, 3), page(20, 0));
    QCOMPARE(page(500, 2147483647), page(500, 0));
    QCOMPARE(page(41, 0).value(QStringLiteral("pages")), QJsonValue(1));
    QCOMPARE(page(40, 0).value(QStringLiteral("pages")), QJsonValue(2));
    QCOMPARE(page(500, 0).value(QStringLiteral("data")).toArray().size(), 41);
    QCOMPARE(page(1, 0).value(QStringLiteral("pages")), QJsonValue(41));
}

void TestServerApi::filterRefuses_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("key");
    const auto row = [](const char* query, const char* key) {
        QTest::newRow(query) << QString::fromLatin1(query) << QString::fromLatin1(key);
    };
    row("size=0", "size");
    row("size=-1", "size");
    row("size=501", "size");
    row("size=99999999999999999999", "size");
    row("size=many", "size");
    row("size=1.5", "size");
    row("size=%00", "size");
    row("size=%4", "size");
    row("size=%&size=20", "size");
    row("current=-1", "current");
    row("current=2147483648", "current");
    row("current=x", "current");
    row("current=%", "current");
    row("sortby=%", "sortby");
    row("direction=%zz", "direction");
    row("searchby=%z", "searchby");
    row("needle=%4", "needle");
    row("sortby=phone", "sortby");
    row("sortby=name;DROP%20TABLE%20patients", "sortby");
    row("direction=up", "direction");
    row("direction=ASC", "direction");
    row("searchby=phone", "searchby");
    row("needle=abc", "needle");
    row("needle=YW%2Bj", "needle");
    row("needle=AA--", "needle");
    row("needle=_____w--", "needle");
}

void TestServerApi::filterRefuses()
{
    QFETCH(QString, query);
    QFETCH(QString, key);
    newPatient(*m_client);
    const ApiClient::Answer answer = m_client->get(QStringLiteral("/patient/filter?") + query);
    QVERIFY(answer.failed(400));
    QVERIFY(answer.message().contains(key));
    QCOMPARE(m_client->get(QStringLiteral("/patient")).object().value(QStringLiteral("data")).toArray().size(), 1);
}

void TestServerApi::filterByDefault()
{
    for (const char* name : {"B", "C", "A"})
        QVERIFY(!newPatient(*m_client, QString::fromLatin1(name)).isEmpty());
    const QStringList sorted{QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C")};
    QCOMPARE(namesOf(*m_client, QStringLiteral("/patient/filter")), sorted);
    QCOMPARE(namesOf(*m_client, QStringLiteral("/patient/filter?")), sorted);
    QCOMPARE(namesOf(*m_client,
                     QStringLiteral("/patient/filter?sortby=&direction=&size=20&current=0&searchby=name&needle=")),
             sorted);
    QCOMPARE(namesOf(*m_client, QStringLiteral("/patient/filter?needle")), sorted);
    for (int i = 0; i < 20; ++i)
        newPatient(*m_client);
    QCOMPARE(namesOf(*m_client, QStringLiteral("/patient/filter")).size(), 20);

    const QString longest = QString(1000, QLatin1Char('a'));
    QCOMPARE(namesOf(*m_client, ApiClient::filter({}, {}, 20, 0, QStringLiteral("name"), longest)), QStringList());
    QVERIFY(m_client->get(ApiClient::filter({}, {}, 20, 0, QStringLiteral("name"), longest + QLatin1Char('a')))
                .failed(400));
}

void TestServerApi::sortsNames()
{
    const QStringList sorted{QStringLiteral("Adler"),  QStringLiteral("Ähler"),  QStringLiteral("Ahrens"),
                             QStringLiteral("müller"), QStringLiteral("Oswald"), QStringLiteral("Özdemir"),
                             QStringLiteral("Zander"), QStringLiteral("Евсеев"), QStringLiteral("Елисеев"),
                             QStringLiteral("Ёлкин"),  QStringLiteral("елкина"), QStringLiteral("Жуков"),
                             QStringLiteral("Иванов"), QStringLiteral("Яшин")};
    for (int i = 0; i < sorted.size(); ++i)
        QVERIFY(!newPatient(*m_client, sorted.at((i * 5) % sorted.size())).isEmpty());
    QStringList descending = sorted;
    std::reverse(descending.begin(), descending.end());
    QCOMPARE(namesOf(*m_client, ApiClient::filter(QStringLiteral("name"), QStringLiteral("asc"), 20, 0, {}, {})),
             sorted);
    QCOMPARE(namesOf(*m_client, ApiClient::filter(QStringLiteral("name"), QStringLiteral("desc"), 20, 0, {}, {})),
             descending);
}

void TestServerApi::sortsByEachKey_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QStringList>("ascending");
    const QString a = QStringLiteral("A");
    const QString b = QStringLiteral("B");
    const QString c = QStringLiteral("C");
    QTest::newRow("age") << "age" << QStringList{b, c, a};
    QTest::newRow("gender") << "gender" << QStringList{a, b, c};
    QTest::newRow("record") << "record" << QStringList{c, b, a};
    QTest::newRow("notes") << "notes" << QStringList{c, a, b};
}

void TestServerApi::sortsByEachKey()
{
    QFETCH(QString, key);
    QFETCH(QStringList, ascending);
    const auto add = [this](const char* name, const char* birth, const char* gender, const QString& notes) {
        return m_client
            ->post(QStringLiteral("/patient"), patientBody(QString::fromLatin1(name), QString::fromLatin1(birth),
                                                           QString::fromLatin1(gender), notes))
            .object()
            .value(QStringLiteral("id"))
            .toString();
    };
    const QString a = add("A", "1950-01-01", "FEMALE", QStringLiteral("ärmel"));
    const QString b = add("B", "2000-01-01", "MALE", QStringLiteral("Zeit"));
    add("C", "1999-12-31", "MALE", QString());
    QVERIFY(!newRecord(*m_client, b).isEmpty());
    QVERIFY(!newRecord(*m_client, a).isEmpty());
    const auto names = [this, &key](const char* direction) {
        return namesOf(*m_client, ApiClient::filter(key, QString::fromLatin1(direction), 20, 0, {}, {}));
    };
    QStringList up = names("asc");
    QStringList down = names("desc");
    QStringList reversed = up;
    std::reverse(reversed.begin(), reversed.end());
    QCOMPARE(down, reversed);
    if (key == QLatin1String("gender")) {
        // B and C are equal here: which of them stands first is the id's, and only has to stay.
        QCOMPARE(up.first(), ascending.first());
        QCOMPARE(names("asc"), up);
        return;
    }
    QCOMPARE(up, ascending);
}

void TestServerApi::searches_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("needle");
    QTest::addColumn<QStringList>("found");
    const QString mueller = QStringLiteral("Jürgen Müller");
    const QString weiss = QStringLiteral("Weiß, Änne");
    const QString semyon = QStringLiteral("Семён Ёлкин");
    const QString percent = QStringLiteral("100% A_B");
    QTest::newRow("umlaut in the other case") << "name" << QStringLiteral("MÜLL") << QStringList{mueller};
    QTest::newRow("first letter an umlaut") << "name" << QStringLiteral("änne") << QStringList{weiss};
    QTest::newRow("sharp s") << "name" << QStringLiteral("WEISS") << QStringList{weiss};
    QTest::newRow("yo") << "name" << QStringLiteral("ёлкин") << QStringList{semyon};
    QTest::newRow("yo in the other case") << "name" << QStringLiteral("СЕМЁН") << QStringList{semyon};
    QTest::newRow("ye for yo") << "name" << QStringLiteral("семен елкин") << QStringList{semyon};
    QTest::newRow("decomposed") << "name" << QStringLiteral(u"u\u0308ll") << QStringList{mueller};
    QTest::newRow("middle") << "name"
                            << "rgen m" << QStringList{mueller};
    QTest::newRow("percent") << "name"
                             << "%" << QStringList{percent};
    QTest::newRow("underscore") << "name"
                                << "A_B" << QStringList{percent};
    QTest::newRow("underscore is no wildcard") << "name"
                                               << "1_0" << QStringList();
    QTest::newRow("quote") << "name"
                           << "'" << QStringList();
    QTest::newRow("nobody") << "name"
                            << "xyz" << QStringList();
    QTest::newRow("notes") << "notes" << QStringLiteral("ГОЛОВ") << QStringList{semyon};
    QTest::newRow("not in the notes") << "notes" << QStringLiteral("Müll") << QStringList();
    QTest::newRow("name by default") << "" << QStringLiteral("Müll") << QStringList{mueller};
    QTest::newRow("all") << "notes"
                         << "" << QStringList{percent, mueller, weiss, semyon};
    QTest::newRow("several") << "name" << QStringLiteral("e") << QStringList{mueller, weiss};
}

void TestServerApi::searches()
{
    QFETCH(QString, field);
    QFETCH(QString, needle);
    newPatient(*m_client, QStringLiteral("Jürgen Müller"));
    newPatient(*m_client, QStringLiteral("Weiß, Änne"));
    newPatient(*m_client, QStringLiteral("100% A_B"));
    QCOMPARE(m_client
                 ->post(QStringLiteral("/patient"),
                        patientBody(QStringLiteral("Семён Ёлкин"), QStringLiteral("1980-05-17"), QStringLiteral("MALE"),
                                    QStringLiteral("Боли? Нет.\nГоловоломки.")))
                 .status,
             200);
    const QString query = ApiClient::filter(QStringLiteral("name"), QStringLiteral("asc"), 20, 0, field, needle);
    const QJsonObject reply = m_client->get(query).object();
    QTEST(keysOf(reply.value(QStringLiteral("data")).toArray(), "name"), "found");
    QFETCH(QStringList, found);
    QCOMPARE(reply.value(QStringLiteral("pages")), QJsonValue(found.isEmpty() ? 0 : 1));
}

void TestServerApi::uploadsARecord()
{
    QCOMPARE(m_client->login(QStringLiteral("anna"), QStringLiteral("geheim")).status, 200);
    const QString patient = newPatient(*m_client);
    const QByteArray wave = testWave(440);
    QCOMPARE(wave.size(), 66194);
    const QDateTime before = QDateTime::currentDateTime();
    const ApiClient::Answer answer = m_client->upload(patient, wave);
    QCOMPARE(answer.status, 200);
    const QJsonObject record = answer.object();
    QCOMPARE(record.keys(),
             QStringList({QStringLiteral("doctorName"), QStringLiteral("editable"), QStringLiteral("id"),
                          QStringLiteral("patientId"), QStringLiteral("questionnaire"), QStringLiteral("recordedAt")}));
    QCOMPARE(record.value(QStringLiteral("patientId")).toString(), patient);
    QCOMPARE(record.value(QStringLiteral("doctorName")).toString(), QStringLiteral("Др. Анна"));
    QCOMPARE(record.value(QStringLiteral("editable")), QJsonValue(true));
    QCOMPARE(record.value(QStringLiteral("questionnaire")), QJsonValue(false));
    const QDateTime recordedAt =
        QDateTime::fromString(record.value(QStringLiteral("recordedAt")).toString(), Qt::ISODate);
    QVERIFY(recordedAt.isValid());
    QVERIFY(qAbs(before.secsTo(recordedAt)) < 300);
    QCOMPARE(recordedAt.offsetFromUtc(), QDateTime::currentDateTime().offsetFromUtc());

    const QString id = record.value(QStringLiteral("id")).toString();
    QCOMPARE(sql(QStringLiteral("SELECT wave FROM records WHERE id = '%1'").arg(id)).toByteArray(), wave);
    QCOMPARE(m_client->get(QStringLiteral("/record/") + patient).array(), QJsonArray{record});
    const QJsonArray patients =
        m_client->get(ApiClient::filter(QStringLiteral("record"), QStringLiteral("desc"), 1, 0, {}, {}))
            .object()
            .value(QStringLiteral("data"))
            .toArray();
    QCOMPARE(patients.first().toObject().value(QStringLiteral("lastRecordAt")),
             record.value(QStringLiteral("recordedAt")));
}

void TestServerApi::uploadKeepsTheSensor()
{
    const QString patient = newPatient(*m_client);
    const auto stored = [this, &patient](const QByteArray& sensor) {
        const QString id =
            m_client->upload(patient, testWave(440), sensor).object().value(QStringLiteral("id")).toString();
        return sql(QStringLiteral("SELECT sensor_id FROM records WHERE id = '%1'").arg(id));
    };
    QCOMPARE(stored("A1B2C3"), QVariant(QStringLiteral("A1B2C3")));
    QCOMPARE(stored(""), QVariant(QStringLiteral("")));
    QCOMPARE(stored(QByteArray(255, 'x')), QVariant(QString(255, QLatin1Char('x'))));
}

void TestServerApi::uploadRefuses_data()
{
    QTest::addColumn<QByteArray>("wave");
    QTest::addColumn<QString>("about");
    const QByteArray good = testWave(440);
    const auto changed = [&good](int at, const QByteArray& bytes) {
        QByteArray wave = good;
        return wave.replace(at, bytes.size(), bytes);
    };
    QTest::newRow("empty") << QByteArray("") << "";
    QTest::newRow("text") << QByteArray("This is no sound.").repeated(10) << "";
    QTest::newRow("header alone") << testWaveHeader(0) << "";
    QTest::newRow("cut header") << good.left(30) << "";
    QTest::newRow("one sample short") << good.left(good.size() - 1) << "";
    QTest::newRow("one sample short, and said so") << testWaveHeader(66149) + good.mid(44, 66149) << "66149";
    QTest::newRow("one sample more") << testWaveHeader(66151) + good.mid(44) + 'x' << "66151";
    QTest::newRow("bytes behind") << good + "LIST"
                                  << "4";
    QTest::newRow("no RIFF") << changed(0, "RIFX") << "";
    QTest::newRow("no WAVE") << changed(8, "AVI ") << "";
    QTest::newRow("compressed") << changed(20, QByteArray("\x03\x00", 2)) << "3";
    QTest::newRow("stereo") << changed(22, QByteArray("\x02\x00", 2)) << "2";
    QTest::newRow("44100 Hz") << changed(24, QByteArray("\x44\xac\x00\x00", 4)) << "44100";
    QTest::newRow("16 bits") << changed(34, QByteArray("\x10\x00", 2)) << "16";
    QTest::newRow("wrong RIFF size") << changed(4, QByteArray("\xff\xff\xff\xff", 4)) << "";
    QTest::newRow("wrong data size") << changed(40, QByteArray("\xff\xff\xff\xff", 4)) << "";
}

void TestServerApi::uploadRefuses()
{
    QFETCH(QByteArray, wave);
    QFETCH(QString, about);
    const QString patient = newPatient(*m_client);
    const QVector<int> before = storedRows();
    const ApiClient::Answer english = m_client->upload(patient, wave);
    QVERIFY(english.failed(400));
    QVERIFY2(english.message().contains(about), qPrintable(english.message()));
    m_client->language = "ru-RU";
    const ApiClient::Answer russian = m_client->upload(patient, wave);
    QVERIFY(russian.failed(400));
    QVERIFY(russian.message() != english.message());
    QCOMPARE(storedRows(), before);
    QCOMPARE(m_client->get(QStringLiteral("/record/") + patient).array(), QJsonArray());
}

void TestServerApi::uploadRefusesOtherForms()
{
    const QString patient = newPatient(*m_client);
    const QVector<int> before = storedRows();
    const QByteArray type = "multipart/form-data; boundary=\"cut\"";
    const auto part = [](const QByteArray& name, const QByteArray& content) {
        return "--cut\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + content + "\r\n";
    };
    const QByteArray id = part("patientId", patient.toUtf8());
    const QByteArray record = part("record", testWave(440));
    const QByteArray end = "--cut--\r\n";
    const QString path = QStringLiteral("/record");
    const auto refused = [&](const QByteArray& body, const QByteArray& contentType) {
        return m_client->send("POST", path, body, contentType).failed(400);
    };
    QVERIFY(refused(testWave(440), "application/octet-stream"));
    QVERIFY(refused("{}", json));
    QVERIFY(refused("patientId=x&record=y", form));
    QVERIFY(refused("", type));
    QVERIFY(refused(end, type));
    QVERIFY(refused(id + end, type));
    QVERIFY(refused(record + end, type));
    QVERIFY(refused(id + id + record + end, type));
    QVERIFY(refused(id + record + record + end, type));
    QVERIFY(refused(part("patient", patient.toUtf8()) + record + end, type));
    QVERIFY(refused(id + record, type));
    QVERIFY(refused(id + record + end, "multipart/form-data"));
    QVERIFY(refused(id + record + end, "multipart/form-data; boundary=other"));
    QVERIFY(m_client->send("POST", path, part("patientId", "\xff\xfe") + record + end, type).failed(404));
    QCOMPARE(storedRows(), before);
    QCOMPARE(m_client->send("POST", path, record + part("more", "x") + id + end, type).status, 200);
    QCOMPARE(m_client->send("POST", QStringLiteral("/patient"), record + end, type).status, 400);
}

void TestServerApi::uploadRefusesTheSensor()
{
    const QString patient = newPatient(*m_client);
    const QVector<int> before = storedRows();
    QVERIFY(m_client->upload(patient, testWave(440), QByteArray(256, 'x')).failed(400));
    QVERIFY(m_client->upload(patient, testWave(440), "a\tb").failed(400));
    QVERIFY(m_client->upload(patient, testWave(440), "\xff\xfe").failed(400));
    QCOMPARE(storedRows(), before);
}

void TestServerApi::listsRecordsOldestFirst()
{
    const QString patient = newPatient(*m_client);
    QCOMPARE(m_client->get(QStringLiteral("/record/") + patient).body, QByteArray("[]"));
    QStringList expected;
    for (int i = 0; i < 4; ++i) {
        expected.append(newRecord(*m_client, patient, 400 + 10 * i));
        QTest::qWait(3);
    }
    const QString other = newPatient(*m_client);
    QVERIFY(!newRecord(*m_client, other).isEmpty());
    // The client fills its list from the last element to the first, and puts a new record in front of it.
    QCOMPARE(keysOf(m_client->get(QStringLiteral("/record/") + patient).array(), "id"), expected);
}

void TestServerApi::deletesARecord()
{
    const QString patient = newPatient(*m_client);
    const QString other = newPatient(*m_client);
    const QString first = newRecord(*m_client, patient);
    const QString second = newRecord(*m_client, patient);
    QVERIFY(m_client->remove(QStringLiteral("/record/%1/%2").arg(other, first)).failed(404));
    QCOMPARE(m_client->remove(QStringLiteral("/record/%1/%2").arg(patient, first)).status, 200);
    QCOMPARE(keysOf(m_client->get(QStringLiteral("/record/") + patient).array(), "id"), QStringList{second});
    QVERIFY(m_client->remove(QStringLiteral("/record/%1/%2").arg(patient, first)).failed(404));
    QCOMPARE(m_client->remove(QStringLiteral("/record/%1/%2").arg(patient, second)).status, 200);
    const QJsonArray patients =
        m_client->get(QStringLiteral("/patient")).object().value(QStringLiteral("data")).toArray();
    for (const QJsonValue& row : patients)
        QCOMPARE(row.toObject().value(QStringLiteral("lastRecordAt")), QJsonValue(QStringLiteral("")));
}

void TestServerApi::offersCategories()
{
    const QString patient = newPatient(*m_client);
    const auto categories = [this, &patient](const QByteArray& language) {
        m_client->language = language;
        return m_client->get(QStringLiteral("/category/corrective/") + patient).array();
    };
    const QJsonArray english = categories("en-US");
    const QJsonArray russian = categories("ru-RU");
    QVERIFY(english.size() >= 2);
    QCOMPARE(russian.size(), english.size());
    QVERIFY(keysOf(russian, "title") != keysOf(english, "title"));
    QStringList ids;
    QSet<bool> kinds;
    for (int i = 0; i < english.size(); ++i) {
        const QJsonObject category = english.at(i).toObject();
        QCOMPARE(category.keys(), QStringList({QStringLiteral("storages"), QStringLiteral("title")}));
        QVERIFY(!category.value(QStringLiteral("title")).toString().isEmpty());
        const QJsonArray storages = category.value(QStringLiteral("storages")).toArray();
        QVERIFY(!storages.isEmpty());
        for (const QJsonValue& storage : storages) {
            QCOMPARE(storage.toObject().keys(),
                     QStringList({QStringLiteral("frequencies"), QStringLiteral("id"), QStringLiteral("title")}));
            ids.append(storage.toObject().value(QStringLiteral("id")).toString());
            QVERIFY(!storage.toObject().value(QStringLiteral("title")).toString().isEmpty());
            kinds.insert(storage.toObject().value(QStringLiteral("frequencies")).toBool());
        }
        QCOMPARE(keysOf(russian.at(i).toObject().value(QStringLiteral("storages")).toArray(), "id"),
                 keysOf(storages, "id"));
    }
    QVERIFY(ids.contains(QStringLiteral("notes")));
    QCOMPARE(QSet<QString>(ids.begin(), ids.end()).size(), ids.size());
    QCOMPARE(kinds.size(), 2);
}

void TestServerApi::analysesARecord()
{
    const QString patient = newPatient(*m_client);
    const QString low = newRecord(*m_client, patient, 440);
    const QString high = newRecord(*m_client, patient, 880);
    const auto rows = [&](const QString& record, const QByteArray& language) {
        m_client->language = language;
        return m_client
            ->post(QStringLiteral("/analysis"), {{QStringLiteral("patientId"), patient},
                                                 {QStringLiteral("storageId"), QStringLiteral("notes")},
                                                 {QStringLiteral("records"), QJsonArray{record}}})
            .object()
            .value(QStringLiteral("rows"))
            .toArray();
    };
    const QJsonArray lowRows = rows(low, "en-US");
    QVERIFY(lowRows.size() > 50);
    for (const QJsonValue& row : lowRows) {
        const QJsonObject marker = row.toObject();
        QCOMPARE(marker.keys(), QStringList({QStringLiteral("amount"), QStringLiteral("description"),
                                             QStringLiteral("id"), QStringLiteral("title"), QStringLiteral("values")}));
        QVERIFY(!marker.value(QStringLiteral("id")).toString().isEmpty());
        QVERIFY(!marker.value(QStringLiteral("title")).toString().isEmpty());
        QVERIFY(marker.value(QStringLiteral("amount")).toInt() >= 1);
        const QJsonArray values = marker.value(QStringLiteral("values")).toArray();
        QCOMPARE(values.size(), 1);
        QVERIFY(values.first().toInt(-1) >= 0 && values.first().toInt(-1) <= 100);
    }
    QCOMPARE(lowRows.first().toObject().value(QStringLiteral("id")).toString(), QStringLiteral("note-a4"));
    QVERIFY(lowRows.first().toObject().value(QStringLiteral("values")).toArray().first().toInt() > 50);
    QCOMPARE(rows(high, "en-US").first().toObject().value(QStringLiteral("id")).toString(), QStringLiteral("note-a5"));
    QCOMPARE(rows(low, "en-US"), lowRows);
    QVERIFY(keysOf(rows(low, "ru-RU"), "title") != keysOf(lowRows, "title"));
}

void TestServerApi::analysisRefuses()
{
    const QString patient = newPatient(*m_client);
    const QString other = newPatient(*m_client);
    const QString record = newRecord(*m_client, patient);
    const auto status = [this](const QString& ofPatient, const QJsonValue& storage, const QJsonValue& records) {
        const ApiClient::Answer answer =
            m_client->post(QStringLiteral("/analysis"), {{QStringLiteral("patientId"), ofPatient},
                                                         {QStringLiteral("storageId"), storage},
                                                         {QStringLiteral("records"), records}});
        return answer.message().isEmpty() ? 0 : answer.status;
    };
    const QString notes = QStringLiteral("notes");
    QCOMPARE(status(patient, notes, QJsonArray()), 400);
    QCOMPARE(status(patient, notes, record), 400);
    QCOMPARE(status(patient, notes, QJsonArray{5}), 400);
    QCOMPARE(status(patient, 5, QJsonArray{record}), 400);
    QCOMPARE(status(patient, QStringLiteral(""), QJsonArray{record}), 404);
    QCOMPARE(status(patient, QStringLiteral("none"), QJsonArray{record}), 404);
    QCOMPARE(status(other, notes, QJsonArray{record}), 404);
    QCOMPARE(status(QStringLiteral("none"), notes, QJsonArray{record}), 404);
    QCOMPARE(status(patient, notes, QJsonArray{QStringLiteral("none")}), 404);
    QCOMPARE(status(patient, notes, QJsonArray{QString(10000, QLatin1Char('a'))}), 404);
}

void TestServerApi::recipeIsKeptInOrder()
{
    const QString patient = newPatient(*m_client);
    const QString record = newRecord(*m_client, patient, 440);
    const QString path = QStringLiteral("/recipe/%1/%2").arg(patient, record);
    QCOMPARE(m_client->get(path).body, QByteArray("[]"));
    const auto save = [&](const QStringList& markers, int duration) {
        return m_client
            ->put(QStringLiteral("/recipe"), {{QStringLiteral("patientId"), patient},
                                              {QStringLiteral("recordId"), record},
                                              {QStringLiteral("deviceId"), QStringLiteral("")},
                                              {QStringLiteral("markers"), QJsonArray::fromStringList(markers)},
                                              {QStringLiteral("duration"), duration},
                                              {QStringLiteral("command"), QStringLiteral("")}})
            .status;
    };
    const QStringList known{QStringLiteral("note-c4"), QStringLiteral("note-a4"), QStringLiteral("octave-1000"),
                            QStringLiteral("note-a4")};
    QCOMPARE(save(known, 0), 200);
    const QJsonArray saved = m_client->get(path).array();
    QCOMPARE(keysOf(saved, "id"), known);
    QCOMPARE(saved.first().toObject().keys(),
             QStringList({QStringLiteral("amount"), QStringLiteral("description"), QStringLiteral("id"),
                          QStringLiteral("title"), QStringLiteral("values")}));
    const auto value = [&saved](int row) {
        return saved.at(row).toObject().value(QStringLiteral("values")).toArray().first().toInt(-1);
    };
    QVERIFY(value(1) > value(0));
    m_client->language = "ru-RU";
    const QJsonArray russian = m_client->get(path).array();
    QCOMPARE(keysOf(russian, "id"), known);
    QVERIFY(keysOf(russian, "title") != keysOf(saved, "title"));

    QCOMPARE(save({QStringLiteral("note-a4")}, 600), 200);
    QCOMPARE(keysOf(m_client->get(path).array(), "id"), QStringList{QStringLiteral("note-a4")});
    QCOMPARE(save({}, 0), 200);
    QCOMPARE(m_client->get(path).body, QByteArray("[]"));
}

void TestServerApi::recipeRefuses()
{
    const QString patient = newPatient(*m_client);
    const QString other = newPatient(*m_client);
    const QString record = newRecord(*m_client, patient);
    const QVector<int> before = storedRows();
    const QJsonObject good{{QStringLiteral("patientId"), patient},
                           {QStringLiteral("recordId"), record},
                           {QStringLiteral("deviceId"), QStringLiteral("")},
                           {QStringLiteral("markers"), QJsonArray{QStringLiteral("note-a4")}},
                           {QStringLiteral("duration"), 5},
                           {QStringLiteral("command"), QStringLiteral("")}};
    QJsonArray tooMany;
    for (int i = 0; i < 501; ++i)
        tooMany.append(QStringLiteral("note-a4"));
    struct Change
    {
        const char* key;
        QJsonValue value;
        int put;
        int post;
    };
    const QJsonValue missing(QJsonValue::Undefined);
    const std::vector<Change> changes{
        {"patientId", missing, 400, 400},
        {"patientId", 5, 400, 400},
        {"patientId", QStringLiteral("none"), 404, 404},
        {"patientId", other, 404, 404},
        {"recordId", missing, 400, 400},
        {"recordId", QJsonArray(), 400, 400},
        {"recordId", QStringLiteral("none"), 404, 404},
        {"recordId", QString(10000, QLatin1Char('a')), 404, 404},
        {"markers", missing, 400, 400},
        {"markers", QStringLiteral("note-a4"), 400, 400},
        {"markers", QJsonArray{1}, 400, 400},
        {"markers", QJsonArray{QJsonValue(QJsonValue::Null)}, 400, 400},
        {"markers", QJsonArray{QStringLiteral("none")}, 404, 404},
        {"markers", QJsonArray{QString(10000, QLatin1Char('a'))}, 404, 404},
        {"markers", tooMany, 400, 400},
        {"duration", QStringLiteral("5"), 400, 400},
        {"duration", -1, 400, 400},
        {"duration", 1.5, 400, 400},
        {"duration", 1e300, 400, 400},
        {"duration", QJsonValue(QJsonValue::Null), 400, 400},
        {"deviceId", 5, 400, 400},
        {"command", 5, 400, 400},
        {"command", QStringLiteral("RECORD"), 400, 0},
        {"command", QStringLiteral("RECIPE"), 409, 0},
    };
    for (const Change& change : changes) {
        QJsonObject body = good;
        if (change.value.isUndefined())
            body.remove(QLatin1String(change.key));
        else
            body[QLatin1String(change.key)] = change.value;
        QVERIFY2(m_client->put(QStringLiteral("/recipe"), body).failed(change.put), change.key);
        if (change.post != 0)
            QVERIFY2(m_client->post(QStringLiteral("/recipe"), body).failed(change.post), change.key);
    }
    QCOMPARE(storedRows(), before);
    QJsonObject least = good;
    for (const char* key : {"deviceId", "duration", "command"})
        least.remove(QLatin1String(key));
    QCOMPARE(m_client->put(QStringLiteral("/recipe"), least).status, 200);
}

void TestServerApi::recipeMakesBlocks()
{
    const QString patient = newPatient(*m_client);
    const QString record = newRecord(*m_client, patient);
    const auto blocks = [&](const QStringList& markers, bool& sound) {
        const ApiClient::Answer answer =
            m_client->post(QStringLiteral("/recipe"), {{QStringLiteral("patientId"), patient},
                                                       {QStringLiteral("recordId"), record},
                                                       {QStringLiteral("deviceId"), QStringLiteral("")},
                                                       {QStringLiteral("markers"), QJsonArray::fromStringList(markers)},
                                                       {QStringLiteral("duration"), 1},
                                                       {QStringLiteral("command"), QStringLiteral("")}});
        const QJsonDocument document = QJsonDocument::fromJson(gunzipped(QByteArray::fromBase64(answer.body)));
        sound = answer.status == 200 && answer.contentType.startsWith("text/plain") && document.isArray();
        QVector<QByteArray> result;
        const QJsonArray array = document.array();
        for (const QJsonValue& block : array)
            result.append(QByteArray::fromBase64(block.toString().toUtf8()));
        return result;
    };
    bool sound = false;
    const QVector<QByteArray> made =
        blocks({QStringLiteral("note-a4"), QStringLiteral("note-a5"), QStringLiteral("note-a4")}, sound);
    QVERIFY(sound);
    QCOMPARE(made.size(), 3);
    for (const QByteArray& block : made)
        QCOMPARE(block.size(), 65709);
    QVERIFY(isStronger(made.at(0), 440, 880));
    QVERIFY(isStronger(made.at(1), 880, 440));
    QCOMPARE(made.at(2), made.at(0));
    QCOMPARE(blocks({}, sound).size(), 0);
    QVERIFY(sound);
    // What was played is not saved.
    QCOMPARE(m_client->get(QStringLiteral("/recipe/%1/%2").arg(patient, record)).body, QByteArray("[]"));
}

void TestServerApi::exportsAWorkbook()
{
    const QString patient = newPatient(*m_client, QStringLiteral("Jürgen Ёлкин"));
    newRecord(*m_client, patient);
    const QString path = QStringLiteral("/export/excel");
    const ApiClient::Answer answer = m_client->post(path, {{QStringLiteral("patientId"), patient}});
    QCOMPARE(answer.status, 200);
    QVERIFY(answer.contentType.startsWith("text/plain"));
    const auto decoded = QByteArray::fromBase64Encoding(answer.body, QByteArray::AbortOnBase64DecodingErrors);
    QVERIFY(decoded);
    QVERIFY((*decoded).startsWith(QByteArray("PK\3\4")));
    QVERIFY((*decoded).contains("xl/workbook.xml"));
    QVERIFY(m_client->post(path, QJsonObject()).failed(400));
    QVERIFY(m_client->post(path, {{QStringLiteral("patientId"), 5}}).failed(400));
}

void TestServerApi::practitionersSeeOnlyTheirOwn()
{
    const QString patient = newPatient(*m_client, QStringLiteral("Mine"));
    const QString record = newRecord(*m_client, patient);
    const QJsonObject recipe{{QStringLiteral("patientId"), patient},
                             {QStringLiteral("recordId"), record},
                             {QStringLiteral("markers"), QJsonArray{QStringLiteral("note-a4")}}};
    QCOMPARE(m_client->put(QStringLiteral("/recipe"), recipe).status, 200);
    const QVector<int> before = storedRows();
    const QJsonArray saved = m_client->get(QStringLiteral("/recipe/%1/%2").arg(patient, record)).array();

    const auto other = newClient();
    QVERIFY(other);
    const QString theirs = newPatient(*other, QStringLiteral("Theirs"));
    QCOMPARE(namesOf(*other, QStringLiteral("/patient")), QStringList{QStringLiteral("Theirs")});
    QCOMPARE(namesOf(*other, ApiClient::filter({}, {}, 20, 0, {}, QStringLiteral("mine"))), QStringList());
    QJsonObject stolen = patientBody(QStringLiteral("Stolen"));
    stolen[QStringLiteral("id")] = patient;
    QVERIFY(other->put(QStringLiteral("/patient"), stolen).failed(404));
    QVERIFY(other->remove(QStringLiteral("/patient/") + patient).failed(404));
    QVERIFY(other->get(QStringLiteral("/record/") + patient).failed(404));
    QVERIFY(other->upload(patient, testWave(440)).failed(404));
    QVERIFY(other->remove(QStringLiteral("/record/%1/%2").arg(patient, record)).failed(404));
    QVERIFY(other->remove(QStringLiteral("/record/%1/%2").arg(theirs, record)).failed(404));
    QVERIFY(other->get(QStringLiteral("/category/corrective/") + patient).failed(404));
    for (const QString& id : {patient, theirs}) {
        const QJsonObject analysis{{QStringLiteral("patientId"), id},
                                   {QStringLiteral("storageId"), QStringLiteral("notes")},
                                   {QStringLiteral("records"), QJsonArray{record}}};
        QVERIFY(other->post(QStringLiteral("/analysis"), analysis).failed(404));
        QVERIFY(other->get(QStringLiteral("/recipe/%1/%2").arg(id, record)).failed(404));
        QJsonObject body = recipe;
        body[QStringLiteral("patientId")] = id;
        QVERIFY(other->put(QStringLiteral("/recipe"), body).failed(404));
        QVERIFY(other->post(QStringLiteral("/recipe"), body).failed(404));
    }
    QVERIFY(other->post(QStringLiteral("/export/excel"), {{QStringLiteral("patientId"), patient}}).failed(404));

    QCOMPARE(other->remove(QStringLiteral("/patient/") + theirs).status, 200);
    QCOMPARE(storedRows(), before);
    QCOMPARE(namesOf(*m_client, QStringLiteral("/patient")), QStringList{QStringLiteral("Mine")});
    QCOMPARE(m_client->get(QStringLiteral("/recipe/%1/%2").arg(patient, record)).array(), saved);
}

void TestServerApi::bodiesOfTheWrongKind_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QString>("path");
    QTest::newRow("create") << QByteArray("POST") << "/patient";
    QTest::newRow("update") << QByteArray("PUT") << "/patient";
    QTest::newRow("analysis") << QByteArray("POST") << "/analysis";
    QTest::newRow("recipe") << QByteArray("POST") << "/recipe";
    QTest::newRow("save") << QByteArray("PUT") << "/recipe";
    QTest::newRow("export") << QByteArray("POST") << "/export/excel";
}

void TestServerApi::bodiesOfTheWrongKind()
{
    QFETCH(QByteArray, method);
    QFETCH(QString, path);
    const QVector<int> before = storedRows();
    for (const QByteArray& body :
         {QByteArray(""), QByteArray("not JSON"), QByteArray("[]"), QByteArray("null"), QByteArray("5"),
          QByteArray("\"text\""), QByteArray("{"), QByteArray("{\"name\":}"), QByteArray("\0\1\2", 3),
          QByteArray("[").repeated(100000), QByteArray("{\"a\":").repeated(50000), QByteArray("\xff\xfe{}")}) {
        QVERIFY2(m_client->send(method, path, body, json).failed(400), body.left(20).constData());
    }
    for (const QByteArray& body : {QByteArray("{}"), QByteArray("{\"patientId\":null,\"recordId\":null,\"id\":null}"),
                                   QByteArray("{\"patientId\":1e999,\"id\":-1e999}")})
        QCOMPARE(m_client->send(method, path, body, json).status, 400);
    QVERIFY(m_client->send(method, path, QByteArray(2 * 1024 * 1024, ' '), json).failed(413));
    QCOMPARE(storedRows(), before);
}

void TestServerApi::databaseFailuresAreNotTold()
{
    QVERIFY(!newPatient(*m_client).isEmpty());
    sql(QStringLiteral("ALTER TABLE patients RENAME TO patients_away"));
    const ApiClient::Answer answer = m_client->get(QStringLiteral("/patient"));
    m_client->language = "ru-RU";
    const ApiClient::Answer russian = m_client->get(QStringLiteral("/patient"));
    sql(QStringLiteral("ALTER TABLE patients_away RENAME TO patients"));
    QVERIFY(answer.failed(500));
    QVERIFY(russian.failed(500));
    QVERIFY(russian.message() != answer.message());
    QVERIFY(!answer.body.contains("patients"));
    QVERIFY(!answer.body.contains("SELECT"));
    QCOMPARE(namesOf(*m_client, QStringLiteral("/patient")), QStringList{QStringLiteral("Anna")});
    QVERIFY(m_server.errors().contains("patients"));
}

void TestServerApi::requestsAtOnce()
{
    constexpr int threads = 6;
    constexpr int each = 8;
    const QByteArray token = m_client->token;
    std::atomic<int> sound{0};
    std::vector<std::thread> running;
    running.reserve(threads);
    for (int t = 0; t < threads; ++t) {
        running.emplace_back([&, t] {
            ApiClient client(m_server.url());
            client.token = token;
            for (int i = 0; i < each; ++i) {
                const QString name = QStringLiteral("T%1-%2").arg(t).arg(i);
                const QString patient = newPatient(client, name);
                const QString record = newRecord(client, patient, 300 + 10 * t);
                const QJsonArray records = client.get(QStringLiteral("/record/") + patient).array();
                const QStringList found = namesOf(client, ApiClient::filter({}, {}, 20, 0, {}, name));
                if (!record.isEmpty() && keysOf(records, "id") == QStringList{record} && found == QStringList{name})
                    ++sound;
            }
        });
    }
    for (std::thread& thread : running)
        thread.join();
    QCOMPARE(sound.load(), threads * each);
    QCOMPARE(m_client->get(QStringLiteral("/patient")).object().value(QStringLiteral("data")).toArray().size(),
             threads * each);
}

QTEST_GUILESS_MAIN(TestServerApi)

#include "TestServerApi.moc"
