// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/HttpServer.h"
#include "server/LineWriter.h"
#include "server/RequestLog.h"
#include "server/Secrets.h"
#include "tests/server/ApiClient.h"
#include "tests/server/PostgresCluster.h"
#include "tests/server/ServerProcess.h"
#include "tests/server/TestDatabase.h"
#include "tests/server/TestWave.h"

#include <QDateTime>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QSqlError>
#include <QSqlQuery>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

using server::LineWriter;
using server::RequestLog;

namespace {

constexpr int patience = 60000;

// Values that stand nowhere by chance.
const QString practitioner = QStringLiteral("prkxqz-Врачева");
const QString fullName = QStringLiteral("Dr. Fullqzx Nämeqzx");
const QString password = QStringLiteral("pwqzjx7 ünlösbar%&=");
const QString newPassword = QStringLiteral("neupwvkq9 +/\\\"x");
const QString patientName = QStringLiteral("Patzkqx Ольгавкъ");
const QString otherName = QStringLiteral("Umbenqkxz Vornqkxz");
const QString phone = QStringLiteral("+49 30 918273645091");
const QString notes = QStringLiteral("Ntzqkx says: \"headache\";\nвторъястрока");
const QString needle = QStringLiteral("Ndlqxzv suche");
const QByteArray sensor = "SNSRQX-8877665544";
const QString device = QStringLiteral("DVCQKZ-1122334455");
const QString symptom = QStringLiteral("Symqzkxptom der Hand");
const QString wrongPassword = QStringLiteral("wrngqzxpw");
const QByteArray wrongToken = "WRNGTKNQZX0000000000000000000000000000000000";
const QByteArray hiddenPath = "hddnpthqzx";

QString textOf(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1String(key)).toString();
}

/// All ways in which a piece of data may be written down, with a name each.
QVector<QPair<QByteArray, QByteArray>> spellings(const QByteArray& data)
{
    QVector<QPair<QByteArray, QByteArray>> all{{"plain", data}};
    all.append({"hex", data.toHex()});
    all.append({"spaced hex", data.toHex(' ')});
    all.append({"percent-encoded", data.toPercentEncoding()});
    QByteArray each;
    for (const char c : data)
        each += '%' + QByteArray(1, c).toHex();
    all.append({"percent-encoded throughout", each});
    QByteArray escaped;
    for (const QChar c : QString::fromUtf8(data))
        escaped += c.unicode() < 0x80 ? QByteArray(1, char(c.unicode()))
                                      : "\\u" + QByteArray::number(c.unicode(), 16).rightJustified(4, '0');
    all.append({"as JSON", escaped});
    for (int shift = 0; shift < 3; ++shift) {
        // Only the signs that depend on nothing before and after the data.
        const int first = (shift * 8 + 5) / 6;
        const int end = (shift + data.size()) * 8 / 6;
        const QByteArray base64 = (QByteArray(shift, '\0') + data).toBase64().mid(first, end - first);
        all.append({"base64", base64});
        all.append({"URL-safe base64", QByteArray(base64).replace('+', '-').replace('/', '_')});
        all.append({"needle", QByteArray(base64).replace('+', '.').replace('/', '_')});
    }
    return all;
}

/// How the data are written in the text, or nothing if they are not in it.
QByteArray found(const QByteArray& text, const QByteArray& data)
{
    const QByteArray low = text.toLower();
    for (const auto& spelling : spellings(data)) {
        // A log may have any case of what is not base64.
        const bool exact = spelling.first.contains("base64") || spelling.first == "needle";
        if (exact ? text.contains(spelling.second) : low.contains(spelling.second.toLower()))
            return spelling.first;
    }
    return QByteArray();
}

/// A line about a request, taken apart; not valid if it is not exactly of that form.
struct Line
{
    explicit Line(const QByteArray& text)
    {
        static const QRegularExpression form(
            QStringLiteral("^time=(\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z) id=([0-9a-f]{32}) "
                           "method=(-|[A-Z]+) path=(-|/[a-z/{}]*) status=(\\d{3}) ms=(-|\\d+\\.\\d{3}) "
                           "bytes=(\\d+)$"));
        const QRegularExpressionMatch match = form.match(QString::fromLatin1(text));
        valid = match.hasMatch();
        time = QDateTime::fromString(match.captured(1), Qt::ISODateWithMs);
        id = match.captured(2).toLatin1();
        method = match.captured(3).toLatin1();
        path = match.captured(4).toLatin1();
        status = match.captured(5).toInt();
        milliseconds = match.captured(6).toLatin1();
        bytes = match.captured(7).toInt();
    }

    /// What a test can foretell.
    QByteArray essence() const { return method + ' ' + path + ' ' + QByteArray::number(status); }

    bool valid = false;
    QDateTime time;
    QByteArray id;
    QByteArray method;
    QByteArray path;
    int status = 0;
    QByteArray milliseconds;
    int bytes = 0;
};

