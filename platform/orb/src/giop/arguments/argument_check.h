#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "giop/arguments/argument_limits.h"

/// Checks on encoded GIOP messages, made before the ORB decodes them. Pure functions; no ORB is
/// involved.
namespace kelp::orb::giop {

/// The encoded in and inout parameters of one request. Refers to the message without copying it.
struct EncodedArguments {
    /// The whole message, from its GIOP header on. A fragmented message is joined without the
    /// headers of its further fragments.
    std::span<const std::uint8_t> message;
    /// Offset of the parameters in the message, after the padding that GIOP 1.2 puts before them.
    /// The message's size for a request without parameters.
    std::size_t body = 0;
    bool littleEndian = false;
    std::uint8_t minorVersion = 2;  ///< of GIOP 1.x
    /// GIOP 1.1 only: the offset in the message of each further fragment's octets, ascending.
    /// Alignment restarts there as if a GIOP header came before (CORBA 15.4.9).
    std::span<const std::size_t> fragments;
};

/// What is wrong with the parameters of a request.
enum class ArgumentVerdict {
    Fine,      ///< within all limits, or the operation takes neither an any nor a TypeCode
    TooDeep,   ///< types or values nested too deeply
    TooMany,   ///< too many types, or values that take more work than the message's size allows
    TooLong,   ///< a TypeCode that is longer than any real one
    Malformed  ///< not CDR of the operation's parameters, or a type that IDL cannot express
};

/// Return the verdict as text for traces: "too deep".
std::string_view textOf(ArgumentVerdict verdict);

/// Check the TypeCodes and anys in the parameters of an operation (CORBA 15.3.5). The work is
/// linear in the size of the message, whatever its content. Valuetypes other than nil are
/// Malformed, because no interface of this product accepts them. Octets after the last parameter
/// are not checked. An operation that takes neither an any nor a TypeCode is Fine without a check.
/// Callable from any thread.
ArgumentVerdict checkArguments(std::string_view operation, const EncodedArguments& arguments,
                               const ArgumentLimits& limits = {});

}  // namespace kelp::orb::giop
