// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/FormPatient.h"

#include "model/Patient.h"
#include "model/picture.h"
#include "signal/Utils.h"
#include "ui_FormPatient.h"

#include <QApplication>
#include <QIntValidator>
#include <QWindow>

FormPatient::FormPatient(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::FormPatient>())
{
    ui->setupUi(this);
    ui->iconLabel->setPixmap(picture(QStringLiteral(":/images/patient-settings.png")));
    ui->nameField->setPlaceholderText(tr("Text.name"));
    ui->birthDateDayField->setValidator(new QIntValidator(1, 31, ui->birthDateDayField));
    for (int month = 0; month < 12; ++month) {
        ui->birthDateMonthBox->addItem(Utils::getMonthName(month));
    }

    connect(ui->buttonCancel, SIGNAL(clicked()), this, SLOT(onCancel()));
    connect(ui->buttonSave, SIGNAL(clicked()), this, SLOT(onSave()));
    connect(ui->buttonGenderMale, SIGNAL(clicked()), this, SLOT(onGenderMale()));
    connect(ui->buttonGenderFemale, SIGNAL(clicked()), this, SLOT(onGenderFemale()));
    connect(ui->agreement, SIGNAL(stateChanged(int)), this, SLOT(onAgreementStateChanged(int)));
    onGenderChange();
}

FormPatient::~FormPatient() = default;

void FormPatient::edit(Patient* value)
{
    patient = value;
    if (patient->getId().isNull()) {
        setWindowTitle(tr("Dialog.createPatient"));
    } else {
        setWindowTitle(tr("Dialog.editPatient"));
        gender = patient->getGender();
        const QDate birthDate = patient->getBirthDate();
        ui->birthDateDayField->setText(QString::number(birthDate.day()));
        ui->birthDateMonthBox->setCurrentIndex(birthDate.month() - 1);
        ui->birthDateYearField->setText(QString::number(birthDate.year()));
        ui->nameField->setText(patient->getName());
        ui->notesField->setPlainText(patient->getNotes());
        ui->phoneField->setText(patient->getPhone());
        ui->agreement->setChecked(true);
        ui->buttonSave->setEnabled(true);
    }
    ui->labelTitle->setText(windowTitle());
    onGenderChange();
}

void FormPatient::showEvent(QShowEvent* event)
{
    // Without a parent the window manager does not know what the form belongs to, and may leave it behind the very
    // window that it blocks.
    const QWidget* const owner = QApplication::activeWindow();
    if (parentWidget() == nullptr && windowHandle() != nullptr && owner != nullptr && owner != this) {
        windowHandle()->setTransientParent(owner->windowHandle());
    }
    QDialog::showEvent(event);
}

void FormPatient::onCancel()
{
    reject();
}

void FormPatient::onSave()
{
    if (patient == nullptr) {
        return;
    }
    const int year = ui->birthDateYearField->text().toInt();
    const int month = ui->birthDateMonthBox->currentIndex() + 1;
    const int day = ui->birthDateDayField->text().toInt();
    patient->setName(ui->nameField->text());
    patient->setGender(gender);
    patient->setBirthDate(day, month, year);
    patient->setNotes(ui->notesField->toPlainText());
    patient->setPhone(ui->phoneField->text());
    emit onSubmit(patient);
}

void FormPatient::onGenderMale()
{
    gender = QStringLiteral("MALE");
    onGenderChange();
}

void FormPatient::onGenderFemale()
{
    gender = QStringLiteral("FEMALE");
    onGenderChange();
}

void FormPatient::onAgreementStateChanged(int state)
{
    if (state == Qt::Checked) {
        ui->buttonSave->setEnabled(true);
    } else if (state == Qt::Unchecked) {
        ui->buttonSave->setEnabled(false);
    }
}

void FormPatient::onGenderChange()
{
    const bool male = gender == QLatin1String("MALE");
    ui->buttonGenderMale->setChecked(male);
    ui->buttonGenderFemale->setChecked(!male);
}

#include "moc_FormPatient.cpp"
