// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Database.h"
#include "server/LineWriter.h"
#include "server/Metrics.h"
#include "tests/server/ApiClient.h"
#include "tests/server/PostgresCluster.h"
#include "tests/server/ServerProcess.h"
#include "tests/server/TestDatabase.h"
#include "tests/server/TestWave.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QMap>
#include <QRegularExpression>
#include <QSemaphore>
#include <QSet>
#include <QSqlQuery>
#include <QTcpSocket>
#include <QTest>

#include <atomic>
#include <csignal>
#include <limits>
#include <map>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

using Labels = std::map<QByteArray, QByteArray>;

/// The text format of Prometheus, read as strictly as its description allows.
class Exposition
{
public:
    struct Sample
    {
        QByteArray name;
        Labels labels;
        double value = 0;
    };

    explicit Exposition(const QByteArray& text)
    {
        if (!text.endsWith('\n'))
            error = "the last line has no end";
        int number = 0;
        for (const QByteArray& line : text.left(text.size() - 1).split('\n')) {
            ++number;
            if (error.isEmpty() && !read(QString::fromUtf8(line)))
                error = "line " + QByteArray::number(number) + ": " + line;
        }
        if (error.isEmpty())
            checkHistograms();
    }

    /// Of the one sample of this name with these labels; -1 if there is none.
    double value(const QByteArray& name, const Labels& labels = {}) const
    {
        for (const Sample& sample : samples) {
            if (sample.name == name && sample.labels == labels)
                return sample.value;
        }
        return -1;
    }

    QSet<QByteArray> labelValues(const QByteArray& label) const
    {
        QSet<QByteArray> values;
        for (const Sample& sample : samples) {
            const auto found = sample.labels.find(label);
            if (found != sample.labels.end())
                values.insert(found->second);
        }
        return values;
    }

    QByteArray error; ///< what is wrong, or nothing
    QVector<Sample> samples;
    QMap<QByteArray, QByteArray> types; ///< by family

private:
    bool read(const QString& line)
    {
        static const QRegularExpression help(QStringLiteral("^# HELP ([a-zA-Z_:][a-zA-Z0-9_:]*) (\\S.*)$"));
        static const QRegularExpression type(
            QStringLiteral("^# TYPE ([a-zA-Z_:][a-zA-Z0-9_:]*) (counter|gauge|histogram)$"));
        static const QRegularExpression sample(
            QStringLiteral("^([a-zA-Z_:][a-zA-Z0-9_:]*)(\\{(.*)\\})? ([-+0-9.eE]+|\\+Inf|-Inf|NaN)$"));
        static const QRegularExpression label(
            QStringLiteral("\\G([a-zA-Z_][a-zA-Z0-9_]*)=\"((?:[^\"\\\\]|\\\\[\\\\\"n])*)\"(,|$)"));

        QRegularExpressionMatch match = help.match(line);
        if (match.hasMatch()) {
            m_family = match.captured(1).toLatin1();
            // All of a family stands together, under one HELP and one TYPE.
            const bool first = !m_helped.contains(m_family);
            m_helped.insert(m_family);
            return first;
        }
        match = type.match(line);
        if (match.hasMatch()) {
            const QByteArray name = match.captured(1).toLatin1();
            if (name != m_family || types.contains(name))
                return false;
            types.insert(name, match.captured(2).toLatin1());
            return name.endsWith("_total") == (types.value(name) == "counter");
        }
        match = sample.match(line);
        if (!match.hasMatch())
            return false;
        Sample read;
        read.name = match.captured(1).toLatin1();
        const QString labels = match.captured(3);
        for (int at = 0; at < labels.size();) {
            const QRegularExpressionMatch one = label.match(labels, at);
            if (!one.hasMatch() || read.labels.count(one.captured(1).toLatin1()) > 0)
                return false;
            read.labels[one.captured(1).toLatin1()] = one.captured(2).toUtf8();
            at = one.capturedEnd();
        }
        bool sound = false;
        read.value = match.captured(4).toDouble(&sound);
        if (!sound || !belongs(read) || value(read.name, read.labels) >= 0)
            return false;
        samples.append(read);
        return types.value(m_family) == "gauge" || read.value >= 0;
    }

