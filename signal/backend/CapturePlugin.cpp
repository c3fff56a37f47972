// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/backend/CapturePlugin.h"

#include "signal/backend/CaptureService.h"

QMediaService* CapturePlugin::create(const QString& key)
{
    return key == QLatin1String(Q_MEDIASERVICE_AUDIOSOURCE) ? new CaptureService : nullptr;
}

void CapturePlugin::release(QMediaService* service)
{
    delete service;
}

#include "moc_CapturePlugin.cpp"