/// "GET /record/{p}" for each operation that the manual names.
QSet<QByteArray> documentedOperations()
{
    QFile file(QStringLiteral(QUELMAR_SOURCE_DIR "/docs/server.md"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    static const QRegularExpression row(QStringLiteral("^\\| `(GET|POST|PUT|DELETE) (/[a-z/{}]*?)/?(\\?[^`]*)?` \\|"),
                                        QRegularExpression::MultilineOption);
    QSet<QByteArray> operations;
    auto match = row.globalMatch(QString::fromUtf8(file.readAll()));
    while (match.hasNext()) {
        const QRegularExpressionMatch one = match.next();
        operations.insert(one.captured(1).toLatin1() + ' ' + one.captured(2).toLatin1());
    }
    return operations;
}

bool sql(const QString& statement)
{
    QSqlQuery query;
    if (query.exec(statement))
        return true;
    qWarning("%s", qPrintable(query.lastError().text()));
    return false;
}

/// Everything that can be read at once.
QByteArray readAll(int descriptor)
{
    QByteArray all;
    char piece[4096];
    pollfd entry{descriptor, POLLIN, 0};
    while (poll(&entry, 1, 0) > 0 && (entry.revents & POLLIN) != 0) {
        const ssize_t got = ::read(descriptor, piece, sizeof piece);
        if (got <= 0)
            break;
        all.append(piece, int(got));
    }
    return all;
}

/// A pipe of two pages: there is room as long as one of them is empty.
struct Pipe
{
    Pipe()
    {
        int ends[2] = {-1, -1};
        if (::pipe2(ends, O_CLOEXEC) == 0) {
            reader = ends[0];
            writer = ends[1];
            ::fcntl(writer, F_SETPIPE_SZ, 8192);
        }
    }
    ~Pipe()
    {
        closeReader();
        ::close(writer);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void closeReader()
    {
        if (reader >= 0)
            ::close(reader);
        reader = -1;
    }

    int reader = -1;
    int writer = -1;
};

} // namespace

/// What the server says about requests on its error output: a line each, nothing of what clients have sent, and no
/// harm from whoever reads it or does not.
class TestServerLog : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void searchFinds_data();
    void searchFinds();
    void lineReads();
    void writesWholeLines();
    void dropsLinesThatFindNoRoom();
    void goesOnWithoutAReader();
    void exceptionHasOneLine();

    void everyOperation();
    void everyFailure();
    void failuresOfTheDatabase();
    void databaseAway();
    void idsAreTheServersOwn();
    void manyAtOnce();
    void levels_data();
    void levels();
    void refusesALevel();
    void fullErrorOutput();
    void brokenErrorOutput();
    void closedErrorOutput();

private:
    bool serve(const QStringList& options = {});
    /// Remembers what the answer says about the request that was just made.
    ApiClient::Answer expect(const QByteArray& method, const QByteArray& path, const ApiClient::Answer& answer);
    void useEveryOperation(bool failing);
    QByteArray raw(const QByteArray& request);
    /// The server with an error output that is not the test's; the address, or nothing.
    QString startApart(QProcess& process, const QString& program, const QStringList& arguments);
    /// Fails the test if a line is missing or too many, or if anything shows.
    void checkLog();

    std::unique_ptr<TestDatabase> m_database;
    std::unique_ptr<ServerProcess> m_server;
    std::unique_ptr<ApiClient> m_client;
    QList<QByteArray> m_expected; ///< essences of lines, in order
    QList<QByteArray> m_ids;      ///< that the answers bore, or empty where unknown
    QSet<QByteArray> m_done;      ///< operations
    QList<QByteArray> m_secrets;
};

void TestServerLog::init()
{
    QVERIFY(server::Secrets::initialize());
    m_database = std::make_unique<TestDatabase>();
    m_expected.clear();
    m_ids.clear();
    m_done.clear();
    m_secrets.clear();
    for (const QString& text : {practitioner, fullName, password, newPassword, patientName, otherName, phone, notes,
                                needle, device, symptom, wrongPassword})
        m_secrets.append(text.toUtf8());
    m_secrets += {"Patzkqx",
                  "Umbenqkxz",
                  "Ntzqkx",
                  "prkxqz",
                  sensor,
                  wrongToken,
                  hiddenPath,
                  testWave(437).mid(2000, 24),
                  testWave(437).right(24)};
}

void TestServerLog::cleanup()
{
    m_client.reset();
    m_server.reset();
    m_database.reset();
}

bool TestServerLog::serve(const QStringList& options)
{
    if (!ServerProcess::addPractitioner(m_database->location(), practitioner, password,
                                        {QStringLiteral("--full-name"), fullName}) ||
        !m_database->connect())
        return false;
    m_server = std::make_unique<ServerProcess>();
    if (!m_server->start(m_database->location(), options))
        return false;
    m_client = std::make_unique<ApiClient>(m_server->url());
    return true;
}

ApiClient::Answer TestServerLog::expect(const QByteArray& method, const QByteArray& path,
                                        const ApiClient::Answer& answer)
{
    m_expected.append(method + ' ' + path + ' ' + QByteArray::number(answer.status));
    m_ids.append(answer.requestId);
    m_done.insert(method + ' ' + path);
    return answer;
}

QByteArray TestServerLog::raw(const QByteArray& request)
{
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), m_server->port());
    socket.write(request);
    QByteArray received;
    while (socket.state() != QAbstractSocket::UnconnectedState && socket.waitForReadyRead(patience))
        received += socket.readAll();
    return received + socket.readAll();
}

QString TestServerLog::startApart(QProcess& process, const QString& program, const QStringList& arguments)
{
    process.start(program, arguments + QStringList{QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0"),
                                                   QStringLiteral("--database"), m_database->location()});
    static const QRegularExpression line(QStringLiteral("listening on (\\S+)"));
    QByteArray output;
    while (process.waitForReadyRead(patience)) {
        output += process.readAllStandardOutput();
        const QRegularExpressionMatch match = line.match(QString::fromUtf8(output));
        if (match.hasMatch())
            return match.captured(1);
    }
    return QString();
}

