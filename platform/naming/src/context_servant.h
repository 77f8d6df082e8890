#pragma once

#include <cos/CosNaming.h>
#include <kelp/orb/corba.h>

#include <memory>

#include "served_tree.h"

namespace kelp::naming {

/// The servant of naming contexts of the tree (OMG Naming Service 1.3, clauses 2.3 and 2.5).
class ContextServant : public virtual POA_CosNaming::NamingContextExt {
  public:
    explicit ContextServant(std::shared_ptr<ServedTree> tree) : tree_(std::move(tree)) {}

    CORBA::Object_ptr resolve(const CosNaming::Name& n) override;
    CORBA::Object_ptr resolve_str(const char* n) override;
    void list(CORBA::ULong how_many, CosNaming::BindingList_out bl,
              CosNaming::BindingIterator_out bi) override;
    char* to_string(const CosNaming::Name& n) override;
    CosNaming::Name* to_name(const char* sn) override;
    char* to_url(const char* addr, const char* sn) override;

    void bind(const CosNaming::Name& n, CORBA::Object_ptr obj) override;
    void rebind(const CosNaming::Name& n, CORBA::Object_ptr obj) override;
    void unbind(const CosNaming::Name& n) override;
    CosNaming::NamingContext_ptr bind_new_context(const CosNaming::Name& n) override;
    void bind_context(const CosNaming::Name& n, CosNaming::NamingContext_ptr nc) override;
    void rebind_context(const CosNaming::Name& n, CosNaming::NamingContext_ptr nc) override;
    CosNaming::NamingContext_ptr new_context() override;
    void destroy() override;

    CORBA::Boolean _non_existent() override;

  protected:
    ~ContextServant() override = default;
    ServedTree& tree() const { return *tree_; }

  private:
    /// Path of the called context. The context may no longer exist.
    virtual util::NamingPath here() const = 0;
    /// The path of a name in the context `here`. Throws OBJECT_NOT_EXIST if that context does not
    /// exist.
    util::NamingPath pathFrom(const util::NamingPath& here, const util::NamingPath& name) const;
    CORBA::Object_ptr resolvePath(const util::NamingPath& name) const;

    const std::shared_ptr<ServedTree> tree_;
};

/// The root context, whatever its object id is.
class RootContext final : public ContextServant {
  public:
    using ContextServant::ContextServant;

  private:
    util::NamingPath here() const override { return {}; }
};

/// Every context. The object id is the stringified path, or "/" for the root.
class AnyContext final : public ContextServant {
  public:
    using ContextServant::ContextServant;
    static std::string objectIdOf(const util::NamingPath& path);

  private:
    util::NamingPath here() const override;
};

}  // namespace kelp::naming
