// SPDX-License-Identifier: GPL-3.0-or-later
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <functional>
#include <memory>
#include <vector>

#include <sys/prctl.h>
#include <unistd.h>

namespace {

// Far above what is ever needed, for machines under load.
constexpr int patience = 60000;
constexpr int longPatience = 600000;

struct Outcome
{
    int exitCode = -1; ///< -1 if it did not end, or crashed
    QString output;    ///< of both channels
};

Outcome run(const QString& program, const QStringList& arguments, int wait = patience)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    Outcome outcome;
    if (process.waitForFinished(wait) && process.exitStatus() == QProcess::NormalExit) {
        outcome.exitCode = process.exitCode();
    } else {
        process.kill();
        process.waitForFinished();
    }
    outcome.output = QString::fromUtf8(process.readAll());
    if (process.error() == QProcess::FailedToStart) {
        outcome.output = program + QStringLiteral(" is not there");
    }
    return outcome;
}

QByteArray read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The paths of all files and links below the folder, without the folder.
QStringList filesBelow(const QString& folder)
{
    QStringList files;
    QDirIterator all(folder, QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        all.next();
        if (all.fileInfo().isSymLink() || !all.fileInfo().isDir()) {
            files.append(QDir(folder).relativeFilePath(all.filePath()));
        }
    }
    files.sort();
    return files;
}

/// Windows that the window manager shows with this title, as the window system numbers them.
QStringList windows(const QString& title)
{
    const Outcome shown = run(QStringLiteral("xprop"),
                              {QStringLiteral("-root"), QStringLiteral("-notype"), QStringLiteral("_NET_CLIENT_LIST")});
    QStringList found;
    QRegularExpressionMatchIterator ids = QRegularExpression(QStringLiteral("0x[0-9a-f]+")).globalMatch(shown.output);
    while (ids.hasNext()) {
        const QString id = ids.next().captured();
        const Outcome name = run(QStringLiteral("xprop"), {QStringLiteral("-id"), id, QStringLiteral("-notype"),
                                                           QStringLiteral("_NET_WM_NAME")});
        if (name.output == QStringLiteral("_NET_WM_NAME = \"%1\"\n").arg(title)) {
            found.append(id);
        }
    }
    return found;
}

/// Presses keys in the window that has the focus.
bool press(const QStringList& keys)
{
    return run(QStringLiteral("xdotool"),
               QStringList{QStringLiteral("key"), QStringLiteral("--delay"), QStringLiteral("50")} + keys)
               .exitCode == 0;
}

QStringList keysOf(const QString& text)
{
    QStringList keys;
    for (const QChar letter : text) {
        keys.append(letter);
    }
    return keys;
}

/// Waits until it holds, by the clock: to ask may take long itself.
bool waitUntil(const std::function<bool()>& holds)
{
    QElapsedTimer waited;
    waited.start();
    while (waited.elapsed() < patience) {
        if (holds()) {
            return true;
        }
        QTest::qWait(100);
    }
    return false;
}

/// A process that does not outlive the test, however that ends.
class BoundProcess : public QProcess
{
protected:
    void setupChildProcess() override { ::prctl(PR_SET_PDEATHSIG, SIGKILL); }
};

/// The text of a translation source, in the context.
QString translated(const QString& locale, const QString& context, const QString& key)
{
    const QString source =
        QString::fromUtf8(read(QStringLiteral(QUELMAR_SOURCE_DIR "/languages/Translation_%1.ts").arg(locale)));
    const QString place = source.mid(source.indexOf(QStringLiteral("<name>%1</name>").arg(context)));
    const QRegularExpression entry(
        QStringLiteral("<source>%1</source>\\s*<translation>([^<]+)<").arg(QRegularExpression::escape(key)));
    return entry.match(place.left(place.indexOf(QLatin1String("</context>")))).captured(1);
}

/// Processes that end with this, in the order opposite to their start.
class Processes
{
public:
    ~Processes()
    {
        while (!processes.empty()) {
            processes.back()->terminate();
            if (!processes.back()->waitForFinished(patience)) {
                processes.back()->kill();
                processes.back()->waitForFinished();
            }
            processes.pop_back();
        }
    }

    QProcess& start(const QStringList& command, const QProcessEnvironment& environment, const QString& folder)
    {
        processes.push_back(std::make_unique<BoundProcess>());
        QProcess& process = *processes.back();
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(folder);
        process.start(command.first(), command.mid(1));
        return process;
    }

private:
    std::vector<std::unique_ptr<QProcess>> processes;
};

} // namespace

