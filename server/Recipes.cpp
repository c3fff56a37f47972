// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Recipes.h"

#include "server/Database.h"
#include "server/Records.h"

namespace server {

Recipes::Recipes(Database& database, const QString& practitionerId)
    : m_database(database)
    , m_practitionerId(practitionerId)
{
}

Recipe Recipes::load(const QString& patientId, const QString& recordId)
{
    Recipe recipe;
    Rows query =
        m_database.run(QStringLiteral("SELECT e.duration, m.marker_id FROM recipes e "
                                      "JOIN records r ON r.id = e.record_id "
                                      "JOIN patients p ON p.id = r.patient_id "
                                      "LEFT JOIN recipe_markers m ON m.record_id = e.record_id "
                                      "WHERE e.record_id = ? AND r.patient_id = ? AND p.practitioner_id = ? "
                                      "ORDER BY m.position"),
                       {recordId, patientId, m_practitionerId});
    while (query.next()) {
        recipe.duration = query.value(0).toInt();
        if (!query.isNull(1))
            recipe.markerIds.append(query.value(1).toString());
    }
    return recipe;
}

bool Recipes::save(const QString& patientId, const QString& recordId, const Recipe& recipe)
{
    Database::Transaction transaction(m_database);
    if (!Records(m_database, m_practitionerId).find(patientId, recordId))
        return false;
    m_database.run(QStringLiteral("DELETE FROM recipe_markers WHERE record_id = ?"), {recordId});
    m_database.run(QStringLiteral("DELETE FROM recipes WHERE record_id = ?"), {recordId});
    m_database.run(QStringLiteral("INSERT INTO recipes (record_id, duration, saved_at) VALUES (?, ?, ?)"),
                   {recordId, recipe.duration, QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)});
    for (int i = 0; i < recipe.markerIds.size(); ++i)
        m_database.run(QStringLiteral("INSERT INTO recipe_markers (record_id, position, marker_id) VALUES (?, ?, ?)"),
                       {recordId, i, recipe.markerIds.at(i)});
    transaction.commit();
    return true;
}

} // namespace server
