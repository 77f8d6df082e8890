#pragma once

#include <cstdint>

namespace kelp::orb::giop {

/// Limits on the types and values in the parameters of one request. The largest types of the
/// interface are a small part of each.
struct ArgumentLimits {
    /// Levels of types and of values, each counted on its own. The deepest type of the interface
    /// has 18.
    std::uint32_t depthMax = 40;
    /// Anys within anys. The ORB's work doubles with each level.
    std::uint32_t anyDepthMax = 8;
    /// Types within one TypeCode, where a type counts again for each indirection to it.
    std::uint32_t typesMax = 4096;
    /// Octets of one TypeCode.
    std::uint32_t typeOctetsMax = 262144;
    /// Steps of work that a message of any size may take: one for each type and each value, doubled
    /// for each any around it.
    std::uint64_t workBase = 65536;
    /// Further steps for each octet of the message. A real one takes less than one.
    std::uint64_t workPerOctet = 16;
};

}  // namespace kelp::orb::giop