/// The Debian packages: what is in them, and that the programs start from where they put them.
class TestPackages : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void haveTheirFields_data();
    void haveTheirFields();
    void holdTheClient();
    void holdTheServer();
    void lieWhereTheyBelong();
    void havePicturesOfEachSize_data();
    void havePicturesOfEachSize();
    void haveEveryTranslation();
    void findNoFaultByLintian();
    void describeTheProgramToDesktops();
    void describeTheProgramToSoftwareCentres();
    void openTheSensor();
    void tellTheirVersionInTheirPages_data();
    void tellTheirVersionInTheirPages();
    void explainEveryOption();
    void areHardened_data();
    void areHardened();

    void startFromTheirPlace();
    void startFromACleanRoot();

private:
    /// Runs server and client by these commands, and logs in, once in vain.
    void use(const QStringList& server, const QStringList& client, const QProcessEnvironment& environment);

    QTemporaryDir folder;
    QString client; ///< the package
    QString server;
    QString root; ///< both unpacked
};

void TestPackages::initTestCase()
{
    QVERIFY(folder.isValid());
    const Outcome packed = run(QStringLiteral(QUELMAR_CPACK),
                               {QStringLiteral("-G"), QStringLiteral("DEB"), QStringLiteral("--config"),
                                QStringLiteral(QUELMAR_BINARY_DIR "/CPackConfig.cmake"), QStringLiteral("-B"),
                                folder.filePath(QStringLiteral("packages"))},
                               longPatience);
    QVERIFY2(packed.exitCode == 0, packed.output.toLocal8Bit().constData());

    const QDir packages(folder.filePath(QStringLiteral("packages")));
    const QStringList found = packages.entryList({QStringLiteral("*.deb")}, QDir::Files, QDir::Name);
    QCOMPARE(found.size(), 2);
    const QString version = QStringLiteral("_" QUELMAR_VERSION "-1_");
    QVERIFY2(found.at(0).startsWith(QStringLiteral("quelmar-server") + version), qPrintable(found.at(0)));
    QVERIFY2(found.at(1).startsWith(QStringLiteral("quelmar") + version), qPrintable(found.at(1)));
    server = packages.filePath(found.at(0));
    client = packages.filePath(found.at(1));

    root = folder.filePath(QStringLiteral("root"));
    for (const QString& package : {client, server}) {
        const Outcome unpacked = run(QStringLiteral("dpkg-deb"), {QStringLiteral("-x"), package, root});
        QVERIFY2(unpacked.exitCode == 0, unpacked.output.toLocal8Bit().constData());
    }
}

void TestPackages::haveTheirFields_data()
{
    QTest::addColumn<bool>("isClient");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("pattern");
    const auto add = [](bool isClient, const char* field, const char* pattern) {
        QTest::addRow("%s: %s, %s", isClient ? "client" : "server", field, pattern)
            << isClient << QString::fromLatin1(field) << QString::fromLatin1(pattern);
    };
    for (const bool isClient : {true, false}) {
        add(isClient, "Source", "^quelmar$");
        add(isClient, "Version", "^" QUELMAR_VERSION "-1$");
        add(isClient, "Section", "^science$");
        add(isClient, "Priority", "^optional$");
        add(isClient, "Maintainer", "^Quelmar Signal Systems <support@quelmar\\.example>$");
        add(isClient, "Homepage", "^https://www\\.quelmar\\.example$");
        // Found by their libraries.
        add(isClient, "Depends", "\\blibc6 \\(>=");
        add(isClient, "Depends", "\\blibqt5core5a \\(>=");
        add(isClient, "Depends", "\\bzlib1g \\(>=");
    }
    add(true, "Package", "^quelmar$");
    add(true, "Description", "^record a signal, read its analysis and play the impact\n Quelmar is for ");
    add(true, "Depends", "\\blibqt5widgets5 \\(>=");
    add(true, "Depends", "\\blibqt5charts5 \\(>=");
    add(true, "Depends", "\\blibusb-1\\.0-0 \\(>=");
    // Loaded while the programs run.
    add(true, "Depends", "\\blibqt5multimedia5-plugins\\b");
    add(true, "Recommends", "\\bca-certificates\\b");
    add(false, "Package", "^quelmar-server$");
    add(false, "Description", "^server of Quelmar for [^\n]+\n Keeps practitioners");
    add(false, "Depends", "\\blibqt5sql5 \\(>=");
    add(false, "Depends", "\\blibsodium23 \\(>=");
    add(false, "Depends", "\\blibqt5sql5-sqlite\\b");
    add(false, "Depends", "\\bsystemd \\| systemd-standalone-sysusers\\b");
    add(false, "Recommends", "\\blibqt5sql5-psql\\b");
}

