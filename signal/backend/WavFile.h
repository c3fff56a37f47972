// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAudioFormat>
#include <QByteArray>
#include <QFile>
#include <QString>

/// A WAV file of linear PCM that grows while it is written; its header is true once the file is closed.
class WavFile
{
public:
    ~WavFile();

    /// Begins an empty file in place of any that stands there. False if it cannot be written.
    bool open(const QString& path, const QAudioFormat& format);
    void append(const QByteArray& samples);
    /// Writes the final sizes. Does nothing if no file is open.
    void close();

private:
    void writeHeader();

    QFile file;
    QAudioFormat format;
    qint64 size = 0;
};
