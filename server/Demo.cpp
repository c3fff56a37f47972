// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Demo.h"

#include "server/Accounts.h"
#include "server/Database.h"
#include "server/Patients.h"
#include "server/Records.h"
#include "server/SignalFormat.h"
#include "server/WaveFile.h"

#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <random>

namespace server {

namespace {

struct Tone
{
    int daysAgo;
    std::vector<double> frequencies;
    double noise; ///< greatest deflection, 1 is full scale
};

struct Invented
{
    QString name;
    QDate birthDate;
    bool male;
    QString phone;
    QString notes;
    std::vector<Tone> tones;
};

std::vector<Invented> inventedPatients()
{
    return {
        {QStringLiteral("Amelia Thornbury"),
         QDate(1984, 3, 17),
         false,
         QStringLiteral("+44 1632 960114"),
         QStringLiteral("Choir singer, alto. Prefers appointments in the morning."),
         {{61, {440.0}, 0.02}, {33, {440.0, 880.0}, 0.02}, {5, {880.0}, 0.02}}},
        {QStringLiteral("Benedict Ashworth"),
         QDate(1959, 11, 2),
         true,
         QStringLiteral("+44 1632 960187"),
         QStringLiteral("Piano tuner, retired."),
         {{14, {261.63, 329.63, 392.0}, 0.03}}},
        {QStringLiteral("Jürgen Äpfelbacher"),
         QDate(1971, 7, 29),
         true,
         QStringLiteral("+49 30 5550142"),
         QStringLiteral("Kommt aus Köln, möchte Termine nur dienstags."),
         {{20, {50.0, 100.0, 150.0}, 0.02}}},
        {QStringLiteral("Ömer Özdağ"), QDate(1990, 1, 9), true, QStringLiteral("+49 40 5550199"), QString(), {}},
        {QStringLiteral("Ursula Weißmüller"),
         QDate(1948, 12, 24),
         false,
         QString(),
         QStringLiteral("Großer Abstand zwischen den Terminen gewünscht."),
         {{90, {196.0}, 0.05}, {45, {220.0}, 0.05}}},
        {QStringLiteral("Алексей Воронцов"),
         QDate(1978, 5, 4),
         true,
         QStringLiteral("+7 495 555-01-23"),
         QStringLiteral("Просит звонить после шести вечера."),
         {{8, {1000.0}, 0.01}}},
        {QStringLiteral("Ёлкина Вера Павловна"),
         QDate(1965, 9, 30),
         false,
         QStringLiteral("+7 812 555-07-61"),
         QStringLiteral("Преподаёт сольфеджио."),
         {{30, {440.0, 554.37, 659.26}, 0.02}, {2, {440.0}, 0.02}}},
        {QStringLiteral("Елисеев Семён"), QDate(2001, 2, 28), true, QString(), QString(), {}},
        {QStringLiteral("Жанна Щербакова"),
         QDate(1993, 6, 15),
         false,
         QStringLiteral("+7 343 555-04-48"),
         QStringLiteral("Запись с фоновым шумом."),
         {{3, {}, 0.5}}},
        {QStringLiteral("Łucja Świątek"),
         QDate(1987, 10, 11),
         false,
         QStringLiteral("+48 22 555 01 77"),
         QStringLiteral("Second visit in autumn."),
         {}},
        {QStringLiteral("Renée Dufrêne"),
         QDate(2012, 4, 1),
         false,
         QStringLiteral("+33 1 99 00 12 34"),
         QStringLiteral("Accompanied by her mother."),
         {{1, {730.0, 1090.0, 2440.0}, 0.03}}},
        {QStringLiteral("Zoë O’Sullivan-Byrne"),
         QDate(1996, 8, 20),
         false,
         QStringLiteral("+353 20 910 0145"),
         QString(),
         {}},
    };
}

template <typename Number> void append(QByteArray& bytes, Number number)
{
    const Number little = qToLittleEndian(number);
    bytes.append(reinterpret_cast<const char*>(&little), int(sizeof little));
}

} // namespace

bool Demo::add(Database& database, Accounts& accounts)
{
    Practitioner practitioner;
    practitioner.name = name();
    practitioner.fullName = QStringLiteral("Dr. Demo");
    practitioner.language = QStringLiteral("en");
    practitioner.country = QStringLiteral("US");
    // Servers that start together may all be about to add it.
    Database::Transaction transaction(database);
    if (accounts.find(practitioner.name))
        return true;
    const std::optional<Practitioner> added = accounts.add(practitioner, password());
    if (!added)
        return false;
    Patients patients(database, added->id);
    Records records(database, added->id);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    unsigned seed = 0;
    for (const Invented& invented : inventedPatients()) {
        Patient patient;
        patient.name = invented.name;
        patient.birthDate = invented.birthDate;
        patient.gender = invented.male ? QStringLiteral("MALE") : QStringLiteral("FEMALE");
        patient.phone = invented.phone;
        patient.notes = invented.notes;
        const QString id = patients.add(patient).id;
        for (const Tone& tone : invented.tones) {
            ++seed;
            // Not all recordings of a practice happen at the same minute of the day.
            const QDateTime at = now.addDays(-tone.daysAgo).addSecs(-qint64(seed) * 1117);
            if (!records.add(id, recording(tone.frequencies, tone.noise, seed), QStringLiteral("DEMO"), at))
                return false;
        }
    }
    transaction.commit();
    return true;
}

QByteArray Demo::recording(const std::vector<double>& frequencies, double noise, unsigned seed)
{
    QByteArray file;
    file.append("RIFF");
    append(file, quint32(WaveFile::sampleCount + WaveFile::headerSize - 8));
    file.append("WAVEfmt ");
    append(file, quint32(16));
    append(file, quint16(1));
    append(file, quint16(SignalFormat::channels));
    append(file, quint32(SignalFormat::sampleRate));
    append(file, quint32(SignalFormat::sampleRate));
    append(file, quint16(1));
    append(file, quint16(SignalFormat::bitsPerSample));
    file.append("data");
    append(file, quint32(WaveFile::sampleCount));

    // The engine's own numbers are used: distributions differ between standard libraries.
    std::mt19937 random(seed);
    const double pi = std::acos(-1.0);
    const double strength = frequencies.empty() ? 0 : 0.6 / double(frequencies.size());
    for (int i = 0; i < WaveFile::sampleCount; ++i) {
        double deflection = noise * (double(random()) / double(std::mt19937::max()) * 2 - 1);
        for (const double frequency : frequencies)
            deflection += strength * std::sin(2 * pi * frequency * i / SignalFormat::sampleRate);
        file.append(char(std::clamp(int(std::lround(128 + 127 * deflection)), 0, 255)));
    }
    return file;
}

} // namespace server
