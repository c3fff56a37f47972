// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Accounts.h"
#include "server/Api.h"
#include "server/ClientAddress.h"
#include "server/Database.h"
#include "server/HashingQueue.h"
#include "server/LoginAttempts.h"
#include "server/Secrets.h"

#include "tests/server/ApiClient.h"
#include "tests/server/ServerProcess.h"
#include "tests/server/TestDatabase.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTcpSocket>
#include <QTest>
#include <QUrl>

#include <sodium.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using namespace server;

namespace {

using Limits = LoginAttempts::Limits;

const QString password = QStringLiteral("correct horse");
constexpr int patience = 60000;

QByteArray formOf(const QString& name, const QString& typed)
{
    return "password=" + QUrl::toPercentEncoding(typed) + "&username=" + QUrl::toPercentEncoding(name) + '&';
}

Request loginRequest(const QString& name, const QString& typed, const QByteArray& peer)
{
    Request request;
    request.method = "POST";
    request.path = "/auth/login";
    request.headers.insert("content-type", "application/x-www-form-urlencoded");
    request.body = formOf(name, typed);
    request.peer = peer;
    return request;
}

Request withToken(const QByteArray& method, const QByteArray& path, const QString& token, const QByteArray& peer)
{
    Request request;
    request.method = method;
    request.path = path;
    request.headers.insert("authorization", "Bearer " + token.toUtf8());
    request.peer = peer;
    return request;
}

Request passwordRequest(const QString& token, const QString& oldPassword, const QString& newPassword,
                        const QByteArray& peer)
{
    Request request = withToken("POST", "/auth/password", token, peer);
    request.body = QJsonDocument(QJsonObject{{QStringLiteral("oldPassword"), oldPassword},
                                             {QStringLiteral("newPassword"), newPassword},
                                             {QStringLiteral("repeatPassword"), newPassword}})
                       .toJson();
    return request;
}

QString textOf(const QByteArray& body, const char* key)
{
    return QJsonDocument::fromJson(body).object().value(QLatin1String(key)).toString();
}

QByteArray header(const Reply& reply, const QByteArray& name)
{
    for (const auto& entry : reply.headers) {
        if (entry.first == name)
            return entry.second;
    }
    return QByteArray();
}

QString stored(const QDateTime& time)
{
    return time.toUTC().toString(Qt::ISODateWithMs);
}

/// All of an answer, as it came over the wire.
QByteArray exchange(quint16 port, const QByteArray& request)
{
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), port);
    if (!socket.waitForConnected(patience))
        return QByteArray();
    socket.write(request);
    QByteArray answer;
    while (socket.waitForReadyRead(patience))
        answer += socket.readAll();
    return answer + socket.readAll();
}

QByteArray rawLogin(const QString& name, const QString& typed)
{
    const QByteArray form = formOf(name, typed);
    return "POST /auth/login HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n"
           "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
           QByteArray::number(form.size()) + "\r\n\r\n" + form;
}

int statusOf(const QByteArray& answer)
{
    return answer.mid(9, 3).toInt();
}

QByteArray headerOf(const QByteArray& answer, const QByteArray& name)
{
    for (const QByteArray& line : answer.left(answer.indexOf("\r\n\r\n")).split('\n')) {
        if (line.toLower().startsWith(name.toLower() + ':'))
            return line.mid(name.size() + 1).trimmed();
    }
    return QByteArray();
}

QByteArray bodyOf(const QByteArray& answer)
{
    return answer.mid(answer.indexOf("\r\n\r\n") + 4);
}

/// Without what differs from one answer to the next by its nature.
QByteArray comparable(const QByteArray& answer)
{
    QByteArray kept;
    for (const QByteArray& line : answer.left(answer.indexOf("\r\n\r\n")).split('\n')) {
        const QByteArray name = line.left(line.indexOf(':')).toLower();
        if (name != "date" && name != "x-request-id" && name != "retry-after")
            kept += line + '\n';
    }
    return kept + bodyOf(answer);
}

} // namespace

/// Who guesses passwords does not get far, learns nothing from the answers, and stops nobody else.
class TestServerLogin : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void limitsAsTheyAre();
    void optionsAreChecked_data();
    void optionsAreChecked();

    void refusesFromTheLimitOn_data();
    void refusesFromTheLimitOn();
    void rightPasswordForgives();
    void limitOfAnAccount();
    void limitOfAnAddress();
    void countsByNetwork_data();
    void countsByNetwork();
    void countsByNormalForm();
    void tellsHowLongToWait_data();
    void tellsHowLongToWait();
    void windowEnds();
    void windowOfTheOption();
    void clockThatWentWrong();
    void refusedCountsNowhere();
    void countsExactlyAtOnce();
    void removesOldRows();
    void passwordChangeCounts();

    void answersAndWorkAreEqual();
    void limitedNamesAreEqual();
    void refusesLargeForms();

    void queueKeepsItsOrder();
    void floodHoldsNoThreads();
    void busyCountsNoFailure();

    void processesCountTogether();
    void guessesAtOnceOnTwoProcesses();
    void restartKeepsTheCounts();
    void answersOnTheWireAreEqual();
    void floodOfAProcess();
    void keepsNoSecrets();

    void tokensAreLongAndDiffer();
    void tellsAndObeysTheExpiry();
    void removesOldSessions();
    void renewsOutdatedHashes();

private:
    /// A practitioner of this test, with the password above.
    QString newPractitioner(const QString& name = QString());
    QByteArray newAddress();
    Reply login(const QString& name, const QString& typed, const QByteArray& peer);
    /// So many wrong passwords, none of which is refused for another reason.
    bool fail(int times, const QString& name, const QByteArray& peer);
    QString token(const QString& name, const QByteArray& peer);
    /// A new Api on the same database, as a process that starts.
    void restart(const Limits& limits);
    QVariant sql(const QString& statement, const QVariantList& values = {});

    std::unique_ptr<TestDatabase> m_place;
    std::unique_ptr<Database> m_database;
    std::unique_ptr<Accounts> m_accounts;
    std::unique_ptr<Api> m_api;
    int m_names = 0;
    int m_addresses = 0;
};

void TestServerLogin::initTestCase()
{
    QVERIFY(Secrets::initialize());
    m_place = std::make_unique<TestDatabase>();
    QString error;
    m_database = Database::open(m_place->location(), error);
    QVERIFY2(m_database, qPrintable(error));
    QVERIFY(m_place->connect());
    m_accounts = std::make_unique<Accounts>(*m_database);
}

void TestServerLogin::init()
{
    restart(Limits());
}

void TestServerLogin::cleanupTestCase()
{
    m_api.reset();
    m_accounts.reset();
    m_database.reset();
    m_place.reset();
}

