// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/ViewAnalysis.h"
#include "analysis/ViewComparativeAnalysis.h"
#include "analysis/ViewRecoveryHistory.h"
#include "app/DialogAbout.h"
#include "app/DialogChangePassword.h"
#include "app/MainWindow.h"
#include "model/PatientManager.h"
#include "net/Controller.h"
#include "net/DialogLogin.h"
#include "net/FileTransfer.h"
#include "net/HttpReply.h"
#include "net/NetworkHttpReply.h"
#include "patients/CheckBoxHeader.h"
#include "patients/DialogManageDevices.h"
#include "patients/FormPatient.h"
#include "patients/RecordDelegate.h"
#include "patients/RecordModel.h"
#include "patients/ViewPatient.h"
#include "patients/ViewPatients.h"
#include "recipe/ReceiptModel.h"
#include "recipe/ViewImpact.h"
#include "recipe/ViewReceipt.h"
#include "signal/AudioRecorder.h"
#include "signal/DialogAutospectrum.h"
#include "signal/DialogPlayer.h"
#include "tests/support/MessageGuard.h"

#include <QActionGroup>
#include <QApplication>
#include <QAudioProbe>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QMap>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QSpinBox>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <memory>

namespace {

constexpr int patience = 60000;

const QString root = QStringLiteral(QUELMAR_SOURCE_DIR);

/// Every class that the connections by name speak of.
const QMap<QString, const QMetaObject*>& classes()
{
    static const QList<const QMetaObject*> all{
        &AudioRecorder::staticMetaObject,
        &CheckBoxHeader::staticMetaObject,
        &Controller::staticMetaObject,
        &DialogAbout::staticMetaObject,
        &DialogAutospectrum::staticMetaObject,
        &DialogChangePassword::staticMetaObject,
        &DialogLogin::staticMetaObject,
        &DialogManageDevices::staticMetaObject,
        &DialogPlayer::staticMetaObject,
        &FileTransfer::staticMetaObject,
        &FormPatient::staticMetaObject,
        &HttpReply::staticMetaObject,
        &MainWindow::staticMetaObject,
        &NetworkHttpReply::staticMetaObject,
        &PatientManager::staticMetaObject,
        &ReceiptModel::staticMetaObject,
        &RecordDelegate::staticMetaObject,
        &RecordModel::staticMetaObject,
        &ViewAnalysis::staticMetaObject,
        &ViewComparativeAnalysis::staticMetaObject,
        &ViewImpact::staticMetaObject,
        &ViewPatient::staticMetaObject,
        &ViewPatients::staticMetaObject,
        &ViewReceipt::staticMetaObject,
        &ViewRecoveryHistory::staticMetaObject,
        &QAction::staticMetaObject,
        &QActionGroup::staticMetaObject,
        &QAudioProbe::staticMetaObject,
        &QCheckBox::staticMetaObject,
        &QComboBox::staticMetaObject,
        &QLineEdit::staticMetaObject,
        &QNetworkAccessManager::staticMetaObject,
        &QNetworkReply::staticMetaObject,
        &QPushButton::staticMetaObject,
        &QSpinBox::staticMetaObject,
        &QTabWidget::staticMetaObject,
        &QTableView::staticMetaObject,
        &QTimer::staticMetaObject,
    };
    static const QMap<QString, const QMetaObject*> byName = [] {
        QMap<QString, const QMetaObject*> map;
        for (const QMetaObject* const one : all) {
            map.insert(QString::fromLatin1(one->className()), one);
        }
        return map;
    }();
    return byName;
}

/// One connect() or disconnect() by name.
struct Connection
{
    /// "MainWindow.cpp:45"
    QString place;
    /// The classes that the sender may have; empty if nothing says so.
    QStringList senders;
    QStringList receivers;
    QByteArray signal;
    QByteArray slot;
    /// As they stand there, for a failure.
    QString sender;
    QString receiver;
};

QString read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// What stands in the parentheses that open at `at`, cut at its commas; empty if they do not close.
QStringList arguments(const QString& text, int at)
{
    QStringList parts;
    int depth = 0;
    int from = at + 1;
    for (int i = at; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('(') || c == QLatin1Char('{')) {
            ++depth;
        } else if (c == QLatin1Char(')') || c == QLatin1Char('}')) {
            --depth;
        }
        if (depth == 0 || (depth == 1 && c == QLatin1Char(','))) {
            parts.append(text.mid(from, i - from).simplified());
            from = i + 1;
        }
        if (depth == 0) {
            return parts;
        }
    }
    return {};
}

