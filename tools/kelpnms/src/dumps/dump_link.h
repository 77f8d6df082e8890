#pragma once

#include <memory>

#include "dumps/dump_follow.h"
#include "events/ems_event_link.h"
#include "upload/list_options.h"

namespace kelp::nms {

/// A link that brings the changes of the network, dumps the network when the link is new and
/// whenever DumpFollow asks for it, and writes the changes into the file. For use by the follower's
/// thread.
class DumpLink final : public EventLink {
  public:
    /// Dump the network. Leaves the link when that fails, and throws NmsError or CannotWrite.
    /// `options` is borrowed.
    DumpLink(std::unique_ptr<EmsEventLink> link, std::shared_ptr<DumpFollow> follow,
             const DumpOptions& options);

    /// Throws CannotWrite also.
    void check() override;
    bool wantsCheck() override;
    /// Writes the last changes before. Throws CannotWrite also.
    void leave() override;

  private:
    using Clock = std::chrono::steady_clock;
    void bringUpToDate();
    void dump();
    void writeChanges();
    void leaveAfterFailure();

    const std::unique_ptr<EmsEventLink> link_;
    const std::shared_ptr<DumpFollow> follow_;
    const DumpOptions& options_;
    bool isDumped_ = false;
    /// Earliest time of another dump or change of the file, so that they are a small part of the
    /// work of the EMS and of this host.
    Clock::time_point next_{};
};

}  // namespace kelp::nms
