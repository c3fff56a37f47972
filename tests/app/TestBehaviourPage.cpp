// SPDX-License-Identifier: GPL-3.0-or-later
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
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

/// Holds docs/behaviour.md to the programs that exist, and every page's links to the files that exist.
class TestBehaviourPage : public QObject
{
    Q_OBJECT

private slots:
    void namesEveryTestProgram();
    void namesOnlyRegisteredPrograms();
    void namesEveryFuzzer();
    void linksLeadSomewhere();
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

void TestBehaviourPage::namesEveryFuzzer()
{
    QSet<QString> named;
    QRegularExpressionMatchIterator names =
        QRegularExpression(QStringLiteral("`(Fuzz\\w+)`")).globalMatch(read(QStringLiteral("docs/behaviour.md")));
    while (names.hasNext()) {
        named.insert(names.next().captured(1));
    }
    const QDir folder(root + QStringLiteral("/tests/fuzz"));
    const QString registered = read(QStringLiteral("tests/fuzz/CMakeLists.txt"));
    QSet<QString> programs;
    const QFileInfoList files = folder.entryInfoList({QStringLiteral("Fuzz*.cpp")}, QDir::Files);
    for (const QFileInfo& file : files) {
        const QString name = file.completeBaseName();
        programs.insert(name);
        QVERIFY2(registered.contains(QRegularExpression(QStringLiteral("\\b%1\\b").arg(name))), qPrintable(name));
        const QDir corpus(folder.filePath(QStringLiteral("corpus/") + name));
        QVERIFY2(!corpus.entryList(QDir::Files).isEmpty(), qPrintable(name));
    }
    QVERIFY(!programs.isEmpty());
    // The short run of all of them is a test by name.
    named.remove(QStringLiteral("FuzzersBriefly"));
    QCOMPARE(sorted(programs), sorted(named));
}

void TestBehaviourPage::linksLeadSomewhere()
{
    QStringList broken;
    int count = 0;
    for (const char* const folder : {"", "docs/", "languages/", "resources/"}) {
        const QDir place(root + QLatin1Char('/') + QLatin1String(folder));
        const QStringList pages = place.entryList({QStringLiteral("*.md")}, QDir::Files);
        for (const QString& page : pages) {
            QRegularExpressionMatchIterator links = QRegularExpression(QStringLiteral("\\]\\(([^)\\s]+)\\)"))
                                                        .globalMatch(read(QLatin1String(folder) + page));
            while (links.hasNext()) {
                const QString link = links.next().captured(1);
                if (link.contains(QLatin1String("://"))) {
                    continue;
                }
                ++count;
                const QString file = link.section(QLatin1Char('#'), 0, 0);
                const QString target = place.filePath(file.isEmpty() ? page : file);
                // A heading is known by its letters, digits and hyphens.
                const QString heading = link.section(QLatin1Char('#'), 1);
                QString text;
                QFile opened(target);
                if (opened.open(QIODevice::ReadOnly)) {
                    text = QString::fromUtf8(opened.readAll());
                }
                bool found = QFileInfo::exists(target);
                if (found && !heading.isEmpty()) {
                    found = false;
                    QRegularExpressionMatchIterator headings =
                        QRegularExpression(QStringLiteral("^#+ (.*)$"), QRegularExpression::MultilineOption)
                            .globalMatch(text);
                    while (headings.hasNext()) {
                        const QString anchor = headings.next()
                                                   .captured(1)
                                                   .toLower()
                                                   .remove(QRegularExpression(QStringLiteral("[^\\w -]")))
                                                   .replace(QLatin1Char(' '), QLatin1Char('-'));
                        found = found || anchor == heading;
                    }
                }
                if (!found) {
                    broken.append(QLatin1String(folder) + page + QStringLiteral(" leads to ") + link);
                }
            }
        }
    }
    QVERIFY(count > 20);
    QCOMPARE(broken, QStringList());
}

QTEST_GUILESS_MAIN(TestBehaviourPage)
#include "TestBehaviourPage.moc"
