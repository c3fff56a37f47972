// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/ApiClient.h"
#include "tests/server/ServerProcess.h"
#include "tests/server/TestDatabase.h"

#include <QFile>
#include <QJsonDocument>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>
#include <thread>
#include <vector>

namespace {

const QByteArray json = "application/json";
const QString passwordPath = QStringLiteral("/auth/password");
const QString localePath = QStringLiteral("/auth/locale");
const QString patientsPath = QStringLiteral("/patient");

QJsonObject passwords(const QString& oldPassword, const QString& newPassword, const QString& repeated)
{
    return {{QStringLiteral("oldPassword"), oldPassword},
            {QStringLiteral("newPassword"), newPassword},
            {QStringLiteral("repeatPassword"), repeated}};
}

QJsonObject locale(const QString& language, const QString& country)
{
    return {{QStringLiteral("locale"), language}, {QStringLiteral("country"), country}};
}

QString textOf(const ApiClient::Answer& answer, const char* key)
{
    return answer.object().value(QLatin1String(key)).toString();
}

} // namespace

/// What a practitioner does with an account: passwords and the sessions they end, the language, and the question for a
/// newer version.
class TestServerAccounts : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void needsASession_data();
    void needsASession();

    void changesThePassword();
    void changeEndsTheOtherSessionsOfThisAccount();
    void newTokenLastsAsLongAsTheOldOne();
    void passwordsOfEveryKind_data();
    void passwordsOfEveryKind();
    void changeRefuses_data();
    void changeRefuses();
    void changeRefusesOtherBodies_data();
    void changeRefusesOtherBodies();
    void refusedChangeLeavesAllAsItWas();
    void ofTwoChangesAtOnceOneHolds();

    void setsAPasswordOnTheCommandLine();
    void setTakesAPasswordFile();
    void setRefuses_data();
    void setRefuses();

    void changesTheLocale_data();
    void changesTheLocale();
    void localeIsOfOnePractitioner();
    void messagesFollowTheLocale();
    void localeRefuses_data();
    void localeRefuses();

    void tellsUpdates_data();
    void tellsUpdates();
    void updatesRefuses_data();
    void updatesRefuses();

    void survivesARestart();

private:
    std::unique_ptr<ApiClient> login(const QString& password);
    QStringList command(const QStringList& arguments) const;
    QVariant sql(const QString& statement);

    QTemporaryDir m_folder;
    std::unique_ptr<TestDatabase> m_database;
    QString m_path;
    ServerProcess m_server;
    int m_practitioners = 0;
    QString m_name; ///< of the practitioner of this test
    std::unique_ptr<ApiClient> m_client;
    QByteArray m_token;
    QByteArray m_function;
};

void TestServerAccounts::initTestCase()
{
    m_database = std::make_unique<TestDatabase>();
    m_path = m_database->location();
    // Wrong passwords are looked at here more often than it would be granted.
    QVERIFY(m_server.start(m_path, {QStringLiteral("--login-attempts"), QStringLiteral("1000")}));
    QVERIFY(m_database->connect());
}

void TestServerAccounts::init()
{
    // Hashing passwords takes its time: rows that leave the session as it was share a practitioner.
    const QByteArray function = QTest::currentTestFunction();
    if (m_client && function == m_function) {
        m_client->token = m_token;
        m_client->language = "en-US";
        if (m_client->get(patientsPath).status == 200)
            return;
    }
    m_function = function;
    m_name = QStringLiteral("practitioner%1").arg(++m_practitioners);
    QVERIFY(ServerProcess::addPractitioner(m_path, m_name, QStringLiteral("secret")));
    m_client = login(QStringLiteral("secret"));
    QVERIFY(m_client);
    m_token = m_client->token;
}

void TestServerAccounts::cleanup()
{
    QCOMPARE(m_server.errors(), QByteArray());
}

void TestServerAccounts::cleanupTestCase()
{
    m_client.reset();
    QCOMPARE(m_server.stop(SIGTERM), 0);
    m_database.reset();
}

