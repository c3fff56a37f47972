// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/signal/EmulatedSensor.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <umockdev.h>
#include <vector>

namespace {

constexpr const char* node = "/dev/bus/usb/001/002";
constexpr const char* path = "/sys/devices/usb1/1-1";

using Bytes = std::vector<uint8_t>;

Bytes descriptors(bool hasSerial)
{
    return {// Device: USB 1.1, a made-up vendor and product, product string 2, serial string 3, one configuration.
            18, 1, 0x10, 0x01, 0, 0, 0, 8, 0xfe, 0xca, 0x01, 0x10, 0x00, 0x01, 0, 2,
            static_cast<uint8_t>(hasSerial ? 3 : 0), 1,
            // Configuration with one interface and no endpoint.
            9, 2, 18, 0, 1, 1, 0, 0x80, 50,
            // Interface.
            9, 4, 0, 0, 0, 1, 1, 0, 0};
}

/// Upper-case hex: the testbed refuses lower case.
std::string hex(const Bytes& bytes)
{
    constexpr const char* digits = "0123456789ABCDEF";
    std::string text;
    for (const uint8_t byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 15U];
    }
    return text;
}

Bytes stringDescriptor(const std::string& text)
{
    Bytes bytes{static_cast<uint8_t>(2 + 2 * text.size()), 3};
    for (const char letter : text) {
        bytes.push_back(static_cast<uint8_t>(letter));
        bytes.push_back(0);
    }
    return bytes;
}

} // namespace

class EmulatedSensor::Private
{
public:
    Private()
        : testbed(umockdev_testbed_new())
        , ioctls(umockdev_ioctl_base_new())
    {
        g_signal_connect(ioctls, "handle-ioctl", G_CALLBACK(&Private::handle), this);
    }

    ~Private()
    {
        g_clear_pointer(&pending, umockdev_ioctl_data_unref);
        g_object_unref(ioctls);
        g_object_unref(testbed);
    }

    /// Runs in the testbed's own thread.
    static gboolean handle(UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer data)
    {
        auto* const self = static_cast<Private*>(data);
        UMockdevIoctlData* const argument = umockdev_ioctl_client_get_arg(client);
        bool handled = true;
        switch (umockdev_ioctl_client_get_request(client)) {
        case USBDEVFS_GET_CAPABILITIES: {
            UMockdevIoctlData* const value = umockdev_ioctl_data_resolve(argument, 0, sizeof(uint32_t), nullptr);
            const uint32_t none = 0;
            std::memcpy(value->data, &none, sizeof none);
            umockdev_ioctl_client_complete(client, 0, 0);
            umockdev_ioctl_data_unref(value);
            break;
        }
        case USBDEVFS_SUBMITURB:
            self->submit(client, argument);
            break;
        case USBDEVFS_REAPURB:
        case USBDEVFS_REAPURBNDELAY:
            if (self->pending != nullptr) {
                UMockdevIoctlData* const urb = umockdev_ioctl_data_resolve(argument, 0, sizeof(void*), nullptr);
                umockdev_ioctl_data_set_ptr(urb, 0, self->pending);
                umockdev_ioctl_client_complete(client, 0, 0);
                umockdev_ioctl_data_unref(urb);
                g_clear_pointer(&self->pending, umockdev_ioctl_data_unref);
            } else {
                umockdev_ioctl_client_complete(client, -1, EAGAIN);
            }
            break;
        default:
            handled = false;
        }
        return handled ? TRUE : FALSE;
    }

    void submit(UMockdevIoctlClient* client, UMockdevIoctlData* argument)
    {
        UMockdevIoctlData* const data = umockdev_ioctl_data_resolve(argument, 0, sizeof(usbdevfs_urb), nullptr);
        auto* const urb = reinterpret_cast<usbdevfs_urb*>(data->data);
        const auto size = static_cast<size_t>(urb->buffer_length);
        UMockdevIoctlData* const buffer =
            umockdev_ioctl_data_resolve(data, offsetof(usbdevfs_urb, buffer), urb->buffer_length, nullptr);

        // A control request: eight bytes of set-up, then room for the answer. Strings are read from descriptor 3.
        constexpr size_t setup = 8;
        const uint8_t index = buffer->data[2];
        if (urb->type != USBDEVFS_URB_TYPE_CONTROL || size < setup || buffer->data[1] != 6 || buffer->data[3] != 3) {
            umockdev_ioctl_client_complete(client, -1, EPIPE);
        } else {
            Bytes answer{4, 3, 0x09, 0x04};
            if (index != 0) {
                answer = stringDescriptor(index == 2 ? product : serial);
            }
            const size_t length = std::min(answer.size(), size - setup);
            std::memcpy(buffer->data + setup, answer.data(), length);
            urb->status = 0;
            urb->actual_length = static_cast<int>(length);
            g_clear_pointer(&pending, umockdev_ioctl_data_unref);
            pending = umockdev_ioctl_data_ref(data);
            ++reads;
            umockdev_ioctl_client_complete(client, 0, 0);
        }
        umockdev_ioctl_data_unref(buffer);
        umockdev_ioctl_data_unref(data);
    }

    UMockdevTestbed* testbed;
    UMockdevIoctlBase* ioctls;
    UMockdevIoctlData* pending = nullptr;
    std::string product;
    std::string serial;
    bool plugged = false;
    std::atomic<int> reads{0};
};

EmulatedSensor::EmulatedSensor()
    : d(std::make_unique<Private>())
{
}

EmulatedSensor::~EmulatedSensor()
{
    unplug();
}

bool EmulatedSensor::isAvailable()
{
    const char* const preloaded = std::getenv("LD_PRELOAD");
    return preloaded != nullptr && std::string(preloaded).find("umockdev-preload") != std::string::npos;
}

bool EmulatedSensor::plug(const std::string& product, const std::string& serial)
{
    d->product = product;
    d->serial = serial;
    const std::string content = hex(descriptors(!serial.empty()));
    const std::string description = "P: /devices/usb1/1-1\n"
                                    "N: bus/usb/001/002=" +
                                    content +
                                    "\n"
                                    "E: SUBSYSTEM=usb\n"
                                    "E: DEVTYPE=usb_device\n"
                                    "E: DEVNAME=/dev/bus/usb/001/002\n"
                                    "E: BUSNUM=001\n"
                                    "E: DEVNUM=002\n"
                                    "A: busnum=1\\n\n"
                                    "A: devnum=2\\n\n"
                                    "A: speed=12\\n\n"
                                    "A: bConfigurationValue=1\\n\n"
                                    "H: descriptors=" +
                                    content + "\n\n";
    if (umockdev_testbed_add_from_string(d->testbed, description.c_str(), nullptr) != TRUE ||
        umockdev_testbed_attach_ioctl(d->testbed, node, d->ioctls, nullptr) != TRUE) {
        return false;
    }
    d->plugged = true;
    umockdev_testbed_uevent(d->testbed, path, "add");
    return true;
}

void EmulatedSensor::unplug()
{
    if (d->plugged) {
        d->plugged = false;
        umockdev_testbed_uevent(d->testbed, path, "remove");
        umockdev_testbed_detach_ioctl(d->testbed, node, nullptr);
        umockdev_testbed_remove_device(d->testbed, path);
    }
}

int EmulatedSensor::reads() const
{
    return d->reads;
}
