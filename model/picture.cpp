// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/picture.h"

#include <QGuiApplication>
#include <QString>

QPixmap picture(const QString& path)
{
    if (qGuiApp->devicePixelRatio() > 1) {
        QString doubled = path;
        doubled.insert(path.lastIndexOf(QLatin1Char('.')), QStringLiteral("@2x"));
        const QPixmap pixmap(doubled);
        if (!pixmap.isNull()) {
            return pixmap;
        }
    }
    return QPixmap(path);
}