std::unique_ptr<ApiClient> TestServerAccounts::login(const QString& password)
{
    auto client = std::make_unique<ApiClient>(m_server.url());
    if (client->login(m_name, password).status != 200)
        return nullptr;
    return client;
}

QStringList TestServerAccounts::command(const QStringList& arguments) const
{
    return QStringList{QStringLiteral("--database"), m_path, QStringLiteral("practitioner")} + arguments;
}

QVariant TestServerAccounts::sql(const QString& statement)
{
    QSqlQuery query;
    if (!query.exec(statement))
        return QVariant();
    return query.next() ? query.value(0) : QVariant(0);
}

void TestServerAccounts::needsASession_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QString>("path");
    QTest::newRow("password") << QByteArray("POST") << passwordPath;
    QTest::newRow("locale") << QByteArray("PUT") << localePath;
    QTest::newRow("updates") << QByteArray("GET") << QStringLiteral("/auth/updates/?version=2021.3.0");
}

void TestServerAccounts::needsASession()
{
    QFETCH(QByteArray, method);
    QFETCH(QString, path);
    for (const QByteArray& token : {QByteArray(), QByteArray("x"), m_client->token + 'A'}) {
        m_client->token = token;
        QVERIFY2(m_client->send(method, path, "{}", json).failed(401), token.constData());
    }
}

void TestServerAccounts::changesThePassword()
{
    const QByteArray before = m_client->token;
    const ApiClient::Answer answer = m_client->post(
        passwordPath, passwords(QStringLiteral("secret"), QStringLiteral("better"), QStringLiteral("better")));
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.contentType, json);
    const QByteArray token = textOf(answer, "accessToken").toUtf8();
    QVERIFY(token.size() >= 43);
    QVERIFY(token != before);

    QVERIFY2(m_client->get(patientsPath).failed(401), "the old token went on");
    m_client->token = token;
    QCOMPARE(m_client->get(patientsPath).status, 200);
    QVERIFY(!login(QStringLiteral("secret")));
    QVERIFY(login(QStringLiteral("better")));

    // And once more with the new ones.
    const ApiClient::Answer again = m_client->post(
        passwordPath, passwords(QStringLiteral("better"), QStringLiteral("secret"), QStringLiteral("secret")));
    QCOMPARE(again.status, 200);
    QVERIFY(login(QStringLiteral("secret")));
}

void TestServerAccounts::changeEndsTheOtherSessionsOfThisAccount()
{
    const auto second = login(QStringLiteral("secret"));
    const auto third = login(QStringLiteral("secret"));
    QVERIFY(second && third);
    const QString stranger = QStringLiteral("stranger%1").arg(m_practitioners);
    QVERIFY(ServerProcess::addPractitioner(m_path, stranger, QStringLiteral("secret")));
    ApiClient other(m_server.url());
    QCOMPARE(other.login(stranger, QStringLiteral("secret")).status, 200);

    const ApiClient::Answer answer = second->post(
        passwordPath, passwords(QStringLiteral("secret"), QStringLiteral("better"), QStringLiteral("better")));
    QCOMPARE(answer.status, 200);
    QVERIFY(m_client->get(patientsPath).failed(401));
    QVERIFY(second->get(patientsPath).failed(401));
    QVERIFY(third->get(patientsPath).failed(401));
    QCOMPARE(other.get(patientsPath).status, 200);
    second->token = textOf(answer, "accessToken").toUtf8();
    QCOMPARE(second->get(patientsPath).status, 200);
}

