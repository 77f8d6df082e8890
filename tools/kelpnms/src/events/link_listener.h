#pragma once

#include <kelp/nms/event_stream.h>
#include <kelp/nms/listener.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "events/event_receiver.h"
#include "events/follow_signals.h"

namespace kelp::nms {

/// Passes the EMS's calls on one link to the receiver and to the follower.
class LinkListener : public NmsListener, public EventListener {
  public:
    LinkListener(std::shared_ptr<EventReceiver> receiver, std::function<void(const LinkLoss&)> lost)
        : receiver_(std::move(receiver)), lost_(std::move(lost)) {}

    void sessionEnded() override;
    void eventLossOccurred(const std::string& startTime,
                           const std::string& notificationId) override;
    void eventLossCleared(const std::string& endTime) override;
    void alarmLossOccurred(const std::string& startTime,
                           const std::string& notificationId) override;
    void eventCame(const CosNotification::StructuredEvent& event) override;
    void eventsEnded() override;

  private:
    const std::shared_ptr<EventReceiver> receiver_;
    const std::function<void(const LinkLoss&)> lost_;
};

}  // namespace kelp::nms
