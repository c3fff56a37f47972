// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Dialect.h"

#include <QElapsedTimer>
#include <QSqlError>
#include <QSqlQuery>
#include <QThread>

namespace server {

namespace {

constexpr const char* busy = "5"; // SQLITE_BUSY
constexpr int busyMilliseconds = 15000;

} // namespace

void Dialect::configure(QSqlDatabase& connection, const QString& location)
{
    connection.setDatabaseName(location);
    connection.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(busyMilliseconds));
}

QString Dialect::prepare(QSqlDatabase& connection)
{
    QSqlQuery query(connection);
    for (const auto* statement :
         {"PRAGMA journal_mode = WAL", "PRAGMA synchronous = FULL", "PRAGMA foreign_keys = ON"}) {
        QElapsedTimer waited;
        waited.start();
        while (!query.exec(QLatin1String(statement))) {
            // Of two that make a new file write-ahead at once, the engine refuses one without the wait that is set.
            if (query.lastError().nativeErrorCode() != QLatin1String(busy) || waited.hasExpired(busyMilliseconds))
                return query.lastError().databaseText();
            QThread::msleep(10);
        }
    }
    return QString();
}

} // namespace server
