// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/SymptomDelegate.h"

#include "analysis/SymptomModel.h"
#include "model/SymptomsTable.h"

#include <QComboBox>
#include <QPersistentModelIndex>

SymptomDelegate::SymptomDelegate(QObject* parent)
    : QStyledItemDelegate(parent)
{
}

void SymptomDelegate::setModel(SymptomModel* newModel)
{
    model = newModel;
    table = newModel == nullptr ? nullptr : newModel->getSymptomsTable();
}

QWidget* SymptomDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex& index) const
{
    if (table == nullptr || !table->cellIsEdit(index.column(), index.row())) {
        return nullptr;
    }
    auto* const box = new QComboBox(parent);
    box->setFrame(false);
    box->setAccessibleName(index.siblingAtColumn(0).data().toString());
    box->setAccessibleDescription(box->accessibleName());
    box->addItem(tr("Complaint.none"), 0);
    box->addItem(tr("Complaint.periodic"), 1);
    box->addItem(tr("Complaint.moderate"), 2);
    box->addItem(tr("Complaint.expressed"), 3);
    connect(box, QOverload<int>::of(&QComboBox::currentIndexChanged), model,
            [box, edited = model, cell = QPersistentModelIndex(index)](int entry) {
                // A value that is none of the four selects no entry, and stays what it is.
                if (entry >= 0) {
                    edited->setData(cell, QVariant(box->itemData(entry).toFloat()), Qt::DisplayRole);
                }
            });
    return box;
}

void SymptomDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    auto* const box = qobject_cast<QComboBox*>(editor);
    if (box != nullptr) {
        box->setCurrentIndex(SymptomModel::strength(index.data(Qt::EditRole)));
    }
}

void SymptomDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                           const QModelIndex&) const
{
    editor->setGeometry(option.rect);
}

#include "moc_SymptomDelegate.cpp"
