// SPDX-License-Identifier: GPL-3.0-or-later
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QIcon>
#include <QImage>
#include <QMovie>
#include <QPixmap>
#include <QSet>
#include <QXmlStreamReader>
#include <QtTest>

namespace {
struct Picture
{
    const char* name; ///< without folder and suffix
    int width;
    int height;
};

// What delegates, forms and message boxes count on.
const Picture images[] = {
    {"logo", 256, 256},
    {"gradient", 512, 1},
    {"login", 20, 20},
    {"login-as-user", 24, 24},
    {"login-password", 24, 24},
    {"analysis", 32, 32},
    {"comparative-analysis", 32, 32},
    {"recovery-history", 32, 32},
    {"receipt", 32, 32},
    {"autospectrum", 32, 32},
    {"excel-export", 32, 32},
    {"refresh", 32, 32},
    {"patient-create", 40, 40},
    {"patient-delete", 64, 64},
    {"patient-settings", 32, 32},
    {"patient-male", 32, 32},
    {"patient-female", 32, 32},
    {"gender-male", 24, 24},
    {"gender-female", 24, 24},
    {"record-create", 32, 32},
    {"record-delete", 64, 64},
    {"record-done", 32, 32},
    {"record-sensor", 32, 32},
    {"connected-device", 64, 64},
    {"connected-device-blocked", 64, 64},
    {"connected-device-recipe", 64, 64},
    {"connected-device-record", 64, 64},
    {"connected-device-record-complete", 64, 64},
    {"not-connected-device", 64, 64},
    {"cloud-device", 64, 64},
    {"play", 48, 48},
    {"pause", 48, 48},
    {"stop", 48, 48},
    {"notes", 24, 24},
    {"notes-popup", 24, 24},
    {"table-arrow-up", 20, 20},
    {"table-arrow-down", 20, 20},
    {"trash", 24, 24},
    {"trash-hover", 24, 24},
    {"delete", 24, 24},
    {"edit", 24, 24},
    {"edit-hover", 24, 24},
    {"arrow-up", 12, 12},
    {"arrow-down", 12, 12},
    {"combobox-arrow", 12, 12},
    {"spinup", 10, 10},
    {"spinup-hover", 10, 10},
    {"spinup-disabled", 10, 10},
    {"spindown", 10, 10},
    {"spindown-hover", 10, 10},
    {"spindown-disabled", 10, 10},
    {"separator", 20, 20},
};

const char* const flags[][2] = {{"de", "de_DE"}, {"en", "en_US"}, {"pl", "pl_PL"}, {"ru", "ru_RU"}};

QString imagePath(const char* name, const char* suffix = ".png")
{
    return QStringLiteral(":/images/%1%2").arg(QLatin1String(name), QLatin1String(suffix));
}

QString flagPath(const char* name, const char* suffix = ".png")
{
    return QStringLiteral(":/flags/%1%2").arg(QLatin1String(name), QLatin1String(suffix));
}

/// The gradient and the logo are loaded as plain pixmaps, which never look for a second size.
bool hasDouble(const char* name)
{
    return qstrcmp(name, "gradient") != 0 && qstrcmp(name, "logo") != 0;
}

QByteArray bytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The share of pixels that are at least half opaque, 0 to 1.
double cover(const QImage& image)
{
    int solid = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            solid += qAlpha(image.pixel(x, y)) >= 128 ? 1 : 0;
    return double(solid) / (image.width() * image.height());
}

bool near(QRgb got, QRgb wanted)
{
    return qAbs(qRed(got) - qRed(wanted)) <= 2 && qAbs(qGreen(got) - qGreen(wanted)) <= 2 &&
           qAbs(qBlue(got) - qBlue(wanted)) <= 2 && qAlpha(got) == 255;
}
} // namespace

/// The compiled resources, reached as the program reaches them: by linking the client and nothing more.
class TestResources : public QObject
{
    Q_OBJECT

private slots:
    void styleSheetIsThere();
    void pictures_data();
    void pictures();
    void doubles_data();
    void doubles();
    void nothingElse();
    void picturesDiffer();
    void gradient();
    void flagsAnswerToBothNames_data();
    void flagsAnswerToBothNames();
    void flagColours();
    void loadingIsALoop();
    void loadingIsTransparent();
    void statusIconsAreTold_data();
    void statusIconsAreTold();
    void pngsFollowTheirSources();
};

