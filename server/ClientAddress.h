// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

namespace server {

/// What is taken for one address when those who ask are told apart.
class ClientAddress
{
public:
    ClientAddress() = delete;

    /// An IPv4 address in its usual form, also if it is wrapped into an IPv6 one; of another IPv6 address the first 64
    /// bits, as whoever has one has all that begin with them. A text that is no address stands for itself.
    static QByteArray network(const QByteArray& numericAddress);
};

} // namespace server
