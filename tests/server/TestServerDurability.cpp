// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Migrations.h"
#include "tests/server/PostgresCluster.h"
#include "tests/server/ServerProcess.h"
#include "tests/server/StoredContent.h"
#include "tests/server/TestDatabase.h"
#include "tests/server/Writer.h"
#include "tests/server/WrittenState.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <algorithm>
#include <csignal>
#include <memory>
#include <random>
#include <vector>

using namespace server;

namespace {

using Content = QMap<QString, QStringList>;

constexpr int patience = 120000;
constexpr int writers = 4;

bool isLong()
{
    return qgetenv("QUELMAR_TEST_LONG") == "1";
}

/// A connection for the time of one look: those of before have ended with the engine.
class Look
{
public:
    explicit Look(TestDatabase& database)
        : m_name(QStringLiteral("look%1").arg(++last))
    {
        m_open = database.connect(m_name);
    }
    ~Look() { QSqlDatabase::removeDatabase(m_name); }
    Look(const Look&) = delete;
    Look& operator=(const Look&) = delete;

    bool isOpen() const { return m_open; }
    QSqlDatabase database() const { return QSqlDatabase::database(m_name); }
    QVariant sql(const QString& statement) const
    {
        QSqlQuery query(database());
        if (!query.exec(statement)) {
            qWarning("%s", qPrintable(query.lastError().text()));
            return QVariant();
        }
        return query.next() ? query.value(0) : QVariant(0);
    }

private:
    static inline int last = 0;

    QString m_name;
    bool m_open = false;
};

/// What is done to a sound database, and what is to be said about it.
struct Damage
{
    const char* name;
    QString statement;
    const char* told;
    const char* constraint = nullptr; ///< that has to go before
};

QString firstOf(const QStringList& complaints)
{
    return complaints.mid(0, 5).join(QLatin1Char('\n'));
}

} // namespace

/// What was acknowledged is there after any end of the server, the engine, a backup or a restore; and nothing is there
/// in part. QUELMAR_TEST_SEED repeats a run, as far as the machine lets it, QUELMAR_TEST_LONG=1 makes it a long one.
class TestServerDurability : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void damageIsNoticed();
    void survivesKills();
    void backupWhileOthersWrite();
    void restoreWhileOthersWrite();
    void killedBackup();
    void killedRestore();

private:
    /// From 0 to below it.
    int number(int below) { return int(m_random() % unsigned(below)); }
    bool startServer();
    void beginWriting();
    void endWriting();
    int acknowledged() const;
    /// True once the writers together have had that many answers since they began.
    bool waitForAnswers(int count);
    /// After the end of a server, until the engine has carried out what it had asked for.
    bool waitForEngine();
    /// What is wrong with the database, or with what the writers hold of it. If it is nothing, they go on from here.
    QStringList settle();
    QStringList settle(const QSqlDatabase& database);
    /// The same without a look at their accounts: what is wrong with a database by itself.
    static QStringList stateOf(TestDatabase& database, QMap<QString, WrittenState>& states);
    Content content();
    QStringList command(const QStringList& arguments) const;
    /// Begins the command and ends it by force after so many microseconds. True if that was before its own end.
    bool killCommand(const QStringList& arguments, int microseconds) const;
    /// The same at a random moment; the duration is one that the command took, and becomes a better one.
    bool killCommandWithin(const QStringList& arguments, int& duration);

    quint32 m_seed = 0;
    std::mt19937 m_random;
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<TestDatabase> m_database;
    std::unique_ptr<ServerProcess> m_server;
    std::vector<std::unique_ptr<Writer>> m_writers;
};

void TestServerDurability::initTestCase()
{
    // The kill of an engine that does not write to the disk would show nothing.
    qputenv("QUELMAR_TEST_FSYNC", "on");
    bool given = false;
    m_seed = qEnvironmentVariable("QUELMAR_TEST_SEED").toUInt(&given);
    if (!given)
        m_seed = std::random_device()();
    qInfo("QUELMAR_TEST_SEED=%u", m_seed);
}

