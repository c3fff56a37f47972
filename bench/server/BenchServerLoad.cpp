// SPDX-License-Identifier: GPL-3.0-or-later
// What the server bears: requests a second, and how long one takes, on databases of several sizes on both engines,
// beside two yardsticks of the same run: the bare HTTP library with the same replies, and the same statements through
// the engine's own tool. Prints tables in Markdown. docs/performance.md tells how to read them.
#include "bench/server/Load.h"
#include "bench/server/Stage.h"

#include "server/Accounts.h"
#include "server/Catalogue.h"
#include "server/DatabaseAddress.h"
#include "server/Demo.h"
#include "server/DemoLoad.h"
#include "server/Dialect.h"
#include "server/PatientStatements.h"
#include "server/Records.h"
#include "server/Secrets.h"
#include "server/TextKeys.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>

using namespace server;

namespace bench {

namespace {

constexpr int pageSize = 20;
/// Practitioners who are logged in: enough that no practitioner's pages are all that a cache has to hold.
constexpr int maxSessions = 40;
constexpr int recipeMarkers = 30;
constexpr int warmingClients = 16;
/// No reply is a yardstick for one that is so much longer.
constexpr double alike = 1.2;
constexpr int maxPath = 60;

struct Settings
{
    QString folder;
    QVector<bool> engines; ///< whether PostgreSQL
    QVector<int> sizes;
    QVector<int> clients;
    double seconds = 1;
    QRegularExpression only;
    bool plans = false;
    bool waits = false;
};

/// One who is logged in.
struct Session
{
    QString practitionerId;
    QByteArray token;
    qint64 patients = 0;
    QVector<QPair<QString, QString>> records; ///< patient and record
};

struct Operation
{
    QString name;
    QVector<QByteArray> requests;
    QVector<QVector<Statement>> statements; ///< of each request; none if they are not what it takes its time for
    QString before;                         ///< statements for the tool, before each run
    bool once = false;                      ///< no request may be repeated in a run
    bool warms = false;                     ///< what each request leaves behind is there before a run
};

void print(const QString& line)
{
    std::fprintf(stdout, "%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

void tell(const QString& line)
{
    std::fprintf(stderr, "%s\n", line.toUtf8().constData());
}

QByteArray request(const QByteArray& method, const QString& path, const QByteArray& token, const QByteArray& body = {},
                   const QByteArray& contentType = "application/json", const QByteArray& headers = {})
{
    QByteArray text = method + ' ' + path.toUtf8() + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: Keep-Alive\r\n";
    if (!token.isEmpty())
        text += "Authorization: Bearer " + token + "\r\nAccept-Language: en-US\r\n";
    text += headers;
    if (method != "GET")
        text += "Content-Type: " + contentType + "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n";
    return text + "\r\n" + body;
}

QByteArray json(const QJsonObject& object)
{
    return QJsonDocument(object).toJson();
}

/// Of three significant digits, so that a table does not pretend to know more.
QString figure(double value)
{
    if (value <= 0)
        return QStringLiteral("-");
    const int digits = std::clamp(2 - int(std::floor(std::log10(value))), 0, 3);
    return QString::number(value, 'f', digits);
}

class Bench
{
public:
    explicit Bench(const Settings& settings)
        : m_settings(settings)
    {
    }

    /// False if anything failed.
    bool run();

private:
    bool runOn(bool postgres, int patients);
    bool logIn();
    bool findRecords();
    QVector<Operation> operations();
    Operation page(PatientQuery query, const QString& sort, const QString& place, double part);
    Operation search(PatientQuery::Field field, const QString& needle);
    Operation analysis(bool cold);
    bool measure(const Operation& operation, QStringList& row);
    /// How often a second the bare library answers such requests with such a reply.
    double bareRate(const QByteArray& request, const QByteArray& reply, int clients);
    void showPlans(int patients);

    Settings m_settings;
    bool m_postgres = false;
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<Stage> m_stage;
    std::unique_ptr<Dialect> m_dialect;
    QVector<Session> m_sessions;
    double m_mostWork = 0;  ///< of the clients, seconds a request
    double m_mostShare = 0; ///< of the clients, of one processor

    struct Bare
    {
        int clients;
        int request;
        int reply;
        double rate;
    };
    QVector<Bare> m_bare;
};

bool Bench::run()
{
    for (const int patients : qAsConst(m_settings.sizes)) {
        for (const bool postgres : qAsConst(m_settings.engines)) {
            const bool sound = runOn(postgres, patients);
            m_stage.reset();
            m_folder.reset();
            if (!sound)
                return false;
        }
    }
    print(QStringLiteral(
              "The clients took at most %1 ms of a processor for a request, and at most %2 % of one processor.")
              .arg(figure(m_mostWork * 1000), QString::number(m_mostShare * 100, 'f', 0)));
    return true;
}

bool Bench::runOn(bool postgres, int patients)
{
    m_postgres = postgres;
    m_folder = std::make_unique<QTemporaryDir>(m_settings.folder + QStringLiteral("/quelmar-XXXXXX"));
    if (!m_folder->isValid()) {
        tell(QStringLiteral("cannot make a folder in %1: %2").arg(m_settings.folder, m_folder->errorString()));
        return false;
    }
    // The engine's own user has to reach its folder in it.
    QFile::setPermissions(m_folder->path(), QFile::Permissions(0x7755));
    m_stage = std::make_unique<Stage>(m_folder->path(), postgres);
    const QString engine = postgres ? QStringLiteral("PostgreSQL") : QStringLiteral("SQLite");
    tell(QStringLiteral("filling %1 with %2 patients").arg(engine).arg(patients));
    const QString error = m_stage->start(patients);
    if (!error.isEmpty()) {
        tell(error);
        return false;
    }
    m_dialect = Dialect::of(*DatabaseAddress::parse(m_stage->address()));
    if (!logIn() || !findRecords())
        return false;
    if (m_settings.waits) {
        tell(QStringLiteral("filled; waiting for a line"));
        while (std::getchar() != '\n' && std::feof(stdin) == 0) {
        }
    }

    print(QStringLiteral("### %1, %2 patients\n").arg(engine, QLocale(QLocale::English).toString(patients)));
    print(QStringLiteral("Filled in %1 s, %2 MB.\n")
              .arg(figure(m_stage->fillSeconds()), figure(double(m_stage->size()) / 1e6)));
    QString head = QStringLiteral("| operation |");
    QString rule = QStringLiteral("|---|");
    for (const int clients : qAsConst(m_settings.clients)) {
        head += QStringLiteral(" %1: a second | median, 99 % | yardsticks | ratio |").arg(clients);
        rule += QStringLiteral("--:|--:|--:|--:|");
    }
    print(head + QLatin1Char('\n') + rule);
    const QVector<Operation> all = operations();
    // Each of the server's threads has its connection to the database before anything is measured.
    Load(m_stage->port(), all.first().requests).run(warmingClients, 1);
    for (const Operation& operation : all) {
        if (!m_settings.only.match(operation.name).hasMatch())
            continue;
        QStringList row{operation.name};
        if (!measure(operation, row))
            return false;
        print(QStringLiteral("| %1 |").arg(row.join(QStringLiteral(" | "))));
    }
    print(QString());
    if (m_settings.plans)
        showPlans(patients);
    return true;
}

bool Bench::logIn()
{
    m_sessions.clear();
    QHash<QString, QPair<QString, qint64>> known;
    const QByteArray rows =
        m_stage->execute(QStringLiteral("SELECT o.name || ' ' || o.id || ' ' || c.patients FROM practitioners o "
                                        "JOIN patient_counts c ON c.practitioner_id = o.id;"));
    const QStringList lines = QString::fromUtf8(rows).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString& line : lines) {
        const QStringList parts = line.split(QLatin1Char(' '));
        known.insert(parts.value(0), {parts.value(1), parts.value(2).toLongLong()});
    }
    const int step = std::max(1, known.size() / maxSessions);
    QVector<QByteArray> requests;
    for (int i = 0; i < known.size() && requests.size() < maxSessions; i += step) {
        const QString name = DemoLoad::name(i);
        Session session;
        session.practitionerId = known.value(name).first;
        session.patients = known.value(name).second;
        m_sessions.append(session);
        requests.append(request("POST", QStringLiteral("/auth/login"), {},
                                "password=" + Demo::password().toUtf8() + "&username=" + name.toUtf8() + '&',
                                "application/x-www-form-urlencoded"));
    }
    const bool sound = Load(m_stage->port(), requests).fetch([this](int number, int, const QByteArray& body) {
        m_sessions[number].token =
            QJsonDocument::fromJson(body).object().value(QStringLiteral("accessToken")).toString().toUtf8();
    });
    if (!sound || m_sessions.isEmpty())
        tell(QStringLiteral("the practitioners could not be logged in"));
    return sound && !m_sessions.isEmpty();
}

bool Bench::findRecords()
{
    QHash<QString, Session*> byId;
    for (Session& session : m_sessions)
        byId.insert(session.practitionerId, &session);
    const QByteArray rows =
        m_stage->execute(QStringLiteral("SELECT p.practitioner_id || ' ' || p.id || ' ' || r.id FROM records r "
                                        "JOIN patients p ON p.id = r.patient_id ORDER BY p.practitioner_id, r.id;"));
    const QStringList lines = QString::fromUtf8(rows).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString& line : lines) {
        const QStringList parts = line.split(QLatin1Char(' '));
        if (Session* session = byId.value(parts.value(0)))
            session->records.append({parts.value(1), parts.value(2)});
    }
    const bool sound = std::none_of(m_sessions.begin(), m_sessions.end(),
                                    [](const Session& session) { return session.records.isEmpty(); });
    if (!sound)
        tell(QStringLiteral("there are practitioners without records"));
    return sound;
}

Operation Bench::page(PatientQuery query, const QString& sort, const QString& place, double part)
{
    Operation made;
    made.name = QStringLiteral("page by %1, %2").arg(sort, place);
    query.size = pageSize;
    for (const Session& session : qAsConst(m_sessions)) {
        const qint64 pages = (session.patients + pageSize - 1) / pageSize;
        query.page = int(part * double(pages - 1));
        made.requests.append(request("GET",
                                     QStringLiteral("/patient/filter?sortby=%1&direction=asc&size=%2&current=%3&"
                                                    "searchby=name&needle=")
                                         .arg(sort)
                                         .arg(pageSize)
                                         .arg(query.page),
                                     session.token));
        const PatientStatements statements(*m_dialect, session.practitionerId);
        made.statements.append({Accounts::authentication(QString::fromUtf8(session.token)), statements.count(),
                                statements.page(query, session.patients)});
    }
    return made;
}

Operation Bench::search(PatientQuery::Field field, const QString& needle)
{
    const bool byName = field == PatientQuery::Field::Name;
    Operation made;
    made.name =
        QStringLiteral("search %1 for \"%2\"").arg(byName ? QStringLiteral("names") : QStringLiteral("notes"), needle);
    PatientQuery query;
    query.field = field;
    query.needle = needle;
    query.size = pageSize;
    const QByteArray encoded = needle.toUtf8().toBase64().replace('+', '.').replace('/', '_').replace('=', '-');
    for (const Session& session : qAsConst(m_sessions)) {
        made.requests.append(
            request("GET",
                    QStringLiteral("/patient/filter?sortby=name&direction=asc&size=%1&current=0&"
                                   "searchby=%2&needle=%3")
                        .arg(pageSize)
                        .arg(byName ? QStringLiteral("name") : QStringLiteral("notes"), QString::fromLatin1(encoded)),
                    session.token));
        made.statements.append(
            {Accounts::authentication(QString::fromUtf8(session.token)),
             PatientStatements(*m_dialect, session.practitionerId).search(query, TextKeys::folded(needle))});
    }
    return made;
}

Operation Bench::analysis(bool cold)
{
    Operation made;
    made.name = cold ? QStringLiteral("marker analysis, cold") : QStringLiteral("marker analysis, warm");
    made.once = cold;
    made.warms = !cold;
    if (cold)
        made.before = QStringLiteral("DELETE FROM analyses;");
    // The records of one after those of another, as the cold ones are used up.
    for (int place = 0; place < DemoLoad::recordsOfPractitioner; ++place) {
        for (const Session& session : qAsConst(m_sessions)) {
            if (place >= session.records.size())
                continue;
            const QPair<QString, QString>& record = session.records.at(place);
            made.requests.append(
                request("POST", QStringLiteral("/analysis"), session.token,
                        json({{QStringLiteral("patientId"), record.first},
                              {QStringLiteral("storageId"), Catalogue::instance().storages().first().id},
                              {QStringLiteral("records"), QJsonArray{record.second}}})));
        }
    }
    return made;
}

QVector<Operation> Bench::operations()
{
    QVector<Operation> all;
    const QVector<QPair<PatientQuery::Sort, QString>> sorts{{PatientQuery::Sort::Name, QStringLiteral("name")},
                                                            {PatientQuery::Sort::Age, QStringLiteral("age")},
                                                            {PatientQuery::Sort::Gender, QStringLiteral("gender")},
                                                            {PatientQuery::Sort::Record, QStringLiteral("record")},
                                                            {PatientQuery::Sort::Notes, QStringLiteral("notes")}};
    for (const auto& sort : sorts) {
        PatientQuery query;
        query.sort = sort.first;
        all.append(page(query, sort.second, QStringLiteral("first"), 0));
        all.append(page(query, sort.second, QStringLiteral("middle"), 0.5));
        all.append(page(query, sort.second, QStringLiteral("last"), 1));
    }
    const auto names = PatientQuery::Field::Name;
    const auto notes = PatientQuery::Field::Notes;
    all.append(search(names, QStringLiteral("thornb")));
    all.append(search(names, QStringLiteral("орнот")));
    all.append(search(names, QStringLiteral("th")));
    all.append(search(names, QStringLiteral("nobody")));
    all.append(search(notes, QStringLiteral("виолонч")));
    all.append(search(notes, QStringLiteral("ou")));

    Operation list;
    list.name = QStringLiteral("record list");
    Operation upload;
    upload.name = QStringLiteral("upload");
    const QByteArray boundary = "quelmar-bench-boundary";
    const QByteArray wave = Demo::recording({440, 880}, 0.05, 1);
    Operation recipe;
    recipe.name = QStringLiteral("recipe of %1 markers").arg(recipeMarkers);
    QJsonArray markers;
    for (const Catalogue::Storage& storage : Catalogue::instance().storages()) {
        for (const Catalogue::Marker& marker : storage.markers) {
            if (markers.size() < recipeMarkers)
                markers.append(marker.id);
        }
    }
    for (const Session& session : qAsConst(m_sessions)) {
        const QString patient = session.records.first().first;
        list.requests.append(request("GET", QStringLiteral("/record/") + patient, session.token));
        list.statements.append({Accounts::authentication(QString::fromUtf8(session.token)),
                                PatientStatements(*m_dialect, session.practitionerId).find(patient),
                                Records::listing(session.practitionerId, patient)});
        const QByteArray part = "--" + boundary + "\r\nContent-Disposition: form-data; name=";
        upload.requests.append(request("POST", QStringLiteral("/record"), session.token,
                                       part + "\"patientId\"\r\n\r\n" + session.records.last().first.toUtf8() + "\r\n" +
                                           part +
                                           "\"record\"; filename=\"record\"\r\nContent-Type: "
                                           "application/octet-stream\r\n\r\n" +
                                           wave + "\r\n--" + boundary + "--\r\n",
                                       "multipart/form-data; boundary=" + boundary, "Quelmar-ID: BENCH\r\n"));
        recipe.requests.append(request("POST", QStringLiteral("/recipe"), session.token,
                                       json({{QStringLiteral("patientId"), patient},
                                             {QStringLiteral("recordId"), session.records.first().second},
                                             {QStringLiteral("deviceId"), QString()},
                                             {QStringLiteral("command"), QString()},
                                             {QStringLiteral("duration"), 0},
                                             {QStringLiteral("markers"), markers}})));
    }
    // What was uploaded is taken away again, or else the lists after it would be longer than those before.
    upload.before = QStringLiteral("DELETE FROM records WHERE sensor_id = 'BENCH';");
    all << list << analysis(true) << analysis(false) << recipe << upload;
    return all;
}

bool Bench::measure(const Operation& operation, QStringList& row)
{
    tell(QStringLiteral("measuring: ") + operation.name);
    QByteArray reply;
    const Load load(m_stage->port(), operation.requests);
    for (const int clients : qAsConst(m_settings.clients)) {
        if (!operation.before.isEmpty() && m_stage->execute(operation.before).isNull())
            return false;
        // Caches, statements and connections are as they will be; a cold one stays cold.
        Load::Result result;
        if (operation.once) {
            result = load.runOnce(clients, m_settings.seconds);
        } else {
            if (operation.warms && !load.fetch([](int, int, const QByteArray&) {}))
                return false;
            load.run(clients, m_settings.seconds / 5);
            result = load.run(clients, m_settings.seconds);
        }
        if (result.failures > 0 || result.requests == 0) {
            tell(QStringLiteral("%1 with %2 clients: %3 requests failed: %4")
                     .arg(operation.name)
                     .arg(clients)
                     .arg(result.failures)
                     .arg(QString::fromUtf8(result.failure)));
            return false;
        }
        m_mostWork = std::max(m_mostWork, result.work / double(result.requests));
        m_mostShare = std::max(m_mostShare, result.work / result.seconds);
        if (reply.isNull() &&
            !Load(m_stage->port(), {operation.requests.first()}).fetch([&reply](int, int, const QByteArray& body) {
                reply = body;
            }))
            return false;
        const double http = bareRate(operation.requests.first(), reply, clients);
        const double sql =
            operation.statements.isEmpty() ? 0 : m_stage->rate(operation.statements, clients, m_settings.seconds);
        if (http <= 0 || (sql <= 0 && !operation.statements.isEmpty())) {
            tell(QStringLiteral("%1: a yardstick could not be measured").arg(operation.name));
            return false;
        }
        const double ratio = sql > 0 ? (1 / result.rate()) / (1 / http + 1 / sql) : 0;
        row << figure(result.rate()) << figure(result.median) + QStringLiteral(", ") + figure(result.slow)
            << (sql > 0 ? figure(http) + QStringLiteral(", ") + figure(sql) : figure(http)) << figure(ratio);
    }
    return true;
}

double Bench::bareRate(const QByteArray& request, const QByteArray& reply, int clients)
{
    const auto like = [](int one, int other) { return one <= other * alike + 1000 && other <= one * alike + 1000; };
    for (const Bare& known : qAsConst(m_bare)) {
        if (known.clients == clients && like(known.request, request.size()) && like(known.reply, reply.size()))
            return known.rate;
    }
    const QString path = m_folder->filePath(QStringLiteral("reply"));
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(reply) != reply.size())
            return 0;
    }
    Companion server;
    const int port = server.start(QStringLiteral(QUELMAR_BARE_SERVER), {path}, "listening on ").toInt();
    const Load load(quint16(port), {request});
    load.run(clients, m_settings.seconds / 5);
    const Load::Result result = load.run(clients, m_settings.seconds);
    if (port == 0 || result.failures > 0)
        return 0;
    m_bare.append({clients, request.size(), reply.size(), result.rate()});
    return result.rate();
}

