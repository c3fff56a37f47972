// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/DeviceCommand.h"

namespace server {

QString DeviceCommand::known(const QString& name)
{
    if (name == QLatin1String("SELFRECIPE"))
        return QStringLiteral("SELF_RECIPE");
    for (const char* command : {"RECORD", "SELF_RECORD", "AUTOSPECTRUM", "RECIPE", "SELF_RECIPE"}) {
        if (name == QLatin1String(command))
            return name;
    }
    return QString();
}

bool DeviceCommand::playsRecipe(const QString& known)
{
    return known.endsWith(QLatin1String("RECIPE"));
}

} // namespace server
