// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/SummaryScore.h"

#include <algorithm>
#include <cmath>

namespace server {

namespace {

constexpr double fullChange = 60; // dB that make a score of 100

} // namespace

double SummaryScore::strength(const QVector<QVector<double>>& storages)
{
    double strengths = 0;
    for (const QVector<double>& levels : storages) {
        double powers = 0;
        for (const double level : levels) {
            powers += std::pow(10.0, level / 10.0);
        }
        strengths += 10.0 * std::log10(powers / levels.size());
    }
    return strengths / storages.size();
}

QVector<int> SummaryScore::scores(const QVector<QDateTime>& times, const QVector<double>& strengths)
{
    QVector<int> scores;
    scores.reserve(times.size());
    double earlierSum = 0;
    int earlier = 0;
    for (int i = 0; i < times.size(); ++i) {
        while (times.at(earlier) < times.at(i)) {
            earlierSum += strengths.at(earlier++);
        }
        const double change = earlier > 0 ? strengths.at(i) - earlierSum / earlier : 0;
        scores.append(std::clamp(int(std::lround(100.0 * change / fullChange)), -100, 100));
    }
    return scores;
}

} // namespace server
