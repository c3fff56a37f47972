// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace server {

/// The names of the commands that a remote device takes, in the form in which they are stored and shown.
class DeviceCommand
{
public:
    DeviceCommand() = delete;

    /// Empty for an unknown command. "SELFRECIPE", as the client sends it, is "SELF_RECIPE", as it reads it.
    static QString known(const QString& name);
    /// It plays the recipe of a record; every other known command ends with a new record.
    static bool playsRecipe(const QString& known);
};

} // namespace server
