// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QNetworkReply>
#include <QObject>
#include <QString>
#include <QUrl>

/// The answer to one request. It deletes itself in the event loop after its end: copy what is needed at once.
class HttpReply : public QObject
{
    Q_OBJECT

signals:
    /// The body of a reply with a status of 200 to 299.
    void data(const QByteArray& bytes);
    /// The body of a failed reply; empty if the transport failed or nothing came in time.
    void error(const QByteArray& bytes);
    /// The reply is over. After a time-out it comes twice.
    void finished(const HttpReply& reply);

public:
    using QObject::QObject;

    virtual QUrl url() const = 0;
    /// 0 if no status line has arrived.
    virtual int statusCode() const = 0;
    virtual QString reasonPhrase() const;
    virtual QList<QNetworkReply::RawHeaderPair> headers() const;
    virtual QByteArray header(const QByteArray& name) const;
    virtual QByteArray body() const = 0;
};
