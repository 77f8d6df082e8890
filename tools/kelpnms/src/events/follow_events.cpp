#include "events/follow_events.h"

#include <unistd.h>

#include <utility>

#include "app/chosen_factory.h"
#include "app/exit_codes.h"
#include "app/handling.h"
#include "events/ems_event_link.h"
#include "events/link_listener.h"
#include "text/terminal.h"

namespace kelp::nms {

namespace {

/// Time to leave while there is no link. There is no session to end, and the EMS that is being
/// called may not answer.
constexpr std::chrono::milliseconds kTimeToGiveUp{2000};

EventReport::Surroundings surroundings(const CommandContext& context) {
    const bool json = context.options.json;
    return {json, !json && mayBeColoured(STDOUT_FILENO),
            [] { return terminalWidth(STDOUT_FILENO); },
            [] { return std::chrono::system_clock::now(); },
            [report = context.report](const std::string& line) { report->line(line); }};
}

EventFollower::OpenLink opening(const CommandContext& context, const EventsOptions& options,
                                const std::shared_ptr<EventView>& view) {
    return [&context, &options, view,
            isFirst = true](std::function<void(const LinkLoss&)> lost) mutable {
        const ConnectionOptions& connection = context.options;
        // for later links, the follower's pauses are the wait for the factory
        const FoundFactory factory =
            std::exchange(isFirst, false)
                ? awaitedFactory(context.client, connection, *context.report)
                : chosenFactory(context.client, connection, *context.report);
        const auto listener = std::make_shared<LinkListener>(view, std::move(lost));
        auto session = context.client.logIn(factory, connection.user, context.password, listener);
        context.report->step("logged in as " + connection.user);
        auto link = std::make_unique<EmsEventLink>(std::move(session), context.client.rootPoa(),
                                                   EventWish{options.filter, options.sequences},
                                                   listener, connection.timeout, context.report);
        context.report->step("connected to the event channel");
        return link;
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
    const auto view = std::make_shared<EventView>(EventReport(surroundings(context)),
                                                  GapDetector(options.heartbeatInterval),
                                                  options.count, [signals] { signals->enough(); });
    EventFollower::Settings settings;
    settings.reconnect = options.reconnect;
    settings.limit = options.duration;
    EventFollower follower(settings, opening(context, options, view), *view, signals);
    const Handling handling(context.interrupts, [signals] {
        signals->interrupt();
        return signals->isConnected() ? kTimeToLeave : kTimeToGiveUp;
    });
    return exitCodeOf(follower.run(), options);
}

}  // namespace kelp::nms
