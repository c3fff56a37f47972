// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Rows.h"

#include <QVariant>

#include <utility>

namespace server {

namespace {

/// Statements that a connection keeps; the server has fewer of a fixed text.
constexpr int maxIdle = 100;

} // namespace

std::optional<QSqlQuery> Rows::Idle::take(const QString& statement)
{
    const auto kept = m_queries.find(statement);
    if (kept == m_queries.end())
        return std::nullopt;
    const QSqlQuery query = *kept;
    m_queries.erase(kept);
    return query;
}

void Rows::Idle::keep(const QString& statement, const QSqlQuery& query)
{
    // Those with a list of values have many texts.
    if (m_queries.size() >= maxIdle)
        m_queries.clear();
    m_queries.insert(statement, query);
}

Rows::Rows(const QSqlQuery& query)
    : QSqlQuery(query)
{
}

Rows::Rows(const QSqlQuery& query, std::weak_ptr<Idle> keeper, QString statement, int values)
    : QSqlQuery(query)
    , m_keeper(std::move(keeper))
    , m_statement(std::move(statement))
    , m_values(values)
{
}

Rows::Rows(Rows&& other) noexcept
    : QSqlQuery(other)
    , m_keeper(std::move(other.m_keeper))
    , m_statement(std::move(other.m_statement))
    , m_values(other.m_values)
{
    other.m_keeper.reset();
}

Rows::~Rows()
{
    const std::shared_ptr<Idle> keeper = m_keeper.lock();
    if (!keeper)
        return;
    finish();
    // The values may be large, and are nobody's business any more.
    for (int i = 0; i < m_values; ++i)
        bindValue(i, QVariant());
    keeper->keep(m_statement, *this);
}

} // namespace server
