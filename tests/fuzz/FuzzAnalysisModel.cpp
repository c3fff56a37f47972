// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/AnalysisModel.h"
#include "signal/Utils.h"
#include "tests/fuzz/Application.h"
#include "tests/fuzz/requireTable.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Application::start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const QJsonObject reply = Utils::bytesToJson(bytes);
    const QJsonArray columns = reply.value(QLatin1String("columns")).toArray();
    const QJsonArray rows = reply.value(QLatin1String("rows")).toArray();
    AnalysisModel model(nullptr);
    // Filled before, as it is when another storage is chosen.
    model.fromJson("{\"columns\":[\"2021-01-01T00:00:00\"],\"rows\":[{\"id\":\"a\",\"values\":[1]}]}");
    model.fromJson(bytes);
    require(model.rowCount() == rows.size(), "every marker has its row");
    require(model.columnCount() == (rows.isEmpty() ? 0 : columns.size() + 1), "every record has its column");
    requireTable(model);

    QHash<QString, int> firsts;
    for (int row = 0; row < rows.size(); ++row) {
        const QString id = rows.at(row).toObject().value(QLatin1String("id")).toString();
        if (!firsts.contains(id)) {
            firsts.insert(id, row);
        }
    }
    const QVector<int> samples = samplesOf(rows.size());
    for (const int row : samples) {
        const QJsonObject marker = rows.at(row).toObject();
        require(model.data(model.index(row, 0), Qt::DisplayRole).toString() ==
                    marker.value(QLatin1String("title")).toString(),
                "a marker has its title");
        const QJsonArray values = rows.at(firsts.value(marker.value(QLatin1String("id")).toString()))
                                      .toObject()
                                      .value(QLatin1String("values"))
                                      .toArray();
        for (const int column : samplesOf(columns.size())) {
            const QVariant value = model.data(model.index(row, column + 1), Qt::DisplayRole);
            require(value.toInt() == values.at(column).toInt(), "a cell has the value of its marker");
        }
        // What sorting asks agrees with what the cells say.
        for (const int other : samples) {
            for (const int column : samplesOf(model.columnCount())) {
                const QVariant left = model.data(model.index(row, column), Qt::UserRole);
                const QVariant right = model.data(model.index(other, column), Qt::UserRole);
                const bool less = column == 0 ? left.toString() < right.toString() : left.toInt() < right.toInt();
                require(model.isLess(row, other, column) == less, "rows are in the order of their values");
            }
        }
    }
    return 0;
}
