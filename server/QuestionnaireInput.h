// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/QuestionnaireAnswers.h"

#include <QJsonObject>
#include <QMap>

namespace server {

/// The questionnaires that a client sends to be saved: for each record, by its id, an object that has a number for each
/// symptom. A key that is the id of a shipped symptom, written as the server writes it, means that symptom; every other
/// key is the name of one of the patient's own, be it a number too, and is kept to the letter. So the only names that a
/// patient's own symptom cannot have are the ids of the shipped ones.
class QuestionnaireInput
{
public:
    /// The greatest strength, above and below 0.
    static constexpr int maxIntensity = 1000;
    /// The longest name of a patient's own symptom, in UTF-16 units.
    static constexpr int maxName = 255;

    QuestionnaireInput() = delete;

    /// Throws a Failure of status 400 for what is no such object or is out of its limits, and of 404 for what cannot be
    /// the id of a record.
    static QMap<QString, QuestionnaireAnswers> read(const QJsonObject& object);
};

} // namespace server
