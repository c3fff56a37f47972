// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/MultipartForm.h"

#include <QSet>

#include <algorithm>
#include <cstring>

namespace server {

namespace {

constexpr int maxBoundary = 70;
constexpr int maxNameBytes = 255;

bool isAlphanumeric(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// A sign of a token, as names of headers and of parameters are.
bool isTokenSign(char c)
{
    return isAlphanumeric(c) || (c != '\0' && std::strchr("!#$%&'*+-.^_`|~", c));
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

bool isControl(char c)
{
    return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7f;
}

/// "value; name=value; name="value"", as several headers are written.
class Parameters
{
public:
    explicit Parameters(const QByteArray& text)
        : m_text(text)
    {
        m_value = token().toLower();
        skipBlanks();
        while (m_sound && m_at < m_text.size()) {
            m_sound = m_text.at(m_at++) == ';';
            skipBlanks();
            const QByteArray name = token().toLower();
            m_sound = m_sound && !name.isEmpty() && m_at < m_text.size() && m_text.at(m_at++) == '=' &&
                      !m_parameters.contains(name);
            if (m_sound)
                m_parameters.insert(name, m_at < m_text.size() && m_text.at(m_at) == '"' ? quoted() : word());
            skipBlanks();
        }
    }

    /// Empty if the text is not sound; in lower case.
    QByteArray value() const { return m_sound ? m_value : QByteArray(); }
    /// Empty if there is none.
    QByteArray parameter(const QByteArray& name) const { return m_sound ? m_parameters.value(name) : QByteArray(); }

private:
    void skipBlanks()
    {
        while (m_at < m_text.size() && isBlank(m_text.at(m_at)))
            ++m_at;
    }

    QByteArray token()
    {
        const int from = m_at;
        while (m_at < m_text.size() && (isTokenSign(m_text.at(m_at)) || m_text.at(m_at) == '/'))
            ++m_at;
        return m_text.mid(from, m_at - from);
    }

    /// More than a token may hold is common for boundaries, and harmless.
    QByteArray word()
    {
        const int from = m_at;
        while (m_at < m_text.size() && m_text.at(m_at) != ';' && m_text.at(m_at) != '"' && !isBlank(m_text.at(m_at)))
            ++m_at;
        m_sound = m_at > from;
        return m_text.mid(from, m_at - from);
    }

    QByteArray quoted()
    {
        QByteArray value;
        for (++m_at; m_at < m_text.size(); ++m_at) {
            if (m_text.at(m_at) == '"') {
                ++m_at;
                return value;
            }
            if (m_text.at(m_at) == '\\' && m_at + 1 < m_text.size())
                ++m_at;
            value.append(m_text.at(m_at));
        }
        m_sound = false;
        return QByteArray();
    }

    const QByteArray m_text;
    int m_at = 0;
    bool m_sound = true;
    QByteArray m_value;
    QHash<QByteArray, QByteArray> m_parameters;
};

/// The boundary of the content type; empty if there is none that is allowed.
QByteArray boundaryOf(const QByteArray& contentType)
{
    const Parameters parameters(contentType);
    QByteArray boundary = parameters.parameter("boundary");
    if (parameters.value() != "multipart/form-data" || boundary.size() > maxBoundary || boundary.endsWith(' '))
        return QByteArray();
    for (const char c : qAsConst(boundary)) {
        if (!isAlphanumeric(c) && (c == '\0' || !std::strchr("'()+_,-./:=? ", c)))
            return QByteArray();
    }
    return boundary;
}

bool needsDecoding(const QByteArray& encoding)
{
    return encoding != "binary" && encoding != "8bit" && encoding != "7bit";
}

/// The name of a part from its headers, each with its line break; empty if they are not sound.
QByteArray nameOf(const QByteArray& head)
{
    QHash<QByteArray, QByteArray> headers;
    for (int from = 0; from < head.size();) {
        const int end = head.indexOf("\r\n", from);
        const QByteArray line = head.mid(from, end - from);
        from = end + 2;
        const int colon = line.indexOf(':');
        const QByteArray name = line.left(colon).toLower();
        if (colon < 1 || headers.contains(name) || !std::all_of(name.begin(), name.end(), isTokenSign) ||
            std::any_of(line.begin(), line.end(), isControl))
            return QByteArray();
        headers.insert(name, line.mid(colon + 1).trimmed());
    }
    const QByteArray encoding = headers.value("content-transfer-encoding", "binary").toLower();
    const Parameters disposition(headers.value("content-disposition"));
    if (disposition.value() != "form-data" || needsDecoding(encoding))
        return QByteArray();
    const QByteArray name = disposition.parameter("name");
    return name.size() <= maxNameBytes ? name : QByteArray();
}

} // namespace

std::optional<QVector<Request::Part>> MultipartForm::parse(const QByteArray& contentType, const QByteArray& body)
{
    const QByteArray boundary = boundaryOf(contentType);
    const QByteArray opening = "--" + boundary;
    if (boundary.isEmpty() || !body.startsWith(opening))
        return std::nullopt;
    const QByteArray delimiter = "\r\n" + opening;
    QVector<Request::Part> parts;
    QSet<QByteArray> names;
    int at = opening.size();
    for (;;) {
        const bool last = body.mid(at, 2) == "--";
        if (last)
            at += 2;
        while (at < body.size() && isBlank(body.at(at)))
            ++at;
        if (last)
            break;
        if (body.mid(at, 2) != "\r\n")
            return std::nullopt;
        at += 2;

        // An empty line ends the head, also at its very beginning.
        const QByteArray start = body.mid(at, maxPartHeadBytes);
        const int end = start.startsWith("\r\n") ? -2 : start.indexOf("\r\n\r\n");
        const QByteArray name = end > 0 ? nameOf(start.left(end + 2)) : QByteArray();
        if (name.isEmpty() || names.contains(name) || parts.size() == maxParts)
            return std::nullopt;
        at += end + 4;

        // The line break before a boundary belongs to the boundary.
        const int next = body.indexOf(delimiter, at);
        if (next < 0)
            return std::nullopt;
        parts.append({name, body.mid(at, next - at)});
        names.insert(name);
        at = next + delimiter.size();
    }
    // Nothing follows the last boundary but the end of its line.
    if (parts.isEmpty() || (at != body.size() && body.mid(at) != "\r\n"))
        return std::nullopt;
    return parts;
}

} // namespace server