/// Class of the widget or action with this name in the form of a class.
QString classInForm(const QString& form, const QString& name)
{
    const QString text = read(form);
    if (QRegularExpression(QStringLiteral("<action name=\"%1\"").arg(name)).match(text).hasMatch()) {
        return QStringLiteral("QAction");
    }
    return QRegularExpression(QStringLiteral("<widget class=\"(\\w+)\" name=\"%1\"").arg(name)).match(text).captured(1);
}

/// The class that the declaration of a pointer names: the nearest one before `at`, or the one in the header.
QString classOfVariable(const QString& source, int at, const QString& header, const QString& name)
{
    const QRegularExpression declaration(
        QStringLiteral("\\b%1\\s*(?:=|\\()\\s*new (\\w+)\\b|\\b(?!auto\\b|return\\b)(\\w+)\\s*\\*\\s*(?:const )?%1\\b|"
                       "<(\\w+)>\\s+%1\\b|\\b%1\\(std::make_unique<(\\w+)>")
            .arg(name));
    const auto captured = [](const QRegularExpressionMatch& match) {
        return match.captured(1) + match.captured(2) + match.captured(3) + match.captured(4);
    };
    QString found;
    QRegularExpressionMatchIterator before = declaration.globalMatch(source.left(at));
    while (before.hasNext()) {
        found = captured(before.next());
    }
    return found.isEmpty() ? captured(declaration.match(header)) : found;
}

/// Classes of what stands in a connect() as sender or receiver.
QStringList classesOf(const QFileInfo& file, const QString& source, int at, const QString& expression)
{
    // These two are of any class that has what is asked for.
    static const QMap<QString, QStringList> known{
        {QStringLiteral("ViewImpact.cpp parent"), {QStringLiteral("MainWindow")}},
        {QStringLiteral("MainWindow.cpp screen"),
         {QStringLiteral("ViewAnalysis"), QStringLiteral("ViewComparativeAnalysis"),
          QStringLiteral("ViewRecoveryHistory"), QStringLiteral("ViewReceipt"), QStringLiteral("ViewImpact")}},
    };
    const auto listed = known.constFind(file.fileName() + QLatin1Char(' ') + expression);
    if (listed != known.cend()) {
        return *listed;
    }
    const QString path = file.path() + QLatin1Char('/') + file.completeBaseName();
    if (expression == QLatin1String("this")) {
        return {file.completeBaseName()};
    }
    const QString form = QStringLiteral("ui->");
    const QString name = expression.startsWith(form)
                             ? classInForm(path + QStringLiteral(".ui"), expression.mid(form.size()))
                             : classOfVariable(source, at, read(path + QStringLiteral(".h")), expression);
    return name.isEmpty() ? QStringList() : QStringList(name);
}

/// The signature in SIGNAL() or SLOT(); empty if it is neither.
QByteArray signature(const QString& argument)
{
    const QRegularExpressionMatch match =
        QRegularExpression(QStringLiteral("^(?:SIGNAL|SLOT)\\((.*)\\)$")).match(argument);
    return match.hasMatch() ? QMetaObject::normalizedSignature(match.captured(1).toLatin1().constData()) : QByteArray();
}

/// The sources of the client.
QStringList sources()
{
    QStringList paths;
    for (const char* const folder : {"app", "net", "model", "patients", "signal", "analysis", "recipe"}) {
        QDirIterator files(root + QLatin1Char('/') + QString::fromLatin1(folder),
                           {QStringLiteral("*.cpp"), QStringLiteral("*.h")}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            paths.append(files.next());
        }
    }
    paths.sort();
    return paths;
}

int countOf(const QString& text, const QString& pattern)
{
    int count = 0;
    QRegularExpressionMatchIterator found = QRegularExpression(pattern).globalMatch(text);
    while (found.hasNext()) {
        found.next();
        ++count;
    }
    return count;
}

