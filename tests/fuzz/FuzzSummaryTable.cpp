// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/SummaryTableModel.h"
#include "signal/Utils.h"
#include "tests/fuzz/Application.h"
#include "tests/fuzz/requireTable.h"

#include <limits>

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
    SummaryTableModel model(nullptr);
    model.fromJson("{\"columns\":[\"a\"],\"rows\":[{\"title\":\"b\",\"values\":[1]}]}");
    model.fromJson(bytes);
    require(model.rowCount() == rows.size(), "every category has its row");
    require(model.columnCount() == columns.size() + 1, "every column is there");
    requireTable(model);
    for (const int column : samplesOf(columns.size())) {
        require(model.headerData(column + 1, Qt::Horizontal, Qt::DisplayRole).toString() ==
                    columns.at(column).toString(),
                "a column has its title");
    }
    for (const int row : samplesOf(columns.isEmpty() ? 0 : rows.size())) {
        const QJsonObject category = rows.at(row).toObject();
        const QJsonArray values = category.value(QLatin1String("values")).toArray();
        require(model.data(model.index(row, 0), Qt::DisplayRole).toString() ==
                    category.value(QLatin1String("title")).toString(),
                "a category has its title");
        for (const int column : samplesOf(columns.size())) {
            const QVariant shown = model.data(model.index(row, column + 1), Qt::DisplayRole);
            const bool known = column < values.size();
            require(shown.isValid() == known, "what the server left out is not shown");
            require(known == model.data(model.index(row, column + 1), Qt::BackgroundRole).isValid(),
                    "what is not shown has no ground");
            const double value = values.at(column).toDouble();
            constexpr int least = std::numeric_limits<int>::min();
            constexpr int most = std::numeric_limits<int>::max();
            const int expected = value <= least ? least : value >= most ? most : static_cast<int>(value);
            require(!known || shown.toInt() == expected, "a score is the server's");
        }
    }
    return 0;
}
