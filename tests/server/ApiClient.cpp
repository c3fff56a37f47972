// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/ApiClient.h"

#include <QEventLoop>
#include <QHttpMultiPart>
#include <QJsonDocument>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>
#include <QUrlQuery>

namespace {

const QByteArray json = "application/json";
const QByteArray form = "application/x-www-form-urlencoded";

} // namespace

QJsonObject ApiClient::Answer::object() const
{
    return QJsonDocument::fromJson(body).object();
}

QJsonArray ApiClient::Answer::array() const
{
    return QJsonDocument::fromJson(body).array();
}

bool ApiClient::Answer::isObject() const
{
    return QJsonDocument::fromJson(body).isObject();
}

bool ApiClient::Answer::isArray() const
{
    return QJsonDocument::fromJson(body).isArray();
}

QString ApiClient::Answer::message() const
{
    return object().value(QStringLiteral("message")).toString();
}

bool ApiClient::Answer::failed(int expectedStatus) const
{
    if (status == expectedStatus && contentType == "application/json" && !message().isEmpty())
        return true;
    qWarning("expected a failure %d, got %d (%s): %s", expectedStatus, status, contentType.constData(),
             body.left(200).constData());
    return false;
}

ApiClient::ApiClient(const QString& url)
    : m_url(url)
{
}

ApiClient::Answer ApiClient::login(const QString& name, const QString& password)
{
    const QByteArray body =
        "password=" + QUrl::toPercentEncoding(password) + "&username=" + QUrl::toPercentEncoding(name) + '&';
    Answer answer = send("POST", QStringLiteral("/auth/login"), body, form);
    token = answer.object().value(QStringLiteral("accessToken")).toString().toUtf8();
    return answer;
}

ApiClient::Answer ApiClient::get(const QString& path)
{
    return wait(m_manager.get(request(path, form)));
}

ApiClient::Answer ApiClient::post(const QString& path, const QJsonObject& body)
{
    return send("POST", path, QJsonDocument(body).toJson(), json);
}

ApiClient::Answer ApiClient::put(const QString& path, const QJsonObject& body)
{
    return send("PUT", path, QJsonDocument(body).toJson(), json);
}

ApiClient::Answer ApiClient::remove(const QString& path)
{
    return wait(m_manager.deleteResource(request(path, form)));
}

ApiClient::Answer ApiClient::send(const QByteArray& method, const QString& path, const QByteArray& body,
                                  const QByteArray& contentType)
{
    if (method == "HEAD")
        return wait(m_manager.head(request(path, contentType)));
    return wait(m_manager.sendCustomRequest(request(path, contentType), method, body));
}

ApiClient::Answer ApiClient::upload(const QString& patientId, const QByteArray& wave, const QByteArray& sensorId)
{
    QNetworkRequest upload(QUrl(m_url + QStringLiteral("/record")));
    upload.setRawHeader("Authorization", tokenType + ' ' + token);
    upload.setRawHeader("Accept-Language", language);
    upload.setRawHeader("Quelmar-ID", sensorId);
    QHttpMultiPart parts(QHttpMultiPart::FormDataType);
    QHttpPart patient;
    patient.setHeader(QNetworkRequest::ContentDispositionHeader, QStringLiteral("form-data; name=\"patientId\""));
    patient.setBody(patientId.toUtf8());
    QHttpPart record;
    record.setHeader(QNetworkRequest::ContentDispositionHeader,
                     QStringLiteral("form-data; name=\"record\"; filename=\"record\""));
    record.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/octet-stream"));
    record.setBody(wave);
    parts.append(patient);
    parts.append(record);
    return wait(m_manager.post(upload, &parts));
}

QString ApiClient::filter(const QString& sortBy, const QString& direction, int size, int current,
                          const QString& searchBy, const QString& needle)
{
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("sortby"), sortBy);
    query.addQueryItem(QStringLiteral("direction"), direction);
    query.addQueryItem(QStringLiteral("size"), QString::number(size));
    query.addQueryItem(QStringLiteral("current"), QString::number(current));
    query.addQueryItem(QStringLiteral("searchby"), searchBy);
    query.addQueryItem(QStringLiteral("needle"), encodedNeedle(needle));
    return QStringLiteral("/patient/filter?") + query.toString(QUrl::PrettyDecoded);
}

QString ApiClient::encodedNeedle(const QString& needle)
{
    if (needle.isEmpty())
        return QStringLiteral("");
    return QString::fromLatin1(needle.toUtf8().toBase64().replace('+', '.').replace('/', '_').replace('=', '-'));
}

ApiClient::Answer ApiClient::wait(QNetworkReply* reply)
{
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    if (!reply->isFinished())
        loop.exec();
    Answer answer;
    answer.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    answer.contentType = reply->rawHeader("Content-Type");
    answer.requestId = reply->rawHeader("X-Request-ID");
    answer.body = reply->readAll();
    delete reply;
    return answer;
}

QNetworkRequest ApiClient::request(const QString& path, const QByteArray& contentType)
{
    QNetworkRequest made(QUrl(m_url + path, QUrl::TolerantMode));
    made.setRawHeader("Accept-Charset", "utf-8");
    made.setRawHeader("Connection", "Keep-Alive");
    if (!contentType.isEmpty())
        made.setRawHeader("Content-Type", contentType);
    if (!token.isEmpty())
        made.setRawHeader("Authorization", tokenType + ' ' + token);
    if (!language.isEmpty())
        made.setRawHeader("Accept-Language", language);
    return made;
}
