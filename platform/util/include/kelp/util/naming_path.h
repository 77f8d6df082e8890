#pragma once

#include <kelp/util/export.h>

#include <compare>
#include <string>
#include <vector>

namespace kelp::util {

/// One component of a naming-service name.
struct NamingComponent {
    std::string id;
    std::string kind;
    auto operator<=>(const NamingComponent&) const = default;
};

/// A name in the naming service, from the root context on.
using NamingPath = std::vector<NamingComponent>;

/// The stringified form (OMG Naming Service 1.3, clause 2.4): "id.kind/id.kind", with '/', '.' and
/// '\' escaped by a backslash.
KELP_EXPORT std::string toText(const NamingPath& path);

/// The name that a stringified form stands for. Throws std::invalid_argument, saying what is wrong,
/// for text that is none.
KELP_EXPORT NamingPath toNamingPath(const std::string& text);

/// The path of an EMS's session factory (TMF 814 SD1-43): contexts Class, Vendor, EmsInstance and
/// Version, and the object.
KELP_EXPORT NamingPath factoryPath(const std::string& emsName, const std::string& version);

}  // namespace kelp::util
