// SPDX-License-Identifier: GPL-3.0-or-later
// The operations that read records: categories, markers, the summary and the comparison.
#include "server/Api.h"

#include "server/Analyses.h"
#include "server/Catalogue.h"
#include "server/Comparison.h"
#include "server/Failure.h"
#include "server/JsonInput.h"
#include "server/JsonOutput.h"
#include "server/Known.h"
#include "server/MarkerAnalysis.h"
#include "server/Patients.h"
#include "server/Questionnaires.h"
#include "server/Records.h"
#include "server/SummaryScore.h"
#include "server/Wire.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

namespace server {

namespace {

using Results = QHash<QString, AnalysisResult>;

QJsonArray categoriesJson(const QVector<Catalogue::CategoryEntry>& categories)
{
    QJsonArray list;
    for (const Catalogue::CategoryEntry& category : categories) {
        QJsonArray storages;
        for (const Catalogue::StorageEntry& storage : category.storages)
            storages.append(QJsonObject{{QStringLiteral("id"), storage.id},
                                        {QStringLiteral("title"), storage.title},
                                        {QStringLiteral("frequencies"), storage.frequencies}});
        list.append(QJsonObject{{QStringLiteral("title"), category.title}, {QStringLiteral("storages"), storages}});
    }
    return list;
}

template <typename Numbers> QJsonArray numbersJson(const Numbers& numbers)
{
    QJsonArray array;
    for (const auto number : numbers)
        array.append(number);
    return array;
}

template <typename Series> QJsonObject seriesJson(const Series& series)
{
    QJsonObject object;
    for (auto entry = series.begin(); entry != series.end(); ++entry)
        object.insert(entry.key(), numbersJson(entry.value()));
    return object;
}

/// The records that a request names, and all of the patient.
struct Chosen
{
    QVector<Record> all; ///< the oldest first
    QVector<int> places; ///< of the named ones among all, in the order of the request

    QVector<Record> records() const
    {
        QVector<Record> named;
        for (const int place : places)
            named.append(all.at(place));
        return named;
    }