void TestServerAccounts::newTokenLastsAsLongAsTheOldOne()
{
    // The client goes on showing the end that it was told at the login.
    const QString sessions = QStringLiteral("SELECT %1 FROM sessions WHERE practitioner_id = "
                                            "(SELECT id FROM practitioners WHERE name = '%2')");
    const QString before = sql(sessions.arg(QStringLiteral("expires_at"), m_name)).toString();
    QVERIFY(!before.isEmpty());
    QCOMPARE(m_client
                 ->post(passwordPath,
                        passwords(QStringLiteral("secret"), QStringLiteral("better"), QStringLiteral("better")))
                 .status,
             200);
    QCOMPARE(sql(sessions.arg(QStringLiteral("COUNT(*)"), m_name)).toInt(), 1);
    QCOMPARE(sql(sessions.arg(QStringLiteral("expires_at"), m_name)).toString(), before);
}

void TestServerAccounts::passwordsOfEveryKind_data()
{
    QTest::addColumn<QString>("password");
    QTest::newRow("one character") << "a";
    QTest::newRow("the longest") << QString(200, QLatin1Char('x'));
    QTest::newRow("the longest of many bytes") << QString(200, QChar(0x044F));
    QTest::newRow("cyrillic") << QStringLiteral("пароль");
    QTest::newRow("signs") << QStringLiteral(" &=+%20\"'\\;-- ");
    QTest::newRow("beyond the first plane") << QString::fromUcs4(U"\U0001F511\U0001F512");
    QTest::newRow("byte order mark") << QStringLiteral(u"\uFEFFsecret");
    QTest::newRow("the same again") << "secret";
}

void TestServerAccounts::passwordsOfEveryKind()
{
    QFETCH(QString, password);
    QCOMPARE(m_client->post(passwordPath, passwords(QStringLiteral("secret"), password, password)).status, 200);
    QVERIFY(login(password));
    QVERIFY(!login(password + QLatin1Char(' ')));
}

void TestServerAccounts::changeRefuses_data()
{
    QTest::addColumn<QString>("oldPassword");
    QTest::addColumn<QString>("newPassword");
    QTest::addColumn<QString>("repeated");
    QTest::addColumn<QString>("english");
    QTest::addColumn<QString>("russian");
    const QString wrong = QStringLiteral("The old password is wrong.");
    const QString wrongRussian = QStringLiteral("Старый пароль указан неверно.");
    const QString differ = QStringLiteral("The new password and its repetition differ.");
    const QString differRussian = QStringLiteral("Новый пароль и его повтор не совпадают.");
    const QString invalid = QStringLiteral("The new password must have 1 to 200 characters in one line.");
    const QString invalidRussian =
        QStringLiteral("Новый пароль должен состоять из одной строки длиной от 1 до 200 символов.");
    const QString longText(201, QLatin1Char('x'));
    QTest::newRow("wrong old one") << "Secret"
                                   << "better"
                                   << "better" << wrong << wrongRussian;
    QTest::newRow("empty old one") << ""
                                   << "better"
                                   << "better" << wrong << wrongRussian;
    QTest::newRow("endless old one") << QString(100000, QLatin1Char('s')) << "better"
                                     << "better" << wrong << wrongRussian;
    QTest::newRow("different") << "secret"
                               << "better"
                               << "Better" << differ << differRussian;
    QTest::newRow("different at the end") << "secret"
                                          << "better"
                                          << "better " << differ << differRussian;
    QTest::newRow("not repeated") << "secret"
                                  << "better"
                                  << "" << differ << differRussian;
    QTest::newRow("empty") << "secret"
                           << ""
                           << "" << invalid << invalidRussian;
    QTest::newRow("long") << "secret" << longText << longText << invalid << invalidRussian;
    QTest::newRow("two lines") << "secret"
                               << "a\nb"
                               << "a\nb" << invalid << invalidRussian;
    const QString zero = QString::fromLatin1("a\0b", 3);
    QTest::newRow("zero character") << "secret" << zero << zero << invalid << invalidRussian;
}

