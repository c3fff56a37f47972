// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MainWindow.h"
#include "app/TableKeys.h"
#include "app/init.h"
#include "model/PatientManager.h"
#include "patients/QPagination.h"
#include "patients/ViewPatient.h"
#include "recipe/ReceiptDescriptionPopup.h"
#include "tests/app/Stations.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"
#include "tests/support/SoundServer.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSet>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QStatusBar>
#include <QTabBar>
#include <QTableView>
#include <QTest>

#include <algorithm>
#include <memory>

namespace {

/// More stops than any window has.
constexpr int manyStops = 100;

/// A layout or widget around a control, with the place on the screen that it takes.
struct Share
{
    const void* part;
    QRect place;
};

/// The layouts between the parent's own layout and the widget, the outermost first.
bool findLayouts(const QLayout* layout, const QWidget* widget, QList<const QLayout*>* found)
{
    for (int i = 0; i < layout->count(); ++i) {
        QLayoutItem* const item = layout->itemAt(i);
        if (item->widget() == widget) {
            return true;
        }
        if (item->layout() != nullptr && findLayouts(item->layout(), widget, found)) {
            found->prepend(item->layout());
            return true;
        }
    }
    return false;
}

/// What holds the widget, from the window's parts down to the widget itself.
QList<Share> sharesOf(const QWidget* widget)
{
    QList<Share> shares;
    for (const QWidget* at = widget; !at->isWindow(); at = at->parentWidget()) {
        const QWidget* const parent = at->parentWidget();
        QList<Share> own;
        QList<const QLayout*> layouts;
        if (parent->layout() != nullptr && findLayouts(parent->layout(), at, &layouts)) {
            for (const QLayout* layout : layouts) {
                own.append({layout, layout->geometry().translated(parent->mapToGlobal(QPoint(0, 0)))});
            }
        }
        own.append({at, QRect(at->mapToGlobal(QPoint(0, 0)), at->size())});
        shares = own + shares;
    }
    return shares;
}

/// The rule of reading: in the smallest part of the window that holds both, the second control's share lies below that
/// of the first, or beside it on the right. A control may be followed by what it holds, and the other way round.
bool readsOn(const QWidget* first, const QWidget* second)
{
    const QList<Share> before = sharesOf(first);
    const QList<Share> after = sharesOf(second);
    int i = 0;
    while (i < before.size() && i < after.size() && before.at(i).part == after.at(i).part) {
        ++i;
    }
    if (i == before.size() || i == after.size()) {
        return true;
    }
    const QRect one = before.at(i).place;
    const QRect other = after.at(i).place;
    const bool sameRow = other.top() <= one.bottom() && one.top() <= other.bottom();
    return other.top() > one.bottom() || (sameRow && other.left() > one.right());
}

QString nameOf(const QWidget* widget)
{
    const QString text = widget->property("text").toString();
    return QString::fromLatin1(widget->metaObject()->className()) + QLatin1Char(' ') + widget->objectName() +
           (text.isEmpty() ? QString() : QStringLiteral(" \"%1\"").arg(text));
}

QString namesOf(const QList<QWidget*>& widgets)
{
    QStringList names;
    for (const QWidget* widget : widgets) {
        names.append(nameOf(widget));
    }
    return names.join(QStringLiteral(", "));
}

/// What the Tab key has to reach.
QSet<QWidget*> stopsOf(const QWidget* window)
{
    QSet<QWidget*> stops;
    const QList<QWidget*> all = window->findChildren<QWidget*>();
    for (QWidget* widget : all) {
        if (widget->window() == window && widget->isVisible() && widget->isEnabled() &&
            (widget->focusPolicy() & Qt::TabFocus) != 0 && widget->focusProxy() == nullptr) {
            stops.insert(widget);
        }
    }
    return stops;
}

/// One round of the focus from where it is.
QList<QWidget*> walk(QWidget* window, Qt::Key key)
{
    QList<QWidget*> way;
    if (window->focusWidget() == nullptr || !stopsOf(window).contains(window->focusWidget())) {
        QTest::keyClick(window, key);
    }
    QWidget* at = window->focusWidget();
    while (at != nullptr && !way.contains(at) && way.size() < manyStops) {
        way.append(at);
        QTest::keyClick(at, key, key == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier);
        at = window->focusWidget();
    }
    // A round ends where it began.
    if (at != nullptr && !way.isEmpty() && at != way.first()) {
        way.append(at);
    }
    return way;
}

/// The steps against the rule of reading; in a round one goes back to the beginning.
QStringList wrongSteps(const QList<QWidget*>& round)
{
    QStringList wrong;
    for (int i = 0; i < round.size(); ++i) {
        const QWidget* const next = round.at((i + 1) % round.size());
        if (!readsOn(round.at(i), next)) {
            wrong.append(nameOf(round.at(i)) + QStringLiteral(" -> ") + nameOf(next));
        }
    }
    return wrong;
}

/// Presses and lets go of nothing: what the button does is not to happen here.
bool answersToSpace(QAbstractButton* button)
{
    button->setFocus();
    QTest::keyPress(button, Qt::Key_Space);
    const bool down = button->isDown();
    button->setDown(false);
    QTest::keyRelease(button, Qt::Key_Space);
    return down;
}

} // namespace

