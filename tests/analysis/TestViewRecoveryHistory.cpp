// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/SymptomDelegate.h"
#include "analysis/SymptomModel.h"
#include "analysis/ViewRecoveryHistory.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "signal/Utils.h"
#include "tests/analysis/SymptomFixtures.h"
#include "tests/recipe/RecipeFixtures.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QGroupBox>
#include <QHeaderView>
#include <QInputDialog>
#include <QJsonArray>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMenu>
#include <QPaintEvent>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

#include <memory>

using RecipeFixtures::addFailureRows;
using RecipeFixtures::expectFailure;
using SymptomFixtures::KeysWithContext;
using SymptomFixtures::object;
using SymptomFixtures::usual;

namespace {

const QByteArray loadTarget = QByteArrayLiteral("/patient/questionnaire");
const QByteArray saveTarget = QByteArrayLiteral("/patient/questionnaire/p1");

QString text(const char* latin1)
{
    return QString::fromLatin1(latin1);
}

/// As the screen's own texts come out.
QString own(const char* key)
{
    return QStringLiteral("ViewRecoveryHistory/") + text(key);
}

/// Answers the dialog for a new symptom, and keeps what it looked like.
class NameAnswer : public ModalAnswer
{
public:
    enum Answer
    {
        Accept,
        Cancel,
        Close,
    };
    NameAnswer(const QString& name, Answer answer)
        : ModalAnswer([](QWidget* widget) { return qobject_cast<QInputDialog*>(widget) != nullptr; },
                      [this, name, answer](QWidget* widget) {
                          auto* const dialog = qobject_cast<QInputDialog*>(widget);
                          title = dialog->windowTitle();
                          label = dialog->labelText();
                          ok = dialog->okButtonText();
                          cancel = dialog->cancelButtonText();
                          mode = dialog->inputMode();
                          hasParent = dialog->parentWidget() != nullptr;
                          QTest::keyClicks(dialog->findChild<QLineEdit*>(), name);
                          switch (answer) {
                          case Accept:
                              dialog->accept();
                              break;
                          case Cancel:
                              dialog->reject();
                              break;
                          case Close:
                              dialog->close();
                              break;
                          }
                      })
    {
    }

    QString title;
    QString label;
    QString ok;
    QString cancel;
    QInputDialog::InputMode mode = QInputDialog::IntInput;
    bool hasParent = true;
};

/// Whether a widget has been painted there since.
class PaintWatch : public QObject
{
public:
    PaintWatch(QWidget* widget, const QRect& watched)
        : place(watched)
    {
        widget->installEventFilter(this);
    }
    bool painted() const { return seen; }

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            seen = seen || static_cast<QPaintEvent*>(event)->region().contains(place);
        }
        return false;
    }

private:
    QRect place;
    bool seen = false;
};

} // namespace

class TestViewRecoveryHistory : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void hasItsWidgets();
    void showsThePatient();
    void setsUpTheTable();
    void asksForTheQuestionnaire();
    void keepsCopies();
    void showsTheQuestionnaire();
    void stretchesTheDates();
    void keepsTheDatesLegible();
    void limitsTheTitles();
    void fitsTheFirstSymptom();
    void loadsAnew();
    void oddReplies_data();
    void oddReplies();
    void manyRows();
    void refreshDoesNothing();

    void repaintsTheHeadRows();
    void loadingLeavesItClean();
    void aChangeMakesItDirty();
    void aChangeBackMakesItDirty();
    void openingAnEditorOnNoneLeavesItClean();
    void openingAnEditorOnAStrengthMakesItDirty();
    void aRefusedChangeMakesItDirty();
    void loadingLeavesItDirty();

    void asksForAName();
    void newSymptomByButton_data();
    void newSymptomByButton();
    void newSymptomByMenu_data();
    void newSymptomByMenu();
    void opensTheMenu_data();
    void opensTheMenu();
    void opensTheMenuAtTheMouse();
    void opensTheMenuBesideTheTable();
    void opensTheMenuInTheScrolledTable();
    void removesByMenu();
    void removesTheOnlySymptom();
    void aRemovalThatFailsMakesItDirty();

    void saves();
    void savesWhatTheEditorHolds();
    void savesACleanTable();
    void saveFails_data();
    void saveFails();
    void loadFails_data();
    void loadFails();
    void leavesClean_data();
    void leavesClean();
    void leavesWithoutSaving_data();
    void leavesWithoutSaving();
    void leavesWithSaving_data();
    void leavesWithSaving();
    void leavingFails_data();
    void leavingFails();
    void savesWhateverTheServerAnswers_data();
    void savesWhateverTheServerAnswers();

    void goesWhileARequestRuns_data();
    void goesWhileARequestRuns();
    void goesWhileTheQuestionIsOpen_data();
    void goesWhileTheQuestionIsOpen();
    void goesWhileANameIsAskedFor_data();
    void goesWhileANameIsAskedFor();

private:
    void open();
    /// Opens the screen with this reply, to the end of the request.
    void load(const QByteArray& reply = usual);
    void waitForReply();
    /// The next request of this kind fails as the current row says.
    void fail(const QByteArray& method, const QByteArray& target);
    /// Answers the box that tells of the failure, and lets the server work again.
    void acknowledge();
    void click(const char* button) { QTest::mouseClick(child<QPushButton>(button), Qt::LeftButton); }
    /// Opens the editor of a cell, as a user would.
    QComboBox* edit(int row, int column);
    /// Chooses another strength for a cell.
    void change(int row = 2, int column = 1, int entry = 3);
    /// Whether the screen thinks that there is something to save: it asks on the way out. The answer is no.
    bool isDirty();
    /// Right-clicks there in the table's viewport.
    QMenu* menuAt(const QPoint& position);
    QMenu* menuAt(int row, int column = 0) { return menuAt(table()->visualRect(model()->index(row, column)).center()); }
    static void choose(QMenu* menu, int entry);
    QStringList titles() const;
    QVariant value(int row, int column) const { return model()->data(model()->index(row, column), Qt::EditRole); }
    template <typename T> T* child(const char* name) const
    {
        T* const found = view->findChild<T*>(text(name));
        if (found == nullptr) {
            qFatal("No child %s", name);
        }
        return found;
    }
    QTableView* table() const { return child<QTableView>("tableView"); }
    SymptomModel* model() const { return view->findChild<SymptomModel*>(); }

    KeysWithContext translator;
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
    std::unique_ptr<ViewRecoveryHistory> view;
};

