// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Api.h"

#include "server/Analyses.h"
#include "server/Autospectrum.h"
#include "server/Catalogue.h"
#include "server/Database.h"
#include "server/DeviceCommand.h"
#include "server/Failure.h"
#include "server/FormBody.h"
#include "server/JsonInput.h"
#include "server/JsonOutput.h"
#include "server/Known.h"
#include "server/LineWriter.h"
#include "server/MarkerAnalysis.h"
#include "server/MarkerBlocks.h"
#include "server/Needle.h"
#include "server/PatientInput.h"
#include "server/Patients.h"
#include "server/PlainText.h"
#include "server/Recipes.h"
#include "server/Records.h"
#include "server/ReplyEncoding.h"
#include "server/WaveFile.h"
#include "server/Wire.h"
#include "server/Workbook.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>

#include <cstdlib>
#include <limits>
#include <memory>
#include <typeinfo>

#include <cxxabi.h>

namespace server {

namespace {

constexpr int maxDuration = 1440;

/// Whether a segment of a pattern stands for an id.
bool isPlace(const QByteArray& segment)
{
    return segment.startsWith('{');
}

/// Never what() of an exception that this program has not made: it may repeat what a client sent.
QByteArray kindOf(const std::exception& error)
{
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(typeid(error).name(), nullptr, nullptr, &status), std::free);
    return QByteArray("an exception of the type ") + (status == 0 ? name.get() : typeid(error).name());
}

Reply pageReply(const Patients::Page& page)
{
    const QDate today = QDate::currentDate();
    JsonOutput output;
    output.beginObject();
    output.member(QLatin1String("pages"), page.pages);
    output.key(QLatin1String("data"));
    output.beginArray();
    for (const Patient& patient : page.rows)
        Wire::patient(output, patient, today);
    output.endArray();
    output.endObject();
    return Wire::json(output);
}

Reply patientReply(const Patient& patient)
{
    JsonOutput output;
    Wire::patient(output, patient, QDate::currentDate());
    return Wire::json(output);
}

/// Empty if it is missing.
QByteArray item(const FormBody& query, const char* key)
{
    const std::optional<QByteArray> value = query.bytes(key);
    if (!value && query.contains(key))
        throw Failure(400, Messages::BadQuery, QString::fromLatin1(key));
    return value.value_or(QByteArray());
}

/// A whole number from the query, or the default if it is missing or empty.
int number(const FormBody& query, const char* key, int minimum, int maximum, int byDefault)
{
    const QByteArray value = item(query, key);
    if (value.isEmpty())
        return byDefault;
    bool sound = false;
    const int parsed = value.toInt(&sound);
    if (!sound || parsed < minimum || parsed > maximum)
        throw Failure(400, Messages::BadQuery, QString::fromLatin1(key));
    return parsed;
}

/// The place of the value in the list, or 0 if it is missing or empty.
int choice(const FormBody& query, const char* key, const QList<QByteArray>& values)
{
    const QByteArray value = item(query, key);
    if (value.isEmpty())
        return 0;
    const int place = values.indexOf(value);
    if (place < 0)
        throw Failure(400, Messages::BadQuery, QString::fromLatin1(key));
    return place;
}

} // namespace

Api::Api(Database& database, int sessionHours, const LoginAttempts::Limits& limits)
    : m_database(database)
    , m_accounts(database, sessionHours)
    , m_attempts(database, limits)
{
    route("POST", "/auth/login", &Api::login, true);
    route("GET", "/patient", &Api::listPatients);
    route("GET", "/patient/filter", &Api::filterPatients);
    route("POST", "/patient", &Api::createPatient);
    route("PUT", "/patient", &Api::updatePatient);
    route("DELETE", "/patient/{p}", &Api::deletePatient);
    route("GET", "/record/{p}", &Api::listRecords);
    route("POST", "/record", &Api::uploadRecord);
    route("DELETE", "/record/{p}/{r}", &Api::deleteRecord);
    route("POST", "/patient/questionnaire", &Api::questionnaire);
    route("PUT", "/patient/questionnaire/{p}", &Api::updateQuestionnaire);
    route("GET", "/category/diagnostic/{p}", &Api::diagnosticCategories);
    route("GET", "/category/corrective/{p}", &Api::correctiveCategories);
    route("POST", "/analysis", &Api::analyseMarkers);
    route("POST", "/analysis/summary", &Api::analysisSummary);
    route("POST", "/analysis/comparative", &Api::analysisComparative);
    route("GET", "/recipe/{p}/{r}", &Api::loadRecipe);
    route("PUT", "/recipe", &Api::saveRecipe);
    route("POST", "/recipe", &Api::makeRecipe);
    route("POST", "/export/excel", &Api::exportWorkbook);

    route("POST", "/auth/password", &Api::changePassword);
    route("PUT", "/auth/locale", &Api::changeLocale);
    route("GET", "/auth/updates", &Api::tellUpdates);
    route("POST", "/patient/device", &Api::connectDevice);
    route("PUT", "/patient/device", &Api::toggleDevice);
    route("DELETE", "/patient/device/{p}", &Api::disconnectDevice);
    route("POST", "/command", &Api::sendCommand);
    route("DELETE", "/command/{p}", &Api::deleteCommand);
    route("POST", "/recipe/autospectrum", &Api::makeAutospectrum);
}

