// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractItemModelTester>
#include <QIdentityProxyModel>

/// Holds a model against Qt's rules for models for as long as it lives; a breach fails the running test.
///
/// The models of the patient screens call every index outside the list enabled, the root too, whereas Qt's tester
/// insists on a root without flags; and their first column counts the rows, whereas the tester knows a row again by its
/// first column after others have gone. So the tester looks at them through a proxy that differs in these two answers.
class CheckedModel : public QIdentityProxyModel
{
public:
    explicit CheckedModel(QAbstractItemModel* model)
    {
        setSourceModel(model);
        tester = new QAbstractItemModelTester(this, QAbstractItemModelTester::FailureReportingMode::QtTest, this);
    }

    Qt::ItemFlags flags(const QModelIndex& index) const override
    {
        return index.isValid() ? QIdentityProxyModel::flags(index) : Qt::ItemFlags();
    }

    QVariant data(const QModelIndex& index, int role) const override
    {
        const bool isNumber = role == Qt::DisplayRole && index.column() == 0;
        return QIdentityProxyModel::data(isNumber ? index.siblingAtColumn(textColumn) : index, role);
    }

private:
    /// Text of the row's own in both models.
    static constexpr int textColumn = 5;

    QAbstractItemModelTester* tester;
};
