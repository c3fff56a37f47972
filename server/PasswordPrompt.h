// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace server {

/// Where the commands "practitioner add" and "practitioner passwd" get the password from.
class PasswordPrompt
{
public:
    /// The first line of the file. False, with a reason, if it cannot be read.
    static bool fromFile(const QString& path, QString& password, QString& error);
    /// Asked twice, unseen, on a terminal; otherwise the first line of the standard input.
    static bool fromInput(QString& password, QString& error);
};

} // namespace server
