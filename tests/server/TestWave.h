// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

/// A recording of one sine (Hz; 0: silence) as the client's recorder writes it: 44 bytes of header and 66150 samples.
QByteArray testWave(double frequency);

/// The header alone, for that many bytes of samples.
QByteArray testWaveHeader(int sampleBytes);
