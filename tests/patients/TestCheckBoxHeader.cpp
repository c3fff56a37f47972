// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/CheckBoxHeader.h"
#include "tests/support/MessageGuard.h"

#include <QPainter>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QStyleOptionButton>
#include <QTableView>
#include <QTest>

#include <memory>

namespace {

/// The header's section 0 rendered for these states of its box.
QImage box(CheckBoxHeader& header, bool on)
{
    QStyleOptionButton option;
    option.rect = QRect(1, 3, 20, 20);
    option.state = QStyle::State_Enabled | QStyle::State_Active | QStyle::State_Off;
    if (on) {
        option.state |= QStyle::State_On;
    }
    QImage image(40, 40, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::green);
    QPainter painter(&image);
    header.style()->drawPrimitive(QStyle::PE_IndicatorCheckBox, &option, &painter);
    return image;
}

class PaintedHeader : public CheckBoxHeader
{
public:
    using CheckBoxHeader::CheckBoxHeader;

    QImage section(const QRect& rect, int logicalIndex) const
    {
        QImage image(220, 60, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::green);
        QPainter painter(&image);
        paintSection(&painter, rect, logicalIndex);
        return image;
    }

    QImage base(const QRect& rect, int logicalIndex) const
    {
        QImage image(220, 60, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::green);
        QPainter painter(&image);
        // What the header would paint without the box.
        // NOLINTNEXTLINE(bugprone-parent-virtual-call)
        QHeaderView::paintSection(&painter, rect, logicalIndex); // clazy:exclude=skipped-base-method
        return image;
    }
};

} // namespace

class TestCheckBoxHeader : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { guard = std::make_unique<MessageGuard>(); }
    void cleanupTestCase() { guard.reset(); }

    void init()
    {
        model = std::make_unique<QStandardItemModel>(3, 3);
        table = std::make_unique<QTableView>();
        header = new PaintedHeader(Qt::Horizontal, table.get());
        table->setHorizontalHeader(header);
        table->setModel(model.get());
        table->setSortingEnabled(true);
        table->sortByColumn(1, Qt::DescendingOrder);
        table->resize(500, 200);
        table->show();
        QVERIFY(QTest::qWaitForWindowExposed(table.get()));
        clicks = std::make_unique<QSignalSpy>(header, &CheckBoxHeader::checkBoxClicked);
    }

    void cleanup()
    {
        clicks.reset();
        table.reset();
        model.reset();
        guard->verify();
    }

    void clickFlips()
    {
        click(0);
        QCOMPARE(clicks->count(), 1);
        QCOMPARE(clicks->last().first().toBool(), true);
        click(0);
        QCOMPARE(clicks->count(), 2);
        QCOMPARE(clicks->last().first().toBool(), false);
    }

    void wholeSectionIsHit()
    {
        const int right = header->sectionViewportPosition(0) + header->sectionSize(0) - 4;
        QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(right, header->height() - 2));
        QCOMPARE(clicks->count(), 1);
    }

    void setIsCheckedIsSilent()
    {
        header->setIsChecked(true);
        header->setIsChecked(true);
        QCOMPARE(clicks->count(), 0);
        click(0);
        QCOMPARE(clicks->last().first().toBool(), false);
    }

    void sectionZeroNeverSorts()
    {
        QSignalSpy sorts(header, &QHeaderView::sortIndicatorChanged);
        QSignalSpy sections(header, &QHeaderView::sectionClicked);
        click(0);
        QCOMPARE(sorts.count(), 0);
        QCOMPARE(sections.count(), 0);
        click(2);
        QCOMPARE(sorts.count(), 1);
        QCOMPARE(header->sortIndicatorSection(), 2);
        QCOMPARE(sections.count(), 1);
        // Clickable from the last press on: still section 0 does not sort.
        click(0);
        QCOMPARE(sorts.count(), 1);
        QCOMPARE(header->sortIndicatorSection(), 2);
        QVERIFY(!header->sectionsClickable());
        click(1);
        QCOMPARE(header->sortIndicatorSection(), 1);
        QVERIFY(header->sectionsClickable());
        QCOMPARE(clicks->count(), 2);
    }

    void verticalHeader()
    {
        auto* vertical = new CheckBoxHeader(Qt::Vertical, table.get());
        table->setVerticalHeader(vertical);
        QSignalSpy verticalClicks(vertical, &CheckBoxHeader::checkBoxClicked);
        vertical->show();
        QTest::mouseClick(vertical->viewport(), Qt::LeftButton, Qt::NoModifier,
                          QPoint(4, vertical->sectionViewportPosition(0) + 4));
        QCOMPARE(verticalClicks.count(), 1);
        QTest::mouseClick(vertical->viewport(), Qt::LeftButton, Qt::NoModifier,
                          QPoint(4, vertical->sectionViewportPosition(1) + 4));
        QCOMPARE(verticalClicks.count(), 1);
    }

    void paintsTheBox()
    {
        QVERIFY(box(*header, true) != box(*header, false));
        const QRect rect(0, 0, 200, 40);
        for (const bool on : {false, true, false}) {
            header->setIsChecked(on);
            const QImage shown = header->section(rect, 0);
            QImage expected = header->base(rect, 0);
            QPainter painter(&expected);
            QStyleOptionButton option;
            option.rect = QRect(1, 3, 20, 20);
            option.state = QStyle::State_Enabled | QStyle::State_Active | QStyle::State_Off |
                           (on ? QStyle::State_On : QStyle::State_None);
            header->style()->drawPrimitive(QStyle::PE_IndicatorCheckBox, &option, &painter);
            painter.end();
            QCOMPARE(shown, expected);
            QVERIFY(shown != header->base(rect, 0));
        }
        // No other section has one.
        QCOMPARE(header->section(rect, 1), header->base(rect, 1));
    }

    void boxStandsAtAFixedPlace()
    {
        // Not relative to the section.
        const QRect far(100, 10, 100, 40);
        const QImage shown = header->section(far, 0);
        const QImage base = header->base(far, 0);
        QVERIFY(shown.copy(1, 3, 20, 20) != base.copy(1, 3, 20, 20));
        QCOMPARE(shown.copy(far), base.copy(far));
    }

private:
    void click(int section)
    {
        QTest::mouseClick(
            header->viewport(), Qt::LeftButton, Qt::NoModifier,
            QPoint(header->sectionViewportPosition(section) + header->sectionSize(section) / 2, header->height() / 2));
    }

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<QStandardItemModel> model;
    std::unique_ptr<QTableView> table;
    PaintedHeader* header = nullptr;
    std::unique_ptr<QSignalSpy> clicks;
};

QTEST_MAIN(TestCheckBoxHeader)
#include "TestCheckBoxHeader.moc"
