// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/AnalysisDelegate.h"
#include "analysis/AnalysisModel.h"
#include "analysis/SummaryTableModel.h"
#include "analysis/ViewAnalysis.h"
#include "model/Category.h"
#include "model/Storage.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "signal/Utils.h"
#include "tests/recipe/RecipeFixtures.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QApplication>
#include <QComboBox>
#include <QFrame>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QSortFilterProxyModel>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QTest>

#include <memory>

using namespace RecipeFixtures;

namespace {

const QByteArray summaryTarget = QByteArrayLiteral("/analysis/summary");
const QByteArray categoryTarget = QByteArrayLiteral("/category/diagnostic/p1");
const QByteArray markersTarget = QByteArrayLiteral("/analysis");

const QByteArray summaryReply = QByteArrayLiteral(R"({
    "columns": ["May", "June"],
    "rows": [
        {"title": "Beta", "values": [12, -12]},
        {"title": "Alpha", "values": [-4, 100]},
        {"title": "Gamma", "values": [5, 9]}
    ]
})");

const QByteArray markersReply = QByteArrayLiteral(R"({
    "columns": ["2024-05-06T07:08:09Z", "2024-06-07T08:09:10Z"],
    "rows": [
        {"id": "m1", "title": "Beta", "values": [50, 9]},
        {"id": "m2", "title": "Alpha", "values": [100, 10]},
        {"id": "m3", "title": "Gamma", "values": [9, 100]}
    ]
})");

QString text(const char* latin1)
{
    return QString::fromLatin1(latin1);
}

QList<Record> records(int count)
{
    QList<Record> list;
    for (int i = 1; i <= count; ++i) {
        list.append(Record(QJsonObject{{text("id"), QStringLiteral("r%1").arg(i)}}));
    }
    return list;
}

/// The reply of either analysis with as many columns, all named alike, and one row.
QByteArray wideReply(int columns, const QString& name)
{
    QJsonArray names;
    QJsonArray values;
    for (int i = 0; i < columns; ++i) {
        names.append(name);
        values.append(i);
    }
    const QJsonObject row{{text("id"), text("m")}, {text("title"), text("t")}, {text("values"), values}};
    return json(QJsonObject{{text("columns"), names}, {text("rows"), QJsonArray{row}}});
}

QStringList column(const QAbstractItemModel* model, int number)
{
    QStringList all;
    for (int row = 0; row < model->rowCount(); ++row) {
        all.append(model->index(row, number).data().toString());
    }
    return all;
}

} // namespace

class TestViewAnalysis : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void hasItsWidgets();
    void hasItsTabs();
    void showsThePatient();
    void keepsCopies();
    void setsUpTheTables_data();
    void setsUpTheTables();
    void asksForTheSummaryAtOnce();
    void asksInTheOrderOfTheRecords();
    void showsTheSummary();
    void loadsTheCategoriesOnce();
    void opensTheSecondTabTwice();
    void carriesCategoriesAndStorages();
    void changesCategory();
    void asksForTheMarkers();
    void asksWithoutAStorage();
    void showsTheMarkers();
    void sortsOnDemand_data();
    void sortsOnDemand();
    void onlyTheTitleColumn();
    void resizesEachReply();
    void manyColumnsScroll_data();
    void manyColumnsScroll();
    void manyMarkers();
    void knowsTheHeaderHeight_data();
    void knowsTheHeaderHeight();
    void selectsRows();
    void navigates();
    void summaryFails_data();
    void summaryFails();
    void categoriesFail_data();
    void categoriesFail();
    void markersFail_data();
    void markersFail();
    void oddSummaries_data();
    void oddSummaries();
    void oddCategories_data();
    void oddCategories();
    void oddMarkers_data();
    void oddMarkers();
    void goesWhileARequestRuns_data();
    void goesWhileARequestRuns();
    void takesItsModelsAlong();

private:
    void open(int count = 2);
    /// The screen with this summary.
    void load(const QByteArray& summary = summaryReply);
    /// The same, on the second tab with these categories.
    void loadCategories(const QByteArray& categories = QByteArray());
    void analyse(const QByteArray& reply = markersReply);
    void openTab(int index) { tabs()->setCurrentIndex(index); }
    void waitForReply();
    /// The next request of this kind fails as the current row says.
    void fail(const QByteArray& method, const QByteArray& target);
    /// Answers the box that tells of the failure, and lets the server work again.
    void acknowledge();
    void click(const char* button) { QTest::mouseClick(child<QPushButton>(button), Qt::LeftButton); }
    template <typename T> T* child(const char* name) const
    {
        T* const found = view->findChild<T*>(text(name));
        if (found == nullptr) {
            qFatal("No child %s", name);
        }
        return found;
    }
    QTabWidget* tabs() const { return child<QTabWidget>("tabWidget"); }
    QTableView* summary() const { return child<QTableView>("summaryTableView"); }
    QTableView* markers() const { return child<QTableView>("analysisTableView"); }
    QComboBox* categoryBox() const { return child<QComboBox>("comboBoxCategories"); }
    QComboBox* storageBox() const { return child<QComboBox>("comboBoxStorages"); }
    static QByteArray threeCategories()
    {
        return json(QJsonArray{
            category(text("Notes"), {storage(text("s1"), text("Low")), storage(text("s2"), text("High"), true)}),
            category(text("Nothing"), {}),
            category(text("Hum"), {storage(text("s3"), text("Mains"))}),
        });
    }

    KeysWithPlaces translator;
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
    std::unique_ptr<ViewAnalysis> view;
};

void TestViewAnalysis::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    QCoreApplication::installTranslator(&translator);
}

void TestViewAnalysis::init()
{
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
}

