// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Constants.h"
#include "model/Marker.h"
#include "model/Patient.h"
#include "model/Record.h"
#include "net/Authentication.h"
#include "net/Controller.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/gzip.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QTest>
#include <QWidget>

#include <functional>
#include <memory>

using Call = std::function<void(Controller*)>;
Q_DECLARE_METATYPE(Call)

namespace {

/// The signal in which an operation ends well.
enum End
{
    Bytes,
    Unzipped,
    Success,
};

Patient patient(const QString& id = QStringLiteral("p-1"))
{
    return Patient(QJsonObject{
        {QStringLiteral("id"), id},
        {QStringLiteral("name"), QStringLiteral("Anna \u0416\u00fc \"x\"")},
        {QStringLiteral("gender"), QStringLiteral("FEMALE")},
        {QStringLiteral("birthDate"), QStringLiteral("1980-02-29")},
        {QStringLiteral("notes"), QStringLiteral("a\nb")},
        {QStringLiteral("phone"), QStringLiteral("+7 1")},
        {QStringLiteral("age"), 44},
    });
}

Record record(const QString& id = QStringLiteral("r-1"), const QString& patientId = QStringLiteral("owner"))
{
    return Record(QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("patientId"), patientId}});
}

Marker marker(const QString& id)
{
    return Marker(QJsonObject{{QStringLiteral("id"), id}});
}

QByteArray patientJson()
{
    return "{\n    \"birthDate\": \"1980-02-29\",\n    \"gender\": \"FEMALE\",\n    \"id\": \"p-1\",\n"
           "    \"name\": \"Anna \xd0\x96\xc3\xbc \\\"x\\\"\",\n    \"notes\": \"a\\nb\",\n    \"phone\": \"+7 "
           "1\"\n}\n";
}

QByteArray recipeJson(const QByteArray& command, const QByteArray& deviceId, const QByteArray& duration)
{
    return "{\n    \"command\": \"" + command + "\",\n    \"deviceId\": \"" + deviceId +
           "\",\n    \"duration\": " + duration +
           ",\n    \"markers\": [\n        \"m-2\",\n        \"m-1\",\n        \"m-2\"\n    ],\n"
           "    \"patientId\": \"p-1\",\n    \"recordId\": \"r-1\"\n}\n";
}

QList<Marker> markers()
{
    return {marker(QStringLiteral("m-2")), marker(QStringLiteral("m-1")), marker(QStringLiteral("m-2"))};
}

/// Counts what a controller reports, and looks at the overlay and the controller at that moment.
class Watch
{
public:
    Watch(Controller* controller, QWidget* parent)
        : alive(controller)
        , widget(parent)
    {
        QObject::connect(controller, &Controller::onBytes, &context, [this](const QByteArray& given) {
            ++bytesCount;
            bytes = given;
            note();
        });
        QObject::connect(controller, &Controller::onSuccess, &context, [this] {
            ++successCount;
            note();
        });
        QObject::connect(controller, &Controller::onError, &context, [this](const QString& text) {
            ++errorCount;
            message = text;
            note();
        });
    }

    int total() const { return bytesCount + successCount + errorCount; }
    bool isGone() const { return alive.isNull(); }

    QPointer<Controller> alive;
    int bytesCount = 0;
    int successCount = 0;
    int errorCount = 0;
    QByteArray bytes;
    QString message;
    bool overlayAtReport = false;
    bool aliveAtReport = false;

private:
    void note()
    {
        overlayAtReport = overlayAtReport || (widget != nullptr && widget->findChild<LoadingWindow*>() != nullptr);
        aliveAtReport = !alive.isNull();
    }

    QPointer<QWidget> widget;
    QObject context;
};

int overlays()
{
    int count = 0;
    const QWidgetList widgets = QApplication::allWidgets();
    for (const QWidget* const widget : widgets) {
        count += qobject_cast<const LoadingWindow*>(widget) != nullptr ? 1 : 0;
    }
    return count;
}

} // namespace

class TestController : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void runsEachOperation_data();
    void runsEachOperation();
    void sendsNoOverlayWithoutAParent_data();
    void sendsNoOverlayWithoutAParent();
    void reportsTheRefusalOfEachOperation_data();
    void reportsTheRefusalOfEachOperation();
    void survivesItsParentInEachOperation_data();
    void survivesItsParentInEachOperation();

    void logsInWithoutTheSessionsHeaders();
    void carriesTheFormsTypeAfterALogin();
    void leavesTheProcessWideHeadersAlone();
    void takesAnEmptyLogin_data();
    void takesAnEmptyLogin();
    void replacesTheToken();

    void encodesTheNeedle_data();
    void encodesTheNeedle();
    void sendsEmptyItems();
    void putsIdentifiersInAsTheyStand_data();
    void putsIdentifiersInAsTheyStand();
    void toleratesAnyLocale_data();
    void toleratesAnyLocale();

    void readsTheReplyByItsType_data();
    void readsTheReplyByItsType();
    void decodesAZippedReply_data();
    void decodesAZippedReply();

    void turnsErrorsIntoWords_data();
    void turnsErrorsIntoWords();
    void treatsAnyFailureAlike_data();
    void treatsAnyFailureAlike();
    void reportsATransportFailureAsAnEmptyText_data();
    void reportsATransportFailureAsAnEmptyText();
    void staysAfterAReplyThatIsNeither_data();
    void staysAfterAReplyThatIsNeither();

    void letsAReceiverDestroyTheScreen_data();
    void letsAReceiverDestroyTheScreen();

