// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/backend/CaptureContainer.h"

namespace {

QString wav()
{
    return QStringLiteral("audio/x-wav");
}

} // namespace

CaptureContainer::CaptureContainer(QObject* parent)
    : QMediaContainerControl(parent)
{
}

QStringList CaptureContainer::supportedContainers() const
{
    return {wav()};
}

QString CaptureContainer::containerFormat() const
{
    return wav();
}

void CaptureContainer::setContainerFormat(const QString&) {}

QString CaptureContainer::containerDescription(const QString& format) const
{
    return format == wav() ? QStringLiteral("WAV file") : QString();
}

#include "moc_CaptureContainer.cpp"
