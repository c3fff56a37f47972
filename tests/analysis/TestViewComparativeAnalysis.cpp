// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/ViewComparativeAnalysis.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "tests/recipe/RecipeFixtures.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QGroupBox>
#include <QImage>
#include <QJsonDocument>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QSplineSeries>
#include <QtCharts/QValueAxis>

#include <memory>

using namespace QtCharts;
using namespace RecipeFixtures;

namespace {

const QByteArray target = QByteArrayLiteral("/analysis/comparative");

QString text(const char* latin1)
{
    return QString::fromLatin1(latin1);
}

/// One series in each chart, named for it.
QByteArray comparison()
{
    return R"({"graph1": {"one": [1, 2, 3]}, "graph2": {"two": [4, 5]}, "summary": {"three": [100, 50], "trend": [9, 8]},
               "smooth": {"trend": [10, 20, 30], "one": [1, 1, 1], "four": [1, 1, 1]}, "complaints": {"four": [100]}})";
}

} // namespace

class TestViewComparativeAnalysis : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void hasItsWidgets();
    void namesThePatient();
    void startsWaiting();
    void asksForTheRecords_data();
    void asksForTheRecords();
    void keepsCopies();
    void showsFourCharts();
    void smoothIsForTheSummary();
    void layoutOfTheCharts();
    void takesPartOfTheWidth_data();
    void takesPartOfTheWidth();
    void adjustsAView();
    void longLegends_data();
    void longLegends();
    void secondReply();
    void deletesCharts();
    void scrolls();
    void leavesByButtons_data();
    void leavesByButtons();
    void leavesBySlots();
    void showsErrors();
    void requestFails_data();
    void requestFails();
    void oddReplies_data();
    void oddReplies();
    void largeReply();
    void goesWhileTheRequestRuns();

private:
    void open(const QStringList& ids = {QStringLiteral("r1"), QStringLiteral("r2")});
    void load(const QByteArray& reply = comparison());
    void waitForReply();
    void click(const char* button) { QTest::mouseClick(child<QPushButton>(button), Qt::LeftButton); }
    template <typename T> T* child(const char* name) const
    {
        T* const found = view->findChild<T*>(text(name));
        if (found == nullptr) {
            qFatal("No child %s", name);
        }
        return found;
    }
    QWidget* container() const { return child<QWidget>("chartsContainer"); }
    /// From top to bottom.
    QList<QChartView*> views() const;
    QStringList seriesOf(int index) const;

    KeysWithPlaces translator;
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
    std::unique_ptr<ViewComparativeAnalysis> view;
};

void TestViewComparativeAnalysis::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    QCoreApplication::installTranslator(&translator);
}

void TestViewComparativeAnalysis::init()
{
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
}

void TestViewComparativeAnalysis::cleanup()
{
    view.reset();
    Http::instance().setReadTimeout(180000);
    QCOMPARE(server->pending(), 0);
    server.reset();
    guard->verify();
}

void TestViewComparativeAnalysis::open(const QStringList& ids)
{
    Patient patient = RecipeFixtures::patient();
    QList<Record> records;
    for (const QString& id : ids) {
        records.append(Record(QJsonObject{{text("id"), id}, {text("patientId"), text("p1")}}));
    }
    view = std::make_unique<ViewComparativeAnalysis>(nullptr, &patient, &records);
    view->resize(1280, 800);
    view->show();
}

void TestViewComparativeAnalysis::load(const QByteArray& reply)
{
    server->expect("POST", target, reply);
    open();
    waitForReply();
}

void TestViewComparativeAnalysis::waitForReply()
{
    QVERIFY(view->findChild<LoadingWindow*>() != nullptr);
    QTRY_VERIFY(view->findChild<LoadingWindow*>() == nullptr);
    // The layout that the reply brought has been applied.
    QCoreApplication::processEvents();
}

QList<QChartView*> TestViewComparativeAnalysis::views() const
{
    QList<QChartView*> list;
    QLayout* const layout = container()->layout();
    for (int i = 0; layout != nullptr && i < layout->count(); ++i) {
        list.append(qobject_cast<QChartView*>(layout->itemAt(i)->widget()));
    }
    return list;
}

QStringList TestViewComparativeAnalysis::seriesOf(int index) const
{
    QStringList names;
    const QList<QAbstractSeries*> all = views().at(index)->chart()->series();
    for (const QAbstractSeries* const one : all) {
        names.append(one->name());
    }
    return names;
}

