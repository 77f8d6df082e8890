#pragma once

#include <string_view>

namespace kelp::orb::giop {

/// Why the octets of a connection are refused. Each reason ends the connection.
enum class Violation {
    None,
    NotGiop,         ///< the magic is missing
    Version,         ///< not GIOP 1.0 to 1.2
    VersionChanged,  ///< not the version of the connection's first message
    Flags,     ///< flags that the version does not have, or fragments of different byte orders
    Type,      ///< a message type that clients do not send or that the version does not have
    TooLarge,  ///< a message that exceeds the limit with all its fragments
    TooLargeBeforeLogin,  ///< the same, for an address without a log-in
    FragmentOfNothing,    ///< a Fragment for a request that is not open
    FragmentSize,  ///< a GIOP 1.2 message before the last fragment whose size is no multiple of 8
    TooManyFragmented,  ///< more unfinished fragmented requests than one connection may have
    RequestIdInUse,     ///< a request with the id of an unfinished one
    Interleaved,        ///< GIOP 1.1: another message among the fragments of a request
    RequestHeader,   ///< lengths in a request's header that do not fit, or an operation that is no
                     ///< name
    NoKey,           ///< a target without a usable IIOP profile
    TooManyLocates,  ///< more LocateRequests than the limit
    NoMemory,        ///< the memory for unfinished input is used up
    TooSlow          ///< a header or a message that does not arrive in time
};

/// Return the reason as text for logs: "fragment of no open request".
std::string_view textOf(Violation violation);

}  // namespace kelp::orb::giop
