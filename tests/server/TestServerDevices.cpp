// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Autospectrum.h"
#include "server/DeviceSimulator.h"
#include "server/WaveFile.h"
#include "tests/server/ApiClient.h"
#include "tests/server/ServerProcess.h"
#include "tests/server/TestDatabase.h"
#include "tests/server/TestWave.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <zlib.h>

#include <atomic>
#include <csignal>
#include <memory>
#include <thread>
#include <vector>

namespace {

const QByteArray json = "application/json";
const QString devicePath = QStringLiteral("/patient/device");
const QString commandPath = QStringLiteral("/command");
const QString recipePath = QStringLiteral("/recipe");
const QString autospectrumPath = QStringLiteral("/recipe/autospectrum");
// Far above what is ever needed, for machines under load and sanitized builds.
constexpr int patience = 60000;

/// What the client's icons and tool tips are made of.
struct State
{
    bool hasDevices = false;
    bool isEnabled = true;
    QString command;
    bool isComplete = false;

    bool operator==(const State& other) const
    {
        return hasDevices == other.hasDevices && isEnabled == other.isEnabled && command == other.command &&
               isComplete == other.isComplete;
    }
};

char* toString(const State& state)
{
    return QTest::toString(QStringLiteral("device %1, enabled %2, command \"%3\", complete %4")
                               .arg(state.hasDevices)
                               .arg(state.isEnabled)
                               .arg(state.command)
                               .arg(state.isComplete));
}

State stateOf(const QJsonObject& patient)
{
    State state;
    for (const char* key : {"hasDevices", "isEnabled", "isComplete"}) {
        if (!patient.value(QLatin1String(key)).isBool())
            qWarning("\"%s\" is no truth value", key);
    }
    if (!patient.value(QStringLiteral("command")).isString())
        qWarning("\"command\" is no text");
    state.hasDevices = patient.value(QStringLiteral("hasDevices")).toBool();
    state.isEnabled = patient.value(QStringLiteral("isEnabled")).toBool();
    state.command = patient.value(QStringLiteral("command")).toString();
    state.isComplete = patient.value(QStringLiteral("isComplete")).toBool();
    return state;
}

State bound()
{
    return {true, true, QString(), false};
}

State ordered(const QString& command, bool complete = false)
{
    return {true, true, command, complete};
}

QJsonObject binding(const QString& patientId, const QString& deviceId)
{
    return {{QStringLiteral("patientId"), patientId}, {QStringLiteral("deviceId"), deviceId}};
}

QJsonObject only(const QString& patientId)
{
    return {{QStringLiteral("patientId"), patientId}};
}

QJsonObject order(const QString& patientId, const QString& command, const QString& recordId = QString())
{
    QJsonObject body{{QStringLiteral("patientId"), patientId}, {QStringLiteral("command"), command}};
    if (!recordId.isNull())
        body[QStringLiteral("recordId")] = recordId;
    return body;
}

QJsonObject recipe(const QString& patientId, const QString& recordId, const QStringList& markers,
                   const QString& command)
{
    return {{QStringLiteral("patientId"), patientId},
            {QStringLiteral("recordId"), recordId},
            {QStringLiteral("deviceId"), QStringLiteral("")},
            {QStringLiteral("markers"), QJsonArray::fromStringList(markers)},
            {QStringLiteral("duration"), 5},
            {QStringLiteral("command"), command}};
}

QString idOf(const ApiClient::Answer& answer)
{
    return answer.object().value(QStringLiteral("id")).toString();
}

QByteArray gunzipped(const QByteArray& data)
{
    z_stream stream = {};
    if (inflateInit2(&stream, 31) != Z_OK)
        return QByteArray();
    QByteArray result(1024 * 1024, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
    stream.avail_in = uInt(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = uInt(result.size());
    const bool whole = inflate(&stream, Z_FINISH) == Z_STREAM_END && stream.avail_in == 0;
    result.truncate(int(stream.total_out));
    inflateEnd(&stream);
    return whole ? result : QByteArray();
}

/// A server of its own on a database of its own, with one practitioner, and a way into its tables.
class Practice
{
public:
    explicit Practice(const QString& name)
        : m_connection(name)
    {
    }

    bool open(const QStringList& options = {})
    {
        m_path = m_database.location();
        if (!ServerProcess::addPractitioner(m_path, QStringLiteral("anna"), QStringLiteral("secret")) ||
            !start(options) || client->login(QStringLiteral("anna"), QStringLiteral("secret")).status != 200)
            return false;
        m_token = client->token;
        return m_database.connect(m_connection);
    }

    /// Also after the end of the process; the session goes on.
    bool start(const QStringList& options = {})
    {
        server = std::make_unique<ServerProcess>();
        if (!server->start(m_path, options))
            return false;
        client = std::make_unique<ApiClient>(server->url());
        client->token = m_token;
        return true;
    }

    const QString& path() const { return m_path; }

    QString patient(const QString& name = QStringLiteral("Anna")) { return patient(*client, name); }

    static QString patient(ApiClient& client, const QString& name)
    {
        return idOf(
            client.post(QStringLiteral("/patient"), {{QStringLiteral("name"), name},
                                                     {QStringLiteral("birthDate"), QStringLiteral("1980-05-17")},
                                                     {QStringLiteral("gender"), QStringLiteral("MALE")}}));
    }

    /// With a device of this name.
    QString boundPatient(const QString& deviceId)
    {
        const QString id = patient();
        return client->post(devicePath, binding(id, deviceId)).status == 200 ? id : QString();
    }

    QString record(const QString& patientId, double frequency = 440)
    {
        return idOf(client->upload(patientId, testWave(frequency)));
    }

    QJsonObject row(const QString& patientId)
    {
        const QJsonArray rows =
            client->get(QStringLiteral("/patient")).object().value(QStringLiteral("data")).toArray();
        for (const QJsonValue& value : rows) {
            if (value.toObject().value(QStringLiteral("id")).toString() == patientId)
                return value.toObject();
        }
        return {};
    }

    State state(const QString& patientId) { return stateOf(row(patientId)); }

    QJsonArray records(const QString& patientId) { return client->get(QStringLiteral("/record/") + patientId).array(); }

    QVariant sql(const QString& statement, const QVariantList& values = {})
    {
        QSqlQuery query(QSqlDatabase::database(m_connection));
        // PostgreSQL prepares no changes of its tables.
        if (!values.isEmpty())
            query.prepare(statement);
        for (const QVariant& value : values)
            query.addBindValue(value);
        if (!(values.isEmpty() ? query.exec(statement) : query.exec()))
            return QVariant();
        return query.next() ? query.value(0) : QVariant(0);
    }

private:
    TestDatabase m_database; ///< the last to go

public:
    std::unique_ptr<ServerProcess> server;
    std::unique_ptr<ApiClient> client;

private:
    QString m_connection;
    QString m_path;
    QByteArray m_token;
};

} // namespace

/// Remote devices: whom they are bound to, their commands, what carries them out where there is no hardware, and the
/// autospectrum of a record.
class TestServerDevices : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void needsASession_data();
    void needsASession();
    void bodiesOfTheWrongKind_data();
    void bodiesOfTheWrongKind();
    void patientsOfOthers_data();
    void patientsOfOthers();

    void bindsADevice();
    void everyListTellsTheState();
    void bindsTheSameAgain();
    void deviceHasOnePatient();
    void patientHasOneDevice();
    void identities_data();
    void identities();
    void bindRefuses_data();
    void bindRefuses();
    void ofTwoBindingsAtOnceOneHolds();
    void unbinds();
    void togglesADevice();
    void clientCountsAlong();
    void deletedPatientsFreeTheirDevice();

    void takesCommands_data();
    void takesCommands();
    void laterCommandReplaces();
    void commandOfARecord();
    void commandRefuses();
    void deletesACommand();
    void recipeWithACommand();
    void recipeWithARefusedCommandIsNotSaved();

    void survivesARestart();

    void simulatesEveryState_data();
    void simulatesEveryState();
    void simulatedRecordsAreSound();
    void simulatedRecordsDiffer();
    void simulatedDevicesWait();
    void simulatedDevicesRespectDisabling();
    void simulatedDevicesForgetWhatIsDropped();
    void simulationGoesOnAfterARestart();
    void simulatorsShareTheWork();
    void simulationStops_data();
    void simulationStops();
    void withoutSimulationNothingHappens();
    void simulationOutlivesAFailure();

    void makesAnAutospectrum();
    void autospectrumOfSilence();
    void autospectrumRefuses_data();
    void autospectrumRefuses();

private:
    QString newDevice() { return QStringLiteral("Q-%1").arg(++m_devices); }

    std::unique_ptr<Practice> m_practice;
    std::unique_ptr<ApiClient> m_stranger; ///< another practitioner on the same server
    int m_devices = 0;
};

void TestServerDevices::initTestCase()
{
    m_practice = std::make_unique<Practice>(QStringLiteral("practice"));
    QVERIFY(m_practice->open());
    QVERIFY(ServerProcess::addPractitioner(m_practice->path(), QStringLiteral("boris"), QStringLiteral("secret")));
    m_stranger = std::make_unique<ApiClient>(m_practice->server->url());
    QCOMPARE(m_stranger->login(QStringLiteral("boris"), QStringLiteral("secret")).status, 200);
}

void TestServerDevices::init()
{
    m_practice->client->language = "en-US";
    m_stranger->language = "en-US";
}

void TestServerDevices::cleanup()
{
    QCOMPARE(m_practice->server->errors(), QByteArray());
}

void TestServerDevices::cleanupTestCase()
{
    QCOMPARE(m_practice->server->stop(SIGTERM), 0);
    m_stranger.reset();
    m_practice.reset();
}

void TestServerDevices::needsASession_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QString>("path");
    QTest::newRow("bind") << QByteArray("POST") << devicePath;
    QTest::newRow("toggle") << QByteArray("PUT") << devicePath;
    QTest::newRow("unbind") << QByteArray("DELETE") << devicePath + QStringLiteral("/x");
    QTest::newRow("command") << QByteArray("POST") << commandPath;
    QTest::newRow("delete a command") << QByteArray("DELETE") << commandPath + QStringLiteral("/x");
    QTest::newRow("recipe") << QByteArray("PUT") << recipePath;
    QTest::newRow("autospectrum") << QByteArray("POST") << autospectrumPath;
}

