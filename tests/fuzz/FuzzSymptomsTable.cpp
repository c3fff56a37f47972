// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/SymptomModel.h"
#include "model/SymptomsTable.h"
#include "signal/Utils.h"
#include "tests/fuzz/Application.h"
#include "tests/fuzz/requireTable.h"

#include <QDateTime>
#include <QJsonDocument>

#include <cmath>

namespace {

void requireFinite(const QJsonObject& grid)
{
    for (const QJsonValue& column : grid) {
        for (const auto& intensity : column.toObject()) {
            require(intensity.isDouble() && std::isfinite(intensity.toDouble()), "an intensity is a number");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Application::start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QJsonObject json =
        Utils::bytesToJson(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    const QJsonObject dates = json.value(QLatin1String("dates")).toObject();
    const QJsonArray rows = json.value(QLatin1String("rows")).toArray();
    SymptomModel model(nullptr);
    int changes = 0;
    QObject::connect(&model, &SymptomModel::onChange, &model, [&changes] { ++changes; });
    model.fromJSON(json);
    SymptomsTable& table = *model.getSymptomsTable();
    require(table.columnCount() == (dates.isEmpty() ? 0 : dates.size() + 1), "every date has its column");
    require(table.rowCount() == (rows.isEmpty() ? 0 : rows.size() + 2), "every symptom has its row");
    requireTable(model);

    QStringList headers;
    for (const QJsonValue& date : dates) {
        headers.append(
            QDateTime::fromString(date.toString(), Qt::ISODate).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")));
    }
    for (int column = 1; column < table.columnCount(); ++column) {
        require(headers.removeOne(table.horizontalHeaderValue(column)), "a column has its date");
    }

    for (const int row : samplesOf(table.rowCount())) {
        const bool head = row < 2;
        require(head || table.columnCount() == 0 ||
                    table.cellValue(0, row).toString() ==
                        rows.at(row - 2).toObject().value(QLatin1String("symptom")).toString(),
                "a symptom has its text");
        require(table.rowIsDeletable(row) ==
                    (!head && rows.at(row - 2).toObject().value(QLatin1String("custom")) == QJsonValue(true)),
                "a symptom of the user's own may go");
        for (const int column : samplesOf(table.columnCount())) {
            const bool editable = !head && column > 0;
            require(table.cellIsEdit(column, row) == editable, "a symptom at a date may be changed");
            const int told = changes;
            require(model.setData(model.index(row, column), 2, Qt::DisplayRole) == editable, "what may be changed is");
            require((changes == told + 1) == (column > 0), "a change is told");
            require(!editable || table.cellValue(column, row) == QVariant(2.0F), "the cell has the new value");
        }
    }
    for (const int outside : {-1, table.rowCount()}) {
        require(!table.setCellValue(1, outside, 1) && !table.cellValue(1, outside).isValid(), "no row is there");
    }
    require(!table.setCellValue(table.columnCount(), 2, 1) && !table.setCellValue(-1, 2, 1), "no column is there");

    // What is saved has every date and numbers alone, and reads as it was written.
    const QByteArray text = model.toJson();
    const QJsonObject grid = QJsonDocument::fromJson(text).object();
    requireFinite(grid);
    require(QJsonDocument(grid).toJson() == text, "what is written again is the same");
    require(grid.size() <= dates.size(), "a column is a date");

    const int before = table.rowCount();
    model.appendSymptom(Symptom(-1, QStringLiteral("own"), true));
    require(table.rowCount() == (before == 0 ? 3 : before + 1), "a symptom comes last");
    require(table.rowIsDeletable(table.rowCount() - 1), "an own symptom may go");
    for (int row = table.rowCount(); row >= -1; --row) {
        const int now = table.rowCount();
        const bool goes = table.rowIsDeletable(row);
        model.removeSymptom(row);
        require(table.rowCount() == (goes ? (now == 3 ? 0 : now - 1) : now), "what may go goes, and nothing else");
    }
    // What the next reply says replaces it all.
    model.fromJSON(QJsonObject());
    require(table.rowCount() == 0 && table.columnCount() == 0, "an empty reply empties the table");
    return 0;
}
