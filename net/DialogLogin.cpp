// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/DialogLogin.h"

#include "model/picture.h"
#include "net/Controller.h"
#include "ui_DialogLogin.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QMessageBox>
#include <QScreen>

DialogLogin::DialogLogin(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::DialogLogin>())
{
    ui->setupUi(this);
    ui->usernameLabel->setPixmap(picture(QStringLiteral(":/images/login-as-user.png")));
    ui->passwordLabel->setPixmap(picture(QStringLiteral(":/images/login-password.png")));
    setFixedSize(geometry().size());
    setWindowFlag(Qt::WindowStaysOnTopHint);
    setModal(true);
    const QList<QScreen*> screens = QGuiApplication::screens();
    if (!screens.isEmpty()) {
        move(screens.first()->geometry().center() - rect().center());
    }
    ui->usernameField->setAttribute(Qt::WA_MacShowFocusRect, false);
    ui->passwordField->setAttribute(Qt::WA_MacShowFocusRect, false);
    connect(ui->buttonConfirm, SIGNAL(clicked()), this, SLOT(onConfirm()));
}

DialogLogin::~DialogLogin() = default;

void DialogLogin::onConfirm()
{
    const QString username = ui->usernameField->text();
    const QString password = ui->passwordField->text();
    if (username.isEmpty() || password.isEmpty()) {
        return;
    }
    QMap<QString, QString> form;
    form.insert(QStringLiteral("username"), username);
    form.insert(QStringLiteral("password"), password);
    ui->buttonConfirm->setEnabled(false);

    auto* controller = new Controller(nullptr);
    controller->login(form);
    connect(controller, SIGNAL(onSuccess()), this, SLOT(onSuccess()));
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void DialogLogin::onSuccess()
{
    emit listener(true);
    reject();
}

void DialogLogin::onError(const QString& message)
{
    QMessageBox::critical(this, tr("Text.error"), message, QMessageBox::Ok);
    ui->buttonConfirm->setEnabled(true);
}

void DialogLogin::closeEvent(QCloseEvent*)
{
    // The base class would end the dialog by reject() a second time.
    emit listener(false);
}

#include "moc_DialogLogin.cpp"
