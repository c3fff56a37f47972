// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/DatabaseAddress.h"
#include "server/Failure.h"
#include "server/FormBody.h"
#include "server/JsonInput.h"
#include "server/Messages.h"
#include "server/Needle.h"
#include "server/Options.h"
#include "server/TextKeys.h"

#include <QTest>

#include <algorithm>

using namespace server;

/// What the server makes of texts: forms, needles, languages, the command line, and keys for search and order.
class TestServerTexts : public QObject
{
    Q_OBJECT

private slots:
    void form_data();
    void form();
    void formThatIsWrong();
    void jsonKeepsEveryCharacter();
    void jsonRefusesKeysTwice();
    void needle_data();
    void needle();
    void needleOfEveryByte();
    void needleThatIsNone_data();
    void needleThatIsNone();
    void languageOfARequest_data();
    void languageOfARequest();
    void messagesInBothLanguages();
    void folding_data();
    void folding();
    void order();
    void sortKeysStayShort();
    void options_data();
    void options();
    void optionsThatAreWrong_data();
    void optionsThatAreWrong();
    void optionDemo();
    void optionsByDefault();
    void databaseAddresses_data();
    void databaseAddresses();
    void databaseAddressesThatAreNone_data();
    void databaseAddressesThatAreNone();
};

void TestServerTexts::form_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("password");

    QTest::newRow("closing &") << QByteArray("password=b&username=a&") << "a"
                               << "b";
    QTest::newRow("no closing &") << QByteArray("username=a&password=b") << "a"
                                  << "b";
    QTest::newRow("escapes") << QByteArray("password=%26%3D%25%2B&username=%D0%98%D1%8F&") << QStringLiteral("Ия")
                             << "&=%+";
    QTest::newRow("lower-case escapes") << QByteArray("password=%c3%a4&username=x&") << "x" << QStringLiteral("ä");
    QTest::newRow("plus is a blank") << QByteArray("password=a+b&username=c%20d&") << "c d"
                                     << "a b";
    QTest::newRow("equals sign in a value") << QByteArray("password=a=b=&username=c&") << "c"
                                            << "a=b=";
    QTest::newRow("empty value") << QByteArray("password=&username&") << ""
                                 << "";
    QTest::newRow("first of two") << QByteArray("password=1&password=2&username=a&") << "a"
                                  << "1";
    QTest::newRow("escape at the end") << QByteArray("username=a&password=b%41") << "a"
                                       << "bA";
}

void TestServerTexts::form()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, name);
    QFETCH(QString, password);
    const FormBody read(body);
    QVERIFY(read.text("username").has_value());
    QVERIFY(read.text("password").has_value());
    QCOMPARE(*read.text("username"), name);
    QCOMPARE(*read.text("password"), password);
}

void TestServerTexts::formThatIsWrong()
{
    QVERIFY(!FormBody("").text("username").has_value());
    QVERIFY(!FormBody("&&&").text("username").has_value());
    QVERIFY(!FormBody("user=a&").text("username").has_value());
    QVERIFY(!FormBody("username=%4&").text("username").has_value());
    QVERIFY(!FormBody("username=%zz&").text("username").has_value());
    QVERIFY(!FormBody("username=%FF&").text("username").has_value());
    QVERIFY(!FormBody("username=%D0").text("username").has_value());
    // What is there in a wrong form is not missing.
    QVERIFY(FormBody("a&user%6Eame=%4&").contains("username"));
    QVERIFY(FormBody("username").contains("username"));
    QVERIFY(!FormBody("user=username&usernames=a&%").contains("username"));
    // Of two, the first one counts, be it wrong.
    QVERIFY(!FormBody("username=%&username=a").text("username").has_value());
}

