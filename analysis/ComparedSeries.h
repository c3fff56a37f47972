// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QJsonObject>
#include <QString>
#include <QVector>

/// What one chart of a comparison shows, as the server's reply gives it. A plain value.
class ComparedSeries
{
public:
    /// One series.
    struct Line
    {
        QString name;
        QVector<double> values;
        bool smooth = false;
        /// Of a smooth series alone; invalid if the reply names an impossible one.
        QColor colour;
    };

    /// A series for each member of `series`: name and array of numbers, of which whatever is no number counts as 0. One
    /// that `colours` names too is smooth and has the colour given there as array of red, green and blue; whatever is
    /// no such array is red.
    ComparedSeries(const QJsonObject& series, const QJsonObject& colours);

    /// Sorted by name.
    const QVector<Line>& lines() const { return all; }
    bool hasSmooth() const { return smooth; }
    /// The least of all values and 0.
    double minimum() const { return least; }
    /// The largest of all values and 0.
    double maximum() const { return most; }

private:
    QVector<Line> all;
    bool smooth = false;
    double least = 0.0;
    double most = 0.0;
};
