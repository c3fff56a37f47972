// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/EarlyServer.h"

#include <QTcpSocket>

#include <sys/socket.h>

EarlyServer::EarlyServer(const QByteArray& bytes)
    : answer(bytes)
{
    connect(&server, &QTcpServer::newConnection, this, &EarlyServer::accept);
    server.listen(QHostAddress::LocalHost);
}

QUrl EarlyServer::url() const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(server.serverPort()));
}

void EarlyServer::accept()
{
    while (QTcpSocket* const socket = server.nextPendingConnection()) {
        socket->setReadBufferSize(1);
        socket->write(answer);
        socket->flush();
        sockets.append(socket);
    }
}

void EarlyServer::readOn()
{
    for (QTcpSocket* const socket : qAsConst(sockets)) {
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { count += socket->readAll().size(); });
        count += socket->readAll().size();
        socket->setReadBufferSize(0);
    }
}

void EarlyServer::resetConnections()
{
    for (QTcpSocket* const socket : qAsConst(sockets)) {
        const linger hard{1, 0};
        setsockopt(static_cast<int>(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
        socket->abort();
    }
}

#include "moc_EarlyServer.cpp"
