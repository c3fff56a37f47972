// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Reply.h"

namespace server {

/// The status line and the headers of a reply.
class HttpReplyHead
{
public:
    /// As they go over the wire, with the empty line. A header that would break the head is left out. `close` tells the
    /// client that the connection ends with this reply.
    static QByteArray bytes(const Reply& reply, bool close);
};

} // namespace server
