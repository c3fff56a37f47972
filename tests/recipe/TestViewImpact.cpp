// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/PatientManager.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "patients/PatientModel.h"
#include "recipe/ImpactDelegate.h"
#include "recipe/ImpactModel.h"
#include "recipe/ViewImpact.h"
#include "signal/Utils.h"
#include "tests/recipe/RecipeFixtures.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>

#include <limits>
#include <memory>

using namespace RecipeFixtures;

namespace {

const QByteArray target = QByteArrayLiteral("/recipe");

QString text(const char* latin1)
{
    return QString::fromLatin1(latin1);
}

/// A parent as the main window is one.
class PlayerParent : public QWidget
{
    Q_OBJECT

signals:
    void onPlayerState(bool playing);
};

/// Answers the dialog that asks for a file name, by typing `name`; an empty name cancels.
class FileAnswer : public ModalAnswer
{
public:
    explicit FileAnswer(const QString& name)
        : ModalAnswer([](QWidget* widget) { return qobject_cast<QFileDialog*>(widget) != nullptr; },
                      [this, name](QWidget* widget) {
                          auto* const dialog = qobject_cast<QFileDialog*>(widget);
                          auto* const edit = dialog->findChild<QLineEdit*>(text("fileNameEdit"));
                          title = dialog->windowTitle();
                          filters = dialog->nameFilters();
                          mode = dialog->acceptMode();
                          directory = dialog->directory().canonicalPath();
                          proposal = edit->text();
                          parent = dialog->parentWidget();
                          if (wait > 0) {
                              QTest::qWait(wait);
                          }
                          if (name.isEmpty()) {
                              dialog->reject();
                              return;
                          }
                          edit->setText(name);
                          if (QFile::exists(name)) {
                              replace = std::make_unique<BoxAnswer>(QMessageBox::Yes);
                          }
                          auto* const box = dialog->findChild<QDialogButtonBox*>(text("buttonBox"));
                          QTest::mouseClick(box->button(QDialogButtonBox::Save), Qt::LeftButton);
                          // What follows the dialog comes before control is back in the test.
                          if (fails) {
                              failure = std::make_unique<BoxAnswer>(QMessageBox::Ok);
                          }
                      })
    {
    }

    /// A message box follows the dialog.
    bool fails = false;
    /// Used when a file of this name is there already.
    std::unique_ptr<BoxAnswer> replace;
    std::unique_ptr<BoxAnswer> failure;
    /// Milliseconds that the user thinks it over.
    int wait = 0;
    QString title;
    QStringList filters;
    QFileDialog::AcceptMode mode = QFileDialog::AcceptOpen;
    QString directory;
    QString proposal;
    QWidget* parent = nullptr;
};

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArrayLiteral("cannot be read");
}

} // namespace

class TestViewImpact : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void hasItsWidgets();
    void showsPatientAndRecord_data();
    void showsPatientAndRecord();
    void offersTargets_data();
    void offersTargets();
    void offersCommands();
    void setsUpTheTable();
    void standsWithoutMarkers();
    void calculates_data();
    void calculates();
    void movesTheDuration();
    void calculatesForNoAmount();
    void calculatesInItsSlots();
    void survivesHugeAmounts();
    void treatsARowWithoutATargetAsABox();
    void followsThePlayer();
    void takesAnyParent();
    void removesMarkers();
    void removingTheLastGoesBack();
    void reordersMarkers();
    void asksForARecipe_data();
    void asksForARecipe();
    void playsInTableOrder();
    void keepsStartDisabledAfterPlay();
    void savesAFile();
    void savesBlocksOfAnySize();
    void savesAnEmptyArray();
    void savesLongFilesWithoutMemory();
    void replacesAFile();
    void cancelsTheFile();
    void cannotWriteTheFile();
    void refusesAFileTooLarge();
    void proposesARelativeName();
    void thinksLongerThanTheTimeout();
    void playsTheLongestDuration();
    void playsNoMoreThanMemoryAllows();
    void sendsACommand_data();
    void sendsACommand();
    void readsLongerThanTheTimeout();
    void commandKeepsTheChange();
    void replyClearsTheChange();
    void requestFails_data();
    void requestFails();
    void leavesUnchanged_data();
    void leavesUnchanged();
    void leavesWithoutSaving_data();
    void leavesWithoutSaving();
    void leavesWithSaving_data();
    void leavesWithSaving();
    void saveFails_data();
    void saveFails();
    void goesBackWithoutAQuestion();
    void oddReplies_data();
    void oddReplies();
    void manyBlocks();
    void goesWhileTheQuestionIsOpen_data();
    void goesWhileTheQuestionIsOpen();
    void goesWhileARequestRuns_data();
    void goesWhileARequestRuns();

private:
    void open(const QList<Marker>& markers, bool changed = false, bool hasDevices = true, QWidget* parent = nullptr);
    void choose(ViewImpact::Target wanted);
    void waitForReply();
    /// Starts and hands back what the player is given for this reply.
    QByteArray play(const QByteArray& reply);
    void clickCell(int row, int column);
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
    QSpinBox* duration() const { return child<QSpinBox>("spinBoxDuration"); }
    QPushButton* start() const { return child<QPushButton>("buttonStart"); }
    QTableView* table() const { return child<QTableView>("tableView"); }
    QString labelText(const char* name) const { return child<QLabel>(name)->text(); }
    QJsonObject lastBody() const { return Utils::bytesToJson(server->last().body); }
    QStringList lastMarkers() const
    {
        QStringList ids;
        const QJsonArray array = lastBody().value(text("markers")).toArray();
        for (const QJsonValue& value : array) {
            ids.append(value.toString());
        }
        return ids;
    }
    QString path(const char* name) const { return folder->filePath(text(name)); }

    KeysWithPlaces translator;
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<ViewImpact> view;
};

void TestViewImpact::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    QCoreApplication::installTranslator(&translator);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestViewImpact::init()
{
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(folder->isValid());
    QVERIFY(QDir::setCurrent(folder->path()));
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
}

void TestViewImpact::cleanup()
{
    view.reset();
    Http::instance().setReadTimeout(180000);
    PatientManager::getInstance()->getModel()->clear();
    QCOMPARE(server->pending(), 0);
    server.reset();
    QDir::setCurrent(QDir::tempPath());
    folder.reset();
    guard->verify();
}

void TestViewImpact::open(const QList<Marker>& markers, bool changed, bool hasDevices, QWidget* parent)
{
    Patient patient = RecipeFixtures::patient(hasDevices);
    Record record = RecipeFixtures::record();
    QList<Marker> list = markers;
    view = std::make_unique<ViewImpact>(parent, &patient, &record, &list, changed);
    view->resize(1100, 700);
    view->show();
    if (parent != nullptr) {
        parent->show();
    }
}

