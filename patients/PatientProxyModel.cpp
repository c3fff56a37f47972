// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/PatientProxyModel.h"

#include <QColor>

PatientProxyModel::PatientProxyModel(QObject* parent)
    : QSortFilterProxyModel(parent)
{
}

QVariant PatientProxyModel::data(const QModelIndex& index, int role) const
{
    if (role == Qt::BackgroundRole && index.isValid()) {
        return index.row() % 2 == 0 ? QColor(Qt::white) : QColor(0xF7, 0xF9, 0xFC);
    }
    return QSortFilterProxyModel::data(index, role);
}

#include "moc_PatientProxyModel.cpp"
