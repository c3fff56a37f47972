// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Health.h"

#include "server/Database.h"
#include "server/LineWriter.h"
#include "server/Messages.h"
#include "server/Wire.h"

#include <QJsonObject>

namespace server {

namespace {

const QByteArray place = QByteArrayLiteral("/health");

} // namespace

Health::Health(RequestHandler& next, Database& database, std::chrono::milliseconds limit)
    : m_next(next)
    , m_database(database)
    , m_limit(limit)
{
}

Health::~Health()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_one();
    if (m_thread.joinable())
        m_thread.join();
}

Reply Health::handle(const Request& request)
{
    if (request.path != place)
        return m_next.handle(request);
    const QString language = Messages::language(request.header("accept-language"));
    Reply reply;
    if (request.method != "GET")
        reply = Wire::message(405, Messages::text(Messages::MethodNotAllowed, language));
    else if (databaseAnswers())
        reply = Wire::json(QJsonObject{{QStringLiteral("status"), QStringLiteral("ok")}});
    else
        reply = Wire::message(503, Messages::text(Messages::StoreUnavailable, language));
    reply.pattern = place;
    return reply;
}

Reply Health::refuse(int status, const QByteArray& acceptLanguage)
{
    return m_next.refuse(status, acceptLanguage);
}

bool Health::databaseAnswers()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_thread.joinable())
        m_thread = std::thread([this] { run(); });
    const quint64 before = m_answers;
    // Those who ask at the same time share one statement.
    if (!m_asking && !m_wanted) {
        m_wanted = true;
        m_wake.notify_one();
    }
    return m_answered.wait_for(lock, m_limit, [this, before] { return m_answers != before; }) && m_sound;
}

void Health::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_wanted || m_stopping; });
        if (m_stopping)
            return;
        m_wanted = false;
        m_asking = true;
        lock.unlock();
        const bool sound = ask();
        lock.lock();
        m_asking = false;
        m_sound = sound;
        ++m_answers;
        m_answered.notify_all();
    }
}

bool Health::ask()
{
    try {
        // Of a table: an embedded engine answers what needs none without a look at its file.
        m_database.run(QStringLiteral("SELECT MAX(version) FROM schema_version"));
        m_failing = false;
        return true;
    } catch (const DatabaseError& error) {
        // Not with each probe while it lasts.
        if (!m_failing)
            LineWriter::errors().failure(QByteArray("the database does not answer: ") + error.what());
        m_failing = true;
    }
    return false;
}

} // namespace server
