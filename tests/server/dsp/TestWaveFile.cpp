// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/WaveFile.h"

#include "tests/server/dsp/Signals.h"

#include <QMetaEnum>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSet>
#include <QtTest>

using server::WaveFile;
using Error = WaveFile::Error;

Q_DECLARE_METATYPE(server::WaveFile::Error)

namespace {

QByteArray good()
{
    return Signals::wave(Signals().tone(440, 0.5).samples());
}

QByteArray changed(int offset, const QByteArray& bytes)
{
    QByteArray file = good();
    return file.replace(offset, bytes.size(), bytes);
}

QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray result;
    for (const int value : values) {
        result.append(char(value));
    }
    return result;
}

} // namespace

class TestWaveFile : public QObject
{
    Q_OBJECT

private slots:
    void acceptsTheOneForm();
    void refuses_data();
    void refuses();
    void refusesEveryPrefixOfAGoodFile();
    void survivesAnyBytes();
    void speaksTwoLanguages();
};

void TestWaveFile::acceptsTheOneForm()
{
    const QByteArray samples = Signals().tone(1000, 0.9).noise(0.01).samples();
    const WaveFile file(Signals::wave(samples));
    QVERIFY(file.isValid());
    QCOMPARE(file.error(), Error::None);
    QCOMPARE(file.samples(), samples);
    QCOMPARE(file.samples().size(), 66150);
    QVERIFY(file.message(QStringLiteral("en")).isEmpty());
    QVERIFY(file.message(QStringLiteral("ru")).isEmpty());
}

void TestWaveFile::refuses_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<Error>("error");
    QTest::addColumn<int>("expected");
    QTest::addColumn<int>("actual");

    QTest::newRow("no bytes") << QByteArray() << Error::Empty << 0 << 0;
    QTest::newRow("text") << QByteArrayLiteral("hello") << Error::NotRiff << 0 << 0;
    QTest::newRow("one byte") << QByteArrayLiteral("R") << Error::NotRiff << 0 << 0;
    QTest::newRow("big-endian RIFX") << changed(0, "RIFX") << Error::NotRiff << 0 << 0;
    QTest::newRow("lower case riff") << changed(0, "riff") << Error::NotRiff << 0 << 0;
    QTest::newRow("bare samples") << Signals().tone(440, 0.5).samples() << Error::NotRiff << 0 << 0;
    QTest::newRow("AVI") << changed(8, "AVI ") << Error::NotWave << 0 << 0;
    QTest::newRow("RIFF alone") << QByteArrayLiteral("RIFF") << Error::Truncated << 66194 << 4;
    QTest::newRow("43 bytes") << good().left(43) << Error::Truncated << 66194 << 43;
    QTest::newRow("header alone") << good().left(44) << Error::Truncated << 66194 << 44;
    QTest::newRow("last sample missing") << good().left(66193) << Error::Truncated << 66194 << 66193;
    QTest::newRow("other chunk first") << changed(12, "JUNK") << Error::NoFormatChunk << 0 << 0;
    QTest::newRow("fmt of 18 bytes") << changed(16, bytes({18, 0, 0, 0})) << Error::FormatChunkSize << 16 << 18;
    QTest::newRow("float samples") << changed(20, bytes({3, 0})) << Error::FormatTag << 1 << 3;
    QTest::newRow("extensible") << changed(20, bytes({0xFE, 0xFF})) << Error::FormatTag << 1 << 0xFFFE;
    QTest::newRow("no channel") << changed(22, bytes({0, 0})) << Error::ChannelCount << 1 << 0;
    QTest::newRow("stereo") << changed(22, bytes({2, 0})) << Error::ChannelCount << 1 << 2;
    QTest::newRow("44100 Hz") << changed(24, bytes({0x44, 0xAC, 0, 0})) << Error::SampleRate << 22050 << 44100;
    QTest::newRow("rate of 0") << changed(24, bytes({0, 0, 0, 0})) << Error::SampleRate << 22050 << 0;
    QTest::newRow("16 bits") << changed(34, bytes({16, 0})) << Error::BitsPerSample << 8 << 16;
    QTest::newRow("byte rate") << changed(28, bytes({0x44, 0xAC, 0, 0})) << Error::ByteRate << 22050 << 44100;
    QTest::newRow("block align") << changed(32, bytes({2, 0})) << Error::BlockAlign << 1 << 2;
    QTest::newRow("chunk before data") << changed(36, "LIST") << Error::NoDataChunk << 0 << 0;
    QTest::newRow("no samples") << Signals::wave(QByteArray()) << Error::DataSize << 66150 << 0;
    QTest::newRow("one sample short") << Signals::wave(QByteArray(66149, '\x80')) << Error::DataSize << 66150 << 66149;
    QTest::newRow("one sample long") << Signals::wave(QByteArray(66151, '\x80')) << Error::DataSize << 66150 << 66151;
    QTest::newRow("one byte behind") << good() + QByteArrayLiteral("x") << Error::TrailingBytes << 0 << 1;
    QTest::newRow("chunk behind") << good() + QByteArrayLiteral("LIST\4\0\0\0INFO") << Error::TrailingBytes << 0 << 12;
    QTest::newRow("chunk size is the file's")
        << changed(4, bytes({0x92, 0x02, 1, 0})) << Error::ChunkSize << 66186 << 66194;
    QTest::newRow("chunk size 0") << changed(4, bytes({0, 0, 0, 0})) << Error::ChunkSize << 66186 << 0;
}

