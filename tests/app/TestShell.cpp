// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Constants.h"
#include "app/init.h"
#include "app/switchTranslator.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTest>
#include <QTranslator>

/// What stands before the first window: the build's values, the dress of the application, the loading of a language.
class TestShell : public QObject
{
    Q_OBJECT

private slots:
    void constants();
    void initDressesTheApplication();
    void translatorLoadsTheFileBesideTheProgram();
    void translatorReplacesTheLanguageBefore();
    void missingFileShowsKeys_data();
    void missingFileShowsKeys();
    void brokenFileShowsKeys();

private:
    static QString shown() { return QCoreApplication::translate("QObject", "Text.error"); }
};

void TestShell::constants()
{
    QCOMPARE(QByteArray(Constants::VERSION), QByteArray("2021.3.0"));
    QCOMPARE(QByteArray(Constants::NAME), QByteArray("Quelmar"));
    QCOMPARE(QByteArray(Constants::ORG_NAME), QByteArray("Quelmar Signal Systems"));
    QCOMPARE(QByteArray(Constants::ORG_DOMAIN), QByteArray("Wellness"));
    QVERIFY(QByteArray(Constants::WEBSITE).endsWith("quelmar.example"));
    QVERIFY(QByteArray(Constants::EMAIL).endsWith("@quelmar.example"));
    QCOMPARE(Constants::LANGUAGES, QStringList({QStringLiteral("en_US"), QStringLiteral("ru_RU")}));
    QCOMPARE(Constants::DEVICE_USB, QStringLiteral("Quelmar USB v"));
    QCOMPARE(Constants::DEVICE_OLD, QStringLiteral("C-Media USB Headphone Set"));
    QCOMPARE(Constants::DEVICES, QStringList({Constants::DEVICE_USB, Constants::DEVICE_OLD}));
}

void TestShell::initDressesTheApplication()
{
    ::init(*qApp);
    QFile sheet(QStringLiteral(":/styles.css"));
    QVERIFY(sheet.open(QIODevice::ReadOnly));
    QCOMPARE(qApp->styleSheet(), QString::fromLatin1(sheet.readAll()));
    QVERIFY(!qApp->styleSheet().isEmpty());
    QCOMPARE(QApplication::applicationName(), QStringLiteral("Quelmar"));
    QCOMPARE(QApplication::organizationName(), QStringLiteral("Quelmar Signal Systems"));
    QCOMPARE(QApplication::organizationDomain(), QStringLiteral("Wellness"));
    QCOMPARE(QApplication::applicationVersion(), QStringLiteral("2021.3.0"));
    QVERIFY(QCoreApplication::testAttribute(Qt::AA_DontShowIconsInMenus));
    QVERIFY(QCoreApplication::testAttribute(Qt::AA_UseHighDpiPixmaps));
    QVERIFY(QCoreApplication::testAttribute(Qt::AA_ForceRasterWidgets));
    QCOMPARE(QApplication::wheelScrollLines(), 1);
    const QPixmap logo(QStringLiteral(":/images/logo.png"));
    QCOMPARE(QApplication::windowIcon().pixmap(logo.size()).toImage(), logo.toImage());
}

void TestShell::translatorLoadsTheFileBesideTheProgram()
{
    QTranslator translator;
    switchTranslator(translator, QStringLiteral("Translation_en_US.qm"));
    QVERIFY(shown() != QStringLiteral("Text.error"));
}

void TestShell::translatorReplacesTheLanguageBefore()
{
    QTranslator translator;
    switchTranslator(translator, QStringLiteral("Translation_en_US.qm"));
    const QString english = shown();
    switchTranslator(translator, QStringLiteral("Translation_ru_RU.qm"));
    QVERIFY(shown() != english);
    switchTranslator(translator, QStringLiteral("Translation_en_US.qm"));
    QCOMPARE(shown(), english);
}

void TestShell::missingFileShowsKeys_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("no such language") << "Translation_xx_XX.qm";
    // Neither another suffix nor a shorter name is tried.
    QTest::newRow("without its suffix") << "Translation_en_US";
    QTest::newRow("longer") << "Translation_en_US.qm_more.x";
    QTest::newRow("empty") << "";
}

void TestShell::missingFileShowsKeys()
{
    QFETCH(QString, file);
    QTranslator translator;
    switchTranslator(translator, QStringLiteral("Translation_en_US.qm"));
    switchTranslator(translator, file);
    QCOMPARE(shown(), QStringLiteral("Text.error"));
}

void TestShell::brokenFileShowsKeys()
{
    const QString name = QStringLiteral("Translation_broken-by-test.qm");
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/languages/") + name;
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("no translation");
    file.close();
    QTranslator translator;
    switchTranslator(translator, name);
    QCOMPARE(shown(), QStringLiteral("Text.error"));
    QVERIFY(QFile::remove(path));
}

QTEST_MAIN(TestShell)
#include "TestShell.moc"
