// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/server/ApiClient.h"
#include "tests/server/ServerProcess.h"
#include "tests/server/TestDatabase.h"

#include <QVariant>

#include <memory>

/// A server on a database of its own, practitioners with patients and records in it, and a look at what is stored.
class ServerFixture
{
public:
    ServerFixture() = default;
    ServerFixture(const ServerFixture&) = delete;
    ServerFixture& operator=(const ServerFixture&) = delete;

    /// On an empty database, of the engine that the program is run for.
    bool start(const QStringList& options = {});
    /// Ends the server as its user would, and starts it again on the same database. Clients of before have to be told
    /// the new address: newClient() and sameClient() do.
    bool restart();
    /// True if it ended well.
    bool stop();

    ServerProcess& process() { return m_server; }
    /// As --database takes it.
    QString path() const { return m_database->location(); }

    /// A practitioner of its own, logged in; null on failure.
    std::unique_ptr<ApiClient> newClient();
    /// The practitioner of another client, at the current address.
    std::unique_ptr<ApiClient> sameClient(const ApiClient& client) const;

    /// The id of what was made; empty on failure.
    static QString newPatient(ApiClient& client);
    /// As if it had been recorded at that moment; an invalid time leaves the real one.
    QString newRecord(ApiClient& client, const QString& patientId, const QByteArray& wave,
                      const QDateTime& recordedAt = QDateTime());

    /// Runs a statement on the database behind the server's back; the first value of the result, invalid if it fails.
    QVariant sql(const QString& statement, const QVariantList& values = {});
    /// All rows of a table as texts, bytes as hex digits, sorted.
    QStringList rows(const QString& table);

private:
    std::unique_ptr<TestDatabase> m_database;
    ServerProcess m_server;
    QStringList m_options;
    int m_practitioners = 0;
};