void TestPackages::haveTheirFields()
{
    QFETCH(bool, isClient);
    QFETCH(QString, field);
    QFETCH(QString, pattern);
    const Outcome shown = run(QStringLiteral("dpkg-deb"), {QStringLiteral("-f"), isClient ? client : server, field});
    QCOMPARE(shown.exitCode, 0);
    // Each row has its own pattern.
    const QRegularExpression expected(pattern);
    const auto match = expected.match(shown.output.trimmed()); // clazy:exclude=use-static-qregularexpression
    QVERIFY2(match.hasMatch(), qPrintable(shown.output));
}

void TestPackages::holdTheClient()
{
    const QDir tree(folder.filePath(QStringLiteral("client")));
    QCOMPARE(run(QStringLiteral("dpkg-deb"), {QStringLiteral("-x"), client, tree.path()}).exitCode, 0);
    // Pictures and translations have tests of their own.
    QStringList found = filesBelow(tree.path());
    found = found.filter(QRegularExpression(QStringLiteral("^(?!usr/share/icons/hicolor/\\d)(?!.*\\.qm$)")));
    const QStringList wanted{
        QStringLiteral("usr/bin/quelmar"),
        QStringLiteral("usr/lib/udev/rules.d/60-quelmar-sensor.rules"),
        QStringLiteral("usr/libexec/quelmar/languages"),
        QStringLiteral("usr/libexec/quelmar/quelmar"),
        QStringLiteral("usr/share/applications/quelmar.desktop"),
        QStringLiteral("usr/share/doc/quelmar/changelog.Debian.gz"),
        QStringLiteral("usr/share/doc/quelmar/changelog.gz"),
        QStringLiteral("usr/share/doc/quelmar/copyright"),
        QStringLiteral("usr/share/icons/hicolor/scalable/apps/quelmar.svg"),
        QStringLiteral("usr/share/lintian/overrides/quelmar"),
        QStringLiteral("usr/share/man/man1/quelmar.1.gz"),
        QStringLiteral("usr/share/metainfo/example.quelmar.quelmar.metainfo.xml"),
    };
    QCOMPARE(found, wanted);
    for (const QString& file : found) {
        QVERIFY2(QFileInfo::exists(tree.filePath(file)), qPrintable(file));
    }
    QVERIFY(QFileInfo(tree.filePath(QStringLiteral("usr/libexec/quelmar/quelmar"))).isExecutable());
    // Links that lead elsewhere when the root is elsewhere would find another version's texts.
    QCOMPARE(QFile::symLinkTarget(tree.filePath(QStringLiteral("usr/bin/quelmar"))),
             tree.filePath(QStringLiteral("usr/libexec/quelmar/quelmar")));
    QCOMPARE(QFile::symLinkTarget(tree.filePath(QStringLiteral("usr/libexec/quelmar/languages"))),
             tree.filePath(QStringLiteral("usr/share/quelmar/languages")));
}