void TestServerDevices::needsASession()
{
    QFETCH(QByteArray, method);
    QFETCH(QString, path);
    ApiClient client(m_practice->server->url());
    for (const QByteArray& token : {QByteArray(), QByteArray("x"), m_practice->client->token + 'A'}) {
        client.token = token;
        QVERIFY2(client.send(method, path, "{}", json).failed(401), token.constData());
    }
}

void TestServerDevices::bodiesOfTheWrongKind_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("keys"); // all of which have to be there as texts
    const QString patient = QStringLiteral("patientId");
    QTest::newRow("bind") << QByteArray("POST") << devicePath << QStringList{patient, QStringLiteral("deviceId")};
    QTest::newRow("toggle") << QByteArray("PUT") << devicePath << QStringList{patient};
    QTest::newRow("command") << QByteArray("POST") << commandPath << QStringList{patient, QStringLiteral("command")};
    QTest::newRow("autospectrum") << QByteArray("POST") << autospectrumPath
                                  << QStringList{patient, QStringLiteral("recordId")};
}

void TestServerDevices::bodiesOfTheWrongKind()
{
    QFETCH(QByteArray, method);
    QFETCH(QString, path);
    QFETCH(QStringList, keys);
    ApiClient& client = *m_practice->client;
    for (const QByteArray& body :
         {QByteArray(), QByteArray("[]"), QByteArray("{}"), QByteArray("\"x\""), QByteArray("{\"patientId\":"),
          QByteArray("patientId=x"), QByteArray("\xff\xfe"), QByteArray(5000, '[')})
        QVERIFY2(client.send(method, path, body, json).failed(400), body.left(40).constData());
    for (const QString& key : keys) {
        for (const QJsonValue& value : {QJsonValue(1), QJsonValue(true), QJsonValue(QJsonValue::Null),
                                        QJsonValue(QJsonArray()), QJsonValue(QJsonObject())}) {
            QJsonObject body;
            for (const QString& good : keys)
                body[good] = QStringLiteral("x");
            body[key] = value;
            const ApiClient::Answer answer = client.send(method, path, QJsonDocument(body).toJson(), json);
            QVERIFY2(answer.failed(400), qPrintable(key));
            QVERIFY2(answer.message().contains(key), qPrintable(answer.message()));
        }
    }
}

void TestServerDevices::patientsOfOthers_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QString>("path"); // "%1" stands for the id
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("bind") << QByteArray("POST") << devicePath << QByteArray(R"({"patientId":"%1","deviceId":"Q-new"})");
    QTest::newRow("toggle") << QByteArray("PUT") << devicePath << QByteArray(R"({"patientId":"%1"})");
    QTest::newRow("unbind") << QByteArray("DELETE") << devicePath + QStringLiteral("/%1") << QByteArray();
    QTest::newRow("command") << QByteArray("POST") << commandPath
                             << QByteArray(R"({"patientId":"%1","command":"RECORD"})");
    QTest::newRow("delete a command") << QByteArray("DELETE") << commandPath + QStringLiteral("/%1") << QByteArray();
    QTest::newRow("recipe") << QByteArray("PUT") << recipePath
                            << QByteArray(R"({"patientId":"%1","recordId":"x","markers":[],"command":"RECIPE"})");
    QTest::newRow("autospectrum") << QByteArray("POST") << autospectrumPath
                                  << QByteArray(R"({"patientId":"%1","recordId":"x"})");
}

void TestServerDevices::patientsOfOthers()
{
    QFETCH(QByteArray, method);
    QFETCH(QString, path);
    QFETCH(QByteArray, body);
    const QString patient = m_practice->boundPatient(newDevice());
    QVERIFY(!patient.isEmpty());
    QCOMPARE(m_practice->client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    for (const QString& id : {patient, QStringLiteral("none"), QString(1000, QLatin1Char('a')),
                              QStringLiteral("' OR '1'='1"), QStringLiteral("пациент")}) {
        const QString address =
            path.contains(QLatin1String("%1")) ? path.arg(QString::fromLatin1(QUrl::toPercentEncoding(id))) : path;
        const QByteArray sent = QByteArray(body).replace("%1", id.toUtf8());
        const ApiClient::Answer answer = m_stranger->send(method, address, sent, json);
        QVERIFY2(answer.failed(404), qPrintable(id.left(40)));
        QCOMPARE(answer.message(), QStringLiteral("There is no such patient."));
    }
    QCOMPARE(m_practice->state(patient), ordered(QStringLiteral("RECORD")));
}

void TestServerDevices::bindsADevice()
{
    const QString patient = m_practice->patient();
    QCOMPARE(m_practice->state(patient), State());
    const ApiClient::Answer answer = m_practice->client->post(devicePath, binding(patient, newDevice()));
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.contentType, json);
    QCOMPARE(answer.body, QByteArray("{}"));
    QCOMPARE(m_practice->state(patient), bound());
}