void TestViewImpact::choose(ViewImpact::Target wanted)
{
    auto* const box = child<QComboBox>("comboBoxTarget");
    for (int row = 0; row < box->count(); ++row) {
        if (box->itemData(row).value<ViewImpact::Target>() == wanted) {
            box->setCurrentIndex(row);
            return;
        }
    }
    QFAIL("No such target");
}

void TestViewImpact::waitForReply()
{
    QVERIFY(view->findChild<LoadingWindow*>() != nullptr);
    QTRY_VERIFY(view->findChild<LoadingWindow*>() == nullptr);
}

QByteArray TestViewImpact::play(const QByteArray& reply)
{
    server->expect("POST", target, reply);
    QSignalSpy spy(view.get(), &ViewImpact::onPlay);
    click("buttonStart");
    if (!QTest::qWaitFor([&spy] { return spy.count() > 0; }, 20000)) {
        return QByteArrayLiteral("never played");
    }
    return spy.first().first().toByteArray();
}

void TestViewImpact::clickCell(int row, int column)
{
    const QPoint place = table()->visualRect(table()->model()->index(row, column)).center();
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, {}, place);
}

void TestViewImpact::acknowledge()
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

void TestViewImpact::hasItsWidgets()
{
    open(markers(2));
    QCOMPARE(view->objectName(), text("ViewImpact"));
    for (const char* name :
         {"gridLayout", "horizontalLayout", "horizontalLayout_2", "horizontalLayout_4", "verticalLayout"}) {
        QVERIFY2(view->findChild<QLayout*>(text(name)) != nullptr, name);
    }
    QCOMPARE(child<QLabel>("labelConnectedDevice")->maximumSize(), QSize(24, 24));
    QCOMPARE(child<QLabel>("labelConnectedDevice")->toolTip(), text("Text.deviceConnected"));
    QCOMPARE(labelText("labelPatientName"), QString());
    QCOMPARE(child<QGroupBox>("breadCrumbs")->title(), QString());
    auto* const crumbs = view->findChild<QLayout*>(text("horizontalLayout_2"));
    QCOMPARE(crumbs->spacing(), 0);
    QCOMPARE(crumbs->contentsMargins(), QMargins());
    QCOMPARE(child<QPushButton>("buttonListPatients")->text(), text("Text.listOfPatients"));
    QCOMPARE(child<QPushButton>("buttonBack")->text(), text("Text.addToRecipe"));
    for (const char* name : {"labelSeparator", "labelSeparator2"}) {
        QCOMPARE(child<QLabel>(name)->minimumSize(), QSize(20, 20));
        QCOMPARE(child<QLabel>(name)->maximumSize(), QSize(20, 20));
        QCOMPARE(child<QLabel>(name)->pixmap(Qt::ReturnByValue).toImage(),
                 QPixmap(text(":/images/separator.png")).toImage());
    }
    QCOMPARE(child<QComboBox>("comboBoxTarget")->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
    QCOMPARE(child<QComboBox>("comboBoxTarget")->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
    QCOMPARE(child<QComboBox>("comboBoxTarget")->minimumHeight(), 30);
    QCOMPARE(child<QComboBox>("comboBoxCommand")->minimumHeight(), 30);
    QCOMPARE(duration()->minimumSize(), QSize(50, 30));
    QVERIFY(!duration()->testAttribute(Qt::WA_MacShowFocusRect));
    QCOMPARE(labelText("labelMinutes"), text("Text.minutes"));
    QCOMPARE(start()->minimumHeight(), 40);
    QVERIFY(start()->isEnabled());
    QCOMPARE(table()->parentWidget(), child<QWidget>("tableViewBox"));
}

void TestViewImpact::showsPatientAndRecord_data()
{
    QTest::addColumn<bool>("hasDevices");
    QTest::newRow("with a device") << true;
    QTest::newRow("without") << false;
}

void TestViewImpact::showsPatientAndRecord()
{
    QFETCH(bool, hasDevices);
    open(markers(2), false, hasDevices);
    QCOMPARE(child<QPushButton>("buttonPatientCard")->text(), text("Text.patientCard Ada Byron"));
    QCOMPARE(labelText("labelTitle"), text("Text.recipe Ada Byron 2024-05-06 07:08:09"));
    auto* const device = child<QLabel>("labelConnectedDevice");
    QCOMPARE(device->isVisible(), hasDevices);
    QCOMPARE(device->pixmap(Qt::ReturnByValue).toImage(),
             RecipeFixtures::patient(hasDevices).getStatusIcon().toImage());
    QCOMPARE(server->requests().size(), 0);
}

void TestViewImpact::offersTargets_data()
{
    QTest::addColumn<bool>("hasDevices");
    QTest::addColumn<int>("count");
    QTest::newRow("with a device") << true << 3;
    QTest::newRow("without") << false << 2;
}

void TestViewImpact::offersTargets()
{
    QFETCH(bool, hasDevices);
    QFETCH(int, count);
    open(markers(1), false, hasDevices);
    auto* const box = child<QComboBox>("comboBoxTarget");
    QCOMPARE(box->count(), count);
    QCOMPARE(box->currentIndex(), 0);
    const QStringList texts{text("Text.sensor"), text("Text.download"), text("Text.box")};
    for (int row = 0; row < count; ++row) {
        QCOMPARE(box->itemText(row), texts.at(row));
        QCOMPARE(int(box->itemData(row).value<ViewImpact::Target>()), 2 - row);
        QCOMPARE(QByteArray(box->itemData(row).typeName()), QByteArray("ViewImpact::Target"));
        box->setCurrentIndex(row);
        QCOMPARE(child<QComboBox>("comboBoxCommand")->isVisible(), row == 2);
    }
    QVERIFY(QMetaType::type("ViewImpact::Target") != QMetaType::UnknownType);
}

void TestViewImpact::offersCommands()
{
    open(markers(1));
    auto* const box = child<QComboBox>("comboBoxCommand");
    QCOMPARE(box->count(), 2);
    QCOMPARE(box->currentIndex(), 0);
    QCOMPARE(box->itemText(0), text("Text.recipeCommand"));
    QCOMPARE(box->itemData(0).toString(), text("RECIPE"));
    QCOMPARE(box->itemText(1), text("Text.selfRecipeCommand"));
    QCOMPARE(box->itemData(1).toString(), text("SELFRECIPE"));
}

void TestViewImpact::setsUpTheTable()
{
    open(markers(3));
    auto* const model = view->findChild<ImpactModel*>();
    QCOMPARE(table()->model(), static_cast<QAbstractItemModel*>(model));
    QVERIFY(table()->hasMouseTracking());
    auto* const delegate = view->findChild<ImpactDelegate*>();
    for (int column = 0; column < 5; ++column) {
        const bool own = column == 1 || column == 2 || column == 4;
        QCOMPARE(table()->itemDelegateForColumn(column), own ? static_cast<QAbstractItemDelegate*>(delegate) : nullptr);
        QCOMPARE(table()->horizontalHeader()->sectionResizeMode(column),
                 column == 3 ? QHeaderView::Stretch : QHeaderView::Fixed);
        if (own) {
            QCOMPARE(table()->columnWidth(column), delegate->getIconWidth(column) + 2);
        }
    }
    QCOMPARE(table()->columnWidth(0), 50);
    QTRY_COMPARE(table()->horizontalHeader()->length(), table()->viewport()->width());
    QVERIFY(!table()->horizontalHeader()->stretchLastSection());
    QVERIFY(table()->horizontalHeader()->isHidden());
    QVERIFY(table()->verticalHeader()->isHidden());
    QCOMPARE(table()->editTriggers(), QAbstractItemView::EditTriggers(QAbstractItemView::NoEditTriggers));
    QCOMPARE(table()->selectionMode(), QAbstractItemView::SingleSelection);
    QCOMPARE(table()->selectionBehavior(), QAbstractItemView::SelectRows);
    QVERIFY(table()->alternatingRowColors());
    QCOMPARE(table()->rowHeight(1), 40);
}

void TestViewImpact::standsWithoutMarkers()
{
    open({});
    QCOMPARE(table()->model()->rowCount(), 0);
    QCOMPARE(labelText("labelMarkers"), QString());
    QVERIFY(!view->grab().isNull());
    QCOMPARE(play(recipe({})), QByteArray());
    QCOMPARE(lastMarkers(), QStringList());
}

void TestViewImpact::calculates_data()
{
    QTest::addColumn<int>("markerCount");
    QTest::addColumn<int>("amount");
    QTest::addColumn<int>("minutes");
    QTest::addColumn<ViewImpact::Target>("target");
    QTest::addColumn<int>("minimum");
    QTest::addColumn<int>("shown");
    QTest::addColumn<int>("repeats");
    using Target = ViewImpact::Target;
    // The sensor and the box share the time among all markers, the file gives each marker all of it.
    QTest::newRow("one marker, sensor") << 1 << 1 << 15 << Target::Sensor << 1 << 15 << 302;
    QTest::newRow("one marker, box") << 1 << 1 << 15 << Target::Box << 1 << 15 << 302;
    QTest::newRow("one marker, file") << 1 << 1 << 15 << Target::Download << 1 << 15 << 302;
    QTest::newRow("seven, sensor") << 7 << 1 << 30 << Target::Sensor << 1 << 30 << 86;
    QTest::newRow("seven, file") << 7 << 1 << 30 << Target::Download << 1 << 210 << 604;
    QTest::newRow("twenty, sensor") << 20 << 1 << 1 << Target::Sensor << 1 << 1 << 1;
    QTest::newRow("twenty-one, sensor") << 21 << 1 << 2 << Target::Sensor << 2 << 2 << 1;
    QTest::newRow("thirty, sensor") << 30 << 1 << 2 << Target::Sensor << 2 << 2 << 1;
    QTest::newRow("thirty, box") << 30 << 1 << 2 << Target::Box << 2 << 2 << 1;
    QTest::newRow("thirty, file") << 30 << 1 << 1 << Target::Download << 1 << 30 << 20;
    QTest::newRow("amounts add up, sensor") << 3 << 14 << 4 << Target::Sensor << 3 << 4 << 1;
    QTest::newRow("amounts add up, file") << 3 << 14 << 4 << Target::Download << 1 << 168 << 80;
    QTest::newRow("longest, file") << 2 << 1 << 600 << Target::Download << 1 << 1200 << 12080;
    QTest::newRow("more than fits") << 1 << 50000 << 600 << Target::Sensor << 600 << 600 << 1;
}

void TestViewImpact::calculates()
{
    QFETCH(int, markerCount);
    QFETCH(int, amount);
    QFETCH(int, minutes);
    QFETCH(ViewImpact::Target, target);
    QFETCH(int, minimum);
    QFETCH(int, shown);
    QFETCH(int, repeats);
    open(markers(markerCount, amount));
    choose(target);
    duration()->setValue(minutes);

    const bool download = target == ViewImpact::Target::Download;
    QCOMPARE(labelText("labelDuration"), download ? text("Text.durationPerMarker") : text("Text.durationInMinutes"));
    QCOMPARE(start()->text(), download ? text("Text.save") : text("Text.start"));
    QCOMPARE(duration()->minimum(), minimum);
    QCOMPARE(duration()->maximum(), 600);
    QCOMPARE(duration()->value(), minutes);
    QCOMPARE(labelText("labelMarkers"), QStringLiteral("Text.totalMarkers %1").arg(markerCount * amount));
    QCOMPARE(labelText("labelTotal"), QStringLiteral("Text.totalTime %1").arg(shown));
    QCOMPARE(child<QComboBox>("comboBoxCommand")->isVisible(), target == ViewImpact::Target::Box);

    // The passes of a block show in what comes out.
    if (target == ViewImpact::Target::Sensor) {
        QCOMPARE(play(recipe({"a"})), QByteArray(repeats, 'a'));
    } else if (download) {
        server->expect("POST", "/recipe", recipe({"a"}));
        FileAnswer answer(path("out.wav"));
        click("buttonStart");
        QTRY_VERIFY(answer.used());
        QTRY_COMPARE(contentOf(path("out.wav")).size(), 44 + repeats);
    }
}

void TestViewImpact::movesTheDuration()
{
    open(markers(50));
    // Three seconds a marker: the duration starts at its least.
    QCOMPARE(duration()->value(), 3);
    QCOMPARE(labelText("labelTotal"), text("Text.totalTime 3"));
    choose(ViewImpact::Target::Download);
    QCOMPARE(duration()->minimum(), 1);
    QCOMPARE(duration()->value(), 3);
    QCOMPARE(labelText("labelTotal"), text("Text.totalTime 150"));
    duration()->setValue(1);
    QCOMPARE(labelText("labelTotal"), text("Text.totalTime 50"));
    choose(ViewImpact::Target::Sensor);
    QCOMPARE(duration()->value(), 3);
    QCOMPARE(labelText("labelTotal"), text("Text.totalTime 3"));
    QCOMPARE(play(recipe({"a"})), QByteArray("a"));
    duration()->setValue(10000);
    QCOMPARE(duration()->value(), 600);
}

void TestViewImpact::calculatesForNoAmount()
{
    // A total of 0 is what the screen starts from; the boxes alone bring the labels up then.
    open(markers(2, 0));
    QCOMPARE(labelText("labelMarkers"), QString());
    QCOMPARE(labelText("labelDuration"), text("Text.durationInMinutes"));
    QCOMPARE(start()->text(), text("Text.start"));
    QCOMPARE(labelText("labelTotal"), text("Text.totalTime 1"));
    QCOMPARE(duration()->minimum(), 1);
    QCOMPARE(duration()->maximum(), 600);
    QVERIFY(child<QComboBox>("comboBoxCommand")->isHidden());
    QCOMPARE(play(recipe({"a", "b"})), QByteArray("ab"));
    choose(ViewImpact::Target::Download);
    QCOMPARE(labelText("labelTotal"), text("Text.totalTime 0"));
}

void TestViewImpact::calculatesInItsSlots()
{
    open(markers(2));
    for (const char* slot : {"onDurationChanged", "onTargetChanged"}) {
        child<QLabel>("labelTotal")->setText(text("?"));
        QVERIFY(QMetaObject::invokeMethod(view.get(), slot));
        QCOMPARE(labelText("labelTotal"), text("Text.totalTime 1"));
    }
}

void TestViewImpact::survivesHugeAmounts()
{
    constexpr int most = std::numeric_limits<int>::max();
    open(markers(3, most));
    QCOMPARE(labelText("labelMarkers"), QStringLiteral("Text.totalMarkers %1").arg(most));
    QCOMPARE(duration()->minimum(), 600);
    choose(ViewImpact::Target::Download);
    QCOMPARE(labelText("labelTotal"), QStringLiteral("Text.totalTime %1").arg(qint64(most) * 600));
    open(markers(3, std::numeric_limits<int>::min()));
    QCOMPARE(duration()->minimum(), 1);
    QCOMPARE(play(recipe({"a"})), QByteArray("a"));
}

void TestViewImpact::treatsARowWithoutATargetAsABox()
{
    open(markers(2));
    auto* const box = child<QComboBox>("comboBoxTarget");
    box->addItem(text("odd"));
    box->setCurrentIndex(box->count() - 1);
    QVERIFY(child<QComboBox>("comboBoxCommand")->isVisible());
    QCOMPARE(start()->text(), text("Text.start"));
    QSignalSpy plays(view.get(), &ViewImpact::onPlay);
    view->onSuccess(json(QJsonArray{text("YQ==")}));
    QCOMPARE(plays.count(), 0);
    choose(ViewImpact::Target::Box);
    view->onSuccess(json(QJsonArray{text("YQ==")}));
    QCOMPARE(plays.count(), 0);
}

void TestViewImpact::followsThePlayer()
{
    PlayerParent parent;
    open(markers(1), false, true, &parent);
    QVERIFY(start()->isEnabled());
    emit parent.onPlayerState(true);
    QVERIFY(!start()->isEnabled());
    emit parent.onPlayerState(false);
    QVERIFY(start()->isEnabled());
    view.reset();
    emit parent.onPlayerState(true);
}

void TestViewImpact::takesAnyParent()
{
    QWidget parent;
    open(markers(1), false, true, &parent);
    QVERIFY(start()->isEnabled());
    view->onPlayerState(true);
    QVERIFY(!start()->isEnabled());
    // The guard would have seen a connection that failed.
    guard->verify();
    view.reset();
}

void TestViewImpact::removesMarkers()
{
    open(markers(3, 2));
    QSignalSpy removals(view.get(), &ViewImpact::onMarkerRemove);
    QSignalSpy back(view.get(), &ViewImpact::onBack);
    clickCell(1, 4);
    QCOMPARE(removals.count(), 1);
    QCOMPARE(removals.first().first().toString(), text("m2"));
    QCOMPARE(labelText("labelMarkers"), text("Text.totalMarkers 4"));
    QCOMPARE(back.count(), 0);
    // It is a change.
    QSignalSpy card(view.get(), &ViewImpact::onPatientCard);
    BoxAnswer question(QMessageBox::No);
    click("buttonPatientCard");
    QVERIFY(question.used());
    QCOMPARE(card.count(), 1);
    QCOMPARE(play(recipe({"a"})).isEmpty(), false);
    QCOMPARE(lastMarkers(), (QStringList{text("m1"), text("m3")}));
}

void TestViewImpact::removingTheLastGoesBack()
{
    open(markers(1, 5));
    QStringList order;
    const QObject whileHere;
    connect(view.get(), &ViewImpact::onMarkerRemove, &whileHere, [&order](const QString& id) { order.append(id); });
    connect(view.get(), &ViewImpact::onBack, &whileHere, [&order, this] {
        order.append(text("back"));
        // The total is that of an empty table by now.
        order.append(labelText("labelMarkers"));
    });
    clickCell(0, 4);
    QCOMPARE(order, (QStringList{text("m1"), text("back"), text("Text.totalMarkers 0")}));
}

void TestViewImpact::reordersMarkers()
{
    open(markers(3));
    clickCell(0, 2);
    clickCell(2, 1);
    QCOMPARE(table()->model()->index(0, 3).data().toString(), text("Marker 2"));
    QCOMPARE(table()->model()->index(1, 3).data().toString(), text("Marker 3"));
    QCOMPARE(labelText("labelMarkers"), text("Text.totalMarkers 3"));
    // It is a change.
    {
        BoxAnswer question(QMessageBox::No);
        click("buttonListPatients");
        QVERIFY(question.used());
    }
    play(recipe({"a"}));
    QCOMPARE(lastMarkers(), (QStringList{text("m2"), text("m3"), text("m1")}));
}

void TestViewImpact::asksForARecipe_data()
{
    QTest::addColumn<ViewImpact::Target>("target");
    QTest::newRow("sensor") << ViewImpact::Target::Sensor;
    QTest::newRow("file") << ViewImpact::Target::Download;
}

void TestViewImpact::asksForARecipe()
{
    QFETCH(ViewImpact::Target, target);
    open(markers(2));
    choose(target);
    duration()->setValue(7);
    LoopbackServer::Answer stalled;
    stalled.kind = LoopbackServer::Answer::Stall;
    stalled.body = recipe({});
    server->expect("POST", "/recipe", stalled);
    click("buttonStart");
    QVERIFY(!start()->isEnabled());
    QVERIFY(view->findChild<LoadingWindow*>() != nullptr);
    QTRY_COMPARE(server->requests().size(), 1);
    const QJsonObject body = lastBody();
    QCOMPARE(body.size(), 6);
    QCOMPARE(body.value(text("patientId")).toString(), text("p1"));
    QCOMPARE(body.value(text("recordId")).toString(), text("r1"));
    QCOMPARE(lastMarkers(), (QStringList{text("m1"), text("m2")}));
    QCOMPARE(body.value(text("duration")).toInt(), 7);
    QVERIFY(body.value(text("deviceId")).isString());
    QCOMPARE(body.value(text("deviceId")).toString(), Utils::getDeviceId());
    QVERIFY(body.value(text("command")).isString());
    QCOMPARE(body.value(text("command")).toString(), QString());

    FileAnswer answer{QString()};
    server->release();
    waitForReply();
    if (target == ViewImpact::Target::Download) {
        QTRY_VERIFY(answer.used());
    }
}

void TestViewImpact::playsInTableOrder()
{
    open(markers(2));
    duration()->setValue(1);
    QSignalSpy spy(view.get(), &ViewImpact::onPlay);
    const QByteArray bytes = play(recipe({QByteArray("a\0b", 3), "c", "", "d"}));
    // One minute among two markers: ten passes each, and never mixed.
    QCOMPARE(bytes, QByteArray("a\0b", 3).repeated(10) + QByteArray(10, 'c') + QByteArray(10, 'd'));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().last().toString(), text("Ada Byron"));
    // The next one starts from nothing.
    view->onPlayerState(false);
    QCOMPARE(play(recipe({"e"})), QByteArray(10, 'e'));
}

void TestViewImpact::keepsStartDisabledAfterPlay()
{
    PlayerParent parent;
    open(markers(1), false, true, &parent);
    play(recipe({"a"}));
    QVERIFY(!start()->isEnabled());
    emit parent.onPlayerState(true);
    QVERIFY(!start()->isEnabled());
    emit parent.onPlayerState(false);
    QVERIFY(start()->isEnabled());
    view.reset();
}

void TestViewImpact::savesAFile()
{
    open(markers(2));
    choose(ViewImpact::Target::Download);
    QSignalSpy plays(view.get(), &ViewImpact::onPlay);
    server->expect("POST", target, recipe({"abc", QByteArray("\0\xff", 2)}));
    FileAnswer answer(path("impact.wav"));
    click("buttonStart");
    QTRY_VERIFY(answer.used());
    QCOMPARE(answer.title, text("Text.saveFile"));
    QCOMPARE(answer.filters, QStringList{text("*.wav")});
    QCOMPARE(answer.mode, QFileDialog::AcceptSave);
    QCOMPARE(answer.parent, static_cast<QWidget*>(view.get()));
    const QByteArray samples = QByteArray("abc").repeated(20) + QByteArray("\0\xff", 2).repeated(20);
    QTRY_COMPARE(contentOf(path("impact.wav")), Utils::wavHeader(100) + samples);
    QVERIFY(!start()->isEnabled());
    QCOMPARE(plays.count(), 0);
    view->onPlayerState(false);
    QVERIFY(start()->isEnabled());
}

// Whatever the pieces are in which a file is written, none shows in it.
void TestViewImpact::savesBlocksOfAnySize()
{
    QList<QByteArray> blocks;
    QByteArray samples;
    for (const int size : {65709, 1, 0, 3, 104857, (1 << 20) - 1, 1 << 19, 1 << 20, (1 << 20) + 7, 2}) {
        QByteArray block(size, Qt::Uninitialized);
        for (int i = 0; i < size; ++i) {
            block[i] = char((i + blocks.size()) % 251);
        }
        blocks.append(block);
        samples += block.repeated(20);
    }
    open(markers(1));
    choose(ViewImpact::Target::Download);
    server->expect("POST", target, recipe(blocks));
    FileAnswer answer(path("any.wav"));
    click("buttonStart");
    QTRY_VERIFY_WITH_TIMEOUT(answer.used(), 20000);
    QTRY_COMPARE_WITH_TIMEOUT(QFileInfo(path("any.wav")).size(), 44LL + samples.size(), 60000);
    QVERIFY(contentOf(path("any.wav")) == Utils::wavHeader(samples.size()) + samples);
}

void TestViewImpact::savesAnEmptyArray()
{
    open(markers(1));
    choose(ViewImpact::Target::Download);
    server->expect("POST", target, recipe({}));
    FileAnswer answer(path("empty.wav"));
    click("buttonStart");
    QTRY_VERIFY(answer.used());
    QTRY_COMPARE(contentOf(path("empty.wav")), Utils::wavHeader(0));
    QCOMPARE(contentOf(path("empty.wav")).size(), 44);
}

void TestViewImpact::savesLongFilesWithoutMemory()
{
    const auto kilobytes = [](const char* key) -> qint64 {
        QFile status(text("/proc/self/status"));
        if (!status.open(QIODevice::ReadOnly)) {
            return -1;
        }
        const QList<QByteArray> lines = status.readAll().split('\n');
        for (const QByteArray& line : lines) {
            if (line.startsWith(key)) {
                return line.mid(int(qstrlen(key))).replace("kB", "").trimmed().toLongLong();
            }
        }
        return -1;
    };
    QFile peak(text("/proc/self/clear_refs"));
    if (!peak.open(QIODevice::WriteOnly) || kilobytes("VmHWM:") < 0) {
        QSKIP("The kernel does not tell the peak of the memory");
    }
    open(markers(1));
    choose(ViewImpact::Target::Download);
    duration()->setValue(600);
    constexpr int block = 10000;
    constexpr qint64 size = 12080LL * block;
    server->expect("POST", target, recipe({QByteArray(block, 'x')}));
    FileAnswer answer(path("long.wav"));
    peak.write("5");
    peak.close();
    const qint64 before = kilobytes("VmRSS:");
    click("buttonStart");
    QTRY_VERIFY_WITH_TIMEOUT(answer.used(), 20000);
    QTRY_COMPARE_WITH_TIMEOUT(QFileInfo(path("long.wav")).size(), 44 + size, 60000);
    QVERIFY2(kilobytes("VmHWM:") - before < size / 1024 / 2, "The whole file was held in memory");
}

void TestViewImpact::replacesAFile()
{
    QFile old(path("old.wav"));
    QVERIFY(old.open(QIODevice::WriteOnly));
    old.write(QByteArray(5000, 'o'));
    old.close();
    open(markers(1));
    choose(ViewImpact::Target::Download);
    server->expect("POST", target, recipe({"a"}));
    FileAnswer answer(path("old.wav"));
    click("buttonStart");
    QTRY_VERIFY(answer.used());
    QVERIFY(answer.replace != nullptr && answer.replace->used());
    QTRY_COMPARE(contentOf(path("old.wav")), Utils::wavHeader(20) + QByteArray(20, 'a'));
}

void TestViewImpact::cancelsTheFile()
{
    open(markers(1));
    choose(ViewImpact::Target::Download);
    server->expect("POST", target, recipe({"a"}));
    FileAnswer answer{QString()};
    click("buttonStart");
    QTRY_VERIFY(answer.used());
    QTRY_VERIFY(QApplication::activeModalWidget() == nullptr);
    QVERIFY(QDir(folder->path()).isEmpty());
    QVERIFY(!start()->isEnabled());
    QCOMPARE(labelText("labelTotal"), text("Text.totalTime 1"));
}

void TestViewImpact::cannotWriteTheFile()
{
    open(markers(1));
    choose(ViewImpact::Target::Download);
    server->expect("POST", target, recipe({"a"}));
    FileAnswer answer(path("no such folder/out.wav"));
    answer.fails = true;
    click("buttonStart");
    QTRY_VERIFY(answer.used());
    QTRY_VERIFY(answer.failure->used());
    QCOMPARE(answer.failure->title, text("Text.error"));
    QCOMPARE(answer.failure->text, text("Text.errorWavSave"));
    QCOMPARE(answer.failure->parent, static_cast<QWidget*>(view.get()));
    QVERIFY(QDir(folder->path()).isEmpty());
    QVERIFY(!start()->isEnabled());
    view->onPlayerState(false);
    QVERIFY(start()->isEnabled());
}

void TestViewImpact::refusesAFileTooLarge()
{
    QFile old(path("old.wav"));
    QVERIFY(old.open(QIODevice::WriteOnly));
    old.write("old");
    old.close();
    open(markers(3));
    choose(ViewImpact::Target::Download);
    duration()->setValue(600);
    // 12080 passes of 180000 bytes are more than the size field of the header can say.
    server->expect("POST", target, recipe({QByteArray(60000, 'a'), QByteArray(60000, 'b'), QByteArray(60000, 'c')}));
    FileAnswer answer(path("old.wav"));
    answer.fails = true;
    click("buttonStart");
    QTRY_VERIFY(answer.used());
    QVERIFY(answer.replace != nullptr && answer.replace->used());
    QTRY_VERIFY(answer.failure->used());
    QCOMPARE(answer.failure->text, text("Text.errorWavSave"));
    QCOMPARE(contentOf(path("old.wav")), QByteArray("old"));
}

void TestViewImpact::proposesARelativeName()
{
    open(markers(1));
    choose(ViewImpact::Target::Download);
    server->expect("POST", target, recipe({"a"}));
    FileAnswer answer{QString()};
    click("buttonStart");
    QTRY_VERIFY(answer.used());
    QCOMPARE(answer.proposal, QStandardPaths::displayName(QStandardPaths::DocumentsLocation));
    QCOMPARE(answer.directory, QDir(folder->path()).canonicalPath());
}

void TestViewImpact::thinksLongerThanTheTimeout()
{
    open(markers(1));
    choose(ViewImpact::Target::Download);
    Http::instance().setReadTimeout(timeout);
    server->expect("POST", target, recipe({"a"}));
    FileAnswer answer(path("late.wav"));
    answer.wait = 3 * timeout;
    click("buttonStart");
    QTRY_VERIFY(answer.used());
    // The reply had come: its time-out is over, however long the dialog stands.
    QTRY_COMPARE(contentOf(path("late.wav")).size(), 64);
    QVERIFY(QApplication::activeModalWidget() == nullptr);
    QVERIFY(!start()->isEnabled());
}

void TestViewImpact::playsTheLongestDuration()
{
    open(markers(1));
    duration()->setValue(600);
    QCOMPARE(play(recipe({QByteArray(1000, 'a')})), QByteArray(12080 * 1000, 'a'));
}

void TestViewImpact::playsNoMoreThanMemoryAllows()
{
    QFile information(text("/proc/meminfo"));
    qint64 available = 0;
    if (information.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = information.readAll().split('\n');
        for (const QByteArray& line : lines) {
            if (line.startsWith("MemAvailable:")) {
                available = line.mid(13).replace("kB", "").trimmed().toLongLong();
            }
        }
    }
    if (available < 3 * 1024 * 1024) {
        QSKIP("This test needs 3 GB of free memory");
    }
    open(markers(1));
    duration()->setValue(600);
    // 12080 passes would be more than a gigabyte: whole passes as far as it goes, and the order kept.
    const QByteArray bytes = play(recipe({QByteArray(60000, 'a'), QByteArray(40000, 'b')}));
    constexpr int passes = (1 << 30) / 100000;
    QCOMPARE(bytes.size(), passes * 100000);
    QCOMPARE(bytes.at(passes * 60000 - 1), 'a');
    QCOMPARE(bytes.at(passes * 60000), 'b');
    QCOMPARE(bytes.at(bytes.size() - 1), 'b');
}

void TestViewImpact::sendsACommand_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("command");
    QTest::newRow("recipe") << 0 << text("RECIPE");
    QTest::newRow("recipe on its own") << 1 << text("SELFRECIPE");
}

