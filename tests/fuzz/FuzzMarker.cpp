// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Marker.h"
#include "recipe/ImpactModel.h"
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
    const QJsonArray reply =
        Utils::bytesToArray(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    QList<Marker> markers;
    for (const QJsonValue& element : reply) {
        const QJsonObject json = element.toObject();
        const Marker marker(json);
        require(marker.getId() == json.value(QLatin1String("id")).toString(), "an id is a text");
        require(marker.getTitle() == json.value(QLatin1String("title")).toString(), "a title is a text");
        const QJsonValue description = json.value(QLatin1String("description"));
        require(marker.getDescription().isNull() == description.isNull(), "null alone is no description");
        require(marker.getDescription() == description.toString(), "a description is a text");
        const QJsonValue amount = json.value(QLatin1String("amount"));
        require(marker.getAmount() == 0 || amount.toDouble() == marker.getAmount(), "an amount is a whole number");
        const QJsonValue value = json.value(QLatin1String("values")).toArray().at(0);
        require(marker.getValue() == 0 || value.toDouble() == marker.getValue(), "a match is a whole number");
        require(!marker.isChecked(), "no marker comes with a mark");
        markers.append(marker);
    }

    ImpactModel model(nullptr);
    int moves = 0;
    QStringList removed;
    QObject::connect(&model, &ImpactModel::onChangeOrder, &model, [&moves] { ++moves; });
    QObject::connect(&model, &ImpactModel::onMarkerRemove, &model, [&](const QString& id) { removed.append(id); });
    model.setMarkers(markers);
    require(model.rowCount() == markers.size(), "every marker has its row");
    requireTable(model);
    for (int row = 0; row + 1 < qMin(markers.size(), 5); ++row) {
        model.swapMarkers(row, row + 1);
        require(model.markers().at(row + 1).getId() == markers.first().getId(), "the first goes down");
        require(model.data(model.index(row, 0), Qt::DisplayRole).toInt() == row + 1, "rows are numbered");
    }
    require(moves == qBound(0, markers.size() - 1, 4), "every move is told");
    model.removeMarker(QModelIndex());
    while (model.rowCount() > 0) {
        const QString id = model.markers().last().getId();
        const int rows = model.rowCount();
        model.removeMarker(model.index(rows - 1, 4));
        require(model.rowCount() == rows - 1 && removed.last() == id, "a marker goes, and is told");
    }
    require(removed.size() == markers.size() && model.columnCount() == 0, "all are gone");
    return 0;
}
