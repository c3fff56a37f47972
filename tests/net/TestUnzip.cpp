// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/Controller.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/gzip.h"

#include <QRandomGenerator>
#include <QTest>

#include <memory>
#include <zlib.h>

namespace {

/// Bytes that hardly compress, so that input and output run dry at different passes.
QByteArray noise(int size)
{
    QRandomGenerator generator(static_cast<quint32>(size) + 1U);
    QByteArray bytes(size, Qt::Uninitialized);
    for (char& byte : bytes) {
        byte = static_cast<char>(generator.bounded(256));
    }
    return bytes;
}

constexpr int headerSize = 10;
constexpr int trailerSize = 8;

} // namespace

class TestUnzip : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void restoresEverySize_data();
    void restoresEverySize();
    void warnsOfLessThanFiveBytes_data();
    void warnsOfLessThanFiveBytes();
    void returnsAsFarAsCutInputGoes_data();
    void returnsAsFarAsCutInputGoes();
    void rejectsBrokenInput_data();
    void rejectsBrokenInput();
    void dropsWhatWasDecodedBeforeAFault();
    void survivesAnyFlippedByte();
    void ignoresWhatFollowsTheFirstMember_data();
    void ignoresWhatFollowsTheFirstMember();
    void takesNoMoreThanTheLimit_data();
    void takesNoMoreThanTheLimit();
    void takesTheLongestImpact();
    void survivesABomb();

private:
    std::unique_ptr<MessageGuard> guard;
};

void TestUnzip::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
}

void TestUnzip::cleanup()
{
    guard->verify();
    guard->clear();
}

void TestUnzip::restoresEverySize_data()
{
    QTest::addColumn<QByteArray>("content");
    for (const int size : {0, 1, 1023, 1024, 1025, 2047, 2048, 2049, 3072, 65536, 1048576, 1048577}) {
        QTest::addRow("%d blanks", size) << QByteArray(size, ' ');
        QTest::addRow("%d of noise", size) << noise(size);
    }
}

void TestUnzip::restoresEverySize()
{
    QFETCH(QByteArray, content);
    const QByteArray result = Controller::unzip(gzip(content));
    QCOMPARE(result.size(), content.size());
    QVERIFY(result == content);
    QVERIFY(guard->messages().isEmpty());
}

void TestUnzip::warnsOfLessThanFiveBytes_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("warns");
    QTest::newRow("null") << QByteArray() << true;
    QTest::newRow("empty") << QByteArray("") << true;
    for (int size = 1; size < 7; ++size) {
        QTest::addRow("%d", size) << gzip("content").left(size) << (size < 5);
    }
}

void TestUnzip::warnsOfLessThanFiveBytes()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, warns);
    if (warns) {
        QTest::ignoreMessage(QtWarningMsg, "unzip: Input data is truncated");
    }
    QCOMPARE(Controller::unzip(bytes), QByteArray());
    QCOMPARE(guard->messages().size(), warns ? 1 : 0);
}

void TestUnzip::returnsAsFarAsCutInputGoes_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("short") << QByteArray("a short text, and a short text again");
    QTest::newRow("one buffer") << noise(1024);
    QTest::newRow("several buffers") << noise(2500);
}

void TestUnzip::returnsAsFarAsCutInputGoes()
{
    QFETCH(QByteArray, content);
    const QByteArray member = gzip(content);
    int longest = 0;
    for (int size = 5; size <= member.size(); ++size) {
        const QByteArray result = Controller::unzip(member.left(size));
        QVERIFY2(content.startsWith(result), QByteArray::number(size).constData());
        // More input never gives less.
        QVERIFY2(result.size() >= longest, QByteArray::number(size).constData());
        longest = result.size();
        if (size <= headerSize) {
            QCOMPARE(result, QByteArray());
        }
        if (size >= member.size() - trailerSize) {
            QVERIFY2(result == content, QByteArray::number(size).constData());
        }
    }
    QCOMPARE(longest, content.size());
    QVERIFY(guard->messages().isEmpty());
}

void TestUnzip::rejectsBrokenInput_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QByteArray member = gzip("content of the member");
    QTest::newRow("text") << QByteArray("this is no gzip member");
    QTest::newRow("zeros") << QByteArray(100, '\0');
    QTest::newRow("ones") << QByteArray(100, '\xff');
    QTest::newRow("first magic byte") << QByteArray(member).replace(0, 1, "\x1e");
    QTest::newRow("second magic byte") << QByteArray(member).replace(1, 1, "\x8a");
    QTest::newRow("method") << QByteArray(member).replace(2, 1, "\x07");
    QTest::newRow("reserved flags") << QByteArray(member).replace(3, 1, "\xe0");
    QTest::newRow("block type") << QByteArray(member).replace(headerSize, 1, "\x07");
    QTest::newRow("checksum") << QByteArray(member).replace(member.size() - trailerSize, 4, "abcd");
    QTest::newRow("length") << QByteArray(member).replace(member.size() - 4, 4, "abcd");

    // The zlib wrapping of the same data, which is not gzip.
    const QByteArray content("content of the member");
    QByteArray zlibbed(100, '\0');
    uLongf size = 100;
    const int status =
        compress(reinterpret_cast<Bytef*>(zlibbed.data()), &size, reinterpret_cast<const Bytef*>(content.constData()),
                 static_cast<uLong>(content.size()));
    if (status != Z_OK) {
        qFatal("compress failed");
    }
    zlibbed.resize(static_cast<int>(size));
    QTest::newRow("zlib wrapping") << zlibbed;
    QTest::newRow("raw deflate") << zlibbed.mid(2);
    QTest::newRow("Qt's wrapping") << qCompress(content);
}

