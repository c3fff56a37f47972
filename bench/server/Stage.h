// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Statement.h"

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QVector>

namespace bench {

/// A program that goes on until its standard input ends or it is told to stop.
class Companion
{
public:
    Companion() = default;
    ~Companion();
    Companion(const Companion&) = delete;
    Companion& operator=(const Companion&) = delete;

    /// Waits for a line that begins like this, however long the program takes, and gives the rest of it; null if it
    /// ends before. What it writes to its standard error goes into a file, if one is named.
    QByteArray start(const QString& program, const QStringList& arguments, const QByteArray& line,
                     const QString& log = QString());
    QProcess& process() { return m_process; }
    void stop();

private:
    QProcess m_process;
};

/// A database of one engine, filled, with a server on it, and with the tool that comes with the engine.
class Stage
{
public:
    /// Everything lies in the folder, which has to be there and have a short path.
    Stage(const QString& folder, bool postgres);
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    /// Fills it with so many patients and starts a server. The reason if that fails, else an empty text.
    QString start(int patients);
    quint16 port() const { return m_port; }
    double fillSeconds() const { return m_fillSeconds; }
    /// Of the whole database, in bytes.
    qint64 size();
    /// How the server reaches it.
    QString address() const { return m_address; }

    /// Runs statements by the tool; what it prints, or null if it fails.
    QByteArray execute(const QString& statements);
    /// How often a second the tool runs one group of statements after the other, each of which is one piece of work,
    /// with so many clients for so many seconds. 0 if it fails.
    double rate(const QVector<QVector<server::Statement>>& groups, int clients, double seconds);

private:
    QString startCluster();
    double rateOfShells(const QVector<QVector<server::Statement>>& groups, int shells, double seconds);
    /// The seconds that so many shells take together for `count` groups each.
    double runShells(const QVector<QVector<server::Statement>>& groups, int shells, int count);
    double rateOfPgbench(const QVector<QVector<server::Statement>>& groups, int clients, double seconds);
    QStringList connectionOptions() const;

    QString m_folder;
    bool m_postgres;
    QString m_address;
    QString m_file; ///< of SQLite
    QString m_clusterPort;
    quint16 m_port = 0;
    double m_fillSeconds = 0;
    Companion m_cluster;
    Companion m_server;
};

} // namespace bench
