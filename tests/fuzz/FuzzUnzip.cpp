// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/Controller.h"
#include "tests/fuzz/Application.h"
#include "tests/support/gzip.h"

#include <limits>
#include <vector>
#include <zlib.h>

namespace {

/// The same in one pass, for an answer that fits into two megabytes and a half; nothing for a longer one.
bool inflateAtOnce(const QByteArray& data, QByteArray* result)
{
    static std::vector<char> room(5 << 19);
    z_stream stream{};
    constexpr int gzipWindowBits = 15 + 16;
    inflateInit2(&stream, gzipWindowBits);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(room.data());
    stream.avail_out = static_cast<uInt>(room.size());
    const int status = inflate(&stream, Z_SYNC_FLUSH);
    inflateEnd(&stream);
    if (stream.avail_out == 0) {
        return false;
    }
    const bool broken = status == Z_DATA_ERROR || status == Z_NEED_DICT;
    *result = broken ? QByteArray() : QByteArray(room.data(), static_cast<int>(room.size() - stream.avail_out));
    return true;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Application::start("unzip: Input data is truncated");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const QByteArray content = Controller::unzip(bytes);
    QByteArray expected;
    if (bytes.size() >= 5 && inflateAtOnce(bytes, &expected)) {
        require(content == expected, "the size of the buffer makes no difference");
        const int length = content.size();
        require(Controller::unzip(bytes, length) == content, "what is no longer than the limit fits");
        require(Controller::unzip(bytes, length - 1).isEmpty(), "what is longer than the limit does not");
    }
    require(bytes.size() >= 5 || content.isEmpty(), "less than a header holds nothing");

    // Whatever the bytes, they come back, and a part of what is zipped gives a part of them.
    const QByteArray member = gzip(bytes);
    require(Controller::unzip(member) == bytes, "what is zipped comes back");
    require(Controller::unzip(member + bytes) == bytes, "what follows is nothing");
    const int cut = bytes.isEmpty() ? 0 : static_cast<uchar>(bytes.at(0)) % member.size();
    require(bytes.startsWith(Controller::unzip(member.left(cut))), "a part gives a part");

    // The same on the road that a reply takes.
    auto* const controller = new Controller(nullptr);
    int replies = 0;
    QObject::connect(controller, &Controller::onBytes, controller, [&](const QByteArray& reply) {
        require(reply == bytes, "a zipped reply is unzipped");
        ++replies;
    });
    controller->success(Controller::Type::Zipped, member.toBase64());
    require(replies == 1, "a reply is told once");
    delete controller;
    return 0;
}
