// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Known.h"

#include "server/Catalogue.h"
#include "server/Failure.h"
#include "server/JsonInput.h"
#include "server/Patients.h"
#include "server/Records.h"
#include "server/WaveFile.h"

#include <QHash>

namespace server {

Patient Known::patient(Patients& patients, const QString& id)
{
    if (const std::optional<Patient> found = isId(id) ? patients.find(id) : std::nullopt)
        return *found;
    throw Failure(404, Messages::NoSuchPatient);
}

QVector<int> Known::records(const QVector<Record>& all, const QStringList& ids)
{
    if (ids.size() > maxRecords)
        throw Failure(400, Messages::TooManyRecords, QString::number(maxRecords));
    QHash<QString, int> places;
    for (int i = 0; i < all.size(); ++i)
        places.insert(all.at(i).id, i);
    QVector<int> found;
    found.reserve(ids.size());
    for (const QString& id : ids) {
        const int place = places.value(id, -1);
        if (place < 0)
            throw Failure(404, Messages::NoSuchRecord);
        found.append(place);
    }
    return found;
}

QByteArray Known::samples(Records& records, const QString& patientId, const QString& recordId)
{
    const std::optional<QByteArray> wave = isId(recordId) ? records.wave(patientId, recordId) : std::nullopt;
    if (!wave)
        throw Failure(404, Messages::NoSuchRecord);
    return WaveFile(*wave).samples();
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