void TestPackages::holdTheServer()
{
    const QDir tree(folder.filePath(QStringLiteral("server")));
    QCOMPARE(run(QStringLiteral("dpkg-deb"), {QStringLiteral("-x"), server, tree.path()}).exitCode, 0);
    const QStringList found = filesBelow(tree.path());
    for (const char* const file :
         {"usr/bin/quelmar-server", "usr/share/doc/quelmar-server/changelog.Debian.gz",
          "usr/share/doc/quelmar-server/changelog.gz", "usr/share/doc/quelmar-server/copyright",
          "usr/share/doc/quelmar-server/deployment.md", "usr/share/doc/quelmar-server/examples/nginx/quelmar.conf",
          "usr/share/doc/quelmar-server/server.md", "usr/share/lintian/overrides/quelmar-server",
          "usr/share/man/man1/quelmar-server.1.gz"}) {
        QVERIFY2(found.contains(QLatin1String(file)), file);
    }
    const QString systemd = QStringLiteral(QUELMAR_SOURCE_DIR "/packaging/systemd/");
    const QMap<QString, QString> service{
        {QStringLiteral("usr/lib/systemd/system/quelmar-server.service"), QStringLiteral("quelmar-server.service")},
        {QStringLiteral("usr/lib/sysusers.d/quelmar-server.conf"), QStringLiteral("quelmar-server.sysusers")},
        {QStringLiteral("etc/quelmar/server.conf"), QStringLiteral("server.conf")}};
    for (auto file = service.cbegin(); file != service.cend(); ++file) {
        QVERIFY2(found.contains(file.key()), qPrintable(file.key()));
        QCOMPARE(read(tree.filePath(file.key())), read(systemd + file.value()));
    }
    // What an administrator wrote there is his.
    const Outcome settings =
        run(QStringLiteral("dpkg-deb"), {QStringLiteral("-I"), server, QStringLiteral("conffiles")});
    QCOMPARE(settings.output, QStringLiteral("/etc/quelmar/server.conf\n"));
    QVERIFY(QFileInfo(tree.filePath(QStringLiteral("usr/bin/quelmar-server"))).isExecutable());
    QCOMPARE(read(tree.filePath(QStringLiteral("usr/share/doc/quelmar-server/examples/nginx/quelmar.conf"))),
             read(QStringLiteral(QUELMAR_SOURCE_DIR "/packaging/nginx/quelmar.conf")));
}

void TestPackages::lieWhereTheyBelong()
{
    for (const QString& package : {client, server}) {
        const Outcome listed = run(QStringLiteral("dpkg-deb"), {QStringLiteral("-c"), package});
        QCOMPARE(listed.exitCode, 0);
        const QStringList lines = listed.output.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QVERIFY(lines.size() > 10);
        static const QRegularExpression sound(
            QStringLiteral("^(drwxr-xr-x|-rw-r--r--|-rwxr-xr-x|lrwxrwxrwx) root/root .* \\./(usr|etc)/"));
        for (const QString& line : lines) {
            QVERIFY2(sound.match(line).hasMatch(), qPrintable(line));
        }
    }
}

void TestPackages::havePicturesOfEachSize_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {16, 22, 24, 32, 48, 64, 96, 128, 192, 256, 512}) {
        QTest::addRow("%d", size) << size;
    }
}

void TestPackages::havePicturesOfEachSize()
{
    QFETCH(int, size);
    const QImage picture(root + QStringLiteral("/usr/share/icons/hicolor/%1x%1/apps/quelmar.png").arg(size));
    QCOMPARE(picture.size(), QSize(size, size));
    // Round corners, a blue ground, a white ring.
    QCOMPARE(qAlpha(picture.pixel(0, 0)), 0);
    const QColor ground = picture.pixelColor(size / 2, size / 12);
    QVERIFY2(ground.alpha() == 255 && ground.blue() > ground.red() + 50, qPrintable(ground.name()));
    const QColor ring = picture.pixelColor(size / 2, size * 12 / 64);
    QVERIFY2(ring.lightness() > ground.lightness() + 50, qPrintable(ring.name()));
}

void TestPackages::haveEveryTranslation()
{
    const QStringList sources = QDir(QStringLiteral(QUELMAR_SOURCE_DIR "/languages"))
                                    .entryList({QStringLiteral("Translation_*.ts")}, QDir::Files, QDir::Name);
    QVERIFY(sources.size() >= 2);
    const QDir installed(root + QStringLiteral("/usr/libexec/quelmar/languages"));
    QCOMPARE(installed.entryList(QDir::Files, QDir::Name).size(), sources.size());
    for (const QString& source : sources) {
        const QString file = QFileInfo(source).completeBaseName() + QStringLiteral(".qm");
        QVERIFY2(QFileInfo(installed.filePath(file)).size() > 10000, qPrintable(file));
    }
}

void TestPackages::findNoFaultByLintian()
{
    const Outcome checked =
        run(QStringLiteral("lintian"),
            {QStringLiteral("--allow-root"), QStringLiteral("--fail-on"), QStringLiteral("error,warning,info"),
             QStringLiteral("--display-info"), client, server},
            longPatience);
    QVERIFY2(checked.exitCode == 0, checked.output.toLocal8Bit().constData());
    // Nothing is overridden without a reason before it.
    for (const char* const package : {"quelmar", "quelmar-server"}) {
        const QList<QByteArray> lines =
            read(root + QStringLiteral("/usr/share/lintian/overrides/") + QLatin1String(package)).split('\n');
        bool explained = false;
        for (const QByteArray& line : lines) {
            QVERIFY2(line.isEmpty() || explained || line.startsWith("# "), line.constData());
            explained = line.startsWith("# ");
        }
    }
}