void TestViewAnalysis::cleanup()
{
    view.reset();
    Http::instance().setReadTimeout(180000);
    QCOMPARE(server->pending(), 0);
    server.reset();
    guard->verify();
}

void TestViewAnalysis::open(int count)
{
    Patient patient = RecipeFixtures::patient();
    QList<Record> list = records(count);
    view = std::make_unique<ViewAnalysis>(nullptr, &patient, &list);
    view->resize(1100, 700);
    view->show();
}

void TestViewAnalysis::load(const QByteArray& summary)
{
    server->expect("POST", summaryTarget, summary);
    open();
    waitForReply();
    QCOMPARE(server->requests().size(), 1);
    server->clear();
}

void TestViewAnalysis::loadCategories(const QByteArray& categories)
{
    load();
    server->expect("GET", categoryTarget, categories.isNull() ? threeCategories() : categories);
    openTab(1);
    waitForReply();
    QCOMPARE(server->requests().size(), 1);
    server->clear();
}

void TestViewAnalysis::analyse(const QByteArray& reply)
{
    server->expect("POST", markersTarget, reply);
    click("buttonAnalyse");
    waitForReply();
}

void TestViewAnalysis::waitForReply()
{
    QVERIFY(view->findChild<LoadingWindow*>() != nullptr);
    QTRY_VERIFY(view->findChild<LoadingWindow*>() == nullptr);
}

void TestViewAnalysis::hasItsWidgets()
{
    load();
    QCOMPARE(view->objectName(), text("ViewAnalysis"));
    auto* const grid = view->findChild<QGridLayout*>(text("gridLayout"));
    QVERIFY(grid != nullptr);
    auto* const top = view->findChild<QHBoxLayout*>(text("horizontalLayout"));
    QCOMPARE(grid->itemAtPosition(0, 0)->layout(), static_cast<QLayout*>(top));
    QCOMPARE(grid->itemAtPosition(1, 0)->widget(), static_cast<QWidget*>(child<QGroupBox>("breadCrumbs")));
    QCOMPARE(grid->itemAtPosition(2, 0)->widget(), static_cast<QWidget*>(tabs()));
    QVERIFY(top->indexOf(child<QLabel>("labelTitle")) >= 0);
    QVERIFY(top->indexOf(child<QLabel>("labelPatientName")) > top->indexOf(child<QLabel>("labelTitle")));
    QCOMPARE(child<QLabel>("labelTitle")->text(), text("Title.analysis"));

    QCOMPARE(child<QGroupBox>("breadCrumbs")->title(), QString());
    auto* const crumbs = view->findChild<QHBoxLayout*>(text("horizontalLayout_2"));
    QCOMPARE(crumbs->parentWidget(), static_cast<QWidget*>(child<QGroupBox>("breadCrumbs")));
    QCOMPARE(crumbs->spacing(), 0);
    QCOMPARE(crumbs->contentsMargins(), QMargins());
    QCOMPARE(crumbs->indexOf(child<QPushButton>("buttonListPatients")), 0);
    QCOMPARE(crumbs->indexOf(child<QLabel>("labelSeparator")), 1);
    QCOMPARE(crumbs->indexOf(child<QPushButton>("buttonBack")), 2);
    QCOMPARE(child<QPushButton>("buttonListPatients")->text(), text("Text.listOfPatients"));
    QCOMPARE(child<QLabel>("labelSeparator")->minimumSize(), QSize(20, 20));
    QCOMPARE(child<QLabel>("labelSeparator")->maximumSize(), QSize(20, 20));
    QCOMPARE(child<QLabel>("labelSeparator")->pixmap(Qt::ReturnByValue).toImage(),
             QPixmap(text(":/images/separator.png")).toImage());
    // Unshown, the form has its own size.
    server->expect("POST", summaryTarget, summaryReply);
    Patient patient;
    QList<Record> none;
    const ViewAnalysis fresh(nullptr, &patient, &none);
    QCOMPARE(fresh.size(), QSize(912, 659));
    QTRY_VERIFY(fresh.findChild<LoadingWindow*>() == nullptr);
}

void TestViewAnalysis::hasItsTabs()
{
    load();
    QCOMPARE(tabs()->count(), 2);
    QCOMPARE(tabs()->currentIndex(), 0);
    QCOMPARE(tabs()->tabShape(), QTabWidget::Rounded);
    QCOMPARE(tabs()->widget(0), child<QWidget>("tab1"));
    QCOMPARE(tabs()->widget(1), child<QWidget>("tab2"));
    QCOMPARE(tabs()->tabText(0), text("Text.tabSummaryTable"));
    QCOMPARE(tabs()->tabText(1), text("Text.tabMarkersAnalysis"));
    QCOMPARE(tabs()->tabBar()->font().pointSize(), 15);
    QCOMPARE(tabs()->tabBar()->font().weight(), 75);
    // The font is the tabs' own: a bold table would be hard to read.
    QVERIFY(!summary()->font().bold());
    QVERIFY(!categoryBox()->font().bold());

    const QList<QPair<const char*, const char*>> boxes{
        {"tableViewBox", "verticalLayout_4"},
        {"tableViewBox1", "verticalLayout"},
    };
    for (const auto& [name, layout] : boxes) {
        auto* const box = child<QFrame>(name);
        QCOMPARE(box->frameShape(), QFrame::StyledPanel);
        QCOMPARE(box->layout()->objectName(), text(layout));
    }
    QCOMPARE(summary()->parentWidget(), child<QWidget>("tableViewBox"));
    QCOMPARE(markers()->parentWidget(), child<QWidget>("tableViewBox1"));
    QCOMPARE(child<QFrame>("tableViewBox")->parentWidget(), child<QWidget>("tab1"));
    QCOMPARE(child<QFrame>("tableViewBox1")->parentWidget(), child<QWidget>("tab2"));
    QCOMPARE(child<QWidget>("tab1")->layout()->objectName(), text("verticalLayout_3"));
    QCOMPARE(child<QWidget>("tab2")->layout()->objectName(), text("verticalLayout_2"));

    auto* const choice = view->findChild<QHBoxLayout*>(text("horizontalLayout_3"));
    QCOMPARE(choice->parentWidget(), child<QWidget>("tab2"));
    QCOMPARE(choice->indexOf(categoryBox()), 0);
    QCOMPARE(choice->indexOf(storageBox()), 1);
    QCOMPARE(choice->indexOf(child<QPushButton>("buttonAnalyse")), 2);
    for (const char* name : {"comboBoxCategories", "comboBoxStorages", "buttonAnalyse"}) {
        QCOMPARE(child<QWidget>(name)->minimumHeight(), 40);
    }
    QCOMPARE(child<QPushButton>("buttonAnalyse")->text(), text("Text.analyse"));
}

