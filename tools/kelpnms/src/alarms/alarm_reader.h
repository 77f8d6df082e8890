#pragma once

#include <kelp/nms/session.h>
#include <mtnm/emsMgr.h>

#include <cstdint>
#include <functional>
#include <string>

#include "app/report.h"
#include "events/event_record.h"

namespace kelp::nms {

/// Reads the list of active alarms from an EMS (getAllEMSAndMEActiveAlarms). For use by one thread.
class AlarmReader {
  public:
    /// `batch` is the number of alarms that each call requests. Throws NoSuchManager when the EMS
    /// has no manager "EMS", or NmsError.
    AlarmReader(NmsSession& session, std::uint32_t batch);

    /// Call `take` for each event of the list, in the EMS's order. Returns false as soon as
    /// `isEnough` does; it is called before each batch. Throws NoSuchManager when the EMS does not
    /// implement the operation, and NmsError also when the EMS announced another number of alarms
    /// than it gave.
    bool read(const std::function<void(const EventRecord&)>& take,
              const std::function<bool()>& isEnough);

    emsMgr::EMSMgr_I_ptr manager() const { return manager_.in(); }

  private:
    const std::uint32_t batch_;
    emsMgr::EMSMgr_I_var manager_;
};

}  // namespace kelp::nms
