// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Storage.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "recipe/ReceiptDelegate.h"
#include "recipe/ReceiptDescriptionPopup.h"
#include "recipe/ReceiptModel.h"
#include "recipe/ViewReceipt.h"
#include "signal/Utils.h"
#include "tests/recipe/RecipeFixtures.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <QTest>
#include <QTimer>

#include <memory>

using namespace RecipeFixtures;

namespace {

const QByteArray recipeTarget = QByteArrayLiteral("/recipe/p1/r1");
const QByteArray categoryTarget = QByteArrayLiteral("/category/corrective/p1");
const QByteArray analysisTarget = QByteArrayLiteral("/analysis");
const QByteArray saveTarget = QByteArrayLiteral("/recipe");

QString text(const char* latin1)
{
    return QString::fromLatin1(latin1);
}

QStringList idsOf(const QJsonArray& array)
{
    QStringList ids;
    for (const QJsonValue& value : array) {
        ids.append(value.toString());
    }
    return ids;
}

} // namespace

class TestViewReceipt : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void hasItsWidgets();
    void showsPatientAndRecord_data();
    void showsPatientAndRecord();
    void startsWaiting();
    void setsUpTheTable();
    void loadsInAChain();
    void changesCategory();
    void startsWithASavedRecipe();
    void asksForAnAnalysis();
    void asksWithoutAStorage();
    void showsMatchOrFrequencies_data();
    void showsMatchOrFrequencies();
    void showsTheServersOrder();
    void sortsOnDemand();
    void emptyAnalysis();
    void knowsTheHeaderHeight();
    void hoversOverTheNotes();
    void ticksByMouse();
    void keepsTheOrderOfChoice();
    void keepsMarksAcrossStorages();
    void lastMarkDisables();
    void doublesInTheSavedRecipe();
    void removesMarkers();
    void removesTheOnlyRow();
    void receiptNeedsAMarker();
    void leavesUnchanged_data();
    void leavesUnchanged();
    void leavesWithoutSaving_data();
    void leavesWithoutSaving();
    void leavesWithSaving_data();
    void leavesWithSaving();
    void savesAnEmptyRecipe();
    void savedRecipeFails_data();
    void savedRecipeFails();
    void categoriesFail_data();
    void categoriesFail();
    void analysisFails_data();
    void analysisFails();
    void saveFails_data();
    void saveFails();
    void oddSavedRecipes_data();
    void oddSavedRecipes();
    void oddCategories_data();
    void oddCategories();
    void oddAnalyses_data();
    void oddAnalyses();
    void manyRows();
    void goesWhileTheQuestionIsOpen_data();
    void goesWhileTheQuestionIsOpen();
    void goesWhileARequestRuns_data();
    void goesWhileARequestRuns();

private:
    void open(bool hasDevices = false);
    /// The load chain with these replies, to its end.
    void load(const QByteArray& saved = QByteArrayLiteral("[]"), const QByteArray& categories = QByteArray());
    void analyse(const QByteArray& reply);
    void waitForReply();
    /// The next request of this kind fails as the current row says.
    void fail(const QByteArray& method, const QByteArray& target);
    /// Answers the box that tells of the failure, and lets the server work again.
    void acknowledge();
    void tick(int row);
    void click(const char* button) { QTest::mouseClick(child<QPushButton>(button), Qt::LeftButton); }
    template <typename T> T* child(const char* name) const
    {
        T* const found = view->findChild<T*>(text(name));
        if (found == nullptr) {
            qFatal("No child %s", name);
        }
        return found;
    }
    QTableView* table() const { return child<QTableView>("tableView"); }
    QAbstractItemModel* rowsOf() const { return table()->model(); }
    ReceiptModel* model() const { return view->findChild<ReceiptModel*>(); }
    bool receiptEnabled() const { return child<QPushButton>("buttonReceipt")->isEnabled(); }
    QByteArray twoCategories() const
    {
        return json(QJsonArray{
            category(text("Notes"), {storage(text("s1"), text("Match")), storage(text("s2"), text("Amounts"), true)}),
            category(text("Hum"), {storage(text("s3"), text("Mains"))}),
        });
    }
    QByteArray threeRows() const
    {
        return rows({marker(text("m1"), text("Beta"), 50, 9), marker(text("m2"), text("Alpha"), 70, 10),
                     marker(text("m3"), text("Gamma"), 9, 2)});
    }

    KeysWithPlaces translator;
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
    std::unique_ptr<ViewReceipt> view;
};

void TestViewReceipt::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    QCoreApplication::installTranslator(&translator);
}

void TestViewReceipt::init()
{
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
}

void TestViewReceipt::cleanup()
{
    view.reset();
    Http::instance().setReadTimeout(180000);
    QCOMPARE(server->pending(), 0);
    server.reset();
    guard->verify();
}

void TestViewReceipt::open(bool hasDevices)
{
    Patient patient = RecipeFixtures::patient(hasDevices);
    Record record = RecipeFixtures::record();
    view = std::make_unique<ViewReceipt>(nullptr, &patient, &record);
    view->resize(1100, 700);
    view->show();
}

