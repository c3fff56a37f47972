// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "net/Http.h"
#include "net/HttpReply.h"
#include "net/HttpRequest.h"

#include <QByteArray>

class QNetworkReply;
class QTimer;

/// A reply over the network. It is a child of its QNetworkReply, so that it goes when that one goes.
///
/// The read timer guards the wait for the first byte of the reply alone; once a byte has come, the transfer may take
/// any time.
class NetworkHttpReply : public HttpReply
{
    Q_OBJECT

public:
    /// Sends at once. If the operation cannot be sent there is no reply to wait for: no signal comes, and the object
    /// deletes itself.
    NetworkHttpReply(const HttpRequest& request, Http& http);

    QUrl url() const override;
    int statusCode() const override;
    QString reasonPhrase() const override;
    QList<QNetworkReply::RawHeaderPair> headers() const override;
    QByteArray header(const QByteArray& name) const override;
    /// Always empty: the body goes out by the signals alone.
    QByteArray body() const override;

    void setupReply();
    /// What the server sent with a failure.
    QByteArray errorMessage();
    void emitError();
    void emitFinished();

public slots:
    void replyFinished();
    void replyError(QNetworkReply::NetworkError code);
    void downloadProgress(qint64 bytesReceived, qint64 bytesTotal);
    void readTimeout();

private:
    /// Takes down all connections from the network reply to this object.
    void letGo();

    /// By value: the Http that sent the request may be gone by the time a redirect is followed.
    Http http;
    HttpRequest request;
    QNetworkReply* networkReply;
    QTimer* readTimer;
    QByteArray bodyBytes;
};
