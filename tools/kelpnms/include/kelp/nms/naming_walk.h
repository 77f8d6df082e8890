#pragma once

#include <kelp/nms/naming_path.h>

#include <string>
#include <vector>

namespace kelp::nms {

/// One entry in the listing of a naming context.
struct NamingEntry {
    NamingComponent name;
    bool isContext = false;
};

/// The operations of the naming service that the walk uses.
class NamingTree {
  public:
    virtual ~NamingTree() = default;
    /// List the entries of a context, given by its path from the root; the root's path is empty. If
    /// listing the root throws, the walk ends with that exception. If listing any other context
    /// throws, the walk skips that context.
    virtual std::vector<NamingEntry> list(const NamingPath& context) = 0;
    /// Whether the reference bound under this name has the type of a session factory. Makes no call
    /// to the object.
    virtual bool isFactory(const NamingPath& object) = 0;
};

/// Return the paths of all session factories below the root, in the order of the listings: objects
/// bound with the kind "EmsSessionFactory_I" (TMF 814 SD1-43), and objects whose reference has the
/// factory's type. Contexts deeper than 16 levels are not visited, so the walk ends even if
/// contexts form a cycle. Contexts that cannot be listed are added to `unreadable`.
std::vector<NamingPath> findFactories(NamingTree& tree, std::vector<NamingPath>& unreadable);

}  // namespace kelp::nms
