#include "events/event_delivery.h"

#include <kelp/corbabase/trace.h>

#include <utility>

#include "events/ne_time.h"

namespace NS_CORBA {

EventDelivery::EventDelivery(const EventHandover::Settings& settings,
                             std::shared_ptr<EventChannelLink> link,
                             const EventHandover::Work& work,
                             std::unique_ptr<AlarmLogWriter> alarmLog, bool fillsNeTime)
    : link_(std::move(link)),
      alarmLog_(std::move(alarmLog)),
      fillsNeTime_(fillsNeTime),
      handover_(settings, link_, work) {}

EventDelivery::~EventDelivery() {
    stop();
}

bool EventDelivery::take(const CosNotification::StructuredEvent* events, std::size_t count) {
    std::vector<EventPtr> copies;
    copies.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const auto copy = std::make_shared<CosNotification::StructuredEvent>(events[i]);
        if (fillsNeTime_)
            fillNeTime(*copy);
        copies.push_back(copy);
    }
    if (!handover_.take(copies))
        return false;
    if (alarmLog_)
        alarmLog_->take(copies);
    return true;
}

void EventDelivery::stop() {
    if (const std::size_t dropped = handover_.stop(); dropped > 0) {
        GetTss()->Set("eventdelivery", "unknown", __LINE__);
        TaTrace("[EventDelivery] %zu events had not reached the channel when it was taken away!",
                dropped);
    }
    link_->close();
    if (alarmLog_)
        alarmLog_->stop();
}

}  // namespace NS_CORBA
