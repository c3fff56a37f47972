// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/Utils.h"

#include <QStringList>
#include <QTest>

#include <cstring>
#include <libusb.h>
#include <vector>

// This program's own libusb functions stand in for the library's.

struct libusb_device
{
    int descriptorResult = 0;
    int openResult = 0;
    uint8_t productIndex = 2;
    uint8_t serialIndex = 3;
    QByteArray product;
    QByteArray serial;
    /// What the read returns; by default the length of the text.
    int productResult = INT_MIN;
    int serialResult = INT_MIN;
};

struct libusb_device_handle
{
    libusb_device* device = nullptr;
};

namespace {

/// Device names in the calls' texts are their places in the list.
QStringList calls;
std::vector<libusb_device> devices;
std::vector<libusb_device*> list;
/// What libusb_get_device_list returns instead of the number of devices.
ssize_t listError = 0;
int initResult = 0;
libusb_device_handle opened;

libusb_device sensor(const QByteArray& serial)
{
    libusb_device device;
    device.product = "Quelmar USB v1.0";
    device.serial = serial;
    return device;
}

QString place(const libusb_device* device)
{
    return QString::number(device - devices.data());
}

QString nullOrNot(const void* pointer)
{
    return pointer == nullptr ? QStringLiteral("null") : QStringLiteral("set");
}

} // namespace

int LIBUSB_CALL libusb_init(libusb_context** context)
{
    calls.append(QStringLiteral("init ") + nullOrNot(context));
    return initResult;
}

ssize_t LIBUSB_CALL libusb_get_device_list(libusb_context* context, libusb_device*** result)
{
    calls.append(QStringLiteral("list ") + nullOrNot(context));
    if (listError != 0) {
        return listError;
    }
    list.clear();
    for (libusb_device& device : devices) {
        list.push_back(&device);
    }
    list.push_back(nullptr);
    *result = list.data();
    return static_cast<ssize_t>(devices.size());
}

int LIBUSB_CALL libusb_get_device_descriptor(libusb_device* device, libusb_device_descriptor* descriptor)
{
    calls.append(QStringLiteral("descriptor ") + place(device));
    descriptor->iProduct = device->productIndex;
    descriptor->iSerialNumber = device->serialIndex;
    return device->descriptorResult;
}

int LIBUSB_CALL libusb_open(libusb_device* device, libusb_device_handle** handle)
{
    calls.append(QStringLiteral("open ") + place(device));
    if (device->openResult == 0) {
        opened.device = device;
        *handle = &opened;
    }
    return device->openResult;
}

int LIBUSB_CALL libusb_get_string_descriptor_ascii(libusb_device_handle* handle, uint8_t index, unsigned char* data,
                                                   int length)
{
    const libusb_device* device = handle->device;
    const bool isSerial = index == device->serialIndex;
    calls.append(QStringLiteral("%1 %2 of %3")
                     .arg(isSerial ? QStringLiteral("serial") : QStringLiteral("product"), place(device),
                          QString::number(length)));
    // The library writes at most the buffer, and cuts what is longer without a zero at its end.
    const QByteArray text = isSerial ? device->serial : device->product;
    const int size = qMin(length, text.size());
    std::memcpy(data, text.constData(), static_cast<size_t>(size));
    if (size < length) {
        data[size] = 0;
    }
    const int result = isSerial ? device->serialResult : device->productResult;
    return result == INT_MIN ? size : result;
}

void LIBUSB_CALL libusb_close(libusb_device_handle* handle)
{
    calls.append(QStringLiteral("close ") + place(handle->device));
}

void LIBUSB_CALL libusb_free_device_list(libusb_device** freed, int unref)
{
    calls.append(QStringLiteral("free %1 %2").arg(nullOrNot(freed), QString::number(unref)));
}

void LIBUSB_CALL libusb_exit(libusb_context* context)
{
    calls.append(QStringLiteral("exit ") + nullOrNot(context));
}