void TestServerTexts::jsonKeepsEveryCharacter()
{
    const QByteArray byteOrderMark = "\xef\xbb\xbf";
    for (const char* begin : {"", "a", "\\\"", "\\\\"}) {
        const QByteArray text = begin + byteOrderMark + "b";
        const JsonInput input("{\"key\":\"" + text + "\",\"" + byteOrderMark + "key\":\"other\"}");
        const QString expected = QString::fromLatin1(begin).replace(QLatin1String("\\\""), QLatin1String("\""));
        QCOMPARE(input.text("key"), QString(expected).replace(QLatin1String("\\\\"), QLatin1String("\\")) +
                                        QChar(QChar::ByteOrderMark) + QLatin1Char('b'));
    }
    // In front of the whole it is no character.
    QCOMPARE(JsonInput(byteOrderMark + "{\"key\":\"a\"}").text("key"), QStringLiteral("a"));
    QVERIFY_EXCEPTION_THROWN(JsonInput("{\"key\"" + byteOrderMark + ":\"a\"}"), Failure);
}

void TestServerTexts::jsonRefusesKeysTwice()
{
    // The reader behind it would lose the array: the sanitizers' build tells.
    for (const char* text : {"{\"a\":[\"b\"],\"a\":[\"c\"]}", "{\"a\":1,\"a\":1}", "{\"a\":1,\"\\u0061\":2}",
                             "{\"x\":{\"a\":{},\"a\":{}}}", "{\"x\":[1,{\"a\":[[]],\"b\":0,\"a\":[[]]}]}"})
        QVERIFY_EXCEPTION_THROWN(JsonInput{QByteArray(text)}, Failure);
    QCOMPARE(JsonInput("{\"a\":{\"a\":{\"a\":1}},\"b\":{\"a\":1}}").object().size(), 2);
    // Halves of characters are none of JSON's business.
    QCOMPARE(JsonInput("{\"\\ud800\":\"\\uDFFF\",\"\\ud801\":\"\\ud83d\\ude00\"}").object().size(), 2);
    QVERIFY_EXCEPTION_THROWN(JsonInput("{\"\\ud800\":1,\"\\uD800\":1}"), Failure);
    // What JSON does not allow within a text.
    QVERIFY_EXCEPTION_THROWN(JsonInput("{\"a\":\"\n\"}"), Failure);
}

void TestServerTexts::needle_data()
{
    QTest::addColumn<QByteArray>("encoded");
    QTest::addColumn<QString>("text");

    QTest::newRow("empty") << QByteArray() << "";
    QTest::newRow("plain") << QByteArray("YWJj") << "abc";
    QTest::newRow("one sign of padding") << QByteArray("YWI-") << "ab";
    QTest::newRow("two signs of padding") << QByteArray("YQ--") << "a";
    // Base64 "4L+/w7/Dvg==": all three replaced characters.
    QTest::newRow("all replaced") << QByteArray("4L._w7_Dvg--") << QStringLiteral(u"\u0FFF\u00FF\u00FE");
    QTest::newRow("cyrillic") << QByteArray("0JjQstCw0L0-") << QStringLiteral("Иван");
}

void TestServerTexts::needle()
{
    QFETCH(QByteArray, encoded);
    QFETCH(QString, text);
    const std::optional<QString> decoded = Needle::decode(encoded);
    QVERIFY(decoded.has_value());
    QCOMPARE(*decoded, text);
}

void TestServerTexts::needleOfEveryByte()
{
    for (int first = 0x80; first < 0x2000; ++first) {
        const QString text = QChar(first) + QStringLiteral("~?") + QChar(first + 1);
        const QByteArray encoded = text.toUtf8().toBase64().replace('+', '.').replace('/', '_').replace('=', '-');
        const std::optional<QString> decoded = Needle::decode(encoded);
        QVERIFY(decoded.has_value());
        QCOMPARE(*decoded, text);
    }
}

void TestServerTexts::needleThatIsNone_data()
{
    QTest::addColumn<QByteArray>("encoded");
    QTest::newRow("standard plus") << QByteArray("4L+_");
    QTest::newRow("standard slash") << QByteArray("4L./");
    QTest::newRow("standard equals") << QByteArray("YWI=");
    QTest::newRow("no multiple of four") << QByteArray("YWI");
    QTest::newRow("foreign characters") << QByteArray("Y*I-");
    QTest::newRow("padding within") << QByteArray("YQ--YWJj");
    QTest::newRow("no UTF-8") << QByteArray("_____w--");
    QTest::newRow("cut UTF-8") << QByteArray("0A--");
}

