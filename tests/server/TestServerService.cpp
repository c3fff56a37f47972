// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/ApiClient.h"
#include "tests/server/ServerProcess.h"
#include "tests/server/TestDatabase.h"
#include "tests/server/TestWave.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMultiMap>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <cstddef>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int patience = 60000;

const QString unitPath = QStringLiteral(QUELMAR_SOURCE_DIR "/packaging/systemd/quelmar-server.service");
const QString program = QStringLiteral("/usr/bin/quelmar-server");

QString contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// The settings of a unit or of a file of variables, by name; one that stands there several times has its values in
/// their order.
QMap<QString, QStringList> settingsOf(const QString& path)
{
    QMap<QString, QStringList> settings;
    const QStringList lines = contentOf(path).split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        const int mark = line.indexOf(QLatin1Char('='));
        if (mark > 0 && !line.startsWith(QLatin1Char('#')))
            settings[line.left(mark)].append(line.mid(mark + 1));
    }
    return settings;
}

struct Outcome
{
    int exitCode = -1;
    QByteArray output; ///< with the errors
};

Outcome run(const QString& command, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(command, arguments);
    Outcome outcome;
    if (process.waitForFinished(patience) && process.exitStatus() == QProcess::NormalExit)
        outcome.exitCode = process.exitCode();
    outcome.output = process.readAll();
    return outcome;
}

/// The system calls of one of systemd's sets, with those of the sets in it.
QSet<QString> callsOf(const QString& set)
{
    QSet<QString> calls;
    const Outcome listed =
        run(QStringLiteral("systemd-analyze"), {QStringLiteral("--no-pager"), QStringLiteral("syscall-filter"), set});
    if (listed.exitCode != 0)
        return calls;
    const QStringList lines = QString::fromUtf8(listed.output).split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        const QString name = line.trimmed();
        if (!line.startsWith(QLatin1String("    ")) || name.startsWith(QLatin1Char('#')))
            continue;
        if (name.startsWith(QLatin1Char('@')))
            calls += callsOf(name);
        else
            calls.insert(name);
    }
    return calls;
}

/// What the unit allows, as systemd computes it.
QSet<QString> allowedCalls()
{
    QSet<QString> calls;
    const QStringList filters = settingsOf(unitPath).value(QStringLiteral("SystemCallFilter"));
    for (QString filter : filters) {
        const bool without = filter.startsWith(QLatin1Char('~'));
        const QStringList sets = filter.remove(QLatin1Char('~')).split(QLatin1Char(' '));
        for (const QString& set : sets) {
            if (without)
                calls -= callsOf(set);
            else
                calls += callsOf(set);
        }
    }
    return calls;
}

QString field(const QString& status, const char* name)
{
    const QRegularExpression line(QStringLiteral("^%1:\\s*(.*)$").arg(QLatin1String(name)),
                                  QRegularExpression::MultilineOption);
    return line.match(status).captured(1);
}

/// Whether this machine lets its users make namespaces, which a container may forbid.
bool hasNamespaces()
{
    const QStringList nothing{QStringLiteral("--ro-bind"), QStringLiteral("/"),     QStringLiteral("/"),
                              QStringLiteral("--proc"),    QStringLiteral("/proc"), QStringLiteral("true")};
    return run(QStringLiteral("bwrap"), nothing).exitCode == 0;
}

/// Receives what a service tells.
class Listener
{
public:
    explicit Listener(const QByteArray& name)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, name.constData(), size_t(name.size()));
        m_descriptor = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        m_sound = ::bind(m_descriptor, reinterpret_cast<const sockaddr*>(&address),
                         socklen_t(offsetof(sockaddr_un, sun_path) + size_t(name.size()))) == 0;
    }
    ~Listener() { ::close(m_descriptor); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    bool isSound() const { return m_sound; }
    QByteArray next(int milliseconds = patience)
    {
        pollfd entry{m_descriptor, POLLIN, 0};
        char text[512];
        if (::poll(&entry, 1, milliseconds) <= 0)
            return QByteArray();
        const ssize_t got = ::recv(m_descriptor, text, sizeof text, 0);
        return got < 0 ? QByteArray() : QByteArray(text, int(got));
    }

private:
    int m_descriptor = -1;
    bool m_sound = false;
};

} // namespace

