// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Messages.h"

#include "server/LocalText.h"

#include <QList>

namespace server {

namespace {

LocalText textOf(Messages::Id id)
{
    switch (id) {
    case Messages::BadRequest:
        return {QStringLiteral("The server did not understand the request."),
                QStringLiteral("Сервер не понял запрос.")};
    case Messages::NoJsonObject:
        return {QStringLiteral("The request does not hold a JSON object."),
                QStringLiteral("В запросе нет объекта JSON.")};
    case Messages::WrongField:
        return {QStringLiteral("The request lacks \"%1\", or has it in a wrong form."),
                QStringLiteral("В запросе нет значения «%1», или оно записано неверно.")};
    case Messages::NoSuchPath:
        return {QStringLiteral("The server knows no such address."), QStringLiteral("Такого адреса на сервере нет.")};
    case Messages::MethodNotAllowed:
        return {QStringLiteral("This address does not take such a request."),
                QStringLiteral("Этот адрес не принимает такой запрос.")};
    case Messages::TooLarge:
        return {QStringLiteral("The request is too large."), QStringLiteral("Запрос слишком велик.")};
    case Messages::LengthRequired:
        return {QStringLiteral("The request has to tell its length."),
                QStringLiteral("В запросе должна быть указана его длина.")};
    case Messages::Compressed:
        return {QStringLiteral("The server does not take compressed requests."),
                QStringLiteral("Сервер не принимает сжатые запросы.")};
    case Messages::AddressTooLong:
        return {QStringLiteral("The address of the request is too long."),
                QStringLiteral("Адрес запроса слишком длинный.")};
    case Messages::ServerFailed:
        return {QStringLiteral("The server could not carry out the request. Please try again later."),
                QStringLiteral("Сервер не смог выполнить запрос. Попробуйте ещё раз позже.")};
    case Messages::StoreUnavailable:
        return {QStringLiteral("The server cannot reach its data at the moment. Please try again later, and see first "
                               "whether your last change was kept."),
                QStringLiteral("Серверу сейчас недоступны его данные. Попробуйте ещё раз позже, но сначала проверьте, "
                               "сохранилось ли последнее изменение.")};
    case Messages::LoginRequired:
        return {QStringLiteral("Please log in."), QStringLiteral("Войдите в систему.")};
    case Messages::SessionExpired:
        return {QStringLiteral("Your session has expired. Please start the program again and log in."),
                QStringLiteral("Срок вашего сеанса истёк. Запустите программу заново и войдите в систему.")};
    case Messages::LoginFailed:
        return {QStringLiteral("The user name or the password is wrong."),
                QStringLiteral("Неверное имя пользователя или пароль.")};
    case Messages::TooManyAttempts:
        return {QStringLiteral("The password was wrong too often. Please wait %1 min and try again."),
                QStringLiteral("Слишком много попыток с неверным паролем. Подождите %1 мин и попробуйте ещё раз.")};
    case Messages::TooManyLogins:
        return {
            QStringLiteral("Too many users are logging in at the moment. Please try again in a few seconds."),
            QStringLiteral("Сейчас входит слишком много пользователей. Попробуйте ещё раз через несколько секунд.")};
    case Messages::OldPasswordWrong:
        return {QStringLiteral("The old password is wrong."), QStringLiteral("Старый пароль указан неверно.")};
    case Messages::PasswordInvalid:
        return {QStringLiteral("The new password must have 1 to %1 characters in one line."),
                QStringLiteral("Новый пароль должен состоять из одной строки длиной от 1 до %1 символов.")};
    case Messages::PasswordsDiffer:
        return {QStringLiteral("The new password and its repetition differ."),
                QStringLiteral("Новый пароль и его повтор не совпадают.")};
    case Messages::NoSuchLocale:
        return {QStringLiteral("This language is not available."), QStringLiteral("Такого языка нет.")};
    case Messages::NoSuchPatient:
        return {QStringLiteral("There is no such patient."), QStringLiteral("Такого пациента нет.")};
    case Messages::NoSuchRecord:
        return {QStringLiteral("There is no such record."), QStringLiteral("Такой записи нет.")};
    case Messages::NoSuchStorage:
        return {QStringLiteral("There is no such collection of markers."),
                QStringLiteral("Такого набора маркеров нет.")};
    case Messages::NoSuchMarker:
        return {QStringLiteral("The recipe names a marker that does not exist."),
                QStringLiteral("В рецепте указан маркер, которого нет.")};
    case Messages::TooManyMarkers:
        return {QStringLiteral("A recipe holds at most %1 markers."),
                QStringLiteral("В рецепте может быть не больше %1 маркеров.")};
    case Messages::BadQuery:
        return {QStringLiteral("The value of \"%1\" is not valid."), QStringLiteral("Недопустимое значение «%1».")};
    case Messages::NeedleTooLong:
        return {QStringLiteral("The text to search for is too long."),
                QStringLiteral("Искомый текст слишком длинный.")};
    case Messages::NoRecordGiven:
        return {QStringLiteral("No record was chosen."), QStringLiteral("Не выбрана ни одна запись.")};
    case Messages::TooManyRecords:
        return {QStringLiteral("At most %1 records can be chosen at once."),
                QStringLiteral("За один раз можно выбрать не больше %1 записей.")};
    case Messages::AnswersInvalid:
        return {QStringLiteral("The answers of a record have to be an object of symptoms."),
                QStringLiteral("Ответы к записи должны быть объектом из симптомов.")};
    case Messages::IntensityInvalid:
        return {QStringLiteral("The strength of a symptom has to be a number from -%1 to %1."),
                QStringLiteral("Выраженность симптома должна быть числом от -%1 до %1.")};
    case Messages::SymptomNameInvalid:
        return {QStringLiteral("The name of a symptom has to be a text of 1 to %1 characters in one line."),
                QStringLiteral("Название симптома должно быть текстом в одну строку длиной от 1 до %1 символов.")};
    case Messages::TooManySymptoms:
        return {QStringLiteral("A patient can have at most %1 symptoms of their own."),
                QStringLiteral("У пациента может быть не больше %1 собственных симптомов.")};
    case Messages::FormExpected:
        return {QStringLiteral("A record is uploaded as a multipart form."),
                QStringLiteral("Запись передаётся в виде составной формы.")};
    case Messages::UploadParts:
        return {QStringLiteral("The upload has to consist of one \"patientId\" and one \"record\"."),
                QStringLiteral("Передача должна состоять из одной части «patientId» и одной части «record».")};
    case Messages::SensorIdTooLong:
        return {QStringLiteral("The identity of the sensor is not valid."),
                QStringLiteral("Недопустимый идентификатор датчика.")};
    case Messages::DeviceIdInvalid:
        return {QStringLiteral("The identity of the device must have 1 to %1 characters in one line."),
                QStringLiteral("Идентификатор прибора должен состоять из одной строки длиной от 1 до %1 символов.")};
    case Messages::DeviceTaken:
        return {QStringLiteral("This device is bound to another patient already."),
                QStringLiteral("Этот прибор уже привязан к другому пациенту.")};
    case Messages::HasAnotherDevice:
        return {QStringLiteral("Another device is bound to this patient. Please unbind it first."),
                QStringLiteral("К этому пациенту привязан другой прибор. Сначала отвяжите его.")};
    case Messages::NoDevice:
        return {QStringLiteral("No device is bound to this patient."),
                QStringLiteral("К этому пациенту не привязан прибор.")};
    case Messages::DeviceDisabled:
        return {QStringLiteral("The device of this patient is disabled."),
                QStringLiteral("Прибор этого пациента отключён.")};
    case Messages::NoSuchCommand:
        return {QStringLiteral("The device knows no such command."), QStringLiteral("Прибор не знает такой команды.")};
    case Messages::NoRecipe:
        return {QStringLiteral("There is no recipe for this record."), QStringLiteral("Для этой записи нет рецепта.")};
    case Messages::NameEmpty:
        return {QStringLiteral("must not be empty."), QStringLiteral("— укажите имя.")};
    case Messages::NameInvalid:
        return {QStringLiteral("must be a text of at most %1 characters in one line."),
                QStringLiteral("— имя должно быть текстом в одну строку не длиннее %1 символов.")};
    case Messages::BirthDateInvalid:
        return {QStringLiteral("is not a valid date."), QStringLiteral("— недопустимая дата рождения.")};
    case Messages::BirthDateInFuture:
        return {QStringLiteral("lies in the future."), QStringLiteral("— дата рождения ещё не наступила.")};
    case Messages::GenderInvalid:
        return {QStringLiteral("must be MALE or FEMALE."), QStringLiteral("— укажите пол: MALE или FEMALE.")};
    case Messages::PhoneInvalid:
        return {QStringLiteral("must be a text of at most %1 characters in one line."),
                QStringLiteral("— телефон должен быть текстом в одну строку не длиннее %1 символов.")};
    case Messages::NotesInvalid:
        return {QStringLiteral("must be a text of at most %1 characters."),
                QStringLiteral("— заметки должны быть текстом не длиннее %1 символов.")};
    }
    return {};
}

} // namespace

QString Messages::text(Id id, const QString& language)
{
    return textOf(id).in(language);
}

QString Messages::language(const QByteArray& acceptLanguage)
{
    QString best;
    double bestWeight = 0;
    const QList<QByteArray> entries = acceptLanguage.split(',');
    for (const QByteArray& entry : entries) {
        const QList<QByteArray> fields = entry.split(';');
        const QByteArray tag = fields.first().trimmed().toLower();
        const QByteArray primary = tag.mid(0, tag.indexOf('-'));
        if (primary != "ru" && primary != "en")
            continue;
        double weight = 1;
        for (int i = 1; i < fields.size(); ++i) {
            const QByteArray parameter = fields.at(i).trimmed();
            if (parameter.startsWith("q="))
                weight = parameter.mid(2).toDouble();
        }
        if (weight > bestWeight) {
            best = QString::fromLatin1(primary);
            bestWeight = weight;
        }
    }
    return best;
}

} // namespace server
