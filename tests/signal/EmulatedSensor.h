// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

/// A USB device that exists for this process alone, down to its string descriptors. The process has to run under
/// umockdev-wrapper, and sees no other USB device then.
class EmulatedSensor
{
public:
    /// An empty bus.
    EmulatedSensor();
    /// Unplugs the device.
    ~EmulatedSensor();
    EmulatedSensor(const EmulatedSensor&) = delete;
    EmulatedSensor& operator=(const EmulatedSensor&) = delete;

    static bool isAvailable();

    /// False if the device cannot be made. An empty serial gives a device without one. Only one device at a time.
    bool plug(const std::string& product, const std::string& serial);
    void unplug();

    /// How many string descriptors were read.
    int reads() const;

private:
    class Private;
    std::unique_ptr<Private> d;
};
