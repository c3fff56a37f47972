// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/ClientAddress.h"

#include <algorithm>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>

namespace server {

namespace {

constexpr int networkBytes = 8;

QByteArray text(int family, const void* address)
{
    char buffer[INET6_ADDRSTRLEN] = "";
    inet_ntop(family, address, buffer, sizeof buffer);
    return QByteArray(buffer);
}

} // namespace

QByteArray ClientAddress::network(const QByteArray& numericAddress)
{
    in_addr four{};
    if (inet_pton(AF_INET, numericAddress.constData(), &four) == 1)
        return text(AF_INET, &four);
    // The name of an interface may stand behind a link-local address.
    const QByteArray bare = numericAddress.mid(0, numericAddress.indexOf('%'));
    in6_addr six{};
    if (inet_pton(AF_INET6, bare.constData(), &six) != 1)
        return numericAddress;
    if (IN6_IS_ADDR_V4MAPPED(&six)) {
        std::memcpy(&four, six.s6_addr + sizeof six.s6_addr - sizeof four, sizeof four);
        return text(AF_INET, &four);
    }
    std::fill(six.s6_addr + networkBytes, six.s6_addr + sizeof six.s6_addr, std::uint8_t(0));
    return text(AF_INET6, &six) + "/64";
}

} // namespace server