    /// What has to be known to score the named ones.
    QVector<Record> history() const { return all.mid(0, *std::max_element(places.begin(), places.end()) + 1); }
};

/// At least one; throws for none, for too many and for an unknown one.
Chosen choose(Records records, const QString& patientId, const QStringList& ids)
{
    if (ids.isEmpty())
        throw Failure(400, Messages::NoRecordGiven);
    Chosen chosen;
    chosen.all = records.list(patientId);
    chosen.places = Known::records(chosen.all, ids);
    return chosen;
}

QStringList idsOf(const QVector<Record>& records)
{
    QStringList ids;
    for (const Record& record : records)
        ids.append(record.id);
    ids.removeDuplicates();
    return ids;
}

/// A record that was just there may have been deleted by another request.
const AnalysisResult& resultOf(const Record& record, const Results& results)
{
    const auto found = results.find(record.id);
    if (found == results.end())
        throw Failure(404, Messages::NoSuchRecord);
    return *found;
}

/// For each record, by its id, one score a diagnostic category.
QHash<QString, QVector<int>> scoresOf(const QVector<Record>& history, const Results& results)
{
    QVector<Record> analysed;
    QVector<QDateTime> times;
    for (const Record& record : history) {
        if (results.contains(record.id)) {
            analysed.append(record);
            times.append(record.recordedAt);
        }
    }
    QHash<QString, QVector<int>> scores;
    const Catalogue& catalogue = Catalogue::instance();
    const QVector<Catalogue::CategoryEntry> categories = catalogue.diagnosticCategories(QString());
    for (const Catalogue::CategoryEntry& category : categories) {
        QVector<double> strengths;
        for (const Record& record : qAsConst(analysed)) {
            QVector<QVector<double>> levels;
            for (const Catalogue::StorageEntry& storage : category.storages)
                levels.append(resultOf(record, results).levels(*catalogue.storage(storage.id)));
            strengths.append(SummaryScore::strength(levels));
        }
        const QVector<int> ofCategory = SummaryScore::scores(times, strengths);
        for (int i = 0; i < analysed.size(); ++i)
            scores[analysed.at(i).id].append(ofCategory.at(i));
    }
    return scores;
}

QVector<int> scoresOf(const Record& record, const QHash<QString, QVector<int>>& scores)
{
    const auto found = scores.find(record.id);
    if (found == scores.end())
        throw Failure(404, Messages::NoSuchRecord);
    return *found;
}

} // namespace

Reply Api::diagnosticCategories(const Call& call)
{
    Patients patients(m_database, call.practitioner.id);
    Known::patient(patients, call.ids.first());
    return Wire::json(categoriesJson(Catalogue::instance().diagnosticCategories(call.language)));
}

Reply Api::correctiveCategories(const Call& call)
{
    Patients patients(m_database, call.practitioner.id);
    Known::patient(patients, call.ids.first());
    return Wire::json(categoriesJson(Catalogue::instance().correctiveCategories(call.language)));
}

Reply Api::analyseMarkers(const Call& call)
{
    const JsonInput input(call.request.body);
    const QString patientId = input.text("patientId");
    const QString storageId = input.text("storageId");
    const QStringList recordIds = input.texts("records");
    Patients patients(m_database, call.practitioner.id);
    Known::patient(patients, patientId);
    const Chosen chosen = choose(Records(m_database, call.practitioner.id), patientId, recordIds);
    const Catalogue::Storage* storage = Catalogue::instance().storage(storageId);
    if (!storage)
        throw Failure(404, Messages::NoSuchStorage);

    const QVector<Record> named = chosen.records();
    const Results results = Analyses(m_database, call.practitioner.id).results(patientId, idsOf(named));
    QVector<QVector<double>> levels;
    JsonOutput output;
    output.beginObject();
    output.key(QLatin1String("columns"));
    output.beginArray();
    for (const Record& record : named) {
        output.value(Wire::time(record.recordedAt));
        levels.append(resultOf(record, results).levels(*storage));
    }
    output.endArray();
    output.key(QLatin1String("rows"));
    output.beginArray();
    for (const MarkerAnalysis::Row& row : MarkerAnalysis::ranked(*storage, levels))
        Wire::marker(output, *row.marker, row.values, call.language);
    output.endArray();
    output.endObject();
    return Wire::json(output);
}

Reply Api::analysisSummary(const Call& call)
{
    const JsonInput input(call.request.body);
    const QString patientId = input.text("patientId");
    const QStringList recordIds = input.texts("records");
    Patients patients(m_database, call.practitioner.id);
    Known::patient(patients, patientId);
    const Chosen chosen = choose(Records(m_database, call.practitioner.id), patientId, recordIds);

    const QVector<Record> history = chosen.history();
    const Results results = Analyses(m_database, call.practitioner.id).results(patientId, idsOf(history));
    const QHash<QString, QVector<int>> scores = scoresOf(history, results);
    const QVector<Record> named = chosen.records();
    QJsonArray columns;
    QVector<QVector<int>> ofColumns;
    for (const Record& record : named) {
        columns.append(Wire::clock(record.recordedAt));
        ofColumns.append(scoresOf(record, scores));
    }
    QJsonArray rows;
    const QVector<Catalogue::CategoryEntry> categories = Catalogue::instance().diagnosticCategories(call.language);
    for (int i = 0; i < categories.size(); ++i) {
        QJsonArray values;
        for (const QVector<int>& ofColumn : qAsConst(ofColumns))
            values.append(ofColumn.at(i));
        rows.append(QJsonObject{{QStringLiteral("title"), categories.at(i).title}, {QStringLiteral("values"), values}});
    }
    return Wire::json(QJsonObject{{QStringLiteral("columns"), columns}, {QStringLiteral("rows"), rows}});
}

Reply Api::analysisComparative(const Call& call)
{
    const JsonInput input(call.request.body);
    const QString patientId = input.text("patientId");
    const QStringList recordIds = input.texts("records");
    Patients patients(m_database, call.practitioner.id);
    Known::patient(patients, patientId);
    Chosen chosen = choose(Records(m_database, call.practitioner.id), patientId, recordIds);
    std::sort(chosen.places.begin(), chosen.places.end());

    const QVector<Record> history = chosen.history();
    const Results results = Analyses(m_database, call.practitioner.id).results(patientId, idsOf(history));
    const QHash<QString, QVector<int>> scores = scoresOf(history, results);
    const QHash<QString, QuestionnaireAnswers> questionnaires =
        Questionnaires(m_database, call.practitioner.id).load(patientId);
    QVector<Comparison::Entry> entries;
    const QVector<Record> named = chosen.records();
    for (const Record& record : named) {
        const QuestionnaireAnswers answers = questionnaires.value(record.id);
        QVector<double> strengths;
        for (const double strength : answers.shipped)
            strengths.append(strength);
        for (const double strength : answers.custom)
            strengths.append(strength);
        entries.append(
            {record.recordedAt.toLocalTime(), resultOf(record, results), scoresOf(record, scores), strengths});
    }
    const Comparison comparison(entries, call.language);
    return Wire::json(QJsonObject{{QStringLiteral("graph1"), seriesJson(comparison.bands())},
                                  {QStringLiteral("graph2"), seriesJson(comparison.markers())},
                                  {QStringLiteral("summary"), seriesJson(comparison.summary())},
                                  {QStringLiteral("smooth"), seriesJson(comparison.smooth())},
                                  {QStringLiteral("complaints"), seriesJson(comparison.complaints())}});
}

} // namespace server
