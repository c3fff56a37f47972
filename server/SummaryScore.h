// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QVector>

namespace server {

/// How much more, or less, of a category of markers stands out in a record than in the earlier records of its patient.
///
/// The strength of a storage in a record is the level of its mean power, S = 10 log10(sum(10^(L_i / 10)) / n) dB, where
/// L_i (dB) is the level of marker i of n in the record (MarkerAnalysis); that of a category is the mean of the
/// strengths of its storages. Plain noise has a strength of a few dB, and one strong marker is enough to raise it.
///
/// The score of a record is round(100 (S - M) / 60), at least -100 and at most 100, with M (dB) the mean of the
/// strengths of all records of the patient that were recorded before it. So a score is on the scale of a marker's
/// value: 100 is a change by 60 dB. A record with nothing before it scores 0; records of one moment are not before one
/// another.
///
/// Source: the mean of powers is the energy mean of acoustics, as in the equivalent continuous level of ISO
/// 1996-1:2016; the scale is that of MarkerAnalysis.
class SummaryScore
{
public:
    SummaryScore() = delete;

    /// dB, from the levels (dB) of the markers of each storage of a category; at least one of each.
    static double strength(const QVector<QVector<double>>& storages);

    /// The score of each record; the strengths (dB) and times have to be in one order, the oldest record first.
    static QVector<int> scores(const QVector<QDateTime>& times, const QVector<double>& strengths);
};

} // namespace server