void TestResources::styleSheetIsThere()
{
    const QByteArray compiled = bytes(QStringLiteral(":/styles.css"));
    QVERIFY(!compiled.isEmpty());
    QCOMPARE(compiled, bytes(QStringLiteral(QUELMAR_SOURCE_DIR "/resources/styles.css")));
}

void TestResources::pictures_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size");
    for (const Picture& picture : images)
        QTest::newRow(picture.name) << imagePath(picture.name) << QSize(picture.width, picture.height);
    for (const auto& names : flags)
        QTest::newRow(names[0]) << flagPath(names[0]) << QSize(48, 32);
}

void TestResources::pictures()
{
    QFETCH(QString, path);
    QFETCH(QSize, size);
    const QPixmap pixmap(path);
    QVERIFY2(!pixmap.isNull(), qPrintable(path));
    QCOMPARE(pixmap.size(), size);
    QCOMPARE(pixmap.devicePixelRatio(), 1.0);
    QVERIFY(cover(pixmap.toImage()) > 0.05);
}

void TestResources::doubles_data()
{
    QTest::addColumn<QString>("single");
    QTest::addColumn<QString>("doubled");
    for (const Picture& picture : images) {
        if (hasDouble(picture.name))
            QTest::newRow(picture.name) << imagePath(picture.name) << imagePath(picture.name, "@2x.png");
    }
    for (const auto& names : flags) {
        QTest::newRow(names[0]) << flagPath(names[0]) << flagPath(names[0], "@2x.png");
        QTest::newRow(names[1]) << flagPath(names[1]) << flagPath(names[1], "@2x.png");
    }
}

void TestResources::doubles()
{
    QFETCH(QString, single);
    QFETCH(QString, doubled);
    const QImage small(single);
    const QImage large(doubled);
    QVERIFY(!large.isNull());
    QCOMPARE(large.size(), small.size() * 2);
    QCOMPARE(large.devicePixelRatio(), 2.0);
    // The same drawing, not merely the same size.
    QVERIFY(qAbs(cover(large) - cover(small)) < 0.08);
}

void TestResources::nothingElse()
{
    QSet<QString> wanted = {QStringLiteral(":/styles.css"), QStringLiteral(":/images/loading.gif"),
                            QStringLiteral(":/images/loading@2x.gif")};
    for (const Picture& picture : images) {
        wanted.insert(imagePath(picture.name));
        if (hasDouble(picture.name))
            wanted.insert(imagePath(picture.name, "@2x.png"));
    }
    for (const auto& names : flags) {
        for (const char* name : names) {
            wanted.insert(flagPath(name));
            wanted.insert(flagPath(name, "@2x.png"));
        }
    }

    QSet<QString> found;
    for (const QString& folder : {QStringLiteral(":/images"), QStringLiteral(":/flags")}) {
        QDirIterator walk(folder, QDir::Files, QDirIterator::Subdirectories);
        while (walk.hasNext())
            found.insert(walk.next());
    }
    found.insert(QStringLiteral(":/styles.css"));
    QCOMPARE(found - wanted, QSet<QString>());
    QCOMPARE(wanted - found, QSet<QString>());
}

// A picture committed under two names by mistake would show the wrong thing and break no size.
void TestResources::picturesDiffer()
{
    QHash<QByteArray, QString> seen;
    for (const Picture& picture : images) {
        const QByteArray content = bytes(imagePath(picture.name));
        QVERIFY2(!seen.contains(content),
                 qPrintable(QLatin1String(picture.name) + QLatin1String(" is ") + seen.value(content)));
        seen.insert(content, QLatin1String(picture.name));
    }
}

