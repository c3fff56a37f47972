// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QProcess>
#include <QSqlDatabase>
#include <QString>

/// The private PostgreSQL cluster of this test program, on a free port of the loopback address. It ends, with all its
/// data, when the program ends, however that happens.
///
/// It does without synchronisation with the disk, unless the environment has QUELMAR_TEST_FSYNC=on when it starts.
class PostgresCluster
{
public:
    /// Started by the first call, which needs a QCoreApplication. A failure is told by a warning and leaves a cluster
    /// on which everything fails.
    static PostgresCluster& instance();

    PostgresCluster(const PostgresCluster&) = delete;
    PostgresCluster& operator=(const PostgresCluster&) = delete;

    bool start() { return command("start"); }
    /// Sessions are ended, what is under way in them is rolled back.
    bool stop() { return command("stop"); }
    bool restart() { return command("restart"); }
    /// All processes at once, without any chance to finish.
    bool kill() { return command("kill"); }

    /// An empty database that belongs to user(). Its options follow the name in CREATE DATABASE.
    bool create(const QString& name, const QString& options = QString());
    /// Also while it is used.
    bool drop(const QString& name);
    /// The address of a database as user() reaches it, for --database.
    QString address(const QString& name) const;
    /// A further connection as user().
    QSqlDatabase connection(const QString& database, const QString& connectionName) const;
    /// Runs a statement in this database as the owner of the cluster, who may do all.
    bool administer(const QString& statement, const QString& database = QStringLiteral("postgres"));

    static QString user() { return QStringLiteral("quelmar"); }
    /// With everything that has a meaning in an address.
    static QString password() { return QStringLiteral("p@ss:w/rd%41?#'\\ é"); }
    quint16 port() const { return m_port; }
    /// Also takes connections of everyone on this machine by a socket in it.
    QString folder() const { return m_folder; }
    /// What the engine has logged so far.
    QByteArray log() const;

private:
    PostgresCluster();
    ~PostgresCluster();

    bool launch();
    bool command(const QByteArray& name);
    QByteArray answer();

    QProcess m_process;
    QString m_folder;
    quint16 m_port = 0;
};
