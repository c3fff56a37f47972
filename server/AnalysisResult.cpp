// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/AnalysisResult.h"

#include "server/BandLevels.h"
#include "server/MarkerAnalysis.h"
#include "server/Spectrum.h"

#include <QDataStream>
#include <QHash>
#include <QIODevice>

#include <zlib.h>

#include <cmath>

namespace server {

namespace {

/// Where the level of a marker stands among all of them.
class Places
{
public:
    static const Places& instance()
    {
        static const Places places;
        return places;
    }

    int count() const { return m_byMarker.size(); }
    int first(const Catalogue::Storage& storage) const { return of(storage.markers.first()); }
    int of(const Catalogue::Marker& marker) const { return m_byMarker.value(marker.id); }

private:
    Places()
    {
        for (const Catalogue::Storage& storage : Catalogue::instance().storages()) {
            for (const Catalogue::Marker& marker : storage.markers) {
                m_byMarker.insert(marker.id, m_byMarker.size());
            }
        }
    }

    QHash<QString, int> m_byMarker;
};

quint32 checkSum(const QByteArray& bytes)
{
    return quint32(crc32(0, reinterpret_cast<const Bytef*>(bytes.constData()), uInt(bytes.size())));
}

void prepare(QDataStream& stream)
{
    stream.setVersion(QDataStream::Qt_5_15);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream.setFloatingPointPrecision(QDataStream::DoublePrecision);
}

} // namespace

AnalysisResult::AnalysisResult(const Spectrum& spectrum)
    : m_bands(BandLevels::of(spectrum))
{
    const MarkerAnalysis analysis(spectrum);
    m_levels.reserve(Places::instance().count());
    for (const Catalogue::Storage& storage : Catalogue::instance().storages()) {
        for (const Catalogue::Marker& marker : storage.markers) {
            m_levels.append(analysis.level(marker));
        }
    }
}

std::optional<AnalysisResult> AnalysisResult::fromBytes(const QByteArray& bytes)
{
    const int count = Places::instance().count() + BandLevels::count;
    const int size = int(sizeof(quint32)) + count * int(sizeof(double));
    if (bytes.size() != size + int(sizeof(quint32))) {
        return std::nullopt;
    }
    QDataStream stream(bytes);
    prepare(stream);
    quint32 writtenBy = 0;
    stream >> writtenBy;
    AnalysisResult result;
    for (int i = 0; i < count; ++i) {
        double level = 0;
        stream >> level;
        if (!std::isfinite(level)) {
            return std::nullopt;
        }
        (i < Places::instance().count() ? result.m_levels : result.m_bands).append(level);
    }
    quint32 sum = 0;
    stream >> sum;
    if (writtenBy != method || sum != checkSum(bytes.left(size))) {
        return std::nullopt;
    }
    return result;
}

QByteArray AnalysisResult::toBytes() const
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    prepare(stream);
    stream << method;
    for (const QVector<double>& part : {m_levels, m_bands}) {
        for (const double level : part) {
            stream << level;
        }
    }
    stream << checkSum(bytes);
    return bytes;
}

QVector<double> AnalysisResult::levels(const Catalogue::Storage& storage) const
{
    return m_levels.mid(Places::instance().first(storage), storage.markers.size());
}

double AnalysisResult::level(const Catalogue::Marker& marker) const
{
    return m_levels.at(Places::instance().of(marker));
}

} // namespace server
