// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Patient.h"
#include "server/Record.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

#include <algorithm>

namespace server {

class JsonInput;
class Patients;
class Records;

/// What a request names by its id: found, or refused with a Failure of status 404.
class Known
{
public:
    /// The most markers that a request may name.
    static constexpr int maxMarkers = 500;
    /// The most records that a request may name.
    static constexpr int maxRecords = 500;
    /// The longest text that may be an id.
    static constexpr int maxId = 64;

    Known() = delete;

    /// Every id that was ever given out looks like this; any other text is an unknown id, and no question for the
    /// database.
    static bool isId(const QString& text)
    {
        return !text.isEmpty() && text.size() <= maxId && std::all_of(text.begin(), text.end(), [](QChar c) {
            return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) ||
                   (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) ||
                   (c >= QLatin1Char('0') && c <= QLatin1Char('9')) || c == QLatin1Char('-') || c == QLatin1Char('_');
        });
    }
    static Patient patient(Patients& patients, const QString& id);
    /// Where in `all`, the records of a patient, those of these ids stand, in the order of the ids; more than
    /// `maxRecords` are refused with status 400.
    static QVector<int> records(const QVector<Record>& all, const QStringList& ids);
    /// The samples of a record of a patient whose existence has been checked.
    static QByteArray samples(Records& records, const QString& patientId, const QString& recordId);
    /// The ids under "markers", all of them in the catalogue; more than `maxMarkers` are refused with status 400.
    static QStringList markers(const JsonInput& input);
};

} // namespace server
