// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/StopSignal.h"

#include <csignal>
#include <utility>

#include <pthread.h>

namespace server {

namespace {

/// Ends the waiting thread without a call.
constexpr int release = SIGUSR2;

sigset_t awaited()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, release);
    return set;
}

} // namespace

StopSignal::StopSignal(std::function<void()> stop)
{
    const sigset_t set = awaited();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    m_thread = std::thread([stop = std::move(stop)] {
        const sigset_t signals = awaited();
        int signal = 0;
        if (sigwait(&signals, &signal) == 0 && signal != release)
            stop();
    });
}

StopSignal::~StopSignal()
{
    pthread_kill(m_thread.native_handle(), release);
    m_thread.join();
}

} // namespace server