void TestServerDurability::init()
{
    // Each test by itself is repeated by the seed too.
    m_random.seed(m_seed);
    m_folder = std::make_unique<QTemporaryDir>();
    m_database = std::make_unique<TestDatabase>();
    for (int i = 0; i < writers; ++i) {
        const QString name = QStringLiteral("writer%1").arg(i);
        QVERIFY(ServerProcess::addPractitioner(m_database->location(), name, QStringLiteral("secret")));
        m_writers.push_back(std::make_unique<Writer>(name, m_random()));
    }
    QVERIFY(startServer());
    for (const auto& writer : m_writers)
        QVERIFY(writer->login(m_server->url()));
}

void TestServerDurability::cleanup()
{
    m_writers.clear();
    m_server.reset();
    m_database.reset();
    m_folder.reset();
}

bool TestServerDurability::startServer()
{
    m_server = std::make_unique<ServerProcess>();
    return m_server->start(m_database->location());
}

void TestServerDurability::beginWriting()
{
    for (const auto& writer : m_writers)
        writer->start(m_server->url());
}

void TestServerDurability::endWriting()
{
    for (const auto& writer : m_writers)
        writer->stop();
}

int TestServerDurability::acknowledged() const
{
    int count = 0;
    for (const auto& writer : m_writers)
        count += writer->acknowledged();
    return count;
}

bool TestServerDurability::waitForAnswers(int count)
{
    QElapsedTimer waited;
    waited.start();
    while (acknowledged() < count) {
        const bool any = std::any_of(m_writers.begin(), m_writers.end(),
                                     [](const std::unique_ptr<Writer>& writer) { return writer->isWorking(); });
        if (!any || waited.hasExpired(patience))
            return acknowledged() >= count;
        QThread::usleep(500);
    }
    return true;
}

bool TestServerDurability::waitForEngine()
{
    if (!TestDatabase::isPostgres())
        return true;
    QElapsedTimer waited;
    waited.start();
    while (!waited.hasExpired(patience)) {
        const Look look(*m_database);
        if (look.isOpen() && look.sql(QStringLiteral("SELECT COUNT(*) FROM pg_stat_activity "
                                                     "WHERE application_name = 'quelmar-server'")) == QVariant(0))
            return true;
        QThread::msleep(5);
    }
    return false;
}

QStringList TestServerDurability::stateOf(TestDatabase& database, QMap<QString, WrittenState>& states)
{
    QStringList complaints;
    const Look look(database);
    if (!look.isOpen())
        return {QStringLiteral("the database cannot be opened")};
    states = writtenState(look.database(), complaints);
    return complaints;
}

QStringList TestServerDurability::settle()
{
    const Look look(*m_database);
    return look.isOpen() ? settle(look.database()) : QStringList{QStringLiteral("the database cannot be opened")};
}

QStringList TestServerDurability::settle(const QSqlDatabase& database)
{
    QStringList complaints;
    QMap<QString, WrittenState> states = writtenState(database, complaints);
    for (const auto& writer : m_writers)
        complaints += writer->settle(states.take(writer->name()));
    for (auto other = states.begin(); other != states.end(); ++other)
        complaints.append(QStringLiteral("something belongs to \"%1\"").arg(other.key()));
    return complaints;
}

Content TestServerDurability::content()
{
    const Look look(*m_database);
    return storedContent(look.database(), Migrations::keptTables());
}

QStringList TestServerDurability::command(const QStringList& arguments) const
{
    return QStringList{QStringLiteral("--database"), m_database->location()} + arguments;
}

bool TestServerDurability::killCommandWithin(const QStringList& arguments, int& duration)
{
    const int moment = number(duration);
    if (killCommand(arguments, moment))
        return true;
    duration = qMax(moment, 1000);
    return false;
}

bool TestServerDurability::killCommand(const QStringList& arguments, int microseconds) const
{
    QProcess process;
    process.start(QStringLiteral(QUELMAR_SERVER), command(arguments));
    process.waitForStarted();
    QThread::usleep(ulong(microseconds));
    process.kill();
    process.waitForFinished(patience);
    return process.exitStatus() == QProcess::CrashExit;
}

