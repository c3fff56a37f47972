// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace server {

/// The one form that every signal has: PCM, mono, 22050 samples a second of 8 bits without sign.
struct SignalFormat
{
    static constexpr int sampleRate = 22050;
    static constexpr int channels = 1;
    static constexpr int bitsPerSample = 8;
    /// Samples, and as each is one byte also bytes, of a complete recording of three seconds.
    static constexpr int recordSamples = 66150;
    /// The byte that stands for no deflection; 128 steps above or below it are full scale.
    static constexpr int silence = 128;
    static constexpr double fullScale = 128;
};

} // namespace server
