// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Recipe.h"

namespace server {

class Database;

/// One recipe a record at most, of one practitioner's patients. Usable on any thread; database failures are thrown as
/// DatabaseError.
class Recipes
{
public:
    /// The database has to outlive the recipes.
    Recipes(Database& database, const QString& practitionerId);

    /// An empty recipe if none is stored or there is no such record.
    Recipe load(const QString& patientId, const QString& recordId);
    /// In place of the one before. False if there is no such record.
    bool save(const QString& patientId, const QString& recordId, const Recipe& recipe);

private:
    Database& m_database;
    QString m_practitionerId;
};

} // namespace server
