// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/HttpReply.h"

QString HttpReply::reasonPhrase() const
{
    return {};
}

QList<QNetworkReply::RawHeaderPair> HttpReply::headers() const
{
    return {};
}

QByteArray HttpReply::header(const QByteArray&) const
{
    return {};
}

#include "moc_HttpReply.cpp"
