// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/Utils.h"
#include "tests/fuzz/Application.h"

#include <limits>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Application::start();
    return 0;
}

/// The first four bytes are the minutes and the markers, the rest is the reply.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const QJsonArray blocks = Utils::bytesToArray(bytes.mid(4));
    const auto at = [&bytes](int i) { return i < bytes.size() ? static_cast<signed char>(bytes.at(i)) : 0; };
    const int minutes = at(0) * 256 + at(1);
    const int count = at(2) * 256 + at(3);
    const int repeats = Utils::calculateRepeats(minutes, count);
    require(repeats >= 1, "there is one pass at least");
    require(repeats == 1 || count <= 0 || static_cast<double>(repeats) * 2.98 * count <= minutes * 60.0 * (1 + 1e-9),
            "the passes fit into the time");
    require(Utils::calculateRepeats(std::numeric_limits<int>::max(), count) >= 1 &&
                Utils::calculateRepeats(minutes, std::numeric_limits<int>::min()) >= 1,
            "there is one pass at least");

    const int passes = qMin(repeats, 20);
    const QByteArray sound = Utils::repeatBlocks(blocks, passes);
    qint64 start = 0;
    for (const QJsonValue& block : blocks) {
        const QByteArray samples = QByteArray::fromBase64(block.toString().toUtf8());
        for (int pass = 0; pass < passes; ++pass) {
            require(sound.mid(static_cast<int>(start), samples.size()) == samples, "a block is in its place");
            start += samples.size();
        }
    }
    require(sound.size() == start, "there is nothing else");
    require(Utils::repeatBlocks(blocks, 0).isEmpty() && Utils::repeatBlocks(blocks, -1).isEmpty(), "no pass, no sound");
    require(Utils::wavHeader(sound.size()).size() == 44, "a header has its length");
    return 0;
}
