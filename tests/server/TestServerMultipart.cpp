// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/MultipartForm.h"

#include <QTest>

#include <random>

using namespace server;

namespace {

const QByteArray boundary = "b0und";
const QByteArray type = "multipart/form-data; boundary=b0und";

QByteArray part(const QByteArray& name, const QByteArray& content)
{
    return "--b0und\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + content + "\r\n";
}

const QByteArray end = "--b0und--\r\n";

/// "name=content;" of each part, or "refused".
QByteArray read(const QByteArray& contentType, const QByteArray& body)
{
    const auto parts = MultipartForm::parse(contentType, body);
    if (!parts)
        return "refused";
    QByteArray text;
    for (const Request::Part& each : *parts)
        text += each.name + '=' + each.content + ';';
    return text;
}

} // namespace

/// Forms as clients send them, and as they must not.
class TestServerMultipart : public QObject
{
    Q_OBJECT

private slots:
    void takesBoundaries_data();
    void takesBoundaries();
    void takesParts_data();
    void takesParts();
    void refuses_data();
    void refuses();
    void takesAnyContent();
    void refusesEveryStart();
    void survivesDamage();
    void countsParts();
};

void TestServerMultipart::takesBoundaries_data()
{
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QByteArray>("opening");
    QTest::addColumn<bool>("taken");
    const QByteArray form = "multipart/form-data; boundary=";
    QTest::newRow("token") << form + "abc" << QByteArray("abc") << true;
    QTest::newRow("quoted") << form + "\"a b\"" << QByteArray("a b") << true;
    QTest::newRow("quoted pair") << form + "\"a\\b\"" << QByteArray("ab") << true;
    QTest::newRow("of the client") << form + "\"boundary_.oOo._MTIz+/=\"" << QByteArray("boundary_.oOo._MTIz+/=")
                                   << true;
    QTest::newRow("every sign") << form + "\"'()+_,-./:=?\"" << QByteArray("'()+_,-./:=?") << true;
    QTest::newRow("another case") << QByteArray("Multipart/FORM-Data ;  Boundary=abc") << QByteArray("abc") << true;
    QTest::newRow("other parameters") << QByteArray("multipart/form-data; charset=utf-8; boundary=abc; x=\"y;z\"")
                                      << QByteArray("abc") << true;
    QTest::newRow("70 signs") << form + QByteArray(70, 'x') << QByteArray(70, 'x') << true;

    QTest::newRow("none") << QByteArray("multipart/form-data") << QByteArray("") << false;
    QTest::newRow("empty") << form << QByteArray("") << false;
    QTest::newRow("empty, quoted") << form + "\"\"" << QByteArray("") << false;
    QTest::newRow("71 signs") << form + QByteArray(71, 'x') << QByteArray(71, 'x') << false;
    QTest::newRow("blank at the end") << form + "\"abc \"" << QByteArray("abc ") << false;
    QTest::newRow("sign that is not allowed") << form + "a@c" << QByteArray("a@c") << false;
    QTest::newRow("zero byte") << form + QByteArray("\"a\0c\"", 5) << QByteArray("a\0c", 3) << false;
    QTest::newRow("quote without an end") << form + "\"abc" << QByteArray("abc") << false;
    QTest::newRow("escape at the end") << form + "\"abc\\" << QByteArray("abc\\") << false;
    QTest::newRow("twice") << form + "abc; boundary=abc" << QByteArray("abc") << false;
    QTest::newRow("parameter without a value")
        << QByteArray("multipart/form-data; x; boundary=abc") << QByteArray("abc") << false;
    QTest::newRow("no semicolon") << QByteArray("multipart/form-data boundary=abc") << QByteArray("abc") << false;
    QTest::newRow("another one") << form + "abd" << QByteArray("abc") << false;
    QTest::newRow("another case of it") << form + "ABC" << QByteArray("abc") << false;
    QTest::newRow("another type") << QByteArray("multipart/mixed; boundary=abc") << QByteArray("abc") << false;
    QTest::newRow("no type") << QByteArray() << QByteArray("") << false;
}

void TestServerMultipart::takesBoundaries()
{
    QFETCH(QByteArray, contentType);
    QFETCH(QByteArray, opening);
    QFETCH(bool, taken);
    const QByteArray body =
        "--" + opening + "\r\nContent-Disposition: form-data; name=\"x\"\r\n\r\n1\r\n--" + opening + "--\r\n";
    QCOMPARE(read(contentType, body), QByteArray(taken ? "x=1;" : "refused"));
}

