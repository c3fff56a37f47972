// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Devices.h"

#include "server/Database.h"
#include "server/Patients.h"
#include "server/Secrets.h"

#include <QDateTime>

namespace server {

namespace {

QString now()
{
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
}

} // namespace

Devices::Devices(Database& database, const QString& practitionerId)
    : m_database(database)
    , m_practitionerId(practitionerId)
{
}

Devices::Binding Devices::bind(const QString& patientId, const QString& deviceId)
{
    Database::Transaction transaction(m_database);
    const std::optional<Patient> patient = Patients(m_database, m_practitionerId).find(patientId);
    if (!patient)
        return Binding::NoPatient;
    QString holder;
    {
        Rows query =
            m_database.run(QStringLiteral("SELECT patient_id FROM devices WHERE device_id = ?"), {deviceId});
        if (query.next())
            holder = query.value(0).toString();
    }
    if (holder == patientId)
        return Binding::Bound;
    if (!holder.isEmpty())
        return Binding::Taken;
    if (patient->hasDevice)
        return Binding::HasAnother;
    m_database.run(QStringLiteral("INSERT INTO devices (patient_id, device_id, bound_at) VALUES (?, ?, ?)"),
                   {patientId, deviceId, now()});
    transaction.commit();
    return Binding::Bound;
}

bool Devices::unbind(const QString& patientId)
{
    Database::Transaction transaction(m_database);
    if (!hasDevice(patientId))
        return false;
    m_database.run(QStringLiteral("DELETE FROM devices WHERE patient_id = ?"), {patientId});
    transaction.commit();
    return true;
}

bool Devices::toggle(const QString& patientId)
{
    Database::Transaction transaction(m_database);
    if (!hasDevice(patientId))
        return false;
    m_database.run(QStringLiteral("UPDATE patients SET device_enabled = 1 - device_enabled WHERE id = ?"), {patientId});
    transaction.commit();
    return true;
}

Devices::Sending Devices::send(const QString& patientId, const QString& command, const QString& recordId)
{
    Database::Transaction transaction(m_database);
    const std::optional<Patient> patient = Patients(m_database, m_practitionerId).find(patientId);
    if (!patient || !patient->hasDevice)
        return Sending::NoDevice;
    if (!patient->deviceEnabled)
        return Sending::Disabled;
    m_database.run(QStringLiteral("DELETE FROM commands WHERE patient_id = ?"), {patientId});
    m_database.run(
        QStringLiteral("INSERT INTO commands (id, patient_id, name, record_id, complete, sent_at) "
                       "VALUES (?, ?, ?, ?, 0, ?)"),
        {Secrets::randomId(), patientId, command, recordId.isEmpty() ? QVariant() : QVariant(recordId), now()});
    transaction.commit();
    return Sending::Sent;
}

bool Devices::dropCommand(const QString& patientId)
{
    Database::Transaction transaction(m_database);
    if (!hasDevice(patientId))
        return false;
    m_database.run(QStringLiteral("DELETE FROM commands WHERE patient_id = ?"), {patientId});
    transaction.commit();
    return true;
}

bool Devices::hasDevice(const QString& patientId)
{
    const std::optional<Patient> patient = Patients(m_database, m_practitionerId).find(patientId);
    return patient && patient->hasDevice;
}

} // namespace server
