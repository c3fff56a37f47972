// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Category.h"

#include <QJsonArray>

Category::Category(const QJsonObject& json)
    : title(json.value(QLatin1String("title")).toString())
{
    const QJsonArray elements = json.value(QLatin1String("storages")).toArray();
    storages.reserve(elements.size());
    for (const QJsonValue& element : elements) {
        storages.append(Storage(element.toObject()));
    }
}