void TestViewReceipt::load(const QByteArray& saved, const QByteArray& categories)
{
    server->expect("GET", recipeTarget, saved);
    server->expect("GET", categoryTarget, categories.isNull() ? twoCategories() : categories);
    open();
    QTRY_VERIFY(child<QPushButton>("buttonAnalyse")->isEnabled());
    QVERIFY(view->findChild<LoadingWindow*>() == nullptr);
    server->clear();
}

void TestViewReceipt::analyse(const QByteArray& reply)
{
    server->expect("POST", analysisTarget, reply);
    click("buttonAnalyse");
    waitForReply();
}

void TestViewReceipt::waitForReply()
{
    QVERIFY(view->findChild<LoadingWindow*>() != nullptr);
    QTRY_VERIFY(view->findChild<LoadingWindow*>() == nullptr);
}

void TestViewReceipt::tick(int row)
{
    const QModelIndex index = rowsOf()->index(row, 0);
    QStyleOptionViewItem option;
    option.initFrom(table());
    option.features = QStyleOptionViewItem::HasCheckIndicator | QStyleOptionViewItem::HasDisplay;
    option.rect = table()->visualRect(index);
    option.text = index.data().toString();
    option.widget = table();
    const QRect box = table()->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, table());
    const int before = index.data(Qt::CheckStateRole).toInt();
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, {}, box.center());
    QVERIFY(rowsOf()->index(row, 0).data(Qt::CheckStateRole).toInt() != before);
}