    bool belongs(const Sample& sample) const
    {
        if (types.value(m_family) != "histogram")
            return types.contains(m_family) && sample.name == m_family && sample.labels.count("le") == 0;
        const QByteArray suffix = sample.name.mid(m_family.size());
        return sample.name.startsWith(m_family) && ((suffix == "_bucket") == (sample.labels.count("le") > 0)) &&
               (suffix == "_bucket" || suffix == "_sum" || suffix == "_count");
    }

    void checkHistograms()
    {
        for (const QByteArray& family : types.keys("histogram")) {
            std::map<Labels, QVector<QPair<double, double>>> buckets;
            for (const Sample& sample : qAsConst(samples)) {
                if (sample.name != family + "_bucket")
                    continue;
                Labels others = sample.labels;
                const QByteArray limit = others.at("le");
                others.erase("le");
                buckets[others].append(
                    {limit == "+Inf" ? std::numeric_limits<double>::infinity() : limit.toDouble(), sample.value});
            }
            for (const auto& of : buckets) {
                for (int i = 1; i < of.second.size(); ++i) {
                    if (of.second.at(i).first <= of.second.at(i - 1).first ||
                        of.second.at(i).second < of.second.at(i - 1).second)
                        error = family + ": buckets do not rise";
                }
                if (of.second.last().first != std::numeric_limits<double>::infinity() ||
                    of.second.last().second != value(family + "_count", of.first) ||
                    value(family + "_sum", of.first) < 0)
                    error = family + ": the sum or the count does not fit";
            }
            if (buckets.empty())
                error = family + ": no buckets";
        }
    }

    QByteArray m_family;
    QSet<QByteArray> m_helped;
};

Labels request(const QByteArray& method, const QByteArray& path, int status)
{
    return {{"method", method}, {"path", path}, {"status", QByteArray::number(status)}};
}

/// Waits for a release at "/wait", throws at "/throw", and answers the rest.
class Waiter : public server::RequestHandler
{
public:
    server::Reply handle(const server::Request& request) override
    {
        if (request.path == "/throw")
            throw std::runtime_error("inner");
        if (request.path == "/wait")
            release.acquire();
        server::Reply reply;
        reply.pattern = "/pattern";
        return reply;
    }
    server::Reply refuse(int status, const QByteArray&) override
    {
        server::Reply reply;
        reply.status = status;
        return reply;
    }

    QSemaphore release;
};

server::Request requestOf(const QByteArray& method, const QByteArray& path)
{
    server::Request made;
    made.method = method;
    made.path = path;
    made.arrived = std::chrono::steady_clock::now();
    return made;
}

const QByteArray requests = "quelmar_requests_total";
const QByteArray count = "quelmar_request_duration_seconds_count";

} // namespace

/// The figures at "/metrics" for whoever watches the server, and the probe at "/health".
class TestServerMetrics : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void readerRefuses_data();
    void readerRefuses();

    void countsRequests();
    void measuresDurations();
    void countsWhatIsUnderWay();
    void labelsAreFew();
    void countsErrorsOfTheDatabase();
    void countsConflicts();
    void tellsAboutTheProcess();
    void onlyThatPath();

    void health();
    void healthOfABrokenDatabase();
    void healthOfAStoppedDatabase();
    void healthOfAHangingDatabase();
    void healthForMany();

private:
    bool serve();
    Exposition scrape();
    bool sql(const QString& statement) { return QSqlQuery().exec(statement); }

    std::unique_ptr<TestDatabase> m_database;
    std::unique_ptr<ServerProcess> m_server;
    std::unique_ptr<ApiClient> m_client;
};

bool TestServerMetrics::serve()
{
    m_database = std::make_unique<TestDatabase>();
    m_server = std::make_unique<ServerProcess>();
    if (!ServerProcess::addPractitioner(m_database->location(), QStringLiteral("anna"), QStringLiteral("secret")) ||
        !m_database->connect() || !m_server->start(m_database->location()))
        return false;
    m_client = std::make_unique<ApiClient>(m_server->url());
    return true;
}

