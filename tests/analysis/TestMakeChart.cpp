// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/ViewComparativeAnalysis.h"
#include "tests/recipe/RecipeFixtures.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"

#include <QApplication>
#include <QGraphicsLayout>
#include <QHelpEvent>
#include <QImage>
#include <QJsonDocument>
#include <QPointer>
#include <QTest>
#include <QToolTip>
#include <QWidget>

#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QLegend>
#include <QtCharts/QLegendMarker>
#include <QtCharts/QLineSeries>
#include <QtCharts/QSplineSeries>
#include <QtCharts/QValueAxis>

#include <cmath>
#include <limits>
#include <memory>

using namespace QtCharts;

namespace {

QJsonObject object(const QByteArray& text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        qFatal("No JSON object: %s", text.constData());
    }
    return document.object();
}

QJsonObject oneSeries(int points)
{
    QJsonArray values;
    for (int i = 0; i < points; ++i) {
        values.append(i % 97);
    }
    return {{QStringLiteral("a"), values}};
}

QValueAxis* axis(const QChart* chart, Qt::Orientation orientation)
{
    const QList<QAbstractAxis*> axes = chart->axes(orientation);
    auto* const found = axes.size() == 1 ? qobject_cast<QValueAxis*>(axes.first()) : nullptr;
    if (found == nullptr) {
        qFatal("Not one value axis, but %d", axes.size());
    }
    return found;
}

QList<QPointF> points(const QChart* chart, int series = 0)
{
    return static_cast<QXYSeries*>(chart->series().at(series))->points();
}

QPen pen(const QChart* chart, int series = 0)
{
    return static_cast<QXYSeries*>(chart->series().at(series))->pen();
}

/// How many pixels of the image have about this colour.
int pixelsOf(const QImage& image, const QColor& colour)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (std::abs(pixel.red() - colour.red()) < 12 && std::abs(pixel.green() - colour.green()) < 12 &&
                std::abs(pixel.blue() - colour.blue()) < 12) {
                ++count;
            }
        }
    }
    return count;
}

} // namespace

/// The rules of a chart, each on a chart of its own.
class TestMakeChart : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();

    void belongsToNobody();
    void takesItsPartsAlong_data();
    void takesItsPartsAlong();
    void legendAndMargins_data();
    void legendAndMargins();
    void kindsOfSeries_data();
    void kindsOfSeries();
    void colours_data();
    void colours();
    void plainPens();
    void pointsStartAtOne();
    void elements_data();
    void elements();
    void oddSeries_data();
    void oddSeries();
    void rangeOfValues_data();
    void rangeOfValues();
    void marginHasNoInfiniteEnd();
    void countOfTheLastSeries_data();
    void countOfTheLastSeries();
    void whatQtRefuses_data();
    void whatQtRefuses();
    void axesInOrder();
    void noSeriesNoAxes_data();
    void noSeriesNoAxes();
    void numbersOfACrowdedAxis_data();
    void numbersOfACrowdedAxis();
    void paints_data();
    void paints();
    void paintsHugeNumbers_data();
    void paintsHugeNumbers();
    void stepsForwardUnderThePointer();

private:
    QChart* make(const QByteArray& series, const QByteArray& colourText = QByteArrayLiteral("{}"))
    {
        return make(object(series), object(colourText));
    }
    /// Lives until the end of the test function.
    QChart* make(const QJsonObject& series, const QJsonObject& colourObject = {})
    {
        chart.reset(view->makeChart(series, colourObject));
        return chart.get();
    }

    std::unique_ptr<MessageGuard> guard;
    RecipeFixtures::KeysWithPlaces translator;
    std::unique_ptr<LoopbackServer> server;
    std::unique_ptr<ViewComparativeAnalysis> view;
    std::unique_ptr<QChart> chart;
};

