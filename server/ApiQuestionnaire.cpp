// SPDX-License-Identifier: GPL-3.0-or-later
// The operations on the symptoms of a patient.
#include "server/Api.h"

#include "server/Failure.h"
#include "server/JsonInput.h"
#include "server/Known.h"
#include "server/Patients.h"
#include "server/QuestionnaireInput.h"
#include "server/Questionnaires.h"
#include "server/Records.h"
#include "server/Symptoms.h"
#include "server/TextKeys.h"
#include "server/Wire.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QSet>

#include <algorithm>

namespace server {

namespace {

/// Of all questionnaires of a patient, as the dictionary has them.
QStringList customNames(const QHash<QString, QuestionnaireAnswers>& questionnaires)
{
    QSet<QString> names;
    for (const QuestionnaireAnswers& answers : questionnaires) {
        for (auto answer = answers.custom.begin(); answer != answers.custom.end(); ++answer)
            names.insert(answer.key());
    }
    QVector<QPair<QString, QString>> keyed;
    for (const QString& name : qAsConst(names))
        keyed.append({TextKeys::sortKey(name), name});
    std::sort(keyed.begin(), keyed.end());
    QStringList sorted;
    for (const auto& entry : qAsConst(keyed))
        sorted.append(entry.second);
    return sorted;
}

} // namespace

Reply Api::questionnaire(const Call& call)
{
    const JsonInput input(call.request.body);
    const QString patientId = input.text("patientId");
    const QStringList recordIds = input.texts("records");
    Patients patients(m_database, call.practitioner.id);
    Known::patient(patients, patientId);
    const QVector<Record> all = Records(m_database, call.practitioner.id).list(patientId);
    const QVector<int> chosen = Known::records(all, recordIds);
    const QHash<QString, QuestionnaireAnswers> questionnaires =
        Questionnaires(m_database, call.practitioner.id).load(patientId);

    QJsonObject dates;
    QMap<QString, QuestionnaireAnswers> ofChosen;
    for (const int place : chosen) {
        const Record& record = all.at(place);
        dates.insert(record.id, Wire::time(record.recordedAt));
        ofChosen.insert(record.id, questionnaires.value(record.id));
    }
    const auto row = [&](int id, const QString& title, bool custom) {
        QJsonObject intensities;
        for (auto entry = ofChosen.begin(); entry != ofChosen.end(); ++entry)
            intensities.insert(entry.key(), custom ? entry->custom.value(title) : entry->shipped.value(id));
        return QJsonObject{{QStringLiteral("id"), id},
                           {QStringLiteral("symptom"), title},
                           {QStringLiteral("custom"), custom},
                           {QStringLiteral("intensities"), intensities}};
    };
    QJsonArray rows;
    for (const Symptoms::Symptom& symptom : Symptoms::all())
        rows.append(row(symptom.id, symptom.title.in(call.language), false));
    const QStringList names = customNames(questionnaires);
    for (const QString& name : names)
        rows.append(row(-1, name, true));
    return Wire::json(QJsonObject{{QStringLiteral("dates"), dates}, {QStringLiteral("rows"), rows}});
}

Reply Api::updateQuestionnaire(const Call& call)
{
    const JsonInput input(call.request.body);
    Patients patients(m_database, call.practitioner.id);
    const Patient patient = Known::patient(patients, call.ids.first());
    const QMap<QString, QuestionnaireAnswers> questionnaires = QuestionnaireInput::read(input.object());
    switch (Questionnaires(m_database, call.practitioner.id).save(patient.id, questionnaires)) {
    case Questionnaires::Saved::Done:
        break;
    case Questionnaires::Saved::NoSuchRecord:
        throw Failure(404, Messages::NoSuchRecord);
    case Questionnaires::Saved::TooManySymptoms:
        throw Failure(400, Messages::TooManySymptoms, QString::number(Questionnaires::maxCustom));
    }
    return Wire::json(QJsonObject());
}

} // namespace server
