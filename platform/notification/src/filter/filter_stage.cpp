#include "filter/filter_stage.h"

#include <kelp/util/trace_log.h>

#include <algorithm>
#include <exception>
#include <system_error>
#include <utility>

namespace kelp::notification {

namespace {

using util::MutexLock;
using util::MutexUnlock;

/// Maximum time for which one consumer's filters keep a thread while others wait.
constexpr std::chrono::milliseconds kTurn{5};
constexpr std::chrono::seconds kIdleTime{10};

void traceFilters(const std::string& text) {
    kelp::util::traceFrom("filterstage", text, kelp::util::TraceKind::Exception);
}

bool worksOn(FilterStage::Task& task) {
    try {
        return task.work(FilterStage::Clock::now() + kTurn);
    } catch (const std::exception& failure) {
        traceFilters(std::string("events were not filtered: ") + failure.what());
        return true;
    }
}

}  // namespace

FilterStage::FilterStage(std::size_t threads) : threadsMax_(std::max<std::size_t>(threads, 2)) {}

FilterStage::~FilterStage() {
    stop();
}

void FilterStage::schedule(std::shared_ptr<Task> task) {
    const MutexLock lock(mutex_);
    if (stopping_)
        return;
    enqueue(std::move(task));
    startIfNeeded();
}

void FilterStage::enqueue(std::shared_ptr<Task> task) {
    const std::string owner = task->ownerKey();
    Turns& turns = owners_[owner];
    if (turns.waiting.empty())
        turns_.push_back(owner);
    turns.waiting.push_back(std::move(task));
    work_.notify_one();
}

void FilterStage::startIfNeeded() {
    if (idle_ > 0 || threads_.count() >= threadsMax_)
        return;
    try {
        threads_.start("filterstage", [this](TemporaryThreads::Self self) { run(self); });
    } catch (const std::system_error& failure) {
        traceFilters(std::string("events are filtered with the next one: ") + failure.what());
    }
}

void FilterStage::stop() {
    Owners forgotten;  // may delete tasks, which must not happen under the lock
    std::vector<std::thread> ending;
    {
        const MutexLock lock(mutex_);
        stopping_ = true;
        for (auto& [key, turns] : owners_)
            forgotten[key].waiting.swap(turns.waiting);
        turns_.clear();
        ending = threads_.takeAll();
        work_.notify_all();
    }
    for (std::thread& each : ending)
        each.join();
}

FilterStage::Owners::iterator FilterStage::nextOwner() {
    for (auto each = turns_.begin(); each != turns_.end(); ++each) {
        const auto owner = owners_.find(*each);
        if (owner->second.atWork + 1 >= threadsMax_)
            continue;
        turns_.erase(each);
        return owner;
    }
    return owners_.end();
}

bool FilterStage::waitForTurn() {
    ++idle_;
    const bool isWoken = work_.wait_for(mutex_, kIdleTime) != std::cv_status::timeout;
    --idle_;
    return isWoken || !turns_.empty();
}

void FilterStage::serve(Owners::iterator owner) {
    Turns& turns = owner->second;
    std::shared_ptr<Task> task = std::move(turns.waiting.front());
    turns.waiting.pop_front();
    if (!turns.waiting.empty())
        turns_.push_back(owner->first);
    ++turns.atWork;
    bool hasMore = false;
    {
        const MutexUnlock unlocked(mutex_);
        hasMore = worksOn(*task);
        if (!hasMore)
            task.reset();  // may delete the task
    }
    --turns.atWork;
    if (hasMore && !stopping_)
        enqueue(std::move(task));
    if (turns.waiting.empty() && turns.atWork == 0)
        owners_.erase(owner);
    else
        work_.notify_one();  // a turn of this owner may have waited for this thread
}

void FilterStage::run(TemporaryThreads::Self self) {
    const MutexLock lock(mutex_);
    while (!stopping_) {
        const auto owner = nextOwner();
        if (owner != owners_.end())
            serve(owner);
        else if (!waitForTurn())
            break;
    }
    threads_.leave(self);
}

}  // namespace kelp::notification
