#include "events/open_link.h"

#include <unistd.h>

#include <chrono>
#include <utility>

#include "app/chosen_factory.h"
#include "app/handling.h"
#include "events/link_listener.h"
#include "text/terminal.h"

namespace kelp::nms {

namespace {

/// Time to leave while there is no link. There is no session to end, and the EMS that is being
/// called may not answer.
constexpr std::chrono::milliseconds kTimeToGiveUp{2000};

}  // namespace

std::unique_ptr<EmsEventLink> openEventLink(const CommandContext& context, const EventWish& wish,
                                            std::shared_ptr<EventReceiver> receiver,
                                            std::function<void(const LinkLoss&)> lost,
                                            bool isFirst) {
    const ConnectionOptions& connection = context.options;
    const FoundFactory factory = isFirst
                                     ? awaitedFactory(context.client, connection, *context.report)
                                     : chosenFactory(context.client, connection, *context.report);
    const auto listener = std::make_shared<LinkListener>(std::move(receiver), std::move(lost));
    auto session = context.client.logIn(factory, connection.user, context.password, listener);
    context.report->step("logged in as " + connection.user);
    auto link = std::make_unique<EmsEventLink>(std::move(session), context.client.rootPoa(), wish,
                                               listener, connection.timeout, context.report);
    context.report->step("connected to the event channel");
    return link;
}

std::function<std::chrono::milliseconds()> endOnInterrupt(std::shared_ptr<FollowSignals> signals) {
    return [signals = std::move(signals)] {
        signals->interrupt();
        return signals->isConnected() ? kTimeToLeave : kTimeToGiveUp;
    };
}

EventReport::Surroundings surroundingsOf(const CommandContext& context) {
    const bool json = context.options.json;
    return {json, !json && mayBeColoured(STDOUT_FILENO),
            [] { return terminalWidth(STDOUT_FILENO); },
            [] { return std::chrono::system_clock::now(); },
            [report = context.report](const std::string& line) { report->line(line); }};
}

}  // namespace kelp::nms
