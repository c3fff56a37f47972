// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Wire.h"

#include "server/Failure.h"
#include "server/Messages.h"
#include "server/Patient.h"
#include "server/Record.h"

#include <QDate>
#include <QDateTime>
#include <QJsonArray>

namespace server {

Reply Wire::json(const QJsonDocument& document)
{
    Reply reply;
    reply.body = document.toJson(QJsonDocument::Compact);
    return reply;
}

Reply Wire::json(const QJsonObject& object)
{
    return json(QJsonDocument(object));
}

Reply Wire::json(const QJsonArray& array)
{
    return json(QJsonDocument(array));
}

Reply Wire::text(const QByteArray& body)
{
    Reply reply;
    reply.contentType = QByteArrayLiteral("text/plain; charset=utf-8");
    reply.body = body;
    return reply;
}

Reply Wire::message(int status, const QString& sentence)
{
    Reply reply = json(QJsonObject{{QStringLiteral("message"), sentence}});
    reply.status = status;
    return reply;
}

Reply Wire::failed(const Failure& failure, const QString& language)
{
    if (failure.errors().isEmpty()) {
        Reply reply = message(failure.status(), failure.message(language));
        if (failure.retryAfter() > 0)
            reply.headers.append({"Retry-After", QByteArray::number(failure.retryAfter())});
        return reply;
    }
    QJsonArray errors;
    for (const Failure::FieldError& error : failure.errors()) {
        QString sentence = Messages::text(error.message, language);
        if (!error.argument.isEmpty())
            sentence = sentence.arg(error.argument);
        errors.append(QJsonObject{{error.field, sentence}});
    }
    Reply reply = json(QJsonObject{{QStringLiteral("errors"), errors}});
    reply.status = failure.status();
    return reply;
}

QString Wire::time(const QDateTime& moment)
{
    if (!moment.isValid())
        return QStringLiteral("");
    const QDateTime local = moment.toLocalTime();
    return local.toOffsetFromUtc(local.offsetFromUtc()).toString(Qt::ISODate);
}

QString Wire::clock(const QDateTime& moment)
{
    return moment.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QJsonObject Wire::patient(const Patient& row)
{
    return {{QStringLiteral("id"), row.id},
            {QStringLiteral("name"), row.name},
            {QStringLiteral("gender"), row.gender},
            {QStringLiteral("notes"), row.notes},
            {QStringLiteral("phone"), row.phone},
            {QStringLiteral("birthDate"), row.birthDate.toString(Qt::ISODate)},
            {QStringLiteral("age"), row.age(QDate::currentDate())},
            {QStringLiteral("lastRecordAt"), time(row.lastRecordAt)},
            {QStringLiteral("hasDevices"), row.hasDevice},
            {QStringLiteral("command"), row.command},
            {QStringLiteral("isComplete"), row.commandComplete},
            {QStringLiteral("isEnabled"), row.deviceEnabled}};
}

QJsonObject Wire::record(const Record& row)
{
    return {{QStringLiteral("id"), row.id},
            {QStringLiteral("patientId"), row.patientId},
            {QStringLiteral("doctorName"), row.doctorName},
            {QStringLiteral("recordedAt"), time(row.recordedAt)},
            {QStringLiteral("editable"), true},
            {QStringLiteral("questionnaire"), row.questionnaire}};
}

QJsonObject Wire::marker(const Catalogue::Marker& entry, const QVector<int>& values, const QString& language)
{
    QJsonArray list;
    for (const int value : values)
        list.append(value);
    return {{QStringLiteral("id"), entry.id},
            {QStringLiteral("title"), entry.title.in(language)},
            {QStringLiteral("description"), entry.description.in(language)},
            {QStringLiteral("amount"), int(entry.frequencies.size())},
            {QStringLiteral("values"), list}};
}

} // namespace server