void TestViewComparativeAnalysis::hasItsWidgets()
{
    load();
    QCOMPARE(view->objectName(), text("ViewComparativeAnalysis"));
    auto* const grid = qobject_cast<QGridLayout*>(view->layout());
    QVERIFY(grid != nullptr);
    QCOMPARE(grid->objectName(), text("gridLayout"));

    auto* const title = qobject_cast<QHBoxLayout*>(grid->itemAtPosition(0, 0)->layout());
    QVERIFY(title != nullptr);
    QCOMPARE(title->objectName(), text("horizontalLayout"));
    QCOMPARE(title->itemAt(0)->widget(), child<QWidget>("labelTitle"));
    QCOMPARE(title->itemAt(1)->widget(), child<QWidget>("labelPatientName"));
    QCOMPARE(child<QLabel>("labelTitle")->text(), text("Title.comparativeAnalysis"));

    auto* const crumbs = child<QGroupBox>("breadCrumbs");
    QCOMPARE(grid->itemAtPosition(1, 0)->widget(), crumbs);
    QCOMPARE(crumbs->minimumHeight(), 32);
    auto* const trail = qobject_cast<QHBoxLayout*>(crumbs->layout());
    QVERIFY(trail != nullptr);
    QCOMPARE(trail->objectName(), text("horizontalLayout_2"));
    QCOMPARE(trail->spacing(), 0);
    QCOMPARE(trail->itemAt(0)->widget(), child<QWidget>("buttonListPatients"));
    QCOMPARE(trail->itemAt(1)->widget(), child<QWidget>("label"));
    QCOMPARE(trail->itemAt(2)->widget(), child<QWidget>("buttonBack"));
    QCOMPARE(child<QPushButton>("buttonListPatients")->text(), text("Text.listOfPatients"));
    QCOMPARE(child<QPushButton>("buttonListPatients")->minimumHeight(), 30);
    QCOMPARE(child<QPushButton>("buttonBack")->minimumHeight(), 30);
    QCOMPARE(child<QLabel>("label")->minimumSize(), QSize(20, 20));
    QCOMPARE(child<QLabel>("label")->maximumSize(), QSize(20, 20));
    QCOMPARE(child<QLabel>("label")->pixmap(Qt::ReturnByValue).toImage(),
             QPixmap(text(":/images/separator.png")).toImage());

    auto* const area = child<QScrollArea>("scrollArea");
    QCOMPARE(grid->itemAtPosition(2, 0)->widget(), area);
    QVERIFY(area->widgetResizable());
    QCOMPARE(area->widget(), container());
}

void TestViewComparativeAnalysis::namesThePatient()
{
    load();
    QCOMPARE(child<QPushButton>("buttonBack")->text(), text("Text.patientCard Ada Byron"));
    QCOMPARE(child<QLabel>("labelPatientName")->text(), text("(Ada Byron)"));
    // A name is no markup.
    QCOMPARE(child<QLabel>("labelPatientName")->textFormat(), Qt::PlainText);
}

void TestViewComparativeAnalysis::startsWaiting()
{
    LoopbackServer::Answer stalled;
    stalled.kind = LoopbackServer::Answer::Stall;
    stalled.body = comparison();
    server->expect("POST", target, stalled);
    open();
    QTRY_COMPARE(server->pending(), 0);
    QVERIFY(view->findChild<LoadingWindow*>() != nullptr);
    QVERIFY(view->findChildren<QChartView*>().isEmpty());
    QVERIFY(container()->layout() == nullptr);
    server->release();
    QTRY_COMPARE(view->findChildren<QChartView*>().size(), 4);
    QCOMPARE(server->requests().size(), 1);
}

void TestViewComparativeAnalysis::asksForTheRecords_data()
{
    QTest::addColumn<QStringList>("ids");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("two") << QStringList{text("r1"), text("r2")}
                         << QByteArray("{\n    \"patientId\": \"p1\",\n    \"records\": [\n        \"r1\",\n        "
                                       "\"r2\"\n    ]\n}\n");
    QTest::newRow("order of the list")
        << QStringList{text("z"), text("a"), text("m")}
        << QByteArray("{\n    \"patientId\": \"p1\",\n    \"records\": [\n        \"z\",\n        \"a\",\n        "
                      "\"m\"\n    ]\n}\n");
    QTest::newRow("none") << QStringList{}
                          << QByteArray("{\n    \"patientId\": \"p1\",\n    \"records\": [\n    ]\n}\n");
}

