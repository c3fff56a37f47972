// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/SqliteDialect.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QThread>
#include <QUrl>

#include <vector>

namespace server {

namespace {

// Result codes of the engine. Qt's driver gives no extended ones, which would say more.
constexpr int busy = 5;
constexpr int locked = 6;
constexpr int full = 13;
constexpr int constraint = 19;

constexpr int busyMilliseconds = 15000;

} // namespace

SqliteDialect::SqliteDialect(const QString& path, Use use)
    : m_path(QFileInfo(path).absoluteFilePath())
    , m_use(use)
{
}

QString SqliteDialect::provide() const
{
    const QFileInfo file(m_path);
    if (file.isDir())
        return QStringLiteral("it is a folder");
    if (m_use == Use::Shared && !QDir().mkpath(file.absolutePath()))
        return QStringLiteral("the folder %1 cannot be made").arg(file.absolutePath());
    return QString();
}

void SqliteDialect::configure(QSqlDatabase& connection) const
{
    QString options = QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(busyMilliseconds);
    if (m_use == Use::ReadOnly) {
        options += QStringLiteral(";QSQLITE_OPEN_READONLY;QSQLITE_OPEN_URI");
        QString name = QString::fromLatin1(QUrl::fromLocalFile(m_path).toEncoded());
        // Of a file that others use, a part may stand in these. Else the engine would want to make them.
        if (!QFileInfo::exists(m_path + QStringLiteral("-wal")) &&
            !QFileInfo::exists(m_path + QStringLiteral("-journal")))
            name += QStringLiteral("?immutable=1");
        connection.setDatabaseName(name);
    } else {
        connection.setDatabaseName(m_path);
    }
    connection.setConnectOptions(options);
}

QString SqliteDialect::prepare(QSqlDatabase& connection) const
{
    std::vector<const char*> statements;
    if (m_use == Use::Shared)
        statements = {"PRAGMA journal_mode = WAL", "PRAGMA synchronous = FULL", "PRAGMA foreign_keys = ON"};
    else if (m_use == Use::Draft)
        statements = {"PRAGMA journal_mode = OFF", "PRAGMA synchronous = OFF", "PRAGMA foreign_keys = ON"};
    QSqlQuery query(connection);
    for (const char* statement : statements) {
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

QString SqliteDialect::selectColumns() const
{
    // Columns that the engine computes are not among them.
    return QStringLiteral("SELECT name FROM pragma_table_info(?) ORDER BY cid");
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

QStringList SqliteDialect::beginSnapshot() const
{
    return {QStringLiteral("BEGIN")};
}

QStringList SqliteDialect::beginReplacement(const QStringList&) const
{
    return begin(true);
}

QStringList SqliteDialect::portions(const QString& selection) const
{
    return {selection};
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
    const QString text = error.databaseText();
    if ((code & 0xff) == busy || (code & 0xff) == locked || (code & 0xff) == full)
        kind = DatabaseError::Kind::Busy;
    else if ((code & 0xff) == constraint &&
             (text.startsWith(QLatin1String("UNIQUE")) || text.startsWith(QLatin1String("FOREIGN KEY"))))
        kind = DatabaseError::Kind::Conflict;
    return DatabaseError(error.text(), kind);
}

} // namespace server
