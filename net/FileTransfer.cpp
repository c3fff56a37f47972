// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/FileTransfer.h"

#include "model/Patient.h"
#include "net/Authentication.h"
#include "net/isCutShort.h"

#include <QHttpMultiPart>
#include <QNetworkAccessManager>
#include <QNetworkReply>

FileTransfer::FileTransfer(QObject* parent)
    : QObject(parent)
    , manager(new QNetworkAccessManager(this))
{
    connect(manager, SIGNAL(finished(QNetworkReply*)), this, SLOT(finished(QNetworkReply*)));
}

void FileTransfer::send(QString& url, Patient* patient, QByteArray& bytes, QString deviceId)
{
    QNetworkRequest request(QUrl(url, QUrl::TolerantMode));
    request.setRawHeader(QByteArrayLiteral("Authorization"), Authentication::getInstance()->getAuthHeader());
    request.setRawHeader(QByteArrayLiteral("Accept-Language"), Authentication::getInstance()->getAcceptLanguage());
    // A null array would remove the header, and an unknown sensor is sent as an empty value.
    request.setRawHeader(QByteArrayLiteral("Quelmar-ID"), deviceId.isEmpty() ? QByteArray("") : deviceId.toUtf8());

    auto* multiPart = new QHttpMultiPart(QHttpMultiPart::FormDataType);
    QHttpPart id;
    id.setHeader(QNetworkRequest::ContentDispositionHeader, QStringLiteral("form-data; name=\"patientId\""));
    id.setBody(patient->getId().toUtf8());
    multiPart->append(id);
    QHttpPart record;
    record.setHeader(QNetworkRequest::ContentDispositionHeader,
                     QStringLiteral("form-data; name=\"record\"; filename=\"record\""));
    record.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/octet-stream"));
    record.setBody(bytes);
    multiPart->append(record);

    QNetworkReply* const reply = manager->post(request, multiPart);
    multiPart->setParent(reply);
}

void FileTransfer::finished(QNetworkReply* reply)
{
    const QByteArray body = reply->readAll();
    if (reply->error() != QNetworkReply::NoError || isCutShort(*reply, body.size())) {
        emit onError(body);
    } else {
        emit onSuccess(body);
    }
    reply->disconnect();
    reply->deleteLater();
    manager->deleteLater();
    deleteLater();
}

#include "moc_FileTransfer.cpp"
