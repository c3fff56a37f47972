// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

/// The session of this process. It is never stored, and never emptied.
class Authentication
{
public:
    static Authentication* getInstance();

    /// Takes all five values; a missing one becomes an empty text.
    void init(const QJsonObject& json);
    /// Replaces the access token alone.
    void update(const QJsonObject& json);

    bool isAuthenticated() const;
    /// Token type, blank, token: the value of the header "Authorization".
    QByteArray getAuthHeader() const;
    /// Such as "ru-RU".
    QByteArray getAcceptLanguage() const;
    /// Such as "ru_RU".
    QString getLocale() const;
    /// The date text of the server, as it stands.
    QString getExpiredAt() const;

private:
    Authentication() = default;

    QString accessToken;
    QString country;
    QString language;
    QString tokenType;
    QString expiredAt;
};