private:
    void addOperations();

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<LoopbackServer> server;
    std::unique_ptr<QWidget> screen;
};

void TestController::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
}

void TestController::init()
{
    Http::instance().setRequestHeaders(Http::getDefaultRequestHeaders());
    Authentication::getInstance()->init({
        {QStringLiteral("accessToken"), QStringLiteral("T0ken")},
        {QStringLiteral("country"), QStringLiteral("ch")},
        {QStringLiteral("language"), QStringLiteral("DE")},
        {QStringLiteral("tokenType"), QStringLiteral("Bearer")},
    });
    screen = std::make_unique<QWidget>();
    screen->resize(300, 200);
    server = std::make_unique<LoopbackServer>();
    QVERIFY(server->listenForClient());
}

void TestController::cleanup()
{
    QCOMPARE(server->pending(), 0);
    server.reset();
    screen.reset();
    QCOMPARE(overlays(), 0);
    guard->verify();
}

void TestController::addOperations()
{
    QTest::addColumn<Call>("call");
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("end");

    const auto add = [](const char* name, const QByteArray& method, const QByteArray& target, const QByteArray& body,
                        End end, const Call& call) {
        QTest::newRow(name) << call << method << target << body << static_cast<int>(end);
    };
    const QByteArray none;

    add("changePassword", "POST", "/auth/password",
        "{\n    \"newPassword\": \"n\",\n    \"oldPassword\": \"o\",\n    \"repeatPassword\": \"n\"\n}\n", Success,
        [](Controller* controller) {
            QMap<QString, QString> map{{QStringLiteral("oldPassword"), QStringLiteral("o")},
                                       {QStringLiteral("newPassword"), QStringLiteral("n")},
                                       {QStringLiteral("repeatPassword"), QStringLiteral("n")}};
            controller->changePassword(map);
        });
    add("changeLocale", "PUT", "/auth/locale", "{\n    \"country\": \"RU\",\n    \"locale\": \"ru\"\n}\n", Success,
        [](Controller* controller) { controller->changeLocale(QStringLiteral("ru_RU")); });
    add("updates", "GET", "/auth/updates/?version=2021.3.0", none, Bytes,
        [](Controller* controller) { controller->updates(); });
    add("patientsList", "GET", "/patient", none, Bytes, [](Controller* controller) { controller->patientsList(); });
    add("patientsFilter", "GET",
        "/patient/filter?sortby=name&direction=asc&size=20&current=3&searchby=notes&needle=QW5uYQ--", none, Bytes,
        [](Controller* controller) {
            controller->patientsFilter(QStringLiteral("name"), QStringLiteral("asc"), 20, 3, QStringLiteral("notes"),
                                       QStringLiteral("Anna"));
        });
    add("patientCreate", "POST", "/patient", patientJson(), Bytes, [](Controller* controller) {
        Patient value = patient();
        controller->patientCreate(&value);
    });
    add("patientUpdate", "PUT", "/patient", patientJson(), Bytes, [](Controller* controller) {
        Patient value = patient();
        controller->patientUpdate(&value);
    });
    add("patientDelete", "DELETE", "/patient/p-1", none, Success, [](Controller* controller) {
        Patient value = patient();
        controller->patientDelete(&value);
    });
    add("questionnaire", "POST", "/patient/questionnaire",
        "{\n    \"patientId\": \"p-1\",\n    \"records\": [\n        \"r-2\",\n        \"r-1\"\n    ]\n}\n", Bytes,
        [](Controller* controller) {
            Patient value = patient();
            QList<Record> records{record(QStringLiteral("r-2")), record(QStringLiteral("r-1"))};
            controller->questionnaire(&value, records);
        });
    add("questionnaire without records", "POST", "/patient/questionnaire",
        "{\n    \"patientId\": \"p-1\",\n    \"records\": [\n    ]\n}\n", Bytes, [](Controller* controller) {
            Patient value = patient();
            QList<Record> records;
            controller->questionnaire(&value, records);
        });
    add("updateQuestionnaire", "PUT", "/patient/questionnaire/p-1", "{\"z\":1, \"a\":2}", Success,
        [](Controller* controller) {
            Patient value = patient();
            QByteArray data("{\"z\":1, \"a\":2}");
            controller->updateQuestionnaire(&value, data);
        });
    add("deviceConnect", "POST", "/patient/device",
        "{\n    \"deviceId\": \"d \xc3\xbc\",\n    \"patientId\": \"p-1\"\n}\n", Success, [](Controller* controller) {
            Patient value = patient();
            controller->deviceConnect(&value, QStringLiteral("d \u00fc"));
        });
    add("deviceDisconnect", "DELETE", "/patient/device/p-1", none, Success, [](Controller* controller) {
        Patient value = patient();
        controller->deviceDisconnect(&value);
    });
    add("deviceToggle", "PUT", "/patient/device", "{\n    \"patientId\": \"p-1\"\n}\n", Success,
        [](Controller* controller) {
            Patient value = patient();
            controller->deviceToggle(&value);
        });
    add("getRecords", "GET", "/record/p-1", none, Bytes, [](Controller* controller) {
        Patient value = patient();
        controller->getRecords(&value);
    });
    add("deleteRecord", "DELETE", "/record/owner/r-1", none, Success, [](Controller* controller) {
        Record value = record();
        controller->deleteRecord(&value);
    });
    add("command", "POST", "/command",
        "{\n    \"command\": \"SELFRECIPE\",\n    \"patientId\": \"p-1\",\n    \"recordId\": \"r-1\"\n}\n", Success,
        [](Controller* controller) {
            Patient value = patient();
            Record of = record();
            controller->command(&value, &of, QStringLiteral("SELFRECIPE"));
        });
    add("command without a record", "POST", "/command",
        "{\n    \"command\": \"RECORD\",\n    \"patientId\": \"p-1\"\n}\n", Success, [](Controller* controller) {
            Patient value = patient();
            controller->command(&value, nullptr, QStringLiteral("RECORD"));
        });
    add("deleteCommand", "DELETE", "/command/p-1", none, Success, [](Controller* controller) {
        Patient value = patient();
        controller->deleteCommand(&value);
    });
    add("analysisSummary", "POST", "/analysis/summary", "{\"b\": 1,  \"a\": 2}", Bytes,
        [](Controller* controller) { controller->analysisSummary("{\"b\": 1,  \"a\": 2}"); });
    add("analysisMarkers", "POST", "/analysis", "{\"b\": 1,  \"a\": 2}", Bytes,
        [](Controller* controller) { controller->analysisMarkers("{\"b\": 1,  \"a\": 2}"); });
    add("analysisComparative", "POST", "/analysis/comparative", "{\"b\": 1,  \"a\": 2}", Bytes,
        [](Controller* controller) { controller->analysisComparative("{\"b\": 1,  \"a\": 2}"); });
    add("diagnosticCategories", "GET", "/category/diagnostic/p-1", none, Bytes, [](Controller* controller) {
        Patient value = patient();
        controller->diagnosticCategories(&value);
    });
    add("correctiveCategories", "GET", "/category/corrective/p-1", none, Bytes, [](Controller* controller) {
        Patient value = patient();
        controller->correctiveCategories(&value);
    });
    add("getRecipe", "GET", "/recipe/p-1/r-1", none, Bytes, [](Controller* controller) {
        Patient value = patient();
        Record of = record();
        controller->getRecipe(&value, &of);
    });
    add("recipe", "POST", "/recipe", recipeJson("", "serial", "15"), Unzipped, [](Controller* controller) {
        Patient value = patient();
        Record of = record();
        QList<Marker> chosen = markers();
        controller->recipe(&value, &of, chosen, 15, QStringLiteral("serial"));
    });
    add("recipe without a sensor", "POST", "/recipe", recipeJson("", "", "0"), Unzipped, [](Controller* controller) {
        Patient value = patient();
        Record of = record();
        QList<Marker> chosen = markers();
        controller->recipe(&value, &of, chosen, 0, QString());
    });
    add("saveRecipe", "PUT", "/recipe", recipeJson("RECIPE", "", "480"), Success, [](Controller* controller) {
        Patient value = patient();
        Record of = record();
        QList<Marker> chosen = markers();
        controller->saveRecipe(&value, &of, chosen, 480, QStringLiteral("RECIPE"));
    });
    add("saveRecipe without a command", "PUT", "/recipe", recipeJson("", "", "480"), Success,
        [](Controller* controller) {
            Patient value = patient();
            Record of = record();
            QList<Marker> chosen = markers();
            controller->saveRecipe(&value, &of, chosen, 480, QString());
        });
    add("saveRecipe without anything", "PUT", "/recipe",
        "{\n    \"command\": \"\",\n    \"deviceId\": \"\",\n    \"duration\": 0,\n    \"markers\": [\n    ],\n"
        "    \"patientId\": \"\",\n    \"recordId\": \"\"\n}\n",
        Success, [](Controller* controller) {
            Patient value;
            Record of;
            QList<Marker> chosen;
            controller->saveRecipe(&value, &of, chosen, 0, QString());
        });
    add("recipeAutospectrum", "POST", "/recipe/autospectrum",
        "{\n    \"deviceId\": \"serial\",\n    \"patientId\": \"p-1\",\n    \"recordId\": \"r-1\"\n}\n", Unzipped,
        [](Controller* controller) {
            Patient value = patient();
            Record of = record();
            controller->recipeAutospectrum(&value, &of, QStringLiteral("serial"));
        });
    add("recipeAutospectrum without a sensor", "POST", "/recipe/autospectrum",
        "{\n    \"deviceId\": \"\",\n    \"patientId\": \"p-1\",\n    \"recordId\": \"r-1\"\n}\n", Unzipped,
        [](Controller* controller) {
            Patient value = patient();
            Record of = record();
            controller->recipeAutospectrum(&value, &of, QString());
        });
    add("excelExport", "POST", "/export/excel", "{\n    \"patientId\": \"p-1\"\n}\n", Bytes,
        [](Controller* controller) {
            Patient value = patient();
            controller->excelExport(&value);
        });
}

