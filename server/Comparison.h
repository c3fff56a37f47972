// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/AnalysisResult.h"

#include <QDateTime>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

namespace server {

/// The four charts that compare records of one patient. All series of a chart are equally long.
///
/// A chart draws its series by the alphabet of their names and numbers the points from 1, so a series that runs over
/// the records has one point a record, the oldest first, and series that stand for records are named by their times,
/// "yyyy-MM-dd HH:mm:ss". What would have the name of an earlier series gets a number behind it, from " (2)" on.
class Comparison
{
public:
    /// One record to compare.
    struct Entry
    {
        QDateTime recordedAt; ///< named as it reads, without a change of time zone
        AnalysisResult result;
        QVector<int> scores;     ///< one a category (SummaryScore)
        QVector<double> answers; ///< how strong each symptom of its questionnaire is; empty without one
    };

    using Series = QMap<QString, QVector<double>>;
    /// Red, green and blue, 0 to 255.
    using Colours = QMap<QString, QVector<int>>;

    /// The most series that markers() has.
    static constexpr int mostMarkers = 8;

    /// The oldest record first; `language` is "ru" for Russian, anything else gives English.
    Comparison(const QVector<Entry>& records, const QString& language);

    /// One series a record: the levels of the third-octave bands in dB of full scale, the lowest band first, rounded to
    /// tenths (BandLevels).
    const Series& bands() const { return m_bands; }

    /// One series a marker: its value in each record, 0 to 100 (MarkerAnalysis). The markers are those of a single
    /// frequency - sets and bands would show the same sound once more - that reach the highest level in any of the
    /// records; equal ones are taken in the order of the catalogue. A marker that is at 0 in all records is left out.
    const Series& markers() const { return m_markers; }

    /// Two series: the mean of the scores of each record, and their trend. The trend of record i is the binomial mean
    /// (m[i - 1] + 2 m[i] + m[i + 1]) / 4; at an end, where a neighbour is missing, (2 m[i] + m[i +- 1]) / 3, and a
    /// single record is its own trend. Rounded to hundredths.
    const Series& summary() const { return m_summary; }
    /// The colour of the trend.
    const Colours& smooth() const { return m_smooth; }

    /// Two series, as the questionnaire itself has them in its head rows: the sum of all answers of each record, and
    /// how many of them are above 0. A record without a questionnaire has 0.
    const Series& complaints() const { return m_complaints; }

    /// The names, each that was there before with the least free number behind it; where there are ten or more of one
    /// name the numbers have leading zeros, so that they sort.
    static QStringList distinct(const QStringList& names);

private:
    void compareBands(const QVector<Entry>& records);
    void compareMarkers(const QVector<Entry>& records, const QString& language);
    void compareScores(const QVector<Entry>& records, const QString& language);
    void compareComplaints(const QVector<Entry>& records, const QString& language);

    Series m_bands;
    Series m_markers;
    Series m_summary;
    Colours m_smooth;
    Series m_complaints;
};

} // namespace server