void TestResources::gradient()
{
    const QImage image(QStringLiteral(":/images/gradient.png"));
    QCOMPARE(image.size(), QSize(512, 1));
    QVERIFY(near(image.pixel(0, 0), qRgb(0x0d, 0xb4, 0x96)));
    QVERIFY(near(image.pixel(256, 0), qRgb(0xfe, 0xca, 0x50)));
    QVERIFY(near(image.pixel(511, 0), qRgb(0xff, 0x54, 0x55)));
    // Red rises to the middle, green falls behind it, and no step shows as an edge.
    for (int x = 1; x < 512; ++x) {
        const QRgb left = image.pixel(x - 1, 0);
        const QRgb right = image.pixel(x, 0);
        QVERIFY(qRed(right) >= qRed(left));
        QVERIFY(x <= 256 ? qGreen(right) >= qGreen(left) : qGreen(right) <= qGreen(left));
        QVERIFY(qAbs(qRed(right) - qRed(left)) <= 2 && qAbs(qGreen(right) - qGreen(left)) <= 2);
    }
}

void TestResources::flagsAnswerToBothNames_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("locale");
    for (const auto& names : flags)
        QTest::newRow(names[0]) << QString::fromLatin1(names[0]) << QString::fromLatin1(names[1]);
}

void TestResources::flagsAnswerToBothNames()
{
    QFETCH(QString, language);
    QFETCH(QString, locale);
    const QImage byLanguage(QStringLiteral(":/flags/%1.png").arg(language));
    QVERIFY(!byLanguage.isNull());
    QCOMPARE(QImage(QStringLiteral(":/flags/%1.png").arg(locale)), byLanguage);
    QVERIFY(QFile::exists(QStringLiteral(":/flags/%1@2x.png").arg(locale)));
    QVERIFY(!QIcon(QStringLiteral(":/flags/%1.png").arg(locale)).pixmap(24, 16).isNull());
}

void TestResources::flagColours()
{
    const QImage german(flagPath("de"));
    QVERIFY(near(german.pixel(24, 5), qRgb(0, 0, 0)));
    QVERIFY(near(german.pixel(24, 16), qRgb(0xdd, 0, 0)));
    QVERIFY(near(german.pixel(24, 26), qRgb(0xff, 0xce, 0)));

    const QImage polish(flagPath("pl"));
    QVERIFY(near(polish.pixel(24, 8), qRgb(255, 255, 255)));
    QVERIFY(near(polish.pixel(24, 24), qRgb(0xdc, 0x14, 0x3c)));

    const QImage russian(flagPath("ru"));
    QVERIFY(near(russian.pixel(24, 5), qRgb(255, 255, 255)));
    QVERIFY(near(russian.pixel(24, 16), qRgb(0, 0x39, 0xa6)));
    QVERIFY(near(russian.pixel(24, 26), qRgb(0xd5, 0x2b, 0x1e)));

    const QImage english(flagPath("en"));
    QVERIFY(near(english.pixel(24, 4), qRgb(0xc8, 0x10, 0x2e))); // the upright of the cross
    QVERIFY(near(english.pixel(4, 16), qRgb(0xc8, 0x10, 0x2e))); // its bar
    QVERIFY(near(english.pixel(20, 11), qRgb(255, 255, 255)));   // its white edge
    QVERIFY(near(english.pixel(4, 9), qRgb(0x01, 0x21, 0x69)));  // the ground
    QVERIFY(near(english.pixel(15, 3), qRgb(0x01, 0x21, 0x69)));
}

void TestResources::loadingIsALoop()
{
    QMovie movie(QStringLiteral(":/images/loading.gif"));
    QVERIFY(movie.isValid());
    QCOMPARE(movie.loopCount(), -1); // for ever
    QCOMPARE(movie.frameCount(), 24);
    QSet<QByteArray> frames;
    for (int i = 0; i < movie.frameCount(); ++i) {
        QVERIFY(movie.jumpToFrame(i));
        const QImage frame = movie.currentImage().convertToFormat(QImage::Format_ARGB32);
        QCOMPARE(frame.size(), QSize(64, 64));
        QVERIFY(movie.nextFrameDelay() > 0 && movie.nextFrameDelay() <= 50);
        frames.insert(QByteArray(reinterpret_cast<const char*>(frame.constBits()), int(frame.sizeInBytes())));
    }
    QCOMPARE(frames.size(), 24); // each frame moves on
}

