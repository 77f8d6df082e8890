#include "dumps/follow_dump.h"

#include <memory>
#include <utility>

#include "app/exit_codes.h"
#include "app/handling.h"
#include "dumps/dump_link.h"
#include "events/open_link.h"
#include "text/output.h"
#include "upload/network_reader.h"

namespace kelp::nms {

namespace {

/// What is subscribed to. Heartbeats show that the channel is alive.
constexpr const char* kNetworkEvents =
    "$type_name == 'NT_OBJECT_CREATION' or $type_name == 'NT_OBJECT_DELETION' or "
    "$type_name == 'NT_ATTRIBUTE_VALUE_CHANGE' or $type_name == 'NT_STATE_CHANGE' or "
    "$type_name == 'NT_HEARTBEAT'";

EventFollower::OpenLink openingDump(const CommandContext& context, const DumpOptions& options,
                                    const std::shared_ptr<DumpFollow>& follow) {
    return [&context, &options, follow,
            isFirst = true](std::function<void(const LinkLoss&)> lost) mutable {
        auto link = openEventLink(context, {kNetworkEvents, true}, follow, std::move(lost),
                                  std::exchange(isFirst, false));
        return std::make_unique<DumpLink>(std::move(link), follow, options);
    };
}

}  // namespace

int followDump(const CommandContext& context, const DumpOptions& options) {
    const auto follow = std::make_shared<DumpFollow>();
    const auto signals = std::make_shared<FollowSignals>();
    EventFollower follower({}, openingDump(context, options, follow), *follow, signals);
    const Handling handling(context.interrupts, [follow, end = endOnInterrupt(signals)] {
        follow->interrupt();
        return end();
    });
    try {
        follower.run();
        return kDone;
    } catch (const NoSuchManager& lack) {
        Report::error(lack.what());
        return kNoSuchManager;
    } catch (const CannotWrite& problem) {
        Report::error(problem.what());
        return kCannotWrite;
    }
}

}  // namespace kelp::nms