void TestViewAnalysis::showsThePatient()
{
    load();
    QCOMPARE(child<QPushButton>("buttonBack")->text(), text("Text.patientCard Ada Byron"));
    QCOMPARE(child<QLabel>("labelPatientName")->text(), text("(Ada Byron)"));
    // A name is no markup.
    server->expect("POST", summaryTarget, summaryReply);
    Patient patient(QJsonObject{{text("name"), text("<b>A</b> & %1")}});
    QList<Record> none;
    const ViewAnalysis other(nullptr, &patient, &none);
    auto* const label = other.findChild<QLabel*>(text("labelPatientName"));
    QCOMPARE(label->text(), text("(<b>A</b> & %1)"));
    QCOMPARE(label->textFormat(), Qt::PlainText);
    QTRY_VERIFY(other.findChild<LoadingWindow*>() == nullptr);
}

void TestViewAnalysis::keepsCopies()
{
    server->expect("POST", summaryTarget, summaryReply);
    {
        Patient patient = RecipeFixtures::patient();
        QList<Record> list = records(2);
        view = std::make_unique<ViewAnalysis>(nullptr, &patient, &list);
        patient.setName(text("Other"));
        list.clear();
    }
    waitForReply();
    const QJsonObject body = Utils::bytesToJson(view->buildRequest());
    QCOMPARE(body.value(text("patientId")).toString(), text("p1"));
    QCOMPARE(body.value(text("records")).toArray(), (QJsonArray{text("r1"), text("r2")}));
}

void TestViewAnalysis::setsUpTheTables_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("summary") << QByteArray("summaryTableView");
    QTest::newRow("markers") << QByteArray("analysisTableView");
}

void TestViewAnalysis::setsUpTheTables()
{
    QFETCH(QByteArray, name);
    const bool first = name == "summaryTableView";
    server->expect("POST", summaryTarget, summaryReply);
    open();
    auto* const table = child<QTableView>(name.constData());
    auto* const proxy = qobject_cast<QSortFilterProxyModel*>(table->model());
    QVERIFY(proxy != nullptr);
    QVERIFY(proxy->parent() == nullptr);
    QVERIFY(proxy->dynamicSortFilter());
    QCOMPARE(proxy->filterCaseSensitivity(), Qt::CaseInsensitive);
    QCOMPARE(proxy->sortRole(), int(Qt::UserRole));
    QCOMPARE(proxy->sortColumn(), 0);
    QCOMPARE(proxy->sortOrder(), Qt::DescendingOrder);
    QAbstractItemModel* const source = proxy->sourceModel();
    QVERIFY(source->parent() == nullptr);
    QCOMPARE(qobject_cast<SummaryTableModel*>(source) != nullptr, first);
    QCOMPARE(qobject_cast<AnalysisModel*>(source) != nullptr, !first);
    QVERIFY(table->isSortingEnabled());
    QVERIFY(table->hasMouseTracking());
    QVERIFY(table->verticalHeader()->isHidden());
    QCOMPARE(table->verticalHeader()->defaultSectionSize(), 40);
    QCOMPARE(table->editTriggers(), QAbstractItemView::EditTriggers(QAbstractItemView::NoEditTriggers));
    QCOMPARE(table->selectionMode(), QAbstractItemView::SingleSelection);
    QCOMPARE(table->selectionBehavior(), QAbstractItemView::SelectRows);
    QVERIFY(table->alternatingRowColors());

    const QList<AnalysisDelegate*> delegates = view->findChildren<AnalysisDelegate*>();
    QCOMPARE(delegates.size(), 1);
    QCOMPARE(delegates.first()->parent(), static_cast<QObject*>(view.get()));
    QCOMPARE(table->itemDelegate() == delegates.first(), !first);
    for (int column = 0; column < 3; ++column) {
        QVERIFY(table->itemDelegateForColumn(column) == nullptr);
    }
    // The one column that there is before the first reply.
    QCOMPARE(table->horizontalHeader()->count(), first ? 1 : 0);
    QCOMPARE(table->columnWidth(0), first ? 140 : 0);
    waitForReply();
}

void TestViewAnalysis::asksForTheSummaryAtOnce()
{
    server->expect("POST", summaryTarget, summaryReply);
    open();
    QVERIFY(view->findChild<LoadingWindow*>() != nullptr);
    QTRY_COMPARE(server->requests().size(), 1);
    const LoopbackServer::Request& request = server->last();
    QCOMPARE(request.headers.value("content-type"), QByteArray("application/json"));
    QCOMPARE(request.body, view->buildRequest());
    QVERIFY(request.body.startsWith("{\n    \"patientId\": \"p1\",\n    \"records\": [\n"));
    const QJsonObject body = Utils::bytesToJson(request.body);
    QCOMPARE(body.keys(), (QStringList{text("patientId"), text("records"), text("storageId")}));
    QVERIFY(body.value(text("storageId")).isString());
    QCOMPARE(body.value(text("storageId")).toString(text("?")), QString());
    QCOMPARE(body.value(text("records")).toArray(), (QJsonArray{text("r1"), text("r2")}));
    QTRY_COMPARE(summary()->model()->rowCount(), 3);
    // Nothing else is asked for on the first tab.
    QTest::qWait(50);
    QCOMPARE(server->requests().size(), 1);
    QCOMPARE(categoryBox()->count(), 0);
}

