// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/ComparedSeries.h"

#include <QJsonArray>
#include <QMap>

namespace {

QMap<QString, QColor> readColours(const QJsonObject& colours)
{
    QMap<QString, QColor> map;
    for (auto it = colours.constBegin(); it != colours.constEnd(); ++it) {
        const QJsonArray parts = it.value().toArray();
        map.insert(it.key(), parts.size() == 3 ? QColor(parts.at(0).toInt(), parts.at(1).toInt(), parts.at(2).toInt())
                                               : QColor(255, 0, 0));
    }
    return map;
}

} // namespace

ComparedSeries::ComparedSeries(const QJsonObject& series, const QJsonObject& colours)
{
    const QMap<QString, QColor> smoothColours = readColours(colours);
    all.reserve(series.size());
    for (auto it = series.constBegin(); it != series.constEnd(); ++it) {
        Line line;
        line.name = it.key();
        const auto colour = smoothColours.constFind(it.key());
        if (colour != smoothColours.constEnd()) {
            line.smooth = true;
            line.colour = *colour;
            smooth = true;
        }
        const QJsonArray values = it.value().toArray();
        line.values.reserve(values.size());
        for (const QJsonValue& element : values) {
            const double value = element.toDouble(0.0);
            least = qMin(least, value);
            most = qMax(most, value);
            line.values.append(value);
        }
        all.append(line);
    }
}