void TestPackages::describeTheProgramToDesktops()
{
    const QString file = root + QStringLiteral("/usr/share/applications/quelmar.desktop");
    const Outcome checked = run(QStringLiteral("desktop-file-validate"), {file});
    QVERIFY2(checked.exitCode == 0 && checked.output.isEmpty(), checked.output.toLocal8Bit().constData());
    const QByteArray text = read(file);
    QVERIFY(text.contains("\nExec=quelmar\n"));
    QVERIFY(text.contains("\nIcon=quelmar\n"));
    for (const char* const language : {"de", "pl", "ru"}) {
        QVERIFY2(text.contains(QByteArray("\nComment[") + language + "]="), language);
    }
}

void TestPackages::describeTheProgramToSoftwareCentres()
{
    const Outcome checked =
        run(QStringLiteral("appstreamcli"),
            {QStringLiteral("validate-tree"), QStringLiteral("--no-net"), QStringLiteral("--no-color"), root});
    QVERIFY2(checked.exitCode == 0 && checked.output.contains(QLatin1String("successful")),
             checked.output.toLocal8Bit().constData());
    const Outcome alone = run(QStringLiteral("appstreamcli"),
                              {QStringLiteral("validate"), QStringLiteral("--no-net"), QStringLiteral("--no-color"),
                               root + QStringLiteral("/usr/share/metainfo/example.quelmar.quelmar.metainfo.xml")});
    QVERIFY2(alone.exitCode == 0, alone.output.toLocal8Bit().constData());
    const QByteArray text = read(root + QStringLiteral("/usr/share/metainfo/example.quelmar.quelmar.metainfo.xml"));
    QVERIFY(text.contains("<release version=\"" QUELMAR_VERSION "\""));
    QVERIFY(!text.contains('@'));
}

void TestPackages::openTheSensor()
{
    const QDir rules(root + QStringLiteral("/usr/lib/udev/rules.d"));
    const QStringList files = rules.entryList(QDir::Files);
    QCOMPARE(files.size(), 1);
    // The right is given by rules numbered 73, and the house asks for less than 70.
    bool sound = false;
    const int number = files.first().section(QLatin1Char('-'), 0, 0).toInt(&sound);
    QVERIFY2(sound && number > 0 && number < 70, qPrintable(files.first()));

    QByteArray rule;
    for (const QByteArray& line : read(rules.filePath(files.first())).split('\n')) {
        if (!line.startsWith('#') && !line.isEmpty()) {
            QVERIFY2(rule.isEmpty(), "one rule is expected");
            rule = line;
        }
    }
    static const QRegularExpression term(QStringLiteral("^([A-Z]+(?:\\{\\w+\\})?)(==|!=|\\+=)\"([^\"]*)\"$"));
    QSet<QString> terms;
    for (const QString& part : QString::fromUtf8(rule).split(QStringLiteral(", "))) {
        QVERIFY2(term.match(part).hasMatch(), qPrintable(part));
        terms.insert(part);
    }
    // The product that the client reads the serial of, and no wider right than to the one at the machine.
    const QSet<QString> wanted{QStringLiteral("ACTION!=\"remove\""), QStringLiteral("SUBSYSTEM==\"usb\""),
                               QStringLiteral("ENV{DEVTYPE}==\"usb_device\""),
                               QStringLiteral("ATTR{product}==\"*Quelmar USB v1.0*\""),
                               QStringLiteral("TAG+=\"uaccess\"")};
    QCOMPARE(terms, wanted);
}

void TestPackages::tellTheirVersionInTheirPages_data()
{
    QTest::addColumn<QString>("page");
    QTest::newRow("client") << QStringLiteral("quelmar");
    QTest::newRow("server") << QStringLiteral("quelmar-server");
}

