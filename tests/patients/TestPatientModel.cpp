// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/PatientModel.h"
#include "patients/PatientProxyModel.h"
#include "tests/patients/CheckedModel.h"
#include "tests/patients/Samples.h"

#include <QColor>
#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace {

constexpr int centre = Qt::AlignHCenter | Qt::AlignVCenter;
constexpr int leftmost = Qt::AlignLeft | Qt::AlignVCenter;

} // namespace

class TestPatientModel : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        model = std::make_unique<PatientModel>();
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
        QCOMPARE(model->columnCount(), 10);
        QCOMPARE(model->getTotalPages(), 0);
        QVERIFY(!model->indexIsValid(model->index(0, 0)));
    }

    void headers_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("alignment");
        QTest::newRow("number") << 0 << QString() << centre;
        QTest::newRow("status") << 1 << QString() << leftmost;
        QTest::newRow("name") << 2 << QStringLiteral("Text.name") << leftmost;
        QTest::newRow("age") << 3 << QStringLiteral("Text.age") << centre;
        QTest::newRow("gender") << 4 << QStringLiteral("Text.gender") << centre;
        QTest::newRow("last record") << 5 << QStringLiteral("Text.lastRecordDate") << centre;
        QTest::newRow("phone") << 6 << QStringLiteral("Text.phone") << leftmost;
        QTest::newRow("notes") << 7 << QStringLiteral("Text.notes") << leftmost;
        QTest::newRow("edit") << 8 << QString() << leftmost;
        QTest::newRow("trash") << 9 << QString() << leftmost;
    }

    void headers()
    {
        QFETCH(int, column);
        QFETCH(QString, text);
        QFETCH(int, alignment);
        add(1);
        QCOMPARE(model->headerData(column, Qt::Horizontal).toString(), text);
        QCOMPARE(model->headerData(column, Qt::Horizontal, Qt::TextAlignmentRole).toInt(), alignment);
        QCOMPARE(model->index(0, column).data(Qt::TextAlignmentRole).toInt(), alignment);
    }

    void display()
    {
        add(2);
        const auto text = [this](int column) { return model->index(1, column).data().toString(); };
        QCOMPARE(text(0), QStringLiteral("2"));
        QCOMPARE(text(2), QStringLiteral("  Patient 1"));
        QCOMPARE(text(3), QStringLiteral("41"));
        QCOMPARE(text(5), QStringLiteral("2021-03-04 05:06:07"));
        QCOMPARE(text(6), QStringLiteral("  +7 900 1"));
        QCOMPARE(text(7), QStringLiteral("  careful"));
        QCOMPARE(text(8), QString());
        QCOMPARE(text(9), QString());
        const Patient patient = model->getPatient(model->index(1, 0));
        QCOMPARE(model->index(1, 1).data().value<QPixmap>().toImage(), patient.getStatusIcon().toImage());
        QCOMPARE(model->index(1, 4).data().value<QPixmap>().toImage(), patient.getGenderIcon().toImage());
        QVERIFY(!model->index(1, 1).data().value<QPixmap>().isNull());
        QVERIFY(!model->index(1, 4).data().value<QPixmap>().isNull());
    }

    void runningNumber_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("row");
        QTest::addColumn<qlonglong>("number");
        QTest::newRow("first page") << 1 << 20 << 0 << 1LL;
        QTest::newRow("last of the first page") << 1 << 20 << 2 << 3LL;
        QTest::newRow("third page") << 3 << 20 << 0 << 41LL;
        QTest::newRow("third page, third row") << 3 << 20 << 2 << 43LL;
        QTest::newRow("no page size") << 3 << 0 << 1 << 2LL;
        QTest::newRow("largest page") << 2147483647 << 20 << 0 << 42949672921LL;
    }

    void runningNumber()
    {
        QFETCH(int, page);
        QFETCH(int, size);
        QFETCH(int, row);
        QFETCH(qlonglong, number);
        add(3);
        model->setPageSize(size);
        model->setCurrentPage(page);
        QCOMPARE(model->index(row, 0).data().toLongLong(), number);
    }

    void toolTips_data()
    {
        QTest::addColumn<bool>("hasDevices");
        QTest::addColumn<QString>("command");
        QTest::addColumn<bool>("complete");
        QTest::addColumn<QString>("text");
        QTest::newRow("0") << false << QString() << false << QStringLiteral("Text.deviceNotConnected");
        QTest::newRow("1") << true << QString() << false << QStringLiteral("Text.noCommands");
        QTest::newRow("2") << true << QStringLiteral("RECORD") << false << QStringLiteral("Text.recordInProgress");
        QTest::newRow("3") << true << QStringLiteral("RECORD") << true << QStringLiteral("Text.recordComplete");
        QTest::newRow("4") << true << QStringLiteral("RECIPE") << false << QStringLiteral("Text.recipeInProgress");
        QTest::newRow("5") << true << QStringLiteral("RECIPE") << true << QStringLiteral("Text.recipeComplete");
    }

    void toolTips()
    {
        QFETCH(bool, hasDevices);
        QFETCH(QString, command);
        QFETCH(bool, complete);
        QFETCH(QString, text);
        model->append(Patient(QJsonObject{{QStringLiteral("hasDevices"), hasDevices},
                                          {QStringLiteral("command"), command},
                                          {QStringLiteral("isComplete"), complete}}));
        for (int column = 0; column < 10; ++column) {
            const QVariant toolTip = model->index(0, column).data(Qt::ToolTipRole);
            QCOMPARE(toolTip.type(), QVariant::String);
            QCOMPARE(toolTip.toString(), column == 1 ? text : QString());
        }
    }

    void colours()
    {
        add(3);
        for (int row = 0; row < 3; ++row) {
            for (int column = 0; column < 10; ++column) {
                const QModelIndex index = model->index(row, column);
                QCOMPARE(index.data(Qt::BackgroundRole).value<QColor>(),
                         row == 1 ? QColor(0xF7, 0xF9, 0xFC) : QColor(Qt::white));
                QCOMPARE(index.data(Qt::ForegroundRole).value<QColor>(), QColor(65, 65, 65));
            }
        }
    }

    void indexOutsideTheList()
    {
        add(2);
        const QModelIndex stale = model->index(1, 2);
        model->removeAt(1);
        for (const QModelIndex& index : {stale, QModelIndex()}) {
            for (const int role : {int(Qt::DisplayRole), int(Qt::ToolTipRole), int(Qt::BackgroundRole)}) {
                QVERIFY(!model->data(index, role).isValid());
            }
            QCOMPARE(model->flags(index), Qt::ItemFlags(Qt::ItemIsEnabled));
            QVERIFY(!model->indexIsValid(index));
            QVERIFY(model->getPatient(index).getId().isNull());
        }
        QCOMPARE(model->flags(model->index(0, 0)), Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren);
    }

    void findsPatients()
    {
        add(3);
        // Twice the same id: the first one counts.
        model->append(Patient(Samples::patient(QStringLiteral("p1"), QStringLiteral("Twin"))));
        model->append(Patient());
        const Patient known(Samples::patient(QStringLiteral("p1")));
        QCOMPARE(model->getRowByPatient(known), 1);
        QCOMPARE(model->getPatientById(QStringLiteral("p1")).getName(), QStringLiteral("Patient 1"));
        QCOMPARE(model->getRowByPatient(Patient(Samples::patient(QStringLiteral("p7")))), -1);
        QVERIFY(model->getPatientById(QStringLiteral("p7")).getId().isNull());
        // A patient without an id is none that the list knows, though it holds such a one.
        QCOMPARE(model->getRowByPatient(Patient()), -1);
        QCOMPARE(model->getPatient(model->index(2, 9)).getId(), QStringLiteral("p2"));
    }

    void totalPages()
    {
        QSignalSpy changes(model.get(), &PatientModel::pageCountChanghed);
        model->setTotalPages(0);
        QCOMPARE(changes.count(), 0);
        model->setTotalPages(4);
        QCOMPARE(changes.count(), 1);
        QCOMPARE(model->getTotalPages(), 4);
        model->setTotalPages(4);
        QCOMPARE(changes.count(), 1);
        model->setTotalPages(0);
        QCOMPARE(changes.count(), 2);
    }

    void removes()
    {
        add(3);
        QSignalSpy removals(model.get(), &QAbstractItemModel::rowsRemoved);
        for (const int row : {-1, 3, 1000}) {
            model->removeAt(row);
        }
        QCOMPARE(removals.count(), 0);
        QCOMPARE(model->rowCount(), 3);
        model->removeAt(0);
        model->removeAt(1);
        QCOMPARE(model->rowCount(), 1);
        QCOMPARE(model->getPatient(model->index(0, 0)).getId(), QStringLiteral("p1"));
    }

    void replaces()
    {
        add(2);
        QSignalSpy changes(model.get(), &QAbstractItemModel::dataChanged);
        QJsonObject json = Samples::patient(QStringLiteral("p1"), QStringLiteral("New name"));
        json.insert(QStringLiteral("age"), 7);
        json.insert(QStringLiteral("hasDevices"), true);
        model->replace(model->index(1, 0), Patient(json));
        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes.first().at(0).toModelIndex(), model->index(1, 0));
        QCOMPARE(changes.first().at(1).toModelIndex(), model->index(1, 0));
        const Patient patient = model->getPatient(model->index(1, 0));
        QCOMPARE(patient.getName(), QStringLiteral("New name"));
        QCOMPARE(patient.getAge(), QStringLiteral("7"));
        QVERIFY(patient.isHasDevices());
        model->replace(QModelIndex(), Patient());
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

    void proxyKeepsStripes()
    {
        add(3);
        PatientProxyModel proxy;
        proxy.setSourceModel(model.get());
        const CheckedModel proxyTester(&proxy);
        proxy.sort(2, Qt::DescendingOrder);
        QCOMPARE(proxy.mapToSource(proxy.index(0, 2)).row(), 2);
        for (int row = 0; row < 3; ++row) {
            QCOMPARE(proxy.index(row, 2).data(Qt::BackgroundRole).value<QColor>(),
                     row == 1 ? QColor(0xF7, 0xF9, 0xFC) : QColor(Qt::white));
            // Everything else is the source's.
            QCOMPARE(proxy.index(row, 2).data(), model->index(2 - row, 2).data());
            QCOMPARE(proxy.index(row, 1).data(Qt::ToolTipRole), model->index(2 - row, 1).data(Qt::ToolTipRole));
            QCOMPARE(proxy.index(row, 3).data(Qt::TextAlignmentRole).toInt(), centre);
        }
        // The filter takes rows out; the stripes stay regular.
        proxy.setFilterKeyColumn(2);
        proxy.setFilterFixedString(QStringLiteral("Patient 1"));
        QCOMPARE(proxy.rowCount(), 1);
        QCOMPARE(proxy.index(0, 0).data(Qt::BackgroundRole).value<QColor>(), QColor(Qt::white));
        QVERIFY(!proxy.data(QModelIndex(), Qt::BackgroundRole).isValid());
    }

private:
    void add(int count)
    {
        for (int i = 0; i < count; ++i) {
            model->append(Patient(Samples::patient(QStringLiteral("p%1").arg(i), QStringLiteral("Patient %1").arg(i))));
        }
    }

    std::unique_ptr<PatientModel> model;
    std::unique_ptr<CheckedModel> tester;
};

QTEST_MAIN(TestPatientModel)
#include "TestPatientModel.moc"
