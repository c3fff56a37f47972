// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/HttpServer.h"

#include "server/ClientStream.h"
#include "server/RequestHandler.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <optional>
#include <thread>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace server {

namespace {

using Clock = ClientStream::Clock;

constexpr int maxRequestsPerConnection = 1000;
constexpr int backlog = 128;
constexpr std::chrono::milliseconds stopCheck(50);

/// What is known of the request that the current thread is working on, where the library passes no context along.
struct Exchange
{
    Exchange(socket_t socket, const std::atomic<bool>& stopping)
        : stream(socket, stopping)
    {
    }

    ClientStream stream;
    bool understood = false;    ///< the head was read
    bool close = false;         ///< the connection ends with this reply
    std::optional<int> refusal; ///< status to answer instead of reading the body
    std::string target;         ///< as sent: path and query
    std::string acceptLanguage;
};

thread_local Exchange* current = nullptr;

/// Counts the connections that wait for a thread, so that idle ones can make room.
class CountingPool : public httplib::ThreadPool
{
public:
    CountingPool(size_t threads, std::atomic<int>& waiting)
        : ThreadPool(threads)
        , m_waiting(waiting)
    {
    }

    void enqueue(std::function<void()> work) override
    {
        ++m_waiting;
        ThreadPool::enqueue([this, work = std::move(work)] {
            --m_waiting;
            work();
        });
    }

private:
    std::atomic<int>& m_waiting;
};

QByteArray lowerCase(const std::string& text)
{
    return QByteArray(text.data(), int(text.size())).toLower();
}

QByteArray bytes(const std::string& text)
{
    return QByteArray(text.data(), int(text.size()));
}

bool isDecimal(const std::string& text)
{
    return !text.empty() && text.size() <= 18 &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

} // namespace

class HttpServer::Impl : public httplib::Server
{
public:
    Impl(RequestHandler& handler, std::chrono::milliseconds requestTime);
    ~Impl() override;

    bool open(const QString& host, int port, QString& error);
    int port() const { return m_port; }
    bool serve();
    void end();

private:
    bool process_and_close_socket(socket_t socket) override;
    bool waitForRequest(const ClientStream& stream, bool first);
    void prepare(httplib::Request& request);
    void answer(const httplib::Request& request, httplib::Response& response);
    void write(const Reply& reply, httplib::Response& response);

    RequestHandler& m_handler;
    std::chrono::milliseconds m_requestTime;
    int m_port = 0;
    std::mutex m_mutex; ///< stopping and the start of serving exclude each other
    bool m_serving = false;
    std::atomic<bool> m_stopping{false};
    std::atomic<bool> m_served{false};
    std::atomic<int> m_waiting{0};
};

HttpServer::Impl::Impl(RequestHandler& handler, std::chrono::milliseconds requestTime)
    : m_handler(handler)
    , m_requestTime(requestTime)
{
    new_task_queue = [this] { return new CountingPool(HttpServer::threads, m_waiting); };
    // The library's default sets SO_REUSEPORT, under which a second server would quietly share the port.
    set_socket_options([](socket_t socket) {
        const int yes = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    set_tcp_nodelay(true);
    set_write_timeout(std::chrono::seconds(HttpServer::requestSeconds));
    set_keep_alive_max_count(maxRequestsPerConnection);
    set_payload_max_length(HttpServer::maxBodyBytes);
    set_pre_routing_handler([](const httplib::Request&, httplib::Response& response) {
        if (!current->refusal)
            return HandlerResponse::Unhandled;
        response.status = *current->refusal;
        return HandlerResponse::Handled;
    });
    set_expect_100_continue_handler([](const httplib::Request&, httplib::Response& response) {
        response.status = current->refusal.value_or(-1);
        return current->refusal.value_or(100);
    });
    // prepare() has put this path in place of every other: routing is the handler's, not that of regular expressions.
    const auto handle = [this](const httplib::Request& request, httplib::Response& response) {
        answer(request, response);
    };
    Get("/", handle);
    Post("/", handle);
    Put("/", handle);
    Patch("/", handle);
    Delete("/", handle);
    Options("/", handle);
    set_error_handler(Handler([this](const httplib::Request&, httplib::Response& response) {
        if (response.body.empty())
            write(m_handler.refuse(response.status, bytes(current->acceptLanguage)), response);
    }));
    set_exception_handler([this](const httplib::Request&, httplib::Response& response, const std::exception_ptr&) {
        write(m_handler.refuse(500, bytes(current->acceptLanguage)), response);
    });
    set_post_routing_handler([](const httplib::Request&, httplib::Response& response) {
        // Bytes left unread would be taken for the next request.
        if (!current->understood || current->stream.allowed() > 0)
            current->close = true;
        if (current->close) {
            response.headers.erase("Keep-Alive");
            response.headers.erase("Connection");
            response.set_header("Connection", "close");
        }
    });
}

HttpServer::Impl::~Impl()
{
    if (m_port != 0 && !m_serving)
        ::close(svr_sock_);
}

bool HttpServer::Impl::open(const QString& host, int port, QString& error)
{
    const std::string name = host.toStdString();
    errno = 0;
    const int bound = port == 0 ? bind_to_any_port(name) : (bind_to_port(name, port) ? port : -1);
    if (bound <= 0) {
        const int reason = errno;
        error = QStringLiteral("cannot listen on %1:%2: %3")
                    .arg(host)
                    .arg(port)
                    .arg(reason == EADDRINUSE ? QStringLiteral("the port is already in use")
                         : reason != 0        ? QString::fromLocal8Bit(std::strerror(reason))
                                              : QStringLiteral("the address is not known here"));
        return false;
    }
    ::listen(svr_sock_, backlog);
    m_port = bound;
    return true;
}

bool HttpServer::Impl::serve()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopping)
            return true;
        m_serving = true;
    }
    const bool sound = listen_after_bind();
    m_served = true;
    return sound;
}