void TestServerMetrics::cleanup()
{
    m_client.reset();
    m_server.reset();
    m_database.reset();
}

Exposition TestServerMetrics::scrape()
{
    const ApiClient::Answer answer = m_client->get(QStringLiteral("/metrics"));
    Exposition read(answer.body);
    if (answer.status != 200 || answer.contentType != "text/plain; version=0.0.4; charset=utf-8")
        read.error = "not answered as Prometheus expects it: " + answer.contentType;
    return read;
}

void TestServerMetrics::readerRefuses_data()
{
    const QByteArray head = "# HELP a_total Some.\n# TYPE a_total counter\n";
    const QByteArray histogram = "# HELP h Some.\n# TYPE h histogram\n";
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("sound");
    QTest::newRow("sound") << head + "a_total{b=\"c\"} 1\na_total{b=\"d \\\"\"} 2\n" << true;
    QTest::newRow("sound histogram") << histogram +
                                            "h_count 2\nh_sum 0.5\nh_bucket{le=\"0.1\"} 1\nh_bucket{le=\"+Inf\"} 2\n"
                                     << true;
    QTest::newRow("no end") << head + "a_total 1" << false;
    QTest::newRow("empty line") << head + "\na_total 1\n" << false;
    QTest::newRow("no type") << QByteArray("a_total 1\n") << false;
    QTest::newRow("another family") << head + "b_total 1\n" << false;
    QTest::newRow("twice") << head + "a_total 1\na_total 1\n" << false;
    QTest::newRow("family twice") << head + "a_total 1\n" + head << false;
    QTest::newRow("no number") << head + "a_total one\n" << false;
    QTest::newRow("negative counter") << head + "a_total -1\n" << false;
    QTest::newRow("open label") << head + "a_total{b=\"c} 1\n" << false;
    QTest::newRow("quote in a label") << head + "a_total{b=\"c\"d\"} 1\n" << false;
    QTest::newRow("label twice") << head + "a_total{b=\"c\",b=\"d\"} 1\n" << false;
    QTest::newRow("counter without _total") << QByteArray("# HELP a Some.\n# TYPE a counter\na 1\n") << false;
    QTest::newRow("falling buckets") << histogram +
                                            "h_count 2\nh_sum 0.5\nh_bucket{le=\"0.1\"} 3\nh_bucket{le=\"+Inf\"} 2\n"
                                     << false;
    QTest::newRow("other count") << histogram +
                                        "h_count 3\nh_sum 0.5\nh_bucket{le=\"0.1\"} 1\nh_bucket{le=\"+Inf\"} 2\n"
                                 << false;
    QTest::newRow("no last bucket") << histogram + "h_count 1\nh_sum 0.5\nh_bucket{le=\"0.1\"} 1\n" << false;
}

void TestServerMetrics::readerRefuses()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, sound);
    const Exposition read(text);
    QVERIFY2(read.error.isEmpty() == sound, read.error.constData());
}