void TestMakeChart::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    QCoreApplication::installTranslator(&translator);
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
    server->setFallback(LoopbackServer::Answer());
    Patient patient = RecipeFixtures::patient();
    QList<Record> records;
    view = std::make_unique<ViewComparativeAnalysis>(nullptr, &patient, &records);
    QTRY_COMPARE(view->findChildren<QChartView*>().size(), 4);
    guard->verify();
    guard->clear();
}

void TestMakeChart::cleanup()
{
    chart.reset();
    guard->verify();
    for (const QString& message : guard->messages()) {
        QVERIFY2(!message.contains(QLatin1String("invalid range")), qPrintable(message));
    }
    guard->clear();
}

void TestMakeChart::cleanupTestCase()
{
    view.reset();
    server.reset();
}

void TestMakeChart::belongsToNobody()
{
    make(R"({"a": [1, 2]})");
    QVERIFY(chart->parent() == nullptr);
    QVERIFY(chart->parentItem() == nullptr);
    QVERIFY(chart->scene() == nullptr);
    QCOMPARE(chart->title(), QString());
}

void TestMakeChart::takesItsPartsAlong_data()
{
    QTest::addColumn<bool>("inAView");
    QTest::newRow("alone") << false;
    QTest::newRow("in a view") << true;
}

void TestMakeChart::takesItsPartsAlong()
{
    QFETCH(bool, inAView);
    make(R"({"a": [1, 2], "b": [3]})", R"({"b": [1, 2, 3]})");
    QList<QPointer<QObject>> parts{chart.get()};
    const QList<QAbstractSeries*> series = chart->series();
    QCOMPARE(series.size(), 2);
    for (QAbstractSeries* const one : series) {
        QCOMPARE(one->chart(), chart.get());
        parts.append(one);
    }
    const QList<QAbstractAxis*> axes = chart->axes();
    QCOMPARE(axes.size(), 2);
    for (QAbstractAxis* const one : axes) {
        parts.append(one);
    }
    if (inAView) {
        delete new QChartView(chart.release());
    } else {
        chart.reset();
    }
    for (const QPointer<QObject>& part : qAsConst(parts)) {
        QVERIFY(part == nullptr);
    }
}

void TestMakeChart::legendAndMargins_data()
{
    QTest::addColumn<QByteArray>("series");
    QTest::newRow("no series") << QByteArray("{}");
    QTest::newRow("one") << QByteArray(R"({"a": [1, 2]})");
    QTest::newRow("more") << QByteArray(R"({"a": [1, 2], "b": [], "c": [7]})");
}

void TestMakeChart::legendAndMargins()
{
    QFETCH(QByteArray, series);
    make(series);
    QCOMPARE(chart->legend()->alignment(), Qt::Alignment(Qt::AlignRight));
    QVERIFY(chart->legend()->isVisible());
    double left = 1;
    double top = 1;
    double right = 1;
    double bottom = 1;
    chart->layout()->getContentsMargins(&left, &top, &right, &bottom);
    QCOMPARE(QRectF(left, top, right, bottom), QRectF(0, 0, 0, 0));
}

void TestMakeChart::kindsOfSeries_data()
{
    QTest::addColumn<QByteArray>("series");
    QTest::addColumn<QByteArray>("colourText");
    /// In the order of the chart; smooth ones with a star.
    QTest::addColumn<QStringList>("expected");
    const auto list = [](const char* text) { return QString::fromUtf8(text).split(QLatin1Char('|')); };
    QTest::newRow("plain") << QByteArray(R"({"a": [1]})") << QByteArray("{}") << list("a");
    QTest::newRow("smooth") << QByteArray(R"({"a": [1]})") << QByteArray(R"({"a": [1, 2, 3]})") << list("a*");
    QTest::newRow("both") << QByteArray(R"({"a": [1], "b": [2], "c": [3]})") << QByteArray(R"({"b": [1, 2, 3]})")
                          << list("a|b*|c");
    QTest::newRow("colour without a series")
        << QByteArray(R"({"a": [1]})") << QByteArray(R"({"z": [1, 2, 3]})") << list("a");
    QTest::newRow("colour of another case")
        << QByteArray(R"({"a": [1]})") << QByteArray(R"({"A": [1, 2, 3]})") << list("a");
    QTest::newRow("odd colour is smooth too")
        << QByteArray(R"({"a": [1]})") << QByteArray(R"({"a": null})") << list("a*");
    QTest::newRow("order of the keys") << QByteArray(R"({"b": [1], "a": [1], "C": [1], "10": [1], "9": [1]})")
                                       << QByteArray("{}") << list("10|9|C|a|b");
    QTest::newRow("long and foreign names")
        << QByteArray("{\"\xd0\x9b\xd1\x8f & <b>\": [1], \"2024-05-06 07:08:09\": [1], \"\": [1]}") << QByteArray("{}")
        << list("|2024-05-06 07:08:09|\xd0\x9b\xd1\x8f & <b>");
}