void TestViewRecoveryHistory::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    QCoreApplication::installTranslator(&translator);
}

void TestViewRecoveryHistory::init()
{
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
}

void TestViewRecoveryHistory::cleanup()
{
    if (QWidget* const popup = QApplication::activePopupWidget()) {
        popup->close();
    }
    view.reset();
    Http::instance().setReadTimeout(180000);
    QCOMPARE(server->pending(), 0);
    server.reset();
    guard->verify();
}

void TestViewRecoveryHistory::open()
{
    Patient patient = RecipeFixtures::patient();
    QList<Record> records;
    for (const char* id : {"r2", "r1"}) {
        records.append(Record(QJsonObject{{text("id"), text(id)}, {text("patientId"), text("p1")}}));
    }
    view = std::make_unique<ViewRecoveryHistory>(nullptr, &patient, &records);
    // The screen that tests have is small, and the window would be as large.
    view->showNormal();
    view->resize(1200, 700);
}

void TestViewRecoveryHistory::load(const QByteArray& reply)
{
    server->expect("POST", loadTarget, reply);
    open();
    waitForReply();
    server->clear();
}

void TestViewRecoveryHistory::waitForReply()
{
    QVERIFY(view->findChild<LoadingWindow*>() != nullptr);
    QTRY_VERIFY(view->findChild<LoadingWindow*>() == nullptr);
}

void TestViewRecoveryHistory::fail(const QByteArray& method, const QByteArray& target)
{
    expectFailure(*server, method, target);
    if (qstrcmp(QTest::currentDataTag(), "no answer") == 0) {
        Http::instance().setReadTimeout(RecipeFixtures::timeout);
    }
}

void TestViewRecoveryHistory::acknowledge()
{
    QFETCH(QString, text);
    BoxAnswer box(QMessageBox::Ok);
    QTRY_VERIFY(box.used());
    QCOMPARE(box.title, QStringLiteral("QObject/Text.error"));
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

QComboBox* TestViewRecoveryHistory::edit(int row, int column)
{
    const QPoint place = table()->visualRect(model()->index(row, column)).center();
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, {}, place);
    QTest::mouseDClick(table()->viewport(), Qt::LeftButton, {}, place);
    auto* const box = table()->viewport()->findChild<QComboBox*>();
    if (box == nullptr) {
        qFatal("No editor at %d, %d", row, column);
    }
    return box;
}

void TestViewRecoveryHistory::change(int row, int column, int entry)
{
    QComboBox* const box = edit(row, column);
    box->setCurrentIndex(entry);
    QTest::keyClick(box, Qt::Key_Enter);
    QTRY_VERIFY(table()->viewport()->findChild<QComboBox*>() == nullptr);
    QCOMPARE(value(row, column), QVariant(static_cast<float>(entry)));
}

bool TestViewRecoveryHistory::isDirty()
{
    BoxAnswer question(QMessageBox::No);
    QSignalSpy back(view.get(), &ViewRecoveryHistory::onBack);
    click("buttonBack");
    // It leaves either way, so that a question left out is no screen left standing.
    if (back.count() != 1) {
        qFatal("The screen did not want to go");
    }
    return question.used();
}

QMenu* TestViewRecoveryHistory::menuAt(const QPoint& position)
{
    QWidget* const viewport = table()->viewport();
    QContextMenuEvent event(QContextMenuEvent::Mouse, position, viewport->mapToGlobal(position));
    QCoreApplication::sendEvent(viewport, &event);
    auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    if (menu == nullptr) {
        qFatal("No menu came up");
    }
    return menu;
}

void TestViewRecoveryHistory::choose(QMenu* menu, int entry)
{
    const QRect place = menu->actionGeometry(menu->actions().at(entry));
    QTest::mouseMove(menu, place.center());
    QTest::mouseClick(menu, Qt::LeftButton, {}, place.center());
}

QStringList TestViewRecoveryHistory::titles() const
{
    QStringList found;
    for (int row = 2; row < model()->rowCount(); ++row) {
        found.append(model()->index(row, 0).data().toString());
    }
    return found;
}

