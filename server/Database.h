// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/DatabaseError.h"
#include "server/Rows.h"

#include <QSqlDatabase>
#include <QString>
#include <QVariant>

#include <array>
#include <atomic>
#include <functional>
#include <memory>

namespace server {

class Dialect;

/// The store of the server: an SQLite file or a PostgreSQL database, with one connection for each thread that uses it.
/// What an operation has returned from is on the disk. Failures are thrown as DatabaseError.
///
/// A connection that was lost is made anew by the next statement, but never within a transaction: that one has failed
/// as a whole.
class Database
{
public:
    /// A unit of work that is stored as a whole by commit(), or not at all. One that is made while its thread has
    /// another one open becomes a part of it: without its own commit() the other cannot be committed either. Nor can
    /// one in which a statement failed. What it reads does not change before its end; if the engine sees to that by
    /// giving up one of two transactions, a DatabaseError of the kind Conflict is thrown, see attempt().
    class Transaction
    {
    public:
        /// Decides whom it waits for, and who for it.
        enum class Purpose
        {
            Change,
            Snapshot, ///< only reads, and everybody else goes on
            Replace,  ///< writes all tables anew; others read what was there before, and wait with writing
            Migrate,
        };

        explicit Transaction(Database& database, Purpose purpose = Purpose::Change);
        ~Transaction();
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;

        void commit();

    private:
        Database& m_database;
        bool m_outer = true;
        bool m_open = true;
    };

    /// Opens what a DatabaseAddress names, creates a file with its folder if it is not there, and brings the tables to
    /// this program's version. Null on failure, with the reason in `error`.
    static std::unique_ptr<Database> open(const QString& location, QString& error);

    /// An SQLite file that this thread alone uses and that is thrown away if anything fails: it is brought to this
    /// program's version, but neither kept safe nor on the disk. Null on failure, with the reason in `error`.
    static std::unique_ptr<Database> openDraft(const QString& path, QString& error);
    /// An SQLite file as it is, which is never changed; what it holds, if anything, is found out by the first
    /// statement. Null on failure, with the reason in `error`.
    static std::unique_ptr<Database> openReadOnly(const QString& path, QString& error);

    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Runs one statement with its values for the "?" in it; the result stands before its first row. A
    /// null text is stored as an empty one, an invalid value as NULL.
    Rows run(const QString& statement, const QVariantList& values = {});

    /// Runs a SELECT without values and hands over row by row, with a few of them in memory at a time. To be called
    /// within a transaction; the row may not use this database.
    void read(const QString& selection, const std::function<void(const Rows&)>& row);

    /// Does a piece of work, and does it again while it meets with that of others: what it stores has to be in one
    /// transaction or one statement. The result of the work is returned, and what it throws is thrown on.
    template <typename Work> auto attempt(const Work& work)
    {
        for (int count = 1;; ++count) {
            const Attempt current(*this, count);
            try {
                return work();
            } catch (const DatabaseError& error) {
                if (!current.mayBeRepeated(error))
                    throw;
            }
        }
    }

    /// How many statements and connections have failed in this way since the store was opened, on all threads.
    quint64 errors(DatabaseError::Kind kind) const { return m_errors.at(size_t(kind)); }

    /// How many statements were run so far, those that were sent again counted again.
    quint64 statements() const { return m_statements; }

    /// Of all tables in the place that is used.
    QStringList tables();
    /// Those of a table that can be written, in their order.
    QStringList columns(const QString& table);
    const Dialect& dialect() const { return *m_dialect; }
    /// A statement of a migration as the engine takes it.
    QString migrated(const QString& statement) const;

private:
    /// One of several, from the second on with transactions that are alone.
    class Attempt
    {
    public:
        Attempt(Database& database, int count);
        ~Attempt();
        Attempt(const Attempt&) = delete;
        Attempt& operator=(const Attempt&) = delete;

        bool mayBeRepeated(const DatabaseError& error) const;

    private:
        Database& m_database;
        int m_count;
        bool m_alone; ///< what was so before
    };

    explicit Database(std::unique_ptr<Dialect> dialect);

    static std::unique_ptr<Database> openOn(std::unique_ptr<Dialect> dialect, bool migrates, QString& error);

    /// How many rows there were.
    int readPortion(const QString& statement, const std::function<void(const Rows&)>& row);
    QStringList beginning(Transaction::Purpose purpose);
    /// Of the connection of this thread.
    QString connectionName() const;
    QSqlDatabase connection();
    DatabaseError counted(const DatabaseError& error);
    void close();
    void rollback();

    std::unique_ptr<Dialect> m_dialect;
    std::atomic<quint64> m_statements{0};
    /// Begins the names of this store's connections.
    QString m_name;
    std::array<std::atomic<quint64>, 4> m_errors{}; ///< by DatabaseError::Kind
};

} // namespace server
