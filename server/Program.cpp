// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Program.h"

#include "server/Accounts.h"
#include "server/Api.h"
#include "server/Backup.h"
#include "server/Database.h"
#include "server/DatabaseAddress.h"
#include "server/DatabaseError.h"
#include "server/Demo.h"
#include "server/DemoLoad.h"
#include "server/DeviceSimulator.h"
#include "server/Health.h"
#include "server/HttpServer.h"
#include "server/LineWriter.h"
#include "server/Metrics.h"
#include "server/PasswordPrompt.h"
#include "server/RequestLog.h"
#include "server/Secrets.h"
#include "server/ServiceManager.h"
#include "server/StopSignal.h"
#include "server/TlsContext.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <atomic>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>

#include <sys/stat.h>

namespace server {

namespace {

constexpr int failed = 1;
constexpr int misused = 2;

void print(const QString& line)
{
    std::fprintf(stdout, "%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

int complain(const QString& text, int code = failed)
{
    std::fprintf(stderr, "quelmar-server: %s\n", text.toUtf8().constData());
    return code;
}

QString address(const QString& host, int port, bool tls)
{
    return QStringLiteral("%1://%2:%3")
        .arg(tls ? QStringLiteral("https") : QStringLiteral("http"),
             host.contains(QLatin1Char(':')) ? QStringLiteral("[%1]").arg(host) : host)
        .arg(port);
}

QString described(const Backup::Counts& counts)
{
    return QStringLiteral("%1 practitioners, %2 patients and %3 records")
        .arg(counts.practitioners)
        .arg(counts.patients)
        .arg(counts.records);
}

/// Tells what clients will object to, if anything.
void warn(const TlsContext& tls)
{
    const QString warning = tls.warning();
    if (!warning.isEmpty())
        complain(warning);
}

void reload(TlsContext& tls)
{
    QString error;
    if (!tls.reload(error)) {
        complain(error + QStringLiteral("; the certificate of before stays in use"));
        return;
    }
    print(QStringLiteral("the certificate was read again"));
    warn(tls);
}

/// What stands against it, or nothing.
QString askPassword(const Options& options, const Practitioner& practitioner, QString& password)
{
    QString error;
    const bool read = options.passwordFile.isEmpty() ? PasswordPrompt::fromInput(password, error)
                                                     : PasswordPrompt::fromFile(options.passwordFile, password, error);
    return read ? Accounts::objection(practitioner, password) : error;
}

} // namespace

int Program::run(const QStringList& arguments)
{
    const Options options = Options::parse(arguments);
    switch (options.action) {
    case Options::Action::Refuse:
        return complain(options.text + QStringLiteral("\nTry \"quelmar-server --help\"."), misused);
    case Options::Action::ShowHelp:
        print(options.text);
        return 0;
    case Options::Action::ShowVersion:
        print(QStringLiteral("quelmar-server ") + QStringLiteral(QUELMAR_VERSION));
        return 0;
    default:
        break;
    }

    if (!Secrets::initialize())
        return complain(QStringLiteral("the system gives no random numbers"));
    // The file holds what only its owner may read.
    umask(S_IRWXG | S_IRWXO);
    QString error;
    const std::optional<DatabaseAddress> address = DatabaseAddress::parse(options.database);
    const QString shown = address ? address->shown() : QString();
    if (options.action == Options::Action::Restore)
        return restore(options, shown);
    // A mistyped name is not to end in a backup of nothing.
    if (options.action == Options::Action::Backup && address && !address->path.isEmpty() &&
        !QFileInfo::exists(address->path))
        return complain(QStringLiteral("cannot use the database %1: there is no such file").arg(shown));
    const std::unique_ptr<Database> database = Database::open(options.database, error);
    if (!database)
        return complain(QStringLiteral("cannot use the database %1: %2").arg(shown, error));
    try {
        if (options.action == Options::Action::Backup)
            return backUp(*database, options);
        Accounts accounts(*database);
        if (options.action == Options::Action::AddPractitioner)
            return addPractitioner(*database, accounts, options);
        if (options.action == Options::Action::SetPassword)
            return setPassword(*database, accounts, options);
        if (options.action == Options::Action::ListPractitioners)
            return listPractitioners(accounts);
        if (options.demo && !(options.demoPatients > 0 ? addDemoLoad(*database, accounts, options.demoPatients)
                                                       : addDemo(*database, accounts)))
            return failed;
        return serve(*database, options);
    } catch (const DatabaseError& failure) {
        return complain(QStringLiteral("the database %1 failed: %2").arg(shown, failure.text()));
    }
}

int Program::serve(Database& database, const Options& options)
{
    Api api(database, options.sessionHours, options.loginLimits);
    Health health(api, database);
    LineWriter& log = LineWriter::errors();
    Metrics metrics(health, database, log);
    RequestLog requests(metrics, options.log, log);
    HttpSettings settings;
    settings.plainBeyondLoopback = options.plainHttp;
    settings.trustedProxies = options.trustedProxies;
    QString error;
    std::shared_ptr<TlsContext> tls;
    if (!options.tlsCertificate.isEmpty()) {
        tls = TlsContext::load(options.tlsCertificate, options.tlsKey, error);
        if (!tls)
            return complain(error);
        warn(*tls);
        settings.tls = tls;
    }
    HttpServer server(requests, settings);
    std::function<void()> hangUp;
    if (tls)
        hangUp = [&tls] { reload(*tls); };
    const StopSignal stop(
        [&server] {
            ServiceManager::tellStopping();
            server.stop();
        },
        hangUp);
    if (!server.bind(options.host, options.port, error))
        return complain(error);
    std::optional<DeviceSimulator> simulator;
    if (options.simulateDevices) {
        simulator.emplace(database, std::chrono::seconds(options.simulateSeconds));
        print(QStringLiteral("remote devices are simulated"));
    }
    print(QStringLiteral("listening on ") + address(options.host, server.port(), tls != nullptr));
    ServiceManager::tellReady();
    if (!server.run())
        return complain(QStringLiteral("no more connections could be accepted"));
    print(QStringLiteral("stopped"));
    return 0;
}

int Program::backUp(Database& database, const Options& options)
{
    std::atomic<bool> interrupted{false};
    const StopSignal stop([&interrupted] { interrupted = true; });
    QString error;
    const std::optional<Backup::Counts> counts = Backup::write(database, options.file, interrupted, error);
    if (!counts)
        return complain(error);
    print(QStringLiteral("backed up %1 into %2").arg(described(*counts), options.file));
    return 0;
}

int Program::restore(const Options& options, const QString& shown)
{
    std::atomic<bool> interrupted{false};
    const StopSignal stop([&interrupted] { interrupted = true; });
    QString error;
    const std::optional<DatabaseAddress> address = DatabaseAddress::parse(options.database);
    if (address && QFileInfo::exists(address->path) &&
        QFileInfo(address->path).canonicalFilePath() == QFileInfo(options.file).canonicalFilePath())
        return complain(QStringLiteral("cannot restore %1: it is the database itself").arg(options.file));
    // Nothing is made of the database if the file is of no use.
    const std::unique_ptr<Backup> backup = Backup::open(options.file, error);
    if (!backup)
        return complain(error);
    const std::unique_ptr<Database> database = Database::open(options.database, error);
    if (!database)
        return complain(QStringLiteral("cannot use the database %1: %2").arg(shown, error));
    try {
        const std::optional<Backup::Counts> counts = backup->restore(*database, options.replace, interrupted, error);
        if (!counts)
            return complain(error);
        print(QStringLiteral("restored %1 from %2; all sessions have ended").arg(described(*counts), options.file));
        return 0;
    } catch (const DatabaseError& failure) {
        return complain(QStringLiteral("the database %1 failed: %2").arg(shown, failure.text()));
    }
}

int Program::addPractitioner(Database& database, Accounts& accounts, const Options& options)
{
    Practitioner practitioner;
    practitioner.name = options.practitioner;
    practitioner.fullName = options.fullName;
    practitioner.language = options.language;
    practitioner.country = options.country;
    if (accounts.find(practitioner.name))
        return complain(QStringLiteral("there is a practitioner \"%1\" already").arg(practitioner.name));
    QString password;
    const QString error = askPassword(options, practitioner, password);
    if (!error.isEmpty())
        return complain(error);
    if (!database.attempt([&] { return accounts.add(practitioner, password); }))
        return complain(QStringLiteral("the practitioner \"%1\" could not be added").arg(practitioner.name));
    print(QStringLiteral("added the practitioner \"%1\"").arg(practitioner.name));
    return 0;
}

int Program::setPassword(Database& database, Accounts& accounts, const Options& options)
{
    const std::optional<Practitioner> practitioner = accounts.find(options.practitioner);
    if (!practitioner)
        return complain(QStringLiteral("there is no practitioner \"%1\"").arg(options.practitioner));
    QString password;
    const QString error = askPassword(options, *practitioner, password);
    if (!error.isEmpty())
        return complain(error);
    if (!database.attempt([&] { return accounts.setPassword(practitioner->name, password); }))
        return complain(
            QStringLiteral("the password of the practitioner \"%1\" could not be set").arg(practitioner->name));
    print(QStringLiteral("set the password of the practitioner \"%1\"").arg(practitioner->name));
    return 0;
}

int Program::listPractitioners(Accounts& accounts)
{
    const QVector<Practitioner> all = accounts.all();
    for (const Practitioner& practitioner : all)
        print(QStringLiteral("%1\t%2_%3\t%4")
                  .arg(practitioner.name, practitioner.language, practitioner.country, practitioner.fullName));
    return 0;
}

bool Program::addDemo(Database& database, Accounts& accounts)
{
    if (!database.attempt([&] { return Demo::add(database, accounts); })) {
        complain(QStringLiteral("the demo practitioner could not be added"));
        return false;
    }
    print(accounts.passwordMatches(Demo::name(), Demo::password())
              ? QStringLiteral("demo practitioner: name \"%1\", password \"%2\"").arg(Demo::name(), Demo::password())
              : QStringLiteral("demo practitioner: name \"%1\", with a password of its own").arg(Demo::name()));
    return true;
}

bool Program::addDemoLoad(Database& database, Accounts& accounts, int patients)
{
    const int practitioners = DemoLoad::practitioners(patients);
    const int added = DemoLoad::add(database, accounts, patients, practitioners, [practitioners](int done) {
        if (done % 20 == 0 && done < practitioners)
            print(QStringLiteral("demo practitioners: %1 of %2").arg(done).arg(practitioners));
    });
    if (added < 0) {
        complain(QStringLiteral("the demo practitioners could not be added"));
        return false;
    }
    print(QStringLiteral("demo practitioners: names \"%1\" to \"%2\", password \"%3\", %4 patients added")
              .arg(DemoLoad::name(0), DemoLoad::name(practitioners - 1), Demo::password())
              .arg(added));
    return true;
}

} // namespace server
