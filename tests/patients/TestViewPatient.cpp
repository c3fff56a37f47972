// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/PatientManager.h"
#include "net/Authentication.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "patients/CheckBoxHeader.h"
#include "patients/FormPatient.h"
#include "patients/PatientModel.h"
#include "patients/PatientProxyModel.h"
#include "patients/RecordDelegate.h"
#include "patients/RecordModel.h"
#include "patients/ViewPatient.h"
#include "signal/AudioRecorder.h"
#include "tests/patients/Samples.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using Answer = LoopbackServer::Answer;

namespace {

const QList<const char*> toolsThatFollowChecks{"buttonAnalysis", "buttonRecoveryHistory", "buttonAutospectrum",
                                               "buttonReceipt", "buttonComparativeAnalysis"};

bool isForm(QWidget* widget)
{
    return qobject_cast<FormPatient*>(widget) != nullptr;
}

bool isRecorder(QWidget* widget)
{
    return qobject_cast<AudioRecorder*>(widget) != nullptr;
}

bool isFileDialog(QWidget* widget)
{
    return qobject_cast<QFileDialog*>(widget) != nullptr;
}

/// A patient with a remote device.
QJsonObject remotePatient()
{
    QJsonObject json = Samples::patient(QStringLiteral("p1"));
    json.insert(QStringLiteral("hasDevices"), true);
    json.insert(QStringLiteral("isEnabled"), true);
    return json;
}

} // namespace

using RecordsSignal = void (ViewPatient::*)(Patient&, QList<Record>&);
using Tool = void (ViewPatient::*)();
Q_DECLARE_METATYPE(RecordsSignal)
Q_DECLARE_METATYPE(Tool)

