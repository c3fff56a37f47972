// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/AnalysisProxyModel.h"

#include "analysis/AnalysisModel.h"

AnalysisProxyModel::AnalysisProxyModel(QObject* parent)
    : QSortFilterProxyModel(parent)
{
}

void AnalysisProxyModel::setSourceModel(QAbstractItemModel* newModel)
{
    // First, since the base class sorts at once.
    analysis = qobject_cast<const AnalysisModel*>(newModel);
    QSortFilterProxyModel::setSourceModel(newModel);
}

bool AnalysisProxyModel::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    if (analysis == nullptr) {
        return QSortFilterProxyModel::lessThan(left, right);
    }
    return analysis->isLess(left.row(), right.row(), left.column());
}

#include "moc_AnalysisProxyModel.cpp"