void TestViewRecoveryHistory::hasItsWidgets()
{
    load();
    QCOMPARE(view->objectName(), text("ViewRecoveryHistory"));
    QVERIFY(view->testAttribute(Qt::WA_DeleteOnClose));
    QVERIFY(view->findChild<QLayout*>(text("gridLayout")) != nullptr);
    auto* const column = view->findChild<QVBoxLayout*>(text("verticalLayout"));
    QVERIFY(column != nullptr);
    QCOMPARE(column->spacing(), 8);
    QCOMPARE(column->count(), 4);
    QCOMPARE(column->itemAt(0)->layout()->objectName(), text("horizontalLayout"));
    QCOMPARE(column->itemAt(1)->widget(), static_cast<QWidget*>(child<QGroupBox>("breadCrumbs")));
    QCOMPARE(column->itemAt(2)->widget(), child<QWidget>("tableViewBox"));
    QCOMPARE(column->itemAt(3)->layout()->objectName(), text("horizontalLayout_5"));
    QVERIFY(column->itemAt(3)->layout()->indexOf(child<QPushButton>("buttonSave")) >= 0);

    auto* const head = column->itemAt(0)->layout();
    QCOMPARE(child<QLabel>("labelTitle")->text(), own("Title.historyOfRecovery"));
    auto* const refresh = child<QPushButton>("buttonRefresh");
    QVERIFY(head->indexOf(child<QLabel>("labelTitle")) < head->indexOf(child<QLabel>("labelPatientName")));
    QVERIFY(head->indexOf(child<QLabel>("labelPatientName")) < head->indexOf(refresh));
    QVERIFY(head->indexOf(child<QLabel>("labelTitle")) >= 0);
    QCOMPARE(refresh->minimumSize(), QSize(32, 24));
    QCOMPARE(refresh->toolTip(), own("Text.refresh"));
    QCOMPARE(refresh->icon().pixmap(64).toImage(), QIcon(text(":/images/refresh.png")).pixmap(64).toImage());

    auto* const crumbs = view->findChild<QHBoxLayout*>(text("horizontalLayout_3"));
    QVERIFY(crumbs != nullptr);
    QCOMPARE(crumbs->parentWidget(), static_cast<QWidget*>(child<QGroupBox>("breadCrumbs")));
    QCOMPARE(crumbs->spacing(), 0);
    QCOMPARE(crumbs->count(), 5);
    QCOMPARE(crumbs->itemAt(0)->widget(), static_cast<QWidget*>(child<QPushButton>("buttonListPatients")));
    QCOMPARE(crumbs->itemAt(1)->widget(), static_cast<QWidget*>(child<QLabel>("label")));
    QCOMPARE(crumbs->itemAt(2)->widget(), static_cast<QWidget*>(child<QPushButton>("buttonBack")));
    QVERIFY(crumbs->itemAt(3)->spacerItem() != nullptr);
    QCOMPARE(crumbs->itemAt(4)->widget(), static_cast<QWidget*>(child<QPushButton>("buttonNewSymptom")));
    QCOMPARE(child<QPushButton>("buttonListPatients")->text(), own("Text.listOfPatients"));
    QCOMPARE(child<QPushButton>("buttonNewSymptom")->text(), own("Text.newSymptom"));
    QCOMPARE(child<QPushButton>("buttonSave")->text(), own("Text.save"));
    QCOMPARE(child<QLabel>("label")->minimumSize(), QSize(20, 20));
    QCOMPARE(child<QLabel>("label")->maximumSize(), QSize(20, 20));
    QCOMPARE(child<QLabel>("label")->pixmap(Qt::ReturnByValue).toImage(),
             QPixmap(text(":/images/separator.png")).toImage());
    QCOMPARE(table()->parentWidget(), child<QWidget>("tableViewBox"));
    QCOMPARE(child<QWidget>("tableViewBox")->layout()->objectName(), text("horizontalLayout_2"));
    QCOMPARE(table()->contextMenuPolicy(), Qt::CustomContextMenu);
}

void TestViewRecoveryHistory::showsThePatient()
{
    load();
    QCOMPARE(child<QPushButton>("buttonBack")->text(), own("Text.patientCard Ada Byron"));
    QCOMPARE(child<QLabel>("labelPatientName")->text(), text("(Ada Byron)"));
    QCOMPARE(child<QLabel>("labelPatientName")->textFormat(), Qt::PlainText);
    QVERIFY(view->isVisible());
}

void TestViewRecoveryHistory::setsUpTheTable()
{
    load();
    QCOMPARE(table()->model(), static_cast<QAbstractItemModel*>(model()));
    QCOMPARE(model()->QObject::parent(), static_cast<QObject*>(table()));
    auto* const delegate = qobject_cast<SymptomDelegate*>(table()->itemDelegate());
    QVERIFY(delegate != nullptr);
    QCOMPARE(delegate->parent(), static_cast<QObject*>(view.get()));
    QVERIFY(table()->hasMouseTracking());
    QVERIFY(table()->verticalHeader()->isHidden());
    QVERIFY(table()->alternatingRowColors());
    QCOMPARE(table()->verticalHeader()->sectionResizeMode(0), QHeaderView::Fixed);
    for (int row = 0; row < model()->rowCount(); ++row) {
        QCOMPARE(table()->rowHeight(row), 40);
    }
}

void TestViewRecoveryHistory::asksForTheQuestionnaire()
{
    LoopbackServer::Answer slow;
    slow.kind = LoopbackServer::Answer::Stall;
    slow.body = usual;
    server->expect("POST", loadTarget, slow);
    open();
    QVERIFY(view->findChild<LoadingWindow*>() != nullptr);
    QTRY_COMPARE(server->requests().size(), 1);
    QCOMPARE(server->last().headers.value("content-type"), QByteArray("application/json"));
    const QJsonObject body = Utils::bytesToJson(server->last().body);
    QCOMPARE(body.keys(), (QStringList{text("patientId"), text("records")}));
    QCOMPARE(body.value(text("patientId")).toString(), text("p1"));
    // In the order of the list.
    QCOMPARE(body.value(text("records")).toArray(), (QJsonArray{text("r2"), text("r1")}));
    QCOMPARE(model()->rowCount(), 0);
    server->release();
    QTRY_COMPARE(model()->rowCount(), 6);
    QVERIFY(view->findChild<LoadingWindow*>() == nullptr);
}

void TestViewRecoveryHistory::keepsCopies()
{
    server->expect("POST", loadTarget, usual);
    {
        auto patient = std::make_unique<Patient>(RecipeFixtures::patient());
        auto records = std::make_unique<QList<Record>>();
        view = std::make_unique<ViewRecoveryHistory>(nullptr, patient.get(), records.get());
    }
    waitForReply();
    server->expect("PUT", saveTarget, QByteArray());
    click("buttonSave");
    waitForReply();
    QCOMPARE(server->last().target, saveTarget);
}

