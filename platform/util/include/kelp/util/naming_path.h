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

/// A name in the naming service, beginning at the root context.
using NamingPath = std::vector<NamingComponent>;

/// The stringified form (OMG Naming Service 1.3, clause 2.4): "id.kind/id.kind", with '/', '.' and
/// '\' escaped by a backslash.
KELP_EXPORT std::string toText(const NamingPath& path);

/// Parse a stringified name. Throws std::invalid_argument, which says what is wrong.
KELP_EXPORT NamingPath toNamingPath(const std::string& text);

/// The path of an EMS's session factory (TMF 814 SD1-43): the contexts Class, Vendor, EmsInstance
/// and Version, then the object.
KELP_EXPORT NamingPath factoryPath(const std::string& emsName, const std::string& version);

}  // namespace kelp::util