void TestServerAccounts::changeRefuses()
{
    QFETCH(QString, oldPassword);
    QFETCH(QString, newPassword);
    QFETCH(QString, repeated);
    const QJsonObject body = passwords(oldPassword, newPassword, repeated);
    const ApiClient::Answer english = m_client->post(passwordPath, body);
    QVERIFY(english.failed(400));
    QTEST(english.message(), "english");
    m_client->language = "ru-RU";
    const ApiClient::Answer russian = m_client->post(passwordPath, body);
    QVERIFY(russian.failed(400));
    QTEST(russian.message(), "russian");
    QVERIFY(!russian.object().contains(QStringLiteral("accessToken")));
}

void TestServerAccounts::changeRefusesOtherBodies_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("no JSON") << QByteArray("oldPassword=secret");
    QTest::newRow("an array") << QByteArray("[]");
    QTest::newRow("nothing in it") << QByteArray("{}");
    QTest::newRow("no old one") << QByteArray(R"({"newPassword":"a","repeatPassword":"a"})");
    QTest::newRow("no new one") << QByteArray(R"({"oldPassword":"secret","repeatPassword":"a"})");
    QTest::newRow("no repetition") << QByteArray(R"({"oldPassword":"secret","newPassword":"a"})");
    QTest::newRow("null") << QByteArray(R"({"oldPassword":"secret","newPassword":null,"repeatPassword":null})");
    QTest::newRow("number") << QByteArray(R"({"oldPassword":"secret","newPassword":1,"repeatPassword":1})");
    QTest::newRow("half a surrogate pair")
        << QByteArray(R"({"oldPassword":"secret","newPassword":"\ud83d","repeatPassword":"\ud83d"})");
}

void TestServerAccounts::changeRefusesOtherBodies()
{
    QFETCH(QByteArray, body);
    QVERIFY(m_client->send("POST", passwordPath, body, json).failed(400));
    QCOMPARE(m_client->get(patientsPath).status, 200);
}

void TestServerAccounts::refusedChangeLeavesAllAsItWas()
{
    const auto second = login(QStringLiteral("secret"));
    QVERIFY(second);
    QVERIFY(
        m_client
            ->post(passwordPath, passwords(QStringLiteral("wrong"), QStringLiteral("better"), QStringLiteral("better")))
            .failed(400));
    QCOMPARE(m_client->get(patientsPath).status, 200);
    QCOMPARE(second->get(patientsPath).status, 200);
    QVERIFY(login(QStringLiteral("secret")));
    QVERIFY(!login(QStringLiteral("better")));
}

void TestServerAccounts::ofTwoChangesAtOnceOneHolds()
{
    const QByteArray token = m_client->token;
    const QString url = m_server.url();
    std::vector<ApiClient::Answer> answers(2);
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i)
        threads.emplace_back([&, i] {
            ApiClient client(url);
            client.token = token;
            const QString password = QStringLiteral("better%1").arg(i);
            answers[size_t(i)] = client.post(passwordPath, passwords(QStringLiteral("secret"), password, password));
        });
    for (std::thread& thread : threads)
        thread.join();
    int changed = 0;
    for (int i = 0; i < 2; ++i) {
        const ApiClient::Answer& answer = answers.at(size_t(i));
        if (answer.status == 200) {
            ++changed;
            m_client->token = textOf(answer, "accessToken").toUtf8();
            QCOMPARE(m_client->get(patientsPath).status, 200);
            QVERIFY(login(QStringLiteral("better%1").arg(i)));
        } else {
            // Too late for the password, or for the session.
            QVERIFY(answer.status == 400 || answer.status == 401);
            QVERIFY(!login(QStringLiteral("better%1").arg(i)));
        }
    }
    QCOMPARE(changed, 1);
}

void TestServerAccounts::setsAPasswordOnTheCommandLine()
{
    const auto second = login(QStringLiteral("secret"));
    QVERIFY(second);
    const auto outcome = ServerProcess::run(command({QStringLiteral("passwd"), m_name}), "better\nsecond line\n");
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.errors, QByteArray());
    QVERIFY(outcome.output.contains(m_name.toUtf8()));
    QVERIFY(!outcome.output.contains("better"));
    // The server runs meanwhile, and has not kept any session.
    QVERIFY(m_client->get(patientsPath).failed(401));
    QVERIFY(second->get(patientsPath).failed(401));
    QVERIFY(!login(QStringLiteral("secret")));
    QVERIFY(login(QStringLiteral("better")));
}

