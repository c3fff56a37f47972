// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace server {

class Database;

/// Takes the place of every remote device that is bound to a patient, of whatever practitioner: carries out their
/// commands as hardware would, on a thread of its own.
///
/// A command is complete some time after it was sent, also if the server was not running meanwhile. One that plays a
/// recipe has nothing else to show for it; every other one ends with a new record of the patient, three seconds of
/// three tones and some noise: the lowest tone is the device's, the others are the command's, the noise is of both. A
/// disabled device does nothing until it is enabled. Any number of simulators may work on one database, each command
/// is carried out once.
class DeviceSimulator
{
public:
    /// Starts at once. The database has to outlive the simulator.
    DeviceSimulator(Database& database, std::chrono::seconds delay);
    /// Ends what is being done, and the thread.
    ~DeviceSimulator();
    DeviceSimulator(const DeviceSimulator&) = delete;
    DeviceSimulator& operator=(const DeviceSimulator&) = delete;

    /// What a device records for a command: a WAV file as it would upload it. The same ids give the same file.
    static QByteArray recording(const QString& deviceId, const QString& commandId);

private:
    void run();
    /// Carries out what is due; throws DatabaseError.
    void work(const QDateTime& now);

    Database& m_database;
    std::chrono::seconds m_delay;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stopping = false;
    std::thread m_thread; ///< last: it uses all of the above
};

} // namespace server