class TestViewPatient : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        guard = std::make_unique<MessageGuard>();
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        Authentication::getInstance()->init({{QStringLiteral("accessToken"), QStringLiteral("token")},
                                             {QStringLiteral("tokenType"), QStringLiteral("Bearer")},
                                             {QStringLiteral("language"), QStringLiteral("en")},
                                             {QStringLiteral("country"), QStringLiteral("us")}});
        manager = PatientManager::getInstance();
    }

    void cleanupTestCase() { guard.reset(); }

    void init()
    {
        server = std::make_unique<LoopbackServer>();
        QVERIFY(server->listenForClient());
        Http::instance().setReadTimeout(300);
        manager->onSuccess(Samples::toBytes(QJsonObject{
            {QStringLiteral("pages"), 1},
            {QStringLiteral("data"), QJsonArray{Samples::patient(QStringLiteral("p0")), remotePatient()}}}));
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

    // --- the screen ---

    void widgets()
    {
        open(2);
        QCOMPARE(view->objectName(), QStringLiteral("ViewPatient"));
        QVERIFY(view->testAttribute(Qt::WA_DeleteOnClose));
        QVERIFY(view->isMaximized());
        auto* const toolbar = view->findChild<QLayout*>(QStringLiteral("toobarPatient"));
        QVERIFY(toolbar != nullptr);
        QCOMPARE(toolbar->itemAt(0)->widget(), static_cast<QWidget*>(child<QLabel>("labelConnectedDevice")));
        QCOMPARE(child<QLabel>("labelConnectedDevice")->maximumSize(), QSize(24, 24));
        QVERIFY(child<QLabel>("labelConnectedDevice")->hasScaledContents());
        QCOMPARE(child<QLabel>("labelConnectedDevice")->toolTip(), QStringLiteral("Text.deviceConnected"));
        QCOMPARE(child<QLabel>("labelTitle")->text(), QStringLiteral("Title.patientView"));
        QCOMPARE(child<QGroupBox>("breadCrumbs")->layout()->objectName(), QStringLiteral("horizontalLayout_8"));
        QVERIFY(child<QGroupBox>("breadCrumbs")->isAncestorOf(child<QPushButton>("buttonListPatients")));
        QCOMPARE(child<QPushButton>("buttonListPatients")->text(), QStringLiteral("Text.listOfPatients"));
        auto* const content = view->findChild<QLayout*>(QStringLiteral("mainContent"));
        QVERIFY(content != nullptr);
        QCOMPARE(content->itemAt(0)->widget(), child<QWidget>("toolPanel"));
        QCOMPARE(content->itemAt(1)->layout()->objectName(), QStringLiteral("table"));
        auto* const side = qobject_cast<QVBoxLayout*>(child<QWidget>("toolPanel")->layout());
        QVERIFY(side != nullptr);
        QCOMPARE(side->objectName(), QStringLiteral("sideBar"));
        QVERIFY(child<QGroupBox>("groupName")->isAncestorOf(child<QLabel>("labelPatientName")));
        auto* const edit = child<QPushButton>("buttonEditPatient");
        QVERIFY(child<QGroupBox>("groupName")->isAncestorOf(edit));
        QCOMPARE(edit->size(), QSize(24, 24));
        QVERIFY(!edit->icon().isNull());
        QCOMPARE(edit->toolTip(), QStringLiteral("Text.edit"));
        QCOMPARE(child<QLabel>("labelAge")->text(), QStringLiteral("Form.age"));
        QCOMPARE(child<QLabel>("labelGender")->text(), QStringLiteral("Form.gender"));
        QCOMPARE(child<QLabel>("labelPhone")->text(), QStringLiteral("Form.phone"));
        QCOMPARE(child<QLabel>("labelTitleTable")->text(), QStringLiteral("Title.patientViewTable"));
        QCOMPARE(child<QWidget>("tableViewBox")->layout()->objectName(), QStringLiteral("horizontalLayout_6"));
        QVERIFY(child<QWidget>("tableViewBox")->isAncestorOf(table()));
        QVERIFY(child<QWidget>("tableViewBox")->testAttribute(Qt::WA_StyledBackground));
    }

    void toolButtons_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, const char* text) {
            QTest::newRow(name) << QByteArray(name) << QString::fromLatin1(text);
        };
        row("buttonNewRecord", "Text.newRecord");
        row("buttonAutospectrum", "Text.autospectrum");
        row("buttonAnalysis", "Text.analysis");
        row("buttonComparativeAnalysis", "Text.comparativeAnalysis");
        row("buttonRecoveryHistory", "Text.recoveryHistory");
        row("buttonReceipt", "Text.receipt");
        row("buttonExcelExport", "Text.excelExport");
        row("buttonDeletePatient", "Text.deletePatient");
    }

    void toolButtons()
    {
        QFETCH(QByteArray, name);
        QFETCH(QString, text);
        open(0);
        auto* const button = child<QPushButton>(name.constData());
        QVERIFY(child<QWidget>("toolPanel")->isAncestorOf(button));
        QCOMPARE(button->text(), text);
        QCOMPARE(button->iconSize(), QSize(32, 32));
        QVERIFY(!button->icon().isNull());
        QVERIFY(button->isVisible());
    }

    void smallButtons_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("toolTip");
        QTest::newRow("command") << QByteArray("buttonDeleteCommand") << QStringLiteral("Text.deleteCommand");
        QTest::newRow("device") << QByteArray("buttonManageDevice") << QStringLiteral("Text.manageDevice");
        QTest::newRow("refresh") << QByteArray("buttonRefresh") << QStringLiteral("Text.refresh");
    }

    void smallButtons()
    {
        QFETCH(QByteArray, name);
        QFETCH(QString, toolTip);
        open(0, remotePatient());
        auto* const button = child<QPushButton>(name.constData());
        QCOMPARE(button->minimumSize(), QSize(32, 24));
        QCOMPARE(button->toolTip(), toolTip);
        QVERIFY(!button->icon().isNull());
        QVERIFY(button->isVisible());
    }

    void tableSettings()
    {
        open(3);
        auto* const proxy = qobject_cast<PatientProxyModel*>(table()->model());
        QVERIFY(proxy != nullptr);
        QCOMPARE(proxy->sourceModel(), static_cast<QAbstractItemModel*>(records()));
        QVERIFY(proxy->dynamicSortFilter());
        QCOMPARE(proxy->filterCaseSensitivity(), Qt::CaseInsensitive);
        QVERIFY(qobject_cast<CheckBoxHeader*>(header()) != nullptr);
        for (int column = 0; column < 7; ++column) {
            QCOMPARE(qobject_cast<RecordDelegate*>(table()->itemDelegateForColumn(column)) != nullptr,
                     column == 2 || column == 6);
        }
        QVERIFY(table()->isSortingEnabled());
        QVERIFY(table()->hasMouseTracking());
        QVERIFY(table()->alternatingRowColors());
        QCOMPARE(table()->selectionBehavior(), QAbstractItemView::SelectRows);
        QCOMPARE(table()->selectionMode(), QAbstractItemView::SingleSelection);
        QCOMPARE(table()->editTriggers(), QAbstractItemView::NoEditTriggers);
        QCOMPARE(header()->sortIndicatorSection(), 3);
        QCOMPARE(header()->sortIndicatorOrder(), Qt::DescendingOrder);
        QVERIFY(!header()->stretchLastSection());
        QVERIFY(table()->verticalHeader()->isHidden());
        QCOMPARE(table()->verticalHeader()->sectionResizeMode(0), QHeaderView::Fixed);
        QCOMPARE(table()->rowHeight(0), 40);
    }

    void columnWidths_data()
    {
        QTest::addColumn<int>("rows");
        QTest::newRow("no rows") << 0;
        QTest::newRow("rows") << 3;
    }

    void columnWidths()
    {
        QFETCH(int, rows);
        open(rows);
        const int icon = QPixmap(QStringLiteral(":/images/trash.png")).width();
        const int widths[] = {30, 45, icon + 8, 0, 0, 0, icon + 4};
        for (int column = 0; column < 7; ++column) {
            if (widths[column] == 0) {
                QCOMPARE(header()->sectionResizeMode(column), QHeaderView::Stretch);
                QVERIFY(header()->sectionSize(column) > 60);
            } else {
                QCOMPARE(header()->sectionResizeMode(column), QHeaderView::Fixed);
                QCOMPARE(header()->sectionSize(column), widths[column]);
            }
        }
    }

    void sideBar()
    {
        open(0);
        QCOMPARE(child<QLabel>("labelPatientName")->text(), QStringLiteral("Anna Berg"));
        QCOMPARE(child<QLabel>("labelAgeValue")->text(), QStringLiteral("41"));
        QCOMPARE(child<QLabel>("labelPhoneValue")->text(), QStringLiteral("+7 900 1"));
        QCOMPARE(child<QLabel>("labelGenderIcon")->pixmap(Qt::ReturnByValue).toImage(),
                 QPixmap(QStringLiteral(":/images/gender-female.png")).toImage());
        QVERIFY(child<QLabel>("labelPhone")->isVisible());
        QVERIFY(child<QLabel>("labelPhoneValue")->isVisible());
        QVERIFY(!child<QLabel>("labelConnectedDevice")->isVisible());
        QVERIFY(!child<QPushButton>("buttonDeleteCommand")->isVisible());
        QVERIFY(child<QPushButton>("buttonManageDevice")->isVisible());
    }

    void sideBarWithoutPhone()
    {
        QJsonObject json = Samples::patient(QStringLiteral("p1"));
        json.remove(QStringLiteral("phone"));
        open(0, json);
        QVERIFY(!child<QLabel>("labelPhone")->isVisible());
        QVERIFY(!child<QLabel>("labelPhoneValue")->isVisible());
    }

    void sideBarWithDevice()
    {
        open(0, remotePatient());
        QVERIFY(child<QLabel>("labelConnectedDevice")->isVisible());
        QCOMPARE(child<QLabel>("labelConnectedDevice")->pixmap(Qt::ReturnByValue).toImage(),
                 QPixmap(QStringLiteral(":/images/connected-device.png")).toImage());
        QVERIFY(child<QPushButton>("buttonDeleteCommand")->isVisible());
    }

    void textsArePlain()
    {
        QJsonObject json = Samples::patient(QStringLiteral("p1"), QStringLiteral("<b>A</b>"));
        json.insert(QStringLiteral("phone"), QStringLiteral("<i>1</i>"));
        open(0, json);
        QCOMPARE(child<QLabel>("labelPatientName")->textFormat(), Qt::PlainText);
        QCOMPARE(child<QLabel>("labelPhoneValue")->textFormat(), Qt::PlainText);
    }

    void longNameKeepsThePanel()
    {
        open(0);
        const int width = child<QWidget>("toolPanel")->width();
        view.reset();
        open(0, Samples::patient(QStringLiteral("p1"), QString(255, QLatin1Char('W'))));
        QCOMPARE(child<QWidget>("toolPanel")->width(), width);
        QVERIFY(child<QPushButton>("buttonEditPatient")->isVisible());
    }

    void keepsItsOwnCopy()
    {
        Patient patient(Samples::patient(QStringLiteral("p1")));
        server->expect("GET", "/record/p1", Samples::records(0));
        view = std::make_unique<ViewPatient>(nullptr, &patient);
        patient.setName(QStringLiteral("Other"));
        patient.setStatusRecipe();
        QString name;
        const QObject whileHere;
        connect(view.get(), &ViewPatient::onPatientDelete, &whileHere,
                [&name](QWidget*, Patient& own) { name = own.getName(); });
        child<QPushButton>("buttonDeletePatient")->click();
        QCOMPARE(name, QStringLiteral("Anna Berg"));
    }

    void isReachedByStringConnections()
    {
        // The main window connects by these texts.
        open(0);
        for (const char* const signal :
             {"onPatientsList()", "onPatientDelete(QWidget*,Patient&)", "onReceipt(Patient&,Record&)",
              "onPlay(QByteArray,QString)", "onAnalysis(Patient&,QList<Record>&)",
              "onComparativeAnalysis(Patient&,QList<Record>&)", "onRecoveryHistory(Patient&,QList<Record>&)"}) {
            QVERIFY2(view->metaObject()->indexOfSignal(signal) >= 0, signal);
        }
        for (const char* const slot :
             {"onSaveRecord(QByteArray&,QString)", "onSendCommand(QString)", "onSendCommand(QString,Record*)",
              "onDeleteRecord(QModelIndex)", "onHeaderCheckBoxClicked(bool)", "onUpdate()", "onLoad()"}) {
            QVERIFY2(view->metaObject()->indexOfSlot(slot) >= 0, slot);
        }
    }

    void closesWithDeletion()
    {
        open(1);
        QPointer<ViewPatient> closing(view.release());
        closing->close();
        QTRY_VERIFY(closing == nullptr);
    }

    // --- loading ---

    void loads()
    {
        server->expect("GET", "/record/p1", Samples::records(3));
        Patient patient(Samples::patient(QStringLiteral("p1")));
        view = std::make_unique<ViewPatient>(nullptr, &patient);
        QVERIFY(overlay() != nullptr);
        QCOMPARE(enabled(), QStringList());
        QTRY_COMPARE(records()->rowCount(), 3);
        QVERIFY(overlay() == nullptr);
        // From last to first: the newest record of the reply stands first in the model.
        QCOMPARE(records()->getRecord(records()->index(0, 0)).getId(), QStringLiteral("r2"));
        QCOMPARE(records()->getRecord(records()->index(2, 0)).getId(), QStringLiteral("r0"));
        // Sorted by date, the newest on top.
        QCOMPARE(shownDates(),
                 QStringList({QStringLiteral("2021-03-03 10:00:00"), QStringLiteral("2021-03-02 10:00:00"),
                              QStringLiteral("2021-03-01 10:00:00")}));
        QCOMPARE(enabled(), QStringList());
    }

    void refreshUnchecks()
    {
        open(3);
        check({0, 1, 2});
        QCOMPARE(enabled().size(), 3);
        server->expect("GET", "/record/p1", Samples::records(2));
        child<QPushButton>("buttonRefresh")->click();
        QTRY_COMPARE(records()->rowCount(), 2);
        QVERIFY(records()->getAllCheckedRecords().isEmpty());
        QCOMPARE(enabled(), QStringList());
        QVERIFY(!headerIsChecked());
    }

    void recordReplies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("rows");
        QTest::newRow("empty list") << QByteArray("[]") << 0;
        QTest::newRow("empty body") << QByteArray() << 0;
        QTest::newRow("not JSON") << QByteArray("<html>") << 0;
        QTest::newRow("an object") << QByteArray(R"({"id": "r1"})") << 0;
        QTest::newRow("a text") << QByteArray("\"r1\"") << 0;
        QTest::newRow("missing keys") << QByteArray("[{}, {}]") << 2;
        QTest::newRow("elements of other kinds") << QByteArray(R"([null, 5, "a", [], {"id": "r1"}])") << 5;
        QTest::newRow("wrong types") << QByteArray(R"([{"id": 1, "recordedAt": {}, "editable": "yes"}])") << 1;
        QTest::newRow("nulls") << QByteArray(R"([{"id": null, "recordedAt": null, "editable": null}])") << 1;
        QTest::newRow("huge numbers") << QByteArray(R"([{"id": 1e300, "recordedAt": 1e300}])") << 1;
        QTest::newRow("many rows") << Samples::records(10000) << 10000;
    }

    void recordReplies()
    {
        QFETCH(QByteArray, body);
        QFETCH(int, rows);
        open(2);
        check({0});
        server->expect("GET", "/record/p1", body);
        view->onLoad();
        QTRY_COMPARE_WITH_TIMEOUT(records()->getAllCheckedRecords().size(), 0, 60000);
        QCOMPARE(records()->rowCount(), rows);
        QCOMPARE(table()->model()->rowCount(), rows);
        QCOMPARE(enabled(), QStringList());
        QVERIFY(!view->grab().isNull());
        // The header still works on whatever there is.
        clickHeader(0);
        QCOMPARE(records()->getAllCheckedRecords().size(), rows);
    }

    // --- checks ---

    void enabling_data()
    {
        QTest::addColumn<int>("rows");
        QTest::addColumn<int>("checked");
        QTest::addColumn<QStringList>("buttons");
        const QStringList one{QStringLiteral("buttonAnalysis"), QStringLiteral("buttonRecoveryHistory"),
                              QStringLiteral("buttonAutospectrum"), QStringLiteral("buttonReceipt")};
        const QStringList two{QStringLiteral("buttonAnalysis"), QStringLiteral("buttonRecoveryHistory")};
        const QStringList three{QStringLiteral("buttonAnalysis"), QStringLiteral("buttonRecoveryHistory"),
                                QStringLiteral("buttonComparativeAnalysis")};
        QTest::newRow("none of five") << 5 << 0 << QStringList();
        QTest::newRow("one of five") << 5 << 1 << one;
        QTest::newRow("two of five") << 5 << 2 << two;
        QTest::newRow("three of five") << 5 << 3 << three;
        QTest::newRow("four of five") << 5 << 4 << three;
        QTest::newRow("all of five") << 5 << 5 << three;
        QTest::newRow("the only one") << 1 << 1 << one;
        QTest::newRow("both of two") << 2 << 2 << two;
    }

    void enabling()
    {
        QFETCH(int, rows);
        QFETCH(int, checked);
        QFETCH(QStringList, buttons);
        open(rows);
        for (int row = 0; row < checked; ++row) {
            clickCheckBox(row);
        }
        QCOMPARE(records()->getAllCheckedRecords().size(), checked);
        QCOMPARE(enabled(), buttons);
        QCOMPARE(headerIsChecked(), checked == rows);
        // And back.
        for (int row = 0; row < checked; ++row) {
            clickCheckBox(row);
        }
        QCOMPARE(enabled(), QStringList());
        QVERIFY(!headerIsChecked());
        // The others never depend on the checks.
        for (const char* const name : {"buttonNewRecord", "buttonExcelExport", "buttonDeletePatient",
                                       "buttonManageDevice", "buttonRefresh", "buttonEditPatient"}) {
            QVERIFY2(child<QPushButton>(name)->isEnabled(), name);
        }
    }

    void headerChecksAll()
    {
        open(4);
        QSignalSpy clicks(header(), SIGNAL(checkBoxClicked(bool)));
        clickHeader(0);
        QCOMPARE(records()->getAllCheckedRecords().size(), 4);
        QCOMPARE(enabled().size(), 3);
        QVERIFY(headerIsChecked());
        // Unchecking one unchecks the header, which says nothing of it.
        clickCheckBox(2);
        QVERIFY(!headerIsChecked());
        QCOMPARE(records()->getAllCheckedRecords().size(), 3);
        QCOMPARE(clicks.count(), 1);
        clickCheckBox(2);
        QVERIFY(headerIsChecked());
        clickHeader(0);
        QCOMPARE(records()->getAllCheckedRecords().size(), 0);
        QCOMPARE(clicks.count(), 2);
        QCOMPARE(enabled(), QStringList());
    }

    void headerWithoutRows()
    {
        open(0);
        QVERIFY(!headerIsChecked());
        clickHeader(0);
        QVERIFY(headerIsChecked());
        view->onUpdate();
        QVERIFY(headerIsChecked());
        QCOMPARE(enabled(), QStringList());
        clickHeader(0);
        QVERIFY(!headerIsChecked());
    }

    void sortsByHeader()
    {
        open(3);
        clickHeader(3);
        QCOMPARE(shownDates().first(), QStringLiteral("2021-03-01 10:00:00"));
        clickHeader(4);
        QCOMPARE(header()->sortIndicatorSection(), 4);
        // The box of section 0 never sorts.
        clickHeader(0);
        QCOMPARE(header()->sortIndicatorSection(), 4);
        // The running numbers stay with the records.
        const QAbstractItemModel* const shown = table()->model();
        for (int row = 0; row < 3; ++row) {
            const QString doctor = shown->index(row, 4).data().toString();
            QCOMPARE(shown->index(row, 1).data().toInt(), doctor.right(1).toInt() + 1);
        }
        QCOMPARE(server->requests().size(), 1);
    }

    // --- new record ---

    void recorderOpens_data()
    {
        QTest::addColumn<bool>("remote");
        QTest::newRow("without device") << false;
        QTest::newRow("with device") << true;
    }

    void recorderOpens()
    {
        QFETCH(bool, remote);
        open(1, remote ? remotePatient() : Samples::patient(QStringLiteral("p1")));
        ModalAnswer answer(isRecorder, [this, remote](QWidget* recorder) {
            QCOMPARE(recorder->parentWidget(), static_cast<QWidget*>(view.get()));
            QCOMPARE(recorder->findChild<QGroupBox*>(QStringLiteral("groupRemote"))->isVisible(), remote);
            recorder->findChild<QPushButton*>(QStringLiteral("buttonCancelRecord"))->click();
        });
        child<QPushButton>("buttonNewRecord")->click();
        QVERIFY(answer.used());
        QTRY_VERIFY(view->findChild<AudioRecorder*>() == nullptr);
        QCOMPARE(server->requests().size(), 1);
    }

    void savesRecordOfTheRecorder()
    {
        open(2);
        check({0, 1});
        QVERIFY(headerIsChecked());
        server->expect(
            "POST", "/record",
            Samples::toBytes(Samples::record(QStringLiteral("new"), QStringLiteral("2021-03-02T12:00:00Z"))));
        ModalAnswer answer(isRecorder, [](QWidget* widget) {
            auto* const recorder = qobject_cast<AudioRecorder*>(widget);
            QByteArray wav = "RIFF" + QByteArray("\0\1\r\n--x", 7) + QByteArray(66183, '\x7f');
            emit recorder->onSave(wav, QStringLiteral("SN 42"));
            recorder->reject();
        });
        child<QPushButton>("buttonNewRecord")->click();
        QVERIFY(answer.used());
        QVERIFY(overlay() != nullptr);
        QTRY_COMPARE(records()->rowCount(), 3);
        QVERIFY(overlay() == nullptr);

        const LoopbackServer::Request request = server->last();
        QCOMPARE(request.headers.value("quelmar-id"), QByteArray("SN 42"));
        QCOMPARE(request.headers.value("authorization"), QByteArray("Bearer token"));
        QCOMPARE(request.headers.value("accept-language"), QByteArray("en-US"));
        const QByteArray type = request.headers.value("content-type");
        QVERIFY(type.startsWith("multipart/form-data; boundary="));
        QByteArray boundary = type.mid(type.indexOf("boundary=") + 9);
        boundary.replace('"', "");
        const QByteArray wav = "RIFF" + QByteArray("\0\1\r\n--x", 7) + QByteArray(66183, '\x7f');
        QCOMPARE(request.body, "--" + boundary +
                                   "\r\nContent-Disposition: form-data; name=\"patientId\"\r\n\r\np1\r\n--" + boundary +
                                   "\r\nContent-Disposition: form-data; name=\"record\"; filename=\"record\"\r\n"
                                   "Content-Type: application/octet-stream\r\n\r\n" +
                                   wav + "\r\n--" + boundary + "--\r\n");

        // In front in the model, in its place by date in the table.
        QCOMPARE(records()->getRecord(records()->index(0, 0)).getId(), QStringLiteral("new"));
        QCOMPARE(shownDates().first(), QStringLiteral("2021-03-02 12:00:00"));
        // Two of three are checked now.
        QVERIFY(!headerIsChecked());
        QCOMPARE(enabled(), QStringList({QStringLiteral("buttonAnalysis"), QStringLiteral("buttonRecoveryHistory")}));
    }

    void newRecordTakesItsPlaceByDate()
    {
        open(3);
        server->expect(
            "POST", "/record",
            Samples::toBytes(Samples::record(QStringLiteral("new"), QStringLiteral("2021-03-01T12:00:00Z"))));
        save(QByteArray("x"), QStringLiteral("s"));
        QTRY_COMPARE(records()->rowCount(), 4);
        QCOMPARE(records()->getRecord(records()->index(0, 0)).getId(), QStringLiteral("new"));
        QCOMPARE(shownDates().at(2), QStringLiteral("2021-03-01 12:00:00"));
    }

    void unknownSensorIsSentEmpty()
    {
        open(0);
        server->expect("POST", "/record", Samples::toBytes(Samples::record(QStringLiteral("r"), QString())));
        save(QByteArray("x"), QString());
        QTRY_COMPARE(records()->rowCount(), 1);
        QVERIFY(server->last().headers.contains("quelmar-id"));
        QCOMPARE(server->last().headers.value("quelmar-id"), QByteArray());
    }

    void savedRecordReplies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("empty body") << QByteArray();
        QTest::newRow("not JSON") << QByteArray("<html>");
        QTest::newRow("an array") << QByteArray("[{\"id\": \"r\"}]");
        QTest::newRow("missing keys") << QByteArray("{}");
        QTest::newRow("wrong types") << QByteArray(R"({"id": [], "recordedAt": 7, "editable": "no"})");
        QTest::newRow("nulls") << QByteArray(R"({"id": null, "recordedAt": null})");
        QTest::newRow("huge numbers") << QByteArray(R"({"id": 1e300, "recordedAt": 1e300})");
        QTest::newRow("large") << QByteArray(1000000, ' ');
    }

    void savedRecordReplies()
    {
        QFETCH(QByteArray, body);
        open(2);
        server->expect("POST", "/record", body);
        save(QByteArray("x"), QStringLiteral("s"));
        QTRY_COMPARE(records()->rowCount(), 3);
        const Record record = records()->getRecord(records()->index(0, 0));
        QVERIFY(record.getId().isEmpty());
        QVERIFY(record.getRecordedAt().isEmpty());
        QVERIFY(overlay() == nullptr);
    }

    void slowUploadIsWaitedFor()
    {
        open(0);
        Answer stalled;
        stalled.kind = Answer::Stall;
        stalled.body = Samples::toBytes(Samples::record(QStringLiteral("r"), QString()));
        server->expect("POST", "/record", stalled);
        save(QByteArray("x"), QStringLiteral("s"));
        // Longer than any other request would wait.
        QTest::qWait(700);
        QVERIFY(overlay() != nullptr);
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        server->release();
        QTRY_COMPARE(records()->rowCount(), 1);
        QVERIFY(overlay() == nullptr);
    }

    // --- commands ---

    void sendsCommandOfTheRecorder_data()
    {
        QTest::addColumn<int>("choice");
        QTest::addColumn<QByteArray>("command");
        QTest::newRow("record") << 0 << QByteArray("RECORD");
        QTest::newRow("autospectrum") << 1 << QByteArray("AUTOSPECTRUM");
    }

    void sendsCommandOfTheRecorder()
    {
        QFETCH(int, choice);
        QFETCH(QByteArray, command);
        open(1, remotePatient());
        server->expect("POST", "/command", QByteArray("ignored"));
        ModalAnswer answer(isRecorder, [choice](QWidget* recorder) {
            recorder->findChild<QComboBox*>(QStringLiteral("comboBoxTarget"))->setCurrentIndex(choice);
            recorder->findChild<QPushButton*>(QStringLiteral("buttonSendCommand"))->click();
        });
        child<QPushButton>("buttonNewRecord")->click();
        QVERIFY(answer.used());
        BoxAnswer box(QMessageBox::Ok);
        QTRY_VERIFY(box.used());
        QCOMPARE(box.title, QStringLiteral("Text.success"));
        QCOMPARE(box.text, QStringLiteral("Text.commandSuccess"));
        QCOMPARE(server->last().body, "{\n    \"command\": \"" + command + "\",\n    \"patientId\": \"p1\"\n}\n");
        // The record command shows on the card and in the list, whatever was sent.
        QTRY_COMPARE(deviceIcon(), QPixmap(QStringLiteral(":/images/connected-device-record.png")).toImage());
        QCOMPARE(listed().getStatusToolTip(), 2);
    }

    void sendsCommandForARecord()
    {
        open(1, remotePatient());
        Record record(Samples::record(QStringLiteral("r7"), QString()));
        server->expect("POST", "/command", QByteArray());
        BoxAnswer box(QMessageBox::Ok);
        view->onSendCommand(QStringLiteral("RECIPE"), &record);
        QTRY_VERIFY(box.used());
        const QJsonObject sent = QJsonDocument::fromJson(server->last().body).object();
        QCOMPARE(sent.value(QLatin1String("recordId")), QJsonValue(QStringLiteral("r7")));
    }

    void deletesCommand()
    {
        QJsonObject json = remotePatient();
        json.insert(QStringLiteral("command"), QStringLiteral("RECIPE"));
        open(1, json);
        QCOMPARE(deviceIcon(), QPixmap(QStringLiteral(":/images/connected-device-recipe.png")).toImage());
        BoxAnswer no(QMessageBox::No);
        child<QPushButton>("buttonDeleteCommand")->click();
        QVERIFY(no.used());
        QCOMPARE(no.title, QStringLiteral("Text.deleteCommandTitle"));
        QCOMPARE(no.text, QStringLiteral("Text.deleteCommandMessage"));
        QCOMPARE(server->requests().size(), 1);

        server->expect("DELETE", "/command/p1", QByteArray());
        BoxAnswer yes(QMessageBox::Yes);
        child<QPushButton>("buttonDeleteCommand")->click();
        QVERIFY(yes.used());
        BoxAnswer success(QMessageBox::Ok);
        QTRY_VERIFY(success.used());
        QCOMPARE(success.title, QStringLiteral("Text.success"));
        QCOMPARE(success.text, QStringLiteral("Text.deleteCommandSuccess"));
        QTRY_COMPARE(deviceIcon(), QPixmap(QStringLiteral(":/images/connected-device.png")).toImage());
        QCOMPARE(listed().getStatusToolTip(), 1);
    }

    void commandForPatientOfAnotherPage()
    {
        open(1, remotePatient());
        manager->onSuccess(Samples::list(1, 1));
        server->expect("POST", "/command", QByteArray());
        BoxAnswer box(QMessageBox::Ok);
        view->onSendCommand(QStringLiteral("RECORD"));
        QTRY_VERIFY(box.used());
        QTRY_COMPARE(deviceIcon(), QPixmap(QStringLiteral(":/images/connected-device-record.png")).toImage());
        QCOMPARE(manager->getModel()->rowCount(), 1);
        QCOMPARE(listedName(), QStringLiteral("Patient 0"));
    }

    // --- deleting records ---

    void deletesRecord()
    {
        open(3);
        check({0, 1, 2});
        // The table's first row is the newest record, whatever its place in the model.
        clickHeader(3);
        const QString id = shownRecord(0).getId();
        QCOMPARE(id, QStringLiteral("r0"));
        BoxAnswer no(QMessageBox::No);
        clickTrash(0);
        QVERIFY(no.used());
        QCOMPARE(no.title, QStringLiteral("Dialog.deleteRecord"));
        QCOMPARE(server->requests().size(), 1);

        server->expect("DELETE", "/record/p1/r0", QByteArray());
        BoxAnswer yes(QMessageBox::Yes);
        clickTrash(0);
        QVERIFY(yes.used());
        QTRY_COMPARE(records()->rowCount(), 2);
        QCOMPARE(records()->getRowByRecord(Record(Samples::record(id, QString()))), -1);
        // Two are left, both checked: no comparison any more.
        QCOMPARE(enabled(), QStringList({QStringLiteral("buttonAnalysis"), QStringLiteral("buttonRecoveryHistory")}));
        QVERIFY(headerIsChecked());
    }

    void deletingTheUncheckedOneChecksTheHeader()
    {
        open(2);
        check({0});
        QVERIFY(!headerIsChecked());
        server->expect("DELETE", "/record/p1/r0", QByteArray());
        BoxAnswer yes(QMessageBox::Yes);
        clickTrash(1);
        QTRY_COMPARE(records()->rowCount(), 1);
        QVERIFY(headerIsChecked());
        QCOMPARE(enabled().size(), 4);
    }

    void deletesWhatWasAsked()
    {
        // The rows are loaded anew while the deletion runs: nothing else may go.
        open(3);
        Answer slow;
        slow.delay = 100;
        server->expect("DELETE", "/record/p1/r2", slow);
        BoxAnswer yes(QMessageBox::Yes);
        clickTrash(0);
        QVERIFY(yes.used());
        view->onLoadSuccess(Samples::records(2));
        QTRY_COMPARE(server->pending(), 0);
        QTRY_VERIFY(overlay() == nullptr);
        QCOMPARE(records()->rowCount(), 2);
    }

    void deleteOfNoRecord()
    {
        open(1);
        view->onDeleteRecord(QModelIndex());
        QVERIFY(overlay() == nullptr);
        QCOMPARE(server->requests().size(), 1);
    }

    // --- the receipt ---

    void receipt()
    {
        open(3);
        QString patientName;
        QString recordId;
        const QObject whileHere;
        connect(view.get(), &ViewPatient::onReceipt, &whileHere, [&](Patient& patient, Record& record) {
            patientName = patient.getName();
            recordId = record.getId();
        });
        child<QPushButton>("buttonReceipt")->click();
        QVERIFY(recordId.isEmpty());
        clickCheckBox(1);
        child<QPushButton>("buttonReceipt")->click();
        QCOMPARE(recordId, QStringLiteral("r1"));
        QCOMPARE(patientName, QStringLiteral("Anna Berg"));
        // Called without a button, the first checked record counts, and none means nothing.
        clickCheckBox(2);
        view->receipt();
        QCOMPARE(recordId, QStringLiteral("r1"));
        records()->toggle(false);
        recordId.clear();
        view->receipt();
        QVERIFY(recordId.isEmpty());
    }

    // --- the analysis, the comparison and the history ---

    void readsCheckedRecords_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<RecordsSignal>("signal");
        QTest::addColumn<Tool>("slot");
        QTest::addColumn<int>("fewest");
        QTest::newRow("analysis") << "buttonAnalysis" << RecordsSignal(&ViewPatient::onAnalysis)
                                  << Tool(&ViewPatient::analysis) << 1;
        QTest::newRow("comparison") << "buttonComparativeAnalysis" << RecordsSignal(&ViewPatient::onComparativeAnalysis)
                                    << Tool(&ViewPatient::comparativeAnalysis) << 3;
        QTest::newRow("history") << "buttonRecoveryHistory" << RecordsSignal(&ViewPatient::onRecoveryHistory)
                                 << Tool(&ViewPatient::recoveryHistory) << 1;
    }

    void readsCheckedRecords()
    {
        QFETCH(QString, button);
        QFETCH(RecordsSignal, signal);
        QFETCH(Tool, slot);
        QFETCH(int, fewest);
        open(4);
        QStringList names;
        QStringList ids;
        const QObject whileHere;
        connect(view.get(), signal, &whileHere, [&](Patient& patient, QList<Record>& list) {
            names.append(patient.getName());
            ids.clear();
            for (const Record& record : qAsConst(list)) {
                ids.append(record.getId());
            }
        });
        auto* const tool = view->findChild<QPushButton*>(button);
        for (int checked = 0; checked < fewest; ++checked) {
            tool->click();
            QCOMPARE(names.size(), 0);
            clickCheckBox(checked);
        }
        tool->click();
        QCOMPARE(names, QStringList(QStringLiteral("Anna Berg")));
        QCOMPARE(ids.size(), fewest);

        records()->toggle(true);
        tool->click();
        QStringList all;
        const QList<Record> checkedRecords = records()->getAllCheckedRecords();
        for (const Record& record : checkedRecords) {
            all.append(record.getId());
        }
        QCOMPARE(all.size(), 4);
        QCOMPARE(ids, all);
        QCOMPARE(names.size(), 2);

        // Called without a button, the list is what is ticked, even if that is nothing.
        records()->toggle(false);
        (view.get()->*slot)();
        QCOMPARE(names.size(), 3);
        QVERIFY(ids.isEmpty());
        // Nothing but the request for the records has been sent.
        QCOMPARE(server->requests().size(), 1);
    }

    // --- the export ---

    void exports()
    {
        open(0);
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("out.xlsx"));
        const QByteArray workbook = QByteArray("PK\3\4\0\xff", 6) + QByteArray(5000, 'x');
        server->expect("POST", "/export/excel", workbook.toBase64());
        ModalAnswer answer(isFileDialog, [this, &path](QWidget* widget) {
            auto* const dialog = qobject_cast<QFileDialog*>(widget);
            QCOMPARE(dialog->windowTitle(), QStringLiteral("Text.saveFile"));
            QCOMPARE(dialog->nameFilters(), QStringList(QStringLiteral("*.xlsx")));
            QCOMPARE(dialog->acceptMode(), QFileDialog::AcceptSave);
            QCOMPARE(dialog->parentWidget(), static_cast<QWidget*>(view.get()));
            const QString documents = QStandardPaths::displayName(QStandardPaths::DocumentsLocation);
            // No such folder lies in the working directory, so that the text is taken as the name.
            QVERIFY(dialog->selectedFiles().value(0).endsWith(documents) || dialog->directory().dirName() == documents);
            choose(dialog, path);
        });
        child<QPushButton>("buttonExcelExport")->click();
        QTRY_VERIFY(answer.used());
        QTRY_VERIFY(QFile::exists(path));
        QTRY_VERIFY(QApplication::activeModalWidget() == nullptr);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), workbook);
        QCOMPARE(server->last().body, QByteArray("{\n    \"patientId\": \"p1\"\n}\n"));
    }

    void exportReplies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty body") << QByteArray() << QByteArray();
        QTest::newRow("no base64") << QByteArray("<>!") << QByteArray();
        QTest::newRow("an object") << QByteArray("{}") << QByteArray();
        QTest::newRow("null") << QByteArray("null") << QByteArray::fromBase64("null");
        QTest::newRow("ten thousand lines") << (QByteArray(10000, '\n') + "eHl6") << QByteArray("xyz");
    }

    void exportReplies()
    {
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, content);
        open(0);
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("out.xlsx"));
        server->expect("POST", "/export/excel", body);
        ModalAnswer answer(isFileDialog, [&path](QWidget* dialog) { choose(dialog, path); });
        view->excelExport();
        QTRY_VERIFY(answer.used());
        QTRY_VERIFY(QApplication::activeModalWidget() == nullptr);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), content);
    }

    void cancelledExport()
    {
        open(0);
        ModalAnswer answer(isFileDialog, [](QWidget* dialog) { qobject_cast<QDialog*>(dialog)->reject(); });
        view->onExportSuccess("eHl6");
        QVERIFY(answer.used());
        QVERIFY(QApplication::activeModalWidget() == nullptr);
    }

    void exportToAnUnwritableFile_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("a folder that does not exist") << QStringLiteral("/proc/no/such/folder/out.xlsx");
        QTest::newRow("a full disk") << QStringLiteral("/dev/full");
    }

    void exportToAnUnwritableFile()
    {
        QFETCH(QString, path);
        if (path == QLatin1String("/dev/full") && !QFile::exists(path)) {
            QSKIP("This system has no /dev/full");
        }
        open(0);
        ModalAnswer answer(isFileDialog, [&path](QWidget* dialog) { choose(dialog, path); });
        BoxAnswer box(QMessageBox::Ok);
        view->onExportSuccess("eHl6");
        QVERIFY(answer.used());
        QVERIFY(box.used());
        QCOMPARE(box.title, QStringLiteral("Text.error"));
        QCOMPARE(box.text, QStringLiteral("Text.errorSaveFile"));
    }

    // --- editing and leaving ---

    void editsPatient()
    {
        open(0, remotePatient());
        QJsonObject renamed = remotePatient();
        renamed.insert(QStringLiteral("name"), QStringLiteral("Renamed"));
        renamed.insert(QStringLiteral("age"), 30);
        renamed.insert(QStringLiteral("phone"), QString());
        server->expect("PUT", "/patient", Samples::toBytes(renamed));
        ModalAnswer answer(isForm, [](QWidget* form) {
            QVERIFY(form->parent() == nullptr);
            QCOMPARE(form->findChild<QLabel*>(QStringLiteral("labelTitle"))->text(),
                     QStringLiteral("Dialog.editPatient"));
            form->findChild<QLineEdit*>(QStringLiteral("nameField"))->setText(QStringLiteral("Typed"));
            form->findChild<QPushButton*>(QStringLiteral("buttonSave"))->click();
        });
        child<QPushButton>("buttonEditPatient")->click();
        QVERIFY(answer.used());
        QCOMPARE(child<QLabel>("labelPatientName")->text(), QStringLiteral("Renamed"));
        QCOMPARE(child<QLabel>("labelAgeValue")->text(), QStringLiteral("30"));
        QVERIFY(!child<QLabel>("labelPhone")->isVisible());
        QCOMPARE(listed().getName(), QStringLiteral("Renamed"));
        QTRY_VERIFY(!formLives());
    }

    void editOfPatientOfAnotherPage()
    {
        // The list has gone on meanwhile: the card keeps what was typed, and its device.
        open(0, remotePatient());
        manager->onSuccess(Samples::list(1, 1));
        server->expect("PUT", "/patient", Samples::toBytes(remotePatient()));
        ModalAnswer answer(isForm, [](QWidget* form) {
            form->findChild<QLineEdit*>(QStringLiteral("nameField"))->setText(QStringLiteral("Typed"));
            form->findChild<QPushButton*>(QStringLiteral("buttonSave"))->click();
        });
        child<QPushButton>("buttonEditPatient")->click();
        QVERIFY(answer.used());
        QCOMPARE(child<QLabel>("labelPatientName")->text(), QStringLiteral("Typed"));
        QVERIFY(child<QLabel>("labelConnectedDevice")->isVisible());
        // The card still knows who it is.
        server->expect("GET", "/record/p1", Samples::records(1));
        view->onLoad();
        QTRY_COMPARE(records()->rowCount(), 1);
    }

    void failedEditLeavesTheCard()
    {
        open(0);
        server->expect("PUT", "/patient", R"({"message": "No"})", 400);
        ModalAnswer answer(isForm, [](QWidget* form) {
            form->findChild<QLineEdit*>(QStringLiteral("nameField"))->setText(QStringLiteral("Typed"));
            BoxAnswer box(QMessageBox::Ok);
            form->findChild<QPushButton*>(QStringLiteral("buttonSave"))->click();
            QTRY_VERIFY(box.used());
            QCOMPARE(box.text, QStringLiteral("No"));
            form->findChild<QPushButton*>(QStringLiteral("buttonCancel"))->click();
        });
        child<QPushButton>("buttonEditPatient")->click();
        QVERIFY(answer.used());
        QString name;
        const QObject whileHere;
        connect(view.get(), &ViewPatient::onPatientDelete, &whileHere,
                [&name](QWidget*, Patient& patient) { name = patient.getName(); });
        view->deletePatient();
        QCOMPARE(name, QStringLiteral("Anna Berg"));
        QCOMPARE(child<QLabel>("labelPatientName")->text(), QStringLiteral("Anna Berg"));
    }

    void asksForDeletion()
    {
        open(0);
        QWidget* parent = nullptr;
        QString id;
        const QObject whileHere;
        connect(view.get(), &ViewPatient::onPatientDelete, &whileHere, [&](QWidget* widget, Patient& patient) {
            parent = widget;
            id = patient.getId();
        });
        child<QPushButton>("buttonDeletePatient")->click();
        QCOMPARE(parent, static_cast<QWidget*>(view.get()));
        QCOMPARE(id, QStringLiteral("p1"));
        QCOMPARE(server->requests().size(), 1);
    }

    void leavesToTheList()
    {
        open(0);
        QSignalSpy left(view.get(), &ViewPatient::onPatientsList);
        child<QPushButton>("buttonListPatients")->click();
        QCOMPARE(left.count(), 1);
    }

    // --- what can go wrong ---

    void failures_data() { Samples::addFailures(); }

    void failures()
    {
        QFETCH(QString, text);
        QFETCH(int, kind);
        open(3, remotePatient());
        check({0, 1, 2});
        const QStringList before = enabled();
        const QImage icon = deviceIcon();

        const QList<QPair<QByteArray, QByteArray>> requests{
            {"GET", "/record/p1"},     {"POST", "/record"},         {"POST", "/command"},
            {"DELETE", "/command/p1"}, {"DELETE", "/record/p1/r2"}, {"POST", "/export/excel"},
        };
        for (int i = 0; i < requests.size(); ++i) {
            // An upload has no time limit.
            if (i == 1 && kind == Answer::Stall) {
                continue;
            }
            Samples::arrangeFailure(*server, requests.at(i).first, requests.at(i).second);
            std::unique_ptr<BoxAnswer> question;
            switch (i) {
            case 0:
                view->onLoad();
                break;
            case 1:
                save(QByteArray("x"), QStringLiteral("s"));
                break;
            case 2:
                view->onSendCommand(QStringLiteral("RECORD"));
                break;
            case 3:
                question = std::make_unique<BoxAnswer>(QMessageBox::Yes);
                view->onDeleteCommand();
                break;
            case 4:
                question = std::make_unique<BoxAnswer>(QMessageBox::Yes);
                clickTrash(0);
                break;
            default:
                view->excelExport();
                break;
            }
            BoxAnswer box(QMessageBox::Ok);
            QTRY_VERIFY2(box.used(), requests.at(i).second.constData());
            QCOMPARE(box.title, QStringLiteral("Text.error"));
            QCOMPARE(box.text, text);
            QCOMPARE(box.parent, static_cast<QWidget*>(view.get()));
            QVERIFY(overlay() == nullptr);
        }
        QCOMPARE(records()->rowCount(), 3);
        QCOMPARE(enabled(), before);
        QVERIFY(headerIsChecked());
        QCOMPARE(deviceIcon(), icon);
        QCOMPARE(listed().getStatusToolTip(), 1);
        // The screen goes on.
        QVERIFY(server->listenForClient());
        Answer good;
        good.body = Samples::records(1);
        server->setFallback(good);
        view->onLoad();
        QTRY_COMPARE(records()->rowCount(), 1);
    }

    void destroyedWhileWaiting_data()
    {
        QTest::addColumn<int>("operation");
        QTest::addColumn<int>("status");
        for (int operation = 0; operation < 6; ++operation) {
            QTest::addRow("operation %d, good", operation) << operation << 200;
            QTest::addRow("operation %d, failed", operation) << operation << 400;
        }
    }

    void destroyedWhileWaiting()
    {
        QFETCH(int, operation);
        QFETCH(int, status);
        open(1, remotePatient());
        Answer slow;
        slow.delay = 50;
        slow.status = status;
        slow.body = "[]";
        server->setFallback(slow);
        std::unique_ptr<BoxAnswer> question;
        switch (operation) {
        case 0:
            view->onLoad();
            break;
        case 1:
            save(QByteArray("x"), QStringLiteral("s"));
            break;
        case 2:
            view->onSendCommand(QStringLiteral("RECORD"));
            break;
        case 3:
            question = std::make_unique<BoxAnswer>(QMessageBox::Yes);
            view->onDeleteCommand();
            break;
        case 4:
            question = std::make_unique<BoxAnswer>(QMessageBox::Yes);
            clickTrash(0);
            break;
        default:
            view->excelExport();
            break;
        }
        QTRY_COMPARE(server->requests().size(), 2);
        view.reset();
        // The reply comes to nobody.
        QTest::qWait(150);
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        QCOMPARE(listed().getStatusToolTip(), 1);
    }

    void destroyedWhileRecorderIsOpen()
    {
        open(0);
        ModalAnswer answer(isRecorder, [this](QWidget*) { view.reset(); });
        view->onNewRecord();
        QVERIFY(answer.used());
        QVERIFY(view == nullptr);
    }

    void destroyedWhileFormIsOpen()
    {
        open(0);
        ModalAnswer answer(isForm, [this](QWidget* form) {
            view.reset();
            form->close();
        });
        view->onEditPatient();
        QVERIFY(answer.used());
        QTRY_VERIFY(!formLives());
    }