void TestViewReceipt::hasItsWidgets()
{
    load();
    QCOMPARE(view->objectName(), text("ViewReceipt"));
    QVERIFY(view->findChild<QLayout*>(text("gridLayout")) != nullptr);
    for (const char* name : {"horizontalLayout", "horizontalLayout_2", "horizontalLayout_3", "verticalLayout"}) {
        QVERIFY2(view->findChild<QLayout*>(text(name)) != nullptr, name);
    }
    auto* const device = child<QLabel>("labelConnectedDevice");
    QCOMPARE(device->maximumSize(), QSize(24, 24));
    QVERIFY(device->hasScaledContents());
    QCOMPARE(device->toolTip(), text("Text.deviceConnected"));
    QCOMPARE(child<QLabel>("labelPatientName")->text(), QString());
    QCOMPARE(child<QGroupBox>("breadCrumbs")->title(), QString());
    auto* const crumbs = view->findChild<QLayout*>(text("horizontalLayout_2"));
    QCOMPARE(crumbs->spacing(), 0);
    QCOMPARE(crumbs->contentsMargins(), QMargins());
    QCOMPARE(child<QPushButton>("buttonListPatients")->text(), text("Text.listOfPatients"));
    QCOMPARE(child<QLabel>("labelSeparator")->minimumSize(), QSize(20, 20));
    QCOMPARE(child<QLabel>("labelSeparator")->maximumSize(), QSize(20, 20));
    QCOMPARE(child<QLabel>("labelSeparator")->pixmap(Qt::ReturnByValue).toImage(),
             QPixmap(text(":/images/separator.png")).toImage());
    for (const char* name : {"comboBoxCategories", "comboBoxStorages"}) {
        QCOMPARE(child<QComboBox>(name)->sizePolicy().horizontalPolicy(), QSizePolicy::MinimumExpanding);
        QCOMPARE(child<QComboBox>(name)->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
        QCOMPARE(child<QComboBox>(name)->minimumHeight(), 40);
    }
    QCOMPARE(child<QPushButton>("buttonAnalyse")->text(), text("Text.load"));
    QCOMPARE(child<QPushButton>("buttonAnalyse")->minimumHeight(), 40);
    QCOMPARE(child<QPushButton>("buttonReceipt")->text(), text("Text.receipt"));
    QCOMPARE(child<QPushButton>("buttonReceipt")->minimumHeight(), 40);
    QCOMPARE(table()->parentWidget(), child<QWidget>("tableViewBox"));
}

void TestViewReceipt::showsPatientAndRecord_data()
{
    QTest::addColumn<bool>("hasDevices");
    QTest::newRow("with a device") << true;
    QTest::newRow("without") << false;
}

void TestViewReceipt::showsPatientAndRecord()
{
    QFETCH(bool, hasDevices);
    server->setFallback(LoopbackServer::Answer());
    open(hasDevices);
    QCOMPARE(child<QPushButton>("buttonBack")->text(), text("Text.patientCard Ada Byron"));
    QCOMPARE(child<QLabel>("labelTitle")->text(), text("Text.createRecipe Ada Byron 2024-05-06 07:08:09"));
    auto* const device = child<QLabel>("labelConnectedDevice");
    QCOMPARE(device->isVisible(), hasDevices);
    QCOMPARE(device->pixmap(Qt::ReturnByValue).toImage(),
             RecipeFixtures::patient(hasDevices).getStatusIcon().toImage());
    QTRY_VERIFY(child<QPushButton>("buttonAnalyse")->isEnabled());
}

void TestViewReceipt::startsWaiting()
{
    server->expect("GET", recipeTarget, "[]");
    server->expect("GET", categoryTarget, "[]");
    open();
    QVERIFY(!child<QPushButton>("buttonAnalyse")->isEnabled());
    QVERIFY(!receiptEnabled());
    QVERIFY(view->findChild<LoadingWindow*>() != nullptr);
    QCOMPARE(child<QComboBox>("comboBoxCategories")->count(), 0);
    QTRY_VERIFY(child<QPushButton>("buttonAnalyse")->isEnabled());
}

void TestViewReceipt::setsUpTheTable()
{
    load();
    auto* const proxy = qobject_cast<QSortFilterProxyModel*>(rowsOf());
    QVERIFY(proxy != nullptr);
    QCOMPARE(proxy->sourceModel(), static_cast<QAbstractItemModel*>(model()));
    QCOMPARE(model()->parent(), static_cast<QObject*>(view.get()));
    QVERIFY(proxy->dynamicSortFilter());
    QCOMPARE(proxy->filterCaseSensitivity(), Qt::CaseInsensitive);
    QCOMPARE(proxy->sortRole(), int(Qt::UserRole));
    QVERIFY(table()->isSortingEnabled());
    QVERIFY(table()->hasMouseTracking());
    auto* const delegate = view->findChild<ReceiptDelegate*>();
    QCOMPARE(delegate->parent(), static_cast<QObject*>(view.get()));
    QCOMPARE(table()->itemDelegateForColumn(1), static_cast<QAbstractItemDelegate*>(delegate));
    QCOMPARE(table()->itemDelegateForColumn(3), static_cast<QAbstractItemDelegate*>(delegate));
    QVERIFY(table()->itemDelegateForColumn(0) == nullptr);
    QVERIFY(table()->itemDelegateForColumn(2) == nullptr);
    QVERIFY(table()->verticalHeader()->isHidden());
    QCOMPARE(table()->selectionMode(), QAbstractItemView::SingleSelection);
    QCOMPARE(table()->selectionBehavior(), QAbstractItemView::SelectRows);
    QVERIFY(table()->alternatingRowColors());
    analyse(threeRows());
    QCOMPARE(table()->rowHeight(0), 40);
    QCOMPARE(table()->rowHeight(2), 40);
}

void TestViewReceipt::loadsInAChain()
{
    LoopbackServer::Answer slow;
    slow.kind = LoopbackServer::Answer::Stall;
    slow.body = "[]";
    server->expect("GET", recipeTarget, slow);
    open();
    QTRY_COMPARE(server->requests().size(), 1);
    // The categories are asked for only when the recipe is there.
    QTest::qWait(50);
    QCOMPARE(server->requests().size(), 1);
    LoopbackServer::Answer categories = slow;
    categories.body = twoCategories();
    server->expect("GET", categoryTarget, categories);
    server->release();
    QTRY_COMPARE(server->requests().size(), 2);
    QVERIFY(!child<QPushButton>("buttonAnalyse")->isEnabled());
    QVERIFY(view->findChild<LoadingWindow*>() != nullptr);
    server->release();
    QTRY_VERIFY(child<QPushButton>("buttonAnalyse")->isEnabled());

    auto* const box = child<QComboBox>("comboBoxCategories");
    QCOMPARE(box->count(), 2);
    QCOMPARE(box->currentIndex(), 0);
    QCOMPARE(box->itemText(0), text("Notes"));
    QCOMPARE(box->itemText(1), text("Hum"));
    auto* const storages = child<QComboBox>("comboBoxStorages");
    QCOMPARE(storages->count(), 2);
    QCOMPARE(storages->itemText(0), text("Match"));
    QCOMPARE(storages->itemText(1), text("Amounts"));
    QCOMPARE(storages->itemData(1).value<Storage>().getId(), text("s2"));
    QVERIFY(!receiptEnabled());
    QCOMPARE(rowsOf()->rowCount(), 0);
}

void TestViewReceipt::changesCategory()
{
    load();
    auto* const storages = child<QComboBox>("comboBoxStorages");
    child<QComboBox>("comboBoxCategories")->setCurrentIndex(1);
    QCOMPARE(storages->count(), 1);
    QCOMPARE(storages->currentText(), text("Mains"));
    QCOMPARE(storages->currentData().value<Storage>().getId(), text("s3"));
    child<QComboBox>("comboBoxCategories")->setCurrentIndex(0);
    QCOMPARE(storages->count(), 2);
    child<QComboBox>("comboBoxCategories")->setCurrentIndex(-1);
    QCOMPARE(storages->count(), 0);
}

void TestViewReceipt::startsWithASavedRecipe()
{
    load(json(QJsonArray{marker(text("m9"), text("Saved")), marker(text("m2"), text("Alpha"))}));
    QVERIFY(receiptEnabled());
    QStringList ids;
    bool flag = true;
    const QObject whileHere;
    connect(view.get(), &ViewReceipt::onReceipt, &whileHere,
            [&](Patient& patient, Record& record, QList<Marker>& markers, bool changed) {
                QCOMPARE(patient.getId(), text("p1"));
                QCOMPARE(record.getId(), text("r1"));
                for (const Marker& one : qAsConst(markers)) {
                    ids.append(one.getTitle());
                }
                flag = changed;
            });
    click("buttonReceipt");
    QCOMPARE(ids, (QStringList{text("Saved"), text("Alpha")}));
    QCOMPARE(flag, false);

    // What was saved shows as checked once it turns up, and nothing else does.
    analyse(threeRows());
    QCOMPARE(model()->getMarker(0).isChecked(), false);
    QCOMPARE(model()->getMarker(1).isChecked(), true);
    QCOMPARE(model()->getMarker(2).isChecked(), false);
}

void TestViewReceipt::asksForAnAnalysis()
{
    load();
    child<QComboBox>("comboBoxStorages")->setCurrentIndex(1);
    analyse(threeRows());
    const LoopbackServer::Request& request = server->last();
    QCOMPARE(request.headers.value("content-type"), QByteArray("application/json"));
    const QJsonObject body = Utils::bytesToJson(request.body);
    QCOMPARE(body.keys(), (QStringList{text("patientId"), text("records"), text("storageId")}));
    QCOMPARE(body.value(text("patientId")).toString(), text("p1"));
    QCOMPARE(body.value(text("storageId")).toString(), text("s2"));
    QCOMPARE(body.value(text("records")).toArray(), QJsonArray{text("r1")});
    QVERIFY(request.body.startsWith("{\n    \"patientId\""));
}

void TestViewReceipt::asksWithoutAStorage()
{
    load("[]", "[]");
    QCOMPARE(child<QComboBox>("comboBoxStorages")->count(), 0);
    analyse(threeRows());
    const QJsonObject body = Utils::bytesToJson(server->last().body);
    QVERIFY(body.value(text("storageId")).isString());
    QCOMPARE(body.value(text("storageId")).toString(), QString());
    QCOMPARE(rowsOf()->rowCount(), 3);
    QVERIFY(!table()->isColumnHidden(1));
    QVERIFY(table()->isColumnHidden(2));
}

void TestViewReceipt::showsMatchOrFrequencies_data()
{
    QTest::addColumn<int>("storage");
    QTest::newRow("match") << 0;
    QTest::newRow("frequencies") << 1;
}

void TestViewReceipt::showsMatchOrFrequencies()
{
    QFETCH(int, storage);
    load();
    for (int round = 0; round < 2; ++round) {
        const int current = (storage + round) % 2;
        child<QComboBox>("comboBoxStorages")->setCurrentIndex(current);
        analyse(threeRows());
        QHeaderView* const header = table()->horizontalHeader();
        QCOMPARE(header->count(), 4);
        QVERIFY(!header->stretchLastSection());
        QCOMPARE(header->sectionResizeMode(0), QHeaderView::Stretch);
        QCOMPARE(header->sectionResizeMode(1), QHeaderView::Fixed);
        QCOMPARE(header->sectionResizeMode(2), QHeaderView::Fixed);
        QCOMPARE(table()->isColumnHidden(1), current == 1);
        QCOMPARE(table()->isColumnHidden(2), current == 0);
        QCOMPARE(table()->columnWidth(1), current == 1 ? 0 : 250);
        QCOMPARE(table()->columnWidth(2), current == 0 ? 0 : 250);
        QCOMPARE(table()->columnWidth(3), QPixmap(text(":/images/notes.png")).width() + 25);
        // The titles take what the others leave.
        QTRY_COMPARE(header->length(), table()->viewport()->width());
    }
}

void TestViewReceipt::showsTheServersOrder()
{
    load();
    analyse(threeRows());
    QCOMPARE(rowsOf()->index(0, 0).data().toString(), text("Beta"));
    QCOMPARE(rowsOf()->index(1, 0).data().toString(), text("Alpha"));
    QCOMPARE(rowsOf()->index(2, 0).data().toString(), text("Gamma"));
}

void TestViewReceipt::sortsOnDemand()
{
    load();
    analyse(threeRows());
    QHeaderView* const header = table()->horizontalHeader();
    const QPoint place(header->sectionViewportPosition(1) + 20, header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, place);
    QCOMPARE(rowsOf()->index(0, 0).data().toString(), text("Gamma"));
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, place);
    QCOMPARE(rowsOf()->index(0, 0).data().toString(), text("Alpha"));
    // A mark goes to the marker that is seen.
    tick(0);
    QVERIFY(model()->getMarker(1).isChecked());
    // The order chosen holds for the next load.
    analyse(threeRows());
    QCOMPARE(rowsOf()->index(0, 0).data().toString(), text("Alpha"));
}

