// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Patient.h"
#include "model/Record.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QWidget>

#include <memory>

class AnalysisDelegate;
class AnalysisModel;
class AnalysisProxyModel;
class QSortFilterProxyModel;
class QTableView;
class SummaryTableModel;

namespace Ui {
class ViewAnalysis;
}

/// The screen that shows the server's analysis of the chosen records: a summary, loaded at once, and the markers of one
/// storage, on demand.
class ViewAnalysis : public QWidget
{
    Q_OBJECT

signals:
    void onPatientsList();
    void onBack();

public:
    /// Keeps copies of patient and records, and asks for the summary at once.
    ViewAnalysis(QWidget* parent, Patient* patient, QList<Record>* records);
    ~ViewAnalysis() override;

    /// The JSON body of both analysis requests: patient, records, and the chosen storage or an empty text.
    QByteArray buildRequest() const;

public slots:
    void onAnalyse();
    void onAnalyseSuccess(const QByteArray& bytes);
    void onCategoryChanged(int index);
    void onError(const QString& message);
    void onLoadSuccess(const QByteArray& bytes);
    void onSummarySuccess(const QByteArray& bytes);
    /// Asks for the categories when the second tab first opens, and never again, whatever the answer.
    void onTabChanged(int index);
    void backToPatientsList();
    void backToPatient();

private:
    static void setUpTable(QTableView* table, QSortFilterProxyModel* proxy);
    static void fitColumns(QTableView* table);
    void updateHeaderHeight();

    std::unique_ptr<Ui::ViewAnalysis> ui;
    Patient patient;
    QList<Record> records;
    // Without a parent: each proxy goes before its model, and both before the tables that show them.
    std::unique_ptr<AnalysisModel> analysisModel;
    std::unique_ptr<AnalysisProxyModel> analysisProxy;
    AnalysisDelegate* delegate;
    std::unique_ptr<SummaryTableModel> summaryModel;
    std::unique_ptr<QSortFilterProxyModel> summaryProxy;
    bool categoriesLoaded = false;
};
