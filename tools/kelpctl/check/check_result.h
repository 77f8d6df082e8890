#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kelp::ctl {

/// The steps of an NMS from the naming service to the log-out, in their order.
enum class Step { Naming, Entry, Address, Factory, LogIn, Manager, Channel, LogOut };

enum class StepState { Ok, Failed, Skipped };

/// Why a step failed.
enum class Cause {
    NotStarted,     ///< this program lacks something, such as a certificate
    UnknownHost,    ///< the host name has no address
    Refused,        ///< nobody listens on the address
    NoRoute,        ///< the network does not lead there
    NotConnected,   ///< the attempt to connect got no answer in time
    NoAnswer,       ///< the call got no answer in time
    WrongObject,    ///< somebody else answers
    UnknownObject,  ///< the right kind of process answers, but it does not know the object
    NotBound,       ///< the naming service has no such entry
    NoAddress,      ///< the reference has no address that can be called
    Denied,         ///< the EMS refuses it, for the reason that it gives
    StillThere,     ///< the session exists after the log-out
    Other,
};

/// A step failed. `address` is where ("host:port", or a host alone if its name has no address). The
/// peer may have chosen both texts.
struct Failure {
    Cause cause = Cause::Other;
    std::string address;
    std::string reason;
};

struct StepResult {
    Step step = Step::Naming;
    StepState state = StepState::Skipped;
    std::chrono::microseconds took{0};
    std::string detail;  ///< what was found, or why it was skipped; the peer may have chosen it
    std::optional<Failure> failure = std::nullopt;  ///< set if the step failed
};

/// What is checked, as the configuration and the command line name it.
struct CheckTarget {
    std::string namingHost;
    std::uint16_t namingPort = 0;
    bool isEmbedded = true;  ///< the naming service is inside kelpd
    bool overTls = false;
    std::string path;                    ///< stringified name of the session factory
    std::string user;                    ///< empty: no log-in
    std::chrono::milliseconds limit{0};  ///< of each step
};

/// Return the step's name as the table and the JSON show it.
const char* nameOf(Step step);

/// Return the first failed step; null if there is none.
const StepResult* firstFailure(const std::vector<StepResult>& steps);

}  // namespace kelp::ctl
