// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/QPagination.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <memory>

class TestQPagination : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        window = std::make_unique<QWidget>();
        auto* layout = new QVBoxLayout(window.get());
        pagination = new QPagination(window.get(), 30);
        pagination->setButtonsSize(40, 40);
        layout->addWidget(pagination);
        window->resize(900, 100);
        window->show();
        changes = std::make_unique<QSignalSpy>(pagination, &QPagination::onPageChange);
    }

    void cleanup()
    {
        changes.reset();
        window.reset();
    }

    void construction()
    {
        QCOMPARE(pagination->layout()->contentsMargins(), QMargins(6, 0, 6, 0));
        QCOMPARE(pagination->layout()->spacing(), 0);
        QCOMPARE(pagination->minimumHeight(), 30);
        QCOMPARE(pagination->getCurrentPage(), 1);
        QVERIFY(pages().isEmpty());
    }

    void noPages()
    {
        pagination->show();
        QVERIFY(pages().isEmpty());
        QVERIFY(!step(QStringLiteral("<"))->isVisible());
        QVERIFY(!step(QStringLiteral(">"))->isVisible());
        QVERIFY(step(QStringLiteral("<"))->isHidden());
        QVERIFY(step(QStringLiteral(">"))->isHidden());
        // The two spacers alone.
        QCOMPARE(pagination->layout()->count(), 2);
    }

    void spacersStandOutside()
    {
        pagination->updateTotalPages(3);
        const QLayout* const row = pagination->layout();
        QCOMPARE(row->count(), 7);
        for (const int end : {0, 6}) {
            QSpacerItem* const spacer = row->itemAt(end)->spacerItem();
            QVERIFY(spacer != nullptr);
            QCOMPARE(spacer->sizeHint(), QSize(20, 20));
            QCOMPARE(spacer->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
            QCOMPARE(spacer->sizePolicy().verticalPolicy(), QSizePolicy::Preferred);
        }
        QCOMPARE(row->itemAt(1)->widget(), static_cast<QWidget*>(step(QStringLiteral("<"))));
        QCOMPARE(row->itemAt(5)->widget(), static_cast<QWidget*>(step(QStringLiteral(">"))));
    }

    void onePage()
    {
        pagination->updateTotalPages(1);
        QCOMPARE(pages(), QStringLiteral("1"));
        QVERIFY(!button(0)->isEnabled());
        QVERIFY(step(QStringLiteral("<"))->isHidden());
        QVERIFY(step(QStringLiteral(">"))->isHidden());
    }

    void rows_data()
    {
        QTest::addColumn<int>("total");
        QTest::addColumn<int>("current");
        QTest::addColumn<QString>("row");
        const auto row = [](int total, int current, const char* texts) {
            QTest::addRow("page %d of %d", current, total) << total << current << QString::fromLatin1(texts);
        };
        row(2, 1, "1 2");
        row(2, 2, "1 2");
        row(6, 3, "1 2 3 4 5 6");
        row(7, 1, "1 2 3 4 5 6 7");
        row(7, 5, "1 2 3 4 5 6 7");
        row(7, 7, "1 2 3 4 5 6 7");
        row(8, 1, "1 2 3 4 5 ... 8");
        row(8, 4, "1 2 3 4 5 ... 8");
        row(8, 5, "1 ... 4 5 6 7 8");
        row(8, 8, "1 ... 4 5 6 7 8");
        row(9, 5, "1 ... 4 5 6 ... 9");
        row(9, 6, "1 ... 5 6 7 8 9");
        row(20, 1, "1 2 3 4 5 ... 20");
        row(20, 4, "1 2 3 4 5 ... 20");
        row(20, 5, "1 ... 4 5 6 ... 20");
        row(20, 10, "1 ... 9 10 11 ... 20");
        row(20, 16, "1 ... 15 16 17 ... 20");
        row(20, 17, "1 ... 16 17 18 19 20");
        row(20, 18, "1 ... 16 17 18 19 20");
        row(20, 20, "1 ... 16 17 18 19 20");
        row(2147483647, 2147483647, "1 ... 2147483643 2147483644 2147483645 2147483646 2147483647");
    }

    void rows()
    {
        QFETCH(int, total);
        QFETCH(int, current);
        QFETCH(QString, row);
        pagination->setTotalPages(total);
        pagination->setCurrentPage(current);
        pagination->show();
        QCOMPARE(pages(), row);
        QVERIFY(step(QStringLiteral("<"))->isVisible());
        QVERIFY(step(QStringLiteral(">"))->isVisible());
        QCOMPARE(step(QStringLiteral("<"))->isEnabled(), current >= 2);
        QCOMPARE(step(QStringLiteral(">"))->isEnabled(), current < total);
        for (QPushButton* const one : buttons()) {
            QCOMPARE(one->isEnabled(), one->text() != QString::number(current));
            QCOMPARE(one->property("page").type(), QVariant::Int);
        }
        QCOMPARE(changes->count(), 0);
    }

    void gapProperties()
    {
        pagination->setTotalPages(20);
        pagination->setCurrentPage(10);
        pagination->show();
        QCOMPARE(button(1)->property("page").toInt(), -2);
        QCOMPARE(button(5)->property("page").toInt(), -1);
        QCOMPARE(button(3)->property("page").toInt(), 10);
    }

    void rowFollowsSteps()
    {
        // The same rows arise step by step, forward and back.
        pagination->updateTotalPages(9);
        const QStringList expected{
            QStringLiteral("1 2 3 4 5 ... 9"), QStringLiteral("1 2 3 4 5 ... 9"),   QStringLiteral("1 2 3 4 5 ... 9"),
            QStringLiteral("1 2 3 4 5 ... 9"), QStringLiteral("1 ... 4 5 6 ... 9"), QStringLiteral("1 ... 5 6 7 8 9"),
            QStringLiteral("1 ... 5 6 7 8 9"), QStringLiteral("1 ... 5 6 7 8 9"),   QStringLiteral("1 ... 5 6 7 8 9"),
        };
        for (int page = 1; page <= 9; ++page) {
            QCOMPARE(pages(), expected.at(page - 1));
            QCOMPARE(pagination->getCurrentPage(), page);
            step(QStringLiteral(">"))->click();
        }
        // The last click found the button disabled.
        QCOMPARE(changes->count(), 8);
        for (int page = 9; page >= 1; --page) {
            QCOMPARE(pages(), expected.at(page - 1));
            step(QStringLiteral("<"))->click();
        }
        QCOMPARE(changes->count(), 16);
        QCOMPARE(changes->at(7).first().toInt(), 9);
        QCOMPARE(changes->at(15).first().toInt(), 1);
    }

    void pageClicks()
    {
        pagination->updateTotalPages(20);
        button(3)->click();
        QCOMPARE(pagination->getCurrentPage(), 4);
        QCOMPARE(changes->last().first().toInt(), 4);
        QVERIFY(!button(3)->isEnabled());
        button(6)->click();
        QCOMPARE(pagination->getCurrentPage(), 20);
        QCOMPARE(pages(), QStringLiteral("1 ... 16 17 18 19 20"));
        button(0)->click();
        QCOMPARE(pagination->getCurrentPage(), 1);
        QCOMPARE(changes->count(), 3);
    }

    void gapClicks()
    {
        pagination->updateTotalPages(20);
        button(5)->click();
        QCOMPARE(pagination->getCurrentPage(), 4);
        button(5)->click();
        QCOMPARE(pagination->getCurrentPage(), 7);
        QCOMPARE(pages(), QStringLiteral("1 ... 6 7 8 ... 20"));
        button(1)->click();
        QCOMPARE(pagination->getCurrentPage(), 4);
        QCOMPARE(changes->count(), 3);
    }

    void gapClicksHaveLimits()
    {
        // The row was built for another page, so that its gaps would lead outside.
        pagination->updateTotalPages(11);
        pagination->setCurrentPage(10);
        QCOMPARE(button(5)->text(), QStringLiteral("..."));
        button(5)->click();
        QCOMPARE(pagination->getCurrentPage(), 11);

        pagination->setCurrentPage(2);
        QCOMPARE(button(1)->property("page").toInt(), -2);
        button(1)->click();
        QCOMPARE(pagination->getCurrentPage(), 1);
        QCOMPARE(changes->count(), 2);
    }

    void largestNumberOfPages()
    {
        pagination->updateTotalPages(2147483647);
        pagination->setCurrentPage(2147483646);
        button(5)->click();
        QCOMPARE(pagination->getCurrentPage(), 2147483647);
    }

    void pageClickHasLimit()
    {
        pagination->updateTotalPages(7);
        pagination->setTotalPages(3);
        button(6)->click();
        QCOMPARE(pagination->getCurrentPage(), 3);
        QCOMPARE(changes->last().first().toInt(), 3);
    }

    void setCurrentPageBeyondTheLast()
    {
        pagination->updateTotalPages(5);
        pagination->setCurrentPage(5);
        QCOMPARE(pagination->getCurrentPage(), 5);
        pagination->setCurrentPage(6);
        QCOMPARE(pagination->getCurrentPage(), 1);
        QCOMPARE(changes->count(), 0);
    }

    void setTotalPagesLeavesTheRow()
    {
        pagination->updateTotalPages(5);
        pagination->setCurrentPage(4);
        pagination->setTotalPages(9);
        QCOMPARE(pagination->getCurrentPage(), 1);
        QCOMPARE(pages(), QStringLiteral("1 2 3 4 5"));
    }

    void updateTotalPagesRebuilds()
    {
        pagination->updateTotalPages(20);
        button(6)->click();
        changes->clear();
        // The same number changes nothing, the page included.
        QPushButton* const old = button(6);
        pagination->updateTotalPages(20);
        QCOMPARE(button(6), old);
        QCOMPARE(pagination->getCurrentPage(), 20);
        // A larger number keeps the page.
        pagination->updateTotalPages(30);
        QCOMPARE(pagination->getCurrentPage(), 20);
        QCOMPARE(pages(), QStringLiteral("1 ... 19 20 21 ... 30"));
        // A smaller one leads back to the first.
        pagination->updateTotalPages(3);
        QCOMPARE(pagination->getCurrentPage(), 1);
        QCOMPARE(pages(), QStringLiteral("1 2 3"));
        // After few pages there are seven slots again.
        pagination->updateTotalPages(9);
        QCOMPARE(pages(), QStringLiteral("1 2 3 4 5 ... 9"));
        QCOMPARE(changes->count(), 0);
    }

    void rebuildLeavesNothingBehind()
    {
        for (const int total : {3, 0, 1, 20, 0, 2}) {
            pagination->updateTotalPages(total);
            const int pageCount = qMin(total, 7);
            QCOMPARE(pagination->findChildren<QPushButton*>().size(), pageCount + 2);
            QCOMPARE(pagination->layout()->count(), 2 + pageCount + (total >= 2 ? 2 : 0));
        }
    }

    void rebuildFromASlot()
    {
        // The button that was pressed goes while its signal runs.
        pagination->updateTotalPages(20);
        connect(pagination, &QPagination::onPageChange, this,
                [this](int page) { pagination->updateTotalPages(page + 30); });
        button(4)->click();
        QCOMPARE(pages(), QStringLiteral("1 ... 4 5 6 ... 35"));
        step(QStringLiteral(">"))->click();
        QCOMPARE(pages(), QStringLiteral("1 ... 5 6 7 ... 36"));
    }

    void negativePages()
    {
        pagination->updateTotalPages(-4);
        QVERIFY(pages().isEmpty());
        QVERIFY(step(QStringLiteral(">"))->isHidden());
        pagination->updateTotalPages(2);
        QCOMPARE(pages(), QStringLiteral("1 2"));
    }

    void buildsOnce()
    {
        pagination->setTotalPages(3);
        pagination->show();
        pagination->show();
        QCOMPARE(pages(), QStringLiteral("1 2 3"));
        step(QStringLiteral(">"))->click();
        QCOMPARE(pagination->getCurrentPage(), 2);
    }

    void doesNotShowItself()
    {
        QPagination alone(nullptr, 30);
        alone.show();
        QVERIFY(!alone.isVisible());
    }

    void sizes()
    {
        pagination->updateTotalPages(3);
        for (QPushButton* const one : pagination->findChildren<QPushButton*>()) {
            QCOMPARE(one->minimumSize(), QSize(40, 40));
            QCOMPARE(one->maximumSize(), QSize(40, 40));
        }
        pagination->setButtonsSize(QSize(50, 30));
        QCOMPARE(button(0)->minimumSize(), QSize(40, 40));
        pagination->show();
        QCOMPARE(button(0)->minimumSize(), QSize(50, 30));

        QPagination unset(nullptr, 30);
        unset.setTotalPages(3);
        unset.show();
        for (QPushButton* const one : unset.findChildren<QPushButton*>()) {
            const bool isPage = one->text() != QStringLiteral("<") && one->text() != QStringLiteral(">");
            QCOMPARE(one->minimumSize(), isPage ? QSize(24, 24) : QSize(0, 0));
            QCOMPARE(one->maximumWidth(), QWIDGETSIZE_MAX);
        }
        // One part alone sets nothing.
        QPushButton button;
        unset.setButtonsSize(10, -1);
        unset.applySize(&button);
        QCOMPARE(button.minimumSize(), QSize(0, 0));
        unset.setButtonsSize(10, 0);
        unset.applySize(&button);
        QCOMPARE(button.minimumWidth(), 10);
    }

    void styleSheet()
    {
        pagination->updateTotalPages(2);
        pagination->setStyleSheet(QStringLiteral("color: red"));
        QVERIFY(button(0)->styleSheet().isEmpty());
        QVERIFY(pagination->QWidget::styleSheet().isEmpty());
        pagination->show();
        for (QPushButton* const one : pagination->findChildren<QPushButton*>()) {
            QCOMPARE(one->styleSheet(), QStringLiteral("color: red"));
        }
        QPushButton other;
        other.setStyleSheet(QStringLiteral("color: blue"));
        pagination->setStyleSheet(QString());
        pagination->applyStyleSheet(&other);
        QCOMPARE(other.styleSheet(), QStringLiteral("color: blue"));
    }

    void stepButtons()
    {
        pagination->updateTotalPages(2);
        QPushButton* const previous = step(QStringLiteral("<"));
        QPushButton* const next = step(QStringLiteral(">"));
        QPixmap pixmap(8, 8);
        pixmap.fill(Qt::red);
        pagination->setNextButton(pixmap, QStringLiteral("forward"), QSize(60, 20));
        QCOMPARE(next->text(), QStringLiteral("forward"));
        QVERIFY(!next->icon().isNull());
        QCOMPARE(next->minimumSize(), QSize(60, 20));
        QCOMPARE(next->maximumSize(), QSize(60, 20));
        QCOMPARE(previous->text(), QStringLiteral("<"));
        pagination->setPreviousButton(pixmap, QStringLiteral("back"), QSize(61, 21));
        QCOMPARE(previous->text(), QStringLiteral("back"));
        QVERIFY(!previous->icon().isNull());
        QCOMPARE(previous->maximumSize(), QSize(61, 21));
        pagination->setNextButton(QStringLiteral("on"), QSize(62, 22));
        QCOMPARE(next->text(), QStringLiteral("on"));
        QVERIFY(next->icon().isNull());
        // The short form of the previous button sets the next one.
        pagination->setPreviousButton(QStringLiteral("odd"), QSize(63, 23));
        QCOMPARE(next->text(), QStringLiteral("odd"));
        QCOMPARE(next->minimumSize(), QSize(63, 23));
        QCOMPARE(previous->text(), QStringLiteral("back"));
        pagination->show();
        QCOMPARE(previous->text(), QStringLiteral("<"));
        QCOMPARE(next->text(), QStringLiteral(">"));
    }

    void paintsItsStyle()
    {
        window->setStyleSheet(QStringLiteral("QPagination { background-color: #123456; }"));
        const QImage image = pagination->grab().toImage();
        QCOMPARE(image.pixelColor(2, image.height() / 2), QColor(0x12, 0x34, 0x56));
    }

private:
    /// The page buttons in the order of the row.
    QList<QPushButton*> buttons() const
    {
        QList<QPushButton*> found;
        const QLayout* const row = pagination->layout();
        for (int i = 0; i < row->count(); ++i) {
            auto* const one = qobject_cast<QPushButton*>(row->itemAt(i)->widget());
            if (one != nullptr && one->property("page").isValid()) {
                found.append(one);
            }
        }
        return found;
    }

    QPushButton* button(int index) const { return buttons().at(index); }

    QString pages() const
    {
        QStringList texts;
        for (const QPushButton* const one : buttons()) {
            texts.append(one->text());
        }
        return texts.join(QLatin1Char(' '));
    }

    QPushButton* step(const QString& text) const
    {
        for (QPushButton* const one : pagination->findChildren<QPushButton*>()) {
            if (one->text() == text) {
                return one;
            }
        }
        return nullptr;
    }

    std::unique_ptr<QWidget> window;
    QPagination* pagination = nullptr;
    std::unique_ptr<QSignalSpy> changes;
};

QTEST_MAIN(TestQPagination)
#include "TestQPagination.moc"
