// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Record.h"
#include "server/Statement.h"

#include <QByteArray>
#include <QVector>

#include <optional>

namespace server {

class Database;

/// The records of one practitioner's patients: others are not found, whatever the id. Usable on any thread; database
/// failures are thrown as DatabaseError.
class Records
{
public:
    /// The database has to outlive the records.
    Records(Database& database, const QString& practitionerId);

    /// Oldest first.
    QVector<Record> list(const QString& patientId);
    /// The statement by which list() finds them.
    static Statement listing(const QString& practitionerId, const QString& patientId);
    std::optional<Record> find(const QString& patientId, const QString& id);
    /// The whole file as it was uploaded; nothing if there is no such record.
    std::optional<QByteArray> wave(const QString& patientId, const QString& id);
    /// Nothing if there is no such patient.
    std::optional<Record> add(const QString& patientId, const QByteArray& wave, const QString& sensorId,
                              const QDateTime& recordedAt);
    /// With its recipe, its questionnaire and the results of its analysis. False if there is no such record.
    bool remove(const QString& patientId, const QString& id);

private:
    void updateLastRecord(const QString& patientId);

    Database& m_database;
    QString m_practitionerId;
};

} // namespace server