void TestServerAccounts::setTakesAPasswordFile()
{
    QFile file(m_folder.filePath(QStringLiteral("password")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("пароль \nsecond line\n");
    file.close();
    const auto outcome = ServerProcess::run(
        command({QStringLiteral("passwd"), m_name, QStringLiteral("--password-file"), file.fileName()}));
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY(login(QStringLiteral("пароль ")));
}

void TestServerAccounts::setRefuses_data()
{
    QTest::addColumn<QString>("name"); // empty: that of the practitioner
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("input");
    QTest::newRow("unknown name") << "nobody" << QStringList() << QByteArray("better\n");
    QTest::newRow("no password") << "" << QStringList() << QByteArray();
    QTest::newRow("empty password") << "" << QStringList() << QByteArray("\n");
    QTest::newRow("long password") << "" << QStringList() << QByteArray(201, 'x') + '\n';
    QTest::newRow("password that is no text") << "" << QStringList() << QByteArray("\xff\xfe\n");
    QTest::newRow("no password file") << ""
                                      << QStringList{QStringLiteral("--password-file"), QStringLiteral("/none/such")}
                                      << QByteArray("better\n");
}

void TestServerAccounts::setRefuses()
{
    QFETCH(QString, name);
    QFETCH(QStringList, options);
    QFETCH(QByteArray, input);
    const auto outcome = ServerProcess::run(
        command(QStringList{QStringLiteral("passwd"), name.isEmpty() ? m_name : name} + options), input);
    QCOMPARE(outcome.exitCode, 1);
    QCOMPARE(outcome.output, QByteArray());
    QVERIFY(outcome.errors.startsWith("quelmar-server: "));
    QCOMPARE(m_client->get(patientsPath).status, 200);
    QVERIFY(login(QStringLiteral("secret")));
}

void TestServerAccounts::changesTheLocale_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("country");
    QTest::newRow("russian") << "ru"
                             << "RU";
    QTest::newRow("english") << "en"
                             << "US";
    QTest::newRow("german") << "de"
                            << "DE";
    QTest::newRow("polish") << "pl"
                            << "PL";
}

void TestServerAccounts::changesTheLocale()
{
    QFETCH(QString, language);
    QFETCH(QString, country);
    const ApiClient::Answer answer = m_client->put(localePath, locale(language, country));
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.body, QByteArray("{}"));
    // The session goes on, and the next login tells of it.
    QCOMPARE(m_client->get(patientsPath).status, 200);
    ApiClient client(m_server.url());
    const ApiClient::Answer session = client.login(m_name, QStringLiteral("secret"));
    QCOMPARE(textOf(session, "language"), language);
    QCOMPARE(textOf(session, "country"), country);
    const auto list = ServerProcess::run(command({QStringLiteral("list")}));
    QVERIFY(list.output.contains(QStringLiteral("%1\t%2_%3\t").arg(m_name, language, country).toUtf8()));
}

void TestServerAccounts::localeIsOfOnePractitioner()
{
    const QString stranger = QStringLiteral("stranger%1").arg(m_practitioners);
    QVERIFY(ServerProcess::addPractitioner(m_path, stranger, QStringLiteral("secret")));
    QCOMPARE(m_client->put(localePath, locale(QStringLiteral("ru"), QStringLiteral("RU"))).status, 200);
    ApiClient other(m_server.url());
    QCOMPARE(textOf(other.login(stranger, QStringLiteral("secret")), "language"), QStringLiteral("en"));
}

