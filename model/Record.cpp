// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Record.h"

#include <QDateTime>

Record::Record(const QJsonObject& json)
    : id(json.value(QLatin1String("id")).toString())
    , patientId(json.value(QLatin1String("patientId")).toString())
    , doctorName(json.value(QLatin1String("doctorName")).toString())
    , recordedAt(QDateTime::fromString(json.value(QLatin1String("recordedAt")).toString(), Qt::ISODate)
                     .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")))
    , editable(json.value(QLatin1String("editable")).toBool(false))
    , questionnaire(json.value(QLatin1String("questionnaire")).toBool(false))
{
}