void TestServerMultipart::takesParts_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("parts");
    QTest::newRow("one") << part("x", "1") + end << QByteArray("x=1;");
    QTest::newRow("in any order") << part("y", "2") + part("x", "1") + end << QByteArray("y=2;x=1;");
    QTest::newRow("empty") << part("x", "") + end << QByteArray("x=;");
    QTest::newRow("line breaks") << part("x", "\r\n\r\n1\r\n") + end << QByteArray("x=\r\n\r\n1\r\n;");
    QTest::newRow("nearly a boundary") << part("x", "--b0und\r\n\r\n--b0un\r\r\n-b0und--") + end
                                       << QByteArray("x=--b0und\r\n\r\n--b0un\r\r\n-b0und--;");
    QTest::newRow("no line break at the end") << part("x", "1") + "--b0und--" << QByteArray("x=1;");
    QTest::newRow("blanks behind boundaries")
        << QByteArray("--b0und \t\r\nContent-Disposition: form-data; name=x\r\n\r\n1\r\n--b0und-- \r\n")
        << QByteArray("x=1;");
    QTest::newRow("a file") << "--b0und\r\nContent-Disposition: form-data; name=\"x\"; filename=\"a;b\"\r\n"
                               "Content-Type: application/octet-stream\r\n\r\n1\r\n" +
                                   end
                            << QByteArray("x=1;");
    QTest::newRow("headers in any case and order")
        << "--b0und\r\ncontent-type:text/plain\r\nCONTENT-TRANSFER-ENCODING: Binary\r\n"
           "content-disposition:  Form-Data;NAME=x  \r\n\r\n1\r\n" +
               end
        << QByteArray("x=1;");
    QTest::newRow("escapes in a name") << part("a\\\"b\\\\c", "1") + end << QByteArray("a\"b\\c=1;");
    QTest::newRow("name in another script") << part("имя", "1") + end << QByteArray("имя=1;");
}

void TestServerMultipart::takesParts()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, parts);
    QCOMPARE(read(type, body), parts);
}

void TestServerMultipart::refuses_data()
{
    QTest::addColumn<QByteArray>("body");
    const auto headed = [](const QByteArray& head) { return "--b0und\r\n" + head + "\r\n\r\n1\r\n" + end; };
    const QByteArray disposition = "Content-Disposition: form-data; name=\"x\"";
    // What the rows below spoil.
    QCOMPARE(read(type, headed(disposition)), QByteArray("x=1;"));
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("no part") << end;
    QTest::newRow("no boundary") << QByteArray("abc");
    QTest::newRow("boundary alone") << QByteArray("--b0und");
    QTest::newRow("no end") << part("x", "1");
    QTest::newRow("no boundary behind a part") << "--b0und\r\n" + disposition + "\r\n\r\n1";
    QTest::newRow("half an end") << part("x", "1") + "--b0und-";
    QTest::newRow("text before") << "preamble\r\n" + part("x", "1") + end;
    QTest::newRow("text behind") << part("x", "1") + end + "epilogue";
    QTest::newRow("a second form behind") << part("x", "1") + end + part("y", "1") + end;
    QTest::newRow("boundary that goes on") << part("x", "1\r\n--b0under") + end;
    QTest::newRow("bare line feeds") << QByteArray(
        "--b0und\nContent-Disposition: form-data; name=\"x\"\n\n1\n--b0und--\n");
    QTest::newRow("no headers") << QByteArray("--b0und\r\n\r\n1\r\n") + end;
    QTest::newRow("no name") << headed("Content-Disposition: form-data");
    QTest::newRow("empty name") << headed("Content-Disposition: form-data; name=\"\"");
    QTest::newRow("long name") << headed("Content-Disposition: form-data; name=" + QByteArray(256, 'x'));
    QTest::newRow("name without an end") << headed("Content-Disposition: form-data; name=\"x");
    QTest::newRow("two names") << headed("Content-Disposition: form-data; name=x; name=x");
    QTest::newRow("two dispositions") << headed(disposition + "\r\n" + disposition);
    QTest::newRow("another disposition") << headed("Content-Disposition: attachment; name=\"x\"");
    QTest::newRow("no disposition") << headed("Content-Type: text/plain");
    QTest::newRow("name of another part") << part("x", "1") + part("y", "1") + part("x", "2") + end;
    QTest::newRow("base64") << headed(disposition + "\r\nContent-Transfer-Encoding: base64");
    QTest::newRow("header without a colon") << headed(disposition + "\r\nabc");
    QTest::newRow("header without a name") << headed(disposition + "\r\n: abc");
    QTest::newRow("blank in a header's name") << headed(disposition + "\r\na b: c");
    QTest::newRow("folded header") << headed("Content-Disposition: form-data;\r\n name=\"x\"");
    QTest::newRow("zero byte") << headed(disposition + QByteArray("\r\na: \0", 7));
    QTest::newRow("bare carriage return") << headed(disposition + "\r\na: \rb");
    QTest::newRow("long head") << headed(disposition + "\r\na: " + QByteArray(8192, 'x'));
    QTest::newRow("head without an end") << "--b0und\r\n" + disposition + "\r\n" + end;
}