void TestPackages::tellTheirVersionInTheirPages()
{
    QFETCH(QString, page);
    const QString file = root + QStringLiteral("/usr/share/man/man1/%1.1.gz").arg(page);
    const Outcome unpacked = run(QStringLiteral("gzip"), {QStringLiteral("-dc"), file});
    QCOMPARE(unpacked.exitCode, 0);
    QVERIFY(unpacked.output.contains(QLatin1String("\"Quelmar " QUELMAR_VERSION "\"")));
    QVERIFY(!unpacked.output.contains(QRegularExpression(QStringLiteral("@\\w+@"))));
    if (page == QLatin1String("quelmar")) {
        QVERIFY(unpacked.output.contains(QLatin1String(QUELMAR_API_URL)));
    }
    // The formatter's complaints are all that comes.
    const Outcome formatted =
        run(QStringLiteral("man"), {QStringLiteral("--warnings"), QStringLiteral("-E"), QStringLiteral("UTF-8"),
                                    QStringLiteral("-l"), QStringLiteral("-Tutf8"), QStringLiteral("-Z"), file});
    QVERIFY(formatted.exitCode == 0 && formatted.output.startsWith(QLatin1String("x T utf8")));
    QVERIFY2(!formatted.output.contains(QLatin1String("warning")), qPrintable(formatted.output));
}

void TestPackages::explainEveryOption()
{
    const Outcome help = run(root + QStringLiteral("/usr/bin/quelmar-server"), {QStringLiteral("--help")});
    QCOMPARE(help.exitCode, 0);
    const Outcome page = run(QStringLiteral("gzip"),
                             {QStringLiteral("-dc"), root + QStringLiteral("/usr/share/man/man1/quelmar-server.1.gz")});
    const QString text = QString(page.output).remove(QLatin1Char('\\'));
    QRegularExpressionMatchIterator options =
        QRegularExpression(QStringLiteral("^ +(?:-\\w, )?(--[\\w-]+)"), QRegularExpression::MultilineOption)
            .globalMatch(help.output);
    int count = 0;
    while (options.hasNext()) {
        const QString option = options.next().captured(1);
        ++count;
        QVERIFY2(text.contains(QRegularExpression(QStringLiteral("\\s%1\\s").arg(option))), qPrintable(option));
    }
    QVERIFY(count >= 12);
    QRegularExpressionMatchIterator commands =
        QRegularExpression(QStringLiteral("^  ((?:practitioner )?[a-z]+)(?: (?:NAME|FILE))? +[a-z]"),
                           QRegularExpression::MultilineOption)
            .globalMatch(help.output.left(help.output.indexOf(QLatin1String("Options:"))));
    count = 0;
    while (commands.hasNext()) {
        const QString command = commands.next().captured(1);
        ++count;
        QVERIFY2(text.contains(QRegularExpression(QStringLiteral("\n\\.(?:TP\n\\.BI \"|B )%1\\b").arg(command))),
                 qPrintable(command));
    }
    QVERIFY(count >= 5);
}

void TestPackages::areHardened_data()
{
    QTest::addColumn<QString>("program");
    QTest::newRow("client") << QStringLiteral("/usr/libexec/quelmar/quelmar");
    QTest::newRow("server") << QStringLiteral("/usr/bin/quelmar-server");
}

void TestPackages::areHardened()
{
    QFETCH(QString, program);
    const Outcome dump = run(QStringLiteral("readelf"), {QStringLiteral("-W"), QStringLiteral("-dlS"),
                                                         QStringLiteral("--dyn-syms"), root + program});
    QCOMPARE(dump.exitCode, 0);
    QVERIFY(!dump.output.contains(QLatin1String("RPATH")));
    QVERIFY(!dump.output.contains(QLatin1String("RUNPATH")));
    QVERIFY(dump.output.contains(QRegularExpression(QStringLiteral("FLAGS_1\\).*NOW.*PIE"))));
    QVERIFY(dump.output.contains(QLatin1String("GNU_RELRO")));
    QVERIFY(dump.output.contains(QRegularExpression(QStringLiteral("GNU_STACK .* RW "))));
    QVERIFY(dump.output.contains(QLatin1String("__stack_chk_fail")));
    QVERIFY(!dump.output.contains(QLatin1String(".symtab")));
    QVERIFY(!dump.output.contains(QLatin1String(".debug_info")));

    // What built it is nobody's business.
    const QByteArray bytes = read(root + program);
    QVERIFY(bytes.size() > 100000);
    QVERIFY(!bytes.contains(QUELMAR_SOURCE_DIR));
    QVERIFY(!bytes.contains(QUELMAR_BINARY_DIR));
}

