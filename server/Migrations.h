// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace server {

class Database;

/// The numbered steps that lead from an empty database to the tables of this program. A step that was released is never
/// changed: what comes later is a new step.
class Migrations
{
public:
    /// The version that this program needs.
    static int latest();
    /// The version that a database has, 0 if it is empty. Nothing, with a reason, if it is of a newer program or of a
    /// different one; throws DatabaseError if a statement fails.
    static std::optional<int> version(Database& database, QString& error);

    // All tables but schema_version stand in one of these lists.

    /// What practitioners entrusted to the server, each table after those that it refers to.
    static QStringList keptTables();
    /// What only logins need: no backup holds it, and a restore empties it.
    static QStringList loginTables();
    /// What the engine makes from other tables by itself. Not each engine has all of them.
    static QStringList derivedTables();

    /// Runs the steps that are missing, all or none of them. False, with a reason, if the database is of a newer
    /// program or of a different one; throws DatabaseError if a statement fails.
    static bool apply(Database& database, QString& error);
};

} // namespace server
