// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/WireClient.h"

#include <QList>

#include <algorithm>
#include <cerrno>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int patience = 60000;

} // namespace

QByteArray WireClient::Answer::header(const QByteArray& lowerCaseName) const
{
    for (const QByteArray& line : head.split('\n')) {
        const int mark = line.indexOf(':');
        if (mark > 0 && line.left(mark).toLower() == lowerCaseName)
            return line.mid(mark + 1).trimmed();
    }
    return QByteArray();
}

WireClient::Answer WireClient::exchange(const QByteArray& request)
{
    const bool kept = m_socket >= 0;
    Answer answer = attempt(request);
    if (answer.status == 0 && kept)
        answer = attempt(request);
    return answer;
}

bool WireClient::send(const QByteArray& bytes)
{
    if (!connect())
        return false;
    int sent = 0;
    while (sent < bytes.size()) {
        pollfd entry{m_socket, POLLOUT, 0};
        if (poll(&entry, 1, patience) <= 0)
            return false;
        const ssize_t now = ::send(m_socket, bytes.constData() + sent, size_t(bytes.size() - sent), MSG_NOSIGNAL);
        if (now < 0 && errno != EAGAIN)
            return false;
        sent += int(std::max<ssize_t>(now, 0));
    }
    return true;
}

void WireClient::close()
{
    if (m_socket >= 0)
        ::close(m_socket);
    m_socket = -1;
    m_received.clear();
}

bool WireClient::connect()
{
    if (m_socket >= 0)
        return true;
    m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(m_port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (m_socket < 0 || ::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        close();
        return false;
    }
    const int yes = 1;
    ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    return true;
}

WireClient::Answer WireClient::attempt(const QByteArray& request)
{
    Answer answer;
    if (!connect())
        return answer;
    // The server may answer, and stop reading, before it has got everything.
    int sent = 0;
    bool writable = true;
    for (;;) {
        const bool writes = writable && sent < request.size();
        pollfd entry{m_socket, short(POLLIN | (writes ? POLLOUT : 0)), 0};
        if (poll(&entry, 1, patience) <= 0)
            break;
        if (entry.revents & POLLIN) {
            char buffer[64 * 1024];
            const ssize_t got = ::recv(m_socket, buffer, sizeof buffer, 0);
            if (got <= 0)
                break;
            m_received.append(buffer, int(got));
            if (parse(answer)) {
                // What is left to be sent would be taken for the next request.
                if (sent < request.size() || answer.header("connection").toLower() == "close")
                    close();
                return answer;
            }
        } else if (writes && (entry.revents & POLLOUT)) {
            const ssize_t now = ::send(m_socket, request.constData() + sent, size_t(request.size() - sent),
                                       MSG_NOSIGNAL | MSG_DONTWAIT);
            if (now < 0 && errno != EAGAIN)
                writable = false;
            else
                sent += int(std::max<ssize_t>(now, 0));
        } else if (entry.revents & (POLLERR | POLLHUP | POLLNVAL)) {
            break;
        }
    }
    close();
    return answer;
}

bool WireClient::parse(Answer& answer)
{
    const int end = m_received.indexOf("\r\n\r\n");
    if (end < 0)
        return false;
    Answer found;
    found.head = m_received.left(end + 2);
    const int length = found.header("content-length").toInt();
    if (m_received.size() < end + 4 + length)
        return false;
    found.status = found.head.mid(found.head.indexOf(' ') + 1, 3).toInt();
    found.body = m_received.mid(end + 4, length);
    m_received.remove(0, end + 4 + length);
    answer = found;
    return true;
}
