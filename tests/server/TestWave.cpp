// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/TestWave.h"

#include <QDataStream>
#include <QIODevice>

#include <cmath>

QByteArray testWaveHeader(int sampleBytes)
{
    QByteArray header;
    QDataStream stream(&header, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream.writeRawData("RIFF", 4);
    stream << quint32(sampleBytes + 36);
    stream.writeRawData("WAVEfmt ", 8);
    stream << quint32(16) << quint16(1) << quint16(1) << quint32(22050) << quint32(22050) << quint16(1) << quint16(8);
    stream.writeRawData("data", 4);
    stream << quint32(sampleBytes);
    return header;
}

QByteArray testWave(double frequency)
{
    constexpr int count = 66150;
    const double turn = 2 * std::acos(-1.0) * frequency / 22050;
    QByteArray wave = testWaveHeader(count);
    for (int i = 0; i < count; ++i)
        wave.append(char(std::lround(128 + 100 * std::sin(turn * i))));
    return wave;
}
