// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Storage.h"

Storage::Storage(const QJsonObject& json)
    : id(json.value(QLatin1String("id")).toString())
    , title(json.value(QLatin1String("title")).toString())
    , frequencies(json.value(QLatin1String("frequencies")).toBool(false))
{
}