QString TestServerLogin::newPractitioner(const QString& name)
{
    Practitioner practitioner;
    practitioner.name = name.isEmpty() ? QStringLiteral("practitioner%1").arg(++m_names) : name;
    practitioner.language = QStringLiteral("en");
    practitioner.country = QStringLiteral("US");
    return m_accounts->add(practitioner, password) ? practitioner.name : QString();
}

QByteArray TestServerLogin::newAddress()
{
    ++m_addresses;
    return "10.1." + QByteArray::number(m_addresses / 250) + '.' + QByteArray::number(m_addresses % 250 + 1);
}

Reply TestServerLogin::login(const QString& name, const QString& typed, const QByteArray& peer)
{
    return m_api->handle(loginRequest(name, typed, peer));
}

bool TestServerLogin::fail(int times, const QString& name, const QByteArray& peer)
{
    for (int i = 0; i < times; ++i) {
        const Reply reply = login(name, QStringLiteral("wrong"), peer);
        if (reply.status != 401) {
            qWarning("attempt %d: %d %s", i + 1, reply.status, reply.body.constData());
            return false;
        }
    }
    return true;
}

QString TestServerLogin::token(const QString& name, const QByteArray& peer)
{
    return textOf(login(name, password, peer).body, "accessToken");
}

void TestServerLogin::restart(const Limits& limits)
{
    m_api = std::make_unique<Api>(*m_database, 168, limits);
}

QVariant TestServerLogin::sql(const QString& statement, const QVariantList& values)
{
    QSqlQuery query;
    query.prepare(statement);
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (!query.exec()) {
        qWarning("%s", qPrintable(query.lastError().text()));
        return QVariant();
    }
    return query.next() ? query.value(0) : QVariant(query.numRowsAffected());
}

void TestServerLogin::limitsAsTheyAre()
{
    const Limits limits;
    QCOMPARE(limits.attempts, 5);
    QCOMPARE(limits.attempts * Limits::accountFactor, 100);
    QCOMPARE(limits.attempts * Limits::addressFactor, 50);
    QCOMPARE(limits.windowSeconds, 900);
    const QByteArray help = ServerProcess::run({QStringLiteral("--help")}).output;
    QVERIFY(help.contains("--login-attempts <NUMBER>"));
    QVERIFY(help.contains("--login-window <SECONDS>"));
}

void TestServerLogin::optionsAreChecked_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("reason");
    const QString attempts = QStringLiteral("--login-attempts");
    const QString window = QStringLiteral("--login-window");
    const QByteArray ofAttempts = "--login-attempts takes a number from 1 to 100000, not \"";
    const QByteArray ofWindow = "--login-window takes a number from 1 to 86400, not \"";
    QTest::newRow("no attempts") << QStringList{attempts, QStringLiteral("0")} << ofAttempts + "0\"";
    QTest::newRow("too many attempts") << QStringList{attempts, QStringLiteral("100001")} << ofAttempts + "100001\"";
    QTest::newRow("no number of attempts") << QStringList{attempts, QStringLiteral("5x")} << ofAttempts + "5x\"";
    QTest::newRow("no window") << QStringList{window, QStringLiteral("0")} << ofWindow + "0\"";
    QTest::newRow("a long window") << QStringList{window, QStringLiteral("86401")} << ofWindow + "86401\"";
    QTest::newRow("no number of seconds") << QStringList{window, QStringLiteral("")} << ofWindow + '"';
    const QStringList list{QStringLiteral("practitioner"), QStringLiteral("list")};
    QTest::newRow("attempts of a command")
        << QStringList{attempts, QStringLiteral("5")} + list << QByteArray("--login-attempts does not belong");
    QTest::newRow("window of a command") << QStringList{window, QStringLiteral("5")} + list
                                         << QByteArray("--login-window does not belong");
}

void TestServerLogin::optionsAreChecked()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, reason);
    const ServerProcess::Outcome outcome = ServerProcess::run(arguments);
    QCOMPARE(outcome.exitCode, 2);
    QVERIFY2(outcome.errors.contains(reason), outcome.errors.constData());
}

void TestServerLogin::refusesFromTheLimitOn_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("known") << newPractitioner();
    QTest::newRow("unknown") << QStringLiteral("nobody");
    QTest::newRow("empty") << QStringLiteral("");
    QTest::newRow("zero character") << QString::fromUtf8("an\0na", 5);
    QTest::newRow("two lines") << QStringLiteral("an\nna");
    QTest::newRow("long") << QString(5000, QLatin1Char('n'));
    QTest::newRow("quotes") << QStringLiteral("x' OR ''='");
    QTest::newRow("cyrillic") << QStringLiteral("Никто");
}

void TestServerLogin::refusesFromTheLimitOn()
{
    QFETCH(QString, name);
    const QByteArray address = newAddress();
    QVERIFY(fail(5, name, address));
    const quint64 before = Secrets::hashings();
    for (const QString& typed : {QStringLiteral("wrong"), password}) {
        Request request = loginRequest(name, typed, address);
        for (const char* language : {"en-US", "ru-RU"}) {
            request.headers.insert("accept-language", language);
            const Reply reply = m_api->handle(request);
            QCOMPARE(reply.status, 429);
            QCOMPARE(reply.contentType, QByteArray("application/json"));
            QCOMPARE(textOf(reply.body, "message"),
                     language == QByteArray("ru-RU")
                         ? QStringLiteral("Слишком много попыток с неверным паролем. Подождите 15 мин и "
                                          "попробуйте ещё раз.")
                         : QStringLiteral("The password was wrong too often. Please wait 15 min and try again."));
            const int seconds = header(reply, "Retry-After").toInt();
            QVERIFY2(seconds > 840 && seconds <= 900, qPrintable(QString::number(seconds)));
        }
    }
    QCOMPARE(Secrets::hashings(), before);

    // Neither the account from elsewhere nor the address with other accounts has come to its limit.
    QVERIFY(fail(1, name, newAddress()));
    QVERIFY(fail(1, name + QStringLiteral("2"), address));
}

void TestServerLogin::rightPasswordForgives()
{
    const QString name = newPractitioner();
    const QString other = newPractitioner();
    const QByteArray address = newAddress();
    const QByteArray elsewhere = newAddress();
    QVERIFY(fail(5, name, elsewhere));
    for (int round = 0; round < 3; ++round) {
        QVERIFY(fail(4, name, address));
        QCOMPARE(login(name, password, address).status, 200);
    }
    QVERIFY(fail(5, name, address));
    QCOMPARE(login(name, password, address).status, 429);
    // That of the others neither forgives this one nor counts.
    for (int i = 0; i < 6; ++i)
        QCOMPARE(login(other, password, address).status, 200);
    QCOMPARE(login(name, password, address).status, 429);
    QCOMPARE(login(name, password, elsewhere).status, 429);
}