void TestServerLog::checkLog()
{
    QTRY_VERIFY_WITH_TIMEOUT(m_server->requestLines().size() >= m_expected.size(), patience);
    QCOMPARE(m_server->stop(SIGTERM), 0);
    const QList<QByteArray> lines = m_server->requestLines();
    QSet<QByteArray> ids;
    for (int i = 0; i < lines.size(); ++i) {
        const Line line(lines.at(i));
        QVERIFY2(line.valid, lines.at(i).constData());
        QVERIFY2(i < m_expected.size(), lines.at(i).constData());
        QCOMPARE(line.essence(), m_expected.at(i));
        if (!m_ids.at(i).isEmpty())
            QCOMPARE(line.id, m_ids.at(i));
        QVERIFY(!ids.contains(line.id));
        ids.insert(line.id);
        QVERIFY(qAbs(line.time.secsTo(QDateTime::currentDateTimeUtc())) < 3600);
    }
    QCOMPARE(lines.size(), m_expected.size());
    const QByteArray said = m_server->log() + m_server->output();
    for (const QByteArray& secret : qAsConst(m_secrets)) {
        const QByteArray spelling = found(said, secret);
        QVERIFY2(spelling.isEmpty(), QByteArray(secret.left(60) + " shows: " + spelling).constData());
    }
}

void TestServerLog::searchFinds_data()
{
    QTest::addColumn<QByteArray>("text");
    const QByteArray data = patientName.toUtf8();
    QTest::newRow("plain") << "name=" + data + '.';
    QTest::newRow("upper case") << "name=" + patientName.toUpper().toUtf8().replace(data.mid(7), data.mid(7));
    QTest::newRow("percent-encoded") << "?needle=" + data.toPercentEncoding();
    QTest::newRow("lower percent-encoded") << "?needle=" + data.toPercentEncoding().toLower();
    QTest::newRow("hex") << "X'" + data.toHex().toUpper() + '\'';
    QTest::newRow("JSON") << QByteArray(
        "{\"name\":\"Patzkqx \\u041e\\u043B\\u044c\\u0433\\u0430\\u0432\\u043a\\u044a\"}");
    for (int before = 0; before < 6; ++before) {
        const QByteArray around = QByteArray(before, 'x') + data + "tail";
        QTest::addRow("base64 after %d bytes", before) << "a=" + around.toBase64();
        QTest::addRow("needle after %d bytes", before)
            << "a=" + around.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
    }
}

void TestServerLog::searchFinds()
{
    QFETCH(QByteArray, text);
    // Of a name in another case the part in the Latin alphabet is enough.
    const QByteArray data =
        QTest::currentDataTag() == QByteArray("upper case") ? QByteArray("Patzkqx") : patientName.toUtf8();
    QVERIFY(!found(text, data).isEmpty());
    QVERIFY(found(text, otherName.toUtf8()).isEmpty());
}

void TestServerLog::lineReads()
{
    RequestLog::Entry entry;
    entry.time = QDateTime(QDate(2021, 3, 1), QTime(9, 15, 30, 125), Qt::OffsetFromUTC, 3600);
    entry.id = "0123";
    entry.method = "GET";
    entry.pattern = "/record/{p}/{r}";
    entry.status = 200;
    entry.milliseconds = 3.20749;
    entry.bytes = 512;
    QCOMPARE(RequestLog::line(entry), QByteArray("time=2021-03-01T08:15:30.125Z id=0123 method=GET "
                                                 "path=/record/{p}/{r} status=200 ms=3.207 bytes=512"));
    entry.milliseconds = 123456.7;
    QVERIFY(RequestLog::line(entry).contains(" ms=123456.700 "));
    entry.milliseconds.reset();
    entry.method.clear();
    entry.pattern.clear();
    entry.status = 414;
    QCOMPARE(RequestLog::line(entry),
             QByteArray("time=2021-03-01T08:15:30.125Z id=0123 method=- path=- status=414 ms=- bytes=512"));
}

void TestServerLog::writesWholeLines()
{
    Pipe pipe;
    LineWriter writer(pipe.writer);
    QVERIFY(writer.write("one"));
    QVERIFY(writer.write("two\nlines\r\x1b[31m\x7f."));
    QVERIFY(writer.failure("it broke"));
    QVERIFY(writer.failure("it broke", "00ff"));
    QCOMPARE(readAll(pipe.reader), QByteArray("one\ntwo lines  [31m .\nquelmar-server: it broke\n"
                                              "quelmar-server: id=00ff it broke\n"));
    QVERIFY(writer.write(QByteArray(5000, 'x')));
    QCOMPARE(readAll(pipe.reader), QByteArray(LineWriter::maxLineBytes - 1, 'x') + '\n');
    QCOMPARE(writer.dropped(), quint64(0));
}

void TestServerLog::dropsLinesThatFindNoRoom()
{
    Pipe pipe;
    LineWriter writer(pipe.writer);
    const QByteArray line(999, 'x');
    int written = 0;
    while (writer.write(line) && written < 10)
        ++written;
    QVERIFY(written >= 1 && written < 10);
    QVERIFY(!writer.write(line));
    QVERIFY(!writer.write(line));
    QCOMPARE(writer.dropped(), quint64(3));
    QCOMPARE(readAll(pipe.reader), QByteArray(line + '\n').repeated(written));
    QVERIFY(writer.write("again"));
    QVERIFY(writer.write("and again"));
    QCOMPARE(readAll(pipe.reader), QByteArray("quelmar-server: 3 lines of the log were dropped\nagain\nand again\n"));
    QCOMPARE(writer.dropped(), quint64(3));
}

