// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/AnalysisResult.h"

#include "server/BandLevels.h"
#include "server/MarkerAnalysis.h"
#include "server/Spectrum.h"

#include <QHash>
#include <QtEndian>

#include <zlib.h>

#include <algorithm>
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

constexpr int headSize = int(sizeof(quint32));
constexpr int sumSize = int(sizeof(quint32));

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
    const int markers = Places::instance().count();
    const int count = markers + BandLevels::count;
    const int size = headSize + count * int(sizeof(double));
    if (bytes.size() != size + sumSize || qFromLittleEndian<quint32>(bytes.constData()) != method ||
        qFromLittleEndian<quint32>(bytes.constData() + size) != checkSum(bytes.left(size))) {
        return std::nullopt;
    }
    QVector<double> values(count);
    qFromLittleEndian<double>(bytes.constData() + headSize, count, values.data());
    if (!std::all_of(values.begin(), values.end(), [](double level) { return std::isfinite(level); })) {
        return std::nullopt;
    }
    AnalysisResult result;
    result.m_levels = values.mid(0, markers);
    result.m_bands = values.mid(markers);
    return result;
}

QByteArray AnalysisResult::toBytes() const
{
    const QVector<double> values = m_levels + m_bands;
    const int size = headSize + values.size() * int(sizeof(double));
    QByteArray bytes(size, Qt::Uninitialized);
    qToLittleEndian<quint32>(method, bytes.data());
    qToLittleEndian<double>(values.constData(), values.size(), bytes.data() + headSize);
    QByteArray sum(sumSize, Qt::Uninitialized);
    qToLittleEndian<quint32>(checkSum(bytes), sum.data());
    return bytes + sum;
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
