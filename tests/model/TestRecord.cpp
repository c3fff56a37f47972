// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Record.h"

#include <QJsonDocument>
#include <QTest>

#include <type_traits>

namespace {

Record recordFrom(const QByteArray& text)
{
    return Record(QJsonDocument::fromJson(text).object());
}

} // namespace

class TestRecord : public QObject
{
    Q_OBJECT

private slots:
    void defaults()
    {
        const Record record;
        QVERIFY(record.getId().isNull());
        QVERIFY(record.getPatientId().isNull());
        QVERIFY(record.getDoctorName().isNull());
        QVERIFY(record.getRecordedAt().isNull());
        QVERIFY(!record.isEditable());
        QVERIFY(!record.isQuestionnaire());
        QVERIFY(!record.isChecked());
        QVERIFY(!std::is_polymorphic_v<Record>);
    }

    void readsJson()
    {
        const Record record = recordFrom(R"({"id": "r1", "patientId": "p1", "doctorName": "Dr. Who",
            "recordedAt": "2021-03-04T01:02:03+09:00", "editable": true, "questionnaire": true, "checked": true})");
        QCOMPARE(record.getId(), QStringLiteral("r1"));
        QCOMPARE(record.getPatientId(), QStringLiteral("p1"));
        QCOMPARE(record.getDoctorName(), QStringLiteral("Dr. Who"));
        QCOMPARE(record.getRecordedAt(), QStringLiteral("2021-03-04 01:02:03"));
        QVERIFY(record.isEditable());
        QVERIFY(record.isQuestionnaire());
        // The mark is the client's own: a key of that name means nothing.
        QVERIFY(!record.isChecked());
    }

    void readsBadJson_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty body") << QByteArray();
        QTest::newRow("not JSON") << QByteArray("]");
        QTest::newRow("an array") << QByteArray("[]");
        QTest::newRow("missing keys") << QByteArray("{}");
        QTest::newRow("nulls") << QByteArray(R"({"id": null, "patientId": null, "doctorName": null,
            "recordedAt": null, "editable": null, "questionnaire": null})");
        QTest::newRow("wrong types") << QByteArray(R"({"id": 1, "patientId": [], "doctorName": {}, "recordedAt": 5,
            "editable": "true", "questionnaire": 1})");
        QTest::newRow("huge numbers") << QByteArray(R"({"id": 1e308, "recordedAt": 1e308, "editable": 1e308})");
        QTest::newRow("no date") << QByteArray(R"({"recordedAt": "2021-13-01T00:00:00"})");
    }

    void readsBadJson()
    {
        QFETCH(QByteArray, text);
        const Record record = recordFrom(text);
        QVERIFY(record.getId().isEmpty());
        QVERIFY(record.getPatientId().isEmpty());
        QVERIFY(record.getDoctorName().isEmpty());
        QVERIFY(record.getRecordedAt().isEmpty());
        QVERIFY(!record.isEditable());
        QVERIFY(!record.isQuestionnaire());
        QVERIFY(!record.isChecked());
    }

    void marks()
    {
        Record record;
        record.toggle();
        QVERIFY(record.isChecked());
        record.toggle();
        QVERIFY(!record.isChecked());
        record.setChecked(true);
        QVERIFY(record.isChecked());
        record.setChecked(false);
        QVERIFY(!record.isChecked());
        record.setQuestionnaire(true);
        QVERIFY(record.isQuestionnaire());
        record.setQuestionnaire(false);
        QVERIFY(!record.isQuestionnaire());
    }
};

QTEST_MAIN(TestRecord)
#include "TestRecord.moc"
