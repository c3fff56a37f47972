// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QModelIndex>
#include <QPoint>
#include <QPointer>
#include <QWidget>

#include <memory>

class FormPatient;
class Patient;
class PatientDelegate;
class QPagination;
class QTimer;

namespace Ui {
class ViewPatients;
}

/// The list of patients, one page of the server's at a time. Sorting, searching and paging are the server's work.
class ViewPatients : public QWidget
{
    Q_OBJECT

signals:
    /// The patient lives only as long as the signal runs.
    void onChoosePatient(Patient& patient);

public:
    explicit ViewPatients(QWidget* parent = nullptr);
    ~ViewPatients() override;

public slots:
    void onCreate(Patient* patient);
    void onDoubleClick(const QModelIndex& index);
    void onEdit(QPoint point);
    void onNewPatient();
    void onRefresh();
    void onSearchChanged(const QString& text);

protected:
    /// Locks the search field while a request runs.
    void childEvent(QChildEvent* event) override;

private:
    void setupTable();
    /// Asks the server for what the controls of the screen say.
    void updateTableState();
    void edit(const QModelIndex& index);
    void remove(const QModelIndex& index);

    std::unique_ptr<Ui::ViewPatients> ui;
    PatientDelegate* delegate;
    QPagination* pagination;
    QTimer* searchTimer;
    /// The form that is open.
    QPointer<FormPatient> form;
};
