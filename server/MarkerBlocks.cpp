// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/MarkerBlocks.h"

#include "server/Synthesis.h"

#include <QMutexLocker>

namespace server {

MarkerBlocks& MarkerBlocks::instance()
{
    static MarkerBlocks blocks;
    return blocks;
}

ReplyEncoding::Part MarkerBlocks::of(const Catalogue::Marker& marker)
{
    {
        const QMutexLocker locker(&m_mutex);
        const auto made = m_made.constFind(marker.id);
        if (made != m_made.constEnd()) {
            return *made;
        }
    }
    // Others are not kept waiting meanwhile; if two make the same one, they make the same bytes.
    ReplyEncoding::Part part = ReplyEncoding::block(Synthesis::block(marker.frequencies));
    if (!part.deflated.isEmpty()) {
        const QMutexLocker locker(&m_mutex);
        m_made.insert(marker.id, part);
    }
    return part;
}

} // namespace server
