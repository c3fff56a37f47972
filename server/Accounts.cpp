// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Accounts.h"

#include "server/Database.h"
#include "server/PlainText.h"
#include "server/Secrets.h"
#include "server/TextKeys.h"

#include <algorithm>
#include <new>

namespace server {

namespace {

Practitioner practitionerOf(const Rows& query, int first = 0)
{
    Practitioner practitioner;
    practitioner.id = query.value(first).toString();
    practitioner.name = query.value(first + 1).toString();
    practitioner.fullName = query.value(first + 2).toString();
    practitioner.language = query.value(first + 3).toString();
    practitioner.country = query.value(first + 4).toString();
    return practitioner;
}

QString stored(const QDateTime& time)
{
    return time.toUTC().toString(Qt::ISODateWithMs);
}

bool isPrintable(const QString& text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.isPrint() || c.isSurrogate(); });
}

bool isCode(const QString& text, char first, char last)
{
    return text.size() == 2 && std::all_of(text.begin(), text.end(), [first, last](QChar c) {
               return c >= QLatin1Char(first) && c <= QLatin1Char(last);
           });
}

/// As names are kept. What can be none is looked for as the empty one, which nobody has: not every engine takes it.
QString lookedFor(const QString& name)
{
    const QString normalized = TextKeys::normalized(name);
    return normalized.size() <= Accounts::maxLength && PlainText::isLine(normalized) ? normalized : QString();
}

} // namespace

Accounts::Accounts(Database& database, int sessionHours)
    : m_database(database)
    , m_sessionHours(sessionHours)
{
}

QStringList Accounts::locales()
{
    return {QStringLiteral("en_US"), QStringLiteral("ru_RU"), QStringLiteral("de_DE"), QStringLiteral("pl_PL")};
}

QString Accounts::objection(const Practitioner& practitioner, const QString& password)
{
    const QString name = TextKeys::normalized(practitioner.name);
    if (name.isEmpty())
        return QStringLiteral("the name is empty");
    if (name.size() > maxLength || practitioner.fullName.size() > maxLength)
        return QStringLiteral("the name is longer than %1 characters").arg(maxLength);
    if (!isPrintable(name) || !isPrintable(practitioner.fullName))
        return QStringLiteral("the name holds characters that cannot be printed");
    if (password.isEmpty())
        return QStringLiteral("the password is empty");
    if (password.size() > maxLength)
        return QStringLiteral("the password is longer than %1 characters").arg(maxLength);
    if (!isCode(practitioner.language, 'a', 'z'))
        return QStringLiteral("the language is not two lower-case letters, such as \"en\"");
    if (!isCode(practitioner.country, 'A', 'Z'))
        return QStringLiteral("the country is not two upper-case letters, such as \"US\"");
    return QString();
}

std::optional<Practitioner> Accounts::add(const Practitioner& practitioner, const QString& password)
{
    const QString hash = Secrets::passwordHash(password);
    if (hash.isEmpty())
        return std::nullopt;
    return addHashed(practitioner, hash);
}

std::optional<Practitioner> Accounts::addHashed(const Practitioner& practitioner, const QString& hash)
{
    Practitioner added = practitioner;
    added.id = Secrets::randomId();
    added.name = TextKeys::normalized(practitioner.name);
    added.fullName = TextKeys::normalized(practitioner.fullName);
    Database::Transaction transaction(m_database);
    if (find(added.name))
        return std::nullopt;
    m_database.run(QStringLiteral("INSERT INTO practitioners "
                                  "(id, name, full_name, password_hash, language, country, created_at) "
                                  "VALUES (?, ?, ?, ?, ?, ?, ?)"),
                   {added.id, added.name, added.fullName, hash, added.language, added.country,
                    stored(QDateTime::currentDateTimeUtc())});
    transaction.commit();
    return added;
}

std::optional<Practitioner> Accounts::find(const QString& name)
{
    Rows query = m_database.run(
        QStringLiteral("SELECT id, name, full_name, language, country FROM practitioners WHERE name = ?"),
        {lookedFor(name)});
    if (!query.next())
        return std::nullopt;
    return practitionerOf(query);
}

bool Accounts::passwordMatches(const QString& name, const QString& password)
{
    return Secrets::passwordMatches(password, passwordHash(name));
}

QString Accounts::passwordHash(const QString& name)
{
    Rows query =
        m_database.run(QStringLiteral("SELECT password_hash FROM practitioners WHERE name = ?"), {lookedFor(name)});
    return query.next() ? query.value(0).toString() : QString();
}

QVector<Practitioner> Accounts::all()
{
    QVector<Practitioner> result;
    Rows query = m_database.run(
        QStringLiteral("SELECT id, name, full_name, language, country FROM practitioners ORDER BY name"));
    while (query.next())
        result.append(practitionerOf(query));
    return result;
}

std::optional<Accounts::Session> Accounts::login(const QString& name, const QString& password)
{
    const QString hash = passwordHash(name);
    if (!Secrets::passwordMatches(password, hash))
        return std::nullopt;
    const QString renewedHash = Secrets::isOutdated(hash) ? Secrets::passwordHash(password) : QString();
    // A conflict is no reason to do the hashing again.
    return m_database.attempt([&] { return beginSession(name, hash, renewedHash); });
}

