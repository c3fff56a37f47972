// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/PatientProxyModel.h"
#include "patients/RecordModel.h"
#include "tests/patients/CheckedModel.h"
#include "tests/patients/Samples.h"

#include <QColor>
#include <QPixmap>
#include <QSignalSpy>
#include <QTest>

#include <memory>

class TestRecordModel : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        model = std::make_unique<RecordModel>();
        tester = std::make_unique<CheckedModel>(model.get());
    }

    void cleanup()
    {
        tester.reset();
        model.reset();
    }

    void startsEmpty()
    {
        QCOMPARE(model->rowCount(), 0);
        QCOMPARE(model->columnCount(), 7);
        QVERIFY(model->getAllCheckedRecords().isEmpty());
    }

    void headers_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("alignment");
        const int centre = Qt::AlignHCenter | Qt::AlignVCenter;
        const int other = Qt::AlignLeft | Qt::AlignVCenter;
        const int left = Qt::AlignLeft;
        QTest::newRow("check") << 0 << QString() << other;
        QTest::newRow("number") << 1 << QString() << centre;
        QTest::newRow("notes") << 2 << QString() << centre;
        QTest::newRow("date") << 3 << QStringLiteral("Text.recordedAt") << left;
        QTest::newRow("doctor") << 4 << QStringLiteral("Text.doctorName") << left;
        QTest::newRow("questionnaire") << 5 << QStringLiteral("Text.questionnaire") << left;
        QTest::newRow("trash") << 6 << QString() << other;
    }

    void headers()
    {
        QFETCH(int, column);
        QFETCH(QString, text);
        QFETCH(int, alignment);
        QCOMPARE(model->headerData(column, Qt::Horizontal).toString(), text);
        QCOMPARE(model->headerData(column, Qt::Horizontal, Qt::TextAlignmentRole).toInt(), alignment);
    }

    void headersOfNoColumn()
    {
        add(1);
        // As any table has them: numbers from 1 on.
        QCOMPARE(model->headerData(0, Qt::Vertical), QVariant(1));
        QCOMPARE(model->headerData(-1, Qt::Horizontal), QVariant(0));
        QCOMPARE(model->headerData(model->columnCount(), Qt::Horizontal), QVariant(model->columnCount() + 1));
    }

    void display()
    {
        add(3);
        QCOMPARE(model->index(0, 1).data().toInt(), 3);
        QCOMPARE(model->index(1, 1).data().toInt(), 2);
        QCOMPARE(model->index(2, 1).data().toInt(), 1);
        QCOMPARE(model->index(1, 3).data().toString(), QStringLiteral("2021-03-02 10:00:00"));
        QCOMPARE(model->index(1, 4).data().toString(), QStringLiteral("Doctor r1"));
        QCOMPARE(model->index(1, 5).data().toString(), QStringLiteral("Text.no"));
        QVERIFY(!model->index(1, 0).data().isValid());
        QVERIFY(!model->index(1, 6).data().isValid());
    }

    void flagsOfTheServer()
    {
        QJsonObject json = Samples::record(QStringLiteral("a"), QString());
        json.insert(QStringLiteral("editable"), true);
        json.insert(QStringLiteral("questionnaire"), true);
        model->append(Record(json));
        json.insert(QStringLiteral("editable"), false);
        json.insert(QStringLiteral("questionnaire"), false);
        model->append(Record(json));
        QVERIFY(model->index(0, 2).data().value<QPixmap>().isNull());
        QCOMPARE(model->index(0, 5).data().toString(), QStringLiteral("Text.yes"));
        const QImage notes = QPixmap(QStringLiteral(":/images/notes.png")).toImage();
        QVERIFY(!notes.isNull());
        QCOMPARE(model->index(1, 2).data().value<QPixmap>().toImage(), notes);
        QCOMPARE(model->index(1, 5).data().toString(), QStringLiteral("Text.no"));
        QCOMPARE(model->index(1, 3).data().toString(), QString());
    }

    void colours()
    {
        add(3);
        for (int row = 0; row < 3; ++row) {
            for (int column = 0; column < 7; ++column) {
                const QModelIndex index = model->index(row, column);
                QCOMPARE(index.data(Qt::BackgroundRole).value<QColor>(),
                         row == 1 ? QColor(0xF7, 0xF9, 0xFC) : QColor(Qt::white));
                QCOMPARE(index.data(Qt::ForegroundRole).value<QColor>(), QColor(65, 65, 65));
            }
        }
    }

    void itemFlags()
    {
        add(2);
        const Qt::ItemFlags defaults = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
        QCOMPARE(model->flags(model->index(0, 0)), defaults | Qt::ItemIsUserCheckable);
        for (int column = 1; column < 7; ++column) {
            QCOMPARE(model->flags(model->index(0, column)), defaults);
        }
        const QModelIndex stale = model->index(1, 0);
        model->removeAt(1);
        QCOMPARE(model->flags(stale), Qt::ItemFlags(Qt::ItemIsEnabled));
        QCOMPARE(model->flags(QModelIndex()), Qt::ItemFlags(Qt::ItemIsEnabled));
        QVERIFY(!model->data(stale, Qt::CheckStateRole).isValid());
        QVERIFY(!model->data(stale, Qt::DisplayRole).isValid());
    }

    void checkStates()
    {
        add(2);
        QCOMPARE(model->index(0, 0).data(Qt::CheckStateRole).toInt(), 0);
        QVERIFY(!model->index(0, 1).data(Qt::CheckStateRole).isValid());
        QSignalSpy updates(model.get(), &RecordModel::onUpdate);
        // The value says nothing: a click toggles.
        QVERIFY(model->setData(model->index(0, 0), Qt::Unchecked, Qt::CheckStateRole));
        QCOMPARE(model->index(0, 0).data(Qt::CheckStateRole).toInt(), 2);
        QCOMPARE(updates.count(), 1);
        QVERIFY(model->setData(model->index(0, 0), Qt::Checked, Qt::CheckStateRole));
        QCOMPARE(model->index(0, 0).data(Qt::CheckStateRole).toInt(), 0);
        QVERIFY(model->setData(model->index(0, 0), QVariant(), Qt::CheckStateRole));
        QCOMPARE(model->index(0, 0).data(Qt::CheckStateRole).toInt(), 2);
        QCOMPARE(updates.count(), 3);
        QCOMPARE(model->index(1, 0).data(Qt::CheckStateRole).toInt(), 0);
    }

    void setDataOfOtherKinds()
    {
        add(2);
        const QModelIndex stale = model->index(1, 0);
        model->removeAt(1);
        QSignalSpy updates(model.get(), &RecordModel::onUpdate);
        QVERIFY(!model->setData(model->index(0, 0), true, Qt::EditRole));
        QVERIFY(!model->setData(model->index(0, 1), Qt::Checked, Qt::CheckStateRole));
        QVERIFY(!model->setData(stale, Qt::Checked, Qt::CheckStateRole));
        QVERIFY(!model->setData(QModelIndex(), Qt::Checked, Qt::CheckStateRole));
        QCOMPARE(updates.count(), 0);
        QVERIFY(model->getAllCheckedRecords().isEmpty());
    }

    void togglesAll()
    {
        add(3);
        QVERIFY(model->setData(model->index(1, 0), true, Qt::CheckStateRole));
        QSignalSpy updates(model.get(), &RecordModel::onUpdate);
        model->toggle(true);
        QCOMPARE(updates.count(), 1);
        QCOMPARE(checkedIds(), QStringList({QStringLiteral("r0"), QStringLiteral("r1"), QStringLiteral("r2")}));
        model->toggle(false);
        QCOMPARE(updates.count(), 2);
        QVERIFY(checkedIds().isEmpty());
    }

    void togglesEmptyList()
    {
        QSignalSpy updates(model.get(), &RecordModel::onUpdate);
        model->toggle(true);
        QCOMPARE(updates.count(), 1);
        QCOMPARE(model->rowCount(), 0);
    }

    void checkedRecordsInOrder()
    {
        add(4);
        for (const int row : {3, 0}) {
            model->setData(model->index(row, 0), true, Qt::CheckStateRole);
        }
        QCOMPARE(checkedIds(), QStringList({QStringLiteral("r0"), QStringLiteral("r3")}));
    }

    void insertsAtBothEnds()
    {
        add(2);
        model->setData(model->index(0, 0), true, Qt::CheckStateRole);
        QSignalSpy insertions(model.get(), &QAbstractItemModel::rowsInserted);
        model->pushFront(Record(Samples::record(QStringLiteral("front"), QString())));
        QCOMPARE(insertions.last().at(1).toInt(), 0);
        model->append(Record(Samples::record(QStringLiteral("back"), QString())));
        QCOMPARE(insertions.last().at(1).toInt(), 3);
        QCOMPARE(model->getRecord(model->index(0, 0)).getId(), QStringLiteral("front"));
        QCOMPARE(model->getRecord(model->index(3, 0)).getId(), QStringLiteral("back"));
        QCOMPARE(model->index(0, 1).data().toInt(), 4);
        QCOMPARE(checkedIds(), QStringList({QStringLiteral("r0")}));
    }

    void findsRecords()
    {
        add(3);
        model->append(Record(Samples::record(QStringLiteral("r1"), QString())));
        QCOMPARE(model->getRowByRecord(Record(Samples::record(QStringLiteral("r1"), QString()))), 1);
        QCOMPARE(model->getRowByRecord(Record(Samples::record(QStringLiteral("r9"), QString()))), -1);
        QVERIFY(model->getRecord(QModelIndex()).getId().isNull());
        QVERIFY(model->indexIsValid(model->index(3, 6)));
        QVERIFY(!model->indexIsValid(QModelIndex()));
    }

    void removes()
    {
        add(3);
        for (const int row : {-1, 3}) {
            model->removeAt(row);
        }
        QCOMPARE(model->rowCount(), 3);
        model->removeAt(1);
        QCOMPARE(model->rowCount(), 2);
        QCOMPARE(model->getRecord(model->index(1, 0)).getId(), QStringLiteral("r2"));
    }

    void replaces()
    {
        add(2);
        QSignalSpy changes(model.get(), &QAbstractItemModel::dataChanged);
        Record record(Samples::record(QStringLiteral("other"), QString()));
        record.setChecked(true);
        model->replace(model->index(1, 0), record);
        QCOMPARE(changes.count(), 1);
        // The whole row is another one.
        QCOMPARE(changes.at(0).at(0).toModelIndex(), model->index(1, 0));
        QCOMPARE(changes.at(0).at(1).toModelIndex(), model->index(1, 6));
        QCOMPARE(checkedIds(), QStringList({QStringLiteral("other")}));
        model->replace(QModelIndex(), record);
        QCOMPARE(changes.count(), 1);
    }

    void clears()
    {
        add(3);
        QSignalSpy resets(model.get(), &QAbstractItemModel::modelReset);
        model->clear();
        QCOMPARE(resets.count(), 1);
        QCOMPARE(model->rowCount(), 0);
    }

    void numbersFollowTheList()
    {
        add(3);
        PatientProxyModel proxy;
        proxy.setSourceModel(model.get());
        const CheckedModel proxyTester(&proxy);
        proxy.sort(3, Qt::DescendingOrder);
        QCOMPARE(proxy.index(0, 3).data().toString(), QStringLiteral("2021-03-03 10:00:00"));
        QCOMPARE(proxy.index(0, 1).data().toInt(), 1);
        QCOMPARE(proxy.index(2, 1).data().toInt(), 3);
        // Checking through the proxy reaches the record and keeps the order.
        QVERIFY(proxy.setData(proxy.index(0, 0), true, Qt::CheckStateRole));
        QCOMPARE(checkedIds(), QStringList({QStringLiteral("r2")}));
        QCOMPARE(proxy.index(0, 0).data(Qt::CheckStateRole).toInt(), 2);
    }

private:
    void add(int count)
    {
        for (int i = 0; i < count; ++i) {
            model->append(Record(
                Samples::record(QStringLiteral("r%1").arg(i), QStringLiteral("2021-03-0%1T10:00:00Z").arg(i + 1))));
        }
    }

    QStringList checkedIds() const
    {
        QStringList ids;
        const QList<Record> records = model->getAllCheckedRecords();
        for (const Record& record : records) {
            ids.append(record.getId());
        }
        return ids;
    }

    std::unique_ptr<RecordModel> model;
    std::unique_ptr<CheckedModel> tester;
};

QTEST_MAIN(TestRecordModel)
#include "TestRecordModel.moc"
