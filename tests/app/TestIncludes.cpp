// SPDX-License-Identifier: GPL-3.0-or-later
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QMap>
#include <QRegularExpression>
#include <QSet>
#include <QStringList>
#include <QTest>

namespace {

using Graph = QMap<QString, QStringList>;

/// Path from the root, and the text.
using Sources = QMap<QString, QString>;

const QStringList& sourceFolders()
{
    static const QStringList folders{
        QStringLiteral("app"),       QStringLiteral("net"),      QStringLiteral("model"),  QStringLiteral("signal"),
        QStringLiteral("patients"),  QStringLiteral("analysis"), QStringLiteral("recipe"), QStringLiteral("server"),
        QStringLiteral("languages"), QStringLiteral("tests"),    QStringLiteral("bench"),
    };
    return folders;
}

/// The client's and the server's own folders.
bool isProduct(const QString& path)
{
    return !path.startsWith(QLatin1String("tests/")) && !path.startsWith(QLatin1String("bench/"));
}

Sources readSources()
{
    Sources sources;
    const QDir root(QStringLiteral(QUELMAR_SOURCE_DIR));
    for (const QString& folder : sourceFolders()) {
        QDirIterator files(root.filePath(folder), {QStringLiteral("*.h"), QStringLiteral("*.cpp")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            if (file.open(QIODevice::ReadOnly)) {
                sources.insert(root.relativeFilePath(file.fileName()), QString::fromUtf8(file.readAll()));
            }
        }
    }
    return sources;
}

QStringList captures(const QString& text, const QString& pattern)
{
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    QStringList found;
    QRegularExpressionMatchIterator matches = expression.globalMatch(text);
    while (matches.hasNext()) {
        found.append(matches.next().captured(1));
    }
    return found;
}

/// The project's own files that a text includes; what uic and moc make is left out.
QStringList ownIncludes(const QString& text)
{
    QStringList includes = captures(text, QStringLiteral(R"(^\s*#\s*include\s*"([^"]+)\")"));
    const QRegularExpression generated(QStringLiteral(R"(^(ui_\w+\.h|moc_\w+\.cpp|\w+\.moc)$)"));
    for (int i = includes.size() - 1; i >= 0; --i) {
        if (generated.match(includes.at(i)).hasMatch()) {
            includes.removeAt(i);
        }
    }
    return includes;
}

/// The headers of the project's own widgets that a form builds.
QStringList formIncludes(const QString& text)
{
    return captures(text, QStringLiteral(R"(<header(?:\s[^>]*)?>\s*([^<\s]+)\s*</header>)"));
}

QStringList systemIncludes(const QString& text)
{
    return captures(text, QStringLiteral(R"(^\s*#\s*include\s*<([^>]+)>)"));
}

/// "net/Http" for "net/Http.cpp".
QString unit(const QString& path)
{
    return path.left(path.lastIndexOf(QLatin1Char('.')));
}

bool isValueClass(const QString& path)
{
    return path.startsWith(QLatin1String("model/")) && unit(path) != QLatin1String("model/PatientManager");
}

bool isHttp(const QString& path)
{
    static const QSet<QString> units{QStringLiteral("net/Http"), QStringLiteral("net/HttpRequest"),
                                     QStringLiteral("net/HttpReply"), QStringLiteral("net/NetworkHttpReply"),
                                     QStringLiteral("net/isCutShort")};
    return units.contains(unit(path));
}

/// Whether `path` may include `include`, both from the root.
bool mayInclude(const QString& path, const QString& include)
{
    const auto isIn = [](const QString& file, const char* folder) { return file.startsWith(QLatin1String(folder)); };
    const auto is = [&include](const char* file) { return include == QLatin1String(file); };

    if (isIn(path, "tests/") || isIn(path, "bench/")) {
        return true;
    }
    // Nothing that is delivered leans on a test, and the client and the server share no class.
    if (isIn(include, "tests/") || isIn(include, "bench/")) {
        return false;
    }
    if (isIn(path, "server/") || isIn(include, "server/")) {
        return isIn(path, "server/") && isIn(include, "server/");
    }
    if (isIn(path, "app/")) {
        return true;
    }
    if (isHttp(path)) {
        return isHttp(include);
    }
    if (isIn(path, "net/")) {
        return isIn(include, "net/") || isValueClass(include) || is("signal/Utils.h") || is("app/Constants.h");
    }
    if (isValueClass(path)) {
        return isValueClass(include);
    }
    if (isIn(path, "model/")) {
        return isIn(include, "model/") || is("net/Controller.h") || is("signal/Utils.h") || is("app/Dialogs.h") ||
               is("patients/PatientModel.h") || is("patients/FormPatient.h");
    }
    if (isIn(path, "patients/")) {
        return isIn(include, "patients/") || isIn(include, "model/") || isIn(include, "net/") ||
               isIn(include, "signal/") || is("app/Dialogs.h");
    }
    if (isIn(path, "signal/backend/")) {
        return isIn(include, "signal/backend/") || is("app/Constants.h");
    }
    if (isIn(path, "signal/")) {
        return isIn(include, "signal/") || is("app/Constants.h");
    }
    for (const char* const folder : {"analysis/", "recipe/"}) {
        if (isIn(path, folder)) {
            return isIn(include, folder) || isIn(include, "model/") || isIn(include, "net/") || is("signal/Utils.h") ||
                   is("app/Dialogs.h");
        }
    }
    return false;
}

bool reaches(const Graph& graph, const QString& from, const QString& target, QSet<QString>& seen, QStringList& road)
{
    const QStringList next = graph.value(from);
    for (const QString& file : next) {
        if (file == target || (!seen.contains(file) && (seen.insert(file), reaches(graph, file, target, seen, road)))) {
            road.prepend(file);
            return true;
        }
    }
    return false;
}

/// Each file that includes itself over any way round, with the way.
QStringList circles(const Graph& graph)
{
    QStringList found;
    for (auto file = graph.cbegin(); file != graph.cend(); ++file) {
        QSet<QString> seen;
        QStringList road;
        if (reaches(graph, file.key(), file.key(), seen, road)) {
            road.prepend(file.key());
            found.append(road.join(QStringLiteral(" -> ")));
        }
    }
    return found;
}

/// Names of the classes that a header defines outside any other.
QStringList definedClasses(const QString& text)
{
    return captures(text, QStringLiteral(R"(^(?:class|struct)\s+(\w+)(?:\s+final)?\s*(?::[^;{]*)?\{)"));
}

/// What a failing list looks like in the test's output.
QByteArray lines(const QStringList& list)
{
    return list.join(QLatin1Char('\n')).toLocal8Bit();
}

} // namespace

/// Holds the sources to the rules of the house: who may know of whom, and how a source file is made up.
class TestIncludes : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void judgesAnInclude_data();
    void judgesAnInclude();
    void findsACircle();
    void findsClasses();
    void readsIncludeLines();

    void readsForms();
    void keepsToItsFolders();
    void formsKeepToTheirFolders();
    void includesFromTheRoot();
    void marksItsOwnIncludes();
    void keepsTheBackendToMultimedia();
    void hasNoCircle();
    void keepsWidgetsOutOfValues();
    void headsEachSourceWithItsLicence();
    void definesOneClassAHeader();
    void compilesMetaObjectsWithTheirClass();
    void liesInKnownFolders();

private:
    Sources sources;
};

void TestIncludes::initTestCase()
{
    sources = readSources();
    // An empty list would pass every check.
    for (const char* const path : {"app/Constants.cpp", "net/Http.h", "model/Patient.h", "signal/Utils.cpp",
                                   "tests/app/TestIncludes.cpp", "tests/support/LoopbackServer.h"}) {
        QVERIFY2(!sources.value(QString::fromLatin1(path)).isEmpty(), path);
    }
    QVERIFY(sources.size() > 50);
}

void TestIncludes::judgesAnInclude_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("include");
    QTest::addColumn<bool>("allowed");
    const auto add = [](const char* path, const char* include, bool allowed) {
        QTest::addRow("%s knows %s", path, include)
            << QString::fromLatin1(path) << QString::fromLatin1(include) << allowed;
    };
    add("app/MainWindow.cpp", "recipe/ViewImpact.h", true);
    add("app/MainWindow.cpp", "app/Dialogs.h", true);
    add("app/main.cpp", "server/Api.h", false);
    add("app/main.cpp", "tests/support/LoopbackServer.h", false);
    add("net/Http.cpp", "net/NetworkHttpReply.h", true);
    add("net/Http.h", "net/HttpRequest.h", true);
    add("net/Http.cpp", "app/Constants.h", false);
    add("net/Http.cpp", "net/Authentication.h", false);
    add("net/NetworkHttpReply.cpp", "signal/Utils.h", false);
    add("net/HttpReply.h", "model/Patient.h", false);
    add("net/Controller.cpp", "net/Http.h", true);
    add("net/Controller.cpp", "model/Patient.h", true);
    add("net/Controller.cpp", "signal/Utils.h", true);
    add("net/Controller.cpp", "app/Constants.h", true);
    add("net/Controller.cpp", "model/PatientManager.h", false);
    add("net/Controller.cpp", "app/Dialogs.h", false);
    add("net/Controller.cpp", "signal/AudioRecorder.h", false);
    add("net/DialogLogin.cpp", "app/MainWindow.h", false);
    add("net/DialogLogin.cpp", "patients/ViewPatients.h", false);
    add("model/Category.h", "model/Storage.h", true);
    add("model/Patient.cpp", "signal/Utils.h", false);
    add("model/Patient.cpp", "model/PatientManager.h", false);
    add("model/Record.h", "net/Controller.h", false);
    add("model/PatientManager.cpp", "model/Patient.h", true);
    add("model/PatientManager.cpp", "net/Controller.h", true);
    add("model/PatientManager.cpp", "signal/Utils.h", true);
    add("model/PatientManager.cpp", "app/Dialogs.h", true);
    add("model/PatientManager.h", "patients/PatientModel.h", true);
    add("model/PatientManager.cpp", "patients/FormPatient.h", true);
    add("model/PatientManager.cpp", "patients/ViewPatients.h", false);
    add("model/PatientManager.cpp", "net/Authentication.h", false);
    add("patients/ViewPatient.cpp", "model/PatientManager.h", true);
    add("patients/ViewPatient.cpp", "net/Controller.h", true);
    add("patients/ViewPatient.cpp", "signal/AudioRecorder.h", true);
    add("patients/ViewPatient.cpp", "app/Dialogs.h", true);
    add("patients/ViewPatient.cpp", "app/Constants.h", false);
    add("patients/ViewPatient.cpp", "recipe/ViewReceipt.h", false);
    add("patients/ViewPatient.cpp", "app/MainWindow.h", false);
    add("signal/AudioRecorder.cpp", "signal/Utils.h", true);
    add("signal/AudioRecorder.cpp", "app/Constants.h", true);
    add("signal/AudioRecorder.cpp", "app/Dialogs.h", false);
    add("signal/DialogPlayer.cpp", "net/Controller.h", false);
    add("signal/backend/SensorPlugin.cpp", "signal/backend/SensorInput.h", true);
    add("signal/backend/SensorPlugin.cpp", "app/Constants.h", true);
    add("signal/backend/SensorPlugin.cpp", "signal/Utils.h", false);
    add("analysis/ViewAnalysis.cpp", "model/Record.h", true);
    add("analysis/ViewAnalysis.cpp", "signal/Utils.h", true);
    add("analysis/ViewAnalysis.cpp", "signal/DialogPlayer.h", false);
    add("analysis/ViewAnalysis.cpp", "recipe/ReceiptModel.h", false);
    add("recipe/ViewImpact.cpp", "net/Controller.h", true);
    add("recipe/ViewImpact.cpp", "model/PatientManager.h", true);
    add("recipe/ViewImpact.cpp", "signal/Utils.h", true);
    add("recipe/ViewImpact.cpp", "app/Dialogs.h", true);
    add("recipe/ViewImpact.cpp", "signal/DialogPlayer.h", false);
    add("recipe/ViewImpact.cpp", "patients/PatientModel.h", false);
    add("recipe/ViewImpact.cpp", "app/Constants.h", false);
    add("server/Api.cpp", "server/Records.h", true);
    add("server/Api.cpp", "model/Record.h", false);
    add("server/Api.cpp", "signal/Utils.h", false);
    add("server/Api.cpp", "tests/support/gzip.h", false);
    add("tests/net/TestHttp.cpp", "net/Http.h", true);
    add("tests/server/TestApi.cpp", "server/Api.h", true);
    add("bench/BenchUnzip.cpp", "net/Controller.h", true);
    add("languages/catalogue.cpp", "app/Constants.h", false);
    add("elsewhere/File.cpp", "model/Record.h", false);
}

void TestIncludes::judgesAnInclude()
{
    QFETCH(QString, path);
    QFETCH(QString, include);
    QTEST(mayInclude(path, include), "allowed");
}

void TestIncludes::findsACircle()
{
    const QString a = QStringLiteral("a.h");
    const QString b = QStringLiteral("b.h");
    const QString c = QStringLiteral("c.h");
    QVERIFY(circles({{a, {b, c}}, {b, {c}}, {c, {}}}).isEmpty());
    QCOMPARE(circles({{a, {a}}}), QStringList{QStringLiteral("a.h -> a.h")});
    QCOMPARE(circles({{a, {b}}, {b, {c}}, {c, {b}}}),
             (QStringList{QStringLiteral("b.h -> c.h -> b.h"), QStringLiteral("c.h -> b.h -> c.h")}));
}

void TestIncludes::findsClasses()
{
    const QString text =
        QStringLiteral("class Forward;\nnamespace Ui {\nclass Form;\n}\n"
                       "class One : public QObject\n{\n    struct Inner\n    {\n    };\n};\n"
                       "struct Two\n{\n};\nclass Three final : public A,\n              public B\n{\n};\n"
                       "enum class Four\n{\n};\n");
    QCOMPARE(definedClasses(text),
             (QStringList{QStringLiteral("One"), QStringLiteral("Two"), QStringLiteral("Three")}));
}

void TestIncludes::readsIncludeLines()
{
    const QString text =
        QStringLiteral("#include \"net/Http.h\"\n  #  include \"model/A.h\" // why\n// #include \"x.h\"\n"
                       "#include <QDir>\n#include \"ui_View.h\"\n#include \"moc_View.cpp\"\n"
                       "#include \"Test.moc\"\n");
    QCOMPARE(ownIncludes(text), (QStringList{QStringLiteral("net/Http.h"), QStringLiteral("model/A.h")}));
    QCOMPARE(systemIncludes(text), QStringList{QStringLiteral("QDir")});
}

void TestIncludes::readsForms()
{
    const QString text = QStringLiteral("<ui><customwidget>\n<header>patients/QPagination.h</header>\n"
                                        "<header location=\"global\"> net/Http.h </header></customwidget></ui>");
    QCOMPARE(formIncludes(text), (QStringList{QStringLiteral("patients/QPagination.h"), QStringLiteral("net/Http.h")}));
}

void TestIncludes::keepsToItsFolders()
{
    QStringList found;
    for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
        const QStringList includes = ownIncludes(source.value());
        for (const QString& include : includes) {
            if (!mayInclude(source.key(), include)) {
                found.append(source.key() + QStringLiteral(" may not know of ") + include);
            }
        }
    }
    QVERIFY2(found.isEmpty(), lines(found).constData());
}

