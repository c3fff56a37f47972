// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/Authentication.h"

#include <QTest>

class TestAuthentication : public QObject
{
    Q_OBJECT

private slots:
    void startsEmpty();
    void takesAllValues();
    void takesDefaultsForWhatIsMissing_data();
    void takesDefaultsForWhatIsMissing();
    void replacesTheTokenAlone();
    void setsTheCase_data();
    void setsTheCase();
};

namespace {

QJsonObject session()
{
    return {
        {QStringLiteral("accessToken"), QStringLiteral("T0k\u00e9n")},
        {QStringLiteral("country"), QStringLiteral("RU")},
        {QStringLiteral("language"), QStringLiteral("ru")},
        {QStringLiteral("tokenType"), QStringLiteral("Bearer")},
        {QStringLiteral("expiredAt"), QStringLiteral("no date at all")},
    };
}

} // namespace

void TestAuthentication::startsEmpty()
{
    const Authentication* const authentication = Authentication::getInstance();
    QCOMPARE(Authentication::getInstance(), authentication);
    QVERIFY(!authentication->isAuthenticated());
    QCOMPARE(authentication->getAuthHeader(), QByteArrayLiteral(" "));
    QCOMPARE(authentication->getAcceptLanguage(), QByteArrayLiteral("-"));
    QCOMPARE(authentication->getLocale(), QStringLiteral("_"));
    QCOMPARE(authentication->getExpiredAt(), QString());
}

void TestAuthentication::takesAllValues()
{
    Authentication* const authentication = Authentication::getInstance();
    authentication->init(session());
    QVERIFY(authentication->isAuthenticated());
    QCOMPARE(authentication->getAuthHeader(), QByteArrayLiteral("Bearer T0k\xc3\xa9n"));
    QCOMPARE(authentication->getAcceptLanguage(), QByteArrayLiteral("ru-RU"));
    QCOMPARE(authentication->getLocale(), QStringLiteral("ru_RU"));
    QCOMPARE(authentication->getExpiredAt(), QStringLiteral("no date at all"));
}

void TestAuthentication::takesDefaultsForWhatIsMissing_data()
{
    QTest::addColumn<QJsonObject>("json");
    QTest::newRow("empty") << QJsonObject();
    QJsonObject wrong;
    QJsonObject null;
    const QJsonObject full = session();
    for (const QString& key : full.keys()) {
        wrong.insert(key, 42);
        null.insert(key, QJsonValue::Null);
    }
    QTest::newRow("numbers") << wrong;
    QTest::newRow("nulls") << null;
}

void TestAuthentication::takesDefaultsForWhatIsMissing()
{
    QFETCH(QJsonObject, json);
    Authentication* const authentication = Authentication::getInstance();
    authentication->init(session());
    authentication->init(json);
    startsEmpty();
}

void TestAuthentication::replacesTheTokenAlone()
{
    Authentication* const authentication = Authentication::getInstance();
    authentication->init(session());
    authentication->update({
        {QStringLiteral("accessToken"), QStringLiteral("new")},
        {QStringLiteral("country"), QStringLiteral("US")},
        {QStringLiteral("language"), QStringLiteral("en")},
        {QStringLiteral("tokenType"), QStringLiteral("Other")},
        {QStringLiteral("expiredAt"), QStringLiteral("later")},
    });
    QCOMPARE(authentication->getAuthHeader(), QByteArrayLiteral("Bearer new"));
    QCOMPARE(authentication->getLocale(), QStringLiteral("ru_RU"));
    QCOMPARE(authentication->getExpiredAt(), QStringLiteral("no date at all"));

    authentication->update({});
    QVERIFY(!authentication->isAuthenticated());
    QCOMPARE(authentication->getAuthHeader(), QByteArrayLiteral("Bearer "));
    QCOMPARE(authentication->getLocale(), QStringLiteral("ru_RU"));
}

void TestAuthentication::setsTheCase_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("country");
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QString>("locale");
    QTest::newRow("lower") << QStringLiteral("en") << QStringLiteral("us") << QByteArray("en-US")
                           << QStringLiteral("en_US");
    QTest::newRow("upper") << QStringLiteral("EN") << QStringLiteral("US") << QByteArray("en-US")
                           << QStringLiteral("en_US");
    QTest::newRow("no country") << QStringLiteral("De") << QString() << QByteArray("de-") << QStringLiteral("de_");
}

void TestAuthentication::setsTheCase()
{
    QFETCH(QString, language);
    QFETCH(QString, country);
    Authentication* const authentication = Authentication::getInstance();
    authentication->init({{QStringLiteral("language"), language}, {QStringLiteral("country"), country}});
    QTEST(authentication->getAcceptLanguage(), "header");
    QTEST(authentication->getLocale(), "locale");
}

QTEST_GUILESS_MAIN(TestAuthentication)
#include "TestAuthentication.moc"
