// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Catalogue.h"
#include "server/RangeMedian.h"
#include "server/Spectrum.h"

#include <QVector>

#include <vector>

namespace server {

/// How far the spectrum of a record stands out at the frequencies of a marker, above the noise around them.
///
/// With P[k] the squared amplitude of bin k, the level at one frequency f is found like this.
///  - Peak: the greatest P among the local maxima (bins not lower than either neighbour, and above one of them) within
///    the reach of the marker (Catalogue::Marker) from f, but at least the nearest bin and the one on each side of it.
///    Only local maxima count, so that the skirt of a strong neighbouring tone is not taken for a tone. Without one the
///    level is 0 dB.
///  - Noise: the median of P from half an octave below f to half an octave above, at least 10 Hz to each side and never
///    below 5 Hz, divided by ln 2, as the median of exponentially distributed powers is ln 2 times their mean. It is
///    taken as no less than 6 q / N, the mean power that the rounding to 8 bits leaves in a bin, with N = 66150 and
///    q = (1/128)^2 / 12: a pure digital tone has nothing but rounding errors around it.
///  - Level: L = 10 log10(peak / (H(m) noise)) dB, and 0 if that is negative. H(m) = 1 + 1/2 + ... + 1/m is the
///    expected maximum of m such powers of mean 1, with m the number of bins that were searched: plain noise lies about
///    0 dB, however wide the search.
///
/// The level of a marker of n frequencies is 10 log10(sum(10^(L_i / 10)) / n) for Match::Any, and
/// sum(L_i / i) / H(n), i = 1 ... n, for Match::All. Its value is round(100 level / 60), at most 100: 0 is the
/// noise, 100 stands for 60 dB and more.
///
/// Levels are not corrected for the slope of a sound's spectrum: of two vowels the one with the lower formants is
/// favoured, as voices are stronger there.
///
/// Source of the statistics: W. B. Davenport and W. L. Root, "An Introduction to the Theory of Random Signals and
/// Noise", 1958 (the power of a narrow band of noise is exponentially distributed); for the rounding noise W. R.
/// Bennett, "Spectra of quantized signals", Bell Syst. Tech. J. 27(3), 1948; for the factor 6 / N the window's noise
/// bandwidth (Spectrum).
class MarkerAnalysis
{
public:
    /// One marker with its result for each record.
    struct Row
    {
        const Catalogue::Marker* marker = nullptr; ///< never null, belongs to the storage that was analysed
        QVector<int> values;                       ///< 0 to 100, in the order of the records
    };

    /// An invalid spectrum gives 0 for every marker. The analysis keeps what it needs, the spectrum may go.
    explicit MarkerAnalysis(const Spectrum& spectrum);

    /// All markers of the storage for the given records, the best match of the first record on top: by descending
    /// level, which is finer than the value and goes beyond 100; equal levels, and a call without records, keep the
    /// catalogue's order. The storage has to outlive the rows.
    static std::vector<Row> rows(const Catalogue::Storage& storage, const std::vector<MarkerAnalysis>& records);

    /// The same from levels that were found before: for each record those of the storage's markers, in its order.
    static std::vector<Row> ranked(const Catalogue::Storage& storage, const QVector<QVector<double>>& records);
    /// What a level (dB) is on the scale from 0 to 100.
    static int valueOf(double level);

    /// dB, at least 0.
    double level(const Catalogue::Marker& marker) const;
    /// 0 to 100.
    int value(const Catalogue::Marker& marker) const;

private:
    double level(double frequency, double low, double high) const;
    double noise(int first, int last) const;

    std::vector<double> m_powers;
    RangeMedian m_medians;
};

} // namespace server