void TestController::runsEachOperation_data()
{
    addOperations();
}

void TestController::runsEachOperation()
{
    QFETCH(Call, call);
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, target);
    QFETCH(QByteArray, body);
    QFETCH(int, end);

    const QByteArray content("{\"any\": \"reply\"}");
    server->expect(method, target, end == Unzipped ? gzip(content).toBase64() : content);
    auto* const controller = new Controller(screen.get());
    QCOMPARE(controller->parent(), nullptr);
    QCOMPARE(overlays(), 0);
    call(controller);
    // The receivers are connected after the call, as the screens do it.
    Watch watch(controller, screen.get());
    auto* const overlay = screen->findChild<LoadingWindow*>();
    QVERIFY(overlay != nullptr);
    QCOMPARE(overlay->parentWidget(), screen.get());
    QCOMPARE(overlays(), 1);

    QTRY_VERIFY(watch.isGone());
    QCOMPARE(server->requests().size(), 1);
    const LoopbackServer::Request& request = server->last();
    QCOMPARE(request.method, method);
    QCOMPARE(request.target, target);
    QCOMPARE(request.body, body);
    QCOMPARE(request.headers.value("authorization"), QByteArrayLiteral("Bearer T0ken"));
    QCOMPARE(request.headers.value("accept-language"), QByteArrayLiteral("de-CH"));
    QCOMPARE(request.headers.value("accept-charset"), QByteArrayLiteral("utf-8"));
    QCOMPARE(request.headers.value("connection"), QByteArrayLiteral("Keep-Alive"));
    const bool hasBody = method == "POST" || method == "PUT";
    QCOMPARE(request.headers.contains("content-type"), hasBody);
    QCOMPARE(request.headers.value("content-type"), hasBody ? QByteArray("application/json") : QByteArray());

    QCOMPARE(watch.total(), 1);
    QCOMPARE(watch.successCount, end == Success ? 1 : 0);
    QCOMPARE(watch.bytesCount, end == Success ? 0 : 1);
    QCOMPARE(watch.bytes, end == Success ? QByteArray() : content);
    QVERIFY(!watch.overlayAtReport);
    QVERIFY(watch.aliveAtReport);
    QCOMPARE(overlays(), 0);
}

