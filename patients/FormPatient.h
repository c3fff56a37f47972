// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <QString>

#include <memory>

class Patient;

namespace Ui {
class FormPatient;
}

/// The form of a new or a known patient. It collects the values and leaves checking, sending and closing to its user.
class FormPatient : public QDialog
{
    Q_OBJECT

signals:
    /// The patient given to edit() holds what was typed. The form stays open.
    void onSubmit(Patient* patient);

public:
    explicit FormPatient(QWidget* parent = nullptr);
    ~FormPatient() override;

    /// Must be called before exec(). The patient stays the caller's, has to live as long as the form is open, and
    /// changes with every press of the save button. One without an id is a new one.
    void edit(Patient* value);

public slots:
    void onCancel();
    void onSave();
    void onGenderMale();
    void onGenderFemale();
    void onAgreementStateChanged(int state);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void onGenderChange();

    std::unique_ptr<Ui::FormPatient> ui;
    Patient* patient = nullptr;
    QString gender = QStringLiteral("MALE");
};
