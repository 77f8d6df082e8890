#include "channel/farewells.h"

#include <kelp/util/trace_log.h>
#include <malloc.h>

#include <exception>
#include <string>
#include <system_error>
#include <utility>

namespace kelp::notification {

namespace {

using util::MutexLock;
using util::MutexUnlock;

constexpr std::size_t kThreadsMax = 4;
/// About the number of consumers at a few addresses. Beyond that the threads hang, and a longer
/// backlog would only wait in vain.
constexpr std::size_t kWaitingMax = 2000;

void traceFarewell(const std::string& why) {
    kelp::util::traceFrom("farewells", "a peer could not be disconnected: " + why,
                          kelp::util::TraceKind::Exception);
}

}  // namespace

Farewells::~Farewells() {
    stop();
}

void Farewells::tell(Farewell farewell, std::string name) {
    if (!farewell)
        return;
    const MutexLock lock(mutex_);
    if (stopping_ || waiting_.size() >= kWaitingMax)
        return;
    waiting_.push_back({std::move(farewell), std::move(name)});
    startIfNeeded();
}

void Farewells::giveMemoryBack() {
    const MutexLock lock(mutex_);
    if (stopping_)
        return;
    memoryIsFreed_ = true;
    startIfNeeded();
}

void Farewells::startIfNeeded() {
    if (threads_.count() >= kThreadsMax || (threads_.count() != 0 && waiting_.empty()))
        return;
    try {
        threads_.start("farewells", [this](TemporaryThreads::Self self) { run(self); });
    } catch (const std::system_error& failure) {
        traceFarewell(failure.what());
    }
}

void Farewells::stop() {
    std::deque<Call> forgotten;  // may delete objects, which must not happen under the lock
    std::vector<std::thread> ending;
    {
        const MutexLock lock(mutex_);
        stopping_ = true;
        forgotten.swap(waiting_);
        ending = threads_.takeAll();
    }
    for (std::thread& each : ending)
        each.join();
}

std::size_t Farewells::threads() const {
    const MutexLock lock(mutex_);
    return threads_.count();
}

void Farewells::run(TemporaryThreads::Self self) {
    const MutexLock lock(mutex_);
    while (!waiting_.empty()) {
        Call next = std::move(waiting_.front());
        waiting_.pop_front();
        const MutexUnlock unlocked(mutex_);
        const Call call = std::move(next);  // released without the lock
        try {
            say(call.farewell, call.name);
        } catch (const std::exception& failure) {
            traceFarewell(failure.what());
        }
    }
    if (memoryIsFreed_ && threads_.count() == 1 && !stopping_) {
        memoryIsFreed_ = false;
        const MutexUnlock unlocked(mutex_);
        ::malloc_trim(0);
    }
    // a call added while the memory was given back has started another thread
    threads_.leave(self);
}

}  // namespace kelp::notification
