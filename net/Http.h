// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "net/HttpReply.h"
#include "net/HttpRequest.h"

#include <QByteArray>
#include <QMap>
#include <QString>

/// Sends requests through one network manager per thread. A value: copies carry their own headers and time-out.
///
/// Every operation that returns an HttpReply hands out a pointer that the caller does not own: the reply deletes
/// itself after its end.
class Http
{
public:
    /// Starts with the default headers and the default read time-out.
    Http();
    virtual ~Http() = default;
    Http(const Http&) = default;
    Http& operator=(const Http&) = default;

    static Http& instance();
    static const QMap<QByteArray, QByteArray>& getDefaultRequestHeaders();
    /// Milliseconds to the first byte of a reply, for every Http made from now on.
    static void setDefaultReadTimeout(int milliseconds);

    void setRequestHeaders(const QMap<QByteArray, QByteArray>& headers) { requestHeaders = headers; }
    const QMap<QByteArray, QByteArray>& getRequestHeaders() const { return requestHeaders; }
    /// Replaces a header that is already there.
    void addRequestHeader(const QByteArray& name, const QByteArray& value) { requestHeaders.insert(name, value); }
    void setReadTimeout(int milliseconds) { readTimeout = milliseconds; }
    int getReadTimeout() const { return readTimeout; }

    virtual HttpReply* request(const HttpRequest& request);
    HttpReply* request(const QUrl& url, QNetworkAccessManager::Operation operation, const QByteArray& body,
                       unsigned int offset);
    HttpReply* get(const QUrl& url);
    HttpReply* head(const QUrl& url);
    HttpReply* remove(const QUrl& url);
    /// Percent-encoded form: each entry ends with "&", the last one too.
    HttpReply* post(const QUrl& url, const QMap<QString, QString>& form);
    /// An empty `contentType` means a form.
    HttpReply* post(const QUrl& url, const QByteArray& body, const QByteArray& contentType);
    HttpReply* put(const QUrl& url, const QByteArray& body, const QByteArray& contentType);

    /// Sends; null, with a warning in the log, for an operation other than GET, HEAD, PUT, POST and DELETE.
    QNetworkReply* networkReply(const HttpRequest& request);

private:
    HttpReply* send(const QUrl& url, QNetworkAccessManager::Operation operation, const QByteArray& body,
                    const QByteArray& contentType);

    QMap<QByteArray, QByteArray> requestHeaders;
    int readTimeout;
};
