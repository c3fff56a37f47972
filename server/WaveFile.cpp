// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/WaveFile.h"

#include "server/LocalText.h"

#include <QtEndian>

namespace server {

namespace {

constexpr int formatChunkSize = 16;
constexpr int pcm = 1;
constexpr int blockAlign = SignalFormat::channels * SignalFormat::bitsPerSample / 8;
constexpr int byteRate = SignalFormat::sampleRate * blockAlign;

// What the RIFF chunk size counts beside the samples: the header without the chunk's own id and size.
constexpr int headerInChunkSize = WaveFile::headerSize - 8;

bool hasText(const QByteArray& file, int offset, const char* text, int size)
{
    return file.size() >= offset + size && qstrncmp(file.constData() + offset, text, uint(size)) == 0;
}

qint64 word(const QByteArray& file, int offset)
{
    return qFromLittleEndian<quint16>(file.constData() + offset);
}

qint64 doubleWord(const QByteArray& file, int offset)
{
    return qFromLittleEndian<quint32>(file.constData() + offset);
}

LocalText sentence(WaveFile::Error error)
{
    using Error = WaveFile::Error;
    switch (error) {
    case Error::None:
        return {};
    case Error::Empty:
        return {QStringLiteral("The recording is empty."), QStringLiteral("Файл записи пуст.")};
    case Error::NotRiff:
        return {QStringLiteral("The recording is not a WAV file: it does not start with \"RIFF\"."),
                QStringLiteral("Запись не является файлом WAV: в начале нет метки «RIFF».")};
    case Error::NotWave:
        return {QStringLiteral("The recording is a RIFF file, but not a WAV file."),
                QStringLiteral("Запись является файлом RIFF, но не файлом WAV.")};
    case Error::Truncated:
        return {QStringLiteral("The recording is cut off: %1 bytes were expected, %2 arrived."),
                QStringLiteral("Запись обрывается: ожидалось байт: %1, получено: %2.")};
    case Error::NoFormatChunk:
        return {QStringLiteral("The WAV file does not begin with a description of its format."),
                QStringLiteral("Файл WAV не начинается с описания формата.")};
    case Error::FormatChunkSize:
        return {QStringLiteral("The format description of the WAV file should take %1 bytes, but takes %2."),
                QStringLiteral("Описание формата в файле WAV должно занимать байт: %1, а занимает: %2.")};
    case Error::FormatTag:
        return {QStringLiteral("The recording is not plain PCM: the format code should be %1, but is %2."),
                QStringLiteral("Запись не в формате PCM: код формата должен быть %1, а указан %2.")};
    case Error::ChannelCount:
        return {QStringLiteral("The recording should have %1 channel, but has %2."),
                QStringLiteral("Число каналов записи должно быть %1, а указано %2.")};
    case Error::SampleRate:
        return {QStringLiteral("The recording should have a sample rate of %1 Hz, but has %2 Hz."),
                QStringLiteral("Частота дискретизации записи должна быть %1 Гц, а указана %2 Гц.")};
    case Error::BitsPerSample:
        return {QStringLiteral("The recording should have %1 bits per sample, but has %2."),
                QStringLiteral("Разрядность записи должна быть %1 бит, а указана %2.")};
    case Error::ByteRate:
        return {QStringLiteral(
                    "The WAV file contradicts itself: it should announce %1 bytes per second, but announces %2."),
                QStringLiteral("Заголовок файла WAV противоречив: байт в секунду должно быть %1, а указано %2.")};
    case Error::BlockAlign:
        return {
            QStringLiteral("The WAV file contradicts itself: it should announce %1 byte per sample, but announces %2."),
            QStringLiteral("Заголовок файла WAV противоречив: байт на отсчёт должно быть %1, а указано %2.")};
    case Error::NoDataChunk:
        return {QStringLiteral("The WAV file holds something else between its format and its samples."),
                QStringLiteral("В файле WAV между описанием формата и отсчётами находится что-то ещё.")};
    case Error::DataSize:
        return {QStringLiteral("The recording should hold %1 bytes of samples, which is three seconds, but holds %2."),
                QStringLiteral("Запись должна содержать отсчётов, байт: %1 (три секунды), а содержит: %2.")};
    case Error::TrailingBytes:
        return {QStringLiteral("The WAV file goes on after its samples, by this many bytes: %2."),
                QStringLiteral("В файле WAV после отсчётов есть лишние байты, их число: %2.")};
    case Error::ChunkSize:
        return {QStringLiteral("The WAV file contradicts itself: it should announce a size of %1, but announces %2."),
                QStringLiteral("Заголовок файла WAV противоречив: размер должен быть %1, а указан %2.")};
    }
    return {};
}

} // namespace

WaveFile::WaveFile(const QByteArray& file)
{
    m_error = check(file);
    if (m_error == Error::None) {
        m_samples = file.mid(headerSize);
    }
}

QString WaveFile::message(const QString& language) const
{
    const LocalText text = sentence(m_error);
    QString message = text.in(language);
    message.replace(QLatin1String("%1"), QString::number(m_expected));
    message.replace(QLatin1String("%2"), QString::number(m_actual));
    return message;
}

WaveFile::Error WaveFile::check(const QByteArray& file)
{
    if (file.isEmpty()) {
        return Error::Empty;
    }
    if (!hasText(file, 0, "RIFF", 4)) {
        return Error::NotRiff;
    }
    if (file.size() >= 12 && !hasText(file, 8, "WAVE", 4)) {
        return Error::NotWave;
    }
    if (file.size() < headerSize) {
        return mismatch(Error::Truncated, headerSize + sampleCount, file.size());
    }
    if (!hasText(file, 12, "fmt ", 4)) {
        return Error::NoFormatChunk;
    }

    struct Field
    {
        Error error;
        qint64 expected;
        qint64 actual;
    };
    const Field format[] = {
        {Error::FormatChunkSize, formatChunkSize, doubleWord(file, 16)},
        {Error::FormatTag, pcm, word(file, 20)},
        {Error::ChannelCount, SignalFormat::channels, word(file, 22)},
        {Error::SampleRate, SignalFormat::sampleRate, doubleWord(file, 24)},
        {Error::BitsPerSample, SignalFormat::bitsPerSample, word(file, 34)},
        {Error::ByteRate, byteRate, doubleWord(file, 28)},
        {Error::BlockAlign, blockAlign, word(file, 32)},
    };
    for (const Field& field : format) {
        if (field.actual != field.expected) {
            return mismatch(field.error, field.expected, field.actual);
        }
    }

    if (!hasText(file, 36, "data", 4)) {
        return Error::NoDataChunk;
    }
    const qint64 dataSize = doubleWord(file, 40);
    if (dataSize != sampleCount) {
        return mismatch(Error::DataSize, sampleCount, dataSize);
    }
    if (file.size() < headerSize + sampleCount) {
        return mismatch(Error::Truncated, headerSize + sampleCount, file.size());
    }
    if (file.size() > headerSize + sampleCount) {
        return mismatch(Error::TrailingBytes, 0, file.size() - headerSize - sampleCount);
    }
    const qint64 chunkSize = doubleWord(file, 4);
    if (chunkSize != dataSize + headerInChunkSize) {
        return mismatch(Error::ChunkSize, dataSize + headerInChunkSize, chunkSize);
    }
    return Error::None;
}

WaveFile::Error WaveFile::mismatch(Error error, qint64 expected, qint64 actual)
{
    m_expected = expected;
    m_actual = actual;
    return error;
}

} // namespace server