void TestIncludes::includesFromTheRoot()
{
    QStringList found;
    const QDir root(QStringLiteral(QUELMAR_SOURCE_DIR));
    for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
        const QStringList includes = ownIncludes(source.value());
        for (const QString& include : includes) {
            if (!QFileInfo::exists(root.filePath(include))) {
                found.append(source.key() + QStringLiteral(" includes what is not there: ") + include);
            }
        }
    }
    QVERIFY2(found.isEmpty(), lines(found).constData());
}

void TestIncludes::formsKeepToTheirFolders()
{
    QStringList found;
    int forms = 0;
    const QDir root(QStringLiteral(QUELMAR_SOURCE_DIR));
    for (const QString& folder : sourceFolders()) {
        QDirIterator files(root.filePath(folder), {QStringLiteral("*.ui")}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            QVERIFY(file.open(QIODevice::ReadOnly));
            const QString path = root.relativeFilePath(file.fileName());
            const QString text = QString::fromUtf8(file.readAll());
            ++forms;
            const QStringList includes = formIncludes(text);
            for (const QString& include : includes) {
                if (!sources.contains(include) || !mayInclude(path, include)) {
                    found.append(path + QStringLiteral(" may not know of ") + include);
                }
            }
            // A form belongs to the class of its name, beside it.
            if (!sources.contains(unit(path) + QStringLiteral(".h")) ||
                captures(text, QStringLiteral("^ ?<class>(\\w+)</class>")).value(0) != files.fileInfo().baseName()) {
                found.append(path + QStringLiteral(" is no form of the class beside it"));
            }
        }
    }
    QVERIFY(forms > 10);
    QVERIFY2(found.isEmpty(), lines(found).constData());
}

