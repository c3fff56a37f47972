// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/Utils.h"
#include "tests/signal/EmulatedSensor.h"

#include <QTest>

/// The real USB library on an emulated bus. The library keeps its view of the bus for the life of the process, so
/// each function is a process of its own.
class TestDeviceIdEmulated : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void withSerial();
    void withoutSerial();
    void laterVersion();
    void noDevice();
    void pluggedLater();
};

void TestDeviceIdEmulated::initTestCase()
{
    QVERIFY2(EmulatedSensor::isAvailable(), "Run this program under umockdev-wrapper");
}

void TestDeviceIdEmulated::withSerial()
{
    EmulatedSensor sensor;
    QVERIFY(sensor.plug("Quelmar USB v1.0", "Q-2021-000042"));
    QCOMPARE(Utils::getDeviceId(), QStringLiteral("Q-2021-000042"));
    QVERIFY(sensor.reads() > 0);
    // A second walk over the bus finds it as well.
    QCOMPARE(Utils::getDeviceId(), QStringLiteral("Q-2021-000042"));
}

void TestDeviceIdEmulated::withoutSerial()
{
    EmulatedSensor sensor;
    QVERIFY(sensor.plug("Quelmar USB v1.0", std::string()));
    QCOMPARE(Utils::getDeviceId(), QString());
    QVERIFY(sensor.reads() > 0);
}

void TestDeviceIdEmulated::laterVersion()
{
    EmulatedSensor sensor;
    QVERIFY(sensor.plug("Quelmar USB v1.1", "Q-2021-000042"));
    QCOMPARE(Utils::getDeviceId(), QString());
    QVERIFY(sensor.reads() > 0);
}

void TestDeviceIdEmulated::noDevice()
{
    const EmulatedSensor sensor;
    QCOMPARE(Utils::getDeviceId(), QString());
    QCOMPARE(sensor.reads(), 0);
}

void TestDeviceIdEmulated::pluggedLater()
{
    EmulatedSensor sensor;
    QCOMPARE(Utils::getDeviceId(), QString());
    QVERIFY(sensor.plug("Quelmar USB v1.0", "Q-2021-000042"));
    QTRY_COMPARE(Utils::getDeviceId(), QStringLiteral("Q-2021-000042"));
    sensor.unplug();
    QTRY_COMPARE(Utils::getDeviceId(), QString());
}

QTEST_GUILESS_MAIN(TestDeviceIdEmulated)
#include "TestDeviceIdEmulated.moc"
