// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/ViewComparativeAnalysis.h"

#include "analysis/ComparedSeries.h"
#include "app/Dialogs.h"
#include "model/picture.h"
#include "net/Controller.h"
#include "signal/Utils.h"
#include "ui_ViewComparativeAnalysis.h"

#include <QColor>
#include <QCursor>
#include <QEvent>
#include <QFont>
#include <QFontMetrics>
#include <QGraphicsLayout>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMargins>
#include <QPen>
#include <QToolTip>
#include <QVBoxLayout>

#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QLegend>
#include <QtCharts/QLegendMarker>
#include <QtCharts/QLineSeries>
#include <QtCharts/QSplineSeries>
#include <QtCharts/QValueAxis>

#include <limits>

namespace {

constexpr double widthShare = 0.6;
constexpr int minimumChartHeight = 250;
constexpr int smoothWidth = 3;
constexpr double smoothMargin = 1.03;

/// With one more point than this, only every second, fifth, tenth... gets a number and a grid line.
constexpr double mostNumbers = 15.0;
constexpr double mostThinnedNumbers = 10.0;

constexpr int fontSize = 12;
/// What Qt adds to the text of a legend's row, and to all its rows.
constexpr int legendRowPadding = 8;
constexpr int legendPadding = 40;
/// Room for some thirty rows. A legend that is longer still can be dragged.
constexpr int maximumLegendHeight = 750;

constexpr double fadedOpacity = 0.15;

const QColor panelColour(0xf7, 0xf9, 0xfc);
constexpr int panelRadius = 5;
const QMargins panelMargins(10, 12, 10, 8);
const QColor textColour(0x41, 0x41, 0x41);
const QColor gridColour(0xe1, 0xe1, 0xe1);
const QColor lineColour(0x88, 0x88, 0x88);

QFont chartFont()
{
    QFont font;
    font.setPixelSize(fontSize);
    return font;
}

/// Gives the chart the look of the tables' panels.
void dress(QtCharts::QChart* chart)
{
    // First, since a theme sets what follows anew.
    chart->setTheme(QtCharts::QChart::ChartThemeLight);
    chart->setBackgroundBrush(panelColour);
    chart->setBackgroundRoundness(panelRadius);
    chart->setMargins(panelMargins);
    QtCharts::QLegend* const legend = chart->legend();
    legend->setFont(chartFont());
    legend->setLabelColor(textColour);
    legend->setMarkerShape(QtCharts::QLegend::MarkerShapeFromSeries);
}

void dress(QtCharts::QValueAxis* axis)
{
    axis->setLabelsFont(chartFont());
    axis->setLabelsColor(textColour);
    axis->setGridLineColor(gridColour);
    axis->setLinePenColor(lineColour);
}

/// Where the numbers under an axis are crowded, Qt shows dots in their place, and takes seconds for some thousands of
/// them. The tick count stays as it is, but ticks at an interval take its place.
void thinOut(QtCharts::QValueAxis* axis, double count)
{
    if (count <= mostNumbers) {
        return;
    }
    double interval = 1.0;
    for (int step = 0; count / interval > mostThinnedNumbers; ++step) {
        interval *= step % 3 == 1 ? 2.5 : 2.0;
    }
    axis->setTickAnchor(0.0);
    axis->setTickInterval(interval);
    axis->setTickType(QtCharts::QValueAxis::TicksDynamic);
}

/// An axis takes no infinite end.
double widened(double end)
{
    constexpr double largest = std::numeric_limits<double>::max();
    return qBound(-largest, end * smoothMargin, largest);
}

int legendHeight(const QtCharts::QChart* chart)
{
    return chart->series().size() * (QFontMetrics(chartFont()).height() + legendRowPadding) + legendPadding;
}

/// A tip that takes no name for markup and breaks no line.
QString asPlainText(const QString& name)
{
    return QStringLiteral("<div style=\"white-space:pre\">%1</div>").arg(name.toHtmlEscaped());
}

/// A theme knows five colours, so some of many lines look alike: the one under the pointer, in the plot or in the
/// legend, steps forward and tells its name.
void emphasise(QtCharts::QChart* chart, const QtCharts::QAbstractSeries* chosen, bool on)
{
    const QList<QtCharts::QAbstractSeries*> all = chart->series();
    for (QtCharts::QAbstractSeries* const one : all) {
        one->setOpacity(on && one != chosen ? fadedOpacity : 1.0);
    }
    // Not a tip of the chart: that would take its ground from the view, where it is transparent.
    QToolTip::showText(QCursor::pos(), on ? asPlainText(chosen->name()) : QString());
}

void emphasiseUnderPointer(QtCharts::QChart* chart)
{
    const QList<QtCharts::QLegendMarker*> markers = chart->legend()->markers();
    for (QtCharts::QLegendMarker* const marker : markers) {
        const auto* const line = static_cast<QtCharts::QXYSeries*>(marker->series());
        const auto react = [chart, line](bool on) { emphasise(chart, line, on); };
        QObject::connect(marker, &QtCharts::QLegendMarker::hovered, chart, react);
        QObject::connect(line, &QtCharts::QXYSeries::hovered, chart, [react](const QPointF&, bool on) { react(on); });
    }
}

} // namespace

