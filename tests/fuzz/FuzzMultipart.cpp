// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/MultipartForm.h"
#include "tests/fuzz/require.h"

#include <QSet>

using namespace server;

namespace {

using Parts = std::optional<QVector<Request::Part>>;

const QByteArray plain = "multipart/form-data; boundary=xYx";

QByteArray quoted(QByteArray name)
{
    return '"' + name.replace('\\', "\\\\").replace('"', "\\\"") + '"';
}

QByteArray partOf(const QByteArray& name, const QByteArray& content)
{
    return "--xYx\r\nContent-Disposition: form-data; name=" + quoted(name) + "\r\n\r\n" + content + "\r\n";
}

} // namespace

/// The first line is the content type, the rest is the body.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray text(reinterpret_cast<const char*>(data), int(size));
    const int line = text.indexOf('\n');
    const QByteArray body = line < 0 ? text : text.mid(line + 1);
    for (const QByteArray& type : {text.left(qMax(0, line)), plain}) {
        const Parts parts = MultipartForm::parse(type, body);
        if (!parts)
            continue;
        require(!parts->isEmpty() && parts->size() <= MultipartForm::maxParts,
                "a form has its parts, and not too many");
        require(body.startsWith("--") && body.count("\r\n--") >= parts->size(), "a part has its boundaries");
        QSet<QByteArray> names;
        QByteArray again;
        bool plainContent = true;
        int from = 0;
        for (const Request::Part& part : *parts) {
            require(!part.name.isEmpty() && part.name.size() <= 255, "a part has a name");
            require(!names.contains(part.name), "a name is there once");
            names.insert(part.name);
            from = body.indexOf(part.content + "\r\n--", from);
            require(from >= 0, "parts are in the order of the body");
            from += part.content.size();
            plainContent = plainContent && !QByteArray("\r\n" + part.content + "\r\n").contains("\r\n--xYx");
            again += partOf(part.name, part.content);
        }
        if (plainContent) {
            const Parts read = MultipartForm::parse(plain, again + "--xYx--\r\n");
            require(read && read->size() == parts->size(), "what is written again has as many parts");
            for (int i = 0; i < read->size(); ++i)
                require(read->at(i).name == parts->at(i).name && read->at(i).content == parts->at(i).content,
                        "what is written again is the same");
        }
        require(!MultipartForm::parse(type, body.left(body.lastIndexOf("\r\n--"))), "without its end it is none");
        require(!MultipartForm::parse(type, "x" + body), "before its beginning is nothing");
        require(!MultipartForm::parse(type, body + "x"), "behind its end is nothing");
    }

    // Whatever the bytes, as a file they arrive.
    if (!("\r\n" + text).contains("\r\n--xYx")) {
        const Parts parts =
            MultipartForm::parse(plain, partOf("patientId", "1") + partOf("record", text) + "--xYx--\r\n");
        require(parts && parts->size() == 2 && parts->at(1).content == text, "a file arrives as it is");
        require(!MultipartForm::parse(plain, partOf("record", text) + partOf("record", text) + "--xYx--\r\n"),
                "a name is there once");
    }
    return 0;
}