void TestViewReceipt::emptyAnalysis()
{
    load();
    analyse(rows({}));
    QCOMPARE(rowsOf()->rowCount(), 0);
    QCOMPARE(rowsOf()->columnCount(), 0);
    QCOMPARE(table()->horizontalHeader()->count(), 0);
    // From nothing to something and back, on either kind of storage.
    analyse(threeRows());
    QCOMPARE(table()->columnWidth(1), 250);
    child<QComboBox>("comboBoxStorages")->setCurrentIndex(1);
    analyse(rows({}));
    analyse(threeRows());
    QVERIFY(table()->isColumnHidden(1));
    QCOMPARE(table()->columnWidth(2), 250);
}

void TestViewReceipt::knowsTheHeaderHeight()
{
    load();
    auto* const delegate = view->findChild<ReceiptDelegate*>();
    analyse(threeRows());
    const int height = delegate->getHeaderHeight();
    QVERIFY(height > 0);
    QApplication::processEvents();
    QCOMPARE(table()->horizontalHeader()->height(), height);
    QCOMPARE(table()->viewport()->y() - table()->frameWidth(), height);
}

void TestViewReceipt::hoversOverTheNotes()
{
    load();
    analyse(threeRows());
    ReceiptDescriptionPopup* popup = nullptr;
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget* widget : widgets) {
        if (auto* const found = qobject_cast<ReceiptDescriptionPopup*>(widget)) {
            popup = found;
        }
    }
    QVERIFY(popup != nullptr);
    const QRect cell = table()->visualRect(rowsOf()->index(1, 3));
    QTest::mouseMove(table()->viewport(), cell.center());
    QTRY_VERIFY(popup->isVisible());
    QCOMPARE(popup->title(), text("Alpha"));
    QCOMPARE(popup->targetRect().size(), cell.size());
    QCOMPARE(popup->targetRect().top(), table()->viewport()->mapToGlobal(cell.topLeft()).y() - table()->frameWidth());
    // It goes with its screen.
    const QPointer<ReceiptDescriptionPopup> guarded(popup);
    view.reset();
    QVERIFY(guarded == nullptr);
}

