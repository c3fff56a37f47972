// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSortFilterProxyModel>

class AnalysisModel;

/// Sorts an AnalysisModel as the base class does by Qt::UserRole, but compares its values where they are: with
/// thousands of rows, two QVariant objects for each comparison cost more than all the rest.
class AnalysisProxyModel : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    explicit AnalysisProxyModel(QObject* parent);

    /// Any other model is sorted by the base class.
    void setSourceModel(QAbstractItemModel* sourceModel) override;

protected:
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    /// The source model, if it is one.
    const AnalysisModel* analysis = nullptr;
};
