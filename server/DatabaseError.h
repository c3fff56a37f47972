// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <exception>

namespace server {

/// A statement or a transaction failed; the text is for the server's log, not for clients.
class DatabaseError : public std::exception
{
public:
    explicit DatabaseError(const QString& text)
        : m_text(text)
        , m_bytes(text.toUtf8())
    {
    }

    const QString& text() const { return m_text; }
    const char* what() const noexcept override { return m_bytes.constData(); }

private:
    QString m_text;
    QByteArray m_bytes;
};

} // namespace server
