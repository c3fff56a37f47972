// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

namespace server {

/// Whoever started the program and wants to know how it goes, such as systemd for a service of the type "notify".
class ServiceManager
{
public:
    ServiceManager() = delete;

    /// The program serves from here on.
    static bool tellReady() { return tell("READY=1"); }
    /// It has been told to end.
    static bool tellStopping() { return tell("STOPPING=1"); }

private:
    /// To the socket that NOTIFY_SOCKET names; false if there is none, or it takes nothing.
    static bool tell(const QByteArray& state);
};

} // namespace server