void TestController::sendsNoOverlayWithoutAParent_data()
{
    addOperations();
}

void TestController::sendsNoOverlayWithoutAParent()
{
    QFETCH(Call, call);
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, target);
    QFETCH(int, end);
    // An empty reply is a success too.
    server->expect(method, target, "");
    if (end == Unzipped) {
        QTest::ignoreMessage(QtWarningMsg, "unzip: Input data is truncated");
    }
    auto* const controller = new Controller(nullptr);
    call(controller);
    Watch watch(controller, nullptr);
    QCOMPARE(overlays(), 0);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.total(), 1);
    QCOMPARE(watch.successCount, end == Success ? 1 : 0);
    QCOMPARE(watch.bytesCount, end == Success ? 0 : 1);
    QCOMPARE(watch.bytes, QByteArray());
}

void TestController::reportsTheRefusalOfEachOperation_data()
{
    addOperations();
}

void TestController::reportsTheRefusalOfEachOperation()
{
    QFETCH(Call, call);
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, target);
    server->expect(method, target, "{\"message\": \"Not now\"}", 400);
    auto* const controller = new Controller(screen.get());
    call(controller);
    Watch watch(controller, screen.get());
    QCOMPARE(overlays(), 1);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.total(), 1);
    QCOMPARE(watch.errorCount, 1);
    QCOMPARE(watch.message, QStringLiteral("Not now"));
    QVERIFY(!watch.overlayAtReport);
    QVERIFY(watch.aliveAtReport);
    QCOMPARE(overlays(), 0);
}

void TestController::survivesItsParentInEachOperation_data()
{
    addOperations();
}

void TestController::survivesItsParentInEachOperation()
{
    QFETCH(Call, call);
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, target);
    QFETCH(int, end);
    for (const int status : {200, 500}) {
        LoopbackServer::Answer answer;
        answer.delay = 20;
        answer.status = status;
        answer.body = gzip("content").toBase64();
        server->expect(method, target, answer);
        auto parent = std::make_unique<QWidget>();
        auto* const controller = new Controller(parent.get());
        call(controller);
        Watch watch(controller, nullptr);
        QCOMPARE(overlays(), 1);
        parent.reset();
        QCOMPARE(overlays(), 0);
        QTRY_VERIFY(watch.isGone());
        QCOMPARE(watch.total(), 1);
        QCOMPARE(watch.errorCount, status == 500 ? 1 : 0);
        QCOMPARE(watch.successCount, status == 200 && end == Success ? 1 : 0);
    }
}

