#include "owner.h"

#include <kelp/util/trace_log.h>

namespace kelp::notification {

void traceDropped(const std::string& proxy, const Owner& owner) {
    const std::optional<kelp::orb::PeerAddress> peer = owner.peer();
    kelp::util::traceFrom("notification", proxy + " of " + (peer ? peer->text : "this process") +
                                              " is dropped: nobody may use the channel from there any more");
}

}  // namespace kelp::notification
