// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/FormBody.h"
#include "tests/fuzz/require.h"

using namespace server;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray text(reinterpret_cast<const char*>(data), int(size));
    const FormBody form(text);
    for (const char* key : {"username", "password", "version", ""}) {
        const std::optional<QByteArray> bytes = form.bytes(key);
        const std::optional<QString> value = form.text(key);
        require(!bytes || form.contains(key), "what has a value is there");
        require(!value || bytes, "what is a text is bytes");
        require(!value || value->toUtf8() == *bytes, "a text is its bytes");
        require(!bytes || bytes->size() <= text.size(), "a value is no longer than the form");
    }

    for (const bool plus : {false, true}) {
        const std::optional<QByteArray> decoded = FormBody::decoded(text, plus);
        require(decoded.has_value() || text.contains('%'), "without an escape nothing is wrong");
        if (decoded && !decoded->isNull())
            require(decoded->size() + 2 * text.count('%') >= text.size(), "an escape stands for one byte");
    }
    // Whatever the bytes, as a value they come back.
    const FormBody item("a=1&" + text.toPercentEncoding() + '=' + text.toPercentEncoding() + '&');
    if (text != "a" && !text.isEmpty())
        require(item.bytes(text) == text, "what is escaped comes back");
    const std::optional<QString> characters = FormBody::utf8(text);
    require(!characters || characters->toUtf8() == text, "what is UTF-8 comes back");
    return 0;
}
