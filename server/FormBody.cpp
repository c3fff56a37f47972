// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/FormBody.h"

#include <QTextCodec>

namespace server {

namespace {

int digit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

} // namespace

bool FormBody::contains(const QByteArray& key) const
{
    return value(key).has_value();
}

std::optional<QByteArray> FormBody::bytes(const QByteArray& key) const
{
    const std::optional<QByteArray> found = value(key);
    return found ? decoded(*found, true) : std::nullopt;
}

std::optional<QByteArray> FormBody::value(const QByteArray& key) const
{
    const QList<QByteArray> items = m_text.split('&');
    for (const QByteArray& item : items) {
        const int mark = item.indexOf('=');
        const std::optional<QByteArray> name = decoded(item.mid(0, mark), true);
        if (!item.isEmpty() && name && *name == key)
            return mark < 0 ? QByteArray("") : item.mid(mark + 1);
    }
    return std::nullopt;
}

std::optional<QString> FormBody::text(const QByteArray& key) const
{
    const std::optional<QByteArray> value = bytes(key);
    return value ? utf8(*value) : std::nullopt;
}

std::optional<QByteArray> FormBody::decoded(const QByteArray& text, bool plusIsBlank)
{
    QByteArray result;
    result.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const char c = text.at(i);
        if (c == '%') {
            const int high = i + 2 < text.size() ? digit(text.at(i + 1)) : -1;
            const int low = i + 2 < text.size() ? digit(text.at(i + 2)) : -1;
            if (high < 0 || low < 0)
                return std::nullopt;
            result.append(char(high * 16 + low));
            i += 2;
        } else {
            result.append(c == '+' && plusIsBlank ? ' ' : c);
        }
    }
    return result;
}

std::optional<QString> FormBody::utf8(const QByteArray& bytes)
{
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    const QString text = QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    if (state.invalidChars > 0 || state.remainingChars > 0)
        return std::nullopt;
    return text;
}

} // namespace server
