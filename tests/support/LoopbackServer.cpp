// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/LoopbackServer.h"

#include <QTcpSocket>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <sys/socket.h>

namespace {

/// Drops the connection with a reset, not with an orderly end.
void reset(QTcpSocket* socket)
{
    const linger hard{1, 0};
    setsockopt(static_cast<int>(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
    socket->abort();
}

} // namespace

LoopbackServer::LoopbackServer()
{
    connect(&server, &QTcpServer::newConnection, this, &LoopbackServer::accept);
    listen(0);
}

LoopbackServer::~LoopbackServer()
{
    stop();
}

quint16 LoopbackServer::clientPort()
{
    return static_cast<quint16>(QUrl(QString::fromLatin1(QUELMAR_API_URL)).port());
}

bool LoopbackServer::listenForClient()
{
    return listen(clientPort());
}

bool LoopbackServer::listen(quint16 port)
{
    server.close();
    if (!server.listen(QHostAddress::LocalHost, port)) {
        const QByteArray text =
            "Port " + QByteArray::number(port) +
            " of the loopback address is held by another program: " + server.errorString().toLocal8Bit();
        QTest::qFail(text.constData(), __FILE__, __LINE__);
        return false;
    }
    return true;
}

void LoopbackServer::stop()
{
    server.close();
    dropConnections();
}

void LoopbackServer::resetConnections()
{
    const QList<QTcpSocket*> sockets = buffers.keys();
    for (QTcpSocket* socket : sockets) {
        reset(socket);
    }
}

void LoopbackServer::dropConnections()
{
    const QList<QTcpSocket*> sockets = buffers.keys();
    for (QTcpSocket* socket : sockets) {
        socket->disconnect(this);
        socket->abort();
        socket->deleteLater();
    }
    buffers.clear();
    stalled.clear();
    held.clear();
}

QUrl LoopbackServer::url(const QString& path) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(server.serverPort()).arg(path));
}

void LoopbackServer::expect(const QByteArray& method, const QByteArray& target, const Answer& answer)
{
    expectations.append({method, target, answer});
}

void LoopbackServer::expect(const QByteArray& method, const QByteArray& target, const QByteArray& body, int status)
{
    Answer answer;
    answer.status = status;
    answer.body = body;
    expect(method, target, answer);
}

void LoopbackServer::setFallback(const Answer& answer)
{
    hasFallback = true;
    fallback = answer;
}

void LoopbackServer::release()
{
    const QList<Stalled> all = stalled;
    stalled.clear();
    for (const Stalled& one : all) {
        if (one.socket != nullptr) {
            one.socket->write(one.rest);
        }
    }
}

void LoopbackServer::proceed()
{
    holding = false;
    const QList<Held> all = held;
    held.clear();
    for (const Held& one : all) {
        if (one.socket != nullptr) {
            answer(one.socket, one.answer, one.withBody);
        }
    }
}

int LoopbackServer::pending() const
{
    return static_cast<int>(std::count_if(expectations.cbegin(), expectations.cend(),
                                          [](const Expectation& one) { return !one.answer.always; }));
}

void LoopbackServer::accept()
{
    while (QTcpSocket* const socket = server.nextPendingConnection()) {
        buffers.insert(socket, {});
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            buffers.remove(socket);
            socket->deleteLater();
        });
    }
}

void LoopbackServer::read(QTcpSocket* socket)
{
    QByteArray& buffer = buffers[socket];
    buffer += socket->readAll();
    const int headEnd = buffer.indexOf("\r\n\r\n");
    if (headEnd < 0) {
        return;
    }

    Request request;
    request.head = buffer.left(headEnd);
    const QList<QByteArray> lines = request.head.split('\n');
    const QList<QByteArray> start = lines.first().trimmed().split(' ');
    request.method = start.value(0);
    request.target = start.value(1);
    for (int i = 1; i < lines.size(); ++i) {
        const int colon = lines.at(i).indexOf(':');
        request.headers.insert(lines.at(i).left(colon).trimmed().toLower(), lines.at(i).mid(colon + 1).trimmed());
    }
    const int length = request.headers.value("content-length").toInt();
    if (buffer.size() < headEnd + 4 + length) {
        return;
    }
    request.body = buffer.mid(headEnd + 4, length);
    buffer.remove(0, headEnd + 4 + length);
    serve(socket, request);
}

void LoopbackServer::serve(QTcpSocket* socket, const Request& request)
{
    received.append(request);
    emit requested();

    Answer chosen;
    bool found = false;
    for (int i = 0; i < expectations.size() && !found; ++i) {
        if (expectations.at(i).method == request.method && expectations.at(i).target == request.target) {
            chosen = expectations.at(i).answer;
            found = true;
            if (!chosen.always) {
                expectations.removeAt(i);
            }
        }
    }
    if (!found && hasFallback) {
        chosen = fallback;
        found = true;
    }
    if (!found) {
        const QByteArray text = "Unexpected request: " + request.method + ' ' + request.target;
        QTest::qFail(text.constData(), __FILE__, __LINE__);
        chosen.status = 599;
    }
    const bool withBody = request.method != "HEAD";
    if (chosen.held && holding) {
        held.append({socket, chosen, withBody});
        return;
    }
    if (chosen.delay == 0) {
        answer(socket, chosen, withBody);
        return;
    }
    const QPointer<QTcpSocket> guard(socket);
    QTimer::singleShot(chosen.delay, this, [this, guard, chosen, withBody] {
        if (guard != nullptr) {
            answer(guard, chosen, withBody);
        }
    });
}

void LoopbackServer::answer(QTcpSocket* socket, const Answer& answer, bool withBody)
{
    QByteArray head = "HTTP/1.1 " + QByteArray::number(answer.status) + ' ' + answer.reason + "\r\n";
    for (auto header = answer.headers.cbegin(); header != answer.headers.cend(); ++header) {
        head += header.key() + ": " + header.value() + "\r\n";
    }
    if (answer.status != 204 && answer.status != 304) {
        head += "Content-Length: " + QByteArray::number(answer.body.size()) + "\r\n";
    }
    head += "\r\n";
    const QByteArray body = withBody ? answer.body : QByteArray();
    const int half = qMax(1, body.size() / 2);

    switch (answer.kind) {
    case Answer::Reply:
        socket->write(head + body);
        break;
    case Answer::Reset:
        reset(socket);
        break;
    case Answer::ResetInBody:
        socket->write(head + body.left(half));
        socket->flush();
        reset(socket);
        break;
    case Answer::Stall:
        stalled.append({socket, head + body});
        break;
    case Answer::StallInBody:
        socket->write(head + body.left(half));
        stalled.append({socket, body.mid(half)});
        break;
    case Answer::Raw:
        socket->write(answer.body);
        socket->disconnectFromHost();
        break;
    }
}

#include "moc_LoopbackServer.cpp"
