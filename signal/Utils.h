// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAudioFormat>
#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QString>

/// What the whole program means by a signal, by a sensor's identity, and by JSON on the wire.
class Utils
{
public:
    static QByteArray mapToJson(const QMap<QString, QString>& map);
    /// Anything that is not the text of a JSON object gives an empty object.
    static QJsonObject bytesToJson(const QByteArray& bytes);
    /// Anything that is not the text of a JSON array gives an empty array.
    static QJsonArray bytesToArray(const QByteArray& bytes);

    /// Name in the current language of a month counted from 0; empty outside 0 to 11.
    static QString getMonthName(const int& month);

    /// The one format of every signal: 22050 Hz, mono, 8-bit unsigned PCM.
    static QAudioFormat audioFormat();
    /// The 44 bytes that stand before `dataSize` sample bytes in a WAV file.
    static QByteArray wavHeader(int dataSize);
    /// How many whole passes of 2.98 s each of `count` items gets when `minutes` are shared evenly; at least 1.
    static int calculateRepeats(int minutes, int count);
    /// The samples of a whole playback: each base64 block in turn, `repeats` times in a row. What is no text counts as
    /// empty. Beyond a gigabyte all blocks get fewer passes, as many as fit, but at least one.
    static QByteArray repeatBlocks(const QJsonArray& blocks, int repeats);
    /// The serial text of the first USB device that names itself as the sensor; empty if there is none, if it cannot
    /// be opened or if it has no serial. Walks the bus on the calling thread.
    static QString getDeviceId();
    static bool isWindows();
};