void TestServerMetrics::countsRequests()
{
    QVERIFY(serve());
    QCOMPARE(m_client->login(QStringLiteral("anna"), QStringLiteral("wrong")).status, 401);
    QCOMPARE(m_client->login(QStringLiteral("anna"), QStringLiteral("secret")).status, 200);
    for (int i = 0; i < 3; ++i)
        QCOMPARE(m_client->get(QStringLiteral("/patient")).status, 200);
    QVERIFY(m_client->get(QStringLiteral("/record/nobody")).failed(404));
    QVERIFY(m_client->get(QStringLiteral("/record/noone")).failed(404));
    QVERIFY(m_client->post(QStringLiteral("/record/nobody"), {}).failed(405));
    QVERIFY(m_client->get(QStringLiteral("/nowhere")).failed(404));
    QVERIFY(m_client->get(QStringLiteral("/patient?x=") + QString(9000, QLatin1Char('y'))).failed(414));

    Exposition read = scrape();
    QCOMPARE(read.error, QByteArray());
    QCOMPARE(read.types.value(requests), QByteArray("counter"));
    QCOMPARE(read.value(requests, request("POST", "/auth/login", 401)), 1.0);
    QCOMPARE(read.value(requests, request("POST", "/auth/login", 200)), 1.0);
    QCOMPARE(read.value(requests, request("GET", "/patient", 200)), 3.0);
    QCOMPARE(read.value(requests, request("GET", "/record/{p}", 404)), 2.0);
    QCOMPARE(read.value(requests, request("POST", "/record/{p}", 405)), 1.0);
    QCOMPARE(read.value(requests, request("GET", "-", 404)), 1.0);
    QCOMPARE(read.value(requests, request("-", "-", 414)), 1.0);
    QCOMPARE(read.value(requests, request("GET", "/metrics", 200)), -1.0);
    double all = 0;
    for (const Exposition::Sample& sample : qAsConst(read.samples))
        all += sample.name == requests ? sample.value : 0;
    QCOMPARE(all, 10.0);
    read = scrape();
    QCOMPARE(read.value(requests, request("GET", "/metrics", 200)), 1.0);
    QCOMPARE(read.value(requests, request("GET", "/patient", 200)), 3.0);
}

void TestServerMetrics::measuresDurations()
{
    QVERIFY(serve());
    QCOMPARE(m_client->login(QStringLiteral("anna"), QStringLiteral("secret")).status, 200);
    QVERIFY(m_client->login(QStringLiteral("anna"), QStringLiteral("wrong")).failed(401));
    QVERIFY(m_client->get(QStringLiteral("/nowhere")).failed(404));
    Exposition read = scrape();
    QCOMPARE(read.error, QByteArray());
    QCOMPARE(read.types.value("quelmar_request_duration_seconds"), QByteArray("histogram"));
    QCOMPARE(read.value(count, {{"path", "/auth/login"}}), 2.0);
    QCOMPARE(read.value(count, {{"path", "-"}}), 1.0);
    // A hash of a password takes its time by design, an address that is not there none; both are in seconds.
    const double login = read.value("quelmar_request_duration_seconds_sum", {{"path", "/auth/login"}});
    const double nowhere = read.value("quelmar_request_duration_seconds_sum", {{"path", "-"}});
    QVERIFY2(login > 0.005 && login < 100, QByteArray::number(login).constData());
    QVERIFY2(nowhere > 0 && nowhere < login, QByteArray::number(nowhere).constData());
    QCOMPARE(read.value("quelmar_request_duration_seconds_bucket", {{"path", "/auth/login"}, {"le", "0.001"}}), 0.0);
    QCOMPARE(read.value("quelmar_request_duration_seconds_bucket", {{"path", "/auth/login"}, {"le", "+Inf"}}), 2.0);
}

void TestServerMetrics::countsWhatIsUnderWay()
{
    QString error;
    TestDatabase place;
    const auto database = server::Database::open(place.location(), error);
    QVERIFY2(database, qPrintable(error));
    Waiter waiter;
    server::LineWriter log(-1);
    server::Metrics metrics(waiter, *database, log);
    const auto inFlight = [&metrics] {
        return Exposition(metrics.handle(requestOf("GET", "/metrics")).body).value("quelmar_requests_in_flight");
    };
    QCOMPARE(inFlight(), 1.0);
    std::vector<std::thread> waiting;
    for (int i = 0; i < 3; ++i)
        waiting.emplace_back([&metrics] { metrics.handle(requestOf("GET", "/wait")); });
    QTRY_COMPARE(inFlight(), 4.0);
    waiter.release.release(3);
    for (std::thread& thread : waiting)
        thread.join();
    QCOMPARE(inFlight(), 1.0);
    QVERIFY_EXCEPTION_THROWN(metrics.handle(requestOf("GET", "/throw")), std::runtime_error);
    QCOMPARE(inFlight(), 1.0);
    metrics.handle(requestOf("SECRET", "/x"));
    metrics.refuse(499, QByteArray());
    const Exposition read(metrics.handle(requestOf("GET", "/metrics")).body);
    QCOMPARE(read.error, QByteArray());
    QCOMPARE(read.value(requests, request("GET", "/pattern", 200)), 3.0);
    QCOMPARE(read.value(requests, request("-", "/pattern", 200)), 1.0);
    QCOMPARE(read.value(requests, request("-", "-", 499)), 1.0);
}

