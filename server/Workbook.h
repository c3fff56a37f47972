// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QString>
#include <QVector>

namespace server {

/// The Excel export of one patient: an xlsx file of two sheets, the patient and the records.
class Workbook
{
public:
    struct PatientSheet
    {
        QString name;
        QDate birthDate; ///< invalid: an empty cell
        int age = 0;     ///< years
        QString gender;  ///< "MALE" or "FEMALE"; anything else gives an empty cell
        QString phone;
        QString notes;
        QDateTime lastRecordAt; ///< written as it reads, without a change of time zone; invalid: an empty cell
    };

    struct RecordRow
    {
        QDateTime recordedAt; ///< as above
        QString doctorName;
        bool questionnaire = false;
        QString sensorId;
    };

    /// The bytes of the file, with headings and words in Russian for "ru" and in English otherwise; empty if it could
    /// not be made (no memory, no space for temporary files, more records than a sheet has rows). Texts are always
    /// stored as texts, whatever they begin with; one longer than a cell can hold (32767 UTF-16 units) is cut.
    static QByteArray create(const PatientSheet& patient, const QVector<RecordRow>& records, const QString& language);
};

} // namespace server