/// The connections by name of one source, and how many names those have.
QList<Connection> connectionsIn(const QString& path, int* names)
{
    const QFileInfo file(path);
    const QString source = read(path);
    QList<Connection> connections;
    *names = 0;
    QRegularExpressionMatchIterator calls =
        QRegularExpression(QStringLiteral("\\b(?:dis)?connect\\(")).globalMatch(source);
    while (calls.hasNext()) {
        const QRegularExpressionMatch call = calls.next();
        const QStringList parts = arguments(source, call.capturedEnd() - 1);
        if (parts.size() < 4 || signature(parts.at(1)).isEmpty() || signature(parts.at(3)).isEmpty()) {
            continue;
        }
        Connection one;
        one.place = QStringLiteral("%1:%2")
                        .arg(file.fileName())
                        .arg(source.leftRef(call.capturedStart()).count(QLatin1Char('\n')) + 1);
        one.sender = parts.at(0);
        one.receiver = parts.at(2);
        one.senders = classesOf(file, source, call.capturedStart(), one.sender);
        one.receivers = classesOf(file, source, call.capturedStart(), one.receiver);
        one.signal = signature(parts.at(1));
        one.slot = signature(parts.at(3));
        *names += 2;
        connections.append(one);
    }
    return connections;
}

/// What Qt logs of a connection that fails, and of a call by name that does.
const QMap<QString, QByteArray>& failures()
{
    static const QMap<QString, QByteArray> all{
        {QStringLiteral("no such slot"), "QObject::connect: No such slot "},
        {QStringLiteral("no such signal"), "QObject::connect: No such signal "},
        {QStringLiteral("other arguments"), "QObject::connect: Incompatible sender/receiver arguments"},
        {QStringLiteral("no sender"), "QObject::connect: Cannot connect (nullptr)::"},
        {QStringLiteral("no receiver of a functor"), "invalid nullptr parameter"},
        {QStringLiteral("type that cannot be queued"), "QObject::connect: Cannot queue arguments of type"},
        {QStringLiteral("disconnect"), "QObject::disconnect: No such signal "},
        {QStringLiteral("no such method"), "QMetaObject::invokeMethod: No such method "},
        {QStringLiteral("slot by the name of no widget"), "QMetaObject::connectSlotsByName: No matching signal for "},
        {QStringLiteral("timer without a slot"), "QObject::connect: No such slot "},
    };
    return all;
}

struct Unknown
{
};

} // namespace

Q_DECLARE_METATYPE(Connection)

/// Run in processes of its own: a connection that fails, or none. Some fail by a name that clazy would find.
class Inside : public QObject
{
    Q_OBJECT

signals:
    void numbered(int number);
    void queued(const Unknown& value); // clazy:exclude=fully-qualified-moc-types

public:
    explicit Inside(bool isGuarded)
        : guarded(isGuarded)
    {
    }

public slots:
    void named(const QString&) {}
    void on_nowhere_clicked() {}  // clazy:exclude=connect-by-name
    void taken(const Unknown&) {} // clazy:exclude=fully-qualified-moc-types

private slots:
    void initTestCase() { guard = std::make_unique<MessageGuard>(); }
    void cleanup();
    void fails_data();
    void fails();
    void works();

private:
    const bool guarded;
    std::unique_ptr<MessageGuard> guard;
};

void Inside::cleanup()
{
    if (guarded) {
        guard->verify();
    }
}

void Inside::fails_data()
{
    QTest::addColumn<QString>("kind");
    for (const QString& kind : failures().keys()) {
        QTest::newRow(qPrintable(kind)) << kind;
    }
}

void Inside::fails()
{
    QFETCH(QString, kind);
    const QObject* const nobody = nullptr;
    if (kind == QLatin1String("no such slot")) {
        connect(this, SIGNAL(numbered(int)), this, SLOT(absent(int)));
    } else if (kind == QLatin1String("no such signal")) {
        connect(this, SIGNAL(absent(int)), this, SLOT(named(QString)));
    } else if (kind == QLatin1String("other arguments")) {
        connect(this, SIGNAL(numbered(int)), this, SLOT(named(QString)));
    } else if (kind == QLatin1String("no sender")) {
        // cppcheck-suppress nullPointer ; what Qt says of it is what is looked for
        connect(nobody, SIGNAL(destroyed()), this, SLOT(deleteLater()));
    } else if (kind == QLatin1String("no receiver of a functor")) {
        // cppcheck-suppress nullPointer ; likewise
        connect(this, &Inside::numbered, nobody, [] {});
    } else if (kind == QLatin1String("type that cannot be queued")) {
        connect(this, SIGNAL(queued(Unknown)), this, SLOT(taken(Unknown)), Qt::QueuedConnection);
        emit queued(Unknown());
    } else if (kind == QLatin1String("disconnect")) {
        disconnect(this, SIGNAL(absent(int)), this, SLOT(named(QString)));
    } else if (kind == QLatin1String("no such method")) {
        QMetaObject::invokeMethod(this, "absent");
    } else if (kind == QLatin1String("slot by the name of no widget")) {
        QMetaObject::connectSlotsByName(this);
    } else if (kind == QLatin1String("timer without a slot")) {
        QTimer::singleShot(1, this, SLOT(absent()));
    } else {
        QFAIL(qPrintable(kind));
    }
    QVERIFY(guard->messages().join(QLatin1Char('\n')).contains(QString::fromLatin1(failures().value(kind))));
}