void TestServerLog::goesOnWithoutAReader()
{
    Pipe pipe;
    LineWriter writer(pipe.writer);
    QVERIFY(writer.write("heard"));
    pipe.closeReader();
    QVERIFY(!writer.write("unheard"));
    QVERIFY(!writer.write("unheard"));
    LineWriter closed(-1);
    QVERIFY(!closed.write("unheard"));
    QCOMPARE(writer.dropped(), quint64(2));
}

void TestServerLog::exceptionHasOneLine()
{
    struct Thrower : server::RequestHandler
    {
        server::Reply handle(const server::Request&) override { throw std::runtime_error("inner"); }
        server::Reply refuse(int status, const QByteArray&) override
        {
            server::Reply reply;
            reply.status = status;
            reply.body = "sorry";
            return reply;
        }
    };

    Pipe pipe;
    LineWriter writer(pipe.writer);
    Thrower thrower;
    RequestLog log(thrower, RequestLog::Level::Failures, writer);
    server::HttpServer http(log);
    QString error;
    QVERIFY2(http.bind(QStringLiteral("127.0.0.1"), 0, error), qPrintable(error));
    std::thread running([&http] { http.run(); });
    const ApiClient::Answer answer =
        ApiClient(QStringLiteral("http://127.0.0.1:%1").arg(http.port())).get(QStringLiteral("/x"));
    http.stop();
    running.join();
    QCOMPARE(answer.status, 500);
    const QByteArray said = readAll(pipe.reader);
    QCOMPARE(said.count('\n'), 1);
    const Line line(said.trimmed());
    QVERIFY2(line.valid, said.constData());
    QCOMPARE(line.essence(), QByteArray("- - 500"));
    QCOMPARE(line.id, answer.requestId);
    QCOMPARE(line.bytes, 5);
}

/// Each operation once; on a sound database all succeed, on one that fails none does.
void TestServerLog::useEveryOperation(bool failing)
{
    const int status = failing ? 500 : 200;
    const auto check = [&](const QByteArray& method, const QByteArray& path, const ApiClient::Answer& answer) {
        if (answer.status != status)
            qWarning("%s %s: %d %s", method.constData(), path.constData(), answer.status,
                     answer.body.left(200).constData());
        return expect(method, path, answer);
    };
    // Ids of nobody serve a database that fails as well.
    QString patient = QStringLiteral("ptntidqzx0000000000000");
    QString record = QStringLiteral("rcrdidqzx0000000000000");
    QString storage = QStringLiteral("strgidqzx");
    QString marker = QStringLiteral("note-a4");

    const ApiClient::Answer entry = check("POST", "/auth/login", m_client->login(practitioner, password));
    if (failing)
        m_client->token = wrongToken;
    m_secrets.append(m_client->token);
    m_secrets.append(m_client->token.left(20));
    check("GET", "/auth/updates", m_client->get(QStringLiteral("/auth/updates/?version=9.87.65")));
    check("PUT", "/auth/locale",
          m_client->put(QStringLiteral("/auth/locale"), {{QStringLiteral("locale"), QStringLiteral("de")},
                                                         {QStringLiteral("country"), QStringLiteral("DE")}}));
    QJsonObject body{{QStringLiteral("name"), patientName},
                     {QStringLiteral("birthDate"), QStringLiteral("1971-02-03")},
                     {QStringLiteral("gender"), QStringLiteral("FEMALE")},
                     {QStringLiteral("phone"), phone},
                     {QStringLiteral("notes"), notes}};
    const ApiClient::Answer made = check("POST", "/patient", m_client->post(QStringLiteral("/patient"), body));
    if (!failing)
        patient = textOf(made.object(), "id");
    m_secrets.append(patient.toUtf8());
    body.insert(QStringLiteral("id"), patient);
    body.insert(QStringLiteral("name"), otherName);
    check("PUT", "/patient", m_client->put(QStringLiteral("/patient"), body));
    check("GET", "/patient", m_client->get(QStringLiteral("/patient")));
    check("GET", "/patient/filter",
          m_client->get(ApiClient::filter(QStringLiteral("name"), QStringLiteral("asc"), 10, 0, QStringLiteral("notes"),
                                          needle)));
    const ApiClient::Answer uploaded = check("POST", "/record", m_client->upload(patient, testWave(437), sensor));
    if (!failing)
        record = textOf(uploaded.object(), "id");
    m_secrets.append(record.toUtf8());
    check("GET", "/record/{p}", m_client->get(QStringLiteral("/record/") + patient));
    const ApiClient::Answer categories =
        check("GET", "/category/diagnostic/{p}", m_client->get(QStringLiteral("/category/diagnostic/") + patient));
    if (!failing)
        storage = textOf(
            categories.array().first().toObject().value(QStringLiteral("storages")).toArray().first().toObject(), "id");
    check("GET", "/category/corrective/{p}", m_client->get(QStringLiteral("/category/corrective/") + patient));
    const QJsonObject analysis{{QStringLiteral("patientId"), patient},
                               {QStringLiteral("storageId"), storage},
                               {QStringLiteral("records"), QJsonArray{record}}};
    check("POST", "/analysis", m_client->post(QStringLiteral("/analysis"), analysis));
    check("POST", "/analysis/summary", m_client->post(QStringLiteral("/analysis/summary"), analysis));
    check("POST", "/analysis/comparative", m_client->post(QStringLiteral("/analysis/comparative"), analysis));
    check("PUT", "/patient/questionnaire/{p}",
          m_client->put(QStringLiteral("/patient/questionnaire/") + patient, {{record, QJsonObject{{symptom, 3}}}}));
    check("POST", "/patient/questionnaire", m_client->post(QStringLiteral("/patient/questionnaire"), analysis));
    check("POST", "/patient/device",
          m_client->post(QStringLiteral("/patient/device"),
                         {{QStringLiteral("patientId"), patient}, {QStringLiteral("deviceId"), device}}));
    for (int i = 0; i < 2; ++i)
        check("PUT", "/patient/device",
              m_client->put(QStringLiteral("/patient/device"), {{QStringLiteral("patientId"), patient}}));
    const QJsonObject recipe{{QStringLiteral("patientId"), patient},
                             {QStringLiteral("recordId"), record},
                             {QStringLiteral("markers"), QJsonArray{marker}},
                             {QStringLiteral("duration"), 1},
                             {QStringLiteral("deviceId"), device},
                             {QStringLiteral("command"), QStringLiteral("")}};
    check("PUT", "/recipe", m_client->put(QStringLiteral("/recipe"), recipe));
    check("GET", "/recipe/{p}/{r}", m_client->get(QStringLiteral("/recipe/%1/%2").arg(patient, record)));
    check("POST", "/recipe", m_client->post(QStringLiteral("/recipe"), recipe));
    check("POST", "/recipe/autospectrum", m_client->post(QStringLiteral("/recipe/autospectrum"), recipe));
    check("POST", "/command",
          m_client->post(QStringLiteral("/command"), {{QStringLiteral("patientId"), patient},
                                                      {QStringLiteral("command"), QStringLiteral("RECORD")}}));
    check("DELETE", "/command/{p}", m_client->remove(QStringLiteral("/command/") + patient));
    check("DELETE", "/patient/device/{p}", m_client->remove(QStringLiteral("/patient/device/") + patient));
    check("POST", "/export/excel",
          m_client->post(QStringLiteral("/export/excel"), {{QStringLiteral("patientId"), patient}}));
    check("DELETE", "/record/{p}/{r}", m_client->remove(QStringLiteral("/record/%1/%2").arg(patient, record)));
    check("DELETE", "/patient/{p}", m_client->remove(QStringLiteral("/patient/") + patient));
    const ApiClient::Answer changed =
        check("POST", "/auth/password",
              m_client->post(QStringLiteral("/auth/password"), {{QStringLiteral("oldPassword"), password},
                                                                {QStringLiteral("newPassword"), newPassword},
                                                                {QStringLiteral("repeatPassword"), newPassword}}));
    if (!failing)
        m_secrets.append(textOf(changed.object(), "accessToken").toUtf8());
}

