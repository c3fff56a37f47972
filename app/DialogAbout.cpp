// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/DialogAbout.h"

#include "app/Constants.h"
#include "net/Authentication.h"
#include "ui_DialogAbout.h"

namespace {

constexpr int copyrightYear = 2021;

} // namespace

DialogAbout::DialogAbout(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::DialogAbout>())
{
    ui->setupUi(this);
    ui->labelProgramName->setText(QString::fromLatin1(Constants::NAME));
    ui->labelVersionNumber->setText(QString::fromLatin1(Constants::VERSION));
    ui->labelEmail->setText(QString::fromLatin1(Constants::EMAIL));
    ui->labelWebsite->setText(QString::fromLatin1(Constants::WEBSITE));
    ui->labelExpiredAt->setText(Authentication::getInstance()->getExpiredAt());
    ui->labelCopyright->setText(QStringLiteral("&copy;<b>%1</b> %2")
                                    .arg(copyrightYear)
                                    .arg(QString::fromLatin1(Constants::ORG_NAME).toHtmlEscaped()));
    connect(ui->buttonClose, SIGNAL(clicked()), this, SLOT(onClose()));
}

DialogAbout::~DialogAbout() = default;

void DialogAbout::onClose()
{
    reject();
}

#include "moc_DialogAbout.cpp"
