#pragma once

#include <string_view>

namespace kelp::orb {

/// What an object key of this ORB says: FF name FF name ... then FE and 8 octets (of a transient
/// POA) or nothing (of a persistent one), 00, object id. Views of the key.
struct ObjectKey {
    std::string_view
        poaPath;  ///< FF name FF name ..., from the root's child on; empty for no POA below it
    bool hasTransientMark = false;
    bool hasObjectId = false;  ///< false for a key that ends early
    std::string_view objectId;

    static ObjectKey of(std::string_view key);
    /// Takes the first name off the path; empty for an empty path.
    static std::string_view takeName(std::string_view& path);
};

}  // namespace kelp::orb