/// The server as a service of systemd: the unit is sound and locked down, the program tells when it is ready, and does
/// all its work under the restrictions of the unit, as far as they can be had without systemd itself.
class TestServerService : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void unitIsSound();
    void unitIsLockedDown();
    void unitFitsTheProgram();
    void userIsMade();
    void tellsWhenItIsReady_data();
    void tellsWhenItIsReady();
    void startsWithoutAManager_data();
    void startsWithoutAManager();
    void worksUnderTheRestrictions();
    void restrictionsHold();

private:
    /// The unit with the built program in place of the installed one.
    QString copiedUnit(const QStringList& without = {});
    /// The built program under the restrictions; true once it listens.
    bool startSandboxed(const QSet<QString>& calls, const QStringList& options);
    /// Ends what startSandboxed() has started; its exit code, or -1.
    int stopSandboxed();
    qint64 serverId() const;

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<TestDatabase> m_database;
    QProcess m_process;
    QByteArray m_output;
    QString m_url;
};

void TestServerService::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
    m_database = std::make_unique<TestDatabase>();
}

void TestServerService::cleanup()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(patience);
    }
    qunsetenv("NOTIFY_SOCKET");
    m_database.reset();
    m_folder.reset();
}

QString TestServerService::copiedUnit(const QStringList& without)
{
    QString text = contentOf(unitPath).replace(program, QStringLiteral(QUELMAR_SERVER));
    for (const QString& setting : without)
        text.remove(QRegularExpression(QStringLiteral("^%1=.*\\n").arg(setting), QRegularExpression::MultilineOption));
    QFile file(m_folder->filePath(QStringLiteral("quelmar-server.service")));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(text.toUtf8()) < 0)
        return QString();
    return file.fileName();
}

void TestServerService::unitIsSound()
{
    const Outcome sound =
        run(QStringLiteral("systemd-analyze"), {QStringLiteral("--man=no"), QStringLiteral("verify"), copiedUnit()});
    QCOMPARE(sound.output, QByteArray());
    QCOMPARE(sound.exitCode, 0);

    QFile copy(copiedUnit());
    QVERIFY(copy.open(QIODevice::Append));
    copy.write("[Service]\nPrivateTemp=yes\n");
    copy.close();
    const Outcome unsound =
        run(QStringLiteral("systemd-analyze"), {QStringLiteral("--man=no"), QStringLiteral("verify"), copy.fileName()});
    QVERIFY2(unsound.output.contains("PrivateTemp"), unsound.output.constData());
}

void TestServerService::unitIsLockedDown()
{
    // Tenths of points from 0 (best) to 10; what remains is the network, which a server needs.
    const QStringList review{QStringLiteral("--no-pager"), QStringLiteral("security"), QStringLiteral("--offline=true"),
                             QStringLiteral("--threshold=13")};
    const Outcome locked = run(QStringLiteral("systemd-analyze"), review + QStringList{copiedUnit()});
    QVERIFY2(locked.exitCode == 0, locked.output.constData());
    QVERIFY2(locked.output.contains("Overall exposure level for quelmar-server.service: 1."),
             locked.output.constData());
    const Outcome open =
        run(QStringLiteral("systemd-analyze"), review + QStringList{copiedUnit({QStringLiteral("SystemCallFilter")})});
    QVERIFY2(open.exitCode != 0, open.output.constData());

    const QMap<QString, QStringList> settings = settingsOf(unitPath);
    const QVector<QPair<const char*, const char*>> expected{{"NoNewPrivileges", "yes"},
                                                            {"ProtectSystem", "strict"},
                                                            {"ProtectHome", "yes"},
                                                            {"PrivateTmp", "yes"},
                                                            {"PrivateDevices", "yes"},
                                                            {"ProtectKernelModules", "yes"},
                                                            {"ProtectKernelTunables", "yes"},
                                                            {"ProtectKernelLogs", "yes"},
                                                            {"RestrictNamespaces", "yes"},
                                                            {"LockPersonality", "yes"},
                                                            {"MemoryDenyWriteExecute", "yes"},
                                                            {"CapabilityBoundingSet", ""},
                                                            {"UMask", "0077"},
                                                            {"LimitCORE", "0"},
                                                            {"Restart", "on-failure"},
                                                            {"StateDirectory", "quelmar"},
                                                            {"StateDirectoryMode", "0700"},
                                                            {"User", "quelmar"}};
    for (const auto& setting : expected)
        QVERIFY2(settings.value(QLatin1String(setting.first)) == QStringList{QLatin1String(setting.second)},
                 setting.first);
}

