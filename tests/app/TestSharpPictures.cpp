// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MainWindow.h"
#include "app/init.h"
#include "model/picture.h"
#include "net/LoadingWindow.h"
#include "tests/app/Stations.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/SoundServer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QMovie>
#include <QPainter>
#include <QScreen>
#include <QTableView>
#include <QTest>

#include <memory>

namespace {

/// Where this picture stands in the grabbed image, searched by its pixels; null if nowhere.
QPoint find(const QImage& image, const QImage& part)
{
    const QImage::Format format = QImage::Format_RGB32;
    const QImage where = image.convertToFormat(format);
    const QImage what = part.convertToFormat(format);
    for (int y = 0; y + what.height() <= where.height(); ++y) {
        for (int x = 0; x + what.width() <= where.width(); ++x) {
            bool same = true;
            for (int row = 0; row < what.height() && same; ++row) {
                const auto* const left = reinterpret_cast<const QRgb*>(where.constScanLine(y + row)) + x;
                const auto* const right = reinterpret_cast<const QRgb*>(what.constScanLine(row));
                for (int column = 0; column < what.width() && same; ++column) {
                    same = (left[column] | 0xff000000) == (right[column] | 0xff000000);
                }
            }
            if (same) {
                return {x, y};
            }
        }
    }
    return {-1, -1};
}

/// The double picture on a ground of one colour, in its own pixels.
QImage doubled(const QString& name, const QColor& ground)
{
    QImage drawing(QStringLiteral(":/images/%1@2x.png").arg(name));
    drawing.setDevicePixelRatio(1);
    QImage image(drawing.size(), QImage::Format_RGB32);
    image.fill(ground);
    QPainter(&image).drawImage(0, 0, drawing);
    return image;
}

} // namespace

/// Every picture of every window on a screen of double density: none is a small one blown up.
class TestSharpPictures : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void cleanup() { guard->verify(); }

    void everyPixmapIsDouble_data();
    void everyPixmapIsDouble();
    void cellsShowTheDouble_data();
    void cellsShowTheDouble();
    void veilIsDouble();

private:
    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<Stations> stations;
};

void TestSharpPictures::initTestCase()
{
    SoundServer::hideAll();
    guard = std::make_unique<MessageGuard>();
    stations = std::make_unique<Stations>();
    QCOMPARE(stations->window()->devicePixelRatioF(), 2.0);
}

void TestSharpPictures::cleanupTestCase()
{
    stations.reset();
    guard.reset();
}

void TestSharpPictures::everyPixmapIsDouble_data()
{
    QTest::addColumn<QString>("station");
    const QStringList all = Stations::screens() + Stations::dialogs();
    for (const QString& name : all) {
        QTest::newRow(qPrintable(name)) << name;
    }
}

void TestSharpPictures::everyPixmapIsDouble()
{
    QFETCH(QString, station);
    stations->visit(station, [station](QWidget* window) {
        // For whoever wants to look at them.
        const QString folder = qEnvironmentVariable("QUELMAR_PICTURES_DIR");
        if (!folder.isEmpty()) {
            QVERIFY(QDir().mkpath(folder));
            QVERIFY(window->grab().save(folder + QLatin1Char('/') + station + QStringLiteral(".png")));
        }
        QStringList blurred;
        const QList<QLabel*> labels = window->findChildren<QLabel*>();
        for (const QLabel* label : labels) {
            const QPixmap pixmap = label->pixmap(Qt::ReturnByValue);
            // Qt's own pictures of its boxes are what they are.
            const bool own =
                !station.startsWith(QLatin1String("QMessageBox")) || station.endsWith(QLatin1String("patient"));
            if (own && label->isVisible() && !pixmap.isNull() && pixmap.devicePixelRatio() != 2.0) {
                blurred.append(label->objectName());
            }
        }
        const QList<QAbstractButton*> buttons = window->findChildren<QAbstractButton*>();
        for (const QAbstractButton* button : buttons) {
            const QPixmap pixmap = button->icon().pixmap(window->windowHandle(), button->iconSize());
            if (button->isVisible() && !button->icon().isNull() && pixmap.devicePixelRatio() != 2.0) {
                blurred.append(button->objectName());
            }
        }
        QVERIFY2(blurred.isEmpty(), qPrintable(blurred.join(QStringLiteral(", "))));
    });
}

void TestSharpPictures::cellsShowTheDouble_data()
{
    QTest::addColumn<QString>("station");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    const auto row = [](const char* station, const char* name, int line, int column) {
        QTest::addRow("%s, %s", station, name)
            << QString::fromLatin1(station) << QString::fromLatin1(name) << line << column;
    };
    row("ViewPatients", "edit", 0, 8);
    row("ViewPatients", "trash", 0, 9);
    row("ViewPatients", "gender-female", 0, 4);
    row("ViewPatient", "notes", 0, 2);
    row("ViewPatient", "trash", 0, 6);
    row("ViewReceipt", "notes", 0, 3);
    row("ViewImpact, sensor", "table-arrow-up", 1, 1);
    row("ViewImpact, sensor", "table-arrow-down", 0, 2);
    row("ViewImpact, sensor", "trash", 0, 4);
}

void TestSharpPictures::cellsShowTheDouble()
{
    QFETCH(QString, station);
    QFETCH(QString, name);
    QFETCH(int, row);
    QFETCH(int, column);
    stations->visit(station, [this, name, row, column](QWidget*) {
        auto* const table = stations->screen()->findChild<QTableView*>(QStringLiteral("tableView"));
        QCursor::setPos(0, 0);
        table->scrollTo(table->model()->index(row, column));
        const QRect cell = table->visualRect(table->model()->index(row, column));
        QVERIFY(cell.isValid());
        const QImage image = table->viewport()->grab(cell).toImage();
        QCOMPARE(image.size(), cell.size() * 2);
        const QColor ground = table->model()->index(row, column).data(Qt::BackgroundRole).value<QBrush>().color();
        const QPoint found = find(image, doubled(name, ground.isValid() ? ground : Qt::white));
        QVERIFY(found.x() >= 0);
        // In the middle, as near as the pixels allow.
        const QSize size = doubled(name, ground).size();
        QVERIFY(qAbs(found.x() - (image.width() - size.width()) / 2) <= 2);
        QVERIFY(qAbs(found.y() - (image.height() - size.height()) / 2) <= 2);
    });
}

// The animation is a picture too.
void TestSharpPictures::veilIsDouble()
{
    QWidget covered;
    const LoadingWindow veil(&covered);
    const QMovie* const movie = veil.findChild<QLabel*>(QStringLiteral("labelAnimation"))->movie();
    QVERIFY(movie != nullptr);
    QCOMPARE(movie->currentPixmap().devicePixelRatio(), 2.0);
    const QImage small(QStringLiteral(":/images/loading.gif"));
    QCOMPARE(movie->currentPixmap().size(), small.size() * 2);
    QVERIFY(picture(QStringLiteral(":/images/no-such.png")).isNull());
    QCOMPARE(picture(QStringLiteral(":/images/edit.png")).devicePixelRatio(), 2.0);
}

int main(int argc, char* argv[])
{
    // Before the application: a screen of its own density would need hardware.
    qputenv("QT_SCALE_FACTOR", "2");
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication app(argc, argv);
    init(app);
    QApplication::setQuitOnLastWindowClosed(false);
    TestSharpPictures test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestSharpPictures.moc"
