// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QHash>

namespace server {

/// The request line and the headers of one HTTP/1.1 request, and what is refused for what stands in them.
struct RequestHead
{
    static constexpr int maxBytes = 64 * 1024;
    static constexpr int maxLineBytes = 8 * 1024;
    static constexpr int maxBodyBytes = 1024 * 1024;
    static constexpr int maxFormBytes = 8 * 1024; ///< of an application/x-www-form-urlencoded body

    /// The status to refuse the request with, or 0. Of a head that cannot be read nothing but `acceptLanguage` is
    /// known.
    int refusal = 0;
    QByteArray acceptLanguage;
    QByteArray method;
    QByteArray target;
    QHash<QByteArray, QByteArray> headers; ///< names in lower case; of a repeated header the first value
    QByteArray forwardedFor;               ///< the last X-Forwarded-For
    qint64 length = 0; ///< of the body, within its limit unless refused; it is left unread unless takesBody()
    bool keepAlive = false;
    bool expectsContinue = false;

    bool takesBody() const;
    /// Of the Content-Type, whatever the body is.
    bool isMultipart() const;

    /// The bytes up to and including the empty line.
    static RequestHead parse(const QByteArray& bytes);
    /// False if no request starts with this line, line break included.
    static bool canStartWith(const QByteArray& line);
};

} // namespace server
