// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace server {

/// One who logs in and owns patients.
struct Practitioner
{
    QString id;
    QString name; ///< for the login, unique
    QString fullName;
    QString language; ///< two lower-case letters
    QString country;  ///< two upper-case letters

    /// The name that records bear.
    const QString& displayName() const { return fullName.isEmpty() ? name : fullName; }
};

} // namespace server