/// The whole program without a mouse, in real windows.
class TestKeyboard : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void ruleOfReading();
    void tabWalksEveryWindow_data();
    void tabWalksEveryWindow();
    void tabWalksBesideAPlayer();
    void escapeLeavesEveryDialog_data();
    void escapeLeavesEveryDialog();
    void returnPressesTheDefault_data();
    void returnPressesTheDefault();
    void agreementOpensTheWayToSave();
    void recorderOffersTheNextStep();

    void listIsRun();
    void listIsSortedAndPaged();
    void cardIsRun();
    void recordsAreSorted();
    void tabsAndColumnsOfTheAnalysis();
    void chartsAreScrolled();
    void historyIsFilled();
    void symptomIsRemoved();
    void markersAreChosen();
    void descriptionIsRead();
    void recipeIsOrdered();
    void menuIsOpened();
    void focusGoesWithTheScreens();
    void headerKeepsToTheColumnsThatShow();

private:
    QTableView* table() const { return stations->screen()->findChild<QTableView*>(QStringLiteral("tableView")); }
    QString text(int row, int column) const { return table()->model()->index(row, column).data().toString().trimmed(); }
    bool ticked(int row) const
    {
        return table()->model()->index(row, 0).data(Qt::CheckStateRole).toInt() == Qt::Checked;
    }
    /// Fills the list anew, which a test before may have emptied.
    void load() const
    {
        PatientManager::getInstance()->load(stations->screen());
        QVERIFY(stations->idle());
        QCOMPARE(table()->model()->rowCount(), 2);
    }
    /// Goes to the widget as the Tab key does.
    static void enter(QWidget* widget)
    {
        widget->setFocus(Qt::TabFocusReason);
        QVERIFY(settles(widget));
    }
    /// Whether it gets the keys for good: after a window has come or gone, the display goes on moving the focus for a
    /// while, and no shortcut acts meanwhile.
    static bool settles(QWidget* widget)
    {
        int still = 0;
        return QTest::qWaitFor([&still, widget] {
            QTest::qWait(20);
            // A display that is busy may leave the focus with a menu that has closed.
            if (QApplication::activeWindow() != widget->window()) {
                QApplication::setActiveWindow(widget->window());
            }
            still = QApplication::focusWidget() == widget ? still + 1 : 0;
            return still >= 5;
        });
    }

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<Stations> stations;
};

void TestKeyboard::initTestCase()
{
    SoundServer::hideAll();
    guard = std::make_unique<MessageGuard>();
    stations = std::make_unique<Stations>();
}

void TestKeyboard::cleanupTestCase()
{
    stations.reset();
    guard.reset();
}

void TestKeyboard::init()
{
    stations->server()->clear();
}

void TestKeyboard::cleanup()
{
    guard->verify();
}

// The rule itself has to tell right from wrong.
void TestKeyboard::ruleOfReading()
{
    QWidget window;
    auto* const columns = new QHBoxLayout(&window);
    QList<QPushButton*> buttons;
    for (int column = 0; column < 2; ++column) {
        auto* const rows = new QVBoxLayout;
        columns->addLayout(rows);
        for (int row = 0; row < 2; ++row) {
            buttons.append(new QPushButton(QString::number(2 * column + row)));
            rows->addWidget(buttons.last());
        }
    }
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    for (int first = 0; first < 4; ++first) {
        for (int second = 0; second < 4; ++second) {
            QVERIFY2(readsOn(buttons.at(first), buttons.at(second)) == (first < second || first == second),
                     qPrintable(QStringLiteral("%1, %2").arg(first).arg(second)));
        }
    }
}

