#include "app/interrupts.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
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

using Clock = std::chrono::steady_clock;

/// Wait for the next of the signals. Returns none when the deadline passes first.
std::optional<int> signalBefore(const sigset_t& signals, Clock::time_point deadline) {
    for (;;) {
        const auto left = std::max(deadline - Clock::now(), Clock::duration::zero());
        const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
        const timespec timeout{seconds.count(), std::chrono::nanoseconds(left - seconds).count()};
        if (const int signal = ::sigtimedwait(&signals, nullptr, &timeout); signal > 0)
            return signal;
        if (errno != EINTR)  // EINTR follows when the process was stopped and continued
            return std::nullopt;
    }
}

int nextSignal(const sigset_t& signals) {
    int signal = 0;
    while (::sigwait(&signals, &signal) != 0) {
    }
    return signal;
}

}  // namespace

Interrupts::Interrupts() {
    const sigset_t signals = watchedSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    thread_ = std::thread([this] { wait(); });
}

Interrupts::~Interrupts() {
    done_ = true;
    ::pthread_kill(thread_.native_handle(), SIGINT);
    thread_.join();
}

void Interrupts::setHandler(Handler handler, std::function<void()> lastWords) {
    const util::MutexLock lock(mutex_);
    handler_ = std::move(handler);
    lastWords_ = std::move(lastWords);
}

void Interrupts::wait() {
    const sigset_t signals = watchedSignals();
    const int first = nextSignal(signals);
    if (done_)
        return;
    signal_ = first;
    const auto limit = handle(first);
    const std::optional<int> second = signalBefore(signals, Clock::now() + limit);
    if (done_)
        return;
    sayLastWords();
    ::_exit(128 + second.value_or(first));
}

void Interrupts::sayLastWords() {
    const util::MutexLock lock(mutex_);
    if (lastWords_)
        lastWords_();
}

std::chrono::milliseconds Interrupts::handle(int signal) {
    const util::MutexLock lock(mutex_);
    if (!handler_)
        ::_exit(128 + signal);
    return std::exchange(handler_, nullptr)();
}

}  // namespace kelp::nms
