// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QMap>
#include <QNetworkAccessManager>
#include <QUrl>

/// One request as a plain value.
struct HttpRequest
{
    QUrl url;
    QNetworkAccessManager::Operation operation = QNetworkAccessManager::GetOperation;
    /// Body of a POST or PUT.
    QByteArray body;
    /// First byte wanted; 0 asks for the whole.
    unsigned int offset = 0;
    /// If not empty, these replace the headers of the Http that sends the request, and stay there.
    QMap<QByteArray, QByteArray> headers;
};
