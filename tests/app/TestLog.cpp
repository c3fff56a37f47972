// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/customMessageHandler.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

/// The log file: its name, its place, the form of its lines, and what happens where it cannot be written.
class TestLog : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void levels_data();
    void levels();
    void unknownTypeGivesTheTimeAlone();
    void appendsAndKeepsWhatIsThere();
    void writesUtf8();
    void losesTheLineWhereTheFileCannotBeOpened();

private:
    static void log(QtMsgType type, const QString& text);
    static QByteArray content();

    QString previous;
    QTemporaryDir* directory = nullptr;
};

void TestLog::init()
{
    previous = QDir::currentPath();
    directory = new QTemporaryDir;
    QVERIFY(QDir::setCurrent(directory->path()));
}

void TestLog::cleanup()
{
    QDir::setCurrent(previous);
    delete directory;
}

void TestLog::log(QtMsgType type, const QString& text)
{
    customMessageHandler(type, QMessageLogContext(), text);
}

QByteArray TestLog::content()
{
    QFile file(QStringLiteral("quelmar.log"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void TestLog::levels_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("level");
    QTest::newRow("debug") << int(QtDebugMsg) << "{Debug} \t\t ";
    QTest::newRow("warning") << int(QtWarningMsg) << "{Warning} \t ";
    QTest::newRow("critical") << int(QtCriticalMsg) << "{Critical} \t ";
    QTest::newRow("fatal") << int(QtFatalMsg) << "{Fatal} \t\t ";
    QTest::newRow("info") << int(QtInfoMsg) << "{Info} \t\t ";
}

void TestLog::levels()
{
    QFETCH(int, type);
    QFETCH(QString, level);
    log(static_cast<QtMsgType>(type), QStringLiteral("what 100% happened %1"));

    const QRegularExpression form(
        QStringLiteral("^\\[\\d\\d/\\d\\d/\\d{4} \\d\\d:\\d\\d:\\d\\d\\] ") + QRegularExpression::escape(level) +
        QRegularExpression::escape(QStringLiteral("what 100% happened %1")) + QStringLiteral("\n\\z"));
    QVERIFY2(form.match(QString::fromUtf8(content())).hasMatch(), content().constData());
}

void TestLog::unknownTypeGivesTheTimeAlone()
{
    log(static_cast<QtMsgType>(77), QStringLiteral("lost"));
    const QRegularExpression form(QStringLiteral("^\\[[^\\]]+\\] \n\\z"));
    QVERIFY2(form.match(QString::fromUtf8(content())).hasMatch(), content().constData());
}

void TestLog::appendsAndKeepsWhatIsThere()
{
    QFile file(QStringLiteral("quelmar.log"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("an older line\n");
    file.close();
    log(QtInfoMsg, QStringLiteral("first"));
    log(QtInfoMsg, QStringLiteral("second"));
    const QList<QByteArray> lines = content().split('\n');
    QCOMPARE(lines.size(), 4);
    QCOMPARE(lines.at(0), QByteArray("an older line"));
    QVERIFY(lines.at(1).endsWith("first"));
    QVERIFY(lines.at(2).endsWith("second"));
}

void TestLog::writesUtf8()
{
    log(QtInfoMsg, QString::fromUtf8("Имя Größe"));
    QVERIFY(content().contains("Имя Größe"));
}

void TestLog::losesTheLineWhereTheFileCannotBeOpened()
{
    // A folder of that name cannot be opened as a file, not even by root.
    QVERIFY(QDir().mkdir(QStringLiteral("quelmar.log")));
    log(QtWarningMsg, QStringLiteral("lost"));
    QVERIFY(QFileInfo(QStringLiteral("quelmar.log")).isDir());
    QCOMPARE(QDir().entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
}

QTEST_GUILESS_MAIN(TestLog)
#include "TestLog.moc"