void TestViewComparativeAnalysis::asksForTheRecords()
{
    QFETCH(QStringList, ids);
    QFETCH(QByteArray, body);
    server->expect("POST", target, comparison());
    open(ids);
    waitForReply();
    QCOMPARE(server->requests().size(), 1);
    QCOMPARE(server->last().body, body);
    QCOMPARE(server->last().headers.value("content-type"), QByteArray("application/json"));
}

void TestViewComparativeAnalysis::keepsCopies()
{
    server->expect("POST", target, comparison());
    {
        Patient patient = RecipeFixtures::patient();
        QList<Record> records{RecipeFixtures::record()};
        view = std::make_unique<ViewComparativeAnalysis>(nullptr, &patient, &records);
        patient.setName(text("Someone else"));
        records.clear();
    }
    view->show();
    waitForReply();
    QVERIFY(server->last().body.contains("\"r1\""));
    QCOMPARE(child<QLabel>("labelPatientName")->text(), text("(Ada Byron)"));
    QCOMPARE(views().size(), 4);
}

void TestViewComparativeAnalysis::showsFourCharts()
{
    load();
    QCOMPARE(views().size(), 4);
    QCOMPARE(seriesOf(0), QStringList{text("one")});
    QCOMPARE(seriesOf(1), QStringList{text("two")});
    QCOMPARE(seriesOf(2), (QStringList{text("three"), text("trend")}));
    QCOMPARE(seriesOf(3), QStringList{text("four")});
    for (int i = 0; i < 4; ++i) {
        QVERIFY(views().at(i)->isVisible());
        QVERIFY(i == 0 || views().at(i)->y() > views().at(i - 1)->y());
    }
    QCOMPARE(view->findChildren<QChartView*>().size(), 4);
}

void TestViewComparativeAnalysis::smoothIsForTheSummary()
{
    load();
    for (int i = 0; i < 4; ++i) {
        const QList<QAbstractSeries*> all = views().at(i)->chart()->series();
        for (QAbstractSeries* const one : all) {
            auto* const spline = qobject_cast<QSplineSeries*>(one);
            QCOMPARE(spline != nullptr, one->name() == text("trend"));
            if (spline != nullptr) {
                QCOMPARE(spline->pen().color(), QColor(10, 20, 30));
            }
        }
    }
    // Only where a series is smooth is there a margin.
    const auto top = [this](int index) {
        return static_cast<QValueAxis*>(views().at(index)->chart()->axes(Qt::Vertical).first())->max();
    };
    QCOMPARE(top(0), 3.0);
    QCOMPARE(top(2), 103.0);
    QCOMPARE(top(3), 100.0);
}

void TestViewComparativeAnalysis::layoutOfTheCharts()
{
    load();
    auto* const layout = qobject_cast<QVBoxLayout*>(container()->layout());
    QVERIFY(layout != nullptr);
    QCOMPARE(layout->count(), 4);
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(layout->stretch(i), 1);
        QCOMPARE(views().at(i)->minimumHeight(), 250);
        QCOMPARE(views().at(i)->height(), views().at(0)->height());
    }
    // In the middle of the screen.
    const QRect area = child<QScrollArea>("scrollArea")->viewport()->rect();
    QVERIFY(qAbs(container()->geometry().center().x() - area.center().x()) <= 1);
}

void TestViewComparativeAnalysis::takesPartOfTheWidth_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("1280 x 800") << QSize(1280, 800);
    QTest::newRow("1920 x 1080") << QSize(1920, 1080);
    QTest::newRow("odd") << QSize(1003, 700);
}

void TestViewComparativeAnalysis::takesPartOfTheWidth()
{
    QFETCH(QSize, size);
    server->expect("POST", target, comparison());
    open();
    view->resize(size);
    QCoreApplication::processEvents();
    const int before = container()->width();
    QVERIFY(before > size.width() / 2);
    QVERIFY(container()->maximumWidth() > before);
    waitForReply();
    QCOMPARE(container()->maximumWidth(), int(before * 0.6));
    QCOMPARE(container()->width(), int(before * 0.6));
    // It stays, whatever becomes of the window.
    view->resize(size.width() + 400, size.height());
    QCoreApplication::processEvents();
    QCOMPARE(container()->width(), int(before * 0.6));
}

