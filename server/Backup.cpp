// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Backup.h"

#include "server/Database.h"
#include "server/DatabaseError.h"
#include "server/Migrations.h"
#include "server/NewFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSqlError>
#include <QTemporaryDir>

#include <algorithm>
#include <iterator>

namespace server {

namespace {

// Rows that are inserted by one statement: each is a way to the engine and back.
constexpr int maxRows = 100;
constexpr int maxBytes = 1 << 20;

/// Ends the work with a reason that is no failure of the database.
struct Refusal
{
    QString text;
};

// Two databases are in use at once, and it has to be told which of them failed.

struct FileFailure
{
    DatabaseError error;
};

struct StoreFailure
{
    DatabaseError error;
};

template <typename Failure, typename Work> auto told(const Work& work)
{
    try {
        return work();
    } catch (const DatabaseError& error) {
        throw Failure{error};
    }
}

const auto onFile = [](const auto& work) { return told<FileFailure>(work); };
const auto onStore = [](const auto& work) { return told<StoreFailure>(work); };

QString enumeration(const QString& text, int count)
{
    QStringList list;
    for (int i = 0; i < count; ++i)
        list.append(text);
    return list.join(QStringLiteral(", "));
}

/// Rows of one table on their way into another database.
class Inserts
{
public:
    Inserts(Database& target, const QString& table, const QStringList& columns)
        : m_target(target)
        , m_into(QStringLiteral("INSERT INTO %1 (%2) VALUES ").arg(table, columns.join(QStringLiteral(", "))))
        , m_row(QStringLiteral("(%1)").arg(enumeration(QStringLiteral("?"), columns.size())))
        , m_columns(columns.size())
    {
    }

    void append(const Rows& row)
    {
        for (int i = 0; i < m_columns; ++i) {
            QVariant value = row.value(i);
            if (row.isNull(i)) {
                value = QVariant();
            } else if (value.userType() == QMetaType::QByteArray) {
                // The driver gives no bytes at all as a null.
                if (value.toByteArray().isNull())
                    value = QByteArray("");
                m_bytes += value.toByteArray().size();
            } else {
                m_bytes += value.userType() == QMetaType::QString ? value.toString().size() : int(sizeof(qint64));
            }
            m_values.append(value);
        }
        if (m_values.size() >= maxRows * m_columns || m_bytes >= maxBytes)
            flush();
    }

