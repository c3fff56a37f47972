// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/LocalText.h"
#include "server/Messages.h"
#include "tests/fuzz/require.h"

using namespace server;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray header(reinterpret_cast<const char*>(data), int(size));
    const QString language = Messages::language(header);
    require(language.isEmpty() || language == QLatin1String("en") || language == QLatin1String("ru"),
            "there are two languages");
    require(language.isEmpty() || header.toLower().contains(language.toLatin1()), "the header names the language");
    require(LocalText::isRussian(language) == (language == QLatin1String("ru")), "Russian is Russian");
    return 0;
}
