// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/BandLevels.h"

#include "server/SignalFormat.h"
#include "server/Spectrum.h"

#include <algorithm>
#include <cmath>

namespace server {

namespace {

constexpr int bandOf1000 = 16;
constexpr double noiseBandwidth = 1.5; // bins, of the Hann window

double limit(double band)
{
    return 1000.0 * std::pow(10.0, (band - bandOf1000) / 10.0);
}

int firstBin(double frequency)
{
    return int(std::ceil(frequency / Spectrum::binWidth));
}

} // namespace

double BandLevels::lowerLimit(int band)
{
    return limit(band - 0.5);
}

double BandLevels::upperLimit(int band)
{
    return limit(band + 0.5);
}

QVector<double> BandLevels::of(const Spectrum& spectrum)
{
    const double step = 1.0 / SignalFormat::fullScale;
    const double rounding = 6.0 * (step * step / 12.0) / Spectrum::sampleCount;
    QVector<double> levels;
    levels.reserve(count);
    for (int band = 0; band < count; ++band) {
        const int first = firstBin(lowerLimit(band));
        const int end = firstBin(upperLimit(band));
        double sum = 0;
        for (int k = first; spectrum.isValid() && k < end; ++k) {
            sum += spectrum.amplitudes()[size_t(k)] * spectrum.amplitudes()[size_t(k)];
        }
        levels.append(10.0 * std::log10(std::max(sum, rounding * (end - first)) / noiseBandwidth));
    }
    return levels;
}

} // namespace server
