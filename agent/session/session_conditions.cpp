#include "session/session_conditions.h"

#include <kelp/admin/conditions.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/util/trace_log.h>

#include <string>
#include <vector>

#include "adapter/session_source.h"
#include "session/ems_session_impl.h"
#include "session/event_loss_state.h"
#include "util/servant_ref.h"

namespace NS_KELPCORBA {
namespace {

using kelp::admin::Condition;
using kelp::admin::Severity;

constexpr std::size_t kShownBytesMax = 100;

kelp::admin::Registration theRegistration;

std::vector<Condition> sessionConditions() {
    std::vector<Condition> all;
    SessionMgr* const sessions = SessionMgr::Existing();
    if (sessions == nullptr)
        return all;
    for (const auto& each : sessions->PinSessions()) {
        const SessionSource& source = *each->source();
        const std::int32_t failures = source.get_ping_failures();
        if (failures == 0)
            continue;
        all.push_back({"nms-silent", Severity::Warning,
                       "NMS " + kelp::util::escaped(source.get_user_name(), kShownBytesMax) +
                           " at " + kelp::util::escaped(source.get_ip_and_port(), kShownBytesMax) +
                           " has not answered " + std::to_string(failures) +
                           (failures == 1 ? " ping" : " pings"),
                       std::nullopt, "check the NMS and the network; its session will be ended"});
    }
    if (const EventLoss loss = sessions->CurrentEventLoss(); !loss.isCleared)
        all.push_back(
            {"events-lost", Severity::Critical,
             "events are being lost since " + kelp::util::escaped(loss.time, kShownBytesMax),
             std::nullopt,
             "find the slow consumer with kelpctl consumers; NMS must read the alarms "
             "again"});
    return all;
}

}  // namespace

void enterSessionConditions() {
    theRegistration = kelp::admin::Conditions::instance().enter("sessions", sessionConditions);
}

void leaveSessionConditions() {
    theRegistration.leave();
}

}  // namespace NS_KELPCORBA
