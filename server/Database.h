// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariant>

#include <memory>

namespace server {

/// The store of the server: an SQLite file, with one connection for each thread that uses it. What an operation has
/// returned from is on the disk. Failures are thrown as DatabaseError.
class Database
{
public:
    /// A unit of work that is stored as a whole by commit(), or not at all. One that is made while its thread has
    /// another one open becomes a part of it: without its own commit() the other cannot be committed either.
    class Transaction
    {
    public:
        explicit Transaction(Database& database);
        ~Transaction();
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;

        void commit();

    private:
        Database& m_database;
        bool m_outer = true;
        bool m_open = true;
    };

    /// Opens the file, creates it with its folder if it is not there, and brings its tables to this program's version.
    /// Null on failure, with the reason in `error`.
    static std::unique_ptr<Database> open(const QString& path, QString& error);

    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Runs one statement with its values for the "?" in it; the result stands before its first row. A
    /// null text is stored as an empty one, an invalid value as NULL.
    QSqlQuery run(const QString& statement, const QVariantList& values = {});

    bool hasTable(const QString& name);
    /// No table at all.
    bool isEmpty();

private:
    explicit Database(const QString& path);

    /// Of the connection of this thread.
    QString connectionName() const;
    QSqlDatabase connection();

    QString m_path;
    /// Begins the names of this store's connections.
    QString m_name;
};

} // namespace server
