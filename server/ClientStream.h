// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <vector>

namespace server {

/// The bytes of one request on a connection, and the way back. It hands out no more bytes than allowed and waits no
/// longer than to its deadline, so that no client can hold a thread or fill the memory by sending slowly or endlessly.
class ClientStream : public httplib::Stream
{
public:
    using Clock = std::chrono::steady_clock;

    /// Does not own the socket. Once `stopping` is set, nothing more is waited for; it has to outlive the stream.
    ClientStream(socket_t socket, const std::atomic<bool>& stopping);

    /// Starts a request of at most this many bytes, which has to be there by the deadline.
    void begin(size_t bytes, Clock::time_point deadline);
    /// Allows exactly this many bytes more, in place of what was left.
    void allow(size_t bytes) { m_allowed = bytes; }
    /// What was allowed and not yet read.
    size_t allowed() const { return m_allowed; }
    /// True once reading or writing failed, or the deadline passed; the connection is of no more use.
    bool broken() const { return m_broken; }
    /// Bytes of a next request came along with the last one.
    bool hasBuffered() const { return m_position < m_end; }
    /// Reads and drops what the client still sends, for a while, so that closing does not destroy the reply on its way.
    void drain();

    bool is_readable() const override;
    bool is_writable() const override;
    /// 0 at the end of the stream; -1 after a failure, the deadline, or the allowed bytes.
    ssize_t read(char* to, size_t size) override;
    ssize_t write(const char* from, size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return m_socket; }

private:
    bool waitForInput(Clock::time_point deadline) const;

    socket_t m_socket;
    const std::atomic<bool>& m_stopping;
    std::vector<char> m_buffer;
    size_t m_position = 0;
    size_t m_end = 0;
    size_t m_allowed = 0;
    bool m_broken = false;
    Clock::time_point m_deadline;
};

} // namespace server
