#include "app/with_session.h"

#include "app/chosen_factory.h"
#include "app/handling.h"
#include "app/log_out.h"

namespace kelp::nms {

int withSession(const CommandContext& context, const std::function<int(NmsSession&)>& use) {
    const FoundFactory factory = awaitedFactory(context.client, context.options, *context.report);
    // from here on, a signal leaves the command this time to finish and log out
    const Handling handling(context.interrupts, [] { return kTimeToLeave; });
    const auto session = context.client.logIn(factory, context.options.user, context.password);
    context.report->step("logged in as " + context.options.user);
    const int exitCode = use(*session);
    logOut(*session, context.options.timeout, *context.report);
    return exitCode;
}

}  // namespace kelp::nms
