// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/ViewPatient.h"

#include "app/Dialogs.h"
#include "model/PatientManager.h"
#include "model/Record.h"
#include "net/Controller.h"
#include "patients/CheckBoxHeader.h"
#include "patients/DialogManageDevices.h"
#include "patients/FormPatient.h"
#include "patients/PatientModel.h"
#include "patients/PatientProxyModel.h"
#include "patients/RecordDelegate.h"
#include "patients/RecordModel.h"
#include "signal/AudioRecorder.h"
#include "signal/DialogAutospectrum.h"
#include "signal/Utils.h"
#include "ui_ViewPatient.h"

#include <QFile>
#include <QFileDialog>
#include <QPersistentModelIndex>
#include <QPointer>
#include <QShortcut>
#include <QStandardPaths>

namespace {

constexpr int checkColumn = 0;
constexpr int numberColumn = 1;
constexpr int notesColumn = 2;
constexpr int dateColumn = 3;
constexpr int trashColumn = 6;
constexpr int minimumSection = 16;
/// Fewer records than these do not make a comparison.
constexpr int comparableRecords = 3;

} // namespace

ViewPatient::ViewPatient(QWidget* parent, Patient* shownPatient)
    : QWidget(parent)
    , ui(std::make_unique<Ui::ViewPatient>())
    , model(new RecordModel(this))
    , proxy(new PatientProxyModel(this))
    , delegate(new RecordDelegate(this))
    , header(nullptr)
    , patient(*shownPatient)
{
    ui->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    // A plain widget has no border from the style sheet otherwise.
    ui->tableViewBox->setAttribute(Qt::WA_StyledBackground);
    setupTable();

    connect(ui->buttonAnalysis, SIGNAL(clicked()), this, SLOT(analysis()));
    connect(ui->buttonAutospectrum, SIGNAL(clicked()), this, SLOT(autospectrum()));
    connect(ui->buttonComparativeAnalysis, SIGNAL(clicked()), this, SLOT(comparativeAnalysis()));
    connect(ui->buttonDeletePatient, SIGNAL(clicked()), this, SLOT(deletePatient()));
    connect(ui->buttonEditPatient, SIGNAL(clicked()), this, SLOT(onEditPatient()));
    connect(ui->buttonExcelExport, SIGNAL(clicked()), this, SLOT(excelExport()));
    connect(ui->buttonListPatients, SIGNAL(clicked()), this, SLOT(patientsList()));
    connect(ui->buttonManageDevice, SIGNAL(clicked()), this, SLOT(manageDevice()));
    connect(ui->buttonNewRecord, SIGNAL(clicked()), this, SLOT(onNewRecord()));
    connect(ui->buttonReceipt, SIGNAL(clicked()), this, SLOT(receipt()));
    connect(ui->buttonRecoveryHistory, SIGNAL(clicked()), this, SLOT(recoveryHistory()));
    connect(ui->buttonRefresh, SIGNAL(clicked()), this, SLOT(onLoad()));
    connect(ui->buttonDeleteCommand, SIGNAL(clicked()), this, SLOT(onDeleteCommand()));
    connect(header, SIGNAL(checkBoxClicked(bool)), this, SLOT(onHeaderCheckBoxClicked(bool)));
    connect(model, SIGNAL(onUpdate()), this, SLOT(onUpdate()));
    connect(delegate, SIGNAL(removePress(QModelIndex)), this, SLOT(onDeleteRecord(QModelIndex)));

    updateUi();
    showMaximized();
    onLoad();
}

ViewPatient::~ViewPatient() = default;

