// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QProcess>
#include <QString>
#include <QStringList>

/// The real quelmar-server as a process of its own, on a free port of the loopback address.
class ServerProcess
{
public:
    struct Outcome
    {
        int exitCode = -1; ///< -1 if it did not end, or crashed
        QByteArray output;
        QByteArray errors;
    };

    ~ServerProcess();

    /// Runs the program to its end, with this text on its standard input.
    static Outcome run(const QStringList& arguments, const QByteArray& input = QByteArray());
    /// Adds a practitioner to the database by the program's own command.
    static bool addPractitioner(const QString& database, const QString& name, const QString& password,
                                const QStringList& options = {});

    /// Starts it on this database, and waits until it listens.
    bool start(const QString& database, const QStringList& options = {});
    /// The two halves of start(), for several servers that start together.
    void launch(const QString& database, const QStringList& options = {});
    bool waitUntilItListens();
    /// Sends the signal and waits for the end. The exit code, or -1.
    int stop(int signal);
    /// Ends it without any chance to finish.
    void kill();

    qint64 processId() const { return m_process.processId(); }
    QString url() const { return m_url; }
    quint16 port() const { return quint16(m_url.section(QLatin1Char(':'), -1).toUInt()); }
    /// What it has printed so far.
    QByteArray output();
    /// What it has said on the error output since the last call, in whole lines, without those about requests.
    QByteArray errors();
    /// The lines about requests since the start, without their breaks.
    QList<QByteArray> requestLines();
    /// All of the error output since the start.
    QByteArray log();

private:
    /// Takes in what there is on the error output.
    void collect();

    QProcess m_process;
    QByteArray m_log;
    int m_sorted = 0; ///< bytes of the log that have gone into the two below
    QByteArray m_errors;
    QList<QByteArray> m_requestLines;
    QByteArray m_output;
    QString m_url;
};
