// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSqlDatabase>
#include <QString>

namespace server {

/// All that is particular to one database engine. What is written elsewhere is SQL that SQLite and PostgreSQL both
/// take.
class Dialect
{
public:
    /// The column type for bytes, which statements of migrations name as "{bytes}".
    static QString bytesType() { return QStringLiteral("BLOB"); }
    /// Starts a transaction that will write: it waits for other writers now, and not in its middle.
    static QString beginWrite() { return QStringLiteral("BEGIN IMMEDIATE"); }

    /// Settings of a connection before it is opened: where the data lie and how long to wait for a lock.
    static void configure(QSqlDatabase& connection, const QString& location);
    /// Settings of an open connection: constraints are checked, and what was committed is on the disk. The
    /// reason if the engine refuses, else an empty text.
    static QString prepare(QSqlDatabase& connection);
};

} // namespace server
