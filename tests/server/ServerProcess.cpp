// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/ServerProcess.h"

#include <QElapsedTimer>
#include <QRegularExpression>

#include <csignal>
#include <utility>

namespace {

// Far above what is ever needed, for machines under load and sanitized builds.
constexpr int patience = 60000;

QString program()
{
    return QStringLiteral(QUELMAR_SERVER);
}

/// Repeats what Qt says in the server of a connection that failed, and no test's output may hold.
void passOn(const QByteArray& line)
{
    static const QRegularExpression forbidden(QStringLiteral(QUELMAR_FORBIDDEN_OUTPUT));
    const QString text = QString::fromUtf8(line).trimmed();
    if (forbidden.match(text).hasMatch())
        qWarning("the server said: %s", qUtf8Printable(text));
}

} // namespace

ServerProcess::~ServerProcess()
{
    if (m_process.state() != QProcess::NotRunning)
        kill();
    // What nobody has read yet.
    if (m_process.isOpen())
        collect();
}

ServerProcess::Outcome ServerProcess::run(const QStringList& arguments, const QByteArray& input)
{
    QProcess process;
    process.start(program(), arguments);
    process.write(input);
    process.closeWriteChannel();
    Outcome outcome;
    const bool ended = process.waitForFinished(patience);
    outcome.output = process.readAllStandardOutput();
    outcome.errors = process.readAllStandardError();
    passOn(outcome.errors);
    if (ended && process.exitStatus() == QProcess::NormalExit) {
        outcome.exitCode = process.exitCode();
    } else if (!ended) {
        process.kill();
        process.waitForFinished(patience);
    }
    return outcome;
}

bool ServerProcess::addPractitioner(const QString& database, const QString& name, const QString& password,
                                    const QStringList& options)
{
    const QStringList arguments{QStringLiteral("--database"), database, QStringLiteral("practitioner"),
                                QStringLiteral("add"), name};
    return run(arguments + options, password.toUtf8() + '\n').exitCode == 0;
}

bool ServerProcess::start(const QString& database, const QStringList& options)
{
    launch(database, options);
    return waitUntilItListens();
}

void ServerProcess::launch(const QString& database, const QStringList& options)
{
    m_output.clear();
    m_log.clear();
    m_sorted = 0;
    m_errors.clear();
    m_requestLines.clear();
    m_url.clear();
    m_process.start(program(), QStringList{QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0"),
                                           QStringLiteral("--database"), database} +
                                   options);
}

bool ServerProcess::waitUntilItListens()
{
    static const QRegularExpression line(QStringLiteral("^listening on (https?://[0-9.]+:[1-9][0-9]*)$"),
                                         QRegularExpression::MultilineOption);
    QElapsedTimer waited;
    waited.start();
    while (waited.elapsed() < patience) {
        const QRegularExpressionMatch match = line.match(QString::fromUtf8(output()));
        if (match.hasMatch()) {
            m_url = match.captured(1);
            return true;
        }
        if (!m_process.waitForReadyRead(patience) && m_process.state() == QProcess::NotRunning)
            break;
    }
    qWarning("the server did not start: %s", errors().constData());
    return false;
}

int ServerProcess::stop(int signal)
{
    ::kill(pid_t(m_process.processId()), signal);
    if (!m_process.waitForFinished(patience) || m_process.exitStatus() != QProcess::NormalExit)
        return -1;
    return m_process.exitCode();
}

void ServerProcess::kill()
{
    m_process.kill();
    m_process.waitForFinished(patience);
}

QByteArray ServerProcess::output()
{
    m_output += m_process.readAllStandardOutput();
    return m_output;
}

QByteArray ServerProcess::errors()
{
    collect();
    return std::exchange(m_errors, QByteArray());
}

QList<QByteArray> ServerProcess::requestLines()
{
    collect();
    return m_requestLines;
}

QByteArray ServerProcess::log()
{
    collect();
    return m_log;
}

void ServerProcess::collect()
{
    m_log += m_process.readAllStandardError();
    while (m_sorted < m_log.size()) {
        int end = m_log.indexOf('\n', m_sorted);
        if (end < 0 && m_process.state() != QProcess::NotRunning)
            return;
        end = end < 0 ? m_log.size() : end + 1;
        const QByteArray line = m_log.mid(m_sorted, end - m_sorted);
        m_sorted = end;
        if (line.startsWith("time=") && line.contains(" method="))
            m_requestLines.append(line.trimmed());
        else {
            m_errors += line;
            passOn(line);
        }
    }
}
