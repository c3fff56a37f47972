// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Category.h"
#include "model/Storage.h"

#include <QComboBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

namespace {

QJsonObject parse(const QByteArray& text)
{
    return QJsonDocument::fromJson(text).object();
}

} // namespace

class TestCategoryStorage : public QObject
{
    Q_OBJECT

private slots:
    void storageDefaults()
    {
        const Storage storage;
        QVERIFY(storage.getId().isNull());
        QVERIFY(storage.getTitle().isNull());
        QVERIFY(!storage.getFrequencies());
    }

    void readsStorage()
    {
        const Storage storage(parse(R"({"id": "s1", "title": "Notes", "frequencies": true})"));
        QCOMPARE(storage.getId(), QStringLiteral("s1"));
        QCOMPARE(storage.getTitle(), QStringLiteral("Notes"));
        QVERIFY(storage.getFrequencies());
    }

    void readsBadStorage_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty body") << QByteArray();
        QTest::newRow("not JSON") << QByteArray("{");
        QTest::newRow("an array") << QByteArray("[]");
        QTest::newRow("missing keys") << QByteArray("{}");
        QTest::newRow("nulls") << QByteArray(R"({"id": null, "title": null, "frequencies": null})");
        QTest::newRow("wrong types") << QByteArray(R"({"id": 4, "title": {}, "frequencies": "true"})");
        QTest::newRow("huge numbers") << QByteArray(R"({"id": 1e99, "title": 1e99, "frequencies": 1e99})");
    }

    void readsBadStorage()
    {
        QFETCH(QByteArray, text);
        const Storage storage(parse(text));
        QVERIFY(storage.getId().isEmpty());
        QVERIFY(storage.getTitle().isEmpty());
        QVERIFY(!storage.getFrequencies());
    }

    void categoryDefaults()
    {
        Category category;
        QVERIFY(category.getTitle().isNull());
        QVERIFY(category.getStorages().isEmpty());
    }

    void readsCategory()
    {
        Category category(parse(R"({"title": "Music", "storages": [
            {"id": "b", "title": "Second"}, {"id": "a", "title": "First", "frequencies": true}]})"));
        QCOMPARE(category.getTitle(), QStringLiteral("Music"));
        const QList<Storage> storages = category.getStorages();
        QCOMPARE(storages.size(), 2);
        QCOMPARE(storages.at(0).getId(), QStringLiteral("b"));
        QCOMPARE(storages.at(1).getId(), QStringLiteral("a"));
        QVERIFY(!storages.at(0).getFrequencies());
        QVERIFY(storages.at(1).getFrequencies());
    }

    void categoryWithoutStorages_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty body") << QByteArray();
        QTest::newRow("missing") << QByteArray(R"({"title": "Music"})");
        QTest::newRow("empty") << QByteArray(R"({"title": "Music", "storages": []})");
        QTest::newRow("null") << QByteArray(R"({"storages": null})");
        QTest::newRow("an object") << QByteArray(R"({"storages": {"id": "a"}})");
        QTest::newRow("a text") << QByteArray(R"({"storages": "a"})");
    }

    void categoryWithoutStorages()
    {
        QFETCH(QByteArray, text);
        Category category(parse(text));
        QVERIFY(category.getStorages().isEmpty());
    }

    void storagesOfOtherKinds()
    {
        Category category(parse(R"({"title": 7, "storages": [null, 5, "a", [], {"id": "a"}]})"));
        QVERIFY(category.getTitle().isEmpty());
        const QList<Storage> storages = category.getStorages();
        QCOMPARE(storages.size(), 5);
        QVERIFY(storages.at(0).getId().isEmpty());
        QCOMPARE(storages.at(4).getId(), QStringLiteral("a"));
    }

    void manyStorages()
    {
        QJsonArray storages;
        for (int i = 0; i < 10000; ++i) {
            storages.append(QJsonObject{{QStringLiteral("id"), QString::number(i)}});
        }
        Category category(QJsonObject{{QStringLiteral("storages"), storages}});
        QCOMPARE(category.getStorages().size(), 10000);
        QCOMPARE(category.getStorages().last().getId(), QStringLiteral("9999"));
    }

    void travelInComboBoxes()
    {
        QComboBox box;
        const Category category(parse(R"({"title": "Music", "storages": [{"id": "a"}]})"));
        const Storage storage(parse(R"({"id": "s1", "frequencies": true})"));
        box.addItem(category.getTitle(), QVariant::fromValue(category));
        box.addItem(storage.getTitle(), QVariant::fromValue(storage));
        QCOMPARE(box.itemData(0).value<Category>().getStorages().first().getId(), QStringLiteral("a"));
        QCOMPARE(box.itemData(1).value<Storage>().getId(), QStringLiteral("s1"));
        QVERIFY(box.itemData(1).value<Storage>().getFrequencies());
    }
};

QTEST_MAIN(TestCategoryStorage)
#include "TestCategoryStorage.moc"
