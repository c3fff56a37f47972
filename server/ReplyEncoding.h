// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QVector>

namespace server {

/// The wrapping of large replies.
class ReplyEncoding
{
public:
    /// A text as it stands within a gzip stream, compressed for itself. So what many replies have in common is
    /// compressed once, and a reply is put together from its parts.
    struct Part
    {
        QByteArray deflated; ///< whole bytes of the stream, none of them the last
        quint32 checkSum = 0;
        qint64 length = 0; ///< of the text, in bytes
    };

    /// Base64 of the gzip of a JSON array that holds each block as a base64 text, in order: the body of a reply with
    /// blocks of samples. The same blocks always give the same bytes. Empty only if memory ran out.
    static QByteArray blocks(const QVector<QByteArray>& blocks);
    /// The same of parts that block() made.
    static QByteArray joined(const QVector<Part>& blocks);

    /// One block as an array holds it. Without bytes only if memory ran out.
    static Part block(const QByteArray& block);
};

} // namespace server
