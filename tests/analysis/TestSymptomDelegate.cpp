// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/SymptomDelegate.h"
#include "analysis/SymptomModel.h"
#include "model/SymptomsTable.h"
#include "tests/analysis/SymptomFixtures.h"
#include "tests/support/MessageGuard.h"

#include <QComboBox>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

#include <memory>

using namespace SymptomFixtures;

class TestSymptomDelegate : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void editsNothingWithoutAModel();
    void editsBodyCells_data();
    void editsBodyCells();
    void opensOnADoubleClick_data();
    void opensOnADoubleClick();
    void offersStrengths();
    void writesAtOnce_data();
    void writesAtOnce();
    void writesEachChange();
    void firstSettingWrites_data();
    void firstSettingWrites();
    void leavesOtherValuesAlone_data();
    void leavesOtherValuesAlone();
    void roundsFractions();
    void closingWritesNothing_data();
    void closingWritesNothing();
    void followsItsRow();
    void outlivesItsRow_data();
    void outlivesItsRow();
    void outlivesTheModel();
    void setsOnlyBoxes();
    void fillsTheCell();

private:
    /// Opens the editor of a cell, as a user would.
    QComboBox* edit(int row, int column);
    QVariant value(int row, int column) const { return model->data(model->index(row, column), Qt::EditRole); }

    KeysWithContext translator;
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<QTableView> view;
    std::unique_ptr<SymptomDelegate> delegate;
    SymptomModel* model = nullptr;
};

void TestSymptomDelegate::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    QCoreApplication::installTranslator(&translator);
}

void TestSymptomDelegate::init()
{
    view = std::make_unique<QTableView>();
    model = new SymptomModel(view.get());
    model->fromJSON(object(usual));
    delegate = std::make_unique<SymptomDelegate>(nullptr);
    delegate->setModel(model);
    view->setModel(model);
    view->setItemDelegate(delegate.get());
    view->resize(600, 400);
    view->show();
}

void TestSymptomDelegate::cleanup()
{
    view.reset();
    delegate.reset();
    guard->verify();
}

QComboBox* TestSymptomDelegate::edit(int row, int column)
{
    const QModelIndex index = model->index(row, column);
    const QPoint place = view->visualRect(index).center();
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, place);
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, place);
    return view->viewport()->findChild<QComboBox*>();
}

void TestSymptomDelegate::editsNothingWithoutAModel()
{
    QWidget parent;
    SymptomDelegate lonely(nullptr);
    QVERIFY(lonely.createEditor(&parent, QStyleOptionViewItem(), model->index(2, 1)) == nullptr);
    lonely.setModel(model);
    QVERIFY(lonely.createEditor(&parent, QStyleOptionViewItem(), model->index(2, 1)) != nullptr);
    lonely.setModel(nullptr);
    QVERIFY(lonely.createEditor(&parent, QStyleOptionViewItem(), model->index(2, 1)) == nullptr);
}

void TestSymptomDelegate::editsBodyCells_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<bool>("edited");
    QTest::newRow("head title") << 0 << 0 << false;
    QTest::newRow("complaints") << 0 << 1 << false;
    QTest::newRow("severity") << 1 << 2 << false;
    QTest::newRow("title") << 2 << 0 << false;
    QTest::newRow("first cell") << 2 << 1 << true;
    QTest::newRow("last cell") << 5 << 2 << true;
    QTest::newRow("cell without a value") << 4 << 2 << true;
    QTest::newRow("nowhere") << -1 << -1 << false;
}

void TestSymptomDelegate::editsBodyCells()
{
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(bool, edited);
    QWidget parent;
    QWidget* const editor = delegate->createEditor(&parent, QStyleOptionViewItem(), model->index(row, column));
    QCOMPARE(editor != nullptr, edited);
    if (editor != nullptr) {
        QCOMPARE(editor->parentWidget(), &parent);
        QVERIFY(qobject_cast<QComboBox*>(editor) != nullptr);
    }
}

void TestSymptomDelegate::opensOnADoubleClick_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<bool>("edited");
    QTest::newRow("complaints") << 0 << 1 << false;
    QTest::newRow("title") << 3 << 0 << false;
    QTest::newRow("cell") << 3 << 2 << true;
}

void TestSymptomDelegate::opensOnADoubleClick()
{
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(bool, edited);
    const QComboBox* const box = edit(row, column);
    QCOMPARE(box != nullptr, edited);
    if (box != nullptr) {
        QCOMPARE(box->currentIndex(), 3);
    }
}