void TestServerDevices::everyListTellsTheState()
{
    Practice practice(QStringLiteral("lists"));
    QVERIFY(practice.open());
    ApiClient& client = *practice.client;
    const QString none = practice.patient(QStringLiteral("None"));
    const QString idle = practice.boundPatient(QStringLiteral("idle"));
    const QString blocked = practice.boundPatient(QStringLiteral("blocked"));
    const QString busy = practice.boundPatient(QStringLiteral("busy"));
    QCOMPARE(client.post(commandPath, order(blocked, QStringLiteral("RECORD"))).status, 200);
    QCOMPARE(client.put(devicePath, only(blocked)).status, 200);
    QCOMPARE(client.post(commandPath, order(busy, QStringLiteral("AUTOSPECTRUM"))).status, 200);

    const QHash<QString, State> expected{{none, State()},
                                         {idle, bound()},
                                         {blocked, State{true, false, QStringLiteral("RECORD"), false}},
                                         {busy, ordered(QStringLiteral("AUTOSPECTRUM"))}};
    QStringList paths{QStringLiteral("/patient")};
    for (const char* key : {"name", "age", "gender", "record", "notes"}) {
        for (const char* direction : {"asc", "desc"}) {
            for (const char* field : {"name", "notes"})
                paths.append(ApiClient::filter(QString::fromLatin1(key), QString::fromLatin1(direction), 10, 0,
                                               QString::fromLatin1(field), QString()));
        }
    }
    paths.append(ApiClient::filter(QStringLiteral("name"), QStringLiteral("asc"), 10, 0, QStringLiteral("name"),
                                   QStringLiteral("n")));
    for (const QString& path : qAsConst(paths)) {
        const QJsonObject page = client.get(path).object();
        QCOMPARE(page.value(QStringLiteral("pages")).toInt(), 1);
        const QJsonArray rows = page.value(QStringLiteral("data")).toArray();
        QCOMPARE(rows.size(), 4);
        for (const QJsonValue& row : rows)
            QCOMPARE(stateOf(row.toObject()), expected.value(row.toObject().value(QStringLiteral("id")).toString()));
    }

    // A changed patient comes back with the state, and cannot change it.
    QJsonObject changed = practice.row(blocked);
    changed[QStringLiteral("name")] = QStringLiteral("Other");
    changed[QStringLiteral("hasDevices")] = false;
    changed[QStringLiteral("isEnabled")] = true;
    changed[QStringLiteral("command")] = QStringLiteral("RECIPE");
    changed[QStringLiteral("isComplete")] = true;
    const QJsonObject stored = client.put(QStringLiteral("/patient"), changed).object();
    QCOMPARE(stored.value(QStringLiteral("name")).toString(), QStringLiteral("Other"));
    QCOMPARE(stateOf(stored), expected.value(blocked));
    QCOMPARE(practice.server->stop(SIGTERM), 0);
}

void TestServerDevices::bindsTheSameAgain()
{
    const QString device = newDevice();
    const QString patient = m_practice->boundPatient(device);
    QCOMPARE(m_practice->client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    QCOMPARE(m_practice->client->put(devicePath, only(patient)).status, 200);
    const State before{true, false, QStringLiteral("RECORD"), false};
    QCOMPARE(m_practice->state(patient), before);
    QCOMPARE(m_practice->client->post(devicePath, binding(patient, device)).status, 200);
    QCOMPARE(
        m_practice->client->post(devicePath, binding(patient, QLatin1Char(' ') + device + QLatin1Char(' '))).status,
        200);
    QCOMPARE(m_practice->state(patient), before);
}

void TestServerDevices::deviceHasOnePatient()
{
    const QString device = newDevice();
    const QString patient = m_practice->boundPatient(device);
    const QString second = m_practice->patient();
    const QString foreign = Practice::patient(*m_stranger, QStringLiteral("Foreign"));
    for (ApiClient* client : {m_practice->client.get(), m_stranger.get()}) {
        const QString other = client == m_stranger.get() ? foreign : second;
        const ApiClient::Answer english = client->post(devicePath, binding(other, device));
        QVERIFY(english.failed(409));
        QCOMPARE(english.message(), QStringLiteral("This device is bound to another patient already."));
        client->language = "ru-RU";
        const ApiClient::Answer russian = client->post(devicePath, binding(other, device));
        QVERIFY(russian.failed(409));
        QCOMPARE(russian.message(), QStringLiteral("Этот прибор уже привязан к другому пациенту."));
    }
    QCOMPARE(m_practice->state(patient), bound());
    QCOMPARE(m_practice->state(second), State());

    // Free again, it goes to whoever binds it next.
    QCOMPARE(m_practice->client->remove(devicePath + QLatin1Char('/') + patient).status, 200);
    QCOMPARE(m_stranger->post(devicePath, binding(foreign, device)).status, 200);
    QVERIFY(m_practice->client->post(devicePath, binding(patient, device)).failed(409));
}

void TestServerDevices::patientHasOneDevice()
{
    const QString first = newDevice();
    const QString second = newDevice();
    const QString patient = m_practice->boundPatient(first);
    const ApiClient::Answer english = m_practice->client->post(devicePath, binding(patient, second));
    QVERIFY(english.failed(409));
    QCOMPARE(english.message(), QStringLiteral("Another device is bound to this patient. Please unbind it first."));
    m_practice->client->language = "ru-RU";
    QCOMPARE(m_practice->client->post(devicePath, binding(patient, second)).message(),
             QStringLiteral("К этому пациенту привязан другой прибор. Сначала отвяжите его."));
    // The first one is kept, the second one is free.
    const QString other = m_practice->patient();
    QVERIFY(m_practice->client->post(devicePath, binding(other, first)).failed(409));
    QCOMPARE(m_practice->client->post(devicePath, binding(other, second)).status, 200);
    QCOMPARE(m_practice->client->remove(devicePath + QLatin1Char('/') + other).status, 200);
    QCOMPARE(m_practice->client->remove(devicePath + QLatin1Char('/') + patient).status, 200);
    QCOMPARE(m_practice->client->post(devicePath, binding(patient, second)).status, 200);
}

void TestServerDevices::identities_data()
{
    QTest::addColumn<QString>("device");
    QTest::addColumn<QString>("other"); // is not the same one
    QTest::newRow("serial") << "QM-0001"
                            << "QM-0002";
    QTest::newRow("case") << "serial-a"
                          << "SERIAL-A";
    QTest::newRow("cyrillic") << QStringLiteral("прибор") << QStringLiteral("прибоp");
    QTest::newRow("quotes") << "' OR '1'='1"
                            << "\"";
    QTest::newRow("wildcards") << "%"
                               << "_";
    QTest::newRow("longest") << QString(255, QLatin1Char('9')) << QString(254, QLatin1Char('9'));
}

void TestServerDevices::identities()
{
    QFETCH(QString, device);
    QFETCH(QString, other);
    const QString patient = m_practice->boundPatient(device);
    QVERIFY(!patient.isEmpty());
    const QString second = m_practice->patient();
    QVERIFY(m_practice->client->post(devicePath, binding(second, device)).failed(409));
    QCOMPARE(m_practice->client->post(devicePath, binding(second, other)).status, 200);
}

void TestServerDevices::bindRefuses_data()
{
    QTest::addColumn<QString>("device");
    QTest::newRow("empty") << "";
    QTest::newRow("blank") << "  ";
    QTest::newRow("long") << QString(256, QLatin1Char('9'));
    QTest::newRow("very long") << QString(100000, QLatin1Char('9'));
    QTest::newRow("two lines") << "a\nb";
    QTest::newRow("zero character") << QString::fromLatin1("a\0b", 3);
    QTest::newRow("escape character") << QStringLiteral("a\u001b[0m");
}

void TestServerDevices::bindRefuses()
{
    QFETCH(QString, device);
    const QString patient = m_practice->patient();
    const ApiClient::Answer english = m_practice->client->post(devicePath, binding(patient, device));
    QVERIFY(english.failed(400));
    QCOMPARE(english.message(),
             QStringLiteral("The identity of the device must have 1 to 255 characters in one line."));
    m_practice->client->language = "ru-RU";
    const ApiClient::Answer russian = m_practice->client->post(devicePath, binding(patient, device));
    QCOMPARE(russian.message(),
             QStringLiteral("Идентификатор прибора должен состоять из одной строки длиной от 1 до 255 символов."));
    QCOMPARE(m_practice->state(patient), State());
}

void TestServerDevices::ofTwoBindingsAtOnceOneHolds()
{
    constexpr int clients = 6;
    const QString device = newDevice();
    QStringList patients;
    for (int i = 0; i < clients; ++i)
        patients.append(m_practice->patient());
    std::vector<int> statuses(clients, 0);
    std::vector<std::thread> threads;
    for (int i = 0; i < clients; ++i)
        threads.emplace_back([&, i] {
            ApiClient client(m_practice->server->url());
            client.token = m_practice->client->token;
            statuses[size_t(i)] = client.post(devicePath, binding(patients.at(i), device)).status;
        });
    for (std::thread& thread : threads)
        thread.join();
    QCOMPARE(int(std::count(statuses.begin(), statuses.end(), 200)), 1);
    QCOMPARE(int(std::count(statuses.begin(), statuses.end(), 409)), clients - 1);
    for (int i = 0; i < clients; ++i)
        QCOMPARE(m_practice->state(patients.at(i)).hasDevices, statuses.at(size_t(i)) == 200);
}

void TestServerDevices::unbinds()
{
    const QString device = newDevice();
    const QString patient = m_practice->boundPatient(device);
    QCOMPARE(m_practice->client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    const ApiClient::Answer answer = m_practice->client->remove(devicePath + QLatin1Char('/') + patient);
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.body, QByteArray("{}"));
    QCOMPARE(m_practice->state(patient), State());
    const ApiClient::Answer again = m_practice->client->remove(devicePath + QLatin1Char('/') + patient);
    QVERIFY(again.failed(409));
    QCOMPARE(again.message(), QStringLiteral("No device is bound to this patient."));
    // The command does not come back with the device.
    QCOMPARE(m_practice->client->post(devicePath, binding(patient, device)).status, 200);
    QCOMPARE(m_practice->state(patient), bound());
}

void TestServerDevices::togglesADevice()
{
    const QString patient = m_practice->boundPatient(newDevice());
    const ApiClient::Answer answer = m_practice->client->put(devicePath, only(patient));
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.body, QByteArray("{}"));
    QCOMPARE(m_practice->state(patient), (State{true, false, QString(), false}));
    QCOMPARE(m_practice->client->put(devicePath, only(patient)).status, 200);
    QCOMPARE(m_practice->state(patient), bound());

    const QString none = m_practice->patient();
    const ApiClient::Answer refused = m_practice->client->put(devicePath, only(none));
    QVERIFY(refused.failed(409));
    QCOMPARE(refused.message(), QStringLiteral("No device is bound to this patient."));
    m_practice->client->language = "ru-RU";
    QCOMPARE(m_practice->client->put(devicePath, only(none)).message(),
             QStringLiteral("К этому пациенту не привязан прибор."));
    QCOMPARE(m_practice->state(none), State());
}

