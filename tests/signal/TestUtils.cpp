// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/Utils.h"

#include <QJsonDocument>
#include <QSysInfo>
#include <QTest>
#include <QtEndian>

class TestUtils : public QObject
{
    Q_OBJECT

private slots:
    void audioFormat();
    void wavHeader_data();
    void wavHeader();
    void wavFileSize();
    void calculateRepeats_data();
    void calculateRepeats();
    void repeatBlocks_data();
    void repeatBlocks();
    void isWindows();
    void monthNames_data();
    void monthNames();
    void mapToJson();
    void bytesToJson_data();
    void bytesToJson();
    void bytesToArray_data();
    void bytesToArray();
};

namespace {

template <typename T> T littleEndian(const QByteArray& bytes, int offset)
{
    return qFromLittleEndian<T>(bytes.constData() + offset);
}

} // namespace

void TestUtils::audioFormat()
{
    const QAudioFormat format = Utils::audioFormat();
    QVERIFY(format.isValid());
    QCOMPARE(format.sampleRate(), 22050);
    QCOMPARE(format.channelCount(), 1);
    QCOMPARE(format.sampleSize(), 8);
    QCOMPARE(format.codec(), QStringLiteral("audio/pcm"));
    QCOMPARE(format.byteOrder(), QAudioFormat::LittleEndian);
    QCOMPARE(format.sampleType(), QAudioFormat::UnSignedInt);
    QCOMPARE(format.bytesForDuration(1000000), 22050);
}

void TestUtils::wavHeader_data()
{
    QTest::addColumn<int>("dataSize");
    QTest::newRow("nothing") << 0;
    QTest::newRow("one sample") << 1;
    QTest::newRow("a recording") << 66150;
    QTest::newRow("all four bytes") << 0x12345678;
}

void TestUtils::wavHeader()
{
    QFETCH(int, dataSize);
    const QByteArray header = Utils::wavHeader(dataSize);
    QCOMPARE(header.size(), 44);
    QCOMPARE(header.mid(0, 4), QByteArray("RIFF"));
    QCOMPARE(littleEndian<quint32>(header, 4), static_cast<quint32>(dataSize) + 36U);
    QCOMPARE(header.mid(8, 8), QByteArray("WAVEfmt "));
    QCOMPARE(littleEndian<quint32>(header, 16), 16U);
    QCOMPARE(littleEndian<quint16>(header, 20), quint16(1));
    QCOMPARE(littleEndian<quint16>(header, 22), quint16(1));
    QCOMPARE(littleEndian<quint32>(header, 24), 22050U);
    QCOMPARE(littleEndian<quint32>(header, 28), 22050U);
    QCOMPARE(littleEndian<quint16>(header, 32), quint16(1));
    QCOMPARE(littleEndian<quint16>(header, 34), quint16(8));
    QCOMPARE(header.mid(36, 4), QByteArray("data"));
    QCOMPARE(littleEndian<quint32>(header, 40), static_cast<quint32>(dataSize));
}

void TestUtils::wavFileSize()
{
    const QByteArray file = Utils::wavHeader(66150) + QByteArray(66150, '\x7f');
    QCOMPARE(file.size(), 66194);
    QCOMPARE(littleEndian<quint32>(file, 4), 66186U);
}

void TestUtils::calculateRepeats_data()
{
    QTest::addColumn<int>("minutes");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("repeats");
    QTest::newRow("15 minutes for one") << 15 << 1 << 302;
    QTest::newRow("one minute for one") << 1 << 1 << 20;
    QTest::newRow("half an hour among seven") << 30 << 7 << 86;
    QTest::newRow("too many to share") << 1 << 21 << 1;
    QTest::newRow("just above one, rounded down") << 1 << 20 << 1;
    // Three seconds a pass would give 10.
    QTest::newRow("a pass is 2.98 s") << 15 << 29 << 10;
    QTest::newRow("not 3 s") << 149 << 1 << 3000;
    QTest::newRow("no time") << 0 << 1 << 1;
    QTest::newRow("no time among many") << 0 << 50 << 1;
    QTest::newRow("no items") << 15 << 0 << 1;
    QTest::newRow("neither time nor items") << 0 << 0 << 1;
    QTest::newRow("negative time") << -5 << 1 << 1;
    QTest::newRow("negative count") << 5 << -1 << 1;
    QTest::newRow("more than an int holds") << std::numeric_limits<int>::max() << 1 << 1;
}

void TestUtils::calculateRepeats()
{
    QFETCH(int, minutes);
    QFETCH(int, count);
    QTEST(Utils::calculateRepeats(minutes, count), "repeats");
}