void TestIncludes::marksItsOwnIncludes()
{
    // In angle brackets an include of the house would pass by the other checks.
    QStringList found;
    for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
        const QStringList includes = systemIncludes(source.value());
        for (const QString& include : includes) {
            if (sources.contains(include)) {
                found.append(source.key() + QStringLiteral(" includes in angle brackets: ") + include);
            }
        }
    }
    QVERIFY2(found.isEmpty(), lines(found).constData());
}

void TestIncludes::keepsTheBackendToMultimedia()
{
    const QDir headers(QLibraryInfo::location(QLibraryInfo::HeadersPath));
    QStringList found;
    int includesOfQt = 0;
    for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
        if (!source.key().startsWith(QLatin1String("signal/backend/"))) {
            continue;
        }
        const QStringList includes = systemIncludes(source.value());
        for (const QString& include : includes) {
            if (!include.startsWith(QLatin1Char('Q'))) {
                continue;
            }
            ++includesOfQt;
            if (!headers.exists(QStringLiteral("QtCore/") + include) &&
                !headers.exists(QStringLiteral("QtMultimedia/") + include)) {
                found.append(source.key() + QStringLiteral(" knows more than sound: ") + include);
            }
        }
    }
    QVERIFY(includesOfQt > 10);
    QVERIFY2(found.isEmpty(), lines(found).constData());
}