void TestViewReceipt::ticksByMouse()
{
    load();
    analyse(threeRows());
    tick(1);
    QVERIFY(model()->getMarker(1).isChecked());
    QVERIFY(receiptEnabled());
    tick(1);
    QVERIFY(!model()->getMarker(1).isChecked());
    QVERIFY(!receiptEnabled());
}

void TestViewReceipt::keepsTheOrderOfChoice()
{
    load(json(QJsonArray{marker(text("m9"), text("Saved"))}));
    analyse(threeRows());
    for (int row : {2, 0, 1}) {
        tick(row);
    }
    QStringList ids;
    bool flag = false;
    const QObject whileHere;
    connect(view.get(), &ViewReceipt::onReceipt, &whileHere,
            [&](Patient&, Record&, QList<Marker>& markers, bool changed) {
                ids.clear();
                for (const Marker& one : qAsConst(markers)) {
                    ids.append(one.getId());
                }
                flag = changed;
            });
    click("buttonReceipt");
    QCOMPARE(ids, (QStringList{text("m9"), text("m3"), text("m1"), text("m2")}));
    QCOMPARE(flag, true);
    tick(0);
    tick(0);
    click("buttonReceipt");
    QCOMPARE(ids, (QStringList{text("m9"), text("m3"), text("m2"), text("m1")}));
}

void TestViewReceipt::keepsMarksAcrossStorages()
{
    load();
    analyse(threeRows());
    tick(0);
    child<QComboBox>("comboBoxCategories")->setCurrentIndex(1);
    analyse(rows({marker(text("x1"), text("Fifty")), marker(text("x2"), text("Hundred"))}));
    QVERIFY(receiptEnabled());
    tick(1);
    child<QComboBox>("comboBoxCategories")->setCurrentIndex(0);
    analyse(threeRows());
    QVERIFY(model()->getMarker(0).isChecked());
    QVERIFY(!model()->getMarker(1).isChecked());
    QStringList ids;
    const QObject whileHere;
    connect(view.get(), &ViewReceipt::onReceipt, &whileHere, [&ids](Patient&, Record&, QList<Marker>& markers, bool) {
        for (const Marker& one : qAsConst(markers)) {
            ids.append(one.getId());
        }
    });
    click("buttonReceipt");
    QCOMPARE(ids, (QStringList{text("m1"), text("x2")}));
}

void TestViewReceipt::lastMarkDisables()
{
    load(json(QJsonArray{marker(text("m1"), text("Beta"))}));
    analyse(threeRows());
    tick(0);
    QVERIFY(!receiptEnabled());
    // There is a change to save now, although nothing is chosen.
    QSignalSpy back(view.get(), &ViewReceipt::onBack);
    BoxAnswer answer(QMessageBox::No);
    click("buttonBack");
    QVERIFY(answer.used());
    QCOMPARE(back.count(), 1);
}

void TestViewReceipt::doublesInTheSavedRecipe()
{
    load(json(QJsonArray{marker(text("m1"), text("Beta")), marker(text("m1"), text("Beta"))}));
    analyse(threeRows());
    tick(0);
    QVERIFY(receiptEnabled());
    int count = 0;
    const QObject whileHere;
    connect(view.get(), &ViewReceipt::onReceipt, &whileHere,
            [&count](Patient&, Record&, QList<Marker>& markers, bool) { count = markers.size(); });
    click("buttonReceipt");
    QCOMPARE(count, 1);
}

void TestViewReceipt::removesMarkers()
{
    load(json(QJsonArray{marker(text("m9"), text("Saved"))}));
    analyse(threeRows());
    tick(1);
    QVERIFY(QMetaObject::invokeMethod(view.get(), "markerRemove", Q_ARG(QString, text("m2"))));
    QCOMPARE(rowsOf()->rowCount(), 2);
    QVERIFY(receiptEnabled());
    // One that no analysis has shown goes out of the receipt alone.
    view->markerRemove(text("m9"));
    QCOMPARE(rowsOf()->rowCount(), 2);
    QVERIFY(!receiptEnabled());
    view->markerRemove(text("unknown"));
    QCOMPARE(rowsOf()->rowCount(), 2);
    QVERIFY(!table()->isColumnHidden(1));
    QVERIFY(table()->isColumnHidden(2));
}