void Api::route(const char* method, const char* path, Operation operation, bool open)
{
    m_routes.append({method, path, QByteArray(path).mid(1).split('/'), operation, open});
}

Reply Api::handle(const Request& request)
{
    QByteArray pattern;
    Reply reply = answer(request, pattern);
    reply.pattern = pattern;
    return reply;
}

Reply Api::answer(const Request& request, QByteArray& pattern)
{
    QString language = Messages::language(request.header("accept-language"));
    try {
        Call call{request, {}, {}, language};
        const Route& found = find(request, call.ids, pattern);
        if (!found.open) {
            call.practitioner = authenticate(request);
            if (language.isEmpty())
                language = call.language = call.practitioner.language;
        }
        return m_database.attempt([this, &found, &call] { return (this->*found.operation)(call); });
    } catch (const Failure& failure) {
        return Wire::failed(failure, language);
    } catch (const DatabaseError& error) {
        LineWriter::errors().failure(error.what(), request.id);
        if (error.kind() != DatabaseError::Kind::Failed)
            return Wire::message(503, Messages::text(Messages::StoreUnavailable, language));
    } catch (const std::exception& error) {
        LineWriter::errors().failure(kindOf(error), request.id);
    } catch (...) {
        LineWriter::errors().failure("an unknown exception", request.id);
    }
    return Wire::message(500, Messages::text(Messages::ServerFailed, language));
}

Reply Api::refuse(int status, const QByteArray& acceptLanguage)
{
    Messages::Id id = Messages::BadRequest;
    if (status == 404)
        id = Messages::NoSuchPath;
    else if (status == 411)
        id = Messages::LengthRequired;
    else if (status == 413)
        id = Messages::TooLarge;
    else if (status == 414)
        id = Messages::AddressTooLong;
    else if (status == 415)
        id = Messages::Compressed;
    else if (status >= 500)
        id = Messages::ServerFailed;
    return Wire::message(status, Messages::text(id, Messages::language(acceptLanguage)));
}

const Api::Route& Api::find(const Request& request, QStringList& ids, QByteArray& pattern) const
{
    QList<QByteArray> segments = request.path.mid(1).split('/');
    if (segments.size() > 1 && segments.last().isEmpty())
        segments.removeLast();
    bool known = false;
    for (const Route& candidate : m_routes) {
        if (candidate.segments.size() != segments.size() || !request.path.startsWith('/'))
            continue;
        QStringList found;
        bool matches = true;
        for (int i = 0; matches && i < segments.size(); ++i) {
            if (!isPlace(candidate.segments.at(i))) {
                matches = candidate.segments.at(i) == segments.at(i);
                continue;
            }
            // What is no id in whatever encoding is looked for under a text that no id can be.
            const std::optional<QByteArray> id = FormBody::decoded(segments.at(i), false);
            found.append(id ? FormBody::utf8(*id).value_or(QString()) : QString());
        }
        if (!matches)
            continue;
        if (!known)
            pattern = candidate.pattern;
        known = true;
        if (candidate.method == request.method) {
            pattern = candidate.pattern;
            ids = found;
            return candidate;
        }
    }
    throw known ? Failure(405, Messages::MethodNotAllowed) : Failure(404, Messages::NoSuchPath);
}

Reply Api::listPatients(const Call& call)
{
    PatientQuery query;
    query.size = 0;
    return pageReply(Patients(m_database, call.practitioner.id).list(query));
}