void TestPackages::use(const QStringList& serverCommand, const QStringList& clientCommand,
                       const QProcessEnvironment& environment)
{
    Processes processes;
    const QString work = folder.path();
    QProcess& serving = processes.start(serverCommand, environment, work);
    QByteArray said;
    while (!said.contains("listening on " QUELMAR_API_URL) && serving.waitForReadyRead(patience)) {
        said += serving.readAll();
    }
    QVERIFY2(said.contains("listening on " QUELMAR_API_URL "\n"), said.constData());

    QProcess& program = processes.start(clientCommand, environment, work);
    const QString title =
        translated(QStringLiteral("ru_RU"), QStringLiteral("DialogLogin"), QStringLiteral("Title.application"));
    QCOMPARE(title, QStringLiteral("Quelmar"));
    QVERIFY2(waitUntil([&title] { return windows(title).size() == 1; }), program.readAll().constData());
    const QString dialog = windows(title).first();
    QCOMPARE(run(QStringLiteral("xdotool"), {QStringLiteral("windowfocus"), QStringLiteral("--sync"), dialog}).exitCode,
             0);
    // By this a desktop finds the entry of a window.
    QVERIFY(waitUntil([&dialog] {
        return run(QStringLiteral("xprop"), {QStringLiteral("-id"), dialog, QStringLiteral("WM_CLASS")})
            .output.contains(QLatin1String("\"Quelmar\""));
    }));

    // A refused login says so in the language of the system.
    const QString error =
        translated(QStringLiteral("ru_RU"), QStringLiteral("DialogLogin"), QStringLiteral("Text.error"));
    QVERIFY(!error.isEmpty() &&
            error != translated(QStringLiteral("en_US"), QStringLiteral("DialogLogin"), QStringLiteral("Text.error")));
    QVERIFY(press(keysOf(QStringLiteral("demo")) + QStringList{QStringLiteral("Tab")} +
                  keysOf(QStringLiteral("wrong")) + QStringList{QStringLiteral("Return")}));
    QVERIFY(waitUntil([&error] { return windows(error).size() == 1; }));
    QVERIFY(press({QStringLiteral("Return")}));
    QVERIFY(waitUntil([&error] { return windows(error).isEmpty(); }));

    // The right password opens the window with the patients, over all of the screen.
    QCOMPARE(run(QStringLiteral("xdotool"), {QStringLiteral("windowfocus"), QStringLiteral("--sync"), dialog}).exitCode,
             0);
    QVERIFY(press(QStringList{QStringLiteral("ctrl+a")} + keysOf(QStringLiteral("demo")) +
                  QStringList{QStringLiteral("Return")}));
    const auto width = [&title] {
        const QStringList shown = windows(title);
        if (shown.size() != 1) {
            return 0;
        }
        const Outcome geometry = run(QStringLiteral("xdotool"),
                                     {QStringLiteral("getwindowgeometry"), QStringLiteral("--shell"), shown.first()});
        return QRegularExpression(QStringLiteral("WIDTH=(\\d+)")).match(geometry.output).captured(1).toInt();
    };
    QVERIFY2(waitUntil([&width] { return width() > 1000; }), program.readAll().constData());
    QCOMPARE(program.state(), QProcess::Running);
    QCOMPARE(serving.state(), QProcess::Running);

    // The client's own handler writes there what Qt would say on the terminal.
    const QString log = QString::fromUtf8(read(folder.filePath(QStringLiteral("quelmar.log"))));
    QVERIFY2(!log.contains(QRegularExpression(QStringLiteral(QUELMAR_FORBIDDEN_OUTPUT))), qPrintable(log));
}

void TestPackages::startFromTheirPlace()
{
    const QString program = root + QStringLiteral("/usr/bin/quelmar-server");
    const Outcome version = run(program, {QStringLiteral("--version")});
    QCOMPARE(version.exitCode, 0);
    QCOMPARE(version.output, QStringLiteral("quelmar-server " QUELMAR_VERSION "\n"));

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("LANGUAGE"));
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("ru_RU.UTF-8"));
    use({program, QStringLiteral("--database"), folder.filePath(QStringLiteral("store.sqlite")),
         QStringLiteral("--demo")},
        {root + QStringLiteral("/usr/bin/quelmar")}, environment);
    // The window system's and the texts' faults would stand here.
    QVERIFY2(!read(folder.filePath(QStringLiteral("quelmar.log"))).contains("{Critical}"),
             read(folder.filePath(QStringLiteral("quelmar.log"))).constData());
}

