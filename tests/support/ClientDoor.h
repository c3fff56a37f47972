// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// Leads the connections that the client makes to its built-in address to a port of the test's choice, so that programs
/// with a server each run side by side. It stands in for the C library's connect() in each program that is linked with
/// ClientDoor.cpp; connections to anywhere else pass through.
namespace ClientDoor {

/// From now on connections go to this loopback port.
void leadTo(quint16 port);
/// From now on connections are refused, by the kernel: they go to a port where nobody listens.
void leadNowhere();

/// From now on the client waits in connect() until open(). It has to be opened before the program ends.
void hold();
void open();

} // namespace ClientDoor
