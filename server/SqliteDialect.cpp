// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/SqliteDialect.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QThread>

namespace server {

namespace {

// Result codes of the engine; the higher bytes of an extended code say more.
constexpr int busy = 5;
constexpr int locked = 6;
constexpr int full = 13;
constexpr int foreignKey = 787;
constexpr int primaryKey = 1555;
constexpr int unique = 2067;

constexpr int busyMilliseconds = 15000;

} // namespace

SqliteDialect::SqliteDialect(const QString& path)
    : m_path(QFileInfo(path).absoluteFilePath())
{
}

QString SqliteDialect::provide() const
{
    const QFileInfo file(m_path);
    if (file.isDir())
        return QStringLiteral("it is a folder");
    if (!QDir().mkpath(file.absolutePath()))
        return QStringLiteral("the folder %1 cannot be made").arg(file.absolutePath());
    return QString();
}

void SqliteDialect::configure(QSqlDatabase& connection) const
{
    connection.setDatabaseName(m_path);
    connection.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(busyMilliseconds));
}

QString SqliteDialect::prepare(QSqlDatabase& connection) const
{
    QSqlQuery query(connection);
    for (const auto* statement :
         {"PRAGMA journal_mode = WAL", "PRAGMA synchronous = FULL", "PRAGMA foreign_keys = ON"}) {
        QElapsedTimer waited;
        waited.start();
        while (!query.exec(QLatin1String(statement))) {
            // Of two that make a new file write-ahead at once, the engine refuses one without the wait that is set.
            const int code = query.lastError().nativeErrorCode().toInt() & 0xff;
            if (code != busy || waited.hasExpired(busyMilliseconds))
                return query.lastError().databaseText();
            QThread::msleep(10);
        }
    }
    return QString();
}

QString SqliteDialect::migrated(const QString& statement) const
{
    return QString(statement).replace(QStringLiteral("{bytes}"), QStringLiteral("BLOB"));
}

QString SqliteDialect::selectTables() const
{
    return QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table'");
}

QStringList SqliteDialect::begin(bool) const
{
    // It waits for other writers now, and not in its middle: each is alone.
    return {QStringLiteral("BEGIN IMMEDIATE")};
}

QStringList SqliteDialect::beginMigration() const
{
    return begin(true);
}

bool SqliteDialect::run(QSqlQuery& query, const QSqlDatabase&, const QString& statement, const QVariantList& values,
                        Prepared&) const
{
    query.setForwardOnly(true);
    if (!query.prepare(statement))
        return false;
    for (const QVariant& value : values)
        query.addBindValue(value);
    return query.exec();
}

DatabaseError SqliteDialect::error(const QSqlError& error) const
{
    const int code = error.nativeErrorCode().toInt();
    auto kind = DatabaseError::Kind::Failed;
    if ((code & 0xff) == busy || (code & 0xff) == locked || (code & 0xff) == full)
        kind = DatabaseError::Kind::Busy;
    else if (code == foreignKey || code == primaryKey || code == unique)
        kind = DatabaseError::Kind::Conflict;
    return DatabaseError(error.text(), kind);
}

} // namespace server
