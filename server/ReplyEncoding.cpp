// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/ReplyEncoding.h"

#include <QtEndian>

#include <array>

#include <zlib.h>

namespace server {

namespace {

constexpr int rawWindow = -15;
constexpr int defaultMemory = 8;

/// All that comes before the first part (RFC 1952): deflated, with no name, time or system told.
constexpr std::array<char, 10> gzipHead = {'\x1f', '\x8b', '\x08', 0, 0, 0, 0, 0, 0, '\xff'};
/// An empty last block (RFC 1951) for what follows the parts.
constexpr std::array<char, 2> lastBlock = {'\x03', 0};

ReplyEncoding::Part part(const QByteArray& text)
{
    z_stream stream = {};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, rawWindow, defaultMemory, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
        return ReplyEncoding::Part();
    }
    // The bound is that of a stream that ends; an end of a part that is not the last is a few bytes longer.
    constexpr int flushed = 16;
    ReplyEncoding::Part made;
    made.deflated = QByteArray(int(deflateBound(&stream, uLong(text.size()))) + flushed, Qt::Uninitialized);
    // zlib only reads from here, its interface merely does not say so.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.constData()));
    stream.avail_in = uInt(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(made.deflated.data());
    stream.avail_out = uInt(made.deflated.size());
    // After a full flush the stream goes on at a whole byte and refers to nothing before it.
    const bool complete = deflate(&stream, Z_FULL_FLUSH) == Z_OK && stream.avail_in == 0 && stream.avail_out > 0;
    made.deflated.truncate(int(stream.total_out));
    deflateEnd(&stream);
    if (!complete) {
        return ReplyEncoding::Part();
    }
    made.checkSum = quint32(crc32(0, reinterpret_cast<const Bytef*>(text.constData()), uInt(text.size())));
    made.length = text.size();
    return made;
}

QByteArray littleEndian(quint32 number)
{
    QByteArray bytes(int(sizeof number), Qt::Uninitialized);
    qToLittleEndian(number, bytes.data());
    return bytes;
}

/// Base64 of the whole stream.
QByteArray gzip(const QVector<ReplyEncoding::Part>& parts)
{
    quint32 checkSum = 0;
    qint64 length = 0;
    int size = int(gzipHead.size() + lastBlock.size() + 2 * sizeof(quint32));
    for (const ReplyEncoding::Part& one : parts) {
        if (one.deflated.isEmpty()) {
            return QByteArray();
        }
        size += one.deflated.size();
    }
    QByteArray stream;
    stream.reserve(size);
    stream.append(gzipHead.data(), int(gzipHead.size()));
    for (const ReplyEncoding::Part& one : parts) {
        stream += one.deflated;
        checkSum = quint32(crc32_combine(checkSum, one.checkSum, z_off_t(one.length)));
        length += one.length;
    }
    stream.append(lastBlock.data(), int(lastBlock.size()));
    stream += littleEndian(checkSum);
    stream += littleEndian(quint32(length));
    return stream.toBase64();
}

} // namespace

QByteArray ReplyEncoding::blocks(const QVector<QByteArray>& blocks)
{
    QVector<Part> parts;
    parts.reserve(blocks.size());
    for (const QByteArray& bytes : blocks) {
        parts.append(block(bytes));
    }
    return joined(parts);
}

QByteArray ReplyEncoding::joined(const QVector<Part>& blocks)
{
    static const Part opening = part(QByteArrayLiteral("["));
    static const Part comma = part(QByteArrayLiteral(","));
    static const Part closing = part(QByteArrayLiteral("]"));
    QVector<Part> parts{opening};
    parts.reserve(2 * blocks.size() + 2);
    for (int i = 0; i < blocks.size(); ++i) {
        if (i > 0) {
            parts.append(comma);
        }
        parts.append(blocks.at(i));
    }
    parts.append(closing);
    return gzip(parts);
}

ReplyEncoding::Part ReplyEncoding::block(const QByteArray& block)
{
    return part('"' + block.toBase64() + '"');
}

} // namespace server
