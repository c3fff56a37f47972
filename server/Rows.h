// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QSqlQuery>
#include <QString>

#include <memory>
#include <optional>

namespace server {

/// What a statement gave, before its first row. To be used up on the thread that ran it. At its end the statement,
/// which the engine has prepared, goes back to where the connection keeps those, for the next one to run it.
class Rows : private QSqlQuery
{
public:
    // A copy of the base would be without its rows as soon as these end.
    using QSqlQuery::isNull;
    using QSqlQuery::lastError;
    using QSqlQuery::next;
    using QSqlQuery::numRowsAffected;
    using QSqlQuery::record;
    using QSqlQuery::value;

    /// The prepared statements of a connection that nobody uses at the moment, by their texts.
    class Idle
    {
    public:
        /// Nothing if none is kept.
        std::optional<QSqlQuery> take(const QString& statement);
        void keep(const QString& statement, const QSqlQuery& query);
        void clear() { m_queries.clear(); }

    private:
        QHash<QString, QSqlQuery> m_queries;
    };

    /// Of a statement that just ends.
    explicit Rows(const QSqlQuery& query);
    /// Of one with so many values that is to be kept, if the keeper is still there.
    Rows(const QSqlQuery& query, std::weak_ptr<Idle> keeper, QString statement, int values);
    Rows(Rows&& other) noexcept;
    ~Rows();
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;

private:
    std::weak_ptr<Idle> m_keeper;
    QString m_statement;
    int m_values = 0;
};

} // namespace server
