#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "giop/arguments/argument_limits.h"

/// Checks on encoded GIOP messages, made before the ORB decodes them. Pure functions; no ORB is
/// involved.
namespace kelp::orb::giop {

/// The encoded in and inout parameters of one request. It refers to the message and does not copy
/// it.
struct EncodedArguments {
    /// The whole message from its GIOP header on. A fragmented message is put together without the
    /// headers of its further fragments.
    std::span<const std::uint8_t> message;
    /// Where the parameters begin in the message, after the padding that GIOP 1.2 puts before them.
    /// At the end of the message for a request without parameters.
    std::size_t body = 0;
    bool littleEndian = false;
    std::uint8_t minorVersion = 2;  ///< of GIOP 1.x
    /// GIOP 1.1 alone: where the octets of each further fragment begin in the message, ascending.
    /// Alignment begins anew there, as if a GIOP header came before (CORBA 15.4.9).
    std::span<const std::size_t> fragments;
};

/// What is wrong with the parameters of a request.
enum class ArgumentVerdict {
    Fine,      ///< within all limits, or the operation takes neither an any nor a TypeCode
    TooDeep,   ///< types or values nested too deeply
    TooMany,   ///< too many types, or values that take more work than the message's size allows
    TooLong,   ///< a type that is too long to be real
    Malformed  ///< not CDR of the operation's parameters, or a type that IDL cannot express
};

/// The verdict as a word for traces: "too deep".
std::string_view textOf(ArgumentVerdict verdict);

/// Checks the TypeCodes and anys in the parameters of an operation (CORBA 15.3.5). The work is
/// linear in the size of the message, for any content. Values of valuetypes other than nil are
/// Malformed: no interface of this product takes them. Octets after the last parameter are not
/// looked at. An operation that takes neither an any nor a TypeCode is Fine without a check. Safe
/// from any thread.
ArgumentVerdict checkArguments(std::string_view operation, const EncodedArguments& arguments,
                               const ArgumentLimits& limits = {});

}  // namespace kelp::orb::giop