void TestServerMetrics::labelsAreFew()
{
    QVERIFY(serve());
    QCOMPARE(m_client->login(QStringLiteral("anna"), QStringLiteral("secret")).status, 200);
    const int before = scrape().samples.size();
    const auto knock = [this](int from, int to) {
        for (int i = from; i < to; ++i) {
            m_client->get(QStringLiteral("/record/id%1").arg(i));
            m_client->get(QStringLiteral("/path%1/%1").arg(i));
            m_client->get(QStringLiteral("/patient/filter?needle=%1").arg(i));
            m_client->send("OPTIONS", QStringLiteral("/patient/\"x%1").arg(i), QByteArray(), QByteArray());
        }
    };
    knock(0, 1);
    const int after = scrape().samples.size();
    QVERIFY(after > before);
    knock(1, 20);
    const Exposition read = scrape();
    QCOMPARE(read.error, QByteArray());
    QCOMPARE(read.samples.size(), after);
    QCOMPARE(read.labelValues("path"),
             (QSet<QByteArray>{"-", "/auth/login", "/metrics", "/patient/filter", "/patient/{p}", "/record/{p}"}));
    QCOMPARE(read.labelValues("method"), (QSet<QByteArray>{"GET", "POST", "OPTIONS"}));
}

void TestServerMetrics::countsErrorsOfTheDatabase()
{
    QVERIFY(serve());
    const QByteArray name = "quelmar_database_errors_total";
    Exposition read = scrape();
    QCOMPARE(read.error, QByteArray());
    QCOMPARE(read.labelValues("kind"), (QSet<QByteArray>{"failed", "conflict", "busy", "lost"}));
    for (const char* kind : {"failed", "conflict", "busy", "lost"})
        QCOMPARE(read.value(name, {{"kind", kind}}), 0.0);
    QVERIFY(sql(QStringLiteral("ALTER TABLE sessions RENAME TO away")));
    m_client->token = "t";
    for (int i = 0; i < 2; ++i)
        QVERIFY(m_client->get(QStringLiteral("/patient")).failed(500));
    QCOMPARE(scrape().value(name, {{"kind", "failed"}}), 2.0);
    if (!TestDatabase::isPostgres())
        return; // A file is never lost
    QVERIFY(PostgresCluster::instance().stop());
    const int status = m_client->get(QStringLiteral("/patient")).status;
    QVERIFY(PostgresCluster::instance().start());
    QCOMPARE(status, 503);
    // The connection that could not be made; and, if the thread that answered had one before, the statement that broke.
    const double lost = scrape().value(name, {{"kind", "lost"}});
    QVERIFY(lost == 1.0 || lost == 2.0);
}

void TestServerMetrics::countsConflicts()
{
    QString error;
    TestDatabase place;
    const auto database = server::Database::open(place.location(), error);
    QVERIFY2(database, qPrintable(error));
    using Kind = server::DatabaseError::Kind;
    database->run(QStringLiteral("CREATE TABLE words (word TEXT NOT NULL PRIMARY KEY)"));
    const QString insert = QStringLiteral("INSERT INTO words VALUES ('one')");
    database->run(insert);
    QVERIFY_EXCEPTION_THROWN(database->run(insert), server::DatabaseError);
    QCOMPARE(database->errors(Kind::Conflict), quint64(1));
    QCOMPARE(database->errors(Kind::Failed), quint64(0));
    QVERIFY_EXCEPTION_THROWN(database->run(QStringLiteral("SELECT nothing FROM nowhere")), server::DatabaseError);
    QCOMPARE(database->errors(Kind::Failed), quint64(1));
    QCOMPARE(database->errors(Kind::Conflict), quint64(1));
}