void TestViewImpact::sendsACommand()
{
    QFETCH(int, row);
    QFETCH(QString, command);
    PatientManager::getInstance()->getModel()->append(RecipeFixtures::patient(true));
    open(markers(2));
    choose(ViewImpact::Target::Box);
    child<QComboBox>("comboBoxCommand")->setCurrentIndex(row);
    duration()->setValue(9);
    server->expect("PUT", target, QByteArray());
    QSignalSpy plays(view.get(), &ViewImpact::onPlay);
    click("buttonStart");
    QVERIFY(!start()->isEnabled());
    bool enabledUnderTheBox = true;
    ModalAnswer success([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                        [&](QWidget* widget) {
                            auto* const box = qobject_cast<QMessageBox*>(widget);
                            QCOMPARE(box->windowTitle(), text("Text.success"));
                            QCOMPARE(box->text(), text("Text.recipeCommandSuccess"));
                            enabledUnderTheBox = start()->isEnabled();
                            box->accept();
                        });
    QTRY_VERIFY(success.used());
    QTRY_VERIFY(start()->isEnabled());
    QVERIFY(!enabledUnderTheBox);
    QCOMPARE(plays.count(), 0);

    const QJsonObject body = lastBody();
    QCOMPARE(body.size(), 6);
    QCOMPARE(body.value(text("command")).toString(), command);
    QCOMPARE(body.value(text("deviceId")).toString(text("?")), QString());
    QCOMPARE(body.value(text("duration")).toInt(), 9);
    QCOMPARE(lastMarkers(), (QStringList{text("m1"), text("m2")}));
    // Patient and list know of the running recipe.
    QCOMPARE(child<QLabel>("labelConnectedDevice")->pixmap(Qt::ReturnByValue).toImage(),
             QPixmap(text(":/images/connected-device-recipe.png")).toImage());
    QCOMPARE(PatientManager::getInstance()->getUpdatedPatient(RecipeFixtures::patient()).getStatusToolTip(), 4);
}

void TestViewImpact::readsLongerThanTheTimeout()
{
    open(markers(1));
    choose(ViewImpact::Target::Box);
    Http::instance().setReadTimeout(timeout);
    server->expect("PUT", target, QByteArray());
    click("buttonStart");
    bool second = false;
    ModalAnswer success([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                        [&second](QWidget* widget) {
                            const ModalAnswer other([widget](QWidget* modal) { return modal != widget; },
                                                    [](QWidget* modal) { modal->close(); });
                            QTest::qWait(3 * timeout);
                            second = other.used();
                            qobject_cast<QMessageBox*>(widget)->accept();
                        });
    QTRY_VERIFY(success.used());
    QTRY_VERIFY(start()->isEnabled());
    // A reply without a body is over, too: no time-out comes on top of it.
    QVERIFY(!second);
}

void TestViewImpact::commandKeepsTheChange()
{
    // A patient that is not in the list is no mistake.
    for (bool changed : {false, true}) {
        open(markers(2), changed);
        choose(ViewImpact::Target::Box);
        server->expect("PUT", target, QByteArray());
        click("buttonStart");
        BoxAnswer success(QMessageBox::Ok);
        QTRY_VERIFY(success.used());
        QTRY_VERIFY(start()->isEnabled());
        QSignalSpy card(view.get(), &ViewImpact::onPatientCard);
        BoxAnswer question(QMessageBox::No);
        click("buttonPatientCard");
        QCOMPARE(question.used(), changed);
        QCOMPARE(card.count(), 1);
    }
    QCOMPARE(PatientManager::getInstance()->getModel()->rowCount(), 0);
}

void TestViewImpact::replyClearsTheChange()
{
    open(markers(2), true);
    play(recipe({"a"}));
    QSignalSpy card(view.get(), &ViewImpact::onPatientCard);
    click("buttonPatientCard");
    QCOMPARE(card.count(), 1);
}

void TestViewImpact::requestFails_data()
{
    addFailureRows();
}

void TestViewImpact::requestFails()
{
    open(markers(2), true);
    for (ViewImpact::Target wanted :
         {ViewImpact::Target::Sensor, ViewImpact::Target::Download, ViewImpact::Target::Box}) {
        choose(wanted);
        QSignalSpy plays(view.get(), &ViewImpact::onPlay);
        expectFailure(*server, wanted == ViewImpact::Target::Box ? "PUT" : "POST", target);
        if (qstrcmp(QTest::currentDataTag(), "no answer") == 0) {
            Http::instance().setReadTimeout(timeout);
        }
        click("buttonStart");
        QVERIFY(!start()->isEnabled());
        acknowledge();
        QVERIFY(start()->isEnabled());
        QCOMPARE(plays.count(), 0);
        QCOMPARE(child<QLabel>("labelConnectedDevice")->pixmap(Qt::ReturnByValue).toImage(),
                 RecipeFixtures::patient(true).getStatusIcon().toImage());
    }
    // What was to be saved still is, and the screen works on.
    BoxAnswer question(QMessageBox::No);
    click("buttonPatientCard");
    QVERIFY(question.used());
    choose(ViewImpact::Target::Sensor);
    QCOMPARE(play(recipe({"a"})), QByteArray(10, 'a'));
}

void TestViewImpact::leavesUnchanged_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::newRow("card") << QByteArray("buttonPatientCard");
    QTest::newRow("list") << QByteArray("buttonListPatients");
}

void TestViewImpact::leavesUnchanged()
{
    QFETCH(QByteArray, button);
    open(markers(2));
    QSignalSpy card(view.get(), &ViewImpact::onPatientCard);
    QSignalSpy list(view.get(), &ViewImpact::onPatientsList);
    duration()->setValue(30);
    click(button.constData());
    QCOMPARE(card.count(), button == "buttonPatientCard" ? 1 : 0);
    QCOMPARE(list.count(), button == "buttonPatientCard" ? 0 : 1);
    QCOMPARE(server->requests().size(), 0);
}

void TestViewImpact::leavesWithoutSaving_data()
{
    leavesUnchanged_data();
}

void TestViewImpact::leavesWithoutSaving()
{
    QFETCH(QByteArray, button);
    open(markers(2), true);
    QSignalSpy card(view.get(), &ViewImpact::onPatientCard);
    QSignalSpy list(view.get(), &ViewImpact::onPatientsList);
    BoxAnswer question(QMessageBox::No);
    click(button.constData());
    QVERIFY(question.used());
    QCOMPARE(question.title, text("Text.saving"));
    QCOMPARE(question.text, text("Text.confirmSave"));
    QCOMPARE(question.parent, static_cast<QWidget*>(view.get()));
    QCOMPARE(card.count(), button == "buttonPatientCard" ? 1 : 0);
    QCOMPARE(list.count(), button == "buttonPatientCard" ? 0 : 1);
    QTest::qWait(50);
    QCOMPARE(server->requests().size(), 0);
}

void TestViewImpact::leavesWithSaving_data()
{
    leavesUnchanged_data();
}

void TestViewImpact::leavesWithSaving()
{
    QFETCH(QByteArray, button);
    open(markers(3), true);
    clickCell(0, 2);
    duration()->setValue(12);
    QSignalSpy card(view.get(), &ViewImpact::onPatientCard);
    QSignalSpy list(view.get(), &ViewImpact::onPatientsList);
    QSignalSpy& wanted = button == "buttonPatientCard" ? card : list;
    QSignalSpy& other = button == "buttonPatientCard" ? list : card;
    server->expect("PUT", target, QByteArray());
    BoxAnswer question(QMessageBox::Yes);
    click(button.constData());
    QVERIFY(question.used());
    QCOMPARE(wanted.count(), 0);
    QTRY_COMPARE(wanted.count(), 1);
    QCOMPARE(other.count(), 0);
    const QJsonObject body = lastBody();
    QCOMPARE(body.size(), 6);
    QCOMPARE(body.value(text("duration")).toInt(), 12);
    QVERIFY(body.value(text("command")).isString());
    QCOMPARE(body.value(text("command")).toString(), QString());
    QCOMPARE(body.value(text("deviceId")).toString(text("?")), QString());
    QCOMPARE(lastMarkers(), (QStringList{text("m2"), text("m1"), text("m3")}));
    // What is saved is no change any more.
    click(button.constData());
    QCOMPARE(wanted.count(), 2);
}

void TestViewImpact::saveFails_data()
{
    addFailureRows();
}

void TestViewImpact::saveFails()
{
    open(markers(2), true);
    QSignalSpy card(view.get(), &ViewImpact::onPatientCard);
    QSignalSpy list(view.get(), &ViewImpact::onPatientsList);
    for (const char* button : {"buttonPatientCard", "buttonListPatients"}) {
        expectFailure(*server, "PUT", target);
        if (qstrcmp(QTest::currentDataTag(), "no answer") == 0) {
            Http::instance().setReadTimeout(timeout);
        }
        BoxAnswer question(QMessageBox::Yes);
        click(button);
        // Each time, since there is still something to save.
        QVERIFY(question.used());
        acknowledge();
        QCOMPARE(card.count() + list.count(), 0);
        QVERIFY(start()->isEnabled());
    }
}

void TestViewImpact::goesBackWithoutAQuestion()
{
    open(markers(2), true);
    QSignalSpy back(view.get(), &ViewImpact::onBack);
    click("buttonBack");
    QCOMPARE(back.count(), 1);
    QCOMPARE(server->requests().size(), 0);
}

void TestViewImpact::oddReplies_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QByteArray>("played");
    QTest::newRow("empty") << QByteArray("") << QByteArray();
    QTest::newRow("no base64") << QByteArray("<html>Oops</html>") << QByteArray();
    QTest::newRow("no gzip") << QByteArray("[\"YQ==\"]").toBase64() << QByteArray();
    QTest::newRow("gzip cut off") << zipped(QByteArray(5000, ' ')).left(24) << QByteArray();
    QTest::newRow("no JSON") << zipped("<html>") << QByteArray();
    QTest::newRow("object") << zipped(R"({"blocks": ["YQ=="]})") << QByteArray();
    QTest::newRow("null") << zipped("null") << QByteArray();
    QTest::newRow("nothing in it") << zipped("[]") << QByteArray();
    QTest::newRow("wrong types") << zipped(R"([7, null, {}, ["YQ=="], true, 1e300, "YQ=="])") << QByteArray("a");
    QTest::newRow("empty texts") << zipped(R"(["", "", "Yg=="])") << QByteArray("b");
    QTest::newRow("broken base64") << zipped(R"(["Y!Q=", "Yg"])") << QByteArray("ab");
    QTest::newRow("text beyond ASCII") << zipped("[\"\xd0\x9f\", \"Yw==\"]") << QByteArray("c");
}

