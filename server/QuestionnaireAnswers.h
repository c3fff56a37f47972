// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMap>
#include <QString>

namespace server {

/// The questionnaire of one record: how strong each symptom was. What is not in it was not there at all, a strength
/// of 0.
struct QuestionnaireAnswers
{
    QMap<int, double> shipped;    ///< by the ids of Symptoms
    QMap<QString, double> custom; ///< the patient's own, by their names
};

} // namespace server