void HttpServer::Impl::end()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopping.exchange(true) || !m_serving)
            return;
    }
    // The library forgets a stop that comes before its loop has started.
    while (!m_served) {
        if (is_running()) {
            httplib::Server::stop();
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

bool HttpServer::Impl::process_and_close_socket(socket_t socket)
{
    Exchange exchange(socket, m_stopping);
    current = &exchange;
    bool sound = true;
    for (int i = 0; i < maxRequestsPerConnection && waitForRequest(exchange.stream, i == 0); ++i) {
        exchange.understood = false;
        exchange.refusal.reset();
        exchange.acceptLanguage.clear();
        exchange.close = i == maxRequestsPerConnection - 1;
        exchange.stream.begin(HttpServer::maxHeadBytes, Clock::now() + m_requestTime);
        bool closeAsked = false;
        sound = process_request(exchange.stream, exchange.close, closeAsked,
                                [this](httplib::Request& request) { prepare(request); });
        if (!sound || closeAsked || exchange.close || exchange.stream.broken())
            break;
    }
    if (!exchange.stream.broken())
        exchange.stream.drain();
    current = nullptr;
    ::shutdown(socket, SHUT_RDWR);
    ::close(socket);
    return sound;
}

bool HttpServer::Impl::waitForRequest(const ClientStream& stream, bool first)
{
    if (stream.hasBuffered())
        return true;
    const auto deadline = Clock::now() + std::chrono::seconds(HttpServer::keepAliveSeconds);
    for (;;) {
        pollfd entry{stream.socket(), POLLIN, 0};
        const int ready = poll(&entry, 1, int(stopCheck.count()));
        if (ready > 0)
            return true;
        if ((ready < 0 && errno != EINTR) || m_stopping || Clock::now() >= deadline || (!first && m_waiting > 0))
            return false;
    }
}

void HttpServer::Impl::prepare(httplib::Request& request)
{
    Exchange& exchange = *current;
    exchange.understood = true;
    exchange.target = request.target;
    exchange.acceptLanguage = request.get_header_value("Accept-Language");
    request.path = "/";
    if (request.version == "HTTP/1.0")
        exchange.close = true;

    const size_t lengths = request.get_header_value_count("Content-Length");
    const std::string length = request.get_header_value("Content-Length");
    if (request.has_header("Transfer-Encoding"))
        exchange.refusal = 411;
    else if (lengths > 1 || (lengths == 1 && !isDecimal(length)))
        exchange.refusal = 400;
    else if (lengths == 1 && std::stoull(length) > unsigned(HttpServer::maxBodyBytes))
        exchange.refusal = 413;
    else if (request.has_header("Content-Encoding"))
        exchange.refusal = 415;

    if (exchange.refusal) {
        exchange.close = true;
        exchange.stream.allow(0);
    } else {
        exchange.stream.allow(lengths == 1 ? std::stoull(length) : 0);
        // Without a length the library would read until the client hangs up.
        if (lengths == 0)
            request.set_header("Content-Length", "0");
    }

    // Replies go out whole and uncompressed.
    request.ranges.clear();
    request.headers.erase("Accept-Encoding");
}

void HttpServer::Impl::answer(const httplib::Request& request, httplib::Response& response)
{
    Request plain;
    plain.method = bytes(request.method);
    const QByteArray target = bytes(current->target);
    const int mark = target.indexOf('?');
    plain.path = target.mid(0, mark);
    if (mark >= 0)
        plain.query = target.mid(mark + 1);
    for (const auto& header : request.headers) {
        const QByteArray name = lowerCase(header.first);
        if (!plain.headers.contains(name))
            plain.headers.insert(name, bytes(header.second));
    }
    plain.body = bytes(request.body);
    plain.peer = bytes(request.remote_addr);
    plain.arrived = Clock::now();
    plain.multipart = request.is_multipart_form_data();
    for (const auto& file : request.files)
        plain.parts.append({bytes(file.second.name), bytes(file.second.content)});
    write(m_handler.handle(plain), response);
}

void HttpServer::Impl::write(const Reply& reply, httplib::Response& response)
{
    response.status = reply.status;
    for (const auto& header : reply.headers)
        response.set_header(header.first.toStdString(), header.second.toStdString());
    response.set_content(reply.body.constData(), size_t(reply.body.size()), reply.contentType.constData());
}

HttpServer::HttpServer(RequestHandler& handler, std::chrono::milliseconds requestTime)
    : m_impl(std::make_unique<Impl>(handler, requestTime))
{
}

HttpServer::~HttpServer() = default;

bool HttpServer::bind(const QString& host, int port, QString& error)
{
    return m_impl->open(host, port, error);
}

int HttpServer::port() const
{
    return m_impl->port();
}

bool HttpServer::run()
{
    return m_impl->serve();
}

void HttpServer::stop()
{
    m_impl->end();
}

} // namespace server
