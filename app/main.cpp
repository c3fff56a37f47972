// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MainWindow.h"
#include "app/customMessageHandler.h"
#include "app/init.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    init(app);
    qInstallMessageHandler(customMessageHandler);
    MainWindow window(nullptr);
    window.show();
    return QApplication::exec();
}
