// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/ServerFixture.h"
#include "tests/server/StoredContent.h"
#include "tests/server/TestWave.h"
#include "tests/server/WalkedOperation.h"
#include "tests/server/WireClient.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSet>
#include <QSqlDatabase>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <memory>
#include <thread>
#include <vector>

namespace {

using Value = QPair<QByteArray, QByteArray>; ///< what it is, and how it reads
using Values = QVector<Value>;

constexpr int bodyLimit = 1024 * 1024;
constexpr int minute = 60000;

/// Stands in each name, password and text that the test sends: where it comes to light, something has leaked.
const QByteArray mark = "zq7";

/// One request that is not in order.
struct Case
{
    QByteArray name; ///< operation and what is wrong with it
    QByteArray method;
    QByteArray target;
    QByteArray body;
    QByteArray contentType;
    QVector<QByteArray> headers{"Authorization: Bearer {token}"};
    bool length = true; ///< with the Content-Length of the body
};

/// A request which looks as if it belonged into a group, but is in order.
struct Accepted
{
    const char* pattern; ///< of the names of its cases
    const char* reason;
};

/// What the placeholders of a request stand for.
using Subject = QVector<Value>;

QByteArray valueOf(const Subject& subject, const char* key)
{
    for (const Value& value : subject) {
        if (value.first == key)
            return value.second;
    }
    return QByteArray();
}

QByteArray filled(QByteArray text, const Subject& subject)
{
    if (text.contains('{')) {
        for (const Value& value : subject)
            text.replace(value.first, value.second);
    }
    return text;
}

QByteArray wire(const Case& request, const Subject& subject)
{
    const QByteArray body = filled(request.body, subject);
    QByteArray text = request.method + ' ' + filled(request.target, subject) + " HTTP/1.1\r\nHost: here\r\n";
    for (const QByteArray& header : request.headers)
        text += filled(header, subject) + "\r\n";
    if (!request.contentType.isEmpty())
        text += "Content-Type: " + request.contentType + "\r\n";
    if (request.length)
        text += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    return text + "\r\n" + body;
}

Case goodCase(const WalkedOperation& operation)
{
    Case good;
    good.name = operation.name();
    good.method = operation.method;
    good.target = operation.target();
    good.body = operation.body == WalkedOperation::Body::None ? QByteArray() : operation.content();
    good.contentType = operation.contentType();
    return good;
}

/// The bytes as a JSON text; what is no UTF-8 stays as it is.
QByteArray quoted(const QByteArray& bytes)
{
    QByteArray text = "\"";
    for (const char c : bytes) {
        if (c == '"' || c == '\\')
            text += '\\';
        if (uchar(c) < 0x20)
            text += "\\u00" + QByteArray(1, c).toHex();
        else
            text += c;
    }
    return text + '"';
}

/// Texts that are the id of nothing, some of them all but the right one.
Values oddIds()
{
    return {
        {"empty", ""},
        {"blank", " "},
        {"blanks", "   "},
        {"tab", "\t"},
        {"line", "\n"},
        {"quote", "zq7'"},
        {"double quote", "zq7\""},
        {"back quote", "zq7`"},
        {"id and quote", "{P}'"},
        {"id and double quote", "{P}\""},
        {"always true", "zq7' OR '1'='1"},
        {"id and always true", "{P}' OR 'a'='a"},
        {"drop", "zq7'; DROP TABLE patients; --"},
        {"union", "zq7' UNION SELECT token_hash FROM sessions --"},
        {"id and comment", "{P}'--"},
        {"sleep", "zq7'||pg_sleep(5)--"},
        {"wildcard", "%"},
        {"one wildcard", "_"},
        {"id and wildcard", "{P}%"},
        {"star", "*"},
        {"slash", "/"},
        {"slashes", "zq7/zq7"},
        {"slash and id", "/{P}"},
        {"id and slash up", "{P}/.."},
        {"up and id", "../{P}"},
        {"here and id", "./{P}"},
        {"dot", "."},
        {"dots", ".."},
        {"far up", "../../../../etc/passwd"},
        {"backslash", "zq7\\"},
        {"backslash and id", "\\{P}"},
        {"percent", "%zq7"},
        {"escape of itself", "%7BP%7D"},
        {"zero escaped", "{P}%00"},
        {"escaped dots", "%2e%2e"},
        {"zero", QByteArray(1, '\0')},
        {"id and zero", QByteArray("{P}\0", 4)},
        {"id and more behind a zero", QByteArray("{P}\0zq7", 7)},
        {"zero and id", QByteArray("\0{P}", 4)},
        {"id and blank", "{P} "},
        {"blank and id", " {P}"},
        {"id and line", "{P}\n"},
        {"id and return", "{P}\r"},
        {"header", "zq7\r\nX-Mark: zq7"},
        {"escape character", "\x1b[31mzq7"},
        {"delete character", "{P}\x7f"},
        {"emoji", "zq7\xf0\x9f\x98\x80"},
        {"cyrillic", "\xd0\xb8\xd0\xb4"},
        {"byte order mark and id", "\xef\xbb\xbf{P}"},
        {"id and invisible blank", "{P}\xe2\x80\x8b"},
        {"wide digits", "\xef\xbc\x91\xef\xbc\x92"},
        {"not UTF-8", "\xff\xfezq7"},
        {"id and not UTF-8", "{P}\xff"},
        {"overlong slash", "zq7\xc0\xaf"},
        {"half a pair", "zq7\xed\xa0\x80"},
        {"cut character", "{P}\xd0"},
        {"other case", "{swapped}"},
        {"twice", "{P}{P}"},
        {"two", "{P},{P}"},
        {"cut", "{cut}"},
        {"null", "null"},
        {"number", "0"},
        {"below zero", "-1"},
        {"no number", "NaN"},
        {"object", "{\"$ne\":null}"},
        {"template", "${7*7}{{7*7}}"},
        {"format", "%s%n%1%2"},
        {"tag", "<script>zq7</script>"},
        {"question mark", "zq7?zq7"},
        {"hash", "zq7#zq7"},
        {"ampersand", "{P}&{P}"},
        {"semicolon", "{P};zq7"},
        {"65 characters", QByteArray(65, 'a')},
        {"10,000 characters", "zq7" + QByteArray(10000, 'a')},
        {"id many times", QByteArray("{P}").repeated(450)},
    };
}

QByteArray escaped(const QByteArray& bytes, bool all = false)
{
    QByteArray text;
    for (int i = 0; i < bytes.size(); ++i) {
        if (bytes.mid(i, 3) == "{P}" || bytes.mid(i, 3) == "{R}") {
            text += bytes.mid(i, 3);
            i += 2;
        } else if (bytes.mid(i, 9) == "{swapped}" || bytes.mid(i, 5) == "{cut}") {
            const int end = bytes.indexOf('}', i);
            text += bytes.mid(i, end + 1 - i);
            i = end;
        } else if (!all && (isalnum(uchar(bytes.at(i))) || bytes.at(i) == '-' || bytes.at(i) == '_')) {
            text += bytes.at(i);
        } else {
            text += '%' + bytes.mid(i, 1).toHex();
        }
    }
    return text;
}

/// In addresses only: what does not even decode, and other ways to write it.
Values oddSegments()
{
    Values all;
    for (const Value& id : oddIds()) {
        all.append({id.first + ", escaped", escaped(id.second)});
        // A blank too many before the version of the protocol belongs to the request line, not to the address.
        if (id.first != "id and blank")
            all.append({id.first + ", raw", id.second});
    }
    for (const char* broken : {"%", "%4", "%zz", "%%", "%u0041", "%-1", "{P}%", "{P}%4", "{P}%zz", "%{P}", "{P}%2"})
        all.append({QByteArray("broken escape ") + broken, broken});
    return all + Values{{"dots and slash, escaped", "%2e%2e%2f{P}"},
                        {"dots escaped, slash raw", "%2e%2e/{P}"},
                        {"dot escaped", "{P}%2e"},
                        {"escaped twice", "{P}%2500"},
                        {"slash escaped twice", "%252f{P}"},
                        {"semicolon parameter", "{P};a=b"}};
}

/// For every field of a JSON body.
Values wrongValues()
{
    return {
        {"null", "null"},
        {"true", "true"},
        {"false", "false"},
        {"0", "0"},
        {"7", "7"},
        {"-1", "-1"},
        {"1.5", "1.5"},
        {"2147483648", "2147483648"},
        {"-0.0000001", "-0.0000001"},
        {"1e400", "1e400"},
        {"-1e400", "-1e400"},
        {"1e-400", "1e-400"},
        {"400 digits", QByteArray(400, '9')},
        {"NaN", "NaN"},
        {"Infinity", "Infinity"},
        {"-Infinity", "-Infinity"},
        {"hexadecimal", "0x10"},
        {"bare word", "zq7"},
        {"nothing", ""},
        {"empty text", "\"\""},
        {"blank text", "\" \""},
        {"text of a number", "\"5\""},
        {"text", "\"zq7\""},
        {"text of one quote", "\"'\""},
        {"text with a zero", "\"zq7\\u0000\""},
        {"text with a line", "\"zq7\\nzq7\""},
        {"text with half a pair", "\"zq7\\ud800\""},
        {"text not UTF-8", "\"zq7\xff\""},
        {"text overlong", "\"zq7\xc0\xaf\""},
        {"text without an end", "\"zq7"},
        {"text with a wrong escape", "\"zq7\\x\""},
        {"text with a cut escape", "\"zq7\\u12\""},
        {"SQL", "\"zq7'; DROP TABLE patients; --\""},
        {"emoji", "\"zq7\xf0\x9f\x98\x80\""},
        {"10,000 characters", '"' + QByteArray(10000, 'a') + '"'},
        {"10,001 characters", '"' + QByteArray(10001, 'a') + '"'},
        {"1,000,000 characters", '"' + QByteArray(1000000, 'a') + '"'},
        {"1,000,000 digits", QByteArray(1000000, '7')},
        {"array", "[]"},
        {"array of null", "[null]"},
        {"array of a number", "[7]"},
        {"array of true", "[true]"},
        {"array of arrays", "[[]]"},
        {"array of objects", "[{}]"},
        {"array of an empty text", "[\"\"]"},
        {"array of a text", "[\"zq7\"]"},
        {"array of an id", "[\"{P}\"]"},
        {"array of a text and null", "[\"zq7\",null]"},
        {"array of 10,000 texts", "[\"zq7\"" + QByteArray(",\"zq7\"").repeated(9999) + ']'},
        {"array of 100,000 texts", "[\"zq7\"" + QByteArray(",\"zq7\"").repeated(99999) + ']'},
        {"array of 400,000 numbers", "[1" + QByteArray(",1").repeated(399999) + ']'},
        {"array with a closing comma", "[\"zq7\",]"},
        {"object", "{}"},
        {"object of a text", "{\"zq7\":\"zq7\"}"},
        {"object of an id", "{\"id\":\"{P}\"}"},
        {"array 1,000 deep", QByteArray("[").repeated(1000) + QByteArray("]").repeated(1000)},
        {"array 100,000 deep", QByteArray("[").repeated(100000) + QByteArray("]").repeated(100000)},
        {"object 1,000 deep", QByteArray("{\"a\":").repeated(1000) + '1' + QByteArray("}").repeated(1000)},
        {"object 100,000 deep", QByteArray("{\"a\":").repeated(100000) + '1' + QByteArray("}").repeated(100000)},
    };
}

QByteArray utf16(const QByteArray& ascii, bool big, bool byteOrderMark)
{
    QByteArray text = !byteOrderMark ? "" : big ? "\xfe\xff" : "\xff\xfe";
    for (const char c : ascii) {
        if (big)
            text += '\0';
        text += c;
        if (!big)
            text += '\0';
    }
    return text;
}

/// In the place of a sound JSON object.
Values wrongBodies(const QByteArray& good)
{
    return {
        {"empty", ""},
        {"blank", " "},
        {"no JSON", "zq7"},
        {"zero", QByteArray(1, '\0')},
        {"zeros", QByteArray(10000, '\0')},
        {"control characters", "\x01\x02\x1f"},
        {"array", "[]"},
        {"array of the object", '[' + good + ']'},
        {"number", "7"},
        {"minus zero", "-0"},
        {"text", "\"zq7\""},
        {"the object as a text", quoted(good)},
        {"true", "true"},
        {"null", "null"},
        {"NaN", "NaN"},
        {"1e400", "1e400"},
        {"empty object", "{}"},
        {"opened", "{"},
        {"closed", "}"},
        {"cut", good.left(good.size() - 1)},
        {"cut in the middle", good.left(good.size() / 2)},
        {"closed twice", good + '}'},
        {"two objects", good + good},
        {"object and text", good + " zq7"},
        {"object and zero", good + QByteArray(1, '\0')},
        {"zero and object", QByteArray(1, '\0') + good},
        {"value missing", "{\"a\":}"},
        {"key missing", "{:1}"},
        {"key no text", "{1:1}"},
        {"comma at the end", good.left(good.size() - 1) + ",}"},
        {"comma missing", good.left(good.size() - 1) + "\"zq7\":1}"},
        {"single quotes", QByteArray(good).replace('"', '\'')},
        {"comment", "/* zq7 */" + good},
        {"comment within", good.left(good.size() - 1) + "/* zq7 */}"},
        {"all null", "{\"patientId\":null,\"recordId\":null,\"records\":null,\"id\":null}"},
        {"in another object", "{\"data\":" + good + '}'},
        {"key not UTF-8", good.left(good.size() - 1) + ",\"\xff\":1}"},
        {"not UTF-8", "\xff\xff\xff"},
        {"UTF-16, little", utf16(good, false, true)},
        {"UTF-16, big", utf16(good, true, true)},
        {"UTF-16 without a mark, little", utf16(good, false, false)},
        {"UTF-16 without a mark, big", utf16(good, true, false)},
        {"byte order mark alone", "\xef\xbb\xbf"},
        {"two byte order marks", "\xef\xbb\xbf\xef\xbb\xbf" + good},
        {"form", "patientId={P}&recordId={R}&id={P}"},
        {"XML", "<?xml version=\"1.0\"?><a>zq7</a>"},
        {"gzip", QByteArray("\x1f\x8b\x08\x00\x00\x00\x00\x00", 8) + good},
        {"base64", good.toBase64()},
        {"arrays 1,000 deep", QByteArray("[").repeated(1000) + QByteArray("]").repeated(1000)},
        {"arrays 100,000 deep", QByteArray("[").repeated(100000)},
        {"objects 1,000 deep", QByteArray("{\"a\":").repeated(1000) + "1" + QByteArray("}").repeated(1000)},
        {"objects 100,000 deep", QByteArray("{\"a\":").repeated(100000)},
        {"1,000,000 characters", QByteArray(1000000, 'a')},
        {"1,000,000 blanks", QByteArray(1000000, ' ')},
        {"1,000,000 quotes", QByteArray(1000000, '"')},
        {"1,000,000 opened", QByteArray(1000000, '{')},
        {"as much as is taken", QByteArray(bodyLimit, ' ')},
        {"one byte too many", QByteArray(bodyLimit + 1, ' ')},
        {"one byte too many, with the object", good + QByteArray(bodyLimit + 1 - good.size(), ' ')},
        {"three times too many", QByteArray(3 * bodyLimit, ' ')},
    };
}

QByteArray swappedCase(const QByteArray& text)
{
    QByteArray swapped;
    for (const char c : text)
        swapped += char(islower(uchar(c)) ? toupper(uchar(c)) : tolower(uchar(c)));
    return swapped;
}

QByteArray fileText(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// Every operation of the server against every kind of request that is not in order. Each is refused with a status of
/// 4xx and a sentence; none stores anything, tells anything, leaves anything in the log or costs the server its health.
class TestServerWalk : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void everyOperationIsWalked();
    void goodRequestsAreGood();
    void withoutASession();
    void idsOfAnother();
    void oddIdsInAddresses();
    void oddIdsInBodies();
    void otherMethods();
    void wrongHeads();
    void bodies();
    void fields();
    void questionnaires();
    void logins();
    void uploads();
    void queries();
    void servesThroughFloods();
    void growsNoFurther();

private:
    QByteArray login(const QByteArray& name, const QByteArray& password);
    /// A patient with a record, a device and a recipe, and all placeholders for a request of its practitioner.
    Subject newSubject(const QByteArray& name, const QByteArray& password, const QByteArray& token);
    Subject scratch();
    WireClient::Answer send(const Case& request, const Subject& subject);
    QByteArray idOf(const WireClient::Answer& answer);
    /// Every row of every table but one.
    QMap<QString, QStringList> stored();
    /// What is wrong with this answer to a request that has to be refused; empty if nothing is.
    QByteArray objection(const WireClient::Answer& answer, int status);
    /// Sends all cases. Those that are accepted are sent last, each for a patient of its own.
    bool walk(const QVector<Case>& cases, const QVector<Accepted>& accepted = {}, int status = 0);
    bool isWell();
    bool logIsClean();
    int openFiles();
    qint64 memory();

    ServerFixture m_fixture;
    std::unique_ptr<WireClient> m_wire;
    QVector<WalkedOperation> m_operations;
    QVector<QByteArray> m_secrets;
    QByteArray m_goodAnswer;
    Subject m_mine;
    QByteArray m_scratchToken;
    QByteArray m_expired;
    QByteArray m_ended;
    int m_devices = 0;
    int m_sent = 0;
};

void TestServerWalk::initTestCase()
{
    m_operations = WalkedOperation::all();
    // More wrong passwords than this are sent.
    QVERIFY(m_fixture.start({QStringLiteral("--login-attempts"), QStringLiteral("100000")}));
    const auto add = [this](const QByteArray& name, const char* fullName) {
        return ServerProcess::addPractitioner(m_fixture.path(), QString::fromUtf8(name),
                                              QString::fromUtf8(name + "word"),
                                              {QStringLiteral("--full-name"), QString::fromUtf8(fullName)});
    };
    for (const char* name : {"zq7walker", "zq7other", "zq7expired", "zq7ended", "zq7scratch"})
        QVERIFY(add(name, "Dr. Zq7 Quintus"));
    m_wire = std::make_unique<WireClient>(m_fixture.process().port());

    const QByteArray token = login("zq7walker", "zq7walkerword");
    const QByteArray otherToken = login("zq7other", "zq7otherword");
    m_expired = login("zq7expired", "zq7expiredword");
    m_ended = login("zq7ended", "zq7endedword");
    m_scratchToken = login("zq7scratch", "zq7scratchword");
    for (const QByteArray& made : {token, otherToken, m_expired, m_ended, m_scratchToken})
        QVERIFY(made.size() >= 43);
    const QString ofName = QStringLiteral(" WHERE practitioner_id = (SELECT id FROM practitioners WHERE name = ?)");
    QVERIFY(m_fixture
                .sql(QStringLiteral("UPDATE sessions SET expires_at = ?") + ofName,
                     {QDateTime::currentDateTimeUtc().addSecs(-60).toString(Qt::ISODateWithMs),
                      QStringLiteral("zq7expired")})
                .isValid());
    QVERIFY(m_fixture.sql(QStringLiteral("DELETE FROM sessions") + ofName, {QStringLiteral("zq7ended")}).isValid());

    m_mine = newSubject("zq7walker", "zq7walkerword", token);
    const Subject second = newSubject("zq7walker", "zq7walkerword", token);
    const Subject other = newSubject("zq7other", "zq7otherword", otherToken);
    for (const Subject& subject : {m_mine, second, other}) {
        QVERIFY(!valueOf(subject, "{R}").isEmpty());
        m_secrets += {valueOf(subject, "{P}"), valueOf(subject, "{R}"), valueOf(subject, "{D}")};
    }
    m_mine += {{"{foreign P}", valueOf(other, "{P}")},
               {"{foreign R}", valueOf(other, "{R}")},
               {"{second P}", valueOf(second, "{P}")},
               {"{second R}", valueOf(second, "{R}")},
               {"{unknown P}", QByteArray(22, 'x')},
               {"{unknown R}", QByteArray(22, 'y')},
               {"{expired}", m_expired},
               {"{ended}", m_ended},
               {"{foreign token}", otherToken},
               {"{changed}", token.left(42) + (token.endsWith('A') ? 'B' : 'A')},
               {"{swapped token}", swappedCase(token)},
               {"{cut token}", token.left(token.size() - 1)}};
    // All that belongs to a record, so that what is deleted or told by mistake is seen.
    for (const Subject& subject : {m_mine, other}) {
        Case questionnaire{"", "PUT", "/patient/questionnaire/{P}", R"({"{R}":{"zq7 ache":5}})", "application/json"};
        QCOMPARE(send(questionnaire, subject).status, 200);
        QCOMPARE(send({"", "GET", "/recipe/{P}/{R}", "", ""}, subject).status, 200);
        QCOMPARE(
            send({"", "POST", "/command", R"({"patientId":"{P}","command":"RECORD","recordId":"{R}"})", ""}, subject)
                .status,
            200);
    }
    m_secrets += {token, otherToken, m_expired, m_ended, m_scratchToken};
    const QByteArray slice = testWave(440).mid(1000, 24);
    m_secrets += {slice, slice.toHex(), slice.toBase64()};
    m_goodAnswer = send({"", "GET", "/record/{P}", "", ""}, m_mine).body;
    QVERIFY(m_goodAnswer.contains(valueOf(m_mine, "{R}")));
    QVERIFY(logIsClean());
}

void TestServerWalk::init()
{
    // A request that should have been refused may have ended the session; what follows is to be told on its own.
    if (send({"", "GET", "/patient", "", ""}, m_mine).status == 200)
        return;
    for (Value& value : m_mine) {
        if (value.first == "{token}")
            value.second = login("zq7walker", "zq7walkerword");
    }
}

void TestServerWalk::cleanupTestCase()
{
    m_wire.reset();
    qInfo("%d requests", m_sent);
    QVERIFY(logIsClean());
    QVERIFY(m_fixture.stop());
}

QByteArray TestServerWalk::login(const QByteArray& name, const QByteArray& password)
{
    const Case request{"",
                       "POST",
                       "/auth/login",
                       "username=" + name + "&password=" + password + '&',
                       "application/x-www-form-urlencoded",
                       {}};
    const QJsonObject answer = QJsonDocument::fromJson(send(request, {}).body).object();
    return answer.value(QStringLiteral("accessToken")).toString().toUtf8();
}

Subject TestServerWalk::newSubject(const QByteArray& name, const QByteArray& password, const QByteArray& token)
{
    Subject subject{{"{token}", token}, {"{L}", name}, {"{W}", password}};
    const QByteArray json = "application/json";
    const QByteArray patient =
        R"({"name":"Zq7 Serafina","birthDate":"1980-05-17","gender":"FEMALE","phone":"zq7 5","notes":"zq7 notes"})";
    const QByteArray patientId = idOf(send({"", "POST", "/patient", patient, json}, subject));
    subject += {{"{P}", patientId},
                {"{D}", "zq7-device-" + QByteArray::number(++m_devices)},
                {"{swapped}", swappedCase(patientId)},
                {"{cut}", patientId.left(patientId.size() - 1)}};
    Case upload{"", "POST", "/record", "", "multipart/form-data; boundary=" + WalkedOperation::boundary};
    upload.body = WalkedOperation::parts({{"patientId", "{P}"}, {"record", WalkedOperation::wave()}});
    subject.append({"{R}", idOf(send(upload, subject))});
    const bool made =
        send({"", "POST", "/patient/device", R"({"patientId":"{P}","deviceId":"{D}"})", json}, subject).status == 200 &&
        send({"", "PUT", "/recipe", R"({"patientId":"{P}","recordId":"{R}","markers":["note-a4"]})", json}, subject)
                .status == 200;
    return made ? subject : Subject();
}

Subject TestServerWalk::scratch()
{
    return newSubject("zq7scratch", "zq7scratchword", m_scratchToken);
}

WireClient::Answer TestServerWalk::send(const Case& request, const Subject& subject)
{
    // Takes over what the server has printed, so that it never waits for room.
    if (++m_sent % 5 == 0)
        QCoreApplication::processEvents();
    return m_wire->exchange(wire(request, subject));
}

QByteArray TestServerWalk::idOf(const WireClient::Answer& answer)
{
    return QJsonDocument::fromJson(answer.body).object().value(QStringLiteral("id")).toString().toUtf8();
}

QMap<QString, QStringList> TestServerWalk::stored()
{
    const QSqlDatabase database = QSqlDatabase::database();
    QStringList tables = database.tables();
    // Wrong passwords are counted.
    tables.removeAll(QStringLiteral("login_attempts"));
    return storedContent(database, tables);
}

QByteArray TestServerWalk::objection(const WireClient::Answer& answer, int status)
{
    if (answer.status < 400 || answer.status > 499 || (status != 0 && answer.status != status))
        return "status " + QByteArray::number(answer.status) + ' ' + answer.body.left(100);
    if (answer.header("content-type") != "application/json")
        return "content type " + answer.header("content-type");
    const QJsonObject object = QJsonDocument::fromJson(answer.body).object();
    const QJsonArray errors = object.value(QStringLiteral("errors")).toArray();
    const bool told = !object.value(QStringLiteral("message")).toString().isEmpty() ||
                      (!errors.isEmpty() && std::all_of(errors.begin(), errors.end(), [](const QJsonValue& error) {
                          const QJsonObject field = error.toObject();
                          return field.size() == 1 && !field.begin().value().toString().isEmpty();
                      }));
    if (!told)
        return "no sentence in " + answer.body.left(100);
    const QByteArray text = answer.head + answer.body;
    for (const QByteArray& secret : qAsConst(m_secrets)) {
        if (text.contains(secret))
            return "tells " + secret;
    }
    static const QByteArray folder = QDir::tempPath().toUtf8();
    const QByteArray folded = text.toLower();
    for (const QByteArray& inner :
         {mark, folder, QByteArray(QUELMAR_SOURCE_DIR), QByteArray("select"), QByteArray("insert"), QByteArray("sql"),
          QByteArray("postgres"), QByteArray("exception"), QByteArray("std::"), QByteArray(".cpp"), QByteArray("0x"),
          QByteArray("httplib"), QByteArray("qjson"), QByteArray("unterminated"), QByteArray("garbage"),
          QByteArray("illegal"), QByteArray("/etc/"), QByteArray("/usr/"), QByteArray("/home/")}) {
        if (folded.contains(inner))
            return "tells " + inner + " in " + text.left(500);
    }
    return QByteArray();
}

bool TestServerWalk::walk(const QVector<Case>& cases, const QVector<Accepted>& accepted, int status)
{
    QVector<QRegularExpression> patterns;
    QVector<bool> used(accepted.size());
    for (const Accepted& exception : accepted) {
        patterns.append(QRegularExpression(QRegularExpression::anchoredPattern(QString::fromUtf8(exception.pattern))));
    }
    int problems = 0;
    const auto complain = [&problems](const QByteArray& about, const QByteArray& what) {
        if (++problems <= 40)
            qWarning("%s: %s", about.left(200).constData(), what.left(600).constData());
    };

    const QMap<QString, QStringList> before = stored();
    QVector<Case> later;
    for (const Case& request : cases) {
        bool exception = false;
        for (int i = 0; i < patterns.size(); ++i) {
            if (patterns.at(i).match(QString::fromUtf8(request.name)).hasMatch())
                exception = used[i] = true;
        }
        if (exception) {
            later.append(request);
            continue;
        }
        const QByteArray what = objection(send(request, m_mine), status);
        if (!what.isEmpty())
            complain(request.name, what);
    }
    const QMap<QString, QStringList> after = stored();
    for (const QString& table : after.keys() + before.keys()) {
        if (after.value(table) != before.value(table)) {
            complain(table.toUtf8(), "is not as it was");
            for (const QString& row : after.value(table)) {
                if (!before.value(table).contains(row))
                    complain("  new", row.toUtf8());
            }
        }
    }

    for (const Case& request : qAsConst(later)) {
        const Subject subject = scratch();
        const WireClient::Answer answer = send(request, subject);
        if (answer.status != 200)
            complain(request.name, "was to be accepted: " + QByteArray::number(answer.status) + answer.body.left(100));
        const QJsonObject object = QJsonDocument::fromJson(answer.body).object();
        if (object.keys() == QStringList{QStringLiteral("accessToken")})
            m_scratchToken = object.value(QStringLiteral("accessToken")).toString().toUtf8();
    }
    for (int i = 0; i < accepted.size(); ++i) {
        if (!used.at(i))
            complain(accepted.at(i).pattern, "is no case");
    }
    if (!isWell())
        complain("the server", "is not well any more");
    return problems == 0;
}

bool TestServerWalk::isWell()
{
    WireClient fresh(m_fixture.process().port());
    const WireClient::Answer answer = fresh.exchange(wire({"", "GET", "/record/{P}", "", ""}, m_mine));
    if (answer.status != 200 || answer.body != m_goodAnswer) {
        qWarning("a good request: %d %s", answer.status, answer.body.constData());
        return false;
    }
    return logIsClean();
}

bool TestServerWalk::logIsClean()
{
    QCoreApplication::processEvents();
    const QByteArray all = m_fixture.process().output() + m_fixture.process().log();
    // Floods may be faster than this test reads.
    static const QRegularExpression dropped(QStringLiteral("quelmar-server: \\d+ lines? of the log were dropped"));
    const QByteArray folded = QString::fromLatin1(all).remove(dropped).toLower().toLatin1();
    for (const QByteArray& secret : qAsConst(m_secrets)) {
        if (all.contains(secret)) {
            qWarning("in the log: %s", secret.constData());
            return false;
        }
    }
    // A failure of the server's own is told with its name; what a client did wrong is none.
    for (const QByteArray& text : {mark, QByteArray("quelmar-server:"), QByteArray("aaaaaaaaaa")}) {
        const int at = folded.indexOf(text);
        if (at >= 0) {
            qWarning("in the log: %s", folded.mid(at, 200).constData());
            return false;
        }
    }
    return true;
}

int TestServerWalk::openFiles()
{
    const QDir folder(QStringLiteral("/proc/%1/fd").arg(m_fixture.process().processId()));
    return folder.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}

/// Resident, in KiB.
qint64 TestServerWalk::memory()
{
    const QByteArray status = fileText(QStringLiteral("/proc/%1/status").arg(m_fixture.process().processId()));
    const int at = status.indexOf("VmRSS:");
    return status.mid(at + 6, status.indexOf("kB", at) - at - 6).trimmed().toLongLong();
}

void TestServerWalk::everyOperationIsWalked()
{
    QSet<QByteArray> walked;
    for (const WalkedOperation& operation : qAsConst(m_operations))
        walked.insert(operation.name());

    QSet<QByteArray> documented;
    static const QRegularExpression inTable(QStringLiteral("^\\| `([A-Z]+) (/[^`? ]*)"),
                                            QRegularExpression::MultilineOption);
    static const QRegularExpression placeholder(QStringLiteral("\\{[a-z]\\}"));
    const QString page = QString::fromUtf8(fileText(QStringLiteral(QUELMAR_SOURCE_DIR "/docs/server.md")));
    for (auto match = inTable.globalMatch(page); match.hasNext();) {
        const QRegularExpressionMatch row = match.next();
        QString path = row.captured(2).replace(placeholder, QStringLiteral("*"));
        if (path.endsWith(QLatin1Char('/')))
            path.chop(1);
        documented.insert((row.captured(1) + QLatin1Char(' ') + path).toUtf8());
    }
    QCOMPARE(walked, documented);

    QSet<QByteArray> routed;
    static const QRegularExpression route(QStringLiteral("\\broute\\(\"([A-Z]+)\", \"([^\"]+)\""));
    const QDir server(QStringLiteral(QUELMAR_SOURCE_DIR "/server"));
    for (const QString& name : server.entryList({QStringLiteral("*.cpp")}, QDir::Files)) {
        const QString source = QString::fromUtf8(fileText(server.filePath(name)));
        for (auto match = route.globalMatch(source); match.hasNext();) {
            const QRegularExpressionMatch found = match.next();
            const QString path = found.captured(2).replace(placeholder, QStringLiteral("*"));
            routed.insert((found.captured(1) + QLatin1Char(' ') + path).toUtf8());
        }
    }
    // The probe and the figures are answered before the operations are asked.
    routed += QSet<QByteArray>{"GET /health", "GET /metrics"};
    QCOMPARE(walked, routed);
}

/// Otherwise the cases, which are these requests with one thing wrong, would be refused for another reason.
void TestServerWalk::goodRequestsAreGood()
{
    for (const WalkedOperation& operation : qAsConst(m_operations)) {
        const WireClient::Answer answer = send(goodCase(operation), scratch());
        QVERIFY2(answer.status == 200, (operation.name() + ' ' + answer.body).constData());
        if (operation.name() == "POST /auth/password")
            m_scratchToken =
                QJsonDocument::fromJson(answer.body).object().value(QStringLiteral("accessToken")).toString().toUtf8();
    }
    QVERIFY(isWell());
}

void TestServerWalk::withoutASession()
{
    const QByteArray bearer = "Authorization: Bearer ";
    const QByteArray hash = m_fixture
                                .sql(QStringLiteral("SELECT token_hash FROM sessions WHERE practitioner_id = "
                                                    "(SELECT id FROM practitioners WHERE name = 'zq7walker')"))
                                .toString()
                                .toUtf8();
    QVERIFY(!hash.isEmpty());
    using Heads = QVector<QPair<const char*, QVector<QByteArray>>>;
    const Heads unknown = {
        {"none", {}},
        {"empty", {"Authorization:"}},
        {"blank", {"Authorization:   "}},
        {"no scheme", {"Authorization: {token}"}},
        {"scheme alone", {"Authorization: Bearer"}},
        {"scheme and blank", {"Authorization: Bearer "}},
        {"no blank", {"Authorization: Bearer{token}"}},
        {"tab for the blank", {"Authorization: Bearer\t{token}"}},
        {"scheme Basic", {"Authorization: Basic {token}"}},
        {"scheme Digest", {"Authorization: Digest username=\"zq7walker\", response=\"{token}\""}},
        {"scheme Token", {"Authorization: Token {token}"}},
        {"scheme twice", {"Authorization: Bearer Bearer {token}"}},
        {"behind another", {"Authorization: Basic Bearer {token}"}},
        {"wrong", {bearer + "zq7"}},
        {"one letter changed", {bearer + "{changed}"}},
        {"other case", {bearer + "{swapped token}"}},
        {"one letter less", {bearer + "{cut token}"}},
        {"one letter more", {bearer + "{token}A"}},
        {"filled up", {bearer + "{token}="}},
        {"comma", {bearer + "{token},"}},
        {"two tokens", {bearer + "{token} {token}"}},
        {"quoted", {bearer + "\"{token}\""}},
        {"as a parameter", {bearer + "token={token}"}},
        {"two in one", {bearer + "{token}, Bearer {token}"}},
        {"1,000 characters", {bearer + QByteArray(1000, 'a')}},
        {"good and 5,000 characters", {bearer + "{token}" + QByteArray(5000, 'a')}},
        {"not UTF-8", {bearer + "\xff\xfe\xfd"}},
        {"emoji", {bearer + "\xf0\x9f\x98\x80"}},
        {"wide letters",
         {"Authorization: \xef\xbc\xa2"
          "earer {token}"}},
        {"escaped", {bearer + "%7Btoken%7D"}},
        {"SQL", {bearer + "' OR '1'='1"}},
        {"SQL behind", {bearer + "{token}' --"}},
        {"wildcard", {bearer + "%"}},
        {"what is stored of it", {bearer + hash}},
        {"expired", {bearer + "{expired}"}},
        {"ended", {bearer + "{ended}"}},
        {"as a cookie", {"Cookie: accessToken={token}; Authorization=Bearer {token}"}},
        {"for a proxy", {"Proxy-Authorization: Bearer {token}"}},
        {"in another header", {"X-Authorization: Bearer {token}"}},
    };
    // These may be refused before anybody asks who sent them.
    const Heads unsound = {
        {"good, then wrong", {bearer + "{token}", bearer + "zq7"}},
        {"wrong, then good", {bearer + "zq7", bearer + "{token}"}},
        {"good twice", {bearer + "{token}", bearer + "{token}"}},
        {"good, then of another", {bearer + "{token}", bearer + "{foreign token}"}},
        {"expired, then good", {bearer + "{expired}", bearer + "{token}"}},
        {"on two lines", {"Authorization: Bearer", " {token}"}},
        {"10,000 characters", {bearer + QByteArray(10000, 'a')}},
        {"10,000 blanks", {"Authorization:" + QByteArray(10000, ' ') + "Bearer {token}"}},
        {"control characters", {bearer + "\x01\x02\x03\x1f"}},
        {"control character before", {bearer + "\x01{token}"}},
        {"control character behind", {bearer + "{token}\x01"}},
        {"vertical tab behind", {bearer + "{token}\x0b"}},
        {"form feed before", {bearer + "\x0c{token}"}},
        {"delete character behind", {bearer + "{token}\x7f"}},
        {"zero behind", {bearer + "{token}" + QByteArray(1, '\0')}},
        {"zero and more behind", {bearer + "{token}" + QByteArray("\0zq7", 4)}},
        {"return behind", {bearer + "{token}\rX"}},
        {"blank before the colon", {"Authorization : Bearer {token}"}},
    };
    QVector<Case> cases;
    QVector<Case> unread;
    for (const WalkedOperation& operation : qAsConst(m_operations)) {
        if (operation.open)
            continue;
        for (const Heads* heads : {&unknown, &unsound}) {
            for (const auto& head : *heads) {
                Case request = goodCase(operation);
                request.name += QByteArray(": ") + head.first;
                request.headers = head.second;
                (heads == &unknown ? cases : unread).append(request);
            }
        }
        Case inQuery = goodCase(operation);
        inQuery.name += ": in the query";
        inQuery.headers.clear();
        inQuery.target += (inQuery.target.contains('?') ? "&" : "?") + QByteArray("accessToken={token}&token={token}");
        cases.append(inQuery);
        Case wrong = goodCase(operation);
        wrong.name += ": none, and a wrong body";
        wrong.headers.clear();
        wrong.body = "zq7";
        // What is wrong besides is not told to a stranger, unless the request cannot even be taken apart.
        (operation.body == WalkedOperation::Body::Parts ? unread : cases).append(wrong);
    }
    QVERIFY(walk(cases, {}, 401));
    QVERIFY(walk(unread));
}

void TestServerWalk::idsOfAnother()
{
    // Each pair of answers has to be the same: whether the id exists elsewhere is not told.
    const QVector<QPair<Subject, Subject>> pairs = {
        {{{"{P}", "{foreign P}"}}, {{"{P}", "{unknown P}"}}},
        {{{"{P}", "{foreign P}"}, {"{R}", "{foreign R}"}}, {{"{P}", "{unknown P}"}, {"{R}", "{unknown R}"}}},
        {{{"{R}", "{foreign R}"}}, {{"{R}", "{unknown R}"}}},
        {{{"{R}", "{second R}"}}, {{"{R}", "{unknown R}"}}},
        {{{"{P}", "{second P}"}}, {{"{P}", "{second P}"}, {"{R}", "{unknown R}"}}},
    };
    const auto replaced = [](QByteArray text, const Subject& by) {
        for (const Value& value : by)
            text.replace(value.first, value.second);
        return text;
    };
    QVector<QPair<Case, Case>> cases;
    const auto add = [&cases](const Case& foreign, const Case& unknown) { cases.append({foreign, unknown}); };
    for (const WalkedOperation& operation : qAsConst(m_operations)) {
        const Case good = goodCase(operation);
        for (const auto& pair : pairs) {
            Case foreign = good;
            foreign.target = replaced(good.target, pair.first);
            foreign.body = replaced(good.body, pair.first);
            foreign.name += ": " + pair.first.first().second;
            Case unknown = good;
            unknown.target = replaced(good.target, pair.second);
            unknown.body = replaced(good.body, pair.second);
            // An own second patient is sound where no record is named.
            if ((foreign.target != good.target || foreign.body != good.body) &&
                (foreign.target != unknown.target || foreign.body != unknown.body))
                add(foreign, unknown);
        }
        for (const WalkedOperation::Field& field : operation.fields) {
            if (field.kind != WalkedOperation::Kind::Ids)
                continue;
            const QByteArray many = QByteArray("\"{R}\",").repeated(400);
            for (const QByteArray& array :
                 {QByteArray(R"(["{R}","%1"])"), QByteArray(R"(["%1","{R}"])"), '[' + many + "\"%1\"]"}) {
                for (const char* id : {"{foreign R}", "{second R}", "{foreign P}"}) {
                    Case foreign = good;
                    foreign.name += QByteArray(": among others ") + id;
                    foreign.body = operation.content({{field.key, QByteArray(array).replace("%1", id)}});
                    Case unknown = foreign;
                    unknown.body = operation.content({{field.key, QByteArray(array).replace("%1", "{unknown R}")}});
                    add(foreign, unknown);
                }
            }
        }
        if (operation.name() == "PUT /patient/questionnaire/*") {
            for (const char* id : {"{foreign R}", "{second R}"}) {
                Case foreign = good;
                foreign.name += QByteArray(": besides ") + id;
                foreign.body = R"({"{R}":{"zq7 pain":1},"%1":{"zq7 pain":2}})";
                Case unknown = foreign;
                foreign.body.replace("%1", id);
                unknown.body.replace("%1", "{unknown R}");
                add(foreign, unknown);
            }
        }
    }
    QVERIFY(cases.size() > 60);
    static const QRegularExpression own(QStringLiteral("^(Date|X-Request-Id):.*$"),
                                        QRegularExpression::MultilineOption |
                                            QRegularExpression::CaseInsensitiveOption);
    for (const auto& pair : qAsConst(cases)) {
        for (const char* language : {"en", "ru"}) {
            QByteArray answers[2];
            for (int i = 0; i < 2; ++i) {
                Case request = i == 0 ? pair.first : pair.second;
                request.headers.append(QByteArray("Accept-Language: ") + language);
                const WireClient::Answer answer = send(request, m_mine);
                answers[i] = QString::fromLatin1(answer.head).remove(own).toLatin1() + answer.body;
            }
            QVERIFY2(answers[0] == answers[1], (pair.first.name + '\n' + answers[0] + '\n' + answers[1]).constData());
        }
    }
    QVector<Case> all;
    for (const auto& pair : qAsConst(cases))
        all += {pair.first, pair.second};
    QVERIFY(walk(all, {}, 404));
}

void TestServerWalk::oddIdsInAddresses()
{
    QVector<Case> cases;
    for (const WalkedOperation& operation : qAsConst(m_operations)) {
        for (const char* place : {"{P}", "{R}"}) {
            if (!operation.path.contains(place))
                continue;
            for (const Value& id : oddSegments()) {
                Case request = goodCase(operation);
                request.name += QByteArray(": ") + place + ' ' + id.first;
                QByteArray segment = id.second;
                if (QByteArray(place) == "{R}")
                    segment.replace("{P}", "{R}").replace("{swapped}", "{R}{R}").replace("{cut}", "{R}x");
                request.target.replace(place, segment);
                cases.append(request);
            }
        }
    }
    QVERIFY(cases.size() > 1500);
    QVERIFY(walk(cases));
}

void TestServerWalk::oddIdsInBodies()
{
    QVector<Case> cases;
    for (const WalkedOperation& operation : qAsConst(m_operations)) {
        for (const WalkedOperation::Field& field : operation.fields) {
            if (field.kind != WalkedOperation::Kind::Id && field.kind != WalkedOperation::Kind::Ids)
                continue;
            const QByteArray right = field.good.contains("{R}") ? "{R}" : "{P}";
            for (const Value& id : oddIds()) {
                QByteArray text = id.second;
                if (right == "{R}")
                    text.replace("{P}", right).replace("{swapped}", "{R}{R}").replace("{cut}", "{R}x");
                Values values{{id.first, text}};
                if (operation.body == WalkedOperation::Body::Json)
                    values = {{id.first, quoted(text)}};
                if (field.kind == WalkedOperation::Kind::Ids)
                    values = {{id.first, '[' + quoted(text) + ']'},
                              {id.first + " among others", "[\"{R}\"," + quoted(text) + ']'}};
                for (const Value& value : qAsConst(values)) {
                    Case request = goodCase(operation);
                    request.name += ": " + field.key + ' ' + value.first;
                    request.body = operation.content({{field.key, value.second}});
                    cases.append(request);
                }
            }
        }
        if (operation.name() == "PUT /patient/questionnaire/*") {
            for (const Value& id : oddIds()) {
                QByteArray text = id.second;
                text.replace("{P}", "{R}").replace("{swapped}", "{R}{R}").replace("{cut}", "{R}x");
                Case request = goodCase(operation);
                request.name += ": record " + id.first;
                request.body = '{' + quoted(text) + ":{\"zq7 ache\":3}}";
                cases.append(request);
            }
        }
    }
    QVERIFY(cases.size() > 1000);
    QVERIFY(walk(cases, {{"POST /command: recordId empty", "a record is made for its own sake, too"}}));
}

void TestServerWalk::otherMethods()
{
    QVector<Case> cases;
    QSet<QByteArray> known;
    for (const WalkedOperation& operation : qAsConst(m_operations))
        known.insert(operation.name());
    for (const WalkedOperation& operation : qAsConst(m_operations)) {
        WalkedOperation other = operation;
        for (const char* method : {"GET", "POST", "PUT", "DELETE", "PATCH", "OPTIONS"}) {
            other.method = method;
            // The id in "DELETE /patient/*" may be any word, that of another operation too.
            if (known.contains(other.name()) || (other.method == "DELETE" && other.name().count('/') == 2))
                continue;
            Case request = goodCase(other);
            request.name += ": other method";
            cases.append(request);
        }
    }
    QVERIFY(cases.size() > 80);
    QVERIFY(walk(cases, {}, 405));
    cases.clear();
    for (const WalkedOperation& operation : qAsConst(m_operations)) {
        for (const char* method : {"get", "Post", "FETCH", "TRACE", "CONNECT", "PROPFIND", "zq7", "POST,DELETE", ""}) {
            Case request = goodCase(operation);
            request.name += QByteArray(": method ") + method;
            request.method = method;
            cases.append(request);
        }
    }
    QVERIFY(walk(cases));
}

void TestServerWalk::wrongHeads()
{
    QVector<Case> cases;
    const QVector<QPair<const char*, QVector<QByteArray>>> heads = {
        {"chunks", {"Transfer-Encoding: chunked"}},
        {"chunks and a length", {"Transfer-Encoding: chunked", "Content-Length: 3"}},
        {"unknown transfer", {"Transfer-Encoding: zq7", "Content-Length: 0"}},
        {"compressed", {"Content-Encoding: gzip", "Content-Length: 0"}},
        {"length no number", {"Content-Length: zq7"}},
        {"length below zero", {"Content-Length: -1"}},
        {"length a fraction", {"Content-Length: 1.5"}},
        {"length hexadecimal", {"Content-Length: 0x10"}},
        {"length with a sign", {"Content-Length: +5"}},
        {"length beyond all numbers", {"Content-Length: 99999999999999999999999"}},
        {"length endless", {"Content-Length: 999999999999999999"}},
        {"length one too many", {"Content-Length: " + QByteArray::number(bodyLimit + 1)}},
        {"two lengths", {"Content-Length: 1", "Content-Length: 2"}},
        {"long header", {"X-Mark: " + QByteArray(10000, 'a'), "Content-Length: 0"}},
        {"long name of a header", {QByteArray(10000, 'a') + ": 1", "Content-Length: 0"}},
        {"many headers", QVector<QByteArray>(8000, "X-Mark: zq7")},
    };
    for (const WalkedOperation& operation : qAsConst(m_operations)) {
        for (const auto& head : heads) {
            Case request = goodCase(operation);
            request.name += QByteArray(": ") + head.first;
            request.headers += head.second;
            request.body.clear();
            request.length = false;
            cases.append(request);
        }
        Case request = goodCase(operation);
        request.name += ": no such version";
        request.target += " HTTP/9.9\r\nX:";
        cases.append(request);
    }
    QVERIFY(walk(cases));
}

void TestServerWalk::bodies()
{
    QVector<Case> cases;
    for (const WalkedOperation& operation : qAsConst(m_operations)) {
        const Case good = goodCase(operation);
        const auto add = [&](const QByteArray& what, const QByteArray& body, const QByteArray& contentType) {
            Case request = good;
            request.name += ": " + what;
            request.body = body;
            request.contentType = contentType;
            cases.append(request);
        };
        add("too large", QByteArray(bodyLimit + 1, 'a'), good.contentType);
        if (operation.body == WalkedOperation::Body::None) {
            add("a body nobody asked for", "{\"id\":\"zq7\"}", "application/json");
            continue;
        }
        const QByteArray parts = WalkedOperation::parts({{"patientId", "{P}"}, {"record", "zq7"}});
        if (operation.body == WalkedOperation::Body::Json) {
            for (const Value& body : wrongBodies(good.body))
                add(body.first, body.second, good.contentType);
            add("parts", parts, "multipart/form-data; boundary=" + WalkedOperation::boundary);
            add("labelled parts", good.body, "multipart/form-data; boundary=" + WalkedOperation::boundary);
            add("labelled parts without a boundary", good.body, "multipart/form-data");
            add("form, labelled so", "patientId={P}&recordId={R}&id={P}", "application/x-www-form-urlencoded");
            for (const char* type : {"", "text/plain", "application/x-www-form-urlencoded", "application/octet-stream",
                                     "application/json; charset=utf-16", "zq7", "/", "application/json, text/html"})
                add(QByteArray("labelled \"") + type + '"', good.body, type);
            add("byte order mark", "\xef\xbb\xbf" + good.body, good.contentType);
            add("blanks around", " \r\n\t" + good.body + "\n ", good.contentType);
            add("key nobody asked for", good.body.left(good.body.size() - 1) + ",\"zq7\":[{\"a\":null}]}",
                good.contentType);
            const QByteArray& key = operation.fields.first().key;
            add("key twice, the second wrong", good.body.left(good.body.size() - 1) + ",\"" + key + "\":7}",
                good.contentType);
            add("key twice, the first wrong", "{\"" + key + "\":7," + good.body.mid(1), good.contentType);
            for (const int deep : {1000, 100000})
                add(deep == 1000 ? "key nobody asked for, 1,000 deep" : "key nobody asked for, 100,000 deep",
                    good.body.left(good.body.size() - 1) + ",\"zq7\":" + QByteArray("[").repeated(deep) +
                        QByteArray("]").repeated(deep) + '}',
                    good.contentType);
            QByteArray keys;
            for (int i = 0; i < 50000; ++i)
                keys += "\"zq7 " + QByteArray::number(i) + "\":1,";
            add("50,000 keys nobody asked for", '{' + keys + good.body.mid(1), good.contentType);
        }
    }
    const QVector<Accepted> accepted = {
        {".*: a body nobody asked for", "it is read and left, as in every HTTP"},
        {".*: labelled \"[^\"]*\"", "what a body holds decides, and not what it is called"},
        {".*: byte order mark", "readers of JSON may pass over it"},
        {".*: blanks around", "they mean nothing in JSON"},
        {"(?!PUT /patient/quest).*: (50,000 keys|key) nobody asked for", "a newer client may have more to say"},
        {"(?!PUT /patient/quest).*: key nobody asked for, 1,000 deep", "the same"},
        {"PUT /patient/questionnaire/\\*: empty object", "saves nothing"},
    };
    QVERIFY(walk(cases, accepted));
}

void TestServerWalk::fields()
{
    QVector<Case> cases;
    for (const WalkedOperation& operation : qAsConst(m_operations)) {
        if (operation.body != WalkedOperation::Body::Json || operation.name() == "PUT /patient/questionnaire/*")
            continue;
        for (const WalkedOperation::Field& field : operation.fields) {
            const auto add = [&](const QByteArray& what, const QByteArray& body) {
                Case request = goodCase(operation);
                request.name += ": " + field.key + ": " + what;
                request.body = body;
                cases.append(request);
            };
            add("missing", operation.contentWithout(field.key));
            add("other case", operation.contentWithout(field.key).replace(
                                  0, 1, "{\"" + field.key.toUpper() + "\":" + field.good + ','));
            for (const Value& value : wrongValues())
                add(value.first, operation.content({{field.key, value.second}}));
        }
    }
    const QByteArray texts = "text|text of a number|text of one quote|SQL|emoji";
    const QByteArray any = "(missing|other case|empty text|blank text|" + texts + ")";
    const QByteArray anything = "(missing|other case|empty text|blank text|text with a (zero|line)|text with half a "
                                "pair|10,00[01] characters|1,000,000 characters|" +
                                texts + ")";
    const QByteArray name = ".* /patient: name: (" + texts + ")";
    const QByteArray phone = ".* /patient: phone: " + any;
    const QByteArray notes = ".* /patient: notes: (text with a line|10,000 characters|" + any + ")";
    const QByteArray ofRecipe = ".* /recipe(/autospectrum)?: deviceId: " + anything;
    const QByteArray ofSound = "POST /recipe: command: " + anything;
    const QVector<Accepted> accepted = {
        {name.constData(), "a name"},
        {phone.constData(), "free text, which may be missing"},
        {notes.constData(), "free text of several lines, which may be missing"},
        {"POST /patient/questionnaire: records: array", "none is fine"},
        {".* /recipe: markers: array", "an empty recipe"},
        {".* /recipe: duration: (missing|other case|0|7)", "a duration, which may be missing"},
        {ofRecipe.constData(), "a text that the server has no use for"},
        {"PUT /recipe: command: (missing|other case|empty text)", "nothing is sent to the device"},
        {ofSound.constData(), "a text that the server has no use for"},
        {"POST /command: recordId: (missing|other case|empty text)", "a record is made for its own sake, too"},
    };
    QVERIFY(walk(cases, accepted));
}

void TestServerWalk::questionnaires()
{
    QVector<Case> cases;
    const auto add = [&cases](const QByteArray& what, const QByteArray& body) {
        cases.append({"questionnaire: " + what, "PUT", "/patient/questionnaire/{P}", body, "application/json"});
    };
    for (const Value& value : wrongValues()) {
        add("answers " + value.first, "{\"{R}\":" + value.second + '}');
        add("strength " + value.first, "{\"{R}\":{\"zq7 ache\":" + value.second + "}}");
        add("strength of a shipped one " + value.first, "{\"{R}\":{\"700101\":" + value.second + "}}");
    }
    for (const char* strength : {"1000.001", "-1001", "1e4", "1e308", "-1e308", "01", "+1", ".5", "1.", "1e", "--1"})
        add(QByteArray("strength ") + strength, QByteArray("{\"{R}\":{\"zq7 ache\":") + strength + "}}");
    const Values names = {
        {"empty", "\"\""},
        {"blank", "\"  \""},
        {"with a line", "\"zq7\\nzq7\""},
        {"with a tab", "\"zq7\\t\""},
        {"with a zero", "\"\\u0000zq7\""},
        {"with half a pair", "\"zq7\\udc00\""},
        {"256 characters", '"' + QByteArray(256, 'a') + '"'},
        {"10,000 characters", '"' + QByteArray(10000, 'a') + '"'},
        {"1,000,000 characters", '"' + QByteArray(1000000, 'a') + '"'},
        {"not UTF-8", "\"zq7\xff\""},
        {"no text", "7"},
        {"SQL", "\"zq7'); DELETE FROM patients; --\""},
        {"SQL of a shipped one", "\"700101 OR 1=1\""},
        {"emoji", "\"zq7 \xf0\x9f\x98\x80\""},
    };
    for (const Value& name : names)
        add("symptom " + name.first, "{\"{R}\":{" + name.second + ":1}}");
    QByteArray many;
    for (int i = 0; i < 201; ++i)
        many += (i > 0 ? ",\"zq7 " : "\"zq7 ") + QByteArray::number(i) + "\":1";
    add("201 symptoms", "{\"{R}\":{" + many + "}}");
    QByteArray records;
    for (int i = 0; i < 501; ++i)
        records += (i > 0 ? ",\"r" : "\"r") + QByteArray::number(i) + "\":{}";
    add("501 records", '{' + records + '}');
    add("501 records, one known", "{\"{R}\":{\"zq7 ache\":1}," + records.mid(records.indexOf(',') + 1) + '}');
    add("unknown record behind a known one", "{\"{R}\":{\"zq7 ache\":1},\"zzz\":{}}");
    add("wrong answers behind sound ones", "{\"{R}\":{\"zq7 ache\":1,\"zq7 pain\":\"much\"}}");
    const QVector<Accepted> accepted = {
        {"questionnaire: answers object", "the record has no questionnaire then"},
        {"questionnaire: strength( of a shipped one)? (0|7|-1|1\\.5|-0\\.0000001)", "a number within the limits"},
        {"questionnaire: symptom (SQL|SQL of a shipped one|emoji)", "a name, kept to the letter"},
    };
    QVERIFY(walk(cases, accepted));
}

void TestServerWalk::logins()
{
    const QByteArray form = "application/x-www-form-urlencoded";
    QVector<Case> cases;
    const auto add = [&](const QByteArray& what, const QByteArray& body, const QByteArray& contentType) {
        cases.append({"login: " + what, "POST", "/auth/login", body, contentType, {}});
    };
    const Values bodies = {
        {"empty", ""},
        {"ampersand", "&"},
        {"ampersands", QByteArray(8000, '&')},
        {"equals signs", QByteArray(8000, '=')},
        {"name alone", "username={L}&"},
        {"password alone", "password={W}&"},
        {"both empty", "username=&password="},
        {"both without a value", "username&password"},
        {"name empty", "username=&password={W}"},
        {"password empty", "username={L}&password="},
        {"password wrong", "username={L}&password=zq7"},
        {"password of another", "username={L}&password=zq7otherword"},
        {"password with a zero behind", "username={L}&password={W}%00"},
        {"password with a blank behind", "username={L}&password={W}+"},
        {"name unknown", "username=zq7nobody&password={W}"},
        {"name in other case", "username=ZQ7walker&password={W}"},
        {"name with a zero behind", "username={L}%00&password={W}"},
        {"name with a line behind", "username={L}%0Azq7&password={W}"},
        {"name with a wildcard", "username=zq7walke_&password={W}"},
        {"name SQL", "username=zq7walker'+--&password={W}"},
        {"both SQL", "username='+OR+1=1+--&password='+OR+'1'='1"},
        {"name emoji", "username=%F0%9F%98%80zq7&password={W}"},
        {"name not UTF-8", "username=%FF%FE&password={W}"},
        {"name raw bytes", "username=\xff\xfe&password={W}"},
        {"password not UTF-8", "username={L}&password=%C3%28"},
        {"name with a broken escape", "username={L}%&password={W}"},
        {"password with a broken escape", "username={L}&password={W}%4"},
        {"key in other case", "Username={L}&password={W}"},
        {"keys of arrays", "username[]={L}&password[]={W}"},
        {"other keys", "name={L}&pass={W}"},
        {"semicolons", "username={L};password={W}"},
        {"name twice, the first wrong", "username=zq7&username={L}&password={W}"},
        {"password twice, the first wrong", "username={L}&password=zq7&password={W}"},
        {"name of 201 characters", "username=" + QByteArray(201, 'a') + "&password={W}"},
        {"name of 8,000 characters", "username=" + QByteArray(8000, 'a') + "&password={W}"},
        {"password of 8,000 characters", "username={L}&password=" + QByteArray(8000, 'a')},
        {"name of 10,000 characters", "username=" + QByteArray(10000, 'a') + "&password={W}"},
        {"1,000,000 characters", "username={L}&password=" + QByteArray(1000000, 'a')},
        {"too large", QByteArray(bodyLimit + 1, 'a')},
        {"JSON", R"({"username":"{L}","password":"{W}"})"},
        {"zeros", QByteArray(100, '\0')},
        {"UTF-16", utf16("username=zq7&password=zq7", false, true)},
        {"in two bodies", "username={L}\r\npassword={W}"},
    };
    for (const Value& body : bodies)
        add(body.first, body.second, form);
    add("JSON, labelled so", R"({"username":"{L}","password":"{W}"})", "application/json");
    add("parts", WalkedOperation::parts({{"username", "{L}"}, {"password", "{W}"}}),
        "multipart/form-data; boundary=" + WalkedOperation::boundary);
    add("password of 1,000,000 characters, labelled otherwise", "username={L}&password=" + QByteArray(1000000, 'a'),
        "text/plain");
    for (const char* type : {"", "text/plain", "application/json"})
        add(QByteArray("labelled \"") + type + '"', "username={L}&password={W}", type);
    add("keys nobody asked for", "zq7=%&a&=&username={L}&password={W}", form);
    add("blanks around the name", "username=+{L}++&password={W}", form);
    for (const char* head : {"Authorization: Basic zq7", "Authorization: Bearer {expired}"}) {
        add(QByteArray("with ") + head, "username={L}&password={W}", form);
        cases.last().headers.append(head);
    }
    // The time it takes, and the sentence, tell nothing of which of the two was wrong.
    const WireClient::Answer unknown = send(cases.at(14), m_mine);
    const WireClient::Answer wrong = send(cases.at(10), m_mine);
    QCOMPARE(unknown.status, 401);
    QCOMPARE(unknown.body, wrong.body);
    const QVector<Accepted> accepted = {
        {"login: labelled \"[^\"]*\"", "what a body holds decides, and not what it is called"},
        {"login: keys nobody asked for", "a newer client may have more to say"},
        {"login: blanks around the name", "names have none"},
        {"login: with Authorization.*", "who logs in needs no token, be it a wrong one"},
    };
    QVERIFY(walk(cases, accepted));
}

void TestServerWalk::uploads()
{
    const QByteArray multipart = "multipart/form-data; boundary=" + WalkedOperation::boundary;
    const QByteArray wave = WalkedOperation::wave();
    const QByteArray good = WalkedOperation::parts({{"patientId", "{P}"}, {"record", wave}});
    const QByteArray line = "--" + WalkedOperation::boundary;
    QVector<Case> cases;
    const auto add = [&cases](const QByteArray& what, const QByteArray& body, const QByteArray& contentType,
                              const QByteArray& header = QByteArray()) {
        cases.append({"upload: " + what, "POST", "/record", body, contentType});
        if (!header.isEmpty())
            cases.last().headers.append(header);
    };

    const QVector<QPair<const char*, Values>> partLists = {
        {"no part", {}},
        {"patient alone", {{"patientId", "{P}"}}},
        {"record alone", {{"record", wave}}},
        {"patient twice", {{"patientId", "{P}"}, {"patientId", "{P}"}, {"record", wave}}},
        {"two patients", {{"patientId", "{P}"}, {"patientId", "{second P}"}, {"record", wave}}},
        {"record twice", {{"patientId", "{P}"}, {"record", wave}, {"record", wave}}},
        {"names in other case", {{"PatientId", "{P}"}, {"Record", wave}}},
        {"other names", {{"patient", "{P}"}, {"file", wave}}},
        {"empty names", {{"", "{P}"}, {"", wave}}},
        {"arrays", {{"patientId[]", "{P}"}, {"record[]", wave}}},
        {"patient empty", {{"patientId", ""}, {"record", wave}}},
        {"patient of another", {{"patientId", "{foreign P}"}, {"record", wave}}},
        {"patient JSON", {{"patientId", "\"{P}\""}, {"record", wave}}},
        {"patient and a line", {{"patientId", "{P}\r\n"}, {"record", wave}}},
        {"patient of 10,000 characters", {{"patientId", QByteArray(10000, 'a')}, {"record", wave}}},
        {"patient of 900,000 characters", {{"patientId", QByteArray(900000, 'a')}, {"record", wave}}},
        {"swapped", {{"patientId", wave}, {"record", "{P}"}}},
        {"name of 10,000 characters", {{"patientId", "{P}"}, {QByteArray(10000, 'a'), wave}}},
        {"1,000 parts instead of the record", Values{{"patientId", "{P}"}} + Values(1000, Value("zq7", "zq7"))},
        {"10,000 parts", Values{{"patientId", "{P}"}} + Values(10000, Value("record", "a"))},
        {"100 records", Values{{"patientId", "{P}"}} + Values(100, Value("record", "zq7"))},
        {"part nobody asked for", {{"patientId", "{P}"}, {"zq7", "zq7"}, {"record", wave}}},
    };
    for (const auto& parts : partLists)
        add(parts.first, WalkedOperation::parts(parts.second), multipart);

    const QByteArray inPart = "Content-Disposition: form-data; name=\"record\"";
    const auto changed = [&good](const QByteArray& from, const QByteArray& to) {
        return QByteArray(good).replace(from, to);
    };
    add("empty", "", multipart);
    add("end alone", line + "--\r\n", multipart);
    add("no parts", "zq7", multipart);
    add("JSON", R"({"patientId":"{P}","record":"zq7"})", multipart);
    add("no end", good.left(good.size() - 4), multipart);
    add("cut in the record", good.left(20000), multipart);
    add("cut in the first head", good.left(40), multipart);
    add("no boundary", good, "multipart/form-data");
    add("empty boundary", good, "multipart/form-data; boundary=");
    add("other boundary", good, "multipart/form-data; boundary=zq7");
    add("longer boundary", good, multipart + "x");
    add("shorter boundary", good, multipart.left(multipart.size() - 1));
    add("boundary of 10,000 characters", good, "multipart/form-data; boundary=" + QByteArray(10000, 'a'));
    add("boundary of 5,000 characters", good, "multipart/form-data; boundary=" + QByteArray(5000, 'a'));
    add("boundary of control characters", good, "multipart/form-data; boundary=\x01\x02");
    add("boundary with a quote left open", good, "multipart/form-data; boundary=\"" + WalkedOperation::boundary + "x");
    add("no multipart", good, "application/octet-stream");
    add("labelled JSON", good, "application/json");
    add("labelled a form", good.left(5000), "application/x-www-form-urlencoded");
    add("no label", good, "");
    add("other multipart", good, "multipart/mixed; boundary=" + WalkedOperation::boundary);
    add("record alone, as it is", wave, "audio/wav");
    add("no disposition", changed(inPart, "X-Mark: zq7"), multipart);
    add("no name", changed(inPart, "Content-Disposition: form-data"), multipart);
    add("name left open", changed(inPart, "Content-Disposition: form-data; name=\"record"), multipart);
    add("no empty line", changed(inPart + "\r\n\r\n", inPart + "\r\n"), multipart);
    add("line ends without a return", QByteArray(good.left(140)).replace("\r\n", "\n") + good.mid(140), multipart);
    add("long head of a part", changed(inPart, inPart + "\r\nX-Mark: " + QByteArray(10000, 'a')), multipart);
    add("too large", WalkedOperation::parts({{"patientId", "{P}"}, {"record", QByteArray(bodyLimit, 'a')}}), multipart);
    add("parts in a part", WalkedOperation::parts({{"zq7", good}}).replace("walked-parts--\r\n", "walked-parts--"),
        "multipart/form-data; boundary=outer");
    add("file name", changed(inPart, inPart + "; filename=\"../../etc/passwd\""), multipart);
    add("type of the part", changed(inPart, inPart + "\r\nContent-Type: text/html"), multipart);

    const auto changedWave = [&wave](int at, const QByteArray& bytes) {
        return QByteArray(wave).replace(at, bytes.size(), bytes);
    };
    const Values waves = {
        {"empty", ""},
        {"one byte", "R"},
        {"text", "zq7"},
        {"head alone", wave.left(44)},
        {"43 bytes", wave.left(43)},
        {"one sample less", wave.left(wave.size() - 1)},
        {"one sample more", wave + 'a'},
        {"10,000 characters", QByteArray(10000, 'a')},
        {"900,000 characters", QByteArray(900000, 'a')},
        {"zeros", QByteArray(wave.size(), '\0')},
        {"RIFX", changedWave(0, "RIFX")},
        {"riff", changedWave(0, "riff")},
        {"MP3", "ID3" + wave.mid(3)},
        {"OGG", "OggS" + wave.mid(4)},
        {"chunk size 0", changedWave(4, QByteArray(4, '\0'))},
        {"chunk size endless", changedWave(4, "\xff\xff\xff\xff")},
        {"AVI", changedWave(8, "AVI ")},
        {"no format", changedWave(12, "junk")},
        {"format size 18", changedWave(16, QByteArray("\x12", 1))},
        {"format size endless", changedWave(16, "\xff\xff\xff\xff")},
        {"tag 3", changedWave(20, "\x03")},
        {"tag extensible", changedWave(20, "\xfe\xff")},
        {"stereo", changedWave(22, "\x02")},
        {"no channel", changedWave(22, QByteArray(1, '\0'))},
        {"44100 Hz", changedWave(24, "\x44\xac")},
        {"0 Hz", changedWave(24, QByteArray(4, '\0'))},
        {"endless rate", changedWave(24, "\xff\xff\xff\xff")},
        {"wrong byte rate", changedWave(28, "\x01")},
        {"wrong alignment", changedWave(32, "\x02")},
        {"16 bits", changedWave(34, "\x10")},
        {"0 bits", changedWave(34, QByteArray(1, '\0'))},
        {"no data", changedWave(36, "LIST")},
        {"data size 0", changedWave(40, QByteArray(4, '\0'))},
        {"data size endless", changedWave(40, "\xff\xff\xff\xff")},
        {"data size one less", changedWave(40, "\x65")},
        {"byte order mark before", "\xef\xbb\xbf" + wave},
        {"line before", "\r\n" + wave},
        {"base64", wave.toBase64()},
        {"hexadecimal", wave.left(30000).toHex()},
    };
    for (const Value& bad : waves)
        add("record " + bad.first, WalkedOperation::parts({{"patientId", "{P}"}, {"record", bad.second}}), multipart);

    add("sensor of 256 characters", good, multipart, "Quelmar-ID: " + QByteArray(256, 'a'));
    add("sensor of 10,000 characters", good, multipart, "Quelmar-ID: " + QByteArray(10000, 'a'));
    add("sensor not UTF-8", good, multipart, "Quelmar-ID: zq7\xff");
    add("sensor with a control character", good, multipart, "Quelmar-ID: zq7\x01zq7");
    add("sensor with a separator of C1", good, multipart, "Quelmar-ID: zq7\xc2\x85zq7");
    add("sensor SQL", good, multipart, "Quelmar-ID: zq7'); DELETE FROM patients; --");
    add("sensor emoji", good, multipart, "Quelmar-ID: \xf0\x9f\x98\x80");
    const QVector<Accepted> accepted = {
        {"upload: part nobody asked for", "a newer client may have more to say"},
        {"upload: (file name|type of the part)", "what a part holds decides, and not what it is called"},
        {"upload: sensor (SQL|emoji)", "free text in one line"},
    };
    QVERIFY(walk(cases, accepted));
}

void TestServerWalk::queries()
{
    QVector<Case> cases;
    const auto add = [&cases](const QByteArray& path, const QByteArray& query) {
        cases.append(
            {path + '?' + query.left(100) + ' ' + QByteArray::number(query.size()), "GET", path + query, "", ""});
        cases.last().name = path + ' ' + query.left(100);
    };
    const QByteArray filter = "/patient/filter";
    QVector<QByteArray> odd{"zq7",
                            "%00",
                            "%",
                            "%4",
                            "%zz",
                            "%FF%FE",
                            "%C0%AF",
                            "'",
                            "\"",
                            "%27+OR+1=1",
                            "null",
                            "NaN",
                            "-1",
                            "1.5",
                            "1e400",
                            "1e2",
                            "0x10",
                            "999999999999999999999",
                            "%D9%A5",
                            "5zq7",
                            "%F0%9F%98%80",
                            QByteArray(7000, 'a')};
    for (const char* key : {"sortby", "direction", "size", "current", "searchby", "needle"}) {
        for (const QByteArray& value : qAsConst(odd)) {
            // Four letters of any kind are the base64 of something.
            if (QByteArray(key) != "needle" || value.size() % 4 != 0)
                add(filter, QByteArray("?") + key + '=' + value);
        }
        add(filter, QByteArray("?") + key + "=zq7&" + key + '=');
        add(filter, QByteArray("?") + key + '=' + QByteArray(10000, 'a'));
    }
    for (const char* item : {"sortby=NAME",
                             "sortby=name,age",
                             "sortby=name;--",
                             "sortby=id",
                             "sortby=password_hash",
                             "sortby=p.name",
                             "direction=ASC",
                             "direction=asc,+(SELECT+1)",
                             "size=0",
                             "size=501",
                             "size=2147483648",
                             "size=20;",
                             "current=2147483648",
                             "searchby=id",
                             "searchby=phone",
                             "needle=a",
                             "needle=a+b-",
                             "needle=YQ==",
                             "needle=YQ=",
                             "needle=Y/Q-",
                             "needle=-YQ-",
                             "needle=_w--",
                             "needle=AA--",
                             "needle=wK8-",
                             "needle=7aCA",
                             "needle=YQ--YQ--"})
        add(filter, QByteArray("?") + item);
    add(filter, "?needle=" + QByteArray(1001, 'a').toBase64().replace('=', '-'));
    add(filter, "?needle=" + QByteArray(4000, 'a').toBase64().replace('=', '-'));
    add(filter, "?a?b");
    add(filter, "?" + QByteArray(10000, '&'));
    add(filter, "?" + QByteArray("size=0&").repeated(500));
    for (const char* fine :
         {"", "?", "?&&&", "?=", "?zq7", "?zq7=zq7&%zz=1", "?sortby&direction&size&current", "?size=%205", "?size=+5",
          "?current=2147483647", "?size=5&size=zq7", "?needle=eic7IERST1A-"})
        add(filter, fine);

    const QByteArray updates = "/auth/updates";
    odd +=
        {"",       ".",    "1.",   ".1",           "1..2",    "v1", "1.2.3.4.5.6.7.8.9", "1234567890", "1,2", "+1",
         "1%200",  "%0A1", "1%0A", "1-2",          "1.2.zq7", "1'", "\xef\xbc\x91",      "latest",     "*",   "2021.3/",
         "%2e%2e", "1%00", "-",    "2147483648.1", "1e5"};
    for (const QByteArray& value : qAsConst(odd))
        add(updates, "/?version=" + value);
    add(updates, "");
    add(updates, "/");
    add(updates, "/?");
    add(updates, "/?Version=2021.3.0");
    add(updates, "/?version");
    add(updates, "/?version=zq7&version=2021.3.0");
    add(updates, "/?version=" + QByteArray("1.").repeated(4000) + '1');
    add(updates, "/?version=" + QByteArray(10000, '1'));
    add(updates, "//?version=2021.3.0");
    add(updates, "/?version=0000.0");
    for (const WalkedOperation& operation : qAsConst(m_operations)) {
        if (operation.method == "GET" && operation.query.isEmpty())
            add(operation.path, "?size=zq7&sortby=zq7&version=zq7");
    }
    for (Case& request : cases)
        request.headers = {"Authorization: Bearer {token}"};
    const QVector<Accepted> accepted = {
        {"/patient/filter (\\?(&&&|=|zq7|zq7=zq7&%zz=1|sortby&direction&size&current)?)?", "each item may be missing"},
        {"/patient/filter \\?size=(%20|\\+)5", "a blank before a number means nothing"},
        {"/patient/filter \\?current=2147483647", "beyond the last page the first is given"},
        {"/patient/filter \\?size=5&size=zq7", "the first one counts"},
        {"/patient/filter \\?needle=eic7IERST1A-", "a text to search for"},
        {"/auth/updates /\\?version=(0000\\.0|1\\.5)", "a version"},
        {"/.* \\?size=zq7&sortby=zq7&version=zq7", "items that the operation does not know"},
    };
    QVERIFY(walk(cases, accepted));
}

/// Whoever sends bytes that are no request, ends no request or has endless heads keeps nobody else from working.
void TestServerWalk::servesThroughFloods()
{
    const quint16 port = m_fixture.process().port();
    std::atomic<bool> over{false};
    std::atomic<int> sent{0};
    std::atomic<int> wrong{0};
    const auto garbage = [&](quint32 seed) {
        quint32 state = seed;
        const auto next = [&state] {
            state ^= state << 13;
            state ^= state >> 17;
            state ^= state << 5;
            return state;
        };
        // Half a request each; fewer than the server has threads.
        std::vector<std::unique_ptr<WireClient>> held(8);
        for (int i = 0; !over; ++i) {
            WireClient client(port);
            QByteArray bytes(int(next() % 20000), Qt::Uninitialized);
            for (char& c : bytes)
                c = char(next());
            client.send(bytes);
            auto& half = held.at(size_t(i) % held.size());
            half = std::make_unique<WireClient>(port);
            const QByteArray request = "POST /patient HTTP/1.1\r\nContent-Length: 900000\r\n\r\n{\"name\":\"zq7";
            half->send(request.left(1 + int(next() % uint(request.size()))));
            sent += 2;
        }
    };
    const auto heads = [&] {
        const QVector<QByteArray> requests = {
            "GET /patient HTTP/1.1\r\nX-Mark: " + QByteArray(10000, 'z') + "\r\n\r\n",
            "GET /patient HTTP/1.1\r\n" + QByteArray("X-Mark: zq7\r\n").repeated(10000) + "\r\n",
            "GET /patient HTTP/1.1\r\n" + QByteArray(100000, 'a'),
            "GET /" + QByteArray(10000, 'a') + " HTTP/1.1\r\n\r\n",
            "GET /" + QByteArray(200000, 'a'),
            "POST /patient HTTP/1.1\r\nContent-Length: 999999999\r\n\r\n" + QByteArray(100000, 'a'),
            QByteArray("\r\n").repeated(50000),
        };
        for (int i = 0; !over; ++i) {
            WireClient client(port);
            const int status = client.exchange(requests.at(i % requests.size())).status;
            if (status != 0 && (status < 400 || status > 499))
                ++wrong;
            ++sent;
        }
    };
    std::vector<std::thread> floods;
    floods.emplace_back(garbage, 1);
    floods.emplace_back(garbage, 2);
    floods.emplace_back(heads);
    floods.emplace_back(heads);

    int good = 0;
    constexpr int rounds = 25;
    for (int i = 0; i < rounds || (sent < 400 && i < 100 * rounds); ++i) {
        const Subject own = scratch();
        const WireClient::Answer records = send({"", "GET", "/record/{P}", "", ""}, own);
        const bool gone = send({"", "DELETE", "/patient/{P}", "", ""}, own).status == 200;
        good += gone && records.status == 200 && records.body.contains(valueOf(own, "{R}")) ? 1 : -10000;
    }
    over = true;
    for (std::thread& flood : floods)
        flood.join();
    QVERIFY(good >= rounds);
    QVERIFY(sent >= 400);
    QCOMPARE(wrong.load(), 0);
    QVERIFY(isWell());
}

/// All that goes wrong at a good pace, over and over: what was used is given back.
void TestServerWalk::growsNoFurther()
{
    QVector<Case> cases;
    for (const WalkedOperation& operation : qAsConst(m_operations)) {
        Case request = goodCase(operation);
        request.headers.clear();
        if (!operation.open)
            cases.append(request);
        request = goodCase(operation);
        request.target.replace("{P}", QByteArray(5000, 'a'));
        request.body = QByteArray(1000000, '{');
        if (operation.body == WalkedOperation::Body::Json)
            cases.append(request);
        request.method = "zq7";
        cases.append(request);
    }
    QVector<qint64> used;
    for (int round = 0; round < 4; ++round) {
        for (int i = 0; i < 2; ++i) {
            for (const Case& request : qAsConst(cases)) {
                const int status = send(request, m_mine).status;
                QVERIFY2(status >= 400 && status < 500, request.name.constData());
            }
        }
        used.append(memory());
    }
    QVERIFY(used.first() > 0);
#ifndef __SANITIZE_ADDRESS__
    // A round sends some 90 MB, in bodies of 1 MB. The sanitizer keeps what was freed.
    QVERIFY2(used.last() < used.at(1) + 48 * 1024, QByteArray::number(used.last() - used.at(1)).constData());
#endif
    // Every thread keeps its connection to the database; those of clients, of which thousands were made, go.
    QVERIFY(openFiles() > 0);
    QTRY_VERIFY_WITH_TIMEOUT(openFiles() < 250, minute);
    QVERIFY(isWell());
}

QTEST_GUILESS_MAIN(TestServerWalk)

#include "TestServerWalk.moc"
