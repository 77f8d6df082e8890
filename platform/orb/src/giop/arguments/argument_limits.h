#pragma once

#include <cstdint>

namespace kelp::orb::giop {

/// Limits on the types and values in the parameters of one request. The largest types of the
/// interface use a small part of each.
struct ArgumentLimits {
    /// Maximum levels of types and of values, each counted separately. The deepest type of the
    /// interface has 18.
    std::uint32_t depthMax = 40;
    /// Maximum levels of anys within anys. The ORB's work doubles with each level.
    std::uint32_t anyDepthMax = 8;
    /// Maximum types within one TypeCode. A type counts again for each indirection to it.
    std::uint32_t typesMax = 4096;
    /// Maximum size of one TypeCode in octets.
    std::uint32_t typeOctetsMax = 262144;
    /// Steps of work that a message of any size may take. Each type and each value is one step,
    /// doubled for each any around it.
    std::uint64_t workBase = 65536;
    /// Additional steps for each octet of the message. A real message takes less than one.
    std::uint64_t workPerOctet = 16;
};

}  // namespace kelp::orb::giop
