#include "context_servant.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "cos_names.h"
#include "name_url.h"

namespace kelp::naming {

using CosNaming::Name;
using util::NamingPath;

namespace {

constexpr const char* kRootId = "/";

[[noreturn]] void throwFixed() {
    throw CORBA::NO_PERMISSION(0, CORBA::COMPLETED_NO);
}

}  // namespace

// -- reading

NamingPath ContextServant::pathFrom(const NamingPath& here, const NamingPath& name) const {
    if (!tree_->isContext(here))
        throwGone();
    NamingPath path = here;
    path.insert(path.end(), name.begin(), name.end());
    return path;
}

CORBA::Object_ptr ContextServant::resolvePath(const NamingPath& name) const {
    const NamingPath context = here();
    return tree_->resolve(pathFrom(context, name), context.size());
}

CORBA::Object_ptr ContextServant::resolve(const Name& n) {
    return resolvePath(pathOf(n));
}

CORBA::Object_ptr ContextServant::resolve_str(const char* n) {
    return resolvePath(pathOf(n));
}

void ContextServant::list(CORBA::ULong how_many, CosNaming::BindingList_out bl,
                          CosNaming::BindingIterator_out bi) {
    const NamingPath context = here();
    if (!tree_->isContext(context))
        throwGone();
    const NamingLimits limits = tree_->limits();
    std::vector<NameEntry> entries = tree_->list(context);
    const std::size_t first =
        std::min({static_cast<std::size_t>(how_many), limits.listMax, entries.size()});
    const auto rest = entries.begin() + static_cast<std::ptrdiff_t>(first);
    CosNaming::BindingList_var bindings = bindingsOf({entries.begin(), rest});
    CosNaming::BindingIterator_var iterator;
    if (rest != entries.end()) {
        const std::string owner = tree_->surroundings().caller().value_or("");
        const std::string id = tree_->iterators().open({rest, entries.end()}, owner, limits,
                                                       std::chrono::steady_clock::now());
        iterator = tree_->surroundings().iteratorOf(id);
    }
    bl = bindings._retn();
    bi = iterator._retn();
}

char* ContextServant::to_string(const Name& n) {
    return CORBA::string_dup(toText(pathOf(n)).c_str());
}

Name* ContextServant::to_name(const char* sn) {
    return nameOf(pathOf(sn));
}

char* ContextServant::to_url(const char* addr, const char* sn) {
    const std::string address = addr;
    if (!isUrlAddress(address))
        throw CosNaming::NamingContextExt::InvalidAddress();
    const std::string name = toText(pathOf(sn));
    return CORBA::string_dup(("corbaname:" + address + "#" + escapedForUrl(name)).c_str());
}

CORBA::Boolean ContextServant::_non_existent() {
    return !tree_->isContext(here());
}

// -- changing

void ContextServant::bind(const Name& n, CORBA::Object_ptr obj) {
    tree_->refuseOutsiders("bind", n);
    tree_->bind(pathFrom(here(), pathOf(n)), obj, ServedTree::Bind::New);
}

void ContextServant::rebind(const Name& n, CORBA::Object_ptr obj) {
    tree_->refuseOutsiders("rebind", n);
    tree_->bind(pathFrom(here(), pathOf(n)), obj, ServedTree::Bind::Over);
}

void ContextServant::unbind(const Name& n) {
    tree_->refuseOutsiders("unbind", n);
    const NamingPath context = here();
    tree_->unbind(pathFrom(context, pathOf(n)), context.size());
}

CosNaming::NamingContext_ptr ContextServant::bind_new_context(const Name& n) {
    tree_->refuseOutsiders("bind_new_context", n);
    if (tree_->isContext(pathFrom(here(), pathOf(n))))
        throw CosNaming::NamingContext::AlreadyBound();
    throwFixed();
}

void ContextServant::bind_context(const Name& n, CosNaming::NamingContext_ptr) {
    tree_->refuseOutsiders("bind_context", n);
    throwFixed();
}

void ContextServant::rebind_context(const Name& n, CosNaming::NamingContext_ptr) {
    tree_->refuseOutsiders("rebind_context", n);
    throwFixed();
}

CosNaming::NamingContext_ptr ContextServant::new_context() {
    tree_->refuseOutsiders("new_context", Name());
    throwFixed();
}

void ContextServant::destroy() {
    tree_->refuseOutsiders("destroy", Name());
    throwFixed();
}

// -- the called context

std::string AnyContext::objectIdOf(const NamingPath& path) {
    return path.empty() ? kRootId : toText(path);
}

NamingPath AnyContext::here() const {
    const std::string id = tree().surroundings().currentObjectId();
    if (id == kRootId)
        return {};
    try {
        return util::toNamingPath(id);
    } catch (const std::invalid_argument&) {
        throwGone();
    }
}

}  // namespace kelp::naming
