// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Synthesis.h"

#include <algorithm>
#include <cmath>

namespace server {

namespace {

const double pi = std::acos(-1.0);

// 0 at the very first and last sample, 1 between the fades.
double envelope(int n)
{
    const int fromEdge = std::min(n, Synthesis::blockSize - 1 - n);
    return fromEdge >= Synthesis::fadeLength ? 1.0 : 0.5 - 0.5 * std::cos(pi * fromEdge / Synthesis::fadeLength);
}

} // namespace

QByteArray Synthesis::block(const std::vector<double>& frequencies)
{
    std::vector<double> audible;
    std::copy_if(frequencies.begin(), frequencies.end(), std::back_inserter(audible),
                 [](double frequency) { return frequency > 0 && frequency < sampleRate / 2.0; });

    std::vector<double> wave(blockSize, 0.0);
    for (size_t k = 0; k < audible.size(); ++k) {
        const double step = 2.0 * pi * audible[k] / sampleRate;
        const double phase = -pi * double(k) * double(k + 1) / double(audible.size());
        for (int n = 0; n < blockSize; ++n) {
            wave[n] += std::sin(step * n + phase);
        }
    }
    double crest = 0;
    for (int n = 0; n < blockSize; ++n) {
        wave[n] *= envelope(n);
        crest = std::max(crest, std::abs(wave[n]));
    }

    QByteArray block(blockSize, char(silence));
    if (crest > 0) {
        for (int n = 0; n < blockSize; ++n) {
            block[n] = char(silence + std::lround(wave[n] / crest * peak));
        }
    }
    return block;
}

} // namespace server
