// SPDX-License-Identifier: GPL-3.0-or-later
// A yardstick: the HTTP library that the server stands on, answering every request with the bytes of a file and doing
// nothing else. Usage: BenchBareServer FILE. Prints "listening on PORT"; ends with its standard input.
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using Tcp = asio::ip::tcp;

constexpr std::uint64_t maxBody = 1 << 21;

class Connection : public std::enable_shared_from_this<Connection>
{
public:
    Connection(Tcp::socket socket, const std::string& body)
        : m_stream(std::move(socket))
        , m_body(body)
    {
        m_stream.socket().set_option(Tcp::no_delay(true));
    }

    void read()
    {
        m_parser.emplace();
        m_parser->body_limit(maxBody);
        http::async_read(m_stream, m_buffer, *m_parser,
                         [self = shared_from_this()](beast::error_code error, std::size_t) {
                             if (!error)
                                 self->write();
                         });
    }

private:
    void write()
    {
        m_reply = {};
        m_reply.version(11);
        m_reply.result(http::status::ok);
        m_reply.set(http::field::content_type, "application/json");
        m_reply.keep_alive(m_parser->get().keep_alive());
        m_reply.body() = {const_cast<char*>(m_body.data()), m_body.size()};
        m_reply.prepare_payload();
        http::async_write(m_stream, m_reply, [self = shared_from_this()](beast::error_code error, std::size_t) {
            if (!error && self->m_reply.keep_alive())
                self->read();
        });
    }

    beast::tcp_stream m_stream;
    beast::flat_buffer m_buffer;
    std::optional<http::request_parser<http::string_body>> m_parser;
    http::response<http::span_body<char>> m_reply;
    const std::string& m_body;
};

void accept(Tcp::acceptor& acceptor, const std::string& body)
{
    acceptor.async_accept([&acceptor, &body](beast::error_code error, Tcp::socket socket) {
        if (!error)
            std::make_shared<Connection>(std::move(socket), body)->read();
        accept(acceptor, body);
    });
}

} // namespace

// What is thrown ends the yardstick, and says why.
int main(int argc, char* argv[]) // NOLINT(bugprone-exception-escape)
{
    if (argc != 2)
        return 2;
    std::ifstream file(argv[1], std::ios::binary);
    const std::string body{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file.good() && !file.eof())
        return 1;

    const int threads = int(std::max(1u, std::thread::hardware_concurrency()));
    asio::io_context context(threads);
    Tcp::acceptor acceptor(context, Tcp::endpoint(asio::ip::address_v4::loopback(), 0));
    accept(acceptor, body);
    std::printf("listening on %d\n", int(acceptor.local_endpoint().port()));
    std::fflush(stdout);
    std::vector<std::thread> pool;
    pool.reserve(size_t(threads));
    for (int i = 0; i < threads; ++i)
        pool.emplace_back([&context] { context.run(); });
    char ignored[64];
    while (::read(STDIN_FILENO, ignored, sizeof ignored) > 0) {
    }
    context.stop();
    for (std::thread& thread : pool)
        thread.join();
    return 0;
}
