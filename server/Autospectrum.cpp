// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Autospectrum.h"

#include "server/FftwPlanner.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <vector>

namespace server {

namespace {

constexpr int size = Autospectrum::blockSize;
/// Without a bin at the Nyquist frequency, as the size is odd.
constexpr int bins = size / 2 + 1;
static_assert(size % 2 == 1);
/// What the rounding to 8 bits may leave of silence.
constexpr double roundingStep = 1;

const double pi = std::acos(-1.0);

struct FftwFree
{
    void operator()(void* memory) const { fftw_free(memory); }
};

/// The two transforms of a block. FFTW lets any number of threads run a finished plan on buffers of their own.
class Transforms
{
public:
    struct Buffers
    {
        std::unique_ptr<double[], FftwFree> wave{fftw_alloc_real(size)};
        std::unique_ptr<fftw_complex[], FftwFree> spectrum{fftw_alloc_complex(bins)};
    };

    static const Transforms& instance()
    {
        static const Transforms transforms;
        return transforms;
    }

    Transforms()
    {
        const Buffers buffers;
        const FftwPlanner planner;
        // Estimated, not measured: the same record gives the same bits on every run.
        m_forward = fftw_plan_dft_r2c_1d(size, buffers.wave.get(), buffers.spectrum.get(), FFTW_ESTIMATE);
        m_backward = fftw_plan_dft_c2r_1d(size, buffers.spectrum.get(), buffers.wave.get(), FFTW_ESTIMATE);
    }

    ~Transforms()
    {
        fftw_destroy_plan(m_forward);
        fftw_destroy_plan(m_backward);
    }

    Transforms(const Transforms&) = delete;
    Transforms& operator=(const Transforms&) = delete;

    void analyse(const Buffers& buffers) const
    {
        fftw_execute_dft_r2c(m_forward, buffers.wave.get(), buffers.spectrum.get());
    }
    /// Leaves nothing of use in the spectrum.
    void synthesise(const Buffers& buffers) const
    {
        fftw_execute_dft_c2r(m_backward, buffers.spectrum.get(), buffers.wave.get());
    }

private:
    fftw_plan m_forward = nullptr;
    fftw_plan m_backward = nullptr;
};

/// The first sample that is not negative where the wave rises through zero in the smallest of its steps there.
int risingZero(const double* wave)
{
    int best = 0;
    double least = -1;
    for (int n = 0; n < size; ++n) {
        const double before = wave[n == 0 ? size - 1 : n - 1];
        if (before < 0 && wave[n] >= 0 && (least < 0 || wave[n] - before < least)) {
            best = n;
            least = wave[n] - before;
        }
    }
    return best;
}

} // namespace

QByteArray Autospectrum::block(const QByteArray& record)
{
    QByteArray block(size, char(SignalFormat::silence));
    if (record.size() != SignalFormat::recordSamples) {
        return block;
    }
    const auto* samples =
        reinterpret_cast<const unsigned char*>(record.constData()) + (SignalFormat::recordSamples - size) / 2;
    const double mean = double(std::accumulate(samples, samples + size, qint64(0))) / size;
    const Transforms& transforms = Transforms::instance();
    const Transforms::Buffers buffers;
    double strongest = 0;
    for (int n = 0; n < size; ++n) {
        buffers.wave[n] = (samples[n] - mean) * (0.5 - 0.5 * std::cos(2 * pi * n / size));
        strongest = std::max(strongest, std::abs(buffers.wave[n]));
    }
    if (strongest <= roundingStep) {
        return block;
    }
    transforms.analyse(buffers);

    std::vector<double> powers(bins, 0.0);
    for (int k = 1; k < bins; ++k) {
        const fftw_complex& bin = buffers.spectrum[k];
        powers[k] = bin[0] * bin[0] + bin[1] * bin[1];
    }
    const double whole = std::accumulate(powers.begin(), powers.end(), 0.0);
    buffers.spectrum[0][0] = 0;
    buffers.spectrum[0][1] = 0;
    double phase = 0;
    double below = 0; // part of the power that lies below bin k
    for (int k = 1; k < bins; ++k) {
        phase = std::fmod(phase - 2 * pi * below, 2 * pi);
        below += powers[k] / whole;
        buffers.spectrum[k][0] = std::sqrt(powers[k]) * std::cos(phase);
        buffers.spectrum[k][1] = std::sqrt(powers[k]) * std::sin(phase);
    }
    transforms.synthesise(buffers);

    const double* wave = buffers.wave.get();
    double crest = 0;
    for (int n = 0; n < size; ++n) {
        crest = std::max(crest, std::abs(wave[n]));
    }
    const int first = risingZero(wave);
    for (int n = 0; n < size; ++n) {
        block[n] = char(SignalFormat::silence + std::lround(wave[(first + n) % size] / crest * peak));
    }
    return block;
}

} // namespace server
