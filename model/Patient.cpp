// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Patient.h"

#include "model/picture.h"

#include <QDateTime>
#include <QJsonDocument>

Patient::Patient(const QJsonObject& json)
    : age(json.value(QLatin1String("age")).toInt(0))
    , birthDate(QDate::fromString(json.value(QLatin1String("birthDate")).toString(), Qt::ISODate))
    , command(json.value(QLatin1String("command")).toString())
    , id(json.value(QLatin1String("id")).toString())
    , gender(json.value(QLatin1String("gender")).toString())
    , lastRecordAt(QDateTime::fromString(json.value(QLatin1String("lastRecordAt")).toString(), Qt::ISODate)
                       .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")))
    , name(json.value(QLatin1String("name")).toString())
    , notes(json.value(QLatin1String("notes")).toString())
    , phone(json.value(QLatin1String("phone")).toString())
    , hasDevices(json.value(QLatin1String("hasDevices")).toBool(false))
    , complete(json.value(QLatin1String("isComplete")).toBool(false))
    , enabled(json.value(QLatin1String("isEnabled")).toBool(false))
{
}

QString Patient::getAge() const
{
    return QString::number(age);
}

QPixmap Patient::getIcon() const
{
    return picture(gender == QLatin1String("MALE") ? QStringLiteral(":/images/patient-male.png")
                                                   : QStringLiteral(":/images/patient-female.png"));
}

QPixmap Patient::getGenderIcon() const
{
    return picture(gender == QLatin1String("MALE") ? QStringLiteral(":/images/gender-male.png")
                                                   : QStringLiteral(":/images/gender-female.png"));
}

QPixmap Patient::getStatusIcon() const
{
    if (!hasDevices) {
        return picture(QStringLiteral(":/images/not-connected-device.png"));
    }
    if (!enabled) {
        return picture(QStringLiteral(":/images/connected-device-blocked.png"));
    }
    if (isRecordCommand()) {
        return picture(complete ? QStringLiteral(":/images/connected-device-record-complete.png")
                                : QStringLiteral(":/images/connected-device-record.png"));
    }
    if (isRecipeCommand() && !complete) {
        return picture(QStringLiteral(":/images/connected-device-recipe.png"));
    }
    return picture(QStringLiteral(":/images/connected-device.png"));
}

int Patient::getStatusToolTip() const
{
    if (!hasDevices) {
        return 0;
    }
    if (isRecordCommand()) {
        return complete ? 3 : 2;
    }
    if (isRecipeCommand()) {
        return complete ? 5 : 4;
    }
    return 1;
}

void Patient::setBirthDate(int day, int month, int year)
{
    birthDate = QDate();
    birthDate.setDate(year, month, day);
}

void Patient::setStatusNoCommand()
{
    command = QLatin1String("");
}

void Patient::setStatusRecord()
{
    command = QStringLiteral("RECORD");
    complete = false;
}

void Patient::setStatusRecipe()
{
    command = QStringLiteral("RECIPE");
    complete = false;
}

QByteArray Patient::toJson() const
{
    QJsonObject object{
        {QStringLiteral("name"), name},     {QStringLiteral("birthDate"), birthDate.toString(Qt::ISODate)},
        {QStringLiteral("gender"), gender}, {QStringLiteral("notes"), notes},
        {QStringLiteral("phone"), phone},
    };
    if (!id.isNull()) {
        object.insert(QStringLiteral("id"), id);
    }
    return QJsonDocument(object).toJson();
}

bool Patient::isRecordCommand() const
{
    return command == QLatin1String("RECORD") || command == QLatin1String("SELF_RECORD") ||
           command == QLatin1String("AUTOSPECTRUM");
}

bool Patient::isRecipeCommand() const
{
    return command == QLatin1String("RECIPE") || command == QLatin1String("SELF_RECIPE");
}
