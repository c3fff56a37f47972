// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/ViewPatients.h"

#include "app/Dialogs.h"
#include "model/Patient.h"
#include "model/PatientManager.h"
#include "net/LoadingWindow.h"
#include "patients/FormPatient.h"
#include "patients/PatientDelegate.h"
#include "patients/PatientModel.h"
#include "patients/QPagination.h"
#include "ui_ViewPatients.h"

#include <QChildEvent>
#include <QHeaderView>
#include <QShortcut>
#include <QTimer>

namespace {

constexpr int pageSize = 20;
constexpr int searchDelay = 800;
constexpr int minimumSection = 16;

QString sortKey(int column)
{
    switch (column) {
    case 2:
        return QStringLiteral("name");
    case 3:
        return QStringLiteral("age");
    case 4:
        return QStringLiteral("gender");
    case 5:
        return QStringLiteral("record");
    case 7:
        return QStringLiteral("notes");
    default:
        return {};
    }
}

/// The width in pixels of a fixed column; 0 for one that stretches.
int columnWidth(int column)
{
    switch (column) {
    case 0:
    case 1:
    case 8:
    case 9:
        return 45;
    case 3:
    case 4:
        return 100;
    case 5:
        return 200;
    default:
        return 0;
    }
}

} // namespace

ViewPatients::ViewPatients(QWidget* parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::ViewPatients>())
    , delegate(new PatientDelegate(this))
    , pagination(new QPagination(this, 30))
    , searchTimer(new QTimer(this))
{
    ui->setupUi(this);
    ui->searchField->setAttribute(Qt::WA_MacShowFocusRect, false);
    pagination->setButtonsSize(40, 40);
    layout()->addWidget(pagination);
    // The row is older than the form, and would come before it.
    QWidget* last = ui->tableView;
    const QList<QPushButton*> steps = pagination->findChildren<QPushButton*>();
    for (QPushButton* step : steps) {
        setTabOrder(last, step);
        last = step;
    }
    searchTimer->setInterval(searchDelay);
    setupTable();

    connect(ui->buttonRefresh, SIGNAL(clicked()), this, SLOT(onRefresh()));
    connect(ui->buttonNewPatient, SIGNAL(clicked()), this, SLOT(onNewPatient()));
    connect(ui->searchField, SIGNAL(textChanged(QString)), this, SLOT(onSearchChanged(QString)));
    connect(ui->tableView, SIGNAL(doubleClicked(QModelIndex)), this, SLOT(onDoubleClick(QModelIndex)));
    connect(searchTimer, &QTimer::timeout, this, [this] {
        updateTableState();
        searchTimer->stop();
    });
    connect(ui->comboBox, qOverload<int>(&QComboBox::currentIndexChanged), this, [this] { updateTableState(); });
    connect(ui->tableView->horizontalHeader(), &QHeaderView::sectionClicked, this, [this](int section) {
        if (section != 0 && section != 1 && section != 8 && section != 9) {
            updateTableState();
        }
    });
    connect(delegate, &PatientDelegate::editPress, this, &ViewPatients::edit);
    connect(delegate, &PatientDelegate::removePress, this, &ViewPatients::remove);

    PatientModel* const model = PatientManager::getInstance()->getModel();
    connect(pagination, &QPagination::onPageChange, this, [this, model](int page) {
        model->setCurrentPage(page);
        updateTableState();
    });
    connect(model, &PatientModel::pageCountChanghed, this, [this, model] {
        pagination->updateTotalPages(model->getTotalPages());
        // Fewer pages than before may have led back to the first one, and the running numbers go with the page.
        model->setCurrentPage(pagination->getCurrentPage());
    });

    setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
    showMaximized();
    PatientManager::getInstance()->setPageSize(pageSize);
    PatientManager::getInstance()->load(this);
}

ViewPatients::~ViewPatients() = default;

