// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Request.h"

#include <optional>

namespace server {

/// The parts of a multipart/form-data body (RFC 7578 on RFC 2046), read strictly: what clients of this server never
/// send is refused instead of guessed at.
class MultipartForm
{
public:
    static constexpr int maxParts = 64;
    static constexpr int maxPartHeadBytes = 8 * 1024;

    /// The parts in the order of the body, or nothing if it is not sound: `contentType` names no boundary, or none that
    /// is allowed; the body does not begin and end with it; a part has no name, that of another one, or a transfer
    /// encoding that would have to be resolved; or there are too many of them. Takes time in proportion to the body.
    static std::optional<QVector<Request::Part>> parse(const QByteArray& contentType, const QByteArray& body);
};

} // namespace server
