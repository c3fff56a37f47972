// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Database.h"

#include "server/DatabaseAddress.h"
#include "server/Dialect.h"
#include "server/Migrations.h"
#include "server/SqliteDialect.h"

#include <QSqlError>

#include <atomic>
#include <map>
#include <optional>

namespace server {

namespace {

constexpr int maxAttempts = 8;

/// What is known of a store's connection of one thread.
struct Connection
{
    bool open = false;
    bool alone = false; ///< transactions are to be
    bool inTransaction = false;
    bool committable = true; ///< of the open transaction: nothing in it has failed or was given up
    bool lost = false;       ///< the open transaction has gone with its connection
    Dialect::Prepared prepared;
    std::shared_ptr<Rows::Idle> idle = std::make_shared<Rows::Idle>();
};

/// Closes the connections of a thread when it ends: Qt allows none to be used from another thread.
struct ThreadConnections
{
    ~ThreadConnections()
    {
        for (const auto& entry : byName) {
            entry.second.idle->clear();
            if (entry.second.open)
                QSqlDatabase::removeDatabase(entry.first);
        }
    }

    std::map<QString, Connection> byName;
};

std::map<QString, Connection>& connections()
{
    thread_local ThreadConnections ofThread;
    return ofThread.byName;
}

/// Unlike the address of a thread, a number is never used twice.
quint64 threadNumber()
{
    static std::atomic<quint64> last{0};
    thread_local const quint64 number = ++last;
    return number;
}

/// How the names of a database's connections begin, another one each time.
QString newName()
{
    static std::atomic<quint64> last{0};
    return QStringLiteral("store%1-").arg(++last);
}

/// Whether a statement that may have been carried out or not, when the connection was lost, can just be sent again.
bool leavesNothing(const QString& statement)
{
    return statement.startsWith(QLatin1String("SELECT")) || statement.startsWith(QLatin1String("BEGIN"));
}

} // namespace

Database::Transaction::Transaction(Database& database, Purpose purpose)
    : m_database(database)
{
    m_outer = !connections()[m_database.connectionName()].inTransaction;
    if (!m_outer)
        return;
    const QStringList statements = m_database.beginning(purpose);
    m_database.run(statements.first());
    Connection& state = connections()[m_database.connectionName()];
    state.inTransaction = true;
    state.committable = true;
    state.lost = false;
    // No destructor would end it, as the constructor has not.
    try {
        for (int next = 1; next < statements.size(); ++next)
            m_database.run(statements.at(next));
    } catch (const DatabaseError&) {
        m_database.rollback();
        throw;
    }
}

Database::Transaction::~Transaction()
{
    if (!m_outer) {
        if (m_open)
            connections()[m_database.connectionName()].committable = false;
        return;
    }
    if (m_open)
        m_database.rollback();
}

void Database::Transaction::commit()
{
    Connection& state = connections()[m_database.connectionName()];
    if (m_outer) {
        // An engine may take a commit after a failure, and roll back.
        if (!state.lost && !state.committable)
            throw DatabaseError(QStringLiteral("a part of the transaction failed or was given up"));
        m_database.run(QStringLiteral("COMMIT"));
        state.inTransaction = false;
    }
    m_open = false;
}

std::unique_ptr<Database> Database::open(const QString& location, QString& error)
{
    const std::optional<DatabaseAddress> address = DatabaseAddress::parse(location);
    if (!address) {
        error = QStringLiteral("it is no address of a database");
        return nullptr;
    }
    return openOn(Dialect::of(*address), true, error);
}

std::unique_ptr<Database> Database::openDraft(const QString& path, QString& error)
{
    return openOn(std::make_unique<SqliteDialect>(path, SqliteDialect::Use::Draft), true, error);
}

std::unique_ptr<Database> Database::openReadOnly(const QString& path, QString& error)
{
    return openOn(std::make_unique<SqliteDialect>(path, SqliteDialect::Use::ReadOnly), false, error);
}

std::unique_ptr<Database> Database::openOn(std::unique_ptr<Dialect> dialect, bool migrates, QString& error)
{
    std::unique_ptr<Database> database(new Database(std::move(dialect)));
    error = database->m_dialect->provide();
    if (!error.isEmpty())
        return nullptr;
    try {
        if (migrates && !Migrations::apply(*database, error))
            return nullptr;
    } catch (const DatabaseError& failure) {
        error = failure.text();
        return nullptr;
    }
    return database;
}

Database::Database(std::unique_ptr<Dialect> dialect)
    : m_dialect(std::move(dialect))
    , m_name(newName())
{
}

Database::~Database()
{
    close();
    connections().erase(connectionName());
}

Rows Database::run(const QString& statement, const QVariantList& values)
{
    QVariantList bound = values;
    for (QVariant& value : bound) {
        // Qt would store a null text as NULL, which only an invalid value is to mean.
        if (value.userType() == QMetaType::QString && value.isNull())
            value = QLatin1String("");
    }
    for (bool again = true;; again = false) {
        std::optional<DatabaseError> error;
        Connection& current = connections()[connectionName()];
        {
            const QSqlDatabase used = connection();
            const bool kept = m_dialect->keepsQueries() && !bound.isEmpty();
            const std::optional<QSqlQuery> known = kept ? current.idle->take(statement) : std::nullopt;
            QSqlQuery query = known ? *known : QSqlQuery(used);
            ++m_statements;
            if (m_dialect->run(query, used, statement, bound, current.prepared))
                return kept ? Rows(query, current.idle, statement, bound.size()) : Rows(query);
            error = counted(m_dialect->error(query.lastError()));
        }
        current.committable = false;
        if (error->kind() == DatabaseError::Kind::Lost) {
            close();
            // The engine was started anew since the last statement, which is no reason to refuse this one.
            if (again && !current.inTransaction && leavesNothing(statement))
                continue;
        }
        throw DatabaseError(*error);
    }
}

void Database::read(const QString& selection, const std::function<void(const Rows&)>& row)
{
    const QStringList statements = m_dialect->portions(selection);
    if (statements.size() == 1) {
        readPortion(statements.first(), row);
        return;
    }
    run(statements.at(0));
    while (readPortion(statements.at(1), row) > 0) {
    }
    run(statements.at(2));
}

int Database::readPortion(const QString& statement, const std::function<void(const Rows&)>& row)
{
    int count = 0;
    std::optional<DatabaseError> error;
    {
        Rows query = run(statement);
        for (; query.next(); ++count)
            row(query);
        if (query.lastError().isValid())
            error = m_dialect->error(query.lastError());
    }
    if (!error)
        return count;
    connections()[connectionName()].committable = false;
    if (error->kind() == DatabaseError::Kind::Lost)
        close();
    throw DatabaseError(*error);
}

QStringList Database::tables()
{
    QStringList names;
    Rows query = run(m_dialect->selectTables());
    while (query.next())
        names.append(query.value(0).toString());
    return names;
}

QStringList Database::columns(const QString& table)
{
    QStringList names;
    Rows query = run(m_dialect->selectColumns(), {table});
    while (query.next())
        names.append(query.value(0).toString());
    return names;
}

QStringList Database::beginning(Transaction::Purpose purpose)
{
    switch (purpose) {
    case Transaction::Purpose::Snapshot:
        return m_dialect->beginSnapshot();
    case Transaction::Purpose::Replace:
        return m_dialect->beginReplacement(Migrations::keptTables() + Migrations::loginTables());
    case Transaction::Purpose::Migrate:
        return m_dialect->beginMigration();
    case Transaction::Purpose::Change:
        break;
    }
    return m_dialect->begin(connections()[connectionName()].alone);
}

QString Database::migrated(const QString& statement) const
{
    return m_dialect->migrated(statement);
}

void Database::rollback()
{
    Connection& ended = connections()[connectionName()];
    ended.inTransaction = false;
    if (ended.lost)
        return;
    try {
        run(QStringLiteral("ROLLBACK"));
    } catch (const DatabaseError&) {
        // The engine has rolled back by itself, or the connection is lost: nothing is stored in either case.
    }
}

QString Database::connectionName() const
{
    return m_name + QString::number(threadNumber());
}

QSqlDatabase Database::connection()
{
    const QString name = connectionName();
    Connection& made = connections()[connectionName()];
    if (made.open)
        return QSqlDatabase::database(name, false);
    if (made.inTransaction)
        throw DatabaseError(QStringLiteral("the connection was lost within a transaction"), DatabaseError::Kind::Lost);
    std::optional<DatabaseError> failure;
    {
        QSqlDatabase added = QSqlDatabase::addDatabase(m_dialect->driver(), name);
        m_dialect->configure(added);
        if (added.open()) {
            const QString reason = m_dialect->prepare(added);
            if (reason.isEmpty()) {
                made.open = true;
                return added;
            }
            // The engine may end just then; and without its settings the connection is of no use in any case.
            failure = DatabaseError(reason, DatabaseError::Kind::Lost);
        } else {
            failure = m_dialect->error(added.lastError());
        }
    }
    QSqlDatabase::removeDatabase(name);
    throw counted(*failure);
}

DatabaseError Database::counted(const DatabaseError& error)
{
    ++m_errors.at(size_t(error.kind()));
    return error;
}

void Database::close()
{
    Connection& closed = connections()[connectionName()];
    if (!closed.open)
        return;
    closed.open = false;
    closed.lost = closed.inTransaction;
    closed.prepared.clear();
    // Those in use, too, find that there is nothing to go back to.
    closed.idle = std::make_shared<Rows::Idle>();
    QSqlDatabase::removeDatabase(connectionName());
}

Database::Attempt::Attempt(Database& database, int count)
    : m_database(database)
    , m_count(count)
{
    Connection& used = connections()[m_database.connectionName()];
    m_alone = used.alone;
    used.alone = m_alone || count > 1;
}

Database::Attempt::~Attempt()
{
    connections()[m_database.connectionName()].alone = m_alone;
}

bool Database::Attempt::mayBeRepeated(const DatabaseError& error) const
{
    // Within a transaction the whole of it has failed, and is for its owner to do again.
    return error.kind() == DatabaseError::Kind::Conflict && m_count < maxAttempts &&
           !connections()[m_database.connectionName()].inTransaction;
}

} // namespace server
