// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Options.h"

namespace server {

class Accounts;
class Database;

/// The whole program behind its command line.
class Program
{
public:
    /// The exit code: 0 after a clean end, 1 if something failed (told on the error output), 2 for a wrong command
    /// line. Needs a QCoreApplication, and no thread started yet.
    static int run(const QStringList& arguments);

private:
    static int serve(Database& database, const Options& options);
    static int backUp(Database& database, const Options& options);
    static int restore(const Options& options, const QString& shown);
    static int addPractitioner(Database& database, Accounts& accounts, const Options& options);
    static int setPassword(Database& database, Accounts& accounts, const Options& options);
    static int listPractitioners(Accounts& accounts);
    static bool addDemo(Database& database, Accounts& accounts);
    static bool addDemoLoad(Database& database, Accounts& accounts, int patients);
};

} // namespace server
