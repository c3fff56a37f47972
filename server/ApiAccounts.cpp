// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Api.h"

#include "server/ClientAddress.h"
#include "server/Failure.h"
#include "server/FormBody.h"
#include "server/HashingQueue.h"
#include "server/JsonInput.h"
#include "server/PlainText.h"
#include "server/Version.h"
#include "server/Wire.h"

#include <QJsonObject>

#include <algorithm>

namespace server {

namespace {

/// Nothing without an "Authorization" of our kind.
std::optional<QString> tokenOf(const Request& request)
{
    static const QByteArray scheme = QByteArrayLiteral("bearer ");
    const QByteArray header = request.header("authorization");
    if (!header.toLower().startsWith(scheme))
        return std::nullopt;
    const QByteArray token = header.mid(scheme.size());
    // trimmed() would also drop what is no blank.
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    const auto begin = std::find_if_not(token.begin(), token.end(), isBlank);
    const auto end = std::find_if(begin, token.end(), isBlank);
    if (!std::all_of(end, token.end(), isBlank))
        return std::nullopt;
    return QString::fromLatin1(begin, int(end - begin));
}

/// For as many seconds, unless they are none.
void refuseFor(int seconds)
{
    if (seconds > 0)
        throw Failure(429, Messages::TooManyAttempts, QString::number((seconds + 59) / 60), seconds);
}

} // namespace

Practitioner Api::authenticate(const Request& request)
{
    const std::optional<QString> token = tokenOf(request);
    if (!token)
        throw Failure(401, Messages::LoginRequired);
    const Accounts::Authentication found = m_accounts.authenticate(*token);
    switch (found.state) {
    case Accounts::TokenState::Valid:
        return found.practitioner;
    case Accounts::TokenState::Expired:
        throw Failure(401, Messages::SessionExpired);
    case Accounts::TokenState::Unknown:
        break;
    }
    throw Failure(401, Messages::LoginRequired);
}

std::optional<Accounts::Session> Api::compare(const QString& name, const Request& request,
                                              const std::function<std::optional<Accounts::Session>()>& comparison)
{
    const LoginAttempts::Subject who(name, ClientAddress::network(request.peer));
    refuseFor(m_attempts.secondsToWait(who));
    const HashingQueue::Turn turn = HashingQueue::ofProcess().take();
    if (!turn)
        throw Failure(503, Messages::TooManyLogins, QString(), busySeconds);
    // Now, and not before the wait: those who wait with the right password would count as failures against each other.
    refuseFor(m_attempts.begin(who));
    std::optional<Accounts::Session> session = comparison();
    if (session)
        m_attempts.succeeded(who);
    return session;
}

Reply Api::login(const Call& call)
{
    if (call.request.body.size() > maxLoginForm)
        throw Failure(413, Messages::TooLarge);
    const FormBody form(call.request.body);
    const std::optional<QString> name = form.text("username");
    const std::optional<QString> password = form.text("password");
    if (!name)
        throw Failure(400, Messages::WrongField, QStringLiteral("username"));
    if (!password)
        throw Failure(400, Messages::WrongField, QStringLiteral("password"));
    const std::optional<Accounts::Session> session =
        compare(*name, call.request, [&] { return m_accounts.login(*name, *password); });
    if (!session)
        throw Failure(401, Messages::LoginFailed);
    return Wire::json(QJsonObject{{QStringLiteral("accessToken"), session->token},
                                  {QStringLiteral("language"), session->practitioner.language},
                                  {QStringLiteral("country"), session->practitioner.country},
                                  {QStringLiteral("tokenType"), QStringLiteral("Bearer")},
                                  {QStringLiteral("expiredAt"), Wire::time(session->expiresAt)}});
}

Reply Api::changePassword(const Call& call)
{
    const JsonInput input(call.request.body);
    const QString oldPassword = input.text("oldPassword");
    const QString newPassword = input.text("newPassword");
    const QString repeated = input.text("repeatPassword");
    if (newPassword.isEmpty() || newPassword.size() > Accounts::maxLength || !PlainText::isLine(newPassword))
        throw Failure(400, Messages::PasswordInvalid, QString::number(Accounts::maxLength));
    if (newPassword != repeated)
        throw Failure(400, Messages::PasswordsDiffer);
    const QString token = tokenOf(call.request).value_or(QString());
    const std::optional<Accounts::Session> session = compare(call.practitioner.name, call.request, [&] {
        return m_accounts.changePassword(token, oldPassword, newPassword);
    });
    if (!session)
        throw Failure(400, Messages::OldPasswordWrong);
    return Wire::json(QJsonObject{{QStringLiteral("accessToken"), session->token}});
}

Reply Api::changeLocale(const Call& call)
{
    const JsonInput input(call.request.body);
    const QString language = input.text("locale");
    const QString country = input.text("country");
    if (!Accounts::locales().contains(language + QLatin1Char('_') + country))
        throw Failure(400, Messages::NoSuchLocale);
    m_accounts.setLocale(call.practitioner.id, language, country);
    return Wire::json(QJsonObject());
}

Reply Api::tellUpdates(const Call& call)
{
    const std::optional<QByteArray> text = FormBody(call.request.query).bytes("version");
    const std::optional<QVector<int>> version = text ? Version::parse(*text) : std::nullopt;
    if (!version)
        throw Failure(400, Messages::BadQuery, QStringLiteral("version"));
    return Wire::json(QJsonObject{{QStringLiteral("update"), Version::isOutdated(*version)}});
}

} // namespace server