void ViewPatient::setupTable()
{
    QTableView* const table = ui->tableView;
    header = new CheckBoxHeader(Qt::Horizontal, table);
    table->setHorizontalHeader(header);

    proxy->setSourceModel(model);
    proxy->setDynamicSortFilter(true);
    proxy->setFilterCaseSensitivity(Qt::CaseInsensitive);
    table->setModel(proxy);
    table->setItemDelegateForColumn(notesColumn, delegate);
    table->setItemDelegateForColumn(trashColumn, delegate);
    table->setSortingEnabled(true);
    table->setMouseTracking(true);
    table->setAlternatingRowColors(true);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->sortByColumn(dateColumn, Qt::DescendingOrder);

    header->setStretchLastSection(false);
    // By default a section is at least as wide as the font's widest character, which is more than the narrow ones have.
    header->setMinimumSectionSize(minimumSection);
    for (int column = 0; column < header->count(); ++column) {
        const bool stretched = column >= dateColumn && column < header->count() - 1;
        header->setSectionResizeMode(column, stretched ? QHeaderView::Stretch : QHeaderView::Fixed);
    }
    header->resizeSection(checkColumn, 30);
    header->resizeSection(numberColumn, 45);
    header->resizeSection(notesColumn, delegate->getIconWidth() + 8);
    header->resizeSection(trashColumn, delegate->getIconWidth() + 4);
    table->verticalHeader()->hide();
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->verticalHeader()->setDefaultSectionSize(40);

    // What the mouse does on the boxes and icons.
    auto* const tick = new QShortcut(Qt::Key_Space, table);
    tick->setContext(Qt::WidgetShortcut);
    connect(tick, &QShortcut::activated, this, [this, table] {
        const QModelIndex current = table->currentIndex();
        proxy->setData(current.siblingAtColumn(checkColumn), Qt::Checked, Qt::CheckStateRole);
    });
    auto* const drop = new QShortcut(Qt::Key_Delete, table);
    drop->setContext(Qt::WidgetShortcut);
    connect(drop, &QShortcut::activated, this, [this, table] { onDeleteRecord(table->currentIndex()); });
}

void ViewPatient::updateUi()
{
    ui->labelPatientName->setText(patient.getName());
    ui->labelAgeValue->setText(patient.getAge());
    ui->labelGenderIcon->setPixmap(patient.getGenderIcon());
    ui->labelConnectedDevice->setPixmap(patient.getStatusIcon());
    ui->labelConnectedDevice->setVisible(patient.isHasDevices());
    ui->labelPhoneValue->setText(patient.getPhone());
    ui->labelPhone->setVisible(!patient.getPhone().isEmpty());
    ui->labelPhoneValue->setVisible(!patient.getPhone().isEmpty());
    ui->buttonDeleteCommand->setVisible(patient.isHasDevices());
}