void TestServerAccounts::messagesFollowTheLocale()
{
    const QString english = QStringLiteral("There is no such patient.");
    const QString russian = QStringLiteral("Такого пациента нет.");
    const auto message = [this](const QByteArray& language) {
        m_client->language = language;
        return m_client->get(QStringLiteral("/record/none")).message();
    };
    // A header that names neither language says nothing; without one Qt sends its own.
    QCOMPARE(message("fr-FR"), english);
    QCOMPARE(m_client->put(localePath, locale(QStringLiteral("ru"), QStringLiteral("RU"))).status, 200);
    QCOMPARE(message("fr-FR"), russian);
    QCOMPARE(message("-"), russian);
    QCOMPARE(message("en-US"), english);
    QCOMPARE(m_client->put(localePath, locale(QStringLiteral("de"), QStringLiteral("DE"))).status, 200);
    QCOMPARE(message("fr-FR"), english);
    QCOMPARE(message("ru-RU"), russian);
}

void TestServerAccounts::localeRefuses_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("nothing in it") << QByteArray("{}");
    QTest::newRow("no country") << QByteArray(R"({"locale":"ru"})");
    QTest::newRow("no language") << QByteArray(R"({"country":"RU"})");
    QTest::newRow("numbers") << QByteArray(R"({"locale":1,"country":2})");
    QTest::newRow("null") << QByteArray(R"({"locale":null,"country":null})");
    QTest::newRow("empty") << QByteArray(R"({"locale":"","country":""})");
    QTest::newRow("unknown language") << QByteArray(R"({"locale":"xx","country":"XX"})");
    QTest::newRow("country of another") << QByteArray(R"({"locale":"ru","country":"US"})");
    QTest::newRow("empty country") << QByteArray(R"({"locale":"ru","country":""})");
    QTest::newRow("upper case") << QByteArray(R"({"locale":"RU","country":"RU"})");
    QTest::newRow("lower case") << QByteArray(R"({"locale":"ru","country":"ru"})");
    QTest::newRow("all in one") << QByteArray(R"({"locale":"ru_RU","country":""})");
    QTest::newRow("split elsewhere") << QByteArray(R"({"locale":"","country":"ru_RU"})");
    QTest::newRow("blank") << QByteArray(R"({"locale":"ru ","country":"RU"})");
    QTest::newRow("long") << R"({"locale":")" + QByteArray(100000, 'r') + R"(","country":"RU"})";
}

void TestServerAccounts::localeRefuses()
{
    QFETCH(QByteArray, body);
    const ApiClient::Answer english = m_client->send("PUT", localePath, body, json);
    QVERIFY(english.failed(400));
    m_client->language = "ru-RU";
    const ApiClient::Answer russian = m_client->send("PUT", localePath, body, json);
    QVERIFY(russian.failed(400));
    QVERIFY(russian.message() != english.message());
    QCOMPARE(sql(QStringLiteral("SELECT language || '_' || country FROM practitioners WHERE name = '%1'").arg(m_name))
                 .toString(),
             QStringLiteral("en_US"));
}

void TestServerAccounts::tellsUpdates_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("update");
    // The server is of version 2021.3.0.
    QTest::newRow("the same") << "2021.3.0" << false;
    QTest::newRow("older by the last number") << "2021.2.9" << true;
    QTest::newRow("older by the first") << "2020.12.31" << true;
    QTest::newRow("much older") << "1.0" << true;
    QTest::newRow("newer, though the text is less") << "2021.10.0" << false;
    QTest::newRow("newer") << "2021.3.1" << false;
    QTest::newRow("much newer") << "999999999.0.0" << false;
    QTest::newRow("older, though the text is greater") << "321.9.9" << true;
    QTest::newRow("shorter, the same") << "2021.3" << false;
    QTest::newRow("longer, the same") << "2021.3.0.0" << false;
    QTest::newRow("longer, newer") << "2021.3.0.1" << false;
    QTest::newRow("shorter, older") << "2021" << true;
    QTest::newRow("zeros in front") << "2021.03.00" << false;
    QTest::newRow("zero") << "0" << true;
    QTest::newRow("all numbers") << "2021.3.0.0.0.0.0.0" << false;
}

