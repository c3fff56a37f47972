// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Dialect.h"

#include <QSqlError>
#include <QSqlQuery>

namespace server {

void Dialect::configure(QSqlDatabase& connection, const QString& location)
{
    connection.setDatabaseName(location);
    connection.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=15000"));
}

QString Dialect::prepare(QSqlDatabase& connection)
{
    QSqlQuery query(connection);
    for (const auto* statement :
         {"PRAGMA journal_mode = WAL", "PRAGMA synchronous = FULL", "PRAGMA foreign_keys = ON"}) {
        if (!query.exec(QLatin1String(statement)))
            return query.lastError().databaseText();
    }
    return QString();
}

} // namespace server
