// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/TestDatabase.h"

#include "tests/server/PostgresCluster.h"

TestDatabase::TestDatabase(Engine engine)
    : m_postgres(isPostgres() == (engine == Engine::OfTheRun))
{
    if (!m_postgres) {
        m_location = m_folder.filePath(QStringLiteral("store.sqlite"));
        return;
    }
    static int last = 0;
    m_name = QStringLiteral("test%1").arg(++last);
    if (PostgresCluster::instance().create(m_name))
        m_location = PostgresCluster::instance().address(m_name);
}

TestDatabase::~TestDatabase()
{
    for (const QString& name : qAsConst(m_connections))
        QSqlDatabase::removeDatabase(name);
    if (m_postgres && !m_location.isEmpty())
        PostgresCluster::instance().drop(m_name);
}

bool TestDatabase::isPostgres()
{
    return qgetenv("QUELMAR_TEST_DATABASE") == "postgresql";
}

bool TestDatabase::connect(const QString& connectionName)
{
    m_connections.append(connectionName);
    if (m_postgres)
        return PostgresCluster::instance().connection(m_name, connectionName).open();
    QSqlDatabase added = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connectionName);
    added.setDatabaseName(m_location);
    added.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=20000"));
    return added.open();
}
