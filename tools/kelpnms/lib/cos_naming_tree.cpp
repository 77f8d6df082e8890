#include "cos_naming_tree.h"

#include <kelp/nms/error.h>
#include <kelp/orb/references.h>

namespace kelp::nms {

namespace {

constexpr CORBA::ULong kBatch = 100;

void append(const CosNaming::BindingList& bindings, std::vector<NamingEntry>& entries) {
    for (CORBA::ULong i = 0; i < bindings.length(); ++i) {
        const CosNaming::Name& name = bindings[i].binding_name;
        if (name.length() == 0)
            continue;
        const CosNaming::NameComponent& component = name[name.length() - 1];
        entries.push_back({{std::string(component.id.in()), std::string(component.kind.in())},
                           bindings[i].binding_type == CosNaming::ncontext});
    }
}

/// Destroys the iterator at the naming service when the scope ends.
class IteratorEnd {
  public:
    explicit IteratorEnd(CosNaming::BindingIterator_ptr iterator) : iterator_(iterator) {}
    ~IteratorEnd() {
        try {
            if (!CORBA::is_nil(iterator_))
                iterator_->destroy();
        } catch (const CORBA::Exception&) {
            // the naming service drops abandoned iterators
        }
    }
    IteratorEnd(const IteratorEnd&) = delete;
    IteratorEnd& operator=(const IteratorEnd&) = delete;

  private:
    CosNaming::BindingIterator_ptr iterator_;
};

}  // namespace

CosNaming::Name toCosName(const NamingPath& path) {
    CosNaming::Name name;
    name.length(static_cast<CORBA::ULong>(path.size()));
    for (CORBA::ULong i = 0; i < name.length(); ++i) {
        name[i].id = CORBA::string_dup(path[i].id.c_str());
        name[i].kind = CORBA::string_dup(path[i].kind.c_str());
    }
    return name;
}

CosNamingTree::CosNamingTree(CORBA::ORB_ptr orb, CosNaming::NamingContext_ptr root)
    : orb_(CORBA::ORB::_duplicate(orb)), root_(CosNaming::NamingContext::_duplicate(root)) {}

CORBA::Object_ptr CosNamingTree::resolve(const NamingPath& path) {
    try {
        CORBA::Object_var object = root_->resolve(toCosName(path));
        if (CORBA::is_nil(object.in()))
            throw Unreachable("the naming service answered with a nil reference for " +
                              toText(path));
        return object._retn();
    } catch (const CosNaming::NamingContext::NotFound&) {
        throw NotRegistered("nothing is bound in the naming service under " + toText(path));
    } catch (const CORBA::Exception& exception) {
        throw Unreachable("the naming service could not resolve " + toText(path), exception);
    }
}

CosNaming::NamingContext_ptr CosNamingTree::contextAt(const NamingPath& path) {
    if (path.empty())
        return CosNaming::NamingContext::_duplicate(root_.in());
    const CORBA::Object_var object = resolve(path);
    CosNaming::NamingContext_var context = CosNaming::NamingContext::_narrow(object.in());
    if (CORBA::is_nil(context.in()))
        throw Unreachable(toText(path) + " is not a naming context");
    return context._retn();
}

std::vector<NamingEntry> CosNamingTree::list(const NamingPath& path) {
    std::vector<NamingEntry> entries;
    try {
        const CosNaming::NamingContext_var context = contextAt(path);
        CosNaming::BindingList_var bindings;
        CosNaming::BindingIterator_var iterator;
        context->list(kBatch, bindings.out(), iterator.out());
        const IteratorEnd end(iterator.in());
        append(bindings.in(), entries);
        if (CORBA::is_nil(iterator.in()))
            return entries;
        while (iterator->next_n(kBatch, bindings.out()))
            append(bindings.in(), entries);
    } catch (const CORBA::Exception& exception) {
        throw Unreachable(
            "the naming service could not list " + (path.empty() ? "its root" : toText(path)),
            exception);
    }
    return entries;
}

bool CosNamingTree::isFactory(const NamingPath& path) {
    const CORBA::Object_var object = resolve(path);
    orb::ReferenceContent content;
    return orb::describe(orb_.in(), object.in(), content) &&
           content.typeId == "IDL:mtnm.tmforum.org/emsSessionFactory/EmsSessionFactory_I:1.0";
}

}  // namespace kelp::nms
