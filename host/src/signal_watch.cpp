#include "signal_watch.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

namespace kelp::host {

namespace {

int checked(int descriptor) {
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), "cannot watch signals");
    return descriptor;
}

}  // namespace

SignalWatch::SignalWatch(std::function<void()> force) : force_(std::move(force)) {
    ::signal(SIGPIPE, SIG_IGN);
    sigset_t watched;
    sigemptyset(&watched);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&watched, signal);
    ::pthread_sigmask(SIG_BLOCK, &watched, nullptr);
    signals_ = checked(::signalfd(-1, &watched, SFD_CLOEXEC));
    leaving_ = checked(::eventfd(0, EFD_CLOEXEC));
    thread_ = std::thread([this] { watch(); });
}

SignalWatch::~SignalWatch() {
    const std::uint64_t one = 1;
    while (::write(leaving_, &one, sizeof one) < 0 && errno == EINTR) {
    }
    thread_.join();
    ::close(leaving_);
    ::close(signals_);
}

SignalWatch::Event SignalWatch::next() {
    const util::MutexLock lock(mutex_);
    while (!stop_ && !reload_)
        changed_.wait(mutex_);
    if (stop_)
        return Event::Stop;
    reload_ = false;
    return Event::Reload;
}

bool SignalWatch::isStopAskedFor() {
    const util::MutexLock lock(mutex_);
    return stop_;
}

void SignalWatch::watch() {
    for (;;) {
        pollfd waiting[] = {{signals_, POLLIN, 0}, {leaving_, POLLIN, 0}};
        if (::poll(waiting, std::size(waiting), -1) < 0)
            continue;
        if (waiting[1].revents != 0)
            return;
        signalfd_siginfo info{};
        if (::read(signals_, &info, sizeof info) == static_cast<ssize_t>(sizeof info))
            received(static_cast<int>(info.ssi_signo));
    }
}

void SignalWatch::received(int signal) {
    bool again = false;
    {
        const util::MutexLock lock(mutex_);
        if (signal == SIGHUP)
            reload_ = true;
        else
            again = std::exchange(stop_, true);
        changed_.notify_all();
    }
    if (again)
        force_();
}

}  // namespace kelp::host
