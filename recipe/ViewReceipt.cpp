// SPDX-License-Identifier: GPL-3.0-or-later
#include "recipe/ViewReceipt.h"

#include "app/Dialogs.h"
#include "model/Category.h"
#include "model/Storage.h"
#include "model/picture.h"
#include "net/Controller.h"
#include "recipe/ReceiptDelegate.h"
#include "recipe/ReceiptModel.h"
#include "signal/Utils.h"
#include "ui_ViewReceipt.h"

#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeyEvent>
#include <QPointer>
#include <QSortFilterProxyModel>

#include <algorithm>

namespace {

constexpr int titleColumn = 0;
constexpr int percentColumn = 1;
constexpr int amountColumn = 2;
constexpr int notesColumn = 3;
constexpr int numberWidth = 250;
constexpr int rowHeight = 40;

} // namespace

ViewReceipt::ViewReceipt(QWidget* parent, Patient* receiptPatient, Record* receiptRecord)
    : QWidget(parent)
    , ui(std::make_unique<Ui::ViewReceipt>())
    , patient(*receiptPatient)
    , record(*receiptRecord)
{
    ui->setupUi(this);
    ui->labelSeparator->setPixmap(picture(QStringLiteral(":/images/separator.png")));
    ui->buttonBack->setText(tr("Text.patientCard").arg(patient.getName()));
    ui->labelTitle->setText(tr("Text.createRecipe").arg(patient.getName(), record.getRecordedAt()));
    ui->tableView->setAccessibleName(ui->labelTitle->text());
    ui->labelConnectedDevice->setVisible(patient.isHasDevices());
    ui->labelConnectedDevice->setPixmap(patient.getStatusIcon());

    model = new ReceiptModel(this);
    delegate = new ReceiptDelegate(this);
    updateHeaderHeight();
    proxy = new QSortFilterProxyModel(this);
    proxy->setSourceModel(model);
    proxy->setDynamicSortFilter(true);
    proxy->setFilterCaseSensitivity(Qt::CaseInsensitive);
    proxy->setSortRole(Qt::UserRole);

    QTableView* const table = ui->tableView;
    table->setModel(proxy);
    table->setSortingEnabled(true);
    // Enabling sorts by the first column, but the server's order is the one to show until the user picks another.
    table->sortByColumn(-1, Qt::AscendingOrder);
    table->setAttribute(Qt::WA_MouseTracking);
    table->setItemDelegateForColumn(percentColumn, delegate);
    table->setItemDelegateForColumn(notesColumn, delegate);
    table->verticalHeader()->setVisible(false);
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->verticalHeader()->setDefaultSectionSize(rowHeight);
    table->setColumnWidth(titleColumn, 140);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setAlternatingRowColors(true);

    ui->buttonAnalyse->setEnabled(false);
    ui->buttonReceipt->setEnabled(false);

    connect(ui->buttonAnalyse, SIGNAL(clicked()), this, SLOT(onAnalyse()));
    connect(ui->buttonReceipt, SIGNAL(clicked()), this, SLOT(receipt()));
    connect(ui->buttonListPatients, SIGNAL(clicked()), this, SLOT(backToPatientsList()));
    connect(ui->buttonBack, SIGNAL(clicked()), this, SLOT(backToPatient()));
    connect(ui->comboBoxCategories, SIGNAL(currentIndexChanged(int)), this, SLOT(onCategoryChanged(int)));
    connect(model, SIGNAL(onSelect(Marker&)), this, SLOT(onSelection(Marker&)));
    table->installEventFilter(this);
    connect(table->selectionModel(), &QItemSelectionModel::currentChanged, delegate, &ReceiptDelegate::hideDescription);

    auto* const controller = new Controller(this);
    controller->getRecipe(&patient, &record);
    connect(controller, SIGNAL(onBytes(QByteArray)), this, SLOT(onLoadRecipe(QByteArray)));
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

ViewReceipt::~ViewReceipt() = default;

bool ViewReceipt::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == ui->tableView && event->type() == QEvent::FocusOut) {
        delegate->hideDescription();
    } else if (watched == ui->tableView && event->type() == QEvent::KeyPress) {
        return tableKey(static_cast<QKeyEvent*>(event)->key());
    }
    return QWidget::eventFilter(watched, event);
}

bool ViewReceipt::tableKey(int key)
{
    const QModelIndex current = ui->tableView->currentIndex();
    switch (key) {
    case Qt::Key_Space:
        // Wherever in the row: the cell that is current cannot be told from its neighbours.
        if (current.isValid()) {
            const QModelIndex box = current.siblingAtColumn(titleColumn);
            proxy->setData(box, Qt::Checked, Qt::CheckStateRole);
            // The model tells the view nothing.
            ui->tableView->update(box);
        }
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (current.isValid()) {
            ui->tableView->scrollTo(current);
            delegate->showDescription(ui->tableView, current.siblingAtColumn(notesColumn));
        }
        return true;
    case Qt::Key_Escape:
        delegate->hideDescription();
        return true;
    case Qt::Key_PageUp:
        return delegate->scrollDescription(-1);
    case Qt::Key_PageDown:
        return delegate->scrollDescription(1);
    default:
        return false;
    }
}

