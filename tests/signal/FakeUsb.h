// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

/// A bus with at most one sensor on it, for programs that only need to have one or none. It stands in for the whole USB
/// library in each program that is linked with FakeUsb.cpp.
namespace FakeUsb {

void plug(const QByteArray& serial);
void unplug();

} // namespace FakeUsb