void TestServerLogin::limitOfAnAccount()
{
    Limits limits;
    limits.attempts = 2;
    restart(limits);
    const QString name = newPractitioner();
    const QByteArray owner = newAddress();
    for (int i = 0; i < 19; ++i)
        QVERIFY(fail(2, name, newAddress()));
    // A right one in between gives back what it took, and no more.
    QCOMPARE(login(name, password, owner).status, 200);
    QVERIFY(fail(2, name, newAddress()));
    QCOMPARE(login(name, password, newAddress()).status, 429);
    QCOMPARE(login(name, password, owner).status, 429);
    const QByteArray address = newAddress();
    QCOMPARE(login(name, password, address).status, 429);
    QCOMPARE(login(newPractitioner(), password, address).status, 200);
}

void TestServerLogin::limitOfAnAddress()
{
    Limits limits;
    limits.attempts = 2;
    restart(limits);
    const QString known = newPractitioner();
    const QByteArray address = newAddress();
    for (int i = 0; i < 10; ++i) {
        QVERIFY(fail(1, QStringLiteral("one%1").arg(i), address));
        QCOMPARE(login(known, password, address).status, 200);
        QVERIFY(fail(1, QStringLiteral("other%1").arg(i), address));
    }
    QCOMPARE(login(known, password, address).status, 429);
    QCOMPARE(login(QStringLiteral("nobody"), password, address).status, 429);
    QCOMPARE(login(known, password, newAddress()).status, 200);
}

void TestServerLogin::countsByNetwork_data()
{
    QTest::addColumn<QByteArray>("one");
    QTest::addColumn<QByteArray>("other");
    QTest::addColumn<bool>("same");
    QTest::newRow("IPv4 neighbours") << QByteArray("192.0.2.1") << QByteArray("192.0.2.2") << false;
    QTest::newRow("one IPv6 network") << QByteArray("2001:db8:1:2::1") << QByteArray("2001:db8:1:2:ffff:1:2:3") << true;
    QTest::newRow("IPv6 neighbours") << QByteArray("2001:db8:1:4::1") << QByteArray("2001:db8:1:5::1") << false;
    QTest::newRow("IPv6 written out") << QByteArray("2001:db8::6:0:0:0:1")
                                      << QByteArray("2001:0DB8:0000:0006:0000:0000:0000:0001") << true;
    QTest::newRow("IPv4 in IPv6") << QByteArray("192.0.2.3") << QByteArray("::ffff:192.0.2.3") << true;
    QTest::newRow("two IPv4 in IPv6") << QByteArray("::ffff:192.0.2.4") << QByteArray("::ffff:192.0.2.5") << false;
    QTest::newRow("link-local") << QByteArray("fe80::1%eth0") << QByteArray("fe80::2%eth1") << true;
    QTest::newRow("no address") << QByteArray("") << QByteArray("192.0.2.6") << false;
    QTest::newRow("text") << QByteArray("one") << QByteArray("other") << false;
}

void TestServerLogin::countsByNetwork()
{
    QFETCH(QByteArray, one);
    QFETCH(QByteArray, other);
    QFETCH(bool, same);
    QCOMPARE(ClientAddress::network(one) == ClientAddress::network(other), same);
    Limits limits;
    limits.attempts = 1;
    restart(limits);
    const QString name = QStringLiteral("of ") + QString::fromLatin1(QTest::currentDataTag());
    QVERIFY(fail(1, name, one));
    QCOMPARE(login(name, password, one).status, 429);
    QCOMPARE(login(name, password, other).status, same ? 429 : 401);
}

void TestServerLogin::countsByNormalForm()
{
    const QString composed = newPractitioner(QStringLiteral("J\u00fcrgen"));
    const QByteArray address = newAddress();
    QVERIFY(fail(2, composed, address));
    QVERIFY(fail(2, QStringLiteral("Ju\u0308rgen"), address));
    QVERIFY(fail(1, QStringLiteral(" J\u00fcrgen\t"), address));
    for (const QString& name : {composed, QStringLiteral("Ju\u0308rgen"), QStringLiteral("J\u00fcrgen ")})
        QCOMPARE(login(name, password, address).status, 429);
    QCOMPARE(login(QStringLiteral("Ju\u0308rgen"), password, newAddress()).status, 200);
    QVERIFY(fail(1, QStringLiteral("j\u00fcrgen"), address));
}

void TestServerLogin::tellsHowLongToWait_data()
{
    QTest::addColumn<int>("left");
    QTest::addColumn<QString>("minutes");
    QTest::newRow("most") << 890 << QStringLiteral("15");
    QTest::newRow("above a minute") << 95 << QStringLiteral("2");
    QTest::newRow("below a minute") << 50 << QStringLiteral("1");
}

void TestServerLogin::tellsHowLongToWait()
{
    QFETCH(int, left);
    QFETCH(QString, minutes);
    const QByteArray address = newAddress();
    const QString name = QStringLiteral("waiting %1").arg(left);
    QVERIFY(fail(5, name, address));
    const QDateTime end = QDateTime::currentDateTimeUtc().addSecs(left);
    QVERIFY(sql(QStringLiteral("UPDATE login_attempts SET window_ends = ?"), {stored(end)}).toInt() >= 3);
    const qint64 most = QDateTime::currentDateTimeUtc().msecsTo(end);
    const Reply reply = login(name, password, address);
    const qint64 least = QDateTime::currentDateTimeUtc().msecsTo(end);
    QCOMPARE(reply.status, 429);
    QVERIFY2(textOf(reply.body, "message").contains(QStringLiteral(" %1 min ").arg(minutes)), reply.body.constData());
    // Whoever waits as long comes after the end.
    const int seconds = header(reply, "Retry-After").toInt();
    QVERIFY(1000 * seconds >= least && 1000 * (seconds - 1) < most);
}

void TestServerLogin::windowEnds()
{
    const QString name = newPractitioner();
    const QByteArray address = newAddress();
    const QDateTime before = QDateTime::currentDateTimeUtc();
    QVERIFY(fail(1, name, address));
    const QDateTime after = QDateTime::currentDateTimeUtc();
    const QString ends = QStringLiteral("SELECT MAX(window_ends) FROM login_attempts");
    const QString first = sql(ends).toString();
    QVERIFY(first >= stored(before.addSecs(900)) && first <= stored(after.addSecs(900)));
    // The first one begins the window, the others do not prolong it.
    QVERIFY(fail(4, name, address));
    QCOMPARE(login(name, password, address).status, 429);
    QCOMPARE(sql(ends).toString(), first);

    const QString past = stored(QDateTime::currentDateTimeUtc().addMSecs(-1));
    sql(QStringLiteral("UPDATE login_attempts SET window_ends = ?"), {past});
    QVERIFY(fail(5, name, address));
    QVERIFY(sql(ends).toString() > first);
    QCOMPARE(login(name, password, address).status, 429);
    sql(QStringLiteral("UPDATE login_attempts SET window_ends = ?"), {past});
    QCOMPARE(login(name, password, address).status, 200);
}

