// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Catalogue.h"

#include <QByteArray>
#include <QVector>

#include <optional>

namespace server {

class Spectrum;

/// All that the analysis of one record yields: the level of every marker of the catalogue (MarkerAnalysis) and the
/// levels of the bands (BandLevels). It is cheap to copy.
class AnalysisResult
{
public:
    /// Grows by one with each change in how levels are computed from a record, and in how they are written.
    static constexpr quint32 method = 1;

    explicit AnalysisResult(const Spectrum& spectrum);

    /// What toBytes() wrote; nothing for any other bytes, and for those of another method or of a catalogue with
    /// another number of markers.
    static std::optional<AnalysisResult> fromBytes(const QByteArray& bytes);
    /// Every level to its last bit, with a check sum.
    QByteArray toBytes() const;

    /// dB, of the markers of a storage of the catalogue, in its order.
    QVector<double> levels(const Catalogue::Storage& storage) const;
    /// dB; the marker has to be the catalogue's own.
    double level(const Catalogue::Marker& marker) const;
    /// dB, one level a band.
    const QVector<double>& bands() const { return m_bands; }

private:
    AnalysisResult() = default;

    /// In the order of the catalogue.
    QVector<double> m_levels;
    QVector<double> m_bands;
};

} // namespace server
