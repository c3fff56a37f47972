// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/DatabaseAddress.h"

#include "server/FormBody.h"

namespace server {

namespace {

QString separator()
{
    return QStringLiteral("://");
}

/// A %-encoded part of an address. False if it is no text in UTF-8.
bool decode(const QString& part, QString& text)
{
    const std::optional<QByteArray> bytes = FormBody::decoded(part.toUtf8(), false);
    const std::optional<QString> decoded = bytes ? FormBody::utf8(*bytes) : std::nullopt;
    if (!decoded || decoded->contains(QChar(QChar::Null)))
        return false;
    text = *decoded;
    return true;
}

/// "host", "host:port", or either with the colons of an IPv6 address in brackets.
bool readHost(const QString& text, DatabaseAddress& address)
{
    QString host = text;
    QString port;
    if (text.startsWith(QLatin1Char('['))) {
        const int end = text.indexOf(QLatin1Char(']'));
        if (end < 2)
            return false;
        host = text.mid(1, end - 1);
        port = text.mid(end + 1);
        if (!port.isEmpty() && !port.startsWith(QLatin1Char(':')))
            return false;
    } else if (const int colon = text.indexOf(QLatin1Char(':')); colon >= 0) {
        host = text.left(colon);
        port = text.mid(colon);
    }
    if (!port.isEmpty()) {
        bool sound = false;
        address.port = port.midRef(1).toInt(&sound);
        if (!sound || address.port < 1 || address.port > 65535)
            return false;
    }
    return decode(host, address.host);
}

std::optional<DatabaseAddress> readPostgres(const QString& text)
{
    const int slash = text.indexOf(QLatin1Char('/'));
    if (slash < 0 || text.contains(QLatin1Char('?')) || text.contains(QLatin1Char('#')))
        return std::nullopt;
    const QString authority = text.left(slash);
    const QString name = text.mid(slash + 1);
    const int at = authority.lastIndexOf(QLatin1Char('@'));
    const QString account = authority.left(qMax(at, 0));
    const int colon = account.indexOf(QLatin1Char(':'));

    DatabaseAddress address;
    address.engine = DatabaseAddress::Engine::Postgres;
    if (name.contains(QLatin1Char('/')) || !decode(name, address.name) || address.name.isEmpty())
        return std::nullopt;
    if (!decode(account.left(colon), address.user) ||
        !decode(colon < 0 ? QString() : account.mid(colon + 1), address.password) ||
        !readHost(authority.mid(at + 1), address))
        return std::nullopt;
    return address;
}

} // namespace

std::optional<DatabaseAddress> DatabaseAddress::parse(const QString& text)
{
    const QString sqlite = QStringLiteral("sqlite:");
    const QString postgres = QStringLiteral("postgresql") + separator();
    if (text.startsWith(postgres))
        return readPostgres(text.mid(postgres.size()));

    DatabaseAddress address;
    address.path = text.startsWith(sqlite) ? text.mid(sqlite.size()) : text;
    if (address.path.isEmpty() || address.path.contains(separator()) || address.path == QLatin1String(":memory:") ||
        address.path.contains(QChar(QChar::Null)))
        return std::nullopt;
    return address;
}

QString DatabaseAddress::shown() const
{
    if (engine == Engine::Sqlite)
        return path;
    QString text = QStringLiteral("postgresql") + separator();
    if (!user.isEmpty())
        text += user + QLatin1Char('@');
    if (host.contains(QLatin1Char(':')))
        text += QLatin1Char('[') + host + QLatin1Char(']');
    else
        text += host;
    return text + QLatin1Char(':') + QString::number(port) + QLatin1Char('/') + name;
}

QString DatabaseAddress::masked(const QString& text)
{
    const int place = text.indexOf(separator());
    return place < 0 ? text : text.left(place) + separator() + QStringLiteral("…");
}

} // namespace server