void TestServerTexts::needleThatIsNone()
{
    QFETCH(QByteArray, encoded);
    QVERIFY(!Needle::decode(encoded).has_value());
}

void TestServerTexts::languageOfARequest_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QString>("language");
    QTest::newRow("russian") << QByteArray("ru-RU") << "ru";
    QTest::newRow("english") << QByteArray("en-US") << "en";
    QTest::newRow("language alone") << QByteArray("ru") << "ru";
    QTest::newRow("upper case") << QByteArray("RU-ru") << "ru";
    QTest::newRow("first wins") << QByteArray("en,ru") << "en";
    QTest::newRow("weights") << QByteArray("en;q=0.3, ru;q=0.9") << "ru";
    QTest::newRow("other first") << QByteArray("de-DE, ru;q=0.5") << "ru";
    QTest::newRow("refused") << QByteArray("ru;q=0") << "";
    QTest::newRow("other") << QByteArray("de-DE") << "";
    QTest::newRow("similar") << QByteArray("rus") << "";
    QTest::newRow("blank") << QByteArray("-") << "";
    QTest::newRow("none") << QByteArray() << "";
}

void TestServerTexts::languageOfARequest()
{
    QFETCH(QByteArray, header);
    QFETCH(QString, language);
    QCOMPARE(Messages::language(header), language);
}

void TestServerTexts::messagesInBothLanguages()
{
    for (int id = Messages::BadRequest; id <= Messages::NotesInvalid; ++id) {
        const QString english = Messages::text(Messages::Id(id), QStringLiteral("en"));
        const QString russian = Messages::text(Messages::Id(id), QStringLiteral("ru"));
        QVERIFY2(!english.isEmpty() && !russian.isEmpty(), qPrintable(QString::number(id)));
        QVERIFY2(english != russian, qPrintable(english));
        QCOMPARE(english.count(QLatin1String("%1")), russian.count(QLatin1String("%1")));
        QCOMPARE(Messages::text(Messages::Id(id), QStringLiteral("de")), english);
        QCOMPARE(Messages::text(Messages::Id(id), QString()), english);
    }
}

void TestServerTexts::folding_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("folded");
    QTest::newRow("umlaut") << QStringLiteral("ÄÖÜ") << QStringLiteral("äöü");
    QTest::newRow("sharp s") << QStringLiteral("Weiß") << QStringLiteral("weiss");
    QTest::newRow("cyrillic") << QStringLiteral("ПЁТР ЙОД") << QStringLiteral("петр йод");
    QTest::newRow("decomposed") << QStringLiteral(u"A\u0308") << QStringLiteral("ä");
    QTest::newRow("decomposed short i") << QStringLiteral(u"\u0418\u0306") << QStringLiteral("й");
    QTest::newRow("ligature") << QStringLiteral(u"\uFB01n") << "fin";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("long") << QString(20000, QChar(0xDF)) << QString(40000, QLatin1Char('s'));
}

void TestServerTexts::folding()
{
    QFETCH(QString, text);
    QFETCH(QString, folded);
    QCOMPARE(TextKeys::folded(text), folded);
}