void TestViewAnalysis::asksInTheOrderOfTheRecords()
{
    server->expect("POST", summaryTarget, summaryReply);
    Patient patient = RecipeFixtures::patient();
    QList<Record> list = records(3);
    list.move(0, 2);
    list.append(list.first());
    view = std::make_unique<ViewAnalysis>(nullptr, &patient, &list);
    waitForReply();
    QCOMPARE(Utils::bytesToJson(server->last().body).value(text("records")).toArray(),
             (QJsonArray{text("r2"), text("r3"), text("r1"), text("r2")}));
    server->expect("POST", summaryTarget, summaryReply);
    list.clear();
    view = std::make_unique<ViewAnalysis>(nullptr, &patient, &list);
    waitForReply();
    const QJsonValue none = Utils::bytesToJson(server->last().body).value(text("records"));
    QVERIFY(none.isArray());
    QCOMPARE(none.toArray().size(), 0);
}

void TestViewAnalysis::showsTheSummary()
{
    load();
    // Sorted by the title, downwards, without being asked to.
    QCOMPARE(column(summary()->model(), 0), (QStringList{text("Gamma"), text("Beta"), text("Alpha")}));
    QCOMPARE(column(summary()->model(), 1), (QStringList{text("5"), text("12"), text("-4")}));
    QHeaderView* const header = summary()->horizontalHeader();
    QCOMPARE(header->count(), 3);
    QCOMPARE(summary()->model()->headerData(1, Qt::Horizontal).toString(), text("May"));
    QCOMPARE(header->sectionResizeMode(0), QHeaderView::Interactive);
    QCOMPARE(header->sectionResizeMode(1), QHeaderView::Stretch);
    QCOMPARE(header->sectionResizeMode(2), QHeaderView::Stretch);
    QCOMPARE(header->sortIndicatorSection(), 0);
    QCOMPARE(header->sortIndicatorOrder(), Qt::DescendingOrder);
    QTRY_COMPARE(header->length(), summary()->viewport()->width());
    QCOMPARE(summary()->rowHeight(0), 40);
    QCOMPARE(summary()->rowHeight(2), 40);
    QCOMPARE(markers()->model()->rowCount(), 0);
}

void TestViewAnalysis::loadsTheCategoriesOnce()
{
    loadCategories();
    QCOMPARE(categoryBox()->count(), 3);
    for (int round = 0; round < 2; ++round) {
        openTab(0);
        openTab(1);
    }
    QTest::qWait(50);
    QCOMPARE(server->requests().size(), 0);
    QCOMPARE(categoryBox()->count(), 3);
}

void TestViewAnalysis::opensTheSecondTabTwice()
{
    load();
    LoopbackServer::Answer slow;
    slow.kind = LoopbackServer::Answer::Stall;
    slow.body = threeCategories();
    server->expect("GET", categoryTarget, slow);
    openTab(1);
    openTab(0);
    openTab(1);
    QTRY_COMPARE(server->requests().size(), 1);
    QTest::qWait(50);
    QCOMPARE(server->requests().size(), 1);
    server->release();
    QTRY_COMPARE(categoryBox()->count(), 3);
    // Other tabs ask for nothing.
    QVERIFY(QMetaObject::invokeMethod(view.get(), "onTabChanged", Q_ARG(int, 0)));
    QVERIFY(QMetaObject::invokeMethod(view.get(), "onTabChanged", Q_ARG(int, 2)));
    QTest::qWait(50);
    QCOMPARE(server->requests().size(), 1);
}

void TestViewAnalysis::carriesCategoriesAndStorages()
{
    loadCategories();
    QCOMPARE(categoryBox()->currentIndex(), 0);
    const QStringList titles{text("Notes"), text("Nothing"), text("Hum")};
    for (int i = 0; i < titles.size(); ++i) {
        QCOMPARE(categoryBox()->itemText(i), titles.at(i));
        const QVariant data = categoryBox()->itemData(i);
        QCOMPARE(QByteArray(data.typeName()), QByteArray("Category"));
        QCOMPARE(data.value<Category>().getTitle(), titles.at(i));
    }
    QCOMPARE(storageBox()->count(), 2);
    QCOMPARE(storageBox()->itemText(0), text("Low"));
    QCOMPARE(storageBox()->itemText(1), text("High"));
    for (int i = 0; i < 2; ++i) {
        const QVariant data = storageBox()->itemData(i);
        QCOMPARE(QByteArray(data.typeName()), QByteArray("Storage"));
        QCOMPARE(data.value<Storage>().getId(), QStringLiteral("s%1").arg(i + 1));
        QCOMPARE(data.value<Storage>().getFrequencies(), i == 1);
    }
    QVERIFY(QMetaType::type("Category") != QMetaType::UnknownType);
    QVERIFY(QMetaType::type("Storage") != QMetaType::UnknownType);
}

void TestViewAnalysis::changesCategory()
{
    loadCategories();
    categoryBox()->setCurrentIndex(2);
    QCOMPARE(storageBox()->count(), 1);
    QCOMPARE(storageBox()->currentText(), text("Mains"));
    // A category without storages leaves the other box empty.
    categoryBox()->setCurrentIndex(1);
    QCOMPARE(storageBox()->count(), 0);
    QCOMPARE(storageBox()->currentIndex(), -1);
    categoryBox()->setCurrentIndex(0);
    QCOMPARE(storageBox()->count(), 2);
    categoryBox()->setCurrentIndex(-1);
    QCOMPARE(storageBox()->count(), 0);
    QCOMPARE(server->requests().size(), 0);
}

