// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/WaveFile.h"
#include "tests/fuzz/require.h"

#include <algorithm>

using namespace server;

namespace {

const QByteArray& sound()
{
    static const QByteArray file = [] {
        const char header[] =
            "RIFF\x8a\x02\x01\x00WAVEfmt \x10\x00\x00\x00\x01\x00\x01\x00\x22\x56\x00\x00\x22\x56\x00\x00"
            "\x01\x00\x08\x00"
            "data\x66\x02\x01\x00";
        return QByteArray(header, WaveFile::headerSize) + QByteArray(WaveFile::sampleCount, '\x80');
    }();
    return file;
}

/// Takes the input as it is, or as changes to a sound file: one byte for the length, then places and values.
QByteArray fileOf(const unsigned char* data, size_t size)
{
    if (size == 0 || data[0] != '~')
        return QByteArray(reinterpret_cast<const char*>(data), int(size));
    QByteArray file = sound();
    if (size > 1) {
        const int change = int(data[1]) - '0';
        file = change > 0 ? file + QByteArray(change, 'x')
                          : file.left(file.size() + std::max(change * 1500, -file.size()));
    }
    for (size_t i = 3; i < size; i += 2) {
        const int place = data[i - 1] % 64;
        if (place < file.size())
            file[place] = char(data[i]);
    }
    return file;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray bytes = fileOf(data, size);
    const WaveFile file(bytes);
    require(WaveFile(sound()).isValid(), "a sound file is sound");
    require(file.isValid() == (file.error() == WaveFile::Error::None), "a valid file has no error");
    require(file.isValid() == (bytes.left(WaveFile::headerSize) == sound().left(WaveFile::headerSize) &&
                               bytes.size() == sound().size()),
            "one header and one length alone are valid");
    require(file.samples() == (file.isValid() ? bytes.mid(WaveFile::headerSize) : QByteArray()),
            "the samples are what follows the header");
    for (const char* language : {"en", "ru"})
        require(file.message(QString::fromLatin1(language)).isEmpty() == file.isValid(), "an error has its sentence");
    return 0;
}
