// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QString>

/// Speaks to the server as the client does: the same headers, bodies and ways to build an address.
class ApiClient
{
public:
    struct Answer
    {
        int status = 0; ///< 0 without an answer
        QByteArray contentType;
        QByteArray requestId; ///< that the server gave
        QByteArray body;

        QJsonObject object() const;
        QJsonArray array() const;
        bool isObject() const;
        bool isArray() const;
        /// The sentence of a failure.
        QString message() const;
        /// A failure as every failure has to be: this status, JSON, and a "message" that is not empty.
        bool failed(int expectedStatus) const;
    };

    explicit ApiClient(const QString& url);

    /// Keeps the token of the answer for the requests that follow.
    Answer login(const QString& name, const QString& password);

    Answer get(const QString& path);
    Answer post(const QString& path, const QJsonObject& body);
    Answer put(const QString& path, const QJsonObject& body);
    Answer remove(const QString& path);
    /// Any body under any content type.
    Answer send(const QByteArray& method, const QString& path, const QByteArray& body, const QByteArray& contentType);
    Answer upload(const QString& patientId, const QByteArray& wave, const QByteArray& sensorId = QByteArray(""));

    /// Query of the patient list; the needle as plain text.
    static QString filter(const QString& sortBy, const QString& direction, int size, int current,
                          const QString& searchBy, const QString& needle);
    static QString encodedNeedle(const QString& needle);

    QByteArray token;
    QByteArray tokenType = "Bearer";
    QByteArray language = "en-US";

private:
    Answer wait(QNetworkReply* reply);
    QNetworkRequest request(const QString& path, const QByteArray& contentType);

    QString m_url;
    QNetworkAccessManager m_manager;
};
