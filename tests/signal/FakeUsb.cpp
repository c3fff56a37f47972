// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/signal/FakeUsb.h"

#include <algorithm>
#include <array>
#include <libusb.h>

struct libusb_device
{
};

struct libusb_device_handle
{
};

namespace {

constexpr uint8_t productIndex = 1;
constexpr uint8_t serialIndex = 2;

libusb_device device;
libusb_device_handle handle;
std::array<libusb_device*, 2> list{};
QByteArray pluggedSerial;
bool plugged = false;

} // namespace

void FakeUsb::plug(const QByteArray& serial)
{
    pluggedSerial = serial;
    plugged = true;
}

void FakeUsb::unplug()
{
    plugged = false;
}

int LIBUSB_CALL libusb_init(libusb_context**)
{
    return 0;
}

ssize_t LIBUSB_CALL libusb_get_device_list(libusb_context*, libusb_device*** result)
{
    list = {plugged ? &device : nullptr, nullptr};
    *result = list.data();
    return plugged ? 1 : 0;
}

int LIBUSB_CALL libusb_get_device_descriptor(libusb_device*, libusb_device_descriptor* descriptor)
{
    descriptor->iProduct = productIndex;
    descriptor->iSerialNumber = serialIndex;
    return 0;
}

int LIBUSB_CALL libusb_open(libusb_device*, libusb_device_handle** opened)
{
    *opened = &handle;
    return 0;
}

int LIBUSB_CALL libusb_get_string_descriptor_ascii(libusb_device_handle*, uint8_t index, unsigned char* data,
                                                   int length)
{
    const QByteArray text = index == productIndex ? QByteArray("Quelmar USB v1.0") : pluggedSerial;
    const int size = qMin(length - 1, text.size());
    std::copy_n(text.constData(), size, data);
    data[size] = 0;
    return size;
}

void LIBUSB_CALL libusb_close(libusb_device_handle*) {}

void LIBUSB_CALL libusb_free_device_list(libusb_device**, int) {}

void LIBUSB_CALL libusb_exit(libusb_context*) {}
