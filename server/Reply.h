// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QPair>
#include <QVector>

namespace server {

/// The answer to one HTTP request.
struct Reply
{
    int status = 200;
    QByteArray contentType = QByteArrayLiteral("application/json");
    QByteArray body;
    QVector<QPair<QByteArray, QByteArray>> headers; ///< further ones, name and value; no line breaks in them
    QByteArray pattern; ///< of the path that was asked for, such as "/record/{p}"; empty if it is none of the server's
};

} // namespace server
