// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStyledItemDelegate>

class SymptomModel;
class SymptomsTable;

/// Edits an intensity of the questionnaire with a combo box. What is chosen goes into the model at once; there is
/// nothing left to commit.
class SymptomDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit SymptomDelegate(QObject* parent);

    /// Nothing is edited before. The model belongs to somebody else and outlives the editors.
    void setModel(SymptomModel* newModel);

    /// Null for a cell that is not to be edited.
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    /// Where this moves the box away from its first entry, it writes the value once more.
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;

private:
    SymptomsTable* table = nullptr;
    SymptomModel* model = nullptr;
};
