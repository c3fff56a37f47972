// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Practitioner.h"

#include <QDateTime>
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

    /// What forbids this name, password or locale, as a sentence for the command line; empty if nothing does.
    static QString objection(const Practitioner& practitioner, const QString& password);

    /// Stores a new practitioner under an id of its own. Nothing if the name is taken or a hash cannot be computed.
    std::optional<Practitioner> add(const Practitioner& practitioner, const QString& password);
    std::optional<Practitioner> find(const QString& name);
    bool passwordMatches(const QString& name, const QString& password);
    /// By name.
    QVector<Practitioner> all();

    /// Nothing for an unknown name or a wrong password, after the same time.
    std::optional<Session> login(const QString& name, const QString& password);
    Authentication authenticate(const QString& token);

private:
    Database& m_database;
    int m_sessionHours;
};

} // namespace server
