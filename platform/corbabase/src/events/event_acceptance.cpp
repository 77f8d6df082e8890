#include "events/event_acceptance.h"

#include <kelp/corbabase/trace.h>
#include <kelp/orb/event_move.h>

#include <utility>

#include "events/ne_time.h"

namespace NS_CORBA {

using CosNotification::StructuredEvent;

EventAcceptance::EventAcceptance(const EventHandover::Settings& settings,
                                 std::shared_ptr<EventChannelLink> link,
                                 const EventHandover::Work& work,
                                 std::unique_ptr<AlarmLogWriter> alarmLog, bool fillsNeTime)
    : link_(std::move(link)),
      alarmLog_(std::move(alarmLog)),
      fillsNeTime_(fillsNeTime),
      handover_(settings, link_, work) {}

EventAcceptance::~EventAcceptance() {
    stop();
}

bool EventAcceptance::accept(std::span<const StructuredEvent> events) {
    OwnEvents copies;
    copies.reserve(events.size());
    for (const StructuredEvent& each : events)
        copies.push_back(std::make_shared<StructuredEvent>(each));
    return acceptOwn(copies);
}

bool EventAcceptance::accept(std::vector<StructuredEvent>&& events) {
    OwnEvents moved;
    moved.reserve(events.size());
    for (StructuredEvent& each : events) {
        moved.push_back(std::make_shared<StructuredEvent>());
        kelp::orb::moveEvent(each, *moved.back());
    }
    return acceptOwn(moved);
}

bool EventAcceptance::acceptOwn(const OwnEvents& events) {
    if (fillsNeTime_) {
        for (const std::shared_ptr<StructuredEvent>& each : events)
            fillNeTime(*each);
    }
    const std::vector<StructuredEventPtr> shared(events.begin(), events.end());
    if (!handover_.enqueue(shared))
        return false;
    if (alarmLog_)
        alarmLog_->enqueue(shared);
    return true;
}

void EventAcceptance::stop() {
    if (const std::size_t dropped = handover_.stop(); dropped > 0) {
        tracePoint("eventdelivery");
        TaTrace("[EventDelivery] %zu events had not reached the channel when it was taken away!",
                dropped);
    }
    link_->close();
    if (alarmLog_)
        alarmLog_->stop();
}

}  // namespace NS_CORBA
