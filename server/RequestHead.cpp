// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/RequestHead.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>

#include <algorithm>

namespace server {

namespace {

namespace http = boost::beast::http;

using Parser = http::request_parser<http::empty_body>;

QByteArray bytesOf(boost::beast::string_view text)
{
    return QByteArray(text.data(), int(text.size()));
}

bool isDecimal(const QByteArray& text)
{
    return !text.isEmpty() && text.size() <= 18 &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

QByteArray mediaType(const QByteArray& contentType)
{
    return contentType.mid(0, contentType.indexOf(';')).trimmed().toLower();
}

/// The value of a header in a head that could not be read; the name in lower case.
QByteArray scanned(const QByteArray& bytes, const QByteArray& name)
{
    int at = 0;
    while ((at = bytes.indexOf('\n', at) + 1) > 0) {
        if (bytes.mid(at, name.size() + 1).toLower() == name + ':') {
            const int from = at + name.size() + 1;
            return bytes.mid(from, bytes.indexOf('\r', from) - from).trimmed();
        }
    }
    return QByteArray();
}

bool hasLongLine(const QByteArray& bytes)
{
    // The request line has a limit of its own.
    int from = bytes.indexOf('\n') + 1;
    for (int end = bytes.indexOf('\n', from); end >= 0; from = end + 1, end = bytes.indexOf('\n', from)) {
        if (end - from > RequestHead::maxLineBytes)
            return true;
    }
    return false;
}

/// RFC 9112, 5.2: what such a header says depends on who reads it.
bool hasFoldedLine(const QByteArray& bytes)
{
    return bytes.contains("\r\n ") || bytes.contains("\r\n\t");
}

boost::beast::error_code feed(Parser& parser, const QByteArray& bytes)
{
    // What is too large is refused by ourselves, and with a status of its own.
    parser.header_limit(RequestHead::maxBytes);
    parser.body_limit(boost::none);
    boost::beast::error_code error;
    // A body is not the parser's business.
    parser.skip(true);
    parser.put(boost::asio::buffer(bytes.constData(), size_t(bytes.size())), error);
    return error;
}

/// Of a head that the parser took.
int objection(const RequestHead& head, const http::fields& fields)
{
    static const QList<QByteArray> methods{"GET", "HEAD", "POST", "PUT", "PATCH", "DELETE", "OPTIONS"};
    if (!methods.contains(head.method) || head.target.count('?') > 1)
        return 400;
    if (head.target.size() > RequestHead::maxLineBytes)
        return 414;
    const auto lengths = fields.count(http::field::content_length);
    const QByteArray length = head.headers.value("content-length");
    if (fields.count(http::field::transfer_encoding) > 0)
        return 411;
    if (lengths > 1 || (lengths == 1 && !isDecimal(length)))
        return 400;
    // One of two would count here, and perhaps the other one for a proxy.
    if (fields.count(http::field::authorization) > 1)
        return 400;
    const bool form = mediaType(head.headers.value("content-type")) == "application/x-www-form-urlencoded";
    if (head.length > (form ? RequestHead::maxFormBytes : RequestHead::maxBodyBytes))
        return 413;
    return head.headers.contains("content-encoding") ? 415 : 0;
}

} // namespace

bool RequestHead::takesBody() const
{
    static const QList<QByteArray> methods{"POST", "PUT", "PATCH", "DELETE"};
    return methods.contains(method);
}

bool RequestHead::isMultipart() const
{
    return mediaType(headers.value("content-type")) == "multipart/form-data";
}

RequestHead RequestHead::parse(const QByteArray& bytes)
{
    RequestHead head;
    Parser parser;
    const boost::beast::error_code error =
        hasLongLine(bytes) || hasFoldedLine(bytes) ? make_error_code(http::error::bad_value) : feed(parser, bytes);
    if (error || !parser.is_header_done()) {
        head.acceptLanguage = scanned(bytes, "accept-language");
        // A transfer coding is refused as such, also where it contradicts a length.
        const bool length = error == http::error::bad_content_length || error == http::error::multiple_content_length ||
                            error == http::error::bad_transfer_encoding;
        head.refusal = length && !scanned(bytes, "transfer-encoding").isEmpty() ? 411 : 400;
        return head;
    }

    const auto& message = parser.get();
    head.method = bytesOf(message.method_string());
    head.target = bytesOf(message.target());
    for (const auto& field : message) {
        const QByteArray name = bytesOf(field.name_string()).toLower();
        const QByteArray value = bytesOf(field.value());
        if (name == "x-forwarded-for")
            head.forwardedFor = value;
        if (!head.headers.contains(name))
            head.headers.insert(name, value);
    }
    head.acceptLanguage = head.headers.value("accept-language");
    head.keepAlive = message.version() > 10 && message.keep_alive();
    head.expectsContinue = message.version() > 10 && head.headers.value("expect").toLower() == "100-continue";
    head.length = head.headers.value("content-length").toLongLong();
    head.refusal = objection(head, message.base());
    return head;
}

bool RequestHead::canStartWith(const QByteArray& line)
{
    Parser parser;
    // The parser would wait for more behind a bare line feed.
    return line.endsWith("\r\n") && feed(parser, line) == http::error::need_more;
}

} // namespace server
