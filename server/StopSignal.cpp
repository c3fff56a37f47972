// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/StopSignal.h"

#include <csignal>
#include <utility>

#include <pthread.h>

namespace server {

namespace {

/// Ends the waiting thread without a call.
constexpr int release = SIGUSR2;

sigset_t awaited(bool reloads)
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, release);
    if (reloads)
        sigaddset(&set, SIGHUP);
    return set;
}

} // namespace

StopSignal::StopSignal(std::function<void()> stop, std::function<void()> reload)
{
    const sigset_t set = awaited(bool(reload));
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    m_thread = std::thread([stop = std::move(stop), reload = std::move(reload), set] {
        int signal = 0;
        int failure = sigwait(&set, &signal);
        for (; failure == 0 && signal == SIGHUP; failure = sigwait(&set, &signal))
            reload();
        if (failure == 0 && signal != release)
            stop();
    });
}

StopSignal::~StopSignal()
{
    pthread_kill(m_thread.native_handle(), release);
    m_thread.join();
}

} // namespace server
