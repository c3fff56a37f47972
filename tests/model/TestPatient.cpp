// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Patient.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <type_traits>

namespace {

QJsonObject parse(const QByteArray& text)
{
    return QJsonDocument::fromJson(text).object();
}

Patient patientFrom(const QByteArray& text)
{
    return Patient(parse(text));
}

QImage image(const QString& name)
{
    return QPixmap(QStringLiteral(":/images/") + name).toImage();
}

} // namespace

class TestPatient : public QObject
{
    Q_OBJECT

private slots:
    void defaults()
    {
        Patient patient;
        QVERIFY(patient.getId().isNull());
        QVERIFY(patient.getName().isNull());
        QVERIFY(patient.getGender().isNull());
        QVERIFY(patient.getNotes().isNull());
        QVERIFY(patient.getPhone().isNull());
        QVERIFY(patient.getLastRecordAt().isNull());
        QVERIFY(patient.getBirthDate().isNull());
        QCOMPARE(patient.getAge(), QStringLiteral("0"));
        QVERIFY(!patient.isHasDevices());
        QVERIFY(!patient.isEnabled());
        QCOMPARE(patient.getStatusToolTip(), 0);
    }

    void isPlainValue()
    {
        QVERIFY(std::is_copy_constructible_v<Patient>);
        QVERIFY(std::is_copy_assignable_v<Patient>);
        QVERIFY(!std::is_polymorphic_v<Patient>);

        const Patient original = patientFrom(R"({"id": "p1", "name": "Anna"})");
        Patient copy = original;
        copy.setName(QStringLiteral("Berta"));
        QCOMPARE(original.getName(), QStringLiteral("Anna"));
        QCOMPARE(copy.getId(), QStringLiteral("p1"));
    }