class TestDeviceId : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void order();
    void noDevices();
    void listFails();
    void initFails();
    void descriptorFails();
    void notOpenable();
    void noProductIndex();
    void productReadFails_data();
    void productReadFails();
    void noSerialIndex();
    void serialReadFails_data();
    void serialReadFails();
    void twoSensors();
    void firstWithoutSerialHidesSecond();
    void product_data();
    void product();
    void serialUpToZero();
    void otherDevicesBefore();
};

void TestDeviceId::init()
{
    calls.clear();
    devices.clear();
    listError = 0;
    initResult = 0;
}

void TestDeviceId::order()
{
    devices.push_back(sensor("ABC"));
    QCOMPARE(Utils::getDeviceId(), QStringLiteral("ABC"));
    // The context of the first call is not used again.
    QCOMPARE(
        calls,
        QStringList({QStringLiteral("init set"), QStringLiteral("list null"), QStringLiteral("descriptor 0"),
                     QStringLiteral("open 0"), QStringLiteral("product 0 of 256"), QStringLiteral("serial 0 of 256"),
                     QStringLiteral("close 0"), QStringLiteral("free set 1"), QStringLiteral("exit null")}));
}

void TestDeviceId::noDevices()
{
    QCOMPARE(Utils::getDeviceId(), QString());
    QCOMPARE(calls, QStringList({QStringLiteral("init set"), QStringLiteral("list null"), QStringLiteral("free set 1"),
                                 QStringLiteral("exit null")}));
}

void TestDeviceId::listFails()
{
    devices.push_back(sensor("ABC"));
    listError = LIBUSB_ERROR_IO;
    QCOMPARE(Utils::getDeviceId(), QString());
    QCOMPARE(calls, QStringList({QStringLiteral("init set"), QStringLiteral("list null"), QStringLiteral("free null 1"),
                                 QStringLiteral("exit null")}));
}

void TestDeviceId::initFails()
{
    devices.push_back(sensor("ABC"));
    initResult = LIBUSB_ERROR_OTHER;
    QCOMPARE(Utils::getDeviceId(), QStringLiteral("ABC"));
}

void TestDeviceId::descriptorFails()
{
    devices.push_back(sensor("ABC"));
    devices.push_back(sensor("DEF"));
    devices[0].descriptorResult = LIBUSB_ERROR_IO;
    QCOMPARE(Utils::getDeviceId(), QStringLiteral("DEF"));
    QVERIFY(!calls.contains(QStringLiteral("open 0")));
}

void TestDeviceId::notOpenable()
{
    devices.push_back(sensor("ABC"));
    devices[0].openResult = LIBUSB_ERROR_ACCESS;
    QCOMPARE(Utils::getDeviceId(), QString());
    QVERIFY(!calls.contains(QStringLiteral("product 0 of 256")));
    QVERIFY(!calls.contains(QStringLiteral("close 0")));
    QCOMPARE(calls.mid(calls.size() - 2), QStringList({QStringLiteral("free set 1"), QStringLiteral("exit null")}));

    // It does not hide another one either.
    devices.push_back(sensor("DEF"));
    QCOMPARE(Utils::getDeviceId(), QStringLiteral("DEF"));
}

void TestDeviceId::noProductIndex()
{
    devices.push_back(sensor("ABC"));
    devices[0].productIndex = 0;
    QCOMPARE(Utils::getDeviceId(), QString());
    QVERIFY(!calls.contains(QStringLiteral("product 0 of 256")));
    QVERIFY(calls.contains(QStringLiteral("close 0")));
}

void TestDeviceId::productReadFails_data()
{
    QTest::addColumn<int>("result");
    QTest::newRow("error") << static_cast<int>(LIBUSB_ERROR_PIPE);
    QTest::newRow("nothing read") << 0;
}

void TestDeviceId::productReadFails()
{
    QFETCH(int, result);
    // The buffer holds the sensor's name all the same.
    devices.push_back(sensor("ABC"));
    devices[0].productResult = result;
    QCOMPARE(Utils::getDeviceId(), QString());
    QVERIFY(!calls.contains(QStringLiteral("serial 0 of 256")));
    QVERIFY(calls.contains(QStringLiteral("close 0")));
}

