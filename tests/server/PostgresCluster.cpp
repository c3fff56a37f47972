// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/PostgresCluster.h"

#include <QCoreApplication>
#include <QFile>
#include <QHostAddress>
#include <QSqlError>
#include <QSqlQuery>
#include <QTcpServer>
#include <QUrl>
#include <QUuid>

namespace {

// Far above what is ever needed, for machines under load.
constexpr int patience = 120000;

PostgresCluster* cluster = nullptr;

} // namespace

PostgresCluster& PostgresCluster::instance()
{
    if (!cluster) {
        cluster = new PostgresCluster;
        qAddPostRoutine([] {
            delete cluster;
            cluster = nullptr;
        });
    }
    return *cluster;
}

PostgresCluster::PostgresCluster()
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // Another program may take the port before the engine does.
    for (int i = 0; i < 3; ++i) {
        if (launch())
            return;
    }
    qWarning("no PostgreSQL cluster could be started");
}

PostgresCluster::~PostgresCluster()
{
    m_process.closeWriteChannel();
    m_process.waitForFinished(patience);
}

bool PostgresCluster::launch()
{
    {
        QTcpServer free;
        if (!free.listen(QHostAddress::LocalHost))
            return false;
        m_port = free.serverPort();
    }
    m_folder = QStringLiteral("/tmp/quelmar-%1").arg(QUuid::createUuid().toString(QUuid::Id128));
    m_process.start(QStringLiteral(QUELMAR_SOURCE_DIR "/tests/server/postgres-cluster"),
                    {m_folder, QString::number(m_port)});
    QString quoted = password();
    quoted.replace(QLatin1Char('\''), QLatin1String("''"));
    if (answer() == "ready" && administer(QStringLiteral("CREATE ROLE %1 LOGIN PASSWORD '%2'").arg(user(), quoted)))
        return true;
    m_process.closeWriteChannel();
    m_process.waitForFinished(patience);
    return false;
}

bool PostgresCluster::command(const QByteArray& name)
{
    m_process.write(name + '\n');
    return answer() == "done";
}

QByteArray PostgresCluster::answer()
{
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead(patience))
            return QByteArray();
    }
    return m_process.readLine().trimmed();
}

bool PostgresCluster::create(const QString& name, const QString& options)
{
    return administer(QStringLiteral("CREATE DATABASE \"%1\" OWNER %2 %3").arg(name, user(), options));
}

bool PostgresCluster::drop(const QString& name)
{
    return administer(QStringLiteral("DROP DATABASE \"%1\" WITH (FORCE)").arg(name));
}

QString PostgresCluster::address(const QString& name) const
{
    return QStringLiteral("postgresql://%1:%2@127.0.0.1:%3/%4")
        .arg(user(), QString::fromLatin1(QUrl::toPercentEncoding(password())), QString::number(m_port),
             QString::fromLatin1(QUrl::toPercentEncoding(name)));
}

QSqlDatabase PostgresCluster::connection(const QString& database, const QString& connectionName) const
{
    QSqlDatabase added = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), connectionName);
    added.setHostName(QStringLiteral("127.0.0.1"));
    added.setPort(m_port);
    added.setUserName(user());
    added.setPassword(password());
    added.setDatabaseName(database);
    return added;
}

bool PostgresCluster::administer(const QString& statement, const QString& database)
{
    const QString name = QStringLiteral("administration");
    bool done = false;
    {
        QSqlDatabase added = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name);
        added.setHostName(m_folder);
        added.setPort(m_port);
        added.setUserName(QStringLiteral("postgres"));
        added.setDatabaseName(database);
        if (added.open()) {
            QSqlQuery query(added);
            done = query.exec(statement);
            if (!done)
                qWarning("%s", qPrintable(query.lastError().text()));
        } else {
            qWarning("%s", qPrintable(added.lastError().text()));
        }
    }
    QSqlDatabase::removeDatabase(name);
    return done;
}

QByteArray PostgresCluster::log() const
{
    QFile file(m_folder + QStringLiteral("/log"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