void TestKeyboard::tabWalksEveryWindow_data()
{
    QTest::addColumn<QString>("station");
    const QStringList all = Stations::screens() + Stations::dialogs();
    for (const QString& name : all) {
        QTest::newRow(qPrintable(name)) << name;
    }
}

void TestKeyboard::tabWalksEveryWindow()
{
    QFETCH(QString, station);
    stations->visit(station, [](QWidget* window) {
        const QSet<QWidget*> stops = stopsOf(window);
        QVERIFY(!stops.isEmpty());
        const QList<QWidget*> way = walk(window, Qt::Key_Tab);
        QVERIFY2(way.size() == stops.size() && QSet<QWidget*>(way.begin(), way.end()) == stops,
                 qPrintable(QStringLiteral("went to: ") + namesOf(way) + QStringLiteral("\nought to go to: ") +
                            namesOf(stops.values())));

        QList<QWidget*> back = walk(window, Qt::Key_Backtab);
        // Both began at the same control.
        back.append(back.takeFirst());
        std::reverse(back.begin(), back.end());
        QCOMPARE(namesOf(back), namesOf(way));

        const QStringList wrong = wrongSteps(way);
        QVERIFY2(wrong.size() <= 1, qPrintable(wrong.join(QLatin1Char('\n'))));

        for (QWidget* stop : way) {
            auto* const button = qobject_cast<QAbstractButton*>(stop);
            QVERIFY2(button == nullptr || answersToSpace(button), qPrintable(nameOf(stop)));
        }
    });
}

// New buttons of the page row come while one of the status bar is there.
void TestKeyboard::tabWalksBesideAPlayer()
{
    stations->visit(QStringLiteral("ViewPatients"), [](QWidget* window) {
        auto* const bar = window->findChild<QStatusBar*>(QStringLiteral("statusBar"));
        auto* const pages = window->findChild<QPagination*>();
        QPushButton player(QStringLiteral("Anna Lindqvist [00:01:00]"));
        bar->addWidget(&player);
        player.show();
        pages->updateTotalPages(3);
        QTest::qWait(50);
        window->findChild<QWidget*>(QStringLiteral("searchField"))->setFocus();
        const QList<QWidget*> way = walk(window, Qt::Key_Tab);
        QVERIFY(way.contains(&player));
        QCOMPARE(QSet<QWidget*>(way.begin(), way.end()), stopsOf(window));
        const QStringList wrong = wrongSteps(way);
        QVERIFY2(wrong.size() == 1 && wrong.first().startsWith(nameOf(&player)),
                 qPrintable(wrong.join(QLatin1Char('\n'))));
        bar->removeWidget(&player);
        pages->updateTotalPages(9);
    });
}

void TestKeyboard::escapeLeavesEveryDialog_data()
{
    QTest::addColumn<QString>("station");
    const QStringList all = Stations::dialogs();
    for (const QString& name : all) {
        QTest::newRow(qPrintable(name)) << name;
    }
}

void TestKeyboard::escapeLeavesEveryDialog()
{
    QFETCH(QString, station);
    stations->visit(station, [](QWidget* window) {
        const QPointer<QWidget> dialog(window);
        QVERIFY(dialog->isVisible());
        QTest::keyClick(dialog->focusWidget() != nullptr ? dialog->focusWidget() : dialog.data(), Qt::Key_Escape);
        QVERIFY(dialog.isNull() || !dialog->isVisible());
    });
}

void TestKeyboard::returnPressesTheDefault_data()
{
    QTest::addColumn<QString>("station");
    QTest::addColumn<QString>("button");
    const auto row = [](const char* station, const char* button) {
        QTest::newRow(station) << QString::fromLatin1(station) << QString::fromLatin1(button);
    };
    row("DialogLogin", "buttonConfirm");
    row("DialogAbout", "buttonClose");
    row("DialogChangePassword", "buttonConfirm");
    row("FormPatient, edit", "buttonSave");
    row("DialogAutospectrum", "buttonConfirm");
    row("AudioRecorder, start", "buttonStartRecord");
    row("AudioRecorder, finished", "buttonSaveRecord");
}