void TestServerService::unitFitsTheProgram()
{
    const QMap<QString, QStringList> settings = settingsOf(unitPath);
    QMap<QString, QString> variables;
    const QStringList defaults = settings.value(QStringLiteral("Environment"));
    for (const QString& one : defaults)
        variables.insert(one.section(QLatin1Char('='), 0, 0), one.section(QLatin1Char('='), 1));
    QCOMPARE(settings.value(QStringLiteral("EnvironmentFile")),
             QStringList{QStringLiteral("-/etc/quelmar/server.conf")});
    const QMap<QString, QStringList> shipped =
        settingsOf(QStringLiteral(QUELMAR_SOURCE_DIR "/packaging/systemd/server.conf"));
    QCOMPARE(shipped.keys(), variables.keys());
    for (auto one = shipped.begin(); one != shipped.end(); ++one)
        QCOMPARE(one.value(), QStringList{variables.value(one.key())});

    // The program takes the command line that comes of it: it gets as far as the folder, which is not there.
    QStringList command = settings.value(QStringLiteral("ExecStart")).value(0).split(QLatin1Char(' '));
    QCOMPARE(command.takeFirst(), program);
    QVERIFY(variables.value(QStringLiteral("QUELMAR_DATABASE")).startsWith(QLatin1String("sqlite:/var/lib/quelmar/")));
    variables[QStringLiteral("QUELMAR_DATABASE")] = QStringLiteral("sqlite:/dev/null/store.sqlite");
    variables[QStringLiteral("QUELMAR_OPTIONS")] = QStringLiteral("--log failures");
    QStringList arguments;
    for (const QString& part : qAsConst(command)) {
        static const QRegularExpression whole(QStringLiteral("^\\$\\{([A-Z_]+)\\}$"));
        static const QRegularExpression split(QStringLiteral("^\\$([A-Z_]+)$"));
        if (whole.match(part).hasMatch())
            arguments.append(variables.value(whole.match(part).captured(1)));
        else if (split.match(part).hasMatch())
            arguments += variables.value(split.match(part).captured(1)).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        else
            arguments.append(part);
    }
    const ServerProcess::Outcome outcome = ServerProcess::run(arguments);
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY2(outcome.errors.contains("/dev/null"), outcome.errors.constData());
}

void TestServerService::userIsMade()
{
    QVERIFY(QDir(m_folder->path()).mkpath(QStringLiteral("etc")));
    const Outcome made = run(QStringLiteral("systemd-sysusers"),
                             {QStringLiteral("--root=") + m_folder->path(),
                              QStringLiteral(QUELMAR_SOURCE_DIR "/packaging/systemd/quelmar-server.sysusers")});
    QVERIFY2(made.exitCode == 0, made.output.constData());
    const QString user = settingsOf(unitPath).value(QStringLiteral("User")).value(0);
    const QString passwd = contentOf(m_folder->filePath(QStringLiteral("etc/passwd")));
    const QRegularExpression line(
        QStringLiteral("^%1:x:[1-9][0-9]*:[1-9][0-9]*:[^:]*:/var/lib/quelmar:/usr/sbin/nologin$").arg(user),
        QRegularExpression::MultilineOption);
    QVERIFY2(line.match(passwd).hasMatch(), qPrintable(passwd));
}

void TestServerService::tellsWhenItIsReady_data()
{
    QTest::addColumn<bool>("abstract");
    QTest::newRow("a path") << false;
    QTest::newRow("in no file system") << true;
}

