// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <atomic>
#include <memory>
#include <optional>

namespace server {

class Database;

/// A file with everything that practitioners entrusted to the server, at one moment: an SQLite database with the tables
/// of the server, whatever engine it was made from, which a server may also be started on. It has no sessions.
class Backup
{
public:
    /// Of rows.
    struct Counts
    {
        qint64 practitioners = 0;
        qint64 patients = 0;
        qint64 records = 0;
    };

    /// Makes the file, while others use the database. Nothing on failure, with the reason in `error`, and then there is
    /// no file; throws DatabaseError if the database fails. Once `interrupted` is true it soon fails.
    static std::optional<Counts> write(Database& database, const QString& path, const std::atomic<bool>& interrupted,
                                       QString& error);

    /// Checks the file, which is never changed; the tables of an earlier version are brought up to date in a copy. Null
    /// on failure, with the reason in `error`.
    static std::unique_ptr<Backup> open(const QString& path, QString& error);

    ~Backup();
    Backup(const Backup&) = delete;
    Backup& operator=(const Backup&) = delete;

    /// Puts what is in the file in place of all that is in the database, while others use it, and ends all sessions. A
    /// database with patients is refused unless it is to be replaced. Nothing on failure, with the reason in `error`;
    /// throws DatabaseError if the database fails. The database then has what it had before, unless the connection was
    /// lost: then it has either, as a whole. Once `interrupted` is true it soon fails.
    std::optional<Counts> restore(Database& database, bool replace, const std::atomic<bool>& interrupted,
                                  QString& error);

private:
    Backup(const QString& path, std::unique_ptr<Database> content);

    QString m_path;
    std::unique_ptr<Database> m_content;
};

} // namespace server
