// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSortFilterProxyModel>

/// Keeps the stripes of a table regular after sorting.
class PatientProxyModel : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    explicit PatientProxyModel(QObject* parent = nullptr);

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
};
