// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/PatientDelegate.h"
#include "patients/PatientModel.h"
#include "tests/patients/Samples.h"
#include "tests/support/MessageGuard.h"

#include <QHeaderView>
#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

#include <memory>

namespace {

QPixmap pixmap(const QString& name)
{
    return QPixmap(QStringLiteral(":/images/") + name);
}

class PaintCounter : public QObject
{
public:
    int count = 0;

    bool eventFilter(QObject*, QEvent* event) override
    {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

} // namespace

class TestPatientDelegate : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        guard = std::make_unique<MessageGuard>();
        for (const char* const name : {"edit.png", "edit-hover.png", "trash.png", "trash-hover.png"}) {
            QVERIFY2(!pixmap(QString::fromLatin1(name)).isNull(), name);
        }
    }

    void cleanupTestCase() { guard.reset(); }

    void init()
    {
        delegate = std::make_unique<PatientDelegate>();
        model = std::make_unique<PatientModel>();
        QJsonObject json = Samples::patient(QStringLiteral("p0"));
        model->append(Patient(json));
        json.insert(QStringLiteral("gender"), QStringLiteral("MALE"));
        json.insert(QStringLiteral("hasDevices"), true);
        json.insert(QStringLiteral("isEnabled"), true);
        model->append(Patient(json));
        edits = std::make_unique<QSignalSpy>(delegate.get(), &PatientDelegate::editPress);
        removals = std::make_unique<QSignalSpy>(delegate.get(), &PatientDelegate::removePress);
    }

    void cleanup()
    {
        edits.reset();
        removals.reset();
        model.reset();
        delegate.reset();
        guard->verify();
    }

    void iconWidth() { QCOMPARE(delegate->getIconWidth(), pixmap(QStringLiteral("edit.png")).width()); }

