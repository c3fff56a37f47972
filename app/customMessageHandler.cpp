// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/customMessageHandler.h"

#include <QDateTime>
#include <QFile>
#include <QString>
#include <QTextStream>

void customMessageHandler(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    QString line =
        QStringLiteral("[%1] ").arg(QDateTime::currentDateTime().toString(QStringLiteral("dd/MM/yyyy hh:mm:ss")));
    switch (type) {
    case QtDebugMsg:
        line += QStringLiteral("{Debug} \t\t %1").arg(message);
        break;
    case QtWarningMsg:
        line += QStringLiteral("{Warning} \t %1").arg(message);
        break;
    case QtCriticalMsg:
        line += QStringLiteral("{Critical} \t %1").arg(message);
        break;
    case QtFatalMsg:
        line += QStringLiteral("{Fatal} \t\t %1").arg(message);
        break;
    case QtInfoMsg:
        line += QStringLiteral("{Info} \t\t %1").arg(message);
        break;
    }

    QFile file(QStringLiteral("quelmar.log"));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        // Writing to it all the same would make Qt log, and land here again.
        return;
    }
    QTextStream stream(&file);
    stream.setCodec("UTF-8");
    stream << line << Qt::endl;
}
