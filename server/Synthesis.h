// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/SignalFormat.h"

#include <QByteArray>

#include <vector>

namespace server {

/// Makes the block of sound that plays a marker: one pass of 2.98 seconds at 22050 Hz, 8-bit unsigned mono.
class Synthesis
{
public:
    static constexpr int sampleRate = SignalFormat::sampleRate;
    /// Samples, and bytes, of a block: 2.98 s.
    static constexpr int blockSize = 65709;
    /// The byte that stands for no deflection.
    static constexpr int silence = SignalFormat::silence;
    /// Greatest distance of a sample from silence: 90 % of what 8 bits allow.
    static constexpr int peak = 114;
    /// Samples of the fade at each end: 20 ms.
    static constexpr int fadeLength = 441;

    /// The sum of all frequencies (Hz) at equal amplitude, always `blockSize` bytes, scaled so that it reaches `peak`.
    /// Frequencies that are not finite, not above 0 or not below the Nyquist frequency are left out; without any other
    /// the block is silent.
    ///
    /// The phase of the k-th of n sines is -pi k (k - 1) / n, which keeps the crest low (M. R. Schroeder, "Synthesis of
    /// low-peak-factor signals and binary sequences with low autocorrelation", IEEE Trans. Inf. Theory 16(1), 1970).
    /// Both ends fade by a raised cosine and the first and the last sample are silence, so that repeated blocks do not
    /// click.
    static QByteArray block(const std::vector<double>& frequencies);
};

} // namespace server
