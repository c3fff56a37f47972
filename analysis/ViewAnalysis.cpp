// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/ViewAnalysis.h"

#include "analysis/AnalysisDelegate.h"
#include "analysis/AnalysisModel.h"
#include "analysis/AnalysisProxyModel.h"
#include "analysis/SummaryTableModel.h"
#include "app/Dialogs.h"
#include "model/Category.h"
#include "model/Storage.h"
#include "model/picture.h"
#include "net/Controller.h"
#include "signal/Utils.h"
#include "ui_ViewAnalysis.h"

#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSortFilterProxyModel>
#include <QTabBar>

namespace {

constexpr int titleWidth = 140;
constexpr int rowHeight = 40;
/// What a column's own title may ask for; a longer one is cut.
constexpr int headerWidth = 320;
constexpr int markersTab = 1;

} // namespace

ViewAnalysis::ViewAnalysis(QWidget* parent, Patient* analysisPatient, QList<Record>* analysisRecords)
    : QWidget(parent)
    , ui(std::make_unique<Ui::ViewAnalysis>())
    , patient(*analysisPatient)
    , records(*analysisRecords)
    , analysisModel(std::make_unique<AnalysisModel>(nullptr))
    , analysisProxy(std::make_unique<AnalysisProxyModel>(nullptr))
    , delegate(new AnalysisDelegate(this))
    , summaryModel(std::make_unique<SummaryTableModel>(nullptr))
    , summaryProxy(std::make_unique<QSortFilterProxyModel>())
{
    ui->setupUi(this);
    ui->labelSeparator->setPixmap(picture(QStringLiteral(":/images/separator.png")));
    // The form cannot name the bar. The tab widget, which would hand the focus on to it, would be a second stop.
    ui->tabWidget->setFocusPolicy(Qt::NoFocus);
    const QList<QWidget*> order{ui->buttonBack,         ui->tabWidget->tabBar(), ui->summaryTableView,
                                ui->comboBoxCategories, ui->comboBoxStorages,    ui->buttonAnalyse,
                                ui->analysisTableView};
    for (int i = 1; i < order.size(); ++i) {
        setTabOrder(order.at(i - 1), order.at(i));
    }
    // On the bar alone: the tab widget would hand a font down to the tables.
    QFont tabFont = ui->tabWidget->tabBar()->font();
    tabFont.setPointSize(15);
    tabFont.setWeight(QFont::Bold);
    ui->tabWidget->tabBar()->setFont(tabFont);
    ui->buttonBack->setText(tr("Text.patientCard").arg(patient.getName()));
    ui->labelPatientName->setText(QLatin1Char('(') + patient.getName() + QLatin1Char(')'));

    analysisProxy->setSourceModel(analysisModel.get());
    setUpTable(ui->analysisTableView, analysisProxy.get());
    ui->analysisTableView->setItemDelegate(delegate);
    updateHeaderHeight();
    summaryProxy->setSourceModel(summaryModel.get());
    setUpTable(ui->summaryTableView, summaryProxy.get());

    connect(ui->tabWidget, SIGNAL(currentChanged(int)), this, SLOT(onTabChanged(int)));
    connect(ui->buttonListPatients, SIGNAL(clicked()), this, SLOT(backToPatientsList()));
    connect(ui->buttonBack, SIGNAL(clicked()), this, SLOT(backToPatient()));
    connect(ui->buttonAnalyse, SIGNAL(clicked()), this, SLOT(onAnalyse()));
    connect(ui->comboBoxCategories, SIGNAL(currentIndexChanged(int)), this, SLOT(onCategoryChanged(int)));

    auto* const controller = new Controller(this);
    controller->analysisSummary(buildRequest());
    connect(controller, SIGNAL(onBytes(QByteArray)), this, SLOT(onSummarySuccess(QByteArray)));
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

ViewAnalysis::~ViewAnalysis() = default;

void ViewAnalysis::setUpTable(QTableView* table, QSortFilterProxyModel* proxy)
{
    proxy->setDynamicSortFilter(true);
    proxy->setFilterCaseSensitivity(Qt::CaseInsensitive);
    proxy->setSortRole(Qt::UserRole);

    table->setModel(proxy);
    table->setSortingEnabled(true);
    table->setMouseTracking(true);
    table->verticalHeader()->setVisible(false);
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->verticalHeader()->setDefaultSectionSize(rowHeight);
    table->horizontalHeader()->setTextElideMode(Qt::ElideRight);
    table->setColumnWidth(0, titleWidth);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setAlternatingRowColors(true);
}

void ViewAnalysis::fitColumns(QTableView* table)
{
    QHeaderView* const header = table->horizontalHeader();
    // Many records would squeeze the dates beyond reading; from there on the table scrolls.
    header->setMinimumSectionSize(-1);
    int widest = header->minimumSectionSize();
    for (int section = 1; section < header->count(); ++section) {
        widest = qMax(widest, header->sectionSizeHint(section));
    }
    header->setMinimumSectionSize(qMin(widest, headerWidth));
    for (int section = 1; section < header->count(); ++section) {
        header->setSectionResizeMode(section, QHeaderView::Stretch);
    }
    table->resizeColumnToContents(0);
}

void ViewAnalysis::updateHeaderHeight()
{
    delegate->setHeaderHeight(ui->analysisTableView->horizontalHeader()->height());
}

QByteArray ViewAnalysis::buildRequest() const
{
    QJsonArray ids;
    for (const Record& record : records) {
        ids.append(record.getId());
    }
    const QJsonObject request{
        {QStringLiteral("patientId"), patient.getId()},
        {QStringLiteral("storageId"), ui->comboBoxStorages->currentData().value<Storage>().getId()},
        {QStringLiteral("records"), ids},
    };
    return QJsonDocument(request).toJson();
}

void ViewAnalysis::onTabChanged(int index)
{
    if (index != markersTab || categoriesLoaded) {
        return;
    }
    categoriesLoaded = true;
    auto* const controller = new Controller(this);
    controller->diagnosticCategories(&patient);
    connect(controller, SIGNAL(onBytes(QByteArray)), this, SLOT(onLoadSuccess(QByteArray)));
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void ViewAnalysis::onLoadSuccess(const QByteArray& bytes)
{
    const QJsonArray categories = Utils::bytesToArray(bytes);
    for (const QJsonValue& value : categories) {
        const Category category(value.toObject());
        ui->comboBoxCategories->addItem(category.getTitle(), QVariant::fromValue(category));
    }
}

void ViewAnalysis::onCategoryChanged(int index)
{
    ui->comboBoxStorages->clear();
    auto category = ui->comboBoxCategories->itemData(index).value<Category>();
    const QList<Storage> storages = category.getStorages();
    for (const Storage& storage : storages) {
        ui->comboBoxStorages->addItem(storage.getTitle(), QVariant::fromValue(storage));
    }
}

void ViewAnalysis::onAnalyse()
{
    auto* const controller = new Controller(this);
    controller->analysisMarkers(buildRequest());
    connect(controller, SIGNAL(onBytes(QByteArray)), this, SLOT(onAnalyseSuccess(QByteArray)));
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void ViewAnalysis::onAnalyseSuccess(const QByteArray& bytes)
{
    analysisModel->fromJson(bytes);
    fitColumns(ui->analysisTableView);
    // The header had no height before the first load.
    updateHeaderHeight();
}

void ViewAnalysis::onSummarySuccess(const QByteArray& bytes)
{
    summaryModel->fromJson(bytes);
    fitColumns(ui->summaryTableView);
}

void ViewAnalysis::backToPatientsList()
{
    emit onPatientsList();
}

void ViewAnalysis::backToPatient()
{
    emit onBack();
}

void ViewAnalysis::onError(const QString& message)
{
    Dialogs::error(this, message);
}

#include "moc_ViewAnalysis.cpp"
