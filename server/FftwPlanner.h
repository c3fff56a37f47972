// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>

namespace server {

/// FFTW makes plans on one thread at a time only, whatever they are for: who makes one holds this lock meanwhile.
class FftwPlanner
{
public:
    FftwPlanner()
        : m_lock(mutex())
    {
    }

private:
    static std::mutex& mutex()
    {
        static std::mutex planning;
        return planning;
    }

    std::lock_guard<std::mutex> m_lock;
};

} // namespace server
