// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/ReplyEncoding.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QString>

#include <zlib.h>

namespace server {

QByteArray ReplyEncoding::blocks(const QVector<QByteArray>& blocks)
{
    QJsonArray array;
    for (const QByteArray& block : blocks) {
        array.append(QString::fromLatin1(block.toBase64()));
    }
    return zipped(QJsonDocument(array).toJson(QJsonDocument::Compact));
}

QByteArray ReplyEncoding::zipped(const QByteArray& bytes)
{
    constexpr int gzipWindow = 15 + 16;
    constexpr int defaultMemory = 8;
    z_stream stream = {};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzipWindow, defaultMemory, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
        return QByteArray();
    }
    QByteArray result(int(deflateBound(&stream, uLong(bytes.size()))), Qt::Uninitialized);
    // zlib only reads from here, its interface merely does not say so.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.constData()));
    stream.avail_in = uInt(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = uInt(result.size());
    const bool complete = deflate(&stream, Z_FINISH) == Z_STREAM_END;
    result.truncate(int(stream.total_out));
    deflateEnd(&stream);
    return complete ? result.toBase64() : QByteArray();
}

} // namespace server
