// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace server {

class Database;

/// The remote devices that are bound to one practitioner's patients, one a patient at most, and the last command of
/// each. Other practitioners' patients have none, whatever the id. Usable on any thread; database failures are thrown
/// as DatabaseError.
class Devices
{
public:
    enum class Binding
    {
        Bound,      ///< also if it was bound to this patient before, with nothing changed then
        Taken,      ///< by another patient, of whatever practitioner
        HasAnother, ///< the patient has another device
        NoPatient,
    };

    enum class Sending
    {
        Sent,
        NoDevice,
        Disabled,
    };

    /// The database has to outlive the devices.
    Devices(Database& database, const QString& practitionerId);

    Binding bind(const QString& patientId, const QString& deviceId);
    /// Drops its command too. False if the patient has no device.
    bool unbind(const QString& patientId);
    /// Enables a disabled device and disables an enabled one; this stays with the patient when the device goes. The
    /// command is kept. False if the patient has no device.
    bool toggle(const QString& patientId);
    /// In place of the command before. The name is a known one, the record is one of the patient's or empty; without
    /// its record a command is dropped.
    Sending send(const QString& patientId, const QString& command, const QString& recordId);
    /// Nothing happens without a command. False if the patient has no device.
    bool dropCommand(const QString& patientId);

private:
    bool hasDevice(const QString& patientId);

    Database& m_database;
    QString m_practitionerId;
};

} // namespace server
