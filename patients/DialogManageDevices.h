// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <QString>

#include <memory>

class Patient;

namespace Ui {
class DialogManageDevices;
}

/// Asks what to do with a patient's remote device: bind the one that is plugged in, unbind, block or unblock. It sends
/// nothing itself, and shows the state that the patient had when it was made.
class DialogManageDevices : public QDialog
{
    Q_OBJECT

signals:
    /// `id` is the identity of the sensor that is plugged in, never empty. The dialog stays open.
    void listenerConnect(QString id);
    /// The question has been answered with yes. The dialog stays open.
    void listenerDisconnect();
    /// The dialog closes right after it.
    void listenerToggle();

public:
    /// Reads `patient` and keeps nothing of it.
    DialogManageDevices(QWidget* parent, Patient* patient);
    ~DialogManageDevices() override;

public slots:
    void onConnect();
    void onDisconnect();
    void onToggle();

private:
    std::unique_ptr<Ui::DialogManageDevices> ui;
};