void TestViewAnalysis::asksForTheMarkers()
{
    loadCategories();
    storageBox()->setCurrentIndex(1);
    analyse();
    QCOMPARE(server->requests().size(), 1);
    const LoopbackServer::Request& request = server->last();
    QCOMPARE(request.headers.value("content-type"), QByteArray("application/json"));
    QCOMPARE(request.body, view->buildRequest());
    const QJsonObject body = Utils::bytesToJson(request.body);
    QCOMPARE(body.keys(), (QStringList{text("patientId"), text("records"), text("storageId")}));
    QCOMPARE(body.value(text("patientId")).toString(), text("p1"));
    QCOMPARE(body.value(text("storageId")).toString(), text("s2"));
    QCOMPARE(body.value(text("records")).toArray(), (QJsonArray{text("r1"), text("r2")}));
}

void TestViewAnalysis::asksWithoutAStorage()
{
    loadCategories("[]");
    QCOMPARE(storageBox()->count(), 0);
    analyse();
    QCOMPARE(server->requests().size(), 1);
    const QJsonObject body = Utils::bytesToJson(server->last().body);
    QVERIFY(body.value(text("storageId")).isString());
    QCOMPARE(body.value(text("storageId")).toString(text("?")), QString());
    QCOMPARE(markers()->model()->rowCount(), 3);
}

void TestViewAnalysis::showsTheMarkers()
{
    loadCategories();
    analyse();
    QCOMPARE(column(markers()->model(), 0), (QStringList{text("Gamma"), text("Beta"), text("Alpha")}));
    QCOMPARE(column(markers()->model(), 1), (QStringList{text("9"), text("50"), text("100")}));
    QCOMPARE(column(markers()->model(), 2), (QStringList{text("100"), text("9"), text("10")}));
    QHeaderView* const header = markers()->horizontalHeader();
    QCOMPARE(header->count(), 3);
    QCOMPARE(markers()->model()->headerData(2, Qt::Horizontal).toString(), text("2024-06-07 08:09:10"));
    QCOMPARE(header->sectionResizeMode(0), QHeaderView::Interactive);
    QCOMPARE(header->sectionResizeMode(1), QHeaderView::Stretch);
    QCOMPARE(header->sectionResizeMode(2), QHeaderView::Stretch);
    QTRY_COMPARE(header->length(), markers()->viewport()->width());
    QCOMPARE(markers()->rowHeight(0), 40);
    // The delegate paints: full bars end in red, a small one leaves the ground.
    const QImage painted = markers()->viewport()->grab().toImage();
    const QRect full = markers()->visualRect(markers()->model()->index(0, 2));
    const QRect little = markers()->visualRect(markers()->model()->index(0, 1));
    const QColor end = painted.pixelColor(full.right() - 2, full.top() + 3);
    QVERIFY2(end.red() > 200 && end.green() < 110, qPrintable(end.name()));
    QCOMPARE(painted.pixelColor(little.center().x(), little.top() + 3), QColor(234, 239, 242));
    // The summary stays.
    QCOMPARE(summary()->model()->rowCount(), 3);
}

void TestViewAnalysis::sortsOnDemand_data()
{
    QTest::addColumn<bool>("first");
    QTest::newRow("summary") << true;
    QTest::newRow("markers") << false;
}

void TestViewAnalysis::sortsOnDemand()
{
    QFETCH(bool, first);
    loadCategories();
    analyse();
    openTab(first ? 0 : 1);
    QTableView* const table = first ? summary() : markers();
    QHeaderView* const header = table->horizontalHeader();
    const auto clickOn = [header](int section) {
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                          QPoint(header->sectionViewportPosition(section) + 20, header->height() / 2));
    };
    // As numbers, not as texts.
    clickOn(1);
    QCOMPARE(column(table->model(), 1), first ? (QStringList{text("-4"), text("5"), text("12")})
                                              : (QStringList{text("9"), text("50"), text("100")}));
    clickOn(1);
    QCOMPARE(column(table->model(), 1), first ? (QStringList{text("12"), text("5"), text("-4")})
                                              : (QStringList{text("100"), text("50"), text("9")}));
    clickOn(0);
    QCOMPARE(column(table->model(), 0), (QStringList{text("Alpha"), text("Beta"), text("Gamma")}));
    // The order chosen holds for the next load.
    if (!first) {
        analyse();
        QCOMPARE(column(table->model(), 0), (QStringList{text("Alpha"), text("Beta"), text("Gamma")}));
    }
}

void TestViewAnalysis::onlyTheTitleColumn()
{
    load(R"({"columns": [], "rows": [{"title": "Beta", "values": []}]})");
    QCOMPARE(summary()->horizontalHeader()->count(), 1);
    QCOMPARE(summary()->horizontalHeader()->sectionResizeMode(0), QHeaderView::Interactive);
    view->onAnalyseSuccess(R"({"columns": [], "rows": [{"id": "m1", "title": "Beta", "values": []}]})");
    QCOMPARE(markers()->horizontalHeader()->count(), 1);
    QCOMPARE(markers()->horizontalHeader()->sectionResizeMode(0), QHeaderView::Interactive);
    QCOMPARE(markers()->model()->rowCount(), 1);
}