void TestServerLogin::windowOfTheOption()
{
    Limits limits;
    limits.attempts = 1;
    limits.windowSeconds = 1;
    restart(limits);
    const QByteArray address = newAddress();
    QVector<int> changes;
    const auto changed = [&] {
        const int status = login(QStringLiteral("short"), QStringLiteral("wrong"), address).status;
        if (changes.isEmpty() || changes.last() != status)
            changes.append(status);
        return changes.size() >= 4;
    };
    QTRY_VERIFY_WITH_TIMEOUT(changed(), patience);
    QCOMPARE(changes.mid(0, 4), (QVector<int>{401, 429, 401, 429}));
}

void TestServerLogin::clockThatWentWrong()
{
    const QByteArray address = newAddress();
    const QString name = QStringLiteral("early");
    const QString set = QStringLiteral("UPDATE login_attempts SET window_ends = ?");
    QVERIFY(fail(5, name, address));
    // The clock of another server is a little ahead.
    sql(set, {stored(QDateTime::currentDateTimeUtc().addSecs(960))});
    QCOMPARE(login(name, password, address).status, 429);
    // It was years ahead.
    sql(set, {QStringLiteral("2099-01-01T00:00:00.000Z")});
    QVERIFY(fail(5, name, address));
    QCOMPARE(login(name, password, address).status, 429);
    QVERIFY(sql(QStringLiteral("SELECT MIN(window_ends) FROM login_attempts")).toString() <=
            stored(QDateTime::currentDateTimeUtc().addSecs(900)));
}

void TestServerLogin::refusedCountsNowhere()
{
    Limits limits;
    limits.attempts = 1;
    LoginAttempts attempts(*m_database, limits);
    const QByteArray address = newAddress();
    const auto begin = [&](const QString& name, const QByteArray& peer) {
        return attempts.begin(LoginAttempts::Subject(name, peer));
    };
    for (int i = 0; i < 10; ++i)
        QCOMPARE(begin(QStringLiteral("guest %1").arg(i), address), 0);
    const QString sum = QStringLiteral("SELECT SUM(failures) FROM login_attempts");
    const QString rows = QStringLiteral("SELECT COUNT(*) FROM login_attempts");
    const int sumBefore = sql(sum).toInt();
    const int rowsBefore = sql(rows).toInt();
    QVERIFY(sumBefore >= 30);
    // Refused for the address, and for the pair.
    QVERIFY(begin(QStringLiteral("late guest"), address) > 0);
    QVERIFY(begin(QStringLiteral("guest 0"), address) > 0);
    QCOMPARE(sql(sum).toInt(), sumBefore);
    QCOMPARE(sql(rows).toInt(), rowsBefore);
    for (int i = 0; i < 20; ++i)
        QCOMPARE(begin(QStringLiteral("late guest"), newAddress()), 0);
    // Refused for the account.
    const int rowsOfAll = sql(rows).toInt();
    QVERIFY(begin(QStringLiteral("late guest"), newAddress()) > 0);
    QCOMPARE(sql(rows).toInt(), rowsOfAll);
}

void TestServerLogin::countsExactlyAtOnce()
{
    QString error;
    const std::unique_ptr<Database> second = Database::open(m_place->location(), error);
    QVERIFY2(second, qPrintable(error));
    sql(QStringLiteral("DELETE FROM login_attempts"));
    Limits limits;
    limits.attempts = 30;
    LoginAttempts one(*m_database, limits);
    LoginAttempts two(*second, limits);
    const LoginAttempts::Subject subject(QStringLiteral("hunted"), "10.9.9.9");
    std::atomic<int> admitted{0};
    std::atomic<int> refused{0};
    std::atomic<int> failed{0};
    std::vector<std::thread> running;
    for (int t = 0; t < 8; ++t) {
        running.emplace_back([&, t] {
            LoginAttempts& attempts = t % 2 == 0 ? one : two;
            for (int i = 0; i < 10; ++i) {
                try {
                    ++(attempts.begin(subject) == 0 ? admitted : refused);
                } catch (const std::exception& failure) {
                    qWarning("%s", failure.what());
                    ++failed;
                }
            }
        });
    }
    for (std::thread& thread : running)
        thread.join();
    QCOMPARE(failed.load(), 0);
    QCOMPARE(admitted.load(), 30);
    QCOMPARE(refused.load(), 50);
    // What was refused counts nowhere.
    QCOMPARE(sql(QStringLiteral("SELECT COUNT(*) FROM login_attempts")).toInt(), 3);
    QCOMPARE(sql(QStringLiteral("SELECT MIN(failures) FROM login_attempts")).toInt(), 30);
    QCOMPARE(sql(QStringLiteral("SELECT MAX(failures) FROM login_attempts")).toInt(), 30);
    QVERIFY(two.secondsToWait(subject) > 0);
    one.succeeded(subject);
    QCOMPARE(two.secondsToWait(subject), 0);
    QCOMPARE(sql(QStringLiteral("SELECT COUNT(*) FROM login_attempts")).toInt(), 2);
    QCOMPARE(sql(QStringLiteral("SELECT MAX(failures) FROM login_attempts")).toInt(), 29);
}

void TestServerLogin::removesOldRows()
{
    const QString count = QStringLiteral("SELECT COUNT(*) FROM login_attempts WHERE kind = 'old'");
    const QString insert =
        QStringLiteral("INSERT INTO login_attempts (kind, subject, failures, window_ends) VALUES ('old', ?, 1, ?)");
    const QDateTime now = QDateTime::currentDateTimeUtc();
    sql(insert, {QStringLiteral("ended"), stored(now.addSecs(-1))});
    sql(insert, {QStringLiteral("under way"), stored(now.addSecs(600))});
    sql(insert, {QStringLiteral("of a wrong clock"), stored(now.addDays(400))});
    QCOMPARE(sql(count).toInt(), 3);
    restart(Limits());
    QVERIFY(fail(1, QStringLiteral("cleaner"), newAddress()));
    QCOMPARE(sql(count).toInt(), 1);
    QCOMPARE(sql(QStringLiteral("SELECT subject FROM login_attempts WHERE kind = 'old'")).toString(),
             QStringLiteral("under way"));

    // And once more after a window, without another start.
    Limits limits;
    limits.windowSeconds = 1;
    restart(limits);
    const QByteArray address = newAddress();
    const auto left = [&] {
        login(QStringLiteral("cleaner"), QStringLiteral("wrong"), address);
        return sql(count).toInt();
    };
    QCOMPARE(left(), 0);
    sql(insert, {QStringLiteral("ended"), stored(now.addSecs(-1))});
    QTRY_COMPARE_WITH_TIMEOUT(left(), 0, patience);
}

