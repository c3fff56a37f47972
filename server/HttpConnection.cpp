// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/HttpConnection.h"

#include "server/HttpReplyHead.h"
#include "server/IpAddress.h"

#include <boost/asio/write.hpp>

#include <algorithm>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace server {

namespace {

namespace asio = boost::asio;

constexpr std::chrono::milliseconds lingerTime(1000);
constexpr qint64 lingerBytes = 8 * 1024 * 1024;
constexpr std::chrono::seconds stopTime(10);
// Up to this size a reply goes out in one piece: with TLS, in one record.
constexpr int joinedBytes = 16 * 1024;
// Room that is not given back after a request, to be used for the next one.
constexpr int keptBytes = 16 * 1024;

} // namespace

HttpConnection::HttpConnection(Owner& owner, const HttpSettings& settings, Socket socket, const QByteArray& address,
                               SSL* session)
    : m_owner(owner)
    , m_settings(settings)
    , m_address(address)
    , m_socket(std::move(socket))
    , m_timer(m_socket.get_executor())
{
    if (session)
        m_tls.emplace(m_socket, session);
    Error ignored;
    m_socket.set_option(asio::ip::tcp::no_delay(true), ignored);
}

HttpConnection::~HttpConnection()
{
    if (m_state != State::Closed)
        m_owner.closed(*this);
}

void HttpConnection::start()
{
    if (!m_tls) {
        awaitRequest(m_settings.requestTime);
        return;
    }
    m_state = State::Handshaking;
    setDeadline(Clock::now() + m_settings.handshakeTime);
    m_tls->async_handshake(asio::ssl::stream_base::server, [self = shared_from_this()](const Error& error) {
        if (self->m_state == State::Closed)
            return;
        if (error)
            self->close();
        else
            self->awaitRequest(self->m_settings.requestTime);
    });
}

void HttpConnection::awaitRequest(std::chrono::milliseconds time)
{
    m_searched = 0;
    m_lineChecked = false;
    m_head = RequestHead();
    m_output.clear();
    m_outputBody.clear();
    if (!m_input.isEmpty()) {
        m_state = State::ReadingHead;
        setDeadline(Clock::now() + m_settings.requestTime);
        readHead();
        return;
    }
    if (m_input.capacity() > keptBytes)
        m_input = QByteArray();
    m_state = State::Idle;
    setDeadline(Clock::now() + time);
    m_owner.idle(*this);
    if (m_state == State::Idle)
        read();
}

void HttpConnection::read()
{
    // A client that sends head and body apart holds the body back until the head is acknowledged, which the system
    // would put off. The option does not last, so it is set each time.
    const int yes = 1;
    ::setsockopt(m_socket.native_handle(), IPPROTO_TCP, TCP_QUICKACK, &yes, sizeof yes);
    auto done = [self = shared_from_this()](const Error& error, size_t size) { self->afterRead(error, size); };
    if (m_tls)
        m_tls->async_read_some(asio::buffer(m_chunk), std::move(done));
    else
        m_socket.async_read_some(asio::buffer(m_chunk), std::move(done));
}

void HttpConnection::afterRead(const Error& error, size_t size)
{
    if (m_state == State::Closed)
        return;
    // The first bytes of a request may come at the very moment of the deadline of the wait for them.
    const bool inTime = !error && m_state == State::Idle;
    const bool ended = error == asio::error::eof || error == asio::ssl::error::stream_truncated;
    if ((m_late && !inTime) || ended) {
        cutShort();
    } else if (error) {
        close();
    } else if (m_state == State::ReadingBody) {
        const int part = int(std::min(size, size_t(m_head.length) - size_t(m_body.size())));
        m_body.append(m_chunk.data(), part);
        m_input.append(m_chunk.data() + part, int(size) - part);
        readBody();
    } else {
        m_input.append(m_chunk.data(), int(size));
        if (m_state == State::Idle) {
            m_late = false;
            m_state = State::ReadingHead;
            m_owner.busy(*this);
            setDeadline(Clock::now() + m_settings.requestTime);
        }
        readHead();
    }
}

