// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/PatientManager.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "patients/FormPatient.h"
#include "patients/PatientDelegate.h"
#include "patients/PatientModel.h"
#include "patients/QPagination.h"
#include "patients/ViewPatients.h"
#include "tests/patients/Samples.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTableView>
#include <QTest>
#include <QTimer>

#include <memory>

using Answer = LoopbackServer::Answer;

namespace {

QByteArray filter(const char* sort, const char* direction, int page, const char* searchBy = "name",
                  const char* needle = "")
{
    return QByteArray("/patient/filter?sortby=") + sort + "&direction=" + direction +
           "&size=20&current=" + QByteArray::number(page) + "&searchby=" + searchBy + "&needle=" + needle;
}

/// Whether a widget that is open is the patient form.
bool isForm(QWidget* widget)
{
    return qobject_cast<FormPatient*>(widget) != nullptr;
}

} // namespace

class TestViewPatients : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { guard = std::make_unique<MessageGuard>(); }
    void cleanupTestCase() { guard.reset(); }

    void init()
    {
        server = std::make_unique<LoopbackServer>();
        QVERIFY(server->listenForClient());
        Http::instance().setReadTimeout(300);
        model = PatientManager::getInstance()->getModel();
        model->clear();
        model->setTotalPages(0);
        model->setCurrentPage(1);
    }

    void cleanup()
    {
        if (view != nullptr) {
            QTRY_VERIFY(overlay() == nullptr);
        }
        QCOMPARE(server->pending(), 0);
        view.reset();
        server.reset();
        guard->verify();
    }

    void loadsFirstPage()
    {
        server->expect("GET", filter("name", "asc", 0), Samples::list(20, 3));
        view = std::make_unique<ViewPatients>();
        QVERIFY(overlay() != nullptr);
        QTRY_COMPARE(model->rowCount(), 20);
        QVERIFY(overlay() == nullptr);
        QCOMPARE(pages(), QStringLiteral("1 2 3"));
        QCOMPARE(model->index(19, 0).data().toInt(), 20);
        QCOMPARE(server->requests().size(), 1);
    }

    void widgets()
    {
        open(3, 1);
        QCOMPARE(view->objectName(), QStringLiteral("ViewPatients"));
        QCOMPARE(view->windowTitle(), QStringLiteral("Title.patients"));
        QCOMPARE(view->locale(), QLocale(QLocale::English, QLocale::UnitedStates));
        QVERIFY(view->windowFlags().testFlag(Qt::Window));
        QVERIFY(view->windowFlags().testFlag(Qt::FramelessWindowHint));
        QVERIFY(view->isMaximized());
        QVERIFY(view->isVisible());
        auto* const grid = qobject_cast<QGridLayout*>(view->layout());
        QVERIFY(grid != nullptr);
        QCOMPARE(grid->objectName(), QStringLiteral("gridLayout"));
        QCOMPARE(grid->itemAtPosition(0, 0)->layout()->objectName(), QStringLiteral("horizontalLayout_1"));
        QCOMPARE(grid->itemAtPosition(1, 0)->widget(), static_cast<QWidget*>(child<QGroupBox>("toolbarPatients")));
        QCOMPARE(grid->itemAtPosition(2, 0)->widget(), static_cast<QWidget*>(child<QGroupBox>("tableBox")));
        QCOMPARE(grid->itemAtPosition(3, 0)->widget(), static_cast<QWidget*>(view->findChild<QPagination*>()));
        QCOMPARE(view->findChild<QPagination*>()->minimumHeight(), 30);

        QCOMPARE(child<QLabel>("titleLabel")->text(), QStringLiteral("Text.listPatients"));
        auto* const refresh = child<QPushButton>("buttonRefresh");
        QCOMPARE(refresh->minimumSize(), QSize(32, 24));
        QCOMPARE(refresh->iconSize(), QSize(20, 20));
        QCOMPARE(refresh->toolTip(), QStringLiteral("Text.refresh"));
        QVERIFY(!refresh->icon().isNull());
        QVERIFY(child<QGroupBox>("toolbarPatients")->title().isEmpty());
        QCOMPARE(child<QGroupBox>("toolbarPatients")->layout()->objectName(), QStringLiteral("gridLayout_3"));
        QVERIFY(view->findChild<QLayout*>(QStringLiteral("horizontalLayout_2")) != nullptr);
        QCOMPARE(child<QGroupBox>("searchBox")->minimumHeight(), 40);
        auto* const searchGrid = qobject_cast<QGridLayout*>(child<QGroupBox>("searchBox")->layout());
        QCOMPARE(searchGrid->objectName(), QStringLiteral("gridLayout_2"));
        QCOMPARE(searchGrid->verticalSpacing(), 6);
        QCOMPARE(searchGrid->contentsMargins(), QMargins());
        auto* const search = child<QLineEdit>("searchField");
        QCOMPARE(search->minimumSize(), QSize(200, 20));
        QCOMPARE(search->placeholderText(), QStringLiteral("Text.patientSearch"));
        QVERIFY(!search->testAttribute(Qt::WA_MacShowFocusRect));
        auto* const box = child<QComboBox>("comboBox");
        QCOMPARE(box->minimumSize(), QSize(200, 20));
        QCOMPARE(box->maximumWidth(), 230);
        QVERIFY(!box->hasFrame());
        QCOMPARE(box->count(), 2);
        QCOMPARE(box->itemText(0), QStringLiteral("Text.name"));
        QCOMPARE(box->itemText(1), QStringLiteral("Text.notes"));
        QCOMPARE(searchGrid->itemAtPosition(0, 0)->widget(), static_cast<QWidget*>(search));
        QCOMPARE(searchGrid->itemAtPosition(0, 1)->widget(), static_cast<QWidget*>(child<QFrame>("line")));
        QCOMPARE(searchGrid->itemAtPosition(0, 2)->widget(), static_cast<QWidget*>(box));
        for (const char* const line : {"line", "line3"}) {
            QCOMPARE(child<QFrame>(line)->frameShape(), QFrame::VLine);
            QCOMPARE(child<QFrame>(line)->frameShadow(), QFrame::Sunken);
        }
        auto* const create = child<QPushButton>("buttonNewPatient");
        QCOMPARE(create->minimumSize(), QSize(170, 40));
        QCOMPARE(create->maximumSize(), QSize(250, 40));
        QCOMPARE(create->iconSize(), QSize(20, 20));
        QCOMPARE(create->text(), QStringLiteral("Text.newPatient"));
        QVERIFY(!create->icon().isNull());
        QVERIFY(child<QGroupBox>("tableBox")->title().isEmpty());
        QCOMPARE(child<QGroupBox>("tableBox")->layout()->objectName(), QStringLiteral("gridLayout_4"));
    }

    void tableSettings()
    {
        open(3, 1);
        QTableView* const table = this->table();
        QCOMPARE(table->model(), static_cast<QAbstractItemModel*>(model));
        QCOMPARE(table->editTriggers(), QAbstractItemView::NoEditTriggers);
        QCOMPARE(table->selectionMode(), QAbstractItemView::SingleSelection);
        QCOMPARE(table->selectionBehavior(), QAbstractItemView::SelectRows);
        QVERIFY(table->isSortingEnabled());
        QVERIFY(table->hasMouseTracking());
        QVERIFY(table->viewport()->hasMouseTracking());
        QVERIFY(table->alternatingRowColors());
        QVERIFY(!table->wordWrap());
        for (int column = 0; column < 10; ++column) {
            const bool served = column == 1 || column == 4 || column == 8 || column == 9;
            QCOMPARE(qobject_cast<PatientDelegate*>(table->itemDelegateForColumn(column)) != nullptr, served);
        }
        QVERIFY(table->verticalHeader()->isHidden());
        QCOMPARE(table->verticalHeader()->sectionResizeMode(0), QHeaderView::Fixed);
        QCOMPARE(table->rowHeight(0), 40);
        QCOMPARE(header()->defaultAlignment(), Qt::Alignment(Qt::AlignLeft));
        QVERIFY(!header()->stretchLastSection());
        // No column shows an arrow before one was chosen.
        QCOMPARE(header()->sortIndicatorSection(), -1);
    }

    void columnWidths_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<int>("width");
        const int widths[] = {45, 45, 0, 100, 100, 200, 0, 0, 45, 45};
        for (int column = 0; column < 10; ++column) {
            QTest::addRow("column %d", column) << column << widths[column];
        }
    }

    void columnWidths()
    {
        QFETCH(int, column);
        QFETCH(int, width);
        open(3, 1);
        if (width == 0) {
            QCOMPARE(header()->sectionResizeMode(column), QHeaderView::Stretch);
            QVERIFY(header()->sectionSize(column) > 45);
        } else {
            QCOMPARE(header()->sectionResizeMode(column), QHeaderView::Fixed);
            QCOMPARE(header()->sectionSize(column), width);
        }
    }

    void emptyList()
    {
        open(0, 0);
        QCOMPARE(model->rowCount(), 0);
        QCOMPARE(pages(), QString());
        QCOMPARE(header()->sectionSize(5), 200);
        // Nothing is there to be opened, edited or deleted.
        QSignalSpy chosen(view.get(), &ViewPatients::onChoosePatient);
        view->onDoubleClick(QModelIndex());
        view->onEdit(QPoint(5, 5));
        QCOMPARE(chosen.count(), 0);
    }

    void sortKeys_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<QByteArray>("key");
        QTest::newRow("name") << 2 << QByteArray("name");
        QTest::newRow("age") << 3 << QByteArray("age");
        QTest::newRow("gender") << 4 << QByteArray("gender");
        QTest::newRow("last record") << 5 << QByteArray("record");
        QTest::newRow("phone") << 6 << QByteArray();
        QTest::newRow("notes") << 7 << QByteArray("notes");
    }

    void sortKeys()
    {
        QFETCH(int, column);
        QFETCH(QByteArray, key);
        open(3, 1);
        const auto direction = [&key](Qt::SortOrder order) {
            return key.isEmpty() ? "" : order == Qt::DescendingOrder ? "desc" : "asc";
        };
        QSet<int> orders;
        for (int i = 0; i < 2; ++i) {
            // The indicator has turned by the time of the request: what it shows is what is asked for.
            const bool same = header()->sortIndicatorSection() == column;
            const Qt::SortOrder next = same && header()->sortIndicatorOrder() == Qt::AscendingOrder
                                           ? Qt::DescendingOrder
                                       : same ? Qt::AscendingOrder
                                              : firstOrder(column);
            server->expect("GET", filter(key.constData(), direction(next), 0), Samples::list(3, 1));
            clickHeader(column);
            QCOMPARE(header()->sortIndicatorOrder(), next);
            orders.insert(next);
            QTRY_COMPARE(server->pending(), 0);
            QTRY_VERIFY(overlay() == nullptr);
        }
        QCOMPARE(orders.size(), 2);
        // Refreshing keeps the order.
        server->expect("GET", filter(key.constData(), direction(header()->sortIndicatorOrder()), 0),
                       Samples::list(3, 1));
        child<QPushButton>("buttonRefresh")->click();
        QTRY_COMPARE(server->pending(), 0);
    }

    void columnsThatDoNotSort_data()
    {
        QTest::addColumn<int>("column");
        for (const int column : {0, 1, 8, 9}) {
            QTest::addRow("column %d", column) << column;
        }
    }

    void columnsThatDoNotSort()
    {
        QFETCH(int, column);
        open(3, 1);
        clickHeader(column);
        QVERIFY(overlay() == nullptr);
        QCOMPARE(server->requests().size(), 1);
        // If asked for anything then, it has no order.
        server->expect("GET", filter("", "", 0), Samples::list(3, 1));
        view->onRefresh();
        QTRY_COMPARE(server->pending(), 0);
    }

    void tableNeverSortsItself()
    {
        open(5, 1);
        server->expect("GET", filter("name", "desc", 0), Samples::list(5, 1));
        server->expect("GET", filter("name", "asc", 0), Samples::list(5, 1));
        for (int i = 0; i < 2; ++i) {
            clickHeader(2);
            QTRY_VERIFY(overlay() == nullptr);
            QCOMPARE(model->index(0, 2).data().toString(), QStringLiteral("  Patient 0"));
            QCOMPARE(table()->model()->index(4, 2).data().toString(), QStringLiteral("  Patient 4"));
        }
    }

    void debounces()
    {
        open(3, 1);
        auto* const field = child<QLineEdit>("searchField");
        QTimer* const timer = searchTimer();
        QVERIFY(timer != nullptr);
        QCOMPARE(timer->interval(), 800);
        QVERIFY(!timer->isActive());
        QTest::keyClicks(field, QStringLiteral("a"));
        QVERIFY(timer->isActive());
        QTest::qWait(300);
        const int before = timer->remainingTime();
        // Each key starts the wait anew.
        QTest::keyClicks(field, QStringLiteral("b"));
        QVERIFY(timer->remainingTime() > before);
        QCOMPARE(server->requests().size(), 1);
        server->expect("GET", filter("", "", 0, "name", "YWI-"), Samples::list(1, 1));
        QTRY_COMPARE(model->rowCount(), 1);
        QVERIFY(!timer->isActive());
        QCOMPARE(server->requests().size(), 2);
        // One request alone.
        QTest::qWait(900);
        QCOMPARE(server->requests().size(), 2);
    }

    void needles_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("needle");
        QTest::newRow("empty") << QString() << QByteArray();
        QTest::newRow("blanks") << QStringLiteral("   ") << QByteArray();
        QTest::newRow("trimmed") << QStringLiteral("  ab ") << QByteArray("YWI-");
        QTest::newRow("inner blank") << QStringLiteral("a b") << QByteArray("YSBi");
        QTest::newRow("all replaced characters") << QString::fromUtf8("ы\?\?>n") << QByteArray("0Ys_Pz5u");
        QTest::newRow("Russian") << QString::fromUtf8("Ян") << QByteArray("0K_QvQ--");
    }

    void needles()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, needle);
        open(3, 1);
        child<QLineEdit>("searchField")->setText(text);
        server->expect("GET", filter("", "", 0, "name", needle.constData()), Samples::list(1, 1));
        view->onRefresh();
        QTRY_COMPARE(server->pending(), 0);
        QTRY_VERIFY(overlay() == nullptr);
        searchTimer()->stop();
    }

    void searchFields()
    {
        open(3, 1);
        auto* const box = child<QComboBox>("comboBox");
        server->expect("GET", filter("", "", 0, "notes"), Samples::list(2, 1));
        box->setCurrentIndex(1);
        QTRY_COMPARE(model->rowCount(), 2);
        // The field goes along though there is nothing to search for.
        server->expect("GET", filter("", "", 0, "notes"), Samples::list(3, 1));
        view->onRefresh();
        QTRY_COMPARE(model->rowCount(), 3);
        server->expect("GET", filter("", "", 0, "name"), Samples::list(1, 1));
        box->setCurrentIndex(0);
        QTRY_COMPARE(model->rowCount(), 1);
    }

    void pageChangeKeepsSortAndSearch()
    {
        open(20, 5);
        server->expect("GET", filter("age", firstDirection(3), 0), Samples::list(20, 5));
        clickHeader(3);
        QTRY_COMPARE(server->pending(), 0);
        QTRY_VERIFY(overlay() == nullptr);
        child<QLineEdit>("searchField")->setText(QStringLiteral("ab"));
        searchTimer()->stop();

        server->expect("GET", filter("age", firstDirection(3), 2, "name", "YWI-"), Samples::list(20, 5));
        pageButton(QStringLiteral("3"))->click();
        // The numbers go with the page at once.
        QCOMPARE(model->index(0, 0).data().toInt(), 41);
        QTRY_COMPARE(server->pending(), 0);
        QTRY_VERIFY(overlay() == nullptr);
        QCOMPARE(model->index(0, 0).data().toInt(), 41);
        server->expect("GET", filter("age", firstDirection(3), 3, "name", "YWI-"), Samples::list(7, 5));
        pageButton(QStringLiteral(">"))->click();
        QTRY_COMPARE(model->rowCount(), 7);
        QCOMPARE(model->index(6, 0).data().toInt(), 67);
        QCOMPARE(view->findChild<QPagination*>()->getCurrentPage(), 4);
    }

    void fewerPagesLeadBackToTheFirst()
    {
        open(20, 5);
        server->expect("GET", filter("", "", 4), Samples::list(20, 5));
        pageButton(QStringLiteral("5"))->click();
        QTRY_COMPARE(server->pending(), 0);
        QTRY_VERIFY(overlay() == nullptr);
        QCOMPARE(model->index(0, 0).data().toInt(), 81);

        server->expect("GET", filter("", "", 4), Samples::list(2, 1));
        view->onRefresh();
        QTRY_COMPARE(model->rowCount(), 2);
        QCOMPARE(view->findChild<QPagination*>()->getCurrentPage(), 1);
        QCOMPARE(model->index(0, 0).data().toInt(), 1);
        QCOMPARE(pages(), QStringLiteral("1"));
        // That asks for nothing more by itself.
        QCOMPARE(server->requests().size(), 3);
    }

    void morePagesKeepThePage()
    {
        open(20, 3);
        server->expect("GET", filter("", "", 2), Samples::list(20, 9));
        pageButton(QStringLiteral("3"))->click();
        QTRY_COMPARE(pages(), QStringLiteral("1 2 3 4 5 ... 9"));
        QCOMPARE(view->findChild<QPagination*>()->getCurrentPage(), 3);
        QCOMPARE(model->index(0, 0).data().toInt(), 41);
    }

    void searchFieldIsLockedWhileWaiting()
    {
        server->expect("GET", filter("name", "asc", 0), Samples::list(2, 1));
        view = std::make_unique<ViewPatients>();
        auto* const field = child<QLineEdit>("searchField");
        QVERIFY(field->isReadOnly());
        QTRY_VERIFY(!field->isReadOnly());
        QVERIFY(overlay() == nullptr);

        // Two requests at once: the last one opens the field.
        Answer slow;
        slow.body = Samples::list(1, 1);
        slow.delay = 150;
        server->expect("GET", filter("", "", 0), Samples::list(3, 1));
        server->expect("GET", filter("", "", 0), slow);
        view->onRefresh();
        QVERIFY(field->isReadOnly());
        view->onRefresh();
        QTRY_COMPARE(model->rowCount(), 3);
        QVERIFY(field->isReadOnly());
        QTRY_COMPARE(model->rowCount(), 1);
        QVERIFY(!field->isReadOnly());

        // Other children mean nothing.
        const QWidget other(view.get());
        QVERIFY(!field->isReadOnly());
        QWidget named(view.get());
        named.setObjectName(QStringLiteral("LoadingWindow"));
        named.show();
        QVERIFY(!field->isReadOnly());
    }

    void lockedFieldTakesNoKeys()
    {
        open(2, 1);
        server->expect("GET", filter("", "", 0), Samples::list(2, 1));
        view->onRefresh();
        auto* const field = child<QLineEdit>("searchField");
        QTest::keyClicks(field, QStringLiteral("abc"));
        QVERIFY(field->text().isEmpty());
        QVERIFY(!searchTimer()->isActive());
    }

    void lockAlsoWorksWhileHidden()
    {
        open(2, 1);
        view->hide();
        server->expect("GET", filter("", "", 0), Samples::list(2, 1));
        view->onRefresh();
        QVERIFY(child<QLineEdit>("searchField")->isReadOnly());
        QTRY_VERIFY(!child<QLineEdit>("searchField")->isReadOnly());
    }

    void choosesByDoubleClick_data()
    {
        QTest::addColumn<int>("column");
        for (const int column : {0, 2, 7, 8, 9}) {
            QTest::addRow("column %d", column) << column;
        }
    }

    void choosesByDoubleClick()
    {
        QFETCH(int, column);
        open(3, 1);
        QStringList chosen;
        const QObject whileHere;
        connect(view.get(), &ViewPatients::onChoosePatient, &whileHere,
                [&chosen](Patient& patient) { chosen.append(patient.getId()); });
        // Beside the icons, so that these do not take the press.
        const QPoint place = table()->visualRect(model->index(1, column)).topLeft() + QPoint(3, 3);
        QTest::mouseClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, place);
        QVERIFY(chosen.isEmpty());
        QTest::mouseDClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, place);
        QCOMPARE(chosen, QStringList(QStringLiteral("p1")));
    }

    void createsPatient()
    {
        open(2, 1);
        server->expect("POST", "/patient",
                       Samples::toBytes(Samples::patient(QStringLiteral("new"), QStringLiteral("Clara"))));
        ModalAnswer answer(isForm, [this](QWidget* form) {
            QVERIFY(form->parent() == nullptr);
            QCOMPARE(form->findChild<QLabel*>(QStringLiteral("labelTitle"))->text(),
                     QStringLiteral("Dialog.createPatient"));
            fill(form, QStringLiteral("Clara"), QStringLiteral("9"), QStringLiteral("1999"));
            form->findChild<QCheckBox*>(QStringLiteral("agreement"))->click();
            form->findChild<QPushButton*>(QStringLiteral("buttonSave"))->click();
            QVERIFY(form->isVisible());
        });
        child<QPushButton>("buttonNewPatient")->click();
        QVERIFY(answer.used());
        // No reload: the new patient stands at the end.
        QCOMPARE(model->rowCount(), 3);
        QCOMPARE(model->index(2, 2).data().toString(), QStringLiteral("  Clara"));
        QCOMPARE(server->requests().size(), 2);
        QTRY_VERIFY(!formLives());
    }

    void createAgainAfterRefusals()
    {
        open(1, 1);
        QStringList texts;
        const auto box = [&texts] {
            return std::make_unique<ModalAnswer>(
                [](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                [&texts](QWidget* widget) {
                    texts.append(qobject_cast<QMessageBox*>(widget)->text());
                    widget->close();
                });
        };
        server->expect("POST", "/patient", R"({"message": "Already there"})", 400);
        server->expect("POST", "/patient",
                       Samples::toBytes(Samples::patient(QStringLiteral("new"), QStringLiteral("Clara"))));
        ModalAnswer answer(isForm, [&](QWidget* form) {
            auto* const save = form->findChild<QPushButton*>(QStringLiteral("buttonSave"));
            form->findChild<QCheckBox*>(QStringLiteral("agreement"))->click();
            auto refusal = box();
            save->click();
            QVERIFY(refusal->used());
            fill(form, QStringLiteral("Clara"), QStringLiteral("31"), QStringLiteral("1999"));
            form->findChild<QComboBox*>(QStringLiteral("birthDateMonthBox"))->setCurrentIndex(3);
            refusal = box();
            save->click();
            QVERIFY(refusal->used());
            fill(form, QStringLiteral("Clara"), QStringLiteral("30"), QStringLiteral("1999"));
            refusal = box();
            save->click();
            QTRY_VERIFY(refusal->used());
            QVERIFY(form->isVisible());
            QCOMPARE(form->findChild<QLineEdit*>(QStringLiteral("nameField"))->text(), QStringLiteral("Clara"));
            QTRY_VERIFY(overlay() == nullptr);
            save->click();
        });
        child<QPushButton>("buttonNewPatient")->click();
        QVERIFY(answer.used());
        QCOMPARE(texts, QStringList({QStringLiteral("Text.invalidName"), QStringLiteral("Text.invalidBirthDate"),
                                     QStringLiteral("Already there")}));
        QCOMPARE(model->rowCount(), 2);
    }

    void cancelsCreation()
    {
        open(1, 1);
        ModalAnswer answer(
            isForm, [](QWidget* form) { form->findChild<QPushButton*>(QStringLiteral("buttonCancel"))->click(); });
        child<QPushButton>("buttonNewPatient")->click();
        QVERIFY(answer.used());
        QCOMPARE(model->rowCount(), 1);
        QCOMPARE(server->requests().size(), 1);
        QTRY_VERIFY(!formLives());
    }

    void cancelsWhileRequestRuns()
    {
        open(1, 1);
        Answer slow;
        slow.delay = 100;
        slow.body = Samples::toBytes(Samples::patient(QStringLiteral("new")));
        server->expect("POST", "/patient", slow);
        ModalAnswer answer(isForm, [this](QWidget* form) {
            fill(form, QStringLiteral("Clara"), QStringLiteral("9"), QStringLiteral("1999"));
            form->findChild<QCheckBox*>(QStringLiteral("agreement"))->click();
            form->findChild<QPushButton*>(QStringLiteral("buttonSave"))->click();
            form->findChild<QPushButton*>(QStringLiteral("buttonCancel"))->click();
        });
        view->onNewPatient();
        QVERIFY(answer.used());
        QTRY_COMPARE(model->rowCount(), 2);
        QTRY_VERIFY(!formLives());
    }

    void editsPatient()
    {
        open(3, 1);
        server->expect("PUT", "/patient",
                       Samples::toBytes(Samples::patient(QStringLiteral("p1"), QStringLiteral("Renamed"))));
        ModalAnswer answer(isForm, [](QWidget* form) {
            QCOMPARE(form->findChild<QLabel*>(QStringLiteral("labelTitle"))->text(),
                     QStringLiteral("Dialog.editPatient"));
            QCOMPARE(form->findChild<QLineEdit*>(QStringLiteral("nameField"))->text(), QStringLiteral("Patient 1"));
            form->findChild<QLineEdit*>(QStringLiteral("nameField"))->setText(QStringLiteral("Typed"));
            form->findChild<QPushButton*>(QStringLiteral("buttonSave"))->click();
        });
        clickIcon(1, 8);
        QVERIFY(answer.used());
        // What the server says counts.
        QCOMPARE(model->index(1, 2).data().toString(), QStringLiteral("  Renamed"));
        QCOMPARE(server->requests().size(), 2);
        const QJsonObject sent = QJsonDocument::fromJson(server->last().body).object();
        QCOMPARE(sent.value(QLatin1String("name")), QJsonValue(QStringLiteral("Typed")));
        QTRY_VERIFY(!formLives());
    }

    void editCanFail()
    {
        open(3, 1);
        server->expect("PUT", "/patient", R"({"errors": [{"name": "too odd"}]})", 400);
        QString text;
        ModalAnswer answer(isForm, [this, &text](QWidget* form) {
            form->findChild<QLineEdit*>(QStringLiteral("nameField"))->setText(QStringLiteral("Odd"));
            BoxAnswer box(QMessageBox::Ok);
            form->findChild<QPushButton*>(QStringLiteral("buttonSave"))->click();
            QTRY_VERIFY(box.used());
            text = box.text;
            QCOMPARE(box.parent, static_cast<QWidget*>(view.get()));
            QVERIFY(form->isVisible());
            form->findChild<QPushButton*>(QStringLiteral("buttonCancel"))->click();
        });
        view->onEdit(table()->visualRect(model->index(0, 2)).center());
        QVERIFY(answer.used());
        QCOMPARE(text, QStringLiteral("name too odd\r\n"));
        QCOMPARE(model->index(0, 2).data().toString(), QStringLiteral("  Patient 0"));
    }

    void deletesPatient()
    {
        open(3, 1);
        BoxAnswer no(QMessageBox::No);
        clickIcon(1, 9);
        QVERIFY(no.used());
        QCOMPARE(no.title, QStringLiteral("Dialog.deletePatient"));
        QCOMPARE(no.parent, static_cast<QWidget*>(view.get()));
        QCOMPARE(server->requests().size(), 1);

        server->expect("DELETE", "/patient/p1", QByteArray());
        BoxAnswer yes(QMessageBox::Yes);
        clickIcon(1, 9);
        QVERIFY(yes.used());
        QTRY_COMPARE(model->rowCount(), 2);
        QCOMPARE(model->getRowByPatient(Patient(Samples::patient(QStringLiteral("p1")))), -1);
        QCOMPARE(server->requests().size(), 2);
    }

    void pressBesideTheIcon()
    {
        open(3, 1);
        for (const int column : {8, 9}) {
            QTest::mouseClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier,
                              table()->visualRect(model->index(1, column)).topLeft() + QPoint(2, 2));
        }
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        QCOMPARE(server->requests().size(), 1);
    }

    void replies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("rows");
        QTest::addColumn<QString>("pageRow");
        QTest::newRow("empty body") << QByteArray() << 0 << QString();
        QTest::newRow("not JSON") << QByteArray("<html>") << 0 << QString();
        QTest::newRow("an array") << QByteArray("[]") << 0 << QString();
        QTest::newRow("missing keys") << QByteArray("{}") << 0 << QString();
        QTest::newRow("wrong types") << QByteArray(R"({"pages": [], "data": "x"})") << 0 << QString();
        QTest::newRow("nulls") << QByteArray(R"({"pages": null, "data": [null]})") << 1 << QString();
        QTest::newRow("huge numbers") << QByteArray(R"({"pages": 2147483647, "data": [{"age": 1e300}]})") << 1
                                      << QStringLiteral("1 2 3 4 5 ... 2147483647");
        QTest::newRow("negative pages") << QByteArray(R"({"pages": -1, "data": []})") << 0 << QString();
        QTest::newRow("many rows") << Samples::list(10000, 1) << 10000 << QStringLiteral("1");
    }

    void replies()
    {
        QFETCH(QByteArray, body);
        QFETCH(int, rows);
        QFETCH(QString, pageRow);
        open(5, 2);
        server->expect("GET", filter("", "", 0), body);
        view->onRefresh();
        QTRY_COMPARE(model->rowCount(), rows);
        QTRY_VERIFY(overlay() == nullptr);
        QCOMPARE(pages(), pageRow);
        QVERIFY(!view->grab().isNull());
        server->expect("GET", filter("", "", 0), Samples::list(3, 1));
        view->onRefresh();
        QTRY_COMPARE(model->rowCount(), 3);
    }

    void failures_data() { Samples::addFailures(); }

    void failures()
    {
        QFETCH(QString, text);
        open(5, 2);
        Samples::arrangeFailure(*server, "GET", filter("", "", 0));
        BoxAnswer box(QMessageBox::Ok);
        child<QPushButton>("buttonRefresh")->click();
        QTRY_VERIFY(box.used());
        QCOMPARE(box.title, QStringLiteral("Text.error"));
        QCOMPARE(box.text, text);
        QCOMPARE(box.parent, static_cast<QWidget*>(view.get()));
        QVERIFY(overlay() == nullptr);
        QVERIFY(!child<QLineEdit>("searchField")->isReadOnly());
        QCOMPARE(model->rowCount(), 5);
        QCOMPARE(pages(), QStringLiteral("1 2"));
        // The screen goes on.
        QVERIFY(server->listenForClient());
        // Qt may still try the failed request once more.
        Answer good;
        good.body = Samples::list(2, 1);
        server->setFallback(good);
        view->onRefresh();
        QTRY_COMPARE(model->rowCount(), 2);
    }

    void destroyedWhileWaiting()
    {
        Answer slow;
        slow.delay = 50;
        slow.body = Samples::list(4, 2);
        server->expect("GET", filter("name", "asc", 0), slow);
        view = std::make_unique<ViewPatients>();
        QTRY_COMPARE(server->pending(), 0);
        view.reset();
        QTRY_COMPARE(model->rowCount(), 4);
        QCOMPARE(model->getTotalPages(), 2);
    }

    void destroyedWhileTyping()
    {
        open(1, 1);
        child<QLineEdit>("searchField")->setText(QStringLiteral("a"));
        view.reset();
        QTest::qWait(900);
        QCOMPARE(server->requests().size(), 1);
    }

    void destroyedWhileFormIsOpen()
    {
        open(1, 1);
        ModalAnswer answer(isForm, [this](QWidget* form) {
            view.reset();
            form->findChild<QCheckBox*>(QStringLiteral("agreement"))->click();
            form->findChild<QPushButton*>(QStringLiteral("buttonSave"))->click();
            form->close();
        });
        view->onNewPatient();
        QVERIFY(answer.used());
        QCOMPARE(server->requests().size(), 1);
    }

    void standsOnAStack()
    {
        // As the main window has it: the frameless window becomes a page.
        QMainWindow window;
        auto* const stack = new QStackedWidget;
        window.setCentralWidget(stack);
        window.resize(1100, 700);
        server->expect("GET", filter("name", "asc", 0), Samples::list(3, 1));
        auto* const page = new ViewPatients(&window);
        stack->addWidget(page);
        stack->setCurrentWidget(page);
        window.show();
        QVERIFY(!page->isWindow());
        QVERIFY(page->isVisible());
        QTRY_COMPARE(model->rowCount(), 3);
        QCOMPARE(page->size(), stack->size());
        QTRY_VERIFY(page->findChild<LoadingWindow*>() == nullptr);
    }

