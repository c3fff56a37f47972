// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>

#include <utility>

namespace server {

/// One patient as stored.
struct Patient
{
    QString id;
    QString name;
    QDate birthDate;
    QString gender; ///< "MALE" or "FEMALE"
    QString phone;
    QString notes;
    QDateTime lastRecordAt; ///< UTC; invalid without a record

    bool hasDevice = false;       ///< a remote one is bound
    bool deviceEnabled = true;    ///< the one that is bound, or else the one that is bound next
    QString command;              ///< the last one to the device, see DeviceCommand; may be empty
    bool commandComplete = false; ///< the device has carried it out

    /// Full years on this day; 0 before the birth.
    int age(const QDate& day) const
    {
        const int years = day.year() - birthDate.year();
        const bool hadBirthday =
            std::make_pair(day.month(), day.day()) >= std::make_pair(birthDate.month(), birthDate.day());
        return qMax(0, hadBirthday ? years : years - 1);
    }
};

} // namespace server
