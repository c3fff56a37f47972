// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Needle.h"
#include "tests/fuzz/require.h"

using namespace server;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray text(reinterpret_cast<const char*>(data), int(size));
    const std::optional<QString> needle = Needle::decode(text);
    if (!needle)
        return 0;
    require(needle->isEmpty() == text.isEmpty(), "an empty text alone is an empty needle");
    require(QStringView(*needle).isValidUtf16(), "a needle consists of whole characters");
    const QByteArray again = needle->toUtf8().toBase64().replace('+', '.').replace('/', '_').replace('=', '-');
    require(again.size() == text.size(), "a needle is as long as its encoding says");
    require(Needle::decode(again) == needle, "a needle that is encoded again is the same");
    return 0;
}