void TestServerLogin::passwordChangeCounts()
{
    const QString name = newPractitioner();
    const QByteArray address = newAddress();
    const QString session = token(name, address);
    const QString better = QStringLiteral("better");
    const auto change = [&](const QString& old, const QString& wanted, const QByteArray& peer) {
        return m_api->handle(passwordRequest(session, old, wanted, peer));
    };
    // What is refused without a look at the old password does not count.
    for (int i = 0; i < 6; ++i)
        QCOMPARE(change(password, QString(), address).status, 400);
    for (int i = 0; i < 5; ++i) {
        const Reply reply = change(QStringLiteral("wrong"), better, address);
        QCOMPARE(reply.status, 400);
        QCOMPARE(textOf(reply.body, "message"), QStringLiteral("The old password is wrong."));
    }
    const quint64 before = Secrets::hashings();
    const Reply refused = change(password, better, address);
    QCOMPARE(refused.status, 429);
    QVERIFY(textOf(refused.body, "message").contains(QStringLiteral("15 min")));
    QVERIFY(header(refused, "Retry-After").toInt() > 0);
    QCOMPARE(login(name, password, address).status, 429);
    QCOMPARE(Secrets::hashings(), before);
    // The session itself goes on.
    QCOMPARE(m_api->handle(withToken("GET", "/patient", session, address)).status, 200);

    const Reply changed = change(password, better, newAddress());
    QCOMPARE(changed.status, 200);
    QVERIFY(!textOf(changed.body, "accessToken").isEmpty());
    QCOMPARE(login(name, better, newAddress()).status, 200);
}

void TestServerLogin::answersAndWorkAreEqual()
{
    const QString known = newPractitioner();
    const QString composed = newPractitioner(QStringLiteral("Andr\u00e9"));
    const QVector<QPair<QString, QString>> attempts{
        {known, QStringLiteral("wrong")},
        {QStringLiteral("stranger"), QStringLiteral("wrong")},
        {known, QString()},
        {QStringLiteral("stranger"), QString()},
        {known, password.toUpper()},
        {known, QString(3000, QLatin1Char('p'))},
        {QStringLiteral("stranger"), QString(3000, QLatin1Char('p'))},
        {known, password + QChar(QChar::Null)},
        {QString(), password},
        {composed, QStringLiteral("wrong")},
        {QStringLiteral("Andre\u0301"), QStringLiteral("wrong")},
        {known + QChar(QChar::Null), password},
        {known + QChar(QChar::Null) + QStringLiteral("x"), password},
        {QString(known).insert(2, QLatin1Char('\n')), password},
        {QString(7000, QLatin1Char('n')), password},
        {QString(201, QLatin1Char('n')), password},
        {QString(200, QLatin1Char('n')), password},
        {QStringLiteral("' OR name <> '"), password},
        {QStringLiteral("%"), password},
    };
    QVERIFY(fail(1, QStringLiteral("first"), newAddress()));
    quint64 first = 0;
    for (int i = 0; i < attempts.size(); ++i) {
        const QByteArray address = newAddress();
        const quint64 hashings = Secrets::hashings();
        const quint64 statements = m_database->statements();
        const Reply reply = login(attempts.at(i).first, attempts.at(i).second, address);
        const quint64 hashed = Secrets::hashings() - hashings;
        const quint64 run = m_database->statements() - statements;
        QVERIFY2(reply.status == 401, qPrintable(QString::number(i)));
        QCOMPARE(reply.contentType, QByteArray("application/json"));
        QCOMPARE(reply.body, QByteArray("{\"message\":\"The user name or the password is wrong.\"}"));
        QVERIFY(reply.headers.isEmpty());
        QVERIFY2(hashed == 1, qPrintable(QStringLiteral("%1: %2").arg(i).arg(hashed)));
        if (i == 0)
            first = run;
        QVERIFY2(run == first && run > 0, qPrintable(QStringLiteral("%1: %2, not %3").arg(i).arg(run).arg(first)));
    }
}

void TestServerLogin::limitedNamesAreEqual()
{
    const QString known = newPractitioner();
    const QByteArray address = newAddress();
    const QStringList names{known, QStringLiteral("not there"), known + QChar(QChar::Null),
                            QString(7000, QLatin1Char('l'))};
    for (const QString& name : names)
        QVERIFY(fail(5, name, address));
    const QString end = stored(QDateTime::currentDateTimeUtc().addSecs(600));
    sql(QStringLiteral("UPDATE login_attempts SET window_ends = ?"), {end});
    QByteArray first;
    quint64 work = 0;
    for (const QString& name : names) {
        for (const QString& typed : {password, QStringLiteral("wrong")}) {
            const quint64 hashings = Secrets::hashings();
            const quint64 statements = m_database->statements();
            const Reply reply = login(name, typed, address);
            QCOMPARE(reply.status, 429);
            QCOMPARE(Secrets::hashings(), hashings);
            QCOMPARE(reply.headers.size(), 1);
            if (first.isEmpty()) {
                first = reply.body;
                work = m_database->statements() - statements;
            }
            QCOMPARE(reply.body, first);
            QCOMPARE(m_database->statements() - statements, work);
        }
    }
}

void TestServerLogin::refusesLargeForms()
{
    Request request = loginRequest(QStringLiteral("n"), QStringLiteral("p"), newAddress());
    for (const char* type : {"application/x-www-form-urlencoded", "application/json", ""}) {
        request.headers.insert("content-type", type);
        request.body = "username=a&password=b&" + QByteArray(8 * 1024, '&');
        const Reply refused = m_api->handle(request);
        QCOMPARE(refused.status, 413);
        QVERIFY(!textOf(refused.body, "message").isEmpty());
        request.body.truncate(8 * 1024);
        QCOMPARE(m_api->handle(request).status, 401);
    }
    // Of two names or passwords the first is meant.
    const QString name = newPractitioner();
    request.body = formOf(name, password) + formOf(QStringLiteral("x"), QStringLiteral("y"));
    QCOMPARE(m_api->handle(request).status, 200);
    request.body = formOf(QStringLiteral("x"), QStringLiteral("y")) + formOf(name, password);
    QCOMPARE(m_api->handle(request).status, 401);
}

