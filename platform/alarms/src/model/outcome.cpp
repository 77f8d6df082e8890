#include "kelp/alarms/event.h"

namespace kelp::alarms {

const char* nameOf(Outcome outcome) {
    switch (outcome) {
        case Outcome::Raised:
            return "raised";
        case Outcome::Changed:
            return "changed";
        case Outcome::Cleared:
            return "cleared";
        case Outcome::Repeated:
            return "repeated";
        case Outcome::Coalesced:
            return "coalesced";
        case Outcome::Passed:
            return "passed";
        case Outcome::NotActive:
            return "not active";
        case Outcome::Acknowledged:
            return "acknowledged";
        case Outcome::Unacknowledged:
            return "unacknowledged";
        case Outcome::AlreadySo:
            return "already so";
    }
    return "";
}

}  // namespace kelp::alarms