void TestServerMetrics::tellsAboutTheProcess()
{
    QVERIFY(serve());
    const QString place = QStringLiteral("/proc/%1/").arg(m_server->processId());
    const Exposition read = scrape();
    QCOMPARE(read.error, QByteArray());
    QCOMPARE(read.value("quelmar_build_info", {{"version", "2021.3.0"}}), 1.0);
    QCOMPARE(read.value("quelmar_requests_in_flight"), 1.0);
    QCOMPARE(read.value("quelmar_log_lines_dropped_total"), 0.0);
    const double start = read.value("process_start_time_seconds");
    const double now = double(QDateTime::currentMSecsSinceEpoch()) / 1000;
    QVERIFY2(start <= now && start > now - 600, QByteArray::number(start, 'f', 3).constData());
    QCOMPARE(scrape().value("process_start_time_seconds"), start);

    QFile statm(place + QStringLiteral("statm"));
    QVERIFY(statm.open(QIODevice::ReadOnly));
    const double resident = statm.readAll().split(' ').at(1).toDouble() * double(sysconf(_SC_PAGESIZE));
    const double told = read.value("process_resident_memory_bytes");
    QVERIFY2(told > resident / 2 && told < resident * 2, QByteArray::number(told, 'f', 0).constData());

    const int open = QDir(place + QStringLiteral("fd")).entryList(QDir::Files | QDir::System | QDir::Hidden).size();
    const double descriptors = read.value("process_open_fds");
    QVERIFY2(descriptors >= 4 && qAbs(descriptors - open) <= 3, QByteArray::number(descriptors).constData());
    QVERIFY(read.value("process_max_fds") > descriptors);
}

void TestServerMetrics::onlyThatPath()
{
    QVERIFY(serve());
    for (const char* path : {"/metrics/", "//metrics", "/Metrics", "/%6detrics", "/%6Detrics", "/x/../metrics",
                             "/./metrics", "/metrics;x", "/metrics/x", "/health/", "//health"}) {
        QTcpSocket socket;
        socket.connectToHost(QStringLiteral("127.0.0.1"), m_server->port());
        socket.write(QByteArray("GET ") + path + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
        QVERIFY2(socket.waitForDisconnected(60000), path);
        QVERIFY2(socket.readAll().startsWith("HTTP/1.1 404 "), path);
    }
    for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS"}) {
        QVERIFY(m_client->send(method, QStringLiteral("/metrics"), QByteArray(), QByteArray()).failed(405));
        QVERIFY(m_client->send(method, QStringLiteral("/health"), QByteArray(), QByteArray()).failed(405));
    }
    QCOMPARE(m_client->get(QStringLiteral("/metrics?x=y")).status, 200);
    m_client->language = "ru";
    const QString russian = m_client->remove(QStringLiteral("/health")).message();
    m_client->language = "en";
    QVERIFY(russian != m_client->remove(QStringLiteral("/health")).message());
}

void TestServerMetrics::health()
{
    QVERIFY(serve());
    for (int i = 0; i < 3; ++i) {
        const ApiClient::Answer answer = m_client->get(QStringLiteral("/health"));
        QCOMPARE(answer.status, 200);
        QCOMPARE(answer.contentType, QByteArray("application/json"));
        QCOMPARE(answer.body, QByteArray("{\"status\":\"ok\"}"));
    }
    // It needs no session, and no notice is taken of a wrong one.
    m_client->token = "wrong";
    QCOMPARE(m_client->get(QStringLiteral("/health?probe=1")).status, 200);
    QCOMPARE(m_server->stop(SIGTERM), 0);
    QCOMPARE(m_server->errors(), QByteArray());
}

