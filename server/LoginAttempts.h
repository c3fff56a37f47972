// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <atomic>

namespace server {

class Database;

/// How many passwords have been tried for an account and from an address, counted in the database for all servers that
/// work on it. Names count alike whether there is such an account or not. Usable on any thread; database failures are
/// thrown as DatabaseError.
class LoginAttempts
{
public:
    /// How many may fail within a window, which begins with the first of them.
    struct Limits
    {
        /// For one account from one address. More than one who has forgotten a password tries before asking for a new
        /// one, and far too few to find one.
        static constexpr int defaultAttempts = 5;
        /// For one account from anywhere: a net of many machines is to find nothing either, and those who only want
        /// to keep somebody out need twenty of them.
        static constexpr int accountFactor = 20;
        /// From one address for any account: a practice behind one address mistypes less, and who tries one common
        /// password with many names does not get far.
        static constexpr int addressFactor = 10;
        /// A quarter of an hour: nobody has to wait for it until the next day, and it leaves 500 attempts a day.
        static constexpr int defaultWindowSeconds = 15 * 60;

        int attempts = defaultAttempts; ///< for one account from one address; the two others go with it
        int windowSeconds = defaultWindowSeconds;
    };

    /// Whose attempt it is. Kept as hashes alone, as people type passwords where a name belongs.
    class Subject
    {
    public:
        /// The address as ClientAddress has it.
        Subject(const QString& name, const QByteArray& address);

    private:
        friend class LoginAttempts;

        std::array<QString, 3> m_hashes; ///< in the order of the counters
    };

    /// The database has to outlive this object.
    LoginAttempts(Database& database, const Limits& limits);

    /// The seconds until another attempt may be made, 0 if that is now.
    int secondsToWait(const Subject& subject);
    /// Counts an attempt as failed, before its password is looked at: of any number that are made at once no more get
    /// through than may fail. Returns 0; or counts nothing, and returns the seconds to wait.
    int begin(const Subject& subject);
    /// The password was right: the attempt has not failed, and earlier ones at this account from this address are
    /// forgotten.
    void succeeded(const Subject& subject);

private:
    void clean();

    Database& m_database;
    Limits m_limits;
    std::atomic<qint64> m_nextCleaning{0}; ///< in milliseconds of the steady clock
};

} // namespace server