void TestServerLogin::queueKeepsItsOrder()
{
    HashingQueue queue;
    std::vector<HashingQueue::Turn> turns;
    for (int i = 0; i < HashingQueue::atOnce; ++i)
        turns.push_back(queue.take());
    for (const HashingQueue::Turn& turn : turns)
        QVERIFY(turn);
    std::vector<int> order;
    std::mutex mutex;
    std::vector<std::thread> waiting;
    const auto come = [&](int number) {
        waiting.emplace_back([&, number] {
            const HashingQueue::Turn turn = queue.take();
            const std::lock_guard<std::mutex> lock(mutex);
            order.push_back(turn ? number : -1);
        });
    };
    for (int i = 0; i < HashingQueue::maxWaiting; ++i) {
        come(i);
        while (queue.waiting() <= i)
            std::this_thread::yield();
    }
    come(HashingQueue::maxWaiting);
    const bool refused = QTest::qWaitFor(
        [&] {
            const std::lock_guard<std::mutex> lock(mutex);
            return !order.empty();
        },
        patience);
    turns.pop_back();
    for (std::thread& thread : waiting)
        thread.join();
    QVERIFY(refused);
    QCOMPARE(order.front(), -1);
    for (int i = 0; i < HashingQueue::maxWaiting; ++i)
        QCOMPARE(order.at(size_t(i) + 1), i);
    QCOMPARE(queue.waiting(), 0);
    turns.push_back(queue.take());
    QVERIFY(turns.back());
}

void TestServerLogin::floodHoldsNoThreads()
{
    constexpr int logins = 40;
    const QString name = newPractitioner();
    const QString session = token(name, newAddress());
    QVERIFY(!session.isEmpty());
    std::vector<HashingQueue::Turn> turns;
    for (int i = 0; i < HashingQueue::atOnce; ++i)
        turns.push_back(HashingQueue::ofProcess().take());
    QVector<QByteArray> addresses;
    for (int i = 0; i < logins; ++i)
        addresses.append(newAddress());
    std::atomic<int> busy{0};
    std::atomic<int> in{0};
    std::atomic<int> odd{0};
    std::vector<std::thread> flood;
    for (int i = 0; i < logins; ++i) {
        flood.emplace_back([&, i] {
            const Reply reply = login(name, password, addresses.at(i));
            const bool told = header(reply, "Retry-After") == "2" &&
                              textOf(reply.body, "message").startsWith(QLatin1String("Too many users are logging in"));
            ++(reply.status == 200 ? in : reply.status == 503 && told ? busy : odd);
        });
    }
    // None of those who wait gets a turn: the others are answered nevertheless, and so is everything else.
    const bool answered = QTest::qWaitFor([&] { return busy == logins - HashingQueue::maxWaiting; }, patience);
    const int stillIn = in;
    const int stillWaiting = HashingQueue::ofProcess().waiting();
    const int patients = m_api->handle(withToken("GET", "/patient", session, addresses.first())).status;
    const int another = answered ? login(name, password, addresses.first()).status : 0;
    turns.clear();
    for (std::thread& thread : flood)
        thread.join();
    QVERIFY(answered);
    QCOMPARE(patients, 200);
    QCOMPARE(another, 503);
    QCOMPARE(stillWaiting, HashingQueue::maxWaiting);
    QCOMPARE(stillIn, 0);
    QCOMPARE(in.load(), HashingQueue::maxWaiting);
    QCOMPARE(odd.load(), 0);
    QCOMPARE(login(name, password, addresses.first()).status, 200);
}

void TestServerLogin::busyCountsNoFailure()
{
    const QString name = newPractitioner();
    const QByteArray address = newAddress();
    const QString session = token(name, address);
    QVERIFY(fail(5, QStringLiteral("limited"), address));
    HashingQueue& queue = HashingQueue::ofProcess();
    std::vector<HashingQueue::Turn> turns;
    for (int i = 0; i < HashingQueue::atOnce; ++i)
        turns.push_back(queue.take());
    std::vector<std::thread> waiting;
    for (int i = 0; i < HashingQueue::maxWaiting; ++i)
        waiting.emplace_back([&queue] { queue.take(); });
    while (queue.waiting() < HashingQueue::maxWaiting)
        std::this_thread::yield();
    QVector<int> statuses;
    for (int i = 0; i < 7; ++i)
        statuses.append(login(name, password, address).status);
    const int change = m_api->handle(passwordRequest(session, password, QStringLiteral("other"), address)).status;
    // Whose attempts are used up is told so in any case.
    const int limited = login(QStringLiteral("limited"), password, address).status;
    turns.clear();
    for (std::thread& thread : waiting)
        thread.join();
    QCOMPARE(statuses, QVector<int>(7, 503));
    QCOMPARE(change, 503);
    QCOMPARE(limited, 429);
    QVERIFY(fail(5, name, address));
}

void TestServerLogin::processesCountTogether()
{
    TestDatabase place;
    QVERIFY(ServerProcess::addPractitioner(place.location(), QStringLiteral("anna"), password));
    QVERIFY(ServerProcess::addPractitioner(place.location(), QStringLiteral("boris"), password));
    ServerProcess servers[2];
    for (ServerProcess& server : servers)
        QVERIFY(server.start(place.location(), {QStringLiteral("--login-attempts"), QStringLiteral("4"),
                                                QStringLiteral("--login-window"), QStringLiteral("3600")}));
    ApiClient one(servers[0].url());
    ApiClient two(servers[1].url());
    for (int round = 0; round < 2; ++round) {
        QVERIFY(one.login(QStringLiteral("anna"), QStringLiteral("wrong")).failed(401));
        QVERIFY(two.login(QStringLiteral("anna"), QStringLiteral("wrong")).failed(401));
    }
    for (ApiClient* client : {&one, &two}) {
        const ApiClient::Answer answer = client->login(QStringLiteral("anna"), password);
        QVERIFY(answer.failed(429));
        QVERIFY2(answer.message().contains(QStringLiteral(" 60 min ")), answer.body.constData());
        QCOMPARE(client->login(QStringLiteral("boris"), password).status, 200);
    }
    for (ServerProcess& server : servers) {
        QCOMPARE(server.stop(SIGTERM), 0);
        QCOMPARE(server.errors(), QByteArray());
    }
}

void TestServerLogin::guessesAtOnceOnTwoProcesses()
{
    TestDatabase place;
    QVERIFY(ServerProcess::addPractitioner(place.location(), QStringLiteral("anna"), password));
    ServerProcess servers[2];
    for (ServerProcess& server : servers)
        QVERIFY(server.start(place.location()));
    const quint16 ports[]{servers[0].port(), servers[1].port()};
    std::atomic<int> guesses{0};
    std::atomic<int> refused{0};
    std::atomic<int> odd{0};
    std::vector<std::thread> running;
    for (int t = 0; t < 8; ++t) {
        running.emplace_back([&, t] {
            for (int i = 0; i < 10; ++i) {
                const QByteArray answer = exchange(ports[t % 2], rawLogin(QStringLiteral("anna"), QString::number(i)));
                const int status = statusOf(answer);
                ++(status == 401 ? guesses : status == 429 || status == 503 ? refused : odd);
            }
        });
    }
    for (std::thread& thread : running)
        thread.join();
    QCOMPARE(odd.load(), 0);
    QCOMPARE(guesses.load(), 5);
    QCOMPARE(refused.load(), 75);
    for (ServerProcess& server : servers) {
        QCOMPARE(server.stop(SIGTERM), 0);
        QCOMPARE(server.errors(), QByteArray());
    }
}