void TestViewReceipt::removesTheOnlyRow()
{
    load();
    analyse(rows({marker(text("m1"), text("Beta"))}));
    tick(0);
    view->markerRemove(text("m1"));
    QCOMPARE(rowsOf()->rowCount(), 0);
    QCOMPARE(rowsOf()->columnCount(), 0);
    QVERIFY(!receiptEnabled());
    analyse(threeRows());
    QCOMPARE(table()->columnWidth(1), 250);

    // A removal alone is a change.
    QSignalSpy list(view.get(), &ViewReceipt::onPatientsList);
    BoxAnswer answer(QMessageBox::No);
    click("buttonListPatients");
    QVERIFY(answer.used());
    QCOMPARE(list.count(), 1);
}

void TestViewReceipt::receiptNeedsAMarker()
{
    load();
    bool emitted = false;
    const QObject whileHere;
    connect(view.get(), &ViewReceipt::onReceipt, &whileHere, [&emitted] { emitted = true; });
    view->receipt();
    QVERIFY(!emitted);
}

void TestViewReceipt::leavesUnchanged_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::newRow("card") << QByteArray("buttonBack");
    QTest::newRow("list") << QByteArray("buttonListPatients");
}

void TestViewReceipt::leavesUnchanged()
{
    QFETCH(QByteArray, button);
    load(json(QJsonArray{marker(text("m1"), text("Beta"))}));
    QSignalSpy back(view.get(), &ViewReceipt::onBack);
    QSignalSpy list(view.get(), &ViewReceipt::onPatientsList);
    click(button.constData());
    QCOMPARE(back.count(), button == "buttonBack" ? 1 : 0);
    QCOMPARE(list.count(), button == "buttonBack" ? 0 : 1);
    QCOMPARE(server->requests().size(), 0);
}

void TestViewReceipt::leavesWithoutSaving_data()
{
    leavesUnchanged_data();
}

void TestViewReceipt::leavesWithoutSaving()
{
    QFETCH(QByteArray, button);
    load();
    analyse(threeRows());
    tick(0);
    server->clear();
    QSignalSpy back(view.get(), &ViewReceipt::onBack);
    QSignalSpy list(view.get(), &ViewReceipt::onPatientsList);
    BoxAnswer answer(QMessageBox::No);
    click(button.constData());
    QVERIFY(answer.used());
    QCOMPARE(answer.title, text("Text.saving"));
    QCOMPARE(answer.text, text("Text.confirmSave"));
    QCOMPARE(answer.parent, static_cast<QWidget*>(view.get()));
    QCOMPARE(back.count(), button == "buttonBack" ? 1 : 0);
    QCOMPARE(list.count(), button == "buttonBack" ? 0 : 1);
    // The server keeps what it has.
    QTest::qWait(50);
    QCOMPARE(server->requests().size(), 0);
}

void TestViewReceipt::leavesWithSaving_data()
{
    leavesUnchanged_data();
}

void TestViewReceipt::leavesWithSaving()
{
    QFETCH(QByteArray, button);
    load();
    analyse(threeRows());
    tick(2);
    tick(0);
    QSignalSpy back(view.get(), &ViewReceipt::onBack);
    QSignalSpy list(view.get(), &ViewReceipt::onPatientsList);
    QSignalSpy& wanted = button == "buttonBack" ? back : list;
    QSignalSpy& other = button == "buttonBack" ? list : back;

    // A save that fails leaves the screen where it is, with its question.
    server->expect("PUT", saveTarget, R"({"message": "No room"})", 400);
    {
        BoxAnswer question(QMessageBox::Yes);
        click(button.constData());
        QVERIFY(question.used());
    }
    {
        BoxAnswer failure(QMessageBox::Ok);
        QTRY_VERIFY(failure.used());
        QCOMPARE(failure.text, text("No room"));
    }
    QCOMPARE(wanted.count(), 0);

    server->expect("PUT", saveTarget, QByteArray());
    server->clear();
    {
        BoxAnswer question(QMessageBox::Yes);
        click(button.constData());
        QVERIFY(question.used());
    }
    QCOMPARE(wanted.count(), 0);
    QTRY_COMPARE(wanted.count(), 1);
    QCOMPARE(other.count(), 0);
    const QJsonObject body = Utils::bytesToJson(server->last().body);
    QCOMPARE(body.size(), 6);
    QCOMPARE(body.value(text("patientId")).toString(), text("p1"));
    QCOMPARE(body.value(text("recordId")).toString(), text("r1"));
    QCOMPARE(idsOf(body.value(text("markers")).toArray()), (QStringList{text("m3"), text("m1")}));
    QVERIFY(body.value(text("duration")).isDouble());
    QCOMPARE(body.value(text("duration")).toInt(-1), 0);
    QVERIFY(body.value(text("command")).isString());
    QCOMPARE(body.value(text("command")).toString(), QString());
    QCOMPARE(body.value(text("deviceId")).toString(text("?")), QString());

    // What is saved is no change any more.
    click(button.constData());
    QCOMPARE(wanted.count(), 2);
}

