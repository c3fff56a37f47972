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
};

} // namespace server