void TestMakeChart::kindsOfSeries()
{
    QFETCH(QByteArray, series);
    QFETCH(QByteArray, colourText);
    QFETCH(QStringList, expected);
    make(series, colourText);
    QStringList found;
    const QList<QAbstractSeries*> all = chart->series();
    for (const QAbstractSeries* const one : all) {
        const bool smooth = one->type() == QAbstractSeries::SeriesTypeSpline;
        QVERIFY(smooth || one->type() == QAbstractSeries::SeriesTypeLine);
        QCOMPARE(qobject_cast<const QSplineSeries*>(one) != nullptr, smooth);
        found.append(one->name() + (smooth ? QStringLiteral("*") : QString()));
    }
    QCOMPARE(found, expected);
    QCOMPARE(chart->legend()->markers().size(), expected.size());
}

void TestMakeChart::colours_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QColor>("expected");
    const QColor red(255, 0, 0);
    QTest::newRow("red, green, blue") << QByteArray("[10, 20, 30]") << QColor(10, 20, 30);
    QTest::newRow("lowest") << QByteArray("[0, 0, 0]") << QColor(0, 0, 0);
    QTest::newRow("highest") << QByteArray("[255, 255, 255]") << QColor(255, 255, 255);
    QTest::newRow("red too high") << QByteArray("[256, 20, 30]") << QColor();
    QTest::newRow("green too high") << QByteArray("[10, 256, 30]") << QColor();
    QTest::newRow("blue too high") << QByteArray("[10, 20, 256]") << QColor();
    QTest::newRow("below 0") << QByteArray("[-1, 20, 30]") << QColor();
    QTest::newRow("two numbers") << QByteArray("[10, 20]") << red;
    QTest::newRow("four numbers") << QByteArray("[10, 20, 30, 40]") << red;
    QTest::newRow("no numbers") << QByteArray("[]") << red;
    QTest::newRow("text") << QByteArray(R"("#0a141e")") << red;
    QTest::newRow("number") << QByteArray("7") << red;
    QTest::newRow("null") << QByteArray("null") << red;
    QTest::newRow("flag") << QByteArray("true") << red;
    QTest::newRow("object") << QByteArray(R"({"r": 10, "g": 20, "b": 30})") << red;
    QTest::newRow("texts in the array") << QByteArray(R"(["10", "20", "30"])") << QColor(0, 0, 0);
    QTest::newRow("nulls in the array") << QByteArray("[null, 20, null]") << QColor(0, 20, 0);
    QTest::newRow("huge numbers") << QByteArray("[1e308, 20, 30]") << QColor(0, 20, 30);
}

void TestMakeChart::colours()
{
    QFETCH(QByteArray, value);
    QFETCH(QColor, expected);
    make(R"({"a": [1, 2], "b": [1, 2]})", "{\"a\": " + value + ", \"b\": [1, 2, 3]}");
    if (expected.isValid()) {
        QCOMPARE(pen(chart.get()).color(), expected);
    } else {
        QVERIFY(!pen(chart.get()).color().isValid());
    }
    QCOMPARE(pen(chart.get()).width(), 3);
    // The other one is none the worse for it.
    QCOMPARE(pen(chart.get(), 1).color(), QColor(1, 2, 3));
    QCOMPARE(pen(chart.get(), 1).width(), 3);
    QVERIFY(qobject_cast<QSplineSeries*>(chart->series().first()) != nullptr);
}