void TestViewReceipt::savesAnEmptyRecipe()
{
    load(json(QJsonArray{marker(text("m1"), text("Beta"))}));
    analyse(threeRows());
    tick(0);
    server->expect("PUT", saveTarget, QByteArray());
    QSignalSpy back(view.get(), &ViewReceipt::onBack);
    BoxAnswer question(QMessageBox::Yes);
    click("buttonBack");
    QVERIFY(question.used());
    QTRY_COMPARE(back.count(), 1);
    const QJsonObject body = Utils::bytesToJson(server->last().body);
    QVERIFY(body.value(text("markers")).isArray());
    QCOMPARE(body.value(text("markers")).toArray().size(), 0);
}

void TestViewReceipt::fail(const QByteArray& method, const QByteArray& target)
{
    expectFailure(*server, method, target);
    if (qstrcmp(QTest::currentDataTag(), "no answer") == 0) {
        Http::instance().setReadTimeout(timeout);
    }
}

void TestViewReceipt::acknowledge()
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

void TestViewReceipt::savedRecipeFails_data()
{
    addFailureRows();
}

void TestViewReceipt::savedRecipeFails()
{
    fail("GET", recipeTarget);
    open();
    acknowledge();
    // The chain ends there, and the way back is open.
    QTest::qWait(20);
    QCOMPARE(child<QComboBox>("comboBoxCategories")->count(), 0);
    QVERIFY(!child<QPushButton>("buttonAnalyse")->isEnabled());
    QVERIFY(!receiptEnabled());
    QSignalSpy back(view.get(), &ViewReceipt::onBack);
    click("buttonBack");
    QCOMPARE(back.count(), 1);
}

void TestViewReceipt::categoriesFail_data()
{
    addFailureRows();
}

void TestViewReceipt::categoriesFail()
{
    server->expect("GET", recipeTarget, "{}", 400);
    open();
    {
        BoxAnswer box(QMessageBox::Ok);
        QTRY_VERIFY(box.used());
    }
    fail("GET", categoryTarget);
    view->onLoadRecipe(json(QJsonArray{marker(text("m9"), text("Saved"))}));
    acknowledge();
    QVERIFY(!child<QPushButton>("buttonAnalyse")->isEnabled());
    QCOMPARE(child<QComboBox>("comboBoxCategories")->count(), 0);
    // What was saved can still be used.
    QVERIFY(receiptEnabled());
}

void TestViewReceipt::analysisFails_data()
{
    addFailureRows();
}

void TestViewReceipt::analysisFails()
{
    load();
    analyse(threeRows());
    tick(1);
    fail("POST", analysisTarget);
    click("buttonAnalyse");
    acknowledge();
    QCOMPARE(rowsOf()->rowCount(), 3);
    QVERIFY(model()->getMarker(1).isChecked());
    QVERIFY(receiptEnabled());
    analyse(rows({marker(text("m1"), text("Beta"))}));
    QCOMPARE(rowsOf()->rowCount(), 1);
}

void TestViewReceipt::saveFails_data()
{
    addFailureRows();
}

void TestViewReceipt::saveFails()
{
    load();
    analyse(threeRows());
    tick(1);
    QSignalSpy back(view.get(), &ViewReceipt::onBack);
    QSignalSpy list(view.get(), &ViewReceipt::onPatientsList);
    for (const char* button : {"buttonBack", "buttonListPatients"}) {
        fail("PUT", saveTarget);
        BoxAnswer question(QMessageBox::Yes);
        click(button);
        // Each time, since there is still something to save.
        QVERIFY(question.used());
        acknowledge();
        QCOMPARE(back.count() + list.count(), 0);
        QVERIFY(receiptEnabled());
    }
}

void TestViewReceipt::oddSavedRecipes_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("count");
    QTest::newRow("empty") << QByteArray("") << 0;
    QTest::newRow("no JSON") << QByteArray("<html>") << 0;
    QTest::newRow("object") << QByteArray(R"({"id": "m1"})") << 0;
    QTest::newRow("null") << QByteArray("null") << 0;
    QTest::newRow("no markers") << QByteArray("[]") << 0;
    QTest::newRow("missing keys") << QByteArray("[{}]") << 1;
    QTest::newRow("wrong types") << QByteArray(R"([{"id": 7, "title": [], "values": "x"}, 7, null, "m", []])") << 5;
    QTest::newRow("nulls") << QByteArray(R"([{"id": null, "title": null, "amount": null, "values": null}])") << 1;
    QTest::newRow("huge numbers") << QByteArray(R"([{"id": "m1", "amount": 1e300, "values": [1e300]}])") << 1;
}

void TestViewReceipt::oddSavedRecipes()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, count);
    load(reply);
    QCOMPARE(receiptEnabled(), count > 0);
    int found = 0;
    const QObject whileHere;
    connect(view.get(), &ViewReceipt::onReceipt, &whileHere,
            [&found](Patient&, Record&, QList<Marker>& markers, bool) { found = markers.size(); });
    view->receipt();
    QCOMPARE(found, count);
    QCOMPARE(child<QComboBox>("comboBoxCategories")->count(), 2);
}