/// Otherwise all that follows would show nothing.
void TestServerDurability::damageIsNoticed()
{
    const bool postgres = TestDatabase::isPostgres();
    const auto in = [](const char* statement, const QString& row) { return QLatin1String(statement) + row; };
    const QString patient = QStringLiteral("(SELECT MIN(id) FROM patients)");
    const QString record = QStringLiteral("(SELECT MIN(id) FROM records)");
    const QString recipe = QStringLiteral("(SELECT MIN(record_id) FROM recipe_markers WHERE position = 1)");
    const QString answered = QStringLiteral("(SELECT MIN(record_id) FROM questionnaires)");
    const QVector<Damage> all{
        {"a record is gone", in("DELETE FROM records WHERE id = ", record), "record .* is not there"},
        {"a patient is gone", in("DELETE FROM patients WHERE id = ", patient), "patient .* is not there"},
        {"a patient is as before", in("UPDATE patients SET notes = '' WHERE id = ", patient), "patient .* and not"},
        {"a practitioner is gone", in("DELETE FROM practitioners WHERE name = 'writer0'", QString()),
         "patient .* is not there"},
        {"a wave is cut",
         in(postgres ? "UPDATE records SET wave = substring(wave FROM 1 FOR 66193) WHERE id = "
                     : "UPDATE records SET wave = substr(wave, 1, 66193) WHERE id = ",
            record),
         "has 66193 bytes"},
        {"a bit of a wave is another",
         in(postgres ? "UPDATE records SET wave = set_byte(wave, 40000, get_byte(wave, 40000) # 1) WHERE id = "
                     : "UPDATE records SET wave = CAST(substr(wave, 1, 40000) || CASE substr(wave, 40001, 1) "
                       "WHEN x'00' THEN x'01' ELSE x'00' END || substr(wave, 40002) AS BLOB) WHERE id = ",
            record),
         "record .* is \".*\\|66194\\|.*and not"},
        {"a record of another patient",
         in("UPDATE records SET patient_id = (SELECT MAX(id) FROM patients WHERE id <> patient_id) WHERE id = ",
            record),
         "record "},
        {"a record twice",
         in("INSERT INTO records (id, patient_id, recorded_at, sensor_id, wave) "
            "SELECT 'twice', patient_id, recorded_at, sensor_id, wave FROM records WHERE id = ",
            record),
         "record twice was never stored"},
        {"another last recording", in("UPDATE patients SET last_record_at = '2001' WHERE last_record_at <> ''", {}),
         "has the last recording of \"2001\""},
        {"the first marker is gone", in("DELETE FROM recipe_markers WHERE position = 0 AND record_id = ", recipe),
         "has a gap"},
        {"the last marker is gone",
         QStringLiteral("DELETE FROM recipe_markers WHERE record_id = %1 AND position = "
                        "(SELECT MAX(position) FROM recipe_markers WHERE record_id = %1)")
             .arg(recipe),
         "recipe .* and not"},
        {"all markers are gone", in("DELETE FROM recipe_markers", {}), "recipe .* and not"},
        {"a marker is another",
         in("UPDATE recipe_markers SET marker_id = 'x' WHERE position = 0 AND record_id = ", recipe),
         "recipe .* and not"},
        {"a recipe is gone", in("DELETE FROM recipes WHERE record_id = ", recipe), "recipe .* is not there"},
        {"a duration is another", in("UPDATE recipes SET duration = duration + 1", {}), "recipe .* and not"},
        {"an answer is gone",
         QStringLiteral("DELETE FROM questionnaire_answers WHERE record_id = %1 AND symptom = "
                        "(SELECT MIN(symptom) FROM questionnaire_answers WHERE record_id = %1)")
             .arg(answered),
         "questionnaire .* and not"},
        {"an answer is another", in("UPDATE questionnaire_answers SET intensity = intensity + 0.001", {}),
         "questionnaire .* and not"},
        {"a questionnaire is gone", in("DELETE FROM questionnaires WHERE record_id = ", answered),
         "questionnaire .* is not there"},
        {"answers without a questionnaire", in("DELETE FROM questionnaires", {}),
         "questionnaire_answers.record_id refers to", "questionnaire_answers_record_id_fkey"},
        {"records without a patient", in("DELETE FROM patients", {}), "records.patient_id refers to",
         "records_patient_id_fkey"},
    };

    beginWriting();
    QVERIFY(waitForAnswers(100));
    endWriting();
    QCOMPARE(firstOf(settle()), QString());
    const Look look(*m_database);
    for (const Damage& damage : all) {
        // A constraint that would prevent it is what has to be missing.
        const bool free = damage.constraint != nullptr;
        if (!postgres)
            QVERIFY(look.sql(QStringLiteral("PRAGMA foreign_keys = ") + QString::number(free ? 0 : 1)).isValid());
        QVERIFY(look.sql(QStringLiteral("BEGIN")).isValid());
        if (postgres && free)
            QVERIFY(look.sql(QStringLiteral("ALTER TABLE %1 DROP CONSTRAINT %2")
                                 .arg(QLatin1String(damage.constraint).startsWith(QLatin1String("records"))
                                          ? QStringLiteral("records")
                                          : QStringLiteral("questionnaire_answers"),
                                      QLatin1String(damage.constraint)))
                        .isValid());
        QVERIFY2(look.sql(damage.statement).isValid(), damage.name);
        const QStringList complaints = settle(look.database());
        QVERIFY(look.sql(QStringLiteral("ROLLBACK")).isValid());
        const QRegularExpression told(QLatin1String(damage.told), QRegularExpression::DotMatchesEverythingOption);
        const bool noticed = std::any_of(complaints.begin(), complaints.end(),
                                         [&told](const QString& complaint) { return complaint.contains(told); });
        QVERIFY2(noticed, qPrintable(QLatin1String(damage.name) + QStringLiteral(": ") + firstOf(complaints)));
        // And nothing else is.
        QCOMPARE(firstOf(settle(look.database())), QString());
    }

    // What was not acknowledged is either whole or not there.
    Writer& writer = *m_writers.front();
    const WrittenState state = writer.state();
    const QString id = state.lowerBound(QStringLiteral("record ")).key();
    WrittenState without = state;
    const QString text = without.take(id);
    const QString half = QString(text).replace(QStringLiteral("|66194|"), QStringLiteral("|66193|"));
    for (const bool doubtful : {false, true}) {
        for (const QString& found : {QString(), half, text}) {
            WrittenState there = without;
            if (!found.isNull())
                there.insert(id, found);
            writer.setState(without);
            if (doubtful)
                writer.setInDoubt({{QStringLiteral("record ?"), text}});
            const bool fine = writer.settle(there).isEmpty();
            QCOMPARE(fine, found.isNull() || (doubtful && found == text));
        }
    }
    // Nor is it there twice.
    WrittenState twice = state;
    twice.insert(id + QLatin1Char('x'), text);
    writer.setState(without);
    writer.setInDoubt({{QStringLiteral("record ?"), text}});
    QVERIFY(!writer.settle(twice).isEmpty());
}