void TestServerLog::everyOperation()
{
    QVERIFY(serve());
    useEveryOperation(false);
    QCOMPARE(expect("GET", "/health", m_client->get(QStringLiteral("/health"))).status, 200);
    QCOMPARE(expect("GET", "/metrics", m_client->get(QStringLiteral("/metrics"))).status, 200);
    const QSet<QByteArray> documented = documentedOperations();
    for (const QByteArray& operation : documented + m_done)
        QVERIFY2(documented.contains(operation) && m_done.contains(operation), operation.constData());
    QVERIFY(documented.size() > 20);
    for (const QByteArray& essence : qAsConst(m_expected))
        QVERIFY2(essence.endsWith(" 200"), essence.constData());
    for (const QByteArray& id : qAsConst(m_ids))
        QCOMPARE(id.size(), 32);
    for (const QByteArray& secret : qAsConst(m_secrets))
        QVERIFY(secret.size() >= 6);
    checkLog();
    QCOMPARE(m_server->errors(), QByteArray());
    const QList<QByteArray> lines = m_server->requestLines();
    for (const QByteArray& line : lines) {
        QVERIFY2(Line(line).milliseconds != "-", line.constData());
        QVERIFY2(Line(line).bytes >= 2, line.constData());
    }
}

void TestServerLog::everyFailure()
{
    QVERIFY(serve());
    const auto failed = [this](const QByteArray& method, const QByteArray& path, int status,
                               const ApiClient::Answer& answer) { return expect(method, path, answer).failed(status); };
    QVERIFY(failed("POST", "/auth/login", 401, m_client->login(practitioner, wrongPassword)));
    QVERIFY(failed("POST", "/auth/login", 401, m_client->login(otherName, password)));
    QVERIFY(failed("POST", "/auth/login", 400,
                   m_client->send("POST", QStringLiteral("/auth/login"), password.toUtf8(), "text/x")));
    m_client->token = wrongToken;
    QVERIFY(failed("GET", "/patient", 401, m_client->get(QStringLiteral("/patient"))));
    QVERIFY(failed("GET", "/patient/filter", 401,
                   m_client->get(ApiClient::filter(otherName, QString(), 1, 0, QString(), needle))));
    QCOMPARE(expect("POST", "/auth/login", m_client->login(practitioner, password)).status, 200);
    m_secrets.append(m_client->token);

    const QString hidden = QString::fromLatin1(hiddenPath);
    QVERIFY(failed("GET", "-", 404, m_client->get(QLatin1Char('/') + hidden)));
    QVERIFY(failed("GET", "-", 404, m_client->get(QStringLiteral("/patient/filter/%1/x").arg(hidden))));
    QVERIFY(failed("GET", "/record/{p}", 404, m_client->get(QStringLiteral("/record/") + hidden)));
    QVERIFY(
        failed("GET", "/record/{p}", 404, m_client->get(QStringLiteral("/record/%1?x=").arg(hidden) + patientName)));
    QVERIFY(failed("DELETE", "/record/{p}/{r}", 404, m_client->remove(QStringLiteral("/record/%1/%1").arg(hidden))));
    QVERIFY(failed("POST", "/recipe/{p}/{r}", 405,
                   m_client->post(QStringLiteral("/recipe/%1/%1").arg(hidden), {{hidden, patientName}})));
    QVERIFY(failed("DELETE", "/health", 405, m_client->remove(QStringLiteral("/health?") + hidden)));
    QVERIFY(failed("DELETE", "/metrics", 405, m_client->remove(QStringLiteral("/metrics"))));
    QVERIFY(failed("GET", "/patient/filter", 400,
                   m_client->get(ApiClient::filter(otherName, QString(), 1, 0, QString(), needle))));
    QVERIFY(failed("GET", "/patient/filter", 400,
                   m_client->get(QStringLiteral("/patient/filter?needle=") + hidden + QStringLiteral("***"))));
    const ApiClient::Answer unsound = m_client->post(
        QStringLiteral("/patient"), {{QStringLiteral("name"), patientName}, {QStringLiteral("notes"), 7}});
    QCOMPARE(expect("POST", "/patient", unsound).status, 400);
    QVERIFY(failed("POST", "/patient", 400,
                   m_client->send("POST", QStringLiteral("/patient"), '{' + patientName.toUtf8(), "application/json")));
    QVERIFY(failed("POST", "/record", 404, m_client->upload(hidden, testWave(437), sensor)));
    QVERIFY(
        failed("POST", "/auth/password", 400,
               m_client->post(QStringLiteral("/auth/password"), {{QStringLiteral("oldPassword"), wrongPassword},
                                                                 {QStringLiteral("newPassword"), newPassword},
                                                                 {QStringLiteral("repeatPassword"), newPassword}})));
    QVERIFY(failed("POST", "/analysis", 404,
                   m_client->post(QStringLiteral("/analysis"), {{QStringLiteral("patientId"), hidden},
                                                                {QStringLiteral("storageId"), hidden},
                                                                {QStringLiteral("records"), QJsonArray{hidden}}})));

    // What is refused before it is a request.
    const QVector<QPair<QByteArray, int>> refusals{
        {hiddenPath.toUpper() + " / HTTP/1.1\r\n\r\n", 400},
        {"GET /" + hiddenPath + " HTTP/7.1\r\n\r\n", 400},
        {"POST /patient HTTP/1.1\r\nContent-Length: 2000000\r\nAuthorization: Bearer " + wrongToken + "\r\n\r\n", 413},
        {"POST /patient HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n3\r\n" + hiddenPath.left(3) + "\r\n0\r\n\r\n",
         411},
        {"POST /patient HTTP/1.1\r\nContent-Encoding: gzip\r\nContent-Length: 3\r\n\r\nabc", 415},
        {"GET /" + hiddenPath + "?" + QByteArray(9000, 'x') + " HTTP/1.1\r\n\r\n", 414}};
    for (const auto& refusal : refusals) {
        const QByteArray reply = raw(refusal.first);
        QVERIFY2(reply.startsWith("HTTP/1.1 " + QByteArray::number(refusal.second)), reply.left(100).constData());
        const int at = reply.indexOf("X-Request-ID: ");
        QVERIFY2(at > 0, reply.constData());
        m_expected.append("- - " + QByteArray::number(refusal.second));
        m_ids.append(reply.mid(at + 14, 32));
    }
    checkLog();
    QCOMPARE(m_server->errors(), QByteArray());
}

