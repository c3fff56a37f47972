// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/LineWriter.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>

#include <poll.h>
#include <unistd.h>

namespace server {

namespace {

constexpr int patienceMilliseconds = 100;

// Pipes take this much as a whole or not at all; a line may follow a remark about the dropped ones.
static_assert(2 * LineWriter::maxLineBytes <= PIPE_BUF);

const QByteArray program = QByteArrayLiteral("quelmar-server: ");

} // namespace

LineWriter::LineWriter(int descriptor)
    : m_descriptor(descriptor)
{
    std::signal(SIGPIPE, SIG_IGN);
}

LineWriter& LineWriter::errors()
{
    static LineWriter writer(STDERR_FILENO);
    return writer;
}

bool LineWriter::write(const QByteArray& line)
{
    QByteArray text = line.left(maxLineBytes - 1);
    std::replace_if(
        text.begin(), text.end(), [](char c) { return uchar(c) < 0x20 || c == 0x7f; }, ' ');
    text += '\n';

    const std::lock_guard<std::mutex> lock(m_mutex);
    QByteArray all;
    if (m_torn)
        all += '\n';
    if (m_untold > 0)
        all += program + QByteArray::number(m_untold) + " lines of the log were dropped\n";
    all += text;
    ssize_t written = -1;
    if (isReady()) {
        do
            written = ::write(m_descriptor, all.constData(), size_t(all.size()));
        while (written < 0 && errno == EINTR);
    }
    m_stuck = written < 0;
    if (written > 0)
        m_torn = written < all.size();
    if (written == all.size()) {
        m_untold = 0;
        return true;
    }
    ++m_dropped;
    ++m_untold;
    return false;
}

bool LineWriter::failure(const QByteArray& what, const QByteArray& requestId)
{
    return write(requestId.isEmpty() ? program + what : program + "id=" + requestId + ' ' + what);
}

quint64 LineWriter::dropped()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_dropped;
}

bool LineWriter::isReady()
{
    // Not each line is to wait for a reader who has stopped.
    pollfd entry{m_descriptor, POLLOUT, 0};
    return poll(&entry, 1, m_stuck ? 0 : patienceMilliseconds) > 0 && (entry.revents & POLLOUT) != 0;
}

} // namespace server
