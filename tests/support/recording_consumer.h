#pragma once

#include <cos/CosNotifyComm.h>

#include <mutex>
#include <string>
#include <vector>

namespace kelp::test {

/// Records the names of the events it receives.
class Consumer final : public POA_CosNotifyComm::StructuredPushConsumer {
  public:
    void push_structured_event(const CosNotification::StructuredEvent& event) override {
        const std::lock_guard guard(mutex_);
        names_.emplace_back(event.header.fixed_header.event_name.in());
    }
    void disconnect_structured_push_consumer() override {}
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}
    std::vector<std::string> names() const {
        const std::lock_guard guard(mutex_);
        return names_;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> names_;
};

}  // namespace kelp::test