void TestServerTexts::order()
{
    const QStringList sorted{QStringLiteral("Adler"),  QStringLiteral("Ähler"),   QStringLiteral("Ahrens"),
                             QStringLiteral("Ärmel"),  QStringLiteral("müller"),  QStringLiteral("Muller-Ost"),
                             QStringLiteral("Oswald"), QStringLiteral("Özdemir"), QStringLiteral("Zander"),
                             QStringLiteral("Евсеев"), QStringLiteral("Елисеев"), QStringLiteral("Ёлкин"),
                             QStringLiteral("елкина"), QStringLiteral("Жуков"),   QStringLiteral("Иванов"),
                             QStringLiteral("Йодов"),  QStringLiteral("Яшин")};
    QStringList shuffled = sorted;
    std::reverse(shuffled.begin(), shuffled.end());
    std::sort(shuffled.begin(), shuffled.end(), [](const QString& left, const QString& right) {
        return TextKeys::sortKey(left).toLatin1() < TextKeys::sortKey(right).toLatin1();
    });
    QCOMPARE(shuffled, sorted);
    QCOMPARE(TextKeys::sortKey(QStringLiteral(u"A\u0308rmel")), TextKeys::sortKey(QStringLiteral("Ärmel")));
    QVERIFY(TextKeys::sortKey(QStringLiteral("е")) != TextKeys::sortKey(QStringLiteral("ё")));
}

void TestServerTexts::sortKeysStayShort()
{
    for (const QString& text : {QString(100000, QChar(0x4E00)), QString(100000, QLatin1Char('a')), QString()}) {
        const QString key = TextKeys::sortKey(text);
        QVERIFY(key.size() <= 1200);
        QVERIFY(std::all_of(key.begin(), key.end(),
                            [](QChar c) { return c.isDigit() || (c >= QLatin1Char('a') && c <= QLatin1Char('f')); }));
    }
}

void TestServerTexts::options_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("database");
    QTest::newRow("all") << "--listen 0.0.0.0:8080 --database /x/y.sqlite"
                         << "0.0.0.0" << 8080 << "/x/y.sqlite";
    QTest::newRow("scheme") << "--listen localhost:0 --database sqlite:data/y.db"
                            << "localhost" << 0 << "data/y.db";
    QTest::newRow("PostgreSQL") << "--listen localhost:0 --database postgresql://u:p@h:1/n"
                                << "localhost" << 0 << "postgresql://u:p@h:1/n";
    QTest::newRow("IPv6") << "--listen [::1]:65535 --database=a"
                          << "::1" << 65535 << "a";
}

void TestServerTexts::options()
{
    QFETCH(QString, line);
    const Options read = Options::parse(QStringList{QStringLiteral("quelmar-server")} + line.split(QLatin1Char(' ')));
    QCOMPARE(read.action, Options::Action::Serve);
    QTEST(read.host, "host");
    QTEST(read.port, "port");
    QTEST(read.database, "database");
}

