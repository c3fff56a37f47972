// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/JsonInput.h"

#include "server/Failure.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace server {

namespace {

Failure wrong(const char* key)
{
    return Failure(400, Messages::WrongField, QString::fromLatin1(key));
}

} // namespace

JsonInput::JsonInput(const QByteArray& body)
{
    // The reader drops a byte order mark that begins a text: two ids, or two passwords, would be one.
    QByteArray text = body;
    text.replace("\"\xef\xbb\xbf", "\"\\ufeff");
    const QJsonDocument document = QJsonDocument::fromJson(text);
    if (!document.isObject())
        throw Failure(400, Messages::NoJsonObject);
    m_object = document.object();
}

QString JsonInput::text(const char* key) const
{
    const QJsonValue value = m_object.value(QLatin1String(key));
    if (!value.isString())
        throw wrong(key);
    return value.toString();
}

QString JsonInput::optionalText(const char* key) const
{
    return m_object.contains(QLatin1String(key)) ? text(key) : QString();
}

QStringList JsonInput::texts(const char* key) const
{
    const QJsonValue value = m_object.value(QLatin1String(key));
    if (!value.isArray())
        throw wrong(key);
    QStringList result;
    const QJsonArray array = value.toArray();
    for (const QJsonValue& element : array) {
        if (!element.isString())
            throw wrong(key);
        result.append(element.toString());
    }
    return result;
}

int JsonInput::optionalNumber(const char* key, int maximum) const
{
    const QJsonValue value = m_object.value(QLatin1String(key));
    if (value.isUndefined())
        return 0;
    const double number = value.toDouble(-1);
    if (!(number >= 0 && number <= maximum) || number != int(number))
        throw wrong(key);
    return int(number);
}

} // namespace server
