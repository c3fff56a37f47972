// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/Authentication.h"

Authentication* Authentication::getInstance()
{
    static Authentication* const instance = new Authentication;
    return instance;
}

void Authentication::init(const QJsonObject& json)
{
    accessToken = json.value(QLatin1String("accessToken")).toString();
    country = json.value(QLatin1String("country")).toString();
    language = json.value(QLatin1String("language")).toString();
    tokenType = json.value(QLatin1String("tokenType")).toString();
    expiredAt = json.value(QLatin1String("expiredAt")).toString();
}

void Authentication::update(const QJsonObject& json)
{
    accessToken = json.value(QLatin1String("accessToken")).toString();
}

bool Authentication::isAuthenticated() const
{
    return !accessToken.isEmpty();
}

QByteArray Authentication::getAuthHeader() const
{
    return QString(tokenType + QLatin1Char(' ') + accessToken).toUtf8();
}

QByteArray Authentication::getAcceptLanguage() const
{
    return QString(language.toLower() + QLatin1Char('-') + country.toUpper()).toUtf8();
}

QString Authentication::getLocale() const
{
    return language.toLower() + QLatin1Char('_') + country.toUpper();
}

QString Authentication::getExpiredAt() const
{
    return expiredAt;
}
