// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Version.h"
#include "tests/fuzz/require.h"

#include <QString>

using namespace server;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray text(reinterpret_cast<const char*>(data), int(size));
    const std::optional<QVersionNumber> version = Version::parse(text);
    if (!version) {
        require(!Version::parse("0." + text), "what is no version is none behind a number");
        return 0;
    }
    require(text.size() <= 8 * 9 + 7, "a version has its limits");
    require(version->isNormalized(), "zeros at the end are no difference");
    const QByteArray again = version->isNull() ? QByteArray("0") : version->toString().toLatin1();
    require(Version::parse(again) == version, "a version that is written again is the same");
    for (const QByteArray& wrong : {text + '.', '.' + text, text + ' ', '-' + text, text + ".x"})
        require(!Version::parse(wrong), "a version ends and begins with a digit");
    return 0;
}
