// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/QuestionnaireAnswers.h"

#include <QHash>
#include <QMap>
#include <QString>
#include <QStringList>

namespace server {

class Database;

/// One questionnaire a record at most, of one practitioner's patients. A patient's own symptoms exist by being named in
/// a questionnaire of one of the patient's records, be it with a strength of 0, and go with the last that names them.
/// Usable on any thread; database failures are thrown as DatabaseError.
class Questionnaires
{
public:
    enum class Saved
    {
        Done,
        NoSuchRecord,   ///< one of the records does not exist
        TooManySymptoms ///< the patient would have more own symptoms than `maxCustom`
    };

    /// The most symptoms of their own that a patient can have.
    static constexpr int maxCustom = 200;

    /// The database has to outlive the questionnaires.
    Questionnaires(Database& database, const QString& practitionerId);

    /// Those of all records of the patient that have one, by the record's id.
    QHash<QString, QuestionnaireAnswers> load(const QString& patientId);
    /// Each in place of the one before; other records keep theirs. A questionnaire without any answer, not even 0,
    /// leaves its record without one. All are stored, or none.
    Saved save(const QString& patientId, const QMap<QString, QuestionnaireAnswers>& questionnaires);

private:
    void replace(const QString& recordId, const QuestionnaireAnswers& answers);
    int customCount(const QString& patientId);

    Database& m_database;
    QString m_practitionerId;
};

} // namespace server