void ViewPatient::onLoad()
{
    auto* controller = new Controller(this);
    controller->getRecords(&patient);
    connect(controller, SIGNAL(onBytes(QByteArray)), this, SLOT(onLoadSuccess(QByteArray)));
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void ViewPatient::onLoadSuccess(const QByteArray& bytes)
{
    model->clear();
    const QJsonArray elements = Utils::bytesToArray(bytes);
    for (int i = elements.size() - 1; i >= 0; --i) {
        model->append(Record(elements.at(i).toObject()));
    }
    onUpdate();
}

void ViewPatient::onError(const QString& message)
{
    Dialogs::error(this, message);
}

void ViewPatient::onUpdate()
{
    const int checked = model->getAllCheckedRecords().size();
    const int rows = model->rowCount();
    ui->buttonAnalysis->setEnabled(checked >= 1);
    ui->buttonRecoveryHistory->setEnabled(checked >= 1);
    ui->buttonAutospectrum->setEnabled(checked == 1);
    ui->buttonReceipt->setEnabled(checked == 1);
    ui->buttonComparativeAnalysis->setEnabled(checked >= comparableRecords);
    if (rows >= 1) {
        header->setIsChecked(checked == rows);
    }
    ui->tableView->viewport()->update();
}

void ViewPatient::onHeaderCheckBoxClicked(bool state)
{
    model->toggle(state);
}

void ViewPatient::onNewRecord()
{
    const QPointer<AudioRecorder> recorder(new AudioRecorder(this, patient.isHasDevices()));
    connect(recorder, SIGNAL(onSave(QByteArray&, QString)), this, SLOT(onSaveRecord(QByteArray&, QString)));
    connect(recorder, SIGNAL(onCommand(QString)), this, SLOT(onSendCommand(QString)));
    recorder->exec();
    // The dialog goes with the screen.
    if (!recorder.isNull()) {
        recorder->deleteLater();
    }
}

void ViewPatient::onSaveRecord(QByteArray& bytes, const QString& text)
{
    auto* controller = new Controller(this);
    controller->uploadRecord(&patient, bytes, text);
    connect(controller, SIGNAL(onBytes(QByteArray)), this, SLOT(onSaveSuccess(QByteArray)));
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void ViewPatient::onSaveSuccess(const QByteArray& bytes)
{
    model->pushFront(Record(Utils::bytesToJson(bytes)));
    onUpdate();
}

void ViewPatient::onDeleteRecord(const QModelIndex& index)
{
    const QPersistentModelIndex source(proxy->mapToSource(index));
    Record record = model->getRecord(source);
    const QPointer<ViewPatient> self(this);
    if (!source.isValid() || !Dialogs::confirmDeleteRecord(this, record.getRecordedAt()) || self == nullptr) {
        return;
    }
    auto* controller = new Controller(this);
    controller->deleteRecord(&record);
    connect(controller, &Controller::onSuccess, this, [this, source] {
        model->removeAt(source.row());
        onUpdate();
    });
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void ViewPatient::onSendCommand(const QString& command, Record* record)
{
    auto* controller = new Controller(this);
    controller->command(&patient, record, command);
    changeDeviceBy(controller, tr("Text.commandSuccess"), &Patient::setStatusRecord);
}

void ViewPatient::onDeleteCommand()
{
    const QPointer<ViewPatient> self(this);
    if (!Dialogs::confirm(this, tr("Text.deleteCommandTitle"), tr("Text.deleteCommandMessage")) || self == nullptr) {
        return;
    }
    auto* controller = new Controller(this);
    controller->deleteCommand(&patient);
    changeDeviceBy(controller, tr("Text.deleteCommandSuccess"), &Patient::setStatusNoCommand);
}

void ViewPatient::manageDevice()
{
    const QPointer<DialogManageDevices> dialog(new DialogManageDevices(this, &patient));
    connect(dialog, SIGNAL(listenerConnect(QString)), this, SLOT(onDeviceConnect(QString)));
    connect(dialog, SIGNAL(listenerDisconnect()), this, SLOT(onDeviceDisconnect()));
    connect(dialog, SIGNAL(listenerToggle()), this, SLOT(onDeviceToggle()));
    dialog->exec();
    // The dialog goes with the screen.
    if (!dialog.isNull()) {
        dialog->deleteLater();
    }
}

void ViewPatient::onDeviceConnect(const QString& id)
{
    auto* controller = new Controller(this);
    controller->deviceConnect(&patient, id);
    changeDeviceBy(controller, tr("Text.deviceConnectSuccess"), [](Patient& bound) { bound.setHasDevices(true); });
}

void ViewPatient::onDeviceDisconnect()
{
    auto* controller = new Controller(this);
    controller->deviceDisconnect(&patient);
    changeDeviceBy(controller, tr("Text.deviceDisconnectSuccess"), [](Patient& freed) { freed.setHasDevices(false); });
}

void ViewPatient::onDeviceToggle()
{
    auto* controller = new Controller(this);
    controller->deviceToggle(&patient);
    changeDeviceBy(controller, tr("Text.deviceStatusChangeSuccess"), &Patient::toggleEnabled);
}

void ViewPatient::changeDeviceBy(Controller* controller, const QString& message,
                                 const std::function<void(Patient&)>& change)
{
    connect(controller, &Controller::onSuccess, this, [this, message, change] {
        const QPointer<ViewPatient> self(this);
        Dialogs::success(this, message);
        if (self == nullptr) {
            return;
        }
        change(patient);
        PatientManager::getInstance()->replace(patient);
        updateUi();
    });
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void ViewPatient::autospectrum()
{
    const QPointer<DialogAutospectrum> dialog(new DialogAutospectrum(this));
    connect(dialog, SIGNAL(listener(int)), this, SLOT(onAutospectrum(int)));
    dialog->exec();
    if (!dialog.isNull()) {
        dialog->deleteLater();
    }
}

void ViewPatient::onAutospectrum(int minutes)
{
    const QList<Record> checked = model->getAllCheckedRecords();
    if (minutes < 1 || checked.isEmpty()) {
        return;
    }
    Record record = checked.first();
    auto* controller = new Controller(this);
    controller->recipeAutospectrum(&patient, &record, Utils::getDeviceId());
    connect(controller, &Controller::onBytes, this,
            [this, minutes](const QByteArray& bytes) { onAutospectrumSuccess(bytes, minutes); });
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void ViewPatient::onAutospectrumSuccess(const QByteArray& bytes, int value)
{
    emit onPlay(Utils::repeatBlocks(Utils::bytesToArray(bytes), Utils::calculateRepeats(value, 1)), patient.getName());
}

void ViewPatient::analysis()
{
    QList<Record> checked = model->getAllCheckedRecords();
    emit onAnalysis(patient, checked);
}

void ViewPatient::comparativeAnalysis()
{
    QList<Record> checked = model->getAllCheckedRecords();
    emit onComparativeAnalysis(patient, checked);
}

void ViewPatient::recoveryHistory()
{
    QList<Record> checked = model->getAllCheckedRecords();
    emit onRecoveryHistory(patient, checked);
}

void ViewPatient::receipt()
{
    const QList<Record> checked = model->getAllCheckedRecords();
    if (checked.isEmpty()) {
        return;
    }
    Record record = checked.first();
    emit onReceipt(patient, record);
}

void ViewPatient::excelExport()
{
    auto* controller = new Controller(this);
    controller->excelExport(&patient);
    connect(controller, SIGNAL(onBytes(QByteArray)), this, SLOT(onExportSuccess(QByteArray)));
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void ViewPatient::onExportSuccess(const QByteArray& bytes)
{
    const QByteArray workbook = QByteArray::fromBase64(bytes);
    const QString name = QFileDialog::getSaveFileName(this, tr("Text.saveFile"),
                                                      QStandardPaths::displayName(QStandardPaths::DocumentsLocation),
                                                      QStringLiteral("*.xlsx"));
    if (name.isEmpty()) {
        return;
    }
    QFile file(name);
    // A full disk shows only when the bytes leave the buffer.
    if (!file.open(QIODevice::WriteOnly) || file.write(workbook) != workbook.size() || !file.flush()) {
        Dialogs::error(this, tr("Text.errorSaveFile"));
    }
}

void ViewPatient::onEditPatient()
{
    const QPointer<ViewPatient> self(this);
    const QPointer<FormPatient> form(new FormPatient);
    const Patient unchanged = patient;
    connect(form, &FormPatient::onSubmit, this,
            [this, form](Patient* edited) { PatientManager::getInstance()->update(this, form, edited); });
    connect(form, &QDialog::accepted, this, [this] {
        PatientManager* const manager = PatientManager::getInstance();
        // The list may have gone on to another page; then what was typed stands.
        if (manager->getModel()->getRowByPatient(patient) >= 0) {
            patient = manager->getUpdatedPatient(patient);
        }
        updateUi();
    });
    form->edit(&patient);
    const int result = form->exec();
    if (!form.isNull()) {
        form->deleteLater();
    }
    if (self != nullptr && result != QDialog::Accepted) {
        // The form writes what was typed even if the server then refuses it.
        patient = unchanged;
    }
}

void ViewPatient::deletePatient()
{
    emit onPatientDelete(this, patient);
}

void ViewPatient::patientsList()
{
    emit onPatientsList();
}

#include "moc_ViewPatient.cpp"