void TestServerService::tellsWhenItIsReady()
{
    QFETCH(bool, abstract);
    const QByteArray name = abstract ? "quelmar-test-" + QByteArray::number(QCoreApplication::applicationPid())
                                     : m_folder->filePath(QStringLiteral("notify")).toUtf8();
    Listener listener(abstract ? '\0' + name : name);
    QVERIFY(listener.isSound());
    qputenv("NOTIFY_SOCKET", abstract ? '@' + name : name);
    ServerProcess server;
    server.launch(m_database->location());
    QCOMPARE(listener.next(), QByteArray("READY=1"));
    // The address is printed before, and connections are taken.
    QTRY_VERIFY_WITH_TIMEOUT(server.output().contains("listening on"), patience);
    QVERIFY(server.waitUntilItListens());
    QCOMPARE(ApiClient(server.url()).get(QStringLiteral("/health")).status, 200);
    QCOMPARE(server.stop(SIGTERM), 0);
    QCOMPARE(listener.next(), QByteArray("STOPPING=1"));
    QCOMPARE(listener.next(0), QByteArray());

    // One that does not come to serve says nothing.
    const auto failed = ServerProcess::run({QStringLiteral("--database"), QStringLiteral("sqlite:/dev/null/x")});
    QCOMPARE(failed.exitCode, 1);
    QCOMPARE(listener.next(0), QByteArray());
}

void TestServerService::startsWithoutAManager_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("nobody there") << QByteArray("/dev/null/notify");
    QTest::newRow("too long") << '/' + QByteArray(200, 'x');
    QTest::newRow("empty") << QByteArray("");
}

void TestServerService::startsWithoutAManager()
{
    QFETCH(QByteArray, name);
    qputenv("NOTIFY_SOCKET", name);
    ServerProcess server;
    QVERIFY(server.start(m_database->location()));
    QCOMPARE(server.stop(SIGTERM), 0);
    QCOMPARE(server.errors(), QByteArray());
}

bool TestServerService::startSandboxed(const QSet<QString>& calls, const QStringList& options)
{
    QFile list(m_folder->filePath(QStringLiteral("calls")));
    if (!list.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    list.write(QStringList(calls.values()).join(QLatin1Char('\n')).toUtf8());
    list.setPermissions(QFile::ReadOwner | QFile::ReadOther);
    list.close();
    QStringList families;
    const QMap<QString, int> known{{QStringLiteral("AF_INET"), AF_INET},
                                   {QStringLiteral("AF_INET6"), AF_INET6},
                                   {QStringLiteral("AF_UNIX"), AF_UNIX}};
    const QStringList named = settingsOf(unitPath)
                                  .value(QStringLiteral("RestrictAddressFamilies"))
                                  .value(0)
                                  .split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString& family : named)
        families.append(QString::number(known.value(family, 0)));

    // All is bound to places that nobody can reach, wherever it lies.
    const auto words = [](const char* text) { return QString::fromLatin1(text).split(QLatin1Char(' ')); };
    const QStringList arguments =
        words("--die-with-parent --ro-bind / / --dev /dev --proc /proc --perms 1777 --tmpfs /tmp --tmpfs /mnt "
              "--ro-bind") +
        QStringList{QStringLiteral(QUELMAR_SANDBOXED)} + words("/mnt/sandboxed --ro-bind") +
        QStringList{QStringLiteral(QUELMAR_SERVER)} + words("/mnt/quelmar-server --ro-bind") +
        QStringList{list.fileName()} + words("/mnt/calls --bind") +
        QStringList{m_folder->filePath(QStringLiteral("state"))} + words("/mnt/state /mnt/sandboxed /mnt/calls") +
        QStringList{families.join(QLatin1Char(','))} + words("/mnt/quelmar-server --listen 127.0.0.1:0") + options;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The search for leaks looks into the process from outside, which the sandbox does not let it.
    environment.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=0"));
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_output.clear();
    m_process.start(QStringLiteral("bwrap"), arguments);
    static const QRegularExpression line(QStringLiteral("listening on (\\S+)\n"));
    while (m_process.waitForReadyRead(patience)) {
        m_output += m_process.readAll();
        const QRegularExpressionMatch match = line.match(QString::fromUtf8(m_output));
        if (match.hasMatch()) {
            m_url = match.captured(1);
            return true;
        }
    }
    m_output += m_process.readAll();
    return false;
}