void TestKeyboard::returnPressesTheDefault()
{
    QFETCH(QString, station);
    QFETCH(QString, button);
    stations->visit(station, [button](QWidget* window) {
        auto* const wanted = window->findChild<QPushButton*>(button);
        QVERIFY(wanted != nullptr);
        QVERIFY(wanted->isDefault());
        QSignalSpy clicked(wanted, &QPushButton::clicked);
        QWidget* const at = window->focusWidget();
        QTest::keyClick(at != nullptr ? at : window, Qt::Key_Return);
        QCOMPARE(clicked.size(), 1);
    });
}

void TestKeyboard::agreementOpensTheWayToSave()
{
    stations->visit(QStringLiteral("FormPatient, new"), [](QWidget* window) {
        auto* const save = window->findChild<QPushButton*>(QStringLiteral("buttonSave"));
        auto* const agreement = window->findChild<QCheckBox*>(QStringLiteral("agreement"));
        QVERIFY(!save->isEnabled());
        enter(agreement);
        QTest::keyClick(agreement, Qt::Key_Space);
        QVERIFY(agreement->isChecked() && save->isEnabled());
        auto* const female = window->findChild<QPushButton*>(QStringLiteral("buttonGenderFemale"));
        auto* const male = window->findChild<QPushButton*>(QStringLiteral("buttonGenderMale"));
        enter(male);
        QTest::keyClick(male, Qt::Key_Space);
        QVERIFY(male->isChecked() && !female->isChecked());
        enter(female);
        QTest::keyClick(female, Qt::Key_Space);
        QVERIFY(female->isChecked() && !male->isChecked());
    });
}

void TestKeyboard::recorderOffersTheNextStep()
{
    stations->visit(QStringLiteral("AudioRecorder, finished"), [](QWidget* window) {
        auto* const again = window->findChild<QPushButton*>(QStringLiteral("buttonRerecord"));
        auto* const start = window->findChild<QPushButton*>(QStringLiteral("buttonStartRecord"));
        QCOMPARE(window->focusWidget(), window->findChild<QWidget*>(QStringLiteral("buttonSaveRecord")));
        enter(again);
        QTest::keyClick(again, Qt::Key_Space);
        QVERIFY(start->isVisible());
        QCOMPARE(window->focusWidget(), static_cast<QWidget*>(start));
        QVERIFY(start->isDefault());
    });
}

void TestKeyboard::listIsRun()
{
    stations->visit(QStringLiteral("ViewPatients"), [this](QWidget*) {
        load();
        enter(table());
        QCOMPARE(table()->currentIndex().row(), 0);
        QVERIFY(table()->selectionModel()->isRowSelected(0, QModelIndex()));
        QTest::keyClick(table(), Qt::Key_Down);
        QCOMPARE(table()->currentIndex().row(), 1);

        QString edited;
        ModalAnswer form([](QWidget* widget) { return widget->objectName() == QLatin1String("FormPatient"); },
                         [&edited](QWidget* dialog) {
                             edited = dialog->findChild<QLineEdit*>(QStringLiteral("nameField"))->text();
                             QTest::keyClick(dialog, Qt::Key_Escape);
                         });
        QTest::keyClick(table(), Qt::Key_F2);
        QVERIFY(form.used());
        QVERIFY(settles(table()));
        QCOMPARE(edited, QStringLiteral("Bo Ek"));

        BoxAnswer no(QMessageBox::No);
        QTest::keyClick(table(), Qt::Key_Delete);
        QVERIFY(no.used());
        QVERIFY(settles(table()));
        QVERIFY(no.text.contains(QStringLiteral("Bo Ek")));

        stations->server()->expect("GET", "/record/p2", "[]");
        QTest::keyClick(table(), Qt::Key_Return);
        QVERIFY(stations->idle());
        auto* const card = qobject_cast<ViewPatient*>(stations->screen());
        QVERIFY(card != nullptr);
        QCOMPARE(card->findChild<QLabel*>(QStringLiteral("labelPatientName"))->text(), QStringLiteral("Bo Ek"));
    });
}

