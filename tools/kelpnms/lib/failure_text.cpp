#include "failure_text.h"

#include <kelp/orb/exception_text.h>
#include <kelp/orb/tls_files.h>

namespace kelp::nms {

std::string failureText(const CORBA::Exception& raised) {
    const std::string refusedServer = orb::takeRefusedServer();
    return orb::exceptionText(raised) + (refusedServer.empty() ? "" : " (" + refusedServer + ")");
}

}  // namespace kelp::nms
