// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Dialect.h"

namespace server {

/// SQLite: one file, one writer at a time.
class SqliteDialect : public Dialect
{
public:
    enum class Use
    {
        Shared,   ///< the store of servers
        Draft,    ///< of one connection, without anything that a kill, a failure or another process would need
        ReadOnly, ///< neither it nor its folder is written, unless others are using it
    };

    explicit SqliteDialect(const QString& path, Use use = Use::Shared);

    QString provide() const override;
    QString driver() const override { return QStringLiteral("QSQLITE"); }
    void configure(QSqlDatabase& connection) const override;
    QString prepare(QSqlDatabase& connection) const override;
    QString migrated(const QString& statement) const override;
    QString selectTables() const override;
    QString selectColumns() const override;
    QStringList makePatientTexts() const override;
    Statement patientsContaining(const QString& practitionerId, const QString& column, const QString& text,
                                 const QString& pattern) const override;
    QStringList afterFilling() const override;
    QStringList begin(bool alone) const override;
    QStringList beginMigration() const override;
    QStringList beginSnapshot() const override;
    QStringList beginReplacement(const QStringList& tables) const override;
    QStringList portions(const QString& selection) const override;
    bool keepsQueries() const override { return true; }
    bool run(QSqlQuery& query, const QSqlDatabase& connection, const QString& statement, const QVariantList& values,
             Prepared& prepared) const override;
    DatabaseError error(const QSqlError& error) const override;

private:
    QString m_path;
    Use m_use;
};

} // namespace server