void TestController::logsInWithoutTheSessionsHeaders()
{
    server->expect("POST", "/auth/login",
                   "{\"accessToken\": \"new\", \"tokenType\": \"Token\", \"language\": \"en\", \"country\": \"us\", "
                   "\"expiredAt\": \"tomorrow\"}");
    auto* const controller = new Controller(screen.get());
    QMap<QString, QString> form{{QStringLiteral("username"), QStringLiteral("anna b")},
                                {QStringLiteral("password"), QStringLiteral("p&=\u00fc")}};
    controller->login(form);
    Watch watch(controller, screen.get());
    QCOMPARE(overlays(), 0);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.total(), 1);
    QCOMPARE(watch.successCount, 1);

    const LoopbackServer::Request& request = server->last();
    QCOMPARE(request.body, QByteArrayLiteral("password=p%26%3D%C3%BC&username=anna%20b&"));
    QCOMPARE(request.headers.value("content-type"), QByteArrayLiteral("application/x-www-form-urlencoded"));
    QVERIFY(!request.headers.contains("authorization"));
    // Qt puts the system's language in, where the session's is not told.
    QVERIFY(!request.headers.value("accept-language").startsWith("de-CH"));
    QCOMPARE(request.headers.value("accept-charset"), QByteArrayLiteral("utf-8"));

    QCOMPARE(Authentication::getInstance()->getAuthHeader(), QByteArrayLiteral("Token new"));
    QCOMPARE(Authentication::getInstance()->getLocale(), QStringLiteral("en_US"));
    QCOMPARE(Authentication::getInstance()->getExpiredAt(), QStringLiteral("tomorrow"));
}

void TestController::carriesTheFormsTypeAfterALogin()
{
    const QByteArray form("application/x-www-form-urlencoded");
    server->expect("POST", "/auth/login", "{\"message\": \"wrong\"}", 401);
    auto* controller = new Controller(nullptr);
    QMap<QString, QString> fields;
    controller->login(fields);
    Watch login(controller, nullptr);
    QTRY_VERIFY(login.isGone());
    QCOMPARE(login.errorCount, 1);
    QCOMPARE(server->last().body, QByteArray());
    QCOMPARE(Http::instance().getRequestHeaders().value("Content-Type"), form);

    server->expect("GET", "/patient", "[]");
    controller = new Controller(nullptr);
    controller->patientsList();
    Watch get(controller, nullptr);
    QTRY_VERIFY(get.isGone());
    QCOMPARE(server->last().headers.value("content-type"), form);

    server->expect("DELETE", "/patient/p-1", "");
    Patient value = patient();
    controller = new Controller(nullptr);
    controller->patientDelete(&value);
    Watch del(controller, nullptr);
    QTRY_VERIFY(del.isGone());
    QCOMPARE(server->last().headers.value("content-type"), form);

    server->expect("PUT", "/patient", "{}");
    controller = new Controller(nullptr);
    controller->patientUpdate(&value);
    Watch put(controller, nullptr);
    QTRY_VERIFY(put.isGone());
    QCOMPARE(server->last().headers.value("content-type"), QByteArrayLiteral("application/json"));
    QCOMPARE(Http::instance().getRequestHeaders().value("Content-Type"), form);
}

void TestController::leavesTheProcessWideHeadersAlone()
{
    server->expect("POST", "/analysis", "{}");
    auto* const controller = new Controller(nullptr);
    controller->analysisMarkers("{}");
    Watch watch(controller, nullptr);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(Http::instance().getRequestHeaders(), Http::getDefaultRequestHeaders());
}

void TestController::takesAnEmptyLogin_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::newRow("empty object") << QByteArray("{}");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("rubbish") << QByteArray("<html>");
    QTest::newRow("array") << QByteArray("[1]");
}

void TestController::takesAnEmptyLogin()
{
    QFETCH(QByteArray, reply);
    server->expect("POST", "/auth/login", reply);
    auto* controller = new Controller(nullptr);
    QMap<QString, QString> form{{QStringLiteral("username"), QStringLiteral("u")}};
    controller->login(form);
    Watch login(controller, nullptr);
    QTRY_VERIFY(login.isGone());
    QCOMPARE(login.successCount, 1);
    QCOMPARE(login.total(), 1);

    server->expect("GET", "/patient", "[]");
    controller = new Controller(nullptr);
    controller->patientsList();
    Watch list(controller, nullptr);
    QTRY_VERIFY(list.isGone());
    QVERIFY2(server->last().head.contains("\r\nAuthorization:  \r\n"), server->last().head.constData());
    QCOMPARE(server->last().headers.value("accept-language"), QByteArrayLiteral("-"));
}

void TestController::replacesTheToken()
{
    server->expect("POST", "/auth/password", "{\"accessToken\": \"second\", \"tokenType\": \"Other\"}");
    auto* const controller = new Controller(nullptr);
    QMap<QString, QString> map;
    controller->changePassword(map);
    Watch watch(controller, nullptr);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.successCount, 1);
    QCOMPARE(Authentication::getInstance()->getAuthHeader(), QByteArrayLiteral("Bearer second"));
    QCOMPARE(Authentication::getInstance()->getLocale(), QStringLiteral("de_CH"));
}

