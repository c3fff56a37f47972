// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/LoginAttempts.h"
#include "server/RequestLog.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

namespace server {

/// What the command line asks for.
struct Options
{
    enum class Action
    {
        Serve,
        AddPractitioner,
        ListPractitioners,
        SetPassword, ///< of a practitioner
        Backup,      ///< into `file`
        Restore,     ///< from `file`
        ShowHelp,
        ShowVersion,
        Refuse, ///< `text` says what is wrong
    };

    Action action = Action::Serve;
    QString host = QStringLiteral("127.0.0.1");
    int port = 18620;                   ///< 0: any free one
    QString tlsCertificate;             ///< file; empty for plain HTTP
    QString tlsKey;                     ///< file; as the certificate
    bool plainHttp = false;             ///< also where other machines reach it
    QVector<QByteArray> trustedProxies; ///< as IpAddress::normalized() gives them
    QString database;                   ///< path of the SQLite file, or address of a PostgreSQL database
    int sessionHours = 24 * 7;
    RequestLog::Level log = RequestLog::Level::Requests;
    LoginAttempts::Limits loginLimits;
    bool demo = false;
    int demoPatients = 0; ///< not 0: so many in place of the dozen, for load tests
    bool simulateDevices = false;
    int simulateSeconds = 3; ///< from a command until it is complete

    QString practitioner;
    QString fullName;
    QString passwordFile; ///< empty: asked for
    QString language = QStringLiteral("en");
    QString country = QStringLiteral("US");

    QString file;         ///< of a backup
    bool replace = false; ///< what a restore would overwrite

    QString text; ///< to print, for help and refusal

    /// Never fails otherwise than by Action::Refuse. The first argument is the program's name.
    static Options parse(const QStringList& arguments);
    /// The file that is used if none is named, under the user's data folder.
    static QString defaultDatabase();
};

} // namespace server