void ViewPatients::setupTable()
{
    QTableView* const table = ui->tableView;
    table->setModel(PatientManager::getInstance()->getModel());
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    for (const int column : {1, 4, 8, 9}) {
        table->setItemDelegateForColumn(column, delegate);
    }
    table->setSortingEnabled(true);
    table->setMouseTracking(true);
    table->viewport()->setMouseTracking(true);
    table->setAlternatingRowColors(true);
    // A second line would start left of the first one, which begins with blanks.
    table->setWordWrap(false);

    QHeaderView* const header = table->horizontalHeader();
    header->setDefaultAlignment(Qt::AlignLeft);
    header->setStretchLastSection(false);
    // Nothing is sorted by the column that is the first one by chance.
    header->setSortIndicator(-1, Qt::AscendingOrder);
    // By default a section is at least as wide as the font's widest character, which is more than the narrow ones have.
    header->setMinimumSectionSize(minimumSection);
    for (int column = 0; column < header->count(); ++column) {
        const int width = columnWidth(column);
        header->setSectionResizeMode(column, width == 0 ? QHeaderView::Stretch : QHeaderView::Fixed);
        if (width != 0) {
            header->resizeSection(column, width);
        }
    }
    table->verticalHeader()->hide();
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->verticalHeader()->setDefaultSectionSize(40);

    // What the mouse does by a double click and on the icons.
    const auto onKey = [this, table](const QKeySequence& key, void (ViewPatients::*act)(const QModelIndex&)) {
        auto* const shortcut = new QShortcut(key, table);
        shortcut->setContext(Qt::WidgetShortcut);
        connect(shortcut, &QShortcut::activated, this, [this, table, act] {
            if (table->currentIndex().isValid()) {
                (this->*act)(table->currentIndex());
            }
        });
    };
    onKey(Qt::Key_Return, &ViewPatients::onDoubleClick);
    onKey(Qt::Key_Enter, &ViewPatients::onDoubleClick);
    onKey(Qt::Key_F2, &ViewPatients::edit);
    onKey(Qt::Key_Delete, &ViewPatients::remove);
}

void ViewPatients::onCreate(Patient* patient)
{
    PatientManager::getInstance()->create(this, form, patient);
}

void ViewPatients::onDoubleClick(const QModelIndex& index)
{
    PatientManager* const manager = PatientManager::getInstance();
    if (!manager->getModel()->indexIsValid(index)) {
        return;
    }
    Patient patient = manager->patientByIndex(index);
    emit onChoosePatient(patient);
}

void ViewPatients::onEdit(QPoint point)
{
    edit(ui->tableView->indexAt(point));
}

void ViewPatients::onNewPatient()
{
    const auto patient = std::make_unique<Patient>();
    const QPointer<FormPatient> dialog(new FormPatient);
    form = dialog;
    connect(dialog, SIGNAL(onSubmit(Patient*)), this, SLOT(onCreate(Patient*)));
    dialog->edit(patient.get());
    dialog->exec();
    // The screen itself may be gone by now, and the form too, if the patient was created.
    if (!dialog.isNull()) {
        dialog->deleteLater();
    }
}

void ViewPatients::onRefresh()
{
    updateTableState();
}

void ViewPatients::onSearchChanged(const QString&)
{
    searchTimer->stop();
    searchTimer->start();
}

void ViewPatients::childEvent(QChildEvent* event)
{
    QWidget::childEvent(event);
    // The overlay gets its name only after it was added, so that the kind of event tells nothing.
    auto* const field = findChild<QLineEdit*>(QStringLiteral("searchField"));
    if (field != nullptr) {
        field->setReadOnly(findChild<LoadingWindow*>(QStringLiteral("LoadingWindow"), Qt::FindDirectChildrenOnly) !=
                           nullptr);
        // A change of the lock brings the focus rectangle back.
        field->setAttribute(Qt::WA_MacShowFocusRect, false);
    }
}

void ViewPatients::updateTableState()
{
    const QHeaderView* const header = ui->tableView->horizontalHeader();
    const QString sort = sortKey(header->sortIndicatorSection());
    QString direction;
    if (!sort.isEmpty()) {
        direction =
            header->sortIndicatorOrder() == Qt::DescendingOrder ? QStringLiteral("desc") : QStringLiteral("asc");
    }
    const QString searchBy = ui->comboBox->currentIndex() == 1 ? QStringLiteral("notes") : QStringLiteral("name");
    PatientManager::getInstance()->search(this, sort, direction, pagination->getCurrentPage() - 1, searchBy,
                                          ui->searchField->text().trimmed());
}

void ViewPatients::edit(const QModelIndex& index)
{
    PatientManager* const manager = PatientManager::getInstance();
    if (!manager->getModel()->indexIsValid(index)) {
        return;
    }
    Patient patient = manager->patientByIndex(index);
    const QPointer<FormPatient> dialog(new FormPatient);
    form = dialog;
    connect(dialog, &FormPatient::onSubmit, this,
            [this, manager](Patient* edited) { manager->update(this, form, edited); });
    dialog->edit(&patient);
    dialog->exec();
    if (!dialog.isNull()) {
        dialog->deleteLater();
    }
}

void ViewPatients::remove(const QModelIndex& index)
{
    PatientManager* const manager = PatientManager::getInstance();
    const QPersistentModelIndex row(index);
    const QPointer<ViewPatients> self(this);
    if (Dialogs::confirmDeletePatient(this, manager->patientByIndex(index).getName()) && self != nullptr) {
        manager->remove(this, row);
    }
}

#include "moc_ViewPatients.cpp"
