// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QComboBox>
#include <QIcon>
#include <QPainter>
#include <QPushButton>
#include <QtTest>

#include "app/init.h"

/// The program on a screen of double density, where Qt takes the "@2x" pictures by itself.
class TestDoubleDensity : public QObject
{
    Q_OBJECT

private slots:
    void iconTakesTheDouble_data();
    void iconTakesTheDouble();
    void sheetTakesTheDouble();
};

void TestDoubleDensity::iconTakesTheDouble_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("size");
    QTest::newRow("tool") << QStringLiteral(":/images/analysis.png") << 32;
    QTest::newRow("player") << QStringLiteral(":/images/play.png") << 48;
    QTest::newRow("login") << QStringLiteral(":/images/login.png") << 20;
    QTest::newRow("flag") << QStringLiteral(":/flags/en_US.png") << 48;
}

void TestDoubleDensity::iconTakesTheDouble()
{
    QFETCH(QString, path);
    QFETCH(int, size);
    QPushButton button;
    QCOMPARE(button.devicePixelRatio(), 2);
    const QPixmap pixmap = QIcon(path).pixmap(QSize(size, size));
    QCOMPARE(pixmap.width(), 2 * size);
    QCOMPARE(pixmap.devicePixelRatio(), 2.0);

    QString doubled = path;
    doubled.replace(QLatin1String(".png"), QLatin1String("@2x.png"));
    QImage wanted(doubled);
    QVERIFY(!wanted.isNull());
    // Pixmaps are premultiplied, which rounds the colours of soft edges.
    const QImage::Format format = QImage::Format_ARGB32_Premultiplied;
    QCOMPARE(pixmap.toImage().convertToFormat(format), wanted.convertToFormat(format));
}

// A chevron blown up from its small picture has blurred edges; the double one meets the pixels.
void TestDoubleDensity::sheetTakesTheDouble()
{
    QComboBox box;
    box.addItem(QStringLiteral("x"));
    box.resize(200, 40);
    const QImage image = box.grab().toImage();
    QCOMPARE(image.size(), QSize(400, 80));

    QImage arrow(QStringLiteral(":/images/combobox-arrow@2x.png"));
    QCOMPARE(arrow.size(), QSize(24, 24));
    QImage wanted(arrow.size(), QImage::Format_RGB32);
    wanted.fill(Qt::white);
    arrow.setDevicePixelRatio(1);
    QPainter(&wanted).drawImage(0, 0, arrow);
    bool found = false;
    for (int x = 340; x <= 376 && !found; ++x) {
        for (int y = 20; y <= 36 && !found; ++y) {
            QImage part = image.copy(x, y, 24, 24).convertToFormat(QImage::Format_RGB32);
            part.setDevicePixelRatio(1);
            found = part == wanted;
        }
    }
    QVERIFY(found);
}

int main(int argc, char* argv[])
{
    // Before the application: a platform's own screens would need hardware of that density.
    qputenv("QT_SCALE_FACTOR", "2");
    QApplication app(argc, argv);
    init(app);
    TestDoubleDensity test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestDoubleDensity.moc"