void TestViewImpact::oddReplies()
{
    QFETCH(QByteArray, reply);
    QFETCH(QByteArray, played);
    open(markers(20), true);
    QCOMPARE(play(reply), played);
    // No error comes, and the change counts as sent.
    QSignalSpy card(view.get(), &ViewImpact::onPatientCard);
    click("buttonPatientCard");
    QCOMPARE(card.count(), 1);

    view->onPlayerState(false);
    choose(ViewImpact::Target::Download);
    server->expect("POST", target, reply);
    FileAnswer answer(path("odd.wav"));
    click("buttonStart");
    QTRY_VERIFY(answer.used());
    QByteArray samples;
    for (char one : qAsConst(played)) {
        samples += QByteArray(20, one);
    }
    QTRY_COMPARE(contentOf(path("odd.wav")), Utils::wavHeader(samples.size()) + samples);
}

void TestViewImpact::manyBlocks()
{
    constexpr int count = 10000;
    open(markers(count));
    QCOMPARE(duration()->minimum(), 500);
    QVERIFY(!view->grab().isNull());
    QList<QByteArray> blocks;
    QByteArray expected;
    for (int i = 0; i < count; ++i) {
        blocks.append(QByteArray::number(i));
        expected += QByteArray::number(i);
    }
    QCOMPARE(play(recipe(blocks)), expected);
    QCOMPARE(lastMarkers().size(), count);
}

