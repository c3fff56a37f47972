// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Known.h"

#include "server/Catalogue.h"
#include "server/Failure.h"
#include "server/JsonInput.h"
#include "server/Patients.h"
#include "server/Records.h"
#include "server/Spectrum.h"
#include "server/WaveFile.h"

#include <algorithm>

namespace server {

namespace {

constexpr int maxId = 64;

} // namespace

bool Known::isId(const QString& text)
{
    return !text.isEmpty() && text.size() <= maxId && std::all_of(text.begin(), text.end(), [](QChar c) {
        return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) || (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) ||
               (c >= QLatin1Char('0') && c <= QLatin1Char('9')) || c == QLatin1Char('-') || c == QLatin1Char('_');
    });
}

Patient Known::patient(Patients& patients, const QString& id)
{
    if (const std::optional<Patient> found = isId(id) ? patients.find(id) : std::nullopt)
        return *found;
    throw Failure(404, Messages::NoSuchPatient);
}

MarkerAnalysis Known::analysis(Records& records, const QString& patientId, const QString& recordId)
{
    const std::optional<QByteArray> wave = isId(recordId) ? records.wave(patientId, recordId) : std::nullopt;
    if (!wave)
        throw Failure(404, Messages::NoSuchRecord);
    return MarkerAnalysis(Spectrum(WaveFile(*wave).samples()));
}

QStringList Known::markers(const JsonInput& input)
{
    QStringList ids = input.texts("markers");
    if (ids.size() > maxMarkers)
        throw Failure(400, Messages::TooManyMarkers, QString::number(maxMarkers));
    for (const QString& id : qAsConst(ids)) {
        if (!Catalogue::instance().marker(id))
            throw Failure(404, Messages::NoSuchMarker);
    }
    return ids;
}

} // namespace server