void TestServerDevices::clientCountsAlong()
{
    // A client changes its own copy after each answer and reads the list later: both have to agree all the way.
    const QString patient = m_practice->patient();
    const QString device = newDevice();
    State copy = m_practice->state(patient);
    const auto bind = [&] {
        copy.hasDevices = true;
        return m_practice->client->post(devicePath, binding(patient, device)).status;
    };
    const auto unbind = [&] {
        copy.hasDevices = false;
        return m_practice->client->remove(devicePath + QLatin1Char('/') + patient).status;
    };
    const auto toggle = [&] {
        copy.isEnabled = !copy.isEnabled;
        return m_practice->client->put(devicePath, only(patient)).status;
    };
    const auto agrees = [&] { return m_practice->state(patient) == copy; };
    QCOMPARE(bind(), 200);
    QVERIFY(agrees());
    QCOMPARE(toggle(), 200);
    QVERIFY(agrees());
    QCOMPARE(unbind(), 200);
    QVERIFY(agrees());
    QCOMPARE(bind(), 200);
    QVERIFY(agrees());
    QCOMPARE(toggle(), 200);
    QVERIFY(agrees());
    QCOMPARE(unbind(), 200);
    QVERIFY(agrees());
}

void TestServerDevices::deletedPatientsFreeTheirDevice()
{
    const QString device = newDevice();
    const QString patient = m_practice->boundPatient(device);
    QCOMPARE(m_practice->client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    QCOMPARE(m_practice->client->remove(QStringLiteral("/patient/") + patient).status, 200);
    QVERIFY(m_practice->client->remove(devicePath + QLatin1Char('/') + patient).failed(404));
    for (const char* table : {"devices", "commands"})
        QCOMPARE(m_practice
                     ->sql(QStringLiteral("SELECT COUNT(*) FROM %1 WHERE patient_id = ?").arg(QLatin1String(table)),
                           {patient})
                     .toInt(),
                 0);
    const QString next = m_practice->boundPatient(device);
    QVERIFY(!next.isEmpty());
    QCOMPARE(m_practice->state(next), bound());
}

void TestServerDevices::takesCommands_data()
{
    QTest::addColumn<QString>("sent");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<bool>("ofARecipe");
    QTest::newRow("RECORD") << "RECORD"
                            << "RECORD" << false;
    QTest::newRow("SELF_RECORD") << "SELF_RECORD"
                                 << "SELF_RECORD" << false;
    QTest::newRow("AUTOSPECTRUM") << "AUTOSPECTRUM"
                                  << "AUTOSPECTRUM" << false;
    QTest::newRow("RECIPE") << "RECIPE"
                            << "RECIPE" << true;
    QTest::newRow("SELF_RECIPE") << "SELF_RECIPE"
                                 << "SELF_RECIPE" << true;
    QTest::newRow("SELFRECIPE") << "SELFRECIPE"
                                << "SELF_RECIPE" << true;
}

void TestServerDevices::takesCommands()
{
    QFETCH(QString, sent);
    QFETCH(QString, shown);
    QFETCH(bool, ofARecipe);
    const QString patient = m_practice->boundPatient(newDevice());
    QString record;
    if (ofARecipe) {
        record = m_practice->record(patient);
        QCOMPARE(m_practice->client
                     ->put(recipePath, recipe(patient, record, {QStringLiteral("note-a4")}, QStringLiteral("")))
                     .status,
                 200);
        QCOMPARE(m_practice->state(patient), bound());
    }
    const ApiClient::Answer answer = m_practice->client->post(commandPath, order(patient, sent, record));
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.body, QByteArray("{}"));
    QCOMPARE(m_practice->state(patient), ordered(shown));
}

