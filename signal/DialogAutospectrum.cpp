// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/DialogAutospectrum.h"

#include "ui_DialogAutospectrum.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QScreen>

DialogAutospectrum::DialogAutospectrum(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::DialogAutospectrum>())
{
    ui->setupUi(this);
    setFixedSize(size());
    setWindowFlag(Qt::WindowStaysOnTopHint);
    setModal(true);
    const QList<QScreen*> screens = QGuiApplication::screens();
    if (!screens.isEmpty()) {
        // The first screen is taken for one that begins at 0, wherever it stands.
        const QSize screen = screens.first()->size();
        move((screen.width() - width()) / 2, (screen.height() - height()) / 2);
    }

    connect(ui->spinBoxDuration, qOverload<int>(&QSpinBox::valueChanged), this,
            [this](int value) { ui->buttonConfirm->setEnabled(value >= 1); });
    connect(ui->buttonConfirm, SIGNAL(clicked()), this, SLOT(onConfirm()));
    connect(ui->buttonCancel, SIGNAL(clicked()), this, SLOT(onCancel()));
}

DialogAutospectrum::~DialogAutospectrum() = default;

void DialogAutospectrum::onConfirm()
{
    emit listener(ui->spinBoxDuration->value());
    reject();
}

void DialogAutospectrum::onCancel()
{
    emit listener(0);
    reject();
}

void DialogAutospectrum::closeEvent(QCloseEvent*)
{
    // The base class would end the dialog by reject() a second time.
    emit listener(0);
}

#include "moc_DialogAutospectrum.cpp"
