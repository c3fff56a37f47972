// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Api.h"

#include "server/Database.h"
#include "server/DeviceCommand.h"
#include "server/Devices.h"
#include "server/Failure.h"
#include "server/JsonInput.h"
#include "server/Known.h"
#include "server/Patients.h"
#include "server/PlainText.h"
#include "server/Recipes.h"
#include "server/Records.h"
#include "server/Wire.h"

#include <QJsonObject>

namespace server {

Reply Api::connectDevice(const Call& call)
{
    const JsonInput input(call.request.body);
    const QString patientId = input.text("patientId");
    const QString deviceId = input.text("deviceId").trimmed();
    Patients patients(m_database, call.practitioner.id);
    Known::patient(patients, patientId);
    if (deviceId.isEmpty() || deviceId.size() > maxSensorId || !PlainText::isLine(deviceId))
        throw Failure(400, Messages::DeviceIdInvalid, QString::number(maxSensorId));
    switch (Devices(m_database, call.practitioner.id).bind(patientId, deviceId)) {
    case Devices::Binding::Bound:
        return Wire::json(QJsonObject());
    case Devices::Binding::Taken:
        throw Failure(409, Messages::DeviceTaken);
    case Devices::Binding::HasAnother:
        throw Failure(409, Messages::HasAnotherDevice);
    case Devices::Binding::NoPatient:
        break;
    }
    throw Failure(404, Messages::NoSuchPatient);
}

Reply Api::toggleDevice(const Call& call)
{
    const JsonInput input(call.request.body);
    Patients patients(m_database, call.practitioner.id);
    const Patient patient = Known::patient(patients, input.text("patientId"));
    if (!Devices(m_database, call.practitioner.id).toggle(patient.id))
        throw Failure(409, Messages::NoDevice);
    return Wire::json(QJsonObject());
}

Reply Api::disconnectDevice(const Call& call)
{
    Patients patients(m_database, call.practitioner.id);
    const Patient patient = Known::patient(patients, call.ids.first());
    if (!Devices(m_database, call.practitioner.id).unbind(patient.id))
        throw Failure(409, Messages::NoDevice);
    return Wire::json(QJsonObject());
}

Reply Api::sendCommand(const Call& call)
{
    const JsonInput input(call.request.body);
    const QString patientId = input.text("patientId");
    const QString command = input.text("command");
    const QString recordId = input.optionalText("recordId");
    Patients patients(m_database, call.practitioner.id);
    Known::patient(patients, patientId);
    order(call, patientId, recordId, command);
    return Wire::json(QJsonObject());
}

Reply Api::deleteCommand(const Call& call)
{
    Patients patients(m_database, call.practitioner.id);
    const Patient patient = Known::patient(patients, call.ids.first());
    if (!Devices(m_database, call.practitioner.id).dropCommand(patient.id))
        throw Failure(409, Messages::NoDevice);
    return Wire::json(QJsonObject());
}

void Api::order(const Call& call, const QString& patientId, const QString& recordId, const QString& command)
{
    const QString known = DeviceCommand::known(command);
    if (known.isEmpty())
        throw Failure(400, Messages::NoSuchCommand);
    // The record, its recipe and the device are those of one moment.
    Database::Transaction transaction(m_database);
    Records records(m_database, call.practitioner.id);
    if (!recordId.isEmpty() && (!Known::isId(recordId) || !records.find(patientId, recordId)))
        throw Failure(404, Messages::NoSuchRecord);
    if (DeviceCommand::playsRecipe(known)) {
        if (recordId.isEmpty())
            throw Failure(400, Messages::NoRecordGiven);
        if (Recipes(m_database, call.practitioner.id).load(patientId, recordId).markerIds.isEmpty())
            throw Failure(409, Messages::NoRecipe);
    }
    switch (Devices(m_database, call.practitioner.id).send(patientId, known, recordId)) {
    case Devices::Sending::Sent:
        transaction.commit();
        return;
    case Devices::Sending::Disabled:
        throw Failure(409, Messages::DeviceDisabled);
    case Devices::Sending::NoDevice:
        break;
    }
    throw Failure(409, Messages::NoDevice);
}

} // namespace server
