// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QDate>
#include <QJsonObject>
#include <QPixmap>
#include <QString>

/// One patient of the practitioner, with what the server reports of the patient's remote device. A plain value whose
/// identity is `getId()`; a null id means that the server does not know the patient yet.
class Patient
{
public:
    Patient() = default;
    /// Missing or malformed values become defaults: 0, false, an empty text, an invalid date.
    explicit Patient(const QJsonObject& json);

    QString getId() const { return id; }
    QString getName() const { return name; }
    /// "MALE" or "FEMALE".
    QString getGender() const { return gender; }
    QString getNotes() const { return notes; }
    QString getPhone() const { return phone; }
    /// "yyyy-MM-dd HH:mm:ss" in the offset the server gave; empty if there is no record.
    QString getLastRecordAt() const { return lastRecordAt; }
    QDate getBirthDate() { return birthDate; }
    /// Decimal text of the years.
    QString getAge() const;
    /// The device is not blocked.
    bool isEnabled() const { return enabled; }
    /// A remote device is bound.
    bool isHasDevices() const { return hasDevices; }

    QPixmap getIcon() const;
    QPixmap getGenderIcon() const;
    /// 64 by 64 pixels. A blocked device shows as blocked, whatever its command.
    QPixmap getStatusIcon() const;
    /// 0 no device, 1 no command, 2 record running, 3 record complete, 4 recipe running, 5 recipe complete; a blocked
    /// device reports its command all the same.
    int getStatusToolTip() const;

    void setName(const QString& value) { name = value; }
    void setGender(const QString& value) { gender = value; }
    void setNotes(const QString& value) { notes = value; }
    void setPhone(const QString& value) { phone = value; }
    /// An impossible date leaves the birth date invalid.
    void setBirthDate(int day, int month, int year);
    void setHasDevices(bool value) { hasDevices = value; }
    void toggleEnabled() { enabled = !enabled; }
    void setStatusNoCommand();
    void setStatusRecord();
    void setStatusRecipe();

    /// What the form edits, as JSON text; the id only if there is one.
    QByteArray toJson() const;

private:
    bool isRecordCommand() const;
    bool isRecipeCommand() const;

    qint32 age = 0;
    QDate birthDate;
    QString command;
    QString id;
    QString gender;
    QString lastRecordAt;
    QString name;
    QString notes;
    QString phone;
    bool hasDevices = false;
    bool complete = false;
    bool enabled = false;
};