    void flush()
    {
        if (m_values.isEmpty())
            return;
        const int count = m_values.size() / m_columns;
        m_target.run(m_into + enumeration(m_row, count), m_values);
        m_values.clear();
        m_bytes = 0;
    }

private:
    Database& m_target;
    QString m_into;
    QString m_row;
    int m_columns;
    QVariantList m_values;
    int m_bytes = 0;
};

/// The columns that both databases have.
QStringList commonColumns(const QStringList& some, const QStringList& others)
{
    QStringList common;
    std::copy_if(some.begin(), some.end(), std::back_inserter(common),
                 [&others](const QString& name) { return others.contains(name); });
    return common;
}

qint64 countOf(Database& database, const QString& table)
{
    Rows query = database.run(QStringLiteral("SELECT COUNT(*) FROM ") + table);
    return query.next() ? query.value(0).toLongLong() : 0;
}

Backup::Counts countsOf(const QHash<QString, qint64>& rows)
{
    return {rows.value(QStringLiteral("practitioners")), rows.value(QStringLiteral("patients")),
            rows.value(QStringLiteral("records"))};
}

/// What an engine finds wrong with the file, by itself and among the references; or nothing.
QString damageOf(Database& file)
{
    {
        Rows query = file.run(QStringLiteral("PRAGMA integrity_check(1)"));
        const QString found = query.next() ? query.value(0).toString() : query.lastError().databaseText();
        if (found != QLatin1String("ok"))
            return found.section(QLatin1Char('\n'), -1);
    }
    Rows query = file.run(QStringLiteral("PRAGMA foreign_key_check"));
    if (query.next())
        return QStringLiteral("a row of the table %1 refers to none of the table %2")
            .arg(query.value(0).toString(), query.value(2).toString());
    return query.lastError().isValid() ? query.lastError().databaseText() : QString();
}

/// `read` and `write` do a piece of work on the database that is read and on the one that is written.
template <typename Read, typename Write>
QHash<QString, qint64> copyTables(Database& from, Database& to, const std::atomic<bool>& interrupted, const Read& read,
                                  const Write& write)
{
    QHash<QString, qint64> counts;
    const QStringList tables = Migrations::keptTables();
    for (const QString& table : tables) {
        const QStringList columns =
            commonColumns(read([&] { return from.columns(table); }), write([&] { return to.columns(table); }));
        if (columns.isEmpty())
            throw Refusal{QStringLiteral("the table %1 is missing").arg(table)};
        Inserts rows(to, table, columns);
        // What an engine keeps for a practitioner is changed once for many rows, if those of one come together.
        const QString owner = QStringLiteral("practitioner_id");
        const QString order = columns.contains(owner) ? QStringLiteral(" ORDER BY ") + owner : QString();
        qint64& count = counts[table];
        read([&] {
            from.read(QStringLiteral("SELECT %1 FROM %2%3").arg(columns.join(QStringLiteral(", ")), table, order),
                      [&](const Rows& row) {
                          if (interrupted)
                              throw Refusal{QStringLiteral("interrupted")};
                          write([&] { rows.append(row); });
                          ++count;
                      });
        });
        write([&] { rows.flush(); });
        if (write([&] { return countOf(to, table); }) != count)
            throw Refusal{QStringLiteral("the table %1 did not arrive as a whole").arg(table)};
    }
    return counts;
}

void removeAll(Database& database)
{
    const QStringList ofLogins = Migrations::loginTables();
    for (const QString& table : ofLogins)
        database.run(QStringLiteral("DELETE FROM ") + table);
    QStringList tables = Migrations::keptTables();
    std::reverse(tables.begin(), tables.end());
    for (const QString& table : qAsConst(tables))
        database.run(QStringLiteral("DELETE FROM ") + table);
}

/// The content of a file with the tables of this program's version. The copy has no name any more, so that it ends with
/// the process however that ends.
std::unique_ptr<Database> migratedCopy(Database& content)
{
    const QString place = QDir::tempPath();
    if (place.isEmpty())
        throw Refusal{QStringLiteral("no copy of it can be made: the folder that TMPDIR names is not there")};
    const QTemporaryDir folder(place + QStringLiteral("/quelmar-restore-XXXXXX"));
    if (!folder.isValid())
        throw Refusal{QStringLiteral("no copy of it can be made in %1: %2").arg(place, folder.errorString())};
    const QString path = folder.filePath(QStringLiteral("copy.sqlite"));
    QString error;
    try {
        content.run(QStringLiteral("VACUUM INTO ?"), {path});
    } catch (const DatabaseError& failure) {
        throw Refusal{QStringLiteral("no copy of it can be made in %1: %2").arg(place, failure.text())};
    }
    std::unique_ptr<Database> copy = Database::openDraft(path, error);
    if (!copy)
        throw Refusal{QStringLiteral("it cannot be brought up to date: %1").arg(error)};
    return copy;
}

} // namespace

std::optional<Backup::Counts> Backup::write(Database& database, const QString& path,
                                            const std::atomic<bool>& interrupted, QString& error)
{
    const QString failed = QStringLiteral("cannot write the backup %1: %2");
    NewFile file(path);
    error = file.create();
    if (!error.isEmpty()) {
        error = failed.arg(path, error);
        return std::nullopt;
    }
    try {
        const std::unique_ptr<Database> content = Database::openDraft(file.draft(), error);
        if (!content)
            throw Refusal{error};
        QHash<QString, qint64> counts;
        {
            Database::Transaction snapshot(database, Database::Transaction::Purpose::Snapshot);
            Database::Transaction filling(*content);
            counts = copyTables(database, *content, interrupted, onStore, onFile);
            onFile([&] { filling.commit(); });
        }
        const QString damage = onFile([&] { return damageOf(*content); });
        if (!damage.isEmpty())
            throw Refusal{damage};
        error = file.finish();
        if (error.isEmpty())
            return countsOf(counts);
    } catch (const Refusal& refusal) {
        error = refusal.text;
    } catch (const FileFailure& failure) {
        error = failure.error.text();
    } catch (const StoreFailure& failure) {
        throw failure.error;
    }
    error = failed.arg(path, error);
    return std::nullopt;
}

Backup::Backup(const QString& path, std::unique_ptr<Database> content)
    : m_path(path)
    , m_content(std::move(content))
{
}

Backup::~Backup() = default;

std::unique_ptr<Backup> Backup::open(const QString& path, QString& error)
{
    const QString failed = QStringLiteral("cannot read the backup %1: %2");
    try {
        if (QFileInfo(path).isDir())
            throw Refusal{QStringLiteral("it is a folder")};
        QFile readable(path);
        if (!readable.open(QIODevice::ReadOnly))
            throw Refusal{readable.errorString()};
        readable.close();
        std::unique_ptr<Database> content = Database::openReadOnly(path, error);
        if (!content)
            throw Refusal{error};
        const std::optional<int> version = Migrations::version(*content, error);
        if (!version)
            throw Refusal{error};
        if (*version == 0)
            throw Refusal{QStringLiteral("it holds nothing")};
        const QString damage = damageOf(*content);
        if (!damage.isEmpty())
            throw Refusal{QStringLiteral("it is damaged: %1").arg(damage)};
        if (*version < Migrations::latest())
            content = migratedCopy(*content);
        return std::unique_ptr<Backup>(new Backup(path, std::move(content)));
    } catch (const Refusal& refusal) {
        error = failed.arg(path, refusal.text);
    } catch (const DatabaseError& failure) {
        error = failed.arg(path, failure.text());
    }
    return nullptr;
}

std::optional<Backup::Counts> Backup::restore(Database& database, bool replace, const std::atomic<bool>& interrupted,
                                              QString& error)
{
    try {
        return database.attempt([&] {
            try {
                Database::Transaction replacement(database, Database::Transaction::Purpose::Replace);
                const qint64 patients = countOf(database, QStringLiteral("patients"));
                if (patients > 0 && !replace)
                    throw Refusal{
                        QStringLiteral("the database has %1 patients, which --replace would overwrite").arg(patients)};
                removeAll(database);
                QHash<QString, qint64> counts;
                {
                    Database::Transaction snapshot(*m_content, Database::Transaction::Purpose::Snapshot);
                    counts = copyTables(*m_content, database, interrupted, onFile, onStore);
                }
                replacement.commit();
                return std::optional<Counts>(countsOf(counts));
            } catch (const StoreFailure& failure) {
                throw failure.error;
            }
        });
    } catch (const Refusal& refusal) {
        error = QStringLiteral("nothing was restored: %1").arg(refusal.text);
    } catch (const FileFailure& failure) {
        error =
            QStringLiteral("nothing was restored: the backup %1 cannot be read: %2").arg(m_path, failure.error.text());
    } catch (const DatabaseError& failure) {
        const bool unknown = failure.kind() == DatabaseError::Kind::Lost;
        throw DatabaseError((unknown ? QStringLiteral("%1; the backup was restored as a whole or not at all")
                                     : QStringLiteral("%1; nothing was restored"))
                                .arg(failure.text()),
                            failure.kind());
    }
    return std::nullopt;
}

} // namespace server
