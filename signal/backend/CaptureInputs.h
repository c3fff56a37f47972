// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAudioInputSelectorControl>

class CaptureSession;

/// The audio inputs of the system, each known and described by its device name.
class CaptureInputs : public QAudioInputSelectorControl
{
    Q_OBJECT

public:
    CaptureInputs(CaptureSession* session, QObject* parent);

    QList<QString> availableInputs() const override;
    QString inputDescription(const QString& name) const override;
    /// Empty if the system has no input.
    QString defaultInput() const override;
    QString activeInput() const override;

public slots:
    void setActiveInput(const QString& name) override;

private:
    CaptureSession* session;
};
