// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <exception>

namespace server {

/// A statement or a transaction failed; the text is for the server's log, not for clients.
class DatabaseError : public std::exception
{
public:
    enum class Kind
    {
        Failed,   ///< it would fail again
        Conflict, ///< others changed the same at the same time: nothing was stored, and it may be done again
        Busy,     ///< the engine lacks something, or others hold it for too long
        Lost,     ///< the database cannot be reached; what was under way then is stored as a whole or not at all
    };

    explicit DatabaseError(const QString& text, Kind kind = Kind::Failed)
        : m_text(text)
        , m_bytes(text.toUtf8())
        , m_kind(kind)
    {
    }

    const QString& text() const { return m_text; }
    const char* what() const noexcept override { return m_bytes.constData(); }
    Kind kind() const { return m_kind; }

private:
    QString m_text;
    QByteArray m_bytes;
    Kind m_kind;
};

} // namespace server
