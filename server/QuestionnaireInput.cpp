// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/QuestionnaireInput.h"

#include "server/Failure.h"
#include "server/Known.h"
#include "server/Questionnaires.h"
#include "server/Symptoms.h"

#include <algorithm>
#include <cmath>

namespace server {

namespace {

bool isName(const QString& text)
{
    return !text.trimmed().isEmpty() && text.size() <= QuestionnaireInput::maxName &&
           QStringView(text).isValidUtf16() &&
           std::none_of(text.begin(), text.end(), [](QChar c) { return c.category() == QChar::Other_Control; });
}

double intensity(const QJsonValue& value)
{
    const double number = value.toDouble();
    if (!value.isDouble() || !(std::abs(number) <= QuestionnaireInput::maxIntensity))
        throw Failure(400, Messages::IntensityInvalid, QString::number(QuestionnaireInput::maxIntensity));
    // Adding 0 makes a plain zero of a negative one.
    return number + 0.0;
}

/// The shipped symptom of this key, or 0.
int shipped(const QString& key)
{
    const int id = key.toInt();
    return Symptoms::contains(id) && QString::number(id) == key ? id : 0;
}

QuestionnaireAnswers answersOf(const QJsonObject& object)
{
    QuestionnaireAnswers answers;
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        const double strength = intensity(entry.value());
        if (const int id = shipped(entry.key()))
            answers.shipped.insert(id, strength);
        else if (isName(entry.key()))
            answers.custom.insert(entry.key(), strength);
        else
            throw Failure(400, Messages::SymptomNameInvalid, QString::number(QuestionnaireInput::maxName));
    }
    if (answers.custom.size() > Questionnaires::maxCustom)
        throw Failure(400, Messages::TooManySymptoms, QString::number(Questionnaires::maxCustom));
    return answers;
}

} // namespace

QMap<QString, QuestionnaireAnswers> QuestionnaireInput::read(const QJsonObject& object)
{
    if (object.size() > Known::maxRecords)
        throw Failure(400, Messages::TooManyRecords, QString::number(Known::maxRecords));
    QMap<QString, QuestionnaireAnswers> questionnaires;
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        if (!entry.value().isObject())
            throw Failure(400, Messages::AnswersInvalid);
        if (!Known::isId(entry.key()))
            throw Failure(404, Messages::NoSuchRecord);
        questionnaires.insert(entry.key(), answersOf(entry.value().toObject()));
    }
    return questionnaires;
}

} // namespace server
