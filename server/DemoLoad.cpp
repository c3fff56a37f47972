// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/DemoLoad.h"

#include "server/Accounts.h"
#include "server/Database.h"
#include "server/Demo.h"
#include "server/Dialect.h"
#include "server/Patients.h"
#include "server/Records.h"
#include "server/Secrets.h"

#include <QDateTime>
#include <QStringList>
#include <QVector>

#include <algorithm>
#include <optional>
#include <random>

namespace server {

namespace {

/// Rows in one statement.
constexpr int together = 100;
/// One patient in so many has a remote device, and every second device a command that was carried out.
constexpr int devicesAmong = 10;
constexpr int words = 12;

struct Script
{
    QStringList men;
    QStringList women;
    QStringList beginnings; ///< of family names
    QStringList endings;
    QString womensEnding;
    QStringList notes;
};

const Script& latin()
{
    static const Script script{
        QStringLiteral(
            "Adrian Bernard Caspar Dominic Edmund Florian Gareth Henrik Ivor Jasper Konrad Lionel Magnus Nigel "
            "Otto Percy Quentin Roland Søren Tobias Ulrich Valentin Wilfred Yannick Émile Łukasz")
            .split(QLatin1Char(' ')),
        QStringLiteral("Agatha Beatrix Cecily Dorothea Elspeth Flora Gwendolyn Harriet Imogen Josephine Katrin Leonie "
                       "Matilda Nora Ottilie Philippa Rosalind Sibylla Theodora Ursula Viola Winifred Yvonne Zoë Ædith")
            .split(QLatin1Char(' ')),
        QStringLiteral("Ash Bram Cald Dun Elm Fern Glen Hart Ings Kel Lang Marsh North Oak Pem Quarn Rave Stan Thorn "
                       "Under Vex Whit Yar Wold Bläk Ströd")
            .split(QLatin1Char(' ')),
        QStringLiteral(
            "bury combe dale field ford gate ham hurst ley low mere more ridge stead stone ton well wick wood "
            "worth")
            .split(QLatin1Char(' ')),
        QString(),
        QStringLiteral(
            "sleeps badly after travel prefers mornings sings in a choir headaches with the weather walks daily "
            "allergic to pollen returns every spring plays cello works nights shoulder improved hears poorly "
            "on left ear stopped coffee asks for a written plan accompanied by daughter")
            .split(QLatin1Char(' ')),
    };
    return script;
}

const Script& cyrillic()
{
    static const Script script{
        QStringLiteral("Аркадий Богдан Валентин Герман Денис Евгений Захар Игнат Климент Лаврентий Матвей Никита Остап "
                       "Платон Родион Савелий Тимофей Ульян Филипп Харитон Эдуард Юлиан Яков Артём Пётр Семён")
            .split(QLatin1Char(' ')),
        QStringLiteral(
            "Агния Богдана Варвара Галина Дарина Евдокия Зоя Инна Клавдия Лидия Маргарита Надежда Олеся Пелагея "
            "Раиса Серафима Таисия Ульяна Фаина Христина Эмма Юлиана Яна Алёна Матрёна")
            .split(QLatin1Char(' ')),
        QStringLiteral(
            "Бел Вор Гор Дол Ел Жар Зим Ив Кор Луг Мор Нов Ос Пол Ряб Сос Туч Ум Фад Хол Цвет Чер Шум Щег Яс "
            "Берёз")
            .split(QLatin1Char(' ')),
        QStringLiteral("анов ачев енков ецов иков инов ичев ковец онов орнов отов очкин уев улин ушкин ягин ёлов")
            .split(QLatin1Char(' ')),
        QStringLiteral("а"),
        QStringLiteral("плохо спит после поездок просит принимать утром поёт хоре головная боль перемене погоды ходит "
                       "пешком аллергия пыльцу приходит каждую весну играет виолончели работает ночам плечо лучше "
                       "сопровождает дочь отказался кофе хочет письменный план лечения")
            .split(QLatin1Char(' ')),
    };
    return script;
}

/// Takes the generator's own numbers: distributions differ between standard libraries.
class Inventor
{
public:
    explicit Inventor(int practitioner)
        : m_random(unsigned(practitioner))
    {
    }

    Patient patient()
    {
        const Script& script = below(2) == 0 ? latin() : cyrillic();
        const bool male = below(2) == 0;
        Patient patient;
        patient.id = id();
        patient.gender = male ? QStringLiteral("MALE") : QStringLiteral("FEMALE");
        patient.name = one(male ? script.men : script.women) + QLatin1Char(' ') + familyName(script, male);
        if (below(4) == 0)
            patient.name += QLatin1Char('-') + familyName(script, male);
        patient.birthDate = QDate(1930, 1, 1).addDays(below(32000));
        patient.phone = QStringLiteral("+44 1632 96%1").arg(below(10000), 4, 10, QLatin1Char('0'));
        QStringList notes;
        for (int i = below(words + 1); i > 0; --i)
            notes.append(one(script.notes));
        patient.notes = notes.join(QLatin1Char(' '));
        if (!patient.notes.isEmpty())
            patient.notes = patient.notes.at(0).toUpper() + patient.notes.mid(1) + QLatin1Char('.');
        return patient;
    }

private:
    int below(int end) { return int(m_random() % unsigned(end)); }
    const QString& one(const QStringList& list) { return list.at(below(list.size())); }

    QString familyName(const Script& script, bool male)
    {
        const QString& ending = one(script.endings);
        // "Ковец" stays as it is for women.
        const bool changes = !male && !ending.endsWith(QStringLiteral("ец"));
        return one(script.beginnings) + ending + (changes ? script.womensEnding : QString());
    }

