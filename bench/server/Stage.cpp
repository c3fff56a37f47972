// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/server/Stage.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTcpServer>

#include <algorithm>
#include <csignal>
#include <memory>
#include <thread>
#include <vector>

namespace bench {

namespace {

constexpr int patience = 60000;
constexpr int noLimit = -1;
/// Scripts that pgbench takes at once.
constexpr int maxScripts = 100;
/// Of all clients of pgbench together, in what would be a second.
constexpr int fewTransactions = 2000;
const auto role = QLatin1String("quelmar");

/// The statement with its values in it, as the tools take it: in one line.
QString written(const server::Statement& statement)
{
    QString text;
    int value = 0;
    for (const QChar c : statement.text) {
        if (c != QLatin1Char('?')) {
            text += c;
            continue;
        }
        const QVariant& bound = statement.values.at(value++);
        text += bound.userType() == QMetaType::QString
                    ? QLatin1Char('\'') + bound.toString().replace(QLatin1Char('\''), QLatin1String("''")) +
                          QLatin1Char('\'')
                    : bound.toString();
    }
    return text + QStringLiteral(";\n");
}

QByteArray written(const QVector<server::Statement>& group)
{
    QString text;
    for (const server::Statement& statement : group)
        text += written(statement);
    return text.toUtf8();
}

bool store(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

/// What it printed; null if it failed.
QByteArray outputOf(const QString& program, const QStringList& arguments, const QByteArray& input = QByteArray())
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PGPASSWORD"), role);
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(noLimit) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        qWarning("%s: %s", qPrintable(program), process.readAllStandardError().constData());
        return QByteArray();
    }
    const QByteArray output = process.readAllStandardOutput();
    return output.isNull() ? QByteArray("") : output;
}

} // namespace

Companion::~Companion()
{
    stop();
}

QByteArray Companion::start(const QString& program, const QStringList& arguments, const QByteArray& line,
                            const QString& log)
{
    if (log.isEmpty())
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    else
        m_process.setStandardErrorFile(log);
    m_process.start(program, arguments);
    for (;;) {
        while (m_process.canReadLine()) {
            const QByteArray read = m_process.readLine().trimmed();
            if (read.startsWith(line)) {
                const QByteArray rest = read.mid(line.size());
                return rest.isNull() ? QByteArray("") : rest;
            }
        }
        if (!m_process.waitForReadyRead(noLimit) && !m_process.canReadLine())
            return QByteArray();
    }
}

void Companion::stop()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.closeWriteChannel();
    ::kill(pid_t(m_process.processId()), SIGTERM);
    if (!m_process.waitForFinished(patience)) {
        m_process.kill();
        m_process.waitForFinished(patience);
    }
}

Stage::Stage(const QString& folder, bool postgres)
    : m_folder(folder)
    , m_postgres(postgres)
{
}

Stage::~Stage()
{
    m_server.stop();
    m_cluster.stop();
}

QString Stage::start(int patients)
{
    if (m_postgres) {
        QString error = startCluster();
        if (!error.isEmpty())
            return error;
    } else {
        m_file = m_folder + QStringLiteral("/store.sqlite");
        m_address = QStringLiteral("sqlite:") + m_file;
    }
    // A line for each request is a part of what a request costs.
    const QString log = m_folder + QStringLiteral("/server.log");
    QElapsedTimer took;
    took.start();
    const QByteArray port =
        m_server.start(QStringLiteral(QUELMAR_SERVER),
                       {QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0"), QStringLiteral("--database"),
                        m_address, QStringLiteral("--demo"), QString::number(patients)},
                       "listening on http://127.0.0.1:", log);
    m_fillSeconds = double(took.elapsed()) / 1000;
    m_port = quint16(port.toUInt());
    if (m_port != 0)
        return QString();
    QFile file(log);
    file.open(QIODevice::ReadOnly);
    return QStringLiteral("the server did not start: ") + QString::fromUtf8(file.readAll());
}

QString Stage::startCluster()
{
    QString number;
    {
        QTcpServer free;
        if (!free.listen(QHostAddress::LocalHost))
            return QStringLiteral("there is no free port");
        number = QString::number(free.serverPort());
    }
    m_clusterPort = number;
    // Writes reach the disk, as those of SQLite do.
    qputenv("QUELMAR_TEST_FSYNC", "on");
    if (m_cluster
            .start(QStringLiteral(QUELMAR_SOURCE_DIR "/tests/server/postgres-cluster"),
                   {m_folder + QStringLiteral("/pg"), number}, "ready")
            .isNull())
        return QStringLiteral("no PostgreSQL cluster could be started");
    const QStringList owner{QStringLiteral("-h"),
                            m_folder + QStringLiteral("/pg"),
                            QStringLiteral("-p"),
                            number,
                            QStringLiteral("-U"),
                            QStringLiteral("postgres"),
                            QStringLiteral("-qAtX"),
                            QStringLiteral("-v"),
                            QStringLiteral("ON_ERROR_STOP=1")};
    // What a machine of some size gives to its only database.
    if (outputOf(QStringLiteral("psql"), owner,
                 "ALTER SYSTEM SET shared_buffers = '1GB'; ALTER SYSTEM SET max_wal_size = '4GB';"
                 "CREATE ROLE quelmar LOGIN PASSWORD 'quelmar'; CREATE DATABASE bench OWNER quelmar ENCODING 'UTF8';")
            .isNull())
        return QStringLiteral("the cluster could not be set up");
    m_cluster.process().write("restart\n");
    while (!m_cluster.process().canReadLine()) {
        if (!m_cluster.process().waitForReadyRead(patience))
            return QStringLiteral("the cluster did not start again");
    }
    if (m_cluster.process().readLine().trimmed() != "done")
        return QStringLiteral("the cluster could not be started again");
    m_address = QStringLiteral("postgresql://%1:%1@127.0.0.1:%2/bench").arg(role, number);
    return QString();
}

