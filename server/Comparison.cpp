// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Comparison.h"

#include "server/LocalText.h"
#include "server/MarkerAnalysis.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace server {

namespace {

const QVector<int>& trendColour()
{
    static const QVector<int> colour{13, 180, 150};
    return colour;
}

double rounded(double value, double steps)
{
    // Adding 0 makes a plain zero of a negative one.
    return std::round(value * steps) / steps + 0.0;
}

QVector<double> smoothed(const QVector<double>& values)
{
    QVector<double> result;
    result.reserve(values.size());
    for (int i = 0; i < values.size(); ++i) {
        double sum = 2 * values.at(i);
        int weights = 2;
        for (const int neighbour : {i - 1, i + 1}) {
            if (neighbour >= 0 && neighbour < values.size()) {
                sum += values.at(neighbour);
                ++weights;
            }
        }
        result.append(sum / weights);
    }
    return result;
}

} // namespace

Comparison::Comparison(const QVector<Entry>& records, const QString& language)
{
    if (records.isEmpty()) {
        return;
    }
    compareBands(records);
    compareMarkers(records, language);
    compareScores(records, language);
    compareComplaints(records, language);
}

QStringList Comparison::distinct(const QStringList& names)
{
    QHash<QString, int> total;
    for (const QString& name : names) {
        ++total[name];
    }
    QSet<QString> taken(names.begin(), names.end());
    QHash<QString, int> last;
    QStringList result;
    result.reserve(names.size());
    for (const QString& name : names) {
        if (!last.contains(name)) {
            last.insert(name, 1);
            result.append(name);
            continue;
        }
        const int digits = QString::number(total.value(name)).size();
        QString numbered;
        do {
            numbered = QStringLiteral("%1 (%2)").arg(name).arg(++last[name], digits, 10, QLatin1Char('0'));
        } while (taken.contains(numbered));
        taken.insert(numbered);
        result.append(numbered);
    }
    return result;
}

void Comparison::compareBands(const QVector<Entry>& records)
{
    QStringList names;
    for (const Entry& record : records) {
        names.append(record.recordedAt.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")));
    }
    names = distinct(names);
    for (int i = 0; i < records.size(); ++i) {
        QVector<double> levels;
        for (const double level : records.at(i).result.bands()) {
            levels.append(rounded(level, 10));
        }
        m_bands.insert(names.at(i), levels);
    }
}

void Comparison::compareMarkers(const QVector<Entry>& records, const QString& language)
{
    QVector<QPair<double, const Catalogue::Marker*>> strongest;
    for (const Catalogue::Storage& storage : Catalogue::instance().storages()) {
        QVector<double> greatest(storage.markers.size(), 0.0);
        for (const Entry& record : records) {
            const QVector<double> levels = record.result.levels(storage);
            std::transform(greatest.begin(), greatest.end(), levels.begin(), greatest.begin(),
                           [](double one, double other) { return std::max(one, other); });
        }
        for (int i = 0; i < greatest.size(); ++i) {
            const Catalogue::Marker& marker = storage.markers.at(i);
            if (marker.frequencies.size() == 1 && MarkerAnalysis::valueOf(greatest.at(i)) > 0) {
                strongest.append({greatest.at(i), &marker});
            }
        }
    }
    std::stable_sort(strongest.begin(), strongest.end(),
                     [](const auto& left, const auto& right) { return left.first > right.first; });
    strongest.resize(std::min(int(strongest.size()), mostMarkers));

    QStringList names;
    for (const auto& entry : qAsConst(strongest)) {
        names.append(entry.second->title.in(language));
    }
    names = distinct(names);
    for (int i = 0; i < strongest.size(); ++i) {
        QVector<double> values;
        for (const Entry& record : records) {
            values.append(MarkerAnalysis::valueOf(record.result.level(*strongest.at(i).second)));
        }
        m_markers.insert(names.at(i), values);
    }
}

void Comparison::compareScores(const QVector<Entry>& records, const QString& language)
{
    QVector<double> means;
    for (const Entry& record : records) {
        const int sum = std::accumulate(record.scores.begin(), record.scores.end(), 0);
        means.append(record.scores.isEmpty() ? 0 : double(sum) / record.scores.size());
    }
    QVector<double> trend = smoothed(means);
    for (QVector<double>* series : {&means, &trend}) {
        for (double& value : *series) {
            value = rounded(value, 100);
        }
    }
    const QString trendName = LocalText{QStringLiteral("Trend"), QStringLiteral("Тренд")}.in(language);
    m_summary.insert(LocalText{QStringLiteral("Mean score"), QStringLiteral("Средняя оценка")}.in(language), means);
    m_summary.insert(trendName, trend);
    m_smooth.insert(trendName, trendColour());
}

void Comparison::compareComplaints(const QVector<Entry>& records, const QString& language)
{
    QVector<double> counts;
    QVector<double> sums;
    for (const Entry& record : records) {
        counts.append(double(
            std::count_if(record.answers.begin(), record.answers.end(), [](double answer) { return answer > 0; })));
        sums.append(std::accumulate(record.answers.begin(), record.answers.end(), 0.0));
    }
    m_complaints.insert(
        LocalText{QStringLiteral("Number of complaints"), QStringLiteral("Количество жалоб")}.in(language), counts);
    m_complaints.insert(LocalText{QStringLiteral("Severity"), QStringLiteral("Выраженность")}.in(language), sums);
}

} // namespace server
