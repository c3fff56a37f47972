// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/DialogManageDevices.h"

#include "app/Dialogs.h"
#include "model/Patient.h"
#include "signal/Utils.h"
#include "ui_DialogManageDevices.h"

#include <QPointer>
#include <QTimer>

namespace {

/// Milliseconds until the user may look for a sensor again.
constexpr int retryDelay = 3000;

} // namespace

DialogManageDevices::DialogManageDevices(QWidget* parent, Patient* patient)
    : QDialog(parent)
    , ui(std::make_unique<Ui::DialogManageDevices>())
{
    ui->setupUi(this);
    const bool bound = patient->isHasDevices();
    if (bound) {
        ui->buttonToggle->setText(patient->isEnabled() ? tr("Text.disableDevice") : tr("Text.enableDevice"));
    }
    ui->buttonDisconnect->setEnabled(bound);
    ui->buttonToggle->setEnabled(bound);

    connect(ui->buttonConnect, SIGNAL(clicked()), this, SLOT(onConnect()));
    connect(ui->buttonDisconnect, SIGNAL(clicked()), this, SLOT(onDisconnect()));
    connect(ui->buttonToggle, SIGNAL(clicked()), this, SLOT(onToggle()));
}

DialogManageDevices::~DialogManageDevices() = default;

void DialogManageDevices::onConnect()
{
    ui->buttonConnect->setEnabled(false);
    const QString id = Utils::getDeviceId();
    if (!id.isEmpty()) {
        // What an earlier attempt has left there is not true any more.
        ui->labelError->clear();
        emit listenerConnect(id);
        return;
    }
    ui->labelError->setText(tr("Text.deviceNotConnected"));
    QTimer::singleShot(retryDelay, this, [this] { ui->buttonConnect->setEnabled(true); });
}

void DialogManageDevices::onDisconnect()
{
    ui->buttonDisconnect->setEnabled(false);
    const QPointer<DialogManageDevices> self(this);
    const bool confirmed = Dialogs::confirm(this, tr("Text.titleDisconnect"), tr("Text.confirmDisconnect"));
    if (self == nullptr) {
        return;
    }
    if (confirmed) {
        emit listenerDisconnect();
    } else {
        ui->buttonDisconnect->setEnabled(true);
    }
}

void DialogManageDevices::onToggle()
{
    ui->buttonToggle->setEnabled(false);
    emit listenerToggle();
    close();
}

#include "moc_DialogManageDevices.cpp"