    void paints_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("column");
        QTest::addColumn<QRect>("cell");
        for (const int column : {1, 4, 8, 9}) {
            for (int row = 0; row < 2; ++row) {
                const QByteArray name = "row " + QByteArray::number(row) + ", column " + QByteArray::number(column);
                QTest::newRow((name + ", at the corner").constData()) << row << column << QRect(0, 0, 45, 40);
                QTest::newRow((name + ", even and odd").constData()) << row << column << QRect(31, 57, 100, 41);
            }
        }
    }

    void paints()
    {
        QFETCH(int, row);
        QFETCH(int, column);
        QFETCH(QRect, cell);
        const QModelIndex index = model->index(row, column);
        QCOMPARE(render(index, cell), expected(index, cell, false));
        // What is drawn is there at all.
        QVERIFY(render(index, cell) != plain(index, cell));
    }

    void paintsNothingInACellOfText()
    {
        const QRect cell(0, 0, 100, 40);
        const QModelIndex name = model->index(1, 2);
        QVERIFY(!name.data().toString().isEmpty());
        QCOMPARE(render(name, cell), plain(name, cell));
    }

    void statusIconIsCentred()
    {
        // 64 by 64 drawn in 24 by 24: the centre of the icon is the centre of the cell.
        const QRect cell(0, 0, 45, 40);
        const QImage shown = render(model->index(1, 1), cell);
        const QImage ground = plain(model->index(1, 1), cell);
        QRect changed;
        for (int y = 0; y < shown.height(); ++y) {
            for (int x = 0; x < shown.width(); ++x) {
                if (shown.pixel(x, y) != ground.pixel(x, y)) {
                    changed |= QRect(x, y, 1, 1);
                }
            }
        }
        QVERIFY(!changed.isEmpty());
        // Cell centre 22, 19; pixmap centre 31; 20 more: from 11, 8 on, 24 wide.
        QVERIFY(QRect(11, 8, 24, 24).contains(changed));
        QVERIFY(changed.width() > 12);
        QVERIFY(changed.height() > 12);
    }

    void hoverPixmaps_data()
    {
        QTest::addColumn<int>("column");
        QTest::newRow("edit") << 8;
        QTest::newRow("trash") << 9;
    }

    void hoverPixmaps()
    {
        QFETCH(int, column);
        const QRect cell(10, 20, 45, 40);
        const QModelIndex index = model->index(1, column);
        QVERIFY(expected(index, cell, true) != expected(index, cell, false));
        move(index, cell, cell.center());
        QCOMPARE(render(index, cell), expected(index, cell, true));
        // Another row and another column do not.
        QCOMPARE(render(model->index(0, column), cell), expected(model->index(0, column), cell, false));
        const QModelIndex other = model->index(1, column == 8 ? 9 : 8);
        QCOMPARE(render(other, cell), expected(other, cell, false));
        // Leaving the icon ends it, though the pointer is in the cell.
        move(index, cell, cell.topLeft());
        QCOMPARE(render(index, cell), expected(index, cell, false));
    }

    void hoverGoesWithThePointer()
    {
        const QRect cell(0, 0, 45, 40);
        move(model->index(0, 8), cell, cell.center());
        move(model->index(1, 9), cell, cell.center());
        QCOMPARE(render(model->index(0, 8), cell), expected(model->index(0, 8), cell, false));
        QCOMPARE(render(model->index(1, 9), cell), expected(model->index(1, 9), cell, true));
    }

    void hoverSurvivesReset()
    {
        const QRect cell(0, 0, 45, 40);
        move(model->index(1, 9), cell, cell.center());
        model->clear();
        model->append(Patient());
        model->append(Patient());
        QCOMPARE(render(model->index(1, 9), cell), expected(model->index(1, 9), cell, true));
    }

    void presses()
    {
        const QRect cell(100, 200, 45, 40);
        QVERIFY(!press(model->index(1, 9), cell, cell.center()));
        QCOMPARE(removals->count(), 1);
        QCOMPARE(removals->first().first().toModelIndex(), model->index(1, 9));
        QCOMPARE(edits->count(), 0);
        QVERIFY(!press(model->index(0, 8), cell, cell.center()));
        QCOMPARE(edits->count(), 1);
        QCOMPARE(edits->first().first().toModelIndex(), model->index(0, 8));
        QCOMPARE(removals->count(), 1);
        // The press also counts as a hover.
        QCOMPARE(render(model->index(0, 8), cell), expected(model->index(0, 8), cell, true));
        for (const int column : {1, 4}) {
            QVERIFY(!press(model->index(0, column), cell, cell.center()));
        }
        QVERIFY(!press(QModelIndex(), cell, cell.center()));
        QCOMPARE(edits->count() + removals->count(), 2);
    }

    void hitRectangle_data()
    {
        QTest::addColumn<QRect>("cell");
        QTest::newRow("odd") << QRect(100, 200, 45, 41);
        QTest::newRow("even") << QRect(0, 0, 46, 40);
    }

    void hitRectangle()
    {
        QFETCH(QRect, cell);
        const QPixmap icon = pixmap(QStringLiteral("edit.png"));
        const QRect hit(cell.center() - icon.rect().center(), icon.size());
        const QModelIndex index = model->index(0, 8);
        int count = 0;
        for (const QPoint& inside : {hit.topLeft(), hit.topRight(), hit.bottomLeft(), hit.bottomRight()}) {
            press(index, cell, inside);
            QCOMPARE(edits->count(), ++count);
        }
        const QPoint middle = hit.center();
        for (const QPoint& outside :
             {QPoint(hit.left() - 1, middle.y()), QPoint(hit.right() + 1, middle.y()),
              QPoint(middle.x(), hit.top() - 1), QPoint(middle.x(), hit.bottom() + 1), cell.topLeft()}) {
            move(index, cell, middle);
            QVERIFY(!press(index, cell, outside));
            QCOMPARE(edits->count(), count);
            QCOMPARE(render(index, cell), expected(index, cell, false));
        }
        // The position is rounded, not cut.
        press(index, cell, QPointF(hit.left() - 0.4, middle.y()));
        QCOMPARE(edits->count(), ++count);
        press(index, cell, QPointF(hit.left() - 0.6, middle.y()));
        QCOMPARE(edits->count(), count);
    }

    void otherEvents()
    {
        const QRect cell(0, 0, 45, 40);
        const QModelIndex index = model->index(0, 9);
        for (const QEvent::Type type : {QEvent::MouseButtonRelease, QEvent::MouseButtonDblClick}) {
            QVERIFY(!send(type, index, cell, cell.center()));
        }
        QKeyEvent key(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier);
        QStyleOptionViewItem option;
        option.rect = cell;
        QVERIFY(!delegate->editorEvent(&key, model.get(), option, index));
        QCOMPARE(removals->count(), 0);
        QCOMPARE(render(index, cell), expected(index, cell, false));
        QVERIFY(!move(index, cell, cell.center()));
        QCOMPARE(removals->count(), 0);
    }

    void worksInATable()
    {
        QTableView table;
        table.setModel(model.get());
        table.setMouseTracking(true);
        table.setEditTriggers(QAbstractItemView::NoEditTriggers);
        for (const int column : {1, 4, 8, 9}) {
            table.setItemDelegateForColumn(column, delegate.get());
        }
        table.verticalHeader()->setDefaultSectionSize(40);
        table.resize(1300, 300);
        table.show();
        QVERIFY(QTest::qWaitForWindowExposed(&table));
        QTest::mouseClick(table.viewport(), Qt::LeftButton, Qt::NoModifier,
                          table.visualRect(model->index(1, 9)).center());
        QCOMPARE(removals->count(), 1);
        QTest::mouseClick(table.viewport(), Qt::LeftButton, Qt::NoModifier,
                          table.visualRect(model->index(1, 8)).center());
        QCOMPARE(edits->count(), 1);
        QTest::mouseClick(table.viewport(), Qt::LeftButton, Qt::NoModifier,
                          table.visualRect(model->index(1, 9)).topLeft() + QPoint(1, 1));
        QCOMPARE(removals->count(), 1);
    }

    void hoverIsRepainted()
    {
        QTableView table;
        table.setModel(model.get());
        table.setMouseTracking(true);
        table.setItemDelegateForColumn(8, delegate.get());
        table.resize(1300, 300);
        table.show();
        QVERIFY(QTest::qWaitForWindowExposed(&table));
        const QRect cell = table.visualRect(model->index(0, 8));
        QTest::mouseMove(table.viewport(), cell.topLeft() + QPoint(2, 2));
        QTest::qWait(50);
        // Within the cell, so that the view by itself has nothing to paint.
        PaintCounter counter;
        table.viewport()->installEventFilter(&counter);
        QTest::mouseMove(table.viewport(), cell.center());
        QTRY_VERIFY(counter.count > 0);
    }

