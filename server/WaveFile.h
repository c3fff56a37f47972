// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/SignalFormat.h"

#include <QByteArray>
#include <QString>

namespace server {

/// The check of an uploaded recording: a WAV file of one fixed form, 44 bytes of header (RIFF, WAVE, a 16-byte "fmt "
/// chunk, "data") and three seconds of PCM, mono, 22050 Hz, 8-bit unsigned; no other chunk, nothing behind the samples.
class WaveFile
{
public:
    static constexpr int headerSize = 44;
    /// Samples, and as each is one byte also bytes, of a complete recording.
    static constexpr int sampleCount = SignalFormat::recordSamples;

    enum class Error
    {
        None,
        Empty,           ///< no byte at all
        NotRiff,         ///< does not start with "RIFF"
        NotWave,         ///< RIFF, but its form type is not "WAVE"
        Truncated,       ///< ends within the header, or before the announced end of its samples (bytes)
        NoFormatChunk,   ///< the first chunk is not "fmt "
        FormatChunkSize, ///< the "fmt " chunk is not 16 bytes long
        FormatTag,       ///< not PCM (1)
        ChannelCount,    ///< not mono
        SampleRate,      ///< not 22050 Hz
        BitsPerSample,   ///< not 8
        ByteRate,        ///< bytes per second contradict rate, channels and bits
        BlockAlign,      ///< bytes per frame contradict channels and bits
        NoDataChunk,     ///< the second chunk is not "data"
        DataSize,        ///< the announced samples are not exactly three seconds (bytes)
        TrailingBytes,   ///< bytes follow the samples (`actual` is their number)
        ChunkSize,       ///< the RIFF chunk size is not the data size plus 36
    };

    /// Looks at any bytes at all; the first thing found wrong, in the order of the header's fields, is what is
    /// reported.
    explicit WaveFile(const QByteArray& file);

    bool isValid() const { return m_error == Error::None; }
    Error error() const { return m_error; }
    /// The number that belongs in the offending place, and the one that was found; both 0 where the error is not about
    /// a number.
    qint64 expected() const { return m_expected; }
    qint64 actual() const { return m_actual; }

    /// One sentence for the practitioner that says what is wrong, in Russian or English; empty for a valid file.
    QString message(const QString& language) const;

    /// The 66150 samples without the header; empty unless the file is valid.
    const QByteArray& samples() const { return m_samples; }

private:
    Error check(const QByteArray& file);
    Error mismatch(Error error, qint64 expected, qint64 actual);

    Error m_error = Error::None;
    qint64 m_expected = 0;
    qint64 m_actual = 0;
    QByteArray m_samples;
};

} // namespace server
