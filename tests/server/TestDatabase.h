// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSqlDatabase>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// An empty database of a test's own, gone with this object: an SQLite file, or a database on the PostgresCluster of
/// the program. The engine that a program is run for is PostgreSQL if the environment has
/// QUELMAR_TEST_DATABASE=postgresql.
class TestDatabase
{
public:
    enum class Engine
    {
        OfTheRun,
        Other,
    };

    explicit TestDatabase(Engine engine = Engine::OfTheRun);
    ~TestDatabase();
    TestDatabase(const TestDatabase&) = delete;
    TestDatabase& operator=(const TestDatabase&) = delete;

    /// Of the run.
    static bool isPostgres();

    /// As --database and Database::open() take it.
    QString location() const { return m_location; }
    /// A connection of the test's own, by-passing the server, on the thread of the test. False if it cannot be opened.
    bool connect(const QString& connectionName = QLatin1String(QSqlDatabase::defaultConnection));

private:
    bool m_postgres;
    QTemporaryDir m_folder;
    QString m_location;
    QString m_name; ///< on the cluster
    QStringList m_connections;
};
