// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QTcpServer>
#include <QUrl>

class QTcpSocket;

/// A server on a loopback socket that answers as soon as a request begins, while its client is still sending the rest:
/// the client is not let past what the system keeps of a connection until readOn().
class EarlyServer : public QObject
{
    Q_OBJECT

public:
    /// More than the system keeps of a connection, so that a body of this size is still on its way.
    static constexpr int largeSize = 8 * 1024 * 1024;

    /// The answer stands byte for byte as it goes out.
    explicit EarlyServer(const QByteArray& answer);

    QUrl url() const;
    bool hasAnswered() const { return !sockets.isEmpty(); }
    /// Takes the rest of the request.
    void readOn();
    /// How many bytes of the request have come.
    qint64 received() const { return count; }
    /// Ends every connection with a reset.
    void resetConnections();

private:
    void accept();

    QTcpServer server;
    QByteArray answer;
    QList<QTcpSocket*> sockets;
    qint64 count = 0;
};
