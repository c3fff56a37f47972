// SPDX-License-Identifier: GPL-3.0-or-later
// What the sources and forms of the program give to the translation, held against the translation sources.
#include "tests/languages/Catalogue.h"
#include "tests/languages/TextScan.h"
#include "tests/languages/TranslationSource.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

const char* const folders[] = {"app", "net", "model", "patients", "signal", "recipe", "analysis"};

QVector<FoundText> textsOfTheProgram()
{
    QVector<FoundText> found;
    for (const char* folder : folders) {
        found += textsBelow(QStringLiteral(QUELMAR_SOURCE_DIR "/") + QLatin1String(folder));
    }
    return found;
}

bool isImplemented(const QString& className)
{
    for (const char* folder : folders) {
        if (QFile::exists(QStringLiteral(QUELMAR_SOURCE_DIR "/%1/%2.cpp").arg(QLatin1String(folder), className))) {
            return true;
        }
    }
    return false;
}

QStringList list(std::initializer_list<const char*> texts)
{
    QStringList result;
    for (const char* text : texts) {
        result.append(QString::fromUtf8(text));
    }
    return result;
}

QStringList asPlaces(const QVector<FoundText>& found)
{
    QStringList places;
    for (const FoundText& text : found) {
        places.append(place(text.context, text.text));
    }
    return places;
}

} // namespace

class TestTextsInSources : public QObject
{
    Q_OBJECT

private slots:
    void scanOfCode_data();
    void scanOfCode();
    void scanTellsLines();
    void scanOfForms_data();
    void scanOfForms();
    void scanOfFolders();

    void eachTextIsTranslated();
    void eachTextIsInTheCatalogue();
    void eachClassShowsItsTexts();
    void updateLeavesTheSourcesAsTheyAre();
};

void TestTextsInSources::scanOfCode_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("user");
    QTest::addColumn<QStringList>("places");
    const QString view = QStringLiteral("ViewPatient");

    QTest::newRow("tr") << "a(tr(\"Text.save\"));" << view << list({"ViewPatient/Text.save"});
    QTest::newRow("tr, wide") << "tr ( \n \"Text.save\")" << view << list({"ViewPatient/Text.save"});
    QTest::newRow("tr of another class") << "QObject::tr(\"Text.yes\")" << view << list({"QObject/Text.yes"});
    QTest::newRow("static helper") << "tr(\"Text.yes\")"
                                   << "Dialogs" << list({"QObject/Text.yes"});
    QTest::newRow("utils") << "tr(\"Text.May\")"
                           << "Utils" << list({"QObject/Text.May"});
    QTest::newRow("translate") << "QCoreApplication::translate(\"LoadingWindow\", \"Text.wait\")" << view
                               << list({"LoadingWindow/Text.wait"});
    QTest::newRow("translate, two lines")
        << "translate(\"A\",\n    \"Text.wait\", \"why\")" << view << list({"A/Text.wait"});
    QTest::newRow("marked") << "QT_TRANSLATE_NOOP(\"A\", \"Text.b\") QT_TR_NOOP(\"Text.c\")" << view
                            << list({"A/Text.b", "ViewPatient/Text.c"});
    QTest::newRow("table") << "const char* k[] = {\"Text.a\", \"Complaint.none\"};" << view
                           << list({"ViewPatient/Text.a", "ViewPatient/Complaint.none"});
    QTest::newRow("choice") << "tr(on ? \"Text.a\" : \"Text.b\")" << view
                            << list({"ViewPatient/Text.a", "ViewPatient/Text.b"});
    QTest::newRow("no key") << "tr(\"Save it\")" << view << list({"ViewPatient/Save it"});
    QTest::newRow("escapes") << "tr(\"a\\\"b\\n\")" << view << list({"ViewPatient/a\"b\n"});
    QTest::newRow("other literals") << "open(\":/a.png\"); attr(\"Text.a\"\"x\"); str(\"name\")" << view
                                    << list({"ViewPatient/Text.a"});
    QTest::newRow("not tr") << "str(\"a\"); ptr (\"b\"); x.translated(\"c\")" << view << QStringList();
    QTest::newRow("comments") << "// tr(\"Text.a\")\n/* tr(\"Text.b\")\n */ tr(/* why */ \"Text.c\")" << view
                              << list({"ViewPatient/Text.c"});
    QTest::newRow("comment in a literal") << "f(\"//\"); tr(\"Text.a\"); f(\"/*\"); tr(\"Text.b\")" << view
                                          << list({"ViewPatient/Text.a", "ViewPatient/Text.b"});
    QTest::newRow("quotation mark as a character")
        << "f('\"', '\\'', 1'000); tr(\"Text.a\")" << view << list({"ViewPatient/Text.a"});
    QTest::newRow("open ends") << "/* tr(\"Text.a\")" << view << QStringList();
    QTest::newRow("open literal") << "tr(\"Text.a" << view << list({"ViewPatient/Text.a"});
    QTest::newRow("nothing") << QString() << view << QStringList();
}

