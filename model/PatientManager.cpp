// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/PatientManager.h"

#include "app/Dialogs.h"
#include "net/Controller.h"
#include "patients/FormPatient.h"
#include "patients/PatientModel.h"
#include "signal/Utils.h"

#include <QJsonArray>
#include <QJsonObject>

PatientManager* PatientManager::instance = nullptr;

PatientManager* PatientManager::getInstance()
{
    if (instance == nullptr) {
        instance = new PatientManager;
    }
    return instance;
}

PatientManager::PatientManager()
    : model(new PatientModel(this))
{
}

void PatientManager::setPageSize(int size)
{
    if (pageSize == size) {
        return;
    }
    pageSize = size;
    model->setPageSize(size);
}

Patient PatientManager::patientByIndex(const QModelIndex& index) const
{
    return model->getPatient(index);
}

Patient PatientManager::getUpdatedPatient(const Patient& patient) const
{
    return model->getPatientById(patient.getId());
}

void PatientManager::replace(const Patient& patient)
{
    model->replace(model->index(model->getRowByPatient(patient), 0), patient);
}

void PatientManager::load(QWidget* parentWidget)
{
    search(parentWidget, QStringLiteral("name"), QStringLiteral("asc"), 0, QStringLiteral("name"), QString());
}

void PatientManager::reload(QWidget* parentWidget)
{
    parent = parentWidget;
    auto* controller = new Controller(parentWidget);
    controller->patientsList();
    connect(controller, &Controller::onBytes, this, [this](const QByteArray& bytes) {
        model->clear();
        onSuccess(bytes);
    });
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void PatientManager::search(QWidget* parentWidget, const QString& sort, const QString& direction, int page,
                            const QString& searchBy, const QString& needle)
{
    parent = parentWidget;
    auto* controller = new Controller(parentWidget);
    controller->patientsFilter(sort, direction, pageSize, page, searchBy, needle);
    connect(controller, SIGNAL(onBytes(QByteArray)), this, SLOT(onSuccess(QByteArray)));
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void PatientManager::create(QWidget* parentWidget, FormPatient* form, Patient* patient)
{
    parent = parentWidget;
    if (patient->getName().isEmpty()) {
        Dialogs::error(parentWidget, tr("Text.invalidName"));
        return;
    }
    if (!patient->getBirthDate().isValid()) {
        Dialogs::error(parentWidget, tr("Text.invalidBirthDate"));
        return;
    }
    auto* controller = new Controller(parentWidget);
    controller->patientCreate(patient);
    const QPointer<FormPatient> openForm(form);
    connect(controller, &Controller::onBytes, this, [this, openForm](const QByteArray& bytes) {
        model->append(Patient(Utils::bytesToJson(bytes)));
        if (openForm != nullptr) {
            openForm->accept();
        }
        if (openForm != nullptr) {
            openForm->deleteLater();
        }
    });
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void PatientManager::update(QWidget* parentWidget, FormPatient* form, Patient* patient)
{
    parent = parentWidget;
    auto* controller = new Controller(parentWidget);
    controller->patientUpdate(patient);
    const QPointer<FormPatient> openForm(form);
    connect(controller, &Controller::onBytes, this, [this, openForm](const QByteArray& bytes) {
        replace(Patient(Utils::bytesToJson(bytes)));
        if (openForm != nullptr) {
            openForm->accept();
        }
    });
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void PatientManager::remove(QWidget* parentWidget, Patient* patient)
{
    parent = parentWidget;
    const int row = model->getRowByPatient(*patient);
    auto* controller = new Controller(parentWidget);
    controller->patientDelete(patient);
    connect(controller, &Controller::onSuccess, this, [this, row] {
        model->removeAt(row);
        emit onPatientDeleted();
    });
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void PatientManager::remove(QWidget* parentWidget, const QModelIndex& index)
{
    if (!model->indexIsValid(index)) {
        return;
    }
    Patient patient = model->getPatient(index);
    remove(parentWidget, &patient);
}

void PatientManager::onSuccess(const QByteArray& bytes)
{
    const QJsonObject object = Utils::bytesToJson(bytes);
    // The total comes first, so that the page buttons stand before the rows arrive.
    model->setTotalPages(object.value(QLatin1String("pages")).toInt(0));
    model->clear();
    const QJsonArray elements = object.value(QLatin1String("data")).toArray();
    for (const QJsonValue& element : elements) {
        model->append(Patient(element.toObject()));
    }
}

void PatientManager::onError(const QString& message)
{
    Dialogs::error(parent, message);
}

#include "moc_PatientManager.cpp"
