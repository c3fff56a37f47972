// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

/// Puts bytes on a connection to the loopback address exactly as they are given, sound HTTP or not, and reads what
/// comes back. The connection is kept while the server keeps it. Needs no event loop, and may live on any thread.
class WireClient
{
public:
    struct Answer
    {
        int status = 0;  ///< 0 if the server hung up, or said nothing for a minute
        QByteArray head; ///< status line and headers, as they came
        QByteArray body;

        /// The value of a header, by its name in lower case; empty without one.
        QByteArray header(const QByteArray& lowerCaseName) const;
    };

    explicit WireClient(quint16 port)
        : m_port(port)
    {
    }
    ~WireClient() { close(); }
    WireClient(const WireClient&) = delete;
    WireClient& operator=(const WireClient&) = delete;

    /// Sends one request and reads its answer. A kept connection that turns out to be closed is made anew, once.
    Answer exchange(const QByteArray& request);
    /// Sends without waiting for an answer; false if the server has hung up meanwhile.
    bool send(const QByteArray& bytes);
    void close();

private:
    bool connect();
    Answer attempt(const QByteArray& request);
    /// True if the received bytes are a whole answer, which is then in `answer`.
    bool parse(Answer& answer);

    quint16 m_port;
    int m_socket = -1;
    QByteArray m_received;
};
