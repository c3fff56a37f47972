// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

namespace server {

/// The sentences that the server answers with, in English and Russian.
class Messages
{
public:
    enum Id
    {
        BadRequest,
        NoJsonObject,
        WrongField, ///< %1: the key
        NoSuchPath,
        MethodNotAllowed,
        TooLarge,
        LengthRequired,
        Compressed,
        AddressTooLong,
        ServerFailed,
        StoreUnavailable,
        LoginRequired,
        SessionExpired,
        LoginFailed,
        TooManyAttempts, ///< %1: minutes to wait
        TooManyLogins,
        OldPasswordWrong,
        PasswordInvalid, ///< %1: the limit
        PasswordsDiffer,
        NoSuchLocale,
        NoSuchPatient,
        NoSuchRecord,
        NoSuchStorage,
        NoSuchMarker,
        TooManyMarkers, ///< %1: the limit
        BadQuery,       ///< %1: the key
        NeedleTooLong,
        NoRecordGiven,
        TooManyRecords, ///< %1: the limit
        AnswersInvalid,
        IntensityInvalid,   ///< %1: the limit
        SymptomNameInvalid, ///< %1: the limit
        TooManySymptoms,    ///< %1: the limit
        FormExpected,
        UploadParts,
        SensorIdTooLong,
        DeviceIdInvalid, ///< %1: the limit
        DeviceTaken,
        HasAnotherDevice,
        NoDevice,
        DeviceDisabled,
        NoSuchCommand,
        NoRecipe,
        NameEmpty,
        NameInvalid, ///< %1: the limit
        BirthDateInvalid,
        BirthDateInFuture,
        GenderInvalid,
        PhoneInvalid, ///< %1: the limit
        NotesInvalid, ///< %1: the limit
    };

    /// In Russian for "ru" and in English for every other language.
    static QString text(Id id, const QString& language);

    /// "ru" or "en", whichever of the two the value of an Accept-Language header likes better; empty if it names
    /// neither.
    static QString language(const QByteArray& acceptLanguage);
};

} // namespace server