void TestViewAnalysis::resizesEachReply()
{
    load();
    openTab(0);
    for (int columns : {5, 1, 0, 3}) {
        view->onSummarySuccess(wideReply(columns, text("May")));
        view->onAnalyseSuccess(wideReply(columns, text("2024-05-06T07:08:09Z")));
        for (QTableView* table : {summary(), markers()}) {
            QHeaderView* const header = table->horizontalHeader();
            QCOMPARE(header->count(), columns + 1);
            QCOMPARE(header->sectionResizeMode(0), QHeaderView::Interactive);
            for (int section = 1; section <= columns; ++section) {
                QCOMPARE(header->sectionResizeMode(section), QHeaderView::Stretch);
            }
        }
    }
    // The title column is as wide as its longest text.
    const int narrow = summary()->columnWidth(0);
    view->onSummarySuccess(R"({"columns": ["a"], "rows": [{"title": ")" + QByteArray(60, 'W') +
                           R"(", "values": [1]}]})");
    QVERIFY(summary()->columnWidth(0) > narrow + 200);
    QVERIFY(summary()->columnWidth(0) >= summary()->fontMetrics().horizontalAdvance(QString(60, QLatin1Char('W'))));
    view->onSummarySuccess(wideReply(1, text("May")));
    QCOMPARE(summary()->columnWidth(0), narrow);
    // From columns to nothing at all and back.
    view->onAnalyseSuccess("{}");
    QCOMPARE(markers()->horizontalHeader()->count(), 0);
    view->onAnalyseSuccess(markersReply);
    QCOMPARE(markers()->horizontalHeader()->sectionResizeMode(2), QHeaderView::Stretch);
}

void TestViewAnalysis::manyColumnsScroll_data()
{
    QTest::addColumn<int>("columns");
    QTest::addColumn<bool>("scrolls");
    QTest::newRow("1") << 1 << false;
    QTest::newRow("3") << 3 << false;
    QTest::newRow("30") << 30 << true;
}

// The dates stay readable, however many they are.
void TestViewAnalysis::manyColumnsScroll()
{
    QFETCH(int, columns);
    QFETCH(bool, scrolls);
    loadCategories();
    analyse(wideReply(columns, text("2024-05-06T07:08:09Z")));
    QHeaderView* const header = markers()->horizontalHeader();
    QTRY_COMPARE(markers()->horizontalScrollBar()->maximum() > 0, scrolls);
    for (int section = 1; section <= columns; ++section) {
        QVERIFY(header->sectionSize(section) >= header->sectionSizeHint(section));
        QVERIFY(header->sectionSize(section) > header->fontMetrics().horizontalAdvance(text("2024-05-06 07:08:09")));
    }
    // Afterwards fewer columns share the whole width again.
    analyse();
    QTRY_COMPARE(header->length(), markers()->viewport()->width());
    // A title that a server makes too long does not push the others out of sight.
    view->onSummarySuccess(wideReply(2, QString(2000, QLatin1Char('W'))));
    openTab(0);
    QTRY_COMPARE(summary()->horizontalHeader()->length(), summary()->viewport()->width());
}

void TestViewAnalysis::manyMarkers()
{
    constexpr int count = 10000;
    QJsonArray rows;
    for (int i = 0; i < count; ++i) {
        rows.append(QJsonObject{{text("id"), QString::number(i)},
                                {text("title"), QString::number(i)},
                                {text("values"), QJsonArray{i * 7919 % count, i}}});
    }
    loadCategories();
    analyse(json(QJsonObject{{text("columns"), QJsonArray{text("a"), text("b")}}, {text("rows"), rows}}));
    QCOMPARE(markers()->model()->rowCount(), count);
    markers()->sortByColumn(1, Qt::AscendingOrder);
    for (int row = 0; row < count; ++row) {
        QCOMPARE(markers()->model()->index(row, 1).data().toInt(), row);
    }
    markers()->scrollToBottom();
    QVERIFY(markers()->visualRect(markers()->model()->index(count - 1, 0)).isValid());
    QVERIFY(!view->grab().isNull());
}

void TestViewAnalysis::knowsTheHeaderHeight_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::newRow("records") << markersReply;
    QTest::newRow("only the title column") << QByteArray(R"({"rows": [{"id": "m1", "title": "Beta"}]})");
}

void TestViewAnalysis::knowsTheHeaderHeight()
{
    QFETCH(QByteArray, reply);
    loadCategories();
    analyse(reply);
    auto* const delegate = view->findChild<AnalysisDelegate*>();
    const int height = delegate->getHeaderHeight();
    QVERIFY(height > 0);
    QApplication::processEvents();
    QCOMPARE(markers()->horizontalHeader()->height(), height);
    QCOMPARE(markers()->viewport()->y() - markers()->frameWidth(), height);
}

void TestViewAnalysis::selectsRows()
{
    load();
    const QModelIndex cell = summary()->model()->index(1, 2);
    QTest::mouseClick(summary()->viewport(), Qt::LeftButton, {}, summary()->visualRect(cell).center());
    QCOMPARE(summary()->selectionModel()->selectedRows().size(), 1);
    QVERIFY(summary()->selectionModel()->isRowSelected(1, QModelIndex()));
    QTest::mouseDClick(summary()->viewport(), Qt::LeftButton, {}, summary()->visualRect(cell).center());
    QVERIFY(summary()->indexWidget(cell) == nullptr);
    QTest::mouseClick(summary()->viewport(), Qt::LeftButton, Qt::ControlModifier,
                      summary()->visualRect(summary()->model()->index(2, 0)).center());
    QCOMPARE(summary()->selectionModel()->selectedRows().size(), 1);
}

void TestViewAnalysis::navigates()
{
    load();
    QSignalSpy back(view.get(), &ViewAnalysis::onBack);
    QSignalSpy list(view.get(), &ViewAnalysis::onPatientsList);
    click("buttonBack");
    QCOMPARE(back.count(), 1);
    QCOMPARE(list.count(), 0);
    click("buttonListPatients");
    QCOMPARE(back.count(), 1);
    QCOMPARE(list.count(), 1);
    QVERIFY(QMetaObject::invokeMethod(view.get(), "backToPatient"));
    QVERIFY(QMetaObject::invokeMethod(view.get(), "backToPatientsList"));
    QCOMPARE(back.count(), 2);
    QCOMPARE(list.count(), 2);
}

