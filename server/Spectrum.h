// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/SignalFormat.h"

#include <QByteArray>

#include <vector>

namespace server {

/// The amplitude spectrum of one three-second record.
///
/// The samples (8-bit unsigned, 22050 Hz) are scaled to x = s / 128, their mean is removed, and they are weighted with
/// the periodic Hann window w[n] = 0.5 - 0.5 cos(2 pi n / N), N = 66150. With X the discrete Fourier transform of w x,
/// bin k at k / 3 Hz holds 2 |X[k]| / sum(w), and half of that at 0 Hz and at the Nyquist frequency. So a sine of
/// amplitude a (1 is full scale) that falls on a bin reads a there; one that falls between two bins reads up to 1.42 dB
/// less.
///
/// Sources: F. J. Harris, "On the use of windows for harmonic analysis with the discrete Fourier transform", Proc. IEEE
/// 66(1), 1978 (Hann window: coherent gain 0.5, equivalent noise bandwidth 1.5 bins, scalloping loss 1.42 dB, side
/// lobes falling by 18 dB an octave); M. Frigo and S. G. Johnson, "The design and implementation of FFTW3", Proc. IEEE
/// 93(2), 2005.
///
/// Spectra may be computed on any number of threads at once.
class Spectrum
{
public:
    static constexpr int sampleRate = SignalFormat::sampleRate;
    static constexpr int sampleCount = SignalFormat::recordSamples;
    static constexpr int binCount = sampleCount / 2 + 1;
    /// Hz from one bin to the next.
    static constexpr double binWidth = double(sampleRate) / sampleCount;

    /// Samples that are not exactly three seconds give an invalid spectrum.
    explicit Spectrum(const QByteArray& samples);

    bool isValid() const { return !m_amplitudes.empty(); }

    /// One amplitude a bin, `binCount` of them as parts of full scale; empty if the spectrum is invalid.
    const std::vector<double>& amplitudes() const { return m_amplitudes; }

    /// The strongest bin above 0 Hz as a frequency in Hz; 0 for silence and for an invalid spectrum.
    double dominantFrequency() const;

private:
    std::vector<double> m_amplitudes;
};

} // namespace server
