#include "alarms/follow_alarms.h"

#include <unistd.h>

#include <memory>
#include <utility>

#include "alarms/alarm_follow.h"
#include "alarms/alarm_lines.h"
#include "alarms/alarm_link.h"
#include "alarms/alarm_list_report.h"
#include "app/exit_codes.h"
#include "app/handling.h"
#include "events/open_link.h"
#include "text/output.h"
#include "text/terminal.h"
#include "upload/network_reader.h"

namespace kelp::nms {

namespace {

/// What is subscribed to. Heartbeats show that the channel is alive.
constexpr const char* kAlarmEvents = "$type_name == 'NT_ALARM' or $type_name == 'NT_HEARTBEAT'";

EventFollower::OpenLink openingAlarms(const CommandContext& context, const AlarmsOptions& options,
                                      const std::shared_ptr<AlarmFollow>& follow,
                                      const std::shared_ptr<FollowSignals>& signals) {
    return [&context, &options, follow, signals,
            isFirst = true](std::function<void(const LinkLoss&)> lost) mutable {
        auto link = openEventLink(context, {kAlarmEvents, true}, follow, std::move(lost),
                                  std::exchange(isFirst, false));
        return std::make_unique<AlarmLink>(std::move(link), follow, options.batch,
                                           [signals] { return signals->isInterrupted(); });
    };
}

EventFollower::End follow(const CommandContext& context, const AlarmsOptions& options,
                          const std::shared_ptr<AlarmDisplay>& display,
                          const std::shared_ptr<FollowSignals>& signals) {
    const auto follow = std::make_shared<AlarmFollow>(options.view, display);
    EventFollower::Settings settings;
    settings.limit = options.duration;
    EventFollower follower(settings, openingAlarms(context, options, follow, signals), *follow,
                           signals);
    const Handling handling(context.interrupts, endOnInterrupt(signals));
    return follower.run();
}

int listAlarms(const CommandContext& context, const AlarmsOptions& options) {
    const auto signals = std::make_shared<FollowSignals>();
    const auto list =
        std::make_shared<AlarmListReport>(options.filter, [signals] { signals->enough(); });
    const EventFollower::End end = follow(context, options, list, signals);
    if (!list->isRead()) {
        if (end == EventFollower::End::TimeOver)
            Report::error("the time was over before the list had been read");
        return end == EventFollower::End::TimeOver ? kWatchCutShort
                                                   : 128 + context.interrupts.signal();
    }
    try {
        writeToStandardOutput(context.options.json ? list->asJson()
                                                   : list->asTable(terminalWidth(STDOUT_FILENO)));
    } catch (const CannotWrite& problem) {
        Report::error(problem.what());
        return kCannotWrite;
    }
    return list->isComplete() ? kDone : kIncomplete;
}

int followLines(const CommandContext& context, const AlarmsOptions& options) {
    const auto lines = std::make_shared<AlarmLines>(surroundingsOf(context), options.filter);
    follow(context, options, lines, std::make_shared<FollowSignals>());
    return kDone;
}

}  // namespace

int followAlarms(const CommandContext& context, const AlarmsOptions& options) {
    try {
        return options.once ? listAlarms(context, options) : followLines(context, options);
    } catch (const NoSuchManager& lack) {
        Report::error(lack.what());
        return kNoSuchManager;
    }
}

}  // namespace kelp::nms
