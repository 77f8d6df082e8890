#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace kelp::nms {

/// One component of a naming-service name.
struct NamingComponent {
    std::string id;
    std::string kind;
    bool operator==(const NamingComponent&) const = default;
};

/// A name in the naming service, from the root context on.
using NamingPath = std::vector<NamingComponent>;

/// The stringified form (OMG Naming Service 1.3, clause 2.4): "id.kind/id.kind", with '/', '.' and '\'
/// escaped by a backslash.
std::string toText(const NamingPath& path);

/// The name that a stringified form stands for. Throws std::invalid_argument, saying what is wrong, for text
/// that is none.
NamingPath toNamingPath(const std::string& text);

}  // namespace kelp::nms
