// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace server {

/// A list of "key=value" joined by "&": a form body (application/x-www-form-urlencoded) or the query of an address.
/// Empty items, such as the one behind a closing "&", are passed over.
class FormBody
{
public:
    explicit FormBody(const QByteArray& text)
        : m_text(text)
    {
    }

    /// Whether there is an item of this key, be its value as it may.
    bool contains(const QByteArray& key) const;
    /// The value of the first item of this key, with its escapes resolved; nothing if there is none, or
    /// if its escapes are wrong.
    std::optional<QByteArray> bytes(const QByteArray& key) const;
    /// The same as text; nothing also if it is not UTF-8.
    std::optional<QString> text(const QByteArray& key) const;

    /// Resolves "%XX" and, if asked, "+" as a blank. Nothing if a "%" is not followed by two hexadecimal digits.
    static std::optional<QByteArray> decoded(const QByteArray& text, bool plusIsBlank);
    /// Nothing if the bytes are not UTF-8.
    static std::optional<QString> utf8(const QByteArray& bytes);

private:
    /// With its escapes.
    std::optional<QByteArray> value(const QByteArray& key) const;

    QByteArray m_text;
};

} // namespace server
