// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Record.h"
#include "patients/RecordModel.h"
#include "signal/Utils.h"
#include "tests/fuzz/Application.h"
#include "tests/fuzz/requireTable.h"

#include <QDateTime>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Application::start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QJsonArray reply =
        Utils::bytesToArray(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    RecordModel model;
    int updates = 0;
    QObject::connect(&model, &RecordModel::onUpdate, &model, [&updates] { ++updates; });
    for (const QJsonValue& element : reply) {
        const QJsonObject json = element.toObject();
        const Record record(json);
        require(record.getId() == json.value(QLatin1String("id")).toString(), "an id is a text");
        require(record.getPatientId() == json.value(QLatin1String("patientId")).toString(), "an id is a text");
        require(record.getDoctorName() == json.value(QLatin1String("doctorName")).toString(), "a name is a text");
        const QDateTime date = QDateTime::fromString(json.value(QLatin1String("recordedAt")).toString(), Qt::ISODate);
        require(record.getRecordedAt().isEmpty() == !date.isValid(), "a date is shown, and nothing else");
        require(record.getRecordedAt().isEmpty() || record.getRecordedAt().size() >= 19, "a date is a whole one");
        require(record.isEditable() == (json.value(QLatin1String("editable")) == QJsonValue(true)), "true alone is");
        require(record.isQuestionnaire() == (json.value(QLatin1String("questionnaire")) == QJsonValue(true)),
                "true alone is");
        require(!record.isChecked(), "no record comes with a mark");
        model.append(record);
    }

    require(model.rowCount() == reply.size(), "every record has its row");
    requireTable(model, {2});
    for (const int row : samplesOf(model.rowCount())) {
        const Record record = model.getRecord(model.index(row, 0));
        require(record.getId() == reply.at(row).toObject().value(QLatin1String("id")).toString(), "rows keep order");
        require(model.getRowByRecord(record) >= 0 && model.getRowByRecord(record) <= row, "a record is found");
        require(model.setData(model.index(row, 0), QVariant(), Qt::CheckStateRole), "a mark can be set");
        require(model.getAllCheckedRecords().size() == 1, "one mark is one record");
        require(model.setData(model.index(row, 0), QVariant(), Qt::CheckStateRole), "a mark can be taken");
    }
    require(updates == 2 * samplesOf(model.rowCount()).size(), "every mark is told");
    model.toggle(true);
    require(model.getAllCheckedRecords().size() == reply.size(), "all are marked");
    model.removeAt(reply.size());
    model.removeAt(-1);
    require(model.rowCount() == reply.size(), "what is not there cannot go");
    model.removeAt(0);
    require(model.getAllCheckedRecords().size() == qMax(0, reply.size() - 1), "one goes");
    return 0;
}