void TestKeyboard::listIsSortedAndPaged()
{
    stations->visit(QStringLiteral("ViewPatients"), [this](QWidget*) {
        const auto lastTarget = [this] { return stations->server()->last().target; };
        QHeaderView* const header = table()->horizontalHeader();
        enter(header);
        QVERIFY(header->findChild<QWidget*>(QStringLiteral("headerFocus"))->isVisible());
        QTest::keyClick(header, Qt::Key_Home);
        for (int i = 0; i < 3; ++i) {
            QTest::keyClick(header, Qt::Key_Right);
        }
        // The mark stands on the section.
        QCOMPARE(header->findChild<QWidget*>(QStringLiteral("headerFocus"))->x(), header->sectionViewportPosition(3));
        QTest::keyClick(header, Qt::Key_Space);
        QVERIFY(stations->idle());
        QVERIFY2(lastTarget().contains("sortby=age&direction=asc"), lastTarget().constData());
        QTest::keyClick(header, Qt::Key_Return);
        QVERIFY(stations->idle());
        QVERIFY2(lastTarget().contains("sortby=age&direction=desc"), lastTarget().constData());
        QTest::keyClick(header, Qt::Key_Left);
        QTest::keyClick(header, Qt::Key_Space);
        QVERIFY(stations->idle());
        QVERIFY2(lastTarget().contains("sortby=name&direction=asc"), lastTarget().constData());
        enter(table());
        QVERIFY(!header->findChild<QWidget*>(QStringLiteral("headerFocus"))->isVisible());
    });

    stations->visit(QStringLiteral("ViewPatients"), [this](QWidget* window) {
        // The answers to the sorting have told of no pages.
        load();
        QPushButton* next = nullptr;
        const QList<QWidget*> way = walk(window, Qt::Key_Tab);
        for (QWidget* stop : way) {
            auto* const button = qobject_cast<QPushButton*>(stop);
            next = button != nullptr && button->text() == QLatin1String(">") ? button : next;
        }
        QVERIFY(next != nullptr);
        enter(next);
        QTest::keyClick(next, Qt::Key_Space);
        QVERIFY(stations->idle());
        QVERIFY2(stations->server()->last().target.contains("current=1"),
                 stations->server()->last().target.constData());
    });
}

void TestKeyboard::cardIsRun()
{
    stations->visit(QStringLiteral("ViewPatient"), [this](QWidget*) {
        enter(table());
        QTest::keyClick(table(), Qt::Key_Down);
        const int row = table()->currentIndex().row();
        QCOMPARE(row, 1);
        QVERIFY(ticked(0) && ticked(1) && ticked(2));
        // Wherever in the row.
        for (int column = 0; column < 4; ++column) {
            QTest::keyClick(table(), Qt::Key_Space);
            QCOMPARE(ticked(row), column % 2 == 1);
            QTest::keyClick(table(), Qt::Key_Right);
        }
        QVERIFY(ticked(0) && ticked(2));

        BoxAnswer no(QMessageBox::No);
        QTest::keyClick(table(), Qt::Key_Delete);
        QVERIFY(no.used());
        QVERIFY2(no.text.contains(text(row, 3)), qPrintable(no.text));

        QHeaderView* const header = table()->horizontalHeader();
        enter(header);
        QTest::keyClick(header, Qt::Key_Home);
        QTest::keyClick(header, Qt::Key_Space);
        QVERIFY(!ticked(0) && !ticked(1) && !ticked(2));
        QTest::keyClick(header, Qt::Key_Space);
        QVERIFY(ticked(0) && ticked(1) && ticked(2));
    });
}

void TestKeyboard::recordsAreSorted()
{
    stations->visit(QStringLiteral("ViewPatient"), [this](QWidget*) {
        QHeaderView* const header = table()->horizontalHeader();
        const QString newest = text(0, 3);
        const QString oldest = text(2, 3);
        QVERIFY(newest > oldest);
        enter(header);
        QTest::keyClick(header, Qt::Key_Home);
        for (int i = 0; i < 3; ++i) {
            QTest::keyClick(header, Qt::Key_Right);
        }
        QTest::keyClick(header, Qt::Key_Space);
        QCOMPARE(text(0, 3), oldest);
        QTest::keyClick(header, Qt::Key_Space);
        QCOMPARE(text(0, 3), newest);
    });
}