void TestDeviceId::noSerialIndex()
{
    devices.push_back(sensor("ABC"));
    devices[0].serialIndex = 0;
    QCOMPARE(Utils::getDeviceId(), QString());
    QVERIFY(!calls.contains(QStringLiteral("serial 0 of 256")));
    QVERIFY(calls.contains(QStringLiteral("close 0")));
}

void TestDeviceId::serialReadFails_data()
{
    QTest::addColumn<int>("result");
    QTest::newRow("error") << static_cast<int>(LIBUSB_ERROR_PIPE);
    QTest::newRow("nothing read") << 0;
}

void TestDeviceId::serialReadFails()
{
    QFETCH(int, result);
    // What was read for the product must not pass for a serial.
    devices.push_back(sensor("Quelmar USB v1.0"));
    devices[0].serialResult = result;
    QCOMPARE(Utils::getDeviceId(), QString());
    QVERIFY(calls.contains(QStringLiteral("close 0")));
}

void TestDeviceId::twoSensors()
{
    devices.push_back(sensor("FIRST"));
    devices.push_back(sensor("SECOND"));
    QCOMPARE(Utils::getDeviceId(), QStringLiteral("FIRST"));
    QVERIFY(!calls.contains(QStringLiteral("descriptor 1")));
}

void TestDeviceId::firstWithoutSerialHidesSecond()
{
    devices.push_back(sensor("FIRST"));
    devices.push_back(sensor("SECOND"));
    devices[0].serialResult = LIBUSB_ERROR_TIMEOUT;
    QCOMPARE(Utils::getDeviceId(), QString());
    QVERIFY(!calls.contains(QStringLiteral("descriptor 1")));
}

void TestDeviceId::product_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("matches");
    const QByteArray name("Quelmar USB v1.0");
    QTest::newRow("alone") << name << true;
    QTest::newRow("inside") << QByteArray("(c) " + name + " rev. b") << true;
    QTest::newRow("longer version") << QByteArray(name + "1") << true;
    QTest::newRow("later version") << QByteArray("Quelmar USB v1.1") << false;
    QTest::newRow("prefix alone") << QByteArray("Quelmar USB v") << false;
    QTest::newRow("older sensor") << QByteArray("C-Media USB Headphone Set") << false;
    QTest::newRow("other case") << QByteArray("quelmar usb V1.0") << false;
    QTest::newRow("behind the terminating zero") << QByteArray(QByteArray("Mouse") + '\0' + name) << false;
    QTest::newRow("at the very end of the buffer") << QByteArray(QByteArray(256 - name.size(), 'x') + name) << true;
    QTest::newRow("cut by the buffer") << QByteArray(QByteArray(257 - name.size(), 'x') + name) << false;
    QTest::newRow("much longer than the buffer") << QByteArray(name + QByteArray(500, 'x')) << true;
}

void TestDeviceId::product()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, matches);
    devices.push_back(sensor("ABC"));
    devices[0].product = text;
    QCOMPARE(Utils::getDeviceId(), matches ? QStringLiteral("ABC") : QString());
}

void TestDeviceId::serialUpToZero()
{
    // A shorter text must not be followed by the rest of the product's.
    devices.push_back(sensor("1"));
    QCOMPARE(Utils::getDeviceId(), QStringLiteral("1"));
}

void TestDeviceId::otherDevicesBefore()
{
    devices.resize(2);
    devices[0].product = "Hub";
    devices[1].product = "Mouse";
    devices.push_back(sensor("ABC"));
    QCOMPARE(Utils::getDeviceId(), QStringLiteral("ABC"));
    for (const QString& call : {QStringLiteral("close 0"), QStringLiteral("close 1"), QStringLiteral("close 2")}) {
        QVERIFY(calls.contains(call));
    }
    // Only the sensor is asked for its serial.
    QCOMPARE(calls.filter(QStringLiteral("serial")).size(), 1);
}

QTEST_GUILESS_MAIN(TestDeviceId)
#include "TestDeviceId.moc"
