// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

class QNetworkReply;

/// Whether the reply, which has ended with `received` bytes of body, had announced more of them. Qt does not call it an
/// error if the connection broke in the body of a reply that began before the request had been sent.
bool isCutShort(const QNetworkReply& reply, qint64 received);
