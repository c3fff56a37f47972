// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QJsonObject>
#include <QString>

/// One recorded signal of a patient. A plain value whose identity is `getId()`.
class Record
{
public:
    Record() = default;
    explicit Record(const QJsonObject& json);

    QString getId() const { return id; }
    QString getPatientId() const { return patientId; }
    QString getDoctorName() const { return doctorName; }
    /// "yyyy-MM-dd HH:mm:ss" in the offset the server gave; empty if the server gave no date.
    QString getRecordedAt() const { return recordedAt; }
    bool isEditable() const { return editable; }
    bool isQuestionnaire() const { return questionnaire; }
    /// The user's mark in the record table; it lives in this program alone.
    bool isChecked() const { return checked; }

    void setChecked(bool value) { checked = value; }
    void setQuestionnaire(bool value) { questionnaire = value; }
    void toggle() { checked = !checked; }

private:
    QString id;
    QString patientId;
    QString doctorName;
    QString recordedAt;
    bool editable = false;
    bool questionnaire = false;
    bool checked = false;
};