void TestTextsInSources::scanOfCode()
{
    QFETCH(QString, code);
    QFETCH(QString, user);
    QFETCH(QStringList, places);
    QCOMPARE(asPlaces(textsInCode(code, QStringLiteral("file"), user)), places);
}

void TestTextsInSources::scanTellsLines()
{
    const QString code = QStringLiteral("/*\n*/\n// x\ntr(\"Text.a\");\n\ntr(\n\"Text.b\")");
    const QVector<FoundText> found = textsInCode(code, QStringLiteral("file.cpp"), QStringLiteral("A"));
    QCOMPARE(found.size(), 2);
    QCOMPARE(found.at(0).line, 4);
    QCOMPARE(found.at(1).line, 7);
    QCOMPARE(found.at(1).file, QStringLiteral("file.cpp"));
    QCOMPARE(found.at(1).user, QStringLiteral("A"));
}

void TestTextsInSources::scanOfForms_data()
{
    QTest::addColumn<QByteArray>("form");
    QTest::addColumn<QStringList>("places");
    const QByteArray head = "<ui version=\"4.0\"><class>FormPatient</class>";
    QTest::newRow("text") << head + "<property name=\"text\"><string>Text.save</string></property></ui>"
                          << list({"FormPatient/Text.save"});
    QTest::newRow("fixed") << head + "<string notr=\"true\">00:00</string></ui>" << QStringList();
    QTest::newRow("not fixed") << head + "<string notr=\"false\">00:00</string></ui>" << list({"FormPatient/00:00"});
    QTest::newRow("empty") << head + "<string/><string></string></ui>" << QStringList();
    QTest::newRow("list") << head + "<stringlist><string>Text.a</string><string>Text.b</string></stringlist></ui>"
                          << list({"FormPatient/Text.a", "FormPatient/Text.b"});
    QTest::newRow("family of a font") << head + "<font><family>MS Shell Dlg 2</family></font></ui>" << QStringList();
}

void TestTextsInSources::scanOfForms()
{
    QFETCH(QByteArray, form);
    QFETCH(QStringList, places);
    QCOMPARE(asPlaces(textsInForm(form, QStringLiteral("file.ui"))), places);
    // A form that ends too early is told as a text that no catalogue holds.
    QVERIFY(textsInForm(form.chopped(5), QStringLiteral("file.ui")).size() > places.size());
}

void TestTextsInSources::scanOfFolders()
{
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("deep")));
    const QVector<QPair<QString, QByteArray>> files = {
        {QStringLiteral("One.cpp"), "tr(\"Text.a\")"},
        {QStringLiteral("deep/Two.h"), "tr(\"Text.b\")"},
        {QStringLiteral("Three.ui"), "<ui><class>Other</class><string>Text.c</string></ui>"},
        {QStringLiteral("four.txt"), "tr(\"Text.d\")"},
    };
    for (const auto& entry : files) {
        QFile file(folder.filePath(entry.first));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(entry.second), qint64(entry.second.size()));
    }
    QStringList places = asPlaces(textsBelow(folder.path()));
    places.sort();
    QCOMPARE(places,
             QStringList({QStringLiteral("One/Text.a"), QStringLiteral("Other/Text.c"), QStringLiteral("Two/Text.b")}));
    QVERIFY(textsBelow(folder.filePath(QStringLiteral("none"))).isEmpty());
}

