// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Spectrum.h"

#include "server/FftwPlanner.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>

namespace server {

namespace {

struct FftwFree
{
    void operator()(void* memory) const { fftw_free(memory); }
};

using RealBuffer = std::unique_ptr<double[], FftwFree>;
using ComplexBuffer = std::unique_ptr<fftw_complex[], FftwFree>;

// FFTW's planner is not thread safe, running a finished plan on buffers of one's own is.
class Transform
{
public:
    static const Transform& instance()
    {
        static const Transform transform;
        return transform;
    }

    Transform()
        : m_window(Spectrum::sampleCount)
    {
        const double step = 2.0 * std::acos(-1.0) / Spectrum::sampleCount;
        for (int n = 0; n < Spectrum::sampleCount; ++n) {
            m_window[n] = 0.5 - 0.5 * std::cos(step * n);
        }
        m_windowSum = std::accumulate(m_window.begin(), m_window.end(), 0.0);
        const RealBuffer in = realBuffer();
        const ComplexBuffer out = complexBuffer();
        const FftwPlanner planner;
        // Estimated, not measured: the same record gives the same bits on every run.
        m_plan = fftw_plan_dft_r2c_1d(Spectrum::sampleCount, in.get(), out.get(), FFTW_ESTIMATE);
    }

    ~Transform() { fftw_destroy_plan(m_plan); }

    Transform(const Transform&) = delete;
    Transform& operator=(const Transform&) = delete;

    static RealBuffer realBuffer() { return RealBuffer(fftw_alloc_real(Spectrum::sampleCount)); }
    static ComplexBuffer complexBuffer() { return ComplexBuffer(fftw_alloc_complex(Spectrum::binCount)); }

    const std::vector<double>& window() const { return m_window; }
    double windowSum() const { return m_windowSum; }
    void run(const RealBuffer& in, const ComplexBuffer& out) const
    {
        fftw_execute_dft_r2c(m_plan, in.get(), out.get());
    }

private:
    std::vector<double> m_window;
    double m_windowSum = 0;
    fftw_plan m_plan = nullptr;
};

} // namespace

Spectrum::Spectrum(const QByteArray& samples)
{
    if (samples.size() != sampleCount) {
        return;
    }
    const Transform& transform = Transform::instance();
    const RealBuffer in = Transform::realBuffer();
    const ComplexBuffer out = Transform::complexBuffer();

    const auto* bytes = reinterpret_cast<const unsigned char*>(samples.constData());
    const double mean = double(std::accumulate(bytes, bytes + sampleCount, qint64(0))) / sampleCount;
    for (int n = 0; n < sampleCount; ++n) {
        in[n] = (bytes[n] - mean) / SignalFormat::fullScale * transform.window()[n];
    }
    transform.run(in, out);

    m_amplitudes.resize(binCount);
    for (int k = 0; k < binCount; ++k) {
        m_amplitudes[k] = 2.0 * std::sqrt(out[k][0] * out[k][0] + out[k][1] * out[k][1]) / transform.windowSum();
    }
    // These two have no mirror image whose half they would have to take over.
    m_amplitudes.front() /= 2.0;
    m_amplitudes.back() /= 2.0;
}

double Spectrum::dominantFrequency() const
{
    if (!isValid()) {
        return 0;
    }
    // The mean is gone, but a slow drift leaves something in the window's main lobe around 0 Hz.
    const auto strongest = std::max_element(m_amplitudes.begin() + 1, m_amplitudes.end());
    return *strongest > 0 ? double(strongest - m_amplitudes.begin()) * binWidth : 0;
}

} // namespace server