Reply Api::filterPatients(const Call& call)
{
    const FormBody input(call.request.query);
    PatientQuery query;
    query.sort = PatientQuery::Sort(choice(input, "sortby", {"name", "age", "gender", "record", "notes"}));
    query.descending = choice(input, "direction", {"asc", "desc"}) == 1;
    query.field = PatientQuery::Field(choice(input, "searchby", {"name", "notes"}));
    query.size = number(input, "size", 1, maxPageSize, defaultPageSize);
    query.page = number(input, "current", 0, std::numeric_limits<int>::max(), 0);
    const std::optional<QString> needle = Needle::decode(item(input, "needle"));
    if (!needle || needle->contains(QChar(QChar::Null)))
        throw Failure(400, Messages::BadQuery, QStringLiteral("needle"));
    if (needle->size() > maxNeedle)
        throw Failure(400, Messages::NeedleTooLong);
    query.needle = *needle;
    return pageReply(Patients(m_database, call.practitioner.id).list(query));
}

Reply Api::createPatient(const Call& call)
{
    const JsonInput input(call.request.body);
    const Patient patient = PatientInput::read(input.object(), QDate::currentDate());
    return patientReply(Patients(m_database, call.practitioner.id).add(patient));
}

Reply Api::updatePatient(const Call& call)
{
    const JsonInput input(call.request.body);
    const QString id = input.text("id");
    Patients patients(m_database, call.practitioner.id);
    Known::patient(patients, id);
    Patient patient = PatientInput::read(input.object(), QDate::currentDate());
    patient.id = id;
    const std::optional<Patient> updated = patients.update(patient);
    if (!updated)
        throw Failure(404, Messages::NoSuchPatient);
    return patientReply(*updated);
}

Reply Api::deletePatient(const Call& call)
{
    const QString id = call.ids.first();
    if (!Known::isId(id) || !Patients(m_database, call.practitioner.id).remove(id))
        throw Failure(404, Messages::NoSuchPatient);
    return Wire::json(QJsonObject());
}

Reply Api::listRecords(const Call& call)
{
    Patients patients(m_database, call.practitioner.id);
    const Patient patient = Known::patient(patients, call.ids.first());
    JsonOutput list;
    list.beginArray();
    const QVector<Record> records = Records(m_database, call.practitioner.id).list(patient.id);
    for (const Record& record : records)
        Wire::record(list, record);
    list.endArray();
    return Wire::json(list);
}

Reply Api::uploadRecord(const Call& call)
{
    if (!call.request.multipart)
        throw Failure(400, Messages::FormExpected);
    QVector<QByteArray> patientIds;
    QVector<QByteArray> waves;
    for (const Request::Part& part : call.request.parts) {
        if (part.name == "patientId")
            patientIds.append(part.content);
        else if (part.name == "record")
            waves.append(part.content);
    }
    if (patientIds.size() != 1 || waves.size() != 1)
        throw Failure(400, Messages::UploadParts);
    const std::optional<QString> sensorId = FormBody::utf8(call.request.header("quelmar-id").trimmed());
    if (!sensorId || sensorId->size() > maxSensorId || !PlainText::isLine(*sensorId))
        throw Failure(400, Messages::SensorIdTooLong);

    Patients patients(m_database, call.practitioner.id);
    const Patient patient = Known::patient(patients, FormBody::utf8(patientIds.first()).value_or(QString()));
    const WaveFile file(waves.first());
    if (!file.isValid())
        throw Failure(400, file.message(call.language));
    const std::optional<Record> record =
        Records(m_database, call.practitioner.id)
            .add(patient.id, waves.first(), *sensorId, QDateTime::currentDateTimeUtc());
    if (!record)
        throw Failure(404, Messages::NoSuchPatient);
    JsonOutput output;
    Wire::record(output, *record);
    return Wire::json(output);
}

Reply Api::deleteRecord(const Call& call)
{
    Patients patients(m_database, call.practitioner.id);
    const Patient patient = Known::patient(patients, call.ids.first());
    const QString id = call.ids.last();
    if (!Known::isId(id) || !Records(m_database, call.practitioner.id).remove(patient.id, id))
        throw Failure(404, Messages::NoSuchRecord);
    return Wire::json(QJsonObject());
}

