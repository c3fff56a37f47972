// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/PatientManager.h"
#include "net/Authentication.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "patients/FormPatient.h"
#include "patients/PatientModel.h"
#include "tests/patients/Samples.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QSignalSpy>
#include <QTest>

#include <memory>

using Answer = LoopbackServer::Answer;

namespace {

const QByteArray firstPage = "/patient/filter?sortby=name&direction=asc&size=20&current=0&searchby=name&needle=";

} // namespace

class TestPatientManager : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        guard = std::make_unique<MessageGuard>();
        Authentication::getInstance()->init({{QStringLiteral("accessToken"), QStringLiteral("token")},
                                             {QStringLiteral("tokenType"), QStringLiteral("Bearer")},
                                             {QStringLiteral("language"), QStringLiteral("ru")},
                                             {QStringLiteral("country"), QStringLiteral("RU")}});
        manager = PatientManager::getInstance();
        model = manager->getModel();
    }

    void cleanupTestCase() { guard.reset(); }

    void init()
    {
        server = std::make_unique<LoopbackServer>();
        QVERIFY(server->listenForClient());
        Http::instance().setReadTimeout(300);
        widget = std::make_unique<QWidget>();
        widget->resize(300, 200);
        widget->show();
    }

    void cleanup()
    {
        QCOMPARE(server->pending(), 0);
        // Replies that are still under way must not reach the next test.
        QTRY_VERIFY(widget == nullptr || widget->findChild<LoadingWindow*>() == nullptr);
        widget.reset();
        server.reset();
        model->clear();
        guard->verify();
    }

    // Runs first: the page size of a fresh manager is 0.
    void pageSizeReachesModel()
    {
        server->expect("GET", "/patient/filter?sortby=name&direction=asc&size=0&current=0&searchby=name&needle=",
                       Samples::list(1, 1));
        manager->load(widget.get());
        QTRY_COMPARE(model->rowCount(), 1);
        manager->setPageSize(20);
        model->setCurrentPage(3);
        QCOMPARE(model->index(0, 0).data().toInt(), 41);
        // The same size again tells the model nothing.
        model->setPageSize(5);
        manager->setPageSize(20);
        QCOMPARE(model->index(0, 0).data().toInt(), 11);
        manager->setPageSize(10);
        manager->setPageSize(20);
        QCOMPARE(model->index(0, 0).data().toInt(), 41);
        model->setCurrentPage(1);
    }

    void isOneObject()
    {
        QCOMPARE(PatientManager::getInstance(), manager);
        QVERIFY(manager->QObject::parent() == nullptr);
        QCOMPARE(model->QObject::parent(), manager);
    }

    void loadsFirstPage()
    {
        server->expect("GET", firstPage, Samples::list(3, 7));
        manager->load(widget.get());
        QVERIFY(widget->findChild<LoadingWindow*>() != nullptr);
        QTRY_COMPARE(model->rowCount(), 3);
        QVERIFY(widget->findChild<LoadingWindow*>() == nullptr);
        QCOMPARE(model->getTotalPages(), 7);
        QCOMPARE(manager->patientByIndex(model->index(2, 5)).getId(), QStringLiteral("p2"));
        QCOMPARE(server->last().headers.value("authorization"), QByteArray("Bearer token"));
        QCOMPARE(server->last().headers.value("accept-language"), QByteArray("ru-RU"));
    }

    void loadsWithoutWidget()
    {
        server->expect("GET", firstPage, Samples::list(2, 1));
        manager->load(nullptr);
        QTRY_COMPARE(model->rowCount(), 2);
    }

    void totalComesBeforeRows()
    {
        model->setTotalPages(0);
        server->expect("GET", firstPage, Samples::list(3, 7));
        int rows = -1;
        const QObject whileHere;
        connect(model, &PatientModel::pageCountChanghed, &whileHere, [this, &rows] { rows = model->rowCount(); });
        manager->load(widget.get());
        QTRY_COMPARE(model->rowCount(), 3);
        QCOMPARE(rows, 0);
    }

    void searches()
    {
        server->expect("GET", "/patient/filter?sortby=age&direction=desc&size=20&current=4&searchby=notes&needle=Pz8_",
                       Samples::list(1, 5));
        manager->search(widget.get(), QStringLiteral("age"), QStringLiteral("desc"), 4, QStringLiteral("notes"),
                        QStringLiteral("???"));
        QTRY_COMPARE(model->rowCount(), 1);
    }

    void searchesWithoutSort()
    {
        server->expect(
            "GET", "/patient/filter?sortby=&direction=&size=20&current=0&searchby=name&needle=", Samples::list(1, 5));
        manager->search(widget.get(), QString(), QString(), 0, QStringLiteral("name"), QString());
        QTRY_COMPARE(model->rowCount(), 1);
    }

    void reloads()
    {
        manager->onSuccess(Samples::list(5, 2));
        server->expect("GET", "/patient", Samples::list(2, 1));
        QSignalSpy resets(model, &QAbstractItemModel::modelReset);
        manager->reload(widget.get());
        QTRY_COMPARE(model->rowCount(), 2);
        QCOMPARE(resets.count(), 2);
        QCOMPARE(model->getTotalPages(), 1);
    }

    void listReplies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("pages");
        QTest::addColumn<int>("rows");
        QTest::newRow("no rows") << QByteArray(R"({"pages": 4, "data": []})") << 4 << 0;
        QTest::newRow("no pages") << QByteArray(R"({"data": [{"id": "a"}]})") << 0 << 1;
        QTest::newRow("no data") << QByteArray(R"({"pages": 3})") << 3 << 0;
        QTest::newRow("empty body") << QByteArray() << 0 << 0;
        QTest::newRow("not JSON") << QByteArray("<html>") << 0 << 0;
        QTest::newRow("an array") << QByteArray(R"([{"id": "a"}])") << 0 << 0;
        QTest::newRow("a number") << QByteArray("5") << 0 << 0;
        QTest::newRow("cut off") << QByteArray(R"({"pages": 4, "data": [{"id")") << 0 << 0;
        QTest::newRow("missing keys") << QByteArray("{}") << 0 << 0;
        QTest::newRow("nulls") << QByteArray(R"({"pages": null, "data": null})") << 0 << 0;
        QTest::newRow("wrong types") << QByteArray(R"({"pages": "4", "data": {"id": "a"}})") << 0 << 0;
        QTest::newRow("rows of other kinds") << QByteArray(R"({"pages": 1, "data": [null, 5, "a", [], {}]})") << 1 << 5;
        QTest::newRow("huge number of pages") << QByteArray(R"({"pages": 1e300, "data": []})") << 0 << 0;
        QTest::newRow("largest number of pages")
            << QByteArray(R"({"pages": 2147483647, "data": []})") << 2147483647 << 0;
        QTest::newRow("negative pages") << QByteArray(R"({"pages": -3, "data": []})") << -3 << 0;
        QTest::newRow("many rows") << Samples::list(10000, 500) << 500 << 10000;
    }

    void listReplies()
    {
        QFETCH(QByteArray, body);
        QFETCH(int, pages);
        QFETCH(int, rows);
        manager->onSuccess(Samples::list(3, 9));
        server->expect("GET", firstPage, body);
        QSignalSpy resets(model, &QAbstractItemModel::modelReset);
        manager->load(widget.get());
        QTRY_COMPARE(resets.count(), 1);
        QTRY_COMPARE(model->rowCount(), rows);
        QCOMPARE(model->getTotalPages(), pages);
        QVERIFY(widget->findChild<LoadingWindow*>() == nullptr);
    }

    void createsPatient()
    {
        manager->onSuccess(Samples::list(2, 1));
        Patient patient;
        patient.setName(QStringLiteral("Clara"));
        patient.setGender(QStringLiteral("FEMALE"));
        patient.setBirthDate(1, 2, 1990);
        QPointer<FormPatient> form(new FormPatient);
        form->edit(&patient);
        QSignalSpy accepted(form, &QDialog::accepted);
        form->show();
        server->expect("POST", "/patient",
                       Samples::toBytes(Samples::patient(QStringLiteral("new"), QStringLiteral("C"))));
        manager->create(widget.get(), form, &patient);
        QVERIFY(form->isVisible());
        QTRY_COMPARE(model->rowCount(), 3);
        QCOMPARE(model->getPatient(model->index(2, 0)).getId(), QStringLiteral("new"));
        QCOMPARE(accepted.count(), 1);
        QTRY_VERIFY(form == nullptr);
        QCOMPARE(server->last().body, patient.toJson());
        QVERIFY(!server->last().body.contains("\"id\""));
        QVERIFY(server->last().headers.value("content-type").startsWith("application/json"));
    }

    void refusesToCreate_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("day");
        QTest::addColumn<int>("month");
        QTest::addColumn<QString>("text");
        QTest::newRow("no name") << QString() << 1 << 2 << QStringLiteral("Text.invalidName");
        QTest::newRow("no name and no date") << QString() << 0 << 0 << QStringLiteral("Text.invalidName");
        QTest::newRow("no date") << QStringLiteral("Anna") << 0 << 1 << QStringLiteral("Text.invalidBirthDate");
        QTest::newRow("31 in a month of 30")
            << QStringLiteral("Anna") << 31 << 4 << QStringLiteral("Text.invalidBirthDate");
    }

    void refusesToCreate()
    {
        QFETCH(QString, name);
        QFETCH(int, day);
        QFETCH(int, month);
        QFETCH(QString, text);
        Patient patient;
        patient.setName(name);
        patient.setBirthDate(day, month, 1990);
        FormPatient form;
        form.show();
        BoxAnswer box(QMessageBox::Ok);
        manager->create(widget.get(), &form, &patient);
        QVERIFY(box.used());
        QCOMPARE(box.title, QStringLiteral("Text.error"));
        QCOMPARE(box.text, text);
        QCOMPARE(box.icon, QMessageBox::Critical);
        QCOMPARE(box.parent, widget.get());
        QVERIFY(form.isVisible());
        QVERIFY(server->requests().isEmpty());
        QVERIFY(widget->findChild<LoadingWindow*>() == nullptr);
    }

    void updatesPatient()
    {
        manager->onSuccess(Samples::list(3, 1));
        Patient patient = model->getPatient(model->index(1, 0));
        // An edit is not checked: an impossible date goes to the server as an empty one.
        patient.setBirthDate(31, 4, 1990);
        patient.setName(QString());
        QPointer<FormPatient> form(new FormPatient);
        form->show();
        QSignalSpy accepted(form, &QDialog::accepted);
        QSignalSpy changes(model, &QAbstractItemModel::dataChanged);
        server->expect("PUT", "/patient",
                       Samples::toBytes(Samples::patient(QStringLiteral("p1"), QStringLiteral("Renamed"))));
        manager->update(widget.get(), form, &patient);
        QTRY_COMPARE(accepted.count(), 1);
        QCOMPARE(model->rowCount(), 3);
        QCOMPARE(model->getPatient(model->index(1, 0)).getName(), QStringLiteral("Renamed"));
        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes.first().at(0).toModelIndex(), model->index(1, 0));
        const QJsonObject sent = QJsonDocument::fromJson(server->last().body).object();
        QCOMPARE(sent.value(QLatin1String("birthDate")), QJsonValue(QStringLiteral("")));
        QCOMPARE(sent.value(QLatin1String("id")), QJsonValue(QStringLiteral("p1")));
        // The form stays its owner's.
        QTest::qWait(20);
        QVERIFY(form != nullptr);
        delete form;
    }

    void updatesPatientOfAnotherPage()
    {
        manager->onSuccess(Samples::list(2, 1));
        Patient patient(Samples::patient(QStringLiteral("elsewhere")));
        FormPatient form;
        form.show();
        QSignalSpy accepted(&form, &QDialog::accepted);
        QSignalSpy changes(model, &QAbstractItemModel::dataChanged);
        server->expect("PUT", "/patient", Samples::toBytes(Samples::patient(QStringLiteral("elsewhere"))));
        manager->update(widget.get(), &form, &patient);
        QTRY_COMPARE(accepted.count(), 1);
        QCOMPARE(changes.count(), 0);
        QCOMPARE(model->rowCount(), 2);
    }

    void patientReplies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("empty body") << QByteArray();
        QTest::newRow("not JSON") << QByteArray("<html>");
        QTest::newRow("an array") << QByteArray("[]");
        QTest::newRow("missing keys") << QByteArray("{}");
        QTest::newRow("nulls") << QByteArray(R"({"id": null, "name": null})");
        QTest::newRow("wrong types") << QByteArray(R"({"id": 1, "name": {}, "age": "x"})");
        QTest::newRow("huge numbers") << QByteArray(R"({"id": 1e300, "age": 1e300})");
    }

    void patientReplies()
    {
        QFETCH(QByteArray, body);
        manager->onSuccess(Samples::list(2, 1));
        Patient patient(Samples::patient(QStringLiteral("p1")));
        QPointer<FormPatient> created(new FormPatient);
        created->show();
        server->expect("POST", "/patient", body);
        manager->create(widget.get(), created, &patient);
        QTRY_VERIFY(created == nullptr);
        QCOMPARE(model->rowCount(), 3);
        QVERIFY(model->getPatient(model->index(2, 0)).getName().isEmpty());

        FormPatient edited;
        edited.show();
        QSignalSpy accepted(&edited, &QDialog::accepted);
        server->expect("PUT", "/patient", body);
        manager->update(widget.get(), &edited, &patient);
        QTRY_COMPARE(accepted.count(), 1);
        QCOMPARE(model->getPatient(model->index(1, 0)).getName(), QStringLiteral("Patient 1"));
    }

    void formGoesWhileRequestRuns()
    {
        manager->onSuccess(Samples::list(2, 1));
        Patient patient(Samples::patient(QStringLiteral("p1"), QStringLiteral("Renamed")));
        for (const QByteArray& method : {QByteArray("POST"), QByteArray("PUT")}) {
            auto form = std::make_unique<FormPatient>();
            server->expect(method, "/patient",
                           Samples::toBytes(Samples::patient(QStringLiteral("p1"), QStringLiteral("R"))));
            if (method == "POST") {
                manager->create(widget.get(), form.get(), &patient);
            } else {
                manager->update(widget.get(), form.get(), &patient);
            }
            form.reset();
            QTRY_VERIFY(widget->findChild<LoadingWindow*>() == nullptr);
        }
        QCOMPARE(model->rowCount(), 3);
        QCOMPARE(model->getPatient(model->index(1, 0)).getName(), QStringLiteral("R"));
    }

    void removesPatient()
    {
        manager->onSuccess(Samples::list(3, 1));
        Patient patient(Samples::patient(QStringLiteral("p1")));
        QSignalSpy deleted(manager, &PatientManager::onPatientDeleted);
        server->expect("DELETE", "/patient/p1", QByteArray("whatever"));
        manager->remove(widget.get(), &patient);
        QCOMPARE(model->rowCount(), 3);
        QTRY_COMPARE(deleted.count(), 1);
        QCOMPARE(model->rowCount(), 2);
        QCOMPARE(model->getPatient(model->index(1, 0)).getId(), QStringLiteral("p2"));
    }

    void removesByIndex()
    {
        manager->onSuccess(Samples::list(3, 1));
        QSignalSpy deleted(manager, &PatientManager::onPatientDeleted);
        server->expect("DELETE", "/patient/p2", QByteArray());
        manager->remove(widget.get(), model->index(2, 9));
        QTRY_COMPARE(deleted.count(), 1);
        QCOMPARE(model->rowCount(), 2);
        QCOMPARE(model->getRowByPatient(Patient(Samples::patient(QStringLiteral("p2")))), -1);
        // An index without a patient asks nothing of the server.
        manager->remove(widget.get(), QModelIndex());
        QCOMPARE(server->requests().size(), 1);
    }

    void removesRowFoundBeforeRequest()
    {
        manager->onSuccess(Samples::list(3, 1));
        Patient patient(Samples::patient(QStringLiteral("p2")));
        QSignalSpy deleted(manager, &PatientManager::onPatientDeleted);
        Answer slow;
        slow.delay = 100;
        server->expect("DELETE", "/patient/p2", slow);
        server->expect("DELETE", "/patient/p2", slow);
        manager->remove(widget.get(), &patient);
        manager->onSuccess(Samples::list(1, 1));
        QTRY_COMPARE(deleted.count(), 1);
        // Row 2 is outside the list by now.
        QCOMPARE(model->rowCount(), 1);

        manager->onSuccess(Samples::list(3, 1));
        manager->remove(widget.get(), &patient);
        manager->onSuccess(Samples::list(5, 1));
        QTRY_COMPARE(deleted.count(), 2);
        QCOMPARE(model->rowCount(), 4);
        QCOMPARE(model->getPatient(model->index(2, 0)).getId(), QStringLiteral("p3"));
    }

    void removesPatientOfAnotherPage()
    {
        manager->onSuccess(Samples::list(2, 1));
        Patient patient(Samples::patient(QStringLiteral("elsewhere")));
        QSignalSpy deleted(manager, &PatientManager::onPatientDeleted);
        server->expect("DELETE", "/patient/elsewhere", QByteArray());
        manager->remove(widget.get(), &patient);
        QTRY_COMPARE(deleted.count(), 1);
        QCOMPARE(model->rowCount(), 2);
    }

    void replacesPatient()
    {
        manager->onSuccess(Samples::list(3, 1));
        QSignalSpy changes(model, &QAbstractItemModel::dataChanged);
        manager->replace(Patient(Samples::patient(QStringLiteral("p2"), QStringLiteral("Other"))));
        QCOMPARE(model->getPatient(model->index(2, 0)).getName(), QStringLiteral("Other"));
        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes.first().at(0).toModelIndex(), model->index(2, 0));
        QCOMPARE(changes.first().at(1).toModelIndex(), model->index(2, 0));

        manager->replace(Patient(Samples::patient(QStringLiteral("unknown"))));
        manager->replace(Patient());
        QCOMPARE(changes.count(), 1);
        QCOMPARE(model->rowCount(), 3);
    }

    void givesUpdatedPatient()
    {
        manager->onSuccess(Samples::list(3, 1));
        const Patient old(Samples::patient(QStringLiteral("p2"), QStringLiteral("Old")));
        QCOMPARE(manager->getUpdatedPatient(old).getName(), QStringLiteral("Patient 2"));
        const Patient missing(Samples::patient(QStringLiteral("unknown")));
        QVERIFY(manager->getUpdatedPatient(missing).getId().isNull());
        QVERIFY(manager->patientByIndex(QModelIndex()).getId().isNull());
    }

    void failures_data() { Samples::addFailures(); }

    void failures()
    {
        QFETCH(QString, text);
        manager->onSuccess(Samples::list(3, 4));
        Patient patient(Samples::patient(QStringLiteral("p1"), QStringLiteral("Renamed")));
        FormPatient form;
        form.show();
        QSignalSpy finished(&form, &QDialog::finished);
        QSignalSpy deleted(manager, &PatientManager::onPatientDeleted);
        QSignalSpy resets(model, &QAbstractItemModel::modelReset);

        const QList<QPair<QByteArray, QByteArray>> requests{
            {"GET", firstPage},  {"GET", "/patient"},       {"POST", "/patient"},
            {"PUT", "/patient"}, {"DELETE", "/patient/p1"},
        };
        for (int i = 0; i < requests.size(); ++i) {
            Samples::arrangeFailure(*server, requests.at(i).first, requests.at(i).second);
            BoxAnswer box(QMessageBox::Ok);
            switch (i) {
            case 0:
                manager->load(widget.get());
                break;
            case 1:
                manager->reload(widget.get());
                break;
            case 2:
                manager->create(widget.get(), &form, &patient);
                break;
            case 3:
                manager->update(widget.get(), &form, &patient);
                break;
            default:
                manager->remove(widget.get(), &patient);
                break;
            }
            QTRY_VERIFY2(box.used(), requests.at(i).first.constData());
            QCOMPARE(box.title, QStringLiteral("Text.error"));
            QCOMPARE(box.text, text);
            QCOMPARE(box.parent, widget.get());
            QTRY_VERIFY(widget->findChild<LoadingWindow*>() == nullptr);
        }
        QCOMPARE(model->rowCount(), 3);
        QCOMPARE(model->getTotalPages(), 4);
        QCOMPARE(model->getPatient(model->index(1, 0)).getName(), QStringLiteral("Patient 1"));
        QCOMPARE(resets.count(), 0);
        QCOMPARE(deleted.count(), 0);
        QCOMPARE(finished.count(), 0);
        QVERIFY(form.isVisible());
    }

    void widgetGoesWhileRequestRuns()
    {
        Answer slow;
        slow.delay = 50;
        slow.body = Samples::list(2, 1);
        server->expect("GET", firstPage, slow);
        manager->load(widget.get());
        QTRY_COMPARE(server->pending(), 0);
        widget.reset();
        QTRY_COMPARE(model->rowCount(), 2);

        widget = std::make_unique<QWidget>();
        slow.status = 400;
        slow.body = R"({"message": "Too late"})";
        server->expect("GET", firstPage, slow);
        BoxAnswer box(QMessageBox::Ok);
        manager->load(widget.get());
        QTRY_COMPARE(server->pending(), 0);
        widget.reset();
        QTRY_VERIFY(box.used());
        QCOMPARE(box.text, QStringLiteral("Too late"));
        QVERIFY(box.parent == nullptr);
    }

private:
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
    std::unique_ptr<QWidget> widget;
    PatientManager* manager = nullptr;
    PatientModel* model = nullptr;
};

QTEST_MAIN(TestPatientManager)
#include "TestPatientManager.moc"
