#pragma once

#include <kelp/corbabase/supplier_mgr.h>

#include <functional>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "support/recording_consumer.h"

namespace kelp::test {

/// Records the questions and notices that an agent receives, one line each.
class Agent final : public NS_CORBA::CallBackProcessBase {
  public:
    void OnEventLossCleared(const std::string& endTime) override {
        if (onCleared)
            onCleared();
        add("cleared " + endTime);
    }
    void OnEventLossOccurred(const std::string& startTime,
                             const std::string& notificationId) override {
        add("lost " + notificationId + " of " + startTime);
    }
    void FormatAlarmLog(std::stringstream& out,
                        const CosNotification::StructuredEvent& event) override {
        NS_CORBA::SuppilerMgr::FormatLog(
            "event", std::string(event.header.fixed_header.event_name.in()), out);
    }
    void SendHeartbeat() override { add("heartbeat"); }
    std::vector<std::string> told() const {
        const std::lock_guard guard(mutex_);
        return told_;
    }

    std::function<void()> onCleared;  ///< may delay the report; set before the first one

  private:
    void add(const std::string& line) {
        const std::lock_guard guard(mutex_);
        told_.push_back(line);
    }
    mutable std::mutex mutex_;
    std::vector<std::string> told_;
};

inline CosNotification::StructuredEvent alarm(const std::string& name,
                                              const char* type = "NT_ALARM") {
    CosNotification::StructuredEvent event;
    event.header.fixed_header.event_type.domain_name = CORBA::string_dup("tmf_mtnm");
    event.header.fixed_header.event_type.type_name = CORBA::string_dup(type);
    event.header.fixed_header.event_name = CORBA::string_dup(name.c_str());
    event.filterable_data.length(2);
    event.filterable_data[0].name = CORBA::string_dup("notificationId");
    event.filterable_data[0].value <<= ("id" + name).c_str();
    event.filterable_data[1].name = CORBA::string_dup("emsTime");
    event.filterable_data[1].value <<= "20240105030405.0Z";
    return event;
}

}  // namespace kelp::test
