// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/MarkerAnalysis.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace server {

namespace {

constexpr double fullLevel = 60;       // dB that make a value of 100
constexpr double lowestNoise = 5;      // Hz
constexpr double leastNoiseReach = 10; // Hz

double roundingNoise()
{
    const double step = 1.0 / SignalFormat::fullScale;
    return 6.0 * (step * step / 12.0) / Spectrum::sampleCount;
}

double harmonicNumber(int count)
{
    double sum = 0;
    for (int i = 1; i <= count; ++i) {
        sum += 1.0 / i;
    }
    return sum;
}

std::vector<double> squared(std::vector<double> values)
{
    for (double& value : values) {
        value *= value;
    }
    return values;
}

int firstBin(double frequency)
{
    return int(std::ceil(frequency / Spectrum::binWidth));
}

int lastBin(double frequency)
{
    return int(std::floor(frequency / Spectrum::binWidth));
}

} // namespace

MarkerAnalysis::MarkerAnalysis(const Spectrum& spectrum)
    : m_powers(squared(spectrum.amplitudes()))
    , m_medians(m_powers)
{
}

std::vector<MarkerAnalysis::Row> MarkerAnalysis::rows(const Catalogue::Storage& storage,
                                                      const std::vector<MarkerAnalysis>& records)
{
    QVector<QVector<double>> levels;
    for (const MarkerAnalysis& record : records) {
        QVector<double> ofRecord;
        for (const Catalogue::Marker& marker : storage.markers) {
            ofRecord.append(record.level(marker));
        }
        levels.append(ofRecord);
    }
    return ranked(storage, levels);
}

std::vector<MarkerAnalysis::Row> MarkerAnalysis::ranked(const Catalogue::Storage& storage,
                                                        const QVector<QVector<double>>& records)
{
    std::vector<std::pair<double, Row>> ranked;
    ranked.reserve(size_t(storage.markers.size()));
    for (int i = 0; i < storage.markers.size(); ++i) {
        Row row;
        row.marker = &storage.markers.at(i);
        row.values.reserve(records.size());
        for (const QVector<double>& levels : records) {
            row.values.append(valueOf(levels.at(i)));
        }
        ranked.emplace_back(records.isEmpty() ? 0 : records.first().at(i), row);
    }
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const auto& left, const auto& right) { return left.first > right.first; });

    std::vector<Row> rows;
    rows.reserve(ranked.size());
    for (auto& entry : ranked) {
        rows.push_back(std::move(entry.second));
    }
    return rows;
}

int MarkerAnalysis::valueOf(double level)
{
    return std::clamp(int(std::lround(100.0 * level / fullLevel)), 0, 100);
}

double MarkerAnalysis::level(const Catalogue::Marker& marker) const
{
    if (m_powers.empty() || marker.frequencies.empty()) {
        return 0;
    }
    const double ratio = std::exp2(marker.cents / 1200.0);
    double sum = 0;
    double weights = 0;
    int position = 0;
    for (const double frequency : marker.frequencies) {
        const double low = std::min(frequency / ratio, frequency - marker.hertz);
        const double high = std::max(frequency * ratio, frequency + marker.hertz);
        const double decibels = level(frequency, low, high);
        ++position;
        if (marker.match == Catalogue::Match::All) {
            sum += decibels / position;
            weights += 1.0 / position;
        } else {
            sum += std::pow(10.0, decibels / 10.0);
            weights += 1.0;
        }
    }
    return marker.match == Catalogue::Match::All ? sum / weights : 10.0 * std::log10(sum / weights);
}

int MarkerAnalysis::value(const Catalogue::Marker& marker) const
{
    return valueOf(level(marker));
}

double MarkerAnalysis::level(double frequency, double low, double high) const
{
    const int nearest = int(std::lround(frequency / Spectrum::binWidth));
    // A local maximum needs a neighbour on either side.
    const int first = std::max(std::min(firstBin(low), nearest - 1), 1);
    const int last = std::min(std::max(lastBin(high), nearest + 1), Spectrum::binCount - 2);

    double peak = 0;
    for (int k = first; k <= last; ++k) {
        const double before = m_powers[k - 1];
        const double here = m_powers[k];
        const double after = m_powers[k + 1];
        if (here >= before && here >= after && (here > before || here > after)) {
            peak = std::max(peak, here);
        }
    }
    if (peak <= 0) {
        return 0;
    }

    const double below = std::min(frequency / std::sqrt(2.0), frequency - leastNoiseReach);
    const double above = std::max(frequency * std::sqrt(2.0), frequency + leastNoiseReach);
    const int noiseFirst = firstBin(std::max(below, lowestNoise));
    const int noiseLast = std::min(lastBin(above), Spectrum::binCount - 1);
    const double expected = harmonicNumber(last - first + 1) * noise(noiseFirst, noiseLast);
    return std::max(0.0, 10.0 * std::log10(peak / expected));
}

double MarkerAnalysis::noise(int first, int last) const
{
    return std::max(m_medians.median(first, last) / std::log(2.0), roundingNoise());
}

} // namespace server