void TestController::encodesTheNeedle_data()
{
    QTest::addColumn<QString>("needle");
    QTest::addColumn<QByteArray>("item");
    QTest::newRow("null") << QString() << QByteArray("needle=");
    QTest::newRow("empty") << QStringLiteral("") << QByteArray("needle=");
    QTest::newRow("blank") << QStringLiteral(" ") << QByteArray("needle=IA--");
    QTest::newRow("plus") << QStringLiteral(">>>") << QByteArray("needle=Pj4.");
    QTest::newRow("slash") << QStringLiteral(">>?") << QByteArray("needle=Pj4_");
    QTest::newRow("all three") << QStringLiteral(">>>>>?>") << QByteArray("needle=Pj4.Pj4_Pg--");
    QTest::newRow("one sign of padding") << QStringLiteral("ab") << QByteArray("needle=YWI-");
    QTest::newRow("beyond ASCII") << QStringLiteral("\u0416\u00fc") << QByteArray("needle=0JbDvA--");
    QTest::newRow("beyond the first plane") << QStringLiteral("\U0001F600") << QByteArray("needle=8J.YgA--");
    QTest::newRow("query signs") << QStringLiteral("&=#%") << QByteArray("needle=Jj0jJQ--");
}

void TestController::encodesTheNeedle()
{
    QFETCH(QString, needle);
    QFETCH(QByteArray, item);
    server->expect("GET", "/patient/filter?sortby=age&direction=desc&size=50&current=0&searchby=phone&" + item, "{}");
    auto* const controller = new Controller(nullptr);
    controller->patientsFilter(QStringLiteral("age"), QStringLiteral("desc"), 50, 0, QStringLiteral("phone"), needle);
    Watch watch(controller, nullptr);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.bytesCount, 1);
}

void TestController::sendsEmptyItems()
{
    server->expect("GET", "/patient/filter?sortby=&direction=&size=0&current=-1&searchby=&needle=", "{}");
    auto* const controller = new Controller(nullptr);
    controller->patientsFilter(QString(), QString(), 0, -1, QString(), QString());
    Watch watch(controller, nullptr);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.bytesCount, 1);
}

void TestController::putsIdentifiersInAsTheyStand_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QByteArray>("target");
    QTest::newRow("empty") << QString() << QByteArray("/record/");
    QTest::newRow("slash") << QStringLiteral("a/b") << QByteArray("/record/a/b");
    QTest::newRow("query") << QStringLiteral("a?b=c") << QByteArray("/record/a?b=c");
    QTest::newRow("blank and umlaut") << QStringLiteral("a \u00fc") << QByteArray("/record/a%20%C3%BC");
    QTest::newRow("lone percent sign") << QStringLiteral("5%") << QByteArray("/record/5%25");
}

void TestController::putsIdentifiersInAsTheyStand()
{
    QFETCH(QString, id);
    QFETCH(QByteArray, target);
    server->expect("GET", target, "[]");
    Patient value = patient(id);
    auto* const controller = new Controller(nullptr);
    controller->getRecords(&value);
    Watch watch(controller, nullptr);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.bytesCount, 1);
}

void TestController::toleratesAnyLocale_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QByteArray>("body");
    for (const QString& language : Constants::LANGUAGES) {
        QTest::newRow(qPrintable(language)) << language
                                            << "{\n    \"country\": \"" + language.mid(3).toLatin1() +
                                                   "\",\n    \"locale\": \"" + language.left(2).toLatin1() + "\"\n}\n";
    }
    QTest::newRow("no country") << QStringLiteral("ru")
                                << QByteArray("{\n    \"country\": \"\",\n    \"locale\": \"ru\"\n}\n");
    QTest::newRow("empty") << QString() << QByteArray("{\n    \"country\": \"\",\n    \"locale\": \"\"\n}\n");
    QTest::newRow("no language") << QStringLiteral("_RU")
                                 << QByteArray("{\n    \"country\": \"RU\",\n    \"locale\": \"\"\n}\n");
}

void TestController::toleratesAnyLocale()
{
    QFETCH(QString, locale);
    QFETCH(QByteArray, body);
    server->expect("PUT", "/auth/locale", "");
    auto* const controller = new Controller(nullptr);
    controller->changeLocale(locale);
    Watch watch(controller, nullptr);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.successCount, 1);
    QCOMPARE(server->last().body, body);
}

void TestController::readsTheReplyByItsType_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("bytesCount");
    QTest::addColumn<int>("successCount");
    QTest::addColumn<QByteArray>("auth");
    QTest::newRow("Bytes") << static_cast<int>(Controller::Type::Bytes) << 0 << 1 << 0 << QByteArray("Bearer T0ken");
    QTest::newRow("Login") << static_cast<int>(Controller::Type::Login) << 1 << 0 << 1 << QByteArray(" other");
    QTest::newRow("TokenUpdate") << static_cast<int>(Controller::Type::TokenUpdate) << 2 << 0 << 1
                                 << QByteArray("Bearer other");
    QTest::newRow("Zipped") << static_cast<int>(Controller::Type::Zipped) << 3 << 1 << 0 << QByteArray("Bearer T0ken");
    QTest::newRow("Plain") << static_cast<int>(Controller::Type::Plain) << 4 << 0 << 1 << QByteArray("Bearer T0ken");
    QTest::newRow("beyond") << 5 << 5 << 0 << 0 << QByteArray("Bearer T0ken");
    QTest::newRow("negative") << -1 << -1 << 0 << 0 << QByteArray("Bearer T0ken");
}

