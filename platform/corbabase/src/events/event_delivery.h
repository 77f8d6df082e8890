#pragma once

#include <memory>
#include <vector>

#include "events/alarm_log_writer.h"
#include "events/event_handover.h"

namespace NS_CORBA {

/// From start to stop: the way of events to one channel, and into the alarm log. Any thread may
/// call it.
class EventDelivery {
  public:
    /// No alarm log when `alarmLog` is null. With `fillsNeTime` an event whose source says no
    /// neTime gets one.
    EventDelivery(const EventHandover::Settings& settings, std::shared_ptr<EventChannelLink> link,
                  const EventHandover::Work& work, std::unique_ptr<AlarmLogWriter> alarmLog,
                  bool fillsNeTime);
    /// stop().
    ~EventDelivery();
    EventDelivery(const EventDelivery&) = delete;
    EventDelivery& operator=(const EventDelivery&) = delete;

    /// Copies the events and takes them in, all or none: false when it has stopped.
    bool take(const CosNotification::StructuredEvent* events, std::size_t count);
    void requestHeartbeat() { handover_.requestHeartbeat(); }
    void requestProbe() { handover_.requestProbe(); }
    bool channelAnswers() const { return handover_.channelAnswers(); }
    /// True when no more events are kept back than is usual, here or for a consumer of the channel.
    bool isDrained() const { return handover_.isDrained() && link_->isDrained(); }
    std::vector<kelp::notification::ConsumerCounts> consumers() const { return link_->consumers(); }

    /// Events that wait are dropped, which is traced, and the channel is left; the alarm log is
    /// written to its end. Calls in progress are waited for.
    void stop();

  private:
    const std::shared_ptr<EventChannelLink> link_;
    const std::unique_ptr<AlarmLogWriter> alarmLog_;
    const bool fillsNeTime_;
    EventHandover handover_;
};

}  // namespace NS_CORBA
