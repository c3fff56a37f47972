// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/RequestLog.h"

#include "server/LineWriter.h"
#include "server/Secrets.h"

namespace server {

namespace {

QByteArray orDash(const QByteArray& text)
{
    return text.isEmpty() ? QByteArrayLiteral("-") : text;
}

} // namespace

RequestLog::RequestLog(RequestHandler& next, Level level, LineWriter& output)
    : m_next(next)
    , m_level(level)
    , m_output(output)
{
}

Reply RequestLog::handle(const Request& request)
{
    Request named = request;
    named.id = Secrets::randomHex();
    Reply reply = m_next.handle(named);
    Entry entry;
    entry.id = named.id;
    entry.method = request.knownMethod();
    entry.pattern = reply.pattern;
    entry.milliseconds =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - request.arrived).count();
    finish(entry, reply);
    return reply;
}

Reply RequestLog::refuse(int status, const QByteArray& acceptLanguage)
{
    Reply reply = m_next.refuse(status, acceptLanguage);
    Entry entry;
    entry.id = Secrets::randomHex();
    finish(entry, reply);
    return reply;
}

QByteArray RequestLog::line(const Entry& entry)
{
    return "time=" + entry.time.toUTC().toString(Qt::ISODateWithMs).toLatin1() + " id=" + orDash(entry.id) +
           " method=" + orDash(entry.method) + " path=" + orDash(entry.pattern) +
           " status=" + QByteArray::number(entry.status) +
           " ms=" + (entry.milliseconds ? QByteArray::number(*entry.milliseconds, 'f', 3) : QByteArrayLiteral("-")) +
           " bytes=" + QByteArray::number(entry.bytes);
}

void RequestLog::finish(Entry entry, Reply& reply)
{
    reply.headers.append({QByteArrayLiteral("X-Request-ID"), entry.id});
    if (m_level == Level::None || (m_level == Level::Failures && reply.status < 400))
        return;
    entry.time = QDateTime::currentDateTimeUtc();
    entry.status = reply.status;
    entry.bytes = reply.body.size();
    m_output.write(line(entry));
}

} // namespace server
