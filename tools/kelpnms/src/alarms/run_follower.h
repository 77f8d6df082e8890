#pragma once

#include <mtnm/emsMgr.h>

#include <functional>
#include <memory>

#include "alarms/alarm_display.h"
#include "alarms/follow_alarms.h"
#include "app/command.h"
#include "events/event_follower.h"
#include "events/follow_signals.h"

namespace kelp::nms {

/// Follow the alarms on the calling thread and show them, until there is a reason to end.
/// `managerCame` gets the manager of each new session. Throws NmsError.
EventFollower::End runFollower(
    const CommandContext& context, const AlarmsOptions& options,
    const std::shared_ptr<AlarmDisplay>& display, const std::shared_ptr<FollowSignals>& signals,
    const std::function<void(emsMgr::EMSMgr_I_ptr)>& managerCame = [](emsMgr::EMSMgr_I_ptr) {});

}  // namespace kelp::nms
