// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Patient.h"

#include <QJsonObject>

namespace server {

/// The check of a patient that a practitioner has filled in.
class PatientInput
{
public:
    /// Greatest lengths, in UTF-16 units.
    static constexpr int maxName = 255;
    static constexpr int maxPhone = 100;
    static constexpr int maxNotes = 10000;

    /// The patient without an id. Phone and notes may be missing; all that is wrong with the fields is thrown at once,
    /// as a Failure. `today` bounds the date of birth.
    static Patient read(const QJsonObject& object, const QDate& today);
};

} // namespace server
