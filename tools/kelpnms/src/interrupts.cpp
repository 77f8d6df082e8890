#include "interrupts.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <utility>

namespace kelp::nms {

namespace {

sigset_t watchedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

}  // namespace

Interrupts::Interrupts() {
    const sigset_t signals = watchedSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    thread_ = std::thread([this] { wait(); });
}

Interrupts::~Interrupts() {
    done_ = true;
    ::pthread_kill(thread_.native_handle(), SIGTERM);
    thread_.join();
}

void Interrupts::setHandler(std::function<void()> handler) {
    const std::lock_guard lock(mutex_);
    handler_ = std::move(handler);
}

void Interrupts::wait() {
    const sigset_t signals = watchedSignals();
    for (;;) {
        int signal = 0;
        if (::sigwait(&signals, &signal) != 0)
            continue;
        if (done_)
            return;
        const std::lock_guard lock(mutex_);
        if (!handler_)
            ::_exit(128 + signal);
        std::exchange(handler_, nullptr)();
    }
}

}  // namespace kelp::nms