void TestUnzip::rejectsBrokenInput()
{
    QFETCH(QByteArray, bytes);
    QCOMPARE(Controller::unzip(bytes), QByteArray());
    QVERIFY(guard->messages().isEmpty());
}

void TestUnzip::dropsWhatWasDecodedBeforeAFault()
{
    // The fault lies in the trailer, after three full buffers.
    QByteArray member = gzip(noise(3500));
    member.replace(member.size() - trailerSize, 4, "abcd");
    QCOMPARE(Controller::unzip(member), QByteArray());
}

void TestUnzip::survivesAnyFlippedByte()
{
    const QByteArray content = noise(300) + QByteArray(3000, 'x');
    const QByteArray member = gzip(content);
    int rejected = 0;
    for (int i = 0; i < member.size(); ++i) {
        QByteArray broken = member;
        broken[i] = static_cast<char>(broken.at(i) ^ 0x55);
        const QByteArray result = Controller::unzip(broken);
        rejected += result.isEmpty() ? 1 : 0;
        if (i >= member.size() - trailerSize) {
            QCOMPARE(result, QByteArray());
        }
    }
    QVERIFY2(rejected > member.size() / 2, QByteArray::number(rejected).constData());
}

void TestUnzip::ignoresWhatFollowsTheFirstMember_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<QByteArray>("rest");
    for (const int size : {0, 10, 1023, 1024, 1025, 2048}) {
        QTest::addRow("%d and a member", size) << noise(size) << gzip("second");
        QTest::addRow("%d and a long member", size) << noise(size) << gzip(noise(5000));
        QTest::addRow("%d and rubbish", size) << noise(size) << QByteArray(50, '\xff');
    }
}

void TestUnzip::ignoresWhatFollowsTheFirstMember()
{
    QFETCH(QByteArray, first);
    QFETCH(QByteArray, rest);
    const QByteArray result = Controller::unzip(gzip(first) + rest);
    QCOMPARE(result.size(), first.size());
    QVERIFY(result == first);
}

void TestUnzip::takesNoMoreThanTheLimit_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("limit");
    QTest::addColumn<bool>("fits");
    QTest::newRow("nothing, no room") << 0 << 0 << true;
    QTest::newRow("one byte, no room") << 1 << 0 << false;
    for (const int size : {100, 1024, 5000, 65536}) {
        QTest::addRow("%d, one less", size) << size << size - 1 << false;
        QTest::addRow("%d, as many", size) << size << size << true;
        QTest::addRow("%d, one more", size) << size << size + 1 << true;
    }
    QTest::newRow("a megabyte, a buffer") << (1 << 20) << 1024 << false;
}

void TestUnzip::takesNoMoreThanTheLimit()
{
    QFETCH(int, size);
    QFETCH(int, limit);
    QFETCH(bool, fits);
    for (const QByteArray& content : {QByteArray(size, '0'), noise(size)}) {
        const QByteArray result = Controller::unzip(gzip(content), limit);
        QVERIFY(result == (fits ? content : QByteArray()));
    }
    QVERIFY(guard->messages().isEmpty());
}

void TestUnzip::takesTheLongestImpact()
{
    // Ten hours in blocks of one pass each, as base64 between quotes, with a comma and a line break.
    constexpr qint64 block = 65709;
    constexpr qint64 blocks = 600LL * 60 * 22050 / block + 1;
    QVERIFY(blocks * ((block + 2) / 3 * 4 + 8) <= Controller::maximumUnzipped);
}

void TestUnzip::survivesABomb()
{
    if (!qEnvironmentVariableIsSet("QUELMAR_TEST_LONG")) {
        QSKIP("takes some gigabytes: QUELMAR_TEST_LONG=1");
    }
    // One after the other, so that no two of the long texts are there at once.
    const QByteArray largest = gzip(QByteArray(Controller::maximumUnzipped, '0'));
    const QByteArray beyond = gzip(QByteArray(Controller::maximumUnzipped + 1, '0'));
    QVERIFY(beyond.size() < Controller::maximumUnzipped / 500);
    QCOMPARE(Controller::unzip(beyond).size(), 0);
    const QByteArray result = Controller::unzip(largest);
    QCOMPARE(result.size(), Controller::maximumUnzipped);
    QCOMPARE(result.count('0'), Controller::maximumUnzipped);
}

QTEST_GUILESS_MAIN(TestUnzip)
#include "TestUnzip.moc"
