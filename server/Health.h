// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/RequestHandler.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace server {

class Database;

/// Answers "/health": 200 if the database answers a statement, else 503. It is asked on a thread of its own, which may
/// wait for an engine that hangs as long as it likes; the answer comes after `limit` at the latest.
class Health : public RequestHandler
{
public:
    static constexpr std::chrono::milliseconds usualLimit{3000};

    /// Both have to outlive this object. The destructor waits for a statement that is under way.
    Health(RequestHandler& next, Database& database, std::chrono::milliseconds limit = usualLimit);
    ~Health() override;

    Reply handle(const Request& request) override;
    Reply refuse(int status, const QByteArray& acceptLanguage) override;

private:
    /// Within the limit, from any thread.
    bool databaseAnswers();
    void run();
    bool ask();

    RequestHandler& m_next;
    Database& m_database;
    std::chrono::milliseconds m_limit;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_answered;
    bool m_stopping = false;
    bool m_wanted = false;
    bool m_asking = false;
    quint64 m_answers = 0; ///< how many there have been
    bool m_sound = false;  ///< the last one
    bool m_failing = false;
    std::thread m_thread; ///< started by the first who asks
};

} // namespace server