void TestServerAccounts::tellsUpdates()
{
    QFETCH(QString, version);
    QFETCH(bool, update);
    for (const char* path : {"/auth/updates/?version=", "/auth/updates?version="}) {
        const ApiClient::Answer answer = m_client->get(QString::fromLatin1(path) + version);
        QCOMPARE(answer.status, 200);
        QCOMPARE(answer.contentType, json);
        QCOMPARE(answer.object(), (QJsonObject{{QStringLiteral("update"), update}}));
    }
}

void TestServerAccounts::updatesRefuses_data()
{
    QTest::addColumn<QString>("query");
    QTest::newRow("no query") << "";
    QTest::newRow("another one") << "?v=2021.3.0";
    QTest::newRow("no value") << "?version";
    QTest::newRow("empty") << "?version=";
    QTest::newRow("words") << "?version=latest";
    QTest::newRow("a word behind") << "?version=2021.3.0-beta";
    QTest::newRow("a letter before") << "?version=v2021.3.0";
    QTest::newRow("negative") << "?version=-1.0";
    QTest::newRow("signed") << "?version=%2B1.0";
    QTest::newRow("blank before") << "?version=%201.0";
    QTest::newRow("points alone") << "?version=..";
    QTest::newRow("nothing between the points") << "?version=2021..0";
    QTest::newRow("point at the end") << "?version=2021.3.";
    QTest::newRow("commas") << "?version=2021,3,0";
    QTest::newRow("other digits") << QStringLiteral("?version=٢٠٢١.٣");
    QTest::newRow("too large") << "?version=2021.9999999999";
    QTest::newRow("too many") << "?version=1.1.1.1.1.1.1.1.1";
    QTest::newRow("wrong escape") << "?version=%zz";
    QTest::newRow("endless") << QStringLiteral("?version=") + QString(5000, QLatin1Char('1'));
}

void TestServerAccounts::updatesRefuses()
{
    QFETCH(QString, query);
    const ApiClient::Answer english = m_client->get(QStringLiteral("/auth/updates/") + query);
    QVERIFY(english.failed(400));
    QCOMPARE(english.message(), QStringLiteral("The value of \"version\" is not valid."));
    m_client->language = "ru-RU";
    QCOMPARE(m_client->get(QStringLiteral("/auth/updates/") + query).message(),
             QStringLiteral("Недопустимое значение «version»."));
}

void TestServerAccounts::survivesARestart()
{
    const TestDatabase restarted;
    const QString path = restarted.location();
    QVERIFY(ServerProcess::addPractitioner(path, QStringLiteral("anna"), QStringLiteral("secret")));
    QByteArray token;
    {
        ServerProcess server;
        QVERIFY(server.start(path));
        ApiClient client(server.url());
        QCOMPARE(client.login(QStringLiteral("anna"), QStringLiteral("secret")).status, 200);
        QCOMPARE(client.put(localePath, locale(QStringLiteral("ru"), QStringLiteral("RU"))).status, 200);
        token = textOf(client.post(passwordPath, passwords(QStringLiteral("secret"), QStringLiteral("better"),
                                                           QStringLiteral("better"))),
                       "accessToken")
                    .toUtf8();
        QVERIFY(!token.isEmpty());
        // What was answered is on the disk, whatever becomes of the process.
        server.kill();
    }
    ServerProcess server;
    QVERIFY(server.start(path));
    ApiClient client(server.url());
    QVERIFY(client.login(QStringLiteral("anna"), QStringLiteral("secret")).failed(401));
    client.token = token;
    QCOMPARE(client.get(patientsPath).status, 200);
    QCOMPARE(textOf(client.login(QStringLiteral("anna"), QStringLiteral("better")), "language"), QStringLiteral("ru"));
    QCOMPARE(server.stop(SIGTERM), 0);
}

QTEST_GUILESS_MAIN(TestServerAccounts)

#include "TestServerAccounts.moc"
