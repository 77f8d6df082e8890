#include "alarms/network_follower.h"

#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <utility>

#include "common/network_event.h"

namespace kelp::ems {

namespace {

using namespace std::chrono_literals;

constexpr const char* kFollowerSubject = "network changes";
/// How often the follower checks whether the inventory's file was replaced.
constexpr auto kPatience = 1000ms;
/// While alarms are waiting, how often the follower checks whether they still are.
constexpr auto kBusyCheck = 20ms;
/// While alarms are waiting, how long a change of the network waits for them. So it is late in a
/// storm of alarms, but not forgotten.
constexpr auto kBusyMax = 1s;
/// A batch takes a tenth of a second, so that its removal from the outbox, which locks the
/// inventory, is rare; a change that is submitted again after a crash costs little.
constexpr std::size_t kBatchesPerSecond = 10;
constexpr std::size_t kBatchMax = 50;

}  // namespace

NetworkFollower::NetworkFollower(Settings settings, Intake intake)
    : settings_(std::move(settings)),
      intake_(std::move(intake)),
      batch_(std::clamp(settings_.eventsPerSecond / kBatchesPerSecond, std::size_t{1}, kBatchMax)),
      wait_(settings_.firstWait) {}

void NetworkFollower::start() {
    try {
        currentFeed();
    } catch (const inventory::InventoryFailure& failure) {
        util::traceFrom(kFollowerSubject, failure.what());
    }
    thread_ = util::startThread("network events", [this] { run(); });
}

void NetworkFollower::stop() {
    {
        const util::MutexLock lock(mutex_);
        isStopping_ = true;
        changed_.notify_all();
        if (feed_)
            feed_->stopWaiting();
    }
    if (thread_.joinable())
        thread_.join();
}

void NetworkFollower::run() {
    while (!isStopping()) {
        try {
            carryUntilStopped();
        } catch (...) {
            util::traceFrom(kFollowerSubject,
                            "changes of the network are sent later, next attempt in " +
                                std::to_string(wait_.count()) +
                                " ms: " + util::currentExceptionText());
            closeFeed();
            waitUntil(Clock::now() + wait_);
            wait_ = std::min(2 * wait_, settings_.longestWait);
        }
    }
}

void NetworkFollower::carryUntilStopped() {
    const FeedPtr feed = currentFeed();
    while (!isStopping() && feed->isCurrent()) {
        const std::vector<inventory::ObjectChange> batch = feed->next(batch_);
        if (!batch.empty())
            carryBatch(*feed, batch);
        wait_ = settings_.firstWait;
        if (batch.empty())
            feed->waitForNews(kPatience);
    }
}

/// The open feed, or a new one if there is none or the file was replaced.
NetworkFollower::FeedPtr NetworkFollower::currentFeed() {
    FeedPtr feed;
    {
        const util::MutexLock lock(mutex_);
        feed = feed_;
    }
    if (feed && feed->isCurrent())
        return feed;
    feed = std::make_shared<inventory::ChangeFeed>(settings_.inventory);
    const util::MutexLock lock(mutex_);
    feed_ = feed;
    return feed;
}

void NetworkFollower::closeFeed() {
    const util::MutexLock lock(mutex_);
    feed_.reset();
}

/// Changes that are in the log when the follower stops are removed from the outbox.
void NetworkFollower::carryBatch(inventory::ChangeFeed& feed,
                                 const std::vector<inventory::ObjectChange>& batch) {
    const inventory::ObjectChange* last = nullptr;
    for (const inventory::ObjectChange& change : batch) {
        if (!waitForTurn())
            break;
        submit(change);
        last = &change;
    }
    if (last != nullptr)
        feed.handedOver(*last);
}

void NetworkFollower::submit(const inventory::ObjectChange& change) {
    if (change.operation == inventory::ObjectChange::Operation::Lost)
        util::traceFrom(kFollowerSubject,
                        "the inventory has dropped changes, because too many were waiting to be "
                        "sent; each NMS should upload the network again");
    // Each is submitted alone: its key must not depend on what else was in the batch.
    for (managers::KeyedNetworkChange& each : managers::networkChanges(change)) {
        try {
            intake_.submit({std::move(each.change)}, each.key);
        } catch (const alarms::IntakeRefused& refused) {
            if (refused.why() != alarms::IntakeRefused::Why::Invalid)
                throw;
            // it would be refused each time
            util::traceFrom(
                kFollowerSubject,
                "the change " + each.key + " cannot be sent and is left out: " + refused.what());
        }
        nextTurn_ += std::chrono::nanoseconds(1s) /
                     static_cast<std::chrono::nanoseconds::rep>(settings_.eventsPerSecond);
    }
}

bool NetworkFollower::waitForTurn() {
    // time that was not used is not made up for
    nextTurn_ = std::max(nextTurn_, Clock::now());
    if (!waitUntil(nextTurn_))
        return false;
    const Clock::time_point latest = Clock::now() + kBusyMax;
    while (intake_.isBusy() && Clock::now() < latest) {
        if (!waitUntil(Clock::now() + kBusyCheck))
            return false;
    }
    return true;
}

bool NetworkFollower::waitUntil(Clock::time_point time) {
    const util::MutexLock lock(mutex_);
    while (!isStopping_ && Clock::now() < time)
        changed_.wait_until(mutex_, time);
    return !isStopping_;
}

bool NetworkFollower::isStopping() {
    const util::MutexLock lock(mutex_);
    return isStopping_;
}

}  // namespace kelp::ems
