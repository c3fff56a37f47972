// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace server {

class Database;

/// The numbered steps that lead from an empty database to the tables of this program. A step that was released is never
/// changed: what comes later is a new step.
class Migrations
{
public:
    /// The version that this program needs.
    static int latest();

    /// Runs the steps that are missing, all or none of them. False, with a reason, if the database is of a newer
    /// program or of a different one; throws DatabaseError if a statement fails.
    static bool apply(Database& database, QString& error);
};

} // namespace server
