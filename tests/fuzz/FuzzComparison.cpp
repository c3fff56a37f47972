// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/ComparedSeries.h"
#include "signal/Utils.h"
#include "tests/fuzz/Application.h"

#include <QMap>

#include <algorithm>
#include <cmath>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Application::start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QJsonObject reply =
        Utils::bytesToJson(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    const QJsonObject series = reply.value(QLatin1String("summary")).toObject();
    const QJsonObject colours = reply.value(QLatin1String("smooth")).toObject();
    const ComparedSeries compared(series, colours);
    // To look a key up in an object fails in Qt 5.15 where keys are beyond the basic plane.
    QMap<QString, QJsonArray> known;
    for (auto colour = colours.begin(); colour != colours.end(); ++colour) {
        known.insert(colour.key(), colour.value().toArray());
    }
    require(compared.lines().size() == series.size(), "every series has its line");
    bool smooth = false;
    double least = 0.0;
    double most = 0.0;
    int place = 0;
    for (auto one = series.begin(); one != series.end(); ++one) {
        const ComparedSeries::Line& line = compared.lines().at(place++);
        require(line.name == one.key(), "lines are in the order of the object");
        const QJsonArray values = one.value().toArray();
        require(line.values.size() == values.size(), "every value has its point");
        for (int j = 0; j < values.size(); ++j) {
            require(std::isfinite(line.values.at(j)), "a value is a number");
            require(line.values.at(j) == (values.at(j).isDouble() ? values.at(j).toDouble() : 0.0), "as the server's");
            least = std::min(least, line.values.at(j));
            most = std::max(most, line.values.at(j));
        }
        require(line.smooth == known.contains(line.name), "what has a colour is smooth");
        smooth = smooth || line.smooth;
        const QJsonArray parts = known.value(line.name);
        require(!line.smooth || parts.size() == 3 || line.colour == QColor(Qt::red), "what is no colour is red");
        for (int k = 0; line.smooth && line.colour.isValid() && parts.size() == 3 && k < 3; ++k) {
            const int part = k == 0 ? line.colour.red() : k == 1 ? line.colour.green() : line.colour.blue();
            require(part == parts.at(k).toInt(), "a colour is the server's");
        }
        require(line.smooth || !line.colour.isValid(), "a straight line has none");
    }
    require(compared.hasSmooth() == smooth, "a smooth line is told");
    require(compared.minimum() == least && compared.maximum() == most, "the ends hold all values and 0");
    // What is not compared has no line.
    require(ComparedSeries(QJsonObject(), colours).lines().isEmpty(), "a colour makes no line");
    return 0;
}
