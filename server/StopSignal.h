// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <thread>

namespace server {

/// Turns SIGINT and SIGTERM into a call, and SIGHUP into another one. To be made before any other thread is started, so
/// that no thread but its own takes these signals.
class StopSignal
{
public:
    /// Both run on a thread of its own, `stop` once at most and last. Without `reload`, SIGHUP is left alone.
    explicit StopSignal(std::function<void()> stop, std::function<void()> reload = {});
    /// Ends that thread; the signals stay blocked.
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

private:
    std::thread m_thread;
};

} // namespace server
