// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <mutex>

namespace server {

/// Writes whole lines to a descriptor, each with one call of the system, from any thread. Nobody is held up by a reader
/// who does not read: after a short wait lines are dropped until there is room again, and their number is told then.
class LineWriter
{
public:
    /// With its line break; what is longer is cut.
    static constexpr int maxLineBytes = 2048;

    /// Does not own the descriptor. From here on the program does not end when it writes to a pipe that nobody reads.
    explicit LineWriter(int descriptor);
    LineWriter(const LineWriter&) = delete;
    LineWriter& operator=(const LineWriter&) = delete;

    /// The one of the standard error.
    static LineWriter& errors();

    /// The line without its break; control characters in it become blanks. False if it was dropped.
    bool write(const QByteArray& line);
    /// A line about something that failed, with the id of the request that it happened in, if in one. No text of a
    /// client belongs into it.
    bool failure(const QByteArray& what, const QByteArray& requestId = QByteArray());
    /// Lines since the start.
    quint64 dropped();

private:
    bool isReady();

    int m_descriptor;
    std::mutex m_mutex;
    bool m_stuck = false; ///< the last line found no room
    bool m_torn = false;  ///< the last line was written in part
    quint64 m_dropped = 0;
    quint64 m_untold = 0; ///< dropped and not told yet
};

} // namespace server