void ViewReceipt::onLoadRecipe(const QByteArray& bytes)
{
    const QJsonArray saved = Utils::bytesToArray(bytes);
    for (const QJsonValue& value : saved) {
        const Marker marker(value.toObject());
        selected.append({marker.getId(), marker});
    }
    if (!selected.isEmpty()) {
        ui->buttonReceipt->setEnabled(true);
    }

    auto* const controller = new Controller(this);
    controller->correctiveCategories(&patient);
    connect(controller, SIGNAL(onBytes(QByteArray)), this, SLOT(onLoadSuccess(QByteArray)));
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void ViewReceipt::onLoadSuccess(const QByteArray& bytes)
{
    ui->buttonAnalyse->setEnabled(true);
    const QJsonArray categories = Utils::bytesToArray(bytes);
    for (const QJsonValue& value : categories) {
        const Category category(value.toObject());
        ui->comboBoxCategories->insertItem(ui->comboBoxCategories->count(), category.getTitle(),
                                           QVariant::fromValue(category));
    }
}

void ViewReceipt::onCategoryChanged(int index)
{
    ui->comboBoxStorages->clear();
    auto category = ui->comboBoxCategories->itemData(index, Qt::UserRole).value<Category>();
    const QList<Storage> storages = category.getStorages();
    for (const Storage& storage : storages) {
        ui->comboBoxStorages->addItem(storage.getTitle(), QVariant::fromValue(storage));
    }
}

void ViewReceipt::onAnalyse()
{
    const auto storage = ui->comboBoxStorages->currentData(Qt::UserRole).value<Storage>();
    const QJsonObject request{
        {QStringLiteral("patientId"), patient.getId()},
        {QStringLiteral("storageId"), storage.getId()},
        {QStringLiteral("records"), QJsonArray{record.getId()}},
    };

    auto* const controller = new Controller(this);
    controller->analysisMarkers(QJsonDocument(request).toJson());
    connect(controller, SIGNAL(onBytes(QByteArray)), this, SLOT(onAnalyseSuccess(QByteArray)));
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void ViewReceipt::onAnalyseSuccess(const QByteArray& bytes)
{
    model->fromJson(bytes, selected);

    QTableView* const table = ui->tableView;
    QHeaderView* const header = table->horizontalHeader();
    header->setStretchLastSection(false);
    // Qt crashes on the mode of a section that is not there, and a table without rows has no sections.
    if (header->count() > notesColumn) {
        const bool frequencies = ui->comboBoxStorages->currentData(Qt::UserRole).value<Storage>().getFrequencies();
        header->setSectionResizeMode(titleColumn, QHeaderView::Stretch);
        header->setSectionResizeMode(percentColumn, QHeaderView::Fixed);
        header->setSectionResizeMode(amountColumn, QHeaderView::Fixed);
        table->setColumnWidth(percentColumn, numberWidth);
        table->setColumnWidth(amountColumn, numberWidth);
        table->setColumnHidden(percentColumn, frequencies);
        table->setColumnHidden(amountColumn, !frequencies);
        table->setColumnWidth(notesColumn, delegate->getIconWidth() + 25);
        table->resizeColumnToContents(titleColumn);
    }
    // The header had no height before the first load; the layout that is still pending gives it one.
    table->doItemsLayout();
    updateHeaderHeight();
}

void ViewReceipt::updateHeaderHeight()
{
    delegate->setHeaderHeight(ui->tableView->horizontalHeader()->height());
}

void ViewReceipt::onSelection(Marker& marker)
{
    if (marker.isChecked()) {
        selected.append({marker.getId(), marker});
    } else {
        removeSelected(marker.getId());
    }
    ui->buttonReceipt->setEnabled(!selected.isEmpty());
    changed = true;
}

void ViewReceipt::removeSelected(const QString& id)
{
    const auto found = std::find_if(selected.begin(), selected.end(),
                                    [&id](const QPair<QString, Marker>& pair) { return pair.first == id; });
    if (found != selected.end()) {
        selected.erase(found);
    }
}

QList<Marker> ViewReceipt::selectedMarkers() const
{
    QList<Marker> markers;
    markers.reserve(selected.size());
    for (const QPair<QString, Marker>& pair : selected) {
        markers.append(pair.second);
    }
    return markers;
}

void ViewReceipt::receipt()
{
    if (selected.isEmpty()) {
        return;
    }
    QList<Marker> markers = selectedMarkers();
    emit onReceipt(patient, record, markers, changed);
}

void ViewReceipt::markerRemove(const QString& id)
{
    model->removeMarker(id);
    removeSelected(id);
    changed = true;
    if (selected.isEmpty()) {
        ui->buttonReceipt->setEnabled(false);
    }
}

void ViewReceipt::backToPatientsList()
{
    doBackNavigation(Navigation::PatientList);
}

void ViewReceipt::backToPatient()
{
    doBackNavigation(Navigation::PatientCard);
}

void ViewReceipt::doBackNavigation(Navigation navigation)
{
    // The screen may go while the question is open.
    const QPointer<ViewReceipt> self(this);
    const bool wanted = changed && Dialogs::confirm(this, tr("Text.saving"), tr("Text.confirmSave"));
    if (self == nullptr) {
        return;
    }
    if (!wanted) {
        emitNavigation(navigation);
        return;
    }
    QList<Marker> markers = selectedMarkers();
    auto* const controller = new Controller(this);
    controller->saveRecipe(&patient, &record, markers, 0, QLatin1String(""));
    connect(controller, &Controller::onSuccess, this, [this, navigation] {
        changed = false;
        emitNavigation(navigation);
    });
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void ViewReceipt::emitNavigation(Navigation navigation)
{
    switch (navigation) {
    case Navigation::PatientCard:
        emit onBack();
        break;
    case Navigation::PatientList:
        emit onPatientsList();
        break;
    }
}

void ViewReceipt::onError(const QString& message)
{
    Dialogs::error(this, message);
}

#include "moc_ViewReceipt.cpp"
