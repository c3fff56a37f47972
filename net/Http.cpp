// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/Http.h"

#include "net/NetworkHttpReply.h"

#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QThread>

namespace {

int defaultReadTimeout = 180000;

QByteArray formContentType()
{
    return QByteArrayLiteral("application/x-www-form-urlencoded");
}

/// The calling thread's manager. Managers live as long as the process.
QNetworkAccessManager* manager()
{
    static auto* const managers = new QMap<QThread*, QNetworkAccessManager*>;
    QNetworkAccessManager*& entry = (*managers)[QThread::currentThread()];
    if (entry == nullptr) {
        entry = new QNetworkAccessManager(nullptr);
        entry->setRedirectPolicy(QNetworkRequest::UserVerifiedRedirectPolicy);
    }
    return entry;
}

} // namespace

Http::Http()
    : requestHeaders(getDefaultRequestHeaders())
    , readTimeout(defaultReadTimeout)
{
}

Http& Http::instance()
{
    static Http* const http = new Http;
    return *http;
}

const QMap<QByteArray, QByteArray>& Http::getDefaultRequestHeaders()
{
    static const QMap<QByteArray, QByteArray> headers{
        {QByteArrayLiteral("Accept-Charset"), QByteArrayLiteral("utf-8")},
        {QByteArrayLiteral("Connection"), QByteArrayLiteral("Keep-Alive")},
    };
    return headers;
}

void Http::setDefaultReadTimeout(int milliseconds)
{
    defaultReadTimeout = milliseconds;
}

HttpReply* Http::request(const HttpRequest& request)
{
    return new NetworkHttpReply(request, *this);
}

HttpReply* Http::request(const QUrl& url, QNetworkAccessManager::Operation operation, const QByteArray& body,
                         unsigned int offset)
{
    HttpRequest httpRequest;
    httpRequest.url = url;
    httpRequest.operation = operation;
    httpRequest.body = body;
    httpRequest.offset = offset;
    return request(httpRequest);
}

HttpReply* Http::get(const QUrl& url)
{
    return request(url, QNetworkAccessManager::GetOperation, {}, 0);
}

HttpReply* Http::head(const QUrl& url)
{
    return request(url, QNetworkAccessManager::HeadOperation, {}, 0);
}

HttpReply* Http::remove(const QUrl& url)
{
    return request(url, QNetworkAccessManager::DeleteOperation, {}, 0);
}

HttpReply* Http::post(const QUrl& url, const QMap<QString, QString>& form)
{
    QByteArray body;
    for (auto entry = form.cbegin(); entry != form.cend(); ++entry) {
        body += QUrl::toPercentEncoding(entry.key()) + '=' + QUrl::toPercentEncoding(entry.value()) + '&';
    }
    return send(url, QNetworkAccessManager::PostOperation, body, formContentType());
}

HttpReply* Http::post(const QUrl& url, const QByteArray& body, const QByteArray& contentType)
{
    return send(url, QNetworkAccessManager::PostOperation, body, contentType);
}

HttpReply* Http::put(const QUrl& url, const QByteArray& body, const QByteArray& contentType)
{
    return send(url, QNetworkAccessManager::PutOperation, body, contentType);
}

HttpReply* Http::send(const QUrl& url, QNetworkAccessManager::Operation operation, const QByteArray& body,
                      const QByteArray& contentType)
{
    HttpRequest httpRequest;
    httpRequest.url = url;
    httpRequest.operation = operation;
    httpRequest.body = body;
    httpRequest.headers = requestHeaders;
    httpRequest.headers.insert(QByteArrayLiteral("Content-Type"),
                               contentType.isEmpty() ? formContentType() : contentType);
    return request(httpRequest);
}

QNetworkReply* Http::networkReply(const HttpRequest& request)
{
    QNetworkRequest networkRequest(request.url);
    if (!request.headers.isEmpty()) {
        requestHeaders = request.headers;
    }
    for (auto header = requestHeaders.cbegin(); header != requestHeaders.cend(); ++header) {
        networkRequest.setRawHeader(header.key(), header.value());
    }
    if (request.offset != 0) {
        networkRequest.setRawHeader(QByteArrayLiteral("Range"), "bytes=" + QByteArray::number(request.offset) + '-');
    }

    switch (request.operation) {
    case QNetworkAccessManager::HeadOperation:
        return manager()->head(networkRequest);
    case QNetworkAccessManager::GetOperation:
        return manager()->get(networkRequest);
    case QNetworkAccessManager::PutOperation:
        return manager()->put(networkRequest, request.body);
    case QNetworkAccessManager::PostOperation:
        return manager()->post(networkRequest, request.body);
    case QNetworkAccessManager::DeleteOperation:
        return manager()->deleteResource(networkRequest);
    default:
        qWarning("Unknown operation: %d", static_cast<int>(request.operation));
        return nullptr;
    }
}
