// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Practitioner.h"
#include "server/Statement.h"

#include <QDateTime>
#include <QStringList>
#include <QVector>

#include <optional>

namespace server {

class Database;

/// Practitioners and their sessions. Usable on any thread; database failures are thrown as DatabaseError.
class Accounts
{
public:
    /// The greatest length of a name and of a password, in UTF-16 units.
    static constexpr int maxLength = 200;

    struct Session
    {
        Practitioner practitioner;
        QString token; ///< known to the client alone, only its hash is stored
        QDateTime expiresAt;
    };

    enum class TokenState
    {
        Valid,
        Unknown,
        Expired,
    };

    struct Authentication
    {
        TokenState state = TokenState::Unknown;
        Practitioner practitioner; ///< for a valid token
    };

    /// A session lasts `sessionHours`. The database has to outlive the accounts.
    explicit Accounts(Database& database, int sessionHours = 24 * 7);

    /// The locales that a practitioner may change to, such as "ru_RU": those that the client has texts for.
    static QStringList locales();

    /// What forbids this name, password or locale, as a sentence for the command line; empty if nothing does.
    static QString objection(const Practitioner& practitioner, const QString& password);

    /// Stores a new practitioner under an id of its own. Nothing if the name is taken or a hash cannot be computed.
    std::optional<Practitioner> add(const Practitioner& practitioner, const QString& password);
    /// The same with a hash that Secrets::passwordHash() gave. Nothing if the name is taken.
    std::optional<Practitioner> addHashed(const Practitioner& practitioner, const QString& hash);
    std::optional<Practitioner> find(const QString& name);
    bool passwordMatches(const QString& name, const QString& password);
    /// By name.
    QVector<Practitioner> all();

    /// Nothing for an unknown name or a wrong password, after the same work. The hash of a right password is made anew
    /// if it is an outdated one.
    std::optional<Session> login(const QString& name, const QString& password);
    Authentication authenticate(const QString& token);
    /// The statement by which authenticate() finds the session.
    static Statement authentication(const QString& token);

    /// Sets the password and ends all sessions. False for an unknown name, or if the hash cannot be computed.
    bool setPassword(const QString& name, const QString& password);
    /// Sets the password of the practitioner whose session has this token, ends all their sessions, and begins one in
    /// place of this one, which ends when this one would have ended. Nothing if the old password is wrong, or if the
    /// session is over by now; throws std::bad_alloc if the hash cannot be computed.
    std::optional<Session> changePassword(const QString& token, const QString& oldPassword, const QString& newPassword);
    void setLocale(const QString& practitionerId, const QString& language, const QString& country);

private:
    /// Null for an unknown name.
    QString passwordHash(const QString& name);
    std::optional<Session> beginSession(const QString& name, const QString& hash, const QString& renewedHash);
    std::optional<Session> replacePassword(const QString& token, const Practitioner& practitioner,
                                           const QString& oldHash, const QString& newHash);
    void begin(const Session& session);

    Database& m_database;
    int m_sessionHours;
};

} // namespace server
