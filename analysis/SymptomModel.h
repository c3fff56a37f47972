// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Symptom.h"

#include <QAbstractTableModel>
#include <QByteArray>
#include <QJsonObject>

class SymptomsTable;

/// The questionnaire for a table view. The view is the model's parent.
class SymptomModel : public QAbstractTableModel
{
    Q_OBJECT

signals:
    /// Something is about to be set, or a row has come or gone. A load says nothing.
    void onChange();

public:
    explicit SymptomModel(QObject* parent);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    /// Takes Qt::DisplayRole and no other. Emits onChange also where the table then refuses, as it does for its two
    /// head rows, and never dataChanged.
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    /// Whether the index is of this model and inside the table as it now is.
    bool indexIsValid(const QModelIndex& index) const;
    /// Belongs to the model. Who changes it there leaves the views untold.
    SymptomsTable* getSymptomsTable() { return table; }
    /// The intensity as a whole number, however large it is; 0 if there is none.
    static int strength(const QVariant& intensity);

    void fromJSON(const QJsonObject& json);
    /// Closes an open editor of the view first.
    QByteArray toJson() const;
    void appendSymptom(const Symptom& symptom);
    /// Does nothing, and tells nobody, if the row is not deletable.
    void removeSymptom(int row);

private:
    SymptomsTable* table;
};
