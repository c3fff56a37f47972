// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Wire.h"

#include "server/Failure.h"
#include "server/JsonOutput.h"
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

Reply Wire::json(const JsonOutput& output)
{
    Reply reply;
    reply.body = output.bytes();
    return reply;
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
        return QLatin1String("");
    const QDateTime local = moment.toLocalTime();
    return local.toOffsetFromUtc(local.offsetFromUtc()).toString(Qt::ISODate);
}

QString Wire::clock(const QDateTime& moment)
{
    return moment.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

void Wire::patient(JsonOutput& output, const Patient& row, const QDate& day)
{
    output.beginObject();
    output.member(QLatin1String("id"), row.id);
    output.member(QLatin1String("name"), row.name);
    output.member(QLatin1String("gender"), row.gender);
    output.member(QLatin1String("notes"), row.notes);
    output.member(QLatin1String("phone"), row.phone);
    output.member(QLatin1String("birthDate"), row.birthDate.toString(Qt::ISODate));
    output.member(QLatin1String("age"), row.age(day));
    output.member(QLatin1String("lastRecordAt"), time(row.lastRecordAt));
    output.member(QLatin1String("hasDevices"), row.hasDevice);
    output.member(QLatin1String("command"), row.command);
    output.member(QLatin1String("isComplete"), row.commandComplete);
    output.member(QLatin1String("isEnabled"), row.deviceEnabled);
    output.endObject();
}

void Wire::record(JsonOutput& output, const Record& row)
{
    output.beginObject();
    output.member(QLatin1String("id"), row.id);
    output.member(QLatin1String("patientId"), row.patientId);
    output.member(QLatin1String("doctorName"), row.doctorName);
    output.member(QLatin1String("recordedAt"), time(row.recordedAt));
    output.member(QLatin1String("editable"), true);
    output.member(QLatin1String("questionnaire"), row.questionnaire);
    output.endObject();
}

void Wire::marker(JsonOutput& output, const Catalogue::Marker& entry, const QVector<int>& values,
                  const QString& language)
{
    output.beginObject();
    output.member(QLatin1String("id"), entry.id);
    output.member(QLatin1String("title"), entry.title.in(language));
    output.member(QLatin1String("description"), entry.description.in(language));
    output.member(QLatin1String("amount"), int(entry.frequencies.size()));
    output.key(QLatin1String("values"));
    output.beginArray();
    for (const int value : values)
        output.value(value);
    output.endArray();
    output.endObject();
}

} // namespace server