void TestViewComparativeAnalysis::adjustsAView()
{
    load();
    QChartView fresh;
    view->adjustChartView(&fresh);
    const QList<QChartView*> all = views() + QList<QChartView*>{&fresh};
    for (const QChartView* const one : all) {
        QVERIFY(one->renderHints().testFlag(QPainter::Antialiasing));
        QCOMPARE(one->styleSheet(), text("background:transparent"));
        QVERIFY(one->testAttribute(Qt::WA_TranslucentBackground));
        QVERIFY(!one->testAttribute(Qt::WA_OpaquePaintEvent));
        QCOMPARE(one->backgroundBrush(), QBrush(Qt::transparent));
        QCOMPARE(one->minimumHeight(), 250);
    }
}

void TestViewComparativeAnalysis::longLegends_data()
{
    QTest::addColumn<int>("series");
    QTest::addColumn<int>("least");
    QTest::addColumn<int>("most");
    QTest::newRow("3") << 3 << 250 << 250;
    QTest::newRow("6") << 6 << 250 << 250;
    QTest::newRow("30") << 30 << 600 << 750;
    QTest::newRow("200") << 200 << 750 << 750;
}

void TestViewComparativeAnalysis::longLegends()
{
    QFETCH(int, series);
    QFETCH(int, least);
    QFETCH(int, most);
    QJsonObject graph;
    for (int i = 0; i < series; ++i) {
        graph.insert(QStringLiteral("2024-05-06 07:%1:00").arg(i, 3), QJsonArray{i, i + 1});
    }
    load(json(QJsonObject{{text("graph1"), graph}, {text("graph2"), QJsonObject{{text("a"), QJsonArray{1, 2}}}}}));
    QVERIFY2(views().at(0)->minimumHeight() >= least && views().at(0)->minimumHeight() <= most,
             qPrintable(QString::number(views().at(0)->minimumHeight())));
    QVERIFY(views().at(0)->height() >= views().at(0)->minimumHeight());
    for (int i = 1; i < 4; ++i) {
        QCOMPARE(views().at(i)->minimumHeight(), 250);
    }
}

void TestViewComparativeAnalysis::secondReply()
{
    load();
    QPointer<QLayout> layout(container()->layout());
    QList<QPointer<QObject>> old;
    for (QChartView* const one : views()) {
        old.append(one);
        old.append(one->chart());
    }
    QCOMPARE(old.size(), 8);
    view->onSuccess(R"({"graph1": {"new": [1, 2]}, "complaints": {"last": [1, 2]}})");
    for (const QPointer<QObject>& one : qAsConst(old)) {
        QVERIFY(one == nullptr);
    }
    QVERIFY(layout != nullptr);
    QCOMPARE(container()->layout(), layout.data());
    QCOMPARE(layout->count(), 4);
    QCOMPARE(view->findChildren<QChartView*>().size(), 4);
    QCOMPARE(seriesOf(0), QStringList{text("new")});
    QCOMPARE(seriesOf(1), QStringList{});
    QCOMPARE(seriesOf(2), QStringList{});
    QCOMPARE(seriesOf(3), QStringList{text("last")});
    for (const QChartView* const one : views()) {
        QCOMPARE(one->minimumHeight(), 250);
    }
    // Qt would have something to say about a second layout.
    guard->verify();
}

void TestViewComparativeAnalysis::deletesCharts()
{
    load();
    QList<QPointer<QObject>> old;
    for (QChartView* const one : views()) {
        old.append(one);
        old.append(one->chart());
    }
    view->deleteCharts();
    QCOMPARE(old.size(), 8);
    for (const QPointer<QObject>& one : qAsConst(old)) {
        QVERIFY(one == nullptr);
    }
    QVERIFY(views().isEmpty());
    // There is nothing left to delete, and the screen takes a reply all the same.
    view->deleteCharts();
    view->onSuccess(comparison());
    QCOMPARE(views().size(), 4);
    QCOMPARE(seriesOf(3), QStringList{text("four")});
}

