// SPDX-License-Identifier: GPL-3.0-or-later
// The translation sources and the files built from them, which have to lie beside the program.
#include "app/Constants.h"
#include "tests/languages/Catalogue.h"
#include "tests/languages/TranslationSource.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

#include <algorithm>

namespace {

/// Qt's own contexts, as far as its texts show in this program.
const char* const qtContexts[] = {
    "QAbstractSpinBox", "QDialog",        "QDialogButtonBox", "QFileDialog",        "QFileSystemModel",
    "QGnomeTheme",      "QInputDialog",   "QLineEdit",        "QMessageBox",        "QPlatformTheme",
    "QScrollBar",       "QStandardPaths", "QTabBar",          "QWidgetTextControl",
};

/// The keys whose texts take arguments, with how many.
const QMap<QString, int> argumentCounts = {
    {QStringLiteral("Text.patientCard"), 1},
    {QStringLiteral("Text.createRecipe"), 2},
    {QStringLiteral("Text.recipe"), 2},
    {QStringLiteral("Text.totalMarkers"), 1},
    {QStringLiteral("Text.totalTime"), 1},
    {QStringLiteral("Dialog.confirmDeletePatient"), 1},
    {QStringLiteral("Dialog.confirmDeleteRecord"), 1},
};

/// Texts that stand before a field or a value and so end in a colon; no other text of the program does.
const char* const labels[] = {
    "AudioRecorder/Text.messageRemote",
    "DialogAbout/Text.aboutEmail",
    "DialogAbout/Text.aboutVersion",
    "DialogAbout/Text.aboutWebsite",
    "DialogAbout/Text.expiredAt",
    "DialogAutospectrum/Text.duration",
    "DialogChangePassword/Text.oldPassword",
    "DialogChangePassword/Text.password",
    "DialogChangePassword/Text.passwordRepeat",
    "FormPatient/Form.notes",
    "ViewImpact/Text.durationInMinutes",
    "ViewImpact/Text.durationPerMarker",
    "ViewPatient/Form.age",
    "ViewPatient/Form.gender",
    "ViewPatient/Form.phone",
    "ViewRecoveryHistory/Text.symptomName",
};

/// Groups of Qt's texts that show together, so that no two may have the same mnemonic.
const QVector<QPair<QString, QStringList>> mnemonicGroups = {
    {QStringLiteral("QAbstractSpinBox"),
     {QStringLiteral("&Select All"), QStringLiteral("&Step up"), QStringLiteral("Step &down")}},
    {QStringLiteral("QFileDialog"),
     {QStringLiteral("&Rename"), QStringLiteral("&Delete"), QStringLiteral("Show &hidden files"),
      QStringLiteral("&New Folder")}},
    {QStringLiteral("QFileDialog"), {QStringLiteral("File &name:"), QStringLiteral("&Open")}},
    {QStringLiteral("QFileDialog"), {QStringLiteral("File &name:"), QStringLiteral("&Save")}},
    {QStringLiteral("QFileDialog"), {QStringLiteral("File &name:"), QStringLiteral("&Choose")}},
    {QStringLiteral("QLineEdit"),
     {QStringLiteral("&Undo"), QStringLiteral("&Redo"), QStringLiteral("Cu&t"), QStringLiteral("&Copy"),
      QStringLiteral("&Paste")}},
    {QStringLiteral("QPlatformTheme"),
     {QStringLiteral("&Yes"), QStringLiteral("Yes to &All"), QStringLiteral("&No"), QStringLiteral("N&o to All")}},
    {QStringLiteral("QWidgetTextControl"),
     {QStringLiteral("&Undo"), QStringLiteral("&Redo"), QStringLiteral("Cu&t"), QStringLiteral("&Copy"),
      QStringLiteral("&Paste"), QStringLiteral("Copy &Link Location")}},
};

bool isQtContext(const QString& context)
{
    for (const char* name : qtContexts) {
        if (context == QLatin1String(name)) {
            return true;
        }
    }
    return false;
}

bool hasCyrillic(const QString& text)
{
    static const QRegularExpression cyrillic(QStringLiteral("\\p{Cyrillic}"),
                                             QRegularExpression::UseUnicodePropertiesOption);
    return text.contains(cyrillic);
}

/// The numbers of the placeholders in a text, sorted, each as often as it occurs.
QVector<int> placeholders(const QString& text)
{
    static const QRegularExpression placeholder(QStringLiteral("%L?(\\d{1,2})"));
    QVector<int> numbers;
    QRegularExpressionMatchIterator matches = placeholder.globalMatch(text);
    while (matches.hasNext()) {
        numbers.append(matches.next().captured(1).toInt());
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

/// How a text ends: a full stop, a question mark, a colon, an ellipsis, or nothing of the kind.
QChar ending(const QString& text)
{
    const QChar last = text.isEmpty() ? QChar() : text.back();
    const QString marks = QStringLiteral(".?!:\u2026");
    return marks.contains(last) ? last : QChar();
}

/// The lower-case letter after a single ampersand; null if there is not exactly one.
QChar mnemonic(const QString& text)
{
    const int at = text.indexOf(QLatin1Char('&'));
    if (at < 0 || at + 1 >= text.size() || text.lastIndexOf(QLatin1Char('&')) != at) {
        return {};
    }
    return text.at(at + 1).toLower();
}

QString builtFile(const QString& locale)
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/languages/Translation_%1.qm").arg(locale);
}

/// Loads a file exactly as the program does: with an empty folder, empty delimiters and an empty suffix.
bool loadAsProgram(QTranslator& translator, const QString& path)
{
    return translator.load(path, QStringLiteral(""), QStringLiteral(""), QStringLiteral(""));
}

QByteArray read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestTranslations : public QObject
{
    Q_OBJECT

private slots:
    void catalogueIsWhole();
    void languagesOfTheProgramAreThere();

    void sourcesAreWellFormed_data() { addLocales(); }
    void sourcesAreWellFormed();
    void sourcesHoldTheCatalogueAndNothingElse_data() { addLocales(); }
    void sourcesHoldTheCatalogueAndNothingElse();
    void placeholdersAreRight_data() { addLocales(); }
    void placeholdersAreRight();
    void blanksAreRight_data() { addLocales(); }
    void blanksAreRight();
    void labelsEndInAColon_data() { addLocales(); }
    void labelsEndInAColon();
    void textsEndAlikeInAllLanguages_data() { addLocales(); }
    void textsEndAlikeInAllLanguages();
    void mnemonicsAreRight_data() { addLocales(); }
    void mnemonicsAreRight();
    void script_data() { addLocales(); }
    void script();
    void shortTextsAreShort_data() { addLocales(); }
    void shortTextsAreShort();
    void textsThatDifferByPlace();

    void builtFileTranslatesEachText_data() { addLocales(); }
    void builtFileTranslatesEachText();
    void releaseHasNothingToSay_data() { addLocales(); }
    void releaseHasNothingToSay();
    void missingAndBrokenFilesAreRefused();
    void switchingLanguagesLeavesNothingBehind();

private:
    static void addLocales();
};

void TestTranslations::addLocales()
{
    QTest::addColumn<QString>("locale");
    const QStringList locales = TranslationSource::locales();
    for (const QString& locale : locales) {
        QTest::newRow(qPrintable(locale)) << locale;
    }
}

void TestTranslations::catalogueIsWhole()
{
    QSet<QString> keys;
    QSet<QString> uses;
    const QVector<CatalogueEntry> entries = catalogue();
    for (const CatalogueEntry& entry : entries) {
        keys.insert(entry.key);
        const QString use = place(entry.user, entry.key);
        QVERIFY2(!uses.contains(use), qPrintable(use));
        uses.insert(use);
    }
    // Those on the screen, and those that only name something.
    QCOMPARE(keys.size(), 167 + 13);
}

void TestTranslations::languagesOfTheProgramAreThere()
{
    const QStringList locales = TranslationSource::locales();
    QCOMPARE(Constants::LANGUAGES, QStringList({QStringLiteral("en_US"), QStringLiteral("ru_RU")}));
    for (const QString& locale : Constants::LANGUAGES) {
        QVERIFY2(locales.contains(locale), qPrintable(locale));
    }
    // The flags of the language menu foresee these too.
    QVERIFY(locales.contains(QStringLiteral("de_DE")));
    QVERIFY(locales.contains(QStringLiteral("pl_PL")));
}

void TestTranslations::sourcesAreWellFormed()
{
    QFETCH(QString, locale);
    const TranslationSource source(TranslationSource::pathOf(locale));
    QVERIFY2(source.errorString().isEmpty(), qPrintable(source.errorString()));
    QCOMPARE(source.language(), locale);
    for (const TranslationMessage& message : source.messages()) {
        const QString where = place(message.context, message.source);
        QVERIFY2(message.type.isEmpty(), qPrintable(where + QLatin1String(" is ") + message.type));
        QVERIFY2(!message.translation.isEmpty(), qPrintable(where));
        if (!isQtContext(message.context)) {
            QVERIFY2(message.translation != message.source, qPrintable(where));
        }
    }
}

void TestTranslations::sourcesHoldTheCatalogueAndNothingElse()
{
    QFETCH(QString, locale);
    const TranslationSource source(TranslationSource::pathOf(locale));
    const TranslationSource english(TranslationSource::pathOf(QStringLiteral("en_US")));
    QSet<QString> own;
    QSet<QString> qt;
    QSet<QString> contexts;
    for (const TranslationMessage& message : source.messages()) {
        QSet<QString>& places = isQtContext(message.context) ? qt : own;
        const QString where = place(message.context, message.source);
        QVERIFY2(!places.contains(where), qPrintable(where + QLatin1String(" stands there twice")));
        places.insert(where);
        contexts.insert(message.context);
    }
    const QSet<QString> wanted = cataloguePlaces();
    const QStringList missing = (wanted - own).values();
    const QStringList unknown = (own - wanted).values();
    QVERIFY2(missing.isEmpty(), qPrintable(missing.join(QLatin1Char(' '))));
    QVERIFY2(unknown.isEmpty(), qPrintable(unknown.join(QLatin1Char(' '))));
    for (const char* context : qtContexts) {
        QVERIFY2(contexts.contains(QLatin1String(context)), context);
    }
    QSet<QString> englishQt;
    for (const TranslationMessage& message : english.messages()) {
        if (isQtContext(message.context)) {
            englishQt.insert(place(message.context, message.source));
        }
    }
    QCOMPARE(qt, englishQt);
}

void TestTranslations::placeholdersAreRight()
{
    QFETCH(QString, locale);
    const TranslationSource source(TranslationSource::pathOf(locale));
    QSet<QString> met;
    for (const TranslationMessage& message : source.messages()) {
        QVector<int> wanted;
        if (isQtContext(message.context)) {
            wanted = placeholders(message.source);
        } else {
            met.insert(message.source);
            for (int number = 1; number <= argumentCounts.value(message.source, 0); ++number) {
                wanted.append(number);
            }
        }
        QVERIFY2(placeholders(message.translation) == wanted, qPrintable(place(message.context, message.source)));
        if (wanted.isEmpty() && !isQtContext(message.context)) {
            QVERIFY2(!message.translation.contains(QLatin1String("%1")), qPrintable(message.translation));
        }
    }
    for (auto it = argumentCounts.begin(); it != argumentCounts.end(); ++it) {
        QVERIFY2(met.contains(it.key()), qPrintable(it.key()));
    }
}

void TestTranslations::blanksAreRight()
{
    QFETCH(QString, locale);
    const TranslationSource source(TranslationSource::pathOf(locale));
    for (const TranslationMessage& message : source.messages()) {
        const QString where = place(message.context, message.source);
        const QString& text = message.translation;
        QVERIFY2(!text.contains(QLatin1String("  ")) && !text.contains(QLatin1Char('\t')), qPrintable(where));
        if (isQtContext(message.context)) {
            QVERIFY2(text.startsWith(QLatin1Char(' ')) == message.source.startsWith(QLatin1Char(' ')),
                     qPrintable(where));
            QVERIFY2(text.endsWith(QLatin1Char(' ')) == message.source.endsWith(QLatin1Char(' ')), qPrintable(where));
            QVERIFY2(text.count(QLatin1Char('\n')) == message.source.count(QLatin1Char('\n')), qPrintable(where));
        } else if (where == QLatin1String("DialogAutospectrum/Text.minutes")) {
            // The suffix of a spin box follows the number without a gap of its own.
            QCOMPARE(text, QLatin1Char(' ') + text.trimmed());
        } else {
            QVERIFY2(text == text.trimmed(), qPrintable(where));
            QVERIFY2(!text.contains(QLatin1Char('\n')), qPrintable(where));
        }
    }
}

void TestTranslations::labelsEndInAColon()
{
    QFETCH(QString, locale);
    const TranslationSource source(TranslationSource::pathOf(locale));
    QSet<QString> wanted;
    for (const char* label : labels) {
        wanted.insert(QLatin1String(label));
    }
    QSet<QString> met;
    for (const TranslationMessage& message : source.messages()) {
        if (!isQtContext(message.context) && message.translation.endsWith(QLatin1Char(':'))) {
            met.insert(place(message.context, message.source));
        }
    }
    QCOMPARE(met, wanted);
}

void TestTranslations::textsEndAlikeInAllLanguages()
{
    QFETCH(QString, locale);
    const TranslationSource source(TranslationSource::pathOf(locale));
    const TranslationSource english(TranslationSource::pathOf(QStringLiteral("en_US")));
    int compared = 0;
    for (const TranslationMessage& message : source.messages()) {
        if (!isQtContext(message.context)) {
            const QString other = english.translation(message.context, message.source);
            QVERIFY2(ending(message.translation) == ending(other), qPrintable(message.translation + other));
            ++compared;
        }
    }
    QCOMPARE(compared, cataloguePlaces().size());
}

void TestTranslations::mnemonicsAreRight()
{
    QFETCH(QString, locale);
    const TranslationSource source(TranslationSource::pathOf(locale));
    for (const TranslationMessage& message : source.messages()) {
        const bool wanted = isQtContext(message.context) && message.source.contains(QLatin1Char('&'));
        QVERIFY2(message.translation.count(QLatin1Char('&')) == (wanted ? 1 : 0), qPrintable(message.translation));
        if (wanted) {
            QVERIFY2(mnemonic(message.translation).isLetter(), qPrintable(message.translation));
        }
    }
    for (const auto& group : mnemonicGroups) {
        QMap<QChar, QString> taken;
        for (const QString& text : group.second) {
            const QString translation = source.translation(group.first, text);
            QVERIFY2(!translation.isEmpty(), qPrintable(place(group.first, text)));
            const QChar letter = mnemonic(translation);
            QVERIFY2(!taken.contains(letter), qPrintable(translation + QLatin1Char('|') + taken.value(letter)));
            taken.insert(letter, translation);
        }
    }
}

void TestTranslations::script()
{
    QFETCH(QString, locale);
    const TranslationSource source(TranslationSource::pathOf(locale));
    const bool cyrillic = locale == QLatin1String("ru_RU");
    for (const TranslationMessage& message : source.messages()) {
        const bool isName = message.source == QLatin1String("Title.application");
        QVERIFY2(hasCyrillic(message.translation) == (cyrillic && !isName), qPrintable(message.translation));
        if (cyrillic && isQtContext(message.context)) {
            QVERIFY2(message.translation != message.source, qPrintable(message.source));
        }
        if (isName) {
            QCOMPARE(message.translation, QString::fromLatin1(Constants::NAME));
        }
    }
}

void TestTranslations::shortTextsAreShort()
{
    QFETCH(QString, locale);
    const TranslationSource source(TranslationSource::pathOf(locale));
    // The placeholders of two fields that are 40 to 70 pixels wide, with a border and margins.
    const QStringList tiny = {QStringLiteral("Text.day"), QStringLiteral("Text.year")};
    for (const QString& key : tiny) {
        const int length = source.translation(QStringLiteral("FormPatient"), key).size();
        QVERIFY2(length > 0 && length <= 4, qPrintable(key));
    }
    const QString unit = source.translation(QStringLiteral("ViewImpact"), QStringLiteral("Text.minutes"));
    QVERIFY(!unit.isEmpty() && unit.size() <= 4);
    // The column headers over 100 pixels, bold and with room for the sort arrow.
    const QStringList narrow = {QStringLiteral("Text.age"), QStringLiteral("Text.gender")};
    for (const QString& key : narrow) {
        const int length = source.translation(QStringLiteral("PatientModel"), key).size();
        QVERIFY2(length > 0 && length <= 7, qPrintable(key));
    }
}

void TestTranslations::textsThatDifferByPlace()
{
    // The same key is a column header in one place and a choice of the search field or a placeholder in another.
    const struct
    {
        const char* key;
        const char* one;
        const char* other;
    } pairs[] = {
        {"Text.name", "PatientModel", "ViewPatients"},
        {"Text.notes", "PatientModel", "ViewPatients"},
        {"Form.phone", "FormPatient", "ViewPatient"},
        {"Text.minutes", "DialogAutospectrum", "ViewImpact"},
        {"Text.deviceNotConnected", "DialogManageDevices", "PatientModel"},
        {"Text.saveFile", "ViewImpact", "ViewPatient"},
        {"Text.confirmSave", "ViewReceipt", "ViewRecoveryHistory"},
    };
    const QStringList locales = TranslationSource::locales();
    QVERIFY(!locales.isEmpty());
    for (const QString& locale : locales) {
        const TranslationSource source(TranslationSource::pathOf(locale));
        for (const auto& pair : pairs) {
            const QString one = source.translation(QLatin1String(pair.one), QLatin1String(pair.key));
            const QString other = source.translation(QLatin1String(pair.other), QLatin1String(pair.key));
            QVERIFY2(!one.isEmpty() && !other.isEmpty() && one != other, pair.key);
        }
    }
}

void TestTranslations::builtFileTranslatesEachText()
{
    QFETCH(QString, locale);
    QTranslator translator;
    QVERIFY2(loadAsProgram(translator, builtFile(locale)), qPrintable(builtFile(locale)));

    QVERIFY(QCoreApplication::installTranslator(&translator));
    const TranslationSource source(TranslationSource::pathOf(locale));
    QVERIFY(!source.messages().isEmpty());
    for (const TranslationMessage& message : source.messages()) {
        const QByteArray context = message.context.toUtf8();
        const QByteArray text = message.source.toUtf8();
        QCOMPARE(QCoreApplication::translate(context.constData(), text.constData()), message.translation);
    }
    const QVector<CatalogueEntry> entries = catalogue();
    for (const CatalogueEntry& entry : entries) {
        const QByteArray context = entry.context.toUtf8();
        const QByteArray key = entry.key.toUtf8();
        const QString text = QCoreApplication::translate(context.constData(), key.constData());
        QVERIFY2(!text.isEmpty() && text != entry.key, qPrintable(place(entry.context, entry.key)));
    }
    QVERIFY(QCoreApplication::removeTranslator(&translator));
    QCOMPARE(QCoreApplication::translate("ViewPatient", "Text.newRecord"), QStringLiteral("Text.newRecord"));
}

void TestTranslations::releaseHasNothingToSay()
{
    QFETCH(QString, locale);
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    const QString output = folder.filePath(QStringLiteral("out.qm"));
    QProcess release;
    release.start(QStringLiteral(QUELMAR_LRELEASE), {TranslationSource::pathOf(locale), QStringLiteral("-qm"), output});
    QVERIFY(release.waitForFinished());
    QCOMPARE(release.exitStatus(), QProcess::NormalExit);
    QCOMPARE(release.exitCode(), 0);
    QCOMPARE(release.readAllStandardError(), QByteArray());

    const int count = TranslationSource(TranslationSource::pathOf(locale)).messages().size();
    const QString said = QString::fromUtf8(release.readAllStandardOutput());
    const QString wanted = QStringLiteral("Generated %1 translation(s) (%1 finished and 0 unfinished)").arg(count);
    QVERIFY2(said.contains(wanted), qPrintable(said));
    QVERIFY2(!said.contains(QLatin1String("Ignored")) && !said.contains(QLatin1String("Warning")), qPrintable(said));

    // The file beside the program is the one that today's source gives.
    QVERIFY(!read(output).isEmpty());
    QVERIFY(read(output) == read(builtFile(locale)));
}

void TestTranslations::missingAndBrokenFilesAreRefused()
{
    QTranslator translator;
    QVERIFY(!loadAsProgram(translator, builtFile(QStringLiteral("xx_XX"))));
    // Empty delimiters keep Qt from looking for a shorter name, and an empty suffix from looking for ".qm".
    QVERIFY(!loadAsProgram(translator, builtFile(QStringLiteral("en_US")).chopped(3)));
    QVERIFY(!loadAsProgram(translator, builtFile(QStringLiteral("en_US_POSIX"))));

    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    QFile file(folder.filePath(QStringLiteral("Translation_en_US.qm")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write("no translation") > 0);
    file.close();
    QVERIFY(!loadAsProgram(translator, file.fileName()));

    const QByteArray whole = read(builtFile(QStringLiteral("en_US")));
    QVERIFY(whole.size() > 1000);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(whole.left(8)), qint64(8));
    file.close();
    QVERIFY(!loadAsProgram(translator, file.fileName()));
}

void TestTranslations::switchingLanguagesLeavesNothingBehind()
{
    QTranslator translator;
    const QString russian = TranslationSource(TranslationSource::pathOf(QStringLiteral("ru_RU")))
                                .translation(QStringLiteral("QObject"), QStringLiteral("Text.January"));
    QVERIFY(loadAsProgram(translator, builtFile(QStringLiteral("ru_RU"))));
    QVERIFY(QCoreApplication::installTranslator(&translator));
    QCOMPARE(QObject::tr("Text.January"), russian);
    QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Cancel"), QStringLiteral("Отмена"));

    QVERIFY(QCoreApplication::removeTranslator(&translator));
    QVERIFY(loadAsProgram(translator, builtFile(QStringLiteral("en_US"))));
    QVERIFY(QCoreApplication::installTranslator(&translator));
    QCOMPARE(QObject::tr("Text.January"), QStringLiteral("January"));
    QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Cancel"), QStringLiteral("Cancel"));
    QVERIFY(QCoreApplication::removeTranslator(&translator));
}

QTEST_GUILESS_MAIN(TestTranslations)
#include "TestTranslations.moc"