QStringList Stage::connectionOptions() const
{
    return {QStringLiteral("-h"), QStringLiteral("127.0.0.1"), QStringLiteral("-p"),
            m_clusterPort,        QStringLiteral("-U"),        role};
}

QByteArray Stage::execute(const QString& statements)
{
    if (!m_postgres)
        return outputOf(QStringLiteral("sqlite3"),
                        {QStringLiteral("-batch"), QStringLiteral("-cmd"), QStringLiteral(".timeout 20000"), m_file},
                        statements.toUtf8());
    return outputOf(QStringLiteral("psql"),
                    connectionOptions() + QStringList{QStringLiteral("-qAtX"), QStringLiteral("-v"),
                                                      QStringLiteral("ON_ERROR_STOP=1"), QStringLiteral("bench")},
                    statements.toUtf8());
}

qint64 Stage::size()
{
    if (m_postgres)
        return execute(QStringLiteral("SELECT pg_database_size('bench');")).trimmed().toLongLong();
    return QFileInfo(m_file).size() + QFileInfo(m_file + QStringLiteral("-wal")).size();
}

double Stage::rate(const QVector<QVector<server::Statement>>& groups, int clients, double seconds)
{
    if (m_postgres)
        return rateOfPgbench(groups, clients, seconds);
    // More shells than processors would get in each other's way alone.
    const int processors = int(std::max(1u, std::thread::hardware_concurrency()));
    return rateOfShells(groups, std::min(clients, processors), seconds);
}

double Stage::rateOfShells(const QVector<QVector<server::Statement>>& groups, int shells, double seconds)
{
    // A shell measures nothing by itself: it gets more and more groups until they fill most of the time. What it takes
    // to start is left out, and must be little beside that.
    constexpr int few = 40;
    constexpr int most = 1000000;
    double start = seconds;
    for (int attempt = 0; attempt < 3; ++attempt) {
        const double took = runShells(groups, shells, 0);
        if (took < 0)
            return 0;
        start = std::min(start, took);
    }
    const double wanted = std::max(seconds * 0.8, 2 * start);
    for (int count = few;;) {
        const double took = runShells(groups, shells, count) - start;
        if (took + start < 0)
            return 0;
        if (took >= wanted || count == most)
            return took > 0 ? shells * count / took : 0;
        // One that seemed to take no time at all was disturbed.
        const double fitting = std::max(count * seconds / std::max(took, 1e-4), 2.0 * count);
        count = int(std::min(fitting, double(most)));
    }
}

double Stage::runShells(const QVector<QVector<server::Statement>>& groups, int shells, int count)
{
    const QString path = m_folder + QStringLiteral("/shell.sql");
    QByteArray script = ".output /dev/null\n";
    for (int i = 0; i < count; ++i)
        script += written(groups.at(i % groups.size()));
    if (!store(path, script))
        return -1;
    std::vector<std::unique_ptr<QProcess>> running;
    QElapsedTimer took;
    took.start();
    for (int i = 0; i < shells; ++i) {
        running.push_back(std::make_unique<QProcess>());
        running.back()->setStandardInputFile(path);
        running.back()->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        running.back()->start(QStringLiteral("sqlite3"), {QStringLiteral("-batch"), QStringLiteral("-bail"), m_file});
    }
    bool sound = true;
    for (const auto& shell : running)
        sound = shell->waitForFinished(noLimit) && shell->exitCode() == 0 && sound;
    return sound ? double(took.nsecsElapsed()) / 1e9 : -1;
}

double Stage::rateOfPgbench(const QVector<QVector<server::Statement>>& groups, int clients, double seconds)
{
    QStringList arguments =
        connectionOptions() +
        QStringList{
            QStringLiteral("-n"),     QStringLiteral("-M"), QStringLiteral("prepared"),           QStringLiteral("-c"),
            QString::number(clients), QStringLiteral("-j"), QString::number(std::min(clients, 2))};
    // It counts whole seconds only.
    if (seconds < 1)
        arguments << QStringLiteral("-t") << QString::number(int(seconds * fewTransactions) / clients + 5);
    else
        arguments << QStringLiteral("-T") << QString::number(qRound(seconds));
    for (int i = 0; i < std::min(int(groups.size()), maxScripts); ++i) {
        const QString path = m_folder + QStringLiteral("/script%1.sql").arg(i);
        if (!store(path, written(groups.at(i))))
            return 0;
        arguments << QStringLiteral("-f") << path;
    }
    const QByteArray output = outputOf(QStringLiteral("pgbench"), arguments << QStringLiteral("bench"));
    static const QRegularExpression tps(QStringLiteral("tps = ([0-9.]+)"));
    return tps.match(QString::fromUtf8(output)).captured(1).toDouble();
}

} // namespace bench
