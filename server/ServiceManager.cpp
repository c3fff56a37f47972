// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/ServiceManager.h"

#include <QtGlobal>

#include <cstddef>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace server {

bool ServiceManager::tell(const QByteArray& state)
{
    const QByteArray name = qgetenv("NOTIFY_SOCKET");
    sockaddr_un address{};
    if (name.isEmpty() || size_t(name.size()) >= sizeof address.sun_path)
        return false;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.constData(), size_t(name.size()));
    // Names that are in no file system are written with "@" for the zero they begin with.
    if (address.sun_path[0] == '@')
        address.sun_path[0] = '\0';
    const int descriptor = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return false;
    const ssize_t sent = ::sendto(descriptor, state.constData(), size_t(state.size()), MSG_NOSIGNAL | MSG_DONTWAIT,
                                  reinterpret_cast<const sockaddr*>(&address),
                                  socklen_t(offsetof(sockaddr_un, sun_path) + size_t(name.size())));
    ::close(descriptor);
    return sent == state.size();
}

} // namespace server
