// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/dsp/Signals.h"

#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <complex>
#include <random>

namespace {

constexpr int rate = 22050;
constexpr int length = 66150;
const double pi = std::acos(-1.0);

void append16(QByteArray& bytes, quint16 value)
{
    const quint16 little = qToLittleEndian(value);
    bytes.append(reinterpret_cast<const char*>(&little), sizeof little);
}

void append32(QByteArray& bytes, quint32 value)
{
    const quint32 little = qToLittleEndian(value);
    bytes.append(reinterpret_cast<const char*>(&little), sizeof little);
}

} // namespace

Signals::Signals()
    : m_wave(length, 0.0)
{
}

Signals& Signals::tone(double frequency, double amplitude, double phase)
{
    for (int n = 0; n < length; ++n) {
        m_wave[n] += amplitude * std::sin(2.0 * pi * frequency * n / rate + phase);
    }
    return *this;
}

Signals& Signals::noise(double rms, unsigned seed)
{
    std::mt19937 generator(seed);
    std::normal_distribution<double> distribution(0.0, rms);
    for (double& sample : m_wave) {
        sample += distribution(generator);
    }
    return *this;
}

Signals& Signals::offset(double level)
{
    for (double& sample : m_wave) {
        sample += level;
    }
    return *this;
}

Signals& Signals::vowel(double pitch, const std::vector<double>& formants, double amplitude)
{
    const double bandwidth = 80;
    std::vector<std::pair<double, double>> partials;
    double sum = 0;
    for (int k = 1; k * pitch < 5000; ++k) {
        const std::complex<double> s(0.0, k * pitch);
        double gain = 1.0 / (k * k);
        for (const double formant : formants) {
            gain *= formant * formant / std::abs(s * s + s * bandwidth + formant * formant);
        }
        partials.emplace_back(k * pitch, gain);
        sum += gain;
    }
    double phase = 0;
    for (const auto& partial : partials) {
        // Any fixed scatter of phases will do, so that the partials do not all peak at once.
        phase += 2.4;
        tone(partial.first, amplitude * partial.second / sum, phase * phase);
    }
    return *this;
}

QByteArray Signals::samples() const
{
    QByteArray samples(length, '\0');
    for (int n = 0; n < length; ++n) {
        samples[n] = char(std::clamp(std::lround(128.0 + 128.0 * m_wave[n]), 0L, 255L));
    }
    return samples;
}

QByteArray Signals::wave(const QByteArray& samples)
{
    QByteArray file = QByteArrayLiteral("RIFF");
    append32(file, quint32(samples.size() + 36));
    file += QByteArrayLiteral("WAVEfmt ");
    append32(file, 16);
    append16(file, 1);
    append16(file, 1);
    append32(file, rate);
    append32(file, rate);
    append16(file, 1);
    append16(file, 8);
    file += QByteArrayLiteral("data");
    append32(file, quint32(samples.size()));
    return file + samples;
}