void TestViewRecoveryHistory::showsTheQuestionnaire()
{
    load();
    QCOMPARE(titles(), (QStringList{text("Cough"), text("Ache"), text("Mine"), text("Yours")}));
    QHeaderView* const header = table()->horizontalHeader();
    QCOMPARE(header->count(), 3);
    QCOMPARE(model()->headerData(1, Qt::Horizontal).toString(), text("2024-05-06 07:08:09"));
    QCOMPARE(model()->headerData(2, Qt::Horizontal).toString(), text("2024-05-07 07:08:09"));
    // As the user sees it, at a corner of each kind of cell.
    const QImage image = table()->viewport()->grab().toImage();
    const auto colour = [&](int row, int column) {
        const QRect cell = table()->visualRect(model()->index(row, column));
        return QColor(image.pixel(cell.topLeft() + QPoint(2, 2)));
    };
    QCOMPARE(colour(0, 0), QColor(224, 251, 246));
    QCOMPARE(colour(1, 2), QColor(224, 251, 246));
    QCOMPARE(colour(2, 2), QColor(254, 202, 80));
    QCOMPARE(colour(3, 1), QColor(255, 84, 85));
    QCOMPARE(colour(3, 2), QColor(173, 87, 255));
    QCOMPARE(colour(2, 1), colour(2, 0));
    QVERIFY(colour(3, 0) != colour(2, 0));
}

void TestViewRecoveryHistory::stretchesTheDates()
{
    load();
    QHeaderView* const header = table()->horizontalHeader();
    QVERIFY(header->sectionResizeMode(0) != QHeaderView::Stretch);
    QCOMPARE(header->sectionResizeMode(1), QHeaderView::Stretch);
    QCOMPARE(header->sectionResizeMode(2), QHeaderView::Stretch);
    const QAbstractItemView* const cells = table();
    QCOMPARE(table()->columnWidth(0), qMax(cells->sizeHintForColumn(0), header->sectionSizeHint(0)));
    QCOMPARE(header->length(), table()->viewport()->width());
    QVERIFY(qAbs(table()->columnWidth(1) - table()->columnWidth(2)) <= 1);
}

void TestViewRecoveryHistory::keepsTheDatesLegible()
{
    QJsonObject dates;
    for (int i = 0; i < 30; ++i) {
        dates.insert(QString::number(i), text("2024-05-06T07:08:%1Z").arg(i, 2, 10, QLatin1Char('0')));
    }
    load(RecipeFixtures::json(QJsonObject{{text("dates"), dates}, {text("rows"), QJsonArray{QJsonObject()}}}));
    QHeaderView* const header = table()->horizontalHeader();
    QCOMPARE(header->count(), 31);
    for (int section = 1; section < header->count(); ++section) {
        QVERIFY(header->sectionSize(section) >= header->sectionSizeHint(section));
    }
    QVERIFY(header->length() > table()->viewport()->width());
}

void TestViewRecoveryHistory::limitsTheTitles()
{
    const QString name = text("endless ").repeated(200);
    load(RecipeFixtures::json(QJsonObject{
        {text("dates"), QJsonObject{{text("a"), text("2024-05-06")}}},
        {text("rows"), QJsonArray{QJsonObject{{text("symptom"), name}}}},
    }));
    QCOMPARE(table()->columnWidth(0), 600);
    QVERIFY(table()->visualRect(model()->index(2, 1)).right() <= table()->viewport()->width());
    QVERIFY(!view->grab().isNull());
}

void TestViewRecoveryHistory::fitsTheFirstSymptom()
{
    load(R"({"dates": {"r1": "2024-05-06"}})");
    QCOMPARE(table()->horizontalHeader()->count(), 2);
    QCOMPARE(model()->rowCount(), 0);
    const QString name = text("A symptom with a rather long name");
    {
        NameAnswer answer(name, NameAnswer::Accept);
        click("buttonNewSymptom");
        QVERIFY(answer.used());
    }
    QCOMPARE(model()->rowCount(), 3);
    const QAbstractItemView* const cells = table();
    QCOMPARE(table()->columnWidth(0), cells->sizeHintForColumn(0));
    QCOMPARE(table()->horizontalHeader()->sectionResizeMode(1), QHeaderView::Stretch);
    QCOMPARE(table()->rowHeight(2), 40);

    // A width that the user has chosen is enough for a short name, and stays.
    table()->setColumnWidth(0, 500);
    NameAnswer answer(text("short"), NameAnswer::Accept);
    click("buttonNewSymptom");
    QVERIFY(answer.used());
    QCOMPARE(model()->rowCount(), 4);
    QCOMPARE(table()->columnWidth(0), 500);
}

void TestViewRecoveryHistory::loadsAnew()
{
    load();
    view->onLoadSuccess(R"({"dates": {"r1": "2024-05-06"}, "rows": [{"symptom": "Other"}]})");
    QCOMPARE(titles(), QStringList{text("Other")});
    QCOMPARE(table()->horizontalHeader()->count(), 2);
    view->onLoadSuccess(R"({"dates": {"a": "2024-05-06", "b": "2024-05-07", "c": "", "d": ""}, "rows": [{}, {}]})");
    QHeaderView* const header = table()->horizontalHeader();
    QCOMPARE(header->count(), 5);
    for (int section = 1; section < header->count(); ++section) {
        QCOMPARE(header->sectionResizeMode(section), QHeaderView::Stretch);
    }
    view->onLoadSuccess(QByteArray());
    QCOMPARE(header->count(), 0);
    view->onLoadSuccess(usual);
    QCOMPARE(header->count(), 3);
    QCOMPARE(header->sectionResizeMode(2), QHeaderView::Stretch);
}