void Bench::showPlans(int patients)
{
    const Session& session = m_sessions.first();
    const PatientStatements statements(*m_dialect, session.practitionerId);
    PatientQuery query;
    query.size = pageSize;
    const auto show = [this](const QString& title, Statement statement) {
        QString text;
        int value = 0;
        for (const QChar c : qAsConst(statement.text)) {
            if (c != QLatin1Char('?')) {
                text += c;
                continue;
            }
            const QVariant bound = statement.values.at(value++);
            text += bound.userType() == QMetaType::QString ? QLatin1Char('\'') + bound.toString() + QLatin1Char('\'')
                                                           : bound.toString();
        }
        const QString explain = m_postgres ? QStringLiteral("EXPLAIN (ANALYZE, COSTS OFF, TIMING OFF, SUMMARY OFF) ")
                                           : QStringLiteral("EXPLAIN QUERY PLAN ");
        print(title + QStringLiteral(":\n"));
        const QStringList lines =
            QString::fromUtf8(m_stage->execute(explain + text + QLatin1Char(';'))).split(QLatin1Char('\n'));
        for (const QString& line : lines) {
            if (!line.isEmpty())
                print(QStringLiteral("    ") + line);
        }
        print(QString());
    };
    print(QStringLiteral("Plans with %1 patients, of whom the practitioner has %2:\n")
              .arg(patients)
              .arg(session.patients));
    const int pages = int((session.patients + pageSize - 1) / pageSize);
    show(QStringLiteral("The first page by name"), statements.page(query, session.patients));
    query.page = pages / 2;
    show(QStringLiteral("The middle page"), statements.page(query, session.patients));
    query.page = pages - 1;
    show(QStringLiteral("The last page"), statements.page(query, session.patients));
    query.page = 0;
    show(QStringLiteral("A search for \"thornb\""), statements.search(query, QStringLiteral("thornb")));
    show(QStringLiteral("A search for \"th\""), statements.search(query, QStringLiteral("th")));
}

