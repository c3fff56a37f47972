// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/fuzz/require.h"

#include <QAbstractItemModel>
#include <QVector>

#include <cmath>

/// The ends of a range of 0 to `count` - 1, and what is next to them: to look at every cell would take too long.
inline QVector<int> samplesOf(int count)
{
    QVector<int> samples;
    for (int i = 0; i < count; ++i) {
        if (i < 3 || i == count - 1) {
            samples.append(i);
        }
    }
    return samples;
}

/// What holds for every table of the client, whatever it was filled from. To read the `pictures`, columns that show
/// files, would take most of the time.
inline void requireTable(const QAbstractItemModel& model, const QVector<int>& pictures = {})
{
    const int rows = model.rowCount();
    const int columns = model.columnCount();
    require(rows >= 0 && columns >= 0, "a table has a size");
    for (const int row : samplesOf(rows)) {
        for (const int column : samplesOf(columns)) {
            const QModelIndex index = model.index(row, column);
            require(index.isValid(), "a cell has an index");
            require(model.rowCount(index) == 0 && model.columnCount(index) == 0, "a cell holds no table");
            require(model.flags(index) & Qt::ItemIsEnabled, "a cell is enabled");
            for (const int role : {Qt::DisplayRole, Qt::EditRole, Qt::UserRole, Qt::ToolTipRole, Qt::FontRole,
                                   Qt::TextAlignmentRole, Qt::BackgroundRole, Qt::ForegroundRole, Qt::CheckStateRole}) {
                if (role == Qt::DisplayRole && pictures.contains(column)) {
                    continue;
                }
                const QVariant value = model.data(index, role);
                require(value.userType() != QMetaType::Double && value.userType() != QMetaType::Float
                            ? true
                            : !std::isnan(value.toDouble()),
                        "a number is one");
            }
        }
    }
    for (const int section : {-1, columns, columns + 1}) {
        const QVariant text = model.headerData(section, Qt::Horizontal, Qt::DisplayRole);
        require(rows == 0 || section != columns + 1 || text.toString().isEmpty() || text.userType() == QMetaType::Int,
                "there is no header beyond the table");
    }
    require(!model.data(QModelIndex(), Qt::DisplayRole).isValid(), "no cell, no value");
    require(!model.index(rows, 0).isValid() && !model.index(0, columns).isValid() && !model.index(-1, 0).isValid(),
            "no cell beyond the table");
}
