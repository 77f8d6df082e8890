#pragma once

#include <string_view>

namespace kelp::orb {

/// The parts of an object key of this ORB: FF name FF name ..., then FE and 8 octets (of a
/// transient POA) or nothing (of a persistent one), then 00 and the object id. Views of the key.
struct ObjectKey {
    /// FF name FF name ..., from the root's child on. Empty when there is no POA below the root.
    std::string_view poaPath;
    bool hasTransientMark = false;
    bool hasObjectId = false;  ///< false for a key that ends early
    std::string_view objectId;

    static ObjectKey of(std::string_view key);
    /// Remove the first name from the path and return it; empty for an empty path.
    static std::string_view takeName(std::string_view& path);
};

}  // namespace kelp::orb