void TestServerTexts::optionsThatAreWrong_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("unknown option") << QStringList{QStringLiteral("--lisen"), QStringLiteral("127.0.0.1:0")};
    QTest::newRow("no value") << QStringList{QStringLiteral("--listen")};
    QTest::newRow("no port") << QStringList{QStringLiteral("--listen"), QStringLiteral("127.0.0.1")};
    QTest::newRow("no host") << QStringList{QStringLiteral("--listen"), QStringLiteral(":80")};
    QTest::newRow("port too large") << QStringList{QStringLiteral("--listen"), QStringLiteral("127.0.0.1:65536")};
    QTest::newRow("port below 0") << QStringList{QStringLiteral("--listen"), QStringLiteral("127.0.0.1:-1")};
    QTest::newRow("port no number") << QStringList{QStringLiteral("--listen"), QStringLiteral("127.0.0.1:http")};
    QTest::newRow("bare IPv6") << QStringList{QStringLiteral("--listen"), QStringLiteral("::1:80")};
    QTest::newRow("empty database") << QStringList{QStringLiteral("--database"), QStringLiteral("")};
    QTest::newRow("empty scheme") << QStringList{QStringLiteral("--database"), QStringLiteral("sqlite:")};
    QTest::newRow("other engine") << QStringList{QStringLiteral("--database"), QStringLiteral("mysql://a@b/c")};
    QTest::newRow("in memory") << QStringList{QStringLiteral("--database"), QStringLiteral(":memory:")};
    QTest::newRow("unknown command") << QStringList{QStringLiteral("patient"), QStringLiteral("list")};
    QTest::newRow("half a command") << QStringList{QStringLiteral("practitioner")};
    QTest::newRow("add without a name") << QStringList{QStringLiteral("practitioner"), QStringLiteral("add")};
    QTest::newRow("add with two names") << QStringList{QStringLiteral("practitioner"), QStringLiteral("add"),
                                                       QStringLiteral("a"), QStringLiteral("b")};
    QTest::newRow("list with a name") << QStringList{QStringLiteral("practitioner"), QStringLiteral("list"),
                                                     QStringLiteral("a")};
    QTest::newRow("list with a language") << QStringList{QStringLiteral("practitioner"), QStringLiteral("list"),
                                                         QStringLiteral("--language"), QStringLiteral("en")};
    QTest::newRow("serve with a password") << QStringList{QStringLiteral("--password-file"), QStringLiteral("a")};
    QTest::newRow("add and demo") << QStringList{QStringLiteral("practitioner"), QStringLiteral("add"),
                                                 QStringLiteral("a"), QStringLiteral("--demo")};
    QTest::newRow("session of no length") << QStringList{QStringLiteral("--session-hours"), QStringLiteral("0")};
    QTest::newRow("session without end") << QStringList{QStringLiteral("--session-hours"),
                                                        QStringLiteral("99999999999")};
    QTest::newRow("passwd without a name") << QStringList{QStringLiteral("practitioner"), QStringLiteral("passwd")};
    QTest::newRow("passwd with two names") << QStringList{QStringLiteral("practitioner"), QStringLiteral("passwd"),
                                                          QStringLiteral("a"), QStringLiteral("b")};
    QTest::newRow("passwd with a language")
        << QStringList{QStringLiteral("practitioner"), QStringLiteral("passwd"), QStringLiteral("a"),
                       QStringLiteral("--language"), QStringLiteral("en")};
    QTest::newRow("list with a password") << QStringList{QStringLiteral("practitioner"), QStringLiteral("list"),
                                                         QStringLiteral("--password-file"), QStringLiteral("a")};
    QTest::newRow("list and devices") << QStringList{QStringLiteral("practitioner"), QStringLiteral("list"),
                                                     QStringLiteral("--simulate-devices")};
    QTest::newRow("seconds without devices") << QStringList{QStringLiteral("--simulate-seconds"), QStringLiteral("1")};
    QTest::newRow("devices with a value") << QStringList{QStringLiteral("--simulate-devices=3")};
    for (const char* seconds : {"-1", "3601", "1.5", "soon", ""})
        QTest::addRow("seconds \"%s\"", seconds) << QStringList{
            QStringLiteral("--simulate-devices"), QStringLiteral("--simulate-seconds=") + QLatin1String(seconds)};
    for (const char* patients : {"0", "10000001", "99999999999", "1.5", "12x"})
        QTest::addRow("demo \"%s\"", patients) << QStringList{QStringLiteral("--demo"), QLatin1String(patients)};
    QTest::newRow("demo of words") << QStringList{QStringLiteral("--demo=many")};
    QTest::newRow("demo and a word") << QStringList{QStringLiteral("--demo"), QStringLiteral("many")};
    QTest::newRow("list and demo") << QStringList{QStringLiteral("practitioner"), QStringLiteral("list"),
                                                  QStringLiteral("--demo"), QStringLiteral("5")};
    QTest::newRow("session of words") << QStringList{QStringLiteral("--session-hours"), QStringLiteral("long")};
}

void TestServerTexts::optionsThatAreWrong()
{
    QFETCH(QStringList, arguments);
    const Options read = Options::parse(QStringList{QStringLiteral("quelmar-server")} + arguments);
    QCOMPARE(read.action, Options::Action::Refuse);
    QVERIFY(!read.text.isEmpty());
}

