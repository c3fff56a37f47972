// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QVector>

#include <functional>

namespace bench {

/// Clients of an HTTP server on the loopback address that keep their connections, and send the next request as soon as
/// the last one is answered. All of them live on the calling thread, and read replies without looking into them, so
/// that they take as little as they can of the machine that the server runs on too.
class Load
{
public:
    struct Result
    {
        qint64 requests = 0; ///< answered with status 200
        qint64 failures = 0; ///< answered with another status, or not at all
        double seconds = 0;
        double median = 0;  ///< ms from a request to the end of its reply
        double slow = 0;    ///< ms, the 99th percentile
        double work = 0;    ///< seconds of a processor that the clients themselves took
        QByteArray failure; ///< of the first one, to show

        double rate() const { return seconds > 0 ? double(requests) / seconds : 0; }
    };

    /// Whole requests, head and body. They are sent in turn, and again from the first on.
    Load(quint16 port, const QVector<QByteArray>& requests);

    /// Sends for so many seconds; then what is under way is still awaited.
    Result run(int clients, double seconds) const;
    /// Sends each request no more than once: it may be over earlier.
    Result runOnce(int clients, double seconds) const;
    /// Sends each request once, one after the other, and tells each reply by its number, status and body. False if one
    /// of them has another status than 200.
    bool fetch(const std::function<void(int, int, const QByteArray&)>& seen) const;

private:
    Result send(int clients, double seconds, bool once,
                const std::function<void(int, int, const QByteArray&)>& seen) const;

    quint16 m_port;
    QVector<QByteArray> m_requests;
};

} // namespace bench