Reply Api::loadRecipe(const Call& call)
{
    const QString patientId = call.ids.first();
    const QString recordId = call.ids.last();
    Patients patients(m_database, call.practitioner.id);
    Known::patient(patients, patientId);
    Records records(m_database, call.practitioner.id);
    if (!Known::isId(recordId) || !records.find(patientId, recordId))
        throw Failure(404, Messages::NoSuchRecord);
    const Recipe recipe = Recipes(m_database, call.practitioner.id).load(patientId, recordId);
    JsonOutput list;
    list.beginArray();
    if (!recipe.markerIds.isEmpty()) {
        const auto results = Analyses(m_database, call.practitioner.id).results(patientId, {recordId});
        const auto result = results.find(recordId);
        if (result == results.end())
            throw Failure(404, Messages::NoSuchRecord);
        for (const QString& id : recipe.markerIds) {
            // A later catalogue may have dropped a marker that an earlier recipe names.
            if (const Catalogue::Marker* marker = Catalogue::instance().marker(id))
                Wire::marker(list, *marker, {MarkerAnalysis::valueOf(result->level(*marker))}, call.language);
        }
    }
    list.endArray();
    return Wire::json(list);
}

Reply Api::saveRecipe(const Call& call)
{
    const JsonInput input(call.request.body);
    const QString patientId = input.text("patientId");
    const QString recordId = input.text("recordId");
    input.optionalText("deviceId");
    Recipe recipe;
    recipe.duration = input.optionalNumber("duration", maxDuration);
    const QString command = input.optionalText("command");
    Patients patients(m_database, call.practitioner.id);
    Known::patient(patients, patientId);
    recipe.markerIds = Known::markers(input);
    if (!command.isEmpty() && !DeviceCommand::playsRecipe(DeviceCommand::known(command)))
        throw Failure(400, Messages::NoSuchCommand);
    Database::Transaction transaction(m_database);
    if (!Known::isId(recordId) || !Recipes(m_database, call.practitioner.id).save(patientId, recordId, recipe))
        throw Failure(404, Messages::NoSuchRecord);
    if (!command.isEmpty())
        order(call, patientId, recordId, command);
    transaction.commit();
    return Wire::json(QJsonObject());
}

Reply Api::makeRecipe(const Call& call)
{
    const JsonInput input(call.request.body);
    const QString patientId = input.text("patientId");
    const QString recordId = input.text("recordId");
    input.optionalText("deviceId");
    input.optionalText("command");
    input.optionalNumber("duration", maxDuration);
    Patients patients(m_database, call.practitioner.id);
    Known::patient(patients, patientId);
    if (!Known::isId(recordId) || !Records(m_database, call.practitioner.id).find(patientId, recordId))
        throw Failure(404, Messages::NoSuchRecord);
    const QStringList markers = Known::markers(input);

    QVector<ReplyEncoding::Part> blocks;
    blocks.reserve(markers.size());
    for (const QString& id : markers)
        blocks.append(MarkerBlocks::instance().of(*Catalogue::instance().marker(id)));
    const QByteArray body = ReplyEncoding::joined(blocks);
    if (body.isEmpty())
        throw Failure(500, Messages::ServerFailed);
    return Wire::text(body);
}

Reply Api::makeAutospectrum(const Call& call)
{
    const JsonInput input(call.request.body);
    const QString patientId = input.text("patientId");
    const QString recordId = input.text("recordId");
    input.optionalText("deviceId");
    Patients patients(m_database, call.practitioner.id);
    Known::patient(patients, patientId);
    Records records(m_database, call.practitioner.id);
    const QByteArray body = ReplyEncoding::blocks({Autospectrum::block(Known::samples(records, patientId, recordId))});
    if (body.isEmpty())
        throw Failure(500, Messages::ServerFailed);
    return Wire::text(body);
}

Reply Api::exportWorkbook(const Call& call)
{
    const JsonInput input(call.request.body);
    Patients patients(m_database, call.practitioner.id);
    const Patient patient = Known::patient(patients, input.text("patientId"));
    Workbook::PatientSheet sheet;
    sheet.name = patient.name;
    sheet.birthDate = patient.birthDate;
    sheet.age = patient.age(QDate::currentDate());
    sheet.gender = patient.gender;
    sheet.phone = patient.phone;
    sheet.notes = patient.notes;
    sheet.lastRecordAt = patient.lastRecordAt.toLocalTime();
    QVector<Workbook::RecordRow> rows;
    const QVector<Record> records = Records(m_database, call.practitioner.id).list(patient.id);
    for (const Record& record : records)
        rows.append({record.recordedAt.toLocalTime(), record.doctorName, record.questionnaire, record.sensorId});
    const QByteArray workbook = Workbook::create(sheet, rows, call.language);
    if (workbook.isEmpty())
        throw Failure(500, Messages::ServerFailed);
    return Wire::text(workbook.toBase64());
}

} // namespace server
