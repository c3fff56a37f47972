// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/ReplyEncoding.h"

#include "server/Catalogue.h"
#include "server/MarkerBlocks.h"
#include "server/Synthesis.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QtTest>

#include <zlib.h>

#include <future>
#include <vector>

using server::ReplyEncoding;

namespace {

// All of exactly one gzip member with its checksum; null bytes tell a failure.
QByteArray gunzip(const QByteArray& zipped)
{
    z_stream stream = {};
    if (inflateInit2(&stream, 31) != Z_OK) {
        return QByteArray();
    }
    QByteArray in = zipped;
    stream.next_in = reinterpret_cast<Bytef*>(in.data());
    stream.avail_in = uInt(in.size());
    QByteArray out("");
    int state = Z_OK;
    while (state == Z_OK) {
        char buffer[777];
        stream.next_out = reinterpret_cast<Bytef*>(buffer);
        stream.avail_out = sizeof buffer;
        state = inflate(&stream, Z_NO_FLUSH);
        out.append(buffer, int(sizeof buffer - stream.avail_out));
    }
    const bool whole = state == Z_STREAM_END && stream.avail_in == 0;
    inflateEnd(&stream);
    return whole ? out : QByteArray();
}

QByteArray decoded(const QByteArray& reply)
{
    return gunzip(QByteArray::fromBase64(reply, QByteArray::Base64Encoding | QByteArray::AbortOnBase64DecodingErrors));
}

} // namespace

class TestReplyEncoding : public QObject
{
    Q_OBJECT

private slots:
    void wrapsBlocks();
    void wrapsNoBlock();
    void wrapsARecipe();
    void wrapsKeptBlocks();
    void wrapsAnyLength_data();
    void wrapsAnyLength();
    void isPlainBase64OfGzip();
    void isDeterministic();
};

void TestReplyEncoding::wrapsBlocks()
{
    QByteArray all;
    for (int i = 0; i < 256; ++i) {
        all.append(char(i));
    }
    const QVector<QByteArray> blocks = {all, QByteArray(), QByteArrayLiteral("x"), all + all, QByteArray(3, '\0')};
    const QJsonDocument document = QJsonDocument::fromJson(decoded(ReplyEncoding::blocks(blocks)));
    QVERIFY(document.isArray());
    const QJsonArray array = document.array();
    QCOMPARE(array.size(), blocks.size());
    for (int i = 0; i < blocks.size(); ++i) {
        QVERIFY(array.at(i).isString());
        QCOMPARE(QByteArray::fromBase64(array.at(i).toString().toUtf8()), blocks.at(i));
    }
}

void TestReplyEncoding::wrapsNoBlock()
{
    const QByteArray reply = ReplyEncoding::blocks({});
    QCOMPARE(decoded(reply), QByteArrayLiteral("[]"));
    // A client takes less than five bytes for a broken reply.
    QVERIFY(QByteArray::fromBase64(reply).size() >= 5);
}

void TestReplyEncoding::wrapsARecipe()
{
    QVector<QByteArray> blocks;
    for (int i = 0; i < 30; ++i) {
        blocks.append(server::Synthesis::block({100.0 + 10 * i, 333.0}));
    }
    const QJsonArray array = QJsonDocument::fromJson(decoded(ReplyEncoding::blocks(blocks))).array();
    QCOMPARE(array.size(), 30);
    for (int i = 0; i < 30; ++i) {
        QCOMPARE(QByteArray::fromBase64(array.at(i).toString().toLatin1()), blocks.at(i));
    }
}

void TestReplyEncoding::wrapsKeptBlocks()
{
    // In any order, more than once, and from several threads: each is the block of its marker.
    QVector<const server::Catalogue::Marker*> markers;
    for (const server::Catalogue::Storage& storage : server::Catalogue::instance().storages()) {
        for (const server::Catalogue::Marker& marker : storage.markers) {
            markers.append(&marker);
        }
    }
    QVERIFY(markers.size() > 100);
    const QVector<const server::Catalogue::Marker*> chosen = {markers.last(), markers.at(7), markers.last(),
                                                              markers.at(100), markers.first()};
    const auto reply = [&chosen] {
        QVector<ReplyEncoding::Part> parts;
        for (const server::Catalogue::Marker* marker : chosen) {
            parts.append(server::MarkerBlocks::instance().of(*marker));
        }
        return ReplyEncoding::joined(parts);
    };
    std::vector<std::future<QByteArray>> replies;
    for (int i = 0; i < 4; ++i) {
        replies.push_back(std::async(std::launch::async, reply));
    }
    QVector<QByteArray> blocks;
    for (const server::Catalogue::Marker* marker : chosen) {
        blocks.append(server::Synthesis::block(marker->frequencies));
    }
    for (std::future<QByteArray>& made : replies) {
        QCOMPARE(made.get(), ReplyEncoding::blocks(blocks));
    }
    const QJsonArray array = QJsonDocument::fromJson(decoded(reply())).array();
    QCOMPARE(array.size(), chosen.size());
    for (int i = 0; i < chosen.size(); ++i) {
        QCOMPARE(QByteArray::fromBase64(array.at(i).toString().toLatin1()), blocks.at(i));
    }
}

void TestReplyEncoding::wrapsAnyLength_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {0, 1, 2, 3, 4, 1023, 1024, 1025, 2048, 65536, 1000000}) {
        QTest::newRow(QByteArray::number(size).constData()) << size;
    }
}

void TestReplyEncoding::wrapsAnyLength()
{
    QFETCH(int, size);
    QRandomGenerator random(42);
    QByteArray noise(size, '\0');
    for (char& byte : noise) {
        byte = char(random.bounded(256));
    }
    const QByteArray even(size, 'a');
    const QJsonArray array = QJsonDocument::fromJson(decoded(ReplyEncoding::blocks({noise, even}))).array();
    QCOMPARE(array.size(), 2);
    QCOMPARE(QByteArray::fromBase64(array.at(0).toString().toLatin1()), noise);
    QCOMPARE(QByteArray::fromBase64(array.at(1).toString().toLatin1()), even);
    QVERIFY(size < 1000000 || ReplyEncoding::blocks({even}).size() < 10000);
}

void TestReplyEncoding::isPlainBase64OfGzip()
{
    const QByteArray reply = ReplyEncoding::blocks({QByteArray(100000, '\x80')});
    const QRegularExpression base64(QStringLiteral("^[A-Za-z0-9+/]+={0,2}$"));
    QVERIFY(base64.match(QString::fromLatin1(reply)).hasMatch());
    QCOMPARE(reply.size() % 4, 0);
    const QByteArray gzip = QByteArray::fromBase64(reply);
    QVERIFY(gzip.startsWith(QByteArrayLiteral("\x1f\x8b\x08")));
}

void TestReplyEncoding::isDeterministic()
{
    const QVector<QByteArray> blocks = {server::Synthesis::block({440})};
    QCOMPARE(ReplyEncoding::blocks(blocks), ReplyEncoding::blocks(blocks));
}

QTEST_GUILESS_MAIN(TestReplyEncoding)
#include "TestReplyEncoding.moc"