void TestServerDurability::survivesKills()
{
    // Each engine itself is to have met with fifty.
    const int kills = isLong() ? (TestDatabase::isPostgres() ? 90 : 60) : 5;
    int doubts = 0;
    int servers = 0;
    int engines = 0;
    for (int kill = 0; kill < kills; ++kill) {
        beginWriting();
        QVERIFY2(waitForAnswers(1 + number(60)), "the server acknowledges nothing");
        QThread::usleep(ulong(number(20000)));
        // The server, the engine, or both.
        const int which = TestDatabase::isPostgres() ? (kill + 1) % 3 : 0;
        if (which != 1) {
            m_server->kill();
            ++servers;
        }
        if (which != 0) {
            QVERIFY(PostgresCluster::instance().kill());
            ++engines;
        }
        for (const auto& writer : m_writers) {
            // By itself: what is under way is not to be waited for.
            QTRY_VERIFY_WITH_TIMEOUT(!writer->isWorking(), patience);
            writer->stop();
            // Without an answer, or told that the database is away.
            QVERIFY2(writer->lastStatus() == 0 || writer->lastStatus() == 503,
                     qPrintable(QStringLiteral("status %1").arg(writer->lastStatus())));
            doubts += writer->inDoubt() ? 1 : 0;
        }
        if (which != 0)
            QVERIFY(PostgresCluster::instance().start());
        if (which != 1) {
            QVERIFY(waitForEngine());
            // As the first thing that meets with what was left.
            QVERIFY(startServer());
        }
        const QString complaints = firstOf(settle());
        QVERIFY2(complaints.isEmpty(), qPrintable(QStringLiteral("after kill %1: %2").arg(kill + 1).arg(complaints)));
        for (const auto& writer : m_writers)
            QCOMPARE(firstOf(writer->askedOf(m_server->url())), QString());
    }

    if (TestDatabase::isPostgres()) {
        // The engine's own look at its indexes, and whether each row is in them.
        Look look(*m_database);
        const QString database = look.sql(QStringLiteral("SELECT current_database()")).toString();
        QVERIFY(PostgresCluster::instance().administer(QStringLiteral("CREATE EXTENSION amcheck"), database));
        QVERIFY(PostgresCluster::instance().administer(
            QStringLiteral("SELECT bt_index_check(c.oid, true) FROM pg_index i JOIN pg_class c ON c.oid = i.indexrelid "
                           "JOIN pg_am a ON a.oid = c.relam WHERE a.amname = 'btree' AND i.indisvalid "
                           "AND c.relpersistence = 'p'"),
            database));
    }
    QMap<QString, int> counts;
    for (const auto& writer : m_writers) {
        const QMap<QString, int> some = writer->counts();
        for (auto entry = some.begin(); entry != some.end(); ++entry)
            counts[entry.key()] += entry.value();
    }
    for (auto entry = counts.begin(); entry != counts.end(); ++entry)
        qInfo("acknowledged: %d times %s", entry.value(), qPrintable(entry.key()));
    qInfo("%d kills of the server and %d of the engine, %d requests in doubt", servers, engines, doubts);
    // Without these it was no test.
    QVERIFY(servers + engines >= kills);
    QVERIFY(doubts > 0);
    for (const char* kind : {"patient", "upload", "recipe", "questionnaire"})
        QVERIFY2(counts.value(QLatin1String(kind)) > 0, kind);
}

