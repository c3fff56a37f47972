// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Catalogue.h"
#include "server/ReplyEncoding.h"

#include <QHash>
#include <QMutex>

namespace server {

/// The blocks that play the catalogue's markers, as replies hold them. To make one takes a thousand times as long as to
/// send it, and it is always the same: each is made when it is first asked for, and kept for as long as the process
/// lives. Usable on any thread.
class MarkerBlocks
{
public:
    static MarkerBlocks& instance();

    /// Without bytes only if memory ran out; then it is made anew the next time.
    ReplyEncoding::Part of(const Catalogue::Marker& marker);

private:
    MarkerBlocks() = default;

    QMutex m_mutex;
    QHash<QString, ReplyEncoding::Part> m_made; ///< by the markers' ids
};

} // namespace server