void TestPackages::startFromACleanRoot()
{
    if (qgetenv("QUELMAR_TEST_LONG") != "1") {
        QSKIP("takes packages from the network: scripts/test --long runs it");
    }
    const QStringList asRoot =
        ::geteuid() == 0 ? QStringList() : QStringList{QStringLiteral("sudo"), QStringLiteral("-n")};
    const auto runAsRoot = [&asRoot](const QStringList& command) {
        const QStringList whole = asRoot + command;
        return run(whole.first(), whole.mid(1), longPatience);
    };
    const QString clean = folder.filePath(QStringLiteral("clean"));
    // Nothing but what the two packages ask for, so that what they forgot is missing.
    const Outcome made = runAsRoot(
        {QStringLiteral("mmdebstrap"), QStringLiteral("--variant=apt"), QStringLiteral("--mode=root"),
         QStringLiteral("--customize-hook=upload '%1' /quelmar.deb").arg(client),
         QStringLiteral("--customize-hook=upload '%1' /quelmar-server.deb").arg(server),
         QStringLiteral("--customize-hook=chroot \"$1\" apt-get install --yes --no-install-recommends /quelmar.deb "
                        "/quelmar-server.deb"),
         QStringLiteral("bookworm"), clean});
    // The folder's end removes it with the user's rights alone.
    const auto sweep = qScopeGuard([&] {
        runAsRoot({QStringLiteral("rm"), QStringLiteral("-rf"), QStringLiteral("--one-file-system"), clean});
    });
    QVERIFY2(made.exitCode == 0, made.output.toLocal8Bit().constData());

    // Programs see no more than this root; its own /proc tells the client where it lies.
    const QStringList inside =
        asRoot +
        QStringList{QStringLiteral("unshare"),      QStringLiteral("--mount"),      QStringLiteral("--pid"),
                    QStringLiteral("--fork"),       QStringLiteral("--kill-child"), QStringLiteral("--root=") + clean,
                    QStringLiteral("--mount-proc"), QStringLiteral("env"),          QStringLiteral("-i")};
    const QStringList serve =
        inside + QStringList{QStringLiteral("HOME=/root"), QStringLiteral("/usr/bin/quelmar-server")};
    const Outcome version = run(serve.first(), serve.mid(1) + QStringList{QStringLiteral("--version")});
    QVERIFY2(version.exitCode == 0, version.output.toLocal8Bit().constData());
    QCOMPARE(version.output, QStringLiteral("quelmar-server " QUELMAR_VERSION "\n"));

    const QString cookie = qEnvironmentVariable("XAUTHORITY");
    QVERIFY(!cookie.isEmpty());
    const Outcome given = runAsRoot({QStringLiteral("install"), QStringLiteral("-m"), QStringLiteral("600"), cookie,
                                     clean + QStringLiteral("/root/Xauthority")});
    QVERIFY2(given.exitCode == 0, given.output.toLocal8Bit().constData());
    use(serve + QStringList{QStringLiteral("--demo")},
        inside + QStringList{QStringLiteral("HOME=/root"), QStringLiteral("XAUTHORITY=/root/Xauthority"),
                             QStringLiteral("DISPLAY=") + qEnvironmentVariable("DISPLAY"),
                             QStringLiteral("QT_XCB_GL_INTEGRATION=none"), QStringLiteral("LC_ALL=ru_RU.UTF-8"),
                             QStringLiteral("quelmar")},
        QProcessEnvironment::systemEnvironment());
    if (QTest::currentTestFailed()) {
        return;
    }

    // The user that the service runs as came with the package.
    QVERIFY(read(clean + QStringLiteral("/etc/passwd")).contains("\nquelmar:"));
    QVERIFY(QFileInfo::exists(clean + QStringLiteral("/etc/quelmar/server.conf")));

    // What was installed can be taken away whole.
    const Outcome purged =
        runAsRoot({QStringLiteral("chroot"), clean, QStringLiteral("dpkg"), QStringLiteral("--purge"),
                   QStringLiteral("quelmar"), QStringLiteral("quelmar-server")});
    QVERIFY2(purged.exitCode == 0 && !purged.output.contains(QLatin1String("warning")),
             purged.output.toLocal8Bit().constData());
    for (const char* const path :
         {"/usr/bin/quelmar", "/usr/bin/quelmar-server", "/usr/libexec/quelmar", "/usr/share/quelmar", "/etc/quelmar",
          "/usr/share/doc/quelmar", "/usr/share/doc/quelmar-server"}) {
        const QFileInfo file(clean + QLatin1String(path));
        QVERIFY2(!file.exists() && !file.isSymLink(), path);
    }
}

QTEST_GUILESS_MAIN(TestPackages)
#include "TestPackages.moc"
