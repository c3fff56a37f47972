// SPDX-License-Identifier: GPL-3.0-or-later
// What the analysis of one record costs beside the transform that it cannot do without.
#include "server/Catalogue.h"
#include "server/MarkerAnalysis.h"
#include "server/Spectrum.h"
#include "server/Synthesis.h"

#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <chrono>
#include <cmath>
#include <random>

namespace {

using server::Catalogue;
using server::MarkerAnalysis;
using server::Spectrum;

QByteArray record()
{
    std::mt19937 generator(1);
    std::normal_distribution<double> noise(0.0, 4.0);
    QByteArray samples(Spectrum::sampleCount, '\0');
    for (int n = 0; n < samples.size(); ++n) {
        const double tone = 60.0 * std::sin(2.0 * std::acos(-1.0) * 440.0 * n / Spectrum::sampleRate);
        samples[n] = char(std::lround(128.0 + tone + noise(generator)));
    }
    return samples;
}

/// The library's own transform of a record, planned as the server plans it.
class BareTransform
{
public:
    BareTransform()
        : m_in(fftw_alloc_real(Spectrum::sampleCount))
        , m_out(fftw_alloc_complex(Spectrum::binCount))
        , m_plan(fftw_plan_dft_r2c_1d(Spectrum::sampleCount, m_in, m_out, FFTW_ESTIMATE))
    {
        const QByteArray samples = record();
        for (int n = 0; n < samples.size(); ++n) {
            m_in[n] = uchar(samples[n]) - 128.0;
        }
    }

    ~BareTransform()
    {
        fftw_destroy_plan(m_plan);
        fftw_free(m_out);
        fftw_free(m_in);
    }

    BareTransform(const BareTransform&) = delete;
    BareTransform& operator=(const BareTransform&) = delete;

    void run()
    {
        fftw_execute(m_plan);
        benchmark::DoNotOptimize(m_out[1][0]);
    }

private:
    double* m_in;
    fftw_complex* m_out;
    fftw_plan m_plan;
};

const Catalogue::Storage& notes()
{
    return *Catalogue::instance().storage(QStringLiteral("notes"));
}

void bareTransform(benchmark::State& state)
{
    BareTransform transform;
    while (state.KeepRunning()) {
        transform.run();
    }
}
BENCHMARK(bareTransform)->Unit(benchmark::kMillisecond);

void spectrum(benchmark::State& state)
{
    const QByteArray samples = record();
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(Spectrum(samples).amplitudes().data());
    }
}
BENCHMARK(spectrum)->Unit(benchmark::kMillisecond);

void spectrumAndNotes(benchmark::State& state)
{
    const QByteArray samples = record();
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(MarkerAnalysis::rows(notes(), {MarkerAnalysis(Spectrum(samples))}).data());
    }
}
BENCHMARK(spectrumAndNotes)->Unit(benchmark::kMillisecond);

// Turn about in one run, so that whatever else the machine does weighs on both.
void spectrumAndNotesPerBareTransform(benchmark::State& state)
{
    using Clock = std::chrono::steady_clock;
    const QByteArray samples = record();
    BareTransform transform;
    Clock::duration bare = {};
    Clock::duration whole = {};
    while (state.KeepRunning()) {
        const Clock::time_point start = Clock::now();
        transform.run();
        const Clock::time_point between = Clock::now();
        benchmark::DoNotOptimize(MarkerAnalysis::rows(notes(), {MarkerAnalysis(Spectrum(samples))}).data());
        bare += between - start;
        whole += Clock::now() - between;
    }
    state.counters["ratio"] = double(whole.count()) / double(bare.count());
}
BENCHMARK(spectrumAndNotesPerBareTransform)->Unit(benchmark::kMillisecond);

void block(benchmark::State& state)
{
    const std::vector<double>& frequencies = Catalogue::instance().marker(QStringLiteral("overtones-a4"))->frequencies;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(server::Synthesis::block(frequencies).constData());
    }
}
BENCHMARK(block)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