void TestViewAnalysis::fail(const QByteArray& method, const QByteArray& target)
{
    expectFailure(*server, method, target);
    if (qstrcmp(QTest::currentDataTag(), "no answer") == 0) {
        Http::instance().setReadTimeout(timeout);
    }
}

void TestViewAnalysis::acknowledge()
{
    QFETCH(QString, text);
    BoxAnswer box(QMessageBox::Ok);
    QTRY_VERIFY(box.used());
    QCOMPARE(box.title, QStringLiteral("Text.error"));
    QCOMPARE(box.text, text);
    QCOMPARE(box.icon, QMessageBox::Critical);
    QCOMPARE(box.parent, static_cast<QWidget*>(view.get()));
    QVERIFY(view->findChild<LoadingWindow*>() == nullptr);
    Http::instance().setReadTimeout(180000);
    QCOMPARE(server->pending(), 0);
    server.reset();
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
}

void TestViewAnalysis::summaryFails_data()
{
    addFailureRows();
}

void TestViewAnalysis::summaryFails()
{
    fail("POST", summaryTarget);
    open();
    acknowledge();
    QCOMPARE(summary()->model()->rowCount(), 0);
    QCOMPARE(summary()->model()->columnCount(), 1);
    // The other tab works all the same, and so does the way back.
    server->expect("GET", categoryTarget, threeCategories());
    openTab(1);
    waitForReply();
    analyse();
    QCOMPARE(markers()->model()->rowCount(), 3);
    QSignalSpy back(view.get(), &ViewAnalysis::onBack);
    click("buttonBack");
    QCOMPARE(back.count(), 1);
}

void TestViewAnalysis::categoriesFail_data()
{
    addFailureRows();
}

void TestViewAnalysis::categoriesFail()
{
    load();
    fail("GET", categoryTarget);
    openTab(1);
    acknowledge();
    QCOMPARE(categoryBox()->count(), 0);
    QCOMPARE(summary()->model()->rowCount(), 3);
    // This screen does not ask again.
    openTab(0);
    openTab(1);
    QTest::qWait(50);
    QCOMPARE(server->requests().size(), 0);
    analyse();
    QCOMPARE(markers()->model()->rowCount(), 3);
}

void TestViewAnalysis::markersFail_data()
{
    addFailureRows();
}

void TestViewAnalysis::markersFail()
{
    loadCategories();
    analyse();
    markers()->sortByColumn(1, Qt::AscendingOrder);
    const QStringList before = column(markers()->model(), 0);
    fail("POST", markersTarget);
    click("buttonAnalyse");
    acknowledge();
    QCOMPARE(column(markers()->model(), 0), before);
    QCOMPARE(categoryBox()->count(), 3);
    QCOMPARE(storageBox()->count(), 2);
    analyse(wideReply(1, text("2024-05-06T07:08:09Z")));
    QCOMPARE(markers()->model()->rowCount(), 1);
}

void TestViewAnalysis::oddSummaries_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("columns");
    QTest::newRow("empty") << QByteArray("") << 0 << 1;
    QTest::newRow("no JSON") << QByteArray("<html>") << 0 << 1;
    QTest::newRow("cut") << summaryReply.left(90) << 0 << 1;
    QTest::newRow("array") << QByteArray("[]") << 0 << 1;
    QTest::newRow("null") << QByteArray("null") << 0 << 1;
    QTest::newRow("nothing") << QByteArray("{}") << 0 << 1;
    QTest::newRow("nulls") << QByteArray(R"({"rows": null, "columns": null})") << 0 << 1;
    QTest::newRow("columns alone") << QByteArray(R"({"columns": ["May", "June"]})") << 0 << 3;
    QTest::newRow("rows alone") << QByteArray(R"({"rows": [{"title": "t", "values": [1]}]})") << 1 << 1;
    QTest::newRow("odd rows") << QByteArray(R"({"columns": [7], "rows": [7, null, {"values": [1e300]}]})") << 3 << 2;
    QTest::newRow("short rows") << QByteArray(R"({"columns": ["a", "b"], "rows": [{"title": "t", "values": [1]}, {}]})")
                                << 2 << 3;
    QTest::newRow("long rows") << QByteArray(R"({"columns": ["a"], "rows": [{"title": "t", "values": [1, 2, 3]}]})")
                               << 1 << 2;
}

void TestViewAnalysis::oddSummaries()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, rows);
    QFETCH(int, columns);
    load(reply);
    QCOMPARE(summary()->model()->rowCount(), rows);
    QCOMPARE(summary()->model()->columnCount(), columns);
    QCOMPARE(summary()->horizontalHeader()->count(), columns);
    // Painted and sorted as it stands.
    QVERIFY(!view->grab().isNull());
    summary()->sortByColumn(columns - 1, Qt::AscendingOrder);
    QCOMPARE(summary()->model()->rowCount(), rows);
    view->onSummarySuccess(summaryReply);
    QCOMPARE(summary()->model()->rowCount(), 3);
    QCOMPARE(summary()->model()->columnCount(), 3);
}

