// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

class Patient;
class QNetworkAccessManager;
class QNetworkReply;

/// Uploads one recording as a multipart form, without a time limit. It serves one upload and deletes itself when that
/// has ended; nobody owns it.
class FileTransfer : public QObject
{
    Q_OBJECT

signals:
    /// The body of the server's reply.
    void onSuccess(const QByteArray& bytes);
    /// The body of the server's refusal; empty if the transport failed.
    void onError(const QByteArray& bytes);

public:
    explicit FileTransfer(QObject* parent = nullptr);

    /// `deviceId` names the sensor of the recording; it is sent even if it is empty.
    void send(QString& url, Patient* patient, QByteArray& bytes, QString deviceId);

public slots:
    void finished(QNetworkReply* reply);

private:
    QNetworkAccessManager* manager;
};
