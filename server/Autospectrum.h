// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/SignalFormat.h"

#include <QByteArray>

namespace server {

/// Makes the block of sound that plays a record's autospectrum: a steady sound in which every frequency is as strong as
/// it is in the record.
///
/// A client that is asked for n minutes repeats each block floor(60 n / 2.98) times, so the playback lasts n minutes
/// (less than 2.98 s short of them) if the blocks of a record are 2.98 s long together. It is one block of that
/// length, M = 65709 samples at 22050 Hz.
///
///  - Autospectrum: the mean is taken off the middle M of the record's N = 66150 samples, x[n]; they are weighted with
///    the periodic Hann window w[n] = 0.5 - 0.5 cos(2 pi n / M), and with X the discrete Fourier transform of w x,
///    P[k] = |X[k]|^2 for k = 1 ... (M - 1) / 2. That is the Fourier transform of the autocorrelation of w x
///    (Wiener-Khinchin). Of the 10 ms that are left out at each end the window would have kept next to nothing. As the
///    transform has the length of the block, each P[k] stands on a frequency that fits the block a whole number of
///    times.
///  - Sound: y[n] = sum over k of sqrt(P[k]) cos(2 pi k n / M + phi[k]). It has no phase in common with the record, and
///    the same autospectrum. With p[k] = P[k] / sum(P) the phases are phi[1] = 0 and
///    phi[k] = phi[k - 1] - 2 pi (p[1] + ... + p[k - 1]), which gives each frequency a part of the block's length in
///    proportion to its power, and with that an envelope that is nearly flat: the sound is loud without high peaks
///    (M. R. Schroeder, "Synthesis of low-peak-factor signals and binary sequences with low autocorrelation", IEEE
///    Trans. Inf. Theory 16(1), 1970, for an arbitrary power spectrum).
///  - Joints: y has the period M, so repeated blocks go on without a seam. Turned round by whole samples, the block
///    begins where y rises through zero, so that it does not click where the playback begins and ends either.
///  - Range: y is scaled so that its greatest deflection is `peak` steps.
///
/// A record of which no sample, once weighted, is further than one step away from the mean holds nothing but what the
/// rounding to 8 bits leaves of silence; its block is silent.
class Autospectrum
{
public:
    /// Samples, and bytes, of a block: 2.98 s.
    static constexpr int blockSize = 65709;
    /// Greatest distance of a sample from silence.
    static constexpr int peak = 127;

    Autospectrum() = delete;

    /// Always `blockSize` bytes, the same ones for the same record. Samples that are not exactly three seconds (see
    /// SignalFormat) give a silent block. On any thread.
    static QByteArray block(const QByteArray& record);
};

} // namespace server
