// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/RequestHandler.h"

#include <QDateTime>

#include <optional>

namespace server {

class LineWriter;

/// Names each request with a random id, which the answer bears as "X-Request-ID", and writes a line about it:
///
///     time=2021-03-01T08:15:30.125Z id=5e0c... method=GET path=/record/{p} status=200 ms=3.207 bytes=512
///
/// Nothing that a client has sent stands in it: the path is the pattern of the operation, and what is none of the known
/// methods or paths is "-".
class RequestLog : public RequestHandler
{
public:
    enum class Level
    {
        Requests,
        Failures, ///< only those answered with a status of 400 or more
        None,
    };

    struct Entry
    {
        QDateTime time; ///< when it was answered
        QByteArray id;
        QByteArray method;  ///< empty if unknown
        QByteArray pattern; ///< empty if unknown
        int status = 0;
        std::optional<double> milliseconds; ///< since its arrival
        int bytes = 0;                      ///< of the answer's body
    };

    /// Both have to outlive this object.
    RequestLog(RequestHandler& next, Level level, LineWriter& output);

    Reply handle(const Request& request) override;
    Reply refuse(int status, const QByteArray& acceptLanguage) override;

    static QByteArray line(const Entry& entry);

private:
    void finish(Entry entry, Reply& reply);

    RequestHandler& m_next;
    Level m_level;
    LineWriter& m_output;
};

} // namespace server
