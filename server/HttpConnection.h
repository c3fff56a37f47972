// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/HttpSettings.h"
#include "server/Reply.h"
#include "server/Request.h"
#include "server/RequestHead.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>

#include <array>
#include <list>
#include <memory>
#include <optional>

namespace server {

/// One client: takes its requests one after the other, each with a deadline, and writes the replies. It never waits:
/// all of it runs on the thread of its socket's executor, and lasts as long as something is under way.
class HttpConnection : public std::enable_shared_from_this<HttpConnection>
{
public:
    /// What a connection belongs to; outlives it.
    class Owner
    {
    public:
        virtual ~Owner() = default;

        /// Answers by reply(), later, on the connection's thread. The parts of a form are still within the body.
        virtual void handle(const std::shared_ptr<HttpConnection>& connection, Request request) = 0;
        virtual Reply refusal(int status, const QByteArray& acceptLanguage) = 0;
        /// It waits for a request, and may be closed to make room.
        virtual void idle(HttpConnection& connection) = 0;
        virtual void busy(HttpConnection& connection) = 0;
        /// It takes no place any more; once.
        virtual void closed(HttpConnection& connection) = 0;
        /// No further request is taken.
        virtual bool stopping() const = 0;
    };

    using Clock = std::chrono::steady_clock;
    using Socket = boost::asio::ip::tcp::socket;

    /// `address` is the client's, `session` null for plain HTTP, and otherwise owned by the connection from here on.
    HttpConnection(Owner& owner, const HttpSettings& settings, Socket socket, const QByteArray& address, SSL* session);
    ~HttpConnection();
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;

    const QByteArray& address() const { return m_address; }

    void start();
    void reply(const Reply& reply);
    /// What was read is still answered, within a time.
    void stop();
    /// At once.
    void close();

private:
    using Error = boost::system::error_code;

    enum class State
    {
        Handshaking,
        Idle,
        ReadingHead,
        ReadingBody,
        Continuing, ///< asks for the body
        Working,
        Writing,
        Lingering, ///< drops what still comes, so that closing does not destroy the reply on its way
        Closed,
    };

    void awaitRequest(std::chrono::milliseconds time);
    void read();
    void afterRead(const Error& error, size_t size);
    /// The client, or the deadline, ended a request or the wait for one.
    void cutShort();
    void readHead();
    void takeHead(int size);
    void askForBody();
    void readBody();
    void dispatch();
    QByteArray sender() const;
    void refuse(int status);
    void write(const Reply& reply, bool close);
    void afterWrite(bool close);
    void linger();
    void drainTls();
    void drain();

    void setDeadline(Clock::time_point time);
    void atDeadline();

    Owner& m_owner;
    const HttpSettings& m_settings;
    const QByteArray m_address;
    Socket m_socket;
    std::optional<boost::asio::ssl::stream<Socket&>> m_tls;
    boost::asio::steady_timer m_timer;
    State m_state = State::Idle;
    bool m_late = false; ///< the deadline ended the reading

    std::array<char, 16 * 1024> m_chunk;
    QByteArray m_input;         ///< read, but not used yet
    int m_searched = 0;         ///< where the end of the head is not
    bool m_lineChecked = false; ///< the request line
    RequestHead m_head;
    QByteArray m_body;
    QByteArray m_output; ///< the head of the reply, or with a short body all of it
    QByteArray m_outputBody;
    qint64 m_unread = 0; ///< of a body that is not wanted
    qint64 m_dropped = 0;
};

} // namespace server
