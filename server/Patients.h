// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Patient.h"
#include "server/PatientQuery.h"
#include "server/Rows.h"
#include "server/Statement.h"

#include <QVector>

#include <optional>

namespace server {

class Database;

/// The patients of one practitioner: others are not found, whatever the id. Usable on any thread; database failures are
/// thrown as DatabaseError.
class Patients
{
public:
    struct Page
    {
        int pages = 0; ///< of the whole list; 0 if it is empty
        QVector<Patient> rows;
    };

    /// The database has to outlive the patients.
    Patients(Database& database, const QString& practitionerId);

    Page list(const PatientQuery& query);
    std::optional<Patient> find(const QString& id);
    /// Stores a new patient under an id of its own, whatever id is given, without records and without a device.
    Patient add(const Patient& patient);
    /// Stores new patients as add() does, but under the ids that they have, and all of them by one statement.
    void addAll(const QVector<Patient>& patients);
    /// Stores everything but the time of the last record and the state of the device, and returns what is stored then;
    /// nothing if there is no such patient.
    std::optional<Patient> update(const Patient& patient);
    /// With all records and what belongs to them; its device is free then. False if there is no such patient.
    bool remove(const QString& id);

private:
    Rows run(const Statement& statement);
    /// Of a statement of PatientStatements; no pages if it finds nothing.
    Page rowsOf(const Statement& statement, const PatientQuery& query);

    Database& m_database;
    QString m_practitionerId;
};

} // namespace server