void Inside::works()
{
    connect(this, SIGNAL(numbered(int)), this, SLOT(deleteLater()));
    disconnect(this, SIGNAL(numbered(int)), this, SLOT(deleteLater()));
}

/// Connections by name fail at run time only, and Qt does no more than log it. Each one of the client's is looked up,
/// and no test program may pass that logs such a failure.
class TestConnections : public QObject
{
    Q_OBJECT

private slots:
    void everyNameIsRead();
    void namesExist_data();
    void namesExist();
    void slotsOfFormsExist();
    void guardFailsTheTest_data();
    void guardFailsTheTest();
    void runnerFailsTheProgram_data();
    void runnerFailsTheProgram();
    void everyEntryIsWatched();
};

void TestConnections::everyNameIsRead()
{
    int total = 0;
    for (const QString& path : sources()) {
        int names = 0;
        connectionsIn(path, &names);
        // A use in another form, a timer's for instance, has to be taught to this test.
        QVERIFY2(countOf(read(path), QStringLiteral("\\b(?:SIGNAL|SLOT)\\(")) == names, qPrintable(path));
        total += names;
    }
    QVERIFY(total > 200);
}

void TestConnections::namesExist_data()
{
    QTest::addColumn<Connection>("connection");
    int names = 0;
    for (const QString& path : sources()) {
        for (const Connection& one : connectionsIn(path, &names)) {
            QTest::newRow(qPrintable(one.place)) << one;
        }
    }
}

void TestConnections::namesExist()
{
    QFETCH(Connection, connection);
    QVERIFY2(!connection.senders.isEmpty(), qPrintable(connection.sender));
    QVERIFY2(!connection.receivers.isEmpty(), qPrintable(connection.receiver));
    for (const QString& name : connection.senders) {
        const QMetaObject* const sender = classes().value(name);
        QVERIFY2(sender != nullptr, qPrintable(name + QStringLiteral(" is not among the classes of this test")));
        QVERIFY2(sender->indexOfSignal(connection.signal.constData()) >= 0,
                 (name.toLatin1() + " has no signal " + connection.signal).constData());
    }
    for (const QString& name : connection.receivers) {
        const QMetaObject* const receiver = classes().value(name);
        QVERIFY2(receiver != nullptr, qPrintable(name + QStringLiteral(" is not among the classes of this test")));
        QVERIFY2(receiver->indexOfSlot(connection.slot.constData()) >= 0,
                 (name.toLatin1() + " has no slot " + connection.slot).constData());
    }
    QVERIFY2(QMetaObject::checkConnectArgs(connection.signal.constData(), connection.slot.constData()),
             (connection.signal + " does not go with " + connection.slot).constData());
}

void TestConnections::slotsOfFormsExist()
{
    // uic connects them by their names when it builds the form.
    int count = 0;
    for (const QString& path : sources()) {
        const QFileInfo file(path);
        if (file.suffix() != QLatin1String("h")) {
            continue;
        }
        const QRegularExpression slot(QStringLiteral("\\bvoid on_(\\w+)_([a-zA-Z]+)\\(([^)]*)\\)"));
        QRegularExpressionMatchIterator found = slot.globalMatch(read(path));
        while (found.hasNext()) {
            const QRegularExpressionMatch match = found.next();
            const QByteArray name = match.captured(0).toLatin1();
            const QMetaObject* const owner = classes().value(file.completeBaseName());
            const QMetaObject* const widget = classes().value(classInForm(
                file.path() + QLatin1Char('/') + file.completeBaseName() + QStringLiteral(".ui"), match.captured(1)));
            QVERIFY2(owner != nullptr && widget != nullptr, name.constData());
            bool fits = false;
            for (int i = 0; i < owner->methodCount(); ++i) {
                const QMetaMethod method = owner->method(i);
                for (int j = 0; j < widget->methodCount(); ++j) {
                    const QMetaMethod signal = widget->method(j);
                    fits =
                        fits ||
                        (method.name() == "on_" + match.captured(1).toLatin1() + '_' + match.captured(2).toLatin1() &&
                         method.methodType() == QMetaMethod::Slot && signal.methodType() == QMetaMethod::Signal &&
                         signal.name() == match.captured(2).toLatin1() &&
                         QMetaObject::checkConnectArgs(signal, method));
                }
            }
            QVERIFY2(fits, name.constData());
            ++count;
        }
    }
    QVERIFY(count > 0);
}