QVector<int> numbers(const QString& list, int most)
{
    QVector<int> all;
    const QStringList parts = list.split(QLatin1Char(','));
    for (const QString& part : parts) {
        bool sound = false;
        const int number = part.toInt(&sound);
        if (!sound || number < 1 || number > most)
            return {};
        all.append(number);
    }
    return all;
}

std::optional<Settings> settings(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Measures quelmar-server under load, and prints tables in Markdown."));
    parser.addHelpOption();
    const QCommandLineOption folder(QStringLiteral("folder"),
                                    QStringLiteral("Where the databases are made, and removed afterwards; a million "
                                                   "patients take some gigabytes. Its path has to be short."),
                                    QStringLiteral("FOLDER"), QDir::tempPath());
    const QCommandLineOption engines(QStringLiteral("engines"), QStringLiteral("sqlite, postgresql, or both."),
                                     QStringLiteral("LIST"), QStringLiteral("sqlite,postgresql"));
    const QCommandLineOption sizes(QStringLiteral("patients"), QStringLiteral("How many, with commas between them."),
                                   QStringLiteral("LIST"), QStringLiteral("1000"));
    const QCommandLineOption clients(QStringLiteral("clients"), QStringLiteral("How many at once."),
                                     QStringLiteral("LIST"), QStringLiteral("1,16,64"));
    const QCommandLineOption seconds(QStringLiteral("seconds"), QStringLiteral("For each figure."),
                                     QStringLiteral("SECONDS"), QStringLiteral("1"));
    const QCommandLineOption only(QStringLiteral("only"), QStringLiteral("Operations whose names match this."),
                                  QStringLiteral("PATTERN"), QString());
    const QCommandLineOption plans(QStringLiteral("plans"), QStringLiteral("Shows the engines' plans of pages too."));
    const QCommandLineOption waits(QStringLiteral("wait"),
                                   QStringLiteral("Waits for a line on standard input once a database is filled, so "
                                                  "that whatever else the machine does can end first."));
    parser.addOptions({folder, engines, sizes, clients, seconds, only, plans, waits});
    parser.process(arguments);

    Settings read;
    read.folder = QDir(parser.value(folder)).absolutePath();
    read.sizes = numbers(parser.value(sizes), DemoLoad::maxPatients);
    read.clients = numbers(parser.value(clients), 1000);
    bool sound = false;
    read.seconds = parser.value(seconds).toDouble(&sound);
    read.only.setPattern(parser.value(only));
    read.plans = parser.isSet(plans);
    read.waits = parser.isSet(waits);
    const QStringList names = parser.value(engines).split(QLatin1Char(','));
    for (const QString& name : names) {
        if (name != QLatin1String("sqlite") && name != QLatin1String("postgresql"))
            sound = false;
        read.engines.append(name == QLatin1String("postgresql"));
    }
    // A Unix socket lies in a folder below it.
    if (read.folder.size() > maxPath || !QDir(read.folder).exists()) {
        tell(QStringLiteral("--folder takes an existing folder with a path of at most %1 signs").arg(maxPath));
        return std::nullopt;
    }
    if (!sound || read.seconds <= 0 || read.sizes.isEmpty() || read.clients.isEmpty() || !read.only.isValid() ||
        !parser.positionalArguments().isEmpty()) {
        tell(QStringLiteral("the command line cannot be understood, see --help"));
        return std::nullopt;
    }
    return read;
}

} // namespace

} // namespace bench

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    if (!server::Secrets::initialize())
        return 1;
    const std::optional<bench::Settings> settings = bench::settings(QCoreApplication::arguments());
    if (!settings)
        return 2;
    return bench::Bench(*settings).run() ? 0 : 1;
}