private:
    /// Opens the list on its first page.
    void open(int rows, int pageCount)
    {
        server->expect("GET", filter("name", "asc", 0), Samples::list(rows, pageCount));
        view = std::make_unique<ViewPatients>();
        QTRY_VERIFY(overlay() == nullptr);
        QCOMPARE(model->rowCount(), rows);
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
    }

    template <typename T> T* child(const char* name) const { return view->findChild<T*>(QString::fromLatin1(name)); }

    QTableView* table() const { return child<QTableView>("tableView"); }
    QHeaderView* header() const { return table()->horizontalHeader(); }
    LoadingWindow* overlay() const { return view->findChild<LoadingWindow*>(); }

    QTimer* searchTimer() const
    {
        for (QTimer* const timer : view->findChildren<QTimer*>()) {
            if (timer->interval() == 800) {
                return timer;
            }
        }
        return nullptr;
    }

    /// The order that the first click on another column gives.
    Qt::SortOrder firstOrder(int) const { return Qt::AscendingOrder; }
    const char* firstDirection(int column) const { return firstOrder(column) == Qt::DescendingOrder ? "desc" : "asc"; }

    void clickHeader(int column) const
    {
        QTest::mouseClick(header()->viewport(), Qt::LeftButton, Qt::NoModifier,
                          QPoint(header()->sectionViewportPosition(column) + header()->sectionSize(column) / 2,
                                 header()->height() / 2));
    }

    void clickIcon(int row, int column) const
    {
        QTest::mouseClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier,
                          table()->visualRect(model->index(row, column)).center());
    }

    QString pages() const
    {
        QStringList texts;
        const QLayout* const row = view->findChild<QPagination*>()->layout();
        for (int i = 0; i < row->count(); ++i) {
            const auto* const button = qobject_cast<QPushButton*>(row->itemAt(i)->widget());
            if (button != nullptr && button->property("page").isValid()) {
                texts.append(button->text());
            }
        }
        return texts.join(QLatin1Char(' '));
    }

    QPushButton* pageButton(const QString& text) const
    {
        for (QPushButton* const button : view->findChild<QPagination*>()->findChildren<QPushButton*>()) {
            if (button->text() == text) {
                return button;
            }
        }
        return nullptr;
    }

    static bool formLives()
    {
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            if (isForm(widget)) {
                return true;
            }
        }
        return false;
    }

    static void fill(QWidget* form, const QString& name, const QString& day, const QString& year)
    {
        form->findChild<QLineEdit*>(QStringLiteral("nameField"))->setText(name);
        form->findChild<QLineEdit*>(QStringLiteral("birthDateDayField"))->setText(day);
        form->findChild<QLineEdit*>(QStringLiteral("birthDateYearField"))->setText(year);
    }

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
    std::unique_ptr<ViewPatients> view;
    PatientModel* model = nullptr;
};

QTEST_MAIN(TestViewPatients)
#include "TestViewPatients.moc"