void TestViewRecoveryHistory::oddReplies_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("rows");
    QTest::newRow("empty") << QByteArray() << 0 << 0;
    QTest::newRow("no JSON") << QByteArray("<html>") << 0 << 0;
    QTest::newRow("cut") << usual.left(usual.size() - 3) << 0 << 0;
    QTest::newRow("array") << QByteArray("[{}]") << 0 << 0;
    QTest::newRow("null") << QByteArray("null") << 0 << 0;
    QTest::newRow("empty object") << QByteArray("{}") << 0 << 0;
    QTest::newRow("dates without rows") << QByteArray(R"({"dates": {"a": "2024-05-06"}})") << 2 << 0;
    QTest::newRow("rows without dates") << QByteArray(R"({"rows": [{"id": 1, "symptom": "s"}]})") << 0 << 3;
    QTest::newRow("nulls") << QByteArray(R"({"dates": null, "rows": null})") << 0 << 0;
    QTest::newRow("wrong kinds") << QByteArray(R"({"dates": [1], "rows": {"id": 1}})") << 0 << 0;
    QTest::newRow("odd dates") << QByteArray(R"({"dates": {"a": 7, "b": null, "": "x"}, "rows": [{}]})") << 4 << 3;
    QTest::newRow("odd rows") << QByteArray(R"({"dates": {"a": ""}, "rows": [7, null, "x", [], {"id": "1"}]})") << 2
                              << 7;
    QTest::newRow("odd values")
        << QByteArray(R"({"dates": {"a": ""}, "rows": [{"intensities": {"a": "3"}}, {"intensities": 7}]})") << 2 << 4;
    QTest::newRow("huge numbers") << QByteArray(
                                         R"({"dates": {"a": ""}, "rows": [{"id": 1e300, "intensities": {"a": 1e300}},
                                         {"intensities": {"a": -1e300}}]})")
                                  << 2 << 4;
}

void TestViewRecoveryHistory::oddReplies()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, columns);
    QFETCH(int, rows);
    load(reply);
    QCOMPARE(model()->columnCount(), columns);
    QCOMPARE(model()->rowCount(), rows);
    QVERIFY(!view->grab().isNull());
    // The screen still works.
    NameAnswer answer(text("New"), NameAnswer::Accept);
    click("buttonNewSymptom");
    QVERIFY(answer.used());
    QCOMPARE(model()->rowCount(), rows == 0 ? 3 : rows + 1);
    QVERIFY(!view->grab().isNull());
    server->expect("PUT", saveTarget, QByteArray());
    click("buttonSave");
    waitForReply();
    QCOMPARE(object(server->last().body).size(), qMax(0, columns - 1));
    view->onLoadSuccess(usual);
    QCOMPARE(model()->rowCount(), 6);
}

void TestViewRecoveryHistory::manyRows()
{
    constexpr int count = 10000;
    QJsonArray rows;
    for (int i = 0; i < count; ++i) {
        rows.append(QJsonObject{{text("id"), i},
                                {text("symptom"), QString::number(i)},
                                {text("intensities"), QJsonObject{{text("a"), i % 4}, {text("b"), 1}}}});
    }
    const QJsonObject dates{{text("a"), text("2024-05-06")}, {text("b"), text("2024-05-07")}};
    load(RecipeFixtures::json(QJsonObject{{text("dates"), dates}, {text("rows"), rows}}));
    QCOMPARE(model()->rowCount(), count + 2);
    table()->scrollToBottom();
    QVERIFY(!view->grab().isNull());
    change(count + 1, 2, 3);
    QVERIFY(isDirty());
}

void TestViewRecoveryHistory::refreshDoesNothing()
{
    load();
    click("buttonRefresh");
    QVERIFY(view->findChild<LoadingWindow*>() == nullptr);
    QTest::qWait(50);
    QCOMPARE(server->requests().size(), 0);
    QCOMPARE(model()->rowCount(), 6);
    QVERIFY(!isDirty());
}

void TestViewRecoveryHistory::repaintsTheHeadRows()
{
    load();
    QComboBox* const box = edit(2, 1);
    QTest::qWait(50);
    const PaintWatch watch(table()->viewport(), table()->visualRect(model()->index(1, 1)));
    box->setCurrentIndex(2);
    QTRY_VERIFY(watch.painted());
    QCOMPARE(model()->index(1, 1).data(), QVariant(5.0F));
}

void TestViewRecoveryHistory::loadingLeavesItClean()
{
    load();
    QVERIFY(!isDirty());
}

void TestViewRecoveryHistory::aChangeMakesItDirty()
{
    load();
    edit(2, 1)->setCurrentIndex(1);
    QVERIFY(isDirty());
    // Leaving does not make it clean.
    QVERIFY(isDirty());
}

void TestViewRecoveryHistory::aChangeBackMakesItDirty()
{
    load();
    QComboBox* const box = edit(2, 1);
    box->setCurrentIndex(1);
    box->setCurrentIndex(0);
    QCOMPARE(value(2, 1), QVariant(0.0F));
    QVERIFY(isDirty());
}

void TestViewRecoveryHistory::openingAnEditorOnNoneLeavesItClean()
{
    load();
    QCOMPARE(edit(2, 1)->currentIndex(), 0);
    QVERIFY(!isDirty());
    // A cell without a value shows the same entry.
    QCOMPARE(edit(4, 2)->currentIndex(), 0);
    QVERIFY(!isDirty());
}

void TestViewRecoveryHistory::openingAnEditorOnAStrengthMakesItDirty()
{
    load();
    QCOMPARE(edit(3, 1)->currentIndex(), 2);
    QCOMPARE(value(3, 1), QVariant(2.0F));
    QVERIFY(isDirty());
}

void TestViewRecoveryHistory::aRefusedChangeMakesItDirty()
{
    load();
    QVERIFY(!model()->setData(model()->index(0, 1), 3, Qt::DisplayRole));
    QVERIFY(isDirty());
}

void TestViewRecoveryHistory::loadingLeavesItDirty()
{
    load();
    change();
    view->onLoadSuccess(usual);
    QCOMPARE(value(2, 1), QVariant(0.0F));
    QVERIFY(isDirty());
}

