#pragma once

#include <kelp/nms/event_stream.h>

#include <chrono>
#include <functional>
#include <memory>

#include "app/command.h"
#include "events/ems_event_link.h"
#include "events/event_receiver.h"
#include "events/event_report.h"
#include "events/follow_signals.h"

namespace kelp::nms {

/// Log in and connect a consumer, whose events `receiver` gets. For the first link, wait for the
/// session factory; for later ones, the follower's pauses are that wait. Throws NmsError.
std::unique_ptr<EmsEventLink> openEventLink(const CommandContext& context, const EventWish& wish,
                                            std::shared_ptr<EventReceiver> receiver,
                                            std::function<void(const LinkLoss&)> lost,
                                            bool isFirst);

/// Return the handler of interrupts for a follower: it ends the following, and leaves the program
/// the time to log out.
std::function<std::chrono::milliseconds()> endOnInterrupt(std::shared_ptr<FollowSignals> signals);

/// Where and how the command writes its lines: standard output, with colours on a terminal.
EventReport::Surroundings surroundingsOf(const CommandContext& context);

}  // namespace kelp::nms
