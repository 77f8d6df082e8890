#pragma once

#include <kelp/naming/naming_service.h>
#include <kelp/util/mutex.h>

#include <memory>
#include <string>
#include <vector>

#include "iterator_table.h"
#include "name_tree.h"
#include "surroundings.h"

namespace kelp::naming {

/// What all servants of a naming service share: the tree, the object in it and the iterators. Paths
/// begin at the root. `context` is the number of their components that lead to the called context:
/// an exception names the components after these, as the caller gave them. Any thread may call it.
/// No lock is held during calls to the ORB.
class ServedTree {
  public:
    /// Throws std::invalid_argument if the paths contradict each other.
    ServedTree(const NamingSettings& settings, std::unique_ptr<Surroundings> surroundings,
               OnRefusedChange onRefused);

    Surroundings& surroundings() const { return *surroundings_; }
    void change(const std::vector<util::NamingPath>& aliases, const NamingLimits& limits)
        KELP_EXCLUDES(mutex_);
    NamingLimits limits() const KELP_EXCLUDES(mutex_);

    bool isContext(const util::NamingPath& path) const { return tree()->isContext(path); }
    /// What the path leads to; the caller owns the reference. Throws NotFound.
    CORBA::Object_ptr resolve(const util::NamingPath& path, std::size_t context) const;
    std::vector<NameEntry> list(const util::NamingPath& context) const;

    /// If the current request came over a connection, report the modification and throw
    /// NO_PERMISSION.
    void refuseOutsiders(const char* operation, const CosNaming::Name& name) const;
    enum class Bind { New, Over };
    /// Bind the object. Throws NO_PERMISSION if `path` is not the object's own, and AlreadyBound if
    /// `how` is New and an object is bound.
    void bind(const util::NamingPath& path, CORBA::Object_ptr object, Bind how)
        KELP_EXCLUDES(mutex_);
    /// Unbind the object. Throws NO_PERMISSION likewise, and NotFound if no object is bound.
    void unbind(const util::NamingPath& path, std::size_t context) KELP_EXCLUDES(mutex_);

    IteratorTable& iterators() { return iterators_; }

  private:
    std::shared_ptr<const NameTree> tree() const KELP_EXCLUDES(mutex_);
    CORBA::Object_ptr object() const KELP_EXCLUDES(mutex_);

    const util::NamingPath objectPath_;
    const std::unique_ptr<Surroundings> surroundings_;
    const OnRefusedChange onRefused_;
    IteratorTable iterators_;  // has a separate lock
    mutable util::Mutex mutex_{util::LockRank::Leaf, "ServedTree::mutex_"};
    std::shared_ptr<const NameTree> tree_ KELP_GUARDED_BY(mutex_);
    NamingLimits limits_ KELP_GUARDED_BY(mutex_);
    CORBA::Object_var object_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::naming