void TestServerLogin::restartKeepsTheCounts()
{
    TestDatabase place;
    QVERIFY(ServerProcess::addPractitioner(place.location(), QStringLiteral("anna"), password));
    for (int round = 0; round < 5; ++round) {
        ServerProcess server;
        QVERIFY(server.start(place.location()));
        ApiClient client(server.url());
        QVERIFY(client.login(QStringLiteral("anna"), QStringLiteral("wrong")).failed(401));
        if (round % 2 == 0)
            server.kill();
        else
            QCOMPARE(server.stop(SIGTERM), 0);
    }
    ServerProcess server;
    QVERIFY(server.start(place.location()));
    QVERIFY(ApiClient(server.url()).login(QStringLiteral("anna"), password).failed(429));
    QCOMPARE(server.stop(SIGTERM), 0);
}

void TestServerLogin::answersOnTheWireAreEqual()
{
    TestDatabase place;
    QVERIFY(ServerProcess::addPractitioner(place.location(), QStringLiteral("anna"), password));
    ServerProcess server;
    QVERIFY(server.start(place.location()));
    const QStringList names{QStringLiteral("anna"), QStringLiteral("nobody"), QString::fromUtf8("anna\0", 5),
                            QString(7000, QLatin1Char('x')), QStringLiteral("A\u030a")};
    for (int round = 1; round <= 6; ++round) {
        const QByteArray first = exchange(server.port(), rawLogin(names.first(), QStringLiteral("wrong")));
        QCOMPARE(statusOf(first), round <= 5 ? 401 : 429);
        QVERIFY(!textOf(bodyOf(first), "message").isEmpty());
        QCOMPARE(headerOf(first, "Retry-After").toInt() > 0, round > 5);
        for (const QString& name : names.mid(1)) {
            const QByteArray other = exchange(server.port(), rawLogin(name, QStringLiteral("wrong")));
            QCOMPARE(comparable(other), comparable(first));
        }
    }
    // What is too long for a form is so for every name.
    QCOMPARE(statusOf(exchange(server.port(), rawLogin(QString(10000, QLatin1Char('x')), password))), 413);
    QCOMPARE(server.stop(SIGTERM), 0);
    QCOMPARE(server.errors(), QByteArray());
}

void TestServerLogin::floodOfAProcess()
{
    TestDatabase place;
    QVERIFY(ServerProcess::addPractitioner(place.location(), QStringLiteral("anna"), password));
    ServerProcess server;
    QVERIFY(server.start(place.location()));
    ApiClient client(server.url());
    QCOMPARE(client.login(QStringLiteral("anna"), password).status, 200);
    constexpr int logins = 40;
    const quint16 port = server.port();
    std::atomic<int> running{logins};
    std::atomic<int> guesses{0};
    std::atomic<int> busy{0};
    std::atomic<int> odd{0};
    std::vector<std::thread> flood;
    for (int i = 0; i < logins; ++i) {
        flood.emplace_back([&, i] {
            const QByteArray answer =
                exchange(port, rawLogin(QStringLiteral("guest%1").arg(i), QStringLiteral("wrong")));
            const bool told = headerOf(answer, "Retry-After") == "2" && !textOf(bodyOf(answer), "message").isEmpty();
            ++(statusOf(answer) == 401 ? guesses : statusOf(answer) == 503 && told ? busy : odd);
            --running;
        });
    }
    int served = 0;
    int notServed = 0;
    do
        ++(client.get(QStringLiteral("/patient")).status == 200 ? served : notServed);
    while (running > 0);
    for (std::thread& thread : flood)
        thread.join();
    QCOMPARE(odd.load(), 0);
    QCOMPARE(guesses + busy, logins);
    QVERIFY(guesses >= HashingQueue::atOnce);
    QCOMPARE(notServed, 0);
    QVERIFY(served > 0);
    QCOMPARE(server.stop(SIGTERM), 0);
    QCOMPARE(server.errors(), QByteArray());
}

void TestServerLogin::keepsNoSecrets()
{
    const QString typed = QStringLiteral("Typed-For-A-Name-77");
    const QString wrong = QStringLiteral("Wrong-Password-Of-Old-88");
    TestDatabase place;
    QVERIFY(ServerProcess::addPractitioner(place.location(), QStringLiteral("Practitioner-Annabella"), password));
    ServerProcess server;
    QVERIFY(server.start(place.location()));
    ApiClient client(server.url());
    QVERIFY(client.login(typed, password).failed(401));
    QVERIFY(client.login(QStringLiteral("Practitioner-Annabella"), wrong).failed(401));
    QCOMPARE(client.login(QStringLiteral("Practitioner-Annabella"), password).status, 200);
    const QByteArray first = client.token;
    const QJsonObject change{{QStringLiteral("oldPassword"), password},
                             {QStringLiteral("newPassword"), wrong},
                             {QStringLiteral("repeatPassword"), wrong}};
    const ApiClient::Answer changed = client.post(QStringLiteral("/auth/password"), change);
    QCOMPARE(changed.status, 200);
    const QByteArray second = textOf(changed.body, "accessToken").toUtf8();
    QVERIFY(first.size() >= 43 && second.size() >= 43);

    QVector<QByteArray> secrets{typed.toUtf8(), wrong.toUtf8(), password.toUtf8(), "127.0.0.1"};
    for (const QByteArray& secret : {first, second}) {
        const QByteArray bits = QByteArray::fromBase64(secret, QByteArray::Base64UrlEncoding);
        secrets << secret << bits << bits.toHex() << bits.toBase64();
    }
    for (int i = secrets.size() - 1; i >= 0; --i)
        secrets << secrets.at(i).toHex();

    QByteArray all;
    const QString connectionName = QStringLiteral("secrets");
    QVERIFY(place.connect(connectionName));
    {
        const QSqlDatabase connection = QSqlDatabase::database(connectionName);
        const QStringList tables = connection.tables();
        QVERIFY(tables.contains(QStringLiteral("sessions")) && tables.contains(QStringLiteral("login_attempts")));
        for (const QString& table : tables) {
            QSqlQuery query(connection);
            QVERIFY2(query.exec(QStringLiteral("SELECT * FROM ") + table), qPrintable(table));
            while (query.next()) {
                for (int i = 0; i < query.record().count(); ++i)
                    all += query.value(i).toByteArray() + '\n';
            }
        }
    }
    QVERIFY(all.contains("Practitioner-Annabella"));
    QVERIFY(all.contains(Secrets::tokenHash(QString::fromLatin1(second)).toLatin1()));
    QVERIFY(all.contains("$argon2id$"));
    if (!TestDatabase::isPostgres()) {
        // What is still in the file though no table has it.
        const QFileInfo file(place.location());
        const QFileInfoList files = file.dir().entryInfoList({file.fileName() + QLatin1Char('*')}, QDir::Files);
        QVERIFY(!files.isEmpty());
        QByteArray bytes;
        for (const QFileInfo& part : files) {
            QFile opened(part.filePath());
            QVERIFY(opened.open(QIODevice::ReadOnly));
            bytes += opened.readAll();
        }
        QVERIFY(bytes.contains("Practitioner-Annabella"));
        QVERIFY(bytes.contains(Secrets::tokenHash(QString::fromLatin1(first)).toLatin1()));
        all += bytes;
    }
    for (const QByteArray& secret : secrets)
        QVERIFY2(!all.contains(secret), secret.constData());
    QCOMPARE(server.stop(SIGTERM), 0);
    for (const QByteArray& told : {server.output(), server.errors()}) {
        for (const QByteArray& secret : secrets.mid(0, 3) + QVector<QByteArray>{first, second})
            QVERIFY2(!told.contains(secret), told.constData());
    }
}