void TestServerMultipart::refuses()
{
    QFETCH(QByteArray, body);
    QCOMPARE(read(type, body), QByteArray("refused"));
}

void TestServerMultipart::takesAnyContent()
{
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        QByteArray content(int(random() % 3000), '\0');
        // Few different signs, among them those of a boundary, make near misses likely.
        for (char& c : content)
            c = round % 2 == 0 ? char(random()) : QByteArray("\r\n-b0und").at(int(random() % 8));
        if (content.contains("\r\n--" + boundary))
            continue;
        const auto parts = MultipartForm::parse(type, part("first", content) + part("second", content) + end);
        QVERIFY(parts);
        QCOMPARE(parts->size(), 2);
        QCOMPARE(parts->at(0).content, content);
        QCOMPARE(parts->at(1).content, content);
    }
}

void TestServerMultipart::refusesEveryStart()
{
    const QByteArray body = part("first", "some\r\ncontent") + part("second", "") + end;
    // The last line break may be missing.
    for (int size = 0; size < body.size() - 2; ++size)
        QCOMPARE(read(type, body.left(size)), QByteArray("refused"));
    QCOMPARE(read(type, body.left(body.size() - 2)), QByteArray("first=some\r\ncontent;second=;"));
    QCOMPARE(read(type, body.left(body.size() - 1)), QByteArray("refused"));
}

void TestServerMultipart::survivesDamage()
{
    const QByteArray body = part("first", "content") + part("second", "more\\\"") + end;
    std::mt19937 random(11);
    int refused = 0;
    for (int round = 0; round < 20000; ++round) {
        QByteArray damaged = body;
        QByteArray damagedType = type;
        for (unsigned i = 0; i <= random() % 3; ++i) {
            QByteArray& target = random() % 8 == 0 ? damagedType : damaged;
            const int at = int(random() % unsigned(target.size()));
            switch (random() % 4) {
            case 0:
                target[at] = char(random());
                break;
            case 1:
                target.remove(at, int(random() % 5));
                break;
            case 2:
                target.insert(at, target.mid(int(random() % unsigned(target.size())), int(random() % 20)));
                break;
            default:
                target.insert(at, "\"\\;=\r\n--: "[random() % 10]);
            }
            if (target.isEmpty())
                target = "-";
        }
        const auto parts = MultipartForm::parse(damagedType, damaged);
        if (!parts) {
            ++refused;
            continue;
        }
        QVERIFY(!parts->isEmpty());
        for (const Request::Part& each : *parts)
            QVERIFY(!each.name.isEmpty() && each.content.size() < damaged.size());
    }
    QVERIFY(refused > 1000 && refused < 20000);
}

void TestServerMultipart::countsParts()
{
    QByteArray body;
    for (int i = 0; i < MultipartForm::maxParts; ++i)
        body += part("part" + QByteArray::number(i), "x");
    QCOMPARE(MultipartForm::parse(type, body + end).value_or(QVector<Request::Part>()).size(), MultipartForm::maxParts);
    QCOMPARE(read(type, body + part("one more", "x") + end), QByteArray("refused"));
}

QTEST_GUILESS_MAIN(TestServerMultipart)

#include "TestServerMultipart.moc"