private:
    /// Opens the card of a patient with so many records.
    void open(int count, const QJsonObject& json = Samples::patient(QStringLiteral("p1")))
    {
        server->expect("GET", "/record/p1", Samples::records(count));
        Patient patient(json);
        view = std::make_unique<ViewPatient>(nullptr, &patient);
        QTRY_VERIFY(overlay() == nullptr);
        QCOMPARE(records()->rowCount(), count);
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        auto* const boxes = qobject_cast<CheckBoxHeader*>(header());
        const QImage unchecked = headerBox();
        boxes->setIsChecked(true);
        checkedBox = headerBox();
        boxes->setIsChecked(false);
        QVERIFY(checkedBox != unchecked);
        QCOMPARE(headerBox(), unchecked);
    }

    template <typename T> T* child(const char* name) const { return view->findChild<T*>(QString::fromLatin1(name)); }

    QTableView* table() const { return child<QTableView>("tableView"); }
    QHeaderView* header() const { return table()->horizontalHeader(); }
    RecordModel* records() const { return view->findChild<RecordModel*>(); }
    LoadingWindow* overlay() const { return view->findChild<LoadingWindow*>(); }
    Patient listed() const { return manager->getModel()->getPatientById(QStringLiteral("p1")); }
    QString listedName() const { return manager->getModel()->getPatient(manager->getModel()->index(0, 0)).getName(); }
    QImage deviceIcon() const { return child<QLabel>("labelConnectedDevice")->pixmap(Qt::ReturnByValue).toImage(); }

    void save(QByteArray bytes, const QString& sensor) const { view->onSaveRecord(bytes, sensor); }

    /// The record in a row of the table, which is sorted.
    Record shownRecord(int row) const
    {
        const auto* const proxy = qobject_cast<PatientProxyModel*>(table()->model());
        return records()->getRecord(proxy->mapToSource(proxy->index(row, 0)));
    }

    QStringList shownDates() const
    {
        QStringList dates;
        for (int row = 0; row < table()->model()->rowCount(); ++row) {
            dates.append(table()->model()->index(row, 3).data().toString());
        }
        return dates;
    }

    /// Which of the tools that follow the checks are enabled.
    QStringList enabled() const
    {
        QStringList names;
        for (const char* const name : toolsThatFollowChecks) {
            if (child<QPushButton>(name)->isEnabled()) {
                names.append(QString::fromLatin1(name));
            }
        }
        return names;
    }

    void check(const QList<int>& rows) const
    {
        for (const int row : rows) {
            table()->model()->setData(table()->model()->index(row, 0), Qt::Checked, Qt::CheckStateRole);
        }
    }

    /// The inside of the header's box, which nothing but its state changes.
    QImage headerBox() const
    {
        QCoreApplication::processEvents();
        return header()->viewport()->grab(QRect(6, 8, 10, 10)).toImage();
    }

    bool headerIsChecked() const { return headerBox() == checkedBox; }

    void clickHeader(int column) const
    {
        QTest::mouseClick(header()->viewport(), Qt::LeftButton, Qt::NoModifier,
                          QPoint(header()->sectionViewportPosition(column) + header()->sectionSize(column) / 2,
                                 header()->height() / 2));
    }

    void clickCheckBox(int row) const
    {
        const QRect cell = table()->visualRect(table()->model()->index(row, 0));
        QStyleOptionViewItem option;
        option.initFrom(table()->viewport());
        option.rect = cell;
        option.features = QStyleOptionViewItem::HasCheckIndicator;
        const QRect box = table()->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, table());
        QTest::mouseClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, box.center());
    }

    void clickTrash(int row) const
    {
        QTest::mouseClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier,
                          table()->visualRect(table()->model()->index(row, 6)).center());
    }

    static void choose(QWidget* dialog, const QString& path)
    {
        dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(path);
        // Past what the dialog itself would ask or refuse.
        QMetaObject::invokeMethod(dialog, "done", Q_ARG(int, QDialog::Accepted));
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

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
    std::unique_ptr<ViewPatient> view;
    PatientManager* manager = nullptr;
    QImage checkedBox;
};

QTEST_MAIN(TestViewPatient)
#include "TestViewPatient.moc"
