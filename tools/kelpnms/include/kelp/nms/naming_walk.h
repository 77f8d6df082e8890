#pragma once

#include <kelp/nms/naming_path.h>

#include <string>
#include <vector>

namespace kelp::nms {

/// What one context of the naming service lists.
struct NamingEntry {
    NamingComponent name;
    bool isContext = false;
};

/// The naming service as the walk sees it.
class NamingTree {
  public:
    virtual ~NamingTree() = default;
    /// The entries of a context, by its path from the root; the root's path is empty. An exception
    /// ends the walk for the root and leaves out the context below it.
    virtual std::vector<NamingEntry> list(const NamingPath& context) = 0;
    /// True when the object bound here says of itself that it is a session factory. Makes no call
    /// to it.
    virtual bool isFactory(const NamingPath& object) = 0;
};

/// The paths of all session factories below the root, in the order of the listings: objects bound
/// with the kind "EmsSessionFactory_I" (TMF 814 SD1-43), and others whose reference has the
/// factory's type. Contexts deeper than 16 levels are not visited, so that a cycle of contexts
/// ends. Contexts that cannot be listed are named in `unreadable`.
std::vector<NamingPath> findFactories(NamingTree& tree, std::vector<NamingPath>& unreadable);

}  // namespace kelp::nms
