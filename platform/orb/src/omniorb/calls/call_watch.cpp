#include "omniorb/calls/call_watch.h"

#include <kelp/orb/timeouts.h>
#include <kelp/util/threads.h>
#include <sys/socket.h>

#include <algorithm>
#include <system_error>

#include "trace.h"

namespace kelp::orb {

namespace {

using std::chrono::milliseconds;

/// The time between checks of the calls: a tenth of the limit, from 5 to 100 ms.
milliseconds pauseFor(milliseconds limit) {
    return std::clamp(limit / 10, milliseconds(5), milliseconds(100));
}

}  // namespace

CallWatch::Connection::Connection(int descriptor) : descriptor_(descriptor) {
    CallWatch::instance().enter(*this);
}

CallWatch::Connection::~Connection() {
    CallWatch::instance().leave(*this);
}

CallWatch& CallWatch::instance() {
    // never deleted: connections may outlive main
    static auto* const watch = new CallWatch;
    return *watch;
}

void CallWatch::enter(Connection& connection) {
    const util::MutexLock lock(mutex_);
    connection.since_ = Clock::now();
    connections_.insert(&connection);
}

void CallWatch::leave(Connection& connection) {
    const util::MutexLock lock(mutex_);
    connections_.erase(&connection);
}

void CallWatch::limit(milliseconds limit) {
    const util::MutexLock control(control_);
    {
        const util::MutexLock lock(mutex_);
        const Clock::time_point now = Clock::now();
        for (Connection* each : connections_) {
            each->since_ = now;
            each->seenCall_ = each->call_;
        }
        limit_ = std::max(limit, milliseconds(1));
        changed_.notify_all();
    }
    if (thread_.joinable())
        return;
    try {
        thread_ = util::startThread("call limit", [this] { run(); });
    } catch (const std::system_error& failure) {
        traceException(std::string("no thread for the limit of calls: ") + failure.what());
    }
}

void CallWatch::lift() {
    const util::MutexLock control(control_);
    {
        const util::MutexLock lock(mutex_);
        limit_ = milliseconds(0);
        changed_.notify_all();
    }
    if (thread_.joinable())
        thread_.join();
}

void CallWatch::run() {
    const util::MutexLock lock(mutex_);
    while (limit_ > milliseconds(0)) {
        look(Clock::now());
        changed_.wait_for(mutex_, pauseFor(limit_));
    }
    connecting_.forget();
}

void CallWatch::look(Clock::time_point now) {
    for (Connection* each : connections_) {
        const unsigned call = each->call_.load(std::memory_order_relaxed);
        if (call != each->seenCall_) {
            each->seenCall_ = call;
            each->since_ = now;
        }
        // the lock keeps the descriptor open: a connection leaves the watch before its socket is
        // closed
        if (now - each->since_ >= limit_ && each->isWaiting_.load(std::memory_order_relaxed) &&
            each->descriptor_ >= 0)
            ::shutdown(each->descriptor_, SHUT_RDWR);
    }
    connecting_.shutOlderThan(limit_, now);
}

void limitAllCalls(milliseconds limit) {
    CallWatch::instance().limit(limit);
}

void liftCallLimit() {
    CallWatch::instance().lift();
}

}  // namespace kelp::orb