void TestViewComparativeAnalysis::scrolls()
{
    load();
    auto* const area = child<QScrollArea>("scrollArea");
    QVERIFY(area->verticalScrollBar()->maximum() > 0);
    QCOMPARE(area->horizontalScrollBar()->maximum(), 0);
    // A click on a chart leaves the keys to the scroll area.
    area->setFocus();
    QTest::mouseClick(views().first()->viewport(), Qt::LeftButton);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_PageDown);
    QVERIFY(area->verticalScrollBar()->value() > 0);
    area->verticalScrollBar()->setValue(area->verticalScrollBar()->maximum());
    const QChartView* const last = views().last();
    QVERIFY(area->viewport()->rect().contains(last->mapTo(area->viewport(), last->rect().center())));
}

void TestViewComparativeAnalysis::leavesByButtons_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<int>("back");
    QTest::addColumn<int>("list");
    QTest::newRow("back") << QByteArray("buttonBack") << 1 << 0;
    QTest::newRow("list") << QByteArray("buttonListPatients") << 0 << 1;
}

void TestViewComparativeAnalysis::leavesByButtons()
{
    QFETCH(QByteArray, button);
    QFETCH(int, back);
    QFETCH(int, list);
    load();
    QSignalSpy backSpy(view.get(), &ViewComparativeAnalysis::onBack);
    QSignalSpy listSpy(view.get(), &ViewComparativeAnalysis::onPatientsList);
    click(button.constData());
    QCOMPARE(backSpy.count(), back);
    QCOMPARE(listSpy.count(), list);
}

void TestViewComparativeAnalysis::leavesBySlots()
{
    load();
    QSignalSpy back(view.get(), &ViewComparativeAnalysis::onBack);
    QSignalSpy list(view.get(), &ViewComparativeAnalysis::onPatientsList);
    QVERIFY(QMetaObject::invokeMethod(view.get(), "backToPatient"));
    QCOMPARE(back.count(), 1);
    QCOMPARE(list.count(), 0);
    QVERIFY(QMetaObject::invokeMethod(view.get(), "backToPatientsList"));
    QCOMPARE(back.count(), 1);
    QCOMPARE(list.count(), 1);
}

void TestViewComparativeAnalysis::showsErrors()
{
    load();
    BoxAnswer box(QMessageBox::Ok);
    QVERIFY(QMetaObject::invokeMethod(view.get(), "onError", Q_ARG(QString, text("It is told"))));
    QVERIFY(box.used());
    QCOMPARE(box.title, text("Text.error"));
    QCOMPARE(box.text, text("It is told"));
    QCOMPARE(box.icon, QMessageBox::Critical);
    QCOMPARE(box.parent, static_cast<QWidget*>(view.get()));
    // What was there stays.
    QCOMPARE(views().size(), 4);
}

void TestViewComparativeAnalysis::requestFails_data()
{
    addFailureRows();
}

void TestViewComparativeAnalysis::requestFails()
{
    QFETCH(QString, text);
    expectFailure(*server, "POST", target);
    if (qstrcmp(QTest::currentDataTag(), "no answer") == 0) {
        Http::instance().setReadTimeout(timeout);
    }
    open();
    BoxAnswer box(QMessageBox::Ok);
    QTRY_VERIFY(box.used());
    QCOMPARE(box.title, QStringLiteral("Text.error"));
    QCOMPARE(box.text, text);
    QCOMPARE(box.icon, QMessageBox::Critical);
    QVERIFY(view->findChild<LoadingWindow*>() == nullptr);
    // The screen stays empty, and the way back is open.
    QVERIFY(view->findChildren<QChartView*>().isEmpty());
    QVERIFY(container()->layout() == nullptr);
    QSignalSpy back(view.get(), &ViewComparativeAnalysis::onBack);
    click("buttonBack");
    QCOMPARE(back.count(), 1);
}

