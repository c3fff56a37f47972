// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/Utils.h"

#include <QJsonDocument>
#include <QTest>

class TestJson : public QObject
{
    Q_OBJECT

private slots:
    void writesAMap_data();
    void writesAMap();
    void readsWhatIsThere_data();
    void readsWhatIsThere();
    void readsALongArray();
};

void TestJson::writesAMap_data()
{
    using Map = QMap<QString, QString>;
    QTest::addColumn<Map>("map");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty") << Map() << QByteArray("{\n}\n");
    QTest::newRow("sorted and indented")
        << Map{{QStringLiteral("repeatPassword"), QStringLiteral("n")},
               {QStringLiteral("newPassword"), QStringLiteral("n")},
               {QStringLiteral("oldPassword"), QStringLiteral("o")}}
        << QByteArray(
               "{\n    \"newPassword\": \"n\",\n    \"oldPassword\": \"o\",\n    \"repeatPassword\": \"n\"\n}\n");
    QTest::newRow("escapes") << Map{{QStringLiteral("k\""), QStringLiteral("\n\\\u0416")}}
                             << QByteArray("{\n    \"k\\\"\": \"\\n\\\\\xd0\x96\"\n}\n");
    // Qt's reader would drop it.
    QTest::newRow("byte order mark") << Map{{QStringLiteral("k"), QStringLiteral(u"\uFEFFn")}}
                                     << QByteArray("{\n    \"k\": \"\xef\xbb\xbfn\"\n}\n");
    QTest::newRow("null value") << Map{{QStringLiteral("k"), QString()}} << QByteArray("{\n    \"k\": \"\"\n}\n");
}

void TestJson::writesAMap()
{
    using Map = QMap<QString, QString>;
    QFETCH(Map, map);
    QTEST(Utils::mapToJson(map), "text");
}

void TestJson::readsWhatIsThere_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QJsonObject>("object");
    QTest::addColumn<QJsonArray>("array");
    const QJsonObject none;
    const QJsonArray noArray;
    QTest::newRow("null") << QByteArray() << none << noArray;
    QTest::newRow("empty") << QByteArray("") << none << noArray;
    QTest::newRow("object") << QByteArray("{\"a\": [1]}") << QJsonObject{{QStringLiteral("a"), QJsonArray{1}}}
                            << noArray;
    QTest::newRow("array") << QByteArray("[\"a\", null]") << none << QJsonArray{QStringLiteral("a"), QJsonValue::Null};
    QTest::newRow("HTML") << QByteArray("<html></html>") << none << noArray;
    QTest::newRow("cut off") << QByteArray("{\"a\": 1") << none << noArray;
    QTest::newRow("bare text") << QByteArray("\"text\"") << none << noArray;
    QTest::newRow("bare null") << QByteArray("null") << none << noArray;
    QTest::newRow("zero bytes") << QByteArray(16, '\0') << none << noArray;
    QTest::newRow("trailing rubbish") << QByteArray("{} x") << none << noArray;
    QTest::newRow("deep") << QByteArray(100000, '[') << none << noArray;
    QTest::newRow("huge number") << QByteArray("[1e999]") << none << noArray;
}

void TestJson::readsWhatIsThere()
{
    QFETCH(QByteArray, bytes);
    QTEST(Utils::bytesToJson(bytes), "object");
    QTEST(Utils::bytesToArray(bytes), "array");
}

void TestJson::readsALongArray()
{
    QByteArray text("[");
    for (int i = 0; i < 10000; ++i) {
        text += QByteArray::number(i) + ',';
    }
    text += "10000]";
    const QJsonArray array = Utils::bytesToArray(text);
    QCOMPARE(array.size(), 10001);
    QCOMPARE(array.last().toInt(), 10000);
}

QTEST_GUILESS_MAIN(TestJson)
#include "TestJson.moc"
