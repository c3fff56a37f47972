// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/gzip.h"

#include <QtGlobal>

#include <zlib.h>

QByteArray gzip(const QByteArray& data)
{
    constexpr int gzipWindowBits = 15 + 16;
    z_stream stream{};
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, gzipWindowBits, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
        qFatal("deflateInit2 failed");
    }
    QByteArray member(static_cast<int>(deflateBound(&stream, static_cast<uLong>(data.size()))), Qt::Uninitialized);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(member.data());
    stream.avail_out = static_cast<uInt>(member.size());
    if (deflate(&stream, Z_FINISH) != Z_STREAM_END) {
        qFatal("deflate failed");
    }
    member.resize(member.size() - static_cast<int>(stream.avail_out));
    deflateEnd(&stream);
    return member;
}