void HttpConnection::cutShort()
{
    // Without a line of a request there is nothing to answer.
    if (m_state == State::ReadingBody || (m_state == State::ReadingHead && m_input.contains('\n')))
        refuse(400);
    else
        linger();
}

void HttpConnection::readHead()
{
    const int end = m_input.indexOf("\r\n\r\n", m_searched);
    const int size = end + 4;
    if (end >= 0 && size <= RequestHead::maxBytes) {
        takeHead(size);
        return;
    }
    if (m_input.size() >= RequestHead::maxBytes) {
        cutShort();
        return;
    }
    m_searched = std::max(m_input.size() - 3, 0);
    const int line = m_lineChecked ? 0 : m_input.indexOf('\n') + 1;
    if (line > 0) {
        m_lineChecked = true;
        if (!RequestHead::canStartWith(m_input.left(line))) {
            refuse(400);
            return;
        }
    }
    read();
}

void HttpConnection::takeHead(int size)
{
    m_head = RequestHead::parse(m_input.left(size));
    m_input.remove(0, size);
    if (m_head.refusal != 0) {
        refuse(m_head.refusal);
    } else if (!m_head.takesBody()) {
        // What was not asked for stays unread, and would be taken for the next request.
        m_head.keepAlive = m_head.keepAlive && m_head.length == 0;
        m_unread = m_head.length - m_input.size();
        dispatch();
    } else {
        m_body = m_input.left(int(m_head.length));
        m_input.remove(0, m_body.size());
        if (m_head.expectsContinue && m_body.size() < m_head.length)
            askForBody();
        else
            readBody();
    }
}

void HttpConnection::askForBody()
{
    m_state = State::Continuing;
    m_output = QByteArrayLiteral("HTTP/1.1 100 Continue\r\n\r\n");
    auto done = [self = shared_from_this()](const Error& error, size_t) {
        if (self->m_state == State::Closed)
            return;
        if (error)
            self->close();
        else
            self->readBody();
    };
    const auto bytes = asio::buffer(m_output.constData(), size_t(m_output.size()));
    if (m_tls)
        asio::async_write(*m_tls, bytes, std::move(done));
    else
        asio::async_write(m_socket, bytes, std::move(done));
}

void HttpConnection::readBody()
{
    m_state = State::ReadingBody;
    if (m_body.size() < m_head.length)
        read();
    else
        dispatch();
}

void HttpConnection::dispatch()
{
    m_state = State::Working;
    m_timer.cancel();
    Request request;
    request.method = m_head.method;
    const int mark = m_head.target.indexOf('?');
    request.path = m_head.target.mid(0, mark);
    if (mark >= 0)
        request.query = m_head.target.mid(mark + 1);
    request.headers = m_head.headers;
    request.body = m_body;
    request.multipart = m_head.takesBody() && m_head.isMultipart();
    request.peer = sender();
    request.arrived = Clock::now();
    m_body = QByteArray();
    m_owner.handle(shared_from_this(), std::move(request));
}

QByteArray HttpConnection::sender() const
{
    if (!m_settings.trustedProxies.contains(m_address))
        return m_address;
    // What stands before the last comma is what the client claimed, or what a proxy further away did.
    const QByteArray& told = m_head.forwardedFor;
    const QByteArray client = IpAddress::normalized(told.mid(told.lastIndexOf(',') + 1).trimmed());
    return client.isEmpty() ? m_address : client;
}

void HttpConnection::refuse(int status)
{
    // In chunks there may come anything.
    m_unread = status == 411 ? lingerBytes : m_head.length - m_body.size() - m_input.size();
    m_body = QByteArray();
    write(m_owner.refusal(status, m_head.acceptLanguage), true);
}

void HttpConnection::reply(const Reply& reply)
{
    if (m_state == State::Working)
        write(reply, !m_head.keepAlive || m_owner.stopping());
}