void TestKeyboard::tabsAndColumnsOfTheAnalysis()
{
    stations->visit(QStringLiteral("ViewAnalysis, summary"), [this](QWidget*) {
        auto* const tabs = stations->screen()->findChild<QTabBar*>();
        enter(tabs);
        QTest::keyClick(tabs, Qt::Key_Right);
        QCOMPARE(tabs->currentIndex(), 1);
        QTest::keyClick(tabs, Qt::Key_Left);
        QCOMPARE(tabs->currentIndex(), 0);

        auto* const view = stations->screen()->findChild<QTableView*>(QStringLiteral("summaryTableView"));
        const auto first = [view] { return view->model()->index(0, 0).data().toString(); };
        QHeaderView* const header = view->horizontalHeader();
        enter(header);
        QTest::keyClick(header, Qt::Key_End);
        QTest::keyClick(header, Qt::Key_Space);
        QCOMPARE(first(), QStringLiteral("Oak"));
        QTest::keyClick(header, Qt::Key_Space);
        QCOMPARE(first(), QStringLiteral("Ash"));
    });
}

void TestKeyboard::chartsAreScrolled()
{
    stations->visit(QStringLiteral("ViewComparativeAnalysis"), [this](QWidget*) {
        auto* const area = stations->screen()->findChild<QScrollArea*>(QStringLiteral("scrollArea"));
        QScrollBar* const bar = area->verticalScrollBar();
        QVERIFY(bar->maximum() > 0);
        enter(area);
        QTest::keyClick(area, Qt::Key_PageDown);
        QVERIFY(bar->value() > 0);
        QTest::keyClick(area, Qt::Key_PageUp);
        QCOMPARE(bar->value(), 0);
    });
}

void TestKeyboard::historyIsFilled()
{
    stations->visit(QStringLiteral("ViewRecoveryHistory"), [this](QWidget* window) {
        const QModelIndex cell = table()->model()->index(2, 1);
        enter(table());
        QTest::keyClick(table(), Qt::Key_Down);
        QTest::keyClick(table(), Qt::Key_Down);
        QTest::keyClick(table(), Qt::Key_Right);
        QCOMPARE(table()->currentIndex(), cell);
        const QString before = cell.data().toString();
        QTest::keyClick(table(), Qt::Key_F2);
        QPointer<QComboBox> editor = table()->findChild<QComboBox*>();
        QVERIFY(editor != nullptr);
        QVERIFY(!editor->accessibleName().isEmpty());
        QTest::keyClick(editor, Qt::Key_Down);
        QVERIFY(cell.data().toString() != before);
        const QString chosen = cell.data().toString();
        QTest::keyClick(editor, Qt::Key_Return);
        QTRY_VERIFY(editor == nullptr);
        QCOMPARE(cell.data().toString(), chosen);
        // The table lets go.
        QCOMPARE(window->focusWidget(), static_cast<QWidget*>(table()));
        QTest::keyClick(table(), Qt::Key_Tab);
        QCOMPARE(window->focusWidget(), stations->screen()->findChild<QWidget*>(QStringLiteral("buttonSave")));
    });
}

void TestKeyboard::symptomIsRemoved()
{
    stations->visit(QStringLiteral("ViewRecoveryHistory"), [this](QWidget*) {
        QCOMPARE(text(3, 0), QStringLiteral("Own"));
        enter(table());
        for (int i = 0; i < 3; ++i) {
            QTest::keyClick(table(), Qt::Key_Down);
        }
        // What the platform makes of the menu key, with the place that it asks the table for.
        const QPoint place = table()->inputMethodQuery(Qt::ImCursorRectangle).toRect().center();
        QContextMenuEvent key(QContextMenuEvent::Keyboard, place, table()->mapToGlobal(place));
        QApplication::sendEvent(table(), &key);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu != nullptr);
        QVERIFY(menu->actions().at(1)->isEnabled());
        QTest::keyClick(menu, Qt::Key_Up);
        QTest::keyClick(menu, Qt::Key_Return);
        QCOMPARE(table()->model()->rowCount(), 3);
        QCOMPARE(text(2, 0), QStringLiteral("Cough"));
    });
}

