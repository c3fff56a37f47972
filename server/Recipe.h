// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

namespace server {

/// The markers that were chosen for a record.
struct Recipe
{
    QStringList markerIds; ///< in the order in which they are played
    int duration = 0;      ///< minutes; 0 if none was chosen yet
};

} // namespace server