void TestMakeChart::plainPens()
{
    const QByteArray text(R"({"a": [1], "b": [2], "c": [3], "d": [4], "e": [5], "f": [6], "g": [7]})");
    make(text, R"({"c": [1, 2, 3]})");
    // What Qt makes of series with their default pens under the chart's theme.
    QChart reference;
    reference.setTheme(chart->theme());
    for (int i = 0; i < 7; ++i) {
        reference.addSeries(i == 2 ? new QSplineSeries(&reference) : new QLineSeries(&reference));
    }
    for (int i = 0; i < 7; ++i) {
        if (i == 2) {
            QCOMPARE(pen(chart.get(), i).width(), 3);
        } else {
            QCOMPARE(pen(chart.get(), i), pen(&reference, i));
            QVERIFY(pen(chart.get(), i).width() != 3);
        }
    }
    QVERIFY(pen(chart.get(), 0).color() != pen(chart.get(), 1).color());
}

void TestMakeChart::pointsStartAtOne()
{
    make(R"({"a": [5, -3, 0.5], "b": [7]})");
    QCOMPARE(points(chart.get()), (QList<QPointF>{{1, 5}, {2, -3}, {3, 0.5}}));
    QCOMPARE(points(chart.get(), 1), (QList<QPointF>{{1, 7}}));
}

void TestMakeChart::elements_data()
{
    QTest::addColumn<QByteArray>("element");
    QTest::addColumn<double>("value");
    QTest::newRow("whole") << QByteArray("12") << 12.0;
    QTest::newRow("fraction") << QByteArray("12.75") << 12.75;
    QTest::newRow("negative") << QByteArray("-12.75") << -12.75;
    QTest::newRow("small") << QByteArray("1e-308") << 1e-308;
    QTest::newRow("large") << QByteArray("1e308") << 1e308;
    QTest::newRow("text") << QByteArray(R"("12")") << 0.0;
    QTest::newRow("null") << QByteArray("null") << 0.0;
    QTest::newRow("true") << QByteArray("true") << 0.0;
    QTest::newRow("false") << QByteArray("false") << 0.0;
    QTest::newRow("array") << QByteArray("[12]") << 0.0;
    QTest::newRow("object") << QByteArray(R"({"a": 12})") << 0.0;
}

void TestMakeChart::elements()
{
    QFETCH(QByteArray, element);
    QFETCH(double, value);
    make("{\"a\": [4, " + element + ", 6]}");
    QCOMPARE(points(chart.get()), (QList<QPointF>{{1, 4}, {2, value}, {3, 6}}));
    QCOMPARE(axis(chart.get(), Qt::Vertical)->min(), qMin(value, 0.0));
    QCOMPARE(axis(chart.get(), Qt::Vertical)->max(), qMax(value, 6.0));
}

void TestMakeChart::oddSeries_data()
{
    QTest::addColumn<QByteArray>("value");
    for (const char* value : {"null", "7", "\"12\"", "true", "{}", "{\"a\": [1, 2]}", "[]"}) {
        QTest::newRow(value) << QByteArray(value);
    }
}

void TestMakeChart::oddSeries()
{
    QFETCH(QByteArray, value);
    make("{\"a\": " + value + ", \"b\": [3, 4, 5]}");
    QCOMPARE(chart->series().size(), 2);
    QCOMPARE(chart->series().first()->name(), QStringLiteral("a"));
    QVERIFY(points(chart.get()).isEmpty());
    QCOMPARE(points(chart.get(), 1).size(), 3);
    QCOMPARE(axis(chart.get(), Qt::Horizontal)->max(), 3.0);
    QCOMPARE(axis(chart.get(), Qt::Vertical)->max(), 5.0);
}