void TestServerLog::failuresOfTheDatabase()
{
    QVERIFY(serve());
    // First what is asked of each, then what all need.
    QVERIFY(sql(QStringLiteral("ALTER TABLE patients RENAME TO patients_away")));
    const ApiClient::Answer entry = expect("POST", "/auth/login", m_client->login(practitioner, password));
    QCOMPARE(entry.status, 200);
    m_secrets.append(m_client->token);
    QCOMPARE(
        expect("POST", "/patient",
               m_client->post(QStringLiteral("/patient"), {{QStringLiteral("name"), patientName},
                                                           {QStringLiteral("birthDate"), QStringLiteral("1971-02-03")},
                                                           {QStringLiteral("gender"), QStringLiteral("MALE")},
                                                           {QStringLiteral("phone"), phone},
                                                           {QStringLiteral("notes"), notes}}))
            .status,
        500);
    QCOMPARE(expect("GET", "/patient/filter",
                    m_client->get(ApiClient::filter(QStringLiteral("name"), QStringLiteral("asc"), 10, 0,
                                                    QStringLiteral("name"), needle)))
                 .status,
             500);
    QVERIFY(sql(QStringLiteral("ALTER TABLE practitioners RENAME TO practitioners_away")));
    QVERIFY(sql(QStringLiteral("ALTER TABLE sessions RENAME TO sessions_away")));
    m_client->token.clear();
    const int first = m_expected.size();
    useEveryOperation(true);
    for (int i = first; i < m_expected.size(); ++i)
        QVERIFY2(m_expected.at(i).endsWith(" 500"), m_expected.at(i).constData());
    checkLog();

    // Each failure is told once, under the id of its request.
    QList<QByteArray> told = m_server->errors().split('\n');
    QCOMPARE(told.takeLast(), QByteArray());
    QList<QByteArray> failed;
    for (int i = 0; i < m_expected.size(); ++i) {
        if (m_expected.at(i).endsWith(" 500"))
            failed.append(m_ids.at(i));
    }
    QCOMPARE(told.size(), failed.size());
    for (int i = 0; i < told.size(); ++i) {
        QVERIFY2(told.at(i).startsWith("quelmar-server: id=" + failed.at(i) + ' '), told.at(i).constData());
        QVERIFY2(told.at(i).size() > 60, told.at(i).constData());
    }
}

