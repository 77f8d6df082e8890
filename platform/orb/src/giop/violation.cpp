#include "giop/violation.h"

namespace kelp::orb::giop {

std::string_view textOf(Violation violation) {
    switch (violation) {
        case Violation::None:
            return "nothing wrong";
        case Violation::NotGiop:
            return "not GIOP";
        case Violation::Version:
            return "GIOP version not supported";
        case Violation::VersionChanged:
            return "GIOP version changed within a connection";
        case Violation::Flags:
            return "flags not allowed";
        case Violation::Type:
            return "message type not allowed";
        case Violation::TooLarge:
            return "message too large";
        case Violation::TooLargeBeforeLogin:
            return "message too large before log-in";
        case Violation::FragmentOfNothing:
            return "fragment of no open request";
        case Violation::FragmentSize:
            return "fragment of a size that is no multiple of 8";
        case Violation::TooManyFragmented:
            return "too many unfinished fragmented requests";
        case Violation::RequestIdInUse:
            return "request id of an unfinished request";
        case Violation::Interleaved:
            return "another message among the fragments of a request";
        case Violation::RequestHeader:
            return "malformed request header";
        case Violation::NoKey:
            return "target without a usable profile";
        case Violation::TooManyLocates:
            return "too many LocateRequests";
        case Violation::NoMemory:
            return "no memory left for unfinished input";
        case Violation::TooSlow:
            return "unfinished message not continued in time";
    }
    return "unknown";
}

}  // namespace kelp::orb::giop