private:
    bool send(QEvent::Type type, const QModelIndex& index, const QRect& cell, const QPointF& position)
    {
        const bool pressed = type != QEvent::MouseMove;
        QMouseEvent event(type, position, pressed ? Qt::LeftButton : Qt::NoButton,
                          pressed ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
        QStyleOptionViewItem option;
        option.rect = cell;
        return delegate->editorEvent(&event, model.get(), option, index);
    }

    bool move(const QModelIndex& index, const QRect& cell, const QPointF& position)
    {
        return send(QEvent::MouseMove, index, cell, position);
    }

    bool press(const QModelIndex& index, const QRect& cell, const QPointF& position)
    {
        return send(QEvent::MouseButtonPress, index, cell, position);
    }

    template <typename Paint> static QImage paintOn(const QRect& cell, Paint paint)
    {
        QImage image(cell.right() + 30, cell.bottom() + 30, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::green);
        QPainter painter(&image);
        QStyleOptionViewItem option;
        option.rect = cell;
        option.state = QStyle::State_Enabled;
        paint(&painter, option);
        return image;
    }

    QImage render(const QModelIndex& index, const QRect& cell) const
    {
        return paintOn(cell, [&](QPainter* painter, const QStyleOptionViewItem& option) {
            delegate->paint(painter, option, index);
        });
    }

    /// The cell without icons.
    static QImage plain(const QModelIndex& index, const QRect& cell)
    {
        return paintOn(cell, [&](QPainter* painter, const QStyleOptionViewItem& option) {
            QStyledItemDelegate().paint(painter, option, index);
        });
    }

    static QImage expected(const QModelIndex& index, const QRect& cell, bool hovered)
    {
        return paintOn(cell, [&](QPainter* painter, const QStyleOptionViewItem& option) {
            QStyledItemDelegate().paint(painter, option, index);
            const QPoint centre((cell.left() + cell.right()) / 2, (cell.top() + cell.bottom()) / 2);
            const auto half = [](const QPixmap& icon) {
                return QPoint((icon.width() - 1) / 2, (icon.height() - 1) / 2);
            };
            const QPixmap edit = pixmap(QStringLiteral("edit.png"));
            if (index.column() == 1) {
                const auto icon = index.data().value<QPixmap>();
                painter->setRenderHint(QPainter::SmoothPixmapTransform);
                painter->drawPixmap(QRect(centre - half(icon) + QPoint(20, 20), QSize(24, 24)), icon, icon.rect());
            } else if (index.column() == 4) {
                const auto icon = index.data().value<QPixmap>();
                painter->drawPixmap(centre - half(icon), icon);
            } else {
                const QString name = index.column() == 8 ? QStringLiteral("edit%1.png") : QStringLiteral("trash%1.png");
                painter->drawPixmap(centre - half(edit),
                                    pixmap(name.arg(hovered ? QStringLiteral("-hover") : QString())));
            }
        });
    }

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<PatientDelegate> delegate;
    std::unique_ptr<PatientModel> model;
    std::unique_ptr<QSignalSpy> edits;
    std::unique_ptr<QSignalSpy> removals;
};

QTEST_MAIN(TestPatientDelegate)
#include "TestPatientDelegate.moc"
