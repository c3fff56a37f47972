// SPDX-License-Identifier: GPL-3.0-or-later
#include "recipe/ReceiptModel.h"
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
    const QJsonArray rows = Utils::bytesToJson(bytes).value(QLatin1String("rows")).toArray();
    ReceiptModel model(nullptr);
    // Two that are chosen: one that is always so, and every second one of the reply.
    QList<QPair<QString, Marker>> selected{{QStringLiteral("a"), Marker()}};
    for (int row = 0; row < rows.size(); row += 2) {
        const Marker marker(rows.at(row).toObject());
        selected.append({marker.getId(), marker});
    }
    const int chosen = selected.size();
    model.fromJson(bytes, selected);
    require(selected.size() == chosen, "what is chosen stays");
    require(model.rowCount() == rows.size() && model.columnCount() == (rows.isEmpty() ? 0 : 4),
            "every marker is there");
    requireTable(model);

    QList<QPair<QString, bool>> told;
    QObject::connect(&model, &ReceiptModel::onSelect, &model, [&told](const Marker& marker) {
        told.append({marker.getId(), marker.isChecked()});
    });
    for (const int row : samplesOf(rows.size())) {
        const Marker marker = model.getMarker(row);
        require(marker.getTitle() == rows.at(row).toObject().value(QLatin1String("title")).toString(),
                "rows keep order");
        require(row % 2 != 0 || marker.isChecked(), "what is chosen is marked");
        require(marker.getId() != QLatin1String("a") || marker.isChecked(), "what is chosen is marked");
        const QModelIndex index = model.index(row, 0);
        require(model.setData(index, QVariant(), Qt::CheckStateRole), "a mark can be changed");
        require(told.last() == qMakePair(marker.getId(), !marker.isChecked()), "a mark is told");
        require((model.data(index, Qt::CheckStateRole).toInt() == Qt::Checked) == !marker.isChecked(),
                "a mark is shown");
        require(!model.setData(model.index(row, 1), 1, Qt::CheckStateRole), "another cell has none");
        require(!model.setData(index, 1, Qt::EditRole), "a title stays");
    }
    require(model.getMarker(rows.size()).getId().isNull(), "there is no marker beyond the table");
    if (model.rowCount() > 0) {
        const int now = model.rowCount();
        model.removeMarker(model.getMarker(now - 1).getId());
        require(model.rowCount() == now - 1, "one marker goes");
    }
    model.fromJson("[]", selected);
    require(model.rowCount() == 0 && model.columnCount() == 0, "another kind of reply empties the table");
    return 0;
}