void TestIncludes::hasNoCircle()
{
    Graph graph;
    for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
        graph.insert(source.key(), ownIncludes(source.value()));
    }
    const QStringList found = circles(graph);
    QVERIFY2(found.isEmpty(), lines(found).constData());
}

void TestIncludes::keepsWidgetsOutOfValues()
{
    const QDir widgets(QLibraryInfo::location(QLibraryInfo::HeadersPath) + QStringLiteral("/QtWidgets"));
    QVERIFY(widgets.exists(QStringLiteral("QWidget")));
    QVERIFY(!widgets.exists(QStringLiteral("QPixmap")));
    QStringList found;
    int values = 0;
    for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
        const QString name = unit(source.key());
        if (!isValueClass(source.key()) && name != QLatin1String("net/HttpRequest") &&
            name != QLatin1String("net/Authentication")) {
            continue;
        }
        ++values;
        const QStringList includes = systemIncludes(source.value());
        for (const QString& include : includes) {
            if (widgets.exists(include) || include.startsWith(QLatin1String("QtWidgets"))) {
                found.append(source.key() + QStringLiteral(" includes a widget: ") + include);
            }
        }
    }
    QVERIFY(values > 10);
    QVERIFY2(found.isEmpty(), lines(found).constData());
}

void TestIncludes::headsEachSourceWithItsLicence()
{
    QStringList found;
    for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
        if (!source.value().startsWith(QLatin1String("// SPDX-License-Identifier: GPL-3.0-or-later\n"))) {
            found.append(source.key() + QStringLiteral(" does not begin with its licence"));
        }
        if (source.key().endsWith(QLatin1String(".h")) &&
            captures(source.value(), QStringLiteral(R"(^(#pragma once)$)")).size() != 1) {
            found.append(source.key() + QStringLiteral(" has no #pragma once"));
        }
    }
    QVERIFY2(found.isEmpty(), lines(found).constData());
}