void TestController::readsTheReplyByItsType()
{
    QFETCH(int, type);
    QFETCH(int, value);
    QFETCH(int, bytesCount);
    QFETCH(int, successCount);
    QFETCH(QByteArray, auth);
    QCOMPARE(type, value);
    for (const bool put : {false, true}) {
        init();
        const QByteArray reply("{\"accessToken\": \"other\"}");
        server->expect(put ? "PUT" : "POST", "/any", reply);
        auto* const controller = new Controller(screen.get());
        const QString url = server->url(QStringLiteral("/any")).toString();
        if (put) {
            controller->put(url, static_cast<Controller::Type>(type), "{}");
        } else {
            controller->post(url, static_cast<Controller::Type>(type), "{}");
        }
        Watch watch(controller, screen.get());
        QTRY_VERIFY(watch.isGone());
        QCOMPARE(watch.bytesCount, bytesCount);
        QCOMPARE(watch.successCount, successCount);
        QCOMPARE(watch.errorCount, 0);
        QCOMPARE(overlays(), 0);
        QCOMPARE(Authentication::getInstance()->getAuthHeader(), auth);
        if (bytesCount == 1) {
            QCOMPARE(watch.bytes, type == 0 ? reply : QByteArray());
        }
    }
}

void TestController::decodesAZippedReply_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("warns");
    const QByteArray blocks("[\"AAEC\", \"/w==\"]");
    QTest::newRow("blocks") << gzip(blocks).toBase64() << blocks << false;
    QTest::newRow("with line breaks") << gzip(blocks).toBase64().insert(8, "\r\n").append("\n") << blocks << false;
    QTest::newRow("exactly one buffer") << gzip(QByteArray(1024, 'x')).toBase64() << QByteArray(1024, 'x') << false;
    QTest::newRow("no content") << gzip("").toBase64() << QByteArray() << false;
    QTest::newRow("cut off") << gzip(blocks).chopped(8).toBase64() << blocks << false;
    QTest::newRow("empty") << QByteArray() << QByteArray() << true;
    QTest::newRow("four bytes") << gzip(blocks).left(4).toBase64() << QByteArray() << true;
    QTest::newRow("no base64") << QByteArray("!!!! ???? ....") << QByteArray() << true;
    QTest::newRow("base64 of no gzip") << QByteArray("no gzip member").toBase64() << QByteArray() << false;
    QTest::newRow("error page") << QByteArray("<html><body>Bad gateway</body></html>") << QByteArray() << false;
    QTest::newRow("JSON") << blocks << QByteArray() << true;
}

void TestController::decodesAZippedReply()
{
    QFETCH(QByteArray, reply);
    QFETCH(QByteArray, bytes);
    QFETCH(bool, warns);
    if (warns) {
        QTest::ignoreMessage(QtWarningMsg, "unzip: Input data is truncated");
    }
    server->expect("GET", "/any", reply);
    auto* const controller = new Controller(screen.get());
    controller->get(server->url(QStringLiteral("/any")).toString(), Controller::Type::Zipped);
    Watch watch(controller, screen.get());
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.bytesCount, 1);
    QCOMPARE(watch.total(), 1);
    QCOMPARE(watch.bytes, bytes);
}

void TestController::turnsErrorsIntoWords_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("message");
    const auto add = [](const char* name, const QByteArray& body, const QString& message) {
        QTest::newRow(name) << body << message;
    };
    const QString none;
    add("message", "{\"message\": \"No such \xd0\x96\"}", QStringLiteral("No such \u0416"));
    add("message of several lines", "{\"message\": \"a\\r\\nb\"}", QStringLiteral("a\r\nb"));
    add("message as a number", "{\"message\": 42}", none);
    add("message as an object", "{\"message\": {\"a\": \"b\"}}", none);
    add("message empty beside errors", "{\"message\": \"\", \"errors\": [{\"a\": \"b\"}]}", none);
    add("message as a number beside errors", "{\"message\": 1, \"errors\": [{\"a\": \"b\"}]}", none);
    add("message null", "{\"message\": null}", none);
    add("message null beside errors", "{\"message\": null, \"errors\": [{\"a\": \"b\"}]}", QStringLiteral("a b\r\n"));
    add("message and errors", "{\"message\": \"m\", \"errors\": [{\"a\": \"b\"}]}", QStringLiteral("m"));
    add("one error", "{\"errors\": [{\"name\": \"is missing\"}]}", QStringLiteral("name is missing\r\n"));
    add("several errors", "{\"errors\": [{\"z\": \"1\"}, {\"a\": \"2\"}, {\"z\": \"3\"}]}",
        QStringLiteral("z 1\r\na 2\r\nz 3\r\n"));
    add("first key in order", "{\"errors\": [{\"b\": \"second\", \"a\": \"first\"}]}", QStringLiteral("a first\r\n"));
    add("values as text", "{\"errors\": [{\"a\": 7}, {\"a\": 1.5}, {\"a\": true}, {\"a\": null}, {\"a\": {\"x\": 1}}]}",
        QStringLiteral("a 7\r\na 1.5\r\na true\r\na \r\na \r\n"));
    add("elements that are no objects", "{\"errors\": [\"text\", 1, null, [], {\"a\": \"b\"}, false]}",
        QStringLiteral("a b\r\n"));
    add("empty element", "{\"errors\": [{}, {\"a\": \"b\"}, {}]}", QStringLiteral("a b\r\n"));
    add("errors empty", "{\"errors\": []}", none);
    add("errors null", "{\"errors\": null}", none);
    add("errors as a text", "{\"errors\": \"text\"}", none);
    add("errors as an object", "{\"errors\": {\"a\": \"b\"}}", none);
    add("neither", "{\"status\": 400}", none);
    add("empty body", "", none);
    add("array", "[{\"message\": \"m\"}]", none);
    add("HTML", "<html><body>Internal server error</body></html>", none);
    add("cut off", "{\"message\": \"m\"", none);
    add("no UTF-8", "{\"message\": \"\xff\"}", none);
}

