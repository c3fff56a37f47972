// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/PatientInput.h"

#include "server/Failure.h"
#include "server/TextKeys.h"

#include <algorithm>

namespace server {

namespace {

constexpr int firstYear = 1800;

bool isPlain(const QString& text, bool severalLines)
{
    if (!QStringView(text).isValidUtf16())
        return false;
    return std::none_of(text.begin(), text.end(), [severalLines](QChar c) {
        const bool layout = c == QLatin1Char('\n') || c == QLatin1Char('\r') || c == QLatin1Char('\t');
        return c.category() == QChar::Other_Control && !(severalLines && layout);
    });
}

/// False if the value is no text of that length; a missing value is an empty text.
bool readText(const QJsonValue& value, int maximum, bool severalLines, QString& text)
{
    if (value.isUndefined())
        return true;
    if (!value.isString() || !isPlain(value.toString(), severalLines))
        return false;
    const QString read = TextKeys::normalized(value.toString());
    if (read.size() > maximum)
        return false;
    text = read;
    return true;
}

QDate readDate(const QJsonValue& value)
{
    const QString text = value.toString();
    // QDate would also take what follows a date.
    if (text.size() != 10)
        return QDate();
    return QDate::fromString(text, Qt::ISODate);
}

} // namespace

Patient PatientInput::read(const QJsonObject& object, const QDate& today)
{
    Patient patient;
    QVector<Failure::FieldError> errors;

    if (!readText(object.value(QLatin1String("name")), maxName, false, patient.name))
        errors.append({QStringLiteral("name"), Messages::NameInvalid, QString::number(maxName)});
    else if (patient.name.isEmpty())
        errors.append({QStringLiteral("name"), Messages::NameEmpty, QString()});

    patient.birthDate = readDate(object.value(QLatin1String("birthDate")));
    if (!patient.birthDate.isValid() || patient.birthDate.year() < firstYear)
        errors.append({QStringLiteral("birthDate"), Messages::BirthDateInvalid, QString()});
    else if (patient.birthDate > today)
        errors.append({QStringLiteral("birthDate"), Messages::BirthDateInFuture, QString()});

    patient.gender = object.value(QLatin1String("gender")).toString();
    if (patient.gender != QLatin1String("MALE") && patient.gender != QLatin1String("FEMALE"))
        errors.append({QStringLiteral("gender"), Messages::GenderInvalid, QString()});

    if (!readText(object.value(QLatin1String("phone")), maxPhone, false, patient.phone))
        errors.append({QStringLiteral("phone"), Messages::PhoneInvalid, QString::number(maxPhone)});
    if (!readText(object.value(QLatin1String("notes")), maxNotes, true, patient.notes))
        errors.append({QStringLiteral("notes"), Messages::NotesInvalid, QString::number(maxNotes)});

    if (!errors.isEmpty())
        throw Failure(errors);
    return patient;
}

} // namespace server
