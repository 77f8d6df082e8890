#include "delivery/consumer_path.h"

#include <kelp/util/trace_log.h>

#include <new>

#include "channel/channel_core.h"
#include "filter/budget.h"

namespace kelp::notification {

ConsumerPath::ConsumerPath(ChannelCore& core, std::shared_ptr<AdminData> admin,
                           CosNotifyChannelAdmin::ProxyID proxy)
    : Subscription(core.deliveryThreads(), core.settings().delivery, core.queueLimit()),
      qos(admin->qos.get(), QosSide::Consumer),
      core_(core),
      admin_(std::move(admin)),
      proxy_(proxy) {
    applyQos(qos.get());
}

void ConsumerPath::applyQos(const Qos& values) {
    const std::size_t configured = core_.queueLimit();
    const auto own = static_cast<std::size_t>(values.maxEventsPerConsumer);
    const bool isOwn = own > 0 && own < configured;
    setQueueLimit(isOwn ? own : configured, isOwn);
    setRules(rulesOf(values));
    setPacing(values.pacingInterval);
}

void ConsumerPath::screen(const EventPtr& event) {
    if (!isConnected() || !isSubscribedTo(event->view()))
        return;
    EventPtr lost;
    Sieve::Way way = Sieve::Way::Waits;
    try {
        way = sieve_.put({event, admin_->filters.current(), filters.current()},
                         core_.settings().queueEventsMax, lost);
    } catch (const std::bad_alloc&) {
        // only this consumer loses the event
        lost = event;
    }
    if (way == Sieve::Way::Straight)
        enqueue(event);
    else if (way == Sieve::Way::Begins)
        beginWork();
    if (lost)
        lose(lost, isTooCostly_);
}

void ConsumerPath::beginWork() {
    try {
        core_.filterStage().schedule(std::static_pointer_cast<ConsumerPath>(shared_from_this()));
    } catch (const std::bad_alloc&) {
        sieve_.stopWork();
    }
}

bool ConsumerPath::work(FilterStage::Clock::time_point until) {
    do {
        const Sieve::Item next = sieve_.next();
        if (!next.event)
            return false;
        try {
            if (isConnected() && passes(next))
                enqueue(next.event);
        } catch (const std::bad_alloc&) {
            lose(next.event, false);
        }
    } while (FilterStage::Clock::now() < until);
    return true;
}

ConsumerSubscription ConsumerPath::description() const {
    ConsumerSubscription description;
    for (const auto& [domain, type] : subscribedTypes())
        description.types.push_back(domain + "/" + type);
    description.filters = filters.texts();
    description.adminFilters = admin_->filters.texts();
    description.eitherFilter = admin_->op == CosNotifyChannelAdmin::OR_OP;
    return description;
}

bool ConsumerPath::hasDrained() const {
    return isSettled() && (!isConnected() || 2 * sieve_.size() < core_.settings().queueEventsMax);
}

bool ConsumerPath::isSubscribedTo(const kelp::orb::EventView& event) const {
    const char* const domain = event.domainName();
    const char* const type = event.typeName();
    return admin_->types.matches(domain, type) && types.matches(domain, type);
}

bool ConsumerPath::passes(const Sieve::Item& item) {
    Budget budget(core_.settings().perOwner.evaluationCost);
    const bool isWanted =
        judgedByGroups(admin_->op, item.ofAdmin, item.ofProxy, item.event->view(), budget);
    if (budget.isSpent())
        isTooCostly_ = true;
    return isWanted;
}

void ConsumerPath::eventsLost(const Event& first) {
    core_.tellLost(first);
}

void ConsumerPath::consumerDied(const std::string& why) {
    admin_->proxyDied(proxy_);
    kelp::util::traceFrom("notification", "consumer " + std::to_string(admin_->id) + "/" +
                                              std::to_string(proxy_) + " is given up: " + why);
}

}  // namespace kelp::notification