void TestServerLog::databaseAway()
{
    if (!TestDatabase::isPostgres())
        return; // A file does not go away
    QVERIFY(serve());
    QCOMPARE(expect("POST", "/auth/login", m_client->login(practitioner, password)).status, 200);
    m_secrets.append(m_client->token);
    QVERIFY(PostgresCluster::instance().stop());
    const ApiClient::Answer upload = expect("POST", "/record", m_client->upload(patientName, testWave(437), sensor));
    const ApiClient::Answer login = expect("POST", "/auth/login", m_client->login(practitioner, password));
    QVERIFY(PostgresCluster::instance().start());
    QVERIFY(upload.failed(503));
    QVERIFY(login.failed(503));
    m_secrets.append(QUrl::toPercentEncoding(PostgresCluster::password()));
    m_secrets.append(PostgresCluster::password().toUtf8());
    checkLog();
    const QByteArray errors = m_server->errors();
    QCOMPARE(errors.count('\n'), 2);
    QVERIFY2(errors.contains("id=" + upload.requestId + ' '), errors.constData());
    QVERIFY2(errors.contains("id=" + login.requestId + ' '), errors.constData());
}

void TestServerLog::idsAreTheServersOwn()
{
    QVERIFY(serve());
    QSet<QByteArray> seen;
    for (int i = 0; i < 2; ++i) {
        const QByteArray reply = raw("GET /health HTTP/1.1\r\nX-Request-ID: mineqzx\r\nConnection: close\r\n\r\n");
        QCOMPARE(reply.count("X-Request-ID"), 1);
        const QByteArray id = reply.mid(reply.indexOf("X-Request-ID: ") + 14, 32);
        QVERIFY2(QRegularExpression(QStringLiteral("^[0-9a-f]{32}$")).match(QString::fromLatin1(id)).hasMatch(),
                 reply.constData());
        seen.insert(id);
        m_expected.append("GET /health 200");
        m_ids.append(id);
    }
    QCOMPARE(seen.size(), 2);
    m_secrets.append("mineqzx");
    checkLog();
}

void TestServerLog::manyAtOnce()
{
    QVERIFY(serve());
    constexpr int threads = 8;
    constexpr int each = 40;
    std::atomic<int> strange{0};
    std::vector<QSet<QByteArray>> ids(threads);
    std::vector<std::thread> running;
    for (int t = 0; t < threads; ++t) {
        running.emplace_back([&, t] {
            ApiClient client(m_server->url());
            for (int i = 0; i < each; ++i) {
                const ApiClient::Answer answer =
                    client.get(i % 2 == 0 ? QStringLiteral("/health") : QStringLiteral("/patient"));
                strange += answer.status != (i % 2 == 0 ? 200 : 401);
                ids.at(size_t(t)).insert(answer.requestId);
            }
        });
    }
    for (std::thread& thread : running)
        thread.join();
    QCOMPARE(strange.load(), 0);
    QSet<QByteArray> answered;
    for (const QSet<QByteArray>& some : ids)
        answered += some;
    QTRY_VERIFY_WITH_TIMEOUT(m_server->requestLines().size() >= threads * each, patience);
    QSet<QByteArray> logged;
    const QList<QByteArray> lines = m_server->requestLines();
    for (const QByteArray& text : lines) {
        const Line line(text);
        QVERIFY2(line.valid, text.constData());
        logged.insert(line.id);
    }
    QCOMPARE(lines.size(), threads * each);
    QCOMPARE(logged.size(), threads * each);
    QCOMPARE(logged, answered);
    QCOMPARE(m_server->stop(SIGTERM), 0);
    QCOMPARE(m_server->errors(), QByteArray());
}

void TestServerLog::levels_data()
{
    QTest::addColumn<QString>("level");
    QTest::addColumn<QList<QByteArray>>("expected");
    const QByteArray good = "GET /health 200";
    const QByteArray unknown = "GET - 404";
    const QByteArray unread = "- - 414";
    QTest::newRow("requests") << QStringLiteral("requests") << QList<QByteArray>{good, unknown, unread};
    QTest::newRow("failures") << QStringLiteral("failures") << QList<QByteArray>{unknown, unread};
    QTest::newRow("none") << QStringLiteral("none") << QList<QByteArray>{};
}

void TestServerLog::levels()
{
    QFETCH(QString, level);
    QFETCH(QList<QByteArray>, expected);
    QVERIFY(serve({QStringLiteral("--log"), level}));
    QCOMPARE(m_client->get(QStringLiteral("/health")).requestId.size(), 32);
    QVERIFY(m_client->get(QStringLiteral("/nowhere")).failed(404));
    QVERIFY(m_client->get(QStringLiteral("/patient?x=") + QString(9000, QLatin1Char('y'))).failed(414));
    // What failed is told at every level.
    QVERIFY(sql(QStringLiteral("ALTER TABLE sessions RENAME TO sessions_away")));
    m_client->token = wrongToken;
    const ApiClient::Answer broken = m_client->get(QStringLiteral("/patient"));
    QVERIFY(broken.failed(500));
    if (level != QLatin1String("none"))
        expected.append("GET /patient 500");
    QCOMPARE(m_server->stop(SIGTERM), 0);
    QList<QByteArray> essences;
    const QList<QByteArray> lines = m_server->requestLines();
    for (const QByteArray& line : lines)
        essences.append(Line(line).essence());
    QCOMPARE(essences, expected);
    const QByteArray errors = m_server->errors();
    QVERIFY2(errors.startsWith("quelmar-server: id=" + broken.requestId + ' '), errors.constData());
    QCOMPARE(errors.count('\n'), 1);
}