void TestMakeChart::rangeOfValues_data()
{
    QTest::addColumn<QByteArray>("series");
    QTest::addColumn<QByteArray>("colourText");
    QTest::addColumn<double>("minimum");
    QTest::addColumn<double>("maximum");
    const QByteArray none("{}");
    const QByteArray smoothA(R"({"a": [1, 2, 3]})");
    QTest::newRow("positive") << QByteArray(R"({"a": [40, 50]})") << none << 0.0 << 50.0;
    QTest::newRow("negative") << QByteArray(R"({"a": [-40, -50]})") << none << -50.0 << 0.0;
    QTest::newRow("both") << QByteArray(R"({"a": [-40, 50]})") << none << -40.0 << 50.0;
    QTest::newRow("zeros") << QByteArray(R"({"a": [0, 0]})") << none << 0.0 << 0.0;
    QTest::newRow("fractions") << QByteArray(R"({"a": [-0.25, 0.5]})") << none << -0.25 << 0.5;
    QTest::newRow("over all series") << QByteArray(R"({"a": [1, 90], "b": [-70, 2], "c": [3, 4]})") << none << -70.0
                                     << 90.0;
    QTest::newRow("beyond the count") << QByteArray(R"({"a": [1, 2, 90], "b": [1, 2]})") << none << 0.0 << 90.0;
    QTest::newRow("falling") << QByteArray(R"({"a": [30, 20, 10, -10, -20]})") << none << -20.0 << 30.0;
    QTest::newRow("smooth positive") << QByteArray(R"({"a": [40, 100]})") << smoothA << 0.0 << 103.0;
    QTest::newRow("smooth negative") << QByteArray(R"({"a": [-40, -100]})") << smoothA << -103.0 << 0.0;
    QTest::newRow("smooth both") << QByteArray(R"({"a": [-200, 100]})") << smoothA << -206.0 << 103.0;
    QTest::newRow("one of them smooth") << QByteArray(R"({"a": [1, 2], "b": [-200, 100]})") << smoothA << -206.0
                                        << 103.0;
    QTest::newRow("smooth and empty") << QByteArray(R"({"a": [], "b": [-200, 100]})") << smoothA << -206.0 << 103.0;
    QTest::newRow("colour without a series") << QByteArray(R"({"b": [-200, 100]})") << smoothA << -200.0 << 100.0;
}

void TestMakeChart::rangeOfValues()
{
    QFETCH(QByteArray, series);
    QFETCH(QByteArray, colourText);
    QFETCH(double, minimum);
    QFETCH(double, maximum);
    make(series, colourText);
    QCOMPARE(axis(chart.get(), Qt::Vertical)->min(), minimum);
    QCOMPARE(axis(chart.get(), Qt::Vertical)->max(), maximum);
    QCOMPARE(axis(chart.get(), Qt::Vertical)->labelFormat(), QStringLiteral("%.1i"));
}

void TestMakeChart::marginHasNoInfiniteEnd()
{
    make(R"({"a": [1.79e308, -1.79e308]})", R"({"a": [1, 2, 3]})");
    QCOMPARE(axis(chart.get(), Qt::Vertical)->min(), std::numeric_limits<double>::lowest());
    QCOMPARE(axis(chart.get(), Qt::Vertical)->max(), std::numeric_limits<double>::max());
}

void TestMakeChart::countOfTheLastSeries_data()
{
    QTest::addColumn<QByteArray>("series");
    QTest::addColumn<int>("count");
    QTest::newRow("one series") << QByteArray(R"({"a": [1, 2, 3]})") << 3;
    QTest::newRow("two points") << QByteArray(R"({"a": [1, 2]})") << 2;
    QTest::newRow("last is shorter") << QByteArray(R"({"a": [1, 2, 3, 4], "b": [1, 2]})") << 2;
    QTest::newRow("last is longer") << QByteArray(R"({"a": [1, 2], "b": [1, 2, 3, 4]})") << 4;
    QTest::newRow("last by key, not by place") << QByteArray(R"({"b": [1, 2], "a": [1, 2, 3, 4]})") << 2;
    QTest::newRow("capitals come first") << QByteArray(R"({"a": [1, 2], "B": [1, 2, 3, 4]})") << 2;
    QTest::newRow("empty one before") << QByteArray(R"({"a": [], "b": [1, 2, 3]})") << 3;
}

