#pragma once

#include <kelp/naming/naming_service.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "iterator_table.h"
#include "name_tree.h"
#include "surroundings.h"

namespace kelp::naming {

/// What all servants of a naming service share: the tree, the object that it shows, and the
/// iterators. Paths are whole, from the root on; `context` is how many of their components lead to
/// the context that was called, so that exceptions name the rest as the caller gave it. Callable
/// from any thread; no lock is held while the ORB is called.
class ServedTree {
  public:
    /// Throws std::invalid_argument for paths that do not fit together.
    ServedTree(const NamingSettings& settings, std::unique_ptr<Surroundings> surroundings,
               OnRefusedChange onRefused);

    Surroundings& surroundings() const { return *surroundings_; }
    void change(const std::vector<util::NamingPath>& aliases, const NamingLimits& limits);
    NamingLimits limits() const;

    bool isContext(const util::NamingPath& path) const { return tree()->isContext(path); }
    /// What the path leads to, which the caller owns. Throws NotFound.
    CORBA::Object_ptr resolve(const util::NamingPath& path, std::size_t context) const;
    std::vector<NameEntry> list(const util::NamingPath& context) const;

    /// Refuses, and reports, what a caller from outside wants to change. Throws NO_PERMISSION.
    void refuseOutsiders(const char* operation, const CosNaming::Name& name) const;
    enum class Bind { New, Over };
    /// Throws AlreadyBound for Bind::New, and NO_PERMISSION for a path that is not the object's
    /// own.
    void bind(const util::NamingPath& path, CORBA::Object_ptr object, Bind how);
    /// Throws NotFound, and NO_PERMISSION likewise.
    void unbind(const util::NamingPath& path, std::size_t context);

    IteratorTable& iterators() { return iterators_; }

  private:
    std::shared_ptr<const NameTree> tree() const;
    CORBA::Object_ptr object() const;

    const util::NamingPath objectPath_;
    const std::unique_ptr<Surroundings> surroundings_;
    const OnRefusedChange onRefused_;
    IteratorTable iterators_;  // has its own lock
    mutable std::mutex mutex_;
    std::shared_ptr<const NameTree> tree_;  // these three are guarded by mutex_
    NamingLimits limits_;
    CORBA::Object_var object_;
};

}  // namespace kelp::naming
