// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QVector>

namespace server {

/// The wrapping of large replies.
class ReplyEncoding
{
public:
    /// Base64 of the gzip of a JSON array that holds each block as a base64 text, in order: the body of a reply with
    /// blocks of samples. Empty only if memory ran out.
    static QByteArray blocks(const QVector<QByteArray>& blocks);

    /// Base64 of the gzip of any bytes. The same bytes always give the same result. Empty only if memory ran out.
    static QByteArray zipped(const QByteArray& bytes);
};

} // namespace server
