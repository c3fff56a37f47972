// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Patient.h"
#include "model/Record.h"

#include <QByteArray>
#include <QList>
#include <QMenu>
#include <QPoint>
#include <QString>
#include <QWidget>

#include <memory>

class SymptomDelegate;
class SymptomModel;

namespace Ui {
class ViewRecoveryHistory;
}

/// The questionnaire of a patient at some of the patient's records: how strongly each symptom showed. It is saved by a
/// button, or on the way out if the user says so.
class ViewRecoveryHistory : public QWidget
{
    Q_OBJECT

signals:
    void onPatientsList();
    void onBack();

public:
    /// Keeps copies of the patient and the records, and asks for the questionnaire at once.
    ViewRecoveryHistory(QWidget* parent, Patient* patient, QList<Record>* records);
    ~ViewRecoveryHistory() override;

public slots:
    void onLoadSuccess(const QByteArray& bytes);
    void onError(const QString& message);
    void backToPatientsList();
    void backToPatient();
    void onSave();
    /// Asks for a name; without one nothing is added. The screen may be gone when it returns.
    void onNewSymptom();
    /// `pos` is one of the table's viewport. The name is an agreed one, and setupUi() connects the slot by it.
    void on_tableView_customContextMenuRequested(const QPoint& pos); // clazy:exclude=connect-by-name

private:
    void setupTable();
    void fillMenu();
    /// Unlike the button, it leaves something to save even if nothing was added.
    void newSymptomFromMenu();
    void fitTitleColumn();
    /// `navigation` is emitted once nothing is left to save or the user does not want to.
    void leave(void (ViewRecoveryHistory::*navigation)());
    /// `navigation` is what to emit once the server has confirmed; null for nothing.
    void save(void (ViewRecoveryHistory::*navigation)());

    std::unique_ptr<Ui::ViewRecoveryHistory> ui;
    Patient patient;
    QList<Record> records;
    SymptomModel* model;
    SymptomDelegate* delegate;
    QMenu menu;
    /// There is a change that the server has not confirmed.
    bool dirty = false;
};
