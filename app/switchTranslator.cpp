// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/switchTranslator.h"

#include <QCoreApplication>
#include <QTranslator>

void switchTranslator(QTranslator& translator, const QString& fileName)
{
    QCoreApplication::removeTranslator(&translator);
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/languages/") + fileName;
    // Empty and not null: null texts would make load() try other suffixes and shorter names.
    const QString empty = QLatin1String("");
    if (translator.load(path, empty, empty, empty)) {
        QCoreApplication::installTranslator(&translator);
    }
}