std::optional<Accounts::Session> Accounts::beginSession(const QString& name, const QString& hash,
                                                        const QString& renewedHash)
{
    Database::Transaction transaction(m_database);
    const std::optional<Practitioner> practitioner = find(name);
    // A password that was changed meanwhile has ended the sessions that it gave.
    if (!practitioner || passwordHash(name) != hash)
        return std::nullopt;
    if (!renewedHash.isEmpty())
        m_database.run(QStringLiteral("UPDATE practitioners SET password_hash = ? WHERE id = ?"),
                       {renewedHash, practitioner->id});
    const QDateTime now = QDateTime::currentDateTimeUtc();
    Session session;
    session.practitioner = *practitioner;
    session.token = Secrets::randomToken();
    session.expiresAt = now.addSecs(qint64(m_sessionHours) * 3600);
    m_database.run(QStringLiteral("DELETE FROM sessions WHERE expires_at < ?"), {stored(now.addDays(-1))});
    begin(session);
    transaction.commit();
    return session;
}

void Accounts::begin(const Session& session)
{
    m_database.run(
        QStringLiteral(
            "INSERT INTO sessions (token_hash, practitioner_id, created_at, expires_at) VALUES (?, ?, ?, ?)"),
        {Secrets::tokenHash(session.token), session.practitioner.id, stored(QDateTime::currentDateTimeUtc()),
         stored(session.expiresAt)});
}

Statement Accounts::authentication(const QString& token)
{
    return {QStringLiteral("SELECT p.id, p.name, p.full_name, p.language, p.country, s.expires_at "
                           "FROM sessions s JOIN practitioners p ON p.id = s.practitioner_id WHERE s.token_hash = ?"),
            {Secrets::tokenHash(token)}};
}

Accounts::Authentication Accounts::authenticate(const QString& token)
{
    Authentication result;
    const Statement statement = authentication(token);
    Rows query = m_database.run(statement.text, statement.values);
    if (!query.next())
        return result;
    if (query.value(5).toString() <= stored(QDateTime::currentDateTimeUtc())) {
        result.state = TokenState::Expired;
        return result;
    }
    result.state = TokenState::Valid;
    result.practitioner = practitionerOf(query);
    return result;
}

bool Accounts::setPassword(const QString& name, const QString& password)
{
    const QString hash = Secrets::passwordHash(password);
    if (hash.isEmpty())
        return false;
    Database::Transaction transaction(m_database);
    const std::optional<Practitioner> practitioner = find(name);
    if (!practitioner)
        return false;
    m_database.run(QStringLiteral("UPDATE practitioners SET password_hash = ? WHERE id = ?"), {hash, practitioner->id});
    m_database.run(QStringLiteral("DELETE FROM sessions WHERE practitioner_id = ?"), {practitioner->id});
    transaction.commit();
    return true;
}

std::optional<Accounts::Session> Accounts::changePassword(const QString& token, const QString& oldPassword,
                                                          const QString& newPassword)
{
    const Authentication before = authenticate(token);
    const QString oldHash = before.state == TokenState::Valid ? passwordHash(before.practitioner.name) : QString();
    if (!Secrets::passwordMatches(oldPassword, oldHash))
        return std::nullopt;
    const QString newHash = Secrets::passwordHash(newPassword);
    if (newHash.isEmpty())
        throw std::bad_alloc();

    // Hashing takes too long to keep others from writing meanwhile: what it relied on is looked at once more.
    return m_database.attempt([&] { return replacePassword(token, before.practitioner, oldHash, newHash); });
}

std::optional<Accounts::Session> Accounts::replacePassword(const QString& token, const Practitioner& practitioner,
                                                           const QString& oldHash, const QString& newHash)
{
    Database::Transaction transaction(m_database);
    Session session;
    session.practitioner = practitioner;
    session.token = Secrets::randomToken();
    {
        Rows query = m_database.run(QStringLiteral("SELECT s.expires_at FROM sessions s "
                                                   "JOIN practitioners p ON p.id = s.practitioner_id "
                                                   "WHERE s.token_hash = ? AND p.id = ? AND p.password_hash = ?"),
                                    {Secrets::tokenHash(token), practitioner.id, oldHash});
        if (!query.next())
            return std::nullopt;
        session.expiresAt = QDateTime::fromString(query.value(0).toString(), Qt::ISODateWithMs);
    }
    m_database.run(QStringLiteral("UPDATE practitioners SET password_hash = ? WHERE id = ?"),
                   {newHash, practitioner.id});
    m_database.run(QStringLiteral("DELETE FROM sessions WHERE practitioner_id = ?"), {practitioner.id});
    begin(session);
    transaction.commit();
    return session;
}

void Accounts::setLocale(const QString& practitionerId, const QString& language, const QString& country)
{
    m_database.run(QStringLiteral("UPDATE practitioners SET language = ?, country = ? WHERE id = ?"),
                   {language, country, practitionerId});
}

} // namespace server