void TestMakeChart::countOfTheLastSeries()
{
    QFETCH(QByteArray, series);
    QFETCH(int, count);
    make(series);
    const QValueAxis* const x = axis(chart.get(), Qt::Horizontal);
    QCOMPARE(x->min(), 1.0);
    QCOMPARE(x->max(), double(count));
    QCOMPARE(x->tickCount(), count);
    QCOMPARE(x->labelFormat(), QStringLiteral("%.1i"));
    QCOMPARE(x->tickType(), QValueAxis::TicksFixed);
}

void TestMakeChart::whatQtRefuses_data()
{
    QTest::addColumn<QByteArray>("series");
    QTest::addColumn<int>("count");
    QTest::newRow("last is empty") << QByteArray(R"({"a": [1, 2, 3], "b": []})") << 0;
    QTest::newRow("last is no array") << QByteArray(R"({"a": [1, 2, 3], "b": 7})") << 0;
    QTest::newRow("only an empty one") << QByteArray(R"({"a": []})") << 0;
    QTest::newRow("one point") << QByteArray(R"({"a": [5]})") << 1;
}

void TestMakeChart::whatQtRefuses()
{
    QFETCH(QByteArray, series);
    QFETCH(int, count);
    make(series);

    // The same on a bare chart: a backward range and a tick count below 2 leave what Qt chose.
    QChart reference;
    for (int i = 0; i < chart->series().size(); ++i) {
        auto* const line = new QLineSeries(&reference);
        line->append(points(chart.get(), i));
        reference.addSeries(line);
    }
    reference.createDefaultAxes();
    QValueAxis* const expected = axis(&reference, Qt::Horizontal);
    expected->setRange(1.0, count);
    expected->setTickCount(count);

    const QValueAxis* const x = axis(chart.get(), Qt::Horizontal);
    QCOMPARE(x->min(), expected->min());
    QCOMPARE(x->max(), expected->max());
    QCOMPARE(x->tickCount(), expected->tickCount());
    QVERIFY(x->tickCount() >= 2);
    QCOMPARE(x->labelFormat(), QStringLiteral("%.1i"));
}

void TestMakeChart::axesInOrder()
{
    make(R"({"a": [1, 2], "b": [3, 4]})");
    const QList<QAbstractAxis*> axes = chart->axes(Qt::Horizontal | Qt::Vertical);
    QCOMPARE(axes.size(), 2);
    QCOMPARE(axes.first()->orientation(), Qt::Horizontal);
    QCOMPARE(axes.last()->orientation(), Qt::Vertical);
    // All series hang on the same two.
    const QList<QAbstractSeries*> series = chart->series();
    for (QAbstractSeries* const one : series) {
        QCOMPARE(one->attachedAxes(), axes);
    }
}

void TestMakeChart::noSeriesNoAxes_data()
{
    QTest::addColumn<QByteArray>("colourText");
    QTest::newRow("nothing") << QByteArray("{}");
    QTest::newRow("colours alone") << QByteArray(R"({"a": [1, 2, 3], "b": 7})");
}

void TestMakeChart::noSeriesNoAxes()
{
    QFETCH(QByteArray, colourText);
    make("{}", colourText);
    QVERIFY(chart->series().isEmpty());
    QVERIFY(chart->axes().isEmpty());
    QVERIFY(chart->legend()->markers().isEmpty());
}

