// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/DatabaseAddress.h"
#include "server/Dialect.h"

namespace server {

/// PostgreSQL. Transactions are serializable: the engine gives up one of two that would have read what the other
/// changes, and the caller does it again. As long as tables are small it suspects much more than it needs to, so that
/// what is done again keeps the others away meanwhile.
class PostgresDialect : public Dialect
{
public:
    explicit PostgresDialect(const DatabaseAddress& address);

    QString provide() const override;
    QString driver() const override { return QStringLiteral("QPSQL"); }
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
    bool keepsQueries() const override { return false; }
    bool run(QSqlQuery& query, const QSqlDatabase& connection, const QString& statement, const QVariantList& values,
             Prepared& prepared) const override;
    DatabaseError error(const QSqlError& error) const override;

private:
    DatabaseAddress m_address;
};

} // namespace server