void TestViewReceipt::oddCategories_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("categories");
    QTest::addColumn<int>("storages");
    QTest::newRow("empty") << QByteArray("") << 0 << 0;
    QTest::newRow("no JSON") << QByteArray("<html>") << 0 << 0;
    QTest::newRow("object") << QByteArray(R"({"title": "Notes"})") << 0 << 0;
    QTest::newRow("null") << QByteArray("null") << 0 << 0;
    QTest::newRow("no category") << QByteArray("[]") << 0 << 0;
    QTest::newRow("missing keys") << QByteArray("[{}]") << 1 << 0;
    QTest::newRow("wrong types") << QByteArray(R"([{"title": 7, "storages": {}}, 7, null, []])") << 4 << 0;
    QTest::newRow("nulls") << QByteArray(R"([{"title": null, "storages": null}])") << 1 << 0;
    QTest::newRow("odd storages") << QByteArray(
                                         R"([{"title": "t", "storages": [7, null, {"id": 1, "frequencies": "yes"}]}])")
                                  << 1 << 3;
    QJsonArray many;
    QJsonArray storages;
    for (int i = 0; i < 10000; ++i) {
        storages.append(storage(QString::number(i), QString::number(i)));
    }
    many.append(category(text("many"), storages));
    for (int i = 1; i < 10000; ++i) {
        many.append(category(QString::number(i), {}));
    }
    QTest::newRow("many") << json(many) << 10000 << 10000;
}

void TestViewReceipt::oddCategories()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, categories);
    QFETCH(int, storages);
    load("[]", reply);
    QCOMPARE(child<QComboBox>("comboBoxCategories")->count(), categories);
    QCOMPARE(child<QComboBox>("comboBoxStorages")->count(), storages);
    analyse(threeRows());
    QCOMPARE(rowsOf()->rowCount(), 3);
}

void TestViewReceipt::oddAnalyses_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("count");
    QTest::newRow("empty") << QByteArray("") << 0;
    QTest::newRow("no JSON") << QByteArray("<html>") << 0;
    QTest::newRow("array") << QByteArray("[]") << 0;
    QTest::newRow("no rows") << QByteArray("{}") << 0;
    QTest::newRow("rows null") << QByteArray(R"({"rows": null})") << 0;
    QTest::newRow("odd rows") << QByteArray(R"({"rows": [7, null, {"values": [1e300]}]})") << 3;
    QTest::newRow("huge numbers") << QByteArray(R"({"rows": [{"amount": 2147483647, "values": [2147483647]}]})") << 1;
    QTest::newRow("negative") << QByteArray(R"({"rows": [{"amount": -3, "values": [-2147483648]}]})") << 1;
}

void TestViewReceipt::oddAnalyses()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, count);
    load();
    analyse(threeRows());
    analyse(reply);
    QCOMPARE(rowsOf()->rowCount(), count);
    // Painted once, as it stands.
    QVERIFY(!view->grab().isNull());
    analyse(threeRows());
    QCOMPARE(rowsOf()->rowCount(), 3);
}

void TestViewReceipt::manyRows()
{
    constexpr int count = 10000;
    QJsonArray array;
    for (int i = 0; i < count; ++i) {
        array.append(marker(QString::number(i), QString::number(i), i % 100, i));
    }
    load(json(array));
    QVERIFY(receiptEnabled());
    analyse(rows(array));
    QCOMPARE(rowsOf()->rowCount(), count);
    QVERIFY(model()->getMarker(count - 1).isChecked());
    table()->scrollToBottom();
    QVERIFY(!view->grab().isNull());
    tick(count - 1);
    QVERIFY(!model()->getMarker(count - 1).isChecked());
}

void TestViewReceipt::goesWhileTheQuestionIsOpen_data()
{
    leavesUnchanged_data();
}

void TestViewReceipt::goesWhileTheQuestionIsOpen()
{
    QFETCH(QByteArray, button);
    load();
    analyse(threeRows());
    tick(2);
    const int sent = server->requests().size();
    QSignalSpy list(view.get(), &ViewReceipt::onPatientsList);
    QSignalSpy back(view.get(), &ViewReceipt::onBack);
    ModalAnswer end([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                    [this](QWidget*) { view.reset(); });
    click(button.constData());
    QVERIFY(end.used());
    QVERIFY(view == nullptr);
    // Nobody is left who could go anywhere or save anything.
    QCOMPARE(list.count() + back.count(), 0);
    QTest::qWait(50);
    QCOMPARE(server->requests().size(), sent);
}

void TestViewReceipt::goesWhileARequestRuns_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::newRow("recipe") << recipeTarget;
    QTest::newRow("categories") << categoryTarget;
    QTest::newRow("analysis") << analysisTarget;
    QTest::newRow("save") << saveTarget;
}

void TestViewReceipt::goesWhileARequestRuns()
{
    QFETCH(QByteArray, target);
    LoopbackServer::Answer stalled;
    stalled.kind = LoopbackServer::Answer::Stall;
    stalled.body = "[]";
    if (target == recipeTarget) {
        server->expect("GET", target, stalled);
        open();
    } else if (target == categoryTarget) {
        server->expect("GET", recipeTarget, "[]");
        server->expect("GET", target, stalled);
        open();
    } else {
        load();
        analyse(threeRows());
        if (target == analysisTarget) {
            server->expect("POST", target, stalled);
            click("buttonAnalyse");
        } else {
            tick(0);
            server->expect("PUT", target, stalled);
            BoxAnswer question(QMessageBox::Yes);
            click("buttonBack");
            QVERIFY(question.used());
        }
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

QTEST_MAIN(TestViewReceipt)

#include "TestViewReceipt.moc"