void TestServerTexts::optionDemo()
{
    const auto read = [](const QStringList& arguments) {
        return Options::parse(QStringList{QStringLiteral("quelmar-server")} + arguments);
    };
    const QString demo = QStringLiteral("--demo");
    for (const QStringList& arguments :
         {QStringList{demo}, QStringList{demo, QStringLiteral("--listen"), QStringLiteral("h:1")},
          QStringList{QStringLiteral("--listen=h:1"), demo}}) {
        QCOMPARE(read(arguments).action, Options::Action::Serve);
        QVERIFY(read(arguments).demo);
        QCOMPARE(read(arguments).demoPatients, 0);
    }
    for (const QStringList& arguments :
         {QStringList{demo, QStringLiteral("1000")}, QStringList{demo + QStringLiteral("=1000")},
          QStringList{demo, QStringLiteral("1000"), QStringLiteral("--listen"), QStringLiteral("h:1")}}) {
        QCOMPARE(read(arguments).action, Options::Action::Serve);
        QVERIFY(read(arguments).demo);
        QCOMPARE(read(arguments).demoPatients, 1000);
    }
    QCOMPARE(read({demo, QStringLiteral("10000000")}).demoPatients, 10000000);
    QVERIFY(read({QStringLiteral("--help")}).text.contains(QStringLiteral("--demo <N>")));
}

void TestServerTexts::optionsByDefault()
{
    qputenv("XDG_DATA_HOME", "/some/where");
    const Options read = Options::parse({QStringLiteral("quelmar-server")});
    qunsetenv("XDG_DATA_HOME");
    QCOMPARE(read.action, Options::Action::Serve);
    QCOMPARE(read.host, QStringLiteral("127.0.0.1"));
    QCOMPARE(read.port, 18620);
    QCOMPARE(read.database, QStringLiteral("/some/where/quelmar/quelmar-server.sqlite"));
    QVERIFY(!read.demo);
    QVERIFY(!read.simulateDevices);

    const Options russian =
        Options::parse({QStringLiteral("quelmar-server"), QStringLiteral("practitioner"), QStringLiteral("add"),
                        QStringLiteral("a"), QStringLiteral("--language"), QStringLiteral("ru")});
    QCOMPARE(russian.action, Options::Action::AddPractitioner);
    QCOMPARE(russian.language, QStringLiteral("ru"));
    QCOMPARE(russian.country, QStringLiteral("RU"));
    const Options english = Options::parse(
        {QStringLiteral("quelmar-server"), QStringLiteral("practitioner"), QStringLiteral("add"), QStringLiteral("a")});
    QCOMPARE(english.language, QStringLiteral("en"));
    QCOMPARE(english.country, QStringLiteral("US"));

    const Options passwd =
        Options::parse({QStringLiteral("quelmar-server"), QStringLiteral("practitioner"), QStringLiteral("passwd"),
                        QStringLiteral("a"), QStringLiteral("--password-file"), QStringLiteral("b")});
    QCOMPARE(passwd.action, Options::Action::SetPassword);
    QCOMPARE(passwd.practitioner, QStringLiteral("a"));
    QCOMPARE(passwd.passwordFile, QStringLiteral("b"));

    const Options simulating = Options::parse({QStringLiteral("quelmar-server"), QStringLiteral("--simulate-devices")});
    QCOMPARE(simulating.action, Options::Action::Serve);
    QVERIFY(simulating.simulateDevices);
    QCOMPARE(simulating.simulateSeconds, 3);
    for (const int seconds : {0, 3600}) {
        const Options paced = Options::parse({QStringLiteral("quelmar-server"), QStringLiteral("--simulate-devices"),
                                              QStringLiteral("--simulate-seconds"), QString::number(seconds)});
        QCOMPARE(paced.action, Options::Action::Serve);
        QCOMPARE(paced.simulateSeconds, seconds);
    }
}

