// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/DialogChangePassword.h"

#include "net/Controller.h"
#include "ui_DialogChangePassword.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPointer>
#include <QScreen>

DialogChangePassword::DialogChangePassword(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::DialogChangePassword>())
{
    ui->setupUi(this);
    setFixedSize(geometry().size());
    setWindowFlag(Qt::WindowStaysOnTopHint);
    setModal(true);
    const QList<QScreen*> screens = QGuiApplication::screens();
    if (!screens.isEmpty()) {
        move(screens.first()->geometry().center() - rect().center());
    }
    for (QLineEdit* field : {ui->oldPasswordField, ui->newPasswordField, ui->repeatPasswordField}) {
        field->setAttribute(Qt::WA_MacShowFocusRect, false);
    }
    connect(ui->buttonConfirm, SIGNAL(clicked()), this, SLOT(onConfirm()));
    connect(ui->buttonCancel, SIGNAL(clicked()), this, SLOT(onCancel()));
}

DialogChangePassword::~DialogChangePassword() = default;

void DialogChangePassword::onConfirm()
{
    const QString oldPassword = ui->oldPasswordField->text();
    const QString newPassword = ui->newPasswordField->text();
    const QString repeatPassword = ui->repeatPasswordField->text();
    if (oldPassword.isEmpty() || newPassword.isEmpty() || repeatPassword.isEmpty()) {
        return;
    }
    QMap<QString, QString> map;
    map.insert(QStringLiteral("oldPassword"), oldPassword);
    map.insert(QStringLiteral("newPassword"), newPassword);
    map.insert(QStringLiteral("repeatPassword"), repeatPassword);
    // The dead button would hand the focus on to the other one, and the return key would press that.
    ui->oldPasswordField->setFocus();
    ui->buttonConfirm->setEnabled(false);

    auto* controller = new Controller(this);
    controller->changePassword(map);
    connect(controller, SIGNAL(onSuccess()), this, SLOT(onSuccess()));
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void DialogChangePassword::onSuccess()
{
    // The owner shows a box about it, and whoever destroys the owner meanwhile takes this dialog too.
    const QPointer<DialogChangePassword> self(this);
    emit listener(true);
    if (self != nullptr) {
        reject();
    }
}

void DialogChangePassword::onError(const QString& message)
{
    // The box goes with the dialog, whose end may come while the box waits: it must not stand on the stack.
    const QPointer<QMessageBox> box(
        new QMessageBox(QMessageBox::Critical, tr("Text.error"), message, QMessageBox::Ok, this));
    box->exec();
    if (box.isNull()) {
        return;
    }
    delete box.data();
    ui->buttonConfirm->setEnabled(true);
}

void DialogChangePassword::onCancel()
{
    emit listener(false);
    reject();
}

void DialogChangePassword::closeEvent(QCloseEvent*)
{
    // The base class would end the dialog by reject() a second time.
    emit listener(false);
}

#include "moc_DialogChangePassword.cpp"
