// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/DeviceSimulator.h"

#include "server/Database.h"
#include "server/Demo.h"
#include "server/DeviceCommand.h"
#include "server/LineWriter.h"
#include "server/Records.h"

#include <QCryptographicHash>
#include <QVector>

#include <cmath>
#include <exception>

namespace server {

namespace {

constexpr std::chrono::milliseconds lookEvery(200);

struct Task
{
    QString commandId;
    QString command;
    QString patientId;
    QString deviceId;
    QString practitionerId;
};

QByteArray digest(const QString& text)
{
    return QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha256);
}

/// One of three octaves of semitones from A2 (110 Hz) on.
double tone(char choice)
{
    return 110.0 * std::exp2(double(uchar(choice) % 36) / 12.0);
}

} // namespace

DeviceSimulator::DeviceSimulator(Database& database, std::chrono::seconds delay)
    : m_database(database)
    , m_delay(delay)
    , m_thread([this] { run(); })
{
}

DeviceSimulator::~DeviceSimulator()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

QByteArray DeviceSimulator::recording(const QString& deviceId, const QString& commandId)
{
    const QByteArray device = digest(deviceId);
    const QByteArray command = digest(commandId);
    const double lowest = tone(device.at(0));
    // Above the lowest tone, and apart from its octaves.
    const double second = lowest * (1.1 + double(uchar(command.at(0))) / 320.0);
    const double third = lowest * (2.1 + double(uchar(command.at(1))) / 320.0);
    unsigned seed = 0;
    for (int i = 2; i < 6; ++i)
        seed = seed << 8 | uchar(device.at(i) ^ command.at(i));
    return Demo::recording({lowest, second, third}, 0.02, seed);
}

void DeviceSimulator::run()
{
    bool failing = false;
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping) {
        lock.unlock();
        try {
            m_database.attempt([this] { work(QDateTime::currentDateTimeUtc()); });
            failing = false;
        } catch (const std::exception& error) {
            // Not five times a second while it lasts.
            if (!failing)
                LineWriter::errors().failure(QByteArray("simulated devices: ") + error.what());
            failing = true;
        }
        lock.lock();
        m_wake.wait_for(lock, lookEvery, [this] { return m_stopping; });
    }
}

void DeviceSimulator::work(const QDateTime& now)
{
    const QString latest = now.addSecs(-qint64(m_delay.count())).toString(Qt::ISODateWithMs);
    const QString due = QStringLiteral("SELECT c.id, c.name, p.id, d.device_id, p.practitioner_id FROM commands c "
                                       "JOIN devices d ON d.patient_id = c.patient_id "
                                       "JOIN patients p ON p.id = c.patient_id "
                                       "WHERE c.complete = 0 AND c.sent_at <= ? AND p.device_enabled = 1 "
                                       "ORDER BY c.sent_at LIMIT 1");
    // Looking does not keep others from writing; what was found is looked at once more when it is carried out.
    while (m_database.run(due, {latest}).next()) {
        Database::Transaction transaction(m_database);
        Task task;
        {
            Rows query = m_database.run(due, {latest});
            if (!query.next())
                return;
            task = {query.value(0).toString(), query.value(1).toString(), query.value(2).toString(),
                    query.value(3).toString(), query.value(4).toString()};
        }
        m_database.run(QStringLiteral("UPDATE commands SET complete = 1 WHERE id = ?"), {task.commandId});
        if (!DeviceCommand::playsRecipe(task.command))
            Records(m_database, task.practitionerId)
                .add(task.patientId, recording(task.deviceId, task.commandId), task.deviceId, now);
        transaction.commit();
    }
}

} // namespace server
