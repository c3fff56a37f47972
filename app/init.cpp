// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/init.h"

#include "app/Constants.h"

#include <QApplication>
#include <QFile>
#include <QIcon>
#include <QPixmap>

void init(QApplication& app)
{
    QFile file(QStringLiteral(":/styles.css"));
    file.open(QIODevice::ReadOnly);
    const QString sheet = QString::fromLatin1(file.readAll());
    const QPixmap logo(QStringLiteral(":/images/logo.png"));

    app.setStyleSheet(sheet);
    QApplication::setApplicationName(QString::fromLatin1(Constants::NAME));
    QApplication::setOrganizationName(QString::fromLatin1(Constants::ORG_NAME));
    QApplication::setOrganizationDomain(QString::fromLatin1(Constants::ORG_DOMAIN));
    QApplication::setApplicationVersion(QString::fromLatin1(Constants::VERSION));
    QCoreApplication::setAttribute(Qt::AA_DontShowIconsInMenus, true);
    QApplication::setWheelScrollLines(1);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps, true);
    QApplication::setWindowIcon(QIcon(logo));
}
