// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/init.h"

#include "app/Constants.h"

#include <QApplication>
#include <QFile>
#include <QIcon>
#include <QPalette>
#include <QPixmap>

void init(QApplication& app)
{
    QFile file(QStringLiteral(":/styles.css"));
    file.open(QIODevice::ReadOnly);
    const QString sheet = QString::fromLatin1(file.readAll());
    const QPixmap logo(QStringLiteral(":/images/logo.png"));

    app.setStyleSheet(sheet);
    // A colour for line edits in the sheet would be the placeholders' too; here they can differ. It also keeps the
    // text dark on the sheet's light grounds where the desktop has a dark theme.
    QPalette palette = app.palette();
    palette.setColor(QPalette::Text, QColor(0x41, 0x41, 0x41));
    palette.setColor(QPalette::PlaceholderText, QColor(0x6f, 0x6f, 0x6f));
    palette.setColor(QPalette::Disabled, QPalette::Text, QColor(0x88, 0x88, 0x88));
    app.setPalette(palette);
    QApplication::setApplicationName(QString::fromLatin1(Constants::NAME));
    QApplication::setOrganizationName(QString::fromLatin1(Constants::ORG_NAME));
    QApplication::setOrganizationDomain(QString::fromLatin1(Constants::ORG_DOMAIN));
    QApplication::setApplicationVersion(QString::fromLatin1(Constants::VERSION));
    QCoreApplication::setAttribute(Qt::AA_DontShowIconsInMenus, true);
    QApplication::setWheelScrollLines(1);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps, true);
    // No window holds anything drawn by OpenGL; without this, every start loads its driver for the first of them.
    QCoreApplication::setAttribute(Qt::AA_ForceRasterWidgets, true);
    QApplication::setWindowIcon(QIcon(logo));
}
