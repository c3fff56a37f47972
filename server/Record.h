// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>

namespace server {

/// One recording of a patient, without its samples.
struct Record
{
    QString id;
    QString patientId;
    QString doctorName;   ///< of the practitioner who owns the patient
    QDateTime recordedAt; ///< UTC
    QString sensorId;     ///< of the device that recorded it; may be empty
    bool questionnaire = false;
};

} // namespace server
