// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/LocalText.h"

namespace server {

bool LocalText::isRussian(const QString& language)
{
    if (!language.startsWith(QLatin1String("ru"), Qt::CaseInsensitive)) {
        return false;
    }
    return language.size() == 2 || language.at(2) == QLatin1Char('-') || language.at(2) == QLatin1Char('_');
}

} // namespace server
