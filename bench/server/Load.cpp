// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/server/Load.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int patienceSeconds = 60;
constexpr int maxHead = 65536;
constexpr int bufferSize = 1 << 18;
/// A server may close a kept connection just as the next request comes.
constexpr int maxTries = 5;

double milliseconds(Clock::duration time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

double workOfThread()
{
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    const auto seconds = [](const timeval& time) { return double(time.tv_sec) + double(time.tv_usec) / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// The value of a header in a head, in lower case.
QByteArray header(const QByteArray& head, const QByteArray& name)
{
    const QByteArray lower = head.toLower();
    const int at = lower.indexOf("\r\n" + name + ":");
    if (at < 0)
        return QByteArray();
    const int begin = at + 3 + name.size();
    return lower.mid(begin, lower.indexOf("\r\n", begin) - begin).trimmed();
}

struct Client
{
    ~Client() { hangUp(); }

    void hangUp()
    {
        if (socket >= 0)
            ::close(socket);
        socket = -1;
    }

    int socket = -1;
    bool used = false; ///< has answered a request
    int request = -1;  ///< under way
    int tries = 0;
    int sent = 0;
    bool inBody = false;
    QByteArray head;
    qint64 bodyLeft = 0;
    QByteArray body; ///< only if somebody wants it
    int status = 0;
    bool closes = false;
    Clock::time_point since;
};

/// One run of all clients.
class Run
{
public:
    Run(quint16 port, const QVector<QByteArray>& requests, bool once,
        const std::function<void(int, int, const QByteArray&)>& seen)
        : m_port(port)
        , m_requests(requests)
        , m_once(once)
        , m_seen(seen)
        , m_poll(epoll_create1(EPOLL_CLOEXEC))
        , m_buffer(bufferSize, Qt::Uninitialized)
    {
    }
    ~Run() { ::close(m_poll); }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    Load::Result go(int clients, double seconds)
    {
        const double workBefore = workOfThread();
        const auto begin = Clock::now();
        // However short the time, and however busy the machine, each client sends one.
        m_deadline = Clock::time_point::max();
        std::vector<std::unique_ptr<Client>> all;
        for (int i = 0; i < clients; ++i) {
            all.push_back(std::make_unique<Client>());
            next(*all.back());
        }
        m_deadline = begin + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
        epoll_event events[64];
        while (m_underWay > 0) {
            const int ready = epoll_wait(m_poll, events, 64, patienceSeconds * 1000);
            if (ready < 0 && errno == EINTR)
                continue;
            if (ready <= 0) {
                m_result.failures += m_underWay;
                m_result.failure = "no answer";
                break;
            }
            for (int i = 0; i < ready; ++i)
                attend(*static_cast<Client*>(events[i].data.ptr), events[i].events);
        }
        // What was under way at the end is a part of the time that it took.
        m_result.seconds = milliseconds(Clock::now() - begin) / 1000;
        m_result.work = workOfThread() - workBefore;
        m_result.requests = qint64(m_times.size());
        m_result.median = percentile(0.5);
        m_result.slow = percentile(0.99);
        return m_result;
    }

private:
    double percentile(double part)
    {
        if (m_times.empty())
            return 0;
        const auto place =
            m_times.begin() + std::min<long>(long(m_times.size()) - 1, long(part * double(m_times.size())));
        std::nth_element(m_times.begin(), place, m_times.end());
        return double(*place);
    }

    void next(Client& client)
    {
        if (Clock::now() >= m_deadline || (m_once && m_next >= m_requests.size())) {
            client.hangUp();
            return;
        }
        client.request = m_next++;
        if (!m_once)
            m_next %= m_requests.size();
        client.tries = 0;
        client.since = Clock::now();
        ++m_underWay;
        begin(client);
    }

    void begin(Client& client)
    {
        client.sent = 0;
        client.inBody = false;
        client.head.clear();
        client.body.clear();
        if (client.socket < 0 && !connect(client)) {
            fail(client, QByteArray("cannot connect: ").append(std::strerror(errno)));
            return;
        }
        write(client);
    }

    bool connect(Client& client)
    {
        client.used = false;
        client.socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (client.socket < 0)
            return false;
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(m_port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int yes = 1;
        ::setsockopt(client.socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.ptr = &client;
        return ::connect(client.socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
               ::fcntl(client.socket, F_SETFL, O_NONBLOCK) == 0 &&
               epoll_ctl(m_poll, EPOLL_CTL_ADD, client.socket, &event) == 0;
    }

    void watch(Client& client, unsigned events)
    {
        epoll_event event{};
        event.events = events;
        event.data.ptr = &client;
        epoll_ctl(m_poll, EPOLL_CTL_MOD, client.socket, &event);
    }

    void attend(Client& client, unsigned events)
    {
        if (client.socket < 0 || client.request < 0)
            return;
        const bool writing = client.sent < m_requests.at(client.request).size();
        if (writing && (events & EPOLLOUT) != 0)
            write(client);
        if (client.request >= 0 && client.socket >= 0 && (events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0)
            read(client);
    }

    void write(Client& client)
    {
        const QByteArray& request = m_requests.at(client.request);
        const bool waited = client.sent > 0;
        while (client.sent < request.size()) {
            const ssize_t count = ::send(client.socket, request.constData() + client.sent,
                                         size_t(request.size() - client.sent), MSG_NOSIGNAL);
            if (count < 0) {
                if (errno == EAGAIN) {
                    watch(client, EPOLLIN | EPOLLOUT);
                    // Or else the next call would not know that it was waited for.
                    client.sent = std::max(client.sent, 0);
                    return;
                }
                lost(client);
                return;
            }
            client.sent += int(count);
        }
        if (waited)
            watch(client, EPOLLIN);
    }

    void read(Client& client)
    {
        for (;;) {
            const ssize_t count = ::recv(client.socket, m_buffer.data(), size_t(m_buffer.size()), 0);
            if (count < 0 && errno == EAGAIN)
                return;
            if (count <= 0) {
                lost(client);
                return;
            }
            if (take(client, int(count)) || client.socket < 0)
                return;
        }
    }

    /// True once the reply is complete, or the client is given up.
    bool take(Client& client, int count)
    {
        int first = 0;
        if (!client.inBody) {
            const int before = client.head.size();
            client.head.append(m_buffer.constData(), count);
            const int end = client.head.indexOf("\r\n\r\n", std::max(0, before - 3));
            if (end < 0) {
                if (client.head.size() > maxHead)
                    fail(client, "a head without an end");
                return client.request < 0;
            }
            first = end + 4 - before;
            client.head.truncate(end + 2);
            client.inBody = true;
            client.status = client.head.mid(9, 3).toInt();
            client.bodyLeft = header(client.head, "content-length").toLongLong();
            client.closes = header(client.head, "connection") == "close";
        }
        client.bodyLeft -= count - first;
        if (m_seen || client.status != 200)
            client.body.append(m_buffer.constData() + first, count - first);
        if (client.bodyLeft > 0)
            return false;
        done(client);
        return true;
    }

    void done(Client& client)
    {
        const auto now = Clock::now();
        if (m_seen)
            m_seen(client.request, client.status, client.body);
        if (client.closes)
            client.hangUp();
        client.used = true;
        if (client.status != 200) {
            fail(client, QByteArray::number(client.status) + ' ' + client.body.left(300));
            return;
        }
        m_times.push_back(float(milliseconds(now - client.since)));
        --m_underWay;
        client.request = -1;
        next(client);
    }

    void lost(Client& client)
    {
        const bool kept = client.used && client.head.isEmpty();
        client.hangUp();
        if (kept && ++client.tries < maxTries)
            begin(client);
        else
            fail(client, "the connection was closed");
    }

    void fail(Client& client, const QByteArray& why)
    {
        if (m_result.failures++ == 0)
            m_result.failure = why;
        --m_underWay;
        client.request = -1;
        // A server that is down would else be asked without a pause for the whole time.
        if (m_result.failures < 1000)
            next(client);
        else
            client.hangUp();
    }

    quint16 m_port;
    const QVector<QByteArray>& m_requests;
    bool m_once;
    const std::function<void(int, int, const QByteArray&)>& m_seen;
    int m_poll;
    QByteArray m_buffer;
    Clock::time_point m_deadline;
    int m_next = 0;
    int m_underWay = 0;
    std::vector<float> m_times;
    Load::Result m_result;
};

} // namespace

Load::Load(quint16 port, const QVector<QByteArray>& requests)
    : m_port(port)
    , m_requests(requests)
{
}

Load::Result Load::run(int clients, double seconds) const
{
    return send(clients, seconds, false, nullptr);
}

Load::Result Load::runOnce(int clients, double seconds) const
{
    return send(clients, seconds, true, nullptr);
}

bool Load::fetch(const std::function<void(int, int, const QByteArray&)>& seen) const
{
    constexpr double anyTime = 1e6;
    const Result result = send(1, anyTime, true, seen);
    return result.failures == 0 && result.requests == m_requests.size();
}

Load::Result Load::send(int clients, double seconds, bool once,
                        const std::function<void(int, int, const QByteArray&)>& seen) const
{
    return Run(m_port, m_requests, once, seen).go(clients, seconds);
}

} // namespace bench
