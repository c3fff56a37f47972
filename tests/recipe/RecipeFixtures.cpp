// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/recipe/RecipeFixtures.h"

#include <QJsonDocument>

#include <zlib.h>

namespace RecipeFixtures {

QJsonObject marker(const QString& id, const QString& title, int value, int amount, const QJsonValue& description)
{
    return {
        {QStringLiteral("id"), id},
        {QStringLiteral("title"), title},
        {QStringLiteral("amount"), amount},
        {QStringLiteral("values"), QJsonArray{value}},
        {QStringLiteral("description"), description},
    };
}

QByteArray json(const QJsonArray& array)
{
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

QByteArray json(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray rows(const QJsonArray& markers)
{
    return json(QJsonObject{{QStringLiteral("rows"), markers}});
}

QJsonObject storage(const QString& id, const QString& title, bool frequencies)
{
    return {
        {QStringLiteral("id"), id},
        {QStringLiteral("title"), title},
        {QStringLiteral("frequencies"), frequencies},
    };
}

QJsonObject category(const QString& title, const QJsonArray& storages)
{
    return {{QStringLiteral("title"), title}, {QStringLiteral("storages"), storages}};
}

QByteArray zipped(const QByteArray& text)
{
    z_stream stream{};
    deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
    QByteArray result(static_cast<int>(deflateBound(&stream, static_cast<uLong>(text.size()))), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.constData()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    deflate(&stream, Z_FINISH);
    result.truncate(static_cast<int>(stream.total_out));
    deflateEnd(&stream);
    return result.toBase64();
}

QByteArray recipe(const QList<QByteArray>& blocks)
{
    QJsonArray array;
    for (const QByteArray& block : blocks) {
        array.append(QString::fromLatin1(block.toBase64()));
    }
    return zipped(json(array));
}

QString KeysWithPlaces::translate(const char*, const char* key, const char*, int) const
{
    const QString text = QString::fromLatin1(key);
    if (text == QLatin1String("Text.patientCard") || text == QLatin1String("Text.totalMarkers") ||
        text == QLatin1String("Text.totalTime")) {
        return text + QStringLiteral(" %1");
    }
    if (text == QLatin1String("Text.createRecipe") || text == QLatin1String("Text.recipe")) {
        return text + QStringLiteral(" %1 %2");
    }
    return {};
}

Patient patient(bool hasDevices)
{
    return Patient(QJsonObject{
        {QStringLiteral("id"), QStringLiteral("p1")},
        {QStringLiteral("name"), QStringLiteral("Ada Byron")},
        {QStringLiteral("hasDevices"), hasDevices},
        {QStringLiteral("isEnabled"), true},
        {QStringLiteral("isComplete"), true},
    });
}

Record record()
{
    return Record(QJsonObject{
        {QStringLiteral("id"), QStringLiteral("r1")},
        {QStringLiteral("patientId"), QStringLiteral("p1")},
        {QStringLiteral("recordedAt"), QStringLiteral("2024-05-06T07:08:09Z")},
    });
}

QList<Marker> markers(int count, int amount)
{
    QList<Marker> list;
    for (int i = 1; i <= count; ++i) {
        list.append(Marker(marker(QStringLiteral("m%1").arg(i), QStringLiteral("Marker %1").arg(i), i, amount)));
    }
    return list;
}

void addFailureRows()
{
    using Answer = LoopbackServer::Answer;
    QTest::addColumn<LoopbackServer::Answer>("answer");
    QTest::addColumn<bool>("refused");
    QTest::addColumn<QString>("text");
    const auto failed = [](int status, const QByteArray& body) {
        Answer answer;
        answer.status = status;
        answer.body = body;
        return answer;
    };
    const auto broken = [](Answer::Kind kind) {
        Answer answer;
        answer.kind = kind;
        answer.body = QByteArrayLiteral("[{\"id\": \"m1\", \"title\": \"cut\"}]");
        return answer;
    };
    QTest::newRow("refused") << Answer() << true << QString();
    QTest::newRow("reset") << broken(Answer::Reset) << false << QString();
    QTest::newRow("reset in the middle") << broken(Answer::ResetInBody) << false << QString();
    QTest::newRow("no answer") << broken(Answer::Stall) << false << QString();
    QTest::newRow("400 with a message") << failed(400, R"({"message": "No such storage"})") << false
                                        << QStringLiteral("No such storage");
    QTest::newRow("400 with errors") << failed(400, R"({"errors": [{"b": "two", "a": "one"}, {"c": "three"}]})")
                                     << false << QStringLiteral("a one\r\nc three\r\n");
    QTest::newRow("400 with both") << failed(400, R"({"message": "first", "errors": [{"a": "one"}]})") << false
                                   << QStringLiteral("first");
    QTest::newRow("400 with errors that are none")
        << failed(400, R"({"errors": [7, null, {}, {"a": "one"}]})") << false << QStringLiteral("a one\r\n");
    QTest::newRow("400 with a message of a number") << failed(400, R"({"message": 7})") << false << QString();
    QTest::newRow("400 without a body") << failed(400, QByteArray()) << false << QString();
    QTest::newRow("500 with a page") << failed(500, "<html><body>Oops</body></html>") << false << QString();
}

void expectFailure(LoopbackServer& server, const QByteArray& method, const QByteArray& target)
{
    QFETCH(LoopbackServer::Answer, answer);
    QFETCH(bool, refused);
    if (refused) {
        server.stop();
    } else if (answer.kind == LoopbackServer::Answer::Reset) {
        // Qt sends a request again whose connection broke before the reply began.
        server.setFallback(answer);
    } else {
        server.expect(method, target, answer);
    }
}

} // namespace RecipeFixtures
