// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <chrono>
#include <memory>

namespace server {

class RequestHandler;

/// Takes HTTP/1.1 connections and hands each request to a RequestHandler, on a pool of threads.
///
/// What a client may send is bounded: `maxHeadBytes` for the request line and the headers, `maxBodyBytes` for the body
/// (413 above it), and `requestSeconds` for the whole of it. A body has to come with a Content-Length (411) and
/// uncompressed (415).
class HttpServer
{
public:
    static constexpr int maxHeadBytes = 64 * 1024;
    static constexpr int maxBodyBytes = 1024 * 1024;
    static constexpr int requestSeconds = 30;
    static constexpr int keepAliveSeconds = 5;
    static constexpr int threads = 32;

    /// The handler has to outlive the server. `requestTime` is what a client has to send a request.
    explicit HttpServer(RequestHandler& handler,
                        std::chrono::milliseconds requestTime = std::chrono::seconds(requestSeconds));
    ~HttpServer();

    /// Connections are accepted by the system from here on, and served by run(). Port 0 takes any free one. On failure
    /// `error` says why.
    bool bind(const QString& host, int port, QString& error);
    /// 0 before bind().
    int port() const;

    /// Serves until stop() is called, then answers the requests that have been read and returns. False if listening
    /// broke down. Once, after bind().
    bool run();
    /// From any thread, as often as wanted, also before run().
    void stop();

private:
    class Impl;

    std::unique_ptr<Impl> m_impl;
};

} // namespace server
