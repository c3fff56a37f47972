// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/LoginAttempts.h"

#include "server/Database.h"
#include "server/Secrets.h"
#include "server/TextKeys.h"

#include <QDateTime>

#include <algorithm>
#include <chrono>

namespace server {

namespace {

/// Every transaction takes the rows in this order, so that none waits for one that waits for it.
const std::array<QString, 3>& kinds()
{
    static const std::array<QString, 3> names{QStringLiteral("pair"), QStringLiteral("account"),
                                              QStringLiteral("address")};
    return names;
}

int limitOf(size_t kind, const LoginAttempts::Limits& limits)
{
    const std::array<int, 3> factors{1, LoginAttempts::Limits::accountFactor, LoginAttempts::Limits::addressFactor};
    return limits.attempts * factors.at(kind);
}

/// A moment, and how late a window may end that has begun by now. One that ends later was begun under a clock that went
/// wrong, and nobody is to wait for it. Twice the window, as the clocks of two servers differ a little.
struct Now
{
    explicit Now(int windowSeconds)
        : time(QDateTime::currentDateTimeUtc())
        , text(stored(time))
        , windowEnd(stored(time.addSecs(windowSeconds)))
        , latestEnd(stored(time.addSecs(2 * qint64(windowSeconds))))
    {
    }

    static QString stored(const QDateTime& moment) { return moment.toString(Qt::ISODateWithMs); }

    QDateTime time;
    QString text;
    QString windowEnd;
    QString latestEnd;
};

qint64 steadyMilliseconds()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

LoginAttempts::Subject::Subject(const QString& name, const QByteArray& address)
{
    const QString account = TextKeys::normalized(name);
    const QString place = QString::fromLatin1(address.toHex());
    m_hashes = {Secrets::fingerprint(QStringLiteral("pair ") + place + QLatin1Char(' ') + account),
                Secrets::fingerprint(QStringLiteral("account ") + account),
                Secrets::fingerprint(QStringLiteral("address ") + place)};
}

LoginAttempts::LoginAttempts(Database& database, const Limits& limits)
    : m_database(database)
    , m_limits(limits)
{
}

int LoginAttempts::secondsToWait(const Subject& subject)
{
    const Now now(m_limits.windowSeconds);
    Rows query = m_database.run(
        QStringLiteral("SELECT kind, failures, window_ends FROM login_attempts WHERE ((kind = ? AND subject = ?) "
                       "OR (kind = ? AND subject = ?) OR (kind = ? AND subject = ?)) "
                       "AND window_ends > ? AND window_ends <= ?"),
        {kinds().at(0), subject.m_hashes.at(0), kinds().at(1), subject.m_hashes.at(1), kinds().at(2),
         subject.m_hashes.at(2), now.text, now.latestEnd});
    qint64 milliseconds = 0;
    while (query.next()) {
        const auto kind =
            size_t(std::find(kinds().begin(), kinds().end(), query.value(0).toString()) - kinds().begin());
        if (query.value(1).toInt() >= limitOf(kind, m_limits))
            milliseconds = std::max(
                milliseconds, now.time.msecsTo(QDateTime::fromString(query.value(2).toString(), Qt::ISODateWithMs)));
    }
    return int((milliseconds + 999) / 1000);
}

int LoginAttempts::begin(const Subject& subject)
{
    const bool counted = m_database.attempt([this, &subject] {
        const Now now(m_limits.windowSeconds);
        Database::Transaction transaction(m_database);
        for (size_t kind = 0; kind < kinds().size(); ++kind) {
            const Rows query = m_database.run(
                QStringLiteral("INSERT INTO login_attempts (kind, subject, failures, window_ends) VALUES (?, ?, 1, ?) "
                               "ON CONFLICT (kind, subject) DO UPDATE SET "
                               "failures = CASE WHEN login_attempts.window_ends > ? "
                               "AND login_attempts.window_ends <= ? THEN login_attempts.failures + 1 ELSE 1 END, "
                               "window_ends = CASE WHEN login_attempts.window_ends > ? "
                               "AND login_attempts.window_ends <= ? THEN login_attempts.window_ends "
                               "ELSE excluded.window_ends END "
                               "WHERE login_attempts.failures < ? OR login_attempts.window_ends <= ? "
                               "OR login_attempts.window_ends > ?"),
                {kinds().at(kind), subject.m_hashes.at(kind), now.windowEnd, now.text, now.latestEnd, now.text,
                 now.latestEnd, limitOf(kind, m_limits), now.text, now.latestEnd});
            // What is refused counts nowhere: who goes on trying locks nobody else out.
            if (query.numRowsAffected() < 1)
                return false;
        }
        transaction.commit();
        return true;
    });
    clean();
    // The window may have ended just now.
    return counted ? 0 : std::max(1, secondsToWait(subject));
}

void LoginAttempts::succeeded(const Subject& subject)
{
    m_database.attempt([this, &subject] {
        Database::Transaction transaction(m_database);
        m_database.run(QStringLiteral("DELETE FROM login_attempts WHERE kind = ? AND subject = ?"),
                       {kinds().at(0), subject.m_hashes.at(0)});
        for (size_t kind = 1; kind < kinds().size(); ++kind)
            m_database.run(QStringLiteral("UPDATE login_attempts SET failures = failures - 1 "
                                          "WHERE kind = ? AND subject = ? AND failures > 0"),
                           {kinds().at(kind), subject.m_hashes.at(kind)});
        transaction.commit();
    });
}

void LoginAttempts::clean()
{
    // Once a window and process is enough, and keeps attempts out of each other's way.
    const qint64 now = steadyMilliseconds();
    qint64 due = m_nextCleaning;
    if (now < due || !m_nextCleaning.compare_exchange_strong(due, now + 1000 * qint64(m_limits.windowSeconds)))
        return;
    m_database.attempt([this] {
        const Now moment(m_limits.windowSeconds);
        m_database.run(QStringLiteral("DELETE FROM login_attempts WHERE window_ends <= ? OR window_ends > ?"),
                       {moment.text, moment.latestEnd});
    });
}

} // namespace server