void TestSymptomDelegate::offersStrengths()
{
    const QComboBox* const box = edit(2, 1);
    if (box == nullptr) {
        QFAIL("No editor came up");
    }
    QVERIFY(!box->hasFrame());
    QVERIFY(!box->isEditable());
    QCOMPARE(box->count(), 4);
    const QStringList texts{
        QStringLiteral("SymptomDelegate/Complaint.none"), QStringLiteral("SymptomDelegate/Complaint.periodic"),
        QStringLiteral("SymptomDelegate/Complaint.moderate"), QStringLiteral("SymptomDelegate/Complaint.expressed")};
    for (int i = 0; i < box->count(); ++i) {
        QCOMPARE(box->itemText(i), texts.at(i));
        QCOMPARE(box->itemData(i), QVariant(i));
    }
}

void TestSymptomDelegate::writesAtOnce_data()
{
    QTest::addColumn<int>("entry");
    QTest::newRow("periodic") << 1;
    QTest::newRow("moderate") << 2;
    QTest::newRow("expressed") << 3;
}

void TestSymptomDelegate::writesAtOnce()
{
    QFETCH(int, entry);
    QComboBox* const box = edit(2, 1);
    if (box == nullptr) {
        QFAIL("No editor came up");
    }
    QSignalSpy changes(model, &SymptomModel::onChange);
    QSignalSpy data(model, &QAbstractItemModel::dataChanged);
    for (int i = 0; i < entry; ++i) {
        QTest::keyClick(box, Qt::Key_Down);
    }
    // The editor is still open.
    QVERIFY(box->isVisible());
    QCOMPARE(value(2, 1), QVariant(static_cast<float>(entry)));
    QCOMPARE(changes.count(), entry);
    QCOMPARE(data.count(), 0);
    QCOMPARE(value(2, 2), QVariant(1.0F));
    QCOMPARE(value(3, 1), QVariant(2.0F));
}

void TestSymptomDelegate::writesEachChange()
{
    QComboBox* const box = edit(2, 1);
    if (box == nullptr) {
        QFAIL("No editor came up");
    }
    QSignalSpy changes(model, &SymptomModel::onChange);
    box->setCurrentIndex(3);
    QCOMPARE(changes.count(), 1);
    // Back to what it was is a change as well, the same entry again is none.
    box->setCurrentIndex(0);
    QCOMPARE(changes.count(), 2);
    QCOMPARE(value(2, 1), QVariant(0.0F));
    box->setCurrentIndex(0);
    QCOMPARE(changes.count(), 2);
}

void TestSymptomDelegate::firstSettingWrites_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("entry");
    QTest::addColumn<int>("changes");
    QTest::newRow("none") << 2 << 1 << 0 << 0;
    QTest::newRow("missing") << 4 << 2 << 0 << 0;
    QTest::newRow("periodic") << 2 << 2 << 1 << 1;
    QTest::newRow("moderate") << 3 << 1 << 2 << 1;
    QTest::newRow("expressed") << 3 << 2 << 3 << 1;
}

void TestSymptomDelegate::firstSettingWrites()
{
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(int, entry);
    QFETCH(int, changes);
    const QVariant before = value(row, column);
    QSignalSpy spy(model, &SymptomModel::onChange);
    const QComboBox* const box = edit(row, column);
    if (box == nullptr) {
        QFAIL("No editor came up");
    }
    QCOMPARE(box->currentIndex(), entry);
    QCOMPARE(spy.count(), changes);
    QCOMPARE(value(row, column), before);
}

void TestSymptomDelegate::leavesOtherValuesAlone_data()
{
    QTest::addColumn<float>("intensity");
    QTest::newRow("above") << 4.0F;
    QTest::newRow("far above") << 4294967296.0F;
    QTest::newRow("rounded above") << 3.75F;
    QTest::newRow("negative") << -1.0F;
    QTest::newRow("far below") << -4294967296.0F;
}

void TestSymptomDelegate::leavesOtherValuesAlone()
{
    QFETCH(float, intensity);
    QVERIFY(model->setData(model->index(2, 1), intensity, Qt::DisplayRole));
    QSignalSpy changes(model, &SymptomModel::onChange);
    QComboBox* const box = edit(2, 1);
    if (box == nullptr) {
        QFAIL("No editor came up");
    }
    QCOMPARE(box->currentIndex(), -1);
    QCOMPARE(changes.count(), 0);
    QCOMPARE(value(2, 1), QVariant(intensity));
    // Until one is chosen.
    box->setCurrentIndex(0);
    QCOMPARE(changes.count(), 1);
    QCOMPARE(value(2, 1), QVariant(0.0F));
}

