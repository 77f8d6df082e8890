#pragma once

#include <kelp/alarms/alarm_id.h>
#include <mtnm/emsMgr.h>

#include <string>
#include <vector>

namespace kelp::nms {

/// What an NMS says about an acknowledgement.
struct Acknowledgement {
    bool isAcknowledged = true;  ///< false: an acknowledgement is taken back
    std::string operatorName;    ///< who acknowledges, as the NMS knows them; may be empty
    std::string note;            ///< may be empty
};

/// Acknowledge alarms at the EMS, or take that back, in calls of some hundred. Returns those that
/// the EMS reports as failed. Throws NmsError; the alarms of earlier calls are then acknowledged.
std::vector<alarms::AlarmId> acknowledge(emsMgr::EMSMgr_I_ptr manager,
                                         const std::vector<alarms::AlarmId>& alarms,
                                         const Acknowledgement& what);

}  // namespace kelp::nms