void TestServerTexts::databaseAddresses_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("shown");
    const auto row = [](const char* title, const char* text, const QString& user, const QString& password,
                        const QString& host, int port, const QString& name, const QString& shown) {
        QTest::newRow(title) << QString::fromUtf8(text) << user << password << host << port << name
                             << QStringLiteral("postgresql://") + shown;
    };
    const auto s = [](const char* text) { return QString::fromUtf8(text); };
    row("all", "postgresql://u:p@h:1234/n", s("u"), s("p"), s("h"), 1234, s("n"), s("u@h:1234/n"));
    row("no port", "postgresql://u:p@h/n", s("u"), s("p"), s("h"), 5432, s("n"), s("u@h:5432/n"));
    row("no password", "postgresql://u@h/n", s("u"), s(""), s("h"), 5432, s("n"), s("u@h:5432/n"));
    row("empty password", "postgresql://u:@h/n", s("u"), s(""), s("h"), 5432, s("n"), s("u@h:5432/n"));
    row("no user", "postgresql://h:1/n", s(""), s(""), s("h"), 1, s("n"), s("h:1/n"));
    row("name alone", "postgresql:///n", s(""), s(""), s(""), 5432, s("n"), s(":5432/n"));
    row("IPv6", "postgresql://u:p@[::1]:1/n", s("u"), s("p"), s("::1"), 1, s("n"), s("u@[::1]:1/n"));
    row("IPv6 without a port", "postgresql://[fe80::1]/n", s(""), s(""), s("fe80::1"), 5432, s("n"),
        s("[fe80::1]:5432/n"));
    row("socket", "postgresql://u@%2Frun%2Fpostgresql/n", s("u"), s(""), s("/run/postgresql"), 5432, s("n"),
        s("u@/run/postgresql:5432/n"));
    row("encoded", "postgresql://%C3%A4%3A:%40%2F%25%3F@h/%23n", s("ä:"), s("@/%?"), s("h"), 5432, s("#n"),
        s("ä:@h:5432/#n"));
    row("colons and at signs", "postgresql://u:a:b@c@h/n", s("u"), s("a:b@c"), s("h"), 5432, s("n"), s("u@h:5432/n"));
    row("plus is plus", "postgresql://u:a+b@h/n", s("u"), s("a+b"), s("h"), 5432, s("n"), s("u@h:5432/n"));
}

void TestServerTexts::databaseAddresses()
{
    QFETCH(QString, text);
    const std::optional<DatabaseAddress> address = DatabaseAddress::parse(text);
    QVERIFY(address);
    QCOMPARE(address->engine, DatabaseAddress::Engine::Postgres);
    QTEST(address->user, "user");
    QTEST(address->password, "password");
    QTEST(address->host, "host");
    QTEST(address->port, "port");
    QTEST(address->name, "name");
    QTEST(address->shown(), "shown");
    QCOMPARE(DatabaseAddress::parse(QStringLiteral("sqlite:/a b"))->shown(), QStringLiteral("/a b"));
}

void TestServerTexts::databaseAddressesThatAreNone_data()
{
    QTest::addColumn<QString>("text");
    for (const char* text : {"postgresql://",
                             "postgresql://h",
                             "postgresql://u:p@h:1",
                             "postgresql://h/",
                             "postgresql://h/a/b",
                             "postgresql://h:/n",
                             "postgresql://h:0/n",
                             "postgresql://h:65536/n",
                             "postgresql://h:x/n",
                             "postgresql://h:-1/n",
                             "postgresql://::1/n",
                             "postgresql://[::1/n",
                             "postgresql://[]/n",
                             "postgresql://[::1]x/n",
                             "postgresql://h/n?sslmode=require",
                             "postgresql://h/n#x",
                             "postgresql://u:%@h/n",
                             "postgresql://u:%ff@h/n",
                             "postgresql://u:%00@h/n",
                             "postgresql://h/%zz",
                             "postgres://u:p@h/n",
                             "POSTGRESQL://h/n",
                             "mysql://h/n",
                             "http://h/n",
                             "sqlite:",
                             "sqlite::memory:",
                             ":memory:",
                             ""})
        QTest::newRow(text) << QString::fromLatin1(text);
}

void TestServerTexts::databaseAddressesThatAreNone()
{
    QFETCH(QString, text);
    QVERIFY(!DatabaseAddress::parse(text));
    QVERIFY(!DatabaseAddress::masked(QStringLiteral("not \"%1\"").arg(text)).contains(QLatin1String("/n")));
}

QTEST_GUILESS_MAIN(TestServerTexts)

#include "TestServerTexts.moc"
