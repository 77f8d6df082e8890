#pragma once

#include <string_view>

namespace kelp::orb::giop {

/// Why a connection's octets are refused. Each ends the connection.
enum class Violation {
    None,
    NotGiop,         ///< the magic is missing
    Version,         ///< not GIOP 1.0 to 1.2
    VersionChanged,  ///< another version than that of the connection's first message
    Flags,     ///< flags that the version does not have, or fragments of different byte orders
    Type,      ///< a message that a client does not send, or that its version does not have
    TooLarge,  ///< a message, with all its fragments, above the limit
    TooLargeBeforeLogin,  ///< the same for an address that nobody is logged in from
    FragmentOfNothing,    ///< a Fragment for a request that is not open
    FragmentSize,  ///< a GIOP 1.2 message with fragments to come whose size is no multiple of 8
    TooManyFragmented,  ///< more unfinished fragmented requests than one connection may have
    RequestIdInUse,     ///< a request with the id of an unfinished one
    Interleaved,        ///< GIOP 1.1: another message among the fragments of a request
    RequestHeader,   ///< lengths of a request's header that do not fit, or an operation that is no
                     ///< name
    NoKey,           ///< a target without a usable IIOP profile
    TooManyLocates,  ///< LocateRequests beyond the limit
    NoMemory,        ///< the memory for unfinished input is used up
    TooSlow          ///< a header or a message that does not arrive in time
};

/// For logs: "fragment of no open request".
std::string_view textOf(Violation violation);

}  // namespace kelp::orb::giop
