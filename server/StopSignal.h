// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <thread>

namespace server {

/// Turns SIGINT and SIGTERM into a call. To be made before any other thread is started, so that no thread but its own
/// takes these signals.
class StopSignal
{
public:
    /// `stop` runs on a thread of its own, once at most.
    explicit StopSignal(std::function<void()> stop);
    /// Ends that thread; the signals stay blocked.
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

private:
    std::thread m_thread;
};

} // namespace server
