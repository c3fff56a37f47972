// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/IpAddress.h"

#include <arpa/inet.h>

namespace server {

QByteArray IpAddress::normalized(const QByteArray& text)
{
    // What stands behind a zero byte would not be looked at.
    if (text.contains('\0'))
        return QByteArray();
    const QByteArray plain = text.contains(':') ? text.mid(0, text.indexOf('%')) : text;
    char written[INET6_ADDRSTRLEN];
    in_addr four{};
    if (inet_pton(AF_INET, plain.constData(), &four) == 1)
        return QByteArray(inet_ntop(AF_INET, &four, written, sizeof written));
    in6_addr six{};
    if (inet_pton(AF_INET6, plain.constData(), &six) != 1)
        return QByteArray();
    if (IN6_IS_ADDR_V4MAPPED(&six))
        return QByteArray(inet_ntop(AF_INET, six.s6_addr + 12, written, sizeof written));
    return QByteArray(inet_ntop(AF_INET6, &six, written, sizeof written));
}

} // namespace server
