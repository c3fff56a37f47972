// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/LocalText.h"

#include <QHash>
#include <QString>
#include <QVector>

#include <vector>

namespace server {

/// The markers that a record can be compared with: named lists of frequencies from acoustics, music and electrical
/// engineering. It describes sounds, and says nothing about whoever made them.
///
/// Sources: ISO 16:1975 (A4 = 440 Hz) with twelve-tone equal temperament; IEC 61260-1:2014 (octave and third-octave
/// bands, base ten); nominal mains frequencies of 50 Hz and 60 Hz (IEC 60196:2009); G. E. Peterson and H. L. Barney,
/// "Control methods used in a study of the vowels", JASA 24(2), 1952, table II (mean formant frequencies).
class Catalogue
{
public:
    /// How the levels at several frequencies of one marker become one level (see MarkerAnalysis).
    enum class Match
    {
        Any, ///< the frequencies sample one thing (a band): it is there where any of them is; mean of powers
        All, ///< the frequencies belong together, the foremost first: mean of decibels, weights 1, 1/2, 1/3, ...
    };

    struct Marker
    {
        QString id; ///< unique in the whole catalogue, and the same in every version that holds the marker
        LocalText title;
        LocalText description;
        std::vector<double> frequencies; ///< Hz, at least one, each above 0 and below the Nyquist frequency
        /// A peak counts for a frequency if it is at most `cents` or at most `hertz` away from it, whichever reaches
        /// further.
        double cents = 25;
        double hertz = 0;
        Match match = Match::Any;
    };

    struct Storage
    {
        QString id;
        LocalText title;
        bool frequencies = false; ///< shown with the number of frequencies instead of the match in percent
        QVector<Marker> markers;
    };

    /// A storage as a list offers it.
    struct StorageEntry
    {
        QString id;
        QString title;
        bool frequencies = false;
    };

    struct CategoryEntry
    {
        QString title;
        QVector<StorageEntry> storages;
    };

    /// The one catalogue, unchanged while the process runs and safe to read on any thread.
    static const Catalogue& instance();

    /// Grows by one with each change of the content.
    static int version();

    Catalogue(const Catalogue&) = delete;
    Catalogue& operator=(const Catalogue&) = delete;

    /// All categories, in the order to show; `language` is "ru" for Russian, anything else gives English.
    QVector<CategoryEntry> diagnosticCategories(const QString& language) const;
    /// Those whose markers may be put into a receipt, in the order to show.
    QVector<CategoryEntry> correctiveCategories(const QString& language) const;

    /// In the order of the categories; each storage stands in exactly one category.
    const QVector<Storage>& storages() const { return m_storages; }
    /// Null if there is none of this id; valid while the process runs.
    const Storage* storage(const QString& id) const;
    /// Null if there is none of this id in any storage; valid while the process runs.
    const Marker* marker(const QString& id) const;

private:
    struct Category
    {
        LocalText title;
        bool corrective = false;
        QVector<QString> storageIds;
    };

    Catalogue();
    void add(const LocalText& title, bool corrective, const QVector<Storage>& storages);
    QVector<CategoryEntry> categories(const QString& language, bool correctiveOnly) const;

    QVector<Category> m_categories;
    QVector<Storage> m_storages;
    QHash<QString, const Storage*> m_storageById;
    QHash<QString, const Marker*> m_markerById;
};

} // namespace server