ViewComparativeAnalysis::ViewComparativeAnalysis(QWidget* parent, Patient* comparedPatient,
                                                 QList<Record>* comparedRecords)
    : QWidget(parent)
    , ui(std::make_unique<Ui::ViewComparativeAnalysis>())
    , patient(*comparedPatient)
    , records(*comparedRecords)
{
    ui->setupUi(this);
    ui->label->setPixmap(picture(QStringLiteral(":/images/separator.png")));
    ui->buttonBack->setText(tr("Text.patientCard").arg(patient.getName()));
    ui->labelPatientName->setText(QLatin1Char('(') + patient.getName() + QLatin1Char(')'));

    connect(ui->buttonListPatients, SIGNAL(clicked()), this, SLOT(backToPatientsList()));
    connect(ui->buttonBack, SIGNAL(clicked()), this, SLOT(backToPatient()));

    QJsonArray ids;
    for (const Record& record : qAsConst(records)) {
        ids.append(record.getId());
    }
    const QJsonObject request{
        {QStringLiteral("patientId"), patient.getId()},
        {QStringLiteral("records"), ids},
    };

    auto* const controller = new Controller(this);
    controller->analysisComparative(QJsonDocument(request).toJson());
    connect(controller, SIGNAL(onBytes(QByteArray)), this, SLOT(onSuccess(QByteArray)));
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

ViewComparativeAnalysis::~ViewComparativeAnalysis() = default;

void ViewComparativeAnalysis::onSuccess(const QByteArray& bytes)
{
    const QJsonObject reply = Utils::bytesToJson(bytes);
    deleteCharts();

    const auto show = [this, &reply](const char* key, const QJsonObject& colours) {
        auto* const view = new QtCharts::QChartView(makeChart(reply.value(QLatin1String(key)).toObject(), colours));
        adjustChartView(view);
        // The legend is one column: with many series it needs more height to be read without dragging it.
        view->setMinimumHeight(qBound(view->minimumHeight(), legendHeight(view->chart()), maximumLegendHeight));
        return view;
    };
    graph1 = show("graph1", {});
    graph2 = show("graph2", {});
    summary = show("summary", reply.value(QLatin1String("smooth")).toObject());
    complaints = show("complaints", {});

    auto* layout = qobject_cast<QVBoxLayout*>(ui->chartsContainer->layout());
    if (layout == nullptr) {
        layout = new QVBoxLayout(ui->chartsContainer);
    }
    for (QtCharts::QChartView* const view : {graph1, graph2, summary, complaints}) {
        layout->addWidget(view, 1);
    }
    layout->setAlignment(ui->chartsContainer, Qt::AlignHCenter);
    ui->chartsContainer->setMaximumWidth(static_cast<int>(ui->chartsContainer->width() * widthShare));
}

QtCharts::QChart* ViewComparativeAnalysis::makeChart(const QJsonObject& series, const QJsonObject& colours) const
{
    auto* const chart = new QtCharts::QChart;
    dress(chart);
    const ComparedSeries compared(series, colours);
    double count = 0.0;
    for (const ComparedSeries::Line& read : compared.lines()) {
        QtCharts::QLineSeries* line = nullptr;
        if (read.smooth) {
            line = new QtCharts::QSplineSeries(chart);
            QPen pen = line->pen();
            pen.setWidth(smoothWidth);
            pen.setColor(read.colour);
            line->setPen(pen);
        } else {
            line = new QtCharts::QLineSeries(chart);
        }
        line->setName(read.name);
        for (int j = 0; j < read.values.size(); ++j) {
            line->append(j + 1, read.values.at(j));
        }
        chart->addSeries(line);
        count = line->count();
    }

    chart->legend()->setAlignment(Qt::AlignRight);
    if (!series.isEmpty()) {
        chart->createDefaultAxes();
        const QList<QtCharts::QAbstractAxis*> axes = chart->axes(Qt::Horizontal | Qt::Vertical);
        auto* const x = static_cast<QtCharts::QValueAxis*>(axes.at(0));
        auto* const y = static_cast<QtCharts::QValueAxis*>(axes.at(1));
        x->setRange(1.0, count);
        x->setLabelFormat(QStringLiteral("%.1i"));
        x->setTickCount(static_cast<int>(count));
        thinOut(x, count);
        if (compared.hasSmooth()) {
            y->setRange(widened(compared.minimum()), widened(compared.maximum()));
        } else {
            y->setRange(compared.minimum(), compared.maximum());
        }
        y->setLabelFormat(QStringLiteral("%.1i"));
        dress(x);
        dress(y);
    }
    emphasiseUnderPointer(chart);
    chart->layout()->setContentsMargins(0, 0, 0, 0);
    return chart;
}

void ViewComparativeAnalysis::adjustChartView(QtCharts::QChartView* view)
{
    view->setRenderHint(QPainter::Antialiasing);
    view->setStyleSheet(QStringLiteral("background:transparent"));
    view->setAttribute(Qt::WA_TranslucentBackground, true);
    view->setAttribute(Qt::WA_OpaquePaintEvent, false);
    view->setBackgroundBrush(Qt::transparent);
    view->setMinimumHeight(minimumChartHeight);
    // A chart has no use for keys; the scroll area around it does.
    view->setFocusPolicy(Qt::NoFocus);
    view->viewport()->installEventFilter(this);
}

bool ViewComparativeAnalysis::eventFilter(QObject* watched, QEvent* event)
{
    // The scene of a chart knows of no tips and would take down the one that names a series.
    return event->type() == QEvent::ToolTip || QWidget::eventFilter(watched, event);
}

void ViewComparativeAnalysis::deleteCharts()
{
    for (QtCharts::QChartView** const view : {&graph1, &graph2, &summary, &complaints}) {
        delete *view;
        *view = nullptr;
    }
}

void ViewComparativeAnalysis::onError(const QString& message)
{
    Dialogs::error(this, message);
}

void ViewComparativeAnalysis::backToPatientsList()
{
    emit onPatientsList();
}

void ViewComparativeAnalysis::backToPatient()
{
    emit onBack();
}

#include "moc_ViewComparativeAnalysis.cpp"
