// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QVector>

namespace server {

class Spectrum;

/// How much of a record lies in each third of an octave.
///
/// The bands are those of IEC 61260-1:2014 in base ten, the same as in the Catalogue: band i is centred at
/// 1000 * 10^((i - 16) / 10) Hz and reaches from 10^(-1/20) to 10^(1/20) times that. The lowest is nominally 25 Hz; the
/// highest, 8 kHz, is the last that ends below the Nyquist frequency.
///
/// The level is 10 log10(sum(A[k]^2) / 1.5) dB over the bins k of the band, with A the amplitudes of Spectrum and 1.5
/// the noise bandwidth of its window in bins: 0 dB is a sine of full scale. A level is taken as no less than what the
/// rounding to 8 bits leaves in the n bins of the band, 10 log10(4 q n / N) with q = (1/128)^2 / 12 and N = 66150
/// (see MarkerAnalysis): about -83 dB in the lowest band and -58 dB in the highest.
class BandLevels
{
public:
    static constexpr int count = 26;

    BandLevels() = delete;

    /// Hz; a band holds its lower limit, and its upper one belongs to the next.
    static double lowerLimit(int band);
    static double upperLimit(int band);

    /// `count` levels in dB, the lowest band first; an invalid spectrum reads as silence.
    static QVector<double> of(const Spectrum& spectrum);
};

} // namespace server