void TestViewRecoveryHistory::asksForAName()
{
    load();
    NameAnswer answer(text("Dizziness"), NameAnswer::Accept);
    click("buttonNewSymptom");
    QVERIFY(answer.used());
    QCOMPARE(answer.title, own("Text.newSymptom"));
    QCOMPARE(answer.label, own("Text.symptomName"));
    QCOMPARE(answer.ok, own("Text.save"));
    QCOMPARE(answer.cancel, own("Text.cancel"));
    QCOMPARE(answer.mode, QInputDialog::TextInput);
    QVERIFY(!answer.hasParent);
    QCOMPARE(titles().last(), text("Dizziness"));
    QCOMPARE(value(6, 1), QVariant(0.0F));
    QCOMPARE(value(6, 2), QVariant(0.0F));
    // By its text, since it has no id yet.
    const QJsonObject written = object(model()->toJson()).value(text("r1")).toObject();
    QVERIFY(written.contains(text("Dizziness")));
    QVERIFY(!written.contains(text("-1")));
}

void TestViewRecoveryHistory::newSymptomByButton_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("added");
    QTest::newRow("accepted") << text("Dizziness") << int(NameAnswer::Accept) << true;
    QTest::newRow("a blank") << text(" ") << int(NameAnswer::Accept) << true;
    QTest::newRow("empty") << QString() << int(NameAnswer::Accept) << false;
    QTest::newRow("cancelled") << text("Dizziness") << int(NameAnswer::Cancel) << false;
    QTest::newRow("closed") << text("Dizziness") << int(NameAnswer::Close) << false;
}

void TestViewRecoveryHistory::newSymptomByButton()
{
    QFETCH(QString, name);
    QFETCH(int, answer);
    QFETCH(bool, added);
    load();
    {
        NameAnswer given(name, static_cast<NameAnswer::Answer>(answer));
        click("buttonNewSymptom");
        QVERIFY(given.used());
    }
    QCOMPARE(model()->rowCount(), added ? 7 : 6);
    QCOMPARE(titles().last(), added ? name : text("Yours"));
    QCOMPARE(isDirty(), added);
}

void TestViewRecoveryHistory::newSymptomByMenu_data()
{
    newSymptomByButton_data();
}

void TestViewRecoveryHistory::newSymptomByMenu()
{
    QFETCH(QString, name);
    QFETCH(int, answer);
    QFETCH(bool, added);
    load();
    {
        NameAnswer given(name, static_cast<NameAnswer::Answer>(answer));
        choose(menuAt(2), 0);
        QTRY_VERIFY(given.used());
    }
    QCOMPARE(model()->rowCount(), added ? 7 : 6);
    QCOMPARE(titles().last(), added ? name : text("Yours"));
    // Even if nothing was added.
    QVERIFY(isDirty());
}

void TestViewRecoveryHistory::opensTheMenu_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<bool>("removable");
    QTest::newRow("complaints") << 0 << 0 << false;
    QTest::newRow("severity") << 1 << 2 << false;
    QTest::newRow("the server's title") << 2 << 0 << false;
    QTest::newRow("the server's cell") << 3 << 1 << false;
    QTest::newRow("custom title") << 4 << 0 << true;
    QTest::newRow("custom cell") << 5 << 2 << true;
}

void TestViewRecoveryHistory::opensTheMenu()
{
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(bool, removable);
    load();
    const QMenu* const menu = menuAt(row, column);
    QCOMPARE(menu->actions().size(), 2);
    QCOMPARE(menu->actions().at(0)->text(), own("Text.newSymptom"));
    QCOMPARE(menu->actions().at(1)->text(), own("Text.removeSymptom"));
    QVERIFY(menu->actions().at(0)->isEnabled());
    QCOMPARE(menu->actions().at(1)->isEnabled(), removable);
    QCOMPARE(menu->actions().at(1)->data(), QVariant(row));
}

void TestViewRecoveryHistory::opensTheMenuAtTheMouse()
{
    load();
    for (const QPoint& place : {QPoint(40, 30), QPoint(100, 190)}) {
        QMenu* const menu = menuAt(place);
        QCOMPARE(menu->pos(), table()->viewport()->mapToGlobal(place));
        menu->close();
    }
}

void TestViewRecoveryHistory::opensTheMenuBesideTheTable()
{
    load();
    // Enabled once, and disabled again.
    QVERIFY(menuAt(4)->actions().at(1)->isEnabled());
    QApplication::activePopupWidget()->close();
    const QPoint beside(20, table()->viewport()->height() - 5);
    QVERIFY(!table()->indexAt(beside).isValid());
    QMenu* const menu = menuAt(beside);
    QVERIFY(menu->actions().at(0)->isEnabled());
    QVERIFY(!menu->actions().at(1)->isEnabled());
    NameAnswer answer(text("Dizziness"), NameAnswer::Accept);
    choose(menu, 0);
    QTRY_VERIFY(answer.used());
    QCOMPARE(titles().last(), text("Dizziness"));
}

void TestViewRecoveryHistory::opensTheMenuInTheScrolledTable()
{
    QJsonArray rows;
    for (int i = 0; i < 50; ++i) {
        rows.append(QJsonObject{{text("symptom"), QString::number(i)}, {text("custom"), true}});
    }
    const QJsonObject dates{{text("a"), text("2024-05-06")}};
    load(RecipeFixtures::json(QJsonObject{{text("dates"), dates}, {text("rows"), rows}}));
    table()->scrollToBottom();
    QMenu* const menu = menuAt(51);
    QCOMPARE(menu->actions().at(1)->data(), QVariant(51));
    choose(menu, 1);
    QCOMPARE(titles().size(), 49);
    QVERIFY(!titles().contains(text("49")));
}

void TestViewRecoveryHistory::removesByMenu()
{
    load();
    // Nobody asks: a box that came up would be left unanswered.
    choose(menuAt(4, 1), 1);
    QCOMPARE(titles(), (QStringList{text("Cough"), text("Ache"), text("Yours")}));
    QVERIFY(isDirty());
    choose(menuAt(2), 1);
    QCOMPARE(model()->rowCount(), 5);
}