void HttpConnection::write(const Reply& reply, bool close)
{
    m_state = State::Writing;
    m_late = false;
    m_output = HttpReplyHead::bytes(reply, close);
    m_outputBody = m_head.method == "HEAD" ? QByteArray() : reply.body;
    if (m_outputBody.size() <= joinedBytes) {
        m_output += m_outputBody;
        m_outputBody.clear();
    }
    const int rated = std::max(m_settings.replyRate, 1);
    setDeadline(Clock::now() + m_settings.replyTime + std::chrono::seconds(m_outputBody.size() / rated));

    auto done = [self = shared_from_this(), close](const Error& error, size_t) {
        if (self->m_state == State::Closed)
            return;
        if (error)
            self->close();
        else
            self->afterWrite(close);
    };
    const std::array<asio::const_buffer, 2> bytes{asio::buffer(m_output.constData(), size_t(m_output.size())),
                                                  asio::buffer(m_outputBody.constData(), size_t(m_outputBody.size()))};
    if (m_tls)
        asio::async_write(*m_tls, bytes, std::move(done));
    else
        asio::async_write(m_socket, bytes, std::move(done));
}

void HttpConnection::afterWrite(bool close)
{
    if (close || m_owner.stopping())
        linger();
    else
        awaitRequest(m_settings.idleTime);
}

void HttpConnection::linger()
{
    m_state = State::Lingering;
    m_late = false;
    m_input = QByteArray();
    m_output.clear();
    m_outputBody.clear();
    setDeadline(Clock::now() + lingerTime);
    if (!m_tls) {
        Error ignored;
        m_socket.shutdown(Socket::shutdown_send, ignored);
        drain();
        return;
    }
    drainTls();
}

void HttpConnection::drainTls()
{
    // A client that is told of the end while it sends may never look at the reply.
    if (m_unread > 0) {
        m_tls->async_read_some(asio::buffer(m_chunk), [self = shared_from_this()](const Error& error, size_t size) {
            if (self->m_state == State::Closed)
                return;
            self->m_unread -= qint64(size);
            self->m_dropped += qint64(size);
            if (error || self->m_dropped > lingerBytes)
                self->close();
            else
                self->drainTls();
        });
        return;
    }
    // Fails at once if the client goes on sending nevertheless, which is dropped then.
    m_tls->async_shutdown([self = shared_from_this()](const Error&) {
        if (self->m_state == State::Closed)
            return;
        Error ignored;
        self->m_socket.shutdown(Socket::shutdown_send, ignored);
        self->drain();
    });
}

void HttpConnection::drain()
{
    m_socket.async_read_some(asio::buffer(m_chunk), [self = shared_from_this()](const Error& error, size_t size) {
        if (self->m_state == State::Closed)
            return;
        self->m_dropped += qint64(size);
        if (error || self->m_dropped > lingerBytes)
            self->close();
        else
            self->drain();
    });
}

void HttpConnection::stop()
{
    switch (m_state) {
    case State::Working:
    case State::Lingering:
    case State::Closed:
        break;
    case State::Writing:
        setDeadline(std::min(m_timer.expiry(), Clock::now() + stopTime));
        break;
    default:
        close();
    }
}

void HttpConnection::close()
{
    if (m_state == State::Closed)
        return;
    m_state = State::Closed;
    m_timer.cancel();
    Error ignored;
    m_socket.close(ignored);
    m_owner.closed(*this);
}

void HttpConnection::setDeadline(Clock::time_point time)
{
    m_timer.expires_at(time);
    // A connection that is of no more use is not kept for its deadline.
    m_timer.async_wait([weak = weak_from_this()](const Error& error) {
        const std::shared_ptr<HttpConnection> self = weak.lock();
        // The deadline may have been set anew after it was met.
        if (self && !error && self->m_state != State::Closed && Clock::now() >= self->m_timer.expiry())
            self->atDeadline();
    });
}

void HttpConnection::atDeadline()
{
    switch (m_state) {
    case State::Idle:
    case State::ReadingHead:
    case State::ReadingBody: {
        // The reading that is under way ends with it, and goes on from there.
        m_late = true;
        Error ignored;
        m_socket.cancel(ignored);
        break;
    }
    case State::Working:
    case State::Closed:
        break;
    default:
        close();
    }
}

} // namespace server