void TestController::turnsErrorsIntoWords()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, message);
    server->expect("GET", "/patient", body, 400);
    auto* const controller = new Controller(screen.get());
    controller->patientsList();
    Watch watch(controller, screen.get());
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.errorCount, 1);
    QCOMPARE(watch.total(), 1);
    QCOMPARE(watch.message, message);
}

void TestController::treatsAnyFailureAlike_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {400, 401, 403, 404, 409, 429, 500, 501, 503}) {
        QTest::addRow("%d", status) << status;
    }
}

void TestController::treatsAnyFailureAlike()
{
    QFETCH(int, status);
    server->expect("GET", "/patient", "{\"message\": \"told\"}", status);
    auto* const controller = new Controller(screen.get());
    controller->patientsList();
    Watch watch(controller, screen.get());
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.total(), 1);
    QCOMPARE(watch.message, QStringLiteral("told"));
    // The session stays as it was.
    QCOMPARE(Authentication::getInstance()->getAuthHeader(), QByteArrayLiteral("Bearer T0ken"));
    QCOMPARE(server->requests().size(), 1);
}

void TestController::reportsATransportFailureAsAnEmptyText_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("refused") << -1;
    QTest::newRow("reset") << static_cast<int>(LoopbackServer::Answer::Reset);
    QTest::newRow("reset in the body") << static_cast<int>(LoopbackServer::Answer::ResetInBody);
    QTest::newRow("no answer") << static_cast<int>(LoopbackServer::Answer::Stall);
}

void TestController::reportsATransportFailureAsAnEmptyText()
{
    QFETCH(int, kind);
    LoopbackServer::Answer answer;
    answer.always = true;
    answer.body = "{\"message\": \"never arrives whole\"}";
    if (kind < 0) {
        server->stop();
    } else {
        answer.kind = static_cast<LoopbackServer::Answer::Kind>(kind);
        server->expect("GET", "/patient", answer);
    }
    const Http before = Http::instance();
    Http::instance().setReadTimeout(300);
    auto* const controller = new Controller(screen.get());
    controller->patientsList();
    Http::instance() = before;
    Watch watch(controller, screen.get());
    QCOMPARE(overlays(), 1);
    QTRY_VERIFY(watch.isGone());
    QCOMPARE(watch.errorCount, 1);
    QCOMPARE(watch.total(), 1);
    QCOMPARE(watch.message, QString());
    QVERIFY(!watch.overlayAtReport);
    QCOMPARE(overlays(), 0);
}

void TestController::staysAfterAReplyThatIsNeither_data()
{
    QTest::addColumn<int>("status");
    QTest::newRow("300") << 300;
    QTest::newRow("304") << 304;
}

void TestController::staysAfterAReplyThatIsNeither()
{
    QFETCH(int, status);
    server->expect("GET", "/patient", "", status);
    const QPointer<Controller> controller(new Controller(screen.get()));
    controller->patientsList();
    Watch watch(controller, screen.get());
    QTRY_COMPARE(server->requests().size(), 1);
    QTest::qWait(300);
    QVERIFY(!controller.isNull());
    QCOMPARE(watch.total(), 0);
    QCOMPARE(overlays(), 1);
    delete controller;
    QCOMPARE(overlays(), 1);
}

void TestController::letsAReceiverDestroyTheScreen_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("method");
    for (const int status : {200, 400}) {
        QTest::addRow("GET %d", status) << status << QByteArray("GET");
        QTest::addRow("DELETE %d", status) << status << QByteArray("DELETE");
    }
}

void TestController::letsAReceiverDestroyTheScreen()
{
    QFETCH(int, status);
    QFETCH(QByteArray, method);
    server->expect(method, "/any", "", status);
    auto* const controller = new Controller(screen.get());
    const QString url = server->url(QStringLiteral("/any")).toString();
    if (method == "GET") {
        controller->get(url, Controller::Type::Bytes);
    } else {
        controller->del(url);
    }
    Watch watch(controller, nullptr);
    const auto leave = [this] { screen.reset(); };
    connect(controller, &Controller::onBytes, screen.get(), leave);
    connect(controller, &Controller::onSuccess, screen.get(), leave);
    connect(controller, &Controller::onError, screen.get(), leave);
    QTRY_VERIFY(watch.isGone());
    QVERIFY(screen == nullptr);
    QCOMPARE(watch.total(), 1);
}

QTEST_MAIN(TestController)
#include "TestController.moc"
