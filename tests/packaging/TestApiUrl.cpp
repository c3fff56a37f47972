// SPDX-License-Identifier: GPL-3.0-or-later
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

/// What the build takes for the address of the server, by the very script that it asks when it is configured.
class TestApiUrl : public QObject
{
    Q_OBJECT

private slots:
    void takes_data();
    void takes();
    void refuses_data();
    void refuses();
    void isAskedByTheBuild();

private:
    /// True if the script was content, false if it ended with an error that stands in `errors` then.
    static bool ask(const QString& url, QString& errors);
};

bool TestApiUrl::ask(const QString& url, QString& errors)
{
    QProcess cmake;
    cmake.start(QStringLiteral(QUELMAR_CMAKE), {QStringLiteral("-DQUELMAR_API_URL:STRING=") + url, QStringLiteral("-P"),
                                                QStringLiteral(QUELMAR_SOURCE_DIR "/cmake/CheckApiUrl.cmake")});
    const bool ended = cmake.waitForFinished(60000) && cmake.exitStatus() == QProcess::NormalExit;
    // The script's lines are broken and indented by CMake.
    errors = QString::fromUtf8(cmake.readAllStandardError()).simplified();
    if (!ended) {
        errors = QStringLiteral("cmake did not end");
    }
    return ended && cmake.exitCode() == 0 && errors.isEmpty();
}

void TestApiUrl::takes_data()
{
    QTest::addColumn<QString>("url");
    for (const char* const url : {"https://quelmar.example.org",
                                  "https://quelmar.example.org:8443",
                                  "https://quelmar.example.org/api/v2",
                                  "https://quelmar",
                                  "https://a-b.c0.example",
                                  "HTTPS://Quelmar.Example.ORG",
                                  "https://203.0.113.7",
                                  "https://[2001:db8::7]:443/api",
                                  "https://[1:2:3:4:5:6:7:8]",
                                  "https://[::]",
                                  "https://a:65535",
                                  "https://a:1",
                                  "https://a/~b/%D0%B0/c.d",
                                  "https://localhost",
                                  "http://127.0.0.1:18620",
                                  "http://127.0.0.1",
                                  "http://127.255.255.254",
                                  "http://127.0.0.1/api",
                                  "http://[::1]",
                                  "http://[::1]:18620",
                                  "http://[0:0:0:0:0:0:0:1]",
                                  "http://[::0001]",
                                  "http://localhost",
                                  "http://localhost:18620",
                                  "http://LocalHost",
                                  "HTTP://127.0.0.1"}) {
        QTest::newRow(url) << QString::fromLatin1(url);
    }
    const QString label(63, QLatin1Char('a'));
    QTest::newRow("longest label") << QStringLiteral("https://") + label;
    QTest::newRow("longest host") << QStringLiteral("https://%1.%1.%1.%2").arg(label, label.left(61));
}

void TestApiUrl::takes()
{
    QFETCH(QString, url);
    QString errors;
    QVERIFY2(ask(url, errors), errors.toLocal8Bit().constData());
}

void TestApiUrl::refuses_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("reason");
    const auto add = [](const char* reason, std::initializer_list<const char*> urls) {
        for (const char* const url : urls) {
            QTest::newRow(*url == '\0' ? "nothing" : url) << QString::fromUtf8(url) << QString::fromLatin1(reason);
        }
    };
    add("has to be https://, as the server is not on this machine",
        {"http://quelmar.example.org", "http://203.0.113.7", "http://128.0.0.1", "http://10.127.0.1", "http://0.0.0.0",
         "http://[::]", "http://[::2]", "http://[::11]", "http://[1::1]", "http://[2001:db8::1]", "http://[::1:1]",
         "http://localhost.example.org", "http://localhost.localdomain", "http://notlocalhost", "http://127.example",
         "http://a:443", "HTTP://quelmar.example.org"});
    add("must not end with a slash",
        {"https://a/", "https://a/api/", "http://127.0.0.1:18620/", "https://a//", "https:///"});
    add("is empty", {""});
    add("has to begin with https:// or http://", {"quelmar.example.org", "ftp://a", "https:a", "https:/a", "//a",
                                                  " https://a", "httpss://a", "xhttps://a", "file:///tmp"});
    add("must have neither query nor fragment", {"https://a?b=c", "https://a#b", "https://a/?", "https://a/b?c/d"});
    add("must not hold a name or a password",
        {"https://user@a", "https://user:secret@a", "http://127.0.0.1@a.example"});
    add("has no valid host", {"https://",
                              "https://:443",
                              "https://a..b",
                              "https://.a",
                              "https://a.",
                              "https://-a",
                              "https://a-",
                              "https://a.-b",
                              "https://a_b",
                              "https://a b",
                              "https://a\tb",
                              "https://a\nb",
                              "https://a;b",
                              "https://a\"b",
                              "https://a\\b",
                              "https://a$b",
                              "https://\xd0\xb0",
                              "https://256.0.0.1",
                              "https://1.2.3",
                              "https://1.2.3.4.5",
                              "https://1.2.3.04",
                              "https://127.1",
                              "https://2130706433",
                              "https://a.1",
                              "https://[::1",
                              "https://[]",
                              "https://[1:2:3:4:5:6:7]",
                              "https://[1:2:3:4:5:6:7:8:9]",
                              "https://[1::2::3]",
                              "https://[:::]",
                              "https://[:1::]",
                              "https://[1::2:]",
                              "https://[12345::]",
                              "https://[::g]",
                              "https://[127.0.0.1]",
                              "https://[1:2:3:4:5:6:7:8::]"});
    add("has no valid port",
        {"https://a:", "https://a:0", "https://a:65536", "https://a:100000", "https://a:080", "https://a:x",
         "https://a:-1", "https://a:1:2", "https://[::1]a", "https://[::1]:", "https://[::1]:70000"});
    add("has no valid path",
        {"https://a//b", "https://a/b c", "https://a/\"b", "https://a/b\\c", "https://a/$b", "https://a/b;c",
         "https://a/%zz", "https://a/%4", "https://a/..", "https://a/./b", "https://a/../b", "https://a/\xd0\xb0"});
    const QString label(63, QLatin1Char('a'));
    QTest::newRow("label too long") << QStringLiteral("https://a") + label << QStringLiteral("has no valid host");
    QTest::newRow("host too long") << QStringLiteral("https://%1.%1.%1.%1").arg(label)
                                   << QStringLiteral("has no valid host");
}

void TestApiUrl::refuses()
{
    QFETCH(QString, url);
    QFETCH(QString, reason);
    QString errors;
    QVERIFY(!ask(url, errors));
    QVERIFY2(errors.contains(QStringLiteral("QUELMAR_API_URL ") + reason), errors.toLocal8Bit().constData());
}

void TestApiUrl::isAskedByTheBuild()
{
    QProcess cmake;
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    cmake.start(QStringLiteral(QUELMAR_CMAKE),
                {QStringLiteral("-S"), QStringLiteral(QUELMAR_SOURCE_DIR), QStringLiteral("-B"), folder.path(),
                 QStringLiteral("-DQUELMAR_API_URL=http://quelmar.example.org")});
    QVERIFY(cmake.waitForFinished(60000));
    QVERIFY(cmake.exitCode() != 0);
    const QString errors = QString::fromUtf8(cmake.readAllStandardError()).simplified();
    QVERIFY2(errors.contains(QLatin1String("QUELMAR_API_URL has to be https://")), errors.toLocal8Bit().constData());
}

QTEST_GUILESS_MAIN(TestApiUrl)
#include "TestApiUrl.moc"
