#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

#include "alarms/alarm_follow.h"
#include "alarms/alarm_reader.h"
#include "events/ems_event_link.h"

namespace kelp::nms {

/// A link that brings the live alarms, and reads the list of alarms when the link is new and
/// whenever AlarmFollow asks for it. For use by the follower's thread.
class AlarmLink final : public EventLink {
  public:
    /// Read the list for the first time, unless `isEnough` says that following is to end. Leaves
    /// the link when that fails, and throws NmsError.
    AlarmLink(std::unique_ptr<EmsEventLink> link, std::shared_ptr<AlarmFollow> follow,
              std::uint32_t batch, std::function<bool()> isEnough);

    void check() override;
    bool wantsCheck() override { return mayRead() && follow_->wantsRead(); }
    void leave() override { link_->leave(); }

    emsMgr::EMSMgr_I_ptr manager() const { return reader_->manager(); }

  private:
    using Clock = std::chrono::steady_clock;
    bool mayRead() const { return Clock::now() >= nextRead_; }
    void read();
    bool readOnce();

    const std::unique_ptr<EmsEventLink> link_;
    const std::shared_ptr<AlarmFollow> follow_;
    const std::function<bool()> isEnough_;
    std::unique_ptr<AlarmReader> reader_;
    /// Earliest time of another read, so that reading is a small part of the EMS's work.
    Clock::time_point nextRead_{};
};

}  // namespace kelp::nms