void TestKeyboard::markersAreChosen()
{
    stations->visit(QStringLiteral("ViewReceipt"), [this](QWidget*) {
        auto* const receipt = stations->screen()->findChild<QPushButton*>(QStringLiteral("buttonReceipt"));
        QVERIFY(!receipt->isEnabled());
        enter(table());
        QTest::keyClick(table(), Qt::Key_Right);
        QTest::keyClick(table(), Qt::Key_Space);
        QVERIFY(ticked(0) && receipt->isEnabled());
        QTest::keyClick(table(), Qt::Key_Space);
        QVERIFY(!ticked(0) && !receipt->isEnabled());

        QHeaderView* const header = table()->horizontalHeader();
        enter(header);
        QTest::keyClick(header, Qt::Key_Home);
        QTest::keyClick(header, Qt::Key_Space);
        QCOMPARE(text(0, 0), QStringLiteral("Ash"));
    });
}

void TestKeyboard::descriptionIsRead()
{
    stations->visit(QStringLiteral("ViewReceipt"), [this](QWidget* window) {
        const auto popup = []() -> ReceiptDescriptionPopup* {
            const QWidgetList all = QApplication::topLevelWidgets();
            for (QWidget* widget : all) {
                auto* const found = qobject_cast<ReceiptDescriptionPopup*>(widget);
                if (found != nullptr && found->isVisible()) {
                    return found;
                }
            }
            return nullptr;
        };
        // Far from the table and from the bubble.
        QCursor::setPos(window->mapToGlobal(QPoint(5, 5)));
        enter(table());
        QTest::keyClick(table(), Qt::Key_Return);
        QVERIFY(popup() != nullptr);
        QCOMPARE(popup()->title(), text(0, 0));
        // The cursor's poll, after 500 ms, would have closed one of the mouse.
        QTest::qWait(700);
        QVERIFY(popup() != nullptr);
        QVERIFY(window->isActiveWindow());

        QScrollBar* const bar = popup()->findChild<QPlainTextEdit*>()->verticalScrollBar();
        QVERIFY(bar->maximum() > 0);
        QTest::keyClick(table(), Qt::Key_PageDown);
        QVERIFY(bar->value() > 0);
        QTest::keyClick(table(), Qt::Key_PageUp);
        QCOMPARE(bar->value(), 0);
        QCOMPARE(table()->currentIndex().row(), 0);

        QTest::keyClick(table(), Qt::Key_Escape);
        QVERIFY(popup() == nullptr);
        QTest::keyClick(table(), Qt::Key_Return);
        QVERIFY(popup() != nullptr);
        QTest::keyClick(table(), Qt::Key_Down);
        QVERIFY(popup() == nullptr);
        QTest::keyClick(table(), Qt::Key_Return);
        QCOMPARE(popup()->title(), text(1, 0));
        QTest::keyClick(table(), Qt::Key_Tab);
        QVERIFY(popup() == nullptr);
    });
}

void TestKeyboard::recipeIsOrdered()
{
    stations->visit(QStringLiteral("ViewImpact, sensor"), [this](QWidget*) {
        const auto order = [this] {
            QStringList titles;
            for (int row = 0; row < table()->model()->rowCount(); ++row) {
                titles.append(text(row, 3));
            }
            return titles.join(QLatin1Char(' '));
        };
        QCOMPARE(order(), QStringLiteral("Oak Ash Elm"));
        enter(table());
        QTest::keyClick(table(), Qt::Key_Up, Qt::AltModifier);
        QCOMPARE(order(), QStringLiteral("Oak Ash Elm"));
        QTest::keyClick(table(), Qt::Key_Down, Qt::AltModifier);
        QCOMPARE(order(), QStringLiteral("Ash Oak Elm"));
        QCOMPARE(table()->currentIndex().row(), 1);
        QTest::keyClick(table(), Qt::Key_Down, Qt::AltModifier);
        QCOMPARE(order(), QStringLiteral("Ash Elm Oak"));
        QTest::keyClick(table(), Qt::Key_Down, Qt::AltModifier);
        QCOMPARE(order(), QStringLiteral("Ash Elm Oak"));
        QTest::keyClick(table(), Qt::Key_Up, Qt::AltModifier);
        QCOMPARE(order(), QStringLiteral("Ash Oak Elm"));
        QTest::keyClick(table(), Qt::Key_Delete);
        QCOMPARE(order(), QStringLiteral("Ash Elm"));
        QTest::keyClick(table(), Qt::Key_Delete);
        QCOMPARE(order(), QStringLiteral("Ash"));
    });
}

