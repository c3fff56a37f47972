// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/PatientProxyModel.h"
#include "patients/RecordDelegate.h"
#include "patients/RecordModel.h"
#include "tests/patients/Samples.h"
#include "tests/support/MessageGuard.h"

#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace {

QPixmap pixmap(const QString& name)
{
    return QPixmap(QStringLiteral(":/images/") + name);
}

} // namespace

class TestRecordDelegate : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        guard = std::make_unique<MessageGuard>();
        for (const char* const name : {"notes.png", "trash.png", "trash-hover.png"}) {
            QVERIFY2(!pixmap(QString::fromLatin1(name)).isNull(), name);
        }
    }

    void cleanupTestCase() { guard.reset(); }

    void init()
    {
        delegate = std::make_unique<RecordDelegate>();
        model = std::make_unique<RecordModel>();
        QJsonObject json = Samples::record(QStringLiteral("r0"), QStringLiteral("2021-03-01T10:00:00Z"));
        model->append(Record(json));
        json.insert(QStringLiteral("editable"), false);
        model->append(Record(json));
        presses = std::make_unique<QSignalSpy>(delegate.get(), &RecordDelegate::removePress);
    }

    void cleanup()
    {
        presses.reset();
        model.reset();
        delegate.reset();
        guard->verify();
    }

    void iconWidth() { QCOMPARE(delegate->getIconWidth(), pixmap(QStringLiteral("trash.png")).width()); }

    void paints_data()
    {
        QTest::addColumn<QRect>("cell");
        QTest::newRow("at the corner") << QRect(0, 0, 28, 40);
        QTest::newRow("even and odd") << QRect(31, 57, 100, 41);
    }

    void paints()
    {
        QFETCH(QRect, cell);
        // An editable record has no notes icon, any other has one.
        QCOMPARE(render(model->index(0, 2), cell), expected(model->index(0, 2), cell, QPixmap()));
        QCOMPARE(render(model->index(1, 2), cell),
                 expected(model->index(1, 2), cell, pixmap(QStringLiteral("notes.png"))));
        QVERIFY(render(model->index(1, 2), cell) != render(model->index(0, 2), cell));
        for (int row = 0; row < 2; ++row) {
            const QModelIndex trash = model->index(row, 6);
            QCOMPARE(render(trash, cell), expected(trash, cell, pixmap(QStringLiteral("trash.png"))));
            QVERIFY(render(trash, cell) != expected(trash, cell, QPixmap()));
        }
    }

    void hover()
    {
        const QRect cell(10, 20, 45, 40);
        const QModelIndex index = model->index(1, 6);
        const QImage normal = expected(index, cell, pixmap(QStringLiteral("trash.png")));
        const QImage hovered = expected(index, cell, pixmap(QStringLiteral("trash-hover.png")));
        QVERIFY(normal != hovered);
        QVERIFY(!send(QEvent::MouseMove, index, cell, cell.center()));
        QCOMPARE(render(index, cell), hovered);
        QCOMPARE(render(model->index(0, 6), cell),
                 expected(model->index(0, 6), cell, pixmap(QStringLiteral("trash.png"))));
        QVERIFY(!send(QEvent::MouseMove, index, cell, cell.topLeft()));
        QCOMPARE(render(index, cell), normal);
        QCOMPARE(presses->count(), 0);
    }

    void press()
    {
        const QRect cell(100, 200, 45, 40);
        QVERIFY(!send(QEvent::MouseButtonPress, model->index(1, 6), cell, cell.center()));
        QCOMPARE(presses->count(), 1);
        QCOMPARE(presses->first().first().toModelIndex(), model->index(1, 6));
        QVERIFY(!send(QEvent::MouseButtonPress, model->index(1, 2), cell, cell.center()));
        QVERIFY(!send(QEvent::MouseButtonPress, QModelIndex(), cell, cell.center()));
        QVERIFY(!send(QEvent::MouseButtonRelease, model->index(1, 6), cell, cell.center()));
        QVERIFY(!send(QEvent::MouseButtonDblClick, model->index(1, 6), cell, cell.center()));
        QCOMPARE(presses->count(), 1);
    }

    void hitRectangle()
    {
        const QRect cell(100, 200, 45, 41);
        const QPixmap icon = pixmap(QStringLiteral("trash.png"));
        const QRect hit(cell.center() - icon.rect().center(), icon.size());
        const QModelIndex index = model->index(0, 6);
        int count = 0;
        for (const QPoint& inside : {hit.topLeft(), hit.topRight(), hit.bottomLeft(), hit.bottomRight()}) {
            send(QEvent::MouseButtonPress, index, cell, inside);
            QCOMPARE(presses->count(), ++count);
        }
        const QPoint middle = hit.center();
        for (const QPoint& outside : {QPoint(hit.left() - 1, middle.y()), QPoint(hit.right() + 1, middle.y()),
                                      QPoint(middle.x(), hit.top() - 1), QPoint(middle.x(), hit.bottom() + 1)}) {
            send(QEvent::MouseMove, index, cell, middle);
            send(QEvent::MouseButtonPress, index, cell, outside);
            QCOMPARE(presses->count(), count);
            QCOMPARE(render(index, cell), expected(index, cell, icon));
        }
    }

    void speaksOfTheProxy()
    {
        PatientProxyModel proxy;
        proxy.setSourceModel(model.get());
        const QRect cell(0, 0, 45, 40);
        send(QEvent::MouseButtonPress, proxy.index(1, 6), cell, cell.center());
        QCOMPARE(presses->first().first().toModelIndex().model(), static_cast<QAbstractItemModel*>(&proxy));
        QCOMPARE(render(proxy.index(1, 2), cell),
                 expected(proxy.index(1, 2), cell, pixmap(QStringLiteral("notes.png"))));
    }

private:
    bool send(QEvent::Type type, const QModelIndex& index, const QRect& cell, const QPointF& position)
    {
        const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
        QMouseEvent event(type, position, button, button, Qt::NoModifier);
        QStyleOptionViewItem option;
        option.rect = cell;
        return delegate->editorEvent(&event, model.get(), option, index);
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

    /// The cell with this icon in its middle.
    static QImage expected(const QModelIndex& index, const QRect& cell, const QPixmap& icon)
    {
        return paintOn(cell, [&](QPainter* painter, const QStyleOptionViewItem& option) {
            QStyledItemDelegate().paint(painter, option, index);
            if (!icon.isNull()) {
                painter->drawPixmap((cell.left() + cell.right()) / 2 - (icon.width() - 1) / 2,
                                    (cell.top() + cell.bottom()) / 2 - (icon.height() - 1) / 2, icon);
            }
        });
    }

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<RecordDelegate> delegate;
    std::unique_ptr<RecordModel> model;
    std::unique_ptr<QSignalSpy> presses;
};

QTEST_MAIN(TestRecordDelegate)
#include "TestRecordDelegate.moc"