void TestServerDurability::backupWhileOthersWrite()
{
    const int backups = isLong() ? 20 : 3;
    for (int i = 0; i < backups; ++i) {
        const QString file = m_folder->filePath(QStringLiteral("backup%1").arg(i));
        std::vector<WrittenState> before;
        for (const auto& writer : m_writers)
            before.push_back(writer->state());
        beginWriting();
        QVERIFY(waitForAnswers(20 + number(30)));
        std::vector<int> known;
        for (const auto& writer : m_writers)
            known.push_back(writer->acknowledged());
        const auto outcome = ServerProcess::run(command({QStringLiteral("backup"), file}));
        QCOMPARE(outcome.errors, QByteArray());
        QCOMPARE(outcome.exitCode, 0);
        const int until = acknowledged();
        QVERIFY(waitForAnswers(until + 5));
        endWriting();
        for (const auto& writer : m_writers)
            QCOMPARE(writer->lastStatus(), 200);

        for (const auto engine : {TestDatabase::Engine::OfTheRun, TestDatabase::Engine::Other}) {
            TestDatabase fresh(engine);
            const auto restored =
                ServerProcess::run({QStringLiteral("--database"), fresh.location(), QStringLiteral("restore"), file});
            QCOMPARE(restored.errors, QByteArray());
            QCOMPARE(restored.exitCode, 0);
            QMap<QString, WrittenState> states;
            QCOMPARE(firstOf(stateOf(fresh, states)), QString());
            for (int w = 0; w < writers; ++w) {
                // The first of the writer's changes, up to some one that was not yet acknowledged when it began.
                const QVector<Writer::Change> changes = m_writers[w]->changes();
                const WrittenState found = states.value(m_writers[w]->name());
                WrittenState state = before[w];
                QStringList different;
                for (int count = 0; count <= changes.size(); ++count) {
                    if (count > 0)
                        state = Writer::changed(state, changes.at(count - 1), found);
                    if (count < known[w])
                        continue;
                    different = differences(state, found);
                    if (different.isEmpty())
                        break;
                }
                QCOMPARE(firstOf(different), QString());
            }
        }
        QCOMPARE(firstOf(settle()), QString());
    }
}