void TestServerMetrics::healthOfABrokenDatabase()
{
    QVERIFY(serve());
    QVERIFY(sql(QStringLiteral("ALTER TABLE schema_version RENAME TO away")));
    for (int i = 0; i < 3; ++i) {
        const ApiClient::Answer answer = m_client->get(QStringLiteral("/health"));
        QVERIFY(answer.failed(503));
        QCOMPARE(answer.object().size(), 1);
        QVERIFY(!answer.body.contains("schema_version"));
    }
    QVERIFY(sql(QStringLiteral("ALTER TABLE away RENAME TO schema_version")));
    QCOMPARE(m_client->get(QStringLiteral("/health")).status, 200);
    QVERIFY(sql(QStringLiteral("ALTER TABLE schema_version RENAME TO away")));
    QVERIFY(m_client->get(QStringLiteral("/health")).failed(503));
    QVERIFY(sql(QStringLiteral("ALTER TABLE away RENAME TO schema_version")));
    QCOMPARE(m_server->stop(SIGTERM), 0);
    // Once for each time that it went.
    const QByteArray errors = m_server->errors();
    QVERIFY2(errors.startsWith("quelmar-server: the database does not answer: "), errors.constData());
    QVERIFY2(errors.contains("schema_version"), errors.constData());
    QCOMPARE(errors.count('\n'), 2);
}

void TestServerMetrics::healthOfAStoppedDatabase()
{
    if (!TestDatabase::isPostgres())
        return; // A file does not stop
    QVERIFY(serve());
    QCOMPARE(m_client->get(QStringLiteral("/health")).status, 200);
    QVERIFY(PostgresCluster::instance().stop());
    const ApiClient::Answer stopped = m_client->get(QStringLiteral("/health"));
    QVERIFY(PostgresCluster::instance().start());
    QVERIFY(stopped.failed(503));
    QVERIFY(!stopped.body.contains("127.0.0.1"));
    QCOMPARE(m_client->get(QStringLiteral("/health")).status, 200);
}

void TestServerMetrics::healthOfAHangingDatabase()
{
    if (!TestDatabase::isPostgres())
        return; // A file does not hang
    QVERIFY(serve());
    QCOMPARE(m_client->get(QStringLiteral("/health")).status, 200);
    QFile pidFile(PostgresCluster::instance().folder() + QStringLiteral("/data/postmaster.pid"));
    QVERIFY(pidFile.open(QIODevice::ReadOnly));
    const QByteArray postmaster = pidFile.readLine().trimmed();
    QFile children(QStringLiteral("/proc/%1/task/%1/children").arg(postmaster.toInt()));
    QVERIFY(children.open(QIODevice::ReadOnly));
    QList<QByteArray> all = children.readAll().simplified().split(' ');
    all.append(postmaster);
    const auto send = [&all](int signal) {
        for (const QByteArray& one : qAsConst(all))
            ::kill(one.toInt(), signal);
    };
    send(SIGSTOP);
    // Both come while the engine hangs: the first who asks, and one who comes while that statement is under way.
    const ApiClient::Answer first = m_client->get(QStringLiteral("/health"));
    const ApiClient::Answer second = m_client->get(QStringLiteral("/health"));
    const ApiClient::Answer other = m_client->get(QStringLiteral("/metrics"));
    send(SIGCONT);
    QVERIFY(first.failed(503));
    QVERIFY(second.failed(503));
    QCOMPARE(other.status, 200);
    QTRY_COMPARE_WITH_TIMEOUT(m_client->get(QStringLiteral("/health")).status, 200, 60000);
    QCOMPARE(m_server->stop(SIGTERM), 0);
}

void TestServerMetrics::healthForMany()
{
    QVERIFY(serve());
    std::atomic<int> strange{0};
    std::vector<std::thread> running;
    for (int t = 0; t < 8; ++t) {
        running.emplace_back([this, &strange] {
            ApiClient client(m_server->url());
            for (int i = 0; i < 50; ++i)
                strange += client.get(QStringLiteral("/health")).status != 200;
        });
    }
    for (std::thread& thread : running)
        thread.join();
    QCOMPARE(strange.load(), 0);
    QCOMPARE(scrape().value(requests, request("GET", "/health", 200)), 400.0);
    QCOMPARE(m_server->stop(SIGTERM), 0);
}

QTEST_GUILESS_MAIN(TestServerMetrics)

#include "TestServerMetrics.moc"
