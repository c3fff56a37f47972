// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/ClientStream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

namespace server {

namespace {

constexpr size_t bufferSize = 16 * 1024;
constexpr std::chrono::seconds writeLimit(30);
constexpr std::chrono::milliseconds drainLimit(1000);
constexpr size_t drainBytes = 8 * 1024 * 1024;

// How soon a wait notices that the server stops.
constexpr std::chrono::milliseconds stopCheck(50);

/// 1 when the socket is ready, 0 after that time, -1 on failure.
int waitFor(socket_t socket, short events, std::chrono::milliseconds time)
{
    pollfd entry{socket, events, 0};
    const int ready = poll(&entry, 1, int(std::max<std::chrono::milliseconds::rep>(time.count(), 0)));
    return ready < 0 && errno == EINTR ? 0 : ready;
}

std::chrono::milliseconds leftTo(ClientStream::Clock::time_point deadline)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(deadline - ClientStream::Clock::now());
}

} // namespace

ClientStream::ClientStream(socket_t socket, const std::atomic<bool>& stopping)
    : m_socket(socket)
    , m_stopping(stopping)
    , m_buffer(bufferSize)
{
}

void ClientStream::begin(size_t bytes, Clock::time_point deadline)
{
    m_allowed = bytes;
    m_deadline = deadline;
}

void ClientStream::drain()
{
    ::shutdown(m_socket, SHUT_WR);
    const auto deadline = Clock::now() + drainLimit;
    size_t dropped = 0;
    while (dropped < drainBytes && waitForInput(deadline)) {
        const ssize_t got = ::recv(m_socket, m_buffer.data(), m_buffer.size(), 0);
        if (got <= 0)
            return;
        dropped += size_t(got);
    }
}

bool ClientStream::is_readable() const
{
    return hasBuffered() || waitForInput(m_deadline);
}

bool ClientStream::is_writable() const
{
    return waitFor(m_socket, POLLOUT, writeLimit) > 0;
}

ssize_t ClientStream::read(char* to, size_t size)
{
    if (m_broken || m_allowed == 0)
        return -1;
    if (!hasBuffered()) {
        // The client sends head and body apart and holds the body back until the head is acknowledged, which the system
        // would put off. The option does not last, so it is set each time.
        const int yes = 1;
        ::setsockopt(m_socket, IPPROTO_TCP, TCP_QUICKACK, &yes, sizeof yes);
        if (!waitForInput(m_deadline)) {
            m_broken = true;
            return -1;
        }
        const ssize_t got = ::recv(m_socket, m_buffer.data(), m_buffer.size(), 0);
        if (got <= 0) {
            m_broken = true;
            return got;
        }
        m_position = 0;
        m_end = size_t(got);
    }
    const size_t count = std::min({size, m_end - m_position, m_allowed});
    std::memcpy(to, m_buffer.data() + m_position, count);
    m_position += count;
    m_allowed -= count;
    return ssize_t(count);
}

ssize_t ClientStream::write(const char* from, size_t size)
{
    if (!is_writable()) {
        m_broken = true;
        return -1;
    }
    const ssize_t sent = ::send(m_socket, from, size, MSG_NOSIGNAL);
    if (sent < 0)
        m_broken = true;
    return sent;
}

bool ClientStream::waitForInput(Clock::time_point deadline) const
{
    while (!m_stopping) {
        const std::chrono::milliseconds left = leftTo(deadline);
        const int ready = waitFor(m_socket, POLLIN, std::min(left, stopCheck));
        if (ready != 0)
            return ready > 0;
        if (left <= std::chrono::milliseconds::zero())
            return false;
    }
    return false;
}

void ClientStream::get_remote_ip_and_port(std::string& ip, int& port) const
{
    ip.clear();
    port = 0;
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    char text[NI_MAXHOST];
    if (getpeername(m_socket, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
        getnameinfo(reinterpret_cast<sockaddr*>(&address), size, text, sizeof text, nullptr, 0, NI_NUMERICHOST) == 0)
        ip = text;
}

void ClientStream::get_local_ip_and_port(std::string& ip, int& port) const
{
    ip.clear();
    port = 0;
}

} // namespace server
