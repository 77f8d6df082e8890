#pragma once

#include <cos/CosNaming.h>
#include <kelp/nms/naming_walk.h>

namespace kelp::nms {

CosNaming::Name toCosName(const NamingPath& path);

/// A naming service, given by its root context. Operations throw Unreachable.
class CosNamingTree : public NamingTree {
  public:
    explicit CosNamingTree(CORBA::ORB_ptr orb, CosNaming::NamingContext_ptr root);

    std::vector<NamingEntry> list(const NamingPath& context) override;
    bool isFactory(const NamingPath& object) override;

    /// Return the object bound under a name. The caller owns the reference.
    CORBA::Object_ptr resolve(const NamingPath& path);

  private:
    CosNaming::NamingContext_ptr contextAt(const NamingPath& path);

    CORBA::ORB_var orb_;
    CosNaming::NamingContext_var root_;
};

}  // namespace kelp::nms
