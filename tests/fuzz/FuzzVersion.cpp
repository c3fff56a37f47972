// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Version.h"
#include "tests/fuzz/require.h"

#include <QString>

using namespace server;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray text(reinterpret_cast<const char*>(data), int(size));
    const std::optional<QVector<int>> version = Version::parse(text);
    if (!version) {
        require(!Version::parse("0." + text), "what is no version is none behind a number");
        return 0;
    }
    require(text.size() <= 8 * 9 + 7, "a version has its limits");
    require(version->isEmpty() || version->last() != 0, "zeros at the end are no difference");
    QByteArray again = "0";
    for (int i = 0; i < version->size(); ++i)
        again = (i == 0 ? QByteArray() : again + '.') + QByteArray::number(version->at(i));
    require(Version::parse(again) == version, "a version that is written again is the same");
    for (const QByteArray& wrong : {text + '.', '.' + text, text + ' ', '-' + text, text + ".x"})
        require(!Version::parse(wrong), "a version ends and begins with a digit");
    return 0;
}
