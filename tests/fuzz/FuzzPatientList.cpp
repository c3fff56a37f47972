// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/PatientManager.h"
#include "patients/PatientModel.h"
#include "signal/Utils.h"
#include "tests/fuzz/Application.h"
#include "tests/fuzz/requireTable.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Application::start();
    PatientManager::getInstance()->setPageSize(20);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const QJsonObject reply = Utils::bytesToJson(bytes);
    const QJsonArray patients = reply.value(QLatin1String("data")).toArray();
    PatientManager* const manager = PatientManager::getInstance();
    PatientModel* const model = manager->getModel();
    // The page of the last input is still there, as one is when the next is asked for.
    manager->onSuccess(bytes);
    require(model->rowCount() == patients.size(), "every patient has a row, and no other");
    const int pages = model->getTotalPages();
    require(pages == 0 || reply.value(QLatin1String("pages")).toDouble() == pages, "pages are a whole number");
    model->setCurrentPage(pages);
    requireTable(*model, {1, 4});

    for (const int row : samplesOf(patients.size())) {
        const QModelIndex index = model->index(row, 2);
        Patient patient = manager->patientByIndex(index);
        const QJsonObject json = patients.at(row).toObject();
        require(patient.getId() == json.value(QLatin1String("id")).toString(), "rows keep order");
        require(model->data(index, Qt::DisplayRole).toString() == QStringLiteral("  ") + patient.getName(),
                "a name is shown");
        require(model->data(model->index(row, 0), Qt::DisplayRole).toLongLong() == (pages - 1LL) * 20 + row + 1,
                "rows are numbered");
        const int found = model->getRowByPatient(patient);
        require(patient.getId().isEmpty() ? found == -1 : found >= 0 && found <= row, "a patient is found by its id");
        patient.setName(QStringLiteral("another"));
        const int rows = model->rowCount();
        manager->replace(patient);
        require(model->rowCount() == rows, "a patient takes the place of another");
        require(found < 0 || model->getPatient(model->index(found, 0)).getName() == QLatin1String("another"),
                "the new one is there");
        require(found < 0 || manager->getUpdatedPatient(patient).getName() == QLatin1String("another"),
                "the new one is found");
    }
    model->removeAt(-1);
    model->removeAt(patients.size());
    require(model->rowCount() == patients.size(), "what is not there cannot go");
    return 0;
}
