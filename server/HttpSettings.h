// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QVector>

#include <chrono>
#include <memory>

namespace server {

class TlsContext;

/// What HttpServer grants its clients. Whoever goes beyond a time is cut off, and whatever they do holds no thread.
struct HttpSettings
{
    /// From the first byte of a request to its last one; and for the first byte on a new connection.
    std::chrono::milliseconds requestTime = std::chrono::seconds(30);
    /// From the reply to the next request.
    std::chrono::milliseconds idleTime = std::chrono::seconds(60);
    std::chrono::milliseconds handshakeTime = std::chrono::seconds(10);
    /// For a client to take a reply, with one second more for each `replyRate` bytes of it.
    std::chrono::milliseconds replyTime = std::chrono::seconds(30);
    int replyRate = 32 * 1024;

    /// At once; never more than half the files that the process may have open.
    int connections = 512;
    /// At once of one client that is no trusted proxy.
    int connectionsPerAddress = 256;

    /// Whose word for the client's address is taken; in the form of IpAddress::normalized().
    QVector<QByteArray> trustedProxies;
    /// Null for plain HTTP.
    std::shared_ptr<const TlsContext> tls;
    /// Plain HTTP is spoken to other machines, too.
    bool plainBeyondLoopback = false;
};

} // namespace server