qint64 TestServerService::serverId() const
{
    // What prepares the file system stays as its parent.
    const qint64 started = m_process.processId();
    const QString child =
        contentOf(QStringLiteral("/proc/%1/task/%1/children").arg(started)).section(QLatin1Char(' '), 0, 0);
    return child.isEmpty() ? started : child.toLongLong();
}

int TestServerService::stopSandboxed()
{
    ::kill(pid_t(serverId()), SIGTERM);
    if (!m_process.waitForFinished(patience) || m_process.exitStatus() != QProcess::NormalExit)
        return -1;
    return m_process.exitCode();
}

void TestServerService::worksUnderTheRestrictions()
{
    if (!hasNamespaces())
        QSKIP("no namespaces can be made here, so that nothing of the unit's restrictions is tried");
    const QString state = m_folder->filePath(QStringLiteral("state"));
    QVERIFY(QDir().mkpath(state));
    if (::geteuid() == 0) {
        const passwd* nobody = ::getpwnam("nobody");
        QVERIFY(nobody != nullptr);
        QCOMPARE(::chown(state.toUtf8().constData(), nobody->pw_uid, nobody->pw_gid), 0);
    }
    const bool postgres = TestDatabase::isPostgres();
    const QSet<QString> calls = allowedCalls();
    QVERIFY(calls.contains(QStringLiteral("futex")) && calls.contains(QStringLiteral("execve")));
    QVERIFY(!calls.contains(QStringLiteral("chroot")) && !calls.contains(QStringLiteral("ptrace")));
    QVERIFY2(
        startSandboxed(calls, {QStringLiteral("--database"),
                               postgres ? m_database->location() : QStringLiteral("sqlite:/mnt/state/store.sqlite"),
                               QStringLiteral("--demo"), QStringLiteral("--simulate-devices"),
                               QStringLiteral("--simulate-seconds"), QStringLiteral("0")}),
        m_output.constData());

    const QString proc = QStringLiteral("/proc/%1/").arg(serverId());
    const QString status = contentOf(proc + QStringLiteral("status"));
    QCOMPARE(field(status, "Name"), QStringLiteral("quelmar-server"));
    QCOMPARE(field(status, "Seccomp"), QStringLiteral("2"));
    QCOMPARE(field(status, "NoNewPrivs"), QStringLiteral("1"));
    QCOMPARE(field(status, "CapEff").toULongLong(nullptr, 16), quint64(0));
    QVERIFY(field(status, "Uid").section(QLatin1Char('\t'), 0, 0) != QLatin1String("0"));

    ApiClient client(m_url);
    QCOMPARE(client.login(QStringLiteral("demo"), QStringLiteral("demo")).status, 200);
    QCOMPARE(client.get(QStringLiteral("/health")).status, 200);
    const QByteArray figures = client.get(QStringLiteral("/metrics")).body;
    QVERIFY2(!figures.contains("process_open_fds 0\n") && !figures.contains("process_resident_memory_bytes 0\n"),
             figures.constData());
    const QJsonObject person{{QStringLiteral("name"), QStringLiteral("Anna")},
                             {QStringLiteral("birthDate"), QStringLiteral("1980-05-17")},
                             {QStringLiteral("gender"), QStringLiteral("FEMALE")}};
    const QString patient =
        client.post(QStringLiteral("/patient"), person).object().value(QStringLiteral("id")).toString();
    QVERIFY(!patient.isEmpty());
    const QString record = client.upload(patient, testWave(440)).object().value(QStringLiteral("id")).toString();
    QVERIFY(!record.isEmpty());
    QCOMPARE(client.upload(patient, "no wave").status, 400);
    QCOMPARE(
        client.get(QStringLiteral("/patient/filter?size=5&needle=") + ApiClient::encodedNeedle(QStringLiteral("ann")))
            .status,
        200);
    const QString storage = client.get(QStringLiteral("/category/diagnostic/") + patient)
                                .array()
                                .first()
                                .toObject()
                                .value(QStringLiteral("storages"))
                                .toArray()
                                .first()
                                .toObject()
                                .value(QStringLiteral("id"))
                                .toString();
    const QJsonObject asked{{QStringLiteral("patientId"), patient},
                            {QStringLiteral("recordId"), record},
                            {QStringLiteral("storageId"), storage},
                            {QStringLiteral("records"), QJsonArray{record}},
                            {QStringLiteral("markers"), QJsonArray{QStringLiteral("note-a4")}},
                            {QStringLiteral("duration"), 1},
                            {QStringLiteral("deviceId"), QString()},
                            {QStringLiteral("command"), QString()}};
    for (const char* path : {"/analysis", "/analysis/summary", "/analysis/comparative", "/patient/questionnaire",
                             "/recipe", "/recipe/autospectrum", "/export/excel"}) {
        const ApiClient::Answer answer = client.post(QLatin1String(path), asked);
        QVERIFY2(answer.status == 200, QByteArray(path + answer.body).constData());
    }
    QCOMPARE(client
                 .post(QStringLiteral("/patient/device"),
                       {{QStringLiteral("patientId"), patient}, {QStringLiteral("deviceId"), QStringLiteral("device")}})
                 .status,
             200);
    QCOMPARE(client
                 .post(QStringLiteral("/command"),
                       {{QStringLiteral("patientId"), patient}, {QStringLiteral("command"), QStringLiteral("RECORD")}})
                 .status,
             200);
    QTRY_COMPARE_WITH_TIMEOUT(client.get(QStringLiteral("/record/") + patient).array().size(), 2, patience);
    QCOMPARE(
        client
            .post(QStringLiteral("/auth/password"), {{QStringLiteral("oldPassword"), QStringLiteral("demo")},
                                                     {QStringLiteral("newPassword"), QStringLiteral("other one")},
                                                     {QStringLiteral("repeatPassword"), QStringLiteral("other one")}})
            .status,
        200);
    QCOMPARE(stopSandboxed(), 0);
    m_output += m_process.readAll();
    QVERIFY2(m_output.contains("\nstopped\n"), m_output.constData());
    QVERIFY2(!m_output.contains("quelmar-server: "), m_output.constData());
    if (!postgres) {
        struct stat info
        {
        };
        QCOMPARE(::stat((state + QStringLiteral("/store.sqlite")).toUtf8().constData(), &info), 0);
        QCOMPARE(int(info.st_mode & 0777), 0600);
    }
}

