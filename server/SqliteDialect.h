// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Dialect.h"

namespace server {

/// SQLite: one file, one writer at a time.
class SqliteDialect : public Dialect
{
public:
    explicit SqliteDialect(const QString& path);

    QString provide() const override;
    QString driver() const override { return QStringLiteral("QSQLITE"); }
    void configure(QSqlDatabase& connection) const override;
    QString prepare(QSqlDatabase& connection) const override;
    QString migrated(const QString& statement) const override;
    QString selectTables() const override;
    QStringList begin(bool alone) const override;
    QStringList beginMigration() const override;
    bool run(QSqlQuery& query, const QSqlDatabase& connection, const QString& statement, const QVariantList& values,
             Prepared& prepared) const override;
    DatabaseError error(const QSqlError& error) const override;

private:
    QString m_path;
};

} // namespace server
