// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Failure.h"
#include "server/JsonInput.h"
#include "tests/fuzz/require.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace server;

namespace {

template <typename Read> bool refuses(const Read& read)
{
    try {
        read();
        return false;
    } catch (const Failure& failure) {
        require(failure.status() == 400, "what cannot be read is a bad request");
        for (const char* language : {"en", "ru"})
            require(!failure.message(QString::fromLatin1(language)).isEmpty(), "a refusal has its sentence");
        return true;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray text(reinterpret_cast<const char*>(data), int(size));
    try {
        const JsonInput input(text);
        for (const char* key : {"a", "records", "duration"}) {
            const QJsonValue value = input.object().value(QLatin1String(key));
            require(refuses([&] { input.text(key); }) != value.isString(), "a text is read as a text");
            require(refuses([&] { input.optionalText(key); }) != (value.isString() || value.isUndefined()),
                    "an optional text may be missing");
            const bool list =
                !refuses([&] { require(input.texts(key).size() == value.toArray().size(), "all texts"); });
            require(!list || value.isArray(), "texts are an array");
            const bool number = !refuses([&] {
                const int read = input.optionalNumber(key, 1440);
                require(read >= 0 && read <= 1440 && (value.isUndefined() || read == value.toDouble()),
                        "a number is within its limits");
            });
            require(!number || value.isDouble() || value.isUndefined(), "a number is a number");
        }
        // What is written has 17 digits at most, so that a longer number is the same from the first writing on.
        const QJsonObject once = JsonInput(QJsonDocument(input.object()).toJson()).object();
        const JsonInput again(QJsonDocument(once).toJson());
        require(again.object() == once, "what is written again reads the same");
        require(once.keys() == input.object().keys(), "what is written has every key");
    } catch (const Failure& failure) {
        require(failure.status() == 400, "what is no object is a bad request");
    }
    return 0;
}
