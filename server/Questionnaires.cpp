// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Questionnaires.h"

#include "server/Database.h"
#include "server/Records.h"

namespace server {

Questionnaires::Questionnaires(Database& database, const QString& practitionerId)
    : m_database(database)
    , m_practitionerId(practitionerId)
{
}

QHash<QString, QuestionnaireAnswers> Questionnaires::load(const QString& patientId)
{
    QHash<QString, QuestionnaireAnswers> found;
    Rows query = m_database.run(QStringLiteral("SELECT q.record_id, a.custom, a.symptom, a.intensity "
                                                    "FROM questionnaires q "
                                                    "JOIN records r ON r.id = q.record_id "
                                                    "JOIN patients p ON p.id = r.patient_id "
                                                    "LEFT JOIN questionnaire_answers a ON a.record_id = q.record_id "
                                                    "WHERE r.patient_id = ? AND p.practitioner_id = ?"),
                                     {patientId, m_practitionerId});
    while (query.next()) {
        QuestionnaireAnswers& answers = found[query.value(0).toString()];
        if (query.isNull(1))
            continue;
        const QString symptom = query.value(2).toString();
        const double intensity = query.value(3).toDouble();
        if (query.value(1).toInt() != 0)
            answers.custom.insert(symptom, intensity);
        else
            answers.shipped.insert(symptom.toInt(), intensity);
    }
    return found;
}

Questionnaires::Saved Questionnaires::save(const QString& patientId,
                                           const QMap<QString, QuestionnaireAnswers>& questionnaires)
{
    Database::Transaction transaction(m_database);
    Records records(m_database, m_practitionerId);
    for (auto entry = questionnaires.begin(); entry != questionnaires.end(); ++entry) {
        if (!records.find(patientId, entry.key()))
            return Saved::NoSuchRecord;
        replace(entry.key(), entry.value());
    }
    if (customCount(patientId) > maxCustom)
        return Saved::TooManySymptoms;
    transaction.commit();
    return Saved::Done;
}

void Questionnaires::replace(const QString& recordId, const QuestionnaireAnswers& answers)
{
    m_database.run(QStringLiteral("DELETE FROM questionnaire_answers WHERE record_id = ?"), {recordId});
    m_database.run(QStringLiteral("DELETE FROM questionnaires WHERE record_id = ?"), {recordId});
    if (answers.shipped.isEmpty() && answers.custom.isEmpty())
        return;
    m_database.run(QStringLiteral("INSERT INTO questionnaires (record_id) VALUES (?)"), {recordId});
    const QString insert = QStringLiteral("INSERT INTO questionnaire_answers (record_id, custom, symptom, intensity) "
                                          "VALUES (?, ?, ?, ?)");
    for (auto answer = answers.shipped.begin(); answer != answers.shipped.end(); ++answer) {
        // A shipped symptom is asked for in any case, and 0 is what it has without an answer.
        if (answer.value() != 0)
            m_database.run(insert, {recordId, 0, QString::number(answer.key()), answer.value()});
    }
    for (auto answer = answers.custom.begin(); answer != answers.custom.end(); ++answer)
        m_database.run(insert, {recordId, 1, answer.key(), answer.value()});
}

int Questionnaires::customCount(const QString& patientId)
{
    Rows query = m_database.run(QStringLiteral("SELECT COUNT(DISTINCT a.symptom) FROM questionnaire_answers a "
                                                    "JOIN records r ON r.id = a.record_id "
                                                    "WHERE r.patient_id = ? AND a.custom = 1"),
                                     {patientId});
    return query.next() ? query.value(0).toInt() : 0;
}

} // namespace server
