// SPDX-License-Identifier: GPL-3.0-or-later
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

namespace {

const QString root = QStringLiteral(QUELMAR_SOURCE_DIR);

QString read(const QString& path)
{
    QFile file(root + QLatin1Char('/') + path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QStringList sorted(const QSet<QString>& names)
{
    QStringList list = names.values();
    list.sort();
    return list;
}

} // namespace

/// Holds docs/behaviour.md to the programs that exist.
class TestBehaviourPage : public QObject
{
    Q_OBJECT

private slots:
    void namesEveryTestProgram();
    void namesOnlyRegisteredPrograms();
};

void TestBehaviourPage::namesEveryTestProgram()
{
    const QString page = read(QStringLiteral("docs/behaviour.md"));
    QVERIFY(!page.isEmpty());
    QSet<QString> named;
    QRegularExpressionMatchIterator names = QRegularExpression(QStringLiteral("`(Test\\w+)`")).globalMatch(page);
    while (names.hasNext()) {
        named.insert(names.next().captured(1));
    }

    QSet<QString> programs;
    QDirIterator files(root + QStringLiteral("/tests"), {QStringLiteral("Test*.cpp")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        QVERIFY(file.open(QIODevice::ReadOnly));
        // What has no test class is a helper of other programs.
        if (file.readAll().contains("private slots:")) {
            programs.insert(files.fileInfo().completeBaseName());
        }
    }
    QVERIFY(!programs.isEmpty());
    QCOMPARE(sorted(programs - named), QStringList());
    QCOMPARE(sorted(named - programs), QStringList());
}

void TestBehaviourPage::namesOnlyRegisteredPrograms()
{
    QString registered;
    QDirIterator files(root + QStringLiteral("/tests"), {QStringLiteral("CMakeLists.txt")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        QVERIFY(file.open(QIODevice::ReadOnly));
        registered += QString::fromUtf8(file.readAll());
    }
    QStringList missing;
    QRegularExpressionMatchIterator names =
        QRegularExpression(QStringLiteral("`(Test\\w+)`")).globalMatch(read(QStringLiteral("docs/behaviour.md")));
    while (names.hasNext()) {
        const QString name = names.next().captured(1);
        if (!registered.contains(QRegularExpression(QStringLiteral("\\b%1\\b").arg(name)))) {
            missing.append(name);
        }
    }
    QCOMPARE(missing, QStringList());
}

QTEST_GUILESS_MAIN(TestBehaviourPage)
#include "TestBehaviourPage.moc"
