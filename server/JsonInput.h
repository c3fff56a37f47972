// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace server {

/// The body of a request, read strictly: what is missing or of a wrong kind is thrown as a Failure that names the key.
class JsonInput
{
public:
    /// Throws unless the bytes are one JSON object, by RFC 8259, and no object in it has a key twice.
    explicit JsonInput(const QByteArray& body);

    const QJsonObject& object() const { return m_object; }

    /// Throws if the key is missing or no text.
    QString text(const char* key) const;
    /// Empty if the key is missing; throws if it is no text.
    QString optionalText(const char* key) const;
    /// Throws if the key is missing or no array of texts.
    QStringList texts(const char* key) const;
    /// 0 if the key is missing; throws if it is no whole number from 0 to `maximum`.
    int optionalNumber(const char* key, int maximum) const;

private:
    QJsonObject m_object;
};

} // namespace server
