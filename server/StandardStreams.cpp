// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/StandardStreams.h"

#include <cerrno>
#include <initializer_list>

#include <fcntl.h>
#include <unistd.h>

namespace server {

void StandardStreams::ensure()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // The lowest free number is taken, which is this one.
        if (fcntl(stream, F_GETFD) < 0 && errno == EBADF && open("/dev/null", O_RDWR) != stream)
            return;
    }
}

} // namespace server
