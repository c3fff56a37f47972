// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Patient.h"
#include "model/Record.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QWidget>

#include <memory>

namespace QtCharts {
class QChart;
class QChartView;
} // namespace QtCharts

namespace Ui {
class ViewComparativeAnalysis;
}

/// The screen that sets records of one patient side by side, as four charts under one another. What a series means is
/// the server's: names, numbers and the colours of smooth series come from there.
class ViewComparativeAnalysis : public QWidget
{
    Q_OBJECT

signals:
    void onPatientsList();
    void onBack();

public:
    /// Keeps copies of patient and records, and asks for the comparison at once.
    ViewComparativeAnalysis(QWidget* parent, Patient* patient, QList<Record>* records);
    ~ViewComparativeAnalysis() override;

    /// A chart of one line for each member of `series`: name and array of numbers, of which whatever is no number
    /// counts as 0. A series that `colours` names too is smooth and has the colour given there as array of red, green
    /// and blue. The caller owns the chart; the chart owns its series and axes.
    QtCharts::QChart* makeChart(const QJsonObject& series, const QJsonObject& colours) const;
    /// Lets the ground of the screen shine through around the chart.
    void adjustChartView(QtCharts::QChartView* view);
    /// Leaves the screen without charts.
    void deleteCharts();

public slots:
    /// Shows the comparison, in place of one that is there. A reply that is none leaves four empty charts.
    void onSuccess(const QByteArray& bytes);
    void onError(const QString& message);
    void backToPatientsList();
    void backToPatient();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::unique_ptr<Ui::ViewComparativeAnalysis> ui;
    Patient patient;
    QList<Record> records;
    QtCharts::QChartView* graph1 = nullptr;
    QtCharts::QChartView* graph2 = nullptr;
    QtCharts::QChartView* summary = nullptr;
    QtCharts::QChartView* complaints = nullptr;
};
