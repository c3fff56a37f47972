// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/Utils.h"

#include <QJsonDocument>
#include <QObject>
#include <QSysInfo>
#include <QtEndian>

#include <array>
#include <cmath>
#include <libusb.h>
#include <limits>

namespace {

/// Length in seconds of one pass of a marker's block.
constexpr double passSeconds = 2.98;
/// Hours of sound, and well within what a QByteArray can hold.
constexpr qint64 maximumPlayback = 1LL << 30;

void append16(QByteArray& bytes, quint16 value)
{
    value = qToLittleEndian(value);
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void append32(QByteArray& bytes, quint32 value)
{
    value = qToLittleEndian(value);
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

/// A string descriptor of an open device; null if it could not be read.
QString stringDescriptor(libusb_device_handle* handle, uint8_t index)
{
    std::array<unsigned char, 256> buffer{};
    const int length =
        libusb_get_string_descriptor_ascii(handle, index, buffer.data(), static_cast<int>(buffer.size()));
    if (length < 1) {
        return {};
    }
    const auto* text = reinterpret_cast<const char*>(buffer.data());
    return QString::fromLatin1(text, static_cast<int>(qstrnlen(text, static_cast<uint>(buffer.size()))));
}

} // namespace

QByteArray Utils::mapToJson(const QMap<QString, QString>& map)
{
    QJsonObject object;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        object.insert(entry.key(), entry.value());
    }
    return QJsonDocument(object).toJson();
}

QJsonObject Utils::bytesToJson(const QByteArray& bytes)
{
    QJsonParseError error;
    return QJsonDocument::fromJson(bytes, &error).object();
}

QJsonArray Utils::bytesToArray(const QByteArray& bytes)
{
    QJsonParseError error;
    return QJsonDocument::fromJson(bytes, &error).array();
}

QString Utils::getMonthName(const int& month)
{
    switch (month) {
    case 0:
        return QObject::tr("Text.January");
    case 1:
        return QObject::tr("Text.February");
    case 2:
        return QObject::tr("Text.March");
    case 3:
        return QObject::tr("Text.April");
    case 4:
        return QObject::tr("Text.May");
    case 5:
        return QObject::tr("Text.June");
    case 6:
        return QObject::tr("Text.July");
    case 7:
        return QObject::tr("Text.August");
    case 8:
        return QObject::tr("Text.September");
    case 9:
        return QObject::tr("Text.October");
    case 10:
        return QObject::tr("Text.November");
    case 11:
        return QObject::tr("Text.December");
    default:
        return {};
    }
}

QAudioFormat Utils::audioFormat()
{
    QAudioFormat format;
    format.setSampleRate(22050);
    format.setChannelCount(1);
    format.setSampleSize(8);
    format.setCodec(QStringLiteral("audio/pcm"));
    format.setByteOrder(QAudioFormat::LittleEndian);
    format.setSampleType(QAudioFormat::UnSignedInt);
    return format;
}

QByteArray Utils::wavHeader(int dataSize)
{
    const QAudioFormat format = audioFormat();
    const auto channels = static_cast<quint16>(format.channelCount());
    const auto bits = static_cast<quint16>(format.sampleSize());
    const auto rate = static_cast<quint32>(format.sampleRate());

    QByteArray header;
    header.reserve(44);
    header.append("RIFF");
    append32(header, static_cast<quint32>(dataSize) + 36U);
    header.append("WAVEfmt ");
    append32(header, 16);
    append16(header, 1);
    append16(header, channels);
    append32(header, rate);
    append32(header, rate * channels * bits / 8);
    append16(header, static_cast<quint16>(channels * bits / 8));
    append16(header, bits);
    header.append("data");
    append32(header, static_cast<quint32>(dataSize));
    return header;
}

int Utils::calculateRepeats(int minutes, int count)
{
    const double passes = std::floor(minutes * 60.0 / passSeconds / count);
    // A count of 0 gives infinity or no number at all, which no int can hold.
    if (!(passes > 0.0) || passes > std::numeric_limits<int>::max()) {
        return 1;
    }
    return static_cast<int>(passes);
}

QByteArray Utils::repeatBlocks(const QJsonArray& blocks, int repeats)
{
    QList<QByteArray> chunks;
    qint64 onePass = 0;
    for (const QJsonValue& block : blocks) {
        chunks.append(QByteArray::fromBase64(block.toString().toUtf8()));
        onePass += chunks.last().size();
    }
    const qint64 most = onePass == 0 ? 1 : qMax<qint64>(1, maximumPlayback / onePass);
    const qint64 passes = qBound<qint64>(0, repeats, most);
    QByteArray samples;
    samples.reserve(static_cast<int>(onePass * passes));
    for (const QByteArray& chunk : qAsConst(chunks)) {
        for (qint64 pass = 0; pass < passes; ++pass) {
            samples.append(chunk);
        }
    }
    return samples;
}

QString Utils::getDeviceId()
{
    libusb_context* context = nullptr;
    libusb_init(&context);

    QString id;
    libusb_device** devices = nullptr;
    const auto count = libusb_get_device_list(nullptr, &devices);
    for (auto i = decltype(count){0}; i < count; ++i) {
        libusb_device_descriptor descriptor{};
        if (libusb_get_device_descriptor(devices[i], &descriptor) < 0) {
            continue;
        }
        libusb_device_handle* handle = nullptr;
        if (libusb_open(devices[i], &handle) != 0) {
            continue;
        }
        bool matches = false;
        if (descriptor.iProduct != 0) {
            matches = stringDescriptor(handle, descriptor.iProduct)
                          .indexOf(QLatin1String("Quelmar USB v1.0"), 0, Qt::CaseSensitive) >= 0;
        }
        if (matches && descriptor.iSerialNumber != 0) {
            id = stringDescriptor(handle, descriptor.iSerialNumber);
        }
        libusb_close(handle);
        if (matches) {
            break;
        }
    }
    libusb_free_device_list(devices, 1);
    libusb_exit(nullptr);
    return id;
}

bool Utils::isWindows()
{
    return QSysInfo::kernelType().compare(QLatin1String("winnt"), Qt::CaseSensitive) == 0;
}