void TestUtils::repeatBlocks_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<int>("repeats");
    QTest::addColumn<QByteArray>("samples");
    QTest::newRow("no blocks") << QByteArray("[]") << 3 << QByteArray();
    QTest::newRow("one block") << QByteArray(R"(["YWI="])") << 3 << QByteArray("ababab");
    QTest::newRow("block by block") << QByteArray(R"(["YWI=", "Yw=="])") << 2 << QByteArray("ababcc");
    QTest::newRow("one pass") << QByteArray(R"(["YWI=", "Yw=="])") << 1 << QByteArray("abc");
    QTest::newRow("any bytes") << QByteArray(R"(["AP8K"])") << 2 << QByteArray("\0\xff\n\0\xff\n", 6);
    QTest::newRow("no text") << QByteArray(R"([7, null, {}, ["YQ=="], true, 1e300, "YQ=="])") << 2 << QByteArray("aa");
    QTest::newRow("empty texts") << QByteArray(R"(["", "YQ==", ""])") << 2 << QByteArray("aa");
    QTest::newRow("empty texts alone") << QByteArray(R"(["", ""])") << 1000000 << QByteArray();
    QTest::newRow("broken base64") << QByteArray(R"(["Y!Q=", "Yg"])") << 1 << QByteArray("ab");
    QTest::newRow("no passes") << QByteArray(R"(["YQ=="])") << 0 << QByteArray();
    QTest::newRow("negative passes") << QByteArray(R"(["YQ=="])") << -1 << QByteArray();
}

void TestUtils::repeatBlocks()
{
    QFETCH(QByteArray, json);
    QFETCH(int, repeats);
    QTEST(Utils::repeatBlocks(QJsonDocument::fromJson(json).array(), repeats), "samples");
}

void TestUtils::isWindows()
{
    QCOMPARE(Utils::isWindows(), QSysInfo::kernelType() == QLatin1String("winnt"));
#ifdef Q_OS_LINUX
    QVERIFY(!Utils::isWindows());
#endif
}

void TestUtils::monthNames_data()
{
    QTest::addColumn<int>("month");
    QTest::addColumn<QString>("name");
    const QStringList names{QStringLiteral("January"), QStringLiteral("February"), QStringLiteral("March"),
                            QStringLiteral("April"),   QStringLiteral("May"),      QStringLiteral("June"),
                            QStringLiteral("July"),    QStringLiteral("August"),   QStringLiteral("September"),
                            QStringLiteral("October"), QStringLiteral("November"), QStringLiteral("December")};
    for (int i = 0; i < names.size(); ++i) {
        QTest::newRow(qPrintable(names.at(i))) << i << QStringLiteral("Text.") + names.at(i);
    }
    QTest::newRow("12") << 12 << QString();
    QTest::newRow("-1") << -1 << QString();
}

void TestUtils::monthNames()
{
    QFETCH(int, month);
    QTEST(Utils::getMonthName(month), "name");
}

void TestUtils::mapToJson()
{
    const QMap<QString, QString> map{{QStringLiteral("second"), QStringLiteral("Ünï \"quoted\"")},
                                     {QStringLiteral("first"), QString()}};
    QCOMPARE(QString::fromUtf8(Utils::mapToJson(map)),
             QStringLiteral("{\n    \"first\": \"\",\n    \"second\": \"Ünï \\\"quoted\\\"\"\n}\n"));
    QCOMPARE(QJsonDocument::fromJson(Utils::mapToJson({})).object(), QJsonObject());
}

void TestUtils::bytesToJson_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QJsonObject>("object");
    QTest::newRow("object") << QByteArray(R"({"a": {"b": [1]}})")
                            << QJsonObject{{QStringLiteral("a"), QJsonObject{{QStringLiteral("b"), QJsonArray{1}}}}};
    QTest::newRow("empty") << QByteArray() << QJsonObject();
    QTest::newRow("array") << QByteArray("[1]") << QJsonObject();
    QTest::newRow("no JSON") << QByteArray("<html>") << QJsonObject();
    QTest::newRow("cut") << QByteArray(R"({"a": 1)") << QJsonObject();
    QTest::newRow("null") << QByteArray("null") << QJsonObject();
}

void TestUtils::bytesToJson()
{
    QFETCH(QByteArray, bytes);
    QTEST(Utils::bytesToJson(bytes), "object");
}

void TestUtils::bytesToArray_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QJsonArray>("array");
    QTest::newRow("array") << QByteArray(R"([1, "a", null])")
                           << QJsonArray{1, QStringLiteral("a"), QJsonValue(QJsonValue::Null)};
    QTest::newRow("empty") << QByteArray() << QJsonArray();
    QTest::newRow("object") << QByteArray(R"({"a": []})") << QJsonArray();
    QTest::newRow("no JSON") << QByteArray("[1, ") << QJsonArray();
}

void TestUtils::bytesToArray()
{
    QFETCH(QByteArray, bytes);
    QTEST(Utils::bytesToArray(bytes), "array");
}

QTEST_GUILESS_MAIN(TestUtils)
#include "TestUtils.moc"
