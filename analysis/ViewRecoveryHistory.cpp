// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/ViewRecoveryHistory.h"

#include "analysis/SymptomDelegate.h"
#include "analysis/SymptomModel.h"
#include "app/Dialogs.h"
#include "model/SymptomsTable.h"
#include "model/picture.h"
#include "net/Controller.h"
#include "signal/Utils.h"
#include "ui_ViewRecoveryHistory.h"

#include <QAction>
#include <QHeaderView>
#include <QInputDialog>
#include <QPointer>

namespace {

constexpr int titleColumn = 0;
constexpr int titleWidth = 130;
constexpr int widestTitle = 600;
constexpr int rowHeight = 40;
constexpr int removalEntry = 1;

} // namespace

ViewRecoveryHistory::ViewRecoveryHistory(QWidget* parent, Patient* historyPatient, QList<Record>* historyRecords)
    : QWidget(parent)
    , ui(std::make_unique<Ui::ViewRecoveryHistory>())
    , patient(*historyPatient)
    , records(*historyRecords)
{
    ui->setupUi(this);
    ui->label->setPixmap(picture(QStringLiteral(":/images/separator.png")));
    setAttribute(Qt::WA_DeleteOnClose);
    // A plain widget has no border from the style sheet otherwise.
    ui->tableViewBox->setAttribute(Qt::WA_StyledBackground);
    ui->buttonBack->setText(tr("Text.patientCard").arg(patient.getName()));
    ui->labelPatientName->setText(QLatin1Char('(') + patient.getName() + QLatin1Char(')'));
    showMaximized();
    setupTable();

    connect(ui->buttonListPatients, SIGNAL(clicked()), this, SLOT(backToPatientsList()));
    connect(ui->buttonBack, SIGNAL(clicked()), this, SLOT(backToPatient()));
    connect(ui->buttonSave, SIGNAL(clicked()), this, SLOT(onSave()));
    connect(ui->buttonNewSymptom, SIGNAL(clicked()), this, SLOT(onNewSymptom()));
    connect(model, &SymptomModel::onChange, this, [this] {
        dirty = true;
        // The head rows count with the cell that changes, and the model tells the view nothing.
        ui->tableView->viewport()->update();
    });

    auto* const controller = new Controller(this);
    controller->questionnaire(&patient, records);
    connect(controller, SIGNAL(onBytes(QByteArray)), this, SLOT(onLoadSuccess(QByteArray)));
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));

    fillMenu();
}

ViewRecoveryHistory::~ViewRecoveryHistory() = default;

void ViewRecoveryHistory::setupTable()
{
    QTableView* const table = ui->tableView;
    model = new SymptomModel(table);
    delegate = new SymptomDelegate(this);
    delegate->setModel(model);
    table->setModel(model);
    table->setItemDelegate(delegate);
    table->setMouseTracking(true);
    table->verticalHeader()->setVisible(false);
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->verticalHeader()->setDefaultSectionSize(rowHeight);
    table->setColumnWidth(titleColumn, titleWidth);
    table->setAlternatingRowColors(true);
}

void ViewRecoveryHistory::fillMenu()
{
    // Queued: the screen may go while the dialog is open, and the menu with it, which must not go while one of its own
    // actions runs.
    connect(menu.addAction(tr("Text.newSymptom")), &QAction::triggered, this, &ViewRecoveryHistory::newSymptomFromMenu,
            Qt::QueuedConnection);
    QAction* const remove = menu.addAction(tr("Text.removeSymptom"));
    connect(remove, &QAction::triggered, this, [this, remove] {
        model->removeSymptom(remove->data().toInt());
        dirty = true;
    });
}

void ViewRecoveryHistory::newSymptomFromMenu()
{
    const QPointer<ViewRecoveryHistory> self(this);
    onNewSymptom();
    if (self != nullptr) {
        dirty = true;
    }
}

void ViewRecoveryHistory::onLoadSuccess(const QByteArray& bytes)
{
    model->fromJSON(Utils::bytesToJson(bytes));
    QHeaderView* const header = ui->tableView->horizontalHeader();
    for (int section = titleColumn + 1; section < header->count(); ++section) {
        // The dates share the room that there is, but none is cut: the table scrolls instead.
        header->setMinimumSectionSize(qMax(header->minimumSectionSize(), header->sectionSizeHint(section)));
        header->setSectionResizeMode(section, QHeaderView::Stretch);
    }
    fitTitleColumn();
}

void ViewRecoveryHistory::fitTitleColumn()
{
    QTableView* const table = ui->tableView;
    table->resizeColumnToContents(titleColumn);
    // One endless title must not push the dates out of sight.
    table->setColumnWidth(titleColumn, qMin(table->columnWidth(titleColumn), widestTitle));
}

void ViewRecoveryHistory::onError(const QString& message)
{
    Dialogs::error(this, message);
}

void ViewRecoveryHistory::onNewSymptom()
{
    QInputDialog dialog;
    dialog.setInputMode(QInputDialog::TextInput);
    dialog.setOkButtonText(tr("Text.save"));
    dialog.setCancelButtonText(tr("Text.cancel"));
    dialog.setWindowTitle(tr("Text.newSymptom"));
    dialog.setLabelText(tr("Text.symptomName"));
    // A screen that goes takes the dialog with it, and the answer is no then.
    connect(this, &QObject::destroyed, &dialog, &QDialog::reject);
    if (dialog.exec() != QDialog::Accepted || dialog.textValue().isEmpty()) {
        return;
    }
    model->appendSymptom(Symptom(-1, dialog.textValue(), true));
    // A column that the user has made wider stays as it is.
    const QAbstractItemView* const table = ui->tableView;
    if (qMin(table->sizeHintForColumn(titleColumn), widestTitle) > ui->tableView->columnWidth(titleColumn)) {
        fitTitleColumn();
    }
}

void ViewRecoveryHistory::on_tableView_customContextMenuRequested(const QPoint& pos)
{
    const QModelIndex index = ui->tableView->indexAt(pos);
    QAction* const remove = menu.actions().at(removalEntry);
    remove->setEnabled(false);
    if (index.isValid()) {
        remove->setEnabled(model->getSymptomsTable()->rowIsDeletable(index.row()));
        remove->setData(index.row());
    }
    menu.popup(ui->tableView->viewport()->mapToGlobal(pos));
}

void ViewRecoveryHistory::onSave()
{
    save(nullptr);
}

void ViewRecoveryHistory::save(void (ViewRecoveryHistory::*navigation)())
{
    QByteArray json = model->toJson();
    auto* const controller = new Controller(this);
    controller->updateQuestionnaire(&patient, json);
    connect(controller, &Controller::onSuccess, this, [this, navigation] {
        dirty = false;
        if (navigation != nullptr) {
            emit(this->*navigation)();
        }
    });
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void ViewRecoveryHistory::backToPatientsList()
{
    leave(&ViewRecoveryHistory::onPatientsList);
}

void ViewRecoveryHistory::backToPatient()
{
    leave(&ViewRecoveryHistory::onBack);
}

void ViewRecoveryHistory::leave(void (ViewRecoveryHistory::*navigation)())
{
    if (dirty) {
        const QPointer<ViewRecoveryHistory> self(this);
        const bool wanted = Dialogs::confirm(this, tr("Text.saving"), tr("Text.confirmSave"));
        if (self == nullptr) {
            return;
        }
        if (wanted) {
            save(navigation);
            return;
        }
    }
    emit(this->*navigation)();
}

#include "moc_ViewRecoveryHistory.cpp"
