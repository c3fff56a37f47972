// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Accounts.h"
#include "server/LoginAttempts.h"
#include "server/RequestHandler.h"

#include <QList>
#include <QStringList>
#include <QVector>

#include <functional>
#include <optional>

namespace server {

class Database;

/// The operations of the server: which request does what, who may do it, and how the answer reads on the wire.
class Api : public RequestHandler
{
public:
    /// The most rows that a page of patients may have, and how many it has if the request does not say.
    static constexpr int maxPageSize = 500;
    static constexpr int defaultPageSize = 20;
    /// The longest text to search for, in UTF-16 units.
    static constexpr int maxNeedle = 1000;
    /// The longest identity of a sensor, in UTF-16 units.
    static constexpr int maxSensorId = 255;

    /// The longest form of a login, in bytes.
    static constexpr int maxLoginForm = 8 * 1024;
    /// After which a login is worth another try that came while too many others were under way.
    static constexpr int busySeconds = 2;

    /// The database has to outlive this object. A session lasts `sessionHours`.
    Api(Database& database, int sessionHours, const LoginAttempts::Limits& limits = {});

    Reply handle(const Request& request) override;
    Reply refuse(int status, const QByteArray& acceptLanguage) override;

private:
    struct Call
    {
        const Request& request;
        QStringList ids; ///< from the path
        Practitioner practitioner;
        QString language;
    };

    using Operation = Reply (Api::*)(const Call&);

    struct Route
    {
        QByteArray method;
        QByteArray pattern;         ///< the path, with "{p}" and the like for ids
        QList<QByteArray> segments; ///< of the pattern
        Operation operation;
        bool open; ///< needs no session
    };

    void route(const char* method, const char* path, Operation operation, bool open = false);
    /// The pattern is also told if the path is known but not with this method.
    const Route& find(const Request& request, QStringList& ids, QByteArray& pattern) const;
    Reply answer(const Request& request, QByteArray& pattern);
    Practitioner authenticate(const Request& request);
    /// Does what compares a password, if neither too many of this name and address have failed nor too many are being
    /// compared; else ends the request. What it returns is a session for the right password.
    std::optional<Accounts::Session> compare(const QString& name, const Request& request,
                                             const std::function<std::optional<Accounts::Session>()>& comparison);
    /// Sends the command to the device of a patient whose existence has been checked, or says what stands against it.
    /// An empty record is none.
    void order(const Call& call, const QString& patientId, const QString& recordId, const QString& command);

    Reply login(const Call& call);
    Reply changePassword(const Call& call);
    Reply changeLocale(const Call& call);
    Reply tellUpdates(const Call& call);
    Reply listPatients(const Call& call);
    Reply filterPatients(const Call& call);
    Reply createPatient(const Call& call);
    Reply updatePatient(const Call& call);
    Reply deletePatient(const Call& call);
    Reply listRecords(const Call& call);
    Reply uploadRecord(const Call& call);
    Reply deleteRecord(const Call& call);
    Reply diagnosticCategories(const Call& call);
    Reply correctiveCategories(const Call& call);
    Reply analyseMarkers(const Call& call);
    Reply analysisSummary(const Call& call);
    Reply analysisComparative(const Call& call);
    Reply questionnaire(const Call& call);
    Reply updateQuestionnaire(const Call& call);
    Reply loadRecipe(const Call& call);
    Reply saveRecipe(const Call& call);
    Reply makeRecipe(const Call& call);
    Reply makeAutospectrum(const Call& call);
    Reply connectDevice(const Call& call);
    Reply toggleDevice(const Call& call);
    Reply disconnectDevice(const Call& call);
    Reply sendCommand(const Call& call);
    Reply deleteCommand(const Call& call);
    Reply exportWorkbook(const Call& call);

    Database& m_database;
    Accounts m_accounts;
    LoginAttempts m_attempts;
    QVector<Route> m_routes;
};

} // namespace server
