// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <condition_variable>
#include <memory>
#include <mutex>

namespace server {

/// Who may hash a password now. A hash takes 64 MiB and a processor for a while, so that few are made at once, and few
/// wait for their turn: a flood of logins is to occupy neither the memory nor the threads that others need. Usable on
/// any thread.
class HashingQueue
{
public:
    static constexpr int atOnce = 2;
    /// A fourth of the threads that answer requests, and less than a second of waiting.
    static constexpr int maxWaiting = 8;

    struct Leave
    {
        void operator()(HashingQueue* queue) const { queue->leave(); }
    };
    /// Ends with the object.
    using Turn = std::unique_ptr<HashingQueue, Leave>;

    /// The memory is the whole process's, and so is the queue for it.
    static HashingQueue& ofProcess();

    HashingQueue() = default;
    HashingQueue(const HashingQueue&) = delete;
    HashingQueue& operator=(const HashingQueue&) = delete;

    /// Waits until it is the caller's turn, first come, first served. Null, at once, if as many wait as may.
    Turn take();
    int waiting() const;

private:
    void leave();

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    quint64 m_came = 0; ///< each gets a number, and enters by it
    quint64 m_entered = 0;
    int m_running = 0;
};

} // namespace server
