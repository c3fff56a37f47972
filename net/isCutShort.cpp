// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/isCutShort.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

bool isCutShort(const QNetworkReply& reply, qint64 received)
{
    // These have a length without a body.
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply.operation() == QNetworkAccessManager::HeadOperation || status == 204 || status == 304) {
        return false;
    }
    // What Qt has unpacked comes without a length.
    const QVariant length = reply.header(QNetworkRequest::ContentLengthHeader);
    return length.isValid() && received < length.toLongLong();
}