void TestTextsInSources::eachTextIsTranslated()
{
    const QVector<FoundText> found = textsOfTheProgram();
    QVERIFY(!found.isEmpty());
    const QStringList locales = TranslationSource::locales();
    QVERIFY(!locales.isEmpty());
    QStringList missing;
    for (const QString& locale : locales) {
        const TranslationSource source(TranslationSource::pathOf(locale));
        for (const FoundText& text : found) {
            if (source.translation(text.context, text.text).isEmpty()) {
                missing.append(QStringLiteral("%1:%2: no %3 text for %4")
                                   .arg(text.file)
                                   .arg(text.line)
                                   .arg(locale, place(text.context, text.text)));
            }
        }
    }
    QVERIFY2(missing.isEmpty(), qPrintable(missing.join(QLatin1Char('\n'))));
}

void TestTextsInSources::eachTextIsInTheCatalogue()
{
    // No text of the user's is written in the code: what is passed to the translation is a key, and of a known place.
    const QSet<QString> places = cataloguePlaces();
    const QVector<FoundText> found = textsOfTheProgram();
    QVERIFY(!found.isEmpty());
    QStringList unknown;
    for (const FoundText& text : found) {
        if (!looksLikeKey(text.text) || !places.contains(place(text.context, text.text))) {
            unknown.append(
                QStringLiteral("%1:%2: %3").arg(text.file).arg(text.line).arg(place(text.context, text.text)));
        }
    }
    QVERIFY2(unknown.isEmpty(), qPrintable(unknown.join(QLatin1Char('\n'))));
}

void TestTextsInSources::eachClassShowsItsTexts()
{
    QSet<QString> shown;
    const QVector<FoundText> found = textsOfTheProgram();
    for (const FoundText& text : found) {
        shown.insert(place(text.user, text.text));
    }
    QStringList missing;
    int checked = 0;
    const QVector<CatalogueEntry> entries = catalogue();
    for (const CatalogueEntry& entry : entries) {
        if (!isImplemented(entry.user)) {
            continue;
        }
        ++checked;
        const QString where = place(entry.user, entry.key);
        if (!shown.contains(where)) {
            missing.append(where);
        }
    }
    QVERIFY(checked > 0);
    QVERIFY2(missing.isEmpty(), qPrintable(missing.join(QLatin1Char('\n'))));
}

void TestTextsInSources::updateLeavesTheSourcesAsTheyAre()
{
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    QStringList arguments = {
        QStringLiteral("-silent"), QStringLiteral("-locations"),       QStringLiteral("none"),
        QStringLiteral("-I"),      QStringLiteral(QUELMAR_SOURCE_DIR), QStringLiteral("@" QUELMAR_LUPDATE_INPUT),
        QStringLiteral("-ts")};
    const QStringList locales = TranslationSource::locales();
    QVERIFY(!locales.isEmpty());
    QMap<QString, QByteArray> before;
    for (const QString& locale : locales) {
        QFile original(TranslationSource::pathOf(locale));
        QVERIFY(original.open(QIODevice::ReadOnly));
        before.insert(locale, original.readAll());
        const QString copy = folder.filePath(QStringLiteral("Translation_%1.ts").arg(locale));
        QVERIFY(QFile::copy(original.fileName(), copy));
        QVERIFY(QFile::setPermissions(copy, QFile::ReadOwner | QFile::WriteOwner));
        arguments.append(copy);
    }

    QProcess update;
    update.start(QStringLiteral(QUELMAR_LUPDATE), arguments);
    QVERIFY(update.waitForFinished(60000));
    QCOMPARE(update.exitStatus(), QProcess::NormalExit);
    // Told here: a tr() in a class without Q_OBJECT, whose texts would stand in a wrong context.
    QCOMPARE(QString::fromUtf8(update.readAllStandardError()), QString());
    QCOMPARE(update.exitCode(), 0);

    for (const QString& locale : locales) {
        const QString path = folder.filePath(QStringLiteral("Translation_%1.ts").arg(locale));
        QFile copy(path);
        QVERIFY(copy.open(QIODevice::ReadOnly));
        const QByteArray after = copy.readAll();
        if (after != before.value(locale)) {
            QStringList changes;
            const TranslationSource updated(path);
            for (const TranslationMessage& message : updated.messages()) {
                if (!message.type.isEmpty()) {
                    changes.append(message.type + QLatin1Char(' ') + place(message.context, message.source));
                }
            }
            QFAIL(qPrintable(locale + QLatin1String(" changes: ") + changes.join(QLatin1String(", "))));
        }
    }
}

QTEST_GUILESS_MAIN(TestTextsInSources)
#include "TestTextsInSources.moc"