void TestViewRecoveryHistory::removesTheOnlySymptom()
{
    load(R"({"dates": {"r1": "2024-05-06"}, "rows": [{"symptom": "Mine", "custom": true}]})");
    choose(menuAt(2), 1);
    QCOMPARE(model()->rowCount(), 0);
    QCOMPARE(table()->verticalHeader()->count(), 0);
    QVERIFY(!view->grab().isNull());
    QVERIFY(isDirty());
}

void TestViewRecoveryHistory::aRemovalThatFailsMakesItDirty()
{
    load();
    QMenu* const menu = menuAt(5);
    // The row goes while the menu is open.
    view->onLoadSuccess(R"({"dates": {"r1": "2024-05-06"}, "rows": [{"id": 1, "symptom": "Other"}]})");
    choose(menu, 1);
    QCOMPARE(titles(), QStringList{text("Other")});
    QVERIFY(isDirty());
}

void TestViewRecoveryHistory::saves()
{
    load();
    change(2, 1, 3);
    LoopbackServer::Answer slow;
    slow.kind = LoopbackServer::Answer::Stall;
    slow.body = "OK";
    server->expect("PUT", saveTarget, slow);
    click("buttonSave");
    QTRY_COMPARE(server->requests().size(), 1);
    QCOMPARE(server->last().headers.value("content-type"), QByteArray("application/json"));
    QCOMPARE(server->last().body, model()->toJson());
    QCOMPARE(object(server->last().body), object(R"({"r1": {"11": 3, "12": 2, "Mine": 1, "Yours": 0},
                                                     "r2": {"11": 1, "12": 3, "Mine": 0, "Yours": 2}})"));
    // Not confirmed yet.
    QVERIFY(isDirty());
    server->release();
    waitForReply();
    // No box tells of it, and there is nothing left to save.
    QVERIFY(QApplication::activeModalWidget() == nullptr);
    QVERIFY(!isDirty());
    QCOMPARE(titles().size(), 4);
    QCOMPARE(value(2, 1), QVariant(3.0F));

    change(2, 1, 1);
    QVERIFY(isDirty());
}

void TestViewRecoveryHistory::savesWhatTheEditorHolds()
{
    load();
    QComboBox* const box = edit(2, 1);
    QTest::keyClick(box, Qt::Key_Down);
    QTest::keyClick(box, Qt::Key_Down);
    QVERIFY(box->isVisible());
    server->expect("PUT", saveTarget, QByteArray());
    click("buttonSave");
    waitForReply();
    const QJsonObject first = object(server->last().body).value(text("r1")).toObject();
    QCOMPARE(first.value(text("11")).toDouble(), 2.0);
    QTRY_VERIFY(table()->viewport()->findChild<QComboBox*>() == nullptr);
    QVERIFY(!table()->currentIndex().isValid());
    QVERIFY(table()->isEnabled());
    QVERIFY(!isDirty());
}

void TestViewRecoveryHistory::savesACleanTable()
{
    load();
    server->expect("PUT", saveTarget, QByteArray());
    click("buttonSave");
    waitForReply();
    QCOMPARE(object(server->last().body).keys(), (QStringList{text("r1"), text("r2")}));
    QVERIFY(!isDirty());
}

void TestViewRecoveryHistory::saveFails_data()
{
    addFailureRows();
}

void TestViewRecoveryHistory::saveFails()
{
    load();
    change(2, 1, 3);
    fail("PUT", saveTarget);
    click("buttonSave");
    acknowledge();
    QCOMPARE(value(2, 1), QVariant(3.0F));
    QCOMPARE(titles().size(), 4);
    QVERIFY(isDirty());
    server->expect("PUT", saveTarget, QByteArray());
    click("buttonSave");
    waitForReply();
    QVERIFY(!isDirty());
}

void TestViewRecoveryHistory::loadFails_data()
{
    addFailureRows();
}

void TestViewRecoveryHistory::loadFails()
{
    fail("POST", loadTarget);
    open();
    acknowledge();
    QCOMPARE(model()->rowCount(), 0);
    QCOMPARE(model()->columnCount(), 0);
    QVERIFY(!view->grab().isNull());
    QVERIFY(!isDirty());
}

void TestViewRecoveryHistory::leavesClean_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::newRow("card") << QByteArray("buttonBack");
    QTest::newRow("list") << QByteArray("buttonListPatients");
}

void TestViewRecoveryHistory::leavesClean()
{
    QFETCH(QByteArray, button);
    load();
    QSignalSpy back(view.get(), &ViewRecoveryHistory::onBack);
    QSignalSpy list(view.get(), &ViewRecoveryHistory::onPatientsList);
    click(button.constData());
    QCOMPARE(back.count(), button == "buttonBack" ? 1 : 0);
    QCOMPARE(list.count(), button == "buttonBack" ? 0 : 1);
    QCOMPARE(server->requests().size(), 0);
}

void TestViewRecoveryHistory::leavesWithoutSaving_data()
{
    leavesClean_data();
}

void TestViewRecoveryHistory::leavesWithoutSaving()
{
    QFETCH(QByteArray, button);
    load();
    change();
    QSignalSpy back(view.get(), &ViewRecoveryHistory::onBack);
    QSignalSpy list(view.get(), &ViewRecoveryHistory::onPatientsList);
    BoxAnswer answer(QMessageBox::No);
    click(button.constData());
    QVERIFY(answer.used());
    QCOMPARE(answer.title, own("Text.saving"));
    QCOMPARE(answer.text, own("Text.confirmSave"));
    QCOMPARE(answer.icon, QMessageBox::Question);
    QCOMPARE(answer.parent, static_cast<QWidget*>(view.get()));
    QCOMPARE(back.count(), button == "buttonBack" ? 1 : 0);
    QCOMPARE(list.count(), button == "buttonBack" ? 0 : 1);
    // The server keeps what it has.
    QTest::qWait(50);
    QCOMPARE(server->requests().size(), 0);
}

