// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/HttpServer.h"

#include "server/HttpConnection.h"
#include "server/IpAddress.h"
#include "server/MultipartForm.h"
#include "server/RequestHandler.h"
#include "server/TlsContext.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include <QHash>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <unordered_map>

#include <openssl/ssl.h>
#include <sys/resource.h>

namespace server {

static_assert(HttpServer::maxHeadBytes == RequestHead::maxBytes &&
              HttpServer::maxBodyBytes == RequestHead::maxBodyBytes);

namespace {

namespace asio = boost::asio;

using Error = boost::system::error_code;
using Tcp = asio::ip::tcp;

/// How long nothing is accepted after the system could not.
constexpr std::chrono::milliseconds acceptPause(100);

/// Failures of one connection, or of the moment, after which others can be accepted.
bool passes(const Error& error)
{
    namespace e = boost::system::errc;
    for (const auto code :
         {e::connection_aborted, e::interrupted, e::protocol_error, e::too_many_files_open,
          e::too_many_files_open_in_system, e::no_buffer_space, e::not_enough_memory, e::network_down,
          e::network_unreachable, e::host_unreachable, e::no_protocol_option, e::operation_not_supported,
          e::resource_unavailable_try_again, e::timed_out, e::operation_not_permitted}) {
        if (error == code)
            return true;
    }
    return false;
}

bool isLoopback(const asio::ip::address& address)
{
    if (address.is_v6() && address.to_v6().is_v4_mapped())
        return asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6()).is_loopback();
    return address.is_loopback();
}

QByteArray textOf(const asio::ip::address& address)
{
    return IpAddress::normalized(QByteArray::fromStdString(address.to_string()));
}

/// Half of the files that the process may have open: the rest is the database's.
int affordable(int connections)
{
    rlimit files{};
    if (getrlimit(RLIMIT_NOFILE, &files) != 0 || files.rlim_cur == RLIM_INFINITY)
        return connections;
    return int(std::min<rlim_t>(rlim_t(connections), std::max<rlim_t>(files.rlim_cur / 2, 1)));
}

} // namespace

/// All but handling the requests runs on the one thread in serve().
class HttpServer::Impl : public HttpConnection::Owner
{
public:
    Impl(RequestHandler& handler, const HttpSettings& settings);

    bool open(const QString& host, int port, QString& error);
    int port() const { return m_port; }
    bool serve();
    void end();

    void handle(const std::shared_ptr<HttpConnection>& connection, Request request) override;
    Reply refusal(int status, const QByteArray& acceptLanguage) override;
    void idle(HttpConnection& connection) override;
    void busy(HttpConnection& connection) override;
    void closed(HttpConnection& connection) override;
    bool stopping() const override { return m_stopped; }

private:
    /// Of a connection: where it stands among the idle ones, or their end.
    using Place = std::list<HttpConnection*>::iterator;

    bool listenOn(const Tcp::endpoint& endpoint, Error& error);
    void acceptNext();
    /// As soon as there is room for it.
    void admitNewcomer();
    void makeUseOfRoom();
    void admit(Tcp::socket socket);
    /// Closes the one that has waited longest for a request, of this address if one is given.
    bool closeIdle(const QByteArray& address = QByteArray());
    void stopAll();
    Reply answer(Request& request);

    RequestHandler& m_handler;
    HttpSettings m_settings;
    int m_port = 0;
    std::atomic<bool> m_stopAsked{false};
    bool m_stopped = false;
    bool m_sound = true;
    std::unordered_map<HttpConnection*, Place> m_connections;
    std::list<HttpConnection*> m_idle; ///< the one that waits longest first
    QHash<QByteArray, int> m_perAddress;
    // Its end destroys the connections that are left, which still report to what stands above.
    asio::io_context m_io{1};
    Tcp::acceptor m_acceptor{m_io};
    asio::steady_timer m_pause{m_io};
    std::optional<Tcp::socket> m_newcomer; ///< waits for room; meanwhile nothing else is accepted
    std::unique_ptr<asio::thread_pool> m_workers;
};

HttpServer::Impl::Impl(RequestHandler& handler, const HttpSettings& settings)
    : m_handler(handler)
    , m_settings(settings)
{
}

bool HttpServer::Impl::listenOn(const Tcp::endpoint& endpoint, Error& error)
{
    Error ignored;
    m_acceptor.close(ignored);
    m_acceptor.open(endpoint.protocol(), error);
    // For a restart on the same port, the connections of which still linger; a second server is refused nevertheless.
    if (!error)
        m_acceptor.set_option(Tcp::acceptor::reuse_address(true), error);
    if (!error && endpoint.address().is_v6())
        m_acceptor.set_option(asio::ip::v6_only(false), ignored);
    if (!error)
        m_acceptor.bind(endpoint, error);
    if (!error)
        m_acceptor.listen(asio::socket_base::max_listen_connections, error);
    return !error;
}

bool HttpServer::Impl::open(const QString& host, int port, QString& error)
{
    const QString place = QStringLiteral("cannot listen on %1:%2: ").arg(host).arg(port);
    Error reason;
    const auto found = Tcp::resolver(m_io).resolve(host.toStdString(), std::to_string(port),
                                                   Tcp::resolver::passive | Tcp::resolver::numeric_service, reason);
    if (reason || found.empty()) {
        error = place + QStringLiteral("the address is not known here");
        return false;
    }
    const bool local = std::all_of(found.begin(), found.end(),
                                   [](const auto& entry) { return isLoopback(entry.endpoint().address()); });
    if (!local && !m_settings.tls && !m_settings.plainBeyondLoopback) {
        error =
            place + QStringLiteral("other machines reach this address, and without TLS passwords and recordings would "
                                   "be readable on the way; give --tls-certificate and --tls-key, or --plain-http");
        return false;
    }
    for (const auto& entry : found) {
        if (!listenOn(entry.endpoint(), reason))
            continue;
        m_port = m_acceptor.local_endpoint().port();
        m_settings.connections = affordable(m_settings.connections);
        return true;
    }
    error = place + (reason == asio::error::address_in_use ? QStringLiteral("the port is already in use")
                                                           : QString::fromLocal8Bit(reason.message().c_str()));
    return false;
}