void TestConnections::guardFailsTheTest_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("none") << QStringLiteral("works") << QByteArray();
    for (auto one = failures().cbegin(); one != failures().cend(); ++one) {
        QTest::newRow(qPrintable(one.key())) << QStringLiteral("fails:%1").arg(one.key()) << one.value();
    }
}

void TestConnections::guardFailsTheTest()
{
    QFETCH(QString, function);
    QFETCH(QByteArray, message);
    for (const bool isGuarded : {false, true}) {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QCoreApplication::applicationFilePath(),
                      {isGuarded ? QStringLiteral("--guarded") : QStringLiteral("--bare"), function});
        QVERIFY(process.waitForFinished(patience));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        const QByteArray output = process.readAll();
        QVERIFY(output.contains(message));
        // By the guard alone, and by nothing else.
        const bool fails = isGuarded && !message.isEmpty();
        QCOMPARE(process.exitCode(), fails ? 1 : 0);
        QCOMPARE(output.contains("FAIL!"), fails);
    }
}

void TestConnections::runnerFailsTheProgram_data()
{
    guardFailsTheTest_data();
}

void TestConnections::runnerFailsTheProgram()
{
    // A program that has no guard, and passes by itself.
    QFETCH(QString, function);
    QFETCH(QByteArray, message);
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("CTestTestfile.cmake")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("add_test(one \"" + QCoreApplication::applicationFilePath().toUtf8() + "\" --bare \"" +
               function.toUtf8() + "\")\nset_tests_properties(one PROPERTIES FAIL_REGULAR_EXPRESSION \"" +
               QByteArray(QUELMAR_FORBIDDEN_OUTPUT) + "\")\n");
    file.close();
    QProcess runner;
    runner.setProcessChannelMode(QProcess::MergedChannels);
    runner.setWorkingDirectory(folder.path());
    runner.start(QStringLiteral(QUELMAR_CTEST), {QStringLiteral("-V")});
    QVERIFY(runner.waitForFinished(patience));
    const QByteArray output = runner.readAll();
    QVERIFY2(output.contains(message), output.constData());
    QVERIFY2(output.contains(" 0 failed"), output.constData());
    QVERIFY2(output.contains("Error regular expression found in output") != message.isEmpty(), output.constData());
    QCOMPARE(runner.exitCode() == 0, message.isEmpty());
}

void TestConnections::everyEntryIsWatched()
{
    QProcess runner;
    runner.setWorkingDirectory(QStringLiteral(QUELMAR_BINARY_DIR));
    runner.start(QStringLiteral(QUELMAR_CTEST),
                 {QStringLiteral("-C"), QStringLiteral("Long"), QStringLiteral("--show-only=json-v1")});
    QVERIFY(runner.waitForFinished(patience));
    const QJsonArray tests =
        QJsonDocument::fromJson(runner.readAllStandardOutput()).object().value(QLatin1String("tests")).toArray();
    int programs = 0;
    for (const QJsonValue& value : tests) {
        const QJsonObject test = value.toObject();
        const QString command =
            QString::fromUtf8(QJsonDocument(test.value(QLatin1String("command")).toArray()).toJson());
        if (!command.contains(QRegularExpression(QStringLiteral("/Test\\w+\"")))) {
            continue;
        }
        ++programs;
        QJsonValue forbidden;
        const QJsonArray properties = test.value(QLatin1String("properties")).toArray();
        for (const QJsonValue& property : properties) {
            if (property.toObject().value(QLatin1String("name")).toString() ==
                QLatin1String("FAIL_REGULAR_EXPRESSION")) {
                forbidden = property.toObject().value(QLatin1String("value"));
            }
        }
        QVERIFY2(forbidden.toArray().contains(QStringLiteral(QUELMAR_FORBIDDEN_OUTPUT)),
                 qPrintable(test.value(QLatin1String("name")).toString()));
    }
    QVERIFY(programs > 80);
}

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    const QStringList given = QCoreApplication::arguments();
    const QString first = given.value(1);
    if (first == QLatin1String("--guarded") || first == QLatin1String("--bare")) {
        Inside inside(first == QLatin1String("--guarded"));
        return QTest::qExec(&inside, QStringList{given.value(0)} + given.mid(2));
    }
    TestConnections test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestConnections.moc"
