#include "alarms/run_follower.h"

#include <utility>

#include "alarms/alarm_follow.h"
#include "alarms/alarm_link.h"
#include "events/open_link.h"

namespace kelp::nms {

namespace {

/// What is subscribed to. Heartbeats show that the channel is alive.
constexpr const char* kAlarmEvents = "$type_name == 'NT_ALARM' or $type_name == 'NT_HEARTBEAT'";

}  // namespace

EventFollower::End runFollower(const CommandContext& context, const AlarmsOptions& options,
                               const std::shared_ptr<AlarmDisplay>& display,
                               const std::shared_ptr<FollowSignals>& signals,
                               const std::function<void(emsMgr::EMSMgr_I_ptr)>& managerCame) {
    const auto follow = std::make_shared<AlarmFollow>(options.view, display);
    const auto open = [&, isFirst = true](std::function<void(const LinkLoss&)> lost) mutable {
        auto events = openEventLink(context, {kAlarmEvents, true}, follow, std::move(lost),
                                    std::exchange(isFirst, false));
        auto link = std::make_unique<AlarmLink>(std::move(events), follow, options.batch,
                                                [signals] { return signals->isInterrupted(); });
        managerCame(link->manager());
        return link;
    };
    EventFollower::Settings settings;
    settings.limit = options.duration;
    EventFollower follower(settings, open, *follow, signals);
    return follower.run();
}

}  // namespace kelp::nms
