// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/HttpReplyHead.h"

// Boost's texts print themselves on it.
#include <ostream>

#include <boost/beast/http/status.hpp>

#include <algorithm>

namespace server {

namespace {

bool breaksTheHead(const QByteArray& text)
{
    return std::any_of(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
}

} // namespace

QByteArray HttpReplyHead::bytes(const Reply& reply, bool close)
{
    const auto reason = boost::beast::http::obsolete_reason(boost::beast::http::status(unsigned(reply.status)));
    QByteArray head =
        "HTTP/1.1 " + QByteArray::number(reply.status) + ' ' + QByteArray(reason.data(), int(reason.size())) + "\r\n";
    const auto add = [&head](const QByteArray& name, const QByteArray& value) {
        if (!name.isEmpty() && !breaksTheHead(name) && !breaksTheHead(value))
            head += name + ": " + value + "\r\n";
    };
    for (const auto& header : reply.headers)
        add(header.first, header.second);
    add("Content-Type", reply.contentType);
    add("Content-Length", QByteArray::number(reply.body.size()));
    if (close)
        add("Connection", "close");
    return head + "\r\n";
}

} // namespace server