void TestMakeChart::numbersOfACrowdedAxis_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<double>("interval");
    QTest::newRow("3") << 3 << 0.0;
    QTest::newRow("15") << 15 << 0.0;
    QTest::newRow("16") << 16 << 2.0;
    QTest::newRow("20") << 20 << 2.0;
    QTest::newRow("21") << 21 << 5.0;
    QTest::newRow("30") << 30 << 5.0;
    QTest::newRow("100") << 100 << 10.0;
    QTest::newRow("101") << 101 << 20.0;
    QTest::newRow("10,000") << 10000 << 1000.0;
}

void TestMakeChart::numbersOfACrowdedAxis()
{
    QFETCH(int, count);
    QFETCH(double, interval);
    make(oneSeries(count));
    const QValueAxis* const x = axis(chart.get(), Qt::Horizontal);
    QCOMPARE(x->tickCount(), count);
    QCOMPARE(x->min(), 1.0);
    QCOMPARE(x->max(), double(count));
    QCOMPARE(x->tickType(), interval > 0.0 ? QValueAxis::TicksDynamic : QValueAxis::TicksFixed);
    if (interval > 0.0) {
        QCOMPARE(x->tickInterval(), interval);
        QCOMPARE(x->tickAnchor(), 0.0);
    }
    QCOMPARE(axis(chart.get(), Qt::Vertical)->tickType(), QValueAxis::TicksFixed);
}

void TestMakeChart::paints_data()
{
    QTest::addColumn<QJsonObject>("series");
    QTest::addColumn<bool>("smooth");
    QTest::newRow("three points") << oneSeries(3) << false;
    QTest::newRow("three points, smooth") << oneSeries(3) << true;
    QTest::newRow("10,000 points") << oneSeries(10000) << false;
    QTest::newRow("10,000 points, smooth") << oneSeries(10000) << true;
    QJsonObject many;
    for (int i = 0; i < 200; ++i) {
        many.insert(QStringLiteral("Series %1").arg(i, 3), oneSeries(30 + i).value(QStringLiteral("a")));
    }
    many.insert(QStringLiteral("a"), oneSeries(30).value(QStringLiteral("a")));
    QTest::newRow("200 series") << many << false;
    QTest::newRow("200 series, one smooth") << many << true;
    QTest::newRow("a name without end") << QJsonObject{{QStringLiteral("a"), QJsonArray{1, 3, 2}},
                                                       {QString(10000, QLatin1Char('w')), QJsonArray{2, 2}}}
                                        << false;
}

void TestMakeChart::paints()
{
    QFETCH(QJsonObject, series);
    QFETCH(bool, smooth);
    make(series, smooth ? object(R"({"a": [200, 0, 200]})") : QJsonObject());
    const QList<QAbstractSeries*> all = chart->series();
    QCOMPARE(all.size(), series.size());
    QColor colour;
    for (int i = 0; i < all.size(); ++i) {
        if (all.at(i)->name() == QLatin1String("a")) {
            colour = pen(chart.get(), i).color();
        }
    }
    if (smooth) {
        QCOMPARE(colour, QColor(200, 0, 200));
    }
    QChartView window(chart.release());
    view->adjustChartView(&window);
    window.resize(760, 250);
    window.show();
    const QImage image = window.grab().toImage();
    QVERIFY2(pixelsOf(image, colour) > 200, qPrintable(QString::number(pixelsOf(image, colour))));
    QVERIFY(window.chart()->plotArea().width() > 200);
    QVERIFY(window.chart()->plotArea().height() > 150);
}

void TestMakeChart::paintsHugeNumbers_data()
{
    QTest::addColumn<QByteArray>("series");
    QTest::newRow("huge") << QByteArray(R"({"a": [1e308, 5, 1e308], "b": [1, 2, 3]})");
    QTest::newRow("both ends") << QByteArray(R"({"a": [-1e308, 1e308, 0], "b": [1, 2, 3]})");
    QTest::newRow("the very ends") << QByteArray(R"({"a": [-1.79e308, 1.79e308], "b": [1e308, 1]})");
    QTest::newRow("tiny") << QByteArray(R"({"a": [1e-308, 5e-324, 0], "b": [0, 0, 1e-308]})");
    QTest::newRow("one point") << QByteArray(R"({"a": [5]})");
    QTest::newRow("zeros") << QByteArray(R"({"a": [0, 0, 0]})");
    QTest::newRow("no points") << QByteArray(R"({"a": [], "b": []})");
    QTest::newRow("no series") << QByteArray("{}");
}