void TestViewRecoveryHistory::leavesWithSaving_data()
{
    leavesClean_data();
}

void TestViewRecoveryHistory::leavesWithSaving()
{
    QFETCH(QByteArray, button);
    load();
    // An editor that is still open counts.
    edit(2, 1)->setCurrentIndex(3);
    QSignalSpy back(view.get(), &ViewRecoveryHistory::onBack);
    QSignalSpy list(view.get(), &ViewRecoveryHistory::onPatientsList);
    QSignalSpy& wanted = button == "buttonBack" ? back : list;
    QSignalSpy& other = button == "buttonBack" ? list : back;

    server->expect("PUT", saveTarget, QByteArray());
    {
        BoxAnswer question(QMessageBox::Yes);
        click(button.constData());
        QVERIFY(question.used());
    }
    // Only once the server has confirmed.
    QCOMPARE(wanted.count(), 0);
    QTRY_COMPARE(wanted.count(), 1);
    QCOMPARE(other.count(), 0);
    QCOMPARE(server->requests().size(), 1);
    QCOMPARE(object(server->last().body), object(R"({"r1": {"11": 3, "12": 2, "Mine": 1, "Yours": 0},
                                                     "r2": {"11": 1, "12": 3, "Mine": 0, "Yours": 2}})"));
    // What is saved is no change any more.
    click(button.constData());
    QCOMPARE(wanted.count(), 2);
    QCOMPARE(server->requests().size(), 1);
}

void TestViewRecoveryHistory::leavingFails_data()
{
    addFailureRows();
}

void TestViewRecoveryHistory::leavingFails()
{
    load();
    change(2, 1, 3);
    QSignalSpy back(view.get(), &ViewRecoveryHistory::onBack);
    QSignalSpy list(view.get(), &ViewRecoveryHistory::onPatientsList);
    for (const char* button : {"buttonBack", "buttonListPatients"}) {
        fail("PUT", saveTarget);
        BoxAnswer question(QMessageBox::Yes);
        click(button);
        // Each time, since there is still something to save.
        QVERIFY(question.used());
        acknowledge();
        QCOMPARE(back.count() + list.count(), 0);
        QCOMPARE(value(2, 1), QVariant(3.0F));
    }
}

void TestViewRecoveryHistory::savesWhateverTheServerAnswers_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("status");
    QTest::newRow("nothing") << QByteArray() << 204;
    QTest::newRow("a text") << QByteArray("OK") << 200;
    QTest::newRow("no JSON") << QByteArray("{\"message\": ") << 200;
    QTest::newRow("a message") << QByteArray(R"({"message": "stored"})") << 201;
}

void TestViewRecoveryHistory::savesWhateverTheServerAnswers()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, status);
    load();
    change();
    server->expect("PUT", saveTarget, reply, status);
    click("buttonSave");
    waitForReply();
    QVERIFY(!isDirty());
    QCOMPARE(titles().size(), 4);
}

void TestViewRecoveryHistory::goesWhileARequestRuns_data()
{
    QTest::addColumn<QByteArray>("what");
    QTest::newRow("load") << QByteArray("load");
    QTest::newRow("save") << QByteArray("save");
    QTest::newRow("leave") << QByteArray("leave");
}

void TestViewRecoveryHistory::goesWhileARequestRuns()
{
    QFETCH(QByteArray, what);
    LoopbackServer::Answer stalled;
    stalled.kind = LoopbackServer::Answer::Stall;
    stalled.body = usual;
    if (what == "load") {
        server->expect("POST", loadTarget, stalled);
        open();
    } else {
        load();
        change();
        server->expect("PUT", saveTarget, stalled);
        if (what == "save") {
            click("buttonSave");
        } else {
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

void TestViewRecoveryHistory::goesWhileTheQuestionIsOpen_data()
{
    leavesClean_data();
}

void TestViewRecoveryHistory::goesWhileTheQuestionIsOpen()
{
    QFETCH(QByteArray, button);
    load();
    change();
    QSignalSpy back(view.get(), &ViewRecoveryHistory::onBack);
    QSignalSpy list(view.get(), &ViewRecoveryHistory::onPatientsList);
    ModalAnswer end([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                    [this](QWidget*) { view.reset(); });
    click(button.constData());
    QVERIFY(end.used());
    QVERIFY(view == nullptr);
    // Nobody is left who could go anywhere or save anything.
    QCOMPARE(back.count() + list.count(), 0);
    QTest::qWait(50);
    QCOMPARE(server->requests().size(), 0);
}

void TestViewRecoveryHistory::goesWhileANameIsAskedFor_data()
{
    QTest::addColumn<bool>("byMenu");
    QTest::newRow("button") << false;
    QTest::newRow("menu") << true;
}

void TestViewRecoveryHistory::goesWhileANameIsAskedFor()
{
    QFETCH(bool, byMenu);
    load();
    QPointer<QInputDialog> dialog;
    ModalAnswer end([](QWidget* widget) { return qobject_cast<QInputDialog*>(widget) != nullptr; },
                    [&](QWidget* widget) {
                        dialog = qobject_cast<QInputDialog*>(widget);
                        dialog->setTextValue(text("Dizziness"));
                        view.reset();
                    });
    if (byMenu) {
        choose(menuAt(4), 0);
        // The menu goes with the screen too, so it has to be done with its action before.
        QVERIFY(!end.used());
        QVERIFY(view != nullptr);
    } else {
        click("buttonNewSymptom");
    }
    QTRY_VERIFY(end.used());
    QVERIFY(view == nullptr);
    // The dialog goes with the screen.
    QTRY_VERIFY(dialog == nullptr);
}

QTEST_MAIN(TestViewRecoveryHistory)

#include "TestViewRecoveryHistory.moc"
