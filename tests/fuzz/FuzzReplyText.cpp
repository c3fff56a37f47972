// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/Utils.h"
#include "tests/fuzz/Application.h"

#include <QJsonDocument>
#include <QMap>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Application::start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const QJsonObject object = Utils::bytesToJson(bytes);
    const QJsonArray array = Utils::bytesToArray(bytes);
    require(object.isEmpty() || array.isEmpty(), "a text is of one kind");
    const QByteArray objectText = QJsonDocument(object).toJson();
    const QByteArray arrayText = QJsonDocument(array).toJson();
    // Each time it reads, Qt's reader drops a byte order mark that begins a text.
    const bool marked = objectText.contains("\xEF\xBB\xBF") || arrayText.contains("\xEF\xBB\xBF");
    require(marked || QJsonDocument(Utils::bytesToJson(objectText)).toJson() == objectText, "an object comes back");
    require(marked || QJsonDocument(Utils::bytesToArray(arrayText)).toJson() == arrayText, "an array comes back");
    require(Utils::bytesToArray(objectText).isEmpty() && Utils::bytesToJson(arrayText).isEmpty(),
            "one kind is not taken for the other");

    // A form of whatever texts arrives as it was typed.
    QMap<QString, QString> form;
    const QList<QByteArray> lines = bytes.split('\n').mid(0, 4);
    for (const QByteArray& line : lines) {
        const QString text = QString::fromUtf8(line);
        // What is sent has the mark.
        if (QStringView(text).isValidUtf16() && !text.startsWith(QChar::ByteOrderMark)) {
            form.insert(QStringLiteral("field%1").arg(form.size()), text);
        }
    }
    const QJsonObject sent = Utils::bytesToJson(Utils::mapToJson(form));
    require(sent.size() == form.size(), "every field is sent");
    for (auto entry = form.cbegin(); entry != form.cend(); ++entry) {
        require(sent.value(entry.key()).toString() == entry.value(), "a field is sent as it is");
    }
    return 0;
}