void TestMakeChart::paintsHugeNumbers()
{
    QFETCH(QByteArray, series);
    for (const char* const colourText : {"{}", R"({"a": [200, 0, 200]})"}) {
        const int count = make(series, colourText)->series().size();
        QChartView window(chart.release());
        view->adjustChartView(&window);
        window.resize(760, 250);
        window.show();
        const QImage image = window.grab().toImage();
        // The legend's dash at least, and the ground.
        QVERIFY(pixelsOf(image, QColor(0xf7, 0xf9, 0xfc)) > 10000);
        if (count > 0) {
            QVERIFY(pixelsOf(image, pen(window.chart()).color()) > 5);
        }
    }
}

void TestMakeChart::stepsForwardUnderThePointer()
{
    make(R"({"a": [10, 10, 10], "b <i>& more": [5, 5, 5], "c": [0, 10, 0]})", R"({"c": [200, 0, 200]})");
    QChartView window(chart.release());
    view->adjustChartView(&window);
    window.resize(760, 250);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QList<QAbstractSeries*> series = window.chart()->series();
    const auto opacities = [&series] {
        QList<double> list;
        for (const QAbstractSeries* const one : series) {
            list.append(one->opacity() < 1.0 ? 0.0 : 1.0);
        }
        return list;
    };
    const auto tip = []() -> QWidget* {
        const QWidgetList all = QApplication::topLevelWidgets();
        for (QWidget* const one : all) {
            if (one->inherits("QTipLabel") && one->isVisible()) {
                return one;
            }
        }
        return nullptr;
    };
    const QList<double> all{1.0, 1.0, 1.0};
    const auto moveTo = [&window](double x, double y) {
        const QPointF at = window.chart()->mapToPosition({x, y});
        QTest::mouseMove(window.viewport(), window.mapFromScene(window.chart()->mapToScene(at)));
    };
    QCOMPARE(opacities(), all);

    moveTo(1.5, 5);
    QTRY_COMPARE(opacities(), (QList<double>{0.0, 1.0, 0.0}));
    // The name is a name, whatever it looks like.
    QVERIFY2(QToolTip::text().contains(QStringLiteral(">b &lt;i&gt;&amp; more<")), qPrintable(QToolTip::text()));
    QTRY_VERIFY(tip() != nullptr);
    // The view's own ground is transparent, which a tip would take over.
    QVERIFY(tip()->styleSheet().isEmpty());
    QVERIFY(tip()->property("_q_stylesheet_parent").isNull());
    // What Qt sends when the pointer rests does not take it down.
    const QPoint resting = window.viewport()->rect().center();
    QHelpEvent rest(QEvent::ToolTip, resting, window.viewport()->mapToGlobal(resting));
    QCoreApplication::sendEvent(window.viewport(), &rest);
    QVERIFY(QToolTip::isVisible());
    QTest::qWait(400);
    QVERIFY(QToolTip::isVisible());
    moveTo(2, 10);
    QTRY_COMPARE(opacities().at(1), 0.0);
    moveTo(2.5, 1);
    QTRY_COMPARE(opacities(), all);
    QTRY_VERIFY(tip() == nullptr);

    // In the legend it is the same.
    QLegendMarker* const marker = window.chart()->legend()->markers(series.at(2)).first();
    emit marker->hovered(true);
    QCOMPARE(opacities(), (QList<double>{0.0, 0.0, 1.0}));
    QVERIFY(QToolTip::text().contains(QStringLiteral(">c<")));
    emit marker->hovered(false);
    QCOMPARE(opacities(), all);
    QTRY_VERIFY(tip() == nullptr);
}

QTEST_MAIN(TestMakeChart)

#include "TestMakeChart.moc"
