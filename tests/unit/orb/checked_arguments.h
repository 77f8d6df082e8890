#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "giop/arguments/argument_check.h"
#include "hand_made_types.h"

namespace kelp::orb::giop {

inline void PrintTo(ArgumentVerdict verdict, std::ostream* out) {
    *out << textOf(verdict);
}

}  // namespace kelp::orb::giop

namespace kelp::test {

using orb::giop::ArgumentLimits;
using orb::giop::ArgumentVerdict;

/// Check parameters at the beginning of a message's body, which begins at a multiple of 8.
inline ArgumentVerdict checked(const std::string& operation, const std::string& parameters,
                               const ArgumentLimits& limits = {}, bool littleEndian = true,
                               std::uint8_t minorVersion = 2) {
    const std::string message = std::string(24, '\0') + parameters;
    return orb::giop::checkArguments(
        operation,
        {{reinterpret_cast<const std::uint8_t*>(message.data()), message.size()},
         24,
         littleEndian,
         minorVersion,
         {}},
        limits);
}

inline ArgumentVerdict checkedAny(const TypeWriter& any, const ArgumentLimits& limits = {}) {
    return checked("push", any.bytes(), limits);
}

}  // namespace kelp::test
