// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMediaContainerControl>

/// The one container of a captured file: WAV.
class CaptureContainer : public QMediaContainerControl
{
    Q_OBJECT

public:
    explicit CaptureContainer(QObject* parent);

    QStringList supportedContainers() const override;
    QString containerFormat() const override;
    /// Any other format than WAV is passed over.
    void setContainerFormat(const QString& format) override;
    QString containerDescription(const QString& format) const override;
};