bool HttpServer::Impl::serve()
{
    m_workers = std::make_unique<asio::thread_pool>(size_t(HttpServer::threads));
    asio::post(m_io, [this] { acceptNext(); });
    for (;;) {
        try {
            m_io.run();
            break;
        } catch (const std::exception& failure) {
            // The connection that it came from is gone; the others go on.
            std::fprintf(stderr, "quelmar-server: %s\n", failure.what());
        }
    }
    m_workers->join();
    return m_sound;
}

void HttpServer::Impl::end()
{
    if (!m_stopAsked.exchange(true))
        asio::post(m_io, [this] { stopAll(); });
}

void HttpServer::Impl::stopAll()
{
    m_stopped = true;
    Error ignored;
    m_acceptor.close(ignored);
    m_pause.cancel();
    m_newcomer.reset();
    std::vector<HttpConnection*> all;
    for (const auto& entry : m_connections)
        all.push_back(entry.first);
    for (HttpConnection* connection : all)
        connection->stop();
}

void HttpServer::Impl::acceptNext()
{
    if (m_stopped)
        return;
    m_acceptor.async_accept([this](const Error& error, Tcp::socket socket) {
        if (m_stopped)
            return;
        if (!error) {
            m_newcomer.emplace(std::move(socket));
            admitNewcomer();
        } else if (passes(error)) {
            closeIdle();
            m_pause.expires_after(acceptPause);
            m_pause.async_wait([this](const Error& cancelled) {
                if (!cancelled)
                    acceptNext();
            });
        } else {
            m_sound = false;
            stopAll();
        }
    });
}

void HttpServer::Impl::admitNewcomer()
{
    if (m_stopped || !m_newcomer || (int(m_connections.size()) >= m_settings.connections && !closeIdle()))
        return;
    Tcp::socket socket = std::move(*m_newcomer);
    m_newcomer.reset();
    admit(std::move(socket));
    acceptNext();
}

void HttpServer::Impl::makeUseOfRoom()
{
    if (!m_stopped && m_newcomer)
        asio::post(m_io, [this] { admitNewcomer(); });
}

void HttpServer::Impl::admit(Tcp::socket socket)
{
    Error error;
    const Tcp::endpoint client = socket.remote_endpoint(error);
    if (error)
        return;
    const QByteArray address = textOf(client.address());
    if (m_perAddress.value(address) >= m_settings.connectionsPerAddress &&
        !m_settings.trustedProxies.contains(address) && !closeIdle(address))
        return;
    SSL* session = nullptr;
    if (m_settings.tls && !(session = m_settings.tls->newSession()))
        return;
    const auto connection = std::make_shared<HttpConnection>(*this, m_settings, std::move(socket), address, session);
    m_connections.emplace(connection.get(), m_idle.end());
    ++m_perAddress[address];
    connection->start();
}

bool HttpServer::Impl::closeIdle(const QByteArray& address)
{
    const auto found = std::find_if(m_idle.begin(), m_idle.end(), [&address](const HttpConnection* connection) {
        return address.isEmpty() || connection->address() == address;
    });
    if (found == m_idle.end())
        return false;
    (*found)->close();
    return true;
}

void HttpServer::Impl::idle(HttpConnection& connection)
{
    busy(connection);
    m_connections.at(&connection) = m_idle.insert(m_idle.end(), &connection);
    makeUseOfRoom();
}

void HttpServer::Impl::busy(HttpConnection& connection)
{
    const auto entry = m_connections.find(&connection);
    if (entry == m_connections.end() || entry->second == m_idle.end())
        return;
    m_idle.erase(entry->second);
    entry->second = m_idle.end();
}

void HttpServer::Impl::closed(HttpConnection& connection)
{
    busy(connection);
    if (m_connections.erase(&connection) == 0)
        return;
    const auto count = m_perAddress.find(connection.address());
    if (--count.value() == 0)
        m_perAddress.erase(count);
    makeUseOfRoom();
}

void HttpServer::Impl::handle(const std::shared_ptr<HttpConnection>& connection, Request request)
{
    asio::post(*m_workers, [this, connection = connection, request = std::move(request),
                            running = asio::make_work_guard(m_io)]() mutable {
        Reply reply = answer(request);
        // The connection is not let go of on this thread.
        asio::post(m_io, [connection = std::move(connection), reply = std::move(reply)] { connection->reply(reply); });
    });
}

Reply HttpServer::Impl::answer(Request& request)
{
    const QByteArray language = request.header("accept-language");
    try {
        if (request.multipart) {
            const auto parts = MultipartForm::parse(request.header("content-type"), request.body);
            if (!parts)
                return refusal(400, language);
            request.parts = *parts;
            request.body.clear();
        }
        return m_handler.handle(request);
    } catch (...) {
        return refusal(500, language);
    }
}

Reply HttpServer::Impl::refusal(int status, const QByteArray& acceptLanguage)
{
    try {
        return m_handler.refuse(status, acceptLanguage);
    } catch (...) {
        Reply bare;
        bare.status = status;
        return bare;
    }
}

HttpServer::HttpServer(RequestHandler& handler, const HttpSettings& settings)
    : m_impl(std::make_unique<Impl>(handler, settings))
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
