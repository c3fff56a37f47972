// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Patient.h"

#include <QByteArray>
#include <QModelIndex>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QWidget>

class FormPatient;
class PatientModel;

/// The process's one list of patients, and the only code that asks the server for it or changes it.
///
/// Each operation takes the widget on whose behalf it runs: the widget is covered while the request runs and is the
/// parent of the box that shows a failure. It may be destroyed meanwhile. A failure leaves the list as it was.
class PatientManager : public QObject
{
    Q_OBJECT

signals:
    /// The server has deleted a patient, and the list no longer holds it.
    void onPatientDeleted();

public:
    /// Made on first use and never destroyed.
    static PatientManager* getInstance();

    /// Owned by the manager.
    PatientModel* getModel() const { return model; }
    /// Must be set before the first load.
    void setPageSize(int size);
    Patient patientByIndex(const QModelIndex& index) const;
    /// The list's copy of this patient; a default patient if the current page does not hold it.
    Patient getUpdatedPatient(const Patient& patient) const;
    /// Puts this copy into the list, if the list holds the patient.
    void replace(const Patient& patient);

    /// The first page by name.
    void load(QWidget* parentWidget);
    void reload(QWidget* parentWidget);
    /// `page` counts from 0.
    void search(QWidget* parentWidget, const QString& sort, const QString& direction, int page, const QString& searchBy,
                const QString& needle);
    /// Refuses a patient without a name or with an invalid date. On success the form is accepted and deleted; it may
    /// also go while the request runs.
    void create(QWidget* parentWidget, FormPatient* form, Patient* patient);
    /// On success the form is accepted, and stays the caller's.
    void update(QWidget* parentWidget, FormPatient* form, Patient* patient);
    /// Asks no question.
    void remove(QWidget* parentWidget, Patient* patient);
    void remove(QWidget* parentWidget, const QModelIndex& index);

public slots:
    /// Takes the server's reply to a list request.
    void onSuccess(const QByteArray& bytes);
    void onError(const QString& message);

private:
    PatientManager();

    static PatientManager* instance;
    PatientModel* model;
    /// The widget of the latest operation.
    QPointer<QWidget> parent;
    int pageSize = 0;
};
