// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

namespace server {

/// The runs of three characters under which an index knows a text. A text that contains another one has all its runs;
/// the reverse need not hold, so that what an index finds is compared with the whole text afterwards.
class Trigrams
{
public:
    /// More of a long text would narrow the search down no further.
    static constexpr int maxAsked = 24;

    Trigrams() = delete;

    /// As much of a text as an index is asked for. Empty if no index can find it: it is shorter than three characters,
    /// or no valid Unicode, of which each engine makes what it likes.
    static QString asked(const QString& text);

    /// The runs that together cover a text of three characters or more, each character once if it can be.
    static QStringList covering(const QString& text);
};

} // namespace server
