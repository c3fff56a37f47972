// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QTcpServer>
#include <QUrl>

class QTcpSocket;

/// A scripted HTTP server on a loopback socket, in the test's own thread. Each request must have been expected, in
/// any order among different targets and in the order of expect() for equal ones; a request that was not expected
/// fails the running test.
class LoopbackServer : public QObject
{
    Q_OBJECT

signals:
    void requested();

public:
    /// A request as it arrived. Header names are in lower case.
    struct Request
    {
        QByteArray method;
        /// Path and query as they stood on the wire.
        QByteArray target;
        QMap<QByteArray, QByteArray> headers;
        QByteArray body;
        /// Request line and headers byte for byte, without the empty line that ends them.
        QByteArray head;
    };

    struct Answer
    {
        enum Kind
        {
            Reply,       ///< the whole reply
            Reset,       ///< the connection is reset without a reply
            ResetInBody, ///< the head and half of the body, then the connection is reset
            Stall,       ///< nothing, for as long as the server lives
            StallInBody, ///< the head and half of the body (one byte at least), then nothing
            Raw,         ///< the body alone stands for the whole reply, and the connection is closed after it
        };
        Kind kind = Reply;
        int status = 200;
        QByteArray body;
        QMap<QByteArray, QByteArray> headers;
        /// Milliseconds before the answer begins.
        int delay = 0;
        QByteArray reason = "Status";
        /// Serves every request of this method and target from now on: a client repeats a request whose connection was
        /// dropped before the reply.
        bool always = false;
        /// Begins only at proceed(), whatever the kind.
        bool held = false;
    };

    /// Listens on any free loopback port.
    LoopbackServer();
    ~LoopbackServer() override;

    /// Listens on the address that the client was built for. Tests that use it carry API_PORT in their CMake entry.
    /// If another program holds the port, the running test fails and says so.
    bool listenForClient();
    static quint16 clientPort();

    /// Stops listening and drops every connection: from now on connections are refused.
    void stop();

    QUrl url(const QString& path) const;
    quint16 port() const { return server.serverPort(); }
    /// Drops every connection, but goes on listening.
    void dropConnections();
    /// The same with a reset, which the client takes for an accident.
    void resetConnections();

    void expect(const QByteArray& method, const QByteArray& target, const Answer& answer);
    /// A reply with this body.
    void expect(const QByteArray& method, const QByteArray& target, const QByteArray& body, int status = 200);
    /// Serves this answer to every request that no other expectation takes.
    void setFallback(const Answer& answer);

    /// Sends the rest of all stalled answers' bodies.
    void release();
    /// Begins the answers that are held, and holds none from now on.
    void proceed();

    const QList<Request>& requests() const { return received; }
    const Request& last() const { return received.last(); }
    void clear() { received.clear(); }
    /// How many expected requests have not come yet; those with Answer::always do not count.
    int pending() const;
    /// How many connections are open.
    int connections() const { return buffers.size(); }

private:
    struct Expectation
    {
        QByteArray method;
        QByteArray target;
        Answer answer;
    };
    struct Stalled
    {
        QPointer<QTcpSocket> socket;
        QByteArray rest;
    };

    struct Held
    {
        QPointer<QTcpSocket> socket;
        Answer answer;
        bool withBody;
    };

    bool listen(quint16 port);
    void accept();
    void read(QTcpSocket* socket);
    void serve(QTcpSocket* socket, const Request& request);
    void answer(QTcpSocket* socket, const Answer& answer, bool withBody);

    QTcpServer server;
    QMap<QTcpSocket*, QByteArray> buffers;
    QList<Expectation> expectations;
    QList<Request> received;
    QList<Stalled> stalled;
    QList<Held> held;
    bool holding = true;
    bool hasFallback = false;
    Answer fallback;
};
