// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/ClientDoor.h"

#include <QUrl>

#include <arpa/inet.h>
#include <condition_variable>
#include <cstring>
#include <dlfcn.h>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>

namespace {

std::mutex mutex;
std::condition_variable opened;
quint16 target = 0;
bool held = false;

quint16 builtInPort()
{
    static const auto port = static_cast<quint16>(QUrl(QString::fromLatin1(QUELMAR_API_URL)).port());
    return port;
}

/// A port that is taken, so that nobody else gets it, but has no listener.
quint16 deafPort()
{
    static const quint16 port = [] {
        const int socketHandle = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (bind(socketHandle, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
            getsockname(socketHandle, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
            qFatal("No port to be refused at");
        }
        return ntohs(address.sin_port);
    }();
    return port;
}

bool isBuiltIn(const sockaddr* address, socklen_t size)
{
    if (address->sa_family != AF_INET || size < sizeof(sockaddr_in)) {
        return false;
    }
    const auto* const inet = reinterpret_cast<const sockaddr_in*>(address);
    return ntohl(inet->sin_addr.s_addr) == INADDR_LOOPBACK && ntohs(inet->sin_port) == builtInPort();
}

} // namespace

void ClientDoor::leadTo(quint16 port)
{
    const std::lock_guard<std::mutex> lock(mutex);
    target = port;
}

void ClientDoor::leadNowhere()
{
    leadTo(deafPort());
}

void ClientDoor::hold()
{
    const std::lock_guard<std::mutex> lock(mutex);
    held = true;
}

void ClientDoor::open()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        held = false;
    }
    opened.notify_all();
}

extern "C" int connect(int socketHandle, const sockaddr* address, socklen_t size)
{
    using Connect = int (*)(int, const sockaddr*, socklen_t);
    static const auto next = reinterpret_cast<Connect>(dlsym(RTLD_NEXT, "connect"));
    if (!isBuiltIn(address, size)) {
        return next(socketHandle, address, size);
    }
    sockaddr_in led{};
    std::memcpy(&led, address, sizeof led);
    {
        std::unique_lock<std::mutex> lock(mutex);
        opened.wait(lock, [] { return !held; });
        led.sin_port = htons(target);
    }
    return next(socketHandle, reinterpret_cast<const sockaddr*>(&led), sizeof led);
}