void TestResources::loadingIsTransparent()
{
    QMovie movie(QStringLiteral(":/images/loading.gif"));
    for (int i = 0; i < movie.frameCount(); ++i) {
        QVERIFY(movie.jumpToFrame(i));
        const QImage frame = movie.currentImage().convertToFormat(QImage::Format_ARGB32);
        for (const QPoint& clear : {QPoint(0, 0), QPoint(63, 0), QPoint(0, 63), QPoint(63, 63), QPoint(32, 32)})
            QCOMPARE(qAlpha(frame.pixel(clear)), 0);
        // What the frame before drew is gone: the dots never fill the ring.
        const double share = cover(frame);
        QVERIFY2(share > 0.05 && share < 0.25, qPrintable(QString::number(share)));
        // Over the dimmed window only light shades are readable.
        int brightest = 0;
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                if (qAlpha(frame.pixel(x, y)) == 0)
                    continue;
                brightest = qMax(brightest, qGray(frame.pixel(x, y)));
                QVERIFY(qGray(frame.pixel(x, y)) >= 0x70);
            }
        }
        QVERIFY(brightest > 240);
    }
}

void TestResources::statusIconsAreTold_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QRgb>("badge");
    QTest::newRow("blocked") << QStringLiteral("connected-device-blocked") << qRgb(0xc8, 0x47, 0x4c);
    QTest::newRow("recipe") << QStringLiteral("connected-device-recipe") << qRgb(0x42, 0x89, 0xdd);
    QTest::newRow("record") << QStringLiteral("connected-device-record") << qRgb(0x42, 0x89, 0xdd);
    QTest::newRow("complete") << QStringLiteral("connected-device-record-complete") << qRgb(0x0d, 0xb4, 0x96);
}

// The list shows these at 24 pixels, where the badge in the corner is all that tells them apart.
void TestResources::statusIconsAreTold()
{
    QFETCH(QString, name);
    QFETCH(QRgb, badge);
    const QImage image(QStringLiteral(":/images/%1.png").arg(name));
    QVERIFY(near(image.pixel(48, 36), badge));
    QVERIFY(near(image.pixel(36, 52), badge));
    const QImage plain(imagePath("connected-device"));
    QVERIFY(qAlpha(plain.pixel(48, 62)) == 0);
}

// The committed PNGs have the sizes that their sources state, and no source is left unrendered.
void TestResources::pngsFollowTheirSources()
{
    const QDir root(QStringLiteral(QUELMAR_SOURCE_DIR "/resources"));
    for (const QString& folder : {QStringLiteral("images"), QStringLiteral("flags")}) {
        const QFileInfoList sources =
            QDir(root.filePath(QStringLiteral("svg/") + folder)).entryInfoList({QStringLiteral("*.svg")}, QDir::Files);
        QVERIFY(!sources.isEmpty());
        QSet<QString> rendered;
        for (const QFileInfo& source : sources) {
            QFile file(source.filePath());
            QVERIFY(file.open(QIODevice::ReadOnly));
            QXmlStreamReader xml(&file);
            QVERIFY(xml.readNextStartElement());
            const QSize size(xml.attributes().value(QLatin1String("width")).toInt(),
                             xml.attributes().value(QLatin1String("height")).toInt());
            const QString path =
                root.filePath(folder + QLatin1Char('/') + source.completeBaseName() + QLatin1String(".png"));
            QVERIFY2(QImage(path).size() == size, qPrintable(path));
            while (!xml.atEnd())
                xml.readNext();
            QVERIFY2(!xml.hasError(), qPrintable(source.filePath()));
            rendered.insert(source.completeBaseName());
        }
        const QFileInfoList pngs = QDir(root.filePath(folder)).entryInfoList({QStringLiteral("*.png")}, QDir::Files);
        for (const QFileInfo& png : pngs)
            QVERIFY2(rendered.contains(png.completeBaseName().remove(QLatin1String("@2x"))),
                     qPrintable(png.filePath()));
    }
}

QTEST_MAIN(TestResources)
#include "TestResources.moc"