void TestServerDurability::restoreWhileOthersWrite()
{
    const int restores = isLong() ? 20 : 3;
    for (int i = 0; i < restores; ++i) {
        beginWriting();
        QVERIFY(waitForAnswers(20 + number(30)));
        endWriting();
        QCOMPARE(firstOf(settle()), QString());
        std::vector<WrittenState> kept;
        for (const auto& writer : m_writers)
            kept.push_back(writer->state());
        const QString file = m_folder->filePath(QStringLiteral("restored%1").arg(i));
        QCOMPARE(ServerProcess::run(command({QStringLiteral("backup"), file})).exitCode, 0);

        beginWriting();
        QVERIFY(waitForAnswers(10 + number(30)));
        const auto outcome =
            ServerProcess::run(command({QStringLiteral("restore"), file, QStringLiteral("--replace")}));
        QCOMPARE(outcome.errors, QByteArray());
        QCOMPARE(outcome.exitCode, 0);
        QMap<QString, WrittenState> states;
        for (const auto& writer : m_writers) {
            // Each is told sooner or later that its session has ended, or before that, that what it works on has gone
            // while its request waited.
            QTRY_VERIFY_WITH_TIMEOUT(!writer->isWorking(), patience);
            writer->stop();
            const int status = writer->lastStatus();
            QVERIFY2(status == 401 || status == 404 || status == 503,
                     qPrintable(QStringLiteral("status %1").arg(status)));
        }
        QCOMPARE(firstOf(stateOf(*m_database, states)), QString());
        for (int w = 0; w < writers; ++w) {
            const WrittenState found = states.value(m_writers[w]->name());
            // A request that had its session before the restore may have been carried out after it: the last one that
            // was acknowledged, or the one in doubt.
            QStringList different = differences(kept[w], found);
            QVector<Writer::Change> last = m_writers[w]->changes().mid(qMax(0, m_writers[w]->changes().size() - 1));
            if (const auto doubt = m_writers[w]->inDoubt())
                last.append(*doubt);
            for (const Writer::Change& change : qAsConst(last)) {
                if (!different.isEmpty())
                    different = differences(Writer::changed(kept[w], change, found), found);
            }
            QCOMPARE(firstOf(different), QString());
            m_writers[w]->setState(found);
            QVERIFY(m_writers[w]->login(m_server->url()));
        }
    }
    // All goes on.
    beginWriting();
    QVERIFY(waitForAnswers(20));
    endWriting();
    QCOMPARE(firstOf(settle()), QString());
}

void TestServerDurability::killedBackup()
{
    const int kills = isLong() ? 50 : 8;
    beginWriting();
    QVERIFY(waitForAnswers(isLong() ? 400 : 100));
    endWriting();
    const Content stored = content();
    const QString file = m_folder->filePath(QStringLiteral("killed"));
    QElapsedTimer watch;
    watch.start();
    QCOMPARE(ServerProcess::run(command({QStringLiteral("backup"), file})).exitCode, 0);
    int duration = int(watch.nsecsElapsed() / 1000);
    QVERIFY(QFile::remove(file));

    int killed = 0;
    int left = 0;
    int whole = 0;
    for (int i = 0; i < kills; ++i) {
        killed += killCommandWithin({QStringLiteral("backup"), file}, duration) ? 1 : 0;
        left += QFile::exists(file + QStringLiteral(".part")) ? 1 : 0;
        if (!QFile::exists(file))
            continue;
        ++whole;
        TestDatabase fresh;
        QCOMPARE(ServerProcess::run({QStringLiteral("--database"), fresh.location(), QStringLiteral("restore"), file})
                     .exitCode,
                 0);
        const Look look(fresh);
        QCOMPARE(storedContent(look.database(), Migrations::keptTables()), stored);
        QVERIFY(QFile::remove(file));
    }
    qInfo("%d of %d backups were killed, %d left a draft, %d a whole file", killed, kills, left, whole);
    QVERIFY(killed > 0);
    QCOMPARE(content(), stored);
    // What the killed ones have left is in nobody's way.
    QCOMPARE(ServerProcess::run(command({QStringLiteral("backup"), file})).exitCode, 0);
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files), QStringList{QStringLiteral("killed")});
}