void TestIncludes::definesOneClassAHeader()
{
    QStringList found;
    int classes = 0;
    for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
        if (!source.key().endsWith(QLatin1String(".h")) || !isProduct(source.key())) {
            continue;
        }
        const QStringList names = definedClasses(source.value());
        classes += names.size();
        if (names.size() > 1 || (names.size() == 1 && names.first() != QFileInfo(source.key()).baseName())) {
            found.append(source.key() + QStringLiteral(" defines ") + names.join(QStringLiteral(", ")));
        }
        if (source.value().contains(QLatin1String("Q_OBJECT")) && names.isEmpty()) {
            found.append(source.key() + QStringLiteral(" hides its class from this check"));
        }
    }
    QVERIFY(classes > 10);
    QVERIFY2(found.isEmpty(), lines(found).constData());
}

void TestIncludes::compilesMetaObjectsWithTheirClass()
{
    QStringList found;
    int classes = 0;
    for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
        if (!source.key().endsWith(QLatin1String(".h")) ||
            captures(source.value(), QStringLiteral(R"(^\s*(Q_OBJECT)\s*$)")).isEmpty()) {
            continue;
        }
        ++classes;
        const QString name = QFileInfo(source.key()).baseName();
        const QString body = sources.value(unit(source.key()) + QStringLiteral(".cpp")).trimmed();
        if (!body.endsWith(QStringLiteral("\n#include \"moc_%1.cpp\"").arg(name))) {
            found.append(unit(source.key()) + QStringLiteral(".cpp does not end with its meta object"));
        }
    }
    QVERIFY(classes > 5);
    QVERIFY2(found.isEmpty(), lines(found).constData());
}

void TestIncludes::liesInKnownFolders()
{
    const QDir root(QStringLiteral(QUELMAR_SOURCE_DIR));
    QStringList found;
    const QStringList folders = root.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& folder : folders) {
        if (sourceFolders().contains(folder) ||
            QFileInfo::exists(root.filePath(folder + QStringLiteral("/CMakeCache.txt")))) {
            continue;
        }
        QDirIterator files(root.filePath(folder), {QStringLiteral("*.h"), QStringLiteral("*.cpp")}, QDir::Files,
                           QDirIterator::Subdirectories);
        // Build trees lie below "build".
        if (files.hasNext() && folder != QLatin1String("build")) {
            found.append(root.relativeFilePath(files.next()) + QStringLiteral(" lies outside the source folders"));
        }
    }
    const QStringList loose = root.entryList({QStringLiteral("*.h"), QStringLiteral("*.cpp")}, QDir::Files);
    QVERIFY2(loose.isEmpty(), lines(loose).constData());
    QVERIFY2(found.isEmpty(), lines(found).constData());
}

QTEST_GUILESS_MAIN(TestIncludes)
#include "TestIncludes.moc"