void TestServerService::restrictionsHold()
{
    if (!hasNamespaces())
        QSKIP("no namespaces can be made here, so that nothing of the unit's restrictions is tried");
    const QString state = m_folder->filePath(QStringLiteral("state"));
    QVERIFY(QDir().mkpath(state));
    QFile(state).setPermissions(QFile::ReadOther | QFile::WriteOther | QFile::ExeOther | QFile::ReadOwner |
                                QFile::WriteOwner | QFile::ExeOwner);
    // A place that the unit does not let it write to.
    QVERIFY(!startSandboxed(allowedCalls(),
                            {QStringLiteral("--database"), QStringLiteral("sqlite:/var/tmp/quelmar-test.sqlite")}));
    QVERIFY2(m_output.contains("quelmar-server: cannot use the database /var/tmp/"), m_output.constData());
    QVERIFY(m_process.state() == QProcess::NotRunning || m_process.waitForFinished(patience));
    QCOMPARE(m_process.exitCode(), 1);
    QVERIFY(!QFile::exists(QStringLiteral("/var/tmp/quelmar-test.sqlite")));

    // A call that is taken away is missed.
    QSet<QString> fewer = allowedCalls();
    QVERIFY(fewer.remove(QStringLiteral("listen")));
    QVERIFY(fewer.remove(QStringLiteral("bind")));
    QVERIFY(!startSandboxed(fewer, {QStringLiteral("--database"), QStringLiteral("sqlite:/mnt/state/store.sqlite")}));
    QVERIFY2(m_output.contains("quelmar-server: cannot listen on "), m_output.constData());
}

QTEST_GUILESS_MAIN(TestServerService)

#include "TestServerService.moc"
