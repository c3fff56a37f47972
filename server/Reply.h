// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

namespace server {

/// The answer to one HTTP request.
struct Reply
{
    int status = 200;
    QByteArray contentType = QByteArrayLiteral("application/json");
    QByteArray body;
};

} // namespace server
