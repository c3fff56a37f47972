// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Patient.h"
#include "tests/fuzz/Application.h"

#include <QDateTime>
#include <QJsonDocument>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Application::start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QJsonObject json =
        QJsonDocument::fromJson(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size))).object();
    Patient patient(json);
    require(patient.getId().isNull() == !json.value(QLatin1String("id")).isString(), "an id is a text");
    require(patient.getName() == json.value(QLatin1String("name")).toString(), "a name is a text");
    require(patient.getNotes() == json.value(QLatin1String("notes")).toString(), "notes are a text");
    require(patient.getPhone() == json.value(QLatin1String("phone")).toString(), "a phone is a text");
    bool number = false;
    const int age = patient.getAge().toInt(&number);
    const QJsonValue given = json.value(QLatin1String("age"));
    require(number && (age == 0 || given.toDouble() == age), "an age is a whole number");
    const QString last = patient.getLastRecordAt();
    require(last.isEmpty() || QDateTime::fromString(last, QStringLiteral("yyyy-MM-dd HH:mm:ss")).isValid() ||
                QDateTime::fromString(json.value(QLatin1String("lastRecordAt")).toString(), Qt::ISODate).isValid(),
            "a date is shown or there is none");
    require(patient.isHasDevices() == (json.value(QLatin1String("hasDevices")) == QJsonValue(true)), "true alone is");
    require(patient.isEnabled() == (json.value(QLatin1String("isEnabled")) == QJsonValue(true)), "true alone is");
    const int tip = patient.getStatusToolTip();
    require(tip >= 0 && tip <= 5 && (tip == 0) == !patient.isHasDevices(), "a device has its tip");

    // What the form sends is what it got.
    const QByteArray text = patient.toJson();
    Patient again(QJsonDocument::fromJson(text).object());
    require(again.toJson() == text, "what is written again is the same");
    require(again.getBirthDate() == patient.getBirthDate(), "a date comes back");
    require(again.getId().isNull() == patient.getId().isNull(), "an id is sent if there is one");
    if (QStringView(patient.getName()).isValidUtf16()) {
        require(again.getName() == patient.getName(), "a name comes back");
    }

    const int seed = static_cast<int>(size);
    patient.setBirthDate(seed % 40, seed % 15, seed);
    require(patient.getBirthDate().isValid() == QDate::isValid(seed, seed % 15, seed % 40), "a date is possible");
    patient.setHasDevices(true);
    patient.setStatusRecord();
    require(patient.getStatusToolTip() == 2, "a record runs");
    patient.setStatusRecipe();
    require(patient.getStatusToolTip() == 4, "a recipe runs");
    patient.setStatusNoCommand();
    require(patient.getStatusToolTip() == 1, "nothing runs");
    return 0;
}