void TestViewComparativeAnalysis::oddReplies_data()
{
    QTest::addColumn<QByteArray>("reply");
    /// How many series each chart has.
    QTest::addColumn<QList<int>>("counts");
    const QList<int> none{0, 0, 0, 0};
    QTest::newRow("empty") << QByteArray("") << none;
    QTest::newRow("no JSON") << QByteArray("<html>") << none;
    QTest::newRow("cut off") << QByteArray(R"({"graph1": {"a": [1, 2)") << none;
    QTest::newRow("array") << QByteArray(R"([{"graph1": {"a": [1]}}])") << none;
    QTest::newRow("null") << QByteArray("null") << none;
    QTest::newRow("text") << QByteArray("\"graph1\"") << none;
    QTest::newRow("no members") << QByteArray("{}") << none;
    QTest::newRow("other members") << QByteArray(R"({"Graph1": {"a": [1]}, "graph3": {"a": [1]}})") << none;
    QTest::newRow("members of nulls")
        << QByteArray(R"({"graph1": null, "graph2": null, "summary": null, "smooth": null, "complaints": null})")
        << none;
    QTest::newRow("members of other types")
        << QByteArray(R"({"graph1": [1, 2], "graph2": 7, "summary": "s", "smooth": [1, 2, 3], "complaints": true})")
        << none;
    QTest::newRow("one member") << QByteArray(R"({"complaints": {"a": [1, 2], "b": [3]}})") << QList<int>{0, 0, 0, 2};
    QTest::newRow("smooth alone") << QByteArray(R"({"smooth": {"a": [1, 2, 3]}})") << none;
    QTest::newRow("odd series") << QByteArray(R"({"graph1": {"a": null, "b": 7, "c": {}, "d": [[1], null, "2", {}]},
                                                  "graph2": {"": []}, "summary": {"s": []}, "smooth": {"s": 7}})")
                                << QList<int>{4, 1, 1, 0};
    QTest::newRow("a number that no double holds") << QByteArray(R"({"graph1": {"a": [1e999, 1]}})") << none;
    QTest::newRow("huge numbers") << QByteArray(R"({"graph1": {"a": [1e308, -1e308]}, "graph2": {"b": [1, 5e-324]},
                                                    "summary": {"s": [1.79e308, 2]}, "smooth": {"s": [1e9, -1, 2]}})")
                                  << QList<int>{1, 1, 1, 0};
}

void TestViewComparativeAnalysis::oddReplies()
{
    QFETCH(QByteArray, reply);
    QFETCH(QList<int>, counts);
    load(reply);
    QCOMPARE(views().size(), 4);
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(views().at(i)->chart()->series().size(), counts.at(i));
        QCOMPARE(views().at(i)->chart()->axes().size(), counts.at(i) > 0 ? 2 : 0);
        QVERIFY(!views().at(i)->grab().isNull());
    }
}

void TestViewComparativeAnalysis::largeReply()
{
    QJsonObject wide;
    QJsonArray values;
    for (int i = 0; i < 10000; ++i) {
        values.append((i * 7919) % 1000);
    }
    wide.insert(text("a"), values);
    QJsonObject many;
    for (int i = 0; i < 200; ++i) {
        many.insert(QStringLiteral("%1").arg(i, 3), QJsonArray{i, 200 - i, i / 2});
    }
    load(json(QJsonObject{{text("graph1"), many},
                          {text("graph2"), wide},
                          {text("summary"), wide},
                          {text("smooth"), QJsonObject{{text("a"), QJsonArray{200, 0, 200}}}},
                          {text("complaints"), many}}));
    QCOMPARE(seriesOf(0).size(), 200);
    QCOMPARE(seriesOf(3).size(), 200);
    auto* const line = static_cast<QXYSeries*>(views().at(1)->chart()->series().first());
    QCOMPARE(line->count(), 10000);
    const QImage image = views().at(2)->grab().toImage();
    bool drawn = false;
    for (int x = 0; x < image.width() / 2 && !drawn; ++x) {
        drawn = image.pixelColor(x, image.height() / 2) == QColor(200, 0, 200);
    }
    QVERIFY(drawn);
}

void TestViewComparativeAnalysis::goesWhileTheRequestRuns()
{
    LoopbackServer::Answer stalled;
    stalled.kind = LoopbackServer::Answer::Stall;
    stalled.body = comparison();
    server->expect("POST", target, stalled);
    open();
    QTRY_COMPARE(server->pending(), 0);
    QPointer<LoadingWindow> overlay(view->findChild<LoadingWindow*>());
    QVERIFY(overlay != nullptr);
    view.reset();
    QVERIFY(overlay == nullptr);
    // The reply still comes, and finds nobody.
    server->release();
    QTest::qWait(100);
}

QTEST_MAIN(TestViewComparativeAnalysis)

#include "TestViewComparativeAnalysis.moc"
