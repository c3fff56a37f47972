// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/backend/WavFile.h"

#include <QDataStream>

WavFile::~WavFile()
{
    close();
}

bool WavFile::open(const QString& path, const QAudioFormat& sampleFormat)
{
    close();
    file.setFileName(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    format = sampleFormat;
    size = 0;
    writeHeader();
    return true;
}

void WavFile::append(const QByteArray& samples)
{
    if (file.isOpen()) {
        file.write(samples);
        size += samples.size();
    }
}

void WavFile::close()
{
    if (file.isOpen()) {
        file.seek(0);
        writeHeader();
        file.close();
    }
}

void WavFile::writeHeader()
{
    constexpr quint32 headerRest = 36;
    constexpr quint32 formatSize = 16;
    constexpr quint16 pcm = 1;

    QDataStream stream(&file);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream.writeRawData("RIFF", 4);
    stream << static_cast<quint32>(size + headerRest);
    stream.writeRawData("WAVEfmt ", 8);
    stream << formatSize << pcm << static_cast<quint16>(format.channelCount())
           << static_cast<quint32>(format.sampleRate()) << static_cast<quint32>(format.bytesForDuration(1000000))
           << static_cast<quint16>(format.bytesPerFrame()) << static_cast<quint16>(format.sampleSize());
    stream.writeRawData("data", 4);
    stream << static_cast<quint32>(size);
}
