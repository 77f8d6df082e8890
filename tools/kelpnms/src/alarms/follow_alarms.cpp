#include "alarms/follow_alarms.h"

#include <unistd.h>

#include <memory>

#include "alarms/alarm_lines.h"
#include "alarms/alarm_list_report.h"
#include "alarms/run_follower.h"
#include "app/exit_codes.h"
#include "app/handling.h"
#include "events/open_link.h"
#include "text/output.h"
#include "text/terminal.h"
#include "upload/network_reader.h"

namespace kelp::nms {

namespace {

int listAlarms(const CommandContext& context, const AlarmsOptions& options) {
    const auto signals = std::make_shared<FollowSignals>();
    const auto list =
        std::make_shared<AlarmListReport>(options.filter, [signals] { signals->enough(); });
    const Handling handling(context.interrupts, endOnInterrupt(signals));
    const EventFollower::End end = runFollower(context, options, list, signals);
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
    const auto signals = std::make_shared<FollowSignals>();
    const Handling handling(context.interrupts, endOnInterrupt(signals));
    runFollower(context, options, lines, signals);
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