void TestServerDevices::laterCommandReplaces()
{
    const QString patient = m_practice->boundPatient(newDevice());
    QCOMPARE(m_practice->client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    // As if the device had carried it out.
    m_practice->sql(QStringLiteral("UPDATE commands SET complete = 1 WHERE patient_id = ?"), {patient});
    QCOMPARE(m_practice->state(patient), ordered(QStringLiteral("RECORD"), true));
    QCOMPARE(m_practice->client->post(commandPath, order(patient, QStringLiteral("AUTOSPECTRUM"))).status, 200);
    QCOMPARE(m_practice->state(patient), ordered(QStringLiteral("AUTOSPECTRUM")));
    QCOMPARE(m_practice->client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    QCOMPARE(m_practice->state(patient), ordered(QStringLiteral("RECORD")));
}

void TestServerDevices::commandOfARecord()
{
    const QString patient = m_practice->boundPatient(newDevice());
    const QString record = m_practice->record(patient);
    const QString kept = m_practice->record(patient);
    QCOMPARE(m_practice->client->post(commandPath, order(patient, QStringLiteral("AUTOSPECTRUM"), record)).status, 200);
    QCOMPARE(m_practice->state(patient), ordered(QStringLiteral("AUTOSPECTRUM")));
    QCOMPARE(m_practice->client->remove(QStringLiteral("/record/%1/%2").arg(patient, kept)).status, 200);
    QCOMPARE(m_practice->state(patient), ordered(QStringLiteral("AUTOSPECTRUM")));
    // A command for a record that is gone cannot be carried out.
    QCOMPARE(m_practice->client->remove(QStringLiteral("/record/%1/%2").arg(patient, record)).status, 200);
    QCOMPARE(m_practice->state(patient), bound());
    // An empty text is no record.
    QCOMPARE(m_practice->client->post(commandPath, order(patient, QStringLiteral("RECORD"), QStringLiteral(""))).status,
             200);
    QCOMPARE(m_practice->state(patient), ordered(QStringLiteral("RECORD")));
}

void TestServerDevices::commandRefuses()
{
    const QString without = m_practice->patient();
    const QString withoutRecord = m_practice->record(without);
    const QString patient = m_practice->boundPatient(newDevice());
    const QString record = m_practice->record(patient);
    const QString emptied = m_practice->record(patient);
    QCOMPARE(m_practice->client->put(recipePath, recipe(patient, emptied, {}, QStringLiteral(""))).status, 200);
    QCOMPARE(m_practice->client
                 ->put(recipePath, recipe(without, withoutRecord, {QStringLiteral("note-a4")}, QStringLiteral("")))
                 .status,
             200);
    const QString disabled = m_practice->boundPatient(newDevice());
    QCOMPARE(m_practice->client->put(devicePath, only(disabled)).status, 200);
    const QString strangers = Practice::patient(*m_stranger, QStringLiteral("Foreign"));
    const QString strangersRecord = idOf(m_stranger->upload(strangers, testWave(440)));
    QVERIFY(!strangersRecord.isEmpty());

    struct Refusal
    {
        QJsonObject body;
        int status;
        QString english;
        QString russian;
    };
    const QString noDevice = QStringLiteral("No device is bound to this patient.");
    const QString noDeviceRussian = QStringLiteral("К этому пациенту не привязан прибор.");
    const QString noCommand = QStringLiteral("The device knows no such command.");
    const QString noCommandRussian = QStringLiteral("Прибор не знает такой команды.");
    const QString noRecord = QStringLiteral("There is no such record.");
    const QString noRecordRussian = QStringLiteral("Такой записи нет.");
    const QString noRecipe = QStringLiteral("There is no recipe for this record.");
    const QString noRecipeRussian = QStringLiteral("Для этой записи нет рецепта.");
    const QString recording = QStringLiteral("RECORD");
    const QString playing = QStringLiteral("RECIPE");
    const std::vector<Refusal> refusals{
        {order(without, recording), 409, noDevice, noDeviceRussian},
        {order(without, playing, withoutRecord), 409, noDevice, noDeviceRussian},
        {order(disabled, recording), 409, QStringLiteral("The device of this patient is disabled."),
         QStringLiteral("Прибор этого пациента отключён.")},
        {order(patient, QStringLiteral("")), 400, noCommand, noCommandRussian},
        {order(patient, QStringLiteral("record")), 400, noCommand, noCommandRussian},
        {order(patient, QStringLiteral("RECORD ")), 400, noCommand, noCommandRussian},
        {order(patient, QStringLiteral("SELFRECORD")), 400, noCommand, noCommandRussian},
        {order(patient, QString(100000, QLatin1Char('R'))), 400, noCommand, noCommandRussian},
        {order(patient, playing), 400, QStringLiteral("No record was chosen."),
         QStringLiteral("Не выбрана ни одна запись.")},
        {order(patient, playing, record), 409, noRecipe, noRecipeRussian},
        {order(patient, QStringLiteral("SELFRECIPE"), record), 409, noRecipe, noRecipeRussian},
        {order(patient, playing, emptied), 409, noRecipe, noRecipeRussian},
        {order(patient, playing, withoutRecord), 404, noRecord, noRecordRussian},
        {order(patient, recording, withoutRecord), 404, noRecord, noRecordRussian},
        {order(patient, recording, strangersRecord), 404, noRecord, noRecordRussian},
        {order(patient, recording, QStringLiteral("none")), 404, noRecord, noRecordRussian},
        {order(patient, recording, QString(10000, QLatin1Char('a'))), 404, noRecord, noRecordRussian},
    };
    for (const Refusal& refusal : refusals) {
        m_practice->client->language = "en-US";
        const ApiClient::Answer english = m_practice->client->post(commandPath, refusal.body);
        QVERIFY(english.failed(refusal.status));
        QCOMPARE(english.message(), refusal.english);
        m_practice->client->language = "ru-RU";
        const ApiClient::Answer russian = m_practice->client->post(commandPath, refusal.body);
        QVERIFY(russian.failed(refusal.status));
        QCOMPARE(russian.message(), refusal.russian);
    }
    QJsonObject body = order(patient, recording);
    body[QStringLiteral("recordId")] = 5;
    QVERIFY(m_practice->client->post(commandPath, body).failed(400));
    QCOMPARE(m_practice->state(patient), bound());
    QCOMPARE(m_practice->state(without), State());
    QCOMPARE(m_practice->state(disabled), (State{true, false, QString(), false}));
}

void TestServerDevices::deletesACommand()
{
    const QString patient = m_practice->boundPatient(newDevice());
    const QString path = commandPath + QLatin1Char('/') + patient;
    QCOMPARE(m_practice->client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    const ApiClient::Answer answer = m_practice->client->remove(path);
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.body, QByteArray("{}"));
    QCOMPARE(m_practice->state(patient), bound());
    // The button is there without a command too.
    QCOMPARE(m_practice->client->remove(path).status, 200);
    QCOMPARE(m_practice->state(patient), bound());
    // Of a disabled device as well.
    QCOMPARE(m_practice->client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    QCOMPARE(m_practice->client->put(devicePath, only(patient)).status, 200);
    QCOMPARE(m_practice->client->remove(path).status, 200);
    QCOMPARE(m_practice->state(patient), (State{true, false, QString(), false}));

    const ApiClient::Answer refused =
        m_practice->client->remove(commandPath + QLatin1Char('/') + m_practice->patient());
    QVERIFY(refused.failed(409));
    QCOMPARE(refused.message(), QStringLiteral("No device is bound to this patient."));
}

void TestServerDevices::recipeWithACommand()
{
    const QString patient = m_practice->boundPatient(newDevice());
    const QString record = m_practice->record(patient);
    const QStringList markers{QStringLiteral("note-c4"), QStringLiteral("note-a4")};
    const auto saved = [&] {
        QStringList ids;
        const QJsonArray rows = m_practice->client->get(QStringLiteral("/recipe/%1/%2").arg(patient, record)).array();
        for (const QJsonValue& row : rows)
            ids.append(row.toObject().value(QStringLiteral("id")).toString());
        return ids;
    };
    const ApiClient::Answer answer =
        m_practice->client->put(recipePath, recipe(patient, record, markers, QStringLiteral("RECIPE")));
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.body, QByteArray("{}"));
    QCOMPARE(saved(), markers);
    QCOMPARE(m_practice->state(patient), ordered(QStringLiteral("RECIPE")));
    // Saved once more, the recipe of the command is still there.
    const QStringList fewer{QStringLiteral("note-a4")};
    QCOMPARE(m_practice->client->put(recipePath, recipe(patient, record, fewer, QStringLiteral("SELFRECIPE"))).status,
             200);
    QCOMPARE(saved(), fewer);
    QCOMPARE(m_practice->state(patient), ordered(QStringLiteral("SELF_RECIPE")));
    QCOMPARE(m_practice->client->put(recipePath, recipe(patient, record, markers, QStringLiteral(""))).status, 200);
    QCOMPARE(saved(), markers);
    QCOMPARE(m_practice->state(patient), ordered(QStringLiteral("SELF_RECIPE")));
}

void TestServerDevices::recipeWithARefusedCommandIsNotSaved()
{
    const QString patient = m_practice->patient();
    const QString record = m_practice->record(patient);
    const QString path = QStringLiteral("/recipe/%1/%2").arg(patient, record);
    const auto put = [&](const QStringList& markers, const QString& command) {
        return m_practice->client->put(recipePath, recipe(patient, record, markers, command));
    };
    const QStringList markers{QStringLiteral("note-a4")};
    QCOMPARE(put({QStringLiteral("note-c4")}, QStringLiteral("")).status, 200);
    const QByteArray before = m_practice->client->get(path).body;
    QVERIFY(before.contains("note-c4"));

    ApiClient::Answer answer = put(markers, QStringLiteral("RECIPE"));
    QVERIFY(answer.failed(409));
    QCOMPARE(answer.message(), QStringLiteral("No device is bound to this patient."));
    QCOMPARE(m_practice->client->get(path).body, before);

    QCOMPARE(m_practice->client->post(devicePath, binding(patient, newDevice())).status, 200);
    for (const char* command : {"RECORD", "SELF_RECORD", "AUTOSPECTRUM", "recipe", "STOP"}) {
        answer = put(markers, QString::fromLatin1(command));
        QVERIFY2(answer.failed(400), command);
        QCOMPARE(answer.message(), QStringLiteral("The device knows no such command."));
    }
    answer = put({}, QStringLiteral("RECIPE"));
    QVERIFY(answer.failed(409));
    QCOMPARE(answer.message(), QStringLiteral("There is no recipe for this record."));
    QCOMPARE(m_practice->client->get(path).body, before);
    QCOMPARE(m_practice->state(patient), bound());

    QCOMPARE(m_practice->client->put(devicePath, only(patient)).status, 200);
    answer = put(markers, QStringLiteral("RECIPE"));
    QVERIFY(answer.failed(409));
    QCOMPARE(answer.message(), QStringLiteral("The device of this patient is disabled."));
    QCOMPARE(m_practice->client->get(path).body, before);
    QCOMPARE(m_practice->state(patient), (State{true, false, QString(), false}));
}

void TestServerDevices::survivesARestart()
{
    Practice practice(QStringLiteral("restart"));
    QVERIFY(practice.open());
    const QString blocked = practice.boundPatient(QStringLiteral("blocked"));
    const QString busy = practice.boundPatient(QStringLiteral("busy"));
    QCOMPARE(practice.client->put(devicePath, only(blocked)).status, 200);
    QCOMPARE(practice.client->post(commandPath, order(busy, QStringLiteral("RECORD"))).status, 200);
    practice.server->kill();
    QVERIFY(practice.start());
    QCOMPARE(practice.state(blocked), (State{true, false, QString(), false}));
    QCOMPARE(practice.state(busy), ordered(QStringLiteral("RECORD")));
    QVERIFY(practice.client->post(devicePath, binding(blocked, QStringLiteral("busy"))).failed(409));
    QCOMPARE(practice.server->stop(SIGTERM), 0);
}

void TestServerDevices::simulatesEveryState_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<int>("newRecords");
    QTest::newRow("RECORD") << "RECORD"
                            << "RECORD" << 1;
    QTest::newRow("SELF_RECORD") << "SELF_RECORD"
                                 << "SELF_RECORD" << 1;
    QTest::newRow("AUTOSPECTRUM") << "AUTOSPECTRUM"
                                  << "AUTOSPECTRUM" << 1;
    QTest::newRow("RECIPE") << "RECIPE"
                            << "RECIPE" << 0;
    QTest::newRow("SELFRECIPE") << "SELFRECIPE"
                                << "SELF_RECIPE" << 0;
}

void TestServerDevices::simulatesEveryState()
{
    // Every row of the client's table of icons and tool tips: no device, idle, running, running but blocked, complete,
    // complete but blocked.
    QFETCH(QString, command);
    QFETCH(QString, shown);
    QFETCH(int, newRecords);
    Practice practice(QStringLiteral("states"));
    QVERIFY(practice.open(
        {QStringLiteral("--simulate-devices"), QStringLiteral("--simulate-seconds"), QStringLiteral("3600")}));
    const QString patient = practice.patient();
    QCOMPARE(practice.state(patient), State());
    QCOMPARE(practice.client->post(devicePath, binding(patient, QStringLiteral("Q-1"))).status, 200);
    QCOMPARE(practice.state(patient), bound());
    QString record;
    if (newRecords == 0) {
        record = practice.record(patient);
        QCOMPARE(practice.client->put(recipePath, recipe(patient, record, {QStringLiteral("note-a4")}, command)).status,
                 200);
    } else {
        QCOMPARE(practice.client->post(commandPath, order(patient, command)).status, 200);
    }
    QCOMPARE(practice.state(patient), ordered(shown));
    QCOMPARE(practice.client->put(devicePath, only(patient)).status, 200);
    QCOMPARE(practice.state(patient), (State{true, false, shown, false}));
    QCOMPARE(practice.client->put(devicePath, only(patient)).status, 200);
    const int before = practice.records(patient).size();
    QCOMPARE(practice.server->stop(SIGTERM), 0);

    QVERIFY(practice.start(
        {QStringLiteral("--simulate-devices"), QStringLiteral("--simulate-seconds"), QStringLiteral("0")}));
    QTRY_COMPARE_WITH_TIMEOUT(practice.state(patient), ordered(shown, true), patience);
    QCOMPARE(practice.records(patient).size(), before + newRecords);
    QCOMPARE(practice.client->put(devicePath, only(patient)).status, 200);
    QCOMPARE(practice.state(patient), (State{true, false, shown, true}));
    QCOMPARE(practice.client->put(devicePath, only(patient)).status, 200);
    // Complete is complete: nothing more comes of it.
    QCOMPARE(practice.client
                 ->post(commandPath, order(practice.boundPatient(QStringLiteral("Q-2")), QStringLiteral("RECORD")))
                 .status,
             200);
    QTRY_COMPARE_WITH_TIMEOUT(practice.sql(QStringLiteral("SELECT COUNT(*) FROM commands WHERE complete = 0")).toInt(),
                              0, patience);
    QCOMPARE(practice.records(patient).size(), before + newRecords);
    QCOMPARE(practice.client->remove(commandPath + QLatin1Char('/') + patient).status, 200);
    QCOMPARE(practice.state(patient), bound());
    QCOMPARE(practice.server->stop(SIGTERM), 0);
    QCOMPARE(practice.server->errors(), QByteArray());
}

void TestServerDevices::simulatedRecordsAreSound()
{
    Practice practice(QStringLiteral("sound"));
    QVERIFY(practice.open(
        {QStringLiteral("--simulate-devices"), QStringLiteral("--simulate-seconds"), QStringLiteral("0")}));
    const QString patient = practice.boundPatient(QStringLiteral("Q-1"));
    const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
    QCOMPARE(practice.client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    QTRY_COMPARE_WITH_TIMEOUT(practice.state(patient), ordered(QStringLiteral("RECORD"), true), patience);

    const QJsonArray records = practice.records(patient);
    QCOMPARE(records.size(), 1);
    const QJsonObject record = records.first().toObject();
    const QString id = record.value(QStringLiteral("id")).toString();
    QCOMPARE(record.value(QStringLiteral("patientId")).toString(), patient);
    QCOMPARE(record.value(QStringLiteral("doctorName")).toString(), QStringLiteral("anna"));
    const QString at = record.value(QStringLiteral("recordedAt")).toString();
    QVERIFY(QDateTime::fromString(at, Qt::ISODate) >= before);
    QCOMPARE(practice.row(patient).value(QStringLiteral("lastRecordAt")).toString(), at);

    const QByteArray wave = practice.sql(QStringLiteral("SELECT wave FROM records WHERE id = ?"), {id}).toByteArray();
    QCOMPARE(wave.size(), 66194);
    QCOMPARE(wave.left(44), testWaveHeader(66150));
    QVERIFY(server::WaveFile(wave).isValid());
    QCOMPARE(practice.sql(QStringLiteral("SELECT sensor_id FROM records WHERE id = ?"), {id}).toString(),
             QStringLiteral("Q-1"));
    const QString commandId =
        practice.sql(QStringLiteral("SELECT id FROM commands WHERE patient_id = ?"), {patient}).toString();
    QCOMPARE(wave, server::DeviceSimulator::recording(QStringLiteral("Q-1"), commandId));

    // It is a record like any other.
    const ApiClient::Answer analysis =
        practice.client->post(QStringLiteral("/analysis"), {{QStringLiteral("patientId"), patient},
                                                            {QStringLiteral("storageId"), QStringLiteral("notes")},
                                                            {QStringLiteral("records"), QJsonArray{id}}});
    QCOMPARE(analysis.status, 200);
    QCOMPARE(practice.client->remove(QStringLiteral("/record/%1/%2").arg(patient, id)).status, 200);
    QCOMPARE(practice.state(patient), ordered(QStringLiteral("RECORD"), true));
    QCOMPARE(practice.server->stop(SIGTERM), 0);
}

void TestServerDevices::simulatedRecordsDiffer()
{
    using server::DeviceSimulator;
    QSet<QByteArray> waves;
    int made = 0;
    for (int device = 0; device < 6; ++device) {
        for (int command = 0; command < 6; ++command) {
            const QByteArray wave = DeviceSimulator::recording(QString::number(device), QString::number(command));
            QVERIFY(server::WaveFile(wave).isValid());
            QCOMPARE(DeviceSimulator::recording(QString::number(device), QString::number(command)), wave);
            waves.insert(wave);
            ++made;
        }
    }
    QCOMPARE(waves.size(), made);
}

void TestServerDevices::simulatedDevicesWait()
{
    Practice practice(QStringLiteral("wait"));
    QVERIFY(practice.open(
        {QStringLiteral("--simulate-devices"), QStringLiteral("--simulate-seconds"), QStringLiteral("3600")}));
    const QString due = practice.boundPatient(QStringLiteral("Q-1"));
    const QString early = practice.boundPatient(QStringLiteral("Q-2"));
    for (const QString& patient : {early, due})
        QCOMPARE(practice.client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    const auto sentBefore = [&practice](const QString& patient, int seconds) {
        practice.sql(QStringLiteral("UPDATE commands SET sent_at = ? WHERE patient_id = ?"),
                     {QDateTime::currentDateTimeUtc().addSecs(-seconds).toString(Qt::ISODateWithMs), patient});
    };
    sentBefore(early, 3000);
    sentBefore(due, 3601);
    QTRY_COMPARE_WITH_TIMEOUT(practice.state(due), ordered(QStringLiteral("RECORD"), true), patience);
    QCOMPARE(practice.state(early), ordered(QStringLiteral("RECORD")));
    QCOMPARE(practice.records(early).size(), 0);
    QCOMPARE(practice.server->stop(SIGTERM), 0);
}

void TestServerDevices::simulatedDevicesRespectDisabling()
{
    Practice practice(QStringLiteral("disabled"));
    QVERIFY(practice.open());
    const QString disabled = practice.boundPatient(QStringLiteral("Q-1"));
    const QString other = practice.boundPatient(QStringLiteral("Q-2"));
    for (const QString& patient : {disabled, other})
        QCOMPARE(practice.client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    QCOMPARE(practice.client->put(devicePath, only(disabled)).status, 200);
    QCOMPARE(practice.server->stop(SIGTERM), 0);

    QVERIFY(practice.start(
        {QStringLiteral("--simulate-devices"), QStringLiteral("--simulate-seconds"), QStringLiteral("0")}));
    // The command of the disabled one is the older.
    QTRY_COMPARE_WITH_TIMEOUT(practice.state(other), ordered(QStringLiteral("RECORD"), true), patience);
    QCOMPARE(practice.state(disabled), (State{true, false, QStringLiteral("RECORD"), false}));
    QCOMPARE(practice.records(disabled).size(), 0);
    QCOMPARE(practice.client->put(devicePath, only(disabled)).status, 200);
    QTRY_COMPARE_WITH_TIMEOUT(practice.state(disabled), ordered(QStringLiteral("RECORD"), true), patience);
    QCOMPARE(practice.records(disabled).size(), 1);
    QCOMPARE(practice.server->stop(SIGTERM), 0);
}

void TestServerDevices::simulatedDevicesForgetWhatIsDropped()
{
    Practice practice(QStringLiteral("dropped"));
    QVERIFY(practice.open());
    const QString dropped = practice.boundPatient(QStringLiteral("Q-1"));
    const QString unbound = practice.boundPatient(QStringLiteral("Q-2"));
    const QString other = practice.boundPatient(QStringLiteral("Q-3"));
    for (const QString& patient : {dropped, unbound, other})
        QCOMPARE(practice.client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    QCOMPARE(practice.client->remove(commandPath + QLatin1Char('/') + dropped).status, 200);
    QCOMPARE(practice.client->remove(devicePath + QLatin1Char('/') + unbound).status, 200);
    QCOMPARE(practice.server->stop(SIGTERM), 0);

    QVERIFY(practice.start(
        {QStringLiteral("--simulate-devices"), QStringLiteral("--simulate-seconds"), QStringLiteral("0")}));
    QTRY_COMPARE_WITH_TIMEOUT(practice.state(other), ordered(QStringLiteral("RECORD"), true), patience);
    QCOMPARE(practice.records(dropped).size(), 0);
    QCOMPARE(practice.records(unbound).size(), 0);
    QCOMPARE(practice.state(dropped), bound());
    QCOMPARE(practice.state(unbound), State());
    QCOMPARE(practice.server->stop(SIGTERM), 0);
}

void TestServerDevices::simulationGoesOnAfterARestart()
{
    Practice practice(QStringLiteral("pending"));
    QVERIFY(practice.open(
        {QStringLiteral("--simulate-devices"), QStringLiteral("--simulate-seconds"), QStringLiteral("3600")}));
    const QString patient = practice.boundPatient(QStringLiteral("Q-1"));
    QCOMPARE(practice.client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    practice.server->kill();
    QVERIFY(practice.start(
        {QStringLiteral("--simulate-devices"), QStringLiteral("--simulate-seconds"), QStringLiteral("1")}));
    QTRY_COMPARE_WITH_TIMEOUT(practice.state(patient), ordered(QStringLiteral("RECORD"), true), patience);
    QCOMPARE(practice.records(patient).size(), 1);
    QCOMPARE(practice.server->stop(SIGTERM), 0);
}

void TestServerDevices::simulatorsShareTheWork()
{
    const QStringList options{QStringLiteral("--simulate-devices"), QStringLiteral("--simulate-seconds"),
                              QStringLiteral("0")};
    Practice practice(QStringLiteral("shared"));
    QVERIFY(practice.open(options));
    ServerProcess second;
    QVERIFY(second.start(practice.path(), options));
    QStringList patients;
    for (int i = 0; i < 8; ++i)
        patients.append(practice.boundPatient(QStringLiteral("Q-%1").arg(i)));
    constexpr int rounds = 3;
    for (int round = 0; round < rounds; ++round) {
        for (const QString& patient : qAsConst(patients))
            QCOMPARE(practice.client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
        for (const QString& patient : qAsConst(patients))
            QTRY_COMPARE_WITH_TIMEOUT(practice.state(patient), ordered(QStringLiteral("RECORD"), true), patience);
    }
    for (const QString& patient : qAsConst(patients))
        QCOMPARE(practice.records(patient).size(), rounds);
    QCOMPARE(second.stop(SIGTERM), 0);
    QCOMPARE(second.errors(), QByteArray());
    QCOMPARE(practice.server->stop(SIGTERM), 0);
    QCOMPARE(practice.server->errors(), QByteArray());
}

void TestServerDevices::simulationStops_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << int(SIGTERM);
    QTest::newRow("SIGINT") << int(SIGINT);
}

void TestServerDevices::simulationStops()
{
    QFETCH(int, signal);
    Practice practice(QStringLiteral("stops"));
    QVERIFY(practice.open({QStringLiteral("--simulate-devices")}));
    QVERIFY(practice.server->output().contains("remote devices are simulated\n"));
    const QString patient = practice.boundPatient(QStringLiteral("Q-1"));
    QCOMPARE(practice.client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    QCOMPARE(practice.server->stop(signal), 0);
    QCOMPARE(practice.server->errors(), QByteArray());
    QVERIFY(practice.server->output().endsWith("\nstopped\n"));
    for (int i = 0; i < 5; ++i) {
        QVERIFY(practice.start({QStringLiteral("--simulate-devices")}));
        QCOMPARE(practice.server->stop(signal), 0);
    }
}

void TestServerDevices::withoutSimulationNothingHappens()
{
    Practice practice(QStringLiteral("plain"));
    QVERIFY(practice.open());
    const QString patient = practice.boundPatient(QStringLiteral("Q-1"));
    QCOMPARE(practice.client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    // Several of the intervals at which a simulator looks.
    QTest::qWait(1000);
    QCOMPARE(practice.state(patient), ordered(QStringLiteral("RECORD")));
    QCOMPARE(practice.server->stop(SIGTERM), 0);
}

void TestServerDevices::simulationOutlivesAFailure()
{
    Practice practice(QStringLiteral("failure"));
    QVERIFY(practice.open(
        {QStringLiteral("--simulate-devices"), QStringLiteral("--simulate-seconds"), QStringLiteral("0")}));
    const QString patient = practice.boundPatient(QStringLiteral("Q-1"));
    const bool postgres = TestDatabase::isPostgres();
    practice.sql(postgres ? QStringLiteral("CREATE FUNCTION fail() RETURNS trigger LANGUAGE plpgsql AS "
                                           "'BEGIN RAISE EXCEPTION ''broken''; END'; "
                                           "CREATE TRIGGER broken BEFORE INSERT ON records "
                                           "FOR EACH ROW EXECUTE FUNCTION fail()")
                          : QStringLiteral("CREATE TRIGGER broken BEFORE INSERT ON records "
                                           "BEGIN SELECT RAISE(ABORT, 'broken'); END"));
    QCOMPARE(practice.client->post(commandPath, order(patient, QStringLiteral("RECORD"))).status, 200);
    QByteArray errors;
    QTRY_VERIFY_WITH_TIMEOUT((errors += practice.server->errors()).contains("broken"), patience);
    QVERIFY(errors.startsWith("quelmar-server: simulated devices: "));
    // Several of the intervals at which it tries again, and says so only once.
    QTest::qWait(1000);
    // Neither the record nor the command is half done.
    QCOMPARE(practice.state(patient), ordered(QStringLiteral("RECORD")));
    practice.sql(QStringLiteral("DROP TRIGGER broken") + (postgres ? QStringLiteral(" ON records") : QString()));
    QTRY_COMPARE_WITH_TIMEOUT(practice.state(patient), ordered(QStringLiteral("RECORD"), true), patience);
    QCOMPARE(practice.records(patient).size(), 1);
    errors += practice.server->errors();
    QCOMPARE(errors.count('\n'), 1);
    QCOMPARE(practice.server->stop(SIGTERM), 0);
}

void TestServerDevices::makesAnAutospectrum()
{
    const QString patient = m_practice->patient();
    const QString record = m_practice->record(patient, 440);
    const auto made = [&](const QJsonObject& more) {
        QJsonObject body{{QStringLiteral("patientId"), patient}, {QStringLiteral("recordId"), record}};
        for (const QString& key : more.keys())
            body[key] = more.value(key);
        return m_practice->client->post(autospectrumPath, body);
    };
    const ApiClient::Answer answer = made({{QStringLiteral("deviceId"), QStringLiteral("Q-1")}});
    QCOMPARE(answer.status, 200);
    QVERIFY(answer.contentType.startsWith("text/plain"));
    const QJsonDocument document = QJsonDocument::fromJson(gunzipped(QByteArray::fromBase64(answer.body)));
    QVERIFY(document.isArray());
    QCOMPARE(document.array().size(), 1);
    const QByteArray block = QByteArray::fromBase64(document.array().first().toString().toLatin1());
    QCOMPARE(block.size(), 65709);
    QCOMPARE(block, server::Autospectrum::block(testWave(440).mid(44)));

    // Without a sensor, and without the key.
    QCOMPARE(made({{QStringLiteral("deviceId"), QStringLiteral("")}}).body, answer.body);
    QCOMPARE(made({}).body, answer.body);
}

void TestServerDevices::autospectrumOfSilence()
{
    const QString patient = m_practice->patient();
    const ApiClient::Answer answer =
        m_practice->client->post(autospectrumPath, {{QStringLiteral("patientId"), patient},
                                                    {QStringLiteral("recordId"), m_practice->record(patient, 0)}});
    QCOMPARE(answer.status, 200);
    const QJsonArray blocks = QJsonDocument::fromJson(gunzipped(QByteArray::fromBase64(answer.body))).array();
    QCOMPARE(blocks.size(), 1);
    QCOMPARE(QByteArray::fromBase64(blocks.first().toString().toLatin1()), QByteArray(65709, char(128)));
}

void TestServerDevices::autospectrumRefuses_data()
{
    QTest::addColumn<QString>("record");
    QTest::newRow("empty") << "";
    QTest::newRow("unknown") << "none";
    QTest::newRow("long") << QString(10000, QLatin1Char('a'));
    QTest::newRow("quotes") << "' OR '1'='1";
    QTest::newRow("of another patient") << "other";
    QTest::newRow("of another practitioner") << "stranger";
}

void TestServerDevices::autospectrumRefuses()
{
    QFETCH(QString, record);
    if (record == QLatin1String("other")) {
        record = m_practice->record(m_practice->patient());
    } else if (record == QLatin1String("stranger")) {
        record = idOf(m_stranger->upload(Practice::patient(*m_stranger, QStringLiteral("Foreign")), testWave(440)));
    }
    QVERIFY(!record.isNull());
    const QJsonObject body{{QStringLiteral("patientId"), m_practice->patient()}, {QStringLiteral("recordId"), record}};
    const ApiClient::Answer english = m_practice->client->post(autospectrumPath, body);
    QVERIFY(english.failed(404));
    QCOMPARE(english.message(), QStringLiteral("There is no such record."));
    m_practice->client->language = "ru-RU";
    QCOMPARE(m_practice->client->post(autospectrumPath, body).message(), QStringLiteral("Такой записи нет."));

    QJsonObject wrong = body;
    wrong[QStringLiteral("deviceId")] = 5;
    QVERIFY(m_practice->client->post(autospectrumPath, wrong).failed(400));
}

QTEST_GUILESS_MAIN(TestServerDevices)

#include "TestServerDevices.moc"