    QString id()
    {
        QByteArray bytes;
        for (int i = 0; i < 4; ++i) {
            const unsigned number = unsigned(m_random());
            bytes.append(reinterpret_cast<const char*>(&number), int(sizeof number));
        }
        return QString::fromLatin1(bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
    }

    std::mt19937 m_random;
};

/// One recording for each place of a patient's own and of a patient among the first: computing them takes longer than
/// storing them.
const QByteArray& recording(int number)
{
    static const QVector<QByteArray> all = [] {
        QVector<QByteArray> made;
        for (int i = 0; i < DemoLoad::recordsOfPractitioner; ++i)
            made.append(Demo::recording({110.0 + 53 * i, 440.0 + 97 * i, 1200.0 + 31 * i}, 0.05, unsigned(i)));
        return made;
    }();
    return all.at(number % all.size());
}

/// Inserts rows, `together` in each statement.
class Rows
{
public:
    Rows(Database& database, const QString& table, int columns)
        : m_database(database)
        , m_table(table)
        , m_columns(columns)
    {
    }

    void add(const QVariantList& row)
    {
        m_values += row;
        if (m_values.size() == m_columns * together)
            store();
    }

    void store()
    {
        const int rows = m_values.size() / m_columns;
        if (rows == 0)
            return;
        QStringList marks;
        for (int i = 0; i < m_columns; ++i)
            marks.append(QStringLiteral("?"));
        QStringList tuples;
        for (int i = 0; i < rows; ++i)
            tuples.append(QLatin1Char('(') + marks.join(QStringLiteral(", ")) + QLatin1Char(')'));
        m_database.run(QStringLiteral("INSERT INTO %1 VALUES %2").arg(m_table, tuples.join(QStringLiteral(", "))),
                       m_values);
        m_values.clear();
    }

private:
    Database& m_database;
    QString m_table;
    int m_columns;
    QVariantList m_values;
};

void addPatients(Database& database, const QString& practitionerId, int number, int count)
{
    Patients patients(database, practitionerId);
    Records records(database, practitionerId);
    Inventor inventor(number);
    // A time of its own for each, so that all of them are the same whenever they are made.
    const QDateTime lastDay(QDate(2025, 12, 31), QTime(16, 0), Qt::UTC);
    const QString bound = lastDay.toString(Qt::ISODateWithMs);
    Rows devices(database, QStringLiteral("devices (patient_id, device_id, bound_at)"), 3);
    Rows commands(database, QStringLiteral("commands (id, patient_id, name, record_id, complete, sent_at)"), 6);
    QVector<Patient> waiting;
    QStringList recorded;
    const auto store = [&] {
        patients.addAll(waiting);
        waiting.clear();
        devices.store();
        commands.store();
    };
    for (int i = 0; i < count; ++i) {
        const Patient patient = inventor.patient();
        waiting.append(patient);
        if (recorded.size() * DemoLoad::recordsOfPatient < DemoLoad::recordsOfPractitioner)
            recorded.append(patient.id);
        if (i % devicesAmong == devicesAmong / 2)
            devices.add({patient.id, QStringLiteral("DEMO-%1-%2").arg(number).arg(i), bound});
        if (i % (2 * devicesAmong) == devicesAmong / 2)
            commands.add({patient.id, patient.id, QStringLiteral("RECORD"), QVariant(), 1, bound});
        if (waiting.size() == together)
            store();
    }
    store();
    int made = 0;
    for (const QString& id : qAsConst(recorded)) {
        for (int i = 0; i < DemoLoad::recordsOfPatient; ++i, ++made) {
            const QDateTime at = lastDay.addDays(-7 * (DemoLoad::recordsOfPatient - i)).addSecs(-made * 1117);
            records.add(id, recording(made), QStringLiteral("DEMO"), at);
        }
    }
}

} // namespace

int DemoLoad::practitioners(int patients)
{
    return std::min(patients, maxPractitioners);
}

QString DemoLoad::name(int practitioner)
{
    return Demo::name() + QString::number(practitioner + 1);
}

int DemoLoad::add(Database& database, Accounts& accounts, int patients, int practitioners,
                  const std::function<void(int)>& progress)
{
    // Two hundred hashes would take longer than a good many patients.
    const QString hash = Secrets::passwordHash(Demo::password());
    if (hash.isEmpty())
        return -1;
    int added = 0;
    for (int number = 0; number < practitioners; ++number) {
        const int count = patients / practitioners + (number < patients % practitioners ? 1 : 0);
        Practitioner practitioner;
        practitioner.name = name(number);
        practitioner.fullName = QStringLiteral("Dr. Demo %1").arg(number + 1);
        practitioner.language = number % 2 == 0 ? QStringLiteral("en") : QStringLiteral("ru");
        practitioner.country = number % 2 == 0 ? QStringLiteral("US") : QStringLiteral("RU");
        const bool isNew = database.attempt([&] {
            Database::Transaction transaction(database);
            const std::optional<Practitioner> stored = accounts.addHashed(practitioner, hash);
            if (!stored)
                return false;
            addPatients(database, stored->id, number, count);
            transaction.commit();
            return true;
        });
        added += isNew ? count : 0;
        progress(number + 1);
    }
    if (added > 0) {
        const QStringList statements = database.dialect().afterFilling();
        for (const QString& statement : statements)
            database.run(statement);
    }
    return added;
}

} // namespace server
