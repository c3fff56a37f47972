// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

namespace server {

/// Numeric addresses of machines.
class IpAddress
{
public:
    /// The one way to write this address, so that equal addresses are equal texts: IPv6 in its short form without a
    /// zone, and as IPv4 what is IPv4 within IPv6. Empty if it is no numeric address; names are none.
    static QByteArray normalized(const QByteArray& text);
};

} // namespace server
