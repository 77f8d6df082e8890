#include "events/follow_events.h"

#include <memory>
#include <utility>

#include "app/exit_codes.h"
#include "app/handling.h"
#include "events/event_view.h"
#include "events/open_link.h"

namespace kelp::nms {

namespace {

EventFollower::OpenLink opening(const CommandContext& context, const EventsOptions& options,
                                const std::shared_ptr<EventView>& view) {
    return [&context, &options, view,
            isFirst = true](std::function<void(const LinkLoss&)> lost) mutable {
        return openEventLink(context, {options.filter, options.sequences}, view, std::move(lost),
                             std::exchange(isFirst, false));
    };
}

int exitCodeOf(EventFollower::End end, const EventsOptions& options) {
    switch (end) {
        case EventFollower::End::Lost:
            return kWatchCutShort;
        case EventFollower::End::TimeOver:
            if (options.count == 0)
                break;  // no number of events was requested
            Report::error("the time was over before the number of events of --count had arrived");
            return kWatchCutShort;
        case EventFollower::End::Enough:
        case EventFollower::End::Interrupted:
            break;
    }
    return kDone;
}

}  // namespace

int followEvents(const CommandContext& context, const EventsOptions& options) {
    const auto signals = std::make_shared<FollowSignals>();
    const auto view = std::make_shared<EventView>(EventReport(surroundingsOf(context)),
                                                  GapDetector(options.heartbeatInterval),
                                                  options.count, [signals] { signals->enough(); });
    EventFollower::Settings settings;
    settings.reconnect = options.reconnect;
    settings.limit = options.duration;
    EventFollower follower(settings, opening(context, options, view), *view, signals);
    const Handling handling(context.interrupts, endOnInterrupt(signals));
    return exitCodeOf(follower.run(), options);
}

}  // namespace kelp::nms
