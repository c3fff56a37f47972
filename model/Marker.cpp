// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Marker.h"

#include <QJsonArray>

Marker::Marker(const QJsonObject& json)
    : id(json.value(QLatin1String("id")).toString())
    , title(json.value(QLatin1String("title")).toString())
    , value(json.value(QLatin1String("values")).toArray().first().toInt(0))
    , amount(json.value(QLatin1String("amount")).toInt(0))
{
    const QJsonValue text = json.value(QLatin1String("description"));
    if (!text.isNull()) {
        // Not null: only the server's null leaves the description null.
        description = text.toString(QLatin1String(""));
    }
}