void TestServerLogin::tokensAreLongAndDiffer()
{
    const QString name = newPractitioner();
    QStringList tokens;
    for (int i = 0; i < 8; ++i) {
        const QString given = token(name, newAddress());
        QCOMPARE(given.size(), 43);
        QCOMPARE(QByteArray::fromBase64(given.toLatin1(), QByteArray::Base64UrlEncoding).size(), 32);
        QVERIFY(!tokens.contains(given));
        tokens.append(given);
    }
    // Of 256 random bits two are the same in all eight, on average.
    int constant = 0;
    for (int bit = 0; bit < 256; ++bit) {
        int ones = 0;
        for (const QString& given : tokens) {
            const QByteArray bytes = QByteArray::fromBase64(given.toLatin1(), QByteArray::Base64UrlEncoding);
            ones += (uchar(bytes.at(bit / 8)) >> (bit % 8)) & 1;
        }
        constant += ones == 0 || ones == tokens.size() ? 1 : 0;
    }
    QVERIFY2(constant < 20, qPrintable(QString::number(constant)));
}

void TestServerLogin::tellsAndObeysTheExpiry()
{
    const QString name = newPractitioner();
    const QByteArray address = newAddress();
    m_api = std::make_unique<Api>(*m_database, 3);
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const Reply reply = login(name, password, address);
    const QDateTime after = QDateTime::currentDateTimeUtc();
    const QString session = textOf(reply.body, "accessToken");
    const QVariantList hash{Secrets::tokenHash(session)};
    const QString kept = sql(QStringLiteral("SELECT expires_at FROM sessions WHERE token_hash = ?"), hash).toString();
    QVERIFY(kept >= stored(before.addSecs(3 * 3600)) && kept <= stored(after.addSecs(3 * 3600)));
    const QDateTime told = QDateTime::fromString(textOf(reply.body, "expiredAt"), Qt::ISODate);
    QVERIFY(told.isValid());
    QCOMPARE(told.toSecsSinceEpoch(), QDateTime::fromString(kept, Qt::ISODateWithMs).toSecsSinceEpoch());

    const Request request = withToken("GET", "/patient", session, address);
    QCOMPARE(m_api->handle(request).status, 200);
    const QString set = QStringLiteral("UPDATE sessions SET expires_at = ? WHERE token_hash = ?");
    sql(set, QVariantList{stored(QDateTime::currentDateTimeUtc().addSecs(60))} + hash);
    QCOMPARE(m_api->handle(request).status, 200);
    sql(set, QVariantList{stored(QDateTime::currentDateTimeUtc())} + hash);
    const Reply expired = m_api->handle(request);
    QCOMPARE(expired.status, 401);
    QVERIFY(textOf(expired.body, "message").startsWith(QLatin1String("Your session has expired")));
    QCOMPARE(m_api->handle(passwordRequest(session, password, QStringLiteral("new"), address)).status, 401);
    QCOMPARE(login(name, password, address).status, 200);
}

void TestServerLogin::removesOldSessions()
{
    const QString name = newPractitioner();
    const QByteArray address = newAddress();
    const QString old = token(name, address);
    const QString recent = token(name, address);
    const QString set = QStringLiteral("UPDATE sessions SET expires_at = ? WHERE token_hash = ?");
    const QDateTime now = QDateTime::currentDateTimeUtc();
    sql(set, {stored(now.addDays(-1).addSecs(-1)), Secrets::tokenHash(old)});
    sql(set, {stored(now.addDays(-1).addSecs(3600)), Secrets::tokenHash(recent)});
    QCOMPARE(login(newPractitioner(), password, address).status, 200);
    const QString count = QStringLiteral("SELECT COUNT(*) FROM sessions WHERE token_hash = ?");
    QCOMPARE(sql(count, {Secrets::tokenHash(old)}).toInt(), 0);
    QCOMPARE(sql(count, {Secrets::tokenHash(recent)}).toInt(), 1);
}

void TestServerLogin::renewsOutdatedHashes()
{
    const QString name = newPractitioner();
    const QByteArray address = newAddress();
    const QByteArray text = password.toUtf8();
    char weak[crypto_pwhash_STRBYTES];
    QCOMPARE(crypto_pwhash_str_alg(weak, text.constData(), size_t(text.size()), crypto_pwhash_OPSLIMIT_MIN,
                                   crypto_pwhash_MEMLIMIT_MIN, crypto_pwhash_ALG_ARGON2ID13),
             0);
    const QString kept = QStringLiteral("SELECT password_hash FROM practitioners WHERE name = ?");
    const QString today = sql(kept, {name}).toString();
    const QString parameters = QStringLiteral("$argon2id$v=19$m=65536,t=2,p=1$");
    QVERIFY2(today.startsWith(parameters), qPrintable(today));
    QVERIFY(!Secrets::isOutdated(today));
    QVERIFY(Secrets::isOutdated(QString::fromLatin1(weak)));
    sql(QStringLiteral("UPDATE practitioners SET password_hash = ? WHERE name = ?"), {QString::fromLatin1(weak), name});

    QVERIFY(fail(1, name, address));
    QCOMPARE(sql(kept, {name}).toString(), QString::fromLatin1(weak));
    const QString session = token(name, address);
    QVERIFY(!session.isEmpty());
    const QString renewed = sql(kept, {name}).toString();
    QVERIFY2(renewed.startsWith(parameters) && renewed != today, qPrintable(renewed));
    // It is of the same password, ends no session, and is not renewed again.
    QVERIFY(fail(1, name, address));
    QVERIFY(!token(name, address).isEmpty());
    QCOMPARE(sql(kept, {name}).toString(), renewed);
    QCOMPARE(m_api->handle(withToken("GET", "/patient", session, address)).status, 200);
}

QTEST_GUILESS_MAIN(TestServerLogin)

#include "TestServerLogin.moc"
