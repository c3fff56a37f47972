// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <vector>

/// Three-second records made of known sounds. Every amplitude is a part of full scale, 1 being 128 steps.
class Signals
{
public:
    Signals();

    Signals& tone(double frequency, double amplitude, double phase = 0);
    /// Gaussian noise of this root mean square; the same seed gives the same noise.
    Signals& noise(double rms, unsigned seed = 1);
    Signals& offset(double level);
    /// A voice: partials of `pitch`, as a source that falls by 12 dB an octave excites resonators at the formants.
    Signals& vowel(double pitch, const std::vector<double>& formants, double amplitude);

    /// Rounded to 8 bits around 128; what exceeds them is clipped.
    QByteArray samples() const;

    /// A header of 44 bytes that describes the samples.
    static QByteArray wave(const QByteArray& samples);

private:
    std::vector<double> m_wave;
};
