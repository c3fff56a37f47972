// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/HashingQueue.h"

namespace server {

HashingQueue& HashingQueue::ofProcess()
{
    static HashingQueue queue;
    return queue;
}

HashingQueue::Turn HashingQueue::take()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_came - m_entered >= maxWaiting)
        return nullptr;
    const quint64 number = m_came++;
    m_changed.wait(lock, [this, number] { return number == m_entered && m_running < atOnce; });
    ++m_entered;
    ++m_running;
    m_changed.notify_all();
    return Turn(this);
}

int HashingQueue::waiting() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return int(m_came - m_entered);
}

void HashingQueue::leave()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_running;
    }
    m_changed.notify_all();
}

} // namespace server
