// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QHash>
#include <QVector>

#include <chrono>

namespace server {

/// One HTTP request as it came over the wire, with nothing decoded but the parts of a multipart form.
struct Request
{
    struct Part
    {
        QByteArray name;
        QByteArray content;
    };

    QByteArray id; ///< of this server's own, random: it may be shown anywhere
    QByteArray method;
    QByteArray path;                       ///< still percent-encoded, without the query
    QByteArray query;                      ///< still percent-encoded, without the "?"
    QHash<QByteArray, QByteArray> headers; ///< names in lower case; of a repeated header the first value
    QByteArray body;                       ///< empty for a multipart form
    QVector<Part> parts;                   ///< of a multipart form, in no promised order
    bool multipart = false;
    QByteArray peer;                               ///< numeric address of the client, without a port
    std::chrono::steady_clock::time_point arrived; ///< when the last byte of it had been read

    /// The method, or nothing if it is not one that HTTP knows.
    QByteArray knownMethod() const
    {
        for (const char* known : {"GET", "HEAD", "POST", "PUT", "PATCH", "DELETE", "OPTIONS"}) {
            if (method == known)
                return method;
        }
        return QByteArray();
    }
    QByteArray header(const QByteArray& lowerCaseName) const { return headers.value(lowerCaseName); }
};

} // namespace server
