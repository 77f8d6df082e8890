#pragma once

#include <memory>
#include <span>
#include <vector>

#include "events/alarm_log_writer.h"
#include "events/event_handover.h"

namespace NS_CORBA {

/// Accepts events from start to stop, and queues them for one channel and for the alarm log. Any
/// thread may call it.
class EventAcceptance {
  public:
    /// `alarmLog` may be null: no alarm log. With `fillsNeTime`, events without an neTime get one.
    EventAcceptance(const EventHandover::Settings& settings, std::shared_ptr<EventChannelLink> link,
                    const EventHandover::Work& work, std::unique_ptr<AlarmLogWriter> alarmLog,
                    bool fillsNeTime);
    /// Calls stop().
    ~EventAcceptance();
    EventAcceptance(const EventAcceptance&) = delete;
    EventAcceptance& operator=(const EventAcceptance&) = delete;

    /// Accept a copy of each event. False, and none is accepted, after stop().
    bool accept(std::span<const CosNotification::StructuredEvent> events);
    /// The same with the events themselves, whose content is moved out of the vector.
    bool accept(std::vector<CosNotification::StructuredEvent>&& events);
    void requestHeartbeat() { handover_.requestHeartbeat(); }
    void requestProbe() { handover_.requestProbe(); }
    bool channelAnswers() const { return handover_.channelAnswers(); }
    /// True when less than half of the queue is in use, here and for each consumer of the channel.
    bool isDrained() const { return handover_.isDrained() && link_->isDrained(); }
    std::vector<kelp::notification::ConsumerCounts> consumers() const { return link_->consumers(); }
    const EventChannelLink& link() const { return *link_; }

    /// Drop the waiting events, traced with their number, leave the channel and write the alarm log
    /// to its end. Waits for calls in progress.
    void stop();

  private:
    using OwnEvents = std::vector<std::shared_ptr<CosNotification::StructuredEvent>>;
    bool acceptOwn(const OwnEvents& events);

    const std::shared_ptr<EventChannelLink> link_;
    const std::unique_ptr<AlarmLogWriter> alarmLog_;
    const bool fillsNeTime_;
    EventHandover handover_;
};

}  // namespace NS_CORBA
