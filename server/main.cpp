// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Program.h"
#include "server/StandardStreams.h"

#include <QCoreApplication>

int main(int argc, char* argv[])
{
    server::StandardStreams::ensure();
    QCoreApplication application(argc, argv);
    return server::Program::run(QCoreApplication::arguments());
}
