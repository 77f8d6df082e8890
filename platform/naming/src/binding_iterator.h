#pragma once

#include <cos/CosNaming.h>
#include <kelp/orb/corba.h>

#include <memory>

#include "served_tree.h"

namespace kelp::naming {

/// The servant of all open iterators (OMG Naming Service 1.3, clause 2.3.9). The object id is the
/// iterator's id in the table.
class BindingIterators final : public virtual POA_CosNaming::BindingIterator {
  public:
    explicit BindingIterators(std::shared_ptr<ServedTree> tree) : tree_(std::move(tree)) {}

    CORBA::Boolean next_one(CosNaming::Binding_out b) override;
    CORBA::Boolean next_n(CORBA::ULong how_many, CosNaming::BindingList_out bl) override;
    void destroy() override;

    CORBA::Boolean _non_existent() override;

  private:
    ~BindingIterators() override = default;
    /// Throws OBJECT_NOT_EXIST if the iterator has ended.
    std::vector<NameEntry> next(std::size_t count) const;

    const std::shared_ptr<ServedTree> tree_;
};

}  // namespace kelp::naming
