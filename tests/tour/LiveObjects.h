// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMap>
#include <QString>

/// Every QObject of the process that was made after watch() and still lives.
namespace LiveObjects {

/// To be called before the application is made.
void watch();

int count();
/// How many timers run for the objects of the calling thread.
int timers();
/// How many objects of the calling thread there are of each class.
QMap<QString, int> classes();

} // namespace LiveObjects