void TestKeyboard::menuIsOpened()
{
    stations->visit(QStringLiteral("ViewPatients"), [](QWidget* window) {
        auto* const bar = window->findChild<QMenuBar*>(QStringLiteral("menuBar"));
        QTest::keyClick(window, Qt::Key_Alt, Qt::AltModifier);
        QTRY_VERIFY(bar->activeAction() != nullptr);
        QTest::keyClick(bar, Qt::Key_Return);
        auto* const menu = window->findChild<QMenu*>(QStringLiteral("menuApplication"));
        QTRY_VERIFY(menu->isVisible());
        QStringList reached;
        for (int i = 0; i < 4; ++i) {
            reached.append(menu->activeAction() == nullptr ? QString() : menu->activeAction()->objectName());
            QTest::keyClick(menu, Qt::Key_Down);
        }
        reached.removeAll(QString());
        for (const char* const entry : {"menuPassword", "menuUpdates", "menuAbout"}) {
            QVERIFY2(reached.contains(QString::fromLatin1(entry)), qPrintable(reached.join(QLatin1Char(' '))));
        }
        while (menu->activeAction()->objectName() != QLatin1String("menuAbout")) {
            QTest::keyClick(menu, Qt::Key_Down);
        }
        ModalAnswer about([](QWidget* widget) { return widget->objectName() == QLatin1String("DialogAbout"); },
                          [](QWidget* dialog) { QTest::keyClick(dialog, Qt::Key_Return); });
        QTest::keyClick(menu, Qt::Key_Return);
        QVERIFY(about.used());
    });
}

void TestKeyboard::focusGoesWithTheScreens()
{
    stations->visit(QStringLiteral("ViewPatients"), [this](QWidget* window) {
        load();
        const auto inside = [this, window] {
            const QWidget* const at = window->focusWidget();
            return at != nullptr && at->isVisible() && stations->screen()->isAncestorOf(at);
        };
        enter(table());
        QTest::keyClick(table(), Qt::Key_Home, Qt::ControlModifier);
        QTest::keyClick(table(), Qt::Key_Return);
        QVERIFY(stations->idle());
        QVERIFY(qobject_cast<ViewPatient*>(stations->screen()) != nullptr);
        QVERIFY(inside());
        auto* const back = stations->screen()->findChild<QPushButton*>(QStringLiteral("buttonListPatients"));
        enter(back);
        QTest::keyClick(back, Qt::Key_Space);
        QTRY_VERIFY(qobject_cast<ViewPatient*>(stations->screen()) == nullptr);
        QVERIFY(inside());
        QCOMPARE(window->focusWidget(), static_cast<QWidget*>(table()));
    });
}

void TestKeyboard::headerKeepsToTheColumnsThatShow()
{
    QStandardItemModel model(2, 3);
    QTableView plain;
    plain.setModel(&model);
    plain.setSortingEnabled(true);
    plain.resize(400, 200);
    new TableKeys(&plain);
    plain.show();
    plain.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&plain));
    QHeaderView* const header = plain.horizontalHeader();
    const auto* const mark = header->viewport()->findChild<QFrame*>(QStringLiteral("headerFocus"));
    QVERIFY(mark != nullptr);
    header->setFocus(Qt::TabFocusReason);
    QTest::keyClick(header, Qt::Key_End);
    QCOMPARE(mark->geometry().left(), header->sectionViewportPosition(2));

    // The column goes while the header is left alone: the first one that shows takes its place.
    plain.setFocus(Qt::TabFocusReason);
    plain.setColumnHidden(0, true);
    plain.setColumnHidden(2, true);
    header->setFocus(Qt::TabFocusReason);
    QCOMPARE(mark->geometry().left(), header->sectionViewportPosition(1));
    const QSignalSpy clicked(header, &QHeaderView::sectionClicked);
    QTest::keyClick(header, Qt::Key_Space);
    QCOMPARE(clicked.count(), 1);
    QCOMPARE(clicked.first().first().toInt(), 1);

    // Nothing is clicked where there is no column.
    model.setColumnCount(0);
    QTest::keyClick(header, Qt::Key_Space);
    QCOMPARE(clicked.count(), 1);
}

int main(int argc, char* argv[])
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication app(argc, argv);
    init(app);
    QApplication::setQuitOnLastWindowClosed(false);
    TestKeyboard test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestKeyboard.moc"
