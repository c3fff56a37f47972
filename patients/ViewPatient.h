// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Patient.h"

#include <QByteArray>
#include <QList>
#include <QModelIndex>
#include <QString>
#include <QWidget>

#include <functional>
#include <memory>

class Controller;
class Record;
class CheckBoxHeader;
class PatientProxyModel;
class RecordDelegate;
class RecordModel;

namespace Ui {
class ViewPatient;
}

/// The card of one patient, with the patient's records. It works on a copy of the patient and keeps the list of
/// patients in step with it. What its signals carry lives as long as the screen or, for a record, as long as the signal
/// runs.
class ViewPatient : public QWidget
{
    Q_OBJECT

signals:
    /// The ticked records, in the order of the model.
    void onAnalysis(Patient& patient, QList<Record>& records);
    void onComparativeAnalysis(Patient& patient, QList<Record>& records);
    void onPatientsList();
    /// Nothing has been asked yet, and nothing has been sent.
    void onPatientDelete(QWidget* parent, Patient& patient);
    void onReceipt(Patient& patient, Record& record);
    void onRecoveryHistory(Patient& patient, QList<Record>& records);
    /// Raw samples, and the name of the patient to show.
    void onPlay(const QByteArray& bytes, const QString& text);

public:
    /// Takes a copy of the patient, and asks the server for the records.
    ViewPatient(QWidget* parent, Patient* patient);
    ~ViewPatient() override;

public slots:
    void onLoad();
    void onLoadSuccess(const QByteArray& bytes);
    void onError(const QString& message);
    /// The check marks have changed, or the rows.
    void onUpdate();
    void onHeaderCheckBoxClicked(bool state);

    void onNewRecord();
    /// `bytes` is a whole WAV file; `text` is the sensor's identity, empty if it has none.
    void onSaveRecord(QByteArray& bytes, const QString& text);
    void onSaveSuccess(const QByteArray& bytes);
    /// `index` is one of the table, thus of the proxy.
    void onDeleteRecord(const QModelIndex& index);

    /// A null `record` leaves the record out of the command.
    void onSendCommand(const QString& command, Record* record = nullptr);
    void onDeleteCommand();

    void analysis();
    void comparativeAnalysis();
    void recoveryHistory();
    void manageDevice();
    /// `id` is the identity of the device to bind.
    void onDeviceConnect(const QString& id);
    void onDeviceDisconnect();
    void onDeviceToggle();

    void autospectrum();
    /// Asks for the first checked record's autospectrum; without one, or with less than a minute, nothing happens.
    void onAutospectrum(int minutes);
    /// `bytes` is a JSON array of base64 blocks, `value` the minutes that each of them shall fill.
    void onAutospectrumSuccess(const QByteArray& bytes, int value);

    void receipt();
    void excelExport();
    void onExportSuccess(const QByteArray& bytes);
    void onEditPatient();
    void deletePatient();
    void patientsList();

private:
    void setupTable();
    void updateUi();
    /// Connects a request that changes the device's state. Once it has succeeded and the user has read `message`,
    /// `change` is made to this screen's copy of the patient, and the list of patients gets the copy.
    void changeDeviceBy(Controller* controller, const QString& message, const std::function<void(Patient&)>& change);

    std::unique_ptr<Ui::ViewPatient> ui;
    RecordModel* model;
    PatientProxyModel* proxy;
    RecordDelegate* delegate;
    CheckBoxHeader* header;
    Patient patient;
};
