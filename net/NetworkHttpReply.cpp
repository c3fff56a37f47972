// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/NetworkHttpReply.h"

#include "net/isCutShort.h"

#include <QNetworkReply>
#include <QTimer>

NetworkHttpReply::NetworkHttpReply(const HttpRequest& httpRequest, Http& sender)
    : HttpReply(nullptr)
    , http(sender)
    , request(httpRequest)
    , networkReply(nullptr)
    , readTimer(new QTimer(this))
{
    if (request.url.isEmpty()) {
        qWarning("Empty URL");
    }
    networkReply = sender.networkReply(request);
    // Sending may have changed the headers; a redirect is followed with those that went out.
    http.setRequestHeaders(sender.getRequestHeaders());
    if (networkReply == nullptr) {
        deleteLater();
        return;
    }
    setParent(networkReply);
    setupReply();

    readTimer->setInterval(http.getReadTimeout());
    readTimer->setSingleShot(true);
    connect(readTimer, SIGNAL(timeout()), this, SLOT(readTimeout()), Qt::UniqueConnection);
    readTimer->start();
}

void NetworkHttpReply::setupReply()
{
    connect(networkReply, SIGNAL(error(QNetworkReply::NetworkError)), this,
            SLOT(replyError(QNetworkReply::NetworkError)), Qt::UniqueConnection);
    connect(networkReply, SIGNAL(finished()), this, SLOT(replyFinished()), Qt::UniqueConnection);
    connect(networkReply, SIGNAL(downloadProgress(qint64, qint64)), this, SLOT(downloadProgress(qint64, qint64)),
            Qt::UniqueConnection);
    // Qt reports no progress in the first 100 ms of a request, and none later if nothing more comes.
    connect(networkReply, &QNetworkReply::readyRead, this,
            [this] { downloadProgress(networkReply->bytesAvailable(), -1); });
}

QUrl NetworkHttpReply::url() const
{
    return networkReply == nullptr ? QUrl() : networkReply->url();
}

int NetworkHttpReply::statusCode() const
{
    return networkReply == nullptr ? 0 : networkReply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

QString NetworkHttpReply::reasonPhrase() const
{
    return networkReply == nullptr ? QString()
                                   : networkReply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
}

QList<QNetworkReply::RawHeaderPair> NetworkHttpReply::headers() const
{
    return networkReply == nullptr ? QList<QNetworkReply::RawHeaderPair>() : networkReply->rawHeaderPairs();
}

QByteArray NetworkHttpReply::header(const QByteArray& name) const
{
    return networkReply == nullptr ? QByteArray() : networkReply->rawHeader(name);
}

QByteArray NetworkHttpReply::body() const
{
    return bodyBytes;
}

QByteArray NetworkHttpReply::errorMessage()
{
    // An aborted reply is closed, and reading a closed device would only log a warning.
    return networkReply->isOpen() ? networkReply->readAll() : QByteArray();
}

void NetworkHttpReply::letGo()
{
    // Only what leads here: Qt's own connections carry abort() to the thread that holds the socket.
    disconnect(networkReply, nullptr, this, nullptr);
}

void NetworkHttpReply::emitError()
{
    const QByteArray bytes = errorMessage();
    readTimer->stop();
    letGo();
    emit finished(*this);
    networkReply->deleteLater();
    emit error(bytes);
}

void NetworkHttpReply::emitFinished()
{
    readTimer->stop();
    letGo();
    emit finished(*this);
    networkReply->deleteLater();
}

void NetworkHttpReply::replyFinished()
{
    const QUrl target = networkReply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    if (target.isValid()) {
        HttpRequest redirected;
        redirected.url = target;
        redirected.operation = request.operation;
        redirected.body = request.body;
        redirected.offset = request.offset;
        QNetworkReply* const next = http.networkReply(redirected);
        setParent(next);
        networkReply->deleteLater();
        networkReply = next;
        setupReply();
        readTimer->start();
        return;
    }

    // Before the signal, since a receiver may run an event loop of its own and the timer would fire in it.
    readTimer->stop();
    const int status = statusCode();
    if (status >= 200 && status < 300) {
        if (isCutShort(*networkReply, networkReply->bytesAvailable())) {
            emitError();
            return;
        }
        emit data(networkReply->readAll());
    }
    emitFinished();
}

void NetworkHttpReply::replyError(QNetworkReply::NetworkError)
{
    emitError();
}

void NetworkHttpReply::downloadProgress(qint64 bytesReceived, qint64)
{
    if (bytesReceived < 1 || !readTimer->isActive()) {
        return;
    }
    readTimer->stop();
    disconnect(networkReply, SIGNAL(downloadProgress(qint64, qint64)), this, SLOT(downloadProgress(qint64, qint64)));
}

void NetworkHttpReply::readTimeout()
{
    if (networkReply == nullptr) {
        return;
    }
    letGo();
    networkReply->abort();
    networkReply->deleteLater();
    emitError();
    emit finished(*this);
}

#include "moc_NetworkHttpReply.cpp"