void TestServerDurability::killedRestore()
{
    const int kills = isLong() ? 50 : 8;
    // Two contents, one of which takes the place of the other.
    beginWriting();
    QVERIFY(waitForAnswers(isLong() ? 400 : 100));
    endWriting();
    const QString files[] = {m_folder->filePath(QStringLiteral("one")), m_folder->filePath(QStringLiteral("two"))};
    Content contents[2];
    contents[0] = content();
    QCOMPARE(ServerProcess::run(command({QStringLiteral("backup"), files[0]})).exitCode, 0);
    beginWriting();
    QVERIFY(waitForAnswers(30));
    endWriting();
    contents[1] = content();
    QVERIFY(contents[0] != contents[1]);
    QElapsedTimer watch;
    watch.start();
    QCOMPARE(ServerProcess::run(command({QStringLiteral("backup"), files[1]})).exitCode, 0);
    watch.start();
    QCOMPARE(ServerProcess::run(command({QStringLiteral("restore"), files[1], QStringLiteral("--replace")})).exitCode,
             0);
    int duration = int(watch.nsecsElapsed() / 1000);
    QCOMPARE(content(), contents[1]);

    int now = 1;
    int killed = 0;
    int done = 0;
    for (int i = 0; i < kills; ++i) {
        const int other = 1 - now;
        const QStringList arguments{QStringLiteral("restore"), files[other], QStringLiteral("--replace")};
        if (TestDatabase::isPostgres() && number(3) == 0) {
            // The engine ends, and the command has to say so.
            QProcess process;
            process.start(QStringLiteral(QUELMAR_SERVER), command(arguments));
            QVERIFY(process.waitForStarted());
            QThread::usleep(ulong(number(duration)));
            QVERIFY(PostgresCluster::instance().kill());
            QVERIFY(process.waitForFinished(patience));
            QCOMPARE(process.exitStatus(), QProcess::NormalExit);
            if (process.exitCode() != 0) {
                ++killed;
                QCOMPARE(process.exitCode(), 1);
                const QByteArray told = process.readAllStandardError();
                QVERIFY2(told.contains("quelmar-server: the database ") ||
                             told.contains("quelmar-server: cannot use the database "),
                         told.constData());
            }
            QVERIFY(PostgresCluster::instance().start());
        } else {
            killed += killCommandWithin(arguments, duration) ? 1 : 0;
        }
        // The server asks with its next request only whether the engine is there again; its connections stay.
        Content found = content();
        if (TestDatabase::isPostgres()) {
            // The engine may be about to notice that the command is gone.
            QElapsedTimer waited;
            waited.start();
            const Look look(*m_database);
            while (look.sql(QStringLiteral("SELECT COUNT(*) FROM pg_stat_activity WHERE application_name = "
                                           "'quelmar-server' AND xact_start IS NOT NULL")) != QVariant(0) &&
                   !waited.hasExpired(patience))
                QThread::msleep(5);
            found = content();
        }
        QVERIFY2(found == contents[now] || found == contents[other], "a restore was stored in part");
        if (found == contents[other]) {
            now = other;
            ++done;
        }
        // The server that runs answers at once.
        QVERIFY(m_writers.front()->login(m_server->url()));
    }
    qInfo("%d of %d restores were killed, %d were done", killed, kills, done);
    QVERIFY(killed > 0);
    QMap<QString, WrittenState> states;
    QCOMPARE(firstOf(stateOf(*m_database, states)), QString());
}

QTEST_GUILESS_MAIN(TestServerDurability)

#include "TestServerDurability.moc"