void TestServerLog::refusesALevel()
{
    for (const char* level : {"", "all", "Requests", "none "}) {
        const auto outcome = ServerProcess::run({QStringLiteral("--database"), m_database->location(),
                                                 QStringLiteral("--log"), QString::fromLatin1(level)});
        QCOMPARE(outcome.exitCode, 2);
        QVERIFY2(outcome.errors.startsWith("quelmar-server: --log takes requests, failures, none, not "),
                 outcome.errors.constData());
    }
    const auto outcome = ServerProcess::run(
        {QStringLiteral("--log"), QStringLiteral("none"), QStringLiteral("practitioner"), QStringLiteral("list")});
    QCOMPARE(outcome.exitCode, 2);
    QVERIFY(outcome.errors.contains("--log does not belong to a command"));
}

void TestServerLog::fullErrorOutput()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("errors"));
    QCOMPARE(::mkfifo(path.toUtf8().constData(), 0600), 0);
    const int reader = ::open(path.toUtf8().constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    QVERIFY(reader >= 0);
    QCOMPARE(::fcntl(reader, F_SETPIPE_SZ, 8192), 8192);
    QProcess process;
    process.setStandardErrorFile(path);
    const QString url = startApart(process, QStringLiteral(QUELMAR_SERVER), {});
    QVERIFY(!url.isEmpty());
    {
        ApiClient client(url);
        // Some thirty lines fill it.
        for (int i = 0; i < 100; ++i)
            QCOMPARE(client.get(QStringLiteral("/health")).status, 200);
        QByteArray metrics = client.get(QStringLiteral("/metrics")).body;
        const QRegularExpression dropped(QStringLiteral("\\nquelmar_log_lines_dropped_total ([1-9][0-9]*)\\n"));
        QVERIFY2(dropped.match(QString::fromUtf8(metrics)).hasMatch(), metrics.constData());

        const QByteArray heard = readAll(reader);
        QVERIFY(heard.endsWith('\n'));
        const QList<QByteArray> before = heard.trimmed().split('\n');
        QVERIFY(before.size() > 10 && before.size() < 100);
        for (const QByteArray& line : before)
            QVERIFY2(Line(line).valid, line.constData());

        QCOMPARE(client.get(QStringLiteral("/health")).status, 200);
        const QList<QByteArray> after = readAll(reader).trimmed().split('\n');
        QCOMPARE(after.size(), 2);
        QCOMPARE(after.first(),
                 "quelmar-server: " + QByteArray::number(101 - before.size()) + " lines of the log were dropped");
        QVERIFY2(Line(after.last()).valid, after.last().constData());
    }
    process.terminate();
    QVERIFY(process.waitForFinished(patience));
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    ::close(reader);
}

void TestServerLog::brokenErrorOutput()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("errors"));
    QCOMPARE(::mkfifo(path.toUtf8().constData(), 0600), 0);
    int reader = ::open(path.toUtf8().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    QVERIFY(reader >= 0);
    QProcess process;
    process.setStandardErrorFile(path);
    const QString url = startApart(process, QStringLiteral(QUELMAR_SERVER), {});
    QVERIFY(!url.isEmpty());
    {
        ApiClient client(url);
        QCOMPARE(client.get(QStringLiteral("/health")).status, 200);
        QVERIFY(readAll(reader).contains(" path=/health "));
        ::close(reader);
        for (int i = 0; i < 5; ++i)
            QCOMPARE(client.get(QStringLiteral("/health")).status, 200);
        reader = ::open(path.toUtf8().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        QCOMPARE(client.get(QStringLiteral("/health")).status, 200);
        QVERIFY(readAll(reader).startsWith("quelmar-server: 5 lines of the log were dropped\ntime="));
    }
    process.terminate();
    QVERIFY(process.waitForFinished(patience));
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    ::close(reader);
}

void TestServerLog::closedErrorOutput()
{
    QProcess process;
    const QString url = startApart(
        process, QStringLiteral("sh"),
        {QStringLiteral("-c"), QStringLiteral("exec \"$0\" \"$@\" 2>&- <&-"), QStringLiteral(QUELMAR_SERVER)});
    QVERIFY(!url.isEmpty());
    for (const int stream : {0, 2})
        QCOMPARE(QFile::symLinkTarget(QStringLiteral("/proc/%1/fd/%2").arg(process.processId()).arg(stream)),
                 QStringLiteral("/dev/null"));
    ApiClient client(url);
    for (int i = 0; i < 5; ++i)
        QCOMPARE(client.get(QStringLiteral("/health")).status, 200);
    process.terminate();
    QVERIFY(process.waitForFinished(patience));
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    // No line has gone into the database.
    QVERIFY(m_database->connect());
    QSqlQuery query;
    QVERIFY(query.exec(QStringLiteral("SELECT COUNT(*) FROM practitioners")));
}

QTEST_GUILESS_MAIN(TestServerLog)

#include "TestServerLog.moc"
