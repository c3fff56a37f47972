// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Marker.h"

#include <QJsonDocument>
#include <QTest>

namespace {

Marker markerFrom(const QByteArray& text)
{
    return Marker(QJsonDocument::fromJson(text).object());
}

} // namespace

class TestMarker : public QObject
{
    Q_OBJECT

private slots:
    void defaults()
    {
        const Marker marker;
        QVERIFY(marker.getId().isNull());
        QVERIFY(marker.getTitle().isNull());
        QVERIFY(marker.getDescription().isNull());
        QCOMPARE(marker.getValue(), 0);
        QCOMPARE(marker.getAmount(), 0);
        QVERIFY(!marker.isChecked());
    }

    void readsJson()
    {
        const Marker marker = markerFrom(R"({"id": "m1", "title": "A4", "amount": 5, "values": [7, 9],
                                             "description": "a note", "checked": true})");
        QCOMPARE(marker.getId(), QStringLiteral("m1"));
        QCOMPARE(marker.getTitle(), QStringLiteral("A4"));
        QCOMPARE(marker.getAmount(), 5);
        QCOMPARE(marker.getValue(), 7);
        QCOMPARE(marker.getDescription(), QStringLiteral("a note"));
        QVERIFY(!marker.isChecked());
    }

    void value_data()
    {
        QTest::addColumn<QByteArray>("values");
        QTest::addColumn<int>("value");
        QTest::newRow("empty") << QByteArray("[]") << 0;
        QTest::newRow("one") << QByteArray("[7]") << 7;
        QTest::newRow("two") << QByteArray("[7, 9]") << 7;
        QTest::newRow("negative") << QByteArray("[-1]") << -1;
        QTest::newRow("a text first") << QByteArray("[\"7\", 9]") << 0;
        QTest::newRow("null first") << QByteArray("[null, 9]") << 0;
        QTest::newRow("a fraction") << QByteArray("[7.5]") << 0;
        QTest::newRow("a huge number") << QByteArray("[1e300]") << 0;
        QTest::newRow("no array") << QByteArray("7") << 0;
        QTest::newRow("null") << QByteArray("null") << 0;
        QTest::newRow("an object") << QByteArray("{\"0\": 7}") << 0;
    }

    void value()
    {
        QFETCH(QByteArray, values);
        QFETCH(int, value);
        QCOMPARE(markerFrom("{\"values\": " + values + "}").getValue(), value);
    }

    void description()
    {
        QVERIFY(markerFrom(R"({"description": null})").getDescription().isNull());
        const QString absent = markerFrom("{}").getDescription();
        QVERIFY(absent.isEmpty());
        QVERIFY(!absent.isNull());
        const QString number = markerFrom(R"({"description": 5})").getDescription();
        QVERIFY(number.isEmpty());
        QVERIFY(!number.isNull());
    }

    void readsBadJson_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty body") << QByteArray();
        QTest::newRow("not JSON") << QByteArray("nope");
        QTest::newRow("an array") << QByteArray("[{}]");
        QTest::newRow("missing keys") << QByteArray("{}");
        QTest::newRow("nulls") << QByteArray(R"({"id": null, "title": null, "amount": null, "values": null})");
        QTest::newRow("wrong types") << QByteArray(R"({"id": 1, "title": [], "amount": "5", "values": "7"})");
        QTest::newRow("huge numbers") << QByteArray(R"({"id": 1e99, "amount": 1e99, "values": [1e99]})");
    }

    void readsBadJson()
    {
        QFETCH(QByteArray, text);
        const Marker marker = markerFrom(text);
        QVERIFY(marker.getId().isEmpty());
        QVERIFY(marker.getTitle().isEmpty());
        QVERIFY(marker.getDescription().isEmpty());
        QCOMPARE(marker.getAmount(), 0);
        QCOMPARE(marker.getValue(), 0);
    }

    void marks()
    {
        Marker marker;
        marker.toggle();
        QVERIFY(marker.isChecked());
        marker.toggle();
        QVERIFY(!marker.isChecked());
        marker.setChecked(true);
        QVERIFY(marker.isChecked());
    }
};

QTEST_MAIN(TestMarker)
#include "TestMarker.moc"