void TestViewImpact::goesWhileTheQuestionIsOpen_data()
{
    leavesUnchanged_data();
}

void TestViewImpact::goesWhileTheQuestionIsOpen()
{
    QFETCH(QByteArray, button);
    open(markers(2), true);
    QSignalSpy list(view.get(), &ViewImpact::onPatientsList);
    QSignalSpy other(view.get(), &ViewImpact::onPatientCard);
    ModalAnswer end([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                    [this](QWidget*) { view.reset(); });
    click(button.constData());
    QVERIFY(end.used());
    QVERIFY(view == nullptr);
    // Nobody is left who could go anywhere or save anything.
    QCOMPARE(list.count() + other.count(), 0);
    QTest::qWait(50);
    QCOMPARE(server->requests().size(), 0);
}

void TestViewImpact::goesWhileARequestRuns_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("recipe") << QByteArray("recipe");
    QTest::newRow("command") << QByteArray("command");
    QTest::newRow("save") << QByteArray("save");
}

void TestViewImpact::goesWhileARequestRuns()
{
    QFETCH(QByteArray, request);
    open(markers(2), true);
    LoopbackServer::Answer stalled;
    stalled.kind = LoopbackServer::Answer::Stall;
    stalled.body = recipe({"a"});
    server->expect(request == "recipe" ? "POST" : "PUT", target, stalled);
    if (request == "save") {
        BoxAnswer question(QMessageBox::Yes);
        click("buttonListPatients");
        QVERIFY(question.used());
    } else {
        choose(request == "recipe" ? ViewImpact::Target::Sensor : ViewImpact::Target::Box);
        click("buttonStart");
    }
    QTRY_COMPARE(server->pending(), 0);
    const QPointer<LoadingWindow> overlay(view->findChild<LoadingWindow*>());
    QVERIFY(overlay != nullptr);
    view.reset();
    QVERIFY(overlay == nullptr);
    // The reply still comes, and finds nobody.
    server->release();
    QTest::qWait(100);
}

QTEST_MAIN(TestViewImpact)

#include "TestViewImpact.moc"
