// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/HttpSettings.h"

#include <QString>

#include <memory>

namespace server {

class RequestHandler;

/// Takes HTTP/1.1 connections, with or without TLS, and hands each request to a RequestHandler, on a pool of threads.
///
/// One thread more reads and writes all connections. A thread of the pool is only taken by a request that is complete,
/// until its reply is made, so that no client can hold it by sending or reading slowly. What a client may send is
/// bounded: `maxHeadBytes` for the request line and the headers, `maxBodyBytes` for the body (413 above it), and times
/// by HttpSettings. A body has to come with a Content-Length (411) and uncompressed (415). Of each connection one
/// request at a time is read and kept.
class HttpServer
{
public:
    static constexpr int maxHeadBytes = 64 * 1024;
    static constexpr int maxBodyBytes = 1024 * 1024;
    static constexpr int threads = 32;

    /// The handler has to outlive the server. No thread is started before run().
    explicit HttpServer(RequestHandler& handler, const HttpSettings& settings = HttpSettings());
    ~HttpServer();

    /// Connections are accepted by the system from here on, and served by run(). Port 0 takes any free one. On failure
    /// `error` says why; without TLS an address that other machines reach is refused unless the settings allow it.
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
