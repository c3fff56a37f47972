// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Database.h"

#include "server/DatabaseError.h"
#include "server/Dialect.h"
#include "server/Migrations.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QSqlError>

#include <atomic>

namespace server {

namespace {

/// Closes the connections of a thread when it ends: Qt allows none to be used from another thread.
struct ThreadConnections
{
    ~ThreadConnections()
    {
        for (const QString& name : names)
            QSqlDatabase::removeDatabase(name);
    }

    QSet<QString> names;
    /// By the name of the connection: whether the open transaction still may be committed.
    QHash<QString, bool> transactions;
};

ThreadConnections& connections()
{
    thread_local ThreadConnections ofThread;
    return ofThread;
}

/// Unlike the address of a thread, a number is never used twice.
quint64 threadNumber()
{
    static std::atomic<quint64> last{0};
    thread_local const quint64 number = ++last;
    return number;
}

} // namespace

Database::Transaction::Transaction(Database& database)
    : m_database(database)
{
    const QString name = m_database.connectionName();
    m_outer = !connections().transactions.contains(name);
    if (!m_outer)
        return;
    m_database.run(Dialect::beginWrite());
    connections().transactions.insert(name, true);
}

Database::Transaction::~Transaction()
{
    const QString name = m_database.connectionName();
    if (!m_outer) {
        if (m_open)
            connections().transactions[name] = false;
        return;
    }
    connections().transactions.remove(name);
    if (!m_open)
        return;
    try {
        m_database.run(QStringLiteral("ROLLBACK"));
    } catch (const DatabaseError&) {
        // The engine has rolled back by itself, or the connection is lost: nothing is stored in either case.
    }
}

void Database::Transaction::commit()
{
    if (m_outer) {
        if (!connections().transactions.value(m_database.connectionName()))
            throw DatabaseError(QStringLiteral("a part of the transaction was given up"));
        m_database.run(QStringLiteral("COMMIT"));
    }
    m_open = false;
}

std::unique_ptr<Database> Database::open(const QString& path, QString& error)
{
    const QFileInfo file(path);
    if (file.isDir()) {
        error = QStringLiteral("it is a folder");
        return nullptr;
    }
    if (!QDir().mkpath(file.absolutePath())) {
        error = QStringLiteral("the folder %1 cannot be made").arg(file.absolutePath());
        return nullptr;
    }
    std::unique_ptr<Database> database(new Database(file.absoluteFilePath()));
    try {
        if (!Migrations::apply(*database, error))
            return nullptr;
    } catch (const DatabaseError& failure) {
        error = failure.text();
        return nullptr;
    }
    return database;
}

Database::Database(const QString& path)
    : m_path(path)
{
    static std::atomic<quint64> last{0};
    m_name = QStringLiteral("store%1-").arg(++last);
}

Database::~Database()
{
    const QString name = connectionName();
    if (connections().names.remove(name))
        QSqlDatabase::removeDatabase(name);
}

QSqlQuery Database::run(const QString& statement, const QVariantList& values)
{
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    if (!query.prepare(statement))
        throw DatabaseError(query.lastError().text());
    for (const QVariant& value : values) {
        // Qt would store a null text as NULL, which only an invalid value is to mean.
        const bool nullText = value.userType() == QMetaType::QString && value.isNull();
        query.addBindValue(nullText ? QVariant(QStringLiteral("")) : value);
    }
    if (!query.exec())
        throw DatabaseError(query.lastError().text());
    return query;
}

bool Database::hasTable(const QString& name)
{
    return connection().tables().contains(name);
}

bool Database::isEmpty()
{
    return connection().tables().isEmpty();
}

QString Database::connectionName() const
{
    return m_name + QString::number(threadNumber());
}

QSqlDatabase Database::connection()
{
    const QString name = connectionName();
    if (connections().names.contains(name))
        return QSqlDatabase::database(name, false);
    QString failure;
    {
        QSqlDatabase added = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        Dialect::configure(added, m_path);
        if (added.open()) {
            failure = Dialect::prepare(added);
            if (failure.isEmpty()) {
                connections().names.insert(name);
                return added;
            }
        } else {
            failure = added.lastError().databaseText();
        }
    }
    QSqlDatabase::removeDatabase(name);
    throw DatabaseError(failure);
}

} // namespace server
