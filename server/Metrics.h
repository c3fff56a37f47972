// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/RequestHandler.h"

#include <memory>

namespace server {

class Database;
class LineWriter;

/// Counts the requests of this process and shows the figures at "/metrics", in the text format of Prometheus. Labels
/// have few values: methods, patterns of paths, statuses and kinds of errors, never what a client has sent.
class Metrics : public RequestHandler
{
public:
    /// All have to outlive this object.
    Metrics(RequestHandler& next, const Database& database, LineWriter& log);
    ~Metrics() override;

    Reply handle(const Request& request) override;
    Reply refuse(int status, const QByteArray& acceptLanguage) override;

private:
    class Figures;

    Reply show(const Request& request) const;

    RequestHandler& m_next;
    std::unique_ptr<Figures> m_figures;
};

} // namespace server
