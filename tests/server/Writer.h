// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/server/ApiClient.h"
#include "tests/server/WrittenState.h"

#include <QByteArray>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

#include <atomic>
#include <optional>
#include <random>
#include <thread>

/// A practitioner who works without a pause, on a thread of its own, with patients, recordings, recipes and
/// questionnaires that follow from a seed, and who keeps account of what the server has acknowledged.
///
/// One request is under way at a time, so that at any moment at most one change is in doubt: the server may have stored
/// it as a whole or not at all.
class Writer
{
public:
    /// What one request changes: new texts, and null ones for what goes. A thing that the server has not yet given an
    /// id to stands under its kind and "?".
    using Change = WrittenState;

    Writer(const QString& name, quint32 seed);
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    /// False if the server does not let it in.
    bool login(const QString& url);
    /// Begins to work at this address, with the session that it has.
    void start(const QString& url);
    /// Waits for the answer that is under way, and ends.
    void stop();
    /// It ends by itself after the first request that was not acknowledged.
    bool isWorking() const { return m_working; }
    /// Requests acknowledged since the start.
    int acknowledged() const { return m_acknowledged; }

    // What follows is for the time in which it does not work.

    QString name() const { return m_name; }
    WrittenState state() const { return m_state; }
    /// From here on the account stands like that, and nothing is in doubt.
    void setState(const WrittenState& state);
    /// The changes since the last setState() or settle(), in their order, without the one in doubt.
    QVector<Change> changes() const { return m_changes; }
    std::optional<Change> inDoubt() const { return m_inDoubt; }
    void setInDoubt(const Change& change) { m_inDoubt = change; }
    /// Of the last request: 200, or why the work ended; 0 without an answer.
    int lastStatus() const { return m_lastStatus; }
    /// Acknowledged since the construction, by kinds of requests.
    QMap<QString, int> counts() const { return m_counts; }

    /// What is wrong if this is what the database holds; nothing if all is there that was acknowledged, and nothing
    /// else but perhaps what is in doubt. Then this is the state from here on.
    QStringList settle(const WrittenState& found);
    /// Asks the server for all that was changed since the start, and tells what is not as in the state.
    QStringList askedOf(const QString& url);

    /// A state after a change. A thing without an id takes that of one with its kind and text in `found`, and stays out
    /// if there is none that is not in the state.
    static WrittenState changed(const WrittenState& state, const Change& change, const WrittenState& found);

private:
    void work(const QString& url);
    void step(ApiClient& client);
    int number(int below);
    QString text(int length);
    QStringList idsOf(const QString& kind) const;
    QString patientOf(const QString& record) const;

    void createPatient(ApiClient& client);
    void changePatient(ApiClient& client);
    void upload(ApiClient& client);
    void saveRecipe(ApiClient& client);
    void saveQuestionnaires(ApiClient& client);
    void removeRecord(ApiClient& client);

    /// The change is in doubt from here until done() or the end of the work.
    void begin(const Change& change);
    void done(const QString& what, const ApiClient::Answer& answer);

    QString m_name;
    QByteArray m_token;
    std::mt19937 m_random;
    std::thread m_thread;
    std::atomic<bool> m_working{false};
    std::atomic<bool> m_stopped{false};
    std::atomic<int> m_acknowledged{0};

    WrittenState m_state;
    QVector<Change> m_changes;
    std::optional<Change> m_inDoubt;
    QSet<QString> m_touched; ///< keys of the state
    QMap<QString, int> m_counts;
    int m_lastStatus = 200;
};
