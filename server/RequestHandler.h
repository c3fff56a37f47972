// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Reply.h"
#include "server/Request.h"

namespace server {

/// What answers the requests that HttpServer reads. Both operations are called on many threads at once.
class RequestHandler
{
public:
    virtual ~RequestHandler() = default;

    virtual Reply handle(const Request& request) = 0;
    /// The answer to a request that could not be read, or that is refused unread, with this status of 400 or more.
    virtual Reply refuse(int status, const QByteArray& acceptLanguage) = 0;
};

} // namespace server
