// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMediaServiceProviderPlugin>

/// Offers a capture service for plain PCM to QAudioRecorder.
class CapturePlugin : public QMediaServiceProviderPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QMediaServiceProviderFactoryInterface_iid FILE "capture.json")

public:
    /// A new service, to be given back to release(); null for any other kind than an audio source.
    QMediaService* create(const QString& key) override;
    void release(QMediaService* service) override;
};