void TestViewAnalysis::oddCategories_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("categories");
    QTest::addColumn<int>("storages");
    QTest::newRow("empty") << QByteArray("") << 0 << 0;
    QTest::newRow("no JSON") << QByteArray("<html>") << 0 << 0;
    QTest::newRow("cut") << threeCategories().left(60) << 0 << 0;
    QTest::newRow("object") << QByteArray(R"({"title": "Notes"})") << 0 << 0;
    QTest::newRow("null") << QByteArray("null") << 0 << 0;
    QTest::newRow("no category") << QByteArray("[]") << 0 << 0;
    QTest::newRow("missing keys") << QByteArray("[{}]") << 1 << 0;
    QTest::newRow("wrong types") << QByteArray(R"([{"title": 7, "storages": {}}, 7, null, []])") << 4 << 0;
    QTest::newRow("nulls") << QByteArray(R"([{"title": null, "storages": null}])") << 1 << 0;
    QTest::newRow("odd storages") << QByteArray(R"([{"title": "t", "storages": [7, null, {"id": 1, "title": []}]}])")
                                  << 1 << 3;
    QJsonArray storages;
    QJsonArray many;
    for (int i = 0; i < 1000; ++i) {
        storages.append(storage(QString::number(i), QString::number(i)));
    }
    for (int i = 0; i < 1000; ++i) {
        many.append(category(QString::number(i), i == 0 ? storages : QJsonArray()));
    }
    QTest::newRow("many") << json(many) << 1000 << 1000;
}

void TestViewAnalysis::oddCategories()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, categories);
    QFETCH(int, storages);
    loadCategories(reply);
    QCOMPARE(categoryBox()->count(), categories);
    QCOMPARE(storageBox()->count(), storages);
    analyse();
    QCOMPARE(Utils::bytesToJson(server->last().body).value(text("storageId")).toString(text("?")),
             qstrcmp(QTest::currentDataTag(), "many") == 0 ? text("0") : QString());
    QCOMPARE(markers()->model()->rowCount(), 3);
}

void TestViewAnalysis::oddMarkers_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("columns");
    QTest::newRow("empty") << QByteArray("") << 0 << 0;
    QTest::newRow("no JSON") << QByteArray("<html>") << 0 << 0;
    QTest::newRow("cut") << markersReply.left(130) << 0 << 0;
    QTest::newRow("array") << QByteArray("[]") << 0 << 0;
    QTest::newRow("null") << QByteArray("null") << 0 << 0;
    QTest::newRow("nothing") << QByteArray("{}") << 0 << 0;
    QTest::newRow("nulls") << QByteArray(R"({"rows": null, "columns": null})") << 0 << 0;
    QTest::newRow("columns alone") << QByteArray(R"({"columns": ["2024-05-06T07:08:09Z"]})") << 0 << 0;
    QTest::newRow("rows alone") << QByteArray(R"({"rows": [{"id": "m", "title": "t", "values": [1]}]})") << 1 << 1;
    QTest::newRow("odd rows") << QByteArray(R"({"columns": [7], "rows": [7, null, {"values": [1e300]}]})") << 3 << 2;
    QTest::newRow("short rows") << QByteArray(R"({"columns": ["", ""], "rows": [{"id": "m", "values": [1]}, {}]})") << 2
                                << 3;
    QTest::newRow("far outside") << QByteArray(
                                        R"({"columns": ["", ""], "rows": [{"values": [2147483647, -2147483648]}]})")
                                 << 1 << 3;
}

void TestViewAnalysis::oddMarkers()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, rows);
    QFETCH(int, columns);
    loadCategories();
    analyse();
    analyse(reply);
    QCOMPARE(markers()->model()->rowCount(), rows);
    QCOMPARE(markers()->model()->columnCount(), columns);
    QCOMPARE(markers()->horizontalHeader()->count(), columns);
    QVERIFY(!view->grab().isNull());
    markers()->sortByColumn(columns - 1, Qt::AscendingOrder);
    QCOMPARE(markers()->model()->rowCount(), rows);
    analyse();
    QCOMPARE(markers()->model()->rowCount(), 3);
    QCOMPARE(markers()->horizontalHeader()->sectionResizeMode(2), QHeaderView::Stretch);
}

void TestViewAnalysis::goesWhileARequestRuns_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::newRow("summary") << summaryTarget;
    QTest::newRow("categories") << categoryTarget;
    QTest::newRow("markers") << markersTarget;
}

void TestViewAnalysis::goesWhileARequestRuns()
{
    QFETCH(QByteArray, target);
    LoopbackServer::Answer stalled;
    stalled.kind = LoopbackServer::Answer::Stall;
    stalled.body = "{}";
    if (target == summaryTarget) {
        server->expect("POST", target, stalled);
        open();
    } else if (target == categoryTarget) {
        load();
        server->expect("GET", target, stalled);
        openTab(1);
    } else {
        loadCategories();
        server->expect("POST", target, stalled);
        click("buttonAnalyse");
    }
    QTRY_COMPARE(server->pending(), 0);
    QPointer<LoadingWindow> overlay(view->findChild<LoadingWindow*>());
    QVERIFY(overlay != nullptr);
    view.reset();
    QVERIFY(overlay == nullptr);
    // The reply still comes, and finds nobody.
    server->release();
    QTest::qWait(100);
}

void TestViewAnalysis::takesItsModelsAlong()
{
    loadCategories();
    analyse();
    QList<QPointer<QObject>> owned;
    for (QTableView* table : {summary(), markers()}) {
        auto* const proxy = qobject_cast<QSortFilterProxyModel*>(table->model());
        owned.append(QPointer<QObject>(proxy));
        owned.append(QPointer<QObject>(proxy->sourceModel()));
    }
    owned.append(QPointer<QObject>(view->findChild<AnalysisDelegate*>()));
    for (const QPointer<QObject>& object : qAsConst(owned)) {
        QVERIFY(object != nullptr);
    }
    view.reset();
    for (const QPointer<QObject>& object : qAsConst(owned)) {
        QVERIFY(object == nullptr);
    }
}

QTEST_MAIN(TestViewAnalysis)

#include "TestViewAnalysis.moc"