void TestSymptomDelegate::roundsFractions()
{
    QVERIFY(model->setData(model->index(2, 1), 1.75F, Qt::DisplayRole));
    const QComboBox* const box = edit(2, 1);
    if (box == nullptr) {
        QFAIL("No editor came up");
    }
    QCOMPARE(box->currentIndex(), 2);
    // The first setting of the entry has written it.
    QCOMPARE(value(2, 1), QVariant(2.0F));
}

void TestSymptomDelegate::closingWritesNothing_data()
{
    QTest::addColumn<int>("key");
    QTest::newRow("enter") << int(Qt::Key_Enter);
    QTest::newRow("tab") << int(Qt::Key_Tab);
    QTest::newRow("escape") << int(Qt::Key_Escape);
}

void TestSymptomDelegate::closingWritesNothing()
{
    QFETCH(int, key);
    QComboBox* const box = edit(2, 1);
    if (box == nullptr) {
        QFAIL("No editor came up");
    }
    box->setCurrentIndex(2);
    QSignalSpy changes(model, &SymptomModel::onChange);
    QSignalSpy data(model, &QAbstractItemModel::dataChanged);
    QTest::keyClick(box, static_cast<Qt::Key>(key));
    QTRY_VERIFY(view->viewport()->findChild<QComboBox*>() != box);
    // Tab goes on to the next cell, whose own value is set then.
    QCOMPARE(changes.count(), key == Qt::Key_Tab ? 1 : 0);
    QCOMPARE(data.count(), 0);
    // What was chosen has been written already, and no key takes it back.
    QCOMPARE(value(2, 1), QVariant(2.0F));
    QCOMPARE(value(2, 2), QVariant(1.0F));
}

void TestSymptomDelegate::followsItsRow()
{
    QWidget parent;
    auto* const box =
        qobject_cast<QComboBox*>(delegate->createEditor(&parent, QStyleOptionViewItem(), model->index(5, 1)));
    if (box == nullptr) {
        QFAIL("No editor came up");
    }
    model->removeSymptom(4);
    box->setCurrentIndex(3);
    QCOMPARE(model->data(model->index(4, 0)), QVariant(QStringLiteral("Yours")));
    QCOMPARE(value(4, 1), QVariant(3.0F));
    QCOMPARE(value(3, 1), QVariant(2.0F));
}

void TestSymptomDelegate::outlivesItsRow_data()
{
    QTest::addColumn<bool>("reload");
    QTest::newRow("removed") << false;
    QTest::newRow("loaded anew") << true;
}

void TestSymptomDelegate::outlivesItsRow()
{
    QFETCH(bool, reload);
    QWidget parent;
    auto* const box =
        qobject_cast<QComboBox*>(delegate->createEditor(&parent, QStyleOptionViewItem(), model->index(5, 1)));
    if (box == nullptr) {
        QFAIL("No editor came up");
    }
    if (reload) {
        model->fromJSON(object(usual));
    } else {
        model->removeSymptom(5);
    }
    const QByteArray before = model->getSymptomsTable()->toJson();
    QSignalSpy changes(model, &SymptomModel::onChange);
    box->setCurrentIndex(3);
    QCOMPARE(changes.count(), 0);
    QCOMPARE(model->getSymptomsTable()->toJson(), before);
}

void TestSymptomDelegate::outlivesTheModel()
{
    QWidget parent;
    auto* const box =
        qobject_cast<QComboBox*>(delegate->createEditor(&parent, QStyleOptionViewItem(), model->index(5, 1)));
    if (box == nullptr) {
        QFAIL("No editor came up");
    }
    view.reset();
    box->setCurrentIndex(3);
    QCOMPARE(box->currentIndex(), 3);
}

void TestSymptomDelegate::setsOnlyBoxes()
{
    QLineEdit line;
    line.setText(QStringLiteral("as it was"));
    delegate->setEditorData(&line, model->index(3, 2));
    QCOMPARE(line.text(), QStringLiteral("as it was"));
}

void TestSymptomDelegate::fillsTheCell()
{
    const QComboBox* const box = edit(3, 2);
    if (box == nullptr) {
        QFAIL("No editor came up");
    }
    QCOMPARE(box->geometry(), view->visualRect(model->index(3, 2)));
    QWidget parent;
    QWidget other(&parent);
    QStyleOptionViewItem option;
    option.rect = QRect(7, 8, 123, 40);
    delegate->updateEditorGeometry(&other, option, model->index(2, 1));
    QCOMPARE(other.geometry(), option.rect);
}

QTEST_MAIN(TestSymptomDelegate)

#include "TestSymptomDelegate.moc"