    void readsJson()
    {
        Patient patient = patientFrom(R"({
            "age": 42, "id": "p1", "name": "Anna", "gender": "FEMALE", "notes": "n", "phone": "+7 1",
            "birthDate": "1980-02-29", "lastRecordAt": "2021-03-04T05:06:07Z", "hasDevices": true,
            "command": "RECIPE", "isComplete": true, "isEnabled": true})");
        QCOMPARE(patient.getAge(), QStringLiteral("42"));
        QCOMPARE(patient.getId(), QStringLiteral("p1"));
        QCOMPARE(patient.getName(), QStringLiteral("Anna"));
        QCOMPARE(patient.getGender(), QStringLiteral("FEMALE"));
        QCOMPARE(patient.getNotes(), QStringLiteral("n"));
        QCOMPARE(patient.getPhone(), QStringLiteral("+7 1"));
        QCOMPARE(patient.getBirthDate(), QDate(1980, 2, 29));
        QCOMPARE(patient.getLastRecordAt(), QStringLiteral("2021-03-04 05:06:07"));
        QVERIFY(patient.isHasDevices());
        QVERIFY(patient.isEnabled());
        QCOMPARE(patient.getStatusToolTip(), 5);
    }

    void readsBadJson_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty body") << QByteArray();
        QTest::newRow("not JSON") << QByteArray("<html>");
        QTest::newRow("an array") << QByteArray("[1, 2]");
        QTest::newRow("missing keys") << QByteArray("{}");
        QTest::newRow("nulls") << QByteArray(R"({"age": null, "id": null, "name": null, "gender": null, "notes": null,
            "phone": null, "birthDate": null, "lastRecordAt": null, "hasDevices": null, "command": null,
            "isComplete": null, "isEnabled": null})");
        QTest::newRow("wrong types") << QByteArray(R"({"age": "42", "id": 1, "name": 2, "gender": true, "notes": [],
            "phone": {}, "birthDate": 19800229, "lastRecordAt": 0, "hasDevices": "true", "command": 5,
            "isComplete": 1, "isEnabled": "yes"})");
        QTest::newRow("huge numbers") << QByteArray(R"({"age": 1e300, "id": 1e300, "birthDate": 99999999999999999999,
            "lastRecordAt": 1e40, "hasDevices": 1e9})");
        QTest::newRow("no dates") << QByteArray(R"({"birthDate": "2021-02-30", "lastRecordAt": "yesterday"})");
    }

    void readsBadJson()
    {
        QFETCH(QByteArray, text);
        Patient patient = patientFrom(text);
        QCOMPARE(patient.getAge(), QStringLiteral("0"));
        QVERIFY(patient.getId().isEmpty());
        QVERIFY(patient.getName().isEmpty());
        QVERIFY(patient.getGender().isEmpty());
        QVERIFY(patient.getNotes().isEmpty());
        QVERIFY(patient.getPhone().isEmpty());
        QVERIFY(!patient.getBirthDate().isValid());
        QVERIFY(patient.getLastRecordAt().isEmpty());
        QVERIFY(!patient.isHasDevices());
        QVERIFY(!patient.isEnabled());
        QCOMPARE(patient.getStatusToolTip(), 0);
        QCOMPARE(patient.getStatusIcon().toImage(), image(QStringLiteral("not-connected-device.png")));
        QVERIFY(!patient.getStatusIcon().isNull());
    }

    void ageThatNoIntegerHolds()
    {
        QCOMPARE(patientFrom(R"({"age": 4294967296})").getAge(), QStringLiteral("0"));
        QCOMPARE(patientFrom(R"({"age": 41.5})").getAge(), QStringLiteral("0"));
        QCOMPARE(patientFrom(R"({"age": -3})").getAge(), QStringLiteral("-3"));
    }

    void lastRecordKeepsItsOffset_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("shown");
        QTest::newRow("UTC") << QStringLiteral("2021-03-04T23:59:58Z") << QStringLiteral("2021-03-04 23:59:58");
        QTest::newRow("east") << QStringLiteral("2021-03-04T01:02:03+09:00") << QStringLiteral("2021-03-04 01:02:03");
        QTest::newRow("west") << QStringLiteral("2021-03-04T22:02:03-11:30") << QStringLiteral("2021-03-04 22:02:03");
        QTest::newRow("local") << QStringLiteral("2021-03-04T22:02:03") << QStringLiteral("2021-03-04 22:02:03");
        QTest::newRow("fraction") << QStringLiteral("2021-03-04T22:02:03.25Z") << QStringLiteral("2021-03-04 22:02:03");
    }

    void lastRecordKeepsItsOffset()
    {
        QFETCH(QString, text);
        QFETCH(QString, shown);
        QCOMPARE(Patient(QJsonObject{{QStringLiteral("lastRecordAt"), text}}).getLastRecordAt(), shown);
    }

    void genderIcons_data()
    {
        QTest::addColumn<QString>("gender");
        QTest::addColumn<QString>("word");
        QTest::newRow("male") << QStringLiteral("MALE") << QStringLiteral("male");
        QTest::newRow("female") << QStringLiteral("FEMALE") << QStringLiteral("female");
        QTest::newRow("lower case") << QStringLiteral("male") << QStringLiteral("female");
        QTest::newRow("empty") << QString() << QStringLiteral("female");
        QTest::newRow("blank after it") << QStringLiteral("MALE ") << QStringLiteral("female");
    }

    void genderIcons()
    {
        QFETCH(QString, gender);
        QFETCH(QString, word);
        QVERIFY(image(QStringLiteral("gender-male.png")) != image(QStringLiteral("gender-female.png")));
        QVERIFY(image(QStringLiteral("patient-male.png")) != image(QStringLiteral("patient-female.png")));
        Patient patient;
        patient.setGender(gender);
        QCOMPARE(patient.getGenderIcon().toImage(), image(QStringLiteral("gender-%1.png").arg(word)));
        QCOMPARE(patient.getIcon().toImage(), image(QStringLiteral("patient-%1.png").arg(word)));
    }

    void status_data()
    {
        QTest::addColumn<bool>("hasDevices");
        QTest::addColumn<bool>("isEnabled");
        QTest::addColumn<QString>("command");
        QTest::addColumn<bool>("isComplete");
        QTest::addColumn<QString>("icon");
        QTest::addColumn<int>("toolTip");

        const QStringList commands{
            QStringLiteral("RECORD"), QStringLiteral("SELF_RECORD"), QStringLiteral("AUTOSPECTRUM"),
            QStringLiteral("RECIPE"), QStringLiteral("SELF_RECIPE"), QString(),
            QStringLiteral("record"), QStringLiteral("RECORDS"),     QStringLiteral("SELFRECIPE"),
        };
        const QString none = QStringLiteral("not-connected-device.png");
        const QString blocked = QStringLiteral("connected-device-blocked.png");
        const QString plain = QStringLiteral("connected-device.png");
        // The command is of one of three families: 0 record, 1 recipe, 2 no command.
        const QString icons[3][2] = {
            {QStringLiteral("connected-device-record.png"), QStringLiteral("connected-device-record-complete.png")},
            {QStringLiteral("connected-device-recipe.png"), plain},
            {plain, plain},
        };
        const int toolTips[3][2] = {{2, 3}, {4, 5}, {1, 1}};

        for (int i = 0; i < commands.size(); ++i) {
            const int family = i < 3 ? 0 : i < 5 ? 1 : 2;
            for (int complete = 0; complete < 2; ++complete) {
                const QByteArray name = commands.at(i).toUtf8() + (complete == 1 ? ", complete" : ", running");
                QTest::newRow((name + ", no device").constData())
                    << false << false << commands.at(i) << (complete == 1) << none << 0;
                QTest::newRow((name + ", no device but enabled").constData())
                    << false << true << commands.at(i) << (complete == 1) << none << 0;
                QTest::newRow((name + ", blocked").constData())
                    << true << false << commands.at(i) << (complete == 1) << blocked << toolTips[family][complete];
                QTest::newRow((name + ", enabled").constData())
                    << true << true << commands.at(i) << (complete == 1) << icons[family][complete]
                    << toolTips[family][complete];
            }
        }
    }

    void status()
    {
        QFETCH(bool, hasDevices);
        QFETCH(bool, isEnabled);
        QFETCH(QString, command);
        QFETCH(bool, isComplete);
        QFETCH(QString, icon);
        QFETCH(int, toolTip);
        const Patient patient(QJsonObject{{QStringLiteral("hasDevices"), hasDevices},
                                          {QStringLiteral("isEnabled"), isEnabled},
                                          {QStringLiteral("command"), command},
                                          {QStringLiteral("isComplete"), isComplete}});
        QVERIFY(!image(icon).isNull());
        QCOMPARE(patient.getStatusIcon().toImage(), image(icon));
        QCOMPARE(patient.getStatusIcon().size(), QSize(64, 64));
        QCOMPARE(patient.getStatusToolTip(), toolTip);
    }

    void statusIconsDiffer()
    {
        const QStringList names{
            QStringLiteral("not-connected-device.png"),    QStringLiteral("connected-device-blocked.png"),
            QStringLiteral("connected-device-record.png"), QStringLiteral("connected-device-record-complete.png"),
            QStringLiteral("connected-device-recipe.png"), QStringLiteral("connected-device.png")};
        for (int i = 0; i < names.size(); ++i) {
            for (int k = i + 1; k < names.size(); ++k) {
                QVERIFY2(image(names.at(i)) != image(names.at(k)), qPrintable(names.at(i) + names.at(k)));
            }
        }
    }

    void setters()
    {
        Patient patient;
        patient.setName(QStringLiteral("Anna"));
        patient.setGender(QStringLiteral("FEMALE"));
        patient.setNotes(QStringLiteral("some\nlines"));
        patient.setPhone(QStringLiteral("+7 1"));
        patient.setBirthDate(3, 2, 2001);
        QCOMPARE(patient.getName(), QStringLiteral("Anna"));
        QCOMPARE(patient.getGender(), QStringLiteral("FEMALE"));
        QCOMPARE(patient.getNotes(), QStringLiteral("some\nlines"));
        QCOMPARE(patient.getPhone(), QStringLiteral("+7 1"));
        QCOMPARE(patient.getBirthDate(), QDate(2001, 2, 3));
    }

    void impossibleBirthDate_data()
    {
        QTest::addColumn<int>("day");
        QTest::addColumn<int>("month");
        QTest::addColumn<int>("year");
        QTest::newRow("31 February") << 31 << 2 << 2000;
        QTest::newRow("29 February of a common year") << 29 << 2 << 2001;
        QTest::newRow("31 April") << 31 << 4 << 2000;
        QTest::newRow("month 0") << 1 << 0 << 2000;
        QTest::newRow("month 13") << 1 << 13 << 2000;
        QTest::newRow("day 0") << 0 << 1 << 2000;
        QTest::newRow("year 0") << 1 << 1 << 0;
    }

    void impossibleBirthDate()
    {
        QFETCH(int, day);
        QFETCH(int, month);
        QFETCH(int, year);
        Patient patient;
        patient.setBirthDate(1, 1, 2000);
        QVERIFY(patient.getBirthDate().isValid());
        patient.setBirthDate(day, month, year);
        QVERIFY(!patient.getBirthDate().isValid());
        QCOMPARE(parse(patient.toJson()).value(QLatin1String("birthDate")), QJsonValue(QStringLiteral("")));
    }

    void deviceState()
    {
        Patient patient;
        patient.setHasDevices(true);
        QVERIFY(patient.isHasDevices());
        QVERIFY(!patient.isEnabled());
        patient.toggleEnabled();
        QVERIFY(patient.isEnabled());
        patient.toggleEnabled();
        QVERIFY(!patient.isEnabled());
        patient.setHasDevices(false);
        QVERIFY(!patient.isHasDevices());
    }

    void recordCommandStartsAnew()
    {
        Patient patient = patientFrom(R"({"hasDevices": true, "command": "RECORD", "isComplete": true})");
        QCOMPARE(patient.getStatusToolTip(), 3);
        patient.setStatusRecord();
        QCOMPARE(patient.getStatusToolTip(), 2);
    }

    void recipeCommandStartsAnew()
    {
        Patient patient = patientFrom(R"({"hasDevices": true, "command": "RECORD", "isComplete": true})");
        patient.setStatusRecipe();
        QCOMPARE(patient.getStatusToolTip(), 4);
    }

    void noCommandKeepsCompletion()
    {
        Patient patient = patientFrom(R"({"hasDevices": true, "isEnabled": true, "command": "RECIPE",
                                          "isComplete": true})");
        patient.setStatusNoCommand();
        QCOMPARE(patient.getStatusToolTip(), 1);
        QCOMPARE(patient.getStatusIcon().toImage(), image(QStringLiteral("connected-device.png")));
        // The completion shows again only with a command of the server's, so that a copy built from JSON tells.
        patient.setStatusRecord();
        QCOMPARE(patient.getStatusToolTip(), 2);
    }

    void writesJson()
    {
        Patient patient = patientFrom(R"({
            "age": 42, "id": "p1", "name": "Анна", "gender": "FEMALE", "notes": "", "phone": "+7 1",
            "birthDate": "1980-02-29", "lastRecordAt": "2021-03-04T05:06:07Z", "hasDevices": true,
            "command": "RECIPE", "isComplete": true, "isEnabled": true})");
        patient.setNotes(QStringLiteral("a \"b\""));
        const QJsonObject expected{
            {QStringLiteral("id"), QStringLiteral("p1")},
            {QStringLiteral("name"), QString::fromUtf8("Анна")},
            {QStringLiteral("birthDate"), QStringLiteral("1980-02-29")},
            {QStringLiteral("gender"), QStringLiteral("FEMALE")},
            {QStringLiteral("notes"), QStringLiteral("a \"b\"")},
            {QStringLiteral("phone"), QStringLiteral("+7 1")},
        };
        QCOMPARE(parse(patient.toJson()), expected);
        QCOMPARE(patient.toJson(), QByteArray("{\n"
                                              "    \"birthDate\": \"1980-02-29\",\n"
                                              "    \"gender\": \"FEMALE\",\n"
                                              "    \"id\": \"p1\",\n"
                                              "    \"name\": \"Анна\",\n"
                                              "    \"notes\": \"a \\\"b\\\"\",\n"
                                              "    \"phone\": \"+7 1\"\n"
                                              "}\n"));
    }

    void newPatientHasNoId()
    {
        Patient patient;
        patient.setName(QStringLiteral("Anna"));
        const QJsonObject object = parse(patient.toJson());
        QCOMPARE(object.keys(),
                 QStringList({QStringLiteral("birthDate"), QStringLiteral("gender"), QStringLiteral("name"),
                              QStringLiteral("notes"), QStringLiteral("phone")}));
        for (const QString& key : object.keys()) {
            QVERIFY2(object.value(key).isString(), qPrintable(key));
        }
    }

    void emptyIdIsSent()
    {
        // Empty and null differ: the server's empty id is an id.
        const Patient patient(QJsonObject{{QStringLiteral("id"), QStringLiteral("")}});
        QVERIFY(!patient.getId().isNull());
        QCOMPARE(parse(patient.toJson()).value(QLatin1String("id")), QJsonValue(QStringLiteral("")));
    }
};

QTEST_MAIN(TestPatient)
#include "TestPatient.moc"
