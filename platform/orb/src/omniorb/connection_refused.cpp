#include "../connection_refused.h"

#include <omniORB4/minorCode.h>

namespace kelp::orb {

bool isConnectionRefused(const CORBA::TRANSIENT& exception) {
    return exception.minor() == omni::TRANSIENT_ConnectFailed;
}

}  // namespace kelp::orb