void TestWaveFile::refuses()
{
    QFETCH(QByteArray, file);
    QFETCH(Error, error);
    QFETCH(int, expected);
    QFETCH(int, actual);

    const WaveFile wave(file);
    QVERIFY(!wave.isValid());
    QCOMPARE(wave.error(), error);
    QCOMPARE(wave.expected(), qint64(expected));
    QCOMPARE(wave.actual(), qint64(actual));
    QVERIFY(wave.samples().isEmpty());

    const QString english = wave.message(QStringLiteral("en"));
    const QString russian = wave.message(QStringLiteral("ru"));
    QVERIFY(!english.contains(QLatin1Char('%')));
    QVERIFY(!russian.contains(QLatin1Char('%')));
    QVERIFY(!english.contains(QRegularExpression(QStringLiteral("[а-яё]"))));
    QVERIFY(russian.contains(QRegularExpression(QStringLiteral("[а-яё]"))));
    if (error != Error::TrailingBytes && expected != 0) {
        QVERIFY(english.contains(QString::number(expected)));
        QVERIFY(russian.contains(QString::number(expected)));
    }
    if (expected != 0 || actual != 0) {
        QVERIFY(english.contains(QString::number(actual)));
        QVERIFY(russian.contains(QString::number(actual)));
    }
}

void TestWaveFile::refusesEveryPrefixOfAGoodFile()
{
    const QByteArray file = good();
    for (int size = 0; size < 200; ++size) {
        QVERIFY2(!WaveFile(file.left(size)).isValid(), qPrintable(QString::number(size)));
    }
    QVERIFY(WaveFile(file).isValid());
}

void TestWaveFile::survivesAnyBytes()
{
    QRandomGenerator random(20210);
    const QByteArray file = good();
    int accepted = 0;
    for (int round = 0; round < 3000; ++round) {
        QByteArray broken = file.left(round % 3 == 0 ? int(random.bounded(120)) : file.size());
        for (int change = 0; change < 3 && !broken.isEmpty(); ++change) {
            const int place = int(random.bounded(std::min(broken.size(), WaveFile::headerSize)));
            broken[place] = char(random.bounded(256));
        }
        const WaveFile wave(broken);
        QVERIFY(wave.isValid() == (broken == file));
        QCOMPARE(wave.samples().size(), wave.isValid() ? 66150 : 0);
        QCOMPARE(wave.message(QStringLiteral("en")).isEmpty(), wave.isValid());
        accepted += wave.isValid();
    }
    QVERIFY(accepted < 3000);
}

void TestWaveFile::speaksTwoLanguages()
{
    const WaveFile wave(changed(24, bytes({0x80, 0xBB, 0, 0})));
    QCOMPARE(wave.message(QStringLiteral("en")),
             QStringLiteral("The recording should have a sample rate of 22050 Hz, but has 48000 Hz."));
    QCOMPARE(wave.message(QStringLiteral("ru")),
             QStringLiteral("Частота дискретизации записи должна быть 22050 Гц, а указана 48000 Гц."));
    QCOMPARE(wave.message(QStringLiteral("ru-RU")), wave.message(QStringLiteral("ru")));
    QCOMPARE(wave.message(QStringLiteral("RU_ru")), wave.message(QStringLiteral("ru")));
    for (const char* other : {"", "de", "run", "r", "en-US"}) {
        QCOMPARE(wave.message(QString::fromLatin1(other)), wave.message(QStringLiteral("en")));
    }
}

QTEST_GUILESS_MAIN(TestWaveFile)
#include "TestWaveFile.moc"
